#include "fir_filter/lib_fir_designer.h"

#include "../message_capture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <numbers>
#include <string>
#include <vector>

using namespace vrim;
using namespace vrim::fir_filter_lib;
using designer = lib_fir_designer_t;

namespace
{
using real = long double;
using real_array = std::vector<real>;

constexpr real pi = std::numbers::pi_v<real>;
constexpr std::uint32_t lengths[] = { 1, 2, 3, 4, 5, 6, 7, 8, 9, 16, 17, 63, 64, 999, 1000 };

// Definitions, sample by sample over the whole window; length 1 is handled by the caller.

real_array over(std::uint32_t length, const std::function<real(real n)>& value)
{
    real_array samples(length);
    for (std::uint32_t n = 0; n < length; ++n)
        samples[n] = value(static_cast<real>(n));
    return samples;
}

real_array cosine_window(std::uint32_t length, const std::vector<real>& a)
{
    return over(length,
                [&](real n)
                {
                    real sum = 0.0L;
                    for (std::size_t k = 0; k < a.size(); ++k)
                        sum += (k % 2 == 0 ? a[k] : -a[k]) *
                               std::cos(2.0L * pi * static_cast<real>(k) * n / static_cast<real>(length - 1));
                    return sum;
                });
}

real i0_series(real x)
{
    real term = 1.0L, sum = 1.0L;
    for (real k = 1.0L; term > 1e-22L * sum; k += 1.0L)
    {
        term *= x * x / (4.0L * k * k);
        sum += term;
    }
    return sum;
}

real_array kaiser(std::uint32_t length, real beta)
{
    const real c = (static_cast<real>(length) - 1.0L) / 2.0L;
    const real peak = i0_series(beta);
    return over(length,
                [&](real n) { return i0_series(beta * std::sqrt(std::max(0.0L, 1.0L - (n - c) * (n - c) / (c * c)))) / peak; });
}

real_array gaussian(std::uint32_t length, real a)
{
    const real c = (static_cast<real>(length) - 1.0L) / 2.0L;
    return over(length, [&](real n) { return std::exp(-0.5L * (a * (n - c) / c) * (a * (n - c) / c)); });
}

real_array tukey(std::uint32_t length, real r)
{
    const real h = r / 2.0L;
    return over(length,
                [&](real n)
                {
                    const real x = n / static_cast<real>(length - 1);
                    if (x < h)
                        return (1.0L + std::cos(pi / h * (x - h))) / 2.0L;
                    return x < 1.0L - h ? 1.0L : (1.0L + std::cos(pi / h * (x - 1.0L + h))) / 2.0L;
                });
}

real_array bartlett(std::uint32_t length)
{
    const real last = static_cast<real>(length - 1);
    return over(length, [&](real n) { return n <= last / 2.0L ? 2.0L * n / last : 2.0L - 2.0L * n / last; });
}

real_array triangle(std::uint32_t length)
{
    const real span = static_cast<real>(length);
    return over(length,
                [&](real n)
                {
                    const real from_end = std::min(n, span - 1.0L - n);
                    return length % 2 == 1 ? 2.0L * (from_end + 1.0L) / (span + 1.0L) : (2.0L * from_end + 1.0L) / span;
                });
}

real_array bartlett_hanning(std::uint32_t length)
{
    return over(length,
                [&](real n)
                {
                    const real x = n / static_cast<real>(length - 1);
                    return 0.62L - 0.48L * std::abs(x - 0.5L) + 0.38L * std::cos(2.0L * pi * (x - 0.5L));
                });
}

real_array bohman(std::uint32_t length)
{
    return over(length,
                [&](real n)
                {
                    const real u = std::abs(2.0L * n / static_cast<real>(length - 1) - 1.0L);
                    return (1.0L - u) * std::cos(pi * u) + std::sin(pi * u) / pi;
                });
}

real_array parzen(std::uint32_t length)
{
    const real span = static_cast<real>(length);
    return over(length,
                [&](real n)
                {
                    const real k = std::abs(n - (span - 1.0L) / 2.0L);
                    const real q = k / (span / 2.0L);
                    return k <= (span - 1.0L) / 4.0L ? 1.0L - 6.0L * q * q + 6.0L * q * q * q
                                                      : 2.0L * (1.0L - q) * (1.0L - q) * (1.0L - q);
                });
}

real_array taylor(std::uint32_t length, std::uint32_t n_bar, real sidelobe)
{
    const real bar = static_cast<real>(n_bar);
    const real a = std::acosh(std::pow(10.0L, sidelobe / 20.0L)) / pi;
    const real sigma = bar * bar / (a * a + (bar - 0.5L) * (bar - 0.5L));
    real_array f(n_bar + 1, 0.0L);
    for (std::uint32_t m = 1; m < n_bar; ++m)
    {
        const real square = static_cast<real>(m) * static_cast<real>(m);
        real above = 1.0L, below = 1.0L;
        for (std::uint32_t i = 1; i < n_bar; ++i)
        {
            const real index = static_cast<real>(i);
            above *= 1.0L - square / (sigma * (a * a + (index - 0.5L) * (index - 0.5L)));
            if (i != m)
                below *= 1.0L - square / (index * index);
        }
        f[m] = (m % 2 == 1 ? 1.0L : -1.0L) * above / (2.0L * below);
    }
    const real c = (static_cast<real>(length) - 1.0L) / 2.0L;
    return over(length,
                [&](real n)
                {
                    real sum = 1.0L;
                    for (std::uint32_t m = 1; m < n_bar; ++m)
                        sum += 2.0L * f[m] * std::cos(2.0L * pi * static_cast<real>(m) * (n - c) / static_cast<real>(length));
                    return sum;
                });
}

/// Chebyshev polynomial; 20,000 dB are 1e1000, for which a long double has room.
real chebyshev_polynomial(std::uint32_t degree, real x)
{
    const real m = static_cast<real>(degree);
    if (std::abs(x) <= 1.0L)
        return std::cos(m * std::acos(x));
    return (x < 0.0L && degree % 2 == 1 ? -1.0L : 1.0L) * std::cosh(m * std::acosh(std::abs(x)));
}

/// One sample of the inverse transform, not scaled to the peak.
real chebyshev_sample(const real_array& spectrum, std::uint32_t n)
{
    const std::int64_t length = static_cast<std::int64_t>(spectrum.size());
    real sum = 0.0L;
    for (std::int64_t k = 0; k < length; ++k)
    {
        const std::int64_t half_turns = (k * (2 * static_cast<std::int64_t>(n) - (length - 1))) % (2 * length);
        sum += spectrum[static_cast<std::size_t>(k)] * std::cos(pi * static_cast<real>(half_turns) / static_cast<real>(length));
    }
    return sum;
}

real_array chebyshev_spectrum(std::uint32_t length, real attenuation)
{
    const real beta = std::cosh(std::acosh(std::pow(10.0L, attenuation / 20.0L)) / static_cast<real>(length - 1));
    return over(length, [&](real k)
                { return chebyshev_polynomial(length - 1, beta * std::cos(pi * k / static_cast<real>(length))); });
}

real_array chebyshev(std::uint32_t length, real attenuation)
{
    const real_array spectrum = chebyshev_spectrum(length, attenuation);
    real_array samples(length);
    real peak = 0.0L;
    for (std::uint32_t n = 0; n < length; ++n)
    {
        samples[n] = chebyshev_sample(spectrum, n);
        peak = std::max(peak, std::abs(samples[n]));
    }
    for (real& sample : samples)
        sample /= peak;
    return samples;
}

struct window_case_t
{
    std::string name;
    std::function<void(complex_array&, std::uint32_t)> generate;
    std::function<real_array(std::uint32_t)> define;
};

std::vector<window_case_t> make_cases()
{
    std::vector<window_case_t> cases = {
        { "rectangle", designer::_generate_rectangle_window, [](std::uint32_t n) { return real_array(n, 1.0L); } },
        { "hamming", designer::_generate_hamming_window, [](std::uint32_t n) { return cosine_window(n, { 0.54L, 0.46L }); } },
        { "hann", designer::_generate_hann_window, [](std::uint32_t n) { return cosine_window(n, { 0.5L, 0.5L }); } },
        { "blackman", designer::_generate_blackman_window,
          [](std::uint32_t n) { return cosine_window(n, { 0.42L, 0.5L, 0.08L }); } },
        { "blackman-harris", designer::_generate_blackman_harris_window,
          [](std::uint32_t n) { return cosine_window(n, { 0.35875L, 0.48829L, 0.14128L, 0.01168L }); } },
        { "nuttall", designer::_generate_nuttall_window,
          [](std::uint32_t n) { return cosine_window(n, { 0.3635819L, 0.4891775L, 0.1365995L, 0.0106411L }); } },
        { "flattop", designer::_generate_flat_top_window,
          [](std::uint32_t n)
          { return cosine_window(n, { 0.21557895L, 0.41663158L, 0.277263158L, 0.083578947L, 0.006947368L }); } },
        { "bartlett", designer::_generate_bartlett_window, bartlett },
        { "triangle", designer::_generate_triangle_window, triangle },
        { "bartlett-hanning", designer::_generate_bartlett_hanning_window, bartlett_hanning },
        { "bohman", designer::_generate_bohman_window, bohman },
        { "parzen", designer::_generate_parzen_window, parzen },
    };
    for (const double beta : { 0.0, 0.5, 7.83, -7.83, 45.0, 700.0, -700.0, 1000.0 })
        cases.push_back({ "kaiser " + std::to_string(beta),
                          [beta](complex_array& window, std::uint32_t n) { designer::_generate_kaiser_window(window, n, beta); },
                          [beta](std::uint32_t n) { return kaiser(n, static_cast<real>(beta)); } });
    for (const double width : { 0.0, 0.3, 2.5, 50.0 })
        cases.push_back({ "gaussian " + std::to_string(width), [width](complex_array& window, std::uint32_t n)
                          { designer::_generate_gaussian_window(window, n, width); },
                          [width](std::uint32_t n) { return gaussian(n, static_cast<real>(width)); } });
    for (const double fraction : { 0.001, 0.25, 0.5, 0.99 })
        cases.push_back({ "tukey " + std::to_string(fraction), [fraction](complex_array& window, std::uint32_t n)
                          { designer::_generate_tukey_window(window, n, fraction); },
                          [fraction](std::uint32_t n) { return tukey(n, static_cast<real>(fraction)); } });
    for (const double decibels : { 0.0, 3.0, 30.0, 60.0, 100.0, 320.0, 2000.0, 20000.0 })
        cases.push_back({ "chebyshev " + std::to_string(decibels), [decibels](complex_array& window, std::uint32_t n)
                          { designer::_generate_chebyshev_window(window, n, decibels); },
                          [decibels](std::uint32_t n) { return chebyshev(n, static_cast<real>(decibels)); } });
    for (const std::uint32_t n_bar : { 0u, 1u, 2u, 4u, 25u, 400u })
        for (const double decibels : { 0.0, 30.0, 80.0, 2000.0 })
            cases.push_back({ "taylor " + std::to_string(n_bar) + ", " + std::to_string(decibels),
                              [=](complex_array& window, std::uint32_t n)
                              { designer::_generate_taylor_window(window, n, n_bar, decibels); },
                              [=](std::uint32_t n) { return taylor(n, n_bar, static_cast<real>(decibels)); } });
    return cases;
}

/// Magnitude of the transform at a frequency in radians per sample.
double cal_response(const complex_array& window, double frequency)
{
    std::complex<double> sum;
    for (std::size_t n = 0; n < window.size(); ++n)
        sum += static_cast<double>(window[n].real()) * std::polar(1.0, -frequency * static_cast<double>(n));
    return std::abs(sum);
}
} // namespace

