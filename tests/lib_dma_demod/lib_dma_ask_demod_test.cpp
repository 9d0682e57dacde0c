#include "lib_dma_demod/lib_dma_ask_demod.h"

#include "lib_dma_demod/demod_run.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>
#include <random>
#include <string>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using namespace demod_test;
using demod_t = lib_dma_ask_demod_t;
using common_log::log_level_error;
using common_log::log_level_info;

namespace
{
using run_t = process_run_t<demod_t>;

constexpr const char* no_lock = "ask_lock_phase_detect:error!\n";
const lib_dma_ask_modulation_type_t all_formats[] = { LIB_DMA_ASK_2, LIB_DMA_ASK_4, LIB_DMA_ASK_8, LIB_DMA_ASK_16 };

/// Levels at unit rms: 0 and 1, or 1 ... M.
point_array make_levels(std::uint32_t count)
{
    point_array levels;
    for (std::uint32_t i = 0; i < count; ++i)
        levels.emplace_back(static_cast<double>(count == 2 ? i : i + 1));
    double power = 0.0;
    for (const std::complex<double>& level : levels)
        power += std::norm(level) / count;
    for (std::complex<double>& level : levels)
        level /= std::sqrt(power);
    return levels;
}

decode_run_t<demod_t> make_decode_run(lib_dma_ask_modulation_type_t format, const index_array& indices)
{
    decode_run_t<demod_t> run(map_points(indices, make_levels(static_cast<std::uint32_t>(format))), 1);
    run.demod.ask_format = format;
    run.demod.ask_judge(format, {});
    return run;
}

run_t make_process_run(lib_dma_ask_modulation_type_t format)
{
    return run_t(
        [format](lib_dma_format_configure_manager_t& manager)
        {
            manager.set_format_group(LIB_DMA_GROUP_ASK);
            manager.set_ask_format(format);
        });
}

/// A demodulator before its carrier loop, 8 samples a symbol and no run-in.
struct sync_run_t
{
    sync_run_t(lib_dma_ask_modulation_type_t format, const point_array& symbols)
    {
        demod.ask_format = format;
        demod.setting.pre_num = 0;
        demod.setting.sps = 8;
        demod.setting.symbol_rate = 1000000;
        demod.work.timing_data = hold(symbols, 8);
    }

    bool run()
    {
        const trace_capture_t trace;
        const bool result = demod.ask_carrier_sync(line, frequency, fit, track);
        text = trace.get_text();
        return result;
    }

    demod_t demod;
    float_array line;
    float_array fit;
    float_array track;
    double frequency = 7.0;
    std::string text;
};

float get_depth(const complex_array& symbols, float before = 0.25f)
{
    auto run = make_decode_run(LIB_DMA_ASK_2, { 1, 0, 1 });
    run.demod.work.meas_symbol = symbols;
    run.store.get_error_summary(0).depth = before;
    EXPECT_TRUE(run.demod.depth_cal(0, run.store));
    return run.store.get_error_summary(0).depth;
}
} // namespace

TEST(AskJudge, DecidesTheNearestLevelAtUnitRms)
{
    std::mt19937 generator(4);
    std::normal_distribution<double> part(0.8, 0.8);
    demod_t demod;
    for (const lib_dma_ask_modulation_type_t format : all_formats)
    {
        const point_array levels = make_levels(static_cast<std::uint32_t>(format));
        for (int i = 0; i < 300; ++i)
        {
            const double re = part(generator);
            const std::complex<double> value(re, part(generator));
            std::complex<double> wanted = levels[0];
            double least = 1e9, second = 1e9;
            for (const std::complex<double>& level : levels)
            {
                const double distance = std::abs(level - value);
                second = std::min(second, std::max(distance, least));
                if (distance < least)
                {
                    least = distance;
                    wanted = level;
                }
            }
            if (second - least < 1e-6)
                continue;
            ASSERT_TRUE(is_near(demod.ask_judge(format, std::complex<float>(value)), wanted)) << format << ", " << value;
        }
        EXPECT_EQ(demod.judge_map.size(), static_cast<std::size_t>(format));
    }
    // 0 and 1 over their rms of the root of one half.
    EXPECT_EQ(demod.ask_judge(LIB_DMA_ASK_2, { 0.7f, 0.0f }), std::complex<float>(0.0f, 0.0f));
    EXPECT_TRUE(is_near(demod.ask_judge(LIB_DMA_ASK_2, { 0.71f, 0.0f }), std::sqrt(2.0)));
}

