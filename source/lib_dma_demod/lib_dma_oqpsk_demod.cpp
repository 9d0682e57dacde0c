#include "lib_dma_demod/lib_dma_oqpsk_demod.h"

#include "lib_dma_common/lib_dma_phy_common.h"
#include "lib_dma_common/lib_dma_phy_frequency_correct.h"
#include "lib_dma_demod/stage/demod_settings.h"
#include "lib_dma_demod/stage/equalizer.h"
#include "lib_dma_demod/stage/error_table.h"
#include "lib_dma_demod/stage/meas_filter.h"
#include "lib_dma_demod/stage/reference.h"
#include "lib_dma_demod/stage/result_position.h"
#include "lib_dma_demod/stage/symbol_decode.h"
#include "support/internal/complex_ops.h"
#include "support/lib_common_math.h"
#include "support/lib_constellation.h"
#include "support/lib_normalization.h"
#include "support/log_macro.h"
#include "support/trace_output.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <fmt/format.h>
#include <stdexcept>
#include <utility>

namespace vrim::dma_demod_lib
{
using common_lib::complex_product;
using common_lib::finite_or_zero;
using common_lib::unit_phasor;

namespace
{
constexpr float half_pi = 1.57079637f;
constexpr float quarter_pi = 0.7853982f;
constexpr demod_stage::decode_words_t oqpsk_decode_words = {
    "oqpsk_decode_bit:data is too short!\n",
    "oqpsk_decode_bit::rms_normalize Report: Data array has a too small rms0: ",
    "oqpsk_decode_bit::rms_normalize Report: Data array has a too small rms2: ",
};
// Half the way to the neighbouring point of 8PSK, sin(pi / 8).
constexpr float quadrature_threshold = 0.38268343f;

/// Symbols of an offset waveform, Q taken half a symbol later than I. Past the end Q is 0.
void take_aligned_symbols(const complex_array& data, std::uint32_t sps, complex_array& symbols)
{
    const std::size_t half_symbol = sps / 2;
    symbols.clear();
    for (std::size_t n = 0; n < data.size(); n += sps)
    {
        const float q = n + half_symbol < data.size() ? data[n + half_symbol].imag() : 0.0f;
        symbols.push_back(finite_or_zero({ data[n].real(), q }));
    }
}

/// Moves Q half a symbol behind I, in place.
void delay_q(std::uint32_t sps, complex_array& data)
{
    const std::size_t half_symbol = sps / 2;
    for (std::size_t n = data.size(); n-- > 0;)
        data[n].imag(n >= half_symbol ? data[n - half_symbol].imag() : 0.0f);
}

void turn(float angle, complex_array& symbols)
{
    const std::complex<float> phasor = unit_phasor(angle);
    for (std::complex<float>& symbol : symbols)
        symbol = complex_product(symbol, phasor);
}

/// Symbols turned by an odd count of quarter turns. There the rails have changed places: what was paired as I came half a
/// symbol before the Q of the symbol in front, so each I goes with the Q of the next symbol.
complex_array pair_exchanged_rails(const complex_array& symbols)
{
    complex_array paired;
    for (std::size_t k = 0; k + 1 < symbols.size(); ++k)
        paired.emplace_back(symbols[k].real(), symbols[k + 1].imag());
    return paired;
}

template <typename decide_t>
std::vector<std::uint32_t> decide_all(const complex_array& symbols, decide_t&& decide)
{
    std::vector<std::uint32_t> indices(symbols.size());
    std::transform(symbols.begin(), symbols.end(), indices.begin(), decide);
    return indices;
}

/// The search of `demod_stage::deal_sync_search` over symbols whose rails change places with every quarter turn.
template <typename decide_t>
demod_stage::sync_search_t deal_offset_sync_search(complex_array symbols, const bit_array& pattern, std::uint32_t bits_per_symbol,
                                                   decide_t&& decide)
{
    constexpr std::uint32_t quarter_turns = 4;
    demod_stage::sync_search_t result;
    std::uint32_t turned = 0; // quarter turns that the copy has made
    for (std::uint32_t quarter = 0; quarter < quarter_turns; ++quarter)
    {
        result.rotation = static_cast<float>(quarter) * half_pi;
        turn(result.rotation, symbols);
        turned += quarter;
        result.decoded = decide_all(turned % 2 == 0 ? symbols : pair_exchanged_rails(symbols), decide);
        const std::int64_t position = demod_stage::find_sync_pattern(result.decoded, pattern, bits_per_symbol);
        if (position >= 0)
        {
            result.found = true;
            result.bit_position = static_cast<std::uint32_t>(position);
            break;
        }
    }
    return result;
}
} // namespace

inline std::complex<float> lib_dma_oqpsk_demod_t::_judge(std::complex<float> point) const
{
    const std::complex<float> decided = judge_table_.decide_point(complex_product(point, std::conj(judge_turn_)));
    return complex_product(decided, judge_turn_);
}

lib_dma_psk_modulation_type_t lib_dma_oqpsk_demod_t::_get_judge_format() const
{
    return static_cast<lib_dma_psk_modulation_type_t>(oqpsk_format);
}

lib_dma_oqpsk_demod_t::lib_dma_oqpsk_demod_t()
{
    init();
}

void lib_dma_oqpsk_demod_t::init()
{
    setting = {}; // the defaults stand beside the members
    setting.format_group = LIB_DMA_GROUP_OQPSK;
    work.clear();
    oqpsk_format = oqpsk_format_default;
    oqpsk_alig_iq = false;
    est_template.clear();
    interp_order = interp_order_default;
    judge_map.clear();
    judge_table_.clear();
    judge_map_made_ = false;
    // The pulse filter stays: a kind once set serves the next run.
}

bool lib_dma_oqpsk_demod_t::set_frame_configure(const lib_dma_frame_configure_manager_t& frame, std::uint32_t segment_index,
                                                const lib_dma_demod_config_mgr& config)
{
    static_cast<lib_dma_frame_configure_manager_t&>(*this) = frame;
    demod_stage::update_demod_setting(frame, segment_index, config, setting);
    const lib_dma_format_configure_manager_t& format = frame.get_segment(segment_index).get_format_configure();
    oqpsk_format = format.get_oqpsk_format();
    oqpsk_alig_iq = format.get_oqpsk_alig_iq();
    return true;
}

bool lib_dma_oqpsk_demod_t::lib_dma_oqpsk_demod_process(std::uint32_t segment_index, const complex_array& /*raw_window*/,
                                                        const complex_array& demod_block,
                                                        lib_dma_phy_data_manager_t& data_manager,
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
    work.iq_data.reserve(demod_block.size() + std::min(interp_order, 64u)); // the fractional delay pads it
    work.iq_data = demod_block;

    config.carrier_frequency_offset = 0.0;
    if (!_measure_frequency(segment_index, config, psk_param))
    {
        // The text names another class; hosts look for it as it is.
        DMA_LOG_ERROR("lib_dma_qam_demod_t::frequency_error_correct error!\n");
        return fail_with_block();
    }
    const double working_rate = static_cast<double>(setting.sps) * static_cast<double>(setting.symbol_rate);
    lib_dma_phy_common_t::deal_mixer1(work.iq_data, -config.carrier_frequency_offset / working_rate, 0.0f);

    float residual_frequency = 0.0f;
    const bool timed = timing_recovery(residual_frequency);
    config.carrier_frequency_offset += static_cast<double>(residual_frequency);
    if (!timed)
        return fail_with_block();
    demod_stage::take_raw_time(demod_block, static_cast<std::size_t>(setting.meas_interval) * setting.points_per_symbol,
                               raw_time);
    common_log::print_trace_line(fmt::format("raw time data len is {}", raw_time.size()));

    if (!meas_filter_process())
        return false;
    if (!symbol_detect(psk_param))
        return false;
    if (!ref_data_generate(config))
        return false;
    data_manager.get_err_table(segment_index).frequency_error = static_cast<float>(config.carrier_frequency_offset);
    DMA_LOG_INFO("Carrier Frequency Offset(Hz) = %.3f\n", config.carrier_frequency_offset);

    if (setting.equalizer)
        demod_stage::deal_equalizer(setting, work, config, data_manager);
    const bool decoded = oqpsk_decode_bit(segment_index, data_manager);
    const bool rotated = deal_phase_rotation();
    if (!decoded || !rotated)
        return false;
    work.release_surplus();
    if (!error_cal(segment_index, data_manager))
        return false;
    clear();
    return true;
}

bool lib_dma_oqpsk_demod_t::_measure_frequency(std::uint32_t segment_index, lib_dma_demod_config_mgr& config,
                                               lib_dma_psk_modulation_param& psk_param)
{
    const std::uint32_t inner_size = static_cast<std::uint32_t>(work.iq_data.size()) - 2 * setting.pre_num;
    // Into the memory that the timing recovery fills next.
    complex_array& data = work.timing_data;
    lib_dma_phy_common_t::check_valid_data_size(work.iq_data, setting.pre_num, inner_size, data);
    // The estimator compares magnitudes with a fixed tolerance, and the fourth power of a weak signal lies below it.
    common_lib::lib_normalization_t::rms_normalize(data);
    lib_dma_phy_frequency_correct_t frequency_correct;
    try
    {
        return frequency_correct.frequency_error_correct(*this, segment_index, data, config, psk_param);
    }
    catch (const std::out_of_range&)
    {
        return false; // the strongest line stands at an end of the spectrum
    }
}

void lib_dma_oqpsk_demod_t::clear()
{
    work.clear();
    est_template.clear();
    judge_map.clear();
    judge_table_.clear();
    judge_map_made_ = false;
    setting.const_iq_map.clear();
}

bool lib_dma_oqpsk_demod_t::meas_filter_process()
{
    DMA_LOG_INFO("lib_dma_oqpsk_demod_t::meas_filter_process start.\n");
    const demod_stage::meas_filter_result_t result = demod_stage::deal_meas_filter(
        setting.meas_filter_type, setting.filter_length, setting.filter_alpha, setting.sps, filter_, work.timing_data);
    if (!result.known)
        DMA_LOG_ERROR("error!undefined filter type\n");
    return result.succeeded;
}

bool lib_dma_oqpsk_demod_t::symbol_detect(const lib_dma_psk_modulation_param& psk_param)
{
    DMA_LOG_INFO("lib_dma_oqpsk_demod_t::symbol_detect.\n");
    work.meas_data.swap(work.timing_data);
    work.timing_data.clear();
    work.meas_data.resize(work.meas_data.size() / setting.sps * setting.sps);

    take_aligned_symbols(work.meas_data, setting.sps, work.decided_symbol);
    common_lib::lib_normalization_t::rms_normalize(work.decided_symbol);
    _update_judge_map(_get_judge_format(), psk_param.rotation_angle);
    for (std::complex<float>& symbol : work.decided_symbol)
        symbol = _judge(symbol);
    return true;
}

bool lib_dma_oqpsk_demod_t::ref_data_generate(lib_dma_demod_config_mgr& config)
{
    DMA_LOG_INFO("lib_dma_oqpsk_demod_t::ref_data_generate.\n");
    complex_array& ref = work.ref_data;
    ref.swap(work.iq_data); // the block has served; its memory is as long as the reference
    work.iq_data.clear();
    complex_array taps;
    const std::uint32_t delay = demod_stage::cal_reference_delay(setting.ref_filter_type, setting.filter_length, setting.sps);
    // Without taps the reference goes on unfiltered.
    if (!demod_stage::generate_pulse_taps(setting.ref_filter_type, setting.filter_length, setting.filter_alpha, setting.sps,
                                          filter_, taps))
        taps.clear();
    demod_stage::generate_reference_waveform(setting.ref_filter_type, taps, work.decided_symbol, setting.sps, delay, ref);
    if (!demod_stage::deal_level_match(ref, work.meas_data))
    {
        common_log::print_trace_line(fmt::format("ref_data_generate::rms_normalize Report: Data array has a too small rms: {}",
                                                 common_lib::lib_common_math_t::get_complex_array_rms(work.meas_data)));
        return false;
    }
    double fine_frequency = 0.0;
    // The fit takes the measurement's Q forward itself, so the reference joins in before its own Q is delayed.
    lib_dma_phy_common_t::deal_fine_phase_fit(setting.format_group, work.meas_data, ref, fine_frequency, setting.symbol_rate,
                                              setting.pre_num, setting.sps);
    config.carrier_frequency_offset += fine_frequency;
    delay_q(setting.sps, ref);

    demod_stage::deal_head_cut(setting.head_len, setting.sps, work.meas_data, ref);
    setting.meas_interval *= setting.points_per_symbol;
    demod_stage::deal_result_rate(setting.sps, setting.points_per_symbol, work.meas_data);
    demod_stage::deal_result_rate(setting.sps, setting.points_per_symbol, work.ref_data);
    const std::uint32_t tail_symbols = setting.head_len / setting.sps;
    demod_stage::take_result_symbols(work.meas_data, setting.points_per_symbol, tail_symbols, work.meas_symbol);
    demod_stage::take_result_symbols(work.ref_data, setting.points_per_symbol, tail_symbols, work.ref_symbol);
    return true;
}

bool lib_dma_oqpsk_demod_t::oqpsk_decode_bit(std::uint32_t segment_index, lib_dma_phy_data_manager_t& data_manager)
{
    DMA_LOG_INFO("lib_dma_oqpsk_demod_t::oqpsk_decode_bit.\n");
    const lib_dma_psk_modulation_param& psk_param = data_manager.get_psk_modulation_param();
    const auto bits_per_symbol = static_cast<std::uint32_t>(std::bit_width(std::max(psk_param.modulation_order, 2u)) - 1);
    decision_table_t table;
    table.load(setting.constellation_setting_flag ? setting.const_iq_map : judge_map);
    // The judge's map stands in the turned frame, a user's map in that of the symbols.
    const std::complex<float> frame_turn =
        setting.constellation_setting_flag ? std::complex<float>(1.0f, 0.0f) : unit_phasor(-psk_param.rotation_angle);
    const auto decide = [&](std::complex<float> symbol) { return table.decide_index(complex_product(symbol, frame_turn)); };

    // The waveforms have lost their run-in, so the symbols lose it too.
    const std::size_t head = (setting.head_len < setting.sps ? setting.head_len : setting.head_len - setting.sps) / setting.sps +
                             demod_stage::get_equalizer_head(setting);
    complex_array symbols(work.decided_symbol.begin() + static_cast<std::ptrdiff_t>(std::min(head, work.decided_symbol.size())),
                          work.decided_symbol.end());
    demod_stage::fit_sync_pattern(bits_per_symbol, setting.sync_pattern_bitarr);
    demod_stage::sync_search_t search;
    if (demod_stage::is_sync_searched(segment_index, setting))
        search = deal_offset_sync_search(std::move(symbols), setting.sync_pattern_bitarr, bits_per_symbol, decide);
    else
        search.decoded = decide_all(symbols, decide);
    return demod_stage::deal_decoded_window(segment_index, bits_per_symbol, std::move(search), oqpsk_decode_words, setting, work,
                                            data_manager);
}

bool lib_dma_oqpsk_demod_t::deal_phase_rotation()
{
    const float phase = static_cast<float>(static_cast<double>(setting.iq_rotation) / 180.0 * common_lib::pi);
    lib_dma_phy_common_t::deal_mixer1(work.meas_data, 0.0, phase);
    lib_dma_phy_common_t::deal_mixer1(work.ref_data, 0.0, phase);
    return true;
}

bool lib_dma_oqpsk_demod_t::error_cal(std::uint32_t segment_index, lib_dma_phy_data_manager_t& data_manager)
{
    DMA_LOG_INFO("lib_dma_oqpsk_demod_t::error_cal.\n");
    data_manager.get_err_table(segment_index).quad_error =
        lib_dma_phy_common_t::quad_error_cal(work.meas_symbol, quadrature_threshold, quarter_pi);
    const std::uint32_t points_per_symbol = setting.points_per_symbol;
    if (!oqpsk_alig_iq)
        setting.points_per_symbol = std::max(1u, points_per_symbol / 2);
    demod_stage::deal_error_table(segment_index, setting, work, data_manager);
    setting.points_per_symbol = points_per_symbol;
    return true;
}

bool lib_dma_oqpsk_demod_t::cal_demod_param(lib_dma_demod_config_mgr& config)
{
    if (!demod_stage::cal_result_position(setting, config))
        DMA_LOG_ERROR("Data Out Of Acq Rang!\n");
    return true;
}

std::complex<float> lib_dma_oqpsk_demod_t::oqpsk_judge(lib_dma_psk_modulation_type_t format, std::complex<float> point,
                                                       float rotation)
{
    _update_judge_map(format, rotation);
    return _judge(point);
}

void lib_dma_oqpsk_demod_t::_update_judge_map(lib_dma_psk_modulation_type_t format, float rotation)
{
    if (judge_map_made_ && judge_format_ == format && judge_rotation_ == rotation)
        return;
    judge_map.clear();
    switch (static_cast<std::uint32_t>(format))
    {
    case LIB_DMA_MODULATION_PSK_OFFSET_QPSK:
    case LIB_DMA_MODULATION_PSK_OFFSET_SHAPED_QPSK:
        common_lib::lib_constellation_psk_t::generate_default_psk_constellation(4, judge_map, false);
        break;
    default:
        DMA_LOG_END("oqpsk_judge::oqpsk_judge default!\n");
        break;
    }
    const std::complex<float> map_turn = unit_phasor(-rotation);
    for (auto& [key, symbol] : judge_map)
        symbol = complex_product(finite_or_zero(symbol), map_turn);
    lib_dma_phy_common_t::rms_normalize(judge_map);
    judge_table_.load(judge_map);
    judge_format_ = format;
    judge_rotation_ = rotation;
    judge_turn_ = unit_phasor(rotation);
    judge_map_made_ = !judge_map.empty(); // a format without points says so each time it is asked
}
} // namespace vrim::dma_demod_lib
