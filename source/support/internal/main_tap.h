#pragma once

#include "dma_types.h"

#include <complex>
#include <cstddef>

namespace vrim::common_lib
{
/// Correlations by taps all of which but one stand for zeros, as every `up`-th tap of an interpolation filter does: the sine of
/// a whole multiple of pi leaves 1e-17 there, which almost never shows in a sum.
class main_tap_t
{
public:
    explicit main_tap_t(const float_array& taps);
    /// Whether one tap outweighs all others by so much that it is worth trying.
    bool stands_out() const;
    /// out[i] of `correlate_real_taps` over all taps, by one product.
    /// @return false, and no result, when any of the other taps may have changed a bit of a sum
    bool correlate(const std::complex<float>* in, std::complex<float>* out, std::size_t count) const;

private:
    std::size_t length_;
    std::size_t place_ = 0;
    float tap_ = 0.0f;
    double others_ = 0.0; ///< sum of their magnitudes
};
} // namespace vrim::common_lib
