#include "fir_filter/lib_fir_designer.h"
#include "message_capture.h"
#include "zero_phase.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>

using namespace vrim;
using namespace vrim::fir_filter_lib;
using designer_t = lib_fir_designer_t;

namespace
{
const std::string no_convergence =
    "2 次迭代后未能收敛。这可能是机器舍入误差导致的。如果迭代次数超过 3 次，设计可能是正确的，但应该用 FFT 进行验证。\n";

lib_fir_design_parameter_t make_parameters(lib_fir_response_type_t response, std::uint32_t order, const double_array& edges)
{
    lib_fir_design_parameter_t parameters;
    parameters.set_fir_design_method(LIB_FIR_METHOD_EQUIRIPPLE);
    parameters.set_fir_response_type(response);
    parameters.get_order_parameter().set_filter_order(order);
    parameters.set_first_edge_start_frequency(edges.at(0));
    parameters.set_first_edge_stop_frequency(edges.at(1));
    if (edges.size() > 2)
    {
        parameters.set_second_edge_start_frequency(edges.at(2));
        parameters.set_second_edge_stop_frequency(edges.at(3));
    }
    return parameters;
}

/// Low-pass filter of minimum order, amplitudes in dB.
lib_fir_design_parameter_t make_minimum_order(double pass_edge, double stop_edge, double ripple, double attenuation)
{
    lib_fir_design_parameter_t parameters = make_parameters(LIB_FIR_RESPONSE_LOWPASS, 20, { pass_edge, stop_edge });
    parameters.set_fir_minimum_order_enable(true);
    parameters.set_first_Amplitude(ripple);
    parameters.set_second_Amplitude(attenuation);
    return parameters;
}

void expect_symmetric(const complex_array& taps)
{
    for (std::size_t n = 0; n < taps.size(); ++n)
    {
        EXPECT_EQ(taps[n], taps[taps.size() - 1 - n]) << "tap " << n;
        EXPECT_EQ(taps[n].imag(), 0.0f) << "tap " << n;
    }
}

/// No filter, and a line at level 3 that begins like this.
void expect_refused(const lib_fir_design_parameter_t& parameters, const std::string& line)
{
    SCOPED_TRACE(line);
    log_capture_t logs;
    complex_array taps(3);
    EXPECT_FALSE(designer_t::_equiripple_method(parameters, taps));
    EXPECT_TRUE(taps.empty());
    ASSERT_EQ(logs.get_records().size(), 1u);
    EXPECT_EQ(logs.get_records()[0].level, common_log::log_level_error);
    EXPECT_EQ(logs.get_records()[0].message.substr(0, line.size()), line);
}
} // namespace

// ---- designs

TEST(fir_equiripple, default_low_pass_has_twenty_one_symmetric_taps)
{
    lib_fir_design_parameter_t parameters;
    parameters.set_fir_design_method(LIB_FIR_METHOD_EQUIRIPPLE);
    trace_capture_t trace;
    log_capture_t logs;
    complex_array taps;
    ASSERT_TRUE(designer_t::_equiripple_method(parameters, taps));
    ASSERT_EQ(taps.size(), 21u);
    expect_symmetric(taps);
    // Equal weights: the ripple is the same in both bands.
    const double pass = largest_error(taps, 0.0, 0.2, 1.0), stop = largest_error(taps, 0.3, 1.0, 0.0);
    EXPECT_NEAR(pass / stop, 1.0, 0.02);
    EXPECT_LT(pass, 0.2);
    EXPECT_TRUE(trace.get_text().empty());
    EXPECT_TRUE(logs.get_records().empty());
}

TEST(fir_equiripple, odd_order_has_no_middle_tap_and_a_zero_at_nyquist)
{
    complex_array taps;
    ASSERT_TRUE(designer_t::_equiripple_method(make_parameters(LIB_FIR_RESPONSE_LOWPASS, 41, { 0.3, 0.4 }), taps));
    ASSERT_EQ(taps.size(), 42u);
    expect_symmetric(taps);
    EXPECT_NEAR(zero_phase_of(taps, 1.0), 0.0, 1e-12);
    EXPECT_LT(largest_error(taps, 0.0, 0.3, 1.0), 0.03);
    EXPECT_LT(largest_error(taps, 0.4, 1.0, 0.0), 0.03);
}

