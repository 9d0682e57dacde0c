#include "lib_dma_phy.h"
#include "support/internal/narrow.h"
#include "support/lib_common_math.h"
#include "support/lib_test.h"
#include "support/log_macro.h"
#include "support/trace_output.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace vrim::dma_demod_lib
{
namespace
{
constexpr std::int32_t default_run_in = 50; // symbols

/// Edges of a burst in the search block.
struct burst_edges_t
{
    std::uint32_t raise_index = 0;
    bool raise_found = false;
    bool fall_found = false;
};

/// Marks the samples at or above the mean amplitude and keeps the last change of that mark. Neither edge counts as found:
/// the search tells only where the level crosses, not that a burst lies there.
burst_edges_t search_burst_edges(const complex_array& block)
{
    constexpr double tolerance = 1e-12;
    float_array amplitude;
    common_lib::lib_common_math_t::get_complex_array_amplitude(block, amplitude);
    float sum = 0.0f;
    for (const float value : amplitude)
        sum += value;
    const float mean = sum / static_cast<float>(amplitude.size());

    burst_edges_t edges;
    const auto is_above = [&](std::size_t i) { return !(static_cast<double>(amplitude[i] - mean) < tolerance); };
    for (std::size_t i = 0; i + 1 < amplitude.size(); ++i)
    {
        if (is_above(i) != is_above(i + 1))
            edges.raise_index = static_cast<std::uint32_t>(i);
    }
    return edges;
}

/// Run-in of a burst whose edges were found, symbols.
/// @param pre_count  run-in asked for
/// @param burst_symbols  length of the burst
std::int32_t cal_burst_run_in(bool sync_search, std::int64_t pre_count, std::int64_t burst_symbols, std::int64_t interval)
{
    const std::int64_t margin = pre_count - default_run_in;
    if (!sync_search)
    {
        if ((burst_symbols - interval) / 2 < margin)
            return static_cast<std::int32_t>(
                2 * margin <= interval
                    ? pre_count
                    : static_cast<std::int64_t>(static_cast<double>(burst_symbols - 2 * margin) / 2.0 + default_run_in));
        return static_cast<std::int32_t>(2 * pre_count > interval ? default_run_in : pre_count);
    }
    if (burst_symbols < 2 * margin)
        return static_cast<std::int32_t>(pre_count - burst_symbols / 2);
    const std::int64_t larger = std::max(2 * margin, interval);
    return static_cast<std::int32_t>(static_cast<double>(burst_symbols - larger) / 4.0 + static_cast<double>(pre_count));
}
} // namespace

bool lib_dma_phy_t::cal_first_segment_demod_info(complex_array block, lib_dma_demod_config_mgr& config,
                                                 std::uint32_t& demod_data_len, std::int32_t& pulse_center_sym,
                                                 std::int32_t& pre_sym, std::uint32_t segment_index)
{
    const lib_dma_segment_configure_manager_t& segment = frame_.get_segment(0);
    const double symbol_rate = static_cast<double>(segment.get_format_configure().get_symbol_rate());
    const std::uint32_t meas_interval = segment.get_time_configure().get_meas_interval();
    const std::uint32_t meas_point = common_lib::saturate<std::uint32_t>(
        std::round(static_cast<double>(meas_interval) * static_cast<double>(config.sample_rate) / symbol_rate));
    const bool burst_search = frame_.get_burst_search();
    const bool sync_search = frame_.get_sync_search();
    data_manager_.get_brust_search_flag_vec().at(segment_index) = false;

    burst_edges_t edges;
    if (burst_search)
    {
        const std::int64_t start_time = common_lib::lib_test_t::get_current_time();
        edges = search_burst_edges(block);
        config.burst_raise_idx = edges.raise_index;
        config.burst_raise_flag = edges.raise_found;
        config.burst_fall_flag = edges.fall_found;
        if (edges.raise_found && edges.fall_found)
        {
            config.burst_len = config.burst_fall_idx + 1 - config.burst_raise_idx;
        }
        else
        {
            DMA_LOG_ERROR("cal_first_segment_demod_info:Burst Not Found!\n");
        }
        common_log::print_trace_time("cal_first_segment_demod_info:Burst search time: ", start_time);
    }
    const bool burst_found = edges.raise_found && edges.fall_found;
    if (!burst_found)
    {
        // The burst fills the block between the run-ins. The lengths wrap in 32 bits when the block is shorter.
        config.burst_raise_idx = config.pre_num_max;
        config.burst_len = config.data_len - 2 * config.pre_num_max;
        config.burst_fall_idx = config.data_len - 1 - config.pre_num_max;
    }
    config.data_start = config.burst_raise_idx;
    demod_data_len = sync_search ? config.burst_len : meas_point;

    pre_sym = default_run_in;
    if (burst_found)
    {
        // Whole seconds of samples: 0 for anything shorter.
        const std::uint64_t pre_seconds = config.sample_rate == 0 ? 0 : config.pre_num_max / config.sample_rate;
        const std::uint64_t burst_seconds = config.sample_rate == 0 ? 0 : config.burst_len / config.sample_rate;
        pre_sym =
            cal_burst_run_in(sync_search, common_lib::saturate<std::int64_t>(static_cast<double>(pre_seconds) * symbol_rate),
                             common_lib::saturate<std::int64_t>(static_cast<double>(burst_seconds) * symbol_rate), meas_interval);
    }

    double centre = 0.0;
    if (burst_search && !sync_search && config.burst_len >= meas_point && frame_.get_segment_number() == 1)
        centre = std::round(static_cast<double>(config.burst_len - meas_point) * 0.5);
    pulse_center_sym =
        config.sample_rate == 0
            ? 0
            : common_lib::saturate<std::int32_t>(std::round(centre * symbol_rate / static_cast<double>(config.sample_rate)));

    DMA_LOG_INFO("demo_info.burst_raise_idx(refer to raw_time) = %u\n", config.burst_raise_idx);
    DMA_LOG_INFO("demo_info.burst_fall_idx(refer to raw_time)  = %u\n", config.burst_fall_idx);
    DMA_LOG_INFO("demo_info.burst_len  = %u\n", config.burst_len);
    DMA_LOG_INFO("demo_info.data_start = %u\n", config.data_start);
    DMA_LOG_INFO("demod_data_len  = %u\n", demod_data_len);
    DMA_LOG_INFO("pulse_center_sym = %d\n", pulse_center_sym);
    return true;
}
} // namespace vrim::dma_demod_lib
