#pragma once

#include "dma_export.h"

#include <cstdint>

/// Transforms of separate I and Q arrays. The outputs may be the inputs. A null pointer to an array that has entries is
/// reported on standard output; the outputs stay as they were then and the result is false.
namespace vrim::dma_demod_lib
{
/// Discrete Fourier transform of any length, not scaled; computed in double.
DMA_DEMOD_EXPORT bool fft(const float* in_i, const float* in_q, std::uint32_t length, float* out_i, float* out_q);

/// Inverse of `fft`, scaled by 1 / length.
DMA_DEMOD_EXPORT bool ifft(const float* in_i, const float* in_q, std::uint32_t length, float* out_i, float* out_q);

/// Swaps the halves of a spectrum so that zero frequency goes from index 0 to floor(length / 2).
DMA_DEMOD_EXPORT bool fft_shift(const float* in, std::uint32_t length, float* out);
DMA_DEMOD_EXPORT bool fft_shift(const float* in_i, const float* in_q, std::uint32_t length, float* out_i, float* out_q);
} // namespace vrim::dma_demod_lib
