#include "sync_search_run.h"

#include "message_capture.h"
#include "signal_random.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <numeric>
#include <utility>

namespace dma_test
{
using namespace vrim::dma_demod_lib;

namespace
{
// The carrier of FSK is the mean of its outer tones, so that one symbol too many at one of them moves it: of 64 tones beyond the
// next one. All tones are equally frequent in runs, and the first of these begins with the first symbol that counts.
constexpr std::uint32_t tone_run = 64;
constexpr std::uint32_t symbols_before_tones = 50;
constexpr std::uint32_t tone_lead = tone_run - symbols_before_tones;

lib_dma_modulation_type_t get_group(signal_format_t format)
{
    return get_library_format(format).group;
}
lib_dma_frame_configure_manager_t make_quiet_frame(const analysis_setting_t& setting)
{
    const log_capture_t quiet; // groups without a preset constellation say so
    return make_frame(setting);
}

std::uint32_t get_lead(signal_format_t format)
{
    return get_group(format) == LIB_DMA_GROUP_FSK ? tone_lead : 0;
}

/// Every index once.
std::vector<std::uint32_t> shuffle(std::uint32_t order, signal_random_t& random)
{
    std::vector<std::uint32_t> indices(order);
    std::iota(indices.begin(), indices.end(), 0U);
    for (std::uint32_t i = order; i > 1; --i)
        std::swap(indices[i - 1], indices[random.get_index(i)]);
    return indices;
}
} // namespace

std::uint32_t get_search_start(signal_format_t format)
{
    const lib_dma_modulation_type_t group = get_group(format);
    return group == LIB_DMA_GROUP_MSK || group == LIB_DMA_GROUP_OQPSK ? 114 : 90;
}

std::vector<std::uint32_t> make_word(signal_format_t format, std::uint32_t seed)
{
    signal_random_t random(9000 + seed);
    const std::uint32_t order = get_order(format);
    std::vector<std::uint32_t> word;
    while (word.size() < word_length)
    {
        std::vector<std::uint32_t> part(1, random.get_index(order));
        if (get_group(format) == LIB_DMA_GROUP_FSK)
            part = shuffle(order, random); // unequal tones would move the carrier
        word.insert(word.end(), part.begin(), part.end());
    }
    word.resize(word_length);
    return word;
}

std::vector<std::uint32_t> turn_symbols(signal_format_t format, const std::vector<std::uint32_t>& symbols, std::uint32_t turn)
{
    const signal_format_info_t& info = get_signal_format(format);
    const std::complex<double> phasor = std::polar(1.0, 2.0 * std::numbers::pi * turn / info.symmetry);
    std::vector<std::uint32_t> turned;
    for (const std::uint32_t symbol : symbols)
    {
        std::uint32_t nearest = 0;
        for (std::uint32_t i = 1; i < info.points.size(); ++i)
        {
            const std::complex<double> wanted = info.points[symbol] * phasor;
            if (std::norm(info.points[i] - wanted) < std::norm(info.points[nearest] - wanted))
                nearest = i;
        }
        turned.push_back(nearest);
    }
    return turned;
}

std::uint32_t get_word_bits(signal_format_t format)
{
    const bool many_tones = format == signal_format_t::fsk32 || format == signal_format_t::fsk64;
    return many_tones ? 1 : get_signal_format(format).bits_per_symbol;
}

std::string make_word_bits(signal_format_t format, const std::vector<std::uint32_t>& word)
{
    const std::uint32_t bits = get_word_bits(format);
    std::vector<std::uint32_t> parts;
    for (const std::uint32_t symbol : word)
        parts.push_back(symbol % (1U << bits));
    std::string digits;
    for (const std::uint8_t bit : symbols_to_bits(parts, bits))
        digits += bit == 0 ? '0' : '1';
    return digits;
}

signal_setting_t make_sync_signal(signal_format_t format, std::uint32_t position, std::uint64_t seed)
{
    const lib_dma_modulation_type_t group = get_group(format);
    const std::uint32_t order = get_order(format);
    signal_setting_t signal;
    signal.format = format;
    signal.half_span_symbols = 45;
    signal.shape = 0.5;
    signal.symbol_count = search_symbols + 2 * get_search_start(format) + 20;
    signal.seed = seed;
    signal.carrier_offset_hz = 800.0;
    signal.timing_symbols = 0.3;
    // Dense formats stand without noise: not a decision is to fail.
    const bool dense = order > 32 || (group == LIB_DMA_GROUP_ASK && order > 8);
    signal.snr_db = dense ? std::numeric_limits<double>::infinity() : 32.0;
    signal.sync_symbols = make_word(format, 1);
    signal.sync_position = position + get_lead(format);
    if (group == LIB_DMA_GROUP_FSK || group == LIB_DMA_GROUP_MSK)
    {
        signal.sample_rate = 8.0e6;
        signal.snr_db = order <= 4 ? 40.0 : std::numeric_limits<double>::infinity();
    }
    if (group == LIB_DMA_GROUP_FSK)
    {
        signal.deviation_hz = 250.0e3;
        signal.balanced_run = tone_run;
        signal.symbol_count = (signal.symbol_count + tone_lead + tone_run - 1) / tone_run * tone_run;
    }
    return signal;
}

signal_t make_sync_record(const signal_setting_t& setting)
{
    signal_t signal = make_signal(setting);
    const std::uint32_t lead = get_lead(setting.format);
    const auto samples = static_cast<std::ptrdiff_t>(lead * setting.sample_rate / setting.symbol_rate);
    signal.samples.erase(signal.samples.begin(), signal.samples.begin() + samples);
    signal.symbols.erase(signal.symbols.begin(), signal.symbols.begin() + lead);
    if (lead > 0)
        signal.levels.erase(signal.levels.begin(), signal.levels.begin() + lead);
    return signal;
}

analysis_setting_t make_sync_analysis(const signal_setting_t& signal)
{
    analysis_setting_t setting;
    setting.format = signal.format;
    setting.sample_rate = signal.sample_rate;
    setting.points_per_symbol = 8;
    setting.alpha = signal.shape;
    setting.filter_length = 32;
    setting.meas_interval = sync_interval;
    setting.search_length = static_cast<double>(search_symbols) / signal.symbol_rate;
    setting.sync_bits = make_word_bits(signal.format, signal.sync_symbols);
    setting.aligned_iq = true;
    if (get_group(signal.format) == LIB_DMA_GROUP_MSK)
    {
        setting.meas_filter = LIB_DMA_MEAS_NONE_FILTER;
        setting.ref_filter = signal.format == signal_format_t::gmsk ? LIB_DMA_REF_GAUSSIAN_FILTER : LIB_DMA_REF_NONE_FILTER;
        setting.beta = signal.shape;
    }
    return setting;
}

vrim::complex_array turn_capture(const vrim::complex_array& capture, double angle)
{
    const std::complex<double> phasor = std::polar(1.0, angle);
    vrim::complex_array turned(capture.size());
    std::transform(capture.begin(), capture.end(), turned.begin(), [phasor](std::complex<float> sample)
                   { return std::complex<float>(std::complex<double>(sample) * phasor); });
    return turned;
}

sync_run_t::sync_run_t(const vrim::complex_array& capture, const analysis_setting_t& setting)
    : sync_run_t(capture, make_quiet_frame(setting), setting.sample_rate)
{
}

sync_run_t::sync_run_t(const vrim::complex_array& capture, const lib_dma_frame_configure_manager_t& frame, double sample_rate)
{
    frame_run_t run(capture, frame, sample_rate);
    result = run.take(0);
    decode_flag = run.get_decode_flag(0);
}

bool sync_run_t::has_message(const std::string& text) const
{
    return std::find(result.messages.begin(), result.messages.end(), text) != result.messages.end();
}

std::vector<std::uint32_t> cut_symbols(const signal_t& signal, std::size_t first, std::size_t last)
{
    const std::size_t stop = std::min(last, signal.symbols.size());
    const std::size_t start = std::min(first, stop);
    return { signal.symbols.begin() + static_cast<std::ptrdiff_t>(start),
             signal.symbols.begin() + static_cast<std::ptrdiff_t>(stop) };
}

double cal_agreement(signal_format_t format, const vrim::complex_array& measured, const signal_t& signal, std::size_t first)
{
    const double turn = get_signal_format(format).turn;
    std::complex<double> sum = 0.0;
    double measured_power = 0.0;
    double sent_power = 0.0;
    for (std::size_t i = 0; i < measured.size() && first + i < signal.symbols.size(); ++i)
    {
        const std::size_t k = first + i;
        const std::complex<double> sent =
            signal.points.empty() ? std::complex<double>(signal.levels.at(k))
                                  : signal.points[k] * std::polar(1.0, -turn * static_cast<double>(k));
        const std::complex<double> value(measured[i]);
        sum += value * std::conj(sent);
        measured_power += std::norm(value);
        sent_power += std::norm(sent);
    }
    return std::abs(sum) / std::sqrt(measured_power * sent_power);
}

sync_bench_t::sync_bench_t(const signal_setting_t& sent)
    : signal_setting(sent), signal(make_sync_record(sent)), setting(make_sync_analysis(sent))
{
}

sync_run_t sync_bench_t::run() const
{
    return { signal.samples, setting };
}

double sync_bench_t::agree(const sync_run_t& run, std::size_t first) const
{
    return cal_agreement(signal_setting.format, run.result.meas_symbols, signal, first);
}
} // namespace dma_test
