#include "support/lib_fir_filter_design.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>
#include <numbers>

using namespace vrim;
using common_lib::lib_fir_filter_design_t;

namespace
{
constexpr double pi = std::numbers::pi;

complex_array design(std::uint32_t order, float cutoff, std::uint32_t window)
{
    lib_fir_filter_design_t designer;
    designer.set_filter_order(order);
    designer.set_cutoff_freq(cutoff);
    designer.set_window_type(window);
    EXPECT_TRUE(designer.generate_fir_filter());
    return designer.get_filter_data();
}

/// Magnitude at a frequency relative to half the sample rate.
double response_of(const complex_array& taps, double frequency)
{
    std::complex<double> sum = 0.0;
    for (std::size_t i = 0; i < taps.size(); ++i)
        sum += std::complex<double>(taps[i]) * std::polar(1.0, -pi * frequency * static_cast<double>(i));
    return std::abs(sum);
}
} // namespace

TEST(FirFilterDesign, IsAWindowedSincOfUnitGain)
{
    const std::uint32_t order = 64;
    const double cutoff = 0.25;
    const complex_array taps = design(order, static_cast<float>(cutoff), 5);
    ASSERT_EQ(taps.size(), order + 1);
    double_array expected(order + 1);
    double sum = 0.0;
    for (std::uint32_t i = 0; i <= order; ++i)
    {
        const double t = static_cast<double>(i) - 32.0;
        const double sinc = t == 0.0 ? 1.0 : std::sin(pi * cutoff * t) / (pi * cutoff * t);
        expected[i] = sinc * 0.5 * (1.0 - std::cos(2.0 * pi * i / order)); // Hann
        sum += expected[i];
    }
    for (std::uint32_t i = 0; i <= order; ++i)
    {
        EXPECT_NEAR(static_cast<double>(taps[i].real()), expected[i] / sum, 1e-8) << i;
        EXPECT_EQ(taps[i].imag(), 0.0f);
    }
}

TEST(FirFilterDesign, PassesBelowTheCutoffAndStopsAboveIt)
{
    const struct
    {
        std::uint32_t window;
        double stop_band;
    } windows[] = { { 3, 0.1 }, { 4, 0.005 }, { 5, 0.01 }, { 7, 0.0005 }, { 8, 0.0001 } };
    for (const auto& [window, stop_band] : windows)
    {
        for (const std::uint32_t order : { 127u, 128u })
        {
            const complex_array taps = design(order, 0.4f, window);
            EXPECT_NEAR(response_of(taps, 0.0), 1.0, 1e-6);
            EXPECT_NEAR(response_of(taps, 0.3), 1.0, 0.1);
            EXPECT_NEAR(response_of(taps, 0.4), 0.5, 0.02) << "window " << window; // the window's middle stands on the edge
            EXPECT_LT(response_of(taps, 0.52), stop_band) << "window " << window;
            for (std::size_t i = 0; i < taps.size(); ++i)
                EXPECT_FLOAT_EQ(taps[i].real(), taps[order - i].real());
        }
    }
}

TEST(FirFilterDesign, RefusesUnknownWindowsAndBadCutoffs)
{
    lib_fir_filter_design_t designer;
    EXPECT_TRUE(designer.generate_fir_filter());
    EXPECT_FALSE(designer.get_filter_data().empty());
    designer.set_window_type(99);
    EXPECT_FALSE(designer.generate_fir_filter());
    EXPECT_TRUE(designer.get_filter_data().empty());
    designer.set_window_type(5);
    designer.set_cutoff_freq(std::numeric_limits<float>::quiet_NaN());
    EXPECT_FALSE(designer.generate_fir_filter());
    designer.set_cutoff_freq(0.5f);
    designer.set_filter_order(0xffffffffu);
    EXPECT_FALSE(designer.generate_fir_filter());
    designer.set_filter_order(0);
    EXPECT_TRUE(designer.generate_fir_filter());
    EXPECT_EQ(designer.get_filter_data(), (complex_array{ { 1.0f, 0.0f } }));
}
