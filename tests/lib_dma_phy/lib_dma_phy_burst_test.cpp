#include "lib_dma_phy.h"
#include "message_capture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

using namespace vrim;
using namespace vrim::dma_demod_lib;

namespace
{
constexpr const char* not_found_text = "cal_first_segment_demod_info:Burst Not Found!\n";

/// What the placement is told.
struct placement_setting_t
{
    bool burst_search = false;
    bool sync_search = false;
    std::uint32_t segments = 1;
    std::uint64_t symbol_rate = 1'000'000; ///< Hz
    std::uint64_t sample_rate = 4'000'000; ///< Hz
    std::uint32_t interval = 1000;         ///< symbols
    std::uint32_t pre_num_max = 360;       ///< samples
    std::uint32_t data_len = 6000;         ///< samples
};

/// What it says.
struct placement_t
{
    lib_dma_demod_config_mgr config;
    std::uint32_t demod_data_len = 0;
    std::int32_t pulse_center_sym = 0;
    std::int32_t pre_sym = 0;
    std::vector<common_log::log_record_t> records;
    std::string printed;
};

/// A burst between two stretches of silence.
complex_array make_burst(std::size_t length)
{
    complex_array block(length, { 0.01f, 0.0f });
    for (std::size_t i = length / 3; i < length / 2; ++i)
        block[i] = std::polar(1.0f, 0.3f * static_cast<float>(i));
    return block;
}

placement_t place(const placement_setting_t& setting, const complex_array& block)
{
    lib_dma_frame_configure_manager_t frame;
    frame.set_segment_number(setting.segments);
    frame.set_burst_search(setting.burst_search);
    frame.set_sync_search(setting.sync_search);
    frame.get_segment(0).get_format_configure().set_symbol_rate(setting.symbol_rate);
    frame.get_segment(0).get_time_configure().set_meas_interval(LIB_DMA_GROUP_PSK, setting.interval);
    lib_dma_phy_t analyser;
    analyser.set_frame_configure(frame);
    analyser.get_data_manager().get_brust_search_flag_vec()[0] = true;

    placement_t placement;
    placement.config.sample_rate = setting.sample_rate;
    placement.config.pre_num_max = setting.pre_num_max;
    placement.config.data_len = setting.data_len;
    placement.pre_sym = -1;
    placement.pulse_center_sym = -1;
    const log_capture_t log;
    const trace_capture_t trace;
    EXPECT_TRUE(analyser.cal_first_segment_demod_info(block, placement.config, placement.demod_data_len,
                                                      placement.pulse_center_sym, placement.pre_sym, 0));
    EXPECT_FALSE(analyser.get_data_manager().get_brust_search_flag(0));
    placement.records = log.get_records();
    placement.printed = trace.get_text();
    return placement;
}

placement_t place(const placement_setting_t& setting)
{
    return place(setting, make_burst(setting.data_len));
}
} // namespace

TEST(Placement, IsTheSameWithAndWithoutBurstSearch)
{
    for (const bool burst_search : { false, true })
    {
        placement_setting_t setting;
        setting.burst_search = burst_search;
        const placement_t placement = place(setting);
        EXPECT_EQ(placement.config.burst_raise_idx, 360u);
        EXPECT_EQ(placement.config.burst_len, 5280u);
        EXPECT_EQ(placement.config.burst_fall_idx, 5639u);
        EXPECT_EQ(placement.config.data_start, 360u);
        EXPECT_EQ(placement.pre_sym, 50);
        EXPECT_EQ(placement.demod_data_len, 4000u);
        EXPECT_FALSE(placement.config.burst_raise_flag);
        EXPECT_FALSE(placement.config.burst_fall_flag);
    }
}

TEST(Placement, LogsItsFiguresInTheirOrder)
{
    const std::vector<std::string> figures = {
        "demo_info.burst_raise_idx(refer to raw_time) = %u\n",
        "demo_info.burst_fall_idx(refer to raw_time)  = %u\n",
        "demo_info.burst_len  = %u\n",
        "demo_info.data_start = %u\n",
        "demod_data_len  = %u\n",
        "pulse_center_sym = %d\n",
    };
    for (const bool burst_search : { false, true })
    {
        placement_setting_t setting;
        setting.burst_search = burst_search;
        const placement_t placement = place(setting);
        const std::size_t before = burst_search ? 1 : 0;
        ASSERT_EQ(placement.records.size(), figures.size() + before);
        for (std::size_t i = 0; i < figures.size(); ++i)
        {
            EXPECT_EQ(placement.records[i + before].message, figures[i]);
            EXPECT_EQ(placement.records[i + before].level, common_log::log_level_info);
        }
        if (burst_search)
        {
            EXPECT_EQ(placement.records[0].message, not_found_text);
            EXPECT_EQ(placement.records[0].level, common_log::log_level_error);
            EXPECT_TRUE(placement.printed.starts_with("cal_first_segment_demod_info:Burst search time: ")) << placement.printed;
            EXPECT_TRUE(placement.printed.ends_with(" s\n")) << placement.printed;
        }
        else
        {
            EXPECT_EQ(placement.printed, "");
        }
    }
}

