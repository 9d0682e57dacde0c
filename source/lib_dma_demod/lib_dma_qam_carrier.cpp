#include "lib_dma_demod/lib_dma_qam_demod.h"

#include "lib_dma_common/lib_dma_phy_common.h"
#include "lib_dma_demod/lib_dma_qam_common.h"
#include "lib_dma_demod/stage/carrier_track.h"
#include "support/internal/complex_ops.h"
#include "support/log_macro.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <utility>

namespace vrim::dma_demod_lib
{
using common_lib::complex_product;
using common_lib::unit_phasor;

namespace
{
constexpr float single_pi = 3.14159274f;
constexpr float single_two_pi = 6.28318548f;
constexpr float quarter_pi = 0.7853982f;
constexpr float gain_memory_default = 0.95f;
constexpr float gain_update_default = 0.05f;
// The gain of the settling pass starts anew where it leaves this range: it follows amplitudes, which a wrong phase spoils.
constexpr float largest_gain = 1.05f;
constexpr float least_gain = 0.95f;
constexpr std::size_t lock_window = 18; // symbols
// Shares of the symbols in lock: enough to skip the second pass, and to be content altogether.
constexpr float fair_lock = 0.5f;
constexpr float good_lock = 0.75f;
// Mean frequency in radians per symbol above which the third pass is not trusted.
constexpr float steady_frequency = 0.00012207031f;

struct pass_gain_t
{
    float kp;
    float ki;
};

/// Gains of the four passes of a format and the level of its lock.
struct recovery_gain_t
{
    std::array<pass_gain_t, 4> pass;
    float lock_level;
};

recovery_gain_t get_recovery_gain(lib_dma_qam_modulation_type_t format)
{
    switch (static_cast<std::uint32_t>(format))
    {
    case LIB_DMA_QAM_32:
    case LIB_DMA_QAM_NEGATIVE_PI_32:
        return { { { { 0.5f, 0.007f }, { 0.45f, 0.007f }, { 0.5f, 0.007f }, { 0.45f, 0.007f } } }, 0.15f };
    case LIB_DMA_QAM_64:
        return { { { { 0.4f, 0.006f }, { 0.45f, 0.007f }, { 0.4f, 0.006f }, { 0.6f, 0.004f } } }, 0.115f };
    case LIB_DMA_QAM_128:
        return { { { { 0.4f, 0.006f }, { 0.45f, 0.003f }, { 0.4f, 0.006f }, { 0.45f, 0.003f } } }, 0.09f };
    case LIB_DMA_QAM_256:
        return { { { { 0.25f, 0.006f }, { 0.2f, 0.003f }, { 0.25f, 0.006f }, { 0.2f, 0.003f } } }, 0.08f };
    case LIB_DMA_QAM_512:
        return { { { { 0.15f, 0.006f }, { 0.15f, 0.003f }, { 0.2f, 0.006f }, { 0.15f, 0.003f } } }, 0.08f };
    case LIB_DMA_QAM_1024:
        return { { { { 0.15f, 0.006f }, { 0.2f, 0.003f }, { 0.3f, 0.006f }, { 0.4f, 0.003f } } }, 0.08f };
    case 7: // unassigned: 2048 points
    case LIB_DMA_QAM_4096:
        return { { { { 0.15f, 0.006f }, { 0.2f, 0.003f }, { 0.3f, 0.006f }, { 0.4f, 0.003f } } }, 0.07f };
    default:
        return { { { { 0.5f, 0.009f }, { 0.55f, 0.005f }, { 0.5f, 0.009f }, { 0.55f, 0.005f } } }, 0.2f };
    }
}

/// Fixed turn of a format, radians per symbol; 0 for the formats that stand still.
float get_qam_turn(lib_dma_qam_modulation_type_t format)
{
    if (format == LIB_DMA_QAM_PI_16)
        return quarter_pi;
    return format == LIB_DMA_QAM_NEGATIVE_PI_32 ? -quarter_pi : 0.0f;
}

/// A symbol or point in polar form; what the loop asks of each in every pass is worked out once.
struct polar_t
{
    float amplitude;
    float phase; ///< radians
};

polar_t get_polar(std::complex<float> value)
{
    return { common_lib::amplitude_of(value), common_lib::phase_of(value) };
}

/// The loop between symbols.
struct loop_t
{
    float phase;     ///< radians, within half a turn
    float frequency; ///< radians per symbol
    float gain = 1.0f;
    std::int32_t wraps = 0; ///< whole turns that were taken out of the phase

