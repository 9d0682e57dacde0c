#include "lib_dma_demod/lib_dma_qam_demod.h"

#include "lib_dma_common/lib_dma_phy_common.h"
#include "lib_dma_common/reference_constellation.h"
#include "lib_dma_demod/demod_run.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <random>
#include <stdexcept>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using namespace demod_test;
using common_log::log_level_error;
using common_log::log_level_info;

namespace
{
using run_t = process_run_t<lib_dma_qam_demod_t>;

constexpr const char* no_points = "lib_dma_qam_demod_t::qam_judge error!\n";
const std::uint32_t point_counts[] = { 16, 32, 64, 128, 256, 512, 1024, 2048, 4096, 16, 32 };

lib_dma_qam_modulation_type_t to_format(std::uint32_t value)
{
    return static_cast<lib_dma_qam_modulation_type_t>(value);
}

/// Points by key at unit rms, from the label rule: columns and rows in Gray code, for 16 points written by hand.
point_array make_sixteen()
{
    const double level[] = { -3.0, -1.0, 3.0, 1.0 }; // by Gray code 0, 1, 2, 3
    point_array points;
    for (std::uint32_t key = 0; key < 16; ++key)
        points.emplace_back(level[key >> 2] / std::sqrt(10.0), level[key & 3] / std::sqrt(10.0));
    return points;
}

point_array make_set(std::uint32_t format)
{
    constellation_map map;
    make_qam_points(to_format(format), map, common_lib::constellation_normalize_rms);
    return get_points(map);
}

double get_turn(std::uint32_t format)
{
    return format == 9 ? pi / 4.0 : format == 10 ? -pi / 4.0 : 0.0;
}

decode_run_t<lib_dma_qam_demod_t> make_decode_run(const index_array& indices, std::uint32_t points_per_symbol = 1)
{
    decode_run_t<lib_dma_qam_demod_t> run(map_points(indices, make_sixteen()), points_per_symbol);
    run.demod.qam_judge(LIB_DMA_QAM_16, { 0.0f, 0.0f });
    return run;
}

run_t make_process_run(std::uint32_t format)
{
    return run_t(
        [format](lib_dma_format_configure_manager_t& manager)
        {
            manager.set_format_group(LIB_DMA_GROUP_QAM);
            manager.set_qam_format(to_format(format));
        });
}
} // namespace

TEST(QamJudge, DecidesTheNearestPointOfTheFormat)
{
    std::mt19937 generator(3);
    std::normal_distribution<float> part(0.0f, 0.8f);
    lib_dma_qam_demod_t demod;
    for (std::uint32_t format = 0; format <= 10; ++format)
    {
        for (int i = 0; i < 200; ++i)
        {
            const float re = part(generator);
            const std::complex<float> value(re, part(generator));
            const std::complex<float> decided = demod.qam_judge(to_format(format), value);
            ASSERT_EQ(demod.judge_map.size(), point_counts[format]);
            ASSERT_EQ(decided, lib_dma_phy_common_t::get_symbol_decision_result(demod.judge_map, value)) << format;
        }
    }
    // Neither turned nor normalised once more: the sixteen points stand where they are.
    const point_array sixteen = make_sixteen();
    for (std::uint32_t key = 0; key < 16; ++key)
    {
        EXPECT_TRUE(is_near(demod.qam_judge(LIB_DMA_QAM_PI_16, std::complex<float>(1.1 * sixteen[key])), sixteen[key]));
        EXPECT_TRUE(is_near(demod.judge_map.at(key), sixteen[key]));
    }
}

TEST(QamJudge, GivesTheFirstKeyOfEquallyNearPoints)
{
    // Keys 5, 7, 13 and 15 are the innermost four; 0, 1, 4 and 5 the corner.
    lib_dma_qam_demod_t demod;
    const point_array points = make_sixteen();
    EXPECT_TRUE(is_near(demod.qam_judge(LIB_DMA_QAM_16, { 0.0f, 0.0f }), points[5]));
    EXPECT_TRUE(is_near(demod.qam_judge(LIB_DMA_QAM_16, { 0.0f, 0.4f }), points[7]));
    EXPECT_TRUE(is_near(demod.qam_judge(LIB_DMA_QAM_16, { 0.4f, 0.0f }), points[13]));
}

