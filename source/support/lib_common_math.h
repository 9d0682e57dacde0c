#pragma once

#include "dma_export.h"
#include "dma_types.h"

#include <complex>
#include <cstdint>

namespace vrim::common_lib
{
/// Elementary operations on complex numbers and arrays.
class DMA_DEMOD_EXPORT lib_common_math_t
{
public:
    /// sqrt(re^2 + im^2), formed in double and narrowed, so that it neither overflows nor underflows early.
    static float get_complex_amplitude(std::complex<float> value);
    /// atan2(im, re) in radians, -pi to pi.
    static float get_complex_phase(std::complex<float> value);
    /// Amplitude of each element. @param[out] out  as long as `in`
    static void get_complex_array_amplitude(const complex_array& in, float_array& out);
    /// Phase of each element in radians, not unwrapped. @param[out] out  as long as `in`
    static void get_complex_array_phase(const complex_array& in, float_array& out);
    /// Root of the mean of re^2 + im^2, summed in double; 0 for an empty array.
    static float get_complex_array_rms(const complex_array& in);
    /// The largest amplitude; 0 for an empty array. A value that is not a number counts as none.
    static float get_data_max_amplitude(const complex_array& in);
    /// Mean of an array of numbers, summed in double in array order, so that long arrays of small steps keep their digits;
    /// not-a-number for an empty array.
    template <typename array_t>
    static float get_average_value(const array_t& array);
    /// 20 log10 of the larger of `value` and `floor`.
    static double amplitude_ratio_to_db_value(double value, double floor);
    static bool is_power_of_2(std::uint64_t n);
};

template <typename array_t>
float lib_common_math_t::get_average_value(const array_t& array)
{
    double sum = 0.0;
    for (const auto& value : array)
        sum += static_cast<double>(value);
    return static_cast<float>(sum / static_cast<double>(array.size()));
}
} // namespace vrim::common_lib
