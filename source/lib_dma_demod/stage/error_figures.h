#pragma once

#include "dma_types.h"
#include "lib_dma_cfg_manager/lib_dma_enum.h"
#include "lib_dma_phy_result.h"

#include <cstdint>

namespace vrim::dma_demod_lib::demod_stage
{
/// What the comparison of two waveforms gives. The arrays have one entry a point, the traces in `summary` one a symbol.
struct error_figures_t
{
    complex_array error_vector; ///< reference less measurement
    float_array mag_error;      ///< percent of the normalisation
    float_array phase_error;    ///< degrees
    complex_array meas_points;  ///< measured symbols
    complex_array ref_points;   ///< ideal symbols
    error_summary_t summary;    ///< SNR, EVM, magnitude and phase figures and their traces
};

/// Compares a measured with a reference waveform of the same rate.
/// @param normalization  what percent figures are percent of: the reference symbols' rms or their largest amplitude
/// @throws std::out_of_range when the reference is shorter than the measurement
error_figures_t cal_error_figures(const complex_array& meas, const complex_array& ref, std::uint32_t points_per_symbol,
                                  lib_dma_evm_normalize_type_t normalization);

/// Compares two normalised frequency trajectories held as real parts, outer tones at +/-1: errors are frequency errors.
///
/// EVM figures are percent of the peak deviation, the largest and the smallest with their signs. Magnitude errors are the
/// signed frequency errors in percent of the rms of the measured symbols. Phase figures tell a frequency above the carrier
/// from one below it.
/// @param normalization  that of the phase figures
/// @throws std::out_of_range when the reference is shorter than the measurement
error_figures_t cal_frequency_figures(const complex_array& meas, const complex_array& ref, std::uint32_t points_per_symbol,
                                      lib_dma_evm_normalize_type_t normalization);

/// Moves the figures into the results of a segment. What a comparison does not give stays: the driver's power, and the
/// waveforms.
void take_error_summary(error_summary_t figures, error_summary_t& summary);

/// Prints the figures the way the report has them.
void print_error_figures(const error_summary_t& summary);
} // namespace vrim::dma_demod_lib::demod_stage