TEST(FirWindows, FollowTheirDefinitionsToSinglePrecision)
{
    for (const window_case_t& window_case : make_cases())
        for (const std::uint32_t length : lengths)
        {
            const real_array expected = length == 1 ? real_array(1, 1.0L) : window_case.define(length);
            real peak = 0.0L;
            for (const real value : expected)
                peak = std::max(peak, std::abs(value));

            complex_array window(5, { 7.0f, 7.0f });
            window_case.generate(window, length);
            ASSERT_EQ(window.size(), length) << window_case.name;
            for (std::uint32_t n = 0; n < length; ++n)
            {
                ASSERT_LE(std::abs(static_cast<real>(window[n].real()) - expected[n]), 1e-7L * peak + 1e-14L)
                    << window_case.name << ", length " << length << ", sample " << n << ": " << window[n].real() << " for "
                    << static_cast<double>(expected[n]);
                ASSERT_EQ(window[n].imag(), 0.0f) << window_case.name;
            }
        }
}

TEST(FirWindows, AreSymmetricToTheBit)
{
    for (const window_case_t& window_case : make_cases())
        for (const std::uint32_t length : { 2u, 3u, 64u, 999u, 1000u, 12347u })
        {
            complex_array window;
            window_case.generate(window, length);
            const complex_array reversed(window.rbegin(), window.rend());
            EXPECT_EQ(window, reversed) << window_case.name << ", length " << length;
        }
}

