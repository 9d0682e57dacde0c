#include "filter_command.h"
#include "filter_description.h"
#include "tool_text.h"

#include <fmt/format.h>

#include <cmath>
#include <iterator>

namespace dmatool
{
using namespace vrim::fir_filter_lib;

namespace
{
std::string make_row(const std::string& name, const std::string& text)
{
    return fmt::format("{:<20}{}\n", name, text);
}

std::string make_frequency(const filter_design_t& design, double frequency)
{
    return fmt::format("{:.9g}", get_user_frequency(design, frequency));
}

/// To four decimals, and never a negative zero.
std::string make_decibel(double value)
{
    return fmt::format("{:.4f} dB", std::abs(value) < 0.00005 ? 0.0 : value);
}

std::string make_method(const filter_design_t& design)
{
    const lib_fir_design_parameter_t& parameter = design.parameter;
    const lib_fir_design_method_t method = parameter.get_fir_design_method();
    return get_method_name(method) + (method == LIB_FIR_METHOD_EQUIRIPPLE
                                          ? fmt::format(", {} grid points per extremal frequency", parameter.get_density_factor())
                                          : "");
}

std::string make_window(const filter_design_t& design)
{
    const lib_fir_design_parameter_t& parameter = design.parameter;
    std::string text = get_window_name(parameter.get_window_type());
    switch (parameter.get_window_type())
    {
    case LIB_WINDOW_KAISER:
        text += fmt::format(", beta {:.9g}", design.beta);
        break;
    case LIB_WINDOW_CHEBYSHEV:
        text += fmt::format(", sidelobes {:.9g} dB", parameter.get_chebyshev_window_sidelobe_attenuation());
        break;
    case LIB_WINDOW_GAUSSIAN:
        text += fmt::format(", width factor {:.9g}", parameter.get_guassian_window_width_factor());
        break;
    case LIB_WINDOW_TAYLOR:
        text += fmt::format(", n bar {}, sidelobes {:.9g} dB", parameter.get_taylor_window_n_bar(),
                            parameter.get_taylor_sidelobe_attenuation());
        break;
    case LIB_WINDOW_TUKEY:
        text += fmt::format(", fraction {:.9g}", parameter.get_tukey_window_cosine_fraction());
        break;
    default:
        break;
    }
    return text + (parameter.is_passband_gain_normalize_enable() ? ", gain normalized" : ", gain as it comes out");
}

std::string make_frequencies(const filter_design_t& design, const std::vector<double>& frequencies)
{
    std::string text;
    for (const double frequency : frequencies)
    {
        text += (text.empty() ? "" : ", ") + make_frequency(design, frequency);
    }
    return text.empty() ? "none" : text;
}

std::string make_band(const filter_design_t& design, const filter_band_t& band)
{
    std::string text = fmt::format("  {:<6}{:>14} to {:<14} ", band.passes ? "pass" : "stop", make_frequency(design, band.start),
                                   make_frequency(design, band.stop));
    if (!band.flat)
    {
        return text + "slopes from end to end; --edges say where to measure\n";
    }
    if (band.passes)
    {
        text += fmt::format("ripple {}, deviation {}, gain {} at {}", make_decibel(band.ripple), make_decibel(band.deviation),
                            make_decibel(band.gain), make_frequency(design, band.gain_at));
    }
    else
    {
        text += fmt::format("attenuation {} at {}", make_decibel(band.attenuation), make_frequency(design, band.attenuation_at));
    }
    if (band.decibel)
    {
        text += fmt::format(", asked {:.9g} dB{}", *band.decibel, band.missed ? " (missed)" : "");
    }
    if (band.weight)
    {
        text += fmt::format(", weight {:.9g}", *band.weight);
    }
    return text + "\n";
}
} // namespace

std::string make_filter_text_report(const filter_design_t& design)
{
    const lib_fir_design_parameter_t& parameter = design.parameter;
    const std::size_t order = design.taps.size() - 1;
    std::string text;
    text += make_row("Method", make_method(design));
    text += make_row("Response", get_response_name(parameter.get_fir_response_type()));
    text +=
        make_row("Order", fmt::format("{}{}, {} taps", order, parameter.is_fir_mimimum_order_enable() ? " (estimated least)" : "",
                                      design.taps.size()));
    if (parameter.get_fir_design_method() == LIB_FIR_METHOD_WINDOW)
    {
        text += make_row("Window", make_window(design));
        text += make_row("Cutoff", make_frequencies(design, design.cutoffs));
    }
    text += make_row("Frequencies", is_relative(design)
                                        ? "relative to the Nyquist frequency"
                                        : fmt::format("in Hz, sample rate {} Hz", get_short_number(parameter.get_fs())));
    text += make_row("Bands", design.edges_found ? "where the ripples are" : "as the edges say");
    for (const filter_band_t& band : design.bands)
    {
        text += make_band(design, band);
    }
    text += make_row("Gain of -6.02 dB at", make_frequencies(design, design.half_gain));
    text += is_symmetric(design)
                ? make_row("Symmetric", fmt::format("yes, group delay {} samples", static_cast<double>(order) / 2.0))
                : make_row("Symmetric", fmt::format("no, taps differ from their mirror by up to {:.3g}", design.asymmetry));
    text += make_row("Sum of taps", fmt::format("{:.9g}", design.sum));
    text += "\nTaps\n";
    for (std::size_t i = 0; i < design.taps.size(); ++i)
    {
        fmt::format_to(std::back_inserter(text), "{} {:.9g}\n", i, design.taps[i].real());
    }
    return text;
}

std::string make_filter_csv_report(const filter_design_t& design)
{
    std::string text = "index,tap\n";
    for (std::size_t i = 0; i < design.taps.size(); ++i)
    {
        fmt::format_to(std::back_inserter(text), "{},{:.9g}\n", i, design.taps[i].real());
    }
    return text;
}
} // namespace dmatool
