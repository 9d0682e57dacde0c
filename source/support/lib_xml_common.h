#pragma once

#include "dma_export.h"

#include <cstdint>
#include <string>

namespace vrim::common_lib
{
/// Number that tells which kind of settings an XML tree holds.
using plib_protocol_type_t = std::uint32_t;
constexpr plib_protocol_type_t protocol_dma_frame = 22;     ///< analysis settings
constexpr plib_protocol_type_t protocol_fir_parameter = 25; ///< FIR design parameters

/// Names of the settings trees.
class DMA_DEMOD_EXPORT lib_xml_common_t
{
public:
    /// @return the name of a kind, empty for an unknown one
    static std::string get_protocol_name(plib_protocol_type_t type);
    /// @param[out] type  written only when the name is known
    /// @return false for an unknown name
    static bool get_protocol_type(const std::string& name, plib_protocol_type_t& type);
};
} // namespace vrim::common_lib
