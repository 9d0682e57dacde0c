// The single steps of the equiripple method: grid, response, barycentric weights, inverse step, estimate of the order.

#include "fir_filter/lib_fir_designer.h"
#include "message_capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>
#include <stdexcept>

using namespace vrim;
using namespace vrim::fir_filter_lib;
using designer_t = lib_fir_designer_t;

namespace
{
const lib_fir_design_parameter_t any_parameters;

double_array make_grid(std::uint32_t order, std::uint32_t density, const double_array& edges)
{
    double_array grid;
    designer_t::_initialize_frequency_grid(order, any_parameters, density, grid, edges, false, order % 2 == 0);
    return grid;
}

void expect_rising(const double_array& grid)
{
    for (std::size_t i = 1; i < grid.size(); ++i)
        EXPECT_GT(grid[i], grid[i - 1]) << "point " << i;
}

std::size_t count_within(const double_array& grid, double lower, double upper)
{
    return static_cast<std::size_t>(
        std::count_if(grid.begin(), grid.end(), [&](double point) { return point >= lower && point <= upper; }));
}

/// Estimate of the length by its published polynomials in the logarithms of the deviations.
double published_length(double transition, double d1, double d2)
{
    const double p = std::log10(d1), s = std::log10(d2);
    const double at_infinity = (0.005309 * p * p + 0.07114 * p - 0.4761) * s - (0.00266 * p * p + 0.5941 * p + 0.4278);
    return at_infinity / transition - (0.51244 * (p - s) + 11.01217) * transition + 1.0;
}
} // namespace

// ---- grid

TEST(fir_equiripple_grid, steps_are_the_reciprocal_of_cosines_times_density)
{
    // 11 cosines, density 20
    const double step = 1.0 / 220.0;
    const double_array grid = make_grid(20, 20, { 0.0, 0.2, 0.3, 1.0 });
    expect_rising(grid);
    EXPECT_EQ(grid.front(), 0.0);
    EXPECT_EQ(grid.back(), 1.0);
    EXPECT_EQ(std::count(grid.begin(), grid.end(), 0.2), 1);
    EXPECT_EQ(std::count(grid.begin(), grid.end(), 0.3), 1);
    EXPECT_EQ(count_within(grid, 0.0, 0.2), 45u); // 44 steps
    for (std::size_t i = 1; i + 1 < 45; ++i)
        EXPECT_NEAR(grid[i], static_cast<double>(i) * step, 1e-14);
    // From 0.3 on 154 steps fit; the last point before 1 takes its place.
    EXPECT_EQ(count_within(grid, 0.3, 1.0), 155u);
    EXPECT_EQ(count_within(grid, 0.2, 0.3), 2u);
}

TEST(fir_equiripple_grid, upper_edge_off_the_raster_moves_the_point_before_it)
{
    const double step = 1.0 / 220.0;
    const double_array grid = make_grid(20, 20, { 0.0, 30.4 * step, 0.5, 1.0 });
    // Points 0 to 29, and the one at 30 moved to the edge.
    EXPECT_EQ(count_within(grid, 0.0, 30.4 * step), 31u);
    EXPECT_EQ(grid[30], 30.4 * step);
    EXPECT_NEAR(grid[29], 29.0 * step, 1e-14);
}

TEST(fir_equiripple_grid, narrow_band_has_eleven_points)
{
    for (const double width : { 1e-6, 0.004, 0.02, 0.04 })
    {
        const double_array grid = make_grid(20, 20, { 0.0, 0.2, 0.5, 0.5 + width, 0.7, 1.0 });
        expect_rising(grid);
        EXPECT_EQ(count_within(grid, 0.5, 0.5 + width), 11u) << width;
        EXPECT_EQ(grid[45], 0.5) << width;
        EXPECT_EQ(grid[55], 0.5 + width) << width;
        EXPECT_NEAR(grid[50], 0.5 + 0.5 * width, 1e-12) << width;
    }
}

TEST(fir_equiripple_grid, band_without_width_is_one_point)
{
    const double_array grid = make_grid(20, 20, { 0.0, 0.4, 0.5, 0.5, 0.6, 1.0 });
    expect_rising(grid);
    EXPECT_EQ(count_within(grid, 0.41, 0.59), 1u);
    const double_array wide = make_grid(78, 20, { 0.0, 0.9, 1.0, 1.0 });
    expect_rising(wide);
    EXPECT_EQ(wide.back(), 1.0);
    EXPECT_EQ(wide[wide.size() - 2], 0.9);
}

