// Frames of several segments: one capture, a stretch of it for each.

#include "frame_run.h"
#include "message_capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

using namespace dma_test;
using namespace vrim::dma_demod_lib;

namespace
{
constexpr double pi = std::numbers::pi;
constexpr double sample_rate = 4.0e6;

/// A stretch of the capture.
struct burst_t
{
    signal_setting_t setting;
    std::uint32_t start; ///< symbols of its own rate from the start of the capture
};

signal_setting_t make_burst_signal(signal_format_t format, std::uint32_t symbols, double carrier_hz)
{
    signal_setting_t setting;
    setting.format = format;
    setting.half_span_symbols = 50;
    setting.shape = 0.5;
    setting.symbol_count = symbols;
    setting.seed = 60 + static_cast<std::uint64_t>(format);
    setting.timing_symbols = 0.3;
    setting.carrier_offset_hz = carrier_hz;
    setting.carrier_phase = 0.7;
    setting.snr_db = 32.0;
    return setting;
}

vrim::complex_array join(const std::vector<signal_t>& signals)
{
    vrim::complex_array capture;
    for (const signal_t& signal : signals)
        capture.insert(capture.end(), signal.samples.begin(), signal.samples.end());
    return capture;
}

analysis_setting_t make_setting(const signal_setting_t& signal, std::uint32_t interval, std::int32_t offset)
{
    analysis_setting_t setting;
    setting.format = signal.format;
    setting.symbol_rate = static_cast<std::uint64_t>(signal.symbol_rate);
    setting.alpha = signal.shape;
    setting.filter_length = 32;
    setting.meas_interval = interval;
    setting.meas_offset = offset;
    setting.aligned_iq = true;
    if (signal.format == signal_format_t::msk)
    {
        setting.meas_filter = LIB_DMA_MEAS_NONE_FILTER;
        setting.ref_filter = LIB_DMA_REF_NONE_FILTER;
    }
    return setting;
}

lib_dma_frame_configure_manager_t make_segments(const std::vector<analysis_setting_t>& settings)
{
    const log_capture_t quiet; // groups without a preset constellation say so
    lib_dma_frame_configure_manager_t frame = make_frame(settings.front());
    for (std::uint32_t i = 1; i < settings.size(); ++i)
    {
        frame.add_segment();
        set_segment(settings[i], frame.get_segment(i));
    }
    return frame;
}

/// A segment of a group that is never demodulated: it takes part in everything up to the demodulator.
void make_silent(lib_dma_segment_configure_manager_t& segment)
{
    const log_capture_t quiet;
    segment.get_format_configure().set_format_group(LIB_DMA_GROUP_VSB);
}

template <typename value_t>
bool has_same_values(const std::vector<value_t>& a, const std::vector<value_t>& b)
{
    return !a.empty() && a == b;
}

/// QPSK from end to end, for frames that measure it several times.
signal_t make_qpsk(std::uint32_t symbols, double carrier_hz)
{
    return make_signal(make_burst_signal(signal_format_t::qpsk, symbols, carrier_hz));
}

TEST(MultiSegment, MeasuresSixGroupsOneBehindTheOther)
{
    // An offset is at most the interval, so each stretch is as long as all before it.
    const std::vector<signal_format_t> formats = { signal_format_t::qpsk,  signal_format_t::fsk2,   signal_format_t::dqpsk_pi_4,
                                                   signal_format_t::qam16, signal_format_t::apsk16, signal_format_t::ask4 };
    const std::vector<double> carriers = { 1500.0, 9000.0, -700.0, 400.0, -250.0, 1100.0 };
    constexpr std::uint32_t run_in = 90; // symbols, at either side
    constexpr std::uint32_t margin = 10;
    std::vector<signal_t> signals;
    std::vector<analysis_setting_t> settings;
    std::uint32_t start = 0;
    for (std::size_t i = 0; i < formats.size(); ++i)
    {
        const std::uint32_t offset = i == 0 ? 0 : start + run_in + margin;
        const std::uint32_t interval = std::max(offset, 150U);
        const std::uint32_t length = run_in + interval + run_in + margin + (i == 0 ? 0 : margin);
        signal_setting_t setting = make_burst_signal(formats[i], length, carriers[i]);
        setting.gain = i % 2 == 0 ? 1.0 : 0.4;
        if (formats[i] == signal_format_t::fsk2)
        {
            setting.deviation_hz = 250.0e3;
            setting.balanced_run = 10;
            setting.snr_db = 40.0;
        }
        if (i + 1 == formats.size())
            setting.symbol_count += run_in; // the search length is counted from the start, and the run-in behind it
        settings.push_back(make_setting(setting, interval, static_cast<std::int32_t>(offset)));
        signals.push_back(make_signal(setting));
        start += length;
    }
    lib_dma_frame_configure_manager_t frame = make_segments(settings);
    frame.set_burst_search(true);
    frame_run_t run(join(signals), frame, sample_rate);
    ASSERT_EQ(run.code, LIB_DMA_RESULT_OK);
    // A burst search says so and changes nothing.
    EXPECT_EQ(run.errors, std::vector<std::string>{ "cal_first_segment_demod_info:Burst Not Found!\n" });
    for (std::uint32_t i = 0; i < formats.size(); ++i)
    {
        SCOPED_TRACE(get_signal_format(formats[i]).name);
        const analysis_result_t result = run.take(i);
        EXPECT_FALSE(run.get_store().get_brust_search_flag(i));
        EXPECT_FALSE(run.get_decode_flag(i));
        EXPECT_FALSE(result.sync_found);
        EXPECT_EQ(result.decoded.size(), settings[i].meas_interval);
        const std::int32_t nominal = i == 0 ? run_in : run_in + margin;
        const decode_match_t match = match_decoded(formats[i], result.decoded, signals[i].symbols, nominal - 5, nominal + 5);
        EXPECT_TRUE(match.found) << match.differing;
        EXPECT_NEAR(match.lag, nominal, 1.0);
        if (formats[i] == signal_format_t::fsk2)
        {
            EXPECT_NEAR(result.summary.fsk_deviation, 250.0e3, 0.01 * 250.0e3);
            EXPECT_NEAR(static_cast<double>(result.table.frequency_error), carriers[i], 0.01 * 250.0e3);
            continue;
        }
        // 32 dB are 2.51 %; 150 symbols spread by 4 % of that, and the clock adds some tenths.
        EXPECT_NEAR(static_cast<double>(result.summary.evm_rms), 2.51, 0.6);
        EXPECT_NEAR(static_cast<double>(result.table.frequency_error), carriers[i], i == 0 ? 20.0 : 4.0);
    }
}

TEST(MultiSegment, TakesTheRunInOfTheLastSegmentForAllGroups)
{
    // OQPSK and MSK ask for 114 symbols at either side, also in front of the others.
    const std::vector<signal_format_t> formats = { signal_format_t::bpsk, signal_format_t::msk, signal_format_t::oqpsk };
    constexpr std::uint32_t run_in = 114;
    constexpr std::uint32_t margin = 10;
    std::vector<signal_t> signals;
    std::vector<analysis_setting_t> settings;
    std::uint32_t start = 0;
    for (std::size_t i = 0; i < formats.size(); ++i)
    {
        const std::uint32_t offset = i == 0 ? 0 : start + run_in + margin;
        const std::uint32_t interval = std::max(offset, 200U);
        const std::uint32_t length = 2 * run_in + interval + 2 * margin;
        signal_setting_t setting = make_burst_signal(formats[i], length + (i == 2 ? run_in : 0), 300.0);
        settings.push_back(make_setting(setting, interval, static_cast<std::int32_t>(offset)));
        signals.push_back(make_signal(setting));
        start += length;
    }
    frame_run_t run(join(signals), make_segments(settings), sample_rate);
    ASSERT_EQ(run.code, LIB_DMA_RESULT_OK);
    EXPECT_TRUE(run.errors.empty()) << run.errors.front();
    for (std::uint32_t i = 0; i < formats.size(); ++i)
    {
        SCOPED_TRACE(get_signal_format(formats[i]).name);
        const analysis_result_t result = run.take(i);
        EXPECT_EQ(result.decoded.size(), settings[i].meas_interval);
        const std::int32_t nominal = i == 0 ? run_in : run_in + margin;
        const decode_match_t match = match_decoded(formats[i], result.decoded, signals[i].symbols, nominal - 5, nominal + 5);
        EXPECT_TRUE(match.found) << match.differing;
        // A half turn of OQPSK is a whole symbol later.
        EXPECT_NEAR(match.lag, nominal, formats[i] == signal_format_t::oqpsk ? 2.0 : 1.0);
        EXPECT_NEAR(static_cast<double>(result.table.frequency_error), 300.0, 30.0);
    }
}

TEST(MultiSegment, CountsOffsetsInTheSymbolsOfEachRate)
{
    // The run-in is that of the last and slowest: 360 us at either side.
    constexpr double run_in = 360.0e-6;
    const std::vector<double> rates = { 1.0e6, 5.0e5, 2.5e5 };
    const std::vector<signal_format_t> formats = { signal_format_t::qpsk, signal_format_t::qam16, signal_format_t::psk8 };
    std::vector<signal_t> signals;
    std::vector<analysis_setting_t> settings;
    double start = 0.0;
    for (std::size_t i = 0; i < rates.size(); ++i)
    {
        const double offset = i == 0 ? 0.0 : start + run_in;
        const double interval = std::max(offset, 400.0e-6);
        const double length = run_in + interval + run_in;
        const auto to_symbols = [&](double time) { return static_cast<std::uint32_t>(std::round(time * rates[i])); };
        signal_setting_t setting = make_burst_signal(formats[i], to_symbols(length + (i == 2 ? run_in : 0.0)), 500.0);
        setting.symbol_rate = rates[i];
        settings.push_back(make_setting(setting, to_symbols(interval), static_cast<std::int32_t>(to_symbols(offset))));
        signals.push_back(make_signal(setting));
        start += length;
    }
    frame_run_t run(join(signals), make_segments(settings), sample_rate);
    ASSERT_EQ(run.code, LIB_DMA_RESULT_OK);
    EXPECT_TRUE(run.errors.empty()) << run.errors.front();
    for (std::uint32_t i = 0; i < rates.size(); ++i)
    {
        SCOPED_TRACE(get_signal_format(formats[i]).name);
        const analysis_result_t result = run.take(i);
        const std::int32_t nominal = static_cast<std::int32_t>(std::round(run_in * rates[i]));
        const decode_match_t match = match_decoded(formats[i], result.decoded, signals[i].symbols, nominal - 5, nominal + 5);
        EXPECT_TRUE(match.found) << match.differing;
        EXPECT_NEAR(match.lag, nominal, 1.0);
        EXPECT_NEAR(static_cast<double>(result.summary.evm_rms), 2.51, 0.6);
        EXPECT_NEAR(static_cast<double>(result.table.frequency_error), 500.0, 5.0);
    }
}

TEST(MultiSegment, PlacesTheFirstByItsSyncWordAndTheOthersFromTheStart)
{
    // A QPSK head with a word, then two stretches of QAM on the same carrier and clock. The search goes over all of them.
    std::vector<std::uint32_t> word;
    for (std::uint32_t i = 0; i < 32; ++i)
        word.push_back((i * i / 3 + i) % 4);
    signal_setting_t head = make_burst_signal(signal_format_t::qpsk, 500, 0.0);
    head.sync_symbols = word;
    head.sync_position = 130;
    const std::vector<signal_t> signals = { make_signal(head), make_signal(make_burst_signal(signal_format_t::qam16, 900, 0.0)),
                                            make_signal(make_burst_signal(signal_format_t::qam64, 1900, 0.0)) };
    std::vector<analysis_setting_t> settings = { make_setting(head, 200, 0),
                                                 make_setting(make_burst_signal(signal_format_t::qam16, 1, 0.0), 600, 600),
                                                 make_setting(make_burst_signal(signal_format_t::qam64, 1, 0.0), 1500, 1500) };
    for (const std::uint8_t bit : symbols_to_bits(word, 2))
        settings[0].sync_bits += bit == 0 ? '0' : '1';
    frame_run_t run(join(signals), make_segments(settings), sample_rate);
    ASSERT_EQ(run.code, LIB_DMA_RESULT_OK);
    EXPECT_TRUE(run.errors.empty()) << run.errors.front();

    const analysis_result_t first = run.take(0);
    EXPECT_TRUE(first.sync_found);
    EXPECT_TRUE(run.get_decode_flag(0));
    EXPECT_EQ(first.decoded, std::vector<std::uint32_t>(signals[0].symbols.begin() + 130, signals[0].symbols.begin() + 330));

    const std::vector<signal_format_t> formats = { signal_format_t::qam16, signal_format_t::qam64 };
    for (std::uint32_t i = 1; i < 3; ++i)
    {
        SCOPED_TRACE(get_signal_format(formats[i - 1]).name);
        const analysis_result_t result = run.take(i);
        EXPECT_FALSE(result.sync_found) << "only the first segment searches";
        EXPECT_FALSE(run.get_decode_flag(i));
        const std::int32_t nominal = i == 1 ? 600 - 500 : 1500 - 1400;
        const decode_match_t match = match_decoded(formats[i - 1], result.decoded, signals[i].symbols, nominal - 5, nominal + 5);
        EXPECT_TRUE(match.found) << match.differing;
        EXPECT_NEAR(match.lag, nominal, 1.0);
        EXPECT_NEAR(static_cast<double>(result.summary.evm_rms), 2.51, 0.6);
    }
}

// What one segment leaves to the next

TEST(MultiSegment, InvertsTheCaptureOnceMoreForEachInvertedSegment)
{
    // Twice restores it: the carrier of segment s has the sign of the count of inversions up to s.
    const signal_t signal = make_qpsk(1200, 2000.0);
    const double bin = sample_rate / static_cast<double>(signal.samples.size());
    const std::vector<std::vector<bool>> frames = { { true, true, true },   { true, false, true }, { false, true, false },
                                                    { false, false, true }, { true, true, false }, { false, false, false } };
    for (const std::vector<bool>& inverted : frames)
    {
        std::vector<analysis_setting_t> settings;
        for (const bool flag : inverted)
        {
            settings.push_back(make_setting(make_burst_signal(signal_format_t::qpsk, 1, 0.0), 800, 100));
            settings.back().inverted = flag;
        }
        frame_run_t run(signal.samples, make_segments(settings), sample_rate);
        ASSERT_EQ(run.code, LIB_DMA_RESULT_OK);
        bool mirrored = false;
        for (std::uint32_t i = 0; i < settings.size(); ++i)
        {
            mirrored = mirrored != inverted[i];
            // Mirroring takes a tone one bin below its mirror image.
            EXPECT_NEAR(static_cast<double>(run.take(i).table.frequency_error), mirrored ? -2000.0 - bin : 2000.0, 2.0)
                << "segment " << i;
        }
    }
}

TEST(MultiSegment, LimitsTheCaptureOnceMoreForEachSegment)
{
    // What is done to the capture is linear: the difference of two runs, with and without a tone on the slope of the filter, is
    // the tone behind as many filters as there were segments.
    signal_setting_t setting = make_burst_signal(signal_format_t::qpsk, 700, 0.0);
    setting.sample_rate = 8.0e6; // the working rate: blocks are passed on as they are
    const vrim::complex_array plain = make_signal(setting).samples;
    vrim::complex_array with_tone = plain;
    for (std::size_t n = 0; n < with_tone.size(); ++n)
        with_tone[n] += std::complex<float>(std::polar(0.05, 2.0 * pi * 0.217 * static_cast<double>(n)));
    std::vector<analysis_setting_t> settings(4, make_setting(setting, 400, 100));
    for (analysis_setting_t& one : settings)
        one.bandwidth = 3'200'000; // the slope goes from 0.2 to 0.25 cycles a sample
    const lib_dma_frame_configure_manager_t frame = make_segments(settings);
    frame_run_t quiet(plain, frame, 8.0e6);
    frame_run_t loud(with_tone, frame, 8.0e6);
    ASSERT_EQ(quiet.code, LIB_DMA_RESULT_OK);
    ASSERT_EQ(loud.code, LIB_DMA_RESULT_OK);
    std::vector<double> levels;
    for (std::uint32_t i = 0; i < settings.size(); ++i)
    {
        const vrim::complex_array& a = quiet.get_store().get_iq_raw_time(i);
        const vrim::complex_array& b = loud.get_store().get_iq_raw_time(i);
        ASSERT_EQ(a.size(), b.size());
        ASSERT_GT(a.size(), 1000U);
        double power = 0.0;
        for (std::size_t n = 200; n < 1000; ++n)
            power += std::norm(std::complex<double>(b[n]) - std::complex<double>(a[n])) / 800.0;
        levels.push_back(std::sqrt(power) / 0.05);
    }
    ASSERT_GT(levels[0], 0.1) << "the tone should lie on the slope";
    ASSERT_LT(levels[0], 0.9);
    for (std::uint32_t i = 1; i < levels.size(); ++i)
        EXPECT_NEAR(levels[i], std::pow(levels[0], i + 1), 2e-3 * levels[i] + 1e-5) << "segment " << i;
}

TEST(MultiSegment, LeavesNothingElseToTheNext)
{
    // A segment measures the same whether the one before it is demodulated, by which class, or only passes by, down to the
    // last bit.
    const signal_t signal = make_qpsk(1100, 700.0);
    for (const signal_format_t before :
         { signal_format_t::psk8, signal_format_t::qam64, signal_format_t::dqpsk_pi_4, signal_format_t::fsk4,
           signal_format_t::apsk32, signal_format_t::ask4, signal_format_t::oqpsk })
    {
        SCOPED_TRACE(get_signal_format(before).name);
        const std::vector<analysis_setting_t> settings = { make_setting(make_burst_signal(before, 1, 0.0), 500, 90),
                                                           make_setting(make_burst_signal(signal_format_t::qpsk, 1, 0.0), 600,
                                                                        200) };
        lib_dma_frame_configure_manager_t frame = make_segments(settings);
        frame_run_t measured(signal.samples, frame, sample_rate);
        ASSERT_EQ(measured.code, LIB_DMA_RESULT_OK);
        // What all see of a segment is its filter, and that of FSK, MSK and OQPSK is another one.
        const bool bare = before == signal_format_t::fsk4 || before == signal_format_t::oqpsk;
        if (bare)
            frame.get_segment(0).get_format_configure().set_format_group(LIB_DMA_GROUP_MSK);
        else
            make_silent(frame.get_segment(0));
        frame_run_t passed_by(signal.samples, frame, sample_rate);
        ASSERT_EQ(passed_by.code, LIB_DMA_RESULT_OK);
        EXPECT_EQ(passed_by.take(0).decoded.empty(), !bare);
        const analysis_result_t a = measured.take(1);
        const analysis_result_t b = passed_by.take(1);
        EXPECT_TRUE(has_same_values(a.decoded, b.decoded));
        EXPECT_TRUE(has_same_values(a.summary.meas_data, b.summary.meas_data));
        EXPECT_TRUE(has_same_values(a.summary.ref_data, b.summary.ref_data));
        EXPECT_TRUE(has_same_values(a.summary.evm_trace, b.summary.evm_trace));
        EXPECT_EQ(a.table.frequency_error, b.table.frequency_error);
        EXPECT_EQ(a.table.quad_error, b.table.quad_error);
    }
}
} // namespace
