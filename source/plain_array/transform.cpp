#include "plain_array/transform.h"

#include "plain_array/internal/split_array.h"
#include "support/lib_fourier_transform.h"

namespace vrim::dma_demod_lib
{
using common_lib::lib_fourier_transform_t;

bool fft(const float* in_i, const float* in_q, std::uint32_t length, float* out_i, float* out_q)
{
    if (!split_array::has_arrays("error: fft(): null pointer\n", length, in_i, in_q, out_i, out_q))
        return false;
    complex_array data = split_array::join(in_i, in_q, length);
    lib_fourier_transform_t::deal_fft(data, 0);
    split_array::split(data, out_i, out_q);
    return true;
}

bool ifft(const float* in_i, const float* in_q, std::uint32_t length, float* out_i, float* out_q)
{
    if (!split_array::has_arrays("error: ifft(): null pointer\n", length, in_i, in_q, out_i, out_q))
        return false;
    complex_array data = split_array::join(in_i, in_q, length);
    lib_fourier_transform_t::deal_ifft(data, 0);
    split_array::split(data, out_i, out_q);
    return true;
}

bool fft_shift(const float* in, std::uint32_t length, float* out)
{
    if (!split_array::has_arrays("error: fft_shift(): null pointer\n", length, in, out))
        return false;
    complex_array data = split_array::join(in, length);
    lib_fourier_transform_t::fft_shift(data);
    split_array::split_real(data, out);
    return true;
}

bool fft_shift(const float* in_i, const float* in_q, std::uint32_t length, float* out_i, float* out_q)
{
    if (!split_array::has_arrays("error: fft_shift(): null pointer\n", length, in_i, in_q, out_i, out_q))
        return false;
    complex_array data = split_array::join(in_i, in_q, length);
    lib_fourier_transform_t::fft_shift(data);
    split_array::split(data, out_i, out_q);
    return true;
}
} // namespace vrim::dma_demod_lib
