#include "lib_dma_demod/lib_dma_qam_loop.h"

#include "lib_dma_common/lib_dma_phy_common.h"
#include "lib_dma_common/reference_constellation.h"
#include "lib_dma_demod/demod_run.h"
#include "support/internal/complex_ops.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <random>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using namespace demod_test;

namespace
{
struct qam_set_t
{
    explicit qam_set_t(std::uint32_t format)
    {
        constellation_map map;
        make_qam_points(static_cast<lib_dma_qam_modulation_type_t>(format), map, common_lib::constellation_normalize_rms);
        slicer.load(static_cast<std::uint32_t>(map.size()), map);
        for (const auto& [key, point] : map)
            points.push_back(point);
    }

    qam_slicer_t slicer;
    complex_array points;
};

struct track_t
{
    float_array phase;
    float_array gain;
    float_array frequency;
};

/// The loop with every decision taken where it stands, in the loop's own precision.
track_t run_plainly(const complex_array& symbols, const qam_set_t& set, const qam_loop_setting_t& setting)
{
    constexpr float single_pi = 3.14159274f;
    constexpr float single_two_pi = 6.28318548f;
    const auto wrap = [](float angle) { return lib_dma_phy_common_t::wrap_to_pi(angle); };
    const std::size_t count = symbols.size();
    float phase = setting.phase;
    float frequency = setting.frequency;
    float gain = 1.0f;
    std::int32_t wraps = 0;
    if (std::abs(phase) < 1e-8f)
        phase = common_lib::phase_of(set.slicer.decide_point(symbols[count - 1]));
    phase -= common_lib::phase_of(symbols[count - 1]);

    track_t track;
    const auto step = [&](std::complex<float> symbol, float direction)
    {
        phase += direction * frequency;
        if (direction < 0.0f && (gain > 1.05f || gain < 0.95f))
            gain = 1.0f;
        if (phase > single_pi)
        {
            ++wraps;
            phase -= single_two_pi;
        }
        else if (phase < -single_pi)
        {
            --wraps;
            phase += single_two_pi;
        }
        const float amplitude = common_lib::amplitude_of(symbol);
        const float angle = wrap(phase + common_lib::phase_of(symbol));
        const std::complex<float> turn = common_lib::unit_phasor(angle);
        const float radius = direction < 0.0f ? amplitude : amplitude * gain;
        const std::complex<float> d = set.slicer.decide_point({ radius * turn.real(), radius * turn.imag() });
        const float error = wrap(common_lib::phase_of(d) - angle);
        frequency += direction * (error * setting.ki);
        phase += error * setting.kp;
        if (amplitude > 0.0f)
            gain = (common_lib::amplitude_of(d) / amplitude) * setting.gain_update + gain * setting.gain_memory;
    };
    for (std::size_t i = count; i-- > 0;)
    {
        phase += setting.turn;
        step(symbols[i], -1.0f);
    }
    for (std::size_t i = 0; i < count; ++i)
    {
        phase -= setting.turn;
        step(symbols[i], 1.0f);
        track.phase.push_back(static_cast<float>(2.0 * static_cast<double>(wraps) * pi + static_cast<double>(phase)));
        track.gain.push_back(gain);
        track.frequency.push_back(frequency);
    }
    return track;
}

qam_loop_setting_t make_setting(float turn = 0.0f)
{
    return { 0.0f, 0.0f, turn, 0.006f, 0.4f, 0.95f, 0.05f, 0.1f };
}

/// Symbols of a set under noise, with a carrier that is off.
complex_array make_noisy(std::uint32_t format, std::size_t count, double noise, double turn, double slope, unsigned seed)
{
    const qam_set_t set(format);
    const point_array points(set.points.begin(), set.points.end());
    const point_array sent =
        map_points(make_indices(count, static_cast<std::uint32_t>(points.size()), seed), points, turn + slope, 0.3);
    std::mt19937 generator(seed);
    std::normal_distribution<double> part;
    complex_array symbols;
    for (const std::complex<double>& symbol : sent)
    {
        const double re = noise * part(generator);
        symbols.emplace_back(symbol + std::complex<double>(re, noise * part(generator)));
    }
    return symbols;
}

void expect_same(const complex_array& symbols, std::uint32_t format, const qam_loop_setting_t& setting)
{
    const qam_set_t set(format);
    const carrier_syn_info_t info = run_qam_loop(symbols, set.slicer, set.points, setting);
    const track_t plain = run_plainly(symbols, set, setting);
    EXPECT_EQ(info.phase_track, plain.phase) << format;
    EXPECT_EQ(info.gain_track, plain.gain) << format;
    EXPECT_EQ(info.frequency_track, plain.frequency) << format;
}
} // namespace

