#pragma once

#include "cfg/cfg_dma_advance.h"
#include "cfg/cfg_dma_filter.h"
#include "cfg/cfg_dma_format.h"
#include "cfg/cfg_dma_recall_demod_info.h"
#include "cfg/cfg_dma_time.h"
#include "dma_export.h"
#include "lib_dma_cfg_manager/lib_dma_frame_configure_manager.h"
#include "lib_dma_cfg_manager/lib_dma_segment_configure_manager.h"

#include <cstdint>

namespace vrim::dma_demod_lib
{
/// A cursor on the segments of a frame, with one facade for each record of the segment that it stands on.
///
/// Copies stand for the same frame, which has to live on, and move by themselves.
class DMA_DEMOD_EXPORT cfg_dma_segment_t
{
public:
    /// Stands on the first segment of `frame`.
    explicit cfg_dma_segment_t(lib_dma_frame_configure_manager_t& frame);
    cfg_dma_segment_t(const cfg_dma_segment_t&) = default;
    cfg_dma_segment_t& operator=(const cfg_dma_segment_t&) = delete;
    ~cfg_dma_segment_t() = default;

    /// Puts this cursor and those of the five facades back on the first segment. The records stay.
    void init();
    /// Moves the five facades too, unless the cursor stands on `index` already.
    /// @return false, after a report, for an index that the frame does not have; the cursors stay then
    bool set_current_segment_index(std::uint32_t index);

    cfg_dma_time_t& get_time_cfg();
    const cfg_dma_time_t& get_time_cfg() const;
    cfg_dma_advance_t& get_advance_cfg();
    const cfg_dma_advance_t& get_advance_cfg() const;
    cfg_dma_filter_t& get_filter_cfg();
    const cfg_dma_filter_t& get_filter_cfg() const;
    cfg_dma_format_t& get_format_cfg();
    const cfg_dma_format_t& get_format_cfg() const;
    cfg_dma_recall_demod_info_t& get_recall_demod_info_cfg();
    const cfg_dma_recall_demod_info_t& get_recall_demod_info_cfg() const;

    /// The segment at the cursor for reading; the last one for a cursor past the end.
    const lib_dma_segment_configure_manager_t& get_segment_manager() const;

private:
    lib_dma_frame_configure_manager_t* frame_;
    std::uint32_t current_segment_index_ = 0;
    cfg_dma_time_t time_cfg_;
    cfg_dma_advance_t advance_cfg_;
    cfg_dma_filter_t filter_cfg_;
    cfg_dma_format_t format_cfg_;
    cfg_dma_recall_demod_info_t recall_demod_info_cfg_;
};
} // namespace vrim::dma_demod_lib
