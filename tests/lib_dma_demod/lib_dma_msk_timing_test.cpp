#include "lib_dma_demod/lib_dma_msk_demod.h"

#include "lib_dma_msk_signal.h"
#include "message_capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <string>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using namespace msk_test;

namespace
{
/// Distance in bits of sample 0, `sps`, 2 `sps` ... to the middles of their bits, of samples at `first` to the `margin`th last.
/// A bit turns by a quarter and a middle stands on a diagonal; the sign is that of the later sample.
double cal_worst_distance(const complex_array& timed, std::uint32_t sps, std::size_t first, std::size_t margin)
{
    double worst = 0.0;
    for (std::size_t n = first; n + margin < timed.size(); n += sps)
    {
        // Four times an odd multiple of 45 degrees is half a turn.
        const std::complex<double> sample(timed[n]);
        worst = std::max(worst, std::abs(std::arg(-std::pow(sample / std::abs(sample), 4))) / 4.0 / (pi / 2.0));
    }
    return worst;
}
} // namespace

TEST(MskTiming, PutsTheFirstSampleIntoTheMiddleOfABit)
{
    for (const std::uint32_t sps : { 8u, 10u })
    {
        for (int sixteenth = 0; sixteenth < 16; ++sixteenth)
        {
            const float_array bits = make_bits(1200, 5 + sixteenth);
            lib_dma_msk_demod_t demod = make_demod(make_msk(bits, sps, pi / 4.0, sixteenth / 16.0), 80);
            demod.setting.sps = sps;
            ASSERT_TRUE(demod.timing_recovery());
            EXPECT_LT(cal_worst_distance(demod.work.timing_data, sps, 2 * sps, 80), 0.004) << "sixteenth " << sixteenth;
            EXPECT_LT(demod.setting.timing_start, 3u * sps / 2u + 1u);
        }
    }
}

TEST(MskTiming, FindsTheClockUnderNoise)
{
    // Single samples stand 1 dB above the noise.
    for (unsigned seed = 1; seed <= 16; ++seed)
    {
        const double shift = seed / 16.0;
        const float_array bits = make_bits(1200, 60 + seed);
        complex_array samples = make_msk(bits, 8, pi / 4.0, shift);
        add_noise(0.8, seed, samples);
        lib_dma_msk_demod_t noisy = make_demod(samples, 80);
        ASSERT_TRUE(noisy.timing_recovery());
        lib_dma_msk_demod_t clean = make_demod(make_msk(bits, 8, pi / 4.0, shift), 80);
        ASSERT_TRUE(clean.timing_recovery());
        // Whole samples; the rest of the delay is in the filter.
        const double distance = static_cast<double>(noisy.setting.timing_start) - static_cast<double>(clean.setting.timing_start);
        EXPECT_LE(std::abs(std::remainder(distance, 8.0)), 1.0) << seed;
    }
}

TEST(MskTiming, MovesBackByTheClockAdjustment)
{
    const complex_array samples = make_msk(make_bits(400, 6), 8, pi / 4.0, 0.0);
    lib_dma_msk_demod_t plain = make_demod(samples, 0);
    lib_dma_msk_demod_t moved = make_demod(samples, 0);
    moved.setting.clock_adjust = 0.25f;
    ASSERT_TRUE(plain.timing_recovery());
    ASSERT_TRUE(moved.timing_recovery());
    const auto distance = [&](std::uint32_t start) { return (start + 16 - plain.setting.timing_start) % 8; };
    EXPECT_EQ(distance(moved.setting.timing_start), 6u); // two samples of eight
}

TEST(MskTiming, TakesOneBlockAtLeastAndItsMostAtMost)
{
    const log_capture_t log;
    const complex_array samples = make_msk(make_bits(70 * 64, 7), 8, pi / 4.0);
    lib_dma_msk_demod_t demod = make_demod(complex_array(samples.begin(), samples.begin() + 64 * 8), 0);
    EXPECT_TRUE(demod.timing_recovery());
    EXPECT_EQ(demod.block_frequency.size(), 1u);

    demod.work.iq_data.assign(samples.begin(), samples.begin() + 64 * 8 - 1);
    EXPECT_FALSE(demod.timing_recovery());
    EXPECT_EQ(log.count(common_log::log_level_error, "error: msk_timing_recovery(): too less data\n"), 1);

    demod.work.iq_data = samples;
    const trace_capture_t trace;
    EXPECT_TRUE(demod.timing_recovery());
    EXPECT_EQ(demod.block_frequency.size(), 64u);
    EXPECT_NE(trace.get_text().find("dataLen = 35840  cyc_num = 64\n"), std::string::npos);
    EXPECT_NE(trace.get_text().find("symbol_timing_recovery1 sinc_fractional_delay time: "), std::string::npos);
}

