// Every enumerator by its name, there and back.
#include "cfg/cfg_dma_frame.h"
#include "lib_dma_cfg_manager/lib_dma_enum.h"
#include "setting_tree.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace vrim::dma_demod_lib
{
namespace
{
class SettingsEnumerators : public setting_test_t
{
};

template <typename enum_t>
struct named_t
{
    enum_t value;
    const char* name;
};

// The text of an enumerator is its name as the compiler reads it here.
#define NAMED(enumerator) { enumerator, #enumerator }

/// Saves and recalls each enumerator; `set` and `get` work on a frame.
template <typename enum_t, typename set_t, typename get_t>
void expect_names(const char* element, const std::vector<named_t<enum_t>>& names, set_t&& set, get_t&& get)
{
    for (const auto& [value, name] : names)
    {
        cfg_dma_frame_t frame;
        set(frame, value);
        const std::string text = save_text(frame);
        EXPECT_NE(text.find(make_element(element, name)), std::string::npos) << element << ' ' << name;
        cfg_dma_frame_t recalled;
        EXPECT_TRUE(recall_text(recalled, text));
        EXPECT_EQ(get(recalled), value) << element << ' ' << name;
    }
}

/// The same for a field of the first segment, by the operations of a record's facade.
template <typename record_t, typename enum_t>
void expect_names(const char* element, record_t& (*record)(cfg_dma_frame_t&), bool (record_t::*set)(enum_t),
                  enum_t (record_t::*get)() const, const std::vector<named_t<enum_t>>& names)
{
    expect_names<enum_t>(
        element, names, [&](cfg_dma_frame_t& frame, enum_t value) { (record(frame).*set)(value); },
        [&](cfg_dma_frame_t& frame) { return (record(frame).*get)(); });
}

TEST_F(SettingsEnumerators, AreWrittenByNameForFrameTimeAndFilter)
{
    expect_names<lib_dma_sync_pattern_t>(
        "sync_pattern_type",
        { NAMED(LIB_DMA_SYNC_BIT_PATTERN), NAMED(LIB_DMA_SYNC_HEX_PATTERN), NAMED(LIB_DMA_SYNC_INT_PATTERN) },
        [](cfg_dma_frame_t& frame, lib_dma_sync_pattern_t value) { frame.set_sync_pattern_type(value); },
        [](cfg_dma_frame_t& frame) { return frame.get_sync_pattern_type(); });
    expect_names("meas_offset_reference", time_of, &cfg_dma_time_t::set_meas_offset_reference,
                 &cfg_dma_time_t::get_meas_offset_reference,
                 { NAMED(LIB_DMA_RELATIVE_TO_CAPTURE), NAMED(LIB_DMA_RELATIVE_TO_SYNC_PATTERN) });
    expect_names("meas_filter_type", filter_of, &cfg_dma_filter_t::set_meas_filter_type, &cfg_dma_filter_t::get_meas_filter_type,
                 { NAMED(LIB_DMA_MEAS_NONE_FILTER), NAMED(LIB_DMA_MEAS_COSINE_FILTER), NAMED(LIB_DMA_MEAS_RAISED_COSINE_FILTER),
                   NAMED(LIB_DMA_MEAS_ROOT_RAISED_COSINE_FILTER), NAMED(LIB_DMA_MEAS_GAUSSIAN_FILTER),
                   NAMED(LIB_DMA_MEAS_RECTANGULAR_FILTER), NAMED(LIB_DMA_MEAS_LOW_PASS_FILTER), NAMED(LIB_DMA_MEAS_EDGE_FILTER),
                   NAMED(LIB_DMA_MEAS_HALF_SINE_FILTER), NAMED(LIB_DMA_MEAS_USER_DEFINE_FILTER) });
    expect_names("ref_filter_type", filter_of, &cfg_dma_filter_t::set_ref_filter_type, &cfg_dma_filter_t::get_ref_filter_type,
                 { NAMED(LIB_DMA_REF_NONE_FILTER), NAMED(LIB_DMA_REF_RAISED_COSINE_FILTER),
                   NAMED(LIB_DMA_REF_ROOT_RAISED_COSINE_FILTER), NAMED(LIB_DMA_REF_GAUSSIAN_FILTER),
                   NAMED(LIB_DMA_REF_RECTANGULAR_FILTER), NAMED(LIB_DMA_REF_HALF_SINE_FILTER),
                   NAMED(LIB_DMA_REF_USER_DEFINE_FILTER) });
    expect_names("user_define_filter_type", filter_of, &cfg_dma_filter_t::set_user_define_filter_type,
                 &cfg_dma_filter_t::get_user_define_filter_type,
                 { NAMED(LIB_DMA_USER_DEFINE_MEAS_FILTER), NAMED(LIB_DMA_USER_DEFINE_REF_FILTER) });
}

TEST_F(SettingsEnumerators, AreWrittenByNameForGroupsAndFormats)
{
    using format_t = cfg_dma_format_t;
    expect_names("format_group", format_of, &format_t::set_format_group, &format_t::get_format_group,
                 { NAMED(LIB_DMA_GROUP_PSK), NAMED(LIB_DMA_GROUP_QAM), NAMED(LIB_DMA_GROUP_FSK), NAMED(LIB_DMA_GROUP_MSK),
                   NAMED(LIB_DMA_GROUP_ASK), NAMED(LIB_DMA_GROUP_APSK), NAMED(LIB_DMA_GROUP_OQPSK), NAMED(LIB_DMA_GROUP_DPSK),
                   NAMED(LIB_DMA_GROUP_VSB), NAMED(LIB_DMA_GROUP_CUSTOM_IQ), NAMED(LIB_DMA_GROUP_OTHER) });
    expect_names("psk_format", format_of, &format_t::set_psk_format, &format_t::get_psk_format,
                 { NAMED(LIB_DMA_MODULATION_PSK_BPSK), NAMED(LIB_DMA_MODULATION_PSK_QPSK), NAMED(LIB_DMA_MODULATION_PSK_8_PSK),
                   NAMED(LIB_DMA_MODULATION_PSK_3PI_4_QPSK), NAMED(LIB_DMA_MODULATION_PSK_3PI_8_PSK) });
    expect_names("qam_format", format_of, &format_t::set_qam_format, &format_t::get_qam_format,
                 { NAMED(LIB_DMA_QAM_16), NAMED(LIB_DMA_QAM_32), NAMED(LIB_DMA_QAM_64), NAMED(LIB_DMA_QAM_128),
                   NAMED(LIB_DMA_QAM_256), NAMED(LIB_DMA_QAM_512), NAMED(LIB_DMA_QAM_1024), NAMED(LIB_DMA_QAM_4096),
                   NAMED(LIB_DMA_QAM_PI_16), NAMED(LIB_DMA_QAM_NEGATIVE_PI_32), NAMED(LIB_DMA_DVB_QAM_16),
                   NAMED(LIB_DMA_DVB_QAM_32), NAMED(LIB_DMA_DVB_QAM_64), NAMED(LIB_DMA_DVB_QAM_128),
                   NAMED(LIB_DMA_DVB_QAM_256) });
    expect_names("fsk_format", format_of, &format_t::set_fsk_format, &format_t::get_fsk_format,
                 { NAMED(LIB_DMA_FSK_2), NAMED(LIB_DMA_FSK_4), NAMED(LIB_DMA_FSK_8), NAMED(LIB_DMA_FSK_16),
                   NAMED(LIB_DMA_FSK_32), NAMED(LIB_DMA_FSK_64) });
    expect_names("msk_format", format_of, &format_t::set_msk_format, &format_t::get_msk_format,
                 { NAMED(LIB_DMA_MSK_TYPE1), NAMED(LIB_DMA_MSK_TYPE2) });
    expect_names("ask_format", format_of, &format_t::set_ask_format, &format_t::get_ask_format,
                 { NAMED(LIB_DMA_ASK_2), NAMED(LIB_DMA_ASK_4), NAMED(LIB_DMA_ASK_8), NAMED(LIB_DMA_ASK_16) });
    expect_names("apsk_format", format_of, &format_t::set_apsk_format, &format_t::get_apsk_format,
                 { NAMED(LIB_DMA_APSK_16), NAMED(LIB_DMA_APSK_32) });
    expect_names("dpsk_format", format_of, &format_t::set_dpsk_format, &format_t::get_dpsk_format,
                 { NAMED(LIB_DMA_MODULATION_PSK_DBPSK), NAMED(LIB_DMA_MODULATION_PSK_DQPSK),
                   NAMED(LIB_DMA_MODULATION_PSK_PI_4_DQPSK), NAMED(LIB_DMA_MODULATION_PSK_PI_8_D8PSK),
                   NAMED(LIB_DMA_MODULATION_PSK_D8PSK) });
    expect_names("oqpsk_format", format_of, &format_t::set_oqpsk_format, &format_t::get_oqpsk_format,
                 { NAMED(LIB_DMA_MODULATION_PSK_OFFSET_QPSK), NAMED(LIB_DMA_MODULATION_PSK_OFFSET_SHAPED_QPSK) });
    expect_names("vsb_format", format_of, &format_t::set_vsb_format, &format_t::get_vsb_format,
                 { NAMED(LIB_DMA_VSB_8), NAMED(LIB_DMA_VSB_16) });
    expect_names("custom_iq_format", format_of, &format_t::set_custom_iq_format, &format_t::get_custom_iq_format,
                 { NAMED(LIB_DMA_CUSTOM_IQ) });
    expect_names("other_format", format_of, &format_t::set_other_format, &format_t::get_other_format,
                 { NAMED(LIB_DMA_OTHER_CPM), NAMED(LIB_DMA_OTHER_EDGE) });
}

TEST_F(SettingsEnumerators, AreWrittenByNameForTheOtherFields)
{
    expect_names("points_per_symbol", format_of, &cfg_dma_format_t::set_points_per_symbol,
                 &cfg_dma_format_t::get_points_per_symbol,
                 { NAMED(LIB_DMA_POINT1), NAMED(LIB_DMA_POINT2), NAMED(LIB_DMA_POINT4), NAMED(LIB_DMA_POINT5),
                   NAMED(LIB_DMA_POINT6), NAMED(LIB_DMA_POINT8), NAMED(LIB_DMA_POINT10), NAMED(LIB_DMA_POINT12),
                   NAMED(LIB_DMA_POINT14), NAMED(LIB_DMA_POINT16), NAMED(LIB_DMA_POINT20) });
    expect_names("fsk_deviation_ref", format_of, &cfg_dma_format_t::set_fsk_deviation_ref,
                 &cfg_dma_format_t::get_fsk_deviation_ref,
                 { NAMED(LIB_DMA_FSK_DEVIATION_NORMAL), NAMED(LIB_DMA_FSK_DEVIATION_MANUAL) });
    expect_names("cpm_index", format_of, &cfg_dma_format_t::set_cpm_index, &cfg_dma_format_t::get_cpm_index,
                 { NAMED(LIB_DMA_CPM_INDEX_TYPE1), NAMED(LIB_DMA_CPM_INDEX_TYPE2), NAMED(LIB_DMA_CPM_INDEX_TYPE3),
                   NAMED(LIB_DMA_CPM_INDEX_TYPE4), NAMED(LIB_DMA_CPM_INDEX_TYPE5), NAMED(LIB_DMA_CPM_INDEX_TYPE6),
                   NAMED(LIB_DMA_CPM_INDEX_TYPE7) });
    expect_names("fft_window", advance_of, &cfg_dma_advance_t::set_fft_window, &cfg_dma_advance_t::get_fft_window,
                 { NAMED(LIB_DMA_WINDOW_RECTANGLE), NAMED(LIB_DMA_WINDOW_HAMMING), NAMED(LIB_DMA_WINDOW_HANN),
                   NAMED(LIB_DMA_WINDOW_GAUSSIAN), NAMED(LIB_DMA_WINDOW_KAISER_BESSEL), NAMED(LIB_DMA_WINDOW_BLACKMAN),
                   NAMED(LIB_DMA_WINDOW_BLACKMAN_HARRIS), NAMED(LIB_DMA_WINDOW_FLATTOP), NAMED(LIB_DMA_WINDOW_GAUSSTOP) });
    expect_names("evm_normalization_ref", advance_of, &cfg_dma_advance_t::set_evm_normalization_ref,
                 &cfg_dma_advance_t::get_evm_normalization_ref,
                 { NAMED(LIB_DMA_EVM_NORMALIZE_RMS), NAMED(LIB_DMA_EVM_NORMALIZE_CONSTELLATION_MAX) });
    expect_names("spectrum_type", advance_of, &cfg_dma_advance_t::set_spectrum_type, &cfg_dma_advance_t::get_spectrum_type,
                 { NAMED(LIB_DMA_SPECTRUM_MORMAL), NAMED(LIB_DMA_SPECTRUM_INVERT) });
    // The longest sequence is left out: it takes 2 GiB.
    expect_names("payload_data_type", info_of, &cfg_dma_recall_demod_info_t::set_payload_data_type,
                 &cfg_dma_recall_demod_info_t::get_payload_data_type,
                 { NAMED(LIB_DMA_PN7), NAMED(LIB_DMA_PN9), NAMED(LIB_DMA_PN15), NAMED(LIB_DMA_PN23) });
}

TEST_F(SettingsEnumerators, HaveTextsWhereNoElementUsesThem)
{
    const named_t<lib_dma_main_process_state_t> states[] = { NAMED(LIB_DMA_PROCESS_STOP), NAMED(LIB_DMA_PROCESS_RUNNING),
                                                             NAMED(LIB_DMA_PROCESS_UPDATE), NAMED(LIB_DMA_PROCESS_SUSPEND) };
    for (const auto& [value, name] : states)
        EXPECT_EQ(get_enum_text(value), name);
    const named_t<lib_dma_filter_group_type_t> groups[] = { NAMED(LIB_DMA_MEAS_FILTER), NAMED(LIB_DMA_REF_FILTER) };
    for (const auto& [value, name] : groups)
        EXPECT_EQ(get_enum_text(value), name);
    EXPECT_EQ(get_enum_text(LIB_DMA_PN31), "LIB_DMA_PN31");
}
} // namespace
} // namespace vrim::dma_demod_lib
