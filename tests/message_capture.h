#pragma once

#include "support/logger_system.h"
#include "support/trace_output.h"

#include <algorithm>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

/// Keeps what the library logs while it lives; afterwards the logger is as it was at the start of the program.
class log_capture_t
{
public:
    log_capture_t()
    {
        common_log::logger_system_t::get_instance().set_sink(
            [this](const common_log::log_record_t& record)
            {
                const std::lock_guard<std::mutex> lock(guard_);
                records_.push_back(record);
            });
    }
    ~log_capture_t() { common_log::logger_system_t::get_instance().set_sink({}); }
    log_capture_t(const log_capture_t&) = delete;
    log_capture_t& operator=(const log_capture_t&) = delete;

    const std::vector<common_log::log_record_t>& get_records() const { return records_; }
    /// Forgets what was logged so far.
    void clear() { records_.clear(); }
    /// How many messages have this level and this text.
    long count(common_log::log_level_t level, std::string_view message) const
    {
        return static_cast<long>(std::count_if(records_.begin(), records_.end(),
                                               [&](const common_log::log_record_t& record)
                                               { return record.level == level && record.message == message; }));
    }

private:
    std::mutex guard_;
    std::vector<common_log::log_record_t> records_;
};

/// Keeps what the library prints to standard output while it lives.
class trace_capture_t
{
public:
    trace_capture_t()
    {
        common_log::trace_output_t::get_instance().set_sink(
            [this](std::string_view text)
            {
                const std::lock_guard<std::mutex> lock(guard_);
                text_ += text;
            });
    }
    ~trace_capture_t() { common_log::trace_output_t::get_instance().set_sink({}); }
    trace_capture_t(const trace_capture_t&) = delete;
    trace_capture_t& operator=(const trace_capture_t&) = delete;

    const std::string& get_text() const { return text_; }

private:
    std::mutex guard_;
    std::string text_;
};
