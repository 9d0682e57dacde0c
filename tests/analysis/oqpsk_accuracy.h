#pragma once

#include "accuracy_section.h"

/// What analyses of OQPSK signals reach, measured.
namespace dma_test
{
accuracy_section_t measure_oqpsk_clean_runs();
/// Without bars: how the clean figures spread over the data.
accuracy_section_t measure_oqpsk_clean_spread();
accuracy_section_t measure_oqpsk_noisy_runs();
/// Without bars.
accuracy_section_t measure_oqpsk_noisy_spread();
accuracy_section_t measure_oqpsk_decisions();
/// Without bars: wrong symbols against those that the noise makes.
accuracy_section_t measure_oqpsk_strong_noise();
accuracy_section_t measure_oqpsk_gaussian_runs();
/// Without bars.
accuracy_section_t measure_oqpsk_gaussian_spread();
accuracy_section_t measure_oqpsk_carrier();
accuracy_section_t measure_oqpsk_half_sines();
} // namespace dma_test