TEST(fir_equiripple, every_response_passes_and_stops_where_it_should)
{
    complex_array taps;
    ASSERT_TRUE(designer_t::_equiripple_method(make_parameters(LIB_FIR_RESPONSE_HIGHPASS, 80, { 0.4, 0.5 }), taps));
    EXPECT_LT(largest_error(taps, 0.0, 0.4, 0.0), 2e-3);
    EXPECT_LT(largest_error(taps, 0.5, 1.0, 1.0), 2e-3);
    ASSERT_TRUE(designer_t::_equiripple_method(make_parameters(LIB_FIR_RESPONSE_BANDPASS, 80, { 0.2, 0.3, 0.6, 0.7 }), taps));
    EXPECT_LT(largest_error(taps, 0.0, 0.2, 0.0), 3e-3);
    EXPECT_LT(largest_error(taps, 0.3, 0.6, 1.0), 3e-3);
    EXPECT_LT(largest_error(taps, 0.7, 1.0, 0.0), 3e-3);
    ASSERT_TRUE(designer_t::_equiripple_method(make_parameters(LIB_FIR_RESPONSE_BANDSTOP, 80, { 0.2, 0.3, 0.6, 0.7 }), taps));
    EXPECT_LT(largest_error(taps, 0.0, 0.2, 1.0), 3e-3);
    EXPECT_LT(largest_error(taps, 0.3, 0.6, 0.0), 3e-3);
    EXPECT_LT(largest_error(taps, 0.7, 1.0, 1.0), 3e-3);
}

TEST(fir_equiripple, band_of_no_width_is_met_in_its_point)
{
    complex_array taps;
    // A notch at 0.5, a band at 0.5, a zero at 0.
    ASSERT_TRUE(designer_t::_equiripple_method(make_parameters(LIB_FIR_RESPONSE_BANDSTOP, 60, { 0.4, 0.5, 0.5, 0.6 }), taps));
    EXPECT_LT(std::abs(zero_phase_of(taps, 0.5)), 0.01);
    EXPECT_LT(largest_error(taps, 0.0, 0.4, 1.0), 0.01);
    ASSERT_TRUE(designer_t::_equiripple_method(make_parameters(LIB_FIR_RESPONSE_BANDPASS, 60, { 0.4, 0.5, 0.5, 0.6 }), taps));
    EXPECT_NEAR(zero_phase_of(taps, 0.5), 1.0, 0.01);
    EXPECT_LT(largest_error(taps, 0.6, 1.0, 0.0), 0.01);
    ASSERT_TRUE(designer_t::_equiripple_method(make_parameters(LIB_FIR_RESPONSE_HIGHPASS, 60, { 0.0, 0.1 }), taps));
    EXPECT_LT(std::abs(zero_phase_of(taps, 0.0)), 0.01);
    EXPECT_LT(largest_error(taps, 0.1, 1.0, 1.0), 0.01);
}

// The order is an estimate, so the amplitudes are met to a few tenths of themselves.
TEST(fir_equiripple, minimum_order_design_meets_its_amplitudes)
{
    complex_array taps;
    ASSERT_TRUE(designer_t::_equiripple_method(make_minimum_order(0.5, 0.6, 0.1, 100.0), taps));
    EXPECT_EQ(taps.size(), 80u);
    EXPECT_LT(largest_error(taps, 0.0, 0.5, 1.0), 1.3 * (std::pow(10.0, 0.1 / 20.0) - 1.0) / 2.0);
    EXPECT_LT(largest_error(taps, 0.6, 1.0, 0.0), 1.3e-5);
}

