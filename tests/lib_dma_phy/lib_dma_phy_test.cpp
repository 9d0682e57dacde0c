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
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using common_log::log_level_end;
using common_log::log_level_error;
using common_log::log_level_info;

namespace
{
constexpr const char* offset_text = "warning! offset > RawData.size!\n";
constexpr const char* raised_text = "search_length(s)can not be less than minseglen(%.6f) !\n";
constexpr const char* cut_text = "search_length + pre_num_max(point)can not more than raw data len(%u) !\n";
constexpr const char* short_block_text = "warning!,dma_phy_process demod data less than pre_num.\n";
constexpr const char* failed_text = "deal_demo_process demod fail!\n";
constexpr const char* equalizer_text = "lib_dma_phy_common_t::apply_equailizer.\n";

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

lib_dma_frame_configure_manager_t make_frame(const std::vector<segment_setting_t>& settings)
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

dma_test::signal_t make_qpsk(std::uint32_t symbols, std::uint32_t samples_per_symbol)
{
    dma_test::signal_setting_t setting;
    setting.symbol_count = symbols;
    setting.sample_rate = 1e6 * samples_per_symbol;
    setting.seed = 5;
    return dma_test::make_signal(setting);
}

/// Level of the measured symbols' correlation with those sent from `lag` on: 1 where they are the same up to gain and phase.
double cal_correlation(const complex_array& measured, const std::vector<std::complex<double>>& sent, std::size_t lag)
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
void expect_block(const complex_array& raw, const complex_array& capture, std::size_t start, std::size_t length, float tolerance)
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
complex_array limit(complex_array capture, int times = 1)
{
    lib_dma_phy_t analyser;
    lib_dma_demod_config_mgr config;
    config.sample_rate = 1; // below every bandwidth
    for (int pass = 0; pass < times; ++pass)
        analyser.deal_filterpm_process(0, config, capture);
    return capture;
}

/// The inverted capture in closed form: reversing and conjugating the bins is conj(x[n]) e^(-j 2 pi n / N).
complex_array invert(const complex_array& capture)
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
lib_dma_phy_t make_analyser(const lib_dma_frame_configure_manager_t& frame, const complex_array& capture, double sample_rate)
{
    lib_dma_phy_t analyser;
    analyser.set_frame_configure(frame);
    if (sample_rate > 0.0)
        analyser.set_sample_rate(sample_rate);
    analyser.set_demod_data(capture);
    return analyser;
}

const lib_dma_demod_config_mgr& get_record(lib_dma_phy_t& analyser, std::uint32_t segment = 0)
{
    return analyser.get_data_manager().get_dma_demod_config_mgr(segment);
}

bool has_error_starting(const run_t& run, common_log::log_level_t level, std::string_view start)
{
    const auto& records = run.log.get_records();
    return std::any_of(records.begin(), records.end(),
                       [&](const common_log::log_record_t& record)
                       { return record.level == level && record.message.starts_with(start); });
}
} // namespace

TEST(Driver, StandsStillUntilItsFirstRun)
{
    lib_dma_phy_t analyser;
    EXPECT_EQ(analyser.get_process_state(), LIB_DMA_PROCESS_STOP);
    EXPECT_TRUE(analyser.set_frame_configure(make_frame({ {} })));
    EXPECT_TRUE(analyser.set_demod_data({}));
    analyser.set_sample_rate(1e6);
    EXPECT_EQ(analyser.get_process_state(), LIB_DMA_PROCESS_STOP);
}

TEST(Driver, MeasuresACleanCapture)
{
    const dma_test::signal_t signal = make_qpsk(600, 4);
    lib_dma_phy_t analyser = make_analyser(make_frame({ {} }), signal.samples, 4e6);
    const run_t run(analyser);
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(analyser.get_process_state(), LIB_DMA_PROCESS_RUNNING);
    const lib_dma_phy_data_manager_t& store = analyser.get_data_manager();
    EXPECT_LT(store.get_error_summary(0).evm_rms, 0.6f);
    EXPECT_LT(std::abs(store.get_err_table(0).frequency_error), 1.0f);
    EXPECT_EQ(store.get_psk_modulation_param().modulation_order, 4u);
    EXPECT_EQ(get_record(analyser).equalizer_loop_number, 1u);
    // The block begins at the offset and loses 90 symbols of run-in.
    EXPECT_GT(cal_correlation(store.get_iq_meas_time_constellation(0), signal.points, 90), 0.999);
    // Nothing went wrong in the log.
    for (const common_log::log_record_t& record : run.log.get_records())
        EXPECT_EQ(record.level, log_level_info) << record.message;
}

TEST(Driver, ClearsTheDecodeFlagWithoutSyncSearch)
{
    lib_dma_phy_t analyser = make_analyser(make_frame({ {} }), make_qpsk(600, 4).samples, 4e6);
    const run_t run(analyser);
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(analyser.get_data_manager().get_decode_bit(0).size(), 300u);
    EXPECT_FALSE(analyser.get_data_manager().get_decode_bit_flag(0));
    EXPECT_FALSE(analyser.get_data_manager().get_sync_search_flag(0));
}

