#pragma once

#include "dma_types.h"
#include "lib_dma_common/decision_table.h"

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
    /// @param points  of a set that the generator knows
    /// @param map     what the generator made of it, scaled to unit rms; empty for a set without a generator
    void load(std::uint32_t points, const constellation_map& map);
    void clear();
    bool empty() const { return table_.empty(); }

    /// Key of the nearest point, which is its number in key order too; distances squared in double. The set is not empty.
    std::uint32_t decide_number(std::complex<float> value) const;
    /// The nearest point, distances squared in double; 0 for an empty set.
    std::complex<float> decide_point(std::complex<float> value) const;
    /// Key of the nearest point, distances squared in single precision; 0 for an empty set.
    std::uint32_t decide_index(std::complex<float> value) const;

private:
    template <typename number_t>
    struct nearest_t;

    std::size_t _get_cell(std::int32_t x, std::int32_t y) const;
    /// Width in grid units within which rounding may move a border, for a value `outside` units beyond the set. The points are
    /// single-precision numbers, and single-precision distances lose digits as they grow.
    double _get_margin(double outside) const;
    /// Whether a coordinate keeps away from the borders of its cell. The outermost cells have no outer border.
    bool _is_clear(double value, std::int32_t coordinate, double margin) const;
    /// Compares the points at a place and around it; of equally near ones the lowest key stays.
    template <typename number_t>
    void _compare_around(std::int32_t centre_x, std::int32_t centre_y, nearest_t<number_t>& nearest) const;
    template <typename number_t>
    std::uint32_t _decide(std::complex<float> value) const;

    // Coordinates count odd integers from -(side - 1) to side - 1, in units of half the distance of neighbouring points.
    std::int32_t side_ = 0;   ///< points a side of the square around the set; 0 without a grid
    std::int32_t corner_ = 0; ///< points a side of the missing corners
    double inverse_unit_ = 0.0;
    decision_table_t table_;
    std::vector<std::int16_t> cells_; ///< key of each place, column by column
};
} // namespace vrim::dma_demod_lib
