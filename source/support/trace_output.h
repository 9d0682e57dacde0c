#pragma once

#include "dma_export.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string_view>

namespace common_log
{
/// The one place through which the library prints to standard output: time traces, reports of older operations and the
/// printed error table. Process-wide; all operations may be called from any thread.
class DMA_DEMOD_EXPORT trace_output_t
{
public:
    /// Receives each text as it would have been printed, line ends included.
    using sink_t = std::function<void(std::string_view)>;

    static trace_output_t& get_instance();

    /// Prints a text as it stands. Never throws: a failing sink loses the text and nothing else.
    void write(std::string_view text) noexcept;

    /// Sends the texts somewhere else; an empty sink brings back standard output.
    void set_sink(sink_t sink);

    /// Drops the texts until the next `set_sink`.
    void silence();

private:
    trace_output_t() = default;

    std::mutex guard_;
    std::shared_ptr<const sink_t> sink_;
};

/// Prints a text and a line end.
DMA_DEMOD_EXPORT void print_trace_line(std::string_view text) noexcept;

/// Prints `text`, the microseconds since `start_time` as seconds with six decimals, " s" and a line end.
/// @param start_time  an earlier reading of `lib_test_t::get_current_time`
DMA_DEMOD_EXPORT void print_trace_time(std::string_view text, std::int64_t start_time) noexcept;
} // namespace common_log
