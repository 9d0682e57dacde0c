#include "tool_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <limits>

namespace dmatool
{
std::string get_one_line(const std::string& text)
{
    std::string line = text;
    const auto is_control = [](unsigned char c) { return c < 0x20U || c == 0x7FU; };
    std::replace_if(line.begin(), line.end(), is_control, ' ');
    while (!line.empty() && line.back() == ' ')
    {
        line.pop_back();
    }
    return line;
}

std::string quote(const std::string& text)
{
    return fmt::format("'{}'", get_one_line(text));
}

std::string get_name_key(const std::string& text)
{
    std::string key;
    for (const char c : text)
    {
        if (c != ' ' && c != '-' && c != '_' && c != '/')
        {
            key.push_back(static_cast<char>(std::tolower(static_cast<unsigned char>(c))));
        }
    }
    return key;
}

std::string get_short_number(double value)
{
    return fmt::format("{}", value);
}

std::string get_short_number(float value)
{
    return fmt::format("{}", value);
}

bool is_single_precision(double value)
{
    // Comparisons with not-a-number are false.
    return std::abs(value) <= static_cast<double>(std::numeric_limits<float>::max());
}
} // namespace dmatool