TEST(QamJudge, SaysEachTimeThatAFormatHasNoPoints)
{
    lib_dma_qam_demod_t demod;
    const log_capture_t log;
    const trace_capture_t trace;
    long said = 0;
    for (const std::uint32_t format : { 11u, 12u, 15u, 15u, 99u })
    {
        EXPECT_EQ(demod.qam_judge(to_format(format), { 1.0f, 1.0f }), std::complex<float>(0.0f, 0.0f));
        EXPECT_TRUE(demod.judge_map.empty());
        EXPECT_EQ(log.count(log_level_error, no_points), ++said);
    }
    EXPECT_TRUE(is_near(demod.qam_judge(LIB_DMA_QAM_16, { 1.0f, 1.0f }), make_sixteen()[10]));
}

TEST(QamDemod, TakesLongerBlocksForTheClockFrom512PointsOn)
{
    // A record that is shorter than one block says so.
    constexpr const char* too_short = "error: symbol_timing_recovery1: input data too less!\n";
    for (std::uint32_t format = 0; format <= 10; ++format)
    {
        const std::size_t block = format <= 4 ? 64 : 80;
        for (const std::size_t length : { block * 8 - 1, block * 8 })
        {
            const log_capture_t log;
            const trace_capture_t trace;
            lib_dma_qam_demod_t demod;
            demod.qam_format = to_format(format);
            demod.setting.sps = 8;
            demod.setting.pre_num = 0;
            demod.work.iq_data.assign(length, { 1.0f, 0.0f });
            EXPECT_TRUE(demod.timing_recovery());
            EXPECT_EQ(log.count(log_level_error, too_short), length < block * 8 ? 1 : 0) << format << ", " << length;
        }
    }
}

TEST(QamDemod, HasItsDefaults)
{
    lib_dma_qam_demod_t demod;
    demod.qam_format = LIB_DMA_QAM_4096;
    demod.setting.filter_length = 3;
    demod.setting.format_group = LIB_DMA_GROUP_PSK;
    demod.qam_judge(LIB_DMA_QAM_64, {});
    demod.init();
    EXPECT_EQ(demod.qam_format, LIB_DMA_QAM_16);
    EXPECT_EQ(demod.setting.format_group, LIB_DMA_GROUP_QAM);
    EXPECT_EQ(demod.setting.filter_length, 16u);
    EXPECT_EQ(demod.setting.filter_alpha, 0.5f);
    EXPECT_EQ(demod.setting.filter_beta, 0.5f);
    EXPECT_TRUE(demod.judge_map.empty());
}

TEST(QamDemod, IsEmptyAfterClear)
{
    auto run = make_decode_run(make_indices(30, 16));
    run.demod.setting.const_iq_map[1] = { 1.0f, 0.0f };
    run.demod.clear();
    EXPECT_TRUE(run.demod.work.meas_data.empty());
    EXPECT_TRUE(run.demod.work.meas_symbol.empty());
    EXPECT_TRUE(run.demod.judge_map.empty());
    EXPECT_TRUE(run.demod.setting.const_iq_map.empty());
    EXPECT_TRUE(is_near(run.demod.qam_judge(LIB_DMA_QAM_16, { 1.0f, 1.0f }), make_sixteen()[10]));
}

