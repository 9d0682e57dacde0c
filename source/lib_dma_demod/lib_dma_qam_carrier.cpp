#include "lib_dma_demod/lib_dma_qam_demod.h"

#include "lib_dma_common/lib_dma_phy_common.h"
#include "lib_dma_demod/lib_dma_qam_common.h"
#include "lib_dma_demod/lib_dma_qam_line.h"
#include "lib_dma_demod/lib_dma_qam_loop.h"
#include "lib_dma_demod/stage/carrier_track.h"
#include "support/internal/complex_ops.h"
#include "support/lib_common_math.h"
#include "support/log_macro.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <utility>

namespace vrim::dma_demod_lib
{
using common_lib::complex_product;

namespace
{
constexpr float gain_memory_default = 0.95f;
constexpr float gain_update_default = 0.05f;
// Shares of the symbols in lock: enough to skip the second pass, and to be content altogether.
constexpr float fair_lock = 0.5f;
constexpr float good_lock = 0.75f;
// Mean frequency in radians per symbol above which the third pass is not trusted.
constexpr float steady_frequency = 0.00012207031f;
// Mean squared distance of the derotated symbols to their points, of that without any carrier phase, above which the line is
// tried against those of slower passes, and the share of it that these have to stay below.
constexpr double scattered_distance = 0.25;
constexpr double better_distance = 0.8;
constexpr std::size_t distance_symbols = 4096; // spread over the record, enough to know

struct pass_gain_t
{
    float kp;
    float ki;
};

/// Behind the frequency estimate what is left of the carrier turns slowly, and these follow less noise.
constexpr pass_gain_t slow_gains[] = { { 0.2f, 0.002f }, { 0.1f, 0.0005f } };

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
    complex_array points;
    points.reserve(judge_map.size());
    for (const auto& [key, point] : judge_map)
        points.push_back(point);
    const qam_loop_setting_t loop = { phase,       frequency, static_cast<float>(_get_turn()), ki, kp, gain_memory,
                                      gain_update, lock_level };
    carrier_syn_info_t info = run_qam_loop(work.sync_symbol, judge_slicer_, points, loop);
    if (info.lock_start + info.lock_len < info.lock_start)
        DMA_LOG_ERROR("lib_dma_qam_demod_t::qam_carrier_coarse_syn lock len error!\n");
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
    const float turn = static_cast<float>(_get_turn());
    residual_frequency = demod_stage::cal_residual_frequency(phase_line, static_cast<double>(turn), setting.symbol_rate);
    return true;
}

bool lib_dma_qam_demod_t::_fit_pass(carrier_syn_info_t& pass, float_array& phase_line, double& residual_frequency,
                                    float_array& fit_coefficients)
{
    // The loop tracks the correction, the line describes the carrier.
    for (float& value : pass.phase_track)
        value = -value;
    return _fit_carrier(pass.phase_track, pass.lock_start, phase_line, residual_frequency, fit_coefficients);
}

double lib_dma_qam_demod_t::_cal_point_distance(float level)
{
    _update_judge_map(qam_format);
    if (judge_slicer_.empty())
        return 0.0;
    const double half_step = static_cast<double>(lib_dma_phy_common_t::qam_get_norm_param(qam_format).grid_unit);
    const std::size_t stride = work.sync_symbol.size() / distance_symbols + 1;
    double sum = 0.0;
    double count = 0.0;
    for (std::size_t i = 0; i < work.sync_symbol.size(); i += stride)
    {
        const std::complex<float> symbol = level * work.sync_symbol[i];
        sum += static_cast<double>(std::norm(symbol - judge_slicer_.decide_point(symbol)));
        count += 1.0;
    }
    // Symbols anywhere in the square around a point are two thirds of the squared half step off it.
    return sum / count / (2.0 / 3.0 * half_step * half_step);
}

bool lib_dma_qam_demod_t::qam_carrier_recovery_new(float_array& phase_line, double& residual_frequency,
                                                   float_array& fit_coefficients)
{
    phase_line.clear();
    residual_frequency = 0.0;
    decision_level_ = 1.0f;
    demod_stage::deal_carrier_symbols(work.timing_data, setting.pre_num, setting.sps, work.sync_symbol);
    carrier_syn_info_t best = _find_best_pass();
    if (!_fit_pass(best, phase_line, residual_frequency, fit_coefficients))
        return false;
    double distance = _cal_point_distance(1.0f);
    _try_slow_passes(distance, phase_line, residual_frequency, fit_coefficients);
    _try_line_search(distance, phase_line, residual_frequency, fit_coefficients);
    return true;
}

void lib_dma_qam_demod_t::_try_slow_passes(double& distance, float_array& phase_line, double& residual_frequency,
                                           float_array& fit_coefficients)
{
    // Noise near the reach of the decisions throws the loops off for stretches, and a line through those is no line: at 30 dB 8 %
    // of 128QAM signals of 1,000 symbols would be lost, at 35 dB 2 % of 512QAM.
    for (const pass_gain_t gain : slow_gains)
    {
        if (!(distance > scattered_distance))
            return;
        const complex_array kept = std::move(work.sync_symbol);
        demod_stage::deal_carrier_symbols(work.timing_data, setting.pre_num, setting.sps, work.sync_symbol);
        carrier_syn_info_t slow = qam_carrier_coarse_syn(0.0f, 0.0f, gain.ki, gain.kp, gain_memory_default, gain_update_default,
                                                         get_recovery_gain(qam_format).lock_level);
        slow.lock_start = 0;
        float_array line;
        float_array fit;
        double frequency = 0.0;
        const bool fitted = _fit_pass(slow, line, frequency, fit);
        const double slow_distance = _cal_point_distance(1.0f);
        if (!fitted || !(slow_distance < better_distance * distance))
        {
            work.sync_symbol = kept;
            continue;
        }
        DMA_LOG_INFO("qam_carrier_recovery_new: the line of a slower pass fits better.\n");
        distance = slow_distance;
        phase_line = std::move(line);
        residual_frequency = frequency;
        fit_coefficients = std::move(fit);
    }
}

void lib_dma_qam_demod_t::_try_line_search(double& distance, float_array& phase_line, double& residual_frequency,
                                           float_array& fit_coefficients)
{
    // What no loop holds: dense formats of which the data happen to be louder or softer than their set, so that the rms is no
    // level to decide at, and loops that slip on such data or on noise. A format with a turn is not estimated beforehand, and
    // what is left of its carrier may turn too fast.
    if (!(distance > scattered_distance) || _get_turn() != 0.0)
        return;
    complex_array kept = std::move(work.sync_symbol);
    demod_stage::deal_carrier_symbols(work.timing_data, setting.pre_num, setting.sps, work.sync_symbol);
    const qam_line_t found = find_qam_line(work.sync_symbol, judge_slicer_);
    const float_array fit = { static_cast<float>(found.slope), static_cast<float>(found.phase) };
    float_array line;
    demod_stage::deal_phase_line(fit, work.sync_symbol, line);
    const float level = static_cast<float>(found.level);
    const double found_distance = _cal_point_distance(level);
    if (!(found_distance < better_distance * std::min(distance, 1.0)))
    {
        work.sync_symbol = std::move(kept);
        return;
    }
    DMA_LOG_INFO("qam_carrier_recovery_new: a line of test phases fits better.\n");
    distance = found_distance;
    phase_line = std::move(line);
    residual_frequency = demod_stage::cal_residual_frequency(phase_line, 0.0, setting.symbol_rate);
    fit_coefficients = fit;
    decision_level_ = level * _cal_level_ratio();
}

float lib_dma_qam_demod_t::_cal_level_ratio() const
{
    complex_array symbols;
    lib_dma_phy_common_t::downsample(work.timing_data, static_cast<float>(setting.sps), symbols);
    const float whole = common_lib::lib_common_math_t::get_complex_array_rms(symbols);
    lib_dma_phy_common_t::take_inner_symbols(work.timing_data, setting.pre_num, setting.sps, symbols);
    const float inner = common_lib::lib_common_math_t::get_complex_array_rms(symbols);
    return inner > 0.0f ? whole / inner : 1.0f;
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
    const float turn = static_cast<float>(_get_turn());
    demod_stage::carrier_track_t track =
        demod_stage::cal_carrier_track(work.sync_symbol, static_cast<double>(turn), lock_level, detect);
    locked_point = demod_stage::cal_locked_point(track);
    phase_track = std::move(track.phase);
    return track.locked;
}

bool lib_dma_qam_demod_t::qam_carrier_recovery_old(float_array& phase_line, double& residual_frequency,
                                                   float_array& fit_coefficients)
{
    phase_line.clear();
    residual_frequency = 0.0;
    decision_level_ = 1.0f;
    demod_stage::deal_carrier_symbols(work.timing_data, setting.pre_num, setting.sps, work.sync_symbol);
    float_array phase_track;
    std::uint32_t locked_point = 0;
    if (!qam_lock_phase_detect(phase_track, locked_point))
        DMA_LOG_ERROR("qam_lock_phase_detect:error!\n");
    return _fit_carrier(phase_track, locked_point, phase_line, residual_frequency, fit_coefficients);
}
} // namespace vrim::dma_demod_lib
