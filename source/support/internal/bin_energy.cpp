#include "support/internal/bin_energy.h"

#include "dma_types.h"
#include "support/internal/transform.h"
#include "support/internal/trigonometry.h"
#include "support/internal/vector_clones.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <memory>
#include <numbers>
#include <utility>

namespace vrim::common_lib
{
namespace
{
/// Uninitialised, unlike a vector: the long arrays are written in full anyway.
class bins_t
{
public:
    explicit bins_t(std::size_t size) : parts_(std::make_unique_for_overwrite<double[]>(2 * size)), size_(size) {}

    // A pair of doubles is a complex number.
    std::complex<double>* data() { return reinterpret_cast<std::complex<double>*>(parts_.get()); }
    const std::complex<double>* data() const { return reinterpret_cast<const std::complex<double>*>(parts_.get()); }
    std::size_t size() const { return size_; }
    std::complex<double>& operator[](std::size_t i) { return data()[i]; }
    const std::complex<double>& operator[](std::size_t i) const { return data()[i]; }

private:
    std::unique_ptr<double[]> parts_;
    std::size_t size_;
};

// A transform of this length and its work fit into the nearer caches.
constexpr std::size_t longest_single_row = 16384;
// Below, columns and rows bring nothing.
constexpr std::size_t longest_short_capture = 4096;
// Values of the columns that are worked on together: few enough to stay in the cache. A long run of neighbouring columns
// hides that the steps down a column are long ones.
constexpr std::size_t column_block = 8192;
constexpr std::size_t fewest_columns = 8;
constexpr std::size_t rows_at_once = 4;

/// e^(-j 2 pi place / period), place below period.
std::complex<double> turn_back(std::size_t place, std::size_t period)
{
    const sine_cosine_t turn =
        sine_cosine_reduced(2.0 * std::numbers::pi * (static_cast<double>(place) / static_cast<double>(period)));
    return { turn.cosine, -turn.sine };
}

inline std::complex<double> product(std::complex<double> a, std::complex<double> b)
{
    return { a.real() * b.real() - a.imag() * b.imag(), a.real() * b.imag() + a.imag() * b.real() };
}

DMA_COMPLEX_CLONES
void multiply(std::complex<double>* values, const std::complex<double>* factors, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        values[i] = product(values[i], factors[i]);
}

/// values *= a * b, or its conjugate.
DMA_COMPLEX_CLONES
void multiply(std::complex<double>* values, const std::complex<double>* a, const std::complex<double>* b, double side,
              std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
    {
        const std::complex<double> turn = product(a[i], b[i]);
        values[i] = product(values[i], { turn.real(), side * turn.imag() });
    }
}

double cal_energy(const std::complex<double>* values, std::size_t count)
{
    double real = 0.0;
    double imaginary = 0.0;
    for (std::size_t i = 0; i < count; ++i)
    {
        real += values[i].real() * values[i].real();
        imaginary += values[i].imag() * values[i].imag();
    }
    return real + imaginary;
}

std::ptrdiff_t floor_quotient(std::ptrdiff_t value, std::size_t divisor)
{
    const std::ptrdiff_t by = static_cast<std::ptrdiff_t>(divisor);
    return value >= 0 ? value / by : -((-value + by - 1) / by);
}

std::size_t wrap(std::ptrdiff_t value, std::size_t period)
{
    return static_cast<std::size_t>(value - floor_quotient(value, period) * static_cast<std::ptrdiff_t>(period));
}

/// A transform as columns of `column` values and then rows of `row` values: value row * i + c is number i of column c, and
/// bin k + column * q comes out as number q of row k.
struct layout_t
{
    std::size_t column;
    std::size_t row;
};

/// Columns as long as the largest product of small primes up to the root of `size`, so that large primes stay in the rows.
layout_t choose_layout(std::size_t size, std::size_t longest_row)
{
    std::size_t column = 1;
    if (size > longest_row)
    {
        while (column + 1 <= size / (column + 1))
            ++column;
        while (size % column != 0 || cal_largest_prime(column) > 11)
            --column;
    }
    return { column, size / column };
}

/// The columns of a transform, some at a time, with the turns between columns and rows.
class columns_t
{
public:
    explicit columns_t(const layout_t& layout)
        : layout_(layout), width_(_cal_width(layout.column)), block_(width_ * layout.column), block_turn_(layout.column),
          column_turn_(width_ * layout.column)
    {
        for (std::size_t c = 0; c < width_; ++c)
        {
            for (std::size_t k = 0; k < layout.column; ++k)
                column_turn_[c * layout.column + k] = turn_back(c * k, layout.column * layout.row);
        }
    }

    /// @param read  read(place) -> value there
    /// @param out   rows, of which only the transform along them is still to do; may be what `read` reads
    template <typename read_t>
    void transform(read_t&& read, std::complex<double>* out)
    {
        for (std::size_t begin = 0; begin < layout_.row; begin += width_)
        {
            const std::size_t width = std::min(width_, layout_.row - begin);
            _gather(read, begin, width);
            transform_rows(block_.data(), width, layout_.column, false, 1.0);
            _turn(begin, width, 1.0);
            _scatter(out, begin, width);
        }
    }