TEST(Driver, LogsAndPrintsTheStationsOfARunInTheirOrder)
{
    lib_dma_phy_t analyser = make_analyser(make_frame({ {} }), make_qpsk(600, 4).samples, 4e6);
    const run_t run(analyser);
    ASSERT_EQ(run.code, 0);
    std::size_t place = 0;
    for (const char* const station : {
             "set sample_rate = 4000000 to demod_config.sample_rate\n",
             "lte resample from 4000000 hz to 8000000 hz\n",
             "dma_phy_process deal_resample time: ",
             "dma_phy_process(equalizer loop number: 1)all time: ",
             "dma_phy_process deal_demo_process time: ",
             "dma demo end !\n",
         })
    {
        place = run.trace.get_text().find(station, place);
        ASSERT_NE(place, std::string::npos) << station;
    }
    EXPECT_TRUE(run.trace.get_text().ends_with("dma demo end !\n"));

    const std::vector<std::string> messages = {
        raised_text,
        "lib_dma_phy_t::input_demod_data_len,input_data_len = %u \n",
        "demo_info.burst_raise_idx(refer to raw_time) = %u\n",
        "demo_info.burst_fall_idx(refer to raw_time)  = %u\n",
        "demo_info.burst_len  = %u\n",
        "demo_info.data_start = %u\n",
        "demod_data_len  = %u\n",
        "pulse_center_sym = %d\n",
        "deal_demo_process start!\n",
    };
    ASSERT_GE(run.log.get_records().size(), messages.size());
    for (std::size_t i = 0; i < messages.size(); ++i)
    {
        EXPECT_EQ(run.log.get_records()[i].message, messages[i]);
        EXPECT_EQ(run.log.get_records()[i].level, log_level_info);
    }
}

TEST(Driver, PassesALimitedCaptureAtTheWorkingRateUnchanged)
{
    segment_setting_t setting;
    setting.points = LIB_DMA_POINT8;
    const complex_array samples = make_qpsk(600, 8).samples;
    lib_dma_phy_t analyser = make_analyser(make_frame({ setting }), samples, 0.0);
    const run_t run(analyser);
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(get_record(analyser).sample_rate, 8'000'000u);
    EXPECT_EQ(run.trace.get_text().find("lte resample"), std::string::npos);
    const complex_array& raw = analyser.get_data_manager().get_iq_raw_time(0);
    ASSERT_EQ(raw.size(), 300u * 8u);
    complex_array lifted = samples;
    for (std::complex<float>& sample : lifted)
        sample += std::complex<float>(1e-11f, 1e-11f);
    const complex_array limited = limit(lifted);
    for (std::size_t i = 0; i < raw.size(); ++i)
        ASSERT_EQ(raw[i], limited[i]) << i;
}

TEST(Driver, LiftsSilenceByItsFloor)
{
    segment_setting_t setting;
    setting.points = LIB_DMA_POINT8;
    lib_dma_phy_t analyser = make_analyser(make_frame({ setting }), complex_array(5000, { 0.0f, 0.0f }), 0.0);
    const run_t run(analyser);
    const complex_array& raw = analyser.get_data_manager().get_iq_raw_time(0);
    ASSERT_GE(raw.size(), 300u * 8u);
    // The filter in front passes a constant but for its ripple, and rises over its own length.
    for (std::size_t i = 80; i < 300 * 8; ++i)
    {
        ASSERT_NEAR(raw[i].real(), 1e-11f, 1e-13f) << i;
        ASSERT_NEAR(raw[i].imag(), 1e-11f, 1e-13f) << i;
    }
}

TEST(Driver, RefusesAnEmptyCapture)
{
    lib_dma_phy_t analyser = make_analyser(make_frame({ {} }), {}, 4e6);
    const run_t run(analyser);
    EXPECT_EQ(run.code, 4);
    EXPECT_EQ(analyser.get_process_state(), LIB_DMA_PROCESS_STOP);
    // 300 symbols and 180 of run-in at 4 samples a symbol.
    EXPECT_NE(run.trace.get_text().find("lib_dma_phy_t::input_demod_data_len 0 does not satisfy min_data_len 1920\n"),
              std::string::npos)
        << run.trace.get_text();
    EXPECT_EQ(run.trace.get_text().find("dma demo end !"), std::string::npos);
}

TEST(Driver, RefusesAnIntervalLongerThanTheCapture)
{
    const dma_test::signal_t signal = make_qpsk(480, 4);
    lib_dma_phy_t enough = make_analyser(make_frame({ {} }), signal.samples, 4e6);
    EXPECT_EQ(run_t(enough).code, 0);

    complex_array cut = signal.samples;
    cut.pop_back();
    lib_dma_phy_t analyser = make_analyser(make_frame({ {} }), cut, 4e6);
    const run_t run(analyser);
    EXPECT_EQ(run.code, 4);
    EXPECT_EQ(analyser.get_process_state(), LIB_DMA_PROCESS_STOP);
    EXPECT_NE(run.trace.get_text().find("lib_dma_phy_t::input_demod_data_len 1919 does not satisfy min_data_len 1920\n"),
              std::string::npos);
}

TEST(Driver, RunsAgainAfterAFailure)
{
    lib_dma_phy_t analyser = make_analyser(make_frame({ {} }), {}, 4e6);
    EXPECT_EQ(run_t(analyser).code, 4);
    analyser.set_demod_data(make_qpsk(600, 4).samples);
    EXPECT_EQ(run_t(analyser).code, 0);
    EXPECT_EQ(analyser.get_process_state(), LIB_DMA_PROCESS_RUNNING);
    EXPECT_LT(analyser.get_data_manager().get_error_summary(0).evm_rms, 0.6f);
}

TEST(Driver, GivesTheSameResultsAgain)
{
    const complex_array samples = make_qpsk(600, 4).samples;
    lib_dma_phy_t analyser = make_analyser(make_frame({ {} }), samples, 4e6);
    ASSERT_EQ(run_t(analyser).code, 0);
    const lib_dma_phy_data_manager_t first = analyser.get_data_manager();
    analyser.set_demod_data(samples);
    ASSERT_EQ(run_t(analyser).code, 0);
    analyser.clear_data();
    const lib_dma_phy_data_manager_t& second = analyser.get_data_manager();
    EXPECT_EQ(second.get_error_summary(0).evm_rms, first.get_error_summary(0).evm_rms);
    EXPECT_EQ(second.get_error_summary(0).carrier_power, first.get_error_summary(0).carrier_power);
    EXPECT_EQ(second.get_error_summary(0).evm_trace, first.get_error_summary(0).evm_trace);
    EXPECT_EQ(second.get_err_table(0).frequency_error, first.get_err_table(0).frequency_error);
    EXPECT_EQ(second.get_decode_bit(0), first.get_decode_bit(0));
    EXPECT_EQ(second.get_iq_meas_time_constellation(0), first.get_iq_meas_time_constellation(0));
    EXPECT_EQ(second.get_iq_ref_time_constellation(0), first.get_iq_ref_time_constellation(0));
    EXPECT_EQ(second.get_iq_raw_time(0), first.get_iq_raw_time(0));
    EXPECT_EQ(second.get_error_vector(0), first.get_error_vector(0));
    EXPECT_EQ(second.get_dma_demod_config_mgr(0).equalizer_loop_number, 1u);
    EXPECT_EQ(second.get_dma_demod_config_mgr(0).result_start, first.get_dma_demod_config_mgr(0).result_start);
}

