#include <dma_demod.h>

#include "interface_check.h"

using namespace vrim;
using namespace vrim::dma_demod_lib;

TEST(DmaPhyCommonInterface, OffersItsOperations)
{
    offers<void(complex_array&, double, float)>(&lib_dma_phy_common_t::deal_mixer1);
    offers<void(const complex_array&, double, complex_array&, std::uint32_t, std::uint32_t, float)>(
        &lib_dma_phy_common_t::deal_mixer);
    offers<void(const complex_array&, float, complex_array&)>(&lib_dma_phy_common_t::downsample);
    offers<void(const float_array&, float, float_array&)>(&lib_dma_phy_common_t::downsample);
    offers<void(const complex_array&, float, std::uint32_t, complex_array&)>(&lib_dma_phy_common_t::downsample1);
    offers<void(const float_array&, float, std::uint32_t, float_array&)>(&lib_dma_phy_common_t::downsample1);
    offers<void(const complex_array&, upsample_type_t, float, complex_array&)>(&lib_dma_phy_common_t::upsample);
    offers<void(const float_array&, upsample_type_t, float, float_array&)>(&lib_dma_phy_common_t::upsample);
    offers<void(const complex_array&, upsample_type_t, float, std::complex<float>, complex_array&)>(
        &lib_dma_phy_common_t::upsample1);
    offers<void(const complex_array&, upsample_type_t, float, float, complex_array&)>(&lib_dma_phy_common_t::upsample1);
    offers<void(const float_array&, upsample_type_t, float, float, float_array&)>(&lib_dma_phy_common_t::upsample1);
    offers<void(std::uint32_t, std::uint32_t, complex_array&)>(&lib_dma_phy_common_t::gen_rectangular_filter);
    offers<void(std::uint32_t, complex_array&)>(&lib_dma_phy_common_t::deal_edge_filter);
    offers<void(const complex_array&, const complex_array&, complex_array&)>(&lib_dma_phy_common_t::error_vector_cal);
    offers<void(const complex_array&, const complex_array&, float_array&)>(&lib_dma_phy_common_t::mag_error_cal);
    offers<void(const complex_array&, const complex_array&, float_array&)>(&lib_dma_phy_common_t::phase_error_cal);
    offers<double(const complex_array&, const complex_array&)>(&lib_dma_phy_common_t::snr_cal);
    offers<float(const complex_array&)>(&lib_dma_phy_common_t::gain_imbalance_cal);
    offers<float(const complex_array&, float, float)>(&lib_dma_phy_common_t::quad_error_cal);
    offers<float(lib_dma_qam_modulation_type_t, const complex_array&)>(&lib_dma_phy_common_t::qam_quad_error_cal);
    offers<float(lib_dma_apsk_modulation_type_t, const complex_array&)>(&lib_dma_phy_common_t::apsk_quad_error_cal);
    offers<float(const complex_array&)>(&lib_dma_phy_common_t::iq_offset_cal);
    offers<float(const complex_array&, const complex_array&, std::uint32_t, std::uint32_t)>(&lib_dma_phy_common_t::deal_corr);
    offers<void(complex_array&, float)>(&lib_dma_phy_common_t::filter_invalid);
    offers<float_array(float, float, float, float)>(&lib_dma_phy_common_t::gen_target_array);
    offers<complex_array(float, float, float, std::complex<float>)>(&lib_dma_phy_common_t::gen_target_array);
    offers<float_array(std::uint32_t, const float_array&)>(&lib_dma_phy_common_t::center_moving_average);
    offers<complex_matrix(const complex_matrix&, const complex_matrix&)>(&lib_dma_phy_common_t::matric_add);
    offers<complex_matrix(const complex_matrix&, const complex_matrix&)>(&lib_dma_phy_common_t::matric_multiply);
    offers<complex_matrix(const complex_matrix&, const complex_matrix&)>(&lib_dma_phy_common_t::transposed_multiply);
    offers<complex_matrix(const complex_matrix&, std::complex<float>)>(&lib_dma_phy_common_t::matric_val_multiply);
    offers<complex_matrix(complex_matrix, bool)>(&lib_dma_phy_common_t::inv);
    offers<std::complex<float>(complex_matrix)>(&lib_dma_phy_common_t::determinant);
    offers<bool(const complex_array&, const complex_array&, float&, float&, float&)>(&lib_dma_phy_common_t::deal_iqoffset);
    offers<float(const complex_array&, std::uint32_t, float, float, bool)>(&lib_dma_phy_common_t::channel_power);
    offers<void(lib_dma_modulation_type_t, const float_array&, std::uint32_t, std::uint32_t, complex_array&, double&)>(
        &lib_dma_phy_common_t::deal_fixed_phase);
    offers<void(lib_dma_modulation_type_t, complex_array&, const complex_array&, double&, std::uint64_t, std::uint32_t,
                std::uint32_t)>(&lib_dma_phy_common_t::deal_fine_phase_fit);
    offers<void(float_array&)>(&lib_dma_phy_common_t::phase_unwrap);
    offers<float_array(const complex_array&, bool, float)>(&lib_dma_phy_common_t::phase_unwrap);
    offers<float(float)>(&lib_dma_phy_common_t::wrap_to_pi);
    offers<byte_array(std::uint32_t, std::uint32_t, std::uint8_t, bool)>(&lib_dma_phy_common_t::int2array);
    offers<float_array(float_array&, std::uint32_t, bool)>(&lib_dma_phy_common_t::bit_array2int);
    offers<std::uint32_t(const char*, std::uint8_t*)>(&lib_dma_phy_common_t::hecstr2dec);
    offers<void(const byte_array&, std::string&)>(&lib_dma_phy_common_t::dec2hexstr);
    offers<void(const std::uint8_t*, std::uint32_t, bool, byte_array&)>(&lib_dma_phy_common_t::convertbytes2bitarr);
    offers<void(byte_array&, std::uint32_t, bool, byte_array&)>(&lib_dma_phy_common_t::convertbits2bytearr);
    offers<void(std::string, bool, byte_array&)>(&lib_dma_phy_common_t::hexstr2bitarr);
    offers<void(byte_array&, bool, std::string&)>(&lib_dma_phy_common_t::bitarr2hexstr);
    offers<std::uint32_t(lib_dma_qam_modulation_type_t)>(&lib_dma_phy_common_t::get_qm_from_modulation);
    offers<std::uint32_t(lib_dma_ask_modulation_type_t)>(&lib_dma_phy_common_t::get_ask_order_from_modulation);
    offers<std::uint32_t(lib_dma_fsk_modulation_type_t)>(&lib_dma_phy_common_t::get_fsk_order_from_modulation);
    offers<std::uint32_t(lib_dma_psk_modulation_type_t)>(&lib_dma_phy_common_t::get_psk_order_from_modulation);
    offers<std::uint32_t(lib_dma_apsk_modulation_type_t)>(&lib_dma_phy_common_t::get_apsk_order_from_modulation);
    offers<std::uint32_t(lib_dma_dpsk_modulation_type_t)>(&lib_dma_phy_common_t::get_dpsk_order_from_modulation);
    offers<std::complex<float>(const constellation_map&, std::complex<float>)>(&lib_dma_phy_common_t::get_symbol_decision_result);
    offers<std::uint32_t(const constellation_map&, std::complex<float>)>(&lib_dma_phy_common_t::get_symbol_index_decision_result);
    offers<std::uint32_t(std::complex<float>, lib_dma_psk_modulation_type_t, float)>(&lib_dma_phy_common_t::psk_demod_bit);
    offers<std::uint32_t(float, lib_dma_dpsk_modulation_type_t)>(&lib_dma_phy_common_t::dpsk_demod_bit);
    offers<std::uint32_t(float, lib_dma_fsk_modulation_type_t)>(&lib_dma_phy_common_t::fsk_demod_bit);
    offers<std::uint32_t(std::complex<float>, lib_dma_ask_modulation_type_t)>(&lib_dma_phy_common_t::ask_demod_bit);
    offers<std::uint32_t(std::complex<float>, lib_dma_qam_modulation_type_t)>(&lib_dma_phy_common_t::qam_demod_bit);
    offers<std::uint32_t(std::complex<float>, lib_dma_apsk_modulation_type_t, float, float)>(
        &lib_dma_phy_common_t::apsk_demod_bit);
    offers<float(lib_dma_qam_modulation_type_t)>(&lib_dma_phy_common_t::qam_get_max_mag);
    offers<std::uint32_t(std::complex<float>, lib_dma_qam_modulation_type_t)>(&lib_dma_phy_common_t::qam_idx);
    offers<void(const complex_array&, float_array&, float_array&)>(&lib_dma_phy_common_t::get_iq_data);
    offers<void(const complex_array&, float_array&)>(&lib_dma_phy_common_t::complex_to_float_arr);
    offers<void(float_array, complex_array&)>(&lib_dma_phy_common_t::float_to_complex_arr);
    offers<float(const float_array&)>(&lib_dma_phy_common_t::get_float_array_rms);
    offers<void(const float_array&, float_array&)>(&lib_dma_phy_common_t::get_float_array_amplitude);
    offers<void(constellation_map&, bool, float, float, float)>(&lib_dma_phy_common_t::generate_16apsk_constellation);
    offers<void(constellation_map&, bool, float, float, float, float, float)>(
        &lib_dma_phy_common_t::generate_32apsk_constellation);
    offers<void(std::vector<std::uint32_t>&, std::vector<std::uint32_t>&, bool)>(&lib_dma_phy_common_t::get_16apsk_symbol_arr);
    offers<void(std::vector<std::uint32_t>&, std::vector<std::uint32_t>&, std::vector<std::uint32_t>&, bool)>(
        &lib_dma_phy_common_t::get_32apsk_symbol_arr);
    offers<bool(constellation_map&)>(&lib_dma_phy_common_t::rms_normalize);
    offers<bool(constellation_map&)>(&lib_dma_phy_common_t::amplitude_max_normalize);
    offers<qam_norm_t(lib_dma_qam_modulation_type_t)>(&lib_dma_phy_common_t::qam_get_norm_param);
    offers<apsk_norm_t(lib_dma_apsk_modulation_type_t, float)>(&lib_dma_phy_common_t::apsk_get_norm_param);
    offers<bool(complex_array&, const complex_array&, double, std::uint32_t, lib_dma_demod_config_mgr&)>(
        &lib_dma_phy_common_t::apply_equailizer);
    offers<bool(const complex_array&, const complex_array&, double, complex_array&, complex_array&, complex_array&)>(
        &lib_dma_phy_common_t::deal_equailizer);
    offers<void(const char*, complex_array&)>(&lib_dma_phy_common_t::get_test_demod_data);
    offers<void(const char*, complex_array&)>(&lib_dma_phy_common_t::input_data2_complex_arr);
}

