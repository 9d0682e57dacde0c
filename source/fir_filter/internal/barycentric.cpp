#include "fir_filter/internal/barycentric.h"

#include "support/internal/vector_clones.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

namespace vrim::fir_filter_lib
{
namespace
{
constexpr std::size_t lanes = 8;
using lane_t = double __attribute__((vector_size(lanes * sizeof(double))));
/// The same at any address of an array.
using array_lane_t = double __attribute__((vector_size(lanes * sizeof(double)), aligned(sizeof(double)), may_alias));

constexpr std::size_t product_lanes = 4 * lanes;

/// Multiplies `product` by the product of at[lane] - x[j] over j = offset, offset + spacing, ..., factors of 0 left out.
/// Four chains of multiplications run side by side.
DMA_VECTOR_CLONES
void multiply_by_group(const double* x, std::size_t count, std::size_t offset, std::size_t spacing, const double* at,
                       double* product)
{
    const auto* place = reinterpret_cast<const array_lane_t*>(at);
    const lane_t p0 = place[0], p1 = place[1], p2 = place[2], p3 = place[3];
    const lane_t one = 1.0 - lane_t{};
    lane_t g0 = one, g1 = one, g2 = one, g3 = one;
    for (std::size_t j = offset; j < count; j += spacing)
    {
        const lane_t d0 = p0 - x[j], d1 = p1 - x[j], d2 = p2 - x[j], d3 = p3 - x[j];
        g0 *= d0 == 0.0 ? one : d0;
        g1 *= d1 == 0.0 ? one : d1;
        g2 *= d2 == 0.0 ? one : d2;
        g3 *= d3 == 0.0 ? one : d3;
    }
    auto* out = reinterpret_cast<array_lane_t*>(product);
    out[0] *= g0;
    out[1] *= g1;
    out[2] *= g2;
    out[3] *= g3;
}

/// Products of node differences, whose range is not that of a double. Powers of two move to the exponents only where they
/// have to, so that products in range keep their bits.
struct product_block_t
{
    std::array<double, product_lanes> mantissa;
    std::array<int, product_lanes> exponent;

    void keep_in_range()
    {
        // The next group has at most sixteen factors, which are not 0 and so above 1e-16 each.
        constexpr double largest = 1.0e40, smallest = 1.0e-40;
        for (std::size_t lane = 0; lane < product_lanes; ++lane)
        {
            const double magnitude = std::abs(mantissa[lane]);
            if (magnitude > largest || magnitude < smallest)
            {
                int moved = 0;
                mantissa[lane] = std::frexp(mantissa[lane], &moved);
                exponent[lane] += moved;
            }
        }
    }
};

/// Products of the differences of each place in `at` from all of `x`, group by group.
/// @param at, x  doubled
product_block_t cal_products(const double_array& x, std::size_t spacing, const std::array<double, product_lanes>& at)
{
    product_block_t block;
    block.mantissa.fill(1.0);
    block.exponent.fill(0);
    for (std::size_t offset = 0; offset < spacing; ++offset)
    {
        multiply_by_group(x.data(), x.size(), offset, spacing, at.data(), block.mantissa.data());
        block.keep_in_range();
    }
    return block;
}

double_array make_doubled(const double_array& x)
{
    double_array doubled(x);
    for (double& value : doubled)
        value *= 2.0;
    return doubled;
}

/// Both sums of the barycentric formula at one place, in eight interleaved partial sums each. Two terms share a division,
/// which is what the sums cost.
/// @param count  a multiple of sixteen
DMA_VECTOR_CLONES
void cal_barycentric_sums(const double* node, const double* weight, const double* value, std::size_t count, double place,
                          double* sums)
{
    const auto* x = reinterpret_cast<const array_lane_t*>(node);
    const auto* w = reinterpret_cast<const array_lane_t*>(weight);
    const auto* y = reinterpret_cast<const array_lane_t*>(value);
    lane_t above = {}, below = {};
    for (std::size_t k = 0; k < count / lanes; k += 2)
    {
        const lane_t first = place - x[k], second = place - x[k + 1];
        const lane_t inverse = 1.0 / (first * second);
        const lane_t first_term = w[k] * second, second_term = w[k + 1] * first;
        above += (first_term * y[k] + second_term * y[k + 1]) * inverse;
        below += (first_term + second_term) * inverse;
    }
    sums[0] = ((above[0] + above[1]) + (above[2] + above[3])) + ((above[4] + above[5]) + (above[6] + above[7]));
    sums[1] = ((below[0] + below[1]) + (below[2] + below[3])) + ((below[4] + below[5]) + (below[6] + below[7]));
}
} // namespace

double cal_node_weight(const double_array& x, std::size_t index, std::size_t spacing)
{
    std::array<double, product_lanes> at;
    at.fill(2.0 * x.at(index));
    const product_block_t block = cal_products(make_doubled(x), spacing, at);
    return std::ldexp(1.0 / block.mantissa[0], -block.exponent[0]);
}

void cal_node_weights(const double_array& x, std::size_t spacing, double_array& weights)
{
    const double_array doubled = make_doubled(x);
    weights.resize(x.size());
    std::vector<int> exponents(x.size());
    for (std::size_t first = 0; first < x.size(); first += product_lanes)
    {
        const std::size_t used = std::min(product_lanes, x.size() - first);
        std::array<double, product_lanes> at;
        for (std::size_t lane = 0; lane < product_lanes; ++lane)
            at[lane] = doubled[first + std::min(lane, used - 1)];
        const product_block_t block = cal_products(doubled, spacing, at);
        for (std::size_t lane = 0; lane < used; ++lane)
        {
            weights[first + lane] = 1.0 / block.mantissa[lane];
            exponents[first + lane] = block.exponent[lane];
        }
    }
    if (weights.empty())
        return;
    const int common = *std::min_element(exponents.begin(), exponents.end());
    for (std::size_t k = 0; k < weights.size(); ++k)
        weights[k] = std::ldexp(weights[k], common - exponents[k]);
}

void interpolation_t::assign(const double_array& node, const double_array& weight, const double_array& value, std::size_t count)
{
    // Nodes that pad to whole lanes stand off the axis and weigh nothing.
    const std::size_t padded = (count + 2 * lanes - 1) / (2 * lanes) * (2 * lanes);
    const auto end = static_cast<std::ptrdiff_t>(count);
    node_.assign(node.begin(), node.begin() + end);
    weight_.assign(weight.begin(), weight.begin() + end);
    value_.assign(value.begin(), value.begin() + end);
    node_.resize(padded, 2.0);
    weight_.resize(padded, 0.0);
    value_.resize(padded, 0.0);
    count_ = count;
}

double interpolation_t::at(double place) const
{
    double sums[2];
    cal_barycentric_sums(node_.data(), weight_.data(), value_.data(), node_.size(), place, sums);
    const double ratio = sums[0] / sums[1];
    return std::isfinite(ratio) ? ratio : value_of_node(place);
}

/// The formula divides by 0 on a node.
double interpolation_t::value_of_node(double place) const
{
    for (std::size_t k = 0; k < count_; ++k)
    {
        if (node_[k] == place)
            return value_[k];
    }
    return std::numeric_limits<double>::quiet_NaN();
}
} // namespace vrim::fir_filter_lib
