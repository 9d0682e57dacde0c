#include "support/lib_constellation.h"

#include "support/internal/qam_grid.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>
#include <utility>
#include <vector>

namespace vrim::common_lib
{
namespace
{
constexpr std::int32_t duplicate_points = -4;

std::complex<float> narrow(double re, double im)
{
    return { static_cast<float>(re), static_cast<float>(im) };
}

/// Point `step` of `steps` on the unit circle, counted from angle 0; exact on the axes.
/// @param steps  a power of two, at least 2
std::complex<float> make_circle_point(std::uint32_t step, std::uint32_t steps)
{
    const std::uint64_t quarters = std::uint64_t{ 4 } * step;
    const double angle = 0.5 * std::numbers::pi * static_cast<double>(quarters % steps) / static_cast<double>(steps);
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    // Subtracting from 0 keeps a part of 0 positive.
    switch ((quarters / steps) % 4)
    {
    case 0:
        return narrow(c, s);
    case 1:
        return narrow(0.0 - s, c);
    case 2:
        return narrow(0.0 - c, 0.0 - s);
    default:
        return narrow(s, 0.0 - c);
    }
}

bool is_circle_count(std::uint32_t points)
{
    return points >= 2 && std::has_single_bit(points);
}

void append(constellation_map& map, std::uint32_t key, std::complex<float> point)
{
    map.emplace_hint(map.end(), key, point);
}
} // namespace

std::int32_t lib_constellation_base_t::check_constellation_map_validity(const constellation_map& map)
{
    std::vector<std::pair<float, float>> points;
    points.reserve(map.size());
    for (const auto& [key, point] : map)
    {
        // What is not a number equals nothing, and would break the order.
        if (!std::isnan(point.real()) && !std::isnan(point.imag()))
            points.emplace_back(point.real(), point.imag());
    }
    std::sort(points.begin(), points.end());
    return std::adjacent_find(points.begin(), points.end()) == points.end() ? 0 : duplicate_points;
}

void lib_constellation_qam_t::generate_default_qam_constellation(std::uint32_t points, constellation_map& map, bool,
                                                                 lib_constellation_normalize_type_t normalize_type)
{
    map.clear();
    qam_grid_t grid;
    if (!make_qam_grid(points, grid))
        return;
    double scale = 1.0;
    if (normalize_type == constellation_normalize_rms)
        scale = grid.unit;
    else if (normalize_type == constellation_normalize_max)
        scale = 1.0 / grid.max_radius;
    for (std::uint32_t key = 0; key < points; ++key)
    {
        const qam_place_t place = get_qam_place(grid, key);
        append(map, key, narrow(scale * place.x, scale * place.y));
    }
}

void lib_constellation_ask_t::generate_default_ask_constellation(std::uint32_t points, constellation_map& map, float spacing,
                                                                 bool, lib_constellation_normalize_type_t normalize_type)
{
    map.clear();
    // Two levels are the carrier off and on; with more of them the carrier is never off.
    const double lowest = points == 2 ? 0.0 : 1.0;
    const auto level = [=](std::uint32_t key) { return static_cast<double>(spacing) * (lowest + key); };

    double scale = 1.0;
    if (normalize_type == constellation_normalize_rms)
    {
        double power = 0.0;
        for (std::uint32_t key = 0; key < points; ++key)
            power += level(key) * level(key);
        scale = 1.0 / std::sqrt(power / points);
    }
    else if (normalize_type == constellation_normalize_max && points > 0)
        scale = 1.0 / std::abs(level(points - 1));
    for (std::uint32_t key = 0; key < points; ++key)
        append(map, key, narrow(scale * level(key), 0.0));
}

void lib_constellation_psk_t::generate_default_psk_constellation(std::uint32_t points, constellation_map& map, bool)
{
    map.clear();
    if (!is_circle_count(points))
        return;
    if (points == 2)
    {
        append(map, 0, { -1.0f, 0.0f });
        append(map, 1, { 1.0f, 0.0f });
    }
    else if (points == 4)
    {
        constexpr std::uint32_t eighth_turns[] = { 3, 1, 5, 7 };
        for (std::uint32_t key = 0; key < 4; ++key)
            append(map, key, make_circle_point(eighth_turns[key], 8));
    }
    else
    {
        for (std::uint32_t key = 0; key < points; ++key)
            append(map, key, make_circle_point(key, points));
    }
}

void lib_constellation_fsk_t::generate_default_fsk_constellation(std::uint32_t points, constellation_map& map, bool)
{
    map.clear();
    if (points % 2 != 0)
        return;
    const std::uint32_t half = points / 2;
    for (std::uint32_t key = 0; key < points; ++key)
    {
        const std::uint32_t steps_from_end = key < half ? key : key - half;
        const double deviation = 1.0 - 2.0 * steps_from_end / (points - 1.0);
        append(map, key, narrow(key < half ? -deviation : deviation, 0.0));
    }
}

void lib_constellation_dpsk_t::generate_default_dpsk_constellation(std::uint32_t points, constellation_map& map, bool)
{
    map.clear();
    if (!is_circle_count(points))
        return;
    if (points == 2)
    {
        append(map, 0, { -1.0f, 0.0f });
        append(map, 1, { 1.0f, 0.0f });
        return;
    }
    for (std::uint32_t key = 0; key < points; ++key)
        append(map, key, make_circle_point(key, points));
}
} // namespace vrim::common_lib
