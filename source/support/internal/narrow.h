#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

/// Narrowings that cannot run out of their type. Not-a-number becomes 0.
namespace vrim::common_lib
{
template <typename integer_t>
integer_t saturate(double value)
{
    if (std::isnan(value))
        return 0;
    if (value <= static_cast<double>(std::numeric_limits<integer_t>::min()))
        return std::numeric_limits<integer_t>::min();
    if (value >= static_cast<double>(std::numeric_limits<integer_t>::max()))
        return std::numeric_limits<integer_t>::max();
    return static_cast<integer_t>(value);
}
} // namespace vrim::common_lib
