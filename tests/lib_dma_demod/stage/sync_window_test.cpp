#include "lib_dma_demod/stage/sync_window.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>
#include <numeric>
#include <vector>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using namespace vrim::dma_demod_lib::demod_stage;

namespace
{
using index_array = std::vector<std::uint32_t>;

constexpr float not_a_number = std::numeric_limits<float>::quiet_NaN();

bit_array fit(std::uint32_t bits_per_symbol, bit_array pattern)
{
    fit_sync_pattern(bits_per_symbol, pattern);
    return pattern;
}

/// Bits of symbol indices, most significant first.
bit_array expand(const index_array& indices, std::uint32_t bits_per_symbol)
{
    bit_array bits;
    for (const std::uint32_t index : indices)
    {
        for (std::uint32_t bit = bits_per_symbol; bit-- > 0;)
            bits.push_back(static_cast<bit_array::value_type>((index >> bit) & 1u));
    }
    return bits;
}

/// Whole numbers from `first` to below `stop`.
index_array range(std::uint32_t first, std::uint32_t stop)
{
    index_array numbers(stop - first);
    std::iota(numbers.begin(), numbers.end(), first);
    return numbers;
}

/// Points that tell their place: (i, -i).
complex_array make_points(std::uint32_t first, std::uint32_t stop)
{
    complex_array points;
    for (std::uint32_t i = first; i < stop; ++i)
        points.emplace_back(static_cast<float>(i), -static_cast<float>(i));
    return points;
}

/// 20 symbols at 2 points each, cut to a window.
struct cut_run_t
{
    cut_run_t(std::uint32_t start, std::uint32_t interval, std::uint32_t sync_symbol_index, bool sync_found, float sync_offset)
        : cut(deal_window_cut({ start, interval, 2, sync_symbol_index, sync_found }, sync_offset, meas, ref, decoded))
    {
    }

    complex_array meas = make_points(0, 40);
    complex_array ref = make_points(0, 40);
    index_array decoded = range(0, 20);
    window_cut_t cut;
};
} // namespace

TEST(SyncPattern, KeepsAnyLengthForOneBitASymbol)
{
    for (std::size_t length = 0; length < 40; ++length)
    {
        bit_array pattern(length, 1);
        EXPECT_EQ(fit(1, pattern), pattern) << length;
    }
}

TEST(SyncPattern, LosesItsRaggedEnd)
{
    const bit_array thirteen = { 1, 0, 1, 1, 0, 0, 1, 1, 1, 0, 0, 1, 1 };
    EXPECT_EQ(fit(3, thirteen), bit_array(thirteen.begin(), thirteen.begin() + 12));
    EXPECT_EQ(fit(2, { 1, 0, 1 }), (bit_array{ 1, 0 }));
    EXPECT_EQ(fit(2, { 1, 1 }), (bit_array{ 1, 1 }));
}

TEST(SyncPattern, GetsZerosUpToOneSymbol)
{
    EXPECT_EQ(fit(3, { 1, 1 }), (bit_array{ 1, 1, 0 }));
    EXPECT_EQ(fit(3, { 1 }), (bit_array{ 1, 0, 0 }));
    EXPECT_EQ(fit(2, { 1 }), (bit_array{ 1, 0 }));
}

TEST(SyncPattern, StaysEmpty)
{
    for (const std::uint32_t bits : { 1u, 2u, 3u })
        EXPECT_TRUE(fit(bits, {}).empty());
}

TEST(SyncPattern, IsFoundAtItsPlaceInBits)
{
    const index_array indices = { 0, 3, 1, 2, 2, 0, 1, 3, 1, 2, 2, 1 };
    EXPECT_EQ(find_sync_pattern(indices, expand({ 2, 0, 1 }, 2), 2), 4 * 2);
    EXPECT_EQ(find_sync_pattern(indices, expand({ 0, 3 }, 2), 2), 0);
    EXPECT_EQ(find_sync_pattern(indices, expand({ 2, 1 }, 2), 2), 10 * 2);
    EXPECT_EQ(find_sync_pattern({ 5, 7, 1, 6 }, expand({ 1, 6 }, 3), 3), 2 * 3);
    EXPECT_EQ(find_sync_pattern({ 0, 1, 1, 0 }, { 1, 0 }, 1), 2);
}

