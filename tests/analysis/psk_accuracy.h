#pragma once

#include "accuracy_section.h"

/// What an analysis of PSK signals reaches, measured. The tests hold the bars, `accuracy_table` prints the same figures.
namespace dma_test
{
accuracy_section_t measure_clean_runs();
/// Without bars: how the clean figure spreads over 200 records of data.
accuracy_section_t measure_clean_spread();
accuracy_section_t measure_noisy_runs();
/// 1,024 symbols, against the theory of EVM and the bound on frequency errors.
accuracy_section_t measure_against_theory();
accuracy_section_t measure_pull_in();
accuracy_section_t measure_iq_offset();
accuracy_section_t measure_gain_imbalance();
/// Without bars: what a large carrier offset costs.
accuracy_section_t measure_offset_cost();
/// Without bars: captures of 10,000 and 100,000 symbols.
accuracy_section_t measure_long_captures();

/// Standard deviation of the best unbiased estimate of a frequency from noisy symbols of known data and unknown phase, Hz:
/// sqrt(6 symbol_rate^2 / ((2 pi)^2 snr n (n^2 - 1))).
/// @param snr  Es/N0, not in dB
/// Source: D. C. Rife, R. R. Boorstyn, "Single-tone parameter estimation from discrete-time observations", IEEE Trans. Inf.
/// Theory 20(5), 1974.
double cal_frequency_bound(double symbol_rate, double snr, double symbols);
} // namespace dma_test
