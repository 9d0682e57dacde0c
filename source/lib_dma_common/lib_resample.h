#pragma once

#include "dma_export.h"
#include "dma_types.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <numbers>
#include <numeric>
#include <type_traits>
#include <vector>

/// Rational rate conversion: filter design, polyphase engine and the two together.
/// Source: R. E. Crochiere, L. R. Rabiner, Multirate Digital Signal Processing, Prentice-Hall, 1983.
namespace vrim::dma_demod_lib
{
/// What the templates below do outside themselves: prints, and the Bessel function in double.
namespace resample_report
{
DMA_DEMOD_EXPORT void print_line(const char* text);
/// Announces a conversion whose reduced factors make an unusually long filter.
DMA_DEMOD_EXPORT void announce_long_filter(std::uint64_t up, std::uint64_t down, std::uint64_t tap_count);
/// Logs that a conversion was refused.
DMA_DEMOD_EXPORT void refuse_long_filter(std::uint64_t up, std::uint64_t down, std::uint64_t tap_count);
DMA_DEMOD_EXPORT double cal_bessel_i0(double x);

/// Conversions with more taps are announced.
constexpr std::uint64_t announced_taps = 1000000;
/// Conversions with more taps are refused: they would need gigabytes.
constexpr std::uint64_t largest_taps = std::uint64_t(1) << 27;
} // namespace resample_report

/// Modified Bessel function of the first kind, order 0.
template <typename value_t>
value_t bessel_i0(value_t x)
{
    return static_cast<value_t>(resample_report::cal_bessel_i0(static_cast<double>(x)));
}

/// Kaiser window. @return `length` values; a length of 1 gives 1
template <typename value_t>
std::vector<value_t> kaiser(std::uint32_t length, value_t beta)
{
    std::vector<value_t> window(length, value_t(1));
    if (length < 2)
        return window;
    const value_t centre = static_cast<value_t>(length - 1) * value_t(0.5);
    const value_t peak = bessel_i0<value_t>(beta);
    for (std::uint32_t i = 0; i < length; ++i)
    {
        const value_t x = (static_cast<value_t>(i) - centre) / centre;
        window[i] = bessel_i0<value_t>(beta * std::sqrt(std::max(value_t(0), value_t(1) - x * x))) / peak;
    }
    return window;
}

/// Linear-phase least-squares design with unit weights, in closed form.
/// @param order       count of taps less one
/// @param edges       band edges in pairs, relative to half the sample rate
/// @param amplitudes  as many, joined by straight lines within a band
/// @return order + 1 taps; empty when the edges do not pair up with the amplitudes
/// Source: T. W. Parks, C. S. Burrus, Digital Filter Design, Wiley, 1987.
template <typename value_t>
std::vector<value_t> resample_filter(std::uint32_t order, std::vector<value_t> edges, const std::vector<value_t>& amplitudes)
{
    if (edges.size() != amplitudes.size() || edges.size() % 2 != 0)
        return {};
    constexpr value_t pi = std::numbers::pi_v<value_t>;
    constexpr value_t four_pi_squared = static_cast<value_t>(39.47841760435743);
    const auto sinc = [](value_t u) { return std::abs(u) < value_t(1e-6) ? value_t(1) : std::sin(pi * u) / (pi * u); };

    const std::uint32_t half = order / 2;
    const bool odd = order % 2 != 0;
    for (value_t& edge : edges)
        edge /= value_t(2);

    std::vector<value_t> coefficients(static_cast<std::size_t>(half) + 1, value_t(0));
    for (std::size_t band = 0; band + 1 < edges.size(); band += 2)
    {
        const value_t f0 = edges[band];
        const value_t f1 = edges[band + 1];
        const value_t slope = (amplitudes[band + 1] - amplitudes[band]) / (f1 - f0);
        const value_t intercept = amplitudes[band] - slope * f0;
        for (std::uint32_t i = 0; i <= half; ++i)
        {
            if (i == 0 && !odd)
            {
                coefficients[0] += intercept * (f1 - f0) + slope / value_t(2) * (f1 * f1 - f0 * f0);
                continue;
            }
            const value_t k = static_cast<value_t>(i) + (odd ? value_t(0.5) : value_t(0));
            coefficients[i] += slope / four_pi_squared * (std::cos(2 * pi * k * f1) - std::cos(2 * pi * k * f0)) / (k * k) +
                               f1 * (slope * f1 + intercept) * sinc(2 * k * f1) -
                               f0 * (slope * f0 + intercept) * sinc(2 * k * f0);
        }
    }

    // Twice each integral on either side of the centre. The centre tap of an even order is twice its integral too: only so
    // is the gain at zero frequency that of the amplitudes.
    std::vector<value_t> taps(static_cast<std::size_t>(order) + 1);
    for (std::uint32_t i = 0; i <= half; ++i)
    {
        const value_t tap = value_t(4) * coefficients[i] / value_t(2);
        taps[half - i] = tap;
        taps[half + i + (odd ? 1 : 0)] = tap;
    }
    return taps;
}

/// Polyphase engine: zero stuffing by `up`, filter, picking by `down`, of which only the outputs that are kept are computed.
/// The state carries over from call to call.
template <typename in_t, typename out_t, typename coefficient_t>
class lib_common_resample_t
{
public:
    /// @param coefficients  filter taps at the stuffed rate
    lib_common_resample_t(std::uint32_t up, std::uint32_t down, const coefficient_t* coefficients, std::size_t count)
        : up_rate_(up), down_rate_(down), coefs_per_phase_(static_cast<std::uint32_t>((count + up - 1) / up)),
          transposed_(static_cast<std::size_t>(coefs_per_phase_) * up, coefficient_t(0)),
          state_(coefs_per_phase_ == 0 ? 0 : coefs_per_phase_ - 1, in_t(0))
    {
        // One phase lies together, in reverse, so that it runs along the input from old to new.
        for (std::size_t tap = 0; tap < count; ++tap)
        {
            const std::size_t phase = tap % up;
            const std::size_t age = tap / up;
            transposed_[phase * coefs_per_phase_ + (coefs_per_phase_ - 1 - age)] = coefficients[tap];
        }
    }

