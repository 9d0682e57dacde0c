#include "lib_dma_demod/lib_dma_qam_common.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <random>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using common_t = lib_dma_qam_common_t;

namespace
{
lib_dma_qam_modulation_type_t to_format(std::uint32_t value)
{
    return static_cast<lib_dma_qam_modulation_type_t>(value);
}

struct slicer_t
{
    std::complex<float> (*judge)(std::complex<float>, float);
    int side;
    float unit;
};

const slicer_t slicers[] = {
    { common_t::qam_judge_16, 4, 0.31622776f },    { common_t::qam_judge_32, 6, 0.2236068f },
    { common_t::qam_judge_64, 8, 0.15430336f },    { common_t::qam_judge_128, 12, 0.11043153f },
    { common_t::qam_judge_256, 16, 0.0766965f },   { common_t::qam_judge_512, 24, 0.05504819f },
    { common_t::qam_judge_1024, 32, 0.03829198f }, { common_t::qam_judge_4096, 64, 0.019138975f },
};

/// Nearest odd multiple of the unit by walking over all of them.
double find_level(double rail, int side, double unit)
{
    double best = 0.0;
    double least = 1e300;
    for (int level = 1 - side; level < side; level += 2)
    {
        if (std::abs(rail - level * unit) < least)
        {
            least = std::abs(rail - level * unit);
            best = level * unit;
        }
    }
    return best;
}
} // namespace

TEST(QamFacts, AreThoseOfTheTable)
{
    const float rms[] = { 1.5811388f, 2.236068f,  3.24037f,  4.527693f, 6.519202f,  9.082951f, 13.057565f,
                          1.581139f,  26.124701f, 1.581139f, 2.236068f, 1.5811388f, 1.5811388f };
    for (std::uint32_t i = 0; i < std::size(rms); ++i)
        EXPECT_EQ(common_t::qam_get_rms(to_format(i)), rms[i]) << i;

    const float largest[] = { 4.2426405f, 7.071068f, 9.899495f, 15.556349f, 21.213203f, 32.526913f, 43.840622f };
    const std::uint32_t side[] = { 4, 6, 8, 12, 16, 24, 32 };
    const std::uint32_t bits[] = { 4, 5, 6, 7, 8, 9, 10 };
    const float outer[] = { 0.872678f, 0.7728657f, 0.93448305f, 0.807434f, 0.96785563f, 26.939375f, 43.145294f };
    for (std::uint32_t i = 0; i <= 10; ++i)
    {
        if (i == 7 || i == 8)
            continue;
        const std::uint32_t row = i == 9 ? 0 : i == 10 ? 1 : i;
        EXPECT_EQ(common_t::qam_get_max_mag(to_format(i)), largest[row]) << i;
        EXPECT_EQ(common_t::qam_get_square_len(to_format(i)), side[row]) << i;
        EXPECT_EQ(common_t::qam_get_bit_num(to_format(i)), bits[row]) << i;
        EXPECT_EQ(common_t::qam_get_mean_outer_mag(to_format(i)), outer[row]) << i;
    }
    EXPECT_EQ(common_t::qam_get_bit_num(to_format(7)), 11u);
    EXPECT_EQ(common_t::qam_get_bit_num(to_format(8)), 12u);
}

TEST(QamFacts, OfAnUnknownFormatAreThoseOfSixteenPoints)
{
    for (const std::uint32_t value : { 11u, 15u, 4000000000u })
    {
        EXPECT_EQ(common_t::qam_get_rms(to_format(value)), 1.5811388f);
        EXPECT_EQ(common_t::qam_get_max_mag(to_format(value)), 4.2426405f);
        EXPECT_EQ(common_t::qam_get_square_len(to_format(value)), 4u);
        EXPECT_EQ(common_t::qam_get_bit_num(to_format(value)), 4u);
        EXPECT_EQ(common_t::qam_get_mean_outer_mag(to_format(value)), 0.872678f);
    }
}

