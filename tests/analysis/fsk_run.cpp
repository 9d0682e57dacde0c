#include "fsk_run.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <signal_random.h>
#include <stdexcept>
#include <utility>

namespace dma_test
{
namespace
{
using namespace vrim::dma_demod_lib;

constexpr std::uint32_t spare_symbols = 20;
// Keeps the data apart from the symbols around the record, which are drawn with the same seed.
constexpr std::uint64_t data_stream = 0xD1B54A32D192ED03ULL;

using run_t = std::vector<std::uint32_t>;

template <typename value_t> void shuffle(std::vector<value_t>& values, signal_random_t& random)
{
    for (std::size_t left = values.size(); left > 1; --left)
        std::swap(values[left - 1], values[random.get_index(static_cast<std::uint32_t>(left))]);
}

/// Runs in which each tone is equally frequent: of two tones all that there are, of more tones one.
std::vector<run_t> draw_deck(std::uint32_t order, std::uint32_t length, signal_random_t& random)
{
    run_t run;
    for (std::uint32_t symbol = 0; symbol < order; ++symbol)
        run.insert(run.end(), length / order, symbol);
    std::vector<run_t> deck;
    if (order > 2)
    {
        shuffle(run, random);
        deck.push_back(run);
        return deck;
    }
    do
    {
        deck.push_back(run);
    } while (std::next_permutation(run.begin(), run.end()));
    shuffle(deck, random);
    return deck;
}

/// At least `count` symbols, whole decks.
run_t draw_balanced(std::uint32_t order, std::uint32_t length, std::size_t count, signal_random_t& random)
{
    run_t symbols;
    while (symbols.size() < count)
    {
        for (const run_t& run : draw_deck(order, length, random))
            symbols.insert(symbols.end(), run.begin(), run.end());
    }
    return symbols;
}
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
    const std::uint32_t least = fsk_interval + fsk_run_in + spare_symbols;
    setting.symbol_count = (least + setting.balanced_run - 1) / setting.balanced_run * setting.balanced_run;
    setting.deviation_hz = 0.25 * fsk_symbol_rate;
    setting.timing_symbols = 0.3;
    setting.half_span_symbols = 80;
    return setting;
}

signal_setting_t make_balanced_fsk_signal(signal_format_t format, signal_pulse_t pulse, double shape, std::uint64_t seed)
{
    signal_setting_t setting = make_fsk_signal(format, pulse, shape);
    const std::uint32_t order = get_order(format);
    const std::uint32_t length = std::exchange(setting.balanced_run, 0);
    if (fsk_counted % length != 0)
        throw std::invalid_argument("the symbols that count are no whole runs of so many tones");
    setting.seed = seed;
    signal_random_t random(seed ^ data_stream);
    const run_t front = draw_balanced(order, length, fsk_first_counted, random);
    const run_t rest = draw_balanced(order, length, setting.symbol_count - fsk_first_counted, random);
    setting.sync_symbols.assign(front.end() - fsk_first_counted, front.end());
    setting.sync_symbols.insert(setting.sync_symbols.end(), rest.begin(), rest.end());
    setting.sync_symbols.resize(setting.symbol_count);
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
    for (std::size_t k = fsk_first_counted; k < fsk_first_counted + fsk_counted; ++k)
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
