#include <dma_demod.h>

#include "interface_check.h"

#include <concepts>
#include <type_traits>

using namespace vrim;
using namespace vrim::dma_demod_lib;

/// Default construction, copies, == and !=.
template <typename manager_t>
concept holds_values = std::regular<manager_t> && !std::is_polymorphic_v<manager_t>;

static_assert(holds_values<lib_dma_time_configure_manager_t>);
static_assert(holds_values<lib_dma_filter_configure_manager_t>);
static_assert(holds_values<lib_dma_advance_configure_manager_t>);
static_assert(holds_values<lib_dma_format_configure_manager_t>);
static_assert(holds_values<lib_dma_recall_demod_info_configure_manager_t>);
static_assert(holds_values<lib_dma_segment_configure_manager_t>);
static_assert(holds_values<lib_dma_frame_configure_manager_t>);
static_assert(std::is_constructible_v<lib_dma_recall_demod_info_configure_manager_t, lib_segment_level_info_t>);
static_assert(std::is_constructible_v<lib_dma_segment_configure_manager_t, lib_segment_level_info_t>);

template <typename... enum_t>
constexpr bool are_32_bit_enumerations = ((std::is_enum_v<enum_t> &&
                                           std::is_same_v<std::underlying_type_t<enum_t>, std::uint32_t>)&&...);
static_assert(
    are_32_bit_enumerations<
        lib_dma_modulation_type_t, lib_dma_psk_modulation_type_t, lib_dma_qam_modulation_type_t, lib_dma_fsk_modulation_type_t,
        lib_dma_msk_modulation_type_t, lib_dma_ask_modulation_type_t, lib_dma_apsk_modulation_type_t,
        lib_dma_dpsk_modulation_type_t, lib_dma_oqpsk_modulation_type_t, lib_dma_vsb_modulation_type_t,
        lib_dma_custom_modulation_type_t, lib_dma_other_modulation_type_t, lib_dma_cpm_index_type_t, lib_dma_fsk_deviation_type_t,
        lib_dma_point_per_symbol_type_t, lib_dma_filter_group_type_t, lib_dma_meas_filter_type_t, lib_dma_ref_filter_type_t,
        lib_dma_user_define_filter_type_t, lib_dma_fft_window_type_t, lib_dma_spectrum_type_t, lib_dma_evm_normalize_type_t,
        lib_dma_meas_offset_ref_t, lib_dma_sync_pattern_t, lib_dma_payload_data_type_t, lib_dma_main_process_state_t>);

TEST(DmaTimeConfigureManagerInterface, OffersItsOperations)
{
    offers<void()>(&lib_dma_time_configure_manager_t::init);
    offers<bool(lib_dma_modulation_type_t, std::uint32_t)>(&lib_dma_time_configure_manager_t::set_meas_interval);
    offers<bool(std::int32_t)>(&lib_dma_time_configure_manager_t::set_meas_offset);
    offers<bool(lib_dma_meas_offset_ref_t)>(&lib_dma_time_configure_manager_t::set_meas_offset_reference);
    offers<std::uint32_t() const>(&lib_dma_time_configure_manager_t::get_meas_interval);
    offers<std::int32_t() const>(&lib_dma_time_configure_manager_t::get_meas_offset);
    offers<lib_dma_meas_offset_ref_t() const>(&lib_dma_time_configure_manager_t::get_meas_offset_reference);
}

