#include "fir_filter/internal/remez_taps.h"

#include "fir_filter/internal/barycentric.h"
#include "support/internal/trigonometry.h"
#include "support/internal/vector_clones.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>

namespace vrim::fir_filter_lib
{
namespace
{
/// Values of the interpolation at the first half of 2 count - 1 places that are spread evenly around the circle.
double_array sample_polynomial(const double_array& node, const double_array& node_weight, const double_array& value,
                               std::size_t count, const cosine_span_t& span)
{
    const double scale = 2.0 / (span.first - span.last);
    const double shift = -(span.first + span.last) / (span.first - span.last);

    interpolation_t interpolation;
    interpolation.assign(node, node_weight, value, node_weight.size());
    double_array samples(count);
    for (std::size_t i = 0; i < count; ++i)
    {
        const double angle = 2.0 * std::numbers::pi * static_cast<double>(i) / static_cast<double>(2 * count - 1);
        samples[i] = interpolation.at((common_lib::cosine_of(angle) - shift) / scale);
    }
    return samples;
}

/// Cosine sums of an even sequence of odd period, given by its first half.
double_array transform_even(const double_array& samples)
{
    const std::size_t count = samples.size();
    const std::size_t period = 2 * count - 1;
    double_array cosine(period);
    for (std::size_t i = 0; i < period; ++i)
        cosine[i] = common_lib::cosine_of(2.0 * std::numbers::pi * static_cast<double>(i) / static_cast<double>(period));

    double_array sums(count);
    for (std::size_t j = 0; j < count; ++j)
    {
        double sum = 0.0;
        std::size_t turn = 0;
        for (std::size_t k = 1; k < count; ++k)
        {
            turn += j;
            turn -= turn >= period ? period : 0;
            sum += samples[k] * cosine[turn];
        }
        sums[j] = (2.0 * sum + samples[0]) * (j == 0 ? 1.0 : 2.0) / static_cast<double>(period);
    }
    return sums;
}

/// Adds scale * x times a Chebyshev series to another: x T_0 = T_1 and x T_k = (T_(k-1) + T_(k+1)) / 2.
void add_times_x(const double_array& series, double scale, double_array& out)
{
    out[1] += scale * series[0];
    for (std::size_t k = 1; k + 1 < series.size(); ++k)
    {
        out[k - 1] += 0.5 * scale * series[k];
        out[k + 1] += 0.5 * scale * series[k];
    }
}

/// Chebyshev series in x of a series in u = scale * x + shift, by Clenshaw's recurrence on series.
double_array map_series(const double_array& in_u, double scale, double shift)
{
    const std::size_t count = in_u.size();
    // One place more than the degree asks for, so that the top term can be shifted.
    double_array present(count + 1, 0.0), before(count + 1, 0.0), next(count + 1);
    for (std::size_t j = count; j-- > 0;)
    {
        // The last step takes u once, the others twice.
        const double turns = j == 0 ? 1.0 : 2.0;
        for (std::size_t k = 0; k <= count; ++k)
            next[k] = turns * shift * present[k] - before[k];
        add_times_x(present, turns * scale, next);
        next[0] += in_u[j];
        before.swap(present);
        present.swap(next);
    }
    present.resize(count);
    return present;
}

constexpr std::size_t place_lanes = 32;

/// Values of a cosine polynomial at many places side by side, by Clenshaw's recurrence.
DMA_VECTOR_CLONES
void evaluate_polynomial(const double* cosine, std::size_t count, const double* place, double* value)
{
    double present[place_lanes] = {}, before[place_lanes] = {};
    for (std::size_t k = count; k-- > 1;)
    {
        const double coefficient = cosine[k];
        for (std::size_t lane = 0; lane < place_lanes; ++lane)
        {
            const double next = coefficient + 2.0 * place[lane] * present[lane] - before[lane];
            before[lane] = present[lane];
            present[lane] = next;
        }
    }
    for (std::size_t lane = 0; lane < place_lanes; ++lane)
        value[lane] = cosine[0] + place[lane] * present[lane] - before[lane];
}
} // namespace

cosine_span_t choose_span(const double_array& grid, const double_array& frequencies, std::size_t cosines)
{
    const bool whole_axis = frequencies.empty() || (frequencies.front() == 0.0 && frequencies.back() == 0.5);
    if (whole_axis || cosines < 4 || grid.empty())
        return {};
    const cosine_span_t covered = { common_lib::cosine_of(2.0 * std::numbers::pi * grid.front()),
                                    common_lib::cosine_of(2.0 * std::numbers::pi * grid.back()) };
    return covered.first > covered.last ? covered : cosine_span_t{};
}

double_array cal_cosine_coefficients(const double_array& node, const double_array& node_weight, const double_array& value,
                                     std::size_t cosines, const cosine_span_t& span)
{
    const double_array series = transform_even(sample_polynomial(node, node_weight, value, cosines, span));
    if (span.first == 1.0 && span.last == -1.0)
        return series;
    return map_series(series, 2.0 / (span.first - span.last), -(span.first + span.last) / (span.first - span.last));
}

response_check_t check_response(const double_array& cosine, const double_array& grid, const double_array& desired,
                                const double_array& weight, const remez_result_t& result)
{
    constexpr double single_precision = 1.0e-7;
    const double reach = (result.end == remez_end_t::settled ? 1.01 : 2.0) * result.deviation;
    response_check_t check;
    std::array<double, place_lanes> place, value;
    for (std::size_t first = 0; first < grid.size(); first += place_lanes)
    {
        const std::size_t used = std::min(place_lanes, grid.size() - first);
        for (std::size_t lane = 0; lane < place_lanes; ++lane)
            place[lane] = common_lib::cosine_of(2.0 * std::numbers::pi * grid[first + std::min(lane, used - 1)]);
        evaluate_polynomial(cosine.data(), cosine.size(), place.data(), value.data());
        for (std::size_t lane = 0; lane < used; ++lane)
        {
            const std::size_t i = first + lane;
            const double error = weight[i] * std::abs(value[lane] - desired[i]);
            if (!std::isfinite(error))
                return { false, std::numeric_limits<double>::infinity() };
            check.error = std::max(check.error, error);
            check.follows = check.follows && error <= reach + weight[i] * single_precision * (1.0 + std::abs(desired[i]));
        }
    }
    return check;
}

double_array cal_half_taps(const double_array& cosine, bool negative, bool odd)
{
    const std::size_t count = cosine.size();
    const auto a = [&](std::size_t k) { return k < count ? cosine[k] : 0.0; };
    double_array half;
    half.reserve(count + 1);
    for (std::size_t k = count - 1; k > 0; --k)
    {
        // Products of cosines with cos(pi f), sin(2 pi f) and sin(pi f) are halved sums of neighbours.
        if (negative)
            half.push_back(0.25 * (a(k) - a(k + (odd ? 2 : 1))));
        else
            half.push_back(odd ? 0.5 * a(k) : 0.25 * (a(k) + a(k + 1)));
    }
    if (negative)
        half.push_back(0.5 * a(0) - 0.25 * a(odd ? 2 : 1));
    else
        half.push_back(odd ? a(0) : 0.25 * (2.0 * a(0) + a(1)));
    if (negative && odd)
        half.push_back(0.0);
    return half;
}
} // namespace vrim::fir_filter_lib