TEST(QamFacts, HaveTheLargestAmplitudeAtUnitRms)
{
    // 3 sqrt(2) over sqrt(10); 5^2 + 5^2 for the square around 32 points over their mean power of 20.
    EXPECT_NEAR(common_t::qam_get_max_outer_mag(LIB_DMA_QAM_16), 1.3416408f, 1e-6f);
    EXPECT_NEAR(common_t::qam_get_max_outer_mag(LIB_DMA_QAM_32), static_cast<float>(std::sqrt(50.0 / 20.0)), 1e-6f);
    complex_array symbols = { { 0.5f, 0.0f }, { 0.0f, -2.0f } };
    common_t::qam_outer_mag_norm(LIB_DMA_QAM_16, symbols);
    EXPECT_NEAR(symbols[0].real(), 0.25f * 1.3416408f, 1e-6f);
    EXPECT_NEAR(symbols[1].imag(), -1.3416408f, 1e-6f);
    complex_array silence = { { 0.0f, 0.0f } };
    common_t::qam_outer_mag_norm(LIB_DMA_QAM_16, silence);
    EXPECT_EQ(silence[0], std::complex<float>(0.0f, 0.0f));
    complex_array infinite = { { 1.0f, 0.0f }, { std::numeric_limits<float>::infinity(), 0.0f } };
    common_t::qam_outer_mag_norm(LIB_DMA_QAM_16, infinite);
    EXPECT_EQ(infinite[0], std::complex<float>(1.0f, 0.0f));
}

TEST(QamFacts, FillASquareOfOddIntegers)
{
    constellation_map map;
    common_t::generate_square_constellation(4, map);
    ASSERT_EQ(map.size(), 16u);
    EXPECT_EQ(map.at(0), std::complex<float>(-3.0f, -3.0f));
    EXPECT_EQ(map.at(3), std::complex<float>(-3.0f, 3.0f));
    EXPECT_EQ(map.at(4), std::complex<float>(-1.0f, -3.0f));
    EXPECT_EQ(map.at(15), std::complex<float>(3.0f, 3.0f));
    common_t::generate_square_constellation(64, map);
    EXPECT_EQ(map.size(), 4096u);
    common_t::generate_square_constellation(65, map);
    EXPECT_TRUE(map.empty());
    common_t::generate_square_constellation(0, map);
    EXPECT_TRUE(map.empty());
}

TEST(QamSign, IsThatOfItsArgument)
{
    EXPECT_EQ(common_t::sign(2.5f), 1.0f);
    EXPECT_EQ(common_t::sign(-1e-40f), -1.0f);
    EXPECT_EQ(common_t::sign(0.0f), 0.0f);
    EXPECT_EQ(common_t::sign(-0.0f), 0.0f);
    EXPECT_EQ(common_t::sign(std::numeric_limits<float>::quiet_NaN()), 0.0f);
    EXPECT_EQ(common_t::sign(-std::numeric_limits<float>::infinity()), -1.0f);
}

TEST(QamAveragePower, IsThatOfTheSet)
{
    for (const std::uint32_t bits : { 1u, 4u, 5u, 12u })
        EXPECT_EQ(common_t::get_average_power(bits, false), 1.0);
    // By hand: two points at 2 * (2.5 - 1) / 3, eight at 2 * (10 - 1) / 3, and the sets from 4 points on.
    EXPECT_DOUBLE_EQ(common_t::get_average_power(1, true), 1.0);
    EXPECT_DOUBLE_EQ(common_t::get_average_power(3, true), 6.0);
    EXPECT_DOUBLE_EQ(common_t::get_average_power(2, true), 2.0);
    EXPECT_DOUBLE_EQ(common_t::get_average_power(4, true), 10.0);
    EXPECT_DOUBLE_EQ(common_t::get_average_power(5, true), 20.0);
    EXPECT_DOUBLE_EQ(common_t::get_average_power(6, true), 42.0);
    EXPECT_DOUBLE_EQ(common_t::get_average_power(7, true), 82.0);
    EXPECT_DOUBLE_EQ(common_t::get_average_power(8, true), 170.0);
    EXPECT_DOUBLE_EQ(common_t::get_average_power(9, true), 330.0);
    EXPECT_DOUBLE_EQ(common_t::get_average_power(10, true), 682.0);
    EXPECT_DOUBLE_EQ(common_t::get_average_power(11, true), 1322.0);
    EXPECT_DOUBLE_EQ(common_t::get_average_power(12, true), 2730.0);
    EXPECT_TRUE(std::isfinite(common_t::get_average_power(4000000000u, true)));
}

