#pragma once

#include <complex>
#include <cstddef>

/// The inner loop of every filter with real taps.
namespace vrim::common_lib
{
/// out[n] = sum over k of taps[k] * in[n + k], k rising from 0, each sum in single precision and in that order. Real and
/// imaginary parts have sums of their own.
/// @param in     count + tap_count - 1 samples
/// @param out    count samples; may be `in` itself, but overlap it in no other way
void correlate_real_taps(const std::complex<float>* in, const float* taps, std::size_t tap_count, std::complex<float>* out,
                         std::size_t count);
} // namespace vrim::common_lib
