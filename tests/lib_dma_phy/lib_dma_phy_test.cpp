#include "driver_run.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

using namespace driver_test;

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
    EXPECT_TRUE(store.get_iq_meas_time_constellation(1).empty());
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
