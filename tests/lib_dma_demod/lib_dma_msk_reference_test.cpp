#include "lib_dma_demod/lib_dma_msk_demod.h"

#include "frequency_modulator.h"
#include "lib_dma_msk_signal.h"
#include "message_capture.h"
#include "signal_pulse.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <string>
#include <vector>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using namespace msk_test;

namespace
{
using value_array = std::vector<double>;

constexpr std::uint32_t filter_length = 16;

/// Taps of a reference filter by their formulas, gain 1 at zero frequency.
value_array make_taps(lib_dma_ref_filter_type_t type, double shape, std::uint32_t sps)
{
    using dma_test::signal_pulse_t;
    const std::size_t span = static_cast<std::size_t>(filter_length) * sps;
    value_array taps(span + 1, 0.0);
    const auto fill = [&](signal_pulse_t pulse, double gain)
    {
        for (std::size_t i = 0; i < taps.size(); ++i)
            taps[i] = gain * dma_test::cal_pulse(pulse, (static_cast<double>(i) - static_cast<double>(span) / 2.0) / sps, shape);
    };
    switch (type)
    {
    case LIB_DMA_REF_RAISED_COSINE_FILTER:
        fill(signal_pulse_t::raised_cosine, 1.0 / sps);
        break;
    case LIB_DMA_REF_ROOT_RAISED_COSINE_FILTER:
        fill(signal_pulse_t::root_raised_cosine, 1.0 / sps);
        break;
    case LIB_DMA_REF_GAUSSIAN_FILTER:
        fill(signal_pulse_t::gaussian, 1.0 / sps); // integral 1: what the sampling adds to the sum is below 1e-9
        break;
    case LIB_DMA_REF_RECTANGULAR_FILTER:
        for (std::size_t i = 0; i < sps; ++i)
            taps[(span + 1) / 2 - (sps + 1) / 2 + i] = 1.0 / sps;
        break;
    case LIB_DMA_REF_HALF_SINE_FILTER:
        taps.assign(sps, 0.0);
        for (std::size_t i = 0; i < sps; ++i)
        {
            // The sum of the sines is the cotangent.
            taps[i] = std::sin(pi * static_cast<double>(i) / sps) * std::tan(pi / (2.0 * sps));
        }
        break;
    default:
        taps.assign(span, 0.0);
        taps[span / 2] = 1.0;
        break;
    }
    return taps;
}

/// The reference step by step: levels held or between zeros, running sum, filter, cut, phasors.
std::vector<std::complex<double>> make_reference(lib_dma_ref_filter_type_t type, const float_array& bits, double shape,
                                                 std::uint32_t sps)
{
    const bool held =
        type == LIB_DMA_REF_NONE_FILTER || type == LIB_DMA_REF_GAUSSIAN_FILTER || type == LIB_DMA_REF_RECTANGULAR_FILTER;
    value_array sums;
    double sum = 0.0;
    for (const float bit : bits)
    {
        for (std::uint32_t k = 0; k < sps; ++k)
        {
            sum += held ? get_level(bit) : k == 0 ? sps * get_level(bit) : 0.0;
            sums.push_back(sum);
        }
    }
    const value_array taps = make_taps(type, shape, sps);
    const std::size_t filter_delay = type == LIB_DMA_REF_NONE_FILTER ? sps * filter_length / 2 : (sps * filter_length + 1) / 2;
    const std::size_t delay = sps / 2 + filter_delay - 1;
    std::vector<std::complex<double>> reference;
    for (std::size_t n = delay; n < sums.size(); ++n)
    {
        double value = 0.0;
        for (std::size_t k = 0; k < taps.size() && k <= n; ++k)
            value += taps[k] * sums[n - k];
        reference.push_back(std::polar(1.0, value * pi / (2.0 * sps)));
    }
    return reference;
}

/// A demodulator with a timed and cut measurement.
lib_dma_msk_demod_t make_reference_demod(lib_dma_ref_filter_type_t type, double shape, std::uint32_t sps, complex_array measured)
{
    lib_dma_msk_demod_t demod = make_demod({}, 10 * sps);
    demod.setting.sps = sps;
    demod.setting.ref_filter_type = type;
    demod.setting.filter_length = filter_length;
    demod.setting.filter_alpha = static_cast<float>(shape);
    demod.work.meas_data = std::move(measured);
    return demod;
}

lib_dma_demod_config_mgr make_config()
{
    lib_dma_demod_config_mgr config;
    config.carrier_frequency_offset = 0.0;
    return config;
}
} // namespace

