#include "lib_dma_cfg_manager/lib_dma_segment_configure_manager.h"

#include "output_capture.h"

#include <gtest/gtest.h>
#include <memory>
#include <utility>
#include <vector>

namespace vrim::dma_demod_lib
{
namespace
{
using manager_t = lib_dma_segment_configure_manager_t;

constexpr const char* callback_report = "lib_dma_segment_configure_manager_t::update_syn_pattern_by_ber callback error!\n";

TEST(Segment, HoldsFiveDefaultRecords)
{
    const manager_t segment;
    EXPECT_EQ(segment.get_filter_configure(), lib_dma_filter_configure_manager_t());
    EXPECT_EQ(segment.get_time_configure(), lib_dma_time_configure_manager_t());
    EXPECT_EQ(segment.get_advance_configure(), lib_dma_advance_configure_manager_t());
    EXPECT_EQ(segment.get_format_configure(), lib_dma_format_configure_manager_t());
    EXPECT_EQ(segment.get_recall_demod_info_configure(), lib_dma_recall_demod_info_configure_manager_t());
}

std::vector<manager_t> make_changed_segments()
{
    std::vector<manager_t> segments(5);
    segments[0].get_filter_configure().set_filter_length(20);
    segments[1].get_time_configure().set_meas_offset(20);
    segments[2].get_advance_configure().set_hold(true);
    segments[3].get_format_configure().set_symbol_rate(20'000);
    segments[4].get_recall_demod_info_configure().set_total_bits_len(20);
    return segments;
}

TEST(Segment, EqualityLooksAtAllFiveRecordsAndNotAtTheLink)
{
    EXPECT_EQ(manager_t(lib_segment_level_info_t{ [] {} }), manager_t());
    for (const manager_t& segment : make_changed_segments())
    {
        EXPECT_NE(segment, manager_t());
        const manager_t copy = segment;
        EXPECT_EQ(copy, segment);
        manager_t assigned;
        assigned = segment;
        EXPECT_EQ(assigned, segment);
    }
}

TEST(Segment, InitRestoresTheFiveRecords)
{
    for (manager_t& segment : make_changed_segments())
    {
        segment.init();
        EXPECT_EQ(segment, manager_t());
    }
}

TEST(Segment, InitLeavesTheFirstBitsOfItsPattern)
{
    manager_t segment;
    segment.get_recall_demod_info_configure().set_payload_data_type(LIB_DMA_PN7);
    segment.init();
    EXPECT_EQ(segment.get_recall_demod_info_configure().get_tx_pattern().size(), 511u);
    EXPECT_EQ(segment.get_recall_demod_info_configure().get_tx_pattern().front(), 1);
}

TEST(Segment, PassesABerChangeToItsLink)
{
    int calls = 0;
    manager_t segment(lib_segment_level_info_t{ [&] { ++calls; } });
    output_capture_t output;
    segment.get_recall_demod_info_configure().set_ber_state(true);
    EXPECT_EQ(calls, 1);
    segment.update_syn_pattern_by_ber();
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(output.printed, "");
}

TEST(Segment, ReportsAnEmptyLinkAndGoesOn)
{
    manager_t segment;
    output_capture_t output;
    EXPECT_TRUE(segment.get_recall_demod_info_configure().set_ber_state(true));
    EXPECT_TRUE(segment.get_recall_demod_info_configure().get_ber_state());
    // The record's own link is bound: the report is the segment's.
    EXPECT_EQ(output.printed, callback_report);
}

TEST(Segment, AssignmentKeepsTheLinksOfTheTarget)
{
    int source_calls = 0;
    int target_calls = 0;
    auto source = std::make_unique<manager_t>(lib_segment_level_info_t{ [&] { ++source_calls; } });
    manager_t target(lib_segment_level_info_t{ [&] { ++target_calls; } });
    source->get_time_configure().set_meas_interval(LIB_DMA_GROUP_PSK, 77);
    target = *source;
    EXPECT_EQ(target.get_time_configure().get_meas_interval(), 77u);
    source->get_time_configure().set_meas_interval(LIB_DMA_GROUP_PSK, 78);
    target = std::move(*source);
    EXPECT_EQ(target.get_time_configure().get_meas_interval(), 78u);
    source.reset();
    target.get_recall_demod_info_configure().set_ber_state(true);
    EXPECT_EQ(source_calls, 0);
    EXPECT_EQ(target_calls, 1);
}

TEST(Segment, ACopyNotifiesNeitherItsOriginalNorTheOriginalsFrame)
{
    int calls = 0;
    auto source = std::make_unique<manager_t>(lib_segment_level_info_t{ [&] { ++calls; } });
    manager_t copy = *source;
    manager_t moved = std::move(*source);
    source.reset();
    output_capture_t output;
    copy.get_recall_demod_info_configure().set_ber_state(true);
    moved.get_recall_demod_info_configure().set_ber_state(true);
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(output.printed, std::string(callback_report) + callback_report);
    EXPECT_EQ(copy, moved);
}
} // namespace
} // namespace vrim::dma_demod_lib
