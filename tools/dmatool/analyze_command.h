#pragma once

#include "analyze_options.h"
#include "command.h"
#include "lib_dma_phy.h"
#include "rate_plan.h"

#include <cstdint>
#include <string>
#include <vector>

namespace dmatool
{
/// What the reports are made of.
struct analysis_t
{
    vrim::dma_demod_lib::lib_dma_phy_t phy;                       ///< with its results
    vrim::dma_demod_lib::lib_dma_frame_configure_manager_t frame; ///< the settings as the library kept them
    format_choice_t format;
    capture_t capture; ///< without its samples
    std::uint64_t sample_count = 0;
    std::uint64_t needed_samples = 0;
    rate_plan_t rate;
    std::int32_t result_code = 0;
    std::vector<std::string> notes; ///< one line each
};

/// Makes the configuration of one segment. `sample_count` and `kept_sample_rate` bound the search for a sync word.
vrim::dma_demod_lib::lib_dma_frame_configure_manager_t make_frame(const analyze_options_t& options, std::uint64_t sample_count,
                                                                  std::uint64_t kept_sample_rate);

/// Samples that one analysis of the frame's first segment takes from the capture: run-in and the longer of the search length
/// and offset + interval.
std::uint64_t cal_needed_samples(const vrim::dma_demod_lib::lib_dma_frame_configure_manager_t& frame,
                                 std::uint64_t kept_sample_rate);

/// Reads the capture, checks it against the settings and runs the analysis.
/// @param notes  gets each note, and with `verbose` each log and trace line
/// @throws tool_error_t
analysis_t run_analysis(const analyze_options_t& options, const line_sink_t& notes);

/// The report as a table (report_text.cpp).
std::string make_text_report(const analysis_t& analysis);
/// The report as one JSON document (report_json.cpp). Keys are the field names of the results' records. Not-a-number and
/// infinities stand as the strings nan, inf and -inf; null is what was not measured.
/// @param traces  whether arrays of samples and symbols are part of it
std::string make_json_report(const analysis_t& analysis, bool traces);
} // namespace dmatool
