#include "lib_dma_demod/lib_dma_qam_demod.h"

#include "lib_dma_demod/demod_run.h"
#include "lib_dma_demod/lib_dma_qam_carrier_signal.h"
#include "lib_dma_demod/stage/carrier_track.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <complex>
#include <random>
#include <utility>
#include <vector>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using namespace demod_test;
using namespace qam_test;
using common_log::log_level_error;
using common_log::log_level_info;

namespace
{
constexpr const char* first_step = "qam_carrier_coarse_syn first step!\n";
constexpr const char* second_step = "qam_carrier_coarse_syn second step!\n";
constexpr const char* third_step = "qam_carrier_coarse_syn third step,FreqErr = %.5f!\n"; // the text as it stands
constexpr const char* fourth_step = "qam_carrier_coarse_syn fourth step!\n";
constexpr const char* slower_line = "qam_carrier_recovery_new: the line of a slower pass fits better.\n";
constexpr const char* tested_line = "qam_carrier_recovery_new: a line of test phases fits better.\n";

/// A demodulator whose timed signal holds the symbols, 8 samples each.
struct recovery_run_t
{
    recovery_run_t(std::uint32_t format, const point_array& symbols)
    {
        demod.qam_format = to_format(format);
        demod.setting.pre_num = 16;
        demod.setting.sps = 8;
        demod.setting.symbol_rate = 1000000;
        demod.work.timing_data = hold(symbols, 8);
    }

    bool run() { return demod.qam_carrier_recovery_new(line, frequency, fit); }

    lib_dma_qam_demod_t demod;
    float_array line;
    float_array fit;
    double frequency = 7.0;
};

/// Data that hold a lock over about the first `share` of the block; random phases behind.
point_array make_partly_clean(std::uint32_t format, std::size_t count, double share, unsigned seed)
{
    const point_array points = make_set(format);
    point_array symbols =
        map_points(make_indices(count, static_cast<std::uint32_t>(points.size()), seed), points, get_turn(format));
    std::mt19937 generator(seed + 1);
    std::uniform_real_distribution<double> angle(-pi, pi);
    for (std::size_t i = static_cast<std::size_t>(share * static_cast<double>(count)); i < count; ++i)
        symbols[i] *= std::polar(1.0, angle(generator));
    return symbols;
}

struct gain_row_t
{
    std::array<std::pair<float, float>, 4> pass; // kp, ki
    float lock_level;
};

gain_row_t get_gains(std::uint32_t format)
{
    switch (format)
    {
    case 1:
    case 10:
        return { { { { 0.5f, 0.007f }, { 0.45f, 0.007f }, { 0.5f, 0.007f }, { 0.45f, 0.007f } } }, 0.15f };
    case 2:
        return { { { { 0.4f, 0.006f }, { 0.45f, 0.007f }, { 0.4f, 0.006f }, { 0.6f, 0.004f } } }, 0.115f };
    case 3:
        return { { { { 0.4f, 0.006f }, { 0.45f, 0.003f }, { 0.4f, 0.006f }, { 0.45f, 0.003f } } }, 0.09f };
    case 4:
        return { { { { 0.25f, 0.006f }, { 0.2f, 0.003f }, { 0.25f, 0.006f }, { 0.2f, 0.003f } } }, 0.08f };
    case 5:
        return { { { { 0.15f, 0.006f }, { 0.15f, 0.003f }, { 0.2f, 0.006f }, { 0.15f, 0.003f } } }, 0.08f };
    case 6:
        return { { { { 0.15f, 0.006f }, { 0.2f, 0.003f }, { 0.3f, 0.006f }, { 0.4f, 0.003f } } }, 0.08f };
    case 7:
    case 8:
        return { { { { 0.15f, 0.006f }, { 0.2f, 0.003f }, { 0.3f, 0.006f }, { 0.4f, 0.003f } } }, 0.07f };
    default:
        return { { { { 0.5f, 0.009f }, { 0.55f, 0.005f }, { 0.5f, 0.009f }, { 0.55f, 0.005f } } }, 0.2f };
    }
}

/// What the search has to say and to choose, from passes of the public operation.
struct expected_search_t
{
    explicit expected_search_t(lib_dma_qam_demod_t& demod, std::uint32_t format)
    {
        const gain_row_t gains = get_gains(format);
        std::array<carrier_syn_info_t, 4> pass;
        for (std::size_t i = 0; i < 4; ++i)
            pass[i] = demod.qam_carrier_coarse_syn(0.0f, 0.0f, gains.pass[i].second, gains.pass[i].first, 0.95f, 0.05f,
                                                   gains.lock_level);
        std::size_t first = 0;
        second_runs = pass[0].lock_ratio < 0.5f;
        tied = second_runs && pass[1].lock_ratio == pass[0].lock_ratio;
        if (second_runs && pass[1].lock_ratio > pass[0].lock_ratio)
            first = 1;
        chosen = first;
        third_runs = pass[first].lock_ratio < 0.75f;
        if (third_runs)
        {
            double sum = 0.0;
            for (std::size_t i = 0; i < pass[2].lock_len; ++i)
                sum += static_cast<double>(pass[2].frequency_track[pass[2].lock_start + i]);
            const double mean = pass[2].lock_len == 0 ? 0.0 : sum / pass[2].lock_len;
            fourth_runs = mean > 0.00012207031 || pass[2].lock_ratio < 0.5f;
            const std::size_t second = fourth_runs && pass[3].lock_ratio > pass[2].lock_ratio ? 3 : 2;
            if (pass[second].lock_ratio > pass[first].lock_ratio)
                chosen = second;
        }
        fit_line(pass[chosen]);
    }

