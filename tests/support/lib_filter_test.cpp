#include "support/lib_filter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <random>

using namespace vrim;
using namespace vrim::common_lib;

namespace
{
constexpr double pi = std::numbers::pi;

double_array make_taps(lib_filter_type_t type, std::uint32_t span, double alpha, std::uint32_t sps)
{
    lib_filter_t filter;
    filter.set_filter_type(type);
    filter.set_filter_length(span);
    filter.set_filter_alpha(alpha);
    filter.set_oversampling_ratio(sps);
    complex_array taps(2);
    EXPECT_TRUE(filter.generate_filter_data(taps));
    double_array values;
    for (const auto& tap : taps)
    {
        EXPECT_EQ(tap.imag(), 0.0f);
        values.push_back(static_cast<double>(tap.real()));
    }
    return values;
}

double sum_of(const double_array& values)
{
    double sum = 0.0;
    for (const double value : values)
        sum += value;
    return sum;
}

double energy_of(const double_array& values)
{
    double sum = 0.0;
    for (const double value : values)
        sum += value * value;
    return sum;
}

/// Impulse response at time t (symbols) as the integral of a spectrum, by Simpson's rule: no closed form, no singular point.
template <typename spectrum_t>
double transform_back(spectrum_t&& spectrum, double edge, double t)
{
    constexpr int steps = 20000;
    const double h = edge / steps;
    double sum = 0.0;
    for (int i = 0; i <= steps; ++i)
    {
        const double f = h * i;
        const double weight = i == 0 || i == steps ? 1.0 : (i % 2 != 0 ? 4.0 : 2.0);
        sum += weight * spectrum(f) * std::cos(2.0 * pi * f * t);
    }
    return 2.0 * sum * h / 3.0;
}

double raised_cosine_spectrum(double f, double alpha)
{
    const double low = (1.0 - alpha) / 2.0;
    const double high = (1.0 + alpha) / 2.0;
    if (f <= low)
        return 1.0;
    if (f >= high)
        return 0.0;
    return 0.5 * (1.0 + std::cos(pi / alpha * (f - low)));
}
} // namespace

TEST(IdentityFilter, IsAUnitTapAtTheCentre)
{
    for (const std::uint32_t sps : { 1u, 4u, 10u })
    {
        const double_array taps = make_taps(filter_identity, 16, 0.3, sps);
        ASSERT_EQ(taps.size(), 16u * sps + 1);
        for (std::size_t i = 0; i < taps.size(); ++i)
            EXPECT_EQ(taps[i], i == 8u * sps ? 1.0 : 0.0) << i;
    }
}

TEST(RaisedCosine, HasItsCentreTapItsSumAndItsZeros)
{
    for (const std::uint32_t sps : { 2u, 4u, 8u, 10u, 16u })
    {
        for (const double alpha : { 0.0, 0.22, 0.35, 0.5, 1.0 })
        {
            const std::uint32_t span = 64;
            const double_array taps = make_taps(filter_raised_cosine, span, alpha, sps);
            ASSERT_EQ(taps.size(), span * sps + 1);
            const std::size_t centre = span * sps / 2;
            const double peak = 1.0 / std::sqrt(static_cast<double>(sps));
            EXPECT_NEAR(taps[centre], peak, 1e-7);
            for (std::uint32_t symbol = 1; symbol <= span / 2; ++symbol)
            {
                EXPECT_EQ(taps[centre + symbol * sps], 0.0);
                EXPECT_EQ(taps[centre - symbol * sps], 0.0);
            }
            // The tail that the span cuts off decays with the third power of time; without roll-off only with the first.
            EXPECT_NEAR(sum_of(taps) * peak, 1.0, alpha == 0.0 ? 2e-2 : 2e-4) << "alpha " << alpha << " sps " << sps;
        }
    }
}

