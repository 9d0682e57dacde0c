#include <dma_demod.h>

#include "interface_check.h"

#include <type_traits>

using namespace vrim;
using namespace vrim::fir_filter_lib;

static_assert(std::is_base_of_v<common_lib::cfg_protocol_base_t, lib_fir_design_parameter_t>);

TEST(FirDesignResponseParameterInterface, OffersItsOperations)
{
    offers<bool()>(&lib_fir_design_response_parameter_t::init);
    offers<bool(lib_fir_response_type_t)>(&lib_fir_design_response_parameter_t::set_response_type);
    offers<lib_fir_response_type_t() const>(&lib_fir_design_response_parameter_t::get_response_type);
    offers<bool(double)>(&lib_fir_design_response_parameter_t::set_first_cutoff_frequency);
    offers<double() const>(&lib_fir_design_response_parameter_t::get_first_cutoff_frequency);
    offers<bool(double)>(&lib_fir_design_response_parameter_t::set_second_cutoff_frequency);
    offers<double() const>(&lib_fir_design_response_parameter_t::get_second_cutoff_frequency);
    offers<bool(double)>(&lib_fir_design_response_parameter_t::set_first_edge_start_frequency);
    offers<double() const>(&lib_fir_design_response_parameter_t::get_first_edge_start_frequency);
    offers<bool(double)>(&lib_fir_design_response_parameter_t::set_first_edge_stop_frequency);
    offers<double() const>(&lib_fir_design_response_parameter_t::get_first_edge_stop_frequency);
    offers<bool(double)>(&lib_fir_design_response_parameter_t::set_second_edge_start_frequency);
    offers<double() const>(&lib_fir_design_response_parameter_t::get_second_edge_start_frequency);
    offers<bool(double)>(&lib_fir_design_response_parameter_t::set_second_edge_stop_frequency);
    offers<double() const>(&lib_fir_design_response_parameter_t::get_second_edge_stop_frequency);
    offers<bool(double)>(&lib_fir_design_response_parameter_t::set_first_Amplitude);
    offers<double() const>(&lib_fir_design_response_parameter_t::get_first_Amplitude);
    offers<bool(double)>(&lib_fir_design_response_parameter_t::set_second_Amplitude);
    offers<double() const>(&lib_fir_design_response_parameter_t::get_second_Amplitude);
    offers<bool(double)>(&lib_fir_design_response_parameter_t::set_third_Amplitude);
    offers<double() const>(&lib_fir_design_response_parameter_t::get_third_Amplitude);
}

TEST(FirDesignOrderParameterInterface, OffersItsOperations)
{
    offers<bool()>(&lib_fir_design_order_parameter_t::init);
    offers<bool(bool)>(&lib_fir_design_order_parameter_t::set_minimum_order_enable);
    offers<bool() const>(&lib_fir_design_order_parameter_t::is_minimum_order_enable);
    offers<bool(std::uint32_t)>(&lib_fir_design_order_parameter_t::set_filter_order);
    offers<std::uint32_t() const>(&lib_fir_design_order_parameter_t::get_filter_order);
    offers<std::uint32_t() const>(&lib_fir_design_order_parameter_t::get_filter_response_length);
    offers<std::uint32_t() const>(&lib_fir_design_order_parameter_t::get_filter_length);
}

TEST(FirDesignWeightParameterInterface, OffersItsOperations)
{
    offers<bool()>(&lib_fir_design_weight_parameter_t::init);
    offers<bool(double)>(&lib_fir_design_weight_parameter_t::set_first_band_weight);
    offers<double() const>(&lib_fir_design_weight_parameter_t::get_first_band_weight);
    offers<bool(double)>(&lib_fir_design_weight_parameter_t::set_second_band_weight);
    offers<double() const>(&lib_fir_design_weight_parameter_t::get_second_band_weight);
    offers<bool(double)>(&lib_fir_design_weight_parameter_t::set_third_band_weight);
    offers<double() const>(&lib_fir_design_weight_parameter_t::get_third_band_weight);
}

