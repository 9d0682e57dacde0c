#include "lib_dma_demod/lib_dma_msk_demod.h"

#include "lib_dma_msk_signal.h"
#include "message_capture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>
#include <map>
#include <string>
#include <vector>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using namespace msk_test;

namespace
{
/// Bits from the half sines that the ramp makes of both branches: each sample counts to the half sine that it lies under, and
/// each bit takes the two that stand over its middle.
/// @param ramp  start of the ramp, -pi / 4 or pi / 4
/// @param sum   sum of the magnitudes behind the decisions
std::vector<int> decide_by_half_sines(const complex_array& samples, std::size_t sps, double ramp, double& sum)
{
    const auto angle = [&](std::size_t n, bool quadrature)
    { return ramp + static_cast<double>(n) * pi / (2.0 * static_cast<double>(sps)) - (quadrature ? pi / 2.0 : 0.0); };
    std::map<int, double> values[2];
    for (std::size_t n = 0; n < samples.size(); ++n)
    {
        const std::complex<double> sample(samples[n]);
        for (const bool quadrature : { false, true })
        {
            const double theta = angle(n, quadrature);
            const double part = quadrature ? sample.imag() : -sample.real();
            values[quadrature][static_cast<int>(std::floor(theta / pi + 1e-9))] += part * std::sin(theta);
        }
    }
    sum = 0.0;
    for (const std::map<int, double>& branch : values)
    {
        for (const auto& [number, value] : branch)
            sum += std::abs(value);
    }
    std::vector<int> bits;
    for (std::size_t j = 0; j < samples.size() / sps; ++j)
    {
        const auto value = [&](bool quadrature)
        { return values[quadrature].at(static_cast<int>(std::floor(angle(j * sps, quadrature) / pi))); };
        bits.push_back((value(false) > 0.0) == (value(true) > 0.0) ? 0 : 1);
    }
    return bits;
}
} // namespace

TEST(MskBits, AreFoundAtEveryQuarterTurnAndRate)
{
    for (const std::uint32_t sps : { 1u, 2u, 4u, 5u, 8u, 10u })
    {
        for (const std::size_t count : { 40u, 41u })
        {
            for (unsigned seed = 1; seed <= 6; ++seed) // both first bits, so that either branch changes first
            {
                const float_array bits = make_bits(count, seed);
                for (int quarter = 0; quarter < 4; ++quarter)
                    EXPECT_EQ(lib_dma_msk_demod_t::msk_bit_demod(make_msk(bits, sps, pi / 4.0 + quarter * pi / 2.0), sps), bits)
                        << "sps " << sps << " count " << count << " seed " << seed << " quarter " << quarter;
            }
        }
    }
}

TEST(MskBits, StandInNoise)
{
    // 14 dB: half-sine integration errs once in 10^11 bits or so.
    const float_array bits = make_bits(2000, 3);
    for (int quarter = 0; quarter < 4; ++quarter)
    {
        complex_array samples = make_msk(bits, 8, pi / 4.0 + quarter * pi / 2.0);
        add_noise(8.0 * std::pow(10.0, -1.4), 17, samples);
        EXPECT_EQ(lib_dma_msk_demod_t::msk_bit_demod(samples, 8), bits) << "quarter " << quarter;
    }
}

TEST(MskBits, AreThoseOfTheHalfSinesWhereNoiseDecides)
{
    // At 3 dB many decisions hang on the noise: a window one sample off would show.
    for (const std::uint32_t sps : { 2u, 4u, 5u, 8u, 10u })
    {
        for (int quarter = 0; quarter < 4; ++quarter)
        {
            const std::size_t count = quarter % 2 == 0 ? 600 : 601;
            complex_array samples = make_msk(make_bits(count, sps), sps, pi / 4.0 + quarter * pi / 2.0);
            add_noise(static_cast<double>(sps) * 0.5, 100 + sps, samples);
            double sums[2] = {};
            const std::vector<int> lower = decide_by_half_sines(samples, sps, -pi / 4.0, sums[0]);
            const std::vector<int> upper = decide_by_half_sines(samples, sps, pi / 4.0, sums[1]);
            ASSERT_GT(std::abs(sums[0] - sums[1]), 1e-3 * sums[0]);
            const std::vector<int>& expected = sums[0] > sums[1] ? lower : upper;
            const float_array bits = lib_dma_msk_demod_t::msk_bit_demod(samples, sps);
            EXPECT_EQ(std::vector<int>(bits.begin(), bits.end()), expected) << "sps " << sps << " quarter " << quarter;
        }
    }
}

