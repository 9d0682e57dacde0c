#include "fir_filter/internal/barycentric.h"

#include "support/internal/vector_clones.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

namespace vrim::fir_filter_lib
{
namespace
{
constexpr std::size_t product_lanes = 16;

/// Products of 2 (at[lane] - x[j]) over j = offset, offset + spacing, ... for all lanes side by side, factors of 0 left out.
DMA_VECTOR_CLONES
void cal_group_products(const double* x, std::size_t count, std::size_t offset, std::size_t spacing, const double* at,
                        double* product)
{
    double running[product_lanes];
    for (std::size_t lane = 0; lane < product_lanes; ++lane)
        running[lane] = 1.0;
    for (std::size_t j = offset; j < count; j += spacing)
    {
        const double other = x[j];
        for (std::size_t lane = 0; lane < product_lanes; ++lane)
        {
            const double factor = 2.0 * (at[lane] - other);
            running[lane] *= factor == 0.0 ? 1.0 : factor;
        }
    }
    for (std::size_t lane = 0; lane < product_lanes; ++lane)
        product[lane] = running[lane];
}

/// A product whose range is not that of a double. Powers of two move to the exponent only where they have to, so that
/// products in range keep their bits.
struct scaled_product_t
{
    double mantissa = 1.0;
    int exponent = 0;

    void multiply(double factor)
    {
        // Sixteen factors that are not 0 stay above 1e-260.
        constexpr double largest = 1.0e40, smallest = 1.0e-40;
        mantissa *= factor;
        const double magnitude = std::abs(mantissa);
        if (magnitude > largest || magnitude < smallest)
        {
            int moved = 0;
            mantissa = std::frexp(mantissa, &moved);
            exponent += moved;
        }
    }
    double reciprocal(int common_exponent) const { return std::ldexp(1.0 / mantissa, common_exponent - exponent); }
};

using product_block_t = std::array<scaled_product_t, product_lanes>;

/// Products of the differences of each place in `at` from all of `x`, group by group.
product_block_t cal_products(const double_array& x, std::size_t spacing, const std::array<double, product_lanes>& at)
{
    product_block_t block;
    std::array<double, product_lanes> group;
    for (std::size_t offset = 0; offset < spacing; ++offset)
    {
        cal_group_products(x.data(), x.size(), offset, spacing, at.data(), group.data());
        for (std::size_t lane = 0; lane < product_lanes; ++lane)
            block[lane].multiply(group[lane]);
    }
    return block;
}

constexpr std::size_t sum_lanes = 8;
using lane_t = double __attribute__((vector_size(sum_lanes * sizeof(double))));

/// Both sums of the barycentric formula at one place, in eight interleaved partial sums each.
/// @param count  a multiple of eight
DMA_VECTOR_CLONES
void cal_barycentric_sums(const double* node, const double* weight, const double* value, std::size_t count, double place,
                          double* sums)
{
    lane_t above = {}, below = {};
    for (std::size_t k = 0; k < count; k += sum_lanes)
    {
        lane_t x, w, y;
        std::memcpy(&x, node + k, sizeof x);
        std::memcpy(&w, weight + k, sizeof w);
        std::memcpy(&y, value + k, sizeof y);
        const lane_t term = w / (place - x);
        above += term * y;
        below += term;
    }
    sums[0] = ((above[0] + above[1]) + (above[2] + above[3])) + ((above[4] + above[5]) + (above[6] + above[7]));
    sums[1] = ((below[0] + below[1]) + (below[2] + below[3])) + ((below[4] + below[5]) + (below[6] + below[7]));
}
} // namespace

double cal_node_weight(const double_array& x, std::size_t index, std::size_t spacing)
{
    std::array<double, product_lanes> at;
    at.fill(x.at(index));
    return cal_products(x, spacing, at).front().reciprocal(0);
}

void cal_node_weights(const double_array& x, std::size_t spacing, double_array& weights)
{
    std::vector<scaled_product_t> products;
    products.reserve(x.size() + product_lanes);
    for (std::size_t first = 0; first < x.size(); first += product_lanes)
    {
        std::array<double, product_lanes> at;
        for (std::size_t lane = 0; lane < product_lanes; ++lane)
            at[lane] = x[std::min(first + lane, x.size() - 1)];
        const product_block_t block = cal_products(x, spacing, at);
        products.insert(products.end(), block.begin(), block.end());
    }
    products.resize(x.size());

    int common = std::numeric_limits<int>::max();
    for (const scaled_product_t& product : products)
        common = std::min(common, product.exponent);
    weights.resize(x.size());
    for (std::size_t k = 0; k < x.size(); ++k)
        weights[k] = products[k].reciprocal(common);
}

void interpolation_t::assign(const double_array& node, const double_array& weight, const double_array& value, std::size_t count)
{
    // Nodes that pad to whole lanes stand off the axis and weigh nothing.
    const std::size_t padded = (count + sum_lanes - 1) / sum_lanes * sum_lanes;
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