TEST(SymbolTimingRecoveryPlanInterface, OffersItsOperations)
{
    offers<void(std::uint32_t)>(&symbol_timing_recovery_plan::set_sps);
    offers<void(std::uint32_t)>(&symbol_timing_recovery_plan::set_syn_sym_num);
    offers<void(std::uint32_t)>(&symbol_timing_recovery_plan::set_interp_order);
    offers<void(std::uint32_t)>(&symbol_timing_recovery_plan::set_interp_factor);
    offers<void(std::uint32_t)>(&symbol_timing_recovery_plan::set_pre_num);
    offers<void(float)>(&symbol_timing_recovery_plan::set_clock_adjust);
    offers<void()>(&symbol_timing_recovery_plan::update);
    offers<void()>(&symbol_timing_recovery_plan::init);
    offers<void()>(&symbol_timing_recovery_plan::clear);
    offers<bool(complex_array&, complex_array&, std::uint32_t&)>(&symbol_timing_recovery_plan::symbol_timing_recovery_old);
    offers<bool(complex_array&, complex_array&, std::uint32_t&)>(&symbol_timing_recovery_plan::symbol_timing_recovery_new);
    offers<void(double, std::uint32_t, double_array&)>(&symbol_timing_recovery_plan::sinc_fractional_delay_filter_design);
    offers<void(std::uint64_t, std::uint64_t, std::uint32_t, double_array&)>(
        &symbol_timing_recovery_plan::sinc_fractional_delay_filter_design);
    offers<void(std::uint32_t, const double_array&, complex_array&, complex_array&)>(
        &symbol_timing_recovery_plan::sinc_fractional_delay);
    offers<void(std::uint32_t, std::uint32_t, std::uint64_t, std::uint64_t, complex_array&, complex_array&)>(
        &symbol_timing_recovery_plan::sinc_fractional_delay);
    offers<std::uint32_t(std::uint32_t)>(&symbol_timing_recovery_plan::cal_timing_recovery_fix_int_delay);
}

