#pragma once

#include "support/nearest_odd.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>

/// The grid under a QAM point set in index arithmetic. The generator writes maps from it and the grid decisions look keys up
/// in it, so that both always mean the same labels.
namespace vrim::common_lib
{
/// Size of a QAM point set. Coordinates of points are odd integers; their unit is half the distance of neighbouring points.
struct qam_grid_t
{
    std::uint32_t points = 0;
    std::uint32_t bits = 0;  ///< bits per symbol
    std::int32_t side = 0;   ///< points a side of the square around the set
    std::int32_t corner = 0; ///< points a side of the missing corners, 0 for square sets
    double unit = 0.0;       ///< the unit of the coordinates at rms 1
    double max_radius = 0.0; ///< the largest amplitude in units
};

/// Odd coordinates of a point.
struct qam_place_t
{
    std::int32_t x = 0; ///< in phase
    std::int32_t y = 0; ///< in quadrature
};

/// @param points  4 to 4096 as a power of 4, or 32, 128, 512, 2048
/// @return false, and a grid of no points, for any other count
inline bool make_qam_grid(std::uint32_t points, qam_grid_t& grid)
{
    grid = {};
    std::uint32_t bits = 0;
    while (bits < 12 && (1u << bits) < points)
        ++bits;
    if ((1u << bits) != points || bits < 2 || bits == 3)
        return false;

    grid.points = points;
    grid.bits = bits;
    const double count = static_cast<double>(points);
    if (bits % 2 == 0)
    {
        grid.side = 1 << (bits / 2);
        grid.unit = 1.0 / std::sqrt(2.0 / 3.0 * (count - 1.0));
        grid.max_radius = std::hypot(grid.side - 1, grid.side - 1);
    }
    else
    {
        grid.corner = 1 << ((bits - 5) / 2);
        grid.side = 6 * grid.corner;
        grid.unit = 1.0 / std::sqrt(2.0 / 3.0 * (31.0 / 32.0 * count - 1.0));
        grid.max_radius = std::hypot(grid.side - 1, 4 * grid.corner - 1);
    }
    return true;
}

inline std::uint32_t gray_from_binary(std::uint32_t value)
{
    return value ^ (value >> 1);
}

inline std::uint32_t binary_from_gray(std::uint32_t code)
{
    for (std::uint32_t shift = 1; shift < 32; shift *= 2)
        code ^= code >> shift;
    return code;
}

/// Place of a key. The high half of the key's bits (the larger half of an odd count) is the Gray code of the column, rising
/// with the in-phase part; the low half that of the row, rising with the quadrature part. Cross sets label the rectangle of
/// twice as many columns as rows and fold its outer columns onto the top and the bottom, so that all neighbours inside the
/// rectangle, and most across the fold, differ by one bit.
/// Source: J. G. Smith, "Odd-bit quadrature amplitude-shift keying", IEEE Trans. Commun. 23(3), 1975.
/// @param key  below the count of points
inline qam_place_t get_qam_place(const qam_grid_t& grid, std::uint32_t key)
{
    const std::uint32_t row_bits = grid.bits / 2;
    const std::int32_t columns = 1 << (grid.bits - row_bits);
    const std::int32_t rows = 1 << row_bits;
    const std::int32_t column = static_cast<std::int32_t>(binary_from_gray(key >> row_bits));
    const std::int32_t row = static_cast<std::int32_t>(binary_from_gray(key & ((1u << row_bits) - 1u)));
    const qam_place_t place = { 2 * column - (columns - 1), 2 * row - (rows - 1) };
    const std::int32_t ax = std::abs(place.x);
    const std::int32_t ay = std::abs(place.y);
    if (grid.corner == 0 || ax < grid.side)
        return place;

    const std::int32_t half = 2 * grid.corner;
    const std::int32_t folded_x = ay > half ? ax - 2 * half : 4 * half - ax;
    const std::int32_t folded_y = ay > half ? 4 * half - ay : ay + 2 * half;
    return { place.x < 0 ? -folded_x : folded_x, place.y < 0 ? -folded_y : folded_y };
}

/// The inverse of `get_qam_place`. @param place  one of the set's points
inline std::uint32_t get_qam_key(const qam_grid_t& grid, qam_place_t place)
{
    const std::uint32_t row_bits = grid.bits / 2;
    const std::int32_t columns = 1 << (grid.bits - row_bits);
    const std::int32_t rows = 1 << row_bits;
    const std::int32_t ax = std::abs(place.x);
    const std::int32_t ay = std::abs(place.y);
    if (grid.corner != 0 && ay > rows)
    {
        const std::int32_t half = 2 * grid.corner;
        const std::int32_t flat_x = ax > half ? ax + 2 * half : 4 * half - ax;
        const std::int32_t flat_y = ax > half ? 4 * half - ay : ay - 2 * half;
        place = { place.x < 0 ? -flat_x : flat_x, place.y < 0 ? -flat_y : flat_y };
    }
    const std::uint32_t column = static_cast<std::uint32_t>((place.x + columns - 1) / 2);
    const std::uint32_t row = static_cast<std::uint32_t>((place.y + rows - 1) / 2);
    return (gray_from_binary(column) << row_bits) | gray_from_binary(row);
}

/// The point of the set that is nearest to (re, im), both in units of the grid.
inline qam_place_t get_nearest_qam_place(const qam_grid_t& grid, double re, double im)
{
    const qam_place_t place = { get_nearest_odd(re, grid.side), get_nearest_odd(im, grid.side) };
    const std::int32_t arm = 4 * grid.corner;
    if (grid.corner == 0 || std::abs(place.x) < arm || std::abs(place.y) < arm)
        return place;

    // In a missing corner the nearest point is in one of the two bars that make the cross.
    const qam_place_t upright = { get_nearest_odd(re, arm), place.y };
    const qam_place_t lying = { place.x, get_nearest_odd(im, arm) };
    const auto squared_distance = [re, im](qam_place_t p) { return (re - p.x) * (re - p.x) + (im - p.y) * (im - p.y); };
    return squared_distance(lying) < squared_distance(upright) ? lying : upright;
}
} // namespace vrim::common_lib
