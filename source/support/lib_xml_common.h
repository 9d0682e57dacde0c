#pragma once

#include "dma_export.h"
#include "support/enum_entry.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace vrim::common_lib
{
/// Number that tells which kind of settings an XML tree holds.
using plib_protocol_type_t = std::uint32_t;
constexpr plib_protocol_type_t protocol_dma_frame = 22;     ///< analysis settings
constexpr plib_protocol_type_t protocol_fir_parameter = 25; ///< FIR design parameters

/// Names of the settings trees, and enumerators as their text.
class DMA_DEMOD_EXPORT lib_xml_common_t
{
public:
    /// @return the name of a kind, empty for an unknown one
    static std::string get_protocol_name(plib_protocol_type_t type);
    /// @param[out] type  written only when the name is known
    /// @return false for an unknown name
    static bool get_protocol_type(const std::string& name, plib_protocol_type_t& type);

    /// @param entries  rising in value
    /// @return the enumerator of a text, the first one for an unknown text. Without entries a line goes to the standard
    ///         output and the value 0 comes back.
    template <typename enum_t>
    static enum_t get_enum_value(std::span<const enum_entry_t<enum_t>> entries, std::string_view text)
    {
        for (const enum_entry_t<enum_t>& entry : entries)
        {
            if (entry.text == text)
                return entry.value;
        }
        if (!entries.empty())
            return entries.front().value;
        _report_empty_entries();
        return enum_t{};
    }

    /// @return the text of an enumerator
    /// @throws std::out_of_range, with the text "map::at", for a value without one
    template <typename enum_t>
    static std::string get_enum_text(std::span<const enum_entry_t<enum_t>> entries, enum_t value)
    {
        for (const enum_entry_t<enum_t>& entry : entries)
        {
            if (entry.value == value)
                return std::string(entry.text);
        }
        _throw_no_text();
    }

private:
    static void _report_empty_entries();
    [[noreturn]] static void _throw_no_text();
};
} // namespace vrim::common_lib
