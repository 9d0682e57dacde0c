#include "fir_filter/lib_fir_designer.h"

#include "../message_capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <functional>
#include <limits>
#include <numbers>
#include <string>
#include <vector>

using namespace vrim;
using namespace vrim::fir_filter_lib;
using designer = lib_fir_designer_t;

namespace
{
constexpr double pi = std::numbers::pi;

/// The inverse transform of a response that is 1 up to `cutoff` (1 is Nyquist), at a time in samples.
double lowpass_at(double cutoff, double t)
{
    return t == 0.0 ? cutoff : std::sin(pi * cutoff * t) / (pi * t);
}

double ideal_at(lib_fir_response_type_t response, double first, double second, double t)
{
    switch (response)
    {
    case LIB_FIR_RESPONSE_LOWPASS:
        return lowpass_at(first, t);
    case LIB_FIR_RESPONSE_HIGHPASS:
        return lowpass_at(1.0, t) - lowpass_at(first, t);
    case LIB_FIR_RESPONSE_BANDPASS:
        return lowpass_at(second, t) - lowpass_at(first, t);
    default:
        return lowpass_at(1.0, t) - lowpass_at(second, t) + lowpass_at(first, t);
    }
}

/// Windows at a place from -1 to 1.
struct test_window_t
{
    lib_window_type_t type;
    std::function<double(double)> value;
};

std::vector<test_window_t> make_windows()
{
    return {
        { LIB_WINDOW_RECTANGLE, [](double) { return 1.0; } },
        { LIB_WINDOW_HAMMING, [](double p) { return 0.54 + 0.46 * std::cos(pi * p); } },
        { LIB_WINDOW_HANN, [](double p) { return 0.5 + 0.5 * std::cos(pi * p); } },
        { LIB_WINDOW_BLACKMAN, [](double p) { return 0.42 + 0.5 * std::cos(pi * p) + 0.08 * std::cos(2.0 * pi * p); } },
        { LIB_WINDOW_BARTLETT, [](double p) { return 1.0 - std::abs(p); } },
        { LIB_WINDOW_GAUSSIAN, [](double p) { return std::exp(-0.5 * 2.5 * 2.5 * p * p); } },
        { LIB_WINDOW_KAISER, [](double p)
          { return std::cyl_bessel_i(0.0, 7.83 * std::sqrt(std::max(0.0, 1.0 - p * p))) / std::cyl_bessel_i(0.0, 7.83); } },
    };
}

std::vector<double> make_expected(lib_fir_response_type_t response, double first, double second, std::uint32_t order,
                                  const test_window_t& window)
{
    std::vector<double> taps;
    for (std::uint32_t n = 0; n <= order; ++n)
    {
        const double t = n - 0.5 * order;
        taps.push_back(ideal_at(response, first, second, t) * window.value(2.0 * t / order));
    }
    return taps;
}

std::complex<double> cal_response(const std::vector<double>& taps, double frequency)
{
    std::complex<double> sum;
    for (std::size_t n = 0; n < taps.size(); ++n)
        sum += taps[n] * std::polar(1.0, -pi * frequency * static_cast<double>(n));
    return sum;
}

std::vector<double> real_parts(const complex_array& taps)
{
    std::vector<double> parts;
    for (const auto& tap : taps)
        parts.push_back(static_cast<double>(tap.real()));
    return parts;
}

/// A description with a fixed order, even or odd, whatever the response says.
lib_fir_design_parameter_t describe(lib_fir_response_type_t response, std::uint32_t order, double first = 0.3,
                                    double second = 0.6)
{
    lib_fir_design_parameter_t parameters;
    parameters.set_fir_response_type(response);
    parameters.get_order_parameter().set_filter_order(order);
    parameters.set_first_cutoff_frequency(first);
    parameters.set_second_cutoff_frequency(second);
    return parameters;
}

constexpr lib_fir_response_type_t responses[] = { LIB_FIR_RESPONSE_LOWPASS, LIB_FIR_RESPONSE_HIGHPASS,
                                                  LIB_FIR_RESPONSE_BANDPASS, LIB_FIR_RESPONSE_BANDSTOP };

void expect_taps(const complex_array& taps, const std::vector<double>& expected, const std::string& what)
{
    ASSERT_EQ(taps.size(), expected.size()) << what;
    double peak = 0.0;
    for (const double tap : expected)
        peak = std::max(peak, std::abs(tap));
    for (std::size_t n = 0; n < expected.size(); ++n)
    {
        // Two roundings to single precision and the products of the narrowed factors
        ASSERT_NEAR(static_cast<double>(taps[n].real()), expected[n], 3e-7 * peak) << what << ", tap " << n;
        ASSERT_EQ(taps[n].imag(), 0.0f) << what << ", tap " << n;
    }
}

void expect_refused(const lib_fir_design_parameter_t& parameters, const char* line)
{
    const log_capture_t log;
    complex_array taps(3, { 7.0f, 0.0f });
    EXPECT_FALSE(designer::_window_method(parameters, taps));
    EXPECT_TRUE(taps.empty());
    EXPECT_EQ(log.count(common_log::log_level_error, line), 1) << line;
}
} // namespace

