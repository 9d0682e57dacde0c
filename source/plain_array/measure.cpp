#include "plain_array/measure.h"

#include "lib_dma_common/lib_dma_phy_common.h"
#include "plain_array/internal/split_array.h"
#include "lib_dma_common/reference_constellation.h"
#include "support/internal/complex_ops.h"
#include "support/lib_common_math.h"
#include "support/lib_common_polyfit.h"
#include "support/trace_output.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <utility>

namespace vrim::dma_demod_lib
{
using common_lib::lib_common_math_t;
using split_array::has_arrays;
using split_array::join;

namespace
{
constexpr float no_figure = std::numeric_limits<float>::quiet_NaN();
constexpr double no_wide_figure = std::numeric_limits<double>::quiet_NaN();
} // namespace

float rms(const float* in_i, const float* in_q, std::uint32_t length)
{
    return rms(in_i, in_q, 0, length);
}

float rms(const float* in_i, const float* in_q, std::uint32_t start, std::uint32_t length)
{
    if (!has_arrays("error: rms(): null pointer\n", length, in_i, in_q))
        return no_figure;
    const std::size_t first = length == 0 ? 0 : start; // no step away from a null pointer
    return lib_common_math_t::get_complex_array_rms(join(in_i + first, in_q + first, length));
}

float rms(const float* data, std::uint32_t length)
{
    if (!has_arrays("error: rms(): null pointer\n", length, data))
        return no_figure;
    return lib_common_math_t::get_complex_array_rms(join(data, length));
}

bool error_vector_cal(const float* meas_i, const float* meas_q, const float* ref_i, const float* ref_q, std::uint32_t length,
                      float* out_i, float* out_q)
{
    if (!has_arrays("error: error_vector_cal(): null pointer\n", length, meas_i, meas_q, ref_i, ref_q, out_i, out_q))
        return false;
    complex_array error;
    lib_dma_phy_common_t::error_vector_cal(join(meas_i, meas_q, length), join(ref_i, ref_q, length), error);
    split_array::split(error, out_i, out_q);
    return true;
}

bool mag_error_cal(const float* meas_i, const float* meas_q, const float* ref_i, const float* ref_q, std::uint32_t length,
                   float* out)
{
    if (!has_arrays("error: mag_error_cal(): null pointer\n", length, meas_i, meas_q, ref_i, ref_q, out))
        return false;
    float_array error;
    lib_dma_phy_common_t::mag_error_cal(join(meas_i, meas_q, length), join(ref_i, ref_q, length), error);
    std::copy(error.begin(), error.end(), out);
    return true;
}

bool phase_error_cal(const float* meas_i, const float* meas_q, const float* ref_i, const float* ref_q, std::uint32_t length,
                     float* out)
{
    if (!has_arrays("error: phase_error_cal(): null pointer\n", length, meas_i, meas_q, ref_i, ref_q, out))
        return false;
    float_array error;
    lib_dma_phy_common_t::phase_error_cal(join(meas_i, meas_q, length), join(ref_i, ref_q, length), error);
    std::copy(error.begin(), error.end(), out);
    return true;
}

double snr_cal(const float* meas_i, const float* meas_q, const float* ref_i, const float* ref_q, std::uint32_t length)
{
    if (!has_arrays("error: snr_cal(): null pointer\n", length, meas_i, meas_q, ref_i, ref_q))
        return no_wide_figure;
    return lib_dma_phy_common_t::snr_cal(join(meas_i, meas_q, length), join(ref_i, ref_q, length));
}

float gain_imbalance_cal(const float* in_i, const float* in_q, std::uint32_t length)
{
    if (!has_arrays("error: gain_imbalance_cal(): null pointer\n", length, in_i, in_q))
        return no_figure;
    return lib_dma_phy_common_t::gain_imbalance_cal(join(in_i, in_q, length));
}

float iq_offset_cal(const float* error_i, const float* error_q, std::uint32_t length)
{
    if (!has_arrays("error: iq_offset_cal(): null pointer\n", length, error_i, error_q))
        return no_figure;
    return lib_dma_phy_common_t::iq_offset_cal(join(error_i, error_q, length));
}

double freq_error_cal(const float* meas_i, const float* meas_q, const float* ref_i, const float* ref_q, std::uint32_t length,
                      double rate)
{
    if (!has_arrays("error: freq_error_cal(): null pointer\n", length, meas_i, meas_q, ref_i, ref_q))
        return no_wide_figure;
    // The product with the conjugate needs no fold, so one unwrapping is enough.
    complex_array products = join(meas_i, meas_q, length);
    for (std::size_t k = 0; k < products.size(); ++k)
        products[k] = common_lib::complex_product(products[k], { ref_i[k], -ref_q[k] });
    float_array phases;
    lib_common_math_t::get_complex_array_phase(products, phases);
    lib_dma_phy_common_t::phase_unwrap(phases);

    float_array positions(phases.size());
    for (std::size_t k = 0; k < positions.size(); ++k)
        positions[k] = static_cast<float>(k);
    float_array fit;
    if (!common_lib::lib_dma_common_polyfit_t::deal_polyfit(std::move(positions), std::move(phases), 1, fit))
        return no_wide_figure;
    return static_cast<double>(fit.at(0)) / common_lib::two_pi * rate;
}

float quad_error_cal(const float* in_i, const float* in_q, std::uint32_t length, float threshold, float rotation)
{
    if (!has_arrays("error: quad_error_cal(): null pointer\n", length, in_i, in_q))
        return no_figure;
    return lib_dma_phy_common_t::quad_error_cal(join(in_i, in_q, length), threshold, rotation);
}

float qam_quad_error_cal(lib_dma_qam_modulation_type_t format, const float* in_i, const float* in_q, std::uint32_t length)
{
    if (constellation_map map; !make_qam_points(format, map, common_lib::constellation_normalize_none))
    {
        common_log::trace_output_t::get_instance().write("error: qam_quad_error_cal(): unknown format\n");
        return no_figure;
    }
    if (!has_arrays("error: qam_quad_error_cal(): null pointer\n", length, in_i, in_q))
        return no_figure;
    return lib_dma_phy_common_t::qam_quad_error_cal(format, join(in_i, in_q, length));
}
} // namespace vrim::dma_demod_lib
