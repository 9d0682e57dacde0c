#include "support/lib_normalization.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

using namespace vrim;
using common_lib::lib_normalization_t;

namespace
{
complex_array make_noise(std::size_t count, float scale)
{
    std::mt19937 generator(21);
    std::normal_distribution<float> part(0.3f, scale);
    complex_array data(count);
    for (auto& value : data)
    {
        const float re = part(generator);
        value = { re, part(generator) };
    }
    return data;
}
} // namespace

TEST(RmsNormalize, LeavesUnitRmsAndTheLength)
{
    for (const float scale : { 1e-6f, 0.5f, 1e6f })
    {
        complex_array data = make_noise(777, scale);
        const complex_array before = data;
        lib_normalization_t::rms_normalize(data);
        ASSERT_EQ(data.size(), before.size());
        double power = 0.0;
        for (const auto& value : data)
            power += std::norm(std::complex<double>(value));
        EXPECT_NEAR(std::sqrt(power / 777.0), 1.0, 1e-6);
        // Every element by the same factor.
        const std::complex<double> ratio = std::complex<double>(data[0]) / std::complex<double>(before[0]);
        for (std::size_t i = 0; i < data.size(); ++i)
            EXPECT_LT(std::abs(std::complex<double>(before[i]) * ratio - std::complex<double>(data[i])),
                      1e-6 * std::abs(std::complex<double>(data[i])) + 1e-12);
    }
}

TEST(AmplitudeMaxNormalize, LeavesALargestAmplitudeOfOne)
{
    complex_array data = { { 0.0f, 1.0f }, { -3.0f, 4.0f }, { 2.5f, 0.0f } };
    lib_normalization_t::amplitude_max_normalize(data);
    EXPECT_EQ(data, (complex_array{ { 0.0f, 0.2f }, { -0.6f, 0.8f }, { 0.5f, 0.0f } }));
}

TEST(Normalizations, LeaveSilenceAndEmptyArraysAsTheyAre)
{
    complex_array silence(5, { 0.0f, 0.0f });
    complex_array nothing;
    lib_normalization_t::rms_normalize(silence);
    lib_normalization_t::amplitude_max_normalize(silence);
    lib_normalization_t::rms_normalize(nothing);
    lib_normalization_t::amplitude_max_normalize(nothing);
    EXPECT_EQ(silence, complex_array(5, { 0.0f, 0.0f }));
    EXPECT_TRUE(nothing.empty());
}
