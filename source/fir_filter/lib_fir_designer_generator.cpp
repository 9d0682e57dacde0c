#include "fir_filter/lib_fir_designer.h"

#include "support/internal/bessel.h"
#include "support/internal/transform.h"
#include "support/internal/trigonometry.h"
#include "support/internal/vector_clones.h"
#include "support/internal/window_shape.h"
#include "support/log_macro.h"
#include "support/trace_output.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <numbers>
#include <span>

namespace vrim::fir_filter_lib
{
namespace
{
using common_lib::fill_mirrored;
using common_lib::fill_window;

constexpr double pi = std::numbers::pi;
constexpr std::uint32_t longest_window = 20'000'000; // taps of the longest filter
constexpr std::uint32_t largest_n_bar = 400;

/// @return whether there is a window of this length; `window` is empty if not
bool start_window(complex_array& window, std::uint32_t length)
{
    window.clear();
    if (length <= longest_window)
        return length > 0;
    DMA_LOG_ERROR("lib_fir_designer_t: a window is longer than 20000000 samples!\n");
    return false;
}

/// @param shape  window over the places from -1 to 1
template <typename shape_t>
void generate_shape(complex_array& window, std::uint32_t length, shape_t&& shape)
{
    if (start_window(window, length))
        fill_window(window, length, false, shape);
}

/// Sum of coefficients[k] cos(k pi position). Around the middle of a window all terms of the classic cosine windows add up.
double cal_cosine_sum(std::span<const double> coefficients, double position)
{
    const double twice = 2.0 * common_lib::cosine_of(pi * position);
    double one = 0.0;
    double two = 0.0;
    for (std::size_t k = coefficients.size() - 1; k > 0; --k)
    {
        const double next = coefficients[k] + twice * one - two;
        two = one;
        one = next;
    }
    return coefficients[0] + 0.5 * twice * one - two;
}

void generate_cosine_window(complex_array& window, std::uint32_t length, std::span<const double> coefficients)
{
    generate_shape(window, length, [coefficients](double position) { return cal_cosine_sum(coefficients, position); });
}

/// acosh(exp(u)) - u for u from 0 on, where exp(u) itself may not fit into a double.
double acosh_excess(double u)
{
    return std::log1p(std::sqrt(-std::expm1(-2.0 * u)));
}

/// acosh of an amplitude ratio. @param decibels  negative ones and not-a-number count as 0
double acosh_of_decibels(double decibels)
{
    constexpr double largest_decibels = 1e70; // its square still fits into a double
    const double log_ratio = std::min(std::max(0.0, decibels), largest_decibels) * (std::numbers::ln10 / 20.0);
    return log_ratio + acosh_excess(log_ratio);
}

/// Factors of cos(2 pi m (n - c) / L) in a Taylor window, m from 1 at index 1 on.
double_array cal_taylor_terms(std::uint32_t n_bar, double sidelobe)
{
    const double a = acosh_of_decibels(sidelobe) / pi;
    const double edge = static_cast<double>(n_bar) - 0.5;
    const double sigma = static_cast<double>(n_bar) * static_cast<double>(n_bar) / (a * a + edge * edge);
    double_array terms(std::max(n_bar, 1u), 0.0);
    for (std::uint32_t m = 1; m < n_bar; ++m)
    {
        const double square = static_cast<double>(m) * static_cast<double>(m);
        // Numerator and denominator each grow to 4^m and beyond; their factors are divided pair by pair.
        double product = m % 2 == 1 ? 0.5 : -0.5;
        for (std::uint32_t i = 1; i < n_bar; ++i)
        {
            const double index = static_cast<double>(i);
            const double place = index - 0.5;
            product *= 1.0 - square / (sigma * (a * a + place * place));
            if (i != m)
                product /= 1.0 - square / (index * index);
        }
        terms[m] = 2.0 * product;
    }
    return terms;
}

/// sums[i] = sum over m from 1 on of terms[m] cos(m angle i), by Clenshaw's recurrence over all angles of a block at once.
/// @param cosines  of the angles
DMA_VECTOR_CLONES
void cal_cosine_series(std::span<const double> terms, const double* cosines, double* sums, std::size_t count)
{
    constexpr std::size_t block = 64;
    for (std::size_t start = 0; start < count; start += block)
    {
        const std::size_t size = std::min(block, count - start);
        double ring[2][block] = {};
        for (std::size_t m = terms.size() - 1; m > 0; --m)
        {
            const double* const one = ring[(m + 1) % 2];
            double* const two = ring[m % 2]; // becomes the next value
            for (std::size_t i = 0; i < size; ++i)
                two[i] = terms[m] + 2.0 * cosines[start + i] * one[i] - two[i];
        }
        for (std::size_t i = 0; i < size; ++i)
            sums[start + i] = cosines[start + i] * ring[1][i] - ring[0][i];
    }
}

/// Spectrum of the Dolph-Chebyshev window: the Chebyshev polynomial of degree M at cosh(Y / M) cos(phi), over exp(Y). The
/// polynomial runs up to cosh(Y), the ratio of main lobe to sidelobes, for which a double has no room above 6165 dB.
/// Source: C. L. Dolph, "A current distribution for broadside arrays which optimizes the relationship between beam width
/// and side-lobe level", Proc. IRE 34(6), 1946.
class dolph_spectrum_t
{
public:
    dolph_spectrum_t(std::uint32_t degree, double attenuation)
        : degree_(static_cast<double>(degree)), ratio_(acosh_of_decibels(attenuation)), step_(ratio_ / degree_)
    {
    }

