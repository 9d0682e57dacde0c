#include "support/lib_fir_filter_design.h"

#include "support/internal/complex_ops.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <optional>

namespace vrim::common_lib
{
namespace
{
constexpr std::uint32_t largest_order = std::uint32_t(1) << 24;

/// Coefficients a[k] of sum (-1)^k a[k] cos(2 pi k x), x from 0 to 1.
using cosine_sum_t = std::array<double, 4>;

std::optional<cosine_sum_t> get_window_coefficients(std::uint32_t type)
{
    switch (type)
    {
    case 3:
        return cosine_sum_t{ 1.0, 0.0, 0.0, 0.0 };
    case 4:
        return cosine_sum_t{ 0.54, 0.46, 0.0, 0.0 };
    case 5:
        return cosine_sum_t{ 0.5, 0.5, 0.0, 0.0 };
    case 7:
        return cosine_sum_t{ 0.42, 0.5, 0.08, 0.0 };
    case 8:
        return cosine_sum_t{ 0.35875, 0.48829, 0.14128, 0.01168 };
    default:
        return std::nullopt;
    }
}
} // namespace

void lib_fir_filter_design_t::set_filter_order(std::uint32_t order)
{
    filter_order_ = order;
}

void lib_fir_filter_design_t::set_cutoff_freq(float relative)
{
    cutoff_freq_ = relative;
}

void lib_fir_filter_design_t::set_window_type(std::uint32_t type)
{
    window_type_ = type;
}

bool lib_fir_filter_design_t::generate_fir_filter()
{
    taps_.clear();
    const std::optional<cosine_sum_t> window = get_window_coefficients(window_type_);
    if (!window || !std::isfinite(cutoff_freq_) || filter_order_ > largest_order)
        return false;

    const double order = static_cast<double>(filter_order_);
    const double cutoff = static_cast<double>(cutoff_freq_);
    double_array values(static_cast<std::size_t>(filter_order_) + 1);
    double sum = 0.0;
    for (std::size_t i = 0; i < values.size(); ++i)
    {
        const double n = static_cast<double>(i);
        const double t = n - 0.5 * order;
        const double ideal = t == 0.0 ? cutoff : std::sin(pi * cutoff * t) / (pi * t);
        const double x = filter_order_ == 0 ? 0.5 : n / order;
        const cosine_sum_t& a = *window;
        const double weight =
            a[0] - a[1] * std::cos(two_pi * x) + a[2] * std::cos(2.0 * two_pi * x) - a[3] * std::cos(3.0 * two_pi * x);
        values[i] = ideal * weight;
        sum += values[i];
    }
    if (sum == 0.0)
        return false;
    taps_.reserve(values.size());
    for (const double value : values)
        taps_.emplace_back(static_cast<float>(value / sum), 0.0f);
    return true;
}

const complex_array& lib_fir_filter_design_t::get_filter_data() const
{
    return taps_;
}
} // namespace vrim::common_lib
