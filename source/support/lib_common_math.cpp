#include "support/lib_common_math.h"

#include "support/internal/complex_ops.h"
#include "support/internal/polar_form.h"
#include "support/internal/vector_clones.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>

namespace vrim::common_lib
{
namespace
{
/// Sum of re^2 + im^2 in eight partial sums, so that long arrays do not wait for one chain of additions.
DMA_VECTOR_CLONES
double sum_of_squares(const float* parts, std::size_t count)
{
    constexpr std::size_t lanes = 8;
    double partial[lanes] = {};
    const std::size_t whole = count / lanes * lanes;
    for (std::size_t i = 0; i < whole; i += lanes)
    {
        for (std::size_t k = 0; k < lanes; ++k)
        {
            const double value = static_cast<double>(parts[i + k]);
            partial[k] += value * value;
        }
    }
    double sum = 0.0;
    for (std::size_t i = whole; i < count; ++i)
        sum += static_cast<double>(parts[i]) * static_cast<double>(parts[i]);
    for (const double value : partial)
        sum += value;
    return sum;
}

/// Largest re^2 + im^2; what is not a number is passed over.
DMA_VECTOR_CLONES
double find_largest_power(const std::complex<float>* data, std::size_t count)
{
    constexpr std::size_t lanes = 8;
    double largest[lanes] = {};
    const auto look = [&](std::size_t i, double& found)
    {
        const double re = static_cast<double>(data[i].real());
        const double im = static_cast<double>(data[i].imag());
        const double power = re * re + im * im;
        found = power > found ? power : found;
    };
    const std::size_t whole = count / lanes * lanes;
    for (std::size_t i = 0; i < whole; i += lanes)
    {
        for (std::size_t k = 0; k < lanes; ++k)
            look(i + k, largest[k]);
    }
    for (std::size_t i = whole; i < count; ++i)
        look(i, largest[0]);
    return *std::max_element(largest, largest + lanes);
}
} // namespace

float lib_common_math_t::get_complex_amplitude(std::complex<float> value)
{
    return amplitude_of(value);
}

float lib_common_math_t::get_complex_phase(std::complex<float> value)
{
    return phase_of(value);
}

void lib_common_math_t::get_complex_array_amplitude(const complex_array& in, float_array& out)
{
    out.resize(in.size());
    fill_amplitudes(in.data(), in.size(), out.data());
}

void lib_common_math_t::get_complex_array_phase(const complex_array& in, float_array& out)
{
    out.resize(in.size());
    fill_phases(in.data(), in.size(), out.data());
}

float lib_common_math_t::get_complex_array_rms(const complex_array& in)
{
    if (in.empty())
        return 0.0f;
    const double sum = sum_of_squares(reinterpret_cast<const float*>(in.data()), 2 * in.size());
    return static_cast<float>(std::sqrt(sum / static_cast<double>(in.size())));
}

float lib_common_math_t::get_data_max_amplitude(const complex_array& in)
{
    return static_cast<float>(std::sqrt(find_largest_power(in.data(), in.size())));
}

double lib_common_math_t::amplitude_ratio_to_db_value(double value, double floor)
{
    return 20.0 * std::log10(value > floor ? value : floor);
}

bool lib_common_math_t::is_power_of_2(std::uint64_t n)
{
    return std::has_single_bit(n);
}
} // namespace vrim::common_lib
