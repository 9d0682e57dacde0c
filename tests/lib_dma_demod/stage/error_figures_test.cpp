#include "lib_dma_demod/stage/error_figures.h"

#include "message_capture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <stdexcept>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using namespace vrim::dma_demod_lib::demod_stage;

namespace
{
/// Symbols at 2 points each; what lies between them is far off and must not count.
complex_array at_two_points(const complex_array& symbols, std::complex<float> between)
{
    complex_array data;
    for (const std::complex<float>& symbol : symbols)
    {
        data.push_back(symbol);
        data.push_back(between);
    }
    return data;
}

std::complex<float> polar_degrees(double amplitude, double degrees)
{
    return std::complex<float>(std::polar(amplitude, degrees * std::numbers::pi / 180.0));
}

// Amplitudes 3, 1, 3, 1: rms root of 5, peak 3. The errors are radial: 0.5, -0.5, -0.25, -0.25.
const complex_array radial_ref = { { 3.0f, 0.0f }, { 0.0f, 1.0f }, { -3.0f, 0.0f }, { 0.0f, -1.0f } };
const complex_array radial_meas = { { 2.5f, 0.0f }, { 0.0f, 1.5f }, { -3.25f, 0.0f }, { 0.0f, -1.25f } };

error_figures_t cal_radial(lib_dma_evm_normalize_type_t normalization)
{
    return cal_error_figures(at_two_points(radial_meas, { 40.0f, 0.0f }), at_two_points(radial_ref, { 0.0f, 10.0f }), 2,
                             normalization);
}

error_summary_t cal_phases(const float_array& degrees)
{
    complex_array meas;
    for (const float value : degrees)
        meas.push_back(polar_degrees(2.0, -static_cast<double>(value)));
    return cal_error_figures(meas, complex_array(degrees.size(), { 2.0f, 0.0f }), 1, LIB_DMA_EVM_NORMALIZE_RMS).summary;
}
} // namespace

TEST(ErrorFigures, AreThoseOfTheSymbols)
{
    const error_summary_t summary = cal_radial(LIB_DMA_EVM_NORMALIZE_RMS).summary;
    const double norm = std::sqrt(5.0);
    const double rms = std::sqrt((0.25 + 0.25 + 0.0625 + 0.0625) / 4.0);
    EXPECT_NEAR(static_cast<double>(summary.evm_rms), rms / norm * 100.0, 1e-4);
    EXPECT_NEAR(static_cast<double>(summary.evm_max), 0.5 / norm * 100.0, 1e-4);
    EXPECT_NEAR(static_cast<double>(summary.evm_min), 0.25 / norm * 100.0, 1e-4);
    EXPECT_NEAR(static_cast<double>(summary.mag_err_rms), rms / norm * 100.0, 1e-4);
    EXPECT_NEAR(static_cast<double>(summary.mag_err_max), 0.5 / norm * 100.0, 1e-4);
    EXPECT_NEAR(static_cast<double>(summary.mag_err_min), -0.25 / norm * 100.0, 1e-4);
    EXPECT_NEAR(static_cast<double>(summary.snr), 10.0 * std::log10(20.0 / 0.625), 1e-4);
    EXPECT_NEAR(static_cast<double>(summary.phase_err_rms), 0.0, 1e-4);
}

TEST(ErrorFigures, PointAtTheFirstOfEquals)
{
    const error_summary_t summary = cal_radial(LIB_DMA_EVM_NORMALIZE_RMS).summary;
    EXPECT_EQ(summary.evm_max_idx, 0u); // 0.5 at 0 and 1
    EXPECT_EQ(summary.evm_min_idx, 2u); // 0.25 at 2 and 3
    EXPECT_EQ(summary.mag_err_max_idx, 0u);
    EXPECT_EQ(summary.mag_err_min_idx, 2u);
}

