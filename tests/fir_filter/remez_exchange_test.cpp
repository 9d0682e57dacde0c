#include "fir_filter/internal/remez_exchange.h"

#include "fir_filter/internal/barycentric.h"
#include "fir_filter/internal/remez_taps.h"
#include "fir_filter/internal/sound_exchange.h"
#include "fir_filter/lib_fir_designer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

using namespace vrim;
using namespace vrim::fir_filter_lib;
using designer_t = lib_fir_designer_t;

namespace
{
struct bands_t
{
    double_array edges; // 1 is the Nyquist frequency
    double_array amplitudes;
    double_array weights;
};

/// The four responses, with transitions that give deviations between 1e-4 and 0.3 at any order.
std::vector<bands_t> make_responses(std::uint32_t order)
{
    const double t = 6.0 / order;
    return {
        { { 0.0, 0.4, 0.4 + t, 1.0 }, { 1.0, 1.0, 0.0, 0.0 }, { 1.0, 10.0 } },
        { { 0.0, 0.25, 0.25 + t, 1.0 }, { 0.0, 0.0, 1.0, 1.0 }, { 5.0, 1.0 } },
        { { 0.0, 0.1, 0.1 + t, 0.55, 0.55 + t, 1.0 }, { 0.0, 0.0, 1.0, 1.0, 0.0, 0.0 }, { 3.0, 1.0, 7.0 } },
        { { 0.0, 0.1, 0.1 + t, 0.55, 0.55 + t, 1.0 }, { 1.0, 1.0, 0.0, 0.0, 1.0, 1.0 }, { 1.0, 20.0, 2.0 } },
    };
}

struct problem_t
{
    double_array grid; // 0.5 is the Nyquist frequency
    double_array desired, weight;
    double_array polynomial_desired, polynomial_weight;
    std::size_t cosines = 0;
    bool odd = false;
};

problem_t make_problem(std::uint32_t order, const bands_t& bands)
{
    problem_t problem;
    problem.odd = order % 2 == 0;
    problem.cosines = problem.odd ? order / 2 + 1 : (order + 1) / 2;
    EXPECT_TRUE(designer_t::_initialize_remez_iteration(order, {}, bands.edges, bands.amplitudes, bands.weights, problem.grid,
                                                        problem.desired, problem.weight));
    for (double& frequency : problem.grid)
        frequency *= 0.5;
    problem.polynomial_desired = problem.desired;
    problem.polynomial_weight = problem.weight;
    for (std::size_t i = 0; i < problem.grid.size() && !problem.odd; ++i)
    {
        problem.polynomial_desired[i] /= std::cos(std::numbers::pi * problem.grid[i]);
        problem.polynomial_weight[i] *= std::cos(std::numbers::pi * problem.grid[i]);
    }
    return problem;
}

remez_result_t solve(const problem_t& problem, const remez_limits_t& limits = {})
{
    return run_remez_exchange(problem.grid, problem.polynomial_desired, problem.polynomial_weight, problem.cosines, limits);
}

double_array half_taps_of(const problem_t& problem, const remez_result_t& result)
{
    const double_array cosine =
        cal_cosine_coefficients(result.node, result.node_weight, result.value, result.node.size() - 1, {});
    return cal_half_taps(cosine, false, problem.odd);
}

/// Response of a symmetric filter from its first half, by the sum over both halves in long double.
double response_of(const double_array& half, bool odd, double frequency)
{
    const long double angle = 2.0L * std::numbers::pi_v<long double> * static_cast<long double>(frequency);
    // cos((k + 2) a) = 2 cos(a) cos((k + 1) a) - cos(k a), from the middle outwards
    const long double twice = 2.0L * std::cos(angle);
    long double before = odd ? std::cos(angle) : std::cos(0.5L * angle);
    long double present = odd ? 1.0L : std::cos(0.5L * angle);
    long double sum = 0.0L;
    for (std::size_t k = half.size(); k-- > 0;)
    {
        const bool middle = odd && k + 1 == half.size();
        sum += (middle ? 1.0L : 2.0L) * static_cast<long double>(half[k]) * present;
        const long double next = twice * present - before;
        before = present;
        present = next;
    }
    return static_cast<double>(sum);
}

/// How often the sign changes along the grid points whose error is within 0.1 % of the deviation, plus one.
struct alternation_t
{
    std::size_t count = 0;
    double largest = 0.0;
};

alternation_t find_alternation(const problem_t& problem, const double_array& half, double deviation)
{
    alternation_t found;
    double sign = 0.0;
    for (std::size_t i = 0; i < problem.grid.size(); ++i)
    {
        const double error = (response_of(half, problem.odd, problem.grid[i]) - problem.desired[i]) * problem.weight[i];
        found.largest = std::max(found.largest, std::abs(error));
        if (std::abs(error) >= 0.999 * deviation && std::copysign(1.0, error) != sign)
        {
            sign = std::copysign(1.0, error);
            ++found.count;
        }
    }
    return found;
}
} // namespace

