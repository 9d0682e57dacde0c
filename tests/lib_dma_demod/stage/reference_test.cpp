#include "lib_dma_demod/stage/reference.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <numbers>
#include <vector>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using namespace vrim::dma_demod_lib::demod_stage;

namespace
{
using wave_array = std::vector<std::complex<double>>;

constexpr lib_dma_ref_filter_type_t edge_type = static_cast<lib_dma_ref_filter_type_t>(6);

complex_array make_symbols(std::size_t count)
{
    complex_array symbols;
    std::uint32_t state = 99;
    for (std::size_t i = 0; i < count; ++i)
    {
        state = state * 1664525u + 1013904223u;
        symbols.emplace_back(std::polar(1.0, (0.5 + static_cast<double>(state >> 29)) * std::numbers::pi / 4.0));
    }
    return symbols;
}

/// The whole convolution, term by term.
wave_array convolve(const wave_array& data, const complex_array& taps)
{
    wave_array out(data.size() + taps.size() - 1);
    for (std::size_t i = 0; i < data.size(); ++i)
    {
        if (data[i] == 0.0)
            continue;
        for (std::size_t k = 0; k < taps.size(); ++k)
            out[i + k] += data[i] * static_cast<double>(taps[k].real());
    }
    return out;
}

complex_array make_taps(lib_dma_ref_filter_type_t type, std::uint32_t filter_length, std::uint32_t sps)
{
    common_lib::lib_filter_t filter;
    complex_array taps;
    EXPECT_TRUE(generate_pulse_taps(type, filter_length, 0.35f, sps, filter, taps));
    return taps;
}

double sum_of(const complex_array& taps)
{
    double sum = 0.0;
    for (const std::complex<float>& tap : taps)
    {
        sum += static_cast<double>(tap.real());
        EXPECT_EQ(tap.imag(), 0.0f);
    }
    return sum;
}

complex_array make_ramp(std::size_t count)
{
    complex_array data;
    for (std::size_t i = 0; i < count; ++i)
        data.emplace_back(static_cast<float>(i), 1.0f);
    return data;
}

std::vector<int> places(const complex_array& data)
{
    std::vector<int> numbers;
    for (const std::complex<float>& value : data)
        numbers.push_back(static_cast<int>(value.real()));
    return numbers;
}
} // namespace

TEST(ReferenceWaveform, EqualsThePlainConvolution)
{
    constexpr std::uint32_t length = 9;
    for (const std::uint32_t sps : { 8u, 10u, 12u })
    {
        struct filter_case_t
        {
            lib_dma_ref_filter_type_t type;
            std::size_t delay;
        };
        const std::size_t half_span = (length * sps + 1) / 2;
        const filter_case_t cases[] = {
            { LIB_DMA_REF_NONE_FILTER, length * sps / 2 },
            { LIB_DMA_REF_RAISED_COSINE_FILTER, half_span },
            { LIB_DMA_REF_ROOT_RAISED_COSINE_FILTER, half_span },
            { LIB_DMA_REF_RECTANGULAR_FILTER, half_span },
            { LIB_DMA_REF_HALF_SINE_FILTER, sps / 2 },
            { edge_type, half_span },
            { LIB_DMA_REF_USER_DEFINE_FILTER, half_span },
        };
        for (const filter_case_t& item : cases)
        {
            const complex_array symbols = make_symbols(50);
            const complex_array taps = make_taps(item.type, length, sps);
            ASSERT_FALSE(taps.empty());
            wave_array stuffed(symbols.size() * sps);
            for (std::size_t i = 0; i < symbols.size(); ++i)
                stuffed[i * sps] = static_cast<double>(sps) * std::complex<double>(symbols[i]);
            const wave_array whole = convolve(stuffed, taps);
            const std::size_t count = std::min(symbols.size() * sps, whole.size() - item.delay);

            EXPECT_EQ(cal_reference_delay(item.type, length, sps), item.delay);
            complex_array ref;
            generate_reference_waveform(item.type, taps, symbols, sps, cal_reference_delay(item.type, length, sps), ref);
            ASSERT_EQ(ref.size(), count);
            double error = 0.0;
            double power = 0.0;
            for (std::size_t i = 0; i < count; ++i)
            {
                error = std::max(error, std::abs(std::complex<double>(ref[i]) - whole[i + item.delay]));
                power += std::norm(whole[i + item.delay]);
            }
            EXPECT_LT(error, 1e-5 * std::sqrt(power / static_cast<double>(count))) << "type " << item.type << ", sps " << sps;
        }
    }
}