TEST(RaisedCosine, IsTheTransformOfItsSpectrum)
{
    const std::uint32_t sps = 8;
    for (const double alpha : { 0.22, 0.5, 1.0 })
    {
        const double_array taps = make_taps(filter_raised_cosine, 12, alpha, sps);
        for (std::size_t i = 0; i < taps.size(); ++i)
        {
            const double t = (static_cast<double>(i) - 48.0) / sps;
            const double expected = transform_back([&](double f) { return raised_cosine_spectrum(f, alpha); }, 1.0, t);
            EXPECT_NEAR(taps[i] * std::sqrt(static_cast<double>(sps)), expected, 1e-6) << "alpha " << alpha << " t " << t;
        }
    }
}

TEST(RaisedCosine, TakesTheLimitAtItsSingularPoints)
{
    // alpha 0.5: t = 1; alpha 0.25: t = 2; alpha 1: t = 0.5. Limits pi / 4 * sinc(1 / (2 alpha)).
    const struct
    {
        double alpha;
        double t;
    } cases[] = { { 0.5, 1.0 }, { 0.25, 2.0 }, { 1.0, 0.5 } };
    for (const auto& [alpha, t] : cases)
    {
        const double_array taps = make_taps(filter_raised_cosine, 16, alpha, 4);
        const double expected = pi / 4.0 * std::sin(pi * t) / (pi * t) / 2.0;
        EXPECT_NEAR(taps[32 + static_cast<std::size_t>(4.0 * t)], expected, 1e-7) << alpha;
        EXPECT_NEAR(taps[32 - static_cast<std::size_t>(4.0 * t)], expected, 1e-7) << alpha;
    }
}

TEST(RootRaisedCosine, HasUnitEnergyAndItsCentreTap)
{
    for (const std::uint32_t sps : { 4u, 8u, 10u, 16u })
    {
        for (const double alpha : { 0.22, 0.35, 0.5, 1.0 })
        {
            const double_array taps = make_taps(filter_root_raised_cosine, 64, alpha, sps);
            ASSERT_EQ(taps.size(), 64u * sps + 1);
            EXPECT_NEAR(energy_of(taps), 1.0, 1e-5) << "alpha " << alpha << " sps " << sps;
            EXPECT_NEAR(taps[32 * sps], (1.0 - alpha + 4.0 * alpha / pi) / std::sqrt(static_cast<double>(sps)), 1e-7);
            EXPECT_NEAR(sum_of(taps) / std::sqrt(static_cast<double>(sps)), 1.0, 1e-3) << "alpha " << alpha << " sps " << sps;
        }
    }
}

TEST(RootRaisedCosine, IsTheTransformOfTheRootOfTheSpectrum)
{
    const std::uint32_t sps = 8;
    for (const double alpha : { 0.22, 0.5, 1.0 })
    {
        const double_array taps = make_taps(filter_root_raised_cosine, 12, alpha, sps);
        for (std::size_t i = 0; i < taps.size(); ++i)
        {
            const double t = (static_cast<double>(i) - 48.0) / sps;
            const double expected = transform_back([&](double f) { return std::sqrt(raised_cosine_spectrum(f, alpha)); }, 1.0, t);
            EXPECT_NEAR(taps[i] * std::sqrt(static_cast<double>(sps)), expected, 1e-6) << "alpha " << alpha << " t " << t;
        }
    }
}

TEST(RootRaisedCosine, TakesTheLimitAtItsSingularPoints)
{
    // alpha 0.25: t = 1; alpha 0.5: t = 0.5; alpha 1: t = 0.25. The neighbours of the limit close in on it.
    const struct
    {
        double alpha;
        double t;
    } cases[] = { { 0.25, 1.0 }, { 0.5, 0.5 }, { 1.0, 0.25 } };
    for (const auto& [alpha, t] : cases)
    {
        const double_array taps = make_taps(filter_root_raised_cosine, 16, alpha, 4);
        const double expected =
            transform_back([a = alpha](double f) { return std::sqrt(raised_cosine_spectrum(f, a)); }, 1.0, t) / 2.0;
        EXPECT_NEAR(taps[32 + static_cast<std::size_t>(4.0 * t)], expected, 1e-6) << alpha;
        EXPECT_NEAR(taps[32 - static_cast<std::size_t>(4.0 * t)], expected, 1e-6) << alpha;
    }
}

