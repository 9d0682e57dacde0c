#include "lib_dma_common/lib_dma_phy_common.h"

#include "message_capture.h"
#include "support/lib_constellation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using common_t = lib_dma_phy_common_t;

namespace
{
const float nan_value = std::numeric_limits<float>::quiet_NaN();

std::complex<float> make_point(double radius, double degrees)
{
    return std::complex<float>(std::polar(radius, degrees * std::numbers::pi / 180.0));
}

lib_dma_qam_modulation_type_t qam_format(std::uint32_t value)
{
    return static_cast<lib_dma_qam_modulation_type_t>(value);
}

struct qam_set_t
{
    std::uint32_t format;
    std::uint32_t points;
};

constexpr qam_set_t qam_sets[] = { { 0, 16 },   { 1, 32 },   { 2, 64 },   { 3, 128 }, { 4, 256 }, { 5, 512 },
                                   { 6, 1024 }, { 7, 2048 }, { 8, 4096 }, { 9, 16 },  { 10, 32 } };

constellation_map make_qam(std::uint32_t points)
{
    constellation_map map;
    common_lib::lib_constellation_qam_t::generate_default_qam_constellation(points, map, false, 0);
    return map;
}
} // namespace

TEST(IntToArray, GivesBitsLeastSignificantFirstUnlessReversed)
{
    EXPECT_EQ(common_t::int2array(5, 4, 0, false), (byte_array{ 1, 0, 1, 0 }));
    EXPECT_EQ(common_t::int2array(5, 4, 0, true), (byte_array{ 0, 1, 0, 1 }));
    EXPECT_EQ(common_t::int2array(0xffffffffu, 34, 0, false).at(31), 1);
    EXPECT_EQ(common_t::int2array(0xffffffffu, 34, 0, false).at(32), 0);
}

TEST(IntToArray, GivesDecimalDigitsMostSignificantFirstEitherWay)
{
    EXPECT_EQ(common_t::int2array(123, 3, 1, false), (byte_array{ 1, 2, 3 }));
    EXPECT_EQ(common_t::int2array(123, 3, 1, true), (byte_array{ 1, 2, 3 }));
    EXPECT_EQ(common_t::int2array(123, 5, 1, false), (byte_array{ 0, 0, 1, 2, 3 }));
    EXPECT_EQ(common_t::int2array(123, 2, 1, false), (byte_array{ 2, 3 }));
}

TEST(IntToArray, GivesZerosForAnyOtherBaseAndNothingForNoLength)
{
    EXPECT_EQ(common_t::int2array(255, 3, 2, false), (byte_array{ 0, 0, 0 }));
    EXPECT_TRUE(common_t::int2array(255, 0, 0, true).empty());
}

TEST(BitArrayToInt, TakesTheFirstElementOfAGroupForTheHighest)
{
    float_array bits = { 1, 0, 1, 0, 1, 1, 1 };
    const float_array before = bits;
    EXPECT_EQ(common_t::bit_array2int(bits, 3, true), (float_array{ 5, 3 }));
    EXPECT_EQ(bits, before);
}

TEST(BitArrayToInt, ReversesTheCallersArrayWithoutKeepOrder)
{
    float_array bits = { 1, 0, 0, 1, 1 };
    EXPECT_EQ(common_t::bit_array2int(bits, 2, false), (float_array{ 3, 0 }));
    EXPECT_EQ(bits, (float_array{ 1, 1, 0, 0, 1 }));
}

TEST(BitArrayToInt, TruncatesAtEachStep)
{
    // 0.9 -> 0, 2 * 0 + 1.7 -> 1, 2 * 1 + 0.5 -> 2.
    float_array bits = { 0.9f, 1.7f, 0.5f };
    EXPECT_EQ(common_t::bit_array2int(bits, 3, true), (float_array{ 2 }));
}

TEST(BitArrayToInt, GivesNothingForGroupsOfNoneOrLongerThanTheArray)
{
    float_array bits = { 1, 0 };
    EXPECT_TRUE(common_t::bit_array2int(bits, 0, true).empty());
    EXPECT_TRUE(common_t::bit_array2int(bits, 3, true).empty());
}

TEST(HexText, MakesTwoDigitsAByteAndASingleLastOneItsOwn)
{
    std::uint8_t bytes[3] = { 0xee, 0xee, 0xee };
    EXPECT_EQ(common_t::hecstr2dec("aF07", bytes), 2u);
    EXPECT_EQ(bytes[0], 0xaf);
    EXPECT_EQ(bytes[1], 0x07);
    EXPECT_EQ(bytes[2], 0xee);
    EXPECT_EQ(common_t::hecstr2dec("12c", bytes), 2u);
    EXPECT_EQ(bytes[0], 0x12);
    EXPECT_EQ(bytes[1], 0x0c);
    EXPECT_EQ(common_t::hecstr2dec("", bytes), 0u);
}

