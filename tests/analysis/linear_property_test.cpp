#include "accuracy_run.h"
#include "analysis_runner.h"
#include "timing_prediction.h"

#include <cmath>
#include <complex>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <ostream>
#include <string>

using namespace dma_test;

namespace
{
signal_setting_t make_signal_setting(signal_format_t format, std::uint64_t seed)
{
    signal_setting_t setting;
    setting.format = format;
    setting.shape = 0.5;
    setting.symbol_count = 1200;
    setting.half_span_symbols = 80;
    setting.seed = seed;
    setting.carrier_offset_hz = 1500.0;
    setting.carrier_phase = 0.9;
    setting.timing_symbols = 0.31;
    return setting;
}

analysis_setting_t make_analysis_setting(signal_format_t format)
{
    analysis_setting_t setting;
    setting.format = format;
    setting.alpha = 0.5;
    return setting;
}

class LinearProperty : public testing::TestWithParam<signal_format_t>
{
};

TEST_P(LinearProperty, AGainOfTheCaptureLeavesEveryRelativeFigure)
{
    signal_setting_t signal = make_signal_setting(GetParam(), 41);
    signal.snr_db = 35.0;
    const vrim::complex_array capture = make_signal(signal).samples;
    const analysis_result_t plain = analyse(capture, make_analysis_setting(GetParam()));
    ASSERT_TRUE(plain.locked());
    for (const float gain : { 3.0e-4f, 2500.0f })
    {
        vrim::complex_array scaled = capture;
        for (std::complex<float>& sample : scaled)
            sample *= gain;
        const analysis_result_t result = analyse(scaled, make_analysis_setting(GetParam()));
        ASSERT_TRUE(result.locked()) << gain;
        // Rounding of single precision, and the 1e-11 that is added to every sample.
        EXPECT_NEAR(result.summary.evm_rms, plain.summary.evm_rms, 2e-3f) << gain;
        EXPECT_NEAR(result.summary.snr, plain.summary.snr, 1e-2f) << gain;
        EXPECT_NEAR(result.table.frequency_error, plain.table.frequency_error, 0.05f) << gain;
        EXPECT_NEAR(result.summary.depth, plain.summary.depth, 1e-4f) << gain;
        EXPECT_NEAR(result.summary.apsk_r2_ratio, plain.summary.apsk_r2_ratio, 1e-3) << gain;
        EXPECT_EQ(result.decoded, plain.decoded) << gain;
    }
}

TEST_P(LinearProperty, ARunOfAnotherGroupInBetweenLeavesNoTrace)
{
    signal_setting_t signal = make_signal_setting(GetParam(), 44);
    signal.snr_db = 35.0;
    const vrim::complex_array capture = make_signal(signal).samples;
    const vrim::complex_array other = make_signal(make_signal_setting(signal_format_t::psk8, 45)).samples;
    vrim::dma_demod_lib::lib_dma_phy_t analyser;
    const analysis_result_t first = analyse(analyser, capture, make_analysis_setting(GetParam()));
    ASSERT_TRUE(first.locked());
    ASSERT_TRUE(analyse(analyser, other, make_analysis_setting(signal_format_t::psk8)).locked());
    const analysis_result_t again = analyse(analyser, capture, make_analysis_setting(GetParam()));
    ASSERT_EQ(again.meas_symbols.size(), first.meas_symbols.size());
    EXPECT_EQ(std::memcmp(again.meas_symbols.data(), first.meas_symbols.data(), first.meas_symbols.size() * 8), 0);
    EXPECT_EQ(again.decoded, first.decoded);
    EXPECT_EQ(again.summary.evm_rms, first.summary.evm_rms);
    EXPECT_EQ(again.table.frequency_error, first.table.frequency_error);
}

TEST_P(LinearProperty, RatesWithoutACommonMeasureAreConverted)
{
    for (const double sample_rate : { 5.0e6, 3.7e6 })
    {
        signal_setting_t setting = make_signal_setting(GetParam(), 21);
        setting.sample_rate = sample_rate;
        analysis_setting_t analysis = make_analysis_setting(GetParam());
        analysis.sample_rate = sample_rate;
        const signal_t signal = make_signal(setting);
        const analysis_result_t result = analyse(signal.samples, analysis);
        ASSERT_TRUE(result.locked()) << sample_rate;
        EXPECT_TRUE(match_decoded(GetParam(), result.decoded, signal.symbols, 88, 92).found) << sample_rate;
        // As with PSK, the conversion at non-integer ratios adds up to 0.11.
        EXPECT_NEAR(static_cast<double>(result.summary.evm_rms), predict_timing(setting, 8, 1000).evm, 0.11) << sample_rate;
        EXPECT_NEAR(static_cast<double>(result.table.frequency_error), setting.carrier_offset_hz, 0.5) << sample_rate;
    }
}

INSTANTIATE_TEST_SUITE_P(Some, LinearProperty,
                         testing::Values(signal_format_t::qam16, signal_format_t::qam128, signal_format_t::qam16_pi_4,
                                         signal_format_t::qam32_minus_pi_4, signal_format_t::ask4, signal_format_t::apsk16,
                                         signal_format_t::apsk32, signal_format_t::dqpsk_pi_4, signal_format_t::d8psk));

class GainImbalance : public testing::TestWithParam<signal_format_t>
{
};

// Of square QAM the figure is the mean of 20 log10(|I| / |Q|), of which the data have a part of their own. A carrier that locked
// an odd count of quarter turns away reads I for Q.
TEST_P(GainImbalance, IsReadOnTopOfThatOfTheData)
{
    constexpr double set_db = 1.0;
    for (std::uint64_t seed = 61; seed < 65; ++seed)
    {
        signal_setting_t setting = make_signal_setting(GetParam(), seed);
        setting.gain_imbalance_db = set_db;
        const signal_t signal = make_signal(setting);
        const analysis_result_t result = analyse(signal.samples, make_analysis_setting(GetParam()));
        ASSERT_TRUE(result.locked());
        const decode_match_t match = match_decoded(GetParam(), result.decoded, signal.symbols, 85, 95);
        ASSERT_TRUE(match.found);
        double data_db = 0.0;
        for (std::size_t i = 0; i < result.decoded.size(); ++i)
        {
            const std::complex<double> point = signal.points[static_cast<std::size_t>(match.lag) + i];
            data_db += 20.0 * std::log10(std::abs(point.real() / point.imag())) / static_cast<double>(result.decoded.size());
        }
        const double sign = match.rotation % 2 == 0 ? 1.0 : -1.0;
        EXPECT_NEAR(static_cast<double>(result.table.gain_imbalance), sign * (data_db + set_db), 0.02) << "seed " << seed;
    }
}

INSTANTIATE_TEST_SUITE_P(SquareQam, GainImbalance, testing::Values(signal_format_t::qam16, signal_format_t::qam64));

// EVM of a skewed or imbalanced modulator: half the error of the rails, whatever the points.
TEST(LinearImpairment, ASkewAndAnImbalanceComeBackAsTheirEvm)
{
    for (const signal_format_t format : { signal_format_t::qam16, signal_format_t::qam64, signal_format_t::qam32_minus_pi_4,
                                          signal_format_t::apsk16, signal_format_t::dqpsk, signal_format_t::d8psk })
    {
        for (const bool skewed : { true, false })
        {
            signal_setting_t setting = make_signal_setting(format, 71);
            setting.quadrature_skew_deg = skewed ? 2.0 : 0.0;
            setting.gain_imbalance_db = skewed ? 0.0 : 0.5;
            const signal_t signal = make_signal(setting);
            const analysis_result_t result = analyse(signal.samples, make_analysis_setting(format));
            ASSERT_TRUE(result.locked());
            EXPECT_TRUE(match_decoded(format, result.decoded, signal.symbols, 85, 95).found);
            // 2 degrees turn the rails by 1 degree each against the mean; 0.5 dB are 0.25 dB either way.
            const double share = skewed ? std::sin(1.0 * 3.14159265358979 / 180.0) : std::tanh(0.25 * std::log(10.0) / 20.0);
            const double clock = predict_timing(setting, 8, 1000).evm;
            EXPECT_NEAR(static_cast<double>(result.summary.evm_rms), std::hypot(100.0 * share, clock), 0.05)
                << get_signal_format(format).name << (skewed ? " skewed" : " imbalanced");
        }
    }
}

/// A record that the loops of QAM lose, or one so much louder or softer than its set that its rms is no level to decide at.
struct hard_record_t
{
    signal_format_t format;
    double snr_db;
    std::uint64_t seed;
};

void PrintTo(const hard_record_t& record, std::ostream* out)
{
    *out << get_signal_format(record.format).name << " at " << record.snr_db << " dB, seed " << record.seed;
}

class HardRecord : public testing::TestWithParam<hard_record_t>
{
};

TEST_P(HardRecord, IsMeasuredAsAnyOther)
{
    signal_setting_t setting = make_accuracy_run(GetParam().format, 0.5, 1000, GetParam().seed);
    setting.snr_db = GetParam().snr_db;
    const signal_t signal = make_signal(setting);
    const analysis_result_t result = analyse(signal.samples, make_accuracy_analysis(setting));
    // The rms of 1,000 symbols of noise scatters by 2.2 %.
    const double noise = 100.0 * std::pow(10.0, -setting.snr_db / 20.0);
    EXPECT_NEAR(get_evm(result), noise, 0.1 * noise);
    EXPECT_NEAR(get_frequency_deviation(result, setting.carrier_offset_hz), 0.0, 1.5);
    // Half a step is 4.4 standard deviations of the noise or more: one symbol in 40,000 is wrong by rights.
    EXPECT_LE(match_decoded(setting.format, result.decoded, signal.symbols, 80, 120).differing, 1u);
}

const auto print_record = [](const testing::TestParamInfo<hard_record_t>& info)
{ return "Seed" + std::to_string(info.param.seed) + "Of" + std::string(get_signal_format(info.param.format).name); };

INSTANTIATE_TEST_SUITE_P(OfSlippingLoops, HardRecord,
                         testing::Values(hard_record_t{ signal_format_t::qam512, 35.0, 760 },
                                         hard_record_t{ signal_format_t::qam512, 35.0, 3390 },
                                         hard_record_t{ signal_format_t::qam512, 35.0, 5358 },
                                         hard_record_t{ signal_format_t::qam512, 35.0, 6128 },
                                         hard_record_t{ signal_format_t::qam4096, 45.0, 7003 }),
                         print_record);
INSTANTIATE_TEST_SUITE_P(OfUnusualLevel, HardRecord,
                         testing::Values(hard_record_t{ signal_format_t::qam512, 35.0, 1433 },
                                         hard_record_t{ signal_format_t::qam512, 35.0, 1968 },
                                         hard_record_t{ signal_format_t::qam1024, 45.0, 7122 },
                                         hard_record_t{ signal_format_t::qam2048, 45.0, 7188 },
                                         hard_record_t{ signal_format_t::qam4096, 45.0, 7024 },
                                         hard_record_t{ signal_format_t::ask8, 30.0, 245 },
                                         hard_record_t{ signal_format_t::ask16, 40.0, 77 },
                                         hard_record_t{ signal_format_t::ask16, 40.0, 105 }),
                         print_record);
} // namespace
