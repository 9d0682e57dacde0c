#include "lib_dma_demod/lib_dma_ask_demod.h"

#include "lib_dma_common/lib_dma_phy_common.h"
#include "lib_dma_common/lib_dma_phy_frequency_correct.h"
#include "lib_dma_common/reference_constellation.h"
#include "lib_dma_demod/lib_dma_ask_level.h"
#include "lib_dma_demod/stage/carrier_track.h"
#include "lib_dma_demod/stage/demod_settings.h"
#include "lib_dma_demod/stage/equalizer.h"
#include "lib_dma_demod/stage/error_table.h"
#include "lib_dma_demod/stage/meas_filter.h"
#include "lib_dma_demod/stage/reference.h"
#include "lib_dma_demod/stage/result_position.h"
#include "lib_dma_demod/stage/symbol_decision.h"
#include "lib_dma_demod/stage/symbol_decode.h"
#include "lib_dma_demod/stage/symbol_timing.h"
#include "support/internal/complex_ops.h"
#include "support/lib_common_math.h"
#include "support/lib_test.h"
#include "support/log_macro.h"
#include "support/trace_output.h"

#include <cmath>
#include <cstddef>
#include <fmt/format.h>
#include <iterator>
#include <utility>

namespace vrim::dma_demod_lib
{
using common_lib::lib_test_t;

namespace
{
constexpr float single_pi = 3.14159274f;
// Mean distance to the decided points, at unit rms, below which the carrier loop counts as locked.
constexpr float lock_level = 0.7f;
constexpr std::uint32_t timing_block_symbols = 64;
constexpr demod_stage::decode_words_t ask_decode_words = {
    "ask_decode_bit:data is too short!\n",
    "ask_decode_bit::rms_normalize Report: Data array has a too small rms0: ",
    "ask_decode_bit::rms_normalize Report: Data array has a too small rms2: ",
};

/// Nearest of the levels `step`, 2 `step` ... by the real part; at most 16 of them, so they are walked.
std::complex<float> slice_level(std::complex<float> point, float scale, float step, std::uint32_t levels)
{
    const float value = point.real() / scale;
    std::uint32_t level = 1;
    while (level < levels && value > (static_cast<float>(level) + 0.5f) * step)
        ++level;
    return { static_cast<float>(level) * step * scale, 0.0f };
}

/// Of the format's points, which follow each other in key order.
level_row_t get_level_row(const constellation_map& points)
{
    if (points.size() < 2)
        return { points.size(), 0.0, 0.0 };
    const double lowest = static_cast<double>(points.begin()->second.real());
    return { points.size(), lowest, static_cast<double>(std::next(points.begin())->second.real()) - lowest };
}
} // namespace

lib_dma_ask_demod_t::lib_dma_ask_demod_t()
{
    init();
}

void lib_dma_ask_demod_t::init()
{
    setting = {}; // the defaults stand beside the members
    setting.format_group = LIB_DMA_GROUP_ASK;
    work.clear();
    ask_format = ask_format_default;
    judge_map.clear();
    judge_table_.clear();
    judge_map_made_ = false;
    // The pulse filter stays: a kind once set serves the next run.
}

bool lib_dma_ask_demod_t::set_frame_configure(const lib_dma_frame_configure_manager_t& frame, std::uint32_t segment_index,
                                              const lib_dma_demod_config_mgr& config)
{
    static_cast<lib_dma_frame_configure_manager_t&>(*this) = frame;
    demod_stage::update_demod_setting(frame, segment_index, config, setting);
    ask_format = frame.get_segment(segment_index).get_format_configure().get_ask_format();
    return true;
}

bool lib_dma_ask_demod_t::lib_dma_ask_demod_process(std::uint32_t segment_index, const complex_array& /*raw_window*/,
                                                    const complex_array& demod_block, lib_dma_phy_data_manager_t& data_manager,
                                                    lib_dma_demod_config_mgr& config)
{
    lib_dma_psk_modulation_param psk_param = data_manager.get_psk_modulation_param();
    complex_array& raw_time = data_manager.get_iq_raw_time(segment_index);
    // A run that ends before the carrier stands leaves the whole block to look at.
    const auto fail_with_block = [&raw_time, &demod_block]
    {
        raw_time = demod_block;
        return false;
    };
    // The waveforms of the last run are gone; their memory is as long as the block.
    error_summary_t& summary = data_manager.get_error_summary(segment_index);
    work.iq_data.swap(summary.ref_data);
    work.timing_data.swap(summary.meas_data);

    if (!_filter_block(demod_block))
        return fail_with_block();
    if (!timing_recovery())
        return fail_with_block();
    lib_dma_phy_common_t::downsample(work.timing_data, static_cast<float>(setting.sps), work.symbol_data);

    config.carrier_frequency_offset = 0.0;
    lib_dma_phy_frequency_correct_t frequency_correct;
    if (!frequency_correct.frequency_error_correct(*this, segment_index, work.symbol_data, config, psk_param))
    {
        DMA_LOG_ERROR("lib_dma_apsk_demod_process::frequency_error_correct error!\n");
        return fail_with_block();
    }
    const double working_rate = static_cast<double>(setting.sps) * static_cast<double>(setting.symbol_rate);
    lib_dma_phy_common_t::deal_mixer1(work.timing_data, -config.carrier_frequency_offset / working_rate, 0.0f);

    float_array phase_line;
    double residual_frequency = 0.0;
    float_array fit_coefficients;
    float_array phase_track;
    if (!ask_carrier_sync(phase_line, residual_frequency, fit_coefficients, phase_track))
        return fail_with_block();
    demod_stage::take_raw_time(demod_block, static_cast<std::size_t>(setting.meas_interval) * setting.points_per_symbol,
                               raw_time);
    common_log::print_trace_line(fmt::format("raw time data len is {}", raw_time.size()));

    double phase_shift = 0.0;
    lib_dma_phy_common_t::deal_fixed_phase(setting.format_group, fit_coefficients, setting.pre_num, setting.sps, work.timing_data,
                                           phase_shift);
    phase_line = {}; // one value a symbol each, with no reader behind this point
    phase_track = {};
    config.carrier_frequency_offset += residual_frequency;

    if (!symbol_detect())
        return false;
    if (!ref_data_generate(config))
        return false;
    data_manager.get_err_table(segment_index).frequency_error = static_cast<float>(config.carrier_frequency_offset);
    DMA_LOG_INFO("Carrier Frequency Offset(Hz) = %.3f\n", config.carrier_frequency_offset);

    if (setting.equalizer)
        demod_stage::deal_equalizer(setting, work, config, data_manager);
    const bool decoded = ask_decode_bit(segment_index, data_manager);
    const bool rotated = deal_phase_rotation();
    if (!decoded || !rotated)
        return false;
    work.release_surplus();
    const bool compared = error_cal(segment_index, data_manager);
    const bool placed = cal_demod_param(config);
    const bool measured = depth_cal(segment_index, data_manager);
    if (!compared || !placed || !measured)
        return false;
    clear();
    return true;
}

void lib_dma_ask_demod_t::clear()
{
    work.clear();
    judge_map.clear();
    judge_table_.clear();
    judge_map_made_ = false;
    setting.const_iq_map.clear();
}

bool lib_dma_ask_demod_t::meas_filter_process()
{
    return _filter_block(work.iq_data);
}

bool lib_dma_ask_demod_t::_filter_block(const complex_array& block)
{
    const demod_stage::meas_filter_result_t result = demod_stage::deal_meas_filter(
        setting.meas_filter_type, setting.filter_length, setting.filter_alpha, setting.sps, filter_, block, work.iq_data);
    if (!result.known)
        DMA_LOG_ERROR("error!undefined filter type\n");
    return result.succeeded;
}

bool lib_dma_ask_demod_t::timing_recovery()
{
    const std::int64_t start_time = lib_test_t::get_current_time();
    demod_stage::deal_symbol_timing(work.iq_data, work.timing_data, setting.timing_start, setting.sps, setting.pre_num,
                                    setting.clock_adjust, timing_block_symbols);
    common_log::print_trace_time("lib_dma_ask_demod_t timing_recovery time: ", start_time);
    return true;
}

bool lib_dma_ask_demod_t::ask_carrier_sync(float_array& phase_line, double& residual_frequency, float_array& fit_coefficients,
                                           float_array& phase_track)
{
    DMA_LOG_INFO("lib_dma_ask_demod_t::apsk_carrier_sync.\n");
    _update_judge_map(ask_format);
    // Around level 0 the phase of a symbol is that of the noise; only one that stands far out on the wrong side tells.
    const float half_level = judge_map.size() < 2 ? 0.0f : 0.5f * std::next(judge_map.begin())->second.real();
    const auto detect = [&](std::complex<float> r, const demod_stage::carrier_error_t&) -> demod_stage::carrier_error_t
    {
        const std::complex<float> d = judge_table_.decide_point(r);
        const float amplitude = common_lib::amplitude_of(r);
        const bool tells = d.real() > 0.0f || amplitude > half_level;
        return { tells ? common_lib::phase_of(r) : 0.0f, common_lib::amplitude_of(r - d) };
    };
    phase_line.clear();
    residual_frequency = 0.0;
    demod_stage::deal_carrier_symbols(work.timing_data, setting.pre_num, setting.sps, work.sync_symbol);

    std::int64_t start_time = lib_test_t::get_current_time();
    demod_stage::carrier_track_t track = demod_stage::cal_carrier_track(work.sync_symbol, 0.0, lock_level, detect);
    if (!track.locked)
        DMA_LOG_ERROR("ask_lock_phase_detect:error!\n");
    common_log::print_trace_time("ask_carrier_sync ask_lock_phase_detect time: ", start_time);
    const std::uint32_t locked_point = demod_stage::cal_locked_point(track);
    common_log::print_trace_line(
        fmt::format("ask_carrier_sync:phase_out size = {}   locked_point = {}", track.phase.size(), locked_point));

    start_time = lib_test_t::get_current_time();
    if (!demod_stage::cal_carrier_line(track.phase, locked_point, fit_coefficients))
    {
        DMA_LOG_ERROR("warning lib_dma_common_polyfit_t::deal_polyfit:error!\n");
        return false;
    }
    common_log::print_trace_time("ask_carrier_sync deal_polyfit time: time: ", start_time);

    start_time = lib_test_t::get_current_time();
    demod_stage::deal_phase_line(fit_coefficients, work.sync_symbol, phase_line);
    residual_frequency = demod_stage::cal_residual_frequency(phase_line, 0.0, setting.symbol_rate);
    common_log::print_trace_time("ask_carrier_sync adjacent_difference time: ", start_time);
    phase_track = std::move(track.phase);
    return true;
}

bool lib_dma_ask_demod_t::symbol_detect()
{
    _update_judge_map(ask_format);
    const level_row_t row = get_level_row(judge_map);
    const auto judge = [&](complex_array& symbols)
    {
        const double level = find_ask_level(symbols, row);
        if (level != 1.0)
            DMA_LOG_INFO("lib_dma_ask_demod_t::symbol_detect: the symbols fit a level of %.4f of their rms.\n", 1.0 / level);
        for (std::complex<float>& symbol : symbols)
            symbol = judge_table_.decide_point(static_cast<float>(level) * symbol);
    };
    demod_stage::deal_symbol_decision(work.timing_data, setting.sps, work.meas_data, work.decided_symbol, judge);
    return true;
}

bool lib_dma_ask_demod_t::ref_data_generate(lib_dma_demod_config_mgr& config)
{
    return demod_stage::deal_reference(0.0, setting, filter_, work, config);
}

bool lib_dma_ask_demod_t::ask_decode_bit(std::uint32_t segment_index, lib_dma_phy_data_manager_t& data_manager)
{
    const std::uint32_t bits_per_symbol = lib_dma_phy_common_t::get_ask_order_from_modulation(ask_format);
    const float_array rotations = lib_dma_phy_common_t::gen_target_array(0.0f, single_pi, single_pi, 1.0f);
    decision_table_t table;
    table.load(setting.constellation_setting_flag ? setting.const_iq_map : judge_map);
    const auto decide = [&table](std::complex<float> symbol) { return table.decide_index(symbol); };
    return demod_stage::deal_symbol_decode(segment_index, bits_per_symbol, rotations, ask_decode_words, decide, setting, work,
                                           data_manager);
}

bool lib_dma_ask_demod_t::deal_phase_rotation()
{
    const float phase = static_cast<float>(static_cast<double>(setting.iq_rotation) / 180.0 * common_lib::pi);
    lib_dma_phy_common_t::deal_mixer1(work.meas_data, 0.0, phase);
    lib_dma_phy_common_t::deal_mixer1(work.ref_data, 0.0, phase);
    return true;
}

bool lib_dma_ask_demod_t::error_cal(std::uint32_t segment_index, lib_dma_phy_data_manager_t& data_manager)
{
    data_manager.get_err_table(segment_index).quad_error = 0.0f; // one rail has no quadrature
    demod_stage::deal_error_table(segment_index, setting, work, data_manager);
    return true;
}

bool lib_dma_ask_demod_t::depth_cal(std::uint32_t segment_index, lib_dma_phy_data_manager_t& data_manager)
{
    if (work.meas_symbol.empty())
        return true;
    float_array amplitudes;
    common_lib::lib_common_math_t::get_complex_array_amplitude(work.meas_symbol, amplitudes);
    float sum = 0.0f;
    for (const float amplitude : amplitudes)
        sum += amplitude;
    const float mean = sum / static_cast<float>(amplitudes.size());

    double high_sum = 0.0;
    double low_sum = 0.0;
    std::uint32_t high_count = 0;
    for (const float amplitude : amplitudes)
    {
        if (amplitude >= mean)
        {
            high_sum += static_cast<double>(amplitude);
            ++high_count;
        }
        else
        {
            low_sum += static_cast<double>(amplitude);
        }
    }
    if (high_count == 0)
        return true;
    const double high = high_sum / high_count;
    const double low = low_sum / high_count; // by the count of the high ones: that is the depth's definition here
    if (high != 0.0)
        data_manager.get_error_summary(segment_index).depth = static_cast<float>(1.0 - low / high);
    return true;
}

bool lib_dma_ask_demod_t::cal_demod_param(lib_dma_demod_config_mgr& config)
{
    if (!demod_stage::cal_result_position(setting, config))
        DMA_LOG_ERROR("Data Out Of Acq Rang!\n");
    return true;
}

std::complex<float> lib_dma_ask_demod_t::ask_judge(lib_dma_ask_modulation_type_t format, std::complex<float> point)
{
    _update_judge_map(format);
    return judge_table_.decide_point(point);
}

void lib_dma_ask_demod_t::_update_judge_map(lib_dma_ask_modulation_type_t format)
{
    if (judge_map_made_ && judge_format_ == format)
        return;
    if (!make_ask_points(format, judge_map, common_lib::constellation_normalize_rms))
        DMA_LOG_ERROR("lib_dma_ask_demod_t::ask_judge error!\n");
    judge_table_.load(judge_map);
    judge_format_ = format;
    judge_map_made_ = !judge_map.empty(); // a format without points says so each time it is asked
}

std::complex<float> lib_dma_ask_demod_t::ask_judge_2(std::complex<float> point, float scale)
{
    const float value = point.real() / scale;
    return value > 0.0f && std::abs(value - 1.0f) < std::abs(value) ? std::complex<float>(scale, 0.0f)
                                                                    : std::complex<float>(0.0f, 0.0f);
}

std::complex<float> lib_dma_ask_demod_t::ask_judge_4(std::complex<float> point, float scale)
{
    return slice_level(point, scale, 0.36514837f, 4);
}

std::complex<float> lib_dma_ask_demod_t::ask_judge_8(std::complex<float> point, float scale)
{
    return slice_level(point, scale, 0.19802952f, 8);
}

std::complex<float> lib_dma_ask_demod_t::ask_judge_16(std::complex<float> point, float scale)
{
    return slice_level(point, scale, 0.10341754f, 16);
}
} // namespace vrim::dma_demod_lib
