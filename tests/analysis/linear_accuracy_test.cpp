#include "linear_accuracy.h"

#include "accuracy_check.h"
#include "frame_run.h"
#include "sync_accuracy.h"

#include <gtest/gtest.h>

using namespace dma_test;

namespace
{
constexpr std::uint64_t quick_runs = small_grids ? 5 : 50;

TEST(LinearAccuracy, CleanSignalsHaveLittleEvmAndAnExactFrequency)
{
    // 16 formats at two roll-offs and four of ASK at one, four rows each.
    expect_bars(measure_linear_clean_runs(), 4 * (16 * 2 + 4));
}

TEST(LinearAccuracy, NoiseOf30DbComesBackAsItsEvmAndMovesTheFrequencyLittle)
{
    // 16ASK has no EVM there.
    expect_bars(measure_linear_noisy_runs(), 5 * 17 - 3);
}

TEST(LinearAccuracy, NoiseOf30DbLeavesFewRunsOutside)
{
    expect_bars(measure_linear_noisy_spread(quick_runs), 2 * 17);
}

TEST(LinearAccuracy, NoiseOf45DbComesBackAsTheEvmOfDenseFormats)
{
    expect_bars(measure_dense_noisy_runs(), 9);
}

TEST(LinearAccuracy, TheDensestFormatLocksFromAnyCarrierPhase)
{
    expect_bars(measure_dense_lock(), 3);
}

TEST(LinearAccuracy, CarrierOffsetsUpToTheRangePullIn)
{
    expect_bars(measure_linear_pull_in(), 40);
}

TEST(LinearAccuracy, RingRatiosOfCleanSignalsComeBack)
{
    expect_bars(measure_ring_ratios(), 16);
}

TEST(LinearAccuracy, RingRatiosAreHighByTheClockEstimateAlone)
{
    expect_bars(measure_ring_ratios_at_best_clock(small_grids ? 3 : 20), 3);
}

TEST(LinearAccuracy, AnIqOffsetComesBackUnderTheLargestPoint)
{
    expect_bars(measure_linear_iq_offset(), 8);
}

TEST(LinearAccuracy, SyncWordsAreFoundAnywhereAndAtAnyCarrierPhase)
{
    expect_bars(measure_linear_sync_search(), 24);
}

TEST(DpskAccuracy, SyncWordsAreFoundAnywhereAndAtAnyCarrierPhase)
{
    expect_bars(measure_dpsk_sync_search(), 15);
}

TEST(DpskAccuracy, StepsComeBackWhateverTheCarrierPhase)
{
    expect_bars(measure_dpsk_steps(), 5);
}
} // namespace
