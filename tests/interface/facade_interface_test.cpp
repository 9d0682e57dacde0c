#include <dma_demod.h>

#include "interface_check.h"

#include <concepts>
#include <type_traits>

using namespace vrim;
using namespace vrim::dma_demod_lib;

static_assert(std::regular<cfg_dma_frame_t>);
static_assert(std::is_constructible_v<cfg_dma_time_t, lib_dma_frame_configure_manager_t&>);
static_assert(std::is_constructible_v<cfg_dma_filter_t, lib_dma_frame_configure_manager_t&>);
static_assert(std::is_constructible_v<cfg_dma_format_t, lib_dma_frame_configure_manager_t&>);
static_assert(std::is_constructible_v<cfg_dma_advance_t, lib_dma_frame_configure_manager_t&>);
static_assert(std::is_constructible_v<cfg_dma_recall_demod_info_t, lib_dma_frame_configure_manager_t&>);
static_assert(std::is_constructible_v<cfg_dma_segment_t, lib_dma_frame_configure_manager_t&>);

TEST(CfgDmaTimeInterface, OffersItsOperations)
{
    offers<void()>(&cfg_dma_time_t::init);
    offers<bool(std::uint32_t)>(&cfg_dma_time_t::set_current_segment_index);
    offers<bool(std::uint32_t)>(&cfg_dma_time_t::set_meas_interval);
    offers<bool(std::int32_t)>(&cfg_dma_time_t::set_meas_offset);
    offers<bool(lib_dma_meas_offset_ref_t)>(&cfg_dma_time_t::set_meas_offset_reference);
    offers<std::uint32_t() const>(&cfg_dma_time_t::get_meas_interval);
    offers<std::int32_t() const>(&cfg_dma_time_t::get_meas_offset);
    offers<lib_dma_meas_offset_ref_t() const>(&cfg_dma_time_t::get_meas_offset_reference);
}

TEST(CfgDmaFilterInterface, OffersItsOperations)
{
    offers<void()>(&cfg_dma_filter_t::init);
    offers<bool(std::uint32_t)>(&cfg_dma_filter_t::set_current_segment_index);
    offers<bool(std::uint32_t)>(&cfg_dma_filter_t::set_filter_length);
    offers<bool(lib_dma_meas_filter_type_t)>(&cfg_dma_filter_t::set_meas_filter_type);
    offers<bool(lib_dma_ref_filter_type_t)>(&cfg_dma_filter_t::set_ref_filter_type);
    offers<bool(float)>(&cfg_dma_filter_t::set_filter_alpha);
    offers<bool(float)>(&cfg_dma_filter_t::set_filter_beta);
    offers<bool(lib_dma_user_define_filter_type_t)>(&cfg_dma_filter_t::set_user_define_filter_type);
    offers<bool(float)>(&cfg_dma_filter_t::set_user_define_filter_coef);
    offers<std::uint32_t() const>(&cfg_dma_filter_t::get_filter_length);
    offers<lib_dma_meas_filter_type_t() const>(&cfg_dma_filter_t::get_meas_filter_type);
    offers<lib_dma_ref_filter_type_t() const>(&cfg_dma_filter_t::get_ref_filter_type);
    offers<float() const>(&cfg_dma_filter_t::get_filter_alpha);
    offers<float() const>(&cfg_dma_filter_t::get_filter_beta);
    offers<lib_dma_user_define_filter_type_t() const>(&cfg_dma_filter_t::get_user_define_filter_type);
    offers<float() const>(&cfg_dma_filter_t::get_user_define_filter_coef);
}