TEST(ReferenceWaveform, WithoutAFilterIsTheSymbolsBetweenZeros)
{
    // Odd spans and odd rates: the delay is where the unit tap stands, whatever that is.
    for (const std::uint32_t sps : { 8u, 9u, 10u })
    {
        for (const std::uint32_t length : { 3u, 4u, 16u })
        {
            const complex_array symbols = make_symbols(20);
            const complex_array taps = make_taps(LIB_DMA_REF_NONE_FILTER, length, sps);
            ASSERT_EQ(taps.size(), static_cast<std::size_t>(sps) * length);
            complex_array ref;
            generate_reference_waveform(LIB_DMA_REF_NONE_FILTER, taps, symbols, sps,
                                        cal_reference_delay(LIB_DMA_REF_NONE_FILTER, length, sps), ref);
            ASSERT_EQ(ref.size(), symbols.size() * sps);
            for (std::size_t i = 0; i < ref.size(); ++i)
            {
                const std::complex<float> wanted = i % sps == 0 ? static_cast<float>(sps) * symbols[i / sps] : 0.0f;
                ASSERT_NEAR(std::abs(std::complex<double>(ref[i] - wanted)), 0.0, 1e-5) << i;
            }
        }
    }
}

TEST(ReferenceWaveform, OfRaisedCosineHasItsSymbolsAtTheMultiples)
{
    for (const std::uint32_t sps : { 8u, 10u, 12u })
    {
        const complex_array symbols = make_symbols(60);
        complex_array ref;
        generate_reference_waveform(LIB_DMA_REF_RAISED_COSINE_FILTER, make_taps(LIB_DMA_REF_RAISED_COSINE_FILTER, 16, sps),
                                    symbols, sps, cal_reference_delay(LIB_DMA_REF_RAISED_COSINE_FILTER, 16, sps), ref);
        // Nyquist's criterion: no symbol sees another one.
        for (std::size_t i = 0; i < symbols.size(); ++i)
            ASSERT_NEAR(std::abs(std::complex<double>(ref[i * sps] - symbols[i])), 0.0, 1e-4) << i;
    }
}

TEST(ReferenceWaveform, OfManySymbolsEqualsThePlainConvolution)
{
    // More than are dealt with at once, and neither of the lengths a multiple of them.
    for (const std::size_t count : { std::size_t(511), std::size_t(512), std::size_t(513), std::size_t(1100) })
    {
        constexpr std::uint32_t sps = 8;
        const complex_array symbols = make_symbols(count);
        const complex_array taps = make_taps(LIB_DMA_REF_RAISED_COSINE_FILTER, 6, sps);
        const std::uint32_t delay = cal_reference_delay(LIB_DMA_REF_RAISED_COSINE_FILTER, 6, sps);
        complex_array ref;
        generate_reference_waveform(LIB_DMA_REF_RAISED_COSINE_FILTER, taps, symbols, sps, delay, ref);
        wave_array spread(count * sps);
        for (std::size_t i = 0; i < count; ++i)
            spread[i * sps] = static_cast<double>(sps) * std::complex<double>(symbols[i]);
        const wave_array expected = convolve(spread, taps);
        ASSERT_EQ(ref.size(), count * sps);
        for (std::size_t i = 0; i < ref.size(); ++i)
            ASSERT_LT(std::abs(std::complex<double>(ref[i]) - expected[i + delay]), 2e-6) << i << " of " << count;
    }
}

