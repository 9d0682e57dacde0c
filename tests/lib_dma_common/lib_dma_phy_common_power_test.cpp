#include "lib_dma_common/lib_dma_phy_common.h"

#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

namespace
{
using namespace vrim::dma_demod_lib;

complex_array make_tone(std::size_t count, double cycles_per_sample, double amplitude)
{
    complex_array tone(count);
    for (std::size_t n = 0; n < count; ++n)
    {
        const double angle = 2.0 * std::numbers::pi * cycles_per_sample * static_cast<double>(n);
        tone[n] = { static_cast<float>(amplitude * std::cos(angle)), static_cast<float>(amplitude * std::sin(angle)) };
    }
    return tone;
}

/// Watts of an amplitude across a load, in dBm.
double cal_dbm(double amplitude, double load)
{
    return 10.0 * std::log10(amplitude * amplitude / load * 1000.0);
}

TEST(ChannelPower, OfAToneInsideTheBandIsItsPower)
{
    for (const std::size_t count : { std::size_t(1000), std::size_t(4096), std::size_t(5009) })
    {
        const complex_array tone = make_tone(count, 0.05, 0.7);
        // 0.01 dB: the band holds all of the window's main lobe.
        EXPECT_NEAR(static_cast<double>(lib_dma_phy_common_t::channel_power(tone, 100, 4.0e6f, 2.0e6f, false)), cal_dbm(0.7, 100.0),
                    0.01)
            << count;
    }
}

TEST(ChannelPower, OfAToneOutsideTheBandIsFarBelow)
{
    const complex_array tone = make_tone(4096, 0.4, 1.0);
    EXPECT_LT(lib_dma_phy_common_t::channel_power(tone, 100, 4.0e6f, 1.0e6f, false), -60.0f);
}

TEST(ChannelPower, OfTheWholeBandAgreesWithTheTransform)
{
    // One hertz less than the rate leaves out no more than the lowest bin and takes the other way of summing.
    const complex_array tone = make_tone(3000, 0.11, 0.5);
    const float whole = lib_dma_phy_common_t::channel_power(tone, 50, 4.0e6f, 4.0e6f, false);
    const float nearly = lib_dma_phy_common_t::channel_power(tone, 50, 4.0e6f, 3.9999e6f, false);
    EXPECT_NEAR(static_cast<double>(whole), cal_dbm(0.5, 50.0), 0.01);
    EXPECT_NEAR(static_cast<double>(whole), static_cast<double>(nearly), 0.01);
}

TEST(ChannelPower, OfABandWiderThanTheRateScalesTheMeanDensity)
{
    const complex_array tone = make_tone(3000, 0.11, 0.5);
    const float once = lib_dma_phy_common_t::channel_power(tone, 100, 4.0e6f, 4.0e6f, false);
    const float twice = lib_dma_phy_common_t::channel_power(tone, 100, 4.0e6f, 8.0e6f, false);
    EXPECT_NEAR(static_cast<double>(twice - once), 10.0 * std::log10(2.0), 1e-4);
}

TEST(ChannelPower, OfPeakValuesIsHalf)
{
    const complex_array tone = make_tone(2000, 0.1, 1.0);
    const float full = lib_dma_phy_common_t::channel_power(tone, 100, 4.0e6f, 2.0e6f, false);
    const float half = lib_dma_phy_common_t::channel_power(tone, 100, 4.0e6f, 2.0e6f, true);
    EXPECT_NEAR(static_cast<double>(full - half), 10.0 * std::log10(2.0), 1e-4);
}

TEST(ChannelPower, OfSilenceIsTheFloor)
{
    const complex_array silence(500, { 0.0f, 0.0f });
    EXPECT_NEAR(static_cast<double>(lib_dma_phy_common_t::channel_power(silence, 100, 4.0e6f, 2.0e6f, false)), -90.0, 1e-4);
    EXPECT_NEAR(static_cast<double>(lib_dma_phy_common_t::channel_power(silence, 100, 4.0e6f, 8.0e6f, false)), -90.0, 1e-4);
}

TEST(ChannelPower, OfNothingIsNotANumber)
{
    EXPECT_TRUE(std::isnan(lib_dma_phy_common_t::channel_power({}, 100, 4.0e6f, 2.0e6f, false)));
}

TEST(ChannelPower, WithoutABinInsideIsNotANumber)
{
    // The only bin around which a band of negative width could lie is excluded.
    EXPECT_TRUE(std::isnan(lib_dma_phy_common_t::channel_power(make_tone(64, 0.1, 1.0), 100, 4.0e6f, -1.0f, false)));
}
} // namespace
