#include "filter_runner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <sstream>

namespace dma_test
{
tool_result_t run_filter(const std::string& words, const std::string& redirect)
{
    std::vector<std::string> arguments = { "filter" };
    std::istringstream stream(words);
    for (std::string word; stream >> word;)
    {
        arguments.push_back(word);
    }
    return run_tool(arguments, redirect);
}

nlohmann::json get_filter_report(const std::string& words)
{
    const tool_result_t result = run_filter(words + " --json");
    EXPECT_EQ(result.status, 0) << words << ": " << result.errors;
    nlohmann::json report = nlohmann::json::parse(result.output, nullptr, false);
    EXPECT_FALSE(report.is_discarded()) << words << ": " << result.output.substr(0, 200);
    return report;
}

std::vector<double> get_taps(const nlohmann::json& report)
{
    std::vector<double> taps;
    for (const nlohmann::json& tap : report.at("taps"))
    {
        // What is printed stands for a single-precision number.
        taps.push_back(static_cast<double>(static_cast<float>(tap.get<double>())));
    }
    return taps;
}

double cal_dtft_gain(const std::vector<double>& taps, double frequency)
{
    std::complex<double> sum = 0.0;
    for (std::size_t n = 0; n < taps.size(); ++n)
    {
        sum += taps[n] * std::polar(1.0, -std::numbers::pi * frequency * static_cast<double>(n));
    }
    return std::abs(sum);
}

double cal_decibel(double gain)
{
    return 20.0 * std::log10(gain);
}

gain_range_t cal_gain_range(const std::vector<double>& taps, double start, double stop, int points)
{
    gain_range_t range = { 0.0, 1.0e300 };
    for (int i = 0; i < points; ++i)
    {
        const double gain = cal_dtft_gain(taps, start + (stop - start) * i / (points - 1));
        range.highest = std::max(range.highest, gain);
        range.lowest = std::min(range.lowest, gain);
    }
    return range;
}
} // namespace dma_test