TEST(WindowMethod, IsTheWindowedIdealResponse)
{
    for (const auto response : responses)
        for (const std::uint32_t order : { 2u, 3u, 20u, 21u, 60u, 127u, 1000u })
            for (const test_window_t& window : make_windows())
            {
                lib_fir_design_parameter_t parameters = describe(response, order);
                parameters.set_window_type(window.type);
                parameters.set_passband_gain_normalize_enable(false);
                complex_array taps;
                ASSERT_TRUE(designer::_window_method(parameters, taps));
                expect_taps(taps, make_expected(response, 0.3, 0.6, order, window),
                            "response " + std::to_string(response) + ", order " + std::to_string(order) + ", window " +
                                std::to_string(window.type));
            }
}

TEST(WindowMethod, ScalesToUnityGainInThePassband)
{
    for (const auto response : responses)
        for (const std::uint32_t order : { 20u, 22u, 61u })
            for (const test_window_t& window : make_windows())
            {
                if (response == LIB_FIR_RESPONSE_HIGHPASS && order % 2 == 1)
                    continue; // no gain at the Nyquist frequency
                lib_fir_design_parameter_t parameters = describe(response, order);
                parameters.set_window_type(window.type);
                // The middle of the passband is taken from the edges: (0.35 + 0.55) / 2.
                parameters.set_first_edge_start_frequency(0.25);
                parameters.set_first_edge_stop_frequency(0.35);
                parameters.set_second_edge_start_frequency(0.55);
                parameters.set_second_edge_stop_frequency(0.65);
                complex_array taps;
                ASSERT_TRUE(designer::_window_method(parameters, taps));

                std::vector<double> expected = make_expected(response, 0.3, 0.6, order, window);
                const double middle = response == LIB_FIR_RESPONSE_HIGHPASS  ? 1.0
                                      : response == LIB_FIR_RESPONSE_BANDPASS ? 0.45
                                                                              : 0.0;
                const double gain = std::abs(cal_response(expected, middle));
                for (double& tap : expected)
                    tap /= gain;
                expect_taps(taps, expected, "response " + std::to_string(response) + ", order " + std::to_string(order));
                EXPECT_NEAR(std::abs(cal_response(real_parts(taps), middle)), 1.0, 1e-6);
            }
}

TEST(WindowMethod, OfTheDefaultLowpassHasTwentyOneTapsOfSumOne)
{
    complex_array taps;
    ASSERT_TRUE(designer::_window_method(lib_fir_design_parameter_t(), taps));
    ASSERT_EQ(taps.size(), 21u);
    double sum = 0.0;
    for (const double tap : real_parts(taps))
        sum += tap;
    EXPECT_NEAR(sum, 1.0, 1e-7);
    EXPECT_EQ(taps, complex_array(taps.rbegin(), taps.rend()));
}

