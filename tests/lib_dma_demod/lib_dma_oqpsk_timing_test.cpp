#include "lib_dma_demod/lib_dma_oqpsk_demod.h"

#include "message_capture.h"
#include "signal_maker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <numbers>
#include <vector>

using namespace vrim;
using namespace vrim::dma_demod_lib;

namespace
{
constexpr double pi = std::numbers::pi;
constexpr std::uint32_t sps = 8;
constexpr double rate = 1.0e6;

/// A signal of eight samples a symbol.
dma_test::signal_setting_t make_setting()
{
    dma_test::signal_setting_t setting;
    setting.format = dma_test::signal_format_t::oqpsk;
    setting.half_span_symbols = 64;
    setting.symbol_rate = rate;
    setting.sample_rate = sps * rate;
    setting.symbol_count = 600;
    return setting;
}

/// A demodulator whose estimator is ready for the roll-off of `make_setting`.
lib_dma_oqpsk_demod_t make_demod()
{
    lib_dma_oqpsk_demod_t demod;
    demod.setting.sps = sps;
    demod.setting.filter_alpha = 0.35f;
    demod.setting.filter_beta = 0.35f;
    demod.setting.meas_filter_type = LIB_DMA_MEAS_ROOT_RAISED_COSINE_FILTER;
    demod.setting.pre_num = 0;
    demod.oqpsk_phase_timing_est_prepare();
    return demod;
}

/// Distance of two values on a circle of circumference `period`.
double get_circle_distance(double a, double b, double period)
{
    return std::abs(std::remainder(a - b, period));
}

complex_array make_tone(double cycles, std::size_t count)
{
    complex_array tone(count);
    for (std::size_t n = 0; n < count; ++n)
        tone[n] = std::complex<float>(std::polar(1.0, 2.0 * pi * cycles * static_cast<double>(n)));
    return tone;
}

/// Angle of one window of 64 symbols from `first` on, in double: the signal moved by `direction` half symbol rates, times the
/// same behind the template.
double cal_window_angle(const complex_array& data, const complex_array& taps, std::size_t first, double direction)
{
    const auto size = static_cast<std::ptrdiff_t>(data.size());
    const auto mix = [&](std::ptrdiff_t n) -> std::complex<double>
    {
        if (n < 0 || n >= size)
            return 0.0;
        const double turn = direction * pi * static_cast<double>(n % (2 * sps)) / sps;
        return std::complex<double>(data[static_cast<std::size_t>(n)]) * std::polar(1.0, turn);
    };
    std::complex<double> sum = 0.0;
    for (std::size_t i = 0; i < 64 * sps; ++i)
    {
        const auto n = static_cast<std::ptrdiff_t>(first + i);
        std::complex<double> filtered = 0.0;
        for (std::size_t k = 0; k < taps.size(); ++k)
            filtered += static_cast<double>(taps[k].real()) * mix(n - static_cast<std::ptrdiff_t>(k) + 4 * std::ptrdiff_t{ sps });
        sum += filtered * mix(n);
    }
    return std::arg(sum);
}

/// Largest distance of `data` to `wanted` from `shift` on, relative to the rms of the signal, without the ends.
double cal_distance(const complex_array& data, const complex_array& wanted, std::ptrdiff_t shift)
{
    constexpr std::ptrdiff_t margin = 40 * sps;
    double largest = 0.0;
    const auto stop = static_cast<std::ptrdiff_t>(std::min(data.size(), wanted.size())) - margin;
    for (std::ptrdiff_t n = margin; n < stop; ++n)
    {
        const std::complex<float> difference = data[static_cast<std::size_t>(n)] - wanted[static_cast<std::size_t>(n + shift)];
        largest = std::max(largest, static_cast<double>(std::abs(difference)));
    }
    return largest;
}
} // namespace

