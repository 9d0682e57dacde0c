#include "lib_dma_common/lib_dma_phy_common.h"

#include "message_capture.h"
#include "noise.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <string>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using common_t = lib_dma_phy_common_t;

namespace
{
using sample_t = std::complex<float>;
const float nan_value = std::numeric_limits<float>::quiet_NaN();

complex_matrix make_random_matrix(std::size_t rows, std::size_t columns, unsigned seed)
{
    const complex_array values = make_noise(rows * columns, seed);
    complex_matrix matrix;
    for (std::size_t row = 0; row < rows; ++row)
        matrix.emplace_back(values.begin() + static_cast<std::ptrdiff_t>(row * columns),
                            values.begin() + static_cast<std::ptrdiff_t>((row + 1) * columns));
    return matrix;
}

/// A 1 in each row, at the column that `columns` names.
complex_matrix make_permutation(const std::vector<std::size_t>& columns)
{
    complex_matrix matrix(columns.size(), complex_array(columns.size()));
    for (std::size_t row = 0; row < columns.size(); ++row)
        matrix[row][columns[row]] = { 1.0f, 0.0f };
    return matrix;
}

/// Largest difference of a * b from the unit matrix, in double.
double get_distance_from_unity(const complex_matrix& a, const complex_matrix& b)
{
    double largest = 0.0;
    for (std::size_t row = 0; row < a.size(); ++row)
    {
        for (std::size_t column = 0; column < a.size(); ++column)
        {
            std::complex<double> sum(row == column ? -1.0 : 0.0, 0.0);
            for (std::size_t k = 0; k < a.size(); ++k)
                sum += std::complex<double>(a[row][k]) * std::complex<double>(b[k][column]);
            largest = std::max(largest, std::abs(sum));
        }
    }
    return largest;
}

/// Sum over all permutations, in double.
std::complex<double> cal_leibniz_determinant(const complex_matrix& matrix)
{
    std::vector<std::size_t> columns(matrix.size());
    std::iota(columns.begin(), columns.end(), std::size_t(0));
    std::complex<double> sum(0.0, 0.0);
    do
    {
        std::complex<double> product(1.0, 0.0);
        for (std::size_t row = 0; row < columns.size(); ++row)
        {
            product *= std::complex<double>(matrix[row][columns[row]]);
            for (std::size_t later = row + 1; later < columns.size(); ++later)
                product *= columns[later] < columns[row] ? -1.0 : 1.0;
        }
        sum += product;
    } while (std::next_permutation(columns.begin(), columns.end()));
    return sum;
}

const complex_matrix two_by_three = { { { 1, 1 }, { 2, 0 }, { 0, -1 } }, { { 0, 2 }, { -1, 0 }, { 3, 1 } } };
const complex_matrix ragged = { { { 1, 0 }, { 2, 0 } }, { { 3, 0 } } };
} // namespace

TEST(MatricAdd, AddsElementByElement)
{
    const complex_matrix b = { { { 1, 0 }, { 0, 1 }, { 5, 5 } }, { { 0, -2 }, { 1, 1 }, { 0, 0 } } };
    EXPECT_EQ(common_t::matric_add(two_by_three, b),
              (complex_matrix{ { { 2, 1 }, { 2, 1 }, { 5, 4 } }, { { 0, 0 }, { 0, 1 }, { 3, 1 } } }));
    EXPECT_TRUE(common_t::matric_add({}, {}).empty());
}

TEST(MatricAdd, ReportsMatricesOfDifferentShape)
{
    const complex_matrix two_by_two = { { 1, 2 }, { 3, 4 } };
    const complex_matrix one_by_three = { { 1, 2, 3 } };
    for (const auto& [a, b] : { std::pair(two_by_three, two_by_two), std::pair(two_by_three, one_by_three),
                                std::pair(two_by_two, ragged), std::pair(ragged, two_by_two) })
    {
        trace_capture_t trace;
        EXPECT_TRUE(common_t::matric_add(a, b).empty());
        EXPECT_EQ(trace.get_text(), "matric_add:The number of rows or columns is not equal.\n");
    }
}

TEST(MatricMultiply, MultipliesRowsByColumns)
{
    const complex_matrix b = { { { 1, 0 }, { 0, 1 } }, { { 2, 0 }, { 0, 0 } }, { { 0, 1 }, { 1, 0 } } };
    // First element: (1 + j) 1 + 2 * 2 + (-j) j = 6 + j.
    EXPECT_EQ(common_t::matric_multiply(two_by_three, b), (complex_matrix{ { { 6, 1 }, { -1, 0 } }, { { -3, 5 }, { 1, 1 } } }));
}

