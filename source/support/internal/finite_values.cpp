#include "support/internal/finite_values.h"

#include "support/internal/vector_clones.h"

#include <cmath>
#include <complex>
#include <cstddef>
#include <limits>

namespace vrim::common_lib
{
namespace
{
/// `finite_or_zero`, selected: loops of it become vector code.
inline std::complex<float> take_finite(std::complex<float> value)
{
    constexpr float largest = std::numeric_limits<float>::max();
    const bool finite = (std::abs(value.real()) <= largest) & (std::abs(value.imag()) <= largest);
    return { finite ? value.real() : 0.0f, finite ? value.imag() : 0.0f };
}

DMA_VECTOR_CLONES
void replace(std::complex<float>* data, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        data[i] = take_finite(data[i]);
}

DMA_VECTOR_CLONES
void scale(float gain, std::complex<float>* data, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
    {
        const std::complex<float> value = take_finite(data[i]);
        data[i] = { value.real() * gain, value.imag() * gain };
    }
}

DMA_VECTOR_CLONES
void divide(float divisor, std::complex<float>* data, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
    {
        const std::complex<float> value = take_finite(data[i]);
        data[i] = { value.real() / divisor, value.imag() / divisor };
    }
}
} // namespace

void replace_infinite(complex_array& data)
{
    replace(data.data(), data.size());
}

void scale_finite(float gain, complex_array& data)
{
    scale(gain, data.data(), data.size());
}

void divide_finite(float divisor, complex_array& data)
{
    divide(divisor, data.data(), data.size());
}
} // namespace vrim::common_lib
