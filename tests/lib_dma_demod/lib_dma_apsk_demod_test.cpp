#include "lib_dma_demod/lib_dma_apsk_demod.h"

#include "lib_dma_demod/demod_run.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <random>
#include <string>
#include <vector>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using namespace demod_test;
using demod_t = lib_dma_apsk_demod_t;
using common_log::log_level_error;

namespace
{
using run_t = process_run_t<demod_t>;

constexpr const char* no_lock = "apsk_lock_phase_detect:error!\n";
constexpr lib_dma_apsk_modulation_type_t unknown_format = static_cast<lib_dma_apsk_modulation_type_t>(8);
constexpr float r2_16 = 3.15f;
constexpr float r2_32 = 2.84f;
constexpr float r3_32 = 5.27f;

float get_r2(lib_dma_apsk_modulation_type_t format)
{
    return format == LIB_DMA_APSK_16 ? r2_16 : r2_32;
}

double get_rms(lib_dma_apsk_modulation_type_t format)
{
    const double r2 = static_cast<double>(get_r2(format));
    const double r3 = static_cast<double>(r3_32);
    return format == LIB_DMA_APSK_16 ? std::sqrt((4.0 + 12.0 * r2 * r2) / 16.0)
                                     : std::sqrt((4.0 + 12.0 * r2 * r2 + 16.0 * r3 * r3) / 32.0);
}

/// Points at unit rms, ring by ring from the outermost: 16 or none, 12, 4. Their keys count in this order but for 32APSK,
/// whose ring 2 begins at 16 and ring 1 at 28.
point_array make_set(lib_dma_apsk_modulation_type_t format)
{
    const double rms = get_rms(format);
    point_array points;
    for (int i = 0; i < 16 && format == LIB_DMA_APSK_32; ++i)
        points.push_back(std::polar(static_cast<double>(r3_32) / rms, pi / 8.0 + i * pi / 8.0));
    for (int i = 0; i < 12; ++i)
        points.push_back(std::polar(static_cast<double>(get_r2(format)) / rms, pi / 4.0 + i * pi / 6.0));
    for (int i = 0; i < 4; ++i)
        points.push_back(std::polar(1.0 / rms, pi / 4.0 + i * pi / 2.0));
    return points;
}

void set_format(demod_t& demod, lib_dma_apsk_modulation_type_t format)
{
    demod.apsk_format = format;
    demod.apsk_r2_r1 = get_r2(format);
    demod.apsk_r3_r1 = r3_32;
}

decode_run_t<demod_t> make_decode_run(lib_dma_apsk_modulation_type_t format, const index_array& indices)
{
    decode_run_t<demod_t> run(map_points(indices, make_set(format)), 1);
    set_format(run.demod, format);
    run.demod.apsk_judge(format, {});
    return run;
}

run_t make_process_run(lib_dma_apsk_modulation_type_t format)
{
    return run_t(
        [format](lib_dma_format_configure_manager_t& manager)
        {
            manager.set_format_group(LIB_DMA_GROUP_APSK);
            manager.set_apsk_format(format);
            manager.set_apsk_r2_r1(get_r2(format));
            manager.set_apsk_r3_r1(r3_32);
        });
}

/// A demodulator before its carrier loop, 8 samples a symbol and no run-in.
struct sync_run_t
{
    sync_run_t(lib_dma_apsk_modulation_type_t format, const point_array& symbols)
    {
        set_format(demod, format);
        demod.setting.pre_num = 0;
        demod.setting.sps = 8;
        demod.setting.symbol_rate = 1000000;
        demod.work.timing_data = hold(symbols, 8);
    }

    bool run()
    {
        const trace_capture_t trace;
        const bool result = demod.apsk_first_lock_phase_detect(frequency, fit);
        text = trace.get_text();
        return result;
    }