TEST(Placement, CentresTheIntervalOfALoneSegmentUnderBurstSearch)
{
    // 10000 samples more than run-in and interval: half of them is 5000, at 4 samples a symbol 1250 symbols.
    placement_setting_t setting;
    setting.burst_search = true;
    setting.data_len = 10000 + 2 * 360 + 4000;
    EXPECT_EQ(place(setting).pulse_center_sym, 1250);
    // 5000 * 300 kHz / 4 MHz = 375; the interval is then 1000 * 4000 / 300 = 13333 samples.
    setting.symbol_rate = 300'000;
    setting.data_len = 10000 + 2 * 360 + 13333;
    EXPECT_EQ(place(setting).pulse_center_sym, 375);
    // Halves go away from 0: 15 samples give 8, and 8 samples of 16 a symbol half a symbol, which gives 1.
    setting.symbol_rate = 250'000;
    setting.data_len = 15 + 2 * 360 + 16000;
    EXPECT_EQ(place(setting).pulse_center_sym, 1);
    setting.data_len = 14 + 2 * 360 + 16000;
    EXPECT_EQ(place(setting).pulse_center_sym, 0);
}

TEST(Placement, DoesNotCentreOtherwise)
{
    placement_setting_t setting;
    setting.data_len = 10000 + 2 * 360 + 4000;
    EXPECT_EQ(place(setting).pulse_center_sym, 0) << "no burst search";
    for (const bool burst_search : { false, true })
    {
        setting.burst_search = burst_search;
        setting.segments = 2;
        EXPECT_EQ(place(setting).pulse_center_sym, 0) << "two segments";
    }
    setting.segments = 1;
    setting.burst_search = true;
    setting.sync_search = true;
    EXPECT_EQ(place(setting).pulse_center_sym, 0) << "sync search";
    setting.sync_search = false;
    setting.data_len = 2 * 360 + 3999;
    EXPECT_EQ(place(setting).pulse_center_sym, 0) << "burst shorter than the interval";
    setting.data_len = 2 * 360 + 4000;
    EXPECT_EQ(place(setting).pulse_center_sym, 0) << "burst as long as the interval";
}

TEST(Placement, DemodulatesTheWholeBurstUnderSyncSearch)
{
    for (const bool burst_search : { false, true })
    {
        placement_setting_t setting;
        setting.sync_search = true;
        setting.burst_search = burst_search;
        const placement_t placement = place(setting);
        EXPECT_EQ(placement.demod_data_len, 6000u - 2 * 360u);
        EXPECT_EQ(placement.pre_sym, 50);
    }
}

TEST(Placement, RoundsTheIntervalToSamples)
{
    placement_setting_t setting;
    setting.sample_rate = 1'050'000;
    setting.interval = 10; // 10.5 samples
    EXPECT_EQ(place(setting).demod_data_len, 11u);
    setting.interval = 15; // 15.75
    EXPECT_EQ(place(setting).demod_data_len, 16u);
    setting.sample_rate = 1'040'000;
    setting.interval = 10; // 10.4
    EXPECT_EQ(place(setting).demod_data_len, 10u);
}

