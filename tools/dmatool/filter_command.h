#pragma once

#include "command.h"
#include "dma_types.h"
#include "filter_options.h"
#include "fir_filter/lib_fir_design_parameter.h"

#include <optional>
#include <string>
#include <vector>

namespace dmatool
{
/// What the taps do in one band. Frequencies are relative to the Nyquist frequency, gains relative to 1.
struct filter_band_t
{
    bool passes = false;
    double start = 0.0;
    double stop = 0.0;
    bool flat = true;              ///< otherwise the response slopes from end to end and there are no figures
    std::optional<double> weight;  ///< where weights decide
    std::optional<double> decibel; ///< ripple or attenuation that was asked for
    bool missed = false;           ///< what was asked for
    // Pass band
    double ripple = 0.0;    ///< dB, highest over lowest gain
    double deviation = 0.0; ///< dB, largest magnitude
    double gain = 0.0;      ///< dB, at `gain_at`
    double gain_at = 0.0;   ///< end of the frequency axis, or centre of the band
    // Stop band
    double attenuation = 0.0; ///< dB, the least
    double attenuation_at = 0.0;
};

/// A designed filter with what was measured of it.
struct filter_design_t
{
    vrim::fir_filter_lib::lib_fir_design_parameter_t parameter;
    vrim::complex_array taps;
    double beta = 0.0; ///< of the Kaiser window; found by a minimum-order design
    std::vector<double> cutoffs;
    bool edges_found = false; ///< bands are where the ripples are; otherwise where the edges say
    std::vector<filter_band_t> bands;
    std::vector<double> half_gain;  ///< frequencies of gain one half, rising, the first sixteen
    double asymmetry = 0.0;         ///< largest difference between a tap and its mirror
    double sum = 0.0;               ///< of the taps
    std::vector<std::string> notes; ///< one line each
};

/// Designs the filter and measures its taps.
/// @throws tool_error_t with the library's reason when there is no filter
filter_design_t run_filter_design(const filter_options_t& options, const line_sink_t& notes);

/// A frequency in the user's unit: Hz, or the Nyquist frequency as it is.
double get_user_frequency(const filter_design_t& design, double frequency);
/// Whether frequencies are relative to the Nyquist frequency.
bool is_relative(const filter_design_t& design);
/// Whether a tap and its mirror differ by no more than the rounding of the largest tap.
bool is_symmetric(const filter_design_t& design);

/// The report as a text (filter_report_text.cpp).
std::string make_filter_text_report(const filter_design_t& design);
/// The taps as lines of index and tap under a header (filter_report_text.cpp).
std::string make_filter_csv_report(const filter_design_t& design);
/// The report as one JSON document (filter_report_json.cpp).
std::string make_filter_json_report(const filter_design_t& design);
} // namespace dmatool
