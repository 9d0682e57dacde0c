#include "cfg/cfg_dma_frame.h"

#include "message_capture.h"

#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace vrim::dma_demod_lib
{
namespace
{
cfg_dma_frame_t make_frame(std::uint32_t segments)
{
    cfg_dma_frame_t frame;
    while (frame.get_segment_number() < segments)
        frame.add_segment();
    return frame;
}

/// The segment that a facade stands on: a mark set through the facade is looked for in every segment.
std::uint32_t find_cursor(const cfg_dma_frame_t& frame, cfg_dma_segment_t& segment)
{
    static std::uint32_t mark = 100;
    segment.get_recall_demod_info_cfg().set_total_bits_len(++mark);
    for (std::uint32_t index = 0; index < frame.get_segment_number(); ++index)
    {
        if (frame.get_frame_manager().get_segment(index).get_recall_demod_info_configure().get_total_bits_len() == mark)
            return index;
    }
    return 99;
}

template <typename result_t, typename argument_t, typename value_t>
void check_forward(const char* name, result_t (cfg_dma_frame_t::*set)(argument_t), value_t (cfg_dma_frame_t::*get)() const,
                   value_t (lib_dma_frame_configure_manager_t::*read)() const, const std::type_identity_t<argument_t>& value)
{
    SCOPED_TRACE(name);
    cfg_dma_frame_t frame;
    EXPECT_NE((frame.get_frame_manager().*read)(), value) << "a value that is there already shows nothing";
    if constexpr (std::is_void_v<result_t>)
        (frame.*set)(value);
    else
        EXPECT_TRUE((frame.*set)(value));
    EXPECT_EQ((frame.get_frame_manager().*read)(), value);
    EXPECT_EQ((frame.*get)(), value);
}

#define CHECK_FORWARD(name, value)                                                                                               \
    check_forward(#name, &cfg_dma_frame_t::set_##name, &cfg_dma_frame_t::get_##name,                                             \
                  &lib_dma_frame_configure_manager_t::get_##name, value)

TEST(FrameFacade, ForwardsToTheManager)
{
    CHECK_FORWARD(bandwidth, 5'000'000u);
    CHECK_FORWARD(search_length, 0.25);
    CHECK_FORWARD(current_segment_index, 1u);
    CHECK_FORWARD(burst_search, true);
    CHECK_FORWARD(burst_search_threshold, -12.5f);
    CHECK_FORWARD(sync_offset, 40.0f);
    CHECK_FORWARD(sync_pattern_type, LIB_DMA_SYNC_INT_PATTERN);
    CHECK_FORWARD(sync_search, true);
    CHECK_FORWARD(enable_mannual_data_sample_rate, true);
    CHECK_FORWARD(mannual_data_sample_rate, 5e6);
}

TEST(FrameFacade, HandsBackTheManagersRefusal)
{
    cfg_dma_frame_t frame;
    EXPECT_FALSE(frame.set_bandwidth(0));
    EXPECT_EQ(frame.get_bandwidth(), 20'000'000u);
    EXPECT_FALSE(frame.set_sync_pattern_bit(""));
    EXPECT_FALSE(frame.remove_segment(0));
}

TEST(FrameFacade, ForwardsTheSyncPatternOfEachType)
{
    cfg_dma_frame_t frame;
    EXPECT_TRUE(frame.set_sync_pattern_bit("1101"));
    EXPECT_EQ(frame.get_sync_pattern_bit(), "1101");
    EXPECT_EQ(frame.get_frame_manager().get_sync_pattern_bit(), "1101");
    EXPECT_EQ(frame.get_sync_pattern_bitarr(), (bit_array{ 1, 1, 0, 1 }));
    frame.set_sync_pattern_type(LIB_DMA_SYNC_HEX_PATTERN);
    EXPECT_TRUE(frame.set_sync_pattern_hex("c5"));
    EXPECT_EQ(frame.get_sync_pattern_hex(), "c5");
    EXPECT_EQ(frame.get_frame_manager().get_sync_pattern_hex(), "c5");
    EXPECT_EQ(frame.get_sync_pattern_bitarr(), (bit_array{ 1, 1, 0, 0, 0, 1, 0, 1 }));
    frame.set_sync_pattern_type(LIB_DMA_SYNC_INT_PATTERN);
    EXPECT_TRUE(frame.set_sync_pattern_int(5));
    EXPECT_EQ(frame.get_sync_pattern_int(), 5u);
    EXPECT_EQ(frame.get_frame_manager().get_sync_pattern_int(), 5u);
    EXPECT_EQ(frame.get_sync_pattern_bitarr(), (bit_array{ 0, 1, 0, 1 }));
    EXPECT_EQ(frame.get_frame_manager().get_sync_pattern_bitarr(), frame.get_sync_pattern_bitarr());
}

TEST(FrameFacade, TheSegmentsOfAFreshFrameReachIt)
{
    cfg_dma_frame_t frame;
    frame.get_segment(0).get_recall_demod_info_cfg().set_ber_state(true);
    EXPECT_TRUE(frame.get_sync_search());
    frame.get_segment(0).get_time_cfg().set_meas_offset(20);
    EXPECT_EQ(frame.get_segment(0).get_time_cfg().get_meas_offset(), 0) << "the sync search places the first segment";
}

TEST(FrameCursor, IsOneForTheWholeFrame)
{
    cfg_dma_frame_t frame = make_frame(3);
    trace_capture_t trace;
    cfg_dma_segment_t& first = frame.get_segment(0);
    EXPECT_EQ(find_cursor(frame, first), 0u);
    cfg_dma_segment_t& third = frame.get_segment(2);
    EXPECT_EQ(&first, &third);
    EXPECT_EQ(find_cursor(frame, first), 2u);
    EXPECT_EQ(&first.get_segment_manager(), &frame.get_frame_manager().get_segment(2));
    EXPECT_EQ(trace.get_text(), "");
}

TEST(FrameCursor, PastTheEndIsReportedAndGoesToTheFirstSegment)
{
    cfg_dma_frame_t frame = make_frame(2);
    cfg_dma_segment_t& segment = frame.get_segment(1);
    {
        trace_capture_t trace;
        EXPECT_EQ(&frame.get_segment(7), &segment);
        EXPECT_EQ(trace.get_text(), "warning!cfg_dma_frame_t::get_segment Report: current segment_index(7)Out of Range(2 !)\n");
    }
    EXPECT_EQ(find_cursor(frame, segment), 0u);
    trace_capture_t trace;
    frame.get_segment(2);
    EXPECT_EQ(trace.get_text(), "warning!cfg_dma_frame_t::get_segment Report: current segment_index(2)Out of Range(2 !)\n");
}

TEST(FrameCursor, StaysForNewSegmentsAndForTheCurrentSegmentIndex)
{
    cfg_dma_frame_t frame = make_frame(2);
    cfg_dma_segment_t& segment = frame.get_segment(1);
    frame.add_segment();
    EXPECT_EQ(frame.get_segment_number(), 3u);
    EXPECT_EQ(find_cursor(frame, segment), 1u);
    EXPECT_TRUE(frame.set_current_segment_index(2));
    EXPECT_EQ(find_cursor(frame, segment), 1u);
    frame.get_segment(0);
    EXPECT_EQ(frame.get_current_segment_index(), 2u);
}

TEST(FrameCursor, GoesToTheFirstSegmentWhenOneIsRemoved)
{
    cfg_dma_frame_t frame = make_frame(3);
    frame.set_current_segment_index(2);
    cfg_dma_segment_t& segment = frame.get_segment(1);
    trace_capture_t trace;
    EXPECT_FALSE(frame.remove_segment(3));
    EXPECT_EQ(find_cursor(frame, segment), 1u) << "nothing was removed";
    EXPECT_TRUE(frame.remove_segment(2));
    EXPECT_EQ(frame.get_segment_number(), 2u);
    EXPECT_EQ(find_cursor(frame, segment), 0u);
    EXPECT_EQ(frame.get_current_segment_index(), 2u) << "a setting that the removal leaves";
    EXPECT_EQ(trace.get_text(), "");
}

TEST(FrameCursor, GoesToTheFirstSegmentAtInitAndStaysAtReset)
{
    cfg_dma_frame_t frame = make_frame(4);
    cfg_dma_segment_t& segment = frame.get_segment(3);
    frame.set_search_length(0.5);
    trace_capture_t trace;
    frame.reset();
    EXPECT_EQ(frame.get_segment_number(), 1u);
    EXPECT_EQ(frame.get_search_length(), 0.0001);
    EXPECT_EQ(find_cursor(frame, segment), 0u) << "stale: the last segment";
    while (frame.get_segment_number() < 5)
        frame.add_segment();
    EXPECT_EQ(find_cursor(frame, segment), 3u);
    frame.set_search_length(0.5);
    frame.init();
    EXPECT_EQ(frame, cfg_dma_frame_t());
    frame.add_segment();
    EXPECT_EQ(find_cursor(frame, segment), 0u);
    EXPECT_EQ(trace.get_text(), "");
}

TEST(SegmentNumber, PutsTheCursorOnTheFirstSegment)
{
    cfg_dma_frame_t frame = make_frame(3);
    cfg_dma_segment_t& segment = frame.get_segment(2);
    EXPECT_TRUE(frame.set_segment_number(3));
    trace_capture_t trace; // the segments that a larger number appends have no link to the frame
    EXPECT_EQ(find_cursor(frame, segment), 0u);
    EXPECT_TRUE(frame.set_segment_number(9));
    EXPECT_EQ(std::as_const(frame).get_segment_number(), 6u);
    EXPECT_EQ(trace.get_text(), "");
}

TEST(SegmentNumber, KeepsACurrentSegmentIndexBelowIt)
{
    cfg_dma_frame_t frame = make_frame(2);
    trace_capture_t trace;
    EXPECT_TRUE(frame.set_segment_number(1));
    EXPECT_EQ(frame.get_current_segment_index(), 0u);
    frame.set_segment_number(3);
    frame.set_current_segment_index(2);
    EXPECT_TRUE(frame.set_segment_number(4));
    EXPECT_EQ(frame.get_current_segment_index(), 2u);
    EXPECT_TRUE(frame.set_segment_number(3));
    EXPECT_EQ(frame.get_current_segment_index(), 2u);
    EXPECT_EQ(trace.get_text(), "");
}

TEST(SegmentNumber, ReportsACurrentSegmentIndexThatIsGone)
{
    cfg_dma_frame_t frame = make_frame(2);
    frame.set_current_segment_index(1);
    trace_capture_t trace;
    EXPECT_TRUE(frame.set_segment_number(1));
    EXPECT_EQ(trace.get_text(), "warning!set_segment_number:: current segment_index(1)Out of Range(1 !)\n");
    EXPECT_EQ(frame.get_current_segment_index(), 0u);
    EXPECT_EQ(frame.get_segment_number(), 1u);
}

TEST(SegmentNumber, OfZeroIsReportedAlways)
{
    cfg_dma_frame_t frame;
    trace_capture_t trace;
    EXPECT_TRUE(frame.set_segment_number(0));
    EXPECT_EQ(trace.get_text(), "warning!set_segment_number:: current segment_index(0)Out of Range(0 !)\n");
    EXPECT_EQ(frame.get_segment_number(), 1u);
    EXPECT_EQ(frame, cfg_dma_frame_t());
}

TEST(FrameEquality, LooksAtTheSettingsAndNotAtTheCursors)
{
    cfg_dma_frame_t left = make_frame(3);
    cfg_dma_frame_t right = make_frame(3);
    left.get_segment(2).get_time_cfg().set_current_segment_index(1);
    EXPECT_TRUE(left == right);
    EXPECT_FALSE(left != right);
    left.get_segment(2).get_filter_cfg().set_filter_length(20);
    EXPECT_FALSE(left == right);
    EXPECT_TRUE(left != right);
    right.get_segment(2).get_filter_cfg().set_filter_length(20);
    EXPECT_TRUE(left == right);
    left.set_burst_search(true);
    EXPECT_TRUE(left != right);
}

using transfer_t = std::function<std::unique_ptr<cfg_dma_frame_t>(cfg_dma_frame_t&)>;

/// Every way from one frame to another; the targets of the assignments have more and fewer segments and a cursor that moved.
const std::vector<std::pair<const char*, transfer_t>>& get_transfers()
{
    static const auto make_target = [](std::uint32_t segments)
    {
        auto target = std::make_unique<cfg_dma_frame_t>(make_frame(segments));
        target->get_segment(segments - 1);
        target->set_search_length(0.5);
        return target;
    };
    static const auto assign = [](std::unique_ptr<cfg_dma_frame_t> target, const cfg_dma_frame_t& source)
    {
        *target = source;
        return target;
    };
    static const auto move_into = [](std::unique_ptr<cfg_dma_frame_t> target, cfg_dma_frame_t& source)
    {
        *target = std::move(source);
        return target;
    };
    static const std::vector<std::pair<const char*, transfer_t>> transfers = {
        { "copy", [](cfg_dma_frame_t& source) { return std::make_unique<cfg_dma_frame_t>(std::as_const(source)); } },
        { "move", [](cfg_dma_frame_t& source) { return std::make_unique<cfg_dma_frame_t>(std::move(source)); } },
        { "assignment to fewer", [](cfg_dma_frame_t& source) { return assign(make_target(1), source); } },
        { "assignment to more", [](cfg_dma_frame_t& source) { return assign(make_target(6), source); } },
        { "move assignment", [](cfg_dma_frame_t& source) { return move_into(make_target(2), source); } },
    };
    return transfers;
}

TEST(FrameCopy, HasTheSettingsAndACursorOnTheFirstSegment)
{
    for (const auto& [name, transfer] : get_transfers())
    {
        SCOPED_TRACE(name);
        cfg_dma_frame_t source = make_frame(3);
        source.get_segment(2).get_format_cfg().set_format_group(LIB_DMA_GROUP_MSK);
        source.set_bandwidth(7'000'000);
        const cfg_dma_frame_t before = source;
        ASSERT_EQ(before.get_bandwidth(), 7'000'000u);
        const std::unique_ptr<cfg_dma_frame_t> target = transfer(source);
        EXPECT_EQ(*target, before);
        EXPECT_EQ(target->get_segment(0).get_format_cfg().get_format_group(), LIB_DMA_GROUP_PSK);
        EXPECT_EQ(target->get_segment(2).get_format_cfg().get_format_group(), LIB_DMA_GROUP_MSK);
    }
}

TEST(FrameCopy, LivesOnWithoutItsSource)
{
    for (const auto& [name, transfer] : get_transfers())
    {
        SCOPED_TRACE(name);
        auto source = std::make_unique<cfg_dma_frame_t>(make_frame(3));
        const std::unique_ptr<cfg_dma_frame_t> target = transfer(*source);
        source.reset();
        EXPECT_EQ(find_cursor(*target, target->get_segment(2)), 2u);
        trace_capture_t trace;
        target->get_segment(0).get_recall_demod_info_cfg().set_ber_state(true);
        EXPECT_TRUE(target->get_sync_search());
        EXPECT_EQ(trace.get_text(), "");
    }
}

TEST(FrameCopy, DoesNotReachItsSource)
{
    for (const auto& [name, transfer] : get_transfers())
    {
        SCOPED_TRACE(name);
        cfg_dma_frame_t source = make_frame(3);
        const cfg_dma_frame_t before = source;
        const std::unique_ptr<cfg_dma_frame_t> target = transfer(source);
        target->get_segment(1).get_time_cfg().set_meas_interval(77);
        target->get_segment(0).get_recall_demod_info_cfg().set_ber_state(true);
        EXPECT_EQ(source, before);
        EXPECT_EQ(find_cursor(source, source.get_segment(1)), 1u) << "a moved frame is as good as before";
    }
}

TEST(FrameCopy, PutsTheCursorsOfAnAssignedFrameBack)
{
    cfg_dma_frame_t target = make_frame(3);
    cfg_dma_segment_t& segment = target.get_segment(2);
    segment.get_time_cfg().set_current_segment_index(1);
    cfg_dma_frame_t source = make_frame(3);
    cfg_dma_segment_t& source_segment = source.get_segment(1);
    target = source;
    EXPECT_EQ(find_cursor(target, segment), 0u);
    segment.get_time_cfg().set_meas_interval(77);
    EXPECT_EQ(target.get_frame_manager().get_segment(0).get_time_configure().get_meas_interval(), 77u);
    EXPECT_EQ(&segment.get_segment_manager(), &target.get_frame_manager().get_segment(0));
    EXPECT_EQ(find_cursor(source, source_segment), 1u) << "the source's stays";
}

TEST(FrameCopy, OfItselfChangesNoSetting)
{
    cfg_dma_frame_t frame = make_frame(3);
    frame.get_segment(2).get_time_cfg().set_meas_interval(77);
    const cfg_dma_frame_t before = frame;
    const cfg_dma_frame_t& same = frame;
    frame = same;
    EXPECT_EQ(frame, before);
    EXPECT_EQ(frame.get_segment(2).get_time_cfg().get_meas_interval(), 77u);
}

TEST(FrameCopy, EqualsItsSourceWhileTheStoredNumberIsOutOfDate)
{
    for (const auto& [name, transfer] : get_transfers())
    {
        SCOPED_TRACE(name);
        cfg_dma_frame_t source = make_frame(3);
        ASSERT_TRUE(source.set_sync_pattern_bit("1")); // cuts the list to the current segment, the first
        ASSERT_EQ(std::as_const(source).get_segment_number(), 1u);
        const std::unique_ptr<cfg_dma_frame_t> target = transfer(source);
        EXPECT_EQ(*target, source);
        EXPECT_EQ(target->get_segment_number(), 1u);
    }
}

TEST(FrameCopy, SurvivesAGrowingListAndASwap)
{
    std::vector<cfg_dma_frame_t> frames;
    for (std::uint32_t count = 1; count <= 6; ++count)
        frames.push_back(make_frame(count));
    for (std::uint32_t count = 1; count <= 6; ++count)
        EXPECT_EQ(find_cursor(frames[count - 1], frames[count - 1].get_segment(count - 1)), count - 1);
    std::swap(frames[0], frames[5]);
    EXPECT_EQ(frames[0].get_segment_number(), 6u);
    EXPECT_EQ(find_cursor(frames[0], frames[0].get_segment(5)), 5u);
    EXPECT_EQ(frames[5].get_segment_number(), 1u);
    EXPECT_EQ(find_cursor(frames[5], frames[5].get_segment(0)), 0u);
}
} // namespace
} // namespace vrim::dma_demod_lib
