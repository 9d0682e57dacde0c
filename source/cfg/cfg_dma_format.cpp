#include "cfg/cfg_dma_format.h"

#include "cfg/internal/cfg_dma_cursor.h"

#include <string_view>

namespace vrim::dma_demod_lib
{
namespace
{
constexpr std::string_view null_words = "cfg_dma_format_t::set_current_segment_index null ptr!";
} // namespace

cfg_dma_format_t::cfg_dma_format_t(lib_dma_frame_configure_manager_t& frame) : frame_(&frame)
{
    init();
}

void cfg_dma_format_t::init()
{
    current_segment_index_ = 0;
    is_segment_there(frame_, current_segment_index_, null_words, leaf_range_words);
}

bool cfg_dma_format_t::set_current_segment_index(std::uint32_t index)
{
    if (!is_segment_there(frame_, index, null_words, leaf_range_words))
        return false;
    current_segment_index_ = index;
    return true;
}

bool cfg_dma_format_t::set_format_group(lib_dma_modulation_type_t value)
{
    _deal_iq_offset_compensation(value, get_msk_format());
    return _get_dma_format_manager().set_format_group(value);
}

bool cfg_dma_format_t::set_psk_format(lib_dma_psk_modulation_type_t value)
{
    return _get_dma_format_manager().set_psk_format(value);
}

bool cfg_dma_format_t::set_qam_format(lib_dma_qam_modulation_type_t value)
{
    return _get_dma_format_manager().set_qam_format(value);
}

bool cfg_dma_format_t::set_fsk_format(lib_dma_fsk_modulation_type_t value)
{
    return _get_dma_format_manager().set_fsk_format(value);
}

bool cfg_dma_format_t::set_msk_format(lib_dma_msk_modulation_type_t value)
{
    _deal_iq_offset_compensation(get_format_group(), value);
    return _get_dma_format_manager().set_msk_format(value);
}

bool cfg_dma_format_t::set_ask_format(lib_dma_ask_modulation_type_t value)
{
    return _get_dma_format_manager().set_ask_format(value);
}

bool cfg_dma_format_t::set_apsk_format(lib_dma_apsk_modulation_type_t value)
{
    return _get_dma_format_manager().set_apsk_format(value);
}

bool cfg_dma_format_t::set_dpsk_format(lib_dma_dpsk_modulation_type_t value)
{
    return _get_dma_format_manager().set_dpsk_format(value);
}

bool cfg_dma_format_t::set_oqpsk_format(lib_dma_oqpsk_modulation_type_t value)
{
    return _get_dma_format_manager().set_oqpsk_format(value);
}

bool cfg_dma_format_t::set_vsb_format(lib_dma_vsb_modulation_type_t value)
{
    return _get_dma_format_manager().set_vsb_format(value);
}

bool cfg_dma_format_t::set_custom_iq_format(lib_dma_custom_modulation_type_t value)
{
    return _get_dma_format_manager().set_custom_iq_format(value);
}

bool cfg_dma_format_t::set_other_format(lib_dma_other_modulation_type_t value)
{
    return _get_dma_format_manager().set_other_format(value);
}

bool cfg_dma_format_t::set_fsk_tx_freq_offset(float value)
{
    return _get_dma_format_manager().set_fsk_tx_freq_offset(value);
}

bool cfg_dma_format_t::set_fsk_deviation_ref(lib_dma_fsk_deviation_type_t value)
{
    return _get_dma_format_manager().set_fsk_deviation_ref(value);
}

bool cfg_dma_format_t::set_apsk_r2_r1(float value)
{
    return _get_dma_format_manager().set_apsk_r2_r1(value);
}

bool cfg_dma_format_t::set_apsk_r3_r1(float value)
{
    return _get_dma_format_manager().set_apsk_r3_r1(value);
}

bool cfg_dma_format_t::set_cpm_auto(bool value)
{
    return _get_dma_format_manager().set_cpm_auto(value);
}

bool cfg_dma_format_t::set_cpm_index(lib_dma_cpm_index_type_t value)
{
    return _get_dma_format_manager().set_cpm_index(value);
}

bool cfg_dma_format_t::set_msk_dfas(bool value)
{
    return _get_dma_format_manager().set_msk_dfas(value);
}

bool cfg_dma_format_t::set_oqpsk_alig_iq(bool value)
{
    return _get_dma_format_manager().set_oqpsk_alig_iq(value);
}

bool cfg_dma_format_t::set_custom_iq_sync_persistence_target(float value)
{
    return _get_dma_format_manager().set_custom_iq_sync_persistence_target(value);
}

bool cfg_dma_format_t::set_custom_iq_phase_rotation(float value)
{
    return _get_dma_format_manager().set_custom_iq_phase_rotation(value);
}

bool cfg_dma_format_t::set_custom_iq_shift(bool value)
{
    return _get_dma_format_manager().set_custom_iq_shift(value);
}

bool cfg_dma_format_t::set_custom_iq_diff(bool value)
{
    return _get_dma_format_manager().set_custom_iq_diff(value);
}

bool cfg_dma_format_t::set_custom_iq_offset(bool value)
{
    return _get_dma_format_manager().set_custom_iq_offset(value);
}

bool cfg_dma_format_t::set_symbol_rate(std::uint64_t value)
{
    return _get_dma_format_manager().set_symbol_rate(value);
}

bool cfg_dma_format_t::set_points_per_symbol(lib_dma_point_per_symbol_type_t value)
{
    return _get_dma_format_manager().set_points_per_symbol(value);
}

std::int32_t cfg_dma_format_t::set_constellation_sym_index(std::uint32_t index,
                                                           common_lib::lib_constellation_normalize_type_t normalize_type)
{
    return _get_dma_format_manager().set_constellation_sym_index(index, normalize_type);
}

bool cfg_dma_format_t::set_const_iq_map_data(constellation_map map)
{
    return _get_dma_format_manager().set_const_iq_map_data(map);
}

lib_dma_modulation_type_t cfg_dma_format_t::get_format_group() const
{
    return _get_dma_format_manager().get_format_group();
}

lib_dma_psk_modulation_type_t cfg_dma_format_t::get_psk_format() const
{
    return _get_dma_format_manager().get_psk_format();
}

lib_dma_qam_modulation_type_t cfg_dma_format_t::get_qam_format() const
{
    return _get_dma_format_manager().get_qam_format();
}

lib_dma_fsk_modulation_type_t cfg_dma_format_t::get_fsk_format() const
{
    return _get_dma_format_manager().get_fsk_format();
}

lib_dma_msk_modulation_type_t cfg_dma_format_t::get_msk_format() const
{
    return _get_dma_format_manager().get_msk_format();
}

lib_dma_ask_modulation_type_t cfg_dma_format_t::get_ask_format() const
{
    return _get_dma_format_manager().get_ask_format();
}

lib_dma_apsk_modulation_type_t cfg_dma_format_t::get_apsk_format() const
{
    return _get_dma_format_manager().get_apsk_format();
}

lib_dma_dpsk_modulation_type_t cfg_dma_format_t::get_dpsk_format() const
{
    return _get_dma_format_manager().get_dpsk_format();
}

lib_dma_oqpsk_modulation_type_t cfg_dma_format_t::get_oqpsk_format() const
{
    return _get_dma_format_manager().get_oqpsk_format();
}

lib_dma_vsb_modulation_type_t cfg_dma_format_t::get_vsb_format() const
{
    return _get_dma_format_manager().get_vsb_format();
}

lib_dma_custom_modulation_type_t cfg_dma_format_t::get_custom_iq_format() const
{
    return _get_dma_format_manager().get_custom_iq_format();
}

lib_dma_other_modulation_type_t cfg_dma_format_t::get_other_format() const
{
    return _get_dma_format_manager().get_other_format();
}

float cfg_dma_format_t::get_fsk_tx_freq_offset() const
{
    return _get_dma_format_manager().get_fsk_tx_freq_offset();
}

lib_dma_fsk_deviation_type_t cfg_dma_format_t::get_fsk_deviation_ref() const
{
    return _get_dma_format_manager().get_fsk_deviation_ref();
}

float cfg_dma_format_t::get_apsk_r2_r1() const
{
    return _get_dma_format_manager().get_apsk_r2_r1();
}

float cfg_dma_format_t::get_apsk_r3_r1() const
{
    return _get_dma_format_manager().get_apsk_r3_r1();
}

bool cfg_dma_format_t::get_cpm_auto() const
{
    return _get_dma_format_manager().get_cpm_auto();
}

lib_dma_cpm_index_type_t cfg_dma_format_t::get_cpm_index() const
{
    return _get_dma_format_manager().get_cpm_index();
}

std::string cfg_dma_format_t::get_cpm_index_string() const
{
    return _get_dma_format_manager().get_cpm_index_string();
}

bool cfg_dma_format_t::get_msk_dfas() const
{
    return _get_dma_format_manager().get_msk_dfas();
}

bool cfg_dma_format_t::get_oqpsk_alig_iq() const
{
    return _get_dma_format_manager().get_oqpsk_alig_iq();
}

float cfg_dma_format_t::get_custom_iq_sync_persistence_target() const
{
    return _get_dma_format_manager().get_custom_iq_sync_persistence_target();
}

float cfg_dma_format_t::get_custom_iq_phase_rotation() const
{
    return _get_dma_format_manager().get_custom_iq_phase_rotation();
}

bool cfg_dma_format_t::get_custom_iq_shift() const
{
    return _get_dma_format_manager().get_custom_iq_shift();
}

bool cfg_dma_format_t::get_custom_iq_diff() const
{
    return _get_dma_format_manager().get_custom_iq_diff();
}

bool cfg_dma_format_t::get_custom_iq_offset() const
{
    return _get_dma_format_manager().get_custom_iq_offset();
}

std::uint64_t cfg_dma_format_t::get_symbol_rate() const
{
    return _get_dma_format_manager().get_symbol_rate();
}

lib_dma_point_per_symbol_type_t cfg_dma_format_t::get_points_per_symbol() const
{
    return _get_dma_format_manager().get_points_per_symbol();
}

std::uint32_t cfg_dma_format_t::get_constellation_sym_index() const
{
    return _get_dma_format_manager().get_constellation_sym_index();
}

constellation_map cfg_dma_format_t::get_const_iq_map_data() const
{
    return _get_dma_format_manager().get_const_iq_map_data();
}

constellation_map cfg_dma_format_t::get_preset_mod_constellation_info()
{
    return _get_dma_format_manager().get_preset_mod_constellation_info(common_lib::constellation_normalize_rms);
}

lib_dma_format_configure_manager_t& cfg_dma_format_t::_get_dma_format_manager() const
{
    return frame_->get_segment(current_segment_index_).get_format_configure();
}

void cfg_dma_format_t::_deal_iq_offset_compensation(lib_dma_modulation_type_t group, lib_dma_msk_modulation_type_t msk_type)
{
    // The record turns "on" into "off" for the one format that cannot have it.
    lib_dma_segment_configure_manager_t& segment = frame_->get_segment(current_segment_index_);
    segment.get_advance_configure().set_iq_offset_compensation(group, msk_type, true);
}
} // namespace vrim::dma_demod_lib