TEST(HexText, GivesNoBytesForNullPointers)
{
    std::uint8_t byte = 7;
    EXPECT_EQ(common_t::hecstr2dec(nullptr, &byte), 0u);
    EXPECT_EQ(common_t::hecstr2dec("12", nullptr), 0u);
    EXPECT_EQ(byte, 7);
}

TEST(HexText, ReportsACharacterThatIsNoDigitAndTakesItAsZero)
{
    const trace_capture_t trace;
    std::uint8_t bytes[2] = {};
    EXPECT_EQ(common_t::hecstr2dec("g1x", bytes), 2u);
    EXPECT_EQ(bytes[0], 0x01);
    EXPECT_EQ(bytes[1], 0x00);
    EXPECT_EQ(trace.get_text(), "g is not hexadecimal character!\nx is not hexadecimal character!\n");
}

TEST(HexText, IsAppendedInLowerCaseWithLeadingZeros)
{
    std::string text = "0x";
    common_t::dec2hexstr({ 0x00, 0x0a, 0xff, 0x10 }, text);
    EXPECT_EQ(text, "0x000aff10");
}

TEST(BytesToBits, SpreadsEachByteFromEitherEnd)
{
    const std::uint8_t bytes[] = { 0x81, 0x0f };
    byte_array bits(16, 9);
    common_t::convertbytes2bitarr(bytes, 2, true, bits);
    EXPECT_EQ(bits, (byte_array{ 1, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 1, 1, 1 }));
    common_t::convertbytes2bitarr(bytes, 2, false, bits);
    EXPECT_EQ(bits, (byte_array{ 1, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 0, 0, 0, 0 }));
}

TEST(BytesToBits, LeavesTheBitsAloneForNothingToSpread)
{
    const std::uint8_t byte = 0xff;
    byte_array bits(8, 9);
    common_t::convertbytes2bitarr(nullptr, 1, true, bits);
    common_t::convertbytes2bitarr(&byte, 0, true, bits);
    EXPECT_EQ(bits, byte_array(8, 9));
}

TEST(BytesToBits, RefusesAnArrayThatIsTooShort)
{
    const std::uint8_t bytes[] = { 1, 2 };
    byte_array bits(15, 0);
    EXPECT_THROW(common_t::convertbytes2bitarr(bytes, 2, true, bits), std::out_of_range);
}

TEST(BitsToBytes, GathersEightBitsFromEitherEnd)
{
    byte_array bits = { 1, 0, 0, 0, 0, 0, 1, 1, 0, 1 };
    byte_array bytes = { 9, 9, 9 };
    common_t::convertbits2bytearr(bits, 2, true, bytes);
    EXPECT_EQ(bytes, (byte_array{ 0x83, 0x40 }));
    EXPECT_EQ(bits.size(), 16u);
    common_t::convertbits2bytearr(bits, 2, false, bytes);
    EXPECT_EQ(bytes, (byte_array{ 0xc1, 0x02 }));
}

TEST(BitsToBytes, CutsTheBitsToTheCountOfBytes)
{
    byte_array bits(20, 1);
    byte_array bytes;
    common_t::convertbits2bytearr(bits, 1, true, bytes);
    EXPECT_EQ(bits.size(), 8u);
    EXPECT_EQ(bytes, (byte_array{ 0xff }));
}

TEST(BitsToBytes, LeavesBothAloneForNoBits)
{
    byte_array bits;
    byte_array bytes = { 5 };
    common_t::convertbits2bytearr(bits, 2, true, bytes);
    EXPECT_TRUE(bits.empty());
    EXPECT_EQ(bytes, (byte_array{ 5 }));
}

TEST(HexToBits, MakesEightBitsOfASingleDigit)
{
    byte_array bits = { 1, 1, 1 };
    common_t::hexstr2bitarr("A", true, bits);
    EXPECT_EQ(bits, (byte_array{ 0, 0, 0, 0, 1, 0, 1, 0 }));
    common_t::hexstr2bitarr("A", false, bits);
    EXPECT_EQ(bits, (byte_array{ 0, 1, 0, 1, 0, 0, 0, 0 }));
    common_t::hexstr2bitarr("", true, bits);
    EXPECT_TRUE(bits.empty());
}

TEST(HexToBits, FillsUpWithZerosBehindAnEarlyEndOfText)
{
    byte_array bits;
    common_t::hexstr2bitarr(std::string("f\0ff", 4), true, bits);
    EXPECT_EQ(bits, (byte_array{ 0, 0, 0, 0, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0 }));
}

TEST(BitsToHex, FillsTheBitsUpToWholeBytes)
{
    byte_array bits = { 1, 0, 1, 0, 1, 1, 0, 0, 1, 1 };
    std::string text = "before";
    common_t::bitarr2hexstr(bits, true, text);
    EXPECT_EQ(text, "acc0");
    EXPECT_EQ(bits.size(), 16u);
    byte_array none;
    common_t::bitarr2hexstr(none, true, text);
    EXPECT_TRUE(text.empty());
}