TEST(fir_equiripple, pass_band_up_to_a_stop_band_without_width_keeps_its_ripple)
{
    // Both kinds: 78 (one stop point at the Nyquist frequency) and 79 (the zero is there anyway).
    for (const double attenuation : { 99.0, 100.0 })
    {
        SCOPED_TRACE(attenuation);
        trace_capture_t trace;
        complex_array taps;
        ASSERT_TRUE(designer_t::_equiripple_method(make_minimum_order(0.9, 1.0, 0.1, attenuation), taps));
        EXPECT_EQ(taps.size(), attenuation == 99.0 ? 79u : 80u);
        EXPECT_LT(largest_error(taps, 0.0, 0.9, 1.0, 4000), (std::pow(10.0, 0.1 / 20.0) - 1.0) / 2.0);
        EXPECT_LT(std::abs(zero_phase_of(taps, 1.0)), 2e-5);
        EXPECT_TRUE(trace.get_text().empty());
    }
}

TEST(fir_equiripple, wide_bands_close_to_nyquist_are_carried_at_any_length)
{
    for (const double pass_edge : { 0.95, 0.98, 0.99, 0.995 })
    {
        SCOPED_TRACE(pass_edge);
        complex_array taps;
        ASSERT_TRUE(designer_t::_equiripple_method(make_minimum_order(pass_edge, 1.0, 0.1, 100.0), taps));
        EXPECT_LT(largest_error(taps, 0.0, pass_edge, 1.0, 1500), (std::pow(10.0, 0.1 / 20.0) - 1.0) / 2.0);
        EXPECT_LT(std::abs(zero_phase_of(taps, 1.0)), 3e-5);
    }
}

TEST(fir_equiripple, odd_minimum_order_is_raised_where_the_nyquist_frequency_passes)
{
    lib_fir_design_parameter_t parameters = make_parameters(LIB_FIR_RESPONSE_HIGHPASS, 20, { 0.5, 0.6 });
    parameters.set_fir_minimum_order_enable(true);
    bool raised = false;
    for (double attenuation = 40.0; attenuation < 60.0; attenuation += 1.0)
    {
        parameters.set_first_Amplitude(attenuation);
        parameters.set_second_Amplitude(0.5);
        double_array edges, amplitudes, deviations, bands, band_amplitudes, weights;
        designer_t::_get_freq_amplitude_vector(parameters, edges, amplitudes, deviations);
        std::uint32_t order = 0;
        ASSERT_TRUE(designer_t::firpmord(edges, amplitudes, deviations, order, bands, band_amplitudes, weights));
        complex_array taps;
        ASSERT_TRUE(designer_t::_equiripple_method(parameters, taps));
        EXPECT_EQ(taps.size(), order % 2 == 0 ? order + 1 : order + 2) << attenuation;
        EXPECT_LT(largest_error(taps, 0.6, 1.0, 1.0), 0.05) << attenuation;
        raised = raised || order % 2 == 1;
    }
    EXPECT_TRUE(raised);
}

TEST(fir_equiripple, design_below_rounding_says_so_and_is_delivered)
{
    for (const std::uint32_t order : { 400u, 401u, 3000u })
    {
        SCOPED_TRACE(order);
        trace_capture_t trace;
        log_capture_t logs;
        complex_array taps;
        ASSERT_TRUE(designer_t::_equiripple_method(make_parameters(LIB_FIR_RESPONSE_LOWPASS, order, { 0.2, 0.3 }), taps));
        EXPECT_EQ(trace.get_text(), no_convergence);
        ASSERT_EQ(logs.get_records().size(), 1u);
        EXPECT_EQ(logs.get_records()[0].level, common_log::log_level_info);
        EXPECT_NE(logs.get_records()[0].message.find("rounding leaves nothing of order " + std::to_string(order)),
                  std::string::npos);
        ASSERT_EQ(taps.size(), order + 1);
        expect_symmetric(taps);
        EXPECT_LT(largest_error(taps, 0.0, 0.2, 1.0, 100), 1e-6);
        EXPECT_LT(largest_error(taps, 0.3, 1.0, 0.0, 100), 1e-6);
    }
}

