#pragma once

#include "dma_types.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vrim::fir_filter_lib
{
/// Bounds of one exchange.
struct remez_limits_t
{
    std::uint32_t passes = 250;
    /// Terms of the interpolation formula that may be evaluated: one for each grid point looked at and node.
    double terms = 8.0e9;
};

/// Why an exchange ended.
enum class remez_end_t
{
    settled,  ///< no extremal moved: the approximation is the best one on the grid
    rounding, ///< the deviation did not grow any more
    passes,   ///< pass limit
    work,     ///< term limit
    no_grid,  ///< the arrays do not fit together, or the grid has fewer points than the exchange has nodes
};

/// The last interpolation of an exchange, one node at each extremal.
struct remez_result_t
{
    /// Rising indices of the grid.
    std::vector<std::size_t> extremals;
    double_array node;        ///< cos(2 pi f)
    double_array node_weight; ///< barycentric weights up to a common factor
    double_array value;       ///< of the cosine polynomial
    double deviation = 0.0;   ///< magnitude of the weighted error at each node
    std::uint32_t passes = 0;
    double terms = 0.0; ///< evaluated
    remez_end_t end = remez_end_t::no_grid;
};

/// Weighted Chebyshev approximation by a sum of cosines. The error at the extremals alternates in sign.
/// @param grid     rising frequencies relative to the sample rate, 0 to 0.5
/// @param desired  on the grid
/// @param weight   on the grid, above 0
/// @param cosines  count of cosine functions, the constant among them; the exchange has one node more
/// @param like     extremals of another count on this grid that show how to spread the first ones; evenly with none
/// Source: J. H. McClellan, T. W. Parks, L. R. Rabiner, "A computer program for designing optimum FIR linear phase
/// digital filters", IEEE Trans. Audio Electroacoust. 21(6), 1973.
remez_result_t run_remez_exchange(const double_array& grid, const double_array& desired, const double_array& weight,
                                  std::size_t cosines, const remez_limits_t& limits = {},
                                  const std::vector<std::size_t>& like = {});
} // namespace vrim::fir_filter_lib