    std::uint32_t get_coefs_per_phase() const { return coefs_per_phase_; }

    /// Outputs that the next `apply` on `count` inputs gives.
    std::size_t cal_output_count(std::size_t count) const
    {
        const std::uint64_t position = std::uint64_t(up_rate_) * offset_ + phase_;
        const std::uint64_t stuffed = std::uint64_t(count) * up_rate_;
        return static_cast<std::size_t>(stuffed / down_rate_ + (position < stuffed % down_rate_ ? 1 : 0));
    }

    /// @return count of outputs written; stops early, after a report, when the room does not suffice
    std::size_t apply(const in_t* input, std::size_t count, out_t* output, std::size_t room)
    {
        if (room < cal_output_count(count))
            resample_report::print_line("Not enough output samples");

        const std::size_t history = state_.size();
        std::size_t position = offset_;
        std::size_t written = 0;
        while (position < count && written < room)
        {
            const coefficient_t* taps = transposed_.data() + static_cast<std::size_t>(phase_) * coefs_per_phase_;
            out_t sum(0);
            std::size_t tap = 0;
            for (; tap < coefs_per_phase_ && position + tap < history; ++tap)
                accumulate(sum, state_[position + tap], taps[tap]);
            const in_t* newer = input + position;
            for (; tap < coefs_per_phase_; ++tap)
                accumulate(sum, *(newer + static_cast<std::ptrdiff_t>(tap) - static_cast<std::ptrdiff_t>(history)), taps[tap]);
            output[written++] = sum;
            const std::uint64_t next = std::uint64_t(phase_) + down_rate_;
            position += static_cast<std::size_t>(next / up_rate_);
            phase_ = static_cast<std::uint32_t>(next % up_rate_);
        }
        offset_ = position > count ? static_cast<std::uint32_t>(position - count) : 0;

        if (count >= history)
        {
            std::copy(input + (count - history), input + count, state_.begin());
        }
        else
        {
            std::move(state_.begin() + static_cast<std::ptrdiff_t>(count), state_.end(), state_.begin());
            std::copy(input, input + count, state_.end() - static_cast<std::ptrdiff_t>(count));
        }
        return written;
    }

private:
    static void accumulate(out_t& sum, const in_t& sample, const coefficient_t& tap)
    {
        if constexpr (std::is_same_v<in_t, std::complex<float>> && std::is_same_v<coefficient_t, std::complex<float>>)
            sum += std::complex<float>(sample.real() * tap.real() - sample.imag() * tap.imag(),
                                       sample.real() * tap.imag() + sample.imag() * tap.real());
        else
            sum += static_cast<out_t>(sample * tap);
    }

