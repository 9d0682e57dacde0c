#include "lib_dma_common/sinc.h"

#include "support/internal/complex_ops.h"

#include <cmath>

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
} // namespace vrim::dma_demod_lib
