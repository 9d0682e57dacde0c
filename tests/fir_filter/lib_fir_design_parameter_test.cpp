#include "fir_filter/lib_fir_design_parameter.h"

#include "fir_filter/design_parameter_fields.h"

#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace vrim::fir_filter_lib
{
namespace
{
using parameter_t = lib_fir_design_parameter_t;
using response_t = lib_fir_response_type_t;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr std::uint32_t max_uint = 4294967295u;

struct double_setter_t
{
    const char* field;
    bool (parameter_t::*set)(double);
};

/// Sets each value and asks that the field, and nothing else, takes what belongs to it.
void expect_stored(const double_setter_t& setter, const std::vector<std::pair<double, double>>& cases)
{
    for (const auto& [value, stored] : cases)
    {
        parameter_t parameters;
        design_fields_t expected = default_fields();
        expected[setter.field] = stored;
        EXPECT_TRUE((parameters.*setter.set)(value));
        EXPECT_EQ(get_fields(parameters), expected) << setter.field << " set to " << value;
    }
}

TEST(FirParameters, StartWithTheirDefaults)
{
    const parameter_t parameters;
    EXPECT_EQ(get_fields(parameters), default_fields());
    EXPECT_TRUE(parameters.get_window_data().empty());
}

TEST(FirParameters, KeepFrequenciesBetween0And1)
{
    const double_setter_t setters[] = {
        { "first cutoff", &parameter_t::set_first_cutoff_frequency },
        { "second cutoff", &parameter_t::set_second_cutoff_frequency },
        { "first edge start", &parameter_t::set_first_edge_start_frequency },
        { "first edge stop", &parameter_t::set_first_edge_stop_frequency },
        { "second edge start", &parameter_t::set_second_edge_start_frequency },
        { "second edge stop", &parameter_t::set_second_edge_stop_frequency },
    };
    for (const double_setter_t& setter : setters)
        expect_stored(setter, { { 0.0, 0.0 },
                                { -1e-300, 0.0 },
                                { 0.123, 0.123 },
                                { 1.0, 1.0 },
                                { 1.0000001, 1.0 },
                                { -infinity, 0.0 },
                                { infinity, 1.0 },
                                { nan, 0.0 } });
}

TEST(FirParameters, KeepAmplitudesAsTheyAre)
{
    const double_setter_t setters[] = {
        { "first amplitude", &parameter_t::set_first_Amplitude },
        { "second amplitude", &parameter_t::set_second_Amplitude },
        { "third amplitude", &parameter_t::set_third_Amplitude },
    };
    for (const double_setter_t& setter : setters)
        expect_stored(setter, { { -3.5, -3.5 }, { 0.0, 0.0 }, { 1e300, 1e300 }, { -infinity, -infinity } });
}

TEST(FirParameters, KeepRawFrequenciesAndNormaliseTheirCopy)
{
    struct raw_setter_t
    {
        const char* field;
        bool (parameter_t::*set)(double, double);
    };
    const raw_setter_t setters[] = {
        { "first cutoff", &parameter_t::set_first_cutoff_frequency_no_nomalize },
        { "second cutoff", &parameter_t::set_second_cutoff_frequency_no_nomalize },
        { "first edge start", &parameter_t::set_first_edge_start_frequency_no_nomalize },
        { "first edge stop", &parameter_t::set_first_edge_stop_frequency_no_nomalize },
        { "second edge start", &parameter_t::set_second_edge_start_frequency_no_nomalize },
        { "second edge stop", &parameter_t::set_second_edge_stop_frequency_no_nomalize },
    };
    const double cases[][3] = { // Hz, sample rate, stored
                                { 30000, 48000, 1.0 }, { 6000, 48000, 0.25 },    { 24000, 48000, 1.0 }, { 0, 48000, 0.0 },
                                { -5, 48000, 0.0 },    { 100, 1000, 0.2 },       { 1, 0, 1.0 },         { -1, 0, 0.0 },
                                { 0, 0, 0.0 },         { 100, -1000, 0.0 },      { -100, -1000, 0.2 },  { 5, nan, 0.0 },
                                { 5, infinity, 0.0 },  { infinity, 48000, 1.0 }, { 1e308, 1e-308, 1.0 }
    };
    for (const raw_setter_t& setter : setters)
    {
        for (const auto& [hertz, fs, normalised] : cases)
        {
            parameter_t parameters;
            design_fields_t expected = default_fields(); // with fs still 48000: the rate is an argument only
            expected[setter.field] = normalised;
            expected[setter.field + std::string(", raw")] = hertz;
            EXPECT_TRUE((parameters.*setter.set)(hertz, fs));
            EXPECT_EQ(get_fields(parameters), expected) << setter.field << " set to " << hertz << " at " << fs;
        }
    }
    parameter_t parameters;
    parameters.set_first_cutoff_frequency_no_nomalize(nan, 48000);
    EXPECT_NE(parameters.get_first_cutoff_frequency_no_nomalize(), parameters.get_first_cutoff_frequency_no_nomalize());
    EXPECT_EQ(parameters.get_first_cutoff_frequency(), 0.0);
}

TEST(FirParameters, KeepWeightsAbove0AndUpTo2000)
{
    const double_setter_t setters[] = {
        { "first weight", &parameter_t::set_first_band_weight },
        { "second weight", &parameter_t::set_second_band_weight },
        { "third weight", &parameter_t::set_third_band_weight },
    };
    for (const double_setter_t& setter : setters)
        expect_stored(setter, { { -3, 1.0 }, // not 0, and not 3
                                { 0, 1.0 },
                                { -0.0, 1.0 },
                                { 1e-300, 1e-300 },
                                { 0.5, 0.5 },
                                { 2000, 2000 },
                                { 2000.0001, 2000 },
                                { infinity, 2000 },
                                { -infinity, 1.0 },
                                { nan, 1.0 } });
}

TEST(FirParameters, KeepWindowParametersInTheirRanges)
{
    expect_stored({ "kaiser factor", &parameter_t::set_kaiser_window_shaping_factor },
                  { { -700, -700 }, { -700.5, -700 }, { 0, 0 }, { 700, 700 }, { 701, 700 }, { infinity, 700 }, { nan, -700 } });
    expect_stored({ "tukey fraction", &parameter_t::set_tukey_window_cosine_fraction },
                  { { -1000, -1000 }, { -1001, -1000 }, { 0.25, 0.25 }, { 1000, 1000 }, { 1e9, 1000 }, { nan, -1000 } });
    expect_stored(
        { "taylor sidelobe", &parameter_t::set_taylor_sidelobe_attenuation },
        { { -1, 0 }, { -infinity, 0 }, { 0, 0 }, { 30.75, 30.75 }, { 1e12, 1e12 }, { infinity, infinity }, { nan, 0 } });
}

TEST(FirParameters, StoreTenTimesTheLimitForAChebyshevAttenuationAboveIt)
{
    expect_stored({ "chebyshev attenuation", &parameter_t::set_chebyshev_window_sidelobe_attenuation },
                  { { 3000, 20000 }, // meant so, not 2000
                    { 2000.0001, 20000 },
                    { 20000, 20000 },
                    { infinity, 20000 },
                    { 2000, 2000 },
                    { 61.5, 61.5 },
                    { 0, 0 },
                    { -1, 0 },
                    { -infinity, 0 },
                    { nan, 0 } });
}

TEST(FirParameters, PullTheChebyshevAttenuationDownWithTheGaussianWidth)
{
    const double widths[][2] = { { 3.5, 3.5 }, { 0, 0 }, { -1, 0 }, { nan, 0 }, { infinity, infinity } };
    const double attenuations[][2] = { { 100, 30 }, { 3000, 30 }, { 30.001, 30 }, { 30, 30 }, { 12, 12 }, { 0, 0 } };
    for (const auto& [width, stored_width] : widths)
    {
        for (const auto& [attenuation, stored_attenuation] : attenuations)
        {
            parameter_t parameters;
            parameters.set_chebyshev_window_sidelobe_attenuation(attenuation);
            design_fields_t expected = default_fields();
            expected["gaussian factor"] = stored_width;
            expected["chebyshev attenuation"] = stored_attenuation;
            EXPECT_TRUE(parameters.set_guassian_window_width_factor(width));
            EXPECT_EQ(get_fields(parameters), expected) << width << ", " << attenuation;
        }
    }
}

TEST(FirParameters, KeepCountsInTheirRanges)
{
    const std::uint32_t n_bars[][2] = { { 0, 0 }, { 1, 1 }, { 400, 400 }, { 401, 400 }, { max_uint, 400 } };
    for (const auto& [value, stored] : n_bars)
    {
        parameter_t parameters;
        EXPECT_TRUE(parameters.set_taylor_window_n_bar(value));
        EXPECT_EQ(parameters.get_taylor_window_n_bar(), stored);
    }
    const std::uint32_t densities[][2] = { { 0, 16 },          { 15, 16 },         { 16, 16 },
                                           { 200000, 200000 }, { 200001, 200000 }, { max_uint, 200000 } };
    for (const auto& [value, stored] : densities)
    {
        parameter_t parameters;
        EXPECT_TRUE(parameters.set_density_factor(value));
        EXPECT_EQ(parameters.get_density_factor(), stored);
    }
}

TEST(FirParameters, StoreWhatIsTheHostsToInterpret)
{
    parameter_t parameters;
    EXPECT_TRUE(parameters.set_frequency_unit(max_uint));
    EXPECT_TRUE(parameters.set_fs(-1e300));
    EXPECT_TRUE(parameters.set_window_data({ 0.5f, 1.0f, 0.5f }));
    EXPECT_TRUE(parameters.set_passband_gain_normalize_enable(false));
    design_fields_t expected = default_fields();
    expected["frequency unit"] = max_uint;
    expected["fs"] = -1e300;
    expected["normalize"] = 0;
    EXPECT_EQ(get_fields(parameters), expected);
    EXPECT_EQ(parameters.get_window_data(), (float_array{ 0.5f, 1.0f, 0.5f }));
}

TEST(FirParameters, RestoreRawFrequenciesUnitAndRateOnlyByInit)
{
    parameter_t parameters = make_parameters();
    parameters.set_frequency_unit(3);
    parameters.set_fs(1e6);
    parameters.set_first_cutoff_frequency_no_nomalize(1e5, 1e6);
    parameters.set_second_cutoff_frequency_no_nomalize(2e5, 1e6);
    parameters.set_first_edge_start_frequency_no_nomalize(1.5e5, 1e6);
    parameters.set_first_edge_stop_frequency_no_nomalize(2.5e5, 1e6);
    parameters.set_second_edge_start_frequency_no_nomalize(3e5, 1e6);
    parameters.set_second_edge_stop_frequency_no_nomalize(4e5, 1e6);
    parameters.set_fir_design_method(LIB_FIR_METHOD_EQUIRIPPLE);
    parameters.set_fir_minimum_order_enable(true);
    parameters.set_fir_filter_order(77);
    parameters.set_density_factor(40);
    parameters.set_second_band_weight(7);
    parameters.set_window_data({ 1.0f });

    design_fields_t expected = get_fields(parameters);
    for (const char* field : { "first cutoff, raw", "second cutoff, raw", "first edge start, raw", "first edge stop, raw",
                               "second edge start, raw", "second edge stop, raw", "frequency unit", "fs" })
        expected[field] = default_fields().at(field);
    EXPECT_TRUE(parameters.init());
    EXPECT_EQ(get_fields(parameters), expected);
    EXPECT_EQ(parameters.get_first_cutoff_frequency(), 0.2);
    EXPECT_EQ(parameters.get_fir_filter_order(), 77u);
    EXPECT_EQ(parameters.get_window_data().size(), 1u);
}

TEST(FirParameters, AreCopiedWhole)
{
    static_assert(std::is_copy_constructible_v<parameter_t> && std::is_copy_assignable_v<parameter_t>);
    parameter_t parameters = make_parameters();
    parameters.set_fir_response_type(LIB_FIR_RESPONSE_BANDPASS);
    parameters.set_fir_design_method(LIB_FIR_METHOD_LEAST_SQUARE);
    parameters.set_fs(9.6e4);
    parameters.set_first_edge_stop_frequency_no_nomalize(1.2e4, 9.6e4);
    parameters.set_third_band_weight(3);
    parameters.set_window_type(LIB_WINDOW_TAYLOR);
    parameters.set_window_data({ 0.25f, 0.75f });
    const design_fields_t fields = get_fields(parameters);

    const parameter_t copy(parameters);
    parameter_t assigned;
    assigned = parameters;
    const parameter_t& itself = assigned;
    assigned = itself;
    parameters.set_fs(1);
    parameters.set_third_band_weight(4);
    parameters.set_window_data({});
    for (const parameter_t* other : { &copy, static_cast<const parameter_t*>(&assigned) })
    {
        EXPECT_EQ(get_fields(*other), fields);
        EXPECT_EQ(other->get_window_data(), (float_array{ 0.25f, 0.75f }));
    }
    EXPECT_NE(get_fields(parameters), fields);
}

// Orders

TEST(FirOrder, StaysBetween2And19999999)
{
    const std::uint32_t cases[][2] = {
        { 0, 2 }, { 1, 2 }, { 2, 2 }, { 3, 3 }, { 21, 21 }, { 19999999, 19999999 }, { 20000000, 19999999 }, { max_uint, 19999999 }
    };
    for (const response_t response : { LIB_FIR_RESPONSE_SHAPING, LIB_FIR_RESPONSE_LOWPASS, LIB_FIR_RESPONSE_BANDPASS })
    {
        for (const auto& [value, stored] : cases)
        {
            parameter_t parameters = make_parameters();
            parameters.set_fir_response_type(response);
            design_fields_t expected = with_order(default_fields(), stored);
            expected["response type"] = response;
            EXPECT_TRUE(parameters.set_fir_filter_order(value));
            EXPECT_EQ(get_fields(parameters), expected) << response << ", " << value;
        }
    }
}

TEST(FirOrder, IsEvenForHighpassAndBandstop)
{
    const std::uint32_t cases[][2] = { { 0, 2 },
                                       { 1, 2 },
                                       { 2, 2 },
                                       { 3, 4 },
                                       { 20, 20 },
                                       { 21, 22 },
                                       { 19999997, 19999998 },
                                       { 19999998, 19999998 },
                                       { 19999999, 19999999 }, // 20,000,000 is out of range
                                       { 20000000, 19999999 },
                                       { 4294967294u, 19999999 },
                                       { max_uint, 19999999 } };
    for (const response_t response : { LIB_FIR_RESPONSE_HIGHPASS, LIB_FIR_RESPONSE_BANDSTOP })
    {
        for (const auto& [value, stored] : cases)
        {
            parameter_t parameters = make_parameters();
            parameters.set_fir_response_type(response);
            design_fields_t expected = with_order(default_fields(), stored);
            expected["response type"] = response;
            EXPECT_TRUE(parameters.set_fir_filter_order(value));
            EXPECT_EQ(get_fields(parameters), expected) << response << ", " << value;
        }
    }
}

TEST(FirOrder, RaisedIsLoweredAgainWithTheResponse)
{
    for (const response_t odd : { LIB_FIR_RESPONSE_SHAPING, LIB_FIR_RESPONSE_LOWPASS, LIB_FIR_RESPONSE_BANDPASS })
    {
        for (const response_t even : { LIB_FIR_RESPONSE_HIGHPASS, LIB_FIR_RESPONSE_BANDSTOP })
        {
            parameter_t parameters = make_parameters();
            parameters.set_fir_response_type(even);
            parameters.set_fir_filter_order(21);
            EXPECT_EQ(parameters.get_fir_filter_order(), 22u);
            parameters.set_fir_response_type(odd);
            EXPECT_EQ(parameters.get_fir_filter_order(), 21u);
            parameters.set_fir_response_type(odd); // once only
            EXPECT_EQ(parameters.get_fir_filter_order(), 21u);
            parameters.set_fir_response_type(even);
            EXPECT_EQ(parameters.get_fir_filter_order(), 22u);
            parameters.set_fir_response_type(odd);
            EXPECT_EQ(parameters.get_fir_filter_order(), 21u);
        }
    }
}

TEST(FirOrder, ForgetsARaiseWithTheNextEvenOrder)
{
    parameter_t parameters = make_parameters();
    parameters.set_fir_response_type(LIB_FIR_RESPONSE_HIGHPASS);
    parameters.set_fir_filter_order(21);
    parameters.set_fir_response_type(LIB_FIR_RESPONSE_BANDSTOP); // sees the order 22
    parameters.set_fir_response_type(LIB_FIR_RESPONSE_LOWPASS);
    EXPECT_EQ(parameters.get_fir_filter_order(), 22u);

    parameters.set_fir_response_type(LIB_FIR_RESPONSE_HIGHPASS);
    parameters.set_fir_filter_order(21);
    parameters.set_fir_filter_order(30);
    parameters.set_fir_response_type(LIB_FIR_RESPONSE_LOWPASS);
    EXPECT_EQ(parameters.get_fir_filter_order(), 30u);
}

TEST(FirOrder, LowersTheNextOrderOfAnyDescriptionAfterARaise)
{
    // asked for, stored: one less, within the range
    const std::uint32_t cases[][2] = { { 50, 49 },
                                       { 51, 50 },
                                       { 0, 2 },
                                       { 1, 2 },
                                       { 2, 2 },
                                       { 3, 2 },
                                       { 19999999, 19999998 },
                                       { 20000000, 19999999 },
                                       { max_uint, 19999999 } };
    for (const auto& [value, stored] : cases)
    {
        parameter_t lowpass = make_parameters();
        parameter_t highpass;
        highpass.set_fir_response_type(LIB_FIR_RESPONSE_HIGHPASS);
        highpass.set_fir_filter_order(21);
        lowpass.set_fir_filter_order(value);
        EXPECT_EQ(lowpass.get_fir_filter_order(), stored);
        EXPECT_EQ(highpass.get_fir_filter_order(), 22u);
        lowpass.set_fir_filter_order(50);
        EXPECT_EQ(lowpass.get_fir_filter_order(), 50u);
    }
}

TEST(FirOrder, AtTheUpperEndCountsAsRaised)
{
    parameter_t parameters = make_parameters();
    parameters.set_fir_response_type(LIB_FIR_RESPONSE_HIGHPASS);
    parameters.set_fir_filter_order(19999999);
    EXPECT_EQ(parameters.get_fir_filter_order(), 19999999u);
    parameters.set_fir_response_type(LIB_FIR_RESPONSE_LOWPASS);
    EXPECT_EQ(parameters.get_fir_filter_order(), 19999998u);
}

TEST(FirOrder, SetInItsBlockPassesTheRuleAndTheFlags)
{
    parameter_t parameters = make_parameters();
    parameters.set_fir_response_type(LIB_FIR_RESPONSE_HIGHPASS);
    parameters.get_order_parameter().set_filter_order(21);
    EXPECT_EQ(get_fields(parameters).at("order"), 21);
    EXPECT_EQ(get_fields(parameters).at("length"), 22);
    parameter_t lowpass;
    lowpass.set_fir_filter_order(51); // no raise to undo
    EXPECT_EQ(lowpass.get_fir_filter_order(), 51u);
}

TEST(FirOrder, DiffersByOneAtMostBetweenThreads)
{
    const auto run = [](response_t response, std::uint32_t order, bool& kept)
    {
        kept = true;
        for (int i = 0; i < 2000; ++i)
        {
            parameter_t parameters;
            parameters.set_fir_response_type(response);
            parameters.set_fir_filter_order(order);
            const std::uint32_t got = parameters.get_fir_filter_order();
            kept = kept && got + 1 >= order && got <= order + 1;
        }
    };
    bool highpass_kept = false;
    bool lowpass_kept = false;
    std::thread highpass(run, LIB_FIR_RESPONSE_HIGHPASS, 41u, std::ref(highpass_kept));
    run(LIB_FIR_RESPONSE_LOWPASS, 60, lowpass_kept);
    highpass.join();
    EXPECT_TRUE(highpass_kept);
    EXPECT_TRUE(lowpass_kept);
}
} // namespace
} // namespace vrim::fir_filter_lib
