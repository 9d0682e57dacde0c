#include "lib_dma_demod/stage/symbol_decode.h"

#include "lib_dma_common/lib_dma_phy_common.h"
#include "support/log_macro.h"
#include "support/trace_output.h"

#include <fmt/format.h>
#include <utility>
#include <vector>

namespace vrim::dma_demod_lib::demod_stage
{
namespace
{
/// First point of the window behind a search; the data start moves with it.
std::uint32_t move_window_start(std::uint32_t segment_index, std::uint32_t bits_per_symbol, std::uint32_t& bit_position,
                                demod_setting_t& setting, const lib_dma_phy_data_manager_t& data_manager)
{
    if (!data_manager.get_sync_search_flag_vec().at(0))
    {
        const std::int32_t centre = data_manager.get_dma_demod_config_mgr(segment_index).pulse_center_sym;
        setting.data_start += setting.points_per_symbol * static_cast<std::uint32_t>(centre);
        DMA_LOG_ERROR("Pattern Not Found!\n");
        bit_position = 0;
    }
    const std::uint32_t window_start =
        cal_window_start(bit_position, bits_per_symbol, setting.sync_offset, setting.points_per_symbol);
    setting.data_start =
        cal_window_data_start(setting.data_start, window_start, setting.symbol_rate, setting.sample_rate, setting.sps);
    return window_start;
}
} // namespace

bool deal_decoded_window(std::uint32_t segment_index, std::uint32_t bits_per_symbol, sync_search_t search,
                         const decode_words_t& words, demod_setting_t& setting, demod_work_t& work,
                         lib_dma_phy_data_manager_t& data_manager)
{
    std::vector<std::uint32_t>& decoded = data_manager.get_decode_bit(segment_index);
    decoded = std::move(search.decoded);
    window_t window = {};
    window.interval = setting.meas_interval;
    window.points_per_symbol = setting.points_per_symbol;
    std::uint32_t bit_position = 0;
    if (is_sync_searched(segment_index, setting))
    {
        // A further pass over the same segment may lose what the one before had found.
        data_manager.get_sync_search_flag_vec().at(0) = search.found;
        if (search.found)
        {
            bit_position = search.bit_position;
            // Both get the last turn only, not the sum of all tried ones; the error vector does not see it.
            lib_dma_phy_common_t::deal_mixer1(work.meas_data, 0.0, search.rotation);
            lib_dma_phy_common_t::deal_mixer1(work.ref_data, 0.0, search.rotation);
        }
        window.start = move_window_start(segment_index, bits_per_symbol, bit_position, setting, data_manager);
    }
    data_manager.get_decode_bit_flag_vec().at(segment_index) = true;

    window.sync_symbol_index = bit_position / bits_per_symbol;
    window.sync_found = data_manager.get_sync_search_flag_vec().at(segment_index);
    const window_cut_t cut = deal_window_cut(window, setting.sync_offset, work.meas_data, work.ref_data, decoded);
    if (!cut.decoded_cut)
        data_manager.get_decode_bit_flag_vec().at(segment_index) = false;
    if (cut.offset_rejected)
        setting.sync_offset = 0.0f;
    if (cut.too_short)
        DMA_LOG_ERROR(words.too_short);

    float level = 0.0f;
    switch (deal_window_scale(setting.points_per_symbol, work.meas_data, work.ref_data, level))
    {
    case window_scale_t::no_reference:
        common_log::print_trace_line(fmt::format("{}{}", words.no_reference, level));
        return false;
    case window_scale_t::no_measurement:
        common_log::print_trace_line(fmt::format("{}{}", words.no_measurement, level));
        return false;
    case window_scale_t::done:
        break;
    }
    return true;
}
} // namespace vrim::dma_demod_lib::demod_stage
