#include "cfg/cfg_dma_advance.h"

#include "cfg/internal/cfg_dma_cursor.h"

#include <string_view>

namespace vrim::dma_demod_lib
{
namespace
{
constexpr std::string_view null_words = "cfg_dma_advance_t::set_current_segment_index null ptr!";
} // namespace

cfg_dma_advance_t::cfg_dma_advance_t(lib_dma_frame_configure_manager_t& frame) : frame_(&frame)
{
    init();
}

void cfg_dma_advance_t::init()
{
    current_segment_index_ = 0;
    is_segment_there(frame_, current_segment_index_, null_words, leaf_range_words);
}

bool cfg_dma_advance_t::set_current_segment_index(std::uint32_t index)
{
    if (!is_segment_there(frame_, index, null_words, leaf_range_words))
        return false;
    current_segment_index_ = index;
    return true;
}

bool cfg_dma_advance_t::set_equalizer_coef(double value)
{
    return _get_dma_advance_manager().set_equalizer_coef(value);
}

bool cfg_dma_advance_t::set_equalizer(bool value)
{
    return _get_dma_advance_manager().set_equalizer(value);
}

bool cfg_dma_advance_t::set_equalizer_filter_len(std::uint32_t value)
{
    return _get_dma_advance_manager().set_equalizer_filter_len(value);
}

bool cfg_dma_advance_t::set_average_move_len(std::uint32_t value)
{
    return _get_dma_advance_manager().set_average_move_len(value);
}

bool cfg_dma_advance_t::set_hold(bool value)
{
    return _get_dma_advance_manager().set_hold(value);
}

bool cfg_dma_advance_t::set_fft_window(lib_dma_fft_window_type_t value)
{
    return _get_dma_advance_manager().set_fft_window(value);
}

bool cfg_dma_advance_t::set_multi_carrier_filter(bool value)
{
    return _get_dma_advance_manager().set_multi_carrier_filter(value);
}

bool cfg_dma_advance_t::set_spectrum_type(lib_dma_spectrum_type_t value)
{
    return _get_dma_advance_manager().set_spectrum_type(value);
}

bool cfg_dma_advance_t::set_gain_imb_quad_skew_couping(bool value)
{
    return _get_dma_advance_manager().set_gain_imb_quad_skew_couping(value);
}

bool cfg_dma_advance_t::set_clock_adjust(float value)
{
    return _get_dma_advance_manager().set_clock_adjust(value);
}

bool cfg_dma_advance_t::set_iq_rotation(float value)
{
    return _get_dma_advance_manager().set_iq_rotation(value);
}

bool cfg_dma_advance_t::set_iq_normalize(bool value)
{
    return _get_dma_advance_manager().set_iq_normalize(value);
}

bool cfg_dma_advance_t::set_low_snr_enhancement(bool value)
{
    return _get_dma_advance_manager().set_low_snr_enhancement(value);
}

bool cfg_dma_advance_t::set_evm_normalization_ref(lib_dma_evm_normalize_type_t value)
{
    return _get_dma_advance_manager().set_evm_normalization_ref(value);
}

bool cfg_dma_advance_t::set_iq_offset_compensation(bool value)
{
    const lib_dma_segment_configure_manager_t& segment = frame_->get_segment(current_segment_index_);
    const lib_dma_format_configure_manager_t& format = segment.get_format_configure();
    return _get_dma_advance_manager().set_iq_offset_compensation(format.get_format_group(), format.get_msk_format(), value);
}

double cfg_dma_advance_t::get_equalizer_coef() const
{
    return _get_dma_advance_manager().get_equalizer_coef();
}

bool cfg_dma_advance_t::get_equalizer() const
{
    return _get_dma_advance_manager().get_equalizer();
}

std::uint32_t cfg_dma_advance_t::get_equalizer_filter_len() const
{
    return _get_dma_advance_manager().get_equalizer_filter_len();
}

std::uint32_t cfg_dma_advance_t::get_average_move_len() const
{
    return _get_dma_advance_manager().get_average_move_len();
}

bool cfg_dma_advance_t::get_hold() const
{
    return _get_dma_advance_manager().get_hold();
}

lib_dma_fft_window_type_t cfg_dma_advance_t::get_fft_window() const
{
    return _get_dma_advance_manager().get_fft_window();
}

bool cfg_dma_advance_t::get_multi_carrier_filter() const
{
    return _get_dma_advance_manager().get_multi_carrier_filter();
}

lib_dma_spectrum_type_t cfg_dma_advance_t::get_spectrum_type() const
{
    return _get_dma_advance_manager().get_spectrum_type();
}

bool cfg_dma_advance_t::get_gain_imb_quad_skew_couping() const
{
    return _get_dma_advance_manager().get_gain_imb_quad_skew_couping();
}

float cfg_dma_advance_t::get_clock_adjust() const
{
    return _get_dma_advance_manager().get_clock_adjust();
}

float cfg_dma_advance_t::get_iq_rotation() const
{
    return _get_dma_advance_manager().get_iq_rotation();
}

bool cfg_dma_advance_t::get_iq_normalize() const
{
    return _get_dma_advance_manager().get_iq_normalize();
}

bool cfg_dma_advance_t::get_low_snr_enhancement() const
{
    return _get_dma_advance_manager().get_low_snr_enhancement();
}

lib_dma_evm_normalize_type_t cfg_dma_advance_t::get_evm_normalization_ref() const
{
    return _get_dma_advance_manager().get_evm_normalization_ref();
}

bool cfg_dma_advance_t::get_iq_offset_compensation() const
{
    return _get_dma_advance_manager().get_iq_offset_compensation();
}

lib_dma_advance_configure_manager_t& cfg_dma_advance_t::_get_dma_advance_manager() const
{
    return frame_->get_segment(current_segment_index_).get_advance_configure();
}
} // namespace vrim::dma_demod_lib
