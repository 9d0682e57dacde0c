#include "analysis_runner.h"

#include "message_capture.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>
#include <stdexcept>

namespace dma_test
{
using namespace vrim::dma_demod_lib;

namespace
{
// The library measures 2048QAM under a value that has no enumerator.
constexpr std::uint32_t unassigned_2048_qam = 7;

void set_format(const analysis_setting_t& setting, lib_dma_format_configure_manager_t& format)
{
    const library_format_t wanted = get_library_format(setting.format);
    format.set_format_group(wanted.group);
    switch (wanted.group)
    {
    case LIB_DMA_GROUP_PSK:
        format.set_psk_format(static_cast<lib_dma_psk_modulation_type_t>(wanted.number));
        return;
    case LIB_DMA_GROUP_QAM:
        format.set_qam_format(static_cast<lib_dma_qam_modulation_type_t>(wanted.number));
        return;
    case LIB_DMA_GROUP_ASK:
        format.set_ask_format(static_cast<lib_dma_ask_modulation_type_t>(wanted.number));
        return;
    case LIB_DMA_GROUP_DPSK:
        format.set_dpsk_format(static_cast<lib_dma_dpsk_modulation_type_t>(wanted.number));
        return;
    case LIB_DMA_GROUP_FSK:
        format.set_fsk_format(static_cast<lib_dma_fsk_modulation_type_t>(wanted.number));
        return;
    case LIB_DMA_GROUP_MSK:
        format.set_msk_format(static_cast<lib_dma_msk_modulation_type_t>(wanted.number));
        return;
    case LIB_DMA_GROUP_OQPSK:
        format.set_oqpsk_format(static_cast<lib_dma_oqpsk_modulation_type_t>(wanted.number));
        format.set_oqpsk_alig_iq(setting.aligned_iq);
        return;
    case LIB_DMA_GROUP_APSK:
        break;
    default:
        throw std::invalid_argument("signal format of a group that is not set here");
    }

    const ring_ratios_t rings = get_ring_ratios(setting.format, setting.rings);
    format.set_apsk_format(static_cast<lib_dma_apsk_modulation_type_t>(wanted.number));
    format.set_apsk_r2_r1(static_cast<float>(rings.r2_r1));
    if (rings.r3_r1 > 0.0)
    {
        // A ratio of a standard pair brings the other one of its pair along.
        format.set_apsk_r3_r1(static_cast<float>(rings.r3_r1));
        if (format.get_apsk_r2_r1() != static_cast<float>(rings.r2_r1))
            format.set_apsk_r2_r1(static_cast<float>(rings.r2_r1));
    }
}

/// For each index the one whose point stands `turn` further, radians.
std::vector<std::uint32_t> turn_indices(const std::vector<std::complex<double>>& points, double turn)
{
    std::vector<std::uint32_t> turned(points.size());
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        const std::complex<double> wanted = points[i] * std::polar(1.0, turn);
        const auto is_nearer = [wanted](const std::complex<double>& a, const std::complex<double>& b)
        { return std::norm(a - wanted) < std::norm(b - wanted); };
        turned[i] = static_cast<std::uint32_t>(std::min_element(points.begin(), points.end(), is_nearer) - points.begin());
    }
    return turned;
}

/// The indices under each turn of a format, made once: dense formats take long.
const std::vector<std::vector<std::uint32_t>>& get_turns(const signal_format_info_t& info)
{
    static std::map<signal_format_t, std::vector<std::vector<std::uint32_t>>> made;
    std::vector<std::vector<std::uint32_t>>& turns = made[info.format];
    for (std::size_t i = turns.size(); i < info.symmetry; ++i)
        turns.push_back(turn_indices(info.points, 2.0 * std::numbers::pi * static_cast<double>(i) / info.symmetry));
    return turns;
}

/// Symbols from `first` on that differ from `sent` under a turn. Counting ends at `limit`.
std::size_t count_differing(const std::vector<std::uint32_t>& decoded, const std::uint32_t* sent,
                            const std::vector<std::uint32_t>& turned, std::size_t first, std::size_t limit)
{
    std::size_t differing = 0;
    for (std::size_t i = first; i < decoded.size() && differing < limit; ++i)
    {
        if (decoded[i] != turned.at(sent[i]))
            ++differing;
    }
    return differing;
}
} // namespace

