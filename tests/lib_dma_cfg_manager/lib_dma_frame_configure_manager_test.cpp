#include "lib_dma_cfg_manager/lib_dma_frame_configure_manager.h"

#include "output_capture.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace vrim::dma_demod_lib
{
namespace
{
using manager_t = lib_dma_frame_configure_manager_t;

constexpr const char* callback_report = "lib_dma_segment_configure_manager_t::update_syn_pattern_by_ber callback error!\n";

manager_t make_frame(std::uint32_t segments)
{
    manager_t frame;
    while (frame.get_segment_number() < segments)
        frame.add_segment();
    return frame;
}

/// Marks each segment by its interval, so that moves of data can be seen.
void mark_segments(manager_t& frame)
{
    for (std::uint32_t i = 0; i < frame.get_segment_number(); ++i)
        frame.get_segment(i).get_time_configure().set_meas_interval(LIB_DMA_GROUP_PSK, 100 + i);
}

std::uint32_t get_mark(const manager_t& frame, std::uint32_t index)
{
    return frame.get_segment(index).get_time_configure().get_meas_interval();
}

bool set_ber_state(manager_t& frame, std::uint32_t index, bool value)
{
    return frame.get_segment(index).get_recall_demod_info_configure().set_ber_state(value);
}

void set_psk(manager_t& frame, std::uint32_t index, lib_dma_psk_modulation_type_t format)
{
    frame.get_segment(index).get_format_configure().set_psk_format(format);
}

bit_array to_bits(const std::string& text)
{
    bit_array bits;
    for (const char c : text)
        bits.push_back(static_cast<std::uint8_t>(c - '0'));
    return bits;
}

// The record itself

void expect_defaults(manager_t& frame)
{
    EXPECT_EQ(frame.get_search_length(), 0.0001);
    EXPECT_EQ(frame.get_segment_number(), 1u);
    EXPECT_EQ(frame.get_current_segment_index(), 0u);
    EXPECT_FALSE(frame.get_burst_search());
    EXPECT_EQ(frame.get_sync_pattern_bit(), "0");
    EXPECT_EQ(frame.get_sync_pattern_hex(), "0");
    EXPECT_EQ(frame.get_sync_pattern_int(), 0u);
    EXPECT_FALSE(frame.get_sync_search());
    EXPECT_EQ(frame.get_burst_search_threshold(), -30.0f);
    EXPECT_EQ(frame.get_sync_offset(), 0.0f);
    EXPECT_EQ(frame.get_sync_pattern_type(), LIB_DMA_SYNC_BIT_PATTERN);
    EXPECT_EQ(frame.get_sync_pattern_bitarr(), bit_array(1, 0));
    EXPECT_FALSE(frame.get_enable_mannual_data_sample_rate());
    EXPECT_EQ(frame.get_mannual_data_sample_rate(), 20e6);
    EXPECT_EQ(frame.get_bandwidth(), 20'000'000u);
    EXPECT_EQ(frame.get_segment(0), lib_dma_segment_configure_manager_t());
}

TEST(Frame, StartsWithOneSegmentAndItsDefaults)
{
    manager_t frame;
    expect_defaults(frame);
}

TEST(Frame, InitAndResetRestoreEverything)
{
    for (const bool reset : { false, true })
    {
        manager_t frame = make_frame(3);
        mark_segments(frame);
        frame.get_segment(0).get_recall_demod_info_configure().set_payload_data_type(LIB_DMA_PN9);
        frame.set_current_segment_index(2);
        frame.set_search_length(1.0);
        frame.set_burst_search(true);
        frame.set_burst_search_threshold(1.0f);
        frame.set_sync_offset(1.0f);
        frame.set_sync_pattern_bit("1");
        frame.set_sync_pattern_type(LIB_DMA_SYNC_INT_PATTERN);
        frame.set_sync_pattern_int(9);
        frame.set_sync_search(true);
        frame.set_enable_mannual_data_sample_rate(true);
        frame.set_mannual_data_sample_rate(3e6);
        frame.set_bandwidth(5);
        reset ? frame.reset() : frame.init();
        expect_defaults(frame);
        EXPECT_EQ(frame, manager_t());
        set_ber_state(frame, 0, true);
        EXPECT_TRUE(frame.get_sync_search()); // the new segment is linked
    }
}

TEST(Frame, ClampsItsNumbers)
{
    manager_t frame;
    const double infinity = std::numeric_limits<double>::infinity();
    const double lengths[][2] = { { 0.0, 1e-7 },      { -1.0, 1e-7 },
                                  { 1e-7, 1e-7 },     { 1.000009e-7, 1e-7 }, // above by less than 1e-12
                                  { 1.1e-7, 1.1e-7 }, { 3.0, 3.0 },
                                  { 1e9, 1e9 },       { infinity, infinity } };
    for (const auto& [value, expected] : lengths)
    {
        EXPECT_TRUE(frame.set_search_length(value));
        EXPECT_EQ(frame.get_search_length(), expected) << value;
    }
    const float thresholds[][2] = { { -201.0f, -200.0f }, { -200.0f, -200.0f }, { 5.0f, 5.0f }, { 201.0f, 200.0f } };
    for (const auto& [value, expected] : thresholds)
    {
        EXPECT_TRUE(frame.set_burst_search_threshold(value));
        EXPECT_EQ(frame.get_burst_search_threshold(), expected) << value;
    }
    const float offsets[][2] = { { -32769.0f, -32768.0f }, { -32768.0f, -32768.0f }, { 2.5f, 2.5f }, { 32767.5f, 32767.0f } };
    for (const auto& [value, expected] : offsets)
    {
        EXPECT_TRUE(frame.set_sync_offset(value));
        EXPECT_EQ(frame.get_sync_offset(), expected) << value;
    }
    const double rates[][2] = { { -infinity, 1e6 }, { 0.0, 1e6 },       { 1e6, 1e6 },      { 1e6 + 0.001, 1e6 + 0.001 },
                                { 1e10, 1e10 },     { 1e10 + 1, 1e10 }, { infinity, 1e10 } };
    for (const auto& [value, expected] : rates)
    {
        frame.set_mannual_data_sample_rate(value);
        EXPECT_EQ(frame.get_mannual_data_sample_rate(), expected) << value;
    }
}

TEST(Frame, RefusesABandwidthOfZeroAndClampsTheRest)
{
    manager_t frame;
    EXPECT_FALSE(frame.set_bandwidth(0));
    EXPECT_EQ(frame.get_bandwidth(), 20'000'000u);
    const std::uint64_t cases[][2] = { { 1, 1 },
                                       { 9'999'999'999, 9'999'999'999 },
                                       { 10'000'000'000, 10'000'000'000 },
                                       { 20'000'000'000, 10'000'000'000 },
                                       { std::numeric_limits<std::uint64_t>::max(), 10'000'000'000 } };
    for (const auto& [value, expected] : cases)
    {
        EXPECT_TRUE(frame.set_bandwidth(value));
        EXPECT_EQ(frame.get_bandwidth(), expected) << value;
    }
}

TEST(Frame, TakesNotANumberWithoutHarm)
{
    manager_t frame;
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_TRUE(frame.set_burst_search_threshold(nan));
    EXPECT_TRUE(frame.set_sync_offset(nan));
    EXPECT_TRUE(frame.set_search_length(std::numeric_limits<double>::quiet_NaN()));
    frame.set_mannual_data_sample_rate(std::numeric_limits<double>::quiet_NaN());
    EXPECT_TRUE(std::isnan(frame.get_sync_offset()));
    frame.init();
    EXPECT_EQ(frame, manager_t());
}

TEST(Frame, DiffersWhenAnyFieldDiffers)
{
    std::vector<manager_t> frames(14);
    frames[0].set_search_length(1.0);
    frames[1].add_segment();
    frames[2].set_current_segment_index(1);
    frames[3].set_burst_search(true);
    frames[4].set_sync_pattern_bit("1"); // text and bits
    frames[5].set_sync_pattern_hex("0"); // bits only: the type is another one
    frames[6].set_sync_search(true);
    frames[7].set_burst_search_threshold(-29.0f);
    frames[8].set_sync_offset(1.0f);
    frames[9].set_sync_pattern_type(LIB_DMA_SYNC_HEX_PATTERN);
    EXPECT_TRUE(frames[10].set_enable_mannual_data_sample_rate(true));
    EXPECT_TRUE(frames[10].get_enable_mannual_data_sample_rate());
    frames[11].set_mannual_data_sample_rate(2e6);
    frames[12].set_bandwidth(1);
    frames[13].get_segment(0).get_advance_configure().set_hold(true);
    EXPECT_TRUE(frames[3].get_burst_search());
    for (std::size_t i = 0; i < frames.size(); ++i)
    {
        EXPECT_NE(frames[i], manager_t()) << i;
        for (std::size_t k = 0; k < i; ++k)
            EXPECT_NE(frames[i], frames[k]) << i << ' ' << k;
        manager_t assigned = make_frame(4);
        assigned = frames[i];
        EXPECT_EQ(assigned, frames[i]) << i;
        const manager_t copy = frames[i];
        EXPECT_EQ(copy, frames[i]) << i;
    }
}

// The list of segments

TEST(SegmentList, HoldsOneToSixSegments)
{
    const std::uint32_t cases[][2] = { { 3, 3 }, { 0, 1 }, { 6, 6 }, { 2, 2 }, { 9, 6 }, { 1, 1 }, { 0xffffffffu, 6 } };
    manager_t frame;
    for (const auto& [value, expected] : cases)
    {
        EXPECT_TRUE(frame.set_segment_number(value));
        EXPECT_EQ(frame.get_segment_number(), expected) << value;
    }
}

TEST(SegmentList, LeavesTheCursorWhenItShrinks)
{
    manager_t frame;
    frame.set_segment_number(5);
    frame.set_current_segment_index(4);
    frame.set_segment_number(2);
    EXPECT_EQ(frame.get_current_segment_index(), 4u);
    frame.remove_segment(0);
    EXPECT_EQ(frame.get_current_segment_index(), 4u);
}

TEST(SegmentList, KeepsSegmentsThatStayAndAppendsDefaults)
{
    manager_t frame = make_frame(3);
    mark_segments(frame);
    frame.set_segment_number(2);
    frame.set_segment_number(4);
    EXPECT_EQ(get_mark(frame, 0), 100u);
    EXPECT_EQ(get_mark(frame, 1), 101u);
    EXPECT_EQ(frame.get_segment(2), lib_dma_segment_configure_manager_t());
    EXPECT_EQ(frame.get_segment(3), lib_dma_segment_configure_manager_t());
}

TEST(SegmentList, TakesNoSeventhSegment)
{
    manager_t frame = make_frame(6);
    mark_segments(frame);
    const manager_t before = frame;
    frame.add_segment();
    EXPECT_EQ(frame.get_segment_number(), 6u);
    EXPECT_EQ(frame, before);
}

TEST(SegmentList, NeverRelocates)
{
    manager_t frame;
    const auto* first = &frame.get_segment(0);
    for (int i = 0; i < 8; ++i)
    {
        frame.add_segment();
        EXPECT_EQ(&frame.get_segment(0), first);
    }
    frame.set_segment_number(1);
    frame.set_segment_number(6);
    EXPECT_EQ(&frame.get_segment(0), first);
    frame = make_frame(6);
    EXPECT_EQ(&frame.get_segment(0), first);
    manager_t copy = make_frame(1);
    const auto* copy_first = &copy.get_segment(0);
    while (copy.get_segment_number() < 6)
        copy.add_segment();
    EXPECT_EQ(&copy.get_segment(0), copy_first);
}

TEST(SegmentList, GivesTheLastSegmentForAnIndexPastTheEnd)
{
    manager_t frame = make_frame(3);
    mark_segments(frame);
    const manager_t& fixed = frame;
    for (const std::uint32_t index : { 2u, 3u, 6u, 0xffffffffu })
    {
        EXPECT_EQ(&frame.get_segment(index), &frame.get_segment(2));
        EXPECT_EQ(&fixed.get_segment(index), &frame.get_segment(2));
    }
    EXPECT_EQ(&fixed.get_segment(0), &frame.get_segment(0));
}

TEST(SegmentList, RefusesToRemoveTheOnlySegmentOrAMissingOne)
{
    manager_t one;
    EXPECT_FALSE(one.remove_segment(0));
    EXPECT_FALSE(one.remove_segment(1));
    EXPECT_EQ(one, manager_t());
    manager_t three = make_frame(3);
    mark_segments(three);
    const manager_t before = three;
    EXPECT_FALSE(three.remove_segment(3));
    EXPECT_FALSE(three.remove_segment(0xffffffffu));
    EXPECT_EQ(three, before);
}

TEST(SegmentList, ClosesTheGapOfARemovedSegment)
{
    for (std::uint32_t removed = 0; removed < 4; ++removed)
    {
        manager_t frame = make_frame(4);
        mark_segments(frame);
        EXPECT_TRUE(frame.remove_segment(removed));
        EXPECT_EQ(frame.get_segment_number(), 3u);
        for (std::uint32_t i = 0; i < 3; ++i)
            EXPECT_EQ(get_mark(frame, i), i < removed ? 100 + i : 101 + i) << removed << ' ' << i;
    }
}

TEST(SegmentList, LetsTheCursorStandOnePastTheLast)
{
    manager_t frame = make_frame(3);
    const std::uint32_t cases[][2] = { { 0, 0 }, { 2, 2 }, { 3, 3 }, { 4, 3 }, { 0xffffffffu, 3 } };
    for (const auto& [value, expected] : cases)
    {
        EXPECT_TRUE(frame.set_current_segment_index(value));
        EXPECT_EQ(frame.get_current_segment_index(), expected) << value;
    }
}

// Links and copies

TEST(BerChain, TurnsTheSyncSearchOnFromTheFirstSegmentAndNeverOff)
{
    manager_t frame;
    output_capture_t output;
    EXPECT_TRUE(set_ber_state(frame, 0, true));
    EXPECT_TRUE(frame.get_sync_search());
    EXPECT_TRUE(set_ber_state(frame, 0, false));
    EXPECT_TRUE(frame.get_sync_search());
    EXPECT_EQ(output.printed, "");
    // The chain sets the flag alone; the offset goes to 0 only through the setter.
    EXPECT_EQ(frame.get_segment(0).get_time_configure().get_meas_offset(), -1);
}

TEST(BerChain, LooksAtTheFirstSegmentWhicheverCalled)
{
    manager_t frame = make_frame(2);
    set_ber_state(frame, 1, true);
    EXPECT_FALSE(frame.get_sync_search());
    frame.set_current_segment_index(1);
    set_ber_state(frame, 0, true); // two segments, and the cursor is not on the first
    EXPECT_FALSE(frame.get_sync_search());
    frame.set_current_segment_index(0);
    set_ber_state(frame, 1, false);
    EXPECT_TRUE(frame.get_sync_search());
}

TEST(BerChain, ReportsSegmentsThatWereAppendedByNumber)
{
    manager_t frame;
    frame.set_segment_number(2);
    frame.add_segment();
    output_capture_t output;
    set_ber_state(frame, 1, true);
    EXPECT_EQ(output.printed, callback_report);
    set_ber_state(frame, 2, true);
    EXPECT_EQ(output.printed, callback_report);
}

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

TEST(FrameLinks, StayWithTheSlotWhenSegmentsAreRemoved)
{
    manager_t frame = make_frame(2);
    mark_segments(frame);
    ASSERT_TRUE(frame.remove_segment(0));
    EXPECT_EQ(get_mark(frame, 0), 101u);
    output_capture_t output;
    set_ber_state(frame, 0, true);
    EXPECT_TRUE(frame.get_sync_search());
    EXPECT_EQ(output.printed, "");

    // Data of an unlinked slot that move into a linked one are linked.
    manager_t mixed;
    mixed.set_segment_number(2);
    ASSERT_TRUE(mixed.remove_segment(0));
    set_ber_state(mixed, 0, true);
    EXPECT_TRUE(mixed.get_sync_search());
    EXPECT_EQ(output.printed, "");
}

/// Two segments, the first one counting errors, the sync search off: the next notification turns it on.
void arm(manager_t& frame)
{
    set_ber_state(frame, 0, true);
    frame.set_current_segment_index(1);
    frame.set_sync_search(false);
    frame.set_current_segment_index(0);
    ASSERT_FALSE(frame.get_sync_search());
}

TEST(FrameLinks, OfACopyReachTheCopyAfterTheOriginalIsGone)
{
    auto original = std::make_unique<manager_t>(make_frame(2));
    arm(*original);
    manager_t copy = *original;
    manager_t moved = std::move(*original);
    EXPECT_EQ(copy, moved);
    original.reset();
    output_capture_t output;
    set_ber_state(copy, 1, true);
    EXPECT_TRUE(copy.get_sync_search());
    EXPECT_FALSE(moved.get_sync_search());
    set_ber_state(moved, 0, true);
    EXPECT_TRUE(moved.get_sync_search());
    EXPECT_EQ(output.printed, "");
}

TEST(FrameLinks, OfACopyAreBoundAlsoWhereTheOriginalHadNone)
{
    manager_t original;
    original.set_segment_number(2);
    arm(original);
    manager_t copy = original;
    output_capture_t output;
    set_ber_state(copy, 1, true);
    EXPECT_EQ(output.printed, "");
    EXPECT_TRUE(copy.get_sync_search());
    EXPECT_FALSE(original.get_sync_search());
}

TEST(FrameLinks, OfSlotsThatAnAssignmentMakesReachTheTarget)
{
    auto source = std::make_unique<manager_t>(make_frame(6));
    arm(*source);
    manager_t target;
    target = *source;
    ASSERT_EQ(target.get_segment_number(), 6u);
    EXPECT_EQ(target, *source);
    output_capture_t output;
    for (std::uint32_t i = 1; i < 6; ++i)
    {
        manager_t fresh;
        fresh = *source;
        set_ber_state(fresh, i, true);
        EXPECT_TRUE(fresh.get_sync_search()) << i;
    }
    EXPECT_FALSE(source->get_sync_search());
    source.reset();
    set_ber_state(target, 3, true);
    EXPECT_TRUE(target.get_sync_search());
    EXPECT_EQ(output.printed, "");
}

TEST(FrameLinks, OfSlotsThatAreThereStayAsTheyWereUnderAssignment)
{
    const manager_t source = make_frame(2);
    manager_t target;
    target.set_segment_number(2); // the second slot has no link
    target = source;
    output_capture_t output;
    set_ber_state(target, 1, true);
    EXPECT_EQ(output.printed, callback_report);
    set_ber_state(target, 0, true);
    EXPECT_TRUE(target.get_sync_search());
    EXPECT_FALSE(source.get_sync_search());
}

TEST(FrameLinks, SurviveAMoveAssignmentAndAnAssignmentToItself)
{
    manager_t frame = make_frame(2);
    mark_segments(frame);
    manager_t& same = frame;
    frame = same;
    EXPECT_EQ(get_mark(frame, 1), 101u);
    manager_t target = make_frame(3);
    target = std::move(frame);
    EXPECT_EQ(target.get_segment_number(), 2u);
    EXPECT_EQ(get_mark(target, 1), 101u);
    set_ber_state(target, 0, true);
    EXPECT_TRUE(target.get_sync_search());
}

TEST(FrameLinks, SurviveAGrowingArrayOfFrames)
{
    std::vector<manager_t> frames;
    for (int i = 0; i < 5; ++i)
    {
        frames.emplace_back();
        frames.back().add_segment();
    }
    set_ber_state(frames[1], 0, true);
    for (std::size_t i = 0; i < frames.size(); ++i)
        EXPECT_EQ(frames[i].get_sync_search(), i == 1) << i;
}

TEST(FrameLinks, HoldForClassesBuiltOnTheFrame)
{
    struct holder_t : manager_t
    {
        int own = 0;
    };
    auto first = std::make_unique<holder_t>();
    holder_t second = *first;
    second = *first;
    first.reset();
    set_ber_state(second, 0, true);
    EXPECT_TRUE(second.get_sync_search());
}

TEST(FrameLinks, ASegmentTakenOutOfTheFrameNoLongerReachesIt)
{
    manager_t frame;
    lib_dma_segment_configure_manager_t copy = frame.get_segment(0);
    output_capture_t output;
    copy.get_recall_demod_info_configure().set_ber_state(true);
    EXPECT_FALSE(frame.get_sync_search());
    EXPECT_EQ(output.printed, callback_report);
    // Put back, its data are there and the slot's link is the old one.
    frame.get_segment(0) = copy;
    EXPECT_FALSE(frame.get_sync_search());
    set_ber_state(frame, 0, true);
    EXPECT_TRUE(frame.get_sync_search());
}

// Sync patterns

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
