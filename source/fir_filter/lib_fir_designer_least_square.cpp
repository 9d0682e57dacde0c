#include "fir_filter/lib_fir_designer.h"

#include "fir_filter/internal/least_square_bands.h"
#include "support/internal/trigonometry.h"
#include "support/log_macro.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <stdexcept>
#include <utility>

namespace vrim::fir_filter_lib
{
namespace
{
constexpr std::uint32_t largest_order = 1'000'000;
/// Designs that need the matrix: 1.4 s and 64 MB at this order, growing with its cube and its square.
constexpr std::uint32_t largest_matrix_order = 8'000;
/// Up to here the inverse takes less than a tenth of a second; beyond, only the factorisation is fast enough.
constexpr std::size_t largest_inverted_rows = 512;
constexpr double smallest_pivot = 1e-9;
/// Weighted squared error that rounding of the inverse may add, in parts of what the filter explains.
constexpr double inverse_error_bound = 1e-15;
constexpr float largest_usual_tap = 10.0f;

bool is_square(const double_matrix& matrix)
{
    return std::all_of(matrix.begin(), matrix.end(), [&](const double_array& row) { return row.size() == matrix.size(); });
}

bool is_finite(const double_array& values)
{
    return std::all_of(values.begin(), values.end(), [](double value) { return std::isfinite(value); });
}

/// @return row of the entry of largest magnitude in a column, from the diagonal on
std::size_t find_pivot_row(const double_matrix& matrix, std::size_t column)
{
    std::size_t best = column;
    for (std::size_t row = column + 1; row < matrix.size(); ++row)
        if (std::abs(matrix[row][column]) > std::abs(matrix[best][column]))
            best = row;
    return best;
}

/// target -= factor * row, from column `first` on
void subtract_scaled(double_array& target, const double_array& row, double factor, std::size_t first)
{
    for (std::size_t column = first; column < target.size(); ++column)
        target[column] -= factor * row[column];
}

void scale(double_array& row, double factor, std::size_t first)
{
    for (std::size_t column = first; column < row.size(); ++column)
        row[column] *= factor;
}

double cal_product_sum(const double_array& a, const double_array& b)
{
    double sum = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i)
        sum += a[i] * b[i];
    return sum;
}

/// Bands of a description with a width, frequencies relative to the sample rate, the largest weight being 1. Constant
/// weights have no influence, and no scale of the weights reaches the pivots.
bool collect_bands(const lib_fir_design_parameter_t& parameters, bool constant_weights, least_square::band_list& bands)
{
    double_array edges, amplitudes, weights;
    lib_fir_designer_t::_get_freq_amplitude_weight_vector(parameters, edges, amplitudes, weights);
    if (weights.empty())
    {
        DMA_LOG_ERROR("lib_fir_designer_t::_least_square_method: the response type has no bands.\n");
        return false;
    }
    if (!std::is_sorted(edges.begin(), edges.end()))
    {
        DMA_LOG_ERROR("lib_fir_designer_t::_least_square_method: the band edges must not fall.\n");
        return false;
    }
    const double largest = *std::max_element(weights.begin(), weights.end());
    for (std::size_t band = 0; band < weights.size(); ++band)
    {
        const std::size_t lower = 2 * band;
        if (edges[lower] < edges[lower + 1])
            bands.push_back({ edges[lower] / 2.0, edges[lower + 1] / 2.0, amplitudes[lower], amplitudes[lower + 1],
                              constant_weights ? 1.0 : weights[band] / largest });
    }
    if (bands.empty())
        DMA_LOG_ERROR("lib_fir_designer_t::_least_square_method: no band has a width.\n");
    return !bands.empty();
}

/// @return false where the matrix is close to singular: without a pivot, or the inverse has lost too many digits
bool solve_by_inverse(const least_square::cosine_matrix_t& basis_matrix, const double_array& right_side, double_array& solution)
{
    const std::size_t rows = basis_matrix.get_rows();
    double_matrix matrix(rows, double_array(rows)), inverse;
    for (std::size_t row = 0; row < rows; ++row)
        for (std::size_t column = 0; column < rows; ++column)
            matrix[row][column] = basis_matrix.get(row, column);
    if (!lib_fir_designer_t::_invert_matrix(matrix, inverse))
        return false;

    solution = lib_fir_designer_t::_matrix_multiply(inverse, right_side);
    const double_array residual = basis_matrix.cal_residual(right_side, solution);
    const double_array correction = lib_fir_designer_t::_matrix_multiply(inverse, residual);
    // The residual times its correction is the weighted squared error above the least one.
    if (!(std::abs(cal_product_sum(residual, correction)) <= inverse_error_bound * cal_product_sum(right_side, solution)))
        return false;
    for (std::size_t row = 0; row < rows; ++row)
        solution[row] += correction[row];
    return true;
}

bool solve_normal_equations(const least_square::band_list& bands, bool odd, const double_array& right_side,
                            double_array& solution)
{
    const least_square::cosine_matrix_t matrix(bands, right_side.size(), odd ? 0 : 1);
    if (right_side.size() <= largest_inverted_rows && solve_by_inverse(matrix, right_side, solution))
        return true;
    return least_square::solve_symmetric(matrix, right_side, solution);
}

/// The basis is orthogonal over the full band, with norms 1/2 for the constant and 1/4 for the rest.
double_array solve_full_band(bool odd, const double_array& right_side)
{
    double_array solution = right_side;
    for (double& value : solution)
        value *= 4.0;
    if (odd)
        solution.front() /= 2.0;
    return solution;
}

void announce_large_taps(const complex_array& coefficients)
{
    float largest = 0.0f;
    for (const std::complex<float>& tap : coefficients)
        largest = std::max(largest, std::abs(tap.real()));
    if (largest > largest_usual_tap)
        DMA_LOG_INFO(fmt::format("lib_fir_designer_t::_least_square_method: taps reach {:g}, for the response runs high between "
                                 "the bands; a narrower wide transition or a lower order keeps them small.\n",
                                 largest));
}

struct kaiser_estimate_t
{
    double length = 0.0;
    double beta = 0.0;
};

/// Largest length among the transitions, each taken with the deviations of the bands beside it, and the factor that belongs
/// to it. Not-a-number wins, so that it is seen.
/// @param edges  two per transition, 1 being Nyquist
kaiser_estimate_t cal_kaiser_estimate(const double_array& edges, const double_array& deviations)
{
    kaiser_estimate_t largest;
    for (std::size_t band = 0; band + 1 < deviations.size(); ++band)
    {
        kaiser_estimate_t present;
        lib_fir_designer_t::kaislpord(edges[2 * band] / 2.0, edges[2 * band + 1] / 2.0, deviations[band], deviations[band + 1],
                                      present.length, present.beta);
        if (band == 0 || present.length > largest.length || std::isnan(present.length))
            largest = present;
        if (std::isnan(largest.length))
            break;
    }
    return largest;
}
} // namespace

