#include "analysis_runner.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <numbers>
#include <vector>

using namespace dma_test;
using namespace vrim::dma_demod_lib;

namespace
{
constexpr double symbol_rate = 1.0e6;
constexpr std::uint32_t interval = 1024;

/// Clean FSK of 8 samples a symbol, a deviation of a quarter of the symbol rate, and tones equally frequent in every run of 8.
signal_setting_t make_signal_setting(signal_format_t format, signal_pulse_t pulse, double shape)
{
    signal_setting_t setting;
    setting.format = format;
    setting.pulse = pulse;
    setting.shape = shape;
    setting.sample_rate = 8.0 * symbol_rate;
    setting.symbol_count = 1280; // 180 of run-in beside the interval, and some to spare
    setting.deviation_hz = 0.25 * symbol_rate;
    setting.balanced_run = 8;
    setting.timing_symbols = 0.3;
    return setting;
}

analysis_setting_t make_analysis(const signal_setting_t& signal)
{
    analysis_setting_t setting;
    setting.format = signal.format;
    setting.sample_rate = signal.sample_rate;
    setting.alpha = signal.shape;
    setting.meas_interval = interval;
    setting.filter_length = 16;
    if (signal.pulse == signal_pulse_t::gaussian)
    {
        setting.alpha = 0.5;
        setting.beta = signal.shape;
        setting.meas_filter = LIB_DMA_MEAS_NONE_FILTER;
        setting.ref_filter = LIB_DMA_REF_GAUSSIAN_FILTER;
    }
    return setting;
}

struct fsk_run_t
{
    explicit fsk_run_t(const signal_setting_t& setting)
        : format(setting.format), signal(make_signal(setting)), result(analyse(signal.samples, make_analysis(setting)))
    {
    }

    std::size_t count_wrong() const
    {
        return match_decoded(format, result.decoded, signal.symbols, 80, 100).differing;
    }
    double get_evm() const { return static_cast<double>(result.summary.evm_rms); }
    /// Percent off the peak deviation of the signal.
    double get_deviation_error() const { return (result.summary.fsk_deviation / signal.deviation_hz - 1.0) * 100.0; }

    signal_format_t format;
    signal_t signal;
    analysis_result_t result;
};

/// Symbols that take part in the statistics of a record of 8 samples a symbol whose symbol 0 lies 0.3 symbols behind the first
/// sample: 50 symbols of run-in at either end do not.
constexpr std::size_t first_counted = 50;
constexpr std::size_t counted_stop = 50 + 1104;

/// Mean and standard deviation of values of a whole population.
struct spread_t
{
    double mean;
    double deviation;
};

spread_t cal_spread(const std::vector<double>& values)
{
    double mean = 0.0;
    for (const double value : values)
        mean += value / static_cast<double>(values.size());
    double variance = 0.0;
    for (const double value : values)
        variance += (value - mean) * (value - mean) / static_cast<double>(values.size());
    return { mean, std::sqrt(variance) };
}

/// Frequency of every counted symbol at its centre in units of the deviation, Gaussian pulses of neighbours overlapping.
std::vector<double> cal_gaussian_frequencies(const signal_t& signal, double bandwidth_time)
{
    const double steepness = std::numbers::pi * std::sqrt(2.0 / std::log(2.0)) * bandwidth_time;
    const auto pulse = [steepness](double t) { return 0.5 * (std::erf(steepness * (t + 0.5)) - std::erf(steepness * (t - 0.5))); };
    std::vector<double> frequencies;
    for (std::size_t k = first_counted; k < counted_stop; ++k)
    {
        double value = 0.0;
        for (int j = -3; j <= 3; ++j)
            value += signal.levels[k + 3 - static_cast<std::size_t>(j + 3)] * pulse(j);
        frequencies.push_back(value);
    }
    return frequencies;
}
} // namespace

TEST(FskAccuracy, MeasuresCleanShapedTones)
{
    for (const signal_format_t format : { signal_format_t::fsk2, signal_format_t::fsk4, signal_format_t::fsk8 })
    {
        for (std::uint64_t seed = 1; seed <= 5; ++seed)
        {
            signal_setting_t setting = make_signal_setting(format, signal_pulse_t::root_raised_cosine, 0.5);
            setting.seed = seed;
            const fsk_run_t run(setting);
            SCOPED_TRACE(testing::Message() << get_order(format) << " tones, seed " << seed);
            ASSERT_EQ(run.result.code, LIB_DMA_RESULT_OK);
            ASSERT_EQ(run.result.decoded.size(), interval);
            EXPECT_EQ(run.count_wrong(), 0u);
            // The clock takes its own data for noise, more so at smaller roll-off; a surplus of n symbols of one tone among
            // 1,104 leaves n / 11 % in each error.
            EXPECT_LE(run.get_evm(), format == signal_format_t::fsk8 ? 1.5 : 0.6);
            EXPECT_GE(run.get_deviation_error(), -1.0);
            EXPECT_LE(run.get_deviation_error(), 0.5);
        }
    }
}

