#pragma once

#include "dma_export.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

namespace common_log
{
/// Severity of a log message.
using log_level_t = std::uint32_t;
constexpr log_level_t log_level_info = 2;  ///< traces, and values that were repaired
constexpr log_level_t log_level_error = 3; ///< an error of one step
constexpr log_level_t log_level_end = 4;   ///< an error that ends a step by design

/// One message as it reaches the sink.
struct log_record_t
{
    std::string module; ///< always "DMA_LIB" from inside the library
    bool flag = false;  ///< always false from inside the library
    log_level_t level = log_level_info;
    std::string file; ///< source file, relative to the project
    std::uint32_t line = 0;
    std::string function;
    std::string message; ///< the text after formatting; placeholders of %-style stand in it as they are
};

/// The process-wide logger. All operations may be called from any thread.
class DMA_DEMOD_EXPORT logger_system_t
{
public:
    /// Receives messages. It may be called from several threads at once.
    using sink_t = std::function<void(const log_record_t&)>;

    static logger_system_t& get_instance();

    /// Hands one message to the sink.
    /// @throws whatever the sink throws; the log sites of the library catch it
    void log_write(const std::string& module, bool flag, log_level_t level, const std::string& file, std::uint32_t line,
                   const std::string& function, const std::string& message);

    /// Replaces the default sink. A host's sink receives every message, whatever the level; an empty one brings back the
    /// default, standard error.
    void set_sink(sink_t sink);

    /// Lowest level that the default sink prints; 3 until set.
    void set_level(log_level_t level);
    log_level_t get_level() const;

private:
    logger_system_t() = default;

    mutable std::mutex guard_;
    std::shared_ptr<const sink_t> sink_;
    log_level_t level_ = log_level_error;
};
} // namespace common_log
