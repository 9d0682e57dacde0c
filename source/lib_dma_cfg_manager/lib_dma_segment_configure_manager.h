#pragma once

#include "dma_export.h"
#include "lib_dma_cfg_manager/lib_dma_advance_configure_manager.h"
#include "lib_dma_cfg_manager/lib_dma_filter_configure_manager.h"
#include "lib_dma_cfg_manager/lib_dma_format_configure_manager.h"
#include "lib_dma_cfg_manager/lib_dma_recall_demod_info_configure_manager.h"
#include "lib_dma_cfg_manager/lib_dma_time_configure_manager.h"
#include "lib_dma_cfg_manager/lib_segment_level_info.h"

namespace vrim::dma_demod_lib
{
/// One segment: its five records, and a link to the frame that holds it.
///
/// The bit-error record of every segment is linked to that very segment. The link to the frame belongs to the place and not
/// to the data: a copy starts with an empty one, an assignment keeps the target's, equality leaves it out. A move copies.
class DMA_DEMOD_EXPORT lib_dma_segment_configure_manager_t
{
public:
    /// A segment without a frame.
    lib_dma_segment_configure_manager_t();
    /// @param level_info  called when the BER state of the segment changes
    explicit lib_dma_segment_configure_manager_t(lib_segment_level_info_t level_info);
    lib_dma_segment_configure_manager_t(const lib_dma_segment_configure_manager_t& other);
    lib_dma_segment_configure_manager_t& operator=(const lib_dma_segment_configure_manager_t& other);
    ~lib_dma_segment_configure_manager_t() = default;
    bool operator==(const lib_dma_segment_configure_manager_t& other) const;

    /// `init()` of the five records.
    void init();

    lib_dma_filter_configure_manager_t& get_filter_configure();
    const lib_dma_filter_configure_manager_t& get_filter_configure() const;
    lib_dma_time_configure_manager_t& get_time_configure();
    const lib_dma_time_configure_manager_t& get_time_configure() const;
    lib_dma_advance_configure_manager_t& get_advance_configure();
    const lib_dma_advance_configure_manager_t& get_advance_configure() const;
    lib_dma_format_configure_manager_t& get_format_configure();
    const lib_dma_format_configure_manager_t& get_format_configure() const;
    lib_dma_recall_demod_info_configure_manager_t& get_recall_demod_info_configure();
    const lib_dma_recall_demod_info_configure_manager_t& get_recall_demod_info_configure() const;

    /// Calls the link to the frame; an empty one is reported.
    void update_syn_pattern_by_ber();

private:
    lib_segment_level_info_t _generate_required_info_for_recall_demond_layers();

    lib_dma_filter_configure_manager_t filter_configure_;
    lib_dma_time_configure_manager_t time_configure_;
    lib_dma_advance_configure_manager_t advance_configure_;
    lib_dma_format_configure_manager_t format_configure_;
    lib_dma_recall_demod_info_configure_manager_t recall_demod_info_configure_;
    lib_segment_level_info_t level_info_;
};
} // namespace vrim::dma_demod_lib
