#include "lib_dma_demod/lib_dma_msk_demod.h"

#include "lib_dma_common/lib_dma_phy_common.h"
#include "lib_dma_demod/stage/carrier_track.h"
#include "lib_dma_demod/stage/demod_settings.h"
#include "lib_dma_demod/stage/equalizer.h"
#include "lib_dma_demod/stage/error_table.h"
#include "lib_dma_demod/stage/meas_filter.h"
#include "lib_dma_demod/stage/result_position.h"
#include "lib_dma_demod/stage/symbol_decode.h"
#include "support/internal/complex_ops.h"
#include "support/lib_test.h"
#include "support/log_macro.h"
#include "support/trace_output.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <fmt/format.h>
#include <utility>
#include <vector>

namespace vrim::dma_demod_lib
{
using common_lib::complex_product;
using common_lib::lib_test_t;

namespace
{
constexpr std::uint32_t bits_per_symbol = 1;
constexpr float quadrature_threshold = 0.38268343f;
constexpr float quarter_pi = 0.7853982f;
constexpr demod_stage::decode_words_t msk_decode_words = {
    "msk_decode_bit:data is too short!\n",
    "msk_decode_bit::rms_normalize Report: Data array has a too small rms0: ",
    "msk_decode_bit::rms_normalize Report: Data array has a too small rms2: ",
};

/// Points on the axes, as single-precision sine and cosine give them, turned onto the diagonals: 1, j, -j, -1.
std::array<std::complex<float>, 4> make_diagonal_points()
{
    constexpr std::complex<float> eighth_turn = { 0.707106769f, 0.707106769f };
    std::array<std::complex<float>, 4> points = {
        { { 1.0f, 0.0f }, { -4.37113883e-08f, 1.0f }, { -4.37113883e-08f, -1.0f }, { -1.0f, -8.74227766e-08f } }
    };
    for (std::complex<float>& point : points)
        point = complex_product(point, eighth_turn);
    return points;
}

std::vector<std::uint32_t> decode_bits(const complex_array& data, std::uint32_t points_per_symbol)
{
    const float_array bits = lib_dma_msk_demod_t::msk_bit_demod(data, points_per_symbol);
    return { bits.begin(), bits.end() };
}

/// Looks for the pattern in bits that stand. @return whether it was found
bool find_sync_word(const demod_setting_t& setting, demod_stage::sync_search_t& result)
{
    const std::int64_t position = demod_stage::find_sync_pattern(result.decoded, setting.sync_pattern_bitarr, bits_per_symbol);
    result.found = position >= 0;
    if (result.found)
        result.bit_position = static_cast<std::uint32_t>(position);
    return result.found;
}

/// Tries the quarter turns in order until the pattern is found.
demod_stage::sync_search_t search_sync_word(const complex_array& data, const demod_setting_t& setting)
{
    demod_stage::sync_search_t result;
    complex_array turned;
    for (const float rotation : lib_dma_phy_common_t::gen_target_array(0.0f, 1.5707964f, 4.712389f, 1.0f))
    {
        turned = data;
        lib_dma_phy_common_t::deal_mixer1(turned, 0.0, rotation);
        result.decoded = decode_bits(turned, setting.points_per_symbol);
        result.rotation = rotation;
        if (find_sync_word(setting, result))
            break;
    }
    return result;
}
} // namespace

lib_dma_msk_demod_t::lib_dma_msk_demod_t()
{
    init();
}

void lib_dma_msk_demod_t::init()
{
    setting = {}; // the defaults stand beside the members
    setting.format_group = LIB_DMA_GROUP_MSK;
    msk_format = msk_format_default;
    interp_order = 16;
    syn_sym_num = 64;
    max_cycles = 64;
    clear();
    // The pulse filter stays: a kind once set serves the next run.
}

bool lib_dma_msk_demod_t::set_frame_configure(const lib_dma_frame_configure_manager_t& frame, std::uint32_t segment_index,
                                              const lib_dma_demod_config_mgr& config)
{
    static_cast<lib_dma_frame_configure_manager_t&>(*this) = frame;
    demod_stage::update_demod_setting(frame, segment_index, config, setting);
    msk_format = frame.get_segment(segment_index).get_format_configure().get_msk_format();
    return true;
}

bool lib_dma_msk_demod_t::lib_dma_msk_demod_process(std::uint32_t segment_index, const complex_array& /*raw_window*/,
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
    work.iq_data.reserve(demod_block.size() + std::min(interp_order, 64u)); // the fractional delay pads it
    work.iq_data = demod_block;
    config.carrier_frequency_offset = 0.0;

    const bool filtered = meas_filter_process();
    const bool timed = timing_recovery();
    if (!filtered || !timed)
        return fail_with_block();

    float_array phase_line;
    double residual_frequency = 0.0;
    float_array fit_coefficients;
    float_array phase_track;
    if (!msk_carrier_sync(phase_line, residual_frequency, fit_coefficients, phase_track))
        return fail_with_block();
    if (work.timing_data.size() < static_cast<std::size_t>(setting.pre_num) + 2)
    {
        DMA_LOG_ERROR("lib_dma_msk_demod_process: the timed signal ends within its run-in.\n");
        return fail_with_block();
    }
    demod_stage::take_raw_time(demod_block, static_cast<std::size_t>(setting.meas_interval) * setting.points_per_symbol,
                               raw_time);
    common_log::print_trace_line(fmt::format("raw time data len is {}", raw_time.size()));

    double phase_shift = 0.0;
    lib_dma_phy_common_t::deal_fixed_phase(setting.format_group, fit_coefficients, setting.pre_num, setting.sps, work.timing_data,
                                           phase_shift);
    phase_line = {}; // one value a bit each, with no reader behind this point
    phase_track = {};
    config.carrier_frequency_offset += residual_frequency;
    // The fine fit that follows aligns the waveforms; the table keeps what the carrier loop measured.
    data_manager.get_err_table(segment_index).frequency_error = static_cast<float>(config.carrier_frequency_offset);
    DMA_LOG_INFO("Carrier Frequency Offset(Hz) = %.3f\n", config.carrier_frequency_offset);

    if (!ref_data_generate(config))
        return false;
    if (!phase_ambiguity_cal())
        return false;
    if (setting.equalizer)
        demod_stage::deal_equalizer(setting, work, config, data_manager);
    if (!msk_decode_bit(segment_index, data_manager))
        return false;
    work.release_surplus();
    const bool compared = error_cal(segment_index, data_manager);
    const bool placed = cal_demod_param(config);
    if (!compared || !placed)
        return false;
    clear();
    return true;
}

void lib_dma_msk_demod_t::clear()
{
    work.clear();
    block_frequency.clear();
    decided_bits_.clear();
    setting.const_iq_map.clear();
}

bool lib_dma_msk_demod_t::meas_filter_process()
{
    const demod_stage::meas_filter_result_t result = demod_stage::deal_meas_filter(
        setting.meas_filter_type, setting.filter_length, setting.filter_alpha, setting.sps, filter_, work.iq_data);
    if (!result.known)
        DMA_LOG_ERROR("error!undefined filter type\n");
    return result.succeeded;
}

bool lib_dma_msk_demod_t::msk_decode_bit(std::uint32_t segment_index, lib_dma_phy_data_manager_t& data_manager)
{
    DMA_LOG_INFO("lib_dma_msk_demod_t::msk_decode_bit start.\n");
    const bool searched = demod_stage::is_sync_searched(segment_index, setting);
    demod_stage::sync_search_t search;
    if (_has_decided_bits())
    {
        // No quarter turn changes them. Those of a waveform with fewer points than samples a bit would stand in more noise.
        search.decoded = decided_bits_;
        if (searched)
            find_sync_word(setting, search);
    }
    else if (searched)
    {
        search = search_sync_word(work.meas_data, setting);
    }
    else
    {
        search.decoded = decode_bits(work.meas_data, setting.points_per_symbol);
    }
    return demod_stage::deal_decoded_window(segment_index, bits_per_symbol, std::move(search), msk_decode_words, setting, work,
                                            data_manager);
}

bool lib_dma_msk_demod_t::_has_decided_bits() const
{
    return !setting.equalizer && setting.points_per_symbol != 0 && !decided_bits_.empty() &&
           decided_bits_.size() == work.meas_data.size() / setting.points_per_symbol;
}

bool lib_dma_msk_demod_t::error_cal(std::uint32_t segment_index, lib_dma_phy_data_manager_t& data_manager)
{
    data_manager.get_err_table(segment_index).quad_error =
        lib_dma_phy_common_t::quad_error_cal(work.meas_symbol, quadrature_threshold, quarter_pi);
    demod_stage::deal_error_table(segment_index, setting, work, data_manager);
    return true;
}

bool lib_dma_msk_demod_t::cal_demod_param(lib_dma_demod_config_mgr& config)
{
    if (!demod_stage::cal_result_position(setting, config))
        DMA_LOG_ERROR("cal_demod_param:Data Out Of Acq Rang!\n");
    return true;
}

std::complex<float> lib_dma_msk_demod_t::msk_judge(std::complex<float> point, float /*spare*/)
{
    static const std::array<std::complex<float>, 4> points = make_diagonal_points();
    constexpr std::complex<float> eighth_turn_back = { 0.707106769f, -0.707106769f };
    constexpr float first_border = 0.78539816f;
    constexpr float second_border = 2.35619449f;
    const float angle = common_lib::phase_of(complex_product(point, eighth_turn_back));
    if (angle > -first_border && angle <= first_border)
        return points[0];
    if (angle > first_border && angle <= second_border)
        return points[1];
    if (angle > second_border || angle <= -second_border)
        return points[3];
    return points[2];
}
} // namespace vrim::dma_demod_lib
