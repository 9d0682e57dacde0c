#include "lib_dma_common/lib_dma_phy_common.h"

#include "support/internal/complex_ops.h"
#include "support/internal/vector_clones.h"
#include "support/trace_output.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <numeric>
#include <string_view>
#include <utility>

namespace vrim::dma_demod_lib
{
using common_lib::complex_product;

namespace
{
/// Elements of a product. Two thin operands of a few megabytes could ask for more than any machine has.
constexpr std::size_t largest_product = std::size_t(1) << 24;

void report(std::string_view text)
{
    common_log::trace_output_t::get_instance().write(text);
}

std::size_t get_columns(const complex_matrix& matrix)
{
    return matrix.empty() ? 0 : matrix.front().size();
}

bool has_columns(const complex_matrix& matrix, std::size_t columns)
{
    return std::all_of(matrix.begin(), matrix.end(), [&](const complex_array& row) { return row.size() == columns; });
}

bool is_square(const complex_matrix& matrix)
{
    return has_columns(matrix, matrix.size());
}

bool is_finite(const complex_matrix& matrix)
{
    return std::all_of(
        matrix.begin(), matrix.end(),
        [](const complex_array& row)
        { return std::all_of(row.begin(), row.end(), [](std::complex<float> v) { return common_lib::is_finite(v); }); });
}

/// data += factor * row
DMA_COMPLEX_CLONES
void add_scaled(const std::complex<float>* row, std::complex<float> factor, std::size_t count, std::complex<float>* data)
{
    for (std::size_t i = 0; i < count; ++i)
    {
        const float re = row[i].real() * factor.real() - row[i].imag() * factor.imag();
        const float im = row[i].real() * factor.imag() + row[i].imag() * factor.real();
        data[i] = { data[i].real() + re, data[i].imag() + im };
    }
}

/// Sum of a[i] * b[i], in order.
std::complex<float> sum_of_products(const complex_array& a, const complex_array& b)
{
    std::complex<float> sum(0.0f, 0.0f);
    for (std::size_t i = 0; i < a.size(); ++i)
        sum += complex_product(a[i], b[i]);
    return sum;
}

/// Not-a-number is no pivot either: what follows from it would be none.
bool is_pivot(std::complex<float> value)
{
    return common_lib::is_finite(value) && value != std::complex<float>(0.0f, 0.0f);
}

/// Row at or below `column` with the largest element in it.
std::size_t find_pivot_row(const complex_matrix& matrix, std::size_t column)
{
    std::size_t found = column;
    float largest = common_lib::amplitude_of(matrix[column][column]);
    for (std::size_t row = column + 1; row < matrix.size(); ++row)
    {
        const float amplitude = common_lib::amplitude_of(matrix[row][column]);
        if (amplitude > largest)
        {
            largest = amplitude;
            found = row;
        }
    }
    return found;
}

/// One step of the elimination in place: the row of the pivot is scaled, its column cleared from all other rows, and the
/// column of the inverse that belongs to it grows where it stood.
void eliminate(complex_matrix& matrix, std::size_t pivot)
{
    const std::size_t size = matrix.size();
    complex_array& pivot_row = matrix[pivot];
    const std::complex<float> scale = std::complex<float>(1.0f, 0.0f) / pivot_row[pivot];
    pivot_row[pivot] = { 1.0f, 0.0f };
    for (std::complex<float>& value : pivot_row)
        value = complex_product(value, scale);
    for (std::size_t row = 0; row < size; ++row)
    {
        if (row == pivot)
            continue;
        const std::complex<float> factor = -std::exchange(matrix[row][pivot], { 0.0f, 0.0f });
        add_scaled(pivot_row.data(), factor, size, matrix[row].data());
    }
}

/// The rows were exchanged before the inversion, so the columns of the inverse go back to where their rows came from.
void restore_columns(complex_matrix& matrix, const std::vector<std::size_t>& row_origin)
{
    complex_array restored(matrix.size());
    for (complex_array& row : matrix)
    {
        for (std::size_t i = 0; i < row.size(); ++i)
            restored[row_origin[i]] = row[i];
        row.swap(restored);
    }
}
} // namespace

complex_matrix lib_dma_phy_common_t::matric_add(const complex_matrix& a, const complex_matrix& b)
{
    const std::size_t columns = get_columns(a);
    if (a.size() != b.size() || !has_columns(a, columns) || !has_columns(b, columns))
    {
        common_log::print_trace_line("matric_add:The number of rows or columns is not equal.");
        return {};
    }
    complex_matrix sum = a;
    for (std::size_t row = 0; row < sum.size(); ++row)
        std::transform(sum[row].begin(), sum[row].end(), b[row].begin(), sum[row].begin(), std::plus<>());
    return sum;
}

complex_matrix lib_dma_phy_common_t::matric_multiply(const complex_matrix& a, const complex_matrix& b)
{
    const std::size_t columns = get_columns(b);
    if (!has_columns(a, b.size()) || !has_columns(b, columns))
    {
        common_log::print_trace_line(
            "matric_multiply:The cols of A is not equal to the rows of tran_B, and can not be multiplied.");
        return {};
    }
    if (columns != 0 && a.size() > largest_product / columns)
    {
        common_log::print_trace_line("matric_multiply:The product is larger than 16777216 elements.");
        return {};
    }
    // Row by row: each element still sums its products in the order of the columns of A.
    complex_matrix product(a.size(), complex_array(columns));
    for (std::size_t row = 0; row < a.size(); ++row)
        for (std::size_t k = 0; k < b.size(); ++k)
            add_scaled(b[k].data(), a[row][k], columns, product[row].data());
    return product;
}

complex_matrix lib_dma_phy_common_t::transposed_multiply(const complex_matrix& a, const complex_matrix& b)
{
    const std::size_t columns = get_columns(a);
    if (!has_columns(a, columns) || !has_columns(b, columns))
    {
        common_log::print_trace_line(
            "transposed_multiply:The cols of A is not equal to the rows of tran_B, and can not be multiplied.");
        return {};
    }
    if (!b.empty() && a.size() > largest_product / b.size())
    {
        common_log::print_trace_line("transposed_multiply:The product is larger than 16777216 elements.");
        return {};
    }
    complex_matrix product(a.size(), complex_array(b.size()));
    for (std::size_t row = 0; row < a.size(); ++row)
        std::transform(b.begin(), b.end(), product[row].begin(),
                       [&](const complex_array& other) { return sum_of_products(a[row], other); });
    return product;
}

complex_matrix lib_dma_phy_common_t::matric_val_multiply(const complex_matrix& a, std::complex<float> c)
{
    if (get_columns(a) == 0 || !has_columns(a, get_columns(a)))
    {
        common_log::print_trace_line("matric_val_multiply:input error.");
        return {};
    }
    complex_matrix product = a;
    for (complex_array& row : product)
        for (std::complex<float>& value : row)
            value = complex_product(value, c);
    return product;
}

complex_matrix lib_dma_phy_common_t::inv(complex_matrix a, bool pivot)
{
    if (!is_square(a))
    {
        report("Error when using inv: matrix is not square.\n");
        return {};
    }
    std::vector<std::size_t> row_origin(a.size());
    std::iota(row_origin.begin(), row_origin.end(), std::size_t(0));
    for (std::size_t k = 0; k < a.size(); ++k)
    {
        const std::size_t pivot_row = pivot ? find_pivot_row(a, k) : k;
        a[k].swap(a[pivot_row]);
        std::swap(row_origin[k], row_origin[pivot_row]);
        if (!is_pivot(a[k][k]))
        {
            report("Warning when using inv: matrix is singular.\n");
            return {};
        }
        eliminate(a, k);
    }
    if (!is_finite(a))
    {
        report("Warning when using inv: matrix is singular.\n");
        return {};
    }
    restore_columns(a, row_origin);
    return a;
}

std::complex<float> lib_dma_phy_common_t::determinant(complex_matrix a)
{
    if (!is_square(a))
    {
        report("Error when using det: matrix is not square.\n");
        return { 0.0f, 0.0f };
    }
    std::complex<float> product(1.0f, 0.0f);
    for (std::size_t k = 0; k < a.size(); ++k)
    {
        const std::size_t pivot_row = find_pivot_row(a, k);
        if (pivot_row != k)
        {
            a[k].swap(a[pivot_row]);
            product = -product;
        }
        const std::complex<float> diagonal = a[k][k];
        product = complex_product(product, diagonal);
        if (diagonal == std::complex<float>(0.0f, 0.0f))
            return product;
        for (std::size_t row = k + 1; row < a.size(); ++row)
            add_scaled(a[k].data() + k, -(a[row][k] / diagonal), a.size() - k, a[row].data() + k);
    }
    return product;
}
} // namespace vrim::dma_demod_lib
