#include "lib_dma_common/lib_dma_phy_common.h"

#include "lib_dma_demod/lib_dma_qam_common.h"
#include "support/internal/complex_ops.h"
#include "support/internal/finite_values.h"
#include "support/internal/polar_form.h"
#include "support/internal/vector_clones.h"
#include "support/lib_common_math.h"
#include "support/log_macro.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <stdexcept>

namespace vrim::dma_demod_lib
{
using common_lib::lib_common_math_t;

namespace
{
constexpr double degrees_per_radian = 57.29577951308232;
constexpr std::size_t block_points = 1024; // whose passing values stay in the nearest cache

/// Range check of one index for a whole loop, with the failure of a checked access.
void check_length(const complex_array& array, std::size_t needed)
{
    if (needed > array.size())
        static_cast<void>(array.at(array.size()));
}

DMA_VECTOR_CLONES
void subtract(const std::complex<float>* a, const std::complex<float>* b, std::size_t count, std::complex<float>* out)
{
    for (std::size_t i = 0; i < count; ++i)
        out[i] = { a[i].real() - b[i].real(), a[i].imag() - b[i].imag() };
}

DMA_VECTOR_CLONES
void fold_phase_differences(const float* ref, std::size_t count, float* in_out)
{
    for (std::size_t i = 0; i < count; ++i)
    {
        const double difference = static_cast<double>(ref[i] - in_out[i]);
        const double lowered = difference > common_lib::pi ? difference - common_lib::two_pi : difference;
        const double folded = difference < -common_lib::pi ? difference + common_lib::two_pi : lowered;
        in_out[i] = static_cast<float>(folded * degrees_per_radian);
    }
}

/// Amplitudes below the limit of the symbols in either of the upper quadrants; 0, which changes no sum, for all others.
/// Selected, not branched: the quadrants are as random as the data.
DMA_VECTOR_CLONES
void take_upper_quadrants(const std::complex<float>* symbols, std::size_t count, float limit, float* first, float* second)
{
    for (std::size_t i = 0; i < count; ++i)
    {
        const float amplitude = common_lib::amplitude_of(symbols[i]);
        const float taken = (amplitude < limit) & (symbols[i].imag() > 0.0f) ? amplitude : 0.0f;
        first[i] = symbols[i].real() > 0.0f ? taken : 0.0f;
        second[i] = symbols[i].real() < 0.0f ? taken : 0.0f;
    }
}

/// @param deal  deal(start, length), for points one behind the other
template <typename deal_t>
void for_each_block(std::size_t count, deal_t&& deal)
{
    for (std::size_t start = 0; start < count; start += block_points)
        deal(start, std::min(block_points, count - start));
}

/// @param take  called with each entry of the list
template <typename take_t>
void walk_range(float start, float step, float stop, take_t&& take)
{
    if (step > 0.0f)
    {
        // A step that no longer changes the value would never reach the end.
        for (float v = start; v <= stop; v += step)
        {
            take(v);
            if (v + step == v)
                break;
        }
    }
    else if (step < 0.0f)
    {
        for (float v = start; v >= stop; v += step)
        {
            take(v);
            if (v + step == v)
                break;
        }
    }
}

template <typename value_t>
std::vector<value_t> make_target_array(float start, float step, float stop, value_t scale)
{
    std::vector<value_t> values;
    const bool degenerate = start == 0.0f && stop == 0.0f;
    if (!degenerate)
        walk_range(start, step, stop, [&](float v) { values.push_back(scale * v); });
    if (values.empty())
        values.push_back(value_t(0));
    return values;
}
} // namespace

void lib_dma_phy_common_t::error_vector_cal(const complex_array& meas, const complex_array& ref, complex_array& out)
{
    check_length(ref, meas.size());
    // Element by element: `out` may be one of the two.
    out.resize(meas.size());
    subtract(ref.data(), meas.data(), out.size(), out.data());
}

void lib_dma_phy_common_t::mag_error_cal(const complex_array& meas, const complex_array& ref, float_array& out)
{
    check_length(ref, meas.size());
    out.resize(meas.size());
    std::array<float, block_points> ref_amplitude;
    for_each_block(meas.size(),
                   [&](std::size_t start, std::size_t length)
                   {
                       common_lib::fill_amplitudes(ref.data() + start, length, ref_amplitude.data());
                       common_lib::fill_amplitudes(meas.data() + start, length, out.data() + start);
                       for (std::size_t i = 0; i < length; ++i)
                           out[start + i] = ref_amplitude[i] - out[start + i];
                   });
}

void lib_dma_phy_common_t::phase_error_cal(const complex_array& meas, const complex_array& ref, float_array& out)
{
    check_length(ref, meas.size());
    out.resize(meas.size());
    std::array<float, block_points> ref_phase;
    for_each_block(meas.size(),
                   [&](std::size_t start, std::size_t length)
                   {
                       common_lib::fill_phases(ref.data() + start, length, ref_phase.data());
                       common_lib::fill_phases(meas.data() + start, length, out.data() + start);
                       fold_phase_differences(ref_phase.data(), length, out.data() + start);
                   });
}

double lib_dma_phy_common_t::snr_cal(const complex_array& meas, const complex_array& ref)
{
    check_length(ref, meas.size());
    std::array<std::complex<float>, block_points> error;
    std::array<float, block_points> error_amplitude;
    std::array<float, block_points> ref_amplitude;
    double error_power = 0.0;
    double ref_power = 0.0;
    for_each_block(meas.size(),
                   [&](std::size_t start, std::size_t length)
                   {
                       subtract(ref.data() + start, meas.data() + start, length, error.data());
                       common_lib::fill_amplitudes(error.data(), length, error_amplitude.data());
                       common_lib::fill_amplitudes(ref.data() + start, length, ref_amplitude.data());
                       for (std::size_t i = 0; i < length; ++i)
                       {
                           error_power += static_cast<double>(error_amplitude[i]) * static_cast<double>(error_amplitude[i]);
                           ref_power += static_cast<double>(ref_amplitude[i]) * static_cast<double>(ref_amplitude[i]);
                       }
                   });
    return 10.0 * std::log10(ref_power / error_power);
}

float lib_dma_phy_common_t::gain_imbalance_cal(const complex_array& symbols)
{
    // Rails that lie further apart say more about the symbol than about the modulator.
    constexpr float largest_difference = 1.0f;
    float sum = 0.0f;
    std::uint32_t count = 0;
    for (const std::complex<float>& symbol : symbols)
    {
        const float a = std::abs(symbol.real());
        const float b = std::abs(symbol.imag());
        if (!(std::abs(a - b) < largest_difference))
            continue;
        sum += 20.0f * std::log10(a / b);
        ++count;
    }
    return count == 0 ? 0.0f : sum / static_cast<float>(count);
}

float lib_dma_phy_common_t::quad_error_cal(const complex_array& symbols, float threshold, float rotation)
{
    const std::complex<float> turn = common_lib::unit_phasor(rotation);
    float sum = 0.0f;
    std::uint32_t count = 0;
    for (const std::complex<float>& symbol : symbols)
    {
        const float v = std::abs(turn.real() * symbol.real() - turn.imag() * symbol.imag());
        if (v > threshold)
            continue;
        // On the axis itself the quotient may round to just above 1, which has no arc sine. Not-a-number passes.
        const float quotient = v / lib_common_math_t::get_complex_amplitude(symbol);
        sum += std::asin(quotient > 1.0f ? 1.0f : quotient);
        ++count;
    }
    if (count == 0)
        return 0.0f;
    return static_cast<float>(static_cast<double>(sum / static_cast<float>(count)) / common_lib::pi * 180.0);
}

float lib_dma_phy_common_t::qam_quad_error_cal(lib_dma_qam_modulation_type_t format, const complex_array& symbols)
{
    // The square root of 4.5 in units of half the distance of neighbouring points.
    constexpr double class_limit = 2.121320343559642;
    const float limit = static_cast<float>(class_limit / static_cast<double>(lib_dma_qam_common_t::qam_get_rms(format)));
    std::array<float, block_points> first;
    std::array<float, block_points> second;
    double first_sum = 0.0;
    double second_sum = 0.0;
    std::uint32_t first_count = 0;
    std::uint32_t second_count = 0;
    for_each_block(symbols.size(),
                   [&](std::size_t start, std::size_t length)
                   {
                       take_upper_quadrants(symbols.data() + start, length, limit, first.data(), second.data());
                       for (std::size_t i = 0; i < length; ++i)
                       {
                           first_sum += static_cast<double>(first[i]);
                           second_sum += static_cast<double>(second[i]);
                           first_count += first[i] > 0.0f ? 1 : 0;
                           second_count += second[i] > 0.0f ? 1 : 0;
                       }
                   });
    if (first_count == 0 || second_count == 0)
        return 0.0f;
    const double ratio = (first_sum / first_count) / (second_sum / second_count);
    return static_cast<float>(2.0 * (45.0 - std::atan(ratio) / common_lib::pi * 180.0));
}

float lib_dma_phy_common_t::apsk_quad_error_cal(lib_dma_apsk_modulation_type_t format, const complex_array& symbols)
{
    if (format != LIB_DMA_APSK_16 && format != LIB_DMA_APSK_32)
    {
        DMA_LOG_ERROR("error: apsk_quad_error_cal: unsupported apsk type\n");
        std::exit(1);
    }
    // For 32 points the outer limit lies below the inner one, so its outer class stays empty and the figure is 0.
    const float inner_limit = format == LIB_DMA_APSK_16 ? 0.35211268f : 0.18975332f;
    const float outer_limit = format == LIB_DMA_APSK_16 ? 0.6760563f : 0.12828393f;

    double inner_power = 0.0;
    double outer_power = 0.0;
    std::uint32_t inner_count = 0;
    std::uint32_t outer_count = 0;
    for (const std::complex<float>& symbol : symbols)
    {
        const float amplitude = lib_common_math_t::get_complex_amplitude(symbol);
        const double power = static_cast<double>(std::norm(symbol));
        if (amplitude < inner_limit)
        {
            inner_power += power;
            ++inner_count;
        }
        else if (amplitude < outer_limit)
        {
            outer_power += power;
            ++outer_count;
        }
    }
    if (inner_count == 0 || outer_count == 0)
        return 0.0f;
    const double ratio = (outer_power / outer_count) / (inner_power / inner_count);
    const double x = 2.0 / (ratio + 1.0) - 1.0;
    if (!(std::abs(x) < 1.0))
        return 0.0f;
    return static_cast<float>(std::asin(x) * 180.0 / common_lib::pi);
}

float lib_dma_phy_common_t::iq_offset_cal(const complex_array& error_vector)
{
    constexpr float no_offset = -1e10f;
    if (error_vector.empty())
        return no_offset;
    float sum_i = 0.0f;
    float sum_q = 0.0f;
    for (const std::complex<float>& value : error_vector)
    {
        sum_i += value.real();
        sum_q += value.imag();
    }
    if (sum_i == 0.0f && sum_q == 0.0f)
        return no_offset;
    const float mean = lib_common_math_t::get_complex_amplitude({ sum_i, sum_q }) / static_cast<float>(error_vector.size());
    return 20.0f * std::log10(mean);
}

float lib_dma_phy_common_t::deal_corr(const complex_array& a, const complex_array& b, std::uint32_t start, std::uint32_t count)
{
    constexpr float no_power = 1e-12f;
    if (count == 0)
        return 0.0f;
    check_length(a, count);
    check_length(b, static_cast<std::size_t>(start) + count);
    // Four sums side by side, each in order. Complex numbers would pass through memory part by part here.
    float power_a = 0.0f;
    float power_b = 0.0f;
    float in_phase = 0.0f;
    float quadrature = 0.0f;
    for (std::size_t k = 0; k < count; ++k)
    {
        const float a_re = a[k].real();
        const float a_im = a[k].imag();
        const float b_re = b[start + k].real();
        const float b_im = b[start + k].imag();
        power_a += a_re * a_re + a_im * a_im;
        power_b += b_re * b_re + b_im * b_im;
        in_phase += a_re * b_re + a_im * b_im;
        quadrature += a_re * b_im - a_im * b_re;
    }
    const float level = std::sqrt(power_a * power_b);
    if (level < no_power)
        return 0.0f;
    return lib_common_math_t::get_complex_amplitude({ in_phase, quadrature }) / level;
}

void lib_dma_phy_common_t::filter_invalid(complex_array& data, float /*level*/)
{
    common_lib::replace_infinite(data);
}

float_array lib_dma_phy_common_t::gen_target_array(float start, float step, float stop, float scale)
{
    return make_target_array(start, step, stop, scale);
}

complex_array lib_dma_phy_common_t::gen_target_array(float start, float step, float stop, std::complex<float> scale)
{
    return make_target_array(start, step, stop, scale);
}

float_array lib_dma_phy_common_t::center_moving_average(std::uint32_t window, const float_array& data)
{
    if (data.empty())
        return {};
    const std::size_t size = data.size();
    const std::size_t half = window / 2;
    const auto mean_of = [&](std::size_t first, std::size_t last)
    {
        float sum = 0.0f;
        for (std::size_t i = first; i <= last; ++i)
            sum += data[i];
        return sum / static_cast<float>(last - first + 1);
    };
    if (half >= size)
        return float_array(size, lib_common_math_t::get_average_value(data));

    const std::size_t whole = 2 * half + 1;
    const std::size_t margin =
        static_cast<std::size_t>(std::min(static_cast<double>(size - 1) * 0.5, static_cast<double>(whole) * 0.5));
    float_array averaged(size);
    // With fewer samples than a whole window the head would reach past the end.
    for (std::size_t i = 0; i <= margin; ++i)
        averaged[i] = mean_of(0, std::min(half + i, size - 1));
    for (std::size_t i = margin + 1; i < size - margin; ++i)
        averaged[i] = mean_of(i - margin, i + margin);
    for (std::size_t i = size - margin; i < size; ++i)
        averaged[i] = mean_of(i - std::min(half, i), size - 1);
    return averaged;
}
} // namespace vrim::dma_demod_lib
