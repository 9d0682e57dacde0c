#pragma once

#include "analysis_runner.h"

#include <cstdint>
#include <signal_maker.h>
#include <vector>

/// What the tests of FSK share: records, their analysis, and what the generator's levels say that it has to read.
namespace dma_test
{
constexpr double fsk_symbol_rate = 1.0e6;
constexpr std::uint32_t fsk_interval = 1024;
/// The analysis takes 180 symbols more than the interval. All but 50 at either end count for the carrier and the deviation.
constexpr std::uint32_t fsk_run_in = 180;
constexpr std::uint32_t fsk_first_counted = 50; ///< symbol of a record whose symbol 0 lies 0.3 symbols behind its first sample
constexpr std::uint32_t fsk_counted = fsk_interval + fsk_run_in - 2 * fsk_first_counted;

/// Clean FSK of `sps` samples a symbol, a deviation of a quarter of the symbol rate, and tones equally frequent in every run of 8
/// or, with more tones than that, of one symbol each.
signal_setting_t make_fsk_signal(signal_format_t format, signal_pulse_t pulse, double shape, std::uint32_t sps = 8);
/// The same with data of their own for each seed, which are balanced where symbols count: whole runs of 8, or of one symbol each
/// of 16 tones, begin with the first symbol that counts and end with the last one. Of two tones these runs are all the 70 that
/// there are, each once, in an order by the seed, and then again in another order.
/// @throws std::invalid_argument for more than 16 tones: the symbols that count are no whole runs
signal_setting_t make_balanced_fsk_signal(signal_format_t format, signal_pulse_t pulse, double shape, std::uint64_t seed);
/// Its analysis with filters of 16 symbols: the root raised cosine pair, for the other pulses their reference alone.
analysis_setting_t make_fsk_analysis(const signal_setting_t& signal);

/// Figures of the outer tones by their definition, in units of the deviation about the carrier.
struct fsk_truth_t
{
    double carrier = 0.0;
    double deviation = 0.0;
    double highest = 0.0;
    double lowest = 0.0;
};

/// Frequency of symbol `index` at its centre in units of the deviation, with what its neighbours add there.
/// Frequencies are phase steps, the means over a sample, so that the cosine pulses fall a little short of their levels.
double cal_symbol_frequency(const signal_setting_t& setting, const signal_t& signal, std::size_t index);
/// Of the symbols that count.
fsk_truth_t cal_fsk_truth(const signal_setting_t& setting, const signal_t& signal);

struct fsk_run_t
{
    explicit fsk_run_t(const signal_setting_t& setting);
    fsk_run_t(const signal_setting_t& setting, const analysis_setting_t& analysis);

    std::size_t count_wrong() const;
    double get_evm() const { return static_cast<double>(result.summary.evm_rms); }
    /// Percent off the peak deviation of the signal.
    double get_deviation_error() const { return (result.summary.fsk_deviation / signal.deviation_hz - 1.0) * 100.0; }

    signal_format_t format;
    signal_t signal;
    analysis_result_t result;
};
} // namespace dma_test
