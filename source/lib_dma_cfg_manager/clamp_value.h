#pragma once

namespace vrim::dma_demod_lib
{
/// The nearest value of [low, high]. Two plain comparisons, so that not-a-number passes as it is and shows up in the results
/// instead of becoming a limit that nobody asked for.
template <typename value_t>
constexpr value_t clamp_value(value_t value, value_t low, value_t high)
{
    if (value < low)
        return low;
    if (value > high)
        return high;
    return value;
}
} // namespace vrim::dma_demod_lib
