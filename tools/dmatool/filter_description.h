#pragma once

#include "filter_options.h"
#include "fir_filter/lib_fir_design_parameter.h"

#include <string>
#include <vector>

namespace dmatool
{
/// The designer's parameters. Frequencies relative to the Nyquist frequency stand in it as frequencies at a sample rate of 2 Hz.
vrim::fir_filter_lib::lib_fir_design_parameter_t make_filter_parameter(const filter_description_t& filter);

/// Reads the parameters of a filter from a file and checks them as the command line is checked.
/// @param[out] notes  one for each value that the designer's rules changed
/// @throws tool_error_t for a file that cannot be read, that leaves something out, or that describes no filter
vrim::fir_filter_lib::lib_fir_design_parameter_t read_filter_parameter(const std::string& path, std::vector<std::string>& notes);

/// Writes the parameters to a file that `read_filter_parameter` takes. @throws tool_error_t
void write_filter_parameter(const std::string& path, vrim::fir_filter_lib::lib_fir_design_parameter_t parameter);

// What a design looks at. Frequencies are relative to the Nyquist frequency.

/// Whether cutoffs tell the transitions; otherwise edges do.
bool is_design_by_cutoff(const vrim::fir_filter_lib::lib_fir_design_parameter_t& parameter);
/// One per transition.
std::vector<double> get_cutoffs(const vrim::fir_filter_lib::lib_fir_design_parameter_t& parameter);
/// Two per transition.
std::vector<double> get_edges(const vrim::fir_filter_lib::lib_fir_design_parameter_t& parameter);
/// Ripple or attenuation that a minimum-order design aims at, dB, one per band.
std::vector<double> get_decibels(const vrim::fir_filter_lib::lib_fir_design_parameter_t& parameter);
/// One per band.
std::vector<double> get_weights(const vrim::fir_filter_lib::lib_fir_design_parameter_t& parameter);
} // namespace dmatool
