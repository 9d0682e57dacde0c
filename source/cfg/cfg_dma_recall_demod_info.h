#pragma once

#include "dma_export.h"
#include "dma_types.h"
#include "lib_dma_cfg_manager/lib_dma_enum.h"
#include "lib_dma_cfg_manager/lib_dma_frame_configure_manager.h"
#include "lib_dma_cfg_manager/lib_dma_recall_demod_info_configure_manager.h"

#include <cstdint>

namespace vrim::dma_demod_lib
{
/// The bit-error setup of the segment at the cursor. Setters and getters go to the record of that segment, with its limits and
/// results; see `lib_dma_recall_demod_info_configure_manager_t`. A cursor past the last segment stands for the last.
///
/// Copies stand for the same frame, which has to live on.
class DMA_DEMOD_EXPORT cfg_dma_recall_demod_info_t
{
public:
    /// Stands on the first segment of `frame`.
    explicit cfg_dma_recall_demod_info_t(lib_dma_frame_configure_manager_t& frame);
    cfg_dma_recall_demod_info_t(const cfg_dma_recall_demod_info_t&) = default;
    cfg_dma_recall_demod_info_t& operator=(const cfg_dma_recall_demod_info_t&) = delete;
    ~cfg_dma_recall_demod_info_t() = default;

    /// Puts the cursor back on the first segment. The records stay.
    void init();
    /// @return false, after a report, for an index that the frame does not have; the cursor stays then
    bool set_current_segment_index(std::uint32_t index);

    bool set_tx_pattern(const bit_array& value);
    bool set_ber_state(bool value);
    bool set_total_bits_len(std::uint32_t value);
    bool set_payload_data_type(lib_dma_payload_data_type_t value);

    const bit_array& get_tx_pattern() const;
    bool get_ber_state() const;
    std::uint32_t get_total_bits_len() const;
    lib_dma_payload_data_type_t get_payload_data_type() const;

private:
    lib_dma_recall_demod_info_configure_manager_t& _get_dma_recall_demod_info_manager() const;

    lib_dma_frame_configure_manager_t* frame_;
    std::uint32_t current_segment_index_ = 0;
};
} // namespace vrim::dma_demod_lib