TEST(MskReference, IsTheIntegralOfItsFrequencyPulses)
{
    const lib_dma_ref_filter_type_t types[] = {
        LIB_DMA_REF_NONE_FILTER,     LIB_DMA_REF_RAISED_COSINE_FILTER, LIB_DMA_REF_ROOT_RAISED_COSINE_FILTER,
        LIB_DMA_REF_GAUSSIAN_FILTER, LIB_DMA_REF_RECTANGULAR_FILTER,   LIB_DMA_REF_HALF_SINE_FILTER
    };
    for (const lib_dma_ref_filter_type_t type : types)
    {
        for (const std::uint32_t sps : { 8u, 10u })
        {
            const float_array bits = make_bits(80, 20 + sps);
            lib_dma_msk_demod_t demod = make_reference_demod(type, 0.4, sps, make_msk(bits, sps, pi / 4.0));
            lib_dma_demod_config_mgr config = make_config();
            ASSERT_TRUE(demod.ref_filter_generate(bits, config));
            ASSERT_EQ(demod.work.ref_data.size(), bits.size() * sps);
            const std::vector<std::complex<double>> expected = make_reference(type, bits, 0.4, sps);
            double worst = 0.0;
            for (std::size_t n = 0; n < expected.size(); ++n)
                worst = std::max(worst, std::abs(std::complex<double>(demod.work.ref_data[n]) - expected[n]));
            EXPECT_LE(worst, 1e-5) << "type " << type << " sps " << sps;
        }
    }
}

TEST(MskReference, IsTheWaveformOfTheBits)
{
    for (const int quarter : { 0, 1, 2, 3 })
    {
        const complex_array samples = make_msk(make_bits(300, 10), 8, 0.2 + pi / 4.0 + quarter * pi / 2.0);
        lib_dma_msk_demod_t demod = make_demod({}, 80);
        demod.setting.head_len = 24;
        demod.work.timing_data = samples;
        lib_dma_demod_config_mgr config = make_config();
        ASSERT_TRUE(demod.ref_data_generate(config));
        ASSERT_EQ(demod.work.ref_data.size(), 300u * 8u - 24u);
        ASSERT_EQ(demod.work.meas_data.size(), demod.work.ref_data.size());
        EXPECT_LT(cal_evm(demod.work.meas_data, demod.work.ref_data, 8), 0.01) << "quarter " << quarter;
        EXPECT_NEAR(config.carrier_frequency_offset, 0.0, 0.1);
    }
}

TEST(MskReference, OfGaussianPulsesIsThatOfTheFormula)
{
    for (const double bandwidth_time : { 0.3, 0.5 })
    {
        for (const std::uint32_t sps : { 8u, 10u })
        {
            const float_array bits = make_bits(300, 30);
            const dma_test::pulse_integral_t integral(dma_test::signal_pulse_t::gaussian, bandwidth_time, 6.0);
            complex_array samples;
            for (std::size_t n = 0; n < bits.size() * sps; ++n)
            {
                const double time = static_cast<double>(n) / sps;
                double turns = 0.0; // quarters
                for (std::size_t k = 0; k < bits.size(); ++k)
                {
                    const double behind = time - static_cast<double>(k);
                    turns += get_level(bits[k]) * (behind >= 6.0 ? 1.0 : behind <= -6.0 ? 0.0 : integral.cal(behind));
                }
                samples.push_back(std::complex<float>(std::polar(2.0, turns * pi / 2.0 + 0.9)));
            }
            lib_dma_msk_demod_t demod = make_reference_demod(LIB_DMA_REF_GAUSSIAN_FILTER, bandwidth_time, sps, samples);
            lib_dma_demod_config_mgr config = make_config();
            ASSERT_TRUE(demod.ref_filter_generate(bits, config));
            // The sum of samples rounds the corners that the Gaussian smooths: little in the middles of the bits, more at their
            // borders.
            EXPECT_LT(cal_evm(demod.work.meas_data, demod.work.ref_data, 80), 0.35) << bandwidth_time << " " << sps;
            complex_array middles[2];
            for (std::size_t n = 0; n < demod.work.ref_data.size(); n += sps)
            {
                middles[0].push_back(demod.work.meas_data[n]);
                middles[1].push_back(demod.work.ref_data[n]);
            }
            EXPECT_LT(cal_evm(middles[0], middles[1], 10), 0.15) << bandwidth_time << " " << sps;
        }
    }
}

TEST(MskReference, TakesLevelPhaseAndFrequencyOffTheMeasurement)
{
    const float_array bits = make_bits(400, 31);
    complex_array samples = make_msk(bits, 8, 1.9, 0.0, 1e-5); // 10 Hz of 1 MHz
    for (std::complex<float>& sample : samples)
        sample *= 0.037f;
    lib_dma_msk_demod_t demod = make_reference_demod(LIB_DMA_REF_NONE_FILTER, 0.5, 8, samples);
    lib_dma_demod_config_mgr config = make_config();
    config.carrier_frequency_offset = 1000.0;
    ASSERT_TRUE(demod.ref_filter_generate(bits, config));
    EXPECT_NEAR(config.carrier_frequency_offset, 1010.0, 0.1);
    EXPECT_LT(cal_evm(demod.work.meas_data, demod.work.ref_data, 8), 0.02);
}

