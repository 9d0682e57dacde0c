#include "support/lib_xml_common.h"

#include "support/trace_output.h"

#include <stdexcept>

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

void lib_xml_common_t::_report_empty_entries()
{
    common_log::print_trace_line("lib_xml_common_t::get_enum_value Warning : Empty enum string mapping!");
}

void lib_xml_common_t::_throw_no_text()
{
    throw std::out_of_range("map::at");
}
} // namespace vrim::common_lib
