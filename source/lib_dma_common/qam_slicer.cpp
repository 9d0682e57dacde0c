#include "lib_dma_common/qam_slicer.h"

#include "support/internal/qam_grid.h"
#include "support/internal/vector_clones.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace vrim::dma_demod_lib
{
template <typename number_t>
struct qam_slicer_t::nearest_t
{
    std::complex<float> value;
    number_t distance = std::numeric_limits<number_t>::max();
    std::uint32_t key = 0;
};

void qam_slicer_t::load(std::uint32_t points, const constellation_map& map)
{
    clear();
    table_.load(map);
    common_lib::qam_grid_t grid;
    if (!common_lib::make_qam_grid(points, grid) || map.size() != points)
        return;
    grid_.side = grid.side;
    corner_ = grid.corner;
    inverse_unit_ = 1.0 / grid.unit;
    // One unit beyond the set and one of clearance: within two units the margin is this one or less. The surplus is for the
    // rounding of values that are decided in place of the one that was asked for.
    constexpr double surplus = 1e-4;
    grid_.farthest = static_cast<double>(grid.side) + 1.0;
    grid_.margin = _get_margin(2.0) + surplus;
    cells_.assign(static_cast<std::size_t>(grid.side) * static_cast<std::size_t>(grid.side), no_point);
    for (std::uint32_t key = 0; key < points; ++key)
    {
        const common_lib::qam_place_t place = common_lib::get_qam_place(grid, key);
        cells_[static_cast<std::size_t>(grid_.get_place(place.x, place.y))] = static_cast<std::int16_t>(key);
    }
}

void qam_slicer_t::clear()
{
    grid_ = {};
    corner_ = 0;
    table_.clear();
    cells_.clear();
}

DMA_VECTOR_CLONES
void qam_slicer_t::_find_spots(const double* x, const double* y, std::size_t count, grid_t grid, spot_t* spots)
{
    for (std::size_t i = 0; i < count; ++i)
        spots[i] = grid.find_spot(x[i], y[i]);
}

void qam_slicer_t::find_cells(const double* x, const double* y, std::size_t count, cell_t* cells) const
{
    if (grid_.side == 0)
    {
        std::fill_n(cells, count, cell_t());
        return;
    }
    std::array<spot_t, block_values> spots;
    for (std::size_t start = 0; start < count; start += block_values)
    {
        const std::size_t length = std::min(block_values, count - start);
        _find_spots(x + start, y + start, length, grid_, spots.data());
        std::transform(spots.begin(), spots.begin() + length, cells + start, [this](spot_t spot) { return _get_cell(spot); });
    }
}

template <typename number_t, typename take_t>
void qam_slicer_t::_decide_all(const complex_array& values, take_t&& take) const
{
    std::array<double, block_values> x;
    std::array<double, block_values> y;
    std::array<cell_t, block_values> cells;
    for (std::size_t start = 0; start < values.size(); start += block_values)
    {
        const std::size_t length = std::min(block_values, values.size() - start);
        for (std::size_t i = 0; i < length; ++i)
        {
            x[i] = static_cast<double>(values[start + i].real()) * inverse_unit_;
            y[i] = static_cast<double>(values[start + i].imag()) * inverse_unit_;
        }
        find_cells(x.data(), y.data(), length, cells.data());
        for (std::size_t i = 0; i < length; ++i)
            take(start + i, cells[i].clearance > 0.0f ? cells[i].key : _decide_closely<number_t>(values[start + i]));
    }
}

void qam_slicer_t::decide_points(complex_array& values) const
{
    if (empty())
        std::fill(values.begin(), values.end(), std::complex<float>(0.0f, 0.0f));
    else
        _decide_all<double>(values, [&](std::size_t i, std::uint32_t number) { values[i] = table_.get_point(number); });
}

void qam_slicer_t::decide_indices(const complex_array& values, std::vector<std::uint32_t>& indices) const
{
    indices.assign(values.size(), 0);
    if (!empty())
        _decide_all<float>(values, [&](std::size_t i, std::uint32_t number) { indices[i] = number; });
}

double qam_slicer_t::_get_margin(double outside) const
{
    constexpr double inside_margin = 1e-4;
    constexpr double growth = 2e-7;
    return inside_margin + growth * outside * (outside + 4.0 * inverse_unit_);
}

bool qam_slicer_t::_is_clear(double value, std::int32_t coordinate, double margin) const
{
    const double offset = value - static_cast<double>(coordinate);
    const std::int32_t last = grid_.side - 1;
    return (offset > -1.0 + margin || coordinate == -last) && (offset < 1.0 - margin || coordinate == last);
}

template <typename number_t>
void qam_slicer_t::_compare_around(std::int32_t centre_x, std::int32_t centre_y, nearest_t<number_t>& nearest) const
{
    const std::int32_t last = grid_.side - 1;
    for (std::int32_t x = std::max(centre_x - 2, -last); x <= std::min(centre_x + 2, last); x += 2)
    {
        for (std::int32_t y = std::max(centre_y - 2, -last); y <= std::min(centre_y + 2, last); y += 2)
        {
            const std::int16_t key = cells_[static_cast<std::size_t>(grid_.get_place(x, y))];
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

template <typename number_t>
std::uint32_t qam_slicer_t::_decide_closely(std::complex<float> value) const
{
    const double re = static_cast<double>(value.real()) * inverse_unit_;
    const double im = static_cast<double>(value.imag()) * inverse_unit_;
    const double largest = std::max(std::abs(re), std::abs(im));
    const double margin = _get_margin(std::max(0.0, largest - static_cast<double>(grid_.side)));
    // The walk for sets without a grid, for what is no number, and so far out that rounding decides.
    if (grid_.side == 0 || !(margin < 0.5) || std::isnan(re) || std::isnan(im))
        return static_cast<std::uint32_t>(table_.find_nearest<number_t>(value));

    using common_lib::get_nearest_odd;
    const std::int32_t x = get_nearest_odd(re, grid_.side);
    const std::int32_t y = get_nearest_odd(im, grid_.side);
    const std::int16_t key = cells_[static_cast<std::size_t>(grid_.get_place(x, y))];
    if (key != no_point && _is_clear(re, x, margin) && _is_clear(im, y, margin))
        return static_cast<std::uint32_t>(key);

    nearest_t<number_t> nearest = { value };
    if (key != no_point)
    {
        _compare_around(x, y, nearest);
    }
    else
    {
        // In a missing corner the nearest point is in one of the two bars that make the cross.
        const std::int32_t arm = 4 * corner_;
        _compare_around(get_nearest_odd(re, arm), y, nearest);
        _compare_around(x, get_nearest_odd(im, arm), nearest);
    }
    return nearest.key;
}

template std::uint32_t qam_slicer_t::_decide_closely<double>(std::complex<float> value) const;
template std::uint32_t qam_slicer_t::_decide_closely<float>(std::complex<float> value) const;
} // namespace vrim::dma_demod_lib
