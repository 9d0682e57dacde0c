// Every way in which a run ends, through public calls alone.

#include "frame_run.h"
#include "message_capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

using namespace dma_test;
using namespace vrim::dma_demod_lib;

namespace
{
constexpr const char* failed_text = "deal_demo_process demod fail!\n";
constexpr const char* short_block_text = "warning!,dma_phy_process demod data less than pre_num.\n";

/// QPSK of 1 MHz at 4 MHz.
signal_t make_qpsk(std::uint32_t symbols)
{
    signal_setting_t setting;
    setting.half_span_symbols = 50;
    setting.symbol_count = symbols;
    setting.timing_symbols = 0.3;
    setting.snr_db = 32.0;
    return make_signal(setting);
}

lib_dma_frame_configure_manager_t make_qpsk_frame(std::uint32_t segments = 1)
{
    analysis_setting_t setting;
    setting.filter_length = 32;
    setting.meas_interval = 300;
    lib_dma_frame_configure_manager_t frame = make_frame(setting);
    for (std::uint32_t i = 1; i < segments; ++i)
    {
        frame.add_segment();
        set_segment(setting, frame.get_segment(i));
    }
    return frame;
}

lib_dma_format_configure_manager_t& get_format(lib_dma_frame_configure_manager_t& frame, std::uint32_t segment)
{
    return frame.get_segment(segment).get_format_configure();
}

void set_fsk(lib_dma_frame_configure_manager_t& frame, std::uint32_t segment)
{
    get_format(frame, segment).set_format_group(LIB_DMA_GROUP_FSK);
    get_format(frame, segment).set_fsk_format(LIB_DMA_FSK_2);
}

/// One way to a result code.
struct code_case_t
{
    std::string how;
    std::int32_t code;
    lib_dma_main_process_state_t state;
    std::string error;   ///< of the log; empty when nothing may be logged
    std::string printed; ///< part of the standard output; empty for anything
    lib_dma_frame_configure_manager_t frame;
    vrim::complex_array capture;
    double sample_rate;
};

std::vector<code_case_t> make_code_cases()
{
    const log_capture_t quiet; // groups without a preset constellation say so
    const vrim::complex_array capture = make_qpsk(600).samples;
    const vrim::complex_array carrier(2400, std::complex<float>(0.5f, 0.25f));
    const vrim::complex_array noise_free(10000, std::complex<float>(0.5f, 0.0f));
    std::vector<code_case_t> cases;
    const auto add = [&](const char* how, std::int32_t code, lib_dma_main_process_state_t state, const char* error,
                         const char* printed, const lib_dma_frame_configure_manager_t& frame, const vrim::complex_array& samples,
                         double rate) { cases.push_back({ how, code, state, error, printed, frame, samples, rate }); };

    add("a measured capture", 0, LIB_DMA_PROCESS_RUNNING, "", "dma demo end !", make_qpsk_frame(), capture, 4.0e6);
    lib_dma_frame_configure_manager_t frame = make_qpsk_frame();
    get_format(frame, 0).set_format_group(LIB_DMA_GROUP_VSB);
    add("a group without a demodulator", 0, LIB_DMA_PROCESS_RUNNING, "lib_dma_phy_t::deal_demo_process default error!\n",
        "dma demo end !", frame, capture, 4.0e6);

    // Working rate 8 * 1.1 GHz over 4 MHz is 2,200.
    frame = make_qpsk_frame();
    get_format(frame, 0).set_symbol_rate(1'100'000'000);
    add("symbols far above the sample rate", 2, LIB_DMA_PROCESS_RUNNING, "", "", frame, capture, 4.0e6);

    // 168 MHz over a working rate of 80 kHz is 2,100. With a sync search 10,000 samples are enough for any length.
    frame = make_qpsk_frame();
    get_format(frame, 0).set_symbol_rate(10'000);
    frame.set_sync_search(true);
    add("symbols far below the sample rate", 3, LIB_DMA_PROCESS_RUNNING, "", "", frame, noise_free, 168.0e6);

    add("no capture", 4, LIB_DMA_PROCESS_STOP, "", "lib_dma_phy_t::input_demod_data_len 0 does not satisfy min_data_len 1920",
        make_qpsk_frame(), {}, 4.0e6);
    // 300 symbols and 180 of run-in, four samples each.
    add("one sample less than the interval and its run-in", 4, LIB_DMA_PROCESS_STOP, "",
        "lib_dma_phy_t::input_demod_data_len 1919 does not satisfy min_data_len 1920", make_qpsk_frame(),
        vrim::complex_array(capture.begin(), capture.begin() + 1919), 4.0e6);
    frame = make_qpsk_frame();
    frame.get_segment(0).get_time_configure().set_meas_interval(LIB_DMA_GROUP_PSK, 10);
    frame.set_search_length(1e-6);
    add("less than a hundred samples", 4, LIB_DMA_PROCESS_STOP, "", "99 does not satisfy min_data_len 190", frame,
        vrim::complex_array(99, std::complex<float>(1.0f, 0.0f)), 1.0e6);
    // A sync search takes any capture of 10,000 samples. The offset leaves 120 of them, 30 symbols.
    frame = make_qpsk_frame();
    frame.set_sync_search(true);
    frame.get_segment(0).get_time_configure().set_meas_interval(LIB_DMA_GROUP_PSK, 2500);
    frame.get_segment(0).get_time_configure().set_meas_offset(2470);
    add("a block shorter than its run-in", 4, LIB_DMA_PROCESS_STOP, short_block_text, "", frame, noise_free, 4.0e6);

    frame = make_qpsk_frame();
    set_fsk(frame, 0);
    add("tones that are none", 5, LIB_DMA_PROCESS_STOP, failed_text, "", frame, carrier, 4.0e6);
    frame = make_qpsk_frame();
    get_format(frame, 0).set_format_group(LIB_DMA_GROUP_QAM);
    get_format(frame, 0).set_qam_format(LIB_DMA_DVB_QAM_16);
    add("a format without points", 5, LIB_DMA_PROCESS_STOP, failed_text, "", frame, capture, 4.0e6);
    return cases;
}

TEST(ResultCode, IsThatOfItsCause)
{
    std::vector<bool> reached(6, false);
    for (const code_case_t& one : make_code_cases())
    {
        SCOPED_TRACE(one.how);
        frame_run_t run(one.capture, one.frame, one.sample_rate);
        EXPECT_EQ(run.code, one.code);
        EXPECT_EQ(run.analyser.get_process_state(), one.state);
        if (one.error.empty())
        {
            EXPECT_TRUE(run.errors.empty()) << run.errors.front();
        }
        else
        {
            EXPECT_TRUE(run.has_error(one.error));
        }
        EXPECT_NE(run.printed.find(one.printed), std::string::npos) << run.printed;
        if (run.code >= 0 && run.code < 6)
            reached[static_cast<std::size_t>(run.code)] = true;
    }
    EXPECT_EQ(reached, (std::vector<bool>{ true, false, true, true, true, true })) << "1 has no way to it, see below";
}

TEST(ResultCode, OneHasNoWayToItSinceAFrameKeepsASegment)
{
    // Whatever is called, a segment stays, in the frame and in its copies.
    using change_t = std::function<void(lib_dma_frame_configure_manager_t&)>;
    const std::vector<std::pair<const char*, change_t>> changes = {
        { "fresh", [](lib_dma_frame_configure_manager_t&) {} },
        { "a count of none", [](lib_dma_frame_configure_manager_t& frame) { frame.set_segment_number(0); } },
        { "removals",
          [](lib_dma_frame_configure_manager_t& frame)
          {
              for (const std::uint32_t index : { 1U, 0U, 0U, 1U, 7U, ~0U })
                  frame.remove_segment(index);
          } },
        { "a pattern, which drops the segments behind the cursor",
          [](lib_dma_frame_configure_manager_t& frame)
          {
              frame.set_segment_number(6);
              frame.set_current_segment_index(0);
              frame.set_sync_pattern_type(LIB_DMA_SYNC_BIT_PATTERN);
              frame.set_sync_pattern_bit("0110");
          } },
        { "init and reset",
          [](lib_dma_frame_configure_manager_t& frame)
          {
              frame.init();
              frame.reset();
          } },
        { "a move out of it",
          [](lib_dma_frame_configure_manager_t& frame)
          {
              lib_dma_frame_configure_manager_t taken(std::move(frame));
              lib_dma_frame_configure_manager_t assigned;
              assigned = std::move(taken);
              EXPECT_GE(assigned.get_segment_number(), 1U);
              EXPECT_GE(taken.get_segment_number(), 1U);
          } },
        { "an assignment to itself",
          [](lib_dma_frame_configure_manager_t& frame)
          {
              lib_dma_frame_configure_manager_t& same = frame;
              frame = same;
          } },
    };
    for (const auto& [how, change] : changes)
    {
        SCOPED_TRACE(how);
        lib_dma_frame_configure_manager_t frame = make_qpsk_frame(2);
        change(frame);
        EXPECT_GE(frame.get_segment_number(), 1U);
        frame_run_t run({}, frame, 4.0e6);
        EXPECT_EQ(run.code, LIB_DMA_RESULT_CAPTURE_TOO_SHORT) << "an empty capture, not an empty frame";
        EXPECT_FALSE(run.has_error("lib_dma_phy_t::dma_phy_process : error! no segment"));
    }
    // An analyser that was given nothing has a frame of its own.
    const trace_capture_t quiet;
    lib_dma_phy_t untold;
    EXPECT_EQ(untold.dma_phy_process(), LIB_DMA_RESULT_CAPTURE_TOO_SHORT);
}

/// A frame of three whose second segment fails in its own way.
struct failing_frame_t
{
    std::string how;
    std::int32_t code;
    lib_dma_frame_configure_manager_t frame;
};

std::vector<failing_frame_t> make_failing_frames()
{
    std::vector<failing_frame_t> frames;
    lib_dma_frame_configure_manager_t frame = make_qpsk_frame(3);
    get_format(frame, 1).set_symbol_rate(1'100'000'000);
    frames.push_back({ "symbols far above the sample rate", 2, frame });

    // The interval of the second lies behind the capture's end, in which a search of 10,000 samples is let in.
    frame = make_qpsk_frame(3);
    frame.set_sync_search(true);
    frame.get_segment(1).get_time_configure().set_meas_interval(LIB_DMA_GROUP_PSK, 2700);
    frame.get_segment(1).get_time_configure().set_meas_offset(2670);
    frames.push_back({ "a block shorter than its run-in", 4, frame });

    frame = make_qpsk_frame(3);
    get_format(frame, 1).set_format_group(LIB_DMA_GROUP_QAM);
    get_format(frame, 1).set_qam_format(LIB_DMA_DVB_QAM_16);
    frames.push_back({ "a format without points", 5, frame });
    return frames;
}

TEST(ResultCode, OfALaterSegmentLeavesTheResultsOfThoseBefore)
{
    const signal_t signal = make_qpsk(2600);
    for (const failing_frame_t& one : make_failing_frames())
    {
        SCOPED_TRACE(one.how);
        frame_run_t run(signal.samples, one.frame, 4.0e6);
        EXPECT_EQ(run.code, one.code);
        const analysis_result_t first = run.take(0);
        EXPECT_TRUE(match_decoded(signal_format_t::qpsk, first.decoded, signal.symbols, 85, 95).found);
        EXPECT_EQ(first.meas_symbols.size(), 300U);
        // 32 dB are 2.51 %.
        EXPECT_NEAR(static_cast<double>(first.summary.evm_rms), 2.51, 0.6);
        EXPECT_NEAR(static_cast<double>(first.table.frequency_error), 0.0, 10.0);
        EXPECT_TRUE(run.take(1).meas_symbols.empty());
        EXPECT_TRUE(run.take(2).decoded.empty());
        EXPECT_EQ(run.get_store().get_dma_demod_config_mgr(2).sample_rate, 0U) << "the third segment is not begun";

        // The same analyser goes on with what can be measured.
        frame_run_t again(signal.samples, make_qpsk_frame(), 4.0e6);
        EXPECT_EQ(again.code, LIB_DMA_RESULT_OK);
    }
}

TEST(ResultCode, OfARunAfterAFailureIsItsOwn)
{
    const signal_t signal = make_qpsk(600);
    lib_dma_frame_configure_manager_t failing = make_qpsk_frame();
    get_format(failing, 0).set_symbol_rate(1'100'000'000);
    analysis_setting_t setting;
    setting.filter_length = 32;
    setting.meas_interval = 300;
    lib_dma_phy_t analyser;
    const analysis_result_t plain = analyse(signal.samples, setting);
    ASSERT_TRUE(plain.locked());
    const auto run_failing = [&](const lib_dma_frame_configure_manager_t& frame, const vrim::complex_array& capture)
    {
        const trace_capture_t quiet;
        const log_capture_t log;
        analyser.set_frame_configure(frame);
        analyser.set_demod_data(capture);
        return analyser.dma_phy_process();
    };
    analyser.set_sample_rate(4.0e6);
    EXPECT_EQ(run_failing(failing, signal.samples), LIB_DMA_RESULT_RATE_TOO_LOW);
    EXPECT_EQ(run_failing(make_qpsk_frame(), {}), LIB_DMA_RESULT_CAPTURE_TOO_SHORT);
    failing = make_qpsk_frame();
    get_format(failing, 0).set_format_group(LIB_DMA_GROUP_QAM);
    get_format(failing, 0).set_qam_format(LIB_DMA_DVB_QAM_16);
    EXPECT_EQ(run_failing(failing, signal.samples), LIB_DMA_RESULT_DEMODULATOR_FAILED);
    const analysis_result_t after = analyse(analyser, signal.samples, setting);
    EXPECT_TRUE(after.locked());
    EXPECT_EQ(after.decoded, plain.decoded);
    EXPECT_EQ(after.summary.evm_trace, plain.summary.evm_trace);
    EXPECT_EQ(after.summary.meas_data, plain.summary.meas_data);
}
} // namespace
