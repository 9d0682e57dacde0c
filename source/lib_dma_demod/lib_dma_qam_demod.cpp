#include "lib_dma_demod/lib_dma_qam_demod.h"

#include "lib_dma_common/lib_dma_phy_common.h"
#include "lib_dma_common/lib_dma_phy_frequency_correct.h"
#include "lib_dma_common/reference_constellation.h"
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
#include "support/lib_test.h"
#include "support/log_macro.h"
#include "support/trace_output.h"

#include <cmath>
#include <cstddef>
#include <fmt/format.h>
#include <utility>
#include <vector>

namespace vrim::dma_demod_lib
{
using common_lib::lib_test_t;

namespace
{
constexpr float half_pi = 1.57079637f;
constexpr demod_stage::decode_words_t qam_decode_words = {
    "qam_decode_bit:data is too short!\n",
    "qam_decode_bit::rms_normalize Report: Data array has a too small rms0: ",
    "qam_decode_bit::rms_normalize Report: Data array has a too small rms2: ",
};

/// Symbols of one block of the clock estimate. Formats are told apart by their number, the turning ones among the dense ones.
std::uint32_t get_timing_block_symbols(lib_dma_qam_modulation_type_t format)
{
    constexpr std::uint32_t plain_block = 64;
    constexpr std::uint32_t dense_block = 80;
    return format < LIB_DMA_QAM_512 ? plain_block : dense_block;
}
} // namespace

lib_dma_qam_demod_t::lib_dma_qam_demod_t()
{
    init();
}

void lib_dma_qam_demod_t::init()
{
    setting = {}; // the defaults stand beside the members
    setting.format_group = LIB_DMA_GROUP_QAM;
    work.clear();
    qam_format = qam_format_default;
    judge_map.clear();
    judge_slicer_.clear();
    judge_map_made_ = false;
    decision_level_ = 1.0f;
    // The pulse filter stays: a kind once set serves the next run.
}

bool lib_dma_qam_demod_t::set_frame_configure(const lib_dma_frame_configure_manager_t& frame, std::uint32_t segment_index,
                                              const lib_dma_demod_config_mgr& config)
{
    static_cast<lib_dma_frame_configure_manager_t&>(*this) = frame;
    demod_stage::update_demod_setting(frame, segment_index, config, setting);
    qam_format = frame.get_segment(segment_index).get_format_configure().get_qam_format();
    return true;
}

bool lib_dma_qam_demod_t::lib_dma_qam_demod_process(std::uint32_t segment_index, const complex_array& /*raw_window*/,
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
    {
        DMA_LOG_ERROR("lib_dma_qam_demod_t::meas_filter_process error!\n");
        return fail_with_block();
    }
    if (!timing_recovery())
    {
        DMA_LOG_ERROR("lib_dma_qam_demod_t::timing_recovery error!\n");
        return fail_with_block();
    }
    lib_dma_phy_common_t::downsample(work.timing_data, static_cast<float>(setting.sps), work.symbol_data);

    config.carrier_frequency_offset = 0.0;
    // The estimator would take a fixed turn per symbol for an offset; the carrier loop knows it.
    if (_get_turn() == 0.0)
    {
        lib_dma_phy_frequency_correct_t frequency_correct;
        if (!frequency_correct.frequency_error_correct(*this, segment_index, work.symbol_data, config, psk_param))
        {
            DMA_LOG_ERROR("lib_dma_qam_demod_t::frequency_error_correct error!\n");
            return fail_with_block();
        }
    }
    const double working_rate = static_cast<double>(setting.sps) * static_cast<double>(setting.symbol_rate);
    lib_dma_phy_common_t::deal_mixer1(work.timing_data, -config.carrier_frequency_offset / working_rate, 0.0f);

    float_array phase_line;
    double residual_frequency = 0.0;
    float_array fit_coefficients;
    if (!qam_carrier_recovery_new(phase_line, residual_frequency, fit_coefficients))
        return fail_with_block();
    demod_stage::take_raw_time(demod_block, static_cast<std::size_t>(setting.meas_interval) * setting.points_per_symbol,
                               raw_time);
    common_log::print_trace_line(fmt::format("raw time data len is {}", raw_time.size()));

    double phase_shift = 0.0;
    lib_dma_phy_common_t::deal_fixed_phase(setting.format_group, fit_coefficients, setting.pre_num, setting.sps, work.timing_data,
                                           phase_shift);
    phase_line = {}; // one value a symbol each, with no reader behind this point
    config.carrier_frequency_offset += residual_frequency;

    if (!symbol_detect())
        return false;
    if (!ref_data_generate(config))
        return false;
    data_manager.get_err_table(segment_index).frequency_error = static_cast<float>(config.carrier_frequency_offset);
    DMA_LOG_INFO("Carrier Frequency Offset(Hz) = %.3f\n", config.carrier_frequency_offset);

    if (setting.equalizer)
        demod_stage::deal_equalizer(setting, work, config, data_manager);
    const bool decoded = qam_decode_bit(segment_index, data_manager);
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

void lib_dma_qam_demod_t::clear()
{
    work.clear();
    judge_map.clear();
    judge_slicer_.clear();
    judge_map_made_ = false;
    setting.const_iq_map.clear();
}

bool lib_dma_qam_demod_t::meas_filter_process()
{
    return _filter_block(work.iq_data);
}

bool lib_dma_qam_demod_t::_filter_block(const complex_array& block)
{
    const demod_stage::meas_filter_result_t result = demod_stage::deal_meas_filter(
        setting.meas_filter_type, setting.filter_length, setting.filter_alpha, setting.sps, filter_, block, work.iq_data);
    if (!result.known)
        DMA_LOG_ERROR("error!undefined filter type\n");
    return result.succeeded;
}

bool lib_dma_qam_demod_t::timing_recovery()
{
    const std::int64_t start_time = lib_test_t::get_current_time();
    demod_stage::deal_symbol_timing(work.iq_data, work.timing_data, setting.timing_start, setting.sps, setting.pre_num,
                                    setting.clock_adjust, get_timing_block_symbols(qam_format));
    common_log::print_trace_time("lib_dma_qam_demod_t timing_recovery time: ", start_time);
    return true;
}

bool lib_dma_qam_demod_t::symbol_detect()
{
    _update_judge_map(qam_format);
    const auto judge = [this](complex_array& symbols)
    {
        if (decision_level_ != 1.0f)
        {
            for (std::complex<float>& symbol : symbols)
                symbol *= decision_level_;
        }
        judge_slicer_.decide_points(symbols);
    };
    demod_stage::deal_symbol_decision(work.timing_data, setting.sps, work.meas_data, work.decided_symbol, judge);
    // Decisions were taken in the standing frame; the transmit filter saw the turning one.
    if (const double turn = _get_turn(); turn != 0.0)
        demod_stage::deal_symbol_ramp(static_cast<float>(turn), work.decided_symbol);
    return true;
}

bool lib_dma_qam_demod_t::ref_data_generate(lib_dma_demod_config_mgr& config)
{
    return demod_stage::deal_reference(_get_turn(), setting, filter_, work, config);
}

bool lib_dma_qam_demod_t::qam_decode_bit(std::uint32_t segment_index, lib_dma_phy_data_manager_t& data_manager)
{
    const std::uint32_t bits_per_symbol = lib_dma_phy_common_t::get_qm_from_modulation(qam_format);
    const float_array rotations = lib_dma_phy_common_t::gen_target_array(0.0f, half_pi, 4.712389f, 1.0f);
    const auto decode = [&](auto&& decide)
    {
        return demod_stage::deal_symbol_decode(segment_index, bits_per_symbol, rotations, qam_decode_words, decide, setting, work,
                                               data_manager);
    };
    if (!setting.constellation_setting_flag)
        return decode([this](const complex_array& symbols, std::vector<std::uint32_t>& indices)
                      { judge_slicer_.decide_indices(symbols, indices); });
    decision_table_t table;
    table.load(setting.const_iq_map);
    return decode([&table](std::complex<float> symbol) { return table.decide_index(symbol); });
}

bool lib_dma_qam_demod_t::deal_phase_rotation()
{
    const float phase = static_cast<float>(static_cast<double>(setting.iq_rotation) / 180.0 * common_lib::pi);
    lib_dma_phy_common_t::deal_mixer1(work.meas_data, 0.0, phase);
    lib_dma_phy_common_t::deal_mixer1(work.ref_data, 0.0, phase);
    return true;
}

bool lib_dma_qam_demod_t::error_cal(std::uint32_t segment_index, lib_dma_phy_data_manager_t& data_manager)
{
    data_manager.get_err_table(segment_index).quad_error =
        lib_dma_phy_common_t::qam_quad_error_cal(qam_format, work.meas_symbol);
    demod_stage::deal_error_table(segment_index, setting, work, data_manager);
    return true;
}

bool lib_dma_qam_demod_t::cal_demod_param(lib_dma_demod_config_mgr& config)
{
    if (!demod_stage::cal_result_position(setting, config))
        DMA_LOG_ERROR("cal_demod_param:Data Out Of Acq Rang!\n");
    return true;
}

std::complex<float> lib_dma_qam_demod_t::qam_judge(lib_dma_qam_modulation_type_t format, std::complex<float> point)
{
    _update_judge_map(format);
    return judge_slicer_.decide_point(point);
}

double lib_dma_qam_demod_t::_get_turn() const
{
    if (qam_format == LIB_DMA_QAM_PI_16)
        return common_lib::pi / 4.0;
    return qam_format == LIB_DMA_QAM_NEGATIVE_PI_32 ? -common_lib::pi / 4.0 : 0.0;
}

void lib_dma_qam_demod_t::_update_judge_map(lib_dma_qam_modulation_type_t format)
{
    if (judge_map_made_ && judge_format_ == format)
        return;
    if (!make_qam_points(format, judge_map, common_lib::constellation_normalize_rms))
        DMA_LOG_ERROR("lib_dma_qam_demod_t::qam_judge error!\n");
    judge_slicer_.load(static_cast<std::uint32_t>(judge_map.size()), judge_map);
    judge_format_ = format;
    judge_map_made_ = !judge_map.empty(); // a format without points says so each time it is asked
}
} // namespace vrim::dma_demod_lib
