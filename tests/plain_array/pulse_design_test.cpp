#include "plain_array/pulse_design.h"

#include "dma_types.h"
#include "message_capture.h"
#include "support/lib_filter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <numbers>
#include <string>

using namespace vrim;
using namespace vrim::dma_demod_lib;

namespace
{
constexpr double pi = std::numbers::pi;
// Taps are single-precision numbers of at most 1.3.
constexpr double tap_bound = 1e-7;

double wide_sinc(double t)
{
    return t == 0.0 ? 1.0 : std::sin(pi * t) / (pi * t);
}

/// Raised cosine away from t = 1 / (2 beta).
double raised_cosine(double t, double beta)
{
    return wide_sinc(t) * std::cos(pi * beta * t) / (1.0 - 4.0 * beta * beta * t * t);
}

/// Root raised cosine away from t = 0 and t = 1 / (4 beta).
double root_raised_cosine(double t, double beta)
{
    const double x = 4.0 * beta * t;
    return (std::sin(pi * t * (1.0 - beta)) + x * std::cos(pi * t * (1.0 + beta))) / (pi * t * (1.0 - x * x));
}

/// A pulse at a point where its formula is 0 / 0: the mean of its sides, curvature taken out by a second pair.
template <typename pulse_t>
double limit_at(double t, double beta, pulse_t pulse)
{
    constexpr double h = 1e-3;
    const double near_mean = (pulse(t - h, beta) + pulse(t + h, beta)) / 2.0;
    const double far_mean = (pulse(t - 2.0 * h, beta) + pulse(t + 2.0 * h, beta)) / 2.0;
    return (4.0 * near_mean - far_mean) / 3.0;
}

double time_of(std::size_t tap, std::uint32_t span, std::uint32_t sps)
{
    return (static_cast<double>(tap) - span * sps / 2.0) / sps;
}

using design_t = bool (*)(double beta, std::uint32_t span, std::uint32_t sps, float* taps);

/// What a design prints; it must leave the taps as they were.
std::string refuse(design_t design, double beta, std::uint32_t span, std::uint32_t sps)
{
    float_array taps(64, 77.0f);
    const trace_capture_t trace;
    EXPECT_FALSE(design(beta, span, sps, taps.data()));
    EXPECT_EQ(taps, float_array(64, 77.0f));
    return trace.get_text();
}
} // namespace

TEST(PlainRaiseCosine, FollowsItsFormula)
{
    for (const double beta : { 0.0, 0.22, 0.35, 0.8, 1.0 })
    {
        float_array taps(6 * 10 + 2, 77.0f);
        EXPECT_TRUE(filter_design_raise_cosine(beta, 6, 10, taps.data()));
        for (std::size_t k = 0; k <= 60; ++k)
        {
            const double t = time_of(k, 6, 10);
            if (std::abs(std::abs(2.0 * beta * t) - 1.0) < 1e-9)
                continue;
            EXPECT_NEAR(static_cast<double>(taps[k]), raised_cosine(t, beta) / std::sqrt(10.0), tap_bound) << beta << ' ' << t;
        }
        EXPECT_EQ(taps[61], 77.0f); // span * sps + 1 taps and no more
    }
}

TEST(PlainRaiseCosine, TakesTheLimitWhereItsDenominatorVanishes)
{
    // t = 1 / (2 beta): 2, 1 and 0.5 symbols.
    for (const double beta : { 0.25, 0.5, 1.0 })
    {
        float_array taps(33);
        EXPECT_TRUE(filter_design_raise_cosine(beta, 8, 4, taps.data()));
        const std::size_t distance = static_cast<std::size_t>(4.0 / (2.0 * beta));
        const double wanted = pi / 4.0 * wide_sinc(1.0 / (2.0 * beta)) / 2.0;
        EXPECT_NEAR(wanted, limit_at(1.0 / (2.0 * beta), beta, raised_cosine) / 2.0, 1e-9) << beta;
        EXPECT_NEAR(static_cast<double>(taps[16 - distance]), wanted, tap_bound) << beta;
        EXPECT_NEAR(static_cast<double>(taps[16 + distance]), wanted, tap_bound) << beta;
    }
}

TEST(PlainSquareRootRaiseCosine, FollowsItsFormula)
{
    for (const double beta : { 0.0, 0.22, 0.35, 0.8, 1.0 })
    {
        float_array taps(6 * 10 + 2, 77.0f);
        EXPECT_TRUE(filter_design_square_root_raise_cosine(beta, 6, 10, taps.data()));
        for (std::size_t k = 0; k <= 60; ++k)
        {
            const double t = time_of(k, 6, 10);
            if (k == 30 || std::abs(std::abs(4.0 * beta * t) - 1.0) < 1e-9)
                continue;
            EXPECT_NEAR(static_cast<double>(taps[k]), root_raised_cosine(t, beta) / std::sqrt(10.0), tap_bound)
                << beta << ' ' << t;
        }
        EXPECT_EQ(taps[61], 77.0f);
    }
}

