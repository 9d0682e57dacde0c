#pragma once

#include "message_capture.h"

#include <string>
#include <vector>

namespace vrim::dma_demod_lib
{
/// Both captures in one: what the library prints and what it logs while it lives.
class output_capture_t
{
private:
    trace_capture_t trace_;
    log_capture_t log_;

public:
    void clear_log() { log_.clear(); }

    const std::string& printed = trace_.get_text();
    const std::vector<common_log::log_record_t>& logged = log_.get_records();
};
} // namespace vrim::dma_demod_lib
