#include <dma_demod.h>

#include "interface_check.h"

using namespace vrim;
using namespace vrim::common_lib;
using namespace common_log;

TEST(CommonMathInterface, OffersItsOperations)
{
    offers<float(std::complex<float>)>(&lib_common_math_t::get_complex_amplitude);
    offers<float(std::complex<float>)>(&lib_common_math_t::get_complex_phase);
    offers<void(const complex_array&, float_array&)>(&lib_common_math_t::get_complex_array_amplitude);
    offers<void(const complex_array&, float_array&)>(&lib_common_math_t::get_complex_array_phase);
    offers<float(const complex_array&)>(&lib_common_math_t::get_complex_array_rms);
    offers<float(const complex_array&)>(&lib_common_math_t::get_data_max_amplitude);
    offers<double(double, double)>(&lib_common_math_t::amplitude_ratio_to_db_value);
    offers<bool(std::uint64_t)>(&lib_common_math_t::is_power_of_2);
}

TEST(NormalizationInterface, OffersItsOperations)
{
    offers<void(complex_array&)>(&lib_normalization_t::rms_normalize);
    offers<void(complex_array&)>(&lib_normalization_t::amplitude_max_normalize);
}

TEST(FourierTransformInterface, OffersItsOperations)
{
    offers<void(complex_array&, std::uint32_t)>(&lib_fourier_transform_t::deal_fft);
    offers<void(complex_array&, std::uint32_t)>(&lib_fourier_transform_t::deal_ifft);
    offers<void(complex_array&)>(&lib_fourier_transform_t::fft_shift);
}

TEST(WindowFunctionInterface, OffersItsOperations)
{
    offers<void(complex_array&, std::uint32_t, bool, double)>(&lib_window_function_t::generate_gauss_window);
    offers<void(complex_array&, std::uint32_t, bool, double)>(&lib_window_function_t::generate_kaiser_window);
}

TEST(ConvolutionInterface, OffersItsOperations)
{
    offers<void(const complex_array&, complex_array&)>(&lib_convolution_t::deal_convolution);
    offers<void(const complex_array&, complex_array&)>(&lib_convolution_t::deal_fft_convolution);
}

TEST(FilterInterface, OffersItsOperations)
{
    offers<void(std::uint32_t)>(&lib_filter_t::set_filter_length);
    offers<void(double)>(&lib_filter_t::set_filter_alpha);
    offers<void(std::uint32_t)>(&lib_filter_t::set_oversampling_ratio);
    offers<void(lib_filter_type_t)>(&lib_filter_t::set_filter_type);
    offers<bool(complex_array&) const>(&lib_filter_t::generate_filter_data);
    offers<void(const complex_array&, complex_array&, lib_filter_delay_type_t)>(&lib_filter_t::deal_filter);
}

TEST(FirFilterDesignInterface, OffersItsOperations)
{
    offers<void(std::uint32_t)>(&lib_fir_filter_design_t::set_filter_order);
    offers<void(float)>(&lib_fir_filter_design_t::set_cutoff_freq);
    offers<void(std::uint32_t)>(&lib_fir_filter_design_t::set_window_type);
    offers<bool()>(&lib_fir_filter_design_t::generate_fir_filter);
    offers<const complex_array&() const>(&lib_fir_filter_design_t::get_filter_data);
}

TEST(ResamplerInterface, OffersItsOperations)
{
    offers<bool(const complex_array&, complex_array&, std::uint64_t, std::uint64_t, std::uint64_t)>(
        &lib_resampler_t::deal_polyphase_resampling);
}

TEST(CommonSignalProcessInterface, OffersItsOperations)
{
    offers<void(complex_array&, double, double)>(&lib_common_signal_process_t::deal_mixer);
}

TEST(TestInterface, OffersItsOperations)
{
    offers<std::int64_t()>(&lib_test_t::get_current_time);
}

TEST(ConstellationBaseInterface, OffersItsOperations)
{
    offers<std::int32_t(const constellation_map&)>(&lib_constellation_base_t::check_constellation_map_validity);
}

TEST(ConstellationQamInterface, OffersItsOperations)
{
    offers<void(std::uint32_t, constellation_map&, bool, lib_constellation_normalize_type_t)>(
        &lib_constellation_qam_t::generate_default_qam_constellation);
}

