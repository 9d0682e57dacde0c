#pragma once

#include "json_number.h"

#include <cstdint>
#include <limits>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace dmatool
{
/// How the text of a settings element is meant and read.
enum class settings_kind_t
{
    truth,       ///< true or false by its first letter
    number_flag, ///< on for any number but 0
    whole32,
    signed32,
    whole64,
    single,
    real,
    enumerator,
    text, ///< bits or hexadecimal digits of a sync word
    bits, ///< list of bits; the value is how many there are
    points,
    indices,
};

/// Enumerators stand as their names.
using settings_value_t = std::variant<bool, std::uint64_t, std::int64_t, float, double, std::string>;

/// What a value of a kind may be.
struct settings_form_t
{
    settings_kind_t kind;
    std::vector<std::string_view> names; ///< of the enumerators, the one for unknown names first
};

/// The value as a recall reads it, before any setter. An absent node reads as 0, false, the empty text or the first name.
settings_value_t read_settings_value(const settings_form_t& form, const pugi::xml_node& node);

/// What the writer of a text meant.
struct written_value_t
{
    bool is_known = false;
    settings_value_t value; ///< if known
    std::string fault;      ///< what the text is not, otherwise
};
written_value_t parse_settings_value(const settings_form_t& form, const std::string& text);

/// True for the same value; a not-a-number is the same as another.
bool is_same_value(const settings_value_t& a, const settings_value_t& b);
/// The value in as many digits as tell it from its neighbours.
std::string get_value_text(const settings_value_t& value);
json_t get_value_json(const settings_value_t& value);
/// Any value as a number; 0 for texts.
double get_value_number(const settings_value_t& value);

/// A text in quotes, cut in the middle of a message where it is long.
std::string quote_short(const std::string& text);
} // namespace dmatool
