#include "signal_random.h"

#include <cmath>
#include <numbers>

namespace dma_test
{
double signal_random_t::get_normal()
{
    if (spare_flag_)
    {
        spare_flag_ = false;
        return spare_;
    }
    // 1 - u lies above 0, so that the logarithm is finite.
    const double radius = std::sqrt(-2.0 * std::log(1.0 - get_uniform()));
    const double angle = 2.0 * std::numbers::pi * get_uniform();
    spare_ = radius * std::sin(angle);
    spare_flag_ = true;
    return radius * std::cos(angle);
}
} // namespace dma_test