TEST(DmaFilterConfigureManagerInterface, OffersItsOperations)
{
    offers<void()>(&lib_dma_filter_configure_manager_t::init);
    offers<bool(lib_dma_meas_filter_type_t)>(&lib_dma_filter_configure_manager_t::set_meas_filter_type);
    offers<bool(lib_dma_ref_filter_type_t)>(&lib_dma_filter_configure_manager_t::set_ref_filter_type);
    offers<bool(float)>(&lib_dma_filter_configure_manager_t::set_filter_alpha);
    offers<bool(float)>(&lib_dma_filter_configure_manager_t::set_filter_beta);
    offers<bool(std::uint32_t)>(&lib_dma_filter_configure_manager_t::set_filter_length);
    offers<bool(lib_dma_user_define_filter_type_t)>(&lib_dma_filter_configure_manager_t::set_user_define_filter_type);
    offers<bool(float)>(&lib_dma_filter_configure_manager_t::set_user_define_filter_coef);
    offers<lib_dma_meas_filter_type_t() const>(&lib_dma_filter_configure_manager_t::get_meas_filter_type);
    offers<lib_dma_ref_filter_type_t() const>(&lib_dma_filter_configure_manager_t::get_ref_filter_type);
    offers<float() const>(&lib_dma_filter_configure_manager_t::get_filter_alpha);
    offers<float() const>(&lib_dma_filter_configure_manager_t::get_filter_beta);
    offers<std::uint32_t() const>(&lib_dma_filter_configure_manager_t::get_filter_length);
    offers<lib_dma_user_define_filter_type_t() const>(&lib_dma_filter_configure_manager_t::get_user_define_filter_type);
    offers<float() const>(&lib_dma_filter_configure_manager_t::get_user_define_filter_coef);
}

TEST(DmaAdvanceConfigureManagerInterface, OffersItsOperations)
{
    offers<void()>(&lib_dma_advance_configure_manager_t::init);
    offers<bool(bool)>(&lib_dma_advance_configure_manager_t::set_equalizer);
    offers<bool(std::uint32_t)>(&lib_dma_advance_configure_manager_t::set_equalizer_filter_len);
    offers<bool(std::uint32_t)>(&lib_dma_advance_configure_manager_t::set_average_move_len);
    offers<bool(bool)>(&lib_dma_advance_configure_manager_t::set_hold);
    offers<bool(double)>(&lib_dma_advance_configure_manager_t::set_equalizer_coef);
    offers<bool(lib_dma_fft_window_type_t)>(&lib_dma_advance_configure_manager_t::set_fft_window);
    offers<bool(bool)>(&lib_dma_advance_configure_manager_t::set_multi_carrier_filter);
    offers<bool(lib_dma_spectrum_type_t)>(&lib_dma_advance_configure_manager_t::set_spectrum_type);
    offers<bool(bool)>(&lib_dma_advance_configure_manager_t::set_gain_imb_quad_skew_couping);
    offers<bool(float)>(&lib_dma_advance_configure_manager_t::set_clock_adjust);
    offers<bool(float)>(&lib_dma_advance_configure_manager_t::set_iq_rotation);
    offers<bool(bool)>(&lib_dma_advance_configure_manager_t::set_iq_normalize);
    offers<bool(bool)>(&lib_dma_advance_configure_manager_t::set_low_snr_enhancement);
    offers<bool(lib_dma_evm_normalize_type_t)>(&lib_dma_advance_configure_manager_t::set_evm_normalization_ref);
    offers<bool(lib_dma_modulation_type_t, lib_dma_msk_modulation_type_t, bool)>(
        &lib_dma_advance_configure_manager_t::set_iq_offset_compensation);
    offers<bool() const>(&lib_dma_advance_configure_manager_t::get_equalizer);
    offers<std::uint32_t() const>(&lib_dma_advance_configure_manager_t::get_equalizer_filter_len);
    offers<std::uint32_t() const>(&lib_dma_advance_configure_manager_t::get_average_move_len);
    offers<bool() const>(&lib_dma_advance_configure_manager_t::get_hold);
    offers<double() const>(&lib_dma_advance_configure_manager_t::get_equalizer_coef);
    offers<lib_dma_fft_window_type_t() const>(&lib_dma_advance_configure_manager_t::get_fft_window);
    offers<bool() const>(&lib_dma_advance_configure_manager_t::get_multi_carrier_filter);
    offers<lib_dma_spectrum_type_t() const>(&lib_dma_advance_configure_manager_t::get_spectrum_type);
    offers<bool() const>(&lib_dma_advance_configure_manager_t::get_gain_imb_quad_skew_couping);
    offers<float() const>(&lib_dma_advance_configure_manager_t::get_clock_adjust);
    offers<float() const>(&lib_dma_advance_configure_manager_t::get_iq_rotation);
    offers<bool() const>(&lib_dma_advance_configure_manager_t::get_iq_normalize);
    offers<bool() const>(&lib_dma_advance_configure_manager_t::get_low_snr_enhancement);
    offers<lib_dma_evm_normalize_type_t() const>(&lib_dma_advance_configure_manager_t::get_evm_normalization_ref);
    offers<bool() const>(&lib_dma_advance_configure_manager_t::get_iq_offset_compensation);
}

