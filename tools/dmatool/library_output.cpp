#include "library_output.h"

#include "support/trace_output.h"
#include "tool_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

namespace dmatool
{
using namespace common_log;

library_output_t::library_output_t(kept_t kept, bool verbose, const line_sink_t& lines)
{
    logger_system_t::get_instance().set_sink(
        [this, kept, verbose, lines](const log_record_t& record)
        {
            const std::string text = fmt::format("{}: {}", record.function, get_one_line(record.message));
            if (verbose)
            {
                lines(fmt::format("log {} {}:{} {}", record.level, record.file, record.line, text));
            }
            if (kept == keep_all_texts || record.level >= log_level_error)
            {
                keep(text);
            }
        });
    if (!verbose && kept == keep_errors)
    {
        trace_output_t::get_instance().silence();
        return;
    }
    trace_output_t::get_instance().set_sink(
        [this, kept, verbose, lines](std::string_view printed)
        {
            const std::string text = get_one_line(std::string(printed));
            if (verbose)
            {
                lines("trace " + text);
            }
            if (kept == keep_all_texts)
            {
                keep(text);
            }
        });
}

library_output_t::~library_output_t()
{
    logger_system_t::get_instance().set_sink({});
    trace_output_t::get_instance().set_sink({});
}

std::vector<std::string> library_output_t::get_messages() const
{
    const std::lock_guard<std::mutex> lock(guard_);
    return messages_;
}

void library_output_t::keep(const std::string& text)
{
    const std::lock_guard<std::mutex> lock(guard_);
    const bool known = std::find(messages_.begin(), messages_.end(), text) != messages_.end();
    if (!known && messages_.size() < most_messages)
    {
        messages_.push_back(text);
    }
}

std::string join_messages(const std::vector<std::string>& messages)
{
    std::string text;
    for (const std::string& message : messages)
    {
        text += (text.empty() ? "" : " | ") + message;
    }
    return text.empty() ? "nothing was logged" : text;
}
} // namespace dmatool
