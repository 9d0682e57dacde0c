#include "lib_dma_demod/lib_dma_fsk_demod.h"

#include "message_capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <numbers>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

using namespace vrim;
using namespace vrim::dma_demod_lib;

namespace
{
using common_log::log_level_error;
using common_log::log_level_info;

constexpr double pi = std::numbers::pi;
constexpr lib_dma_fsk_modulation_type_t unknown_format = static_cast<lib_dma_fsk_modulation_type_t>(5);
constexpr const char* no_tones_text = "lib_dma_phy_t::generate_fsk_constellation error!\n";

const lib_dma_fsk_modulation_type_t all_formats[] = { LIB_DMA_FSK_2,  LIB_DMA_FSK_4,  LIB_DMA_FSK_8,
                                                      LIB_DMA_FSK_16, LIB_DMA_FSK_32, LIB_DMA_FSK_64 };

bool contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

/// Samples of unit amplitude whose phase is given in cycles.
complex_array make_samples(const std::vector<double>& cycles)
{
    complex_array samples;
    for (const double value : cycles)
        samples.emplace_back(std::polar(1.0, 2.0 * pi * value));
    return samples;
}

/// A demodulator with one frequency for each symbol, cycles per sample, `sps` samples each, between margins of other values.
lib_dma_fsk_demod_t make_tones(lib_dma_fsk_modulation_type_t format, const float_array& symbols, std::uint32_t sps = 4,
                               std::uint32_t margin = 0)
{
    lib_dma_fsk_demod_t demod;
    demod.fsk_format = format;
    demod.setting.sps = sps;
    demod.setting.symbol_rate = 1000;
    demod.setting.pre_num = margin;
    demod.freq_data.assign(margin, 9.0f);
    for (const float value : symbols)
    {
        demod.freq_data.push_back(value);
        demod.freq_data.insert(demod.freq_data.end(), sps - 1, 5.0f); // between the symbols nobody looks
    }
    demod.freq_data.insert(demod.freq_data.end(), margin, -9.0f);
    return demod;
}

struct tones_t
{
    explicit tones_t(lib_dma_fsk_demod_t demod)
        : result(demod.fsk_carrier_sync(symbols, carrier, deviation, max_freq, min_freq, upper, lower))
    {
    }

    float_array symbols;
    double carrier = -1.0;
    double deviation = -1.0;
    double max_freq = -1.0;
    double min_freq = -1.0;
    float_array upper;
    float_array lower;
    bool result;
};

/// A demodulator behind its carrier: normalised levels, `sps` samples a symbol, what lies between them far off.
lib_dma_fsk_demod_t make_levels(lib_dma_fsk_modulation_type_t format, const float_array& levels, std::size_t ragged = 0)
{
    lib_dma_fsk_demod_t demod;
    demod.fsk_format = format;
    demod.setting.sps = 4;
    for (const float value : levels)
    {
        demod.freq_data.push_back(value);
        demod.freq_data.insert(demod.freq_data.end(), 3, 7.0f);
    }
    demod.freq_data.insert(demod.freq_data.end(), ragged, 11.0f);
    return demod;
}
} // namespace

TEST(FskJudge, DecidesTheNearestOfEquallySpacedLevels)
{
    lib_dma_fsk_demod_t demod;
    for (const lib_dma_fsk_modulation_type_t format : all_formats)
    {
        const int tones = static_cast<int>(format);
        for (double value = -1.5; value <= 1.5; value += 0.0037)
        {
            const double step = 2.0 / (tones - 1);
            const double nearest = std::clamp(std::round((value + 1.0) / step), 0.0, tones - 1.0) * step - 1.0;
            ASSERT_NEAR(static_cast<double>(demod.fsk_judge(format, { static_cast<float>(value), 0.3f })), nearest, 1e-6)
                << tones << " tones, " << value;
        }
        EXPECT_EQ(demod.judge_map.size(), static_cast<std::size_t>(tones));
    }
}

