#include "support/lib_fourier_transform.h"

#include "support/internal/transform.h"

#include <algorithm>

namespace vrim::common_lib
{
namespace
{
void transform_array(complex_array& array, std::uint32_t fft_length, bool inverse)
{
    if (fft_length != 0)
        array.resize(fft_length);
    if (array.empty())
        return;
    // Single precision would lose digits with the length; channel power sums a million bins.
    complex_double_array wide(array.begin(), array.end());
    transform_rows(wide.data(), 1, wide.size(), inverse, inverse ? 1.0 / static_cast<double>(wide.size()) : 1.0);
    std::transform(wide.begin(), wide.end(), array.begin(),
                   [](const std::complex<double>& value)
                   { return std::complex<float>(static_cast<float>(value.real()), static_cast<float>(value.imag())); });
}
} // namespace

void lib_fourier_transform_t::deal_fft(complex_array& array, std::uint32_t fft_length)
{
    transform_array(array, fft_length, false);
}

void lib_fourier_transform_t::deal_ifft(complex_array& array, std::uint32_t fft_length)
{
    transform_array(array, fft_length, true);
}

void lib_fourier_transform_t::fft_shift(complex_array& array)
{
    // The first ceil(N / 2) bins are zero frequency and above.
    std::rotate(array.begin(), array.begin() + static_cast<std::ptrdiff_t>((array.size() + 1) / 2), array.end());
}
} // namespace vrim::common_lib
