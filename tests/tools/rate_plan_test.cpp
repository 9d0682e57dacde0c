#include "rate_plan.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>

using namespace dmatool;

TEST(RatePlan, KeepsTheSampleRateInMultiplesOfAHundredHertz)
{
    EXPECT_EQ(cal_kept_sample_rate(222222.0), 222200U);
    EXPECT_EQ(cal_kept_sample_rate(4.0e6), 4000000U);
    EXPECT_EQ(cal_kept_sample_rate(12345.0), 12300U);
    EXPECT_EQ(cal_kept_sample_rate(99.0), 100U);
}

TEST(RatePlan, WorksAtEightSamplesASymbolOrMore)
{
    struct case_t
    {
        std::uint32_t points;
        std::uint64_t samples;
    };
    for (const case_t& one : std::array<case_t, 11>{ { { 1, 8 },
                                                       { 2, 8 },
                                                       { 4, 8 },
                                                       { 5, 10 },
                                                       { 6, 12 },
                                                       { 8, 8 },
                                                       { 10, 10 },
                                                       { 12, 12 },
                                                       { 14, 14 },
                                                       { 16, 16 },
                                                       { 20, 20 } } })
    {
        EXPECT_EQ(cal_rate_plan(4000000, 1000000, one.points).working_samples_per_symbol, one.samples) << one.points << " points";
    }
}

TEST(RatePlan, ReducesTheRatioOfTheRates)
{
    const rate_plan_t plain = cal_rate_plan(4000000, 1000000, 4);
    EXPECT_EQ(plain.up, 2U);
    EXPECT_EQ(plain.down, 1U);
    // 105,938 * 8 / 10,000,000 = 847,504 / 10,000,000, both divisible by 16.
    const rate_plan_t large = cal_rate_plan(10000000, 105938, 4);
    EXPECT_EQ(large.up, 52969U);
    EXPECT_EQ(large.down, 625000U);
}

TEST(RatePlan, ProposesANearSymbolRateWithASmallRatio)
{
    const rate_plan_t large = cal_rate_plan(10000000, 105938, 4);
    // 106,000 * 8 / 10,000,000 = 53 / 625.
    EXPECT_EQ(propose_symbol_rate(large, 105938), 106000U);
    const rate_plan_t off_by_one = cal_rate_plan(4000000, 999999, 4);
    EXPECT_EQ(propose_symbol_rate(off_by_one, 999999), 1000000U);
}