TEST(RootRaisedCosine, AppliedTwiceIsTheRaisedCosine)
{
    const std::uint32_t sps = 4;
    const double_array root = make_taps(filter_root_raised_cosine, 64, 0.35, sps);
    // Unit energy makes the centre of root * root 1; the raised cosine's centre is 1 / sqrt(sps).
    const double_array whole = make_taps(filter_raised_cosine, 64, 0.35, sps);
    const std::ptrdiff_t centre = 128;
    for (std::ptrdiff_t lag = -40; lag <= 40; ++lag)
    {
        double sum = 0.0;
        for (std::ptrdiff_t i = 0; i < static_cast<std::ptrdiff_t>(root.size()); ++i)
        {
            const std::ptrdiff_t k = i + lag;
            if (k >= 0 && k < static_cast<std::ptrdiff_t>(root.size()))
                sum += root[static_cast<std::size_t>(i)] * root[static_cast<std::size_t>(k)];
        }
        EXPECT_NEAR(sum, whole[static_cast<std::size_t>(centre + lag)] * 2.0, 5e-4) << "lag " << lag;
    }
}

TEST(GaussianFilter, HasUnitSumAndItsBandwidth)
{
    for (const double bt : { 0.3, 0.5 })
    {
        const std::uint32_t sps = 8;
        const double_array taps = make_taps(filter_gaussian, 16, bt, sps);
        ASSERT_EQ(taps.size(), 129u);
        EXPECT_NEAR(sum_of(taps), 1.0, 1e-6);
        // Half the power at bt times the symbol rate, as the name of the parameter promises.
        double response = 0.0;
        for (std::size_t i = 0; i < taps.size(); ++i)
            response += taps[i] * std::cos(2.0 * pi * bt * (static_cast<double>(i) - 64.0) / sps);
        EXPECT_NEAR(response * response, 0.5, 1e-5) << "bt " << bt;
        for (std::size_t i = 0; i < 64; ++i)
            EXPECT_EQ(taps[i], taps[128 - i]);
    }
}

TEST(HalfSine, IsOneSymbolLongWithUnitSum)
{
    for (const std::uint32_t sps : { 2u, 4u, 8u, 10u })
    {
        const double_array taps = make_taps(filter_half_sine, 32, 0.3, sps);
        ASSERT_EQ(taps.size(), sps);
        // sum of sin(pi i / sps) over a half turn is cot(pi / (2 sps)).
        const double sum = 1.0 / std::tan(pi / (2.0 * sps));
        for (std::size_t i = 0; i < taps.size(); ++i)
            EXPECT_NEAR(taps[i], std::sin(pi * static_cast<double>(i) / sps) / sum, 1e-7) << i;
    }
}

TEST(FilterPrototypes, HaveUnitGainAtZeroFrequencyOnceDividedByTheRootOfTheRate)
{
    for (const std::uint32_t sps : { 8u, 10u, 12u, 16u })
    {
        for (const lib_filter_type_t type : { filter_raised_cosine, filter_root_raised_cosine })
            EXPECT_NEAR(sum_of(make_taps(type, 64, 0.35, sps)) / std::sqrt(static_cast<double>(sps)), 1.0, 1e-3)
                << type << ' ' << sps;
    }
}

TEST(FilterGeneration, FailsWithoutTapsOnBadSettings)
{
    lib_filter_t filter;
    complex_array taps(3);
    filter.set_filter_type(5);
    EXPECT_FALSE(filter.generate_filter_data(taps));
    EXPECT_TRUE(taps.empty());
    filter.set_filter_type(filter_raised_cosine);
    filter.set_oversampling_ratio(0);
    EXPECT_FALSE(filter.generate_filter_data(taps));
    filter.set_oversampling_ratio(4);
    filter.set_filter_alpha(std::numeric_limits<double>::quiet_NaN());
    EXPECT_FALSE(filter.generate_filter_data(taps));
    filter.set_filter_alpha(0.3);
    filter.set_filter_length(0xffffffffu);
    EXPECT_FALSE(filter.generate_filter_data(taps));
    EXPECT_TRUE(taps.empty());
    filter.set_filter_length(0);
    EXPECT_TRUE(filter.generate_filter_data(taps));
    ASSERT_EQ(taps.size(), 1u);
    EXPECT_EQ(taps[0], (std::complex<float>(0.5f, 0.0f)));
}

