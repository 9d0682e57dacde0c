#include "analysis_runner.h"
#include "timing_prediction.h"

#include <cctype>
#include <cmath>
#include <gtest/gtest.h>
#include <string>
#include <tuple>

using namespace dma_test;

namespace
{
constexpr double noisy_snr_db = 30.0;
const double noise_evm = 100.0 * std::pow(10.0, -noisy_snr_db / 20.0);

std::string print_name(signal_format_t format)
{
    std::string name;
    for (const char letter : get_signal_format(format).name)
    {
        if (std::isalnum(static_cast<unsigned char>(letter)) != 0)
            name += letter;
    }
    return name;
}

/// Samples per symbol at which the analysis works.
std::uint32_t get_working_sps(std::uint32_t points_per_symbol)
{
    switch (points_per_symbol)
    {
    case 5:
    case 10:
        return 10;
    case 16:
        return 16;
    default:
        return 8;
    }
}

using grid_point_t = std::tuple<signal_format_t, std::uint32_t, double>; // format, points per symbol, roll-off

class PskGrid : public testing::TestWithParam<grid_point_t>
{
protected:
    signal_setting_t make_setting(std::uint64_t seed) const
    {
        signal_setting_t setting;
        setting.format = std::get<0>(GetParam());
        setting.shape = std::get<2>(GetParam());
        setting.symbol_count = 1200;
        setting.half_span_symbols = 80;
        setting.seed = seed;
        return setting;
    }

