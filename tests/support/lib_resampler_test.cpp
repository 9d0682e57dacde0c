#include "support/lib_resampler.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

using namespace vrim;
using common_lib::lib_resampler_t;

namespace
{
constexpr double pi = std::numbers::pi;

/// @param frequency  cycles per sample of the array
complex_array make_tone(std::size_t count, double frequency, double phase)
{
    complex_array data(count);
    for (std::size_t n = 0; n < count; ++n)
        data[n] = std::complex<float>(std::polar(1.0, 2.0 * pi * frequency * static_cast<double>(n) + phase));
    return data;
}

struct ratio_t
{
    std::uint64_t up;
    std::uint64_t down;
};
const ratio_t ratios[] = { { 2, 1 }, { 3, 1 }, { 5, 1 }, { 1, 2 }, { 1, 3 }, { 1, 5 },
                           { 3, 2 }, { 2, 3 }, { 5, 8 }, { 8, 5 }, { 7, 3 } };
} // namespace

TEST(PolyphaseResampling, KeepsAmplitudeAndTimeOfToneInThePassBand)
{
    for (const auto& [up, down] : ratios)
    {
        const std::size_t count = 1500;
        // Of half the lower rate, in cycles per input sample.
        const double lower = std::min(1.0, static_cast<double>(up) / static_cast<double>(down));
        for (const double share : { 0.0, 0.3, -0.7, 0.85 })
        {
            const double frequency = 0.5 * share * lower;
            complex_array out(7);
            ASSERT_TRUE(lib_resampler_t::deal_polyphase_resampling(make_tone(count, frequency, 0.7), out, up, down, 0));
            ASSERT_EQ(out.size(), (count * up + down - 1) / down);
            const double step = static_cast<double>(down) / static_cast<double>(up);
            const double margin = 26.0 / lower; // input samples under the ends of the filter
            std::size_t checked = 0;
            for (std::size_t k = 0; k < out.size(); ++k)
            {
                const double time = static_cast<double>(k) * step;
                if (time < margin || time > static_cast<double>(count - 1) - margin)
                    continue;
                const std::complex<double> expected = std::polar(1.0, 2.0 * pi * frequency * time + 0.7);
                EXPECT_LT(std::abs(std::complex<double>(out[k]) - expected), 1e-4)
                    << up << ':' << down << " share " << share << " at " << k;
                ++checked;
            }
            EXPECT_GT(checked, out.size() / 2);
        }
    }
}

TEST(PolyphaseResampling, SuppressesWhatWouldFoldAndTheImages)
{
    for (const auto& [up, down] : ratios)
    {
        if (down < up)
            continue;
        const double lower = static_cast<double>(up) / static_cast<double>(down);
        const double frequency = 0.5 * std::min(1.0, 1.15 * lower);
        complex_array out;
        ASSERT_TRUE(lib_resampler_t::deal_polyphase_resampling(make_tone(3000, frequency, 0.1), out, up, down, 0));
        const std::size_t margin = 30;
        for (std::size_t k = margin; k + margin < out.size(); ++k)
            EXPECT_LT(std::abs(out[k]), 1e-4f) << up << ':' << down << " at " << k;
    }
}

TEST(PolyphaseResampling, StartsAtThePhaseAskedFor)
{
    const complex_array tone = make_tone(400, 0.11, 0.0);
    complex_array out;
    ASSERT_TRUE(lib_resampler_t::deal_polyphase_resampling(tone, out, 4, 1, 3));
    for (std::size_t k = 200; k < 1400; ++k)
    {
        const std::complex<double> expected = std::polar(1.0, 2.0 * pi * 0.11 * (static_cast<double>(k) + 3.0) / 4.0);
        EXPECT_LT(std::abs(std::complex<double>(out[k]) - expected), 1e-4) << k;
    }
}

TEST(PolyphaseResampling, ReducesItsFactors)
{
    const complex_array tone = make_tone(200, 0.05, 0.3);
    complex_array a, b;
    ASSERT_TRUE(lib_resampler_t::deal_polyphase_resampling(tone, a, 6, 4, 0));
    ASSERT_TRUE(lib_resampler_t::deal_polyphase_resampling(tone, b, 3, 2, 0));
    EXPECT_EQ(a, b);
}

TEST(PolyphaseResampling, HandlesShortInputsAndRefusesImpossibleFactors)
{
    complex_array out(3);
    EXPECT_TRUE(lib_resampler_t::deal_polyphase_resampling({}, out, 2, 1, 0));
    EXPECT_TRUE(out.empty());
    EXPECT_TRUE(lib_resampler_t::deal_polyphase_resampling({ { 1.0f, 0.0f } }, out, 3, 1, 0));
    EXPECT_EQ(out.size(), 3u);
    EXPECT_NEAR(out[0].real(), 1.0f, 0.05f);
    EXPECT_TRUE(lib_resampler_t::deal_polyphase_resampling({ { 1.0f, 0.0f }, { 0.5f, 0.0f } }, out, 1, 5, 0));
    EXPECT_EQ(out.size(), 1u);
    const complex_array data(4, { 1.0f, 0.0f });
    EXPECT_FALSE(lib_resampler_t::deal_polyphase_resampling(data, out, 0, 1, 0));
    EXPECT_TRUE(out.empty());
    EXPECT_FALSE(lib_resampler_t::deal_polyphase_resampling(data, out, 1, 0, 0));
    EXPECT_FALSE(lib_resampler_t::deal_polyphase_resampling(data, out, (std::uint64_t(1) << 40) + 1, 3, 0));
    EXPECT_TRUE(out.empty());
}
