#include "lib_dma_cfg_manager/lib_dma_time_configure_manager.h"

#include "lib_dma_cfg_manager/clamp_value.h"

namespace vrim::dma_demod_lib
{
namespace
{
constexpr std::uint32_t min_interval_symbols = 10;
constexpr std::uint32_t max_interval_symbols = 10'000'000;
} // namespace

void lib_dma_time_configure_manager_t::init()
{
    *this = {};
}

bool lib_dma_time_configure_manager_t::set_meas_interval(lib_dma_modulation_type_t, std::uint32_t value)
{
    meas_interval_ = clamp_value(value, min_interval_symbols, max_interval_symbols);
    return set_meas_offset(meas_offset_);
}

bool lib_dma_time_configure_manager_t::set_meas_offset(std::int32_t value)
{
    const std::int32_t limit = static_cast<std::int32_t>(meas_interval_);
    meas_offset_ = clamp_value(value, -limit, limit);
    return true;
}

bool lib_dma_time_configure_manager_t::set_meas_offset_reference(lib_dma_meas_offset_ref_t value)
{
    meas_offset_reference_ = value;
    return true;
}

std::uint32_t lib_dma_time_configure_manager_t::get_meas_interval() const
{
    return meas_interval_;
}

std::int32_t lib_dma_time_configure_manager_t::get_meas_offset() const
{
    return meas_offset_;
}

lib_dma_meas_offset_ref_t lib_dma_time_configure_manager_t::get_meas_offset_reference() const
{
    return meas_offset_reference_;
}
} // namespace vrim::dma_demod_lib
