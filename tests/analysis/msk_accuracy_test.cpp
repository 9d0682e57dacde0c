#include "msk_accuracy.h"

#include "accuracy_check.h"
#include "frame_run.h"
#include "msk_run.h"

#include <cmath>
#include <complex>
#include <cstdint>
#include <gtest/gtest.h>
#include <numbers>
#include <string>
#include <vector>

using namespace dma_test;
using namespace vrim::dma_demod_lib;

namespace
{
constexpr std::uint32_t interval = 1024;
constexpr double pi = std::numbers::pi;

/// EVM in percent at the symbols that a low-pass filter leaves in a clean capture of 8 samples a symbol, whose symbols are
/// centred on samples. The filter falls in a line from `pass` to `stop`, shares of the sample rate: the mean of windowed sine
/// quotients of 20 symbols.
double predict_band_limit(const signal_t& signal, std::size_t first_centre, double pass, double stop)
{
    constexpr std::ptrdiff_t reach = 80;
    constexpr int edges = 20;
    std::vector<double> taps;
    double sum = 0.0;
    for (std::ptrdiff_t n = -reach; n <= reach; ++n)
    {
        double quotient = 0.0;
        for (int k = 0; k < edges; ++k)
        {
            const double edge = pass + (stop - pass) * (k + 0.5) / edges;
            const double x = 2.0 * edge * static_cast<double>(n);
            quotient += 2.0 * edge * (n == 0 ? 1.0 : std::sin(pi * x) / (pi * x));
        }
        taps.push_back(quotient * (0.5 + 0.5 * std::cos(pi * static_cast<double>(n) / (reach + 1.0))));
        sum += taps.back();
    }
    double power = 0.0;
    std::size_t count = 0;
    for (std::size_t centre = first_centre + 20 * 8; centre + reach < signal.samples.size(); centre += 8)
    {
        std::complex<double> filtered = 0.0;
        for (std::size_t k = 0; k < taps.size(); ++k)
            filtered += taps[k] / sum * std::complex<double>(signal.samples[centre + k - static_cast<std::size_t>(reach)]);
        power += std::norm(filtered - std::complex<double>(signal.samples[centre]));
        ++count;
    }
    return 100.0 * std::sqrt(power / static_cast<double>(count));
}
} // namespace

TEST(MskAccuracy, ReadsLittleOnACleanSignal)
{
    expect_bars(measure_msk_clean_runs(), 3 * 4);
}

TEST(MskAccuracy, MeasuresAtTheOtherResultRates)
{
    for (const msk_shape_t& shape : msk_shapes)
    {
        for (const std::uint32_t points : { 1u, 16u, 20u })
        {
            signal_setting_t setting = make_msk_setting(shape, interval, 71);
            setting.timing_symbols = 0.44;
            setting.carrier_phase = 2.5;
            setting.carrier_offset_hz = 700.0;
            const msk_run_t run(setting, make_msk_analysis(setting, interval, points));
            SCOPED_TRACE(testing::Message() << shape.name << ", " << points << " points");
            ASSERT_TRUE(run.result.locked());
            EXPECT_TRUE(run.match.found);
            EXPECT_LE(run.get_evm(), 0.5);
        }
    }
}

TEST(MskAccuracy, SeesTheNoiseOfTheWholeCapture)
{
    expect_bars(measure_msk_noisy_runs(), 3 * 3);
}

TEST(MskAccuracy, ReadsEveryBitAtTwentyDecibels)
{
    expect_bars(measure_msk_bits(), 3 * 5);
}

TEST(MskAccuracy, FindsTheCarrierWithinThreeInAThousand)
{
    expect_bars(measure_msk_carrier(), 3 * 8);
}

TEST(MskAccuracy, FindsAWordAtEveryCarrierPhase)
{
    for (const msk_shape_t& shape : msk_shapes)
    {
        for (int step = 0; step < 16; step += small_grids ? 5 : 1)
        {
            signal_setting_t setting = make_msk_setting(shape, interval, 51);
            setting.carrier_phase = step * pi / 8.0;
            setting.timing_symbols = step / 16.0;
            setting.snr_db = 25.0;
            setting.sync_position = 300;
            analysis_setting_t analysis = make_msk_analysis(setting, 512, 4);
            for (const char bit : std::string("1101001110100010110111000101"))
            {
                setting.sync_symbols.push_back(bit == '1' ? 1 : 0);
                analysis.sync_bits += bit;
            }
            const signal_t signal = make_signal(setting);
            analysis.search_length = 1.1e-3;
            const analysis_result_t result = analyse(signal.samples, analysis);
            SCOPED_TRACE(testing::Message() << shape.name << ", phase " << step << " / 8 pi");
            ASSERT_TRUE(result.locked());
            EXPECT_TRUE(result.sync_found);
            ASSERT_EQ(result.decoded.size(), 512u);
            EXPECT_EQ(result.decoded, std::vector<std::uint32_t>(signal.symbols.begin() + 300, signal.symbols.begin() + 812));
        }
    }
}