TEST(CfgDmaAdvanceInterface, OffersItsOperations)
{
    offers<void()>(&cfg_dma_advance_t::init);
    offers<bool(std::uint32_t)>(&cfg_dma_advance_t::set_current_segment_index);
    offers<bool(double)>(&cfg_dma_advance_t::set_equalizer_coef);
    offers<bool(bool)>(&cfg_dma_advance_t::set_equalizer);
    offers<bool(std::uint32_t)>(&cfg_dma_advance_t::set_equalizer_filter_len);
    offers<bool(std::uint32_t)>(&cfg_dma_advance_t::set_average_move_len);
    offers<bool(bool)>(&cfg_dma_advance_t::set_hold);
    offers<bool(lib_dma_fft_window_type_t)>(&cfg_dma_advance_t::set_fft_window);
    offers<bool(bool)>(&cfg_dma_advance_t::set_multi_carrier_filter);
    offers<bool(lib_dma_spectrum_type_t)>(&cfg_dma_advance_t::set_spectrum_type);
    offers<bool(bool)>(&cfg_dma_advance_t::set_gain_imb_quad_skew_couping);
    offers<bool(float)>(&cfg_dma_advance_t::set_clock_adjust);
    offers<bool(float)>(&cfg_dma_advance_t::set_iq_rotation);
    offers<bool(bool)>(&cfg_dma_advance_t::set_iq_normalize);
    offers<bool(bool)>(&cfg_dma_advance_t::set_low_snr_enhancement);
    offers<bool(lib_dma_evm_normalize_type_t)>(&cfg_dma_advance_t::set_evm_normalization_ref);
    offers<bool(bool)>(&cfg_dma_advance_t::set_iq_offset_compensation);
    offers<double() const>(&cfg_dma_advance_t::get_equalizer_coef);
    offers<bool() const>(&cfg_dma_advance_t::get_equalizer);
    offers<std::uint32_t() const>(&cfg_dma_advance_t::get_equalizer_filter_len);
    offers<std::uint32_t() const>(&cfg_dma_advance_t::get_average_move_len);
    offers<bool() const>(&cfg_dma_advance_t::get_hold);
    offers<lib_dma_fft_window_type_t() const>(&cfg_dma_advance_t::get_fft_window);
    offers<bool() const>(&cfg_dma_advance_t::get_multi_carrier_filter);
    offers<lib_dma_spectrum_type_t() const>(&cfg_dma_advance_t::get_spectrum_type);
    offers<bool() const>(&cfg_dma_advance_t::get_gain_imb_quad_skew_couping);
    offers<float() const>(&cfg_dma_advance_t::get_clock_adjust);
    offers<float() const>(&cfg_dma_advance_t::get_iq_rotation);
    offers<bool() const>(&cfg_dma_advance_t::get_iq_normalize);
    offers<bool() const>(&cfg_dma_advance_t::get_low_snr_enhancement);
    offers<lib_dma_evm_normalize_type_t() const>(&cfg_dma_advance_t::get_evm_normalization_ref);
    offers<bool() const>(&cfg_dma_advance_t::get_iq_offset_compensation);
}