TEST(DmaPhyFrequencyCorrectInterface, OffersItsOperations)
{
    offers<bool(const lib_dma_frame_configure_manager_t&, std::uint32_t, complex_array&, lib_dma_demod_config_mgr&,
                lib_dma_psk_modulation_param&)>(&lib_dma_phy_frequency_correct_t::frequency_error_correct);
    offers<bool(const lib_dma_frame_configure_manager_t&, std::uint32_t, const lib_dma_psk_modulation_param&)>(
        &lib_dma_phy_frequency_correct_t::set_config);
    offers<bool(complex_array&, lib_dma_demod_config_mgr&, std::uint64_t, std::uint64_t, std::uint32_t)>(
        &lib_dma_phy_frequency_correct_t::_deal_dma_freqency_error_estimate_dft);
    offers<bool(std::uint32_t, complex_array&, lib_dma_demod_config_mgr&, std::uint64_t, float)>(
        &lib_dma_phy_frequency_correct_t::_deal_dma_freqency_error_estimate_cps);
    offers<std::vector<float_array>(const complex_array&, std::uint64_t)>(&lib_dma_phy_frequency_correct_t::dkl1);
    offers<double(const complex_double_array&, double, std::uint32_t)>(&lib_dma_phy_frequency_correct_t::one_point_dft_mag);
    offers<bool(std::uint32_t, std::uint32_t&)>(&lib_dma_phy_frequency_correct_t::deal_data_segmentation);
    offers<bool(complex_double_array&, std::uint32_t, bool)>(&lib_dma_phy_frequency_correct_t::deal_fft);
    offers<bool(std::uint32_t, complex_double_array&, bool, std::uint32_t)>(&lib_dma_phy_frequency_correct_t::deal_transform);
}