bool analysis_result_t::locked() const
{
    const auto is_lost = [](const std::string& text) { return text.find("_lock_phase_detect") != std::string::npos; };
    return code == LIB_DMA_RESULT_OK && std::none_of(messages.begin(), messages.end(), is_lost);
}

library_format_t get_library_format(signal_format_t format)
{
    switch (format)
    {
    case signal_format_t::bpsk:
        return { LIB_DMA_GROUP_PSK, LIB_DMA_MODULATION_PSK_BPSK };
    case signal_format_t::qpsk:
        return { LIB_DMA_GROUP_PSK, LIB_DMA_MODULATION_PSK_QPSK };
    case signal_format_t::psk8:
        return { LIB_DMA_GROUP_PSK, LIB_DMA_MODULATION_PSK_8_PSK };
    case signal_format_t::qpsk_3pi_4:
        return { LIB_DMA_GROUP_PSK, LIB_DMA_MODULATION_PSK_3PI_4_QPSK };
    case signal_format_t::psk8_3pi_8:
        return { LIB_DMA_GROUP_PSK, LIB_DMA_MODULATION_PSK_3PI_8_PSK };
    case signal_format_t::qam16:
        return { LIB_DMA_GROUP_QAM, LIB_DMA_QAM_16 };
    case signal_format_t::qam32:
        return { LIB_DMA_GROUP_QAM, LIB_DMA_QAM_32 };
    case signal_format_t::qam64:
        return { LIB_DMA_GROUP_QAM, LIB_DMA_QAM_64 };
    case signal_format_t::qam128:
        return { LIB_DMA_GROUP_QAM, LIB_DMA_QAM_128 };
    case signal_format_t::qam256:
        return { LIB_DMA_GROUP_QAM, LIB_DMA_QAM_256 };
    case signal_format_t::qam512:
        return { LIB_DMA_GROUP_QAM, LIB_DMA_QAM_512 };
    case signal_format_t::qam1024:
        return { LIB_DMA_GROUP_QAM, LIB_DMA_QAM_1024 };
    case signal_format_t::qam2048:
        return { LIB_DMA_GROUP_QAM, unassigned_2048_qam };
    case signal_format_t::qam4096:
        return { LIB_DMA_GROUP_QAM, LIB_DMA_QAM_4096 };
    case signal_format_t::qam16_pi_4:
        return { LIB_DMA_GROUP_QAM, LIB_DMA_QAM_PI_16 };
    case signal_format_t::qam32_minus_pi_4:
        return { LIB_DMA_GROUP_QAM, LIB_DMA_QAM_NEGATIVE_PI_32 };
    case signal_format_t::ask2:
        return { LIB_DMA_GROUP_ASK, LIB_DMA_ASK_2 };
    case signal_format_t::ask4:
        return { LIB_DMA_GROUP_ASK, LIB_DMA_ASK_4 };
    case signal_format_t::ask8:
        return { LIB_DMA_GROUP_ASK, LIB_DMA_ASK_8 };
    case signal_format_t::ask16:
        return { LIB_DMA_GROUP_ASK, LIB_DMA_ASK_16 };
    case signal_format_t::apsk16:
        return { LIB_DMA_GROUP_APSK, LIB_DMA_APSK_16 };
    case signal_format_t::apsk32:
        return { LIB_DMA_GROUP_APSK, LIB_DMA_APSK_32 };
    case signal_format_t::dbpsk:
        return { LIB_DMA_GROUP_DPSK, LIB_DMA_MODULATION_PSK_DBPSK };
    case signal_format_t::dqpsk:
        return { LIB_DMA_GROUP_DPSK, LIB_DMA_MODULATION_PSK_DQPSK };
    case signal_format_t::dqpsk_pi_4:
        return { LIB_DMA_GROUP_DPSK, LIB_DMA_MODULATION_PSK_PI_4_DQPSK };
    case signal_format_t::d8psk_pi_8:
        return { LIB_DMA_GROUP_DPSK, LIB_DMA_MODULATION_PSK_PI_8_D8PSK };
    case signal_format_t::d8psk:
        return { LIB_DMA_GROUP_DPSK, LIB_DMA_MODULATION_PSK_D8PSK };
    case signal_format_t::fsk2:
        return { LIB_DMA_GROUP_FSK, LIB_DMA_FSK_2 };
    case signal_format_t::fsk4:
        return { LIB_DMA_GROUP_FSK, LIB_DMA_FSK_4 };
    case signal_format_t::fsk8:
        return { LIB_DMA_GROUP_FSK, LIB_DMA_FSK_8 };
    case signal_format_t::fsk16:
        return { LIB_DMA_GROUP_FSK, LIB_DMA_FSK_16 };
    case signal_format_t::fsk32:
        return { LIB_DMA_GROUP_FSK, LIB_DMA_FSK_32 };
    case signal_format_t::fsk64:
        return { LIB_DMA_GROUP_FSK, LIB_DMA_FSK_64 };
    case signal_format_t::msk:
    case signal_format_t::gmsk:
        return { LIB_DMA_GROUP_MSK, LIB_DMA_MSK_TYPE1 };
    case signal_format_t::oqpsk:
        return { LIB_DMA_GROUP_OQPSK, LIB_DMA_MODULATION_PSK_OFFSET_QPSK };
    }
    throw std::invalid_argument("signal format without a number in the library");
}

