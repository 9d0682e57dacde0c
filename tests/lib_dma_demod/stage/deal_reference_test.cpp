#include "lib_dma_demod/stage/reference.h"

#include "lib_dma_demod/demod_run.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using namespace vrim::dma_demod_lib::demod_stage;
using namespace demod_test;

namespace
{
constexpr std::uint32_t symbol_count = 200;

/// Points on the diagonals, and a measurement of them through a raised cosine of 0.35 at 8 samples a symbol.
struct reference_run_t
{
    /// @param step  turn of the format; `slope` and `phase` are what the measurement has besides
    explicit reference_run_t(double step, double slope = 0.0, double phase = 0.0)
    {
        setting.ref_filter_type = LIB_DMA_REF_RAISED_COSINE_FILTER;
        setting.filter_length = 32;
        setting.filter_alpha = 0.35f;
        setting.sps = 8;
        setting.points_per_symbol = 2;
        setting.pre_num = 16 * 8;
        setting.head_len = 16 * 8;
        setting.meas_interval = 100;
        point_array diagonals;
        for (int k = 0; k < 4; ++k)
            diagonals.push_back(std::polar(1.0, pi / 4.0 + k * pi / 2.0));
        points = map_points(make_indices(symbol_count, 4), diagonals);
        const point_array turning = map_points(make_indices(symbol_count, 4), diagonals, step);
        work.decided_symbol = narrow(turning);
        // The transmit filter saw the turning symbols, the carrier line took the turn out continuously.
        work.meas_data = make_block(turning, 0.0, 0.0, 0.0);
        for (std::size_t n = 0; n < work.meas_data.size(); ++n)
        {
            const double symbol = static_cast<double>(n) / 8.0;
            const double angle = -step * symbol + slope * (symbol - 16.0) + phase;
            work.meas_data[n] = std::complex<float>(3.0 * std::complex<double>(work.meas_data[n]) * std::polar(1.0, angle));
        }
    }

    demod_setting_t setting;
    demod_work_t work;
    lib_dma_demod_config_mgr config;
    common_lib::lib_filter_t filter;
    point_array points;
};
} // namespace

TEST(DealReference, RebuildsTheWaveformAndAlignsTheMeasurement)
{
    for (const double step : { 0.0, pi / 4.0, -pi / 4.0, pi / 8.0, 3.0 * pi / 4.0 })
    {
        reference_run_t run(step, 1e-3, 0.2);
        run.config.carrier_frequency_offset = 50.0;
        ASSERT_TRUE(deal_reference(step, run.setting, run.filter, run.work, run.config));
        // 200 symbols less a head of 15, at 2 points each; the symbols leave out the tail of 16 too.
        ASSERT_EQ(run.work.ref_data.size(), 370u);
        ASSERT_EQ(run.work.meas_data.size(), 370u);
        ASSERT_EQ(run.work.meas_symbol.size(), 169u);
        ASSERT_EQ(run.work.ref_symbol.size(), 169u);
        EXPECT_EQ(run.setting.meas_interval, 200u);
        for (std::size_t i = 20; i < 150; ++i)
        {
            // Standing points in the reference, whatever the turn; the measurement in phase and level with it.
            ASSERT_TRUE(is_near(run.work.ref_symbol[i], run.points[15 + i], 2e-3)) << step << ", " << i;
            ASSERT_TRUE(is_near(run.work.meas_symbol[i], run.points[15 + i], 1e-2)) << step << ", " << i;
        }
        EXPECT_NEAR(run.config.carrier_frequency_offset, 50.0 + 1e-3 * 1e6 / (2.0 * pi), 1.0) << step;
    }
}

TEST(DealReference, HasEveryPointRateOfTheResults)
{
    for (const std::uint32_t points_per_symbol : { 1u, 2u, 4u, 8u })
    {
        reference_run_t run(pi / 4.0);
        run.setting.points_per_symbol = points_per_symbol;
        ASSERT_TRUE(deal_reference(pi / 4.0, run.setting, run.filter, run.work, run.config));
        EXPECT_EQ(run.work.ref_data.size(), 185u * points_per_symbol);
        EXPECT_EQ(run.setting.meas_interval, 100u * points_per_symbol);
        EXPECT_EQ(run.work.ref_symbol.size(), 169u);
        // Between the symbols too the reference follows the measurement; at the ends its filter is running in and out.
        double largest = 0.0;
        for (std::size_t i = 20 * points_per_symbol; i < 140 * points_per_symbol; ++i)
            largest = std::max(
                largest, std::abs(std::complex<double>(run.work.meas_data[i]) - std::complex<double>(run.work.ref_data[i])));
        EXPECT_LT(largest, 0.02) << points_per_symbol;
    }
}

TEST(DealReference, FailsOnASilentMeasurement)
{
    reference_run_t run(0.0);
    run.work.meas_data.assign(run.work.meas_data.size(), { 0.0f, 0.0f });
    const trace_capture_t trace;
    EXPECT_FALSE(deal_reference(0.0, run.setting, run.filter, run.work, run.config));
    EXPECT_TRUE(contains(trace.get_text(), "ref_data_generate::rms_normalize Report: Data array has a too small rms: "));
    EXPECT_EQ(run.setting.meas_interval, 100u);
}
