#pragma once

#include <functional>

namespace vrim::dma_demod_lib
{
/// What a lower configuration layer is given so that it can notify the layer above without knowing it.
struct lib_segment_level_info_t
{
    std::function<void()> notify; ///< may be empty
};
} // namespace vrim::dma_demod_lib
