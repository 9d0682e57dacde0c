#include "filter_command.h"

#include "exit_status.h"
#include "filter_description.h"
#include "filter_response.h"
#include "fir_filter/lib_fir_designer.h"
#include "library_output.h"
#include "tool_file.h"
#include "tool_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>

namespace dmatool
{
using namespace vrim::fir_filter_lib;

namespace
{
// An estimate that misses by less than this has met its aim.
constexpr double aim_tolerance = 0.005; // dB
// Above that the rounding of the taps decides more than the order.
constexpr double highest_common_attenuation = 130.0; // dB
constexpr std::size_t most_half_gains = 16;

double get_decibel(double gain)
{
    return 20.0 * std::log10(gain);
}

/// Transitions of the bands that the figures are taken over, two edges each; empty where the ripples have to tell them.
std::vector<double> find_measured_edges(const lib_fir_design_parameter_t& parameter)
{
    const std::vector<double> edges = get_edges(parameter);
    if (!is_design_by_cutoff(parameter))
    {
        return edges;
    }
    // A window design does not depend on edges. They were meant for it if the cutoffs lie between them.
    const std::vector<double> cutoffs = get_cutoffs(parameter);
    bool meant = find_frequency_fault(edges, 1.0).empty();
    for (std::size_t i = 0; i < cutoffs.size(); ++i)
    {
        meant = meant && edges[2 * i] < cutoffs[i] && cutoffs[i] < edges[2 * i + 1];
    }
    return meant ? edges : std::vector<double>();
}

void measure_band(const filter_response_t& response, filter_band_t& band)
{
    const response_point_t highest = response.find_highest(band.start, band.stop);
    if (!band.passes)
    {
        band.attenuation = -get_decibel(highest.gain);
        band.attenuation_at = highest.frequency;
        band.missed = band.decibel && !(band.attenuation >= *band.decibel - aim_tolerance);
        return;
    }
    const response_point_t lowest = response.find_lowest(band.start, band.stop);
    band.ripple = get_decibel(highest.gain / lowest.gain);
    band.deviation = std::max(std::abs(get_decibel(highest.gain)), std::abs(get_decibel(lowest.gain)));
    band.gain_at = band.start <= 0.0 ? 0.0 : band.stop >= 1.0 ? 1.0 : (band.start + band.stop) / 2.0;
    band.gain = get_decibel(response.cal_gain(band.gain_at));
    band.missed = band.decibel && !(band.ripple <= *band.decibel + aim_tolerance);
}

std::vector<filter_band_t> measure_bands(const filter_response_t& response, const filter_design_t& design)
{
    const lib_fir_design_parameter_t& parameter = design.parameter;
    const std::vector<bool> passing = get_passing_bands(parameter.get_fir_response_type());
    const std::vector<double> edges = find_measured_edges(parameter);
    std::vector<filter_band_t> bands(passing.size());
    for (std::size_t i = 0; i < bands.size(); ++i)
    {
        filter_band_t& band = bands[i];
        const bool lowest = i == 0;
        const bool highest = i + 1 == bands.size();
        band.passes = passing[i];
        if (parameter.is_fir_mimimum_order_enable())
        {
            band.decibel = get_decibels(parameter)[i];
        }
        else if (!is_design_by_cutoff(parameter))
        {
            band.weight = get_weights(parameter)[i];
        }
        const std::vector<double>& ends = edges.empty() ? design.cutoffs : edges;
        const std::size_t ends_a_transition = edges.empty() ? 1 : 2;
        band.start = lowest ? 0.0 : ends[ends_a_transition * i - 1];
        band.stop = highest ? 1.0 : ends[ends_a_transition * i];
        if (edges.empty())
        {
            const auto flat = response.find_flat_part({ band.start, band.stop, !lowest, !highest }, band.passes);
            band.flat = flat.has_value();
            band.start = flat ? flat->start : band.start;
            band.stop = flat ? flat->stop : band.stop;
        }
        if (band.flat)
        {
            measure_band(response, band);
        }
    }
    return bands;
}

/// What a minimum-order design with the Kaiser window found.
void take_kaiser_estimate(filter_design_t& design)
{
    vrim::double_array edges;
    vrim::double_array amplitudes;
    vrim::double_array deviations;
    vrim::double_array cutoffs;
    std::uint32_t order = 0;
    lib_fir_designer_t::_get_freq_amplitude_vector(design.parameter, edges, amplitudes, deviations);
    if (lib_fir_designer_t::_get_kaiser_minimum_order(edges, amplitudes, deviations, order, cutoffs, design.beta))
    {
        design.cutoffs.assign(cutoffs.begin(), cutoffs.end());
    }
}

void design_taps(filter_design_t& design, bool verbose, const line_sink_t& notes)
{
    const library_output_t output(library_output_t::keep_all_texts, verbose, notes);
    const bool designed = lib_fir_designer_t::design_fir_filter(design.parameter, design.taps);
    const std::vector<std::string> messages = output.get_messages();
    if (!designed || design.taps.empty())
    {
        throw tool_error_t(exit_analysis_failed, "there is no filter for this description; log: " + join_messages(messages));
    }
    const auto is_bad = [](const std::complex<float>& tap) { return !std::isfinite(tap.real()) || tap.imag() != 0.0f; };
    const auto is_zero = [](const std::complex<float>& tap) { return tap.real() == 0.0f; };
    if (std::any_of(design.taps.begin(), design.taps.end(), is_bad))
    {
        throw tool_error_t(exit_analysis_failed,
                           "the design ended with taps that are no finite numbers; log: " + join_messages(messages));
    }
    if (std::all_of(design.taps.begin(), design.taps.end(), is_zero))
    {
        throw tool_error_t(exit_analysis_failed, "the design ended with taps that are all 0; log: " + join_messages(messages));
    }
    for (const std::string& message : messages)
    {
        design.notes.push_back("log: " + message);
    }
    if (design.parameter.get_fir_design_method() == LIB_FIR_METHOD_WINDOW && design.parameter.is_fir_mimimum_order_enable())
    {
        take_kaiser_estimate(design);
    }
}

void note_results(filter_design_t& design)
{
    const std::uint32_t order = static_cast<std::uint32_t>(design.taps.size() - 1);
    const lib_fir_design_parameter_t& parameter = design.parameter;
    if (!parameter.is_fir_mimimum_order_enable() && order != parameter.get_fir_filter_order())
    {
        design.notes.push_back(fmt::format("the filter has the order {}, not {}", order, parameter.get_fir_filter_order()));
    }
    for (const filter_band_t& band : design.bands)
    {
        if (!band.missed)
        {
            continue;
        }
        const bool at_rounding = !band.passes && band.attenuation > highest_common_attenuation;
        design.notes.push_back(fmt::format("the estimated order {} misses {} dB of {} by {:.3g} dB; {}", order, *band.decibel,
                                           band.passes ? "ripple" : "attenuation",
                                           std::abs(*band.decibel - (band.passes ? band.ripple : band.attenuation)),
                                           at_rounding ? "single-precision taps reach little more"
                                                       : "ask for a little more, or give a higher --order yourself"));
    }
    // The gain of a band pass filter is scaled at the centre of its edges, which a file may have put anywhere.
    const std::vector<double> edges = get_edges(parameter);
    const bool scaled =
        parameter.get_fir_design_method() == LIB_FIR_METHOD_WINDOW && parameter.is_passband_gain_normalize_enable();
    if (scaled && parameter.get_fir_response_type() == LIB_FIR_RESPONSE_BANDPASS)
    {
        const double centre = (edges[1] + edges[2]) / 2.0;
        if (!(centre > design.cutoffs[0] && centre < design.cutoffs[1]))
        {
            design.notes.push_back(fmt::format("the gain was made 1 at {}, the centre of the edges, outside the pass band",
                                               get_short_number(get_user_frequency(design, centre))));
        }
    }
}

std::string run_filter(const filter_arguments_t& arguments, const line_sink_t& notes)
{
    const filter_options_t options = parse_filter_options(arguments);
    const filter_design_t design = run_filter_design(options, notes);
    const std::string report = options.json  ? make_filter_json_report(design)
                               : options.csv ? make_filter_csv_report(design)
                                             : make_filter_text_report(design);
    if (options.save)
    {
        write_filter_parameter(*options.save, design.parameter);
    }
    if (options.output)
    {
        write_file(*options.output, report);
        return {};
    }
    return report;
}
} // namespace

filter_design_t run_filter_design(const filter_options_t& options, const line_sink_t& notes)
{
    filter_design_t design;
    design.parameter = options.parameters ? read_filter_parameter(*options.parameters, design.notes)
                                          : make_filter_parameter(options.description);
    design.beta = design.parameter.get_kaiser_window_shaping_factor();
    design.cutoffs = is_design_by_cutoff(design.parameter) ? get_cutoffs(design.parameter) : std::vector<double>();
    design_taps(design, options.verbose, notes);

    const filter_response_t response(design.taps);
    design.edges_found = find_measured_edges(design.parameter).empty();
    design.bands = measure_bands(response, design);
    design.half_gain = response.find_crossings(0.5, most_half_gains);
    for (std::size_t i = 0; i < design.taps.size(); ++i)
    {
        const double tap = static_cast<double>(design.taps[i].real());
        const double mirror = static_cast<double>(design.taps[design.taps.size() - 1 - i].real());
        design.asymmetry = std::max(design.asymmetry, std::abs(tap - mirror));
        design.sum += tap;
    }
    note_results(design);
    for (const std::string& note : design.notes)
    {
        notes("note: " + note);
    }
    return design;
}

double get_user_frequency(const filter_design_t& design, double frequency)
{
    // At a sample rate of 2 Hz relative frequencies are Hz. Twelve digits drop what the division by the rate added.
    return std::strtod(fmt::format("{:.12g}", frequency * design.parameter.get_fs() * 0.5).c_str(), nullptr);
}

bool is_relative(const filter_design_t& design)
{
    return design.parameter.get_fs() == 2.0;
}

bool is_symmetric(const filter_design_t& design)
{
    double largest = 0.0;
    for (const std::complex<float>& tap : design.taps)
    {
        largest = std::max(largest, std::abs(static_cast<double>(tap.real())));
    }
    return design.asymmetry <= largest * static_cast<double>(std::numeric_limits<float>::epsilon());
}

command_t add_filter_command(CLI::App& program)
{
    CLI::App* words = program.add_subcommand("filter", "Designs a FIR filter and prints its taps and what they do");
    words->footer(
        std::string("Bands are measured from the taps as printed, in double precision. Pass band: ripple is the highest "
                    "over the\nlowest gain, deviation the largest one from 0 dB. Stop band: the least attenuation below "
                    "0 dB. A window design\nwithout --edges is measured over its ripples: each band begins where the "
                    "slope from the cutoff last leaves\nthe level of the band's largest ripple.\n") +
        exit_status_help);
    const auto arguments = std::make_shared<filter_arguments_t>();
    add_filter_options(*words, *arguments);
    const auto run = [arguments](const line_sink_t& notes) { return run_filter(*arguments, notes); };
    return { words, run, "design a shorter filter with --order" };
}
} // namespace dmatool
