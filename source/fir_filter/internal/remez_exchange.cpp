#include "fir_filter/internal/remez_exchange.h"

#include "fir_filter/internal/barycentric.h"
#include "support/internal/trigonometry.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <optional>

namespace vrim::fir_filter_lib
{
namespace
{
constexpr double nan_value = std::numeric_limits<double>::quiet_NaN();
/// A new extremal at either end of the grid has to beat the one that it drops by this factor.
constexpr double end_point_factor = 1.00001;
/// Rounding of the deviation relative to the sum of its terms' magnitudes.
constexpr double rounding_factor = 16.0 * std::numeric_limits<double>::epsilon();
/// How many passes may have a deviation that is nothing but rounding. Evenly spread extremals may start there.
constexpr std::uint32_t rounding_passes = 20;

// ---- search of the extremals

/// Weighted error of one pass on the grid, evaluated where it is looked at. Beyond the term limit it reads as 0.
class error_curve_t
{
public:
    error_curve_t(const double_array& cosine, const double_array& desired, const double_array& weight, double terms)
        : cosine_(cosine), desired_(desired), weight_(weight), known_(cosine.size()), terms_left_(terms)
    {
    }
    void start_pass(const remez_result_t& state)
    {
        // Making the weights costs a multiplication where an evaluation costs a division.
        constexpr double multiplication_cost = 0.25;
        const auto nodes = static_cast<double>(state.node.size());
        interpolation_.assign(state.node, state.node_weight, state.value, state.node.size());
        std::fill(known_.begin(), known_.end(), nan_value);
        terms_left_ -= multiplication_cost * nodes * nodes;
    }
    double at(std::ptrdiff_t index)
    {
        const auto i = static_cast<std::size_t>(index);
        if (std::isnan(known_[i]) && !is_exhausted())
        {
            known_[i] = (interpolation_.at(cosine_[i]) - desired_[i]) * weight_[i];
            terms_left_ -= static_cast<double>(interpolation_.get_count());
        }
        return is_exhausted() ? 0.0 : known_[i];
    }
    std::ptrdiff_t get_size() const { return static_cast<std::ptrdiff_t>(cosine_.size()); }
    bool is_exhausted() const { return terms_left_ <= 0.0; }
    double get_terms_left() const { return terms_left_; }

private:
    const double_array& cosine_;
    const double_array& desired_;
    const double_array& weight_;
    double_array known_;
    interpolation_t interpolation_;
    double terms_left_;
};

/// A place on the grid and the error there, counted in the sign that is looked for.
struct extremum_t
{
    std::ptrdiff_t index;
    double height;
};

/// Walks from `start` in steps of 1 or -1 to the first place before `bound` that is higher than `bar`, and on to its top.
std::optional<extremum_t> find_extremum(error_curve_t& error, std::ptrdiff_t start, std::ptrdiff_t step, std::ptrdiff_t bound,
                                        double sign, double bar)
{
    std::optional<extremum_t> top;
    for (std::ptrdiff_t index = start; index != bound; index += step)
    {
        const double height = sign * error.at(index);
        if (height > (top ? top->height : bar))
            top = { index, height };
        else if (top)
            break;
    }
    return top;
}

/// Looks for the extremum that an extremal moves to. Its neighbours decide, above first. As long as no extremal of the pass
/// has moved, the search goes on to the extremals below and above, so that a pass without any move has seen the whole grid.
/// @param low, high  exclusive bounds
std::optional<extremum_t> find_move(error_curve_t& error, std::ptrdiff_t here, std::ptrdiff_t low, std::ptrdiff_t high,
                                    double sign, double deviation, bool nothing_moved)
{
    const bool rises_above = here + 1 < high && sign * error.at(here + 1) > deviation;
    if (rises_above)
        return find_extremum(error, here + 1, 1, high, sign, deviation);
    const bool rises_below = here - 1 > low && sign * error.at(here - 1) > deviation;
    if (!rises_below && !nothing_moved)
        return std::nullopt;
    const std::optional<extremum_t> below = find_extremum(error, here - 1, -1, low, sign, deviation);
    if (below)
        return below;
    return find_extremum(error, here + 1, 1, high, sign, deviation);
}

/// One pass over the extremals, and what it finds at the ends of the grid.
class extremal_search_t
{
public:
    /// @param sign  of the error at the first extremal
    extremal_search_t(error_curve_t& error, std::vector<std::size_t>& extremals, double sign, double deviation)
        : error_(error), extremals_(extremals), first_sign_(sign), deviation_(deviation)
    {
    }
    /// @return whether an extremal moved
    bool run()
    {
        const auto old_first = static_cast<std::ptrdiff_t>(extremals_.front());
        const auto old_last = static_cast<std::ptrdiff_t>(extremals_.back());
        move_all();
        deal_ends(std::min(old_first, static_cast<std::ptrdiff_t>(extremals_.front())),
                  std::max(old_last, static_cast<std::ptrdiff_t>(extremals_.back())));
        return moved_;
    }

private:
    void move_all()
    {
        std::ptrdiff_t low = -1;
        double sign = first_sign_;
        for (std::size_t k = 0; k < extremals_.size(); ++k, sign = -sign)
        {
            const auto here = static_cast<std::ptrdiff_t>(extremals_[k]);
            const std::ptrdiff_t high =
                k + 1 < extremals_.size() ? static_cast<std::ptrdiff_t>(extremals_[k + 1]) : error_.get_size();
            const std::optional<extremum_t> move = find_move(error_, here, low, high, sign, deviation_, !moved_);
            last_height_ = move ? move->height : deviation_;
            if (k == 0)
                first_height_ = last_height_;
            low = here;
            if (move)
            {
                extremals_[k] = static_cast<std::size_t>(move->index);
                low = std::max(low, move->index);
                moved_ = true;
            }
            last_sign_ = sign;
        }
    }
    /// An extremum of the next sign outside the present extremals takes the place of the extremal at the other end.
    void deal_ends(std::ptrdiff_t first, std::ptrdiff_t last)
    {
        const auto before = find_extremum(error_, 0, 1, first, -first_sign_, end_point_factor * last_height_);
        const double bar = before ? std::max(first_height_, before->height) : first_height_;
        const auto behind = find_extremum(error_, error_.get_size() - 1, -1, last, -last_sign_, end_point_factor * bar);
        if (behind)
        {
            extremals_.erase(extremals_.begin());
            extremals_.push_back(static_cast<std::size_t>(behind->index));
        }
        else if (before)
        {
            extremals_.pop_back();
            extremals_.insert(extremals_.begin(), static_cast<std::size_t>(before->index));
        }
        moved_ = moved_ || before || behind;
    }

