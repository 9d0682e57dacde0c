#include "filter_description.h"

#include <array>
#include <cstddef>

namespace dmatool
{
using namespace vrim::fir_filter_lib;

namespace
{
// At this rate the Nyquist frequency is 1 Hz.
constexpr double relative_sample_rate = 2.0;

void set_frequencies(const filter_description_t& filter, lib_fir_design_parameter_t& parameter)
{
    const double fs = filter.sample_rate.value_or(relative_sample_rate);
    // What the response does not use keeps its place relative to the sample rate, so that a file holds one and the same.
    const double half = fs * 0.5;
    std::array<double, 2> cutoffs = { parameter.get_first_cutoff_frequency() * half,
                                      parameter.get_second_cutoff_frequency() * half };
    std::array<double, 4> edges = { parameter.get_first_edge_start_frequency() * half,
                                    parameter.get_first_edge_stop_frequency() * half,
                                    parameter.get_second_edge_start_frequency() * half,
                                    parameter.get_second_edge_stop_frequency() * half };
    for (std::size_t i = 0; i < get_passing_bands(filter.response).size() - 1; ++i)
    {
        const bool has_edges = !filter.edges.empty();
        cutoffs[i] = filter.cutoffs.empty() ? (filter.edges[2 * i] + filter.edges[2 * i + 1]) / 2.0 : filter.cutoffs[i];
        // A window design takes the centre of a pass band, where it scales the gain, from the edges.
        edges[2 * i] = has_edges ? filter.edges[2 * i] : cutoffs[i];
        edges[2 * i + 1] = has_edges ? filter.edges[2 * i + 1] : cutoffs[i];
    }
    parameter.set_fs(fs);
    parameter.set_first_cutoff_frequency_no_nomalize(cutoffs[0], fs);
    parameter.set_second_cutoff_frequency_no_nomalize(cutoffs[1], fs);
    parameter.set_first_edge_start_frequency_no_nomalize(edges[0], fs);
    parameter.set_first_edge_stop_frequency_no_nomalize(edges[1], fs);
    parameter.set_second_edge_start_frequency_no_nomalize(edges[2], fs);
    parameter.set_second_edge_stop_frequency_no_nomalize(edges[3], fs);
}

void set_window(const filter_description_t& filter, lib_fir_design_parameter_t& parameter)
{
    parameter.set_kaiser_window_shaping_factor(filter.beta);
    if (filter.window == LIB_WINDOW_GAUSSIAN)
    {
        // Lowers the attenuation of the Chebyshev window too, so only where it counts.
        parameter.set_guassian_window_width_factor(filter.width_factor);
    }
    if (filter.sidelobe && filter.window == LIB_WINDOW_CHEBYSHEV)
    {
        parameter.set_chebyshev_window_sidelobe_attenuation(*filter.sidelobe);
    }
    if (filter.sidelobe && filter.window == LIB_WINDOW_TAYLOR)
    {
        parameter.set_taylor_sidelobe_attenuation(*filter.sidelobe);
    }
    parameter.set_taylor_window_n_bar(filter.n_bar);
    parameter.set_tukey_window_cosine_fraction(filter.fraction);
    parameter.set_passband_gain_normalize_enable(filter.normalize);
    parameter.set_window_type(filter.window);
}
} // namespace

lib_fir_design_parameter_t make_filter_parameter(const filter_description_t& filter)
{
    lib_fir_design_parameter_t parameter;
    // Method and response set amplitudes and order anew, so they come first.
    parameter.set_fir_response_type(filter.response);
    parameter.set_fir_design_method(filter.method);
    set_window(filter, parameter);
    parameter.set_fir_minimum_order_enable(filter.minimum_order);
    if (!filter.minimum_order)
    {
        parameter.set_fir_filter_order(filter.order);
    }
    if (!filter.decibels.empty())
    {
        parameter.set_first_Amplitude(filter.decibels[0]);
        parameter.set_second_Amplitude(filter.decibels[1]);
        parameter.set_third_Amplitude(filter.decibels.size() > 2 ? filter.decibels[2] : parameter.get_third_Amplitude());
    }
    if (!filter.weights.empty())
    {
        parameter.set_first_band_weight(filter.weights[0]);
        parameter.set_second_band_weight(filter.weights[1]);
        parameter.set_third_band_weight(filter.weights.size() > 2 ? filter.weights[2] : parameter.get_third_band_weight());
    }
    parameter.set_density_factor(filter.density);
    set_frequencies(filter, parameter);
    return parameter;
}

bool is_design_by_cutoff(const lib_fir_design_parameter_t& parameter)
{
    return parameter.get_fir_design_method() == LIB_FIR_METHOD_WINDOW && !parameter.is_fir_mimimum_order_enable();
}

std::vector<double> get_cutoffs(const lib_fir_design_parameter_t& parameter)
{
    std::vector<double> cutoffs = { parameter.get_first_cutoff_frequency(), parameter.get_second_cutoff_frequency() };
    cutoffs.resize(get_weights(parameter).size() - 1);
    return cutoffs;
}

std::vector<double> get_edges(const lib_fir_design_parameter_t& parameter)
{
    std::vector<double> edges = { parameter.get_first_edge_start_frequency(), parameter.get_first_edge_stop_frequency(),
                                  parameter.get_second_edge_start_frequency(), parameter.get_second_edge_stop_frequency() };
    edges.resize(2 * (get_weights(parameter).size() - 1));
    return edges;
}

std::vector<double> get_decibels(const lib_fir_design_parameter_t& parameter)
{
    std::vector<double> decibels = { parameter.get_first_Amplitude(), parameter.get_second_Amplitude(),
                                     parameter.get_third_Amplitude() };
    decibels.resize(get_weights(parameter).size());
    return decibels;
}

std::vector<double> get_weights(const lib_fir_design_parameter_t& parameter)
{
    std::vector<double> weights = { parameter.get_first_band_weight(), parameter.get_second_band_weight(),
                                    parameter.get_third_band_weight() };
    weights.resize(get_passing_bands(parameter.get_fir_response_type()).size());
    return weights;
}
} // namespace dmatool