TEST(CfgDmaFormatInterface, OffersItsOperations)
{
    offers<void()>(&cfg_dma_format_t::init);
    offers<bool(std::uint32_t)>(&cfg_dma_format_t::set_current_segment_index);
    offers<bool(lib_dma_modulation_type_t)>(&cfg_dma_format_t::set_format_group);
    offers<bool(lib_dma_psk_modulation_type_t)>(&cfg_dma_format_t::set_psk_format);
    offers<bool(lib_dma_qam_modulation_type_t)>(&cfg_dma_format_t::set_qam_format);
    offers<bool(lib_dma_fsk_modulation_type_t)>(&cfg_dma_format_t::set_fsk_format);
    offers<bool(lib_dma_msk_modulation_type_t)>(&cfg_dma_format_t::set_msk_format);
    offers<bool(lib_dma_ask_modulation_type_t)>(&cfg_dma_format_t::set_ask_format);
    offers<bool(lib_dma_apsk_modulation_type_t)>(&cfg_dma_format_t::set_apsk_format);
    offers<bool(lib_dma_dpsk_modulation_type_t)>(&cfg_dma_format_t::set_dpsk_format);
    offers<bool(lib_dma_oqpsk_modulation_type_t)>(&cfg_dma_format_t::set_oqpsk_format);
    offers<bool(lib_dma_vsb_modulation_type_t)>(&cfg_dma_format_t::set_vsb_format);
    offers<bool(lib_dma_custom_modulation_type_t)>(&cfg_dma_format_t::set_custom_iq_format);
    offers<bool(lib_dma_other_modulation_type_t)>(&cfg_dma_format_t::set_other_format);
    offers<bool(float)>(&cfg_dma_format_t::set_fsk_tx_freq_offset);
    offers<bool(lib_dma_fsk_deviation_type_t)>(&cfg_dma_format_t::set_fsk_deviation_ref);
    offers<bool(float)>(&cfg_dma_format_t::set_apsk_r2_r1);
    offers<bool(float)>(&cfg_dma_format_t::set_apsk_r3_r1);
    offers<bool(bool)>(&cfg_dma_format_t::set_cpm_auto);
    offers<bool(lib_dma_cpm_index_type_t)>(&cfg_dma_format_t::set_cpm_index);
    offers<bool(bool)>(&cfg_dma_format_t::set_msk_dfas);
    offers<bool(bool)>(&cfg_dma_format_t::set_oqpsk_alig_iq);
    offers<bool(float)>(&cfg_dma_format_t::set_custom_iq_sync_persistence_target);
    offers<bool(float)>(&cfg_dma_format_t::set_custom_iq_phase_rotation);
    offers<bool(bool)>(&cfg_dma_format_t::set_custom_iq_shift);
    offers<bool(bool)>(&cfg_dma_format_t::set_custom_iq_diff);
    offers<bool(bool)>(&cfg_dma_format_t::set_custom_iq_offset);
    offers<bool(std::uint64_t)>(&cfg_dma_format_t::set_symbol_rate);
    offers<bool(lib_dma_point_per_symbol_type_t)>(&cfg_dma_format_t::set_points_per_symbol);
    offers<std::int32_t(std::uint32_t, common_lib::lib_constellation_normalize_type_t)>(
        &cfg_dma_format_t::set_constellation_sym_index);
    offers<bool(constellation_map)>(&cfg_dma_format_t::set_const_iq_map_data);
    offers<lib_dma_modulation_type_t() const>(&cfg_dma_format_t::get_format_group);
    offers<lib_dma_psk_modulation_type_t() const>(&cfg_dma_format_t::get_psk_format);
    offers<lib_dma_qam_modulation_type_t() const>(&cfg_dma_format_t::get_qam_format);
    offers<lib_dma_fsk_modulation_type_t() const>(&cfg_dma_format_t::get_fsk_format);
    offers<lib_dma_msk_modulation_type_t() const>(&cfg_dma_format_t::get_msk_format);
    offers<lib_dma_ask_modulation_type_t() const>(&cfg_dma_format_t::get_ask_format);
    offers<lib_dma_apsk_modulation_type_t() const>(&cfg_dma_format_t::get_apsk_format);
    offers<lib_dma_dpsk_modulation_type_t() const>(&cfg_dma_format_t::get_dpsk_format);
    offers<lib_dma_oqpsk_modulation_type_t() const>(&cfg_dma_format_t::get_oqpsk_format);
    offers<lib_dma_vsb_modulation_type_t() const>(&cfg_dma_format_t::get_vsb_format);
    offers<lib_dma_custom_modulation_type_t() const>(&cfg_dma_format_t::get_custom_iq_format);
    offers<lib_dma_other_modulation_type_t() const>(&cfg_dma_format_t::get_other_format);
    offers<float() const>(&cfg_dma_format_t::get_fsk_tx_freq_offset);
    offers<lib_dma_fsk_deviation_type_t() const>(&cfg_dma_format_t::get_fsk_deviation_ref);
    offers<float() const>(&cfg_dma_format_t::get_apsk_r2_r1);
    offers<float() const>(&cfg_dma_format_t::get_apsk_r3_r1);
    offers<bool() const>(&cfg_dma_format_t::get_cpm_auto);
    offers<lib_dma_cpm_index_type_t() const>(&cfg_dma_format_t::get_cpm_index);
    offers<std::string() const>(&cfg_dma_format_t::get_cpm_index_string);
    offers<bool() const>(&cfg_dma_format_t::get_msk_dfas);
    offers<bool() const>(&cfg_dma_format_t::get_oqpsk_alig_iq);
    offers<float() const>(&cfg_dma_format_t::get_custom_iq_sync_persistence_target);
    offers<float() const>(&cfg_dma_format_t::get_custom_iq_phase_rotation);
    offers<bool() const>(&cfg_dma_format_t::get_custom_iq_shift);
    offers<bool() const>(&cfg_dma_format_t::get_custom_iq_diff);
    offers<bool() const>(&cfg_dma_format_t::get_custom_iq_offset);
    offers<std::uint64_t() const>(&cfg_dma_format_t::get_symbol_rate);
    offers<lib_dma_point_per_symbol_type_t() const>(&cfg_dma_format_t::get_points_per_symbol);
    offers<std::uint32_t() const>(&cfg_dma_format_t::get_constellation_sym_index);
    offers<constellation_map() const>(&cfg_dma_format_t::get_const_iq_map_data);
    offers<constellation_map()>(&cfg_dma_format_t::get_preset_mod_constellation_info);
}