TEST(OqpskTemplate, FollowsItsFormulaAndTakesTheLimitAtTheSingularPoints)
{
    for (const std::uint32_t samples : { 8u, 10u, 20u })
    {
        for (const float alpha : { 0.2f, 0.35f, 0.5f, 1.0f })
        {
            lib_dma_oqpsk_demod_t demod;
            demod.setting.sps = samples;
            demod.setting.filter_beta = alpha;
            ASSERT_TRUE(demod.oqpsk_phase_timing_est_prepare());
            ASSERT_EQ(demod.est_template.size(), 8u * samples);
            for (std::size_t i = 0; i < demod.est_template.size(); ++i)
            {
                // As a function of u = alpha * t / s: (alpha / pi) cos(pi u) / (1 - 4 u^2), alpha / 4 at u = 1 / 2.
                const long double u = static_cast<long double>(alpha) *
                                      (static_cast<long double>(i) - 4.0L * samples) / static_cast<long double>(samples);
                const long double denominator = 1.0L - 4.0L * u * u;
                const long double expected =
                    std::abs(denominator) < 1e-7L ? alpha / 4.0L
                                                  : alpha / std::numbers::pi_v<long double> *
                                                        std::cos(std::numbers::pi_v<long double> * u) / denominator;
                EXPECT_NEAR(static_cast<double>(demod.est_template[i].real()), static_cast<double>(expected), 1e-7)
                    << samples << " " << alpha << " " << i;
                EXPECT_EQ(demod.est_template[i].imag(), 0.0f);
            }
        }
    }
    lib_dma_oqpsk_demod_t demod;
    demod.setting.sps = 8;
    demod.setting.filter_beta = 0.5f;
    demod.oqpsk_phase_timing_est_prepare();
    EXPECT_EQ(demod.est_template[32 - 8].real(), 0.125f);
    EXPECT_EQ(demod.est_template[32 + 8].real(), 0.125f);
}

TEST(OqpskTemplate, TakesTheRollOffUnlessTheMeasurementFilterIsGaussian)
{
    for (const bool gaussian : { false, true })
    {
        lib_dma_oqpsk_demod_t demod;
        demod.setting.sps = sps;
        demod.setting.filter_alpha = 0.25f;
        demod.setting.filter_beta = 0.75f;
        demod.setting.meas_filter_type = gaussian ? LIB_DMA_MEAS_GAUSSIAN_FILTER : LIB_DMA_MEAS_ROOT_RAISED_COSINE_FILTER;
        demod.setting.pre_num = 0;
        demod.work.iq_data = make_tone(0.0, 1000);
        float residual = 0.0f;
        demod.timing_recovery(residual);
        // The tap in the middle is alpha / pi.
        EXPECT_NEAR(demod.est_template[32].real(), (gaussian ? 0.75 : 0.25) / pi, 1e-7);
    }
}

TEST(OqpskEstimate, FindsPhaseAndTimingTogether)
{
    for (const double timing : { 0.0, 0.1, 0.25, 0.4, 0.5, 0.73, 0.99 })
    {
        for (const double phase : { 0.0, 0.3, 0.8, 1.7, 3.0, -2.2 })
        {
            dma_test::signal_setting_t setting = make_setting();
            setting.timing_symbols = timing;
            setting.carrier_phase = phase;
            const complex_array data = dma_test::make_signal(setting).samples;
            lib_dma_oqpsk_demod_t demod;
            demod.setting.sps = sps;
            demod.setting.filter_beta = 0.35f;
            demod.oqpsk_phase_timing_est_prepare();
            float_array phases;
            float_array timings;
            std::uint32_t count = 0;
            ASSERT_TRUE(demod.phase_timing_estimate(data, phases, timings, count));
            ASSERT_EQ(count, data.size() - 64 * sps + 1);
            ASSERT_EQ(phases.size(), count);
            ASSERT_EQ(timings.size(), count);
            // A quarter turn goes with half a symbol: together they are the same signal with its rails exchanged.
            const double quarters = std::round((static_cast<double>(phases[count / 2]) - phase) / (pi / 2.0));
            EXPECT_NEAR(static_cast<double>(phases[count / 2]), phase + quarters * pi / 2.0, 0.02) << timing << " " << phase;
            EXPECT_LT(get_circle_distance(-static_cast<double>(timings[count / 2]), timing + 0.5 * quarters, 1.0), 0.01)
                << timing << " " << phase;
        }
    }
}

TEST(OqpskEstimate, UnwrapsOverManyTurns)
{
    dma_test::signal_setting_t setting = make_setting();
    setting.symbol_count = 6000;
    setting.carrier_offset_hz = 1000.0; // 6 turns in the record, 24 quarter turns of the estimate
    const complex_array data = dma_test::make_signal(setting).samples;
    lib_dma_oqpsk_demod_t demod;
    demod.setting.sps = sps;
    demod.setting.filter_beta = 0.35f;
    demod.oqpsk_phase_timing_est_prepare();
    float_array phases;
    float_array timings;
    std::uint32_t count = 0;
    ASSERT_TRUE(demod.phase_timing_estimate(data, phases, timings, count));
    const double turned = 2.0 * pi * 1000.0 * (count - 1) / (sps * rate);
    EXPECT_NEAR(static_cast<double>(phases.back()) - static_cast<double>(phases.front()), turned, 0.05);
}

