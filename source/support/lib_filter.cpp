#include "support/lib_filter.h"

#include "support/internal/complex_ops.h"
#include "support/internal/convolution.h"

#include <cmath>
#include <cstddef>

namespace vrim::common_lib
{
namespace
{
// 512 symbols at 40 samples each are 20,481 taps; this leaves room and keeps a mistyped span from taking all memory.
constexpr std::uint64_t longest_filter = std::uint64_t(1) << 26;
// Distance in symbols from a singular point below which the limit is used.
constexpr double singular_distance = 1e-8;

/// Exactly 0 at whole numbers: a symbol without amplitude then leaves none in its waveform, where the sine of a rounded multiple
/// of pi would leave 1e-17, and a phase with it.
double sinc(double t)
{
    if (t != 0.0 && t == std::round(t))
        return 0.0;
    return std::abs(t) < singular_distance ? 1.0 : std::sin(pi * t) / (pi * t);
}

/// Raised cosine, 1 at its centre, zero at all other whole symbols. @param t  symbols
double raised_cosine(double t, double alpha)
{
    const double x = 2.0 * alpha * t;
    if (std::abs(std::abs(x) - 1.0) < singular_distance)
        return (pi / 4.0) * sinc(1.0 / (2.0 * alpha));
    return sinc(t) * std::cos(pi * alpha * t) / (1.0 - x * x);
}

/// Root raised cosine of unit energy per symbol. @param t  symbols
double root_raised_cosine(double t, double alpha)
{
    if (std::abs(t) < singular_distance)
        return 1.0 - alpha + 4.0 * alpha / pi;
    const double x = 4.0 * alpha * t;
    if (std::abs(std::abs(x) - 1.0) < singular_distance)
    {
        const double angle = pi / (4.0 * alpha);
        return (alpha / std::sqrt(2.0)) * ((1.0 + 2.0 / pi) * std::sin(angle) + (1.0 - 2.0 / pi) * std::cos(angle));
    }
    return (std::sin(pi * t * (1.0 - alpha)) + x * std::cos(pi * t * (1.0 + alpha))) / (pi * t * (1.0 - x * x));
}

/// Gaussian impulse response with the 3 dB bandwidth bt over the symbol rate, not scaled. @param t  symbols
double gaussian(double t, double bt)
{
    const double x = pi * bt * t;
    return std::exp(-2.0 * x * x / std::numbers::ln2);
}

void scale_to_unit_sum(double_array& taps)
{
    double sum = 0.0;
    for (const double tap : taps)
        sum += tap;
    if (sum == 0.0)
        return;
    for (double& tap : taps)
        tap /= sum;
}
} // namespace

void lib_filter_t::set_filter_length(std::uint32_t symbols)
{
    filter_length_ = symbols;
}

void lib_filter_t::set_filter_alpha(double alpha)
{
    filter_alpha_ = alpha;
}

void lib_filter_t::set_oversampling_ratio(std::uint32_t sps)
{
    oversampling_ratio_ = sps;
}

void lib_filter_t::set_filter_type(lib_filter_type_t type)
{
    filter_type_ = type;
}

bool lib_filter_t::generate_filter_data(complex_array& taps) const
{
    taps.clear();
    const std::uint64_t span = std::uint64_t(filter_length_) * oversampling_ratio_;
    if (oversampling_ratio_ == 0 || span >= longest_filter || !std::isfinite(filter_alpha_))
        return false;

    const double sps = static_cast<double>(oversampling_ratio_);
    const double centre = static_cast<double>(span) / 2.0;
    double_array values(filter_type_ == filter_half_sine ? oversampling_ratio_ : span + 1);
    const auto fill = [&](auto&& shape)
    {
        for (std::size_t i = 0; i < values.size(); ++i)
            values[i] = shape((static_cast<double>(i) - centre) / sps);
    };

    switch (filter_type_)
    {
    case filter_identity:
        values[span / 2] = 1.0;
        break;
    case filter_raised_cosine:
        fill([&](double t) { return raised_cosine(t, filter_alpha_) / std::sqrt(sps); });
        break;
    case filter_root_raised_cosine:
        fill([&](double t) { return root_raised_cosine(t, filter_alpha_) / std::sqrt(sps); });
        break;
    case filter_gaussian:
        fill([&](double t) { return gaussian(t, filter_alpha_); });
        scale_to_unit_sum(values);
        break;
    case filter_half_sine:
        for (std::size_t i = 0; i < values.size(); ++i)
            values[i] = std::sin(pi * static_cast<double>(i) / sps);
        scale_to_unit_sum(values);
        break;
    default:
        return false;
    }

    taps.reserve(values.size());
    for (const double value : values)
        taps.emplace_back(static_cast<float>(value), 0.0f);
    return true;
}

void lib_filter_t::deal_filter(const complex_array& taps, complex_array& data, lib_filter_delay_type_t delay_type)
{
    if (taps.empty() || data.empty())
        return;
    const std::size_t first = delay_type == filter_delay_compensated ? (taps.size() - 1) / 2 : 0;
    const std::size_t count = delay_type == filter_delay_full ? data.size() + taps.size() - 1 : data.size();
    convolve(taps, data, first, count, data);
}
} // namespace vrim::common_lib
