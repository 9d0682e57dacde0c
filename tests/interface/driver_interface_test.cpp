#include <dma_demod.h>

#include "interface_check.h"

#include <type_traits>

using namespace vrim;
using namespace vrim::dma_demod_lib;

static_assert(std::has_virtual_destructor_v<demod_container>);
static_assert(!std::has_virtual_destructor_v<lib_dma_phy_t>);

namespace
{
/// The field at this place of a record is the named one, and of this type.
template <typename expected_t, typename value_t>
bool is_field(const value_t& at_place, const value_t& named)
{
    static_assert(std::is_same_v<expected_t, value_t>);
    return &at_place == &named;
}
} // namespace

TEST(DmaPhyInterface, OffersItsOperations)
{
    offers<bool(const lib_dma_frame_configure_manager_t&)>(&lib_dma_phy_t::set_frame_configure);
    offers<void(double)>(&lib_dma_phy_t::set_sample_rate);
    offers<bool(const complex_array&)>(&lib_dma_phy_t::set_demod_data);
    offers<std::int32_t()>(&lib_dma_phy_t::dma_phy_process);
    offers<lib_dma_main_process_state_t() const>(&lib_dma_phy_t::get_process_state);
    offers<lib_dma_phy_data_manager_t&()>(&lib_dma_phy_t::get_data_manager);
    offers<const lib_dma_phy_data_manager_t&() const>(&lib_dma_phy_t::get_data_manager);
    offers<bool(std::uint32_t, lib_dma_demod_config_mgr&)>(&lib_dma_phy_t::init);
    offers<void()>(&lib_dma_phy_t::clear_data);
    offers<bool(std::uint32_t, lib_dma_demod_config_mgr&)>(&lib_dma_phy_t::update_demod_info);
    offers<bool(std::uint32_t, lib_dma_demod_config_mgr&)>(&lib_dma_phy_t::cal_preprocess_param);
    offers<std::int32_t(std::uint32_t)>(&lib_dma_phy_t::update_demod_data_len);
    offers<bool(const lib_dma_segment_configure_manager_t&, lib_dma_psk_modulation_param&)>(
        &lib_dma_phy_t::cal_psk_modulation_param);
    offers<bool(complex_array, lib_dma_demod_config_mgr&, std::uint32_t&, std::int32_t&, std::int32_t&, std::uint32_t)>(
        &lib_dma_phy_t::cal_first_segment_demod_info);
    offers<bool(std::uint32_t, const lib_dma_demod_config_mgr&, complex_array&)>(&lib_dma_phy_t::deal_filterpm_process);
    offers<bool(std::uint32_t, const lib_dma_demod_config_mgr&, complex_array&)>(&lib_dma_phy_t::deal_filter_process);
    offers<bool(complex_array, lib_dma_phy_data_manager_t&, const lib_dma_demod_config_mgr&, std::uint64_t)>(
        &lib_dma_phy_t::cal_carrier_power);
    offers<bool(complex_array&)>(&lib_dma_phy_t::deal_spectrum_invert);
    offers<bool(lib_dma_qam_modulation_type_t, std::uint32_t, constellation_map&,
                common_lib::lib_constellation_normalize_type_t)>(&lib_dma_phy_t::generate_qam_constellation);
    offers<bool(lib_dma_psk_modulation_type_t, std::uint32_t, constellation_map&,
                common_lib::lib_constellation_normalize_type_t)>(&lib_dma_phy_t::generate_psk_constellation);
    offers<bool(lib_dma_ask_modulation_type_t, std::uint32_t, constellation_map&,
                common_lib::lib_constellation_normalize_type_t)>(&lib_dma_phy_t::generate_ask_constellation);
    offers<bool(lib_dma_dpsk_modulation_type_t, std::uint32_t, constellation_map&,
                common_lib::lib_constellation_normalize_type_t)>(&lib_dma_phy_t::generate_dpsk_constellation);
    offers<bool(lib_dma_fsk_modulation_type_t, std::uint32_t, constellation_map&,
                common_lib::lib_constellation_normalize_type_t)>(&lib_dma_phy_t::generate_fsk_constellation);
    offers<bool(lib_dma_oqpsk_modulation_type_t, std::uint32_t, constellation_map&,
                common_lib::lib_constellation_normalize_type_t)>(&lib_dma_phy_t::generate_oqpsk_constellation);
    offers<bool(lib_dma_apsk_modulation_type_t, std::uint32_t, constellation_map&,
                common_lib::lib_constellation_normalize_type_t)>(&lib_dma_phy_t::generate_apsk_constellation);
    offers<bool(std::uint32_t, const complex_array&, const complex_array&, const lib_dma_psk_modulation_param&,
                lib_dma_demod_config_mgr&)>(&lib_dma_phy_t::deal_demo_process);
}

