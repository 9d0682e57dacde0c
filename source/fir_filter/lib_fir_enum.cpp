#include "fir_filter/lib_fir_enum.h"

namespace vrim::fir_filter_lib
{
template <>
std::span<const enum_entry_t<lib_fir_design_method_t>> get_enum_entries()
{
    static constexpr enum_entry_t<lib_fir_design_method_t> entries[] = {
        { LIB_FIR_METHOD_WINDOW, "Window" },
        { LIB_FIR_METHOD_EQUIRIPPLE, "Equiripple" },
        { LIB_FIR_METHOD_LEAST_SQUARE, "LeastSquare" },
    };
    return entries;
}

template <>
std::span<const enum_entry_t<lib_fir_response_type_t>> get_enum_entries()
{
    static constexpr enum_entry_t<lib_fir_response_type_t> entries[] = {
        { LIB_FIR_RESPONSE_SHAPING, "Shaping" },   { LIB_FIR_RESPONSE_LOWPASS, "Lowpass" },
        { LIB_FIR_RESPONSE_HIGHPASS, "Highpass" }, { LIB_FIR_RESPONSE_BANDPASS, "Bandpass" },
        { LIB_FIR_RESPONSE_BANDSTOP, "Bandstop" },
    };
    return entries;
}

template <>
std::span<const enum_entry_t<lib_window_type_t>> get_enum_entries()
{
    static constexpr enum_entry_t<lib_window_type_t> entries[] = {
        { LIB_WINDOW_BARTLETT, "Bartlett" },
        { LIB_WINDOW_BARTLETT_HANNING, "Bartlett-Hanning" },
        { LIB_WINDOW_BOHMAN, "Bohman" },
        { LIB_WINDOW_RECTANGLE, "Rectangle" },
        { LIB_WINDOW_HAMMING, "Hamming" },
        { LIB_WINDOW_HANN, "Hann" },
        { LIB_WINDOW_GAUSSIAN, "Gaussian" },
        { LIB_WINDOW_BLACKMAN, "Blackman" },
        { LIB_WINDOW_BLACKMAN_HARRIS, "Blackman-Harris" },
        { LIB_WINDOW_CHEBYSHEV, "Chebyshev" },
        { LIB_WINDOW_FLATTOP, "Flattop" },
        { LIB_WINDOW_KAISER, "Kaiser" },
        { LIB_WINDOW_NUTTALL, "Nuttall" },
        { LIB_WINDOW_PARZEN, "Parzen" },
        { LIB_WINDOW_TAYLOR, "Taylor" },
        { LIB_WINDOW_TRIANGLE, "Triangle" },
        { LIB_WINDOW_TUKEY, "Tukey" },
    };
    return entries;
}
} // namespace vrim::fir_filter_lib
