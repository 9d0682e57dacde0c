#include "support/lib_common_list_parse.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>

using namespace vrim;
using vrim::common_lib::lib_common_list_parse_t;

TEST(BitList, GoesToTextAndBack)
{
    const byte_array bits = { 1, 0, 1, 1, 0 };
    std::string text = "before";
    ASSERT_TRUE(lib_common_list_parse_t::bit_list_to_string(bits, text));
    EXPECT_EQ(text, "10110");
    byte_array back = { 9 };
    ASSERT_TRUE(lib_common_list_parse_t::string_to_bit_list(text, back));
    EXPECT_EQ(back, bits);
}

TEST(BitList, IsEmptyForAnEmptyText)
{
    byte_array bits = { 1 };
    EXPECT_TRUE(lib_common_list_parse_t::string_to_bit_list("", bits));
    EXPECT_TRUE(bits.empty());
    std::string text = "1";
    EXPECT_TRUE(lib_common_list_parse_t::bit_list_to_string({}, text));
    EXPECT_TRUE(text.empty());
}

TEST(BitList, PassesOverBlanksCommasAndUnderscores)
{
    byte_array bits;
    EXPECT_TRUE(lib_common_list_parse_t::string_to_bit_list(" 1,0_1\t1\n", bits));
    EXPECT_EQ(bits, (byte_array{ 1, 0, 1, 1 }));
}

TEST(BitList, RefusesOtherCharactersAndGivesNoBits)
{
    for (const char* text : { "102", "1a", "-1", "1.0" })
    {
        byte_array bits = { 1 };
        EXPECT_FALSE(lib_common_list_parse_t::string_to_bit_list(text, bits)) << text;
        EXPECT_TRUE(bits.empty()) << text;
    }
}

TEST(IndexList, GoesToTextAndBackAtTheEndsOfItsRange)
{
    const std::vector<std::int32_t> indices = { 0, -1, 42, std::numeric_limits<std::int32_t>::min(),
                                                std::numeric_limits<std::int32_t>::max() };
    std::string text;
    ASSERT_TRUE(lib_common_list_parse_t::index_list_to_string(indices, text));
    std::vector<std::int32_t> back;
    std::string error = "before";
    ASSERT_TRUE(lib_common_list_parse_t::string_to_index_list(text, back, error));
    EXPECT_EQ(back, indices);
    EXPECT_TRUE(error.empty());
}

TEST(IndexList, TakesBlanksAndSignsAndNoText)
{
    std::vector<std::int32_t> indices = { 7 };
    std::string error;
    EXPECT_TRUE(lib_common_list_parse_t::string_to_index_list("  ", indices, error));
    EXPECT_TRUE(indices.empty());
    EXPECT_TRUE(lib_common_list_parse_t::string_to_index_list(" 1 ,\t+2, -3\n", indices, error));
    EXPECT_EQ(indices, (std::vector<std::int32_t>{ 1, 2, -3 }));
}

TEST(IndexList, TellsWhyATextIsBad)
{
    for (const char* text : { "1,,2", "1,2,", ",1", "a", "1 2", "1.5", "+-3", "2147483648", "1;2", "+", "-" })
    {
        std::vector<std::int32_t> indices = { 7 };
        std::string error;
        EXPECT_FALSE(lib_common_list_parse_t::string_to_index_list(text, indices, error)) << text;
        EXPECT_TRUE(indices.empty()) << text;
        EXPECT_FALSE(error.empty()) << text;
    }
    std::vector<std::int32_t> indices;
    std::string error;
    EXPECT_FALSE(lib_common_list_parse_t::string_to_index_list("3,4,99999999999", indices, error));
    EXPECT_NE(error.find("entry 3"), std::string::npos) << error;
    EXPECT_NE(error.find("99999999999"), std::string::npos) << error;
}

TEST(ComplexList, GoesToTextAndBackWithEveryBit)
{
    constexpr std::uint32_t seed = 20240611;
    std::mt19937 engine(seed);
    complex_array points = { { 0.0f, -0.0f },
                             { 0.70710677f, -0.70710677f },
                             { std::numeric_limits<float>::max(), std::numeric_limits<float>::denorm_min() },
                             { std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity() } };
    while (points.size() < 2000)
    {
        const float re = std::bit_cast<float>(static_cast<std::uint32_t>(engine()));
        const float im = std::bit_cast<float>(static_cast<std::uint32_t>(engine()));
        if (!std::isnan(re) && !std::isnan(im))
            points.emplace_back(re, im);
    }
    std::string text;
    ASSERT_TRUE(lib_common_list_parse_t::complex_list_to_string(points, text));
    complex_array back;
    ASSERT_TRUE(lib_common_list_parse_t::string_to_complex_list(text, back));
    ASSERT_EQ(back.size(), points.size());
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        EXPECT_EQ(std::bit_cast<std::uint32_t>(back[i].real()), std::bit_cast<std::uint32_t>(points[i].real()))
            << i << " seed " << seed;
        EXPECT_EQ(std::bit_cast<std::uint32_t>(back[i].imag()), std::bit_cast<std::uint32_t>(points[i].imag()))
            << i << " seed " << seed;
    }
}

TEST(ComplexList, BringsBackValuesThatAreNotANumber)
{
    std::string text;
    ASSERT_TRUE(lib_common_list_parse_t::complex_list_to_string({ { std::nanf(""), -std::nanf("") } }, text));
    complex_array back;
    ASSERT_TRUE(lib_common_list_parse_t::string_to_complex_list(text, back));
    ASSERT_EQ(back.size(), 1u);
    EXPECT_TRUE(std::isnan(back[0].real()) && std::isnan(back[0].imag()));
}

TEST(ComplexList, TakesBlanksAndNoText)
{
    complex_array points = { { 1.0f, 1.0f } };
    EXPECT_TRUE(lib_common_list_parse_t::string_to_complex_list(" ", points));
    EXPECT_TRUE(points.empty());
    EXPECT_TRUE(lib_common_list_parse_t::string_to_complex_list(" 1 , -2.5 ; +3e1,0 ", points));
    EXPECT_EQ(points, (complex_array{ { 1.0f, -2.5f }, { 30.0f, 0.0f } }));
}

TEST(ComplexList, RefusesBadTextAndGivesNoPoints)
{
    for (const char* text : { "1", "1,", ",1", "1,2;", ";1,2", "1,2,3", "1 2", "a,b", "1e99,0", "1,2;3" })
    {
        complex_array points = { { 1.0f, 1.0f } };
        EXPECT_FALSE(lib_common_list_parse_t::string_to_complex_list(text, points)) << text;
        EXPECT_TRUE(points.empty()) << text;
    }
}