TEST(FskJudge, HasTheLevelsOfFourTonesAtThirds)
{
    lib_dma_fsk_demod_t demod;
    EXPECT_FLOAT_EQ(demod.fsk_judge(LIB_DMA_FSK_4, { -0.9f, 0.0f }), -1.0f);
    EXPECT_FLOAT_EQ(demod.fsk_judge(LIB_DMA_FSK_4, { -0.2f, 0.0f }), -1.0f / 3.0f);
    EXPECT_FLOAT_EQ(demod.fsk_judge(LIB_DMA_FSK_4, { 0.2f, 0.0f }), 1.0f / 3.0f);
    EXPECT_FLOAT_EQ(demod.fsk_judge(LIB_DMA_FSK_4, { 0.9f, 0.0f }), 1.0f);
}

TEST(FskJudge, SaysThatAFormatHasNoTones)
{
    lib_dma_fsk_demod_t demod;
    const log_capture_t log;
    for (const std::uint32_t number : { 0u, 1u, 3u, 5u, 128u, 0x80000000u, 0xFFFFFFFFu })
        EXPECT_EQ(demod.fsk_judge(static_cast<lib_dma_fsk_modulation_type_t>(number), { 1.0f, 0.0f }), 0.0f);
    EXPECT_EQ(log.count(log_level_error, no_tones_text), 7);
    EXPECT_TRUE(demod.judge_map.empty());
    EXPECT_EQ(demod.fsk_judge(LIB_DMA_FSK_2, { 0.4f, 0.0f }), 1.0f);
}

TEST(FskStd, IsThatOfTheWholePopulation)
{
    EXPECT_DOUBLE_EQ(lib_dma_fsk_demod_t::get_fsk_std({ 2.0f, 4.0f, 4.0f, 4.0f, 5.0f, 5.0f, 7.0f, 9.0f }), 2.0);
    EXPECT_DOUBLE_EQ(lib_dma_fsk_demod_t::get_fsk_std({ 3.0f }), 0.0);
    // In single precision the mean of these would be 1e6 and the spread lost.
    EXPECT_NEAR(lib_dma_fsk_demod_t::get_fsk_std({ 1e6f, 1e6f + 0.0625f }), 0.03125, 1e-9);
    EXPECT_THROW(lib_dma_fsk_demod_t::get_fsk_std({}), std::out_of_range);
}

TEST(FskMeasFilter, TakesTheStepsOfThePhase)
{
    lib_dma_fsk_demod_t demod;
    demod.work.iq_data = make_samples({ 0.2, 0.3, 0.25, 0.7, 0.9, 1.3, 0.95 });
    for (std::complex<float>& sample : demod.work.iq_data)
        sample *= 37.0f; // the amplitude has no say
    ASSERT_TRUE(demod.meas_filter_process());
    // One entry less than samples; entry 0 is the phase itself.
    const double expected[] = { 0.2, 0.1, -0.05, 0.45, 0.2, 0.4 };
    ASSERT_EQ(demod.work.iq_data.size(), 6u);
    for (std::size_t i = 0; i < 6; ++i)
    {
        EXPECT_NEAR(static_cast<double>(demod.work.iq_data[i].real()), expected[i], 3e-7) << i;
        EXPECT_EQ(demod.work.iq_data[i].imag(), 0.0f) << i;
    }
}

TEST(FskMeasFilter, TakesShortRecords)
{
    lib_dma_fsk_demod_t demod;
    for (const std::size_t count : { 0u, 1u, 2u })
    {
        demod.work.iq_data = complex_array(count, { 0.0f, 1.0f });
        EXPECT_TRUE(demod.meas_filter_process());
        ASSERT_EQ(demod.work.iq_data.size(), count < 2 ? 0 : count - 1);
    }
    EXPECT_FLOAT_EQ(demod.work.iq_data[0].real(), 0.25f);
}

