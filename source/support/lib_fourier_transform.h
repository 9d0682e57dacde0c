#pragma once

#include "dma_export.h"
#include "dma_types.h"

#include <cstdint>

namespace vrim::common_lib
{
/// Discrete Fourier transforms of any length, in double inside.
class DMA_DEMOD_EXPORT lib_fourier_transform_t
{
public:
    /// Forward transform in place, no scaling.
    /// @param fft_length  0 for the length of the array; otherwise the array is cut or extended with zeros to it first
    static void deal_fft(complex_array& array, std::uint32_t fft_length);
    /// Inverse transform in place, scaled so that it undoes `deal_fft`.
    static void deal_ifft(complex_array& array, std::uint32_t fft_length);
    /// Swaps the halves so that zero frequency goes to index floor(N / 2).
    static void fft_shift(complex_array& array);
};
} // namespace vrim::common_lib
