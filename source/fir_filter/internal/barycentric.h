#pragma once

#include "dma_types.h"

#include <cstddef>

namespace vrim::fir_filter_lib
{
/// One over the product of 2 (x[index] - x[j]), factors of 0 left out, taken in `spacing` interleaved groups.
double cal_node_weight(const double_array& x, std::size_t index, std::size_t spacing);

/// Barycentric weights of all nodes. Only their ratios count: should one leave the range of a double, all are scaled by the
/// power of two that brings the largest near 1.
void cal_node_weights(const double_array& x, std::size_t spacing, double_array& weights);

/// Polynomial through nodes, by the barycentric Lagrange formula.
/// Source: J.-P. Berrut, L. N. Trefethen, "Barycentric Lagrange interpolation", SIAM Rev. 46(3), 2004.
class interpolation_t
{
public:
    /// Takes the first `count` entries of each.
    void assign(const double_array& node, const double_array& weight, const double_array& value, std::size_t count);
    std::size_t get_count() const { return count_; }
    /// Not-a-number where the formula has no finite value.
    double at(double place) const;

private:
    double value_of_node(double place) const;

    double_array node_, weight_, value_;
    std::size_t count_ = 0;
};
} // namespace vrim::fir_filter_lib