    /// @param phi  from 0 to below pi / 2
    double operator()(double phi) const { return step_ <= 1.0 ? cal_near(phi) : cal_far(phi); }

private:
    /// x - 1 is formed without x: at a million taps x differs from 1 in its last digits only.
    double cal_near(double phi) const
    {
        const double grow = std::sinh(0.5 * step_);
        const double turn = std::sin(0.5 * phi);
        const double above = grow * grow * std::cos(phi) - turn * turn; // half of x - 1
        if (above < 0.0)
            return cal_ripple(2.0 * std::asin(std::sqrt(-above)));
        const double exponent = 2.0 * degree_ * std::asinh(std::sqrt(above));
        return cal_lobe(exponent - ratio_, exponent);
    }

    /// The logarithm of x is formed without x, which may not fit into a double.
    double cal_far(double phi) const
    {
        const double peak = step_ + std::log1p(std::exp(-2.0 * step_)) - std::numbers::ln2; // log cosh
        const double fall = std::log(std::cos(phi));
        const double log_x = peak + fall;
        if (log_x < 0.0)
            return cal_ripple(std::acos(std::exp(log_x)));
        const double below_peak = fall + (acosh_excess(log_x) - acosh_excess(peak));
        return cal_lobe(degree_ * below_peak, degree_ * (log_x + acosh_excess(log_x)));
    }

    double cal_ripple(double angle) const { return std::cos(degree_ * angle) * std::exp(-ratio_); }
    /// cosh(exponent) over exp(Y). @param below_peak  exponent - Y
    double cal_lobe(double below_peak, double exponent) const
    {
        return 0.5 * (std::exp(below_peak) + std::exp(-exponent - ratio_));
    }

