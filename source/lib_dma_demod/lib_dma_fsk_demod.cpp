#include "lib_dma_demod/lib_dma_fsk_demod.h"

#include "lib_dma_common/lib_dma_phy_common.h"
#include "lib_dma_common/reference_constellation.h"
#include "lib_dma_demod/stage/demod_settings.h"
#include "lib_dma_demod/stage/equalizer.h"
#include "lib_dma_demod/stage/error_table.h"
#include "lib_dma_demod/stage/frequency_trajectory.h"
#include "lib_dma_demod/stage/meas_filter.h"
#include "lib_dma_demod/stage/reference.h"
#include "lib_dma_demod/stage/result_position.h"
#include "lib_dma_demod/stage/symbol_decode.h"
#include "lib_dma_demod/stage/symbol_timing.h"
#include "support/internal/complex_ops.h"
#include "support/lib_common_math.h"
#include "support/lib_test.h"
#include "support/log_macro.h"
#include "support/trace_output.h"

#include <cstddef>
#include <fmt/format.h>
#include <stdexcept>
#include <utility>

namespace vrim::dma_demod_lib
{
using common_lib::lib_common_math_t;
using common_lib::lib_test_t;

namespace
{
constexpr float no_level = 1e-12f;
constexpr std::uint32_t timing_block_symbols = 64;
// Deviation over symbol rate below which there are no tones: what rate conversion and quantisation leave of a carrier.
constexpr double lowest_deviation = 1e-3;
constexpr demod_stage::decode_words_t fsk_decode_words = {
    "fsk_decode_bit:data is too short!\n",
    "fsk_decode_bit::rms_normalize Report: Data array has a too small rms0: ",
    "fsk_decode_bit::rms_normalize Report: Data array has a too small rms2: ",
};
} // namespace

lib_dma_fsk_demod_t::lib_dma_fsk_demod_t()
{
    init();
}

void lib_dma_fsk_demod_t::init()
{
    setting = {}; // the defaults stand beside the members
    setting.format_group = LIB_DMA_GROUP_FSK;
    fsk_format = fsk_format_default;
    clear();
    // The pulse filter stays: a kind once set serves the next run.
}

bool lib_dma_fsk_demod_t::set_frame_configure(const lib_dma_frame_configure_manager_t& frame, std::uint32_t segment_index,
                                              const lib_dma_demod_config_mgr& config)
{
    static_cast<lib_dma_frame_configure_manager_t&>(*this) = frame;
    demod_stage::update_demod_setting(frame, segment_index, config, setting);
    fsk_format = frame.get_segment(segment_index).get_format_configure().get_fsk_format();
    return true;
}

bool lib_dma_fsk_demod_t::lib_dma_fsk_demod_process(std::uint32_t segment_index, const complex_array& /*raw_window*/,
                                                    const complex_array& demod_block, lib_dma_phy_data_manager_t& data_manager,
                                                    lib_dma_demod_config_mgr& config)
{
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
    work.iq_data = demod_block;
    config.carrier_frequency_offset = 0.0;

    if (!meas_filter_process())
        return fail_with_block();
    if (!timing_recovery())
        return fail_with_block();
    double carrier = 0.0;
    if (!_find_tones(carrier, summary))
    {
        DMA_LOG_ERROR("There is no modulation: the symbols have no tones that differ.\n");
        return fail_with_block();
    }
    demod_stage::take_raw_time(demod_block, static_cast<std::size_t>(setting.meas_interval) * setting.points_per_symbol,
                               raw_time);
    common_log::print_trace_line(fmt::format("raw time data len is {}", raw_time.size()));

    config.carrier_frequency_offset += carrier;
    const double working_rate = static_cast<double>(setting.sps) * static_cast<double>(setting.symbol_rate);
    demod_stage::deal_trajectory_scale(carrier / working_rate, working_rate / summary.fsk_deviation, freq_data);
    DMA_LOG_INFO("Carrier Frequency Offset(Hz) = %.3f,Deviation(Hz) = %.3f\n", config.carrier_frequency_offset,
                 summary.fsk_deviation);

    if (!symbol_detect())
        return false;
    if (!ref_data_generate(config))
        return false;
    data_manager.get_err_table(segment_index).frequency_error = static_cast<float>(config.carrier_frequency_offset);
    DMA_LOG_INFO("Carrier Frequency Offset(Hz) = %.3f\n", config.carrier_frequency_offset);

    if (setting.equalizer)
        demod_stage::deal_equalizer(setting, work, config, data_manager);
    const bool decoded = fsk_decode_bit(segment_index, data_manager);
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

void lib_dma_fsk_demod_t::clear()
{
    work.clear();
    freq_data.clear();
    decided_level.clear();
    judge_map.clear();
    judge_table_.clear();
    judge_map_made_ = false;
    setting.const_iq_map.clear();
}

bool lib_dma_fsk_demod_t::meas_filter_process()
{
    demod_stage::deal_frequency_trajectory(work.iq_data);
    const demod_stage::meas_filter_result_t result = demod_stage::deal_meas_filter(
        setting.meas_filter_type, setting.filter_length, setting.filter_alpha, setting.sps, filter_, work.iq_data);
    if (!result.known)
        DMA_LOG_ERROR("error!undefined filter type\n");
    return result.succeeded;
}

bool lib_dma_fsk_demod_t::timing_recovery()
{
    const std::int64_t start_time = lib_test_t::get_current_time();
    demod_stage::deal_symbol_timing(work.iq_data, work.timing_data, setting.timing_start, setting.sps, setting.pre_num,
                                    setting.clock_adjust, timing_block_symbols);
    lib_dma_phy_common_t::complex_to_float_arr(work.timing_data, freq_data);
    common_log::print_trace_time("lib_dma_fsk_demod_t timing_recovery time: ", start_time);
    return true;
}

bool lib_dma_fsk_demod_t::_find_tones(double& carrier, error_summary_t& summary)
{
    float_array symbol_frequencies;
    float_array upper;
    float_array lower;
    try
    {
        if (!fsk_carrier_sync(symbol_frequencies, carrier, summary.fsk_deviation, summary.fsk_deviation_max,
                              summary.fsk_deviation_min, upper, lower))
            return false;
    }
    catch (const std::out_of_range&)
    {
        return false;
    }
    return summary.fsk_deviation >= lowest_deviation * static_cast<double>(setting.symbol_rate);
}

bool lib_dma_fsk_demod_t::symbol_detect()
{
    DMA_LOG_INFO("lib_dma_fsk_demod_t::symbol_detect start.\n");
    _update_judge_map(fsk_format);
    work.meas_data.swap(work.timing_data); // for its room
    work.timing_data.clear();
    lib_dma_phy_common_t::float_to_complex_arr(freq_data, work.meas_data);
    work.meas_data.resize(work.meas_data.size() / setting.sps * setting.sps);

    complex_array symbols;
    lib_dma_phy_common_t::downsample(work.meas_data, static_cast<float>(setting.sps), symbols);
    const float present = lib_common_math_t::get_complex_array_rms(symbols);
    if (!(present >= no_level))
    {
        common_log::print_trace_line(
            fmt::format("symbol_detect::rms_normalize Report: Data array has a too small rms: {}", present));
        return false;
    }
    const float tones = static_cast<float>(judge_map.size());
    const float wanted = lib_common_math_t::get_complex_array_rms(lib_dma_phy_common_t::gen_target_array(
        1.0f - tones, 2.0f, tones - 1.0f, std::complex<float>(1.0f / (tones - 1.0f), 0.0f)));
    const float gain = wanted / present;
    decided_level.clear();
    decided_level.reserve(symbols.size());
    for (const std::complex<float>& symbol : symbols)
        decided_level.push_back(judge_table_.decide_point(symbol * gain).real());
    return true;
}

bool lib_dma_fsk_demod_t::ref_data_generate(lib_dma_demod_config_mgr& config)
{
    DMA_LOG_INFO("lib_dma_fsk_demod_t::ref_data_generate start.\n");
    lib_dma_phy_common_t::float_to_complex_arr(decided_level, work.decided_symbol);
    return demod_stage::deal_reference(0.0, setting, filter_, work, config);
}

bool lib_dma_fsk_demod_t::fsk_decode_bit(std::uint32_t segment_index, lib_dma_phy_data_manager_t& data_manager)
{
    DMA_LOG_INFO("lib_dma_fsk_demod_t::fsk_decode_bit start.\n");
    const std::uint32_t bits_per_symbol = lib_dma_phy_common_t::get_fsk_order_from_modulation(fsk_format);
    const float_array rotations = { 0.0f }; // a frequency has a sign of its own; half a turn would exchange the tones
    decision_table_t table;
    table.load(setting.constellation_setting_flag ? setting.const_iq_map : judge_map);
    const auto decide = [&table](std::complex<float> symbol) { return table.decide_index(symbol); };
    return demod_stage::deal_symbol_decode(segment_index, bits_per_symbol, rotations, fsk_decode_words, decide, setting, work,
                                           data_manager);
}

bool lib_dma_fsk_demod_t::deal_phase_rotation()
{
    const float phase = static_cast<float>(static_cast<double>(setting.iq_rotation) / 180.0 * common_lib::pi);
    lib_dma_phy_common_t::deal_mixer1(work.meas_data, 0.0, phase);
    lib_dma_phy_common_t::deal_mixer1(work.ref_data, 0.0, phase);
    return true;
}

bool lib_dma_fsk_demod_t::error_cal(std::uint32_t segment_index, lib_dma_phy_data_manager_t& data_manager)
{
    DMA_LOG_INFO("lib_dma_fsk_demod_t::error_cal start.\n");
    data_manager.get_err_table(segment_index).quad_error = 0.0f; // a real trajectory has no quadrature
    demod_stage::error_figures_t figures = demod_stage::cal_frequency_figures(
        work.meas_data, work.ref_data, setting.points_per_symbol, setting.evm_normalization_ref);
    const error_summary_t& measured = data_manager.get_error_summary(segment_index);
    figures.summary.fsk_deviation = measured.fsk_deviation;
    figures.summary.fsk_deviation_max = measured.fsk_deviation_max;
    figures.summary.fsk_deviation_min = measured.fsk_deviation_min;
    demod_stage::store_error_figures(std::move(figures), segment_index, setting, work, data_manager);
    return true;
}

bool lib_dma_fsk_demod_t::cal_demod_param(lib_dma_demod_config_mgr& config)
{
    if (!demod_stage::cal_result_position(setting, config))
        DMA_LOG_ERROR("cal_demod_param:Data Out Of Acq Rang!\n");
    return true;
}

float lib_dma_fsk_demod_t::fsk_judge(lib_dma_fsk_modulation_type_t format, std::complex<float> sample)
{
    _update_judge_map(format);
    return judge_table_.decide_point(sample).real();
}

void lib_dma_fsk_demod_t::_update_judge_map(lib_dma_fsk_modulation_type_t format)
{
    if (judge_map_made_ && judge_format_ == format)
        return;
    if (!make_fsk_points(format, judge_map))
        DMA_LOG_ERROR("lib_dma_phy_t::generate_fsk_constellation error!\n");
    judge_table_.load(judge_map);
    judge_format_ = format;
    judge_map_made_ = !judge_map.empty(); // a format without tones says so each time it is asked
}
} // namespace vrim::dma_demod_lib
