#include "lib_dma_common/qam_slicer.h"

#include "support/internal/qam_grid.h"

#include <algorithm>
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
    side_ = grid.side;
    corner_ = grid.corner;
    inverse_unit_ = 1.0 / grid.unit;
    // One unit beyond the set and one of clearance: within two units the margin is this one or less. The surplus is for the
    // rounding of values that are decided in place of the one that was asked for.
    constexpr double surplus = 1e-4;
    farthest_ = static_cast<double>(side_) + 1.0;
    cell_margin_ = _get_margin(2.0) + surplus;
    cells_.assign(static_cast<std::size_t>(side_) * static_cast<std::size_t>(side_), no_point);
    for (std::uint32_t key = 0; key < points; ++key)
    {
        const common_lib::qam_place_t place = common_lib::get_qam_place(grid, key);
        cells_[_get_cell(place.x, place.y)] = static_cast<std::int16_t>(key);
    }
}

void qam_slicer_t::clear()
{
    side_ = 0;
    corner_ = 0;
    farthest_ = -1.0;
    table_.clear();
    cells_.clear();
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
    const std::int32_t last = side_ - 1;
    return (offset > -1.0 + margin || coordinate == -last) && (offset < 1.0 - margin || coordinate == last);
}

template <typename number_t>
void qam_slicer_t::_compare_around(std::int32_t centre_x, std::int32_t centre_y, nearest_t<number_t>& nearest) const
{
    const std::int32_t last = side_ - 1;
    for (std::int32_t x = std::max(centre_x - 2, -last); x <= std::min(centre_x + 2, last); x += 2)
    {
        for (std::int32_t y = std::max(centre_y - 2, -last); y <= std::min(centre_y + 2, last); y += 2)
        {
            const std::int16_t key = cells_[_get_cell(x, y)];
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
    const double margin = _get_margin(std::max(0.0, largest - static_cast<double>(side_)));
    // The walk for sets without a grid, for what is no number, and so far out that rounding decides.
    if (side_ == 0 || !(margin < 0.5) || std::isnan(re) || std::isnan(im))
        return static_cast<std::uint32_t>(table_.find_nearest<number_t>(value));

    using common_lib::get_nearest_odd;
    const std::int32_t x = get_nearest_odd(re, side_);
    const std::int32_t y = get_nearest_odd(im, side_);
    const std::int16_t key = cells_[_get_cell(x, y)];
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