TEST(SyncPattern, IsFoundAtItsFirstPlace)
{
    const index_array indices = { 0, 3, 1, 2, 2, 0, 1, 3, 1, 2, 2, 1 };
    EXPECT_EQ(find_sync_pattern(indices, expand({ 1, 2, 2 }, 2), 2), 2 * 2);
    // A first try that breaks off inside a repetition: 1 1 1 2 in 1 1 1 1 2.
    EXPECT_EQ(find_sync_pattern({ 1, 1, 1, 1, 2 }, expand({ 1, 1, 1, 2 }, 2), 2), 1 * 2);
    EXPECT_EQ(find_sync_pattern({ 0, 1, 0, 1, 0, 2 }, expand({ 0, 1, 0, 2 }, 2), 2), 2 * 2);
}

TEST(SyncPattern, IsSearchedSymbolBySymbol)
{
    // The bits 01 10 11 hold 11 at bit 1, between symbols, and at bit 4.
    EXPECT_EQ(find_sync_pattern({ 1, 2, 3 }, { 1, 1 }, 2), 4);
    EXPECT_EQ(find_sync_pattern({ 1, 2 }, { 1, 1 }, 2), -1);
}

TEST(SyncPattern, IsNotFoundWhereItIsNot)
{
    EXPECT_EQ(find_sync_pattern({ 0, 3, 1, 2 }, expand({ 3, 2 }, 2), 2), -1);
    EXPECT_EQ(find_sync_pattern({ 0, 3, 1, 2 }, expand({ 1, 2, 0 }, 2), 2), -1); // begins, but the data end
}

TEST(SyncPattern, LongerThanTheDataIsNotFound)
{
    EXPECT_EQ(find_sync_pattern({ 1, 1 }, expand({ 1, 1, 1 }, 2), 2), -1);
    EXPECT_EQ(find_sync_pattern({}, { 1, 1 }, 2), -1);
}

TEST(SyncPattern, EmptyIsFoundAtOnce)
{
    EXPECT_EQ(find_sync_pattern({ 2, 1 }, {}, 2), 0);
    EXPECT_EQ(find_sync_pattern({}, {}, 2), 0);
}

TEST(SyncPattern, OfEqualSymbolsCostsAsMuchAsAnyOther)
{
    // 400,000 equal symbols and a pattern that fails at its last one would be 4e10 comparisons place by place.
    const index_array indices(400000, 3);
    index_array word(200000, 3);
    word.back() = 1;
    EXPECT_EQ(find_sync_pattern(indices, expand(word, 2), 2), -1);
}