TEST(FskAccuracy, ReadsNoiseAsTheFrequencyErrorThatItIs)
{
    // Behind the filter phase noise of density N0 / 2 has the frequency variance (N0 / 2) * integral of f^2 |H|^2 df.
    for (const signal_format_t format : { signal_format_t::fsk2, signal_format_t::fsk4, signal_format_t::fsk8 })
    {
        for (std::uint64_t seed = 1; seed <= 3; ++seed)
        {
            constexpr double roll_off = 0.35;
            signal_setting_t setting = make_signal_setting(format, signal_pulse_t::root_raised_cosine, roll_off);
            setting.seed = seed;
            setting.snr_db = 30.0;
            double integral = 0.0; // frequency in symbol rates, |H|^2 the raised cosine
            constexpr double step = 1e-4;
            for (double f = step / 2.0; f < (1.0 + roll_off) / 2.0; f += step)
            {
                const double flank = std::numbers::pi / roll_off * (f - (1.0 - roll_off) / 2.0);
                integral += 2.0 * step * f * f * (flank < 0.0 ? 1.0 : 0.5 * (1.0 + std::cos(flank)));
            }
            const double predicted = std::sqrt(0.5e-3 * integral) / 0.25 * 100.0;
            const fsk_run_t run(setting);
            SCOPED_TRACE(testing::Message() << get_order(format) << " tones, seed " << seed);
            ASSERT_EQ(run.result.code, LIB_DMA_RESULT_OK);
            EXPECT_EQ(run.count_wrong(), 0u);
            // 10 %: the scatter of 1,024 symbols is 2 %, the clean error and the carrier's own come on top.
            EXPECT_NEAR(run.get_evm(), predicted, 0.1 * predicted);
        }
    }
}

TEST(FskAccuracy, ReadsGaussianTonesAtTheSymbols)
{
    for (const double bandwidth_time : { 0.3, 0.5 })
    {
        for (std::uint64_t seed = 1; seed <= 3; ++seed)
        {
            signal_setting_t setting = make_signal_setting(signal_format_t::fsk2, signal_pulse_t::gaussian, bandwidth_time);
            setting.seed = seed;
            const fsk_run_t run(setting);
            SCOPED_TRACE(testing::Message() << "BT " << bandwidth_time << ", seed " << seed);
            ASSERT_EQ(run.result.code, LIB_DMA_RESULT_OK);
            EXPECT_EQ(run.count_wrong(), 0u);
            EXPECT_LE(run.get_evm(), 0.6);
            const spread_t spread = cal_spread(cal_gaussian_frequencies(run.signal, bandwidth_time));
            // 1 %: a sample averages the frequency over an eighth of a symbol.
            EXPECT_NEAR(run.get_deviation_error(), (spread.deviation - 1.0) * 100.0, 1.0);
        }
    }
}

TEST(FskAccuracy, FindsTheCarrierUpToTheSymbolRate)
{
    for (const double offset : { 0.0, 1234.5, -0.1e6, 0.5e6, -1.0e6, 1.0e6 })
    {
        signal_setting_t setting = make_signal_setting(signal_format_t::fsk2, signal_pulse_t::root_raised_cosine, 0.5);
        setting.carrier_offset_hz = offset;
        const fsk_run_t run(setting);
        SCOPED_TRACE(testing::Message() << "offset " << offset);
        ASSERT_EQ(run.result.code, LIB_DMA_RESULT_OK);
        EXPECT_EQ(run.count_wrong(), 0u);
        const std::vector<double> counted(run.signal.levels.begin() + first_counted, run.signal.levels.begin() + counted_stop);
        const double surplus = setting.deviation_hz * cal_spread(counted).mean;
        EXPECT_NEAR(static_cast<double>(run.result.table.frequency_error), offset + surplus, 1e-4 * std::abs(offset) + 20.0);
    }
}

TEST(FskAccuracy, LosesNothingOnALongRecordFarOffTheCentre)
{
    // An unwrapped phase would reach 2.5e5 radians here, in steps of 0.016: 8 % of what the deviation turns in a sample.
    signal_setting_t setting = make_signal_setting(signal_format_t::fsk2, signal_pulse_t::gaussian, 0.5);
    setting.symbol_count = 40'200;
    setting.carrier_offset_hz = 1.0e6;
    analysis_setting_t analysis = make_analysis(setting);
    analysis.meas_interval = 40'000;
    const analysis_result_t result = analyse(make_signal(setting).samples, analysis);
    ASSERT_EQ(result.code, LIB_DMA_RESULT_OK);
    EXPECT_LE(result.summary.evm_rms, 0.6f);
}

TEST(FskAccuracy, MovesTheCarrierTowardsTheMoreFrequentTone)
{
    // Three quarters of the symbols at the upper tone: half the deviation up.
    signal_setting_t setting = make_signal_setting(signal_format_t::fsk2, signal_pulse_t::root_raised_cosine, 0.35);
    setting.balanced_run = 0;
    for (std::uint32_t k = 0; k < setting.symbol_count; ++k)
        setting.sync_symbols.push_back(k % 4 == (k / 4) % 4 ? 0 : 1);
    const fsk_run_t run(setting);
    ASSERT_EQ(run.result.code, LIB_DMA_RESULT_OK);
    EXPECT_NEAR(static_cast<double>(run.result.table.frequency_error), 0.5 * setting.deviation_hz, 1e3);
    // The spread of +1 (3 of 4) and -1 (1 of 4) about their mean.
    EXPECT_NEAR(run.result.summary.fsk_deviation, std::sqrt(0.75) * setting.deviation_hz, 2e3);
}


