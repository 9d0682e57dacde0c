#include "frame_segments.h"
#include "output_capture.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace vrim::dma_demod_lib
{
namespace
{
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
} // namespace
} // namespace vrim::dma_demod_lib