TEST(FskMeasFilter, FiltersTheTrajectoryAndNotTheSamples)
{
    // A boxcar over the samples would lower this tone's amplitude and keep its frequency; over the trajectory it smooths.
    lib_dma_fsk_demod_t demod;
    demod.setting.meas_filter_type = LIB_DMA_MEAS_RECTANGULAR_FILTER;
    demod.setting.filter_length = 2;
    demod.setting.sps = 4;
    std::vector<double> cycles = { 0.0 };
    for (int i = 1; i < 64; ++i)
        cycles.push_back(cycles.back() + (i % 4 == 0 ? 0.4 : 0.0));
    demod.work.iq_data = make_samples(cycles);
    ASSERT_TRUE(demod.meas_filter_process());
    ASSERT_EQ(demod.work.iq_data.size(), 63u);
    for (std::size_t i = 16; i < 48; ++i)
        EXPECT_NEAR(static_cast<double>(demod.work.iq_data[i].real()), 0.1, 1e-5) << i;
}

TEST(FskMeasFilter, NamesAnUnknownFilter)
{
    lib_dma_fsk_demod_t demod;
    const log_capture_t log;
    demod.setting.meas_filter_type = static_cast<lib_dma_meas_filter_type_t>(8);
    demod.work.iq_data = complex_array(50, { 1.0f, 0.0f });
    demod.meas_filter_process();
    EXPECT_EQ(log.count(log_level_error, "error!undefined filter type\n"), 1);
}

TEST(FskCarrierSync, MeasuresBalancedTones)
{
    const log_capture_t log;
    // Carrier 0.01, deviation 0.002; 4 samples a symbol at 1 kHz.
    const tones_t tones(make_tones(LIB_DMA_FSK_2, { 0.012f, 0.008f, 0.008f, 0.012f }));
    EXPECT_TRUE(tones.result);
    EXPECT_NEAR(tones.carrier, 40.0, 1e-4);
    EXPECT_NEAR(tones.deviation, 8.0, 1e-5);
    EXPECT_NEAR(tones.max_freq, 48.0, 1e-4);
    EXPECT_NEAR(tones.min_freq, 32.0, 1e-4);
    EXPECT_EQ(tones.symbols, (float_array{ 0.012f, 0.008f, 0.008f, 0.012f }));
    EXPECT_EQ(log.count(log_level_info, "lib_dma_fsk_demod_t::fsk_carrier_sync start.\n"), 1);
}

TEST(FskCarrierSync, MovesTheCarrierTowardsTheMoreFrequentTone)
{
    // Three at +0.004 and one at -0.004: mean 0.002, spread 0.004 * sqrt(1 - 0.25).
    const tones_t tones(make_tones(LIB_DMA_FSK_2, { 0.004f, 0.004f, -0.004f, 0.004f }));
    EXPECT_NEAR(tones.carrier, 8.0, 1e-4);
    EXPECT_NEAR(tones.deviation, 16.0 * std::sqrt(0.75), 1e-4);
}

TEST(FskCarrierSync, CountsTheOuterTonesOnly)
{
    // Levels of 4 tones at -3, -1, 1, 3; inner ones far from balanced. Thresholds at +/-2.
    const tones_t tones(make_tones(LIB_DMA_FSK_4, { 1.0f, 3.0f, 1.5f, -3.0f, 1.9f, -1.9f, 2.5f, -2.5f }));
    EXPECT_EQ(tones.upper, (float_array{ 2.5f, 3.0f }));
    EXPECT_EQ(tones.lower, (float_array{ -3.0f, -2.5f, 2.5f, 3.0f })); // no shorter than the other: the other joins it
    EXPECT_NEAR(tones.carrier, 0.0, 1e-3);
    EXPECT_NEAR(tones.deviation, 4000.0 * std::sqrt((9.0 + 6.25) / 2.0), 0.1);
}

