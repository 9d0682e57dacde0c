#pragma once

#include <string_view>

namespace vrim::common_lib
{
/// An enumerator with the text that stands for it in settings files.
template <typename enum_t>
struct enum_entry_t
{
    enum_t value;
    std::string_view text;
};
} // namespace vrim::common_lib