TEST(ReferenceWaveform, OfGaussianIsCentredOnItsSymbols)
{
    for (const std::uint32_t sps : { 8u, 9u, 10u, 12u })
    {
        constexpr std::size_t centre = 20;
        complex_array symbols(41, { 0.0f, 0.0f });
        symbols[centre] = { 1.0f, -2.0f };
        const complex_array taps = make_taps(LIB_DMA_REF_GAUSSIAN_FILTER, 8, sps);
        complex_array ref;
        generate_reference_waveform(LIB_DMA_REF_GAUSSIAN_FILTER, taps, symbols, sps,
                                    cal_reference_delay(LIB_DMA_REF_GAUSSIAN_FILTER, 8, sps), ref);
        ASSERT_EQ(ref.size(), symbols.size() * sps);
        // The span is even, so the filter's centre is a tap and the pulse is even about the symbol.
        const double peak = std::abs(std::complex<double>(ref[centre * sps]));
        EXPECT_GT(peak, 1.0);
        for (std::size_t d = 1; d < 4u * sps; ++d)
        {
            const std::complex<double> after(ref[centre * sps + d]);
            const std::complex<double> before(ref[centre * sps - d]);
            ASSERT_NEAR(std::abs(after - before), 0.0, 1e-4 * peak) << "sps " << sps << ", distance " << d;
            ASSERT_LT(std::abs(after), peak);
        }
        // A pulse held for one symbol through a Gaussian of time-bandwidth product b: a difference of two error functions.
        const double b = static_cast<double>(0.35f);
        const double c = std::numbers::pi * b * std::sqrt(2.0 / std::log(2.0));
        for (std::size_t d = 0; d < 3u * sps; ++d)
        {
            const double t = static_cast<double>(d) / static_cast<double>(sps);
            const double wanted = 0.5 * (std::erf(c * (t + 0.5)) - std::erf(c * (t - 0.5)));
            ASSERT_NEAR(static_cast<double>(ref[centre * sps + d].real()), wanted, 2e-3) << "sps " << sps << ", distance " << d;
            ASSERT_NEAR(static_cast<double>(ref[centre * sps + d].imag()), -2.0 * wanted, 4e-3);
        }
    }
}

TEST(ReferenceWaveform, WithoutTapsIsTheUpsampledRow)
{
    const complex_array symbols = make_symbols(5);
    complex_array ref;
    generate_reference_waveform(LIB_DMA_REF_RAISED_COSINE_FILTER, {}, symbols, 8, 33, ref);
    ASSERT_EQ(ref.size(), 40u);
    for (std::size_t i = 0; i < 40; ++i)
        EXPECT_EQ(ref[i], i % 8 == 0 ? 8.0f * symbols[i / 8] : 0.0f) << i;
    generate_reference_waveform(LIB_DMA_REF_GAUSSIAN_FILTER, {}, symbols, 8, 33, ref);
    ASSERT_EQ(ref.size(), 40u);
    for (std::size_t i = 0; i < 40; ++i)
        EXPECT_EQ(ref[i], symbols[i / 8]) << i;
}

TEST(ReferenceWaveform, OfNoSymbolsIsEmpty)
{
    for (const lib_dma_ref_filter_type_t type : { LIB_DMA_REF_NONE_FILTER, LIB_DMA_REF_RAISED_COSINE_FILTER })
    {
        complex_array ref(3, { 1.0f, 1.0f });
        generate_reference_waveform(type, make_taps(type, 8, 8), {}, 8, cal_reference_delay(type, 8, 8), ref);
        EXPECT_TRUE(ref.empty());
    }
}

TEST(ReferenceDelay, IsHalfTheSpanRoundedUp)
{
    EXPECT_EQ(cal_reference_delay(LIB_DMA_REF_RAISED_COSINE_FILTER, 16, 8), 64u);
    EXPECT_EQ(cal_reference_delay(LIB_DMA_REF_GAUSSIAN_FILTER, 3, 9), 14u); // floor(28 / 2)
    EXPECT_EQ(cal_reference_delay(LIB_DMA_REF_NONE_FILTER, 3, 9), 13u);     // floor(27 / 2)
    EXPECT_EQ(cal_reference_delay(LIB_DMA_REF_HALF_SINE_FILTER, 16, 9), 4u);
}

