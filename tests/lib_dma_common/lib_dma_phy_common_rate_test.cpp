#include "lib_dma_common/lib_dma_phy_common.h"

#include "message_capture.h"
#include "noise.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <stdexcept>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using common_t = lib_dma_phy_common_t;

namespace
{
constexpr double pi = std::numbers::pi;

std::complex<float> multiply(std::complex<float> a, std::complex<float> b)
{
    const float re = a.real() * b.real() - a.imag() * b.imag();
    const float im = a.real() * b.imag() + a.imag() * b.real();
    return { re, im };
}

/// The oscillator as a plain walk: blocks of eight, then the tail one step ahead, the last sample left out.
complex_array mix_by_recurrence(complex_array data, double freq, float phase)
{
    const float w = static_cast<float>(2.0 * pi * freq);
    const std::complex<float> step(static_cast<float>(std::cos(static_cast<double>(w))),
                                   static_cast<float>(std::sin(static_cast<double>(w))));
    std::complex<float> p(static_cast<float>(std::cos(static_cast<double>(phase))),
                          static_cast<float>(std::sin(static_cast<double>(phase))));
    const std::ptrdiff_t n = static_cast<std::ptrdiff_t>(data.size());
    for (std::ptrdiff_t i = 0; i < n - 7; i += 8)
    {
        for (std::ptrdiff_t m = 0; m < 8; ++m)
        {
            data[static_cast<std::size_t>(i + m)] = multiply(data[static_cast<std::size_t>(i + m)], p);
            p = multiply(p, step);
        }
    }
    for (std::ptrdiff_t i = n / 8 * 8; i <= n - 2; ++i)
    {
        p = multiply(step, p);
        data[static_cast<std::size_t>(i)] = multiply(data[static_cast<std::size_t>(i)], p);
    }
    return data;
}

float_array ramp(std::size_t count)
{
    float_array values(count);
    for (std::size_t i = 0; i < count; ++i)
        values[i] = static_cast<float>(i);
    return values;
}

complex_array complex_ramp(std::size_t count)
{
    complex_array values(count);
    for (std::size_t i = 0; i < count; ++i)
        values[i] = { static_cast<float>(i), -static_cast<float>(i) };
    return values;
}
} // namespace

TEST(DealMixer1, IsTheRecurrenceAtEveryShortLength)
{
    for (std::size_t n = 0; n <= 24; ++n)
    {
        for (const double freq : { 0.01, -0.37, 0.0, 1e-9 })
        {
            const complex_array before = make_noise(n, static_cast<unsigned>(n) + 1);
            complex_array data = before;
            common_t::deal_mixer1(data, freq, 0.4f);
            EXPECT_EQ(data, mix_by_recurrence(before, freq, 0.4f)) << "length " << n << " freq " << freq;
        }
    }
}

TEST(DealMixer1, IsTheRecurrenceOverALongRecord)
{
    for (const std::size_t n : { 4096u, 100003u })
    {
        for (const double freq : { 0.01234, -0.0, 0.499 })
        {
            const complex_array before = make_noise(n, 5);
            complex_array data = before;
            common_t::deal_mixer1(data, freq, -2.0f);
            EXPECT_EQ(data, mix_by_recurrence(before, freq, -2.0f)) << "length " << n << " freq " << freq;
        }
    }
}

TEST(DealMixer1, LeavesTheLastSampleOfARaggedArrayAsItWas)
{
    for (const std::size_t n : { 1u, 2u, 7u, 9u, 10u, 15u, 23u })
    {
        complex_array data = make_noise(n, 7);
        const complex_array before = data;
        common_t::deal_mixer1(data, 0.01, 0.0f);
        EXPECT_EQ(data.back(), before.back()) << "length " << n;
    }
}

TEST(DealMixer1, TurnsTheTailOneStepAhead)
{
    complex_array data(10, { 1.0f, 0.0f });
    common_t::deal_mixer1(data, 0.02, 0.0f);
    for (std::size_t i = 0; i < 8; ++i)
        EXPECT_NEAR(std::arg(data[i]), static_cast<float>(2.0 * pi * 0.02 * static_cast<double>(i)), 1e-6f);
    EXPECT_NEAR(std::arg(data[8]), static_cast<float>(2.0 * pi * 0.02 * 9.0), 1e-6f);
    EXPECT_EQ(data[9], (std::complex<float>(1.0f, 0.0f)));
}

TEST(DealMixer1, WithoutFrequencyOrPhaseLeavesTheData)
{
    complex_array data = make_noise(1003, 8);
    const complex_array before = data;
    common_t::deal_mixer1(data, 0.0, 0.0f);
    EXPECT_EQ(data, before);
}

