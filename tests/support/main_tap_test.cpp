#include "support/internal/main_tap.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstddef>
#include <limits>
#include <random>

using namespace vrim;
using namespace vrim::common_lib;

namespace
{
constexpr std::size_t main_place = 24;
constexpr std::size_t outputs = 200;

/// One tap among what the sine of whole multiples of pi leaves.
float_array make_taps()
{
    std::mt19937 generator(3);
    std::normal_distribution<float> part;
    float_array taps(49);
    for (float& tap : taps)
        tap = 2e-17f * part(generator);
    taps[main_place] = 0.97f;
    return taps;
}

complex_array make_samples()
{
    std::mt19937 generator(4);
    std::normal_distribution<float> part;
    complex_array samples(outputs + 48);
    for (std::complex<float>& sample : samples)
        sample = { part(generator), part(generator) };
    return samples;
}

/// The sums in single precision, oldest sample first.
complex_array correlate_in_order(const float_array& taps, const complex_array& samples)
{
    complex_array out(samples.size() + 1 - taps.size());
    for (std::size_t i = 0; i < out.size(); ++i)
    {
        float re = 0.0f;
        float im = 0.0f;
        for (std::size_t k = 0; k < taps.size(); ++k)
        {
            re += samples[i + k].real() * taps[k];
            im += samples[i + k].imag() * taps[k];
        }
        out[i] = { re, im };
    }
    return out;
}
} // namespace

TEST(MainTap, StandsOutAmongZerosAlone)
{
    EXPECT_TRUE(main_tap_t(make_taps()).stands_out());
    EXPECT_TRUE(main_tap_t({ 0.0f, -2.0f }).stands_out());
    EXPECT_FALSE(main_tap_t({ 1e-6f, 1.0f, 1e-6f }).stands_out());
    EXPECT_FALSE(main_tap_t({ 0.0f, 0.0f }).stands_out());
    EXPECT_FALSE(main_tap_t(float_array()).stands_out());
}

TEST(MainTap, GivesTheBitsOfTheWholeCorrelation)
{
    const float_array taps = make_taps();
    const complex_array samples = make_samples();
    complex_array out(outputs);
    ASSERT_TRUE(main_tap_t(taps).correlate(samples.data(), out.data(), outputs));
    EXPECT_EQ(out, correlate_in_order(taps, samples));
}

TEST(MainTap, RefusesWhereTheOthersMayShow)
{
    const float_array taps = make_taps();
    bool refused = false;
    bool taken = false;
    bool shown = false;
    for (int exponent = 0; exponent < 70; ++exponent)
    {
        complex_array samples = make_samples();
        samples[main_place + 77] = { std::ldexp(0.8f, -exponent), 1.0f };
        const complex_array expected = correlate_in_order(taps, samples);
        complex_array out(outputs);
        if (main_tap_t(taps).correlate(samples.data(), out.data(), outputs))
        {
            taken = true;
            EXPECT_EQ(out, expected) << exponent;
            continue;
        }
        refused = true;
        shown = shown || expected[77].real() != taps[main_place] * samples[main_place + 77].real();
    }
    EXPECT_TRUE(taken);
    EXPECT_TRUE(refused);
    EXPECT_TRUE(shown); // so that the refusal was needed
}

TEST(MainTap, RefusesZerosAndWhatIsNotFinite)
{
    const main_tap_t main_tap(make_taps());
    complex_array out(outputs);
    for (const float value : { 0.0f, -0.0f, std::numeric_limits<float>::infinity(), std::nanf("") })
    {
        complex_array samples = make_samples();
        samples[100] = { 1.0f, value };
        EXPECT_FALSE(main_tap.correlate(samples.data(), out.data(), outputs)) << value;
    }
    const complex_array silence(outputs + 48, { 0.0f, 0.0f });
    EXPECT_FALSE(main_tap.correlate(silence.data(), out.data(), outputs));
    const complex_array least(outputs + 48, { 1e-45f, 1e-45f });
    EXPECT_FALSE(main_tap.correlate(least.data(), out.data(), outputs));
}