TEST(BitsToHex, IsTheInverseOfHexToBits)
{
    const std::string digits = "0123456789abcdef";
    for (const bool msb_first : { true, false })
    {
        byte_array bits;
        common_t::hexstr2bitarr(digits, msb_first, bits);
        std::string text;
        common_t::bitarr2hexstr(bits, msb_first, text);
        EXPECT_EQ(text, digits);
    }
}

TEST(BitsPerSymbol, FollowsTheTableOfEachGroup)
{
    const std::pair<std::uint32_t, std::uint32_t> qam[] = { { 0, 4 },  { 1, 5 },  { 2, 6 },  { 3, 7 },  { 4, 8 },
                                                            { 5, 9 },  { 6, 10 }, { 7, 11 }, { 8, 12 }, { 9, 4 },
                                                            { 10, 5 }, { 11, 4 }, { 12, 4 }, { 15, 4 }, { 99, 4 } };
    for (const auto& [format, bits] : qam)
        EXPECT_EQ(common_t::get_qm_from_modulation(qam_format(format)), bits) << format;
    const std::pair<std::uint32_t, std::uint32_t> levels[] = { { 0, 1 },  { 2, 1 },  { 4, 2 }, { 8, 3 },
                                                               { 16, 4 }, { 32, 1 }, { 64, 1 } };
    for (const auto& [format, bits] : levels)
    {
        EXPECT_EQ(common_t::get_ask_order_from_modulation(static_cast<lib_dma_ask_modulation_type_t>(format)), bits) << format;
        EXPECT_EQ(common_t::get_fsk_order_from_modulation(static_cast<lib_dma_fsk_modulation_type_t>(format)), bits) << format;
    }
    const std::pair<std::uint32_t, std::uint32_t> psk[] = {
        { 0, 1 }, { 2, 1 }, { 4, 2 }, { 8, 3 }, { 9, 2 }, { 10, 3 }, { 16, 1 }
    };
    for (const auto& [format, bits] : psk)
        EXPECT_EQ(common_t::get_psk_order_from_modulation(static_cast<lib_dma_psk_modulation_type_t>(format)), bits) << format;
    const std::pair<std::uint32_t, std::uint32_t> dpsk[] = {
        { 0, 1 }, { 2, 1 }, { 4, 2 }, { 5, 2 }, { 6, 3 }, { 8, 3 }, { 16, 1 }
    };
    for (const auto& [format, bits] : dpsk)
        EXPECT_EQ(common_t::get_dpsk_order_from_modulation(static_cast<lib_dma_dpsk_modulation_type_t>(format)), bits) << format;
    EXPECT_EQ(common_t::get_apsk_order_from_modulation(LIB_DMA_APSK_32), 5u);
    EXPECT_EQ(common_t::get_apsk_order_from_modulation(LIB_DMA_APSK_16), 4u);
    EXPECT_EQ(common_t::get_apsk_order_from_modulation(static_cast<lib_dma_apsk_modulation_type_t>(64)), 4u);
}

TEST(SymbolDecision, GivesTheNearestPointAndItsKey)
{
    const constellation_map map = { { 0, { 1.0f, 0.0f } }, { 3, { 0.0f, 1.0f } }, { 7, { -1.0f, -1.0f } } };
    EXPECT_EQ(common_t::get_symbol_decision_result(map, { 0.2f, 0.7f }), std::complex<float>(0.0f, 1.0f));
    EXPECT_EQ(common_t::get_symbol_index_decision_result(map, { 0.2f, 0.7f }), 3u);
    EXPECT_EQ(common_t::get_symbol_decision_result(map, { -5.0f, -4.0f }), std::complex<float>(-1.0f, -1.0f));
    EXPECT_EQ(common_t::get_symbol_index_decision_result(map, { -5.0f, -4.0f }), 7u);
}

TEST(SymbolDecision, GivesTheFirstOfEquallyNearPointsInKeyOrder)
{
    const constellation_map map = { { 0, { 3.0f, 0.0f } }, { 5, { 1.0f, 0.0f } }, { 2, { -1.0f, 0.0f } } };
    EXPECT_EQ(common_t::get_symbol_decision_result(map, { 0.0f, 4.0f }), std::complex<float>(-1.0f, 0.0f));
    EXPECT_EQ(common_t::get_symbol_index_decision_result(map, { 0.0f, 4.0f }), 2u);
}

TEST(SymbolDecision, IsZeroForAnEmptyMap)
{
    EXPECT_EQ(common_t::get_symbol_decision_result({}, { 1.0f, 1.0f }), std::complex<float>(0.0f, 0.0f));
    EXPECT_EQ(common_t::get_symbol_index_decision_result({}, { 1.0f, 1.0f }), 0u);
}

TEST(SymbolDecision, RaisesForAMapWithoutKeyZeroButGivesItsKey)
{
    const constellation_map map = { { 1, { 1.0f, 0.0f } }, { 2, { -1.0f, 0.0f } } };
    try
    {
        common_t::get_symbol_decision_result(map, { 1.0f, 0.0f });
        FAIL() << "no range error";
    }
    catch (const std::out_of_range& error)
    {
        EXPECT_STREQ(error.what(), "map::at");
    }
    EXPECT_EQ(common_t::get_symbol_index_decision_result(map, { -1.0f, 0.0f }), 2u);
}