TEST(AskJudge, SaysEachTimeThatAFormatHasNoPoints)
{
    demod_t demod;
    const log_capture_t log;
    const trace_capture_t trace;
    for (long i = 1; i <= 2; ++i)
    {
        EXPECT_EQ(demod.ask_judge(static_cast<lib_dma_ask_modulation_type_t>(3), { 1.0f, 0.0f }),
                  std::complex<float>(0.0f, 0.0f));
        EXPECT_EQ(log.count(log_level_error, "lib_dma_ask_demod_t::ask_judge error!\n"), i);
    }
}

TEST(AskSlicer, OfTwoLevelsDecidesForOneWhereItIsNearer)
{
    for (const float scale : { 1.0f, 2.0f })
    {
        EXPECT_EQ(demod_t::ask_judge_2({ 0.51f * scale, 9.0f }, scale), std::complex<float>(scale, 0.0f));
        EXPECT_EQ(demod_t::ask_judge_2({ 0.5f * scale, 0.0f }, scale), std::complex<float>(0.0f, 0.0f));
        EXPECT_EQ(demod_t::ask_judge_2({ 0.0f, 0.0f }, scale), std::complex<float>(0.0f, 0.0f));
        EXPECT_EQ(demod_t::ask_judge_2({ -3.0f * scale, 0.0f }, scale), std::complex<float>(0.0f, 0.0f));
        EXPECT_EQ(demod_t::ask_judge_2({ 30.0f * scale, 0.0f }, scale), std::complex<float>(scale, 0.0f));
    }
    EXPECT_EQ(demod_t::ask_judge_2({ std::numeric_limits<float>::quiet_NaN(), 0.0f }, 1.0f), std::complex<float>(0.0f, 0.0f));
}

TEST(AskSlicer, HasTheLevelsAndBordersOfItsFormat)
{
    struct slicer_t
    {
        std::complex<float> (*judge)(std::complex<float>, float);
        int levels;
        double step;
        double first_border;
        double last_border;
    };
    const slicer_t slicers[] = { { demod_t::ask_judge_4, 4, 0.36514837, 0.5477225, 1.2780193 },
                                 { demod_t::ask_judge_8, 8, 0.19802952, 0.29704428, 1.4852214 },
                                 { demod_t::ask_judge_16, 16, 0.10341754, 0.15512632, 1.6029719 } };
    for (const slicer_t& slicer : slicers)
    {
        EXPECT_NEAR(slicer.first_border + (slicer.levels - 2) * slicer.step, slicer.last_border, 1e-6);
        for (const double scale : { 1.0, 3.0 })
        {
            const auto decide = [&](double value)
            {
                const std::complex<float> decided =
                    slicer.judge({ static_cast<float>(value * scale), 4.0f }, static_cast<float>(scale));
                EXPECT_EQ(decided.imag(), 0.0f);
                return static_cast<double>(decided.real()) / scale;
            };
            for (int level = 1; level < slicer.levels; ++level)
            {
                const double border = slicer.first_border + (level - 1) * slicer.step;
                EXPECT_NEAR(decide(border - 1e-5), level * slicer.step, 1e-6) << slicer.levels << ", " << level;
                EXPECT_NEAR(decide(border + 1e-5), (level + 1) * slicer.step, 1e-6) << slicer.levels << ", " << level;
            }
            EXPECT_NEAR(decide(0.0), slicer.step, 1e-6);
            EXPECT_NEAR(decide(-5.0), slicer.step, 1e-6);
            EXPECT_NEAR(decide(100.0), slicer.levels * slicer.step, 1e-6);
        }
    }
}

