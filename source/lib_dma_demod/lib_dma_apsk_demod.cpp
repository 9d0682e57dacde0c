#include "lib_dma_demod/lib_dma_apsk_demod.h"

#include "lib_dma_common/lib_dma_phy_common.h"
#include "lib_dma_common/lib_dma_phy_frequency_correct.h"
#include "lib_dma_demod/lib_dma_qam_common.h"
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

#include <algorithm>
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
constexpr float half_pi = 1.57079637f;
constexpr float quarter_pi = 0.7853982f;
constexpr float eighth_pi = 0.3926991f;
constexpr float twelfth_pi = 0.2617994f;
// Above every amplitude: the outer border of 16APSK, which has two rings only.
constexpr float no_border = 100.0f;
constexpr std::uint32_t timing_block_symbols = 64;
constexpr demod_stage::decode_words_t apsk_decode_words = {
    "apsk_decode_bit:data is too short!\n",
    "apsk_decode_bit::rms_normalize Report: Data array has a too small rms0: ",
    "apsk_decode_bit::rms_normalize Report: Data array has a too small rms2: ",
};

/// Points of one ring, radius times e^(j angle), angles from `first` in steps up to `last`.
complex_array make_ring(float first, float step, float last, float radius)
{
    complex_array ring;
    for (const float angle : lib_dma_phy_common_t::gen_target_array(first, step, last, 1.0f))
        ring.push_back(radius * unit_phasor(angle));
    return ring;
}

/// Slices a ring into equal sectors around its points.
std::complex<float> slice_ring(std::complex<float> point, const complex_array& ring, float first_angle)
{
    if (ring.empty())
        return { 0.0f, 0.0f };
    const double sector = common_lib::two_pi / static_cast<double>(ring.size());
    const double angle = static_cast<double>(common_lib::phase_of(point)) - static_cast<double>(first_angle);
    const double place = std::isfinite(angle) ? std::round(angle / sector) : 0.0;
    const std::int64_t count = static_cast<std::int64_t>(ring.size());
    const std::int64_t number = (static_cast<std::int64_t>(place) % count + count) % count;
    const float radius = common_lib::amplitude_of(ring.front());
    return radius * unit_phasor(static_cast<float>(static_cast<double>(number) * sector) + first_angle);
}

/// Folds the four diagonals onto the positive real axis.
float cal_folded_phase(std::complex<float> x)
{
    const std::complex<float> fold = { lib_dma_qam_common_t::sign(x.real()), -lib_dma_qam_common_t::sign(x.imag()) };
    return common_lib::phase_of(complex_product(x, fold)) * 0.25f;
}
} // namespace

lib_dma_apsk_demod_t::lib_dma_apsk_demod_t()
{
    init();
}

void lib_dma_apsk_demod_t::init()
{
    setting = {}; // the defaults stand beside the members
    setting.format_group = LIB_DMA_GROUP_APSK;
    work.clear();
    apsk_format = apsk_format_default;
    apsk_r2_r1 = 0.0f;
    apsk_r3_r1 = 0.0f;
    ring_threshold_1 = 0.0f;
    ring_threshold_2 = 0.0f;
    ring_1.clear();
    ring_2.clear();
    ring_3.clear();
    judge_map.clear();
    judge_table_.clear();
    judge_map_made_ = false;
    // The pulse filter stays: a kind once set serves the next run.
}

bool lib_dma_apsk_demod_t::set_frame_configure(const lib_dma_frame_configure_manager_t& frame, std::uint32_t segment_index,
                                              const lib_dma_demod_config_mgr& config)
{
    static_cast<lib_dma_frame_configure_manager_t&>(*this) = frame;
    demod_stage::update_demod_setting(frame, segment_index, config, setting);
    apsk_format = frame.get_segment(segment_index).get_format_configure().get_apsk_format();
    apsk_r2_r1 = frame.get_segment(segment_index).get_format_configure().get_apsk_r2_r1();
    apsk_r3_r1 = frame.get_segment(segment_index).get_format_configure().get_apsk_r3_r1();
    return true;
}

