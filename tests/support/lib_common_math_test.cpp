#include "support/lib_common_math.h"
#include "noise.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

using namespace vrim;
using common_lib::lib_common_math_t;

namespace
{
constexpr float infinity = std::numeric_limits<float>::infinity();
const float nan_value = std::numeric_limits<float>::quiet_NaN();
} // namespace

TEST(ComplexAmplitude, IsTheRootOfTheSquares)
{
    EXPECT_EQ(lib_common_math_t::get_complex_amplitude({ 3.0f, -4.0f }), 5.0f);
    EXPECT_EQ(lib_common_math_t::get_complex_amplitude({ 0.0f, 0.0f }), 0.0f);
    // The squares alone would leave the range of single precision.
    EXPECT_EQ(lib_common_math_t::get_complex_amplitude({ 3e30f, 4e30f }), 5e30f);
    EXPECT_NEAR(static_cast<double>(lib_common_math_t::get_complex_amplitude({ 3e-30f, 4e-30f })), 5e-30, 1e-36);
}

TEST(ComplexPhase, IsTheFourQuadrantAngle)
{
    const double pi = std::numbers::pi;
    EXPECT_EQ(lib_common_math_t::get_complex_phase({ 1.0f, 1.0f }), static_cast<float>(pi / 4));
    EXPECT_EQ(lib_common_math_t::get_complex_phase({ -1.0f, 1.0f }), static_cast<float>(3 * pi / 4));
    EXPECT_EQ(lib_common_math_t::get_complex_phase({ -1.0f, -1.0f }), static_cast<float>(-3 * pi / 4));
    EXPECT_EQ(lib_common_math_t::get_complex_phase({ 0.0f, -1.0f }), static_cast<float>(-pi / 2));
    EXPECT_EQ(lib_common_math_t::get_complex_phase({ -1.0f, 0.0f }), static_cast<float>(pi));
    EXPECT_EQ(lib_common_math_t::get_complex_phase({ -1.0f, -0.0f }), static_cast<float>(-pi));
    EXPECT_EQ(lib_common_math_t::get_complex_phase({ 0.0f, 0.0f }), 0.0f);
}

TEST(ComplexArrays, GiveWhatTheSingleValuesGiveAndAreResized)
{
    complex_array data = make_noise(1003, 11);
    // Values that the fast path of arrays cannot take.
    data[3] = { 0.0f, 0.0f };
    data[64] = { -0.0f, -0.0f };
    data[200] = { infinity, 1.0f };
    data[201] = { -infinity, -infinity };
    data[202] = { 0.0f, -infinity };
    data[999] = { nan_value, 1.0f };
    data[1000] = { -2.0f, 0.0f };
    data[1001] = { 0.0f, 2.0f };
    for (const std::size_t stale : { 0u, 5u, 5000u })
    {
        float_array amplitude(stale, 7.0f);
        float_array phase(stale, 7.0f);
        lib_common_math_t::get_complex_array_amplitude(data, amplitude);
        lib_common_math_t::get_complex_array_phase(data, phase);
        ASSERT_EQ(amplitude.size(), data.size());
        ASSERT_EQ(phase.size(), data.size());
        for (std::size_t i = 0; i < data.size(); ++i)
        {
            const double re = static_cast<double>(data[i].real());
            const double im = static_cast<double>(data[i].imag());
            const float wanted_phase = static_cast<float>(std::atan2(im, re));
            if (std::isnan(wanted_phase))
            {
                EXPECT_TRUE(std::isnan(phase[i])) << i;
                EXPECT_TRUE(std::isnan(amplitude[i])) << i;
                continue;
            }
            EXPECT_FLOAT_EQ(phase[i], wanted_phase) << i;
            EXPECT_EQ(std::signbit(phase[i]), std::signbit(wanted_phase)) << i;
            EXPECT_EQ(phase[i], lib_common_math_t::get_complex_phase(data[i])) << i;
            EXPECT_EQ(amplitude[i], static_cast<float>(std::sqrt(re * re + im * im))) << i;
        }
    }
}

TEST(ComplexArrays, MayBeEmpty)
{
    float_array out(3);
    lib_common_math_t::get_complex_array_amplitude({}, out);
    EXPECT_TRUE(out.empty());
    out.resize(3);
    lib_common_math_t::get_complex_array_phase({}, out);
    EXPECT_TRUE(out.empty());
    EXPECT_EQ(lib_common_math_t::get_complex_array_rms({}), 0.0f);
    EXPECT_EQ(lib_common_math_t::get_data_max_amplitude({}), 0.0f);
}

TEST(ComplexArrayRms, IsTheRootOfTheMeanPower)
{
    EXPECT_EQ(lib_common_math_t::get_complex_array_rms({ { 3.0f, 4.0f }, { 0.0f, 0.0f }, { 0.0f, 5.0f }, { 0.0f, 0.0f } }),
              static_cast<float>(std::sqrt(50.0 / 4.0)));
    // A single-precision sum of so many equal terms would stall.
    EXPECT_EQ(lib_common_math_t::get_complex_array_rms(complex_array(40'000'000, { 0.6f, 0.0f })), 0.6f);
}

TEST(MaxAmplitude, FindsTheLargest)
{
    EXPECT_EQ(lib_common_math_t::get_data_max_amplitude({ { 1.0f, 0.0f }, { -3.0f, 4.0f }, { 0.0f, -4.9f } }), 5.0f);
    EXPECT_EQ(lib_common_math_t::get_data_max_amplitude({ { nan_value, 0.0f }, { 0.0f, 2.0f } }), 2.0f);
}

TEST(AverageValue, IsTheMeanOverAnyArray)
{
    EXPECT_EQ(lib_common_math_t::get_average_value(float_array{ 1.0f, 2.0f, 6.0f }), 3.0f);
    EXPECT_EQ(lib_common_math_t::get_average_value(std::vector<std::uint32_t>{ 1, 2 }), 1.5f);
    EXPECT_EQ(lib_common_math_t::get_average_value(double_array{ -1.0, 1.0 }), 0.0f);
    EXPECT_TRUE(std::isnan(lib_common_math_t::get_average_value(float_array{})));
}

TEST(AmplitudeRatio, IsInDecibelsAndLimitedBelow)
{
    EXPECT_NEAR(lib_common_math_t::amplitude_ratio_to_db_value(10.0, 1e-12), 20.0, 1e-12);
    EXPECT_NEAR(lib_common_math_t::amplitude_ratio_to_db_value(0.5, 1e-12), -6.020599913279624, 1e-12);
    EXPECT_NEAR(lib_common_math_t::amplitude_ratio_to_db_value(0.0, 1e-12), -240.0, 1e-9);
    EXPECT_NEAR(lib_common_math_t::amplitude_ratio_to_db_value(-1.0, 1e-12), -240.0, 1e-9);
    EXPECT_NEAR(lib_common_math_t::amplitude_ratio_to_db_value(1e-12, 1e-12), -240.0, 1e-9);
}

TEST(PowerOfTwo, HasOneBit)
{
    for (int bit = 0; bit < 64; ++bit)
        EXPECT_TRUE(lib_common_math_t::is_power_of_2(std::uint64_t(1) << bit)) << bit;
    for (const std::uint64_t n : { 0ull, 3ull, 6ull, 1000ull, 0xffffffffffffffffull })
        EXPECT_FALSE(lib_common_math_t::is_power_of_2(n)) << n;
}