TEST(SyncSearch, AddsItsTurnsUp)
{
    // Points amid the quadrants at 2 points a symbol; a turn by a quarter makes index q to q + 1.
    const index_array quadrants = { 0, 3, 1, 2, 2, 0, 1, 3, 3, 0, 2, 1, 0, 1, 1, 2, 3, 0 };
    complex_array data;
    for (const std::uint32_t quadrant : quadrants)
    {
        const double angle = (static_cast<double>(quadrant) + 0.5) * std::numbers::pi / 2.0;
        data.emplace_back(static_cast<float>(std::cos(angle)), static_cast<float>(std::sin(angle)));
        data.emplace_back(0.0f, 0.0f);
    }
    const auto decide = [](std::complex<float> symbol)
    {
        if (symbol.imag() >= 0.0f)
            return symbol.real() >= 0.0f ? 0u : 1u;
        return symbol.real() < 0.0f ? 2u : 3u;
    };
    const float quarter = static_cast<float>(std::numbers::pi / 2.0);
    const float_array rotations = { 0.0f, quarter, 2.0f * quarter, 3.0f * quarter };

    // The copy stands at 0, 1, 1 + 2 = 3 and 3 + 3 = 6 quarters, which is 2.
    const std::uint32_t quarters[] = { 0, 1, 3, 2 };
    for (std::size_t trial = 0; trial < 4; ++trial)
    {
        index_array turned;
        for (const std::uint32_t quadrant : quadrants)
            turned.push_back((quadrant + quarters[trial]) % 4);
        const bit_array pattern = expand({ turned.begin() + 3, turned.begin() + 11 }, 2);
        const sync_search_t search = deal_sync_search(data, 2, rotations, pattern, 2, decide);
        EXPECT_TRUE(search.found) << trial;
        EXPECT_EQ(search.bit_position, 6u) << trial;
        EXPECT_EQ(search.rotation, rotations[trial]);
        EXPECT_EQ(search.decoded, turned) << trial;
    }

    // Absent: all turns are tried, and the symbols are those of the last one.
    const sync_search_t absent = deal_sync_search(data, 2, rotations, expand({ 0, 0, 0, 0, 0 }, 2), 2, decide);
    EXPECT_FALSE(absent.found);
    EXPECT_EQ(absent.bit_position, 0u);
    EXPECT_EQ(absent.rotation, rotations[3]);
    index_array last;
    for (const std::uint32_t quadrant : quadrants)
        last.push_back((quadrant + 2) % 4);
    EXPECT_EQ(absent.decoded, last);
}

TEST(SyncSearch, FindsTheEmptyPatternUnturned)
{
    const auto decide = [](std::complex<float>) { return 1u; };
    const sync_search_t search = deal_sync_search(make_points(0, 8), 2, { 0.0f, 1.0f }, {}, 2, decide);
    EXPECT_TRUE(search.found);
    EXPECT_EQ(search.bit_position, 0u);
    EXPECT_EQ(search.rotation, 0.0f);
    EXPECT_EQ(search.decoded.size(), 4u);
}

TEST(WindowStart, StandsAtTheSyncWord)
{
    EXPECT_EQ(cal_window_start(6, 2, 0.0f, 4), 12u);
    EXPECT_EQ(cal_window_start(6, 2, 5.0f, 4), 32u);
    EXPECT_EQ(cal_window_start(9, 3, -2.0f, 1), 1u);
}

TEST(WindowStart, TakesFractionsOfTheOffsetInWholeBits)
{
    EXPECT_EQ(cal_window_start(4, 1, 0.9f, 2), 8u);  // floor(0.9) + 4 = 4
    EXPECT_EQ(cal_window_start(4, 1, -0.1f, 2), 6u); // floor(-0.1) + 4 = 3
    EXPECT_EQ(cal_window_start(6, 3, 0.5f, 2), 4u);  // floor(1.5) + 6 = 7 bits, 2.33 symbols
    EXPECT_EQ(cal_window_start(6, 3, 0.75f, 2), 6u); // floor(2.25) + 6 = 8 bits, 2.67 symbols
}

TEST(WindowStart, RoundsHalfSymbolsUp)
{
    EXPECT_EQ(cal_window_start(6, 2, -0.5f, 4), 12u); // 5 bits, 2.5 symbols
    EXPECT_EQ(cal_window_start(6, 2, -1.5f, 4), 8u);  // 3 bits, 1.5 symbols
    EXPECT_EQ(cal_window_start(0, 2, 0.5f, 4), 4u);   // 1 bit, 0.5 symbols
}

TEST(WindowStart, IsExactBeyondTheWholeNumbersOfSinglePrecision)
{
    // 5,600,001 symbols of three bits: 16,800,003 bits would be rounded.
    EXPECT_EQ(cal_window_start(16800003, 3, 0.0f, 1), 5600001u);
    EXPECT_EQ(cal_window_start(16800003, 3, -0.25f, 1), 5600001u); // one bit earlier, 5,600,000.67
}

