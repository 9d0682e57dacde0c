#include "cfg/cfg_dma_segment.h"

#include "cfg/internal/cfg_dma_cursor.h"

#include <string_view>

namespace vrim::dma_demod_lib
{
namespace
{
constexpr std::string_view null_words = "cfg_dma_segment_t::set_current_segment_index null ptr!";
constexpr std::string_view range_words = "cfg_dma_segment_t::set_current_segment_index Report: segment_index Out of Range!";
} // namespace

cfg_dma_segment_t::cfg_dma_segment_t(lib_dma_frame_configure_manager_t& frame)
    : frame_(&frame), time_cfg_(frame), advance_cfg_(frame), filter_cfg_(frame), format_cfg_(frame), recall_demod_info_cfg_(frame)
{
}

void cfg_dma_segment_t::init()
{
    current_segment_index_ = 0;
    is_segment_there(frame_, current_segment_index_, null_words, range_words);
    time_cfg_.init();
    advance_cfg_.init();
    filter_cfg_.init();
    format_cfg_.init();
    recall_demod_info_cfg_.init();
}

bool cfg_dma_segment_t::set_current_segment_index(std::uint32_t index)
{
    if (!is_segment_there(frame_, index, null_words, range_words))
        return false;
    if (index == current_segment_index_)
        return true;
    current_segment_index_ = index;
    time_cfg_.set_current_segment_index(index);
    advance_cfg_.set_current_segment_index(index);
    filter_cfg_.set_current_segment_index(index);
    format_cfg_.set_current_segment_index(index);
    recall_demod_info_cfg_.set_current_segment_index(index);
    return true;
}

cfg_dma_time_t& cfg_dma_segment_t::get_time_cfg()
{
    return time_cfg_;
}

const cfg_dma_time_t& cfg_dma_segment_t::get_time_cfg() const
{
    return time_cfg_;
}

cfg_dma_advance_t& cfg_dma_segment_t::get_advance_cfg()
{
    return advance_cfg_;
}

const cfg_dma_advance_t& cfg_dma_segment_t::get_advance_cfg() const
{
    return advance_cfg_;
}

cfg_dma_filter_t& cfg_dma_segment_t::get_filter_cfg()
{
    return filter_cfg_;
}

const cfg_dma_filter_t& cfg_dma_segment_t::get_filter_cfg() const
{
    return filter_cfg_;
}

cfg_dma_format_t& cfg_dma_segment_t::get_format_cfg()
{
    return format_cfg_;
}

const cfg_dma_format_t& cfg_dma_segment_t::get_format_cfg() const
{
    return format_cfg_;
}

cfg_dma_recall_demod_info_t& cfg_dma_segment_t::get_recall_demod_info_cfg()
{
    return recall_demod_info_cfg_;
}

const cfg_dma_recall_demod_info_t& cfg_dma_segment_t::get_recall_demod_info_cfg() const
{
    return recall_demod_info_cfg_;
}

const lib_dma_segment_configure_manager_t& cfg_dma_segment_t::get_segment_manager() const
{
    return frame_->get_segment(current_segment_index_);
}
} // namespace vrim::dma_demod_lib