TEST(DmaFormatConfigureManagerInterface, OffersItsOperations)
{
    offers<void()>(&lib_dma_format_configure_manager_t::init);
    offers<bool(lib_dma_modulation_type_t)>(&lib_dma_format_configure_manager_t::set_format_group);
    offers<bool(lib_dma_psk_modulation_type_t)>(&lib_dma_format_configure_manager_t::set_psk_format);
    offers<bool(lib_dma_qam_modulation_type_t)>(&lib_dma_format_configure_manager_t::set_qam_format);
    offers<bool(lib_dma_fsk_modulation_type_t)>(&lib_dma_format_configure_manager_t::set_fsk_format);
    offers<bool(lib_dma_msk_modulation_type_t)>(&lib_dma_format_configure_manager_t::set_msk_format);
    offers<bool(lib_dma_ask_modulation_type_t)>(&lib_dma_format_configure_manager_t::set_ask_format);
    offers<bool(lib_dma_apsk_modulation_type_t)>(&lib_dma_format_configure_manager_t::set_apsk_format);
    offers<bool(lib_dma_dpsk_modulation_type_t)>(&lib_dma_format_configure_manager_t::set_dpsk_format);
    offers<bool(lib_dma_oqpsk_modulation_type_t)>(&lib_dma_format_configure_manager_t::set_oqpsk_format);
    offers<bool(lib_dma_vsb_modulation_type_t)>(&lib_dma_format_configure_manager_t::set_vsb_format);
    offers<bool(lib_dma_custom_modulation_type_t)>(&lib_dma_format_configure_manager_t::set_custom_iq_format);
    offers<bool(lib_dma_other_modulation_type_t)>(&lib_dma_format_configure_manager_t::set_other_format);
    offers<bool(float)>(&lib_dma_format_configure_manager_t::set_fsk_tx_freq_offset);
    offers<bool(lib_dma_fsk_deviation_type_t)>(&lib_dma_format_configure_manager_t::set_fsk_deviation_ref);
    offers<bool(float)>(&lib_dma_format_configure_manager_t::set_apsk_r2_r1);
    offers<bool(float)>(&lib_dma_format_configure_manager_t::set_apsk_r3_r1);
    offers<bool(bool)>(&lib_dma_format_configure_manager_t::set_cpm_auto);
    offers<bool(lib_dma_cpm_index_type_t)>(&lib_dma_format_configure_manager_t::set_cpm_index);
    offers<bool(bool)>(&lib_dma_format_configure_manager_t::set_msk_dfas);
    offers<bool(bool)>(&lib_dma_format_configure_manager_t::set_oqpsk_alig_iq);
    offers<bool(float)>(&lib_dma_format_configure_manager_t::set_custom_iq_sync_persistence_target);
    offers<bool(float)>(&lib_dma_format_configure_manager_t::set_custom_iq_phase_rotation);
    offers<bool(bool)>(&lib_dma_format_configure_manager_t::set_custom_iq_shift);
    offers<bool(bool)>(&lib_dma_format_configure_manager_t::set_custom_iq_diff);
    offers<bool(bool)>(&lib_dma_format_configure_manager_t::set_custom_iq_offset);
    offers<bool(std::uint64_t)>(&lib_dma_format_configure_manager_t::set_symbol_rate);
    offers<bool(lib_dma_point_per_symbol_type_t)>(&lib_dma_format_configure_manager_t::set_points_per_symbol);
    offers<bool(const constellation_map&)>(&lib_dma_format_configure_manager_t::set_const_iq_map_data);
    offers<bool(bool)>(&lib_dma_format_configure_manager_t::set_constellation_setting_flag);
    offers<std::int32_t(std::uint32_t, common_lib::lib_constellation_normalize_type_t)>(
        &lib_dma_format_configure_manager_t::set_constellation_sym_index);
    offers<lib_dma_modulation_type_t() const>(&lib_dma_format_configure_manager_t::get_format_group);
    offers<lib_dma_psk_modulation_type_t() const>(&lib_dma_format_configure_manager_t::get_psk_format);
    offers<lib_dma_qam_modulation_type_t() const>(&lib_dma_format_configure_manager_t::get_qam_format);
    offers<lib_dma_fsk_modulation_type_t() const>(&lib_dma_format_configure_manager_t::get_fsk_format);
    offers<lib_dma_msk_modulation_type_t() const>(&lib_dma_format_configure_manager_t::get_msk_format);
    offers<lib_dma_ask_modulation_type_t() const>(&lib_dma_format_configure_manager_t::get_ask_format);
    offers<lib_dma_apsk_modulation_type_t() const>(&lib_dma_format_configure_manager_t::get_apsk_format);
    offers<lib_dma_dpsk_modulation_type_t() const>(&lib_dma_format_configure_manager_t::get_dpsk_format);
    offers<lib_dma_oqpsk_modulation_type_t() const>(&lib_dma_format_configure_manager_t::get_oqpsk_format);
    offers<lib_dma_vsb_modulation_type_t() const>(&lib_dma_format_configure_manager_t::get_vsb_format);
    offers<lib_dma_custom_modulation_type_t() const>(&lib_dma_format_configure_manager_t::get_custom_iq_format);
    offers<lib_dma_other_modulation_type_t() const>(&lib_dma_format_configure_manager_t::get_other_format);
    offers<float() const>(&lib_dma_format_configure_manager_t::get_fsk_tx_freq_offset);
    offers<lib_dma_fsk_deviation_type_t() const>(&lib_dma_format_configure_manager_t::get_fsk_deviation_ref);
    offers<float() const>(&lib_dma_format_configure_manager_t::get_apsk_r2_r1);
    offers<float() const>(&lib_dma_format_configure_manager_t::get_apsk_r3_r1);
    offers<bool() const>(&lib_dma_format_configure_manager_t::get_cpm_auto);
    offers<lib_dma_cpm_index_type_t() const>(&lib_dma_format_configure_manager_t::get_cpm_index);
    offers<std::string() const>(&lib_dma_format_configure_manager_t::get_cpm_index_string);
    offers<bool() const>(&lib_dma_format_configure_manager_t::get_msk_dfas);
    offers<bool() const>(&lib_dma_format_configure_manager_t::get_oqpsk_alig_iq);
    offers<float() const>(&lib_dma_format_configure_manager_t::get_custom_iq_sync_persistence_target);
    offers<float() const>(&lib_dma_format_configure_manager_t::get_custom_iq_phase_rotation);
    offers<bool() const>(&lib_dma_format_configure_manager_t::get_custom_iq_shift);
    offers<bool() const>(&lib_dma_format_configure_manager_t::get_custom_iq_diff);
    offers<bool() const>(&lib_dma_format_configure_manager_t::get_custom_iq_offset);
    offers<std::uint64_t() const>(&lib_dma_format_configure_manager_t::get_symbol_rate);
    offers<lib_dma_point_per_symbol_type_t() const>(&lib_dma_format_configure_manager_t::get_points_per_symbol);
    offers<constellation_map() const>(&lib_dma_format_configure_manager_t::get_const_iq_map_data);
    offers<bool() const>(&lib_dma_format_configure_manager_t::get_constellation_setting_flag);
    offers<std::uint32_t() const>(&lib_dma_format_configure_manager_t::get_constellation_sym_index);
    offers<constellation_map(common_lib::lib_constellation_normalize_type_t)>(
        &lib_dma_format_configure_manager_t::get_preset_mod_constellation_info);
    offers<std::map<std::uint32_t, constellation_info_t>(const constellation_map&)>(
        &lib_dma_format_configure_manager_t::to_local_format);
    offers<constellation_map(const std::map<std::uint32_t, constellation_info_t>&)>(
        &lib_dma_format_configure_manager_t::to_lib_format);
}