    demod_t demod;
    float_array fit;
    double frequency = 7.0;
    std::string text;
};

const lib_dma_apsk_modulation_type_t both_formats[] = { LIB_DMA_APSK_16, LIB_DMA_APSK_32 };

/// Ring ratios of a measured constellation. @return r2 and r3, -1 where nothing was written
std::pair<double, double> get_ratios(lib_dma_apsk_modulation_type_t format, const complex_array& points)
{
    auto run = make_decode_run(format, { 0 });
    run.store.get_iq_meas_time_constellation(0) = points;
    error_summary_t& summary = run.store.get_error_summary(0);
    summary.apsk_r2_ratio = -1.0;
    summary.apsk_r3_ratio = -1.0;
    EXPECT_TRUE(run.demod.cal_apsk_r_ratio(0, run.store));
    EXPECT_EQ(run.store.get_iq_meas_time_constellation(0).size(), points.size());
    return { summary.apsk_r2_ratio, summary.apsk_r3_ratio };
}
} // namespace

TEST(ApskJudge, DecidesTheNearestPoint)
{
    std::mt19937 generator(6);
    std::normal_distribution<double> part(0.0, 0.8);
    for (const lib_dma_apsk_modulation_type_t format : both_formats)
    {
        demod_t demod;
        set_format(demod, format);
        const point_array points = make_set(format);
        for (int i = 0; i < 500; ++i)
        {
            const double re = part(generator);
            const std::complex<double> value(re, part(generator));
            std::vector<double> distances;
            for (const std::complex<double>& point : points)
                distances.push_back(std::abs(point - value));
            const std::size_t best =
                static_cast<std::size_t>(std::min_element(distances.begin(), distances.end()) - distances.begin());
            const double least = distances[best];
            distances[best] = 1e9;
            if (*std::min_element(distances.begin(), distances.end()) - least < 1e-5)
                continue;
            ASSERT_TRUE(is_near(demod.apsk_judge(format, std::complex<float>(value)), points[best], 2e-6))
                << format << ", " << value;
        }
        EXPECT_EQ(demod.judge_map.size(), points.size());
    }
}

TEST(ApskJudge, FollowsTheRingRatios)
{
    demod_t demod;
    set_format(demod, LIB_DMA_APSK_16);
    const std::complex<float> before = demod.apsk_judge(LIB_DMA_APSK_16, { 0.1f, 0.1f });
    demod.apsk_r2_r1 = 2.0f;
    const std::complex<float> after = demod.apsk_judge(LIB_DMA_APSK_16, { 0.1f, 0.1f });
    EXPECT_NEAR(std::abs(std::complex<double>(before)), 1.0 / get_rms(LIB_DMA_APSK_16), 1e-6);
    EXPECT_NEAR(std::abs(std::complex<double>(after)), 1.0 / std::sqrt(52.0 / 16.0), 1e-6);
}

TEST(ApskJudge, SaysEachTimeThatAFormatHasNoPoints)
{
    demod_t demod;
    const log_capture_t log;
    const trace_capture_t trace;
    for (long i = 1; i <= 2; ++i)
    {
        EXPECT_EQ(demod.apsk_judge(unknown_format, { 1.0f, 0.0f }), std::complex<float>(0.0f, 0.0f));
        EXPECT_EQ(log.count(common_log::log_level_end, "apsk_judge::apsk_judge default!\n"), i);
    }
}

