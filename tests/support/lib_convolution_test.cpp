#include "support/lib_convolution.h"

#include "support/internal/convolution.h"
#include "support/internal/fir_kernel.h"
#include "support/internal/transform.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>
#include <tuple>
#include <vector>

using namespace vrim;
using namespace vrim::common_lib;

namespace
{
complex_array make_noise(std::size_t count, unsigned seed, bool real = false)
{
    std::mt19937 generator(seed);
    std::normal_distribution<float> part;
    complex_array data(count);
    for (auto& value : data)
    {
        const float re = part(generator);
        value = { re, real ? 0.0f : part(generator) };
    }
    return data;
}

complex_double_array convolve_in_double(const complex_array& a, const complex_array& b)
{
    complex_double_array out(a.size() + b.size() - 1);
    for (std::size_t i = 0; i < a.size(); ++i)
    {
        for (std::size_t k = 0; k < b.size(); ++k)
            out[i + k] += std::complex<double>(a[i]) * std::complex<double>(b[k]);
    }
    return out;
}

double cal_relative_error(const complex_array& actual, const complex_double_array& expected)
{
    double error = 0.0;
    double power = 0.0;
    for (std::size_t i = 0; i < expected.size(); ++i)
    {
        error += std::norm(std::complex<double>(actual[i]) - expected[i]);
        power += std::norm(expected[i]);
    }
    return std::sqrt(error / power);
}

using sizes_t = std::tuple<std::size_t, std::size_t>;
/// Kernel and data lengths: around the blocks of 32 samples, kernels longer than the data, and both sides of the change from
/// sums to transforms.
const sizes_t all_sizes[] = { { 1, 1 },     { 1, 33 },   { 3, 2 },      { 7, 31 },      { 7, 32 },      { 7, 26 },   { 7, 58 },
                              { 33, 5 },    { 64, 64 },  { 65, 1000 },  { 192, 300 },   { 193, 300 },   { 193, 10 }, { 400, 1 },
                              { 257, 768 }, { 500, 24 }, { 600, 5000 }, { 1025, 9000 }, { 2049, 20000 } };
} // namespace

TEST(FirKernel, SumsInSinglePrecisionInTapOrder)
{
    const complex_array in = make_noise(300, 1);
    const complex_array tap_source = make_noise(40, 2);
    for (const std::size_t taps : { 1u, 2u, 7u, 40u })
    {
        float_array tap_values(taps);
        for (std::size_t k = 0; k < taps; ++k)
            tap_values[k] = tap_source[k].real();
        for (const std::size_t count : { 0u, 1u, 31u, 32u, 33u, 63u, 64u, 65u, 96u, 200u })
        {
            complex_array out(count + 1, { 99.0f, 99.0f });
            correlate_real_taps(in.data(), tap_values.data(), taps, out.data(), count);
            for (std::size_t n = 0; n < count; ++n)
            {
                float re = 0.0f;
                float im = 0.0f;
                for (std::size_t k = 0; k < taps; ++k)
                {
                    re += in[n + k].real() * tap_values[k];
                    im += in[n + k].imag() * tap_values[k];
                }
                EXPECT_EQ(out[n], (std::complex<float>(re, im))) << "taps " << taps << " count " << count << " sample " << n;
            }
            EXPECT_EQ(out[count], (std::complex<float>(99.0f, 99.0f)));
        }
    }
}

TEST(FirKernel, GivesZerosWithoutTaps)
{
    const complex_array in = make_noise(100, 3);
    complex_array out(70, { 1.0f, 1.0f });
    correlate_real_taps(in.data(), nullptr, 0, out.data(), out.size());
    EXPECT_EQ(out, complex_array(70, { 0.0f, 0.0f }));
}

TEST(Convolution, AgreesWithDoublePrecisionForRealAndComplexKernels)
{
    for (const auto& [taps, count] : all_sizes)
    {
        for (const bool real : { true, false })
        {
            const complex_array kernel = make_noise(taps, static_cast<unsigned>(taps), real);
            const complex_array data = make_noise(count, static_cast<unsigned>(count) + 1);
            const complex_double_array expected = convolve_in_double(kernel, data);

            complex_array direct = data;
            lib_convolution_t::deal_convolution(kernel, direct);
            ASSERT_EQ(direct.size(), taps + count - 1);
            EXPECT_LT(cal_relative_error(direct, expected), 3e-6) << taps << " taps, " << count << " samples, real " << real;

            complex_array fast = data;
            lib_convolution_t::deal_fft_convolution(kernel, fast);
            ASSERT_EQ(fast.size(), taps + count - 1);
            EXPECT_LT(cal_relative_error(fast, expected), 1e-6) << taps << " taps, " << count << " samples, real " << real;

            complex_array transformed;
            convolve_by_transforms(kernel, data, 0, taps + count - 1, transformed);
            ASSERT_EQ(transformed.size(), taps + count - 1);
            EXPECT_LT(cal_relative_error(transformed, expected), 1e-6) << taps << " taps, " << count << " samples, real " << real;
        }
    }
}

