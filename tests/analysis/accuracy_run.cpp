#include "accuracy_run.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>
#include <utility>

namespace dma_test
{
namespace
{
constexpr std::uint32_t run_in_symbols = 180; // that the analysis wants beside the interval
constexpr std::uint32_t margin_symbols = 20;
constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

/// In rising order; one not-a-number makes all of them so.
std::vector<double> sort_values(std::vector<double> values)
{
    if (std::any_of(values.begin(), values.end(), [](double value) { return std::isnan(value); }))
        values.assign(values.size(), not_a_number);
    std::sort(values.begin(), values.end());
    return values;
}

template <typename before_t>
double pick_value(const std::vector<double>& values, before_t before)
{
    double best = values.at(0);
    for (const double value : values)
    {
        if (std::isnan(value) || before(value, best))
            best = value;
    }
    return best;
}
} // namespace

bool accuracy_row_t::holds() const
{
    return low >= bar_low && high <= bar_high;
}

bool accuracy_row_t::has_bar() const
{
    return std::isfinite(bar_low) || std::isfinite(bar_high);
}

signal_setting_t make_accuracy_run(signal_format_t format, double alpha, std::uint32_t symbols, std::uint64_t seed)
{
    signal_setting_t signal;
    signal.format = format;
    signal.shape = alpha;
    signal.symbol_count = symbols + run_in_symbols + margin_symbols;
    signal.seed = seed;
    signal.carrier_offset_hz = 1234.5;
    signal.carrier_phase = 0.4 + 0.37 * static_cast<double>(seed);
    signal.timing_symbols = std::fmod(0.13 + 0.21 * static_cast<double>(seed), 1.0);
    return signal;
}

analysis_setting_t make_accuracy_analysis(const signal_setting_t& signal)
{
    analysis_setting_t setting;
    setting.format = signal.format;
    setting.rings = signal.rings;
    setting.alpha = signal.shape;
    setting.symbol_rate = static_cast<std::uint64_t>(signal.symbol_rate);
    setting.sample_rate = signal.sample_rate;
    setting.meas_interval = signal.symbol_count - run_in_symbols - margin_symbols;
    return setting;
}

void figure_t::add(double value)
{
    values_.push_back(value);
}

bool figure_t::is_empty() const
{
    return values_.empty();
}

double figure_t::get_mean() const
{
    return std::accumulate(values_.begin(), values_.end(), 0.0) / static_cast<double>(values_.size());
}

double figure_t::get_rms() const
{
    double sum = 0.0;
    for (const double value : values_)
        sum += value * value;
    return std::sqrt(sum / static_cast<double>(values_.size()));
}

double figure_t::get_deviation() const
{
    const double mean = get_mean();
    double sum = 0.0;
    for (const double value : values_)
        sum += (value - mean) * (value - mean);
    return std::sqrt(sum / static_cast<double>(values_.size() - 1));
}

double figure_t::get_median() const
{
    const std::vector<double> sorted = sort_values(values_);
    const std::size_t half = sorted.size() / 2;
    return sorted.size() % 2 == 1 ? sorted[half] : 0.5 * (sorted[half - 1] + sorted[half]);
}

double figure_t::get_quantile(double share) const
{
    const std::vector<double> sorted = sort_values(values_);
    const auto rank = static_cast<std::size_t>(std::ceil(share * static_cast<double>(sorted.size())));
    return sorted.at(std::max<std::size_t>(rank, 1) - 1);
}

double figure_t::get_low() const
{
    return pick_value(values_, std::less<>());
}

double figure_t::get_high() const
{
    return pick_value(values_, std::greater<>());
}

accuracy_row_t make_row(std::string what, signal_format_t format, std::string unit, double bar_low, double bar_high, double low,
                        double high, int digits)
{
    return { std::move(what), get_signal_format(format).name, std::move(unit), bar_low, bar_high, low, high, digits };
}

double get_evm(const analysis_result_t& result)
{
    return result.locked() ? static_cast<double>(result.summary.evm_rms) : not_a_number;
}

double get_frequency_deviation(const analysis_result_t& result, double set_hz)
{
    return result.locked() ? static_cast<double>(result.table.frequency_error) - set_hz : not_a_number;
}
} // namespace dma_test