TEST(fir_equiripple_grid, odd_order_leaves_out_the_last_step_before_nyquist)
{
    // 11 cosines, density 20
    const double step = 1.0 / 220.0;
    const double_array grid = make_grid(21, 20, { 0.0, 0.2, 0.3, 1.0 });
    expect_rising(grid);
    EXPECT_LT(grid.back(), 1.0);
    EXPECT_GT(grid.back(), 1.0 - 2.5 * step);
    // A last band within that step is its lower edge alone; right at the Nyquist frequency it is nothing.
    const double_array point = make_grid(21, 20, { 0.0, 0.2, 0.999, 1.0 });
    expect_rising(point);
    EXPECT_EQ(point.back(), 0.999);
    EXPECT_EQ(count_within(point, 0.21, 1.0), 1u);
    EXPECT_EQ(make_grid(21, 20, { 0.0, 0.9, 1.0, 1.0 }).back(), 0.9);
}

TEST(fir_equiripple_grid, antisymmetric_filter_starts_off_zero)
{
    // 10 functions, density 20
    double_array grid;
    designer_t::_initialize_frequency_grid(20, any_parameters, 20, grid, { 0.0, 1.0 }, true, true);
    EXPECT_EQ(grid.front(), 1.0 / 200.0);
    EXPECT_LE(grid.back(), 1.0 - 1.0 / 200.0 + 1e-12);
    designer_t::_initialize_frequency_grid(20, any_parameters, 20, grid, { 0.0, 0.004 }, true, true);
    EXPECT_EQ(grid.front(), 0.002);
    designer_t::_initialize_frequency_grid(20, any_parameters, 20, grid, { 0.001, 0.5 }, true, true);
    EXPECT_EQ(grid.front(), 0.001);
}

TEST(fir_equiripple_grid, density_rises_four_fold_until_the_grid_is_long_enough)
{
    const double_array edges = { 0.0, 0.002, 0.5, 0.502 };
    double_array grid, desired, weight;
    ASSERT_TRUE(designer_t::_initialize_remez_iteration(200, any_parameters, edges, { 1.0, 1.0, 0.0, 0.0 }, { 1.0, 2.0 }, grid,
                                                        desired, weight));
    EXPECT_GE(grid.size(), 201u);
    EXPECT_EQ(desired.size(), grid.size());
    EXPECT_EQ(weight.size(), grid.size());
    std::uint32_t density = 20;
    while (make_grid(200, density, edges).size() < 201)
        density *= 4;
    EXPECT_GT(density, 20u);
    EXPECT_EQ(grid, make_grid(200, density, edges));
}

TEST(fir_equiripple_grid, bands_without_any_width_end_the_search_for_a_density)
{
    log_capture_t logs;
    double_array grid, desired, weight;
    EXPECT_FALSE(designer_t::_initialize_remez_iteration(20, any_parameters, { 0.0, 0.0, 1.0, 1.0 }, { 1.0, 1.0, 0.0, 0.0 },
                                                         { 1.0, 1.0 }, grid, desired, weight));
    EXPECT_EQ(logs.count(common_log::log_level_error,
                         "lib_fir_designer_t::_initialize_remez_iteration: the bands are too narrow for a grid.\n"),
              1);
}

TEST(fir_equiripple_grid, stays_bounded_whatever_it_is_asked_for)
{
    const std::uint32_t largest = std::numeric_limits<std::uint32_t>::max();
    EXPECT_LE(make_grid(largest, largest, { 0.0, 0.4, 0.5, 1.0 }).size(), 1000100u);
    const double infinity = std::numeric_limits<double>::infinity(), nan = std::nan("");
    for (const double_array& edges :
         { double_array{}, double_array{ 0.5 }, double_array{ 0.7, 0.2 }, double_array{ 0.0, infinity }, double_array{ nan, nan },
           double_array{ -infinity, infinity, 0.0, 1.0 } })
        EXPECT_LE(make_grid(20, 20, edges).size(), 1000100u);
}

// ---- response and weights

