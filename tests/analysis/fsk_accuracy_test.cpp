#include "fsk_accuracy.h"

#include "accuracy_check.h"
#include "fsk_run.h"

#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>

using namespace dma_test;
using namespace vrim::dma_demod_lib;

TEST(FskAccuracy, CleanTonesHaveLittleEvmAndTheirDeviation)
{
    expect_bars(measure_fsk_clean_runs(), 3 * 3);
}

TEST(FskAccuracy, NoiseComesBackAsTheFrequencyErrorThatItIs)
{
    expect_bars(measure_fsk_noisy_runs(), 2 * 3 * 3);
}

TEST(FskAccuracy, GaussianTonesAreReadAtTheSymbols)
{
    expect_bars(measure_fsk_gaussian_runs(), 2 * 5);
}

TEST(FskAccuracy, TheCarrierIsFoundUpToTheSymbolRate)
{
    expect_bars(measure_fsk_carrier(), 6 * 2);
}

TEST(FskAccuracy, LosesNothingOnALongRecordFarOffTheCentre)
{
    // An unwrapped phase would reach 2.5e5 radians here, in steps of 0.016: 8 % of what the deviation turns in a sample.
    signal_setting_t setting = make_fsk_signal(signal_format_t::fsk2, signal_pulse_t::gaussian, 0.5);
    setting.symbol_count = 40'200;
    setting.carrier_offset_hz = 1.0e6;
    analysis_setting_t analysis = make_fsk_analysis(setting);
    analysis.meas_interval = 40'000;
    const analysis_result_t result = analyse(make_signal(setting).samples, analysis);
    ASSERT_EQ(result.code, LIB_DMA_RESULT_OK);
    EXPECT_LE(result.summary.evm_rms, 0.6f);
}

TEST(FskAccuracy, MovesTheCarrierTowardsTheMoreFrequentTone)
{
    // Three quarters of the symbols at the upper tone: half the deviation up.
    signal_setting_t setting = make_fsk_signal(signal_format_t::fsk2, signal_pulse_t::root_raised_cosine, 0.35);
    setting.balanced_run = 0;
    for (std::uint32_t k = 0; k < setting.symbol_count; ++k)
        setting.sync_symbols.push_back(k % 4 == (k / 4) % 4 ? 0 : 1);
    const fsk_run_t run(setting);
    ASSERT_EQ(run.result.code, LIB_DMA_RESULT_OK);
    EXPECT_NEAR(static_cast<double>(run.result.table.frequency_error), 0.5 * setting.deviation_hz, 1e3);
    // The spread of +1 (3 of 4) and -1 (1 of 4) about their mean.
    EXPECT_NEAR(run.result.summary.fsk_deviation, std::sqrt(0.75) * setting.deviation_hz, 2e3);
}