lib_dma_psk_modulation_type_t get_psk_format(signal_format_t format)
{
    const library_format_t found = get_library_format(format);
    if (found.group != LIB_DMA_GROUP_PSK)
        throw std::invalid_argument("signal format that is no PSK");
    return static_cast<lib_dma_psk_modulation_type_t>(found.number);
}

std::uint32_t get_order(signal_format_t format)
{
    return static_cast<std::uint32_t>(get_signal_format(format).points.size());
}

void set_segment(const analysis_setting_t& setting, lib_dma_segment_configure_manager_t& segment)
{
    lib_dma_format_configure_manager_t& format = segment.get_format_configure();
    set_format(setting, format);
    format.set_symbol_rate(setting.symbol_rate);
    format.set_points_per_symbol(static_cast<lib_dma_point_per_symbol_type_t>(setting.points_per_symbol));
    if (!setting.map.empty())
    {
        format.set_const_iq_map_data(setting.map);
        format.set_constellation_setting_flag(true);
    }
    lib_dma_filter_configure_manager_t& filter = segment.get_filter_configure();
    filter.set_meas_filter_type(setting.meas_filter);
    filter.set_ref_filter_type(setting.ref_filter);
    filter.set_filter_alpha(static_cast<float>(setting.alpha));
    filter.set_filter_beta(static_cast<float>(setting.beta));
    filter.set_filter_length(setting.filter_length);
    lib_dma_time_configure_manager_t& time = segment.get_time_configure();
    time.set_meas_interval(format.get_format_group(), setting.meas_interval);
    time.set_meas_offset(setting.meas_offset);
    lib_dma_advance_configure_manager_t& advance = segment.get_advance_configure();
    advance.set_evm_normalization_ref(setting.normalization);
    advance.set_iq_rotation(setting.iq_rotation);
    advance.set_clock_adjust(setting.clock_adjust);
    advance.set_spectrum_type(setting.inverted ? LIB_DMA_SPECTRUM_INVERT : LIB_DMA_SPECTRUM_MORMAL);
}