TEST(WindowStart, IsNeverNegative)
{
    EXPECT_EQ(cal_window_start(6, 2, -3.0f, 4), 0u);
    EXPECT_EQ(cal_window_start(6, 2, -3.25f, 4), 0u);
    EXPECT_EQ(cal_window_start(0, 1, -32768.0f, 4), 0u);
}

TEST(WindowDataStart, AddsTheWindowInSamplesOfTheCapture)
{
    EXPECT_EQ(cal_window_data_start(100, 12, 1000000, 4000000, 8), 106u);
    EXPECT_EQ(cal_window_data_start(0, 25, 3000000, 7000000, 10), 6u); // 7 * 25 / (3 * 10) = 5.83
    EXPECT_EQ(cal_window_data_start(7, 0, 3000000, 7000000, 10), 7u);
}

TEST(WindowDataStart, RoundsHalfSamplesUp)
{
    EXPECT_EQ(cal_window_data_start(100, 1, 1000000, 4000000, 8), 101u);
    EXPECT_EQ(cal_window_data_start(100, 3, 1000000, 4000000, 8), 102u);
}

TEST(WindowDataStart, StaysWithoutASymbolRate)
{
    EXPECT_EQ(cal_window_data_start(42, 12, 0, 4000000, 8), 42u);
    EXPECT_EQ(cal_window_data_start(42, 12, 0, 0, 8), 42u);
}

TEST(WindowCut, WithoutASyncWordTakesTheWindowFromTheStart)
{
    const cut_run_t run(4, 10, 0, false, 0.0f);
    EXPECT_FALSE(run.cut.too_short);
    EXPECT_FALSE(run.cut.decoded_cut);
    EXPECT_FALSE(run.cut.offset_rejected);
    EXPECT_EQ(run.decoded, range(0, 7));
    EXPECT_EQ(run.ref, make_points(4, 14));
    EXPECT_EQ(run.meas, make_points(4, 14));
}

TEST(WindowCut, WithoutASyncWordKeepsTheOffset)
{
    const cut_run_t run(4, 10, 0, false, 100.0f);
    EXPECT_FALSE(run.cut.decoded_cut);
    EXPECT_FALSE(run.cut.offset_rejected);
    EXPECT_EQ(run.decoded, range(0, 7));
}

TEST(WindowCut, TakesTheSymbolsFromTheSyncWord)
{
    const cut_run_t run(6, 10, 3, true, 0.0f);
    EXPECT_FALSE(run.cut.too_short);
    EXPECT_TRUE(run.cut.decoded_cut);
    EXPECT_FALSE(run.cut.offset_rejected);
    EXPECT_EQ(run.decoded, range(3, 8));
    EXPECT_EQ(run.ref, make_points(6, 16));
    EXPECT_EQ(run.meas, make_points(6, 16));
}

TEST(WindowCut, MovesTheSymbolsAgainstTheWholeOffset)
{
    EXPECT_EQ(cut_run_t(6, 10, 3, true, 1.5f).decoded, range(2, 8));
    EXPECT_EQ(cut_run_t(6, 10, 3, true, 3.0f).decoded, range(0, 8));
    EXPECT_EQ(cut_run_t(6, 10, 3, true, -2.5f).decoded, range(6, 8)); // floor is -3
    EXPECT_TRUE(cut_run_t(6, 10, 3, true, -2.5f).cut.decoded_cut);
}

TEST(WindowCut, FloorsOddWindowsToWholeSymbols)
{
    EXPECT_EQ(cut_run_t(6, 11, 3, true, 0.0f).decoded, range(3, 8));
}

TEST(WindowCut, RejectsAnOffsetBeforeTheData)
{
    const cut_run_t run(6, 10, 3, true, 5.0f);
    EXPECT_FALSE(run.cut.decoded_cut);
    EXPECT_TRUE(run.cut.offset_rejected);
    EXPECT_EQ(run.decoded, range(3, 8));
    EXPECT_EQ(run.ref, make_points(6, 16));
}

