#include "lib_dma_demod/lib_dma_msk_demod.h"

#include "message_capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <random>
#include <string>
#include <vector>

using namespace vrim;
using namespace vrim::dma_demod_lib;

namespace
{
constexpr double pi = std::numbers::pi;

float_array make_bits(std::size_t count, unsigned seed)
{
    std::mt19937 random(seed);
    float_array bits(count);
    for (float& bit : bits)
        bit = static_cast<float>(random() & 1u);
    return bits;
}

/// MSK in double: a quarter turn a bit, bit k in the middle of time k, `phase` there for bit 0. Sample n stands at time
/// n / sps + shift; times before the first and behind the last bit go on with the bit at that end.
complex_array make_msk(const float_array& bits, std::uint32_t sps, double phase, double shift = 0.0, double turns_per_bit = 0.0)
{
    std::vector<double> borders = { phase - (2.0 * static_cast<double>(bits[0]) - 1.0) * pi / 4.0 };
    for (const float bit : bits)
        borders.push_back(borders.back() + (2.0 * static_cast<double>(bit) - 1.0) * pi / 2.0);
    complex_array samples;
    for (std::size_t n = 0; n < bits.size() * sps; ++n)
    {
        const double time = static_cast<double>(n) / sps + shift;
        const double place = std::clamp(std::floor(time + 0.5), 0.0, static_cast<double>(bits.size() - 1));
        const std::size_t k = static_cast<std::size_t>(place);
        const double level = 2.0 * static_cast<double>(bits[k]) - 1.0;
        const double angle = borders[k] + level * (time + 0.5 - place) * pi / 2.0;
        samples.push_back(std::complex<float>(std::polar(1.0, angle + 2.0 * pi * turns_per_bit * time)));
    }
    return samples;
}

/// Error of a waveform against another in percent, without `margin` samples at either end.
double cal_evm(const complex_array& meas, const complex_array& ref, std::size_t margin)
{
    double error = 0.0;
    double power = 0.0;
    for (std::size_t n = margin; n + margin < ref.size(); ++n)
    {
        error += std::norm(std::complex<double>(meas[n]) - std::complex<double>(ref[n]));
        power += std::norm(std::complex<double>(ref[n]));
    }
    return 100.0 * std::sqrt(error / power);
}

lib_dma_msk_demod_t make_demod(complex_array samples, std::uint32_t pre_num)
{
    lib_dma_msk_demod_t demod;
    demod.setting.sps = 8;
    demod.setting.points_per_symbol = 4;
    demod.setting.pre_num = pre_num;
    demod.work.iq_data = std::move(samples);
    return demod;
}
} // namespace

TEST(MskBits, AreFoundAtEveryQuarterTurnAndRate)
{
    for (const std::uint32_t sps : { 1u, 2u, 4u, 5u, 8u, 10u })
    {
        for (const std::size_t count : { 40u, 41u })
        {
            for (unsigned seed = 1; seed <= 6; ++seed) // both first bits, so that either branch changes first
            {
                const float_array bits = make_bits(count, seed);
                for (int quarter = 0; quarter < 4; ++quarter)
                    EXPECT_EQ(lib_dma_msk_demod_t::msk_bit_demod(make_msk(bits, sps, pi / 4.0 + quarter * pi / 2.0), sps), bits)
                        << "sps " << sps << " count " << count << " seed " << seed << " quarter " << quarter;
            }
        }
    }
}

TEST(MskBits, StandInNoise)
{
    // 14 dB: half-sine integration over windows that start half a bit early errs less than once in 10^8 bits.
    const float_array bits = make_bits(2000, 3);
    std::mt19937 random(17);
    std::normal_distribution<double> noise(0.0, std::sqrt(0.5 * 8.0 * std::pow(10.0, -1.4)));
    for (int quarter = 0; quarter < 4; ++quarter)
    {
        complex_array samples = make_msk(bits, 8, pi / 4.0 + quarter * pi / 2.0);
        for (std::complex<float>& sample : samples)
            sample += std::complex<float>(static_cast<float>(noise(random)), static_cast<float>(noise(random)));
        EXPECT_EQ(lib_dma_msk_demod_t::msk_bit_demod(samples, 8), bits) << "quarter " << quarter;
    }
}

TEST(MskBits, LeaveOutAPartOfABit)
{
    const log_capture_t log;
    const float_array bits = make_bits(20, 4);
    complex_array samples = make_msk(bits, 8, pi / 4.0);
    samples.resize(19 * 8 + 7);
    EXPECT_EQ(lib_dma_msk_demod_t::msk_bit_demod(samples, 8).size(), 19u);
    EXPECT_TRUE(lib_dma_msk_demod_t::msk_bit_demod({}, 8).empty());
    EXPECT_TRUE(lib_dma_msk_demod_t::msk_bit_demod(samples, 0).empty());
    EXPECT_EQ(log.count(common_log::log_level_info, "lib_dma_msk_demod_t::msk_bit_demod start.\n"), 3);
}

TEST(MskJudge, DecidesForTheDiagonalOfTheQuadrant)
{
    for (int k = 0; k < 4; ++k)
    {
        const double centre = pi / 4.0 + k * pi / 2.0;
        for (const double off : { -0.78, -0.3, 0.0, 0.3, 0.78 })
        {
            const std::complex<float> point(std::polar(0.3, centre + off));
            const std::complex<double> decided(lib_dma_msk_demod_t::msk_judge(point, 0.0f));
            EXPECT_LE(std::abs(decided - std::polar(1.0, centre)), 1e-6) << k << " " << off;
        }
    }
}