TEST(ArrayTemplatesInterface, OffersItsOperations)
{
    offers<complex_array(const complex_array&, std::int32_t)>(&lib_dma_phy_common_t::deal_cyclic_shift<float>);
    offers<bool(const complex_array&, std::uint32_t, std::uint32_t, complex_array&)>(
        &lib_dma_phy_common_t::check_valid_data_size<std::complex<float>>);
    offers<bool(const float_array&, std::uint32_t, std::uint32_t, float_array&)>(
        &lib_dma_phy_common_t::check_valid_data_size<float>);
    offers<void(complex_array&)>(&lib_dma_phy_frequency_correct_t::fft_shift<std::complex<float>>);
    offers<void(complex_double_array&)>(&lib_dma_phy_frequency_correct_t::fft_shift<std::complex<double>>);
}

TEST(ResamplingInterface, OffersItsOperations)
{
    offers<void(std::uint32_t, std::uint32_t, complex_array&, complex_array&)>(&lib_resample<std::complex<float>>);
    offers<void(std::uint32_t, std::uint32_t, float_array&, float_array&)>(&lib_resample<float>);
    offers<double_array(std::uint32_t, double_array, const double_array&)>(&resample_filter<double>);
    offers<double_array(std::uint32_t, double)>(&kaiser<double>);
    offers<double(double)>(&bessel_i0<double>);
    offers<void(std::uint32_t, std::uint32_t, const float*, std::size_t, const float*, std::size_t, float_array&)>(
        &upfirdn<float, float, float>);
    offers<std::size_t(const float*, std::size_t, float*, std::size_t)>(&lib_common_resample_t<float, float, float>::apply);
}