TEST(DmaRecallDemodInfoConfigureManagerInterface, OffersItsOperations)
{
    offers<void()>(&lib_dma_recall_demod_info_configure_manager_t::init);
    offers<void()>(&lib_dma_recall_demod_info_configure_manager_t::clear);
    offers<bool(const bit_array&)>(&lib_dma_recall_demod_info_configure_manager_t::set_tx_pattern);
    offers<bool(std::uint32_t)>(&lib_dma_recall_demod_info_configure_manager_t::set_total_bits_len);
    offers<bool(bool)>(&lib_dma_recall_demod_info_configure_manager_t::set_ber_state);
    offers<bool(lib_dma_payload_data_type_t)>(&lib_dma_recall_demod_info_configure_manager_t::set_payload_data_type);
    offers<const bit_array&() const>(&lib_dma_recall_demod_info_configure_manager_t::get_tx_pattern);
    offers<std::uint32_t() const>(&lib_dma_recall_demod_info_configure_manager_t::get_total_bits_len);
    offers<bool() const>(&lib_dma_recall_demod_info_configure_manager_t::get_ber_state);
    offers<lib_dma_payload_data_type_t() const>(&lib_dma_recall_demod_info_configure_manager_t::get_payload_data_type);
    offers<void()>(&lib_dma_recall_demod_info_configure_manager_t::update_syn_pattern_by_ber);
}

