#include "lib_dma_demod/lib_dma_msk_demod.h"

#include "lib_dma_msk_signal.h"
#include "message_capture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>
#include <string>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using namespace msk_test;

namespace
{
/// What the carrier stage says of a timed signal.
struct carrier_run_t
{
    carrier_run_t(complex_array timed, std::uint32_t pre_num)
    {
        lib_dma_msk_demod_t demod = make_demod({}, pre_num);
        demod.setting.symbol_rate = 1000000;
        demod.work.timing_data = std::move(timed);
        const log_capture_t log;
        const trace_capture_t trace;
        fitted = demod.msk_carrier_sync(line, frequency, fit, track);
        symbols = demod.work.sync_symbol;
        text = trace.get_text();
        starts = log.count(common_log::log_level_info, "lib_dma_msk_demod_t::msk_carrier_sync start.\n");
        lost = log.count(common_log::log_level_error, "msk_lock_phase_detect:error!\n");
        replaced = log.count(common_log::log_level_info,
                             "msk_carrier_sync: the line of the squared pulses fits better than that of the loop.\n");
    }

    bool contains(const std::string& part) const { return text.find(part) != std::string::npos; }

    bool fitted = false;
    float_array line;
    double frequency = -1.0;
    float_array fit;
    float_array track;
    complex_array symbols;
    std::string text;
    long starts = 0;
    long lost = 0;
    long replaced = 0; ///< lines that another one took the place of
};

/// Distance of an angle to the nearest diagonal, radians.
double get_distance_to_diagonal(double angle)
{
    return std::remainder(angle - pi / 4.0, pi / 2.0);
}
} // namespace

TEST(MskCarrier, FindsThePhaseOfAStandingCarrier)
{
    for (int step = 0; step < 16; ++step)
    {
        const double phase = pi / 4.0 + 0.1 + step * pi / 8.0;
        const carrier_run_t run(make_msk(make_bits(400, 40), 8, phase), 80);
        ASSERT_TRUE(run.fitted);
        EXPECT_EQ(run.lost, 0);
        EXPECT_NEAR(static_cast<double>(run.fit[0]), 0.0, 1e-5) << step;
        EXPECT_NEAR(get_distance_to_diagonal(phase - static_cast<double>(run.fit[1])), 0.0, 2e-3) << step;
        EXPECT_NEAR(run.frequency, 0.0, 1.0);
    }
}

TEST(MskCarrier, FindsTheFrequencyOfATurningCarrier)
{
    // The loop lags behind a turn and closes in slowly: the line is steeper than the carrier by up to 0.3 %.
    for (const double turns : { 0.002, -0.005, 0.01, -0.01 })
    {
        const carrier_run_t run(make_msk(make_bits(1200, 41), 8, 0.3, 0.0, turns), 80);
        ASSERT_TRUE(run.fitted);
        EXPECT_EQ(run.lost, 0);
        EXPECT_EQ(run.replaced, 0);
        EXPECT_NEAR(run.frequency, turns * 1e6, 0.003 * std::abs(turns) * 1e6) << turns;
        EXPECT_NEAR(static_cast<double>(run.fit[0]), turns * 2.0 * pi, 0.003 * std::abs(turns) * 2.0 * pi) << turns;
        ASSERT_EQ(run.line.size(), 1180u); // ten bits off either end
        EXPECT_FLOAT_EQ(run.line[100], 100.0f * run.fit[0] + run.fit[1]);
        EXPECT_EQ(run.track.size(), 1180u);
    }
}

TEST(MskCarrier, FindsACarrierThatTheLoopCannotFollow)
{
    for (const double turns : { 0.03, -0.06, 0.09, -0.09 })
    {
        const carrier_run_t run(make_msk(make_bits(1200, 45), 8, 0.3, 0.0, turns), 80);
        ASSERT_TRUE(run.fitted);
        EXPECT_EQ(run.replaced, 1) << turns;
        // The pulses beside one are noise of the data in its square, but what one of them has less the next one has more.
        EXPECT_NEAR(static_cast<double>(run.fit[0]), turns * 2.0 * pi, 1e-5) << turns;
        EXPECT_NEAR(run.frequency, turns * 1e6, 1.6) << turns;
        for (std::size_t i = 0; i < run.symbols.size(); i += 7)
            EXPECT_NEAR(get_distance_to_diagonal(std::arg(std::complex<double>(run.symbols[i]))), 0.0, 0.06)
                << turns << ", " << i;
    }
}

