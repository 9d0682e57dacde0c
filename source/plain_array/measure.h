#pragma once

#include "dma_export.h"
#include "lib_dma_cfg_manager/lib_dma_enum.h"

#include <cstdint>

/// Figures of separate I and Q arrays: those of `lib_dma_phy_common_t`, whose operations of the same names they are. Arrays of
/// measurement and reference have `length` entries each and the same rate. A null pointer to an array that has entries is
/// reported on standard output: a figure is not-a-number then, an operation with outputs leaves them and gives false.
namespace vrim::dma_demod_lib
{
/// Root of the mean of I^2 + Q^2, summed in double; 0 for no entries.
DMA_DEMOD_EXPORT float rms(const float* in_i, const float* in_q, std::uint32_t length);
/// The same over the `length` entries from `start` on.
DMA_DEMOD_EXPORT float rms(const float* in_i, const float* in_q, std::uint32_t start, std::uint32_t length);
/// The same of a real array.
DMA_DEMOD_EXPORT float rms(const float* data, std::uint32_t length);

/// out = reference - measurement. @param out_i, out_q  `length` values; may be inputs
DMA_DEMOD_EXPORT bool error_vector_cal(const float* meas_i, const float* meas_q, const float* ref_i, const float* ref_q,
                                       std::uint32_t length, float* out_i, float* out_q);
/// out = |reference| - |measurement|. @param out  `length` values
DMA_DEMOD_EXPORT bool mag_error_cal(const float* meas_i, const float* meas_q, const float* ref_i, const float* ref_q,
                                    std::uint32_t length, float* out);
/// out = angle of the reference less that of the measurement, folded to half a turn, degrees. @param out  `length` values
DMA_DEMOD_EXPORT bool phase_error_cal(const float* meas_i, const float* meas_q, const float* ref_i, const float* ref_q,
                                      std::uint32_t length, float* out);

/// @return dB, power of the reference over power of the error; not-a-number for no entries, infinity without error
DMA_DEMOD_EXPORT double snr_cal(const float* meas_i, const float* meas_q, const float* ref_i, const float* ref_q,
                                std::uint32_t length);
/// Mean of 20 log10(|I| / |Q|) over the symbols whose rails differ by less than 1.0. Symbols are at about unit rms.
/// @return dB; 0 when no symbol counts
DMA_DEMOD_EXPORT float gain_imbalance_cal(const float* in_i, const float* in_q, std::uint32_t length);
/// Mean of an error vector against unit level.
/// @return dB; -1e10 for no entries or a sum of exactly 0
DMA_DEMOD_EXPORT float iq_offset_cal(const float* error_i, const float* error_q, std::uint32_t length);
/// Slope of the least-squares line through the unwrapped angle between measurement and reference.
///
/// From sample to sample the angle may change by less than half a turn, so frequencies below half the rate are told. Neither
/// signal passes through 0.
/// @param rate  Hz, of the arrays
/// @return Hz, positive when the measurement lies high; not-a-number for fewer than two entries
DMA_DEMOD_EXPORT double freq_error_cal(const float* meas_i, const float* meas_q, const float* ref_i, const float* ref_q,
                                       std::uint32_t length, double rate);
/// Mean angle between the symbols, turned by `rotation` radians, and the imaginary axis, over the symbols that lie within
/// `threshold` of it.
/// @return degrees, unsigned; 0 when no symbol counts
DMA_DEMOD_EXPORT float quad_error_cal(const float* in_i, const float* in_q, std::uint32_t length, float threshold,
                                      float rotation);
/// Quadrature figure of QAM from the mean amplitudes of the innermost points of the first and the second quadrant. Symbols are
/// at unit rms.
/// @return degrees; 0 when a quadrant has no such point; not-a-number, reported, for a format without a point set
DMA_DEMOD_EXPORT float qam_quad_error_cal(lib_dma_qam_modulation_type_t format, const float* in_i, const float* in_q,
                                          std::uint32_t length);
} // namespace vrim::dma_demod_lib