TEST(ApskCarrierParams, AreTheBordersBetweenTheRings)
{
    for (const lib_dma_apsk_modulation_type_t format : both_formats)
    {
        demod_t demod;
        set_format(demod, format);
        apsk_norm_t norm;
        demod.cal_apsk_carrier_sync_params(norm);
        const double rms = get_rms(format);
        const double r2 = static_cast<double>(get_r2(format));
        EXPECT_NEAR(static_cast<double>(demod.ring_threshold_1), (1.0 + r2) / 2.0 / rms, 1e-6);
        EXPECT_NEAR(static_cast<double>(norm.mag_threshold), 0.7 / rms, 1e-6);
        if (format == LIB_DMA_APSK_16)
        {
            EXPECT_EQ(demod.ring_threshold_2, 100.0f);
            EXPECT_EQ(norm.mag_margin, 0.08f);
        }
        else
        {
            EXPECT_NEAR(static_cast<double>(demod.ring_threshold_2), (r2 + static_cast<double>(r3_32)) / 2.0 / rms, 1e-6);
            EXPECT_EQ(norm.mag_margin, 0.06f);
        }
        ASSERT_EQ(demod.ring_1.size(), 4u);
        ASSERT_EQ(demod.ring_2.size(), 12u);
        ASSERT_EQ(demod.ring_3.size(), 16u);
        for (std::size_t i = 0; i < 4; ++i)
            EXPECT_TRUE(is_near(demod.ring_1[i], std::polar(1.0 / rms, pi / 4.0 + static_cast<double>(i) * pi / 2.0)));
        for (std::size_t i = 0; i < 12; ++i)
            EXPECT_TRUE(is_near(demod.ring_2[i], std::polar(r2 / rms, pi / 12.0 + static_cast<double>(i) * pi / 6.0), 2e-6));
        for (std::size_t i = 0; i < 16; ++i)
            EXPECT_TRUE(
                is_near(demod.ring_3[i], std::polar(static_cast<double>(r3_32) / rms, static_cast<double>(i) * pi / 8.0), 4e-6));
    }
}

TEST(ApskCarrierParams, OfAnUnknownFormatAreNone)
{
    demod_t demod;
    demod.apsk_format = unknown_format;
    apsk_norm_t norm;
    norm.mag_threshold = 5.0f;
    const log_capture_t log;
    demod.cal_apsk_carrier_sync_params(norm);
    EXPECT_EQ(log.count(log_level_error, "lib_dma_apsk_demod_t::cal_apsk_carrier_sync_params error!\n"), 1);
    EXPECT_EQ(norm.mag_threshold, 0.0f);
    EXPECT_TRUE(demod.ring_1.empty());
}

TEST(ApskSlicer, TakesTheRingByTheBordersAndThenTheSector)
{
    std::mt19937 generator(7);
    std::uniform_real_distribution<double> angle(-pi, pi);
    std::uniform_real_distribution<double> radius(0.01, 2.0);
    for (const lib_dma_apsk_modulation_type_t format : both_formats)
    {
        demod_t demod;
        set_format(demod, format);
        apsk_norm_t norm;
        demod.cal_apsk_carrier_sync_params(norm);
        const double rms = get_rms(format);
        for (int i = 0; i < 1000; ++i)
        {
            const double a = angle(generator);
            const double r = radius(generator);
            const bool third = format == LIB_DMA_APSK_32 && r > static_cast<double>(demod.ring_threshold_2);
            const bool second = r > static_cast<double>(demod.ring_threshold_1);
            const double sector = third ? pi / 8.0 : second ? pi / 6.0 : pi / 2.0;
            const double first = third ? pi / 8.0 : pi / 4.0;
            const double ring = third ? static_cast<double>(r3_32) : second ? static_cast<double>(get_r2(format)) : 1.0;
            const double place = (a - first) / sector;
            if (std::abs(std::abs(place - std::round(place)) - 0.5) < 1e-5)
                continue;
            const std::complex<double> wanted = std::polar(ring / rms, first + sector * std::round(place));
            const std::complex<float> point(std::polar(r, a));
            const std::complex<float> decided =
                format == LIB_DMA_APSK_16 ? demod.apsk_judge_16apsk(point) : demod.apsk_judge_32apsk(point);
            ASSERT_TRUE(is_near(decided, wanted, 4e-6)) << format << ", " << point;
        }
        // The points of the set are their own.
        for (const std::complex<double>& point : make_set(format))
        {
            const std::complex<float> value(point);
            EXPECT_TRUE(is_near(format == LIB_DMA_APSK_16 ? demod.apsk_judge_16apsk(value) : demod.apsk_judge_32apsk(value),
                                point, 4e-6));
        }
    }
    demod_t empty;
    EXPECT_EQ(empty.apsk_judge_32apsk({ 1.0f, 1.0f }), std::complex<float>(0.0f, 0.0f));
    set_format(empty, LIB_DMA_APSK_32);
    apsk_norm_t norm;
    empty.cal_apsk_carrier_sync_params(norm);
    EXPECT_TRUE(std::isfinite(empty.apsk_judge_32apsk({ std::numeric_limits<float>::quiet_NaN(), 0.0f }).real()));
}