// The theorem of alternation: an error that reaches its largest magnitude with alternating sign in one point more than there
// are cosines is the least one.
TEST(remez_exchange, error_alternates_for_all_responses_and_orders)
{
    for (const std::uint32_t order : { 20u, 21u, 80u, 81u, 200u, 201u, 1000u, 1001u })
    {
        const std::vector<bands_t> responses = make_responses(order);
        for (std::size_t response = 0; response < responses.size(); ++response)
        {
            // An odd order has a zero at the Nyquist frequency, where high-pass and band-stop filters pass.
            if (order % 2 == 1 && responses[response].amplitudes.back() != 0.0)
                continue;
            SCOPED_TRACE("order " + std::to_string(order) + " response " + std::to_string(response + 1));
            const problem_t problem = make_problem(order, responses[response]);
            const remez_result_t result = solve(problem);
            EXPECT_EQ(result.end, remez_end_t::settled);
            EXPECT_EQ(result.extremals.size(), problem.cosines + 1);
            EXPECT_GT(result.deviation, 1e-5);

            const alternation_t found = find_alternation(problem, half_taps_of(problem, result), result.deviation);
            EXPECT_GE(found.count, problem.cosines + 1);
            EXPECT_NEAR(found.largest / result.deviation, 1.0, 1e-3);
        }
    }
}

TEST(remez_exchange, weights_scale_the_ripple_of_their_band)
{
    const bands_t bands = { { 0.0, 0.4, 0.5, 1.0 }, { 1.0, 1.0, 0.0, 0.0 }, { 1.0, 50.0 } };
    const problem_t problem = make_problem(60, bands);
    const remez_result_t result = solve(problem);
    const double_array half = half_taps_of(problem, result);
    double pass = 0.0, stop = 0.0;
    for (const double frequency : problem.grid)
    {
        const double response = response_of(half, true, frequency);
        if (2.0 * frequency <= 0.4)
            pass = std::max(pass, std::abs(response - 1.0));
        else
            stop = std::max(stop, std::abs(response));
    }
    EXPECT_NEAR(pass / stop, 50.0, 0.05);
}

// a0 + a1 x, x the cosine, meets 1 on [xp, 1] and 0 on [-1, xs] best with H(xs) = d / w2, H(xp) = 1 - d / w1 and
// H(1) = 1 + d / w1: three equations for a0, a1 and d. It holds while H(-1) stays above -d / w2.
TEST(remez_exchange, order_two_meets_the_solution_by_hand)
{
    for (const double pass_weight : { 1.0, 2.0 })
    {
        const bands_t bands = { { 0.0, 0.5, 0.6, 1.0 }, { 1.0, 1.0, 0.0, 0.0 }, { pass_weight, 1.0 } };
        const problem_t problem = make_problem(2, bands);
        const remez_result_t result = solve(problem);

        const double xp = std::cos(0.5 * std::numbers::pi), xs = std::cos(0.6 * std::numbers::pi);
        const double ratio = (1.0 - xp) / (xp - xs);
        const double deviation = ratio / (2.0 / pass_weight + ratio * (1.0 / pass_weight + 1.0));
        const double a1 = 2.0 * deviation / pass_weight / (1.0 - xp);
        const double a0 = 1.0 + deviation / pass_weight - a1;
        ASSERT_GE(a0 - a1, -deviation);

        EXPECT_NEAR(result.deviation, deviation, 1e-12);
        const double_array half = half_taps_of(problem, result);
        ASSERT_EQ(half.size(), 2u);
        EXPECT_NEAR(half[0], 0.5 * a1, 1e-12);
        EXPECT_NEAR(half[1], a0, 1e-12);
    }
}