bool lib_dma_apsk_demod_t::lib_dma_apsk_demod_process(std::uint32_t segment_index, const complex_array& /*raw_window*/,
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

    double residual_frequency = 0.0;
    float_array fit_coefficients;
    if (!apsk_first_lock_phase_detect(residual_frequency, fit_coefficients))
        return fail_with_block();
    demod_stage::take_raw_time(demod_block, static_cast<std::size_t>(setting.meas_interval) * setting.points_per_symbol,
                               raw_time);
    common_log::print_trace_line(fmt::format("raw time data len is {}", raw_time.size()));

    double phase_shift = 0.0;
    lib_dma_phy_common_t::deal_fixed_phase(setting.format_group, fit_coefficients, setting.pre_num, setting.sps, work.timing_data,
                                           phase_shift);
    config.carrier_frequency_offset += residual_frequency;

    if (!symbol_detect())
        return false;
    if (!ref_data_generate(config))
        return false;
    data_manager.get_err_table(segment_index).frequency_error = static_cast<float>(config.carrier_frequency_offset);
    DMA_LOG_INFO("Carrier Frequency Offset(Hz) = %.3f\n", config.carrier_frequency_offset);

    if (setting.equalizer)
        demod_stage::deal_equalizer(setting, work, config, data_manager);
    const bool decoded = apsk_decode_bit(segment_index, data_manager);
    const bool rotated = deal_phase_rotation();
    if (!decoded || !rotated)
        return false;
    work.release_surplus();
    const bool compared = error_cal(segment_index, data_manager);
    const bool placed = cal_demod_param(config);
    const bool measured = cal_apsk_r_ratio(segment_index, data_manager);
    if (!compared || !placed || !measured)
        return false;
    clear();
    return true;
}

void lib_dma_apsk_demod_t::clear()
{
    work.clear();
    judge_map.clear();
    judge_table_.clear();
    judge_map_made_ = false;
    setting.const_iq_map.clear();
}

bool lib_dma_apsk_demod_t::meas_filter_process()
{
    return _filter_block(work.iq_data);
}

bool lib_dma_apsk_demod_t::_filter_block(const complex_array& block)
{
    const demod_stage::meas_filter_result_t result = demod_stage::deal_meas_filter(
        setting.meas_filter_type, setting.filter_length, setting.filter_alpha, setting.sps, filter_, block, work.iq_data);
    if (!result.known)
        DMA_LOG_ERROR("error!undefined filter type\n");
    return result.succeeded;
}

bool lib_dma_apsk_demod_t::timing_recovery()
{
    const std::int64_t start_time = lib_test_t::get_current_time();
    demod_stage::deal_symbol_timing(work.iq_data, work.timing_data, setting.timing_start, setting.sps, setting.pre_num,
                                    setting.clock_adjust, timing_block_symbols);
    common_log::print_trace_time("lib_dma_apsk_demod_t timing_recovery time: ", start_time);
    return true;
}