TEST(SymbolDecision, GivesPointOfKeyZeroForASymbolThatIsNotANumber)
{
    const constellation_map map = { { 0, { 1.0f, 0.0f } }, { 1, { -1.0f, 0.0f } } };
    EXPECT_EQ(common_t::get_symbol_decision_result(map, { nan_value, 0.0f }), std::complex<float>(1.0f, 0.0f));
    EXPECT_EQ(common_t::get_symbol_index_decision_result(map, { nan_value, 0.0f }), 0u);
}

TEST(SymbolDecision, TakesDistancesOfPointsInDoubleAndOfKeysInSingle)
{
    // The squared distances differ in the ninth digit: doubles tell them apart, singles find them equal.
    const constellation_map map = { { 0, { 1.00000012f, 1.0f } }, { 1, { 1.0f, 1.0f } } };
    const std::complex<float> point = { 0.0f, 1000.0f };
    EXPECT_EQ(common_t::get_symbol_decision_result(map, point), std::complex<float>(1.0f, 1.0f));
    EXPECT_EQ(common_t::get_symbol_index_decision_result(map, point), 0u);
}

TEST(PskDemodBit, DecidesBpskInTwoHalves)
{
    constexpr auto format = LIB_DMA_MODULATION_PSK_BPSK;
    EXPECT_EQ(common_t::psk_demod_bit({ 1.0f, 0.0f }, format, 0.0f), 1u);
    EXPECT_EQ(common_t::psk_demod_bit({ 0.0f, 1.0f }, format, 0.0f), 1u); // the bound belongs to the lower side
    EXPECT_EQ(common_t::psk_demod_bit({ 0.0f, -1.0f }, format, 0.0f), 0u);
    EXPECT_EQ(common_t::psk_demod_bit({ -1.0f, 0.1f }, format, 0.0f), 0u);
}

TEST(PskDemodBit, DecidesQpskInQuadrantsAroundTheAxes)
{
    const std::pair<double, std::uint32_t> cases[] = { { 0, 1 },   { 44, 1 },   { 46, 0 },   { 134, 0 }, { 136, 2 },
                                                       { 180, 2 }, { -136, 2 }, { -134, 3 }, { -46, 3 }, { -44, 1 } };
    for (const auto format : { LIB_DMA_MODULATION_PSK_QPSK, LIB_DMA_MODULATION_PSK_3PI_4_QPSK })
    {
        for (const auto& [degrees, index] : cases)
            EXPECT_EQ(common_t::psk_demod_bit(make_point(1.0, degrees), format, 0.0f), index) << degrees;
        EXPECT_EQ(common_t::psk_demod_bit({ 1.0f, 1.0f }, format, 0.0f), 1u);
        EXPECT_EQ(common_t::psk_demod_bit({ -1.0f, 1.0f }, format, 0.0f), 0u);
        EXPECT_EQ(common_t::psk_demod_bit({ -1.0f, -1.0f }, format, 0.0f), 2u);
        EXPECT_EQ(common_t::psk_demod_bit({ 1.0f, -1.0f }, format, 0.0f), 3u);
    }
}

TEST(PskDemodBit, DecidesEightSectorsUpwards)
{
    for (const auto format : { LIB_DMA_MODULATION_PSK_8_PSK, LIB_DMA_MODULATION_PSK_3PI_8_PSK })
    {
        for (std::uint32_t k = 0; k < 8; ++k)
        {
            for (const double off : { -22.0, 0.0, 22.0 })
                EXPECT_EQ(common_t::psk_demod_bit(make_point(2.0, 45.0 * k + off), format, 0.0f), k) << off;
        }
    }
}

TEST(PskDemodBit, GivesTheKeysOfTheDefaultSetsAtTheirRotation)
{
    const std::pair<lib_dma_psk_modulation_type_t, std::uint32_t> formats[] = { { LIB_DMA_MODULATION_PSK_BPSK, 2 },
                                                                                { LIB_DMA_MODULATION_PSK_QPSK, 4 },
                                                                                { LIB_DMA_MODULATION_PSK_8_PSK, 8 } };
    for (const auto& [format, points] : formats)
    {
        constellation_map map;
        common_lib::lib_constellation_psk_t::generate_default_psk_constellation(points, map, false);
        const float rotation = points == 4 ? 0.78539816f : 0.0f;
        for (const auto& [key, point] : map)
            EXPECT_EQ(common_t::psk_demod_bit(point, format, rotation), key) << points << " points";
    }
}