TEST(QamLoop, DecidesAheadAsItWouldWhereItStands)
{
    // From clean to hopeless; lengths that are no multiple of anything.
    for (const std::uint32_t format : { 0u, 1u, 2u, 3u, 5u, 6u, 7u, 8u })
    {
        for (const double noise : { 0.0, 0.002, 0.01, 0.05, 0.3 })
            expect_same(make_noisy(format, 487, noise, 0.0, 1e-3, format + 1), format, make_setting());
    }
    for (const double noise : { 0.001, 0.05 })
    {
        expect_same(make_noisy(9, 401, noise, pi / 4.0, -1e-3, 3), 9, make_setting(0.7853982f));
        expect_same(make_noisy(10, 401, noise, -pi / 4.0, 1e-3, 4), 10, make_setting(-0.7853982f));
    }
}

TEST(QamLoop, DecidesAheadFromAnyStart)
{
    const complex_array symbols = make_noisy(2, 100, 0.01, 0.0, 0.0, 5);
    for (const float phase : { 3.1f, -3.1f, 50.0f, -1000.0f, 1e9f })
    {
        for (const float frequency : { 0.0f, 0.3f, -6.0f, 2e4f })
        {
            qam_loop_setting_t setting = make_setting();
            setting.phase = phase;
            setting.frequency = frequency;
            expect_same(symbols, 2, setting);
        }
    }
}

TEST(QamLoop, OfFewSymbolsIsThatOfTheirNumber)
{
    const complex_array symbols = make_noisy(0, 40, 0.05, 0.0, 0.0, 6);
    for (std::size_t count = 1; count <= symbols.size(); ++count)
        expect_same(complex_array(symbols.begin(), symbols.begin() + static_cast<std::ptrdiff_t>(count)), 0, make_setting());
    const qam_set_t set(0);
    EXPECT_TRUE(run_qam_loop({}, set.slicer, set.points, make_setting()).phase_track.empty());
}

TEST(QamLoop, TakesSymbolsThatAreNoNumbers)
{
    constexpr float infinity = std::numeric_limits<float>::infinity();
    const float nan_value = std::numeric_limits<float>::quiet_NaN();
    for (const std::complex<float> odd :
         { std::complex<float>(nan_value, 0.0f), { infinity, 1.0f }, { 0.0f, 0.0f }, { 3e38f, 3e38f } })
    {
        complex_array symbols = make_noisy(2, 64, 0.01, 0.0, 0.0, 7);
        symbols[40] = odd;
        const qam_set_t set(2);
        const carrier_syn_info_t info = run_qam_loop(symbols, set.slicer, set.points, make_setting());
        const track_t plain = run_plainly(symbols, set, make_setting());
        ASSERT_EQ(info.phase_track.size(), 64u);
        // Not a number equals nothing, so the bits behind the odd symbol are compared as far as they are numbers.
        for (std::size_t i = 0; i < 64; ++i)
        {
            EXPECT_EQ(std::isnan(info.phase_track[i]), std::isnan(plain.phase[i])) << odd << ", " << i;
            if (!std::isnan(plain.phase[i]))
            {
                EXPECT_EQ(info.phase_track[i], plain.phase[i]) << odd << ", " << i;
            }
        }
    }
}
