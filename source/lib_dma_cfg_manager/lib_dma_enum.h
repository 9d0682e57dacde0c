#pragma once

#include "dma_export.h"
#include "support/enum_entry.h"

#include <cstdint>
#include <span>
#include <string_view>

/// Every enumeration of the configuration and of the driver. The numeric values are part of the interface, gaps included:
/// files keep them and tables use the values of several as counts.
namespace vrim::dma_demod_lib
{
/// Modulation group; selects the demodulator. VSB, CUSTOM_IQ and OTHER have none.
enum lib_dma_modulation_type_t : std::uint32_t
{
    LIB_DMA_GROUP_PSK = 0,
    LIB_DMA_GROUP_QAM = 1,
    LIB_DMA_GROUP_FSK = 2,
    LIB_DMA_GROUP_MSK = 3,
    LIB_DMA_GROUP_ASK = 4,
    LIB_DMA_GROUP_APSK = 5,
    LIB_DMA_GROUP_OQPSK = 6,
    LIB_DMA_GROUP_DPSK = 7,
    LIB_DMA_GROUP_VSB = 8,
    LIB_DMA_GROUP_CUSTOM_IQ = 9,
    LIB_DMA_GROUP_OTHER = 10,
};

/// PSK formats.
enum lib_dma_psk_modulation_type_t : std::uint32_t
{
    LIB_DMA_MODULATION_PSK_BPSK = 2,
    LIB_DMA_MODULATION_PSK_QPSK = 4,
    LIB_DMA_MODULATION_PSK_8_PSK = 8,
    LIB_DMA_MODULATION_PSK_3PI_4_QPSK = 9,
    LIB_DMA_MODULATION_PSK_3PI_8_PSK = 10,
};

/// QAM formats. The value 7 is unassigned.
enum lib_dma_qam_modulation_type_t : std::uint32_t
{
    LIB_DMA_QAM_16 = 0,
    LIB_DMA_QAM_32 = 1,
    LIB_DMA_QAM_64 = 2,
    LIB_DMA_QAM_128 = 3,
    LIB_DMA_QAM_256 = 4,
    LIB_DMA_QAM_512 = 5,
    LIB_DMA_QAM_1024 = 6,
    LIB_DMA_QAM_4096 = 8,
    LIB_DMA_QAM_PI_16 = 9,
    LIB_DMA_QAM_NEGATIVE_PI_32 = 10,
    LIB_DMA_DVB_QAM_16 = 11,
    LIB_DMA_DVB_QAM_32 = 12,
    LIB_DMA_DVB_QAM_64 = 13,
    LIB_DMA_DVB_QAM_128 = 14,
    LIB_DMA_DVB_QAM_256 = 15,
};

/// FSK formats; the value is the count of tones.
enum lib_dma_fsk_modulation_type_t : std::uint32_t
{
    LIB_DMA_FSK_2 = 2,
    LIB_DMA_FSK_4 = 4,
    LIB_DMA_FSK_8 = 8,
    LIB_DMA_FSK_16 = 16,
    LIB_DMA_FSK_32 = 32,
    LIB_DMA_FSK_64 = 64,
};

/// MSK formats.
enum lib_dma_msk_modulation_type_t : std::uint32_t
{
    LIB_DMA_MSK_TYPE1 = 0,
    LIB_DMA_MSK_TYPE2 = 1,
};

/// ASK formats; the value is the count of levels.
enum lib_dma_ask_modulation_type_t : std::uint32_t
{
    LIB_DMA_ASK_2 = 2,
    LIB_DMA_ASK_4 = 4,
    LIB_DMA_ASK_8 = 8,
    LIB_DMA_ASK_16 = 16,
};

/// APSK formats; the value is the count of points.
enum lib_dma_apsk_modulation_type_t : std::uint32_t
{
    LIB_DMA_APSK_16 = 16,
    LIB_DMA_APSK_32 = 32,
};

/// Differential PSK formats.
enum lib_dma_dpsk_modulation_type_t : std::uint32_t
{
    LIB_DMA_MODULATION_PSK_DBPSK = 2,
    LIB_DMA_MODULATION_PSK_DQPSK = 4,
    LIB_DMA_MODULATION_PSK_PI_4_DQPSK = 5,
    LIB_DMA_MODULATION_PSK_PI_8_D8PSK = 6,
    LIB_DMA_MODULATION_PSK_D8PSK = 8,
};

/// Offset QPSK formats.
enum lib_dma_oqpsk_modulation_type_t : std::uint32_t
{
    LIB_DMA_MODULATION_PSK_OFFSET_QPSK = 0,
    LIB_DMA_MODULATION_PSK_OFFSET_SHAPED_QPSK = 1,
};

/// VSB formats.
enum lib_dma_vsb_modulation_type_t : std::uint32_t
{
    LIB_DMA_VSB_8 = 0,
    LIB_DMA_VSB_16 = 1,
};

/// User-defined IQ formats.
enum lib_dma_custom_modulation_type_t : std::uint32_t
{
    LIB_DMA_CUSTOM_IQ = 0,
};

/// Formats of no other group.
enum lib_dma_other_modulation_type_t : std::uint32_t
{
    LIB_DMA_OTHER_CPM = 0,
    LIB_DMA_OTHER_EDGE = 1,
};

/// Pairs of CPM modulation indices.
enum lib_dma_cpm_index_type_t : std::uint32_t
{
    LIB_DMA_CPM_INDEX_TYPE1 = 0,
    LIB_DMA_CPM_INDEX_TYPE2 = 1,
    LIB_DMA_CPM_INDEX_TYPE3 = 2,
    LIB_DMA_CPM_INDEX_TYPE4 = 3,
    LIB_DMA_CPM_INDEX_TYPE5 = 4,
    LIB_DMA_CPM_INDEX_TYPE6 = 5,
    LIB_DMA_CPM_INDEX_TYPE7 = 6,
};

/// How the reference deviation of FSK is found.
enum lib_dma_fsk_deviation_type_t : std::uint32_t
{
    LIB_DMA_FSK_DEVIATION_NORMAL = 0,
    LIB_DMA_FSK_DEVIATION_MANUAL = 1,
};

/// Points per symbol of the results; the value is the ratio.
enum lib_dma_point_per_symbol_type_t : std::uint32_t
{
    LIB_DMA_POINT1 = 1,
    LIB_DMA_POINT2 = 2,
    LIB_DMA_POINT4 = 4,
    LIB_DMA_POINT5 = 5,
    LIB_DMA_POINT6 = 6,
    LIB_DMA_POINT8 = 8,
    LIB_DMA_POINT10 = 10,
    LIB_DMA_POINT12 = 12,
    LIB_DMA_POINT14 = 14,
    LIB_DMA_POINT16 = 16,
    LIB_DMA_POINT20 = 20,
};

/// The two filters of a segment.
enum lib_dma_filter_group_type_t : std::uint32_t
{
    LIB_DMA_MEAS_FILTER = 0,
    LIB_DMA_REF_FILTER = 1,
};

/// Measurement (receive) filters.
enum lib_dma_meas_filter_type_t : std::uint32_t
{
    LIB_DMA_MEAS_NONE_FILTER = 0,
    LIB_DMA_MEAS_COSINE_FILTER = 1,
    LIB_DMA_MEAS_RAISED_COSINE_FILTER = 2,
    LIB_DMA_MEAS_ROOT_RAISED_COSINE_FILTER = 3,
    LIB_DMA_MEAS_GAUSSIAN_FILTER = 4,
    LIB_DMA_MEAS_RECTANGULAR_FILTER = 5,
    LIB_DMA_MEAS_LOW_PASS_FILTER = 6,
    LIB_DMA_MEAS_EDGE_FILTER = 7,
    LIB_DMA_MEAS_HALF_SINE_FILTER = 8,
    LIB_DMA_MEAS_USER_DEFINE_FILTER = 9,
};

/// Reference filters: transmit and measurement filter in one. The value 6 is unassigned.
enum lib_dma_ref_filter_type_t : std::uint32_t
{
    LIB_DMA_REF_NONE_FILTER = 0,
    LIB_DMA_REF_RAISED_COSINE_FILTER = 1,
    LIB_DMA_REF_ROOT_RAISED_COSINE_FILTER = 2,
    LIB_DMA_REF_GAUSSIAN_FILTER = 3,
    LIB_DMA_REF_RECTANGULAR_FILTER = 4,
    LIB_DMA_REF_HALF_SINE_FILTER = 5,
    LIB_DMA_REF_USER_DEFINE_FILTER = 7,
};

/// Which filter a user-defined coefficient belongs to.
enum lib_dma_user_define_filter_type_t : std::uint32_t
{
    LIB_DMA_USER_DEFINE_MEAS_FILTER = 0,
    LIB_DMA_USER_DEFINE_REF_FILTER = 1,
};

/// Windows of the spectrum display.
enum lib_dma_fft_window_type_t : std::uint32_t
{
    LIB_DMA_WINDOW_RECTANGLE = 0,
    LIB_DMA_WINDOW_HAMMING = 1,
    LIB_DMA_WINDOW_HANN = 2,
    LIB_DMA_WINDOW_GAUSSIAN = 3,
    LIB_DMA_WINDOW_KAISER_BESSEL = 4,
    LIB_DMA_WINDOW_BLACKMAN = 5,
    LIB_DMA_WINDOW_BLACKMAN_HARRIS = 6,
    LIB_DMA_WINDOW_FLATTOP = 7,
    LIB_DMA_WINDOW_GAUSSTOP = 8,
};

/// Whether the capture has its spectrum inverted.
enum lib_dma_spectrum_type_t : std::uint32_t
{
    LIB_DMA_SPECTRUM_MORMAL = 0,
    LIB_DMA_SPECTRUM_INVERT = 1,
};

/// What EVM and magnitude error are percent of.
enum lib_dma_evm_normalize_type_t : std::uint32_t
{
    LIB_DMA_EVM_NORMALIZE_RMS = 0,
    LIB_DMA_EVM_NORMALIZE_CONSTELLATION_MAX = 1,
};

/// Where the measurement offset counts from.
enum lib_dma_meas_offset_ref_t : std::uint32_t
{
    LIB_DMA_RELATIVE_TO_CAPTURE = 0,
    LIB_DMA_RELATIVE_TO_SYNC_PATTERN = 1,
};

/// Notation of the sync pattern.
enum lib_dma_sync_pattern_t : std::uint32_t
{
    LIB_DMA_SYNC_BIT_PATTERN = 0,
    LIB_DMA_SYNC_HEX_PATTERN = 1,
    LIB_DMA_SYNC_INT_PATTERN = 2,
};

/// Pseudo-random payload sequences.
enum lib_dma_payload_data_type_t : std::uint32_t
{
    LIB_DMA_PN7 = 0,
    LIB_DMA_PN9 = 1,
    LIB_DMA_PN15 = 2,
    LIB_DMA_PN23 = 3,
    LIB_DMA_PN31 = 4,
};

/// State of the analysis driver.
enum lib_dma_main_process_state_t : std::uint32_t
{
    LIB_DMA_PROCESS_STOP = 0,
    LIB_DMA_PROCESS_RUNNING = 1,
    LIB_DMA_PROCESS_UPDATE = 2,
    LIB_DMA_PROCESS_SUSPEND = 3,
};

/// The text of these enumerations is the enumerator's own name.
using common_lib::enum_entry_t;

/// Every enumerator of a type, rising in value.
template <typename enum_t>
std::span<const enum_entry_t<enum_t>> get_enum_entries() = delete;

template <>
DMA_DEMOD_EXPORT std::span<const enum_entry_t<lib_dma_modulation_type_t>> get_enum_entries();
template <>
DMA_DEMOD_EXPORT std::span<const enum_entry_t<lib_dma_psk_modulation_type_t>> get_enum_entries();
template <>
DMA_DEMOD_EXPORT std::span<const enum_entry_t<lib_dma_qam_modulation_type_t>> get_enum_entries();
template <>
DMA_DEMOD_EXPORT std::span<const enum_entry_t<lib_dma_fsk_modulation_type_t>> get_enum_entries();
template <>
DMA_DEMOD_EXPORT std::span<const enum_entry_t<lib_dma_msk_modulation_type_t>> get_enum_entries();
template <>
DMA_DEMOD_EXPORT std::span<const enum_entry_t<lib_dma_ask_modulation_type_t>> get_enum_entries();
template <>
DMA_DEMOD_EXPORT std::span<const enum_entry_t<lib_dma_apsk_modulation_type_t>> get_enum_entries();
template <>
DMA_DEMOD_EXPORT std::span<const enum_entry_t<lib_dma_dpsk_modulation_type_t>> get_enum_entries();
template <>
DMA_DEMOD_EXPORT std::span<const enum_entry_t<lib_dma_oqpsk_modulation_type_t>> get_enum_entries();
template <>
DMA_DEMOD_EXPORT std::span<const enum_entry_t<lib_dma_vsb_modulation_type_t>> get_enum_entries();
template <>
DMA_DEMOD_EXPORT std::span<const enum_entry_t<lib_dma_custom_modulation_type_t>> get_enum_entries();
template <>
DMA_DEMOD_EXPORT std::span<const enum_entry_t<lib_dma_other_modulation_type_t>> get_enum_entries();
template <>
DMA_DEMOD_EXPORT std::span<const enum_entry_t<lib_dma_cpm_index_type_t>> get_enum_entries();
template <>
DMA_DEMOD_EXPORT std::span<const enum_entry_t<lib_dma_fsk_deviation_type_t>> get_enum_entries();
template <>
DMA_DEMOD_EXPORT std::span<const enum_entry_t<lib_dma_point_per_symbol_type_t>> get_enum_entries();
template <>
DMA_DEMOD_EXPORT std::span<const enum_entry_t<lib_dma_filter_group_type_t>> get_enum_entries();
template <>
DMA_DEMOD_EXPORT std::span<const enum_entry_t<lib_dma_meas_filter_type_t>> get_enum_entries();
template <>
DMA_DEMOD_EXPORT std::span<const enum_entry_t<lib_dma_ref_filter_type_t>> get_enum_entries();
template <>
DMA_DEMOD_EXPORT std::span<const enum_entry_t<lib_dma_user_define_filter_type_t>> get_enum_entries();
template <>
DMA_DEMOD_EXPORT std::span<const enum_entry_t<lib_dma_fft_window_type_t>> get_enum_entries();
template <>
DMA_DEMOD_EXPORT std::span<const enum_entry_t<lib_dma_spectrum_type_t>> get_enum_entries();
template <>
DMA_DEMOD_EXPORT std::span<const enum_entry_t<lib_dma_evm_normalize_type_t>> get_enum_entries();
template <>
DMA_DEMOD_EXPORT std::span<const enum_entry_t<lib_dma_meas_offset_ref_t>> get_enum_entries();
template <>
DMA_DEMOD_EXPORT std::span<const enum_entry_t<lib_dma_sync_pattern_t>> get_enum_entries();
template <>
DMA_DEMOD_EXPORT std::span<const enum_entry_t<lib_dma_payload_data_type_t>> get_enum_entries();
template <>
DMA_DEMOD_EXPORT std::span<const enum_entry_t<lib_dma_main_process_state_t>> get_enum_entries();

/// @return the enumerator's name, empty for a value without one
template <typename enum_t>
std::string_view get_enum_text(enum_t value)
{
    for (const enum_entry_t<enum_t>& entry : get_enum_entries<enum_t>())
    {
        if (entry.value == value)
            return entry.text;
    }
    return {};
}

/// @param[out] value  written only when the text is an enumerator's name
/// @return false for any other text
template <typename enum_t>
bool get_enum_value(std::string_view text, enum_t& value)
{
    for (const enum_entry_t<enum_t>& entry : get_enum_entries<enum_t>())
    {
        if (entry.text == text)
        {
            value = entry.value;
            return true;
        }
    }
    return false;
}
} // namespace vrim::dma_demod_lib
