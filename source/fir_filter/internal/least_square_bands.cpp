#include "fir_filter/internal/least_square_bands.h"

#include "fir_filter/lib_fir_designer.h"
#include "support/internal/trigonometry.h"
#include "support/internal/vector_clones.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>

namespace vrim::fir_filter_lib::least_square
{
namespace
{
constexpr double four_pi_squared = 39.47841760435743;
/// Rows that are factored before the rows below them are brought up to date: they stay in the cache meanwhile.
constexpr std::size_t panel_rows = 32;
/// Each step takes the share ridge / (ridge + eigenvalue) of the error away that the one before has left.
constexpr int refinement_count = 2;
constexpr double ridge_growth = 16.0;
constexpr int largest_attempts = 14;

double sinc(double x)
{
    return lib_fir_designer_t::sinc(x);
}

/// cos(2 pi x); whole turns are taken off first, exactly.
double cosine_of_turns(double x)
{
    return common_lib::sine_cosine(2.0 * std::numbers::pi * (x - std::nearbyint(x))).cosine;
}

/// Integral of the wanted amplitude times cos(2 pi k f) over one band.
double cal_band_integral(const band_t& band, double k)
{
    const double slope = (band.a2 - band.a1) / (band.f2 - band.f1);
    const double start = band.a1 - slope * band.f1;
    if (k == 0.0)
        return start * (band.f2 - band.f1) + slope / 2.0 * (band.f2 * band.f2 - band.f1 * band.f1);
    double integral = band.f2 * (slope * band.f2 + start) * sinc(2.0 * k * band.f2) -
                      band.f1 * (slope * band.f1 + start) * sinc(2.0 * k * band.f1);
    if (slope != 0.0)
        integral += slope / four_pi_squared * (cosine_of_turns(k * band.f2) - cosine_of_turns(k * band.f1)) / (k * k);
    return integral;
}

/// target[j] -= four rows, each times its factor.
DMA_VECTOR_CLONES
void subtract_four_rows(double* target, const std::array<const double*, 4>& rows, const std::array<double, 4>& factors,
                        std::size_t count)
{
    const double* r0 = rows[0];
    const double* r1 = rows[1];
    const double* r2 = rows[2];
    const double* r3 = rows[3];
    for (std::size_t j = 0; j < count; ++j)
        target[j] -= (factors[0] * r0[j] + factors[1] * r1[j]) + (factors[2] * r2[j] + factors[3] * r3[j]);
}

DMA_VECTOR_CLONES
void subtract_row(double* target, const double* row, double factor, std::size_t first, std::size_t end)
{
    for (std::size_t j = first; j < end; ++j)
        target[j] -= factor * row[j];
}

/// Upper triangular R with R' R = G + ridge, row by row from the diagonal on.
class cholesky_t
{
public:
    explicit cholesky_t(std::size_t rows) : rows_(rows), entries_(rows * (rows + 1) / 2) {}

    /// @return false where a pivot is not positive
    bool factor(const cosine_matrix_t& matrix, double ridge)
    {
        for (std::size_t i = 0; i < rows_; ++i)
        {
            for (std::size_t j = i; j < rows_; ++j)
                *at(i, j) = matrix.get(i, j);
            *at(i, i) += ridge;
        }
        for (std::size_t first = 0; first < rows_; first += panel_rows)
        {
            const std::size_t end = std::min(first + panel_rows, rows_);
            if (!factor_panel(first, end))
                return false;
            update_below(first, end);
        }
        return true;
    }

    /// Replaces `values` by the solution for them as right side.
    void solve(double_array& values) const
    {
        for (std::size_t i = 0; i < rows_; ++i)
        {
            values[i] /= *at(i, i);
            subtract_row(values.data() + i, at(i, i), values[i], 1, rows_ - i);
        }
        for (std::size_t i = rows_; i-- > 0;)
        {
            const double* row = at(i, i);
            double sum = values[i];
            for (std::size_t j = i + 1; j < rows_; ++j)
                sum -= row[j - i] * values[j];
            values[i] = sum / row[0];
        }
    }

private:
    /// Entry of a row, column not below row; the rest of the row follows.
    double* at(std::size_t row, std::size_t column) { return entries_.data() + cal_place(row, column); }
    const double* at(std::size_t row, std::size_t column) const { return entries_.data() + cal_place(row, column); }
    std::size_t cal_place(std::size_t row, std::size_t column) const { return row * (2 * rows_ - row - 1) / 2 + column; }

