#include "support/lib_convolution.h"

#include "support/internal/convolution.h"
#include "support/internal/fir_kernel.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <tuple>

using namespace vrim;
using namespace vrim::common_lib;

namespace
{
complex_array make_noise(std::size_t count, unsigned seed, bool real = false)
{
    std::mt19937 generator(seed);
    std::normal_distribution<float> part;
    complex_array data(count);
    for (auto& value : data)
    {
        const float re = part(generator);
        value = { re, real ? 0.0f : part(generator) };
    }
    return data;
}

complex_double_array convolve_in_double(const complex_array& a, const complex_array& b)
{
    complex_double_array out(a.size() + b.size() - 1);
    for (std::size_t i = 0; i < a.size(); ++i)
    {
        for (std::size_t k = 0; k < b.size(); ++k)
            out[i + k] += std::complex<double>(a[i]) * std::complex<double>(b[k]);
    }
    return out;
}

double cal_relative_error(const complex_array& actual, const complex_double_array& expected)
{
    double error = 0.0;
    double power = 0.0;
    for (std::size_t i = 0; i < expected.size(); ++i)
    {
        error += std::norm(std::complex<double>(actual[i]) - expected[i]);
        power += std::norm(expected[i]);
    }
    return std::sqrt(error / power);
}

using sizes_t = std::tuple<std::size_t, std::size_t>;
/// Kernel and data lengths: around the blocks of 32 samples, kernels longer than the data, and both sides of the change from
/// sums to transforms.
const sizes_t all_sizes[] = { { 1, 1 },     { 1, 33 },   { 3, 2 },      { 7, 31 },      { 7, 32 },      { 7, 26 },   { 7, 58 },
                              { 33, 5 },    { 64, 64 },  { 65, 1000 },  { 192, 300 },   { 193, 300 },   { 193, 10 }, { 400, 1 },
                              { 257, 768 }, { 500, 24 }, { 600, 5000 }, { 1025, 9000 }, { 2049, 20000 } };
} // namespace

TEST(FirKernel, SumsInSinglePrecisionInTapOrder)
{
    const complex_array in = make_noise(300, 1);
    const complex_array tap_source = make_noise(40, 2);
    for (const std::size_t taps : { 1u, 2u, 7u, 40u })
    {
        float_array tap_values(taps);
        for (std::size_t k = 0; k < taps; ++k)
            tap_values[k] = tap_source[k].real();
        for (const std::size_t count : { 0u, 1u, 31u, 32u, 33u, 63u, 64u, 65u, 96u, 200u })
        {
            complex_array out(count + 1, { 99.0f, 99.0f });
            correlate_real_taps(in.data(), tap_values.data(), taps, out.data(), count);
            for (std::size_t n = 0; n < count; ++n)
            {
                float re = 0.0f;
                float im = 0.0f;
                for (std::size_t k = 0; k < taps; ++k)
                {
                    re += in[n + k].real() * tap_values[k];
                    im += in[n + k].imag() * tap_values[k];
                }
                EXPECT_EQ(out[n], (std::complex<float>(re, im))) << "taps " << taps << " count " << count << " sample " << n;
            }
            EXPECT_EQ(out[count], (std::complex<float>(99.0f, 99.0f)));
        }
    }
}

TEST(FirKernel, GivesZerosWithoutTaps)
{
    const complex_array in = make_noise(100, 3);
    complex_array out(70, { 1.0f, 1.0f });
    correlate_real_taps(in.data(), nullptr, 0, out.data(), out.size());
    EXPECT_EQ(out, complex_array(70, { 0.0f, 0.0f }));
}

TEST(Convolution, AgreesWithDoublePrecisionForRealAndComplexKernels)
{
    for (const auto& [taps, count] : all_sizes)
    {
        for (const bool real : { true, false })
        {
            const complex_array kernel = make_noise(taps, static_cast<unsigned>(taps), real);
            const complex_array data = make_noise(count, static_cast<unsigned>(count) + 1);
            const complex_double_array expected = convolve_in_double(kernel, data);

            complex_array direct = data;
            lib_convolution_t::deal_convolution(kernel, direct);
            ASSERT_EQ(direct.size(), taps + count - 1);
            EXPECT_LT(cal_relative_error(direct, expected), 3e-6) << taps << " taps, " << count << " samples, real " << real;

            complex_array fast = data;
            lib_convolution_t::deal_fft_convolution(kernel, fast);
            ASSERT_EQ(fast.size(), taps + count - 1);
            EXPECT_LT(cal_relative_error(fast, expected), 1e-6) << taps << " taps, " << count << " samples, real " << real;

            complex_array transformed;
            convolve_by_transforms(kernel, data, 0, taps + count - 1, transformed);
            ASSERT_EQ(transformed.size(), taps + count - 1);
            EXPECT_LT(cal_relative_error(transformed, expected), 1e-6) << taps << " taps, " << count << " samples, real " << real;
        }
    }
}

TEST(Convolution, GivesAnyStretchOfTheOutput)
{
    const complex_array kernel = make_noise(250, 4);
    const complex_array data = make_noise(1200, 5);
    complex_double_array expected = convolve_in_double(kernel, data);
    expected.resize(4000); // behind the full length there is nothing
    for (const std::size_t first : { 0u, 1u, 124u, 249u, 1000u, 1440u, 2000u })
    {
        for (const std::size_t count : { 0u, 1u, 500u, 775u, 1200u })
        {
            complex_array direct, fast;
            convolve_directly(kernel, data, first, count, direct);
            convolve_by_transforms(kernel, data, first, count, fast);
            ASSERT_EQ(direct.size(), count);
            ASSERT_EQ(fast.size(), count);
            for (std::size_t i = 0; i < count; ++i)
            {
                // About 16 is the rms of an output sample.
                EXPECT_LT(std::abs(std::complex<double>(direct[i]) - expected[first + i]), 1e-4) << first << " + " << i;
                EXPECT_LT(std::abs(std::complex<double>(fast[i]) - expected[first + i]), 1e-4) << first << " + " << i;
            }
        }
    }
}

TEST(Convolution, IsEmptyWithAnEmptyOperand)
{
    const complex_array three = make_noise(3, 6);
    for (const bool fast : { false, true })
    {
        const auto convolve_pair = fast ? lib_convolution_t::deal_fft_convolution : lib_convolution_t::deal_convolution;
        complex_array data = three;
        convolve_pair({}, data);
        EXPECT_TRUE(data.empty());
        convolve_pair(three, data);
        EXPECT_TRUE(data.empty());
    }
}

TEST(Convolution, WithAUnitTapReturnsTheDataLateByItsPlace)
{
    complex_array data = make_noise(100, 7);
    const complex_array before = data;
    complex_array kernel(5, { 0.0f, 0.0f });
    kernel[2] = { 1.0f, 0.0f };
    lib_convolution_t::deal_convolution(kernel, data);
    for (std::size_t i = 0; i < before.size(); ++i)
        EXPECT_EQ(data[i + 2], before[i]);
}
