#include "analysis_runner.h"

#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <numbers>
#include <string>
#include <vector>

using namespace dma_test;
using namespace vrim::dma_demod_lib;

namespace
{
constexpr double symbol_rate = 1.0e6;
constexpr std::uint32_t interval = 1024;
constexpr std::uint32_t run_in_symbols = 228;
constexpr double roll_offs[] = { 0.2, 0.35, 0.5 };
// Symbols of the record among which the first measured one is looked for: half of the run-in stands before it.
constexpr std::int32_t first_lag = 100;
constexpr std::int32_t last_lag = 130;

/// Offset QPSK of 8 samples a symbol; phase, timing and data differ from seed to seed.
signal_setting_t make_signal_setting(signal_pulse_t pulse, double shape, std::uint64_t seed)
{
    signal_setting_t setting;
    setting.format = signal_format_t::oqpsk;
    setting.pulse = pulse;
    setting.shape = shape;
    setting.half_span_symbols = 64;
    setting.symbol_rate = symbol_rate;
    setting.sample_rate = 8.0 * symbol_rate;
    setting.symbol_count = interval + run_in_symbols + 20;
    setting.seed = seed;
    setting.carrier_offset_hz = 1234.5;
    setting.carrier_phase = 0.4 + 0.77 * static_cast<double>(seed);
    setting.timing_symbols = std::fmod(0.13 + 0.21 * static_cast<double>(seed), 1.0);
    return setting;
}

analysis_setting_t make_analysis(const signal_setting_t& signal)
{
    analysis_setting_t setting;
    setting.format = signal.format;
    setting.sample_rate = signal.sample_rate;
    setting.alpha = signal.shape;
    setting.meas_interval = interval;
    setting.normalization = LIB_DMA_EVM_NORMALIZE_CONSTELLATION_MAX;
    if (signal.pulse == signal_pulse_t::gaussian)
    {
        setting.alpha = 0.5;
        setting.beta = signal.shape;
        setting.meas_filter = LIB_DMA_MEAS_NONE_FILTER;
        setting.ref_filter = LIB_DMA_REF_GAUSSIAN_FILTER;
    }
    return setting;
}

struct oqpsk_run_t
{
    oqpsk_run_t(const signal_setting_t& signal_setting, const analysis_setting_t& analysis)
        : signal(make_signal(signal_setting)), result(analyse(signal.samples, analysis))
    {
    }

    std::size_t count_wrong() const
    {
        return match_decoded(signal_format_t::oqpsk, result.decoded, signal.symbols, first_lag, last_lag).differing;
    }
    double get_evm() const { return static_cast<double>(result.summary.evm_rms); }
    double get_frequency() const { return static_cast<double>(result.table.frequency_error); }

    signal_t signal;
    analysis_result_t result;
};
} // namespace

TEST(OqpskAccuracy, MeasuresCleanSignals)
{
    for (const double roll_off : roll_offs)
    {
        for (std::uint64_t seed = 1; seed <= 4; ++seed)
        {
            const signal_setting_t setting = make_signal_setting(signal_pulse_t::root_raised_cosine, roll_off, seed);
            analysis_setting_t analysis = make_analysis(setting);
            analysis.aligned_iq = seed % 2 == 0;
            const oqpsk_run_t run(setting, analysis);
            SCOPED_TRACE(testing::Message() << "roll-off " << roll_off << ", seed " << seed);
            ASSERT_EQ(run.result.code, LIB_DMA_RESULT_OK);
            ASSERT_EQ(run.result.decoded.size(), interval);
            EXPECT_EQ(run.count_wrong(), 0u);
            EXPECT_LE(run.get_evm(), 0.4);
            EXPECT_NEAR(run.get_frequency(), setting.carrier_offset_hz, 2e-5 * symbol_rate);
        }
    }
}