TEST(CfgDmaRecallDemodInfoInterface, OffersItsOperations)
{
    offers<void()>(&cfg_dma_recall_demod_info_t::init);
    offers<bool(std::uint32_t)>(&cfg_dma_recall_demod_info_t::set_current_segment_index);
    offers<bool(const bit_array&)>(&cfg_dma_recall_demod_info_t::set_tx_pattern);
    offers<bool(bool)>(&cfg_dma_recall_demod_info_t::set_ber_state);
    offers<bool(std::uint32_t)>(&cfg_dma_recall_demod_info_t::set_total_bits_len);
    offers<bool(lib_dma_payload_data_type_t)>(&cfg_dma_recall_demod_info_t::set_payload_data_type);
    offers<const bit_array&() const>(&cfg_dma_recall_demod_info_t::get_tx_pattern);
    offers<bool() const>(&cfg_dma_recall_demod_info_t::get_ber_state);
    offers<std::uint32_t() const>(&cfg_dma_recall_demod_info_t::get_total_bits_len);
    offers<lib_dma_payload_data_type_t() const>(&cfg_dma_recall_demod_info_t::get_payload_data_type);
}

TEST(CfgDmaSegmentInterface, OffersItsOperations)
{
    offers<void()>(&cfg_dma_segment_t::init);
    offers<bool(std::uint32_t)>(&cfg_dma_segment_t::set_current_segment_index);
    offers<cfg_dma_time_t&()>(&cfg_dma_segment_t::get_time_cfg);
    offers<const cfg_dma_time_t&() const>(&cfg_dma_segment_t::get_time_cfg);
    offers<cfg_dma_advance_t&()>(&cfg_dma_segment_t::get_advance_cfg);
    offers<const cfg_dma_advance_t&() const>(&cfg_dma_segment_t::get_advance_cfg);
    offers<cfg_dma_filter_t&()>(&cfg_dma_segment_t::get_filter_cfg);
    offers<const cfg_dma_filter_t&() const>(&cfg_dma_segment_t::get_filter_cfg);
    offers<cfg_dma_format_t&()>(&cfg_dma_segment_t::get_format_cfg);
    offers<const cfg_dma_format_t&() const>(&cfg_dma_segment_t::get_format_cfg);
    offers<cfg_dma_recall_demod_info_t&()>(&cfg_dma_segment_t::get_recall_demod_info_cfg);
    offers<const cfg_dma_recall_demod_info_t&() const>(&cfg_dma_segment_t::get_recall_demod_info_cfg);
    offers<const lib_dma_segment_configure_manager_t&() const>(&cfg_dma_segment_t::get_segment_manager);
}

