#include "fir_filter/lib_fir_designer.h"

#include "support/internal/trigonometry.h"
#include "support/log_macro.h"

#include <algorithm>
#include <cmath>
#include <complex>

namespace vrim::fir_filter_lib
{
namespace
{
bool is_two_sided(lib_fir_response_type_t type)
{
    return type == LIB_FIR_RESPONSE_BANDPASS || type == LIB_FIR_RESPONSE_BANDSTOP;
}

bool has_bands(lib_fir_response_type_t type)
{
    return type == LIB_FIR_RESPONSE_LOWPASS || type == LIB_FIR_RESPONSE_HIGHPASS || is_two_sided(type);
}

/// Transitions of no width: the least-square design of such a description is the truncated ideal response.
void set_cutoffs(lib_fir_design_parameter_t& parameters, double first, double second)
{
    parameters.set_first_edge_start_frequency(first);
    parameters.set_first_edge_stop_frequency(first);
    parameters.set_second_edge_start_frequency(second);
    parameters.set_second_edge_stop_frequency(second);
}

/// Cutoffs and shaping factor of the least Kaiser design. @return whether there is one
bool set_kaiser_estimate(const lib_fir_design_parameter_t& parameters, lib_fir_design_parameter_t& ideal, std::uint32_t& order)
{
    double_array edges, amplitudes, deviations, cutoffs;
    double beta = 0.0;
    lib_fir_designer_t::_get_freq_amplitude_vector(parameters, edges, amplitudes, deviations);
    if (!lib_fir_designer_t::_get_kaiser_minimum_order(edges, amplitudes, deviations, order, cutoffs, beta) || cutoffs.empty())
        return false;
    set_cutoffs(ideal, cutoffs.front(), cutoffs.back());
    ideal.set_kaiser_window_shaping_factor(beta);
    return true;
}

/// Turns a copy of the description into one whose least-square design is the ideal response. @return whether there is one
bool make_ideal(const lib_fir_design_parameter_t& parameters, lib_fir_design_parameter_t& ideal)
{
    std::uint32_t order = lib_fir_designer_t::_get_window_filter_order(parameters);
    if (order == 0)
        return false;
    if (!parameters.is_fir_mimimum_order_enable())
        set_cutoffs(ideal, parameters.get_first_cutoff_frequency(), parameters.get_second_cutoff_frequency());
    else if (parameters.get_window_type() == LIB_WINDOW_KAISER && !set_kaiser_estimate(parameters, ideal, order))
        return false;
    // The order block is set past the rule of even orders: its flags belong to the host's objects.
    ideal.get_order_parameter().set_minimum_order_enable(false);
    ideal.get_order_parameter().set_filter_order(order);
    // The ideal response has no weights.
    ideal.set_fir_design_method(LIB_FIR_METHOD_WINDOW);
    ideal.set_first_band_weight(1.0);
    ideal.set_second_band_weight(1.0);
    ideal.set_third_band_weight(1.0);
    return true;
}

/// Edges as given, 0 and 1 included.
double_array make_scale_frequencies(const lib_fir_design_parameter_t& parameters)
{
    double_array frequencies = { 0.0, parameters.get_first_edge_start_frequency(), parameters.get_first_edge_stop_frequency() };
    if (is_two_sided(parameters.get_fir_response_type()))
    {
        frequencies.push_back(parameters.get_second_edge_start_frequency());
        frequencies.push_back(parameters.get_second_edge_stop_frequency());
    }
    frequencies.push_back(1.0);
    return frequencies;
}

std::complex<double> widen(std::complex<float> value)
{
    return { static_cast<double>(value.real()), static_cast<double>(value.imag()) };
}

std::complex<double> cal_dc_sum(const complex_array& taps, std::size_t count)
{
    std::complex<double> sum;
    for (std::size_t n = 0; n < count; ++n)
        sum += widen(taps[n]);
    return sum;
}

double cal_nyquist_gain(const complex_array& taps, std::size_t count)
{
    std::complex<double> sum;
    for (std::size_t n = 0; n < count; ++n)
        sum += n % 2 == 0 ? widen(taps[n]) : -widen(taps[n]);
    return std::abs(sum);
}

/// @param frequency  1 is the Nyquist frequency
double cal_gain(const complex_array& taps, std::size_t count, double frequency)
{
    std::complex<double> sum;
    for (std::size_t n = 0; n < count; ++n)
    {
        const double angle = -6.283185307179586 * static_cast<double>(n) * (frequency / 2.0);
        const common_lib::sine_cosine_t phasor = common_lib::sine_cosine(angle);
        const std::complex<double> tap = widen(taps[n]);
        sum += std::complex<double>(tap.real() * phasor.cosine - tap.imag() * phasor.sine,
                                    tap.real() * phasor.sine + tap.imag() * phasor.cosine);
    }
    return std::abs(sum);
}
} // namespace

bool lib_fir_designer_t::_window_method(const lib_fir_design_parameter_t& parameters, complex_array& coefficients)
{
    coefficients.clear();
    const lib_fir_response_type_t response = parameters.get_fir_response_type();
    if (!has_bands(response))
    {
        DMA_LOG_ERROR("lib_fir_designer_t::_window_method: the response type has no bands!\n");
        return false;
    }
    lib_fir_design_parameter_t ideal = parameters;
    if (!make_ideal(parameters, ideal))
        return false;

    complex_array window;
    const std::uint32_t length = ideal.get_fir_filter_order() + 1;
    if (!_least_square_method(ideal, coefficients) ||
        !_get_window_data(ideal, ideal.get_window_parameter(), length, window))
    {
        coefficients.clear();
        return false;
    }
    for (std::size_t n = 0; n < coefficients.size(); ++n)
        coefficients[n] *= window[n];

    if (parameters.is_passband_gain_normalize_enable())
    {
        const bool first_band_pass = response != LIB_FIR_RESPONSE_HIGHPASS && response != LIB_FIR_RESPONSE_BANDPASS;
        scalefilter(coefficients, first_band_pass, make_scale_frequencies(parameters), length);
    }
    return true;
}

std::uint32_t lib_fir_designer_t::_get_window_filter_order(const lib_fir_design_parameter_t& parameters)
{
    return parameters.is_fir_mimimum_order_enable() ? calculate_minimum_order(parameters) : parameters.get_fir_filter_order();
}

void lib_fir_designer_t::scalefilter(complex_array& coefficients, bool first_band_pass, const double_array& frequencies,
                                     std::uint32_t length)
{
    // Taps that cancel leave a rounding error, not a gain: dividing by it would blow the filter up.
    constexpr double smallest_gain = 1e-12;

    const std::size_t count = std::min<std::size_t>(length, coefficients.size());
    std::complex<double> gain;
    if (first_band_pass)
        gain = cal_dc_sum(coefficients, count);
    else if (frequencies.size() < 4)
        DMA_LOG_INFO("lib_fir_designer_t::scalefilter: no passband in a list of fewer than 4 frequencies!\n");
    else if (frequencies[3] == 1.0)
        gain = cal_nyquist_gain(coefficients, count);
    else
        gain = cal_gain(coefficients, count, 0.5 * (frequencies[2] + frequencies[3]));

    double total = 0.0;
    for (std::size_t n = 0; n < count; ++n)
        total += std::abs(widen(coefficients[n]));
    // Also false for what is not a number.
    if (!(std::abs(gain) > smallest_gain * total) || !std::isfinite(std::abs(gain)))
        return;
    for (std::complex<float>& tap : coefficients)
    {
        const std::complex<double> scaled = widen(tap) / gain;
        tap = { static_cast<float>(scaled.real()), static_cast<float>(scaled.imag()) };
    }
}

bool lib_fir_designer_t::_get_window_data(const lib_fir_design_parameter_t& /*parameters*/,
                                          const lib_fir_design_window_parameter_t& window_parameters, std::uint32_t length,
                                          complex_array& window)
{
    const auto& p = window_parameters;
    switch (p.get_window_type())
    {
    case LIB_WINDOW_BARTLETT:
        _generate_bartlett_window(window, length);
        break;
    case LIB_WINDOW_BARTLETT_HANNING:
        _generate_bartlett_hanning_window(window, length);
        break;
    case LIB_WINDOW_BOHMAN:
        _generate_bohman_window(window, length);
        break;
    case LIB_WINDOW_RECTANGLE:
        _generate_rectangle_window(window, length);
        break;
    case LIB_WINDOW_HAMMING:
        _generate_hamming_window(window, length);
        break;
    case LIB_WINDOW_HANN:
        _generate_hann_window(window, length);
        break;
    case LIB_WINDOW_GAUSSIAN:
        _generate_gaussian_window(window, length, p.get_guassian_window_width_factor());
        break;
    case LIB_WINDOW_BLACKMAN:
        _generate_blackman_window(window, length);
        break;
    case LIB_WINDOW_BLACKMAN_HARRIS:
        _generate_blackman_harris_window(window, length);
        break;
    case LIB_WINDOW_CHEBYSHEV:
        _generate_chebyshev_window(window, length, p.get_chebyshev_window_sidelobe_attenuation());
        break;
    case LIB_WINDOW_FLATTOP:
        _generate_flat_top_window(window, length);
        break;
    case LIB_WINDOW_KAISER:
        _generate_kaiser_window(window, length, p.get_kaiser_window_shaping_factor());
        break;
    case LIB_WINDOW_NUTTALL:
        _generate_nuttall_window(window, length);
        break;
    case LIB_WINDOW_PARZEN:
        _generate_parzen_window(window, length);
        break;
    case LIB_WINDOW_TAYLOR:
        _generate_taylor_window(window, length, p.get_taylor_window_n_bar(), p.get_taylor_sidelobe_attenuation());
        break;
    case LIB_WINDOW_TRIANGLE:
        _generate_triangle_window(window, length);
        break;
    case LIB_WINDOW_TUKEY:
        _generate_tukey_window(window, length, p.get_tukey_window_cosine_fraction());
        break;
    default:
        DMA_LOG_ERROR("lib_fir_designer_t::_get_window_data: unknown window type!\n");
        window.clear();
        return false;
    }
    return window.size() == length; // a longer window than any filter has is refused
}
} // namespace vrim::fir_filter_lib
