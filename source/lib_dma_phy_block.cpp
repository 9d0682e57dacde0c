#include "lib_dma_common/lib_resample.h"
#include "lib_dma_common/working_rate.h"
#include "lib_dma_phy.h"
#include "support/internal/narrow.h"
#include "support/lib_resampler.h"
#include "support/log_macro.h"
#include "support/trace_output.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <fmt/format.h>
#include <limits>
#include <numeric>
#include <utility>

namespace vrim::dma_demod_lib
{
using common_lib::saturate;

namespace
{
constexpr std::uint64_t largest_rate_ratio = 2000; // between capture and working rate
constexpr std::int32_t later_segment_run_in = 50;  // symbols

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

bool lib_dma_phy_t::_place_segment(std::uint32_t segment_index, lib_dma_demod_config_mgr& config, block_range_t& range)
{
    const lib_dma_segment_configure_manager_t& segment = frame_.get_segment(segment_index);
    const double sample_rate = static_cast<double>(config.sample_rate);
    const double symbol_rate = static_cast<double>(segment.get_format_configure().get_symbol_rate());
    const double meas_interval = static_cast<double>(segment.get_time_configure().get_meas_interval());
    range.demod_data_len = saturate<std::uint32_t>(std::round(meas_interval * sample_rate / symbol_rate));
    range.pre_sym = later_segment_run_in;
    if (segment_index == 0)
    {
        // Only a burst search looks at the samples.
        complex_array search_block;
        if (frame_.get_burst_search())
            cut_block(raw_data_, raw_data_.size(), 0, config.data_len, search_block);
        if (!cal_first_segment_demod_info(std::move(search_block), config, range.demod_data_len, config.pulse_center_sym,
                                          range.pre_sym, 0))
            return false;
    }
    std::int32_t meas_offset = segment.get_time_configure().get_meas_offset();
    if (meas_offset == -1)
        meas_offset = config.pulse_center_sym;
    const std::int32_t offset_point =
        saturate<std::int32_t>(std::round(static_cast<double>(meas_offset) * sample_rate / symbol_rate));
    range.start = static_cast<std::int32_t>(static_cast<std::uint32_t>(offset_point) + config.data_start - config.pre_num_max);
    return true;
}

std::int32_t lib_dma_phy_t::_cut_demod_block(std::uint32_t segment_index, const lib_dma_demod_config_mgr& config,
                                             const block_range_t& range)
{
    const lib_dma_format_configure_manager_t& format = frame_.get_segment(segment_index).get_format_configure();
    const std::uint64_t demod_rate = format.get_symbol_rate() * cal_working_sps(format.get_points_per_symbol());

    // The raw-time entry lends its memory to the block until the demodulator fills it.
    complex_array& raw_time = data_manager_.get_iq_raw_time(segment_index);
    complex_array meas_block;
    meas_block.swap(raw_time);
    if (range.start < 0 || static_cast<std::uint32_t>(range.start) > range.window_len)
    {
        DMA_LOG_INFO("warning! offset > RawData.size!\n");
        cut_block(raw_data_, range.window_len, 0, range.window_len, meas_block);
    }
    else
    {
        // The sum wraps in 32 bits when the capture is shorter than its run-in.
        const std::uint32_t length = range.demod_data_len + 2 * config.pre_num_max;
        cut_block(raw_data_, range.window_len, static_cast<std::uint32_t>(range.start), length, meas_block);
    }

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
    meas_block.clear();
    raw_time.swap(meas_block);
    return LIB_DMA_RESULT_OK;
}
} // namespace vrim::dma_demod_lib