TEST(QamRailSlicer, CutsEachRailToTheNearestLevel)
{
    std::mt19937 generator(17);
    for (const slicer_t& slicer : slicers)
    {
        for (const float scale : { 1.0f, 0.37f, 12.0f })
        {
            const double unit = static_cast<double>(slicer.unit);
            const double wide = 1.5 * slicer.side * unit;
            std::uniform_real_distribution<double> part(-wide, wide);
            for (int i = 0; i < 500; ++i)
            {
                const double re = part(generator);
                const double im = part(generator);
                const double over = std::fmod(std::abs(re) / unit, 2.0);
                const double under = std::fmod(std::abs(im) / unit, 2.0);
                if (std::min({ over, 2.0 - over, under, 2.0 - under }) < 1e-4)
                    continue; // at a border
                const std::complex<float> point(static_cast<float>(re) * scale, static_cast<float>(im) * scale);
                const std::complex<float> decided = slicer.judge(point, scale);
                const double tolerance = 1e-6 * static_cast<double>(scale);
                ASSERT_NEAR(static_cast<double>(decided.real()), find_level(re, slicer.side, unit) * static_cast<double>(scale),
                            tolerance)
                    << slicer.side << ", " << re;
                ASSERT_NEAR(static_cast<double>(decided.imag()), find_level(im, slicer.side, unit) * static_cast<double>(scale),
                            tolerance)
                    << slicer.side << ", " << im;
            }
        }
    }
}

TEST(QamRailSlicer, HasTheLevelsAndThresholdsOfSixteenPoints)
{
    const float low = 0.31622776f;
    const float high = 0.9486833f;
    const float border = 0.6324555f;
    const auto rail = [](float value) { return common_t::qam_judge_16({ value, -value }, 1.0f); };
    EXPECT_EQ(rail(0.0f), std::complex<float>(0.0f, 0.0f));
    EXPECT_EQ(rail(1e-30f), std::complex<float>(low, -low));
    EXPECT_EQ(rail(border - 1e-6f), std::complex<float>(low, -low));
    EXPECT_NEAR(rail(border + 1e-6f).real(), high, 1e-7f);
    EXPECT_NEAR(rail(border + 1e-6f).imag(), -high, 1e-7f);
    EXPECT_NEAR(rail(1e30f).real(), high, 1e-7f);
    EXPECT_NEAR(rail(-1e30f).real(), -high, 1e-7f);
    EXPECT_NEAR(common_t::qam_judge_16({ 5.0f, 0.1f }, 10.0f).real(), 3.1622776f, 1e-6f);
}

TEST(QamRailSlicer, StaysFiniteForWhatIsNoNumber)
{
    const float nan_value = std::numeric_limits<float>::quiet_NaN();
    for (const slicer_t& slicer : slicers)
    {
        EXPECT_EQ(slicer.judge({ nan_value, 0.0f }, 1.0f), std::complex<float>(0.0f, 0.0f));
        const std::complex<float> outermost = slicer.judge({ std::numeric_limits<float>::infinity(), -1e38f }, 1.0f);
        EXPECT_NEAR(outermost.real(), static_cast<float>(slicer.side - 1) * slicer.unit, 1e-5f);
        EXPECT_NEAR(outermost.imag(), -static_cast<float>(slicer.side - 1) * slicer.unit, 1e-5f);
        EXPECT_EQ(slicer.judge({ 0.0f, 1.0f }, 0.0f).real(), 0.0f);
    }
}