TEST(PskDemodBit, LogsAnUnknownFormatAndDecidesAsBpsk)
{
    const log_capture_t log;
    const auto unknown = static_cast<lib_dma_psk_modulation_type_t>(3);
    EXPECT_EQ(common_t::psk_demod_bit({ 1.0f, 0.0f }, unknown, 0.0f), 1u);
    EXPECT_EQ(common_t::psk_demod_bit({ -1.0f, 0.0f }, unknown, 0.0f), 0u);
    EXPECT_EQ(log.count(3, "psk_demod_bit: modulation_type is not psk!,will reset psk_bpsk.\n"), 2);
}

TEST(DpskDemodBit, DecidesTwoHalvesFourAndEightSectors)
{
    const auto radians = [](double degrees) { return static_cast<float>(degrees * std::numbers::pi / 180.0); };
    for (const auto& [degrees, index] :
         { std::pair{ 0.0, 1u }, { 90.0, 1u }, { -89.0, 1u }, { -90.0, 0u }, { 91.0, 0u }, { 180.0, 0u } })
        EXPECT_EQ(common_t::dpsk_demod_bit(radians(degrees), LIB_DMA_MODULATION_PSK_DBPSK), index) << degrees;
    for (const auto& [degrees, index] : { std::pair{ 0.0, 0u },
                                          { 45.0, 0u },
                                          { 46.0, 1u },
                                          { 135.0, 1u },
                                          { 136.0, 2u },
                                          { 180.0, 2u },
                                          { -180.0, 2u },
                                          { -135.0, 2u },
                                          { -134.0, 3u },
                                          { -45.0, 3u },
                                          { -44.0, 0u } })
        EXPECT_EQ(common_t::dpsk_demod_bit(radians(degrees), LIB_DMA_MODULATION_PSK_DQPSK), index) << degrees;
    for (const auto& [degrees, index] : { std::pair{ 0.0, 0u },
                                          { 22.5, 0u },
                                          { 45.0, 1u },
                                          { 90.0, 2u },
                                          { 135.0, 3u },
                                          { 157.5, 3u },
                                          { 158.0, 4u },
                                          { -180.0, 4u },
                                          { -157.5, 4u },
                                          { -135.0, 5u },
                                          { -90.0, 6u },
                                          { -45.0, 7u },
                                          { -22.5, 7u } })
        EXPECT_EQ(common_t::dpsk_demod_bit(radians(degrees), LIB_DMA_MODULATION_PSK_D8PSK), index) << degrees;
}

TEST(DpskDemodBit, GivesTheKeysOfTheDefaultSets)
{
    const std::pair<lib_dma_dpsk_modulation_type_t, std::uint32_t> formats[] = { { LIB_DMA_MODULATION_PSK_DBPSK, 2 },
                                                                                 { LIB_DMA_MODULATION_PSK_DQPSK, 4 },
                                                                                 { LIB_DMA_MODULATION_PSK_D8PSK, 8 } };
    for (const auto& [format, points] : formats)
    {
        constellation_map map;
        common_lib::lib_constellation_dpsk_t::generate_default_dpsk_constellation(points, map, false);
        for (const auto& [key, point] : map)
            EXPECT_EQ(common_t::dpsk_demod_bit(std::arg(point), format), key) << points << " points";
    }
}

TEST(DpskDemodBit, LogsFormatsWithoutSectorsAndDecidesInTwoHalves)
{
    const log_capture_t log;
    for (const std::uint32_t format : { 0u, 5u, 6u, 7u })
    {
        EXPECT_EQ(common_t::dpsk_demod_bit(1.0f, static_cast<lib_dma_dpsk_modulation_type_t>(format)), 1u);
        EXPECT_EQ(common_t::dpsk_demod_bit(2.0f, static_cast<lib_dma_dpsk_modulation_type_t>(format)), 0u);
    }
    EXPECT_EQ(log.count(3, "dpsk_demod_bit: modulation_type is not dpsk!,will reset dpsk_dbpsk.\n"), 8);
}

TEST(FskDemodBit, DecidesFourTonesAtTwoThirdsAndZero)
{
    const std::pair<float, std::uint32_t> cases[] = { { -2.0f, 0 }, { -1.0f, 0 },  { -2.0f / 3.0f, 0 }, { -0.66f, 1 },
                                                      { 0.0f, 1 },  { 0.001f, 3 }, { 0.66f, 3 },        { 2.0f / 3.0f, 2 },
                                                      { 1.0f, 2 },  { 3.0f, 2 } };
    for (const auto& [value, index] : cases)
        EXPECT_EQ(common_t::fsk_demod_bit(value, LIB_DMA_FSK_4), index) << value;
}

