#include "settings_field.h"
#include "settings_value.h"

#include <gtest/gtest.h>

#include <pugixml.hpp>

#include <cmath>
#include <limits>
#include <set>
#include <string>
#include <variant>

using namespace dmatool;

namespace
{
settings_value_t read_text(settings_kind_t kind, const std::string& text)
{
    pugi::xml_document document;
    document.append_child("a").text().set(text.c_str());
    return read_settings_value({ kind, { "FIRST", "SECOND" } }, document.child("a"));
}

written_value_t parse_text(settings_kind_t kind, const std::string& text)
{
    return parse_settings_value({ kind, { "FIRST", "SECOND" } }, text);
}
} // namespace

TEST(SettingsValue, IsReadAsARecallReadsIt)
{
    EXPECT_EQ(std::get<bool>(read_text(settings_kind_t::truth, "tomato")), true);
    EXPECT_EQ(std::get<bool>(read_text(settings_kind_t::truth, " true")), false);
    EXPECT_EQ(std::get<bool>(read_text(settings_kind_t::number_flag, "true")), false);
    EXPECT_EQ(std::get<bool>(read_text(settings_kind_t::number_flag, "-0.5")), true);
    EXPECT_EQ(std::get<std::uint64_t>(read_text(settings_kind_t::whole32, "4294967299")), 4294967295U);
    EXPECT_EQ(std::get<std::int64_t>(read_text(settings_kind_t::signed32, "-7")), -7);
    EXPECT_EQ(std::get<std::string>(read_text(settings_kind_t::enumerator, "SECOND")), "SECOND");
    EXPECT_EQ(std::get<std::string>(read_text(settings_kind_t::enumerator, "second")), "FIRST");
    EXPECT_EQ(std::get<float>(read_text(settings_kind_t::single, "0.1")), 0.1f);
    EXPECT_EQ(std::get<double>(read_settings_value({ settings_kind_t::real, {} }, pugi::xml_node())), 0.0);
}

TEST(SettingsValue, IsTakenAsItsWriterMeantIt)
{
    EXPECT_EQ(std::get<bool>(parse_text(settings_kind_t::number_flag, "true").value), true);
    EXPECT_EQ(std::get<std::uint64_t>(parse_text(settings_kind_t::whole64, "18446744073709551615").value),
              std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(std::get<std::uint64_t>(parse_text(settings_kind_t::whole32, "0xFF").value), 255U);
    EXPECT_EQ(std::get<std::uint64_t>(parse_text(settings_kind_t::whole32, "-0").value), 0U);
    EXPECT_EQ(std::get<float>(parse_text(settings_kind_t::single, "0.600000024").value), 0.6f);
    EXPECT_EQ(std::get<double>(parse_text(settings_kind_t::real, " 1e-7\n").value), 1.0e-7);
}

TEST(SettingsValue, SaysWhatATextIsNot)
{
    EXPECT_EQ(parse_text(settings_kind_t::whole64, "18446744073709551616").fault, "does not fit 64 bits");
    EXPECT_EQ(parse_text(settings_kind_t::whole32, "4294967296").fault, "does not fit 32 bits");
    EXPECT_EQ(parse_text(settings_kind_t::signed32, "-99999999999").fault, "does not fit 32 bits");
    EXPECT_EQ(parse_text(settings_kind_t::whole32, "1.5").fault, "is no whole number in plain digits");
    EXPECT_EQ(parse_text(settings_kind_t::whole32, "--5").fault, "is no number");
    EXPECT_EQ(parse_text(settings_kind_t::whole32, "").fault, "is no number");
    EXPECT_EQ(parse_text(settings_kind_t::single, "1e39").fault, "does not fit single precision");
    EXPECT_EQ(parse_text(settings_kind_t::single, "1e-60").fault, "does not fit single precision");
    for (const char* text : { "", "nan", "inf", "0x10", "1 2", "1e999", "0,5", "." })
    {
        EXPECT_EQ(parse_text(settings_kind_t::real, text).fault, "is no finite number") << text;
    }
    EXPECT_NE(parse_text(settings_kind_t::enumerator, "THIRD").fault.find("FIRST, SECOND"), std::string::npos);
}

TEST(SettingsValue, NotANumberIsTheSameAsItself)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(is_same_value(nan, nan));
    EXPECT_FALSE(is_same_value(nan, 0.0));
    EXPECT_TRUE(is_same_value(0.0f, -0.0f));
    EXPECT_FALSE(is_same_value(true, std::uint64_t{ 1 }));
}

TEST(SettingsField, HasEveryElementOnce)
{
    std::set<std::string> names;
    for (const settings_field_t& field : get_settings_fields())
    {
        EXPECT_TRUE(names.insert(field.name).second) << field.name;
        EXPECT_FALSE(field.label.empty()) << field.name;
    }
    // 14 of the frame, 3 of time, 7 of filter, 30 of format, 15 advanced, 4 of bit errors.
    EXPECT_EQ(names.size(), 73U);
}
