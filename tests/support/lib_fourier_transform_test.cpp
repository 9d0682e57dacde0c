#include "support/lib_fourier_transform.h"
#include "noise.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <numeric>

using namespace vrim;
using common_lib::lib_fourier_transform_t;

namespace
{
complex_double_array transform_by_sums(const complex_array& data, std::size_t length, double sign)
{
    complex_double_array bins(length);
    for (std::size_t k = 0; k < length; ++k)
    {
        for (std::size_t n = 0; n < std::min(length, data.size()); ++n)
        {
            const double turns = static_cast<double>((k * n) % length) / static_cast<double>(length);
            bins[k] += std::complex<double>(data[n]) * std::polar(1.0, sign * 2.0 * std::numbers::pi * turns);
        }
    }
    return bins;
}

template <typename a_t, typename b_t>
double cal_relative_error(const a_t& actual, const b_t& expected)
{
    double error = 0.0;
    double power = 0.0;
    for (std::size_t i = 0; i < expected.size(); ++i)
    {
        error += std::norm(std::complex<double>(actual[i]) - std::complex<double>(expected[i]));
        power += std::norm(std::complex<double>(expected[i]));
    }
    return std::sqrt(error / power);
}
} // namespace

TEST(Fft, IsTheUnscaledSumAtAnyLength)
{
    for (const std::uint32_t length : { 1u, 2u, 3u, 8u, 17u, 100u, 127u, 256u, 360u })
    {
        complex_array data = make_noise(length, length);
        const complex_double_array expected = transform_by_sums(data, length, -1.0);
        lib_fourier_transform_t::deal_fft(data, 0);
        ASSERT_EQ(data.size(), length);
        EXPECT_LT(cal_relative_error(data, expected), 1e-6) << "length " << length;
    }
}

TEST(Fft, CutsOrExtendsWithZerosToTheLengthAskedFor)
{
    const complex_array data = make_noise(50, 3);
    for (const std::uint32_t length : { 20u, 50u, 64u, 101u })
    {
        complex_array bins = data;
        lib_fourier_transform_t::deal_fft(bins, length);
        ASSERT_EQ(bins.size(), length);
        EXPECT_LT(cal_relative_error(bins, transform_by_sums(data, length, -1.0)), 1e-6) << "length " << length;
    }
}

TEST(Ifft, IsScaledByTheLengthAndUndoesTheForwardTransform)
{
    complex_array bins = make_noise(60, 4);
    complex_double_array expected = transform_by_sums(bins, 60, 1.0);
    for (auto& value : expected)
        value /= 60.0;
    lib_fourier_transform_t::deal_ifft(bins, 0);
    EXPECT_LT(cal_relative_error(bins, expected), 1e-6);

    for (const std::size_t length : { 1u, 5u, 1000u, 4096u, 10007u })
    {
        const complex_array before = make_noise(length, 5);
        complex_array data = before;
        lib_fourier_transform_t::deal_fft(data, 0);
        lib_fourier_transform_t::deal_ifft(data, 0);
        ASSERT_EQ(data.size(), before.size());
        EXPECT_LT(cal_relative_error(data, before), 1e-6) << "length " << length;
    }
}

TEST(Fft, TakesAnEmptyArray)
{
    complex_array data;
    lib_fourier_transform_t::deal_fft(data, 0);
    EXPECT_TRUE(data.empty());
    lib_fourier_transform_t::deal_ifft(data, 0);
    EXPECT_TRUE(data.empty());
    lib_fourier_transform_t::fft_shift(data);
    EXPECT_TRUE(data.empty());
    lib_fourier_transform_t::deal_fft(data, 4);
    EXPECT_EQ(data, complex_array(4, { 0.0f, 0.0f }));
}

TEST(FftShift, MovesZeroFrequencyToTheMiddleOfEvenAndOddLengths)
{
    for (const std::size_t length : { 1u, 2u, 3u, 4u, 5u, 8u, 9u })
    {
        complex_array data(length);
        for (std::size_t i = 0; i < length; ++i)
            data[i] = { static_cast<float>(i), 0.0f };
        lib_fourier_transform_t::fft_shift(data);
        for (std::size_t i = 0; i < length; ++i)
        {
            const std::size_t bin = (i + length - length / 2) % length; // bin i - floor(N / 2), modulo N
            EXPECT_EQ(data[i].real(), static_cast<float>(bin)) << "length " << length << " index " << i;
        }
    }
}
