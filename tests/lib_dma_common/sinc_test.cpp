#include "lib_dma_common/sinc.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

using std::numbers::pi;
using vrim::dma_demod_lib::sinc;

TEST(Sinc, IsOneAtAndAroundZero)
{
    EXPECT_EQ(sinc(0.0f), 1.0f);
    EXPECT_EQ(sinc(-0.0f), 1.0f);
    EXPECT_EQ(sinc(1e-13f), 1.0f);
    EXPECT_EQ(sinc(-1e-13f), 1.0f);
}

TEST(Sinc, FollowsItsFormula)
{
    EXPECT_EQ(sinc(0.5f), static_cast<float>(2.0 / pi));
    for (int i = -400; i <= 400; ++i)
    {
        const float x = static_cast<float>(i) / 32.0f;
        if (i == 0)
            continue;
        const double angle = pi * static_cast<double>(x);
        EXPECT_EQ(sinc(x), static_cast<float>(std::sin(angle) / angle)) << x;
        EXPECT_EQ(sinc(x), sinc(-x)) << x;
    }
    for (int i = 1; i < 20; ++i)
        EXPECT_NEAR(sinc(static_cast<float>(i)), 0.0f, 1e-15f);
}
