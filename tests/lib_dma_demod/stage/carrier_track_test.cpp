#include "lib_dma_demod/stage/carrier_track.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <numbers>
#include <vector>

using namespace vrim;
using namespace vrim::dma_demod_lib::demod_stage;

namespace
{
constexpr double quarter_pi = std::numbers::pi / 4.0;
constexpr double turn_3pi_4 = 3.0 * quarter_pi;
constexpr double turn_3pi_8 = 1.5 * quarter_pi;

std::complex<double> decide_qpsk(std::complex<double> r)
{
    return { std::copysign(std::sqrt(0.5), r.real()), std::copysign(std::sqrt(0.5), r.imag()) };
}

/// QPSK symbols that turn by `turn` a symbol and are off by a little, never near a border.
complex_array make_symbols(std::size_t count, double turn, double offset)
{
    complex_array symbols;
    std::uint32_t state = 12345;
    for (std::size_t i = 0; i < count; ++i)
    {
        state = state * 1664525u + 1013904223u;
        const double quadrant = static_cast<double>(state >> 30);
        const double noise = (static_cast<double>((state >> 10) & 1023u) / 1023.0 - 0.5) * 0.2;
        const double angle = quarter_pi + 2.0 * quarter_pi * quadrant + turn * static_cast<double>(i) + offset + noise;
        symbols.emplace_back(std::polar(1.0 + noise / 2.0, angle));
    }
    return symbols;
}

struct plain_track_t
{
    std::vector<double> phase;
    std::size_t lock_index = 0;
    bool locked = false;
};

/// The loop with nothing but double precision.
plain_track_t run_plain_loop(const complex_array& symbols, double step, double lock_level)
{
    plain_track_t track;
    std::vector<double> magnitude;
    double phase = 0.0;
    double loop = 0.0;
    double before = 0.0;
    for (std::size_t i = 0; i < symbols.size(); ++i)
    {
        phase += step;
        const std::complex<double> r = std::complex<double>(symbols[i]) * std::polar(1.0, -phase);
        const std::complex<double> d = decide_qpsk(r);
        const double error = std::arg(r / d);
        magnitude.push_back(std::abs(r - d));
        if (!track.locked && i + 1 > 19)
        {
            double sum = 0.0;
            for (std::size_t k = i - 19; k < i; ++k)
                sum += magnitude[k];
            if (sum / 19.0 < lock_level)
            {
                track.locked = true;
                track.lock_index = i;
            }
        }
        double value = error * 0.12504195 + loop - before * 0.125;
        if (value >= 1.0)
            value -= 1.0;
        else if (value <= -1.0)
            value += 1.0;
        loop = value;
        before = error;
        phase += value;
        track.phase.push_back(phase);
    }
    return track;
}

carrier_error_t detect_qpsk(std::complex<float> r, const carrier_error_t&)
{
    const std::complex<double> value(r);
    const std::complex<double> d = decide_qpsk(value);
    return { static_cast<float>(std::arg(value / d)), static_cast<float>(std::abs(value - d)) };
}

/// The loop over `errors`, whatever the symbols are.
carrier_track_t run_on_errors(const std::vector<carrier_error_t>& errors, float lock_level)
{
    std::size_t next = 0;
    return cal_carrier_track(complex_array(errors.size(), { 1.0f, 0.0f }), 0.0, lock_level,
                             [&](std::complex<float>, const carrier_error_t&) { return errors[next++]; });
}

carrier_track_t make_track(std::size_t count, std::uint32_t lock_index)
{
    carrier_track_t track;
    track.phase.assign(count, 0.0f);
    track.lock_index = lock_index;
    return track;
}
} // namespace

TEST(CarrierTrack, FollowsTheLoopInDouble)
{
    for (const double offset : { 0.3, -0.4 })
    {
        for (const double turn : { 0.0, 0.01, -0.02 })
        {
            const complex_array symbols = make_symbols(300, turn, offset);
            const plain_track_t plain = run_plain_loop(symbols, 0.0, 0.25);
            const carrier_track_t track = cal_carrier_track(symbols, 0.0, 0.25f, detect_qpsk);
            ASSERT_EQ(track.phase.size(), symbols.size());
            ASSERT_TRUE(plain.locked);
            EXPECT_TRUE(track.locked);
            EXPECT_EQ(track.lock_index, plain.lock_index);
            for (std::size_t i = 0; i < symbols.size(); ++i)
                ASSERT_NEAR(static_cast<double>(track.phase[i]), plain.phase[i], 2e-5) << i;
        }
    }
}