// With bands that mirror each other, H(f) + H(1 - f) = 1: every second tap is 0 but for the middle one, which is 1/2. The grid
// does not mirror, so that its step stays in the taps.
TEST(remez_exchange, mirrored_bands_give_a_half_band_filter)
{
    const bands_t bands = { { 0.0, 0.42, 0.58, 1.0 }, { 1.0, 1.0, 0.0, 0.0 }, { 1.0, 1.0 } };
    const problem_t problem = make_problem(30, bands);
    const double_array half = half_taps_of(problem, solve(problem));
    ASSERT_EQ(half.size(), 16u);
    EXPECT_NEAR(half[15], 0.5, 5e-5);
    for (std::size_t k = 1; k < 15; k += 2)
        EXPECT_NEAR(half[k], 0.0, 5e-5) << "tap " << k;
    EXPECT_GT(half[14], 0.3);
}

TEST(remez_exchange, finer_grid_never_lowers_the_deviation_by_more_than_its_step)
{
    const bands_t bands = { { 0.0, 0.3, 0.38, 1.0 }, { 1.0, 1.0, 0.0, 0.0 }, { 1.0, 1.0 } };
    double_array deviations;
    for (const std::uint32_t density : { 16u, 64u, 256u, 4096u })
    {
        lib_fir_design_parameter_t parameters;
        parameters.set_density_factor(density);
        problem_t problem;
        problem.cosines = 31;
        ASSERT_TRUE(designer_t::_initialize_remez_iteration(60, parameters, bands.edges, bands.amplitudes, bands.weights,
                                                            problem.grid, problem.polynomial_desired, problem.polynomial_weight));
        for (double& frequency : problem.grid)
            frequency *= 0.5;
        deviations.push_back(solve(problem).deviation);
    }
    // The error between grid points is missed by the square of the step.
    for (std::size_t k = 1; k < deviations.size(); ++k)
        EXPECT_NEAR(deviations[k] / deviations.front(), 1.0, 5e-3);
}

TEST(remez_exchange, limits_end_the_exchange_with_what_stands)
{
    const problem_t problem = make_problem(80, make_responses(80)[0]);
    const remez_result_t whole = solve(problem);
    ASSERT_EQ(whole.end, remez_end_t::settled);
    EXPECT_GT(whole.terms, 0.0);

    remez_limits_t passes;
    passes.passes = 2;
    const remez_result_t two = solve(problem, passes);
    EXPECT_EQ(two.end, remez_end_t::passes);
    EXPECT_EQ(two.passes, 2u);
    EXPECT_LT(two.deviation, whole.deviation);

    remez_limits_t work;
    work.terms = whole.terms / 2.0;
    const remez_result_t stopped = solve(problem, work);
    EXPECT_EQ(stopped.end, remez_end_t::work);
    EXPECT_LT(stopped.terms, whole.terms);
    EXPECT_TRUE(std::isfinite(stopped.deviation));
    for (const double tap : half_taps_of(problem, stopped))
        EXPECT_TRUE(std::isfinite(tap));
}

TEST(remez_exchange, arrays_that_do_not_fit_have_no_exchange)
{
    problem_t problem = make_problem(20, make_responses(20)[0]);
    EXPECT_EQ(run_remez_exchange({}, {}, {}, 1).end, remez_end_t::no_grid);
    EXPECT_EQ(run_remez_exchange({ 0.0, 0.1 }, { 1.0, 0.0 }, { 1.0, 1.0 }, 2).end, remez_end_t::no_grid);
    EXPECT_EQ(run_remez_exchange({ 0.0, 0.1 }, { 1.0, 0.0 }, { 1.0, 1.0 }, 0).end, remez_end_t::no_grid);
    problem.polynomial_weight.pop_back();
    EXPECT_EQ(solve(problem).end, remez_end_t::no_grid);
}

TEST(remez_exchange, start_like_another_count_leads_to_the_same_filter)
{
    const problem_t problem = make_problem(80, make_responses(80)[2]);
    const remez_result_t even = solve(problem);
    const remez_result_t shorter = run_remez_exchange(problem.grid, problem.desired, problem.weight, 20);
    const remez_result_t like =
        run_remez_exchange(problem.grid, problem.desired, problem.weight, problem.cosines, {}, shorter.extremals);
    EXPECT_EQ(like.end, remez_end_t::settled);
    EXPECT_NEAR(like.deviation / even.deviation, 1.0, 1e-5);
}

