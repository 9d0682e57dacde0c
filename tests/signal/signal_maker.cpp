#include "signal_maker.h"

#include "signal_random.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>
#include <stdexcept>

namespace dma_test
{
namespace
{
constexpr double pi = std::numbers::pi;
constexpr std::uint32_t shortest_half_span_symbols = 40;
// 8192 rows of 320 taps are 20 MiB; a ratio with more phases is evaluated tap by tap.
constexpr std::uint64_t most_table_rows = 8192;
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

/// Sums points * pulse at each sample. `lead` symbols stand before symbol 0.
class pulse_shaper_t
{
public:
    pulse_shaper_t(const signal_setting_t& setting, std::size_t lead)
        : setting_(setting), lead_(lead), taps_(2 * static_cast<std::size_t>(setting.half_span_symbols))
    {
        // Whole rates give the same few fractions of a symbol again and again.
        constexpr double largest_whole = 1.0e15;
        const auto is_whole = [](double rate) { return rate < largest_whole && rate == std::floor(rate); };
        if (is_whole(setting.symbol_rate) && is_whole(setting.sample_rate))
        {
            const auto symbol_rate = static_cast<std::uint64_t>(setting.symbol_rate);
            const auto sample_rate = static_cast<std::uint64_t>(setting.sample_rate);
            const std::uint64_t divisor = std::gcd(symbol_rate, sample_rate);
            step_ = symbol_rate / divisor;
            rows_ = sample_rate / divisor;
            if (rows_ <= most_table_rows)
            {
                table_.resize(rows_);
            }
        }
    }

    /// The signal at one sample; `points` has `lead` entries before that of symbol 0.
    std::complex<double> cal_sample(const std::vector<std::complex<double>>& points, std::size_t sample)
    {
        // Time in symbols, as a whole part and a fraction; exact for whole rates.
        std::uint64_t whole = 0;
        std::uint64_t row = 0;
        double fraction = 0.0;
        if (rows_ > 0)
        {
            whole = sample * step_ / rows_;
            row = sample * step_ % rows_;
            fraction = static_cast<double>(row) / static_cast<double>(rows_);
        }
        else
        {
            const double time = static_cast<double>(sample) * setting_.symbol_rate / setting_.sample_rate;
            whole = static_cast<std::uint64_t>(std::floor(time));
            fraction = time - std::floor(time);
        }

        if (table_.empty())
        {
            fill_row(fraction, row_);
            return sum(points, whole, row_);
        }
        if (table_[row].taps.empty())
        {
            fill_row(fraction, table_[row]);
        }
        return sum(points, whole, table_[row]);
    }

private:
    /// Taps for one fraction of a symbol: tap i weighs symbol whole + shift + 1 - half span + i.
    struct row_t
    {
        std::vector<double> taps;
        std::int64_t shift = 0;
    };

    void fill_row(double fraction, row_t& row) const
    {
        const double time = fraction - setting_.timing_symbols;
        const double rest = time - std::floor(time);
        row.shift = static_cast<std::int64_t>(std::floor(time));
        row.taps.resize(taps_);
        for (std::size_t i = 0; i < taps_; ++i)
        {
            const double symbol = static_cast<double>(i) + 1.0 - static_cast<double>(setting_.half_span_symbols);
            row.taps[i] = cal_pulse(setting_.pulse, rest - symbol, setting_.shape);
        }
    }

    std::complex<double> sum(const std::vector<std::complex<double>>& points, std::uint64_t whole, const row_t& row) const
    {
        const std::int64_t first = static_cast<std::int64_t>(whole) + row.shift + static_cast<std::int64_t>(lead_) -
                                   static_cast<std::int64_t>(setting_.half_span_symbols) + 1;
        double real = 0.0;
        double imag = 0.0;
        for (std::size_t i = 0; i < taps_; ++i)
        {
            const std::complex<double>& point = points[static_cast<std::size_t>(first) + i];
            real += point.real() * row.taps[i];
            imag += point.imag() * row.taps[i];
        }
        return { real, imag };
    }

    const signal_setting_t& setting_;
    std::size_t lead_;
    std::size_t taps_;
    std::uint64_t step_ = 0;
    std::uint64_t rows_ = 0;
    std::vector<row_t> table_;
    row_t row_;
};
} // namespace

signal_t make_signal(const signal_setting_t& setting)
{
    check_setting(setting);
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
    signal.points.assign(points.begin() + begin, points.begin() + end);

    const double samples_per_symbol = setting.sample_rate / setting.symbol_rate;
    const auto count = static_cast<std::size_t>(std::floor(static_cast<double>(setting.symbol_count) * samples_per_symbol));
    if (std::isfinite(setting.snr_db))
    {
        const double energy = cal_pulse_energy(setting.pulse, setting.shape);
        signal.noise_variance = energy * samples_per_symbol / std::pow(10.0, setting.snr_db / 10.0);
    }
    const double noise_amplitude = std::sqrt(signal.noise_variance / 2.0);

    const double gain_i = std::pow(10.0, setting.gain_imbalance_db / 40.0);
    const double gain_q = 1.0 / gain_i;
    const std::complex<double> q_axis = std::polar(gain_q, pi / 2.0 + setting.quadrature_skew_deg * pi / 180.0);
    // 10^(-inf / 20) is 0, which is no offset.
    const std::complex<double> offset = std::polar(std::pow(10.0, setting.iq_offset_db / 20.0), setting.iq_offset_angle);

    pulse_shaper_t shaper(setting, lead);
    signal_random_t noise(setting.seed ^ noise_stream);
    signal.samples.resize(count);
    for (std::size_t n = 0; n < count; ++n)
    {
        const std::complex<double> ideal = shaper.cal_sample(points, n);
        const std::complex<double> modulated = ideal.real() * gain_i + ideal.imag() * q_axis + offset;
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
