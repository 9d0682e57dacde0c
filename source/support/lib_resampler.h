#pragma once

#include "dma_export.h"
#include "dma_types.h"

#include <cstdint>

namespace vrim::common_lib
{
/// Polyphase rate conversion.
class DMA_DEMOD_EXPORT lib_resampler_t
{
public:
    /// Converts `in` by up / down with a Kaiser-windowed sinc of 24 samples of the lower rate on each side; pass band up to
    /// 0.88 of the lower rate's half, stop band 90 dB down.
    /// @param in     must not be `out`
    /// @param out    ceil(length * up / down) samples, out[0] at the time of in[0]
    /// @param phase  first output position at the common rate up * (rate of `in`), in its samples
    /// @return false, and no samples, when a factor is 0 or the filter would be too long to hold
    /// Source: R. E. Crochiere, L. R. Rabiner, Multirate Digital Signal Processing, Prentice-Hall, 1983.
    static bool deal_polyphase_resampling(const complex_array& in, complex_array& out, std::uint64_t up, std::uint64_t down,
                                          std::uint64_t phase);
};
} // namespace vrim::common_lib
