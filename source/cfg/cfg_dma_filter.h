#pragma once

#include "dma_export.h"
#include "lib_dma_cfg_manager/lib_dma_enum.h"
#include "lib_dma_cfg_manager/lib_dma_filter_configure_manager.h"
#include "lib_dma_cfg_manager/lib_dma_frame_configure_manager.h"

#include <cstdint>

namespace vrim::dma_demod_lib
{
/// The measurement and reference filters of the segment at the cursor. Setters and getters go to the record of that segment, with
/// its limits and results; see `lib_dma_filter_configure_manager_t`. A cursor past the last segment stands for the last.
///
/// Copies stand for the same frame, which has to live on.
class DMA_DEMOD_EXPORT cfg_dma_filter_t
{
public:
    /// Stands on the first segment of `frame`.
    explicit cfg_dma_filter_t(lib_dma_frame_configure_manager_t& frame);
    cfg_dma_filter_t(const cfg_dma_filter_t&) = default;
    cfg_dma_filter_t& operator=(const cfg_dma_filter_t&) = delete;
    ~cfg_dma_filter_t() = default;

    /// Puts the cursor back on the first segment. The records stay.
    void init();
    /// @return false, after a report, for an index that the frame does not have; the cursor stays then
    bool set_current_segment_index(std::uint32_t index);

    bool set_filter_length(std::uint32_t value);
    bool set_meas_filter_type(lib_dma_meas_filter_type_t value);
    bool set_ref_filter_type(lib_dma_ref_filter_type_t value);
    bool set_filter_alpha(float value);
    bool set_filter_beta(float value);
    bool set_user_define_filter_type(lib_dma_user_define_filter_type_t value);
    bool set_user_define_filter_coef(float value);

    std::uint32_t get_filter_length() const;
    lib_dma_meas_filter_type_t get_meas_filter_type() const;
    lib_dma_ref_filter_type_t get_ref_filter_type() const;
    float get_filter_alpha() const;
    float get_filter_beta() const;
    lib_dma_user_define_filter_type_t get_user_define_filter_type() const;
    float get_user_define_filter_coef() const;

private:
    lib_dma_filter_configure_manager_t& _get_dma_filter_manager() const;

    lib_dma_frame_configure_manager_t* frame_;
    std::uint32_t current_segment_index_ = 0;
};
} // namespace vrim::dma_demod_lib