TEST(MskBits, DoNotLoseTheirPlaceToOneNoisySample)
{
    // Single samples tell the places of the pulses wrong in a third of such records; the sum over all windows does not.
    for (unsigned seed = 1; seed <= 100; ++seed)
    {
        const float_array bits = make_bits(120, seed);
        complex_array samples = make_msk(bits, 8, pi / 4.0 + (seed % 4) * pi / 2.0);
        add_noise(8.0 * 0.01, seed, samples);
        EXPECT_EQ(lib_dma_msk_demod_t::msk_bit_demod(samples, 8), bits) << "seed " << seed;
    }
}

TEST(MskBits, LeaveOutAPartOfABit)
{
    const log_capture_t log;
    const float_array bits = make_bits(20, 4);
    complex_array samples = make_msk(bits, 8, pi / 4.0);
    samples.resize(19 * 8 + 7);
    EXPECT_EQ(lib_dma_msk_demod_t::msk_bit_demod(samples, 8).size(), 19u);
    EXPECT_TRUE(lib_dma_msk_demod_t::msk_bit_demod({}, 8).empty());
    EXPECT_TRUE(lib_dma_msk_demod_t::msk_bit_demod(samples, 0).empty());
    EXPECT_EQ(log.count(common_log::log_level_info, "lib_dma_msk_demod_t::msk_bit_demod start.\n"), 3);
}

TEST(MskBits, OfNothingAreBitsStill)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (const std::complex<float> value : { std::complex<float>(0.0f, 0.0f), std::complex<float>(nan, nan) })
    {
        const float_array bits = lib_dma_msk_demod_t::msk_bit_demod(complex_array(80, value), 8);
        EXPECT_EQ(bits, float_array(10, 0.0f)); // floor of one half
    }
}

TEST(MskJudge, DecidesForTheDiagonalOfTheQuadrant)
{
    for (int k = 0; k < 4; ++k)
    {
        const double centre = pi / 4.0 + k * pi / 2.0;
        for (const double off : { -0.78, -0.3, 0.0, 0.3, 0.78 })
        {
            const std::complex<float> point(std::polar(0.3, centre + off));
            const std::complex<double> decided(lib_dma_msk_demod_t::msk_judge(point, 0.0f));
            EXPECT_LE(std::abs(decided - std::polar(1.0, centre)), 1e-6) << k << " " << off;
        }
    }
}

TEST(MskJudge, GivesABorderToTheSectorBelowIt)
{
    for (int k = 0; k < 4; ++k)
    {
        const std::complex<float> axes[] = { { 1.0f, 0.0f }, { 0.0f, 1.0f }, { -1.0f, 0.0f }, { 0.0f, -1.0f } };
        const std::complex<double> decided(lib_dma_msk_demod_t::msk_judge(axes[k], 0.0f));
        EXPECT_LE(std::abs(decided - std::polar(1.0, k * pi / 2.0 - pi / 4.0)), 1e-6) << k;
    }
}

TEST(MskJudge, TakesItsPointsFromSinglePrecisionSines)
{
    // (1, j, -1, -j as single precision has them) * (1 + j) / sqrt(2), four products and two sums each.
    constexpr float h = 0.707106769f;
    EXPECT_EQ(lib_dma_msk_demod_t::msk_judge({ 1.0f, 1.0f }, 0.0f), std::complex<float>(h, h));
    EXPECT_EQ(lib_dma_msk_demod_t::msk_judge({ -1.0f, 1.0f }, 0.0f),
              std::complex<float>(-4.37113883e-08f * h - h, -4.37113883e-08f * h + h));
    EXPECT_EQ(lib_dma_msk_demod_t::msk_judge({ -1.0f, -1.0f }, 0.0f),
              std::complex<float>(-h + 8.74227766e-08f * h, -h - 8.74227766e-08f * h));
    EXPECT_EQ(lib_dma_msk_demod_t::msk_judge({ 1.0f, -1.0f }, 0.0f),
              std::complex<float>(-4.37113883e-08f * h + h, -4.37113883e-08f * h - h));
}
