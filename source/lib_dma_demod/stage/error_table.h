#pragma once

#include "lib_dma_demod/lib_dma_demod_record.h"
#include "lib_dma_phy_data_manager.h"

#include <cstdint>

namespace vrim::dma_demod_lib::demod_stage
{
/// Compares the waveforms, fills the results of the segment and prints and logs the figures. The waveforms go to the store.
/// The quadrature error is the format's own and stands in the table already.
void deal_error_table(std::uint32_t segment_index, const demod_setting_t& setting, demod_work_t& work,
                      lib_dma_phy_data_manager_t& data_manager);
} // namespace vrim::dma_demod_lib::demod_stage
