#pragma once

#include <cmath>
#include <cstdint>

namespace vrim::common_lib
{
/// Place of sample `i` of a window from -1 to 1. @param last  index of the window's last sample
inline double window_position(std::uint64_t i, std::uint64_t last)
{
    const double span = static_cast<double>(last);
    return last > 0 ? (2.0 * static_cast<double>(i) - span) / span : 0.0;
}

/// Gaussian window at a place from -1 to 1. @param alpha  reciprocal of the standard deviation, in half lengths
inline double gauss_value(double position, double alpha)
{
    const double x = alpha * position;
    return std::exp(-0.5 * x * x);
}
} // namespace vrim::common_lib
