#pragma once

#include "dma_types.h"
#include "lib_dma_common/lib_dma_phy_common.h"
#include "support/lib_normalization.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace vrim::dma_demod_lib::demod_stage
{
/// Cuts the timed signal to whole symbols, brings its symbols to unit rms and decides them.
/// @param timing_data     samples at `sps`; comes back empty, its samples having gone to `meas_data`
/// @param[out] decided    decisions of all symbols
/// @param judge           judge(symbol) -> point, or judge(symbols) of all at once, in place
template <typename judge_t>
void deal_symbol_decision(complex_array& timing_data, std::uint32_t sps, complex_array& meas_data, complex_array& decided,
                          judge_t&& judge)
{
    meas_data.swap(timing_data);
    timing_data.clear();
    meas_data.resize(meas_data.size() / sps * sps);
    decided.clear();
    lib_dma_phy_common_t::downsample(meas_data, static_cast<float>(sps), decided);
    common_lib::lib_normalization_t::rms_normalize(decided);
    if constexpr (std::is_invocable_v<judge_t, complex_array&>)
    {
        judge(decided);
    }
    else
    {
        for (std::complex<float>& symbol : decided)
            symbol = judge(symbol);
    }
}

/// Turns symbol i by `step` * i radians, as a transmitter with a fixed turn per symbol does.
void deal_symbol_ramp(float step, complex_array& symbols);
} // namespace vrim::dma_demod_lib::demod_stage
