#include "lib_dma_demod/stage/symbol_decision.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>

using namespace vrim;
using namespace vrim::dma_demod_lib::demod_stage;

namespace
{
complex_array make_numbers(std::size_t count)
{
    complex_array data;
    for (std::size_t i = 0; i < count; ++i)
        data.emplace_back(static_cast<float>(i), 0.0f);
    return data;
}
} // namespace

TEST(SymbolDecision, CutsToWholeSymbols)
{
    for (std::size_t length = 16; length < 24; ++length)
    {
        complex_array timing = make_numbers(length);
        complex_array meas;
        complex_array decided;
        deal_symbol_decision(timing, 8, meas, decided, [](std::complex<float> symbol) { return symbol; });
        EXPECT_EQ(meas, make_numbers(16)) << length;
        EXPECT_EQ(decided.size(), 2u) << length;
    }
    complex_array timing = make_numbers(7);
    complex_array meas;
    complex_array decided = { { 1.0f, 0.0f } };
    deal_symbol_decision(timing, 8, meas, decided, [](std::complex<float> symbol) { return symbol; });
    EXPECT_TRUE(meas.empty());
    EXPECT_TRUE(decided.empty());
}

TEST(SymbolDecision, AsksForEverySymbolAtUnitRms)
{
    complex_array timing = make_numbers(12); // symbols 0, 4, 8
    complex_array meas;
    complex_array decided;
    complex_array asked;
    deal_symbol_decision(timing, 4, meas, decided,
                         [&](std::complex<float> symbol)
                         {
                             asked.push_back(symbol);
                             return std::complex<float>(static_cast<float>(asked.size()), -1.0f);
                         });
    const double rms = std::sqrt((0.0 + 16.0 + 64.0) / 3.0);
    ASSERT_EQ(asked.size(), 3u);
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_NEAR(static_cast<double>(asked[i].real()), 4.0 * static_cast<double>(i) / rms, 1e-6);
    EXPECT_EQ(decided, (complex_array{ { 1.0f, -1.0f }, { 2.0f, -1.0f }, { 3.0f, -1.0f } }));
    EXPECT_EQ(meas, make_numbers(12)); // the waveform keeps its level
}

TEST(SymbolDecision, HandsTheSamplesOver)
{
    complex_array timing = make_numbers(16);
    const std::complex<float>* const memory = timing.data();
    complex_array meas = make_numbers(5);
    complex_array decided;
    deal_symbol_decision(timing, 8, meas, decided, [](std::complex<float> symbol) { return symbol; });
    EXPECT_EQ(meas.data(), memory);
    EXPECT_TRUE(timing.empty());
}

TEST(SymbolRamp, TurnsEachSymbolByItsPlace)
{
    for (const double step : { 3.0 * std::numbers::pi / 4.0, 3.0 * std::numbers::pi / 8.0 })
    {
        complex_array symbols(2000, { 0.0f, 1.0f });
        deal_symbol_ramp(static_cast<float>(step), symbols);
        for (std::size_t i = 0; i < symbols.size(); ++i)
        {
            const double phase = std::numbers::pi / 2.0 + step * static_cast<double>(i);
            // The ramp is in single precision: half a unit in the last place of some 4,700 radians.
            ASSERT_NEAR(std::abs(std::complex<double>(symbols[i]) - std::polar(1.0, phase)), 0.0, 6e-4) << i;
        }
    }
}

TEST(SymbolRamp, LeavesTheFirstSymbol)
{
    complex_array one = { { 0.6f, 0.8f } };
    deal_symbol_ramp(2.0f, one);
    EXPECT_EQ(one, (complex_array{ { 0.6f, 0.8f } }));
    complex_array none;
    deal_symbol_ramp(2.0f, none);
    EXPECT_TRUE(none.empty());
}
