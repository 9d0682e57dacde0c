#pragma once

#include "dma_types.h"
#include "fir_filter/internal/remez_exchange.h"

#include <cstddef>

namespace vrim::fir_filter_lib
{
/// Part of the cosine axis on which the interpolation is sampled for its coefficients.
struct cosine_span_t
{
    double first = 1.0;
    double last = -1.0;
};

/// Coefficients a[k] of cos(2 pi k f) of the polynomial through the nodes.
/// @param node   cosines; what stands behind the last weight is not looked at
/// @param span   the whole axis, or the part that holds the nodes where they leave out an end of it
double_array cal_cosine_coefficients(const double_array& node, const double_array& node_weight, const double_array& value,
                                     std::size_t cosines, const cosine_span_t& span);

/// Whether a cosine polynomial follows the desired response on the grid: within the deviation where the exchange settled, within
/// twice the deviation where it did not, and within single precision where that is more.
/// @param grid, desired, weight, result  of the exchange
bool does_follow(const double_array& cosine, const double_array& grid, const double_array& desired, const double_array& weight,
                 const remez_result_t& result);

/// First half of the impulse response, the middle tap with it where the count of taps is odd.
/// @param cosine    coefficients of the cosine polynomial
/// @param negative  antisymmetric impulse response
/// @param odd       odd count of taps
double_array cal_half_taps(const double_array& cosine, bool negative, bool odd);
} // namespace vrim::fir_filter_lib