    double degree_;
    double ratio_;
    double step_;
};

/// Samples from the middle of the window outwards, in the real parts: index 0 is the middle one of an odd length and the
/// right of the middle two of an even length.
complex_double_array cal_chebyshev_samples(std::uint32_t length, double attenuation)
{
    const dolph_spectrum_t spectrum(length - 1, attenuation);
    complex_double_array samples(length, { 0.0, 0.0 });
    // An even length has no sample in the middle: half a sample of delay puts the middle two on whole indices. Its
    // spectrum is 0 at the Nyquist frequency, and conjugate halves make real samples of either.
    const bool even = length % 2 == 0;
    for (std::uint32_t k = 0; k <= (length - 1) / 2; ++k)
    {
        const double phi = pi * static_cast<double>(k) / static_cast<double>(length);
        const double magnitude = spectrum(phi);
        samples[k] = even ? std::polar(1.0, phi) * magnitude : magnitude;
        if (k > 0)
            samples[length - k] = std::conj(samples[k]);
    }
    common_lib::transform_rows(samples.data(), 1, length, true, 1.0);
    return samples;
}
} // namespace

void lib_fir_designer_t::_generate_rectangle_window(complex_array& window, std::uint32_t length)
{
    generate_shape(window, length, [](double) { return 1.0; });
}

void lib_fir_designer_t::_generate_hamming_window(complex_array& window, std::uint32_t length)
{
    static constexpr double coefficients[] = { 0.54, 0.46 };
    generate_cosine_window(window, length, coefficients);
}

void lib_fir_designer_t::_generate_hann_window(complex_array& window, std::uint32_t length)
{
    static constexpr double coefficients[] = { 0.5, 0.5 };
    generate_cosine_window(window, length, coefficients);
}

void lib_fir_designer_t::_generate_blackman_window(complex_array& window, std::uint32_t length)
{
    static constexpr double coefficients[] = { 0.42, 0.5, 0.08 };
    generate_cosine_window(window, length, coefficients);
}

void lib_fir_designer_t::_generate_blackman_harris_window(complex_array& window, std::uint32_t length)
{
    static constexpr double coefficients[] = { 0.35875, 0.48829, 0.14128, 0.01168 };
    generate_cosine_window(window, length, coefficients);
}

void lib_fir_designer_t::_generate_nuttall_window(complex_array& window, std::uint32_t length)
{
    static constexpr double coefficients[] = { 0.3635819, 0.4891775, 0.1365995, 0.0106411 };
    generate_cosine_window(window, length, coefficients);
}

void lib_fir_designer_t::_generate_flat_top_window(complex_array& window, std::uint32_t length)
{
    static constexpr double coefficients[] = { 0.21557895, 0.41663158, 0.277263158, 0.083578947, 0.006947368 };
    generate_cosine_window(window, length, coefficients);
}

void lib_fir_designer_t::_generate_kaiser_window(complex_array& window, std::uint32_t length, double beta)
{
    generate_shape(window, length, common_lib::kaiser_shape_t(beta));
}

void lib_fir_designer_t::_generate_gaussian_window(complex_array& window, std::uint32_t length, double width_factor)
{
    if (width_factor < 0.0)
    {
        common_log::print_trace_line("lib_window_function_t::generate_gauss_window Report: Width_factor should be positive!");
        generate_shape(window, length, [](double) { return 0.0; });
        return;
    }
    // An infinite factor leaves the middle sample alone.
    const double alpha = std::min(width_factor, std::numeric_limits<double>::max());
    generate_shape(window, length, [alpha](double position) { return common_lib::gauss_value(position, alpha); });
}

void lib_fir_designer_t::_generate_tukey_window(complex_array& window, std::uint32_t length, double fraction)
{
    if (fraction <= 0.0)
        return _generate_rectangle_window(window, length);
    if (fraction >= 1.0)
        return _generate_hann_window(window, length);
    generate_shape(window, length,
                   [fraction](double position)
                   {
                       const double into_taper = (std::abs(position) - 1.0) + fraction;
                       return into_taper > 0.0 ? 0.5 * (1.0 + common_lib::cosine_of(pi * (into_taper / fraction))) : 1.0;
                   });
}

void lib_fir_designer_t::_generate_bartlett_window(complex_array& window, std::uint32_t length)
{
    generate_shape(window, length, [](double position) { return 1.0 - std::abs(position); });
}

void lib_fir_designer_t::_generate_triangle_window(complex_array& window, std::uint32_t length)
{
    // A Bartlett window whose zeros lie beyond the ends: a whole sample for odd lengths, half a sample for even ones.
    const double last = static_cast<double>(length) - 1.0;
    const double inside = last / (length % 2 == 1 ? last + 2.0 : last + 1.0);
    generate_shape(window, length, [inside](double position) { return 1.0 - std::abs(position) * inside; });
}

void lib_fir_designer_t::_generate_bartlett_hanning_window(complex_array& window, std::uint32_t length)
{
    generate_shape(window, length,
                   [](double position) { return 0.62 - 0.24 * std::abs(position) + 0.38 * common_lib::cosine_of(pi * position); });
}

void lib_fir_designer_t::_generate_bohman_window(complex_array& window, std::uint32_t length)
{
    generate_shape(window, length,
                   [](double position)
                   {
                       const double u = std::abs(position);
                       const common_lib::sine_cosine_t turn = common_lib::sine_cosine(pi * u);
                       return (1.0 - u) * turn.cosine + turn.sine / pi;
                   });
}

void lib_fir_designer_t::_generate_parzen_window(complex_array& window, std::uint32_t length)
{
    // Distances are measured in half lengths, the pieces meet at half the way to the last sample: an even length has no
    // sample that reaches 1.
    const double inside = (static_cast<double>(length) - 1.0) / static_cast<double>(length);
    generate_shape(window, length,
                   [inside](double position)
                   {
                       const double u = std::abs(position);
                       const double q = u * inside;
                       const double rest = 1.0 - q;
                       return u <= 0.5 ? 1.0 - 6.0 * q * q * rest : 2.0 * rest * rest * rest;
                   });
}

void lib_fir_designer_t::_generate_chebyshev_window(complex_array& window, std::uint32_t length, double attenuation)
{
    if (length <= 1)
        return _generate_rectangle_window(window, length);
    if (!start_window(window, length))
        return;
    const complex_double_array samples = cal_chebyshev_samples(length, attenuation);
    const std::uint32_t outermost = (length - 1) / 2;
    double largest = 0.0;
    for (std::uint32_t i = 0; i <= outermost; ++i)
        largest = std::max(largest, std::abs(samples[i].real()));
    fill_mirrored(window, length, length - 1,
                  [&samples, outermost, largest](std::uint64_t i) { return samples[outermost - i].real() / largest; });
}

void lib_fir_designer_t::_generate_taylor_window(complex_array& window, std::uint32_t length, std::uint32_t n_bar,
                                                 double sidelobe)
{
    if (length <= 1)
        return _generate_rectangle_window(window, length);
    if (!start_window(window, length))
        return;
    const double_array terms = cal_taylor_terms(std::min(n_bar, largest_n_bar), sidelobe);
    const std::uint32_t half = (length - 1) / 2 + 1;
    double_array cosines(half);
    for (std::uint32_t i = 0; i < half; ++i)
    {
        const double from_middle = static_cast<double>(length) - 1.0 - 2.0 * static_cast<double>(i); // half samples
        cosines[i] = common_lib::cosine_of(pi * from_middle / static_cast<double>(length));
    }
    double_array sums(half);
    cal_cosine_series(terms, cosines.data(), sums.data(), half);
    fill_mirrored(window, length, length - 1, [&sums](std::uint64_t i) { return 1.0 + sums[i]; });
}

double lib_fir_designer_t::_bessel_i0(double x)
{
    return common_lib::bessel_i0_of(x);
}

double lib_fir_designer_t::_calc_polynomial(const double_array& coefficients, double x)
{
    if (coefficients.empty())
    {
        common_log::print_trace_line("lib_window_function_t::_calc_polynomial Report: Empty coefficents array!");
        return 0.0;
    }
    double value = 0.0;
    for (std::size_t k = coefficients.size(); k > 0; --k)
        value = value * x + coefficients[k - 1];
    return value;
}
} // namespace vrim::fir_filter_lib
