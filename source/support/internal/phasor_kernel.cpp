#include "support/internal/phasor_kernel.h"

#include "support/internal/complex_ops.h"
#include "support/internal/trigonometry.h"
#include "support/internal/vector_clones.h"

#include <algorithm>
#include <array>

namespace vrim::common_lib
{
namespace
{
constexpr std::size_t block_samples = 256;

/// Sine and cosine alone take the widest vectors: there is no complex product in them.
DMA_VECTOR_CLONES
void fill_phasors(const float* angles, std::size_t count, float* cosines, float* sines)
{
    for (std::size_t i = 0; i < count; ++i)
    {
        const sine_cosine_t turn = sine_cosine_reduced(-static_cast<double>(angles[i]));
        cosines[i] = static_cast<float>(turn.cosine);
        sines[i] = static_cast<float>(turn.sine);
    }
}

DMA_COMPLEX_CLONES
void multiply_phasors(const float* cosines, const float* sines, std::size_t count, std::complex<float>* data)
{
    for (std::size_t i = 0; i < count; ++i)
        data[i] = complex_product(data[i], { cosines[i], sines[i] });
}
} // namespace

void turn_back_reduced(const float* angles, std::size_t count, std::complex<float>* data)
{
    std::array<float, block_samples> cosines;
    std::array<float, block_samples> sines;
    for (std::size_t start = 0; start < count; start += block_samples)
    {
        const std::size_t length = std::min(block_samples, count - start);
        fill_phasors(angles + start, length, cosines.data(), sines.data());
        multiply_phasors(cosines.data(), sines.data(), length, data + start);
    }
}
} // namespace vrim::common_lib
