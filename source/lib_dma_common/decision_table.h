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
        return points_.empty() ? std::complex<float>(0.0f, 0.0f) : points_[find_nearest<double>(value)];
    }

    /// Key of the nearest point, distances squared in single precision; 0 for an empty table.
    std::uint32_t decide_index(std::complex<float> value) const { return keys_.empty() ? 0 : keys_[find_nearest<float>(value)]; }

    /// Point of a number in key order.
    std::complex<float> get_point(std::size_t number) const { return points_[number]; }

    /// The measure of all decisions. @tparam number_t  precision of the differences and of the square
    template <typename number_t>
    static number_t squared_distance(std::complex<float> point, std::complex<float> value)
    {
        const number_t re = static_cast<number_t>(point.real()) - static_cast<number_t>(value.real());
        const number_t im = static_cast<number_t>(point.imag()) - static_cast<number_t>(value.imag());
        return re * re + im * im;
    }

    /// Number, in key order, of the nearest point; 0 where none is at a finite distance.
    template <typename number_t>
    std::size_t find_nearest(std::complex<float> value) const
    {
        std::size_t best = 0;
        number_t best_distance = std::numeric_limits<number_t>::max();
        for (std::size_t i = 0; i < points_.size(); ++i)
        {
            const number_t distance = squared_distance<number_t>(points_[i], value);
            // Selected, not branched: which point is nearest is as random as the data.
            const bool nearer = distance < best_distance;
            best_distance = nearer ? distance : best_distance;
            best = nearer ? i : best;
        }
        return best;
    }

private:
    std::vector<std::uint32_t> keys_;
    complex_array points_;
};
} // namespace vrim::dma_demod_lib
