#pragma once

#include "cfg/cfg_dma_frame.h"
#include "setting_tree.h"

#include <cstdint>
#include <fmt/format.h>
#include <functional>
#include <map>
#include <string>
#include <type_traits>
#include <vector>

/// Every element of a settings tree: what its absence and what a text in it leave in a frame.
namespace vrim::dma_demod_lib
{
inline std::string show(bool value)
{
    return value ? "true" : "false";
}

inline std::string show(const std::string& value)
{
    return value;
}

inline std::string show(const constellation_map& map)
{
    std::string text;
    for (const auto& [index, point] : map)
        text += fmt::format("{}:{},{} ", index, point.real(), point.imag());
    return text;
}

template <typename value_t>
    requires std::is_arithmetic_v<value_t>
std::string show(value_t value)
{
    return fmt::format("{}", value);
}

template <typename value_t>
    requires std::is_enum_v<value_t>
std::string show(value_t value)
{
    return fmt::format("{}", static_cast<std::uint32_t>(value));
}

using getter_t = std::function<std::string(cfg_dma_frame_t&)>;

template <typename record_t, typename value_t>
getter_t field(record_t& (*record)(cfg_dma_frame_t&), value_t (record_t::*get)() const)
{
    return [record, get](cfg_dma_frame_t& frame) { return show((record(frame).*get)()); };
}

inline cfg_dma_frame_t& itself(cfg_dma_frame_t& frame)
{
    return frame;
}

inline std::string show_pattern_length(cfg_dma_frame_t& frame)
{
    return fmt::format("{}", info_of(frame).get_tx_pattern().size());
}

struct element_t
{
    const char* record; // empty for an element of the frame
    const char* name;
    const char* absent; // what a tree without the element leaves
    const char* text;
    const char* stored; // what the text leaves
    getter_t get;
};

inline std::vector<element_t> make_frame_elements()
{
    using frame_t = cfg_dma_frame_t;
    std::vector<element_t> elements;
    const auto add = [&](const char* name, const char* absent, const char* text, const char* stored, auto get)
    { elements.push_back({ "", name, absent, text, stored, field(itself, get) }); };
    const getter_t number = field<frame_t, std::uint32_t>(itself, &frame_t::get_segment_number);
    elements.push_back({ "", "segment_number", "1", "4", "4", number });
    add("frame_current_segment_index", "0", "1", "1", &frame_t::get_current_segment_index);
    add("search_length", "1e-07", "0.25", "0.25", &frame_t::get_search_length);
    add("burst_search", "false", "true", "true", &frame_t::get_burst_search);
    add("burst_search_threshold", "0", "-12.5", "-12.5", &frame_t::get_burst_search_threshold);
    add("sync_offset", "0", "-7.25", "-7.25", &frame_t::get_sync_offset);
    add("sync_pattern_type", "0", "LIB_DMA_SYNC_INT_PATTERN", "2", &frame_t::get_sync_pattern_type);
    // The default text stays when the pattern cannot be parsed. The other two notations have tests of their own.
    add("sync_pattern_bit", "0", "1011", "1011", &frame_t::get_sync_pattern_bit);
    add("enable_mannual_data_sample_rate", "false", "1", "true", &frame_t::get_enable_mannual_data_sample_rate);
    add("mannual_data_sample_rate", "1000000", "2500000.5", "2500000.5", &frame_t::get_mannual_data_sample_rate);
    add("bandwidth", "20000000", "5000000000", "5000000000", &frame_t::get_bandwidth); // 0 is refused
    add("sync_search", "false", "2", "true", &frame_t::get_sync_search);
    return elements;
}

inline std::vector<element_t> make_format_elements()
{
    using format_t = cfg_dma_format_t;
    std::vector<element_t> elements;
    const auto add = [&](const char* name, const char* absent, const char* text, const char* stored, auto get)
    { elements.push_back({ "cfg_dma_format", name, absent, text, stored, field(format_of, get) }); };
    add("format_group", "0", "LIB_DMA_GROUP_QAM", "1", &format_t::get_format_group);
    add("psk_format", "2", "LIB_DMA_MODULATION_PSK_3PI_8_PSK", "10", &format_t::get_psk_format);
    add("qam_format", "0", "LIB_DMA_QAM_4096", "8", &format_t::get_qam_format);
    add("fsk_format", "2", "LIB_DMA_FSK_64", "64", &format_t::get_fsk_format);
    add("msk_format", "0", "LIB_DMA_MSK_TYPE2", "1", &format_t::get_msk_format);
    add("ask_format", "2", "LIB_DMA_ASK_16", "16", &format_t::get_ask_format);
    add("apsk_format", "16", "LIB_DMA_APSK_32", "32", &format_t::get_apsk_format);
    add("dpsk_format", "2", "LIB_DMA_MODULATION_PSK_PI_8_D8PSK", "6", &format_t::get_dpsk_format);
    add("oqpsk_format", "0", "LIB_DMA_MODULATION_PSK_OFFSET_SHAPED_QPSK", "1", &format_t::get_oqpsk_format);
    add("vsb_format", "0", "LIB_DMA_VSB_16", "1", &format_t::get_vsb_format);
    add("custom_iq_format", "0", "LIB_DMA_CUSTOM_IQ", "0", &format_t::get_custom_iq_format);
    add("other_format", "0", "LIB_DMA_OTHER_EDGE", "1", &format_t::get_other_format);
    add("symbol_rate", "10000", "5123456789", "5123456789", &format_t::get_symbol_rate);
    add("points_per_symbol", "1", "LIB_DMA_POINT14", "14", &format_t::get_points_per_symbol);
    add("fsk_tx_freq_offset", "0", "-1500.5", "-1500.5", &format_t::get_fsk_tx_freq_offset);
    add("fsk_deviation_ref", "0", "LIB_DMA_FSK_DEVIATION_MANUAL", "1", &format_t::get_fsk_deviation_ref);
    add("apsk_r2_r1", "1.25", "3.5", "3.5", &format_t::get_apsk_r2_r1);
    add("apsk_r3_r1", "1.5625", "6.25", "6.25", &format_t::get_apsk_r3_r1);
    add("cpm_auto", "false", "true", "true", &format_t::get_cpm_auto);
    add("cpm_index", "0", "LIB_DMA_CPM_INDEX_TYPE7", "6", &format_t::get_cpm_index);
    add("msk_dfas", "false", "true", "true", &format_t::get_msk_dfas);
    add("oqpsk_alig_iq", "false", "true", "true", &format_t::get_oqpsk_alig_iq);
    add("custom_iq_sync_persistence_target", "0", "0.75", "0.75", &format_t::get_custom_iq_sync_persistence_target);
    add("custom_iq_phase_rotation", "0", "-90.5", "-90.5", &format_t::get_custom_iq_phase_rotation);
    add("custom_iq_shift", "false", "true", "true", &format_t::get_custom_iq_shift);
    add("custom_iq_diff", "false", "true", "true", &format_t::get_custom_iq_diff);
    add("custom_iq_offset", "false", "true", "true", &format_t::get_custom_iq_offset);
    // Nothing writes another index than 0, and points without indices make an empty map.
    add("constellation_sym_index", "0", "1", "0", &format_t::get_constellation_sym_index);
    add("const_iq_map_data", "", "1,0;0,1", "", &format_t::get_const_iq_map_data);
    add("const_iq_map_data_symbol", "", "0,1", "", &format_t::get_const_iq_map_data);
    return elements;
}

inline std::vector<element_t> make_other_elements()
{
    std::vector<element_t> elements;
    const auto add_time = [&](const char* name, const char* absent, const char* text, const char* stored, auto get)
    { elements.push_back({ "cfg_dma_time", name, absent, text, stored, field(time_of, get) }); };
    add_time("meas_interval", "10", "333", "333", &cfg_dma_time_t::get_meas_interval);
    add_time("meas_offset", "0", "-4", "-4", &cfg_dma_time_t::get_meas_offset);
    add_time("meas_offset_reference", "0", "LIB_DMA_RELATIVE_TO_SYNC_PATTERN", "1", &cfg_dma_time_t::get_meas_offset_reference);

    using filter_t = cfg_dma_filter_t;
    const auto add_filter = [&](const char* name, const char* absent, const char* text, const char* stored, auto get)
    { elements.push_back({ "cfg_dma_filter", name, absent, text, stored, field(filter_of, get) }); };
    add_filter("meas_filter_type", "0", "LIB_DMA_MEAS_USER_DEFINE_FILTER", "9", &filter_t::get_meas_filter_type);
    add_filter("ref_filter_type", "0", "LIB_DMA_REF_USER_DEFINE_FILTER", "7", &filter_t::get_ref_filter_type);
    add_filter("filter_alpha", "0.05", "0.375", "0.375", &filter_t::get_filter_alpha);
    add_filter("filter_beta", "0.05", "2.5", "2.5", &filter_t::get_filter_beta);
    add_filter("user_define_filter_type", "0", "LIB_DMA_USER_DEFINE_REF_FILTER", "1", &filter_t::get_user_define_filter_type);
    add_filter("user_define_filter_coef", "0", "-3.5", "-3.5", &filter_t::get_user_define_filter_coef);
    add_filter("filter_length", "2", "48", "48", &filter_t::get_filter_length);

    using advance_t = cfg_dma_advance_t;
    const auto add_advance = [&](const char* name, const char* absent, const char* text, const char* stored, auto get)
    { elements.push_back({ "cfg_dma_advance", name, absent, text, stored, field(advance_of, get) }); };
    add_advance("equalizer", "false", "true", "true", &advance_t::get_equalizer);
    add_advance("equalizer_filter_len", "3", "32", "33", &advance_t::get_equalizer_filter_len);
    add_advance("MOVE_LEN", "1", "6", "7", &advance_t::get_average_move_len);
    add_advance("hold", "false", "true", "true", &advance_t::get_hold);
    add_advance("equalizer_coef", "1e-14", "0.125", "0.125", &advance_t::get_equalizer_coef);
    add_advance("fft_window", "0", "LIB_DMA_WINDOW_GAUSSTOP", "8", &advance_t::get_fft_window);
    add_advance("multi_carrier_filter", "false", "true", "true", &advance_t::get_multi_carrier_filter);
    add_advance("spectrum_type", "0", "LIB_DMA_SPECTRUM_INVERT", "1", &advance_t::get_spectrum_type);
    add_advance("gain_imb_quad_skew_couping", "false", "true", "true", &advance_t::get_gain_imb_quad_skew_couping);
    add_advance("clock_adjust", "0", "-0.25", "-0.25", &advance_t::get_clock_adjust);
    add_advance("iq_rotation", "0", "45.5", "45.5", &advance_t::get_iq_rotation);
    add_advance("iq_normalize", "false", "true", "true", &advance_t::get_iq_normalize);
    add_advance("low_snr_enhancement", "false", "true", "true", &advance_t::get_low_snr_enhancement);
    add_advance("evm_normalization_ref", "0", "LIB_DMA_EVM_NORMALIZE_CONSTELLATION_MAX", "1",
                &advance_t::get_evm_normalization_ref);
    add_advance("iq_offset_compensation", "true", "false", "true", &advance_t::get_iq_offset_compensation); // by the format

    using info_t = cfg_dma_recall_demod_info_t;
    const char* record = "cfg_dma_recall_demod_info";
    elements.push_back({ record, "ber_state", "false", "true", "true", field(info_of, &info_t::get_ber_state) });
    elements.push_back(
        { record, "total_bits_len", "0", "4294967295", "4294967295", field(info_of, &info_t::get_total_bits_len) });
    elements.push_back({ record, "bits", "127", "1011", "127", show_pattern_length }); // the sequence of PN7, 127 bits
    elements.push_back(
        { record, "payload_data_type", "0", "LIB_DMA_PN9", "1", field(info_of, &info_t::get_payload_data_type) });
    return elements;
}

inline const std::vector<element_t>& get_elements()
{
    static const std::vector<element_t> elements = []
    {
        std::vector<element_t> all = make_frame_elements();
        for (const std::vector<element_t>& some : { make_format_elements(), make_other_elements() })
            all.insert(all.end(), some.begin(), some.end());
        return all;
    }();
    return elements;
}

using fields_t = std::map<std::string, std::string>;

inline fields_t get_fields(cfg_dma_frame_t& frame)
{
    fields_t fields;
    for (const element_t& element : get_elements())
        fields[element.name] = element.get(frame);
    return fields;
}

inline fields_t absent_fields()
{
    fields_t fields;
    for (const element_t& element : get_elements())
        fields[element.name] = element.absent;
    return fields;
}

/// A tree of one segment with this element alone.
inline std::string make_tree_of(const element_t& element, const std::string& text)
{
    const std::string content = make_element(element.name, text);
    if (*element.record == '\0')
        return make_tree(content + make_list(make_segment("")));
    return make_tree(make_list(make_segment(make_element(element.record, content))));
}
} // namespace vrim::dma_demod_lib
