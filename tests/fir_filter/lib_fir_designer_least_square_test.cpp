#include "fir_filter/lib_fir_designer.h"
#include "least_square_reference.h"
#include "message_capture.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <complex>
#include <limits>
#include <numbers>
#include <string>
#include <string_view>
#include <vector>

using namespace vrim;
using namespace vrim::fir_filter_lib;
using namespace least_square_reference;
using designer_t = lib_fir_designer_t;

namespace
{
const design_t lowpass = { LIB_FIR_RESPONSE_LOWPASS, { 0.2, 0.3, 0.4, 0.5 } };
const design_t highpass = { LIB_FIR_RESPONSE_HIGHPASS, { 0.45, 0.6, 0.7, 0.8 } };
const design_t bandpass = { LIB_FIR_RESPONSE_BANDPASS, { 0.2, 0.3, 0.5, 0.6 } };
const design_t bandstop = { LIB_FIR_RESPONSE_BANDSTOP, { 0.25, 0.3, 0.6, 0.65 } };

lib_fir_design_parameter_t make_parameters(const design_t& design, std::uint32_t order)
{
    lib_fir_design_parameter_t parameters;
    parameters.set_fir_design_method(LIB_FIR_METHOD_LEAST_SQUARE);
    parameters.set_fir_response_type(design.type);
    parameters.set_first_edge_start_frequency(design.edges[0]);
    parameters.set_first_edge_stop_frequency(design.edges[1]);
    parameters.set_second_edge_start_frequency(design.edges[2]);
    parameters.set_second_edge_stop_frequency(design.edges[3]);
    parameters.set_first_band_weight(design.weights[0]);
    parameters.set_second_band_weight(design.weights[1]);
    parameters.set_third_band_weight(design.weights[2]);
    parameters.get_order_parameter().set_filter_order(order);
    return parameters;
}

complex_array make_filter(const design_t& design, std::uint32_t order)
{
    complex_array taps;
    EXPECT_TRUE(designer_t::_least_square_method(make_parameters(design, order), taps));
    return taps;
}

void expect_symmetric(const complex_array& taps, std::size_t count)
{
    ASSERT_EQ(taps.size(), count);
    for (std::size_t i = 0; i < count; ++i)
    {
        EXPECT_EQ(taps[i], taps[count - 1 - i]) << "tap " << i;
        EXPECT_EQ(taps[i].imag(), 0.0f) << "tap " << i;
        EXPECT_TRUE(std::isfinite(taps[i].real())) << "tap " << i;
    }
}

float largest_tap(const complex_array& taps)
{
    float largest = 0.0f;
    for (const auto& tap : taps)
        largest = std::max(largest, std::abs(tap.real()));
    return largest;
}

/// Gain at a frequency relative to half the sample rate.
double cal_gain(const complex_array& taps, double frequency)
{
    std::complex<double> sum = 0.0;
    for (std::size_t n = 0; n < taps.size(); ++n)
        sum += static_cast<double>(taps[n].real()) * std::polar(1.0, -std::numbers::pi * static_cast<double>(n) * frequency);
    return std::abs(sum);
}

/// What a tap rounds to in single precision, and as much again for the solver.
constexpr real_t tap_tolerance = 1.2e-7L;

void expect_taps_of_least_error(const design_t& design, std::uint32_t order)
{
    SCOPED_TRACE("type " + std::to_string(design.type) + " order " + std::to_string(order));
    const complex_array taps = make_filter(design, order);
    expect_symmetric(taps, order + 1);
    const reference_t reference(design, order);
    const real_array expected = reference.solve(0.0L);
    const real_array actual = reference.get_amplitudes(taps);
    for (std::size_t i = 0; i < expected.size(); ++i)
        EXPECT_LE(std::abs(actual[i] - expected[i]), tap_tolerance * std::max(1.0L, std::abs(expected[i]))) << "cosine " << i;
}

void expect_least_error(const design_t& design, std::uint32_t order)
{
    SCOPED_TRACE("type " + std::to_string(design.type) + " order " + std::to_string(order));
    const complex_array taps = make_filter(design, order);
    expect_symmetric(taps, order + 1);
    const reference_t reference(design, order);
    const real_t bound = 1e-9L * reference.get_energy();
    // Two ridges with the same error show that the reference itself is at the bottom.
    const real_t least = reference.cal_error(reference.solve(1e-17L));
    ASSERT_LE(std::abs(reference.cal_error(reference.solve(1e-16L)) - least), bound / 2.0L);
    EXPECT_LE(std::abs(reference.cal_error(reference.get_amplitudes(taps)) - least), bound);
    EXPECT_LT(largest_tap(taps), 2.0f);
}

std::string expect_refused(const lib_fir_design_parameter_t& parameters)
{
    const log_capture_t log;
    complex_array taps(3, { 1.0f, 0.0f });
    EXPECT_FALSE(designer_t::_least_square_method(parameters, taps));
    EXPECT_TRUE(taps.empty());
    EXPECT_EQ(log.get_records().size(), 1u);
    if (log.get_records().empty())
        return {};
    EXPECT_EQ(log.get_records().front().level, common_log::log_level_error);
    return log.get_records().front().message;
}
} // namespace

