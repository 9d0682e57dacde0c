#include "support/lib_window_function.h"

#include "support/internal/bessel.h"
#include "support/internal/window_shape.h"

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
    out.assign(length, { 0.0f, 0.0f });
    const std::uint64_t last = static_cast<std::uint64_t>(length) + (periodic ? 1 : 0) - 1;
    // Both halves mirror each other; a periodic window lacks the last sample of the mirror.
    for (std::uint64_t i = 0; length != 0 && i <= last / 2; ++i)
    {
        const float value = static_cast<float>(shape(window_position(i, last)));
        out[i] = { value, 0.0f };
        if (last - i < length)
            out[last - i] = { value, 0.0f };
    }
}
} // namespace

void lib_window_function_t::generate_gauss_window(complex_array& out, std::uint32_t length, bool periodic, double alpha)
{
    fill_window(out, length, periodic, [alpha](double position) { return gauss_value(position, alpha); });
}

void lib_window_function_t::generate_kaiser_window(complex_array& out, std::uint32_t length, bool periodic, double beta)
{
    const double peak = bessel_i0_of(beta);
    fill_window(out, length, periodic,
                [beta, peak](double position)
                { return bessel_i0_of(beta * std::sqrt(std::max(0.0, 1.0 - position * position))) / peak; });
}
} // namespace vrim::common_lib
