#pragma once

#include "dma_export.h"
#include "dma_types.h"
#include "lib_dma_cfg_manager/lib_dma_enum.h"
#include "support/lib_constellation.h"

#include <complex>
#include <cstdint>
#include <map>
#include <string>

namespace vrim::dma_demod_lib
{
/// A constellation point with its polar form.
struct constellation_info_t
{
    std::complex<float> iq;
    float amplitude = 0.0f;
    float phase = 0.0f; ///< radians, -pi to pi
};

/// What a segment's signal is: group, format of each group, rates, and the constellation that the symbols are decided on.
///
/// Setters clamp silently and return true unless said otherwise. The per-group format setters leave the constellation as it
/// is; it is made anew when the group changes and on request.
class DMA_DEMOD_EXPORT lib_dma_format_configure_manager_t
{
public:
    /// Starts with the constellation of the default format.
    lib_dma_format_configure_manager_t();
    /// Restores the defaults.
    void init();
    bool operator==(const lib_dma_format_configure_manager_t&) const = default;

    /// Stores the group and makes the group's constellation at unit rms, empty for a group that has none. Offset QPSK also
    /// rounds the points per symbol as `set_points_per_symbol` does.
    bool set_format_group(lib_dma_modulation_type_t value);
    bool set_psk_format(lib_dma_psk_modulation_type_t value);
    bool set_qam_format(lib_dma_qam_modulation_type_t value);
    bool set_fsk_format(lib_dma_fsk_modulation_type_t value);
    bool set_msk_format(lib_dma_msk_modulation_type_t value);
    bool set_ask_format(lib_dma_ask_modulation_type_t value);
    /// Sets the second ring's ratio to the format's standard value as well; the third ring's ratio stays.
    bool set_apsk_format(lib_dma_apsk_modulation_type_t value);
    bool set_dpsk_format(lib_dma_dpsk_modulation_type_t value);
    bool set_oqpsk_format(lib_dma_oqpsk_modulation_type_t value);
    bool set_vsb_format(lib_dma_vsb_modulation_type_t value);
    bool set_custom_iq_format(lib_dma_custom_modulation_type_t value);
    bool set_other_format(lib_dma_other_modulation_type_t value);
    /// Hz, -1e9 to 1e9.
    bool set_fsk_tx_freq_offset(float value);
    bool set_fsk_deviation_ref(lib_dma_fsk_deviation_type_t value);
    /// Radius of the second ring over that of the first, 1.25 to 8. With 32-APSK a ratio of a standard pair brings its partner.
    bool set_apsk_r2_r1(float value);
    /// Radius of the third ring over that of the first, 1.5625 to 10. With 32-APSK a ratio of a standard pair brings its partner.
    bool set_apsk_r3_r1(float value);
    bool set_cpm_auto(bool value);
    bool set_cpm_index(lib_dma_cpm_index_type_t value);
    bool set_msk_dfas(bool value);
    bool set_oqpsk_alig_iq(bool value);
    /// 0 to 1.
    bool set_custom_iq_sync_persistence_target(float value);
    /// Degrees, -360 to 360.
    bool set_custom_iq_phase_rotation(float value);
    bool set_custom_iq_shift(bool value);
    bool set_custom_iq_diff(bool value);
    bool set_custom_iq_offset(bool value);
    /// Symbols per second, 10,000 to 8,000,000,000.
    bool set_symbol_rate(std::uint64_t value);
    /// Offset QPSK has 2, 4, 10 and 20 only: there the value is rounded down to one of them, and 1 goes up to 2.
    bool set_points_per_symbol(lib_dma_point_per_symbol_type_t value);
    /// Replaces the constellation without a check.
    bool set_const_iq_map_data(const constellation_map& map);
    bool set_constellation_setting_flag(bool value);
    /// Adds a symbol, at 0 + 0i, to a map with a hole below its size and marks the constellation as set by the user.
    /// @param index           symbol index, below the count of points
    /// @param normalize_type  not used
    /// @return 0; -3, logged, for an index that is there; -2, logged, for an index out of range; -1, reported, when the new
    ///         count is no power of two; -4, reported, when two symbols have one point. The symbol stays after -1 and -4.
    std::int32_t set_constellation_sym_index(std::uint32_t index, common_lib::lib_constellation_normalize_type_t normalize_type);

