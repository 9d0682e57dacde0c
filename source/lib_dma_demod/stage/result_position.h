#pragma once

#include "lib_dma_demod/lib_dma_demod_record.h"
#include "lib_dma_phy_result.h"

#include <cstddef>

namespace vrim::dma_demod_lib::demod_stage
{
/// Keeps the first `count` samples of a block, extended with zeros.
void take_raw_time(const complex_array& block, std::size_t count, complex_array& raw_time);

/// Converts the measurement window into sample positions of the capture, `result_start` and `result_stop`.
/// @param[in,out] setting  `meas_offset` becomes samples; `meas_interval` is shortened when the window runs past the data
/// @return false when it was shortened
bool cal_result_position(demod_setting_t& setting, lib_dma_demod_config_mgr& config);
} // namespace vrim::dma_demod_lib::demod_stage
