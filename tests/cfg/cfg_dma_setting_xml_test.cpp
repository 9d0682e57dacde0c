// What a save writes, and what comes back of it.
#include "cfg/cfg_dma_frame.h"
#include "setting_tree.h"

#include <clocale>
#include <cstdint>
#include <gtest/gtest.h>
#include <pugixml.hpp>
#include <regex>
#include <stdexcept>
#include <string>

namespace vrim::dma_demod_lib
{
namespace
{
class SettingsRoundTrip : public setting_test_t
{
};

class SettingsSave : public setting_test_t
{
};

// Layout

constexpr const char* default_tree = R"(
<setup ProtocolType="cfg_dma_frame">
 <cfg_dma_frame>
  <segment_number>1</segment_number>
  <frame_current_segment_index>0</frame_current_segment_index>
  <search_length>0.0001</search_length>
  <burst_search>false</burst_search>
  <burst_search_threshold>-30</burst_search_threshold>
  <sync_offset>0</sync_offset>
  <sync_pattern_type>LIB_DMA_SYNC_BIT_PATTERN</sync_pattern_type>
  <sync_pattern_bit>0</sync_pattern_bit>
  <sync_pattern_hex>0</sync_pattern_hex>
  <sync_pattern_int>0</sync_pattern_int>
  <enable_mannual_data_sample_rate>false</enable_mannual_data_sample_rate>
  <mannual_data_sample_rate>20000000</mannual_data_sample_rate>
  <bandwidth>20000000</bandwidth>
  <sync_search>false</sync_search>
  <cfg_dma_segement>
   <cfg_dma_segement>
    <cfg_dma_time>
     <meas_interval>1024</meas_interval>
     <meas_offset>-1</meas_offset>
     <meas_offset_reference>LIB_DMA_RELATIVE_TO_CAPTURE</meas_offset_reference>
    </cfg_dma_time>
    <cfg_dma_filter>
     <meas_filter_type>LIB_DMA_MEAS_ROOT_RAISED_COSINE_FILTER</meas_filter_type>
     <ref_filter_type>LIB_DMA_REF_RAISED_COSINE_FILTER</ref_filter_type>
     <filter_alpha>0.5</filter_alpha>
     <filter_beta>0.600000024</filter_beta>
     <user_define_filter_type>LIB_DMA_USER_DEFINE_MEAS_FILTER</user_define_filter_type>
     <user_define_filter_coef>0.5</user_define_filter_coef>
     <filter_length>16</filter_length>
    </cfg_dma_filter>
    <cfg_dma_format>
     <format_group>LIB_DMA_GROUP_PSK</format_group>
     <psk_format>LIB_DMA_MODULATION_PSK_BPSK</psk_format>
     <qam_format>LIB_DMA_QAM_16</qam_format>
     <fsk_format>LIB_DMA_FSK_4</fsk_format>
     <msk_format>LIB_DMA_MSK_TYPE1</msk_format>
     <ask_format>LIB_DMA_ASK_2</ask_format>
     <apsk_format>LIB_DMA_APSK_16</apsk_format>
     <dpsk_format>LIB_DMA_MODULATION_PSK_DBPSK</dpsk_format>
     <oqpsk_format>LIB_DMA_MODULATION_PSK_OFFSET_QPSK</oqpsk_format>
     <vsb_format>LIB_DMA_VSB_8</vsb_format>
     <custom_iq_format>LIB_DMA_CUSTOM_IQ</custom_iq_format>
     <other_format>LIB_DMA_OTHER_CPM</other_format>
     <symbol_rate>10000000</symbol_rate>
     <points_per_symbol>LIB_DMA_POINT4</points_per_symbol>
     <fsk_tx_freq_offset>0</fsk_tx_freq_offset>
     <fsk_deviation_ref>LIB_DMA_FSK_DEVIATION_NORMAL</fsk_deviation_ref>
     <apsk_r2_r1>2.8499999</apsk_r2_r1>
     <apsk_r3_r1>5.26999998</apsk_r3_r1>
     <cpm_auto>false</cpm_auto>
     <cpm_index>LIB_DMA_CPM_INDEX_TYPE1</cpm_index>
     <msk_dfas>true</msk_dfas>
     <oqpsk_alig_iq>false</oqpsk_alig_iq>
     <custom_iq_sync_persistence_target>0.0500000007</custom_iq_sync_persistence_target>
     <custom_iq_phase_rotation>0</custom_iq_phase_rotation>
     <custom_iq_shift>false</custom_iq_shift>
     <custom_iq_diff>false</custom_iq_diff>
     <custom_iq_offset>false</custom_iq_offset>
     <constellation_sym_index>0</constellation_sym_index>
     <const_iq_map_data>-1,0;1,0</const_iq_map_data>
     <const_iq_map_data_symbol>0,1</const_iq_map_data_symbol>
    </cfg_dma_format>
    <cfg_dma_advance>
     <equalizer>false</equalizer>
     <equalizer_filter_len>21</equalizer_filter_len>
     <MOVE_LEN>1</MOVE_LEN>
     <hold>false</hold>
     <equalizer_coef>0.01</equalizer_coef>
     <fft_window>LIB_DMA_WINDOW_RECTANGLE</fft_window>
     <multi_carrier_filter>false</multi_carrier_filter>
     <gain_imb_quad_skew_couping>false</gain_imb_quad_skew_couping>
     <iq_rotation>0</iq_rotation>
     <iq_normalize>false</iq_normalize>
     <low_snr_enhancement>false</low_snr_enhancement>
     <iq_offset_compensation>true</iq_offset_compensation>
     <clock_adjust>0</clock_adjust>
     <evm_normalization_ref>LIB_DMA_EVM_NORMALIZE_CONSTELLATION_MAX</evm_normalization_ref>
     <spectrum_type>LIB_DMA_SPECTRUM_MORMAL</spectrum_type>
    </cfg_dma_advance>
    <cfg_dma_recall_demod_info>
     <ber_state>false</ber_state>
     <total_bits_len>0</total_bits_len>
     <bits>511 zeros</bits>
     <payload_data_type>LIB_DMA_PN7</payload_data_type>
    </cfg_dma_recall_demod_info>
   </cfg_dma_segement>
  </cfg_dma_segement>
 </cfg_dma_frame>
</setup>)";

TEST_F(SettingsSave, WritesTheWholeTreeOfADefaultFrame)
{
    std::string expected = std::regex_replace(default_tree, std::regex("\n *"), "");
    expected.replace(expected.find("511 zeros"), 9, std::string(511, '0'));
    cfg_dma_frame_t frame;
    EXPECT_EQ(save_text(frame), expected);
}

TEST_F(SettingsSave, AppendsToWhatTheNodeHolds)
{
    pugi::xml_document document;
    pugi::xml_node node = document.append_child("setup");
    node.append_attribute("host").set_value("yes");
    node.append_child("note");
    cfg_dma_frame_t frame;
    EXPECT_TRUE(frame.save_dma_setting(node));
    EXPECT_STREQ(node.attribute("host").value(), "yes");
    EXPECT_STREQ(node.first_child().name(), "note");
    EXPECT_STREQ(node.last_child().name(), "cfg_dma_frame");
    EXPECT_EQ(node.attribute("host").next_attribute(), node.attribute("ProtocolType"));
}

TEST_F(SettingsSave, RefusesANodeThatCanHoldNoSettings)
{
    cfg_dma_frame_t frame;
    pugi::xml_document document; // takes no attribute, so that nothing could be recalled from it
    pugi::xml_node nothing;
    for (pugi::xml_node* node : { static_cast<pugi::xml_node*>(&document), &nothing })
    {
        log.clear();
        EXPECT_FALSE(frame.save_dma_setting(*node));
        EXPECT_EQ(log.count(common_log::log_level_error, "cfg_dma_frame_t::save_dma_setting:error! The node is no element.\n"),
                  1);
        EXPECT_FALSE(node->first_child());
    }
}

TEST_F(SettingsSave, WritesTheFirstSegmentAlone)
{
    cfg_dma_frame_t frame;
    frame.set_segment_number(3);
    for (std::uint32_t i = 0; i < 3; ++i)
        frame.get_segment(i).get_time_cfg().set_meas_interval(200 + i);
    frame.get_segment(2);
    const std::string text = save_text(frame);
    EXPECT_NE(text.find("<segment_number>3</segment_number>"), std::string::npos);
    EXPECT_NE(text.find("<meas_interval>200</meas_interval>"), std::string::npos);
    EXPECT_EQ(text.find("<meas_interval>201"), std::string::npos);
    EXPECT_EQ(text.find("<meas_interval>202"), std::string::npos);
}

TEST_F(SettingsSave, MovesTheCursorToTheFirstSegment)
{
    cfg_dma_frame_t frame;
    frame.set_segment_number(2);
    frame.get_segment(0).get_time_cfg().set_meas_interval(200);
    const cfg_dma_segment_t& segment = frame.get_segment(1);
    EXPECT_EQ(segment.get_time_cfg().get_meas_interval(), 1024u);
    save_text(frame);
    EXPECT_EQ(segment.get_time_cfg().get_meas_interval(), 200u);
}

TEST_F(SettingsSave, WritesTheSyncTextTwiceWhateverItsType)
{
    cfg_dma_frame_t frame;
    frame.set_sync_pattern_type(LIB_DMA_SYNC_HEX_PATTERN);
    ASSERT_TRUE(frame.set_sync_pattern_hex("15"));
    const std::string text = save_text(frame);
    EXPECT_NE(text.find("<sync_pattern_bit>15</sync_pattern_bit><sync_pattern_hex>15</sync_pattern_hex>"), std::string::npos);
}

TEST_F(SettingsSave, WritesListsInTheOrderOfTheIndices)
{
    cfg_dma_frame_t frame;
    frame.get_segment(0).get_format_cfg().set_const_iq_map_data(
        { { 7, { 0.5f, -2.0f } }, { 2, { 1.0f, 0.25f } }, { 4294967295u, { -3.0f, 0.0f } } });
    frame.get_segment(0).get_recall_demod_info_cfg().set_tx_pattern({ 1, 0, 1, 1 });
    const std::string text = save_text(frame);
    EXPECT_NE(text.find("<const_iq_map_data>1,0.25;0.5,-2;-3,0</const_iq_map_data>"), std::string::npos);
    // Signed in the file, and the same index when it comes back.
    EXPECT_NE(text.find("<const_iq_map_data_symbol>2,7,-1</const_iq_map_data_symbol>"), std::string::npos);
    EXPECT_NE(text.find("<bits>1011</bits>"), std::string::npos);
}

// Enumerators

TEST_F(SettingsSave, ThrowsForAnEnumeratorWithoutATextAndKeepsWhatItWrote)
{
    cfg_dma_frame_t frame;
    frame.get_segment(0).get_filter_cfg().set_ref_filter_type(static_cast<lib_dma_ref_filter_type_t>(6));
    pugi::xml_document document;
    pugi::xml_node node = document.append_child("setup");
    try
    {
        frame.save_dma_setting(node);
        FAIL() << "saved a value that has no text";
    }
    catch (const std::out_of_range& error)
    {
        EXPECT_STREQ(error.what(), "map::at");
    }
    const pugi::xml_node segment = node.child("cfg_dma_frame").child("cfg_dma_segement").child("cfg_dma_segement");
    EXPECT_STREQ(segment.child("cfg_dma_time").child("meas_interval").text().get(), "1024");
    EXPECT_TRUE(segment.child("cfg_dma_filter").child("meas_filter_type"));
    EXPECT_FALSE(segment.child("cfg_dma_filter").child("filter_alpha"));
    EXPECT_FALSE(segment.child("cfg_dma_format"));
}

TEST_F(SettingsSave, ThrowsForTheUnassignedQamFormat)
{
    cfg_dma_frame_t frame;
    frame.get_segment(0).get_format_cfg().set_qam_format(static_cast<lib_dma_qam_modulation_type_t>(7));
    EXPECT_THROW(save_text(frame), std::out_of_range);
}

// Round trip

/// Nothing at its default where the format keeps a value, and values that need all their digits.
void set_all(cfg_dma_frame_t& frame)
{
    frame.set_search_length(1.0 / 3.0);
    frame.set_burst_search(true);
    frame.set_burst_search_threshold(-12.3f);
    frame.set_sync_offset(0.1f);
    frame.set_sync_pattern_type(LIB_DMA_SYNC_INT_PATTERN);
    frame.set_sync_pattern_int(2345);
    frame.set_mannual_data_sample_rate(61440000.1);
    frame.set_bandwidth(9876543210u);

    time_of(frame).set_meas_interval(9999999);
    time_of(frame).set_meas_offset(-9999999);
    time_of(frame).set_meas_offset_reference(LIB_DMA_RELATIVE_TO_SYNC_PATTERN);

    filter_of(frame).set_meas_filter_type(LIB_DMA_MEAS_GAUSSIAN_FILTER);
    filter_of(frame).set_ref_filter_type(LIB_DMA_REF_USER_DEFINE_FILTER);
    filter_of(frame).set_filter_alpha(0.22f);
    filter_of(frame).set_filter_beta(1.0f / 3.0f);
    filter_of(frame).set_user_define_filter_type(LIB_DMA_USER_DEFINE_REF_FILTER);
    filter_of(frame).set_user_define_filter_coef(-1.2345678e-20f);
    filter_of(frame).set_filter_length(511);

    advance_of(frame).set_equalizer(true);
    advance_of(frame).set_equalizer_filter_len(77);
    advance_of(frame).set_average_move_len(55);
    advance_of(frame).set_hold(true);
    advance_of(frame).set_equalizer_coef(0.1 + 0.2);
    advance_of(frame).set_fft_window(LIB_DMA_WINDOW_FLATTOP);
    advance_of(frame).set_multi_carrier_filter(true);
    advance_of(frame).set_spectrum_type(LIB_DMA_SPECTRUM_INVERT);
    advance_of(frame).set_gain_imb_quad_skew_couping(true);
    advance_of(frame).set_clock_adjust(-0.3f);
    advance_of(frame).set_iq_rotation(123.456f);
    advance_of(frame).set_iq_normalize(true);
    advance_of(frame).set_low_snr_enhancement(true);
    advance_of(frame).set_evm_normalization_ref(LIB_DMA_EVM_NORMALIZE_RMS);

    format_of(frame).set_format_group(LIB_DMA_GROUP_APSK);
    format_of(frame).set_psk_format(LIB_DMA_MODULATION_PSK_3PI_8_PSK);
    format_of(frame).set_qam_format(LIB_DMA_QAM_4096);
    format_of(frame).set_fsk_format(LIB_DMA_FSK_64);
    format_of(frame).set_msk_format(LIB_DMA_MSK_TYPE2);
    format_of(frame).set_ask_format(LIB_DMA_ASK_8);
    format_of(frame).set_apsk_format(LIB_DMA_APSK_32);
    format_of(frame).set_dpsk_format(LIB_DMA_MODULATION_PSK_PI_8_D8PSK);
    format_of(frame).set_oqpsk_format(LIB_DMA_MODULATION_PSK_OFFSET_SHAPED_QPSK);
    format_of(frame).set_vsb_format(LIB_DMA_VSB_16);
    format_of(frame).set_other_format(LIB_DMA_OTHER_EDGE);
    format_of(frame).set_symbol_rate(7654321098u);
    format_of(frame).set_points_per_symbol(LIB_DMA_POINT14);
    format_of(frame).set_fsk_tx_freq_offset(-123456.7f);
    format_of(frame).set_fsk_deviation_ref(LIB_DMA_FSK_DEVIATION_MANUAL);
    format_of(frame).set_apsk_r2_r1(3.1f);
    format_of(frame).set_apsk_r3_r1(6.7f);
    format_of(frame).set_cpm_auto(true);
    format_of(frame).set_cpm_index(LIB_DMA_CPM_INDEX_TYPE4);
    format_of(frame).set_msk_dfas(false);
    format_of(frame).set_oqpsk_alig_iq(true);
    format_of(frame).set_custom_iq_sync_persistence_target(0.7f);
    format_of(frame).set_custom_iq_phase_rotation(-0.1f);
    format_of(frame).set_custom_iq_shift(true);
    format_of(frame).set_custom_iq_diff(true);
    format_of(frame).set_custom_iq_offset(true);
    format_of(frame).set_const_iq_map_data(
        { { 3, { 0.1f, -0.2f } }, { 4294967290u, { 1.0f / 3.0f, 1e-30f } }, { 70000, { -1.5e20f, 0.0f } } });

    info_of(frame).set_total_bits_len(4000000001u);
    info_of(frame).set_payload_data_type(LIB_DMA_PN15);
}

TEST_F(SettingsRoundTrip, KeepsEveryFieldThatTheFormatKeeps)
{
    cfg_dma_frame_t frame;
    set_all(frame);
    cfg_dma_frame_t recalled;
    recalled.set_segment_number(4); // settings of before leave nothing behind
    time_of(recalled).set_meas_offset(17);
    ASSERT_TRUE(recall_text(recalled, save_text(frame)));
    EXPECT_EQ(recalled, frame);
    // and once more
    EXPECT_EQ(save_text(recalled), save_text(frame));
}

TEST_F(SettingsRoundTrip, LosesOnADefaultFrameTheSyncBitsAndThePatternOfZerosOnly)
{
    cfg_dma_frame_t frame;
    cfg_dma_frame_t recalled;
    ASSERT_TRUE(recall_text(recalled, save_text(frame)));
    EXPECT_NE(recalled, frame);
    EXPECT_EQ(frame.get_sync_pattern_bitarr(), bit_array(1, 0));
    EXPECT_TRUE(recalled.get_sync_pattern_bitarr().empty());
    EXPECT_EQ(recalled.get_sync_pattern_bit(), "0");
    EXPECT_EQ(info_of(frame).get_tx_pattern(), bit_array(511, 0));
    EXPECT_EQ(info_of(recalled).get_tx_pattern().size(), 127u);
    // Everything else is the same: both repaired, the frames are equal.
    info_of(recalled).set_tx_pattern(bit_array(511, 0));
    recalled.set_sync_pattern_bit("0");
    EXPECT_EQ(recalled, frame);
}

TEST_F(SettingsRoundTrip, BringsBackSegmentsAsDefaultsBehindTheFirst)
{
    cfg_dma_frame_t frame;
    frame.set_segment_number(3);
    frame.set_current_segment_index(2);
    for (std::uint32_t i = 0; i < 3; ++i)
        frame.get_segment(i).get_time_cfg().set_meas_interval(200 + i);
    cfg_dma_frame_t recalled;
    ASSERT_TRUE(recall_text(recalled, save_text(frame)));
    ASSERT_EQ(recalled.get_segment_number(), 3u);
    EXPECT_EQ(recalled.get_current_segment_index(), 2u);
    EXPECT_EQ(time_of(recalled).get_meas_interval(), 200u);
    const lib_dma_segment_configure_manager_t defaults;
    EXPECT_EQ(recalled.get_frame_manager().get_segment(1), defaults);
    EXPECT_EQ(recalled.get_frame_manager().get_segment(2), defaults);
}

TEST_F(SettingsRoundTrip, LosesTheFlagsThatAreWrittenAsWordsAndReadAsNumbers)
{
    cfg_dma_frame_t frame;
    frame.set_sync_search(true);
    frame.set_enable_mannual_data_sample_rate(true);
    const std::string text = save_text(frame);
    EXPECT_NE(text.find("<sync_search>true</sync_search>"), std::string::npos);
    EXPECT_NE(text.find("<enable_mannual_data_sample_rate>true</enable_mannual_data_sample_rate>"), std::string::npos);
    cfg_dma_frame_t recalled;
    ASSERT_TRUE(recall_text(recalled, text));
    EXPECT_FALSE(recalled.get_sync_search());
    EXPECT_FALSE(recalled.get_enable_mannual_data_sample_rate());
}

TEST_F(SettingsRoundTrip, TurnsSyncSearchOnAgainThroughTheBitErrorState)
{
    cfg_dma_frame_t frame;
    time_of(frame).set_meas_offset(5);
    info_of(frame).set_ber_state(true);
    ASSERT_TRUE(frame.get_sync_search());
    cfg_dma_frame_t recalled;
    ASSERT_TRUE(recall_text(recalled, save_text(frame)));
    EXPECT_TRUE(info_of(recalled).get_ber_state());
    EXPECT_TRUE(recalled.get_sync_search());
    EXPECT_EQ(time_of(recalled).get_meas_offset(), 5); // was read while sync search was still off
}

TEST_F(SettingsRoundTrip, RewritesTheOffsetCompensationByTheFormat)
{
    struct case_t
    {
        lib_dma_modulation_type_t group;
        lib_dma_msk_modulation_type_t type;
        bool expected;
    };
    const case_t cases[] = {
        { LIB_DMA_GROUP_PSK, LIB_DMA_MSK_TYPE1, true },
        { LIB_DMA_GROUP_PSK, LIB_DMA_MSK_TYPE2, true },
        { LIB_DMA_GROUP_MSK, LIB_DMA_MSK_TYPE1, false },
        { LIB_DMA_GROUP_MSK, LIB_DMA_MSK_TYPE2, true },
    };
    for (const case_t& item : cases)
    {
        cfg_dma_frame_t frame;
        format_of(frame).set_format_group(item.group);
        format_of(frame).set_msk_format(item.type);
        advance_of(frame).set_iq_offset_compensation(false);
        cfg_dma_frame_t recalled;
        ASSERT_TRUE(recall_text(recalled, save_text(frame)));
        EXPECT_EQ(advance_of(recalled).get_iq_offset_compensation(), item.expected) << item.group << ' ' << item.type;
    }
}

TEST_F(SettingsRoundTrip, MakesThePayloadAnewWhateverThePatternWas)
{
    cfg_dma_frame_t frame;
    info_of(frame).set_payload_data_type(LIB_DMA_PN9);
    const bit_array sequence = info_of(frame).get_tx_pattern();
    info_of(frame).set_tx_pattern({ 1, 1, 0 });
    cfg_dma_frame_t recalled;
    ASSERT_TRUE(recall_text(recalled, save_text(frame)));
    EXPECT_EQ(info_of(recalled).get_tx_pattern(), sequence);
}

TEST_F(SettingsRoundTrip, KeepsSyncTextsAndLosesTheirBits)
{
    for (const lib_dma_sync_pattern_t type : { LIB_DMA_SYNC_BIT_PATTERN, LIB_DMA_SYNC_HEX_PATTERN })
    {
        cfg_dma_frame_t frame;
        frame.set_sync_pattern_type(type);
        if (type == LIB_DMA_SYNC_BIT_PATTERN)
            frame.set_sync_pattern_bit("10110");
        else
            frame.set_sync_pattern_hex("3C5");
        ASSERT_FALSE(frame.get_sync_pattern_bitarr().empty());
        cfg_dma_frame_t recalled;
        ASSERT_TRUE(recall_text(recalled, save_text(frame)));
        EXPECT_EQ(recalled.get_sync_pattern_bit(), frame.get_sync_pattern_bit());
        EXPECT_TRUE(recalled.get_sync_pattern_bitarr().empty());
    }
}

TEST_F(SettingsRoundTrip, KeepsTheBitsOfASyncNumber)
{
    cfg_dma_frame_t frame;
    frame.set_sync_pattern_type(LIB_DMA_SYNC_INT_PATTERN);
    frame.set_sync_pattern_int(5);
    cfg_dma_frame_t recalled;
    ASSERT_TRUE(recall_text(recalled, save_text(frame)));
    EXPECT_EQ(recalled.get_sync_pattern_int(), 5u);
    EXPECT_EQ(recalled.get_sync_pattern_bitarr(), (bit_array{ 0, 1, 0, 1 }));
}

TEST_F(SettingsRoundTrip, DoesNotDependOnTheDecimalPointOfTheHost)
{
    const char* found = nullptr;
    for (const char* name : { "de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "fr_FR.utf8", "es_ES.UTF-8", "de_DE" })
    {
        found = std::setlocale(LC_ALL, name);
        if (found != nullptr)
            break;
    }
    if (found == nullptr)
        GTEST_SKIP() << "no locale with a decimal comma here";
    cfg_dma_frame_t frame;
    set_all(frame);
    const std::string text = save_text(frame);
    cfg_dma_frame_t recalled;
    EXPECT_TRUE(recall_text(recalled, text));
    const std::string point = std::localeconv()->decimal_point; // the host's locale is as it was
    std::setlocale(LC_ALL, "C");
    EXPECT_EQ(point, ",");
    EXPECT_EQ(recalled, frame);
    EXPECT_EQ(text, save_text(frame));
    EXPECT_NE(text.find("<filter_alpha>0.219999999</filter_alpha>"), std::string::npos);
}
} // namespace
} // namespace vrim::dma_demod_lib
