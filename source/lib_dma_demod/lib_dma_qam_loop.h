#pragma once

#include "dma_types.h"
#include "lib_dma_common/qam_slicer.h"
#include "lib_dma_phy_result.h"

namespace vrim::dma_demod_lib
{
/// What one pass of QAM's carrier loop is told.
struct qam_loop_setting_t
{
    float phase;       ///< radians, at the last symbol
    float frequency;   ///< radians per symbol
    float turn;        ///< fixed turn of the format, radians per symbol
    float ki;          ///< frequency gain
    float kp;          ///< phase gain
    float gain_memory; ///< weight of the old gain
    float gain_update; ///< weight of the new ratio of amplitudes
    float lock_level;  ///< mean phase error in radians below which a symbol counts as locked
};

/// One pass of the decision-directed phase, frequency and gain loop over symbols at unit rms: backward to settle, then forward.
/// @param points  the slicer's points in key order; without any every decision is 0
/// @return tracks of the forward walk and its longest lock
/// Source: F. M. Gardner, Phaselock Techniques, 3rd ed., Wiley, 2005.
carrier_syn_info_t run_qam_loop(const complex_array& symbols, const qam_slicer_t& slicer, const complex_array& points,
                                const qam_loop_setting_t& setting);
} // namespace vrim::dma_demod_lib
