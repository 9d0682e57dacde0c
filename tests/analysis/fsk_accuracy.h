#pragma once

#include "accuracy_section.h"

/// What analyses of FSK signals reach, measured.
namespace dma_test
{
accuracy_section_t measure_fsk_clean_runs();
/// Without bars: how the clean figure spreads over the data, for two roll-offs and two lengths of the filters.
accuracy_section_t measure_fsk_clean_spread();
accuracy_section_t measure_fsk_noisy_runs();
accuracy_section_t measure_fsk_gaussian_runs();
/// Without bars: the deviation of Gaussian tones over how the data are balanced.
accuracy_section_t measure_fsk_gaussian_spread();
accuracy_section_t measure_fsk_carrier();
} // namespace dma_test
