#include "analysis_runner.h"
#include "message_capture.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstring>
#include <gtest/gtest.h>
#include <numbers>

using namespace dma_test;
using namespace vrim::dma_demod_lib;

namespace
{
constexpr double pi = std::numbers::pi;

signal_setting_t make_impaired(signal_format_t format, std::uint64_t seed)
{
    signal_setting_t setting;
    setting.format = format;
    setting.symbol_count = 1200;
    setting.half_span_symbols = 80;
    setting.seed = seed;
    setting.carrier_offset_hz = 1500.0;
    setting.carrier_phase = 0.9;
    setting.timing_symbols = 0.31;
    setting.snr_db = 30.0;
    return setting;
}

analysis_setting_t make_analysis(signal_format_t format)
{
    analysis_setting_t setting;
    setting.format = format;
    return setting;
}

template <typename value_t>
bool has_same_bits(const std::vector<value_t>& a, const std::vector<value_t>& b)
{
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(value_t)) == 0;
}

/// Everything that an analysis of PSK writes is the same to the last bit.
void expect_same_bits(const analysis_result_t& a, const analysis_result_t& b)
{
    EXPECT_EQ(a.code, b.code);
    EXPECT_TRUE(has_same_bits(a.summary.meas_data, b.summary.meas_data));
    EXPECT_TRUE(has_same_bits(a.summary.ref_data, b.summary.ref_data));
    EXPECT_TRUE(has_same_bits(a.summary.evm_trace, b.summary.evm_trace));
    EXPECT_TRUE(has_same_bits(a.summary.mag_err_trace, b.summary.mag_err_trace));
    EXPECT_TRUE(has_same_bits(a.summary.phase_err_trace, b.summary.phase_err_trace));
    EXPECT_TRUE(has_same_bits(a.meas_symbols, b.meas_symbols));
    EXPECT_TRUE(has_same_bits(a.ref_symbols, b.ref_symbols));
    EXPECT_TRUE(has_same_bits(a.decoded, b.decoded));
    EXPECT_TRUE(has_same_bits(float_array{ a.summary.evm_rms, a.summary.evm_max, a.summary.evm_min, a.summary.mag_err_rms,
                                           a.summary.phase_err_rms, a.summary.snr, a.table.frequency_error, a.table.iq_offset,
                                           a.table.gain_imbalance, a.table.quad_error, a.table.rho },
                              float_array{ b.summary.evm_rms, b.summary.evm_max, b.summary.evm_min, b.summary.mag_err_rms,
                                           b.summary.phase_err_rms, b.summary.snr, b.table.frequency_error, b.table.iq_offset,
                                           b.table.gain_imbalance, b.table.quad_error, b.table.rho }));
    EXPECT_EQ(a.result_start, b.result_start);
}

class PskProperty : public testing::TestWithParam<signal_format_t>
{
};

TEST_P(PskProperty, AGainOfTheCaptureLeavesEveryRelativeFigure)
{
    const vrim::complex_array capture = make_signal(make_impaired(GetParam(), 41)).samples;
    const analysis_result_t plain = analyse(capture, make_analysis(GetParam()));
    ASSERT_TRUE(plain.locked());
    for (const float gain : { 3.0e-4f, 0.37f, 2500.0f })
    {
        vrim::complex_array scaled = capture;
        for (std::complex<float>& sample : scaled)
            sample *= gain;
        const analysis_result_t result = analyse(scaled, make_analysis(GetParam()));
        ASSERT_TRUE(result.locked()) << gain;
        // Rounding of single precision, and the 1e-11 that is added to every sample.
        EXPECT_NEAR(result.summary.evm_rms, plain.summary.evm_rms, 2e-3f) << gain;
        EXPECT_NEAR(result.summary.evm_max, plain.summary.evm_max, 1e-2f) << gain;
        EXPECT_NEAR(result.summary.mag_err_rms, plain.summary.mag_err_rms, 2e-3f) << gain;
        EXPECT_NEAR(result.summary.phase_err_rms, plain.summary.phase_err_rms, 2e-3f) << gain;
        EXPECT_NEAR(result.summary.snr, plain.summary.snr, 5e-3f) << gain;
        EXPECT_NEAR(result.table.frequency_error, plain.table.frequency_error, 0.02f) << gain;
        EXPECT_NEAR(result.table.rho, plain.table.rho, 1e-5f) << gain;
        EXPECT_EQ(result.decoded, plain.decoded) << gain;
    }
}

