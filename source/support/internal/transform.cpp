#include "support/internal/transform.h"

#include "support/internal/complex_ops.h"
#include "support/internal/vector_clones.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <numbers>
#include <utility>

// Rows that stand side by side in the lanes of AVX2 vectors. The library itself stays at the vectors that every processor
// of the family has; each row goes through the same operations in either.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) && defined(__OPTIMIZE__) &&                                  \
    !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define DMA_WIDE_ROWS
// All functions that pass wide vectors by value are inlined into the one that has the instructions for them.
#pragma GCC diagnostic ignored "-Wpsabi"
#endif

// Plans are small beside the data and costly to make; a host analyses capture after capture of the same shape.
#define POCKETFFT_CACHE_SIZE 16
#define POCKETFFT_NO_MULTITHREADING
// aligned_alloc wants sizes that are multiples of the alignment, which the header does not ask for; this makes it align by
// itself.
#define _LIBCPP_HAS_NO_ALIGNED_ALLOCATION
#include <pocketfft_hdronly.h>

namespace vrim::common_lib
{
namespace
{
#ifdef DMA_WIDE_ROWS
// Longer rows leave the nearer caches when several are under work at once.
constexpr std::size_t longest_wide_row = 65536;

/// Vectors of 32 bytes, and the two halves of what comes of riffling a pair of them.
template <typename value_t>
struct lanes_of;

template <>
struct lanes_of<float>
{
    using type = float __attribute__((vector_size(32)));
    using stored = float __attribute__((vector_size(32), aligned(4), may_alias));
    using order_t = std::int32_t __attribute__((vector_size(32)));
    static constexpr order_t lower = { 0, 8, 1, 9, 2, 10, 3, 11 };
    static constexpr order_t upper = { 4, 12, 5, 13, 6, 14, 7, 15 };
};

template <>
struct lanes_of<double>
{
    using type = double __attribute__((vector_size(32)));
    using stored = double __attribute__((vector_size(32), aligned(8), may_alias));
    using order_t = std::int64_t __attribute__((vector_size(32)));
    static constexpr order_t lower = { 0, 4, 1, 5 };
    static constexpr order_t upper = { 2, 6, 3, 7 };
};

/// The passes of the library over as many rows at once as a vector has lanes.
template <typename value_t>
class row_plan_t
{
public:
    using lanes_t = typename lanes_of<value_t>::type;
    using stored_t = typename lanes_of<value_t>::stored; // anywhere in an array of complex values
    static constexpr std::size_t lanes = sizeof(lanes_t) / sizeof(value_t);

    explicit row_plan_t(std::size_t length) : length_(length), passes_(length) {}
    std::size_t length() const { return length_; }

    void transform(std::complex<value_t>* data, std::size_t groups, bool inverse, value_t scale) const
    {
        lane_values_t values(length_);
        for (std::size_t group = 0; group < groups; ++group)
        {
            std::complex<value_t>* rows = data + group * lanes * length_;
            spread(rows, values);
            passes_.exec(values.data(), scale, inverse ? pocketfft::BACKWARD : pocketfft::FORWARD);
            collect(values, rows);
        }
    }

    /// Both transforms and the products in between on the lanes, which saves a way out of them and in again.
    void filter(std::complex<value_t>* data, std::size_t groups, const std::complex<value_t>* spectrum, value_t scale) const
    {
        lane_values_t values(length_);
        for (std::size_t group = 0; group < groups; ++group)
        {
            std::complex<value_t>* rows = data + group * lanes * length_;
            spread(rows, values);
            passes_.exec(values.data(), value_t(1), pocketfft::FORWARD);
            for (std::size_t i = 0; i < length_; ++i)
            {
                const value_t re = spectrum[i].real();
                const value_t im = spectrum[i].imag();
                values[i].Set(values[i].r * re - values[i].i * im, values[i].r * im + values[i].i * re);
            }
            passes_.exec(values.data(), scale, pocketfft::BACKWARD);
            collect(values, rows);
        }
    }

private:
    using lane_values_t = pocketfft::detail::arr<pocketfft::detail::cmplx<lanes_t>>;
    // Square tiles of numbers: one row of complex values in each vector, or one part of a value of all rows.
    static constexpr std::size_t tile = lanes / 2;