TEST(CarrierTrack, GrowsByTheFixedTurnOfTheFormat)
{
    for (const double step : { turn_3pi_4, turn_3pi_8 })
    {
        const complex_array symbols = make_symbols(300, step + 0.005, step);
        const plain_track_t plain = run_plain_loop(symbols, step, 0.3);
        const carrier_track_t track = cal_carrier_track(symbols, step, 0.3f, detect_qpsk);
        ASSERT_EQ(track.phase.size(), symbols.size());
        // Hundreds of radians in single precision: each addition rounds by some 1e-5.
        for (std::size_t i = 0; i < symbols.size(); ++i)
            ASSERT_NEAR(static_cast<double>(track.phase[i]), plain.phase[i], 3e-3) << i;
    }
}

TEST(CarrierTrack, AddsTheFixedTurnInDoubleAndNarrows)
{
    const carrier_track_t track = cal_carrier_track(complex_array(2000, { 1.0f, 0.0f }), 2.35619449019, 0.7f,
                                                    [](std::complex<float>, const carrier_error_t&) {
                                                        return carrier_error_t{ 0.0f, 1.0f };
                                                    });
    float phase = 0.0f;
    for (std::size_t i = 0; i < track.phase.size(); ++i)
    {
        phase = static_cast<float>(static_cast<double>(phase) + 2.35619449019);
        ASSERT_EQ(track.phase[i], phase) << i;
    }
}

TEST(CarrierTrack, TurnsTheSymbolBackBeforeItIsDetected)
{
    complex_array seen;
    std::vector<float> before;
    cal_carrier_track(complex_array(3, { 1.0f, 0.0f }), 0.25, 0.7f,
                      [&](std::complex<float> r, const carrier_error_t& previous)
                      {
                          seen.push_back(r);
                          before.push_back(previous.phase);
                          return carrier_error_t{ static_cast<float>(seen.size()), 1.0f };
                      });
    // By hand: v0 = 0.12504195, v1 = 2 * 0.12504195 + v0 - 0.125.
    const double v0 = 0.12504195;
    const double v1 = 2.0 * 0.12504195 + v0 - 0.125;
    const double phases[] = { 0.25, 0.25 + v0 + 0.25, 0.25 + v0 + 0.25 + v1 + 0.25 };
    ASSERT_EQ(seen.size(), 3u);
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_NEAR(std::abs(std::complex<double>(seen[i]) - std::polar(1.0, -phases[i])), 0.0, 1e-6) << i;
    EXPECT_EQ(before, (std::vector<float>{ 0.0f, 1.0f, 2.0f }));
}

TEST(CarrierTrack, LocksAtTheVeryLevel)
{
    // One error among 19 whose mean is 0.7 in single precision to the last bit.
    const float sum = 19.0f * 0.7f;
    ASSERT_EQ(sum / 19.0f, 0.7f);
    std::vector<carrier_error_t> errors(40, { 0.0f, 0.0f });
    errors[0].magnitude = sum;
    const carrier_track_t at_level = run_on_errors(errors, 0.7f);
    EXPECT_TRUE(at_level.locked);
    EXPECT_EQ(at_level.lock_index, 19u);

    errors[0].magnitude = 19.0f * std::nextafter(0.7f, 1.0f);
    ASSERT_GT(errors[0].magnitude / 19.0f, 0.7f);
    const carrier_track_t above = run_on_errors(errors, 0.7f);
    EXPECT_TRUE(above.locked);
    EXPECT_EQ(above.lock_index, 20u); // the first window without it
}

TEST(CarrierTrack, DoesNotAskThePresentSymbolForTheLock)
{
    std::vector<carrier_error_t> errors(25, { 0.0f, 0.0f });
    errors[19].magnitude = 1000.0f;
    EXPECT_EQ(run_on_errors(errors, 0.7f).lock_index, 19u);
}

TEST(CarrierTrack, HoldsItsFirstLock)
{
    std::vector<carrier_error_t> errors(100, { 0.0f, 5.0f });
    for (std::size_t i = 30; i < 60; ++i)
        errors[i].magnitude = 0.0f;
    // 16 quiet symbols and 3 of 5 give 0.79, 17 and 2 give 0.53: first in the window of 28 to 46.
    const carrier_track_t track = run_on_errors(errors, 0.7f);
    EXPECT_TRUE(track.locked);
    EXPECT_EQ(track.lock_index, 47u);
    ASSERT_EQ(track.lock_flag.size(), 100u);
    for (std::size_t i = 0; i < 100; ++i)
        EXPECT_EQ(track.lock_flag[i], i >= 47 ? 1 : 0) << i;
}

