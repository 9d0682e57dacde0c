#include "lib_dma_common/run_in.h"

#include <gtest/gtest.h>

using namespace vrim::dma_demod_lib;

namespace
{
lib_dma_segment_configure_manager_t make_segment(lib_dma_modulation_type_t group, std::uint64_t symbol_rate,
                                                 std::uint32_t interval, std::int32_t offset)
{
    lib_dma_segment_configure_manager_t segment;
    segment.get_format_configure().set_format_group(group);
    segment.get_format_configure().set_symbol_rate(symbol_rate);
    segment.get_time_configure().set_meas_interval(group, interval);
    segment.get_time_configure().set_meas_offset(offset);
    return segment;
}
} // namespace

TEST(RunIn, IsOneHundredEightySymbolsAndMoreForTheOffsetFormats)
{
    for (std::uint32_t value = 0; value <= 10; ++value)
    {
        const auto group = static_cast<lib_dma_modulation_type_t>(value);
        lib_dma_demod_config_mgr config;
        update_run_in(make_segment(group, 2'000'000, 100, -1), config);
        const bool offset_format = group == LIB_DMA_GROUP_MSK || group == LIB_DMA_GROUP_OQPSK;
        EXPECT_EQ(config.pre_time, (offset_format ? 228.0 : 180.0) / 2e6) << value;
        EXPECT_EQ(config.equalizer_time, 0.0);
    }
}

TEST(RunIn, TakesThePreTimeOfTheLastSegment)
{
    lib_dma_demod_config_mgr config;
    update_run_in(make_segment(LIB_DMA_GROUP_MSK, 1'000'000, 100, -1), config);
    update_run_in(make_segment(LIB_DMA_GROUP_PSK, 1'000'000, 100, -1), config);
    EXPECT_EQ(config.pre_time, 180.0 / 1e6);
}

TEST(RunIn, KeepsAPreTimeThatIsAsGoodAsEqual)
{
    lib_dma_demod_config_mgr config;
    config.pre_time = 180.0 / 1e6 + 5e-13;
    update_run_in(make_segment(LIB_DMA_GROUP_PSK, 1'000'000, 100, -1), config);
    EXPECT_EQ(config.pre_time, 180.0 / 1e6 + 5e-13);
    config.pre_time = 180.0 / 1e6 + 2e-12;
    update_run_in(make_segment(LIB_DMA_GROUP_PSK, 1'000'000, 100, -1), config);
    EXPECT_EQ(config.pre_time, 180.0 / 1e6);
}

TEST(RunIn, AddsTheEqualizerOfTheLastSegmentThatHasOne)
{
    lib_dma_demod_config_mgr config;
    lib_dma_segment_configure_manager_t with = make_segment(LIB_DMA_GROUP_PSK, 1'000'000, 100, -1);
    with.get_advance_configure().set_equalizer(true);
    with.get_advance_configure().set_equalizer_filter_len(31);
    const double length = static_cast<double>(with.get_advance_configure().get_equalizer_filter_len());
    update_run_in(with, config);
    EXPECT_EQ(config.equalizer_time, (length + 2.0) / 1e6);
    update_run_in(make_segment(LIB_DMA_GROUP_PSK, 500'000, 100, -1), config);
    EXPECT_EQ(config.equalizer_time, (length + 2.0) / 1e6);
    with.get_format_configure().set_symbol_rate(4'000'000);
    update_run_in(with, config);
    EXPECT_EQ(config.equalizer_time, (length + 2.0) / 4e6);
}

TEST(RunIn, KeepsTheLongestSegment)
{
    lib_dma_demod_config_mgr config;
    update_run_in(make_segment(LIB_DMA_GROUP_PSK, 1'000'000, 100, 40), config);
    EXPECT_EQ(config.minseglen, 140.0 / 1e6);
    update_run_in(make_segment(LIB_DMA_GROUP_PSK, 1'000'000, 100, 10), config);
    EXPECT_EQ(config.minseglen, 140.0 / 1e6);
    update_run_in(make_segment(LIB_DMA_GROUP_PSK, 1'000'000, 300, -100), config);
    EXPECT_EQ(config.minseglen, 200.0 / 1e6);
}

TEST(RunIn, CountsAnOffsetOfMinusOneAsNone)
{
    lib_dma_demod_config_mgr config;
    update_run_in(make_segment(LIB_DMA_GROUP_PSK, 1'000'000, 100, -1), config);
    EXPECT_EQ(config.minseglen, 100.0 / 1e6);
    lib_dma_demod_config_mgr other;
    update_run_in(make_segment(LIB_DMA_GROUP_PSK, 1'000'000, 100, -2), other);
    EXPECT_EQ(other.minseglen, 98.0 / 1e6);
}
