#include "support/lib_window_function.h"

#include "support/internal/bessel.h"

#include <algorithm>
#include <cmath>

namespace vrim::common_lib
{
namespace
{
/// @param shape  window over the position -1 to 1
template <typename shape_t>
void fill_window(complex_array& out, std::uint32_t length, bool periodic, shape_t&& shape)
{
    out.clear();
    out.reserve(length);
    const double span = static_cast<double>(length) + (periodic ? 1.0 : 0.0) - 1.0;
    for (std::uint32_t i = 0; i < length; ++i)
    {
        const double position = span > 0.0 ? (2.0 * static_cast<double>(i) - span) / span : 0.0;
        out.emplace_back(static_cast<float>(shape(position)), 0.0f);
    }
}
} // namespace

void lib_window_function_t::generate_gauss_window(complex_array& out, std::uint32_t length, bool periodic, double alpha)
{
    fill_window(out, length, periodic,
                [alpha](double position)
                {
                    const double x = alpha * position;
                    return std::exp(-0.5 * x * x);
                });
}

void lib_window_function_t::generate_kaiser_window(complex_array& out, std::uint32_t length, bool periodic, double beta)
{
    const double peak = bessel_i0_of(beta);
    fill_window(out, length, periodic,
                [beta, peak](double position)
                { return bessel_i0_of(beta * std::sqrt(std::max(0.0, 1.0 - position * position))) / peak; });
}
} // namespace vrim::common_lib
