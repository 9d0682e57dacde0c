#include "lib_dma_common/lib_resample.h"

#include "message_capture.h"
#include "noise.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>
#include <tuple>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using common_log::log_level_error;
using common_log::log_level_info;

namespace
{
constexpr double pi = std::numbers::pi;
using sample_t = std::complex<float>;

/// @param frequency  cycles per sample
complex_array make_tone(std::size_t count, double frequency, double phase)
{
    complex_array data(count);
    for (std::size_t n = 0; n < count; ++n)
        data[n] = sample_t(std::polar(1.0, 2.0 * pi * frequency * static_cast<double>(n) + phase));
    return data;
}

/// Zero stuffing, whole convolution and picking, in double.
complex_double_array upfirdn_in_full(std::uint32_t up, std::uint32_t down, const complex_array& in, const complex_array& filter)
{
    complex_double_array stuffed(in.size() * up);
    for (std::size_t i = 0; i < in.size(); ++i)
        stuffed[i * up] = std::complex<double>(in[i]);
    complex_double_array filtered(stuffed.size() + filter.size() - 1);
    for (std::size_t i = 0; i < stuffed.size(); ++i)
    {
        for (std::size_t k = 0; k < filter.size(); ++k)
            filtered[i + k] += stuffed[i] * std::complex<double>(filter[k]);
    }
    complex_double_array out;
    for (std::size_t i = 0; i < filtered.size(); i += down)
        out.push_back(filtered[i]);
    return out;
}

const std::tuple<std::uint32_t, std::uint32_t> usual_ratios[] = { { 2, 1 }, { 1, 2 },    { 8, 5 },    { 5, 8 },
                                                                  { 3, 2 }, { 53, 625 }, { 625, 53 }, { 4, 3 } };
} // namespace

TEST(BesselI0, AgreesWithTabulatedAndStandardValues)
{
    EXPECT_EQ(bessel_i0<double>(0.0), 1.0);
    EXPECT_NEAR(bessel_i0<double>(1.0) / 1.2660658777520083356, 1.0, 1e-15);
    for (const double x : { 1.0, 5.0, 7.75, 40.0, 499.0, 500.0, 600.0 })
    {
        EXPECT_NEAR(bessel_i0<double>(x) / std::cyl_bessel_i(0.0, x), 1.0, 2e-13) << x;
        EXPECT_EQ(bessel_i0<double>(-x), bessel_i0<double>(x));
    }
    EXPECT_FLOAT_EQ(bessel_i0<float>(1.0f), 1.2660659f);
}

TEST(KaiserWindow, FollowsItsFormula)
{
    for (const std::uint32_t length : { 2u, 3u, 41u, 100u })
    {
        const double_array window = kaiser<double>(length, 5.0);
        ASSERT_EQ(window.size(), length);
        for (std::uint32_t i = 0; i < length; ++i)
        {
            const double c = (length - 1) * 0.5;
            const double x = (i - c) / c;
            EXPECT_NEAR(window[i], std::cyl_bessel_i(0.0, 5.0 * std::sqrt(1.0 - x * x)) / std::cyl_bessel_i(0.0, 5.0), 1e-14)
                << i;
        }
    }
}

TEST(KaiserWindow, OfLengthZeroIsEmptyAndOfOneIsOne)
{
    EXPECT_TRUE(kaiser<double>(0, 5.0).empty());
    EXPECT_EQ(kaiser<double>(1, 5.0), double_array{ 1.0 });
}

TEST(ResampleFilter, IsTheIdealLowPassForASharpEdge)
{
    // With unit weights and no transition band the least squares are the cut Fourier series: c sinc(c n).
    for (const double c : { 0.5, 0.2, 0.04 })
    {
        for (const std::uint32_t order : { 40u, 41u })
        {
            const double_array taps = resample_filter<double>(order, { 0.0, c, c, 1.0 }, { 1.0, 1.0, 0.0, 0.0 });
            ASSERT_EQ(taps.size(), order + 1);
            for (std::uint32_t i = 0; i <= order; ++i)
            {
                const double n = static_cast<double>(i) - order / 2.0;
                const double expected = n == 0.0 ? c : std::sin(pi * c * n) / (pi * n);
                EXPECT_NEAR(taps[i], expected, 1e-12) << "order " << order << " tap " << i;
            }
        }
    }
}

