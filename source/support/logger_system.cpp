#include "support/logger_system.h"

#include <cstdio>
#include <fmt/format.h>
#include <utility>

namespace common_log
{
namespace
{
void write_to_standard_error(const log_record_t& record)
{
    std::string text = fmt::format("[{}] [{}] {}:{} {}: {}", record.module, record.level, record.file, record.line,
                                   record.function, record.message);
    if (text.back() != '\n')
        text += '\n';
    // One call, so that lines of several threads do not mix.
    std::fwrite(text.data(), 1, text.size(), stderr);
}
} // namespace

logger_system_t& logger_system_t::get_instance()
{
    // Never destroyed: objects with static storage may still log while the process ends.
    static logger_system_t* const instance = new logger_system_t;
    return *instance;
}

void logger_system_t::log_write(const std::string& module, bool flag, log_level_t level, const std::string& file,
                                std::uint32_t line, const std::string& function, const std::string& message)
{
    std::shared_ptr<const sink_t> sink;
    log_level_t lowest = log_level_error;
    {
        const std::lock_guard<std::mutex> lock(guard_);
        sink = sink_;
        lowest = level_;
    }
    if (!sink && level < lowest)
        return;
    const log_record_t record{ module, flag, level, file, line, function, message };
    // Outside the lock: a sink may log, or replace itself.
    if (sink)
        (*sink)(record);
    else
        write_to_standard_error(record);
}

void logger_system_t::set_sink(sink_t sink)
{
    auto held = sink ? std::make_shared<const sink_t>(std::move(sink)) : nullptr;
    const std::lock_guard<std::mutex> lock(guard_);
    sink_ = std::move(held);
}

void logger_system_t::set_level(log_level_t level)
{
    const std::lock_guard<std::mutex> lock(guard_);
    level_ = level;
}

log_level_t logger_system_t::get_level() const
{
    const std::lock_guard<std::mutex> lock(guard_);
    return level_;
}
} // namespace common_log
