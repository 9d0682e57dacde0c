#pragma once

#include "accuracy_section.h"

#include <cstdint>

/// What analyses of FSK signals reach, measured: seeds 1 to `count`, none chosen, bars for each run.
namespace dma_test
{
constexpr std::uint64_t fsk_seed_count = 12;

accuracy_section_t measure_fsk_clean_runs(std::uint64_t count = fsk_seed_count);
/// Without bars: how the clean figure spreads over data that are balanced more or less, for two roll-offs.
accuracy_section_t measure_fsk_clean_spread();
accuracy_section_t measure_fsk_noisy_runs(std::uint64_t count = fsk_seed_count);
/// How often a run misses the bars of the section before.
accuracy_section_t measure_fsk_noisy_spread(std::uint64_t count = 200);
accuracy_section_t measure_fsk_gaussian_runs(std::uint64_t count = fsk_seed_count);
/// Without bars: the deviation of Gaussian tones over how the data are balanced.
accuracy_section_t measure_fsk_gaussian_spread();
accuracy_section_t measure_fsk_carrier(std::uint64_t count = 8);
} // namespace dma_test