TEST(MskReference, LosesExactlyItsHead)
{
    const float_array bits = make_bits(100, 32);
    for (const std::uint32_t head : { 0u, 1u, 8u, 100u, 800u, 900u })
    {
        lib_dma_msk_demod_t demod = make_reference_demod(LIB_DMA_REF_NONE_FILTER, 0.5, 8, make_msk(bits, 8, pi / 4.0));
        demod.setting.head_len = head;
        lib_dma_demod_config_mgr config = make_config();
        ASSERT_TRUE(demod.ref_filter_generate(bits, config));
        EXPECT_EQ(demod.work.ref_data.size(), head < 800 ? 800 - head : 0u);
        EXPECT_EQ(demod.work.meas_data.size(), demod.work.ref_data.size());
        if (head >= 800)
            continue;
        // The phase of MSK at the first sample that is left: quarters of whole bits, and eighths of a quarter.
        double quarters = 0.5 * get_level(bits[0]);
        for (std::size_t n = 0; n < head; ++n)
            quarters += get_level(bits[(n + 4) / 8]) / 8.0;
        EXPECT_LE(std::abs(std::complex<double>(demod.work.ref_data[0]) - std::polar(1.0, quarters * pi / 2.0)), 1e-5) << head;
    }
}

TEST(MskReference, DoesNotDriftOverALongRunOfOneBit)
{
    // 100,000 quarter turns one way: phases in single precision would be off by hundredths of a radian.
    const float_array bits(100000, 1.0f);
    lib_dma_msk_demod_t demod = make_reference_demod(LIB_DMA_REF_NONE_FILTER, 0.5, 8, complex_array(800, { 1.0f, 0.0f }));
    lib_dma_demod_config_mgr config = make_config();
    ASSERT_TRUE(demod.ref_filter_generate(bits, config));
    const std::size_t last = 99990 * 8; // a bit whose number is 2 beyond a multiple of 4
    EXPECT_LE(std::abs(std::complex<double>(demod.work.ref_data[last]) - std::polar(1.0, pi / 4.0 + pi)), 1e-5);
}

TEST(MskReference, ReportsAMeasurementWithoutSignal)
{
    lib_dma_msk_demod_t demod = make_demod({}, 80);
    demod.work.timing_data.assign(800, { 0.0f, 0.0f });
    lib_dma_demod_config_mgr config;
    const log_capture_t log;
    const trace_capture_t trace;
    EXPECT_FALSE(demod.ref_data_generate(config));
    EXPECT_NE(trace.get_text().find("ref_data_generate::rms_normalize Report: Data array has a too small rms: "),
              std::string::npos);
    EXPECT_EQ(log.count(common_log::log_level_info, "lib_dma_msk_demod_t::ref_data_generate start.\n"), 1);
    EXPECT_EQ(log.count(common_log::log_level_info, "lib_dma_msk_demod_t::ref_filter_generate start.\n"), 1);
}

TEST(MskReference, EndsOnShortRecordsAndRates)
{
    for (const std::uint32_t sps : { 0u, 1u, 8u })
    {
        for (const std::size_t size : { 0u, 1u, 7u, 8u, 9u })
        {
            for (const std::uint32_t length : { 0u, 16u })
            {
                lib_dma_msk_demod_t demod = make_demod({}, 0);
                demod.setting.sps = sps;
                demod.setting.filter_length = length;
                demod.work.timing_data.assign(size, { 1.0f, 1.0f });
                lib_dma_demod_config_mgr config = make_config();
                const trace_capture_t trace;
                EXPECT_EQ(demod.ref_data_generate(config), sps != 0 && size >= sps) << sps << " " << size << " " << length;
            }
        }
    }
}

