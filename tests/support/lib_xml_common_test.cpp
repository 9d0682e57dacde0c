#include "support/lib_xml_common.h"

#include "message_capture.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

using namespace vrim::common_lib;

namespace
{
enum class fruit_t : std::uint32_t
{
    none = 0,
    apple = 3,
    pear = 5,
    quince = 9,
};

constexpr enum_entry_t<fruit_t> fruit_entries[] = {
    { fruit_t::apple, "Apple" }, { fruit_t::pear, "Pear" }, { fruit_t::quince, "Pear" }, // one text twice
};
constexpr std::span<const enum_entry_t<fruit_t>> fruits = fruit_entries;
constexpr std::span<const enum_entry_t<fruit_t>> no_fruits;
} // namespace

TEST(ProtocolName, LeadsBackToItsNumber)
{
    for (const plib_protocol_type_t number : { 22u, 25u })
    {
        const std::string name = lib_xml_common_t::get_protocol_name(number);
        EXPECT_FALSE(name.empty()) << number;
        plib_protocol_type_t type = 0;
        EXPECT_TRUE(lib_xml_common_t::get_protocol_type(name, type));
        EXPECT_EQ(type, number);
    }
    EXPECT_NE(lib_xml_common_t::get_protocol_name(22), lib_xml_common_t::get_protocol_name(25));
}

TEST(ProtocolName, StaysTheNameThatIsInSavedFiles)
{
    EXPECT_EQ(lib_xml_common_t::get_protocol_name(protocol_dma_frame), "cfg_dma_frame");
    EXPECT_EQ(lib_xml_common_t::get_protocol_name(protocol_fir_parameter), "lib_fir_design_parameter");
}

TEST(ProtocolName, IsEmptyForAnUnknownNumber)
{
    for (const plib_protocol_type_t number : { 0u, 21u, 23u, 24u, 26u })
        EXPECT_EQ(lib_xml_common_t::get_protocol_name(number), "") << number;
}

TEST(ProtocolName, LeavesTheNumberAloneWhenUnknown)
{
    for (const char* name : { "", "cfg_dma_fram", "CFG_DMA_FRAME", "22" })
    {
        plib_protocol_type_t type = 99;
        EXPECT_FALSE(lib_xml_common_t::get_protocol_type(name, type)) << name;
        EXPECT_EQ(type, 99u) << name;
    }
}

TEST(EnumValue, IsTheFirstOneWithTheText)
{
    trace_capture_t trace;
    EXPECT_EQ(lib_xml_common_t::get_enum_value(fruits, "Apple"), fruit_t::apple);
    EXPECT_EQ(lib_xml_common_t::get_enum_value(fruits, "Pear"), fruit_t::pear);
    EXPECT_EQ(trace.get_text(), "");
}

TEST(EnumValue, IsTheFirstOneOfAllForAnUnknownText)
{
    trace_capture_t trace;
    for (const std::string_view text : { "", "apple", "Pea", "Pears", " Pear", "5", "\xff" })
        EXPECT_EQ(lib_xml_common_t::get_enum_value(fruits, text), fruit_t::apple) << text;
    EXPECT_EQ(lib_xml_common_t::get_enum_value(fruits, std::string_view("Pear\0", 5)), fruit_t::apple);
    EXPECT_EQ(trace.get_text(), "");
}

TEST(EnumValue, IsSaidToHaveNoTextsWithoutEntries)
{
    trace_capture_t trace;
    EXPECT_EQ(lib_xml_common_t::get_enum_value(no_fruits, "Apple"), fruit_t::none);
    EXPECT_EQ(trace.get_text(), "lib_xml_common_t::get_enum_value Warning : Empty enum string mapping!\n");
}

TEST(EnumText, IsThatOfTheValue)
{
    EXPECT_EQ(lib_xml_common_t::get_enum_text(fruits, fruit_t::apple), "Apple");
    EXPECT_EQ(lib_xml_common_t::get_enum_text(fruits, fruit_t::pear), "Pear");
    EXPECT_EQ(lib_xml_common_t::get_enum_text(fruits, fruit_t::quince), "Pear");
}

TEST(EnumText, ThrowsForAValueWithoutOne)
{
    const auto get_failure = [](std::span<const enum_entry_t<fruit_t>> entries, fruit_t value)
    {
        try
        {
            return "no exception but " + lib_xml_common_t::get_enum_text(entries, value);
        }
        catch (const std::out_of_range& error)
        {
            return std::string(error.what());
        }
    };
    EXPECT_EQ(get_failure(fruits, fruit_t::none), "map::at");
    EXPECT_EQ(get_failure(fruits, static_cast<fruit_t>(4)), "map::at");
    EXPECT_EQ(get_failure(no_fruits, fruit_t::apple), "map::at");
}
