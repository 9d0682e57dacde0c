#pragma once

#include "dma_types.h"
#include "lib_dma_cfg_manager/lib_dma_enum.h"
#include "support/lib_filter.h"

#include <cstdint>

namespace vrim::dma_demod_lib::demod_stage
{
struct meas_filter_result_t
{
    bool succeeded; ///< false when no taps came out
    bool known;     ///< false for a type without a rule; the filter's last kind served
};

/// Filters `data` in place with the measurement filter, delay taken out. The type none leaves the data as they are.
/// @param filter  keeps the kind that is set; types without a prototype of their own use the kind it was left with
/// @param alpha   roll-off or time-bandwidth product
/// @param sps     samples per symbol of `data`
meas_filter_result_t deal_meas_filter(lib_dma_meas_filter_type_t type, std::uint32_t filter_length, float alpha,
                                      std::uint32_t sps, common_lib::lib_filter_t& filter, complex_array& data);

/// The same from one array to another, which saves the copy of a long block. What is not filtered is copied.
/// @param[out] out  may be `data` itself
meas_filter_result_t deal_meas_filter(lib_dma_meas_filter_type_t type, std::uint32_t filter_length, float alpha,
                                      std::uint32_t sps, common_lib::lib_filter_t& filter, const complex_array& data,
                                      complex_array& out);

/// Divides taps by the single-precision root of `sps`: prototypes of unit energy come out with unit gain.
void scale_to_unit_gain(std::uint32_t sps, complex_array& taps);
} // namespace vrim::dma_demod_lib::demod_stage