TEST(FirWindows, OfNoLengthAreEmptyAndOfLengthOneAreOne)
{
    for (const window_case_t& window_case : make_cases())
    {
        complex_array window(5, { 7.0f, 7.0f });
        window_case.generate(window, 0);
        EXPECT_TRUE(window.empty()) << window_case.name;
        window_case.generate(window, 1);
        EXPECT_EQ(window, (complex_array{ { 1.0f, 0.0f } })) << window_case.name;
    }
}

TEST(FirWindows, BeyondTheLongestFilterAreEmptyWithALine)
{
    for (const window_case_t& window_case : make_cases())
    {
        const log_capture_t log;
        complex_array window(5, { 7.0f, 7.0f });
        window_case.generate(window, 20'000'001);
        EXPECT_TRUE(window.empty()) << window_case.name;
        EXPECT_EQ(log.count(common_log::log_level_error, "lib_fir_designer_t: a window is longer than 20000000 samples!\n"), 1);
        window_case.generate(window, std::numeric_limits<std::uint32_t>::max());
        EXPECT_TRUE(window.empty()) << window_case.name;
    }
}

TEST(FirWindows, ThePeaksOfParzenAndTaylorAreTheirFormulas)
{
    complex_array window;
    designer::_generate_parzen_window(window, 4);
    // c = 1.5, m = 2: the middle two lie at k = 0.5, a quarter of the half length: 1 - 6 / 16 + 6 / 64; the outer at 3 / 4.
    EXPECT_EQ(window[1].real(), 0.71875f);
    EXPECT_EQ(window[0].real(), 0.03125f);
    designer::_generate_taylor_window(window, 101, 4, 30.0);
    EXPECT_GT(window[50].real(), 1.4f);
}

