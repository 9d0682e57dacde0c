#pragma once

#include "dma_export.h"
#include "dma_types.h"

namespace vrim::common_lib
{
/// Scaling of arrays, in place. An array without power stays as it was.
class DMA_DEMOD_EXPORT lib_normalization_t
{
public:
    /// To unit rms.
    static void rms_normalize(complex_array& array);
    /// To a largest amplitude of 1.
    static void amplitude_max_normalize(complex_array& array);
};
} // namespace vrim::common_lib
