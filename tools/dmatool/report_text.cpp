#include "analyze_command.h"
#include "tool_text.h"

#include <fmt/format.h>

#include <algorithm>

namespace dmatool
{
using namespace vrim::dma_demod_lib;

namespace
{
constexpr std::size_t shown_symbols = 64;

std::string make_row(const std::string& name, const std::string& text)
{
    return fmt::format("{:<20}{}\n", name, text);
}

/// A figure to four decimals, right-aligned; not-a-number and infinities as words.
std::string make_figure(const std::string& name, float value, const std::string& unit)
{
    return fmt::format("  {:<18}{:>14.4f} {}\n", name, value, unit);
}

/// rms, largest and smallest value with the symbols they stand at.
std::string make_extremes(const std::string& name, const std::string& unit, float rms, float max, std::uint32_t max_idx,
                          float min, std::uint32_t min_idx)
{
    return fmt::format("  {:<18}{:>14.4f} {:<4} max {:>10.4f} at {:<8} min {:>10.4f} at {}\n", name, rms, unit, max, max_idx, min,
                       min_idx);
}

std::string get_filter_name(const std::vector<filter_row_t>& table, std::uint32_t value)
{
    const auto row =
        std::find_if(table.begin(), table.end(), [value](const filter_row_t& entry) { return entry.value == value; });
    return row == table.end() ? std::to_string(value) : row->name;
}

std::string make_symbols(const std::vector<std::uint32_t>& symbols)
{
    const std::size_t count = std::min(symbols.size(), shown_symbols);
    const auto largest = std::max_element(symbols.begin(), symbols.begin() + static_cast<std::ptrdiff_t>(count));
    const std::size_t width = count == 0 ? 1 : std::to_string(*largest).size();
    std::string text = fmt::format("Decoded symbols     {} of {}", count, symbols.size());
    for (std::size_t i = 0; i < count; ++i)
    {
        text += i % 32 == 0 ? "\n  " : " ";
        text += fmt::format("{:>{}}", symbols[i], width);
    }
    return text + "\n";
}
} // namespace

std::string make_text_report(const analysis_t& analysis)
{
    const lib_dma_segment_configure_manager_t& segment = analysis.frame.get_segment(0);
    const lib_dma_format_configure_manager_t& format = segment.get_format_configure();
    const lib_dma_filter_configure_manager_t& filter = segment.get_filter_configure();
    const lib_dma_time_configure_manager_t& time = segment.get_time_configure();
    const lib_dma_phy_data_manager_t& store = analysis.phy.get_data_manager();
    const error_summary_t& summary = store.get_error_summary(0);
    const err_table_t& table = store.get_err_table(0);

    std::string text;
    text += make_row("Capture", get_one_line(analysis.capture.data_file));
    text += make_row("", fmt::format("{}, {} samples from {} on, {} Hz", analysis.capture.datatype, analysis.sample_count,
                                     analysis.capture.start, get_short_number(analysis.capture.sample_rate)));
    text += make_row("Signal", fmt::format("{} {}, {} symbols/s", analysis.format.group->name, analysis.format.format->name,
                                           format.get_symbol_rate()));
    text += make_row("Filters", fmt::format("measurement {}, reference {}, alpha {}, beta {}, {} symbols",
                                            get_filter_name(get_meas_filter_table(), filter.get_meas_filter_type()),
                                            get_filter_name(get_ref_filter_table(), filter.get_ref_filter_type()),
                                            get_short_number(filter.get_filter_alpha()),
                                            get_short_number(filter.get_filter_beta()), filter.get_filter_length()));
    const std::int32_t offset = time.get_meas_offset();
    // Half of the run-in is used up in front of the interval; the symbol clock decides which symbol is the first.
    const lib_dma_demod_config_mgr& config = store.get_dma_demod_config_mgr(0);
    const lib_dma_advance_configure_manager_t& advance = segment.get_advance_configure();
    const std::uint64_t run_in = config.head_len / analysis.rate.working_samples_per_symbol +
                                 (advance.get_equalizer() ? config.equalizer_head_len : 0);
    text +=
        make_row("Interval",
                 fmt::format("{} symbols, {} about {} symbols of run-in, {} points per symbol", time.get_meas_interval(),
                             offset == -1 ? std::string("placed automatically behind") : fmt::format("offset {} behind", offset),
                             run_in, static_cast<std::uint32_t>(format.get_points_per_symbol())));
    if (analysis.frame.get_sync_search())
    {
        text += make_row("Sync word", fmt::format("{}, {}", analysis.frame.get_sync_pattern_bit(),
                                                  store.get_sync_search_flag(0) ? "found" : "not found"));
    }
    if (advance.get_equalizer())
    {
        text += make_row("Equalizer", fmt::format("{} symbols, {} taps, step {}, {} passes", advance.get_equalizer_filter_len(),
                                                  config.equalizer_filter.size(), get_short_number(advance.get_equalizer_coef()),
                                                  config.equalizer_loop_number));
    }
    const bool rms_flag = advance.get_evm_normalization_ref() == LIB_DMA_EVM_NORMALIZE_RMS;
    text += make_row("Percent of", rms_flag ? "the rms of the reference symbols" : "the largest reference symbol");
    text += "\n";
    text +=
        make_extremes("EVM", "%", summary.evm_rms, summary.evm_max, summary.evm_max_idx, summary.evm_min, summary.evm_min_idx);
    text += make_extremes("Magnitude error", "%", summary.mag_err_rms, summary.mag_err_max, summary.mag_err_max_idx,
                          summary.mag_err_min, summary.mag_err_min_idx);
    text += make_extremes("Phase error", "deg", summary.phase_err_rms, summary.phase_err_max, summary.phase_err_max_idx,
                          summary.phase_err_min, summary.phase_err_min_idx);
    text += make_figure("SNR", summary.snr, "dB");
    text += make_figure("IQ offset", table.iq_offset, "dB");
    text += make_figure("Quadrature error", table.quad_error, "deg");
    text += make_figure("Gain imbalance", table.gain_imbalance, "dB");
    text += make_figure("Frequency error", table.frequency_error, "Hz");
    if (analysis.format.group->value == LIB_DMA_GROUP_FSK)
    {
        text += make_figure("Deviation", static_cast<float>(summary.fsk_deviation), "Hz");
        text += make_figure("Highest frequency", static_cast<float>(summary.fsk_deviation_max), "Hz");
        text += make_figure("Lowest frequency", static_cast<float>(summary.fsk_deviation_min), "Hz");
    }
    text += fmt::format("  {:<18}{:>14.6f}\n", "Rho", table.rho);
    // Exactly 0 is what the store starts with: nobody measured it.
    if (summary.carrier_power != 0.0f)
    {
        text += make_figure("Carrier power", summary.carrier_power, "dBm");
    }
    text += "\n";
    text += make_symbols(store.get_decode_bit(0));
    return text;
}
} // namespace dmatool
