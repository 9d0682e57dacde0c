#include "support/lib_prbs_code.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

using namespace vrim;
using vrim::common_lib::lib_prbs_code_t;

namespace
{
lib_prbs_code_t make_generator(const std::vector<std::uint32_t>& taps, std::uint64_t seed)
{
    lib_prbs_code_t generator;
    generator.set_custom_primitive_polynomial_enable(true);
    generator.set_sequence_output_position(0);
    generator.set_prbs_primitive_polynomial(taps);
    generator.set_prbs_seed(seed);
    return generator;
}

/// The same sequence from a shift register of single cells that is clocked once a bit.
byte_array clock_register(const std::vector<std::uint32_t>& taps, std::uint64_t seed, std::size_t length)
{
    const std::uint32_t degree = *std::max_element(taps.begin(), taps.end());
    std::vector<std::uint8_t> cells; // cells[0] leaves next
    for (std::uint32_t i = degree; i > 0; --i)
        cells.push_back(static_cast<std::uint8_t>((seed >> (i - 1)) & 1));
    byte_array out;
    for (std::size_t n = 0; n < length; ++n)
    {
        out.push_back(cells[0]);
        std::uint8_t sum = 0;
        for (const std::uint32_t tap : taps)
            sum = static_cast<std::uint8_t>(sum ^ cells[degree - tap]);
        std::rotate(cells.begin(), cells.begin() + 1, cells.end());
        cells.back() = sum;
    }
    return out;
}

std::size_t count_ones(const byte_array& bits)
{
    return static_cast<std::size_t>(std::count(bits.begin(), bits.end(), std::uint8_t{ 1 }));
}
} // namespace

TEST(PrbsCode, GivesTheKnownStartOfPn9)
{
    // The 511-bit test sequence of ITU-T O.153, first bit the highest: FF 83 DF 17 32 09 4E D1.
    byte_array bits;
    ASSERT_TRUE(make_generator({ 9, 5 }, 511).generate_prbs_code(64, bits));
    constexpr std::uint32_t expected[] = { 0xff, 0x83, 0xdf, 0x17, 0x32, 0x09, 0x4e, 0xd1 };
    for (std::size_t i = 0; i < 8; ++i)
    {
        std::uint32_t value = 0;
        for (std::size_t k = 0; k < 8; ++k)
            value = 2 * value + bits[8 * i + k];
        EXPECT_EQ(value, expected[i]) << "byte " << i;
    }
}

TEST(PrbsCode, RunsThroughEveryStateOfAMaximalLengthRegister)
{
    for (const std::vector<std::uint32_t>& taps :
         { std::vector<std::uint32_t>{ 7, 6 }, { 9, 5 }, { 15, 14 }, { 8, 6, 5, 4 }, { 4, 8, 5, 6 }, { 11, 16, 14, 13 } })
    {
        const std::uint32_t degree = *std::max_element(taps.begin(), taps.end());
        const std::size_t period = (std::size_t{ 1 } << degree) - 1;
        byte_array bits;
        ASSERT_TRUE(make_generator(taps, 1).generate_prbs_code(period + degree - 1, bits));
        std::vector<bool> seen(period + 1, false);
        std::size_t state = 0;
        std::size_t distinct = 0;
        for (std::size_t i = 0; i < bits.size(); ++i)
        {
            state = (2 * state + bits[i]) & period;
            if (i + 1 >= degree && !seen[state])
            {
                seen[state] = true;
                ++distinct;
            }
        }
        EXPECT_EQ(distinct, period) << "degree " << degree;
        EXPECT_FALSE(seen[0]) << "degree " << degree;
        bits.resize(period);
        EXPECT_EQ(count_ones(bits), (period + 1) / 2) << "degree " << degree;
    }
}

TEST(PrbsCode, GivesTheBitsOfAClockedRegisterAtEveryLength)
{
    const std::vector<std::vector<std::uint32_t>> polynomials = { { 7, 6 }, { 9, 5 },           { 31, 28 }, { 23, 18 },
                                                                  { 5 },    { 64, 63, 61, 60 }, { 3, 1 },   { 20, 1, 2, 13 } };
    for (const auto& taps : polynomials)
    {
        const std::uint64_t seed = 0x123456789abcdef5u;
        const byte_array expected = clock_register(taps, seed, 70000);
        byte_array bits;
        for (const std::size_t length : { 0u, 1u, 2u, 5u, 7u, 63u, 64u, 65u, 127u, 1000u, 16384u, 40000u, 70000u })
        {
            ASSERT_TRUE(make_generator(taps, seed).generate_prbs_code(length, bits));
            ASSERT_EQ(bits.size(), length);
            EXPECT_TRUE(std::equal(bits.begin(), bits.end(), expected.begin())) << taps[0] << " taps, length " << length;
        }
    }
}

