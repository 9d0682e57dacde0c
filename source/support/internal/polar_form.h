#pragma once

#include <complex>
#include <cstddef>

/// Amplitudes and phases of stretches of arrays, in vector code: what `amplitude_of` and `phase_of` give one by one.
namespace vrim::common_lib
{
void fill_amplitudes(const std::complex<float>* in, std::size_t count, float* out);
/// Radians, -pi to pi.
void fill_phases(const std::complex<float>* in, std::size_t count, float* out);
} // namespace vrim::common_lib