TEST(FirDesignWindowParameterInterface, OffersItsOperations)
{
    offers<bool()>(&lib_fir_design_window_parameter_t::init);
    offers<bool(lib_window_type_t)>(&lib_fir_design_window_parameter_t::set_window_type);
    offers<lib_window_type_t() const>(&lib_fir_design_window_parameter_t::get_window_type);
    offers<bool(bool)>(&lib_fir_design_window_parameter_t::set_passband_gain_normalize_enable);
    offers<bool() const>(&lib_fir_design_window_parameter_t::is_passband_gain_normalize_enable);
    offers<bool(double)>(&lib_fir_design_window_parameter_t::set_kaiser_window_shaping_factor);
    offers<double() const>(&lib_fir_design_window_parameter_t::get_kaiser_window_shaping_factor);
    offers<bool(double)>(&lib_fir_design_window_parameter_t::set_chebyshev_window_sidelobe_attenuation);
    offers<double() const>(&lib_fir_design_window_parameter_t::get_chebyshev_window_sidelobe_attenuation);
    offers<bool(double)>(&lib_fir_design_window_parameter_t::set_guassian_window_width_factor);
    offers<double() const>(&lib_fir_design_window_parameter_t::get_guassian_window_width_factor);
    offers<bool(std::uint32_t)>(&lib_fir_design_window_parameter_t::set_taylor_window_n_bar);
    offers<std::uint32_t() const>(&lib_fir_design_window_parameter_t::get_taylor_window_n_bar);
    offers<bool(double)>(&lib_fir_design_window_parameter_t::set_taylor_sidelobe_attenuation);
    offers<double() const>(&lib_fir_design_window_parameter_t::get_taylor_sidelobe_attenuation);
    offers<bool(double)>(&lib_fir_design_window_parameter_t::set_tukey_window_cosine_fraction);
    offers<double() const>(&lib_fir_design_window_parameter_t::get_tukey_window_cosine_fraction);
    offers<bool(const float_array&)>(&lib_fir_design_window_parameter_t::set_window_data);
    offers<const float_array&() const>(&lib_fir_design_window_parameter_t::get_window_data);
}

TEST(FirDesignEquirippleParameterInterface, OffersItsOperations)
{
    offers<bool()>(&lib_fir_design_equiripple_parameter_t::init);
    offers<bool(std::uint32_t)>(&lib_fir_design_equiripple_parameter_t::set_density_factor);
    offers<std::uint32_t() const>(&lib_fir_design_equiripple_parameter_t::get_density_factor);
}

