#include "golden_capture.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <gtest/gtest.h>
#include <string>

using namespace dma_test;

namespace
{
/// Amplitude of the innermost point in units of the rms; 0 for a carrier that is off.
double get_innermost(signal_format_t format)
{
    double innermost = 1.0;
    for (const std::complex<double>& point : get_signal_format(format).points)
        innermost = std::min(innermost, std::abs(point));
    return innermost;
}

class GoldenCapture : public testing::TestWithParam<std::string>
{
};

TEST_P(GoldenCapture, ReadsTheFiguresOfAnIndependentModel)
{
    const golden_capture_t golden = read_golden_capture(GetParam());
    const analysis_result_t result = analyse(golden.capture.samples, golden.setting);
    ASSERT_EQ(result.code, vrim::dma_demod_lib::LIB_DMA_RESULT_OK);
    // Symbols of offset QPSK that are not aligned come in both rails' turns.
    const bool halves = golden.setting.format == signal_format_t::oqpsk && !golden.setting.aligned_iq;
    ASSERT_EQ(result.meas_symbols.size(), (halves ? 2u : 1u) * golden.setting.meas_interval);

    const auto compare = [&golden](const char* figure, float measured, double tolerance, double share = 0.0)
    { golden.expect(figure, static_cast<double>(measured), tolerance, share); };
    golden.expect_common(result);
    // Symbols of a carrier that is off have no phase, and what stands for it differs from model to model.
    const double innermost = get_innermost(golden.setting.format);
    if (innermost > 0.0)
    {
        compare("phase_err_rms", result.summary.phase_err_rms, 0.002, 1e-4);
        compare("phase_err_max", result.summary.phase_err_max, 0.01, 1e-3);
    }
    if (golden.expected.contains("depth"))
        compare("depth", result.summary.depth, 1e-5);
    if (golden.expected.contains("apsk_r2_ratio"))
    {
        golden.expect("apsk_r2_ratio", result.summary.apsk_r2_ratio, 0.0, 1e-4);
        golden.expect("apsk_r3_ratio", result.summary.apsk_r3_ratio, 0.0, 1e-4);
    }
    if (golden.expected.contains("fsk_deviation"))
    {
        golden.expect("fsk_deviation", result.summary.fsk_deviation, 0.0, 1e-5);
        golden.expect("fsk_deviation_max", result.summary.fsk_deviation_max, 0.0, 1e-5);
        golden.expect("fsk_deviation_min", result.summary.fsk_deviation_min, 0.0, 1e-5);
    }
    if (golden.expected.contains("gain_imbalance"))
        compare("gain_imbalance", result.table.gain_imbalance, 0.002);
    compare("quad_error", result.table.quad_error, 0.002);
}

const auto print_name = [](const auto& name) { return "Of_" + name.param; };

INSTANTIATE_TEST_SUITE_P(Psk, GoldenCapture, testing::Values("bpsk", "qpsk", "8psk", "3pi4_qpsk", "3pi8_8psk"), print_name);
INSTANTIATE_TEST_SUITE_P(Qam, GoldenCapture,
                         testing::Values("16qam", "32qam", "64qam", "128qam", "256qam", "512qam", "1024qam", "4096qam",
                                         "pi4_16qam", "minus_pi4_32qam"),
                         print_name);
INSTANTIATE_TEST_SUITE_P(Apsk, GoldenCapture, testing::Values("16apsk", "32apsk"), print_name);
INSTANTIATE_TEST_SUITE_P(Ask, GoldenCapture, testing::Values("2ask", "4ask", "8ask", "16ask"), print_name);
INSTANTIATE_TEST_SUITE_P(Dpsk, GoldenCapture, testing::Values("dbpsk", "dqpsk", "d8psk", "pi4_dqpsk", "pi8_d8psk"), print_name);
INSTANTIATE_TEST_SUITE_P(Fsk, GoldenCapture, testing::Values("2fsk", "4fsk", "8fsk", "2gfsk_bt05"), print_name);
INSTANTIATE_TEST_SUITE_P(Msk, GoldenCapture, testing::Values("msk", "gmsk_bt05", "gmsk_bt03"), print_name);
INSTANTIATE_TEST_SUITE_P(Oqpsk, GoldenCapture, testing::Values("oqpsk", "oqpsk_aligned"), print_name);
} // namespace