TEST(CfgDmaFrameInterface, OffersItsOperations)
{
    offers<void()>(&cfg_dma_frame_t::init);
    offers<void()>(&cfg_dma_frame_t::reset);
    offers<const lib_dma_frame_configure_manager_t&() const>(&cfg_dma_frame_t::get_frame_manager);
    offers<cfg_dma_segment_t&(std::uint32_t)>(&cfg_dma_frame_t::get_segment);
    offers<void()>(&cfg_dma_frame_t::add_segment);
    offers<bool(std::uint32_t)>(&cfg_dma_frame_t::remove_segment);
    offers<bool(std::uint32_t)>(&cfg_dma_frame_t::set_segment_number);
    offers<bool(std::uint32_t)>(&cfg_dma_frame_t::set_current_segment_index);
    offers<bool(double)>(&cfg_dma_frame_t::set_search_length);
    offers<bool(bool)>(&cfg_dma_frame_t::set_burst_search);
    offers<bool(float)>(&cfg_dma_frame_t::set_burst_search_threshold);
    offers<bool(float)>(&cfg_dma_frame_t::set_sync_offset);
    offers<bool(lib_dma_sync_pattern_t)>(&cfg_dma_frame_t::set_sync_pattern_type);
    offers<bool(std::string)>(&cfg_dma_frame_t::set_sync_pattern_bit);
    offers<bool(std::string)>(&cfg_dma_frame_t::set_sync_pattern_hex);
    offers<bool(std::uint32_t)>(&cfg_dma_frame_t::set_sync_pattern_int);
    offers<bool(bool)>(&cfg_dma_frame_t::set_sync_search);
    offers<bool(bool)>(&cfg_dma_frame_t::set_enable_mannual_data_sample_rate);
    offers<void(double)>(&cfg_dma_frame_t::set_mannual_data_sample_rate);
    offers<bool(std::uint64_t)>(&cfg_dma_frame_t::set_bandwidth);
    offers<std::uint32_t()>(&cfg_dma_frame_t::get_segment_number);
    offers<std::uint32_t() const>(&cfg_dma_frame_t::get_segment_number);
    offers<std::uint32_t() const>(&cfg_dma_frame_t::get_current_segment_index);
    offers<double() const>(&cfg_dma_frame_t::get_search_length);
    offers<bool() const>(&cfg_dma_frame_t::get_burst_search);
    offers<float() const>(&cfg_dma_frame_t::get_burst_search_threshold);
    offers<float() const>(&cfg_dma_frame_t::get_sync_offset);
    offers<lib_dma_sync_pattern_t() const>(&cfg_dma_frame_t::get_sync_pattern_type);
    offers<const std::string&() const>(&cfg_dma_frame_t::get_sync_pattern_bit);
    offers<const std::string&() const>(&cfg_dma_frame_t::get_sync_pattern_hex);
    offers<std::uint32_t() const>(&cfg_dma_frame_t::get_sync_pattern_int);
    offers<bit_array() const>(&cfg_dma_frame_t::get_sync_pattern_bitarr);
    offers<bool() const>(&cfg_dma_frame_t::get_sync_search);
    offers<bool() const>(&cfg_dma_frame_t::get_enable_mannual_data_sample_rate);
    offers<double() const>(&cfg_dma_frame_t::get_mannual_data_sample_rate);
    offers<std::uint64_t() const>(&cfg_dma_frame_t::get_bandwidth);
    offers<bool(std::uint32_t, lib_dma_demod_config_mgr&) const>(&cfg_dma_frame_t::cal_preprocess_param);
    offers<bool(std::uint64_t, double&, std::uint64_t&) const>(&cfg_dma_frame_t::cal_demod_data_len);
    offers<bool(pugi::xml_node&)>(&cfg_dma_frame_t::save_dma_setting);
    offers<bool(const pugi::xml_node&)>(&cfg_dma_frame_t::recall_dma_setting);
}
