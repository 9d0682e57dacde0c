#include "fir_filter/lib_fir_designer.h"
#include "message_capture.h"
#include "zero_phase.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>

using namespace vrim;
using namespace vrim::fir_filter_lib;
using designer_t = lib_fir_designer_t;

namespace
{
struct bands_t
{
    double_array frequencies, amplitudes, weights;
};

bands_t bands_of(const lib_fir_design_parameter_t& parameters)
{
    bands_t bands = { { 9.0 }, { 9.0 }, { 9.0 } };
    designer_t::_get_freq_amplitude_vector(parameters, bands.frequencies, bands.amplitudes, bands.weights);
    return bands;
}

lib_fir_design_parameter_t make_equiripple(lib_fir_response_type_t response, bool minimum_order)
{
    lib_fir_design_parameter_t parameters;
    parameters.set_fir_response_type(response);
    parameters.set_fir_minimum_order_enable(minimum_order);
    parameters.set_fir_design_method(LIB_FIR_METHOD_EQUIRIPPLE);
    parameters.set_first_edge_start_frequency(0.2);
    parameters.set_first_edge_stop_frequency(0.3);
    parameters.set_second_edge_start_frequency(0.6);
    parameters.set_second_edge_stop_frequency(0.75);
    parameters.set_first_band_weight(2.0);
    parameters.set_second_band_weight(3.0);
    parameters.set_third_band_weight(5.0);
    return parameters;
}

double residue(double db)
{
    return std::pow(10.0, -db / 20.0);
}
} // namespace

TEST(fir_designer, method_chooses_the_design)
{
    for (const lib_fir_design_method_t method : { LIB_FIR_METHOD_WINDOW, LIB_FIR_METHOD_EQUIRIPPLE, LIB_FIR_METHOD_LEAST_SQUARE })
    {
        SCOPED_TRACE(method);
        lib_fir_design_parameter_t parameters;
        parameters.set_fir_design_method(method);
        complex_array taps = { { 1.0f, 2.0f } }, expected;
        ASSERT_TRUE(designer_t::design_fir_filter(parameters, taps));
        ASSERT_TRUE(method == LIB_FIR_METHOD_WINDOW       ? designer_t::_window_method(parameters, expected)
                    : method == LIB_FIR_METHOD_EQUIRIPPLE ? designer_t::_equiripple_method(parameters, expected)
                                                          : designer_t::_least_square_method(parameters, expected));
        EXPECT_EQ(taps, expected);
        EXPECT_EQ(taps.size(), 21u);
    }
}

TEST(fir_designer, unknown_method_is_said_and_gives_nothing)
{
    lib_fir_design_parameter_t parameters;
    parameters.set_fir_design_method(static_cast<lib_fir_design_method_t>(3));
    trace_capture_t trace;
    complex_array taps(4);
    EXPECT_FALSE(designer_t::design_fir_filter(parameters, taps));
    EXPECT_TRUE(taps.empty());
    EXPECT_EQ(trace.get_text(), "lib_fir_designer_t::design_fir_filter Report : Unexpected Design Method!\n");
}

TEST(fir_designer, failed_design_leaves_no_taps)
{
    for (const lib_fir_design_method_t method : { LIB_FIR_METHOD_EQUIRIPPLE, LIB_FIR_METHOD_LEAST_SQUARE })
    {
        lib_fir_design_parameter_t parameters;
        parameters.set_fir_response_type(LIB_FIR_RESPONSE_SHAPING);
        parameters.set_fir_design_method(method);
        log_capture_t logs;
        complex_array taps(4);
        EXPECT_FALSE(designer_t::design_fir_filter(parameters, taps));
        EXPECT_TRUE(taps.empty());
        EXPECT_FALSE(logs.get_records().empty());
    }
}