TEST(WindowMethod, DoesNotInvertAHighpassOfNegativeNyquistGain)
{
    // Order 22: the middle tap is the twelfth, (-1)^11 = -1.
    complex_array taps;
    ASSERT_TRUE(designer::_window_method(describe(LIB_FIR_RESPONSE_HIGHPASS, 22), taps));
    EXPECT_GT(taps[11].real(), 0.5f);
    EXPECT_NEAR(cal_response(real_parts(taps), 1.0).real(), -1.0, 1e-6);
}

TEST(WindowMethod, LeavesAHighpassOfOddOrderUnscaled)
{
    // Even symmetry and an even count of taps: the gain at the Nyquist frequency is 0.
    const lib_fir_design_parameter_t parameters = describe(LIB_FIR_RESPONSE_HIGHPASS, 21);
    complex_array taps;
    ASSERT_TRUE(designer::_window_method(parameters, taps));
    expect_taps(taps, make_expected(LIB_FIR_RESPONSE_HIGHPASS, 0.3, 0.6, 21, make_windows().back()), "order 21");
}

TEST(WindowMethod, ScalesABandpassWhereItsEdgesSay)
{
    // Defaults: cutoffs 0.45 and 0.55, edges 0.3 and 0.4 around the frequency that is scaled to 1.
    lib_fir_design_parameter_t parameters;
    parameters.set_fir_response_type(LIB_FIR_RESPONSE_BANDPASS);
    complex_array taps;
    ASSERT_TRUE(designer::_window_method(parameters, taps));
    EXPECT_NEAR(std::abs(cal_response(real_parts(taps), 0.35)), 1.0, 1e-5);
}

TEST(WindowMethod, DoesNotDependOnBandWeightsOrMethodOrEdges)
{
    for (const auto response : responses)
    {
        lib_fir_design_parameter_t parameters = describe(response, 40);
        parameters.set_passband_gain_normalize_enable(false);
        complex_array plain, other;
        ASSERT_TRUE(designer::_window_method(parameters, plain));
        parameters.set_first_band_weight(7.0);
        parameters.set_second_band_weight(0.25);
        parameters.set_third_band_weight(11.0);
        ASSERT_TRUE(designer::_window_method(parameters, other));
        EXPECT_EQ(other, plain) << response;
        parameters.set_fir_design_method(LIB_FIR_METHOD_LEAST_SQUARE);
        parameters.set_first_edge_stop_frequency(0.9);
        ASSERT_TRUE(designer::_window_method(parameters, other));
        EXPECT_EQ(other, plain) << response;
    }
}

TEST(WindowMethod, LeavesTheDescriptionAndTheProcessFlagsAlone)
{
    const lib_fir_design_parameter_t lowpass = describe(LIB_FIR_RESPONSE_LOWPASS, 15);
    lib_fir_design_parameter_t parameters;
    parameters.set_fir_response_type(LIB_FIR_RESPONSE_HIGHPASS);
    parameters.set_fir_filter_order(21); // raised to 22, which the process remembers
    complex_array taps;
    ASSERT_TRUE(designer::_window_method(parameters, taps));
    ASSERT_TRUE(designer::_window_method(lowpass, taps));
    EXPECT_EQ(parameters.get_fir_filter_order(), 22u);
    parameters.set_fir_response_type(LIB_FIR_RESPONSE_LOWPASS);
    EXPECT_EQ(parameters.get_fir_filter_order(), 21u);
}

