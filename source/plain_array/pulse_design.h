#pragma once

#include "dma_export.h"

#include <cstdint>

/// Pulses as arrays of taps. Time t counts symbols from the centre. A design checks its arguments in the order beta, span, sps,
/// their product, then the pointer; the first that is wrong is reported in one line on standard output, `taps` stays as it was
/// and the result is false. Products of 2^26 and more are refused too.
/// Source: J. G. Proakis, M. Salehi, Digital Communications, 5th ed., McGraw-Hill, 2008, chapter 9.
namespace vrim::dma_demod_lib
{
/// Raised cosine, sinc(t) cos(pi beta t) / (1 - (2 beta t)^2), times 1 / sqrt(sps): the sum comes near sqrt(sps).
/// @param beta  roll-off, 0 to 1
/// @param span  symbols, 1 or more
/// @param sps   samples a symbol, 1 or more; span * sps is even
/// @param taps  room for span * sps + 1 values
DMA_DEMOD_EXPORT bool filter_design_raise_cosine(double beta, std::uint32_t span, std::uint32_t sps, float* taps);

/// Square root raised cosine, the pulse that convolved with itself is the raised cosine, at unit energy but for what the span
/// cuts off. Arguments and reports, words included, are those of `filter_design_raise_cosine`.
DMA_DEMOD_EXPORT bool filter_design_square_root_raise_cosine(double beta, std::uint32_t span, std::uint32_t sps, float* taps);

/// Gaussian, exp(-2 (pi beta t)^2 / ln 2), scaled to the sum 1.
/// @param beta  3 dB bandwidth over the symbol rate, 0 to 1; 0 gives equal taps
/// @param taps  room for span * sps + 1 values
/// Source: K. Murota, K. Hirade, "GMSK modulation for digital mobile radio telephony", IEEE Trans. Commun. 29(7), 1981.
DMA_DEMOD_EXPORT bool filter_design_gaussian(double beta, std::uint32_t span, std::uint32_t sps, float* taps);

/// Half a sine period, sin(pi k / sps), scaled to the sum 1. A single tap is the sine's zero.
/// @param sps   samples a symbol, 1 or more
/// @param taps  room for `sps` values
DMA_DEMOD_EXPORT bool filter_design_half_sine(std::uint32_t sps, float* taps);
} // namespace vrim::dma_demod_lib
