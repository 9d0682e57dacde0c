#pragma once

#include "dma_types.h"

#include <cstddef>

/// Linear convolution, of which any stretch of the output may be asked for.
namespace vrim::common_lib
{
/// out[i] = sum over k of kernel[k] * data[first + i - k], i from 0 to count - 1; samples outside `data` are zero. The sums
/// run in single precision over the overlap, oldest sample first, real and imaginary kernel parts apart.
void convolve_directly(const complex_array& kernel, const complex_array& data, std::size_t first, std::size_t count,
                       complex_array& out);

/// The same by transforms of blocks (overlap-save), in single precision.
void convolve_by_transforms(const complex_array& kernel, const complex_array& data, std::size_t first, std::size_t count,
                            complex_array& out);

/// The cheaper of the two; `out` may be `data` in all three. The choice depends on the kernel's length alone.
void convolve(const complex_array& kernel, const complex_array& data, std::size_t first, std::size_t count, complex_array& out);
} // namespace vrim::common_lib
