#include "fir_filter/lib_fir_designer.h"
#include "message_capture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <stdexcept>

using namespace vrim;
using namespace vrim::fir_filter_lib;
using designer_t = lib_fir_designer_t;

namespace
{
constexpr double nan_value = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

double_matrix make_matrix(std::size_t size, unsigned seed)
{
    std::mt19937 generator(seed);
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    double_matrix matrix(size, double_array(size));
    for (double_array& row : matrix)
        for (double& entry : row)
            entry = uniform(generator);
    return matrix;
}
} // namespace

TEST(InvertMatrix, GivesTheInverse)
{
    double_matrix inverse;
    ASSERT_TRUE(designer_t::_invert_matrix({ { 4.0, 7.0 }, { 2.0, 6.0 } }, inverse));
    const double_matrix expected = { { 0.6, -0.7 }, { -0.2, 0.4 } };
    ASSERT_EQ(inverse.size(), 2u);
    for (std::size_t i = 0; i < 2; ++i)
        for (std::size_t j = 0; j < 2; ++j)
            EXPECT_NEAR(inverse[i][j], expected[i][j], 1e-15);
}

TEST(InvertMatrix, TimesTheMatrixIsTheUnitMatrix)
{
    const double_matrix matrix = make_matrix(40, 3);
    double_matrix inverse;
    ASSERT_TRUE(designer_t::_invert_matrix(matrix, inverse));
    for (std::size_t i = 0; i < 40; ++i)
        for (std::size_t j = 0; j < 40; ++j)
        {
            double sum = 0.0;
            for (std::size_t k = 0; k < 40; ++k)
                sum += inverse[i][k] * matrix[k][j];
            EXPECT_NEAR(sum, i == j ? 1.0 : 0.0, 1e-11) << i << ", " << j;
        }
}

TEST(InvertMatrix, FindsAPivotInALowerRow)
{
    double_matrix inverse;
    ASSERT_TRUE(designer_t::_invert_matrix({ { 0.0, 0.0, 2.0 }, { 1.0, 0.0, 0.0 }, { 0.0, -4.0, 0.0 } }, inverse));
    EXPECT_EQ(inverse, (double_matrix{ { 0.0, 1.0, 0.0 }, { 0.0, 0.0, -0.25 }, { 0.5, 0.0, 0.0 } }));
}

TEST(InvertMatrix, APivotCountsAboveOneBillionth)
{
    double_matrix inverse;
    EXPECT_TRUE(designer_t::_invert_matrix({ { 1.0, 0.0 }, { 0.0, 1.01e-9 } }, inverse));
    EXPECT_EQ(inverse.size(), 2u);
    EXPECT_TRUE(designer_t::_invert_matrix({ { -1.01e-9 } }, inverse));
    EXPECT_FALSE(designer_t::_invert_matrix({ { 1.0, 0.0 }, { 0.0, 1e-9 } }, inverse));
    EXPECT_TRUE(inverse.empty());
}

TEST(InvertMatrix, ASingularMatrixHasNone)
{
    double_matrix inverse = { { 1.0 } };
    EXPECT_FALSE(designer_t::_invert_matrix({ { 1.0, 2.0 }, { 2.0, 4.0 } }, inverse));
    EXPECT_TRUE(inverse.empty());
    EXPECT_FALSE(designer_t::_invert_matrix({ { 0.0 } }, inverse));
}

TEST(InvertMatrix, WhatIsNotFiniteHasNone)
{
    double_matrix inverse = { { 1.0 } };
    EXPECT_FALSE(designer_t::_invert_matrix({ { nan_value, 0.0 }, { 0.0, 1.0 } }, inverse));
    EXPECT_FALSE(designer_t::_invert_matrix({ { 1.0, nan_value }, { 0.0, 1.0 } }, inverse));
    EXPECT_FALSE(designer_t::_invert_matrix({ { infinity, infinity }, { infinity, 1.0 } }, inverse));
    EXPECT_TRUE(inverse.empty());
}

TEST(InvertMatrix, AnEmptyMatrixIsItsOwnInverse)
{
    double_matrix inverse = { { 1.0 } };
    EXPECT_TRUE(designer_t::_invert_matrix({}, inverse));
    EXPECT_TRUE(inverse.empty());
}

