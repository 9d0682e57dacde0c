// A word that stands somewhere in the capture, and what the search makes of it.

#include "sync_search_run.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <complex>
#include <cstdint>
#include <numbers>
#include <string>
#include <vector>

using namespace dma_test;
using namespace vrim::dma_demod_lib;

namespace
{
using symbols_t = std::vector<std::uint32_t>;

constexpr double pi = std::numbers::pi;
constexpr const char* not_found_text = "Pattern Not Found!\n";

std::vector<double> make_phases(std::uint32_t count)
{
    std::vector<double> phases;
    for (std::uint32_t i = 0; i < count; ++i)
        phases.push_back(0.11 + 2.0 * pi * static_cast<double>(i) / static_cast<double>(count));
    return phases;
}

lib_dma_modulation_type_t get_group(signal_format_t format)
{
    return get_library_format(format).group;
}

/// The first symbols of an MSK search are not looked at: its clock lets one or two go, and its positions do not count them.
std::uint32_t get_lost_symbols(signal_format_t format)
{
    return get_group(format) == LIB_DMA_GROUP_MSK ? 2 : 0;
}

/// Places of the word: at the start of the search, inside, and with its end on the search length's.
std::vector<std::uint32_t> make_positions(signal_format_t format)
{
    const std::uint32_t start = get_search_start(format) + get_lost_symbols(format);
    return { start, start + 333, start + search_symbols - word_length };
}

/// Offset QPSK leaves its positions at 0.
bool has_result_position(signal_format_t format)
{
    return get_group(format) != LIB_DMA_GROUP_OQPSK;
}

/// Measured symbols can be held to those sent, one by one.
bool has_points_at_symbols(signal_format_t format)
{
    return get_group(format) != LIB_DMA_GROUP_MSK && get_group(format) != LIB_DMA_GROUP_OQPSK;
}

std::string get_test_name(signal_format_t format)
{
    std::string name = "Format";
    for (const char c : get_signal_format(format).name)
    {
        if (std::isalnum(static_cast<unsigned char>(c)) != 0)
            name += c;
    }
    return name;
}

class SyncSearch : public testing::TestWithParam<signal_format_t>
{
};

TEST_P(SyncSearch, FindsAWordAnywhereInTheSearchLengthAtEveryCarrierPhase)
{
    const signal_format_t format = GetParam();
    const std::vector<std::uint32_t> positions = make_positions(format);
    for (const std::uint32_t position : positions)
    {
        const bool inside = position == positions[1];
        const std::uint32_t seeds = inside && !small_grids && get_order(format) <= 64 ? 2 : 1;
        for (std::uint32_t seed = 1; seed <= seeds; ++seed)
        {
            const signal_setting_t signal_setting = make_sync_signal(format, position, 40 * seed + position);
            const signal_t signal = make_sync_record(signal_setting);
            const symbols_t expected = cut_symbols(signal, position, position + sync_interval);
            for (const double phase : make_phases(small_grids ? 2 : 8))
            {
                SCOPED_TRACE(testing::Message() << "position " << position << " seed " << seed << " phase " << phase);
                const sync_run_t run(turn_capture(signal.samples, phase), make_sync_analysis(signal_setting));
                ASSERT_TRUE(run.result.locked());
                EXPECT_TRUE(run.result.messages.empty()) << run.result.messages.front();
                ASSERT_TRUE(run.result.sync_found);
                EXPECT_TRUE(run.decode_flag);
                EXPECT_EQ(run.result.decoded, expected);
                EXPECT_EQ(run.result.meas_symbols.size(), sync_interval);
                // The window's first point is the one nearest to the symbol's centre; the start counts whole samples.
                if (has_result_position(format))
                {
                    const double start = static_cast<double>(run.result.result_start) * signal_setting.symbol_rate /
                                         signal_setting.sample_rate;
                    EXPECT_NEAR(start, static_cast<double>(position) + signal_setting.timing_symbols,
                                1.02 + get_lost_symbols(format));
                }
                if (has_points_at_symbols(format)) // one symbol off leaves an agreement of 0 to 0.3
                {
                    EXPECT_GT(cal_agreement(format, run.result.meas_symbols, signal, position), 0.99);
                }
            }
        }
    }
}

TEST_P(SyncSearch, GoesOnWithoutTheWordFromTheStart)
{
    const signal_format_t format = GetParam();
    const std::uint32_t start = get_search_start(format);
    signal_setting_t signal_setting = make_sync_signal(format, start + 100, 7);
    const analysis_setting_t setting = make_sync_analysis(signal_setting);
    signal_setting.sync_symbols.clear();
    const signal_t signal = make_sync_record(signal_setting);
    const sync_run_t run(signal.samples, setting);
    ASSERT_TRUE(run.result.locked());
    EXPECT_EQ(run.result.messages, std::vector<std::string>{ not_found_text });
    EXPECT_FALSE(run.result.sync_found);
    EXPECT_FALSE(run.decode_flag);
    EXPECT_EQ(run.result.decoded.size(), sync_interval);
    if (get_group(format) == LIB_DMA_GROUP_ASK)
    {
        // The symbols are those of the last turn, half a turn, at which all stand on the far side of the lowest level.
        EXPECT_EQ(run.result.decoded, symbols_t(sync_interval, 0));
    }
    else if (get_order(format) <= 512) // matching takes long beyond
    {
        const std::int32_t nominal = static_cast<std::int32_t>(start);
        const decode_match_t match = match_decoded(format, run.result.decoded, signal.symbols, nominal - 3, nominal + 3);
        EXPECT_TRUE(match.found) << match.differing;
        EXPECT_NEAR(match.lag, nominal, 1.0 + get_lost_symbols(format));
    }
}

TEST_P(SyncSearch, FindsNothingBehindTheData)
{
    // The block ends half a run-in behind the search length.
    const signal_format_t format = GetParam();
    const std::uint32_t start = get_search_start(format);
    signal_setting_t signal_setting = make_sync_signal(format, 2 * start + search_symbols + 2, 8);
    signal_setting.symbol_count += 64;
    const sync_run_t run(make_sync_record(signal_setting).samples, make_sync_analysis(signal_setting));
    ASSERT_TRUE(run.result.locked());
    EXPECT_FALSE(run.result.sync_found);
    EXPECT_EQ(run.result.messages, std::vector<std::string>{ not_found_text });
}

INSTANTIATE_TEST_SUITE_P(All, SyncSearch,
                         testing::Values(signal_format_t::bpsk, signal_format_t::qpsk, signal_format_t::psk8,
                                         signal_format_t::qam16, signal_format_t::qam32, signal_format_t::qam64,
                                         signal_format_t::qam128, signal_format_t::qam256, signal_format_t::qam512,
                                         signal_format_t::qam1024, signal_format_t::qam2048, signal_format_t::qam4096,
                                         signal_format_t::qam16_pi_4, signal_format_t::qam32_minus_pi_4, signal_format_t::ask2,
                                         signal_format_t::ask4, signal_format_t::ask8, signal_format_t::ask16,
                                         signal_format_t::apsk16, signal_format_t::apsk32, signal_format_t::dbpsk,
                                         signal_format_t::dqpsk, signal_format_t::dqpsk_pi_4, signal_format_t::d8psk_pi_8,
                                         signal_format_t::d8psk, signal_format_t::fsk2, signal_format_t::fsk4,
                                         signal_format_t::fsk8, signal_format_t::fsk16, signal_format_t::fsk32,
                                         signal_format_t::fsk64, signal_format_t::msk, signal_format_t::gmsk,
                                         signal_format_t::oqpsk),
                         [](const auto& format) { return get_test_name(format.param); });

// Formats with a fixed turn per symbol

class TurningSyncSearch : public testing::TestWithParam<signal_format_t>
{
};

TEST_P(TurningSyncSearch, TriesTwoOppositeTurns)
{
    // The carrier locks at any of the format's turns. Of the words that differ by them, one and its opposite are found.
    const signal_format_t format = GetParam();
    const std::uint32_t turns = get_signal_format(format).symmetry;
    const signal_setting_t signal_setting = make_sync_signal(format, 301, 5);
    const signal_t signal = make_sync_record(signal_setting);
    std::vector<bool> reached(turns, false);
    for (const double phase : make_phases(small_grids ? 3 : 16))
    {
        SCOPED_TRACE(testing::Message() << "phase " << phase);
        const vrim::complex_array capture = turn_capture(signal.samples, phase);
        std::vector<std::uint32_t> found;
        for (std::uint32_t turn = 0; turn < turns; ++turn)
        {
            analysis_setting_t setting = make_sync_analysis(signal_setting);
            setting.sync_bits = make_word_bits(format, turn_symbols(format, signal_setting.sync_symbols, turn));
            const sync_run_t run(capture, setting);
            ASSERT_TRUE(run.result.locked());
            EXPECT_EQ(run.decode_flag, run.result.sync_found);
            if (!run.result.sync_found)
                continue;
            found.push_back(turn);
            const symbols_t sent = cut_symbols(signal, 301, 301 + sync_interval);
            EXPECT_EQ(run.result.decoded, turn_symbols(format, sent, turn));
        }
        ASSERT_EQ(found.size(), 2U);
        EXPECT_EQ(found[1] - found[0], turns / 2);
        reached[found[0]] = true;
    }
    if (!small_grids)
    {
        EXPECT_GT(std::count(reached.begin(), reached.end(), true), 1) << "the phases should reach several locks";
    }
}

INSTANTIATE_TEST_SUITE_P(All, TurningSyncSearch, testing::Values(signal_format_t::qpsk_3pi_4, signal_format_t::psk8_3pi_8),
                         [](const auto& format) { return get_test_name(format.param); });

// 32 and 64 tones: a symbol counts as one bit of a word, the lowest of its index.

/// Index of the tone that stands `steps` below another one, or of the lowest. Indices rise over the lower tones and fall over the
/// upper ones, towards the centre.
std::uint32_t lower_tone(signal_format_t format, std::uint32_t index, std::uint32_t steps)
{
    const std::uint32_t order = get_order(format);
    const std::uint32_t half = order / 2;
    const std::uint32_t tone = index < half ? index : order - 1 - (index - half);
    const std::uint32_t lower = tone - std::min(tone, steps);
    return lower < half ? lower : half + order - 1 - lower;
}

class ManyToneSync : public testing::TestWithParam<signal_format_t>
{
};

TEST_P(ManyToneSync, FindsAllSymbolsWithTheLowestBitsOfTheWord)
{
    const signal_format_t format = GetParam();
    signal_setting_t signal_setting = make_sync_signal(format, 301, 23);
    std::string lowest_bits;
    for (std::uint32_t& symbol : signal_setting.sync_symbols)
    {
        lowest_bits += symbol % 2 == 0 ? '0' : '1';
        symbol ^= 22; // other tones
    }
    sync_bench_t bench(signal_setting);
    bench.setting.sync_bits = lowest_bits;
    const sync_run_t run = bench.run();
    ASSERT_TRUE(run.result.sync_found);
    EXPECT_TRUE(run.decode_flag);
    EXPECT_EQ(run.result.decoded, cut_symbols(bench.signal, 301, 301 + sync_interval));
}

TEST_P(ManyToneSync, FindsNothingByAllBitsOfTheSymbols)
{
    const signal_format_t format = GetParam();
    sync_bench_t bench(make_sync_signal(format, 301, 24));
    bench.setting.sync_bits.clear();
    for (const std::uint8_t bit : symbols_to_bits(bench.signal_setting.sync_symbols, get_signal_format(format).bits_per_symbol))
        bench.setting.sync_bits += bit == 0 ? '0' : '1';
    const sync_run_t run = bench.run();
    ASSERT_TRUE(run.result.locked());
    EXPECT_FALSE(run.result.sync_found);
    EXPECT_FALSE(run.decode_flag);
    EXPECT_EQ(run.result.messages, std::vector<std::string>{ not_found_text });
    const std::uint32_t first = get_search_start(format) - 1; // centred up to a symbol in front of the nominal place
    EXPECT_EQ(run.result.decoded, cut_symbols(bench.signal, first, first + sync_interval));
}

TEST_P(ManyToneSync, FindsTheWordOfAMirroredCaptureWithOrWithoutInversion)
{
    // Indices of tones that stand opposite each other differ in their highest bit.
    const signal_format_t format = GetParam();
    sync_bench_t bench(make_sync_signal(format, 301, 20));
    for (std::complex<float>& sample : bench.signal.samples)
        sample = std::conj(sample);
    const symbols_t sent = cut_symbols(bench.signal, 301, 301 + sync_interval);
    symbols_t exchanged = sent;
    for (std::uint32_t& symbol : exchanged)
        symbol ^= get_order(format) / 2;
    for (const bool inverted : { false, true })
    {
        bench.setting.inverted = inverted;
        const sync_run_t run = bench.run();
        ASSERT_TRUE(run.result.sync_found);
        EXPECT_EQ(run.result.decoded, inverted ? sent : exchanged);
    }
}

// The carrier of FSK is the mean of its outer tones. With one symbol more at the highest of them than at the lowest, one of 23
// or 25 with 64 tones, the centre reads that share of the deviation high: 1.3 or 1.4 tones. Every symbol is decided one tone too
// low, and a word is found by the symbols that it is taken for. Of 32 tones one in 47 or 49 is 0.3 tones, and nothing is lost.
TEST_P(ManyToneSync, MissesTheWordWhereTheOuterTonesMoveTheCarrierByATone)
{
    const signal_format_t format = GetParam();
    sync_bench_t bench(make_sync_signal(format, 301, 27));
    // Begins later by so much that the symbols that count have the surplus.
    constexpr std::uint32_t first_counted = 50;
    constexpr std::uint32_t counted = search_symbols + 180 - 2 * first_counted;
    std::uint32_t late = 0;
    std::ptrdiff_t surplus = 0;
    while (surplus != 1 && late < 60)
    {
        ++late;
        const symbols_t symbols = cut_symbols(bench.signal, first_counted + late, first_counted + late + counted);
        const std::uint32_t highest = get_order(format) / 2;
        surplus = std::count(symbols.begin(), symbols.end(), highest) - std::count(symbols.begin(), symbols.end(), 0U);
    }
    ASSERT_EQ(surplus, 1);
    vrim::complex_array& capture = bench.signal.samples;
    capture.erase(capture.begin(), capture.begin() + 8 * static_cast<std::ptrdiff_t>(late));

    const std::uint32_t wrong_tones = format == signal_format_t::fsk64 ? 1 : 0;
    EXPECT_EQ(bench.run().result.sync_found, wrong_tones == 0);
    symbols_t word = bench.signal_setting.sync_symbols;
    symbols_t expected = cut_symbols(bench.signal, 301, 301 + sync_interval);
    for (symbols_t* symbols : { &word, &expected })
    {
        for (std::uint32_t& symbol : *symbols)
            symbol = lower_tone(format, symbol, wrong_tones);
    }
    bench.setting.sync_bits = make_word_bits(format, word);
    const sync_run_t run = bench.run();
    ASSERT_TRUE(run.result.sync_found);
    EXPECT_EQ(run.result.decoded, expected);
}

INSTANTIATE_TEST_SUITE_P(All, ManyToneSync, testing::Values(signal_format_t::fsk32, signal_format_t::fsk64),
                         [](const auto& format) { return get_test_name(format.param); });
} // namespace
