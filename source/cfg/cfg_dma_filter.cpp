#include "cfg/cfg_dma_filter.h"

#include "cfg/internal/cfg_dma_cursor.h"

#include <string_view>

namespace vrim::dma_demod_lib
{
namespace
{
constexpr std::string_view null_words = "cfg_dma_filter_t::set_current_segment_index null ptr!";
} // namespace

cfg_dma_filter_t::cfg_dma_filter_t(lib_dma_frame_configure_manager_t& frame) : frame_(&frame)
{
    init();
}

void cfg_dma_filter_t::init()
{
    current_segment_index_ = 0;
    is_segment_there(frame_, current_segment_index_, null_words, leaf_range_words);
}

bool cfg_dma_filter_t::set_current_segment_index(std::uint32_t index)
{
    if (!is_segment_there(frame_, index, null_words, leaf_range_words))
        return false;
    current_segment_index_ = index;
    return true;
}

bool cfg_dma_filter_t::set_filter_length(std::uint32_t value)
{
    return _get_dma_filter_manager().set_filter_length(value);
}

bool cfg_dma_filter_t::set_meas_filter_type(lib_dma_meas_filter_type_t value)
{
    return _get_dma_filter_manager().set_meas_filter_type(value);
}

bool cfg_dma_filter_t::set_ref_filter_type(lib_dma_ref_filter_type_t value)
{
    return _get_dma_filter_manager().set_ref_filter_type(value);
}

bool cfg_dma_filter_t::set_filter_alpha(float value)
{
    return _get_dma_filter_manager().set_filter_alpha(value);
}

bool cfg_dma_filter_t::set_filter_beta(float value)
{
    return _get_dma_filter_manager().set_filter_beta(value);
}

bool cfg_dma_filter_t::set_user_define_filter_type(lib_dma_user_define_filter_type_t value)
{
    return _get_dma_filter_manager().set_user_define_filter_type(value);
}

bool cfg_dma_filter_t::set_user_define_filter_coef(float value)
{
    return _get_dma_filter_manager().set_user_define_filter_coef(value);
}

std::uint32_t cfg_dma_filter_t::get_filter_length() const
{
    return _get_dma_filter_manager().get_filter_length();
}

lib_dma_meas_filter_type_t cfg_dma_filter_t::get_meas_filter_type() const
{
    return _get_dma_filter_manager().get_meas_filter_type();
}

lib_dma_ref_filter_type_t cfg_dma_filter_t::get_ref_filter_type() const
{
    return _get_dma_filter_manager().get_ref_filter_type();
}

float cfg_dma_filter_t::get_filter_alpha() const
{
    return _get_dma_filter_manager().get_filter_alpha();
}

float cfg_dma_filter_t::get_filter_beta() const
{
    return _get_dma_filter_manager().get_filter_beta();
}

lib_dma_user_define_filter_type_t cfg_dma_filter_t::get_user_define_filter_type() const
{
    return _get_dma_filter_manager().get_user_define_filter_type();
}

float cfg_dma_filter_t::get_user_define_filter_coef() const
{
    return _get_dma_filter_manager().get_user_define_filter_coef();
}

lib_dma_filter_configure_manager_t& cfg_dma_filter_t::_get_dma_filter_manager() const
{
    return frame_->get_segment(current_segment_index_).get_filter_configure();
}
} // namespace vrim::dma_demod_lib