bool lib_fir_designer_t::_least_square_method(const lib_fir_design_parameter_t& parameters, complex_array& coefficients)
{
    coefficients.clear();
    const std::uint32_t order = parameters.get_fir_filter_order();
    if (order > largest_order)
    {
        DMA_LOG_ERROR(
            fmt::format("lib_fir_designer_t::_least_square_method: order {} is above the limit of {}.\n", order, largest_order));
        return false;
    }
    double_array basis, right_side, constant_weights;
    _initmatrices(order, basis, right_side);
    const bool odd = ((order + 1) & 1) != 0;
    const bool full_band = parameters.is_weight_constant(constant_weights) && parameters.is_full_band_response_given();
    if (!full_band && order > largest_matrix_order)
    {
        DMA_LOG_ERROR(fmt::format("lib_fir_designer_t::_least_square_method: order {} is above the limit of {} for bands with "
                                  "gaps or weights.\n",
                                  order, largest_matrix_order));
        return false;
    }

    least_square::band_list bands;
    if (!collect_bands(parameters, full_band, bands))
        return false;
    least_square::cal_right_side(bands, basis, right_side);
    double_array solution;
    if (full_band)
        solution = solve_full_band(odd, right_side);
    else if (!solve_normal_equations(bands, odd, right_side, solution))
        solution.clear();
    if (solution.empty() || !is_finite(solution))
    {
        DMA_LOG_ERROR("lib_fir_designer_t::_least_square_method: the equations have no solution.\n");
        return false;
    }
    if (!odd) // each cosine stands for two taps then, and `_construct_h` takes them as they are
        scale(solution, 0.5, 0);
    coefficients = _construct_h(solution, odd);
    announce_large_taps(coefficients);
    return true;
}

