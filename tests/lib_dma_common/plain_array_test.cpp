#include "lib_dma_common/plain_array.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

using namespace vrim::dma_demod_lib;

TEST(Sinc, IsOneAtAndAroundZero)
{
    EXPECT_EQ(sinc(0.0f), 1.0f);
    EXPECT_EQ(sinc(-0.0f), 1.0f);
    EXPECT_EQ(sinc(1e-13f), 1.0f);
    EXPECT_EQ(sinc(-1e-13f), 1.0f);
}

TEST(Sinc, FollowsItsFormula)
{
    EXPECT_EQ(sinc(0.5f), static_cast<float>(2.0 / std::numbers::pi));
    for (int i = -400; i <= 400; ++i)
    {
        const float x = static_cast<float>(i) / 32.0f;
        if (i == 0)
            continue;
        const double angle = std::numbers::pi * static_cast<double>(x);
        EXPECT_EQ(sinc(x), static_cast<float>(std::sin(angle) / angle)) << x;
        EXPECT_EQ(sinc(x), sinc(-x)) << x;
    }
    for (int i = 1; i < 20; ++i)
        EXPECT_NEAR(sinc(static_cast<float>(i)), 0.0f, 1e-15f);
}

TEST(SplitUpsample, PlacesTheInputsForANonZeroType)
{
    const float in_i[] = { 1.0f, 2.0f };
    const float in_q[] = { -1.0f, -2.0f };
    for (const int type : { 1, 2, -1 })
    {
        float out_i[7] = { 9, 9, 9, 9, 9, 9, 9 };
        float out_q[7] = { 9, 9, 9, 9, 9, 9, 9 };
        upsample(type, 3, 2, in_i, in_q, out_i, out_q);
        const float wanted_i[] = { 1, 0, 0, 2, 0, 0, 9 };
        const float wanted_q[] = { -1, 0, 0, -2, 0, 0, 9 };
        for (int i = 0; i < 7; ++i)
        {
            EXPECT_EQ(out_i[i], wanted_i[i]) << type << ' ' << i;
            EXPECT_EQ(out_q[i], wanted_q[i]) << type << ' ' << i;
        }
    }
}

TEST(SplitUpsample, OnlyZeroesForTypeZero)
{
    const float in[] = { 1.0f, 2.0f };
    float out_i[4] = { 9, 9, 9, 9 };
    float out_q[4] = { 9, 9, 9, 9 };
    upsample(0, 2, 2, in, in, out_i, out_q);
    for (int i = 0; i < 4; ++i)
    {
        EXPECT_EQ(out_i[i], 0.0f);
        EXPECT_EQ(out_q[i], 0.0f);
    }
}

TEST(SplitUpsample, TouchesNothingWithoutArraysOrFactor)
{
    const float in[] = { 1.0f };
    float out[1] = { 9.0f };
    upsample(1, 0, 1, in, in, out, out);
    upsample(1, 1, 1, nullptr, in, out, out);
    upsample(1, 1, 1, in, nullptr, out, out);
    upsample(1, 1, 1, in, in, nullptr, out);
    upsample(1, 1, 1, in, in, out, nullptr);
    upsample(1, 5, 0, in, in, out, out);
    EXPECT_EQ(out[0], 9.0f);
}
