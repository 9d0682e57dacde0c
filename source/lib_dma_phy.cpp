#include "lib_dma_phy.h"

#include "lib_dma_common/channel_power.h"
#include "lib_dma_common/lib_resample.h"
#include "lib_dma_common/working_rate.h"
#include "support/internal/narrow.h"
#include "support/lib_resampler.h"
#include "support/lib_test.h"
#include "support/log_macro.h"
#include "support/trace_output.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <fmt/format.h>
#include <limits>
#include <numeric>
#include <span>
#include <utility>

namespace vrim::dma_demod_lib
{
using common_lib::lib_test_t;
using common_lib::saturate;

namespace
{
constexpr double rate_step = 100.0;                // Hz, grid of the sample rate
constexpr float capture_floor = 1e-11f;            // keeps silence from being exactly 0
constexpr std::uint64_t largest_rate_ratio = 2000; // between capture and working rate
constexpr std::int32_t later_segment_run_in = 50;  // symbols
constexpr std::uint32_t equalizer_passes = 10;     // behind the first one
constexpr double time_tolerance = 1e-12;           // s
constexpr std::uint32_t power_load_ohms = 100;

/// Samples [start, start + length) of the first `limit` ones, cut where they end.
void cut_block(const complex_array& data, std::size_t limit, std::size_t start, std::size_t length, complex_array& block)
{
    const std::size_t first = std::min(start, limit);
    const std::size_t last = std::min(limit, first + length);
    block.assign(data.begin() + static_cast<std::ptrdiff_t>(first), data.begin() + static_cast<std::ptrdiff_t>(last));
}

/// Converts a block between two whole rates in Hz. @param[out] converted  empty when the ratio's filter would not fit
void convert_rate(complex_array& block, std::uint64_t from, std::uint64_t to, complex_array& converted)
{
    const std::uint64_t divisor = std::gcd(from, to);
    const std::uint64_t up = to / divisor;
    const std::uint64_t down = from / divisor;
    converted.clear();
    if ((up > down && up % down == 0) || (down > up && down % up == 0))
    {
        common_lib::lib_resampler_t::deal_polyphase_resampling(block, converted, up, down, 0);
    }
    else
    {
        constexpr std::uint64_t largest_factor = std::numeric_limits<std::uint32_t>::max();
        if (std::max(up, down) > largest_factor)
            resample_report::refuse_long_filter(up, down, 20 * std::max(up, down) + 1);
        else
            lib_resample<std::complex<float>>(static_cast<std::uint32_t>(up), static_cast<std::uint32_t>(down), block, converted);
    }
    common_log::print_trace_line(fmt::format("lte resample from {} hz to {} hz", from, to));
}
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
    update_demod_info(segment_index, config);

    const lib_dma_segment_configure_manager_t& segment = frame_.get_segment(segment_index);
    const lib_dma_format_configure_manager_t& format = segment.get_format_configure();
    const lib_dma_modulation_type_t group = format.get_format_group();
    const std::uint64_t symbol_rate = format.get_symbol_rate();
    const double symbols_per_second = static_cast<double>(symbol_rate);
    const double sample_rate = static_cast<double>(config.sample_rate);
    const double meas_interval = static_cast<double>(segment.get_time_configure().get_meas_interval());
    const std::uint32_t meas_point = saturate<std::uint32_t>(std::round(meas_interval * sample_rate / symbols_per_second));

    // The member array itself is inverted, once a segment: a second inverted segment sees the capture restored.
    if (segment.get_advance_configure().get_spectrum_type() == LIB_DMA_SPECTRUM_INVERT)
        deal_spectrum_invert(raw_data_);

