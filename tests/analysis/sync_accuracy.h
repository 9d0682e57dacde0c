#pragma once

#include "accuracy_section.h"

namespace dma_test
{
accuracy_section_t measure_sync_search();
accuracy_section_t measure_dpsk_sync_search();
/// Without bars for the counts but for the formats that stand still.
accuracy_section_t measure_linear_sync_search();
/// The steps of DPSK signals, symbol by symbol, at many carrier phases.
accuracy_section_t measure_dpsk_steps();
} // namespace dma_test
