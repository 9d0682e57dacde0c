#include "frame_run.h"

#include "message_capture.h"

#include <algorithm>

namespace dma_test
{
using namespace vrim::dma_demod_lib;

frame_run_t::frame_run_t(const vrim::complex_array& capture, const lib_dma_frame_configure_manager_t& frame, double sample_rate)
{
    const trace_capture_t traces;
    const log_capture_t log;
    analyser.set_frame_configure(frame);
    if (sample_rate > 0.0)
        analyser.set_sample_rate(sample_rate);
    analyser.set_demod_data(capture);
    code = analyser.dma_phy_process();
    for (const common_log::log_record_t& record : log.get_records())
        (record.level >= common_log::log_level_error ? errors : infos).push_back(record.message);
    printed = traces.get_text();
}

analysis_result_t frame_run_t::take(std::uint32_t segment_index)
{
    analysis_result_t result = take_result(analyser, segment_index, code);
    result.messages = errors;
    return result;
}

bool frame_run_t::has_error(const std::string& text) const
{
    return std::find(errors.begin(), errors.end(), text) != errors.end();
}

bool frame_run_t::has_info(const std::string& text) const
{
    return std::find(infos.begin(), infos.end(), text) != infos.end();
}
} // namespace dma_test