TEST(TukeyWindow, IsARectangleForFractionZeroAndLessAndAHannWindowForOneAndMore)
{
    complex_array tukey_window, rectangle, hann;
    for (const std::uint32_t length : { 2u, 21u, 64u })
    {
        designer::_generate_rectangle_window(rectangle, length);
        designer::_generate_hann_window(hann, length);
        for (const double fraction : { 0.0, -0.0, -1000.0 })
        {
            designer::_generate_tukey_window(tukey_window, length, fraction);
            EXPECT_EQ(tukey_window, rectangle) << fraction;
        }
        for (const double fraction : { 1.0, 1000.0 })
        {
            designer::_generate_tukey_window(tukey_window, length, fraction);
            EXPECT_EQ(tukey_window, hann) << fraction;
        }
    }
}

TEST(GaussianWindow, OfANegativeWidthFactorIsZeroAndSaysSo)
{
    const trace_capture_t trace;
    complex_array window(2, { 7.0f, 7.0f });
    designer::_generate_gaussian_window(window, 5, -1.0);
    EXPECT_EQ(window, complex_array(5));
    EXPECT_EQ(trace.get_text(), "lib_window_function_t::generate_gauss_window Report: Width_factor should be positive!\n");
}

TEST(GaussianWindow, OfAnInfiniteWidthFactorIsTheMiddleSample)
{
    complex_array window;
    designer::_generate_gaussian_window(window, 3, std::numeric_limits<double>::infinity());
    EXPECT_EQ(window, (complex_array{ { 0.0f, 0.0f }, { 1.0f, 0.0f }, { 0.0f, 0.0f } }));
}

TEST(ChebyshevWindow, HasAllSidelobesAtItsAttenuation)
{
    for (const std::uint32_t length : { 31u, 64u })
        for (const double attenuation : { 40.0, 60.0, 80.0 })
        {
            complex_array window;
            designer::_generate_chebyshev_window(window, length, attenuation);
            const double level = std::pow(10.0, -attenuation / 20.0);
            const double peak = cal_response(window, 0.0);
            const double edge = 2.0 * std::acos(1.0 / std::cosh(std::acosh(1.0 / level) / (length - 1.0)));
            std::vector<double> response;
            constexpr int points = 20000;
            for (int i = 0; i <= points; ++i)
                response.push_back(cal_response(window, edge + (std::numbers::pi - edge) * i / points) / peak);
            int sidelobes = 0;
            for (std::size_t i = 1; i + 1 < response.size(); ++i)
                if (response[i] > response[i - 1] && response[i] >= response[i + 1])
                {
                    ++sidelobes;
                    EXPECT_NEAR(20.0 * std::log10(response[i]), -attenuation, 0.02) << "length " << length; // taps are floats
                }
            EXPECT_GE(sidelobes, static_cast<int>(length) / 2 - 8) << "length " << length << ", " << attenuation << " dB";
        }
}

