#include "lib_dma_common/run_in.h"
#include "lib_dma_common/working_rate.h"
#include "lib_dma_phy.h"
#include "support/internal/narrow.h"
#include "support/log_macro.h"
#include "support/trace_output.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

namespace vrim::dma_demod_lib
{
using common_lib::saturate;

namespace
{
constexpr double time_tolerance = 1e-12; // s
constexpr std::uint32_t shortest_length = 100;
constexpr std::uint32_t longest_length_sync = 10000;
constexpr std::uint32_t longest_length = 1000000;
constexpr float quarter_pi = 0.7853982f;
constexpr float eighth_pi = 0.3926991f;
} // namespace

bool lib_dma_phy_t::update_demod_info(std::uint32_t segment_index, lib_dma_demod_config_mgr& config)
{
    if (sample_rate_flag_)
    {
        config.sample_rate = saturate<std::uint64_t>(sample_rate_);
        common_log::print_trace_line(fmt::format("set sample_rate = {} to demod_config.sample_rate", config.sample_rate));
        return true;
    }
    const lib_dma_format_configure_manager_t& format = frame_.get_segment(segment_index).get_format_configure();
    // A product of 32 bits: rates beyond it wrap.
    config.sample_rate =
        static_cast<std::uint32_t>(format.get_points_per_symbol()) * static_cast<std::uint32_t>(format.get_symbol_rate());
    return true;
}

bool lib_dma_phy_t::cal_preprocess_param(std::uint32_t segment_index, lib_dma_demod_config_mgr& config)
{
    update_run_in(frame_.get_segment(segment_index), config);
    return true;
}

std::int32_t lib_dma_phy_t::update_demod_data_len(std::uint32_t wanted)
{
    const std::uint32_t length = static_cast<std::uint32_t>(raw_data_.size());
    DMA_LOG_INFO("lib_dma_phy_t::input_demod_data_len,input_data_len = %u \n", length);
    const std::uint32_t most = frame_.get_sync_search() ? longest_length_sync : longest_length;
    const std::uint32_t min_data_len = wanted < shortest_length ? shortest_length : std::min(wanted, most);
    if (min_data_len <= length)
        return LIB_DMA_RESULT_OK;
    common_log::print_trace_line(
        fmt::format("lib_dma_phy_t::input_demod_data_len {} does not satisfy min_data_len {}", length, min_data_len));
    return LIB_DMA_RESULT_CAPTURE_TOO_SHORT;
}

bool lib_dma_phy_t::cal_psk_modulation_param(const lib_dma_segment_configure_manager_t& segment,
                                             lib_dma_psk_modulation_param& param)
{
    const lib_dma_format_configure_manager_t& format = segment.get_format_configure();
    const auto set_psk = [&param](std::uint32_t order, float angle)
    {
        param.modulation_order = order;
        param.rotation_angle = angle;
        return true;
    };
    const auto set_dpsk = [&param](std::uint32_t order, float angle, float step)
    {
        param.modulation_order = order;
        param.dpsk_rotation_angle = angle;
        param.dpsk_rotation_step = step;
        return true;
    };

    // The PSK format is read before the DPSK one whatever the group is.
    if (format.get_format_group() == LIB_DMA_GROUP_OQPSK)
        return set_psk(4, quarter_pi);
    switch (format.get_psk_format())
    {
    case LIB_DMA_MODULATION_PSK_QPSK:
    case LIB_DMA_MODULATION_PSK_3PI_4_QPSK:
        return set_psk(4, quarter_pi);
    case LIB_DMA_MODULATION_PSK_8_PSK:
        return set_psk(8, eighth_pi);
    case LIB_DMA_MODULATION_PSK_3PI_8_PSK:
        return set_psk(8, 0.0f);
    default:
        break;
    }
    switch (format.get_dpsk_format())
    {
    case LIB_DMA_MODULATION_PSK_DBPSK:
        return set_dpsk(2, 0.0f, 0.0f);
    case LIB_DMA_MODULATION_PSK_DQPSK:
        return set_dpsk(4, quarter_pi, 0.0f);
    case LIB_DMA_MODULATION_PSK_PI_4_DQPSK:
        return set_dpsk(4, 0.0f, quarter_pi);
    case LIB_DMA_MODULATION_PSK_D8PSK:
        return set_dpsk(8, eighth_pi, 0.0f);
    case LIB_DMA_MODULATION_PSK_PI_8_D8PSK:
        return set_dpsk(8, 0.0f, eighth_pi);
    default:
        return true;
    }
}

bool lib_dma_phy_t::_update_search_lengths(lib_dma_demod_config_mgr& config, double& search_length, std::uint32_t& window_len)
{
    if (config.minseglen - search_length > time_tolerance)
    {
        DMA_LOG_INFO("search_length(s)can not be less than minseglen(%.6f) !\n", config.minseglen);
        search_length = config.minseglen;
    }
    const double sample_rate = static_cast<double>(config.sample_rate);
    const double pre_total = config.pre_time + config.equalizer_time;
    const std::uint32_t wanted = saturate<std::uint32_t>(std::ceil(sample_rate * (search_length + pre_total)));
    if (update_demod_data_len(wanted) != LIB_DMA_RESULT_OK)
        return false;
    window_len = std::min(wanted, static_cast<std::uint32_t>(raw_data_.size()));
    config.pre_num_max = saturate<std::uint32_t>(std::floor(sample_rate * pre_total * 0.5));
    config.data_len = 2 * config.pre_num_max + saturate<std::uint32_t>(std::floor(sample_rate * search_length));
    if (config.data_len > window_len)
    {
        DMA_LOG_INFO("search_length + pre_num_max(point)can not more than raw data len(%u) !\n", window_len);
        config.data_len = window_len;
    }
    return true;
}

void lib_dma_phy_t::_update_head_lengths(const lib_dma_segment_configure_manager_t& segment, std::int32_t pre_sym,
                                         lib_dma_demod_config_mgr& config)
{
    const lib_dma_format_configure_manager_t& format = segment.get_format_configure();
    const double symbol_rate = static_cast<double>(format.get_symbol_rate());
    const double pre_total = config.pre_time + config.equalizer_time;
    double pre_total_sym = std::floor(pre_total * 0.5 * symbol_rate);
    double pre_sym_filter = std::floor(0.5 * config.pre_time * symbol_rate);
    if (format.get_format_group() == LIB_DMA_GROUP_MSK)
    {
        // MSK decides on pairs of symbols.
        pre_total_sym = 2.0 * std::floor(pre_total_sym * 0.5);
        pre_sym_filter = 2.0 * std::floor(pre_sym_filter * 0.5);
    }
    const std::uint32_t sps = cal_working_sps(format.get_points_per_symbol());
    config.pre_num = static_cast<std::uint32_t>(pre_sym % 2 != 0 ? pre_sym + 1 : pre_sym) * sps;
    config.equalizer_head_len = saturate<std::uint32_t>(pre_total_sym - pre_sym_filter);
    config.head_len = saturate<std::uint32_t>(pre_sym_filter) * sps;
}
} // namespace vrim::dma_demod_lib
