#pragma once

#include "dma_export.h"
#include "lib_dma_cfg_manager/lib_dma_enum.h"

#include <cstdint>

namespace vrim::dma_demod_lib
{
/// The advanced switches of a segment. Setters clamp silently and return true.
class DMA_DEMOD_EXPORT lib_dma_advance_configure_manager_t
{
public:
    /// Restores the defaults.
    void init();
    bool operator==(const lib_dma_advance_configure_manager_t&) const = default;

    bool set_equalizer(bool value);
    /// Symbols, 3 to 99; an even value is raised by one.
    bool set_equalizer_filter_len(std::uint32_t value);
    /// 1 to 101; an even value is raised by one.
    bool set_average_move_len(std::uint32_t value);
    bool set_hold(bool value);
    /// Step of the adaptation, 1e-14 to 1.
    bool set_equalizer_coef(double value);
    bool set_fft_window(lib_dma_fft_window_type_t value);
    bool set_multi_carrier_filter(bool value);
    bool set_spectrum_type(lib_dma_spectrum_type_t value);
    bool set_gain_imb_quad_skew_couping(bool value);
    /// Symbols, -0.5 to 0.5.
    bool set_clock_adjust(float value);
    /// Degrees, -360 to 360; not wrapped.
    bool set_iq_rotation(float value);
    bool set_iq_normalize(bool value);
    bool set_low_snr_enhancement(bool value);
    bool set_evm_normalization_ref(lib_dma_evm_normalize_type_t value);
    /// Stores `value`, but false for type 1 of the group MSK.
    bool set_iq_offset_compensation(lib_dma_modulation_type_t group, lib_dma_msk_modulation_type_t msk_type, bool value);

    bool get_equalizer() const;
    std::uint32_t get_equalizer_filter_len() const;
    std::uint32_t get_average_move_len() const;
    bool get_hold() const;
    double get_equalizer_coef() const;
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
    bool equalizer_ = false;
    std::uint32_t equalizer_filter_len_ = 21;
    std::uint32_t average_move_len_ = 1;
    bool hold_ = false;
    double equalizer_coef_ = 0.01;
    lib_dma_fft_window_type_t fft_window_ = LIB_DMA_WINDOW_RECTANGLE;
    bool multi_carrier_filter_ = false;
    lib_dma_spectrum_type_t spectrum_type_ = LIB_DMA_SPECTRUM_MORMAL;
    bool gain_imb_quad_skew_couping_ = false;
    float clock_adjust_ = 0.0f;
    float iq_rotation_ = 0.0f;
    bool iq_normalize_ = false;
    bool low_snr_enhancement_ = false;
    lib_dma_evm_normalize_type_t evm_normalization_ref_ = LIB_DMA_EVM_NORMALIZE_CONSTELLATION_MAX;
    bool iq_offset_compensation_ = true;
};
} // namespace vrim::dma_demod_lib
