#pragma once

#include "lib_dma_cfg_manager/lib_dma_segment_configure_manager.h"
#include "lib_dma_phy_result.h"

namespace vrim::dma_demod_lib
{
/// Gathers the run-in of one segment into the record: `pre_time` and `equalizer_time` become those of this segment, so that
/// the last one of a frame wins, while `minseglen` only ever grows. The driver and the configuration's length calculation
/// share the rule.
void update_run_in(const lib_dma_segment_configure_manager_t& segment, lib_dma_demod_config_mgr& config);
} // namespace vrim::dma_demod_lib