TEST(InvertMatrix, RefusesWhatIsNotSquare)
{
    for (const double_matrix& matrix : { double_matrix{ { 1.0, 2.0 }, { 3.0 } }, double_matrix{ { 1.0, 2.0 } },
                                         double_matrix{ { 1.0 }, { 2.0 } }, double_matrix{ {}, { 1.0, 2.0 } } })
    {
        const log_capture_t log;
        double_matrix inverse = { { 1.0 } };
        EXPECT_FALSE(designer_t::_invert_matrix(matrix, inverse));
        EXPECT_TRUE(inverse.empty());
        EXPECT_EQ(log.count(common_log::log_level_error, "lib_fir_designer_t::_invert_matrix: the matrix is not square.\n"), 1);
    }
}

TEST(InvertMatrix, MayWriteOverItsArgument)
{
    double_matrix matrix = { { 2.0, 0.0 }, { 0.0, 4.0 } };
    ASSERT_TRUE(designer_t::_invert_matrix(matrix, matrix));
    EXPECT_EQ(matrix, (double_matrix{ { 0.5, 0.0 }, { 0.0, 0.25 } }));
}

TEST(MatrixMultiply, MultipliesByAVector)
{
    EXPECT_EQ(designer_t::_matrix_multiply({ { 1.0, 2.0, 3.0 }, { -4.0, 0.5, 0.0 } }, { 2.0, 4.0, 8.0 }),
              (double_array{ 34.0, -6.0 }));
    EXPECT_TRUE(designer_t::_matrix_multiply({}, {}).empty());
    EXPECT_EQ(designer_t::_matrix_multiply({ {}, {} }, {}), (double_array{ 0.0, 0.0 }));
}

TEST(MatrixMultiply, ThrowsWhereTheSizesDoNotFit)
{
    EXPECT_THROW(designer_t::_matrix_multiply({ { 1.0, 2.0 } }, { 1.0 }), std::out_of_range);
    EXPECT_THROW(designer_t::_matrix_multiply({ { 1.0 } }, { 1.0, 2.0 }), std::out_of_range);
    EXPECT_THROW(designer_t::_matrix_multiply({ { 1.0, 2.0 }, { 3.0 } }, { 1.0, 2.0 }), std::out_of_range);
}

TEST(SolveLinearSystem, Solves)
{
    double_array solution;
    ASSERT_TRUE(designer_t::_solvelinearsystem({ { 0.0, 2.0, 1.0 }, { 1.0, -2.0, -3.0 }, { -1.0, 1.0, 2.0 } }, { -8.0, 0.0, 3.0 },
                                               solution));
    const double_array expected = { -4.0, -5.0, 2.0 };
    ASSERT_EQ(solution.size(), 3u);
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_NEAR(solution[i], expected[i], 1e-13) << i;
}

TEST(SolveLinearSystem, FindsWhatARandomSystemWasMadeFrom)
{
    const double_matrix matrix = make_matrix(50, 11);
    double_array right_side(50, 0.0), solution;
    for (std::size_t i = 0; i < 50; ++i)
        for (std::size_t j = 0; j < 50; ++j)
            right_side[i] += matrix[i][j] * (static_cast<double>(j) - 20.0);
    ASSERT_TRUE(designer_t::_solvelinearsystem(matrix, right_side, solution));
    for (std::size_t j = 0; j < 50; ++j)
        EXPECT_NEAR(solution[j], static_cast<double>(j) - 20.0, 1e-10) << j;
}

TEST(SolveLinearSystem, TellsSmallFromSingular)
{
    double_array solution = { 1.0 };
    EXPECT_FALSE(designer_t::_solvelinearsystem({ { 1.0, 2.0 }, { 2.0, 4.0 } }, { 1.0, 2.0 }, solution));
    EXPECT_TRUE(solution.empty());
    EXPECT_FALSE(
        designer_t::_solvelinearsystem({ { 0.1, 0.2, 0.3 }, { 0.4, 0.5, 0.6 }, { 0.7, 0.8, 0.9 } }, { 1.0, 2.0, 3.0 }, solution));
    EXPECT_FALSE(designer_t::_solvelinearsystem({ { 0.0 } }, { 1.0 }, solution));
    EXPECT_FALSE(designer_t::_solvelinearsystem({ { nan_value } }, { 1.0 }, solution));
    EXPECT_FALSE(designer_t::_solvelinearsystem({ { 1.0 } }, { infinity }, solution));
    EXPECT_TRUE(solution.empty());
    ASSERT_TRUE(designer_t::_solvelinearsystem({ { 1e-200, 0.0 }, { 0.0, 4e-200 } }, { 1e-200, 1e-200 }, solution));
    EXPECT_DOUBLE_EQ(solution[0], 1.0);
    EXPECT_DOUBLE_EQ(solution[1], 0.25);
}

