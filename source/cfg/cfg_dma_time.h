#pragma once

#include "dma_export.h"
#include "lib_dma_cfg_manager/lib_dma_enum.h"
#include "lib_dma_cfg_manager/lib_dma_frame_configure_manager.h"
#include "lib_dma_cfg_manager/lib_dma_time_configure_manager.h"

#include <cstdint>

namespace vrim::dma_demod_lib
{
/// When the segment at the cursor is measured. Setters and getters go to the record of that segment, with its limits and
/// results; see `lib_dma_time_configure_manager_t`. A cursor past the last segment stands for the last.
///
/// Copies stand for the same frame, which has to live on.
class DMA_DEMOD_EXPORT cfg_dma_time_t
{
public:
    /// Stands on the first segment of `frame`.
    explicit cfg_dma_time_t(lib_dma_frame_configure_manager_t& frame);
    cfg_dma_time_t(const cfg_dma_time_t&) = default;
    cfg_dma_time_t& operator=(const cfg_dma_time_t&) = delete;
    ~cfg_dma_time_t() = default;

    /// Puts the cursor back on the first segment. The records stay.
    void init();
    /// @return false, after a report, for an index that the frame does not have; the cursor stays then
    bool set_current_segment_index(std::uint32_t index);

    /// @param value  symbols, 10 to 10,000,000; the offset is pulled to at most the interval in magnitude
    bool set_meas_interval(std::uint32_t value);
    /// @param value  symbols; the first segment takes 0 instead while the frame searches a sync pattern
    bool set_meas_offset(std::int32_t value);
    bool set_meas_offset_reference(lib_dma_meas_offset_ref_t value);

    std::uint32_t get_meas_interval() const;
    std::int32_t get_meas_offset() const;
    lib_dma_meas_offset_ref_t get_meas_offset_reference() const;

private:
    lib_dma_time_configure_manager_t& _get_dma_time_manager() const;

    lib_dma_frame_configure_manager_t* frame_;
    std::uint32_t current_segment_index_ = 0;
};
} // namespace vrim::dma_demod_lib