TEST(Driver, LimitsTheCaptureOnceMoreInASecondRunWithoutNewData)
{
    segment_setting_t setting;
    setting.points = LIB_DMA_POINT8;
    const complex_array samples = make_qpsk(600, 8).samples;
    lib_dma_phy_t analyser = make_analyser(make_frame({ setting }), samples, 0.0);
    ASSERT_EQ(run_t(analyser).code, 0);
    expect_block(analyser.get_data_manager().get_iq_raw_time(0), limit(samples), 0, 300 * 8, 1e-10f);
    ASSERT_EQ(run_t(analyser).code, 0);
    expect_block(analyser.get_data_manager().get_iq_raw_time(0), limit(samples, 2), 0, 300 * 8, 1e-10f);
}

TEST(Driver, ForgetsTheLongerRunBefore)
{
    // What a long run left must not show through in a shorter one.
    const complex_array samples = make_qpsk(900, 4).samples;
    segment_setting_t longer;
    longer.interval = 600;
    lib_dma_phy_t used = make_analyser(make_frame({ longer, longer }), samples, 4e6);
    ASSERT_EQ(run_t(used).code, 0);
    used.set_frame_configure(make_frame({ {} }));
    used.set_demod_data(samples);
    ASSERT_EQ(run_t(used).code, 0);
    lib_dma_phy_t fresh = make_analyser(make_frame({ {} }), samples, 4e6);
    ASSERT_EQ(run_t(fresh).code, 0);
    EXPECT_EQ(used.get_data_manager().get_decode_bit(0), fresh.get_data_manager().get_decode_bit(0));
    EXPECT_EQ(used.get_data_manager().get_error_summary(0).evm_trace, fresh.get_data_manager().get_error_summary(0).evm_trace);
    EXPECT_EQ(used.get_data_manager().get_iq_raw_time(0), fresh.get_data_manager().get_iq_raw_time(0));
    EXPECT_THROW(static_cast<void>(used.get_data_manager().get_err_table(1)), std::out_of_range);
}

TEST(Driver, InvertsTheCaptureItselfForEachInvertedSegment)
{
    segment_setting_t setting;
    setting.points = LIB_DMA_POINT8;
    setting.inverted = true;
    segment_setting_t second = setting;
    second.offset = 200;
    const complex_array samples = make_qpsk(800, 8).samples;
    lib_dma_phy_t analyser = make_analyser(make_frame({ setting, second }), samples, 0.0);
    EXPECT_EQ(run_t(analyser).code, 0);
    constexpr std::size_t length = 300 * 8;
    expect_block(analyser.get_data_manager().get_iq_raw_time(0), limit(invert(samples)), 0, length, 2e-6f);
    // The second inversion restored it; the filter has passed twice.
    expect_block(analyser.get_data_manager().get_iq_raw_time(1), limit(invert(limit(invert(samples)))), (200 - 90) * 8, length, 2e-6f);

    // One inversion a run: the second run sees the first one's capture.
    lib_dma_phy_t alone = make_analyser(make_frame({ setting }), samples, 0.0);
    EXPECT_EQ(run_t(alone).code, 0);
    expect_block(alone.get_data_manager().get_iq_raw_time(0), limit(invert(samples)), 0, length, 2e-6f);
    EXPECT_EQ(run_t(alone).code, 0);
    expect_block(alone.get_data_manager().get_iq_raw_time(0), limit(invert(limit(invert(samples)))), 0, length, 2e-6f);
}

TEST(Driver, MeasuresAnInvertedCapture)
{
    const dma_test::signal_t signal = make_qpsk(600, 4);
    complex_array mirrored = signal.samples;
    for (std::complex<float>& value : mirrored)
        value = std::conj(value);
    segment_setting_t setting;
    setting.inverted = true;
    lib_dma_phy_t analyser = make_analyser(make_frame({ setting }), mirrored, 4e6);
    EXPECT_EQ(run_t(analyser).code, 0);
    EXPECT_LT(analyser.get_data_manager().get_error_summary(0).evm_rms, 0.6f);
    EXPECT_GT(cal_correlation(analyser.get_data_manager().get_iq_meas_time_constellation(0), signal.points, 90), 0.999);
    // The capture of 2400 samples comes back one bin low.
    EXPECT_NEAR(analyser.get_data_manager().get_err_table(0).frequency_error, -4e6 / 2400.0, 2.0);
}

TEST(Driver, RaisesASearchLengthBelowTheLongestSegment)
{
    segment_setting_t longer;
    longer.interval = 350;
    longer.offset = 100;
    lib_dma_frame_configure_manager_t frame = make_frame({ {}, longer });
    frame.set_search_length(100e-6);
    lib_dma_phy_t analyser = make_analyser(frame, make_qpsk(800, 4).samples, 4e6);
    const run_t run(analyser);
    EXPECT_EQ(run.code, 0);
    // Once: the raised length holds for the segments to come.
    EXPECT_EQ(run.log.count(log_level_info, raised_text), 1);
    EXPECT_NEAR(get_record(analyser).minseglen, 450e-6, 1e-15);
    EXPECT_EQ(get_record(analyser).data_len, 4u * (180 + 450));
    EXPECT_EQ(get_record(analyser, 1).data_len, 4u * (180 + 450));

    frame.set_search_length(450e-6);
    lib_dma_phy_t served = make_analyser(frame, make_qpsk(800, 4).samples, 4e6);
    const run_t quiet_run(served);
    EXPECT_EQ(quiet_run.code, 0);
    EXPECT_EQ(quiet_run.log.count(log_level_info, raised_text), 0);
}