TEST(SolveLinearSystem, RefusesSizesThatDoNotFit)
{
    const log_capture_t log;
    double_array solution = { 1.0 };
    EXPECT_FALSE(designer_t::_solvelinearsystem({ { 1.0, 2.0 }, { 3.0 } }, { 1.0, 2.0 }, solution));
    EXPECT_FALSE(designer_t::_solvelinearsystem({ { 1.0 } }, {}, solution));
    EXPECT_FALSE(designer_t::_solvelinearsystem({ { 1.0 } }, { 1.0, 2.0 }, solution));
    EXPECT_TRUE(solution.empty());
    EXPECT_EQ(log.count(common_log::log_level_error, "lib_fir_designer_t::_solvelinearsystem: the sizes do not fit.\n"), 3);
    EXPECT_TRUE(designer_t::_solvelinearsystem({}, {}, solution));
    EXPECT_TRUE(solution.empty());
}

TEST(InitMatrices, GivesWholeOrHalfFrequencies)
{
    double_array basis = { 5.0 }, right_side = { 7.0, 7.0, 7.0, 7.0, 7.0 };
    designer_t::_initmatrices(6, basis, right_side);
    EXPECT_EQ(basis, (double_array{ 0.0, 1.0, 2.0, 3.0 }));
    EXPECT_EQ(right_side, double_array(4, 0.0));
    designer_t::_initmatrices(5, basis, right_side);
    EXPECT_EQ(basis, (double_array{ 0.5, 1.5, 2.5 }));
    EXPECT_EQ(right_side, double_array(3, 0.0));
    designer_t::_initmatrices(0, basis, right_side);
    EXPECT_EQ(basis, (double_array{ 0.0 }));
}

TEST(InitMatrices, DoesNothingAboveAMillion)
{
    double_array basis = { 5.0 }, right_side = { 7.0 };
    designer_t::_initmatrices(1'000'001, basis, right_side);
    EXPECT_EQ(basis, (double_array{ 5.0 }));
    EXPECT_EQ(right_side, (double_array{ 7.0 }));
    designer_t::_initmatrices(1'000'000, basis, right_side);
    ASSERT_EQ(basis.size(), 500'001u);
    EXPECT_EQ(basis.back(), 500'000.0);
    EXPECT_EQ(right_side.size(), 500'001u);
}

TEST(ConstructH, HalvesAllButTheMiddleOfAnOddCount)
{
    EXPECT_EQ(designer_t::_construct_h({ 1.0, 2.0, 3.0 }, true), (complex_array{ 1.5f, 1.0f, 1.0f, 1.0f, 1.5f }));
    EXPECT_EQ(designer_t::_construct_h({ 4.0 }, true), (complex_array{ 4.0f }));
    EXPECT_TRUE(designer_t::_construct_h({}, true).empty());
}

TEST(ConstructH, MirrorsAnEvenCountAsItIs)
{
    EXPECT_EQ(designer_t::_construct_h({ 1.0, 2.0, 3.0 }, false), (complex_array{ 3.0f, 2.0f, 1.0f, 1.0f, 2.0f, 3.0f }));
    EXPECT_EQ(designer_t::_construct_h({ 4.0 }, false), (complex_array{ 4.0f, 4.0f }));
    EXPECT_TRUE(designer_t::_construct_h({}, false).empty());
}

TEST(Sinc, IsOneAtZeroAndZeroAtWholeNumbers)
{
    EXPECT_EQ(designer_t::sinc(0.0), 1.0);
    for (const double x : { 1.0, -2.0, 3.0, 1e6, 1000001.0 })
        EXPECT_EQ(designer_t::sinc(x), 0.0) << x;
    EXPECT_EQ(designer_t::sinc(1e-300), 1.0);
    EXPECT_TRUE(std::isnan(designer_t::sinc(nan_value)));
}

TEST(Sinc, FollowsItsFormula)
{
    constexpr long double pi = std::numbers::pi_v<long double>;
    for (double x = -20.17; x < 20.0; x += 0.173)
    {
        const long double angle = pi * static_cast<long double>(x);
        EXPECT_NEAR(designer_t::sinc(x), static_cast<double>(std::sin(angle) / angle), 1e-15) << x;
    }
    EXPECT_NEAR(designer_t::sinc(1000000.5) * std::numbers::pi * 1000000.5, 1.0, 1e-14);
    EXPECT_NEAR(designer_t::sinc(-999999.5) * std::numbers::pi * 999999.5, -1.0, 1e-14);
}
