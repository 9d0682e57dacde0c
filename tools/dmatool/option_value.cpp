#include "option_value.h"

#include "exit_status.h"
#include "tool_text.h"

#include <fmt/format.h>

#include <cmath>
#include <cstdlib>

namespace dmatool
{
namespace
{
std::string name_range(const char* kind, const range_t& range)
{
    return range.low_open ? fmt::format("{} above {} and up to {}{}", kind, range.low, range.high, range.unit)
                          : fmt::format("{} from {} to {}{}", kind, range.low, range.high, range.unit);
}
} // namespace

void fail_value(const std::string& option, const std::string& text, const std::string& expected)
{
    throw tool_error_t(exit_usage, fmt::format("{} {} cannot be taken; expected {}", option, quote(text), expected));
}

double parse_real(const std::string& option, const std::string& text, const range_t& range)
{
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    // strtod passes over blanks in front and takes hexadecimal, which here is a slip of the hand.
    const bool plain = text.find_first_not_of("0123456789+-.eE") == std::string::npos;
    const bool inside = (range.low_open ? value > range.low : value >= range.low) && value <= range.high;
    if (text.empty() || !plain || end != text.c_str() + text.size() || !inside)
    {
        fail_value(option, text, name_range("a number", range));
    }
    return value;
}

double parse_whole(const std::string& option, const std::string& text, const range_t& range)
{
    const double value = parse_real(option, text, range);
    if (value != std::floor(value))
    {
        fail_value(option, text, name_range("a whole number", range));
    }
    return value;
}
} // namespace dmatool
