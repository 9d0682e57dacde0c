#include "lib_dma_cfg_manager/lib_dma_segment_configure_manager.h"

#include "support/trace_output.h"

#include <utility>

namespace vrim::dma_demod_lib
{
lib_dma_segment_configure_manager_t::lib_dma_segment_configure_manager_t()
    : lib_dma_segment_configure_manager_t(lib_segment_level_info_t{})
{
}

lib_dma_segment_configure_manager_t::lib_dma_segment_configure_manager_t(lib_segment_level_info_t level_info)
    : recall_demod_info_configure_(_generate_required_info_for_recall_demond_layers()), level_info_(std::move(level_info))
{
}

lib_dma_segment_configure_manager_t::lib_dma_segment_configure_manager_t(const lib_dma_segment_configure_manager_t& other)
    : lib_dma_segment_configure_manager_t()
{
    *this = other;
}

lib_dma_segment_configure_manager_t& lib_dma_segment_configure_manager_t::operator=(
    const lib_dma_segment_configure_manager_t& other)
{
    filter_configure_ = other.filter_configure_;
    time_configure_ = other.time_configure_;
    advance_configure_ = other.advance_configure_;
    format_configure_ = other.format_configure_;
    recall_demod_info_configure_ = other.recall_demod_info_configure_;
    return *this;
}

bool lib_dma_segment_configure_manager_t::operator==(const lib_dma_segment_configure_manager_t& other) const
{
    return filter_configure_ == other.filter_configure_ && time_configure_ == other.time_configure_ &&
           advance_configure_ == other.advance_configure_ && format_configure_ == other.format_configure_ &&
           recall_demod_info_configure_ == other.recall_demod_info_configure_;
}

void lib_dma_segment_configure_manager_t::init()
{
    filter_configure_.init();
    time_configure_.init();
    advance_configure_.init();
    format_configure_.init();
    recall_demod_info_configure_.init();
}

lib_dma_filter_configure_manager_t& lib_dma_segment_configure_manager_t::get_filter_configure()
{
    return filter_configure_;
}

const lib_dma_filter_configure_manager_t& lib_dma_segment_configure_manager_t::get_filter_configure() const
{
    return filter_configure_;
}

lib_dma_time_configure_manager_t& lib_dma_segment_configure_manager_t::get_time_configure()
{
    return time_configure_;
}

const lib_dma_time_configure_manager_t& lib_dma_segment_configure_manager_t::get_time_configure() const
{
    return time_configure_;
}

lib_dma_advance_configure_manager_t& lib_dma_segment_configure_manager_t::get_advance_configure()
{
    return advance_configure_;
}

const lib_dma_advance_configure_manager_t& lib_dma_segment_configure_manager_t::get_advance_configure() const
{
    return advance_configure_;
}

lib_dma_format_configure_manager_t& lib_dma_segment_configure_manager_t::get_format_configure()
{
    return format_configure_;
}

const lib_dma_format_configure_manager_t& lib_dma_segment_configure_manager_t::get_format_configure() const
{
    return format_configure_;
}

lib_dma_recall_demod_info_configure_manager_t& lib_dma_segment_configure_manager_t::get_recall_demod_info_configure()
{
    return recall_demod_info_configure_;
}

const lib_dma_recall_demod_info_configure_manager_t& lib_dma_segment_configure_manager_t::get_recall_demod_info_configure() const
{
    return recall_demod_info_configure_;
}

void lib_dma_segment_configure_manager_t::update_syn_pattern_by_ber()
{
    if (level_info_.notify)
    {
        level_info_.notify();
        return;
    }
    common_log::print_trace_line("lib_dma_segment_configure_manager_t::update_syn_pattern_by_ber callback error!");
}

lib_segment_level_info_t lib_dma_segment_configure_manager_t::_generate_required_info_for_recall_demond_layers()
{
    return { [this] { update_syn_pattern_by_ber(); } };
}
} // namespace vrim::dma_demod_lib
