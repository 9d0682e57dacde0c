#pragma once

#include "lib_dma_cfg_manager/lib_dma_frame_configure_manager.h"
#include "lib_dma_cfg_manager/lib_dma_segment_configure_manager.h"
#include "settings_value.h"

#include <functional>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace dmatool
{
// Names of the settings tree.
inline constexpr const char* settings_protocol = "ProtocolType";
inline constexpr const char* settings_frame = "cfg_dma_frame";
inline constexpr const char* settings_segments = "cfg_dma_segement"; ///< the list and its items, as files have it

/// What one setter keeps a number within.
struct settings_limits_t
{
    double low = -std::numeric_limits<double>::infinity();
    double high = std::numeric_limits<double>::infinity();
};

/// One element of a settings file.
struct settings_field_t
{
    std::string section; ///< element of the record, or empty for the frame's own
    std::string name;    ///< of the element
    std::string label;   ///< in words
    std::string unit;    ///< with a blank in front, or empty
    settings_form_t form;
    settings_limits_t limits;
    std::string rule; ///< why a value within the limits may still come out different
    std::function<settings_value_t(const vrim::dma_demod_lib::lib_dma_frame_configure_manager_t& frame,
                                   const vrim::dma_demod_lib::lib_dma_segment_configure_manager_t& segment)>
        get;
};

/// Every element in the order of the file.
const std::vector<settings_field_t>& get_settings_fields();
/// The records of a segment in the order of the file: element and words.
struct settings_section_t
{
    std::string name;
    std::string label;
};
const std::vector<settings_section_t>& get_settings_sections();
const settings_field_t& get_settings_field(std::string_view name);

/// Bits as a text of the characters 0 and 1.
std::string get_bits_text(const vrim::bit_array& bits);
} // namespace dmatool