TEST(MskTiming, PutsTheFirstSampleIntoTheMiddleOfABit)
{
    const float_array bits = make_bits(400, 5);
    for (int tenth = 0; tenth < 10; ++tenth)
    {
        lib_dma_msk_demod_t demod = make_demod(make_msk(bits, 8, pi / 4.0, 0.1 * tenth), 80);
        ASSERT_TRUE(demod.timing_recovery());
        double worst = 0.0;
        for (std::size_t n = 80; n + 160 < demod.work.timing_data.size(); n += 8)
        {
            // Four times an odd multiple of 45 degrees is half a turn.
            const std::complex<double> sample(demod.work.timing_data[n]);
            worst = std::max(worst, std::abs(std::arg(-std::pow(sample / std::abs(sample), 4))) / 4.0);
        }
        EXPECT_LT(worst, 0.02) << "a tenth of a sample is 0.02 radians; tenth " << tenth;
        EXPECT_LT(demod.setting.timing_start, 12u + 1u);
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

TEST(MskTiming, SaysWhereTheRunInDoesNotFit)
{
    const complex_array samples = make_msk(make_bits(100, 8), 8, pi / 4.0);
    const log_capture_t log;
    EXPECT_FALSE(make_demod(samples, 400).timing_recovery());
    EXPECT_EQ(log.count(common_log::log_level_error,
                        "lib_dma_msk_demod_t::timing_recovery:demod data len too short, m_pre_num = %u)!\n"),
              1);
    EXPECT_TRUE(make_demod(samples, 800).timing_recovery());
    EXPECT_EQ(log.count(common_log::log_level_info,
                        "lib_dma_msk_demod_t::timing_recovery:pre_num too long, m_pre_num = %u)!\n"),
              1);
}

TEST(MskTiming, SeesTheCarrierInTheLagProducts)
{
    lib_dma_msk_demod_t demod = make_demod(make_msk(make_bits(128, 9), 8, pi / 4.0, 0.5, 0.01), 0); // borders on samples
    ASSERT_TRUE(demod.timing_recovery());
    for (const float frequency : demod.block_frequency)
        EXPECT_NEAR(frequency, 0.01f, 1e-4f);
}

TEST(MskReference, IsTheWaveformOfTheBits)
{
    for (const int quarter : { 0, 1, 2, 3 })
    {
        const complex_array samples = make_msk(make_bits(300, 10), 8, 0.2 + pi / 4.0 + quarter * pi / 2.0);
        lib_dma_msk_demod_t demod = make_demod({}, 80);
        demod.setting.head_len = 24;
        demod.work.timing_data = samples;
        lib_dma_demod_config_mgr config;
        config.carrier_frequency_offset = 0.0;
        ASSERT_TRUE(demod.ref_data_generate(config));
        ASSERT_EQ(demod.work.ref_data.size(), 300u * 8u - 24u);
        ASSERT_EQ(demod.work.meas_data.size(), demod.work.ref_data.size());
        EXPECT_LT(cal_evm(demod.work.meas_data, demod.work.ref_data, 8), 0.01) << "quarter " << quarter;
        EXPECT_NEAR(config.carrier_frequency_offset, 0.0, 0.1);
    }
}

TEST(MskReference, ReportsAMeasurementWithoutSignal)
{
    lib_dma_msk_demod_t demod = make_demod({}, 80);
    demod.work.timing_data.assign(800, { 0.0f, 0.0f });
    lib_dma_demod_config_mgr config;
    const trace_capture_t trace;
    EXPECT_FALSE(demod.ref_data_generate(config));
    EXPECT_NE(trace.get_text().find("ref_data_generate::rms_normalize Report: Data array has a too small rms: "),
              std::string::npos);
}

TEST(MskReference, TakesQuarterTurnsOutOfTheMeasurementAndHalvesAwayFromZero)
{
    const struct
    {
        double before;
        double after;
    } turns[] = { { 0.0, 0.0 },
                  { pi / 2.0, 0.0 },
                  { -pi / 2.0, 0.0 },
                  { 0.7, 0.7 },
                  { 0.9, 0.9 - pi / 2.0 },
                  { pi / 4.0, -pi / 4.0 },
                  { -pi / 4.0, pi / 4.0 } };
    for (const auto& turn : turns)
    {
        lib_dma_msk_demod_t demod = make_demod({}, 0);
        demod.setting.meas_interval = 10;
        demod.work.ref_data.assign(80, { 1.0f, 0.0f });
        demod.work.meas_data.assign(80, std::complex<float>(std::polar(1.0, turn.before)));
        ASSERT_TRUE(demod.phase_ambiguity_cal());
        EXPECT_NEAR(std::arg(std::complex<double>(demod.work.meas_data[0])), turn.after, 1e-5) << turn.before;
        EXPECT_EQ(demod.setting.meas_interval, 40u);
        EXPECT_EQ(demod.work.meas_data.size(), 40u);
        EXPECT_EQ(demod.work.meas_symbol.size(), 10u);
    }
}