void lib_dma_apsk_demod_t::cal_apsk_carrier_sync_params(apsk_norm_t& norm)
{
    norm = {};
    if (apsk_format != LIB_DMA_APSK_16 && apsk_format != LIB_DMA_APSK_32)
    {
        DMA_LOG_ERROR("lib_dma_apsk_demod_t::cal_apsk_carrier_sync_params error!\n");
        return;
    }
    ring_3 = make_ring(0.0f, eighth_pi, 6.0868359f, apsk_r3_r1);
    ring_2 = make_ring(twelfth_pi, 2.0f * twelfth_pi, 6.0213861f, apsk_r2_r1);
    ring_1 = make_ring(quarter_pi, half_pi, 2.0f * 3.14159274f, 1.0f);
    complex_array set = ring_1;
    set.insert(set.end(), ring_2.begin(), ring_2.end());
    if (apsk_format == LIB_DMA_APSK_32)
        set.insert(set.end(), ring_3.begin(), ring_3.end());
    const float rms = lib_common_math_t::get_complex_array_rms(set);
    for (complex_array* ring : { &ring_1, &ring_2, &ring_3 })
    {
        for (std::complex<float>& point : *ring)
            point /= rms;
    }
    const auto cal_border = [](const complex_array& inner, const complex_array& outer)
    { return 0.5f * (common_lib::amplitude_of(inner.front()) + common_lib::amplitude_of(outer.front())); };
    ring_threshold_1 = cal_border(ring_1, ring_2);
    ring_threshold_2 = apsk_format == LIB_DMA_APSK_32 ? cal_border(ring_2, ring_3) : no_border;
    norm = lib_dma_phy_common_t::apsk_get_norm_param(apsk_format, rms);
}

bool lib_dma_apsk_demod_t::apsk_first_lock_phase_detect(double& residual_frequency, float_array& fit_coefficients)
{
    apsk_norm_t norm;
    cal_apsk_carrier_sync_params(norm);
    _update_judge_map(apsk_format);
    const auto detect = [this](std::complex<float> r, const demod_stage::carrier_error_t& before) -> demod_stage::carrier_error_t
    {
        constexpr double tolerance = 1e-12;
        const bool two_rings = apsk_format == LIB_DMA_APSK_16;
        const float border = two_rings ? ring_threshold_1 : ring_threshold_2;
        // An inner ring says nothing of the phase.
        if (!(static_cast<double>(common_lib::amplitude_of(r)) - static_cast<double>(border) > tolerance))
            return before;
        // The third power takes 12 points to the diagonals, the fourth with a turn of pi/4 takes 16 there.
        const std::complex<float> square = complex_product(r, r);
        const std::complex<float> x =
            two_rings ? complex_product(square, r)
                      : complex_product(complex_product(square, square), { 0.70710677f, 0.70710677f });
        float phase = cal_folded_phase(x);
        if (std::abs(phase - before.phase) >= quarter_pi)
            phase = lib_dma_qam_common_t::sign(before.phase) * quarter_pi;
        return { phase, common_lib::amplitude_of(r - judge_table_.decide_point(r)) };
    };
    residual_frequency = 0.0;
    demod_stage::deal_carrier_symbols(work.timing_data, setting.pre_num, setting.sps, work.sync_symbol);

    std::int64_t start_time = lib_test_t::get_current_time();
    demod_stage::carrier_track_t track = demod_stage::cal_carrier_track(work.sync_symbol, 0.0, norm.mag_threshold, detect);
    if (!track.locked)
        DMA_LOG_ERROR("apsk_lock_phase_detect:error!\n");
    common_log::print_trace_time("apsk_carrier_sync apsk_lock_phase_detect time: ", start_time);
    const std::uint32_t locked_point = demod_stage::cal_locked_point(track);
    common_log::print_trace_line(
        fmt::format("apsk_carrier_sync:phase_out size = {}   locked_point = {}", track.phase.size(), locked_point));

    start_time = lib_test_t::get_current_time();
    apsk_second_lock_phase_detect(locked_point, track.phase);
    if (!demod_stage::cal_carrier_line(track.phase, locked_point, fit_coefficients))
    {
        DMA_LOG_ERROR("warning lib_dma_common_polyfit_t::deal_polyfit:error!\n");
        return false;
    }
    common_log::print_trace_time("apsk_carrier_sync deal_polyfit time: time: ", start_time);

    start_time = lib_test_t::get_current_time();
    float_array phase_line;
    demod_stage::deal_phase_line(fit_coefficients, work.sync_symbol, phase_line);
    residual_frequency = demod_stage::cal_residual_frequency(phase_line, 0.0, setting.symbol_rate);
    common_log::print_trace_time("apsk_carrier_sync adjacent_difference time: ", start_time);
    return true;
}