    for (std::uint32_t i = 0; i < segment_number; ++i)
    {
        if (!cal_preprocess_param(i, config))
        {
            DMA_LOG_ERROR("dma_phy_process:cal_preprocess_param error!\n");
            return _stop(LIB_DMA_RESULT_NO_SEGMENT);
        }
    }
    if (config.minseglen - search_length > time_tolerance)
    {
        DMA_LOG_INFO("search_length(s)can not be less than minseglen(%.6f) !\n", config.minseglen);
        search_length = config.minseglen;
    }

    const double pre_total = config.pre_time + config.equalizer_time;
    const std::uint32_t wanted = saturate<std::uint32_t>(std::ceil(sample_rate * (search_length + pre_total)));
    if (update_demod_data_len(wanted) != LIB_DMA_RESULT_OK)
        return _stop(LIB_DMA_RESULT_CAPTURE_TOO_SHORT);
    const std::uint32_t window_len = std::min(wanted, static_cast<std::uint32_t>(raw_data_.size()));
    config.pre_num_max = saturate<std::uint32_t>(std::floor(sample_rate * pre_total * 0.5));
    config.data_len = 2 * config.pre_num_max + saturate<std::uint32_t>(std::floor(sample_rate * search_length));
    if (config.data_len > window_len)
    {
        DMA_LOG_INFO("search_length + pre_num_max(point)can not more than raw data len(%u) !\n", window_len);
        config.data_len = window_len;
    }

    std::uint32_t demod_data_len = meas_point;
    std::int32_t pre_sym = later_segment_run_in;
    if (segment_index == 0)
    {
        // Only a burst search looks at the samples.
        complex_array search_block;
        if (frame_.get_burst_search())
            cut_block(raw_data_, raw_data_.size(), 0, config.data_len, search_block);
        if (!cal_first_segment_demod_info(std::move(search_block), config, demod_data_len, config.pulse_center_sym, pre_sym, 0))
        {
            DMA_LOG_ERROR("dma_phy_process:cal_first_segment_demod_info error.\n");
            return _stop(LIB_DMA_RESULT_NO_SEGMENT);
        }
    }
    std::int32_t meas_offset = segment.get_time_configure().get_meas_offset();
    if (meas_offset == -1)
        meas_offset = config.pulse_center_sym;

    const std::uint32_t resample_pps = cal_working_sps(format.get_points_per_symbol());
    const std::uint64_t demod_rate = symbol_rate * resample_pps;
    cal_psk_modulation_param(segment, data_manager_.get_psk_modulation_param());

    double pre_total_sym = std::floor(pre_total * 0.5 * symbols_per_second);
    double pre_sym_filter = std::floor(0.5 * config.pre_time * symbols_per_second);
    if (group == LIB_DMA_GROUP_MSK)
    {
        // MSK decides on pairs of symbols.
        pre_total_sym = 2.0 * std::floor(pre_total_sym * 0.5);
        pre_sym_filter = 2.0 * std::floor(pre_sym_filter * 0.5);
    }
    const std::int32_t offset_point =
        saturate<std::int32_t>(std::round(static_cast<double>(meas_offset) * sample_rate / symbols_per_second));
    const std::int32_t start =
        static_cast<std::int32_t>(static_cast<std::uint32_t>(offset_point) + config.data_start - config.pre_num_max);

    // The raw-time entry lends its memory to the block until the demodulator fills it.
    complex_array& raw_time = data_manager_.get_iq_raw_time(segment_index);
    complex_array meas_block;
    meas_block.swap(raw_time);
    if (start < 0 || static_cast<std::uint32_t>(start) > window_len)
    {
        DMA_LOG_INFO("warning! offset > RawData.size!\n");
        cut_block(raw_data_, window_len, 0, window_len, meas_block);
    }
    else
    {
        // The sum wraps in 32 bits when the capture is shorter than its run-in.
        const std::uint32_t length = demod_data_len + 2 * config.pre_num_max;
        cut_block(raw_data_, window_len, static_cast<std::uint32_t>(start), length, meas_block);
    }

