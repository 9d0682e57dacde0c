#pragma once

#include "fir_filter/lib_fir_enum.h"

#include <CLI/CLI.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace dmatool
{
/// The words of the command line, before anything is made of them.
struct filter_arguments_t
{
    std::optional<std::string> parameters;
    std::optional<std::string> method, response, sample_rate, order;
    bool minimum_order = false;
    std::vector<std::string> cutoff, edges, weights, ripple, attenuation;
    std::optional<std::string> window, beta, sidelobe, width_factor, n_bar, fraction, density;
    bool no_normalize = false;
    bool json = false;
    bool csv = false;
    bool verbose = false;
    std::optional<std::string> output, save;
};

/// One filter as the command line describes it, every value within what the designer takes.
struct filter_description_t
{
    vrim::fir_filter_lib::lib_fir_design_method_t method = vrim::fir_filter_lib::LIB_FIR_METHOD_WINDOW;
    vrim::fir_filter_lib::lib_fir_response_type_t response = vrim::fir_filter_lib::LIB_FIR_RESPONSE_LOWPASS;
    /// Unit of the frequencies: Hz, or the Nyquist frequency if empty
    std::optional<double> sample_rate;
    std::uint32_t order = 20;
    bool minimum_order = false;
    std::vector<double> cutoffs;  ///< one per transition; empty where the edges tell the transitions
    std::vector<double> edges;    ///< two per transition; empty for a window design without them
    std::vector<double> weights;  ///< one per band
    std::vector<double> decibels; ///< of a minimum-order design, one per band: ripple or attenuation
    vrim::fir_filter_lib::lib_window_type_t window = vrim::fir_filter_lib::LIB_WINDOW_KAISER;
    double beta = 7.83;             ///< of the Kaiser window
    std::optional<double> sidelobe; ///< dB, of the Chebyshev and the Taylor window; theirs if empty
    double width_factor = 2.5;      ///< of the Gaussian window
    std::uint32_t n_bar = 4;        ///< of the Taylor window
    double fraction = 0.5;          ///< of the Tukey window
    bool normalize = true;
    std::uint32_t density = 20;
};

/// What one run of the command is to do.
struct filter_options_t
{
    std::optional<std::string> parameters; ///< file that stands in place of the description
    filter_description_t description;
    bool json = false;
    bool csv = false;
    bool verbose = false;
    std::optional<std::string> output, save; ///< files to write
};

/// Adds every option to a command.
void add_filter_options(CLI::App& command, filter_arguments_t& arguments);

/// Makes options of words. What the designer would change is refused, and so is what it would not look at.
/// @throws tool_error_t
filter_options_t parse_filter_options(const filter_arguments_t& arguments);

// Words of the command line for the designer's enumerations

std::string get_method_name(vrim::fir_filter_lib::lib_fir_design_method_t method);
std::string get_response_name(vrim::fir_filter_lib::lib_fir_response_type_t response);
std::string get_window_name(vrim::fir_filter_lib::lib_window_type_t window);

/// Whether the bands of a response pass, rising in frequency; empty for a response without bands.
std::vector<bool> get_passing_bands(vrim::fir_filter_lib::lib_fir_response_type_t response);

/// Nothing when the frequencies rise strictly between 0 and `nyquist`, else what is wrong with them.
std::string find_frequency_fault(const std::vector<double>& frequencies, double nyquist);
/// Limits of the ripple and of the attenuation that a minimum-order design may ask for, dB.
inline constexpr double highest_ripple = 9.0;
inline constexpr double highest_attenuation = 200.0;
} // namespace dmatool
