#include "lib_dma_cfg_manager/lib_dma_enum.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <string_view>
#include <vector>

namespace vrim::dma_demod_lib
{
namespace
{
struct expected_entry_t
{
    std::string_view text;
    std::uint32_t value;
};

// Files hold the names and other tables the numbers: neither may change, gaps included.
template <typename enum_t>
void expect_entries(const std::vector<expected_entry_t>& expected)
{
    const auto entries = get_enum_entries<enum_t>();
    ASSERT_EQ(entries.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i)
    {
        EXPECT_EQ(entries[i].text, expected[i].text);
        EXPECT_EQ(static_cast<std::uint32_t>(entries[i].value), expected[i].value) << expected[i].text;
        EXPECT_EQ(get_enum_text(static_cast<enum_t>(expected[i].value)), expected[i].text);
        enum_t value = static_cast<enum_t>(~expected[i].value);
        EXPECT_TRUE(get_enum_value(expected[i].text, value));
        EXPECT_EQ(static_cast<std::uint32_t>(value), expected[i].value);
    }
}

TEST(EnumTexts, NameEveryValueOfModulationType)
{
    expect_entries<lib_dma_modulation_type_t>({
        { "LIB_DMA_GROUP_PSK", 0 },
        { "LIB_DMA_GROUP_QAM", 1 },
        { "LIB_DMA_GROUP_FSK", 2 },
        { "LIB_DMA_GROUP_MSK", 3 },
        { "LIB_DMA_GROUP_ASK", 4 },
        { "LIB_DMA_GROUP_APSK", 5 },
        { "LIB_DMA_GROUP_OQPSK", 6 },
        { "LIB_DMA_GROUP_DPSK", 7 },
        { "LIB_DMA_GROUP_VSB", 8 },
        { "LIB_DMA_GROUP_CUSTOM_IQ", 9 },
        { "LIB_DMA_GROUP_OTHER", 10 },
    });
}

TEST(EnumTexts, NameEveryValueOfPskModulationType)
{
    expect_entries<lib_dma_psk_modulation_type_t>({
        { "LIB_DMA_MODULATION_PSK_BPSK", 2 },
        { "LIB_DMA_MODULATION_PSK_QPSK", 4 },
        { "LIB_DMA_MODULATION_PSK_8_PSK", 8 },
        { "LIB_DMA_MODULATION_PSK_3PI_4_QPSK", 9 },
        { "LIB_DMA_MODULATION_PSK_3PI_8_PSK", 10 },
    });
}

TEST(EnumTexts, NameEveryValueOfQamModulationType)
{
    expect_entries<lib_dma_qam_modulation_type_t>({
        { "LIB_DMA_QAM_16", 0 },
        { "LIB_DMA_QAM_32", 1 },
        { "LIB_DMA_QAM_64", 2 },
        { "LIB_DMA_QAM_128", 3 },
        { "LIB_DMA_QAM_256", 4 },
        { "LIB_DMA_QAM_512", 5 },
        { "LIB_DMA_QAM_1024", 6 },
        { "LIB_DMA_QAM_4096", 8 },
        { "LIB_DMA_QAM_PI_16", 9 },
        { "LIB_DMA_QAM_NEGATIVE_PI_32", 10 },
        { "LIB_DMA_DVB_QAM_16", 11 },
        { "LIB_DMA_DVB_QAM_32", 12 },
        { "LIB_DMA_DVB_QAM_64", 13 },
        { "LIB_DMA_DVB_QAM_128", 14 },
        { "LIB_DMA_DVB_QAM_256", 15 },
    });
}

TEST(EnumTexts, NameEveryValueOfFskModulationType)
{
    expect_entries<lib_dma_fsk_modulation_type_t>({
        { "LIB_DMA_FSK_2", 2 },
        { "LIB_DMA_FSK_4", 4 },
        { "LIB_DMA_FSK_8", 8 },
        { "LIB_DMA_FSK_16", 16 },
        { "LIB_DMA_FSK_32", 32 },
        { "LIB_DMA_FSK_64", 64 },
    });
}

TEST(EnumTexts, NameEveryValueOfMskModulationType)
{
    expect_entries<lib_dma_msk_modulation_type_t>({
        { "LIB_DMA_MSK_TYPE1", 0 },
        { "LIB_DMA_MSK_TYPE2", 1 },
    });
}

TEST(EnumTexts, NameEveryValueOfAskModulationType)
{
    expect_entries<lib_dma_ask_modulation_type_t>({
        { "LIB_DMA_ASK_2", 2 },
        { "LIB_DMA_ASK_4", 4 },
        { "LIB_DMA_ASK_8", 8 },
        { "LIB_DMA_ASK_16", 16 },
    });
}

TEST(EnumTexts, NameEveryValueOfApskModulationType)
{
    expect_entries<lib_dma_apsk_modulation_type_t>({
        { "LIB_DMA_APSK_16", 16 },
        { "LIB_DMA_APSK_32", 32 },
    });
}

TEST(EnumTexts, NameEveryValueOfDpskModulationType)
{
    expect_entries<lib_dma_dpsk_modulation_type_t>({
        { "LIB_DMA_MODULATION_PSK_DBPSK", 2 },
        { "LIB_DMA_MODULATION_PSK_DQPSK", 4 },
        { "LIB_DMA_MODULATION_PSK_PI_4_DQPSK", 5 },
        { "LIB_DMA_MODULATION_PSK_PI_8_D8PSK", 6 },
        { "LIB_DMA_MODULATION_PSK_D8PSK", 8 },
    });
}

TEST(EnumTexts, NameEveryValueOfOqpskModulationType)
{
    expect_entries<lib_dma_oqpsk_modulation_type_t>({
        { "LIB_DMA_MODULATION_PSK_OFFSET_QPSK", 0 },
        { "LIB_DMA_MODULATION_PSK_OFFSET_SHAPED_QPSK", 1 },
    });
}

TEST(EnumTexts, NameEveryValueOfVsbModulationType)
{
    expect_entries<lib_dma_vsb_modulation_type_t>({
        { "LIB_DMA_VSB_8", 0 },
        { "LIB_DMA_VSB_16", 1 },
    });
}

TEST(EnumTexts, NameEveryValueOfCustomModulationType)
{
    expect_entries<lib_dma_custom_modulation_type_t>({
        { "LIB_DMA_CUSTOM_IQ", 0 },
    });
}

TEST(EnumTexts, NameEveryValueOfOtherModulationType)
{
    expect_entries<lib_dma_other_modulation_type_t>({
        { "LIB_DMA_OTHER_CPM", 0 },
        { "LIB_DMA_OTHER_EDGE", 1 },
    });
}

TEST(EnumTexts, NameEveryValueOfCpmIndexType)
{
    expect_entries<lib_dma_cpm_index_type_t>({
        { "LIB_DMA_CPM_INDEX_TYPE1", 0 },
        { "LIB_DMA_CPM_INDEX_TYPE2", 1 },
        { "LIB_DMA_CPM_INDEX_TYPE3", 2 },
        { "LIB_DMA_CPM_INDEX_TYPE4", 3 },
        { "LIB_DMA_CPM_INDEX_TYPE5", 4 },
        { "LIB_DMA_CPM_INDEX_TYPE6", 5 },
        { "LIB_DMA_CPM_INDEX_TYPE7", 6 },
    });
}

TEST(EnumTexts, NameEveryValueOfFskDeviationType)
{
    expect_entries<lib_dma_fsk_deviation_type_t>({
        { "LIB_DMA_FSK_DEVIATION_NORMAL", 0 },
        { "LIB_DMA_FSK_DEVIATION_MANUAL", 1 },
    });
}

TEST(EnumTexts, NameEveryValueOfPointPerSymbolType)
{
    expect_entries<lib_dma_point_per_symbol_type_t>({
        { "LIB_DMA_POINT1", 1 },
        { "LIB_DMA_POINT2", 2 },
        { "LIB_DMA_POINT4", 4 },
        { "LIB_DMA_POINT5", 5 },
        { "LIB_DMA_POINT6", 6 },
        { "LIB_DMA_POINT8", 8 },
        { "LIB_DMA_POINT10", 10 },
        { "LIB_DMA_POINT12", 12 },
        { "LIB_DMA_POINT14", 14 },
        { "LIB_DMA_POINT16", 16 },
        { "LIB_DMA_POINT20", 20 },
    });
}

TEST(EnumTexts, NameEveryValueOfFilterGroupType)
{
    expect_entries<lib_dma_filter_group_type_t>({
        { "LIB_DMA_MEAS_FILTER", 0 },
        { "LIB_DMA_REF_FILTER", 1 },
    });
}

TEST(EnumTexts, NameEveryValueOfMeasFilterType)
{
    expect_entries<lib_dma_meas_filter_type_t>({
        { "LIB_DMA_MEAS_NONE_FILTER", 0 },
        { "LIB_DMA_MEAS_COSINE_FILTER", 1 },
        { "LIB_DMA_MEAS_RAISED_COSINE_FILTER", 2 },
        { "LIB_DMA_MEAS_ROOT_RAISED_COSINE_FILTER", 3 },
        { "LIB_DMA_MEAS_GAUSSIAN_FILTER", 4 },
        { "LIB_DMA_MEAS_RECTANGULAR_FILTER", 5 },
        { "LIB_DMA_MEAS_LOW_PASS_FILTER", 6 },
        { "LIB_DMA_MEAS_EDGE_FILTER", 7 },
        { "LIB_DMA_MEAS_HALF_SINE_FILTER", 8 },
        { "LIB_DMA_MEAS_USER_DEFINE_FILTER", 9 },
    });
}

TEST(EnumTexts, NameEveryValueOfRefFilterType)
{
    expect_entries<lib_dma_ref_filter_type_t>({
        { "LIB_DMA_REF_NONE_FILTER", 0 },
        { "LIB_DMA_REF_RAISED_COSINE_FILTER", 1 },
        { "LIB_DMA_REF_ROOT_RAISED_COSINE_FILTER", 2 },
        { "LIB_DMA_REF_GAUSSIAN_FILTER", 3 },
        { "LIB_DMA_REF_RECTANGULAR_FILTER", 4 },
        { "LIB_DMA_REF_HALF_SINE_FILTER", 5 },
        { "LIB_DMA_REF_USER_DEFINE_FILTER", 7 },
    });
}

TEST(EnumTexts, NameEveryValueOfUserDefineFilterType)
{
    expect_entries<lib_dma_user_define_filter_type_t>({
        { "LIB_DMA_USER_DEFINE_MEAS_FILTER", 0 },
        { "LIB_DMA_USER_DEFINE_REF_FILTER", 1 },
    });
}

TEST(EnumTexts, NameEveryValueOfFftWindowType)
{
    expect_entries<lib_dma_fft_window_type_t>({
        { "LIB_DMA_WINDOW_RECTANGLE", 0 },
        { "LIB_DMA_WINDOW_HAMMING", 1 },
        { "LIB_DMA_WINDOW_HANN", 2 },
        { "LIB_DMA_WINDOW_GAUSSIAN", 3 },
        { "LIB_DMA_WINDOW_KAISER_BESSEL", 4 },
        { "LIB_DMA_WINDOW_BLACKMAN", 5 },
        { "LIB_DMA_WINDOW_BLACKMAN_HARRIS", 6 },
        { "LIB_DMA_WINDOW_FLATTOP", 7 },
        { "LIB_DMA_WINDOW_GAUSSTOP", 8 },
    });
}

TEST(EnumTexts, NameEveryValueOfSpectrumType)
{
    expect_entries<lib_dma_spectrum_type_t>({
        { "LIB_DMA_SPECTRUM_MORMAL", 0 },
        { "LIB_DMA_SPECTRUM_INVERT", 1 },
    });
}

TEST(EnumTexts, NameEveryValueOfEvmNormalizeType)
{
    expect_entries<lib_dma_evm_normalize_type_t>({
        { "LIB_DMA_EVM_NORMALIZE_RMS", 0 },
        { "LIB_DMA_EVM_NORMALIZE_CONSTELLATION_MAX", 1 },
    });
}

TEST(EnumTexts, NameEveryValueOfMeasOffsetRef)
{
    expect_entries<lib_dma_meas_offset_ref_t>({
        { "LIB_DMA_RELATIVE_TO_CAPTURE", 0 },
        { "LIB_DMA_RELATIVE_TO_SYNC_PATTERN", 1 },
    });
}

TEST(EnumTexts, NameEveryValueOfSyncPattern)
{
    expect_entries<lib_dma_sync_pattern_t>({
        { "LIB_DMA_SYNC_BIT_PATTERN", 0 },
        { "LIB_DMA_SYNC_HEX_PATTERN", 1 },
        { "LIB_DMA_SYNC_INT_PATTERN", 2 },
    });
}

TEST(EnumTexts, NameEveryValueOfPayloadDataType)
{
    expect_entries<lib_dma_payload_data_type_t>({
        { "LIB_DMA_PN7", 0 },
        { "LIB_DMA_PN9", 1 },
        { "LIB_DMA_PN15", 2 },
        { "LIB_DMA_PN23", 3 },
        { "LIB_DMA_PN31", 4 },
    });
}

TEST(EnumTexts, NameEveryValueOfMainProcessState)
{
    expect_entries<lib_dma_main_process_state_t>({
        { "LIB_DMA_PROCESS_STOP", 0 },
        { "LIB_DMA_PROCESS_RUNNING", 1 },
        { "LIB_DMA_PROCESS_UPDATE", 2 },
        { "LIB_DMA_PROCESS_SUSPEND", 3 },
    });
}

TEST(EnumTexts, AreEmptyForUnassignedValues)
{
    EXPECT_EQ(get_enum_text(static_cast<lib_dma_qam_modulation_type_t>(7)), "");
    EXPECT_EQ(get_enum_text(static_cast<lib_dma_ref_filter_type_t>(6)), "");
    EXPECT_EQ(get_enum_text(static_cast<lib_dma_psk_modulation_type_t>(0)), "");
    EXPECT_EQ(get_enum_text(static_cast<lib_dma_modulation_type_t>(0xffffffffu)), "");
}

TEST(EnumTexts, LeaveTheValueAloneForAnUnknownText)
{
    for (const std::string_view text : { "", "LIB_DMA_GROUP", "LIB_DMA_GROUP_PSK ", "lib_dma_group_psk", "LIB_DMA_QAM_16" })
    {
        lib_dma_modulation_type_t value = LIB_DMA_GROUP_APSK;
        EXPECT_FALSE(get_enum_value(text, value)) << text;
        EXPECT_EQ(value, LIB_DMA_GROUP_APSK) << text;
    }
}
} // namespace
} // namespace vrim::dma_demod_lib