TEST(ChebyshevWindow, KeepsItsPrecisionAtAMillionSamples)
{
    for (const std::uint32_t length : { 200'000u, 1'000'001u })
    {
        complex_array window;
        designer::_generate_chebyshev_window(window, length, 100.0);
        const real_array spectrum = chebyshev_spectrum(length, 100.0L);
        // The longer one has its largest samples at the ends: impulses that hold the far sidelobes up.
        const real peak = std::max(chebyshev_sample(spectrum, 0), chebyshev_sample(spectrum, length / 2));
        for (const std::uint32_t n : { 0u, 1u, 17u, length / 7, length / 3, length / 2 })
            EXPECT_NEAR(static_cast<double>(window[n].real()), static_cast<double>(chebyshev_sample(spectrum, n) / peak), 1e-7)
                << "length " << length << ", sample " << n;
    }
}

TEST(FirWindows, OfExtremeParametersStayFinite)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    complex_array window;
    for (const std::uint32_t length : { 2u, 3u, 20u, 21u, 1000u })
    {
        for (const double decibels : { 6165.0, 20000.0, 1e6, 1e300, infinity })
        {
            designer::_generate_chebyshev_window(window, length, decibels);
            for (const auto& sample : window)
                ASSERT_TRUE(sample.real() >= -1e-12f && sample.real() <= 1.0f)
                    << sample << ", " << decibels << " dB, length " << length;
            EXPECT_EQ(window[length / 2].real(), 1.0f) << decibels << " dB, length " << length;
            designer::_generate_taylor_window(window, length, 400, decibels);
            for (const auto& sample : window)
                ASSERT_TRUE(std::isfinite(sample.real())) << decibels << " dB, length " << length;
        }
        designer::_generate_kaiser_window(window, length, 1e9);
        for (const auto& sample : window)
            ASSERT_TRUE(sample.real() >= 0.0f && sample.real() <= 1.0f);
        designer::_generate_tukey_window(window, length, 1e-300);
        EXPECT_EQ(window[length / 2].real(), length == 2 ? 0.0f : 1.0f);
    }
}

TEST(ChebyshevWindow, OfUnboundedAttenuationIsBinomial)
{
    // The sidelobes vanish and the spectrum becomes cos^4: taps 1, 4, 6, 4, 1.
    complex_array window;
    designer::_generate_chebyshev_window(window, 5, std::numeric_limits<double>::infinity());
    EXPECT_NEAR(static_cast<double>(window[0].real()), 1.0 / 6.0, 1e-7);
    EXPECT_NEAR(static_cast<double>(window[1].real()), 4.0 / 6.0, 1e-7);
    EXPECT_EQ(window[2].real(), 1.0f);
}

TEST(FirBesselI0, AgreesWithItsPowerSeries)
{
    for (const double x : { 0.0, 1e-9, 0.5, 1.0, 7.74, 7.75, 7.76, 39.9, 40.0, 40.1, 100.0, 499.9, 500.0, 500.1, 700.0 })
    {
        const double expected = static_cast<double>(i0_series(static_cast<real>(x)));
        EXPECT_NEAR(designer::_bessel_i0(x) / expected, 1.0, 2e-13) << "x " << x; // exp alone errs by x ulp
        EXPECT_EQ(designer::_bessel_i0(-x), designer::_bessel_i0(x));
    }
    EXPECT_EQ(designer::_bessel_i0(std::numeric_limits<double>::infinity()), std::numeric_limits<double>::infinity());
}

TEST(FirPolynomial, HasRisingPowers)
{
    EXPECT_EQ(designer::_calc_polynomial({ 1.0, -2.0, 3.0 }, 2.0), 9.0);
    EXPECT_EQ(designer::_calc_polynomial({ 5.0 }, 100.0), 5.0);
}

TEST(FirPolynomial, OfNoCoefficientsSaysSoAndIsZero)
{
    const trace_capture_t trace;
    EXPECT_EQ(designer::_calc_polynomial({}, 2.0), 0.0);
    EXPECT_EQ(trace.get_text(), "lib_window_function_t::_calc_polynomial Report: Empty coefficents array!\n");
}