TEST(QamSymbolDetect, PutsTheTurnOfTheFormatBack)
{
    for (const std::uint32_t format : { 0u, 1u, 9u, 10u })
    {
        const point_array points = make_set(format);
        const index_array indices = make_indices(120, point_counts[format]);
        lib_dma_qam_demod_t demod;
        demod.qam_format = to_format(format);
        demod.setting.sps = 8;
        demod.work.timing_data = hold(map_points(indices, points), 8);
        demod.work.timing_data.resize(120 * 8 + 5); // a ragged end
        for (std::complex<float>& sample : demod.work.timing_data)
            sample *= 4.0f;
        ASSERT_TRUE(demod.symbol_detect());
        ASSERT_EQ(demod.work.decided_symbol.size(), 120u);
        EXPECT_EQ(demod.work.meas_data.size(), 960u);
        for (std::size_t i = 0; i < 120; ++i)
        {
            const std::complex<double> wanted = points[indices[i]] * std::polar(1.0, get_turn(format) * static_cast<double>(i));
            ASSERT_TRUE(is_near(demod.work.decided_symbol[i], wanted, 2e-5)) << format << ", " << i;
        }
    }
}

TEST(QamDecodeBit, DecidesOnTheFormatsOwnMap)
{
    const index_array indices = make_indices(60, 16);
    auto run = make_decode_run(indices, 2);
    ASSERT_TRUE(run.demod.qam_decode_bit(0, run.store));
    EXPECT_EQ(run.get_decoded(), indices);
    EXPECT_FALSE(run.get_sync_flag());
    EXPECT_FALSE(run.get_decode_flag());
    for (const std::uint32_t format : { 1u, 4u, 7u, 8u })
    {
        const index_array more = make_indices(500, point_counts[format]);
        decode_run_t<lib_dma_qam_demod_t> other(map_points(more, make_set(format)), 1);
        other.demod.qam_format = to_format(format);
        other.demod.qam_judge(to_format(format), {});
        ASSERT_TRUE(other.demod.qam_decode_bit(0, other.store));
        EXPECT_EQ(other.get_decoded(), more) << format;
    }
}

TEST(QamDecodeBit, DecidesOnAUsersMap)
{
    auto run = make_decode_run({ 0, 10, 10, 0, 10 });
    run.demod.setting.constellation_setting_flag = true;
    run.demod.setting.const_iq_map = { { 5, { -0.9f, -0.9f } }, { 700, { 0.9f, 0.9f } } };
    ASSERT_TRUE(run.demod.qam_decode_bit(0, run.store));
    EXPECT_EQ(run.get_decoded(), (index_array{ 5, 700, 700, 5, 700 }));
}

TEST(QamDecodeBit, FindsAWordAtEveryQuarterTurn)
{
    const point_array points = make_sixteen();
    const index_array indices = make_indices(200, 16);
    // Where the search copy stands at each try.
    const int quarters[] = { 0, 1, 3, 2 };
    for (std::size_t attempt = 0; attempt < 4; ++attempt)
    {
        index_array turned;
        for (const std::uint32_t index : indices)
        {
            const std::complex<double> point = points[index] * std::polar(1.0, pi / 2.0 * quarters[attempt]);
            turned.push_back(static_cast<std::uint32_t>(std::min_element(points.begin(), points.end(),
                                                                         [point](std::complex<double> a, std::complex<double> b)
                                                                         { return std::abs(a - point) < std::abs(b - point); }) -
                                                        points.begin()));
        }
        auto run = make_decode_run(indices);
        run.search(expand(slice(turned, 50, 70), 4));
        run.demod.setting.meas_interval = 100;
        const complex_array ref = run.demod.work.ref_data;
        const log_capture_t log;
        ASSERT_TRUE(run.demod.qam_decode_bit(0, run.store));
        EXPECT_TRUE(run.get_sync_flag());
        EXPECT_TRUE(run.get_decode_flag());
        EXPECT_EQ(log.count(log_level_error, "Pattern Not Found!\n"), 0) << attempt;
        EXPECT_EQ(run.get_decoded(), slice(turned, 50, 150)) << attempt;
        // Both waveforms by the last turn alone, which is `attempt` quarters.
        const std::complex<double> turn = std::polar(1.0, pi / 2.0 * static_cast<double>(attempt));
        const double peak = 0.5 * std::sqrt(1.8);
        for (std::size_t i = 0; i < 100; ++i)
            ASSERT_TRUE(is_near(run.demod.work.ref_data[i], std::complex<double>(ref[50 + i]) * turn / peak, 1e-5)) << attempt;
    }
}