TEST(OqpskEstimate, LosesNoTurnToAStretchWithoutItsLine)
{
    dma_test::signal_setting_t setting = make_setting();
    setting.symbol_count = 1000;
    setting.timing_symbols = 0.2;
    setting.carrier_phase = 0.3;
    complex_array data = dma_test::make_signal(setting).samples;
    // For 100 symbols the carrier stands 12 kHz off: 2.4 turns of the squared signal.
    for (std::size_t n = 400 * sps; n < 500 * sps; ++n)
        data[n] *= std::complex<float>(std::polar(1.0, 2.0 * pi * 12.0e3 * static_cast<double>(n - 400 * sps) / (sps * rate)));
    lib_dma_oqpsk_demod_t demod = make_demod();
    float_array phases;
    float_array timings;
    std::uint32_t count = 0;
    ASSERT_TRUE(demod.phase_timing_estimate(data, phases, timings, count));
    for (const std::size_t i : { std::size_t(0), std::size_t(200 * sps), std::size_t(600 * sps), std::size_t(count - 1) })
    {
        EXPECT_NEAR(static_cast<double>(phases[i]), 0.3, 0.05) << i;
        EXPECT_NEAR(static_cast<double>(timings[i]), -0.2, 0.02) << i;
    }
}

TEST(OqpskEstimate, NeedsOneWindowOfSamples)
{
    lib_dma_oqpsk_demod_t demod;
    demod.setting.sps = sps;
    demod.oqpsk_phase_timing_est_prepare();
    float_array phases = { 1.0f };
    float_array timings = { 1.0f };
    std::uint32_t count = 7;
    EXPECT_FALSE(demod.phase_timing_estimate(make_tone(0.0, 64 * sps - 1), phases, timings, count));
    EXPECT_EQ(count, 0u);
    EXPECT_TRUE(phases.empty());
    EXPECT_TRUE(timings.empty());
    EXPECT_TRUE(demod.phase_timing_estimate(make_tone(0.0, 64 * sps), phases, timings, count));
    EXPECT_EQ(count, 1u);
}

TEST(OqpskEstimate, PassesOverSamplesThatAreNotFinite)
{
    complex_array data = dma_test::make_signal(make_setting()).samples;
    data[700] = { std::numeric_limits<float>::quiet_NaN(), 0.0f };
    data[900] = { 1.0f, std::numeric_limits<float>::infinity() };
    lib_dma_oqpsk_demod_t demod;
    demod.setting.sps = sps;
    demod.setting.filter_beta = 0.35f;
    demod.oqpsk_phase_timing_est_prepare();
    float_array phases;
    float_array timings;
    std::uint32_t count = 0;
    ASSERT_TRUE(demod.phase_timing_estimate(data, phases, timings, count));
    for (std::size_t i = 0; i < phases.size(); ++i)
        ASSERT_LT(get_circle_distance(static_cast<double>(phases[i]), 0.0, pi / 2.0), 0.05) << i;
}

TEST(OqpskTiming, SaysThatARecordIsTooShortOrHasNoLine)
{
    for (const std::size_t size : { std::size_t(0), std::size_t(64 * sps - 1), std::size_t(64 * sps) })
    {
        lib_dma_oqpsk_demod_t demod;
        demod.setting.sps = sps;
        demod.setting.pre_num = 0;
        demod.work.iq_data = make_tone(0.0, size);
        const log_capture_t log;
        float residual = 5.0f;
        EXPECT_FALSE(demod.timing_recovery(residual)) << size;
        EXPECT_EQ(residual, 5.0f);
        const bool one_window = size == 64 * sps;
        EXPECT_EQ(log.count(common_log::log_level_error,
                            one_window ? "lib_dma_common_polyfit_t::deal_polyfit:error!\n"
                                       : "lib_dma_oqpsk_demod_t::timing_recovery: the record is shorter than 64 symbols.\n"),
                  1);
    }
}