TEST(LeastSquare, GivesTheTapsOfTheNormalEquations)
{
    for (const design_t& design : { lowpass, highpass, bandpass, bandstop })
        for (const std::uint32_t order : { 2u, 3u, 10u, 20u, 21u, 40u, 41u, 80u })
            expect_taps_of_least_error(design, order);
}

TEST(LeastSquare, WeighsTheBands)
{
    for (design_t design : { lowpass, highpass, bandpass, bandstop })
        for (const auto& weights : { std::array{ 1.0, 10.0, 3.0 }, std::array{ 40.0, 0.5, 2.0 }, std::array{ 2.0, 1.0, 3.0 } })
        {
            design.weights = weights;
            for (const std::uint32_t order : { 10u, 20u, 21u, 40u, 41u })
                expect_taps_of_least_error(design, order);
        }
}

TEST(LeastSquare, HeavierBandsComeCloser)
{
    auto cal_stopband_energy = [](const complex_array& taps)
    {
        double sum = 0.0;
        for (double frequency = 0.3005; frequency < 1.0; frequency += 0.001)
            sum += std::pow(cal_gain(taps, frequency), 2.0);
        return sum;
    };
    design_t design = lowpass;
    const double even = cal_stopband_energy(make_filter(design, 20));
    design.weights[1] = 100.0;
    EXPECT_LT(cal_stopband_energy(make_filter(design, 20)), 0.1 * even);
}

TEST(LeastSquare, WeighsAlsoBandsWithoutAGap)
{
    for (design_t design : { lowpass, highpass, bandpass, bandstop })
    {
        design.edges = { 0.3, 0.3, 0.6, 0.6 };
        design.weights = { 1.0, 5.0, 2.0 };
        for (const std::uint32_t order : { 10u, 21u, 40u, 200u })
            expect_taps_of_least_error(design, order);
    }
}

TEST(LeastSquare, WithoutGapsAndWeightsIsTheTruncatedIdealResponse)
{
    for (design_t design : { lowpass, highpass, bandpass, bandstop })
    {
        design.edges = { 0.3, 0.3, 0.6, 0.6 };
        for (const std::uint32_t order : { 10u, 20u, 21u, 40u, 41u, 80u, 200u })
            expect_taps_of_least_error(design, order);
    }
}

