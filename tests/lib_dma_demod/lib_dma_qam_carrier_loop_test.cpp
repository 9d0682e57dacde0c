#include "lib_dma_demod/lib_dma_qam_demod.h"

#include "lib_dma_demod/demod_run.h"
#include "lib_dma_demod/lib_dma_qam_carrier_signal.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using namespace demod_test;
using namespace qam_test;
using common_log::log_level_error;

namespace
{
/// Nearest point by walking.
std::complex<double> decide(const point_array& points, std::complex<double> value)
{
    return *std::min_element(points.begin(), points.end(),
                             [value](std::complex<double> a, std::complex<double> b)
                             { return std::norm(a - value) < std::norm(b - value); });
}

double wrap(double angle)
{
    return std::remainder(angle, 2.0 * pi);
}

struct track_t
{
    std::vector<double> phase;
    std::vector<double> frequency;
    std::vector<double> gain;
};

/// The loop written out in double, without its lock decision.
track_t run_loop(std::uint32_t format, const complex_array& symbols, double phase, double frequency, double ki, double kp,
                 double memory, double update)
{
    const point_array points = make_set(format);
    const double turn = get_turn(format);
    const std::size_t n = symbols.size();
    const std::complex<double> last(symbols[n - 1]);
    if (phase == 0.0)
        phase = std::arg(decide(points, last));
    phase -= std::arg(last);
    double gain = 1.0;
    for (std::size_t i = n; i-- > 0;)
    {
        const std::complex<double> s(symbols[i]);
        phase += turn - frequency;
        if (gain > 1.05 || gain < 0.95)
            gain = 1.0;
        const double w = phase + std::arg(s);
        const std::complex<double> d = decide(points, std::polar(std::abs(s), w));
        const double error = wrap(std::arg(d) - w);
        frequency -= error * ki;
        phase += error * kp;
        gain = std::abs(d) / std::abs(s) * update + gain * memory;
    }
    // The loop counts whole turns only where it takes them out; what it started from is within half a turn.
    track_t track;
    for (std::size_t i = 0; i < n; ++i)
    {
        const std::complex<double> s(symbols[i]);
        phase += frequency - turn;
        const double w = phase + std::arg(s);
        const std::complex<double> d = decide(points, std::polar(std::abs(s) * gain, w));
        const double error = wrap(std::arg(d) - w);
        frequency += error * ki;
        phase += error * kp;
        gain = std::abs(d) / std::abs(s) * update + gain * memory;
        track.phase.push_back(phase);
        track.frequency.push_back(frequency);
        track.gain.push_back(gain);
    }
    return track;
}

/// 16QAM symbols whose phase errors are those given, seen by an open loop at phase 0.
carrier_syn_info_t run_open(const std::vector<double>& errors, float lock_level)
{
    lib_dma_qam_demod_t demod;
    const point_array points = make_set(0);
    const index_array indices = make_indices(errors.size(), 16);
    for (std::size_t i = 0; i < errors.size(); ++i)
        demod.work.sync_symbol.emplace_back(points[indices[i]] * std::polar(1.0, errors[i]));
    const float phase = std::arg(demod.work.sync_symbol.back());
    return demod.qam_carrier_coarse_syn(phase, 0.0f, 0.0f, 0.0f, 1.0f, 0.0f, lock_level);
}
} // namespace

