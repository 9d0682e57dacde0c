#include "lib_dma_common/lib_dma_phy_common.h"

#include <cmath>
#include <gtest/gtest.h>
#include <numbers>
#include <random>

namespace
{
using namespace vrim::dma_demod_lib;

complex_array make_tone(std::size_t count, double cycles_per_sample, double amplitude)
{
    complex_array tone(count);
    for (std::size_t n = 0; n < count; ++n)
    {
        const double angle = 2.0 * std::numbers::pi * cycles_per_sample * static_cast<double>(n);
        tone[n] = { static_cast<float>(amplitude * std::cos(angle)), static_cast<float>(amplitude * std::sin(angle)) };
    }
    return tone;
}

/// Watts of an amplitude across a load, in dBm.
double cal_dbm(double amplitude, double load)
{
    return 10.0 * std::log10(amplitude * amplitude / load * 1000.0);
}

complex_array make_noise(std::size_t count, unsigned seed)
{
    std::mt19937 generator(seed);
    std::normal_distribution<float> part;
    complex_array noise(count);
    for (auto& value : noise)
    {
        const float re = part(generator);
        value = { re, part(generator) };
    }
    return noise;
}

/// The windowed capture, its Fourier sum at single bins and the power by definition; all but the sums of the weights in double.
class reference_t
{
public:
    explicit reference_t(const complex_array& data) : values_(data.size()), turns_(data.size())
    {
        const double last = static_cast<double>(data.size()) - 1.0;
        float sum = 0.0f;
        float sum_of_squares = 0.0f;
        for (std::size_t i = 0; i < data.size(); ++i)
        {
            const double x = data.size() > 1 ? 4.8 * (2.0 * static_cast<double>(i) - last) / last : 0.0;
            const float weight = static_cast<float>(std::exp(-0.5 * x * x));
            sum += weight;
            sum_of_squares += weight * weight;
            values_[i] = static_cast<double>(weight) * std::complex<double>(data[i]);
            const double angle = -2.0 * std::numbers::pi * static_cast<double>(i) / static_cast<double>(data.size());
            turns_[i] = { std::cos(angle), std::sin(angle) };
        }
        const float count = static_cast<float>(data.size());
        mean_ = sum / count;
        noise_bandwidth_ = static_cast<double>((sum_of_squares / count) / (mean_ * mean_) * (1.0f / count));
    }

    std::size_t size() const { return values_.size(); }

    double cal_bin(std::ptrdiff_t bin) const
    {
        const std::ptrdiff_t period = static_cast<std::ptrdiff_t>(size());
        const std::size_t step = static_cast<std::size_t>((bin % period + period) % period);
        std::complex<double> sum = 0.0;
        std::size_t turn = 0;
        for (const auto& value : values_)
        {
            const std::complex<double> by = turns_[turn];
            sum += std::complex<double>(value.real() * by.real() - value.imag() * by.imag(),
                                        value.real() * by.imag() + value.imag() * by.real());
            turn += step;
            turn -= turn >= size() ? size() : 0;
        }
        return std::norm(sum);
    }

    /// Bins from -reach to reach.
    double cal_band(std::ptrdiff_t reach) const
    {
        double sum = 0.0;
        for (std::ptrdiff_t bin = -reach; bin <= reach; ++bin)
            sum += cal_bin(bin);
        return sum;
    }

    double cal_whole() const
    {
        double sum = 0.0;
        for (const auto& value : values_)
            sum += std::norm(value);
        return sum * static_cast<double>(size());
    }