TEST(QamDecodeBit, SpeaksInItsWords)
{
    auto run = make_decode_run(make_indices(60, 16));
    run.search(expand({ 15, 15, 15, 15, 15, 15 }, 4));
    run.demod.setting.meas_interval = 61;
    const log_capture_t log;
    const trace_capture_t trace;
    EXPECT_TRUE(run.demod.qam_decode_bit(0, run.store));
    EXPECT_EQ(log.count(log_level_error, "Pattern Not Found!\n"), 1);
    EXPECT_EQ(log.count(log_level_error, "qam_decode_bit:data is too short!\n"), 1);

    auto reference = make_decode_run(make_indices(30, 16));
    reference.demod.work.ref_data.assign(30, { 0.0f, 0.0f });
    EXPECT_FALSE(reference.demod.qam_decode_bit(0, reference.store));
    EXPECT_TRUE(contains(trace.get_text(), "qam_decode_bit::rms_normalize Report: Data array has a too small rms0: "));

    auto measurement = make_decode_run(make_indices(30, 16));
    measurement.demod.work.meas_data.assign(30, { 0.0f, 0.0f });
    EXPECT_FALSE(measurement.demod.qam_decode_bit(0, measurement.store));
    EXPECT_TRUE(contains(trace.get_text(), "qam_decode_bit::rms_normalize Report: Data array has a too small rms2: "));
}

TEST(QamErrorCal, TakesTheQuadratureErrorFromTheInnermostPoints)
{
    for (const std::uint32_t format : { 0u, 1u, 9u })
    {
        auto run = make_decode_run(make_indices(40, 16));
        run.demod.qam_format = to_format(format);
        run.demod.work.meas_symbol = { { 0.3f, 0.4f }, { -0.15f, 0.2f }, { 5.0f, 5.0f } };
        const trace_capture_t trace;
        EXPECT_TRUE(run.demod.error_cal(0, run.store));
        // Mean amplitudes of 0.5 and 0.25.
        EXPECT_NEAR(run.store.get_err_table(0).quad_error, static_cast<float>(90.0 - 2.0 * std::atan(2.0) * 180.0 / pi), 1e-3f);
        EXPECT_TRUE(contains(trace.get_text(), "EVM(rms) = "));
    }
}

TEST(QamDemod, TurnsTheWaveformsAndNotTheSymbols)
{
    auto run = make_decode_run(make_indices(16, 16));
    const complex_array meas = run.demod.work.meas_data;
    const complex_array symbols = run.demod.work.meas_symbol;
    run.demod.setting.iq_rotation = 30.0f;
    EXPECT_TRUE(run.demod.deal_phase_rotation());
    for (std::size_t i = 0; i < 16; ++i)
    {
        EXPECT_TRUE(is_near(run.demod.work.meas_data[i], std::complex<double>(meas[i]) * std::polar(1.0, pi / 6.0)));
        EXPECT_TRUE(is_near(run.demod.work.ref_data[i], 0.5 * std::complex<double>(meas[i]) * std::polar(1.0, pi / 6.0)));
    }
    EXPECT_EQ(run.demod.work.meas_symbol, symbols);
}

TEST(QamPosition, SaysThatTheWindowRunsPastTheData)
{
    lib_dma_qam_demod_t demod;
    demod.setting.data_start = 100;
    demod.setting.meas_interval = 400;
    lib_dma_demod_config_mgr config;
    config.data_len = 450;
    const log_capture_t log;
    EXPECT_TRUE(demod.cal_demod_param(config));
    EXPECT_EQ(log.count(log_level_error, "cal_demod_param:Data Out Of Acq Rang!\n"), 1);
    EXPECT_EQ(config.result_start, 100);
    EXPECT_EQ(config.result_stop, 450);
}

