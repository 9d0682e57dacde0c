#include <dma_demod.h>

#include "interface_check.h"

#include <type_traits>

using namespace vrim;
using namespace vrim::dma_demod_lib;

template <typename demodulator_t>
constexpr bool holds_its_configuration =
    std::is_base_of_v<lib_dma_frame_configure_manager_t, demodulator_t>&& std::is_default_constructible_v<demodulator_t> &&
    !std::is_polymorphic_v<demodulator_t>;
static_assert(holds_its_configuration<lib_dma_psk_demod_t>);
static_assert(holds_its_configuration<lib_dma_qam_demod_t>);
static_assert(holds_its_configuration<lib_dma_apsk_demod_t>);
static_assert(holds_its_configuration<lib_dma_ask_demod_t>);
static_assert(holds_its_configuration<lib_dma_dpsk_demod_t>);
static_assert(holds_its_configuration<lib_dma_fsk_demod_t>);
static_assert(holds_its_configuration<lib_dma_msk_demod_t>);
static_assert(holds_its_configuration<lib_dma_oqpsk_demod_t>);

TEST(DmaPskDemodInterface, OffersItsOperations)
{
    offers<void()>(&lib_dma_psk_demod_t::init);
    offers<bool(const lib_dma_frame_configure_manager_t&, std::uint32_t, const lib_dma_demod_config_mgr&)>(
        &lib_dma_psk_demod_t::set_frame_configure);
    offers<bool(std::uint32_t, const complex_array&, const complex_array&, lib_dma_phy_data_manager_t&,
                lib_dma_demod_config_mgr&)>(&lib_dma_psk_demod_t::lib_dma_psk_demod_process);
    offers<void()>(&lib_dma_psk_demod_t::clear);
    offers<bool()>(&lib_dma_psk_demod_t::meas_filter_process);
    offers<bool()>(&lib_dma_psk_demod_t::timing_recovery);
    offers<bool(const lib_dma_psk_modulation_param&, float_array&, double&, float_array&, float_array&)>(
        &lib_dma_psk_demod_t::psk_carrier_sync);
    offers<bool(lib_dma_phy_data_manager_t&)>(&lib_dma_psk_demod_t::symbol_detect);
    offers<bool(lib_dma_demod_config_mgr&)>(&lib_dma_psk_demod_t::ref_data_generate);
    offers<bool(std::uint32_t, lib_dma_phy_data_manager_t&)>(&lib_dma_psk_demod_t::psk_decode_bit);
    offers<bool()>(&lib_dma_psk_demod_t::deal_phase_rotation);
    offers<bool(std::uint32_t, lib_dma_phy_data_manager_t&)>(&lib_dma_psk_demod_t::error_cal);
    offers<bool(const complex_array&, err_table_t&)>(&lib_dma_psk_demod_t::psk_error_cal);
    offers<bool(lib_dma_demod_config_mgr&)>(&lib_dma_psk_demod_t::cal_demod_param);
    offers<std::complex<float>(lib_dma_psk_modulation_type_t, std::complex<float>, float)>(&lib_dma_psk_demod_t::psk_judge);
    offers<std::complex<float>(std::complex<float>, float, float)>(&lib_dma_psk_demod_t::psk_judge_bpsk);
    offers<std::complex<float>(std::complex<float>, float, float)>(&lib_dma_psk_demod_t::psk_judge_qpsk);
    offers<std::complex<float>(std::complex<float>, float, float)>(&lib_dma_psk_demod_t::psk_judge_8psk);
}

