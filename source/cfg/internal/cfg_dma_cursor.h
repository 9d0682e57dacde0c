#pragma once

#include "lib_dma_cfg_manager/lib_dma_frame_configure_manager.h"
#include "support/trace_output.h"

#include <cstdint>
#include <string_view>

/// What the cursors of the configuration facade share.
namespace vrim::dma_demod_lib
{
/// One text for the five facades of a segment's records.
constexpr std::string_view leaf_range_words = "cfg_nr_carrier_t::set_current_carrier Report: Carrier Index Out of Range!";

/// Whether the frame has a segment of this index. If not, prints the words for a missing frame or for a missing segment.
inline bool is_segment_there(lib_dma_frame_configure_manager_t* frame, std::uint32_t index, std::string_view null_words,
                             std::string_view range_words)
{
    if (frame == nullptr)
    {
        common_log::print_trace_line(null_words);
        return false;
    }
    if (index < frame->get_segment_number())
        return true;
    common_log::print_trace_line(range_words);
    return false;
}
} // namespace vrim::dma_demod_lib