TEST(Convolution, GivesAnyStretchOfTheOutput)
{
    const complex_array kernel = make_noise(250, 4);
    const complex_array data = make_noise(1200, 5);
    complex_double_array expected = convolve_in_double(kernel, data);
    expected.resize(4000); // behind the full length there is nothing
    for (const std::size_t first : { 0u, 1u, 124u, 249u, 1000u, 1440u, 2000u })
    {
        for (const std::size_t count : { 0u, 1u, 500u, 775u, 1200u })
        {
            complex_array direct, fast;
            convolve_directly(kernel, data, first, count, direct);
            convolve_by_transforms(kernel, data, first, count, fast);
            ASSERT_EQ(direct.size(), count);
            ASSERT_EQ(fast.size(), count);
            for (std::size_t i = 0; i < count; ++i)
            {
                // About 16 is the rms of an output sample.
                EXPECT_LT(std::abs(std::complex<double>(direct[i]) - expected[first + i]), 1e-4) << first << " + " << i;
                EXPECT_LT(std::abs(std::complex<double>(fast[i]) - expected[first + i]), 1e-4) << first << " + " << i;
            }
        }
    }
}

TEST(Convolution, IsEmptyWithAnEmptyOperand)
{
    const complex_array three = make_noise(3, 6);
    for (const bool fast : { false, true })
    {
        const auto convolve_pair = fast ? lib_convolution_t::deal_fft_convolution : lib_convolution_t::deal_convolution;
        complex_array data = three;
        convolve_pair({}, data);
        EXPECT_TRUE(data.empty());
        convolve_pair(three, data);
        EXPECT_TRUE(data.empty());
    }
}

TEST(Convolution, WithAUnitTapReturnsTheDataLateByItsPlace)
{
    complex_array data = make_noise(100, 7);
    const complex_array before = data;
    complex_array kernel(5, { 0.0f, 0.0f });
    kernel[2] = { 1.0f, 0.0f };
    lib_convolution_t::deal_convolution(kernel, data);
    for (std::size_t i = 0; i < before.size(); ++i)
        EXPECT_EQ(data[i + 2], before[i]);
}

TEST(Convolution, SumsDirectlyInSinglePrecisionFromTheOldestSampleOn)
{
    // Lengths about the blocks in which the sums are taken, in place as well.
    for (const std::size_t taps : { 1u, 2u, 31u, 80u, 1023u, 1024u, 1025u })
    {
        const complex_array kernel = make_noise(taps, 8, true);
        for (const std::size_t count : { 1u, 5u, 1023u, 1024u, 1025u, 2048u, 2500u })
        {
            const complex_array data = make_noise(count, 9);
            for (const std::size_t first : { std::size_t(0), (taps - 1) / 2, taps + 3 })
            {
                complex_array out;
                convolve_directly(kernel, data, first, count + taps, out);
                complex_array in_place = data;
                convolve_directly(kernel, in_place, first, count + taps, in_place);
                ASSERT_EQ(out.size(), count + taps);
                for (std::size_t n = 0; n < out.size(); ++n)
                {
                    float re = 0.0f;
                    float im = 0.0f;
                    for (std::size_t back = taps; back-- > 0;)
                    {
                        const std::ptrdiff_t place = static_cast<std::ptrdiff_t>(first + n) - static_cast<std::ptrdiff_t>(back);
                        if (place < 0 || place >= static_cast<std::ptrdiff_t>(count))
                            continue;
                        re += data[static_cast<std::size_t>(place)].real() * kernel[back].real();
                        im += data[static_cast<std::size_t>(place)].imag() * kernel[back].real();
                    }
                    ASSERT_EQ(out[n], (std::complex<float>(re, im))) << taps << " taps, " << count << " samples, sample " << n;
                }
                EXPECT_EQ(in_place, out) << taps << " taps, " << count << " samples, from " << first;
            }
        }
    }
}

