#include "signal_maker.h"

#include "frequency_modulator.h"
#include "signal_random.h"
#include "symbol_window.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <stdexcept>
#include <utility>

namespace dma_test
{
namespace
{
constexpr double pi = std::numbers::pi;
constexpr std::uint32_t shortest_half_span_symbols = 40;
// Keeps the noise apart from data drawn with the same seed.
constexpr std::uint64_t noise_stream = 0x9E3779B97F4A7C15ULL;

void check_setting(const signal_setting_t& setting)
{
    const auto is_rate = [](double rate) { return std::isfinite(rate) && rate > 0.0; };
    if (!is_rate(setting.symbol_rate) || !is_rate(setting.sample_rate))
    {
        throw std::invalid_argument("symbol rate and sample rate must be positive");
    }
    if (setting.half_span_symbols < shortest_half_span_symbols)
    {
        throw std::invalid_argument("the pulse must reach at least 40 symbols to each side");
    }
    if (static_cast<std::uint64_t>(setting.sync_position) + setting.sync_symbols.size() > setting.symbol_count)
    {
        throw std::invalid_argument("the sync word does not fit into the record");
    }
}

/// Draws anew each run of `length` symbols, so that it has every symbol equally often, those of the sync word counted in.
void balance_runs(const signal_setting_t& setting, std::uint32_t order, signal_random_t& random,
                  std::vector<std::uint32_t>& record)
{
    const std::uint32_t length = setting.balanced_run;
    if (length % order != 0 || record.size() % length != 0)
    {
        throw std::invalid_argument("balanced runs must divide the record and be divisible by the count of symbols");
    }
    const auto is_sync = [&](std::size_t i)
    { return i >= setting.sync_position && i - setting.sync_position < setting.sync_symbols.size(); };
    for (std::size_t first = 0; first < record.size(); first += length)
    {
        std::vector<std::uint32_t> rest(order, length / order);
        for (std::size_t i = first; i < first + length; ++i)
        {
            if (is_sync(i) && rest[record[i]]-- == 0)
            {
                throw std::invalid_argument("the sync word has too many equal symbols for a balanced run");
            }
        }
        std::vector<std::uint32_t> stock;
        for (std::uint32_t symbol = 0; symbol < order; ++symbol)
        {
            stock.insert(stock.end(), rest[symbol], symbol);
        }
        for (std::size_t i = first; i < first + length; ++i)
        {
            if (!is_sync(i))
            {
                std::swap(stock[random.get_index(static_cast<std::uint32_t>(stock.size()))], stock.back());
                record[i] = stock.back();
                stock.pop_back();
            }
        }
    }
}

/// Symbols of the record with `lead` more in front of it and behind it. The record's own symbols are drawn first, so that
/// they do not change with the length of the pulse.
std::vector<std::uint32_t> draw_symbols(const signal_setting_t& setting, std::uint32_t order, std::size_t lead)
{
    signal_random_t random(setting.seed);
    std::vector<std::uint32_t> record(setting.symbol_count);
    std::generate(record.begin(), record.end(), [&] { return random.get_index(order); });
    for (std::size_t i = 0; i < setting.sync_symbols.size(); ++i)
    {
        if (setting.sync_symbols[i] >= order)
        {
            throw std::invalid_argument("the sync word has a symbol that the format does not have");
        }
        record[setting.sync_position + i] = setting.sync_symbols[i];
    }
    if (setting.balanced_run > 0)
    {
        balance_runs(setting, order, random, record);
    }

    std::vector<std::uint32_t> symbols(lead);
    symbols.insert(symbols.end(), record.begin(), record.end());
    symbols.resize(symbols.size() + lead);
    for (std::size_t i = 0; i < lead; ++i)
    {
        symbols[i] = random.get_index(order);
        symbols[lead + record.size() + i] = random.get_index(order);
    }
    return symbols;
}

/// Points of phase steps, one after the other, as if entry `lead` came behind a symbol of phase 0. The entries in front of it
/// follow backwards, so that the record does not depend on their count.
std::vector<std::complex<double>> accumulate_steps(const std::vector<std::complex<double>>& steps,
                                                   const std::vector<std::uint32_t>& symbols, std::size_t lead)
{
    // Whole multiples of the smallest step keep the phase exact over any length.
    const auto order = static_cast<std::int64_t>(steps.size());
    const double smallest = 2.0 * pi / static_cast<double>(order);
    std::vector<std::int64_t> places;
    for (const std::complex<double>& step : steps)
    {
        places.push_back(std::lround(std::arg(step) / smallest));
    }

    std::int64_t place = 0;
    for (std::size_t i = 0; i < lead; ++i)
    {
        place -= places[symbols[i]];
    }
    std::vector<std::complex<double>> points;
    points.reserve(symbols.size());
    for (const std::uint32_t symbol : symbols)
    {
        place = (place + places[symbol]) % order;
        points.push_back(std::polar(1.0, static_cast<double>(place) * smallest));
    }
    return points;
}

/// Points of the symbols, turned by the format's step; entry `lead` is symbol 0.
std::vector<std::complex<double>> map_symbols(const signal_setting_t& setting, const std::vector<std::uint32_t>& symbols,
                                              std::size_t lead)
{
    const signal_format_info_t& info = get_signal_format(setting.format);
    std::vector<std::complex<double>> points;
    if (info.coding == signal_coding_t::phase_step)
    {
        points = accumulate_steps(info.points, symbols, lead);
    }
    else
    {
        const std::vector<std::complex<double>> set = make_format_points(setting.format, setting.rings);
        points.reserve(symbols.size());
        for (const std::uint32_t symbol : symbols)
        {
            points.push_back(set[symbol]);
        }
    }
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        const double number = static_cast<double>(i) - static_cast<double>(lead);
        points[i] *= std::polar(1.0, std::fmod(number * info.turn, 2.0 * pi));
    }
    return points;
}

/// Sums points * pulse at each sample. `lead` points stand before that of symbol 0.
std::vector<std::complex<double>> shape_points(const signal_setting_t& setting, const std::vector<std::complex<double>>& points,
                                               std::size_t lead, std::size_t count)
{
    symbol_window_t window(setting, setting.timing_symbols, lead,
                           [&](double time) { return cal_pulse(setting.pulse, time, setting.shape); });
    std::vector<std::complex<double>> samples(count);
    for (std::size_t n = 0; n < count; ++n)
    {
        const symbol_window_t::view_t view = window.get_view(n);
        double real = 0.0;
        double imag = 0.0;
        for (std::size_t i = 0; i < view.taps.size(); ++i)
        {
            const std::complex<double>& point = points[view.first + i];
            real += point.real() * view.taps[i];
            imag += point.imag() * view.taps[i];
        }
        samples[n] = { real, imag };
    }
    return samples;
}

/// The same with the Q parts half a symbol later.
std::vector<std::complex<double>> shape_offset_points(const signal_setting_t& setting,
                                                      const std::vector<std::complex<double>>& points, std::size_t lead,
                                                      std::size_t count)
{
    const auto pulse = [&](double time) { return cal_held_pulse(setting.pulse, time, setting.shape); };
    symbol_window_t window_i(setting, setting.timing_symbols, lead, pulse);
    symbol_window_t window_q(setting, setting.timing_symbols + 0.5, lead, pulse);
    std::vector<std::complex<double>> samples(count);
    for (std::size_t n = 0; n < count; ++n)
    {
        const symbol_window_t::view_t view_i = window_i.get_view(n);
        const symbol_window_t::view_t view_q = window_q.get_view(n);
        double real = 0.0;
        double imag = 0.0;
        for (std::size_t i = 0; i < view_i.taps.size(); ++i)
        {
            real += points[view_i.first + i].real() * view_i.taps[i];
            imag += points[view_q.first + i].imag() * view_q.taps[i];
        }
        samples[n] = { real, imag };
    }
    return samples;
}

/// Energy of a symbol without impairments, the symbol period being 1.
double cal_symbol_energy(const signal_setting_t& setting, signal_coding_t coding)
{
    switch (coding)
    {
    case signal_coding_t::frequency:
        return 1.0;
    case signal_coding_t::offset_point:
        return cal_held_pulse_energy(setting.pulse, setting.shape);
    case signal_coding_t::point:
    case signal_coding_t::phase_step:
        break;
    }
    return cal_pulse_energy(setting.pulse, setting.shape);
}

std::vector<double> take_real(const std::vector<std::complex<double>>& points)
{
    std::vector<double> parts;
    parts.reserve(points.size());
    for (const std::complex<double>& point : points)
    {
        parts.push_back(point.real());
    }
    return parts;
}
} // namespace

