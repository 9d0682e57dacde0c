#include "fir_filter/lib_fir_designer.h"
#include "message_capture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

using namespace vrim;
using namespace vrim::fir_filter_lib;
using designer_t = lib_fir_designer_t;

namespace
{
double deviation_of(double attenuation)
{
    return std::pow(10.0, -attenuation / 20.0);
}

struct estimate_t
{
    double length;
    double beta;
};

estimate_t estimate(double f1, double f2, double d1, double d2)
{
    estimate_t result{ -1.0, -1.0 };
    designer_t::kaislpord(f1, f2, d1, d2, result.length, result.beta);
    return result;
}

/// Kaiser's formula for the order of a transition of `width`, relative to half the sample rate.
double cal_published_order(double attenuation, double width)
{
    return (attenuation - 7.95) / (14.36 * width / 2.0);
}

void expect_refused(const double_array& edges, const double_array& amplitudes, const double_array& deviations,
                    const std::string& text)
{
    const log_capture_t log;
    std::uint32_t order = 77;
    double_array cutoffs = { 1.0 };
    double beta = 77.0;
    EXPECT_FALSE(designer_t::_get_kaiser_minimum_order(edges, amplitudes, deviations, order, cutoffs, beta));
    EXPECT_EQ(order, 0u);
    EXPECT_TRUE(cutoffs.empty());
    EXPECT_EQ(beta, 0.0);
    ASSERT_EQ(log.get_records().size(), 1u);
    EXPECT_EQ(log.get_records()[0].level, common_log::log_level_error);
    EXPECT_NE(log.get_records()[0].message.find("lib_fir_designer_t::_get_kaiser_minimum_order: " + text), std::string::npos);
}

constexpr double nan_value = std::numeric_limits<double>::quiet_NaN();
} // namespace

TEST(KaiserEstimate, TakesItsBranchByTheAttenuation)
{
    // 60 dB: 0.1102 * 51.3; 40 dB: 0.5842 * 19^0.4 + 0.07886 * 19 = 1.896995 + 1.49834; below 21 dB a rectangle
    EXPECT_NEAR(estimate(0.1, 0.2, deviation_of(60.0), 1.0).beta, 5.65326, 1e-9);
    EXPECT_NEAR(estimate(0.1, 0.2, deviation_of(40.0), 1.0).beta, 3.395321, 1e-5);
    EXPECT_EQ(estimate(0.1, 0.2, deviation_of(20.9), 1.0).beta, 0.0);
    EXPECT_NEAR(estimate(0.1, 0.2, deviation_of(21.1), 1.0).beta, 0.5842 * std::pow(0.1, 0.4) + 0.07886 * 0.1, 1e-9);
}

TEST(KaiserEstimate, FiftyDecibelsBelongToTheMiddleBranch)
{
    const double middle = 0.5842 * std::pow(29.0, 0.4) + 0.07886 * 29.0;
    ASSERT_GT(std::abs(middle - 41.3 * 0.1102), 0.01); // the branches do not meet
    EXPECT_NEAR(estimate(0.1, 0.2, deviation_of(50.0), 1.0).beta, middle, 1e-9);
    EXPECT_NEAR(estimate(0.1, 0.2, deviation_of(50.1), 1.0).beta, 41.4 * 0.1102, 1e-9);
}

TEST(KaiserEstimate, TheSmallerDeviationDecides)
{
    const estimate_t expected = estimate(0.1, 0.15, 0.001, 0.001);
    EXPECT_EQ(estimate(0.1, 0.15, 0.001, 0.05).length, expected.length);
    EXPECT_EQ(estimate(0.1, 0.15, 0.05, 0.001).length, expected.length);
    EXPECT_EQ(estimate(0.15, 0.1, 0.05, 0.001).length, expected.length);
    EXPECT_NEAR(expected.length, (60.0 - 7.95) / 14.357078426905355 / 0.05 + 1.0, 1e-9);
}

TEST(KaiserEstimate, SaysThatItHasNone)
{
    EXPECT_TRUE(std::isinf(estimate(0.1, 0.1, 0.01, 0.01).length));
    EXPECT_TRUE(std::isinf(estimate(0.1, 0.2, 0.0, 0.01).length));
    EXPECT_TRUE(std::isnan(estimate(0.1, 0.2, nan_value, 0.01).length));
    EXPECT_TRUE(std::isnan(estimate(0.1, 0.2, 0.01, nan_value).length));
    EXPECT_TRUE(std::isnan(estimate(0.1, 0.2, -0.01, 0.5).length));
}

