#include "lib_dma_demod/lib_dma_dpsk_demod.h"

#include "lib_dma_common/lib_dma_phy_common.h"
#include "lib_dma_common/lib_dma_phy_frequency_correct.h"
#include "lib_dma_demod/stage/carrier_track.h"
#include "lib_dma_demod/stage/demod_settings.h"
#include "lib_dma_demod/stage/equalizer.h"
#include "lib_dma_demod/stage/error_table.h"
#include "lib_dma_demod/stage/meas_filter.h"
#include "lib_dma_demod/stage/reference.h"
#include "lib_dma_demod/stage/result_position.h"
#include "lib_dma_demod/stage/sector_slicer.h"
#include "lib_dma_demod/stage/symbol_decision.h"
#include "lib_dma_demod/stage/symbol_decode.h"
#include "lib_dma_demod/stage/symbol_timing.h"
#include "support/internal/complex_ops.h"
#include "support/internal/trigonometry.h"
#include "support/internal/vector_clones.h"
#include "support/lib_common_math.h"
#include "support/lib_constellation.h"
#include "support/lib_test.h"
#include "support/log_macro.h"
#include "support/trace_output.h"

#include <cmath>
#include <cstddef>
#include <fmt/format.h>
#include <utility>

namespace vrim::dma_demod_lib
{
using common_lib::complex_product;
using common_lib::lib_common_math_t;
using common_lib::lib_test_t;
using common_lib::unit_phasor;

namespace
{
constexpr float single_pi = 3.14159274f;
// Mean distance to the decided points, at unit rms, below which the carrier loop counts as locked.
constexpr float lock_level = 0.7f;
constexpr std::uint32_t timing_block_symbols = 64;
constexpr demod_stage::decode_words_t dpsk_decode_words = {
    "dpsk_decode_bit:data is too short!\n",
    "dpsk_decode_bit::rms_normalize Report: Data array has a too small rms0: ",
    "dpsk_decode_bit::rms_normalize Report: Data array has a too small rms2: ",
};
// Half the way to the neighbouring point of 8PSK, sin(pi / 8).
constexpr float quadrature_threshold = 0.38268343f;
// The same for 16 points, sin(pi / 16).
constexpr float narrow_quadrature_threshold = 0.19509032f;
constexpr float quarter_pi = 0.7853982f;
constexpr float eighth_pi = 0.3926991f;

/// Unit phasors of the steps of phase from symbol to symbol. The first symbol stands for the step from phase 0.
DMA_VECTOR_CLONES
void fill_phase_steps(const float* phases, std::size_t count, std::complex<float>* out)
{
    for (std::size_t i = 0; i < count; ++i)
    {
        const float step = phases[i] - (i == 0 ? 0.0f : phases[i - 1]);
        const common_lib::sine_cosine_t turn = common_lib::sine_cosine_reduced(static_cast<double>(step));
        out[i] = { static_cast<float>(turn.cosine), static_cast<float>(turn.sine) };
    }
}

complex_array make_phase_steps(const complex_array& data, std::uint32_t points_per_symbol)
{
    complex_array symbols;
    lib_dma_phy_common_t::downsample(data, static_cast<float>(points_per_symbol), symbols);
    float_array phases;
    lib_common_math_t::get_complex_array_phase(symbols, phases);
    fill_phase_steps(phases.data(), phases.size(), symbols.data());
    return symbols;
}
} // namespace

inline std::complex<float> lib_dma_dpsk_demod_t::_judge(std::complex<float> point) const
{
    const std::complex<float> decided = judge_table_.decide_point(complex_product(point, std::conj(judge_turn_)));
    return complex_product(decided, judge_turn_);
}

lib_dma_dpsk_demod_t::lib_dma_dpsk_demod_t()
{
    init();
}

void lib_dma_dpsk_demod_t::init()
{
    setting = {}; // the defaults stand beside the members
    setting.format_group = LIB_DMA_GROUP_DPSK;
    work.clear();
    dpsk_format = dpsk_format_default;
    carrier_rotation = 0.0f;
    carrier_step = 0.0f;
    judge_map.clear();
    judge_table_.clear();
    judge_map_made_ = false;
    // The pulse filter stays: a kind once set serves the next run.
}

bool lib_dma_dpsk_demod_t::set_frame_configure(const lib_dma_frame_configure_manager_t& frame, std::uint32_t segment_index,
                                              const lib_dma_demod_config_mgr& config)
{
    static_cast<lib_dma_frame_configure_manager_t&>(*this) = frame;
    demod_stage::update_demod_setting(frame, segment_index, config, setting);
    dpsk_format = frame.get_segment(segment_index).get_format_configure().get_dpsk_format();
    return true;
}

bool lib_dma_dpsk_demod_t::lib_dma_dpsk_demod_process(std::uint32_t segment_index, const complex_array& /*raw_window*/,
                                                    const complex_array& demod_block, lib_dma_phy_data_manager_t& data_manager,
                                                    lib_dma_demod_config_mgr& config)
{
    lib_dma_psk_modulation_param& psk_param = data_manager.get_psk_modulation_param();
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
        DMA_LOG_ERROR("lib_dma_dpsk_demod_process::frequency_error_correct error!\n");
        return fail_with_block();
    }
    const double working_rate = static_cast<double>(setting.sps) * static_cast<double>(setting.symbol_rate);
    lib_dma_phy_common_t::deal_mixer1(work.timing_data, -config.carrier_frequency_offset / working_rate, 0.0f);

