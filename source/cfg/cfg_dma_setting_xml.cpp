#include "cfg/cfg_dma_frame.h"
#include "support/lib_common_list_parse.h"
#include "support/lib_xml_common.h"
#include "support/log_macro.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <locale.h>
#include <pugixml.hpp>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace vrim::dma_demod_lib
{
namespace
{
using common_lib::lib_common_list_parse_t;
using common_lib::lib_xml_common_t;

constexpr const char* protocol_name = "ProtocolType";
constexpr const char* frame_name = "cfg_dma_frame";
// The list and its items have one name, misspelt; saved files are full of it.
constexpr const char* segment_name = "cfg_dma_segement";
constexpr const char* time_name = "cfg_dma_time";
constexpr const char* filter_name = "cfg_dma_filter";
constexpr const char* format_name = "cfg_dma_format";
constexpr const char* advance_name = "cfg_dma_advance";
constexpr const char* recall_demod_info_name = "cfg_dma_recall_demod_info";

/// Gives this thread a decimal point while it lives, whatever the host's locale is: a file has to mean the same everywhere.
class decimal_point_t
{
public:
    decimal_point_t()
    {
        static const locale_t plain_locale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
        before_ = uselocale(plain_locale);
    }
    ~decimal_point_t() { uselocale(before_); }
    decimal_point_t(const decimal_point_t&) = delete;
    decimal_point_t& operator=(const decimal_point_t&) = delete;

private:
    locale_t before_;
};

template <typename value_t>
void append(pugi::xml_node& node, const char* name, value_t value)
{
    if constexpr (std::is_enum_v<value_t>)
    {
        const std::string text = lib_xml_common_t::get_enum_text(get_enum_entries<value_t>(), value);
        node.append_child(name).text().set(text.c_str());
    }
    else
        node.append_child(name).text().set(value);
}

void append(pugi::xml_node& node, const char* name, const std::string& text)
{
    node.append_child(name).text().set(text.c_str());
}

bool read_bool(const pugi::xml_node& node, const char* name)
{
    return node.child(name).text().as_bool();
}

/// For flags that are read as numbers: the words that a save writes for them are no numbers and give false.
bool read_number_flag(const pugi::xml_node& node, const char* name)
{
    return node.child(name).text().as_double() != 0.0;
}

std::uint32_t read_uint(const pugi::xml_node& node, const char* name)
{
    return node.child(name).text().as_uint();
}

std::uint64_t read_ullong(const pugi::xml_node& node, const char* name)
{
    return node.child(name).text().as_ullong();
}

double read_double(const pugi::xml_node& node, const char* name)
{
    return node.child(name).text().as_double();
}

float read_float(const pugi::xml_node& node, const char* name)
{
    return static_cast<float>(read_double(node, name));
}

std::string read_text(const pugi::xml_node& node, const char* name)
{
    return node.child(name).text().as_string();
}

template <typename enum_t>
enum_t read_enum(const pugi::xml_node& node, const char* name)
{
    return lib_xml_common_t::get_enum_value(get_enum_entries<enum_t>(), node.child(name).text().get());
}

// Saving

void save_frame(pugi::xml_node& node, cfg_dma_frame_t& frame)
{
    append(node, "segment_number", frame.get_segment_number());
    append(node, "frame_current_segment_index", frame.get_current_segment_index());
    append(node, "search_length", frame.get_search_length());
    append(node, "burst_search", frame.get_burst_search());
    append(node, "burst_search_threshold", frame.get_burst_search_threshold());
    append(node, "sync_offset", frame.get_sync_offset());
    append(node, "sync_pattern_type", frame.get_sync_pattern_type());
    append(node, "sync_pattern_bit", frame.get_sync_pattern_bit());
    append(node, "sync_pattern_hex", frame.get_sync_pattern_hex());
    append(node, "sync_pattern_int", frame.get_sync_pattern_int());
    append(node, "enable_mannual_data_sample_rate", frame.get_enable_mannual_data_sample_rate());
    append(node, "mannual_data_sample_rate", frame.get_mannual_data_sample_rate());
    append(node, "bandwidth", frame.get_bandwidth());
    append(node, "sync_search", frame.get_sync_search());
}

void save_time(pugi::xml_node node, const cfg_dma_time_t& time)
{
    append(node, "meas_interval", time.get_meas_interval());
    append(node, "meas_offset", time.get_meas_offset());
    append(node, "meas_offset_reference", time.get_meas_offset_reference());
}

void save_filter(pugi::xml_node node, const cfg_dma_filter_t& filter)
{
    append(node, "meas_filter_type", filter.get_meas_filter_type());
    append(node, "ref_filter_type", filter.get_ref_filter_type());
    append(node, "filter_alpha", filter.get_filter_alpha());
    append(node, "filter_beta", filter.get_filter_beta());
    append(node, "user_define_filter_type", filter.get_user_define_filter_type());
    append(node, "user_define_filter_coef", filter.get_user_define_filter_coef());
    append(node, "filter_length", filter.get_filter_length());
}

void save_constellation(pugi::xml_node& node, const cfg_dma_format_t& format)
{
    complex_array points;
    std::vector<std::int32_t> indices;
    for (const auto& [index, point] : format.get_const_iq_map_data())
    {
        points.push_back(point);
        indices.push_back(static_cast<std::int32_t>(index));
    }
    std::string text;
    append(node, "constellation_sym_index", format.get_constellation_sym_index());
    lib_common_list_parse_t::complex_list_to_string(points, text);
    append(node, "const_iq_map_data", text);
    lib_common_list_parse_t::index_list_to_string(indices, text);
    append(node, "const_iq_map_data_symbol", text);
}

void save_format(pugi::xml_node node, const cfg_dma_format_t& format)
{
    append(node, "format_group", format.get_format_group());
    append(node, "psk_format", format.get_psk_format());
    append(node, "qam_format", format.get_qam_format());
    append(node, "fsk_format", format.get_fsk_format());
    append(node, "msk_format", format.get_msk_format());
    append(node, "ask_format", format.get_ask_format());
    append(node, "apsk_format", format.get_apsk_format());
    append(node, "dpsk_format", format.get_dpsk_format());
    append(node, "oqpsk_format", format.get_oqpsk_format());
    append(node, "vsb_format", format.get_vsb_format());
    append(node, "custom_iq_format", format.get_custom_iq_format());
    append(node, "other_format", format.get_other_format());
    append(node, "symbol_rate", format.get_symbol_rate());
    append(node, "points_per_symbol", format.get_points_per_symbol());
    append(node, "fsk_tx_freq_offset", format.get_fsk_tx_freq_offset());
    append(node, "fsk_deviation_ref", format.get_fsk_deviation_ref());
    append(node, "apsk_r2_r1", format.get_apsk_r2_r1());
    append(node, "apsk_r3_r1", format.get_apsk_r3_r1());
    append(node, "cpm_auto", format.get_cpm_auto());
    append(node, "cpm_index", format.get_cpm_index());
    append(node, "msk_dfas", format.get_msk_dfas());
    append(node, "oqpsk_alig_iq", format.get_oqpsk_alig_iq());
    append(node, "custom_iq_sync_persistence_target", format.get_custom_iq_sync_persistence_target());
    append(node, "custom_iq_phase_rotation", format.get_custom_iq_phase_rotation());
    append(node, "custom_iq_shift", format.get_custom_iq_shift());
    append(node, "custom_iq_diff", format.get_custom_iq_diff());
    append(node, "custom_iq_offset", format.get_custom_iq_offset());
    save_constellation(node, format);
}

void save_advance(pugi::xml_node node, const cfg_dma_advance_t& advance)
{
    append(node, "equalizer", advance.get_equalizer());
    append(node, "equalizer_filter_len", advance.get_equalizer_filter_len());
    append(node, "MOVE_LEN", advance.get_average_move_len());
    append(node, "hold", advance.get_hold());
    append(node, "equalizer_coef", advance.get_equalizer_coef());
    append(node, "fft_window", advance.get_fft_window());
    append(node, "multi_carrier_filter", advance.get_multi_carrier_filter());
    append(node, "gain_imb_quad_skew_couping", advance.get_gain_imb_quad_skew_couping());
    append(node, "iq_rotation", advance.get_iq_rotation());
    append(node, "iq_normalize", advance.get_iq_normalize());
    append(node, "low_snr_enhancement", advance.get_low_snr_enhancement());
    append(node, "iq_offset_compensation", advance.get_iq_offset_compensation());
    append(node, "clock_adjust", advance.get_clock_adjust());
    append(node, "evm_normalization_ref", advance.get_evm_normalization_ref());
    append(node, "spectrum_type", advance.get_spectrum_type());
}

void save_recall_demod_info(pugi::xml_node node, const cfg_dma_recall_demod_info_t& info)
{
    append(node, "ber_state", info.get_ber_state());
    append(node, "total_bits_len", info.get_total_bits_len());
    std::string bits;
    lib_common_list_parse_t::bit_list_to_string(info.get_tx_pattern(), bits);
    append(node, "bits", bits);
    append(node, "payload_data_type", info.get_payload_data_type());
}

// Recalling. The order of the setters counts: several of them rewrite what others set.

void recall_frame(const pugi::xml_node& node, cfg_dma_frame_t& frame)
{
    frame.set_segment_number(read_uint(node, "segment_number"));
    frame.set_current_segment_index(read_uint(node, "frame_current_segment_index"));
    frame.set_search_length(read_double(node, "search_length"));
    frame.set_burst_search(read_bool(node, "burst_search"));
    frame.set_burst_search_threshold(read_float(node, "burst_search_threshold"));
    frame.set_sync_offset(read_float(node, "sync_offset"));
    frame.set_sync_pattern_type(read_enum<lib_dma_sync_pattern_t>(node, "sync_pattern_type"));
    // Each of the three empties the bits; those of the first two types do not outlast the third setter. The one of the type in
    // use cuts the list of segments behind the current one.
    frame.set_sync_pattern_bit(read_text(node, "sync_pattern_bit"));
    frame.set_sync_pattern_hex(read_text(node, "sync_pattern_hex"));
    frame.set_sync_pattern_int(read_uint(node, "sync_pattern_int"));
    frame.set_enable_mannual_data_sample_rate(read_number_flag(node, "enable_mannual_data_sample_rate"));
    frame.set_mannual_data_sample_rate(read_double(node, "mannual_data_sample_rate"));
    frame.set_bandwidth(read_ullong(node, "bandwidth"));
    frame.set_sync_search(read_number_flag(node, "sync_search"));
}

void recall_time(const pugi::xml_node& node, cfg_dma_time_t& time)
{
    time.set_meas_interval(read_uint(node, "meas_interval"));
    time.set_meas_offset(node.child("meas_offset").text().as_int());
    time.set_meas_offset_reference(read_enum<lib_dma_meas_offset_ref_t>(node, "meas_offset_reference"));
}

void recall_filter(const pugi::xml_node& node, cfg_dma_filter_t& filter)
{
    filter.set_meas_filter_type(read_enum<lib_dma_meas_filter_type_t>(node, "meas_filter_type"));
    filter.set_ref_filter_type(read_enum<lib_dma_ref_filter_type_t>(node, "ref_filter_type"));
    filter.set_filter_alpha(read_float(node, "filter_alpha"));
    filter.set_filter_beta(read_float(node, "filter_beta"));
    filter.set_user_define_filter_type(read_enum<lib_dma_user_define_filter_type_t>(node, "user_define_filter_type"));
    filter.set_filter_length(read_uint(node, "filter_length"));
    filter.set_user_define_filter_coef(read_float(node, "user_define_filter_coef"));
}

void recall_advance(const pugi::xml_node& node, cfg_dma_advance_t& advance)
{
    advance.set_equalizer(read_bool(node, "equalizer"));
    advance.set_equalizer_filter_len(read_uint(node, "equalizer_filter_len"));
    advance.set_average_move_len(read_uint(node, "MOVE_LEN"));
    advance.set_hold(read_bool(node, "hold"));
    advance.set_equalizer_coef(read_double(node, "equalizer_coef"));
    advance.set_fft_window(read_enum<lib_dma_fft_window_type_t>(node, "fft_window"));
    advance.set_multi_carrier_filter(read_bool(node, "multi_carrier_filter"));
    advance.set_spectrum_type(read_enum<lib_dma_spectrum_type_t>(node, "spectrum_type"));
    advance.set_gain_imb_quad_skew_couping(read_bool(node, "gain_imb_quad_skew_couping"));
    advance.set_clock_adjust(read_float(node, "clock_adjust"));
    advance.set_iq_rotation(read_float(node, "iq_rotation"));
    advance.set_iq_normalize(read_bool(node, "iq_normalize"));
    advance.set_low_snr_enhancement(read_bool(node, "low_snr_enhancement"));
    advance.set_evm_normalization_ref(read_enum<lib_dma_evm_normalize_type_t>(node, "evm_normalization_ref"));
    advance.set_iq_offset_compensation(read_bool(node, "iq_offset_compensation")); // the format rewrites it
}

void recall_constellation(const pugi::xml_node& node, cfg_dma_format_t& format)
{
    format.set_constellation_sym_index(read_uint(node, "constellation_sym_index"), common_lib::constellation_normalize_rms);
    complex_array points;
    std::vector<std::int32_t> indices;
    std::string reason;
    lib_common_list_parse_t::string_to_complex_list(read_text(node, "const_iq_map_data"), points);
    lib_common_list_parse_t::string_to_index_list(read_text(node, "const_iq_map_data_symbol"), indices, reason);
    constellation_map map;
    for (std::size_t i = 0; i < std::min(points.size(), indices.size()); ++i)
        map.insert_or_assign(map.end(), static_cast<std::uint32_t>(indices[i]), points[i]);
    format.set_const_iq_map_data(std::move(map));
}

void recall_format(const pugi::xml_node& node, cfg_dma_format_t& format)
{
    format.set_format_group(read_enum<lib_dma_modulation_type_t>(node, "format_group"));
    format.set_psk_format(read_enum<lib_dma_psk_modulation_type_t>(node, "psk_format"));
    format.set_qam_format(read_enum<lib_dma_qam_modulation_type_t>(node, "qam_format"));
    format.set_fsk_format(read_enum<lib_dma_fsk_modulation_type_t>(node, "fsk_format"));
    format.set_msk_format(read_enum<lib_dma_msk_modulation_type_t>(node, "msk_format"));
    format.set_ask_format(read_enum<lib_dma_ask_modulation_type_t>(node, "ask_format"));
    format.set_apsk_format(read_enum<lib_dma_apsk_modulation_type_t>(node, "apsk_format"));
    format.set_dpsk_format(read_enum<lib_dma_dpsk_modulation_type_t>(node, "dpsk_format"));
    format.set_oqpsk_format(read_enum<lib_dma_oqpsk_modulation_type_t>(node, "oqpsk_format"));
    format.set_vsb_format(read_enum<lib_dma_vsb_modulation_type_t>(node, "vsb_format"));
    format.set_custom_iq_format(read_enum<lib_dma_custom_modulation_type_t>(node, "custom_iq_format"));
    format.set_other_format(read_enum<lib_dma_other_modulation_type_t>(node, "other_format"));
    format.set_fsk_tx_freq_offset(read_float(node, "fsk_tx_freq_offset"));
    format.set_fsk_deviation_ref(read_enum<lib_dma_fsk_deviation_type_t>(node, "fsk_deviation_ref"));
    format.set_apsk_r2_r1(read_float(node, "apsk_r2_r1"));
    format.set_apsk_r3_r1(read_float(node, "apsk_r3_r1"));
    format.set_cpm_auto(read_bool(node, "cpm_auto"));
    format.set_cpm_index(read_enum<lib_dma_cpm_index_type_t>(node, "cpm_index"));
    format.set_msk_dfas(read_bool(node, "msk_dfas"));
    format.set_oqpsk_alig_iq(read_bool(node, "oqpsk_alig_iq"));
    format.set_custom_iq_sync_persistence_target(read_float(node, "custom_iq_sync_persistence_target"));
    format.set_custom_iq_phase_rotation(read_float(node, "custom_iq_phase_rotation"));
    format.set_custom_iq_shift(read_bool(node, "custom_iq_shift"));
    format.set_custom_iq_diff(read_bool(node, "custom_iq_diff"));
    format.set_custom_iq_offset(read_bool(node, "custom_iq_offset"));
    format.set_symbol_rate(read_ullong(node, "symbol_rate"));
    format.set_points_per_symbol(read_enum<lib_dma_point_per_symbol_type_t>(node, "points_per_symbol"));
    recall_constellation(node, format);
}

void recall_demod_info(const pugi::xml_node& node, cfg_dma_recall_demod_info_t& info)
{
    info.set_ber_state(read_bool(node, "ber_state"));
    info.set_total_bits_len(read_uint(node, "total_bits_len"));
    bit_array bits;
    lib_common_list_parse_t::string_to_bit_list(read_text(node, "bits"), bits);
    info.set_tx_pattern(bits);
    info.set_payload_data_type(read_enum<lib_dma_payload_data_type_t>(node, "payload_data_type")); // makes the bits anew
}

void recall_segment(const pugi::xml_node& node, cfg_dma_segment_t& segment)
{
    recall_time(node.child(time_name), segment.get_time_cfg());
    recall_filter(node.child(filter_name), segment.get_filter_cfg());
    recall_advance(node.child(advance_name), segment.get_advance_cfg());
    recall_format(node.child(format_name), segment.get_format_cfg());
    recall_demod_info(node.child(recall_demod_info_name), segment.get_recall_demod_info_cfg());
}

/// Reads a segment that the next one overwrites: nothing of it outlasts that but a sync search that its bit-error state turns
/// on. Payload and preset constellation of each of thousands would take minutes.
void recall_passed_segment(const pugi::xml_node& node, cfg_dma_segment_t& segment)
{
    segment.get_recall_demod_info_cfg().set_ber_state(read_bool(node.child(recall_demod_info_name), "ber_state"));
}

/// The first element from `node` on; comments and texts are no segments.
pugi::xml_node find_element(pugi::xml_node node)
{
    while (node && node.type() != pugi::node_element)
        node = node.next_sibling();
    return node;
}
} // namespace

bool cfg_dma_frame_t::save_dma_setting(pugi::xml_node& node)
{
    if (node.type() != pugi::node_element)
    {
        DMA_LOG_ERROR("cfg_dma_frame_t::save_dma_setting:error! The node is no element.\n");
        return false;
    }
    const decimal_point_t decimal_point;
    node.append_attribute(protocol_name)
        .set_value(lib_xml_common_t::get_protocol_name(common_lib::protocol_dma_frame).c_str());
    pugi::xml_node frame = node.append_child(frame_name);
    save_frame(frame, *this);
    pugi::xml_node item = frame.append_child(segment_name).append_child(segment_name);
    const cfg_dma_segment_t& segment = get_segment(0);
    save_time(item.append_child(time_name), segment.get_time_cfg());
    save_filter(item.append_child(filter_name), segment.get_filter_cfg());
    save_format(item.append_child(format_name), segment.get_format_cfg());
    save_advance(item.append_child(advance_name), segment.get_advance_cfg());
    save_recall_demod_info(item.append_child(recall_demod_info_name), segment.get_recall_demod_info_cfg());
    return true;
}

bool cfg_dma_frame_t::recall_dma_setting(const pugi::xml_node& node)
{
    common_lib::plib_protocol_type_t type = 0;
    const bool known = lib_xml_common_t::get_protocol_type(node.attribute(protocol_name).as_string(), type);
    if (!known || type != common_lib::protocol_dma_frame)
        return false;
    const decimal_point_t decimal_point;
    frame_.init();
    const pugi::xml_node frame = node.child(frame_name);
    recall_frame(frame, *this);
    pugi::xml_node item = find_element(frame.child(segment_name).first_child());
    for (std::uint32_t count = 0; item; ++count)
    {
        const pugi::xml_node next = find_element(item.next_sibling());
        if (get_segment_number() <= count)
            add_segment();
        // Items that the list has no room for fall back on the first segment, one after the other.
        const bool overwritten = next && count >= get_segment_number();
        cfg_dma_segment_t& segment = get_segment(count);
        if (overwritten)
            recall_passed_segment(item, segment);
        else
            recall_segment(item, segment);
        item = next;
    }
    return true;
}
} // namespace vrim::dma_demod_lib