    std::uint32_t up_rate_;
    std::uint32_t down_rate_;
    std::uint32_t coefs_per_phase_;
    std::vector<coefficient_t> transposed_; ///< one phase after the other
    std::vector<in_t> state_;               ///< the last inputs, oldest first
    std::uint32_t phase_ = 0;
    std::uint32_t offset_ = 0; ///< inputs to skip at the start of the next call
};

/// Zero stuffing by `up`, filtering and picking by `down` of a whole array, tail included.
template <typename in_t, typename out_t, typename coefficient_t>
void upfirdn(std::uint32_t up, std::uint32_t down, const in_t* input, std::size_t length, const coefficient_t* filter,
             std::size_t filter_length, std::vector<out_t>& results)
{
    results.clear();
    if (up == 0 || down == 0 || filter_length == 0)
        return;
    lib_common_resample_t<in_t, out_t, coefficient_t> engine(up, down, filter, filter_length);
    std::vector<in_t> padded(length + engine.get_coefs_per_phase() - 1, in_t(0));
    std::copy(input, input + length, padded.begin());
    results.resize(engine.cal_output_count(padded.size()));
    engine.apply(padded.data(), padded.size(), results.data(), results.size());
}

/// Converts `in` by up / down with a least-squares low pass under a Kaiser window, delay taken out.
/// @param[out] out  ceil(length * up / down) samples, out[0] at the time of in[0]; empty when a factor is 0 or the reduced
///                  factors ask for a filter beyond `resample_report::largest_taps`, both of which are reported
template <typename value_t>
void lib_resample(std::uint32_t up, std::uint32_t down, std::vector<value_t>& in, std::vector<value_t>& out)
{
    using tap_t = std::conditional_t<std::is_floating_point_v<value_t>, value_t, std::complex<float>>;
    if (up == 0 || down == 0)
    {
        resample_report::print_line("factors must be positive integer.");
        out.clear();
        return;
    }
    const std::uint32_t divisor = std::gcd(up, down);
    const std::uint64_t p = up / divisor;
    const std::uint64_t q = down / divisor;
    if (p == q)
    {
        out = in;
        return;
    }
    if (in.empty())
    {
        out.clear();
        return;
    }

    const std::uint64_t n = in.size();
    const std::uint64_t length = (n * p + q - 1) / q;
    const std::uint64_t longest = std::max(p, q);
    const std::uint64_t order = 20 * longest;
    if (order >= resample_report::largest_taps)
    {
        resample_report::refuse_long_filter(p, q, order + 1);
        out.clear();
        return;
    }
    if (order >= resample_report::announced_taps)
        resample_report::announce_long_filter(p, q, order + 1);

    const double cutoff = (0.5 / static_cast<double>(longest)) * 2.0;
    const std::vector<double> design =
        resample_filter<double>(static_cast<std::uint32_t>(order), { 0.0, cutoff, cutoff, 1.0 }, { 1.0, 1.0, 0.0, 0.0 });
    const std::vector<double> window = kaiser<double>(static_cast<std::uint32_t>(order + 1), 5.0);

    // Zeros in front bring the delay to whole output samples, zeros behind let the last output come out.
    const std::uint64_t half = order / 2;
    const std::uint64_t front = q - half % q;
    const std::uint64_t delay = (front + half) / q;
    const std::uint64_t tap_count = front + order + 1;
    const std::uint64_t stuffed = n * p - p + tap_count;
    const std::uint64_t needed = (length + delay - 1) * q + 1;
    const std::uint64_t back = needed > stuffed ? needed - stuffed : 0;
    std::vector<tap_t> filter(static_cast<std::size_t>(tap_count + back), tap_t(0));
    using real_tap_t = std::conditional_t<std::is_floating_point_v<value_t>, value_t, float>;
    for (std::size_t i = 0; i < design.size(); ++i)
        filter[static_cast<std::size_t>(front) + i] =
            tap_t(static_cast<real_tap_t>(static_cast<double>(p) * design[i] * window[i]));

    std::vector<value_t> converted;
    upfirdn<value_t, value_t, tap_t>(static_cast<std::uint32_t>(p), static_cast<std::uint32_t>(q), in.data(), in.size(),
                                     filter.data(), filter.size(), converted);
    const std::size_t first = std::min<std::size_t>(static_cast<std::size_t>(delay), converted.size());
    const std::size_t last = std::min<std::size_t>(static_cast<std::size_t>(delay + length), converted.size());
    out.assign(converted.begin() + static_cast<std::ptrdiff_t>(first), converted.begin() + static_cast<std::ptrdiff_t>(last));
}
} // namespace vrim::dma_demod_lib