    float_array phase_line;
    double residual_frequency = 0.0;
    float_array fit_coefficients;
    float_array phase_track;
    cal_dpsk_carrier_sync_params();
    if (!dpsk_carrier_sync(phase_line, residual_frequency, fit_coefficients, phase_track))
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
    const bool decoded = dpsk_decode_bit(segment_index, data_manager);
    const bool rotated = deal_phase_rotation();
    if (!decoded || !rotated)
        return false;
    work.release_surplus();
    const bool compared = error_cal(segment_index, data_manager);
    const bool placed = cal_demod_param(config);
    if (!compared || !placed)
        return false;
    clear();
    return true;
}

void lib_dma_dpsk_demod_t::clear()
{
    work.clear();
    judge_map.clear();
    judge_table_.clear();
    judge_map_made_ = false;
    setting.const_iq_map.clear();
}

bool lib_dma_dpsk_demod_t::meas_filter_process()
{
    return _filter_block(work.iq_data);
}

bool lib_dma_dpsk_demod_t::_filter_block(const complex_array& block)
{
    const demod_stage::meas_filter_result_t result = demod_stage::deal_meas_filter(
        setting.meas_filter_type, setting.filter_length, setting.filter_alpha, setting.sps, filter_, block, work.iq_data);
    if (!result.known)
        DMA_LOG_ERROR("error!undefined filter type\n");
    return result.succeeded;
}

bool lib_dma_dpsk_demod_t::timing_recovery()
{
    const std::int64_t start_time = lib_test_t::get_current_time();
    demod_stage::deal_symbol_timing(work.iq_data, work.timing_data, setting.timing_start, setting.sps, setting.pre_num,
                                    setting.clock_adjust, timing_block_symbols);
    common_log::print_trace_time("lib_dma_dpsk_demod_t timing_recovery time: ", start_time);
    return true;
}

bool lib_dma_dpsk_demod_t::cal_dpsk_carrier_sync_params()
{
    carrier_rotation = 0.0f;
    carrier_step = 0.0f;
    switch (dpsk_format)
    {
    case LIB_DMA_MODULATION_PSK_DBPSK:
        return true;
    case LIB_DMA_MODULATION_PSK_DQPSK:
        carrier_rotation = quarter_pi;
        return true;
    case LIB_DMA_MODULATION_PSK_PI_4_DQPSK:
        dpsk_format = LIB_DMA_MODULATION_PSK_DQPSK;
        carrier_step = quarter_pi;
        return true;
    case LIB_DMA_MODULATION_PSK_PI_8_D8PSK:
        dpsk_format = LIB_DMA_MODULATION_PSK_D8PSK;
        carrier_step = eighth_pi;
        return true;
    case LIB_DMA_MODULATION_PSK_D8PSK:
        carrier_rotation = eighth_pi;
        return true;
    }
    DMA_LOG_ERROR("lib_dma_dpsk_demod_t::cal_dpsk_carrier_sync_params error!\n");
    dpsk_format = LIB_DMA_MODULATION_PSK_DBPSK;
    return true;
}

std::uint32_t lib_dma_dpsk_demod_t::_get_decision_order() const
{
    constexpr float tolerance = 1e-7f;
    const bool turns = std::abs(carrier_step - quarter_pi) < tolerance || std::abs(carrier_step - eighth_pi) < tolerance;
    return static_cast<std::uint32_t>(dpsk_format) * (turns ? 2 : 1);
}

