#pragma once

#include <complex>
#include <cstddef>

/// The one place that calls the transform library. One thread each; plans of recent lengths are kept between calls.
namespace vrim::common_lib
{
/// Transforms `count` adjacent rows of `length` values each, in place.
/// @param scale  factor on the result
void transform_rows(std::complex<float>* data, std::size_t count, std::size_t length, bool inverse, float scale);
void transform_rows(std::complex<double>* data, std::size_t count, std::size_t length, bool inverse, double scale);
/// Filters adjacent rows of `length` samples by a spectrum of as many bins: transform, plain products, inverse transform.
void filter_rows(std::complex<float>* data, std::size_t count, std::size_t length, const std::complex<float>* spectrum);
/// Largest prime factor of a length, which decides what its transform costs.
std::size_t cal_largest_prime(std::size_t length);
/// Whether a length goes by short passes, its prime factors being small.
bool has_plain_passes(std::size_t length);
} // namespace vrim::common_lib