TEST(FskDemodBit, DecidesEightAndSixteenTonesAtTheirBounds)
{
    const std::pair<double, std::uint32_t> eight[] = { { -6.01, 0 }, { -5.99, 1 }, { -4.01, 1 }, { -3.99, 2 }, { -2.01, 2 },
                                                       { -1.99, 3 }, { 0.01, 7 },  { 1.99, 7 },  { 2.01, 6 },  { 3.99, 6 },
                                                       { 4.01, 5 },  { 5.99, 5 },  { 6.01, 4 } };
    for (const auto& [sevenths, index] : eight)
        EXPECT_EQ(common_t::fsk_demod_bit(static_cast<float>(sevenths / 7.0), LIB_DMA_FSK_8), index) << sevenths;
    const std::pair<double, std::uint32_t> sixteen[] = { { -14.1, 0 }, { -13.9, 1 }, { -2.1, 6 }, { -1.9, 7 },
                                                         { 1.9, 15 },  { 2.1, 14 },  { 13.9, 9 }, { 14.1, 8 } };
    for (const auto& [fifteenths, index] : sixteen)
        EXPECT_EQ(common_t::fsk_demod_bit(static_cast<float>(fifteenths / 15.0), LIB_DMA_FSK_16), index) << fifteenths;
}

TEST(FskDemodBit, GivesTheKeysOfTheDefaultSets)
{
    for (const auto format : { LIB_DMA_FSK_2, LIB_DMA_FSK_4, LIB_DMA_FSK_8, LIB_DMA_FSK_16 })
    {
        constellation_map map;
        common_lib::lib_constellation_fsk_t::generate_default_fsk_constellation(format, map, false);
        for (const auto& [key, point] : map)
            EXPECT_EQ(common_t::fsk_demod_bit(point.real(), format), key) << format;
    }
}

TEST(FskDemodBit, LogsOtherFormatsAndDecidesInTwoLevels)
{
    const log_capture_t log;
    EXPECT_EQ(common_t::fsk_demod_bit(0.0f, LIB_DMA_FSK_2), 0u);
    EXPECT_EQ(common_t::fsk_demod_bit(0.5f, LIB_DMA_FSK_2), 1u);
    EXPECT_TRUE(log.get_records().empty());
    for (const std::uint32_t format : { 3u, 32u, 64u })
    {
        EXPECT_EQ(common_t::fsk_demod_bit(-0.9f, static_cast<lib_dma_fsk_modulation_type_t>(format)), 0u);
        EXPECT_EQ(common_t::fsk_demod_bit(0.9f, static_cast<lib_dma_fsk_modulation_type_t>(format)), 1u);
    }
    EXPECT_EQ(log.count(3, "fsk_demod_bit: modulation_type is not fsk!,will reset fsk_2.\n"), 6);
}

TEST(AskDemodBit, GivesTheKeysOfTheDefaultSetsAtAnyPhase)
{
    for (const auto format : { LIB_DMA_ASK_2, LIB_DMA_ASK_4, LIB_DMA_ASK_8, LIB_DMA_ASK_16 })
    {
        constellation_map map;
        common_lib::lib_constellation_ask_t::generate_default_ask_constellation(format, map, 1.0f, false, 0);
        for (const auto& [key, point] : map)
        {
            for (const float degrees : { 0.0f, 100.0f, -170.0f })
            {
                const auto turned = make_point(static_cast<double>(point.real()), static_cast<double>(degrees));
                EXPECT_EQ(common_t::ask_demod_bit(turned, format), key) << format << " levels";
            }
        }
    }
}

TEST(AskDemodBit, DecidesHalfwayBetweenLevelsOfUnitRms)
{
    const double half = std::sqrt(2.0) / 2.0;
    EXPECT_EQ(common_t::ask_demod_bit(make_point(half - 1e-4, 0.0), LIB_DMA_ASK_2), 0u);
    EXPECT_EQ(common_t::ask_demod_bit(make_point(half + 1e-4, 0.0), LIB_DMA_ASK_2), 1u);
    for (const std::uint32_t levels : { 4u, 8u, 16u })
    {
        const double unit = 1.0 / std::sqrt((levels + 1.0) * (2.0 * levels + 1.0) / 6.0);
        const auto format = static_cast<lib_dma_ask_modulation_type_t>(levels);
        for (std::uint32_t k = 0; k + 1 < levels; ++k)
        {
            EXPECT_EQ(common_t::ask_demod_bit(make_point((k + 1.5) * unit - 1e-4, 30.0), format), k);
            EXPECT_EQ(common_t::ask_demod_bit(make_point((k + 1.5) * unit + 1e-4, 30.0), format), k + 1);
        }
        EXPECT_EQ(common_t::ask_demod_bit({ 0.0f, 0.0f }, format), 0u);
        EXPECT_EQ(common_t::ask_demod_bit({ 50.0f, 0.0f }, format), levels - 1);
    }
}

TEST(AskDemodBit, LogsAnUnknownFormatAndDecidesInTwoLevels)
{
    const log_capture_t log;
    EXPECT_EQ(common_t::ask_demod_bit({ 0.1f, 0.0f }, static_cast<lib_dma_ask_modulation_type_t>(3)), 0u);
    EXPECT_EQ(common_t::ask_demod_bit({ 1.3f, 0.0f }, static_cast<lib_dma_ask_modulation_type_t>(3)), 1u);
    EXPECT_EQ(log.count(3, "ask_demod_bit: modulation_type is not ask!,will reset ask_2.\n"), 2);
}