bool lib_dma_apsk_demod_t::apsk_second_lock_phase_detect(std::uint32_t locked_point, float_array& phase_track)
{
    _update_judge_map(apsk_format);
    if (locked_point >= phase_track.size())
        return false;
    float_array fit;
    if (!demod_stage::cal_carrier_line(phase_track, locked_point, fit))
    {
        DMA_LOG_ERROR("warning lib_dma_common_polyfit_t::deal_polyfit:error!\n");
        return false;
    }
    complex_array symbols = work.sync_symbol;
    float_array phase_line;
    demod_stage::deal_phase_line(fit, symbols, phase_line);

    // The power law cannot tell turns of the outer ring by its own spacing; the inner rings can.
    const bool two_rings = apsk_format == LIB_DMA_APSK_16;
    const float spacing = two_rings ? 2.0f * twelfth_pi : eighth_pi;
    const std::uint32_t candidates = two_rings ? 3 : 4;
    float best_turn = 0.0f;
    float least_distance = 0.0f;
    for (std::uint32_t i = 0; i < candidates; ++i)
    {
        const float turn = static_cast<float>(i) * spacing;
        const float distance = _cal_mean_distance(symbols, turn);
        if (i == 0 || distance < least_distance)
        {
            least_distance = distance;
            best_turn = turn;
        }
    }
    for (float& phase : phase_track)
        phase -= best_turn;
    return true;
}

float lib_dma_apsk_demod_t::_cal_mean_distance(const complex_array& symbols, float turn) const
{
    const std::complex<float> phasor = unit_phasor(turn);
    float_array distances(symbols.size());
    for (std::size_t i = 0; i < symbols.size(); ++i)
    {
        const std::complex<float> symbol = complex_product(symbols[i], phasor);
        distances[i] = common_lib::amplitude_of(judge_table_.decide_point(symbol) - symbol);
    }
    return lib_common_math_t::get_average_value(distances);
}

bool lib_dma_apsk_demod_t::symbol_detect()
{
    _update_judge_map(apsk_format);
    const auto judge = [this](std::complex<float> symbol) { return judge_table_.decide_point(symbol); };
    demod_stage::deal_symbol_decision(work.timing_data, setting.sps, work.meas_data, work.decided_symbol, judge);
    return true;
}

bool lib_dma_apsk_demod_t::ref_data_generate(lib_dma_demod_config_mgr& config)
{
    return demod_stage::deal_reference(0.0, setting, filter_, work, config);
}

bool lib_dma_apsk_demod_t::apsk_decode_bit(std::uint32_t segment_index, lib_dma_phy_data_manager_t& data_manager)
{
    const std::uint32_t bits_per_symbol = lib_dma_phy_common_t::get_apsk_order_from_modulation(apsk_format);
    const float_array rotations = lib_dma_phy_common_t::gen_target_array(0.0f, half_pi, 4.712389f, 1.0f);
    decision_table_t table;
    table.load(setting.constellation_setting_flag ? setting.const_iq_map : judge_map);
    const auto decide = [&table](std::complex<float> symbol) { return table.decide_index(symbol); };
    return demod_stage::deal_symbol_decode(segment_index, bits_per_symbol, rotations, apsk_decode_words, decide, setting, work,
                                           data_manager);
}

bool lib_dma_apsk_demod_t::deal_phase_rotation()
{
    const float phase = static_cast<float>(static_cast<double>(setting.iq_rotation) / 180.0 * common_lib::pi);
    lib_dma_phy_common_t::deal_mixer1(work.meas_data, 0.0, phase);
    lib_dma_phy_common_t::deal_mixer1(work.ref_data, 0.0, phase);
    return true;
}