bool lib_dma_dpsk_demod_t::dpsk_carrier_sync(float_array& phase_line, double& residual_frequency, float_array& fit_coefficients,
                                             float_array& phase_track)
{
    DMA_LOG_INFO("lib_dma_dpsk_demod_t::dpsk_carrier_sync.\n");
    _update_judge_map(_get_decision_order(), carrier_rotation);
    const double step = static_cast<double>(carrier_step);
    const auto detect = [this](std::complex<float> r, const demod_stage::carrier_error_t&)
    { return demod_stage::cal_point_error(r, _judge(r)); };
    phase_line.clear();
    residual_frequency = 0.0;
    demod_stage::deal_carrier_symbols(work.timing_data, setting.pre_num, setting.sps, work.sync_symbol);

    std::int64_t start_time = lib_test_t::get_current_time();
    demod_stage::carrier_track_t track =
        demod_stage::cal_carrier_track(work.sync_symbol, step, lock_level, detect);
    if (!track.locked)
        DMA_LOG_ERROR("dpsk_lock_phase_detect:error!\n");
    common_log::print_trace_time("dpsk_carrier_sync dpsk_lock_phase_detect time: ", start_time);
    const std::uint32_t locked_point = demod_stage::cal_locked_point(track);
    common_log::print_trace_line(
        fmt::format("dpsk_carrier_sync:phase_out size = {}   locked_point = {}", track.phase.size(), locked_point));

    start_time = lib_test_t::get_current_time();
    if (!demod_stage::cal_carrier_line(track.phase, locked_point, fit_coefficients))
    {
        DMA_LOG_ERROR("warning lib_dma_common_polyfit_t::deal_polyfit:error!\n");
        return false;
    }
    common_log::print_trace_time("dpsk_carrier_sync deal_polyfit time: time: ", start_time);

    start_time = lib_test_t::get_current_time();
    demod_stage::deal_phase_line(fit_coefficients, work.sync_symbol, phase_line);
    residual_frequency = demod_stage::cal_residual_frequency(phase_line, step, setting.symbol_rate);
    common_log::print_trace_time("dpsk_carrier_sync adjacent_difference time: ", start_time);
    phase_track = std::move(track.phase);
    DMA_LOG_INFO("dpsk_carrier_sync freq_error(Hz) = %.3f\n", residual_frequency);
    return true;
}

bool lib_dma_dpsk_demod_t::symbol_detect()
{
    DMA_LOG_INFO("lib_dma_dpsk_demod_t::symbol_detect.\n");
    _update_judge_map(_get_decision_order(), carrier_rotation);
    const auto judge = [this](std::complex<float> symbol) { return _judge(symbol); };
    demod_stage::deal_symbol_decision(work.timing_data, setting.sps, work.meas_data, work.decided_symbol, judge);
    // Decisions were taken in the standing frame; the transmit filter saw the turning one.
    if (carrier_step != 0.0f)
        demod_stage::deal_symbol_ramp(carrier_step, work.decided_symbol);
    return true;
}

bool lib_dma_dpsk_demod_t::ref_data_generate(lib_dma_demod_config_mgr& config)
{
    return demod_stage::deal_reference(static_cast<double>(carrier_step), setting, filter_, work, config);
}

bool lib_dma_dpsk_demod_t::dpsk_decode_bit(std::uint32_t segment_index, lib_dma_phy_data_manager_t& data_manager)
{
    DMA_LOG_INFO("lib_dma_dpsk_demod_t::dpsk_decode_bit.\n");
    const std::uint32_t bits_per_symbol = lib_dma_phy_common_t::get_dpsk_order_from_modulation(dpsk_format);
    constellation_map steps;
    common_lib::lib_constellation_dpsk_t::generate_default_dpsk_constellation(static_cast<std::uint32_t>(dpsk_format), steps,
                                                                              false);
    decision_table_t table;
    table.load(setting.constellation_setting_flag ? setting.const_iq_map : steps);
    // A step does not follow from its symbol alone: the symbols are counted along, in the order in which they are decided.
    const complex_array phase_steps = make_phase_steps(work.meas_data, setting.points_per_symbol);
    std::size_t next = 0;
    const auto decide = [&](std::complex<float>) { return table.decide_index(phase_steps.at(next++)); };
    // A common turn does not change the steps, so one is enough.
    return demod_stage::deal_symbol_decode(segment_index, bits_per_symbol, { 0.0f }, dpsk_decode_words, decide, setting, work,
                                           data_manager);
}