lib_dma_frame_configure_manager_t make_frame(const analysis_setting_t& setting)
{
    lib_dma_frame_configure_manager_t frame;
    set_segment(setting, frame.get_segment(0));
    frame.set_search_length(setting.search_length);
    frame.set_bandwidth(setting.bandwidth);
    if (!setting.sync_bits.empty())
    {
        frame.set_sync_search(true);
        frame.set_sync_pattern_type(LIB_DMA_SYNC_BIT_PATTERN);
        frame.set_sync_pattern_bit(setting.sync_bits);
        frame.set_sync_offset(setting.sync_offset);
    }
    return frame;
}

analysis_result_t take_result(lib_dma_phy_t& analyser, std::uint32_t segment_index, std::int32_t code)
{
    analysis_result_t result;
    result.code = code;
    const lib_dma_phy_data_manager_t& store = analyser.get_data_manager();
    result.summary = store.get_error_summary(segment_index);
    result.table = store.get_err_table(segment_index);
    result.decoded = store.get_decode_bit(segment_index);
    result.meas_symbols = store.get_iq_meas_time_constellation(segment_index);
    result.ref_symbols = store.get_iq_ref_time_constellation(segment_index);
    result.sync_found = store.get_sync_search_flag(segment_index);
    result.result_start = store.get_dma_demod_config_mgr(segment_index).result_start;
    return result;
}

analysis_result_t analyse(lib_dma_phy_t& analyser, const vrim::complex_array& capture, const analysis_setting_t& setting)
{
    const trace_capture_t traces;
    const log_capture_t log;
    analyser.set_frame_configure(make_frame(setting));
    analyser.set_sample_rate(setting.sample_rate);
    analyser.set_demod_data(capture);
    const std::int32_t code = analyser.dma_phy_process();
    analysis_result_t result = take_result(analyser, 0, code);
    for (const common_log::log_record_t& record : log.get_records())
    {
        if (record.level >= common_log::log_level_error)
            result.messages.push_back(record.message);
    }
    return result;
}

analysis_result_t analyse(const vrim::complex_array& capture, const analysis_setting_t& setting)
{
    lib_dma_phy_t analyser;
    return analyse(analyser, capture, setting);
}

decode_match_t match_decoded(signal_format_t format, const std::vector<std::uint32_t>& decoded,
                             const std::vector<std::uint32_t>& sent, std::int32_t first_lag, std::int32_t last_lag)
{
    const signal_format_info_t& info = get_signal_format(format);
    const std::vector<std::vector<std::uint32_t>>& turns = get_turns(info);
    std::vector<std::vector<std::uint32_t>> rows(1, sent);
    if (info.coding == signal_coding_t::offset_point)
        rows.push_back(turn_offset_symbols(sent));
    const auto row_count = static_cast<std::uint32_t>(rows.size());
    const std::size_t first = info.coding == signal_coding_t::phase_step ? 1 : 0;

    decode_match_t best;
    best.differing = decoded.size() + 1;
    for (std::int32_t lag = std::max(first_lag, 0); lag <= last_lag; ++lag)
    {
        if (static_cast<std::size_t>(lag) + decoded.size() > sent.size())
            break;
        for (std::uint32_t i = 0; i < info.symmetry * row_count; ++i)
        {
            const std::vector<std::uint32_t>& row = rows[i % row_count];
            if (static_cast<std::size_t>(lag) + decoded.size() > row.size())
                continue;
            const std::size_t differing =
                count_differing(decoded, row.data() + lag, turns[i / row_count], first, best.differing);
            if (differing < best.differing)
            {
                best.differing = differing;
                best.lag = lag;
                best.rotation = i;
            }
        }
    }
    best.found = best.differing == 0 && decoded.size() > first;
    return best;
}
} // namespace dma_test