TEST(ResampleFilter, IntegratesSlopedBandsWithoutTheirGaps)
{
    // Gain falling from 1 to 0.5 over 0 to 0.3, nothing asked for up to 0.6, 0 beyond: tap n is twice the integral of
    // A(f) cos(2 pi f n), by Simpson's rule.
    const double_array taps = resample_filter<double>(20, { 0.0, 0.3, 0.6, 1.0 }, { 1.0, 0.5, 0.0, 0.0 });
    for (int n = -10; n <= 10; ++n)
    {
        constexpr int steps = 2000;
        const double edge = 0.15;
        double sum = 0.0;
        for (int i = 0; i <= steps; ++i)
        {
            const double f = edge * i / steps;
            const double weight = i == 0 || i == steps ? 1.0 : (i % 2 != 0 ? 4.0 : 2.0);
            sum += weight * (1.0 - 0.5 * f / edge) * std::cos(2.0 * pi * f * n);
        }
        EXPECT_NEAR(taps[static_cast<std::size_t>(n + 10)], 2.0 * sum * edge / steps / 3.0, 1e-9) << n;
    }
}

TEST(ResampleFilter, IsEmptyWhenEdgesAndAmplitudesDoNotPair)
{
    EXPECT_TRUE(resample_filter<double>(10, { 0.0, 0.5, 1.0 }, { 1.0, 1.0, 0.0 }).empty());
    EXPECT_TRUE(resample_filter<double>(10, { 0.0, 1.0 }, { 1.0, 1.0, 0.0, 0.0 }).empty());
}

TEST(Upfirdn, AgreesWithTheWholeConvolution)
{
    for (const std::uint32_t up : { 1u, 2u, 3u, 7u })
    {
        for (const std::uint32_t down : { 1u, 2u, 5u, 11u })
        {
            for (const std::size_t taps : { 1u, 2u, 5u, 21u, 64u })
            {
                for (const std::size_t count : { 1u, 2u, 9u, 50u })
                {
                    const complex_array in = make_noise(count, 1);
                    const complex_array filter = make_noise(taps, 2);
                    complex_array out(3);
                    upfirdn<sample_t, sample_t, sample_t>(up, down, in.data(), in.size(), filter.data(), filter.size(), out);
                    complex_double_array expected = upfirdn_in_full(up, down, in, filter);
                    // The filter is rounded up to whole phases; what comes beyond the plain convolution is zero.
                    ASSERT_GE(out.size() + up, expected.size());
                    expected.resize(std::max(out.size(), expected.size()));
                    for (std::size_t i = 0; i < out.size(); ++i)
                        EXPECT_LT(std::abs(std::complex<double>(out[i]) - expected[i]), 2e-5)
                            << up << '/' << down << " taps " << taps << " count " << count << " at " << i;
                    for (std::size_t i = out.size(); i < expected.size(); ++i)
                        EXPECT_LT(std::abs(expected[i]), 2e-5) << up << '/' << down << " taps " << taps << " count " << count;
                }
            }
        }
    }
}

TEST(Upfirdn, GivesNothingWithoutFilterOrFactors)
{
    const complex_array in = make_noise(5, 3);
    complex_array out(3);
    upfirdn<sample_t, sample_t, sample_t>(0, 1, in.data(), 5, in.data(), 5, out);
    EXPECT_TRUE(out.empty());
    upfirdn<sample_t, sample_t, sample_t>(1, 0, in.data(), 5, in.data(), 5, out);
    EXPECT_TRUE(out.empty());
    upfirdn<sample_t, sample_t, sample_t>(1, 1, in.data(), 5, in.data(), 0, out);
    EXPECT_TRUE(out.empty());
}

