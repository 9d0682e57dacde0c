#pragma once

#include <nlohmann/json.hpp>

#include <charconv>
#include <cmath>
#include <type_traits>

namespace dmatool
{
using json_t = nlohmann::ordered_json;

/// A number of a report; not-a-number and infinities stand as the strings nan, inf and -inf.
template <typename value_t>
json_t to_number(value_t value)
{
    if (std::isnan(value))
    {
        return "nan";
    }
    if (std::isinf(value))
    {
        return value > value_t{ 0 } ? "inf" : "-inf";
    }
    if constexpr (std::is_same_v<value_t, float>)
    {
        // The shortest decimals that are this float, as a double: 3.12 and not 3.119999885559082.
        char text[64];
        const auto end = std::to_chars(text, text + sizeof(text), value).ptr;
        double decimal = 0.0;
        std::from_chars(text, end, decimal);
        return decimal;
    }
    else
    {
        return value;
    }
}

template <typename array_t>
json_t to_numbers(const array_t& values)
{
    json_t list = json_t::array();
    for (const auto value : values)
    {
        list.push_back(to_number(value));
    }
    return list;
}
} // namespace dmatool