TEST(OqpskAccuracy, ReadsNoiseAsTheErrorVectorThatItIs)
{
    for (const double roll_off : roll_offs)
    {
        for (std::uint64_t seed = 1; seed <= 4; ++seed)
        {
            signal_setting_t setting = make_signal_setting(signal_pulse_t::root_raised_cosine, roll_off, seed);
            setting.snr_db = 30.0;
            analysis_setting_t analysis = make_analysis(setting);
            analysis.aligned_iq = seed % 2 == 0;
            const oqpsk_run_t largest(setting, analysis);
            SCOPED_TRACE(testing::Message() << "roll-off " << roll_off << ", seed " << seed);
            EXPECT_EQ(largest.count_wrong(), 0u);
            EXPECT_GE(largest.get_evm(), 1.8);
            EXPECT_LE(largest.get_evm(), 2.8);
            EXPECT_NEAR(largest.get_frequency(), setting.carrier_offset_hz, 2e-5 * symbol_rate);

            // Between the symbols of a rail its power is less by half the roll-off.
            analysis.normalization = LIB_DMA_EVM_NORMALIZE_RMS;
            const double predicted = 100.0 * std::pow(10.0, -30.0 / 20.0) / std::sqrt(1.0 - roll_off / 4.0);
            const oqpsk_run_t rms(setting, analysis);
            // Four standard deviations of the rms of 1,024 errors are 9 %.
            EXPECT_NEAR(rms.get_evm(), predicted, 0.09 * predicted);
        }
    }
}

TEST(OqpskAccuracy, TakesNoWrongDecisionAt20Db)
{
    for (const double roll_off : roll_offs)
    {
        for (std::uint64_t seed = 11; seed <= 13; ++seed)
        {
            signal_setting_t setting = make_signal_setting(signal_pulse_t::root_raised_cosine, roll_off, seed);
            setting.snr_db = 20.0;
            EXPECT_EQ(oqpsk_run_t(setting, make_analysis(setting)).count_wrong(), 0u) << roll_off << " " << seed;
        }
    }
}

TEST(OqpskAccuracy, KeepsItsClockThroughNoise)
{
    // Captures in which single windows of the clock estimate lose their line: followed from window to window it came out of
    // them with half of the symbols wrong.
    constexpr double roll_off = 0.22;
    for (const std::uint64_t seed : { 4u, 14u })
    {
        signal_setting_t setting = make_signal_setting(signal_pulse_t::root_raised_cosine, roll_off, seed);
        setting.half_span_symbols = 40;
        setting.carrier_phase = 0.4 + 0.7 * static_cast<double>(seed);
        setting.symbol_count = interval + 248;
        setting.snr_db = 10.0;
        // 2 Q(sqrt(10)) of 1,024 symbols are 1.6; more than 8 come once in 10,000 captures.
        EXPECT_LE(oqpsk_run_t(setting, make_analysis(setting)).count_wrong(), 8u) << seed;
    }
}

TEST(OqpskAccuracy, ReadsGaussianPulsesWithoutAMeasurementFilter)
{
    for (std::uint64_t seed = 1; seed <= 4; ++seed)
    {
        signal_setting_t setting = make_signal_setting(signal_pulse_t::gaussian, 0.5, seed);
        const oqpsk_run_t clean(setting, make_analysis(setting));
        EXPECT_EQ(clean.count_wrong(), 0u) << seed;
        EXPECT_LE(clean.get_evm(), 0.4) << seed;
        EXPECT_NEAR(clean.get_frequency(), setting.carrier_offset_hz, 2e-5 * symbol_rate);
        setting.snr_db = 30.0;
        const oqpsk_run_t noisy(setting, make_analysis(setting));
        EXPECT_EQ(noisy.count_wrong(), 0u) << seed;
        EXPECT_GE(noisy.get_evm(), 6.5) << seed;
        EXPECT_LE(noisy.get_evm(), 8.0) << seed;
    }
}

