#include "lib_dma_phy.h"
#include "message_capture.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <numbers>
#include <string>

using namespace vrim;
using namespace vrim::dma_demod_lib;

namespace
{
constexpr float kept = 123.0f; // what a field holds that nothing writes
const float quarter_turn = static_cast<float>(std::numbers::pi / 4.0);
const float eighth_turn = static_cast<float>(std::numbers::pi / 8.0);

void set_segment(lib_dma_segment_configure_manager_t& segment, lib_dma_modulation_type_t group, std::uint64_t symbol_rate,
                 std::uint32_t interval, std::int32_t offset)
{
    const log_capture_t quiet; // groups without a preset constellation say so
    segment.get_format_configure().set_format_group(group);
    segment.get_format_configure().set_symbol_rate(symbol_rate);
    segment.get_time_configure().set_meas_interval(group, interval);
    segment.get_time_configure().set_meas_offset(offset);
}

lib_dma_phy_t make_analyser(std::size_t samples, bool sync_search)
{
    lib_dma_frame_configure_manager_t frame;
    frame.set_sync_search(sync_search);
    lib_dma_phy_t analyser;
    analyser.set_frame_configure(frame);
    analyser.set_demod_data(complex_array(samples, { 1.0f, 0.0f }));
    return analyser;
}

/// Result of the check, with what it printed.
struct length_check_t
{
    std::int32_t code;
    std::string printed;
};

length_check_t check_length(std::size_t samples, std::uint32_t wanted, bool sync_search)
{
    lib_dma_phy_t analyser = make_analyser(samples, sync_search);
    const trace_capture_t trace;
    const log_capture_t log;
    length_check_t check = { analyser.update_demod_data_len(wanted), {} };
    check.printed = trace.get_text();
    EXPECT_EQ(log.count(common_log::log_level_info, "lib_dma_phy_t::input_demod_data_len,input_data_len = %u \n"), 1);
    EXPECT_EQ(log.get_records().size(), 1u);
    return check;
}

void expect_enough(std::size_t samples, std::uint32_t wanted, bool sync_search)
{
    const length_check_t check = check_length(samples, wanted, sync_search);
    EXPECT_EQ(check.code, 0) << samples << " of " << wanted;
    EXPECT_EQ(check.printed, "") << samples << " of " << wanted;
}

void expect_too_short(std::size_t samples, std::uint32_t wanted, bool sync_search, std::uint32_t least)
{
    const length_check_t check = check_length(samples, wanted, sync_search);
    EXPECT_EQ(check.code, 4) << samples << " of " << wanted;
    EXPECT_EQ(check.printed, "lib_dma_phy_t::input_demod_data_len " + std::to_string(samples) +
                                 " does not satisfy min_data_len " + std::to_string(least) + "\n");
}

/// Runs one segment over a record full of `kept` values.
lib_dma_psk_modulation_param cal_param(lib_dma_modulation_type_t group, std::uint32_t psk_format, std::uint32_t dpsk_format)
{
    const log_capture_t quiet; // as above
    lib_dma_segment_configure_manager_t segment;
    segment.get_format_configure().set_format_group(group);
    segment.get_format_configure().set_psk_format(static_cast<lib_dma_psk_modulation_type_t>(psk_format));
    segment.get_format_configure().set_dpsk_format(static_cast<lib_dma_dpsk_modulation_type_t>(dpsk_format));
    lib_dma_psk_modulation_param param;
    param.rotation_angle = kept;
    param.dpsk_rotation_angle = kept;
    param.dpsk_rotation_step = kept;
    param.modulation_order = 77;
    lib_dma_phy_t analyser;
    EXPECT_TRUE(analyser.cal_psk_modulation_param(segment, param));
    return param;
}

void expect_param(const lib_dma_psk_modulation_param& param, std::uint32_t order, float rotation, float dpsk_rotation, float step,
                  const std::string& what)
{
    EXPECT_EQ(param.modulation_order, order) << what;
    EXPECT_FLOAT_EQ(param.rotation_angle, rotation) << what;
    EXPECT_FLOAT_EQ(param.dpsk_rotation_angle, dpsk_rotation) << what;
    EXPECT_FLOAT_EQ(param.dpsk_rotation_step, step) << what;
}
} // namespace

