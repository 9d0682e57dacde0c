#include "lib_dma_phy.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstddef>
#include <numbers>
#include <random>
#include <vector>

using namespace vrim;
using namespace vrim::dma_demod_lib;

namespace
{
using wide_array = std::vector<std::complex<double>>;

/// Sum over n of data[n] e^(sign j 2 pi k n / N).
wide_array transform(const wide_array& data, double sign)
{
    const std::size_t count = data.size();
    wide_array bins(count);
    for (std::size_t k = 0; k < count; ++k)
    {
        for (std::size_t n = 0; n < count; ++n)
            bins[k] += data[n] * std::polar(1.0, sign * 2.0 * std::numbers::pi * static_cast<double>(k * n % count) /
                                                     static_cast<double>(count));
    }
    return bins;
}

wide_array invert_by_hand(const wide_array& data)
{
    const std::size_t count = data.size();
    const wide_array bins = transform(data, -1.0);
    wide_array turned(count);
    for (std::size_t k = 0; k < count; ++k)
        turned[k] = std::conj(bins[count - 1 - k]);
    wide_array result = transform(turned, 1.0);
    for (std::complex<double>& value : result)
        value /= static_cast<double>(count);
    return result;
}

complex_array make_noise(std::size_t count)
{
    std::mt19937 generator(11);
    std::normal_distribution<float> level;
    complex_array data(count);
    for (std::complex<float>& value : data)
    {
        const float real = level(generator);
        value = { real, level(generator) };
    }
    return data;
}

void expect_near(const complex_array& data, const wide_array& expected)
{
    ASSERT_EQ(data.size(), expected.size());
    for (std::size_t i = 0; i < data.size(); ++i)
    {
        EXPECT_NEAR(data[i].real(), expected[i].real(), 4e-6) << i;
        EXPECT_NEAR(data[i].imag(), expected[i].imag(), 4e-6) << i;
    }
}
} // namespace

TEST(SpectrumInversion, ReversesAndConjugatesTheBins)
{
    lib_dma_phy_t analyser;
    for (const std::size_t count : { 1u, 2u, 3u, 8u, 60u, 97u })
    {
        complex_array data = make_noise(count);
        const wide_array expected = invert_by_hand(wide_array(data.begin(), data.end()));
        EXPECT_TRUE(analyser.deal_spectrum_invert(data));
        expect_near(data, expected);
    }
}

TEST(SpectrumInversion, TakesAToneOneBinBelowItsMirrorImage)
{
    // Bin k goes to N - 1 - k, the mirror image of k being N - k.
    lib_dma_phy_t analyser;
    constexpr std::size_t count = 64;
    const std::complex<double> amplitude(0.6, 0.7);
    for (const std::size_t bin : { 0u, 1u, 5u, 31u, 32u, 63u })
    {
        complex_array data(count);
        wide_array expected(count);
        for (std::size_t n = 0; n < count; ++n)
        {
            const double step = 2.0 * std::numbers::pi * static_cast<double>(n) / static_cast<double>(count);
            data[n] = std::complex<float>(amplitude * std::polar(1.0, step * static_cast<double>(bin)));
            expected[n] = std::conj(amplitude) * std::polar(1.0, step * static_cast<double>(count - 1 - bin));
        }
        analyser.deal_spectrum_invert(data);
        expect_near(data, expected);
    }
}

TEST(SpectrumInversion, UndoesItself)
{
    lib_dma_phy_t analyser;
    for (const std::size_t count : { 1u, 7u, 1000u, 4099u })
    {
        complex_array data = make_noise(count);
        const wide_array before(data.begin(), data.end());
        analyser.deal_spectrum_invert(data);
        analyser.deal_spectrum_invert(data);
        expect_near(data, before);
    }
}

TEST(SpectrumInversion, LeavesAnEmptyArrayEmpty)
{
    lib_dma_phy_t analyser;
    complex_array data;
    EXPECT_TRUE(analyser.deal_spectrum_invert(data));
    EXPECT_TRUE(data.empty());
}
