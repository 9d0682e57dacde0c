#include "support/internal/convolution.h"

#include "support/internal/complex_ops.h"
#include "support/internal/fir_kernel.h"
#include "support/internal/transform.h"

#include <algorithm>
#include <bit>

namespace vrim::common_lib
{
namespace
{
// Measured crossing of the vector loop and the transforms, samples at the working rate.
constexpr std::size_t longest_direct_kernel = 64;
constexpr std::size_t shortest_transform = 1024;
// Rows that are transformed together: enough for the vector code of the transform, few enough to stay in the cache.
constexpr std::size_t rows_at_once = 8;

/// out[i] = data[begin + i], zero outside; `begin` may lie before the data.
void copy_with_zeros(const complex_array& data, std::ptrdiff_t begin, std::size_t count, std::complex<float>* out)
{
    const std::ptrdiff_t size = static_cast<std::ptrdiff_t>(data.size());
    const std::ptrdiff_t end = begin + static_cast<std::ptrdiff_t>(count);
    const std::ptrdiff_t from = std::clamp<std::ptrdiff_t>(0, begin, end);
    const std::ptrdiff_t to = std::clamp<std::ptrdiff_t>(size, from, end);
    std::fill(out, out + (from - begin), std::complex<float>(0.0f, 0.0f));
    if (to > from)
        std::copy(data.begin() + from, data.begin() + to, out + (from - begin));
    std::fill(out + (to - begin), out + count, std::complex<float>(0.0f, 0.0f));
}

bool has_imaginary_part(const complex_array& kernel)
{
    return std::any_of(kernel.begin(), kernel.end(), [](std::complex<float> tap) { return tap.imag() != 0.0f; });
}
} // namespace

void convolve_directly(const complex_array& kernel, const complex_array& data, std::size_t first, std::size_t count,
                       complex_array& out)
{
    const std::size_t taps = kernel.size();
    if (taps == 0 || count == 0)
    {
        out.assign(count, { 0.0f, 0.0f });
        return;
    }
    complex_array padded(count + taps - 1);
    copy_with_zeros(data, static_cast<std::ptrdiff_t>(first) - static_cast<std::ptrdiff_t>(taps - 1), padded.size(),
                    padded.data());
    float_array reversed(taps);
    std::transform(kernel.rbegin(), kernel.rend(), reversed.begin(), [](std::complex<float> tap) { return tap.real(); });
    out.resize(count);
    correlate_real_taps(padded.data(), reversed.data(), taps, out.data(), count);
    if (!has_imaginary_part(kernel))
        return;
    std::transform(kernel.rbegin(), kernel.rend(), reversed.begin(), [](std::complex<float> tap) { return tap.imag(); });
    complex_array quadrature(count);
    correlate_real_taps(padded.data(), reversed.data(), taps, quadrature.data(), count);
    for (std::size_t i = 0; i < count; ++i)
        out[i] += std::complex<float>(-quadrature[i].imag(), quadrature[i].real());
}

void convolve_by_transforms(const complex_array& kernel, const complex_array& data, std::size_t first, std::size_t count,
                            complex_array& out)
{
    const std::size_t taps = kernel.size();
    if (taps == 0 || count == 0)
    {
        out.assign(count, { 0.0f, 0.0f });
        return;
    }
    const std::size_t length = std::min(std::bit_ceil(std::max(4 * taps, shortest_transform)), std::bit_ceil(count + taps - 1));
    const std::size_t step = length - (taps - 1);

    // The kernel's spectrum is made in double, so that only the data's transforms round in single precision.
    complex_double_array wide(kernel.begin(), kernel.end());
    wide.resize(length);
    transform_rows(wide.data(), 1, length, false, 1.0);
    complex_array spectrum(length);
    std::transform(wide.begin(), wide.end(), spectrum.begin(),
                   [](std::complex<double> bin)
                   { return std::complex<float>(static_cast<float>(bin.real()), static_cast<float>(bin.imag())); });

    // `out` may be `data`: what a later block still needs of the overwritten samples is kept aside.
    const bool in_place = &out == &data;
    complex_array overwritten;
    if (!in_place || out.size() < count)
        out.resize(count);
    const std::size_t blocks = (count + step - 1) / step;
    complex_array rows(std::min(blocks, rows_at_once) * length);
    for (std::size_t block = 0; block < blocks; block += rows_at_once)
    {
        const std::size_t row_count = std::min(rows_at_once, blocks - block);
        for (std::size_t row = 0; row < row_count; ++row)
        {
            const std::size_t position = first + (block + row) * step;
            copy_with_zeros(data, static_cast<std::ptrdiff_t>(position) - static_cast<std::ptrdiff_t>(taps - 1), length,
                            rows.data() + row * length);
            if (row == 0 && in_place)
                std::copy(overwritten.begin(), overwritten.end(), rows.begin());
        }
        if (in_place)
        {
            overwritten.resize(taps - 1);
            const std::size_t next = first + (block + row_count) * step;
            copy_with_zeros(data, static_cast<std::ptrdiff_t>(next) - static_cast<std::ptrdiff_t>(taps - 1), taps - 1,
                            overwritten.data());
        }
        transform_rows(rows.data(), row_count, length, false, 1.0f);
        for (std::size_t row = 0; row < row_count; ++row)
        {
            std::complex<float>* bins = rows.data() + row * length;
            for (std::size_t i = 0; i < length; ++i)
                bins[i] = complex_product(bins[i], spectrum[i]);
        }
        transform_rows(rows.data(), row_count, length, true, 1.0f / static_cast<float>(length));
        for (std::size_t row = 0; row < row_count; ++row)
        {
            const std::size_t begin = (block + row) * step;
            const std::size_t valid = std::min(step, count - begin);
            const std::complex<float>* samples = rows.data() + row * length + (taps - 1);
            std::copy(samples, samples + valid, out.begin() + static_cast<std::ptrdiff_t>(begin));
        }
    }
    out.resize(count);
}

void convolve(const complex_array& kernel, const complex_array& data, std::size_t first, std::size_t count, complex_array& out)
{
    if (kernel.size() <= longest_direct_kernel)
        convolve_directly(kernel, data, first, count, out);
    else
        convolve_by_transforms(kernel, data, first, count, out);
}
} // namespace vrim::common_lib