TEST(DemodInfo, TakesTheRateFromTheSegmentUntilOneIsSet)
{
    lib_dma_frame_configure_manager_t frame;
    frame.set_segment_number(2);
    frame.get_segment(0).get_format_configure().set_symbol_rate(1'000'000);
    frame.get_segment(0).get_format_configure().set_points_per_symbol(LIB_DMA_POINT4);
    frame.get_segment(1).get_format_configure().set_symbol_rate(250'000);
    frame.get_segment(1).get_format_configure().set_points_per_symbol(LIB_DMA_POINT10);
    lib_dma_phy_t analyser;
    analyser.set_frame_configure(frame);
    const trace_capture_t trace;
    lib_dma_demod_config_mgr config;
    EXPECT_TRUE(analyser.update_demod_info(0, config));
    EXPECT_EQ(config.sample_rate, 4'000'000u);
    EXPECT_TRUE(analyser.init(1, config));
    EXPECT_EQ(config.sample_rate, 2'500'000u);
    EXPECT_EQ(trace.get_text(), "");

    analyser.set_sample_rate(12'345'678.0);
    EXPECT_TRUE(analyser.update_demod_info(0, config));
    EXPECT_EQ(config.sample_rate, 12'345'600u);
    EXPECT_EQ(trace.get_text(), "set sample_rate = 12345600 to demod_config.sample_rate\n");
    // A rate once set stays, new data and a new configuration notwithstanding.
    analyser.set_frame_configure(frame);
    analyser.set_demod_data({});
    config = {};
    EXPECT_TRUE(analyser.init(1, config));
    EXPECT_EQ(config.sample_rate, 12'345'600u);
}

TEST(DemodInfo, WrapsTheRateOfTheSegmentIn32Bits)
{
    lib_dma_frame_configure_manager_t frame;
    lib_dma_format_configure_manager_t& format = frame.get_segment(0).get_format_configure();
    lib_dma_phy_t analyser;
    lib_dma_demod_config_mgr config;

    format.set_points_per_symbol(LIB_DMA_POINT10);
    format.set_symbol_rate(1'000'000'000);
    analyser.set_frame_configure(frame);
    analyser.update_demod_info(0, config);
    EXPECT_EQ(config.sample_rate, 10'000'000'000u - 2 * 4'294'967'296u);

    // The symbol rate itself may be longer than 32 bits.
    format.set_points_per_symbol(LIB_DMA_POINT1);
    format.set_symbol_rate(8'000'000'000);
    analyser.set_frame_configure(frame);
    analyser.update_demod_info(0, config);
    EXPECT_EQ(config.sample_rate, 8'000'000'000u - 4'294'967'296u);

    format.set_points_per_symbol(LIB_DMA_POINT4);
    format.set_symbol_rate(std::uint64_t(1) << 30);
    analyser.set_frame_configure(frame);
    analyser.update_demod_info(0, config);
    EXPECT_EQ(config.sample_rate, 0u);

    // A rate that was set does not wrap.
    const trace_capture_t trace;
    analyser.set_sample_rate(10e9);
    analyser.update_demod_info(0, config);
    EXPECT_EQ(config.sample_rate, 10'000'000'000u);
}

TEST(DemodInfo, IsDeafToTheManualDataSampleRate)
{
    lib_dma_frame_configure_manager_t frame;
    frame.get_segment(0).get_format_configure().set_symbol_rate(1'000'000);
    frame.set_enable_mannual_data_sample_rate(true);
    frame.set_mannual_data_sample_rate(30e6);
    frame.set_bandwidth(5'000'000);
    lib_dma_phy_t analyser;
    analyser.set_frame_configure(frame);
    lib_dma_demod_config_mgr config;
    analyser.update_demod_info(0, config);
    EXPECT_EQ(config.sample_rate, 4'000'000u);
}

TEST(SampleRate, IsKeptAsAPositiveMultipleOf100Hz)
{
    const double rates[][2] = {
        { 99.0, 100.0 },
        { 100.0, 100.0 },
        { 199.9, 100.0 },
        { 200.0, 200.0 },
        { 12345.0, 12300.0 },
        { 0.0, 100.0 },
        { -250.0, 100.0 },
        { std::numeric_limits<double>::quiet_NaN(), 100.0 },
        { std::numeric_limits<double>::infinity(), 100.0 },
        { -std::numeric_limits<double>::infinity(), 100.0 },
    };
    for (const auto& rate : rates)
    {
        const trace_capture_t trace;
        lib_dma_phy_t analyser;
        analyser.set_sample_rate(rate[0]);
        lib_dma_demod_config_mgr config;
        analyser.init(0, config);
        EXPECT_EQ(config.sample_rate, static_cast<std::uint64_t>(rate[1])) << rate[0];
    }
}

TEST(RunIn, IsLongerForMskAndOffsetQpsk)
{
    for (std::uint32_t group = LIB_DMA_GROUP_PSK; group <= LIB_DMA_GROUP_OTHER; ++group)
    {
        lib_dma_frame_configure_manager_t frame;
        set_segment(frame.get_segment(0), static_cast<lib_dma_modulation_type_t>(group), 2'000'000, 100, 0);
        lib_dma_phy_t analyser;
        analyser.set_frame_configure(frame);
        lib_dma_demod_config_mgr config;
        EXPECT_TRUE(analyser.cal_preprocess_param(0, config));
        const double symbols = group == LIB_DMA_GROUP_MSK || group == LIB_DMA_GROUP_OQPSK ? 228.0 : 180.0;
        EXPECT_DOUBLE_EQ(config.pre_time, symbols / 2e6) << group;
        EXPECT_EQ(config.equalizer_time, 0.0) << group;
        EXPECT_DOUBLE_EQ(config.minseglen, 100.0 / 2e6) << group;
    }
}

TEST(RunIn, IsThatOfTheLastSegmentAndTheLengthTheLargest)
{
    lib_dma_frame_configure_manager_t frame;
    frame.set_segment_number(3);
    set_segment(frame.get_segment(0), LIB_DMA_GROUP_MSK, 100'000, 400, 100);
    set_segment(frame.get_segment(1), LIB_DMA_GROUP_PSK, 500'000, 1000, 200);
    set_segment(frame.get_segment(2), LIB_DMA_GROUP_PSK, 1'000'000, 50, 0);
    frame.get_segment(0).get_advance_configure().set_equalizer(true);
    frame.get_segment(0).get_advance_configure().set_equalizer_filter_len(51);
    frame.get_segment(1).get_advance_configure().set_equalizer(true);
    frame.get_segment(1).get_advance_configure().set_equalizer_filter_len(11);
    frame.get_segment(2).get_advance_configure().set_equalizer_filter_len(99); // switched off
    lib_dma_phy_t analyser;
    analyser.set_frame_configure(frame);
    lib_dma_demod_config_mgr config;

    analyser.cal_preprocess_param(0, config);
    EXPECT_DOUBLE_EQ(config.pre_time, 228.0 / 1e5);
    EXPECT_DOUBLE_EQ(config.equalizer_time, 53.0 / 1e5);
    EXPECT_DOUBLE_EQ(config.minseglen, 500.0 / 1e5);
    // Shorter times replace longer ones, the length only grows.
    analyser.cal_preprocess_param(1, config);
    EXPECT_DOUBLE_EQ(config.pre_time, 180.0 / 5e5);
    EXPECT_DOUBLE_EQ(config.equalizer_time, 13.0 / 5e5);
    EXPECT_DOUBLE_EQ(config.minseglen, 500.0 / 1e5);
    analyser.cal_preprocess_param(2, config);
    EXPECT_DOUBLE_EQ(config.pre_time, 180.0 / 1e6);
    EXPECT_DOUBLE_EQ(config.equalizer_time, 13.0 / 5e5);
    EXPECT_DOUBLE_EQ(config.minseglen, 500.0 / 1e5);
}

TEST(RunIn, CountsTheAutomaticOffsetAsNone)
{
    const std::int32_t offsets[][2] = { { -1, 1000 }, { 0, 1000 }, { 250, 1250 }, { -5, 995 } };
    for (const auto& offset : offsets)
    {
        lib_dma_frame_configure_manager_t frame;
        set_segment(frame.get_segment(0), LIB_DMA_GROUP_PSK, 1'000'000, 1000, offset[0]);
        lib_dma_phy_t analyser;
        analyser.set_frame_configure(frame);
        lib_dma_demod_config_mgr config;
        analyser.cal_preprocess_param(0, config);
        EXPECT_DOUBLE_EQ(config.minseglen, static_cast<double>(offset[1]) / 1e6) << offset[0];
    }
}

TEST(RunIn, KeepsTimesWithinAPicosecond)
{
    lib_dma_frame_configure_manager_t frame;
    set_segment(frame.get_segment(0), LIB_DMA_GROUP_PSK, 1'000'000, 1000, 0);
    frame.get_segment(0).get_advance_configure().set_equalizer(true);
    frame.get_segment(0).get_advance_configure().set_equalizer_filter_len(21);
    lib_dma_phy_t analyser;
    analyser.set_frame_configure(frame);

    lib_dma_demod_config_mgr near;
    near.pre_time = 180e-6 + 0.5e-12;
    near.equalizer_time = 23e-6 - 0.5e-12;
    near.minseglen = 1e-3 - 0.5e-12;
    lib_dma_demod_config_mgr result = near;
    analyser.cal_preprocess_param(0, result);
    EXPECT_EQ(result.pre_time, near.pre_time);
    EXPECT_EQ(result.equalizer_time, near.equalizer_time);
    EXPECT_EQ(result.minseglen, near.minseglen);

    lib_dma_demod_config_mgr away;
    away.pre_time = 180e-6 + 2e-12;
    away.equalizer_time = 23e-6 - 2e-12;
    away.minseglen = 1e-3 - 2e-12;
    analyser.cal_preprocess_param(0, away);
    EXPECT_DOUBLE_EQ(away.pre_time, 180.0 / 1e6);
    EXPECT_DOUBLE_EQ(away.equalizer_time, 23.0 / 1e6);
    EXPECT_DOUBLE_EQ(away.minseglen, 1000.0 / 1e6);
}

TEST(DemodDataLength, AsksForAHundredSamplesAtLeast)
{
    for (const bool sync_search : { false, true })
    {
        expect_enough(100, 50, sync_search);
        expect_too_short(99, 50, sync_search, 100);
        expect_enough(100, 0, sync_search);
        expect_enough(100, 100, sync_search);
        expect_too_short(100, 101, sync_search, 101);
        expect_too_short(0, 0, sync_search, 100);
    }
}

TEST(DemodDataLength, IsCappedAtTenThousandSamplesWithSyncSearch)
{
    expect_enough(10'000, 50'000, true);
    expect_too_short(9'999, 50'000, true, 10'000);
    expect_enough(9'999, 9'999, true);
    expect_enough(10'000, 0xffffffffu, true);
}

TEST(DemodDataLength, IsCappedAtAMillionSamplesWithoutSyncSearch)
{
    expect_too_short(49'999, 50'000, false, 50'000);
    expect_enough(50'000, 50'000, false);
    expect_enough(1'000'000, 2'000'000, false);
    expect_too_short(999'999, 2'000'000, false, 1'000'000);
}

TEST(ModulationParam, FollowsThePskFormatFirst)
{
    for (std::uint32_t group = LIB_DMA_GROUP_PSK; group <= LIB_DMA_GROUP_OTHER; ++group)
    {
        const lib_dma_modulation_type_t type = static_cast<lib_dma_modulation_type_t>(group);
        const std::string what = "group " + std::to_string(group);
        // A DPSK format with a rule of its own, which must not act.
        const std::uint32_t dpsk = LIB_DMA_MODULATION_PSK_PI_8_D8PSK;
        expect_param(cal_param(type, LIB_DMA_MODULATION_PSK_QPSK, dpsk), 4, quarter_turn, kept, kept, what);
        expect_param(cal_param(type, LIB_DMA_MODULATION_PSK_3PI_4_QPSK, dpsk), 4, quarter_turn, kept, kept, what);
        if (type == LIB_DMA_GROUP_OQPSK)
            continue;
        expect_param(cal_param(type, LIB_DMA_MODULATION_PSK_8_PSK, dpsk), 8, eighth_turn, kept, kept, what);
        expect_param(cal_param(type, LIB_DMA_MODULATION_PSK_3PI_8_PSK, dpsk), 8, 0.0f, kept, kept, what);
    }
}

TEST(ModulationParam, OfOffsetQpskIsThatOfQpskWhateverTheFormats)
{
    for (const std::uint32_t psk : { 2u, 4u, 8u, 9u, 10u })
        for (const std::uint32_t dpsk : { 2u, 4u, 5u, 6u, 8u })
            expect_param(cal_param(LIB_DMA_GROUP_OQPSK, psk, dpsk), 4, quarter_turn, kept, kept, std::to_string(psk));
}

TEST(ModulationParam, FollowsTheDpskFormatWhereThePskFormatHasNoRule)
{
    for (const lib_dma_modulation_type_t group : { LIB_DMA_GROUP_PSK, LIB_DMA_GROUP_DPSK, LIB_DMA_GROUP_QAM })
    {
        const std::uint32_t bpsk = LIB_DMA_MODULATION_PSK_BPSK;
        expect_param(cal_param(group, bpsk, LIB_DMA_MODULATION_PSK_DBPSK), 2, kept, 0.0f, 0.0f, "DBPSK");
        expect_param(cal_param(group, bpsk, LIB_DMA_MODULATION_PSK_DQPSK), 4, kept, quarter_turn, 0.0f, "DQPSK");
        expect_param(cal_param(group, bpsk, LIB_DMA_MODULATION_PSK_PI_4_DQPSK), 4, kept, 0.0f, quarter_turn, "pi/4 DQPSK");
        expect_param(cal_param(group, bpsk, LIB_DMA_MODULATION_PSK_D8PSK), 8, kept, eighth_turn, 0.0f, "D8PSK");
        expect_param(cal_param(group, bpsk, LIB_DMA_MODULATION_PSK_PI_8_D8PSK), 8, kept, 0.0f, eighth_turn, "pi/8 D8PSK");
        expect_param(cal_param(group, bpsk, 7), 77, kept, kept, kept, "none");
    }
}