TEST(MskAccuracy, KeepsEveryRecordWhoseSamplesAreInTheNoise)
{
    // Single samples stand 1 dB above the noise. Without a clock from means over a bit some records of BT 0.3 would be lost, and
    // without a turn of the whole record one in nine would read high.
    constexpr double noise = 0.8; // of a sample, over the signal
    const double evm = 100.0 * std::sqrt(2.0 - 2.0 / std::sqrt(1.0 + noise));
    for (const msk_shape_t& shape : msk_shapes)
    {
        for (std::uint64_t seed = 1; seed <= (small_grids ? 15 : 60); ++seed)
        {
            signal_setting_t setting = make_msk_setting(shape, 400, seed);
            setting.timing_symbols = std::fmod(0.237 * static_cast<double>(seed), 1.0);
            setting.carrier_phase = 0.7 * static_cast<double>(seed);
            setting.carrier_offset_hz = -1500.0;
            setting.snr_db = 10.0;
            const msk_run_t run(setting, make_msk_analysis(setting, 400, 8));
            SCOPED_TRACE(testing::Message() << shape.name << ", seed " << seed);
            ASSERT_TRUE(run.result.locked());
            EXPECT_LE(run.match.differing, 2u); // a wrong pulse is two wrong bits
            EXPECT_LE(run.get_evm(), 1.06 * evm);
        }
    }
}

TEST(MskAccuracy, TimesGaussianBitsWhoseDataHideTheClock)
{
    // At BT 0.3 the data of one block of 64 bits in a thousand all but cancel the line at the bit rate.
    for (std::uint64_t seed = 1; seed <= (small_grids ? 12 : 60); ++seed)
    {
        signal_setting_t setting = make_msk_setting(msk_shapes[2], interval, seed);
        setting.timing_symbols = std::fmod(0.0617 * static_cast<double>(seed), 1.0);
        const msk_bare_run_t bare(setting, make_msk_analysis(setting, interval, 8));
        EXPECT_TRUE(bare.match.found) << "seed " << seed;
        EXPECT_LE(bare.evm, 0.4) << "seed " << seed;
    }
}

TEST(MskAccuracy, ShowsWhatTheBandwidthCutsOff)
{
    // MSK falls off slowly: a share of 2.6e-4 of its power lies more than two symbol rates from the carrier. 0.15: the ripple of
    // the filter in front, and the true form of its slope.
    struct
    {
        double symbol_rate;
        double bandwidth;
        double slope[2]; // of the sample rate
    } const cases[] = {
        { 5.0e6, 20.0e6, { 0.25, 0.3 } },
        { 5.0e6, 24.0e6, { 0.3, 0.35 } },
        { 1.0e6, 4.0e6, { 0.25, 0.3 } },
    };
    for (const auto& band : cases)
    {
        signal_setting_t setting = make_msk_setting(msk_shapes[0], interval, 61);
        setting.symbol_rate = band.symbol_rate;
        setting.sample_rate = 8.0 * band.symbol_rate;
        setting.timing_symbols = 0.5;
        analysis_setting_t analysis = make_msk_analysis(setting, interval, 8);
        analysis.bandwidth = static_cast<std::uint64_t>(band.bandwidth);
        const msk_run_t run(setting, analysis);
        SCOPED_TRACE(testing::Message() << "symbol rate " << band.symbol_rate << ", bandwidth " << band.bandwidth);
        ASSERT_TRUE(run.result.locked());
        EXPECT_TRUE(run.match.found);
        const double predicted = predict_band_limit(run.signal, 4, band.slope[0], band.slope[1]);
        EXPECT_NEAR(run.get_evm(), predicted, 0.15) << "edges " << band.slope[0] << " to " << band.slope[1];
    }
}

TEST(MskAccuracy, ReadsTheSameAtEverySymbolRate)
{
    // The spectrum of MSK falls with the fourth power: 1 / (48 pi^2 f^3) of its power lies more than f symbol rates from the
    // carrier. At five samples a symbol the filter in front cuts off what lies beyond 2.25, 1.4 % of the amplitude, and what
    // lies beyond 2.5 has folded back in the capture already.
    double evm[2] = {};
    int k = 0;
    for (const double symbol_rate : { 1.0e6, 5.0e6 })
    {
        signal_setting_t setting = make_msk_setting(msk_shapes[0], interval, 62);
        setting.symbol_rate = symbol_rate;
        setting.sample_rate = 5.0 * symbol_rate;
        setting.timing_symbols = 0.3;
        const msk_run_t run(setting, make_msk_analysis(setting, interval, 8));
        ASSERT_TRUE(run.result.locked());
        EXPECT_TRUE(run.match.found);
        evm[k++] = run.get_evm();
    }
    EXPECT_NEAR(evm[0], evm[1], 0.01);
    const double lost = 100.0 * std::sqrt(1.0 / (48.0 * pi * pi * std::pow(2.25, 3.0)));
    EXPECT_GE(evm[0], 0.7 * lost);
    EXPECT_LE(evm[0], 1.4 * lost);
}
