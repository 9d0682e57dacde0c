#pragma once

#include <algorithm>
#include <cstdint>

namespace vrim::common_lib
{
/// Nearest of the odd coordinates -(side - 1) ... side - 1; a bound between two belongs to the lower one, and what is not a
/// number to the lowest.
inline std::int32_t get_nearest_odd(double value, std::int32_t side)
{
    const double place = (value + side) / 2.0;
    const double limited = place > 0.5 ? std::min(place, static_cast<double>(side)) : 0.5;
    const std::int32_t whole = static_cast<std::int32_t>(limited);
    const std::int32_t cell = whole - (static_cast<double>(whole) == limited ? 1 : 0); // rounded up, less one
    return 2 * cell - (side - 1);
}
} // namespace vrim::common_lib
