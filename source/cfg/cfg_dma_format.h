#pragma once

#include "dma_export.h"
#include "dma_types.h"
#include "lib_dma_cfg_manager/lib_dma_enum.h"
#include "lib_dma_cfg_manager/lib_dma_format_configure_manager.h"
#include "lib_dma_cfg_manager/lib_dma_frame_configure_manager.h"
#include "support/lib_constellation.h"

#include <cstdint>
#include <string>

namespace vrim::dma_demod_lib
{
/// What the signal of the segment at the cursor is. Setters and getters go to the record of that segment, with its limits and
/// results; see `lib_dma_format_configure_manager_t`. A cursor past the last segment stands for the last.
///
/// Copies stand for the same frame, which has to live on.
class DMA_DEMOD_EXPORT cfg_dma_format_t
{
public:
    /// Stands on the first segment of `frame`.
    explicit cfg_dma_format_t(lib_dma_frame_configure_manager_t& frame);
    cfg_dma_format_t(const cfg_dma_format_t&) = default;
    cfg_dma_format_t& operator=(const cfg_dma_format_t&) = delete;
    ~cfg_dma_format_t() = default;

    /// Puts the cursor back on the first segment. The records stay.
    void init();
    /// @return false, after a report, for an index that the frame does not have; the cursor stays then
    bool set_current_segment_index(std::uint32_t index);

    /// Sets the I/Q offset compensation of the segment as well: off for type 1 of the group MSK, on for anything else, whatever
    /// it was set to before.
    bool set_format_group(lib_dma_modulation_type_t value);
    bool set_psk_format(lib_dma_psk_modulation_type_t value);
    bool set_qam_format(lib_dma_qam_modulation_type_t value);
    bool set_fsk_format(lib_dma_fsk_modulation_type_t value);
    /// Sets the I/Q offset compensation as `set_format_group` does.
    bool set_msk_format(lib_dma_msk_modulation_type_t value);
    bool set_ask_format(lib_dma_ask_modulation_type_t value);
    bool set_apsk_format(lib_dma_apsk_modulation_type_t value);
    bool set_dpsk_format(lib_dma_dpsk_modulation_type_t value);
    bool set_oqpsk_format(lib_dma_oqpsk_modulation_type_t value);
    bool set_vsb_format(lib_dma_vsb_modulation_type_t value);
    bool set_custom_iq_format(lib_dma_custom_modulation_type_t value);
    bool set_other_format(lib_dma_other_modulation_type_t value);
    bool set_fsk_tx_freq_offset(float value);
    bool set_fsk_deviation_ref(lib_dma_fsk_deviation_type_t value);
    bool set_apsk_r2_r1(float value);
    bool set_apsk_r3_r1(float value);
    bool set_cpm_auto(bool value);
    bool set_cpm_index(lib_dma_cpm_index_type_t value);
    bool set_msk_dfas(bool value);
    bool set_oqpsk_alig_iq(bool value);
    bool set_custom_iq_sync_persistence_target(float value);
    bool set_custom_iq_phase_rotation(float value);
    bool set_custom_iq_shift(bool value);
    bool set_custom_iq_diff(bool value);
    bool set_custom_iq_offset(bool value);
    bool set_symbol_rate(std::uint64_t value);
    bool set_points_per_symbol(lib_dma_point_per_symbol_type_t value);
    std::int32_t set_constellation_sym_index(std::uint32_t index, common_lib::lib_constellation_normalize_type_t normalize_type);
    bool set_const_iq_map_data(constellation_map map);

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
    std::uint32_t get_constellation_sym_index() const;
    constellation_map get_const_iq_map_data() const;

    /// Makes the preset constellation of the present group and format at unit rms and stores it as the map of the segment.
    constellation_map get_preset_mod_constellation_info();

private:
    lib_dma_format_configure_manager_t& _get_dma_format_manager() const;
    void _deal_iq_offset_compensation(lib_dma_modulation_type_t group, lib_dma_msk_modulation_type_t msk_type);

    lib_dma_frame_configure_manager_t* frame_;
    std::uint32_t current_segment_index_ = 0;
};
} // namespace vrim::dma_demod_lib