TEST(DmaQamDemodInterface, OffersItsOperations)
{
    offers<void()>(&lib_dma_qam_demod_t::init);
    offers<bool(const lib_dma_frame_configure_manager_t&, std::uint32_t, const lib_dma_demod_config_mgr&)>(
        &lib_dma_qam_demod_t::set_frame_configure);
    offers<bool(std::uint32_t, const complex_array&, const complex_array&, lib_dma_phy_data_manager_t&,
                lib_dma_demod_config_mgr&)>(&lib_dma_qam_demod_t::lib_dma_qam_demod_process);
    offers<void()>(&lib_dma_qam_demod_t::clear);
    offers<bool()>(&lib_dma_qam_demod_t::meas_filter_process);
    offers<bool()>(&lib_dma_qam_demod_t::timing_recovery);
    offers<bool(float_array&, double&, float_array&)>(&lib_dma_qam_demod_t::qam_carrier_recovery_new);
    offers<carrier_syn_info_t(float, float, float, float, float, float, float)>(&lib_dma_qam_demod_t::qam_carrier_coarse_syn);
    offers<bool(float_array&, double&, float_array&)>(&lib_dma_qam_demod_t::qam_carrier_recovery_old);
    offers<float_array(const complex_array&)>(&lib_dma_qam_demod_t::qam_mag);
    offers<float(lib_dma_qam_modulation_type_t)>(&lib_dma_qam_demod_t::qam_cal_mag_th);
    offers<bool(float_array&, std::uint32_t&)>(&lib_dma_qam_demod_t::qam_lock_phase_detect);
    offers<bool()>(&lib_dma_qam_demod_t::symbol_detect);
    offers<bool(lib_dma_demod_config_mgr&)>(&lib_dma_qam_demod_t::ref_data_generate);
    offers<bool(std::uint32_t, lib_dma_phy_data_manager_t&)>(&lib_dma_qam_demod_t::qam_decode_bit);
    offers<bool()>(&lib_dma_qam_demod_t::deal_phase_rotation);
    offers<bool(std::uint32_t, lib_dma_phy_data_manager_t&)>(&lib_dma_qam_demod_t::error_cal);
    offers<bool(lib_dma_demod_config_mgr&)>(&lib_dma_qam_demod_t::cal_demod_param);
    offers<std::complex<float>(lib_dma_qam_modulation_type_t, std::complex<float>)>(&lib_dma_qam_demod_t::qam_judge);
}

TEST(DmaApskDemodInterface, OffersItsOperations)
{
    offers<void()>(&lib_dma_apsk_demod_t::init);
    offers<bool(const lib_dma_frame_configure_manager_t&, std::uint32_t, const lib_dma_demod_config_mgr&)>(
        &lib_dma_apsk_demod_t::set_frame_configure);
    offers<bool(std::uint32_t, const complex_array&, const complex_array&, lib_dma_phy_data_manager_t&,
                lib_dma_demod_config_mgr&)>(&lib_dma_apsk_demod_t::lib_dma_apsk_demod_process);
    offers<void()>(&lib_dma_apsk_demod_t::clear);
    offers<bool()>(&lib_dma_apsk_demod_t::meas_filter_process);
    offers<bool()>(&lib_dma_apsk_demod_t::timing_recovery);
    offers<bool(double&, float_array&)>(&lib_dma_apsk_demod_t::apsk_first_lock_phase_detect);
    offers<bool(std::uint32_t, float_array&)>(&lib_dma_apsk_demod_t::apsk_second_lock_phase_detect);
    offers<void(apsk_norm_t&)>(&lib_dma_apsk_demod_t::cal_apsk_carrier_sync_params);
    offers<bool()>(&lib_dma_apsk_demod_t::symbol_detect);
    offers<bool(lib_dma_demod_config_mgr&)>(&lib_dma_apsk_demod_t::ref_data_generate);
    offers<bool(std::uint32_t, lib_dma_phy_data_manager_t&)>(&lib_dma_apsk_demod_t::apsk_decode_bit);
    offers<bool()>(&lib_dma_apsk_demod_t::deal_phase_rotation);
    offers<bool(std::uint32_t, lib_dma_phy_data_manager_t&)>(&lib_dma_apsk_demod_t::error_cal);
    offers<bool(std::uint32_t, lib_dma_phy_data_manager_t&)>(&lib_dma_apsk_demod_t::cal_apsk_r_ratio);
    offers<bool(lib_dma_demod_config_mgr&)>(&lib_dma_apsk_demod_t::cal_demod_param);
    offers<std::complex<float>(lib_dma_apsk_modulation_type_t, std::complex<float>)>(&lib_dma_apsk_demod_t::apsk_judge);
    offers<std::complex<float>(std::complex<float>)>(&lib_dma_apsk_demod_t::apsk_judge_16apsk);
    offers<std::complex<float>(std::complex<float>)>(&lib_dma_apsk_demod_t::apsk_judge_32apsk);
}

