#pragma once

#include "dma_export.h"
#include "lib_dma_cfg_manager/lib_dma_enum.h"

#include <cstdint>

/// Carrier recovery on symbols, one sample each, in separate I and Q arrays.
namespace vrim::dma_demod_lib
{
/// Measures the carrier of PSK symbols by the decision-directed loop of the PSK demodulator and a line through its phase, and
/// takes it out. What the demodulator's stage logs and prints, this does too: a missing lock is logged and does not fail.
///
/// The result is false, and nothing is written, without symbols and, with a report on standard output, for an unknown format and
/// for a null pointer.
/// @param format       of the symbols; the frequency of formats with a fixed turn per symbol is told without that turn
/// @param in_i, in_q   `length` symbols at any level
/// @param symbol_rate  Hz
/// @param out_i, out_q        the symbols at unit rms with the line (a fixed turn included) taken out: BPSK comes to the real
///                            axis, QPSK to the diagonals, 8PSK to the multiples of 45 degrees, each but for the ambiguity of
///                            its points
/// @param phase_line          `length` values: the line at each symbol, radians
/// @param residual_frequency  one value: Hz; not-a-number for one symbol
/// @param fit_coefficients    two values: radians per symbol, radians at symbol 0
/// @param phase_track         `length` values: the loop after each symbol, radians, not wrapped
DMA_DEMOD_EXPORT bool psk_carrier_recovery(lib_dma_psk_modulation_type_t format, const float* in_i, const float* in_q,
                                           std::uint32_t length, std::uint64_t symbol_rate, float* out_i, float* out_q,
                                           float* phase_line, double* residual_frequency, float* fit_coefficients,
                                           float* phase_track);

/// The same for ASK by the loop of the ASK demodulator: the levels come to the positive real axis.
DMA_DEMOD_EXPORT bool ask_carrier_recovery(lib_dma_ask_modulation_type_t format, const float* in_i, const float* in_q,
                                           std::uint32_t length, std::uint64_t symbol_rate, float* out_i, float* out_q,
                                           float* phase_line, double* residual_frequency, float* fit_coefficients,
                                           float* phase_track);

/// Turns one symbol by 45 degrees, which moves QPSK between the diagonals and the axes.
/// @param sign  above 0 counter-clockwise, below 0 clockwise; with 0 the symbol comes out as it is
/// @return false, reported on standard output, for a null pointer
DMA_DEMOD_EXPORT bool sym_phase_rotation(float in_i, float in_q, float* out_i, float* out_q, int sign);
} // namespace vrim::dma_demod_lib