TEST(WindowMethod, MeetsTheAttenuationOfAMinimumOrderKaiserDesign)
{
    for (const double attenuation : { 40.0, 60.0, 80.0 })
        for (const auto response : { LIB_FIR_RESPONSE_LOWPASS, LIB_FIR_RESPONSE_HIGHPASS })
        {
            lib_fir_design_parameter_t parameters;
            parameters.set_fir_response_type(response);
            parameters.set_fir_minimum_order_enable(true);
            const bool lowpass = response == LIB_FIR_RESPONSE_LOWPASS;
            parameters.set_first_Amplitude(lowpass ? 1.0 : attenuation);
            parameters.set_second_Amplitude(lowpass ? attenuation : 1.0);
            complex_array taps;
            ASSERT_TRUE(designer::_window_method(parameters, taps));

            // Kaiser: order (A - 7.95) / (2.285 * 0.1 pi), even for the highpass
            std::uint32_t order = static_cast<std::uint32_t>(std::ceil((attenuation - 7.95) / (2.285 * 0.1 * pi)));
            order += lowpass ? 0 : order % 2;
            const double beta = attenuation > 50.0
                                    ? 0.1102 * (attenuation - 8.7)
                                    : 0.5842 * std::pow(attenuation - 21.0, 0.4) + 0.07886 * (attenuation - 21.0);
            const auto kaiser = [beta](double p)
            { return std::cyl_bessel_i(0.0, beta * std::sqrt(std::max(0.0, 1.0 - p * p))) / std::cyl_bessel_i(0.0, beta); };
            std::vector<double> expected = make_expected(response, 0.25, 0.0, order, { LIB_WINDOW_KAISER, kaiser });
            const double gain = std::abs(cal_response(expected, lowpass ? 0.0 : 1.0));
            for (double& tap : expected)
                tap /= gain;
            expect_taps(taps, expected, "response " + std::to_string(response) + ", dB " + std::to_string(attenuation));

            double worst = 0.0, ripple = 0.0;
            for (int i = 0; i <= 2000; ++i)
            {
                const double low = 0.2 * i / 2000.0, high = 0.3 + 0.7 * i / 2000.0;
                worst = std::max(worst, std::abs(cal_response(real_parts(taps), lowpass ? high : low)));
                ripple = std::max(ripple, std::abs(std::abs(cal_response(real_parts(taps), lowpass ? low : high)) - 1.0));
            }
            // Kaiser's fit of the order misses by up to 1.3 dB.
            EXPECT_LE(20.0 * std::log10(worst), -attenuation + 1.3) << "response " << response;
            EXPECT_LE(ripple, std::pow(10.0, -(attenuation - 1.3) / 20.0)) << "response " << response;
        }
}

TEST(WindowMethod, MeetsBothAttenuationsOfAMinimumOrderBandpass)
{
    lib_fir_design_parameter_t parameters;
    parameters.set_fir_minimum_order_enable(true);
    parameters.set_fir_response_type(LIB_FIR_RESPONSE_BANDPASS); // 60, 1 and 80 dB
    complex_array taps;
    ASSERT_TRUE(designer::_window_method(parameters, taps));
    double worst = 0.0;
    for (int i = 0; i <= 2000; ++i)
        for (const double frequency : { 0.2 * i / 2000.0, 0.5 + 0.5 * i / 2000.0 })
            worst = std::max(worst, std::abs(cal_response(real_parts(taps), frequency)));
    EXPECT_LE(20.0 * std::log10(worst), -59.3);
    EXPECT_NEAR(std::abs(cal_response(real_parts(taps), 0.35)), 1.0, 1e-6);
}

TEST(WindowMethod, TakesTheLeastOrderWhereMinimumOrderHasNoWindow)
{
    lib_fir_design_parameter_t parameters;
    parameters.set_window_type(LIB_WINDOW_HAMMING);
    parameters.set_fir_minimum_order_enable(true);
    complex_array taps;
    ASSERT_TRUE(designer::_window_method(parameters, taps));
    EXPECT_EQ(taps.size(), 3u);
}

