#pragma once

#include "dma_types.h"

namespace vrim::dma_demod_lib::demod_stage
{
/// Turns a signal into its instantaneous frequency: the step of the phase from the sample before, in cycles per sample, as
/// real parts. Steps above half a cycle count as steps the other way round.
///
/// Entry 0 has no sample before it and is the phase itself, in cycles. The result is one entry shorter than the signal: the
/// step to the last sample is not taken.
void deal_frequency_trajectory(complex_array& data);

/// Takes a carrier out of a trajectory and scales it.
/// @param carrier  cycles per sample
/// @param gain     what one cycle per sample becomes
void deal_trajectory_scale(double carrier, double gain, float_array& trajectory);
} // namespace vrim::dma_demod_lib::demod_stage