TEST(DealMixer1, WithoutFrequencyTurnsByAConstantPhase)
{
    complex_array data = make_noise(83, 9);
    const complex_array before = data;
    common_t::deal_mixer1(data, 0.0, 1.0f);
    for (std::size_t i = 0; i + 1 < data.size(); ++i)
        EXPECT_LT(std::abs(std::complex<double>(data[i]) - std::complex<double>(before[i]) * std::polar(1.0, 1.0)), 1e-6) << i;
    EXPECT_EQ(data.back(), before.back());
}

TEST(DealMixer1, FollowsTheIdealTurnWithinTheDriftOfItsRecurrence)
{
    complex_array data(8192, { 1.0f, 0.0f });
    common_t::deal_mixer1(data, 0.0371, 0.3f);
    const double w = static_cast<double>(static_cast<float>(2.0 * pi * 0.0371));
    for (std::size_t i = 0; i < data.size(); ++i)
    {
        const std::complex<double> ideal = std::polar(1.0, w * static_cast<double>(i) + static_cast<double>(0.3f));
        // Each product rounds by some 6e-8; the drift grows with the count.
        EXPECT_LT(std::abs(std::complex<double>(data[i]) - ideal), 1e-6 + 1e-7 * static_cast<double>(i)) << i;
    }
}

TEST(DealMixer, MixesAStretchIntoItsOutput)
{
    const complex_array data = make_noise(100, 10);
    complex_array out(3);
    common_t::deal_mixer(data, 0.05, out, 20, 50, 0.5f);
    EXPECT_EQ(out, mix_by_recurrence(complex_array(data.begin() + 20, data.begin() + 70), 0.05, 0.5f));
}

TEST(DealMixer, FillsUpBehindTheData)
{
    const complex_array data = make_noise(10, 11);
    complex_array out;
    common_t::deal_mixer(data, 0.0, out, 6, 8, 0.0f);
    ASSERT_EQ(out.size(), 8u);
    for (std::size_t i = 0; i < 8; ++i)
        EXPECT_EQ(out[i], i < 4 ? data[6 + i] : std::complex<float>(0.0f, 0.0f)) << i;
    common_t::deal_mixer(data, 0.0, out, 0xfffffff0u, 3, 0.0f);
    EXPECT_EQ(out, complex_array(3, { 0.0f, 0.0f }));
}

TEST(Downsample, PicksEveryWholeFactorthSample)
{
    for (const std::size_t n : { 1u, 2u, 3u, 10u, 11u, 1000u })
    {
        for (const float factor : { 1.0f, 1.99f, 2.0f, 2.9f, 3.0f, 7.5f, 5000.0f })
        {
            float_array out(2);
            common_t::downsample(ramp(n), factor, out);
            complex_array complex_out;
            common_t::downsample(complex_ramp(n), factor, complex_out);
            const std::size_t step = static_cast<std::size_t>(factor);
            ASSERT_EQ(out.size(), (n + step - 1) / step) << n << " by " << factor;
            ASSERT_EQ(complex_out.size(), out.size());
            for (std::size_t i = 0; i < out.size(); ++i)
            {
                EXPECT_EQ(out[i], static_cast<float>(i * step));
                EXPECT_EQ(complex_out[i].imag(), -static_cast<float>(i * step));
            }
        }
    }
}

TEST(Downsample, MayWriteIntoItsInput)
{
    float_array data = ramp(9);
    common_t::downsample(data, 4.0f, data);
    EXPECT_EQ(data, (float_array{ 0.0f, 4.0f, 8.0f }));
}

TEST(Downsample1, StartsAtTheOffset)
{
    float_array out;
    common_t::downsample1(ramp(10), 3.7f, 2, out);
    EXPECT_EQ(out, (float_array{ 2.0f, 5.0f, 8.0f }));
    complex_array complex_out;
    common_t::downsample1(complex_ramp(10), 4.0f, 9, complex_out);
    EXPECT_EQ(complex_out, (complex_array{ { 9.0f, -9.0f } }));
    for (const std::uint32_t offset : { 10u, 11u, 4000000000u })
    {
        out = { 5.0f };
        common_t::downsample1(ramp(10), 2.0f, offset, out);
        EXPECT_TRUE(out.empty()) << offset;
    }
}