TEST(AskDepth, IsOneLessLowOverHigh)
{
    EXPECT_FLOAT_EQ(get_depth({ { 1.0f, 0.0f }, { 0.0f, 0.5f }, { -1.0f, 0.0f }, { 0.5f, 0.0f } }), 0.5f);
}

TEST(AskDepth, DividesTheLowSumByTheCountOfTheHigh)
{
    // One high and three low symbols: low is 1.5.
    EXPECT_FLOAT_EQ(get_depth({ { 1.0f, 0.0f }, { 0.5f, 0.0f }, { 0.5f, 0.0f }, { 0.5f, 0.0f } }), -0.5f);
    // Three high and one low.
    EXPECT_FLOAT_EQ(get_depth({ { 1.0f, 0.0f }, { 1.0f, 0.0f }, { 1.0f, 0.0f }, { 0.5f, 0.0f } }), 1.0f - 0.5f / 3.0f);
}

TEST(AskDepth, OfEqualAmplitudesIsOne)
{
    EXPECT_EQ(get_depth({ { 0.5f, 0.0f }, { 0.0f, 0.5f }, { -0.5f, 0.0f }, { 0.5f, 0.0f } }), 1.0f);
}

TEST(AskDepth, KeepsItsValueWithoutSymbolsOrLevel)
{
    EXPECT_EQ(get_depth({}, 0.25f), 0.25f);
    EXPECT_EQ(get_depth({ { 0.0f, 0.0f }, { 0.0f, 0.0f } }, 0.25f), 0.25f);
    EXPECT_EQ(get_depth({ { std::numeric_limits<float>::quiet_NaN(), 0.0f } }, 0.25f), 0.25f);
}

TEST(AskCarrierSync, FindsPhaseAndFrequency)
{
    for (const lib_dma_ask_modulation_type_t format : all_formats)
    {
        for (const double hertz : { 150.0, -150.0 })
        {
            const std::uint32_t count = static_cast<std::uint32_t>(format);
            const double step = 2.0 * pi * hertz / 1e6;
            sync_run_t run(format, map_points(make_indices(1000, count), make_levels(count), step, 0.3));
            const log_capture_t log;
            ASSERT_TRUE(run.run());
            EXPECT_EQ(log.count(log_level_info, "lib_dma_ask_demod_t::apsk_carrier_sync.\n"), 1);
            EXPECT_EQ(log.count(log_level_error, no_lock), 0) << format;
            EXPECT_NEAR(run.frequency, hertz, 5.0) << format;
            EXPECT_NEAR(static_cast<double>(run.fit.at(0)), step, 3e-5);
            EXPECT_NEAR(static_cast<double>(run.fit.at(1)), 0.3, 0.03) << format;
            ASSERT_EQ(run.track.size(), 1000u);
            ASSERT_EQ(run.line.size(), 1000u);
            EXPECT_NEAR(static_cast<double>(run.track[999]), 0.3 + 999.0 * step, 0.05) << format;
            EXPECT_TRUE(contains(run.text, "ask_carrier_sync:phase_out size = 1000   locked_point = "));
            EXPECT_TRUE(contains(run.text, "ask_carrier_sync ask_lock_phase_detect time: "));
            EXPECT_TRUE(contains(run.text, "ask_carrier_sync deal_polyfit time: time: "));
            EXPECT_TRUE(contains(run.text, "ask_carrier_sync adjacent_difference time: "));
        }
    }
}