TEST(KaiserOrder, OfALowpassIsThePublishedOne)
{
    for (const double attenuation : { 30.0, 45.0, 60.0, 80.0, 100.0 })
        for (const double width : { 0.01, 0.05, 0.1 })
        {
            std::uint32_t order = 0;
            double_array cutoffs;
            double beta = 0.0;
            ASSERT_TRUE(designer_t::_get_kaiser_minimum_order({ 0.2, 0.2 + width }, { 1.0, 0.0 },
                                                              { 0.5, deviation_of(attenuation) }, order, cutoffs, beta));
            const double published = cal_published_order(attenuation, width);
            EXPECT_NEAR(static_cast<double>(order), published, 1.0 + 1e-3 * published) << attenuation << " dB " << width;
            EXPECT_EQ(order, std::ceil((attenuation - 7.95) / 14.357078426905355 / (width / 2.0) + 1.0) - 1.0);
            ASSERT_EQ(cutoffs.size(), 1u);
            EXPECT_NEAR(cutoffs[0], 0.2 + width / 2.0, 1e-15);
            EXPECT_NEAR(beta, estimate(0.1, 0.2, deviation_of(attenuation), 1.0).beta, 1e-12);
        }
}

TEST(KaiserOrder, AnOddOneIsRaisedWhereTheTopOfTheBandPasses)
{
    // (60 - 7.95) / 14.357 / 0.05 = 72.51: 73 for a lowpass
    std::uint32_t order = 0;
    double_array cutoffs;
    double beta = 0.0;
    const double deviation = deviation_of(60.0);
    ASSERT_TRUE(
        designer_t::_get_kaiser_minimum_order({ 0.3, 0.4 }, { 1.0, 0.0 }, { deviation, deviation }, order, cutoffs, beta));
    EXPECT_EQ(order, 73u);
    ASSERT_TRUE(
        designer_t::_get_kaiser_minimum_order({ 0.3, 0.4 }, { 0.0, 1.0 }, { deviation, deviation }, order, cutoffs, beta));
    EXPECT_EQ(order, 74u);
    ASSERT_TRUE(designer_t::_get_kaiser_minimum_order({ 0.2, 0.3, 0.6, 0.7 }, { 0.0, 1.0, 0.0 },
                                                      { deviation, deviation, deviation }, order, cutoffs, beta));
    EXPECT_EQ(order, 73u);
    ASSERT_TRUE(designer_t::_get_kaiser_minimum_order({ 0.2, 0.3, 0.6, 0.7 }, { 1.0, 0.0, 1.0 },
                                                      { deviation, deviation, deviation }, order, cutoffs, beta));
    EXPECT_EQ(order, 74u);
    // (70 - 7.95) / 14.357 / 0.05 = 86.44: 87, raised to 88; a width of 0.101 gives 85.58: 86 stays
    const double finer = deviation_of(70.0);
    ASSERT_TRUE(designer_t::_get_kaiser_minimum_order({ 0.3, 0.401 }, { 0.0, 1.0 }, { finer, finer }, order, cutoffs, beta));
    EXPECT_EQ(order, 86u);
}

TEST(KaiserOrder, OfThreeBandsIsTheLargerOfTheTransitions)
{
    for (const bool second : { false, true })
    {
        const double_array edges =
            second ? double_array{ 0.2, 0.4, 0.6, 0.65 } : double_array{ 0.2, 0.25, 0.6, 0.8 }; // 0.05 and 0.2 wide
        std::uint32_t order = 0;
        double_array cutoffs;
        double beta = 0.0;
        ASSERT_TRUE(designer_t::_get_kaiser_minimum_order(edges, { 0.0, 1.0, 0.0 },
                                                          { deviation_of(40.0), 0.1, deviation_of(60.0) }, order, cutoffs, beta));
        // first: (40 - 7.95) / 14.357 / 0.025 = 89.3 and (60 - 7.95) / 14.357 / 0.1 = 36.3
        // second: (40 - 7.95) / 14.357 / 0.1 = 22.3 and (60 - 7.95) / 14.357 / 0.025 = 145.02
        EXPECT_EQ(order, second ? 146u : 90u);
        EXPECT_NEAR(beta, second ? 5.65326 : 3.395321, 1e-5);
        ASSERT_EQ(cutoffs.size(), 2u);
        EXPECT_NEAR(cutoffs[0], (edges[0] + edges[1]) / 2.0, 1e-15);
        EXPECT_NEAR(cutoffs[1], (edges[2] + edges[3]) / 2.0, 1e-15);
    }
}

