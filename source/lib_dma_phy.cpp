#include "lib_dma_phy.h"

#include "support/lib_test.h"
#include "support/log_macro.h"
#include "support/trace_output.h"

#include <cmath>
#include <cstddef>
#include <fmt/format.h>
#include <span>
#include <string_view>

namespace vrim::dma_demod_lib
{
using common_lib::lib_test_t;

namespace
{
constexpr double rate_step = 100.0;            // Hz, grid of the sample rate
constexpr float capture_floor = 1e-11f;        // keeps silence from being exactly 0
constexpr std::uint32_t equalizer_passes = 10; // behind the first one
} // namespace

lib_dma_phy_t::lib_dma_phy_t()
{
    frame_.init();
}

bool lib_dma_phy_t::set_frame_configure(const lib_dma_frame_configure_manager_t& frame)
{
    frame_ = frame;
    return true;
}

void lib_dma_phy_t::set_sample_rate(double rate)
{
    const double kept = std::isfinite(rate) ? std::floor(rate / rate_step) * rate_step : 0.0;
    sample_rate_ = kept > 0.0 ? kept : rate_step;
    sample_rate_flag_ = true;
}

bool lib_dma_phy_t::set_demod_data(const complex_array& samples)
{
    raw_data_.resize(samples.size());
    for (std::size_t i = 0; i < samples.size(); ++i)
        raw_data_[i] = { samples[i].real() + capture_floor, samples[i].imag() + capture_floor };
    return true;
}

lib_dma_main_process_state_t lib_dma_phy_t::get_process_state() const
{
    return process_state_;
}

lib_dma_phy_data_manager_t& lib_dma_phy_t::get_data_manager()
{
    return data_manager_;
}

const lib_dma_phy_data_manager_t& lib_dma_phy_t::get_data_manager() const
{
    return data_manager_;
}

bool lib_dma_phy_t::init(std::uint32_t segment_index, lib_dma_demod_config_mgr& config)
{
    return update_demod_info(segment_index, config);
}

void lib_dma_phy_t::clear_data() {}

std::int32_t lib_dma_phy_t::_stop(lib_dma_result_code_t code)
{
    process_state_ = LIB_DMA_PROCESS_STOP;
    return code;
}

std::int32_t lib_dma_phy_t::dma_phy_process()
{
    const std::int64_t start_time = lib_test_t::get_current_time();
    double search_length = frame_.get_search_length();
    const std::uint32_t segment_number = frame_.get_segment_number();
    process_state_ = LIB_DMA_PROCESS_RUNNING;
    data_manager_.restart(frame_);
    for (complex_array* response : { &data_manager_.get_eq_impulse_i(), &data_manager_.get_eq_impulse_q(),
                                     &data_manager_.get_eq_frequency_response() })
        response->clear();
    if (segment_number == 0)
    {
        DMA_LOG_END("lib_dma_phy_t::dma_phy_process : error! no segment");
        return _stop(LIB_DMA_RESULT_NO_SEGMENT);
    }
    for (std::uint32_t s = 0; s < segment_number; ++s)
    {
        const std::int32_t code = _process_segment(s, segment_number, search_length);
        if (code != LIB_DMA_RESULT_OK)
            return code;
    }
    common_log::print_trace_time("dma_phy_process deal_demo_process time: ", start_time);
    common_log::print_trace_line("dma demo end !");
    return LIB_DMA_RESULT_OK;
}

std::int32_t lib_dma_phy_t::_process_segment(std::uint32_t segment_index, std::uint32_t segment_number, double& search_length)
{
    lib_dma_demod_config_mgr& config = data_manager_.get_dma_demod_config_mgr(segment_index);
    const lib_dma_segment_configure_manager_t& segment = frame_.get_segment(segment_index);
    update_demod_info(segment_index, config);

    // The member array itself is inverted and filtered, once a segment: a second inverted segment sees the capture restored,
    // and each further one a capture that has passed the filter once more.
    if (segment.get_advance_configure().get_spectrum_type() == LIB_DMA_SPECTRUM_INVERT)
        deal_spectrum_invert(raw_data_);
    deal_filterpm_process(segment_index, config, raw_data_);

    for (std::uint32_t i = 0; i < segment_number; ++i)
    {
        if (!cal_preprocess_param(i, config))
        {
            DMA_LOG_ERROR("dma_phy_process:cal_preprocess_param error!\n");
            return _stop(LIB_DMA_RESULT_NO_SEGMENT);
        }
    }
    block_range_t range;
    if (!_update_search_lengths(config, search_length, range.window_len))
        return _stop(LIB_DMA_RESULT_CAPTURE_TOO_SHORT);
    if (!_place_segment(segment_index, config, range))
    {
        DMA_LOG_ERROR("dma_phy_process:cal_first_segment_demod_info error.\n");
        return _stop(LIB_DMA_RESULT_NO_SEGMENT);
    }
    cal_psk_modulation_param(segment, data_manager_.get_psk_modulation_param());

    const std::int64_t resample_start = lib_test_t::get_current_time();
    if (const std::int32_t code = _cut_demod_block(segment_index, config, range); code != LIB_DMA_RESULT_OK)
        return code;
    common_log::print_trace_time("dma_phy_process deal_resample time: ", resample_start);
    _update_head_lengths(segment, range.pre_sym, config);
    DMA_LOG_INFO("deal_demo_process start!\n");

    const std::int64_t passes_start = lib_test_t::get_current_time();
    const complex_array no_raw_window; // no demodulator reads it
    const std::uint32_t passes = segment.get_advance_configure().get_equalizer() ? equalizer_passes + 1 : 1;
    for (std::uint32_t pass = 0; pass < passes; ++pass)
    {
        if (demod_block_.size() < 2 * static_cast<std::size_t>(config.pre_num))
        {
            DMA_LOG_ERROR("warning!,dma_phy_process demod data less than pre_num.\n");
            return _stop(LIB_DMA_RESULT_CAPTURE_TOO_SHORT);
        }
        if (!deal_demo_process(segment_index, no_raw_window, demod_block_, data_manager_.get_psk_modulation_param(), config))
        {
            DMA_LOG_ERROR("deal_demo_process demod fail!\n");
            return _stop(LIB_DMA_RESULT_DEMODULATOR_FAILED);
        }
        ++config.equalizer_loop_number;
    }
    common_log::print_trace_time(
        fmt::format("dma_phy_process(equalizer loop number: {})all time: ", config.equalizer_loop_number), passes_start);

    _update_carrier_power(std::span(raw_data_).first(range.window_len), data_manager_, config, frame_.get_bandwidth());
    return LIB_DMA_RESULT_OK;
}

bool lib_dma_phy_t::deal_demo_process(std::uint32_t segment_index, const complex_array& raw_window,
                                      const complex_array& demod_block, const lib_dma_psk_modulation_param& /*modulation_param*/,
                                      lib_dma_demod_config_mgr& config)
{
    const auto fail = [this]
    {
        process_state_ = LIB_DMA_PROCESS_STOP;
        return false;
    };
    const auto run = [&](auto& demod, auto process, std::string_view failure)
    {
        demod.init();
        const bool configured = demod.set_frame_configure(frame_, segment_index, config);
        const bool processed = (demod.*process)(segment_index, raw_window, demod_block, data_manager_, config);
        if (configured && processed)
            return true;
        DMA_LOG_END(failure);
        return fail();
    };
    switch (frame_.get_segment(segment_index).get_format_configure().get_format_group())
    {
    case LIB_DMA_GROUP_PSK:
        return run(psk_demod_, &lib_dma_psk_demod_t::lib_dma_psk_demod_process, "deal_demo_process:psk demod error!\n");
    case LIB_DMA_GROUP_QAM:
        return run(qam_demod_, &lib_dma_qam_demod_t::lib_dma_qam_demod_process, "deal_demo_process:qam demod error!\n");
    case LIB_DMA_GROUP_FSK:
        return run(fsk_demod_, &lib_dma_fsk_demod_t::lib_dma_fsk_demod_process, "deal_demo_process:fsk demod error!\n");
    case LIB_DMA_GROUP_MSK:
        return run(msk_demod_, &lib_dma_msk_demod_t::lib_dma_msk_demod_process, "deal_demo_process:msk demod error!\n");
    case LIB_DMA_GROUP_ASK:
        return run(ask_demod_, &lib_dma_ask_demod_t::lib_dma_ask_demod_process, "deal_demo_process:ask demod error!\n");
    case LIB_DMA_GROUP_APSK:
        return run(apsk_demod_, &lib_dma_apsk_demod_t::lib_dma_apsk_demod_process, "deal_demo_process:apsk demod error!\n");
    case LIB_DMA_GROUP_OQPSK:
        return run(oqpsk_demod_, &lib_dma_oqpsk_demod_t::lib_dma_oqpsk_demod_process, "deal_demo_process:oqpsk demod error!\n");
    case LIB_DMA_GROUP_DPSK:
        return run(dpsk_demod_, &lib_dma_dpsk_demod_t::lib_dma_dpsk_demod_process, "deal_demo_process:dpsk demod error!\n");
    case LIB_DMA_GROUP_VSB:
    case LIB_DMA_GROUP_CUSTOM_IQ:
    case LIB_DMA_GROUP_OTHER:
    default:
        DMA_LOG_END("lib_dma_phy_t::deal_demo_process default error!\n");
        return true;
    }
}
} // namespace vrim::dma_demod_lib
