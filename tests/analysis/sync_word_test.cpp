// Words of every kind, and windows that are moved against them.

#include "sync_search_run.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

using namespace dma_test;
using namespace vrim::dma_demod_lib;

namespace
{
using symbols_t = std::vector<std::uint32_t>;

constexpr const char* not_found_text = "Pattern Not Found!\n";

/// QPSK with the usual word at symbol 301.
struct qpsk_bench_t : sync_bench_t
{
    explicit qpsk_bench_t(std::uint32_t position = 301) : sync_bench_t(make_sync_signal(signal_format_t::qpsk, position, 17)) {}
};

// The first decoded symbol: the one centred up to a symbol in front of the nominal place, at 0.3 symbols behind symbol 89.
constexpr std::uint32_t first_symbol = 89;

TEST(SyncWord, LongerThanTheDataIsNotFound)
{
    qpsk_bench_t bench;
    for (const std::size_t bits : { 2U * 850U, 8000U })
    {
        bench.setting.sync_bits = std::string(bits, '1');
        const sync_run_t run = bench.run();
        ASSERT_TRUE(run.result.locked());
        EXPECT_FALSE(run.result.sync_found);
        EXPECT_FALSE(run.decode_flag);
        EXPECT_TRUE(run.has_message(not_found_text));
        EXPECT_EQ(run.result.decoded.size(), sync_interval);
    }
}

TEST(SyncWord, OfOneSymbolIsFoundAtItsFirstPlaceUnturned)
{
    qpsk_bench_t bench;
    for (const std::uint32_t symbol : { 0U, 1U, 2U, 3U })
    {
        bench.setting.sync_bits = make_word_bits(signal_format_t::qpsk, { symbol });
        const sync_run_t run = bench.run();
        ASSERT_TRUE(run.result.sync_found);
        EXPECT_TRUE(run.decode_flag);
        ASSERT_EQ(run.result.decoded.size(), sync_interval);
        EXPECT_EQ(run.result.decoded[0], symbol);
        // Nothing tells the quarter turns apart, so the first one is taken.
        std::uint32_t lag = first_symbol;
        decode_match_t match;
        for (; lag < first_symbol + 30 && !match.found; ++lag)
            match = match_decoded(signal_format_t::qpsk, run.result.decoded, bench.signal.symbols, static_cast<std::int32_t>(lag),
                                  static_cast<std::int32_t>(lag));
        EXPECT_TRUE(match.found);
    }
}

TEST(SyncWord, ThatIsEmptyIsFoundAtTheStart)
{
    const qpsk_bench_t bench;
    lib_dma_frame_configure_manager_t frame = make_frame(bench.setting);
    frame.set_sync_pattern_type(LIB_DMA_SYNC_HEX_PATTERN);
    ASSERT_TRUE(frame.set_sync_pattern_bit("0101")); // a setter of another type leaves no bits
    ASSERT_TRUE(frame.get_sync_pattern_bitarr().empty());
    const sync_run_t run(bench.signal.samples, frame, bench.setting.sample_rate);
    EXPECT_EQ(run.result.code, LIB_DMA_RESULT_OK);
    EXPECT_TRUE(run.result.messages.empty());
    EXPECT_TRUE(run.result.sync_found);
    EXPECT_TRUE(run.decode_flag);
    ASSERT_EQ(run.result.decoded.size(), sync_interval);
    EXPECT_TRUE(match_decoded(signal_format_t::qpsk, run.result.decoded, bench.signal.symbols, first_symbol, first_symbol).found);
    EXPECT_GT(bench.agree(run, first_symbol), 0.99);
}

TEST(SyncWord, ThatWasSetForAnotherFormatIsFittedToTheSymbols)
{
    const signal_setting_t signal_setting = make_sync_signal(signal_format_t::psk8, 301, 18);
    const signal_t signal = make_sync_record(signal_setting);
    analysis_setting_t setting = make_sync_analysis(signal_setting);
    const std::string word = setting.sync_bits;
    const auto run_with = [&](const std::string& bits)
    {
        setting.format = signal_format_t::bpsk; // takes any count of bits
        setting.sync_bits = bits;
        lib_dma_frame_configure_manager_t frame = make_frame(setting);
        frame.get_segment(0).get_format_configure().set_psk_format(LIB_DMA_MODULATION_PSK_8_PSK);
        EXPECT_EQ(frame.get_sync_pattern_bitarr().size(), bits.size());
        return sync_run_t(signal.samples, frame, setting.sample_rate);
    };
    for (const char* ragged_end : { "", "0", "1", "01" })
    {
        const sync_run_t cut = run_with(word + ragged_end);
        ASSERT_TRUE(cut.result.sync_found) << ragged_end;
        EXPECT_EQ(cut.result.decoded, cut_symbols(signal, 301, 301 + sync_interval)) << ragged_end;
    }
    // 10 becomes 100, 1 becomes 100 too.
    for (const char* short_word : { "10", "1" })
    {
        const sync_run_t padded = run_with(short_word);
        ASSERT_TRUE(padded.result.sync_found) << short_word;
        ASSERT_FALSE(padded.result.decoded.empty());
        EXPECT_EQ(padded.result.decoded[0], 4U) << short_word;
    }
}

TEST(SyncWord, IsSearchedInTheIndicesOfTheUsersOwnMap)
{
    // The same points under other numbers: the index of the point at 45 degrees is 2 and so on.
    qpsk_bench_t bench;
    const symbols_t renamed = { 3, 2, 0, 1 };
    const std::vector<std::complex<double>>& points = get_signal_format(signal_format_t::qpsk).points;
    for (std::uint32_t i = 0; i < points.size(); ++i)
        bench.setting.map[renamed[i]] = std::complex<float>(points[i]);
    symbols_t word = bench.signal_setting.sync_symbols;
    symbols_t expected = cut_symbols(bench.signal, 301, 301 + sync_interval);
    for (symbols_t* symbols : { &word, &expected })
    {
        for (std::uint32_t& symbol : *symbols)
            symbol = renamed[symbol];
    }
    bench.setting.sync_bits = make_word_bits(signal_format_t::qpsk, word);
    const sync_run_t run = bench.run();
    ASSERT_TRUE(run.result.sync_found);
    EXPECT_EQ(run.result.decoded, expected);
}

TEST(SyncWord, StandsForTheFirstOfTwo)
{
    qpsk_bench_t bench(250);
    // The same word once more, 200 symbols on: shift the data and lay them over each other.
    signal_setting_t second = bench.signal_setting;
    second.sync_position = 450;
    const signal_t other = make_sync_record(second);
    vrim::complex_array capture = bench.signal.samples;
    std::copy(other.samples.begin() + 4 * 350, other.samples.end(), capture.begin() + 4 * 350);
    const sync_run_t run(capture, bench.setting);
    ASSERT_TRUE(run.result.sync_found);
    EXPECT_EQ(run.result.decoded, cut_symbols(bench.signal, 250, 250 + sync_interval));
}

TEST(SyncWord, IsFoundAtEveryRateOfTheResultsAndOfTheCapture)
{
    for (const signal_format_t format : { signal_format_t::psk8, signal_format_t::qam16_pi_4, signal_format_t::d8psk_pi_8 })
    {
        for (const double sample_rate : { 4.0e6, 3.7e6 })
        {
            signal_setting_t signal_setting = make_sync_signal(format, 301, 19);
            signal_setting.sample_rate = sample_rate;
            const signal_t signal = make_sync_record(signal_setting);
            for (const std::uint32_t points : { 1U, 2U, 4U, 5U, 6U, 8U, 10U, 20U })
            {
                SCOPED_TRACE(testing::Message() << get_signal_format(format).name << " " << sample_rate << " Hz " << points
                                                << " points");
                analysis_setting_t setting = make_sync_analysis(signal_setting);
                setting.points_per_symbol = points;
                const sync_run_t run(signal.samples, setting);
                ASSERT_TRUE(run.result.sync_found);
                EXPECT_TRUE(run.decode_flag);
                EXPECT_EQ(run.result.decoded, cut_symbols(signal, 301, 301 + sync_interval));
                EXPECT_EQ(run.result.summary.meas_data.size(), static_cast<std::size_t>(sync_interval) * points);
                EXPECT_GT(cal_agreement(format, run.result.meas_symbols, signal, 301), 0.99);
            }
        }
    }
}

TEST(SyncWord, IsFoundInAMirroredCaptureThatIsInverted)
{
    for (const signal_format_t format : { signal_format_t::qpsk, signal_format_t::qam64, signal_format_t::fsk4 })
    {
        SCOPED_TRACE(get_signal_format(format).name);
        const signal_setting_t signal_setting = make_sync_signal(format, 301, 20);
        const signal_t signal = make_sync_record(signal_setting);
        vrim::complex_array mirrored = signal.samples;
        for (std::complex<float>& sample : mirrored)
            sample = std::conj(sample);
        analysis_setting_t setting = make_sync_analysis(signal_setting);
        EXPECT_FALSE(sync_run_t(mirrored, setting).result.sync_found);
        setting.inverted = true;
        const sync_run_t run(mirrored, setting);
        ASSERT_TRUE(run.result.sync_found);
        EXPECT_EQ(run.result.decoded, cut_symbols(signal, 301, 301 + sync_interval));
    }
}

TEST(SyncWord, IsFoundBehindTheEqualizer)
{
    // It runs the search in each of its passes and takes 23 symbols of run-in more.
    for (const signal_format_t format : { signal_format_t::qpsk, signal_format_t::qam16, signal_format_t::dqpsk_pi_4,
                                          signal_format_t::fsk2, signal_format_t::fsk32, signal_format_t::fsk64,
                                          signal_format_t::oqpsk })
    {
        SCOPED_TRACE(get_signal_format(format).name);
        signal_setting_t signal_setting = make_sync_signal(format, 301, 33);
        signal_setting.symbol_count += 128; // whole runs of tones
        const signal_t signal = make_sync_record(signal_setting);
        analysis_setting_t setting = make_sync_analysis(signal_setting);
        setting.search_length += (64.0 - 23.0) / signal_setting.symbol_rate; // whole runs of tones again
        lib_dma_frame_configure_manager_t frame = make_frame(setting);
        frame.get_segment(0).get_advance_configure().set_equalizer(true);
        const sync_run_t run(signal.samples, frame, setting.sample_rate);
        ASSERT_TRUE(run.result.sync_found);
        EXPECT_TRUE(run.decode_flag);
        EXPECT_TRUE(run.result.messages.empty());
        EXPECT_EQ(run.result.decoded, cut_symbols(signal, 301, 301 + sync_interval));
        if (format != signal_format_t::oqpsk)
        {
            EXPECT_GT(cal_agreement(format, run.result.meas_symbols, signal, 301), 0.99);
        }
    }
}

TEST(SyncWord, LeavesNothingToTheNextRunOfTheSameAnalyser)
{
    qpsk_bench_t bench;
    lib_dma_phy_t analyser;
    EXPECT_TRUE(analyse(analyser, bench.signal.samples, bench.setting).sync_found);
    EXPECT_TRUE(analyser.get_data_manager().get_decode_bit_flag(0));
    bench.setting.sync_bits = make_word_bits(signal_format_t::qpsk, make_word(signal_format_t::qpsk, 2));
    EXPECT_FALSE(analyse(analyser, bench.signal.samples, bench.setting).sync_found);
    EXPECT_FALSE(analyser.get_data_manager().get_decode_bit_flag(0));
}

// Offsets of the window against the word, QPSK where nothing else is said

struct offset_case_t
{
    float offset;        ///< symbols
    std::int32_t window; ///< first symbol of the window against the word
    std::int32_t moved;  ///< whole offset, rounded down: the decoded symbols start so far in front of the word
};

/// @param word  symbol at which it stands
void expect_moved_window(sync_bench_t& bench, std::uint32_t word, const offset_case_t& one)
{
    bench.setting.sync_offset = one.offset;
    const sync_run_t run = bench.run();
    ASSERT_TRUE(run.result.sync_found);
    EXPECT_TRUE(run.decode_flag);
    EXPECT_TRUE(run.result.messages.empty());
    const std::uint32_t first = static_cast<std::uint32_t>(static_cast<std::int32_t>(word) + one.window);
    EXPECT_EQ(run.result.meas_symbols.size(), sync_interval);
    EXPECT_GT(bench.agree(run, first), 0.99);
    const double start = static_cast<double>(run.result.result_start) * bench.signal.symbol_rate / bench.signal.sample_rate;
    EXPECT_NEAR(start, static_cast<double>(first) + bench.signal_setting.timing_symbols, 1.02);
    // The decoded symbols go from the word less the whole offset to the end of the window.
    const std::uint32_t begin = static_cast<std::uint32_t>(static_cast<std::int32_t>(word) - one.moved);
    const std::uint32_t end = first + sync_interval;
    if (begin < end)
    {
        EXPECT_EQ(run.result.decoded, cut_symbols(bench.signal, begin, end));
    }
    else // a length below 0 stands for everything that follows
    {
        EXPECT_GT(run.result.decoded.size(), 200U);
        EXPECT_EQ(run.result.decoded, cut_symbols(bench.signal, begin, begin + run.result.decoded.size()));
    }
}

TEST(SyncOffset, MovesTheWindowByItsBitsRoundedToSymbols)
{
    // Two bits a symbol: whole bits, rounded down, make half symbols; these are rounded up.
    constexpr std::uint32_t word = 301;
    for (const offset_case_t& one : { offset_case_t{ 0.0f, 0, 0 }, offset_case_t{ 5.0f, 5, 5 }, offset_case_t{ 60.0f, 60, 60 },
                                      offset_case_t{ 0.25f, 0, 0 }, offset_case_t{ 0.5f, 1, 0 }, offset_case_t{ 0.99f, 1, 0 },
                                      offset_case_t{ 1.75f, 2, 1 }, offset_case_t{ -0.25f, 0, -1 },
                                      offset_case_t{ -0.5f, 0, -1 }, offset_case_t{ -0.75f, -1, -1 },
                                      offset_case_t{ -1.5f, -1, -2 }, offset_case_t{ -20.0f, -20, -20 },
                                      offset_case_t{ -200.0f, -200, -200 } })
    {
        SCOPED_TRACE(testing::Message() << "offset " << one.offset);
        qpsk_bench_t bench(word);
        expect_moved_window(bench, word, one);
    }
}

TEST(SyncOffset, CountsInWholeSymbolsOf32And64Tones)
{
    // One bit a symbol.
    constexpr std::uint32_t word = 301;
    for (const signal_format_t format : { signal_format_t::fsk32, signal_format_t::fsk64 })
    {
        for (const offset_case_t& one : { offset_case_t{ 5.0f, 5, 5 }, offset_case_t{ 0.99f, 0, 0 }, offset_case_t{ 1.75f, 1, 1 },
                                          offset_case_t{ -0.25f, -1, -1 }, offset_case_t{ -20.0f, -20, -20 } })
        {
            SCOPED_TRACE(testing::Message() << get_signal_format(format).name << " offset " << one.offset);
            sync_bench_t bench(make_sync_signal(format, word, 22));
            expect_moved_window(bench, word, one);
        }
    }
}

TEST(SyncOffset, InFrontOfTheDataIsRejected)
{
    // The window begins with the data; the decoded symbols begin with the word and end with the window.
    constexpr std::uint32_t word = first_symbol + 12;
    for (const float offset : { -12.5f, -13.0f, -100.0f, -32768.0f })
    {
        SCOPED_TRACE(testing::Message() << "offset " << offset);
        qpsk_bench_t bench(word);
        bench.setting.sync_offset = offset;
        const sync_run_t run = bench.run();
        ASSERT_TRUE(run.result.locked());
        EXPECT_TRUE(run.result.sync_found);
        EXPECT_FALSE(run.decode_flag);
        EXPECT_TRUE(run.result.messages.empty());
        EXPECT_GT(bench.agree(run, first_symbol), 0.99);
        EXPECT_EQ(run.result.decoded, cut_symbols(bench.signal, word, first_symbol + sync_interval));
    }
    qpsk_bench_t edge(word);
    edge.setting.sync_offset = -12.0f;
    EXPECT_TRUE(edge.run().decode_flag);
}

TEST(SyncOffset, BehindTheDataLeavesTheFirstPoints)
{
    // The block ends half a run-in behind the search length.
    constexpr std::uint32_t word = 301;
    const std::uint32_t data_end = 2 * get_search_start(signal_format_t::qpsk) + search_symbols;
    for (const float offset : { 580.0f, 2000.0f, 32767.0f })
    {
        SCOPED_TRACE(testing::Message() << "offset " << offset);
        qpsk_bench_t bench(word);
        bench.setting.sync_offset = offset;
        const sync_run_t run = bench.run();
        ASSERT_EQ(run.result.code, LIB_DMA_RESULT_OK);
        EXPECT_TRUE(run.result.sync_found);
        EXPECT_FALSE(run.decode_flag);
        EXPECT_TRUE(run.has_message("oqpsk_decode_bit:data is too short!\n"));
        EXPECT_EQ(run.result.meas_symbols.size(), sync_interval);
        EXPECT_GT(bench.agree(run, first_symbol), 0.99);
        ASSERT_GT(run.result.decoded.size(), 400U);
        EXPECT_EQ(run.result.decoded, cut_symbols(bench.signal, word, word + run.result.decoded.size()));
        EXPECT_NEAR(static_cast<double>(word + run.result.decoded.size()), static_cast<double>(data_end), 2.0);
    }
}

TEST(SyncOffset, OfAWordNearTheEndKeepsItsSymbolsWhenTheWindowDoesNotFit)
{
    const std::uint32_t word = 2 * get_search_start(signal_format_t::qpsk) + search_symbols - 40;
    const qpsk_bench_t bench(word);
    const sync_run_t run = bench.run();
    ASSERT_EQ(run.result.code, LIB_DMA_RESULT_OK);
    ASSERT_TRUE(run.result.sync_found);
    EXPECT_TRUE(run.decode_flag);
    EXPECT_TRUE(run.has_message("oqpsk_decode_bit:data is too short!\n"));
    EXPECT_GT(bench.agree(run, first_symbol), 0.99);
    ASSERT_GE(run.result.decoded.size(), word_length);
    EXPECT_LE(run.result.decoded.size(), 41U);
    EXPECT_EQ(run.result.decoded, cut_symbols(bench.signal, word, word + run.result.decoded.size()));
}

TEST(SyncOffset, ThatIsNoNumberCountsAsNone)
{
    qpsk_bench_t bench;
    bench.setting.sync_offset = std::numeric_limits<float>::quiet_NaN();
    const sync_run_t run = bench.run();
    ASSERT_TRUE(run.result.sync_found);
    EXPECT_TRUE(run.decode_flag);
    EXPECT_EQ(run.result.decoded, cut_symbols(bench.signal, 301, 301 + sync_interval));
    EXPECT_GT(bench.agree(run, 301), 0.99);
}

TEST(SyncOffset, WithoutTheWordStillMovesTheWindow)
{
    // The word counts as one at the start of the data.
    qpsk_bench_t bench;
    bench.setting.sync_bits = make_word_bits(signal_format_t::qpsk, make_word(signal_format_t::qpsk, 2));
    bench.setting.sync_offset = 25.0f;
    const sync_run_t run = bench.run();
    ASSERT_EQ(run.result.messages, std::vector<std::string>{ not_found_text });
    EXPECT_FALSE(run.decode_flag);
    EXPECT_GT(bench.agree(run, first_symbol + 25), 0.99);
    EXPECT_EQ(run.result.decoded.size(), 25 + sync_interval);
}
} // namespace
