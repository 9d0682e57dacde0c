#pragma once

#include <cstdint>
#include <numeric>

namespace vrim::dma_demod_lib
{
/// Samples per symbol at which a segment is demodulated: even, at least 8, and a multiple of the result rate. So 1, 2, 4 and
/// 8 give 8; 3, 6 and 12 give 12; 5 and 10 give 10; 7 and 14 give 14; 16 gives 16.
/// @param points_per_symbol  points per symbol of the results; 0 is taken as 1
constexpr std::uint32_t cal_working_sps(std::uint32_t points_per_symbol)
{
    constexpr std::uint32_t shortest = 8;
    const std::uint32_t even = std::lcm(points_per_symbol == 0 ? 1u : points_per_symbol, 2u);
    if (points_per_symbol >= shortest)
        return even;
    return (shortest + even - 1) / even * even;
}
} // namespace vrim::dma_demod_lib