TEST(OqpskEstimate, AddsUpWholeWindowsAnywhereInALongRecord)
{
    dma_test::signal_setting_t setting = make_setting();
    setting.half_span_symbols = 40;
    setting.symbol_count = 20'000;
    setting.carrier_phase = 0.2;
    setting.timing_symbols = 0.1;
    setting.snr_db = 20.0;
    const complex_array data = dma_test::make_signal(setting).samples;
    lib_dma_oqpsk_demod_t demod = make_demod();
    float_array phases;
    float_array timings;
    std::uint32_t count = 0;
    ASSERT_TRUE(demod.phase_timing_estimate(data, phases, timings, count));
    for (const std::uint32_t i : { 0u, 1u, 511u, 512u, 79'999u, count - 2, count - 1 })
    {
        const double above = cal_window_angle(data, demod.est_template, i, -1.0);
        const double below = cal_window_angle(data, demod.est_template, i, 1.0);
        EXPECT_NEAR(static_cast<double>(phases[i]), (above + below) / 4.0, 5e-7) << i;
        EXPECT_NEAR(static_cast<double>(timings[i]), (above - below) / (4.0 * pi), 2e-7) << i;
    }
}

TEST(OqpskTiming, PutsASymbolAtTheHeadWhateverTheClock)
{
    for (const float adjust : { 0.0f, 0.25f, -0.25f, 0.5f, -0.5f, 0.9f })
    {
        for (const double timing : { 0.0, 0.06, 0.2, 0.3, 0.44, 0.56, 0.7, 0.94 })
        {
            dma_test::signal_setting_t setting = make_setting();
            setting.timing_symbols = timing;
            lib_dma_oqpsk_demod_t demod = make_demod();
            demod.setting.pre_num = 16 * sps;
            demod.setting.clock_adjust = adjust;
            demod.work.iq_data = dma_test::make_signal(setting).samples;
            float residual = 0.0f;
            ASSERT_TRUE(demod.timing_recovery(residual));

            // Samples from the head of the record to the symbol nearest to it, earlier by the adjustment. The head of the result
            // is that symbol from a whole sample on, otherwise the first one behind it that is not before the record.
            const double early = timing > 0.5 ? 1.0 : 0.0;
            const double offset = (timing - early - static_cast<double>(adjust)) * sps;
            double periods = offset >= 1.0 ? 0.0 : 1.0;
            while (std::floor(offset) + periods * sps < 0.0)
                periods += 1.0;
            const double whole_adjust = std::floor(static_cast<double>(adjust));
            setting.timing_symbols = static_cast<double>(adjust) - whole_adjust;
            const auto shift = static_cast<std::ptrdiff_t>(sps * (periods - early - whole_adjust));
            // 0.05: a clock 1/250 symbol off. A sample is 1/8 symbol.
            EXPECT_LT(cal_distance(demod.work.timing_data, dma_test::make_signal(setting).samples, shift), 0.05)
                << adjust << " " << timing;
        }
    }
}

TEST(OqpskTiming, KeepsWithinTheRecordWhateverTheAdjustment)
{
    const complex_array data = dma_test::make_signal(make_setting()).samples;
    for (const float adjust : { 1e9f, -1e9f, 1e30f, -1e30f, std::numeric_limits<float>::infinity(),
                                std::numeric_limits<float>::quiet_NaN() })
    {
        lib_dma_oqpsk_demod_t demod = make_demod();
        demod.setting.clock_adjust = adjust;
        demod.work.iq_data = data;
        float residual = 0.0f;
        EXPECT_TRUE(demod.timing_recovery(residual));
        EXPECT_LE(demod.work.timing_data.size(), data.size()) << adjust;
    }
}

TEST(OqpskTiming, ReportsWhatIsLeftOfTheCarrier)
{
    for (const double offset : { -300.0, 12.5, 400.0 })
    {
        dma_test::signal_setting_t setting = make_setting();
        setting.symbol_count = 3000;
        setting.carrier_offset_hz = offset;
        setting.timing_symbols = 0.3;
        lib_dma_oqpsk_demod_t demod = make_demod();
        demod.setting.symbol_rate = static_cast<std::uint64_t>(rate);
        demod.work.iq_data = dma_test::make_signal(setting).samples;
        float residual = 0.0f;
        ASSERT_TRUE(demod.timing_recovery(residual));
        // 5 Hz: the ends of the phase track scatter by 0.05 radians.
        EXPECT_NEAR(static_cast<double>(residual), offset, 5.0);
    }
}