TEST(DmaSegmentConfigureManagerInterface, OffersItsOperations)
{
    offers<void()>(&lib_dma_segment_configure_manager_t::init);
    offers<lib_dma_filter_configure_manager_t&()>(&lib_dma_segment_configure_manager_t::get_filter_configure);
    offers<const lib_dma_filter_configure_manager_t&() const>(&lib_dma_segment_configure_manager_t::get_filter_configure);
    offers<lib_dma_time_configure_manager_t&()>(&lib_dma_segment_configure_manager_t::get_time_configure);
    offers<const lib_dma_time_configure_manager_t&() const>(&lib_dma_segment_configure_manager_t::get_time_configure);
    offers<lib_dma_advance_configure_manager_t&()>(&lib_dma_segment_configure_manager_t::get_advance_configure);
    offers<const lib_dma_advance_configure_manager_t&() const>(&lib_dma_segment_configure_manager_t::get_advance_configure);
    offers<lib_dma_format_configure_manager_t&()>(&lib_dma_segment_configure_manager_t::get_format_configure);
    offers<const lib_dma_format_configure_manager_t&() const>(&lib_dma_segment_configure_manager_t::get_format_configure);
    offers<lib_dma_recall_demod_info_configure_manager_t&()>(
        &lib_dma_segment_configure_manager_t::get_recall_demod_info_configure);
    offers<const lib_dma_recall_demod_info_configure_manager_t&() const>(
        &lib_dma_segment_configure_manager_t::get_recall_demod_info_configure);
    offers<void()>(&lib_dma_segment_configure_manager_t::update_syn_pattern_by_ber);
}

