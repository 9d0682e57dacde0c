#pragma once

#include "dma_export.h"
#include "lib_dma_cfg_manager/lib_dma_enum.h"

#include <cstdint>

namespace vrim::dma_demod_lib
{
/// When a segment is measured. Setters clamp silently and return true.
class DMA_DEMOD_EXPORT lib_dma_time_configure_manager_t
{
public:
    /// Restores the defaults.
    void init();
    bool operator==(const lib_dma_time_configure_manager_t&) const = default;

    /// @param group  takes no part
    /// @param value  symbols, 10 to 10,000,000; the offset is pulled to at most the interval in magnitude
    bool set_meas_interval(lib_dma_modulation_type_t group, std::uint32_t value);
    /// @param value  symbols, at most the interval in magnitude; -1 is the default and is read as "no offset set"
    bool set_meas_offset(std::int32_t value);
    bool set_meas_offset_reference(lib_dma_meas_offset_ref_t value);

    std::uint32_t get_meas_interval() const;
    std::int32_t get_meas_offset() const;
    lib_dma_meas_offset_ref_t get_meas_offset_reference() const;

private:
    std::uint32_t meas_interval_ = 1024;
    std::int32_t meas_offset_ = -1;
    lib_dma_meas_offset_ref_t meas_offset_reference_ = LIB_DMA_RELATIVE_TO_CAPTURE;
};
} // namespace vrim::dma_demod_lib