    void fit_line(const carrier_syn_info_t& pass)
    {
        double n = 0.0, sx = 0.0, sy = 0.0, sxx = 0.0, sxy = 0.0;
        for (std::size_t i = pass.lock_start; i < pass.phase_track.size(); ++i)
        {
            const double x = static_cast<double>(i);
            const double y = -static_cast<double>(pass.phase_track[i]);
            n += 1.0;
            sx += x;
            sy += y;
            sxx += x * x;
            sxy += x * y;
        }
        slope = (sxy - sx * sy / n) / (sxx - sx * sx / n);
        intercept = (sy - slope * sx) / n;
    }

    bool second_runs = false;
    bool tied = false; ///< the second pass was as good as the first
    bool third_runs = false;
    bool fourth_runs = false;
    std::size_t chosen = 0;
    double slope = 0.0;
    double intercept = 0.0;
};
} // namespace

TEST(QamRecovery, OfACleanSignalStopsAfterItsFirstPass)
{
    // Radians within which dense sets are decided aright: half a unit at their corner.
    const double phases[] = { 0.3, 0.2, 0.1, 0.08, 0.05, 0.03, 0.02, 0.015, 0.01, 0.3, 0.2 };
    for (std::uint32_t format = 0; format <= 10; ++format)
    {
        const point_array points = make_set(format);
        const double step = 1e-5; // radians per symbol
        const point_array symbols = map_points(make_indices(1200, static_cast<std::uint32_t>(points.size())), points,
                                               get_turn(format) + step, phases[format] / 2.0);
        recovery_run_t run(format, symbols);
        const log_capture_t log;
        ASSERT_TRUE(run.run());
        EXPECT_EQ(log.count(log_level_info, first_step), 1) << format;
        EXPECT_EQ(log.get_records().size(), 1u) << format;
        ASSERT_EQ(run.line.size(), 1196u);
        EXPECT_NEAR(static_cast<double>(run.fit.at(0)), get_turn(format) + step, 2e-5) << format;
        EXPECT_NEAR(run.frequency, step * 1e6 / (2.0 * pi), 5.0) << format;
        // The line is the carrier's, but for quarter turns; it counts from the first symbol behind the run-in of 2.
        const double start = phases[format] / 2.0 + 2.0 * (get_turn(format) + step);
        const double off = fold_angle(static_cast<double>(run.fit.at(1)) - start, pi / 2.0);
        EXPECT_NEAR(off, 0.0, 0.01) << format;
        // The symbols come back standing: at their points, but for a common quarter turn.
        const double turned = static_cast<double>(run.fit.at(1)) - start - off;
        for (std::size_t i = 0; i < run.line.size(); i += 97)
        {
            const std::complex<double> sent =
                symbols[i + 2] * std::polar(1.0, -(get_turn(format) + step) * static_cast<double>(i + 2));
            const std::complex<double> wanted = sent * std::polar(1.0, -phases[format] / 2.0 - turned);
            EXPECT_TRUE(is_near(run.demod.work.sync_symbol[i], wanted, 0.05)) << format << ", " << i;
        }
    }
}

