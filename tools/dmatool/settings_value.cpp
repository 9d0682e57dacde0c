#include "settings_value.h"

#include "tool_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <system_error>
#include <type_traits>

namespace dmatool
{
namespace
{
constexpr const char* blanks = " \t\r\n";
constexpr std::size_t longest_quote = 48;

std::string trim(const std::string& text)
{
    const std::size_t first = text.find_first_not_of(blanks);
    return first == std::string::npos ? std::string() : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// The whole text as one finite number in decimal or scientific notation.
bool find_number(const std::string& text, double& value)
{
    const std::string word = trim(text);
    if (word.empty() || word.find_first_not_of("+-.0123456789eE") != std::string::npos)
    {
        return false;
    }
    char* end = nullptr;
    value = std::strtod(word.c_str(), &end);
    return end == word.c_str() + word.size() && std::isfinite(value);
}

written_value_t fail(const std::string& fault)
{
    written_value_t written;
    written.fault = fault;
    return written;
}

written_value_t parse_truth(const std::string& text)
{
    const std::string key = get_name_key(trim(text));
    if (key == "true" || key == "1" || key == "yes")
    {
        return { true, true, {} };
    }
    if (key == "false" || key == "0" || key == "no")
    {
        return { true, false, {} };
    }
    return fail("is neither true nor false; only a first letter of t, y or 1 turns on");
}

written_value_t parse_number_flag(const std::string& text)
{
    double number = 0.0;
    if (find_number(text, number))
    {
        return { true, number != 0.0, {} };
    }
    return parse_truth(text).is_known ? parse_truth(text) : fail("is no number");
}

/// A whole number; pugixml takes hexadecimal digits behind 0x too.
template <typename whole_t>
written_value_t parse_whole_text(const std::string& text, const char* too_large)
{
    std::string word = trim(text);
    const bool negative = word.starts_with('-');
    if (negative || word.starts_with('+'))
    {
        word.erase(0, 1);
    }
    const bool hexadecimal = word.starts_with("0x") || word.starts_with("0X");
    if (hexadecimal)
    {
        word.erase(0, 2);
    }
    std::uint64_t magnitude = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), magnitude, hexadecimal ? 16 : 10);
    if (error == std::errc::invalid_argument || end != word.data() + word.size())
    {
        double ignored = 0.0;
        return fail(find_number(text, ignored) ? "is no whole number in plain digits" : "is no number");
    }
    if constexpr (std::is_same_v<whole_t, std::int64_t>)
    {
        if (error != std::errc() || magnitude > 0x7FFFFFFFU)
        {
            return fail(too_large);
        }
        const auto value = static_cast<std::int64_t>(magnitude);
        return { true, negative ? -value : value, {} };
    }
    else
    {
        if (error != std::errc() || (negative && magnitude != 0))
        {
            return fail(negative ? "is below 0" : too_large);
        }
        return { true, magnitude, {} };
    }
}

written_value_t parse_float(const std::string& text)
{
    double number = 0.0;
    if (!find_number(text, number))
    {
        return fail("is no finite number");
    }
    const float narrowed = static_cast<float>(std::clamp(number, -static_cast<double>(std::numeric_limits<float>::max()),
                                                         static_cast<double>(std::numeric_limits<float>::max())));
    // Digits that single precision does not hold are no loss of their own.
    if (!(std::abs(static_cast<double>(narrowed) - number) <= 1.0e-7 * std::abs(number)))
    {
        return fail("does not fit single precision");
    }
    return { true, narrowed, {} };
}

written_value_t parse_enumerator(const settings_form_t& form, const std::string& text)
{
    if (std::find(form.names.begin(), form.names.end(), text) != form.names.end())
    {
        return { true, text, {} };
    }
    if (std::find(form.names.begin(), form.names.end(), trim(text)) != form.names.end())
    {
        return fail("has blanks around the name, which count");
    }
    return fail(fmt::format("is no name for this element; expected one of {}", fmt::join(form.names, ", ")));
}
} // namespace

settings_value_t read_settings_value(const settings_form_t& form, const pugi::xml_node& node)
{
    const pugi::xml_text text = node.text();
    switch (form.kind)
    {
    case settings_kind_t::truth:
        return text.as_bool();
    case settings_kind_t::number_flag:
        return text.as_double() != 0.0;
    case settings_kind_t::whole32:
        return static_cast<std::uint64_t>(text.as_uint());
    case settings_kind_t::signed32:
        return static_cast<std::int64_t>(text.as_int());
    case settings_kind_t::whole64:
        return static_cast<std::uint64_t>(text.as_ullong());
    case settings_kind_t::single:
        return static_cast<float>(text.as_double());
    case settings_kind_t::real:
        return text.as_double();
    case settings_kind_t::enumerator:
    {
        const std::string name = text.get();
        const bool known = std::find(form.names.begin(), form.names.end(), name) != form.names.end();
        return known ? name : std::string(form.names.front());
    }
    default:
        return std::string(text.get());
    }
}

written_value_t parse_settings_value(const settings_form_t& form, const std::string& text)
{
    switch (form.kind)
    {
    case settings_kind_t::truth:
        return parse_truth(text);
    case settings_kind_t::number_flag:
        return parse_number_flag(text);
    case settings_kind_t::whole32:
    {
        written_value_t written = parse_whole_text<std::uint64_t>(text, "does not fit 32 bits");
        const bool fits = written.is_known && std::get<std::uint64_t>(written.value) <= 0xFFFFFFFFU;
        return fits || !written.is_known ? written : fail("does not fit 32 bits");
    }
    case settings_kind_t::signed32:
        return parse_whole_text<std::int64_t>(text, "does not fit 32 bits");
    case settings_kind_t::whole64:
        return parse_whole_text<std::uint64_t>(text, "does not fit 64 bits");
    case settings_kind_t::single:
        return parse_float(text);
    case settings_kind_t::real:
    {
        double number = 0.0;
        return find_number(text, number) ? written_value_t{ true, number, {} } : fail("is no finite number");
    }
    case settings_kind_t::enumerator:
        return parse_enumerator(form, text);
    default:
        return { true, text, {} };
    }
}

bool is_same_value(const settings_value_t& a, const settings_value_t& b)
{
    // Not-a-number and the sign of 0 by their text.
    return a == b || (a.index() == b.index() && get_value_text(a) == get_value_text(b));
}

std::string get_value_text(const settings_value_t& value)
{
    return std::visit(
        [](const auto& held)
        {
            if constexpr (std::is_same_v<std::decay_t<decltype(held)>, std::string>)
            {
                return get_one_line(held);
            }
            else
            {
                return fmt::format("{}", held);
            }
        },
        value);
}

json_t get_value_json(const settings_value_t& value)
{
    return std::visit(
        [](const auto& held) -> json_t
        {
            if constexpr (std::is_floating_point_v<std::decay_t<decltype(held)>>)
            {
                return to_number(held);
            }
            else
            {
                return held;
            }
        },
        value);
}

double get_value_number(const settings_value_t& value)
{
    return std::visit(
        [](const auto& held)
        {
            if constexpr (std::is_same_v<std::decay_t<decltype(held)>, std::string>)
            {
                return 0.0;
            }
            else
            {
                return static_cast<double>(held);
            }
        },
        value);
}

std::string quote_short(const std::string& text)
{
    if (text.size() <= longest_quote)
    {
        return quote(text);
    }
    return fmt::format("{}... ({} characters)", quote(text.substr(0, longest_quote)), text.size());
}
} // namespace dmatool
