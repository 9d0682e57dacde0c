#include "lib_dma_cfg_manager/lib_dma_filter_configure_manager.h"

#include "lib_dma_cfg_manager/clamp_value.h"
#include "support/trace_output.h"

namespace vrim::dma_demod_lib
{
namespace
{
constexpr float max_alpha = 1.0f;
constexpr float max_beta = 100.0f;
constexpr std::uint32_t min_length_symbols = 2;
constexpr std::uint32_t max_length_symbols = 512;

// The lower bound is compared in double: the float nearest to 0.05 lies above it and passes.
float clamp_shape(float value, float high)
{
    if (static_cast<double>(value) < 0.05)
        return 0.05f;
    if (value > high)
        return high;
    return value;
}
} // namespace

void lib_dma_filter_configure_manager_t::init()
{
    *this = {};
}

bool lib_dma_filter_configure_manager_t::set_meas_filter_type(lib_dma_meas_filter_type_t value)
{
    meas_filter_type_ = value;
    return true;
}

bool lib_dma_filter_configure_manager_t::set_ref_filter_type(lib_dma_ref_filter_type_t value)
{
    ref_filter_type_ = value;
    return true;
}

bool lib_dma_filter_configure_manager_t::set_filter_alpha(float value)
{
    filter_alpha_ = clamp_shape(value, max_alpha);
    return true;
}

bool lib_dma_filter_configure_manager_t::set_filter_beta(float value)
{
    filter_beta_ = clamp_shape(value, max_beta);
    return true;
}

bool lib_dma_filter_configure_manager_t::set_filter_length(std::uint32_t value)
{
    filter_length_ = clamp_value(value, min_length_symbols, max_length_symbols);
    if (filter_length_ == value)
        return true;
    // One text for both directions.
    common_log::print_trace_line("lib_dma_filter_configure_manager_t::set_filter_length Report: Filter length is too small!");
    return false;
}

bool lib_dma_filter_configure_manager_t::set_user_define_filter_type(lib_dma_user_define_filter_type_t value)
{
    user_define_filter_type_ = value;
    return true;
}

bool lib_dma_filter_configure_manager_t::set_user_define_filter_coef(float value)
{
    user_define_filter_coef_ = value;
    return true;
}

lib_dma_meas_filter_type_t lib_dma_filter_configure_manager_t::get_meas_filter_type() const
{
    return meas_filter_type_;
}

lib_dma_ref_filter_type_t lib_dma_filter_configure_manager_t::get_ref_filter_type() const
{
    return ref_filter_type_;
}

float lib_dma_filter_configure_manager_t::get_filter_alpha() const
{
    return filter_alpha_;
}

float lib_dma_filter_configure_manager_t::get_filter_beta() const
{
    return filter_beta_;
}

std::uint32_t lib_dma_filter_configure_manager_t::get_filter_length() const
{
    return filter_length_;
}

lib_dma_user_define_filter_type_t lib_dma_filter_configure_manager_t::get_user_define_filter_type() const
{
    return user_define_filter_type_;
}

float lib_dma_filter_configure_manager_t::get_user_define_filter_coef() const
{
    return user_define_filter_coef_;
}
} // namespace vrim::dma_demod_lib
