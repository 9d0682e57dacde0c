#pragma once

#include "dma_types.h"
#include "lib_dma_common/decision_table.h"
#include "support/nearest_odd.h"

#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace vrim::dma_demod_lib
{
/// Decisions on a QAM point set at unit rms in constant time. They are those of the walk over the map in key order, ties
/// included: the grid names the cell, and next to a border the points around it are compared as the walk compares them.
class qam_slicer_t
{
public:
    /// A cell of the grid and how far, in grid units, a value may move and stay clear of the cell's borders.
    struct cell_t
    {
        std::uint32_t key = 0;
        float clearance = 0.0f; ///< at most 1; not above 0 where more than the grid has to be asked
    };

    /// @param points  of a set that the generator knows
    /// @param map     what the generator made of it, scaled to unit rms; empty for a set without a generator
    void load(std::uint32_t points, const constellation_map& map);
    void clear();
    bool empty() const { return table_.empty(); }

    /// Key of the nearest point, which is its number in key order too; distances squared in double. The set is not empty.
    std::uint32_t decide_number(std::complex<float> value) const { return _decide<double>(value); }
    /// The nearest point, distances squared in double; 0 for an empty set.
    std::complex<float> decide_point(std::complex<float> value) const
    {
        return empty() ? std::complex<float>(0.0f, 0.0f) : table_.get_point(_decide<double>(value));
    }
    /// Key of the nearest point, distances squared in single precision; 0 for an empty set.
    std::uint32_t decide_index(std::complex<float> value) const { return empty() ? 0 : _decide<float>(value); }

    /// `decide_point` of all values, in place.
    void decide_points(complex_array& values) const;
    /// `decide_index` of all values.
    void decide_indices(const complex_array& values, std::vector<std::uint32_t>& indices) const;

    /// Grid units for one; 0 without a grid.
    double get_scale() const { return grid_.side == 0 ? 0.0 : inverse_unit_; }
    /// The cell around a place in grid units. All decisions on values less than `clearance` away from it are the cell's key.
    cell_t find_cell(double x, double y) const { return grid_.side == 0 ? cell_t() : _get_cell(grid_.find_spot(x, y)); }
    /// The cells around many places, in vector code.
    void find_cells(const double* x, const double* y, std::size_t count, cell_t* cells) const;

private:
    template <typename number_t>
    struct nearest_t;

    /// Place of a cell in `cells_`, and its clearance there.
    struct spot_t
    {
        std::int32_t place;
        float clearance;
    };

    /// The square around the set. Coordinates count odd integers from -(side - 1) to side - 1, in units of half the distance of
    /// neighbouring points.
    struct grid_t
    {
        std::int32_t side = 0;  ///< points a side; 0 without a grid
        double farthest = -1.0; ///< coordinate up to which cells are told, negative without a grid
        double margin = 0.0;    ///< distance to a border that rounding may use up

        std::int32_t get_place(std::int32_t x, std::int32_t y) const { return (x + side - 1) / 2 * side + (y + side - 1) / 2; }
        /// Distance of a value to the nearer border of its cell, at most 1. The outermost cells have no outer border.
        double get_reach(double value, std::int32_t coordinate) const
        {
            const double offset = value - static_cast<double>(coordinate);
            const double lower = coordinate == 1 - side ? 1.0 : 1.0 + offset;
            const double upper = coordinate == side - 1 ? 1.0 : 1.0 - offset;
            return lower < upper ? lower : upper;
        }
        /// Selected, not branched: loops of it become vector code. Any place with clearance 0 stands for what lies too far out.
        spot_t find_spot(double x, double y) const
        {
            const std::int32_t column = common_lib::get_nearest_odd(x, side);
            const std::int32_t row = common_lib::get_nearest_odd(y, side);
            const double reach_x = get_reach(x, column);
            const double reach_y = get_reach(y, row);
            const float clearance = static_cast<float>((reach_x < reach_y ? reach_x : reach_y) - margin);
            const bool inside = (std::abs(x) <= farthest) & (std::abs(y) <= farthest);
            return { get_place(column, row), inside ? clearance : 0.0f };
        }
    };

    static constexpr std::int16_t no_point = -1;
    static constexpr std::size_t block_values = 64; // that are dealt with at once

    /// The vector code, on plain arrays.
    static void _find_spots(const double* x, const double* y, std::size_t count, grid_t grid, spot_t* spots);
    cell_t _get_cell(spot_t spot) const
    {
        const std::int16_t key = cells_[static_cast<std::size_t>(spot.place)];
        return key == no_point ? cell_t() : cell_t{ static_cast<std::uint32_t>(key), spot.clearance };
    }
    /// Width in grid units within which rounding may move a border, for a value `outside` units beyond the set. The points are
    /// single-precision numbers, and single-precision distances lose digits as they grow.
    double _get_margin(double outside) const;
    /// Whether a coordinate keeps away from the borders of its cell. The outermost cells have no outer border.
    bool _is_clear(double value, std::int32_t coordinate, double margin) const;
    /// Compares the points at a place and around it; of equally near ones the lowest key stays.
    template <typename number_t>
    void _compare_around(std::int32_t centre_x, std::int32_t centre_y, nearest_t<number_t>& nearest) const;
    template <typename number_t>
    std::uint32_t _decide(std::complex<float> value) const
    {
        const cell_t cell =
            find_cell(static_cast<double>(value.real()) * inverse_unit_, static_cast<double>(value.imag()) * inverse_unit_);
        return cell.clearance > 0.0f ? cell.key : _decide_closely<number_t>(value);
    }
    /// The decision where the cell alone does not tell.
    template <typename number_t>
    std::uint32_t _decide_closely(std::complex<float> value) const;
    /// Decides block by block. @param take  take(i, number) of value i
    template <typename number_t, typename take_t>
    void _decide_all(const complex_array& values, take_t&& take) const;

    grid_t grid_;
    std::int32_t corner_ = 0; ///< points a side of the missing corners
    double inverse_unit_ = 0.0;
    decision_table_t table_;
    std::vector<std::int16_t> cells_; ///< key of each place, column by column
};
} // namespace vrim::dma_demod_lib