TEST(QamLoop, FollowsTheLoopInDouble)
{
    struct loop_case_t
    {
        std::uint32_t format;
        double phase, frequency, ki, kp, noise;
    };
    const loop_case_t cases[] = { { 0, 0.0, 0.0, 0.009, 0.5, 0.03 },    { 0, 0.3, 0.002, 0.005, 0.55, 0.05 },
                                  { 1, 0.0, -0.001, 0.007, 0.5, 0.02 }, { 4, 0.0, 0.0, 0.006, 0.25, 0.005 },
                                  { 9, 0.0, 0.0, 0.009, 0.5, 0.03 },    { 10, 0.0, 0.001, 0.007, 0.45, 0.02 } };
    for (const loop_case_t& item : cases)
    {
        const point_array points = make_set(item.format);
        const point_array clean =
            map_points(make_indices(300, static_cast<std::uint32_t>(points.size())), points, get_turn(item.format) + 1e-4, 0.01);
        std::mt19937 generator(5);
        std::normal_distribution<double> part(0.0, item.noise);
        lib_dma_qam_demod_t demod;
        demod.qam_format = to_format(item.format);
        for (const std::complex<double>& symbol : clean)
        {
            const double re = part(generator);
            demod.work.sync_symbol.emplace_back(0.98 * symbol + std::complex<double>(re, part(generator)));
        }
        const carrier_syn_info_t info =
            demod.qam_carrier_coarse_syn(static_cast<float>(item.phase), static_cast<float>(item.frequency),
                                         static_cast<float>(item.ki), static_cast<float>(item.kp), 0.95f, 0.05f, 0.2f);
        const track_t track = run_loop(item.format, demod.work.sync_symbol, static_cast<double>(static_cast<float>(item.phase)),
                                       static_cast<double>(static_cast<float>(item.frequency)), item.ki, item.kp, 0.95, 0.05);
        ASSERT_EQ(info.phase_track.size(), 300u);
        ASSERT_EQ(info.gain_track.size(), 300u);
        ASSERT_EQ(info.frequency_track.size(), 300u);
        for (std::size_t i = 0; i < 300; ++i)
        {
            ASSERT_NEAR(wrap(static_cast<double>(info.phase_track[i]) - track.phase[i]), 0.0, 2e-4) << item.format << ", " << i;
            ASSERT_NEAR(static_cast<double>(info.frequency_track[i]), track.frequency[i], 5e-6) << item.format << ", " << i;
            ASSERT_NEAR(static_cast<double>(info.gain_track[i]), track.gain[i], 2e-5) << item.format << ", " << i;
        }
    }
}

TEST(QamLoop, NeverWrapsItsTrack)
{
    // Open: the phase goes on by the frequency alone, and came back by as much before.
    lib_dma_qam_demod_t demod;
    demod.work.sync_symbol = narrow(map_points(make_indices(200, 16), make_set(0)));
    const carrier_syn_info_t info = demod.qam_carrier_coarse_syn(0.4f, 0.5f, 0.0f, 0.0f, 1.0f, 0.0f, 0.2f);
    const double start = static_cast<double>(0.4f) - std::arg(std::complex<double>(demod.work.sync_symbol.back()));
    for (std::size_t i = 0; i < 200; ++i)
    {
        const double wanted = start - 0.5 * 200.0 + 0.5 * static_cast<double>(i + 1);
        ASSERT_NEAR(static_cast<double>(info.phase_track[i]), wanted, 1e-3) << i;
        ASSERT_EQ(info.frequency_track[i], 0.5f);
        ASSERT_EQ(info.gain_track[i], 1.0f);
    }
}

TEST(QamLoop, TurnsForwardAgainstItsTurnBackward)
{
    // Open, and with no frequency: after the two passes the phase is where it began.
    for (const std::uint32_t format : { 9u, 10u })
    {
        lib_dma_qam_demod_t demod;
        demod.qam_format = to_format(format);
        demod.work.sync_symbol.assign(50, { 1.0f, 0.0f });
        const carrier_syn_info_t info = demod.qam_carrier_coarse_syn(0.4f, 0.0f, 0.0f, 0.0f, 1.0f, 0.0f, 0.2f);
        EXPECT_NEAR(info.phase_track.back(), 0.4f, 1e-4f) << format;
        const double step = format == 9 ? -pi / 4.0 : pi / 4.0;
        for (std::size_t i = 1; i < 50; ++i)
            ASSERT_NEAR(static_cast<double>(info.phase_track[i] - info.phase_track[i - 1]), step, 1e-5) << format;
    }
}

TEST(QamLoop, TakesTheLastSymbolsDecisionForItsStart)
{
    lib_dma_qam_demod_t demod;
    const point_array points = make_set(0);
    demod.work.sync_symbol = narrow(map_points(make_indices(40, 16), points, 0.0, 0.1));
    const carrier_syn_info_t info = demod.qam_carrier_coarse_syn(1e-9f, 0.0f, 0.0f, 0.0f, 1.0f, 0.0f, 0.2f);
    for (const float phase : info.phase_track)
        ASSERT_NEAR(phase, -0.1f, 1e-6f);
}