TEST(DmaPhyDataManagerInterface, OffersItsOperations)
{
    offers<void()>(&lib_dma_phy_data_manager_t::init);
    offers<bool(const lib_dma_frame_configure_manager_t&)>(&lib_dma_phy_data_manager_t::set_config);
    offers<bool(const lib_dma_frame_configure_manager_t&)>(&lib_dma_phy_data_manager_t::init_dma_demod_config);
    offers<void()>(&lib_dma_phy_data_manager_t::clear_data);
    offers<lib_dma_demod_config_mgr&(std::uint32_t)>(&lib_dma_phy_data_manager_t::get_dma_demod_config_mgr);
    offers<const lib_dma_demod_config_mgr&(std::uint32_t) const>(&lib_dma_phy_data_manager_t::get_dma_demod_config_mgr);
    offers<error_summary_t&(std::uint32_t)>(&lib_dma_phy_data_manager_t::get_error_summary);
    offers<const error_summary_t&(std::uint32_t) const>(&lib_dma_phy_data_manager_t::get_error_summary);
    offers<err_table_t&(std::uint32_t)>(&lib_dma_phy_data_manager_t::get_err_table);
    offers<const err_table_t&(std::uint32_t) const>(&lib_dma_phy_data_manager_t::get_err_table);
    offers<std::vector<std::uint32_t>&(std::uint32_t)>(&lib_dma_phy_data_manager_t::get_decode_bit);
    offers<const std::vector<std::uint32_t>&(std::uint32_t) const>(&lib_dma_phy_data_manager_t::get_decode_bit);
    offers<complex_array&(std::uint32_t)>(&lib_dma_phy_data_manager_t::get_iq_meas_time_constellation);
    offers<const complex_array&(std::uint32_t) const>(&lib_dma_phy_data_manager_t::get_iq_meas_time_constellation);
    offers<complex_array&(std::uint32_t)>(&lib_dma_phy_data_manager_t::get_iq_ref_time_constellation);
    offers<const complex_array&(std::uint32_t) const>(&lib_dma_phy_data_manager_t::get_iq_ref_time_constellation);
    offers<complex_array&(std::uint32_t)>(&lib_dma_phy_data_manager_t::get_iq_raw_time);
    offers<const complex_array&(std::uint32_t) const>(&lib_dma_phy_data_manager_t::get_iq_raw_time);
    offers<complex_array&(std::uint32_t)>(&lib_dma_phy_data_manager_t::get_error_vector);
    offers<const complex_array&(std::uint32_t) const>(&lib_dma_phy_data_manager_t::get_error_vector);
    offers<complex_array&(std::uint32_t)>(&lib_dma_phy_data_manager_t::get_mag_error_vector);
    offers<const complex_array&(std::uint32_t) const>(&lib_dma_phy_data_manager_t::get_mag_error_vector);
    offers<complex_array&(std::uint32_t)>(&lib_dma_phy_data_manager_t::get_phase_error_vector);
    offers<const complex_array&(std::uint32_t) const>(&lib_dma_phy_data_manager_t::get_phase_error_vector);
    offers<bool(std::uint32_t) const>(&lib_dma_phy_data_manager_t::get_decode_bit_flag);
    offers<bool(std::uint32_t) const>(&lib_dma_phy_data_manager_t::get_sync_search_flag);
    offers<bool(std::uint32_t) const>(&lib_dma_phy_data_manager_t::get_brust_search_flag);
    offers<complex_array&()>(&lib_dma_phy_data_manager_t::get_eq_impulse_i);
    offers<const complex_array&() const>(&lib_dma_phy_data_manager_t::get_eq_impulse_i);
    offers<complex_array&()>(&lib_dma_phy_data_manager_t::get_eq_impulse_q);
    offers<const complex_array&() const>(&lib_dma_phy_data_manager_t::get_eq_impulse_q);
    offers<complex_array&()>(&lib_dma_phy_data_manager_t::get_eq_frequency_response);
    offers<const complex_array&() const>(&lib_dma_phy_data_manager_t::get_eq_frequency_response);
    offers<lib_dma_psk_modulation_param&()>(&lib_dma_phy_data_manager_t::get_psk_modulation_param);
    offers<const lib_dma_psk_modulation_param&() const>(&lib_dma_phy_data_manager_t::get_psk_modulation_param);
    offers<std::vector<bool>&()>(&lib_dma_phy_data_manager_t::get_decode_bit_flag_vec);
    offers<const std::vector<bool>&() const>(&lib_dma_phy_data_manager_t::get_decode_bit_flag_vec);
    offers<std::vector<bool>&()>(&lib_dma_phy_data_manager_t::get_sync_search_flag_vec);
    offers<const std::vector<bool>&() const>(&lib_dma_phy_data_manager_t::get_sync_search_flag_vec);
    offers<std::vector<bool>&()>(&lib_dma_phy_data_manager_t::get_brust_search_flag_vec);
    offers<const std::vector<bool>&() const>(&lib_dma_phy_data_manager_t::get_brust_search_flag_vec);
}

