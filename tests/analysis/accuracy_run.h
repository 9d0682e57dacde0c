#pragma once

#include "accuracy_section.h"
#include "analysis_runner.h"

#include <cstdint>
#include <limits>
#include <signal_maker.h>
#include <string>
#include <vector>

/// Runs and statistics that the measurements of accuracy share.
namespace dma_test
{
constexpr double unbounded = std::numeric_limits<double>::infinity();

/// A capture of `symbols` measured symbols with carrier phase and timing that differ from seed to seed, a modest carrier
/// offset, and a margin at the end.
signal_setting_t make_accuracy_run(signal_format_t format, double alpha, std::uint32_t symbols, std::uint64_t seed);
/// The analysis of such a capture.
analysis_setting_t make_accuracy_analysis(const signal_setting_t& signal);

/// Values of one figure over the runs.
class figure_t
{
public:
    void add(double value);
    bool is_empty() const;
    double get_mean() const;
    double get_rms() const;
    double get_deviation() const; ///< standard deviation
    double get_median() const;
    /// Smallest value that at least `share` of the values do not exceed.
    double get_quantile(double share) const;
    /// Not-a-number wins over everything.
    double get_low() const;
    double get_high() const;

private:
    std::vector<double> values_;
};

/// One value with its bar.
accuracy_row_t make_row(std::string what, signal_format_t format, std::string unit, double bar_low, double bar_high, double low,
                        double high, int digits);

/// Not-a-number unless the run locked.
double get_evm(const analysis_result_t& result);
double get_frequency_deviation(const analysis_result_t& result, double set_hz);
} // namespace dma_test