TEST(MatricMultiply, ReportsOperandsThatDoNotFit)
{
    for (const auto& [a, b] : { std::pair(two_by_three, two_by_three), std::pair(two_by_three, ragged),
                                std::pair(ragged, complex_matrix{ { 1 }, { 2 } }), std::pair(two_by_three, complex_matrix()) })
    {
        trace_capture_t trace;
        EXPECT_TRUE(common_t::matric_multiply(a, b).empty());
        EXPECT_EQ(trace.get_text(),
                  "matric_multiply:The cols of A is not equal to the rows of tran_B, and can not be multiplied.\n");
    }
}

TEST(TransposedMultiply, MultipliesRowsByRowsWithoutConjugation)
{
    const complex_matrix b = { { { 1, 0 }, { 2, 0 }, { 0, 1 } } };
    // (1 + j) 1 + 2 * 2 + (-j) j = 6 + j; 2j - 2 + (3 + j) j = -3 + 5j.
    EXPECT_EQ(common_t::transposed_multiply(two_by_three, b), (complex_matrix{ { { 6, 1 } }, { { -3, 5 } } }));
}

TEST(TransposedMultiply, ReportsOperandsThatDoNotFit)
{
    const complex_matrix b = { { 1, 2 } };
    for (const auto& [a, c] : { std::pair(two_by_three, b), std::pair(b, ragged), std::pair(ragged, b) })
    {
        trace_capture_t trace;
        EXPECT_TRUE(common_t::transposed_multiply(a, c).empty());
        EXPECT_EQ(trace.get_text(),
                  "transposed_multiply:The cols of A is not equal to the rows of tran_B, and can not be multiplied.\n");
    }
}

TEST(MatrixProducts, RefuseResultsThatAreFarLargerThanTheirOperands)
{
    const complex_matrix column(4097, complex_array(1, { 1.0f, 0.0f }));
    const complex_matrix row = { complex_array(4097, { 1.0f, 0.0f }) };
    trace_capture_t trace;
    EXPECT_TRUE(common_t::matric_multiply(column, row).empty());
    EXPECT_TRUE(common_t::transposed_multiply(column, column).empty());
    EXPECT_EQ(trace.get_text(), "matric_multiply:The product is larger than 16777216 elements.\n"
                                "transposed_multiply:The product is larger than 16777216 elements.\n");
    EXPECT_EQ(common_t::matric_multiply(row, column), (complex_matrix{ { 4097.0f } }));
}

TEST(MatricValMultiply, ScalesEachElement)
{
    EXPECT_EQ(common_t::matric_val_multiply(two_by_three, { 0, 2 }),
              (complex_matrix{ { { -2, 2 }, { 0, 4 }, { 2, 0 } }, { { -4, 0 }, { 0, -2 }, { -2, 6 } } }));
}

TEST(MatricValMultiply, ReportsAnEmptyMatrix)
{
    for (const complex_matrix& matrix : { complex_matrix(), complex_matrix{ {} }, ragged })
    {
        trace_capture_t trace;
        EXPECT_TRUE(common_t::matric_val_multiply(matrix, { 2, 0 }).empty());
        EXPECT_EQ(trace.get_text(), "matric_val_multiply:input error.\n");
    }
}

TEST(Inv, InvertsAMatrixWorkedByHand)
{
    // Determinant 1 * 2 - j * (-j) = 1.
    const complex_matrix matrix = { { { 1, 0 }, { 0, 1 } }, { { 0, -1 }, { 2, 0 } } };
    const complex_matrix inverse = { { { 2, 0 }, { 0, -1 } }, { { 0, 1 }, { 1, 0 } } };
    EXPECT_EQ(common_t::inv(matrix, false), inverse);
    for (std::size_t row = 0; row < 2; ++row)
        for (std::size_t column = 0; column < 2; ++column)
            EXPECT_LT(std::abs(common_t::inv(matrix, true)[row][column] - inverse[row][column]), 1e-6f);
}

TEST(Inv, TimesItsMatrixIsUnity)
{
    for (const std::size_t size : { 1u, 2u, 7u, 40u })
    {
        const complex_matrix matrix = make_random_matrix(size, size, 11);
        const complex_matrix inverse = common_t::inv(matrix, true);
        ASSERT_EQ(inverse.size(), size);
        EXPECT_LT(get_distance_from_unity(matrix, inverse), 1e-4) << size;
        EXPECT_LT(get_distance_from_unity(inverse, matrix), 1e-4) << size;
    }
}