TEST_P(PskProperty, BothNormalisationsGiveTheSameFigures)
{
    const vrim::complex_array capture = make_signal(make_impaired(GetParam(), 42)).samples;
    analysis_setting_t setting = make_analysis(GetParam());
    const analysis_result_t rms = analyse(capture, setting);
    setting.normalization = LIB_DMA_EVM_NORMALIZE_CONSTELLATION_MAX;
    const analysis_result_t max = analyse(capture, setting);
    ASSERT_TRUE(rms.locked() && max.locked());
    // All points of the reference have one amplitude, up to 0.1 % that the truncated pulse leaves.
    EXPECT_NEAR(max.summary.evm_rms, rms.summary.evm_rms, 0.002f * rms.summary.evm_rms);
    EXPECT_NEAR(max.summary.mag_err_rms, rms.summary.mag_err_rms, 0.002f * rms.summary.mag_err_rms);
    EXPECT_NEAR(max.summary.phase_err_rms, rms.summary.phase_err_rms, 0.002f * rms.summary.phase_err_rms);
    EXPECT_EQ(max.summary.snr, rms.summary.snr);
}

TEST_P(PskProperty, AnIqRotationTurnsTheConstellationAndLeavesTheErrors)
{
    const vrim::complex_array capture = make_signal(make_impaired(GetParam(), 43)).samples;
    analysis_setting_t setting = make_analysis(GetParam());
    const analysis_result_t plain = analyse(capture, setting);
    setting.iq_rotation = 30.0f;
    const analysis_result_t turned = analyse(capture, setting);
    ASSERT_TRUE(plain.locked() && turned.locked());
    EXPECT_NEAR(turned.summary.evm_rms, plain.summary.evm_rms, 1e-3f);
    EXPECT_NEAR(turned.summary.phase_err_rms, plain.summary.phase_err_rms, 1e-3f);
    EXPECT_NEAR(turned.summary.snr, plain.summary.snr, 2e-3f);
    EXPECT_EQ(turned.decoded, plain.decoded);
    ASSERT_EQ(turned.meas_symbols.size(), plain.meas_symbols.size());
    for (std::size_t i = 0; i < plain.meas_symbols.size(); i += 97)
    {
        const double turn = std::arg(std::complex<double>(turned.meas_symbols[i]) / std::complex<double>(plain.meas_symbols[i]));
        EXPECT_NEAR(turn, pi / 6.0, 1e-4) << "symbol " << i;
    }
}

TEST_P(PskProperty, TwoRunsAndTwoAnalysersGiveTheSameBits)
{
    const vrim::complex_array capture = make_signal(make_impaired(GetParam(), 44)).samples;
    const vrim::complex_array other = make_signal(make_impaired(signal_format_t::psk8, 45)).samples;
    const analysis_setting_t setting = make_analysis(GetParam());
    lib_dma_phy_t analyser;
    const analysis_result_t first = analyse(analyser, capture, setting);
    ASSERT_TRUE(first.locked());
    // A run of something else in between leaves no trace.
    analysis_setting_t other_setting = make_analysis(signal_format_t::psk8);
    other_setting.meas_interval = 600;
    other_setting.points_per_symbol = 5;
    ASSERT_TRUE(analyse(analyser, other, other_setting).locked());
    expect_same_bits(first, analyse(analyser, capture, setting));
    expect_same_bits(first, analyse(capture, setting));
}

INSTANTIATE_TEST_SUITE_P(All, PskProperty,
                         testing::Values(signal_format_t::bpsk, signal_format_t::qpsk, signal_format_t::psk8,
                                         signal_format_t::qpsk_3pi_4, signal_format_t::psk8_3pi_8),
                         [](const auto& format)
                         { return "Format" + std::to_string(static_cast<std::uint32_t>(get_psk_format(format.param))); });

