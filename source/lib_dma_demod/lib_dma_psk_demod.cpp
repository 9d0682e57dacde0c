#include "lib_dma_demod/lib_dma_psk_demod.h"

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
constexpr demod_stage::decode_words_t psk_decode_words = {
    "oqpsk_decode_bit:data is too short!\n", // one text for both groups
    "psk_decode_bit::rms_normalize Report: Data array has a too small rms0: ",
    "psk_decode_bit::rms_normalize Report: Data array has a too small rms2: ",
};
// Half the way to the neighbouring point of 8PSK, sin(pi / 8).
constexpr float quadrature_threshold = 0.38268343f;
constexpr float quarter_pi = 0.7853982f;

/// Fixed turn of a format, radians per symbol; 0 for the formats that stand still.
double cal_psk_symbol_step(lib_dma_psk_modulation_type_t format)
{
    constexpr double step_3pi_4 = 2.35619449019;
    constexpr double step_3pi_8 = 1.1780972451;
    switch (format)
    {
    case LIB_DMA_MODULATION_PSK_3PI_4_QPSK:
        return step_3pi_4;
    case LIB_DMA_MODULATION_PSK_3PI_8_PSK:
        return step_3pi_8;
    default:
        return 0.0;
    }
}

/// The same turn where a reference is built from it.
double cal_psk_reference_step(lib_dma_psk_modulation_type_t format)
{
    switch (format)
    {
    case LIB_DMA_MODULATION_PSK_3PI_4_QPSK:
        return 3.0 * common_lib::pi / 4.0;
    case LIB_DMA_MODULATION_PSK_3PI_8_PSK:
        return 3.0 * common_lib::pi / 8.0;
    default:
        return 0.0;
    }
}

} // namespace

inline std::complex<float> lib_dma_psk_demod_t::_judge(std::complex<float> point) const
{
    const std::complex<float> decided = judge_table_.decide_point(complex_product(point, std::conj(judge_turn_)));
    return complex_product(decided, judge_turn_);
}

lib_dma_psk_demod_t::lib_dma_psk_demod_t()
{
    init();
}

void lib_dma_psk_demod_t::init()
{
    setting = {}; // the defaults stand beside the members
    work.clear();
    psk_format = psk_format_default;
    judge_map.clear();
    judge_table_.clear();
    judge_map_made_ = false;
    // The pulse filter stays: a kind once set serves the next run.
}

bool lib_dma_psk_demod_t::set_frame_configure(const lib_dma_frame_configure_manager_t& frame, std::uint32_t segment_index,
                                              const lib_dma_demod_config_mgr& config)
{
    static_cast<lib_dma_frame_configure_manager_t&>(*this) = frame;
    demod_stage::update_demod_setting(frame, segment_index, config, setting);
    psk_format = frame.get_segment(segment_index).get_format_configure().get_psk_format();
    return true;
}