    /// The inverse, without the factor.
    void transform_back(std::complex<double>* values)
    {
        for (std::size_t begin = 0; begin < layout_.row; begin += width_)
        {
            const std::size_t width = std::min(width_, layout_.row - begin);
            _gather([&](std::size_t i) { return values[i]; }, begin, width);
            _turn(begin, width, -1.0);
            transform_rows(block_.data(), width, layout_.column, true, 1.0);
            _scatter(values, begin, width);
        }
    }

private:
    static std::size_t _cal_width(std::size_t column)
    {
        return column > 1 ? std::max(column_block / column / fewest_columns, std::size_t(1)) * fewest_columns : 0;
    }

    template <typename read_t>
    void _gather(read_t&& read, std::size_t begin, std::size_t width)
    {
        for (std::size_t i = 0; i < layout_.column; ++i)
        {
            for (std::size_t c = 0; c < width; ++c)
                block_[c * layout_.column + i] = read(i * layout_.row + begin + c);
        }
    }

    void _scatter(std::complex<double>* out, std::size_t begin, std::size_t width) const
    {
        for (std::size_t k = 0; k < layout_.column; ++k)
        {
            for (std::size_t c = 0; c < width; ++c)
                out[k * layout_.row + begin + c] = block_[c * layout_.column + k];
        }
    }

    /// e^(-j 2 pi c k / size) for column c and row k, as the product of one for the block and one within it.
    void _turn(std::size_t begin, std::size_t width, double side)
    {
        for (std::size_t k = 0; k < layout_.column; ++k)
            block_turn_[k] = turn_back(begin * k, layout_.column * layout_.row);
        for (std::size_t c = 0; c < width; ++c)
            multiply(block_.data() + c * layout_.column, block_turn_.data(), column_turn_.data() + c * layout_.column, side,
                     layout_.column);
    }

    layout_t layout_;
    std::size_t width_; // columns at once
    bins_t block_;
    bins_t block_turn_;
    bins_t column_turn_;
};

/// Circular convolutions with one kernel. The order in which bins stand between the transforms is of no matter to it.
class convolver_t
{
public:
    /// @param kernel  what comes back from the transform of `length` values, which are filled in by the caller first
    explicit convolver_t(bins_t&& kernel)
        : layout_(choose_layout(kernel.size(), longest_single_row)), columns_(layout_), kernel_(std::move(kernel))
    {
        _transform(kernel_.data(), 1);
        const double scale = 1.0 / static_cast<double>(kernel_.size());
        for (std::size_t i = 0; i < kernel_.size(); ++i)
            kernel_[i] *= scale;
    }

    std::size_t length() const { return kernel_.size(); }

    /// @param rows  `count` adjacent ones; several only where the length is that of a single row
    void convolve(std::complex<double>* rows, std::size_t count)
    {
        _transform(rows, count);
        for (std::size_t r = 0; r < count; ++r)
            multiply(rows + r * length(), kernel_.data(), length());
        transform_rows(rows, count * layout_.column, layout_.row, true, 1.0);
        if (layout_.column > 1)
            columns_.transform_back(rows);
    }

private:
    void _transform(std::complex<double>* rows, std::size_t count)
    {
        if (layout_.column > 1)
            columns_.transform([&](std::size_t i) { return rows[i]; }, rows);
        transform_rows(rows, count * layout_.column, layout_.row, false, 1.0);
    }

    layout_t layout_;
    columns_t columns_;
    bins_t kernel_;
};

/// The bins that are asked for, seen from the rows: bin k + column * q lies in [first, end) for q in a range of row k.
struct bin_range_t
{
    std::ptrdiff_t first;
    std::ptrdiff_t end;
    std::size_t column;

