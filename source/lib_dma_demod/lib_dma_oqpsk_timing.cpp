#include "lib_dma_demod/lib_dma_oqpsk_demod.h"

#include "lib_dma_common/lib_dma_phy_common.h"
#include "lib_dma_common/symbol_sync.h"
#include "support/internal/complex_ops.h"
#include "support/internal/fir_kernel.h"
#include "support/internal/vector_clones.h"
#include "support/lib_common_math.h"
#include "support/lib_common_polyfit.h"
#include "support/log_macro.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace vrim::dma_demod_lib
{
using common_lib::complex_product;
using common_lib::finite_or_zero;
using common_lib::lib_common_math_t;
using common_lib::pi;
using common_lib::unit_phasor;

namespace
{
constexpr std::size_t window_symbols = 64;
constexpr float single_two_pi = 6.2831855f;
constexpr float largest_step = 3.5f; // rad; a longer step between neighbouring windows is a turn

/// Unwraps a track of angles that moves slowly, over any count of turns. The step is taken between the angles as they came,
/// so that a track of a thousand turns costs no digits on the way.
void unwrap_slow_track(float_array& phases)
{
    std::int64_t turns = 0;
    float previous = phases.empty() ? 0.0f : phases.front();
    for (float& phase : phases)
    {
        const float step = phase - previous;
        previous = phase;
        if (step > largest_step)
            --turns;
        else if (step < -largest_step)
            ++turns;
        phase = static_cast<float>(static_cast<double>(phase) + static_cast<double>(turns) * static_cast<double>(single_two_pi));
    }
}

/// out[n] *= data[n]. What is not finite becomes 0, so that it leaves the running sums alone.
DMA_COMPLEX_CLONES
void multiply_finite(const std::complex<float>* data, std::complex<float>* out, std::size_t count)
{
    for (std::size_t n = 0; n < count; ++n)
        out[n] = finite_or_zero(complex_product(out[n], data[n]));
}

/// Angle of the sum over every window of `window` samples, one window a sample. A window is the difference of two running
/// sums in double, so its length costs nothing.
float_array cal_window_phases(const complex_array& data, std::size_t window, std::size_t count)
{
    complex_array sums(count);
    double lead_re = 0.0;
    double lead_im = 0.0;
    double tail_re = 0.0;
    double tail_im = 0.0;
    for (std::size_t n = 0; n + 1 < window; ++n)
    {
        lead_re += static_cast<double>(data[n].real());
        lead_im += static_cast<double>(data[n].imag());
    }
    for (std::size_t i = 0; i < count; ++i)
    {
        const std::complex<float> entering = data[i + window - 1];
        lead_re += static_cast<double>(entering.real());
        lead_im += static_cast<double>(entering.imag());
        sums[i] = { static_cast<float>(lead_re - tail_re), static_cast<float>(lead_im - tail_im) };
        tail_re += static_cast<double>(data[i].real());
        tail_im += static_cast<double>(data[i].imag());
    }
    float_array phases;
    lib_common_math_t::get_complex_array_phase(sums, phases);
    return phases;
}

/// Phase of sample n, in single precision throughout; the term of the origin takes part with its zero.
inline float cal_line_phase(float slope, float intercept, std::size_t n)
{
    return slope * 0.0f + intercept + slope * static_cast<float>(n);
}

DMA_COMPLEX_CLONES
void turn_back_reduced(std::complex<float>* data, std::size_t count, float slope, float intercept)
{
    for (std::size_t n = 0; n < count; ++n)
    {
        const float position = static_cast<float>(static_cast<std::int32_t>(n));
        const float phase = slope * 0.0f + intercept + slope * position;
        const common_lib::sine_cosine_t turn = common_lib::sine_cosine_reduced(-static_cast<double>(phase));
        data[n] = complex_product(data[n], { static_cast<float>(turn.cosine), static_cast<float>(turn.sine) });
    }
}

/// data[n] *= e^(-j (intercept + slope * n)).
void turn_back(float slope, float intercept, complex_array& data)
{
    const double first = std::abs(static_cast<double>(intercept));
    const double last = std::abs(static_cast<double>(cal_line_phase(slope, intercept, data.size())));
    if (std::max(first, last) <= common_lib::largest_reduced_angle && data.size() < (std::size_t(1) << 31))
    {
        turn_back_reduced(data.data(), data.size(), slope, intercept);
        return;
    }
    for (std::size_t n = 0; n < data.size(); ++n)
        data[n] = complex_product(data[n], unit_phasor(-cal_line_phase(slope, intercept, n)));
}

float get_mean_step(const float_array& track)
{
    float_array steps(track.empty() ? 0 : track.size() - 1);
    for (std::size_t i = 0; i < steps.size(); ++i)
        steps[i] = track[i + 1] - track[i];
    return steps.empty() ? 0.0f : lib_common_math_t::get_average_value(steps);
}

/// Samples to drop so that the symbol `offset` samples away stands first; a symbol later where that one lies before the data.
std::size_t cal_whole_delay(float offset, std::uint32_t sps)
{
    const std::int64_t whole = static_cast<std::int64_t>(std::floor(offset));
    if (whole > 0)
        return static_cast<std::size_t>(whole);
    const std::int64_t period = static_cast<std::int64_t>(sps);
    return static_cast<std::size_t>(period - (-whole) % period);
}
} // namespace

bool lib_dma_oqpsk_demod_t::oqpsk_phase_timing_est_prepare()
{
    constexpr double singular_width = 1.4901e-08; // samples
    const float single_alpha = setting.filter_beta;
    const double alpha = static_cast<double>(single_alpha);
    const double s = static_cast<double>(setting.sps);
    const std::int64_t reach = 4 * static_cast<std::int64_t>(setting.sps);
    est_template.clear();
    for (std::int64_t k = -reach; k < reach; ++k)
    {
        const double t = static_cast<double>(k);
        float tap = single_alpha * 0.25f; // limit at the zero of the denominator
        if (!(std::abs(std::abs(t) - 0.5 * s / alpha) < singular_width))
        {
            const double numerator = alpha * s * s * std::cos(pi * alpha * t / s);
            tap = static_cast<float>(numerator / (pi * s * s - 4.0 * pi * alpha * alpha * t * t));
        }
        est_template.emplace_back(tap, 0.0f);
    }
    return true;
}

float_array lib_dma_oqpsk_demod_t::_cal_line_phase(const complex_array& data, float direction, std::size_t count) const
{
    // The mixer stands at half the symbol rate, so it comes back to its start after two symbols.
    complex_array mixer(2 * static_cast<std::size_t>(setting.sps));
    for (std::size_t n = 0; n < mixer.size(); ++n)
        mixer[n] = unit_phasor(static_cast<float>(static_cast<double>(direction) * pi * static_cast<double>(n) /
                                                  static_cast<double>(setting.sps)));
    const std::size_t taps = est_template.size();
    float_array kernel(taps);
    for (std::size_t k = 0; k < taps; ++k)
        kernel[k] = est_template[taps - 1 - k].real();

    // The tap in the middle of the template sees the sample itself.
    const std::size_t front = taps == 0 ? 0 : taps - 1 - taps / 2;
    complex_array padded(front + data.size() + taps / 2, { 0.0f, 0.0f });
    for (std::size_t start = 0; start < data.size(); start += mixer.size())
    {
        const std::size_t length = std::min(mixer.size(), data.size() - start);
        for (std::size_t n = 0; n < length; ++n)
            padded[front + start + n] = complex_product(finite_or_zero(data[start + n]), mixer[n]);
    }
    complex_array filtered(data.size());
    common_lib::correlate_real_taps(padded.data(), kernel.data(), taps, filtered.data(), filtered.size());
    multiply_finite(padded.data() + front, filtered.data(), filtered.size());
    float_array phases = cal_window_phases(filtered, window_symbols * setting.sps, count);
    unwrap_slow_track(phases);
    return phases;
}

bool lib_dma_oqpsk_demod_t::phase_timing_estimate(const complex_array& data, float_array& phase, float_array& timing,
                                                  std::uint32_t& count)
{
    const std::size_t window = window_symbols * setting.sps;
    phase.clear();
    timing.clear();
    count = 0;
    if (window == 0 || data.size() < window)
        return false;
    count = static_cast<std::uint32_t>(data.size() - window + 1);
    phase = _cal_line_phase(data, -1.0f, count);
    timing = _cal_line_phase(data, 1.0f, count);
    for (std::size_t i = 0; i < count; ++i)
    {
        const float above = phase[i];
        const float below = timing[i];
        phase[i] = (above + below) * 0.25f;
        timing[i] = static_cast<float>(static_cast<double>(above - below) / (4.0 * pi));
    }
    return true;
}

bool lib_dma_oqpsk_demod_t::timing_recovery(float& residual_hz)
{
    DMA_LOG_INFO("lib_dma_oqpsk_demod_t::timing_recovery start.\n");
    if (setting.meas_filter_type != LIB_DMA_MEAS_GAUSSIAN_FILTER)
        setting.filter_beta = setting.filter_alpha;
    const std::uint32_t inner_size = static_cast<std::uint32_t>(work.iq_data.size()) - 2 * setting.pre_num;
    lib_dma_phy_common_t::check_valid_data_size(work.iq_data, setting.pre_num, inner_size, work.timing_data);

    float_array phase;
    float_array timing;
    std::uint32_t count = 0;
    oqpsk_phase_timing_est_prepare();
    if (!phase_timing_estimate(work.timing_data, phase, timing, count))
    {
        DMA_LOG_ERROR("lib_dma_oqpsk_demod_t::timing_recovery: the record is shorter than 64 symbols.\n");
        return false;
    }
    float_array positions(count);
    for (std::uint32_t i = 0; i < count; ++i)
        positions[i] = static_cast<float>(setting.pre_num + i);
    float_array line;
    if (!common_lib::lib_dma_common_polyfit_t::deal_polyfit(std::move(positions), phase, 1, line) || line.size() < 2 ||
        !std::isfinite(line[0]) || !std::isfinite(line[1]))
    {
        DMA_LOG_ERROR("lib_dma_common_polyfit_t::deal_polyfit:error!\n");
        return false;
    }
    turn_back(line[0], line[1], work.iq_data);
    residual_hz = static_cast<float>(setting.symbol_rate) * get_mean_step(phase) * static_cast<float>(setting.sps) / single_two_pi;

    const float mean_timing = lib_common_math_t::get_average_value(timing);
    // The estimate rises as the symbols come earlier.
    const float offset = static_cast<float>((-static_cast<double>(mean_timing) - static_cast<double>(setting.clock_adjust)) *
                                            static_cast<double>(setting.sps));
    float fraction = static_cast<double>(offset) <= 1e-12 ? offset - std::ceil(offset) : offset - std::floor(offset);
    if (fraction < 0.0f)
        fraction += 1.0f;
    DMA_LOG_INFO("phase average:%.6f,bin_delay:%.6f.\n", mean_timing, fraction);

    double_array taps;
    symbol_timing_recovery_plan::sinc_fractional_delay_filter_design(static_cast<double>(fraction), interp_order, taps);
    symbol_timing_recovery_plan::sinc_fractional_delay(interp_order, taps, work.iq_data, work.timing_data);
    const std::size_t head = std::min(cal_whole_delay(offset, setting.sps), work.timing_data.size());
    work.timing_data.erase(work.timing_data.begin(), work.timing_data.begin() + static_cast<std::ptrdiff_t>(head));
    return true;
}
} // namespace vrim::dma_demod_lib