TEST(ResampleEngine, CarriesItsStateOverChunks)
{
    const complex_array in = make_noise(301, 4);
    for (const auto& [up, down] : usual_ratios)
    {
        if (up > 8 || down > 8)
            continue;
        const complex_array filter = make_noise(37, 5);
        using engine_t = lib_common_resample_t<sample_t, sample_t, sample_t>;
        engine_t whole(up, down, filter.data(), filter.size());
        complex_array expected(whole.cal_output_count(in.size()));
        EXPECT_EQ(whole.apply(in.data(), in.size(), expected.data(), expected.size()), expected.size());

        std::mt19937 generator(6);
        engine_t parts(up, down, filter.data(), filter.size());
        complex_array got;
        for (std::size_t start = 0; start < in.size();)
        {
            const std::size_t count = std::min<std::size_t>(in.size() - start, generator() % 40); // 0 included
            complex_array out(parts.cal_output_count(count));
            ASSERT_EQ(parts.apply(in.data() + start, count, out.data(), out.size()), out.size());
            got.insert(got.end(), out.begin(), out.end());
            start += count;
        }
        EXPECT_EQ(got, expected) << up << ':' << down;
    }
}

TEST(ResampleEngine, ReportsTooLittleRoomAndStops)
{
    trace_capture_t trace;
    const complex_array in = make_noise(20, 7);
    const complex_array filter = make_noise(6, 8);
    lib_common_resample_t<sample_t, sample_t, sample_t> engine(3, 2, filter.data(), filter.size());
    EXPECT_EQ(engine.get_coefs_per_phase(), 2u);
    EXPECT_EQ(engine.cal_output_count(20), 30u);
    complex_array out(31, { 9.0f, 9.0f });
    EXPECT_EQ(engine.apply(in.data(), in.size(), out.data(), 7), 7u);
    EXPECT_EQ(trace.get_text(), "Not enough output samples\n");
    EXPECT_EQ(out[7], (sample_t(9.0f, 9.0f)));
}

TEST(ResampleEngine, WorksOnRealSamples)
{
    const float_array in = { 1.0f, 2.0f, 3.0f };
    const float_array filter = { 0.5f, 1.0f, 0.5f };
    float_array out;
    upfirdn<float, float, float>(2, 1, in.data(), in.size(), filter.data(), filter.size(), out);
    const float_array expected = { 0.5f, 1.0f, 1.5f, 2.0f, 2.5f, 3.0f, 1.5f };
    ASSERT_GE(out.size(), expected.size());
    for (std::size_t i = 0; i < out.size(); ++i)
        EXPECT_FLOAT_EQ(out[i], i < expected.size() ? expected[i] : 0.0f) << i;
}

TEST(Resample, HasUnitGainAtZeroFrequency)
{
    for (const auto& [up, down] : usual_ratios)
    {
        complex_array in(2000, { 0.6f, -0.8f });
        complex_array out;
        lib_resample<sample_t>(up, down, in, out);
        const std::size_t margin = 12 * std::max(up, down) / down + 12;
        ASSERT_GT(out.size(), 3 * margin) << up << ':' << down;
        std::complex<double> sum = 0.0;
        for (std::size_t k = margin; k + margin < out.size(); ++k)
        {
            // The phases of the filter differ by the images of zero frequency, 55 dB down under this window.
            EXPECT_LT(std::abs(std::complex<double>(out[k]) - std::complex<double>(0.6, -0.8)), 2e-3)
                << up << ':' << down << " at " << k;
            sum += std::complex<double>(out[k]);
        }
        EXPECT_NEAR(std::abs(sum) / static_cast<double>(out.size() - 2 * margin), 1.0, 1e-3) << up << ':' << down;
    }
}

