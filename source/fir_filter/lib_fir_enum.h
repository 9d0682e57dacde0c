#pragma once

#include "dma_export.h"
#include "support/enum_entry.h"

#include <cstdint>
#include <span>

/// Every enumeration of the filter designer. Values and texts are part of the interface: files keep them.
namespace vrim::fir_filter_lib
{
/// How a filter is designed.
enum lib_fir_design_method_t : std::uint32_t
{
    LIB_FIR_METHOD_WINDOW = 0,
    LIB_FIR_METHOD_EQUIRIPPLE = 1,
    LIB_FIR_METHOD_LEAST_SQUARE = 2,
};

/// Shape of the frequency response.
enum lib_fir_response_type_t : std::uint32_t
{
    LIB_FIR_RESPONSE_SHAPING = 0,
    LIB_FIR_RESPONSE_LOWPASS = 1,
    LIB_FIR_RESPONSE_HIGHPASS = 2,
    LIB_FIR_RESPONSE_BANDPASS = 3,
    LIB_FIR_RESPONSE_BANDSTOP = 4,
};

/// Windows.
enum lib_window_type_t : std::uint32_t
{
    LIB_WINDOW_BARTLETT = 0,
    LIB_WINDOW_BARTLETT_HANNING = 1,
    LIB_WINDOW_BOHMAN = 2,
    LIB_WINDOW_RECTANGLE = 3,
    LIB_WINDOW_HAMMING = 4,
    LIB_WINDOW_HANN = 5,
    LIB_WINDOW_GAUSSIAN = 6,
    LIB_WINDOW_BLACKMAN = 7,
    LIB_WINDOW_BLACKMAN_HARRIS = 8,
    LIB_WINDOW_CHEBYSHEV = 9,
    LIB_WINDOW_FLATTOP = 10,
    LIB_WINDOW_KAISER = 11,
    LIB_WINDOW_NUTTALL = 12,
    LIB_WINDOW_PARZEN = 13,
    LIB_WINDOW_TAYLOR = 14,
    LIB_WINDOW_TRIANGLE = 15,
    LIB_WINDOW_TUKEY = 16,
};

using common_lib::enum_entry_t;

/// Every enumerator of a type with its text, rising in value.
template <typename enum_t>
std::span<const enum_entry_t<enum_t>> get_enum_entries() = delete;

template <>
DMA_DEMOD_EXPORT std::span<const enum_entry_t<lib_fir_design_method_t>> get_enum_entries();
template <>
DMA_DEMOD_EXPORT std::span<const enum_entry_t<lib_fir_response_type_t>> get_enum_entries();
template <>
DMA_DEMOD_EXPORT std::span<const enum_entry_t<lib_window_type_t>> get_enum_entries();
} // namespace vrim::fir_filter_lib
