#include "lib_dma_demod/stage/demod_settings.h"

#include <gtest/gtest.h>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using namespace vrim::dma_demod_lib::demod_stage;

namespace
{
demod_setting_t load(const lib_dma_frame_configure_manager_t& frame, const lib_dma_demod_config_mgr& config = {})
{
    demod_setting_t setting;
    update_demod_setting(frame, 0, config, setting);
    return setting;
}
} // namespace

TEST(DemodSettings, AreThoseOfTheSegment)
{
    lib_dma_frame_configure_manager_t frame;
    frame.set_sync_search(true); // takes the offset with it, so it comes first
    frame.set_sync_offset(-2.5f);
    lib_dma_segment_configure_manager_t& segment = frame.get_segment(0);
    segment.get_filter_configure().set_meas_filter_type(LIB_DMA_MEAS_ROOT_RAISED_COSINE_FILTER);
    segment.get_filter_configure().set_ref_filter_type(LIB_DMA_REF_RAISED_COSINE_FILTER);
    segment.get_filter_configure().set_filter_length(24);
    segment.get_filter_configure().set_filter_alpha(0.22f);
    segment.get_filter_configure().set_filter_beta(0.4f);
    segment.get_format_configure().set_symbol_rate(2500000);
    segment.get_time_configure().set_meas_interval(LIB_DMA_GROUP_PSK, 300);
    segment.get_time_configure().set_meas_offset(7);
    segment.get_advance_configure().set_iq_rotation(30.0f);
    segment.get_advance_configure().set_clock_adjust(0.25f);
    segment.get_advance_configure().set_evm_normalization_ref(LIB_DMA_EVM_NORMALIZE_CONSTELLATION_MAX);
    segment.get_advance_configure().set_equalizer(true);

    lib_dma_demod_config_mgr config;
    config.pre_num = 123;
    config.sample_rate = 7000000;
    config.data_start = 55;
    config.head_len = 66;
    config.equalizer_head_len = 77;
    const demod_setting_t setting = load(frame, config);
    EXPECT_EQ(setting.meas_filter_type, LIB_DMA_MEAS_ROOT_RAISED_COSINE_FILTER);
    EXPECT_EQ(setting.ref_filter_type, LIB_DMA_REF_RAISED_COSINE_FILTER);
    EXPECT_EQ(setting.filter_length, 24u);
    EXPECT_EQ(setting.filter_alpha, 0.22f);
    EXPECT_EQ(setting.filter_beta, 0.4f);
    EXPECT_EQ(setting.symbol_rate, 2500000u);
    EXPECT_EQ(setting.meas_interval, 300u);
    EXPECT_EQ(setting.meas_offset, 7);
    EXPECT_EQ(setting.iq_rotation, 30.0f);
    EXPECT_EQ(setting.clock_adjust, 0.25f);
    EXPECT_EQ(setting.evm_normalization_ref, LIB_DMA_EVM_NORMALIZE_CONSTELLATION_MAX);
    EXPECT_TRUE(setting.equalizer);
    EXPECT_TRUE(setting.sync_search);
    EXPECT_EQ(setting.sync_offset, -2.5f);
    EXPECT_EQ(setting.sync_pattern_bitarr, frame.get_sync_pattern_bitarr());
    EXPECT_EQ(setting.pre_num, 123u);
    EXPECT_EQ(setting.sample_rate, 7000000u);
    EXPECT_EQ(setting.data_start, 55u);
    EXPECT_EQ(setting.head_len, 66u);
    EXPECT_EQ(setting.equalizer_head_len, 77u);
    EXPECT_TRUE(setting.iq_offset_flag);
}

TEST(DemodSettings, GiveAGaussianReferenceItsTimeBandwidthProduct)
{
    lib_dma_frame_configure_manager_t frame;
    lib_dma_filter_configure_manager_t& filter = frame.get_segment(0).get_filter_configure();
    filter.set_filter_alpha(0.22f);
    filter.set_filter_beta(0.3f);
    filter.set_ref_filter_type(LIB_DMA_REF_GAUSSIAN_FILTER);
    EXPECT_EQ(load(frame).filter_alpha, 0.3f);
    filter.set_ref_filter_type(LIB_DMA_REF_RAISED_COSINE_FILTER);
    EXPECT_EQ(load(frame).filter_alpha, 0.22f);
}

TEST(DemodSettings, WorkAtAnEvenMultipleOfTheResultRate)
{
    struct rate_case_t
    {
        lib_dma_point_per_symbol_type_t points;
        std::uint32_t sps;
    };
    const rate_case_t cases[] = { { LIB_DMA_POINT1, 8 },   { LIB_DMA_POINT2, 8 },   { LIB_DMA_POINT4, 8 },
                                  { LIB_DMA_POINT5, 10 },  { LIB_DMA_POINT6, 12 },  { LIB_DMA_POINT8, 8 },
                                  { LIB_DMA_POINT10, 10 }, { LIB_DMA_POINT12, 12 }, { LIB_DMA_POINT14, 14 },
                                  { LIB_DMA_POINT16, 16 }, { LIB_DMA_POINT20, 20 } };
    for (const rate_case_t& item : cases)
    {
        lib_dma_frame_configure_manager_t frame;
        frame.get_segment(0).get_format_configure().set_points_per_symbol(item.points);
        const demod_setting_t setting = load(frame);
        EXPECT_EQ(setting.points_per_symbol, static_cast<std::uint32_t>(item.points));
        EXPECT_EQ(setting.sps, item.sps) << item.points;
    }
}

TEST(DemodSettings, GiveTheEqualizerAnOddLengthAtTheResultRate)
{
    for (const std::uint32_t taps : { 21u, 20u, 3u, 35u })
    {
        lib_dma_frame_configure_manager_t frame;
        frame.get_segment(0).get_format_configure().set_points_per_symbol(LIB_DMA_POINT4);
        frame.get_segment(0).get_advance_configure().set_equalizer_filter_len(taps);
        const std::uint32_t length = frame.get_segment(0).get_advance_configure().get_equalizer_filter_len();
        EXPECT_EQ(load(frame).equalizer_filter_len, length / 2 * 2 * 4 + 1) << taps;
    }
}
