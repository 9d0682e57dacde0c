#include "lib_dma_common/decision_table.h"

#include <cstddef>
#include <limits>

namespace vrim::dma_demod_lib
{
namespace
{
/// Index of the nearest point in array order, the first of equals; distances squared in `number_t`.
template <typename number_t>
std::size_t find_nearest(const complex_array& points, std::complex<float> value)
{
    std::size_t best = 0;
    number_t best_distance = std::numeric_limits<number_t>::max();
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        const number_t re = static_cast<number_t>(points[i].real()) - static_cast<number_t>(value.real());
        const number_t im = static_cast<number_t>(points[i].imag()) - static_cast<number_t>(value.imag());
        const number_t distance = re * re + im * im;
        if (distance < best_distance)
        {
            best_distance = distance;
            best = i;
        }
    }
    return best;
}
} // namespace

void decision_table_t::load(const constellation_map& map)
{
    clear();
    keys_.reserve(map.size());
    points_.reserve(map.size());
    for (const auto& [key, point] : map)
    {
        keys_.push_back(key);
        points_.push_back(point);
    }
}

void decision_table_t::clear()
{
    keys_.clear();
    points_.clear();
}

std::complex<float> decision_table_t::decide_point(std::complex<float> value) const
{
    return points_.empty() ? std::complex<float>(0.0f, 0.0f) : points_[find_nearest<double>(points_, value)];
}

std::uint32_t decision_table_t::decide_index(std::complex<float> value) const
{
    return keys_.empty() ? 0 : keys_[find_nearest<float>(points_, value)];
}
} // namespace vrim::dma_demod_lib