TEST(Downsample, OfLongArraysWalksInSinglePrecision)
{
    // Past 2^24 single precision knows even positions only: some samples come twice, their neighbours never.
    const std::size_t exact = std::size_t(1) << 24;
    float_array data(exact + 8, 0.0f);
    for (std::size_t i = 0; i < 8; ++i)
        data[exact + i] = static_cast<float>(i + 1);
    float_array out;
    common_t::downsample(data, 1.0f, out);
    // Halves go to the even neighbour: positions 0, 0, 2, 4, 4, 4, 6 behind 2^24, then the end.
    ASSERT_EQ(out.size(), exact + 7);
    const float expected[] = { 1.0f, 1.0f, 3.0f, 5.0f, 5.0f, 5.0f, 7.0f };
    for (std::size_t i = 0; i < 7; ++i)
        EXPECT_EQ(out[exact + i], expected[i]) << i;
}

TEST(Downsample, ReportsAnEmptyInputAndAFactorOfZeroAndLeavesTheOutput)
{
    float_array out = { 5.0f };
    {
        trace_capture_t trace;
        common_t::downsample(float_array{}, 2.0f, out);
        EXPECT_EQ(trace.get_text(), "lib_dma_phy_common_t::downsample: Empty input data array!\n");
    }
    {
        trace_capture_t trace;
        common_t::downsample(ramp(4), 0.0f, out);
        common_t::downsample1(ramp(4), 0.0f, 1, out);
        EXPECT_EQ(trace.get_text(), "lib_dma_phy_common_t::downsample: Error decimation paramter!\n"
                                    "lib_dma_phy_common_t::downsample: Error decimation paramter!\n");
    }
    {
        trace_capture_t trace;
        common_t::downsample(float_array{}, 0.0f, out); // the empty input speaks first
        EXPECT_EQ(trace.get_text(), "lib_dma_phy_common_t::downsample: Empty input data array!\n");
    }
    EXPECT_EQ(out, float_array{ 5.0f });
}

TEST(Downsample, EndsForFactorsBelowOne)
{
    trace_capture_t trace;
    float_array out = { 5.0f };
    common_t::downsample(ramp(4), 0.5f, out);
    common_t::downsample(ramp(4), -1.0f, out);
    EXPECT_EQ(out, float_array{ 5.0f });
}

TEST(Upsample, PutsZerosOrCopiesBehindEachSample)
{
    const complex_array data = { { 1.0f, 2.0f }, { 3.0f, 4.0f } };
    const std::complex<float> a = data[0], b = data[1], zero = { 0.0f, 0.0f };
    complex_array out(9);
    common_t::upsample(data, upsample_zeros, 3.9f, out);
    EXPECT_EQ(out, (complex_array{ a, zero, zero, b, zero, zero }));
    for (const upsample_type_t type : { 1u, 2u, 77u })
    {
        common_t::upsample(data, type, 3.0f, out);
        EXPECT_EQ(out, (complex_array{ a, a, a, b, b, b })) << type;
    }
    float_array values;
    common_t::upsample(float_array{ 5.0f, 6.0f }, upsample_zeros, 2.0f, values);
    EXPECT_EQ(values, (float_array{ 5.0f, 0.0f, 6.0f, 0.0f }));
    common_t::upsample(float_array{}, upsample_zeros, 2.0f, values);
    EXPECT_TRUE(values.empty());
}

TEST(Upsample, WithAFactorBelowTwoCopiesAndIgnoresTheGain)
{
    const complex_array data = { { 1.0f, 2.0f }, { 3.0f, 4.0f } };
    for (const float factor : { -3.0f, 0.0f, 0.5f, 1.0f, 1.9f })
    {
        complex_array out;
        common_t::upsample(data, upsample_zeros, factor, out);
        EXPECT_EQ(out, data) << factor;
        out.clear();
        common_t::upsample1(data, upsample_zeros, factor, 9.0f, out);
        EXPECT_EQ(out, data) << factor;
    }
}

TEST(Upsample1, MultipliesByItsGain)
{
    const complex_array data = { { 1.0f, 2.0f } };
    complex_array out;
    common_t::upsample1(data, upsample_zeros, 2.0f, 3.0f, out);
    EXPECT_EQ(out, (complex_array{ { 3.0f, 6.0f }, { 0.0f, 0.0f } }));
    common_t::upsample1(data, upsample_hold, 2.0f, std::complex<float>(0.0f, 1.0f), out);
    EXPECT_EQ(out, (complex_array{ { -2.0f, 1.0f }, { -2.0f, 1.0f } }));
    float_array values;
    common_t::upsample1(float_array{ 2.0f }, upsample_hold, 3.0f, 0.5f, values);
    EXPECT_EQ(values, (float_array{ 1.0f, 1.0f, 1.0f }));
}