TEST(FilterObject, KeepsItsKindForLaterUse)
{
    lib_filter_t filter;
    filter.set_filter_type(filter_half_sine);
    filter.set_oversampling_ratio(8);
    complex_array first, second;
    EXPECT_TRUE(filter.generate_filter_data(first));
    filter.set_oversampling_ratio(10);
    EXPECT_TRUE(filter.generate_filter_data(second));
    EXPECT_EQ(first.size(), 8u);
    EXPECT_EQ(second.size(), 10u);
}

TEST(DealFilter, LinesTheOutputUpWithTheInput)
{
    for (const std::uint32_t span : { 8u, 64u }) // sums and transforms
    {
        lib_filter_t filter;
        filter.set_filter_type(filter_raised_cosine);
        filter.set_filter_length(span);
        filter.set_filter_alpha(0.35);
        filter.set_oversampling_ratio(8);
        complex_array taps;
        ASSERT_TRUE(filter.generate_filter_data(taps));
        complex_array data(2000, { 0.0f, 0.0f });
        data[777] = { 1.0f, -2.0f };
        lib_filter_t::deal_filter(taps, data, filter_delay_compensated);
        ASSERT_EQ(data.size(), 2000u);
        const std::size_t half = taps.size() / 2;
        for (std::size_t i = 0; i < taps.size(); ++i)
        {
            EXPECT_NEAR(data[777 - half + i].real(), taps[i].real(), 1e-6f) << i;
            EXPECT_NEAR(data[777 - half + i].imag(), -2.0f * taps[i].real(), 1e-6f) << i;
        }
    }
}

TEST(DealFilter, BeginsAtTheMiddleTapWithoutHistory)
{
    std::mt19937 generator(31);
    std::normal_distribution<float> part;
    complex_array data(50);
    for (auto& value : data)
        value = { part(generator), part(generator) };
    for (const std::size_t count : { 1u, 2u, 3u, 6u, 7u, 201u })
    {
        complex_array taps(count);
        for (auto& tap : taps)
            tap = { part(generator), 0.0f };
        const std::size_t first = (count - 1) / 2;
        for (const lib_filter_delay_type_t type : { filter_delay_kept, filter_delay_full, filter_delay_compensated })
        {
            complex_array out = data;
            lib_filter_t::deal_filter(taps, out, type);
            ASSERT_EQ(out.size(), type == filter_delay_full ? data.size() + count - 1 : data.size());
            const std::size_t offset = type == filter_delay_compensated ? first : 0;
            for (std::size_t n = 0; n < out.size(); ++n)
            {
                std::complex<double> sum = 0.0;
                for (std::size_t k = 0; k < count; ++k)
                {
                    const std::ptrdiff_t source = static_cast<std::ptrdiff_t>(n + offset) - static_cast<std::ptrdiff_t>(k);
                    if (source >= 0 && source < static_cast<std::ptrdiff_t>(data.size()))
                        sum += std::complex<double>(taps[k]) * std::complex<double>(data[static_cast<std::size_t>(source)]);
                }
                EXPECT_LT(std::abs(sum - std::complex<double>(out[n])), 2e-5)
                    << count << " taps, type " << type << ", sample " << n;
            }
        }
    }
}

