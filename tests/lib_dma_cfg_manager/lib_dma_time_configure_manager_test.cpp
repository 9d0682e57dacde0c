#include "lib_dma_cfg_manager/lib_dma_time_configure_manager.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <limits>

namespace vrim::dma_demod_lib
{
namespace
{
TEST(TimeRecord, StartsWith1024SymbolsAndTheOffsetMinusOne)
{
    const lib_dma_time_configure_manager_t record;
    EXPECT_EQ(record.get_meas_interval(), 1024u);
    EXPECT_EQ(record.get_meas_offset(), -1);
    EXPECT_EQ(record.get_meas_offset_reference(), LIB_DMA_RELATIVE_TO_CAPTURE);
}

TEST(TimeRecord, InitRestoresTheDefaults)
{
    lib_dma_time_configure_manager_t record;
    record.set_meas_interval(LIB_DMA_GROUP_PSK, 200);
    record.set_meas_offset(100);
    record.set_meas_offset_reference(LIB_DMA_RELATIVE_TO_SYNC_PATTERN);
    EXPECT_NE(record, lib_dma_time_configure_manager_t());
    record.init();
    EXPECT_EQ(record, lib_dma_time_configure_manager_t());
}

TEST(TimeRecord, ClampsTheIntervalToTenAndTenMillion)
{
    lib_dma_time_configure_manager_t record;
    const std::uint32_t cases[][2] = { { 0, 10 },
                                       { 9, 10 },
                                       { 10, 10 },
                                       { 11, 11 },
                                       { 9'999'999, 9'999'999 },
                                       { 10'000'000, 10'000'000 },
                                       { 10'000'001, 10'000'000 },
                                       { std::numeric_limits<std::uint32_t>::max(), 10'000'000 } };
    for (const auto& [value, expected] : cases)
    {
        EXPECT_TRUE(record.set_meas_interval(LIB_DMA_GROUP_PSK, value));
        EXPECT_EQ(record.get_meas_interval(), expected) << value;
    }
}

TEST(TimeRecord, TakesTheSameIntervalInEveryGroup)
{
    for (std::uint32_t group = 0; group <= 10; ++group)
    {
        lib_dma_time_configure_manager_t record;
        EXPECT_TRUE(record.set_meas_interval(static_cast<lib_dma_modulation_type_t>(group), 5));
        EXPECT_EQ(record.get_meas_interval(), 10u) << group;
    }
}

TEST(TimeRecord, KeepsTheDefaultOffsetUnderTheShortestInterval)
{
    lib_dma_time_configure_manager_t record;
    EXPECT_TRUE(record.set_meas_interval(LIB_DMA_GROUP_QAM, 5));
    EXPECT_EQ(record.get_meas_interval(), 10u);
    EXPECT_EQ(record.get_meas_offset(), -1);
}

TEST(TimeRecord, PullsTheOffsetIntoAShorterInterval)
{
    const std::int32_t cases[][2] = { { 500, 100 },   { -500, -100 }, { 100, 100 }, { -100, -100 }, { 101, 100 },
                                      { -101, -100 }, { 99, 99 },     { -99, -99 }, { 0, 0 } };
    for (const auto& [offset, expected] : cases)
    {
        lib_dma_time_configure_manager_t record;
        record.set_meas_offset(offset);
        record.set_meas_interval(LIB_DMA_GROUP_PSK, 100);
        EXPECT_EQ(record.get_meas_offset(), expected) << offset;
    }
}

TEST(TimeRecord, ClampsTheOffsetToTheIntervalInMagnitude)
{
    lib_dma_time_configure_manager_t record;
    record.set_meas_interval(LIB_DMA_GROUP_PSK, 100);
    const std::int32_t cases[][2] = { { 100, 100 },
                                      { 101, 100 },
                                      { -100, -100 },
                                      { -101, -100 },
                                      { 7, 7 },
                                      { std::numeric_limits<std::int32_t>::max(), 100 },
                                      { std::numeric_limits<std::int32_t>::min(), -100 } };
    for (const auto& [value, expected] : cases)
    {
        EXPECT_TRUE(record.set_meas_offset(value));
        EXPECT_EQ(record.get_meas_offset(), expected) << value;
    }
}

TEST(TimeRecord, DiffersWhenAnyFieldDiffers)
{
    lib_dma_time_configure_manager_t interval, offset, reference;
    interval.set_meas_interval(LIB_DMA_GROUP_PSK, 1025);
    offset.set_meas_offset(0);
    reference.set_meas_offset_reference(LIB_DMA_RELATIVE_TO_SYNC_PATTERN);
    for (const auto& record : { interval, offset, reference })
    {
        EXPECT_NE(record, lib_dma_time_configure_manager_t());
        const lib_dma_time_configure_manager_t copy = record;
        EXPECT_EQ(copy, record);
    }
}
} // namespace
} // namespace vrim::dma_demod_lib
