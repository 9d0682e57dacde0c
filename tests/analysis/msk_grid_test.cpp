#include "msk_run.h"

#include "frame_run.h"

#include <cmath>
#include <gtest/gtest.h>
#include <numbers>
#include <string>
#include <tuple>

using namespace dma_test;

namespace
{
constexpr std::uint32_t interval = 400;

using grid_point_t = std::tuple<std::size_t, std::uint32_t>; // shape, points per symbol

class MskGrid : public testing::TestWithParam<grid_point_t>
{
protected:
    signal_setting_t make_setting(std::uint64_t seed) const
    {
        return make_msk_setting(msk_shapes[std::get<0>(GetParam())], interval, seed);
    }

    /// What holds for every point of the grid.
    msk_run_t check(const signal_setting_t& setting) const
    {
        const std::uint32_t points = std::get<1>(GetParam());
        msk_run_t run(setting, make_msk_analysis(setting, interval, points));
        EXPECT_TRUE(run.result.locked());
        EXPECT_EQ(run.result.meas_symbols.size(), interval);
        EXPECT_EQ(run.result.ref_symbols.size(), interval);
        EXPECT_EQ(run.result.summary.meas_data.size(), std::size_t{ interval } * points);
        EXPECT_EQ(run.result.decoded.size(), interval);
        EXPECT_EQ(run.match.differing, 0u);
        return run;
    }
};

TEST_P(MskGrid, MeasuresEveryTimingAndPhase)
{
    for (int step = 0; step < 16; step += small_grids ? 3 : 1)
    {
        signal_setting_t setting = make_setting(100 + static_cast<std::uint64_t>(step));
        setting.timing_symbols = step / 16.0;
        setting.carrier_phase = ((5 * step) % 16 + 0.3) * std::numbers::pi / 8.0;
        setting.carrier_offset_hz = (step - 8) * 1000.0;
        SCOPED_TRACE(testing::Message() << "timing " << step << " / 16");
        const msk_run_t run = check(setting);
        EXPECT_LE(run.get_evm(), 0.5);
        EXPECT_NEAR(run.get_frequency(), setting.carrier_offset_hz, 0.003 * std::abs(setting.carrier_offset_hz) + 1.0);
    }
}

TEST_P(MskGrid, MeasuresEveryNoise)
{
    for (const double snr_db : { 10.0, 12.0, 15.0, 17.0, 20.0, 25.0, 30.0, 40.0, 50.0 })
    {
        signal_setting_t setting = make_setting(static_cast<std::uint64_t>(snr_db));
        setting.timing_symbols = snr_db / 70.0;
        setting.carrier_phase = snr_db / 3.0;
        setting.carrier_offset_hz = 1500.0;
        setting.snr_db = snr_db;
        SCOPED_TRACE(testing::Message() << "SNR " << snr_db << " dB");
        const msk_run_t run = check(setting);
        // The noise of 8 samples a symbol, less what the filters keep off: the one in front a tenth of its power, a fractional
        // delay up to a sixth. It is brought to the level of the reference with the signal. A clean signal reads up to 0.5, the
        // rms of 400 symbols scatters by 3.5 %.
        const double noise = 8.0 * std::pow(10.0, -snr_db / 10.0);
        const double evm = 100.0 * std::sqrt(2.0 - 2.0 / std::sqrt(1.0 + noise));
        EXPECT_LE(run.get_evm(), std::hypot(1.05 * evm, 0.5));
        EXPECT_GE(run.get_evm(), 0.85 * evm);
        EXPECT_NEAR(run.get_frequency(), setting.carrier_offset_hz, 5.0 + 2.0 * evm);
    }
}

TEST_P(MskGrid, MeasuresStrongNoiseBehindAFilter)
{
    const std::uint32_t points = std::get<1>(GetParam());
    for (const double snr_db : { 10.0, 12.0, 15.0 })
    {
        signal_setting_t setting = make_setting(70 + static_cast<std::uint64_t>(snr_db));
        setting.timing_symbols = snr_db / 40.0;
        setting.carrier_phase = snr_db / 3.0;
        setting.carrier_offset_hz = -1500.0;
        setting.snr_db = snr_db;
        analysis_setting_t analysis = make_msk_analysis(setting, interval, points);
        analysis.meas_filter = vrim::dma_demod_lib::LIB_DMA_MEAS_RECTANGULAR_FILTER;
        const msk_run_t run(setting, analysis);
        SCOPED_TRACE(testing::Message() << "SNR " << snr_db << " dB");
        EXPECT_TRUE(run.result.locked());
        EXPECT_NEAR(run.get_frequency(), setting.carrier_offset_hz, 40.0);
        // The noise of a bit's length over the signal, and what the filter costs GMSK.
        EXPECT_LE(run.get_evm(), std::hypot(115.0 * std::pow(10.0, -snr_db / 20.0), 6.0));
        EXPECT_EQ(run.match.differing, 0u);
    }
}

TEST_P(MskGrid, FindsCarriersFarOff)
{
    // Far beyond what the loop follows: the squared pulses tell.
    for (const double offset_hz : { -90000.0, -40000.0, 25000.0, 80000.0 })
    {
        signal_setting_t setting = make_setting(90);
        setting.timing_symbols = 0.3;
        setting.carrier_phase = 1.1;
        setting.carrier_offset_hz = offset_hz;
        setting.snr_db = 30.0;
        SCOPED_TRACE(testing::Message() << "offset " << offset_hz << " Hz");
        const msk_run_t run = check(setting);
        EXPECT_LE(run.get_evm(), 9.6);
        EXPECT_NEAR(run.get_frequency(), offset_hz, 5.0);
    }
}

INSTANTIATE_TEST_SUITE_P(All, MskGrid, testing::Combine(testing::Values(0u, 1u, 2u), testing::Values(2u, 4u, 5u, 8u, 10u)),
                         [](const auto& point) {
                             return std::string(msk_shapes[std::get<0>(point.param)].name) + "_" +
                                    std::to_string(std::get<1>(point.param)) + "points";
                         });
} // namespace