TEST(WindowMethod, RefusesWhatHasNoFilterWithALine)
{
    expect_refused(describe(LIB_FIR_RESPONSE_SHAPING, 20),
                   "lib_fir_designer_t::_window_method: the response type has no bands!\n");
    expect_refused(describe(static_cast<lib_fir_response_type_t>(9), 20),
                   "lib_fir_designer_t::_window_method: the response type has no bands!\n");
    expect_refused(describe(LIB_FIR_RESPONSE_LOWPASS, 1'000'001),
                   "lib_fir_designer_t::_least_square_method: order 1000001 is above the limit of 1000000.\n");
    expect_refused(describe(LIB_FIR_RESPONSE_BANDPASS, 20, 0.6, 0.3),
                   "lib_fir_designer_t::_least_square_method: the band edges must not fall.\n");
    lib_fir_design_parameter_t parameters;
    parameters.set_window_type(static_cast<lib_window_type_t>(17));
    expect_refused(parameters, "lib_fir_designer_t::_get_window_data: unknown window type!\n");
}

TEST(WindowMethod, RefusesATransitionOfNoWidth)
{
    lib_fir_design_parameter_t parameters;
    parameters.set_fir_minimum_order_enable(true);
    parameters.set_first_edge_stop_frequency(parameters.get_first_edge_start_frequency());
    const log_capture_t log;
    complex_array taps(3);
    EXPECT_FALSE(designer::_window_method(parameters, taps));
    EXPECT_TRUE(taps.empty());
    EXPECT_FALSE(log.get_records().empty());
}

TEST(WindowMethod, GivesFiniteTapsOrFalseForAnything)
{
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const double values[] = { 0.0, 1.0, 0.5, 1e-300, nan, infinity, -infinity };
    for (const auto response : responses)
        for (const double first : values)
            for (const double second : values)
                for (const bool minimum : { false, true })
                    for (std::uint32_t type = 0; type <= 17; ++type)
                    {
                        lib_fir_design_parameter_t parameters = describe(response, 23, first, second);
                        parameters.set_window_type(static_cast<lib_window_type_t>(type));
                        parameters.set_guassian_window_width_factor(first);
                        parameters.set_chebyshev_window_sidelobe_attenuation(infinity);
                        parameters.set_taylor_window_n_bar(400);
                        parameters.set_taylor_sidelobe_attenuation(second);
                        parameters.set_fir_minimum_order_enable(minimum);
                        parameters.set_first_edge_start_frequency(first);
                        parameters.set_first_edge_stop_frequency(second);
                        parameters.set_first_Amplitude(first);
                        parameters.set_second_Amplitude(second);
                        const log_capture_t log;
                        complex_array taps;
                        const bool designed = designer::_window_method(parameters, taps);
                        EXPECT_EQ(designed, !taps.empty());
                        for (const auto& tap : taps)
                            ASSERT_TRUE(std::isfinite(tap.real()) && std::isfinite(tap.imag()))
                                << response << ", " << first << ", " << second << ", " << minimum << ", window " << type;
                    }
}

TEST(WindowMethod, DesignsAMillionTaps)
{
    lib_fir_design_parameter_t parameters = describe(LIB_FIR_RESPONSE_LOWPASS, 1'000'000);
    parameters.set_window_type(LIB_WINDOW_HANN);
    parameters.set_passband_gain_normalize_enable(false);
    complex_array taps;
    ASSERT_TRUE(designer::_window_method(parameters, taps));
    expect_taps(taps, make_expected(LIB_FIR_RESPONSE_LOWPASS, 0.3, 0.6, 1'000'000, make_windows()[2]), "a million");
}

