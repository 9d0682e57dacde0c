#include "lib_dma_cfg_manager/lib_dma_enum.h"

namespace vrim::dma_demod_lib
{
template <>
std::span<const enum_entry_t<lib_dma_modulation_type_t>> get_enum_entries()
{
    static constexpr enum_entry_t<lib_dma_modulation_type_t> entries[] = {
        { LIB_DMA_GROUP_PSK, "LIB_DMA_GROUP_PSK" },     { LIB_DMA_GROUP_QAM, "LIB_DMA_GROUP_QAM" },
        { LIB_DMA_GROUP_FSK, "LIB_DMA_GROUP_FSK" },     { LIB_DMA_GROUP_MSK, "LIB_DMA_GROUP_MSK" },
        { LIB_DMA_GROUP_ASK, "LIB_DMA_GROUP_ASK" },     { LIB_DMA_GROUP_APSK, "LIB_DMA_GROUP_APSK" },
        { LIB_DMA_GROUP_OQPSK, "LIB_DMA_GROUP_OQPSK" }, { LIB_DMA_GROUP_DPSK, "LIB_DMA_GROUP_DPSK" },
        { LIB_DMA_GROUP_VSB, "LIB_DMA_GROUP_VSB" },     { LIB_DMA_GROUP_CUSTOM_IQ, "LIB_DMA_GROUP_CUSTOM_IQ" },
        { LIB_DMA_GROUP_OTHER, "LIB_DMA_GROUP_OTHER" },
    };
    return entries;
}

template <>
std::span<const enum_entry_t<lib_dma_psk_modulation_type_t>> get_enum_entries()
{
    static constexpr enum_entry_t<lib_dma_psk_modulation_type_t> entries[] = {
        { LIB_DMA_MODULATION_PSK_BPSK, "LIB_DMA_MODULATION_PSK_BPSK" },
        { LIB_DMA_MODULATION_PSK_QPSK, "LIB_DMA_MODULATION_PSK_QPSK" },
        { LIB_DMA_MODULATION_PSK_8_PSK, "LIB_DMA_MODULATION_PSK_8_PSK" },
        { LIB_DMA_MODULATION_PSK_3PI_4_QPSK, "LIB_DMA_MODULATION_PSK_3PI_4_QPSK" },
        { LIB_DMA_MODULATION_PSK_3PI_8_PSK, "LIB_DMA_MODULATION_PSK_3PI_8_PSK" },
    };
    return entries;
}

template <>
std::span<const enum_entry_t<lib_dma_qam_modulation_type_t>> get_enum_entries()
{
    static constexpr enum_entry_t<lib_dma_qam_modulation_type_t> entries[] = {
        { LIB_DMA_QAM_16, "LIB_DMA_QAM_16" },           { LIB_DMA_QAM_32, "LIB_DMA_QAM_32" },
        { LIB_DMA_QAM_64, "LIB_DMA_QAM_64" },           { LIB_DMA_QAM_128, "LIB_DMA_QAM_128" },
        { LIB_DMA_QAM_256, "LIB_DMA_QAM_256" },         { LIB_DMA_QAM_512, "LIB_DMA_QAM_512" },
        { LIB_DMA_QAM_1024, "LIB_DMA_QAM_1024" },       { LIB_DMA_QAM_4096, "LIB_DMA_QAM_4096" },
        { LIB_DMA_QAM_PI_16, "LIB_DMA_QAM_PI_16" },     { LIB_DMA_QAM_NEGATIVE_PI_32, "LIB_DMA_QAM_NEGATIVE_PI_32" },
        { LIB_DMA_DVB_QAM_16, "LIB_DMA_DVB_QAM_16" },   { LIB_DMA_DVB_QAM_32, "LIB_DMA_DVB_QAM_32" },
        { LIB_DMA_DVB_QAM_64, "LIB_DMA_DVB_QAM_64" },   { LIB_DMA_DVB_QAM_128, "LIB_DMA_DVB_QAM_128" },
        { LIB_DMA_DVB_QAM_256, "LIB_DMA_DVB_QAM_256" },
    };
    return entries;
}

template <>
std::span<const enum_entry_t<lib_dma_fsk_modulation_type_t>> get_enum_entries()
{
    static constexpr enum_entry_t<lib_dma_fsk_modulation_type_t> entries[] = {
        { LIB_DMA_FSK_2, "LIB_DMA_FSK_2" },   { LIB_DMA_FSK_4, "LIB_DMA_FSK_4" },   { LIB_DMA_FSK_8, "LIB_DMA_FSK_8" },
        { LIB_DMA_FSK_16, "LIB_DMA_FSK_16" }, { LIB_DMA_FSK_32, "LIB_DMA_FSK_32" }, { LIB_DMA_FSK_64, "LIB_DMA_FSK_64" },
    };
    return entries;
}

template <>
std::span<const enum_entry_t<lib_dma_msk_modulation_type_t>> get_enum_entries()
{
    static constexpr enum_entry_t<lib_dma_msk_modulation_type_t> entries[] = {
        { LIB_DMA_MSK_TYPE1, "LIB_DMA_MSK_TYPE1" },
        { LIB_DMA_MSK_TYPE2, "LIB_DMA_MSK_TYPE2" },
    };
    return entries;
}

template <>
std::span<const enum_entry_t<lib_dma_ask_modulation_type_t>> get_enum_entries()
{
    static constexpr enum_entry_t<lib_dma_ask_modulation_type_t> entries[] = {
        { LIB_DMA_ASK_2, "LIB_DMA_ASK_2" },
        { LIB_DMA_ASK_4, "LIB_DMA_ASK_4" },
        { LIB_DMA_ASK_8, "LIB_DMA_ASK_8" },
        { LIB_DMA_ASK_16, "LIB_DMA_ASK_16" },
    };
    return entries;
}

template <>
std::span<const enum_entry_t<lib_dma_apsk_modulation_type_t>> get_enum_entries()
{
    static constexpr enum_entry_t<lib_dma_apsk_modulation_type_t> entries[] = {
        { LIB_DMA_APSK_16, "LIB_DMA_APSK_16" },
        { LIB_DMA_APSK_32, "LIB_DMA_APSK_32" },
    };
    return entries;
}

template <>
std::span<const enum_entry_t<lib_dma_dpsk_modulation_type_t>> get_enum_entries()
{
    static constexpr enum_entry_t<lib_dma_dpsk_modulation_type_t> entries[] = {
        { LIB_DMA_MODULATION_PSK_DBPSK, "LIB_DMA_MODULATION_PSK_DBPSK" },
        { LIB_DMA_MODULATION_PSK_DQPSK, "LIB_DMA_MODULATION_PSK_DQPSK" },
        { LIB_DMA_MODULATION_PSK_PI_4_DQPSK, "LIB_DMA_MODULATION_PSK_PI_4_DQPSK" },
        { LIB_DMA_MODULATION_PSK_PI_8_D8PSK, "LIB_DMA_MODULATION_PSK_PI_8_D8PSK" },
        { LIB_DMA_MODULATION_PSK_D8PSK, "LIB_DMA_MODULATION_PSK_D8PSK" },
    };
    return entries;
}

template <>
std::span<const enum_entry_t<lib_dma_oqpsk_modulation_type_t>> get_enum_entries()
{
    static constexpr enum_entry_t<lib_dma_oqpsk_modulation_type_t> entries[] = {
        { LIB_DMA_MODULATION_PSK_OFFSET_QPSK, "LIB_DMA_MODULATION_PSK_OFFSET_QPSK" },
        { LIB_DMA_MODULATION_PSK_OFFSET_SHAPED_QPSK, "LIB_DMA_MODULATION_PSK_OFFSET_SHAPED_QPSK" },
    };
    return entries;
}

template <>
std::span<const enum_entry_t<lib_dma_vsb_modulation_type_t>> get_enum_entries()
{
    static constexpr enum_entry_t<lib_dma_vsb_modulation_type_t> entries[] = {
        { LIB_DMA_VSB_8, "LIB_DMA_VSB_8" },
        { LIB_DMA_VSB_16, "LIB_DMA_VSB_16" },
    };
    return entries;
}

template <>
std::span<const enum_entry_t<lib_dma_custom_modulation_type_t>> get_enum_entries()
{
    static constexpr enum_entry_t<lib_dma_custom_modulation_type_t> entries[] = {
        { LIB_DMA_CUSTOM_IQ, "LIB_DMA_CUSTOM_IQ" },
    };
    return entries;
}

template <>
std::span<const enum_entry_t<lib_dma_other_modulation_type_t>> get_enum_entries()
{
    static constexpr enum_entry_t<lib_dma_other_modulation_type_t> entries[] = {
        { LIB_DMA_OTHER_CPM, "LIB_DMA_OTHER_CPM" },
        { LIB_DMA_OTHER_EDGE, "LIB_DMA_OTHER_EDGE" },
    };
    return entries;
}

template <>
std::span<const enum_entry_t<lib_dma_cpm_index_type_t>> get_enum_entries()
{
    static constexpr enum_entry_t<lib_dma_cpm_index_type_t> entries[] = {
        { LIB_DMA_CPM_INDEX_TYPE1, "LIB_DMA_CPM_INDEX_TYPE1" }, { LIB_DMA_CPM_INDEX_TYPE2, "LIB_DMA_CPM_INDEX_TYPE2" },
        { LIB_DMA_CPM_INDEX_TYPE3, "LIB_DMA_CPM_INDEX_TYPE3" }, { LIB_DMA_CPM_INDEX_TYPE4, "LIB_DMA_CPM_INDEX_TYPE4" },
        { LIB_DMA_CPM_INDEX_TYPE5, "LIB_DMA_CPM_INDEX_TYPE5" }, { LIB_DMA_CPM_INDEX_TYPE6, "LIB_DMA_CPM_INDEX_TYPE6" },
        { LIB_DMA_CPM_INDEX_TYPE7, "LIB_DMA_CPM_INDEX_TYPE7" },
    };
    return entries;
}

template <>
std::span<const enum_entry_t<lib_dma_fsk_deviation_type_t>> get_enum_entries()
{
    static constexpr enum_entry_t<lib_dma_fsk_deviation_type_t> entries[] = {
        { LIB_DMA_FSK_DEVIATION_NORMAL, "LIB_DMA_FSK_DEVIATION_NORMAL" },
        { LIB_DMA_FSK_DEVIATION_MANUAL, "LIB_DMA_FSK_DEVIATION_MANUAL" },
    };
    return entries;
}

template <>
std::span<const enum_entry_t<lib_dma_point_per_symbol_type_t>> get_enum_entries()
{
    static constexpr enum_entry_t<lib_dma_point_per_symbol_type_t> entries[] = {
        { LIB_DMA_POINT1, "LIB_DMA_POINT1" },   { LIB_DMA_POINT2, "LIB_DMA_POINT2" },   { LIB_DMA_POINT4, "LIB_DMA_POINT4" },
        { LIB_DMA_POINT5, "LIB_DMA_POINT5" },   { LIB_DMA_POINT6, "LIB_DMA_POINT6" },   { LIB_DMA_POINT8, "LIB_DMA_POINT8" },
        { LIB_DMA_POINT10, "LIB_DMA_POINT10" }, { LIB_DMA_POINT12, "LIB_DMA_POINT12" }, { LIB_DMA_POINT14, "LIB_DMA_POINT14" },
        { LIB_DMA_POINT16, "LIB_DMA_POINT16" }, { LIB_DMA_POINT20, "LIB_DMA_POINT20" },
    };
    return entries;
}

template <>
std::span<const enum_entry_t<lib_dma_filter_group_type_t>> get_enum_entries()
{
    static constexpr enum_entry_t<lib_dma_filter_group_type_t> entries[] = {
        { LIB_DMA_MEAS_FILTER, "LIB_DMA_MEAS_FILTER" },
        { LIB_DMA_REF_FILTER, "LIB_DMA_REF_FILTER" },
    };
    return entries;
}

template <>
std::span<const enum_entry_t<lib_dma_meas_filter_type_t>> get_enum_entries()
{
    static constexpr enum_entry_t<lib_dma_meas_filter_type_t> entries[] = {
        { LIB_DMA_MEAS_NONE_FILTER, "LIB_DMA_MEAS_NONE_FILTER" },
        { LIB_DMA_MEAS_COSINE_FILTER, "LIB_DMA_MEAS_COSINE_FILTER" },
        { LIB_DMA_MEAS_RAISED_COSINE_FILTER, "LIB_DMA_MEAS_RAISED_COSINE_FILTER" },
        { LIB_DMA_MEAS_ROOT_RAISED_COSINE_FILTER, "LIB_DMA_MEAS_ROOT_RAISED_COSINE_FILTER" },
        { LIB_DMA_MEAS_GAUSSIAN_FILTER, "LIB_DMA_MEAS_GAUSSIAN_FILTER" },
        { LIB_DMA_MEAS_RECTANGULAR_FILTER, "LIB_DMA_MEAS_RECTANGULAR_FILTER" },
        { LIB_DMA_MEAS_LOW_PASS_FILTER, "LIB_DMA_MEAS_LOW_PASS_FILTER" },
        { LIB_DMA_MEAS_EDGE_FILTER, "LIB_DMA_MEAS_EDGE_FILTER" },
        { LIB_DMA_MEAS_HALF_SINE_FILTER, "LIB_DMA_MEAS_HALF_SINE_FILTER" },
        { LIB_DMA_MEAS_USER_DEFINE_FILTER, "LIB_DMA_MEAS_USER_DEFINE_FILTER" },
    };
    return entries;
}

template <>
std::span<const enum_entry_t<lib_dma_ref_filter_type_t>> get_enum_entries()
{
    static constexpr enum_entry_t<lib_dma_ref_filter_type_t> entries[] = {
        { LIB_DMA_REF_NONE_FILTER, "LIB_DMA_REF_NONE_FILTER" },
        { LIB_DMA_REF_RAISED_COSINE_FILTER, "LIB_DMA_REF_RAISED_COSINE_FILTER" },
        { LIB_DMA_REF_ROOT_RAISED_COSINE_FILTER, "LIB_DMA_REF_ROOT_RAISED_COSINE_FILTER" },
        { LIB_DMA_REF_GAUSSIAN_FILTER, "LIB_DMA_REF_GAUSSIAN_FILTER" },
        { LIB_DMA_REF_RECTANGULAR_FILTER, "LIB_DMA_REF_RECTANGULAR_FILTER" },
        { LIB_DMA_REF_HALF_SINE_FILTER, "LIB_DMA_REF_HALF_SINE_FILTER" },
        { LIB_DMA_REF_USER_DEFINE_FILTER, "LIB_DMA_REF_USER_DEFINE_FILTER" },
    };
    return entries;
}

template <>
std::span<const enum_entry_t<lib_dma_user_define_filter_type_t>> get_enum_entries()
{
    static constexpr enum_entry_t<lib_dma_user_define_filter_type_t> entries[] = {
        { LIB_DMA_USER_DEFINE_MEAS_FILTER, "LIB_DMA_USER_DEFINE_MEAS_FILTER" },
        { LIB_DMA_USER_DEFINE_REF_FILTER, "LIB_DMA_USER_DEFINE_REF_FILTER" },
    };
    return entries;
}

template <>
std::span<const enum_entry_t<lib_dma_fft_window_type_t>> get_enum_entries()
{
    static constexpr enum_entry_t<lib_dma_fft_window_type_t> entries[] = {
        { LIB_DMA_WINDOW_RECTANGLE, "LIB_DMA_WINDOW_RECTANGLE" },
        { LIB_DMA_WINDOW_HAMMING, "LIB_DMA_WINDOW_HAMMING" },
        { LIB_DMA_WINDOW_HANN, "LIB_DMA_WINDOW_HANN" },
        { LIB_DMA_WINDOW_GAUSSIAN, "LIB_DMA_WINDOW_GAUSSIAN" },
        { LIB_DMA_WINDOW_KAISER_BESSEL, "LIB_DMA_WINDOW_KAISER_BESSEL" },
        { LIB_DMA_WINDOW_BLACKMAN, "LIB_DMA_WINDOW_BLACKMAN" },
        { LIB_DMA_WINDOW_BLACKMAN_HARRIS, "LIB_DMA_WINDOW_BLACKMAN_HARRIS" },
        { LIB_DMA_WINDOW_FLATTOP, "LIB_DMA_WINDOW_FLATTOP" },
        { LIB_DMA_WINDOW_GAUSSTOP, "LIB_DMA_WINDOW_GAUSSTOP" },
    };
    return entries;
}

template <>
std::span<const enum_entry_t<lib_dma_spectrum_type_t>> get_enum_entries()
{
    static constexpr enum_entry_t<lib_dma_spectrum_type_t> entries[] = {
        { LIB_DMA_SPECTRUM_MORMAL, "LIB_DMA_SPECTRUM_MORMAL" },
        { LIB_DMA_SPECTRUM_INVERT, "LIB_DMA_SPECTRUM_INVERT" },
    };
    return entries;
}

template <>
std::span<const enum_entry_t<lib_dma_evm_normalize_type_t>> get_enum_entries()
{
    static constexpr enum_entry_t<lib_dma_evm_normalize_type_t> entries[] = {
        { LIB_DMA_EVM_NORMALIZE_RMS, "LIB_DMA_EVM_NORMALIZE_RMS" },
        { LIB_DMA_EVM_NORMALIZE_CONSTELLATION_MAX, "LIB_DMA_EVM_NORMALIZE_CONSTELLATION_MAX" },
    };
    return entries;
}

template <>
std::span<const enum_entry_t<lib_dma_meas_offset_ref_t>> get_enum_entries()
{
    static constexpr enum_entry_t<lib_dma_meas_offset_ref_t> entries[] = {
        { LIB_DMA_RELATIVE_TO_CAPTURE, "LIB_DMA_RELATIVE_TO_CAPTURE" },
        { LIB_DMA_RELATIVE_TO_SYNC_PATTERN, "LIB_DMA_RELATIVE_TO_SYNC_PATTERN" },
    };
    return entries;
}

template <>
std::span<const enum_entry_t<lib_dma_sync_pattern_t>> get_enum_entries()
{
    static constexpr enum_entry_t<lib_dma_sync_pattern_t> entries[] = {
        { LIB_DMA_SYNC_BIT_PATTERN, "LIB_DMA_SYNC_BIT_PATTERN" },
        { LIB_DMA_SYNC_HEX_PATTERN, "LIB_DMA_SYNC_HEX_PATTERN" },
        { LIB_DMA_SYNC_INT_PATTERN, "LIB_DMA_SYNC_INT_PATTERN" },
    };
    return entries;
}

template <>
std::span<const enum_entry_t<lib_dma_payload_data_type_t>> get_enum_entries()
{
    static constexpr enum_entry_t<lib_dma_payload_data_type_t> entries[] = {
        { LIB_DMA_PN7, "LIB_DMA_PN7" },   { LIB_DMA_PN9, "LIB_DMA_PN9" },   { LIB_DMA_PN15, "LIB_DMA_PN15" },
        { LIB_DMA_PN23, "LIB_DMA_PN23" }, { LIB_DMA_PN31, "LIB_DMA_PN31" },
    };
    return entries;
}

template <>
std::span<const enum_entry_t<lib_dma_main_process_state_t>> get_enum_entries()
{
    static constexpr enum_entry_t<lib_dma_main_process_state_t> entries[] = {
        { LIB_DMA_PROCESS_STOP, "LIB_DMA_PROCESS_STOP" },
        { LIB_DMA_PROCESS_RUNNING, "LIB_DMA_PROCESS_RUNNING" },
        { LIB_DMA_PROCESS_UPDATE, "LIB_DMA_PROCESS_UPDATE" },
        { LIB_DMA_PROCESS_SUSPEND, "LIB_DMA_PROCESS_SUSPEND" },
    };
    return entries;
}
} // namespace vrim::dma_demod_lib