bool lib_dma_dpsk_demod_t::deal_phase_rotation()
{
    const float phase = static_cast<float>(static_cast<double>(setting.iq_rotation) / 180.0 * common_lib::pi);
    lib_dma_phy_common_t::deal_mixer1(work.meas_data, 0.0, phase);
    lib_dma_phy_common_t::deal_mixer1(work.ref_data, 0.0, phase);
    return true;
}

bool lib_dma_dpsk_demod_t::error_cal(std::uint32_t segment_index, lib_dma_phy_data_manager_t& data_manager)
{
    dpsk_quad_error_cal(work.meas_symbol, data_manager.get_err_table(segment_index));
    demod_stage::deal_error_table(segment_index, setting, work, data_manager);
    return true;
}

bool lib_dma_dpsk_demod_t::dpsk_quad_error_cal(const complex_array& symbols, err_table_t& err_table)
{
    switch (dpsk_format)
    {
    case LIB_DMA_MODULATION_PSK_DBPSK:
        err_table.quad_error = 0.0f;
        break;
    case LIB_DMA_MODULATION_PSK_DQPSK:
        err_table.quad_error = lib_dma_phy_common_t::quad_error_cal(symbols, quadrature_threshold, quarter_pi);
        break;
    case LIB_DMA_MODULATION_PSK_PI_4_DQPSK:
    case LIB_DMA_MODULATION_PSK_D8PSK:
        err_table.quad_error = lib_dma_phy_common_t::quad_error_cal(symbols, quadrature_threshold, 0.0f);
        break;
    default:
        err_table.quad_error = lib_dma_phy_common_t::quad_error_cal(symbols, narrow_quadrature_threshold, 0.0f);
        break;
    }
    return true;
}

bool lib_dma_dpsk_demod_t::cal_demod_param(lib_dma_demod_config_mgr& config)
{
    if (!demod_stage::cal_result_position(setting, config))
        DMA_LOG_ERROR("cal_demod_param:Data Out Of Acq Rang!\n");
    return true;
}

std::complex<float> lib_dma_dpsk_demod_t::dpsk_judge(lib_dma_psk_modulation_type_t format, std::complex<float> point,
                                                     float rotation)
{
    _update_judge_map(static_cast<std::uint32_t>(format), rotation);
    return _judge(point);
}

void lib_dma_dpsk_demod_t::_update_judge_map(std::uint32_t order, float rotation)
{
    constexpr std::uint32_t largest_order = 16;
    const bool known = order == 2 || order == 4 || order == 8 || order == largest_order;
    if (!known)
        DMA_LOG_ERROR("dpsk_judge::dpsk_judge default 16!\n");
    if (judge_map_made_ && judge_order_ == order && judge_rotation_ == rotation)
        return;
    common_lib::lib_constellation_psk_t::generate_default_psk_constellation(known ? order : largest_order, judge_map, false);
    const std::complex<float> turn = unit_phasor(-rotation);
    for (auto& [key, symbol] : judge_map)
        symbol = complex_product(symbol, turn);
    lib_dma_phy_common_t::rms_normalize(judge_map);
    judge_table_.load(judge_map);
    judge_order_ = order;
    judge_rotation_ = rotation;
    judge_turn_ = unit_phasor(rotation);
    judge_map_made_ = true;
}

std::complex<float> lib_dma_dpsk_demod_t::psk_judge_bpsk(std::complex<float> point, float rotation, float /*spare*/)
{
    return demod_stage::slice_2_sectors(point, rotation);
}

std::complex<float> lib_dma_dpsk_demod_t::psk_judge_qpsk(std::complex<float> point, float rotation, float /*spare*/)
{
    return demod_stage::slice_4_sectors(point, rotation);
}

std::complex<float> lib_dma_dpsk_demod_t::psk_judge_8psk(std::complex<float> point, float rotation, float /*spare*/)
{
    return demod_stage::slice_8_sectors(point, rotation);
}

std::complex<float> lib_dma_dpsk_demod_t::psk_judge_16psk(std::complex<float> point, float rotation, float /*spare*/)
{
    return demod_stage::slice_16_sectors(point, rotation);
}
} // namespace vrim::dma_demod_lib
