#pragma once

#include "dma_export.h"

#include <cstdint>

/// Hard decisions of PSK and QAM. A null pointer is reported on standard output and gives false; outputs stay as they were then.
namespace vrim::dma_demod_lib
{
// PSK by sectors of the angle: one symbol of any level, and its ideal point on the unit circle. Borders belong to the sector on
// their lower side; what is no number falls in the sector around half a turn. Points are single-precision sines and cosines, so
// a part of 0 may stand as -4.4e-8.

/// Points +1 and -1.
DMA_DEMOD_EXPORT bool psk_judge_bpsk(float re, float im, float* out_re, float* out_im);
/// Points on the axes.
DMA_DEMOD_EXPORT bool psk_judge_qpsk(float re, float im, float* out_re, float* out_im);
/// Points on the diagonals.
DMA_DEMOD_EXPORT bool psk_judge_qpsk_pi_4(float re, float im, float* out_re, float* out_im);
/// Points at the multiples of 45 degrees.
DMA_DEMOD_EXPORT bool psk_judge_8psk(float re, float im, float* out_re, float* out_im);
/// Points at the multiples of 22.5 degrees.
DMA_DEMOD_EXPORT bool psk_judge_16psk(float re, float im, float* out_re, float* out_im);

// Whole arrays of PSK symbols of any level, decided as above; QPSK on the diagonals, where the demodulators have it.

/// @param out_i, out_q  `length` ideal points; may be the inputs
/// @param symbols       `length` numbers of states, counted counter-clockwise from the state at angle 0 (QPSK: at 45 degrees);
///                      null when they are not wanted
DMA_DEMOD_EXPORT bool bpsk_symbol_detect(const float* in_i, const float* in_q, std::uint32_t length, float* out_i, float* out_q,
                                         std::uint32_t* symbols);
DMA_DEMOD_EXPORT bool qpsk_symbol_detect(const float* in_i, const float* in_q, std::uint32_t length, float* out_i, float* out_q,
                                         std::uint32_t* symbols);
DMA_DEMOD_EXPORT bool psk8_symbol_detect(const float* in_i, const float* in_q, std::uint32_t length, float* out_i, float* out_q,
                                         std::uint32_t* symbols);
DMA_DEMOD_EXPORT bool psk16_symbol_detect(const float* in_i, const float* in_q, std::uint32_t length, float* out_i,
                                          float* out_q, std::uint32_t* symbols);
/// The one of the four for `order` states.
/// @param order  2, 4, 8 or 16; any other is reported on standard output and gives false
DMA_DEMOD_EXPORT bool psk_symbol_detect(std::uint32_t order, const float* in_i, const float* in_q, std::uint32_t length,
                                        float* out_i, float* out_q, std::uint32_t* symbols);

// QAM on the grid: one symbol at the level at which the set has unit rms. Each rail goes on its own to the nearest odd multiple
// of the set's unit, a border belonging to the inner level, and a rail of exactly 0 or no number to 0. The sets of 32, 128 and
// 512 points are sliced on the square around them, so that a symbol far out on a diagonal comes to a corner that the set lacks.

using qam_judge_func_t = bool (*)(float re, float im, float* out_re, float* out_im);

DMA_DEMOD_EXPORT bool qam_judge_16(float re, float im, float* out_re, float* out_im);
DMA_DEMOD_EXPORT bool qam_judge_32(float re, float im, float* out_re, float* out_im);
DMA_DEMOD_EXPORT bool qam_judge_64(float re, float im, float* out_re, float* out_im);
DMA_DEMOD_EXPORT bool qam_judge_128(float re, float im, float* out_re, float* out_im);
DMA_DEMOD_EXPORT bool qam_judge_256(float re, float im, float* out_re, float* out_im);
DMA_DEMOD_EXPORT bool qam_judge_512(float re, float im, float* out_re, float* out_im);
DMA_DEMOD_EXPORT bool qam_judge_1024(float re, float im, float* out_re, float* out_im);
/// Square sets alone.
/// @param order  points: 16, 64, 256, 1024 or 4096; any other is reported on standard output and gives false
DMA_DEMOD_EXPORT bool qam_judge_square(std::uint32_t order, float re, float im, float* out_re, float* out_im);
/// @param order  points: 16, 32, 64, 128, 256, 512 or 1024; any other is reported on standard output and gives false
DMA_DEMOD_EXPORT bool qam_judge(std::uint32_t order, float re, float im, float* out_re, float* out_im);
/// @param order  as for `qam_judge`
/// @return the decision of that many points; null, reported on standard output, for an unknown order
DMA_DEMOD_EXPORT qam_judge_func_t qam_get_judge_func(std::uint32_t order);
} // namespace vrim::dma_demod_lib