    /// Each riffle of all numbers turns the bits of their places by one; with as many as a row's place has, rows are columns.
    static void transpose(lanes_t (&numbers)[lanes])
    {
#pragma GCC unroll 3
        for (std::size_t turn = 1; turn < lanes; turn *= 2)
        {
            lanes_t riffled[lanes];
#pragma GCC unroll 4
            for (std::size_t i = 0; i < lanes / 2; ++i)
            {
                riffled[2 * i] = __builtin_shuffle(numbers[i], numbers[i + lanes / 2], lanes_of<value_t>::lower);
                riffled[2 * i + 1] = __builtin_shuffle(numbers[i], numbers[i + lanes / 2], lanes_of<value_t>::upper);
            }
#pragma GCC unroll 8
            for (std::size_t i = 0; i < lanes; ++i)
                numbers[i] = riffled[i];
        }
    }

    void spread(const std::complex<value_t>* rows, lane_values_t& values) const
    {
        std::size_t i = 0;
        for (; i + tile <= length_; i += tile)
        {
            lanes_t numbers[lanes];
#pragma GCC unroll 8
            for (std::size_t lane = 0; lane < lanes; ++lane)
                numbers[lane] = *reinterpret_cast<const stored_t*>(rows + lane * length_ + i);
            transpose(numbers);
#pragma GCC unroll 4
            for (std::size_t k = 0; k < tile; ++k)
                values[i + k].Set(numbers[2 * k], numbers[2 * k + 1]);
        }
        for (; i < length_; ++i)
        {
            for (std::size_t lane = 0; lane < lanes; ++lane)
            {
                values[i].r[lane] = rows[lane * length_ + i].real();
                values[i].i[lane] = rows[lane * length_ + i].imag();
            }
        }
    }

    void collect(const lane_values_t& values, std::complex<value_t>* rows) const
    {
        std::size_t i = 0;
        for (; i + tile <= length_; i += tile)
        {
            lanes_t numbers[lanes];
#pragma GCC unroll 4
            for (std::size_t k = 0; k < tile; ++k)
            {
                numbers[2 * k] = values[i + k].r;
                numbers[2 * k + 1] = values[i + k].i;
            }
            transpose(numbers);
#pragma GCC unroll 8
            for (std::size_t lane = 0; lane < lanes; ++lane)
                *reinterpret_cast<stored_t*>(rows + lane * length_ + i) = numbers[lane];
        }
        for (; i < length_; ++i)
        {
            for (std::size_t lane = 0; lane < lanes; ++lane)
                rows[lane * length_ + i] = { values[i].r[lane], values[i].i[lane] };
        }
    }

