#include "settings_field.h"

#include "support/lib_common_list_parse.h"

#include <algorithm>
#include <complex>
#include <cstdint>
#include <type_traits>

namespace dmatool
{
using namespace vrim::dma_demod_lib;
using vrim::common_lib::lib_common_list_parse_t;

namespace
{
using frame_t = lib_dma_frame_configure_manager_t;
using segment_t = lib_dma_segment_configure_manager_t;

template <typename value_t>
settings_form_t make_form()
{
    if constexpr (std::is_enum_v<value_t>)
    {
        settings_form_t form{ settings_kind_t::enumerator, {} };
        for (const auto& entry : get_enum_entries<value_t>())
        {
            form.names.push_back(entry.text);
        }
        return form;
    }
    else if constexpr (std::is_same_v<value_t, bool>)
    {
        return { settings_kind_t::truth, {} };
    }
    else if constexpr (std::is_same_v<value_t, float>)
    {
        return { settings_kind_t::single, {} };
    }
    else if constexpr (std::is_same_v<value_t, double>)
    {
        return { settings_kind_t::real, {} };
    }
    else if constexpr (std::is_same_v<value_t, std::int32_t>)
    {
        return { settings_kind_t::signed32, {} };
    }
    else if constexpr (std::is_same_v<value_t, std::uint64_t>)
    {
        return { settings_kind_t::whole64, {} };
    }
    else
    {
        static_assert(std::is_same_v<value_t, std::uint32_t>);
        return { settings_kind_t::whole32, {} };
    }
}

template <typename value_t>
settings_value_t to_value(value_t value)
{
    if constexpr (std::is_enum_v<value_t>)
    {
        const std::string name(get_enum_text(value));
        return name.empty() ? std::to_string(static_cast<std::uint32_t>(value)) : name;
    }
    else if constexpr (std::is_same_v<value_t, std::uint32_t>)
    {
        return static_cast<std::uint64_t>(value);
    }
    else if constexpr (std::is_same_v<value_t, std::int32_t>)
    {
        return static_cast<std::int64_t>(value);
    }
    else
    {
        return value;
    }
}

/// Adds elements to the table.
class table_maker_t
{
public:
    template <typename value_t>
    settings_field_t& add_frame(const char* name, const char* label, value_t (frame_t::*get)() const, const char* unit = "",
                                settings_limits_t limits = {}, const char* rule = "")
    {
        const auto value = [get](const frame_t& frame, const segment_t&) { return to_value((frame.*get)()); };
        return table.emplace_back(settings_field_t{ "", name, label, unit, make_form<value_t>(), limits, rule, value });
    }

    template <typename record_t, typename value_t>
    settings_field_t& add(const char* name, const char* label, value_t (record_t::*get)() const, const char* unit = "",
                          settings_limits_t limits = {}, const char* rule = "")
    {
        const auto value = [get](const frame_t&, const segment_t& segment)
        { return to_value((get_record<record_t>(segment).*get)()); };
        return table.emplace_back(
            settings_field_t{ get_section<record_t>(), name, label, unit, make_form<value_t>(), limits, rule, value });
    }

    std::vector<settings_field_t> table;

private:
    template <typename record_t>
    static const record_t& get_record(const segment_t& segment)
    {
        if constexpr (std::is_same_v<record_t, lib_dma_time_configure_manager_t>)
        {
            return segment.get_time_configure();
        }
        else if constexpr (std::is_same_v<record_t, lib_dma_filter_configure_manager_t>)
        {
            return segment.get_filter_configure();
        }
        else if constexpr (std::is_same_v<record_t, lib_dma_format_configure_manager_t>)
        {
            return segment.get_format_configure();
        }
        else if constexpr (std::is_same_v<record_t, lib_dma_advance_configure_manager_t>)
        {
            return segment.get_advance_configure();
        }
        else
        {
            return segment.get_recall_demod_info_configure();
        }
    }