TEST(ErrorFigures, NormalizeToTheLargestSymbol)
{
    const error_summary_t summary = cal_radial(LIB_DMA_EVM_NORMALIZE_CONSTELLATION_MAX).summary;
    const double rms = std::sqrt(0.625 / 4.0);
    EXPECT_NEAR(static_cast<double>(summary.evm_rms), rms / 3.0 * 100.0, 1e-4);
    EXPECT_NEAR(static_cast<double>(summary.evm_max), 50.0 / 3.0, 1e-4);
    EXPECT_NEAR(static_cast<double>(summary.mag_err_min), -25.0 / 3.0, 1e-4);
    // The peak factor of the constellation stands between the two.
    EXPECT_NEAR(static_cast<double>(cal_radial(LIB_DMA_EVM_NORMALIZE_RMS).summary.evm_rms / summary.evm_rms),
                3.0 / std::sqrt(5.0), 1e-5);
}

TEST(ErrorFigures, KeepEveryPointOfTheVectors)
{
    const error_figures_t figures = cal_radial(LIB_DMA_EVM_NORMALIZE_RMS);
    ASSERT_EQ(figures.error_vector.size(), 8u);
    ASSERT_EQ(figures.mag_error.size(), 8u);
    ASSERT_EQ(figures.phase_error.size(), 8u);
    EXPECT_EQ(figures.error_vector[0], std::complex<float>(0.5f, 0.0f));
    EXPECT_EQ(figures.error_vector[3], std::complex<float>(-40.0f, 10.0f));
    EXPECT_NEAR(static_cast<double>(figures.mag_error[1]), -30.0 / std::sqrt(5.0) * 100.0, 1e-2);
    EXPECT_NEAR(static_cast<double>(figures.phase_error[1]), 90.0, 1e-4);
    EXPECT_EQ(figures.meas_points, radial_meas);
    EXPECT_EQ(figures.ref_points, radial_ref);
}

TEST(ErrorFigures, TraceOneValueASymbol)
{
    const error_summary_t summary = cal_radial(LIB_DMA_EVM_NORMALIZE_RMS).summary;
    const double norm = std::sqrt(5.0);
    const double wanted[] = { 0.5, -0.5, -0.25, -0.25 };
    ASSERT_EQ(summary.evm_trace.size(), 4u);
    ASSERT_EQ(summary.mag_err_trace.size(), 4u);
    ASSERT_EQ(summary.phase_err_trace.size(), 4u);
    for (std::size_t i = 0; i < 4; ++i)
    {
        EXPECT_NEAR(static_cast<double>(summary.evm_trace[i]), std::abs(wanted[i]) / norm * 100.0, 1e-4) << i;
        EXPECT_NEAR(static_cast<double>(summary.mag_err_trace[i]), wanted[i] / norm * 100.0, 1e-4) << i;
        EXPECT_NEAR(static_cast<double>(summary.phase_err_trace[i]), 0.0, 1e-4) << i;
    }
}

TEST(ErrorFigures, TakePhasesSignedAndInDegrees)
{
    const error_summary_t summary = cal_phases({ -20.0f, 10.0f, 5.0f, 10.0f, -20.0f });
    EXPECT_NEAR(static_cast<double>(summary.phase_err_max), 10.0, 1e-4);
    EXPECT_NEAR(static_cast<double>(summary.phase_err_min), -20.0, 1e-4);
    EXPECT_EQ(summary.phase_err_max_idx, 1u);
    EXPECT_EQ(summary.phase_err_min_idx, 0u);
    // Degrees over the normalisation, 2 here, without a hundred.
    EXPECT_NEAR(static_cast<double>(summary.phase_err_rms), std::sqrt((400.0 + 100.0 + 25.0 + 100.0 + 400.0) / 5.0) / 2.0, 1e-4);
    EXPECT_NEAR(static_cast<double>(summary.phase_err_trace.at(2)), 5.0, 1e-4);
}

TEST(ErrorFigures, HaveANegativeLargestPhaseWhenAllAre)
{
    const error_summary_t summary = cal_phases({ -20.0f, -3.0f, -5.0f });
    EXPECT_NEAR(static_cast<double>(summary.phase_err_max), -3.0, 1e-4);
    EXPECT_EQ(summary.phase_err_max_idx, 1u);
    EXPECT_NEAR(static_cast<double>(summary.phase_err_min), -20.0, 1e-4);
}