TEST(Upsample, IsUndoneByDownsample)
{
    const complex_array data = make_noise(57, 12);
    for (const float factor : { 2.0f, 3.0f, 8.0f, 10.0f })
    {
        for (const upsample_type_t type : { upsample_zeros, upsample_hold })
        {
            complex_array spread, back;
            common_t::upsample(data, type, factor, spread);
            EXPECT_EQ(spread.size(), data.size() * static_cast<std::size_t>(factor));
            common_t::downsample(spread, factor, back);
            EXPECT_EQ(back, data);
        }
    }
}

TEST(RectangularFilter, IsABoxcarOfOneSymbol)
{
    for (std::uint32_t span = 1; span <= 5; ++span)
    {
        for (std::uint32_t sps = 1; sps <= 12; ++sps)
        {
            complex_array taps(3);
            common_t::gen_rectangular_filter(span, sps, taps);
            const std::uint32_t n = span * sps + 1;
            ASSERT_EQ(taps.size(), n);
            const int first = static_cast<int>(std::floor(n * 0.5)) - static_cast<int>(std::ceil(sps * 0.5));
            for (int i = 0; i < static_cast<int>(n); ++i)
            {
                const bool inside = i >= first && i < first + static_cast<int>(sps);
                EXPECT_EQ(taps[static_cast<std::size_t>(i)],
                          (std::complex<float>(inside ? 1.0f / static_cast<float>(sps) : 0.0f, 0.0f)))
                    << span << " symbols, " << sps << " samples, tap " << i;
            }
        }
    }
}

TEST(RectangularFilter, OfOneSymbolAtFourSamplesFillsTapsZeroToThree)
{
    complex_array taps;
    common_t::gen_rectangular_filter(1, 4, taps);
    const std::complex<float> q(0.25f, 0.0f);
    EXPECT_EQ(taps, (complex_array{ q, q, q, q, { 0.0f, 0.0f } }));
}

TEST(RectangularFilter, WithoutSpanIsOutOfRange)
{
    complex_array taps;
    EXPECT_THROW(common_t::gen_rectangular_filter(0, 4, taps), std::out_of_range);
    EXPECT_THROW(common_t::gen_rectangular_filter(0, 1, taps), std::out_of_range);
}

TEST(EdgeFilter, HasTwentyOneTapsAtFourSamples)
{
    complex_array taps(2);
    common_t::deal_edge_filter(4, taps);
    EXPECT_EQ(taps.size(), 21u);
}

TEST(EdgeFilter, IsTheProductOfFourShiftedPulses)
{
    // At powers of two every time is exact and no index depends on rounding.
    for (const std::uint32_t sps : { 1u, 2u, 4u, 8u, 16u, 32u })
    {
        const double d = 1.0 / sps;
        const double k = 1.8849555921538759 / 0.8325546111576977;
        const auto q = [](double x) { return 0.5 * (1.0 - std::erf(x / std::sqrt(2.0))); };
        double_array c;
        double sum = 0.0;
        for (std::uint32_t i = 0; i <= 4 * sps; ++i)
        {
            const double t = i * d;
            sum += (q(k * (t - 2.5)) - q(k * (t - 1.5))) * d / 2.0;
            c.push_back(sum);
        }
        double_array s;
        for (std::uint32_t i = 0; i <= 8 * sps; ++i)
            s.push_back(i <= 4 * sps ? std::sin(pi * c[i]) : std::sin(pi / 2.0 - pi * c[i - 4 * sps]));
        complex_array taps;
        common_t::deal_edge_filter(sps, taps);
        ASSERT_EQ(taps.size(), 5 * sps + 1);
        for (std::uint32_t i = 0; i <= 5 * sps; ++i)
        {
            const double expected = s[i] * s[i + sps] * s[i + 2 * sps] * s[i + 3 * sps];
            EXPECT_NEAR(static_cast<double>(taps[i].real()), expected, 2e-6) << "sps " << sps << " tap " << i;
            EXPECT_EQ(taps[i].imag(), 0.0f);
        }
    }
}