TEST(Resample, KeepsTonesInThePassBandInLevelAndTime)
{
    for (const auto& [up, down] : usual_ratios)
    {
        const double ratio = static_cast<double>(up) / static_cast<double>(down);
        const double lower = std::min(1.0, ratio);
        for (const double share : { 0.2, -0.5, 0.7 })
        {
            const double frequency = 0.5 * share * lower;
            complex_array in = make_tone(3000, frequency, 0.9);
            complex_array out;
            lib_resample<sample_t>(up, down, in, out);
            const double margin = 11.0 / lower;
            for (std::size_t k = 0; k < out.size(); ++k)
            {
                const double time = static_cast<double>(k) / ratio;
                if (time < margin || time > 2999.0 - margin)
                    continue;
                const std::complex<double> expected = std::polar(1.0, 2.0 * pi * frequency * time + 0.9);
                EXPECT_LT(std::abs(std::complex<double>(out[k]) - expected), 3e-3)
                    << up << ':' << down << ' ' << share << " at " << k;
            }
        }
    }
}

TEST(Resample, SuppressesTheStopBand)
{
    for (const auto& [up, down] : usual_ratios)
    {
        if (up > down)
            continue;
        const double ratio = static_cast<double>(up) / static_cast<double>(down);
        const double frequency = 0.5 * std::min(1.0, 1.3 * ratio);
        complex_array in = make_tone(4000, frequency, 0.1);
        complex_array out;
        lib_resample<sample_t>(up, down, in, out);
        for (std::size_t k = 14; k + 14 < out.size(); ++k)
            EXPECT_LT(std::abs(out[k]), 5e-3f) << up << ':' << down << " at " << k;
    }
}

TEST(Resample, SuppressesTheImagesWhenItGoesUp)
{
    // Project the interior of the output on the image of a tone at three quarters of half the input rate.
    complex_array in = make_tone(2000, 0.3, 0.0);
    complex_array out;
    lib_resample<sample_t>(2, 1, in, out);
    std::complex<double> image = 0.0;
    std::complex<double> wanted = 0.0;
    for (std::size_t k = 200; k < 3800; ++k)
    {
        wanted += std::complex<double>(out[k]) * std::polar(1.0, -2.0 * pi * 0.15 * static_cast<double>(k));
        image += std::complex<double>(out[k]) * std::polar(1.0, -2.0 * pi * 0.65 * static_cast<double>(k));
    }
    EXPECT_NEAR(std::abs(wanted) / 3600.0, 1.0, 3e-3);
    EXPECT_LT(std::abs(image) / 3600.0, 3e-3);
}

TEST(Resample, GivesLengthsRoundedUp)
{
    for (const auto& [up, down] : usual_ratios)
    {
        for (std::size_t n = 1; n < 70; ++n)
        {
            complex_array in = make_noise(n, 9);
            complex_array out;
            lib_resample<sample_t>(up, down, in, out);
            EXPECT_EQ(out.size(), (n * up + down - 1) / down) << n << " at " << up << ':' << down;
        }
    }
    complex_array in = make_noise(1001, 10);
    complex_array out;
    lib_resample<sample_t>(1, 2, in, out);
    EXPECT_EQ(out.size(), 501u);
}

TEST(Resample, ReducesItsFactorsAndCopiesAtOneToOne)
{
    complex_array in = make_noise(200, 11);
    complex_array a, b;
    lib_resample<sample_t>(3, 3, in, a);
    EXPECT_EQ(a, in);
    lib_resample<sample_t>(16, 10, in, a);
    lib_resample<sample_t>(8, 5, in, b);
    EXPECT_EQ(a, b);
}

