#include "psk_accuracy.h"

#include "accuracy_check.h"
#include "analysis_runner.h"
#include "sync_accuracy.h"
#include "timing_prediction.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace dma_test;

namespace
{
TEST(PskAccuracy, CleanSignalsHaveLittleEvmAndAnExactFrequency)
{
    expect_bars(measure_clean_runs(), 25);
}

TEST(PskAccuracy, NoiseOf30DbComesBackAsItsEvmAndMovesTheFrequencyLittle)
{
    expect_bars(measure_noisy_runs(), 20);
}

TEST(PskAccuracy, EvmAndFrequencyFollowTheory)
{
    expect_bars(measure_against_theory(), 15);
}

TEST(PskAccuracy, TheFrequencyBoundIsThatOfTheLiterature)
{
    // 1,000 symbols at 1 MHz and 30 dB: 6e12 / (39.478 * 1000 * 1000 * 999999) = 0.15198 Hz^2.
    EXPECT_NEAR(cal_frequency_bound(1.0e6, 1000.0, 1000.0), std::sqrt(0.15198), 1e-4);
}

TEST(PskAccuracy, CarrierOffsetsUpToTheRangePullIn)
{
    expect_bars(measure_pull_in(), 10);
}

TEST(PskAccuracy, AnIqOffsetComesBack)
{
    expect_bars(measure_iq_offset(), 2);
}

TEST(PskAccuracy, AGainImbalanceOfQpskComesBackUpToItsSign)
{
    expect_bars(measure_gain_imbalance(), 4);
}

TEST(PskAccuracy, SyncWordsAreFoundAnywhereAndAtAnyCarrierPhase)
{
    expect_bars(measure_sync_search(), 15);
}

TEST(PskAccuracy, ARowWithoutANumberMissesItsBar)
{
    accuracy_row_t row;
    row.bar_high = 1.0;
    row.low = std::nan("");
    row.high = std::nan("");
    EXPECT_FALSE(row.holds());
}

// The EVM of clean signals is that of the timing estimate's own noise, record by record.
TEST(PskAccuracy, CleanEvmIsWhatTheSquareLawClockEstimateLeaves)
{
    // Filters of 64 symbols and a quarter of a permille of carrier offset make 0.04 at most.
    constexpr double bound_percent = 0.05;
    for (const signal_format_t format : { signal_format_t::bpsk, signal_format_t::qpsk, signal_format_t::psk8 })
    {
        for (std::uint64_t seed = 1; seed <= 8; ++seed)
        {
            signal_setting_t signal;
            signal.format = format;
            signal.symbol_count = 1200;
            signal.seed = seed;
            signal.carrier_phase = 0.3 * static_cast<double>(seed);
            signal.timing_symbols = std::fmod(0.21 * static_cast<double>(seed), 1.0);
            analysis_setting_t setting;
            setting.format = format;
            const analysis_result_t result = analyse(make_signal(signal).samples, setting);
            ASSERT_TRUE(result.locked());
            EXPECT_NEAR(static_cast<double>(result.summary.evm_rms), predict_timing(signal, 8, 1000).evm, bound_percent)
                << get_signal_format(format).name << ", seed " << seed;
        }
    }
}
} // namespace
