#include "dpsk_accuracy.h"

#include "accuracy_check.h"

#include <gtest/gtest.h>

using namespace dma_test;

TEST(DpskAccuracy, CleanSignalsOfBalancedDataHaveLittleEvm)
{
    expect_bars(measure_dpsk_clean_runs(), 5 * 3);
}

TEST(DpskAccuracy, NoiseOf30DbComesBackAsItsEvm)
{
    expect_bars(measure_dpsk_noisy_runs(), 5 * 2);
}