TEST(fir_equiripple_grid, response_runs_along_the_bands)
{
    const double_array edges = { 0.0, 0.4, 0.6, 0.6, 0.8, 1.0 };
    const double_array grid = { 0.0, 0.1, 0.4, 0.6, 0.8, 0.9, 1.0 };
    double_array desired, weight;
    designer_t::_calculate_response_and_final_weight(edges, grid, { 1.0, 2.0, 3.0 }, { 1.0, 2.0, 4.0, 8.0, 0.0, 0.0 }, false,
                                                     desired, weight);
    const double_array expected = { 1.0, 1.25, 2.0, 6.0, 0.0, 0.0, 0.0 };
    for (std::size_t i = 0; i < grid.size(); ++i)
        EXPECT_NEAR(desired[i], expected[i], 1e-15) << i;
    EXPECT_EQ(weight, (double_array{ 1.0, 1.0, 1.0, 2.0, 3.0, 3.0, 3.0 }));
}

TEST(fir_equiripple_grid, sloping_weights_leave_bands_that_end_at_zero)
{
    double_array desired, weight;
    designer_t::_calculate_response_and_final_weight({ 0.1, 0.4, 0.6, 1.0 }, { 0.1, 0.4, 0.6, 1.0 }, { 2.0, 3.0 },
                                                     { 1.0, 1.0, 0.0, 0.0 }, true, desired, weight);
    EXPECT_NEAR(weight[0], 2.0 / 0.05, 1e-12);
    EXPECT_NEAR(weight[1], 2.0 / 0.2, 1e-12);
    EXPECT_EQ(weight[2], 3.0);
    EXPECT_EQ(weight[3], 3.0);
}

// ---- barycentric weights

TEST(fir_equiripple_steps, barycentric_weight_by_hand)
{
    const double_array x = { 1.0, 0.5, -0.5 };
    EXPECT_DOUBLE_EQ(designer_t::_calculate_quantities(0, 1, x), 1.0 / (1.0 * 3.0));
    EXPECT_DOUBLE_EQ(designer_t::_calculate_quantities(1, 1, x), 1.0 / (-1.0 * 2.0));
    EXPECT_DOUBLE_EQ(designer_t::_calculate_quantities(2, 2, x), 1.0 / (-3.0 * -2.0));
    EXPECT_EQ(designer_t::_calculate_quantities(1, 0, x), 1.0);
    EXPECT_EQ(designer_t::_calculate_quantities(1, -3, x), 1.0);
    // Factors of 0 are left out by value, not by index.
    EXPECT_DOUBLE_EQ(designer_t::_calculate_quantities(0, 1, { 1.0, 1.0, 0.0 }), 0.5);
    EXPECT_THROW(designer_t::_calculate_quantities(3, 1, x), std::out_of_range);
    EXPECT_THROW(designer_t::_calculate_quantities(-1, 1, x), std::out_of_range);
}

// ---- iteration and inverse step

TEST(fir_equiripple_steps, iteration_hands_back_the_problem_of_the_cosine_polynomial)
{
    double_array grid = make_grid(21, 20, { 0.0, 0.2, 0.4, 1.0 }), desired, weight;
    designer_t::_calculate_response_and_final_weight({ 0.0, 0.2, 0.4, 1.0 }, grid, { 1.0, 2.0 }, { 1.0, 1.0, 0.0, 0.0 }, false,
                                                     desired, weight);
    for (double& frequency : grid)
        frequency *= 0.5;
    double deviation = 0.0;
    float_array half;
    ASSERT_TRUE(designer_t::_remez_iteration(21, grid, { 0.0, 0.1, 0.2, 0.5 }, desired, weight, false, false, deviation, half));
    EXPECT_EQ(half.size(), 11u);
    EXPECT_GT(deviation, 0.0);
    EXPECT_LT(deviation, 0.1);
    EXPECT_DOUBLE_EQ(desired[7], 1.0 / std::cos(std::numbers::pi * grid[7]));
    EXPECT_DOUBLE_EQ(weight[7], std::cos(std::numbers::pi * grid[7]));
}

TEST(fir_equiripple_steps, arrays_that_do_not_fit_give_no_taps)
{
    double_array grid = { 0.0, 0.1, 0.2 }, desired = { 1.0, 1.0 }, weight = { 1.0, 1.0, 1.0 };
    double deviation = 0.0;
    float_array half = { 1.0f };
    EXPECT_FALSE(designer_t::_remez_iteration(2, grid, { 0.0, 0.5 }, desired, weight, false, true, deviation, half));
    EXPECT_TRUE(half.empty());
    desired = { 1.0, 1.0, 0.0 };
    EXPECT_FALSE(designer_t::_remez_iteration(200, grid, { 0.0, 0.5 }, desired, weight, false, true, deviation, half));
    EXPECT_TRUE(half.empty());
}

