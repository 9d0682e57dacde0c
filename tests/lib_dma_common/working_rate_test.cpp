#include "lib_dma_common/working_rate.h"

#include <gtest/gtest.h>

#include <cmath>
#include <utility>

using vrim::dma_demod_lib::cal_working_sps;

TEST(WorkingRate, IsTheTableForTheUsualRates)
{
    const std::pair<std::uint32_t, std::uint32_t> table[] = { { 1, 8 },   { 2, 8 },   { 4, 8 },   { 8, 8 },
                                                              { 3, 12 },  { 6, 12 },  { 12, 12 }, { 5, 10 },
                                                              { 10, 10 }, { 7, 14 },  { 14, 14 }, { 16, 16 },
                                                              { 9, 18 },  { 15, 30 }, { 20, 20 }, { 11, 22 } };
    for (const auto& [points, sps] : table)
        EXPECT_EQ(cal_working_sps(points), sps) << points;
}

TEST(WorkingRate, IsEvenAtLeastEightAndAMultipleOfTheResultRate)
{
    for (std::uint32_t points = 1; points <= 200; ++points)
    {
        const std::uint32_t sps = cal_working_sps(points);
        EXPECT_EQ(sps % 2, 0u);
        EXPECT_GE(sps, 8u);
        EXPECT_EQ(sps % points, 0u);
        // The least common multiple with 2, repeated until it reaches 8.
        std::uint32_t q = points % 2 == 0 ? points : 2 * points;
        if (points < 8)
            q = static_cast<std::uint32_t>(q * std::ceil(8.0 / q));
        EXPECT_EQ(sps, q) << points;
    }
    EXPECT_EQ(cal_working_sps(0), 8u);
}