    /// Least q with k + column * q >= bin.
    std::ptrdiff_t place(std::ptrdiff_t bin, std::size_t k) const
    {
        return floor_quotient(bin - static_cast<std::ptrdiff_t>(k) + static_cast<std::ptrdiff_t>(column) - 1, column);
    }
    std::ptrdiff_t begin_of(std::size_t k) const { return place(first, k); }
    std::ptrdiff_t end_of(std::size_t k) const { return place(end, k); }
};

double cal_plain_rows(std::complex<double>* data, const layout_t& layout, const bin_range_t& range)
{
    double energy = 0.0;
    for (std::size_t k = 0; k < layout.column; k += rows_at_once)
    {
        const std::size_t rows = std::min(rows_at_once, layout.column - k);
        transform_rows(data + k * layout.row, rows, layout.row, false, 1.0);
        for (std::size_t r = k; r < k + rows; ++r)
        {
            const std::complex<double>* bins = data + r * layout.row;
            const std::size_t count = static_cast<std::size_t>(range.end_of(r) - range.begin_of(r));
            const std::size_t begin = wrap(range.begin_of(r), layout.row);
            const std::size_t straight = std::min(count, layout.row - begin);
            energy += cal_energy(bins + begin, straight) + cal_energy(bins, count - straight);
        }
    }
    return energy;
}

/// e^(-j pi n^2 / length) for n from 0 to length - 1, the square taken modulo 2 * length in integers.
bins_t make_chirp(std::size_t length)
{
    bins_t chirp(length);
    std::size_t square = 0;
    for (std::size_t n = 0; n < length; ++n)
    {
        chirp[n] = turn_back(square, 2 * length);
        square += 2 * n + 1;
        if (square >= 2 * length)
            square -= 2 * length;
    }
    return chirp;
}

/// The least length from `needed` on that goes by passes of 4 but for a few of 2, 3 and 5, which are the cheap ones.
std::size_t cal_padded_length(std::size_t needed)
{
    std::size_t best = std::bit_ceil(needed);
    for (const std::size_t odd : { 3u, 5u, 9u, 15u, 25u, 27u, 45u, 75u })
        best = std::min(best, odd * std::bit_ceil((needed + odd - 1) / odd));
    return best;
}

/// The conjugate chirp over the distances between a value and a bin, those below 0 at the end.
/// @param places  bins, from number `lowest` of a row on
bins_t make_chirp_kernel(const bins_t& chirp, std::ptrdiff_t lowest, std::size_t places)
{
    const std::size_t length = chirp.size();
    bins_t kernel(cal_padded_length(length + places - 1));
    std::fill_n(kernel.data(), kernel.size(), 0.0);
    for (std::ptrdiff_t d = 1 - static_cast<std::ptrdiff_t>(length); d < static_cast<std::ptrdiff_t>(places); ++d)
    {
        // The period is 2 * length; half of that on, the chirp repeats with the sign of (-1)^length.
        const std::size_t n = wrap(lowest + d, 2 * length);
        const std::complex<double> value = std::conj(chirp[n % length]);
        kernel[wrap(d, kernel.size())] = n >= length && length % 2 != 0 ? -value : value;
    }
    return kernel;
}

/// The same for rows with a large prime factor: as a convolution with a chirp, over the bins asked for only. The outer
/// factor of that, of magnitude 1, is left out.
/// @param read  read(place) -> value there
template <typename read_t>
double cal_chirp_rows(read_t&& read, const layout_t& layout, const bin_range_t& range)
{
    const std::ptrdiff_t lowest = range.begin_of(layout.column - 1);
    const bins_t chirp = make_chirp(layout.row);
    convolver_t convolver(make_chirp_kernel(chirp, lowest, static_cast<std::size_t>(range.end_of(0) - lowest)));
    const std::size_t padded = convolver.length();
    const std::size_t together = padded > longest_single_row ? 1 : std::min(rows_at_once, layout.column);
    bins_t work(together * padded);
    double energy = 0.0;
    for (std::size_t k = 0; k < layout.column; k += together)
    {
        const std::size_t rows = std::min(together, layout.column - k);
        for (std::size_t r = 0; r < rows; ++r)
        {
            std::complex<double>* values = work.data() + r * padded;
            for (std::size_t n = 0; n < layout.row; ++n)
                values[n] = product(read((k + r) * layout.row + n), chirp[n]);
            std::fill(values + layout.row, values + padded, 0.0);
        }
        convolver.convolve(work.data(), rows);
        for (std::size_t r = 0; r < rows; ++r)
        {
            const std::ptrdiff_t begin = range.begin_of(k + r);
            energy += cal_energy(work.data() + r * padded + static_cast<std::size_t>(begin - lowest),
                                 static_cast<std::size_t>(range.end_of(k + r) - begin));
        }
    }
    return energy;
}
} // namespace

double cal_bin_energy(std::span<const std::complex<float>> data, std::span<const float> half_window, std::ptrdiff_t first,
                      std::size_t count)
{
    const std::size_t size = data.size();
    if (size == 0 || count == 0)
        return 0.0;
    const auto weighted = [&](std::size_t i)
    {
        const double weight = static_cast<double>(half_window[std::min(i, size - 1 - i)]);
        return std::complex<double>(weight * static_cast<double>(data[i].real()), weight * static_cast<double>(data[i].imag()));
    };
    const layout_t layout = choose_layout(size, longest_short_capture);
    const bin_range_t range = { first, first + static_cast<std::ptrdiff_t>(count), layout.column };
    const bool plain = has_plain_passes(layout.row);
    if (layout.column == 1 && !plain)
        return cal_chirp_rows(weighted, layout, range);

    bins_t rows(size);
    if (layout.column > 1)
        columns_t(layout).transform(weighted, rows.data());
    else
    {
        for (std::size_t i = 0; i < size; ++i)
            rows[i] = weighted(i);
    }
    if (plain)
        return cal_plain_rows(rows.data(), layout, range);
    return cal_chirp_rows([&](std::size_t i) { return rows[i]; }, layout, range);
}
} // namespace vrim::common_lib