TEST(ApskCarrierSync, FindsPhaseAndFrequency)
{
    for (const lib_dma_apsk_modulation_type_t format : both_formats)
    {
        const point_array points = make_set(format);
        for (const double hertz : { 40.0, -40.0 })
        {
            for (const double phase : { 0.05, 0.5, 0.9, 1.3, -2.0 })
            {
                const double step = 2.0 * pi * hertz / 1e6;
                const point_array symbols =
                    map_points(make_indices(3000, static_cast<std::uint32_t>(points.size())), points, step, phase);
                sync_run_t run(format, symbols);
                const log_capture_t log;
                ASSERT_TRUE(run.run());
                EXPECT_EQ(log.count(log_level_error, no_lock), 0) << format;
                EXPECT_NEAR(run.frequency, hertz, 3.0) << format;
                // The set comes to itself at quarter turns, and no ring turn is left.
                EXPECT_NEAR(fold_angle(static_cast<double>(run.fit.at(1)) - phase, pi / 2.0), 0.0, 0.02)
                    << format << ", " << phase;
                EXPECT_TRUE(contains(run.text, "apsk_carrier_sync:phase_out size = 3000   locked_point = "));
                EXPECT_TRUE(contains(run.text, "apsk_carrier_sync apsk_lock_phase_detect time: "));
                EXPECT_TRUE(contains(run.text, "apsk_carrier_sync deal_polyfit time: time: "));
                EXPECT_TRUE(contains(run.text, "apsk_carrier_sync adjacent_difference time: "));
            }
        }
    }
}

TEST(ApskCarrierSync, ListensToTheOuterRingAlone)
{
    // The inner rings turned far off: a loop that heard them would not hold the phase of the outer one.
    for (const lib_dma_apsk_modulation_type_t format : both_formats)
    {
        const point_array points = make_set(format);
        const std::size_t outer = format == LIB_DMA_APSK_16 ? 12 : 16;
        const index_array indices = make_indices(2000, static_cast<std::uint32_t>(points.size()));
        point_array symbols = map_points(indices, points, 0.0, 0.1);
        for (std::size_t i = 0; i < symbols.size(); ++i)
        {
            if (indices[i] >= outer)
                symbols[i] *= std::polar(1.0, 0.3);
        }
        sync_run_t run(format, symbols);
        ASSERT_TRUE(run.run());
        const double spacing = format == LIB_DMA_APSK_16 ? pi / 6.0 : pi / 8.0;
        EXPECT_NEAR(fold_angle(static_cast<double>(run.fit.at(1)) - 0.1, spacing), 0.0, 2e-3) << format;
        EXPECT_NEAR(run.frequency, 0.0, 1.0) << format;
    }
}

TEST(ApskCarrierSync, GoesOnWithoutALock)
{
    for (const std::size_t symbols : { 0u, 1u, 19u })
    {
        sync_run_t run(LIB_DMA_APSK_16, point_array(symbols, 1.0));
        const log_capture_t log;
        EXPECT_TRUE(run.run());
        EXPECT_EQ(log.count(log_level_error, no_lock), 1);
        EXPECT_EQ(std::isnan(run.frequency), symbols < 2) << symbols;
    }
    sync_run_t unknown(LIB_DMA_APSK_16, point_array(50, 1.0));
    unknown.demod.apsk_format = unknown_format;
    const log_capture_t log;
    EXPECT_TRUE(unknown.run());
    EXPECT_GE(log.count(log_level_error, "lib_dma_apsk_demod_t::cal_apsk_carrier_sync_params error!\n"), 1);
}

