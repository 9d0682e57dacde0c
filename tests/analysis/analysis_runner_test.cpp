#include "analysis_runner.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

using namespace dma_test;
using namespace vrim::dma_demod_lib;

namespace
{
lib_dma_segment_configure_manager_t make_segment(const analysis_setting_t& setting)
{
    lib_dma_segment_configure_manager_t segment;
    set_segment(setting, segment);
    return segment;
}

std::vector<std::uint32_t> cut(const std::vector<std::uint32_t>& symbols, std::size_t first, std::size_t count)
{
    const auto begin = symbols.begin() + static_cast<std::ptrdiff_t>(first);
    return { begin, begin + static_cast<std::ptrdiff_t>(count) };
}
} // namespace

TEST(AnalysisRunner, SegmentsTakeTheFrequencyFormatsAndOqpsk)
{
    analysis_setting_t setting;
    setting.beta = 0.25;
    const std::vector<signal_format_t> fsk = { signal_format_t::fsk2,  signal_format_t::fsk4,  signal_format_t::fsk8,
                                               signal_format_t::fsk16, signal_format_t::fsk32, signal_format_t::fsk64 };
    for (std::size_t i = 0; i < fsk.size(); ++i)
    {
        setting.format = fsk[i];
        lib_dma_segment_configure_manager_t segment = make_segment(setting);
        EXPECT_EQ(segment.get_format_configure().get_format_group(), LIB_DMA_GROUP_FSK);
        EXPECT_EQ(static_cast<std::uint32_t>(segment.get_format_configure().get_fsk_format()), 2U << i);
        EXPECT_EQ(get_order(fsk[i]), 2U << i);
        EXPECT_EQ(segment.get_filter_configure().get_filter_beta(), 0.25f);
    }
    for (const signal_format_t format : { signal_format_t::msk, signal_format_t::gmsk })
    {
        setting.format = format;
        EXPECT_EQ(make_segment(setting).get_format_configure().get_format_group(), LIB_DMA_GROUP_MSK);
        EXPECT_EQ(get_order(format), 2U);
    }
    setting.format = signal_format_t::oqpsk;
    for (const bool aligned : { false, true })
    {
        setting.aligned_iq = aligned;
        lib_dma_segment_configure_manager_t segment = make_segment(setting);
        EXPECT_EQ(segment.get_format_configure().get_format_group(), LIB_DMA_GROUP_OQPSK);
        EXPECT_EQ(segment.get_format_configure().get_oqpsk_format(), LIB_DMA_MODULATION_PSK_OFFSET_QPSK);
        EXPECT_EQ(segment.get_format_configure().get_oqpsk_alig_iq(), aligned);
    }
}

TEST(AnalysisRunner, MatchingFindsOqpskUnderEveryQuarterTurn)
{
    signal_setting_t signal_setting;
    signal_setting.format = signal_format_t::oqpsk;
    signal_setting.symbol_count = 300;
    const std::vector<std::uint32_t> sent = make_signal(signal_setting).symbols;
    std::vector<std::uint32_t> turned = sent;
    for (std::uint32_t quarter_turns = 0; quarter_turns < 5; ++quarter_turns)
    {
        std::vector<std::uint32_t> decoded = cut(turned, 90, 100);
        const decode_match_t match = match_decoded(signal_format_t::oqpsk, decoded, sent, 80, 100);
        EXPECT_TRUE(match.found) << quarter_turns;
        EXPECT_EQ(match.rotation, quarter_turns % 4);
        // Two quarter turns let each rail lag a whole symbol.
        EXPECT_EQ(match.lag, 90 + static_cast<std::int32_t>(quarter_turns / 2));

        decoded[50] ^= 1U;
        const decode_match_t miss = match_decoded(signal_format_t::oqpsk, decoded, sent, 80, 100);
        EXPECT_FALSE(miss.found);
        EXPECT_EQ(miss.differing, 1u);
        turned = turn_offset_symbols(turned);
    }
}

TEST(AnalysisRunner, MatchingOfTonesTriesNoTurn)
{
    signal_setting_t signal_setting;
    signal_setting.format = signal_format_t::fsk4;
    signal_setting.pulse = signal_pulse_t::rectangular;
    signal_setting.symbol_count = 300;
    const std::vector<std::uint32_t> sent = make_signal(signal_setting).symbols;
    std::vector<std::uint32_t> decoded = cut(sent, 90, 100);
    const decode_match_t match = match_decoded(signal_format_t::fsk4, decoded, sent, 80, 100);
    EXPECT_TRUE(match.found);
    EXPECT_EQ(match.lag, 90);
    for (std::uint32_t& symbol : decoded)
        symbol ^= 2U; // the mirrored tones
    EXPECT_FALSE(match_decoded(signal_format_t::fsk4, decoded, sent, 80, 100).found);
}
