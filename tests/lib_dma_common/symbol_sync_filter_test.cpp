#include "lib_dma_common/symbol_sync.h"

#include "noise.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <numbers>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using plan_t = symbol_timing_recovery_plan;

namespace
{
constexpr double pi = std::numbers::pi;

float_array filter_in_order(const double_array& taps, const float_array& padded, std::size_t count)
{
    float_array out(count);
    for (std::size_t k = 0; k < count; ++k)
    {
        float sum = 0.0f;
        for (std::size_t i = 0; i < taps.size(); ++i)
            sum += static_cast<float>(taps[i]) * (k + i < padded.size() ? padded[k + i] : 0.0f);
        out[k] = sum;
    }
    return out;
}
} // namespace

TEST(FractionalDelayDesign, IsASincUnderABlackmanHarrisWindowCentredOnTheDelay)
{
    for (const std::uint32_t order : { 4u, 7u, 8u, 16u, 33u })
    {
        for (const double delay : { 0.0, 0.125, 0.5, 0.999, 1.0 })
        {
            double_array taps(3);
            plan_t::sinc_fractional_delay_filter_design(delay, order, taps);
            ASSERT_EQ(taps.size(), order);
            const int c = static_cast<int>(order / 2) - 1;
            for (std::uint32_t i = 0; i < order; ++i)
            {
                const double x = delay - i + c;
                const double sinc = std::abs(x) < 1e-9 ? 1.0 : std::sin(pi * x) / (pi * x);
                const double t = i + (1.0 - delay);
                const double w = 0.35875 - 0.48829 * std::cos(2.0 * pi * t / order) + 0.14128 * std::cos(4.0 * pi * t / order) -
                                 0.01168 * std::cos(6.0 * pi * t / order);
                EXPECT_NEAR(taps[i], w * sinc, 3e-7) << "order " << order << " delay " << delay << " tap " << i;
            }
        }
    }
    double_array taps(3);
    plan_t::sinc_fractional_delay_filter_design(0.5, 0, taps);
    EXPECT_TRUE(taps.empty());
}

TEST(FractionalDelayDesign, TakesAFixedPointDelay)
{
    double_array word, plain;
    for (const std::uint64_t bits : { 4u, 16u, 32u })
    {
        plan_t::sinc_fractional_delay_filter_design(std::uint64_t(5) << (bits - 4), bits, 16, word);
        plan_t::sinc_fractional_delay_filter_design(5.0 / 16.0, 16, plain);
        EXPECT_EQ(word, plain) << bits;
    }
}

TEST(FractionalDelay, SumsInSinglePrecisionInTapOrder)
{
    for (const std::uint32_t order : { 2u, 4u, 5u, 15u, 16u, 17u })
    {
        for (const std::size_t count : { 1u, 2u, 31u, 32u, 40u, 97u })
        {
            double_array taps;
            plan_t::sinc_fractional_delay_filter_design(0.3, order, taps);
            complex_array input = make_noise(count, order);
            const complex_array before = input;
            complex_array output(3);
            plan_t::sinc_fractional_delay(order, taps, input, output);

            const std::size_t front = order / 2 - 1;
            ASSERT_EQ(input.size(), front + count + order / 2) << order;
            float_array re, im;
            for (std::size_t n = 0; n < input.size(); ++n)
            {
                const bool inside = n >= front && n < front + count;
                EXPECT_EQ(input[n], inside ? before[n - front] : std::complex<float>(0.0f, 0.0f));
                re.push_back(input[n].real());
                im.push_back(input[n].imag());
            }
            const float_array sum_re = filter_in_order(taps, re, count);
            const float_array sum_im = filter_in_order(taps, im, count);
            ASSERT_EQ(output.size(), count);
            for (std::size_t k = 0; k < count; ++k)
                EXPECT_EQ(output[k], (std::complex<float>(sum_re[k], sum_im[k])))
                    << "order " << order << " count " << count << " at " << k;
        }
    }
}

