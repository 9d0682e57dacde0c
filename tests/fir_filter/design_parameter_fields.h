#pragma once

#include "fir_filter/lib_fir_design_parameter.h"

#include <map>
#include <string>

/// Every scalar field of a description by name, so that a test can say what changed and that nothing else did.
using design_fields_t = std::map<std::string, double>;

inline design_fields_t get_fields(const vrim::fir_filter_lib::lib_fir_design_parameter_t& p)
{
    return {
        { "design method", p.get_fir_design_method() },
        { "first cutoff, raw", p.get_first_cutoff_frequency_no_nomalize() },
        { "second cutoff, raw", p.get_second_cutoff_frequency_no_nomalize() },
        { "first edge start, raw", p.get_first_edge_start_frequency_no_nomalize() },
        { "first edge stop, raw", p.get_first_edge_stop_frequency_no_nomalize() },
        { "second edge start, raw", p.get_second_edge_start_frequency_no_nomalize() },
        { "second edge stop, raw", p.get_second_edge_stop_frequency_no_nomalize() },
        { "frequency unit", p.get_frequency_unit() },
        { "fs", p.get_fs() },
        { "response type", p.get_fir_response_type() },
        { "first cutoff", p.get_first_cutoff_frequency() },
        { "second cutoff", p.get_second_cutoff_frequency() },
        { "first edge start", p.get_first_edge_start_frequency() },
        { "first edge stop", p.get_first_edge_stop_frequency() },
        { "second edge start", p.get_second_edge_start_frequency() },
        { "second edge stop", p.get_second_edge_stop_frequency() },
        { "first amplitude", p.get_first_Amplitude() },
        { "second amplitude", p.get_second_Amplitude() },
        { "third amplitude", p.get_third_Amplitude() },
        { "minimum order", p.is_fir_mimimum_order_enable() ? 1.0 : 0.0 },
        { "order", p.get_fir_filter_order() },
        { "response length", p.get_order_parameter().get_filter_response_length() },
        { "length", p.get_order_parameter().get_filter_length() },
        { "first weight", p.get_first_band_weight() },
        { "second weight", p.get_second_band_weight() },
        { "third weight", p.get_third_band_weight() },
        { "window type", p.get_window_type() },
        { "normalize", p.is_passband_gain_normalize_enable() ? 1.0 : 0.0 },
        { "kaiser factor", p.get_kaiser_window_shaping_factor() },
        { "chebyshev attenuation", p.get_chebyshev_window_sidelobe_attenuation() },
        { "gaussian factor", p.get_guassian_window_width_factor() },
        { "taylor n bar", p.get_taylor_window_n_bar() },
        { "taylor sidelobe", p.get_taylor_sidelobe_attenuation() },
        { "tukey fraction", p.get_tukey_window_cosine_fraction() },
        { "density", p.get_density_factor() },
    };
}

/// The fields of a fresh description, from the table of defaults and not from the class.
inline design_fields_t default_fields()
{
    return {
        { "design method", 0 },
        { "first cutoff, raw", 8400 },
        { "second cutoff, raw", 13200 },
        { "first edge start, raw", 7200 },
        { "first edge stop, raw", 9600 },
        { "second edge start, raw", 12000 },
        { "second edge stop, raw", 14400 },
        { "frequency unit", 0 },
        { "fs", 48000 },
        { "response type", 1 },
        { "first cutoff", 0.45 },
        { "second cutoff", 0.55 },
        { "first edge start", 0.2 },
        { "first edge stop", 0.3 },
        { "second edge start", 0.4 },
        { "second edge stop", 0.5 },
        { "first amplitude", 1 },
        { "second amplitude", 80 },
        { "third amplitude", 1 },
        { "minimum order", 0 },
        { "order", 20 },
        { "response length", 21 },
        { "length", 21 },
        { "first weight", 1 },
        { "second weight", 1 },
        { "third weight", 1 },
        { "window type", 11 },
        { "normalize", 1 },
        { "kaiser factor", 7.83 },
        { "chebyshev attenuation", 100 },
        { "gaussian factor", 2.5 },
        { "taylor n bar", 4 },
        { "taylor sidelobe", 30 },
        { "tukey fraction", 0.5 },
        { "density", 20 },
    };
}

/// `fields` with an order and the lengths that go with it.
inline design_fields_t with_order(design_fields_t fields, double order)
{
    fields["order"] = order;
    fields["response length"] = order + 1;
    fields["length"] = order + 1;
    return fields;
}

/// A fresh description with no raised order left over from another one: the flags belong to the process.
inline vrim::fir_filter_lib::lib_fir_design_parameter_t make_parameters()
{
    vrim::fir_filter_lib::lib_fir_design_parameter_t parameters;
    parameters.set_fir_filter_order(20); // Lowpass: clears the flag, and may come out at 19
    parameters.set_fir_filter_order(20);
    return parameters;
}