TEST(QamRecovery, FindsAFrequencyOfEitherSign)
{
    for (const std::uint32_t format : { 0u, 1u, 2u, 9u, 10u })
    {
        for (const double hertz : { 300.0, -300.0 })
        {
            const point_array points = make_set(format);
            const double step = 2.0 * pi * hertz / 1e6;
            recovery_run_t run(format, map_points(make_indices(1500, static_cast<std::uint32_t>(points.size())), points,
                                                  get_turn(format) + step, 0.1));
            ASSERT_TRUE(run.run());
            EXPECT_NEAR(run.frequency, hertz, 15.0) << format;
        }
    }
}

TEST(QamRecovery, ChoosesAmongItsPassesByTheirLock)
{
    int seconds = 0, thirds = 0, fourths = 0, changes = 0, ties = 0, kept = 0;
    const auto check = [&](std::uint32_t format, std::size_t count, double share, unsigned seed)
    {
        SCOPED_TRACE(testing::Message() << "format " << format << ", share " << share << ", seed " << seed);
        recovery_run_t run(format, make_partly_clean(format == 11 ? 0 : format, count, share, seed));
        lib_dma_qam_demod_t other;
        other.qam_format = to_format(format);
        demod_stage::deal_carrier_symbols(run.demod.work.timing_data, 16, 8, other.work.sync_symbol);
        const trace_capture_t trace;
        log_capture_t log;
        ASSERT_TRUE(run.run());
        EXPECT_EQ(log.count(log_level_info, first_step), 1);
        const bool second = log.count(log_level_info, second_step) == 1;
        const bool third = log.count(log_level_info, third_step) == 1;
        const bool fourth = log.count(log_level_info, fourth_step) == 1;
        const expected_search_t expected(other, format);
        EXPECT_EQ(second, expected.second_runs);
        EXPECT_EQ(third, expected.third_runs);
        EXPECT_EQ(fourth, expected.fourth_runs);
        if (log.count(log_level_info, slower_line) + log.count(log_level_info, tested_line) == 0)
        {
            EXPECT_NEAR(static_cast<double>(run.fit.at(0)), expected.slope, 1e-4);
            ++kept;
        }
        seconds += second;
        thirds += third;
        fourths += fourth;
        changes += expected.chosen != 0;
        ties += expected.tied;
    };
    for (std::uint32_t format = 0; format <= 11; ++format)
    {
        for (const double share : { 0.95, 0.62, 0.35, 0.0 })
            check(format, 500, share, 100 + format);
        // Short blocks have few ratios, and equal ones: the earlier pass stays.
        for (unsigned seed = 1; seed <= 12; ++seed)
            check(format, 30, 0.0, seed);
    }
    // The data are such that every way is gone.
    EXPECT_GT(seconds, 5);
    EXPECT_GT(thirds, seconds);
    EXPECT_GT(fourths, 5);
    EXPECT_GT(changes, 0);
    EXPECT_GT(ties, 5);
    EXPECT_GT(kept, 150);
}

