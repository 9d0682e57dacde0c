#pragma once

#include "dma_types.h"
#include "support/internal/bessel.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace vrim::common_lib
{
/// Place of sample `i` of a window from -1 to 1. @param last  index of the window's last sample
inline double window_position(std::uint64_t i, std::uint64_t last)
{
    const double span = static_cast<double>(last);
    return last > 0 ? (2.0 * static_cast<double>(i) - span) / span : 0.0;
}

/// Gaussian window at a place from -1 to 1. @param alpha  reciprocal of the standard deviation, in half lengths
inline double gauss_value(double position, double alpha)
{
    const double x = alpha * position;
    return std::exp(-0.5 * x * x);
}

/// Kaiser window over the places from -1 to 1.
class kaiser_shape_t
{
public:
    /// @param beta  shaping factor; its sign does not matter
    explicit kaiser_shape_t(double beta)
        : beta_(std::abs(beta)), in_range_(beta_ <= largest_plain_beta),
          peak_(in_range_ ? bessel_i0_of(beta_) : bessel_i0_scaled(beta_))
    {
    }

    double operator()(double position) const
    {
        const double root = std::sqrt(std::max(0.0, 1.0 - position * position));
        if (in_range_)
            return bessel_i0_of(beta_ * root) / peak_;
        return std::exp(beta_ * (root - 1.0)) * (bessel_i0_scaled(beta_ * root) / peak_);
    }

private:
    // Above this the peak itself does not fit into a double.
    static constexpr double largest_plain_beta = 700.0;

    double beta_;
    bool in_range_;
    double peak_;
};

/// Fills `out` with a window of real values that is symmetric to the bit.
/// @param length  count of samples; one less than the symmetric window has leaves out its last one
/// @param last    index of the symmetric window's last sample
/// @param value   value(i) of its first half, i from 0 to last / 2
template <typename value_t>
void fill_mirrored(complex_array& out, std::uint32_t length, std::uint64_t last, value_t&& value)
{
    out.assign(length, { 0.0f, 0.0f });
    for (std::uint64_t i = 0; length != 0 && i <= last / 2; ++i)
    {
        const float narrowed = static_cast<float>(value(i));
        out[i] = { narrowed, 0.0f };
        if (last - i < length)
            out[last - i] = { narrowed, 0.0f };
    }
}

/// @param periodic  the window of one more sample without its last one
/// @param shape     window over the places from -1 to 1
template <typename shape_t>
void fill_window(complex_array& out, std::uint32_t length, bool periodic, shape_t&& shape)
{
    const std::uint64_t last = static_cast<std::uint64_t>(length) + (periodic ? 1 : 0) - 1;
    fill_mirrored(out, length, last, [&shape, last](std::uint64_t i) { return shape(window_position(i, last)); });
}
} // namespace vrim::common_lib