    template <typename record_t>
    static const char* get_section()
    {
        if constexpr (std::is_same_v<record_t, lib_dma_time_configure_manager_t>)
        {
            return "cfg_dma_time";
        }
        else if constexpr (std::is_same_v<record_t, lib_dma_filter_configure_manager_t>)
        {
            return "cfg_dma_filter";
        }
        else if constexpr (std::is_same_v<record_t, lib_dma_format_configure_manager_t>)
        {
            return "cfg_dma_format";
        }
        else if constexpr (std::is_same_v<record_t, lib_dma_advance_configure_manager_t>)
        {
            return "cfg_dma_advance";
        }
        else
        {
            return "cfg_dma_recall_demod_info";
        }
    }
};

void add_frame_fields(table_maker_t& maker)
{
    const settings_form_t text{ settings_kind_t::text, {} };
    const settings_form_t flag{ settings_kind_t::number_flag, {} };
    maker.add_frame("segment_number", "segments", static_cast<std::uint32_t (frame_t::*)() const>(&frame_t::get_segment_number),
                    "", { 1.0, 6.0 },
                    "the list grows to the segment elements, and a sync pattern cuts it behind the current segment");
    maker.add_frame("frame_current_segment_index", "current segment", &frame_t::get_current_segment_index, "", {},
                    "it has to be below segment_number");
    maker.add_frame("search_length", "search length", &frame_t::get_search_length, " s",
                    { 1.0e-7, std::numeric_limits<double>::infinity() }, "1e-7 s is the least");
    maker.add_frame("burst_search", "burst search", &frame_t::get_burst_search);
    maker.add_frame("burst_search_threshold", "burst search threshold", &frame_t::get_burst_search_threshold, " dB",
                    { -200.0, 200.0 });
    maker.add_frame("sync_offset", "sync offset", &frame_t::get_sync_offset, " symbols", { -32768.0, 32767.0 });
    maker.add_frame("sync_pattern_type", "sync pattern notation", &frame_t::get_sync_pattern_type);
    maker.add_frame("sync_pattern_int", "sync pattern number", &frame_t::get_sync_pattern_int, "", { 0.0, 262144.0 },
                    "it is read for LIB_DMA_SYNC_INT_PATTERN only");
    const auto word = [](const frame_t& frame, const segment_t&) { return settings_value_t(frame.get_sync_pattern_bit()); };
    const auto at = maker.table.end() - 1;
    maker.table.insert(at, { { "", "sync_pattern_bit", "sync pattern bits", "", text, {}, {}, word },
                             { "", "sync_pattern_hex", "sync pattern digits", "", text, {}, {}, word } });
    maker.add_frame("enable_mannual_data_sample_rate", "manual sample rate", &frame_t::get_enable_mannual_data_sample_rate).form =
        flag;
    maker.add_frame("mannual_data_sample_rate", "its value", &frame_t::get_mannual_data_sample_rate, " Hz", { 1.0e6, 1.0e10 });
    maker.add_frame("bandwidth", "bandwidth", &frame_t::get_bandwidth, " Hz", { 1.0, 1.0e10 },
                    "0 is refused and the default stays");
    maker.add_frame("sync_search", "sync search", &frame_t::get_sync_search, "", {}, "ber_state of the first segment turns it on")
        .form = flag;
}

void add_time_fields(table_maker_t& maker)
{
    using record_t = lib_dma_time_configure_manager_t;
    maker.add("meas_interval", "interval", &record_t::get_meas_interval, " symbols", { 10.0, 1.0e7 });
    maker.add("meas_offset", "offset", &record_t::get_meas_offset, " symbols", {},
              "it lies within the interval, and with sync_search on that of the first segment is 0");
    maker.add("meas_offset_reference", "offset counts from", &record_t::get_meas_offset_reference);
}

void add_filter_fields(table_maker_t& maker)
{
    using record_t = lib_dma_filter_configure_manager_t;
    maker.add("meas_filter_type", "measurement filter", &record_t::get_meas_filter_type);
    maker.add("ref_filter_type", "reference filter", &record_t::get_ref_filter_type);
    maker.add("filter_alpha", "roll-off", &record_t::get_filter_alpha, "", { 0.05, 1.0 });
    maker.add("filter_beta", "bandwidth-time product", &record_t::get_filter_beta, "", { 0.05, 100.0 });
    maker.add("user_define_filter_type", "user-defined filter", &record_t::get_user_define_filter_type);
    maker.add("user_define_filter_coef", "its coefficient", &record_t::get_user_define_filter_coef);
    maker.add("filter_length", "filter length", &record_t::get_filter_length, " symbols", { 2.0, 512.0 });
}

settings_value_t get_points_value(const frame_t&, const segment_t& segment)
{
    vrim::complex_array points;
    for (const auto& [index, point] : segment.get_format_configure().get_const_iq_map_data())
    {
        points.push_back(point);
    }
    std::string text;
    lib_common_list_parse_t::complex_list_to_string(points, text);
    return text;
}

settings_value_t get_indices_value(const frame_t&, const segment_t& segment)
{
    std::vector<std::int32_t> indices;
    for (const auto& [index, point] : segment.get_format_configure().get_const_iq_map_data())
    {
        indices.push_back(static_cast<std::int32_t>(index));
    }
    std::string text;
    lib_common_list_parse_t::index_list_to_string(indices, text);
    return text;
}

void add_format_fields(table_maker_t& maker)
{
    using record_t = lib_dma_format_configure_manager_t;
    const char* const pairs = "the ring ratios of 32-APSK that belong to a code rate go in pairs";
    maker.add("format_group", "modulation group", &record_t::get_format_group);
    maker.add("psk_format", "PSK format", &record_t::get_psk_format);
    maker.add("qam_format", "QAM format", &record_t::get_qam_format);
    maker.add("fsk_format", "FSK format", &record_t::get_fsk_format);
    maker.add("msk_format", "MSK format", &record_t::get_msk_format);
    maker.add("ask_format", "ASK format", &record_t::get_ask_format);
    maker.add("apsk_format", "APSK format", &record_t::get_apsk_format);
    maker.add("dpsk_format", "DPSK format", &record_t::get_dpsk_format);
    maker.add("oqpsk_format", "offset QPSK format", &record_t::get_oqpsk_format);
    maker.add("vsb_format", "VSB format", &record_t::get_vsb_format);
    maker.add("custom_iq_format", "user-defined IQ format", &record_t::get_custom_iq_format);
    maker.add("other_format", "other format", &record_t::get_other_format);
    maker.add("symbol_rate", "symbol rate", &record_t::get_symbol_rate, " Hz", { 1.0e4, 8.0e9 });
    maker.add("points_per_symbol", "points per symbol", &record_t::get_points_per_symbol, "", {},
              "offset QPSK has 2, 4, 10 or 20 points per symbol");
    maker.add("fsk_tx_freq_offset", "FSK frequency offset", &record_t::get_fsk_tx_freq_offset, " Hz", { -1.0e9, 1.0e9 });
    maker.add("fsk_deviation_ref", "FSK reference deviation", &record_t::get_fsk_deviation_ref);
    maker.add("apsk_r2_r1", "APSK ring ratio R2/R1", &record_t::get_apsk_r2_r1, "", { 1.25, 8.0 }, pairs);
    maker.add("apsk_r3_r1", "APSK ring ratio R3/R1", &record_t::get_apsk_r3_r1, "", { 1.5625, 10.0 }, pairs);
    maker.add("cpm_auto", "CPM automatic", &record_t::get_cpm_auto);
    maker.add("cpm_index", "CPM indices", &record_t::get_cpm_index);
    maker.add("msk_dfas", "MSK DFAS", &record_t::get_msk_dfas);
    maker.add("oqpsk_alig_iq", "offset QPSK aligns I and Q", &record_t::get_oqpsk_alig_iq);
    maker.add("custom_iq_sync_persistence_target", "user-defined IQ sync persistence",
              &record_t::get_custom_iq_sync_persistence_target, "", { 0.0, 1.0 });
    maker.add("custom_iq_phase_rotation", "user-defined IQ rotation", &record_t::get_custom_iq_phase_rotation, " degrees",
              { -360.0, 360.0 });
    maker.add("custom_iq_shift", "user-defined IQ shift", &record_t::get_custom_iq_shift);
    maker.add("custom_iq_diff", "user-defined IQ differential", &record_t::get_custom_iq_diff);
    maker.add("custom_iq_offset", "user-defined IQ offset", &record_t::get_custom_iq_offset);
    maker.add("constellation_sym_index", "constellation symbol index", &record_t::get_constellation_sym_index, "", {},
              "a recall never keeps it");
    maker.table.push_back({ "cfg_dma_format",
                            "const_iq_map_data",
                            "constellation points",
                            "",
                            { settings_kind_t::points, {} },
                            {},
                            {},
                            get_points_value });
    maker.table.push_back({ "cfg_dma_format",
                            "const_iq_map_data_symbol",
                            "their symbols",
                            "",
                            { settings_kind_t::indices, {} },
                            {},
                            {},
                            get_indices_value });
}

void add_advance_fields(table_maker_t& maker)
{
    using record_t = lib_dma_advance_configure_manager_t;
    const char* const odd = "even lengths go up to the next odd one";
    maker.add("equalizer", "equalizer", &record_t::get_equalizer);
    maker.add("equalizer_filter_len", "equalizer length", &record_t::get_equalizer_filter_len, " symbols", { 3.0, 99.0 }, odd);
    maker.add("MOVE_LEN", "moving average length", &record_t::get_average_move_len, "", { 1.0, 101.0 }, odd);
    maker.add("hold", "equalizer hold", &record_t::get_hold);
    maker.add("equalizer_coef", "equalizer convergence", &record_t::get_equalizer_coef, "", { 1.0e-14, 1.0 });
    maker.add("fft_window", "window of spectra", &record_t::get_fft_window);
    maker.add("multi_carrier_filter", "multi-carrier filter", &record_t::get_multi_carrier_filter);
    maker.add("gain_imb_quad_skew_couping", "gain imbalance and skew coupled", &record_t::get_gain_imb_quad_skew_couping);
    maker.add("iq_rotation", "IQ rotation", &record_t::get_iq_rotation, " degrees", { -360.0, 360.0 });
    maker.add("iq_normalize", "IQ normalised", &record_t::get_iq_normalize);
    maker.add("low_snr_enhancement", "low SNR enhancement", &record_t::get_low_snr_enhancement);
    maker.add("iq_offset_compensation", "IQ offset compensation", &record_t::get_iq_offset_compensation, "", {},
              "it follows the format: off for MSK type 1, on otherwise");
    maker.add("clock_adjust", "clock adjustment", &record_t::get_clock_adjust, " symbols", { -0.5, 0.5 });
    maker.add("evm_normalization_ref", "EVM is percent of", &record_t::get_evm_normalization_ref);
    maker.add("spectrum_type", "spectrum", &record_t::get_spectrum_type);
}

void add_ber_fields(table_maker_t& maker)
{
    using record_t = lib_dma_recall_demod_info_configure_manager_t;
    maker.add("ber_state", "BER measurement", &record_t::get_ber_state);
    maker.add("total_bits_len", "total bits", &record_t::get_total_bits_len);
    const auto count = [](const frame_t&, const segment_t& segment) -> settings_value_t
    { return static_cast<std::uint64_t>(segment.get_recall_demod_info_configure().get_tx_pattern().size()); };
    maker.table.push_back(
        { "cfg_dma_recall_demod_info", "bits", "pattern length", " bits", { settings_kind_t::bits, {} }, {}, {}, count });
    maker.add("payload_data_type", "payload", &record_t::get_payload_data_type);
}

std::vector<settings_field_t> make_fields()
{
    table_maker_t maker;
    add_frame_fields(maker);
    add_time_fields(maker);
    add_filter_fields(maker);
    add_format_fields(maker);
    add_advance_fields(maker);
    add_ber_fields(maker);
    return maker.table;
}
} // namespace

const std::vector<settings_field_t>& get_settings_fields()
{
    static const std::vector<settings_field_t> table = make_fields();
    return table;
}

const std::vector<settings_section_t>& get_settings_sections()
{
    static const std::vector<settings_section_t> table = {
        { "cfg_dma_time", "Time" },
        { "cfg_dma_filter", "Filter" },
        { "cfg_dma_format", "Format" },
        { "cfg_dma_advance", "Advanced" },
        { "cfg_dma_recall_demod_info", "Bit errors" },
    };
    return table;
}

const settings_field_t& get_settings_field(std::string_view name)
{
    const std::vector<settings_field_t>& table = get_settings_fields();
    return *std::find_if(table.begin(), table.end(), [name](const settings_field_t& field) { return field.name == name; });
}

std::string get_bits_text(const vrim::bit_array& bits)
{
    std::string text;
    lib_common_list_parse_t::bit_list_to_string(bits, text);
    return text;
}
} // namespace dmatool
