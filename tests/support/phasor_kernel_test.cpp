#include "support/internal/phasor_kernel.h"

#include "dma_types.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>

using namespace vrim;

TEST(PhasorKernel, TurnsEachSampleBackByItsAngle)
{
    // Lengths around the block that is turned at once.
    for (const std::size_t count :
         { std::size_t(0), std::size_t(1), std::size_t(255), std::size_t(256), std::size_t(257), std::size_t(1000) })
    {
        float_array angles(count);
        complex_array data(count);
        for (std::size_t i = 0; i < count; ++i)
        {
            const double k = static_cast<double>(i);
            angles[i] = static_cast<float>((i % 2 == 0 ? 1.0 : -1.0) * std::pow(10.0, 6.0 * k / 1000.0));
            data[i] = std::complex<float>(std::polar(1.0 + 0.001 * k, 0.37 * k));
        }
        complex_array turned = data;
        common_lib::turn_back_reduced(angles.data(), count, turned.data());
        for (std::size_t i = 0; i < count; ++i)
        {
            const std::complex<double> expected =
                std::complex<double>(data[i]) * std::polar(1.0, -static_cast<double>(angles[i]));
            EXPECT_LT(std::abs(std::complex<double>(turned[i]) - expected), 3e-7 * std::abs(expected)) << i << " of " << count;
        }
    }
}
