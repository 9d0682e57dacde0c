#pragma once

#include "dma_types.h"
#include "support/trace_output.h"

#include <algorithm>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <string_view>

/// The step between arrays of separate I and Q parts and those of complex values.
namespace vrim::dma_demod_lib::split_array
{
/// Whether every pointer stands for an array of `length` entries. Arrays without entries need no memory.
/// @param report  printed when a pointer is missing
template <typename... value_t>
bool has_arrays(std::string_view report, std::uint32_t length, const value_t*... arrays)
{
    if (length == 0 || (... && (arrays != nullptr)))
        return true;
    common_log::trace_output_t::get_instance().write(report);
    return false;
}

inline complex_array join(const float* in_i, const float* in_q, std::size_t length)
{
    complex_array data(length);
    for (std::size_t k = 0; k < length; ++k)
        data[k] = { in_i[k], in_q[k] };
    return data;
}

/// Values as real parts, imaginary parts 0.
inline complex_array join(const float* in, std::size_t length)
{
    complex_array data(length);
    for (std::size_t k = 0; k < length; ++k)
        data[k] = { in[k], 0.0f };
    return data;
}

inline void split(const complex_array& data, float* out_i, float* out_q)
{
    for (std::size_t k = 0; k < data.size(); ++k)
    {
        out_i[k] = data[k].real();
        out_q[k] = data[k].imag();
    }
}

inline void split_real(const complex_array& data, float* out)
{
    std::transform(data.begin(), data.end(), out, [](std::complex<float> value) { return value.real(); });
}
} // namespace vrim::dma_demod_lib::split_array
