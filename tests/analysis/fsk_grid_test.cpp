// FSK over tones, pulses and deviations, against what the generator put into the signal.

#include "fsk_run.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <gtest/gtest.h>
#include <numbers>
#include <string>
#include <vector>

using namespace dma_test;
using namespace vrim::dma_demod_lib;

namespace
{
struct fsk_point_t
{
    signal_format_t format;
    signal_pulse_t pulse;
    double shape;
    double index; ///< distance of neighbouring tones, symbol rates
    std::uint32_t sps;
};

std::vector<fsk_point_t> make_grid()
{
    struct deviation_t
    {
        signal_format_t format;
        double index;
        std::uint32_t sps;
    };
    // Up to where the overshooting tones of shaped pulses stay within 0.45 of the sample rate.
    const std::vector<deviation_t> deviations = {
        { signal_format_t::fsk2, 0.3, 8 },   { signal_format_t::fsk2, 0.5, 8 },  { signal_format_t::fsk2, 1.0, 8 },
        { signal_format_t::fsk2, 2.0, 8 },   { signal_format_t::fsk4, 0.3, 8 },  { signal_format_t::fsk4, 1.0, 8 },
        { signal_format_t::fsk4, 2.0, 16 },  { signal_format_t::fsk8, 0.3, 8 },  { signal_format_t::fsk8, 1.0, 16 },
        { signal_format_t::fsk16, 0.5, 16 }, { signal_format_t::fsk32, 0.25, 16 },
    };
    std::vector<fsk_point_t> grid;
    for (const auto& [format, index, sps] : deviations)
    {
        for (const auto& [pulse, shape] : { std::pair{ signal_pulse_t::root_raised_cosine, 0.5 },
                                            std::pair{ signal_pulse_t::raised_cosine, 0.5 },
                                            std::pair{ signal_pulse_t::gaussian, 0.5 },
                                            std::pair{ signal_pulse_t::rectangular, 0.5 } })
        {
            // Overlapping neighbours move a tone by more than half the way to the next one of 16.
            if (pulse != signal_pulse_t::gaussian || get_order(format) <= 8)
                grid.push_back({ format, pulse, shape, index, sps });
        }
    }
    return grid;
}

std::string print_name(const fsk_point_t& point)
{
    return std::to_string(get_order(point.format)) + "_tones_" + get_pulse_name(point.pulse) + "_index" +
           std::to_string(std::lround(100.0 * point.index));
}

class FskGrid : public testing::TestWithParam<fsk_point_t>
{
};

TEST_P(FskGrid, DecodesAndMeasures)
{
    const fsk_point_t& point = GetParam();
    signal_setting_t setting = make_fsk_signal(point.format, point.pulse, point.shape, point.sps);
    setting.deviation_hz = 0.5 * point.index * (get_order(point.format) - 1.0) * fsk_symbol_rate;
    setting.carrier_offset_hz = 12345.0;
    const fsk_run_t run(setting);
    ASSERT_EQ(run.result.code, LIB_DMA_RESULT_OK);
    ASSERT_EQ(run.result.decoded.size(), fsk_interval);
    EXPECT_EQ(run.count_wrong(), 0u);

    // The filter in front and the timing filter ring at the jumps of rectangular tones.
    const bool smooth = point.pulse != signal_pulse_t::rectangular;
    const double deviation = setting.deviation_hz;
    const fsk_truth_t truth = cal_fsk_truth(setting, run.signal);
    const auto to_hz = [&](double frequency) { return setting.carrier_offset_hz + frequency * deviation; };
    // The clock takes its own data for noise, the more so the more levels there are.
    EXPECT_LE(run.get_evm(), smooth && get_order(point.format) <= 4 ? 0.6 : 1.5);
    EXPECT_NEAR(run.result.summary.fsk_deviation, truth.deviation * deviation, (smooth ? 2e-4 : 0.02) * deviation);
    EXPECT_NEAR(static_cast<double>(run.result.table.frequency_error), to_hz(truth.carrier),
                20.0 + (smooth ? 1e-4 : 1e-3) * deviation);
    EXPECT_NEAR(run.result.summary.fsk_deviation_max, to_hz(truth.highest), (smooth ? 1e-3 : 0.04) * deviation);
    EXPECT_NEAR(run.result.summary.fsk_deviation_min, to_hz(truth.lowest), (smooth ? 1e-3 : 0.04) * deviation);
}

INSTANTIATE_TEST_SUITE_P(All, FskGrid, testing::ValuesIn(make_grid()),
                         [](const auto& point) { return print_name(point.param); });

signal_setting_t make_64_tones(signal_pulse_t pulse)
{
    signal_setting_t setting = make_fsk_signal(signal_format_t::fsk64, pulse, 0.5, 16);
    setting.deviation_hz = 0.5 * 0.1 * 63.0 * fsk_symbol_rate;
    return setting;
}

// Of 1,104 symbols that count 17 stand at either outer tone, and one more of one of them moves the carrier by most of the way to
// the next tone.
TEST(FskOf64Tones, DecodesWhenTheOuterTonesAreEquallyFrequent)
{
    for (const signal_pulse_t pulse : { signal_pulse_t::root_raised_cosine, signal_pulse_t::raised_cosine })
    {
        const signal_setting_t setting = make_64_tones(pulse);
        const signal_t signal = make_signal(setting);
        // From symbol 14 on: behind the 50 that do not count, whole runs in which each tone is equally frequent.
        constexpr std::uint32_t first = 14;
        constexpr std::uint32_t run_in = 180;
        analysis_setting_t analysis = make_fsk_analysis(setting);
        analysis.meas_interval = 17 * 64 + 2 * 50 - run_in;
        const vrim::complex_array capture(signal.samples.begin() + first * 16, signal.samples.end());
        const analysis_result_t result = analyse(capture, analysis);
        ASSERT_EQ(result.code, LIB_DMA_RESULT_OK);
        EXPECT_TRUE(match_decoded(setting.format, result.decoded, signal.symbols, 80 + first, 100 + first).found);
        EXPECT_NEAR(static_cast<double>(result.table.frequency_error), 0.0, 20.0 + 1e-3 * setting.deviation_hz);
        EXPECT_LE(result.summary.evm_rms, 0.6f);
    }
}

TEST(FskOf64Tones, FollowsTheSurplusOfOneOuterTone)
{
    const signal_setting_t setting = make_64_tones(signal_pulse_t::root_raised_cosine);
    const fsk_run_t run(setting);
    ASSERT_EQ(run.result.code, LIB_DMA_RESULT_OK);
    const fsk_truth_t truth = cal_fsk_truth(setting, run.signal);
    ASSERT_GT(std::abs(truth.carrier), 1.0 / 63.0) << "half the way to the next tone";
    EXPECT_NEAR(static_cast<double>(run.result.table.frequency_error), truth.carrier * setting.deviation_hz,
                1e-3 * setting.deviation_hz);
    EXPECT_GT(run.count_wrong(), fsk_interval / 2);
}

// A slow hum of the transmitter's frequency is an error of each symbol that can be told beforehand.
TEST(FskTrace, HoldsTheFrequencyErrorOfEverySymbol)
{
    constexpr double hum_rate_hz = fsk_symbol_rate / 50.0;
    constexpr double share = 0.05; // of the deviation
    for (const auto& [format, pulse] : { std::pair{ signal_format_t::fsk2, signal_pulse_t::root_raised_cosine },
                                         std::pair{ signal_format_t::fsk4, signal_pulse_t::root_raised_cosine },
                                         std::pair{ signal_format_t::fsk2, signal_pulse_t::raised_cosine },
                                         std::pair{ signal_format_t::fsk2, signal_pulse_t::gaussian } })
    {
        const signal_setting_t setting = make_fsk_signal(format, pulse, 0.5);
        signal_t signal = make_signal(setting);
        const double hum_hz = share * setting.deviation_hz;
        const double turn = 2.0 * std::numbers::pi * hum_rate_hz;
        for (std::size_t n = 0; n < signal.samples.size(); ++n)
        {
            const double phase = hum_hz / hum_rate_hz * std::sin(turn * static_cast<double>(n) / setting.sample_rate);
            signal.samples[n] = std::complex<float>(std::complex<double>(signal.samples[n]) * std::polar(1.0, phase));
        }
        lib_dma_phy_t analyser;
        const analysis_result_t result = analyse(analyser, signal.samples, make_fsk_analysis(setting));
        SCOPED_TRACE(testing::Message() << get_order(format) << " tones, " << get_pulse_name(pulse));
        ASSERT_EQ(result.code, LIB_DMA_RESULT_OK);
        const decode_match_t match = match_decoded(format, result.decoded, signal.symbols, 80, 100);
        ASSERT_TRUE(match.found);

        const vrim::complex_array& errors = analyser.get_data_manager().get_error_vector(0);
        const std::size_t points = make_fsk_analysis(setting).points_per_symbol;
        ASSERT_EQ(errors.size(), fsk_interval * points);
        double worst = 0.0;
        for (std::size_t k = 0; k < fsk_interval; ++k)
        {
            const double time = (static_cast<double>(match.lag) + static_cast<double>(k) + setting.timing_symbols) /
                                setting.symbol_rate;
            // From the measurement to the reference.
            worst = std::max(worst, std::abs(static_cast<double>(errors[k * points].real()) + share * std::cos(turn * time)));
        }
        EXPECT_LE(worst, 0.01);
        EXPECT_NEAR(static_cast<double>(result.summary.evm_rms), 100.0 * share / std::sqrt(2.0), 0.1);
        const fsk_truth_t truth = cal_fsk_truth(setting, signal);
        const double deviation = setting.deviation_hz;
        EXPECT_NEAR(result.summary.fsk_deviation_max, (truth.highest + share) * deviation, 0.01 * deviation);
        EXPECT_NEAR(result.summary.fsk_deviation_min, (truth.lowest - share) * deviation, 0.01 * deviation);
    }
}
} // namespace
