#include "support/internal/finite_values.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>

using namespace vrim;
using namespace vrim::common_lib;

namespace
{
constexpr float infinity = std::numeric_limits<float>::infinity();

/// More than a vector of them, each kind of value that is not finite on either rail.
complex_array make_values()
{
    complex_array values(37);
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = { static_cast<float>(i) - 8.25f, 3.5f - static_cast<float>(i) };
    values[1] = { infinity, 1.0f };
    values[9] = { 2.0f, -infinity };
    values[20] = { std::nanf(""), 0.0f };
    values[36] = { 4.0f, std::nanf("") };
    values[30] = { std::numeric_limits<float>::max(), -std::numeric_limits<float>::max() };
    return values;
}

bool is_odd_one(std::size_t i)
{
    return i == 1 || i == 9 || i == 20 || i == 36;
}
} // namespace

TEST(FiniteValues, ReplacesWhatIsNotFinite)
{
    const complex_array values = make_values();
    complex_array replaced = values;
    replace_infinite(replaced);
    for (std::size_t i = 0; i < values.size(); ++i)
        EXPECT_EQ(replaced[i], is_odd_one(i) ? std::complex<float>(0.0f, 0.0f) : values[i]) << i;
}

TEST(FiniteValues, ScalesAndDividesTheOthers)
{
    const complex_array values = make_values();
    complex_array scaled = values;
    complex_array divided = values;
    scale_finite(0.3f, scaled);
    divide_finite(0.3f, divided);
    for (std::size_t i = 0; i < values.size(); ++i)
    {
        const float re = is_odd_one(i) ? 0.0f : values[i].real();
        const float im = is_odd_one(i) ? 0.0f : values[i].imag();
        EXPECT_EQ(scaled[i], std::complex<float>(re * 0.3f, im * 0.3f)) << i;
        EXPECT_EQ(divided[i], std::complex<float>(re / 0.3f, im / 0.3f)) << i;
    }
}