TEST(Driver, CutsTheSearchToTheCapture)
{
    // 20720 samples are wanted and 10000 required.
    lib_dma_frame_configure_manager_t frame = make_frame({ {} });
    frame.set_sync_search(true);
    frame.set_search_length(0.005);
    lib_dma_phy_t analyser = make_analyser(frame, make_qpsk(3000, 4).samples, 4e6);
    const run_t run(analyser);
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(run.log.count(log_level_info, cut_text), 1);
    EXPECT_EQ(get_record(analyser).data_len, 12000u);
    EXPECT_EQ(get_record(analyser).burst_len, 12000u - 720u);

    lib_dma_phy_t whole = make_analyser(frame, make_qpsk(5180, 4).samples, 4e6);
    const run_t whole_run(whole);
    EXPECT_EQ(whole_run.code, 0);
    EXPECT_EQ(whole_run.log.count(log_level_info, cut_text), 0);
    EXPECT_EQ(get_record(whole).data_len, 20720u);
}

TEST(Driver, GoesOnWithAnIntervalLongerThanTheCaptureUnderSyncSearch)
{
    segment_setting_t setting;
    setting.interval = 5000;
    lib_dma_frame_configure_manager_t frame = make_frame({ setting });
    frame.set_sync_search(true);
    lib_dma_phy_t analyser = make_analyser(frame, make_qpsk(2500, 4).samples, 4e6);
    const run_t run(analyser);
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(run.log.count(log_level_info, cut_text), 1);
    EXPECT_EQ(get_record(analyser).data_len, 10000u);
    const std::size_t symbols = analyser.get_data_manager().get_decode_bit(0).size();
    EXPECT_GT(symbols, 2000u);
    EXPECT_LT(symbols, 2500u);
}

TEST(Driver, TakesTheWholeWindowForAnOffsetPastTheCapture)
{
    segment_setting_t setting;
    setting.points = LIB_DMA_POINT8;
    setting.interval = 1300;
    setting.offset = 1300;
    lib_dma_frame_configure_manager_t frame = make_frame({ setting });
    frame.set_sync_search(true); // accepts 10000 samples whatever is wanted
    frame.get_segment(0).get_time_configure().set_meas_offset(1300);
    const complex_array samples = make_qpsk(1250, 8).samples;
    lib_dma_phy_t analyser = make_analyser(frame, samples, 0.0);
    const run_t run(analyser);
    EXPECT_EQ(run.log.count(log_level_info, offset_text), 1);
    EXPECT_EQ(run.log.count(log_level_info, "deal_demo_process start!\n"), 1);
    expect_block(analyser.get_data_manager().get_iq_raw_time(0), limit(samples), 0, 10000, 1e-10f);
}

TEST(Driver, FindsNothingBehindAnOffsetOnTheEndOfTheCapture)
{
    segment_setting_t setting;
    setting.points = LIB_DMA_POINT8;
    setting.interval = 1300;
    lib_dma_frame_configure_manager_t frame = make_frame({ setting });
    frame.set_sync_search(true);
    frame.get_segment(0).get_time_configure().set_meas_offset(1250); // 10000 samples
    lib_dma_phy_t analyser = make_analyser(frame, make_qpsk(1250, 8).samples, 0.0);
    const run_t run(analyser);
    EXPECT_EQ(run.code, 4);
    EXPECT_EQ(run.log.count(log_level_info, offset_text), 0);
    EXPECT_EQ(run.log.count(log_level_error, short_block_text), 1);
    EXPECT_EQ(analyser.get_process_state(), LIB_DMA_PROCESS_STOP);
}

TEST(Driver, TakesTheWholeWindowForANegativeOffset)
{
    segment_setting_t setting;
    setting.points = LIB_DMA_POINT8;
    setting.offset = -5;
    const complex_array samples = make_qpsk(600, 8).samples;
    lib_dma_phy_t analyser = make_analyser(make_frame({ setting }), samples, 0.0);
    const run_t run(analyser);
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(run.log.count(log_level_info, offset_text), 1);
    expect_block(analyser.get_data_manager().get_iq_raw_time(0), limit(samples), 0, 300 * 8, 1e-10f);
}

TEST(Driver, CountsTheOffsetFromTheStartOfTheCaptureWhateverTheReference)
{
    segment_setting_t setting;
    setting.points = LIB_DMA_POINT8;
    setting.offset = 37;
    const complex_array samples = make_qpsk(700, 8).samples;
    for (const std::uint32_t reference : { 0u, 1u })
    {
        lib_dma_frame_configure_manager_t frame = make_frame({ setting });
        frame.get_segment(0).get_time_configure().set_meas_offset_reference(static_cast<lib_dma_meas_offset_ref_t>(reference));
        lib_dma_phy_t analyser = make_analyser(frame, samples, 0.0);
        const run_t run(analyser);
        EXPECT_EQ(run.code, 0);
        EXPECT_EQ(run.log.count(log_level_info, offset_text), 0);
        expect_block(analyser.get_data_manager().get_iq_raw_time(0), limit(samples), 37 * 8, 300 * 8, 1e-10f);
    }
}

TEST(Driver, CentresTheAutomaticOffsetUnderBurstSearchOnly)
{
    segment_setting_t setting;
    setting.points = LIB_DMA_POINT8;
    setting.offset = -1;
    const complex_array samples = make_qpsk(1200, 8).samples;
    for (const bool burst_search : { false, true })
    {
        lib_dma_frame_configure_manager_t frame = make_frame({ setting });
        frame.set_search_length(900e-6);
        frame.set_burst_search(burst_search);
        lib_dma_phy_t analyser = make_analyser(frame, samples, 0.0);
        EXPECT_EQ(run_t(analyser).code, 0);
        const std::int32_t centre = burst_search ? (900 - 300) / 2 : 0;
        EXPECT_EQ(get_record(analyser).pulse_center_sym, centre);
        expect_block(analyser.get_data_manager().get_iq_raw_time(0), limit(samples), static_cast<std::size_t>(centre) * 8, 300 * 8,
                     1e-10f);
    }
}

