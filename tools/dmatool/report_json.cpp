#include "analyze_command.h"

#include "json_number.h"

#include <complex>

namespace dmatool
{
using namespace vrim::dma_demod_lib;

namespace
{
/// Pairs of real and imaginary part.
json_t to_points(const vrim::complex_array& values)
{
    json_t list = json_t::array();
    for (const std::complex<float>& value : values)
    {
        list.push_back(json_t::array({ to_number(value.real()), to_number(value.imag()) }));
    }
    return list;
}

json_t make_error_summary(const error_summary_t& summary, bool traces)
{
    json_t out;
    out["snr"] = to_number(summary.snr);
    out["evm_rms"] = to_number(summary.evm_rms);
    out["evm_max"] = to_number(summary.evm_max);
    out["evm_max_idx"] = summary.evm_max_idx;
    out["mag_err_rms"] = to_number(summary.mag_err_rms);
    out["mag_err_max"] = to_number(summary.mag_err_max);
    out["mag_err_max_idx"] = summary.mag_err_max_idx;
    out["phase_err_rms"] = to_number(summary.phase_err_rms);
    out["phase_err_max"] = to_number(summary.phase_err_max);
    out["phase_err_max_idx"] = summary.phase_err_max_idx;
    if (traces)
    {
        out["evm_trace"] = to_numbers(summary.evm_trace);
        out["mag_err_trace"] = to_numbers(summary.mag_err_trace);
        out["phase_err_trace"] = to_numbers(summary.phase_err_trace);
    }
    out["evm_min"] = to_number(summary.evm_min);
    out["evm_min_idx"] = summary.evm_min_idx;
    out["mag_err_min"] = to_number(summary.mag_err_min);
    out["mag_err_min_idx"] = summary.mag_err_min_idx;
    out["phase_err_min"] = to_number(summary.phase_err_min);
    out["phase_err_min_idx"] = summary.phase_err_min_idx;
    out["depth"] = to_number(summary.depth);
    // Exactly 0 is what the store starts with: nobody measured it.
    out["carrier_power"] = summary.carrier_power != 0.0f ? to_number(summary.carrier_power) : json_t(nullptr);
    out["fsk_deviation"] = to_number(summary.fsk_deviation);
    out["fsk_deviation_max"] = to_number(summary.fsk_deviation_max);
    out["fsk_deviation_min"] = to_number(summary.fsk_deviation_min);
    out["apsk_r2_ratio"] = to_number(summary.apsk_r2_ratio);
    out["apsk_r3_ratio"] = to_number(summary.apsk_r3_ratio);
    if (traces)
    {
        out["meas_data"] = to_points(summary.meas_data);
        out["ref_data"] = to_points(summary.ref_data);
    }
    return out;
}

json_t make_err_table(const err_table_t& table)
{
    json_t out;
    out["quad_error"] = to_number(table.quad_error);
    out["gain_imbalance"] = to_number(table.gain_imbalance);
    out["iq_offset"] = to_number(table.iq_offset);
    out["frequency_error"] = to_number(table.frequency_error);
    out["rho"] = to_number(table.rho);
    return out;
}

/// Values that the store keeps as real parts.
json_t to_real_parts(const vrim::complex_array& values)
{
    json_t list = json_t::array();
    for (const std::complex<float>& value : values)
    {
        list.push_back(to_number(value.real()));
    }
    return list;
}

json_t make_config(const lib_dma_demod_config_mgr& config, bool traces)
{
    json_t out;
    out["pre_time"] = to_number(config.pre_time);
    out["equalizer_time"] = to_number(config.equalizer_time);
    out["minseglen"] = to_number(config.minseglen);
    out["sample_rate"] = config.sample_rate;
    out["data_len"] = config.data_len;
    out["burst_raise_idx"] = config.burst_raise_idx;
    out["burst_raise_flag"] = config.burst_raise_flag;
    out["burst_fall_idx"] = config.burst_fall_idx;
    out["burst_fall_flag"] = config.burst_fall_flag;
    out["burst_len"] = config.burst_len;
    out["data_start"] = config.data_start;
    out["pre_num_max"] = config.pre_num_max;
    out["pre_num"] = config.pre_num;
    out["equalizer_head_len"] = config.equalizer_head_len;
    out["head_len"] = config.head_len;
    out["pulse_center_sym"] = config.pulse_center_sym;
    out["result_start"] = config.result_start;
    out["result_stop"] = config.result_stop;
    out["carrier_frequency_offset"] = to_number(config.carrier_frequency_offset);
    out["equalizer_loop_number"] = config.equalizer_loop_number;
    if (traces || config.equalizer_filter.size() > 1)
    {
        out["equalizer_filter"] = to_points(config.equalizer_filter);
    }
    return out;
}

json_t make_settings(const analysis_t& analysis)
{
    const lib_dma_segment_configure_manager_t& segment = analysis.frame.get_segment(0);
    const lib_dma_format_configure_manager_t& format = segment.get_format_configure();
    const lib_dma_filter_configure_manager_t& filter = segment.get_filter_configure();
    const lib_dma_time_configure_manager_t& time = segment.get_time_configure();
    const lib_dma_advance_configure_manager_t& advance = segment.get_advance_configure();
    const auto find_name = [](const std::vector<filter_row_t>& table, std::uint32_t value)
    {
        for (const filter_row_t& row : table)
        {
            if (row.value == value)
            {
                return row.enumerator;
            }
        }
        return std::to_string(value);
    };

    json_t out;
    out["format_group"] = analysis.format.group->enumerator;
    out[analysis.format.group->key] = analysis.format.format->enumerator;
    out["symbol_rate"] = format.get_symbol_rate();
    out["sample_rate"] = analysis.rate.sample_rate;
    out["points_per_symbol"] = static_cast<std::uint32_t>(format.get_points_per_symbol());
    out["meas_filter_type"] = find_name(get_meas_filter_table(), filter.get_meas_filter_type());
    out["ref_filter_type"] = find_name(get_ref_filter_table(), filter.get_ref_filter_type());
    out["filter_alpha"] = to_number(filter.get_filter_alpha());
    out["filter_beta"] = to_number(filter.get_filter_beta());
    out["filter_length"] = filter.get_filter_length();
    out["meas_interval"] = time.get_meas_interval();
    out["meas_offset"] = time.get_meas_offset();
    out["search_length"] = to_number(analysis.frame.get_search_length());
    out["bandwidth"] = analysis.frame.get_bandwidth();
    out["sync_search"] = analysis.frame.get_sync_search();
    out["sync_pattern_bit"] = analysis.frame.get_sync_search() ? analysis.frame.get_sync_pattern_bit() : std::string();
    out["sync_offset"] = to_number(analysis.frame.get_sync_offset());
    out["evm_normalization_ref"] = advance.get_evm_normalization_ref() == LIB_DMA_EVM_NORMALIZE_RMS
                                       ? "LIB_DMA_EVM_NORMALIZE_RMS"
                                       : "LIB_DMA_EVM_NORMALIZE_CONSTELLATION_MAX";
    out["clock_adjust"] = to_number(advance.get_clock_adjust());
    out["iq_rotation"] = to_number(advance.get_iq_rotation());
    out["equalizer"] = advance.get_equalizer();
    out["equalizer_filter_len"] = advance.get_equalizer_filter_len();
    out["equalizer_coef"] = to_number(advance.get_equalizer_coef());
    return out;
}
} // namespace

std::string make_json_report(const analysis_t& analysis, bool traces)
{
    const lib_dma_phy_data_manager_t& store = analysis.phy.get_data_manager();
    json_t out;
    out["result_code"] = analysis.result_code;

    json_t& capture = out["capture"];
    capture["data_file"] = analysis.capture.data_file;
    capture["datatype"] = analysis.capture.datatype;
    capture["sample_rate"] = to_number(analysis.capture.sample_rate);
    capture["start"] = analysis.capture.start;
    capture["samples"] = analysis.sample_count;
    capture["samples_needed"] = analysis.needed_samples;

    out["settings"] = make_settings(analysis);
    json_t segment;
    segment["error_summary"] = make_error_summary(store.get_error_summary(0), traces);
    segment["err_table"] = make_err_table(store.get_err_table(0));
    segment["decode_bit"] = store.get_decode_bit(0);
    segment["decode_bit_flag"] = store.get_decode_bit_flag(0);
    segment["sync_search_flag"] = store.get_sync_search_flag(0);
    segment["brust_search_flag"] = store.get_brust_search_flag(0);
    segment["config"] = make_config(store.get_dma_demod_config_mgr(0), traces);
    if (analysis.frame.get_segment(0).get_advance_configure().get_equalizer())
    {
        segment["eq_impulse_i"] = to_real_parts(store.get_eq_impulse_i());
        segment["eq_impulse_q"] = to_real_parts(store.get_eq_impulse_q());
        segment["eq_frequency_response"] = to_points(store.get_eq_frequency_response());
    }
    if (traces)
    {
        segment["iq_raw_time"] = to_points(store.get_iq_raw_time(0));
        segment["iq_meas_time_constellation"] = to_points(store.get_iq_meas_time_constellation(0));
        segment["iq_ref_time_constellation"] = to_points(store.get_iq_ref_time_constellation(0));
        segment["error_vector"] = to_points(store.get_error_vector(0));
        segment["mag_error_vector"] = to_points(store.get_mag_error_vector(0));
        segment["phase_error_vector"] = to_points(store.get_phase_error_vector(0));
    }
    out["segments"] = json_t::array({ segment });
    out["notes"] = analysis.notes;
    // File names need not be UTF-8; a report with a replacement character is better than none.
    return out.dump(2, ' ', false, json_t::error_handler_t::replace) + "\n";
}
} // namespace dmatool
