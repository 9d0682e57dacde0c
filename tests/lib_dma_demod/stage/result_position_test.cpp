#include "lib_dma_demod/stage/result_position.h"

#include <gtest/gtest.h>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using namespace vrim::dma_demod_lib::demod_stage;

namespace
{
demod_setting_t make_setting(std::uint64_t symbol_rate, std::uint64_t sample_rate, std::int32_t offset)
{
    static const demod_setting_t defaults;
    demod_setting_t setting = defaults;
    setting.symbol_rate = symbol_rate;
    setting.sample_rate = sample_rate;
    setting.data_start = 100;
    setting.meas_interval = 400;
    setting.meas_offset = offset;
    return setting;
}

lib_dma_demod_config_mgr make_config(std::uint32_t pre_num_max, std::uint32_t data_len)
{
    lib_dma_demod_config_mgr config;
    config.pre_num_max = pre_num_max;
    config.data_len = data_len;
    return config;
}
} // namespace

TEST(ResultPosition, CountsTheOffsetInSamplesOfTheCapture)
{
    demod_setting_t setting = make_setting(1000000, 4000000, 10);
    lib_dma_demod_config_mgr config = make_config(50, 5000);
    EXPECT_TRUE(cal_result_position(setting, config));
    EXPECT_EQ(setting.meas_offset, 40);
    EXPECT_EQ(setting.meas_interval, 400u);
    EXPECT_EQ(config.result_start, 140);
    EXPECT_EQ(config.result_stop, 540);
}

TEST(ResultPosition, RoundsHalvesAwayFromZero)
{
    demod_setting_t setting = make_setting(2000000, 5000000, 3); // 7.5
    lib_dma_demod_config_mgr config = make_config(50, 5000);
    EXPECT_TRUE(cal_result_position(setting, config));
    EXPECT_EQ(setting.meas_offset, 8);
    setting = make_setting(2000000, 5000000, -3);
    EXPECT_TRUE(cal_result_position(setting, config));
    EXPECT_EQ(setting.meas_offset, -8);
    EXPECT_EQ(config.result_start, 92);
    EXPECT_EQ(config.result_stop, 492);
}

TEST(ResultPosition, ShortensAWindowThatRunsPastTheData)
{
    demod_setting_t setting = make_setting(1000000, 4000000, 10);
    lib_dma_demod_config_mgr config = make_config(50, 489); // 539 of 540
    EXPECT_FALSE(cal_result_position(setting, config));
    EXPECT_EQ(setting.meas_interval, 399u);
    EXPECT_EQ(config.result_start, 140);
    EXPECT_EQ(config.result_stop, 539);

    setting = make_setting(1000000, 4000000, 10);
    config = make_config(50, 490);
    EXPECT_TRUE(cal_result_position(setting, config)); // the very end
}

TEST(ResultPosition, ComparesInThirtyTwoBits)
{
    // The start lies before sample 0: 100 + 400 - 600 wraps to more than any capture has, and the window is "shortened" to
    // all that lies from there to the end.
    demod_setting_t setting = make_setting(1000000, 1000000, -600);
    lib_dma_demod_config_mgr config = make_config(50, 5000);
    EXPECT_FALSE(cal_result_position(setting, config));
    EXPECT_EQ(config.result_start, -500);
    EXPECT_EQ(config.result_stop, 5050);
    EXPECT_EQ(setting.meas_interval, 5550u);

    // 100 + 400 - 450 wraps back into the capture.
    setting = make_setting(1000000, 1000000, -450);
    EXPECT_TRUE(cal_result_position(setting, config));
    EXPECT_EQ(config.result_start, -350);
    EXPECT_EQ(config.result_stop, 50);
}

TEST(ResultPosition, WithoutASymbolRateKeepsTheOffset)
{
    demod_setting_t setting = make_setting(0, 4000000, 10);
    lib_dma_demod_config_mgr config = make_config(50, 5000);
    EXPECT_TRUE(cal_result_position(setting, config));
    EXPECT_EQ(setting.meas_offset, 10);
    EXPECT_EQ(config.result_start, 110);
}

TEST(RawTime, IsCutToTheMeasurement)
{
    const complex_array block = { { 1.0f, 0.0f }, { 2.0f, 0.0f }, { 3.0f, 0.0f } };
    complex_array raw(9, { 5.0f, 5.0f });
    take_raw_time(block, 2, raw);
    EXPECT_EQ(raw, (complex_array{ { 1.0f, 0.0f }, { 2.0f, 0.0f } }));
    take_raw_time(block, 3, raw);
    EXPECT_EQ(raw, block);
    take_raw_time(block, 0, raw);
    EXPECT_TRUE(raw.empty());
}

TEST(RawTime, IsExtendedWithZeros)
{
    complex_array raw(9, { 5.0f, 5.0f });
    take_raw_time({ { 1.0f, 0.0f } }, 3, raw);
    EXPECT_EQ(raw, (complex_array{ { 1.0f, 0.0f }, { 0.0f, 0.0f }, { 0.0f, 0.0f } }));
}