TEST(PskProperty, AQuarterTurnOfTheCaptureLeavesTheErrorsOfQpsk)
{
    const signal_t signal = make_signal(make_impaired(signal_format_t::qpsk, 46));
    const analysis_setting_t setting = make_analysis(signal_format_t::qpsk);
    const analysis_result_t plain = analyse(signal.samples, setting);
    ASSERT_TRUE(plain.locked());
    vrim::complex_array turned = signal.samples;
    for (std::uint32_t quarter = 1; quarter < 4; ++quarter)
    {
        for (std::complex<float>& sample : turned)
            sample = { -sample.imag(), sample.real() };
        const analysis_result_t result = analyse(turned, setting);
        ASSERT_TRUE(result.locked());
        EXPECT_NEAR(result.summary.evm_rms, plain.summary.evm_rms, 2e-3f);
        EXPECT_NEAR(result.summary.snr, plain.summary.snr, 5e-3f);
        EXPECT_NEAR(result.table.frequency_error, plain.table.frequency_error, 0.02f);
        EXPECT_TRUE(match_decoded(signal_format_t::qpsk, result.decoded, signal.symbols, 85, 95).found);
    }
}

TEST(PskProperty, AMirroredCaptureReadsWhatTheInversionUndoes)
{
    // The inversion puts a tone one bin below its mirror image.
    signal_setting_t signal_setting = make_impaired(signal_format_t::qpsk, 47);
    signal_setting.snr_db = std::numeric_limits<double>::infinity();
    vrim::complex_array capture = make_signal(signal_setting).samples;
    analysis_setting_t setting = make_analysis(signal_format_t::qpsk);
    const analysis_result_t plain = analyse(capture, setting);
    const double bin = setting.sample_rate / static_cast<double>(capture.size());
    for (std::complex<float>& sample : capture)
        sample = std::conj(sample);
    setting.inverted = true;
    const analysis_result_t inverted = analyse(capture, setting);
    ASSERT_TRUE(plain.locked() && inverted.locked());
    EXPECT_NEAR(static_cast<double>(inverted.table.frequency_error), signal_setting.carrier_offset_hz - bin, 0.5);
    EXPECT_NEAR(inverted.summary.evm_rms, plain.summary.evm_rms, 0.05f);
}

TEST(PskProperty, AnInvertedSpectrumReadsTheMirroredFrequencyOneBinLow)
{
    signal_setting_t signal_setting = make_impaired(signal_format_t::qpsk, 48);
    signal_setting.snr_db = std::numeric_limits<double>::infinity();
    const vrim::complex_array capture = make_signal(signal_setting).samples;
    analysis_setting_t setting = make_analysis(signal_format_t::qpsk);
    setting.inverted = true;
    const analysis_result_t result = analyse(capture, setting);
    ASSERT_TRUE(result.locked());
    const double bin = setting.sample_rate / static_cast<double>(capture.size());
    EXPECT_NEAR(static_cast<double>(result.table.frequency_error), -signal_setting.carrier_offset_hz - bin, 0.5);
}

TEST(PskProperty, ALongCaptureOfQpskKeepsItsEvm)
{
    signal_setting_t signal_setting = make_impaired(signal_format_t::qpsk, 49);
    signal_setting.symbol_count = 20'200;
    analysis_setting_t setting = make_analysis(signal_format_t::qpsk);
    setting.meas_interval = 20'000;
    const signal_t signal = make_signal(signal_setting);
    const analysis_result_t result = analyse(signal.samples, setting);
    ASSERT_TRUE(result.locked());
    // 30 dB are 3.162 %; the rms of 20,000 symbols has a standard deviation of 0.016, the clock estimate adds up to 0.02.
    EXPECT_NEAR(static_cast<double>(result.summary.evm_rms), 3.162, 0.09);
    EXPECT_NEAR(static_cast<double>(result.table.frequency_error), signal_setting.carrier_offset_hz, 0.1);
    EXPECT_TRUE(match_decoded(signal_format_t::qpsk, result.decoded, signal.symbols, 85, 95).found);
}