TEST(DmaFrameConfigureManagerInterface, OffersItsOperations)
{
    offers<void()>(&lib_dma_frame_configure_manager_t::init);
    offers<void()>(&lib_dma_frame_configure_manager_t::reset);
    offers<void()>(&lib_dma_frame_configure_manager_t::add_segment);
    offers<bool(std::uint32_t)>(&lib_dma_frame_configure_manager_t::remove_segment);
    offers<bool(std::uint32_t)>(&lib_dma_frame_configure_manager_t::set_segment_number);
    offers<std::uint32_t()>(&lib_dma_frame_configure_manager_t::get_segment_number);
    offers<std::uint32_t() const>(&lib_dma_frame_configure_manager_t::get_segment_number);
    offers<lib_dma_segment_configure_manager_t&(std::uint32_t)>(&lib_dma_frame_configure_manager_t::get_segment);
    offers<const lib_dma_segment_configure_manager_t&(std::uint32_t) const>(&lib_dma_frame_configure_manager_t::get_segment);
    offers<bool(std::uint32_t)>(&lib_dma_frame_configure_manager_t::set_current_segment_index);
    offers<std::uint32_t() const>(&lib_dma_frame_configure_manager_t::get_current_segment_index);
    offers<bool(double)>(&lib_dma_frame_configure_manager_t::set_search_length);
    offers<bool(bool)>(&lib_dma_frame_configure_manager_t::set_burst_search);
    offers<bool(float)>(&lib_dma_frame_configure_manager_t::set_burst_search_threshold);
    offers<bool(float)>(&lib_dma_frame_configure_manager_t::set_sync_offset);
    offers<bool(lib_dma_sync_pattern_t)>(&lib_dma_frame_configure_manager_t::set_sync_pattern_type);
    offers<bool(bool)>(&lib_dma_frame_configure_manager_t::set_sync_search);
    offers<bool(bool)>(&lib_dma_frame_configure_manager_t::set_enable_mannual_data_sample_rate);
    offers<void(double)>(&lib_dma_frame_configure_manager_t::set_mannual_data_sample_rate);
    offers<bool(std::uint64_t)>(&lib_dma_frame_configure_manager_t::set_bandwidth);
    offers<double() const>(&lib_dma_frame_configure_manager_t::get_search_length);
    offers<bool() const>(&lib_dma_frame_configure_manager_t::get_burst_search);
    offers<float() const>(&lib_dma_frame_configure_manager_t::get_burst_search_threshold);
    offers<float() const>(&lib_dma_frame_configure_manager_t::get_sync_offset);
    offers<lib_dma_sync_pattern_t() const>(&lib_dma_frame_configure_manager_t::get_sync_pattern_type);
    offers<bool() const>(&lib_dma_frame_configure_manager_t::get_sync_search);
    offers<bool() const>(&lib_dma_frame_configure_manager_t::get_enable_mannual_data_sample_rate);
    offers<double() const>(&lib_dma_frame_configure_manager_t::get_mannual_data_sample_rate);
    offers<std::uint64_t() const>(&lib_dma_frame_configure_manager_t::get_bandwidth);
    offers<bool(const std::string&)>(&lib_dma_frame_configure_manager_t::set_sync_pattern_bit);
    offers<bool(const std::string&)>(&lib_dma_frame_configure_manager_t::set_sync_pattern_hex);
    offers<bool(std::uint32_t)>(&lib_dma_frame_configure_manager_t::set_sync_pattern_int);
    offers<const std::string&() const>(&lib_dma_frame_configure_manager_t::get_sync_pattern_bit);
    offers<const std::string&() const>(&lib_dma_frame_configure_manager_t::get_sync_pattern_hex);
    offers<std::uint32_t() const>(&lib_dma_frame_configure_manager_t::get_sync_pattern_int);
    offers<bit_array() const>(&lib_dma_frame_configure_manager_t::get_sync_pattern_bitarr);
    offers<bool(bit_array&)>(&lib_dma_frame_configure_manager_t::check_sync_pattern_bit);
    offers<void()>(&lib_dma_frame_configure_manager_t::update_syn_pattern_by_ber);
}