// The transition at 0.1 decides, and the wide one beside it rises to 1e5 and more: single precision cannot hold such taps.
TEST(fir_equiripple, taps_that_outgrow_single_precision_are_not_delivered)
{
    lib_fir_design_parameter_t parameters = make_parameters(LIB_FIR_RESPONSE_BANDPASS, 86, { 0.10, 0.12, 0.5, 0.95 });
    complex_array taps;
    trace_capture_t trace;
    ASSERT_TRUE(designer_t::_equiripple_method(parameters, taps));
    ASSERT_EQ(taps.size(), 87u);
    EXPECT_LT(largest_error(taps, 0.0, 0.1, 0.0), 0.5);
    EXPECT_LT(largest_error(taps, 0.12, 0.5, 1.0), 0.5);
    EXPECT_LT(largest_error(taps, 0.95, 1.0, 0.0), 0.5);
}

// ---- refusals and limits

TEST(fir_equiripple, senseless_bands_are_refused_with_a_line)
{
    const std::string rise = "lib_fir_designer_t::_equiripple_method: the band edges have to rise";
    expect_refused(make_parameters(LIB_FIR_RESPONSE_LOWPASS, 20, { 0.6, 0.5 }), rise);
    expect_refused(make_parameters(LIB_FIR_RESPONSE_LOWPASS, 20, { 0.5, 0.5 }), rise);
    expect_refused(make_parameters(LIB_FIR_RESPONSE_HIGHPASS, 20, { 0.0, 0.0 }), rise);
    expect_refused(make_parameters(LIB_FIR_RESPONSE_BANDPASS, 20, { 0.2, 0.5, 0.4, 0.6 }), rise);
    expect_refused(make_parameters(LIB_FIR_RESPONSE_BANDSTOP, 20, { 0.2, 0.3, 0.6, 0.6 }), rise);
    expect_refused(make_minimum_order(0.6, 0.5, 0.1, 100.0), rise);
    expect_refused(make_parameters(LIB_FIR_RESPONSE_LOWPASS, 20, { 0.0, 1.0 }),
                   "lib_fir_designer_t::_initialize_remez_iteration: the bands are too narrow for a grid.\n");
    expect_refused(make_parameters(LIB_FIR_RESPONSE_SHAPING, 20, { 0.2, 0.3 }),
                   "lib_fir_designer_t::_equiripple_method: the response type has no bands to design.\n");
    expect_refused(make_parameters(LIB_FIR_RESPONSE_HIGHPASS, 21, { 0.2, 0.3 }),
                   "lib_fir_designer_t::_equiripple_method: an odd order cannot pass the Nyquist frequency.\n");
    lib_fir_design_parameter_t shaping = make_minimum_order(0.2, 0.3, 0.1, 100.0);
    shaping.set_fir_response_type(LIB_FIR_RESPONSE_SHAPING);
    expect_refused(shaping, "lib_fir_designer_t::_equiripple_method: the response type has no bands to design.\n");
}

TEST(fir_equiripple, order_above_the_limit_is_refused_with_a_line)
{
    const std::string above = "lib_fir_designer_t::_equiripple_method: order ";
    expect_refused(make_parameters(LIB_FIR_RESPONSE_LOWPASS, 10001, { 0.5, 0.6 }), above + "10001 is above 10000");
    expect_refused(make_parameters(LIB_FIR_RESPONSE_LOWPASS, 19999999, { 0.5, 0.6 }), above + "19999999 is above 10000");
    expect_refused(make_minimum_order(0.5, 0.5001, 0.1, 100.0), above);
}