TEST(FirDesignParameterInterface, OffersItsOperations)
{
    offers<bool(pugi::xml_node&)>(&lib_fir_design_parameter_t::save_setting);
    offers<bool(const pugi::xml_node&)>(&lib_fir_design_parameter_t::recall_setting);
    offers<bool()>(&lib_fir_design_parameter_t::init);
    offers<bool(std::uint32_t)>(&lib_fir_design_parameter_t::set_frequency_unit);
    offers<std::uint32_t() const>(&lib_fir_design_parameter_t::get_frequency_unit);
    offers<bool(double)>(&lib_fir_design_parameter_t::set_fs);
    offers<double() const>(&lib_fir_design_parameter_t::get_fs);
    offers<bool(lib_fir_design_method_t)>(&lib_fir_design_parameter_t::set_fir_design_method);
    offers<lib_fir_design_method_t() const>(&lib_fir_design_parameter_t::get_fir_design_method);
    offers<bool(lib_fir_response_type_t)>(&lib_fir_design_parameter_t::set_fir_response_type);
    offers<lib_fir_response_type_t() const>(&lib_fir_design_parameter_t::get_fir_response_type);
    offers<bool(double)>(&lib_fir_design_parameter_t::set_first_cutoff_frequency);
    offers<double() const>(&lib_fir_design_parameter_t::get_first_cutoff_frequency);
    offers<bool(double)>(&lib_fir_design_parameter_t::set_second_cutoff_frequency);
    offers<double() const>(&lib_fir_design_parameter_t::get_second_cutoff_frequency);
    offers<bool(double)>(&lib_fir_design_parameter_t::set_first_edge_start_frequency);
    offers<double() const>(&lib_fir_design_parameter_t::get_first_edge_start_frequency);
    offers<bool(double)>(&lib_fir_design_parameter_t::set_first_edge_stop_frequency);
    offers<double() const>(&lib_fir_design_parameter_t::get_first_edge_stop_frequency);
    offers<bool(double)>(&lib_fir_design_parameter_t::set_second_edge_start_frequency);
    offers<double() const>(&lib_fir_design_parameter_t::get_second_edge_start_frequency);
    offers<bool(double)>(&lib_fir_design_parameter_t::set_second_edge_stop_frequency);
    offers<double() const>(&lib_fir_design_parameter_t::get_second_edge_stop_frequency);
    offers<bool(double, double)>(&lib_fir_design_parameter_t::set_first_cutoff_frequency_no_nomalize);
    offers<double() const>(&lib_fir_design_parameter_t::get_first_cutoff_frequency_no_nomalize);
    offers<bool(double, double)>(&lib_fir_design_parameter_t::set_second_cutoff_frequency_no_nomalize);
    offers<double() const>(&lib_fir_design_parameter_t::get_second_cutoff_frequency_no_nomalize);
    offers<bool(double, double)>(&lib_fir_design_parameter_t::set_first_edge_start_frequency_no_nomalize);
    offers<double() const>(&lib_fir_design_parameter_t::get_first_edge_start_frequency_no_nomalize);
    offers<bool(double, double)>(&lib_fir_design_parameter_t::set_first_edge_stop_frequency_no_nomalize);
    offers<double() const>(&lib_fir_design_parameter_t::get_first_edge_stop_frequency_no_nomalize);
    offers<bool(double, double)>(&lib_fir_design_parameter_t::set_second_edge_start_frequency_no_nomalize);
    offers<double() const>(&lib_fir_design_parameter_t::get_second_edge_start_frequency_no_nomalize);
    offers<bool(double, double)>(&lib_fir_design_parameter_t::set_second_edge_stop_frequency_no_nomalize);
    offers<double() const>(&lib_fir_design_parameter_t::get_second_edge_stop_frequency_no_nomalize);
    offers<bool(double)>(&lib_fir_design_parameter_t::set_first_Amplitude);
    offers<double() const>(&lib_fir_design_parameter_t::get_first_Amplitude);
    offers<bool(double)>(&lib_fir_design_parameter_t::set_second_Amplitude);
    offers<double() const>(&lib_fir_design_parameter_t::get_second_Amplitude);
    offers<bool(double)>(&lib_fir_design_parameter_t::set_third_Amplitude);
    offers<double() const>(&lib_fir_design_parameter_t::get_third_Amplitude);
    offers<bool(bool)>(&lib_fir_design_parameter_t::set_fir_minimum_order_enable);
    offers<bool() const>(&lib_fir_design_parameter_t::is_fir_mimimum_order_enable);
    offers<bool(std::uint32_t)>(&lib_fir_design_parameter_t::set_fir_filter_order);
    offers<std::uint32_t() const>(&lib_fir_design_parameter_t::get_fir_filter_order);
    offers<bool(double)>(&lib_fir_design_parameter_t::set_first_band_weight);
    offers<double() const>(&lib_fir_design_parameter_t::get_first_band_weight);
    offers<bool(double)>(&lib_fir_design_parameter_t::set_second_band_weight);
    offers<double() const>(&lib_fir_design_parameter_t::get_second_band_weight);
    offers<bool(double)>(&lib_fir_design_parameter_t::set_third_band_weight);
    offers<double() const>(&lib_fir_design_parameter_t::get_third_band_weight);
    offers<bool(lib_window_type_t)>(&lib_fir_design_parameter_t::set_window_type);
    offers<lib_window_type_t() const>(&lib_fir_design_parameter_t::get_window_type);
    offers<bool(bool)>(&lib_fir_design_parameter_t::set_passband_gain_normalize_enable);
    offers<bool() const>(&lib_fir_design_parameter_t::is_passband_gain_normalize_enable);
    offers<bool(double)>(&lib_fir_design_parameter_t::set_kaiser_window_shaping_factor);
    offers<double() const>(&lib_fir_design_parameter_t::get_kaiser_window_shaping_factor);
    offers<bool(double)>(&lib_fir_design_parameter_t::set_chebyshev_window_sidelobe_attenuation);
    offers<double() const>(&lib_fir_design_parameter_t::get_chebyshev_window_sidelobe_attenuation);
    offers<bool(double)>(&lib_fir_design_parameter_t::set_guassian_window_width_factor);
    offers<double() const>(&lib_fir_design_parameter_t::get_guassian_window_width_factor);
    offers<bool(std::uint32_t)>(&lib_fir_design_parameter_t::set_taylor_window_n_bar);
    offers<std::uint32_t() const>(&lib_fir_design_parameter_t::get_taylor_window_n_bar);
    offers<bool(double)>(&lib_fir_design_parameter_t::set_taylor_sidelobe_attenuation);
    offers<double() const>(&lib_fir_design_parameter_t::get_taylor_sidelobe_attenuation);
    offers<bool(double)>(&lib_fir_design_parameter_t::set_tukey_window_cosine_fraction);
    offers<double() const>(&lib_fir_design_parameter_t::get_tukey_window_cosine_fraction);
    offers<bool(const float_array&)>(&lib_fir_design_parameter_t::set_window_data);
    offers<const float_array&() const>(&lib_fir_design_parameter_t::get_window_data);
    offers<bool(std::uint32_t)>(&lib_fir_design_parameter_t::set_density_factor);
    offers<std::uint32_t() const>(&lib_fir_design_parameter_t::get_density_factor);
    offers<bool() const>(&lib_fir_design_parameter_t::is_full_band_response_given);
    offers<bool(double_array&) const>(&lib_fir_design_parameter_t::is_weight_constant);
}