TEST(WindowCut, RejectsAnOffsetThatEndsPastTheData)
{
    const cut_run_t run(2, 28, 6, true, -6.0f); // the end 15 + 6 = 21 of 20 symbols
    EXPECT_FALSE(run.cut.decoded_cut);
    EXPECT_TRUE(run.cut.offset_rejected);
    EXPECT_EQ(run.decoded, range(6, 15));
    const cut_run_t edge(2, 28, 6, true, -5.0f); // 15 + 5 = 20 is the end itself; 6 + 5 = 11 on, 15 - 6 - 5 = 4 of them
    EXPECT_TRUE(edge.cut.decoded_cut);
    EXPECT_EQ(edge.decoded, range(11, 15));
}

TEST(WindowCut, RejectsAnOffsetThatLeadsInFrontOfTheData)
{
    // The window has been held at the first symbol, so it is not where the offset would have it.
    const cut_run_t run(0, 10, 3, true, -3.5f); // floor is -4
    EXPECT_FALSE(run.cut.decoded_cut);
    EXPECT_TRUE(run.cut.offset_rejected);
    EXPECT_EQ(run.decoded, range(3, 5));
    EXPECT_EQ(run.ref, make_points(0, 10));
    EXPECT_TRUE(cut_run_t(0, 10, 3, true, -3.0f).cut.decoded_cut);

    const cut_run_t short_data(0, 50, 3, true, -4.0f);
    EXPECT_TRUE(short_data.cut.too_short);
    EXPECT_FALSE(short_data.cut.decoded_cut);
    EXPECT_TRUE(short_data.cut.offset_rejected);
    EXPECT_EQ(short_data.decoded, range(3, 20));
}

TEST(WindowCut, TakesAnOffsetThatIsNoNumberForNone)
{
    for (const float offset : { not_a_number, std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity() })
    {
        const cut_run_t run(6, 10, 3, true, offset);
        EXPECT_TRUE(run.cut.decoded_cut);
        EXPECT_FALSE(run.cut.offset_rejected);
        EXPECT_EQ(run.decoded, range(3, 8));
        EXPECT_EQ(cal_window_start(6, 2, offset, 4), 12u);
    }
}

TEST(WindowCut, RejectsAnOffsetBehindTheWindow)
{
    // The window ends at symbol 8, the word stands at 10: 8 - 9 is negative. The length 8 - 10 wraps to all that follows.
    const cut_run_t run(6, 10, 10, true, 9.0f);
    EXPECT_FALSE(run.cut.decoded_cut);
    EXPECT_TRUE(run.cut.offset_rejected);
    EXPECT_EQ(run.decoded, range(10, 20));
}

TEST(WindowCut, TakesTheWindowWhenTheWordIsMovedPastTheData)
{
    const cut_run_t run(6, 10, 15, true, -8.0f); // 15 + 8 = 23 of 20, the end 8 + 8 = 16 inside
    EXPECT_FALSE(run.cut.decoded_cut);
    EXPECT_TRUE(run.cut.offset_rejected);
    EXPECT_EQ(run.decoded, range(0, 8));
}

TEST(WindowCut, WithTheWordBehindTheWindowFollowsTheLength)
{
    EXPECT_EQ(cut_run_t(6, 10, 10, true, 2.0f).decoded, range(8, 8));  // length 8 - 10 + 2 = 0
    EXPECT_EQ(cut_run_t(6, 10, 10, true, 1.0f).decoded, range(9, 20)); // length -1: all that follows
}

TEST(WindowCut, ReachesTheLastPoint)
{
    const cut_run_t run(6, 34, 3, true, 0.0f);
    EXPECT_FALSE(run.cut.too_short);
    EXPECT_EQ(run.decoded, range(3, 20));
    EXPECT_EQ(run.ref, make_points(6, 40));
}