TEST(QamDemodBit, GivesTheKeyOfEveryDefaultPoint)
{
    for (const qam_set_t& set : qam_sets)
    {
        for (const auto& [key, point] : make_qam(set.points))
            ASSERT_EQ(common_t::qam_demod_bit(point, qam_format(set.format)), key) << set.points << " points";
    }
}

TEST(QamDemodBit, DecidesForTheNearestPointAlsoInMissingCornersAndFarOut)
{
    constexpr std::uint32_t seed = 77;
    for (const qam_set_t& set : qam_sets)
    {
        const constellation_map map = make_qam(set.points);
        std::mt19937 engine(seed);
        std::uniform_real_distribution<float> part(-2.0f, 2.0f);
        for (int i = 0; i < 400; ++i)
        {
            const std::complex<float> point = { part(engine), part(engine) };
            const auto distance = [&](std::uint32_t key)
            { return std::abs(std::complex<double>(map.at(key)) - std::complex<double>(point)); };
            double smallest = 1e9;
            for (const auto& [key, candidate] : map)
                smallest = std::min(smallest, distance(key));
            const std::uint32_t key = common_t::qam_demod_bit(point, qam_format(set.format));
            ASSERT_LT(key, set.points);
            // The default points are rounded to single precision, the decision is not.
            EXPECT_LE(distance(key), smallest + 1e-6) << set.points << " points, " << point << ", seed " << seed;
        }
    }
}

TEST(QamDemodBit, StaysInsideTheSetForWhatIsNoNumber)
{
    const float infinity = std::numeric_limits<float>::infinity();
    for (const qam_set_t& set : qam_sets)
    {
        for (const float part : { nan_value, infinity, -infinity, 3e38f })
        {
            EXPECT_LT(common_t::qam_demod_bit({ part, part }, qam_format(set.format)), set.points);
            EXPECT_LT(common_t::qam_demod_bit({ 0.1f, part }, qam_format(set.format)), set.points);
        }
    }
}

TEST(QamIndex, CountsRowsOfTheSquareAroundTheSet)
{
    const double unit_16 = 1.0 / std::sqrt(10.0);
    for (int row = 0; row < 4; ++row)
    {
        for (int column = 0; column < 4; ++column)
        {
            const auto point = std::complex<float>(std::complex<double>((2 * column - 3) * unit_16, (2 * row - 3) * unit_16));
            EXPECT_EQ(common_t::qam_idx(point, LIB_DMA_QAM_16), static_cast<std::uint32_t>(4 * row + column));
        }
    }
    const double unit_32 = 1.0 / std::sqrt(20.0);
    // (-5, -5) is missing; a point there, a little off, goes to the nearer of its two neighbours.
    EXPECT_EQ(common_t::qam_idx(std::complex<float>(std::complex<double>(-4.9 * unit_32, -5.0 * unit_32)), LIB_DMA_QAM_32), 1u);
    EXPECT_EQ(common_t::qam_idx(std::complex<float>(std::complex<double>(-5.0 * unit_32, -4.9 * unit_32)), LIB_DMA_QAM_32), 6u);
    EXPECT_EQ(common_t::qam_idx({ 9.0f, 0.1f }, LIB_DMA_QAM_32), 23u);
}

TEST(QamIndex, LogsBroadcastFormatsAndDecidesAsSixteenPoints)
{
    const log_capture_t log;
    EXPECT_EQ(common_t::qam_idx({ 9.0f, 9.0f }, LIB_DMA_DVB_QAM_64), 15u);
    EXPECT_EQ(common_t::qam_demod_bit({ 9.0f, 9.0f }, LIB_DMA_DVB_QAM_256), 0b1010u);
    EXPECT_EQ(log.get_records().size(), 2u);
    for (const auto& record : log.get_records())
        EXPECT_EQ(record.level, 3u);
}

TEST(ApskDemodBit, GivesTheKeysOfTheRingTables)
{
    constellation_map map;
    common_t::generate_16apsk_constellation(map, false, 2.85f, 0.0f, 0.0f);
    for (const auto& [key, point] : map)
        EXPECT_EQ(common_t::apsk_demod_bit(point, LIB_DMA_APSK_16, 2.85f, 0.0f), key);
    common_t::generate_32apsk_constellation(map, false, 2.84f, 5.27f, 0.0f, 0.0f, 0.0f);
    for (const auto& [key, point] : map)
        EXPECT_EQ(common_t::apsk_demod_bit(point, LIB_DMA_APSK_32, 2.84f, 5.27f), key);
}