bool lib_dma_psk_demod_t::lib_dma_psk_demod_process(std::uint32_t segment_index, const complex_array& /*raw_window*/,
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
    // The estimator would take a fixed turn per symbol for an offset; the carrier loop knows it.
    if (cal_psk_symbol_step(psk_format) == 0.0)
    {
        lib_dma_phy_frequency_correct_t frequency_correct;
        if (!frequency_correct.frequency_error_correct(*this, segment_index, work.symbol_data, config, psk_param))
        {
            DMA_LOG_ERROR("lib_dma_psk_demod_process::frequency_error_correct error!\n");
            return fail_with_block();
        }
    }
    const double working_rate = static_cast<double>(setting.sps) * static_cast<double>(setting.symbol_rate);
    lib_dma_phy_common_t::deal_mixer1(work.timing_data, -config.carrier_frequency_offset / working_rate, 0.0f);

    float_array phase_line;
    double residual_frequency = 0.0;
    float_array fit_coefficients;
    float_array phase_track;
    if (!psk_carrier_sync(psk_param, phase_line, residual_frequency, fit_coefficients, phase_track))
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

    if (!symbol_detect(data_manager))
        return false;
    if (!ref_data_generate(config))
        return false;
    data_manager.get_err_table(segment_index).frequency_error = static_cast<float>(config.carrier_frequency_offset);
    DMA_LOG_INFO("Carrier Frequency Offset(Hz) = %.3f\n", config.carrier_frequency_offset);

    if (setting.equalizer)
        demod_stage::deal_equalizer(setting, work, config, data_manager);
    const bool decoded = psk_decode_bit(segment_index, data_manager);
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

void lib_dma_psk_demod_t::clear()
{
    work.clear();
    judge_map.clear();
    judge_table_.clear();
    judge_map_made_ = false;
    setting.const_iq_map.clear();
}

bool lib_dma_psk_demod_t::meas_filter_process()
{
    return _filter_block(work.iq_data);
}

bool lib_dma_psk_demod_t::_filter_block(const complex_array& block)
{
    const demod_stage::meas_filter_result_t result = demod_stage::deal_meas_filter(
        setting.meas_filter_type, setting.filter_length, setting.filter_alpha, setting.sps, filter_, block, work.iq_data);
    if (!result.known)
        DMA_LOG_ERROR("error!undefined filter type\n");
    return result.succeeded;
}

bool lib_dma_psk_demod_t::timing_recovery()
{
    const std::int64_t start_time = lib_test_t::get_current_time();
    demod_stage::deal_symbol_timing(work.iq_data, work.timing_data, setting.timing_start, setting.sps, setting.pre_num,
                                    setting.clock_adjust, timing_block_symbols);
    common_log::print_trace_time("lib_dma_psk_demod_t timing_recovery time: ", start_time);
    return true;
}

bool lib_dma_psk_demod_t::psk_carrier_sync(const lib_dma_psk_modulation_param& psk_param, float_array& phase_line,
                                           double& residual_frequency, float_array& fit_coefficients, float_array& phase_track)
{
    _update_judge_map(psk_format, psk_param.rotation_angle);
    const auto detect = [this](std::complex<float> r, const demod_stage::carrier_error_t&)
    { return demod_stage::cal_point_error(r, _judge(r)); };
    phase_line.clear();
    residual_frequency = 0.0;
    demod_stage::deal_carrier_symbols(work.timing_data, setting.pre_num, setting.sps, work.sync_symbol);

    std::int64_t start_time = lib_test_t::get_current_time();
    demod_stage::carrier_track_t track =
        demod_stage::cal_carrier_track(work.sync_symbol, cal_psk_symbol_step(psk_format), lock_level, detect);
    if (!track.locked)
        DMA_LOG_ERROR("psk_lock_phase_detect:error!\n");
    common_log::print_trace_time("psk_carrier_sync psk_lock_phase_detect time: ", start_time);
    const std::uint32_t locked_point = demod_stage::cal_locked_point(track);
    common_log::print_trace_line(
        fmt::format("psk_carrier_sync:phase_out size = {}   locked_point = {}", track.phase.size(), locked_point));

    start_time = lib_test_t::get_current_time();
    if (!demod_stage::cal_carrier_line(track.phase, locked_point, fit_coefficients))
    {
        DMA_LOG_ERROR("warning lib_dma_common_polyfit_t::deal_polyfit:error!\n");
        return false;
    }
    common_log::print_trace_time("psk_carrier_sync deal_polyfit time: time: ", start_time);

    start_time = lib_test_t::get_current_time();
    demod_stage::deal_phase_line(fit_coefficients, work.sync_symbol, phase_line);
    residual_frequency = demod_stage::cal_residual_frequency(phase_line, cal_psk_symbol_step(psk_format), setting.symbol_rate);
    common_log::print_trace_time("psk_carrier_sync adjacent_difference time: ", start_time);
    phase_track = std::move(track.phase);
    DMA_LOG_INFO("psk_carrier_sync freq_error(Hz) = %.3f\n", residual_frequency);
    return true;
}

bool lib_dma_psk_demod_t::symbol_detect(lib_dma_phy_data_manager_t& data_manager)
{
    _update_judge_map(psk_format, data_manager.get_psk_modulation_param().rotation_angle);
    const auto judge = [this](std::complex<float> symbol) { return _judge(symbol); };
    demod_stage::deal_symbol_decision(work.timing_data, setting.sps, work.meas_data, work.decided_symbol, judge);
    // Decisions were taken in the standing frame; the transmit filter saw the turning one.
    if (const double step = cal_psk_reference_step(psk_format); step != 0.0)
        demod_stage::deal_symbol_ramp(static_cast<float>(step), work.decided_symbol);
    return true;
}

bool lib_dma_psk_demod_t::ref_data_generate(lib_dma_demod_config_mgr& config)
{
    return demod_stage::deal_reference(cal_psk_reference_step(psk_format), setting, filter_, work, config);
}

bool lib_dma_psk_demod_t::psk_decode_bit(std::uint32_t segment_index, lib_dma_phy_data_manager_t& data_manager)
{
    const std::uint32_t bits_per_symbol = lib_dma_phy_common_t::get_psk_order_from_modulation(psk_format);
    const float rotation = data_manager.get_psk_modulation_param().rotation_angle;
    decision_table_t table;
    table.load(setting.constellation_setting_flag ? setting.const_iq_map : judge_map);
    // The judge's map stands in the turned frame, a user's map in that of the symbols.
    const std::complex<float> turn =
        setting.constellation_setting_flag ? std::complex<float>(1.0f, 0.0f) : unit_phasor(-rotation);
    const auto decide = [&](std::complex<float> symbol) { return table.decide_index(complex_product(symbol, turn)); };

    return demod_stage::deal_symbol_decode(segment_index, bits_per_symbol, _get_search_rotations(), psk_decode_words, decide,
                                           setting, work, data_manager);
}

float_array lib_dma_psk_demod_t::_get_search_rotations() const
{
    switch (psk_format)
    {
    case LIB_DMA_MODULATION_PSK_8_PSK:
        return lib_dma_phy_common_t::gen_target_array(0.0f, quarter_pi, 5.497787f, 1.0f);
    case LIB_DMA_MODULATION_PSK_QPSK:
        return lib_dma_phy_common_t::gen_target_array(0.0f, 2.0f * quarter_pi, 4.712389f, 1.0f);
    default:
        return lib_dma_phy_common_t::gen_target_array(0.0f, single_pi, single_pi, 1.0f);
    }
}

bool lib_dma_psk_demod_t::deal_phase_rotation()
{
    const float phase = static_cast<float>(static_cast<double>(setting.iq_rotation) / 180.0 * common_lib::pi);
    lib_dma_phy_common_t::deal_mixer1(work.meas_data, 0.0, phase);
    lib_dma_phy_common_t::deal_mixer1(work.ref_data, 0.0, phase);
    return true;
}

bool lib_dma_psk_demod_t::error_cal(std::uint32_t segment_index, lib_dma_phy_data_manager_t& data_manager)
{
    psk_error_cal(work.meas_symbol, data_manager.get_err_table(segment_index));
    demod_stage::deal_error_table(segment_index, setting, work, data_manager);
    return true;
}

bool lib_dma_psk_demod_t::psk_error_cal(const complex_array& symbols, err_table_t& err_table)
{
    switch (psk_format)
    {
    case LIB_DMA_MODULATION_PSK_BPSK:
        err_table.quad_error = 0.0f;
        break;
    case LIB_DMA_MODULATION_PSK_QPSK:
    case LIB_DMA_MODULATION_PSK_3PI_4_QPSK:
        err_table.quad_error = lib_dma_phy_common_t::quad_error_cal(symbols, quadrature_threshold, quarter_pi);
        break;
    default:
        err_table.quad_error = lib_dma_phy_common_t::quad_error_cal(symbols, quadrature_threshold, 0.0f);
        break;
    }
    return true;
}

bool lib_dma_psk_demod_t::cal_demod_param(lib_dma_demod_config_mgr& config)
{
    if (!demod_stage::cal_result_position(setting, config))
        DMA_LOG_ERROR("cal_demod_param:Data Out Of Acq Rang!\n");
    return true;
}

std::complex<float> lib_dma_psk_demod_t::psk_judge(lib_dma_psk_modulation_type_t format, std::complex<float> point,
                                                   float rotation)
{
    _update_judge_map(format, rotation);
    return _judge(point);
}

void lib_dma_psk_demod_t::_update_judge_map(lib_dma_psk_modulation_type_t format, float rotation)
{
    using common_lib::lib_constellation_psk_t;
    if (judge_map_made_ && judge_format_ == format && judge_rotation_ == rotation)
        return;
    judge_map.clear();
    bool turned = false;
    switch (format)
    {
    case LIB_DMA_MODULATION_PSK_BPSK:
        lib_constellation_psk_t::generate_default_psk_constellation(2, judge_map, false);
        break;
    case LIB_DMA_MODULATION_PSK_QPSK:
    case LIB_DMA_MODULATION_PSK_3PI_4_QPSK:
        lib_constellation_psk_t::generate_default_psk_constellation(4, judge_map, false);
        turned = true;
        break;
    case LIB_DMA_MODULATION_PSK_8_PSK:
        lib_constellation_psk_t::generate_default_psk_constellation(8, judge_map, false);
        turned = true;
        break;
    case LIB_DMA_MODULATION_PSK_3PI_8_PSK:
        lib_constellation_psk_t::generate_default_psk_constellation(8, judge_map, false);
        break;
    default:
        DMA_LOG_END("psk_judge::psk_judge default!\n");
        break;
    }
    const std::complex<float> turn = turned ? unit_phasor(-rotation) : std::complex<float>(1.0f, 0.0f);
    for (auto& [key, symbol] : judge_map)
        symbol = complex_product(common_lib::finite_or_zero(symbol), turn);
    lib_dma_phy_common_t::rms_normalize(judge_map);
    judge_table_.load(judge_map);
    judge_format_ = format;
    judge_rotation_ = rotation;
    judge_turn_ = unit_phasor(rotation);
    judge_map_made_ = !judge_map.empty(); // a format without points says so each time it is asked
}

std::complex<float> lib_dma_psk_demod_t::psk_judge_bpsk(std::complex<float> point, float rotation, float /*spare*/)
{
    return demod_stage::slice_2_sectors(point, rotation);
}

std::complex<float> lib_dma_psk_demod_t::psk_judge_qpsk(std::complex<float> point, float rotation, float /*spare*/)
{
    return demod_stage::slice_4_sectors(point, rotation);
}

std::complex<float> lib_dma_psk_demod_t::psk_judge_8psk(std::complex<float> point, float rotation, float /*spare*/)
{
    return demod_stage::slice_8_sectors(point, rotation);
}
} // namespace vrim::dma_demod_lib