TEST(FskCarrierSync, GivesEachToneInRisingOrder)
{
    std::mt19937 generator(77);
    std::normal_distribution<float> spread(0.0f, 1e-3f);
    float_array symbols;
    for (int i = 0; i < 5001; ++i)
        symbols.push_back((i % 2 == 0 ? 0.02f : -0.03f) + spread(generator));
    symbols[7] = -0.03f - 1e-20f;
    symbols[9] = symbols[11];
    float_array expected = symbols;
    std::sort(expected.begin(), expected.end());
    const tones_t tones(make_tones(LIB_DMA_FSK_2, symbols, 2));
    // 2,501 upper and 2,500 lower symbols: the latter come behind the former.
    ASSERT_EQ(tones.upper.size(), 5001u);
    EXPECT_TRUE(std::equal(expected.begin() + 2500, expected.end(), tones.upper.begin()));
    EXPECT_TRUE(std::equal(expected.begin(), expected.begin() + 2500, tones.upper.begin() + 2501));
    EXPECT_TRUE(std::equal(expected.begin(), expected.begin() + 2500, tones.lower.begin(), tones.lower.end()));
}

TEST(FskCarrierSync, LeavesOutWhatLiesOnAThreshold)
{
    // Of two tones both thresholds are the middle, here exactly 0.
    const tones_t tones(make_tones(LIB_DMA_FSK_2, { 0.5f, 0.0f, -0.5f, 0.0f, 0.25f }));
    EXPECT_EQ(tones.lower, (float_array{ -0.5f }));
    EXPECT_EQ(tones.upper, (float_array{ 0.25f, 0.5f, -0.5f })); // the longer list, the other behind it
    EXPECT_NEAR(tones.carrier, 4000.0 * 0.25 / 3.0, 1e-2);
}

TEST(FskCarrierSync, LetsAnOutlierMoveTheThresholds)
{
    // Without the 9 both upper values would count.
    const tones_t tones(make_tones(LIB_DMA_FSK_4, { -3.0f, 3.0f, 3.0f, 9.0f, -3.0f }));
    EXPECT_EQ(tones.upper, (float_array{ 9.0f }));
}

TEST(FskCarrierSync, LeavesTheMarginsOut)
{
    for (const std::uint32_t margin : { 4u, 7u, 8u })
    {
        const tones_t tones(make_tones(LIB_DMA_FSK_2, { 0.1f, -0.1f }, 4, margin));
        EXPECT_EQ(tones.symbols, (float_array{ 0.1f, -0.1f })) << margin;
        EXPECT_NEAR(tones.max_freq, 400.0, 1e-3) << margin;
    }
}

TEST(FskCarrierSync, TakesWhatThereIsWhenTheMarginsOverlap)
{
    lib_dma_fsk_demod_t demod = make_tones(LIB_DMA_FSK_2, { 1.0f, 2.0f, 3.0f, 4.0f });
    demod.setting.pre_num = 12; // 16 samples: all behind the first margin
    float_array symbols;
    float_array upper;
    float_array lower;
    double figure = 0.0;
    EXPECT_THROW(demod.fsk_carrier_sync(symbols, figure, figure, figure, figure, upper, lower), std::out_of_range);
    EXPECT_EQ(symbols, (float_array{ 4.0f }));
    for (const std::uint32_t margin : { 16u, 17u, 0xFFFFFFFFu }) // all of it
    {
        demod.setting.pre_num = margin;
        const tones_t tones(demod);
        EXPECT_EQ(tones.symbols, (float_array{ 1.0f, 2.0f, 3.0f, 4.0f })) << margin;
    }
    demod.setting.pre_num = 8; // nothing in between
    const trace_capture_t trace;
    EXPECT_THROW(demod.fsk_carrier_sync(symbols, figure, figure, figure, figure, upper, lower), std::out_of_range);
}

