#pragma once

#include "lib_dma_phy.h"
#include "message_capture.h"
#include "signal_maker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <numbers>
#include <string_view>
#include <vector>

/// Runs of the driver on QPSK captures.
namespace driver_test
{
using namespace vrim;
using namespace vrim::dma_demod_lib;
using common_log::log_level_end;
using common_log::log_level_error;
using common_log::log_level_info;

inline constexpr const char* offset_text = "warning! offset > RawData.size!\n";
inline constexpr const char* raised_text = "search_length(s)can not be less than minseglen(%.6f) !\n";
inline constexpr const char* cut_text = "search_length + pre_num_max(point)can not more than raw data len(%u) !\n";
inline constexpr const char* short_block_text = "warning!,dma_phy_process demod data less than pre_num.\n";
inline constexpr const char* failed_text = "deal_demo_process demod fail!\n";
inline constexpr const char* equalizer_text = "lib_dma_phy_common_t::apply_equailizer.\n";

struct segment_setting_t
{
    lib_dma_modulation_type_t group = LIB_DMA_GROUP_PSK;
    std::uint64_t symbol_rate = 1'000'000; ///< Hz
    lib_dma_point_per_symbol_type_t points = LIB_DMA_POINT4;
    std::uint32_t interval = 300; ///< symbols
    std::int32_t offset = 0;      ///< symbols
    bool inverted = false;
    bool equalizer = false;
    std::uint32_t equalizer_len = 21; ///< taps
};

inline lib_dma_frame_configure_manager_t make_frame(const std::vector<segment_setting_t>& settings)
{
    const log_capture_t quiet; // groups without a preset constellation say so
    lib_dma_frame_configure_manager_t frame;
    frame.set_segment_number(static_cast<std::uint32_t>(settings.size()));
    for (std::uint32_t s = 0; s < settings.size(); ++s)
    {
        const segment_setting_t& setting = settings[s];
        lib_dma_segment_configure_manager_t& segment = frame.get_segment(s);
        lib_dma_format_configure_manager_t& format = segment.get_format_configure();
        format.set_format_group(setting.group);
        format.set_psk_format(LIB_DMA_MODULATION_PSK_QPSK);
        format.set_symbol_rate(setting.symbol_rate);
        format.set_points_per_symbol(setting.points);
        lib_dma_filter_configure_manager_t& filter = segment.get_filter_configure();
        filter.set_meas_filter_type(LIB_DMA_MEAS_ROOT_RAISED_COSINE_FILTER);
        filter.set_ref_filter_type(LIB_DMA_REF_RAISED_COSINE_FILTER);
        filter.set_filter_alpha(0.35f);
        filter.set_filter_length(64);
        lib_dma_time_configure_manager_t& time = segment.get_time_configure();
        time.set_meas_interval(setting.group, setting.interval);
        time.set_meas_offset(setting.offset);
        lib_dma_advance_configure_manager_t& advance = segment.get_advance_configure();
        advance.set_evm_normalization_ref(LIB_DMA_EVM_NORMALIZE_RMS);
        advance.set_spectrum_type(setting.inverted ? LIB_DMA_SPECTRUM_INVERT : LIB_DMA_SPECTRUM_MORMAL);
        advance.set_equalizer(setting.equalizer);
        advance.set_equalizer_filter_len(setting.equalizer_len);
    }
    return frame;
}

inline dma_test::signal_t make_qpsk(std::uint32_t symbols, std::uint32_t samples_per_symbol)
{
    dma_test::signal_setting_t setting;
    setting.symbol_count = symbols;
    setting.sample_rate = 1e6 * samples_per_symbol;
    setting.seed = 5;
    return dma_test::make_signal(setting);
}

/// Level of the measured symbols' correlation with those sent from `lag` on: 1 where they are the same up to gain and phase.
inline double cal_correlation(const complex_array& measured, const std::vector<std::complex<double>>& sent, std::size_t lag)
{
    std::complex<double> sum = 0.0;
    double measured_power = 0.0;
    double sent_power = 0.0;
    for (std::size_t i = 0; i < measured.size() && i + lag < sent.size(); ++i)
    {
        const std::complex<double> value(measured[i]);
        sum += value * std::conj(sent[i + lag]);
        measured_power += std::norm(value);
        sent_power += std::norm(sent[i + lag]);
    }
    return std::abs(sum) / std::sqrt(measured_power * sent_power);
}

/// Expects `raw` to begin with the samples of the capture from `start` on, up to rounding.
inline void expect_block(const complex_array& raw, const complex_array& capture, std::size_t start, std::size_t length, float tolerance)
{
    ASSERT_GE(raw.size(), length);
    ASSERT_GE(capture.size(), start + length);
    float largest = 0.0f;
    for (std::size_t i = 0; i < length; ++i)
        largest = std::max(largest, std::abs(raw[i] - capture[start + i]));
    EXPECT_LE(largest, tolerance) << "from " << start << " on";
}

/// The capture behind `times` passes of the filter that stands in front of an analysis, for a bandwidth that takes the whole
/// rate. lib_dma_phy_filter_test.cpp holds the filter itself to tones.
inline complex_array limit(complex_array capture, int times = 1)
{
    lib_dma_phy_t analyser;
    lib_dma_demod_config_mgr config;
    config.sample_rate = 1; // below every bandwidth
    for (int pass = 0; pass < times; ++pass)
        analyser.deal_filterpm_process(0, config, capture);
    return capture;
}

/// The inverted capture in closed form: reversing and conjugating the bins is conj(x[n]) e^(-j 2 pi n / N).
inline complex_array invert(const complex_array& capture)
{
    complex_array result(capture.size());
    for (std::size_t n = 0; n < capture.size(); ++n)
    {
        const double angle = -2.0 * std::numbers::pi * static_cast<double>(n) / static_cast<double>(capture.size());
        result[n] = std::complex<float>(std::conj(std::complex<double>(capture[n])) * std::polar(1.0, angle));
    }
    return result;
}

/// Runs an analysis without a word and keeps what it said.
struct run_t
{
    explicit run_t(lib_dma_phy_t& analyser) { code = analyser.dma_phy_process(); }

    log_capture_t log;
    trace_capture_t trace;
    std::int32_t code = -1;
};

/// An analyser loaded with a frame and a capture; the rate is set unless it is 0.
inline lib_dma_phy_t make_analyser(const lib_dma_frame_configure_manager_t& frame, const complex_array& capture, double sample_rate)
{
    lib_dma_phy_t analyser;
    analyser.set_frame_configure(frame);
    if (sample_rate > 0.0)
        analyser.set_sample_rate(sample_rate);
    analyser.set_demod_data(capture);
    return analyser;
}

inline const lib_dma_demod_config_mgr& get_record(lib_dma_phy_t& analyser, std::uint32_t segment = 0)
{
    return analyser.get_data_manager().get_dma_demod_config_mgr(segment);
}

inline bool has_error_starting(const run_t& run, common_log::log_level_t level, std::string_view start)
{
    const auto& records = run.log.get_records();
    return std::any_of(records.begin(), records.end(),
                       [&](const common_log::log_record_t& record)
                       { return record.level == level && record.message.starts_with(start); });
}
} // namespace driver_test
