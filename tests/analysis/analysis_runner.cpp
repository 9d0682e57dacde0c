#include "analysis_runner.h"

#include "message_capture.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <stdexcept>

namespace dma_test
{
using namespace vrim::dma_demod_lib;

bool analysis_result_t::locked() const
{
    const auto is_lost = [](const std::string& text) { return text.starts_with("psk_lock_phase_detect"); };
    return code == LIB_DMA_RESULT_OK && std::none_of(messages.begin(), messages.end(), is_lost);
}

lib_dma_psk_modulation_type_t get_psk_format(signal_format_t format)
{
    switch (format)
    {
    case signal_format_t::bpsk:
        return LIB_DMA_MODULATION_PSK_BPSK;
    case signal_format_t::qpsk:
        return LIB_DMA_MODULATION_PSK_QPSK;
    case signal_format_t::psk8:
        return LIB_DMA_MODULATION_PSK_8_PSK;
    case signal_format_t::qpsk_3pi_4:
        return LIB_DMA_MODULATION_PSK_3PI_4_QPSK;
    case signal_format_t::psk8_3pi_8:
        return LIB_DMA_MODULATION_PSK_3PI_8_PSK;
    }
    throw std::invalid_argument("signal format without a number in the library");
}

std::uint32_t get_order(signal_format_t format)
{
    return static_cast<std::uint32_t>(get_signal_format(format).points.size());
}

void set_segment(const analysis_setting_t& setting, lib_dma_segment_configure_manager_t& segment)
{
    lib_dma_format_configure_manager_t& format = segment.get_format_configure();
    format.set_format_group(LIB_DMA_GROUP_PSK);
    format.set_psk_format(get_psk_format(setting.format));
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
    filter.set_filter_length(setting.filter_length);
    lib_dma_time_configure_manager_t& time = segment.get_time_configure();
    time.set_meas_interval(LIB_DMA_GROUP_PSK, setting.meas_interval);
    time.set_meas_offset(setting.meas_offset);
    lib_dma_advance_configure_manager_t& advance = segment.get_advance_configure();
    advance.set_evm_normalization_ref(setting.normalization);
    advance.set_iq_rotation(setting.iq_rotation);
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
    const std::vector<std::complex<double>>& points = get_signal_format(format).points;
    const std::size_t order = points.size();
    // Position of each index on the circle, in steps of 2 pi / M from the first point's angle on.
    std::vector<std::size_t> place(order);
    for (std::size_t i = 0; i < order; ++i)
    {
        const double turns = std::arg(points[i] / points[0]) / (2.0 * std::numbers::pi);
        place[i] = static_cast<std::size_t>(std::lround(turns * static_cast<double>(order)) + static_cast<long>(order)) % order;
    }

    decode_match_t best;
    best.differing = decoded.size() + 1;
    for (std::int32_t lag = std::max(first_lag, 0); lag <= last_lag; ++lag)
    {
        if (static_cast<std::size_t>(lag) + decoded.size() > sent.size())
            break;
        std::vector<std::size_t> votes(order, 0);
        for (std::size_t i = 0; i < decoded.size(); ++i)
        {
            if (decoded[i] < order)
                ++votes[(place[decoded[i]] + order - place[sent[static_cast<std::size_t>(lag) + i]]) % order];
        }
        const auto most = std::max_element(votes.begin(), votes.end());
        const std::size_t differing = decoded.size() - *most;
        if (differing < best.differing)
        {
            best.differing = differing;
            best.lag = lag;
            best.rotation = static_cast<std::uint32_t>(most - votes.begin());
        }
    }
    best.found = best.differing == 0 && !decoded.empty();
    return best;
}
} // namespace dma_test