TEST(EdgeFilter, StaysInsideItsArraysAtEveryRate)
{
    for (std::uint32_t sps = 1; sps <= 40; ++sps)
    {
        complex_array taps;
        common_t::deal_edge_filter(sps, taps);
        ASSERT_EQ(taps.size(), 5 * sps + 1) << sps;
        float largest = 0.0f;
        std::size_t peak = 0;
        for (std::size_t i = 0; i < taps.size(); ++i)
        {
            EXPECT_TRUE(std::isfinite(taps[i].real())) << sps << ' ' << i;
            EXPECT_GE(taps[i].real(), -1e-6f) << sps << ' ' << i;
            if (taps[i].real() > largest)
            {
                largest = taps[i].real();
                peak = i;
            }
        }
        // The pulse is symmetric about 2.5 symbols; the running sums lean it by up to a sample.
        EXPECT_NEAR(static_cast<double>(peak), 2.5 * sps, 1.5) << sps;
        if (sps >= 4)
        {
            EXPECT_NEAR(largest, 0.9f, 0.1f) << sps;
        }
    }
    complex_array taps(3);
    common_t::deal_edge_filter(0, taps);
    EXPECT_TRUE(taps.empty());
}

TEST(CyclicShift, TurnsToTheRight)
{
    const complex_array data = complex_ramp(5);
    const auto turned = [&](std::initializer_list<int> order)
    {
        complex_array out;
        for (const int i : order)
            out.push_back(data[static_cast<std::size_t>(i)]);
        return out;
    };
    trace_capture_t trace;
    EXPECT_EQ(common_t::deal_cyclic_shift(data, 0), data);
    EXPECT_EQ(common_t::deal_cyclic_shift(data, 2), turned({ 3, 4, 0, 1, 2 }));
    EXPECT_EQ(common_t::deal_cyclic_shift(data, -1), turned({ 1, 2, 3, 4, 0 }));
    EXPECT_EQ(common_t::deal_cyclic_shift(data, 5), data);
    EXPECT_EQ(common_t::deal_cyclic_shift(data, -5), data);
    EXPECT_EQ(trace.get_text(), "");
}

TEST(CyclicShift, ReportsAShiftPastTheSizeAndStaysInside)
{
    const complex_array data = complex_ramp(5);
    for (const std::int32_t shift : { 6, -6, 2147483647, -2147483647 - 1 })
    {
        trace_capture_t trace;
        const complex_array turned = common_t::deal_cyclic_shift(data, shift);
        EXPECT_EQ(trace.get_text(), "lib_dma_phy_common_t::deal_cyclic_shift Report : Shift Offset Out of Range!\n") << shift;
        ASSERT_EQ(turned.size(), data.size());
        const std::int64_t by = ((std::int64_t(shift) % 5) + 5) % 5;
        for (std::int64_t i = 0; i < 5; ++i)
            EXPECT_EQ(turned[static_cast<std::size_t>((i + by) % 5)], data[static_cast<std::size_t>(i)]) << shift;
    }
}

TEST(CyclicShift, ReportsAnEmptyArray)
{
    trace_capture_t trace;
    EXPECT_TRUE(common_t::deal_cyclic_shift(complex_array{}, 0).empty());
    EXPECT_EQ(trace.get_text().rfind("lib_dma_phy_common_t::deal_cyclic_shift Report : Empty Vector!\n", 0), 0u);
    EXPECT_TRUE(common_t::deal_cyclic_shift(complex_array{}, 3).empty());
}

TEST(CheckValidDataSize, ClampsAndNeverFails)
{
    const float_array data = ramp(10);
    const auto slice = [&](std::uint32_t start, std::uint32_t length)
    {
        float_array out = { 99.0f };
        EXPECT_TRUE(common_t::check_valid_data_size(data, start, length, out));
        return out;
    };
    const auto part = [&](int begin, int end) { return float_array(data.begin() + begin, data.begin() + end); };
    EXPECT_EQ(slice(2, 5), part(2, 7));
    EXPECT_EQ(slice(0, 10), data);
    EXPECT_EQ(slice(2, 8), part(2, 10));
    EXPECT_EQ(slice(2, 9), part(2, 10));
    EXPECT_EQ(slice(9, 1), part(9, 10));
    EXPECT_EQ(slice(4, 0), float_array{});
    EXPECT_EQ(slice(10, 3), data);
    EXPECT_EQ(slice(4000000000u, 3), data);
    EXPECT_EQ(slice(5, 0xffffffffu), part(5, 10)); // 5 + length wraps to 4
    EXPECT_EQ(slice(3, 11), part(3, 10));
    float_array out = { 1.0f };
    EXPECT_TRUE(common_t::check_valid_data_size(float_array{}, 0, 4, out));
    EXPECT_TRUE(out.empty());
    complex_array complex_out;
    EXPECT_TRUE(common_t::check_valid_data_size(complex_ramp(3), 1, 1, complex_out));
    EXPECT_EQ(complex_out, (complex_array{ { 1.0f, -1.0f } }));
}