TEST(ApskSecondLock, TakesTheTurnOfTheRingsOut)
{
    for (const lib_dma_apsk_modulation_type_t format : both_formats)
    {
        const double spacing = format == LIB_DMA_APSK_16 ? pi / 6.0 : pi / 8.0;
        const int candidates = format == LIB_DMA_APSK_16 ? 3 : 4;
        const point_array points = make_set(format);
        for (int k = 0; k < candidates; ++k)
        {
            demod_t demod;
            set_format(demod, format);
            // Symbols on the line 0.01 + 0.0001 i, and k ring steps behind it.
            demod.work.sync_symbol = narrow(
                map_points(make_indices(300, static_cast<std::uint32_t>(points.size())), points, 1e-4, 0.01 - k * spacing));
            float_array track(300);
            for (std::size_t i = 0; i < 300; ++i)
                track[i] = 0.01f + 1e-4f * static_cast<float>(i);
            const float_array before = track;
            EXPECT_TRUE(demod.apsk_second_lock_phase_detect(20, track));
            for (std::size_t i = 0; i < 300; ++i)
                ASSERT_NEAR(static_cast<double>(track[i]), static_cast<double>(before[i]) - k * spacing, 1e-6)
                    << format << ", " << k;
        }
    }
}

TEST(ApskSecondLock, LeavesTheTrackWhereNothingLiesBehindTheLock)
{
    demod_t demod;
    set_format(demod, LIB_DMA_APSK_16);
    demod.work.sync_symbol.assign(30, std::complex<float>(std::polar(1.0, pi / 4.0 - pi / 6.0)));
    float_array track(30, 0.5f);
    EXPECT_FALSE(demod.apsk_second_lock_phase_detect(30, track));
    EXPECT_FALSE(demod.apsk_second_lock_phase_detect(4000, track));
    EXPECT_EQ(track, float_array(30, 0.5f));
    float_array nothing;
    EXPECT_FALSE(demod.apsk_second_lock_phase_detect(0, nothing));
    // Of turns that are equally good the first: silence is as far from the points at each.
    demod.work.sync_symbol.assign(30, { 0.0f, 0.0f });
    EXPECT_TRUE(demod.apsk_second_lock_phase_detect(0, track));
    EXPECT_EQ(track, float_array(30, 0.5f));
}

TEST(ApskRingRatio, IsThatOfTheRings)
{
    const complex_array two = { { 0.0f, 1.0f }, { 0.4f, 0.0f }, { -0.41f, 0.0f }, { 0.0f, -0.99f } };
    EXPECT_NEAR(get_ratios(LIB_DMA_APSK_16, two).first, 0.99 / 0.4, 1e-6);
    EXPECT_EQ(get_ratios(LIB_DMA_APSK_16, two).second, -1.0); // not one of 16APSK
    EXPECT_NEAR(get_ratios(LIB_DMA_APSK_32, two).first, 0.99 / 0.4, 1e-6);
    EXPECT_EQ(get_ratios(LIB_DMA_APSK_32, two).second, 0.0); // the missing ring
    const complex_array three = { { 1.0f, 0.0f }, { 0.25f, 0.0f }, { 0.0f, 0.6f }, { 0.59f, 0.0f } };
    EXPECT_NEAR(get_ratios(LIB_DMA_APSK_32, three).first, 0.59 / 0.25, 1e-6);
    EXPECT_NEAR(get_ratios(LIB_DMA_APSK_32, three).second, 4.0, 1e-6);
    EXPECT_NEAR(get_ratios(LIB_DMA_APSK_16, three).first, 0.59 / 0.25, 1e-6);
}

