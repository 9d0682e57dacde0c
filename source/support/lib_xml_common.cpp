#include "support/lib_xml_common.h"

namespace vrim::common_lib
{
namespace
{
struct protocol_entry_t
{
    plib_protocol_type_t type;
    const char* name;
};

constexpr protocol_entry_t protocol_table[] = {
    { protocol_dma_frame, "cfg_dma_frame" },
    { protocol_fir_parameter, "lib_fir_design_parameter" },
};
} // namespace

std::string lib_xml_common_t::get_protocol_name(plib_protocol_type_t type)
{
    for (const protocol_entry_t& entry : protocol_table)
    {
        if (entry.type == type)
            return entry.name;
    }
    return {};
}

bool lib_xml_common_t::get_protocol_type(const std::string& name, plib_protocol_type_t& type)
{
    for (const protocol_entry_t& entry : protocol_table)
    {
        if (name == entry.name)
        {
            type = entry.type;
            return true;
        }
    }
    return false;
}
} // namespace vrim::common_lib
