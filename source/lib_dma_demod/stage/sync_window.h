#pragma once

#include "dma_types.h"
#include "lib_dma_common/lib_dma_phy_common.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

namespace vrim::dma_demod_lib::demod_stage
{
/// Fits a sync pattern to whole symbols: a shorter one gets zero bits at its end, a longer one loses its ragged end.
void fit_sync_pattern(std::uint32_t bits_per_symbol, bit_array& pattern);

/// Decides every symbol of a waveform at the result rate.
/// @param decide  decide(symbol) -> index, or decide(symbols, indices) of all at once
template <typename decide_t>
std::vector<std::uint32_t> decide_symbols(const complex_array& data, std::uint32_t points_per_symbol, decide_t&& decide)
{
    complex_array symbols;
    lib_dma_phy_common_t::downsample(data, static_cast<float>(points_per_symbol), symbols);
    std::vector<std::uint32_t> indices;
    if constexpr (std::is_invocable_v<decide_t, const complex_array&, std::vector<std::uint32_t>&>)
    {
        decide(symbols, indices);
    }
    else
    {
        indices.resize(symbols.size());
        for (std::size_t i = 0; i < symbols.size(); ++i)
            indices[i] = decide(symbols[i]);
    }
    return indices;
}

/// What a search over the carrier's phases found.
struct sync_search_t
{
    bool found = false;
    std::uint32_t bit_position = 0;     ///< of the pattern's first bit
    float rotation = 0.0f;              ///< radians, last turn tried
    std::vector<std::uint32_t> decoded; ///< indices at the last turn tried
};

/// First position of the pattern in the indices' bits, most significant first, searched symbol by symbol in linear time.
/// @param pattern  whole symbols; an empty one is found at once
/// @return position in bits, or -1
std::int64_t find_sync_pattern(const std::vector<std::uint32_t>& indices, const bit_array& pattern,
                               std::uint32_t bits_per_symbol);

/// Tries the turns in order until the pattern is found. The turns add up on the search copy, which is not restored in
/// between.
/// @param search_copy  waveform at the result rate
template <typename decide_t>
sync_search_t deal_sync_search(complex_array search_copy, std::uint32_t points_per_symbol, const float_array& rotations,
                               const bit_array& pattern, std::uint32_t bits_per_symbol, decide_t&& decide)
{
    sync_search_t result;
    for (const float rotation : rotations)
    {
        lib_dma_phy_common_t::deal_mixer1(search_copy, 0.0, rotation);
        result.decoded = decide_symbols(search_copy, points_per_symbol, decide);
        result.rotation = rotation;
        const std::int64_t position = find_sync_pattern(result.decoded, pattern, bits_per_symbol);
        if (position >= 0)
        {
            result.found = true;
            result.bit_position = static_cast<std::uint32_t>(position);
            break;
        }
    }
    return result;
}

/// First point of the measurement window, at the earliest that of the data.
/// @param sync_offset  symbols, may be negative and fractional; none when it is no number
std::uint32_t cal_window_start(std::uint32_t bit_position, std::uint32_t bits_per_symbol, float sync_offset,
                               std::uint32_t points_per_symbol);

/// Place of a window start in the capture, added to `data_start`.
std::uint32_t cal_window_data_start(std::uint32_t data_start, std::uint32_t window_start, std::uint64_t symbol_rate,
                                    std::uint64_t sample_rate, std::uint32_t sps);

/// Where a window lies. Lengths and positions in points of the result rate.
struct window_t
{
    std::uint32_t start;
    std::uint32_t interval;
    std::uint32_t points_per_symbol;
    std::uint32_t sync_symbol_index; ///< symbol at which the pattern begins
    bool sync_found;                 ///< this segment's flag
};

struct window_cut_t
{
    bool too_short = false;       ///< the data end before the window does
    bool decoded_cut = false;     ///< the decoded symbols are those of a sync word; otherwise the decode flag is to be cleared
    bool offset_rejected = false; ///< the sync offset points outside; it is to be set to 0
};

/// Cuts measurement, reference and decoded symbols to the window. Behind a sync word the decoded symbols reach from the word
/// less the whole offset to the end of the window. An offset that leads in front of the data or past them is rejected: they then
/// start with the word.
/// @param sync_offset  symbols; none when it is no number
window_cut_t deal_window_cut(const window_t& window, float sync_offset, complex_array& meas, complex_array& ref,
                             std::vector<std::uint32_t>& decoded);

enum class window_scale_t
{
    done,
    no_reference,   ///< the reference has no amplitude
    no_measurement, ///< the measurement has no rms
};

/// Scales the reference to a largest symbol of 1 and the measurement to the reference's rms over the symbols.
/// @param[out] level  the level that was found, for the report
window_scale_t deal_window_scale(std::uint32_t points_per_symbol, complex_array& meas, complex_array& ref, float& level);
} // namespace vrim::dma_demod_lib::demod_stage
