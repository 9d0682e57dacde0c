#pragma once

#include "accuracy_section.h"

#include <cstdint>

/// What analyses of QAM, APSK, ASK and DPSK signals reach, measured. The carrier recovery of QAM never reports that it is lost,
/// so that every section that can tell counts the runs in which a decoded symbol is not the one that was sent.
namespace dma_test
{
accuracy_section_t measure_linear_clean_runs();
/// Without bars: how the clean figure spreads over 200 records of data.
accuracy_section_t measure_linear_clean_spread();
accuracy_section_t measure_linear_noisy_runs();
/// How often a run misses the bars of the section before. @param count  runs of each format
accuracy_section_t measure_linear_noisy_spread(std::uint64_t count = 250);
/// 45 dB, from 512 points on.
accuracy_section_t measure_dense_noisy_runs();
/// 4096QAM from any carrier phase.
accuracy_section_t measure_dense_lock();
/// Without bars: the share of runs with wrong decisions over the SNR.
accuracy_section_t measure_needed_snr();
accuracy_section_t measure_linear_pull_in();
accuracy_section_t measure_ring_ratios();
/// Without bars: what noise and the data make of the ring ratios.
accuracy_section_t measure_ring_ratio_bias();
/// The same signals with the clock put where the EVM is least. @param count  runs of each format
accuracy_section_t measure_ring_ratios_at_best_clock(std::uint64_t count = 20);
accuracy_section_t measure_linear_iq_offset();
} // namespace dma_test
