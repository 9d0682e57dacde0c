#include "support/lib_window_function.h"

#include "support/internal/bessel.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace vrim;
using namespace vrim::common_lib;

TEST(BesselI0, AgreesWithTabulatedValues)
{
    // Reference values to 17 digits, computed from the power series in rational arithmetic.
    EXPECT_EQ(bessel_i0_of(0.0), 1.0);
    EXPECT_NEAR(bessel_i0_of(1.0) / 1.2660658777520083356, 1.0, 1e-15);
    EXPECT_NEAR(bessel_i0_of(5.0) / 27.239871823604442, 1.0, 1e-15);
    EXPECT_NEAR(bessel_i0_of(-5.0) / 27.239871823604442, 1.0, 1e-15);
}

TEST(BesselI0, AgreesWithTheStandardLibrary)
{
    for (const double x : { 1e-9, 0.1, 1.0, 3.75, 7.74, 7.75, 7.76, 12.0, 20.0, 39.999, 40.0, 40.001, 100.0, 250.0, 499.0, 499.99,
                            500.0, 600.0, 700.0 })
        EXPECT_NEAR(bessel_i0_of(x) / std::cyl_bessel_i(0.0, x), 1.0, 2e-13) << "x " << x; // exp alone errs by x ulp
}

TEST(BesselI0, StaysFiniteWhereItsExponentialDoesNot)
{
    // I0(x) is about exp(x) / sqrt(2 pi x): still in range a little beyond the largest argument of exp.
    const double x = 712.0;
    EXPECT_TRUE(std::isfinite(bessel_i0_of(x)));
    EXPECT_NEAR(std::log(bessel_i0_of(x)), x - 0.5 * std::log(2.0 * M_PI * x) + std::log1p(1.0 / (8.0 * x)), 1e-6);
}

TEST(GaussWindow, FollowsItsFormula)
{
    complex_array window(3);
    lib_window_function_t::generate_gauss_window(window, 101, false, 4.8);
    ASSERT_EQ(window.size(), 101u);
    for (int i = 0; i < 101; ++i)
    {
        const double x = 4.8 * (i - 50) / 50.0;
        EXPECT_NEAR(static_cast<double>(window[static_cast<std::size_t>(i)].real()), std::exp(-0.5 * x * x), 1e-7) << i;
        EXPECT_EQ(window[static_cast<std::size_t>(i)].imag(), 0.0f);
    }
}

TEST(KaiserWindow, FollowsItsFormulaAtEvenLengths)
{
    complex_array window;
    lib_window_function_t::generate_kaiser_window(window, 64, false, 12.0);
    ASSERT_EQ(window.size(), 64u);
    for (int i = 0; i < 64; ++i)
    {
        const double x = (i - 31.5) / 31.5;
        const double expected = std::cyl_bessel_i(0.0, 12.0 * std::sqrt(1.0 - x * x)) / std::cyl_bessel_i(0.0, 12.0);
        EXPECT_NEAR(static_cast<double>(window[static_cast<std::size_t>(i)].real()), expected, 1e-7) << i;
    }
}

TEST(Windows, ArePeriodicAsTheLongerWindowWithoutItsEnd)
{
    complex_array periodic, longer;
    lib_window_function_t::generate_gauss_window(periodic, 32, true, 2.5);
    lib_window_function_t::generate_gauss_window(longer, 33, false, 2.5);
    longer.pop_back();
    EXPECT_EQ(periodic, longer);
    lib_window_function_t::generate_kaiser_window(periodic, 31, true, 8.0);
    lib_window_function_t::generate_kaiser_window(longer, 32, false, 8.0);
    longer.pop_back();
    EXPECT_EQ(periodic, longer);
}

TEST(Windows, OfLengthZeroAndOne)
{
    complex_array window(4);
    lib_window_function_t::generate_gauss_window(window, 0, false, 4.8);
    EXPECT_TRUE(window.empty());
    lib_window_function_t::generate_gauss_window(window, 1, false, 4.8);
    EXPECT_EQ(window, (complex_array{ { 1.0f, 0.0f } }));
    lib_window_function_t::generate_kaiser_window(window, 1, false, 12.0);
    EXPECT_EQ(window, (complex_array{ { 1.0f, 0.0f } }));
    lib_window_function_t::generate_kaiser_window(window, 0, false, 12.0);
    EXPECT_TRUE(window.empty());
}