TEST(CarrierTrack, DoesNotLockOnNineteenSymbols)
{
    EXPECT_FALSE(run_on_errors(std::vector<carrier_error_t>(19, { 0.0f, 0.0f }), 0.7f).locked);
    EXPECT_TRUE(run_on_errors(std::vector<carrier_error_t>(20, { 0.0f, 0.0f }), 0.7f).locked);
}

TEST(CarrierTrack, DoesNotLockOnNoise)
{
    const carrier_track_t track = run_on_errors(std::vector<carrier_error_t>(200, { 0.1f, 0.71f }), 0.7f);
    EXPECT_FALSE(track.locked);
    EXPECT_EQ(track.lock_index, 0u);
    EXPECT_EQ(track.phase.size(), 200u);
}

TEST(CarrierTrack, OfNothingIsEmpty)
{
    const carrier_track_t track = run_on_errors({}, 0.7f);
    EXPECT_TRUE(track.phase.empty());
    EXPECT_TRUE(track.lock_flag.empty());
    EXPECT_FALSE(track.locked);
}

TEST(CarrierTrack, FoldsItsStepAtOne)
{
    const double gain = 0.12504195;
    const carrier_track_t up = run_on_errors({ { 9.0f, 0.0f }, { 9.0f, 0.0f } }, 0.7f);
    EXPECT_NEAR(static_cast<double>(up.phase[0]), 9.0 * gain - 1.0, 1e-6);
    // The folded value goes on: 9 * gain + (9 * gain - 1) - 9 * 0.125.
    EXPECT_NEAR(static_cast<double>(up.phase[1]), (9.0 * gain - 1.0) + (18.0 * gain - 1.0 - 1.125), 1e-6);
    const carrier_track_t down = run_on_errors({ { -9.0f, 0.0f } }, 0.7f);
    EXPECT_NEAR(static_cast<double>(down.phase[0]), 1.0 - 9.0 * gain, 1e-6);
    // Once only: 17 * gain is above 2 and keeps what is left.
    EXPECT_NEAR(static_cast<double>(run_on_errors({ { 17.0f, 0.0f } }, 0.7f).phase[0]), 17.0 * gain - 1.0, 1e-6);
    EXPECT_NEAR(static_cast<double>(run_on_errors({ { 7.9f, 0.0f } }, 0.7f).phase[0]), 7.9 * gain, 1e-6);
}

TEST(CarrierTrack, FoldsOneItself)
{
    float error = 1.0f / 0.12504195f - 1e-5f;
    while (error * 0.12504195f < 1.0f)
        error = std::nextafter(error, 10.0f);
    ASSERT_EQ(error * 0.12504195f, 1.0f);
    EXPECT_EQ(run_on_errors({ { error, 0.0f } }, 0.7f).phase[0], 0.0f);
    EXPECT_EQ(run_on_errors({ { -error, 0.0f } }, 0.7f).phase[0], 0.0f);
}

TEST(CarrierSymbols, LeaveTheRunInOutAtUnitRms)
{
    complex_array timing;
    for (int i = 0; i < 40; ++i)
        timing.emplace_back(static_cast<float>(i), 0.0f);
    complex_array symbols;
    deal_carrier_symbols(timing, 8, 4, symbols); // 8, 12, ... 28
    ASSERT_EQ(symbols.size(), 6u);
    const double rms = std::sqrt((64.0 + 144.0 + 256.0 + 400.0 + 576.0 + 784.0) / 6.0);
    for (std::size_t i = 0; i < 6; ++i)
        EXPECT_NEAR(static_cast<double>(symbols[i].real()), (8.0 + 4.0 * static_cast<double>(i)) / rms, 1e-6);
}

TEST(CarrierSymbols, OfARunInLongerThanTheSignalAreAllOfIt)
{
    complex_array symbols;
    deal_carrier_symbols(complex_array(16, { 2.0f, 0.0f }), 16, 4, symbols);
    EXPECT_EQ(symbols.size(), 4u);
    deal_carrier_symbols({}, 16, 4, symbols);
    EXPECT_TRUE(symbols.empty());
}

TEST(LockedPoint, SkipsTheWindowAndAQuarterOfTheRest)
{
    EXPECT_EQ(cal_locked_point(make_track(100, 0)), 40u);
    EXPECT_EQ(cal_locked_point(make_track(1000, 119)), 139u + 215u); // a quarter of 861 is 215.25
    EXPECT_EQ(cal_locked_point(make_track(1000, 117)), 137u + 216u); // of 863 it is 215.75
}

