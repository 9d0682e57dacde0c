#include "support/lib_common_polyfit.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

using namespace vrim;
using fit_t = common_lib::lib_dma_common_polyfit_t;

TEST(LineFit, RecoversALine)
{
    float_array x, y;
    for (int i = 0; i < 1000; ++i)
    {
        x.push_back(static_cast<float>(i));
        y.push_back(0.25f * static_cast<float>(i) - 3.0f);
    }
    float_array fit(7);
    EXPECT_TRUE(fit_t::deal_line_polyfit(x, y, fit));
    ASSERT_EQ(fit.size(), 2u);
    EXPECT_FLOAT_EQ(fit[0], 0.25f);
    EXPECT_NEAR(fit[1], -3.0f, 1e-4f);
}

TEST(LineFit, FormsProductsInSingleAndSumsInDoublePrecision)
{
    std::mt19937 generator(41);
    std::normal_distribution<float> noise;
    float_array x, y;
    double sx = 0.0, sy = 0.0, sxy = 0.0, sxx = 0.0;
    for (int i = 0; i < 3001; ++i)
    {
        const float xi = static_cast<float>(i) * 1.1f;
        const float yi = noise(generator);
        x.push_back(xi);
        y.push_back(yi);
        const float xy = xi * yi;
        const float xx = xi * xi;
        sx += static_cast<double>(xi);
        sy += static_cast<double>(yi);
        sxy += static_cast<double>(xy);
        sxx += static_cast<double>(xx);
    }
    const double n = 3001.0;
    const float slope = static_cast<float>((sxy - sx * sy / n) / (sxx - sx * sx / n));
    const float intercept = static_cast<float>((sy - static_cast<double>(slope) * sx) / n);
    float_array fit;
    EXPECT_TRUE(fit_t::deal_polyfit(x, y, 1, fit));
    EXPECT_EQ(fit, (float_array{ slope, intercept }));
}

TEST(LineFit, OfOnePointHasNoSlope)
{
    float_array fit;
    EXPECT_TRUE(fit_t::deal_line_polyfit({ 0.0f }, { 2.0f }, fit));
    ASSERT_EQ(fit.size(), 2u);
    EXPECT_TRUE(std::isnan(fit[0]));
    EXPECT_TRUE(std::isnan(fit[1]));
}

TEST(LineFit, OfNothingIsNotANumber)
{
    float_array fit;
    EXPECT_TRUE(fit_t::deal_line_polyfit({}, {}, fit));
    ASSERT_EQ(fit.size(), 2u);
    EXPECT_TRUE(std::isnan(fit[0]));
}

TEST(Fits, FailOnUnequalLengths)
{
    float_array fit = { 5.0f };
    EXPECT_FALSE(fit_t::deal_line_polyfit({ 0.0f, 1.0f }, { 0.0f }, fit));
    EXPECT_FALSE(fit_t::deal_curve_polyfit({ 0.0f, 1.0f }, { 0.0f }, fit));
    EXPECT_FALSE(fit_t::deal_polyfit({ 0.0f, 1.0f }, { 0.0f }, 1, fit));
    EXPECT_EQ(fit, float_array{ 5.0f });
}

TEST(Fits, KnowOrdersOneAndTwoOnly)
{
    float_array fit = { 5.0f };
    for (const std::uint32_t order : { 0u, 3u, 4u, 0xffffffffu })
        EXPECT_FALSE(fit_t::deal_polyfit({ 0.0f, 1.0f, 2.0f }, { 0.0f, 1.0f, 2.0f }, order, fit)) << order;
    EXPECT_EQ(fit, float_array{ 5.0f });
}

TEST(CurveFit, RecoversAParabolaFarFromZero)
{
    float_array x, y;
    for (int i = 0; i < 400; ++i)
    {
        const double xi = 1000.0 + i;
        x.push_back(static_cast<float>(xi));
        y.push_back(static_cast<float>(2.0 * (xi - 1200.0) * (xi - 1200.0) - 5.0));
    }
    float_array fit;
    EXPECT_TRUE(fit_t::deal_polyfit(x, y, 2, fit));
    ASSERT_EQ(fit.size(), 3u);
    EXPECT_NEAR(fit[0], 2.0f, 1e-5f);
    EXPECT_NEAR(fit[1], -4800.0f, 1e-2f);
    EXPECT_NEAR(fit[2], 2.0f * 1200.0f * 1200.0f - 5.0f, 10.0f); // one unit in the last place is 0.25
}

TEST(CurveFit, OfThreePointsPassesThroughThem)
{
    float_array fit;
    EXPECT_TRUE(fit_t::deal_curve_polyfit({ -1.0f, 0.0f, 2.0f }, { 6.0f, 3.0f, 9.0f }, fit));
    // a - b + c = 6, c = 3, 4 a + 2 b + c = 9.
    ASSERT_EQ(fit.size(), 3u);
    EXPECT_NEAR(fit[0], 2.0f, 1e-6f);
    EXPECT_NEAR(fit[1], -1.0f, 1e-6f);
    EXPECT_NEAR(fit[2], 3.0f, 1e-6f);
}

TEST(CurveFit, OfTwoPointsIsNotANumber)
{
    float_array fit;
    EXPECT_TRUE(fit_t::deal_curve_polyfit({ 0.0f, 1.0f }, { 1.0f, 2.0f }, fit));
    ASSERT_EQ(fit.size(), 3u);
    EXPECT_FALSE(std::isfinite(fit[0]));
}