TEST(FskCarrierSync, ThrowsWhereNoSymbolStandsOut)
{
    const trace_capture_t trace;
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    EXPECT_THROW(tones_t(make_tones(LIB_DMA_FSK_2, { 0.1f, 0.1f, 0.1f })), std::out_of_range);
    EXPECT_THROW(tones_t(make_tones(LIB_DMA_FSK_8, { 0.1f })), std::out_of_range);
    EXPECT_THROW(tones_t(make_tones(LIB_DMA_FSK_2, {})), std::out_of_range);
    EXPECT_THROW(tones_t(make_tones(LIB_DMA_FSK_2, { 0.1f, nan, -0.1f })), std::out_of_range);
    EXPECT_THROW(tones_t(make_tones(LIB_DMA_FSK_2, { nan, nan })), std::out_of_range);
    EXPECT_THROW(tones_t(make_tones(LIB_DMA_FSK_2, { 0.1f, infinity, -0.1f })), std::out_of_range);
}

TEST(FskCarrierSync, TakesAnyFormatNumber)
{
    const auto find = [](std::uint32_t number)
    { return tones_t(make_tones(static_cast<lib_dma_fsk_modulation_type_t>(number), { 0.1f, -0.1f, 0.0f })); };
    EXPECT_EQ(find(1).upper.size(), 3u); // a step without end
    EXPECT_EQ(find(3).lower.size(), 2u);
    EXPECT_EQ(find(0x7FFFFFFFu).lower.size(), 2u); // the two outermost values
    for (const std::uint32_t negative : { 0u, 0x80000000u, 0xFFFFFFFFu })
        EXPECT_THROW(find(negative), std::out_of_range) << negative;
}

TEST(FskSymbolDetect, DecidesAtTheLevelOfTheWholeSet)
{
    // 0.4 of the right levels: the rms of -1, -1/3, 1/3, 1 brings them back.
    const log_capture_t log;
    lib_dma_fsk_demod_t demod =
        make_levels(LIB_DMA_FSK_4, { -0.4f, -0.4f / 3.0f, 0.4f / 3.0f, 0.4f, 0.41f, 0.12f, -0.14f, -0.39f }, 3);
    EXPECT_TRUE(demod.symbol_detect());
    const float third = 1.0f / 3.0f;
    const float_array expected = { -1.0f, -third, third, 1.0f, 1.0f, third, -third, -1.0f };
    ASSERT_EQ(demod.decided_level.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i)
        EXPECT_FLOAT_EQ(demod.decided_level[i], expected[i]) << i;
    // Whole symbols, and the trajectory at its own level.
    ASSERT_EQ(demod.work.meas_data.size(), 32u);
    EXPECT_EQ(demod.work.meas_data[0], std::complex<float>(-0.4f, 0.0f));
    EXPECT_EQ(demod.work.meas_data[31], std::complex<float>(7.0f, 0.0f));
    EXPECT_EQ(log.count(log_level_info, "lib_dma_fsk_demod_t::symbol_detect start.\n"), 1);
}

TEST(FskSymbolDetect, ForgetsTheSymbolsBefore)
{
    lib_dma_fsk_demod_t demod = make_levels(LIB_DMA_FSK_2, { -1.0f, 1.0f });
    demod.decided_level = { 0.5f, 0.5f, 0.5f };
    EXPECT_TRUE(demod.symbol_detect());
    EXPECT_EQ(demod.decided_level, (float_array{ -1.0f, 1.0f }));
}