TEST(ApskRingRatio, BeginsARingBeyondThreeTenthsOnly)
{
    // Steps of 0.25 above the ring's first amplitude count to it; 0.5 above it does not.
    EXPECT_NEAR(get_ratios(LIB_DMA_APSK_16, { { 0.5f, 0.0f }, { 0.75f, 0.0f }, { 1.0f, 0.0f } }).first, 2.0, 1e-6);
}

TEST(ApskRingRatio, OfOneRingIsZero)
{
    EXPECT_EQ(get_ratios(LIB_DMA_APSK_16, { { 1.0f, 0.0f }, { 0.0f, -0.9f } }).first, 0.0);
    EXPECT_EQ(get_ratios(LIB_DMA_APSK_32, { { 1.0f, 0.0f } }), std::make_pair(0.0, 0.0));
}

TEST(ApskRingRatio, StaysWithoutAFirstRing)
{
    EXPECT_EQ(get_ratios(LIB_DMA_APSK_16, {}).first, -1.0);
    EXPECT_EQ(get_ratios(LIB_DMA_APSK_32, { { 0.0f, 0.0f }, { 1.0f, 0.0f } }), std::make_pair(-1.0, -1.0));
    const float nan_value = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(get_ratios(LIB_DMA_APSK_16, { { nan_value, 0.0f }, { 1.0f, 0.0f } }).first, -1.0);
}

TEST(ApskDecodeBit, FindsAWordAtEveryQuarterTurn)
{
    for (const lib_dma_apsk_modulation_type_t format : both_formats)
    {
        const point_array points = make_set(format);
        const std::uint32_t count = static_cast<std::uint32_t>(points.size());
        const std::uint32_t bits = count == 16 ? 4 : 5;
        const index_array indices = make_indices(200, count);
        for (const int quarters : { 0, 1, 3, 2 })
        {
            index_array turned;
            for (const std::uint32_t index : indices)
            {
                const std::complex<double> point = points[index] * std::polar(1.0, pi / 2.0 * quarters);
                turned.push_back(
                    static_cast<std::uint32_t>(std::min_element(points.begin(), points.end(),
                                                                [point](std::complex<double> a, std::complex<double> b)
                                                                { return std::abs(a - point) < std::abs(b - point); }) -
                                               points.begin()));
            }
            auto run = make_decode_run(format, indices);
            run.search(expand(slice(turned, 50, 70), bits));
            run.demod.setting.meas_interval = 104;
            ASSERT_TRUE(run.demod.apsk_decode_bit(0, run.store));
            EXPECT_TRUE(run.get_sync_flag()) << format << ", " << quarters;
            EXPECT_EQ(run.get_decoded(), slice(turned, 50, 154)) << format << ", " << quarters;
        }
        auto plain = make_decode_run(format, indices);
        ASSERT_TRUE(plain.demod.apsk_decode_bit(0, plain.store));
        EXPECT_EQ(plain.get_decoded(), indices);
    }
}

TEST(ApskDecodeBit, DecidesOnAUsersMap)
{
    auto run = make_decode_run(LIB_DMA_APSK_16, { 0, 6, 6, 0 });
    run.demod.setting.constellation_setting_flag = true;
    run.demod.setting.const_iq_map = { { 3, { 0.7f, 0.7f } }, { 9, { -0.7f, -0.7f } } };
    ASSERT_TRUE(run.demod.apsk_decode_bit(0, run.store));
    EXPECT_EQ(run.get_decoded(), (index_array{ 3, 9, 9, 3 }));
}

