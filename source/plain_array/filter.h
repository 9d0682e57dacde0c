#pragma once

#include "dma_export.h"

#include <cstdint>

/// Filtering of real arrays and of separate I and Q arrays, and their change of rate. A null pointer to an array that has
/// entries is reported on standard output; the outputs stay as they were then and the result is false.
namespace vrim::dma_demod_lib
{
/// FIR filter: out[n] = sum over k of taps[k] * data[n - k], samples before the array being 0.
///
/// The delay of the taps is kept. To line a symmetric filter up with its input, hand over (tap_count - 1) / 2 more zeros behind
/// the data and drop as many outputs at the head. Sums are single-precision; more than 80 taps go by transforms, within 1e-6
/// in relative L2 norm.
/// @param taps  with a `tap_count` of 0 the data come out as they are
/// @param out   `length` values; may be the input
DMA_DEMOD_EXPORT bool filter(const float* taps, std::uint32_t tap_count, const float* data, std::uint32_t length, float* out);
DMA_DEMOD_EXPORT bool filter(const float* taps, std::uint32_t tap_count, const float* in_i, const float* in_q,
                             std::uint32_t length, float* out_i, float* out_q);

/// Zeroes the outputs, `factor` * `length` values each, and with a `type` other than 0 puts each input at every `factor`-th
/// place. A factor of 0 is reported and false.
DMA_DEMOD_EXPORT bool upsample(int type, std::uint32_t factor, std::uint32_t length, const float* in_i, const float* in_q,
                               float* out_i, float* out_q);
} // namespace vrim::dma_demod_lib