TEST(QamLoop, IsLockedFromTheFirstCleanSymbolOn)
{
    const carrier_syn_info_t info = run_open(std::vector<double>(60, 0.0), 0.2f);
    EXPECT_EQ(info.lock_start, 0u);
    EXPECT_EQ(info.lock_len, 60u);
    EXPECT_EQ(info.lock_ratio, 1.0f);
}

TEST(QamLoop, BeginsItsSumOfErrorsAtOne)
{
    // 1 is not below 0.05 * 18; it is below 0.06 * 18, and stays in the sum for good.
    const carrier_syn_info_t low = run_open(std::vector<double>(60, 0.0), 0.05f);
    EXPECT_EQ(low.lock_start, 0u);
    EXPECT_EQ(low.lock_len, 0u);
    EXPECT_EQ(low.lock_ratio, 0.0f);
    EXPECT_EQ(run_open(std::vector<double>(60, 0.0), 0.06f).lock_len, 60u);
    // Errors of 0.01: 1 + 0.01 * 8 passes below 1.08 no more from the eighth on.
    const std::uint32_t length = run_open(std::vector<double>(60, 0.01), 0.06f).lock_len;
    EXPECT_TRUE(length == 7 || length == 8) << length;
    EXPECT_EQ(run_open(std::vector<double>(60, 0.01), 0.07f).lock_len, 60u); // 1.18 is below 1.26
}

TEST(QamLoop, TakesTheLongestRunOfTheLock)
{
    std::vector<double> errors(100, 0.0);
    errors[40] = -0.1; // 18 symbols out of lock
    const carrier_syn_info_t later = run_open(errors, 0.06f);
    EXPECT_EQ(later.lock_start, 58u);
    EXPECT_EQ(later.lock_len, 42u);
    EXPECT_FLOAT_EQ(later.lock_ratio, 0.42f);
    errors[40] = 0.0;
    errors[41] = 0.1; // 41 on either side
    const carrier_syn_info_t equal = run_open(errors, 0.06f);
    EXPECT_EQ(equal.lock_start, 0u);
    EXPECT_EQ(equal.lock_len, 41u);
}

TEST(QamLoop, KeepsItsGainAtASymbolWithoutAmplitude)
{
    lib_dma_qam_demod_t demod;
    demod.work.sync_symbol = narrow(map_points(make_indices(60, 16), make_set(0)));
    for (std::complex<float>& symbol : demod.work.sync_symbol)
        symbol *= 0.9f;
    demod.work.sync_symbol[30] = { 0.0f, 0.0f };
    const carrier_syn_info_t info = demod.qam_carrier_coarse_syn(0.0f, 0.0f, 0.009f, 0.5f, 0.95f, 0.05f, 0.2f);
    EXPECT_EQ(info.gain_track[30], info.gain_track[29]);
    EXPECT_NE(info.gain_track[31], info.gain_track[30]);
    EXPECT_NEAR(info.gain_track.back(), 1.0f / 0.9f, 0.02f);
    for (const float gain : info.gain_track)
        EXPECT_TRUE(std::isfinite(gain));
}

TEST(QamLoop, OfNothingIsEmpty)
{
    lib_dma_qam_demod_t demod;
    const carrier_syn_info_t info = demod.qam_carrier_coarse_syn(0.0f, 0.0f, 0.009f, 0.5f, 0.95f, 0.05f, 0.2f);
    EXPECT_TRUE(info.phase_track.empty());
    EXPECT_EQ(info.lock_ratio, 0.0f);
    EXPECT_EQ(info.lock_len, 0u);
}

TEST(QamLoop, WithoutPointsSaysSoAndEnds)
{
    lib_dma_qam_demod_t demod;
    demod.qam_format = LIB_DMA_DVB_QAM_64;
    demod.work.sync_symbol.assign(40, { 0.7f, 0.7f });
    const log_capture_t log;
    const trace_capture_t trace;
    const carrier_syn_info_t info = demod.qam_carrier_coarse_syn(0.0f, 0.0f, 0.009f, 0.5f, 0.95f, 0.05f, 0.2f);
    EXPECT_GE(log.count(log_level_error, "lib_dma_qam_demod_t::qam_judge error!\n"), 1);
    EXPECT_EQ(info.phase_track.size(), 40u);
}