    const std::int64_t resample_start = lib_test_t::get_current_time();
    if (config.sample_rate == 0 || config.sample_rate == demod_rate)
    {
        demod_block_ = meas_block;
    }
    else
    {
        if (config.sample_rate / demod_rate > largest_rate_ratio)
            return LIB_DMA_RESULT_RATE_TOO_HIGH;
        if (demod_rate / config.sample_rate > largest_rate_ratio)
            return LIB_DMA_RESULT_RATE_TOO_LOW;
        convert_rate(meas_block, config.sample_rate, demod_rate, demod_block_);
    }
    common_log::print_trace_time("dma_phy_process deal_resample time: ", resample_start);
    meas_block.clear();
    raw_time.swap(meas_block);
    const complex_array no_raw_window; // no demodulator reads it

    if (pre_sym % 2 != 0)
        ++pre_sym;
    config.pre_num = static_cast<std::uint32_t>(pre_sym) * resample_pps;
    config.equalizer_head_len = saturate<std::uint32_t>(pre_total_sym - pre_sym_filter);
    config.head_len = saturate<std::uint32_t>(pre_sym_filter) * resample_pps;
    DMA_LOG_INFO("deal_demo_process start!\n");

    const std::int64_t passes_start = lib_test_t::get_current_time();
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

    // Always the first entry: of several segments the last one's window stays.
    data_manager_.get_error_summary(0).carrier_power =
        cal_channel_power(std::span(raw_data_).first(window_len), power_load_ohms, static_cast<float>(config.sample_rate),
                          static_cast<float>(frame_.get_bandwidth()), false);
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
    switch (frame_.get_segment(segment_index).get_format_configure().get_format_group())
    {
    case LIB_DMA_GROUP_PSK:
    {
        psk_demod_.init();
        const bool configured = psk_demod_.set_frame_configure(frame_, segment_index, config);
        const bool processed =
            psk_demod_.lib_dma_psk_demod_process(segment_index, raw_window, demod_block, data_manager_, config);
        if (configured && processed)
            return true;
        DMA_LOG_END("deal_demo_process:psk demod error!\n");
        return fail();
    }
    case LIB_DMA_GROUP_QAM:
        DMA_LOG_END("This version has no QAM demodulator yet.\n");
        DMA_LOG_END("deal_demo_process:qam demod error!\n");
        return fail();
    case LIB_DMA_GROUP_FSK:
        DMA_LOG_END("This version has no FSK demodulator yet.\n");
        DMA_LOG_END("deal_demo_process:fsk demod error!\n");
        return fail();
    case LIB_DMA_GROUP_MSK:
        DMA_LOG_END("This version has no MSK demodulator yet.\n");
        DMA_LOG_END("deal_demo_process:msk demod error!\n");
        return fail();
    case LIB_DMA_GROUP_ASK:
        DMA_LOG_END("This version has no ASK demodulator yet.\n");
        DMA_LOG_END("deal_demo_process:ask demod error!\n");
        return fail();
    case LIB_DMA_GROUP_APSK:
        DMA_LOG_END("This version has no APSK demodulator yet.\n");
        DMA_LOG_END("deal_demo_process:apsk demod error!\n");
        return fail();
    case LIB_DMA_GROUP_OQPSK:
        DMA_LOG_END("This version has no OQPSK demodulator yet.\n");
        DMA_LOG_END("deal_demo_process:oqpsk demod error!\n");
        return fail();
    case LIB_DMA_GROUP_DPSK:
        DMA_LOG_END("This version has no DPSK demodulator yet.\n");
        DMA_LOG_END("deal_demo_process:dpsk demod error!\n");
        return fail();
    case LIB_DMA_GROUP_VSB:
    case LIB_DMA_GROUP_CUSTOM_IQ:
    case LIB_DMA_GROUP_OTHER:
    default:
        DMA_LOG_END("lib_dma_phy_t::deal_demo_process default error!\n");
        return true;
    }
}
} // namespace vrim::dma_demod_lib
