#include "fir_filter/lib_fir_designer.h"

#include "fir_filter/internal/barycentric.h"
#include "fir_filter/internal/remez_taps.h"
#include "fir_filter/internal/sound_exchange.h"
#include "support/internal/trigonometry.h"
#include "support/log_macro.h"
#include "support/trace_output.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vrim::fir_filter_lib
{
namespace
{
// Work and memory of one design. The exchange costs the square of the order a pass, the last pass a term for each grid point
// and node; at these limits that is a few seconds and some tens of megabytes.
constexpr std::uint32_t largest_order = 10000;
constexpr double largest_grid = 1.0e6;
constexpr double largest_pass = 4.0e8; // grid points times nodes
constexpr double kept_density = 20.0;  // never lowered below
/// Grid steps stay well above the tolerance at the end of a band, relative to the Nyquist frequency.
constexpr double least_step = 1.0e-9;
constexpr double band_end_tolerance = 1.0e-10;
constexpr double largest_estimate = 1.0e6;

/// Count of cosine functions that make up a filter.
std::size_t count_cosines(std::uint32_t order, bool negative, bool odd)
{
    const std::size_t half = (static_cast<std::size_t>(order) + 1) / 2;
    return odd && !negative ? half + 1 : half;
}

bool is_odd_length(std::uint32_t order)
{
    return order % 2 == 0;
}

bool are_finite(const double_array& values)
{
    return std::all_of(values.begin(), values.end(), [](double value) { return std::isfinite(value); });
}

// ---- bands of a design

struct band_plan_t
{
    double_array edges;      ///< two per band
    double_array amplitudes; ///< two per band
    double_array weights;    ///< one per band
    std::uint32_t order = 0;
};

bool are_edges_sound(const double_array& edges)
{
    for (std::size_t k = 1; k < edges.size(); ++k)
    {
        const bool transition = k % 2 == 0;
        if (edges[k] < edges[k - 1] || (transition && edges[k] == edges[k - 1]))
            return false;
    }
    return true;
}

/// Says why when there is nothing to design.
bool make_plan(const lib_fir_design_parameter_t& parameters, band_plan_t& plan)
{
    lib_fir_designer_t::_get_freq_amplitude_vector(parameters, plan.edges, plan.amplitudes, plan.weights);
    if (plan.edges.empty())
    {
        DMA_LOG_ERROR("lib_fir_designer_t::_equiripple_method: the response type has no bands to design.\n");
        return false;
    }
    plan.order = parameters.get_fir_filter_order();
    if (parameters.is_fir_mimimum_order_enable())
    {
        const double_array edges = plan.edges, amplitudes = plan.amplitudes, deviations = plan.weights;
        if (!lib_fir_designer_t::firpmord(edges, amplitudes, deviations, plan.order, plan.edges, plan.amplitudes, plan.weights))
        {
            DMA_LOG_ERROR("lib_fir_designer_t::_equiripple_method: no order up to 1000000 meets the edges and amplitudes.\n");
            return false;
        }
        plan.order += plan.amplitudes.back() != 0.0 ? plan.order % 2 : 0;
    }
    if (!are_edges_sound(plan.edges))
    {
        DMA_LOG_ERROR("lib_fir_designer_t::_equiripple_method: the band edges have to rise, with room for each transition.\n");
        return false;
    }
    if (plan.amplitudes.back() != 0.0 && !is_odd_length(plan.order))
    {
        DMA_LOG_ERROR("lib_fir_designer_t::_equiripple_method: an odd order cannot pass the Nyquist frequency.\n");
        return false;
    }
    if (plan.order > largest_order)
    {
        DMA_LOG_ERROR(fmt::format("lib_fir_designer_t::_equiripple_method: order {} is above {}, the largest that the exchange "
                                  "takes; widen the transitions or relax the amplitudes.\n",
                                  plan.order, largest_order));
        return false;
    }
    return true;
}

// ---- grid

/// Density that keeps grid and passes within their limits.
std::uint32_t fit_density(std::uint32_t density, std::size_t cosines)
{
    const auto count = static_cast<double>(cosines);
    const double fitting = std::max(kept_density, std::min(largest_grid, largest_pass / count) / count);
    return fitting < static_cast<double>(density) ? static_cast<std::uint32_t>(fitting) : density;
}

/// Sum of the band widths.
double cal_total_width(const double_array& edges)
{
    double width = 0.0;
    for (std::size_t k = 1; k < edges.size(); k += 2)
        width += std::max(0.0, edges[k] - edges[k - 1]);
    return width;
}

/// Adds the points of a band behind its lower edge, which stands at the end of the grid, up to the upper edge.
void append_band(double_array& grid, double upper, double step)
{
    constexpr double least_points = 11.0;
    const double lower = grid.back();
    // Points up to one step beyond the upper edge; the one before takes the place of the edge, the last one is cut.
    double points = std::floor((upper - lower + band_end_tolerance) / step) + 1.0;
    if (!(points >= least_points))
    {
        step = (upper - lower) / (least_points - 1.0);
        points = least_points;
        if (!(step > 0.0))
            return;
    }
    const auto kept = static_cast<std::size_t>(points) - 1;
    for (std::size_t i = 1; i < kept; ++i)
        grid.push_back(lower + static_cast<double>(i) * step);
    grid.push_back(upper);
}

/// The last points of a grid whose response has a zero at the Nyquist frequency: nothing within one step of it but the lower
/// edge of a last band that lies there as a whole, and nothing at all at Nyquist itself.
void clear_nyquist(double_array& grid, double last_lower_edge, double step)
{
    if (!(grid.back() > 1.0 - step))
        return;
    if (last_lower_edge < 1.0 - step)
    {
        grid.pop_back();
        return;
    }
    while (grid.size() > 1 && grid.back() > last_lower_edge)
        grid.pop_back();
    if (last_lower_edge >= 1.0 && grid.size() > 1)
        grid.pop_back();
}

// ---- from exchange to taps

/// Turns the problem of the filter into that of its cosine polynomial: what is left when the factor that the symmetry forces
/// is taken out.
void divide_by_fixed_factor(const double_array& grid, bool negative, bool odd, double_array& desired, double_array& weight)
{
    if (odd && !negative)
        return;
    for (std::size_t i = 0; i < grid.size(); ++i)
    {
        const double angle = (odd ? 2.0 : 1.0) * std::numbers::pi * grid[i];
        const double factor = negative ? common_lib::sine_of(angle) : common_lib::cosine_of(angle);
        desired[i] /= factor;
        weight[i] *= factor;
    }
}

// clang-format off
constexpr const char* no_convergence_text = "2 次迭代后未能收敛。这可能是机器舍入误差导致的。如果迭代次数超过 3 次，设计可能是正确的，但应该用 FFT 进行验证。";
// clang-format on

void report_end(remez_end_t end, std::uint32_t passes)
{
    if (end == remez_end_t::rounding)
        common_log::print_trace_line(no_convergence_text);
    if (end == remez_end_t::work || end == remez_end_t::passes)
    {
        DMA_LOG_INFO(fmt::format(
            "lib_fir_designer_t::_remez_iteration: stopped after {} passes; the filter is not the best one.\n", passes));
    }
}

/// Full impulse response of a symmetric filter from its first half.
void mirror(const float_array& half, bool odd, complex_array& coefficients)
{
    coefficients.assign(half.begin(), half.end());
    coefficients.insert(coefficients.end(), half.rbegin() + (odd ? 1 : 0), half.rend());
}
} // namespace

bool lib_fir_designer_t::_equiripple_method(const lib_fir_design_parameter_t& parameters, complex_array& coefficients)
{
    coefficients.clear();
    band_plan_t plan;
    if (!make_plan(parameters, plan))
        return false;

    double_array grid, desired, weight;
    if (!_initialize_remez_iteration(plan.order, parameters, plan.edges, plan.amplitudes, plan.weights, grid, desired, weight))
        return false;
    for (double& frequency : grid)
        frequency *= 0.5;
    for (double& frequency : plan.edges)
        frequency *= 0.5;

    const bool odd = is_odd_length(plan.order);
    double deviation = 0.0;
    float_array half;
    if (!_remez_iteration(plan.order, grid, plan.edges, desired, weight, false, odd, deviation, half))
    {
        common_log::print_trace_line("lib_fir_designer_t::_equiripple_method Report: Iteration NOT convergent!");
        return false;
    }
    if (!std::all_of(half.begin(), half.end(), [](float tap) { return std::isfinite(tap); }))
    {
        DMA_LOG_ERROR("lib_fir_designer_t::_equiripple_method: the exchange left no finite taps.\n");
        return false;
    }
    mirror(half, odd, coefficients);
    return true;
}

std::uint32_t lib_fir_designer_t::_get_equiripple_filter_order(const lib_fir_design_parameter_t& parameters)
{
    return parameters.is_fir_mimimum_order_enable() ? calculate_minimum_order(parameters) : parameters.get_fir_filter_order();
}

bool lib_fir_designer_t::_initialize_remez_iteration(std::uint32_t order, const lib_fir_design_parameter_t& parameters,
                                                     const double_array& edges, const double_array& amplitudes,
                                                     const double_array& weights, double_array& grid, double_array& desired,
                                                     double_array& weight)
{
    const bool odd = is_odd_length(order);
    const std::size_t cosines = count_cosines(order, false, odd);
    const std::uint32_t wanted = parameters.get_density_factor();
    std::uint32_t density = fit_density(wanted, cosines);
    if (density < wanted)
    {
        DMA_LOG_INFO(fmt::format("lib_fir_designer_t::_initialize_remez_iteration: density factor {} lowered to {}, the finest "
                                 "grid for order {}.\n",
                                 wanted, density, order));
    }
    _initialize_frequency_grid(order, parameters, density, grid, edges, false, odd);
    while (grid.size() < static_cast<std::size_t>(order) + 1)
    {
        if (4.0 * static_cast<double>(density) * static_cast<double>(cosines) > 1.0 / least_step)
        {
            DMA_LOG_ERROR("lib_fir_designer_t::_initialize_remez_iteration: the bands are too narrow for a grid.\n");
            return false;
        }
        density *= 4;
        _initialize_frequency_grid(order, parameters, density, grid, edges, false, odd);
    }
    _calculate_response_and_final_weight(edges, grid, weights, amplitudes, false, desired, weight);
    return true;
}

void lib_fir_designer_t::_initialize_frequency_grid(std::uint32_t order, const lib_fir_design_parameter_t&, std::uint32_t density,
                                                    double_array& grid, const double_array& edges, bool negative, bool odd)
{
    grid.clear();
    if (edges.size() < 2)
        return;
    const std::size_t cosines = std::max<std::size_t>(1, count_cosines(order, negative, odd));
    const double points = static_cast<double>(cosines) * static_cast<double>(std::max(density, 1u));
    const double step = std::max({ 1.0 / points, least_step, cal_total_width(edges) / largest_grid });

    double first = edges[0];
    if (negative && step > first && !(edges[0] > 1.4901161193847656e-8))
        first = edges[1] > step ? step : 0.5 * (edges[1] - edges[0]);
    for (std::size_t k = 0; k + 1 < edges.size(); k += 2)
    {
        grid.push_back(k == 0 ? first : edges[k]);
        append_band(grid, edges[k + 1], step);
    }
    if (negative == odd)
        clear_nyquist(grid, edges[(edges.size() / 2 - 1) * 2], step);
}

void lib_fir_designer_t::_calculate_response_and_final_weight(const double_array& edges, const double_array& grid,
                                                              const double_array& weights, const double_array& amplitudes,
                                                              bool flag, double_array& desired, double_array& weight)
{
    desired.assign(grid.size(), 0.0);
    weight.assign(grid.size(), 0.0);
    for (std::size_t band = 0; 2 * band + 1 < edges.size(); ++band)
    {
        const double lower = edges[2 * band], upper = edges[2 * band + 1];
        const double from = amplitudes.at(2 * band), to = amplitudes.at(2 * band + 1);
        const double slope = flag && to >= 0.0001 ? 1.0 : 0.0;
        const double band_weight = weights.at(band);
        for (std::size_t i = 0; i < grid.size(); ++i)
        {
            if (grid[i] < lower || grid[i] > upper)
                continue;
            desired[i] = upper == lower ? (from + to) / 2.0 : from + (to - from) * (grid[i] - lower) / (upper - lower);
            weight[i] = band_weight / (1.0 + (0.5 * grid[i] - 1.0) * slope);
        }
    }
}

bool lib_fir_designer_t::_remez_iteration(std::uint32_t order, double_array& grid, const double_array& frequencies,
                                          double_array& desired, double_array& weight, bool negative, bool odd, double& deviation,
                                          float_array& coefficients)
{
    coefficients.clear();
    if (desired.size() != grid.size() || weight.size() != grid.size())
        return false;
    divide_by_fixed_factor(grid, negative, odd, desired, weight);

    const std::size_t cosines = count_cosines(order, negative, odd);
    const sound_exchange_t exchange = run_sound_exchange({ grid, frequencies, desired, weight, negative, odd }, cosines);
    report_end(exchange.end, exchange.passes);
    if (!exchange.is_useful)
        return false;

    remez_result_t last = exchange.last;
    deviation = last.deviation;
    const std::size_t left_out = cosines + 1 - last.node.size();
    if (left_out > 0)
    {
        DMA_LOG_INFO(fmt::format("lib_fir_designer_t::_remez_iteration: rounding leaves nothing of order {}; the outer {} taps "
                                 "on either side are 0.\n",
                                 order, left_out));
    }
    _equiripple_method_ifft(grid, frequencies, last.node_weight, last.node, last.value, negative, odd, coefficients);
    coefficients.insert(coefficients.begin(), left_out, 0.0f);
    return true;
}

double lib_fir_designer_t::_calculate_quantities(std::int32_t index, std::int32_t spacing, const double_array& x)
{
    if (spacing < 1)
        return 1.0;
    return cal_node_weight(x, static_cast<std::size_t>(index), static_cast<std::size_t>(spacing));
}

void lib_fir_designer_t::_equiripple_method_ifft(const double_array& grid, const double_array& frequencies,
                                                 const double_array& ad, double_array& x, const double_array& y, bool negative,
                                                 bool odd, float_array& coefficients)
{
    coefficients.clear();
    if (ad.size() < 2 || x.size() != ad.size() || y.size() != ad.size())
        return;
    const std::size_t cosines = ad.size() - 1;
    x.push_back(-2.0);

    const cosine_span_t span = choose_span(grid, frequencies, cosines);
    const double_array half = cal_half_taps(cal_cosine_coefficients(x, ad, y, cosines, span), negative, odd);
    coefficients.reserve(half.size());
    for (const double tap : half)
        coefficients.push_back(static_cast<float>(tap));
}

bool lib_fir_designer_t::firpmord(const double_array& edges, const double_array& amplitudes, const double_array& deviations,
                                  std::uint32_t& order, double_array& edges_out, double_array& amplitudes_out,
                                  double_array& weights_out)
{
    order = 0;
    edges_out.clear();
    amplitudes_out.clear();
    weights_out.clear();
    const std::size_t bands = deviations.size();
    if (bands < 2 || amplitudes.size() != bands || edges.size() != 2 * (bands - 1))
        return false;

    double_array relative(bands);
    for (std::size_t band = 0; band < bands; ++band)
        relative[band] = deviations[band] / (amplitudes[band] == 0.0 ? 1.0 : amplitudes[band]);
    const auto lower = [&](std::size_t transition) { return 0.5 * edges[2 * transition]; };
    const auto upper = [&](std::size_t transition) { return 0.5 * edges[2 * transition + 1]; };

    double_array lengths;
    if (bands == 2)
        lengths.push_back(remlpord(lower(0), upper(0), relative[0], relative[1]));
    for (std::size_t i = 0; i + 2 < bands; ++i)
    {
        lengths.push_back(remlpord(lower(i), upper(i), relative[i + 1], relative[i]));
        lengths.push_back(remlpord(lower(i + 1), upper(i + 1), relative[i + 1], relative[i + 2]));
    }
    const double estimate = std::ceil(*std::max_element(lengths.begin(), lengths.end())) - 1.0;
    const double largest = *std::max_element(relative.begin(), relative.end());
    double_array weights;
    for (const double deviation : relative)
        weights.push_back(largest / deviation);
    if (!are_finite(lengths) || estimate > largest_estimate || !are_finite(weights))
        return false;

    order = static_cast<std::uint32_t>(std::max(2.0, estimate));
    edges_out.push_back(0.0);
    edges_out.insert(edges_out.end(), edges.begin(), edges.end());
    edges_out.push_back(1.0);
    for (const double amplitude : amplitudes)
        amplitudes_out.insert(amplitudes_out.end(), 2, amplitude);
    weights_out = std::move(weights);
    return true;
}

double lib_fir_designer_t::remlpord(const double& f1, const double& f2, double d1, double d2)
{
    constexpr double table[3][3] = { { -0.4278, -0.4761, 0.0 }, { -0.5941, 0.07114, 0.0 }, { -0.00266, 0.005309, 0.0 } };
    const double a1 = std::log10(d1);
    const double a2 = std::log10(d2);
    const auto column = [&](int c) { return table[0][c] + a1 * table[1][c] + a1 * a1 * table[2][c]; };
    const double product = column(0) + column(1) * a2 + column(2) * a2 * a2;
    const double width = std::abs(f2 - f1);
    const double slope = 11.01217 + 0.51244 * (a1 - a2);
    return product / width - slope * width + 1.0;
}
} // namespace vrim::fir_filter_lib
