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

/// The whole axis where the bands reach both its ends, or for less than four cosines; else what the grid covers.
/// @param grid, frequencies  grid and band edges relative to the sample rate
cosine_span_t choose_span(const double_array& grid, const double_array& frequencies, std::size_t cosines);

/// Coefficients a[k] of cos(2 pi k f) of the polynomial through the nodes.
/// @param node   cosines; what stands behind the last weight is not looked at
/// @param span   the whole axis, or the part that holds the nodes where they leave out an end of it
double_array cal_cosine_coefficients(const double_array& node, const double_array& node_weight, const double_array& value,
                                     std::size_t cosines, const cosine_span_t& span);

/// How a cosine polynomial keeps to the desired response on the grid of an exchange.
struct response_check_t
{
    bool follows =
        true; ///< within the deviation if it settled, else within twice that; or within single precision if that is more
    double error = 0.0; ///< largest weighted error; infinite where one is not finite
};

/// @param grid, desired, weight, result  of the exchange
response_check_t check_response(const double_array& cosine, const double_array& grid, const double_array& desired,
                                const double_array& weight, const remez_result_t& result);

/// First half of the impulse response, the middle tap with it where the count of taps is odd.
/// @param cosine    coefficients of the cosine polynomial
/// @param negative  antisymmetric impulse response
/// @param odd       odd count of taps
double_array cal_half_taps(const double_array& cosine, bool negative, bool odd);
} // namespace vrim::fir_filter_lib
