#pragma once

#include <complex>
#include <cstdint>
#include <map>
#include <vector>

namespace vrim
{
/// Complex baseband samples or symbols, single precision.
using complex_array = std::vector<std::complex<float>>;
/// Complex values in double precision; used inside frequency estimation.
using complex_double_array = std::vector<std::complex<double>>;
using float_array = std::vector<float>;
using double_array = std::vector<double>;
/// Unsigned 8-bit values.
using byte_array = std::vector<std::uint8_t>;
/// One bit per byte, values 0 and 1.
using bit_array = std::vector<std::uint8_t>;
/// Symbol index to complex point. Decisions walk it in key order and a tie goes to the first key.
using constellation_map = std::map<std::uint32_t, std::complex<float>>;

namespace common_lib
{
using vrim::bit_array;
using vrim::byte_array;
using vrim::complex_array;
using vrim::complex_double_array;
using vrim::constellation_map;
using vrim::double_array;
using vrim::float_array;
} // namespace common_lib

namespace dma_demod_lib
{
using vrim::bit_array;
using vrim::byte_array;
using vrim::complex_array;
using vrim::complex_double_array;
using vrim::constellation_map;
using vrim::double_array;
using vrim::float_array;
} // namespace dma_demod_lib

namespace fir_filter_lib
{
using vrim::bit_array;
using vrim::byte_array;
using vrim::complex_array;
using vrim::complex_double_array;
using vrim::constellation_map;
using vrim::double_array;
using vrim::float_array;
} // namespace fir_filter_lib
} // namespace vrim
