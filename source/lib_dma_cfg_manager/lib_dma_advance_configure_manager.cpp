#include "lib_dma_cfg_manager/lib_dma_advance_configure_manager.h"

#include "lib_dma_cfg_manager/clamp_value.h"

namespace vrim::dma_demod_lib
{
namespace
{
constexpr std::uint32_t min_equalizer_len = 3;
constexpr std::uint32_t max_equalizer_len = 99;
constexpr std::uint32_t min_average_len = 1;
constexpr std::uint32_t max_average_len = 101;
constexpr double min_equalizer_coef = 1e-14;
constexpr double max_equalizer_coef = 1.0;
constexpr float max_clock_adjust = 0.5f; // symbols
constexpr float max_rotation_degrees = 360.0f;
} // namespace

void lib_dma_advance_configure_manager_t::init()
{
    *this = {};
}

bool lib_dma_advance_configure_manager_t::set_equalizer(bool value)
{
    equalizer_ = value;
    return true;
}

bool lib_dma_advance_configure_manager_t::set_equalizer_filter_len(std::uint32_t value)
{
    equalizer_filter_len_ = clamp_value(value, min_equalizer_len, max_equalizer_len) | 1u; // odd: the taps have a centre
    return true;
}

bool lib_dma_advance_configure_manager_t::set_average_move_len(std::uint32_t value)
{
    average_move_len_ = clamp_value(value, min_average_len, max_average_len) | 1u;
    return true;
}

bool lib_dma_advance_configure_manager_t::set_hold(bool value)
{
    hold_ = value;
    return true;
}

bool lib_dma_advance_configure_manager_t::set_equalizer_coef(double value)
{
    equalizer_coef_ = clamp_value(value, min_equalizer_coef, max_equalizer_coef);
    return true;
}

bool lib_dma_advance_configure_manager_t::set_fft_window(lib_dma_fft_window_type_t value)
{
    fft_window_ = value;
    return true;
}

bool lib_dma_advance_configure_manager_t::set_multi_carrier_filter(bool value)
{
    multi_carrier_filter_ = value;
    return true;
}

bool lib_dma_advance_configure_manager_t::set_spectrum_type(lib_dma_spectrum_type_t value)
{
    spectrum_type_ = value;
    return true;
}

bool lib_dma_advance_configure_manager_t::set_gain_imb_quad_skew_couping(bool value)
{
    gain_imb_quad_skew_couping_ = value;
    return true;
}

bool lib_dma_advance_configure_manager_t::set_clock_adjust(float value)
{
    clock_adjust_ = clamp_value(value, -max_clock_adjust, max_clock_adjust);
    return true;
}

bool lib_dma_advance_configure_manager_t::set_iq_rotation(float value)
{
    iq_rotation_ = clamp_value(value, -max_rotation_degrees, max_rotation_degrees);
    return true;
}

bool lib_dma_advance_configure_manager_t::set_iq_normalize(bool value)
{
    iq_normalize_ = value;
    return true;
}

bool lib_dma_advance_configure_manager_t::set_low_snr_enhancement(bool value)
{
    low_snr_enhancement_ = value;
    return true;
}

bool lib_dma_advance_configure_manager_t::set_evm_normalization_ref(lib_dma_evm_normalize_type_t value)
{
    evm_normalization_ref_ = value;
    return true;
}

bool lib_dma_advance_configure_manager_t::set_iq_offset_compensation(lib_dma_modulation_type_t group,
                                                                     lib_dma_msk_modulation_type_t msk_type, bool value)
{
    const bool is_msk_type1 = group == LIB_DMA_GROUP_MSK && msk_type == LIB_DMA_MSK_TYPE1;
    iq_offset_compensation_ = value && !is_msk_type1;
    return true;
}

bool lib_dma_advance_configure_manager_t::get_equalizer() const
{
    return equalizer_;
}

std::uint32_t lib_dma_advance_configure_manager_t::get_equalizer_filter_len() const
{
    return equalizer_filter_len_;
}

std::uint32_t lib_dma_advance_configure_manager_t::get_average_move_len() const
{
    return average_move_len_;
}

bool lib_dma_advance_configure_manager_t::get_hold() const
{
    return hold_;
}

double lib_dma_advance_configure_manager_t::get_equalizer_coef() const
{
    return equalizer_coef_;
}

lib_dma_fft_window_type_t lib_dma_advance_configure_manager_t::get_fft_window() const
{
    return fft_window_;
}

bool lib_dma_advance_configure_manager_t::get_multi_carrier_filter() const
{
    return multi_carrier_filter_;
}

lib_dma_spectrum_type_t lib_dma_advance_configure_manager_t::get_spectrum_type() const
{
    return spectrum_type_;
}

bool lib_dma_advance_configure_manager_t::get_gain_imb_quad_skew_couping() const
{
    return gain_imb_quad_skew_couping_;
}

float lib_dma_advance_configure_manager_t::get_clock_adjust() const
{
    return clock_adjust_;
}

float lib_dma_advance_configure_manager_t::get_iq_rotation() const
{
    return iq_rotation_;
}

bool lib_dma_advance_configure_manager_t::get_iq_normalize() const
{
    return iq_normalize_;
}

bool lib_dma_advance_configure_manager_t::get_low_snr_enhancement() const
{
    return low_snr_enhancement_;
}

lib_dma_evm_normalize_type_t lib_dma_advance_configure_manager_t::get_evm_normalization_ref() const
{
    return evm_normalization_ref_;
}

bool lib_dma_advance_configure_manager_t::get_iq_offset_compensation() const
{
    return iq_offset_compensation_;
}
} // namespace vrim::dma_demod_lib