TEST(MskCarrier, FindsACarrierUnderNoiseThatHidesSingleSamples)
{
    // 10 dB of Es/N0 at 8 samples a bit: single samples stand 1 dB above the noise, where decisions say next to nothing.
    for (unsigned seed = 1; seed <= 10; ++seed)
    {
        const double phase = 0.6 * seed;
        complex_array samples = make_msk(make_bits(1200, 50 + seed), 8, phase, 0.0, 0.004);
        add_noise(0.8, seed, samples);
        const carrier_run_t run(samples, 80);
        ASSERT_TRUE(run.fitted);
        EXPECT_EQ(run.replaced, 1) << seed;
        // Four times what the best estimate scatters by: sqrt(6 / (Es/N0 N^3)) in the slope, sqrt(1 / (2 Es/N0 N)) in the middle.
        EXPECT_NEAR(static_cast<double>(run.fit[0]), 0.004 * 2.0 * pi, 4.0 * std::sqrt(6.0 / (10.0 * std::pow(1180.0, 3))))
            << seed;
        const double middle = 590.0 * static_cast<double>(run.fit[0]) + static_cast<double>(run.fit[1]);
        const double expected = phase + 2.0 * pi * 0.004 * (590.0 + 10.0);
        EXPECT_NEAR(std::remainder(expected - middle - pi / 4.0, pi / 2.0), 0.0, 4.0 * std::sqrt(1.0 / (2.0 * 10.0 * 1180.0)))
            << seed;
    }
}

TEST(MskCarrier, LeavesRecordsWithoutRoomForPulses)
{
    for (const std::size_t count : { 8u, 16u, 24u })
    {
        const carrier_run_t run(make_msk(make_bits(count / 8, 46), 8, 0.2), 0);
        EXPECT_TRUE(run.fitted) << count;
        EXPECT_EQ(run.symbols.size(), count / 8);
    }
}

TEST(MskCarrier, TurnsTheSymbolsOntoTheDiagonals)
{
    const carrier_run_t run(make_msk(make_bits(1000, 42), 8, 2.2, 0.0, 0.001), 80);
    ASSERT_EQ(run.symbols.size(), 980u);
    // The line is steeper than the carrier by 0.2 %: 0.0006 radians per hundred symbols, and some at its start.
    for (std::size_t i = 0; i < 980; i += 7)
        EXPECT_NEAR(get_distance_to_diagonal(std::arg(std::complex<double>(run.symbols[i]))), 0.0, 0.05) << i;
}

TEST(MskCarrier, SaysHowFarTheLoopCame)
{
    const carrier_run_t run(make_msk(make_bits(400, 43), 8, pi / 4.0), 80);
    EXPECT_EQ(run.starts, 1);
    // Locked at symbol 19, behind 19 distances: 39 symbols and a quarter of the other 341, rounded, are left out.
    EXPECT_TRUE(run.contains("msk_carrier_sync:phase_out size = 380   locked_point = 124\n")) << run.text;
    EXPECT_TRUE(run.contains("psk_carrier_sync psk_lock_phase_detect time: "));
    EXPECT_TRUE(run.contains("psk_carrier_sync deal_polyfit time: time: "));
}

TEST(MskCarrier, CannotLockOnNineteenSymbols)
{
    const complex_array samples = make_msk(make_bits(40, 44), 8, pi / 4.0);
    for (const std::size_t count : { 0u, 1u, 2u, 19u })
    {
        const carrier_run_t run(complex_array(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(count * 8)), 0);
        EXPECT_EQ(run.lost, 1) << count;
        EXPECT_EQ(run.track.size(), count);
    }
    const carrier_run_t run(complex_array(samples.begin(), samples.begin() + 20 * 8), 0);
    EXPECT_EQ(run.lost, 0);
    EXPECT_TRUE(run.fitted);
}

TEST(MskCarrier, GoesOnWithoutALock)
{
    // One bit at 2.2 among zeros of the same power: the distances stay above the level, a line comes out all the same.
    complex_array samples(800, { 0.0f, 0.0f });
    for (std::size_t n = 0; n < samples.size(); n += 40)
        samples[n] = { 5.0f, 5.0f };
    const carrier_run_t run(samples, 0);
    EXPECT_EQ(run.lost, 1);
    EXPECT_TRUE(run.fitted);
    EXPECT_EQ(run.line.size(), 100u);
    // From symbol 0 + 20 + a quarter of 80.
    EXPECT_TRUE(run.contains("locked_point = 40\n")) << run.text;
}

TEST(MskCarrier, EndsOnWhatIsNoNumber)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const carrier_run_t run(complex_array(800, { nan, nan }), 0);
    EXPECT_EQ(run.lost, 1);
    EXPECT_EQ(run.line.size(), 100u);
}
