#pragma once

#include "tool_runner.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace dma_test
{
/// Runs `dmatool filter` with words that blanks separate.
tool_result_t run_filter(const std::string& words, const std::string& redirect = "");
/// The JSON report of a run that must succeed.
nlohmann::json get_filter_report(const std::string& words);
std::vector<double> get_taps(const nlohmann::json& report);

/// Gain at a frequency relative to the Nyquist frequency, by the definition of the transform.
double cal_dtft_gain(const std::vector<double>& taps, double frequency);
double cal_decibel(double gain);

/// Highest and lowest gain over a band: `points` frequencies, its ends among them.
struct gain_range_t
{
    double highest;
    double lowest;
};
gain_range_t cal_gain_range(const std::vector<double>& taps, double start, double stop, int points);
} // namespace dma_test
