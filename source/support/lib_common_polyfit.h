#pragma once

#include "dma_export.h"
#include "dma_types.h"

#include <cstdint>

namespace vrim::common_lib
{
/// Least-squares polynomials.
class DMA_DEMOD_EXPORT lib_dma_common_polyfit_t
{
public:
    /// @param order         1 a line, 2 a parabola; any other gives false
    /// @param coefficients  highest power first
    static bool deal_polyfit(float_array x, float_array y, std::uint32_t order, float_array& coefficients);
    /// Line through points: sums in double over products formed in single precision.
    /// @param coefficients  slope, intercept; not-a-number where the points do not settle them
    /// @return false when the arrays differ in length
    static bool deal_line_polyfit(const float_array& x, const float_array& y, float_array& coefficients);
    /// Parabola through points.
    /// @param coefficients  a, b, c of a x^2 + b x + c; not-a-number where the points do not settle them
    /// @return false when the arrays differ in length
    static bool deal_curve_polyfit(const float_array& x, const float_array& y, float_array& coefficients);
};
} // namespace vrim::common_lib