TEST(Inv, OfAPermutationIsItsTranspose)
{
    EXPECT_EQ(common_t::inv(make_permutation({ 2, 0, 3, 1 }), true), make_permutation({ 1, 3, 0, 2 }));
}

TEST(Inv, WithoutPivotingTakesAZeroOnTheDiagonalForSingular)
{
    trace_capture_t trace;
    EXPECT_TRUE(common_t::inv(make_permutation({ 1, 0 }), false).empty());
    EXPECT_EQ(trace.get_text(), "Warning when using inv: matrix is singular.\n");
    EXPECT_EQ(common_t::inv(make_permutation({ 1, 0 }), true), make_permutation({ 1, 0 }));
}

TEST(Inv, PivotingKeepsTheDigitsThatASmallDiagonalWouldLose)
{
    // The inverse is { -1, 1; 1, 0 } but for 1e-9.
    const complex_matrix inverse = common_t::inv({ { 1e-9f, 1.0f }, { 1.0f, 1.0f } }, true);
    ASSERT_EQ(inverse.size(), 2u);
    EXPECT_NEAR(inverse[0][0].real(), -1.0f, 1e-6f);
    EXPECT_NEAR(inverse[0][1].real(), 1.0f, 1e-6f);
    EXPECT_NEAR(inverse[1][0].real(), 1.0f, 1e-6f);
    EXPECT_NEAR(inverse[1][1].real(), 0.0f, 1e-6f);
}

TEST(Inv, ReportsSingularMatrices)
{
    const complex_matrix equal_rows = { { { 1, 2 }, { 3, 4 } }, { { 1, 2 }, { 3, 4 } } };
    const complex_matrix unknown = { { 1.0f, nan_value }, { 2.0f, 3.0f } };
    const complex_matrix endless = { { 1e-45f } }; // its inverse is beyond the range
    for (const complex_matrix& matrix : { equal_rows, unknown, endless, complex_matrix{ { 0.0f } } })
    {
        trace_capture_t trace;
        EXPECT_TRUE(common_t::inv(matrix, true).empty());
        EXPECT_EQ(trace.get_text(), "Warning when using inv: matrix is singular.\n");
    }
}

TEST(Inv, ReportsMatricesThatAreNotSquare)
{
    for (const complex_matrix& matrix : { two_by_three, ragged, complex_matrix{ {} } })
    {
        trace_capture_t trace;
        EXPECT_TRUE(common_t::inv(matrix, true).empty());
        EXPECT_EQ(trace.get_text(), "Error when using inv: matrix is not square.\n");
    }
}

TEST(Inv, OfNothingIsNothing)
{
    trace_capture_t trace;
    EXPECT_TRUE(common_t::inv({}, true).empty());
    EXPECT_EQ(trace.get_text(), "");
}

TEST(Determinant, AgreesWithTheSumOverPermutations)
{
    for (const std::size_t size : { 1u, 2u, 3u, 4u, 6u })
    {
        const complex_matrix matrix = make_random_matrix(size, size, 5);
        const std::complex<double> expected = cal_leibniz_determinant(matrix);
        EXPECT_LT(std::abs(std::complex<double>(common_t::determinant(matrix)) - expected), 1e-5 * std::abs(expected)) << size;
    }
}

TEST(Determinant, FlipsItsSignWithEveryExchange)
{
    EXPECT_EQ(common_t::determinant(make_permutation({ 0, 1, 2, 3 })), sample_t(1, 0));
    EXPECT_EQ(common_t::determinant(make_permutation({ 1, 0, 2, 3 })), sample_t(-1, 0));
    EXPECT_EQ(common_t::determinant(make_permutation({ 1, 0, 3, 2 })), sample_t(1, 0));
    EXPECT_EQ(common_t::determinant(make_permutation({ 1, 2, 3, 0 })), sample_t(-1, 0));
}

TEST(Determinant, OfASingularMatrixIsZero)
{
    EXPECT_EQ(common_t::determinant({ { 1, 2 }, { 2, 4 } }), sample_t(0, 0));
    EXPECT_EQ(common_t::determinant({ { 0, 0 }, { 0, 5 } }), sample_t(0, 0));
}

TEST(Determinant, ReportsMatricesThatAreNotSquare)
{
    for (const complex_matrix& matrix : { two_by_three, ragged })
    {
        trace_capture_t trace;
        EXPECT_EQ(common_t::determinant(matrix), sample_t(0, 0));
        EXPECT_EQ(trace.get_text(), "Error when using det: matrix is not square.\n");
    }
    EXPECT_EQ(common_t::determinant({}), sample_t(1, 0)); // the empty product
}
