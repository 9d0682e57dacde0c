#include "lib_dma_common/decision_table.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

using namespace vrim;
using vrim::dma_demod_lib::decision_table_t;

namespace
{
constellation_map make_map(std::size_t count, unsigned seed)
{
    std::mt19937 generator(seed);
    std::normal_distribution<float> part;
    constellation_map map;
    for (std::uint32_t i = 0; i < count; ++i)
    {
        const float re = part(generator);
        map[7 * i + 2] = { re, part(generator) };
    }
    return map;
}
} // namespace

TEST(DecisionTable, FindsTheNearestPointAndItsKey)
{
    std::mt19937 generator(5);
    std::normal_distribution<float> part(0.0f, 1.5f);
    for (const std::size_t count : { 1u, 2u, 16u, 333u })
    {
        const constellation_map map = make_map(count, static_cast<unsigned>(count));
        decision_table_t table;
        table.load(map);
        EXPECT_FALSE(table.empty());
        for (int i = 0; i < 500; ++i)
        {
            const float re = part(generator);
            const std::complex<float> value(re, part(generator));
            std::uint32_t best_key = 0;
            double best = std::numeric_limits<double>::max();
            for (const auto& [key, point] : map)
            {
                const double distance = std::norm(std::complex<double>(point) - std::complex<double>(value));
                if (distance < best)
                {
                    best = distance;
                    best_key = key;
                }
            }
            EXPECT_EQ(table.decide_point(value), map.at(best_key));
            EXPECT_EQ(table.decide_index(value), best_key);
        }
    }
}

TEST(DecisionTable, GivesTheFirstKeyOfEquallyNearPoints)
{
    const constellation_map map = {
        { 9, { 1.0f, 0.0f } }, { 3, { -1.0f, 0.0f } }, { 5, { 0.0f, 1.0f } }, { 4, { 0.0f, -1.0f } }
    };
    decision_table_t table;
    table.load(map);
    EXPECT_EQ(table.decide_index({ 0.0f, 0.0f }), 3u);
    EXPECT_EQ(table.decide_point({ 0.0f, 0.0f }), (std::complex<float>(-1.0f, 0.0f)));
    EXPECT_EQ(table.decide_index({ 0.5f, 0.5f }), 5u);
    EXPECT_EQ(table.decide_index({ 0.5f, -0.5f }), 4u);
}

TEST(DecisionTable, TellsPointsApartInDoubleAndKeysInSinglePrecision)
{
    // The second point is nearer by less than single precision sees: 1 + 2^-24 against 1.
    const float shift = 0x1p-13f;
    const constellation_map map = { { 1, { 1.0f, shift } }, { 2, { -1.0f, 0.0f } } };
    decision_table_t table;
    table.load(map);
    EXPECT_EQ(table.decide_point({ 0.0f, 0.0f }), (std::complex<float>(-1.0f, 0.0f)));
    EXPECT_EQ(table.decide_index({ 0.0f, 0.0f }), 1u);
}

TEST(DecisionTable, AnswersZeroWhenEmptyAndTheFirstPointForNotANumber)
{
    decision_table_t table;
    EXPECT_TRUE(table.empty());
    EXPECT_EQ(table.decide_point({ 1.0f, 1.0f }), (std::complex<float>(0.0f, 0.0f)));
    EXPECT_EQ(table.decide_index({ 1.0f, 1.0f }), 0u);
    table.load({ { 4, { 1.0f, 0.0f } }, { 6, { -1.0f, 0.0f } } });
    const float nan_value = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(table.decide_index({ nan_value, 0.0f }), 4u);
    EXPECT_EQ(table.decide_point({ nan_value, 0.0f }), (std::complex<float>(1.0f, 0.0f)));
    table.clear();
    EXPECT_TRUE(table.empty());
    table.load({ { 8, { 0.5f, 0.0f } } });
    EXPECT_EQ(table.decide_index({ -9.0f, 0.0f }), 8u);
    table.load({});
    EXPECT_TRUE(table.empty());
}