TEST(MskTiming, DoesNotSeeWhatLiesBehindItsLastBlock)
{
    // The same 64 blocks, then six with another clock.
    const float_array bits = make_bits(70 * 64, 11);
    complex_array samples = make_msk(bits, 8, pi / 4.0, 0.13);
    const complex_array later = make_msk(bits, 8, pi / 4.0, 0.55);
    lib_dma_msk_demod_t plain = make_demod(samples, 0);
    std::copy(later.begin() + 64 * 64 * 8, later.end(), samples.begin() + 64 * 64 * 8);
    lib_dma_msk_demod_t other = make_demod(samples, 0);
    ASSERT_TRUE(plain.timing_recovery());
    ASSERT_TRUE(other.timing_recovery());
    EXPECT_EQ(other.setting.timing_start, plain.setting.timing_start);
    for (std::size_t n = 0; n < 60 * 64 * 8; n += 37)
        EXPECT_LE(std::abs(other.work.timing_data[n] - plain.work.timing_data[n]), 1e-6f) << n; // the level is that of all
}

TEST(MskTiming, AveragesAClockThatRunsOverABorder)
{
    // The clock runs from 0.35 to 0.65 bits: phases beyond half a bit are those of the next border. Its mean is the half.
    constexpr std::size_t blocks = 30;
    const float_array bits = make_bits(blocks * 64 + 2, 12);
    complex_array samples;
    for (std::size_t block = 0; block < blocks; ++block)
    {
        const double shift = 0.35 + 0.3 * static_cast<double>(block) / (blocks - 1.0);
        const complex_array part = make_msk(bits, 8, pi / 4.0, shift);
        const auto first = static_cast<std::ptrdiff_t>(block * 64 * 8);
        samples.insert(samples.end(), part.begin() + first, part.begin() + first + 64 * 8);
    }
    lib_dma_msk_demod_t demod = make_demod(samples, 0);
    ASSERT_TRUE(demod.timing_recovery());
    // Block 15 of 0 to 29 stands 0.005 bits off the mean.
    const complex_array& timed = demod.work.timing_data;
    const complex_array middle(timed.begin() + 15 * 64 * 8, timed.begin() + 16 * 64 * 8);
    EXPECT_LT(cal_worst_distance(middle, 8, 80, 80), 0.015);
}

TEST(MskTiming, SaysWhereTheRunInDoesNotFit)
{
    const complex_array samples = make_msk(make_bits(100, 8), 8, pi / 4.0);
    const log_capture_t log;
    EXPECT_FALSE(make_demod(samples, 400).timing_recovery());
    EXPECT_EQ(log.count(common_log::log_level_error,
                        "lib_dma_msk_demod_t::timing_recovery:demod data len too short, m_pre_num = %u)!\n"),
              1);
    EXPECT_TRUE(make_demod(samples, 800).timing_recovery());
    EXPECT_EQ(log.count(common_log::log_level_info, "lib_dma_msk_demod_t::timing_recovery:pre_num too long, m_pre_num = %u)!\n"),
              1);
    EXPECT_EQ(log.count(common_log::log_level_info, "lib_dma_msk_demod_t::timing_recovery start.\n"), 2);
    EXPECT_EQ(log.count(common_log::log_level_info, "phase average:%.6f,bin_delay:%.6f.\n"), 1);
}

TEST(MskTiming, EndsOnRecordsWithoutATiming)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (const std::complex<float> value :
         { std::complex<float>(0.0f, 0.0f), std::complex<float>(1.0f, 0.0f), std::complex<float>(nan, nan) })
    {
        lib_dma_msk_demod_t demod = make_demod(complex_array(1000, value), 100);
        EXPECT_TRUE(demod.timing_recovery());
        EXPECT_LE(demod.setting.timing_start, 12u);
    }
    lib_dma_msk_demod_t none = make_demod({}, 100);
    EXPECT_FALSE(none.timing_recovery());
    lib_dma_msk_demod_t rateless = make_demod(complex_array(1000, { 1.0f, 0.0f }), 100);
    rateless.setting.sps = 0;
    EXPECT_FALSE(rateless.timing_recovery());
}

TEST(MskTiming, SeesTheCarrierInTheLagProducts)
{
    for (const double set : { 0.01, -0.02 })
    {
        lib_dma_msk_demod_t demod = make_demod(make_msk(make_bits(128, 9), 8, pi / 4.0, 0.5, set), 0); // borders on samples
        ASSERT_TRUE(demod.timing_recovery());
        for (const float frequency : demod.block_frequency)
            EXPECT_NEAR(static_cast<double>(frequency), set, 1e-4);
    }
}