TEST(PrbsCode, StartsFromAllOnesWhenTheSeedHasNoBitInTheRegister)
{
    // 2^23 lies above a register of 23 bits.
    const std::size_t period = (std::size_t{ 1 } << 23) - 1;
    byte_array bits;
    ASSERT_TRUE(make_generator({ 23, 18 }, 8388608).generate_prbs_code(8388608, bits));
    ASSERT_EQ(bits.size(), period + 1);
    EXPECT_TRUE(std::all_of(bits.begin(), bits.begin() + 23, [](std::uint8_t bit) { return bit == 1; }));
    EXPECT_EQ(bits[23], 0);
    EXPECT_EQ(bits.back(), bits.front());
    bits.pop_back();
    EXPECT_EQ(count_ones(bits), (period + 1) / 2);

    byte_array zero_seed;
    ASSERT_TRUE(make_generator({ 7, 6 }, 0).generate_prbs_code(127, zero_seed));
    byte_array all_ones;
    ASSERT_TRUE(make_generator({ 7, 6 }, 127).generate_prbs_code(127, all_ones));
    EXPECT_EQ(zero_seed, all_ones);
}

TEST(PrbsCode, DropsSeedBitsOutsideTheRegister)
{
    byte_array narrow;
    byte_array wide;
    ASSERT_TRUE(make_generator({ 7, 6 }, 0x15).generate_prbs_code(200, narrow));
    ASSERT_TRUE(make_generator({ 7, 6 }, 0xffffffffffffff00u + 0x15).generate_prbs_code(200, wide));
    EXPECT_EQ(narrow, wide);
    EXPECT_EQ((byte_array{ narrow.begin(), narrow.begin() + 7 }), (byte_array{ 0, 0, 1, 0, 1, 0, 1 }));
}

TEST(PrbsCode, TakesAConstantTermForNoTap)
{
    byte_array with;
    byte_array without;
    ASSERT_TRUE(make_generator({ 9, 5, 0 }, 3).generate_prbs_code(600, with));
    ASSERT_TRUE(make_generator({ 9, 5 }, 3).generate_prbs_code(600, without));
    EXPECT_EQ(with, without);
}

TEST(PrbsCode, UsesThePolynomialOfItsTypeWithoutACustomOne)
{
    const std::pair<std::uint32_t, std::vector<std::uint32_t>> types[] = {
        { 0, { 7, 6 } }, { 1, { 9, 5 } }, { 3, { 15, 14 } }, { 4, { 23, 18 } }, { 5, { 31, 28 } }
    };
    for (const auto& [type, taps] : types)
    {
        lib_prbs_code_t generator;
        generator.set_prbs_type(type);
        generator.set_prbs_primitive_polynomial({ 3, 2 });
        generator.set_prbs_seed(0x5a5a5a5a);
        byte_array bits;
        ASSERT_TRUE(generator.generate_prbs_code(1000, bits));
        EXPECT_EQ(bits, clock_register(taps, 0x5a5a5a5a, 1000)) << "type " << type;
    }
}

TEST(PrbsCode, GivesNothingWithoutAUsablePolynomial)
{
    byte_array bits = { 1, 1 };
    EXPECT_FALSE(make_generator({}, 1).generate_prbs_code(10, bits));
    EXPECT_TRUE(bits.empty());
    bits = { 1, 1 };
    EXPECT_FALSE(make_generator({ 0 }, 1).generate_prbs_code(10, bits));
    EXPECT_TRUE(bits.empty());
    EXPECT_FALSE(make_generator({ 65, 2 }, 1).generate_prbs_code(10, bits));
    lib_prbs_code_t generator;
    generator.set_prbs_type(2);
    bits = { 1, 1 };
    EXPECT_FALSE(generator.generate_prbs_code(10, bits));
    EXPECT_TRUE(bits.empty());
}