TEST(Convolution, InPlaceIsThatIntoAnotherArray)
{
    for (const std::size_t taps : { 2u, 80u, 81u, 600u })
    {
        const complex_array kernel = make_noise(taps, 10);
        for (const std::size_t count : { 1u, 1024u, 7552u, 9000u })
        {
            const complex_array data = make_noise(count, 11);
            for (const auto function : { convolve_directly, convolve_by_transforms, convolve })
            {
                complex_array out;
                complex_array in_place = data;
                function(kernel, data, taps / 2, count, out);
                function(kernel, in_place, taps / 2, count, in_place);
                EXPECT_EQ(in_place, out) << taps << " taps, " << count << " samples";
            }
        }
    }
}

TEST(Convolution, DoesNotDependOnWhatFollows)
{
    // Both ways of summing; 5000 samples are not a whole number of blocks that are transformed together.
    const complex_array longer = make_noise(9000, 12);
    const complex_array shorter(longer.begin(), longer.begin() + 5000);
    for (const std::size_t taps : { 80u, 81u, 200u })
    {
        const complex_array kernel = make_noise(taps, 13);
        complex_array of_longer, of_shorter;
        convolve(kernel, longer, 0, longer.size(), of_longer);
        convolve(kernel, shorter, 0, shorter.size(), of_shorter);
        for (std::size_t i = 0; i < 4000; ++i)
            ASSERT_EQ(of_longer[i], of_shorter[i]) << taps << " taps, sample " << i;
    }
}

namespace
{
template <typename value_t>
void expect_rows_alone_and_together(std::size_t length)
{
    constexpr std::size_t rows = 21; // whole vectors of lanes and some rows more
    const complex_array noise = make_noise(rows * length, static_cast<unsigned>(length));
    const std::vector<std::complex<value_t>> data(noise.begin(), noise.end());
    for (const bool inverse : { false, true })
    {
        std::vector<std::complex<value_t>> together = data;
        std::vector<std::complex<value_t>> alone = data;
        transform_rows(together.data(), rows, length, inverse, value_t(0.75));
        for (std::size_t row = 0; row < rows; ++row)
            transform_rows(alone.data() + row * length, 1, length, inverse, value_t(0.75));
        EXPECT_EQ(together, alone) << length << " values, inverse " << inverse;
    }
}
} // namespace

TEST(TransformRows, GiveTheSameBitsAloneAndTogether)
{
    for (const std::size_t length : { 1u, 2u, 3u, 4u, 7u, 9u, 13u, 37u, 80u, 97u, 385u, 1024u, 1155u, 7680u })
    {
        expect_rows_alone_and_together<float>(length);
        expect_rows_alone_and_together<double>(length);
    }
}

TEST(FilterRows, GivesTheBitsOfTransformsAndPlainProducts)
{
    for (const std::size_t length : { 1u, 2u, 12u, 37u, 80u, 1024u, 1155u })
    {
        constexpr std::size_t rows = 21; // whole vectors of lanes and some rows more
        const complex_array spectrum = make_noise(length, 15);
        complex_array expected = make_noise(rows * length, static_cast<unsigned>(length));
        complex_array filtered = expected;
        filter_rows(filtered.data(), rows, length, spectrum.data());

        transform_rows(expected.data(), rows, length, false, 1.0f);
        for (std::size_t i = 0; i < expected.size(); ++i)
        {
            const std::complex<float> a = expected[i];
            const std::complex<float> b = spectrum[i % length];
            expected[i] = { a.real() * b.real() - a.imag() * b.imag(), a.real() * b.imag() + a.imag() * b.real() };
        }
        transform_rows(expected.data(), rows, length, true, 1.0f / static_cast<float>(length));
        EXPECT_EQ(filtered, expected) << length;
    }
}

TEST(TransformRows, AreTheFourierSum)
{
    for (const std::size_t length : { 1u, 2u, 3u, 5u, 12u, 13u, 37u, 80u, 210u })
    {
        const complex_array noise = make_noise(5 * length, 14);
        for (const bool inverse : { false, true })
        {
            complex_double_array rows(noise.begin(), noise.end());
            transform_rows(rows.data(), 5, length, inverse, 2.0);
            for (std::size_t i = 0; i < rows.size(); ++i)
            {
                const std::size_t row = i / length * length;
                std::complex<double> sum = 0.0;
                for (std::size_t n = 0; n < length; ++n)
                {
                    const double turn = static_cast<double>(n * (i - row) % length) / static_cast<double>(length);
                    const double angle = (inverse ? 1.0 : -1.0) * 2.0 * std::numbers::pi * turn;
                    sum += std::complex<double>(noise[row + n]) * std::polar(2.0, angle);
                }
                EXPECT_LT(std::abs(sum - rows[i]), 1e-12 * static_cast<double>(length)) << length << " values, bin " << i;
            }
        }
    }
}
