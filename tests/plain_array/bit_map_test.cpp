#include "plain_array/bit_map.h"

#include "dma_types.h"
#include "plain_array/decision.h"
#include "message_capture.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <numbers>
#include <vector>

using namespace vrim;
using namespace vrim::dma_demod_lib;

namespace
{
using symbol_array = std::vector<std::uint32_t>;
} // namespace

TEST(PlainDifferentialDecode, GivesTheStepsFromSymbolToSymbol)
{
    symbol_array quaternary = { 3, 3, 0, 2, 1, 1, 3 };
    EXPECT_TRUE(psk_differential_decode(4, quaternary.data(), 7));
    EXPECT_EQ(quaternary, (symbol_array{ 3, 0, 1, 2, 3, 0, 2 }));
    symbol_array binary = { 1, 1, 0, 1 };
    EXPECT_TRUE(psk_differential_decode(2, binary.data(), 4));
    EXPECT_EQ(binary, (symbol_array{ 1, 0, 1, 1 }));
    symbol_array beyond = { 9, 0xFFFFFFFFu, 16 }; // 1, 7, 0 of eight
    EXPECT_TRUE(psk_differential_decode(8, beyond.data(), 3));
    EXPECT_EQ(beyond, (symbol_array{ 1, 6, 1 }));
}

TEST(PlainDifferentialDecode, UndoesASummingEncoderAtAnyTurn)
{
    for (const std::uint32_t order : { 2u, 4u, 8u, 16u })
    {
        symbol_array steps;
        symbol_array states;
        std::uint32_t state = order / 2; // the first state is not told by the steps
        for (std::uint32_t k = 0; k < 100; ++k)
        {
            steps.push_back((k * 7 + k * k / 3) % order);
            state = (state + steps.back()) % order;
            states.push_back(state);
        }
        EXPECT_TRUE(psk_differential_decode(order, states.data(), 100));
        EXPECT_EQ(states[0], (order / 2 + steps[0]) % order);
        EXPECT_EQ(symbol_array(states.begin() + 1, states.end()), symbol_array(steps.begin() + 1, steps.end())) << order;
    }
}

TEST(PlainGrayCode, IsTheReflectedCode)
{
    symbol_array table(17, 77);
    EXPECT_TRUE(psk_binary_to_gray_code(8, table.data()));
    EXPECT_EQ(symbol_array(table.begin(), table.begin() + 8), (symbol_array{ 0, 1, 3, 2, 6, 7, 5, 4 }));
    EXPECT_EQ(table[8], 77u);
    for (const std::uint32_t order : { 2u, 4u, 8u, 16u })
    {
        EXPECT_TRUE(psk_binary_to_gray_code(order, table.data()));
        for (std::uint32_t k = 0; k < order; ++k)
            EXPECT_EQ(std::popcount(table[k] ^ table[(k + 1) % order]), 1) << order << ' ' << k;
    }
}

TEST(PlainIdealStateMap, HoldsThePointsByNumberOrByGrayCode)
{
    for (const std::uint32_t order : { 2u, 4u, 8u, 16u })
    {
        complex_array plain(order);
        complex_array coded(order);
        symbol_array code(order);
        EXPECT_TRUE(psk_ideal_state_map_generate(order, plain.data(), false));
        EXPECT_TRUE(psk_ideal_state_map_generate(order, coded.data(), true));
        EXPECT_TRUE(psk_binary_to_gray_code(order, code.data()));
        for (std::uint32_t k = 0; k < order; ++k)
        {
            const double angle = (order == 4 ? std::numbers::pi / 4.0 : 0.0) + 2.0 * std::numbers::pi * k / order;
            EXPECT_LT(std::abs(std::complex<double>(plain[k]) - std::polar(1.0, angle)), 1e-7) << order << ' ' << k;
            EXPECT_EQ(coded[code[k]], plain[k]);

            // The number is the one that a decision on the point gives.
            const float re = plain[k].real();
            const float im = plain[k].imag();
            float out_re = 0.0f;
            float out_im = 0.0f;
            std::uint32_t symbol = 77;
            EXPECT_TRUE(psk_symbol_detect(order, &re, &im, 1, &out_re, &out_im, &symbol));
            EXPECT_EQ(symbol, k);
        }
    }
}

TEST(PlainBitMaps, ReportAnUnknownOrderAndTouchNothing)
{
    std::uint32_t symbols[] = { 77, 77 };
    std::complex<float> point(77.0f, 0.0f);
    for (const std::uint32_t order : { 0u, 1u, 3u, 6u, 32u, 0x80000000u })
    {
        const trace_capture_t trace;
        EXPECT_FALSE(psk_differential_decode(order, symbols, 2));
        EXPECT_FALSE(psk_binary_to_gray_code(order, symbols));
        EXPECT_FALSE(psk_ideal_state_map_generate(order, &point, true));
        EXPECT_EQ(trace.get_text(), "error: psk_differential_decode(): order must be 2, 4, 8 or 16\n"
                                    "error: psk_binary_to_gray_code(): order must be 2, 4, 8 or 16\n"
                                    "error: psk_ideal_state_map_generate(): order must be 2, 4, 8 or 16\n");
    }
    EXPECT_EQ(symbols[0], 77u);
    EXPECT_EQ(point.real(), 77.0f);
}

TEST(PlainBitMaps, TakeNoSymbolsWithoutAnArrayAndReportAMissingOne)
{
    const trace_capture_t trace;
    EXPECT_TRUE(psk_differential_decode(4, nullptr, 0));
    EXPECT_EQ(trace.get_text(), "");
    EXPECT_FALSE(psk_differential_decode(4, nullptr, 1));
    EXPECT_FALSE(psk_binary_to_gray_code(4, nullptr));
    EXPECT_FALSE(psk_ideal_state_map_generate(4, nullptr, false));
    EXPECT_EQ(trace.get_text(), "error: psk_differential_decode(): null pointer\nerror: psk_binary_to_gray_code(): null pointer\n"
                                "error: psk_ideal_state_map_generate(): null pointer\n");
}
