#pragma once

#include "dma_export.h"

#include <cstdint>

namespace vrim::dma_demod_lib
{
/// Normalised sinc, sin(pi x) / (pi x), computed in double; 1 within 1e-12 of 0.
DMA_DEMOD_EXPORT float sinc(float x);

/// Spreads separate I and Q arrays: the outputs, `factor` * `length` values each, are zeroed, and with a `type` other than 0
/// each input goes to every `factor`-th place. Null pointers and a factor of 0 leave everything as it is.
DMA_DEMOD_EXPORT void upsample(int type, std::uint32_t factor, std::uint32_t length, const float* in_i, const float* in_q,
                               float* out_i, float* out_q);
} // namespace vrim::dma_demod_lib
