#include "lib_dma_demod/stage/symbol_decode.h"

#include "lib_dma_demod/demod_run.h"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using namespace vrim::dma_demod_lib::demod_stage;
using namespace demod_test;
using common_log::log_level_error;

namespace
{
constexpr decode_words_t words = { "too short\n", "no reference: ", "no measurement: " };

/// Four points on the axes, index k at k quarter turns, 2 bits a symbol.
const point_array axis_points = { { 1.0, 0.0 }, { 0.0, 1.0 }, { -1.0, 0.0 }, { 0.0, -1.0 } };

struct stage_run_t
{
    explicit stage_run_t(index_array places, std::uint32_t points_per_symbol = 1, std::uint32_t segments = 1)
        : steps(std::move(places))
    {
        lib_dma_frame_configure_manager_t frame;
        frame.set_segment_number(segments);
        store.init();
        store.set_config(frame);
        setting.points_per_symbol = points_per_symbol;
        setting.sps = 8;
        setting.sync_pattern_bitarr.clear();
        for (const std::uint32_t step : steps)
        {
            for (std::uint32_t k = 0; k < points_per_symbol; ++k)
            {
                const std::complex<double> point = k == 0 ? axis_points[step] : std::complex<double>(0.1, 0.0);
                work.meas_data.emplace_back(3.0 * point);
                work.ref_data.emplace_back(0.5 * point);
            }
        }
        setting.meas_interval = static_cast<std::uint32_t>(work.meas_data.size());
    }

    bool run(std::uint32_t segment = 0, const float_array& rotations = { 0.0f, 1.5707964f })
    {
        const auto decide = [](std::complex<float> symbol)
        { return (static_cast<std::uint32_t>(std::lround(std::arg(std::complex<double>(symbol)) / (pi / 2.0)) + 4)) % 4; };
        return deal_symbol_decode(segment, 2, rotations, words, decide, setting, work, store);
    }

    void search(const bit_array& pattern)
    {
        setting.sync_search = true;
        setting.sync_pattern_bitarr = pattern;
    }

    bool get_sync_flag(std::uint32_t segment = 0) { return store.get_sync_search_flag_vec().at(segment); }
    bool get_decode_flag(std::uint32_t segment = 0) { return store.get_decode_bit_flag_vec().at(segment); }

    index_array steps;
    demod_setting_t setting;
    demod_work_t work;
    lib_dma_phy_data_manager_t store;
};
} // namespace

TEST(SymbolDecode, TakesTheSymbolsAsTheyStandWithoutASearch)
{
    stage_run_t run(make_indices(40, 4), 2);
    run.store.get_decode_bit(0) = { 9, 9 };
    run.setting.sync_pattern_bitarr = { 1, 0, 1 };
    ASSERT_TRUE(run.run());
    EXPECT_EQ(run.store.get_decode_bit(0), run.steps);
    EXPECT_FALSE(run.get_sync_flag());
    EXPECT_FALSE(run.get_decode_flag());
    EXPECT_EQ(run.setting.sync_pattern_bitarr, (bit_array{ 1, 0 })); // whole symbols, searched or not
    EXPECT_NEAR(std::abs(run.work.ref_data[0]), 1.0f, 1e-6f);
    EXPECT_NEAR(std::abs(run.work.meas_data[0]), 1.0f, 1e-6f);
}

TEST(SymbolDecode, SearchesInTheFirstSegmentOnly)
{
    demod_setting_t setting;
    EXPECT_FALSE(is_sync_searched(0, setting));
    setting.sync_search = true;
    EXPECT_TRUE(is_sync_searched(0, setting));
    EXPECT_FALSE(is_sync_searched(1, setting));

    stage_run_t run(make_indices(40, 4), 1, 2);
    run.search(expand({ run.steps[3], run.steps[4], run.steps[5] }, 2));
    run.setting.data_start = 5;
    ASSERT_TRUE(run.run(1));
    EXPECT_FALSE(run.get_sync_flag(0));
    EXPECT_EQ(run.store.get_decode_bit(1), run.steps);
    EXPECT_EQ(run.setting.data_start, 5u);
}

