// What depends on what: revalidation by method, response and window, the queries, and the blocks on their own.
#include "fir_filter/lib_fir_design_parameter.h"

#include "fir_filter/design_parameter_fields.h"

#include <gtest/gtest.h>
#include <limits>
#include <sstream>
#include <string>

namespace vrim::fir_filter_lib
{
namespace
{
using parameter_t = lib_fir_design_parameter_t;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr std::uint32_t kaiser = 11;
constexpr std::uint32_t gaussian = 6;
constexpr std::uint32_t chebyshev = 9;

/// One description that the setters can reach, whatever the last call made of it.
struct state_t
{
    std::uint32_t method;
    std::uint32_t response;
    bool minimum_order;
    std::uint32_t window;
};

std::ostream& operator<<(std::ostream& out, const state_t& state)
{
    return out << "method " << state.method << ", response " << state.response << ", minimum order " << state.minimum_order
               << ", window " << state.window;
}

/// Each state with values that no rule would write. Methods go one above the last: an unknown one has no rules.
template <typename call_t>
void for_each_state(call_t&& call)
{
    for (std::uint32_t method = 0; method <= 3; ++method)
        for (std::uint32_t response = 0; response <= 5; ++response)
            for (const bool minimum_order : { false, true })
                for (std::uint32_t window = 0; window <= 17; ++window)
                    call(state_t{ method, response, minimum_order, window });
}

parameter_t make_state(const state_t& state)
{
    parameter_t parameters = make_parameters();
    parameters.set_fir_response_type(static_cast<lib_fir_response_type_t>(state.response));
    parameters.set_fir_design_method(static_cast<lib_fir_design_method_t>(state.method));
    parameters.set_window_type(static_cast<lib_window_type_t>(state.window));
    parameters.set_fir_minimum_order_enable(state.minimum_order);
    parameters.set_first_Amplitude(7);
    parameters.set_second_Amplitude(8);
    parameters.set_third_Amplitude(9);
    parameters.set_first_band_weight(2000);
    parameters.set_second_band_weight(0.25);
    parameters.set_third_band_weight(3);
    parameters.set_chebyshev_window_sidelobe_attenuation(3000);
    parameters.set_kaiser_window_shaping_factor(-700);
    parameters.set_taylor_window_n_bar(400);
    parameters.set_taylor_sidelobe_attenuation(0);
    parameters.set_tukey_window_cosine_fraction(1000);
    parameters.set_density_factor(200000);
    parameters.set_fir_filter_order(30);
    return parameters;
}

/// What the table of amplitudes says for a response; nothing for Shaping and beyond.
void expect_amplitudes(design_fields_t& fields, std::uint32_t response)
{
    const double table[][3] = { { 7, 8, 9 }, { 1, 80, 9 }, { 80, 1, 9 }, { 60, 1, 80 }, { 0.5, 60, 1 }, { 7, 8, 9 } };
    fields["first amplitude"] = table[response][0];
    fields["second amplitude"] = table[response][1];
    fields["third amplitude"] = table[response][2];
}

/// What revalidation makes of a state, from the rules as they are told.
void expect_revalidated(design_fields_t& fields, std::uint32_t method, std::uint32_t response, bool minimum_order,
                        std::uint32_t window)
{
    const bool with_amplitudes = minimum_order && (method == 1 || (method == 0 && window == kaiser));
    if (with_amplitudes)
        expect_amplitudes(fields, response);
    if (method == 2 || (method == 0 && window != kaiser))
        fields["minimum order"] = 0;
    if (method == 0 && window == gaussian)
        fields["chebyshev attenuation"] = 30;
}

TEST(FirRevalidation, FollowsTheMethod)
{
    for_each_state(
        [](const state_t& state)
        {
            for (std::uint32_t method = 0; method <= 3; ++method)
            {
                parameter_t parameters = make_state(state);
                design_fields_t expected = get_fields(parameters);
                expected["design method"] = method;
                expect_revalidated(expected, method, state.response, state.minimum_order, state.window);
                EXPECT_TRUE(parameters.set_fir_design_method(static_cast<lib_fir_design_method_t>(method)));
                ASSERT_EQ(get_fields(parameters), expected) << state << ", then method " << method;
            }
        });
}

TEST(FirRevalidation, FollowsTheResponse)
{
    for_each_state(
        [](const state_t& state)
        {
            for (std::uint32_t response = 0; response <= 5; ++response)
            {
                for (const std::uint32_t order : { 30u, 31u })
                {
                    parameter_t parameters = make_state(state);
                    parameters.get_order_parameter().set_filter_order(order);
                    design_fields_t expected = get_fields(parameters);
                    expected["response type"] = response;
                    expect_revalidated(expected, state.method, response, state.minimum_order, state.window);
                    if (order == 31 && (response == 2 || response == 4))
                        expected = with_order(expected, 32);
                    EXPECT_TRUE(parameters.set_fir_response_type(static_cast<lib_fir_response_type_t>(response)));
                    ASSERT_EQ(get_fields(parameters), expected) << state << ", then response " << response;
                }
            }
        });
}

TEST(FirRevalidation, FollowsTheWindow)
{
    for_each_state(
        [](const state_t& state)
        {
            for (std::uint32_t window = 0; window <= 17; ++window)
            {
                parameter_t parameters = make_state(state);
                design_fields_t expected = get_fields(parameters);
                expected["window type"] = window;
                if (window != kaiser)
                    expected["minimum order"] = 0; // with every method
                if (window == gaussian)
                    expected["chebyshev attenuation"] = 30;
                EXPECT_TRUE(parameters.set_window_type(static_cast<lib_window_type_t>(window)));
                ASSERT_EQ(get_fields(parameters), expected) << state << ", then window " << window;
            }
        });
}

TEST(FirRevalidation, DoesNotFollowMinimumOrder)
{
    for_each_state(
        [](const state_t& state)
        {
            for (const bool value : { false, true })
            {
                parameter_t parameters = make_state(state);
                design_fields_t expected = get_fields(parameters);
                expected["minimum order"] = value ? 1 : 0;
                EXPECT_TRUE(parameters.set_fir_minimum_order_enable(value));
                ASSERT_EQ(get_fields(parameters), expected) << state;
            }
        });
}

TEST(FirRevalidation, ClearsMinimumOrderOfAnEquirippleDesignWithTheHammingWindow)
{
    parameter_t parameters = make_parameters();
    parameters.set_fir_design_method(LIB_FIR_METHOD_EQUIRIPPLE);
    parameters.set_fir_minimum_order_enable(true);
    parameters.set_fir_design_method(LIB_FIR_METHOD_WINDOW); // still Kaiser
    EXPECT_TRUE(parameters.is_fir_mimimum_order_enable());
    parameters.set_window_type(LIB_WINDOW_HAMMING);
    EXPECT_FALSE(parameters.is_fir_mimimum_order_enable());
    parameters.set_window_type(LIB_WINDOW_KAISER);
    EXPECT_FALSE(parameters.is_fir_mimimum_order_enable());
}

// Queries

TEST(FirWeights, AreConstantAndNotListedForWindowAndMinimumOrder)
{
    for_each_state(
        [](const state_t& state)
        {
            parameter_t parameters = make_state(state); // weights 2000, 0.25, 3
            double_array weights = { 5, 5, 5, 5 };
            const double_array lists[] = { {}, { 2000, 0.25 }, { 2000, 0.25 }, { 2000, 0.25, 3 }, { 2000, 0.25, 3 }, {} };
            const bool listed = state.method != 0 && !state.minimum_order;
            const double_array expected = listed ? lists[state.response] : double_array{};
            EXPECT_EQ(parameters.is_weight_constant(weights), expected.empty()) << state;
            EXPECT_EQ(weights, expected) << state;
        });
}

TEST(FirWeights, AreConstantWhenTheirDifferencesSumUpTo0)
{
    struct case_t
    {
        double first, second, third;
        bool constant2, constant3;
    };
    const case_t cases[] = {
        { 1, 1, 1, true, true },       { 7.5, 7.5, 7.5, true, true },     { 2, 1, 3, false, true }, // the sum decides, meant so
        { 2, 3, 1, false, true },      { 1, 1, 2, true, false },          { 1, 2, 1, false, false },
        { 0.1, 0.1, 0.1, true, true }, { 2, 1, 3.0000001, false, false },
    };
    for (const case_t& c : cases)
    {
        for (std::uint32_t response = 1; response <= 4; ++response)
        {
            for (const std::uint32_t method : { 1u, 2u })
            {
                parameter_t parameters = make_parameters();
                parameters.set_fir_design_method(static_cast<lib_fir_design_method_t>(method));
                parameters.set_fir_response_type(static_cast<lib_fir_response_type_t>(response));
                parameters.set_first_band_weight(c.first);
                parameters.set_second_band_weight(c.second);
                parameters.set_third_band_weight(c.third);
                double_array weights;
                const bool expected = response <= 2 ? c.constant2 : c.constant3;
                EXPECT_EQ(parameters.is_weight_constant(weights), expected)
                    << c.first << ' ' << c.second << ' ' << c.third << ", response " << response;
                EXPECT_EQ(weights.size(), response <= 2 ? 2u : 3u);
            }
        }
    }
}

TEST(FirFullBand, IsGivenByAFirstTransitionWithoutWidthOrTheKaiserWindow)
{
    const double edges[][4] = { { 0.3, 0.3, 0.6, 0.6 }, { 0.3, 0.3, 0.6, 0.7 }, { 0.3, 0.4, 0.6, 0.6 },
                                { 0.4, 0.3, 0.6, 0.6 }, { 0.0, 0.0, 1.0, 1.0 }, { 0.3, 0.30000000000000004, 0.5, 0.5 } };
    for_each_state(
        [&](const state_t& state)
        {
            for (const auto& [start, stop, second_start, second_stop] : edges)
            {
                parameter_t parameters = make_state(state);
                parameters.set_first_edge_start_frequency(start);
                parameters.set_first_edge_stop_frequency(stop);
                parameters.set_second_edge_start_frequency(second_start);
                parameters.set_second_edge_stop_frequency(second_stop);
                const bool has_bands = state.response >= 1 && state.response <= 4;
                const bool expected = (state.method == 0 && state.window == kaiser) || (has_bands && start == stop);
                EXPECT_EQ(parameters.is_full_band_response_given(), expected) << state << ", " << start << " to " << stop;
            }
        });
}

// The blocks on their own

TEST(FirResponseBlock, KeepsItsFieldsAndClampsFrequencies)
{
    lib_fir_design_response_parameter_t block;
    EXPECT_EQ(block.get_response_type(), LIB_FIR_RESPONSE_LOWPASS);
    EXPECT_EQ(block.get_second_cutoff_frequency(), 0.55);
    EXPECT_TRUE(block.set_response_type(LIB_FIR_RESPONSE_BANDSTOP));
    EXPECT_TRUE(block.set_first_cutoff_frequency(0.125));
    EXPECT_TRUE(block.set_second_cutoff_frequency(1.5));
    EXPECT_TRUE(block.set_first_edge_start_frequency(-1));
    EXPECT_TRUE(block.set_first_edge_stop_frequency(nan));
    EXPECT_TRUE(block.set_second_edge_start_frequency(0.75));
    EXPECT_TRUE(block.set_second_edge_stop_frequency(2));
    EXPECT_TRUE(block.set_first_Amplitude(-1));
    EXPECT_TRUE(block.set_second_Amplitude(-2));
    EXPECT_TRUE(block.set_third_Amplitude(-3));
    EXPECT_TRUE(block.init()); // no defaults
    EXPECT_EQ(block.get_response_type(), LIB_FIR_RESPONSE_BANDSTOP);
    EXPECT_EQ(block.get_first_cutoff_frequency(), 0.125);
    EXPECT_EQ(block.get_second_cutoff_frequency(), 1.0);
    EXPECT_EQ(block.get_first_edge_start_frequency(), 0.0);
    EXPECT_EQ(block.get_first_edge_stop_frequency(), 0.0);
    EXPECT_EQ(block.get_second_edge_start_frequency(), 0.75);
    EXPECT_EQ(block.get_second_edge_stop_frequency(), 1.0);
    EXPECT_EQ(block.get_first_Amplitude(), -1.0);
    EXPECT_EQ(block.get_second_Amplitude(), -2.0);
    EXPECT_EQ(block.get_third_Amplitude(), -3.0);
}

TEST(FirOrderBlock, ClampsAndKnowsNoEvenRule)
{
    lib_fir_design_order_parameter_t block;
    EXPECT_FALSE(block.is_minimum_order_enable());
    EXPECT_EQ(block.get_filter_order(), 20u);
    const std::uint32_t cases[][2] = { { 0, 2 }, { 3, 3 }, { 19999999, 19999999 }, { 4294967295u, 19999999 }, { 21, 21 } };
    for (const auto& [value, stored] : cases)
    {
        EXPECT_TRUE(block.set_filter_order(value));
        for (const bool minimum_order : { true, false })
        {
            EXPECT_TRUE(block.set_minimum_order_enable(minimum_order));
            EXPECT_TRUE(block.init());
            EXPECT_EQ(block.is_minimum_order_enable(), minimum_order);
            EXPECT_EQ(block.get_filter_order(), stored);
            EXPECT_EQ(block.get_filter_response_length(), stored + 1);
            EXPECT_EQ(block.get_filter_length(), stored + 1);
        }
    }
}

TEST(FirWeightBlock, KeepsWeightsAbove0)
{
    lib_fir_design_weight_parameter_t block;
    EXPECT_TRUE(block.set_first_band_weight(-3));
    EXPECT_TRUE(block.set_second_band_weight(2001));
    EXPECT_TRUE(block.set_third_band_weight(0.125));
    EXPECT_TRUE(block.init());
    EXPECT_EQ(block.get_first_band_weight(), 1.0);
    EXPECT_EQ(block.get_second_band_weight(), 2000.0);
    EXPECT_EQ(block.get_third_band_weight(), 0.125);
}

TEST(FirWindowBlock, PullsTheChebyshevAttenuationDownWithTheGaussianWindowOnly)
{
    for (std::uint32_t type = 0; type <= 17; ++type)
    {
        lib_fir_design_window_parameter_t block;
        EXPECT_EQ(block.get_window_type(), kaiser);
        EXPECT_TRUE(block.set_window_type(static_cast<lib_window_type_t>(type)));
        EXPECT_EQ(block.get_window_type(), type);
        EXPECT_EQ(block.get_chebyshev_window_sidelobe_attenuation(), type == gaussian ? 30.0 : 100.0) << type;
        EXPECT_EQ(block.get_guassian_window_width_factor(), 2.5);
    }
    lib_fir_design_window_parameter_t block;
    block.set_chebyshev_window_sidelobe_attenuation(3000);
    block.set_window_type(static_cast<lib_window_type_t>(chebyshev));
    EXPECT_EQ(block.get_chebyshev_window_sidelobe_attenuation(), 20000.0);
}

TEST(FirWindowBlock, KeepsLegalValuesByInit)
{
    lib_fir_design_window_parameter_t block;
    EXPECT_TRUE(block.set_window_type(LIB_WINDOW_TUKEY));
    EXPECT_TRUE(block.set_passband_gain_normalize_enable(false));
    EXPECT_TRUE(block.set_kaiser_window_shaping_factor(701));
    EXPECT_TRUE(block.set_guassian_window_width_factor(3.25));
    EXPECT_TRUE(block.set_chebyshev_window_sidelobe_attenuation(90));
    EXPECT_TRUE(block.set_taylor_window_n_bar(401));
    EXPECT_TRUE(block.set_taylor_sidelobe_attenuation(-1));
    EXPECT_TRUE(block.set_tukey_window_cosine_fraction(-1001));
    EXPECT_TRUE(block.set_window_data({ 1.0f, 2.0f }));
    EXPECT_TRUE(block.init());
    EXPECT_EQ(block.get_window_type(), LIB_WINDOW_TUKEY);
    EXPECT_FALSE(block.is_passband_gain_normalize_enable());
    EXPECT_EQ(block.get_kaiser_window_shaping_factor(), 700.0);
    EXPECT_EQ(block.get_guassian_window_width_factor(), 3.25);
    EXPECT_EQ(block.get_chebyshev_window_sidelobe_attenuation(), 90.0);
    EXPECT_EQ(block.get_taylor_window_n_bar(), 400u);
    EXPECT_EQ(block.get_taylor_sidelobe_attenuation(), 0.0);
    EXPECT_EQ(block.get_tukey_window_cosine_fraction(), -1000.0);
    EXPECT_EQ(block.get_window_data(), (float_array{ 1.0f, 2.0f }));
}

TEST(FirEquirippleBlock, KeepsItsDensityInRange)
{
    lib_fir_design_equiripple_parameter_t block;
    EXPECT_EQ(block.get_density_factor(), 20u);
    for (const auto& [value, stored] : { std::pair{ 0u, 16u }, { 200001u, 200000u }, { 17u, 17u } })
    {
        EXPECT_TRUE(block.set_density_factor(value));
        EXPECT_TRUE(block.init());
        EXPECT_EQ(block.get_density_factor(), stored);
    }
}
} // namespace
} // namespace vrim::fir_filter_lib