TEST(PulseTaps, HaveUnitGainAtZeroFrequency)
{
    for (const std::uint32_t sps : { 8u, 10u, 12u })
    {
        for (const lib_dma_ref_filter_type_t type :
             { LIB_DMA_REF_NONE_FILTER, LIB_DMA_REF_RAISED_COSINE_FILTER, LIB_DMA_REF_ROOT_RAISED_COSINE_FILTER,
               LIB_DMA_REF_GAUSSIAN_FILTER, LIB_DMA_REF_RECTANGULAR_FILTER, LIB_DMA_REF_HALF_SINE_FILTER,
               LIB_DMA_REF_USER_DEFINE_FILTER })
            EXPECT_NEAR(sum_of(make_taps(type, 64, sps)), 1.0, 2e-3) << "type " << type << ", sps " << sps;
    }
}

TEST(PulseTaps, LeaveTheirKindInTheFilter)
{
    // The span 8 at 8 samples: 65 taps whose middle tells the kind.
    const auto kind_after = [](lib_dma_ref_filter_type_t type)
    {
        common_lib::lib_filter_t filter;
        complex_array taps;
        generate_pulse_taps(type, 8, 0.35f, 8, filter, taps);
        complex_array kept;
        filter.generate_filter_data(kept);
        common_lib::lib_filter_t plain;
        plain.set_filter_length(8);
        plain.set_filter_alpha(static_cast<double>(0.35f));
        plain.set_oversampling_ratio(8);
        for (std::uint32_t kind = 0; kind <= 4; ++kind)
        {
            plain.set_filter_type(kind);
            complex_array wanted;
            plain.generate_filter_data(wanted);
            if (wanted == kept)
                return static_cast<int>(kind);
        }
        return -1;
    };
    EXPECT_EQ(kind_after(LIB_DMA_REF_NONE_FILTER), 0);
    EXPECT_EQ(kind_after(LIB_DMA_REF_RAISED_COSINE_FILTER), 1);
    EXPECT_EQ(kind_after(LIB_DMA_REF_ROOT_RAISED_COSINE_FILTER), 2);
    EXPECT_EQ(kind_after(LIB_DMA_REF_GAUSSIAN_FILTER), 3);
    EXPECT_EQ(kind_after(LIB_DMA_REF_HALF_SINE_FILTER), 4);
    EXPECT_EQ(kind_after(LIB_DMA_REF_USER_DEFINE_FILTER), 0);
}

TEST(SampleRamp, TurnsByStepOverSpsInDouble)
{
    for (const std::uint32_t sps : { 8u, 10u, 12u, 14u })
    {
        const double step = 3.0 * std::numbers::pi / 4.0;
        complex_array ref(60000, { 0.0f, 1.0f });
        deal_sample_ramp(step, sps, ref);
        for (std::size_t k = 0; k < ref.size(); ++k)
        {
            const double phase = static_cast<double>(k) * step / static_cast<double>(sps);
            const std::complex<double> wanted = std::complex<double>(0.0, 1.0) * std::polar(1.0, -phase);
            ASSERT_NEAR(std::abs(std::complex<double>(ref[k]) - wanted), 0.0, 2e-7) << "sps " << sps << ", sample " << k;
        }
    }
}

TEST(LevelMatch, BringsTheMeasurementToTheReference)
{
    const complex_array ref = { { 3.0f, 4.0f }, { 0.0f, 5.0f } };
    complex_array meas = { { 1.0f, 0.0f }, { 0.0f, -1.0f }, { 1.0f, 0.0f } };
    EXPECT_TRUE(deal_level_match(ref, meas));
    EXPECT_FLOAT_EQ(meas[0].real(), 5.0f);
    EXPECT_FLOAT_EQ(meas[1].imag(), -5.0f);
    EXPECT_FLOAT_EQ(meas[2].real(), 5.0f);
}

TEST(LevelMatch, RefusesSilence)
{
    const complex_array ref(4, { 1.0f, 0.0f });
    complex_array silent(4, { 0.0f, 0.0f });
    EXPECT_FALSE(deal_level_match(ref, silent));
    EXPECT_EQ(silent, complex_array(4, { 0.0f, 0.0f }));
    complex_array faint(4, { 0.9e-12f, 0.0f });
    EXPECT_FALSE(deal_level_match(ref, faint));
    complex_array enough(4, { 1.1e-12f, 0.0f });
    EXPECT_TRUE(deal_level_match(ref, enough));
    complex_array none;
    EXPECT_FALSE(deal_level_match(ref, none));
}

