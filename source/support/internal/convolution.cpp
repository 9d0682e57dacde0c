#include "support/internal/convolution.h"

#include "support/internal/fir_kernel.h"
#include "support/internal/transform.h"

#include <algorithm>
#include <bit>

namespace vrim::common_lib
{
namespace
{
// Measured crossing of the vector loop and the transforms on a long capture.
constexpr std::size_t longest_direct_kernel = 80;
constexpr std::size_t shortest_transform = 1024;
// Samples that the direct sums take at once, whole vector blocks that stay in the nearest cache.
constexpr std::size_t direct_block = 1024;
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

/// Parts of a kernel, last tap first; `imaginary` is empty for a real kernel.
struct reversed_taps_t
{
    explicit reversed_taps_t(const complex_array& kernel) : real(kernel.size())
    {
        std::transform(kernel.rbegin(), kernel.rend(), real.begin(), [](std::complex<float> tap) { return tap.real(); });
        if (std::none_of(kernel.begin(), kernel.end(), [](std::complex<float> tap) { return tap.imag() != 0.0f; }))
            return;
        imaginary.resize(kernel.size());
        std::transform(kernel.rbegin(), kernel.rend(), imaginary.begin(), [](std::complex<float> tap) { return tap.imag(); });
    }

    float_array real;
    float_array imaginary;
};

/// @param quadrature  room for `count` values, used for a complex kernel only
void correlate(const reversed_taps_t& taps, const std::complex<float>* samples, std::size_t count, std::complex<float>* out,
               std::complex<float>* quadrature)
{
    correlate_real_taps(samples, taps.real.data(), taps.real.size(), out, count);
    if (taps.imaginary.empty())
        return;
    correlate_real_taps(samples, taps.imaginary.data(), taps.imaginary.size(), quadrature, count);
    for (std::size_t i = 0; i < count; ++i)
        out[i] += std::complex<float>(-quadrature[i].imag(), quadrature[i].real());
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
    const reversed_taps_t reversed(kernel);
    // `out` may be `data`: room for more samples behind them changes nothing, they are zeros like those outside.
    if (&out != &data || out.size() < count)
        out.resize(count);
    const std::size_t history = taps - 1;
    const std::size_t block = std::min(std::max(direct_block, std::bit_ceil(taps)), count);
    complex_array samples(history + block);
    complex_array quadrature(reversed.imaginary.empty() ? 0 : block);
    copy_with_zeros(data, static_cast<std::ptrdiff_t>(first) - static_cast<std::ptrdiff_t>(history), history, samples.data());
    for (std::size_t begin = 0; begin < count; begin += block)
    {
        const std::size_t length = std::min(block, count - begin);
        copy_with_zeros(data, static_cast<std::ptrdiff_t>(first + begin), length, samples.data() + history);
        correlate(reversed, samples.data(), length, out.data() + begin, quadrature.data());
        // What the next block needs of the samples that may be overwritten by now.
        std::copy_n(samples.data() + length, history, samples.data());
    }
    out.resize(count);
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
        filter_rows(rows.data(), row_count, length, spectrum.data());
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