TEST(MskReference, TakesQuarterTurnsOutOfTheMeasurementAndHalvesAwayFromZero)
{
    const struct
    {
        double before;
        double after;
    } turns[] = { { 0.0, 0.0 }, { pi / 2.0, 0.0 },       { -pi / 2.0, 0.0 },      { pi, 0.0 },
                  { 0.7, 0.7 }, { 0.9, 0.9 - pi / 2.0 }, { pi / 4.0, -pi / 4.0 }, { -pi / 4.0, pi / 4.0 } };
    for (const auto& turn : turns)
    {
        lib_dma_msk_demod_t demod = make_demod({}, 0);
        demod.setting.meas_interval = 10;
        demod.work.ref_data.assign(80, { 1.0f, 0.0f });
        demod.work.meas_data.assign(80, std::complex<float>(std::polar(1.0, turn.before)));
        const log_capture_t log;
        ASSERT_TRUE(demod.phase_ambiguity_cal());
        EXPECT_EQ(log.count(common_log::log_level_info, "lib_dma_msk_demod_t::phase_ambiguity_cal start.\n"), 1);
        EXPECT_NEAR(std::arg(std::complex<double>(demod.work.meas_data[0])), turn.after, 1e-5) << turn.before;
        EXPECT_EQ(demod.setting.meas_interval, 40u);
        EXPECT_EQ(demod.work.meas_data.size(), 40u);
        EXPECT_EQ(demod.work.meas_symbol.size(), 10u);
    }
}

TEST(MskReference, CountsQuartersBetweenPhasesOnBothSidesOfHalfATurn)
{
    // 3 - (-3) radians are 3.8 quarters: four of them go, and the waveform stays.
    lib_dma_msk_demod_t demod = make_demod({}, 0);
    demod.work.ref_data.assign(80, std::complex<float>(std::polar(1.0, -3.0)));
    demod.work.meas_data.assign(80, std::complex<float>(std::polar(1.0, 3.0)));
    ASSERT_TRUE(demod.phase_ambiguity_cal());
    EXPECT_NEAR(std::arg(std::complex<double>(demod.work.meas_data[5])), 3.0, 1e-5);
}

TEST(MskReference, TakesTheTurnOfTheRecordWhereTheFirstSampleHidesIt)
{
    for (const double turn : { 0.0, pi / 2.0, pi, -pi / 2.0 })
    {
        for (const double noise : { 0.9, 1.5, 2.5, -0.9, -2.5, pi })
        {
            lib_dma_msk_demod_t demod = make_demod({}, 0);
            for (int n = 0; n < 80; ++n)
            {
                demod.work.ref_data.emplace_back(std::polar(1.0, 0.2 * n));
                demod.work.meas_data.emplace_back(std::polar(1.0, 0.2 * n + turn + 0.1));
            }
            demod.work.meas_data[0] *= std::complex<float>(std::polar(1.0, noise));
            ASSERT_TRUE(demod.phase_ambiguity_cal());
            for (std::size_t k = 1; k < demod.work.meas_data.size(); ++k)
            {
                const std::complex<double> ideal(demod.work.ref_data[k]);
                EXPECT_NEAR(std::arg(std::complex<double>(demod.work.meas_data[k]) * std::conj(ideal)), 0.1, 1e-5)
                    << turn << " " << noise;
            }
        }
    }
}

TEST(MskReference, BringsBothWaveformsToTheResultRate)
{
    // 8 samples a bit to 4 and to 2 points, sample n at value n; two bits of head leave the symbol arrays at their tail.
    for (const std::uint32_t points : { 8u, 4u, 2u, 1u })
    {
        lib_dma_msk_demod_t demod = make_demod({}, 0);
        demod.setting.points_per_symbol = points;
        demod.setting.head_len = 16;
        for (int n = 0; n < 80; ++n)
        {
            demod.work.ref_data.emplace_back(static_cast<float>(n + 1), 0.0f);
            demod.work.meas_data.emplace_back(static_cast<float>(2 * n + 2), 0.0f);
        }
        ASSERT_TRUE(demod.phase_ambiguity_cal());
        ASSERT_EQ(demod.work.ref_data.size(), 10u * points);
        EXPECT_EQ(demod.work.ref_data[points], std::complex<float>(9.0f, 0.0f));
        const std::uint32_t sample = 24 - 8 / points; // that of point 3 * points - 1
        EXPECT_EQ(demod.work.meas_data[3 * points - 1], std::complex<float>(static_cast<float>(2 * sample + 2), 0.0f));
        ASSERT_EQ(demod.work.meas_symbol.size(), 8u);
        ASSERT_EQ(demod.work.ref_symbol.size(), 8u);
        EXPECT_EQ(demod.work.ref_symbol[7], std::complex<float>(57.0f, 0.0f));
    }
}

TEST(MskReference, OfNoSamplesHasNoPhase)
{
    lib_dma_msk_demod_t demod = make_demod({}, 0);
    EXPECT_TRUE(demod.phase_ambiguity_cal());
    EXPECT_TRUE(demod.work.meas_symbol.empty());

    const float nan = std::numeric_limits<float>::quiet_NaN();
    demod.work.ref_data.assign(80, { 1.0f, 0.0f });
    demod.work.meas_data.assign(80, { nan, nan });
    EXPECT_TRUE(demod.phase_ambiguity_cal());
}