TEST(DmaAskDemodInterface, OffersItsOperations)
{
    offers<void()>(&lib_dma_ask_demod_t::init);
    offers<bool(const lib_dma_frame_configure_manager_t&, std::uint32_t, const lib_dma_demod_config_mgr&)>(
        &lib_dma_ask_demod_t::set_frame_configure);
    offers<bool(std::uint32_t, const complex_array&, const complex_array&, lib_dma_phy_data_manager_t&,
                lib_dma_demod_config_mgr&)>(&lib_dma_ask_demod_t::lib_dma_ask_demod_process);
    offers<void()>(&lib_dma_ask_demod_t::clear);
    offers<bool()>(&lib_dma_ask_demod_t::meas_filter_process);
    offers<bool()>(&lib_dma_ask_demod_t::timing_recovery);
    offers<bool(float_array&, double&, float_array&, float_array&)>(&lib_dma_ask_demod_t::ask_carrier_sync);
    offers<bool()>(&lib_dma_ask_demod_t::symbol_detect);
    offers<bool(lib_dma_demod_config_mgr&)>(&lib_dma_ask_demod_t::ref_data_generate);
    offers<bool(std::uint32_t, lib_dma_phy_data_manager_t&)>(&lib_dma_ask_demod_t::ask_decode_bit);
    offers<bool()>(&lib_dma_ask_demod_t::deal_phase_rotation);
    offers<bool(std::uint32_t, lib_dma_phy_data_manager_t&)>(&lib_dma_ask_demod_t::error_cal);
    offers<bool(std::uint32_t, lib_dma_phy_data_manager_t&)>(&lib_dma_ask_demod_t::depth_cal);
    offers<bool(lib_dma_demod_config_mgr&)>(&lib_dma_ask_demod_t::cal_demod_param);
    offers<std::complex<float>(lib_dma_ask_modulation_type_t, std::complex<float>)>(&lib_dma_ask_demod_t::ask_judge);
    offers<std::complex<float>(std::complex<float>, float)>(&lib_dma_ask_demod_t::ask_judge_2);
    offers<std::complex<float>(std::complex<float>, float)>(&lib_dma_ask_demod_t::ask_judge_4);
    offers<std::complex<float>(std::complex<float>, float)>(&lib_dma_ask_demod_t::ask_judge_8);
    offers<std::complex<float>(std::complex<float>, float)>(&lib_dma_ask_demod_t::ask_judge_16);
}

TEST(DmaDpskDemodInterface, OffersItsOperations)
{
    offers<void()>(&lib_dma_dpsk_demod_t::init);
    offers<bool(const lib_dma_frame_configure_manager_t&, std::uint32_t, const lib_dma_demod_config_mgr&)>(
        &lib_dma_dpsk_demod_t::set_frame_configure);
    offers<bool(std::uint32_t, const complex_array&, const complex_array&, lib_dma_phy_data_manager_t&,
                lib_dma_demod_config_mgr&)>(&lib_dma_dpsk_demod_t::lib_dma_dpsk_demod_process);
    offers<void()>(&lib_dma_dpsk_demod_t::clear);
    offers<bool()>(&lib_dma_dpsk_demod_t::meas_filter_process);
    offers<bool()>(&lib_dma_dpsk_demod_t::timing_recovery);
    offers<bool()>(&lib_dma_dpsk_demod_t::cal_dpsk_carrier_sync_params);
    offers<bool(float_array&, double&, float_array&, float_array&)>(&lib_dma_dpsk_demod_t::dpsk_carrier_sync);
    offers<bool()>(&lib_dma_dpsk_demod_t::symbol_detect);
    offers<bool(lib_dma_demod_config_mgr&)>(&lib_dma_dpsk_demod_t::ref_data_generate);
    offers<bool(std::uint32_t, lib_dma_phy_data_manager_t&)>(&lib_dma_dpsk_demod_t::dpsk_decode_bit);
    offers<bool()>(&lib_dma_dpsk_demod_t::deal_phase_rotation);
    offers<bool(std::uint32_t, lib_dma_phy_data_manager_t&)>(&lib_dma_dpsk_demod_t::error_cal);
    offers<bool(const complex_array&, err_table_t&)>(&lib_dma_dpsk_demod_t::dpsk_quad_error_cal);
    offers<bool(lib_dma_demod_config_mgr&)>(&lib_dma_dpsk_demod_t::cal_demod_param);
    offers<std::complex<float>(lib_dma_psk_modulation_type_t, std::complex<float>, float)>(&lib_dma_dpsk_demod_t::dpsk_judge);
    offers<std::complex<float>(std::complex<float>, float, float)>(&lib_dma_dpsk_demod_t::psk_judge_bpsk);
    offers<std::complex<float>(std::complex<float>, float, float)>(&lib_dma_dpsk_demod_t::psk_judge_qpsk);
    offers<std::complex<float>(std::complex<float>, float, float)>(&lib_dma_dpsk_demod_t::psk_judge_8psk);
    offers<std::complex<float>(std::complex<float>, float, float)>(&lib_dma_dpsk_demod_t::psk_judge_16psk);
}