TEST(AskCarrierSync, IgnoresThePhaseOfSymbolsAtLevelZero)
{
    // Off-keyed symbols with a little signal a quarter turn away; that of the others is what the line has to be.
    point_array symbols = map_points(make_indices(800, 2), make_levels(2), 0.0, 0.2);
    const auto with_residue = [&symbols](double residue)
    {
        point_array changed = symbols;
        for (std::complex<double>& symbol : changed)
        {
            if (std::abs(symbol) == 0.0)
                symbol = std::polar(residue, 0.2 + pi / 2.0);
        }
        sync_run_t run(LIB_DMA_ASK_2, changed);
        EXPECT_TRUE(run.run());
        return static_cast<double>(run.fit.at(1));
    };
    EXPECT_NEAR(with_residue(0.4), 0.2, 0.01);
    EXPECT_NEAR(with_residue(0.0), 0.2, 0.01);
    // Above half the next level it tells: the line is pulled towards it.
    EXPECT_GT(with_residue(1.1), 0.4);
}

TEST(AskCarrierSync, TurnsASignalThatStandsUpsideDown)
{
    // At half a turn every symbol is decided 0; the strong ones tell all the same.
    sync_run_t run(LIB_DMA_ASK_2, map_points(make_indices(800, 2), make_levels(2), 0.0, 3.0));
    ASSERT_TRUE(run.run());
    EXPECT_NEAR(static_cast<double>(run.fit.at(1)), 3.0, 0.02);
}

TEST(AskCarrierSync, GoesOnWithoutALock)
{
    for (const std::size_t symbols : { 0u, 1u, 19u })
    {
        sync_run_t run(LIB_DMA_ASK_4, point_array(symbols, 1.0));
        const log_capture_t log;
        EXPECT_TRUE(run.run());
        EXPECT_EQ(log.count(log_level_error, no_lock), 1) << symbols;
        EXPECT_TRUE(contains(run.text, "ask_carrier_sync:phase_out size = " + std::to_string(symbols) + "   locked_point = "));
        EXPECT_EQ(std::isnan(run.frequency), symbols < 2) << symbols;
    }
}

TEST(AskDecodeBit, DecidesAndFindsAWordAtBothTurns)
{
    // Turned by half a turn all levels above 0 lie on the wrong side; only levels of a user's map do not.
    for (const lib_dma_ask_modulation_type_t format : all_formats)
    {
        const std::uint32_t count = static_cast<std::uint32_t>(format);
        const std::uint32_t bits = count == 2 ? 1 : count == 4 ? 2 : count == 8 ? 3 : 4;
        const index_array indices = make_indices(96, count);
        for (const bool reversed : { false, true })
        {
            auto run = make_decode_run(format, indices);
            for (std::complex<float>& sample : run.demod.work.meas_data)
                sample *= reversed ? -1.0f : 1.0f;
            run.search(expand(slice(indices, 20, 44), bits));
            run.demod.setting.meas_interval = 40;
            const log_capture_t log;
            ASSERT_TRUE(run.demod.ask_decode_bit(0, run.store));
            EXPECT_TRUE(run.get_sync_flag()) << format << ", " << reversed;
            EXPECT_EQ(run.get_decoded(), slice(indices, 20, 60)) << format << ", " << reversed;
            EXPECT_EQ(log.count(log_level_error, "Pattern Not Found!\n"), 0);
        }
        auto plain = make_decode_run(format, indices);
        ASSERT_TRUE(plain.demod.ask_decode_bit(0, plain.store));
        EXPECT_EQ(plain.get_decoded(), indices);
        EXPECT_FALSE(plain.get_decode_flag());
    }
}

TEST(AskDecodeBit, DecidesOnAUsersMap)
{
    auto run = make_decode_run(LIB_DMA_ASK_2, { 1, 0, 0, 1 });
    run.demod.setting.constellation_setting_flag = true;
    run.demod.setting.const_iq_map = { { 4, { 0.1f, 0.0f } }, { 6, { 1.2f, 0.0f } } };
    ASSERT_TRUE(run.demod.ask_decode_bit(0, run.store));
    EXPECT_EQ(run.get_decoded(), (index_array{ 6, 4, 4, 6 }));
}

