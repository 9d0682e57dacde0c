#pragma once

#include <utility>

namespace vrim::dma_demod_lib
{
/// Sums of a weighted least-squares line through points that come one by one, in double.
struct line_sums_t
{
    double w = 0.0, wx = 0.0, wxx = 0.0, wy = 0.0, wxy = 0.0;

    /// @param weighted_y  weight * y
    void add(double weight, double x, double weighted_y)
    {
        w += weight;
        wx += weight * x;
        wxx += weight * x * x;
        wy += weighted_y;
        wxy += weighted_y * x;
    }

    /// y = first + second * x; their mean where the points do not settle a slope
    std::pair<double, double> solve() const
    {
        const double determinant = w * wxx - wx * wx;
        if (!(determinant > 0.0))
            return { w > 0.0 ? wy / w : 0.0, 0.0 };
        return { (wy * wxx - wxy * wx) / determinant, (w * wxy - wx * wy) / determinant };
    }
};
} // namespace vrim::dma_demod_lib
