#pragma once

#include "dma_export.h"
#include "dma_types.h"

namespace vrim::common_lib
{
/// Signal operations without a place of their own.
class DMA_DEMOD_EXPORT lib_common_signal_process_t
{
public:
    /// Multiplies element n by exp(j (2 pi frequency n + phase)), in place. Each phasor is computed afresh in double.
    /// @param frequency  relative to the sample rate
    /// @param phase      radians
    static void deal_mixer(complex_array& array, double frequency, double phase);
};
} // namespace vrim::common_lib
