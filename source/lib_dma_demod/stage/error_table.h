#pragma once

#include "lib_dma_demod/lib_dma_demod_record.h"
#include "lib_dma_demod/stage/error_figures.h"
#include "lib_dma_phy_data_manager.h"

#include <cstdint>

namespace vrim::dma_demod_lib::demod_stage
{
/// Compares the waveforms, fills the results of the segment and prints and logs the figures. The waveforms go to the store.
/// The quadrature error is the format's own and stands in the table already.
void deal_error_table(std::uint32_t segment_index, const demod_setting_t& setting, demod_work_t& work,
                      lib_dma_phy_data_manager_t& data_manager);

/// What follows the comparison: stores, prints and logs figures that were taken of the waveforms in `work`.
void store_error_figures(error_figures_t figures, std::uint32_t segment_index, const demod_setting_t& setting, demod_work_t& work,
                         lib_dma_phy_data_manager_t& data_manager);
} // namespace vrim::dma_demod_lib::demod_stage
