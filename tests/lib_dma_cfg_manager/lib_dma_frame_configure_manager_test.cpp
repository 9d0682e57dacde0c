#include "frame_segments.h"
#include "output_capture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace vrim::dma_demod_lib
{
namespace
{
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
} // namespace
} // namespace vrim::dma_demod_lib
