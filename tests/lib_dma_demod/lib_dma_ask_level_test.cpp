#include "lib_dma_demod/lib_dma_ask_level.h"

#include <cmath>
#include <cstddef>
#include <gtest/gtest.h>
#include <limits>
#include <random>

using namespace vrim;
using namespace vrim::dma_demod_lib;

namespace
{
/// Levels 1, 2, 3 ... at unit rms: the mean square of the first n numbers is (n + 1)(2n + 1) / 6.
level_row_t get_row(std::size_t levels)
{
    const double n = static_cast<double>(levels);
    const double step = 1.0 / std::sqrt((n + 1.0) * (2.0 * n + 1.0) / 6.0);
    return { levels, step, step };
}

/// Random symbols whose levels stand at `share` of theirs, with noise of `noise` spacings in each part.
complex_array make_symbols(const level_row_t& row, std::size_t count, double share, double noise, unsigned seed)
{
    std::mt19937 random(seed);
    std::normal_distribution<double> part(0.0, noise);
    complex_array symbols(count);
    for (std::complex<float>& symbol : symbols)
    {
        const double number = static_cast<double>(random() % row.count);
        const double re = share * (row.lowest + row.spacing * (number + part(random)));
        symbol = { static_cast<float>(re), static_cast<float>(share * row.spacing * part(random)) };
    }
    return symbols;
}
} // namespace

TEST(AskLevel, StandsWhereTheSymbolsDo)
{
    const double root = std::sqrt(2.0);
    const level_row_t on_and_off = { 2, 0.0, root };
    EXPECT_EQ(find_ask_level(make_symbols(on_and_off, 1000, 1.0, 0.1, 3), on_and_off), 1.0);
    for (const std::size_t levels : { 4u, 8u, 16u })
        EXPECT_EQ(find_ask_level(make_symbols(get_row(levels), 1000, 1.0, 0.1, 3), get_row(levels)), 1.0) << levels;
}

TEST(AskLevel, IsFoundWhereTheDataAreLoudOrSoft)
{
    // 3.1 % put the outermost of 16 levels on its border, 6.3 % that of 8.
    for (const double share : { 0.95, 0.96, 1.035, 1.05 })
    {
        for (unsigned seed = 1; seed <= 10; ++seed)
        {
            const double found = find_ask_level(make_symbols(get_row(16), 1000, share, 0.1, seed), get_row(16));
            EXPECT_NEAR(found, 1.0 / share, 0.002) << share << ", seed " << seed;
        }
    }
    for (const double share : { 0.94, 1.06 })
        EXPECT_NEAR(find_ask_level(make_symbols(get_row(8), 1000, share, 0.1, 5), get_row(8)), 1.0 / share, 0.004);
}

TEST(AskLevel, OfNoiseOrOfNothingIsOne)
{
    EXPECT_EQ(find_ask_level({}, get_row(16)), 1.0);
    EXPECT_EQ(find_ask_level(complex_array(100), get_row(16)), 1.0);
    EXPECT_EQ(find_ask_level(make_symbols(get_row(16), 1000, 1.0, 0.1, 1), { 0, 0.1, 0.1 }), 1.0);
    EXPECT_EQ(find_ask_level(make_symbols(get_row(16), 1000, 1.0, 0.1, 1), { 16, 0.1, 0.0 }), 1.0);
    for (unsigned seed = 1; seed <= 20; ++seed)
        EXPECT_EQ(find_ask_level(make_symbols(get_row(16), 1000, 1.0, 0.6, seed), get_row(16)), 1.0) << seed;
    const float none = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(find_ask_level(complex_array(100, { none, none }), get_row(16)), 1.0);
    const float huge = std::numeric_limits<float>::max();
    EXPECT_TRUE(std::isfinite(find_ask_level(complex_array(100, { huge, -huge }), get_row(16))));
}

TEST(AskLevel, OfALongRecordIsLookedForOnAPartOfIt)
{
    EXPECT_NEAR(find_ask_level(make_symbols(get_row(16), 100000, 0.98, 0.1, 2), get_row(16)), 1.0 / 0.98, 0.001);
}
