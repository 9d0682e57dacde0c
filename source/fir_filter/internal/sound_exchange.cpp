#include "fir_filter/internal/sound_exchange.h"

#include "fir_filter/internal/remez_taps.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

namespace vrim::fir_filter_lib
{
namespace
{
struct judgement_t
{
    bool is_sound;
    double error; ///< weighted, of the taps in single precision
};

/// Whether the taps of an exchange do what the exchange found. Two things may spoil them: between the bands, the interpolation
/// loses the digits that the deviation is below 1; and a wide transition beside a narrow one may rise so high that nothing of
/// single precision is left for the bands.
judgement_t judge(const exchange_problem_t& problem, const remez_result_t& result)
{
    constexpr double safe_deviation = 1.0e-9, safe_gain = 2.0;
    constexpr double narrowing = 2.0e-7; // of a filter of unit gain
    const std::size_t cosines = result.node.size() - 1;
    const double_array cosine = cal_cosine_coefficients(result.node, result.node_weight, result.value, cosines,
                                                        choose_span(problem.grid, problem.frequencies, cosines));
    double power = 0.0;
    for (const double tap : cal_half_taps(cosine, problem.negative, problem.odd))
        power += 2.0 * tap * tap;
    const double gain = std::sqrt(power);
    const double largest_weight = *std::max_element(problem.weight.begin(), problem.weight.end());
    const double deviation = result.deviation / largest_weight;
    if (result.end == remez_end_t::settled && deviation > safe_deviation && gain < safe_gain)
        return { true, result.deviation };

    const response_check_t check = check_response(cosine, problem.grid, problem.desired, problem.weight, result);
    const bool is_narrow = narrowing * gain <= std::max(deviation, safe_gain * narrowing);
    return { check.follows && is_narrow, check.error + narrowing * gain * largest_weight };
}

/// Weighted error of no filter at all.
double cal_idle_error(const exchange_problem_t& problem)
{
    double error = 0.0;
    for (std::size_t i = 0; i < problem.grid.size(); ++i)
        error = std::max(error, problem.weight[i] * std::abs(problem.desired[i]));
    return error;
}

/// Evenly spread extremals may start a long filter below rounding, where the exchange does not find out of. A shorter filter
/// shows how to spread those of a longer one.
class work_up_t
{
public:
    work_up_t(const exchange_problem_t& problem, const remez_limits_t& limits) : problem_(problem), limits_(limits) {}
    void run(std::size_t cosines)
    {
        for (std::size_t count = cosines / 2; count > 0 && holding_ == 0; count /= 2)
            try_count(count);
        std::size_t failing = cosines + 1;
        while (holding_ > 0 && holding_ < cosines && (failing > cosines || failing - holding_ > 1 + holding_ / 16))
        {
            const std::size_t count = failing > cosines ? std::min(2 * holding_, cosines) : (holding_ + failing) / 2;
            if (!try_count(count))
                failing = count;
        }
    }
    /// The longest sound exchange; without nodes where there is none.
    const remez_result_t& get_best() const { return best_; }
    double get_error() const { return error_; }

private:
    bool try_count(std::size_t count)
    {
        remez_result_t trial =
            run_remez_exchange(problem_.grid, problem_.desired, problem_.weight, count, limits_, best_.extremals);
        limits_.terms -= trial.terms;
        if (trial.end == remez_end_t::work)
            return false;
        const judgement_t judgement = judge(problem_, trial);
        if (!judgement.is_sound)
            return false;
        best_ = std::move(trial);
        error_ = judgement.error;
        holding_ = count;
        return true;
    }

    const exchange_problem_t& problem_;
    remez_limits_t limits_;
    remez_result_t best_;
    double error_ = std::numeric_limits<double>::infinity();
    std::size_t holding_ = 0;
};
} // namespace

sound_exchange_t run_sound_exchange(const exchange_problem_t& problem, std::size_t cosines, const remez_limits_t& limits)
{
    sound_exchange_t exchange;
    exchange.last = run_remez_exchange(problem.grid, problem.desired, problem.weight, cosines, limits);
    exchange.end = exchange.last.end;
    exchange.passes = exchange.last.passes;
    if (exchange.end == remez_end_t::no_grid)
        return exchange;
    const judgement_t judgement = judge(problem, exchange.last);
    exchange.is_useful = judgement.is_sound;
    if (judgement.is_sound)
        return exchange;

    work_up_t work_up(problem, limits);
    work_up.run(cosines);
    double error = judgement.error;
    if (!(error <= work_up.get_error()))
    {
        error = work_up.get_error();
        exchange.last = work_up.get_best();
    }
    exchange.is_useful = error < 0.99 * cal_idle_error(problem);
    return exchange;
}
} // namespace vrim::fir_filter_lib