void lib_fir_designer_t::_get_freq_amplitude_weight_vector(const lib_fir_design_parameter_t& parameters,
                                                           double_array& frequencies, double_array& amplitudes,
                                                           double_array& weights)
{
    const double s1 = parameters.get_first_edge_start_frequency();
    const double e1 = parameters.get_first_edge_stop_frequency();
    const double s2 = parameters.get_second_edge_start_frequency();
    const double e2 = parameters.get_second_edge_stop_frequency();
    const double w1 = parameters.get_first_band_weight();
    const double w2 = parameters.get_second_band_weight();
    const double w3 = parameters.get_third_band_weight();
    frequencies.clear();
    amplitudes.clear();
    weights.clear();
    switch (parameters.get_fir_response_type())
    {
    case LIB_FIR_RESPONSE_LOWPASS:
        frequencies = { 0.0, s1, e1, 1.0 };
        amplitudes = { 1.0, 1.0, 0.0, 0.0 };
        weights = { w1, w2 };
        break;
    case LIB_FIR_RESPONSE_HIGHPASS:
        frequencies = { 0.0, s1, e1, 1.0 };
        amplitudes = { 0.0, 0.0, 1.0, 1.0 };
        weights = { w1, w2 };
        break;
    case LIB_FIR_RESPONSE_BANDPASS:
        frequencies = { 0.0, s1, e1, s2, e2, 1.0 };
        amplitudes = { 0.0, 0.0, 1.0, 1.0, 0.0, 0.0 };
        weights = { w1, w2, w3 };
        break;
    case LIB_FIR_RESPONSE_BANDSTOP:
        frequencies = { 0.0, s1, e1, s2, e2, 1.0 };
        amplitudes = { 1.0, 1.0, 0.0, 0.0, 1.0, 1.0 };
        weights = { w1, w2, w3 };
        break;
    case LIB_FIR_RESPONSE_SHAPING:
        break;
    }
}

void lib_fir_designer_t::_initmatrices(std::uint32_t order, double_array& basis, double_array& right_side)
{
    if (order > largest_order)
        return;
    const std::size_t count = order / 2 + 1;
    const double offset = (order & 1) != 0 ? 0.5 : 0.0;
    basis.resize(count);
    for (std::size_t k = 0; k < count; ++k)
        basis[k] = static_cast<double>(k) + offset;
    right_side.assign(count, 0.0);
}

bool lib_fir_designer_t::_invert_matrix(const double_matrix& matrix, double_matrix& inverse)
{
    double_matrix left = matrix;
    inverse.clear();
    if (!is_square(left))
    {
        DMA_LOG_ERROR("lib_fir_designer_t::_invert_matrix: the matrix is not square.\n");
        return false;
    }
    double_matrix right(left.size(), double_array(left.size(), 0.0));
    for (std::size_t i = 0; i < left.size(); ++i)
        right[i][i] = 1.0;

    for (std::size_t column = 0; column < left.size(); ++column)
    {
        const std::size_t pivot_row = find_pivot_row(left, column);
        const double pivot = left[pivot_row][column];
        if (!(std::abs(pivot) > smallest_pivot))
            return false;
        std::swap(left[pivot_row], left[column]);
        std::swap(right[pivot_row], right[column]);
        scale(left[column], 1.0 / pivot, column);
        scale(right[column], 1.0 / pivot, 0);
        for (std::size_t row = 0; row < left.size(); ++row)
        {
            const double factor = left[row][column];
            if (row == column || factor == 0.0)
                continue;
            subtract_scaled(left[row], left[column], factor, column);
            subtract_scaled(right[row], right[column], factor, 0);
        }
    }
    if (!std::all_of(right.begin(), right.end(), is_finite))
        return false;
    inverse = std::move(right);
    return true;
}

double_array lib_fir_designer_t::_matrix_multiply(const double_matrix& matrix, const double_array& vector)
{
    double_array product;
    product.reserve(matrix.size());
    for (const double_array& row : matrix)
    {
        if (row.size() != vector.size())
            throw std::out_of_range("lib_fir_designer_t::_matrix_multiply: a row and the vector differ in length");
        product.push_back(cal_product_sum(row, vector));
    }
    return product;
}

