#pragma once

#include "dma_export.h"
#include "dma_types.h"

#include <cstdint>

namespace vrim::common_lib
{
/// Windows, real values in the real parts. A length of 0 gives an empty array and a length of 1 the value 1.
/// Source: F. J. Harris, "On the use of windows for harmonic analysis with the discrete Fourier transform", Proc. IEEE
/// 66(1), 1978.
class DMA_DEMOD_EXPORT lib_window_function_t
{
public:
    /// @param periodic  the window of one more sample without its last one
    /// @param alpha     reciprocal of the standard deviation, in half lengths
    static void generate_gauss_window(complex_array& out, std::uint32_t length, bool periodic, double alpha);
    /// @param beta  shaping factor
    static void generate_kaiser_window(complex_array& out, std::uint32_t length, bool periodic, double beta);
};
} // namespace vrim::common_lib