TEST(DmaFskDemodInterface, OffersItsOperations)
{
    offers<void()>(&lib_dma_fsk_demod_t::init);
    offers<bool(const lib_dma_frame_configure_manager_t&, std::uint32_t, const lib_dma_demod_config_mgr&)>(
        &lib_dma_fsk_demod_t::set_frame_configure);
    offers<bool(std::uint32_t, const complex_array&, const complex_array&, lib_dma_phy_data_manager_t&,
                lib_dma_demod_config_mgr&)>(&lib_dma_fsk_demod_t::lib_dma_fsk_demod_process);
    offers<void()>(&lib_dma_fsk_demod_t::clear);
    offers<bool()>(&lib_dma_fsk_demod_t::meas_filter_process);
    offers<bool()>(&lib_dma_fsk_demod_t::timing_recovery);
    offers<bool(float_array&, double&, double&, double&, double&, float_array&, float_array&)>(
        &lib_dma_fsk_demod_t::fsk_carrier_sync);
    offers<bool()>(&lib_dma_fsk_demod_t::symbol_detect);
    offers<bool(lib_dma_demod_config_mgr&)>(&lib_dma_fsk_demod_t::ref_data_generate);
    offers<bool(std::uint32_t, lib_dma_phy_data_manager_t&)>(&lib_dma_fsk_demod_t::fsk_decode_bit);
    offers<bool()>(&lib_dma_fsk_demod_t::deal_phase_rotation);
    offers<bool(std::uint32_t, lib_dma_phy_data_manager_t&)>(&lib_dma_fsk_demod_t::error_cal);
    offers<bool(lib_dma_demod_config_mgr&)>(&lib_dma_fsk_demod_t::cal_demod_param);
    offers<float(lib_dma_fsk_modulation_type_t, std::complex<float>)>(&lib_dma_fsk_demod_t::fsk_judge);
    offers<double(const float_array&)>(&lib_dma_fsk_demod_t::get_fsk_std);
}

TEST(DmaMskDemodInterface, OffersItsOperations)
{
    offers<void()>(&lib_dma_msk_demod_t::init);
    offers<bool(const lib_dma_frame_configure_manager_t&, std::uint32_t, const lib_dma_demod_config_mgr&)>(
        &lib_dma_msk_demod_t::set_frame_configure);
    offers<bool(std::uint32_t, const complex_array&, const complex_array&, lib_dma_phy_data_manager_t&,
                lib_dma_demod_config_mgr&)>(&lib_dma_msk_demod_t::lib_dma_msk_demod_process);
    offers<void()>(&lib_dma_msk_demod_t::clear);
    offers<bool()>(&lib_dma_msk_demod_t::meas_filter_process);
    offers<bool()>(&lib_dma_msk_demod_t::timing_recovery);
    offers<bool(float_array&, double&, float_array&, float_array&)>(&lib_dma_msk_demod_t::msk_carrier_sync);
    offers<bool(lib_dma_demod_config_mgr&)>(&lib_dma_msk_demod_t::ref_data_generate);
    offers<bool(const float_array&, lib_dma_demod_config_mgr&)>(&lib_dma_msk_demod_t::ref_filter_generate);
    offers<bool()>(&lib_dma_msk_demod_t::phase_ambiguity_cal);
    offers<bool(std::uint32_t, lib_dma_phy_data_manager_t&)>(&lib_dma_msk_demod_t::msk_decode_bit);
    offers<bool(std::uint32_t, lib_dma_phy_data_manager_t&)>(&lib_dma_msk_demod_t::error_cal);
    offers<bool(lib_dma_demod_config_mgr&)>(&lib_dma_msk_demod_t::cal_demod_param);
    offers<std::complex<float>(std::complex<float>, float)>(&lib_dma_msk_demod_t::msk_judge);
    offers<float_array(const complex_array&, std::uint32_t)>(&lib_dma_msk_demod_t::msk_bit_demod);
}