TEST(FirDesignerInterface, OffersItsOperations)
{
    offers<bool(const lib_fir_design_parameter_t&, complex_array&)>(&lib_fir_designer_t::design_fir_filter);
    offers<std::uint32_t(const lib_fir_design_parameter_t&)>(&lib_fir_designer_t::calculate_minimum_order);
    offers<void(const lib_fir_design_parameter_t&, double_array&, double_array&, double_array&)>(
        &lib_fir_designer_t::_get_freq_amplitude_vector);
    offers<void(const lib_fir_design_parameter_t&, double_array&, double_array&, double_array&)>(
        &lib_fir_designer_t::_get_freq_amplitude_weight_vector);
    offers<bool(const lib_fir_design_parameter_t&, complex_array&)>(&lib_fir_designer_t::_equiripple_method);
    offers<std::uint32_t(const lib_fir_design_parameter_t&)>(&lib_fir_designer_t::_get_equiripple_filter_order);
    offers<bool(std::uint32_t, const lib_fir_design_parameter_t&, const double_array&, const double_array&, const double_array&,
                double_array&, double_array&, double_array&)>(&lib_fir_designer_t::_initialize_remez_iteration);
    offers<void(std::uint32_t, const lib_fir_design_parameter_t&, std::uint32_t, double_array&, const double_array&, bool, bool)>(
        &lib_fir_designer_t::_initialize_frequency_grid);
    offers<void(const double_array&, const double_array&, const double_array&, const double_array&, bool, double_array&,
                double_array&)>(&lib_fir_designer_t::_calculate_response_and_final_weight);
    offers<bool(std::uint32_t, double_array&, const double_array&, double_array&, double_array&, bool, bool, double&,
                float_array&)>(&lib_fir_designer_t::_remez_iteration);
    offers<double(std::int32_t, std::int32_t, const double_array&)>(&lib_fir_designer_t::_calculate_quantities);
    offers<void(const double_array&, const double_array&, const double_array&, double_array&, const double_array&, bool, bool,
                float_array&)>(&lib_fir_designer_t::_equiripple_method_ifft);
    offers<bool(const double_array&, const double_array&, const double_array&, std::uint32_t&, double_array&, double_array&,
                double_array&)>(&lib_fir_designer_t::firpmord);
    offers<double(const double&, const double&, double, double)>(&lib_fir_designer_t::remlpord);
    offers<bool(const lib_fir_design_parameter_t&, complex_array&)>(&lib_fir_designer_t::_window_method);
    offers<std::uint32_t(const lib_fir_design_parameter_t&)>(&lib_fir_designer_t::_get_window_filter_order);
    offers<void(complex_array&, bool, const double_array&, std::uint32_t)>(&lib_fir_designer_t::scalefilter);
    offers<bool(const lib_fir_design_parameter_t&, const lib_fir_design_window_parameter_t&, std::uint32_t, complex_array&)>(
        &lib_fir_designer_t::_get_window_data);
    offers<void(complex_array&, std::uint32_t)>(&lib_fir_designer_t::_generate_rectangle_window);
    offers<void(complex_array&, std::uint32_t)>(&lib_fir_designer_t::_generate_hamming_window);
    offers<void(complex_array&, std::uint32_t)>(&lib_fir_designer_t::_generate_hann_window);
    offers<void(complex_array&, std::uint32_t, double)>(&lib_fir_designer_t::_generate_kaiser_window);
    offers<void(complex_array&, std::uint32_t, double)>(&lib_fir_designer_t::_generate_tukey_window);
    offers<void(complex_array&, std::uint32_t, double)>(&lib_fir_designer_t::_generate_gaussian_window);
    offers<void(complex_array&, std::uint32_t)>(&lib_fir_designer_t::_generate_nuttall_window);
    offers<void(complex_array&, std::uint32_t, std::uint32_t, double)>(&lib_fir_designer_t::_generate_taylor_window);
    offers<void(complex_array&, std::uint32_t)>(&lib_fir_designer_t::_generate_bartlett_hanning_window);
    offers<void(complex_array&, std::uint32_t)>(&lib_fir_designer_t::_generate_bohman_window);
    offers<void(complex_array&, std::uint32_t)>(&lib_fir_designer_t::_generate_bartlett_window);
    offers<void(complex_array&, std::uint32_t, double)>(&lib_fir_designer_t::_generate_chebyshev_window);
    offers<void(complex_array&, std::uint32_t)>(&lib_fir_designer_t::_generate_blackman_harris_window);
    offers<void(complex_array&, std::uint32_t)>(&lib_fir_designer_t::_generate_flat_top_window);
    offers<void(complex_array&, std::uint32_t)>(&lib_fir_designer_t::_generate_blackman_window);
    offers<void(complex_array&, std::uint32_t)>(&lib_fir_designer_t::_generate_parzen_window);
    offers<void(complex_array&, std::uint32_t)>(&lib_fir_designer_t::_generate_triangle_window);
    offers<double(double)>(&lib_fir_designer_t::_bessel_i0);
    offers<double(const double_array&, double)>(&lib_fir_designer_t::_calc_polynomial);
    offers<bool(const lib_fir_design_parameter_t&, complex_array&)>(&lib_fir_designer_t::_least_square_method);
    offers<void(std::uint32_t, double_array&, double_array&)>(&lib_fir_designer_t::_initmatrices);
    offers<bool(const double_matrix&, double_matrix&)>(&lib_fir_designer_t::_invert_matrix);
    offers<double_array(const double_matrix&, const double_array&)>(&lib_fir_designer_t::_matrix_multiply);
    offers<bool(const double_matrix&, const double_array&, double_array&)>(&lib_fir_designer_t::_solvelinearsystem);
    offers<complex_array(const double_array&, bool)>(&lib_fir_designer_t::_construct_h);
    offers<double(double)>(&lib_fir_designer_t::sinc);
    offers<bool(const double_array&, const double_array&, const double_array&, std::uint32_t&, double_array&, double&)>(
        &lib_fir_designer_t::_get_kaiser_minimum_order);
    offers<void(double, double, double, double, double&, double&)>(&lib_fir_designer_t::kaislpord);
}
