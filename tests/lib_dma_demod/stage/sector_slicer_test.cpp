#include "lib_dma_demod/stage/sector_slicer.h"

#include "lib_dma_demod/demod_run.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>
#include <random>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using namespace demod_test;

namespace
{
std::complex<float> slice_by(int sectors, std::complex<float> point, float rotation)
{
    switch (sectors)
    {
    case 2:
        return demod_stage::slice_2_sectors(point, rotation);
    case 4:
        return demod_stage::slice_4_sectors(point, rotation);
    case 8:
        return demod_stage::slice_8_sectors(point, rotation);
    default:
        return demod_stage::slice_16_sectors(point, rotation);
    }
}

/// A value whose single-precision angle is as near to `angle` as can be found, and the angle that it has.
std::complex<float> make_at_angle(float angle)
{
    std::complex<float> value(std::polar(1.0, static_cast<double>(angle)));
    for (int i = 0; i < 40 && common_lib::phase_of(value) < angle; ++i)
        value = { std::nextafter(value.real(), angle > 0.0f ? -2.0f : 2.0f), value.imag() };
    for (int i = 0; i < 40 && common_lib::phase_of(value) > angle; ++i)
        value = { std::nextafter(value.real(), angle > 0.0f ? 2.0f : -2.0f), value.imag() };
    return value;
}
} // namespace

TEST(SectorSlicer, GivesThePointOfTheSector)
{
    std::mt19937 generator(9);
    std::uniform_real_distribution<double> angle(-pi, pi);
    std::uniform_real_distribution<double> radius(1e-3, 5.0);
    for (const int sectors : { 2, 4, 8, 16 })
    {
        const double sector = 2.0 * pi / sectors;
        for (const float rotation : { 0.0f, 0.7853982f, -1.3f })
        {
            for (int i = 0; i < 2000; ++i)
            {
                const double a = angle(generator);
                if (std::abs(fold_angle(a - sector / 2.0, sector)) < 1e-5)
                    continue;
                const std::complex<double> wanted =
                    std::polar(1.0, sector * std::round(a / sector) + static_cast<double>(rotation));
                const std::complex<float> point(std::polar(radius(generator), a));
                ASSERT_TRUE(is_near(slice_by(sectors, point, rotation), wanted)) << sectors << " sectors, " << a;
            }
        }
    }
}

TEST(SectorSlicer, GivesABorderToTheLowerSide)
{
    int tested = 0;
    for (const int sectors : { 2, 4, 8, 16 })
    {
        const double sector = 2.0 * pi / sectors;
        for (int k = -sectors / 2; k < sectors / 2; ++k)
        {
            const float border = static_cast<float>((k + 0.5) * sector);
            const std::complex<float> value = make_at_angle(border);
            if (common_lib::phase_of(value) != border)
                continue;
            ++tested;
            EXPECT_TRUE(is_near(slice_by(sectors, value, 0.0f), std::polar(1.0, k * sector)))
                << sectors << " sectors, border " << k;
        }
    }
    EXPECT_GT(tested, 20); // of 30; the others have no value at their very angle
}

TEST(SectorSlicer, TakesItsStepsOnSinglePrecisionAngles)
{
    EXPECT_EQ(demod_stage::slice_2_sectors({ 1.0f, 0.2f }, 0.0f), std::complex<float>(1.0f, 0.0f));
    EXPECT_EQ(demod_stage::slice_2_sectors({ -1.0f, 0.2f }, 0.0f), std::complex<float>(-1.0f, -8.742278e-08f));
    EXPECT_EQ(demod_stage::slice_4_sectors({ 0.1f, 1.0f }, 0.0f), std::complex<float>(-4.371139e-08f, 1.0f));
    EXPECT_EQ(demod_stage::slice_16_sectors({ 0.1f, -1.0f }, 0.0f), std::complex<float>(-4.371139e-08f, -1.0f));
    EXPECT_EQ(demod_stage::slice_16_sectors({ -1.0f, -0.1f }, 0.0f), std::complex<float>(-1.0f, -8.742278e-08f));
}

TEST(SectorSlicer, TakesZeroForAngleZeroAndNoNumberForTheFarSide)
{
    for (const int sectors : { 2, 4, 8, 16 })
    {
        EXPECT_EQ(slice_by(sectors, { 0.0f, 0.0f }, 0.0f), std::complex<float>(1.0f, 0.0f));
        EXPECT_TRUE(is_near(slice_by(sectors, { std::numeric_limits<float>::quiet_NaN(), 0.0f }, 0.0f), -1.0)) << sectors;
    }
}
