#include "lib_dma_demod/stage/meas_filter.h"

#include "lib_dma_common/lib_dma_phy_common.h"

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

meas_filter_result_t deal_meas_filter(lib_dma_meas_filter_type_t type, std::uint32_t filter_length, float alpha,
                                      std::uint32_t sps, lib_filter_t& filter, complex_array& data)
{
    complex_array taps;
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
    lib_filter_t::deal_filter(taps, data, common_lib::filter_delay_compensated);
    return result;
}
} // namespace vrim::dma_demod_lib::demod_stage
