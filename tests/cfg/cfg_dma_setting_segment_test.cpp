// How many segments a tree leaves, what overflowing lists do, and how long trees without measure take.
#include "cfg/cfg_dma_frame.h"
#include "setting_tree.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <pugixml.hpp>
#include <string>

namespace vrim::dma_demod_lib
{
namespace
{
class SettingsSegments : public setting_test_t
{
};

/// A segment marked by its interval.
std::string make_marked(std::uint32_t interval, const std::string& more = {})
{
    return make_segment(fmt::format("<cfg_dma_time><meas_interval>{}</meas_interval></cfg_dma_time>", interval) + more);
}

std::string make_marked_list(std::uint32_t count)
{
    std::string segments;
    for (std::uint32_t i = 0; i < count; ++i)
        segments += make_marked(100 + i);
    return make_list(segments);
}

std::uint32_t get_mark(cfg_dma_frame_t& frame, std::uint32_t index)
{
    return frame.get_segment(index).get_time_cfg().get_meas_interval();
}

TEST_F(SettingsSegments, AreCutBehindTheCurrentOneByTheSyncPattern)
{
    struct case_t
    {
        std::uint32_t number;
        std::uint32_t current;
        const char* pattern;
        std::uint32_t items;
        std::uint32_t left;
    };
    const case_t cases[] = {
        { 3, 0, "0", 0, 1 }, // the check cuts the list
        { 3, 1, "0", 0, 2 },
        { 3, 2, "0", 0, 3 },
        { 3, 0, "", 0, 3 }, // nothing to check
        { 3, 0, "x", 0, 3 },
        { 3, 0, "0", 1, 1 },
        { 3, 0, "0", 2, 2 }, // grows again as far as items follow
        { 3, 0, "0", 5, 5 },
        { 3, 3, "0", 0, 4 }, // one past the end is an index, and the check makes its segment
        { 3, 9, "0", 0, 4 }, // taken as 3
        { 6, 6, "0", 0, 6 }, // no room for a seventh
        { 1, 0, "0", 6, 6 },
        { 1, 0, "0", 7, 6 },
    };
    for (const case_t& item : cases)
    {
        cfg_dma_frame_t frame;
        EXPECT_TRUE(recall_text(
            frame, make_tree(fmt::format("<segment_number>{}</segment_number><frame_current_segment_index>{}"
                                         "</frame_current_segment_index><sync_pattern_bit>{}</sync_pattern_bit>",
                                         item.number, item.current, item.pattern) +
                             make_marked_list(item.items))));
        EXPECT_EQ(frame.get_segment_number(), item.left)
            << item.number << ' ' << item.current << " \"" << item.pattern << "\" " << item.items;
    }
}

TEST_F(SettingsSegments, AreReadInOrderWhateverTheirNames)
{
    cfg_dma_frame_t frame;
    pugi::xml_document document;
    const std::string tree = make_tree(make_list("a text<!-- a comment --><a><cfg_dma_time><meas_interval>11</meas_interval>"
                                                 "</cfg_dma_time></a><?note?><cfg_dma_time><cfg_dma_time><meas_interval>12"
                                                 "</meas_interval></cfg_dma_time></cfg_dma_time><![CDATA[more]]><a/>"));
    ASSERT_TRUE(document.load_string(tree.c_str(), pugi::parse_full));
    EXPECT_TRUE(frame.recall_dma_setting(document.document_element()));
    ASSERT_EQ(frame.get_segment_number(), 3u);
    EXPECT_EQ(get_mark(frame, 0), 11u);
    EXPECT_EQ(get_mark(frame, 1), 12u);
    EXPECT_EQ(get_mark(frame, 2), 10u);
}

TEST_F(SettingsSegments, MakeSyncSearchByTheFirstOneOnly)
{
    const std::string ber = "<s><cfg_dma_recall_demod_info><ber_state>1</ber_state></cfg_dma_recall_demod_info></s>";
    cfg_dma_frame_t frame;
    EXPECT_TRUE(recall_text(frame, make_tree(make_list(ber))));
    EXPECT_TRUE(frame.get_sync_search());
    EXPECT_TRUE(recall_text(frame, make_tree(make_list("<s/>" + ber))));
    EXPECT_FALSE(frame.get_sync_search());
    EXPECT_TRUE(frame.get_segment(1).get_recall_demod_info_cfg().get_ber_state());
}

TEST_F(SettingsSegments, BeyondTheSixthFallBackOnTheFirst)
{
    cfg_dma_frame_t frame;
    const cfg_dma_segment_t& segment = frame.get_segment(0);
    EXPECT_TRUE(recall_text(frame, make_tree(make_marked_list(7))));
    EXPECT_EQ(segment.get_time_cfg().get_meas_interval(), 106u); // the cursor
    EXPECT_EQ(frame.get_segment_number(), 6u);
    EXPECT_EQ(get_mark(frame, 0), 106u);
    for (std::uint32_t i = 1; i < 6; ++i)
        EXPECT_EQ(get_mark(frame, i), 100 + i);
    EXPECT_NE(trace.get_text().find("warning!cfg_dma_frame_t::get_segment Report: current segment_index(6)Out of Range(6 !)\n"),
              std::string::npos);
    EXPECT_EQ(trace.get_text().find("segment_index(7)"), std::string::npos);
}

TEST_F(SettingsSegments, LeaveTheCursorOnTheLastOneRead)
{
    cfg_dma_frame_t frame;
    const cfg_dma_segment_t& segment = frame.get_segment(0);
    EXPECT_TRUE(recall_text(frame, make_tree(make_marked_list(4))));
    EXPECT_EQ(segment.get_time_cfg().get_meas_interval(), 103u);
}

TEST_F(SettingsSegments, BeyondTheSixthLeaveWhatTheLastOneSays)
{
    // Six that stay, three that the tenth overwrites.
    const std::string full = "<cfg_dma_format><format_group>LIB_DMA_GROUP_QAM</format_group><qam_format>LIB_DMA_QAM_64"
                             "</qam_format><msk_format>LIB_DMA_MSK_TYPE2</msk_format><apsk_format>LIB_DMA_APSK_32</apsk_format>"
                             "<apsk_r2_r1>2.72</apsk_r2_r1><const_iq_map_data>1,2</const_iq_map_data><const_iq_map_data_symbol>5"
                             "</const_iq_map_data_symbol></cfg_dma_format><cfg_dma_filter><filter_length>99</filter_length>"
                             "</cfg_dma_filter><cfg_dma_advance><hold>1</hold></cfg_dma_advance><cfg_dma_recall_demod_info>"
                             "<total_bits_len>9</total_bits_len><payload_data_type>LIB_DMA_PN15</payload_data_type>"
                             "</cfg_dma_recall_demod_info>";
    const std::string six = repeat(make_marked(50), 6);
    const std::string last = make_marked(60, "<cfg_dma_recall_demod_info><payload_data_type>LIB_DMA_PN9</payload_data_type>"
                                             "</cfg_dma_recall_demod_info>");
    cfg_dma_frame_t frame;
    EXPECT_TRUE(recall_text(frame, make_tree(make_list(six + repeat(make_marked(70, full), 3) + last))));
    cfg_dma_frame_t expected;
    EXPECT_TRUE(recall_text(expected, make_tree(make_list(six + last))));
    EXPECT_EQ(frame, expected);
    EXPECT_EQ(get_mark(frame, 0), 60u);
    for (const char* index : { "(6)", "(7)", "(8)", "(9)" })
        EXPECT_NE(trace.get_text().find(std::string("current segment_index") + index + "Out of Range(6 !)\n"), std::string::npos);
}

TEST_F(SettingsSegments, BeyondTheSixthTurnSyncSearchOnForTheLastOne)
{
    const std::string ber = "<s><cfg_dma_recall_demod_info><ber_state>1</ber_state></cfg_dma_recall_demod_info></s>";
    const std::string last = "<s><cfg_dma_time><meas_interval>60</meas_interval><meas_offset>5</meas_offset></cfg_dma_time></s>";
    cfg_dma_frame_t frame;
    EXPECT_TRUE(recall_text(frame, make_tree(make_list(repeat("<s/>", 7) + ber + last))));
    EXPECT_TRUE(frame.get_sync_search());
    EXPECT_EQ(time_of(frame).get_meas_offset(), 0); // a sync search places the first segment
    EXPECT_FALSE(info_of(frame).get_ber_state());
    EXPECT_TRUE(recall_text(frame, make_tree(make_list(repeat("<s/>", 8) + last))));
    EXPECT_FALSE(frame.get_sync_search());
    EXPECT_EQ(time_of(frame).get_meas_offset(), 5);
}

// Time. Bounds are far above the need, for sanitizers and busy machines; work that grows faster than the tree breaks them.

constexpr double bound_seconds = 30.0;

double time_recall(cfg_dma_frame_t& frame, const std::string& tree)
{
    pugi::xml_document document;
    EXPECT_TRUE(document.load_buffer(tree.data(), tree.size()));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(frame.recall_dma_setting(document.document_element()));
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

TEST_F(SettingsSegments, TakeLittleTimeByTheTenThousand)
{
    const std::string payload = "<s><cfg_dma_recall_demod_info><payload_data_type>LIB_DMA_PN23</payload_data_type>"
                                "</cfg_dma_recall_demod_info></s>"; // 8 MiB each
    const std::string preset = "<s><cfg_dma_format><format_group>LIB_DMA_GROUP_QAM</format_group><qam_format>LIB_DMA_QAM_4096"
                               "</qam_format></cfg_dma_format></s>";
    constexpr double short_seconds = 8.0; // making each of them anew takes half a minute on a fast machine
    cfg_dma_frame_t frame;
    EXPECT_LT(time_recall(frame, make_tree(make_list(repeat(payload, 20000)))), short_seconds);
    EXPECT_EQ(info_of(frame).get_tx_pattern().size(), 8388608u);
    EXPECT_EQ(frame.get_segment_number(), 6u);
    EXPECT_LT(time_recall(frame, make_tree(make_list(repeat(preset, 50000)))), short_seconds);
    EXPECT_EQ(format_of(frame).get_qam_format(), LIB_DMA_QAM_4096);
    EXPECT_LT(time_recall(frame, make_tree(make_list(repeat("<s/>text", 100000)))), bound_seconds);
}

TEST_F(SettingsSegments, TakeListsOfAMillionEntries)
{
    constexpr std::uint32_t count = 1'000'000;
    std::string points;
    std::string rising;
    std::string falling;
    for (std::uint32_t i = 0; i < count; ++i)
    {
        points += fmt::format("{}{},0.5", i == 0 ? "" : ";", i);
        rising += fmt::format("{}{}", i == 0 ? "" : ",", i);
        falling += fmt::format("{}{}", i == 0 ? "" : ",", count - 1 - i);
    }
    for (const std::string& indices : { rising, falling })
    {
        cfg_dma_frame_t frame;
        EXPECT_LT(time_recall(frame, make_tree(make_list("<s><cfg_dma_format><const_iq_map_data>" + points +
                                                         "</const_iq_map_data><const_iq_map_data_symbol>" + indices +
                                                         "</const_iq_map_data_symbol></cfg_dma_format><cfg_dma_recall_demod_info>"
                                                         "<bits>" +
                                                         std::string(count, '1') + "</bits></cfg_dma_recall_demod_info></s>"))),
                  bound_seconds);
        const constellation_map map = format_of(frame).get_const_iq_map_data();
        ASSERT_EQ(map.size(), count);
        const float last = static_cast<float>(count - 1);
        EXPECT_EQ(map.at(count - 1).real(), indices == rising ? last : 0.0f);
    }
}

TEST_F(SettingsSegments, TakeLongTextsNumbersAndCrowds)
{
    constexpr std::size_t count = 1'000'000;
    cfg_dma_frame_t frame;
    EXPECT_LT(time_recall(frame, make_tree(make_element("sync_pattern_bit", std::string(count, '1')))), bound_seconds);
    EXPECT_EQ(frame.get_sync_pattern_bit().size(), count);
    EXPECT_LT(time_recall(frame, make_tree("<sync_pattern_type>LIB_DMA_SYNC_HEX_PATTERN</sync_pattern_type><sync_pattern_hex>" +
                                           std::string(count, '7') + "</sync_pattern_hex>")),
              bound_seconds);
    EXPECT_EQ(frame.get_sync_pattern_hex().size(), count);
    const std::string digits(count, '9');
    EXPECT_LT(time_recall(frame, make_tree("<segment_number>" + digits + "</segment_number><search_length>0." + digits +
                                           "</search_length><bandwidth>" + digits + "</bandwidth>")),
              bound_seconds);
    EXPECT_EQ(frame.get_search_length(), 1.0);
    EXPECT_EQ(frame.get_bandwidth(), 10000000000u);
    // Unknown elements before every record and field, and elements in elements
    EXPECT_LT(time_recall(frame, make_tree(repeat("<x/>", count) + make_list("<s><cfg_dma_format>" + repeat("<y/>", count) +
                                                                            "</cfg_dma_format></s>"))),
              bound_seconds);
    EXPECT_LT(time_recall(frame, make_tree(make_list(repeat("<s>", count) + repeat("</s>", count)))), bound_seconds);
    EXPECT_EQ(frame.get_segment_number(), 1u);
}
} // namespace
} // namespace vrim::dma_demod_lib