TEST(fir_equiripple, minimum_order_without_an_order_is_refused_with_a_line)
{
    const std::string line = "lib_fir_designer_t::_equiripple_method: no order up to 1000000 meets the edges and amplitudes.\n";
    expect_refused(make_minimum_order(0.5, 0.5, 0.1, 100.0), line);        // no transition
    expect_refused(make_minimum_order(0.5, 0.5 + 1e-9, 0.1, 100.0), line); // above 1,000,000
    expect_refused(make_minimum_order(0.5, 0.6, 0.0, 100.0), line);        // no ripple at all
    expect_refused(make_minimum_order(0.5, 0.6, -1.0, 100.0), line);       // less than none
    expect_refused(make_minimum_order(0.5, 0.6, 0.1, 1.0e4), line);        // residue rounds to 0
    expect_refused(make_minimum_order(0.5, 0.6, std::nan(""), 100.0), line);
    expect_refused(make_minimum_order(0.5, 0.6, 0.1, std::numeric_limits<double>::infinity()), line);
}

TEST(fir_equiripple, weights_beyond_double_precision_leave_no_filter)
{
    lib_fir_design_parameter_t parameters = make_parameters(LIB_FIR_RESPONSE_LOWPASS, 100, { 0.5, 0.502 });
    parameters.set_first_band_weight(std::numeric_limits<double>::denorm_min());
    parameters.set_second_band_weight(2000.0);
    trace_capture_t trace;
    complex_array taps;
    EXPECT_FALSE(designer_t::_equiripple_method(parameters, taps));
    EXPECT_TRUE(taps.empty());
    EXPECT_NE(trace.get_text().find("lib_fir_designer_t::_equiripple_method Report: Iteration NOT convergent!\n"),
              std::string::npos);
}

TEST(fir_equiripple, density_is_lowered_to_the_grid_limit_with_a_line)
{
    lib_fir_design_parameter_t parameters = make_parameters(LIB_FIR_RESPONSE_LOWPASS, 40, { 0.4, 0.5 });
    parameters.set_density_factor(200000);
    log_capture_t logs;
    complex_array taps;
    ASSERT_TRUE(designer_t::_equiripple_method(parameters, taps));
    ASSERT_EQ(logs.get_records().size(), 1u);
    EXPECT_EQ(logs.get_records()[0].level, common_log::log_level_info);
    // 1,000,000 points for 21 cosines
    EXPECT_EQ(logs.get_records()[0].message, "lib_fir_designer_t::_initialize_remez_iteration: density factor 200000 lowered to "
                                             "47619, the finest grid for order 40.\n");
    EXPECT_LT(largest_error(taps, 0.0, 0.4, 1.0), 0.03);
    EXPECT_LT(largest_error(taps, 0.5, 1.0, 0.0), 0.03);
}

TEST(fir_equiripple, any_description_ends_with_a_finite_filter_or_a_word)
{
    std::mt19937 engine(5);
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    for (int run = 0; run < 400; ++run)
    {
        SCOPED_TRACE(run);
        double_array edges(4);
        for (double& edge : edges)
        {
            const double value = uniform(engine);
            edge = run % 3 == 0 ? std::round(value * 4.0) / 4.0 : value;
        }
        if (run % 2 == 0)
            std::sort(edges.begin(), edges.end());
        const auto response = static_cast<lib_fir_response_type_t>(run % 5);
        const auto order = static_cast<std::uint32_t>(2 + engine() % 90);
        lib_fir_design_parameter_t parameters = make_parameters(response, order, edges);
        parameters.set_first_band_weight(std::pow(10.0, 6.0 * uniform(engine) - 3.0));
        parameters.set_third_band_weight(std::pow(10.0, 6.0 * uniform(engine) - 3.0));
        parameters.set_fir_minimum_order_enable(run % 7 == 0);
        log_capture_t logs;
        trace_capture_t trace;
        complex_array taps;
        if (!designer_t::_equiripple_method(parameters, taps))
        {
            EXPECT_TRUE(taps.empty());
            EXPECT_TRUE(!logs.get_records().empty() || !trace.get_text().empty());
            continue;
        }
        EXPECT_TRUE(run % 7 == 0 || taps.size() == order + 1);
        expect_symmetric(taps);
        for (const std::complex<float>& tap : taps)
            EXPECT_TRUE(std::isfinite(tap.real()));
    }
}