TEST(Placement, WrapsIn32BitsWhenTheBlockIsShorterThanItsRunIn)
{
    for (const bool burst_search : { false, true })
    {
        placement_setting_t setting;
        setting.burst_search = burst_search;
        setting.sync_search = true;
        setting.data_len = 300;
        const placement_t placement = place(setting);
        EXPECT_EQ(placement.config.burst_len, static_cast<std::uint32_t>(4'294'967'296 + 300 - 720));
        EXPECT_EQ(placement.config.burst_fall_idx, static_cast<std::uint32_t>(4'294'967'296 + 300 - 1 - 360));
        EXPECT_EQ(placement.demod_data_len, placement.config.burst_len);
        EXPECT_EQ(placement.pulse_center_sym, 0);
    }
    // Wrapped, the burst counts as long: it is centred, (2^32 - 420 - 4000) / 2 = 2147481438 samples at 4 a symbol.
    placement_setting_t setting;
    setting.burst_search = true;
    setting.data_len = 300;
    EXPECT_EQ(place(setting).pulse_center_sym, 536'870'360);
}

TEST(Placement, LivesWithAnEmptyBlock)
{
    placement_setting_t setting;
    setting.burst_search = true;
    setting.data_len = 0;
    const placement_t empty = place(setting, {});
    EXPECT_EQ(empty.config.burst_raise_idx, 360u);
    EXPECT_EQ(empty.config.burst_len, static_cast<std::uint32_t>(4'294'967'296 - 720));
    EXPECT_EQ(empty.pre_sym, 50);
    EXPECT_EQ(empty.records.front().message, not_found_text);
    // One sample and a level that never changes have no edge either.
    setting.data_len = 1000;
    setting.pre_num_max = 100;
    setting.interval = 100;
    for (const std::size_t length : { std::size_t(1), std::size_t(1000) })
    {
        const placement_t flat = place(setting, complex_array(length, { 1.0f, 0.0f }));
        EXPECT_EQ(flat.config.burst_raise_idx, 100u);
        EXPECT_EQ(flat.config.burst_len, 800u);
        EXPECT_EQ(flat.pulse_center_sym, 50); // (800 - 400) / 2 / 4
    }
}

TEST(Placement, LivesWithASampleRateOfNought)
{
    placement_setting_t setting;
    setting.burst_search = true;
    setting.sample_rate = 0;
    const placement_t placement = place(setting);
    EXPECT_EQ(placement.demod_data_len, 0u);
    EXPECT_EQ(placement.pulse_center_sym, 0);
}

TEST(Placement, TakesNoNoticeOfTheThreshold)
{
    const complex_array block = make_burst(6000);
    for (const float threshold : { -90.0f, 0.0f })
    {
        lib_dma_frame_configure_manager_t frame;
        frame.set_burst_search(true);
        frame.set_burst_search_threshold(threshold);
        lib_dma_phy_t analyser;
        analyser.set_frame_configure(frame);
        lib_dma_demod_config_mgr config;
        config.sample_rate = 40'000'000;
        config.pre_num_max = 360;
        config.data_len = 6000;
        std::uint32_t demod_data_len = 0;
        std::int32_t pulse_center_sym = 0;
        std::int32_t pre_sym = 0;
        const log_capture_t log;
        const trace_capture_t trace;
        analyser.cal_first_segment_demod_info(block, config, demod_data_len, pulse_center_sym, pre_sym, 0);
        EXPECT_EQ(config.burst_raise_idx, 360u);
        EXPECT_EQ(config.burst_len, 5280u);
        EXPECT_EQ(log.count(common_log::log_level_error, not_found_text), 1);
    }
}

TEST(Placement, RaisesForASegmentWithoutAFlag)
{
    lib_dma_phy_t analyser;
    lib_dma_demod_config_mgr config;
    config.sample_rate = 4'000'000;
    std::uint32_t demod_data_len = 0;
    std::int32_t pulse_center_sym = 0;
    std::int32_t pre_sym = 0;
    try
    {
        analyser.cal_first_segment_demod_info({}, config, demod_data_len, pulse_center_sym, pre_sym, 3);
        FAIL() << "no range error";
    }
    catch (const std::out_of_range& error)
    {
        EXPECT_STREQ(error.what(), "vector<bool>::_M_range_check: __n (which is 3) >= this->size() (which is 1)");
    }
}

TEST(Placement, OfAWholeRunIsFoundInTheRecord)
{
    // Eight samples a symbol, at which the capture reaches the demodulator unchanged. A group without results ends the run
    // where the record is complete.
    constexpr std::uint32_t interval = 100;
    lib_dma_frame_configure_manager_t frame;
    lib_dma_segment_configure_manager_t& segment = frame.get_segment(0);
    {
        const log_capture_t quiet; // the group has no preset constellation and says so
        segment.get_format_configure().set_format_group(LIB_DMA_GROUP_VSB);
    }
    segment.get_format_configure().set_symbol_rate(1'000'000);
    segment.get_format_configure().set_points_per_symbol(LIB_DMA_POINT8);
    segment.get_time_configure().set_meas_interval(LIB_DMA_GROUP_VSB, interval);
    segment.get_time_configure().set_meas_offset(-1);
    frame.set_search_length(500e-6);
    for (const bool burst_search : { false, true })
    {
        frame.set_burst_search(burst_search);
        lib_dma_phy_t analyser;
        analyser.set_frame_configure(frame);
        analyser.set_demod_data(make_burst(8000));
        const log_capture_t log;
        const trace_capture_t trace;
        EXPECT_EQ(analyser.dma_phy_process(), 0);
        EXPECT_EQ(log.count(common_log::log_level_error, not_found_text), burst_search ? 1 : 0);
        const lib_dma_demod_config_mgr& config = analyser.get_data_manager().get_dma_demod_config_mgr(0);
        EXPECT_EQ(config.pre_num_max, 8u * 90u);
        EXPECT_EQ(config.data_len, 8u * (180u + 500u));
        EXPECT_EQ(config.data_start, 8u * 90u);
        EXPECT_EQ(config.burst_len, 8u * 500u);
        EXPECT_EQ(config.burst_fall_idx, 8u * 590u - 1u);
        EXPECT_EQ(config.pulse_center_sym, burst_search ? (500 - 100) / 2 : 0);
        EXPECT_EQ(config.pre_num, 50u * 8u);
        EXPECT_FALSE(analyser.get_data_manager().get_brust_search_flag(0));
    }
}
