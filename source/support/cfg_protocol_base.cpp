#include "support/cfg_protocol_base.h"

namespace vrim::common_lib
{
// Out of line, so that the table of virtual operations has one home.
cfg_protocol_base_t::~cfg_protocol_base_t() = default;
cfg_protocol_base_t::cfg_protocol_base_t() = default;
cfg_protocol_base_t::cfg_protocol_base_t(const cfg_protocol_base_t&) = default;
cfg_protocol_base_t& cfg_protocol_base_t::operator=(const cfg_protocol_base_t&) = default;
} // namespace vrim::common_lib
