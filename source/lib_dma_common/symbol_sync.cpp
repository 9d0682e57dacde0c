#include "lib_dma_common/symbol_sync.h"

#include "lib_dma_common/sinc.h"
#include "support/internal/complex_ops.h"
#include "support/internal/fir_kernel.h"
#include "support/internal/narrow.h"
#include "support/internal/vector_clones.h"
#include "support/lib_test.h"
#include "support/log_macro.h"
#include "support/trace_output.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace vrim::dma_demod_lib
{
namespace
{
using common_lib::two_pi;

/// A record without signal still has to give a phase.
constexpr std::complex<float> padding(1e-11f, 1e-11f);
constexpr std::uint64_t word_bits = 32; // fractional bits of a delay word
constexpr std::size_t lines_at_once = 4;
// What no clock needs and memory may not hold.
constexpr std::size_t longest_block = std::size_t(1) << 24;
constexpr std::uint32_t longest_filter = 65536;

/// amplitude^2 e^(j angle) of one block: the angle depends on the place in the block alone, so its phasors are a table.
DMA_VECTOR_CLONES
void fill_block(const std::complex<float>* data, const std::complex<float>* phasors, std::size_t count, std::complex<float>* out)
{
    for (std::size_t k = 0; k < count; ++k)
    {
        const double re = static_cast<double>(data[k].real());
        const double im = static_cast<double>(data[k].imag());
        const double amplitude = static_cast<double>(static_cast<float>(std::sqrt(re * re + im * im)));
        const float power = static_cast<float>(amplitude * amplitude);
        out[k] = { phasors[k].real() * power, phasors[k].imag() * power };
    }
}

/// Sums of lines of `length` values that lie one behind the other, each taken in order. Side by side they do not wait for each
/// other's additions.
void sum_lines(const std::complex<float>* lines, std::size_t length, std::size_t count, std::complex<double>* sums)
{
    std::array<double, 2 * lines_at_once> parts = {};
    if (count == lines_at_once)
    {
        for (std::size_t k = 0; k < length; ++k)
        {
            for (std::size_t line = 0; line < lines_at_once; ++line)
            {
                parts[2 * line] += static_cast<double>(lines[line * length + k].real());
                parts[2 * line + 1] += static_cast<double>(lines[line * length + k].imag());
            }
        }
    }
    else
    {
        for (std::size_t line = 0; line < count; ++line)
        {
            for (std::size_t k = 0; k < length; ++k)
            {
                parts[2 * line] += static_cast<double>(lines[line * length + k].real());
                parts[2 * line + 1] += static_cast<double>(lines[line * length + k].imag());
            }
        }
    }
    for (std::size_t line = 0; line < count; ++line)
        sums[line] = { parts[2 * line], parts[2 * line + 1] };
}

bool is_filter_length(std::uint32_t order)
{
    if (order <= longest_filter)
        return true;
    DMA_LOG_ERROR("symbol_timing_recovery_plan: a fractional delay filter of {} taps is too long, {} are the most\n", order,
                  longest_filter);
    return false;
}

/// Zeros in front of and behind the data.
void pad(complex_array& data, std::size_t front, std::size_t back)
{
    data.insert(data.begin(), front, { 0.0f, 0.0f });
    data.resize(data.size() + back);
}

std::size_t get_front_padding(std::uint32_t order)
{
    return order < 2 ? 0 : order / 2 - 1;
}

/// out[k] = sum of taps[i] * in[first + k + i]; samples outside the record count as zero.
void delay_edge(const float_array& taps, const complex_array& in, std::ptrdiff_t first, std::size_t count,
                std::complex<float>* out)
{
    complex_array samples(count + taps.size(), { 0.0f, 0.0f });
    for (std::size_t i = 0; i < samples.size(); ++i)
    {
        const std::ptrdiff_t place = first + static_cast<std::ptrdiff_t>(i);
        if (place >= 0 && place < static_cast<std::ptrdiff_t>(in.size()))
            samples[i] = in[static_cast<std::size_t>(place)];
    }
    common_lib::correlate_real_taps(samples.data(), taps.data(), taps.size(), out, count);
}

/// Fractional delay of a record; samples outside it count as zero.
/// @param skip       samples that are dropped from the head of the delayed record, at most as many as there are
/// @param[out] out   not the input itself
void delay_record(std::uint32_t order, const double_array& taps, const complex_array& in, std::size_t skip, complex_array& out)
{
    float_array narrow(std::min<std::size_t>(taps.size(), order));
    std::transform(taps.begin(), taps.begin() + static_cast<std::ptrdiff_t>(narrow.size()), narrow.begin(),
                   [](double tap) { return static_cast<float>(tap); });
    const std::size_t size = in.size();
    const std::size_t front = get_front_padding(order);
    out.resize(size - skip);
    // Between the edges all taps lie on the record.
    const std::size_t begin = std::min(std::max(skip, front), size);
    const std::size_t end = std::max(begin, size + front >= narrow.size() ? std::min(size, size + front + 1 - narrow.size()) : 0);
    const std::ptrdiff_t shift = -static_cast<std::ptrdiff_t>(front);
    delay_edge(narrow, in, static_cast<std::ptrdiff_t>(skip) + shift, begin - skip, out.data());
    if (end > begin)
        common_lib::correlate_real_taps(in.data() + (begin - front), narrow.data(), narrow.size(), out.data() + (begin - skip),
                                        end - begin);
    delay_edge(narrow, in, static_cast<std::ptrdiff_t>(end) + shift, size - end, out.data() + (end - skip));
}

void unwrap_cycles(double_array& phases)
{
    for (std::size_t i = 0; i + 1 < phases.size(); ++i)
    {
        const double difference = phases[i + 1] - phases[i];
        if (difference > 0.5)
            phases[i + 1] -= 1.0;
        else if (difference < -0.5)
            phases[i + 1] += 1.0;
    }
}
} // namespace

symbol_timing_recovery_plan::symbol_timing_recovery_plan()
{
    init();
}

template <typename value_t>
void symbol_timing_recovery_plan::_set(value_t& field, value_t value)
{
    if (field == value)
        return;
    field = value;
    update_flag_ = true;
}

void symbol_timing_recovery_plan::set_sps(std::uint32_t value)
{
    _set(sps_, value);
}

void symbol_timing_recovery_plan::set_syn_sym_num(std::uint32_t value)
{
    _set(syn_sym_num_, value);
}

void symbol_timing_recovery_plan::set_interp_order(std::uint32_t value)
{
    _set(interp_order_, value);
}

void symbol_timing_recovery_plan::set_interp_factor(std::uint32_t value)
{
    _set(interp_factor_, value);
}

void symbol_timing_recovery_plan::set_pre_num(std::uint32_t value)
{
    _set(pre_num_, value);
}

void symbol_timing_recovery_plan::set_clock_adjust(float value)
{
    _set(clock_adjust_, value);
}

void symbol_timing_recovery_plan::update()
{
    update_flag_ = true;
}

bool symbol_timing_recovery_plan::_is_feasible() const
{
    const std::size_t block = static_cast<std::size_t>(sps_) * syn_sym_num_;
    if (block > longest_block)
    {
        DMA_LOG_ERROR("symbol_timing_recovery_plan: a block of {} samples is too long, {} are the most\n", block, longest_block);
        return false;
    }
    return is_filter_length(interp_order_);
}

void symbol_timing_recovery_plan::init()
{
    clear();
    update_flag_ = true;
    if (!_is_feasible())
        return;
    const std::size_t block = static_cast<std::size_t>(sps_) * syn_sym_num_;
    cos_table_.reserve(block);
    sin_table_.reserve(block);
    for (std::size_t i = 0; i < block; ++i)
    {
        if (i < sps_)
        {
            const double angle = two_pi * static_cast<double>(i) / static_cast<double>(sps_);
            cos_table_.push_back(std::cos(angle));
            sin_table_.push_back(-std::sin(angle));
            continue;
        }
        // Every symbol has the angles of the first one.
        cos_table_.push_back(cos_table_[i - sps_]);
        sin_table_.push_back(sin_table_[i - sps_]);
    }
    filter_taps_.assign(interp_order_, 0.0);
}

void symbol_timing_recovery_plan::clear()
{
    for (double_array* table : { &cos_table_, &sin_table_, &filter_taps_, &block_phase_ })
        double_array().swap(*table);
    complex_array().swap(raw_data_);
}

std::span<const std::complex<float>> symbol_timing_recovery_plan::_get_estimation_range(const complex_array& record) const
{
    const std::span<const std::complex<float>> whole = record;
    const std::uint32_t size = static_cast<std::uint32_t>(record.size());
    const std::uint32_t inner = size - 2 * pre_num_; // wraps when the margins overlap: then nothing is cut
    return pre_num_ < size && pre_num_ + inner <= size && inner <= size ? whole.subspan(pre_num_, inner) : whole;
}

bool symbol_timing_recovery_plan::_cut_to_estimation_range(complex_array& input) const
{
    const std::span<const std::complex<float>> range = _get_estimation_range(input);
    const std::ptrdiff_t first = range.data() - input.data();
    input.erase(input.begin() + first + static_cast<std::ptrdiff_t>(range.size()), input.end());
    input.erase(input.begin(), input.begin() + first);
    const std::size_t block = static_cast<std::size_t>(syn_sym_num_) * sps_;
    if (input.size() >= block)
        return true;
    input.resize(block, padding);
    return false;
}

double symbol_timing_recovery_plan::_cal_mean_phase(std::span<const std::complex<float>> data)
{
    const std::size_t block = static_cast<std::size_t>(syn_sym_num_) * sps_;
    block_phase_.clear();
    if (block == 0)
        return 0.0;
    complex_array phasors(block);
    for (std::size_t k = 0; k < block; ++k)
    {
        const double angle =
            static_cast<double>(static_cast<float>(k)) * -2.0 * common_lib::pi / static_cast<double>(static_cast<float>(sps_));
        phasors[k] = common_lib::unit_phasor(static_cast<float>(angle));
    }
    const std::size_t blocks = data.size() / block;
    complex_array lines(std::min(blocks, lines_at_once) * block);
    std::array<std::complex<double>, lines_at_once> sums;
    for (std::size_t first = 0; first < blocks; first += lines_at_once)
    {
        const std::size_t count = std::min(lines_at_once, blocks - first);
        for (std::size_t line = 0; line < count; ++line)
            fill_block(data.data() + (first + line) * block, phasors.data(), block, lines.data() + line * block);
        sum_lines(lines.data(), block, count, sums.data());
        for (std::size_t line = 0; line < count; ++line)
            block_phase_.push_back(-std::atan2(sums[line].imag(), sums[line].real()) / two_pi);
    }
    unwrap_cycles(block_phase_);
    double sum = 0.0;
    for (const double phase : block_phase_)
        sum += phase;
    return sum / static_cast<double>(block_phase_.size());
}

float symbol_timing_recovery_plan::_cal_timing_offset(const complex_array& record)
{
    const std::int64_t start_time = common_lib::lib_test_t::get_current_time();
    std::span<const std::complex<float>> range = _get_estimation_range(record);
    complex_array padded;
    const std::size_t block = static_cast<std::size_t>(syn_sym_num_) * sps_;
    if (range.size() < block)
    {
        DMA_LOG_ERROR("error: symbol_timing_recovery1: input data too less!\n");
        padded.assign(range.begin(), range.end());
        padded.resize(block, padding);
        range = padded;
    }
    const double mean = _cal_mean_phase(range);
    const float offset = static_cast<float>((mean - static_cast<double>(clock_adjust_)) * static_cast<double>(sps_));
    DMA_LOG_INFO("phase average:%.6f,bin_delay:%.6f.\n", mean, offset);
    common_log::print_trace_time("symbol_timing_recovery1 cal pm time: ", start_time);
    return offset;
}

std::uint32_t symbol_timing_recovery_plan::_cal_whole_delay(float offset) const
{
    const float whole = std::floor(offset);
    const float delay = whole > 0.0f ? whole : static_cast<float>(sps_) - std::abs(whole);
    return delay > 0.0f && std::isfinite(delay) ? common_lib::saturate<std::uint32_t>(static_cast<double>(delay)) : 0;
}

void symbol_timing_recovery_plan::_delay_fraction(float offset, const complex_array& record, std::size_t skip,
                                                  complex_array& output)
{
    const std::int64_t start_time = common_lib::lib_test_t::get_current_time();
    float fraction = static_cast<double>(offset) <= 1e-12 ? offset - std::ceil(offset) : offset - std::floor(offset);
    // For a tiny negative offset this comes out as exactly 1; the whole delay is one less then, and the two agree.
    if (fraction < 0.0f)
        fraction += 1.0f;
    sinc_fractional_delay_filter_design(static_cast<double>(fraction), interp_order_, filter_taps_);
    delay_record(interp_order_, filter_taps_, record, skip, output);
    common_log::print_trace_time("symbol_timing_recovery1 sinc_fractional_delay time: ", start_time);
}

bool symbol_timing_recovery_plan::symbol_timing_recovery_old(complex_array& input, complex_array& output,
                                                             std::uint32_t& int_delay)
{
    if (!_is_feasible())
        return false;
    const float offset = _cal_timing_offset(input);
    _delay_fraction(offset, input, 0, output);
    int_delay = _cal_whole_delay(offset);
    _cut_to_estimation_range(input);
    return true;
}

bool symbol_timing_recovery_plan::time_record(const complex_array& input, complex_array& output, std::uint32_t& int_delay)
{
    if (!_is_feasible())
        return false;
    const float offset = _cal_timing_offset(input);
    int_delay = _cal_whole_delay(offset);
    _delay_fraction(offset, input, int_delay < input.size() ? int_delay : 0, output);
    return true;
}

bool symbol_timing_recovery_plan::symbol_timing_recovery_new(complex_array& input, complex_array& output,
                                                             std::uint32_t& int_delay)
{
    if (!_is_feasible())
        return false;
    std::int64_t start_time = common_lib::lib_test_t::get_current_time();
    raw_data_ = input;
    if (!_cut_to_estimation_range(input))
        DMA_LOG_ERROR("error: symbol_timing_recovery_plan::symbol_timing_recovery: input data too less!\n");

    const double mean = _cal_mean_phase(input);
    const double x = static_cast<double>(sps_) * mean;
    double fraction = x < 1e-12 ? x - std::ceil(x) : x - std::floor(x);
    if (fraction < 0.0)
        fraction += 1.0;
    DMA_LOG_INFO("phase average:%.6f,delay:%.6f.\n", mean, x);
    common_log::print_trace_time("symbol_timing_recovery cal pm time: ", start_time);

    start_time = common_lib::lib_test_t::get_current_time();
    const double word = std::round(std::ldexp(fraction, static_cast<int>(word_bits)));
    sinc_fractional_delay(interp_order_, interp_factor_, word_bits, std::isfinite(word) ? static_cast<std::uint64_t>(word) : 0,
                          raw_data_, output);
    common_log::print_trace_time("symbol_timing_recovery sinc_fractional_delay time: ", start_time);

    const double whole = std::floor(x);
    const double delay = whole > 0.0 ? whole : static_cast<double>(sps_) - std::abs(whole);
    // No clamp at 0 here: a delay below it wraps.
    int_delay = static_cast<std::uint32_t>(common_lib::saturate<std::int64_t>(delay));
    return true;
}

void symbol_timing_recovery_plan::sinc_fractional_delay_filter_design(double delay, std::uint32_t order, double_array& taps)
{
    constexpr double four_pi = 12.566370614359172;
    constexpr double six_pi = 18.84955592153876;
    const double centre = static_cast<double>(order / 2) - 1.0;
    const double length = static_cast<double>(order);
    taps.clear();
    if (!is_filter_length(order))
        return;
    taps.assign(order, 0.0);
    for (std::uint32_t i = 0; i < order; ++i)
    {
        const double n = static_cast<double>(i);
        const double s = static_cast<double>(sinc(static_cast<float>(delay - n + centre)));
        const double t = n + (1.0 - delay);
        const double w = 0.35875 - 0.48829 * std::cos(two_pi * t / length) + 0.14128 * std::cos(four_pi * t / length) -
                         0.01168 * std::cos(six_pi * t / length);
        taps[i] = w * s;
    }
}

void symbol_timing_recovery_plan::sinc_fractional_delay_filter_design(std::uint64_t delay_word, std::uint64_t bits,
                                                                      std::uint32_t order, double_array& taps)
{
    const double delay = std::ldexp(static_cast<double>(delay_word), -static_cast<int>(std::min<std::uint64_t>(bits, 1024)));
    sinc_fractional_delay_filter_design(delay, order, taps);
}

void symbol_timing_recovery_plan::sinc_fractional_delay(std::uint32_t order, const double_array& taps, complex_array& input,
                                                        complex_array& output)
{
    if (!is_filter_length(order))
    {
        output.clear();
        return;
    }
    delay_record(order, taps, input, 0, output);
    pad(input, get_front_padding(order), order / 2);
}

void symbol_timing_recovery_plan::sinc_fractional_delay(std::uint32_t order, std::uint32_t interp_factor, std::uint64_t bits,
                                                        std::uint64_t delay_word, complex_array& input, complex_array& output)
{
    constexpr std::uint64_t unit_rate_bits = 18;
    const std::size_t size = input.size();
    output.clear();
    if (!is_filter_length(order))
        return;
    pad(input, get_front_padding(order), order / 2);
    if (interp_factor == 0)
        return;
    // With 32 fractional bits the accumulator holds every record that fits into memory.
    const std::uint64_t surplus = std::min<std::uint64_t>(bits > word_bits ? bits - word_bits : 0, 63);
    delay_word = (delay_word >> surplus) << (bits < word_bits ? word_bits - bits : 0);
    constexpr std::uint64_t one = std::uint64_t(1) << word_bits;
    const std::uint64_t step = static_cast<std::uint64_t>(interp_factor) << (word_bits - unit_rate_bits);
    double_array taps;
    std::uint64_t designed_for = ~std::uint64_t(0);
    for (std::uint64_t position = delay_word; position / one < size + (delay_word >= one ? 1 : 0) && output.size() < size;
         position += step)
    {
        const std::uint64_t fraction = position % one;
        const std::size_t base = static_cast<std::size_t>(position / one);
        if (fraction != designed_for)
        {
            sinc_fractional_delay_filter_design(fraction, word_bits, order, taps);
            designed_for = fraction;
        }
        std::complex<float> sum(0.0f, 0.0f);
        for (std::size_t i = 0; i < taps.size() && base + i < input.size(); ++i)
            sum += static_cast<float>(taps[i]) * input[base + i];
        output.push_back(sum);
    }
}

std::uint32_t symbol_timing_recovery_plan::cal_timing_recovery_fix_int_delay(std::uint32_t order)
{
    constexpr std::uint32_t first_order = 4;
    constexpr std::array<std::uint32_t, 13> delays = { 1, 0, 5, 0, 1, 0, 3, 0, 5, 0, 7, 0, 9 };
    const std::uint32_t index = order - first_order;
    return order >= first_order && index < delays.size() ? delays[index] : 0;
}
} // namespace vrim::dma_demod_lib
