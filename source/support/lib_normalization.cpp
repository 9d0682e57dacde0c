#include "support/lib_normalization.h"

#include "support/lib_common_math.h"

namespace vrim::common_lib
{
namespace
{
void divide(complex_array& array, float divisor)
{
    // Silence has no level to be scaled to; 0 / 0 would make it not-a-number.
    if (!(divisor > 0.0f))
        return;
    for (std::complex<float>& value : array)
        value = { value.real() / divisor, value.imag() / divisor };
}
} // namespace

void lib_normalization_t::rms_normalize(complex_array& array)
{
    divide(array, lib_common_math_t::get_complex_array_rms(array));
}

void lib_normalization_t::amplitude_max_normalize(complex_array& array)
{
    divide(array, lib_common_math_t::get_data_max_amplitude(array));
}
} // namespace vrim::common_lib