TEST(DealFilter, HoldsAtTheBordersOfItsBlocks)
{
    // 1024 samples are summed at once, 8 blocks of a little less are transformed together.
    std::mt19937 generator(37);
    std::normal_distribution<double> part;
    for (const std::size_t taps : { 1u, 2u, 79u, 80u, 81u, 1023u, 1024u, 1025u })
    {
        complex_array kernel(taps);
        for (auto& tap : kernel)
            tap = { static_cast<float>(part(generator)), 0.0f };
        for (const std::size_t count :
             { 1u, 2u, 79u, 80u, 81u, 943u, 944u, 945u, 1023u, 1024u, 1025u, 2047u, 2048u, 2049u, 7553u })
        {
            complex_array data(count);
            for (auto& value : data)
                value = { static_cast<float>(part(generator)), static_cast<float>(part(generator)) };
            double_array re(count + taps - 1);
            double_array im(count + taps - 1);
            for (std::size_t k = 0; k < taps; ++k)
            {
                const double tap = static_cast<double>(kernel[k].real());
                for (std::size_t n = 0; n < count; ++n)
                {
                    re[n + k] += tap * static_cast<double>(data[n].real());
                    im[n + k] += tap * static_cast<double>(data[n].imag());
                }
            }
            for (const lib_filter_delay_type_t type : { filter_delay_kept, filter_delay_full, filter_delay_compensated })
            {
                complex_array out = data;
                lib_filter_t::deal_filter(kernel, out, type);
                ASSERT_EQ(out.size(), type == filter_delay_full ? count + taps - 1 : count);
                const std::size_t offset = type == filter_delay_compensated ? (taps - 1) / 2 : 0;
                double error = 0.0;
                double power = 0.0;
                double worst = 0.0;
                for (std::size_t n = 0; n < out.size(); ++n)
                {
                    const std::complex<double> expected(re[n + offset], im[n + offset]);
                    const double difference = std::norm(std::complex<double>(out[n]) - expected);
                    error += difference;
                    power += std::norm(expected);
                    worst = std::max(worst, difference);
                }
                EXPECT_LT(std::sqrt(error / power), 1e-6) << taps << " taps, " << count << " samples, type " << type;
                // No single sample is wrong either: the sum of all taps of the size 1 has this rms.
                EXPECT_LT(std::sqrt(worst), 1e-5 * std::sqrt(2.0 * static_cast<double>(taps)))
                    << taps << " taps, " << count << " samples, type " << type;
            }
        }
    }
}

TEST(DealFilter, OfALongCaptureIsWithinSinglePrecision)
{
    std::mt19937 generator(41);
    std::uniform_real_distribution<double> part(-1.0, 1.0);
    for (const std::size_t taps : { 80u, 81u })
    {
        complex_array kernel(taps);
        for (auto& tap : kernel)
            tap = { static_cast<float>(part(generator)), 0.0f };
        complex_array data(50000);
        for (auto& value : data)
            value = { static_cast<float>(part(generator)), static_cast<float>(part(generator)) };
        complex_array out = data;
        lib_filter_t::deal_filter(kernel, out, filter_delay_compensated);
        double error = 0.0;
        double power = 0.0;
        for (std::size_t n = 0; n < data.size(); ++n)
        {
            std::complex<double> sum = 0.0;
            for (std::size_t k = 0; k < taps; ++k)
            {
                const std::size_t later = n + (taps - 1) / 2;
                if (later >= k && later - k < data.size())
                    sum += static_cast<double>(kernel[k].real()) * std::complex<double>(data[later - k]);
            }
            error += std::norm(std::complex<double>(out[n]) - sum);
            power += std::norm(sum);
        }
        EXPECT_LT(std::sqrt(error / power), 1e-6) << taps;
    }
}

TEST(DealFilter, LeavesTheDataWithoutTaps)
{
    complex_array data = { { 1.0f, 2.0f }, { 3.0f, 4.0f } };
    const complex_array before = data;
    lib_filter_t::deal_filter({}, data, filter_delay_compensated);
    EXPECT_EQ(data, before);
    for (const lib_filter_delay_type_t type : { filter_delay_kept, filter_delay_full, filter_delay_compensated })
    {
        for (const std::size_t taps : { 1u, 80u, 81u })
        {
            complex_array nothing;
            lib_filter_t::deal_filter(complex_array(taps, { 1.0f, 0.0f }), nothing, type);
            EXPECT_TRUE(nothing.empty());
        }
    }
}
