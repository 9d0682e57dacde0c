#pragma once

#include "accuracy_section.h"

/// What analyses of MSK and GMSK signals reach, measured.
namespace dma_test
{
accuracy_section_t measure_msk_clean_runs();
/// Without bars: how the clean figure spreads over the data and the timing.
accuracy_section_t measure_msk_clean_spread();
/// Without bars: what sampling and the filter in front leave of pulses that have no band limit.
accuracy_section_t measure_msk_sample_rates();
accuracy_section_t measure_msk_noisy_runs();
/// Without bars.
accuracy_section_t measure_msk_noisy_spread();
accuracy_section_t measure_msk_bits();
/// Without bars: bits in noise that begins to turn them.
accuracy_section_t measure_msk_bits_in_strong_noise();
accuracy_section_t measure_msk_carrier();
/// Without bars: how far off a carrier may lie.
accuracy_section_t measure_msk_carrier_range();
} // namespace dma_test
