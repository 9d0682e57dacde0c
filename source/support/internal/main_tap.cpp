#include "support/internal/main_tap.h"

#include "support/internal/vector_clones.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

namespace vrim::common_lib
{
namespace
{
/// Magnitude as a whole number: in the same order, with what is not a number above all.
inline std::int32_t get_magnitude_bits(float value)
{
    return std::bit_cast<std::int32_t>(value) & std::numeric_limits<std::int32_t>::max();
}

DMA_VECTOR_CLONES
std::int32_t find_largest(const float* values, std::size_t count)
{
    std::int32_t largest = 0;
    for (std::size_t i = 0; i < count; ++i)
    {
        const std::int32_t bits = get_magnitude_bits(values[i]);
        largest = bits > largest ? bits : largest;
    }
    return largest;
}

/// @return the least of the products
DMA_VECTOR_CLONES
std::int32_t multiply(const float* values, std::size_t count, float factor, float* products)
{
    std::int32_t least = std::numeric_limits<std::int32_t>::max();
    for (std::size_t i = 0; i < count; ++i)
    {
        products[i] = values[i] * factor;
        const std::int32_t bits = get_magnitude_bits(products[i]);
        least = bits < least ? bits : least;
    }
    return least;
}
} // namespace

main_tap_t::main_tap_t(const float_array& taps) : length_(taps.size())
{
    for (std::size_t k = 0; k < taps.size(); ++k)
    {
        if (std::abs(taps[k]) > std::abs(tap_))
        {
            place_ = k;
            tap_ = taps[k];
        }
    }
    for (std::size_t k = 0; k < taps.size(); ++k)
        others_ += k == place_ ? 0.0 : static_cast<double>(std::abs(taps[k]));
}

bool main_tap_t::stands_out() const
{
    constexpr double far_below = 1e-12;
    return others_ < far_below * static_cast<double>(std::abs(tap_));
}

bool main_tap_t::correlate(const std::complex<float>* in, std::complex<float>* out, std::size_t count) const
{
    // A complex array may be read as twice as many floats, real and imaginary parts in turn.
    const float* parts = reinterpret_cast<const float*>(in);
    const float largest = std::bit_cast<float>(find_largest(parts, 2 * (count + length_ - 1)));
    const float least = std::bit_cast<float>(multiply(parts + 2 * place_, 2 * count, tap_, reinterpret_cast<float*>(out)));
    // Neither the sum of the other products in front nor any one behind is as much as half the step between single-precision
    // numbers at the main product, which is 2^-26 of it or more: adding them leaves it as it is. Each product that is too small
    // for single precision may have been rounded up to the least number.
    constexpr double rounding_of_sums = 1.001;
    const double underflow = static_cast<double>(length_) * static_cast<double>(std::numeric_limits<float>::denorm_min());
    const double others = rounding_of_sums * others_ * static_cast<double>(largest) + underflow;
    return std::ldexp(static_cast<double>(least), -26) > others && std::isfinite(largest);
}
} // namespace vrim::common_lib
