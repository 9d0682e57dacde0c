#pragma once

#include "accuracy_section.h"

/// What analyses of DPSK signals with balanced data reach, measured.
namespace dma_test
{
accuracy_section_t measure_dpsk_clean_runs();
accuracy_section_t measure_dpsk_noisy_runs();
} // namespace dma_test
