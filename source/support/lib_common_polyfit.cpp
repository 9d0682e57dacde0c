#include "support/lib_common_polyfit.h"

#include <cstddef>

namespace vrim::common_lib
{
bool lib_dma_common_polyfit_t::deal_polyfit(float_array x, float_array y, std::uint32_t order, float_array& coefficients)
{
    if (order == 1)
        return deal_line_polyfit(x, y, coefficients);
    if (order == 2)
        return deal_curve_polyfit(x, y, coefficients);
    return false;
}

bool lib_dma_common_polyfit_t::deal_line_polyfit(const float_array& x, const float_array& y, float_array& coefficients)
{
    if (x.size() != y.size())
        return false;
    const double n = static_cast<double>(x.size());
    double sum_x = 0.0;
    double sum_y = 0.0;
    double sum_xy = 0.0;
    double sum_xx = 0.0;
    for (std::size_t i = 0; i < x.size(); ++i)
    {
        sum_x += static_cast<double>(x[i]);
        sum_y += static_cast<double>(y[i]);
        sum_xy += static_cast<double>(x[i] * y[i]);
        sum_xx += static_cast<double>(x[i] * x[i]);
    }
    const double slope = (sum_xy - sum_x * sum_y / n) / (sum_xx - sum_x * sum_x / n);
    // The intercept belongs to the slope as it is stored.
    const float stored_slope = static_cast<float>(slope);
    const double intercept = (sum_y - static_cast<double>(stored_slope) * sum_x) / n;
    coefficients = { stored_slope, static_cast<float>(intercept) };
    return true;
}

bool lib_dma_common_polyfit_t::deal_curve_polyfit(const float_array& x, const float_array& y, float_array& coefficients)
{
    if (x.size() != y.size())
        return false;
    const double n = static_cast<double>(x.size());
    double mean_x = 0.0;
    double mean_y = 0.0;
    for (std::size_t i = 0; i < x.size(); ++i)
    {
        mean_x += static_cast<double>(x[i]);
        mean_y += static_cast<double>(y[i]);
    }
    mean_x /= n;
    mean_y /= n;
    // About the mean the normal equations stay well conditioned for long index ranges.
    double s2 = 0.0;
    double s3 = 0.0;
    double s4 = 0.0;
    double t1 = 0.0;
    double t2 = 0.0;
    for (std::size_t i = 0; i < x.size(); ++i)
    {
        const double u = static_cast<double>(x[i]) - mean_x;
        const double v = static_cast<double>(y[i]) - mean_y;
        s2 += u * u;
        s3 += u * u * u;
        s4 += u * u * u * u;
        t1 += u * v;
        t2 += u * u * v;
    }
    const double spread = s2 * (s4 - s2 * s2 / n) - s3 * s3;
    const double a = (s2 * t2 - s3 * t1) / spread;
    const double b = (t1 * (s4 - s2 * s2 / n) - s3 * t2) / spread;
    const double c = mean_y - a * s2 / n;
    coefficients = { static_cast<float>(a), static_cast<float>(b - 2.0 * a * mean_x),
                     static_cast<float>(c - b * mean_x + a * mean_x * mean_x) };
    return true;
}
} // namespace vrim::common_lib
