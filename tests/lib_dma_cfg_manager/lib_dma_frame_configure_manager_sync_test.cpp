#include "frame_segments.h"
#include "output_capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>

namespace vrim::dma_demod_lib
{
namespace
{
TEST(SyncSearch, SetsTheFirstOffsetToZeroWhenTurnedOn)
{
    manager_t frame = make_frame(2);
    frame.get_segment(1).get_time_configure().set_meas_offset(7);
    EXPECT_TRUE(frame.set_sync_search(false));
    EXPECT_EQ(frame.get_segment(0).get_time_configure().get_meas_offset(), -1);
    EXPECT_TRUE(frame.set_sync_search(true));
    EXPECT_TRUE(frame.get_sync_search());
    EXPECT_EQ(frame.get_segment(0).get_time_configure().get_meas_offset(), 0);
    EXPECT_EQ(frame.get_segment(1).get_time_configure().get_meas_offset(), 7);
}

TEST(SyncSearch, CannotBeTurnedOffWhileTheFirstSegmentCountsErrors)
{
    manager_t frame = make_frame(2);
    set_ber_state(frame, 0, true);
    EXPECT_TRUE(frame.set_sync_search(false));
    EXPECT_TRUE(frame.get_sync_search());
    frame.set_current_segment_index(1);
    EXPECT_TRUE(frame.set_sync_search(false));
    EXPECT_FALSE(frame.get_sync_search());
    frame.remove_segment(1); // one segment left, the cursor still on 1
    frame.set_sync_search(false);
    EXPECT_TRUE(frame.get_sync_search());
}

TEST(SyncPattern, CutsThreeBitsToTwoForQpsk)
{
    manager_t frame;
    set_psk(frame, 0, LIB_DMA_MODULATION_PSK_QPSK);
    EXPECT_TRUE(frame.set_sync_pattern_bit("101"));
    EXPECT_EQ(frame.get_sync_pattern_bitarr(), to_bits("10"));
    EXPECT_EQ(frame.get_sync_pattern_bit(), "10");
    EXPECT_EQ(frame.get_sync_pattern_hex(), "10");
}

TEST(SyncPattern, PadsASingleBitToASymbolForQpsk)
{
    manager_t frame;
    set_psk(frame, 0, LIB_DMA_MODULATION_PSK_QPSK);
    EXPECT_TRUE(frame.set_sync_pattern_bit("1"));
    EXPECT_EQ(frame.get_sync_pattern_bitarr(), to_bits("10"));
    EXPECT_EQ(frame.get_sync_pattern_bit(), "10");
}

TEST(SyncPattern, KeepsEveryLengthForBpsk)
{
    manager_t frame;
    for (const std::string text : { "1", "10", "101", "1100101", "0000000000000001" })
    {
        EXPECT_TRUE(frame.set_sync_pattern_bit(text));
        EXPECT_EQ(frame.get_sync_pattern_bitarr(), to_bits(text));
        EXPECT_EQ(frame.get_sync_pattern_bit(), text);
    }
}

TEST(SyncPattern, LeavesACountThatARefusedRemovalRefreshes)
{
    // The check cuts the list behind the current segment and leaves the stored count, which only comparisons see.
    const auto make_cut_frame = []
    {
        manager_t frame;
        frame.set_segment_number(3);
        EXPECT_TRUE(frame.set_sync_pattern_bit("1011"));
        return frame;
    };
    manager_t counted = make_cut_frame();
    EXPECT_EQ(counted.get_segment_number(), 1u);
    manager_t refused = make_cut_frame();
    EXPECT_NE(refused, counted);
    EXPECT_FALSE(refused.remove_segment(0));
    EXPECT_EQ(refused, counted);
}

TEST(SyncPattern, OfAnIntegerAloneMakesFramesDiffer)
{
    const auto make_int_frame = [](std::uint32_t value)
    {
        manager_t frame;
        frame.set_sync_pattern_type(LIB_DMA_SYNC_INT_PATTERN);
        frame.set_sync_pattern_int(value);
        frame.set_sync_pattern_hex(""); // of another type: empties the bits and leaves all else
        return frame;
    };
    EXPECT_EQ(make_int_frame(5), make_int_frame(5));
    EXPECT_NE(make_int_frame(5), make_int_frame(6));
}

TEST(SyncPattern, TakesTheBitsPerSymbolOfEachGroup)
{
    struct case_t
    {
        lib_dma_modulation_type_t group;
        std::uint32_t format;
        std::size_t bits;
    };
    const case_t cases[] = {
        { LIB_DMA_GROUP_PSK, 2, 1 },   { LIB_DMA_GROUP_PSK, 4, 2 },  { LIB_DMA_GROUP_PSK, 9, 2 },   { LIB_DMA_GROUP_PSK, 8, 3 },
        { LIB_DMA_GROUP_PSK, 10, 3 },  { LIB_DMA_GROUP_QAM, 0, 4 },  { LIB_DMA_GROUP_QAM, 1, 5 },   { LIB_DMA_GROUP_QAM, 2, 6 },
        { LIB_DMA_GROUP_QAM, 4, 8 },   { LIB_DMA_GROUP_QAM, 8, 12 }, { LIB_DMA_GROUP_QAM, 10, 5 },  { LIB_DMA_GROUP_FSK, 2, 1 },
        { LIB_DMA_GROUP_FSK, 4, 2 },   { LIB_DMA_GROUP_FSK, 16, 4 }, { LIB_DMA_GROUP_FSK, 32, 1 },  { LIB_DMA_GROUP_FSK, 64, 1 },
        { LIB_DMA_GROUP_ASK, 2, 1 },   { LIB_DMA_GROUP_ASK, 16, 4 }, { LIB_DMA_GROUP_APSK, 16, 4 }, { LIB_DMA_GROUP_APSK, 32, 5 },
        { LIB_DMA_GROUP_DPSK, 2, 1 },  { LIB_DMA_GROUP_DPSK, 5, 2 }, { LIB_DMA_GROUP_DPSK, 6, 3 },  { LIB_DMA_GROUP_OQPSK, 0, 2 },
        { LIB_DMA_GROUP_OQPSK, 1, 2 }, { LIB_DMA_GROUP_MSK, 0, 1 },  { LIB_DMA_GROUP_MSK, 1, 1 },   { LIB_DMA_GROUP_QAM, 3, 7 },
        { LIB_DMA_GROUP_QAM, 5, 9 },   { LIB_DMA_GROUP_QAM, 6, 10 }, { LIB_DMA_GROUP_QAM, 9, 4 },   { LIB_DMA_GROUP_FSK, 8, 3 },
        { LIB_DMA_GROUP_ASK, 4, 2 },   { LIB_DMA_GROUP_ASK, 8, 3 },  { LIB_DMA_GROUP_DPSK, 4, 2 },  { LIB_DMA_GROUP_DPSK, 8, 3 },
    };
    output_capture_t output; // MSK logs that it has no constellation
    for (const case_t& item : cases)
    {
        manager_t frame;
        auto& format = frame.get_segment(0).get_format_configure();
        format.set_psk_format(static_cast<lib_dma_psk_modulation_type_t>(item.format));
        format.set_qam_format(static_cast<lib_dma_qam_modulation_type_t>(item.format));
        format.set_fsk_format(static_cast<lib_dma_fsk_modulation_type_t>(item.format));
        format.set_ask_format(static_cast<lib_dma_ask_modulation_type_t>(item.format));
        format.set_apsk_format(static_cast<lib_dma_apsk_modulation_type_t>(item.format));
        format.set_dpsk_format(static_cast<lib_dma_dpsk_modulation_type_t>(item.format));
        format.set_oqpsk_format(static_cast<lib_dma_oqpsk_modulation_type_t>(item.format));
        format.set_msk_format(static_cast<lib_dma_msk_modulation_type_t>(item.format));
        format.set_format_group(item.group);
        for (std::size_t n = 1; n <= 30; ++n)
        {
            bit_array bits(n, 1);
            ASSERT_TRUE(frame.check_sync_pattern_bit(bits)) << item.group << ' ' << item.format;
            bit_array expected(n, 1);
            expected.resize(n < item.bits ? item.bits : n - n % item.bits, 0);
            EXPECT_EQ(bits, expected) << item.group << ' ' << item.format << ' ' << n;
        }
    }
}

TEST(SyncPattern, OfAGroupWithoutBitsPerSymbolFailsAndKeepsWhatWasParsed)
{
    for (const auto group : { LIB_DMA_GROUP_VSB, LIB_DMA_GROUP_CUSTOM_IQ, LIB_DMA_GROUP_OTHER })
    {
        output_capture_t output;
        manager_t frame;
        frame.get_segment(0).get_format_configure().set_format_group(group);
        const struct
        {
            lib_dma_sync_pattern_t type;
            const char* bits;
        } cases[] = { { LIB_DMA_SYNC_BIT_PATTERN, "101" },
                      { LIB_DMA_SYNC_HEX_PATTERN, "10100101" },
                      { LIB_DMA_SYNC_INT_PATTERN, "0101" } };
        for (const auto& item : cases)
        {
            output.clear_log();
            frame.set_sync_pattern_type(item.type);
            // The two others return true without looking.
            EXPECT_EQ(frame.set_sync_pattern_bit("101"), item.type != LIB_DMA_SYNC_BIT_PATTERN);
            if (item.type == LIB_DMA_SYNC_BIT_PATTERN)
            {
                EXPECT_EQ(frame.get_sync_pattern_bitarr(), to_bits(item.bits));
            }
            EXPECT_EQ(frame.set_sync_pattern_hex("a5"), item.type != LIB_DMA_SYNC_HEX_PATTERN);
            if (item.type == LIB_DMA_SYNC_HEX_PATTERN)
            {
                EXPECT_EQ(frame.get_sync_pattern_bitarr(), to_bits(item.bits));
            }
            EXPECT_EQ(frame.set_sync_pattern_int(5), item.type != LIB_DMA_SYNC_INT_PATTERN);
            if (item.type == LIB_DMA_SYNC_INT_PATTERN)
            {
                EXPECT_EQ(frame.get_sync_pattern_bitarr(), to_bits(item.bits));
            }
            EXPECT_EQ(frame.get_sync_pattern_bit(), "0");
            ASSERT_EQ(output.logged.size(), 1u);
            EXPECT_EQ(output.logged[0].message, "lib_dma_frame_configure_manager_t::check_sync_pattern_bit default error!\n");
            EXPECT_EQ(output.logged[0].level, common_log::log_level_error);
            EXPECT_EQ(output.logged[0].module, "DMA_LIB");
        }
    }
}

TEST(SyncPattern, OfABadOrEmptyTextFailsAndKeepsTheText)
{
    manager_t frame;
    ASSERT_TRUE(frame.set_sync_pattern_bit("110"));
    for (const std::string text : { "", "10x1", "2" })
    {
        EXPECT_FALSE(frame.set_sync_pattern_bit(text)) << text;
        EXPECT_EQ(frame.get_sync_pattern_bit(), "110");
        EXPECT_TRUE(frame.get_sync_pattern_bitarr().empty());
    }
    frame.set_sync_pattern_type(LIB_DMA_SYNC_HEX_PATTERN);
    EXPECT_FALSE(frame.set_sync_pattern_hex(""));
    EXPECT_EQ(frame.get_sync_pattern_hex(), "110");
    EXPECT_TRUE(frame.get_sync_pattern_bitarr().empty());
}

TEST(SyncPattern, SettersOfAnotherTypeEmptyTheBitsAndSayTrue)
{
    const auto types = { LIB_DMA_SYNC_BIT_PATTERN, LIB_DMA_SYNC_HEX_PATTERN, LIB_DMA_SYNC_INT_PATTERN };
    for (const auto type : types)
    {
        for (const auto setter : types)
        {
            if (setter == type)
                continue;
            manager_t frame = make_frame(2);
            ASSERT_TRUE(frame.set_sync_pattern_bit("110"));
            while (frame.get_segment_number() < 2)
                frame.add_segment();
            EXPECT_TRUE(frame.set_sync_pattern_type(type));
            EXPECT_EQ(frame.get_sync_pattern_type(), type);
            if (setter == LIB_DMA_SYNC_BIT_PATTERN)
            {
                EXPECT_TRUE(frame.set_sync_pattern_bit("x"));
            }
            else if (setter == LIB_DMA_SYNC_HEX_PATTERN)
            {
                EXPECT_TRUE(frame.set_sync_pattern_hex("ff"));
            }
            else
            {
                EXPECT_TRUE(frame.set_sync_pattern_int(77));
            }
            EXPECT_TRUE(frame.get_sync_pattern_bitarr().empty());
            EXPECT_EQ(frame.get_sync_pattern_bit(), "110");
            EXPECT_EQ(frame.get_sync_pattern_int(), 0u);
            EXPECT_EQ(frame.get_segment_number(), 2u);
        }
    }
}

TEST(SyncPattern, OfHexadecimalDigitsIsWrittenBackAsChecked)
{
    const struct
    {
        lib_dma_psk_modulation_type_t format;
        const char* text;
        const char* bits;
        const char* stored;
    } cases[] = {
        { LIB_DMA_MODULATION_PSK_BPSK, "A5", "10100101", "a5" },
        { LIB_DMA_MODULATION_PSK_BPSK, "a", "00001010", "0a" }, // an odd digit is a byte of its own
        { LIB_DMA_MODULATION_PSK_QPSK, "1b2c", "0001101100101100", "1b2c" },
        { LIB_DMA_MODULATION_PSK_8_PSK, "ff", "111111", "fc" },              // two bits dropped, then filled up
        { LIB_DMA_MODULATION_PSK_8_PSK, "ffff", "111111111111111", "fffe" }, // one bit dropped
        { LIB_DMA_MODULATION_PSK_8_PSK, "00ff00", "000000001111111100000000", "00ff00" },
    };
    for (const auto& item : cases)
    {
        manager_t frame;
        set_psk(frame, 0, item.format);
        frame.set_sync_pattern_type(LIB_DMA_SYNC_HEX_PATTERN);
        EXPECT_TRUE(frame.set_sync_pattern_hex(item.text));
        EXPECT_EQ(frame.get_sync_pattern_bitarr(), to_bits(item.bits)) << item.text;
        EXPECT_EQ(frame.get_sync_pattern_hex(), item.stored) << item.text;
        EXPECT_EQ(frame.get_sync_pattern_bit(), item.stored);
    }
}

TEST(SyncPattern, TakesItsOwnStoredTextAgain)
{
    manager_t frame;
    set_psk(frame, 0, LIB_DMA_MODULATION_PSK_QPSK);
    ASSERT_TRUE(frame.set_sync_pattern_bit("1"));
    EXPECT_TRUE(frame.set_sync_pattern_bit(frame.get_sync_pattern_bit()));
    EXPECT_EQ(frame.get_sync_pattern_bit(), "10");
    frame.set_sync_pattern_type(LIB_DMA_SYNC_HEX_PATTERN);
    ASSERT_TRUE(frame.set_sync_pattern_hex("C3"));
    EXPECT_TRUE(frame.set_sync_pattern_hex(frame.get_sync_pattern_hex()));
    EXPECT_EQ(frame.get_sync_pattern_hex(), "c3");
}

TEST(SyncPattern, OfANumberHasWholeHexadecimalDigits)
{
    const struct
    {
        std::uint32_t value;
        const char* bits;
    } cases[] = {
        { 1, "0001" },
        { 2, "0010" },
        { 7, "0111" },
        { 8, "1000" },
        { 9, "00001001" }, // one bit counted too many, as it is meant
        { 15, "00001111" },
        { 16, "00010000" },
        { 128, "10000000" },
        { 129, "000010000001" },
        { 262144, "01000000000000000000" },
        { 262145, "01000000000000000000" },
        { 0xffffffffu, "01000000000000000000" },
    };
    for (const auto& item : cases)
    {
        manager_t frame;
        frame.set_sync_pattern_type(LIB_DMA_SYNC_INT_PATTERN);
        EXPECT_TRUE(frame.set_sync_pattern_int(item.value));
        EXPECT_EQ(frame.get_sync_pattern_bitarr(), to_bits(item.bits)) << item.value;
        EXPECT_EQ(frame.get_sync_pattern_int(), std::min(item.value, 262144u));
        EXPECT_EQ(frame.get_sync_pattern_bit(), "0"); // the text is another notation's
    }
}

TEST(SyncPattern, OfANumberFollowsTheFormulaInRealNumbers)
{
    manager_t frame;
    frame.set_sync_pattern_type(LIB_DMA_SYNC_INT_PATTERN);
    for (std::uint32_t value = 1; value <= 262144; value += value < 4200 ? 1 : 997)
    {
        ASSERT_TRUE(frame.set_sync_pattern_int(value));
        const bit_array bits = frame.get_sync_pattern_bitarr();
        const double length = std::ceil((std::ceil(std::log2(static_cast<double>(value))) + 1.0) * 0.25) * 4.0;
        ASSERT_EQ(static_cast<double>(bits.size()), length) << value;
        std::uint32_t back = 0;
        for (const std::uint8_t bit : bits)
            back = 2 * back + bit;
        ASSERT_EQ(back, value);
    }
}

TEST(SyncPattern, OfANumberIsCutToSymbolsLikeAnyOther)
{
    manager_t frame;
    set_psk(frame, 0, LIB_DMA_MODULATION_PSK_8_PSK);
    frame.set_sync_pattern_type(LIB_DMA_SYNC_INT_PATTERN);
    EXPECT_TRUE(frame.set_sync_pattern_int(5)); // 0101
    EXPECT_EQ(frame.get_sync_pattern_bitarr(), to_bits("010"));
}

TEST(SyncPattern, OfZeroHasNoBitsAndFails)
{
    manager_t frame = make_frame(3);
    frame.set_sync_pattern_type(LIB_DMA_SYNC_INT_PATTERN);
    ASSERT_TRUE(frame.set_sync_pattern_int(5));
    frame.set_segment_number(3);
    EXPECT_FALSE(frame.set_sync_pattern_int(0));
    EXPECT_TRUE(frame.get_sync_pattern_bitarr().empty());
    EXPECT_EQ(frame.get_sync_pattern_int(), 0u);
    EXPECT_EQ(frame.get_segment_number(), 3u);
}

TEST(SyncPattern, DeletesTheSegmentsBehindTheCursor)
{
    manager_t frame = make_frame(3);
    mark_segments(frame);
    frame.set_current_segment_index(1);
    EXPECT_TRUE(frame.set_sync_pattern_bit("1"));
    EXPECT_EQ(frame.get_segment_number(), 2u);
    EXPECT_EQ(get_mark(frame, 0), 100u);
    EXPECT_EQ(get_mark(frame, 1), 101u);
    frame.set_current_segment_index(0);
    EXPECT_TRUE(frame.set_sync_pattern_bit("1"));
    EXPECT_EQ(frame.get_segment_number(), 1u);
}

TEST(SyncPattern, DeletesThemAlsoWhenTheGroupHasNoBitsPerSymbol)
{
    output_capture_t output;
    manager_t frame = make_frame(3);
    frame.get_segment(0).get_format_configure().set_format_group(LIB_DMA_GROUP_VSB);
    EXPECT_FALSE(frame.set_sync_pattern_bit("1"));
    EXPECT_EQ(frame.get_segment_number(), 1u);
}

TEST(SyncPattern, LeavesTheStoredNumberOfSegmentsBehind)
{
    manager_t frame = make_frame(3);
    ASSERT_TRUE(frame.set_sync_pattern_bit("1"));
    const manager_t& fixed = frame;
    EXPECT_EQ(fixed.get_segment_number(), 1u); // the list is cut, and counting a fixed frame refreshes nothing
    frame.set_current_segment_index(5);
    EXPECT_EQ(frame.get_current_segment_index(), 3u); // still bounded by the number before
    EXPECT_EQ(frame.get_segment_number(), 1u);
    frame.set_current_segment_index(5);
    EXPECT_EQ(frame.get_current_segment_index(), 1u);
}

TEST(SyncPattern, UsesTheFormatOfTheCurrentSegment)
{
    manager_t frame = make_frame(2);
    set_psk(frame, 1, LIB_DMA_MODULATION_PSK_8_PSK);
    frame.set_current_segment_index(1);
    EXPECT_TRUE(frame.set_sync_pattern_bit("11111"));
    EXPECT_EQ(frame.get_sync_pattern_bit(), "111");
}

TEST(SyncPattern, MakesADefaultSegmentForACursorPastTheLast)
{
    manager_t frame;
    set_psk(frame, 0, LIB_DMA_MODULATION_PSK_QPSK);
    frame.set_current_segment_index(1);
    EXPECT_TRUE(frame.set_sync_pattern_bit("101"));
    EXPECT_EQ(frame.get_sync_pattern_bit(), "101"); // BPSK, the new segment's
    const manager_t& fixed = frame;
    EXPECT_EQ(fixed.get_segment_number(), 2u);
    output_capture_t output;
    set_ber_state(frame, 1, true);
    EXPECT_EQ(output.printed, callback_report);
}

TEST(SyncPattern, TakesTheSixthSegmentForACursorPastSix)
{
    manager_t frame = make_frame(6);
    const auto* first = &frame.get_segment(0);
    set_psk(frame, 5, LIB_DMA_MODULATION_PSK_QPSK);
    frame.set_current_segment_index(6);
    ASSERT_EQ(frame.get_current_segment_index(), 6u);
    EXPECT_TRUE(frame.set_sync_pattern_bit("101"));
    EXPECT_EQ(frame.get_segment_number(), 6u);
    EXPECT_EQ(frame.get_sync_pattern_bit(), "10");
    EXPECT_EQ(&frame.get_segment(0), first);
    EXPECT_EQ(&frame.get_segment(6), &frame.get_segment(5));
}

TEST(SyncPattern, CheckOfNoBitsDoesNothing)
{
    manager_t frame = make_frame(3);
    const manager_t before = frame;
    bit_array bits;
    EXPECT_FALSE(frame.check_sync_pattern_bit(bits));
    EXPECT_TRUE(bits.empty());
    EXPECT_EQ(frame, before);
}

TEST(SyncPattern, LeavesANumberThatDecidesWhetherBitErrorsForceTheSyncSearch)
{
    // Errors force the search with one segment only, or with the cursor on the first.
    manager_t frame = make_frame(2);
    set_ber_state(frame, 0, true);
    ASSERT_TRUE(frame.set_sync_pattern_bit("1")); // list: one, stored number: two
    frame.set_current_segment_index(1);
    frame.set_sync_search(false);
    EXPECT_FALSE(frame.get_sync_search());
    EXPECT_EQ(frame.get_segment_number(), 1u); // counted
    frame.set_sync_search(false);
    EXPECT_TRUE(frame.get_sync_search());
}
} // namespace
} // namespace vrim::dma_demod_lib