TEST(ApskDecodeBit, SpeaksInItsWords)
{
    auto run = make_decode_run(LIB_DMA_APSK_16, make_indices(32, 16));
    run.demod.setting.meas_interval = 33;
    const log_capture_t log;
    const trace_capture_t trace;
    EXPECT_TRUE(run.demod.apsk_decode_bit(0, run.store));
    EXPECT_EQ(log.count(log_level_error, "apsk_decode_bit:data is too short!\n"), 1);
    auto reference = make_decode_run(LIB_DMA_APSK_16, make_indices(32, 16));
    reference.demod.work.ref_data.assign(32, {});
    EXPECT_FALSE(reference.demod.apsk_decode_bit(0, reference.store));
    EXPECT_TRUE(contains(trace.get_text(), "apsk_decode_bit::rms_normalize Report: Data array has a too small rms0: "));
    auto measurement = make_decode_run(LIB_DMA_APSK_16, make_indices(32, 16));
    measurement.demod.work.meas_data.assign(32, {});
    EXPECT_FALSE(measurement.demod.apsk_decode_bit(0, measurement.store));
    EXPECT_TRUE(contains(trace.get_text(), "apsk_decode_bit::rms_normalize Report: Data array has a too small rms2: "));
}

TEST(ApskErrorCal, TakesTheQuadratureErrorOfItsClasses)
{
    auto run = make_decode_run(LIB_DMA_APSK_16, make_indices(32, 16));
    run.demod.work.meas_symbol = { { 0.3f, 0.0f }, { 0.0f, 0.5f } };
    const trace_capture_t trace;
    EXPECT_TRUE(run.demod.error_cal(0, run.store));
    EXPECT_NEAR(run.store.get_err_table(0).quad_error, static_cast<float>(std::asin(-8.0 / 17.0) * 180.0 / pi), 1e-3f);
}

TEST(ApskDemod, HasItsDefaults)
{
    demod_t demod;
    set_format(demod, LIB_DMA_APSK_32);
    demod.init();
    EXPECT_EQ(demod.apsk_format, LIB_DMA_APSK_16);
    EXPECT_EQ(demod.setting.format_group, LIB_DMA_GROUP_APSK);
    run_t run = make_process_run(LIB_DMA_APSK_32);
    EXPECT_EQ(run.demod.apsk_format, LIB_DMA_APSK_32);
    EXPECT_EQ(run.demod.apsk_r2_r1, r2_32);
    EXPECT_EQ(run.demod.apsk_r3_r1, r3_32);
}

TEST(ApskProcess, MeasuresBothFormatsAndTheirRings)
{
    for (const lib_dma_apsk_modulation_type_t format : both_formats)
    {
        const point_array points = make_set(format);
        run_t run = make_process_run(format);
        const index_array indices = make_indices(700, static_cast<std::uint32_t>(points.size()));
        ASSERT_TRUE(run.run(&demod_t::lib_dma_apsk_demod_process, make_block(map_points(indices, points), 300.0)));
        EXPECT_LT(run.get_evm(), 1.5f) << format;
        EXPECT_NEAR(run.get_frequency(), 300.0, 5.0) << format;
        const error_summary_t& summary = run.store.get_error_summary(0);
        EXPECT_NEAR(summary.apsk_r2_ratio, static_cast<double>(get_r2(format)), 0.15) << format;
        EXPECT_NEAR(summary.apsk_r3_ratio, format == LIB_DMA_APSK_16 ? 0.0 : static_cast<double>(r3_32), 0.3) << format;
        EXPECT_TRUE(contains(run.text, "lib_dma_apsk_demod_t timing_recovery time: "));
    }
}

TEST(ApskProcess, RunsAnUnknownFormatUntilItHasNoReference)
{
    run_t run = make_process_run(LIB_DMA_APSK_16);
    run.demod.apsk_format = unknown_format;
    const log_capture_t log;
    const point_array points = make_set(LIB_DMA_APSK_16);
    EXPECT_FALSE(run.run(&demod_t::lib_dma_apsk_demod_process, make_block(map_points(make_indices(500, 16), points))));
    EXPECT_EQ(log.count(log_level_error, "lib_dma_apsk_demod_t::cal_apsk_carrier_sync_params error!\n"), 1);
    EXPECT_TRUE(contains(run.text, "apsk_decode_bit::rms_normalize Report: Data array has a too small rms0: "));
}
