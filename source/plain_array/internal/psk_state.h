#pragma once

#include "support/internal/complex_ops.h"

#include <cmath>
#include <complex>
#include <cstdint>

/// PSK states, numbered counter-clockwise: 0 at angle 0, for four states at 45 degrees.
namespace vrim::dma_demod_lib::psk_state
{
inline bool is_known_order(std::uint32_t order)
{
    return order == 2 || order == 4 || order == 8 || order == 16;
}

/// @param order  a known one
/// @param point  an ideal point, or near one
inline std::uint32_t get_number(std::uint32_t order, std::complex<float> point)
{
    const double first = order == 4 ? common_lib::pi / 4.0 : 0.0;
    const double turns = (static_cast<double>(common_lib::phase_of(point)) - first) / common_lib::two_pi;
    const std::int32_t count = static_cast<std::int32_t>(order);
    const std::int32_t steps = static_cast<std::int32_t>(std::lround(turns * count)) % count;
    return static_cast<std::uint32_t>((steps + count) % count);
}
} // namespace vrim::dma_demod_lib::psk_state
