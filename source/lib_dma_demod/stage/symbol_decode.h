#pragma once

#include "lib_dma_demod/lib_dma_demod_record.h"
#include "lib_dma_demod/stage/sync_window.h"
#include "lib_dma_phy_data_manager.h"

#include <cstdint>
#include <string_view>
#include <utility>

namespace vrim::dma_demod_lib::demod_stage
{
/// How a class speaks of its decoding.
struct decode_words_t
{
    std::string_view too_short;      ///< the data end before the window does
    std::string_view no_reference;   ///< followed by the reference's level
    std::string_view no_measurement; ///< followed by the measurement's level
};

/// Whether the segment looks for a sync word: only the first one can.
inline bool is_sync_searched(std::uint32_t segment_index, const demod_setting_t& setting)
{
    return segment_index == 0 && setting.sync_search;
}

/// What follows the decisions: turns the waveforms to the sync word that was found, moves the data start, cuts waveforms and
/// symbols to the window and scales them. Flags and symbols go to the store.
/// @param search  result of the search, or the plain decisions where there was none
/// @return false, said on standard output, when reference or measurement have no level
bool deal_decoded_window(std::uint32_t segment_index, std::uint32_t bits_per_symbol, sync_search_t search,
                         const decode_words_t& words, demod_setting_t& setting, demod_work_t& work,
                         lib_dma_phy_data_manager_t& data_manager);

/// The whole stage: decides the symbols of the measurement, searches the sync word over the turns that the format cannot tell
/// apart, and deals with the window.
/// @param rotations  radians, each on top of the one before
/// @param decide     as `decide_symbols` takes it
template <typename decide_t>
bool deal_symbol_decode(std::uint32_t segment_index, std::uint32_t bits_per_symbol, const float_array& rotations,
                        const decode_words_t& words, decide_t&& decide, demod_setting_t& setting, demod_work_t& work,
                        lib_dma_phy_data_manager_t& data_manager)
{
    fit_sync_pattern(bits_per_symbol, setting.sync_pattern_bitarr);
    sync_search_t search;
    if (is_sync_searched(segment_index, setting))
        search = deal_sync_search(work.meas_data, setting.points_per_symbol, rotations, setting.sync_pattern_bitarr,
                                  bits_per_symbol, decide);
    else
        search.decoded = decide_symbols(work.meas_data, setting.points_per_symbol, decide);
    return deal_decoded_window(segment_index, bits_per_symbol, std::move(search), words, setting, work, data_manager);
}
} // namespace vrim::dma_demod_lib::demod_stage
