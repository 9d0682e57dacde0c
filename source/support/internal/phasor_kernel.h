#pragma once

#include <complex>
#include <cstddef>

namespace vrim::common_lib
{
/// data[i] *= e^(-j angles[i]): sine and cosine in double, narrowed, then the plain product.
/// @param angles  radians, at most `largest_reduced_angle` in magnitude
void turn_back_reduced(const float* angles, std::size_t count, std::complex<float>* data);
} // namespace vrim::common_lib
