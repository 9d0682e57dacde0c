#pragma once

#include "dma_types.h"
#include "lib_dma_common/decision_table.h"
#include "support/internal/qam_grid.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <limits>
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
    void load(std::uint32_t points, const constellation_map& map)
    {
        clear();
        table_.load(map);
        if (!common_lib::make_qam_grid(points, grid_) || map.size() != points)
        {
            grid_ = {};
            return;
        }
        inverse_unit_ = 1.0 / grid_.unit;
        cells_.assign(static_cast<std::size_t>(grid_.side) * static_cast<std::size_t>(grid_.side), no_point);
        for (std::uint32_t key = 0; key < points; ++key)
            cells_[_get_cell(common_lib::get_qam_place(grid_, key))] = static_cast<std::int16_t>(key);
    }

    void clear()
    {
        grid_ = {};
        table_.clear();
        cells_.clear();
    }

    bool empty() const { return table_.empty(); }

    /// Key of the nearest point, which is its number in key order too; distances squared in double.
    /// @pre not empty
    std::uint32_t decide_number(std::complex<float> value) const { return _decide<double>(value); }
    /// The nearest point, distances squared in double; 0 for an empty set.
    std::complex<float> decide_point(std::complex<float> value) const
    {
        return empty() ? std::complex<float>(0.0f, 0.0f) : table_.get_point(decide_number(value));
    }
    /// Key of the nearest point, distances squared in single precision; 0 for an empty set.
    std::uint32_t decide_index(std::complex<float> value) const { return empty() ? 0 : _decide<float>(value); }

private:
    static constexpr std::int16_t no_point = -1;

    std::size_t _get_cell(common_lib::qam_place_t place) const
    {
        const std::int32_t column = (place.x + grid_.side - 1) / 2;
        const std::int32_t row = (place.y + grid_.side - 1) / 2;
        return static_cast<std::size_t>(column) * static_cast<std::size_t>(grid_.side) + static_cast<std::size_t>(row);
    }

    /// Width in grid units within which rounding may move a border, for a value `outside` units beyond the set. The points are
    /// single-precision numbers, and single-precision distances lose digits as they grow.
    double _get_margin(double outside) const
    {
        constexpr double inside_margin = 1e-4;
        constexpr double growth = 2e-7;
        return inside_margin + growth * outside * (outside + 4.0 * inverse_unit_);
    }

    template <typename number_t>
    std::uint32_t _decide(std::complex<float> value) const
    {
        if (grid_.points == 0)
            return static_cast<std::uint32_t>(table_.find_nearest<number_t>(value));
        const double re = static_cast<double>(value.real()) * inverse_unit_;
        const double im = static_cast<double>(value.imag()) * inverse_unit_;
        const double largest = std::max(std::abs(re), std::abs(im));
        const double margin = _get_margin(std::max(0.0, largest - static_cast<double>(grid_.side)));
        if (!(margin < 0.5) || std::isnan(re) || std::isnan(im))
            return static_cast<std::uint32_t>(table_.find_nearest<number_t>(value));

        const common_lib::qam_place_t place = { common_lib::get_nearest_odd(re, grid_.side),
                                                common_lib::get_nearest_odd(im, grid_.side) };
        const std::int16_t key = cells_[_get_cell(place)];
        if (key != no_point && _is_clear(re, place.x, margin) && _is_clear(im, place.y, margin))
            return static_cast<std::uint32_t>(key);

        nearest_t<number_t> nearest = { value };
        if (key != no_point)
        {
            _compare_around(place, nearest);
        }
        else
        {
            // In a missing corner the nearest point is in one of the two bars that make the cross.
            const std::int32_t arm = 4 * grid_.corner;
            _compare_around({ common_lib::get_nearest_odd(re, arm), place.y }, nearest);
            _compare_around({ place.x, common_lib::get_nearest_odd(im, arm) }, nearest);
        }
        return nearest.key;
    }

    /// Whether a coordinate keeps away from the borders of its cell. The outermost cells have no outer border.
    bool _is_clear(double value, std::int32_t coordinate, double margin) const
    {
        const double offset = value - static_cast<double>(coordinate);
        const std::int32_t last = grid_.side - 1;
        return (offset > -1.0 + margin || coordinate == -last) && (offset < 1.0 - margin || coordinate == last);
    }

    template <typename number_t>
    struct nearest_t
    {
        std::complex<float> value;
        number_t distance = std::numeric_limits<number_t>::max();
        std::uint32_t key = 0;
    };

    /// Compares the points at a place and around it; of equally near ones the lowest key stays.
    template <typename number_t>
    void _compare_around(common_lib::qam_place_t centre, nearest_t<number_t>& nearest) const
    {
        const std::int32_t last = grid_.side - 1;
        for (std::int32_t x = std::max(centre.x - 2, -last); x <= std::min(centre.x + 2, last); x += 2)
        {
            for (std::int32_t y = std::max(centre.y - 2, -last); y <= std::min(centre.y + 2, last); y += 2)
            {
                const std::int16_t key = cells_[_get_cell({ x, y })];
                if (key == no_point)
                    continue;
                const std::uint32_t number = static_cast<std::uint32_t>(key);
                const number_t distance = decision_table_t::squared_distance<number_t>(table_.get_point(number), nearest.value);
                if (distance < nearest.distance || (distance == nearest.distance && number < nearest.key))
                {
                    nearest.distance = distance;
                    nearest.key = number;
                }
            }
        }
    }

    common_lib::qam_grid_t grid_;
    double inverse_unit_ = 0.0;
    decision_table_t table_;
    std::vector<std::int16_t> cells_; ///< key of each place, column by column
};
} // namespace vrim::dma_demod_lib