TEST(PskFrames, SegmentsOfTwoFormatsAreMeasuredInOneRun)
{
    // QPSK first, 8PSK from symbol 900 on, at another carrier offset.
    signal_setting_t first = make_impaired(signal_format_t::qpsk, 51);
    first.symbol_count = 900;
    signal_setting_t second = make_impaired(signal_format_t::psk8, 52);
    second.symbol_count = 1400; // 2,180 symbols are asked for: the longest interval, its offset and the run-in
    second.carrier_offset_hz = -700.0;
    second.gain = 0.5;
    const signal_t head = make_signal(first);
    const signal_t tail = make_signal(second);
    vrim::complex_array capture = head.samples;
    capture.insert(capture.end(), tail.samples.begin(), tail.samples.end());

    lib_dma_frame_configure_manager_t frame;
    frame.add_segment();
    analysis_setting_t setting = make_analysis(signal_format_t::qpsk);
    setting.meas_interval = 500;
    set_segment(setting, frame.get_segment(0));
    setting = make_analysis(signal_format_t::psk8);
    setting.meas_interval = 1000;
    setting.meas_offset = 1000;
    set_segment(setting, frame.get_segment(1));

    const trace_capture_t traces;
    lib_dma_phy_t analyser;
    analyser.set_frame_configure(frame);
    analyser.set_sample_rate(4.0e6);
    analyser.set_demod_data(capture);
    const std::int32_t code = analyser.dma_phy_process();
    ASSERT_EQ(code, LIB_DMA_RESULT_OK);
    const analysis_result_t qpsk = take_result(analyser, 0, code);
    const analysis_result_t psk8 = take_result(analyser, 1, code);

    EXPECT_NEAR(static_cast<double>(qpsk.summary.evm_rms), 3.162, 0.45); // 500 symbols: four times 0.1, and the clock
    EXPECT_NEAR(static_cast<double>(qpsk.table.frequency_error), 1500.0, 4.0);
    EXPECT_TRUE(match_decoded(signal_format_t::qpsk, qpsk.decoded, head.symbols, 85, 95).found);

    EXPECT_NEAR(static_cast<double>(psk8.summary.evm_rms), 3.162, 0.35);
    EXPECT_NEAR(static_cast<double>(psk8.table.frequency_error), -700.0, 1.5);
    ASSERT_FALSE(psk8.decoded.empty());
    // The offset names the first symbol of a later segment: its run-in lies in front of it.
    const decode_match_t match = match_decoded(signal_format_t::psk8, psk8.decoded, tail.symbols, 85, 115);
    EXPECT_TRUE(match.found) << match.differing << " of " << psk8.decoded.size() << " differ";
    EXPECT_NEAR(match.lag, 100.0, 1.0);
}

TEST(PskFrames, SixSegmentsOfOneSignalReadTheSameCarrier)
{
    const signal_t signal = make_signal(make_impaired(signal_format_t::qpsk, 53));
    lib_dma_frame_configure_manager_t frame;
    for (std::uint32_t i = 0; i < lib_dma_frame_configure_manager_t::max_segment_number; ++i)
    {
        if (i > 0)
            frame.add_segment();
        analysis_setting_t setting = make_analysis(signal_format_t::qpsk);
        setting.meas_interval = 400;
        setting.meas_offset = i == 0 ? 0 : static_cast<std::int32_t>(100 + 50 * i);
        set_segment(setting, frame.get_segment(i));
    }
    const trace_capture_t traces;
    lib_dma_phy_t analyser;
    analyser.set_frame_configure(frame);
    analyser.set_sample_rate(4.0e6);
    analyser.set_demod_data(signal.samples);
    ASSERT_EQ(analyser.dma_phy_process(), LIB_DMA_RESULT_OK);
    for (std::uint32_t i = 0; i < lib_dma_frame_configure_manager_t::max_segment_number; ++i)
    {
        const analysis_result_t result = take_result(analyser, i, LIB_DMA_RESULT_OK);
        EXPECT_EQ(result.meas_symbols.size(), 400u) << "segment " << i;
        // 400 symbols: 2.5 times the bound's 0.39 Hz for 1,000, each to the power of 1.5, and three of them.
        EXPECT_NEAR(static_cast<double>(result.table.frequency_error), 1500.0, 5.0) << "segment " << i;
        EXPECT_NEAR(static_cast<double>(result.summary.evm_rms), 3.162, 0.5) << "segment " << i;
        const std::int32_t first = i == 0 ? 90 : static_cast<std::int32_t>(100 + 50 * i);
        const decode_match_t match = match_decoded(signal_format_t::qpsk, result.decoded, signal.symbols, first - 5, first + 5);
        EXPECT_TRUE(match.found) << "segment " << i;
        EXPECT_NEAR(match.lag, first, 1.0) << "segment " << i;
    }
}
} // namespace
