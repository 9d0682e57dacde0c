#include "support/internal/trigonometry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <random>

using namespace vrim::common_lib;

namespace
{
constexpr double bound = 1e-15;       // absolute, of values up to 1 in magnitude
constexpr double angle_bound = 1e-13; // radians; far below what single precision resolves
constexpr double infinity = std::numeric_limits<double>::infinity();
const double nan_value = std::numeric_limits<double>::quiet_NaN();

void expect_sine_cosine(double angle)
{
    const sine_cosine_t turn = sine_cosine(angle);
    EXPECT_NEAR(turn.sine, static_cast<double>(std::sin(static_cast<long double>(angle))), bound) << "angle " << angle;
    EXPECT_NEAR(turn.cosine, static_cast<double>(std::cos(static_cast<long double>(angle))), bound) << "angle " << angle;
}

/// Equal as numbers and in the sign of zero; both not-a-number counts as equal.
void expect_same_angle(double y, double x)
{
    const double expected = std::atan2(y, x);
    const double actual = angle_of(y, x);
    if (std::isnan(expected))
    {
        EXPECT_TRUE(std::isnan(actual)) << y << " over " << x;
        return;
    }
    EXPECT_NEAR(actual, expected, angle_bound) << y << " over " << x;
    EXPECT_EQ(std::signbit(actual), std::signbit(expected)) << y << " over " << x;
}
} // namespace

TEST(SineCosine, AgreesWithExtendedPrecisionOverTheReducedRange)
{
    std::mt19937_64 generator(101);
    for (const double span : { 1e-3, 1.0, 10.0, 1e3, 1e5, 1e6 })
    {
        std::uniform_real_distribution<double> angle(-span, span);
        for (int i = 0; i < 20000; ++i)
            expect_sine_cosine(angle(generator));
    }
}

TEST(SineCosine, AgreesAtMultiplesOfAnEighthTurnAndNextToThem)
{
    for (int k = -4000; k <= 4000; ++k)
    {
        const double angle = static_cast<double>(k) * std::numbers::pi / 4.0;
        expect_sine_cosine(angle);
        expect_sine_cosine(std::nextafter(angle, infinity));
        expect_sine_cosine(std::nextafter(angle, -infinity));
    }
    for (const double k : { 100001.0, 300000.0, 636619.0, -636618.0 })
        expect_sine_cosine(k * std::numbers::pi / 2.0);
}

TEST(SineCosine, AgreesAtTheEndOfTheReducedRangeAndBeyondIt)
{
    for (const double angle : { 1e6, -1e6, std::nextafter(1e6, infinity), 1.5e6, 1e9, -1e15, 1e300 })
        expect_sine_cosine(angle);
}

TEST(SineCosine, IsExactAtZeroAndNotANumberForWhatIsNotFinite)
{
    EXPECT_EQ(sine_cosine(0.0).sine, 0.0);
    EXPECT_EQ(sine_cosine(0.0).cosine, 1.0);
    for (const double angle : { infinity, -infinity, nan_value })
    {
        EXPECT_TRUE(std::isnan(sine_cosine(angle).sine));
        EXPECT_TRUE(std::isnan(sine_cosine(angle).cosine));
    }
}

TEST(SineCosine, KeepsTheUnitCircle)
{
    std::mt19937_64 generator(102);
    std::uniform_real_distribution<double> angle(-1e6, 1e6);
    for (int i = 0; i < 10000; ++i)
    {
        const sine_cosine_t turn = sine_cosine(angle(generator));
        EXPECT_NEAR(turn.sine * turn.sine + turn.cosine * turn.cosine, 1.0, 4.0 * bound);
    }
}

TEST(AngleOf, AgreesWithTheLibraryAllRound)
{
    std::mt19937_64 generator(103);
    std::normal_distribution<double> part;
    for (const double scale : { 1e-30, 1.0, 1e30 })
    {
        for (int i = 0; i < 20000; ++i)
            expect_same_angle(scale * part(generator), scale * part(generator));
    }
    for (int i = 0; i < 20000; ++i)
        expect_same_angle(1e-9 * part(generator), part(generator));
}

TEST(AngleOf, AgreesOnTheAxesAndTheDiagonals)
{
    for (const double y : { -2.0, -1.0, -0.0, 0.0, 1.0, 2.0, 0.41421356237309504880 })
    {
        for (const double x : { -2.0, -1.0, -0.0, 0.0, 1.0, 2.0, 0.41421356237309504880 })
            expect_same_angle(y, x);
    }
    EXPECT_EQ(angle_of(1.0, 0.0), std::numbers::pi / 2.0);
    EXPECT_EQ(angle_of(0.0, -1.0), std::numbers::pi);
    EXPECT_EQ(angle_of(-0.0, -1.0), -std::numbers::pi);
}

TEST(AngleOf, GivesTheLibrarysValuesAtInfinityAndNotANumber)
{
    for (const double y : { -infinity, -1.0, -0.0, 0.0, 1.0, infinity, nan_value })
    {
        for (const double x : { -infinity, -1.0, -0.0, 0.0, 1.0, infinity, nan_value })
            expect_same_angle(y, x);
    }
}