TEST(PlainSquareRootRaiseCosine, TakesTheLimitsAtItsCentreAndWhereItsDenominatorVanishes)
{
    // t = 1 / (4 beta): 1, 0.5 and 0.25 symbols.
    for (const double beta : { 0.25, 0.5, 1.0 })
    {
        float_array taps(33);
        EXPECT_TRUE(filter_design_square_root_raise_cosine(beta, 8, 4, taps.data()));
        const double centre = (1.0 - beta + 4.0 * beta / pi) / 2.0;
        EXPECT_NEAR(centre, limit_at(0.0, beta, root_raised_cosine) / 2.0, 1e-9);
        EXPECT_NEAR(static_cast<double>(taps[16]), centre, tap_bound) << beta;

        const double angle = pi / (4.0 * beta);
        const double wanted =
            beta / std::sqrt(2.0) * ((1.0 + 2.0 / pi) * std::sin(angle) + (1.0 - 2.0 / pi) * std::cos(angle)) / 2.0;
        EXPECT_NEAR(wanted, limit_at(1.0 / (4.0 * beta), beta, root_raised_cosine) / 2.0, 1e-9) << beta;
        const std::size_t distance = static_cast<std::size_t>(4.0 / (4.0 * beta));
        EXPECT_NEAR(static_cast<double>(taps[16 - distance]), wanted, tap_bound) << beta;
        EXPECT_NEAR(static_cast<double>(taps[16 + distance]), wanted, tap_bound) << beta;
    }
}

TEST(PlainSquareRootRaiseCosine, HasUnitEnergyAndNoInterferenceWithItself)
{
    constexpr std::size_t count = 60 * 4 + 1;
    float_array taps(count);
    EXPECT_TRUE(filter_design_square_root_raise_cosine(0.35, 60, 4, taps.data()));
    for (std::size_t symbol = 0; symbol <= 5; ++symbol)
    {
        double sum = 0.0;
        for (std::size_t k = 4 * symbol; k < count; ++k)
            sum += static_cast<double>(taps[k]) * static_cast<double>(taps[k - 4 * symbol]);
        EXPECT_NEAR(sum, symbol == 0 ? 1.0 : 0.0, 1e-4) << symbol; // the span cuts tails of 1 / t^2
    }
}

TEST(PlainGaussian, FollowsItsFormulaAtUnitSum)
{
    for (const double beta : { 0.0, 0.25, 0.3, 0.5, 1.0 })
    {
        double_array wanted(33);
        double sum = 0.0;
        for (std::size_t k = 0; k < 33; ++k)
        {
            const double t = time_of(k, 4, 8);
            wanted[k] = std::exp(-2.0 * std::pow(pi * beta * t, 2.0) / std::log(2.0));
            sum += wanted[k];
        }
        float_array taps(34, 77.0f);
        EXPECT_TRUE(filter_design_gaussian(beta, 4, 8, taps.data()));
        for (std::size_t k = 0; k < 33; ++k)
            EXPECT_NEAR(static_cast<double>(taps[k]), wanted[k] / sum, tap_bound) << beta << ' ' << k;
        EXPECT_EQ(taps[33], 77.0f);
    }
}

TEST(PlainGaussian, HasHalfThePowerAtItsBandwidth)
{
    for (const double beta : { 0.3, 0.5 })
    {
        float_array taps(8 * 16 + 1);
        EXPECT_TRUE(filter_design_gaussian(beta, 8, 16, taps.data()));
        double response = 0.0;
        for (std::size_t k = 0; k < taps.size(); ++k)
            response += static_cast<double>(taps[k]) * std::cos(2.0 * pi * beta * time_of(k, 8, 16));
        EXPECT_NEAR(response, std::sqrt(0.5), 1e-5) << beta;
    }
}

TEST(PlainHalfSine, FollowsItsFormulaAtUnitSum)
{
    for (const std::uint32_t sps : { 2u, 3u, 8u, 25u })
    {
        double sum = 0.0;
        for (std::uint32_t k = 0; k < sps; ++k)
            sum += std::sin(pi * k / sps);
        float_array taps(sps + 1, 77.0f);
        EXPECT_TRUE(filter_design_half_sine(sps, taps.data()));
        for (std::uint32_t k = 0; k < sps; ++k)
            EXPECT_NEAR(static_cast<double>(taps[k]), std::sin(pi * k / sps) / sum, tap_bound) << sps << ' ' << k;
        EXPECT_EQ(taps[sps], 77.0f);
    }
    float single = 77.0f;
    EXPECT_TRUE(filter_design_half_sine(1, &single));
    EXPECT_EQ(single, 0.0f);
}

