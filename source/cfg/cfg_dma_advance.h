#pragma once

#include "dma_export.h"
#include "lib_dma_cfg_manager/lib_dma_advance_configure_manager.h"
#include "lib_dma_cfg_manager/lib_dma_enum.h"
#include "lib_dma_cfg_manager/lib_dma_frame_configure_manager.h"

#include <cstdint>

namespace vrim::dma_demod_lib
{
/// The advanced switches of the segment at the cursor. Setters and getters go to the record of that segment, with its limits and
/// results; see `lib_dma_advance_configure_manager_t`. A cursor past the last segment stands for the last.
///
/// Copies stand for the same frame, which has to live on.
class DMA_DEMOD_EXPORT cfg_dma_advance_t
{
public:
    /// Stands on the first segment of `frame`.
    explicit cfg_dma_advance_t(lib_dma_frame_configure_manager_t& frame);
    cfg_dma_advance_t(const cfg_dma_advance_t&) = default;
    cfg_dma_advance_t& operator=(const cfg_dma_advance_t&) = delete;
    ~cfg_dma_advance_t() = default;

    /// Puts the cursor back on the first segment. The records stay.
    void init();
    /// @return false, after a report, for an index that the frame does not have; the cursor stays then
    bool set_current_segment_index(std::uint32_t index);

    bool set_equalizer_coef(double value);
    bool set_equalizer(bool value);
    bool set_equalizer_filter_len(std::uint32_t value);
    bool set_average_move_len(std::uint32_t value);
    bool set_hold(bool value);
    bool set_fft_window(lib_dma_fft_window_type_t value);
    bool set_multi_carrier_filter(bool value);
    bool set_spectrum_type(lib_dma_spectrum_type_t value);
    bool set_gain_imb_quad_skew_couping(bool value);
    bool set_clock_adjust(float value);
    bool set_iq_rotation(float value);
    bool set_iq_normalize(bool value);
    bool set_low_snr_enhancement(bool value);
    bool set_evm_normalization_ref(lib_dma_evm_normalize_type_t value);
    /// Stores `value`, but false while the segment is type 1 of the group MSK.
    bool set_iq_offset_compensation(bool value);

    double get_equalizer_coef() const;
    bool get_equalizer() const;
    std::uint32_t get_equalizer_filter_len() const;
    std::uint32_t get_average_move_len() const;
    bool get_hold() const;
    lib_dma_fft_window_type_t get_fft_window() const;
    bool get_multi_carrier_filter() const;
    lib_dma_spectrum_type_t get_spectrum_type() const;
    bool get_gain_imb_quad_skew_couping() const;
    float get_clock_adjust() const;
    float get_iq_rotation() const;
    bool get_iq_normalize() const;
    bool get_low_snr_enhancement() const;
    lib_dma_evm_normalize_type_t get_evm_normalization_ref() const;
    bool get_iq_offset_compensation() const;

private:
    lib_dma_advance_configure_manager_t& _get_dma_advance_manager() const;

    lib_dma_frame_configure_manager_t* frame_;
    std::uint32_t current_segment_index_ = 0;
};
} // namespace vrim::dma_demod_lib
