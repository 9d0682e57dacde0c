#include "cfg/cfg_dma_segment.h"
#include "cfg/internal/cfg_dma_cursor.h"
#include "message_capture.h"

#include <bit>
#include <cstdint>
#include <gtest/gtest.h>
#include <type_traits>
#include <utility>

namespace vrim::dma_demod_lib
{
namespace
{
constexpr const char* leaf_range_line = "cfg_nr_carrier_t::set_current_carrier Report: Carrier Index Out of Range!\n";
constexpr const char* segment_range_line = "cfg_dma_segment_t::set_current_segment_index Report: segment_index Out of Range!\n";

lib_dma_frame_configure_manager_t make_frame(std::uint32_t segments)
{
    lib_dma_frame_configure_manager_t frame;
    while (frame.get_segment_number() < segments)
        frame.add_segment();
    return frame;
}

/// One field of each facade: how to set it and where it is found.
struct time_case_t
{
    using facade_t = cfg_dma_time_t;
    static constexpr const char* null_line = "cfg_dma_time_t::set_current_segment_index null ptr!\n";
    static void set(facade_t& facade, std::uint32_t value) { facade.set_meas_interval(value); }
    static auto get(const lib_dma_segment_configure_manager_t& segment)
    {
        return segment.get_time_configure().get_meas_interval();
    }
    static facade_t& of(cfg_dma_segment_t& segment) { return segment.get_time_cfg(); }
    static const facade_t& of(const cfg_dma_segment_t& segment) { return segment.get_time_cfg(); }
};
struct filter_case_t
{
    using facade_t = cfg_dma_filter_t;
    static constexpr const char* null_line = "cfg_dma_filter_t::set_current_segment_index null ptr!\n";
    static void set(facade_t& facade, std::uint32_t value) { facade.set_filter_length(value); }
    static auto get(const lib_dma_segment_configure_manager_t& segment)
    {
        return segment.get_filter_configure().get_filter_length();
    }
    static facade_t& of(cfg_dma_segment_t& segment) { return segment.get_filter_cfg(); }
    static const facade_t& of(const cfg_dma_segment_t& segment) { return segment.get_filter_cfg(); }
};
struct advance_case_t
{
    using facade_t = cfg_dma_advance_t;
    static constexpr const char* null_line = "cfg_dma_advance_t::set_current_segment_index null ptr!\n";
    static void set(facade_t& facade, std::uint32_t value) { facade.set_average_move_len(value); }
    static auto get(const lib_dma_segment_configure_manager_t& segment)
    {
        return segment.get_advance_configure().get_average_move_len();
    }
    static facade_t& of(cfg_dma_segment_t& segment) { return segment.get_advance_cfg(); }
    static const facade_t& of(const cfg_dma_segment_t& segment) { return segment.get_advance_cfg(); }
};
struct format_case_t
{
    using facade_t = cfg_dma_format_t;
    static constexpr const char* null_line = "cfg_dma_format_t::set_current_segment_index null ptr!\n";
    static void set(facade_t& facade, std::uint32_t value) { facade.set_symbol_rate(20'000u + value); }
    static auto get(const lib_dma_segment_configure_manager_t& segment)
    {
        return static_cast<std::uint32_t>(segment.get_format_configure().get_symbol_rate() - 20'000u);
    }
    static facade_t& of(cfg_dma_segment_t& segment) { return segment.get_format_cfg(); }
    static const facade_t& of(const cfg_dma_segment_t& segment) { return segment.get_format_cfg(); }
};
struct recall_case_t
{
    using facade_t = cfg_dma_recall_demod_info_t;
    static constexpr const char* null_line = "cfg_dma_recall_demod_info_t::set_current_segment_index null ptr!\n";
    static void set(facade_t& facade, std::uint32_t value) { facade.set_total_bits_len(value); }
    static auto get(const lib_dma_segment_configure_manager_t& segment)
    {
        return segment.get_recall_demod_info_configure().get_total_bits_len();
    }
    static facade_t& of(cfg_dma_segment_t& segment) { return segment.get_recall_demod_info_cfg(); }
    static const facade_t& of(const cfg_dma_segment_t& segment) { return segment.get_recall_demod_info_cfg(); }
};

template <typename case_t>
class LeafCursor : public testing::Test
{
};
using leaf_cases_t = testing::Types<time_case_t, filter_case_t, advance_case_t, format_case_t, recall_case_t>;
TYPED_TEST_SUITE(LeafCursor, leaf_cases_t);

TYPED_TEST(LeafCursor, StartsOnTheFirstSegmentAndMoves)
{
    auto frame = make_frame(3);
    trace_capture_t trace;
    typename TypeParam::facade_t facade(frame);
    TypeParam::set(facade, 31);
    EXPECT_EQ(TypeParam::get(frame.get_segment(0)), 31u);
    EXPECT_TRUE(facade.set_current_segment_index(2));
    TypeParam::set(facade, 33);
    EXPECT_EQ(TypeParam::get(frame.get_segment(2)), 33u);
    EXPECT_TRUE(facade.set_current_segment_index(2));
    facade.init();
    TypeParam::set(facade, 35);
    EXPECT_EQ(TypeParam::get(frame.get_segment(0)), 35u);
    EXPECT_EQ(TypeParam::get(frame.get_segment(2)), 33u) << "init touches no record";
    EXPECT_EQ(trace.get_text(), "");
}

TYPED_TEST(LeafCursor, StaysAndReportsForASegmentThatIsNotThere)
{
    auto frame = make_frame(2);
    typename TypeParam::facade_t facade(frame);
    ASSERT_TRUE(facade.set_current_segment_index(1));
    for (const std::uint32_t index : { 2u, 0xffff'ffffu })
    {
        trace_capture_t trace;
        EXPECT_FALSE(facade.set_current_segment_index(index));
        EXPECT_EQ(trace.get_text(), leaf_range_line);
    }
    TypeParam::set(facade, 31);
    EXPECT_EQ(TypeParam::get(frame.get_segment(1)), 31u);
}

TYPED_TEST(LeafCursor, PastTheEndStandsForTheLastSegment)
{
    auto frame = make_frame(4);
    typename TypeParam::facade_t facade(frame);
    ASSERT_TRUE(facade.set_current_segment_index(3));
    frame.set_segment_number(2);
    TypeParam::set(facade, 31);
    EXPECT_EQ(TypeParam::get(frame.get_segment(1)), 31u);
}

TYPED_TEST(LeafCursor, IsIndependentOfTheCurrentSegmentIndexOfTheFrame)
{
    auto frame = make_frame(3);
    typename TypeParam::facade_t facade(frame);
    frame.set_current_segment_index(2);
    TypeParam::set(facade, 31);
    EXPECT_EQ(TypeParam::get(frame.get_segment(0)), 31u);
    facade.set_current_segment_index(1);
    EXPECT_EQ(frame.get_current_segment_index(), 2u);
}

struct unbound_cursor_t
{
    lib_dma_frame_configure_manager_t* frame = nullptr;
    std::uint32_t index = 0;
    std::uint32_t filler = 0;
};

TYPED_TEST(LeafCursor, WithoutAFrameReportsInItsOwnName)
{
    // No constructor makes such an object, so it is made from its bytes.
    auto facade = std::bit_cast<typename TypeParam::facade_t>(unbound_cursor_t());
    {
        trace_capture_t trace;
        EXPECT_FALSE(facade.set_current_segment_index(0));
        EXPECT_EQ(trace.get_text(), TypeParam::null_line);
    }
    trace_capture_t trace;
    facade.init();
    EXPECT_EQ(trace.get_text(), TypeParam::null_line);
}

TYPED_TEST(LeafCursor, FollowsTheSegmentsCursor)
{
    auto frame = make_frame(3);
    cfg_dma_segment_t segment(frame);
    ASSERT_TRUE(segment.set_current_segment_index(2));
    TypeParam::set(TypeParam::of(segment), 31);
    EXPECT_EQ(TypeParam::get(frame.get_segment(2)), 31u);
    EXPECT_EQ(&TypeParam::of(segment), &TypeParam::of(std::as_const(segment)));
    segment.init();
    TypeParam::set(TypeParam::of(segment), 33);
    EXPECT_EQ(TypeParam::get(frame.get_segment(0)), 33u);
}

TYPED_TEST(LeafCursor, MovedByItselfStaysApartUntilTheSegmentsCursorMoves)
{
    auto frame = make_frame(2);
    cfg_dma_segment_t segment(frame);
    ASSERT_TRUE(TypeParam::of(segment).set_current_segment_index(1));
    EXPECT_TRUE(segment.set_current_segment_index(0)); // the segment's cursor is there already
    TypeParam::set(TypeParam::of(segment), 31);
    EXPECT_EQ(TypeParam::get(frame.get_segment(1)), 31u);
    segment.set_current_segment_index(1);
    segment.set_current_segment_index(0);
    TypeParam::set(TypeParam::of(segment), 33);
    EXPECT_EQ(TypeParam::get(frame.get_segment(0)), 33u);
}

TEST(SegmentCursor, StaysAndReportsForASegmentThatIsNotThere)
{
    auto frame = make_frame(2);
    cfg_dma_segment_t segment(frame);
    ASSERT_TRUE(segment.set_current_segment_index(1));
    {
        trace_capture_t trace;
        EXPECT_FALSE(segment.set_current_segment_index(2));
        EXPECT_EQ(trace.get_text(), segment_range_line);
    }
    EXPECT_EQ(&segment.get_segment_manager(), &frame.get_segment(1));
    frame.set_segment_number(1);
    trace_capture_t trace;
    EXPECT_FALSE(segment.set_current_segment_index(1)) << "its own place, but gone";
    EXPECT_EQ(trace.get_text(), segment_range_line);
    EXPECT_EQ(&segment.get_segment_manager(), &frame.get_segment(0));
}

TEST(SegmentCursor, WithoutAFrameReportsInItsOwnName)
{
    struct unbound_segment_t
    {
        unbound_cursor_t own, leaves[5];
    };
    auto segment = std::bit_cast<cfg_dma_segment_t>(unbound_segment_t());
    {
        trace_capture_t trace;
        EXPECT_FALSE(segment.set_current_segment_index(0));
        EXPECT_EQ(trace.get_text(), "cfg_dma_segment_t::set_current_segment_index null ptr!\n");
    }
    trace_capture_t trace;
    segment.init();
    EXPECT_EQ(trace.get_text(), "cfg_dma_segment_t::set_current_segment_index null ptr!\n"
                                "cfg_dma_time_t::set_current_segment_index null ptr!\n"
                                "cfg_dma_advance_t::set_current_segment_index null ptr!\n"
                                "cfg_dma_filter_t::set_current_segment_index null ptr!\n"
                                "cfg_dma_format_t::set_current_segment_index null ptr!\n"
                                "cfg_dma_recall_demod_info_t::set_current_segment_index null ptr!\n");
}

TEST(SegmentCursor, ACopyStandsForTheSameFrameAndMovesByItself)
{
    auto frame = make_frame(2);
    cfg_dma_segment_t segment(frame);
    cfg_dma_segment_t copy = segment;
    ASSERT_TRUE(copy.set_current_segment_index(1));
    copy.get_time_cfg().set_meas_interval(31);
    segment.get_time_cfg().set_meas_interval(33);
    EXPECT_EQ(frame.get_segment(1).get_time_configure().get_meas_interval(), 31u);
    EXPECT_EQ(frame.get_segment(0).get_time_configure().get_meas_interval(), 33u);
    // An assignment would bind the facade that one frame holds to another frame.
    static_assert(!std::is_copy_assignable_v<cfg_dma_segment_t> && !std::is_move_assignable_v<cfg_dma_segment_t>);
}

TEST(SegmentCheck, TellsAMissingFrameFromAMissingSegment)
{
    auto frame = make_frame(2);
    trace_capture_t trace;
    EXPECT_TRUE(is_segment_there(&frame, 1, "no frame", "no segment"));
    EXPECT_EQ(trace.get_text(), "");
    EXPECT_FALSE(is_segment_there(nullptr, 1, "no frame", "no segment"));
    EXPECT_FALSE(is_segment_there(&frame, 2, "no frame", "no segment"));
    EXPECT_EQ(trace.get_text(), "no frame\nno segment\n");
}
} // namespace
} // namespace vrim::dma_demod_lib