TEST(OqpskAccuracy, FindsTheCarrierUpToTheSymbolRate)
{
    // At 8 working samples a symbol the fourth power repeats every two symbol rates.
    for (const double offset : { -0.95, -0.5, 0.11, 0.95 })
    {
        for (const double roll_off : { 0.2, 0.5 })
        {
            signal_setting_t setting = make_signal_setting(signal_pulse_t::root_raised_cosine, roll_off, 3);
            setting.carrier_offset_hz = offset * symbol_rate;
            const oqpsk_run_t run(setting, make_analysis(setting));
            SCOPED_TRACE(testing::Message() << "offset " << offset << ", roll-off " << roll_off);
            ASSERT_EQ(run.result.code, LIB_DMA_RESULT_OK);
            EXPECT_EQ(run.count_wrong(), 0u);
            EXPECT_LE(run.get_evm(), 0.4);
            EXPECT_NEAR(run.get_frequency(), setting.carrier_offset_hz, 2e-5 * symbol_rate);
        }
    }
    signal_setting_t setting = make_signal_setting(signal_pulse_t::root_raised_cosine, 0.35, 3);
    setting.carrier_offset_hz = symbol_rate;
    EXPECT_EQ(oqpsk_run_t(setting, make_analysis(setting)).result.code, LIB_DMA_RESULT_DEMODULATOR_FAILED);
}

TEST(OqpskAccuracy, HalfSinesKeepTheirSymbolsAndPayForTheirKinks)
{
    // A capture on the sample grid pays for the half sample of the filter in front, one beside it for its own sampling too.
    struct row_t
    {
        double timing;
        double highest;
    };
    for (const row_t row : { row_t{ 0.25, 2.0 }, row_t{ 0.25 + 1.0 / 32.0, 7.5 }, row_t{ 0.25 + 1.0 / 16.0, 9.5 } })
    {
        signal_setting_t setting = make_signal_setting(signal_pulse_t::half_sine, 0.35, 2);
        setting.timing_symbols = row.timing;
        analysis_setting_t analysis = make_analysis(setting);
        analysis.meas_filter = LIB_DMA_MEAS_NONE_FILTER;
        analysis.ref_filter = LIB_DMA_REF_HALF_SINE_FILTER;
        analysis.normalization = LIB_DMA_EVM_NORMALIZE_RMS;
        const oqpsk_run_t run(setting, analysis);
        EXPECT_EQ(run.count_wrong(), 0u) << row.timing;
        EXPECT_NEAR(run.get_frequency(), setting.carrier_offset_hz, 1e-5 * symbol_rate) << row.timing;
        EXPECT_LE(run.get_evm(), row.highest) << row.timing;
    }
}

TEST(OqpskAccuracy, FindsASyncWordAtEveryPhase)
{
    const std::string word = "0111001011010001101110000101";
    for (int eighth = 0; eighth < 8; ++eighth)
    {
        signal_setting_t setting = make_signal_setting(signal_pulse_t::root_raised_cosine, 0.35, 5);
        setting.symbol_count = 1500;
        setting.snr_db = 20.0;
        setting.carrier_phase = 0.3 + eighth * std::numbers::pi / 4.0;
        setting.timing_symbols = eighth % 2 == 0 ? 0.1 : 0.6;
        setting.sync_position = 300;
        for (std::size_t i = 0; i < word.size(); i += 2)
            setting.sync_symbols.push_back(static_cast<std::uint32_t>((word[i] - '0') * 2 + (word[i + 1] - '0')));
        analysis_setting_t analysis = make_analysis(setting);
        analysis.sync_bits = word;
        analysis.search_length = 0.0014;
        analysis.meas_interval = 500;
        const oqpsk_run_t run(setting, analysis);
        EXPECT_TRUE(run.result.sync_found) << eighth;
        const std::vector<std::uint32_t> sent(run.signal.symbols.begin() + 300, run.signal.symbols.begin() + 800);
        EXPECT_EQ(run.result.decoded, sent) << eighth;
    }
}