TEST(DmaOqpskDemodInterface, OffersItsOperations)
{
    offers<void()>(&lib_dma_oqpsk_demod_t::init);
    offers<bool(const lib_dma_frame_configure_manager_t&, std::uint32_t, const lib_dma_demod_config_mgr&)>(
        &lib_dma_oqpsk_demod_t::set_frame_configure);
    offers<bool(std::uint32_t, const complex_array&, const complex_array&, lib_dma_phy_data_manager_t&,
                lib_dma_demod_config_mgr&)>(&lib_dma_oqpsk_demod_t::lib_dma_oqpsk_demod_process);
    offers<void()>(&lib_dma_oqpsk_demod_t::clear);
    offers<bool()>(&lib_dma_oqpsk_demod_t::oqpsk_phase_timing_est_prepare);
    offers<bool(const complex_array&, float_array&, float_array&, std::uint32_t&)>(&lib_dma_oqpsk_demod_t::phase_timing_estimate);
    offers<bool(float&)>(&lib_dma_oqpsk_demod_t::timing_recovery);
    offers<bool()>(&lib_dma_oqpsk_demod_t::meas_filter_process);
    offers<bool(const lib_dma_psk_modulation_param&)>(&lib_dma_oqpsk_demod_t::symbol_detect);
    offers<bool(lib_dma_demod_config_mgr&)>(&lib_dma_oqpsk_demod_t::ref_data_generate);
    offers<bool(std::uint32_t, lib_dma_phy_data_manager_t&)>(&lib_dma_oqpsk_demod_t::oqpsk_decode_bit);
    offers<bool()>(&lib_dma_oqpsk_demod_t::deal_phase_rotation);
    offers<bool(std::uint32_t, lib_dma_phy_data_manager_t&)>(&lib_dma_oqpsk_demod_t::error_cal);
    offers<bool(lib_dma_demod_config_mgr&)>(&lib_dma_oqpsk_demod_t::cal_demod_param);
    offers<std::complex<float>(lib_dma_psk_modulation_type_t, std::complex<float>, float)>(&lib_dma_oqpsk_demod_t::oqpsk_judge);
}

TEST(DmaQamCommonInterface, OffersItsOperations)
{
    offers<float(lib_dma_qam_modulation_type_t)>(&lib_dma_qam_common_t::qam_get_rms);
    offers<float(lib_dma_qam_modulation_type_t)>(&lib_dma_qam_common_t::qam_get_max_mag);
    offers<std::uint32_t(lib_dma_qam_modulation_type_t)>(&lib_dma_qam_common_t::qam_get_square_len);
    offers<std::uint32_t(lib_dma_qam_modulation_type_t)>(&lib_dma_qam_common_t::qam_get_bit_num);
    offers<float(lib_dma_qam_modulation_type_t)>(&lib_dma_qam_common_t::qam_get_mean_outer_mag);
    offers<float(lib_dma_qam_modulation_type_t)>(&lib_dma_qam_common_t::qam_get_max_outer_mag);
    offers<void(lib_dma_qam_modulation_type_t, complex_array&)>(&lib_dma_qam_common_t::qam_outer_mag_norm);
    offers<void(std::uint32_t, constellation_map&)>(&lib_dma_qam_common_t::generate_square_constellation);
    offers<float(float)>(&lib_dma_qam_common_t::sign);
    offers<double(std::uint32_t, bool)>(&lib_dma_qam_common_t::get_average_power);
    offers<std::complex<float>(std::complex<float>, float)>(&lib_dma_qam_common_t::qam_judge_16);
    offers<std::complex<float>(std::complex<float>, float)>(&lib_dma_qam_common_t::qam_judge_32);
    offers<std::complex<float>(std::complex<float>, float)>(&lib_dma_qam_common_t::qam_judge_64);
    offers<std::complex<float>(std::complex<float>, float)>(&lib_dma_qam_common_t::qam_judge_128);
    offers<std::complex<float>(std::complex<float>, float)>(&lib_dma_qam_common_t::qam_judge_256);
    offers<std::complex<float>(std::complex<float>, float)>(&lib_dma_qam_common_t::qam_judge_512);
    offers<std::complex<float>(std::complex<float>, float)>(&lib_dma_qam_common_t::qam_judge_1024);
    offers<std::complex<float>(std::complex<float>, float)>(&lib_dma_qam_common_t::qam_judge_4096);
}