bool lib_dma_apsk_demod_t::error_cal(std::uint32_t segment_index, lib_dma_phy_data_manager_t& data_manager)
{
    data_manager.get_err_table(segment_index).quad_error =
        lib_dma_phy_common_t::apsk_quad_error_cal(apsk_format, work.meas_symbol);
    demod_stage::deal_error_table(segment_index, setting, work, data_manager);
    return true;
}

bool lib_dma_apsk_demod_t::cal_demod_param(lib_dma_demod_config_mgr& config)
{
    if (!demod_stage::cal_result_position(setting, config))
        DMA_LOG_ERROR("cal_demod_param:Data Out Of Acq Rang!\n");
    return true;
}

bool lib_dma_apsk_demod_t::cal_apsk_r_ratio(std::uint32_t segment_index, lib_dma_phy_data_manager_t& data_manager)
{
    constexpr float ring_gap = 0.3f;
    complex_array points = data_manager.get_iq_meas_time_constellation(segment_index);
    lib_dma_phy_common_t::filter_invalid(points, 0.2f);
    float_array amplitudes;
    lib_common_math_t::get_complex_array_amplitude(points, amplitudes);
    std::sort(amplitudes.begin(), amplitudes.end());

    float_array rings;
    for (const float amplitude : amplitudes)
    {
        if (rings.empty() || amplitude - rings.back() > ring_gap)
            rings.push_back(amplitude);
    }
    const std::size_t wanted = apsk_format == LIB_DMA_APSK_32 ? 3 : 2;
    rings.resize(std::max(rings.size(), wanted), 0.0f);
    if (rings[0] == 0.0f)
        return true;
    error_summary_t& summary = data_manager.get_error_summary(segment_index);
    summary.apsk_r2_ratio = static_cast<double>(rings[1] / rings[0]);
    if (apsk_format == LIB_DMA_APSK_32)
        summary.apsk_r3_ratio = static_cast<double>(rings[2] / rings[0]);
    return true;
}

std::complex<float> lib_dma_apsk_demod_t::apsk_judge(lib_dma_apsk_modulation_type_t format, std::complex<float> point)
{
    _update_judge_map(format);
    return judge_table_.decide_point(point);
}

void lib_dma_apsk_demod_t::_update_judge_map(lib_dma_apsk_modulation_type_t format)
{
    if (judge_map_made_ && judge_format_ == format && judge_r2_r1_ == apsk_r2_r1 && judge_r3_r1_ == apsk_r3_r1)
        return;
    judge_map.clear();
    if (format == LIB_DMA_APSK_16)
        lib_dma_phy_common_t::generate_16apsk_constellation(judge_map, false, apsk_r2_r1, 0.0f, 0.0f);
    else if (format == LIB_DMA_APSK_32)
        lib_dma_phy_common_t::generate_32apsk_constellation(judge_map, false, apsk_r2_r1, apsk_r3_r1, 0.0f, 0.0f, 0.0f);
    else
        DMA_LOG_END("apsk_judge::apsk_judge default!\n");
    lib_dma_phy_common_t::rms_normalize(judge_map);
    judge_table_.load(judge_map);
    judge_format_ = format;
    judge_r2_r1_ = apsk_r2_r1;
    judge_r3_r1_ = apsk_r3_r1;
    judge_map_made_ = !judge_map.empty(); // a format without points says so each time it is asked
}

std::complex<float> lib_dma_apsk_demod_t::apsk_judge_16apsk(std::complex<float> point)
{
    return common_lib::amplitude_of(point) > ring_threshold_1 ? slice_ring(point, ring_2, quarter_pi)
                                                              : slice_ring(point, ring_1, quarter_pi);
}

std::complex<float> lib_dma_apsk_demod_t::apsk_judge_32apsk(std::complex<float> point)
{
    if (common_lib::amplitude_of(point) > ring_threshold_2)
        return slice_ring(point, ring_3, eighth_pi);
    return apsk_judge_16apsk(point);
}
} // namespace vrim::dma_demod_lib