TEST(FractionalDelay, OfNothingIsNothingAndLeavesThePadding)
{
    double_array taps;
    plan_t::sinc_fractional_delay_filter_design(0.3, 16, taps);
    complex_array input;
    complex_array output(3);
    plan_t::sinc_fractional_delay(16, taps, input, output);
    EXPECT_TRUE(output.empty());
    EXPECT_EQ(input, complex_array(15, { 0.0f, 0.0f }));
    input.clear();
    output.resize(3);
    plan_t::sinc_fractional_delay(16, 262144, 32, 0, input, output);
    EXPECT_TRUE(output.empty());
    EXPECT_EQ(input, complex_array(15, { 0.0f, 0.0f }));
}

TEST(FractionalDelay, ReadsASlowSignalLaterByTheDelay)
{
    for (const double delay : { 0.0, 0.25, 0.5, 0.875 })
    {
        double_array taps;
        plan_t::sinc_fractional_delay_filter_design(delay, 16, taps);
        complex_array input(300);
        for (std::size_t n = 0; n < input.size(); ++n)
            input[n] = std::complex<float>(std::polar(1.0, 0.3 * static_cast<double>(n)));
        complex_array output;
        plan_t::sinc_fractional_delay(16, taps, input, output);
        for (std::size_t k = 10; k < 290; ++k)
            EXPECT_LT(std::abs(std::complex<double>(output[k]) - std::polar(1.0, 0.3 * (static_cast<double>(k) + delay))), 2e-3)
                << delay;
    }
}

TEST(FixedPointFractionalDelay, AtUnitRateIsThePlainFilter)
{
    const complex_array record = make_noise(200, 21);
    for (const std::uint64_t bits : { 8u, 16u, 18u, 32u, 40u, 48u })
    {
        const std::uint64_t word = std::uint64_t(3) << (bits - 3); // 3 / 8
        complex_array a = record, b = record, plain, fixed;
        double_array taps;
        plan_t::sinc_fractional_delay_filter_design(0.375, 16, taps);
        plan_t::sinc_fractional_delay(16, taps, a, plain);
        plan_t::sinc_fractional_delay(16, 262144, bits, word, b, fixed);
        EXPECT_EQ(a, b);
        ASSERT_EQ(fixed.size(), plain.size()) << bits;
        for (std::size_t k = 0; k < plain.size(); ++k)
            EXPECT_LT(std::abs(fixed[k] - plain[k]), 1e-6f) << bits << " at " << k;
    }
}

TEST(FixedPointFractionalDelay, StepsByItsInterpolationFactor)
{
    complex_array input(400);
    for (std::size_t n = 0; n < input.size(); ++n)
        input[n] = std::complex<float>(std::polar(1.0, 0.2 * static_cast<double>(n)));
    complex_array output;
    // Half the rate of 2^18: steps of half a sample from 0.25 on.
    plan_t::sinc_fractional_delay(16, 131072, 32, std::uint64_t(1) << 30, input, output);
    ASSERT_EQ(output.size(), 400u);
    for (std::size_t k = 20; k < 380; ++k)
        EXPECT_LT(std::abs(std::complex<double>(output[k]) - std::polar(1.0, 0.2 * (0.25 + 0.5 * static_cast<double>(k)))), 2e-3)
            << k;
    complex_array still = make_noise(5, 1);
    plan_t::sinc_fractional_delay(16, 0, 32, 0, still, output);
    EXPECT_TRUE(output.empty());
}

TEST(FixIntDelay, IsItsTable)
{
    const std::uint32_t table[] = { 1, 0, 5, 0, 1, 0, 3, 0, 5, 0, 7, 0, 9 };
    plan_t plan;
    for (std::uint32_t order = 0; order < 40; ++order)
        EXPECT_EQ(plan.cal_timing_recovery_fix_int_delay(order), order >= 4 && order <= 16 ? table[order - 4] : 0u) << order;
    EXPECT_EQ(plan.cal_timing_recovery_fix_int_delay(0xffffffffu), 0u);
}