    /// What holds for every point of the grid.
    analysis_result_t check(const signal_setting_t& signal_setting) const
    {
        const auto& [format, points_per_symbol, alpha] = GetParam();
        analysis_setting_t setting;
        setting.format = format;
        setting.alpha = alpha;
        setting.points_per_symbol = points_per_symbol;
        const signal_t signal = make_signal(signal_setting);
        const analysis_result_t result = analyse(signal.samples, setting);
        EXPECT_TRUE(result.locked()) << "seed " << signal_setting.seed;
        EXPECT_EQ(result.meas_symbols.size(), setting.meas_interval);
        EXPECT_EQ(result.ref_symbols.size(), setting.meas_interval);
        EXPECT_EQ(result.summary.meas_data.size(), std::size_t{ setting.meas_interval } * points_per_symbol);
        EXPECT_EQ(result.decoded.size(), setting.meas_interval);
        // 90 symbols of run-in; a window that starts between two symbols takes the earlier one.
        const decode_match_t match = match_decoded(format, result.decoded, signal.symbols, 85, 95);
        EXPECT_TRUE(match.found) << match.differing << " symbols differ, seed " << signal_setting.seed;
        EXPECT_NEAR(static_cast<double>(match.lag) + signal_setting.timing_symbols, 90.0, 1.0);
        return result;
    }
};

TEST_P(PskGrid, MeasuresACleanSignal)
{
    const signal_setting_t setting = make_setting(11);
    const analysis_result_t result = check(setting);
    // Filters of 64 symbols leave up to 0.03 at roll-off 0.22, a rate conversion 0.05.
    const double predicted = predict_timing(setting, get_working_sps(std::get<1>(GetParam())), 1000).evm;
    EXPECT_NEAR(static_cast<double>(result.summary.evm_rms), predicted, 0.07);
    EXPECT_LE(result.summary.evm_rms, 0.6f);
    EXPECT_NEAR(static_cast<double>(result.table.frequency_error), 0.0, 0.5);
}

TEST_P(PskGrid, MeasuresASignalWithOffsetsAndNoise)
{
    signal_setting_t setting = make_setting(12);
    setting.carrier_offset_hz = -2876.5;
    setting.carrier_phase = 2.1;
    setting.timing_symbols = 0.37;
    setting.gain = 0.05;
    setting.snr_db = noisy_snr_db;
    const analysis_result_t result = check(setting);
    const double predicted = predict_timing(setting, get_working_sps(std::get<1>(GetParam())), 1000).evm;
    // The rms of 1,000 noisy symbols has a standard deviation of 3.16 / sqrt(2000) = 0.07; four of them.
    EXPECT_NEAR(static_cast<double>(result.summary.evm_rms), std::hypot(noise_evm, predicted), 0.28);
    EXPECT_NEAR(static_cast<double>(result.summary.snr), noisy_snr_db, 0.8);
    EXPECT_NEAR(static_cast<double>(result.table.frequency_error), setting.carrier_offset_hz, 1.5);
    // rho^2 is about 1 / (1 + 1 / SNR).
    EXPECT_NEAR(static_cast<double>(result.table.rho), 1.0 / std::sqrt(1.001), 1e-4);
}

const auto all_formats = testing::Values(signal_format_t::bpsk, signal_format_t::qpsk, signal_format_t::psk8,
                                         signal_format_t::qpsk_3pi_4, signal_format_t::psk8_3pi_8);

INSTANTIATE_TEST_SUITE_P(All, PskGrid,
                         testing::Combine(all_formats, testing::Values(1u, 2u, 4u, 5u, 8u, 10u, 16u),
                                          testing::Values(0.22, 0.35, 0.5)),
                         [](const auto& point)
                         {
                             return print_name(std::get<0>(point.param)) + "_" + std::to_string(std::get<1>(point.param)) +
                                    "points_alpha" + std::to_string(std::lround(100.0 * std::get<2>(point.param)));
                         });

struct rate_t
{
    std::uint64_t symbol_rate;
    double sample_rate;
};

class PskRate : public testing::TestWithParam<std::tuple<signal_format_t, rate_t>>
{
};

TEST_P(PskRate, DecodesAndMeasuresAtThisRatio)
{
    const auto& [format, rate] = GetParam();
    signal_setting_t signal_setting;
    signal_setting.format = format;
    signal_setting.symbol_count = 1200;
    signal_setting.half_span_symbols = 80;
    signal_setting.symbol_rate = static_cast<double>(rate.symbol_rate);
    signal_setting.sample_rate = rate.sample_rate;
    signal_setting.timing_symbols = 0.2;
    signal_setting.carrier_phase = -1.0;
    signal_setting.carrier_offset_hz = 0.0007 * signal_setting.symbol_rate;
    signal_setting.seed = 21;
    analysis_setting_t setting;
    setting.format = format;
    setting.symbol_rate = rate.symbol_rate;
    setting.sample_rate = rate.sample_rate;
    setting.bandwidth = 10'000'000'000; // above every rate: the signal is not cut
    setting.search_length = 100.0 / signal_setting.symbol_rate; // the default is longer than a short record of a fast signal
    const signal_t signal = make_signal(signal_setting);
    const analysis_result_t result = analyse(signal.samples, setting);
    ASSERT_TRUE(result.locked());
    EXPECT_TRUE(match_decoded(format, result.decoded, signal.symbols, 88, 92).found);
    // As in the grid; the conversion at non-integer ratios adds up to 0.11.
    EXPECT_NEAR(static_cast<double>(result.summary.evm_rms), predict_timing(signal_setting, 8, 1000).evm, 0.11);
    EXPECT_NEAR(static_cast<double>(result.table.frequency_error), signal_setting.carrier_offset_hz,
                0.5e-6 * signal_setting.symbol_rate);
}

// 2.5, 3.7, 5, 22.3 and 2.96 samples per symbol; integer ratios on either side of the working rate; the working rate itself.
INSTANTIATE_TEST_SUITE_P(All, PskRate,
                         testing::Combine(all_formats, testing::Values(rate_t{ 1'000'000, 2.0e6 }, rate_t{ 1'000'000, 2.5e6 },
                                                                       rate_t{ 1'000'000, 3.7e6 }, rate_t{ 1'000'000, 5.0e6 },
                                                                       rate_t{ 1'000'000, 8.0e6 }, rate_t{ 1'000'000, 16.0e6 },
                                                                       rate_t{ 1'000'000, 22.3e6 }, rate_t{ 270'000, 800'000.0 },
                                                                       rate_t{ 30'720'000, 122.88e6 })),
                         [](const auto& point)
                         {
                             const rate_t rate = std::get<1>(point.param);
                             return print_name(std::get<0>(point.param)) + "_" + std::to_string(rate.symbol_rate) + "_of_" +
                                    std::to_string(std::lround(rate.sample_rate));
                         });

// 180 symbols of run-in at 42,500 symbols per second come out of the binary division as a hair less, and half of them as 89.
TEST(PskWindow, StartsOneSymbolEarlyForSomeSymbolRates)
{
    for (const auto& [symbol_rate, first] : { std::pair{ 42'500u, 89 }, std::pair{ 37'500u, 89 }, std::pair{ 40'000u, 90 } })
    {
        signal_setting_t signal_setting;
        signal_setting.symbol_rate = symbol_rate;
        signal_setting.sample_rate = 4.0 * symbol_rate;
        signal_setting.symbol_count = 500;
        signal_setting.seed = 31;
        analysis_setting_t setting;
        setting.symbol_rate = symbol_rate;
        setting.sample_rate = signal_setting.sample_rate;
        setting.meas_interval = 300;
        const signal_t signal = make_signal(signal_setting);
        const analysis_result_t result = analyse(signal.samples, setting);
        ASSERT_TRUE(result.locked());
        const decode_match_t match = match_decoded(signal_setting.format, result.decoded, signal.symbols, 85, 95);
        EXPECT_TRUE(match.found);
        EXPECT_EQ(match.lag, first) << symbol_rate;
    }
}
} // namespace