TEST(SymbolDecode, TurnsBothWaveformsByTheLastTurnAndCutsTheWindow)
{
    stage_run_t run(make_indices(100, 4));
    // Found at the second turn: a quarter turn further on.
    index_array word;
    for (std::size_t i = 30; i < 50; ++i)
        word.push_back((run.steps[i] + 1) % 4);
    run.search(expand(word, 2));
    run.setting.meas_interval = 60;
    run.setting.sample_rate = 4 * run.setting.symbol_rate;
    run.setting.data_start = 10;
    const log_capture_t log;
    ASSERT_TRUE(run.run());
    EXPECT_TRUE(run.get_sync_flag());
    EXPECT_TRUE(run.get_decode_flag());
    EXPECT_TRUE(log.get_records().empty());
    EXPECT_EQ(run.setting.data_start, 25u); // 30 symbols at 4 samples each over 8
    ASSERT_EQ(run.work.ref_data.size(), 60u);
    ASSERT_EQ(run.store.get_decode_bit(0).size(), 60u);
    for (std::size_t i = 0; i < 60; ++i)
    {
        EXPECT_EQ(run.store.get_decode_bit(0)[i], (run.steps[30 + i] + 1) % 4);
        const std::complex<double> turned = axis_points[(run.steps[30 + i] + 1) % 4];
        EXPECT_TRUE(is_near(run.work.ref_data[i], turned, 1e-5));
        EXPECT_TRUE(is_near(run.work.meas_data[i], turned, 1e-5));
    }
}

TEST(SymbolDecode, GoesOnWithoutTheWord)
{
    stage_run_t run(index_array(48, 0));
    run.search(expand({ 3, 3 }, 2));
    run.setting.data_start = 100;
    run.store.get_dma_demod_config_mgr(0).pulse_center_sym = 9;
    const log_capture_t log;
    ASSERT_TRUE(run.run());
    EXPECT_EQ(log.count(log_level_error, "Pattern Not Found!\n"), 1);
    EXPECT_EQ(run.setting.data_start, 109u);
    EXPECT_EQ(run.store.get_decode_bit(0), index_array(48, 1)); // those of the last turn
    EXPECT_FALSE(run.get_decode_flag());
}

TEST(SymbolDecode, ForgetsTheWordThatAnEarlierPassFound)
{
    stage_run_t run(index_array(48, 0));
    run.search(expand({ 3, 3 }, 2));
    run.store.get_sync_search_flag_vec().at(0) = true;
    const log_capture_t log;
    ASSERT_TRUE(run.run());
    EXPECT_FALSE(run.get_sync_flag());
    EXPECT_FALSE(run.get_decode_flag());
    EXPECT_EQ(log.count(log_level_error, "Pattern Not Found!\n"), 1);
}

TEST(SymbolDecode, ClearsTheFlagAndTheOffsetThatPointsOutside)
{
    stage_run_t run(make_indices(60, 4));
    run.search(expand(slice(run.steps, 2, 22), 2));
    run.setting.meas_interval = 30;
    run.setting.sync_offset = 5.0f;
    ASSERT_TRUE(run.run());
    EXPECT_TRUE(run.get_sync_flag());
    EXPECT_FALSE(run.get_decode_flag());
    EXPECT_EQ(run.setting.sync_offset, 0.0f);
    EXPECT_EQ(run.store.get_decode_bit(0), slice(run.steps, 2, 37));
}

TEST(SymbolDecode, SpeaksInTheWordsOfItsClass)
{
    stage_run_t shorter(make_indices(30, 4));
    shorter.setting.meas_interval = 31;
    const log_capture_t log;
    const trace_capture_t trace;
    EXPECT_TRUE(shorter.run());
    EXPECT_EQ(log.count(log_level_error, "too short\n"), 1);

    stage_run_t reference(make_indices(30, 4));
    reference.work.ref_data.assign(30, { 0.0f, 0.0f });
    EXPECT_FALSE(reference.run());
    EXPECT_TRUE(contains(trace.get_text(), "no reference: 0"));

    stage_run_t measurement(make_indices(30, 4));
    measurement.work.meas_data.assign(30, { 0.0f, 0.0f });
    EXPECT_FALSE(measurement.run());
    EXPECT_TRUE(contains(trace.get_text(), "no measurement: 0"));
}

TEST(SymbolDecode, NeedsTheFlagsOfTheSegment)
{
    stage_run_t run(make_indices(30, 4));
    run.store.get_sync_search_flag_vec().clear();
    EXPECT_THROW(run.run(), std::out_of_range);
}