TEST(LockedPoint, RoundsHalvesAwayFromZero)
{
    EXPECT_EQ(cal_locked_point(make_track(30, 0)), 23u);   // 20 + 2.5
    EXPECT_EQ(cal_locked_point(make_track(100, 30)), 63u); // 50 + 12.5
    EXPECT_EQ(cal_locked_point(make_track(14, 0)), 18u);   // 20 - 1.5
    EXPECT_EQ(cal_locked_point(make_track(18, 0)), 19u);   // 20 - 0.5
}

TEST(LockedPoint, OfAShortTrackLiesBehindIt)
{
    for (std::uint32_t count = 0; count <= 19; ++count)
        EXPECT_GE(cal_locked_point(make_track(count, 0)), count);
    EXPECT_EQ(cal_locked_point(make_track(0, 0)), 15u);
    EXPECT_EQ(cal_locked_point(make_track(20, 19)), 34u); // 39 - 4.75
}

TEST(CarrierLine, FitsTheRangeBehindThePoint)
{
    carrier_track_t track = make_track(50, 0);
    for (std::size_t i = 10; i < 50; ++i)
        track.phase[i] = 0.125f * static_cast<float>(i) - 0.5f;
    float_array fit;
    ASSERT_TRUE(cal_carrier_line(track.phase, 10, fit));
    ASSERT_EQ(fit.size(), 2u);
    EXPECT_NEAR(static_cast<double>(fit[0]), 0.125, 1e-6);
    EXPECT_NEAR(static_cast<double>(fit[1]), -0.5, 1e-5);
}

TEST(CarrierLine, FitsAllOfATrackThatEndsBeforeThePoint)
{
    carrier_track_t track = make_track(15, 0);
    for (std::size_t i = 0; i < 15; ++i)
        track.phase[i] = 0.5f * static_cast<float>(i) + 2.0f;
    for (const std::uint32_t point : { 15u, 16u, 400u })
    {
        float_array fit;
        ASSERT_TRUE(cal_carrier_line(track.phase, point, fit));
        EXPECT_NEAR(static_cast<double>(fit.at(0)), 0.5, 1e-6);
        EXPECT_NEAR(static_cast<double>(fit.at(1)), 2.0, 1e-5);
    }
}

TEST(CarrierLine, OfNothingIsNoNumber)
{
    float_array fit;
    if (cal_carrier_line(make_track(0, 0).phase, 15, fit))
    {
        EXPECT_TRUE(std::isnan(fit.at(0)));
        EXPECT_TRUE(std::isnan(fit.at(1)));
    }
}

TEST(PhaseLine, IsTakenOutOfTheSymbols)
{
    complex_array symbols(30, { 0.0f, 2.0f });
    float_array line = { 7.0f };
    deal_phase_line({ 0.3f, -1.0f }, symbols, line);
    ASSERT_EQ(line.size(), 30u);
    for (std::size_t i = 0; i < 30; ++i)
    {
        const double phase = 0.3 * static_cast<double>(i) - 1.0;
        EXPECT_NEAR(static_cast<double>(line[i]), phase, 1e-6);
        const std::complex<double> wanted = std::polar(2.0, std::numbers::pi / 2.0 - phase);
        EXPECT_NEAR(std::abs(std::complex<double>(symbols[i]) - wanted), 0.0, 4e-6);
    }
}

TEST(ResidualFrequency, IsTheSlopeOfTheLine)
{
    const float_array line = { 0.0f, 0.25f, 0.5f, 0.75f, 1.0f };
    EXPECT_NEAR(cal_residual_frequency(line, 0.0, 1000000), 0.25e6 / (2.0 * std::numbers::pi), 1e-2);
    EXPECT_NEAR(cal_residual_frequency({ 1.0f, 0.5f }, 0.0, 2000), -1000.0 / (2.0 * std::numbers::pi), 1e-6);
}

TEST(ResidualFrequency, LeavesTheFixedTurnOut)
{
    const float_array line = { 0.0f, 2.5f, 5.0f, 7.5f };
    EXPECT_NEAR(cal_residual_frequency(line, turn_3pi_4, 1000), (2.5 - turn_3pi_4) * 1000.0 / (2.0 * std::numbers::pi), 1e-4);
    EXPECT_NEAR(cal_residual_frequency(line, turn_3pi_8, 1000), (2.5 - turn_3pi_8) * 1000.0 / (2.0 * std::numbers::pi), 1e-4);
}

TEST(ResidualFrequency, OfOneSymbolIsNoNumber)
{
    EXPECT_TRUE(std::isnan(cal_residual_frequency({ 1.0f }, 0.0, 1000000)));
    EXPECT_TRUE(std::isnan(cal_residual_frequency({ 1.0f }, turn_3pi_4, 1000000)));
}
