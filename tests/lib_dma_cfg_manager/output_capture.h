#pragma once

#include "support/logger_system.h"
#include "support/trace_output.h"

#include <string>
#include <vector>

namespace vrim::dma_demod_lib
{
/// Collects what the library prints and logs while it lives.
class output_capture_t
{
public:
    output_capture_t()
    {
        common_log::trace_output_t::get_instance().set_sink([this](std::string_view text) { printed += text; });
        common_log::logger_system_t::get_instance().set_sink([this](const common_log::log_record_t& record)
                                                             { logged.push_back(record); });
    }
    ~output_capture_t()
    {
        common_log::trace_output_t::get_instance().set_sink({});
        common_log::logger_system_t::get_instance().set_sink({});
    }
    output_capture_t(const output_capture_t&) = delete;
    output_capture_t& operator=(const output_capture_t&) = delete;

    std::string printed;
    std::vector<common_log::log_record_t> logged;
};
} // namespace vrim::dma_demod_lib
