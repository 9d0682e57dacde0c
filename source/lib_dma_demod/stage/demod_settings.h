#pragma once

#include "lib_dma_cfg_manager/lib_dma_frame_configure_manager.h"
#include "lib_dma_demod/lib_dma_demod_record.h"
#include "lib_dma_phy_result.h"

#include <cstdint>

/// What the demodulators share: functions that hold no state and do not know which group they serve. They compute and
/// report; the classes decide and speak.
namespace vrim::dma_demod_lib::demod_stage
{
/// Loads the settings of one segment and what the driver computed for it.
void update_demod_setting(const lib_dma_frame_configure_manager_t& frame, std::uint32_t segment_index,
                          const lib_dma_demod_config_mgr& config, demod_setting_t& setting);
} // namespace vrim::dma_demod_lib::demod_stage
