#include "support/lib_common_signal_process.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

using namespace vrim;
using common_lib::lib_common_signal_process_t;

TEST(SupportMixer, TurnsEachElementByItsOwnAngle)
{
    for (const double frequency : { 0.0, 0.013, -0.25, 0.4999, 3.2 })
    {
        complex_array data(5000, { 0.8f, -0.6f });
        lib_common_signal_process_t::deal_mixer(data, frequency, 0.9);
        for (std::size_t n = 0; n < data.size(); ++n)
        {
            const long double turns = static_cast<long double>(frequency) * static_cast<long double>(n);
            const double angle = static_cast<double>(2.0L * std::numbers::pi_v<long double> * (turns - std::floor(turns))) + 0.9;
            const std::complex<double> expected = std::polar(1.0, angle) * std::complex<double>(0.8, -0.6);
            EXPECT_LT(std::abs(std::complex<double>(data[n]) - expected), 3e-7) << frequency << " at " << n;
        }
    }
}

TEST(SupportMixer, StaysExactFarOut)
{
    // A recurrence would have drifted by now.
    complex_array data(2'000'001, { 1.0f, 0.0f });
    lib_common_signal_process_t::deal_mixer(data, 0.125, 0.0);
    EXPECT_NEAR(data[2'000'000].real(), 1.0f, 1e-7f);
    EXPECT_NEAR(data[1'999'999].imag(), static_cast<float>(-std::numbers::sqrt2 / 2.0), 1e-6f);
}

TEST(SupportMixer, TakesAnEmptyArray)
{
    complex_array data;
    lib_common_signal_process_t::deal_mixer(data, 0.1, 0.0);
    EXPECT_TRUE(data.empty());
}