    error_curve_t& error_;
    std::vector<std::size_t>& extremals_;
    double first_sign_;
    double last_sign_ = 1.0;
    double deviation_;
    double first_height_ = 0.0;
    double last_height_ = 0.0;
    bool moved_ = false;
};

// ---- exchange

std::vector<std::size_t> spread_evenly(std::size_t grid_points, std::size_t cosines)
{
    std::vector<std::size_t> extremals(cosines + 1);
    for (std::size_t k = 0; k < cosines; ++k)
        extremals[k] = k * (grid_points - 1) / cosines;
    extremals[cosines] = grid_points - 1;
    return extremals;
}

/// Spreads extremals the way others lie on the same grid.
std::vector<std::size_t> spread_like(const std::vector<std::size_t>& like, std::size_t grid_points, std::size_t cosines)
{
    std::vector<std::size_t> extremals(cosines + 1);
    const double ratio = static_cast<double>(like.size() - 1) / static_cast<double>(cosines);
    for (std::size_t k = 0; k <= cosines; ++k)
    {
        const double place = std::min(static_cast<double>(k) * ratio, static_cast<double>(like.size() - 1));
        const std::size_t i = std::min(static_cast<std::size_t>(place), like.size() - 2);
        const double part = place - static_cast<double>(i);
        const auto between = static_cast<std::size_t>(part * static_cast<double>(like[i + 1] - like[i]) + 0.5);
        // Rising, with room for those that follow.
        const std::size_t least = k == 0 ? 0 : extremals[k - 1] + 1;
        extremals[k] = std::min(std::max(like[i] + between, least), grid_points - 1 - (cosines - k));
    }
    return extremals;
}

struct deviation_t
{
    double value;    ///< with its sign at the first extremal, the sign of desired minus value
    double rounding; ///< what rounding alone may make of it
};

/// Places nodes on the extremals and solves for the deviation that alternates over them.
deviation_t interpolate(const double_array& cosine, const double_array& desired, const double_array& weight,
                        remez_result_t& state)
{
    const std::size_t nodes = state.extremals.size();
    state.node.resize(nodes);
    for (std::size_t k = 0; k < nodes; ++k)
        state.node[k] = cosine[state.extremals[k]];
    cal_node_weights(state.node, (nodes - 2) / 15 + 1, state.node_weight);

    double above = 0.0, below = 0.0, above_magnitude = 0.0, sign = 1.0;
    for (std::size_t k = 0; k < nodes; ++k, sign = -sign)
    {
        const double term = state.node_weight[k] * desired[state.extremals[k]];
        above += term;
        above_magnitude += std::abs(term);
        below += sign * state.node_weight[k] / weight[state.extremals[k]];
    }
    const double deviation = above / below;

    sign = 1.0;
    state.value.resize(nodes);
    for (std::size_t k = 0; k < nodes; ++k, sign = -sign)
        state.value[k] = desired[state.extremals[k]] - sign * deviation / weight[state.extremals[k]];
    state.deviation = std::abs(deviation);
    return { deviation, rounding_factor * std::abs(above_magnitude / below) };
}
} // namespace

remez_result_t run_remez_exchange(const double_array& grid, const double_array& desired, const double_array& weight,
                                  std::size_t cosines, const remez_limits_t& limits, const std::vector<std::size_t>& like)
{
    remez_result_t result;
    if (cosines == 0 || grid.size() < cosines + 1 || desired.size() != grid.size() || weight.size() != grid.size())
        return result;

    double_array cosine(grid.size());
    for (std::size_t i = 0; i < grid.size(); ++i)
        cosine[i] = common_lib::cosine_of(2.0 * std::numbers::pi * grid[i]);
    error_curve_t error(cosine, desired, weight, limits.terms);

    std::vector<std::size_t> extremals =
        like.size() < 2 ? spread_evenly(grid.size(), cosines) : spread_like(like, grid.size(), cosines);
    double last_deviation = -1.0;
    result.end = remez_end_t::passes;
    while (result.passes < limits.passes)
    {
        ++result.passes;
        result.extremals = extremals;
        const deviation_t deviation = interpolate(cosine, desired, weight, result);
        const bool is_rounding = result.deviation < deviation.rounding && result.passes <= rounding_passes;
        if (!(result.deviation > last_deviation) && !is_rounding)
        {
            result.end = remez_end_t::rounding;
            break;
        }
        last_deviation = result.deviation;

        error.start_pass(result);
        const bool moved = extremal_search_t(error, extremals, deviation.value > 0.0 ? -1.0 : 1.0,
                                             std::max(result.deviation, deviation.rounding))
                               .run();
        if (error.is_exhausted() || !moved)
        {
            result.end = error.is_exhausted() ? remez_end_t::work : remez_end_t::settled;
            break;
        }
    }
    result.terms = limits.terms - error.get_terms_left();
    return result;
}
} // namespace vrim::fir_filter_lib
