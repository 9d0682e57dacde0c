#include "lib_dma_common/run_in.h"
#include "lib_dma_phy.h"
#include "support/internal/narrow.h"
#include "support/log_macro.h"
#include "support/trace_output.h"

#include <algorithm>
#include <fmt/format.h>

namespace vrim::dma_demod_lib
{
namespace
{
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
        config.sample_rate = common_lib::saturate<std::uint64_t>(sample_rate_);
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
} // namespace vrim::dma_demod_lib