TEST(DemodContainerInterface, OffersItsOperations)
{
    offers<void()>(&demod_container::clear);
    offers<void(std::uint32_t)>(&demod_container::resize);
    offers<void(std::uint32_t, float)>(&demod_container::resize);
    offers<void(std::uint32_t)>(&demod_container::remove_begin);
    offers<std::uint32_t() const>(&demod_container::get_num);
    offers<const float_array&() const>(&demod_container::get_i_data);
    offers<float_array&()>(&demod_container::get_i_data);
    offers<const float_array&() const>(&demod_container::get_q_data);
    offers<float_array&()>(&demod_container::get_q_data);
    offers<const float*() const>(&demod_container::i_ptr);
    offers<float*()>(&demod_container::i_ptr);
    offers<const float*() const>(&demod_container::q_ptr);
    offers<float*()>(&demod_container::q_ptr);
    offers<void(float)>(&demod_container::mulitply);
    offers<void(float)>(&demod_container::fill_q_data);
    offers<float(std::uint32_t) const>(&demod_container::get_i_value);
    offers<float(std::uint32_t) const>(&demod_container::get_q_value);
    offers<float(std::uint32_t) const>(&demod_container::get_mag_value);
    offers<void(const float*, const float*, std::uint32_t)>(&demod_container::set_data);
    offers<void(const float_array&, const float_array&)>(&demod_container::set_data);
    offers<float(std::uint32_t) const>(&demod_container::cal_rms);
    offers<float(std::uint32_t) const>(&demod_container::cal_mean);
    offers<float(std::uint32_t) const>(&demod_container::cal_i_mean);
    offers<void(std::uint32_t*, float*, std::uint32_t*, float*, std::uint32_t) const>(&demod_container::find_peak_mag);
    offers<void(std::uint32_t*, float*, std::uint32_t*, float*, std::uint32_t) const>(&demod_container::find_i_peak);
    offers<void(std::uint32_t, float_array&, float_array&) const>(&demod_container::get_sample);
    offers<void(std::uint32_t, demod_container&) const>(&demod_container::get_sample);
}

