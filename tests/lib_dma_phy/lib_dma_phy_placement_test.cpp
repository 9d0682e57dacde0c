#include "driver_run.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>

using namespace driver_test;

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