    void wrap()
    {
        if (phase > single_pi)
        {
            ++wraps;
            phase -= single_two_pi;
        }
        else if (phase < -single_pi)
        {
            --wraps;
            phase += single_two_pi;
        }
    }

    /// A symbol without amplitude says nothing of the gain.
    void update_gain(float decided, float measured, float update, float memory)
    {
        if (measured > 0.0f)
            gain = (decided / measured) * update + gain * memory;
    }
};

/// Runs of locked symbols: start and length of the longest, the first of equal ones.
void find_longest_run(const std::vector<std::uint8_t>& locked, std::uint32_t& start, std::uint32_t& length)
{
    start = 0;
    length = 0;
    std::size_t run_start = 0;
    for (std::size_t i = 0; i <= locked.size(); ++i)
    {
        if (i < locked.size() && locked[i] != 0)
            continue;
        if (i - run_start > length)
        {
            start = static_cast<std::uint32_t>(run_start);
            length = static_cast<std::uint32_t>(i - run_start);
        }
        run_start = i + 1;
    }
}

/// Mean of the frequency over the lock, or over what follows its start where that is shorter.
float cal_mean_frequency(const carrier_syn_info_t& pass)
{
    const std::size_t first = std::min<std::size_t>(pass.lock_start, pass.frequency_track.size());
    const std::size_t count = std::min<std::size_t>(pass.lock_len, pass.frequency_track.size() - first);
    double sum = 0.0;
    for (std::size_t i = first; i < first + count; ++i)
        sum += static_cast<double>(pass.frequency_track[i]);
    return count == 0 ? 0.0f : static_cast<float>(sum / static_cast<double>(count));
}
} // namespace

carrier_syn_info_t lib_dma_qam_demod_t::qam_carrier_coarse_syn(float phase, float frequency, float ki, float kp,
                                                               float gain_memory, float gain_update, float lock_level)
{
    _update_judge_map(qam_format);
    const std::size_t count = work.sync_symbol.size();
    carrier_syn_info_t info;
    if (count == 0)
        return info;

    constexpr float start_phase_limit = 1e-8f;
    const float turn = get_qam_turn(qam_format);
    std::vector<polar_t> symbols(count);
    std::transform(work.sync_symbol.begin(), work.sync_symbol.end(), symbols.begin(), get_polar);
    std::vector<polar_t> points;
    points.reserve(judge_map.size());
    for (const auto& [key, point] : judge_map)
        points.push_back(get_polar(point));
    const auto decide = [&](float amplitude, float angle) -> polar_t
    {
        const std::complex<float> direction = unit_phasor(angle);
        return points.empty() ? polar_t{ 0.0f, 0.0f }
                              : points[judge_slicer_.decide_number({ amplitude * direction.real(), amplitude * direction.imag() })];
    };

    loop_t loop = { phase, frequency };
    if (std::abs(loop.phase) < start_phase_limit)
        loop.phase = common_lib::phase_of(judge_slicer_.decide_point(work.sync_symbol[count - 1]));
    loop.phase -= symbols[count - 1].phase;

    // Backward first, only to settle the loop on the data before any value is kept. Time runs the other way, and so do the
    // format's turn and the frequency.
    for (std::size_t i = count; i-- > 0;)
    {
        loop.phase += turn;
        loop.phase -= loop.frequency;
        if (loop.gain > largest_gain || loop.gain < least_gain)
            loop.gain = 1.0f;
        loop.wrap();
        const float angle = lib_dma_phy_common_t::wrap_to_pi(loop.phase + symbols[i].phase);
        const polar_t decided = decide(symbols[i].amplitude, angle);
        const float error = lib_dma_phy_common_t::wrap_to_pi(decided.phase - angle);
        loop.frequency -= error * ki;
        loop.phase += error * kp;
        loop.update_gain(decided.amplitude, symbols[i].amplitude, gain_update, gain_memory);
    }

    info.phase_track.reserve(count);
    info.gain_track.reserve(count);
    info.frequency_track.reserve(count);
    std::vector<std::uint8_t> locked(count);
    std::array<float, lock_window> ring = {};
    std::size_t ring_index = 0;
    // Starts at 1, so that a low lock level asks for a full window of small errors first.
    float sum = 1.0f;
    const float locked_sum = lock_level * static_cast<float>(lock_window);
    for (std::size_t i = 0; i < count; ++i)
    {
        loop.phase -= turn;
        loop.phase += loop.frequency;
        loop.wrap();
        const float angle = lib_dma_phy_common_t::wrap_to_pi(loop.phase + symbols[i].phase);
        const polar_t decided = decide(symbols[i].amplitude * loop.gain, angle);
        const float error = lib_dma_phy_common_t::wrap_to_pi(decided.phase - angle);
        loop.frequency += error * ki;
        loop.phase += error * kp;
        loop.update_gain(decided.amplitude, symbols[i].amplitude, gain_update, gain_memory);

        info.phase_track.push_back(
            static_cast<float>(2.0 * static_cast<double>(loop.wraps) * common_lib::pi + static_cast<double>(loop.phase)));
        info.gain_track.push_back(loop.gain);
        info.frequency_track.push_back(loop.frequency);
        const float magnitude = std::abs(error);
        sum = sum - ring[ring_index] + magnitude;
        ring[ring_index] = magnitude;
        ring_index = (ring_index + 1) % lock_window;
        locked[i] = sum < locked_sum ? 1 : 0;
    }

    find_longest_run(locked, info.lock_start, info.lock_len);
    if (info.lock_start + info.lock_len < info.lock_start)
        DMA_LOG_ERROR("lib_dma_qam_demod_t::qam_carrier_coarse_syn lock len error!\n");
    info.lock_ratio = static_cast<float>(info.lock_len) / static_cast<float>(count);
    return info;
}

carrier_syn_info_t lib_dma_qam_demod_t::_find_best_pass()
{
    const recovery_gain_t gain = get_recovery_gain(qam_format);
    const auto run_pass = [&](std::size_t number)
    {
        return qam_carrier_coarse_syn(0.0f, 0.0f, gain.pass[number].ki, gain.pass[number].kp, gain_memory_default,
                                      gain_update_default, gain.lock_level);
    };
    const auto keep_better = [](carrier_syn_info_t& kept, carrier_syn_info_t later)
    {
        if (later.lock_ratio > kept.lock_ratio)
            kept = std::move(later);
    };

    carrier_syn_info_t first = run_pass(0);
    DMA_LOG_INFO("qam_carrier_coarse_syn first step!\n");
    if (!(first.lock_ratio >= fair_lock))
    {
        keep_better(first, run_pass(1));
        DMA_LOG_INFO("qam_carrier_coarse_syn second step!\n");
    }
    if (first.lock_ratio >= good_lock)
        return first;

    carrier_syn_info_t second = run_pass(2);
    const float mean_frequency = cal_mean_frequency(second);
    DMA_LOG_INFO("qam_carrier_coarse_syn third step,FreqErr = %.5f!\n", mean_frequency);
    if (mean_frequency > steady_frequency || second.lock_ratio < fair_lock)
    {
        keep_better(second, run_pass(3));
        DMA_LOG_INFO("qam_carrier_coarse_syn fourth step!\n");
    }
    keep_better(first, std::move(second));
    return first;
}

bool lib_dma_qam_demod_t::_fit_carrier(const float_array& phase_track, std::uint32_t locked_point, float_array& phase_line,
                                       double& residual_frequency, float_array& fit_coefficients)
{
    if (!demod_stage::cal_carrier_line(phase_track, locked_point, fit_coefficients))
    {
        DMA_LOG_ERROR("lib_dma_common_polyfit_t::deal_polyfit:error!\n");
        return false;
    }
    demod_stage::deal_phase_line(fit_coefficients, work.sync_symbol, phase_line);
    residual_frequency =
        demod_stage::cal_residual_frequency(phase_line, static_cast<double>(get_qam_turn(qam_format)), setting.symbol_rate);
    return true;
}

bool lib_dma_qam_demod_t::qam_carrier_recovery_new(float_array& phase_line, double& residual_frequency,
                                                   float_array& fit_coefficients)
{
    phase_line.clear();
    residual_frequency = 0.0;
    demod_stage::deal_carrier_symbols(work.timing_data, setting.pre_num, setting.sps, work.sync_symbol);
    carrier_syn_info_t best = _find_best_pass();
    // The loop tracks the correction, the line describes the carrier.
    for (float& value : best.phase_track)
        value = -value;
    return _fit_carrier(best.phase_track, best.lock_start, phase_line, residual_frequency, fit_coefficients);
}

float_array lib_dma_qam_demod_t::qam_mag(const complex_array& symbols)
{
    float_array amplitudes(symbols.size());
    std::transform(symbols.begin(), symbols.end(), amplitudes.begin(), common_lib::amplitude_of);
    return amplitudes;
}

float lib_dma_qam_demod_t::qam_cal_mag_th(lib_dma_qam_modulation_type_t format)
{
    constexpr float same_amplitude = 1e-4f;
    _update_judge_map(format);
    float largest = 0.0f;
    float next = 0.0f;
    for (const auto& [key, point] : judge_map)
    {
        const float amplitude = common_lib::amplitude_of(point);
        if (amplitude > largest + same_amplitude)
        {
            next = largest;
            largest = amplitude;
        }
        else if (amplitude > next && amplitude < largest - same_amplitude)
        {
            next = amplitude;
        }
    }
    return 0.5f * (largest + next);
}

bool lib_dma_qam_demod_t::qam_lock_phase_detect(float_array& phase_track, std::uint32_t& locked_point)
{
    const float outer = qam_cal_mag_th(qam_format);
    const float lock_level = lib_dma_phy_common_t::qam_get_norm_param(qam_format).mag_threshold;
    _update_judge_map(qam_format);
    const auto detect = [this, outer](std::complex<float> r, const demod_stage::carrier_error_t& before)
    {
        if (common_lib::amplitude_of(r) < outer)
            return before;
        const std::complex<float> d = judge_slicer_.decide_point(r);
        return demod_stage::carrier_error_t{ common_lib::phase_of(complex_product(r, std::conj(d))),
                                             common_lib::amplitude_of(r - d) };
    };
    demod_stage::carrier_track_t track = demod_stage::cal_carrier_track(
        work.sync_symbol, static_cast<double>(get_qam_turn(qam_format)), lock_level, detect);
    locked_point = demod_stage::cal_locked_point(track);
    phase_track = std::move(track.phase);
    return track.locked;
}

bool lib_dma_qam_demod_t::qam_carrier_recovery_old(float_array& phase_line, double& residual_frequency,
                                                   float_array& fit_coefficients)
{
    phase_line.clear();
    residual_frequency = 0.0;
    demod_stage::deal_carrier_symbols(work.timing_data, setting.pre_num, setting.sps, work.sync_symbol);
    float_array phase_track;
    std::uint32_t locked_point = 0;
    if (!qam_lock_phase_detect(phase_track, locked_point))
        DMA_LOG_ERROR("qam_lock_phase_detect:error!\n");
    return _fit_carrier(phase_track, locked_point, phase_line, residual_frequency, fit_coefficients);
}
} // namespace vrim::dma_demod_lib