TEST(ApskDemodBit, DecidesTheRingHalfwayAndTheSectorByThePhase)
{
    // Ring 1 starts at 45 degrees in steps of 90, ring 2 at 45 in steps of 30, ring 3 at 22.5 in steps of 22.5.
    EXPECT_EQ(common_t::apsk_demod_bit(make_point(1.99, 46.0), LIB_DMA_APSK_16, 3.0f, 0.0f), 12u);
    EXPECT_EQ(common_t::apsk_demod_bit(make_point(2.01, 46.0), LIB_DMA_APSK_16, 3.0f, 0.0f), 0u);
    EXPECT_EQ(common_t::apsk_demod_bit(make_point(2.01, 59.0), LIB_DMA_APSK_16, 3.0f, 0.0f), 0u);
    EXPECT_EQ(common_t::apsk_demod_bit(make_point(2.01, 61.0), LIB_DMA_APSK_16, 3.0f, 0.0f), 1u);
    EXPECT_EQ(common_t::apsk_demod_bit(make_point(9.0, 16.0), LIB_DMA_APSK_16, 3.0f, 0.0f), 11u);
    EXPECT_EQ(common_t::apsk_demod_bit(make_point(1.0, -44.0), LIB_DMA_APSK_16, 3.0f, 0.0f), 15u);
    EXPECT_EQ(common_t::apsk_demod_bit(make_point(3.99, 46.0), LIB_DMA_APSK_32, 3.0f, 5.0f), 16u);
    EXPECT_EQ(common_t::apsk_demod_bit(make_point(4.01, 46.0), LIB_DMA_APSK_32, 3.0f, 5.0f), 1u);
    EXPECT_EQ(common_t::apsk_demod_bit(make_point(5.0, 0.0), LIB_DMA_APSK_32, 3.0f, 5.0f), 15u);
}

TEST(ApskDemodBit, LogsAnUnknownFormat)
{
    const log_capture_t log;
    EXPECT_EQ(common_t::apsk_demod_bit({ 1.0f, 1.0f }, static_cast<lib_dma_apsk_modulation_type_t>(8), 2.0f, 3.0f), 0u);
    EXPECT_EQ(log.count(3, "apsk_demod_bit: modulation_type is not apsk!!!\n"), 1);
}

TEST(QamMaxMag, IsTheGridUnitTimesTheConstantOfTheFormat)
{
    const std::pair<std::uint32_t, float> expected[] = {
        { 0, 0.31622776f * 4.2426405f }, { 1, 0.2236068f * 7.071068f },    { 2, 0.15430336f * 9.899495f },
        { 3, 0.11043153f * 15.556349f }, { 4, 0.0766965f * 21.213203f },   { 5, 0.05504819f * 32.526913f },
        { 6, 0.03829198f * 43.840622f }, { 7, 0.027503267f * 4.2426405f }, { 8, 0.0205412f * 43.840622f },
        { 9, 0.31622776f * 4.2426405f }, { 10, 0.2236068f * 4.2426405f },
    };
    for (const auto& [format, value] : expected)
        EXPECT_EQ(common_t::qam_get_max_mag(qam_format(format)), value) << format;
}

TEST(SplitParts, GoApartAndTogether)
{
    const complex_array data = { { 1.0f, 2.0f }, { -3.0f, 4.0f } };
    float_array i_part = { 9.0f };
    float_array q_part = { 9.0f, 9.0f, 9.0f };
    common_t::get_iq_data(data, i_part, q_part);
    EXPECT_EQ(i_part, (float_array{ 1.0f, -3.0f }));
    EXPECT_EQ(q_part, (float_array{ 2.0f, 4.0f }));
    float_array real = { 9.0f };
    common_t::complex_to_float_arr(data, real);
    EXPECT_EQ(real, (float_array{ 1.0f, -3.0f }));
    complex_array out = { { 9.0f, 9.0f } };
    common_t::float_to_complex_arr(real, out);
    EXPECT_EQ(out, (complex_array{ { 1.0f, 0.0f }, { -3.0f, 0.0f } }));
}

TEST(FloatRms, IsTheRootOfTheMeanSquare)
{
    EXPECT_EQ(common_t::get_float_array_rms({ 3.0f, -3.0f, 3.0f }), 3.0f);
    EXPECT_FLOAT_EQ(common_t::get_float_array_rms({ 1.0f, 2.0f, 3.0f, 4.0f }), static_cast<float>(std::sqrt(7.5)));
}

TEST(FloatRms, KeepsItsSumInSinglePrecision)
{
    // 4096^2 is 2^24; adding 1 to it is lost in single precision.
    EXPECT_EQ(common_t::get_float_array_rms({ 4096.0f, 1.0f, 1.0f, 1.0f }), 2048.0f);
}

TEST(FloatRms, ReportsAnEmptyArrayAndGivesZero)
{
    const trace_capture_t trace;
    EXPECT_EQ(common_t::get_float_array_rms({}), 0.0f);
    EXPECT_EQ(trace.get_text(), "lib_common_math_t::get_float_array_rms Report: Empty data array to rms calculation!\n");
}

TEST(FloatAmplitude, IsTheAbsoluteValueAlsoInPlace)
{
    float_array values = { -1.5f, 0.0f, 2.0f };
    float_array out = { 9.0f };
    common_t::get_float_array_amplitude(values, out);
    EXPECT_EQ(out, (float_array{ 1.5f, 0.0f, 2.0f }));
    common_t::get_float_array_amplitude(values, values);
    EXPECT_EQ(values, out);
}
