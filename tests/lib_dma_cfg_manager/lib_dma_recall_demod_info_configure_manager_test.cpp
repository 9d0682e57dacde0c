#include "lib_dma_cfg_manager/lib_dma_recall_demod_info_configure_manager.h"

#include "output_capture.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <gtest/gtest.h>
#include <utility>
#include <vector>

namespace vrim::dma_demod_lib
{
namespace
{
using manager_t = lib_dma_recall_demod_info_configure_manager_t;

constexpr const char* callback_report =
    "lib_dma_recall_demod_info_configure_manager_t::update_syn_pattern_by_ber callback error!\n";

TEST(RecallRecord, StartsWith511ZeroBitsAndNoSequence)
{
    for (const manager_t& record : { manager_t(), manager_t(lib_segment_level_info_t{ [] {} }) })
    {
        EXPECT_FALSE(record.get_ber_state());
        EXPECT_EQ(record.get_total_bits_len(), 0u);
        EXPECT_EQ(record.get_payload_data_type(), LIB_DMA_PN7);
        EXPECT_EQ(record.get_tx_pattern(), bit_array(511, 0));
    }
}

TEST(RecallRecord, StoresPatternAndLengthWithoutACheck)
{
    manager_t record;
    const bit_array pattern = { 1, 0, 7, 255 };
    EXPECT_TRUE(record.set_tx_pattern(pattern));
    EXPECT_TRUE(record.set_total_bits_len(0xffffffffu));
    EXPECT_EQ(record.get_tx_pattern(), pattern);
    EXPECT_EQ(record.get_total_bits_len(), 0xffffffffu);
    EXPECT_TRUE(record.set_tx_pattern({}));
    EXPECT_TRUE(record.get_tx_pattern().empty());
}

// A trinomial x^n + x^k + 1 with all ones to start from: b[i] = b[i - n] ^ b[i - k].
void expect_sequence(const bit_array& bits, std::size_t length, std::size_t n, std::size_t k)
{
    ASSERT_EQ(bits.size(), length);
    for (std::size_t i = 0; i < n; ++i)
        ASSERT_EQ(bits[i], 1) << i;
    for (std::size_t i = n; i < length; ++i)
        ASSERT_EQ(bits[i], bits[i - n] ^ bits[i - k]) << i;
}

TEST(PayloadSequence, RunsThroughOnePeriodOfItsPolynomial)
{
    const struct
    {
        lib_dma_payload_data_type_t type;
        std::size_t length, n, k;
    } cases[] = { { LIB_DMA_PN7, 127, 7, 6 }, { LIB_DMA_PN9, 511, 9, 5 }, { LIB_DMA_PN15, 32767, 15, 14 } };
    for (const auto& item : cases)
    {
        manager_t record;
        output_capture_t output;
        EXPECT_TRUE(record.set_payload_data_type(item.type));
        EXPECT_EQ(record.get_payload_data_type(), item.type);
        expect_sequence(record.get_tx_pattern(), item.length, item.n, item.k);
        // A maximal-length sequence has one more 1 than 0.
        EXPECT_EQ(static_cast<std::size_t>(std::ranges::count(record.get_tx_pattern(), 1)), (item.length + 1) / 2);
        EXPECT_EQ(output.printed, "");
    }
}

TEST(PayloadSequence, OfPn23IsOneBitLongerThanItsPeriodAndStartsFromAllOnes)
{
    manager_t record;
    EXPECT_TRUE(record.set_payload_data_type(LIB_DMA_PN23));
    const bit_array& bits = record.get_tx_pattern();
    expect_sequence(bits, 8388608, 23, 18);
    EXPECT_EQ(bits.back(), bits.front());
    EXPECT_EQ(std::ranges::count(bits, 1), 4194304 + 1);
}

/// Counts of runs by length, of zeros and of ones, around one period.
std::vector<std::array<std::size_t, 2>> count_runs(const bit_array& bits, std::size_t period, std::size_t longest)
{
    std::vector<std::array<std::size_t, 2>> runs(longest + 1);
    std::size_t start = 0;
    while (bits[start] == bits[(start + period - 1) % period])
        ++start;
    for (std::size_t i = 0; i < period;)
    {
        const std::uint8_t bit = bits[(start + i) % period];
        std::size_t length = 0;
        while (i < period && bits[(start + i) % period] == bit)
        {
            ++length;
            ++i;
        }
        ++runs.at(length).at(bit);
    }
    return runs;
}

TEST(PayloadSequence, HasTheRunsOfAMaximalLengthSequence)
{
    // S. W. Golomb, Shift Register Sequences, Holden-Day, 1967: 2^(n - k - 2) runs of k zeros and as many of k ones for k up to
    // n - 2, one run of n - 1 zeros and one of n ones.
    const std::pair<lib_dma_payload_data_type_t, std::size_t> cases[] = {
        { LIB_DMA_PN7, 7 }, { LIB_DMA_PN9, 9 }, { LIB_DMA_PN15, 15 }, { LIB_DMA_PN23, 23 }
    };
    for (const auto& [type, n] : cases)
    {
        manager_t record;
        record.set_payload_data_type(type);
        const auto runs = count_runs(record.get_tx_pattern(), (std::size_t(1) << n) - 1, n);
        for (std::size_t k = 1; k + 2 <= n; ++k)
        {
            EXPECT_EQ(runs[k][0], std::size_t(1) << (n - k - 2)) << n << ' ' << k;
            EXPECT_EQ(runs[k][1], std::size_t(1) << (n - k - 2)) << n << ' ' << k;
        }
        EXPECT_EQ(runs[n - 1][0], 1u) << n;
        EXPECT_EQ(runs[n - 1][1], 0u) << n;
        EXPECT_EQ(runs[n][0], 0u) << n;
        EXPECT_EQ(runs[n][1], 1u) << n;
    }
}

TEST(PayloadSequence, OfPn31FillsTwoGigabytes)
{
    if (std::getenv("DMA_TEST_LARGE") == nullptr)
        GTEST_SKIP() << "set DMA_TEST_LARGE to spend 2 GiB on it";
    manager_t record;
    EXPECT_TRUE(record.set_payload_data_type(LIB_DMA_PN31));
    expect_sequence(record.get_tx_pattern(), 2147483647, 31, 28);
}

TEST(PayloadSequence, OfAnUnknownTypeIsReportedAndEmpty)
{
    manager_t record;
    output_capture_t output;
    EXPECT_TRUE(record.set_payload_data_type(static_cast<lib_dma_payload_data_type_t>(5)));
    EXPECT_EQ(output.printed, "waln_mac_body_gen : default all 0!");
    EXPECT_EQ(static_cast<std::uint32_t>(record.get_payload_data_type()), 5u);
    EXPECT_TRUE(record.get_tx_pattern().empty());
}

TEST(RecallRecord, InitKeepsTheFirst511BitsOfALongerPattern)
{
    manager_t record;
    record.set_payload_data_type(LIB_DMA_PN15);
    record.set_total_bits_len(9);
    const bit_array before = record.get_tx_pattern();
    record.init();
    EXPECT_EQ(record.get_tx_pattern(), bit_array(before.begin(), before.begin() + 511));
    EXPECT_EQ(record.get_payload_data_type(), LIB_DMA_PN7);
    EXPECT_EQ(record.get_total_bits_len(), 0u);
}

TEST(RecallRecord, InitFillsAShorterPatternWithZeros)
{
    manager_t record;
    record.set_tx_pattern({ 1, 1, 1 });
    record.init();
    bit_array expected(511, 0);
    expected[0] = expected[1] = expected[2] = 1;
    EXPECT_EQ(record.get_tx_pattern(), expected);
}

TEST(RecallRecord, InitClearsTheBerStateWithoutCallingTheLink)
{
    int calls = 0;
    manager_t record(lib_segment_level_info_t{ [&calls] { ++calls; } });
    record.set_ber_state(true);
    record.init();
    EXPECT_FALSE(record.get_ber_state());
    EXPECT_EQ(calls, 1);
    record.set_ber_state(true);
    EXPECT_EQ(calls, 2); // and the link is still there
}

TEST(RecallRecord, ClearEmptiesThePatternAndNothingElse)
{
    manager_t record(lib_segment_level_info_t{ [] {} });
    record.set_payload_data_type(LIB_DMA_PN9);
    record.set_total_bits_len(77);
    record.set_ber_state(true);
    record.clear();
    EXPECT_TRUE(record.get_tx_pattern().empty());
    EXPECT_EQ(record.get_payload_data_type(), LIB_DMA_PN9);
    EXPECT_EQ(record.get_total_bits_len(), 77u);
    EXPECT_TRUE(record.get_ber_state());
}

TEST(RecallRecord, CallsTheLinkAfterTheStateIsStored)
{
    const manager_t* seen = nullptr;
    std::vector<bool> states;
    manager_t record(lib_segment_level_info_t{ [&] { states.push_back(seen->get_ber_state()); } });
    seen = &record;
    output_capture_t output;
    EXPECT_TRUE(record.set_ber_state(true));
    EXPECT_TRUE(record.set_ber_state(true)); // also without a change
    EXPECT_TRUE(record.set_ber_state(false));
    record.update_syn_pattern_by_ber();
    EXPECT_EQ(states, (std::vector<bool>{ true, true, false, false }));
    EXPECT_EQ(output.printed, "");
}

TEST(RecallRecord, ReportsAnEmptyLinkAndKeepsTheState)
{
    manager_t record;
    output_capture_t output;
    EXPECT_TRUE(record.set_ber_state(true));
    EXPECT_TRUE(record.get_ber_state());
    EXPECT_EQ(output.printed, callback_report);
    record.update_syn_pattern_by_ber();
    EXPECT_EQ(output.printed, std::string(callback_report) + callback_report);
}

TEST(RecallRecord, EqualityLooksAtTheFourFieldsAndNotAtTheLink)
{
    const lib_segment_level_info_t link{ [] {} };
    EXPECT_EQ(manager_t(link), manager_t());
    manager_t pattern, state(link), length, type;
    pattern.set_tx_pattern(bit_array(510, 0));
    state.set_ber_state(true);
    length.set_total_bits_len(1);
    type.set_payload_data_type(LIB_DMA_PN9);
    type.set_tx_pattern(bit_array(511, 0));
    for (const manager_t* record : { &pattern, &state, &length, &type })
    {
        EXPECT_NE(*record, manager_t());
        EXPECT_EQ(*record, manager_t(*record));
    }
}

TEST(RecallRecord, AssignmentTakesTheDataAndKeepsTheLink)
{
    int source_calls = 0;
    int target_calls = 0;
    manager_t source(lib_segment_level_info_t{ [&] { ++source_calls; } });
    manager_t target(lib_segment_level_info_t{ [&] { ++target_calls; } });
    source.set_total_bits_len(5);
    source.set_payload_data_type(LIB_DMA_PN7);
    target = source;
    EXPECT_EQ(target, source);
    target.set_ber_state(true);
    EXPECT_EQ(source_calls, 0);
    EXPECT_EQ(target_calls, 1);
    target = std::move(source);
    target.set_ber_state(true);
    EXPECT_EQ(source_calls, 0);
    EXPECT_EQ(target_calls, 2);
}

TEST(RecallRecord, ACopyHasNoLink)
{
    int calls = 0;
    manager_t source(lib_segment_level_info_t{ [&] { ++calls; } });
    source.set_total_bits_len(5);
    manager_t copy = source;
    manager_t moved = std::move(source);
    EXPECT_EQ(copy.get_total_bits_len(), 5u);
    EXPECT_EQ(moved, copy);
    output_capture_t output;
    copy.set_ber_state(true);
    moved.set_ber_state(true);
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(output.printed, std::string(callback_report) + callback_report);
}
} // namespace
} // namespace vrim::dma_demod_lib
