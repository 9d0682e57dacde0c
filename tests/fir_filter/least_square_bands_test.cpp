#include "fir_filter/internal/least_square_bands.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

using namespace vrim;
using namespace vrim::fir_filter_lib;

TEST(LeastSquareBands, IntegrateAStraightSlope)
{
    const least_square::band_list bands = { { 0.0, 0.11, 0.0, 0.7, 1.5 }, { 0.2, 0.43, 1.0, -0.25, 2.0 } };
    const double_array basis = { 0.0, 0.5, 1.0, 7.5, 40.0 };
    double_array right_side;
    least_square::cal_right_side(bands, basis, right_side);
    const double_array sums = least_square::cal_cosine_sums(bands, 4);
    ASSERT_EQ(right_side.size(), basis.size());
    ASSERT_EQ(sums.size(), 4u);

    // Midpoint rule, fine enough for 1e-9.
    constexpr int steps = 400'000;
    auto integrate = [&](double k, bool wanted)
    {
        double sum = 0.0;
        for (const auto& band : bands)
            for (int i = 0; i < steps; ++i)
            {
                const double share = (i + 0.5) / steps;
                const double f = band.f1 + (band.f2 - band.f1) * share;
                const double amplitude = wanted ? band.a1 + (band.a2 - band.a1) * share : 1.0;
                sum += band.weight * amplitude * std::cos(2.0 * std::numbers::pi * k * f) * (band.f2 - band.f1) / steps;
            }
        return sum;
    };
    for (std::size_t i = 0; i < basis.size(); ++i)
        EXPECT_NEAR(right_side[i], integrate(basis[i], true), 1e-9) << basis[i];
    for (std::size_t q = 0; q < sums.size(); ++q)
        EXPECT_NEAR(sums[q], integrate(static_cast<double>(q), false), 1e-9) << q;
}

TEST(LeastSquareBands, TheMatrixIsSymmetricAndItsResidualIsThatOfTheSystem)
{
    const least_square::band_list bands = { { 0.0, 0.1, 1.0, 1.0, 1.0 }, { 0.2, 0.5, 0.0, 0.0, 3.0 } };
    const least_square::cosine_matrix_t matrix(bands, 3, 1);
    const double_array a = { 1.0, -2.0, 0.5 }, right_side = { 0.1, 0.2, 0.3 };
    const double_array residual = matrix.cal_residual(right_side, a);
    for (std::size_t i = 0; i < 3; ++i)
    {
        double expected = right_side[i];
        for (std::size_t j = 0; j < 3; ++j)
        {
            EXPECT_EQ(matrix.get(i, j), matrix.get(j, i));
            expected -= matrix.get(i, j) * a[j];
        }
        EXPECT_NEAR(residual[i], expected, 1e-15);
    }
    double_array solution = { 1.0 };
    EXPECT_FALSE(least_square::solve_symmetric(least_square::cosine_matrix_t({}, 3, 0), right_side, solution));
    EXPECT_TRUE(solution.empty());
}
