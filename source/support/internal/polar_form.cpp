#include "support/internal/polar_form.h"

#include "support/internal/complex_ops.h"
#include "support/internal/vector_clones.h"

#include <cmath>
#include <limits>

namespace vrim::common_lib
{
namespace
{
/// @param parts  real and imaginary parts in turn
/// @return whether all points have an angle: finite parts that are not both 0. What stands for the others means nothing.
DMA_VECTOR_CLONES
bool fill_finite_phases(const float* parts, std::size_t count, float* out)
{
    constexpr float largest = std::numeric_limits<float>::max();
    int odd = 0;
    for (std::size_t i = 0; i < count; ++i)
    {
        const float re = std::abs(parts[2 * i]);
        const float im = std::abs(parts[2 * i + 1]);
        odd |= re <= largest ? 0 : 1;
        odd |= im <= largest ? 0 : 1;
        odd |= re + im > 0.0f ? 0 : 1;
        out[i] = static_cast<float>(angle_of_finite(static_cast<double>(parts[2 * i + 1]), static_cast<double>(parts[2 * i])));
    }
    return odd == 0;
}
} // namespace

DMA_VECTOR_CLONES
void fill_amplitudes(const std::complex<float>* in, std::size_t count, float* out)
{
    for (std::size_t i = 0; i < count; ++i)
    {
        const double re = static_cast<double>(in[i].real());
        const double im = static_cast<double>(in[i].imag());
        out[i] = static_cast<float>(std::sqrt(re * re + im * im));
    }
}

void fill_phases(const std::complex<float>* in, std::size_t count, float* out)
{
    // A complex array may be read as twice as many floats, real and imaginary parts in turn.
    if (fill_finite_phases(reinterpret_cast<const float*>(in), count, out))
        return;
    // Zeros, infinities and the like came out as not-a-number or plainly wrong.
    for (std::size_t i = 0; i < count; ++i)
    {
        if (!is_finite(in[i]) || (in[i].real() == 0.0f && in[i].imag() == 0.0f))
            out[i] = phase_of(in[i]);
    }
}
} // namespace vrim::common_lib