// Antisymmetric filters: the response is the sine sum over the half, and meets 1 within the deviation. Their bands leave out
// the ends of the axis, so that the coefficients come by way of the covered part.
TEST(fir_equiripple_steps, antisymmetric_filters_come_out_of_the_same_exchange)
{
    for (const std::uint32_t order : { 20u, 21u, 30u, 31u })
    {
        const bool odd = order % 2 == 0;
        const double_array edges = { 0.1, 0.85 };
        double_array grid, desired, weight;
        designer_t::_initialize_frequency_grid(order, any_parameters, 20, grid, edges, true, odd);
        designer_t::_calculate_response_and_final_weight(edges, grid, { 1.0 }, { 1.0, 1.0 }, false, desired, weight);
        for (double& frequency : grid)
            frequency *= 0.5;
        double deviation = 0.0;
        float_array half;
        ASSERT_TRUE(designer_t::_remez_iteration(order, grid, { 0.05, 0.425 }, desired, weight, true, odd, deviation, half));
        ASSERT_EQ(half.size(), odd ? order / 2 + 1 : (order + 1) / 2);
        EXPECT_EQ(half.back() == 0.0f, odd);
        double largest = 0.0;
        for (const double frequency : grid)
        {
            double response = 0.0;
            for (std::size_t n = 0; n < half.size(); ++n)
            {
                const double distance = 0.5 * order - static_cast<double>(n);
                response += 2.0 * static_cast<double>(half[n]) * std::sin(2.0 * std::numbers::pi * frequency * distance);
            }
            largest = std::max(largest, std::abs(response - 1.0));
        }
        EXPECT_NEAR(largest / deviation, 1.0, 1e-3) << order;
        EXPECT_LT(deviation, 0.05) << order;
    }
}

TEST(fir_equiripple_steps, covered_part_of_the_axis_gives_the_taps_of_the_whole)
{
    // Values of 0.3 + 0.5 cos(a) - 0.2 cos(3 a) at six nodes
    const double_array angles = { 0.6, 0.9, 1.2, 1.6, 2.0, 2.4 };
    double_array x, y, ad;
    for (const double angle : angles)
    {
        x.push_back(std::cos(angle));
        y.push_back(0.3 + 0.5 * std::cos(angle) - 0.2 * std::cos(3.0 * angle));
    }
    for (std::int32_t k = 0; k < 6; ++k)
        ad.push_back(designer_t::_calculate_quantities(k, 1, x));
    const double_array grid = { angles.front() / (2.0 * std::numbers::pi), angles.back() / (2.0 * std::numbers::pi) };
    const float_array expected = { 0.0f, -0.1f, 0.0f, 0.25f, 0.3f };
    for (const double_array& edges : { double_array{ 0.0, 0.5 }, grid })
    {
        double_array nodes = x;
        float_array half;
        designer_t::_equiripple_method_ifft(grid, edges, ad, nodes, y, false, true, half);
        ASSERT_EQ(half.size(), 5u);
        for (std::size_t k = 0; k < 5; ++k)
            EXPECT_NEAR(half[k], expected[k], 1e-7f) << k;
        ASSERT_EQ(nodes.size(), 7u);
        EXPECT_EQ(nodes.back(), -2.0);
    }
}

// Sums of neighbours: cos(pi f) (a0 + a1 cos(2 pi f) + a2 cos(4 pi f)).
TEST(fir_equiripple_steps, even_count_of_taps_by_hand)
{
    double_array x = { 1.0, 0.4, -0.3, -1.0 }, y, ad;
    for (const double place : x)
        y.push_back(0.5 + 0.25 * place + 0.125 * (2.0 * place * place - 1.0));
    for (std::int32_t k = 0; k < 4; ++k)
        ad.push_back(designer_t::_calculate_quantities(k, 1, x));
    float_array half;
    designer_t::_equiripple_method_ifft({ 0.0, 0.5 }, { 0.0, 0.5 }, ad, x, y, false, false, half);
    ASSERT_EQ(half.size(), 3u);
    EXPECT_NEAR(half[0], 0.25f * 0.125f, 1e-8f);
    EXPECT_NEAR(half[1], 0.25f * (0.25f + 0.125f), 1e-8f);
    EXPECT_NEAR(half[2], 0.25f * (2.0f * 0.5f + 0.25f), 1e-8f);
}

// ---- estimate of the order