TEST(fir_designer, fixed_order_bands)
{
    const double_array two = { 0.0, 0.2, 0.3, 1.0 }, three = { 0.0, 0.2, 0.3, 0.6, 0.75, 1.0 };
    bands_t bands = bands_of(make_equiripple(LIB_FIR_RESPONSE_LOWPASS, false));
    EXPECT_EQ(bands.frequencies, two);
    EXPECT_EQ(bands.amplitudes, (double_array{ 1.0, 1.0, 0.0, 0.0 }));
    EXPECT_EQ(bands.weights, (double_array{ 2.0, 3.0 }));
    bands = bands_of(make_equiripple(LIB_FIR_RESPONSE_HIGHPASS, false));
    EXPECT_EQ(bands.frequencies, two);
    EXPECT_EQ(bands.amplitudes, (double_array{ 0.0, 0.0, 1.0, 1.0 }));
    EXPECT_EQ(bands.weights, (double_array{ 2.0, 3.0 }));
    bands = bands_of(make_equiripple(LIB_FIR_RESPONSE_BANDPASS, false));
    EXPECT_EQ(bands.frequencies, three);
    EXPECT_EQ(bands.amplitudes, (double_array{ 0.0, 0.0, 1.0, 1.0, 0.0, 0.0 }));
    EXPECT_EQ(bands.weights, (double_array{ 2.0, 3.0, 5.0 }));
    bands = bands_of(make_equiripple(LIB_FIR_RESPONSE_BANDSTOP, false));
    EXPECT_EQ(bands.frequencies, three);
    EXPECT_EQ(bands.amplitudes, (double_array{ 1.0, 1.0, 0.0, 0.0, 1.0, 1.0 }));
    EXPECT_EQ(bands.weights, (double_array{ 2.0, 3.0, 5.0 }));
}

TEST(fir_designer, minimum_order_bands)
{
    const double up = std::pow(10.0, 1.0 / 20.0); // excursion of 1 dB
    bands_t bands = bands_of(make_equiripple(LIB_FIR_RESPONSE_LOWPASS, true));
    EXPECT_EQ(bands.frequencies, (double_array{ 0.2, 0.3 }));
    EXPECT_EQ(bands.amplitudes, (double_array{ 1.0, 0.0 }));
    ASSERT_EQ(bands.weights.size(), 2u);
    EXPECT_NEAR(bands.weights[0], (up - 1.0 / up) / 4.0, 1e-15);
    EXPECT_NEAR(bands.weights[1], 1e-4, 1e-18);

    bands = bands_of(make_equiripple(LIB_FIR_RESPONSE_HIGHPASS, true));
    EXPECT_EQ(bands.frequencies, (double_array{ 0.2, 0.3 }));
    EXPECT_EQ(bands.amplitudes, (double_array{ 0.0, 1.0 }));
    ASSERT_EQ(bands.weights.size(), 2u);
    EXPECT_NEAR(bands.weights[0], 1e-4, 1e-18);
    EXPECT_NEAR(bands.weights[1], (up - 1.0) / 2.0, 1e-15);

    bands = bands_of(make_equiripple(LIB_FIR_RESPONSE_BANDPASS, true));
    EXPECT_EQ(bands.frequencies, (double_array{ 0.2, 0.3, 0.6, 0.75 }));
    EXPECT_EQ(bands.amplitudes, (double_array{ 0.0, 1.0, 0.0 }));
    ASSERT_EQ(bands.weights.size(), 3u);
    EXPECT_NEAR(bands.weights[0], residue(60.0), 1e-18);
    EXPECT_NEAR(bands.weights[1], (up - 1.0) / 2.0, 1e-15);
    EXPECT_NEAR(bands.weights[2], residue(80.0), 1e-18);

    bands = bands_of(make_equiripple(LIB_FIR_RESPONSE_BANDSTOP, true));
    EXPECT_EQ(bands.frequencies, (double_array{ 0.2, 0.3, 0.6, 0.75 }));
    EXPECT_EQ(bands.amplitudes, (double_array{ 1.0, 0.0, 1.0 }));
    ASSERT_EQ(bands.weights.size(), 3u);
    EXPECT_NEAR(bands.weights[0], (std::pow(10.0, 0.5 / 20.0) - 1.0) / 2.0, 1e-15);
    EXPECT_NEAR(bands.weights[1], residue(60.0), 1e-18);
    EXPECT_NEAR(bands.weights[2], (up - 1.0) / 2.0, 1e-15);
}

TEST(fir_designer, response_without_bands_has_empty_lists)
{
    for (const bool minimum_order : { false, true })
    {
        const bands_t bands = bands_of(make_equiripple(LIB_FIR_RESPONSE_SHAPING, minimum_order));
        EXPECT_TRUE(bands.frequencies.empty());
        EXPECT_TRUE(bands.amplitudes.empty());
        EXPECT_TRUE(bands.weights.empty());
    }
}