    bool factor_panel(std::size_t first, std::size_t end)
    {
        for (std::size_t k = first; k < end; ++k)
        {
            const double pivot = *at(k, k);
            if (!(pivot > 0.0) || !std::isfinite(pivot))
                return false;
            const double scale = 1.0 / std::sqrt(pivot);
            for (std::size_t j = k; j < rows_; ++j)
                *at(k, j) *= scale;
            for (std::size_t i = k + 1; i < end; ++i)
                subtract_row(at(i, i), at(k, i), *at(k, i), 0, rows_ - i);
        }
        return true;
    }

    void update_below(std::size_t first, std::size_t end)
    {
        for (std::size_t i = end; i < rows_; ++i)
        {
            std::size_t k = first;
            for (; k + 4 <= end; k += 4)
                subtract_four_rows(at(i, i), { at(k, i), at(k + 1, i), at(k + 2, i), at(k + 3, i) },
                                   { *at(k, i), *at(k + 1, i), *at(k + 2, i), *at(k + 3, i) }, rows_ - i);
            for (; k < end; ++k)
                subtract_row(at(i, i), at(k, i), *at(k, i), 0, rows_ - i);
        }
    }

    std::size_t rows_;
    double_array entries_;
};
} // namespace

void cal_right_side(const band_list& bands, const double_array& basis, double_array& right_side)
{
    right_side.assign(basis.size(), 0.0);
    for (const band_t& band : bands)
        for (std::size_t i = 0; i < basis.size(); ++i)
            right_side[i] += cal_band_integral(band, basis[i]) * band.weight;
}

double_array cal_cosine_sums(const band_list& bands, std::size_t count)
{
    double_array sums(count, 0.0);
    for (const band_t& band : bands)
        for (std::size_t q = 0; q < count; ++q)
        {
            const double turns = 2.0 * static_cast<double>(q);
            sums[q] += (band.f2 * sinc(turns * band.f2) - band.f1 * sinc(turns * band.f1)) * band.weight;
        }
    return sums;
}

cosine_matrix_t::cosine_matrix_t(const band_list& bands, std::size_t rows, std::size_t offset)
    : rows_(rows), offset_(offset), sums_(cal_cosine_sums(bands, 2 * rows + offset))
{
}

double_array cosine_matrix_t::cal_residual(const double_array& right_side, const double_array& a) const
{
    double_array residual = right_side;
    for (std::size_t i = 0; i < rows_; ++i)
        for (std::size_t j = 0; j < rows_; ++j)
            residual[i] -= get(i, j) * a[j];
    return residual;
}

bool solve_symmetric(const cosine_matrix_t& matrix, const double_array& right_side, double_array& solution)
{
    solution.clear();
    const std::size_t rows = matrix.get_rows();
    double largest = 0.0;
    for (std::size_t i = 0; i < rows; ++i)
        largest = std::max(largest, matrix.get(i, i));
    if (!(largest > 0.0) || !std::isfinite(largest))
        return false;

    // Where rounding still leaves a pivot that is not positive, a larger ridge has to do; the last one is above the diagonal.
    cholesky_t factors(rows);
    double ridge = static_cast<double>(rows) * std::numeric_limits<double>::epsilon() * largest;
    int attempt = 0;
    while (!factors.factor(matrix, ridge))
    {
        if (++attempt == largest_attempts)
            return false;
        ridge *= ridge_growth;
    }

    solution = right_side;
    factors.solve(solution);
    for (int pass = 0; pass < refinement_count; ++pass)
    {
        double_array correction = matrix.cal_residual(right_side, solution);
        factors.solve(correction);
        for (std::size_t i = 0; i < rows; ++i)
            solution[i] += correction[i];
    }
    return true;
}
} // namespace vrim::fir_filter_lib::least_square