    lib_dma_modulation_type_t get_format_group() const;
    lib_dma_psk_modulation_type_t get_psk_format() const;
    lib_dma_qam_modulation_type_t get_qam_format() const;
    lib_dma_fsk_modulation_type_t get_fsk_format() const;
    lib_dma_msk_modulation_type_t get_msk_format() const;
    lib_dma_ask_modulation_type_t get_ask_format() const;
    lib_dma_apsk_modulation_type_t get_apsk_format() const;
    lib_dma_dpsk_modulation_type_t get_dpsk_format() const;
    lib_dma_oqpsk_modulation_type_t get_oqpsk_format() const;
    lib_dma_vsb_modulation_type_t get_vsb_format() const;
    lib_dma_custom_modulation_type_t get_custom_iq_format() const;
    lib_dma_other_modulation_type_t get_other_format() const;
    float get_fsk_tx_freq_offset() const;
    lib_dma_fsk_deviation_type_t get_fsk_deviation_ref() const;
    float get_apsk_r2_r1() const;
    float get_apsk_r3_r1() const;
    bool get_cpm_auto() const;
    lib_dma_cpm_index_type_t get_cpm_index() const;
    /// The pair of modulation indices as text, blanks included; empty for a value outside the enumeration.
    std::string get_cpm_index_string() const;
    bool get_msk_dfas() const;
    bool get_oqpsk_alig_iq() const;
    float get_custom_iq_sync_persistence_target() const;
    float get_custom_iq_phase_rotation() const;
    bool get_custom_iq_shift() const;
    bool get_custom_iq_diff() const;
    bool get_custom_iq_offset() const;
    std::uint64_t get_symbol_rate() const;
    lib_dma_point_per_symbol_type_t get_points_per_symbol() const;
    constellation_map get_const_iq_map_data() const;
    bool get_constellation_setting_flag() const;
    std::uint32_t get_constellation_sym_index() const;

    /// Makes the preset constellation of the present group and format and stores it as this object's map as well.
    /// @param normalize_type  0 to unit rms, 2 to a largest amplitude of 1, any other value not at all
    /// @return the map; empty, logged (APSK: reported), for a format without a preset and for MSK, VSB, CUSTOM_IQ and OTHER
    constellation_map get_preset_mod_constellation_info(common_lib::lib_constellation_normalize_type_t normalize_type);

    /// Adds amplitude and phase to each point.
    static std::map<std::uint32_t, constellation_info_t> to_local_format(const constellation_map& map);
    /// Keeps the point of each entry.
    static constellation_map to_lib_format(const std::map<std::uint32_t, constellation_info_t>& info_map);

private:
    lib_dma_modulation_type_t format_group_ = LIB_DMA_GROUP_PSK;
    lib_dma_psk_modulation_type_t psk_format_ = LIB_DMA_MODULATION_PSK_BPSK;
    lib_dma_qam_modulation_type_t qam_format_ = LIB_DMA_QAM_16;
    lib_dma_fsk_modulation_type_t fsk_format_ = LIB_DMA_FSK_4;
    lib_dma_msk_modulation_type_t msk_format_ = LIB_DMA_MSK_TYPE1;
    lib_dma_ask_modulation_type_t ask_format_ = LIB_DMA_ASK_2;
    lib_dma_apsk_modulation_type_t apsk_format_ = LIB_DMA_APSK_16;
    lib_dma_dpsk_modulation_type_t dpsk_format_ = LIB_DMA_MODULATION_PSK_DBPSK;
    lib_dma_oqpsk_modulation_type_t oqpsk_format_ = LIB_DMA_MODULATION_PSK_OFFSET_QPSK;
    lib_dma_vsb_modulation_type_t vsb_format_ = LIB_DMA_VSB_8;
    lib_dma_custom_modulation_type_t custom_iq_format_ = LIB_DMA_CUSTOM_IQ;
    lib_dma_other_modulation_type_t other_format_ = LIB_DMA_OTHER_CPM;
    float fsk_tx_freq_offset_ = 0.0f;
    lib_dma_fsk_deviation_type_t fsk_deviation_ref_ = LIB_DMA_FSK_DEVIATION_NORMAL;
    float apsk_r2_r1_ = 2.85f;
    float apsk_r3_r1_ = 5.27f;
    bool cpm_auto_ = false;
    lib_dma_cpm_index_type_t cpm_index_ = LIB_DMA_CPM_INDEX_TYPE1;
    bool msk_dfas_ = true;
    bool oqpsk_alig_iq_ = false;
    float custom_iq_sync_persistence_target_ = 0.05f;
    float custom_iq_phase_rotation_ = 0.0f;
    bool custom_iq_shift_ = false;
    bool custom_iq_diff_ = false;
    bool custom_iq_offset_ = false;
    std::uint64_t symbol_rate_ = 10'000'000;
    lib_dma_point_per_symbol_type_t points_per_symbol_ = LIB_DMA_POINT4;
    constellation_map const_iq_map_; // the preset of the default format, made by the constructor
    bool constellation_setting_flag_ = false;
    std::uint32_t constellation_sym_index_ = 0; // kept for the settings files; nothing writes it
};
} // namespace vrim::dma_demod_lib