TEST(Resample, IsThePolyphaseFilterUnderItsWindow)
{
    // The whole path in double, from the ideal low pass on.
    const std::uint32_t up = 5, down = 8;
    const complex_array in = make_noise(150, 12);
    const int half = 10 * 8;
    double_array taps;
    for (int n = -half; n <= half; ++n)
    {
        const double t = n / 8.0;
        const double ideal = (n == 0 ? 1.0 : std::sin(pi * t) / (pi * t)) / 8.0;
        const double x = static_cast<double>(n) / half;
        taps.push_back(up * ideal * std::cyl_bessel_i(0.0, 5.0 * std::sqrt(1.0 - x * x)) / std::cyl_bessel_i(0.0, 5.0));
    }
    complex_array source = in;
    complex_array out;
    lib_resample<sample_t>(up, down, source, out);
    for (std::size_t k = 0; k < out.size(); ++k)
    {
        std::complex<double> sum = 0.0;
        for (std::size_t i = 0; i < in.size(); ++i)
        {
            const int n = static_cast<int>(k * down) - static_cast<int>(i * up);
            if (std::abs(n) <= half)
                sum += std::complex<double>(in[i]) * taps[static_cast<std::size_t>(n + half)];
        }
        EXPECT_LT(std::abs(std::complex<double>(out[k]) - sum), 3e-6) << k;
    }
    EXPECT_EQ(source, in);
}

TEST(Resample, TakesRealArraysAndItsOwnInput)
{
    float_array values(300, 2.0f);
    float_array out;
    lib_resample<float>(3, 2, values, out);
    ASSERT_EQ(out.size(), 450u);
    EXPECT_NEAR(out[225], 2.0f, 2e-3f);
    lib_resample<float>(1, 2, values, values);
    ASSERT_EQ(values.size(), 150u);
    EXPECT_NEAR(values[75], 2.0f, 2e-3f);
}

TEST(Resample, ReportsAFactorOfZeroAndGoesOn)
{
    for (const auto& [up, down] : { std::pair<std::uint32_t, std::uint32_t>(0, 1), { 1, 0 }, { 0, 0 } })
    {
        trace_capture_t trace;
        complex_array in = make_noise(10, 13);
        complex_array out(4);
        lib_resample<sample_t>(up, down, in, out);
        EXPECT_EQ(trace.get_text(), "factors must be positive integer.\n");
        EXPECT_TRUE(out.empty());
    }
}

TEST(Resample, OfNothingIsNothing)
{
    complex_array in;
    complex_array out(4);
    lib_resample<sample_t>(2, 1, in, out);
    EXPECT_TRUE(out.empty());
    out.resize(4);
    lib_resample<sample_t>(2, 2, in, out);
    EXPECT_TRUE(out.empty());
}

TEST(Resample, AnnouncesLongFiltersAndComputesThem)
{
    // 49,999 : 50,000 needs 1,000,001 taps.
    log_capture_t log;
    complex_array in(40, { 1.0f, 0.5f });
    complex_array out;
    lib_resample<sample_t>(49999, 50000, in, out);
    ASSERT_EQ(out.size(), 40u);
    EXPECT_NEAR(out[20].real(), 1.0f, 1e-3f);
    EXPECT_NEAR(out[20].imag(), 0.5f, 1e-3f);
    ASSERT_EQ(log.get_records().size(), 1u);
    EXPECT_EQ(log.get_records()[0].level, log_level_info);
    EXPECT_NE(log.get_records()[0].message.find("49999 : 50000"), std::string::npos);
    EXPECT_NE(log.get_records()[0].message.find("1000001 taps"), std::string::npos);
}

TEST(Resample, SaysNothingOfShorterFilters)
{
    log_capture_t log;
    complex_array in(40, { 1.0f, 0.0f });
    complex_array out;
    lib_resample<sample_t>(2000, 1999, in, out);
    EXPECT_EQ(out.size(), 41u);
    EXPECT_TRUE(log.get_records().empty());
}

TEST(Resample, RefusesFiltersThatDoNotFit)
{
    log_capture_t log;
    complex_array in(40, { 1.0f, 0.0f });
    complex_array out(3);
    lib_resample<sample_t>(4294967295u, 4294967294u, in, out);
    EXPECT_TRUE(out.empty());
    ASSERT_EQ(log.get_records().size(), 1u);
    EXPECT_EQ(log.get_records()[0].level, log_level_error);
    EXPECT_NE(log.get_records()[0].message.find("4294967295 : 4294967294"), std::string::npos);
}
