#include "cfg/cfg_dma_frame.h"

#include "message_capture.h"

#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <string>

namespace vrim::dma_demod_lib
{
namespace
{
// Powers of two, so that every time below is exact in double precision.
constexpr std::uint64_t symbol_rate = 1u << 20;
constexpr std::uint64_t sample_rate = 1u << 22; // four samples a symbol
constexpr double symbol = 1.0 / static_cast<double>(symbol_rate);

cfg_dma_frame_t make_frame()
{
    cfg_dma_frame_t frame;
    frame.get_segment(0).get_format_cfg().set_symbol_rate(symbol_rate);
    frame.get_segment(0).get_time_cfg().set_meas_interval(1024);
    return frame;
}

std::uint64_t get_data_len(const cfg_dma_frame_t& frame, double search_length, std::uint64_t rate = sample_rate)
{
    trace_capture_t trace;
    std::uint64_t data_len = 1;
    EXPECT_TRUE(frame.cal_demod_data_len(rate, search_length, data_len));
    EXPECT_EQ(trace.get_text(), "search_length can not less than search_len(" + std::to_string(data_len) + ")!\n");
    return data_len;
}

TEST(PreprocessParam, TakesTheRunInOfTheGroup)
{
    for (const auto group : { LIB_DMA_GROUP_PSK, LIB_DMA_GROUP_MSK, LIB_DMA_GROUP_OQPSK, LIB_DMA_GROUP_QAM })
    {
        cfg_dma_frame_t frame = make_frame();
        frame.get_segment(0).get_format_cfg().set_format_group(group);
        lib_dma_demod_config_mgr config;
        EXPECT_TRUE(frame.cal_preprocess_param(0, config));
        const bool longer = group == LIB_DMA_GROUP_MSK || group == LIB_DMA_GROUP_OQPSK;
        EXPECT_EQ(config.pre_time, (longer ? 228.0 : 180.0) * symbol) << "group " << group;
        EXPECT_EQ(config.equalizer_time, 0.0);
        EXPECT_EQ(config.minseglen, 1024.0 * symbol);
    }
}

TEST(PreprocessParam, AddsTheEqualizerAndTheOffset)
{
    cfg_dma_frame_t frame = make_frame();
    frame.get_segment(0).get_advance_cfg().set_equalizer(true);
    frame.get_segment(0).get_advance_cfg().set_equalizer_filter_len(31);
    frame.get_segment(0).get_time_cfg().set_meas_offset(50);
    lib_dma_demod_config_mgr config;
    frame.cal_preprocess_param(0, config);
    EXPECT_EQ(config.equalizer_time, 33.0 * symbol);
    EXPECT_EQ(config.minseglen, 1074.0 * symbol);
}

TEST(PreprocessParam, TheLastSegmentWinsButForTheShortestLength)
{
    cfg_dma_frame_t frame = make_frame();
    frame.get_segment(0).get_format_cfg().set_format_group(LIB_DMA_GROUP_MSK);
    frame.get_segment(0).get_advance_cfg().set_equalizer(true);
    frame.add_segment();
    frame.get_segment(1).get_format_cfg().set_symbol_rate(2 * symbol_rate);
    frame.get_segment(1).get_time_cfg().set_meas_interval(512);
    lib_dma_demod_config_mgr config;
    frame.cal_preprocess_param(0, config);
    frame.cal_preprocess_param(1, config);
    EXPECT_EQ(config.pre_time, 90.0 * symbol);
    EXPECT_EQ(config.equalizer_time, 23.0 * symbol) << "the only segment with an equalizer";
    EXPECT_EQ(config.minseglen, 1024.0 * symbol);
    lib_dma_demod_config_mgr last;
    frame.cal_preprocess_param(7, last);
    EXPECT_EQ(last.minseglen, 256.0 * symbol) << "past the end stands for the last segment";
}

TEST(DemodDataLen, RaisesAShortSearchLengthForTheCaller)
{
    const cfg_dma_frame_t frame = make_frame();
    double search_length = 1000.0 * symbol;
    std::uint64_t data_len = 0;
    trace_capture_t trace;
    EXPECT_TRUE(frame.cal_demod_data_len(sample_rate, search_length, data_len));
    EXPECT_EQ(search_length, 1024.0 * symbol);
    EXPECT_EQ(data_len, 4816u); // (180 + 1024) symbols
    EXPECT_EQ(trace.get_text(), "search_length can not less than search_len(4816)!\n");
}

TEST(DemodDataLen, KeepsALongSearchLengthAndPrintsAllTheSame)
{
    const cfg_dma_frame_t frame = make_frame();
    double search_length = 2000.0 * symbol;
    std::uint64_t data_len = 0;
    trace_capture_t trace;
    EXPECT_TRUE(frame.cal_demod_data_len(sample_rate, search_length, data_len));
    EXPECT_EQ(search_length, 2000.0 * symbol);
    EXPECT_EQ(data_len, 8720u); // (180 + 2000) symbols
    EXPECT_EQ(trace.get_text(), "search_length can not less than search_len(8720)!\n");
}

TEST(DemodDataLen, LeavesALengthThatIsShortByLessThanTheTolerance)
{
    const cfg_dma_frame_t frame = make_frame();
    trace_capture_t trace;
    std::uint64_t data_len = 0;
    double close = 1024.0 * symbol - 0.5e-12;
    const double given = close;
    frame.cal_demod_data_len(sample_rate, close, data_len);
    EXPECT_EQ(close, given);
    double apart = 1024.0 * symbol - 2e-12;
    frame.cal_demod_data_len(sample_rate, apart, data_len);
    EXPECT_EQ(apart, 1024.0 * symbol);
}

TEST(DemodDataLen, CountsRunInAndEqualizerAndRoundsUp)
{
    cfg_dma_frame_t frame = make_frame();
    EXPECT_EQ(get_data_len(frame, 0.0, 1000), 2u); // 1204 symbols are 1.148 ms
    EXPECT_EQ(get_data_len(frame, 0.0, symbol_rate), 1204u);
    frame.get_segment(0).get_advance_cfg().set_equalizer(true);
    EXPECT_EQ(get_data_len(frame, 0.0), 4908u); // 21 + 2 symbols more
    frame.get_segment(0).get_format_cfg().set_format_group(LIB_DMA_GROUP_MSK);
    EXPECT_EQ(get_data_len(frame, 0.0), 5100u); // 228 in place of 180
}

TEST(DemodDataLen, WalksAllSegments)
{
    cfg_dma_frame_t frame = make_frame();
    frame.get_segment(0).get_format_cfg().set_format_group(LIB_DMA_GROUP_MSK);
    frame.add_segment();
    frame.get_segment(1).get_format_cfg().set_symbol_rate(2 * symbol_rate);
    frame.get_segment(1).get_time_cfg().set_meas_interval(512);
    // run-in of the second, 90 symbols of the first's rate, and the interval of the first
    EXPECT_EQ(get_data_len(frame, 0.0), 4456u);
    frame.get_segment(1).get_time_cfg().set_meas_interval(4096);
    EXPECT_EQ(get_data_len(frame, 0.0), 8552u); // 90 + 2048
}

TEST(DemodDataLen, LeavesCursorsAndSettings)
{
    cfg_dma_frame_t frame = make_frame();
    frame.add_segment();
    cfg_dma_segment_t& segment = frame.get_segment(1);
    const cfg_dma_frame_t before = frame;
    get_data_len(frame, 0.0);
    EXPECT_EQ(frame, before);
    EXPECT_EQ(&segment.get_segment_manager(), &frame.get_frame_manager().get_segment(1));
}

TEST(DemodDataLen, StaysANumberForAnyInput)
{
    const cfg_dma_frame_t frame = make_frame();
    constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
    EXPECT_EQ(get_data_len(frame, -1e300), 4816u);
    EXPECT_EQ(get_data_len(frame, 1e300), most);
    EXPECT_EQ(get_data_len(frame, std::numeric_limits<double>::infinity()), most);
    EXPECT_EQ(get_data_len(frame, std::nan("")), 0u);
    EXPECT_EQ(get_data_len(frame, 0.0, 0), 0u);
    EXPECT_EQ(get_data_len(frame, 2.0, most), most);
}
} // namespace
} // namespace vrim::dma_demod_lib
