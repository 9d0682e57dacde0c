#include "driver_run.h"

#include <gtest/gtest.h>

#include <complex>
#include <cstddef>
#include <cstdint>
#include <string>

using namespace driver_test;

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
