#include "cfg/cfg_dma_time.h"

#include "cfg/internal/cfg_dma_cursor.h"

#include <string_view>

namespace vrim::dma_demod_lib
{
namespace
{
constexpr std::string_view null_words = "cfg_dma_time_t::set_current_segment_index null ptr!";
} // namespace

cfg_dma_time_t::cfg_dma_time_t(lib_dma_frame_configure_manager_t& frame) : frame_(&frame)
{
    init();
}

void cfg_dma_time_t::init()
{
    current_segment_index_ = 0;
    is_segment_there(frame_, current_segment_index_, null_words, leaf_range_words);
}

bool cfg_dma_time_t::set_current_segment_index(std::uint32_t index)
{
    if (!is_segment_there(frame_, index, null_words, leaf_range_words))
        return false;
    current_segment_index_ = index;
    return true;
}

bool cfg_dma_time_t::set_meas_interval(std::uint32_t value)
{
    const lib_dma_segment_configure_manager_t& segment = frame_->get_segment(current_segment_index_);
    return _get_dma_time_manager().set_meas_interval(segment.get_format_configure().get_format_group(), value);
}

bool cfg_dma_time_t::set_meas_offset(std::int32_t value)
{
    // A sync search places the first segment by itself.
    const bool placed_by_sync = frame_->get_sync_search() && current_segment_index_ == 0;
    return _get_dma_time_manager().set_meas_offset(placed_by_sync ? 0 : value);
}

bool cfg_dma_time_t::set_meas_offset_reference(lib_dma_meas_offset_ref_t value)
{
    return _get_dma_time_manager().set_meas_offset_reference(value);
}

std::uint32_t cfg_dma_time_t::get_meas_interval() const
{
    return _get_dma_time_manager().get_meas_interval();
}

std::int32_t cfg_dma_time_t::get_meas_offset() const
{
    return _get_dma_time_manager().get_meas_offset();
}

lib_dma_meas_offset_ref_t cfg_dma_time_t::get_meas_offset_reference() const
{
    return _get_dma_time_manager().get_meas_offset_reference();
}

lib_dma_time_configure_manager_t& cfg_dma_time_t::_get_dma_time_manager() const
{
    return frame_->get_segment(current_segment_index_).get_time_configure();
}
} // namespace vrim::dma_demod_lib
