#include "fir_filter/lib_fir_designer.h"

#include "support/log_macro.h"
#include "support/trace_output.h"

#include <cmath>

namespace vrim::fir_filter_lib
{
namespace
{
/// Mean of the excursions below and above 1 of a ripple in dB.
double cal_mean_ripple(double db)
{
    return ((1.0 - std::pow(10.0, -db / 20.0)) / 2.0 + (std::pow(10.0, db / 20.0) - 1.0) / 2.0) / 2.0;
}

/// Half the excursion above 1 of a ripple in dB.
double cal_upper_ripple(double db)
{
    return (std::pow(10.0, db / 20.0) - 1.0) / 2.0;
}

/// Residue of an attenuation in dB.
double cal_residue(double db)
{
    return std::pow(10.0, -db / 20.0);
}

/// Interior edges, amplitudes and deviations of a minimum-order design.
void get_tolerance_bands(const lib_fir_design_parameter_t& parameters, double_array& frequencies, double_array& amplitudes,
                         double_array& deviations)
{
    const double first = parameters.get_first_Amplitude();
    const double second = parameters.get_second_Amplitude();
    const double third = parameters.get_third_Amplitude();
    frequencies = { parameters.get_first_edge_start_frequency(), parameters.get_first_edge_stop_frequency() };
    switch (parameters.get_fir_response_type())
    {
    case LIB_FIR_RESPONSE_LOWPASS:
        amplitudes = { 1.0, 0.0 };
        deviations = { cal_mean_ripple(first), cal_residue(second) };
        return;
    case LIB_FIR_RESPONSE_HIGHPASS:
        amplitudes = { 0.0, 1.0 };
        deviations = { cal_residue(first), cal_upper_ripple(second) };
        return;
    case LIB_FIR_RESPONSE_BANDPASS:
        amplitudes = { 0.0, 1.0, 0.0 };
        deviations = { cal_residue(first), cal_upper_ripple(second), cal_residue(third) };
        break;
    case LIB_FIR_RESPONSE_BANDSTOP:
        amplitudes = { 1.0, 0.0, 1.0 };
        deviations = { cal_upper_ripple(first), cal_residue(second), cal_upper_ripple(third) };
        break;
    default:
        frequencies.clear();
        return;
    }
    frequencies.push_back(parameters.get_second_edge_start_frequency());
    frequencies.push_back(parameters.get_second_edge_stop_frequency());
}
} // namespace

bool lib_fir_designer_t::design_fir_filter(const lib_fir_design_parameter_t& parameters, complex_array& coefficients)
{
    coefficients.clear();
    bool designed = false;
    switch (parameters.get_fir_design_method())
    {
    case LIB_FIR_METHOD_WINDOW:
        designed = _window_method(parameters, coefficients);
        break;
    case LIB_FIR_METHOD_EQUIRIPPLE:
        designed = _equiripple_method(parameters, coefficients);
        break;
    case LIB_FIR_METHOD_LEAST_SQUARE:
        designed = _least_square_method(parameters, coefficients);
        break;
    default:
        common_log::print_trace_line("lib_fir_designer_t::design_fir_filter Report : Unexpected Design Method!");
        break;
    }
    if (!designed)
        coefficients.clear();
    return designed;
}

std::uint32_t lib_fir_designer_t::calculate_minimum_order(const lib_fir_design_parameter_t& parameters)
{
    const lib_fir_design_method_t method = parameters.get_fir_design_method();
    const bool by_window = method == LIB_FIR_METHOD_WINDOW && parameters.get_window_type() == LIB_WINDOW_KAISER;
    if (!parameters.is_fir_mimimum_order_enable() || (method != LIB_FIR_METHOD_EQUIRIPPLE && !by_window))
        return 1;

    double_array edges, amplitudes, deviations;
    _get_freq_amplitude_vector(parameters, edges, amplitudes, deviations);
    std::uint32_t order = 0;
    double_array bands, band_amplitudes, weights;
    double beta = 0.0;
    const bool estimated = by_window ? _get_kaiser_minimum_order(edges, amplitudes, deviations, order, bands, beta)
                                     : firpmord(edges, amplitudes, deviations, order, bands, band_amplitudes, weights);
    if (!estimated)
    {
        DMA_LOG_ERROR("lib_fir_designer_t::calculate_minimum_order: no order up to 1000000 meets the edges and amplitudes.\n");
        return 0;
    }
    // An odd order has a zero at the Nyquist frequency; a response that passes there takes the next even one.
    return amplitudes.back() != 0.0 ? order + order % 2 : order;
}

void lib_fir_designer_t::_get_freq_amplitude_vector(const lib_fir_design_parameter_t& parameters, double_array& frequencies,
                                                    double_array& amplitudes, double_array& weights)
{
    if (!parameters.is_fir_mimimum_order_enable())
    {
        _get_freq_amplitude_weight_vector(parameters, frequencies, amplitudes, weights);
        return;
    }
    frequencies.clear();
    amplitudes.clear();
    weights.clear();
    get_tolerance_bands(parameters, frequencies, amplitudes, weights);
}
} // namespace vrim::fir_filter_lib