TEST(Driver, LeavesAGroupWithoutADemodulatorWithoutResults)
{
    for (const lib_dma_modulation_type_t group : { LIB_DMA_GROUP_VSB, LIB_DMA_GROUP_CUSTOM_IQ, LIB_DMA_GROUP_OTHER })
    {
        segment_setting_t setting;
        setting.group = group;
        const dma_test::signal_t signal = make_qpsk(800, 4);
        lib_dma_phy_t analyser = make_analyser(make_frame({ setting, {} }), signal.samples, 4e6);
        const run_t run(analyser);
        EXPECT_EQ(run.code, 0);
        EXPECT_EQ(analyser.get_process_state(), LIB_DMA_PROCESS_RUNNING);
        EXPECT_EQ(run.log.count(log_level_end, "lib_dma_phy_t::deal_demo_process default error!\n"), 1);
        const lib_dma_phy_data_manager_t& store = analyser.get_data_manager();
        EXPECT_TRUE(store.get_iq_raw_time(0).empty());
        EXPECT_TRUE(store.get_iq_meas_time_constellation(0).empty());
        EXPECT_TRUE(store.get_decode_bit(0).empty());
        EXPECT_TRUE(store.get_error_summary(0).evm_trace.empty());
        // The pass is counted and the next segment has its turn.
        EXPECT_EQ(get_record(analyser).equalizer_loop_number, 1u);
        EXPECT_EQ(store.get_decode_bit(1).size(), 300u);
    }
}

TEST(Driver, RunsElevenPassesWithTheEqualizer)
{
    segment_setting_t setting;
    setting.equalizer = true;
    lib_dma_phy_t analyser = make_analyser(make_frame({ setting, {} }), make_qpsk(800, 4).samples, 4e6);
    const run_t run(analyser);
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(get_record(analyser).equalizer_loop_number, 11u);
    EXPECT_EQ(get_record(analyser, 1).equalizer_loop_number, 1u);
    EXPECT_EQ(run.log.count(log_level_info, equalizer_text), 11);
    EXPECT_NE(run.trace.get_text().find("dma_phy_process(equalizer loop number: 11)all time: "), std::string::npos);
    EXPECT_NE(run.trace.get_text().find("dma_phy_process(equalizer loop number: 1)all time: "), std::string::npos);
    EXPECT_EQ(run.log.count(log_level_info, "deal_demo_process start!\n"), 2);
    EXPECT_LT(analyser.get_data_manager().get_error_summary(0).evm_rms, 0.6f);
    // A second run starts to count anew.
    EXPECT_EQ(run_t(analyser).code, 0);
    EXPECT_EQ(get_record(analyser).equalizer_loop_number, 11u);
}

TEST(Driver, KeepsTheResponseOfTheLastEqualizedSegmentUntilTheNextRun)
{
    segment_setting_t first;
    first.equalizer = true;
    segment_setting_t second = first;
    second.equalizer_len = 15;
    const complex_array samples = make_qpsk(900, 4).samples;
    lib_dma_phy_t analyser = make_analyser(make_frame({ first, second, {} }), samples, 4e6);
    EXPECT_EQ(run_t(analyser).code, 0);
    // 14 symbols at 4 points and the centre.
    const lib_dma_phy_data_manager_t& store = analyser.get_data_manager();
    const complex_array taps = get_record(analyser, 1).equalizer_filter;
    ASSERT_EQ(taps.size(), 57u);
    ASSERT_EQ(store.get_eq_impulse_i().size(), 57u);
    ASSERT_EQ(store.get_eq_impulse_q().size(), 57u);
    for (std::size_t j = 0; j < taps.size(); ++j)
    {
        EXPECT_EQ(store.get_eq_impulse_i()[j].real(), taps[j].real());
        EXPECT_EQ(store.get_eq_impulse_q()[j].real(), -taps[j].imag());
    }
    // A clean signal needs next to no filter: within its band the response is about 1.
    ASSERT_EQ(store.get_eq_frequency_response().size(), 256u);
    EXPECT_NEAR(std::abs(store.get_eq_frequency_response()[128]), 1.0f, 0.05f);
    EXPECT_EQ(get_record(analyser, 2).equalizer_filter.size(), 1u);

    analyser.set_frame_configure(make_frame({ {} }));
    EXPECT_EQ(run_t(analyser).code, 0);
    EXPECT_TRUE(store.get_eq_impulse_i().empty());
    EXPECT_TRUE(store.get_eq_impulse_q().empty());
    EXPECT_TRUE(store.get_eq_frequency_response().empty());
}

TEST(Driver, RefusesACaptureTooFastForItsSymbolsInSilence)
{
    // 10 kHz in steps of 8 is a working rate of 80 kHz; 10000 samples are enough under sync search.
    segment_setting_t setting;
    setting.symbol_rate = 10'000;
    lib_dma_frame_configure_manager_t frame = make_frame({ setting });
    frame.set_sync_search(true);
    const complex_array samples(10000, { 1.0f, 0.0f });
    lib_dma_phy_t analyser = make_analyser(frame, samples, 2001.0 * 80e3);
    const run_t run(analyser);
    EXPECT_EQ(run.code, 3);
    EXPECT_EQ(analyser.get_process_state(), LIB_DMA_PROCESS_RUNNING);
    for (const common_log::log_record_t& record : run.log.get_records())
        EXPECT_EQ(record.level, log_level_info) << record.message;
    EXPECT_EQ(run.log.count(log_level_info, "deal_demo_process start!\n"), 0);

    // 2000 is still converted, to five samples.
    lib_dma_phy_t limit = make_analyser(frame, samples, 2000.0 * 80e3);
    const run_t limit_run(limit);
    EXPECT_EQ(limit_run.code, 4);
    EXPECT_EQ(limit_run.log.count(log_level_error, short_block_text), 1);
    EXPECT_NE(limit_run.trace.get_text().find("lte resample from 160000000 hz to 80000 hz\n"), std::string::npos);
}