TEST(FskSymbolDetect, FailsOnSymbolsWithoutLevel)
{
    for (const float level : { 0.0f, 0.9e-12f, std::numeric_limits<float>::quiet_NaN() })
    {
        lib_dma_fsk_demod_t demod = make_levels(LIB_DMA_FSK_2, { level, -level });
        const trace_capture_t trace;
        EXPECT_FALSE(demod.symbol_detect()) << level;
        EXPECT_TRUE(contains(trace.get_text(), "symbol_detect::rms_normalize Report: Data array has a too small rms: ")) << level;
    }
    lib_dma_fsk_demod_t audible = make_levels(LIB_DMA_FSK_2, { 1.1e-12f, -1.1e-12f });
    EXPECT_TRUE(audible.symbol_detect());
    lib_dma_fsk_demod_t empty = make_levels(LIB_DMA_FSK_2, {});
    const trace_capture_t trace;
    EXPECT_FALSE(empty.symbol_detect());
}

TEST(FskSymbolDetect, DecidesOnNothingForAnUnknownFormat)
{
    const log_capture_t log;
    lib_dma_fsk_demod_t demod = make_levels(unknown_format, { -1.0f, 1.0f });
    EXPECT_TRUE(demod.symbol_detect());
    EXPECT_EQ(demod.decided_level, (float_array{ 0.0f, 0.0f }));
    EXPECT_GE(log.count(log_level_error, no_tones_text), 1);
}

namespace
{
/// A demodulator before its reference: 60 symbols of alternating and repeated levels, 8 samples each.
lib_dma_fsk_demod_t make_decided(lib_dma_ref_filter_type_t type)
{
    lib_dma_fsk_demod_t demod;
    demod.setting.sps = 8;
    demod.setting.points_per_symbol = 4;
    demod.setting.pre_num = 16;
    demod.setting.head_len = 24;
    demod.setting.meas_interval = 20;
    demod.setting.filter_length = 16;
    demod.setting.filter_alpha = 0.5f;
    demod.setting.ref_filter_type = type;
    for (int i = 0; i < 60; ++i)
        demod.decided_level.push_back(i % 7 < 2 || i % 5 == 0 ? 1.0f : -1.0f);
    demod.work.meas_data.assign(480, { 0.02f, 0.0f });
    for (std::size_t i = 0; i < 480; i += 8)
        demod.work.meas_data[i] = { 3.0f * demod.decided_level[i / 8], 0.0f };
    return demod;
}

double raised_cosine(double t, double roll_off)
{
    if (t == 0.0)
        return 1.0;
    const double root = 2.0 * roll_off * t;
    if (std::abs(std::abs(root) - 1.0) < 1e-9)
        return pi / 4.0 * std::sin(pi * t) / (pi * t);
    return std::sin(pi * t) / (pi * t) * std::cos(pi * roll_off * t) / (1.0 - root * root);
}

/// A held symbol behind a Gaussian filter.
double gaussian_symbol(double t, double bandwidth_time)
{
    const double a = pi * std::sqrt(2.0 / std::log(2.0)) * bandwidth_time;
    return 0.5 * (std::erf(a * (t + 0.5)) - std::erf(a * (t - 0.5)));
}

/// Largest difference of the reference at 4 points a symbol, whose entry 0 is symbol 2, from pulses at the decided levels.
template <typename pulse_t>
double cal_reference_error(const lib_dma_fsk_demod_t& demod, pulse_t&& pulse)
{
    double largest = 0.0;
    for (std::size_t i = 60; i < 160; ++i) // inside: the record's ends have no neighbours
    {
        double value = 0.0;
        for (std::size_t k = 0; k < demod.decided_level.size(); ++k)
            value += static_cast<double>(demod.decided_level[k]) *
                     pulse(2.0 + static_cast<double>(i) / 4.0 - static_cast<double>(k));
        largest = std::max(largest, std::abs(value - static_cast<double>(demod.work.ref_data[i].real())));
    }
    return largest;
}
} // namespace