TEST(WindowCut, KeepsTheFirstPointsOfShortData)
{
    const cut_run_t run(6, 35, 3, true, 1.0f);
    EXPECT_TRUE(run.cut.too_short);
    EXPECT_TRUE(run.cut.decoded_cut);
    EXPECT_FALSE(run.cut.offset_rejected);
    EXPECT_EQ(run.ref, make_points(0, 35));
    EXPECT_EQ(run.meas, make_points(0, 35));
    EXPECT_EQ(run.decoded, range(2, 20));

    const cut_run_t longer(0, 50, 0, true, 0.0f);
    EXPECT_TRUE(longer.cut.too_short);
    EXPECT_EQ(longer.ref, make_points(0, 40));
    EXPECT_EQ(longer.meas, make_points(0, 40));
}

TEST(WindowCut, OfShortDataWithoutASyncWordKeepsTheSymbols)
{
    const cut_run_t run(6, 38, 0, false, -3.0f);
    EXPECT_TRUE(run.cut.too_short);
    EXPECT_FALSE(run.cut.decoded_cut);
    EXPECT_FALSE(run.cut.offset_rejected);
    EXPECT_EQ(run.decoded, range(0, 20));
    EXPECT_EQ(cut_run_t(6, 38, 4, false, 0.0f).decoded, range(4, 20));
}

TEST(WindowCut, OfShortDataRejectsAnOffsetBeforeThem)
{
    const cut_run_t run(6, 38, 3, true, 4.0f);
    EXPECT_TRUE(run.cut.too_short);
    EXPECT_FALSE(run.cut.decoded_cut);
    EXPECT_TRUE(run.cut.offset_rejected);
    EXPECT_EQ(run.decoded, range(3, 20));
}

TEST(WindowCut, OfShortDataRejectsAnOffsetPastThem)
{
    const cut_run_t run(6, 38, 12, true, -9.0f); // 12 + 9 = 21 of 20
    EXPECT_FALSE(run.cut.decoded_cut);
    EXPECT_TRUE(run.cut.offset_rejected);
    EXPECT_EQ(run.decoded, range(0, 20));
    const cut_run_t inside(6, 38, 12, true, -7.0f);
    EXPECT_TRUE(inside.cut.decoded_cut);
    EXPECT_EQ(inside.decoded, range(19, 20));
}

TEST(WindowCut, CountsItsEndInThirtyTwoBits)
{
    // 0xfffffff0 + 32 is 16, a window that seems to fit; the slice from 32 of that length takes what exists.
    const cut_run_t run(32, 0xfffffff0u, 0, false, 0.0f);
    EXPECT_FALSE(run.cut.too_short);
    EXPECT_EQ(run.decoded, range(0, 8));
    EXPECT_EQ(run.ref, make_points(32, 40));
    EXPECT_EQ(run.meas, make_points(32, 40));
}

TEST(WindowCut, WithTheWordPastTheSymbolsKeepsThemAll)
{
    EXPECT_EQ(cut_run_t(6, 10, 20, false, 0.0f).decoded, range(0, 20));
}

TEST(WindowScale, BringsTheReferenceToPeakOneAndTheMeasurementToItsRms)
{
    // Points between the symbols have no say.
    complex_array ref = { { 0.0f, 4.0f }, { 50.0f, 0.0f }, { 1.2f, 1.6f }, { 0.0f, -8.0f } };
    complex_array meas = { { 3.0f, 0.0f }, { 70.0f, 7.0f }, { 0.0f, -3.0f }, { 0.0f, 1.0f } };
    float level = 0.0f;
    EXPECT_EQ(deal_window_scale(2, meas, ref, level), window_scale_t::done);
    const std::complex<double> wanted_ref[] = { { 0.0, 1.0 }, { 12.5, 0.0 }, { 0.3, 0.4 }, { 0.0, -2.0 } };
    const double gain = std::sqrt((1.0 + 0.25) / 2.0) / 3.0;
    const std::complex<double> wanted_meas[] = { { 3.0, 0.0 }, { 70.0, 7.0 }, { 0.0, -3.0 }, { 0.0, 1.0 } };
    for (std::size_t i = 0; i < 4; ++i)
    {
        EXPECT_NEAR(std::abs(std::complex<double>(ref[i]) - wanted_ref[i]), 0.0, 2e-6) << i;
        EXPECT_NEAR(std::abs(std::complex<double>(meas[i]) - gain * wanted_meas[i]), 0.0, 1e-5) << i;
    }
}

