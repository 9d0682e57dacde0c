#include "fir_filter/lib_fir_design_parameter.h"

#include "support/lib_xml_common.h"
#include "support/log_macro.h"

#include <cstdlib>
#include <exception>
#include <fmt/format.h>
#include <locale.h>
#include <pugixml.hpp>
#include <string>

namespace vrim::fir_filter_lib
{
namespace
{
using common_lib::lib_xml_common_t;

void append(pugi::xml_node& node, const char* name, bool value)
{
    node.append_child(name).text().set(value);
}

void append(pugi::xml_node& node, const char* name, std::uint32_t value)
{
    node.append_child(name).text().set(value);
}

/// Seventeen digits read back as the same value, with a decimal point whatever the host's locale is.
void append(pugi::xml_node& node, const char* name, double value)
{
    node.append_child(name).text().set(fmt::format("{:.17g}", value).c_str());
}

template <typename enum_t>
void append_text(pugi::xml_node& node, const char* name, enum_t value)
{
    const std::string text = lib_xml_common_t::get_enum_text(get_enum_entries<enum_t>(), value);
    node.append_child(name).text().set(text.c_str());
}

/// The number that an element's text starts with, 0 without one; read with a decimal point whatever the host's locale is.
double read_double(const pugi::xml_node& node, const char* name)
{
    static const locale_t plain_locale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
    return strtod_l(node.child(name).text().get(), nullptr, plain_locale);
}

std::uint32_t read_uint(const pugi::xml_node& node, const char* name)
{
    return node.child(name).text().as_uint();
}

bool read_bool(const pugi::xml_node& node, const char* name)
{
    return node.child(name).text().as_bool();
}

template <typename enum_t>
enum_t read_enum(const pugi::xml_node& node, const char* name)
{
    return lib_xml_common_t::get_enum_value(get_enum_entries<enum_t>(), node.child(name).text().get());
}

/// Where a raw frequency comes from and goes to.
struct raw_frequency_t
{
    const char* name;
    double (lib_fir_design_parameter_t::*get)() const;
    bool (lib_fir_design_parameter_t::*set)(double value, double fs);
};

// The outer element has the name of its first child; saved descriptions are full of it.
constexpr const char* raw_frequencies_name = "FirstCutoffNoNormalize";
constexpr raw_frequency_t raw_frequencies[] = {
    { "FirstCutoffNoNormalize", &lib_fir_design_parameter_t::get_first_cutoff_frequency_no_nomalize,
      &lib_fir_design_parameter_t::set_first_cutoff_frequency_no_nomalize },
    { "SecondCutoffNoNormalize", &lib_fir_design_parameter_t::get_second_cutoff_frequency_no_nomalize,
      &lib_fir_design_parameter_t::set_second_cutoff_frequency_no_nomalize },
    { "FirstEdgeStartNoNormalize", &lib_fir_design_parameter_t::get_first_edge_start_frequency_no_nomalize,
      &lib_fir_design_parameter_t::set_first_edge_start_frequency_no_nomalize },
    { "FirstEdgeStopNoNormalize", &lib_fir_design_parameter_t::get_first_edge_stop_frequency_no_nomalize,
      &lib_fir_design_parameter_t::set_first_edge_stop_frequency_no_nomalize },
    { "SecondEdgeStartNoNormalize", &lib_fir_design_parameter_t::get_second_edge_start_frequency_no_nomalize,
      &lib_fir_design_parameter_t::set_second_edge_start_frequency_no_nomalize },
    { "SecondEdgeStopNoNormalize", &lib_fir_design_parameter_t::get_second_edge_stop_frequency_no_nomalize,
      &lib_fir_design_parameter_t::set_second_edge_stop_frequency_no_nomalize },
};

void save_response(pugi::xml_node node, const lib_fir_design_parameter_t& parameters)
{
    append_text(node, "Type", parameters.get_fir_response_type());
    append(node, "FirstCutoff", parameters.get_first_cutoff_frequency());
    append(node, "SecondCutoff", parameters.get_second_cutoff_frequency());
    append(node, "FirstEdgeStart", parameters.get_first_edge_start_frequency());
    append(node, "FirstEdgeStop", parameters.get_first_edge_stop_frequency());
    append(node, "SecondEdgeStart", parameters.get_second_edge_start_frequency());
    append(node, "SecondEdgeStop", parameters.get_second_edge_stop_frequency());
    append(node, "FirstAmplitude", parameters.get_first_Amplitude());
    append(node, "SecondAmplitude", parameters.get_second_Amplitude());
    append(node, "ThirdAmplitude", parameters.get_third_Amplitude());
}

void save_raw_frequencies(pugi::xml_node node, const lib_fir_design_parameter_t& parameters)
{
    for (const raw_frequency_t& frequency : raw_frequencies)
        append(node, frequency.name, (parameters.*frequency.get)());
}

void save_order(pugi::xml_node node, const lib_fir_design_parameter_t& parameters)
{
    append(node, "MinimumOrderEnable", parameters.is_fir_mimimum_order_enable());
    append(node, "FilterOrder", parameters.get_fir_filter_order());
}

void save_weight(pugi::xml_node node, const lib_fir_design_parameter_t& parameters)
{
    append(node, "Band1Weight", parameters.get_first_band_weight());
    append(node, "Band2Weight", parameters.get_second_band_weight());
    append(node, "Band3Weight", parameters.get_third_band_weight());
}

void save_window(pugi::xml_node node, const lib_fir_design_parameter_t& parameters)
{
    append_text(node, "WindowType", parameters.get_window_type());
    append(node, "NormalizeEnable", parameters.is_passband_gain_normalize_enable());
    append(node, "KaiserBeta", parameters.get_kaiser_window_shaping_factor());
    append(node, "GuassianAlpha", parameters.get_guassian_window_width_factor());
    append(node, "ChebyshevAtten", parameters.get_chebyshev_window_sidelobe_attenuation());
    append(node, "TaylorNBAR", parameters.get_taylor_window_n_bar());
    append(node, "TaylorSLA", parameters.get_taylor_sidelobe_attenuation());
    append(node, "TukeyFraction", parameters.get_tukey_window_cosine_fraction());
}

void recall_response(const pugi::xml_node& node, lib_fir_design_parameter_t& parameters)
{
    // First the type: its revalidation writes amplitudes and minimum order, which the elements below then overwrite.
    parameters.set_fir_response_type(read_enum<lib_fir_response_type_t>(node, "Type"));
    parameters.set_first_cutoff_frequency(read_double(node, "FirstCutoff"));
    parameters.set_second_cutoff_frequency(read_double(node, "SecondCutoff"));
    parameters.set_first_edge_start_frequency(read_double(node, "FirstEdgeStart"));
    parameters.set_first_edge_stop_frequency(read_double(node, "FirstEdgeStop"));
    parameters.set_second_edge_start_frequency(read_double(node, "SecondEdgeStart"));
    parameters.set_second_edge_stop_frequency(read_double(node, "SecondEdgeStop"));
    parameters.set_first_Amplitude(read_double(node, "FirstAmplitude"));
    parameters.set_second_Amplitude(read_double(node, "SecondAmplitude"));
    parameters.set_third_Amplitude(read_double(node, "ThirdAmplitude"));
}

void recall_raw_frequencies(const pugi::xml_node& node, lib_fir_design_parameter_t& parameters)
{
    for (const raw_frequency_t& frequency : raw_frequencies)
    {
        if (node.child(frequency.name))
            (parameters.*frequency.set)(read_double(node, frequency.name), parameters.get_fs());
    }
}

void recall_order(const pugi::xml_node& node, lib_fir_design_parameter_t& parameters)
{
    parameters.set_fir_minimum_order_enable(read_bool(node, "MinimumOrderEnable"));
    parameters.set_fir_filter_order(read_uint(node, "FilterOrder"));
}

void recall_weight(const pugi::xml_node& node, lib_fir_design_parameter_t& parameters)
{
    parameters.set_first_band_weight(read_double(node, "Band1Weight"));
    parameters.set_second_band_weight(read_double(node, "Band2Weight"));
    parameters.set_third_band_weight(read_double(node, "Band3Weight"));
}

void recall_window(const pugi::xml_node& node, lib_fir_design_parameter_t& parameters)
{
    // A window other than Kaiser clears minimum order, whatever the element before said.
    parameters.set_window_type(read_enum<lib_window_type_t>(node, "WindowType"));
    parameters.set_passband_gain_normalize_enable(read_bool(node, "NormalizeEnable"));
    parameters.set_kaiser_window_shaping_factor(read_double(node, "KaiserBeta"));
    // The width pulls the attenuation down, so it has to come first.
    parameters.set_guassian_window_width_factor(read_double(node, "GuassianAlpha"));
    parameters.set_chebyshev_window_sidelobe_attenuation(read_double(node, "ChebyshevAtten"));
    parameters.set_taylor_window_n_bar(read_uint(node, "TaylorNBAR"));
    // Whole decibels only: a saved fraction is dropped.
    parameters.set_taylor_sidelobe_attenuation(static_cast<double>(read_uint(node, "TaylorSLA")));
    parameters.set_tukey_window_cosine_fraction(read_double(node, "TukeyFraction"));
}
} // namespace

bool lib_fir_design_parameter_t::save_setting(pugi::xml_node& node)
{
    if (node.type() != pugi::node_element && node.type() != pugi::node_document)
    {
        DMA_LOG_ERROR("lib_fir_design_parameter_t::save_setting:error! The node can hold no elements.\n");
        return false;
    }
    node.append_attribute("ProtocolType")
        .set_value(lib_xml_common_t::get_protocol_name(common_lib::protocol_fir_parameter).c_str());
    append(node, "FrequencyUnit", frequency_unit_);
    append(node, "Fs", fs_);
    save_response(node.append_child("ResponseParameters"), *this);
    save_raw_frequencies(node.append_child(raw_frequencies_name), *this);
    save_order(node.append_child("OrderParameters"), *this);
    save_weight(node.append_child("WeightParameters"), *this);
    save_window(node.append_child("WindowParameters"), *this);
    pugi::xml_node equiripple = node.append_child("EquirippleParameters");
    append(equiripple, "DensityFactor", get_density_factor());
    append_text(node, "DesignMethod", design_method_);
    return true;
}

bool lib_fir_design_parameter_t::recall_setting(const pugi::xml_node& node)
{
    try
    {
        if (node.child("FrequencyUnit"))
            frequency_unit_ = read_uint(node, "FrequencyUnit");
        if (node.child("Fs"))
            fs_ = read_double(node, "Fs");
        recall_response(node.child("ResponseParameters"), *this);
        recall_raw_frequencies(node.child(raw_frequencies_name), *this);
        recall_order(node.child("OrderParameters"), *this);
        recall_weight(node.child("WeightParameters"), *this);
        recall_window(node.child("WindowParameters"), *this);
        set_density_factor(read_uint(node.child("EquirippleParameters"), "DensityFactor"));
        // Without revalidation: what the method would clear or set has just been read.
        design_method_ = read_enum<lib_fir_design_method_t>(node, "DesignMethod");
        return true;
    }
    catch (const std::exception& error)
    {
        DMA_LOG_ERROR("lib_fir_design_parameter_t::recall_setting:error! Reading ended early: {}\n", error.what());
        return false;
    }
    catch (...)
    {
        DMA_LOG_ERROR("lib_fir_design_parameter_t::recall_setting:error! Reading ended early by an unknown exception.\n");
        return false;
    }
}
} // namespace vrim::fir_filter_lib
