#include "support/trace_output.h"

#include "support/lib_test.h"

#include <cstdio>
#include <fmt/format.h>
#include <string>
#include <utility>

namespace common_log
{
trace_output_t& trace_output_t::get_instance()
{
    static trace_output_t* const instance = new trace_output_t;
    return *instance;
}

void trace_output_t::write(std::string_view text) noexcept
{
    try
    {
        std::shared_ptr<const sink_t> sink;
        {
            const std::lock_guard<std::mutex> lock(guard_);
            sink = sink_;
        }
        if (sink)
            (*sink)(text);
        else
            std::fwrite(text.data(), 1, text.size(), stdout);
    }
    catch (...)
    {
        // A trace is never worth an analysis.
    }
}

void trace_output_t::set_sink(sink_t sink)
{
    auto held = sink ? std::make_shared<const sink_t>(std::move(sink)) : nullptr;
    const std::lock_guard<std::mutex> lock(guard_);
    sink_ = std::move(held);
}

void trace_output_t::silence()
{
    set_sink([](std::string_view) {});
}

void print_trace_line(std::string_view text) noexcept
{
    try
    {
        trace_output_t::get_instance().write(fmt::format("{}\n", text));
    }
    catch (...)
    {
        // No memory for the text; the analysis goes on.
    }
}

void print_trace_time(std::string_view text, std::int64_t start_time) noexcept
{
    try
    {
        const double seconds = static_cast<double>(vrim::common_lib::lib_test_t::get_current_time() - start_time) / 1000000.0;
        trace_output_t::get_instance().write(fmt::format("{}{:f} s\n", text, seconds));
    }
    catch (...)
    {
        // As above.
    }
}
} // namespace common_log