TEST(ScaleFilter, DividesByTheSumForAFirstBandThatPasses)
{
    complex_array taps = { { 1.0f, 0.0f }, { 2.0f, 0.0f }, { 1.0f, 0.0f } };
    designer::scalefilter(taps, true, {}, 3);
    EXPECT_EQ(taps, (complex_array{ { 0.25f, 0.0f }, { 0.5f, 0.0f }, { 0.25f, 0.0f } }));
    taps = { { -1.0f, 0.0f }, { -1.0f, 0.0f } };
    designer::scalefilter(taps, true, { 0.0, 0.1, 0.2, 1.0 }, 2);
    EXPECT_EQ(taps, (complex_array{ { 0.5f, 0.0f }, { 0.5f, 0.0f } })); // the sum, not its magnitude
}

TEST(ScaleFilter, DividesByTheMagnitudeOfTheNyquistGain)
{
    complex_array taps = { { 1.0f, 0.0f }, { -2.0f, 0.0f }, { 1.0f, 0.0f } };
    designer::scalefilter(taps, false, { 0.0, 0.1, 0.2, 1.0 }, 3);
    EXPECT_EQ(taps, (complex_array{ { 0.25f, 0.0f }, { -0.5f, 0.0f }, { 0.25f, 0.0f } }));
    taps = { { -1.0f, 0.0f }, { 2.0f, 0.0f }, { -1.0f, 0.0f } };
    designer::scalefilter(taps, false, { 0.0, 0.1, 0.2, 1.0 }, 3);
    EXPECT_EQ(taps, (complex_array{ { -0.25f, 0.0f }, { 0.5f, 0.0f }, { -0.25f, 0.0f } }));
}

TEST(ScaleFilter, DividesByTheGainInTheMiddleOfTheThirdAndFourthFrequency)
{
    // At half of Nyquist, a quarter of the sample rate, the taps turn by -j each: 3 - 2 j - 3 = -2 j.
    complex_array taps = { { 3.0f, 0.0f }, { 2.0f, 0.0f }, { 3.0f, 0.0f } };
    designer::scalefilter(taps, false, { 0.0, 0.3, 0.4, 0.6, 0.7, 1.0 }, 3);
    EXPECT_NEAR(static_cast<double>(taps[0].real()), 1.5, 1e-6);
    EXPECT_NEAR(static_cast<double>(taps[1].real()), 1.0, 1e-6);
}

TEST(ScaleFilter, LeavesTapsWithoutAGain)
{
    const complex_array taps = { { 1.0f, 0.0f }, { -1.0f, 0.0f } };
    complex_array scaled = taps;
    designer::scalefilter(scaled, true, {}, 2);
    EXPECT_EQ(scaled, taps);
    scaled = { { 1.0f, 0.0f }, { 1.0f, 0.0f } };
    designer::scalefilter(scaled, false, { 0.0, 0.1, 0.2, 1.0 }, 2);
    EXPECT_EQ(scaled, (complex_array{ { 1.0f, 0.0f }, { 1.0f, 0.0f } }));
    designer::scalefilter(scaled, false, { 0.0, 0.1, std::numeric_limits<double>::quiet_NaN(), 0.4 }, 2);
    EXPECT_EQ(scaled, (complex_array{ { 1.0f, 0.0f }, { 1.0f, 0.0f } }));
}

TEST(ScaleFilter, BearsShortLists)
{
    const log_capture_t log;
    complex_array taps = { { 2.0f, 0.0f } };
    designer::scalefilter(taps, false, { 0.0, 0.1, 0.2 }, 1);
    EXPECT_EQ(taps, (complex_array{ { 2.0f, 0.0f } }));
    EXPECT_EQ(log.count(common_log::log_level_info,
                        "lib_fir_designer_t::scalefilter: no passband in a list of fewer than 4 frequencies!\n"),
              1);
    designer::scalefilter(taps, true, {}, 100); // more taps told than there are
    EXPECT_EQ(taps, (complex_array{ { 1.0f, 0.0f } }));
    taps.clear();
    designer::scalefilter(taps, true, {}, 3);
    EXPECT_TRUE(taps.empty());
}

