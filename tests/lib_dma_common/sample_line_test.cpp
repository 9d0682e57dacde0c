#include "lib_dma_common/sample_line.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>

using namespace vrim;
using namespace vrim::dma_demod_lib;

namespace
{
complex_array make_wave(std::size_t count)
{
    complex_array wave(count);
    for (std::size_t i = 0; i < count; ++i)
        wave[i] = std::complex<float>(std::polar(1.0 + 0.0003 * static_cast<double>(i), 0.9 * static_cast<double>(i)));
    return wave;
}
} // namespace

TEST(SampleLine, IsTakenOutOfEverySample)
{
    // Longer than what is turned at once; the last line goes beyond the angles that are reduced.
    for (const sample_line_t line : { sample_line_t{ 0.003f, -0.7f, 8.0, 40.0 }, sample_line_t{ -1.5f, 2.0f, 10.0, 0.0 },
                                      sample_line_t{ 40000.0f, 0.0f, 8.0, 0.0 } })
    {
        const complex_array wave = make_wave(2500);
        complex_array turned = wave;
        turn_back(line, 0, 1, turned);
        for (std::size_t i = 0; i < wave.size(); ++i)
        {
            // The product of index and slope is a single-precision one, and so is the angle.
            const float product = static_cast<float>(static_cast<double>(i) - line.pre_num) * line.slope;
            const double angle = static_cast<double>(
                static_cast<float>(static_cast<double>(product) / line.sps + static_cast<double>(line.intercept)));
            const std::complex<double> expected = std::complex<double>(wave[i]) * std::polar(1.0, -angle);
            ASSERT_LT(std::abs(std::complex<double>(turned[i]) - expected), 3e-7 * std::abs(expected)) << line.slope << ", " << i;
        }
    }
}

TEST(SampleLine, OfPickedSamplesIsThatOfTheWholeWave)
{
    const sample_line_t line = { 0.003f, -0.7f, 8.0, 40.0 };
    complex_array whole = make_wave(5000);
    const complex_array wave = whole;
    turn_back(line, 0, 1, whole);
    for (const std::size_t stride : { std::size_t(1), std::size_t(2), std::size_t(4), std::size_t(10) })
    {
        for (const std::size_t first : { std::size_t(0), std::size_t(33), std::size_t(400) })
        {
            complex_array picked;
            complex_array expected;
            for (std::size_t i = first; i < wave.size(); i += stride)
            {
                picked.push_back(wave[i]);
                expected.push_back(whole[i]);
            }
            turn_back(line, first, stride, picked);
            EXPECT_EQ(picked, expected) << "from " << first << " by " << stride;
        }
    }
}

TEST(SampleLine, FitsThePhaseBetweenMeasurementAndReference)
{
    complex_array ref(200);
    complex_array meas(200);
    for (std::size_t i = 0; i < ref.size(); ++i)
    {
        const double k = static_cast<double>(i);
        ref[i] = std::complex<float>(std::polar(1.0, 1.1 * k * k));
        meas[i] = std::complex<float>(std::complex<double>(ref[i]) * std::polar(0.9, 0.002 * k - 0.15));
    }
    float_array fit;
    double frequency = 0.0;
    EXPECT_TRUE(fit_fine_phase(LIB_DMA_GROUP_QAM, meas, ref, 1000000, fit, frequency));
    ASSERT_EQ(fit.size(), 2u);
    EXPECT_NEAR(fit[0], 0.002f, 1e-7f);
    EXPECT_NEAR(fit[1], -0.15f, 1e-5f);
    EXPECT_NEAR(frequency, 1e6 * 0.002 / (2.0 * 3.14159265358979), 0.05);
}