TEST(ResultRecords, KeepTheOrderOfTheirFields)
{
    lib_dma_demod_config_mgr config;
    auto& [pre_time, equalizer_time, minseglen, sample_rate, data_len, burst_raise_idx, burst_raise_flag, burst_fall_idx,
           burst_fall_flag, burst_len, data_start, pre_num_max, pre_num, equalizer_head_len, head_len, pulse_center_sym,
           result_start, result_stop, carrier_frequency_offset, equalizer_loop_number, equalizer_filter] = config;
    EXPECT_TRUE(is_field<double>(pre_time, config.pre_time));
    EXPECT_TRUE(is_field<double>(equalizer_time, config.equalizer_time));
    EXPECT_TRUE(is_field<double>(minseglen, config.minseglen));
    EXPECT_TRUE(is_field<std::uint64_t>(sample_rate, config.sample_rate));
    EXPECT_TRUE(is_field<std::uint32_t>(data_len, config.data_len));
    EXPECT_TRUE(is_field<std::uint32_t>(burst_raise_idx, config.burst_raise_idx));
    EXPECT_TRUE(is_field<bool>(burst_raise_flag, config.burst_raise_flag));
    EXPECT_TRUE(is_field<std::uint32_t>(burst_fall_idx, config.burst_fall_idx));
    EXPECT_TRUE(is_field<bool>(burst_fall_flag, config.burst_fall_flag));
    EXPECT_TRUE(is_field<std::uint32_t>(burst_len, config.burst_len));
    EXPECT_TRUE(is_field<std::uint32_t>(data_start, config.data_start));
    EXPECT_TRUE(is_field<std::uint32_t>(pre_num_max, config.pre_num_max));
    EXPECT_TRUE(is_field<std::uint32_t>(pre_num, config.pre_num));
    EXPECT_TRUE(is_field<std::uint32_t>(equalizer_head_len, config.equalizer_head_len));
    EXPECT_TRUE(is_field<std::uint32_t>(head_len, config.head_len));
    EXPECT_TRUE(is_field<std::int32_t>(pulse_center_sym, config.pulse_center_sym));
    EXPECT_TRUE(is_field<std::int32_t>(result_start, config.result_start));
    EXPECT_TRUE(is_field<std::int32_t>(result_stop, config.result_stop));
    EXPECT_TRUE(is_field<double>(carrier_frequency_offset, config.carrier_frequency_offset));
    EXPECT_TRUE(is_field<std::uint32_t>(equalizer_loop_number, config.equalizer_loop_number));
    EXPECT_TRUE(is_field<complex_array>(equalizer_filter, config.equalizer_filter));

    err_table_t table;
    auto& [quad_error, gain_imbalance, iq_offset, frequency_error, rho] = table;
    EXPECT_TRUE(is_field<float>(quad_error, table.quad_error));
    EXPECT_TRUE(is_field<float>(gain_imbalance, table.gain_imbalance));
    EXPECT_TRUE(is_field<float>(iq_offset, table.iq_offset));
    EXPECT_TRUE(is_field<float>(frequency_error, table.frequency_error));
    EXPECT_TRUE(is_field<float>(rho, table.rho));

    lib_dma_psk_modulation_param param;
    auto& [rotation_angle, dpsk_rotation_angle, dpsk_rotation_step, modulation_order] = param;
    EXPECT_TRUE(is_field<float>(rotation_angle, param.rotation_angle));
    EXPECT_TRUE(is_field<float>(dpsk_rotation_angle, param.dpsk_rotation_angle));
    EXPECT_TRUE(is_field<float>(dpsk_rotation_step, param.dpsk_rotation_step));
    EXPECT_TRUE(is_field<std::uint32_t>(modulation_order, param.modulation_order));

    carrier_syn_info_t info;
    auto& [gain_track, phase_track, frequency_track, lock_ratio, lock_start, lock_len] = info;
    EXPECT_TRUE(is_field<float_array>(gain_track, info.gain_track));
    EXPECT_TRUE(is_field<float_array>(phase_track, info.phase_track));
    EXPECT_TRUE(is_field<float_array>(frequency_track, info.frequency_track));
    EXPECT_TRUE(is_field<float>(lock_ratio, info.lock_ratio));
    EXPECT_TRUE(is_field<std::uint32_t>(lock_start, info.lock_start));
    EXPECT_TRUE(is_field<std::uint32_t>(lock_len, info.lock_len));
}