TEST(WindowData, GivesEachTypeItsWindow)
{
    const std::pair<lib_window_type_t, void (*)(complex_array&, std::uint32_t)> plain[] = {
        { LIB_WINDOW_BARTLETT, designer::_generate_bartlett_window },
        { LIB_WINDOW_BARTLETT_HANNING, designer::_generate_bartlett_hanning_window },
        { LIB_WINDOW_BOHMAN, designer::_generate_bohman_window },
        { LIB_WINDOW_RECTANGLE, designer::_generate_rectangle_window },
        { LIB_WINDOW_HAMMING, designer::_generate_hamming_window },
        { LIB_WINDOW_HANN, designer::_generate_hann_window },
        { LIB_WINDOW_BLACKMAN, designer::_generate_blackman_window },
        { LIB_WINDOW_BLACKMAN_HARRIS, designer::_generate_blackman_harris_window },
        { LIB_WINDOW_FLATTOP, designer::_generate_flat_top_window },
        { LIB_WINDOW_NUTTALL, designer::_generate_nuttall_window },
        { LIB_WINDOW_PARZEN, designer::_generate_parzen_window },
        { LIB_WINDOW_TRIANGLE, designer::_generate_triangle_window },
    };
    const lib_fir_design_parameter_t parameters;
    lib_fir_design_window_parameter_t chosen;
    complex_array window, expected;
    for (const auto& [type, generate] : plain)
    {
        chosen.set_window_type(type);
        EXPECT_TRUE(designer::_get_window_data(parameters, chosen, 12, window));
        generate(expected, 12);
        EXPECT_EQ(window, expected) << type;
    }
}

TEST(WindowData, HandsTheParametersOver)
{
    const lib_fir_design_parameter_t parameters;
    lib_fir_design_window_parameter_t chosen;
    complex_array window, expected;
    const auto expect_equal = [&](lib_window_type_t type)
    {
        chosen.set_window_type(type);
        EXPECT_TRUE(designer::_get_window_data(parameters, chosen, 31, window));
        EXPECT_EQ(window, expected) << type;
    };
    chosen.set_kaiser_window_shaping_factor(3.5);
    designer::_generate_kaiser_window(expected, 31, 3.5);
    expect_equal(LIB_WINDOW_KAISER);
    chosen.set_guassian_window_width_factor(1.5);
    designer::_generate_gaussian_window(expected, 31, 1.5);
    expect_equal(LIB_WINDOW_GAUSSIAN);
    chosen.set_chebyshev_window_sidelobe_attenuation(55.0);
    designer::_generate_chebyshev_window(expected, 31, 55.0);
    expect_equal(LIB_WINDOW_CHEBYSHEV);
    chosen.set_taylor_window_n_bar(6);
    chosen.set_taylor_sidelobe_attenuation(42.0);
    designer::_generate_taylor_window(expected, 31, 6, 42.0);
    expect_equal(LIB_WINDOW_TAYLOR);
    chosen.set_tukey_window_cosine_fraction(0.3);
    designer::_generate_tukey_window(expected, 31, 0.3);
    expect_equal(LIB_WINDOW_TUKEY);
}

TEST(WindowData, RefusesAnUnknownTypeAndALengthBeyondAllFilters)
{
    const log_capture_t log;
    const lib_fir_design_parameter_t parameters;
    lib_fir_design_window_parameter_t chosen;
    complex_array window(3);
    EXPECT_FALSE(designer::_get_window_data(parameters, chosen, 20'000'001, window));
    EXPECT_TRUE(window.empty());
    EXPECT_TRUE(designer::_get_window_data(parameters, chosen, 0, window));
    EXPECT_TRUE(window.empty());
    window.resize(3);
    chosen.set_window_type(static_cast<lib_window_type_t>(17));
    EXPECT_FALSE(designer::_get_window_data(parameters, chosen, 5, window));
    EXPECT_TRUE(window.empty());
    EXPECT_EQ(log.count(common_log::log_level_error, "lib_fir_designer_t::_get_window_data: unknown window type!\n"), 1);
}
