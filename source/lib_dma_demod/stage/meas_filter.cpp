#include "lib_dma_demod/stage/meas_filter.h"

#include "lib_dma_common/lib_dma_phy_common.h"
#include "support/internal/convolution.h"

#include <cmath>

namespace vrim::dma_demod_lib::demod_stage
{
using common_lib::lib_filter_t;

void scale_to_unit_gain(std::uint32_t sps, complex_array& taps)
{
    const float root = std::sqrt(static_cast<float>(sps));
    for (std::complex<float>& tap : taps)
        tap = { tap.real() / root, tap.imag() / root };
}

namespace
{
/// @param[out] taps  none for the type none
meas_filter_result_t generate_meas_taps(lib_dma_meas_filter_type_t type, std::uint32_t filter_length, float alpha,
                                        std::uint32_t sps, lib_filter_t& filter, complex_array& taps)
{
    meas_filter_result_t result = { true, true };
    switch (type)
    {
    case LIB_DMA_MEAS_RECTANGULAR_FILTER:
        lib_dma_phy_common_t::gen_rectangular_filter(filter_length, sps, taps);
        break;
    case LIB_DMA_MEAS_EDGE_FILTER:
        lib_dma_phy_common_t::deal_edge_filter(sps, taps);
        break;
    default:
        filter.set_filter_length(filter_length);
        filter.set_filter_alpha(static_cast<double>(alpha));
        filter.set_oversampling_ratio(sps);
        switch (type)
        {
        case LIB_DMA_MEAS_NONE_FILTER:
            filter.set_filter_type(common_lib::filter_identity);
            return result;
        case LIB_DMA_MEAS_COSINE_FILTER:
        case LIB_DMA_MEAS_LOW_PASS_FILTER:
        case LIB_DMA_MEAS_USER_DEFINE_FILTER:
            break;
        case LIB_DMA_MEAS_RAISED_COSINE_FILTER:
            filter.set_filter_type(common_lib::filter_raised_cosine);
            break;
        case LIB_DMA_MEAS_ROOT_RAISED_COSINE_FILTER:
            filter.set_filter_type(common_lib::filter_root_raised_cosine);
            break;
        case LIB_DMA_MEAS_GAUSSIAN_FILTER:
            filter.set_filter_type(common_lib::filter_gaussian);
            break;
        default:
            result.known = false;
            break;
        }
        if (!filter.generate_filter_data(taps) || taps.empty())
        {
            result.succeeded = false;
            return result;
        }
        if (type == LIB_DMA_MEAS_RAISED_COSINE_FILTER || type == LIB_DMA_MEAS_ROOT_RAISED_COSINE_FILTER)
            scale_to_unit_gain(sps, taps);
        break;
    }
    return result;
}
} // namespace

meas_filter_result_t deal_meas_filter(lib_dma_meas_filter_type_t type, std::uint32_t filter_length, float alpha,
                                      std::uint32_t sps, lib_filter_t& filter, complex_array& data)
{
    return deal_meas_filter(type, filter_length, alpha, sps, filter, data, data);
}

meas_filter_result_t deal_meas_filter(lib_dma_meas_filter_type_t type, std::uint32_t filter_length, float alpha,
                                      std::uint32_t sps, lib_filter_t& filter, const complex_array& data, complex_array& out)
{
    complex_array taps;
    const meas_filter_result_t result = generate_meas_taps(type, filter_length, alpha, sps, filter, taps);
    if (result.succeeded && !taps.empty())
        common_lib::convolve(taps, data, (taps.size() - 1) / 2, data.size(), out);
    else if (&out != &data)
        out = data;
    return result;
}
} // namespace vrim::dma_demod_lib::demod_stage