TEST(QamProcess, MeasuresEveryFormat)
{
    for (std::uint32_t format = 0; format <= 10; ++format)
    {
        const double hertz = format == 3 ? 1000.0 : 400.0; // 128 points are scanned in steps of the symbol rate
        const index_array indices = make_indices(700, point_counts[format]);
        const point_array symbols = map_points(indices, make_set(format), get_turn(format));
        run_t run = make_process_run(format);
        const log_capture_t log;
        ASSERT_TRUE(run.run(&lib_dma_qam_demod_t::lib_dma_qam_demod_process, make_block(symbols, hertz, 0.05))) << format;
        EXPECT_LT(run.get_evm(), 1.0f) << format;
        EXPECT_NEAR(run.get_frequency(), hertz, 15.0) << format;
        EXPECT_EQ(run.store.get_iq_meas_time_constellation(0).size(), 300u);
        EXPECT_EQ(run.store.get_iq_raw_time(0).size(), 600u);
        EXPECT_TRUE(contains(run.text, "lib_dma_qam_demod_t timing_recovery time: "));
        EXPECT_TRUE(contains(run.text, "raw time data len is 600"));
        EXPECT_EQ(log.count(log_level_info, "Carrier Frequency Offset(Hz) = %.3f\n"), 1);
        EXPECT_EQ(log.count(log_level_error, no_points), 0);
        EXPECT_TRUE(run.demod.work.meas_data.empty());
        EXPECT_TRUE(run.demod.judge_map.empty());
    }
}

TEST(QamProcess, RunsADvbFormatWithDecisionZeroUntilItHasNoReference)
{
    run_t run = make_process_run(0);
    run.demod.qam_format = LIB_DMA_DVB_QAM_64;
    const log_capture_t log;
    EXPECT_FALSE(
        run.run(&lib_dma_qam_demod_t::lib_dma_qam_demod_process, make_block(map_points(make_indices(500, 16), make_sixteen()))));
    EXPECT_GE(log.count(log_level_error, no_points), 2);
    EXPECT_TRUE(contains(run.text, "qam_decode_bit::rms_normalize Report: Data array has a too small rms0: "));
}

TEST(QamProcess, NamesTheStageThatFailed)
{
    const complex_array block = make_block(map_points(make_indices(500, 16), make_sixteen()));
    run_t filter = make_process_run(0);
    filter.demod.setting.meas_filter_type = LIB_DMA_MEAS_GAUSSIAN_FILTER;
    filter.demod.setting.sps = 0; // no taps
    const log_capture_t log;
    EXPECT_FALSE(filter.run(&lib_dma_qam_demod_t::lib_dma_qam_demod_process, block));
    EXPECT_EQ(log.count(log_level_error, "lib_dma_qam_demod_t::meas_filter_process error!\n"), 1);
    EXPECT_EQ(filter.store.get_iq_raw_time(0), block);

    run_t silent = make_process_run(0);
    EXPECT_FALSE(silent.run(&lib_dma_qam_demod_t::lib_dma_qam_demod_process, complex_array(4000, { 0.0f, 0.0f })));
    EXPECT_TRUE(contains(silent.text, "ref_data_generate::rms_normalize Report: Data array has a too small rms: "));
    EXPECT_EQ(silent.store.get_iq_raw_time(0).size(), 600u);
}

TEST(QamProcess, GivesDecodedSymbolsOfASyncWord)
{
    const index_array indices = make_indices(700, 16);
    run_t run = make_process_run(0);
    run.demod.setting.sync_search = true;
    run.demod.setting.sync_pattern_bitarr = expand(slice(indices, 100, 112), 4);
    ASSERT_TRUE(
        run.run(&lib_dma_qam_demod_t::lib_dma_qam_demod_process, make_block(map_points(indices, make_sixteen()), 200.0, 2.0)));
    EXPECT_TRUE(run.store.get_sync_search_flag_vec().at(0));
    EXPECT_TRUE(run.store.get_decode_bit_flag_vec().at(0));
    EXPECT_EQ(run.store.get_decode_bit(0), slice(indices, 100, 400));
    EXPECT_LT(run.get_evm(), 1.0f);
}
