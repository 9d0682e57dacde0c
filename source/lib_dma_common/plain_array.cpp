#include "lib_dma_common/plain_array.h"

#include "support/internal/complex_ops.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace vrim::dma_demod_lib
{
float sinc(float x)
{
    const double wide = static_cast<double>(x);
    if (std::abs(wide) < 1e-12)
        return 1.0f;
    const double angle = common_lib::pi * wide;
    return static_cast<float>(std::sin(angle) / angle);
}

void upsample(int type, std::uint32_t factor, std::uint32_t length, const float* in_i, const float* in_q, float* out_i,
              float* out_q)
{
    if (factor == 0 || in_i == nullptr || in_q == nullptr || out_i == nullptr || out_q == nullptr)
        return;
    const std::size_t count = static_cast<std::size_t>(length) * factor;
    std::fill(out_i, out_i + count, 0.0f);
    std::fill(out_q, out_q + count, 0.0f);
    if (type == 0)
        return;
    for (std::size_t i = 0; i < length; ++i)
    {
        out_i[i * factor] = in_i[i];
        out_q[i * factor] = in_q[i];
    }
}
} // namespace vrim::dma_demod_lib