TEST(ErrorFigures, OfAnExactSignalAreZero)
{
    const error_summary_t summary = cal_error_figures(radial_ref, radial_ref, 1, LIB_DMA_EVM_NORMALIZE_RMS).summary;
    EXPECT_EQ(summary.evm_rms, 0.0f);
    EXPECT_EQ(summary.mag_err_rms, 0.0f);
    EXPECT_EQ(summary.phase_err_rms, 0.0f);
    EXPECT_TRUE(std::isinf(summary.snr));
}

TEST(ErrorFigures, OfNothingAreEmpty)
{
    const error_figures_t figures = cal_error_figures({}, {}, 2, LIB_DMA_EVM_NORMALIZE_RMS);
    EXPECT_TRUE(figures.error_vector.empty());
    EXPECT_TRUE(figures.summary.evm_trace.empty());
    EXPECT_EQ(figures.summary.evm_max_idx, 0u);
}

TEST(ErrorFigures, RefuseAShorterReference)
{
    EXPECT_THROW(cal_error_figures(radial_meas, { radial_ref.begin(), radial_ref.begin() + 3 }, 1, LIB_DMA_EVM_NORMALIZE_RMS),
                 std::out_of_range);
    EXPECT_NO_THROW(
        cal_error_figures({ radial_meas.begin(), radial_meas.begin() + 3 }, radial_ref, 1, LIB_DMA_EVM_NORMALIZE_RMS));
}

TEST(ErrorSummary, KeepsWhatAComparisonDoesNotGive)
{
    error_summary_t summary;
    summary.carrier_power = -12.5f;
    summary.meas_data = radial_meas;
    summary.ref_data = radial_ref;
    summary.evm_rms = 77.0f;
    error_summary_t figures;
    figures.evm_rms = 3.0f;
    figures.evm_max_idx = 6;
    figures.evm_trace = { 1.0f, 2.0f };
    take_error_summary(figures, summary);
    EXPECT_EQ(summary.carrier_power, -12.5f);
    EXPECT_EQ(summary.meas_data, radial_meas);
    EXPECT_EQ(summary.ref_data, radial_ref);
    EXPECT_EQ(summary.evm_rms, 3.0f);
    EXPECT_EQ(summary.evm_max_idx, 6u);
    EXPECT_EQ(summary.evm_trace, (float_array{ 1.0f, 2.0f }));
}

TEST(ErrorSummary, IsPrintedInTheOrderOfTheReport)
{
    error_summary_t summary;
    summary.evm_rms = 1.5f;
    summary.evm_max = 2.25f;
    summary.evm_max_idx = 7;
    summary.evm_min = 0.125f;
    summary.evm_min_idx = 8;
    summary.mag_err_rms = 1.0f;
    summary.mag_err_max = -3.5f;
    summary.mag_err_max_idx = 9;
    summary.mag_err_min = -0.5f;
    summary.mag_err_min_idx = 10;
    summary.phase_err_rms = 4.0f;
    summary.phase_err_max = -0.75f;
    summary.phase_err_max_idx = 11;
    summary.phase_err_min = -6.5f;
    summary.phase_err_min_idx = 12;
    summary.snr = 33.0625f;
    const trace_capture_t trace;
    print_error_figures(summary);
    EXPECT_EQ(trace.get_text(), "EVM(rms) = 1.5000\n"
                                "EVM(max)  = 2.2500 ,idx = 7 \n"
                                "EVM(min)  = 0.1250 ,idx = 8 \n"
                                "MagErr(rms) = 1.0000\n"
                                "MagErr(max)  = -3.5000 ,idx = 9 \n"
                                "MagErr(min)  = -0.5000 ,idx = 10 \n"
                                "PhaseErr(rms) = 4.0000\n"
                                "PhaseErr(max)  = -0.7500 , idx = 11 \n"
                                "PhaseErr(min)  = -6.5000 , idx = 12 \n"
                                "SNR_n(dB) = 33.0625\n");
}
