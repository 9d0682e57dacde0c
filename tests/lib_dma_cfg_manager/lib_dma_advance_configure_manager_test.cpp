#include "lib_dma_cfg_manager/lib_dma_advance_configure_manager.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace vrim::dma_demod_lib
{
namespace
{
TEST(AdvanceRecord, StartsWithItsDefaults)
{
    const lib_dma_advance_configure_manager_t record;
    EXPECT_FALSE(record.get_equalizer());
    EXPECT_EQ(record.get_equalizer_filter_len(), 21u);
    EXPECT_EQ(record.get_average_move_len(), 1u);
    EXPECT_FALSE(record.get_hold());
    EXPECT_EQ(record.get_equalizer_coef(), 0.01);
    EXPECT_EQ(record.get_fft_window(), LIB_DMA_WINDOW_RECTANGLE);
    EXPECT_FALSE(record.get_multi_carrier_filter());
    EXPECT_EQ(record.get_spectrum_type(), LIB_DMA_SPECTRUM_MORMAL);
    EXPECT_FALSE(record.get_gain_imb_quad_skew_couping());
    EXPECT_EQ(record.get_clock_adjust(), 0.0f);
    EXPECT_EQ(record.get_iq_rotation(), 0.0f);
    EXPECT_FALSE(record.get_iq_normalize());
    EXPECT_FALSE(record.get_low_snr_enhancement());
    EXPECT_EQ(record.get_evm_normalization_ref(), LIB_DMA_EVM_NORMALIZE_CONSTELLATION_MAX);
    EXPECT_TRUE(record.get_iq_offset_compensation());
}

TEST(AdvanceRecord, MakesTheEqualizerLengthOddBetween3And99)
{
    const std::uint32_t cases[][2] = { { 0, 3 },
                                       { 2, 3 },
                                       { 3, 3 },
                                       { 4, 5 },
                                       { 21, 21 },
                                       { 97, 97 },
                                       { 98, 99 },
                                       { 99, 99 },
                                       { 100, 99 },
                                       { 101, 99 },
                                       { std::numeric_limits<std::uint32_t>::max(), 99 } };
    lib_dma_advance_configure_manager_t record;
    for (const auto& [value, expected] : cases)
    {
        EXPECT_TRUE(record.set_equalizer_filter_len(value));
        EXPECT_EQ(record.get_equalizer_filter_len(), expected) << value;
    }
}

TEST(AdvanceRecord, MakesTheAverageLengthOddBetween1And101)
{
    const std::uint32_t cases[][2] = { { 0, 1 },     { 1, 1 },      { 2, 3 },
                                       { 99, 99 },   { 100, 101 },  { 101, 101 },
                                       { 102, 101 }, { 1000, 101 }, { std::numeric_limits<std::uint32_t>::max(), 101 } };
    lib_dma_advance_configure_manager_t record;
    for (const auto& [value, expected] : cases)
    {
        EXPECT_TRUE(record.set_average_move_len(value));
        EXPECT_EQ(record.get_average_move_len(), expected) << value;
    }
}

TEST(AdvanceRecord, ClampsTheRealFields)
{
    lib_dma_advance_configure_manager_t record;
    const double coefficients[][2] = { { -1.0, 1e-14 }, { 0.0, 1e-14 }, { 1e-14, 1e-14 },
                                       { 0.5, 0.5 },    { 1.0, 1.0 },   { std::nextafter(1.0, 2.0), 1.0 } };
    for (const auto& [value, expected] : coefficients)
    {
        EXPECT_TRUE(record.set_equalizer_coef(value));
        EXPECT_EQ(record.get_equalizer_coef(), expected) << value;
    }
    const float clocks[][2] = { { -0.6f, -0.5f }, { -0.5f, -0.5f }, { 0.25f, 0.25f }, { 0.5f, 0.5f }, { 0.51f, 0.5f } };
    for (const auto& [value, expected] : clocks)
    {
        EXPECT_TRUE(record.set_clock_adjust(value));
        EXPECT_EQ(record.get_clock_adjust(), expected) << value;
    }
    // 361 degrees come back as 360 and not as 1.
    const float rotations[][2] = { { -361.0f, -360.0f }, { -360.0f, -360.0f }, { 270.0f, 270.0f }, { 361.0f, 360.0f } };
    for (const auto& [value, expected] : rotations)
    {
        EXPECT_TRUE(record.set_iq_rotation(value));
        EXPECT_EQ(record.get_iq_rotation(), expected) << value;
    }
}

TEST(AdvanceRecord, RefusesOffsetCompensationForMskTypeOneOnly)
{
    for (std::uint32_t group = 0; group <= 10; ++group)
    {
        for (const auto msk_type : { LIB_DMA_MSK_TYPE1, LIB_DMA_MSK_TYPE2 })
        {
            lib_dma_advance_configure_manager_t record;
            const bool refused = group == LIB_DMA_GROUP_MSK && msk_type == LIB_DMA_MSK_TYPE1;
            EXPECT_TRUE(record.set_iq_offset_compensation(static_cast<lib_dma_modulation_type_t>(group), msk_type, true));
            EXPECT_EQ(record.get_iq_offset_compensation(), !refused) << group << ' ' << msk_type;
            EXPECT_TRUE(record.set_iq_offset_compensation(static_cast<lib_dma_modulation_type_t>(group), msk_type, false));
            EXPECT_FALSE(record.get_iq_offset_compensation());
        }
    }
}

TEST(AdvanceRecord, StoresEachFieldApartAndComparesIt)
{
    std::vector<lib_dma_advance_configure_manager_t> records(15);
    EXPECT_TRUE(records[0].set_equalizer(true));
    records[1].set_equalizer_filter_len(31);
    records[2].set_average_move_len(5);
    EXPECT_TRUE(records[3].set_hold(true));
    records[4].set_equalizer_coef(0.02);
    EXPECT_TRUE(records[5].set_fft_window(LIB_DMA_WINDOW_FLATTOP));
    EXPECT_TRUE(records[6].set_multi_carrier_filter(true));
    EXPECT_TRUE(records[7].set_spectrum_type(LIB_DMA_SPECTRUM_INVERT));
    EXPECT_TRUE(records[8].set_gain_imb_quad_skew_couping(true));
    records[9].set_clock_adjust(0.1f);
    records[10].set_iq_rotation(1.0f);
    EXPECT_TRUE(records[11].set_iq_normalize(true));
    EXPECT_TRUE(records[12].set_low_snr_enhancement(true));
    EXPECT_TRUE(records[13].set_evm_normalization_ref(LIB_DMA_EVM_NORMALIZE_RMS));
    records[14].set_iq_offset_compensation(LIB_DMA_GROUP_PSK, LIB_DMA_MSK_TYPE1, false);

    EXPECT_TRUE(records[0].get_equalizer());
    EXPECT_TRUE(records[3].get_hold());
    EXPECT_EQ(records[5].get_fft_window(), LIB_DMA_WINDOW_FLATTOP);
    EXPECT_TRUE(records[6].get_multi_carrier_filter());
    EXPECT_EQ(records[7].get_spectrum_type(), LIB_DMA_SPECTRUM_INVERT);
    EXPECT_TRUE(records[8].get_gain_imb_quad_skew_couping());
    EXPECT_TRUE(records[11].get_iq_normalize());
    EXPECT_TRUE(records[12].get_low_snr_enhancement());
    EXPECT_EQ(records[13].get_evm_normalization_ref(), LIB_DMA_EVM_NORMALIZE_RMS);
    for (std::size_t i = 0; i < records.size(); ++i)
    {
        for (std::size_t k = 0; k < i; ++k)
            EXPECT_NE(records[i], records[k]) << i << ' ' << k;
        EXPECT_NE(records[i], lib_dma_advance_configure_manager_t()) << i;
        records[i].init();
        EXPECT_EQ(records[i], lib_dma_advance_configure_manager_t()) << i;
    }
}
} // namespace
} // namespace vrim::dma_demod_lib
