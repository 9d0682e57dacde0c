#pragma once

#include "dma_export.h"

#include <complex>
#include <cstdint>

/// Symbols of PSK as numbers. States count counter-clockwise from the one at angle 0 (four states: at 45 degrees), as
/// `psk_symbol_detect` numbers them. An order other than 2, 4, 8 and 16 and a null pointer are reported on standard output; the
/// arrays stay as they were then and the result is false.
namespace vrim::dma_demod_lib
{
/// Replaces each number of a state by the steps from the one before it, modulo the order; the first one stands for the steps
/// from state 0.
/// @param symbols  `count` numbers, taken modulo the order
DMA_DEMOD_EXPORT bool psk_differential_decode(std::uint32_t order, std::uint32_t* symbols, std::uint32_t count);

/// table[k] = the Gray code of k, so that neighbouring states differ in one bit.
/// @param table  room for `order` values
/// Source: F. Gray, "Pulse code communication", US patent 2632058, 1953.
DMA_DEMOD_EXPORT bool psk_binary_to_gray_code(std::uint32_t order, std::uint32_t* table);

/// table[symbol] = the ideal point of a symbol on the unit circle.
/// @param table  room for `order` points
/// @param flag   false: the symbol is the number of the state; true: it is the Gray code of that number
DMA_DEMOD_EXPORT bool psk_ideal_state_map_generate(std::uint32_t order, std::complex<float>* table, bool flag);
} // namespace vrim::dma_demod_lib