bool lib_fir_designer_t::_solvelinearsystem(const double_matrix& matrix, const double_array& right_side, double_array& solution)
{
    double_matrix left = matrix;
    double_array right = right_side;
    solution.clear();
    if (!is_square(left) || right.size() != left.size())
    {
        DMA_LOG_ERROR("lib_fir_designer_t::_solvelinearsystem: the sizes do not fit.\n");
        return false;
    }
    double largest = 0.0;
    for (const double_array& row : left)
        for (const double entry : row)
            largest = std::max(largest, std::abs(entry));
    const double rounding = largest * std::numeric_limits<double>::epsilon() * static_cast<double>(left.size());

    for (std::size_t column = 0; column < left.size(); ++column)
    {
        const std::size_t pivot_row = find_pivot_row(left, column);
        if (!(std::abs(left[pivot_row][column]) > rounding))
            return false;
        std::swap(left[pivot_row], left[column]);
        std::swap(right[pivot_row], right[column]);
        for (std::size_t row = column + 1; row < left.size(); ++row)
        {
            const double factor = left[row][column] / left[column][column];
            subtract_scaled(left[row], left[column], factor, column);
            right[row] -= factor * right[column];
        }
    }
    for (std::size_t row = left.size(); row-- > 0;)
    {
        for (std::size_t column = row + 1; column < left.size(); ++column)
            right[row] -= left[row][column] * right[column];
        right[row] /= left[row][row];
    }
    if (!is_finite(right))
        return false;
    solution = std::move(right);
    return true;
}

complex_array lib_fir_designer_t::_construct_h(const double_array& coefficients, bool odd)
{
    complex_array taps;
    if (coefficients.empty())
        return taps;
    const double share = odd ? 0.5 : 1.0;
    const std::size_t first_pair = odd ? 1 : 0;
    taps.reserve(2 * coefficients.size());
    for (std::size_t i = coefficients.size(); i-- > first_pair;)
        taps.emplace_back(static_cast<float>(share * coefficients[i]), 0.0f);
    if (odd)
        taps.emplace_back(static_cast<float>(coefficients.front()), 0.0f);
    for (std::size_t i = first_pair; i < coefficients.size(); ++i)
        taps.emplace_back(static_cast<float>(share * coefficients[i]), 0.0f);
    return taps;
}

double lib_fir_designer_t::sinc(double x)
{
    if (x == 0.0)
        return 1.0;
    // sin(pi x) has period 2 and changes sign with each whole step; taking the steps off first keeps long filters exact.
    const double whole = std::nearbyint(x);
    const double sine = common_lib::sine_cosine(std::numbers::pi * (x - whole)).sine;
    const bool negative = std::fmod(whole, 2.0) != 0.0;
    return (negative ? -sine : sine) / (std::numbers::pi * x);
}

bool lib_fir_designer_t::_get_kaiser_minimum_order(const double_array& edges, const double_array& amplitudes,
                                                   const double_array& deviations, std::uint32_t& order, double_array& cutoffs,
                                                   double& beta)
{
    order = 0;
    cutoffs.clear();
    beta = 0.0;
    const std::size_t band_count = deviations.size();
    if (band_count < 2 || amplitudes.size() != band_count || edges.size() != 2 * (band_count - 1))
    {
        DMA_LOG_ERROR("lib_fir_designer_t::_get_kaiser_minimum_order: edges, amplitudes and deviations do not fit.\n");
        return false;
    }
    double_array relative(band_count);
    for (std::size_t band = 0; band < band_count; ++band)
        relative[band] = deviations[band] / (amplitudes[band] == 0.0 ? 1.0 : amplitudes[band]);

    const kaiser_estimate_t estimate = cal_kaiser_estimate(edges, relative);
    const double wanted = std::ceil(estimate.length) - 1.0;
    if (!std::isfinite(wanted) || wanted > static_cast<double>(largest_order))
    {
        DMA_LOG_ERROR(fmt::format("lib_fir_designer_t::_get_kaiser_minimum_order: order {:g} is not finite or above the limit "
                                  "of {}.\n",
                                  wanted, largest_order));
        return false;
    }
    order = wanted < 2.0 ? 2 : static_cast<std::uint32_t>(wanted);
    if ((order & 1) != 0 && amplitudes.back() != 0.0) // an even count of taps has no gain at the Nyquist frequency
        ++order;
    for (std::size_t lower = 0; lower < edges.size(); lower += 2)
        cutoffs.push_back((edges[lower] + edges[lower + 1]) / 2.0);
    beta = estimate.beta;
    return true;
}

void lib_fir_designer_t::kaislpord(double f1, double f2, double d1, double d2, double& length, double& beta)
{
    const double smallest = d1 < d2 || std::isnan(d1) ? d1 : d2;
    const double attenuation = -20.0 * std::log10(smallest);
    length = (attenuation - 7.95) / 14.357078426905355 / std::abs(f1 - f2) + 1.0;
    if (attenuation > 50.0)
        beta = (attenuation - 8.7) * 0.1102;
    else if (attenuation >= 21.0)
        beta = 0.5842 * std::pow(attenuation - 21.0, 0.4) + 0.07886 * (attenuation - 21.0);
    else
        beta = 0.0;
}
} // namespace vrim::fir_filter_lib