TEST(LeastSquare, IsTheSincOfALowpassToTheLastTapOfALongFilter)
{
    design_t design = lowpass;
    design.edges[1] = design.edges[0] = 0.37;
    for (const std::uint32_t order : { 999'999u, 1'000'000u })
    {
        const complex_array taps = make_filter(design, order);
        ASSERT_EQ(taps.size(), order + 1u);
        for (std::size_t n = 0; n <= order; n += 997)
        {
            EXPECT_EQ(taps[n], taps[order - n]);
            const real_t t = static_cast<real_t>(n) - static_cast<real_t>(order) / 2.0L;
            const real_t turns = static_cast<real_t>(0.37) * t / 2.0L; // whole turns off before pi comes in
            const real_t expected = t == 0.0L ? 0.37L : std::sin(2.0L * pi * (turns - std::round(turns))) / (pi * t);
            const real_t bound = 1e-7L * std::abs(expected) + 1e-10L / (1.0L + std::abs(t));
            EXPECT_LE(std::abs(static_cast<real_t>(taps[n].real()) - expected), bound) << "tap " << n;
        }
    }
}

TEST(LeastSquare, DefaultsGiveASymmetricFilterOfTwentyOneTaps)
{
    lib_fir_design_parameter_t parameters;
    parameters.set_fir_design_method(LIB_FIR_METHOD_LEAST_SQUARE);
    complex_array taps;
    ASSERT_TRUE(designer_t::_least_square_method(parameters, taps));
    expect_symmetric(taps, 21);
    EXPECT_NEAR(cal_gain(taps, 0.0), 1.0, 0.05);
    EXPECT_NEAR(cal_gain(taps, 1.0), 0.0, 0.05);
}

TEST(LeastSquare, HasGainOneForBothParitiesOfTheOrder)
{
    for (const std::uint32_t order : { 60u, 61u })
    {
        EXPECT_NEAR(cal_gain(make_filter(lowpass, order), 0.1), 1.0, 2e-3) << order;
        design_t sharp = lowpass;
        sharp.edges[1] = sharp.edges[0];
        EXPECT_NEAR(cal_gain(make_filter(sharp, order), 0.1), 1.0, 0.05) << order;
    }
}

TEST(LeastSquare, ConstantWeightsLeaveTheFilterAsItIs)
{
    for (design_t design : { lowpass, bandpass })
        for (const double stop : { design.edges[1], design.edges[0] })
        {
            design.edges[1] = stop;
            design.weights = { 1.0, 1.0, 1.0 };
            const complex_array expected = make_filter(design, 20);
            for (const double weight : { 1e-300, 0.125, 3.0, 1999.0 })
            {
                design.weights = { weight, weight, weight };
                EXPECT_EQ(make_filter(design, 20), expected) << weight;
            }
        }
}

TEST(LeastSquare, WeightsThatCountAsConstantHaveNoInfluenceWithoutGaps)
{
    // The differences from the first weight decide by their sum: 0, -1, 1.
    design_t design = bandpass;
    design.edges = { 0.3, 0.3, 0.6, 0.6 };
    const complex_array expected = make_filter(design, 20);
    design.weights = { 2.0, 1.0, 3.0 };
    EXPECT_EQ(make_filter(design, 20), expected);
}

TEST(LeastSquare, TheWindowMethodHasNoWeights)
{
    design_t design = highpass;
    design.edges = { 0.3, 0.3, 0.6, 0.6 };
    const complex_array expected = make_filter(design, 20);
    design.weights = { 1.0, 50.0, 7.0 };
    for (const lib_window_type_t window : { LIB_WINDOW_KAISER, LIB_WINDOW_HANN })
    {
        auto parameters = make_parameters(design, 20);
        parameters.set_fir_design_method(LIB_FIR_METHOD_WINDOW);
        parameters.set_window_type(window);
        complex_array taps;
        ASSERT_TRUE(designer_t::_least_square_method(parameters, taps));
        EXPECT_EQ(taps, expected) << window;
    }
}

TEST(LeastSquare, TakesTheConfiguredOrderWhateverMinimumOrderSays)
{
    design_t design = lowpass;
    design.weights[1] = 30.0;
    auto parameters = make_parameters(design, 24);
    parameters.get_order_parameter().set_minimum_order_enable(true);
    complex_array taps;
    ASSERT_TRUE(designer_t::_least_square_method(parameters, taps));
    EXPECT_EQ(taps, make_filter(design, 24));
}

TEST(LeastSquare, AFirstTransitionWithoutWidthSpeaksForTheSecond)
{
    // Meant: the second gap then counts as a band of amplitude 0.
    design_t design = bandpass;
    design.edges = { 0.3, 0.3, 0.5, 0.7 };
    const complex_array taps = make_filter(design, 20);
    for (std::size_t n = 0; n < taps.size(); ++n)
    {
        const real_t t = static_cast<real_t>(n) - 10.0L;
        const real_t expected =
            t == 0.0L ? 0.2L
                      : (std::sin(pi * static_cast<real_t>(0.5) * t) - std::sin(pi * static_cast<real_t>(0.3) * t)) / (pi * t);
        EXPECT_NEAR(static_cast<double>(taps[n].real()), static_cast<double>(expected), 1e-8) << n;
    }
}

TEST(LeastSquare, KeepsTheLeastErrorWhereTheEquationsAreCloseToSingular)
{
    for (const design_t& design : { lowpass, highpass, bandpass, bandstop })
        for (const std::uint32_t order : { 80u, 120u, 200u, 240u })
            expect_least_error(design, order);
    // An even count of taps has no gain at the Nyquist frequency: only these two take an odd order.
    for (const design_t& design : { lowpass, bandpass })
        for (const std::uint32_t order : { 119u, 201u })
            expect_least_error(design, order);
    for (const double stop : { 0.5, 0.7, 0.95 })
    {
        design_t design = lowpass;
        design.edges[1] = stop;
        for (const std::uint32_t order : { 20u, 21u, 41u, 80u, 200u })
            expect_least_error(design, order);
    }
    for (const auto& weights : { std::array{ 1.0, 2000.0, 1.0 }, std::array{ 2000.0, 1.0, 1.0 } })
    {
        design_t design = lowpass;
        design.weights = weights;
        for (const std::uint32_t order : { 80u, 200u, 201u })
            expect_least_error(design, order);
    }
}

TEST(LeastSquare, MeetsItsBandsAtOrderAThousand)
{
    for (const std::uint32_t order : { 1000u, 1001u })
    {
        const complex_array taps = make_filter(lowpass, order);
        expect_symmetric(taps, order + 1);
        EXPECT_LT(largest_tap(taps), 0.5f);
        for (double frequency = 0.0; frequency <= 1.0; frequency += 0.01)
        {
            if (frequency > 0.2 && frequency < 0.301)
                continue;
            EXPECT_NEAR(cal_gain(taps, frequency), frequency < 0.25 ? 1.0 : 0.0, 3e-6) << frequency;
        }
    }
    // A transition of a thousandth keeps the equations regular at this order.
    design_t design = lowpass;
    design.edges[1] = 0.201;
    expect_taps_of_least_error(design, 300);
    const complex_array taps = make_filter(design, 1100);
    EXPECT_NEAR(cal_gain(taps, 0.1), 1.0, 1e-2);
    EXPECT_NEAR(cal_gain(taps, 0.4), 0.0, 1e-2);
}

TEST(LeastSquare, FactorisationAndInverseGiveTheSameTaps)
{
    // Order 1022 is the last that the inverse serves.
    design_t design = lowpass;
    design.edges[1] = 0.205;
    const complex_array inverted = make_filter(design, 1022);
    const complex_array factored = make_filter(design, 1024);
    for (std::size_t n = 500; n <= 511; ++n) // the middle hardly knows of one pair of taps more at the ends
        EXPECT_NEAR(inverted[n].real(), factored[n + 1].real(), 1e-5f) << n;
}

TEST(LeastSquare, SaysThatTapsRunHigh)
{
    // A wide gap beside a narrow one: the response is free to run up in the wide one, and the least error wants it.
    design_t design = bandpass;
    design.edges = { 0.1, 0.6, 0.65, 0.66 };
    const log_capture_t log;
    const complex_array taps = make_filter(design, 30);
    expect_symmetric(taps, 31);
    EXPECT_GT(largest_tap(taps), 10.0f);
    ASSERT_EQ(log.get_records().size(), 1u);
    EXPECT_EQ(log.get_records()[0].level, common_log::log_level_info);
    EXPECT_NE(log.get_records()[0].message.find("_least_square_method: taps reach "), std::string::npos);

    const complex_array longer = make_filter(design, 200);
    expect_symmetric(longer, 201);
    EXPECT_LT(largest_tap(longer), 1e6f);
}

TEST(LeastSquare, BandsWithoutWidthAreSkipped)
{
    design_t design = lowpass;
    design.edges[0] = 0.0; // no passband
    for (const double stop : { 0.0, 0.3 })
    {
        design.edges[1] = stop;
        for (const std::complex<float>& tap : make_filter(design, 20))
            EXPECT_EQ(tap, std::complex<float>());
    }
    design = lowpass;
    design.edges = { 1.0, 1.0, 1.0, 1.0 }; // no stopband: a unit impulse
    const complex_array taps = make_filter(design, 20);
    for (std::size_t n = 0; n < taps.size(); ++n)
        EXPECT_NEAR(taps[n].real(), n == 10 ? 1.0f : 0.0f, 1e-7f) << n;
}

TEST(LeastSquare, BandsOfNextToNoWidthDoNotHangIt)
{
    design_t design = lowpass;
    design.edges[1] = 1.0;
    design.edges[0] = 1e-10; // all that is asked is a gain of 1 at 0
    const complex_array taps = make_filter(design, 200);
    expect_symmetric(taps, 201);
    EXPECT_NEAR(cal_gain(taps, 0.0), 1.0, 1e-5);
    design.edges[0] = 1e-310; // rounding takes the last digits away
    EXPECT_EQ(expect_refused(make_parameters(design, 200)),
              "lib_fir_designer_t::_least_square_method: the equations have no solution.\n");
}

TEST(LeastSquare, RefusesWhatHasNoBands)
{
    design_t design = lowpass;
    design.edges[0] = 0.0;
    design.edges[1] = 1.0;
    EXPECT_EQ(expect_refused(make_parameters(design, 20)), "lib_fir_designer_t::_least_square_method: no band has a width.\n");
    design = bandpass;
    design.edges = { 0.0, 0.0, 0.0, 1.0 };
    EXPECT_EQ(expect_refused(make_parameters(design, 20)), "lib_fir_designer_t::_least_square_method: no band has a width.\n");
    design.type = LIB_FIR_RESPONSE_SHAPING;
    EXPECT_EQ(expect_refused(make_parameters(design, 20)),
              "lib_fir_designer_t::_least_square_method: the response type has no bands.\n");
    design.type = static_cast<lib_fir_response_type_t>(77);
    EXPECT_EQ(expect_refused(make_parameters(design, 20)),
              "lib_fir_designer_t::_least_square_method: the response type has no bands.\n");
}

TEST(LeastSquare, RefusesFallingEdges)
{
    for (const auto& edges : { std::array{ 0.4, 0.3, 0.6, 0.7 }, std::array{ 0.2, 0.5, 0.4, 0.7 },
                               std::array{ 0.2, 0.3, 0.7, 0.6 }, std::array{ 0.5, 0.5, 0.3, 0.3 } })
    {
        design_t design = bandpass;
        design.edges = edges;
        EXPECT_EQ(expect_refused(make_parameters(design, 20)),
                  "lib_fir_designer_t::_least_square_method: the band edges must not fall.\n");
    }
}

TEST(LeastSquare, TakesEdgesThatAreNotANumberAsZero)
{
    design_t design = lowpass;
    design.edges[0] = std::numeric_limits<double>::quiet_NaN();
    const complex_array taps = make_filter(design, 20);
    expect_symmetric(taps, 21);
    design.edges[0] = 0.2;
    design.edges[1] = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(expect_refused(make_parameters(design, 20)),
              "lib_fir_designer_t::_least_square_method: the band edges must not fall.\n");
}

TEST(LeastSquare, LimitsTheOrder)
{
    design_t design = lowpass;
    EXPECT_EQ(
        expect_refused(make_parameters(design, 8001)),
        "lib_fir_designer_t::_least_square_method: order 8001 is above the limit of 8000 for bands with gaps or weights.\n");
    EXPECT_EQ(expect_refused(make_parameters(design, 1'000'001)),
              "lib_fir_designer_t::_least_square_method: order 1000001 is above the limit of 1000000.\n");
    design.edges[1] = design.edges[0];
    design.weights[1] = 2.0;
    EXPECT_EQ(expect_refused(make_parameters(design, 19'999'999)),
              "lib_fir_designer_t::_least_square_method: order 19999999 is above the limit of 1000000.\n");
    EXPECT_EQ(
        expect_refused(make_parameters(design, 10'000)),
        "lib_fir_designer_t::_least_square_method: order 10000 is above the limit of 8000 for bands with gaps or weights.\n");
    design.weights[1] = 1.0;
    EXPECT_EQ(make_filter(design, 10'000).size(), 10'001u);
}

TEST(LeastSquare, ListsTheBandsOfEachResponse)
{
    design_t design = { LIB_FIR_RESPONSE_LOWPASS, { 0.1, 0.2, 0.3, 0.4 }, { 2.0, 3.0, 4.0 } };
    double_array edges = { 9.0 }, amplitudes = { 9.0 }, weights = { 9.0 };
    const double_array two_edges = { 0.0, 0.1, 0.2, 1.0 }, three_edges = { 0.0, 0.1, 0.2, 0.3, 0.4, 1.0 };

    auto list = [&](lib_fir_response_type_t type)
    {
        design.type = type;
        auto parameters = make_parameters(design, 20);
        parameters.get_order_parameter().set_minimum_order_enable(true); // does not matter here
        designer_t::_get_freq_amplitude_weight_vector(parameters, edges, amplitudes, weights);
    };
    list(LIB_FIR_RESPONSE_LOWPASS);
    EXPECT_EQ(edges, two_edges);
    EXPECT_EQ(amplitudes, (double_array{ 1.0, 1.0, 0.0, 0.0 }));
    EXPECT_EQ(weights, (double_array{ 2.0, 3.0 }));
    list(LIB_FIR_RESPONSE_HIGHPASS);
    EXPECT_EQ(edges, two_edges);
    EXPECT_EQ(amplitudes, (double_array{ 0.0, 0.0, 1.0, 1.0 }));
    EXPECT_EQ(weights, (double_array{ 2.0, 3.0 }));
    list(LIB_FIR_RESPONSE_BANDPASS);
    EXPECT_EQ(edges, three_edges);
    EXPECT_EQ(amplitudes, (double_array{ 0.0, 0.0, 1.0, 1.0, 0.0, 0.0 }));
    EXPECT_EQ(weights, (double_array{ 2.0, 3.0, 4.0 }));
    list(LIB_FIR_RESPONSE_BANDSTOP);
    EXPECT_EQ(edges, three_edges);
    EXPECT_EQ(amplitudes, (double_array{ 1.0, 1.0, 0.0, 0.0, 1.0, 1.0 }));
    EXPECT_EQ(weights, (double_array{ 2.0, 3.0, 4.0 }));
    list(LIB_FIR_RESPONSE_SHAPING);
    EXPECT_TRUE(edges.empty());
    EXPECT_TRUE(amplitudes.empty());
    EXPECT_TRUE(weights.empty());
}