TEST(KaiserOrder, TakesDeviationsRelativeToTheAmplitude)
{
    std::uint32_t order = 0;
    double_array cutoffs;
    double beta = 0.0;
    ASSERT_TRUE(designer_t::_get_kaiser_minimum_order({ 0.3, 0.4 }, { 10.0, 0.0 }, { 0.01, 0.5 }, order, cutoffs, beta));
    EXPECT_EQ(order, 73u); // 60 dB
}

TEST(KaiserOrder, IsAtLeastTwo)
{
    std::uint32_t order = 0;
    double_array cutoffs;
    double beta = -1.0;
    for (const double deviation : { 0.3, 1.0, 1e6 })
    {
        ASSERT_TRUE(
            designer_t::_get_kaiser_minimum_order({ 0.1, 0.9 }, { 1.0, 0.0 }, { deviation, deviation }, order, cutoffs, beta));
        EXPECT_EQ(order, 2u) << deviation;
        EXPECT_EQ(beta, 0.0);
    }
}

TEST(KaiserOrder, RefusesWhatIsNotFinite)
{
    const double_array amplitudes = { 1.0, 0.0 };
    const std::string text = "order ";
    expect_refused({ 0.3, 0.3 }, amplitudes, { 0.01, 0.01 }, text);
    expect_refused({ nan_value, 0.3 }, amplitudes, { 0.01, 0.01 }, text);
    expect_refused({ 0.2, 0.3 }, amplitudes, { 0.01, nan_value }, text);
    expect_refused({ 0.2, 0.3 }, amplitudes, { nan_value, 0.01 }, text);
    expect_refused({ 0.2, 0.3 }, amplitudes, { 0.0, 0.01 }, text);
    expect_refused({ 0.2, 0.3 }, amplitudes, { -0.1, 0.01 }, text);
    expect_refused({ 0.2, 0.3 }, { nan_value, 0.0 }, { 0.1, 0.01 }, text);
    expect_refused({ 0.2, 0.3, 0.5, 0.5 }, { 1.0, 0.0, 1.0 }, { 0.1, 0.01, 0.1 }, text);
    expect_refused({ 0.2, 0.3, nan_value, 0.5 }, { 1.0, 0.0, 1.0 }, { 0.1, 0.01, 0.1 }, text);
}

TEST(KaiserOrder, RefusesMoreThanAMillion)
{
    // (60 - 7.95) / 14.357078 = 3.62539 over half the width
    std::uint32_t order = 0;
    double_array cutoffs;
    double beta = 0.0;
    ASSERT_TRUE(
        designer_t::_get_kaiser_minimum_order({ 0.5, 0.5 + 7.252e-6 }, { 1.0, 0.0 }, { 0.001, 0.001 }, order, cutoffs, beta));
    EXPECT_NEAR(static_cast<double>(order), 999'830.0, 20.0);
    expect_refused({ 0.5, 0.5 + 7.25e-6 }, { 1.0, 0.0 }, { 0.001, 0.001 }, "order 1.00011e+06 is not finite or above the limit");
}

TEST(KaiserOrder, RefusesListsThatDoNotFit)
{
    const std::string text = "edges, amplitudes and deviations do not fit.\n";
    expect_refused({}, {}, {}, text);
    expect_refused({}, { 1.0 }, { 0.1 }, text);
    expect_refused({ 0.2 }, { 1.0, 0.0 }, { 0.1, 0.1 }, text);
    expect_refused({ 0.2, 0.3 }, { 1.0 }, { 0.1, 0.1 }, text);
    expect_refused({ 0.2, 0.3, 0.4, 0.5 }, { 1.0, 0.0 }, { 0.1, 0.1 }, text);
}