TEST(fir_equiripple_order, length_follows_the_published_polynomials)
{
    for (const double transition : { 0.01, 0.05, 0.2 })
        for (const double d1 : { 0.1, 0.00576, 1e-4 })
            for (const double d2 : { 0.03, 1e-3, 1e-5 })
                EXPECT_NEAR(designer_t::remlpord(0.2, 0.2 + transition, d1, d2), published_length(transition, d1, d2), 1e-9);
    EXPECT_DOUBLE_EQ(designer_t::remlpord(0.3, 0.2, 0.01, 0.001), designer_t::remlpord(0.2, 0.3, 0.01, 0.001));
}

TEST(fir_equiripple_order, two_bands)
{
    std::uint32_t order = 0;
    double_array edges, amplitudes, weights;
    ASSERT_TRUE(designer_t::firpmord({ 0.4, 0.5 }, { 2.0, 0.0 }, { 0.02, 0.001 }, order, edges, amplitudes, weights));
    // Relative to the amplitude where there is one.
    EXPECT_EQ(order, static_cast<std::uint32_t>(std::ceil(published_length(0.05, 0.01, 0.001))) - 1);
    EXPECT_EQ(edges, (double_array{ 0.0, 0.4, 0.5, 1.0 }));
    EXPECT_EQ(amplitudes, (double_array{ 2.0, 2.0, 0.0, 0.0 }));
    EXPECT_EQ(weights, (double_array{ 1.0, 10.0 }));
}

TEST(fir_equiripple_order, longest_transition_of_three_bands_decides)
{
    const double_array deviations = { 1e-3, 0.01, 1e-4 };
    for (const double second : { 0.02, 0.3 })
    {
        std::uint32_t order = 0;
        double_array edges, amplitudes, weights;
        ASSERT_TRUE(designer_t::firpmord({ 0.2, 0.3, 0.5, 0.5 + second }, { 0.0, 1.0, 0.0 }, deviations, order, edges, amplitudes,
                                         weights));
        const double longest = std::max(published_length(0.05, 0.01, 1e-3), published_length(0.5 * second, 0.01, 1e-4));
        EXPECT_EQ(order, static_cast<std::uint32_t>(std::ceil(longest)) - 1);
        EXPECT_EQ(edges.size(), 6u);
        EXPECT_EQ(amplitudes, (double_array{ 0.0, 0.0, 1.0, 1.0, 0.0, 0.0 }));
        EXPECT_DOUBLE_EQ(weights[0], 10.0);
        EXPECT_DOUBLE_EQ(weights[1], 1.0);
        EXPECT_DOUBLE_EQ(weights[2], 100.0);
    }
}

TEST(fir_equiripple_order, no_order_without_an_estimate)
{
    std::uint32_t order = 7;
    double_array edges, amplitudes, weights;
    const auto has_order = [&](const double_array& f, const double_array& a, const double_array& d)
    { return designer_t::firpmord(f, a, d, order, edges, amplitudes, weights); };
    EXPECT_FALSE(has_order({}, { 1.0 }, { 0.1 }));
    EXPECT_EQ(order, 0u);
    EXPECT_FALSE(has_order({}, {}, {}));
    EXPECT_FALSE(has_order({ 0.4 }, { 1.0, 0.0 }, { 0.1, 0.1 }));
    EXPECT_FALSE(has_order({ 0.4, 0.5 }, { 1.0 }, { 0.1, 0.1 }));
    EXPECT_FALSE(has_order({ 0.4, 0.4 }, { 1.0, 0.0 }, { 0.1, 0.01 }));
    EXPECT_FALSE(has_order({ 0.4, 0.4 + 1e-8 }, { 1.0, 0.0 }, { 0.1, 0.01 }));
    EXPECT_FALSE(has_order({ 0.4, 0.5 }, { 1.0, 0.0 }, { 0.1, 0.0 }));
    EXPECT_FALSE(has_order({ 0.4, 0.5 }, { 1.0, 0.0 }, { -0.1, 0.01 }));
    EXPECT_FALSE(has_order({ 0.2, 0.3, 0.5, 0.5 }, { 0.0, 1.0, 0.0 }, { 0.1, 0.01, 0.1 }));
    EXPECT_FALSE(has_order({ 0.2, 0.2, 0.5, 0.6 }, { 0.0, 1.0, 0.0 }, { 0.1, 0.01, 0.1 }));
    EXPECT_EQ(order, 0u);
    // Coarser than any filter: the least order there is.
    ASSERT_TRUE(has_order({ 0.1, 0.9 }, { 1.0, 0.0 }, { 0.5, 0.5 }));
    EXPECT_EQ(order, 2u);
}
