#pragma once

#include "dma_types.h"

#include <cstdint>

namespace vrim::dma_demod_lib::demod_stage
{
/// Finds the symbol timing of a whole record and applies it.
/// @param data                  samples at `sps`
/// @param[out] timing_data      timed samples, symbols at the multiples of `sps`
/// @param[out] timing_start     samples that were to be dropped; nothing is when there are no more than that
/// @param pre_num               margin in samples that takes no part in the estimate
/// @param clock_adjust          symbols
/// @param symbols_per_block     length of one estimate
void deal_symbol_timing(const complex_array& data, complex_array& timing_data, std::uint32_t& timing_start, std::uint32_t sps,
                        std::uint32_t pre_num, float clock_adjust, std::uint32_t symbols_per_block);
} // namespace vrim::dma_demod_lib::demod_stage
