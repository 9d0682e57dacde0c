#include "cfg/cfg_dma_segment.h"
#include "message_capture.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <gtest/gtest.h>
#include <type_traits>
#include <utility>

namespace vrim::dma_demod_lib
{
namespace
{
lib_dma_frame_configure_manager_t make_frame(std::uint32_t segments)
{
    lib_dma_frame_configure_manager_t frame;
    while (frame.get_segment_number() < segments)
        frame.add_segment();
    return frame;
}

/// Sets through the facade and reads through the facade and the record; the other segment's record must keep its defaults.
template <typename facade_t, typename record_t>
class forward_check_t
{
public:
    forward_check_t(facade_t& facade, const record_t& record, const record_t& other)
        : facade_(facade), record_(record), other_(other)
    {
    }

    template <typename argument_t, typename value_t>
    void operator()(const char* name, bool (facade_t::*set)(argument_t), value_t (facade_t::*get)() const,
                    value_t (record_t::*read)() const, const std::type_identity_t<std::remove_cvref_t<argument_t>>& value)
    {
        SCOPED_TRACE(name);
        EXPECT_NE((record_.*read)(), value) << "a value that is there already shows nothing";
        EXPECT_TRUE((facade_.*set)(value));
        EXPECT_EQ((record_.*read)(), value);
        EXPECT_EQ((facade_.*get)(), value);
        EXPECT_EQ(other_, record_t());
    }

private:
    facade_t& facade_;
    const record_t& record_;
    const record_t& other_;
};

#define CHECK_FORWARD(name, value) check(#name, &facade_t::set_##name, &facade_t::get_##name, &record_t::get_##name, value)

TEST(TimeFacade, ForwardsToTheRecordOfItsSegment)
{
    using facade_t = cfg_dma_time_t;
    using record_t = lib_dma_time_configure_manager_t;
    auto frame = make_frame(3);
    facade_t facade(frame);
    ASSERT_TRUE(facade.set_current_segment_index(1));
    forward_check_t check(facade, std::as_const(frame).get_segment(1).get_time_configure(),
                          std::as_const(frame).get_segment(2).get_time_configure());
    CHECK_FORWARD(meas_interval, 2000u);
    CHECK_FORWARD(meas_offset, -70);
    CHECK_FORWARD(meas_offset_reference, LIB_DMA_RELATIVE_TO_SYNC_PATTERN);
}

TEST(FilterFacade, ForwardsToTheRecordOfItsSegment)
{
    using facade_t = cfg_dma_filter_t;
    using record_t = lib_dma_filter_configure_manager_t;
    auto frame = make_frame(3);
    facade_t facade(frame);
    ASSERT_TRUE(facade.set_current_segment_index(1));
    forward_check_t check(facade, std::as_const(frame).get_segment(1).get_filter_configure(),
                          std::as_const(frame).get_segment(2).get_filter_configure());
    CHECK_FORWARD(filter_length, 20u);
    CHECK_FORWARD(meas_filter_type, LIB_DMA_MEAS_GAUSSIAN_FILTER);
    CHECK_FORWARD(ref_filter_type, LIB_DMA_REF_HALF_SINE_FILTER);
    CHECK_FORWARD(filter_alpha, 0.25f);
    CHECK_FORWARD(filter_beta, 2.5f);
    CHECK_FORWARD(user_define_filter_type, LIB_DMA_USER_DEFINE_REF_FILTER);
    CHECK_FORWARD(user_define_filter_coef, 7.5f);
}

TEST(FilterFacade, HandsBackTheRecordsRefusal)
{
    auto frame = make_frame(1);
    cfg_dma_filter_t facade(frame);
    trace_capture_t trace;
    EXPECT_FALSE(facade.set_filter_length(1));
    EXPECT_EQ(trace.get_text(), "lib_dma_filter_configure_manager_t::set_filter_length Report: Filter length is too small!\n");
    EXPECT_EQ(facade.get_filter_length(), 2u);
}

TEST(AdvanceFacade, ForwardsToTheRecordOfItsSegment)
{
    using facade_t = cfg_dma_advance_t;
    using record_t = lib_dma_advance_configure_manager_t;
    auto frame = make_frame(3);
    facade_t facade(frame);
    ASSERT_TRUE(facade.set_current_segment_index(1));
    forward_check_t check(facade, std::as_const(frame).get_segment(1).get_advance_configure(),
                          std::as_const(frame).get_segment(2).get_advance_configure());
    CHECK_FORWARD(equalizer_coef, 0.25);
    CHECK_FORWARD(equalizer, true);
    CHECK_FORWARD(equalizer_filter_len, 33u);
    CHECK_FORWARD(average_move_len, 5u);
    CHECK_FORWARD(hold, true);
    CHECK_FORWARD(fft_window, LIB_DMA_WINDOW_FLATTOP);
    CHECK_FORWARD(multi_carrier_filter, true);
    CHECK_FORWARD(spectrum_type, LIB_DMA_SPECTRUM_INVERT);
    CHECK_FORWARD(gain_imb_quad_skew_couping, true);
    CHECK_FORWARD(clock_adjust, 0.125f);
    CHECK_FORWARD(iq_rotation, -90.0f);
    CHECK_FORWARD(iq_normalize, true);
    CHECK_FORWARD(low_snr_enhancement, true);
    CHECK_FORWARD(evm_normalization_ref, LIB_DMA_EVM_NORMALIZE_RMS);
    CHECK_FORWARD(iq_offset_compensation, false);
}

TEST(FormatFacade, ForwardsToTheRecordOfItsSegment)
{
    using facade_t = cfg_dma_format_t;
    using record_t = lib_dma_format_configure_manager_t;
    auto frame = make_frame(3);
    facade_t facade(frame);
    ASSERT_TRUE(facade.set_current_segment_index(1));
    forward_check_t check(facade, std::as_const(frame).get_segment(1).get_format_configure(),
                          std::as_const(frame).get_segment(2).get_format_configure());
    CHECK_FORWARD(format_group, LIB_DMA_GROUP_QAM);
    CHECK_FORWARD(psk_format, LIB_DMA_MODULATION_PSK_8_PSK);
    CHECK_FORWARD(qam_format, LIB_DMA_QAM_64);
    CHECK_FORWARD(fsk_format, LIB_DMA_FSK_16);
    CHECK_FORWARD(msk_format, LIB_DMA_MSK_TYPE2);
    CHECK_FORWARD(ask_format, LIB_DMA_ASK_8);
    CHECK_FORWARD(apsk_format, LIB_DMA_APSK_32);
    CHECK_FORWARD(dpsk_format, LIB_DMA_MODULATION_PSK_D8PSK);
    CHECK_FORWARD(oqpsk_format, LIB_DMA_MODULATION_PSK_OFFSET_SHAPED_QPSK);
    CHECK_FORWARD(vsb_format, LIB_DMA_VSB_16);
    CHECK_FORWARD(custom_iq_format, static_cast<lib_dma_custom_modulation_type_t>(1));
    CHECK_FORWARD(other_format, LIB_DMA_OTHER_EDGE);
    CHECK_FORWARD(fsk_tx_freq_offset, 1500.0f);
    CHECK_FORWARD(fsk_deviation_ref, LIB_DMA_FSK_DEVIATION_MANUAL);
    CHECK_FORWARD(apsk_r2_r1, 2.0f);
    CHECK_FORWARD(apsk_r3_r1, 6.0f);
    CHECK_FORWARD(cpm_auto, true);
    CHECK_FORWARD(cpm_index, LIB_DMA_CPM_INDEX_TYPE3);
    CHECK_FORWARD(msk_dfas, false);
    CHECK_FORWARD(oqpsk_alig_iq, true);
    CHECK_FORWARD(custom_iq_sync_persistence_target, 0.75f);
    CHECK_FORWARD(custom_iq_phase_rotation, 45.0f);
    CHECK_FORWARD(custom_iq_shift, true);
    CHECK_FORWARD(custom_iq_diff, true);
    CHECK_FORWARD(custom_iq_offset, true);
    CHECK_FORWARD(symbol_rate, 3'840'000u);
    CHECK_FORWARD(points_per_symbol, LIB_DMA_POINT10);
    const constellation_map map = { { 0, { 1.0f, 0.0f } }, { 1, { 0.0f, 1.0f } }, { 3, { -1.0f, 0.0f } } };
    CHECK_FORWARD(const_iq_map_data, map);
}

TEST(RecallFacade, ForwardsToTheRecordOfItsSegment)
{
    using facade_t = cfg_dma_recall_demod_info_t;
    using record_t = lib_dma_recall_demod_info_configure_manager_t;
    auto frame = make_frame(3);
    facade_t facade(frame);
    ASSERT_TRUE(facade.set_current_segment_index(1));
    forward_check_t check(facade, std::as_const(frame).get_segment(1).get_recall_demod_info_configure(),
                          std::as_const(frame).get_segment(2).get_recall_demod_info_configure());
    CHECK_FORWARD(tx_pattern, (bit_array{ 1, 0, 1, 1 }));
    CHECK_FORWARD(ber_state, true);
    CHECK_FORWARD(total_bits_len, 4000u);
    CHECK_FORWARD(payload_data_type, LIB_DMA_PN9);
    EXPECT_EQ(facade.get_tx_pattern().size(), 511u);
}

TEST(FormatFacade, NamesTheModulationIndicesOfTheSegment)
{
    auto frame = make_frame(2);
    cfg_dma_format_t facade(frame);
    facade.set_current_segment_index(1);
    facade.set_cpm_index(LIB_DMA_CPM_INDEX_TYPE7);
    EXPECT_FALSE(facade.get_cpm_index_string().empty());
    EXPECT_EQ(facade.get_cpm_index_string(), frame.get_segment(1).get_format_configure().get_cpm_index_string());
    EXPECT_NE(facade.get_cpm_index_string(), frame.get_segment(0).get_format_configure().get_cpm_index_string());
}

TEST(FormatFacade, MakesThePresetAtUnitRmsAndStoresIt)
{
    auto frame = make_frame(2);
    cfg_dma_format_t facade(frame);
    facade.set_current_segment_index(1);
    facade.set_format_group(LIB_DMA_GROUP_QAM);
    facade.set_const_iq_map_data({});
    const constellation_map map = facade.get_preset_mod_constellation_info();
    ASSERT_EQ(map.size(), 16u);
    double power = 0.0;
    double peak = 0.0;
    for (const auto& [symbol, point] : map)
    {
        power += std::norm(std::complex<double>(point)) / 16.0;
        peak = std::max(peak, std::abs(std::complex<double>(point)));
    }
    EXPECT_NEAR(power, 1.0, 1e-6);                   // single precision
    EXPECT_NEAR(peak, std::sqrt(18.0 / 10.0), 1e-6); // the corner 3 + 3i over the rms of a square of levels 1 and 3
    EXPECT_EQ(frame.get_segment(1).get_format_configure().get_const_iq_map_data(), map);
    EXPECT_EQ(facade.get_const_iq_map_data(), map);
}

TEST(FormatFacade, AddsASymbolToTheMapOfItsSegment)
{
    const constellation_map three = { { 0, { 1.0f, 0.0f } }, { 1, { 0.0f, 1.0f } }, { 3, { -1.0f, 0.0f } } };
    constellation_map four = three;
    four[2] = { 0.0f, 0.0f };
    auto frame = make_frame(2);
    cfg_dma_format_t facade(frame);
    facade.set_current_segment_index(1);
    facade.set_const_iq_map_data(three);
    EXPECT_EQ(facade.set_constellation_sym_index(2, 0), 0);
    EXPECT_EQ(frame.get_segment(1).get_format_configure().get_const_iq_map_data(), four);
    EXPECT_TRUE(frame.get_segment(1).get_format_configure().get_constellation_setting_flag());
    EXPECT_EQ(facade.get_constellation_sym_index(), 0u); // nothing writes it
    log_capture_t log;
    EXPECT_EQ(facade.set_constellation_sym_index(3, 0), -3);
    EXPECT_EQ(facade.set_constellation_sym_index(4, 0), -2);
}

TEST(IqOffsetCompensation, FollowsEveryChangeOfGroupAndMskFormat)
{
    auto frame = make_frame(2);
    cfg_dma_segment_t segment(frame);
    ASSERT_TRUE(segment.set_current_segment_index(1));
    const auto compensates = [&] { return frame.get_segment(1).get_advance_configure().get_iq_offset_compensation(); };
    ASSERT_TRUE(compensates());
    segment.get_format_cfg().set_format_group(LIB_DMA_GROUP_MSK);
    EXPECT_FALSE(compensates()) << "the default format is type 1";
    segment.get_format_cfg().set_msk_format(LIB_DMA_MSK_TYPE2);
    EXPECT_TRUE(compensates());
    segment.get_format_cfg().set_msk_format(LIB_DMA_MSK_TYPE1);
    EXPECT_FALSE(compensates());
    segment.get_format_cfg().set_format_group(LIB_DMA_GROUP_QAM);
    EXPECT_TRUE(compensates());
    segment.get_format_cfg().set_msk_format(LIB_DMA_MSK_TYPE2);
    segment.get_format_cfg().set_msk_format(LIB_DMA_MSK_TYPE1);
    EXPECT_TRUE(compensates()) << "type 1 of another group";
    EXPECT_TRUE(frame.get_segment(0).get_advance_configure().get_iq_offset_compensation());
}

TEST(IqOffsetCompensation, EveryChangeOfFormatOverwritesTheUsersChoice)
{
    auto frame = make_frame(1);
    cfg_dma_segment_t segment(frame);
    segment.get_advance_cfg().set_iq_offset_compensation(false);
    ASSERT_FALSE(segment.get_advance_cfg().get_iq_offset_compensation());
    segment.get_format_cfg().set_format_group(LIB_DMA_GROUP_PSK); // the group that it has
    EXPECT_TRUE(segment.get_advance_cfg().get_iq_offset_compensation());
    segment.get_advance_cfg().set_iq_offset_compensation(false);
    segment.get_format_cfg().set_msk_format(LIB_DMA_MSK_TYPE1);
    EXPECT_TRUE(segment.get_advance_cfg().get_iq_offset_compensation());
    segment.get_advance_cfg().set_iq_offset_compensation(false);
    segment.get_format_cfg().set_qam_format(LIB_DMA_QAM_64);
    EXPECT_FALSE(segment.get_advance_cfg().get_iq_offset_compensation()) << "other formats leave it";
}

TEST(IqOffsetCompensation, CannotBeTurnedOnForMskType1)
{
    auto frame = make_frame(2);
    cfg_dma_segment_t segment(frame);
    ASSERT_TRUE(segment.set_current_segment_index(1));
    segment.get_format_cfg().set_format_group(LIB_DMA_GROUP_MSK);
    EXPECT_TRUE(segment.get_advance_cfg().set_iq_offset_compensation(true));
    EXPECT_FALSE(segment.get_advance_cfg().get_iq_offset_compensation());
    segment.get_format_cfg().set_msk_format(LIB_DMA_MSK_TYPE2);
    segment.get_advance_cfg().set_iq_offset_compensation(false);
    EXPECT_FALSE(segment.get_advance_cfg().get_iq_offset_compensation());
    segment.get_advance_cfg().set_iq_offset_compensation(true);
    EXPECT_TRUE(segment.get_advance_cfg().get_iq_offset_compensation()) << "type 2 keeps it";
    segment.get_advance_cfg().set_iq_offset_compensation(false);
    segment.get_format_cfg().set_format_group(LIB_DMA_GROUP_MSK);
    EXPECT_TRUE(segment.get_advance_cfg().get_iq_offset_compensation()) << "until the next change of group";
}

TEST(MeasOffset, OfTheFirstSegmentIsZeroWhileASyncPatternIsSearched)
{
    auto frame = make_frame(2);
    cfg_dma_time_t time(frame);
    time.set_meas_offset(20);
    EXPECT_EQ(time.get_meas_offset(), 20);
    frame.set_sync_search(true);
    EXPECT_TRUE(time.set_meas_offset(20));
    EXPECT_EQ(frame.get_segment(0).get_time_configure().get_meas_offset(), 0);
    time.set_meas_offset(-1);
    EXPECT_EQ(time.get_meas_offset(), 0) << "0, and not the mark of an offset that was never set";
    ASSERT_TRUE(time.set_current_segment_index(1));
    time.set_meas_offset(20);
    EXPECT_EQ(frame.get_segment(1).get_time_configure().get_meas_offset(), 20);
    frame.set_sync_search(false);
    time.init();
    time.set_meas_offset(30);
    EXPECT_EQ(frame.get_segment(0).get_time_configure().get_meas_offset(), 30);
}

TEST(MeasInterval, IsHeldToTheSameLimitsInEveryGroup)
{
    auto frame = make_frame(1);
    cfg_dma_segment_t segment(frame);
    for (const auto group : { LIB_DMA_GROUP_PSK, LIB_DMA_GROUP_MSK, LIB_DMA_GROUP_VSB })
    {
        segment.get_format_cfg().set_format_group(group);
        EXPECT_TRUE(segment.get_time_cfg().set_meas_interval(9));
        EXPECT_EQ(segment.get_time_cfg().get_meas_interval(), 10u) << "group " << group;
        EXPECT_TRUE(segment.get_time_cfg().set_meas_interval(10'000'001));
        EXPECT_EQ(segment.get_time_cfg().get_meas_interval(), 10'000'000u) << "group " << group;
    }
}
} // namespace
} // namespace vrim::dma_demod_lib
