// Trees that no save wrote, element by element. Lists of segments are in cfg_dma_setting_segment_test.cpp.
#include "cfg/cfg_dma_frame.h"
#include "setting_elements.h"
#include "setting_tree.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace vrim::dma_demod_lib
{
namespace
{
class SettingsRecall : public setting_test_t
{
};

// Protocol

TEST_F(SettingsRecall, RefusesAnotherProtocolAndLeavesTheFrame)
{
    cfg_dma_frame_t frame;
    frame.set_segment_number(3);
    frame.set_sync_offset(4.5f);
    const cfg_dma_segment_t& segment = frame.get_segment(2);
    frame.get_segment(2).get_time_cfg().set_meas_interval(77);
    const cfg_dma_frame_t before = frame;
    for (const char* attribute : { "", "ProtocolType=''", "ProtocolType='22'", "ProtocolType='lib_fir_design_parameter'",
                                   "ProtocolType='cfg_dma_frame '", "protocoltype='cfg_dma_frame'" })
    {
        const char* tree = "<setup {}><cfg_dma_frame><sync_offset>1</sync_offset></cfg_dma_frame></setup>";
        EXPECT_FALSE(recall_text(frame, fmt::format(fmt::runtime(tree), attribute))) << attribute;
        EXPECT_EQ(frame, before) << attribute;
        EXPECT_EQ(segment.get_time_cfg().get_meas_interval(), 77u) << attribute; // the cursor stands where it stood
    }
    EXPECT_FALSE(recall_text(frame, ""));
    EXPECT_FALSE(recall_text(frame, "<cfg_dma_frame/>"));
    EXPECT_EQ(frame, before);
}

// Elements

TEST_F(SettingsRecall, TakesAbsentElementsThroughTheSetters)
{
    for (const char* content : { "<cfg_dma_segement><cfg_dma_segement/></cfg_dma_segement>",
                                 "<other/><cfg_dma_segement><anything/></cfg_dma_segement>",
                                 "<cfg_dma_segement><cfg_dma_segement><cfg_dma_time/><cfg_dma_filter/><cfg_dma_format/>"
                                 "<cfg_dma_advance/><cfg_dma_recall_demod_info/></cfg_dma_segement></cfg_dma_segement>",
                                 // values beside the records that they belong into
                                 "<meas_interval>99</meas_interval><cfg_dma_segement><cfg_dma_segement><meas_interval>99"
                                 "</meas_interval><cfg_dma_time><filter_length>99</filter_length></cfg_dma_time>"
                                 "</cfg_dma_segement></cfg_dma_segement>" })
    {
        cfg_dma_frame_t frame;
        EXPECT_TRUE(recall_text(frame, make_tree(content)));
        EXPECT_EQ(get_fields(frame), absent_fields()) << content;
    }
}

TEST_F(SettingsRecall, ReadsEachElementIntoItsOwnField)
{
    for (const element_t& element : get_elements())
    {
        fields_t expected = absent_fields();
        expected[element.name] = element.stored;
        const std::string name = element.name;
        if (name == "ber_state")
            expected["sync_search"] = "true";
        if (name == "payload_data_type")
            expected["bits"] = "511";
        cfg_dma_frame_t frame;
        EXPECT_TRUE(recall_text(frame, make_tree_of(element, element.text)));
        EXPECT_EQ(get_fields(frame), expected) << element.name;
    }
}

TEST_F(SettingsRecall, LeavesTheFirstSegmentAtItsDefaultsWithoutAList)
{
    const lib_dma_segment_configure_manager_t defaults;
    for (const std::string& tree :
         { make_tree(""), make_tree("<cfg_dma_segement/>"), std::string("<setup ProtocolType='cfg_dma_frame'/>") })
    {
        cfg_dma_frame_t frame;
        frame.set_segment_number(4);
        time_of(frame).set_meas_interval(99);
        frame.set_bandwidth(5);
        EXPECT_TRUE(recall_text(frame, tree));
        EXPECT_EQ(frame.get_segment_number(), 1u);
        EXPECT_EQ(frame.get_frame_manager().get_segment(0), defaults) << tree;
        EXPECT_EQ(frame.get_search_length(), 1e-7);
        EXPECT_EQ(frame.get_burst_search_threshold(), 0.0f);
        EXPECT_EQ(frame.get_mannual_data_sample_rate(), 1e6);
        EXPECT_EQ(frame.get_bandwidth(), 20000000u);
    }
}

TEST_F(SettingsRecall, ReportsAnAbsentFilterLength)
{
    cfg_dma_frame_t frame;
    EXPECT_TRUE(recall_text(frame, make_tree("<segment_number>1</segment_number>" + make_list(make_segment("")))));
    EXPECT_EQ(trace.get_text(), "lib_dma_filter_configure_manager_t::set_filter_length Report: Filter length is too small!\n");
}

TEST_F(SettingsRecall, TakesTheFirstOfRepeatedElements)
{
    cfg_dma_frame_t frame;
    EXPECT_TRUE(recall_text(frame, "<setup ProtocolType='cfg_dma_frame'><cfg_dma_frame><sync_offset>1</sync_offset><sync_offset>2"
                                   "</sync_offset><cfg_dma_segement><s><cfg_dma_time><meas_interval>11</meas_interval>"
                                   "<meas_interval>12</meas_interval></cfg_dma_time><cfg_dma_time><meas_interval>13"
                                   "</meas_interval></cfg_dma_time></s></cfg_dma_segement><cfg_dma_segement><s/><s/>"
                                   "</cfg_dma_segement></cfg_dma_frame><cfg_dma_frame><sync_offset>3</sync_offset>"
                                   "</cfg_dma_frame></setup>"));
    EXPECT_EQ(frame.get_sync_offset(), 1.0f);
    EXPECT_EQ(time_of(frame).get_meas_interval(), 11u);
    EXPECT_EQ(frame.get_segment_number(), 1u);
}

// Texts of values

struct text_case_t
{
    const char* text;
    const char* stored;
};

/// Reads each text alone into the element of this name.
void expect_stored(const char* name, const std::vector<text_case_t>& cases)
{
    const std::vector<element_t>& elements = get_elements();
    const auto element =
        std::find_if(elements.begin(), elements.end(), [&](const element_t& item) { return std::string(item.name) == name; });
    ASSERT_NE(element, elements.end());
    for (const auto& [text, stored] : cases)
    {
        cfg_dma_frame_t frame;
        EXPECT_TRUE(recall_text(frame, make_tree_of(*element, text)));
        EXPECT_EQ(element->get(frame), stored) << name << " \"" << text << '"';
    }
}

TEST_F(SettingsRecall, ReadsWholeNumbers)
{
    expect_stored("total_bits_len", { { "17", "17" },
                                      { " 17 ", "17" },
                                      { "+17", "17" },
                                      { "0x1F", "31" },
                                      { "12abc", "12" },
                                      { "1e3", "1" },
                                      { "7.9", "7" },
                                      { "abc", "0" },
                                      { "nan", "0" },
                                      { "", "0" },
                                      { "-1", "0" },
                                      { "4294967296", "4294967295" },
                                      { "99999999999999999999999999", "4294967295" } });
    expect_stored("meas_interval", { { "9", "10" }, { "10000001", "10000000" }, { "-5", "10" } });
    expect_stored("meas_offset", { { "10", "10" },
                                   { "11", "10" },
                                   { "-11", "-10" },
                                   { "-99999999999999", "-10" },
                                   { "99999999999999", "10" },
                                   { "-0", "0" } });
    expect_stored("bandwidth", { { "0", "20000000" },
                                 { "-3", "20000000" },
                                 { "words", "20000000" },
                                 { "1", "1" },
                                 { "18446744073709551615", "10000000000" },
                                 { "18446744073709551616", "10000000000" } });
    expect_stored("symbol_rate", { { "9999", "10000" }, { "8000000001", "8000000000" }, { "1e9", "10000" } });
    expect_stored("segment_number", { { "0", "1" }, { "7", "6" }, { "4294967295", "6" }, { "-2", "1" } });
    expect_stored("filter_length", { { "1", "2" }, { "513", "512" }, { "512", "512" } });
    expect_stored("equalizer_filter_len", { { "98", "99" }, { "4294967295", "99" } });
    expect_stored("MOVE_LEN", { { "100", "101" }, { "4294967295", "101" } });
}

TEST_F(SettingsRecall, ReadsFractions)
{
    expect_stored("search_length", { { "0.5", "0.5" },
                                     { " 5e-1 ", "0.5" },
                                     { "0.5s", "0.5" },
                                     { "-0.5", "1e-07" },
                                     { "-inf", "1e-07" },
                                     { "1e300", "1e+300" },
                                     { "inf", "inf" },
                                     { "1e999", "inf" },
                                     { "words", "1e-07" },
                                     { "0,5", "1e-07" } });
    expect_stored("burst_search_threshold", { { "-1e300", "-200" }, { "1e300", "200" }, { "inf", "200" }, { "1e-300", "0" } });
    expect_stored("sync_offset", { { "-40000", "-32768" }, { "40000", "32767" } });
    expect_stored("mannual_data_sample_rate", { { "1", "1000000" }, { "1e11", "10000000000" }, { "-inf", "1000000" } });
    expect_stored("filter_alpha", { { "0.04", "0.05" }, { "1.5", "1" }, { "-1", "0.05" }, { "inf", "1" } });
    expect_stored("filter_beta", { { "0", "0.05" }, { "101", "100" } });
    expect_stored("equalizer_coef", { { "-1", "1e-14" }, { "2", "1" } });
    expect_stored("clock_adjust", { { "-1", "-0.5" }, { "1", "0.5" } });
    expect_stored("iq_rotation", { { "-361", "-360" }, { "361", "360" } });
    expect_stored("apsk_r2_r1", { { "9", "8" } });
    expect_stored("apsk_r3_r1", { { "11", "10" } });
    expect_stored("fsk_tx_freq_offset", { { "-2e9", "-1000000000" }, { "2e9", "1000000000" } });
    expect_stored("custom_iq_sync_persistence_target", { { "-1", "0" }, { "2", "1" } });
    expect_stored("custom_iq_phase_rotation", { { "-1e9", "-360" }, { "1e9", "360" } });
}

TEST_F(SettingsRecall, PassesNotANumberOnToTheSetters)
{
    // Their comparisons let it through; it shows up in the settings instead of becoming a limit that nobody asked for.
    expect_stored("search_length", { { "nan", "nan" } });
    expect_stored("filter_alpha", { { "nan", "nan" } });
    expect_stored("sync_search", { { "nan", "true" } });
}

TEST_F(SettingsRecall, ReadsFlags)
{
    for (const char* name : { "burst_search", "equalizer", "hold", "cpm_auto", "msk_dfas", "ber_state" })
    {
        expect_stored(name, { { "true", "true" },
                              { "True", "true" },
                              { "1", "true" },
                              { "yes", "true" },
                              { "false", "false" },
                              { "0", "false" },
                              { "2", "false" },
                              { "", "false" },
                              { " true", "false" } });
    }
    for (const char* name : { "sync_search", "enable_mannual_data_sample_rate" })
    {
        expect_stored(name, { { "true", "false" },
                              { "false", "false" },
                              { "yes", "false" },
                              { "0", "false" },
                              { "0.0", "false" },
                              { "", "false" },
                              { "1", "true" },
                              { "-1", "true" },
                              { "0.001", "true" } });
    }
}

TEST_F(SettingsRecall, TakesTheSmallestEnumeratorForAnyUnknownText)
{
    for (const element_t& element : get_elements())
    {
        if (std::string(element.text).rfind("LIB_DMA_", 0) != 0)
            continue;
        std::string lower = element.text;
        lower.replace(0, 3, "lib");
        const std::string longer = element.text + std::string("0");
        const std::string shifted = ' ' + std::string(element.text);
        for (const char* text : { "", "junk", "1", "LIB_DMA_PROCESS_STOP", lower.c_str(), longer.c_str(), shifted.c_str() })
            expect_stored(element.name, { { text, element.absent } });
    }
}

TEST_F(SettingsRecall, ReadsTheSyncPatternOfItsTypeOnly)
{
    struct case_t
    {
        const char* type;
        const char* text;
        bit_array bits;
    };
    const case_t cases[] = {
        { "LIB_DMA_SYNC_BIT_PATTERN", "101", {} },
        { "LIB_DMA_SYNC_HEX_PATTERN", "75", {} },
        { "LIB_DMA_SYNC_INT_PATTERN", "0", { 0, 0, 1, 1 } }, // of the number 3; the text is the default one
    };
    for (const case_t& item : cases)
    {
        // Three bits stay three, though the file says QPSK: the format is not read yet.
        cfg_dma_frame_t frame;
        EXPECT_TRUE(recall_text(
            frame, make_tree(make_element("sync_pattern_type", item.type) + make_element("sync_pattern_bit", "101") +
                             make_element("sync_pattern_hex", "75") + make_element("sync_pattern_int", "3") +
                             make_list(make_segment("<cfg_dma_format><psk_format>LIB_DMA_MODULATION_PSK_QPSK</psk_format>"
                                                    "</cfg_dma_format>")))));
        EXPECT_EQ(frame.get_sync_pattern_bit(), item.text) << item.type;
        EXPECT_EQ(frame.get_sync_pattern_bitarr(), item.bits) << item.type;
        EXPECT_EQ(frame.get_sync_pattern_int(), item.bits.empty() ? 0u : 3u);
    }
}

TEST_F(SettingsRecall, PlacesTheFirstSegmentAt0WhenANumberTurnsSyncSearchOn)
{
    cfg_dma_frame_t frame;
    EXPECT_TRUE(recall_text(frame, make_tree("<sync_search>1</sync_search>" +
                                             make_list(repeat("<s><cfg_dma_time><meas_interval>100</meas_interval><meas_offset>7"
                                                              "</meas_offset></cfg_dma_time></s>",
                                                              2)))));
    EXPECT_EQ(frame.get_segment(0).get_time_cfg().get_meas_offset(), 0);
    EXPECT_EQ(frame.get_segment(1).get_time_cfg().get_meas_offset(), 7);
}

// Format and constellation

std::string make_format(const std::string& elements)
{
    return make_tree(make_list(make_segment(make_element("cfg_dma_format", elements))));
}

TEST_F(SettingsRecall, PairsTheRingsOf32ApskInTheOrderOfReading)
{
    // 2.72 brings 4.87 along; then the element of the outer ring stores 5.27 and brings 2.84 along.
    cfg_dma_frame_t frame;
    EXPECT_TRUE(recall_text(frame, make_format("<apsk_r3_r1>5.27</apsk_r3_r1><apsk_r2_r1>2.72</apsk_r2_r1>"
                                               "<apsk_format>LIB_DMA_APSK_32</apsk_format>")));
    EXPECT_EQ(format_of(frame).get_apsk_r2_r1(), 2.84f);
    EXPECT_EQ(format_of(frame).get_apsk_r3_r1(), 5.27f);
}

TEST_F(SettingsRecall, RoundsThePointsPerSymbolOfOffsetQpsk)
{
    cfg_dma_frame_t frame;
    EXPECT_TRUE(recall_text(frame, make_format("<points_per_symbol>LIB_DMA_POINT12</points_per_symbol>"
                                               "<format_group>LIB_DMA_GROUP_OQPSK</format_group>")));
    EXPECT_EQ(format_of(frame).get_points_per_symbol(), LIB_DMA_POINT10);
}

TEST_F(SettingsRecall, PairsPointsAndIndicesUpToTheShorterList)
{
    struct case_t
    {
        const char* points;
        const char* indices;
        constellation_map map;
    };
    const case_t cases[] = {
        { "1,2;3,4;5,6", "0,1,2", { { 0, { 1, 2 } }, { 1, { 3, 4 } }, { 2, { 5, 6 } } } },
        { "1,2;3,4;5,6", "9,4", { { 9, { 1, 2 } }, { 4, { 3, 4 } } } },
        { "1,2", "9,4,5", { { 9, { 1, 2 } } } },
        { "1,2;3,4;5,6", "4,0,4", { { 4, { 5, 6 } }, { 0, { 3, 4 } } } }, // the later pair stands
        { "1,2;3,4", "-1,-2147483648", { { 4294967295u, { 1, 2 } }, { 2147483648u, { 3, 4 } } } },
        { "1,2;3,4", "", {} },
        { "", "0,1", {} },
        { "1,2;3", "0,1", {} },                 // half a point
        { "1,2;3,4", "0,one", {} },             // no number
        { "1,2;3,4", "0,99999999999", {} },     // no 32 bits
        { " 1 , 2 ; 3,4", " 0 , 1 ", { { 0, { 1, 2 } }, { 1, { 3, 4 } } } },
    };
    for (const case_t& item : cases)
    {
        cfg_dma_frame_t frame;
        EXPECT_TRUE(recall_text(frame, make_format(make_element("const_iq_map_data", item.points) +
                                                   make_element("const_iq_map_data_symbol", item.indices))));
        EXPECT_EQ(show(format_of(frame).get_const_iq_map_data()), show(item.map)) << item.points << " at " << item.indices;
        const auto& format = frame.get_frame_manager().get_segment(0).get_format_configure();
        EXPECT_FALSE(format.get_constellation_setting_flag());
    }
}

TEST_F(SettingsRecall, LogsTheIndexThatThePresetHasOrCannotTake)
{
    constexpr const char* duplicate = "duplicate symbol defination exist symbol index %u";
    constexpr const char* out_of_range = "The definition of symbol %u is out of range.Valid range: (0 ~ %u)";
    struct case_t
    {
        const char* group;
        const char* index;
        bool held;
    };
    const case_t cases[] = {
        { "LIB_DMA_GROUP_PSK", "0", true },   { "LIB_DMA_GROUP_PSK", "1", true },
        { "LIB_DMA_GROUP_PSK", "2", false },  { "LIB_DMA_GROUP_PSK", "4294967295", false },
        { "LIB_DMA_GROUP_QAM", "15", true },  { "LIB_DMA_GROUP_QAM", "16", false },
        { "LIB_DMA_GROUP_MSK", "0", false }, // no preset
    };
    for (const case_t& item : cases)
    {
        // The preset is that of the default formats: the file's own formats are read after the group.
        log.clear();
        cfg_dma_frame_t frame;
        EXPECT_TRUE(recall_text(frame, make_format(make_element("format_group", item.group) +
                                                   "<psk_format>LIB_DMA_MODULATION_PSK_8_PSK</psk_format>"
                                                   "<qam_format>LIB_DMA_QAM_64</qam_format>" +
                                                   make_element("constellation_sym_index", item.index))));
        EXPECT_EQ(log.count(common_log::log_level_error, duplicate), item.held ? 1 : 0) << item.group << item.index;
        EXPECT_EQ(log.count(common_log::log_level_error, out_of_range), item.held ? 0 : 1) << item.group << item.index;
        EXPECT_TRUE(format_of(frame).get_const_iq_map_data().empty());
        EXPECT_EQ(format_of(frame).get_constellation_sym_index(), 0u);
    }
}

TEST_F(SettingsRecall, MakesThePayloadOfItsType)
{
    cfg_dma_frame_t frame;
    EXPECT_TRUE(recall_text(frame, make_tree(make_list("<s><cfg_dma_recall_demod_info><bits>10</bits><payload_data_type>"
                                                       "LIB_DMA_PN9</payload_data_type></cfg_dma_recall_demod_info></s>"))));
    const bit_array& bits = info_of(frame).get_tx_pattern();
    ASSERT_EQ(bits.size(), 511u);
    for (std::size_t i = 9; i < bits.size(); ++i)
        ASSERT_EQ(bits[i], bits[i - 9] ^ bits[i - 5]) << i; // 1 + x^5 + x^9
    EXPECT_NE(std::count(bits.begin(), bits.end(), 1), 0);
}
} // namespace
} // namespace vrim::dma_demod_lib