TEST(PlainPulses, HaveTheBitsOfTheClass)
{
    using namespace common_lib;
    struct pulse_case_t
    {
        design_t design;
        lib_filter_type_t type;
    };
    for (const pulse_case_t& item : { pulse_case_t{ filter_design_raise_cosine, filter_raised_cosine },
                                      pulse_case_t{ filter_design_square_root_raise_cosine, filter_root_raised_cosine },
                                      pulse_case_t{ filter_design_gaussian, filter_gaussian } })
    {
        lib_filter_t prototype;
        prototype.set_filter_type(item.type);
        prototype.set_filter_alpha(0.3);
        prototype.set_filter_length(7);
        prototype.set_oversampling_ratio(4);
        complex_array wanted;
        ASSERT_TRUE(prototype.generate_filter_data(wanted));
        float_array taps(29);
        EXPECT_TRUE(item.design(0.3, 7, 4, taps.data()));
        EXPECT_EQ(complex_array(taps.begin(), taps.end()), wanted);
    }
}

TEST(PlainPulses, ReportTheFirstWrongArgument)
{
    // Both cosine designs report under the name of the first.
    for (const design_t design : { filter_design_raise_cosine, filter_design_square_root_raise_cosine })
    {
        const std::string beta = "error: filter_design_raise_cosine(): beta must be in [0,1]\n";
        EXPECT_EQ(refuse(design, -0.01, 0, 0), beta);
        EXPECT_EQ(refuse(design, 1.01, 4, 4), beta);
        EXPECT_EQ(refuse(design, std::numeric_limits<double>::quiet_NaN(), 4, 4), beta);
        EXPECT_EQ(refuse(design, 0.5, 0, 0), "error: filter_design_raise_cosine(): span must be greater than 0\n");
        EXPECT_EQ(refuse(design, 0.5, 3, 0), "error: filter_design_raise_cosine(): sps must be greater than 0\n");
        EXPECT_EQ(refuse(design, 0.5, 3, 5), "error: filter_design_raise_cosine(): span*sps must be even\n");
        EXPECT_EQ(refuse(design, 0.5, 0xFFFFFFFFu, 0xFFFFFFFFu), "error: filter_design_raise_cosine(): span*sps must be even\n");
        EXPECT_EQ(refuse(design, 0.5, 1u << 13, 1u << 13), "error: filter_design_raise_cosine(): span*sps is too large\n");
        EXPECT_EQ(refuse(design, 0.5, 1u << 31, 1u << 31), "error: filter_design_raise_cosine(): span*sps is too large\n");
        float taps[7] = {};
        EXPECT_TRUE(design(0.0, 3, 2, taps));
        EXPECT_TRUE(design(1.0, 2, 3, taps));
    }
    EXPECT_EQ(refuse(filter_design_gaussian, 0.5, 3, 5), "error: filter_design_gaussian(): span*sps must be even\n");
    EXPECT_EQ(refuse(filter_design_gaussian, 1.5, 3, 5), "error: filter_design_gaussian(): beta must be in [0,1]\n");
    EXPECT_EQ(refuse(filter_design_gaussian, 0.5, 0, 5), "error: filter_design_gaussian(): span must be greater than 0\n");
    EXPECT_EQ(refuse(filter_design_gaussian, 0.5, 3, 0), "error: filter_design_gaussian(): sps must be greater than 0\n");
    EXPECT_EQ(refuse(filter_design_gaussian, 0.5, 1u << 20, 64), "error: filter_design_gaussian(): span*sps is too large\n");
    const design_t half_sine = [](double, std::uint32_t, std::uint32_t sps, float* taps)
    { return filter_design_half_sine(sps, taps); };
    EXPECT_EQ(refuse(half_sine, 0.0, 0, 0), "error: filter_design_half_sine(): sps must be greater than 0\n");
    EXPECT_EQ(refuse(half_sine, 0.0, 0, 0xFFFFFFFFu), "error: filter_design_half_sine(): sps is too large\n");
}

TEST(PlainPulses, ReportAMissingArrayLast)
{
    const trace_capture_t trace;
    EXPECT_FALSE(filter_design_raise_cosine(0.5, 4, 4, nullptr));
    EXPECT_FALSE(filter_design_square_root_raise_cosine(0.5, 3, 3, nullptr));
    EXPECT_FALSE(filter_design_gaussian(0.5, 4, 4, nullptr));
    EXPECT_FALSE(filter_design_half_sine(4, nullptr));
    EXPECT_EQ(trace.get_text(), "error: filter_design_raise_cosine(): null pointer\n"
                                "error: filter_design_raise_cosine(): span*sps must be even\n"
                                "error: filter_design_gaussian(): null pointer\n"
                                "error: filter_design_half_sine(): null pointer\n");
}