    /// @param bandwidth  as a share of the sample rate
    double cal_dbm_of(double sum, double bandwidth, double bins) const
    {
        const double count = static_cast<double>(size());
        const double mean = static_cast<double>(mean_);
        const double density = sum / (count * count) / (mean * mean) / 100.0 / noise_bandwidth_;
        return 10.0 * std::log10(bandwidth / bins * density * 1000.0);
    }

private:
    complex_double_array values_;
    complex_double_array turns_;
    float mean_ = 0.0f;
    double noise_bandwidth_ = 0.0;
};

/// A rate of one hertz a bin, and a band that ends half a bin beyond the last one inside.
double cal_power_to(const complex_array& data, std::size_t reach)
{
    return static_cast<double>(lib_dma_phy_common_t::channel_power(data, 100, static_cast<float>(data.size()),
                                                                   static_cast<float>(2 * reach + 1), false));
}

TEST(ChannelPower, IsThatOfTheFourierSumForAnyFactorsOfTheLength)
{
    // Short ones; primes; small factors only; one large prime factor behind few and behind many small ones; two large ones.
    for (const std::size_t count : { 1u, 2u, 3u, 4u, 5u, 8u, 31u, 37u, 97u, 1001u, 4096u, 4099u, 5632u, 8198u, 10018u, 10201u })
    {
        const complex_array data = make_noise(count, static_cast<unsigned>(count));
        const reference_t reference(data);
        for (const std::size_t reach : { std::size_t(0), count / 40, count / 4 })
        {
            const double bins = static_cast<double>(2 * reach + 1);
            if (2 * reach + 1 >= count)
                continue;
            const double sum = reference.cal_band(static_cast<std::ptrdiff_t>(reach));
            EXPECT_NEAR(cal_power_to(data, reach), reference.cal_dbm_of(sum, bins / static_cast<double>(count), bins), 1e-5)
                << count << " samples, bins up to " << reach;
        }
    }
}

TEST(ChannelPower, IsThatOfTheFourierSumForLongCaptures)
{
    // 16 * 5 * 5009; a prime; twice a prime; a power of 2. Few bins inside, or few outside.
    for (const std::size_t count : { 400720u, 400723u, 100006u, 131072u })
    {
        const complex_array data = make_noise(count, static_cast<unsigned>(count));
        const reference_t reference(data);
        const double few = reference.cal_band(5);
        EXPECT_NEAR(cal_power_to(data, 5), reference.cal_dbm_of(few, 11.0 / static_cast<double>(count), 11.0), 1e-5) << count;

        const std::size_t reach = count / 2 - 4;
        double outside = 0.0;
        for (std::size_t bin = reach + 1; bin < count - reach; ++bin)
            outside += reference.cal_bin(static_cast<std::ptrdiff_t>(bin));
        const double bins = static_cast<double>(2 * reach + 1);
        EXPECT_NEAR(cal_power_to(data, reach),
                    reference.cal_dbm_of(reference.cal_whole() - outside, bins / static_cast<double>(count), bins), 1e-5)
            << count;
    }
}

TEST(ChannelPower, OfAWeakBandBesideAStrongCarrierIsItsOwn)
{
    for (const std::size_t count : { 400720u, 400723u, 131072u })
    {
        const complex_array carrier = make_tone(count, 0.3, 1.0);
        for (const double amplitude : { 1e-5, 1e-6 })
        {
            complex_array data = make_tone(count, 0.02, amplitude);
            for (std::size_t i = 0; i < count; ++i)
                data[i] += carrier[i];
            EXPECT_NEAR(static_cast<double>(lib_dma_phy_common_t::channel_power(data, 1, 4.0e6f, 1.0e6f, false)),
                        cal_dbm(amplitude, 1.0), 0.01)
                << count << " samples, amplitude " << amplitude;
        }
    }
}

TEST(ChannelPower, OfAToneInsideTheBandIsItsPower)
{
    for (const std::size_t count : { std::size_t(1000), std::size_t(4096), std::size_t(5009) })
    {
        const complex_array tone = make_tone(count, 0.05, 0.7);
        // 0.01 dB: the band holds all of the window's main lobe.
        EXPECT_NEAR(static_cast<double>(lib_dma_phy_common_t::channel_power(tone, 100, 4.0e6f, 2.0e6f, false)), cal_dbm(0.7, 100.0),
                    0.01)
            << count;
    }
}

TEST(ChannelPower, OfAToneOutsideTheBandIsFarBelow)
{
    const complex_array tone = make_tone(4096, 0.4, 1.0);
    EXPECT_LT(lib_dma_phy_common_t::channel_power(tone, 100, 4.0e6f, 1.0e6f, false), -60.0f);
}

TEST(ChannelPower, OfTheWholeBandAgreesWithTheTransform)
{
    // One hertz less than the rate leaves out no more than the lowest bin and takes the other way of summing.
    const complex_array tone = make_tone(3000, 0.11, 0.5);
    const float whole = lib_dma_phy_common_t::channel_power(tone, 50, 4.0e6f, 4.0e6f, false);
    const float nearly = lib_dma_phy_common_t::channel_power(tone, 50, 4.0e6f, 3.9999e6f, false);
    EXPECT_NEAR(static_cast<double>(whole), cal_dbm(0.5, 50.0), 0.01);
    EXPECT_NEAR(static_cast<double>(whole), static_cast<double>(nearly), 0.01);
}

TEST(ChannelPower, OfABandWiderThanTheRateScalesTheMeanDensity)
{
    const complex_array tone = make_tone(3000, 0.11, 0.5);
    const float once = lib_dma_phy_common_t::channel_power(tone, 100, 4.0e6f, 4.0e6f, false);
    const float twice = lib_dma_phy_common_t::channel_power(tone, 100, 4.0e6f, 8.0e6f, false);
    EXPECT_NEAR(static_cast<double>(twice - once), 10.0 * std::log10(2.0), 1e-4);
}

TEST(ChannelPower, OfPeakValuesIsHalf)
{
    const complex_array tone = make_tone(2000, 0.1, 1.0);
    const float full = lib_dma_phy_common_t::channel_power(tone, 100, 4.0e6f, 2.0e6f, false);
    const float half = lib_dma_phy_common_t::channel_power(tone, 100, 4.0e6f, 2.0e6f, true);
    EXPECT_NEAR(static_cast<double>(full - half), 10.0 * std::log10(2.0), 1e-4);
}

TEST(ChannelPower, OfSilenceIsTheFloor)
{
    const complex_array silence(500, { 0.0f, 0.0f });
    EXPECT_NEAR(static_cast<double>(lib_dma_phy_common_t::channel_power(silence, 100, 4.0e6f, 2.0e6f, false)), -90.0, 1e-4);
    EXPECT_NEAR(static_cast<double>(lib_dma_phy_common_t::channel_power(silence, 100, 4.0e6f, 8.0e6f, false)), -90.0, 1e-4);
}

TEST(ChannelPower, OfNothingIsNotANumber)
{
    EXPECT_TRUE(std::isnan(lib_dma_phy_common_t::channel_power({}, 100, 4.0e6f, 2.0e6f, false)));
}

TEST(ChannelPower, WithoutABinInsideIsNotANumber)
{
    // The only bin around which a band of negative width could lie is excluded.
    EXPECT_TRUE(std::isnan(lib_dma_phy_common_t::channel_power(make_tone(64, 0.1, 1.0), 100, 4.0e6f, -1.0f, false)));
}
} // namespace
