#pragma once

#include "dma_types.h"

#include <cstddef>
#include <vector>

/// Weighted squared error of a zero-phase response A(f) = sum of a[i] cos(2 pi k[i] f) over bands, as integrals in closed
/// form. Frequencies are relative to the sample rate, 0.5 being Nyquist.
///
/// The normal equations G a = b have G[i][j] = (S[|i - j|] + S[i + j + offset]) / 2, with S the cosine sums of the bands:
/// k runs over whole numbers with offset 0 for an odd count of taps, over halves from 0.5 on with offset 1 for an even one.
/// Source: T. W. Parks, C. S. Burrus, Digital Filter Design, Wiley, 1987, section 3.2.
namespace vrim::fir_filter_lib::least_square
{
/// One band: from f1 to f2 > f1 the wanted amplitude runs straight from a1 to a2.
struct band_t
{
    double f1;
    double f2;
    double a1;
    double a2;
    double weight;
};
using band_list = std::vector<band_t>;

/// @param basis            the k, not negative
/// @param[out] right_side  integral of weight * wanted amplitude * cos(2 pi k f) over the bands, one a k
void cal_right_side(const band_list& bands, const double_array& basis, double_array& right_side);

/// @return S[q], q below count: integral of weight * cos(2 pi q f) over the bands
double_array cal_cosine_sums(const band_list& bands, std::size_t count);

/// G as it stands among the cosine sums; nothing of its size is kept.
class cosine_matrix_t
{
public:
    /// @param rows    count of rows and columns
    /// @param offset  0 or 1
    cosine_matrix_t(const band_list& bands, std::size_t rows, std::size_t offset);

    std::size_t get_rows() const { return rows_; }
    double get(std::size_t row, std::size_t column) const
    {
        const std::size_t distance = row < column ? column - row : row - column;
        return 0.5 * (sums_[distance] + sums_[row + column + offset_]);
    }
    /// @return right_side - G a
    double_array cal_residual(const double_array& right_side, const double_array& a) const;

private:
    std::size_t rows_;
    std::size_t offset_;
    double_array sums_;
};

/// Solves G a = b by a Cholesky factorisation with a ridge of rounding size on the diagonal, and refines. Where G is well
/// conditioned that is the solution itself; where it is singular to working precision the solution stays small, and its
/// weighted error is the least one but for rounding. Time grows with the cube of the rows (4,000: 1.4 s), memory with their
/// square (4,000: 64 MB).
/// @return false where G is not finite or all but zero
/// Source: N. J. Higham, Accuracy and Stability of Numerical Algorithms, 2nd ed., SIAM, 2002, chapters 10 and 12.
bool solve_symmetric(const cosine_matrix_t& matrix, const double_array& right_side, double_array& solution);
} // namespace vrim::fir_filter_lib::least_square