TEST(ConstellationAskInterface, OffersItsOperations)
{
    offers<void(std::uint32_t, constellation_map&, float, bool, lib_constellation_normalize_type_t)>(
        &lib_constellation_ask_t::generate_default_ask_constellation);
}

TEST(ConstellationPskInterface, OffersItsOperations)
{
    offers<void(std::uint32_t, constellation_map&, bool)>(&lib_constellation_psk_t::generate_default_psk_constellation);
}

TEST(ConstellationFskInterface, OffersItsOperations)
{
    offers<void(std::uint32_t, constellation_map&, bool)>(&lib_constellation_fsk_t::generate_default_fsk_constellation);
}

TEST(ConstellationDpskInterface, OffersItsOperations)
{
    offers<void(std::uint32_t, constellation_map&, bool)>(&lib_constellation_dpsk_t::generate_default_dpsk_constellation);
}

TEST(CommonListParseInterface, OffersItsOperations)
{
    offers<bool(const byte_array&, std::string&)>(&lib_common_list_parse_t::bit_list_to_string);
    offers<bool(const std::string&, byte_array&)>(&lib_common_list_parse_t::string_to_bit_list);
    offers<bool(const std::vector<std::int32_t>&, std::string&)>(&lib_common_list_parse_t::index_list_to_string);
    offers<bool(const std::string&, std::vector<std::int32_t>&, std::string&)>(&lib_common_list_parse_t::string_to_index_list);
    offers<bool(const complex_array&, std::string&)>(&lib_common_list_parse_t::complex_list_to_string);
    offers<bool(const std::string&, complex_array&)>(&lib_common_list_parse_t::string_to_complex_list);
}

TEST(PrbsCodeInterface, OffersItsOperations)
{
    offers<void(lib_prbs_code_type_t)>(&lib_prbs_code_t::set_prbs_type);
    offers<void(bool)>(&lib_prbs_code_t::set_custom_primitive_polynomial_enable);
    offers<void(lib_prbs_sequence_output_position_type_t)>(&lib_prbs_code_t::set_sequence_output_position);
    offers<void(const std::vector<std::uint32_t>&)>(&lib_prbs_code_t::set_prbs_primitive_polynomial);
    offers<void(std::uint64_t)>(&lib_prbs_code_t::set_prbs_seed);
    offers<bool(std::uint64_t, byte_array&) const>(&lib_prbs_code_t::generate_prbs_code);
}

TEST(XmlCommonInterface, OffersItsOperations)
{
    offers<std::string(plib_protocol_type_t)>(&lib_xml_common_t::get_protocol_name);
    offers<bool(const std::string&, plib_protocol_type_t&)>(&lib_xml_common_t::get_protocol_type);
}

TEST(CfgProtocolBaseInterface, OffersItsOperations)
{
    offers<bool(pugi::xml_node&)>(&cfg_protocol_base_t::save_setting);
    offers<bool(const pugi::xml_node&)>(&cfg_protocol_base_t::recall_setting);
    offers<bool()>(&cfg_protocol_base_t::init);
}

TEST(DmaCommonPolyfitInterface, OffersItsOperations)
{
    offers<bool(float_array, float_array, std::uint32_t, float_array&)>(&lib_dma_common_polyfit_t::deal_polyfit);
    offers<bool(const float_array&, const float_array&, float_array&)>(&lib_dma_common_polyfit_t::deal_line_polyfit);
    offers<bool(const float_array&, const float_array&, float_array&)>(&lib_dma_common_polyfit_t::deal_curve_polyfit);
}

TEST(LoggerSystemInterface, OffersItsOperations)
{
    offers<logger_system_t&()>(&logger_system_t::get_instance);
    offers<void(const std::string&, bool, log_level_t, const std::string&, std::uint32_t, const std::string&,
                const std::string&)>(&logger_system_t::log_write);
    offers<void(log_level_t)>(&logger_system_t::set_level);
    offers<log_level_t() const>(&logger_system_t::get_level);
}

TEST(CommonMathInterface, OffersTheMeanOfAnyArray)
{
    offers<float(const float_array&)>(&lib_common_math_t::get_average_value<float_array>);
    offers<float(const double_array&)>(&lib_common_math_t::get_average_value<double_array>);
}
