#include "lib_dma_common/lib_dma_phy_common.h"

#include "support/internal/complex_ops.h"
#include "support/lib_common_math.h"
#include "support/log_macro.h"

#include <cmath>
#include <cstddef>

namespace vrim::dma_demod_lib
{
using common_lib::lib_common_math_t;

namespace
{
/// Taps of the response to the reference that belong to the channel. The model looks at what lies behind them.
constexpr std::size_t channel_taps = 64;
/// Two coefficients want two equations.
constexpr std::size_t shortest_record = channel_taps + 2;
/// Bounds below which single precision has too few digits left: energy that misses the one tap of the reference, size of the
/// response behind the channel against the whole, and how far apart the two regressors lie.
constexpr float largest_tap_error = 1e-3f;
constexpr float smallest_tail = 1e-4f;
constexpr float smallest_determinant = 1e-5f;

/// Row k is `ref` turned to the left by k, so that matrix * taps is the circular response of the taps to the reference.
complex_matrix make_shift_matrix(const complex_array& ref)
{
    complex_matrix matrix;
    matrix.reserve(ref.size());
    for (std::size_t k = 0; k < ref.size(); ++k)
        matrix.push_back(lib_dma_phy_common_t::deal_cyclic_shift(ref, -static_cast<std::int32_t>(k)));
    return matrix;
}

/// matrix * vector
complex_array deal_response(const complex_matrix& matrix, const complex_array& vector)
{
    complex_array response;
    response.reserve(matrix.size());
    for (const complex_array& row : matrix)
    {
        std::complex<float> sum(0.0f, 0.0f);
        for (std::size_t i = 0; i < row.size(); ++i)
            sum += common_lib::complex_product(row[i], vector[i]);
        response.push_back(sum);
    }
    return response;
}

complex_array conjugate(complex_array values)
{
    for (std::complex<float>& value : values)
        value = std::conj(value);
    return values;
}
float get_energy(const complex_array& values)
{
    float energy = 0.0f;
    for (const std::complex<float>& value : values)
        energy += std::norm(value);
    return energy;
}

/// The reference is the first column of its matrix, so the inverse has to turn it into one tap. It does not when the reference
/// is weak at some frequency: the matrix is singular then as far as single precision can tell.
bool is_inverse(const complex_matrix& inverse, const complex_array& ref)
{
    complex_array taps = deal_response(inverse, ref);
    taps.front() -= 1.0f;
    return get_energy(taps) < largest_tap_error * largest_tap_error;
}

/// Whether there is anything but rounding behind the channel's taps: a reference of real values is its own conjugate.
bool has_tail(const complex_array& response, const complex_array& tail)
{
    return get_energy(tail) > smallest_tail * smallest_tail * get_energy(response);
}

complex_array get_tail(const complex_array& response)
{
    return { response.begin() + static_cast<std::ptrdiff_t>(channel_taps), response.end() };
}

/// Least squares: y = coefficients * regressors, all of them rows. @return empty when the regressors do not settle it
complex_matrix cal_coefficients(const complex_matrix& regressors, const complex_array& y)
{
    using common_t = lib_dma_phy_common_t;
    complex_matrix conjugated;
    for (const complex_array& row : regressors)
        conjugated.push_back(conjugate(row));
    const complex_matrix normal = common_t::transposed_multiply(regressors, conjugated);
    const complex_matrix inverse = common_t::inv(normal, true);
    if (inverse.empty())
        return {};
    const float level = normal[0][0].real() * normal[1][1].real();
    if (!(common_t::determinant(normal).real() > smallest_determinant * level))
        return {};
    return common_t::matric_multiply(common_t::transposed_multiply({ y }, conjugated), inverse);
}
} // namespace

bool lib_dma_phy_common_t::deal_iqoffset(const complex_array& meas, const complex_array& ref, float& iq_offset, float& quad_error,
                                         float& gain_imbalance)
{
    const std::size_t size = meas.size();
    if (size < shortest_record)
    {
        DMA_LOG_ERROR("lib_dma_phy_common_t::deal_iqoffset:data is too short!\n");
        return false;
    }
    if (size > iq_model_longest_record)
    {
        DMA_LOG_ERROR("lib_dma_phy_common_t::deal_iqoffset:data is too long!\n");
        return false;
    }
    const complex_matrix inverse = ref.size() == size ? inv(make_shift_matrix(ref), true) : complex_matrix();
    if (inverse.empty() || !is_inverse(inverse, ref))
    {
        DMA_LOG_ERROR("lib_dma_phy_common_t::deal_iqoffset:inverse error!\n");
        return false;
    }
    const complex_array image = deal_response(inverse, conjugate(meas));
    const complex_matrix regressors = { get_tail(image), get_tail(deal_response(inverse, complex_array(size, { 1.0f, 0.0f }))) };
    const complex_matrix coefficients = has_tail(image, regressors.front())
                                            ? cal_coefficients(regressors, get_tail(deal_response(inverse, meas)))
                                            : complex_matrix();
    if (coefficients.empty())
    {
        DMA_LOG_ERROR("lib_dma_phy_common_t::deal_iqoffset:inverse error!\n");
        return false;
    }
    const std::complex<float> image_gain = coefficients[0][0];
    const std::complex<float> rail_ratio = (1.0f - image_gain) / (1.0f + image_gain);
    iq_offset = 20.0f * std::log10(lib_common_math_t::get_complex_amplitude(coefficients[0][1]));
    quad_error =
        static_cast<float>(static_cast<double>(lib_common_math_t::get_complex_phase(rail_ratio)) * 180.0 / common_lib::pi);
    gain_imbalance = 20.0f * std::log10(lib_common_math_t::get_complex_amplitude(rail_ratio));
    return true;
}
} // namespace vrim::dma_demod_lib