TEST(LevelMatch, RefusesALevelThatIsNoNumber)
{
    const complex_array ref(4, { 1.0f, 0.0f });
    complex_array meas(4, { 1.0f, 0.0f });
    meas[2] = { 0.0f, std::numeric_limits<float>::quiet_NaN() };
    EXPECT_FALSE(deal_level_match(ref, meas));
    EXPECT_EQ(meas[0], std::complex<float>(1.0f, 0.0f));
}

TEST(HeadCut, LeavesOneSymbolOfTheHead)
{
    complex_array meas = make_ramp(40);
    complex_array ref = make_ramp(32);
    deal_head_cut(20, 8, meas, ref);
    EXPECT_EQ(meas.size(), 20u);
    EXPECT_EQ(ref.size(), 20u);
    EXPECT_EQ(places(meas).front(), 12);
    EXPECT_EQ(places(ref).front(), 12);
}

TEST(HeadCut, OfOneSymbolDropsNothing)
{
    complex_array meas = make_ramp(32);
    complex_array ref = make_ramp(32);
    deal_head_cut(8, 8, meas, ref);
    EXPECT_EQ(meas, make_ramp(32));
    EXPECT_EQ(ref, make_ramp(32));
}

TEST(HeadCut, BelowOneSymbolDropsAllOfIt)
{
    complex_array meas = make_ramp(32);
    complex_array ref = make_ramp(32);
    deal_head_cut(7, 8, meas, ref);
    EXPECT_EQ(places(meas).front(), 7);
    EXPECT_EQ(places(ref).front(), 7);
    EXPECT_EQ(ref.size(), 25u);
    deal_head_cut(0, 8, meas, ref);
    EXPECT_EQ(places(ref).front(), 7);
}

TEST(HeadCut, LongerThanTheDataEmptiesThem)
{
    complex_array meas = make_ramp(10);
    complex_array ref = make_ramp(10);
    deal_head_cut(100, 8, meas, ref);
    EXPECT_TRUE(meas.empty());
    EXPECT_TRUE(ref.empty());
}

TEST(HeadCut, KeepsAMeasurementThatIsTheShorter)
{
    complex_array meas = make_ramp(10);
    complex_array ref = make_ramp(32);
    deal_head_cut(0, 8, meas, ref);
    EXPECT_EQ(meas.size(), 10u);
    EXPECT_EQ(ref.size(), 32u);
}

TEST(ResultRate, KeepsEveryNthSample)
{
    complex_array data = make_ramp(17);
    deal_result_rate(8, 2, data);
    EXPECT_EQ(places(data), (std::vector<int>{ 0, 4, 8, 12, 16 }));
    data = make_ramp(6);
    deal_result_rate(10, 10, data);
    EXPECT_EQ(data, make_ramp(6));
    data = make_ramp(21);
    deal_result_rate(10, 5, data);
    EXPECT_EQ(places(data), (std::vector<int>{ 0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20 }));
    data = make_ramp(17);
    deal_result_rate(8, 1, data);
    EXPECT_EQ(places(data), (std::vector<int>{ 0, 8, 16 }));
}

TEST(ResultSymbols, LeaveTheTailOut)
{
    complex_array symbols = { { 9.0f, 9.0f } };
    take_result_symbols(make_ramp(20), 4, 2, symbols);
    EXPECT_EQ(places(symbols), (std::vector<int>{ 0, 4, 8 }));
    take_result_symbols(make_ramp(20), 4, 0, symbols);
    EXPECT_EQ(places(symbols), (std::vector<int>{ 0, 4, 8, 12, 16 }));
    take_result_symbols(make_ramp(20), 4, 5, symbols);
    EXPECT_TRUE(symbols.empty());
    take_result_symbols(make_ramp(20), 4, 600, symbols);
    EXPECT_TRUE(symbols.empty());
}
