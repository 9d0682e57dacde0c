#pragma once

#include "dma_export.h"

namespace pugi
{
class xml_node;
}

namespace vrim::common_lib
{
/// Settings that save themselves to an XML tree of the host and recall themselves from it.
class DMA_DEMOD_EXPORT cfg_protocol_base_t
{
public:
    virtual ~cfg_protocol_base_t();

    /// Appends the settings to `node`. @return true
    virtual bool save_setting(pugi::xml_node& node) = 0;
    /// Reads the settings from `node`. @return false when reading ended early
    virtual bool recall_setting(const pugi::xml_node& node) = 0;
    virtual bool init() = 0;

protected:
    cfg_protocol_base_t();
    cfg_protocol_base_t(const cfg_protocol_base_t&);
    cfg_protocol_base_t& operator=(const cfg_protocol_base_t&);
};
} // namespace vrim::common_lib