TEST(ErrorSummary, KeepsTheOrderOfItsFields)
{
    error_summary_t summary;
    auto& [snr, evm_rms, evm_max, evm_max_idx, mag_err_rms, mag_err_max, mag_err_max_idx, phase_err_rms, phase_err_max,
           phase_err_max_idx, evm_trace, mag_err_trace, phase_err_trace, evm_min, evm_min_idx, mag_err_min, mag_err_min_idx,
           phase_err_min, phase_err_min_idx, depth, carrier_power, fsk_deviation, fsk_deviation_max, fsk_deviation_min,
           apsk_r2_ratio, apsk_r3_ratio, meas_data, ref_data] = summary;
    EXPECT_TRUE(is_field<float>(snr, summary.snr));
    EXPECT_TRUE(is_field<float>(evm_rms, summary.evm_rms));
    EXPECT_TRUE(is_field<float>(evm_max, summary.evm_max));
    EXPECT_TRUE(is_field<std::uint32_t>(evm_max_idx, summary.evm_max_idx));
    EXPECT_TRUE(is_field<float>(mag_err_rms, summary.mag_err_rms));
    EXPECT_TRUE(is_field<float>(mag_err_max, summary.mag_err_max));
    EXPECT_TRUE(is_field<std::uint32_t>(mag_err_max_idx, summary.mag_err_max_idx));
    EXPECT_TRUE(is_field<float>(phase_err_rms, summary.phase_err_rms));
    EXPECT_TRUE(is_field<float>(phase_err_max, summary.phase_err_max));
    EXPECT_TRUE(is_field<std::uint32_t>(phase_err_max_idx, summary.phase_err_max_idx));
    EXPECT_TRUE(is_field<float_array>(evm_trace, summary.evm_trace));
    EXPECT_TRUE(is_field<float_array>(mag_err_trace, summary.mag_err_trace));
    EXPECT_TRUE(is_field<float_array>(phase_err_trace, summary.phase_err_trace));
    EXPECT_TRUE(is_field<float>(evm_min, summary.evm_min));
    EXPECT_TRUE(is_field<std::uint32_t>(evm_min_idx, summary.evm_min_idx));
    EXPECT_TRUE(is_field<float>(mag_err_min, summary.mag_err_min));
    EXPECT_TRUE(is_field<std::uint32_t>(mag_err_min_idx, summary.mag_err_min_idx));
    EXPECT_TRUE(is_field<float>(phase_err_min, summary.phase_err_min));
    EXPECT_TRUE(is_field<std::uint32_t>(phase_err_min_idx, summary.phase_err_min_idx));
    EXPECT_TRUE(is_field<float>(depth, summary.depth));
    EXPECT_TRUE(is_field<float>(carrier_power, summary.carrier_power));
    EXPECT_TRUE(is_field<double>(fsk_deviation, summary.fsk_deviation));
    EXPECT_TRUE(is_field<double>(fsk_deviation_max, summary.fsk_deviation_max));
    EXPECT_TRUE(is_field<double>(fsk_deviation_min, summary.fsk_deviation_min));
    EXPECT_TRUE(is_field<double>(apsk_r2_ratio, summary.apsk_r2_ratio));
    EXPECT_TRUE(is_field<double>(apsk_r3_ratio, summary.apsk_r3_ratio));
    EXPECT_TRUE(is_field<complex_array>(meas_data, summary.meas_data));
    EXPECT_TRUE(is_field<complex_array>(ref_data, summary.ref_data));
}