TEST(Driver, RefusesACaptureTooSlowForItsSymbolsInSilence)
{
    // 8 * 25013 = 200104 is 2001.04 times 100 Hz.
    segment_setting_t setting;
    setting.symbol_rate = 25'013;
    const complex_array samples(100, { 1.0f, 0.0f });
    lib_dma_phy_t analyser = make_analyser(make_frame({ setting }), samples, 100.0);
    const run_t run(analyser);
    EXPECT_EQ(run.code, 2);
    EXPECT_EQ(analyser.get_process_state(), LIB_DMA_PROCESS_RUNNING);
    for (const common_log::log_record_t& record : run.log.get_records())
        EXPECT_EQ(record.level, log_level_info) << record.message;

    setting.symbol_rate = 25'000;
    lib_dma_phy_t limit = make_analyser(make_frame({ setting }), samples, 100.0);
    const run_t limit_run(limit);
    EXPECT_NE(limit_run.code, 2);
    EXPECT_NE(limit_run.trace.get_text().find("lte resample from 100 hz to 200000 hz\n"), std::string::npos);
}

TEST(Driver, RefusesARatioWhoseFilterWouldNotFit)
{
    const struct
    {
        std::uint64_t symbol_rate;
        double sample_rate;
        const char* text;
    } ratios[] = {
        // 8 * 7999999987 : 64e9, whose factors do not fit 32 bits, and 8 * 999999937 : 8e9, whose filter does not.
        { 7'999'999'987, 64e9, "lib_resample: factors 7999999987 : 8000000000 " },
        { 999'999'937, 8e9, "lib_resample: factors 999999937 : 1000000000 " },
    };
    for (const auto& ratio : ratios)
    {
        segment_setting_t setting;
        setting.symbol_rate = ratio.symbol_rate;
        lib_dma_frame_configure_manager_t frame = make_frame({ setting });
        frame.set_search_length(1e-7);
        lib_dma_phy_t analyser = make_analyser(frame, complex_array(8000, { 1.0f, 0.0f }), ratio.sample_rate);
        const run_t run(analyser);
        EXPECT_EQ(run.code, 4) << ratio.text;
        EXPECT_EQ(analyser.get_process_state(), LIB_DMA_PROCESS_STOP) << ratio.text;
        EXPECT_TRUE(has_error_starting(run, log_level_error, ratio.text)) << ratio.text;
        EXPECT_EQ(run.log.count(log_level_error, short_block_text), 1) << ratio.text;
    }
}

TEST(Driver, PlacesALaterSegmentByItsOwnOffset)
{
    segment_setting_t second;
    second.offset = 300;
    const dma_test::signal_t signal = make_qpsk(900, 4);
    lib_dma_phy_t analyser = make_analyser(make_frame({ {}, second }), signal.samples, 4e6);
    const run_t run(analyser);
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(run.log.count(log_level_info, offset_text), 0);
    const lib_dma_phy_data_manager_t& store = analyser.get_data_manager();
    // The first block begins at its offset; the second one 90 symbols of run-in ahead of it.
    EXPECT_GT(cal_correlation(store.get_iq_meas_time_constellation(0), signal.points, 90), 0.999);
    // Two passes of the filter in front have moved the symbols by a quarter of one, over the border of the block.
    EXPECT_GT(cal_correlation(store.get_iq_meas_time_constellation(1), signal.points, 299), 0.999);
    EXPECT_EQ(store.get_decode_bit(1).size(), 300u);
    for (const std::uint32_t s : { 0u, 1u })
    {
        EXPECT_EQ(get_record(analyser, s).pre_num, 50u * 8u) << s;
        EXPECT_EQ(get_record(analyser, s).pulse_center_sym, 0) << s;
        EXPECT_EQ(get_record(analyser, s).pre_num_max, 360u) << s;
    }
    EXPECT_EQ(get_record(analyser, 0).data_start, 360u);
    EXPECT_EQ(get_record(analyser, 0).burst_len, 4u * 600u);
    // The burst is that of the first segment alone.
    EXPECT_EQ(get_record(analyser, 1).burst_len, 0u);
}

TEST(Driver, TakesTheWholeWindowForALaterSegmentWithoutRoomForItsRunIn)
{
    segment_setting_t second;
    second.points = LIB_DMA_POINT8;
    segment_setting_t first = second;
    const complex_array samples = make_qpsk(900, 8).samples;
    // 89 symbols are not enough, 90 are.
    for (const std::int32_t offset : { -1, 0, 89, 90 })
    {
        second.offset = offset;
        lib_dma_phy_t analyser = make_analyser(make_frame({ first, second }), samples, 0.0);
        const run_t run(analyser);
        EXPECT_EQ(run.code, 0) << offset;
        EXPECT_EQ(run.log.count(log_level_info, offset_text), offset == 90 ? 0 : 1) << offset;
        expect_block(analyser.get_data_manager().get_iq_raw_time(1), limit(samples, 2), 0, 300 * 8, 1e-10f);
    }
}

TEST(Driver, KeepsTheResultsOfSegmentsBeforeAFailure)
{
    segment_setting_t second;
    second.group = LIB_DMA_GROUP_QAM;
    second.offset = 200;
    const dma_test::signal_t signal = make_qpsk(800, 4);
    lib_dma_frame_configure_manager_t frame = make_frame({ {}, second, {} });
    frame.get_segment(1).get_format_configure().set_qam_format(LIB_DMA_DVB_QAM_16); // no points to decide on
    lib_dma_phy_t analyser = make_analyser(frame, signal.samples, 4e6);
    const run_t run(analyser);
    EXPECT_EQ(run.code, 5);
    EXPECT_EQ(analyser.get_process_state(), LIB_DMA_PROCESS_STOP);
    EXPECT_EQ(run.log.count(log_level_error, failed_text), 1);
    const lib_dma_phy_data_manager_t& store = analyser.get_data_manager();
    EXPECT_LT(store.get_error_summary(0).evm_rms, 0.6f);
    EXPECT_EQ(store.get_decode_bit(0).size(), 300u);
    EXPECT_GT(cal_correlation(store.get_iq_meas_time_constellation(0), signal.points, 90), 0.999);
    EXPECT_TRUE(store.get_decode_bit(1).empty());
    EXPECT_TRUE(store.get_decode_bit(2).empty());
    EXPECT_EQ(get_record(analyser, 2).sample_rate, 0u) << "the third segment was not begun";
}

TEST(Driver, MeasuresThePowerOfTheCaptureIntoTheFirstEntryOnly)
{
    // Unit power on 100 ohms is 10 mW. The band is as wide as the capture's.
    const dma_test::signal_t signal = make_qpsk(900, 4);
    lib_dma_frame_configure_manager_t frame = make_frame({ {}, {} });
    frame.set_bandwidth(4'000'000);
    for (const float gain : { 1.0f, 0.1f })
    {
        complex_array samples = signal.samples;
        for (std::complex<float>& value : samples)
            value *= gain;
        lib_dma_phy_t analyser = make_analyser(frame, samples, 4e6);
        EXPECT_EQ(run_t(analyser).code, 0);
        const double expected = 10.0 + 20.0 * std::log10(static_cast<double>(gain));
        EXPECT_NEAR(analyser.get_data_manager().get_error_summary(0).carrier_power, expected, 0.5);
        EXPECT_EQ(analyser.get_data_manager().get_error_summary(1).carrier_power, 0.0f);
    }
}

TEST(Driver, MeasuresThePowerOfTheWindowNotOfTheWholeCapture)
{
    // 480 symbols are the window; behind it stands a signal 40 dB stronger.
    complex_array samples = make_qpsk(960, 4).samples;
    for (std::size_t i = 480 * 4; i < samples.size(); ++i)
        samples[i] *= 100.0f;
    lib_dma_frame_configure_manager_t frame = make_frame({ {} });
    frame.set_bandwidth(4'000'000);
    lib_dma_phy_t analyser = make_analyser(frame, samples, 4e6);
    EXPECT_EQ(run_t(analyser).code, 0);
    EXPECT_NEAR(analyser.get_data_manager().get_error_summary(0).carrier_power, 10.0, 0.5);
}

TEST(Driver, CountsTheRunInInItsOrderOfOperations)
{
    // 0.5 * (180 / rate) * rate comes out just below 90 for these rates, and the floor keeps 89.
    const std::uint64_t rates[][2] = { { 10'005, 89 }, { 37'500, 89 }, { 42'500, 89 }, { 10'000, 90 }, { 1'000'000, 90 } };
    for (const auto& rate : rates)
    {
        segment_setting_t setting;
        setting.symbol_rate = rate[0];
        lib_dma_phy_t analyser = make_analyser(make_frame({ setting }), make_qpsk(600, 4).samples, 0.0);
        EXPECT_EQ(run_t(analyser).code, 0) << rate[0];
        EXPECT_EQ(get_record(analyser).head_len, rate[1] * 8) << rate[0];
        EXPECT_EQ(get_record(analyser).equalizer_head_len, 0u) << rate[0];
    }
}

TEST(Driver, StartsTheResultsOneSymbolEarlyWhereTheRunInIsOneSymbolShort)
{
    const dma_test::signal_t signal = make_qpsk(600, 4);
    segment_setting_t setting;
    setting.symbol_rate = 37'500;
    lib_dma_phy_t analyser = make_analyser(make_frame({ setting }), signal.samples, 0.0);
    EXPECT_EQ(run_t(analyser).code, 0);
    EXPECT_GT(cal_correlation(analyser.get_data_manager().get_iq_meas_time_constellation(0), signal.points, 89), 0.999);
}

TEST(Driver, CountsTheRunInOfTheEqualizerInSymbols)
{
    // (180 + 21 + 2) / 2 is 101.5, of which 90 are the filters'.
    segment_setting_t setting;
    setting.equalizer = true;
    lib_dma_phy_t analyser = make_analyser(make_frame({ setting }), make_qpsk(600, 4).samples, 0.0);
    EXPECT_EQ(run_t(analyser).code, 0);
    EXPECT_EQ(get_record(analyser).head_len, 90u * 8u);
    EXPECT_EQ(get_record(analyser).equalizer_head_len, 11u);
    EXPECT_EQ(get_record(analyser).pre_num_max, 406u); // 4 * 101.5
}

TEST(Driver, KeepsWholePairsOfSymbolsForMsk)
{
    // At 27 kHz the 114 symbols come out as 113, which is one pair less. The whole run-in with 21 taps is 125.
    const std::uint64_t rates[][2] = { { 1'000'000, 114 }, { 27'000, 112 } };
    for (const auto& rate : rates)
    {
        segment_setting_t setting;
        setting.group = LIB_DMA_GROUP_MSK;
        setting.symbol_rate = rate[0];
        setting.equalizer = true;
        lib_dma_phy_t analyser = make_analyser(make_frame({ setting }), make_qpsk(800, 4).samples, 0.0);
        EXPECT_EQ(run_t(analyser).code, 0);
        EXPECT_EQ(get_record(analyser).head_len, rate[1] * 8) << rate[0];
        EXPECT_EQ(get_record(analyser).equalizer_head_len, 124 - rate[1]) << rate[0];
    }
}

TEST(Driver, TakesTheRunInOfTheLastSegmentForAll)
{
    segment_setting_t slow;
    slow.symbol_rate = 500'000;
    slow.interval = 100;
    slow.offset = 100;
    lib_dma_phy_t analyser = make_analyser(make_frame({ {}, slow }), make_qpsk(1500, 4).samples, 4e6);
    EXPECT_EQ(run_t(analyser).code, 0);
    // 180 symbols at 500 kHz are 360 of the first segment.
    EXPECT_NEAR(get_record(analyser).pre_time, 360e-6, 1e-15);
    EXPECT_EQ(get_record(analyser).pre_num_max, 4u * 180u);
    EXPECT_EQ(get_record(analyser).head_len, 180u * 8u);
    EXPECT_EQ(get_record(analyser, 1).pre_num_max, 8u * 90u);
    EXPECT_EQ(get_record(analyser, 1).head_len, 90u * 8u);
}

TEST(Driver, ConvertsToTheWorkingRateOfThePoints)
{
    const struct
    {
        lib_dma_point_per_symbol_type_t points;
        std::uint32_t working;
    } rates[] = { { LIB_DMA_POINT1, 8 },   { LIB_DMA_POINT2, 8 },   { LIB_DMA_POINT4, 8 },   { LIB_DMA_POINT5, 10 },
                  { LIB_DMA_POINT6, 12 },  { LIB_DMA_POINT8, 8 },   { LIB_DMA_POINT10, 10 }, { LIB_DMA_POINT12, 12 },
                  { LIB_DMA_POINT14, 14 }, { LIB_DMA_POINT16, 16 }, { LIB_DMA_POINT20, 20 } };
    const complex_array samples = make_qpsk(600, 4).samples;
    for (const auto& rate : rates)
    {
        segment_setting_t setting;
        setting.points = rate.points;
        lib_dma_phy_t analyser = make_analyser(make_frame({ setting }), samples, 4e6);
        const run_t run(analyser);
        EXPECT_EQ(run.code, 0) << rate.points;
        EXPECT_EQ(get_record(analyser).pre_num, 50 * rate.working) << rate.points;
        EXPECT_NE(run.trace.get_text().find("lte resample from 4000000 hz to " + std::to_string(rate.working) + "000000 hz\n"),
                  std::string::npos)
            << rate.points;
    }
}

TEST(Driver, LivesWithShortCapturesUnderSyncSearch)
{
    // 400 samples a symbol: the run-in alone is 72000 samples, and 10000 are accepted. The lengths wrap; the block is the
    // whole capture, 25 symbols, which is less than the run-in of 100.
    for (const bool burst_search : { false, true })
    {
        lib_dma_frame_configure_manager_t frame = make_frame({ {} });
        frame.set_sync_search(true);
        frame.set_burst_search(burst_search);
        lib_dma_phy_t analyser = make_analyser(frame, complex_array(10000, { 1.0f, 0.5f }), 400e6);
        const run_t run(analyser);
        EXPECT_EQ(run.code, 4);
        EXPECT_EQ(run.log.count(log_level_info, cut_text), 1);
        EXPECT_EQ(run.log.count(log_level_error, short_block_text), 1);
        EXPECT_EQ(get_record(analyser).data_len, 10000u);
        EXPECT_EQ(get_record(analyser).pre_num_max, 36000u);
        EXPECT_EQ(get_record(analyser).burst_len, static_cast<std::uint32_t>(4'294'967'296 + 10000 - 72000));
    }
}

TEST(Driver, LivesWithARateThatWrapsToNought)
{
    // 4 * 2^30 is 2^32.
    segment_setting_t setting;
    setting.symbol_rate = std::uint64_t(1) << 30;
    for (const bool burst_search : { false, true })
    {
        lib_dma_frame_configure_manager_t frame = make_frame({ setting });
        frame.set_burst_search(burst_search);
        lib_dma_phy_t analyser = make_analyser(frame, complex_array(2000, { 1.0f, 0.0f }), 0.0);
        const run_t run(analyser);
        EXPECT_EQ(run.code, 4);
        EXPECT_EQ(get_record(analyser).sample_rate, 0u);
        EXPECT_EQ(run.log.count(log_level_error, short_block_text), 1);
    }
}

TEST(Driver, AlwaysHasASegment)
{
    // The configuration keeps at least one, so that a run never meets an empty frame.
    lib_dma_frame_configure_manager_t frame = make_frame({ {} });
    frame.set_segment_number(0);
    EXPECT_FALSE(frame.remove_segment(0));
    lib_dma_phy_t analyser = make_analyser(frame, make_qpsk(600, 4).samples, 4e6);
    EXPECT_EQ(run_t(analyser).code, 0);
}

TEST(Driver, RaisesForASegmentThatTheStoreDoesNotHave)
{
    lib_dma_phy_t analyser = make_analyser(make_frame({ {} }), {}, 4e6);
    lib_dma_demod_config_mgr config;
    const lib_dma_psk_modulation_param param;
    const log_capture_t log;
    const trace_capture_t trace;
    EXPECT_THROW(static_cast<void>(analyser.deal_demo_process(4, {}, complex_array(100), param, config)), std::out_of_range);
}

TEST(Driver, StopsWhenADemodulatorFails)
{
    // A silent block has nothing to scale by.
    lib_dma_phy_t analyser = make_analyser(make_frame({ {} }), {}, 4e6);
    lib_dma_demod_config_mgr config;
    config.sample_rate = 4'000'000;
    config.pre_num = 400;
    config.head_len = 720;
    lib_dma_psk_modulation_param& param = analyser.get_data_manager().get_psk_modulation_param();
    analyser.cal_psk_modulation_param(make_frame({ {} }).get_segment(0), param);
    const log_capture_t log;
    const trace_capture_t trace;
    EXPECT_FALSE(analyser.deal_demo_process(0, {}, complex_array(8000, { 0.0f, 0.0f }), param, config));
    EXPECT_EQ(log.count(log_level_end, "deal_demo_process:psk demod error!\n"), 1);
    EXPECT_EQ(analyser.get_process_state(), LIB_DMA_PROCESS_STOP);
}
