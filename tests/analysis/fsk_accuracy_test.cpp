#include "fsk_accuracy.h"

#include "accuracy_check.h"
#include "frame_run.h"
#include "fsk_run.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <set>
#include <stdexcept>
#include <vector>

using namespace dma_test;
using namespace vrim::dma_demod_lib;

namespace
{
constexpr std::uint64_t seed_count = small_grids ? 4 : fsk_seed_count;

// The data maker, from the symbols that the generator says it put into the signal.
TEST(FskBalancedData, HaveEveryToneEquallyOftenInWholeRunsOfTheSymbolsThatCount)
{
    for (const signal_format_t format :
         { signal_format_t::fsk2, signal_format_t::fsk4, signal_format_t::fsk8, signal_format_t::fsk16 })
    {
        const std::uint32_t order = get_order(format);
        const std::uint32_t length = std::max(8U, order);
        std::vector<std::uint32_t> previous;
        for (std::uint64_t seed = 1; seed <= 3; ++seed)
        {
            SCOPED_TRACE(testing::Message() << order << " tones, seed " << seed);
            const signal_setting_t setting = make_balanced_fsk_signal(format, signal_pulse_t::root_raised_cosine, 0.5, seed);
            const std::vector<std::uint32_t> symbols = make_signal(setting).symbols;
            ASSERT_EQ(symbols.size(), setting.symbol_count);
            EXPECT_NE(symbols, previous);
            previous = symbols;
            for (std::size_t first = 50; first < 50 + 1104; first += length)
            {
                const auto run = symbols.begin() + static_cast<std::ptrdiff_t>(first);
                for (std::uint32_t symbol = 0; symbol < order; ++symbol)
                    EXPECT_EQ(std::count(run, run + length, symbol), length / order) << "run at " << first;
            }
        }
    }
}

TEST(FskBalancedData, HaveEachOfThe70RunsOfTwoTonesOnceInADeck)
{
    const signal_setting_t setting = make_balanced_fsk_signal(signal_format_t::fsk2, signal_pulse_t::gaussian, 0.5, 1);
    const std::vector<std::uint32_t>& symbols = setting.sync_symbols;
    for (const std::size_t deck : { 50, 50 + 70 * 8 })
    {
        std::set<std::vector<std::uint32_t>> runs;
        std::vector<std::vector<std::uint32_t>> order;
        for (std::size_t first = deck; first < deck + 70 * 8; first += 8)
        {
            const auto run = symbols.begin() + static_cast<std::ptrdiff_t>(first);
            order.emplace_back(run, run + 8);
            runs.insert(order.back());
        }
        EXPECT_EQ(runs.size(), 70U);
        EXPECT_FALSE(std::is_sorted(order.begin(), order.end()));
    }
}

TEST(FskBalancedData, AreRefusedWhereTheSymbolsThatCountAreNoWholeRuns)
{
    EXPECT_THROW(make_balanced_fsk_signal(signal_format_t::fsk32, signal_pulse_t::gaussian, 0.5, 1), std::invalid_argument);
}

TEST(FskAccuracy, CleanTonesHaveLittleEvmAndTheirDeviation)
{
    expect_bars(measure_fsk_clean_runs(seed_count), 3 * 3);
}

TEST(FskAccuracy, NoiseComesBackAsTheFrequencyErrorThatItIs)
{
    // All seeds in every build: fewer leave the rms over the runs to chance.
    expect_bars(measure_fsk_noisy_runs(), 2 * 3 * 4);
}

TEST(FskAccuracy, NoiseLeavesFewRunsOutside)
{
    expect_bars(measure_fsk_noisy_spread(small_grids ? 5 : 20), 2 * 3 * 2);
}

TEST(FskAccuracy, GaussianTonesAreReadAtTheSymbols)
{
    expect_bars(measure_fsk_gaussian_runs(seed_count), 2 * 4);
}

TEST(FskAccuracy, TheCarrierIsFoundUpToTheSymbolRate)
{
    expect_bars(measure_fsk_carrier(small_grids ? 2 : 4), 6 * 4);
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
} // namespace