TEST(QamRecovery, FindsTheLineWhereNoiseThrowsItsLoopsOff)
{
    // Half a step of 128QAM is 4.9 standard deviations of each part at 30 dB; the loops' own noise comes on top.
    const point_array points = make_set(3);
    const double step = 3e-5; // radians per symbol, 5 Hz of 1 MHz
    const double sigma = std::sqrt(0.5e-3);
    int slower = 0;
    constexpr unsigned seeds = 60;
    for (unsigned seed = 1; seed <= seeds; ++seed)
    {
        point_array symbols = map_points(make_indices(1100, 128, seed), points, step, 0.03 * seed);
        std::mt19937 generator(seed);
        std::normal_distribution<double> part(0.0, sigma);
        for (std::complex<double>& symbol : symbols)
        {
            const double re = part(generator);
            symbol += std::complex<double>(re, part(generator));
        }
        recovery_run_t run(3, symbols);
        const log_capture_t log;
        ASSERT_TRUE(run.run());
        slower += log.count(log_level_info, slower_line) > 0;
        // A tenth of a radian over the record, as much as the last fine fit makes good; lost lines are 1e-4 to 4e-3 off.
        EXPECT_NEAR(static_cast<double>(run.fit.at(0)), step, 1e-4) << seed;
    }
    EXPECT_GE(slower, 2);
    EXPECT_LE(slower, static_cast<int>(seeds) / 2);
}

TEST(QamRecovery, WithThreeFifthsInLockSkipsTheSecondPass)
{
    recovery_run_t run(0, make_partly_clean(0, 1000, 0.6, 77));
    const log_capture_t log;
    ASSERT_TRUE(run.run());
    EXPECT_EQ(log.count(log_level_info, second_step), 0);
    EXPECT_EQ(log.count(log_level_info, third_step), 1);
}

TEST(QamRecovery, OfNothingIsNoNumber)
{
    for (const std::size_t symbols : { 0u, 1u })
    {
        recovery_run_t run(0, point_array(symbols, 1.0));
        run.demod.setting.pre_num = 0;
        const log_capture_t log;
        EXPECT_TRUE(run.run());
        EXPECT_EQ(run.line.size(), symbols);
        EXPECT_TRUE(std::isnan(run.frequency));
    }
}

TEST(QamEarlierRecovery, HasTheAmplitudesOfTheOutermostPoints)
{
    const float_array amplitudes = lib_dma_qam_demod_t::qam_mag({ { 3.0f, 4.0f }, { 0.0f, -2.0f } });
    EXPECT_EQ(amplitudes, (float_array{ 5.0f, 2.0f }));
    EXPECT_TRUE(lib_dma_qam_demod_t::qam_mag({}).empty());
    // Halfway between (3, 3) and (3, 1), between (5, 3) and (5, 1), (7, 7) and (7, 5), over the rms.
    lib_dma_qam_demod_t demod;
    EXPECT_NEAR(demod.qam_cal_mag_th(LIB_DMA_QAM_16),
                static_cast<float>((std::sqrt(18.0) + std::sqrt(10.0)) / 2.0 / std::sqrt(10.0)), 1e-5f);
    EXPECT_NEAR(demod.qam_cal_mag_th(LIB_DMA_QAM_32),
                static_cast<float>((std::sqrt(34.0) + std::sqrt(26.0)) / 2.0 / std::sqrt(20.0)), 1e-5f);
    EXPECT_NEAR(demod.qam_cal_mag_th(LIB_DMA_QAM_64),
                static_cast<float>((std::sqrt(98.0) + std::sqrt(74.0)) / 2.0 / std::sqrt(42.0)), 1e-5f);
}

TEST(QamEarlierRecovery, FindsACarrierToo)
{
    for (const std::uint32_t format : { 0u, 2u, 9u })
    {
        const point_array points = make_set(format);
        const double step = 2.0 * pi * 1e-4;
        recovery_run_t run(format, map_points(make_indices(1500, static_cast<std::uint32_t>(points.size())), points,
                                              get_turn(format) + step, 0.05));
        const log_capture_t log;
        ASSERT_TRUE(run.demod.qam_carrier_recovery_old(run.line, run.frequency, run.fit));
        EXPECT_EQ(log.count(log_level_error, "qam_lock_phase_detect:error!\n"), 0) << format;
        EXPECT_NEAR(run.frequency, 100.0, 20.0) << format;
    }
    recovery_run_t run(0, point_array(15, 1.0));
    const log_capture_t log;
    EXPECT_TRUE(run.demod.qam_carrier_recovery_old(run.line, run.frequency, run.fit));
    EXPECT_EQ(log.count(log_level_error, "qam_lock_phase_detect:error!\n"), 1);
}
