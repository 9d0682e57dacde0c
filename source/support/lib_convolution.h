#pragma once

#include "dma_export.h"
#include "dma_types.h"

namespace vrim::common_lib
{
/// Full linear convolution: as long as both operands together, less one. An empty operand gives an empty result.
class DMA_DEMOD_EXPORT lib_convolution_t
{
public:
    /// `data` becomes kernel * data, by sums of products.
    static void deal_convolution(const complex_array& kernel, complex_array& data);
    /// The same by transforms; within 1e-6 of it in relative L2 norm. Short kernels take the sums, which are faster there.
    static void deal_fft_convolution(const complex_array& kernel, complex_array& data);
};
} // namespace vrim::common_lib