TEST(WindowScale, FindsNoReference)
{
    complex_array ref = { { 0.0f, 0.0f }, { 5.0f, 0.0f }, { 5e-13f, 0.0f }, { 5.0f, 0.0f } };
    const complex_array ref_before = ref;
    complex_array meas = make_points(1, 5);
    float level = 1.0f;
    EXPECT_EQ(deal_window_scale(2, meas, ref, level), window_scale_t::no_reference);
    EXPECT_FLOAT_EQ(level, 5e-13f);
    EXPECT_EQ(ref, ref_before);
    EXPECT_EQ(meas, make_points(1, 5));

    complex_array none;
    EXPECT_EQ(deal_window_scale(2, meas, none, level), window_scale_t::no_reference);
    EXPECT_EQ(level, 0.0f);
}

TEST(WindowScale, FindsNoMeasurement)
{
    complex_array ref = { { 2.0f, 0.0f }, { 1.0f, 0.0f } };
    complex_array meas = { { 0.0f, 0.0f }, { 4.0f, 0.0f } };
    float level = 1.0f;
    EXPECT_EQ(deal_window_scale(2, meas, ref, level), window_scale_t::no_measurement);
    EXPECT_EQ(level, 0.0f);
    EXPECT_EQ(ref[0], std::complex<float>(1.0f, 0.0f));
    EXPECT_EQ(meas[1], std::complex<float>(4.0f, 0.0f));

    complex_array none;
    EXPECT_EQ(deal_window_scale(2, none, ref, level), window_scale_t::no_measurement);
}

TEST(WindowScale, MendsPointsThatAreNoNumbers)
{
    complex_array ref = { { 2.0f, 0.0f }, { 1.0f, not_a_number }, { not_a_number, 1.0f }, { 1.0f, 0.0f } };
    complex_array meas = {
        { 4.0f, 0.0f }, { std::numeric_limits<float>::infinity(), 0.0f }, { 0.0f, 4.0f }, { 0.0f, not_a_number }
    };
    float level = 0.0f;
    EXPECT_EQ(deal_window_scale(2, meas, ref, level), window_scale_t::done);
    EXPECT_EQ(ref, (complex_array{ { 1.0f, 0.0f }, { 0.0f, 0.0f }, { 0.0f, 0.0f }, { 0.5f, 0.0f } }));
    const float gain = static_cast<float>(std::sqrt(0.5) / 4.0);
    EXPECT_FLOAT_EQ(meas[0].real(), 4.0f * gain);
    EXPECT_EQ(meas[1], std::complex<float>(0.0f, 0.0f));
    EXPECT_FLOAT_EQ(meas[2].imag(), 4.0f * gain);
    EXPECT_EQ(meas[3], std::complex<float>(0.0f, 0.0f));
}

TEST(WindowScale, TakesALevelThatIsNoNumberForNone)
{
    complex_array ref = { { 2.0f, 0.0f }, { 1.0f, 0.0f } };
    complex_array meas = { { not_a_number, 0.0f }, { 4.0f, 0.0f } };
    float level = 0.0f;
    EXPECT_EQ(deal_window_scale(1, meas, ref, level), window_scale_t::no_measurement);
    EXPECT_EQ(meas[1], std::complex<float>(4.0f, 0.0f));
}
