#include "oqpsk_accuracy.h"

#include "accuracy_check.h"
#include "oqpsk_run.h"

#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <numbers>
#include <string>
#include <vector>

using namespace dma_test;
using namespace vrim::dma_demod_lib;

TEST(OqpskAccuracy, MeasuresCleanSignals)
{
    expect_bars(measure_oqpsk_clean_runs(), 3 * 3);
}

TEST(OqpskAccuracy, ReadsNoiseAsTheErrorVectorThatItIs)
{
    expect_bars(measure_oqpsk_noisy_runs(), 3 * 4);
}

TEST(OqpskAccuracy, TakesNoWrongDecisionAt20Db)
{
    expect_bars(measure_oqpsk_decisions(), 3);
}

TEST(OqpskAccuracy, KeepsItsClockThroughNoise)
{
    // Captures in which single windows of the clock estimate lose their line: followed from window to window it came out of
    // them with half of the symbols wrong.
    constexpr double roll_off = 0.22;
    for (const std::uint64_t seed : { 4u, 14u })
    {
        signal_setting_t setting = make_oqpsk_setting(signal_pulse_t::root_raised_cosine, roll_off, seed);
        setting.half_span_symbols = 40;
        setting.carrier_phase = 0.4 + 0.7 * static_cast<double>(seed);
        setting.symbol_count = oqpsk_interval + 248;
        setting.snr_db = 10.0;
        // 2 Q(sqrt(10)) of 1,024 symbols are 1.6; more than 8 come once in 10,000 captures.
        EXPECT_LE(oqpsk_run_t(setting).count_wrong(), 8u) << seed;
    }
}

TEST(OqpskAccuracy, ReadsGaussianPulsesWithoutAMeasurementFilter)
{
    expect_bars(measure_oqpsk_gaussian_runs(), 5);
}

TEST(OqpskAccuracy, FindsTheCarrierUpToTheSymbolRate)
{
    expect_bars(measure_oqpsk_carrier(), 3 * 9);
}

TEST(OqpskAccuracy, FailsWhereTheCarrierRepeats)
{
    // At 8 working samples a symbol the fourth power repeats every two symbol rates.
    signal_setting_t setting = make_oqpsk_setting(signal_pulse_t::root_raised_cosine, 0.35, 3);
    setting.carrier_offset_hz = oqpsk_symbol_rate;
    EXPECT_EQ(oqpsk_run_t(setting).result.code, LIB_DMA_RESULT_DEMODULATOR_FAILED);
}

TEST(OqpskAccuracy, HalfSinesKeepTheirSymbolsAndPayForTheirKinks)
{
    expect_bars(measure_oqpsk_half_sines(), 8 * 3);
}

TEST(OqpskAccuracy, FindsASyncWordAtEveryPhase)
{
    const std::string word = "0111001011010001101110000101";
    for (int eighth = 0; eighth < 8; ++eighth)
    {
        signal_setting_t setting = make_oqpsk_setting(signal_pulse_t::root_raised_cosine, 0.35, 5);
        setting.symbol_count = 1500;
        setting.snr_db = 20.0;
        setting.carrier_phase = 0.3 + eighth * std::numbers::pi / 4.0;
        setting.timing_symbols = eighth % 2 == 0 ? 0.1 : 0.6;
        setting.sync_position = 300;
        for (std::size_t i = 0; i < word.size(); i += 2)
            setting.sync_symbols.push_back(static_cast<std::uint32_t>((word[i] - '0') * 2 + (word[i + 1] - '0')));
        analysis_setting_t analysis = make_oqpsk_analysis(setting);
        analysis.sync_bits = word;
        analysis.search_length = 0.0014;
        analysis.meas_interval = 500;
        const oqpsk_run_t run(setting, analysis);
        EXPECT_TRUE(run.result.sync_found) << eighth;
        const std::vector<std::uint32_t> sent(run.signal.symbols.begin() + 300, run.signal.symbols.begin() + 800);
        EXPECT_EQ(run.result.decoded, sent) << eighth;
    }
}