signal_pulse_t get_pulse(const signal_setting_t& setting)
{
    if (setting.format == signal_format_t::msk)
    {
        return signal_pulse_t::rectangular;
    }
    return setting.format == signal_format_t::gmsk ? signal_pulse_t::gaussian : setting.pulse;
}

double get_deviation(const signal_setting_t& setting)
{
    const signal_format_info_t& info = get_signal_format(setting.format);
    if (info.coding != signal_coding_t::frequency)
    {
        if (setting.deviation_hz != 0.0)
        {
            throw std::invalid_argument("a deviation goes with frequency formats only");
        }
        return 0.0;
    }
    const double usual = (static_cast<double>(info.points.size()) - 1.0) * setting.symbol_rate / 4.0;
    const double deviation = setting.deviation_hz == 0.0 ? usual : setting.deviation_hz;
    const bool fixed = setting.format == signal_format_t::msk || setting.format == signal_format_t::gmsk;
    if (fixed && deviation != usual)
    {
        throw std::invalid_argument("the deviation of MSK is a quarter of the symbol rate");
    }
    if (!(deviation > 0.0 && deviation < setting.sample_rate / 2.0))
    {
        throw std::invalid_argument("the deviation must be positive and below half the sample rate");
    }
    return deviation;
}

signal_t make_signal(const signal_setting_t& setting)
{
    check_setting(setting);
    const double deviation = get_deviation(setting);
    const signal_format_info_t& info = get_signal_format(setting.format);
    const std::size_t lead =
        setting.half_span_symbols + static_cast<std::size_t>(std::ceil(std::abs(setting.timing_symbols))) + 2;

    signal_t signal;
    signal.sample_rate = setting.sample_rate;
    signal.symbol_rate = setting.symbol_rate;
    const std::vector<std::uint32_t> symbols = draw_symbols(setting, static_cast<std::uint32_t>(info.points.size()), lead);
    const std::vector<std::complex<double>> points = map_symbols(setting, symbols, lead);
    const auto begin = static_cast<std::ptrdiff_t>(lead);
    const auto end = begin + static_cast<std::ptrdiff_t>(setting.symbol_count);
    signal.symbols.assign(symbols.begin() + begin, symbols.begin() + end);

    const double samples_per_symbol = setting.sample_rate / setting.symbol_rate;
    const auto count = static_cast<std::size_t>(std::floor(static_cast<double>(setting.symbol_count) * samples_per_symbol));
    std::vector<std::complex<double>> ideal;
    if (info.coding == signal_coding_t::frequency)
    {
        const std::vector<double> levels = take_real(points);
        signal.levels.assign(levels.begin() + begin, levels.begin() + end);
        signal.deviation_hz = deviation;
        ideal = modulate_frequency(setting, get_pulse(setting), deviation, levels, lead, count);
    }
    else
    {
        signal.points.assign(points.begin() + begin, points.begin() + end);
        ideal = info.coding == signal_coding_t::offset_point ? shape_offset_points(setting, points, lead, count)
                                                             : shape_points(setting, points, lead, count);
    }

    if (std::isfinite(setting.snr_db))
    {
        const double energy = cal_symbol_energy(setting, info.coding);
        signal.noise_variance = energy * samples_per_symbol / std::pow(10.0, setting.snr_db / 10.0);
    }
    const double noise_amplitude = std::sqrt(signal.noise_variance / 2.0);

    const double gain_i = std::pow(10.0, setting.gain_imbalance_db / 40.0);
    const double gain_q = 1.0 / gain_i;
    const std::complex<double> q_axis = std::polar(gain_q, pi / 2.0 + setting.quadrature_skew_deg * pi / 180.0);
    // 10^(-inf / 20) is 0, which is no offset.
    const std::complex<double> offset = std::polar(std::pow(10.0, setting.iq_offset_db / 20.0), setting.iq_offset_angle);

    signal_random_t noise(setting.seed ^ noise_stream);
    signal.samples.resize(count);
    for (std::size_t n = 0; n < count; ++n)
    {
        const std::complex<double> modulated = ideal[n].real() * gain_i + ideal[n].imag() * q_axis + offset;
        const double cycles = static_cast<double>(n) * setting.carrier_offset_hz / setting.sample_rate;
        const double phase = 2.0 * pi * (cycles - std::floor(cycles)) + setting.carrier_phase;
        std::complex<double> sample = modulated * std::polar(1.0, phase);
        if (noise_amplitude > 0.0)
        {
            const double real = noise.get_normal();
            const double imag = noise.get_normal();
            sample += std::complex<double>(real, imag) * noise_amplitude;
        }
        sample *= setting.gain;
        signal.samples[n] = { static_cast<float>(sample.real()), static_cast<float>(sample.imag()) };
    }
    return signal;
}
} // namespace dma_test