TEST(FskReference, IsTheTrajectoryOfShapedLevels)
{
    const log_capture_t log;
    lib_dma_demod_config_mgr config;
    config.carrier_frequency_offset = 77.0;
    lib_dma_fsk_demod_t demod = make_decided(LIB_DMA_REF_RAISED_COSINE_FILTER);
    ASSERT_TRUE(demod.ref_data_generate(config));
    // A symbol of the head stays: 24 - 8 samples of 480 go, and every second one.
    ASSERT_EQ(demod.work.ref_data.size(), 232u);
    ASSERT_EQ(demod.work.meas_data.size(), 232u);
    EXPECT_EQ(demod.setting.meas_interval, 80u); // points now
    EXPECT_LT(cal_reference_error(demod, [](double t) { return raised_cosine(t, 0.5); }), 2e-3);
    for (const std::complex<float>& value : demod.work.ref_data)
        EXPECT_NEAR(value.imag(), 0.0f, 1e-6f);
    EXPECT_NEAR(config.carrier_frequency_offset, 77.0, 1e-3) << "a real trajectory has no frequency of its own";
    EXPECT_EQ(log.count(log_level_info, "lib_dma_fsk_demod_t::ref_data_generate start.\n"), 1);
}

TEST(FskReference, CentresHeldGaussianSymbols)
{
    for (const float bandwidth_time : { 0.3f, 0.5f })
    {
        lib_dma_demod_config_mgr config;
        lib_dma_fsk_demod_t demod = make_decided(LIB_DMA_REF_GAUSSIAN_FILTER);
        demod.setting.filter_alpha = bandwidth_time;
        ASSERT_TRUE(demod.ref_data_generate(config));
        // Half a sample off would be 0.1 on the flanks. 0.01: the hold is one of samples, not of time.
        EXPECT_LT(cal_reference_error(demod, [=](double t) { return gaussian_symbol(t, static_cast<double>(bandwidth_time)); }),
                  0.01)
            << bandwidth_time;
    }
}

TEST(FskReference, TakesEveryFilterAndKeepsTheSymbolsInPlace)
{
    for (std::uint32_t type = 0; type <= 7; ++type)
    {
        if (type == 6) // its pulse is that of another modulation and sees several symbols
            continue;
        lib_dma_demod_config_mgr config;
        lib_dma_fsk_demod_t demod = make_decided(static_cast<lib_dma_ref_filter_type_t>(type));
        ASSERT_TRUE(demod.ref_data_generate(config)) << type;
        for (std::size_t k = 15; k < 40; ++k)
            EXPECT_GT(demod.work.ref_data[(k - 2) * 4].real() * demod.decided_level[k], 0.0f) << type << ", symbol " << k;
    }
}

TEST(FskReference, BringsTheMeasurementToItsLevel)
{
    lib_dma_demod_config_mgr config;
    lib_dma_fsk_demod_t demod = make_decided(LIB_DMA_REF_NONE_FILTER);
    demod.setting.points_per_symbol = 8;
    demod.setting.head_len = 8; // nothing is dropped then
    demod.work.meas_data.assign(480, { 0.0f, 0.0f });
    for (std::size_t i = 0; i < 480; i += 8)
        demod.work.meas_data[i] = { 0.01f * demod.decided_level[i / 8], 0.0f };
    ASSERT_TRUE(demod.ref_data_generate(config));
    ASSERT_EQ(demod.work.meas_data.size(), 480u);
    for (std::size_t i = 0; i < 480; ++i)
        EXPECT_NEAR(demod.work.meas_data[i].real(), demod.work.ref_data[i].real(), 1e-4f) << i;
}

TEST(FskReference, FailsOnASilentMeasurement)
{
    lib_dma_demod_config_mgr config;
    lib_dma_fsk_demod_t demod = make_decided(LIB_DMA_REF_RAISED_COSINE_FILTER);
    demod.work.meas_data.assign(480, { 0.0f, 0.0f });
    const trace_capture_t trace;
    EXPECT_FALSE(demod.ref_data_generate(config));
    EXPECT_TRUE(contains(trace.get_text(), "ref_data_generate::rms_normalize Report: Data array has a too small rms: "));
}