TEST(fir_designer, minimum_order_is_one_where_there_is_no_estimate)
{
    lib_fir_design_parameter_t parameters = make_equiripple(LIB_FIR_RESPONSE_LOWPASS, false);
    EXPECT_EQ(designer_t::calculate_minimum_order(parameters), 1u);
    EXPECT_EQ(designer_t::_get_equiripple_filter_order(parameters), 20u);
    lib_fir_design_parameter_t window; // Kaiser
    EXPECT_EQ(designer_t::calculate_minimum_order(window), 1u);
    lib_fir_design_parameter_t least_square;
    least_square.set_fir_design_method(LIB_FIR_METHOD_LEAST_SQUARE);
    least_square.set_fir_minimum_order_enable(true);
    EXPECT_EQ(designer_t::calculate_minimum_order(least_square), 1u);
}

// Length by the published estimate for 1 dB and 80 dB over 0.05 of the sample rate: with a = log10 of the deviations -1.2398
// and -4, (-0.4278 + 0.7366 - 0.0041) + 4 (0.4761 + 0.0882 - 0.0082) over 0.05, less 0.6213, plus 1: 50.97.
TEST(fir_designer, minimum_order_of_equiripple_by_hand)
{
    const lib_fir_design_parameter_t parameters = make_equiripple(LIB_FIR_RESPONSE_LOWPASS, true);
    EXPECT_EQ(designer_t::calculate_minimum_order(parameters), 50u);
    EXPECT_EQ(designer_t::_get_equiripple_filter_order(parameters), 50u);
    complex_array taps;
    ASSERT_TRUE(designer_t::design_fir_filter(parameters, taps));
    EXPECT_EQ(taps.size(), 51u);
}

TEST(fir_designer, minimum_order_is_even_where_the_nyquist_frequency_passes)
{
    for (const lib_fir_response_type_t response : { LIB_FIR_RESPONSE_HIGHPASS, LIB_FIR_RESPONSE_BANDSTOP })
    {
        lib_fir_design_parameter_t parameters = make_equiripple(response, true);
        for (double stop = 0.25; stop < 0.4; stop += 0.01)
        {
            parameters.set_first_edge_stop_frequency(stop);
            const std::uint32_t order = designer_t::calculate_minimum_order(parameters);
            EXPECT_GE(order, 2u);
            EXPECT_EQ(order % 2, 0u) << stop;
            complex_array taps;
            ASSERT_TRUE(designer_t::design_fir_filter(parameters, taps));
            EXPECT_EQ(taps.size(), order + 1);
        }
    }
}

TEST(fir_designer, kaiser_window_has_a_minimum_order)
{
    lib_fir_design_parameter_t parameters = make_equiripple(LIB_FIR_RESPONSE_LOWPASS, true);
    parameters.set_fir_design_method(LIB_FIR_METHOD_WINDOW);
    // Attenuation of the smaller deviation, 80 dB: (80 - 7.95) / 14.357078426905355 / 0.05 + 1 = 101.37, so order 101.
    EXPECT_EQ(designer_t::calculate_minimum_order(parameters), 101u);
    EXPECT_EQ(designer_t::_get_window_filter_order(parameters), 101u);
}

TEST(fir_designer, impossible_minimum_order_is_zero_with_a_line)
{
    lib_fir_design_parameter_t narrow = make_equiripple(LIB_FIR_RESPONSE_LOWPASS, true);
    narrow.set_first_edge_stop_frequency(0.2);
    lib_fir_design_parameter_t exact = make_equiripple(LIB_FIR_RESPONSE_LOWPASS, true);
    exact.set_first_Amplitude(0.0);
    const lib_fir_design_parameter_t shaping = make_equiripple(LIB_FIR_RESPONSE_SHAPING, true);
    for (const lib_fir_design_parameter_t& parameters : { narrow, exact, shaping })
    {
        log_capture_t logs;
        EXPECT_EQ(designer_t::calculate_minimum_order(parameters), 0u);
        EXPECT_EQ(logs.count(common_log::log_level_error, "lib_fir_designer_t::calculate_minimum_order: no order up to 1000000 "
                                                          "meets the edges and amplitudes.\n"),
                  1);
    }
    lib_fir_design_parameter_t coarse = make_equiripple(LIB_FIR_RESPONSE_LOWPASS, true);
    coarse.set_first_edge_start_frequency(0.1);
    coarse.set_first_edge_stop_frequency(0.9);
    coarse.set_first_Amplitude(6.0);
    coarse.set_second_Amplitude(6.0);
    EXPECT_EQ(designer_t::calculate_minimum_order(coarse), 2u);
}
