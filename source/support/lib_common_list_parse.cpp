#include "support/lib_common_list_parse.h"

#include <charconv>
#include <string_view>
#include <system_error>

namespace vrim::common_lib
{
namespace
{
constexpr std::string_view blanks = " \t\r\n\f\v";

std::string_view trim(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// Takes the text up to the next `separator` from the front of `rest`, trimmed.
/// @return false when `rest` had no separator, so that the item was the last one
bool take_item(std::string_view& rest, char separator, std::string_view& item)
{
    const std::size_t end = rest.find(separator);
    item = trim(rest.substr(0, end));
    rest = end == std::string_view::npos ? std::string_view{} : rest.substr(end + 1);
    return end != std::string_view::npos;
}

template <typename value_t>
std::errc read_number(std::string_view item, value_t& value)
{
    if (item.size() > 1 && item.front() == '+' && item[1] != '-')
        item.remove_prefix(1);
    const auto [end, error] = std::from_chars(item.data(), item.data() + item.size(), value);
    if (error != std::errc{})
        return error;
    return end == item.data() + item.size() ? std::errc{} : std::errc::invalid_argument;
}

template <typename value_t>
void append_number(std::string& text, value_t value)
{
    // The shortest digits that read back as the same value; 16 characters are enough for a float and for 32 bits.
    char digits[32];
    const auto [end, error] = std::to_chars(digits, digits + sizeof digits, value);
    static_cast<void>(error);
    text.append(digits, end);
}
} // namespace

bool lib_common_list_parse_t::bit_list_to_string(const byte_array& bits, std::string& text)
{
    text.clear();
    text.reserve(bits.size());
    for (const std::uint8_t bit : bits)
        text += bit != 0 ? '1' : '0';
    return true;
}

bool lib_common_list_parse_t::string_to_bit_list(const std::string& text, byte_array& bits)
{
    bits.clear();
    bits.reserve(text.size());
    for (const char c : text)
    {
        if (c == '0' || c == '1')
            bits.push_back(static_cast<std::uint8_t>(c - '0'));
        else if (c != ',' && c != '_' && blanks.find(c) == std::string_view::npos)
        {
            bits.clear();
            return false;
        }
    }
    return true;
}

bool lib_common_list_parse_t::index_list_to_string(const std::vector<std::int32_t>& indices, std::string& text)
{
    text.clear();
    for (const std::int32_t index : indices)
    {
        if (!text.empty())
            text += ',';
        append_number(text, index);
    }
    return true;
}

bool lib_common_list_parse_t::string_to_index_list(const std::string& text, std::vector<std::int32_t>& indices,
                                                   std::string& error_text)
{
    indices.clear();
    error_text.clear();
    std::string_view rest = trim(text);
    if (rest.empty())
        return true;
    bool more = true;
    while (more)
    {
        std::string_view item;
        more = take_item(rest, ',', item);
        std::int32_t value = 0;
        const std::errc error = read_number(item, value);
        if (error != std::errc{})
        {
            const std::string place =
                "entry " + std::to_string(indices.size() + 1) + " of the list, \"" + std::string(item) + "\", ";
            error_text = place + (error == std::errc::result_out_of_range ? "does not fit into 32 bits" : "is no whole number");
            indices.clear();
            return false;
        }
        indices.push_back(value);
    }
    return true;
}

bool lib_common_list_parse_t::complex_list_to_string(const complex_array& points, std::string& text)
{
    text.clear();
    for (const std::complex<float>& point : points)
    {
        if (!text.empty())
            text += ';';
        append_number(text, point.real());
        text += ',';
        append_number(text, point.imag());
    }
    return true;
}

bool lib_common_list_parse_t::string_to_complex_list(const std::string& text, complex_array& points)
{
    points.clear();
    std::string_view rest = trim(text);
    if (rest.empty())
        return true;
    bool more = true;
    while (more)
    {
        std::string_view item;
        more = take_item(rest, ';', item);
        std::string_view part;
        float re = 0.0f;
        float im = 0.0f;
        const bool pair =
            take_item(item, ',', part) && read_number(part, re) == std::errc{} && read_number(trim(item), im) == std::errc{};
        if (!pair)
        {
            points.clear();
            return false;
        }
        points.emplace_back(re, im);
    }
    return true;
}
} // namespace vrim::common_lib