// The best deviation is about 5e-8, but evenly spread extremals start at 1e-17 and less.
TEST(sound_exchange, long_filter_gets_through_a_start_below_rounding)
{
    const bands_t bands = { { 0.0, 0.5, 0.52, 1.0 }, { 0.0, 0.0, 1.0, 1.0 }, { 1.0, 1.0 } };
    const problem_t problem = make_problem(900, bands);
    const sound_exchange_t exchange =
        run_sound_exchange({ problem.grid, {}, problem.desired, problem.weight, false, true }, problem.cosines);
    EXPECT_TRUE(exchange.is_useful);
    EXPECT_EQ(exchange.last.node.size(), problem.cosines + 1);
    EXPECT_LT(exchange.last.deviation, 1e-7);
    EXPECT_GT(exchange.last.deviation, 1e-9);
    const alternation_t found = find_alternation(problem, half_taps_of(problem, exchange.last), exchange.last.deviation);
    EXPECT_NEAR(found.largest / exchange.last.deviation, 1.0, 0.05);
}

TEST(sound_exchange, filter_below_rounding_gives_way_to_a_shorter_one)
{
    const bands_t bands = { { 0.0, 0.2, 0.3, 1.0 }, { 1.0, 1.0, 0.0, 0.0 }, { 1.0, 1.0 } };
    const problem_t problem = make_problem(1200, bands);
    const sound_exchange_t exchange =
        run_sound_exchange({ problem.grid, {}, problem.desired, problem.weight, false, true }, problem.cosines);
    EXPECT_TRUE(exchange.is_useful);
    EXPECT_LT(exchange.last.node.size(), problem.cosines);
    EXPECT_LT(exchange.last.deviation, 1e-8);
    EXPECT_LT(find_alternation(problem, half_taps_of(problem, exchange.last), 1.0).largest, 1e-7);
}

TEST(barycentric, node_weight_is_the_inverse_product_of_doubled_distances)
{
    std::mt19937 engine(11);
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    double_array x(70);
    for (double& value : x)
        value = uniform(engine);
    double_array weights;
    cal_node_weights(x, 5, weights);
    for (std::size_t k = 0; k < x.size(); ++k)
    {
        long double product = 1.0L;
        for (std::size_t j = 0; j < x.size(); ++j)
            product *= j == k ? 1.0L : 2.0L * (static_cast<long double>(x[k]) - static_cast<long double>(x[j]));
        const auto expected = static_cast<double>(1.0L / product);
        for (const std::size_t spacing : { 1u, 5u, 100u })
            EXPECT_NEAR(cal_node_weight(x, k, spacing) / expected, 1.0, 1e-11) << "node " << k;
        EXPECT_EQ(weights[k], cal_node_weight(x, k, 5)) << "node " << k;
    }
    EXPECT_THROW(cal_node_weight(x, 70, 1), std::out_of_range);
}

// Nodes of a tenth of the axis: the product of 2000 distances is 1e-2000 and less, the ratios are ordinary.
TEST(barycentric, weights_whose_products_leave_the_range_keep_their_ratios)
{
    double_array x(2000);
    for (std::size_t k = 0; k < x.size(); ++k)
        x[k] = 0.1 * std::cos(std::numbers::pi * static_cast<double>(k) / 1999.0);
    double_array weights;
    cal_node_weights(x, 1999 / 15 + 1, weights);
    // Chebyshev points of the second kind: weights of alternating sign and equal magnitude, halved at both ends.
    for (std::size_t k = 1; k + 1 < x.size(); ++k)
        EXPECT_NEAR(weights[k] / weights[1], k % 2 == 1 ? 1.0 : -1.0, 1e-7) << "node " << k;
    EXPECT_NEAR(weights[0] / weights[1], -0.5, 1e-7);
    EXPECT_TRUE(std::isfinite(weights[1]) && weights[1] != 0.0);
}

TEST(barycentric, interpolation_repeats_a_polynomial_and_its_nodes)
{
    const double_array x = { 1.0, 0.7, 0.2, -0.3, -0.6, -1.0 };
    const auto polynomial = [](double place) { return 1.0 + place * (2.0 - place * (0.5 + 3.0 * place)); };
    double_array weights, values;
    cal_node_weights(x, 1, weights);
    for (const double place : x)
        values.push_back(polynomial(place));
    interpolation_t interpolation;
    interpolation.assign(x, weights, values, x.size());
    for (std::size_t k = 0; k < x.size(); ++k)
        EXPECT_EQ(interpolation.at(x[k]), values[k]);
    for (double place = -0.95; place < 1.0; place += 0.1)
        EXPECT_NEAR(interpolation.at(place), polynomial(place), 1e-14);
}