    std::size_t length_;
    pocketfft::detail::cfftp<value_t> passes_;
};

#define DMA_FLAT_AVX2 __attribute__((target("avx2"), flatten))
DMA_FLAT_AVX2
void transform_wide(const row_plan_t<float>& plan, std::complex<float>* data, std::size_t groups, bool inverse, float scale)
{
    plan.transform(data, groups, inverse, scale);
}

DMA_FLAT_AVX2
void transform_wide(const row_plan_t<double>& plan, std::complex<double>* data, std::size_t groups, bool inverse, double scale)
{
    plan.transform(data, groups, inverse, scale);
}

DMA_FLAT_AVX2
void filter_wide(const row_plan_t<float>& plan, std::complex<float>* data, std::size_t groups,
                 const std::complex<float>* spectrum, float scale)
{
    plan.filter(data, groups, spectrum, scale);
}

/// Groups of as many rows as there are lanes; 0 where rows are better dealt with one by one.
template <typename value_t>
std::size_t count_lane_groups(std::size_t count, std::size_t length)
{
    const bool fit = length <= longest_wide_row && __builtin_cpu_supports("avx2") && has_plain_passes(length);
    return fit ? count / row_plan_t<value_t>::lanes : 0;
}

/// @return rows dealt with, a multiple of the lanes
template <typename value_t>
std::size_t transform_in_lanes(std::complex<value_t>* data, std::size_t count, std::size_t length, bool inverse, value_t scale)
{
    using plan_t = row_plan_t<value_t>;
    const std::size_t groups = count_lane_groups<value_t>(count, length);
    if (groups != 0)
        transform_wide(*pocketfft::detail::get_plan<plan_t>(length), data, groups, inverse, scale);
    return groups * plan_t::lanes;
}

std::size_t filter_in_lanes(std::complex<float>* data, std::size_t count, std::size_t length, const std::complex<float>* spectrum,
                            float scale)
{
    using plan_t = row_plan_t<float>;
    const std::size_t groups = count_lane_groups<float>(count, length);
    if (groups != 0)
        filter_wide(*pocketfft::detail::get_plan<plan_t>(length), data, groups, spectrum, scale);
    return groups * plan_t::lanes;
}
#else
template <typename value_t>
std::size_t transform_in_lanes(std::complex<value_t>*, std::size_t, std::size_t, bool, value_t)
{
    return 0;
}

std::size_t filter_in_lanes(std::complex<float>*, std::size_t, std::size_t, const std::complex<float>*, float)
{
    return 0;
}
#endif

template <typename value_t>
void transform(std::complex<value_t>* data, std::size_t count, std::size_t length, bool inverse, value_t scale)
{
    if (count == 0 || length == 0)
        return;
    const std::size_t done = transform_in_lanes(data, count, length, inverse, scale);
    if (done == count)
        return;
    std::complex<value_t>* rest = data + done * length;
    constexpr std::ptrdiff_t element = static_cast<std::ptrdiff_t>(sizeof(std::complex<value_t>));
    const pocketfft::shape_t shape = { count - done, length };
    const pocketfft::stride_t stride = { element * static_cast<std::ptrdiff_t>(length), element };
    pocketfft::c2c(shape, stride, stride, { 1 }, inverse ? pocketfft::BACKWARD : pocketfft::FORWARD, rest, rest, scale, 1);
}
} // namespace

std::size_t cal_largest_prime(std::size_t length)
{
    return pocketfft::detail::util::largest_prime_factor(length);
}

bool has_plain_passes(std::size_t length)
{
    // The library has passes of its own up to 11; up to here its general one is cheaper than two transforms of twice the length.
    constexpr std::size_t largest_plain_prime = 31;
    return cal_largest_prime(length) <= largest_plain_prime;
}

void transform_rows(std::complex<float>* data, std::size_t count, std::size_t length, bool inverse, float scale)
{
    transform(data, count, length, inverse, scale);
}

void transform_rows(std::complex<double>* data, std::size_t count, std::size_t length, bool inverse, double scale)
{
    transform(data, count, length, inverse, scale);
}

void filter_rows(std::complex<float>* data, std::size_t count, std::size_t length, const std::complex<float>* spectrum)
{
    const float scale = 1.0f / static_cast<float>(length);
    const std::size_t done = filter_in_lanes(data, count, length, spectrum, scale);
    transform(data + done * length, count - done, length, false, 1.0f);
    for (std::size_t row = done; row < count; ++row)
    {
        std::complex<float>* bins = data + row * length;
        for (std::size_t i = 0; i < length; ++i)
            bins[i] = complex_product(bins[i], spectrum[i]);
    }
    transform(data + done * length, count - done, length, true, scale);
}
} // namespace vrim::common_lib
