#pragma once

#include <optional>
#include <string>

namespace dmatool
{
/// What an option takes.
struct range_t
{
    double low;
    double high;
    const char* unit;      ///< with a blank in front, or empty
    bool low_open = false; ///< the value must be above `low`
};

/// Ends the program over an option's value. @throws tool_error_t
[[noreturn]] void fail_value(const std::string& option, const std::string& text, const std::string& expected);

/// A decimal number within the range. @throws tool_error_t
double parse_real(const std::string& option, const std::string& text, const range_t& range);

/// A whole number within the range; 1e6 and 1000000.0 are whole too. @throws tool_error_t
double parse_whole(const std::string& option, const std::string& text, const range_t& range);

/// Takes the value of an option that was given; otherwise the value stays.
template <typename value_t>
void take_real(const char* option, const std::optional<std::string>& text, const range_t& range, value_t& value)
{
    if (text)
    {
        value = static_cast<value_t>(parse_real(option, *text, range));
    }
}

/// As `take_real`, for whole numbers.
template <typename value_t>
void take_whole(const char* option, const std::optional<std::string>& text, const range_t& range, value_t& value)
{
    if (text)
    {
        value = static_cast<value_t>(parse_whole(option, *text, range));
    }
}
} // namespace dmatool