TEST(AskDecodeBit, SpeaksInItsWords)
{
    auto run = make_decode_run(LIB_DMA_ASK_4, make_indices(32, 4));
    run.demod.setting.meas_interval = 33;
    const log_capture_t log;
    const trace_capture_t trace;
    EXPECT_TRUE(run.demod.ask_decode_bit(0, run.store));
    EXPECT_EQ(log.count(log_level_error, "ask_decode_bit:data is too short!\n"), 1);
    auto reference = make_decode_run(LIB_DMA_ASK_4, make_indices(32, 4));
    reference.demod.work.ref_data.assign(32, {});
    EXPECT_FALSE(reference.demod.ask_decode_bit(0, reference.store));
    EXPECT_TRUE(contains(trace.get_text(), "ask_decode_bit::rms_normalize Report: Data array has a too small rms0: "));
    auto measurement = make_decode_run(LIB_DMA_ASK_4, make_indices(32, 4));
    measurement.demod.work.meas_data.assign(32, {});
    EXPECT_FALSE(measurement.demod.ask_decode_bit(0, measurement.store));
    EXPECT_TRUE(contains(trace.get_text(), "ask_decode_bit::rms_normalize Report: Data array has a too small rms2: "));
}

TEST(AskDemod, HasItsDefaultsAndItsWords)
{
    demod_t demod;
    EXPECT_EQ(demod.setting.format_group, LIB_DMA_GROUP_ASK);
    EXPECT_EQ(demod.ask_format, LIB_DMA_ASK_2);
    demod.setting.meas_interval = 400;
    lib_dma_demod_config_mgr config;
    config.data_len = 350;
    const log_capture_t log;
    EXPECT_TRUE(demod.cal_demod_param(config));
    EXPECT_EQ(log.count(log_level_error, "Data Out Of Acq Rang!\n"), 1);
    demod.ask_judge(LIB_DMA_ASK_16, {});
    demod.clear();
    EXPECT_TRUE(demod.judge_map.empty());
}

TEST(AskErrorCal, HasNoQuadratureError)
{
    auto run = make_decode_run(LIB_DMA_ASK_4, make_indices(32, 4));
    run.demod.work.meas_symbol.assign(32, { 0.4f, 0.3f });
    run.store.get_err_table(0).quad_error = 9.0f;
    const trace_capture_t trace;
    EXPECT_TRUE(run.demod.error_cal(0, run.store));
    EXPECT_EQ(run.store.get_err_table(0).quad_error, 0.0f);
}

TEST(AskProcess, MeasuresEveryFormat)
{
    for (const lib_dma_ask_modulation_type_t format : all_formats)
    {
        const std::uint32_t count = static_cast<std::uint32_t>(format);
        const point_array levels = make_levels(count);
        run_t run = make_process_run(format);
        ASSERT_TRUE(
            run.run(&demod_t::lib_dma_ask_demod_process, make_block(map_points(make_indices(600, count), levels), 700.0)));
        EXPECT_LT(run.get_evm(), 1.5f) << format; // the timing estimate's own noise on an uneven signal
        EXPECT_NEAR(run.get_frequency(), 700.0, 5.0) << format;
        EXPECT_EQ(run.store.get_err_table(0).quad_error, 0.0f);
        EXPECT_TRUE(contains(run.text, "lib_dma_ask_demod_t timing_recovery time: "));
        if (count == 2)
        {
            EXPECT_NEAR(run.store.get_error_summary(0).depth, 1.0f, 0.03f);
        }
    }
}

TEST(AskProcess, FailsOnSilence)
{
    run_t run = make_process_run(LIB_DMA_ASK_4);
    EXPECT_FALSE(run.run(&demod_t::lib_dma_ask_demod_process, complex_array(4000, { 0.0f, 0.0f })));
    EXPECT_TRUE(contains(run.text, "ref_data_generate::rms_normalize Report: Data array has a too small rms: "));
}
