#include "fsk_run.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace dma_test
{
namespace
{
using namespace vrim::dma_demod_lib;

constexpr std::uint32_t run_in_symbols = 180;
constexpr std::uint32_t spare_symbols = 20;
constexpr std::size_t first_counted = 50;
constexpr std::size_t counted_stop = first_counted + fsk_interval + run_in_symbols - 2 * first_counted;
} // namespace

signal_setting_t make_fsk_signal(signal_format_t format, signal_pulse_t pulse, double shape, std::uint32_t sps)
{
    signal_setting_t setting;
    setting.format = format;
    setting.pulse = pulse;
    setting.shape = shape;
    setting.symbol_rate = fsk_symbol_rate;
    setting.sample_rate = sps * fsk_symbol_rate;
    setting.balanced_run = std::max(8U, get_order(format));
    // Whole runs.
    const std::uint32_t least = fsk_interval + run_in_symbols + spare_symbols;
    setting.symbol_count = (least + setting.balanced_run - 1) / setting.balanced_run * setting.balanced_run;
    setting.deviation_hz = 0.25 * fsk_symbol_rate;
    setting.timing_symbols = 0.3;
    setting.half_span_symbols = 80;
    return setting;
}

analysis_setting_t make_fsk_analysis(const signal_setting_t& signal)
{
    analysis_setting_t setting;
    setting.format = signal.format;
    setting.sample_rate = signal.sample_rate;
    setting.points_per_symbol = signal.sample_rate > 8.0 * signal.symbol_rate ? 16 : 4;
    setting.alpha = signal.shape;
    setting.meas_interval = fsk_interval;
    setting.filter_length = 16;
    switch (signal.pulse)
    {
    case signal_pulse_t::gaussian:
        setting.alpha = 0.5;
        setting.beta = signal.shape;
        setting.meas_filter = LIB_DMA_MEAS_NONE_FILTER;
        setting.ref_filter = LIB_DMA_REF_GAUSSIAN_FILTER;
        break;
    case signal_pulse_t::raised_cosine:
        setting.meas_filter = LIB_DMA_MEAS_NONE_FILTER;
        break;
    case signal_pulse_t::rectangular:
        setting.alpha = 0.5;
        setting.meas_filter = LIB_DMA_MEAS_NONE_FILTER;
        setting.ref_filter = LIB_DMA_REF_RECTANGULAR_FILTER;
        break;
    default:
        break;
    }
    return setting;
}

double cal_symbol_frequency(const signal_setting_t& setting, const signal_t& signal, std::size_t index)
{
    if (setting.pulse == signal_pulse_t::rectangular)
        return signal.levels[index];
    // The root raised cosine is one behind its measurement filter.
    const signal_pulse_t pulse =
        setting.pulse == signal_pulse_t::gaussian ? signal_pulse_t::gaussian : signal_pulse_t::raised_cosine;
    constexpr int reach = 8;
    constexpr int parts = 16; // of a sample, for its mean
    const double sample = setting.symbol_rate / setting.sample_rate;
    double value = 0.0;
    for (int j = -reach; j <= reach; ++j)
    {
        double mean = 0.0;
        for (int part = 0; part < parts; ++part)
            mean += cal_held_pulse(pulse, j + sample * ((part + 0.5) / parts - 0.5), setting.shape) / parts;
        value += signal.levels[index - static_cast<std::size_t>(j)] * mean;
    }
    return value;
}

fsk_truth_t cal_fsk_truth(const signal_setting_t& setting, const signal_t& signal)
{
    std::vector<double> frequencies;
    for (std::size_t k = first_counted; k < counted_stop; ++k)
        frequencies.push_back(cal_symbol_frequency(setting, signal, k));
    const auto [low, high] = std::minmax_element(frequencies.begin(), frequencies.end());
    // Outer tones: beyond half a step from the extremes of a scale of as many tones.
    const double half_step = 0.5 * (*high - *low) / (get_order(setting.format) - 1.0);
    std::vector<double> outer;
    for (const double frequency : frequencies)
    {
        if (frequency > *high - half_step || frequency < *low + half_step)
            outer.push_back(frequency);
    }
    fsk_truth_t truth = { 0.0, 0.0, *high, *low };
    for (const double frequency : outer)
        truth.carrier += frequency / static_cast<double>(outer.size());
    for (const double frequency : outer)
        truth.deviation += (frequency - truth.carrier) * (frequency - truth.carrier) / static_cast<double>(outer.size());
    truth.deviation = std::sqrt(truth.deviation);
    return truth;
}

fsk_run_t::fsk_run_t(const signal_setting_t& setting) : fsk_run_t(setting, make_fsk_analysis(setting))
{
}

fsk_run_t::fsk_run_t(const signal_setting_t& setting, const analysis_setting_t& analysis)
    : format(setting.format), signal(make_signal(setting)), result(analyse(signal.samples, analysis))
{
}

std::size_t fsk_run_t::count_wrong() const
{
    return match_decoded(format, result.decoded, signal.symbols, 80, 100).differing;
}
} // namespace dma_test
