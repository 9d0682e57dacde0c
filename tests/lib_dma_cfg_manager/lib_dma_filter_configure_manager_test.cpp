#include "lib_dma_cfg_manager/lib_dma_filter_configure_manager.h"

#include "output_capture.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace vrim::dma_demod_lib
{
namespace
{
constexpr const char* length_report =
    "lib_dma_filter_configure_manager_t::set_filter_length Report: Filter length is too small!\n";

TEST(FilterRecord, StartsWithRootRaisedCosineAgainstRaisedCosine)
{
    const lib_dma_filter_configure_manager_t record;
    EXPECT_EQ(record.get_meas_filter_type(), LIB_DMA_MEAS_ROOT_RAISED_COSINE_FILTER);
    EXPECT_EQ(record.get_ref_filter_type(), LIB_DMA_REF_RAISED_COSINE_FILTER);
    EXPECT_EQ(record.get_filter_alpha(), 0.5f);
    EXPECT_EQ(record.get_filter_beta(), 0.6f);
    EXPECT_EQ(record.get_filter_length(), 16u);
    EXPECT_EQ(record.get_user_define_filter_type(), LIB_DMA_USER_DEFINE_MEAS_FILTER);
    EXPECT_EQ(record.get_user_define_filter_coef(), 0.5f);
}

TEST(FilterRecord, StoresPlainFieldsAndInitRestoresThem)
{
    lib_dma_filter_configure_manager_t record;
    EXPECT_TRUE(record.set_meas_filter_type(LIB_DMA_MEAS_GAUSSIAN_FILTER));
    EXPECT_TRUE(record.set_ref_filter_type(LIB_DMA_REF_USER_DEFINE_FILTER));
    EXPECT_TRUE(record.set_user_define_filter_type(LIB_DMA_USER_DEFINE_REF_FILTER));
    EXPECT_TRUE(record.set_user_define_filter_coef(-1e30f));
    EXPECT_EQ(record.get_meas_filter_type(), LIB_DMA_MEAS_GAUSSIAN_FILTER);
    EXPECT_EQ(record.get_ref_filter_type(), LIB_DMA_REF_USER_DEFINE_FILTER);
    EXPECT_EQ(record.get_user_define_filter_type(), LIB_DMA_USER_DEFINE_REF_FILTER);
    EXPECT_EQ(record.get_user_define_filter_coef(), -1e30f);
    record.init();
    EXPECT_EQ(record, lib_dma_filter_configure_manager_t());
}

TEST(FilterRecord, ReportsALengthOutOfRangeInTheSameWordsInBothDirections)
{
    const std::uint32_t cases[][2] = {
        { 0, 2 }, { 1, 2 }, { 513, 512 }, { 1000, 512 }, { std::numeric_limits<std::uint32_t>::max(), 512 }
    };
    for (const auto& [value, stored] : cases)
    {
        lib_dma_filter_configure_manager_t record;
        output_capture_t output;
        EXPECT_FALSE(record.set_filter_length(value));
        EXPECT_EQ(record.get_filter_length(), stored) << value;
        EXPECT_EQ(output.printed, length_report);
        EXPECT_TRUE(output.logged.empty());
    }
}

TEST(FilterRecord, TakesLengthsInRangeWithoutAWord)
{
    for (const std::uint32_t value : { 2u, 3u, 511u, 512u })
    {
        lib_dma_filter_configure_manager_t record;
        output_capture_t output;
        EXPECT_TRUE(record.set_filter_length(value));
        EXPECT_EQ(record.get_filter_length(), value);
        EXPECT_EQ(output.printed, "");
    }
}

TEST(FilterRecord, ClampsAlphaAndBeta)
{
    const float below = std::nextafter(0.05f, 0.0f);
    const float above = std::nextafter(0.05f, 1.0f);
    const float infinity = std::numeric_limits<float>::infinity();
    const float common[][2] = { { -1.0f, 0.05f }, { 0.0f, 0.05f }, { below, 0.05f },    { 0.05f, 0.05f },
                                { above, above }, { 1.0f, 1.0f },  { -infinity, 0.05f } };
    for (const auto& [value, expected] : common)
    {
        lib_dma_filter_configure_manager_t record;
        EXPECT_TRUE(record.set_filter_alpha(value));
        EXPECT_TRUE(record.set_filter_beta(value));
        EXPECT_EQ(record.get_filter_alpha(), expected) << value;
        EXPECT_EQ(record.get_filter_beta(), expected) << value;
    }
    lib_dma_filter_configure_manager_t record;
    for (const float value : { std::nextafter(1.0f, 2.0f), 3.0f, infinity })
    {
        record.set_filter_alpha(value);
        EXPECT_EQ(record.get_filter_alpha(), 1.0f) << value;
    }
    record.set_filter_beta(100.0f);
    EXPECT_EQ(record.get_filter_beta(), 100.0f);
    for (const float value : { std::nextafter(100.0f, 200.0f), infinity })
    {
        record.set_filter_beta(value);
        EXPECT_EQ(record.get_filter_beta(), 100.0f) << value;
    }
}

TEST(FilterRecord, DiffersWhenAnyFieldDiffers)
{
    lib_dma_filter_configure_manager_t records[7];
    records[0].set_meas_filter_type(LIB_DMA_MEAS_NONE_FILTER);
    records[1].set_ref_filter_type(LIB_DMA_REF_NONE_FILTER);
    records[2].set_filter_alpha(0.35f);
    records[3].set_filter_beta(0.35f);
    records[4].set_filter_length(17);
    records[5].set_user_define_filter_type(LIB_DMA_USER_DEFINE_REF_FILTER);
    records[6].set_user_define_filter_coef(0.6f);
    for (const auto& record : records)
        EXPECT_NE(record, lib_dma_filter_configure_manager_t());
}
} // namespace
} // namespace vrim::dma_demod_lib
