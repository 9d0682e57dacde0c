#include "signal_points.h"

#include <cmath>
#include <cstddef>
#include <numbers>

namespace dma_test
{
namespace
{
constexpr double pi = std::numbers::pi;

point_set_t scale_to_unit_rms(point_set_t points)
{
    double power = 0.0;
    for (const std::complex<double>& point : points)
    {
        power += std::norm(point);
    }
    const double rms = std::sqrt(power / static_cast<double>(points.size()));
    for (std::complex<double>& point : points)
    {
        point /= rms;
    }
    return points;
}

/// Moves a point of the rectangle that sticks out of the cross. In each quadrant that is a block of `corner` columns and twice
/// as many rows: its upper half goes inwards and up as if flipped over the rectangle's edge, its lower half is flipped sideways
/// and goes up. Coordinates are odd numbers, a column is 2 wide.
std::complex<double> fold_into_cross(double x, double y, double corner)
{
    const double edge = 4.0 * corner; // top of the rectangle, and right end of the bar that stands on it
    double across = std::abs(x);
    double up = std::abs(y);
    if (across > 6.0 * corner)
    {
        const bool upper = up > 2.0 * corner;
        across = upper ? across - edge : 2.0 * edge - across;
        up = upper ? 2.0 * edge - up : up + edge;
    }
    return { std::copysign(across, x), std::copysign(up, y) };
}

/// Puts one ring into a set, its points on consecutive indices.
void place_ring(point_set_t& points, std::size_t first_index, std::size_t count, double radius, double first_angle)
{
    for (std::size_t i = 0; i < count; ++i)
    {
        const double angle = first_angle + 2.0 * pi * static_cast<double>(i) / static_cast<double>(count);
        points.at(first_index + i) = std::polar(radius, angle);
    }
}
} // namespace

point_set_t make_circle_points(const std::vector<double>& degrees)
{
    point_set_t points;
    for (const double angle : degrees)
    {
        points.push_back(std::polar(1.0, angle * pi / 180.0));
    }
    return points;
}

point_set_t make_qam_points(std::uint32_t bits)
{
    const auto gray = [](std::uint32_t number) { return number ^ (number >> 1U); };
    const std::uint32_t row_bits = bits / 2;
    const std::uint32_t rows = 1U << row_bits;
    const std::uint32_t columns = 1U << (bits - row_bits);
    point_set_t points(std::size_t{ 1 } << bits);
    for (std::uint32_t column = 0; column < columns; ++column)
    {
        const double x = 2.0 * column + 1.0 - columns;
        for (std::uint32_t row = 0; row < rows; ++row)
        {
            const double y = 2.0 * row + 1.0 - rows;
            const std::uint32_t index = (gray(column) << row_bits) | gray(row);
            points.at(index) = columns == rows ? std::complex<double>(x, y) : fold_into_cross(x, y, columns / 8.0);
        }
    }
    return scale_to_unit_rms(points);
}

point_set_t make_ask_points(std::uint32_t levels)
{
    // Two levels are the carrier off and on; with more of them the carrier is never off.
    const double lowest = levels == 2 ? 0.0 : 1.0;
    point_set_t points;
    for (std::uint32_t i = 0; i < levels; ++i)
    {
        points.emplace_back(lowest + i, 0.0);
    }
    return scale_to_unit_rms(points);
}

point_set_t make_tone_levels(std::uint32_t tones)
{
    point_set_t levels(tones);
    const std::uint32_t half = tones / 2;
    for (std::uint32_t i = 0; i < half; ++i)
    {
        const double level = (tones - 1.0 - 2.0 * i) / (tones - 1.0);
        levels[i] = -level;
        levels[half + i] = level;
    }
    return levels;
}

point_set_t make_16apsk_points(double r2_r1)
{
    point_set_t points(16);
    place_ring(points, 12, 4, 1.0, pi / 4.0);
    place_ring(points, 0, 12, r2_r1, pi / 4.0);
    return scale_to_unit_rms(points);
}

point_set_t make_32apsk_points(double r2_r1, double r3_r1)
{
    point_set_t points(32);
    place_ring(points, 28, 4, 1.0, pi / 4.0);
    place_ring(points, 16, 12, r2_r1, pi / 4.0);
    place_ring(points, 0, 16, r3_r1, pi / 8.0);
    return scale_to_unit_rms(points);
}
} // namespace dma_test
