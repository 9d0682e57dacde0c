#pragma once

#include "dma_types.h"

#include <complex>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace vrim::dma_demod_lib
{
/// A decision map laid out for walking: the points in key order, side by side. Decisions are those of the walk over the map
/// itself, the first of equally near points winning.
class decision_table_t
{
public:
    void load(const constellation_map& map)
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

    void clear()
    {
        keys_.clear();
        points_.clear();
    }

    bool empty() const { return points_.empty(); }

    /// Nearest point, distances squared in double; 0 for an empty table.
    std::complex<float> decide_point(std::complex<float> value) const
    {
        return points_.empty() ? std::complex<float>(0.0f, 0.0f) : points_[_find_nearest<double>(value)];
    }

    /// Key of the nearest point, distances squared in single precision; 0 for an empty table.
    std::uint32_t decide_index(std::complex<float> value) const { return keys_.empty() ? 0 : keys_[_find_nearest<float>(value)]; }

private:
    template <typename number_t>
    std::size_t _find_nearest(std::complex<float> value) const
    {
        const number_t value_re = static_cast<number_t>(value.real());
        const number_t value_im = static_cast<number_t>(value.imag());
        std::size_t best = 0;
        number_t best_distance = std::numeric_limits<number_t>::max();
        for (std::size_t i = 0; i < points_.size(); ++i)
        {
            const number_t re = static_cast<number_t>(points_[i].real()) - value_re;
            const number_t im = static_cast<number_t>(points_[i].imag()) - value_im;
            const number_t distance = re * re + im * im;
            // Selected, not branched: which point is nearest is as random as the data.
            const bool nearer = distance < best_distance;
            best_distance = nearer ? distance : best_distance;
            best = nearer ? i : best;
        }
        return best;
    }

    std::vector<std::uint32_t> keys_;
    complex_array points_;
};
} // namespace vrim::dma_demod_lib
