#pragma once

#include "support/internal/complex_ops.h"

#include <array>
#include <complex>
#include <cstddef>

namespace vrim::dma_demod_lib::demod_stage
{
/// Points e^(j k 2 pi / M) of the sector that an angle lies in.
/// @param half_sectors  upper borders of the sectors 0, 1, ... in radians; the sectors below 0 mirror them
template <std::size_t border_count>
inline std::complex<float> slice_sector(std::complex<float> point, float rotation, const std::array<float, border_count>& half_sectors,
                                 float sector)
{
    constexpr float half_turn = 3.14159274f;
    const float angle = common_lib::phase_of(point);
    const std::complex<float> turn = common_lib::unit_phasor(rotation);
    for (std::size_t k = 0; k < border_count; ++k)
    {
        if (k == 0 ? angle > -half_sectors[0] && angle <= half_sectors[0]
                   : angle > half_sectors[k - 1] && angle <= half_sectors[k])
            return common_lib::complex_product(common_lib::unit_phasor(static_cast<float>(k) * sector), turn);
        if (k > 0 && angle > -half_sectors[k] && angle <= -half_sectors[k - 1])
            return common_lib::complex_product(common_lib::unit_phasor(-static_cast<float>(k) * sector), turn);
    }
    return common_lib::complex_product(common_lib::unit_phasor(half_turn), turn);
}

/// Points on the real axis, turned by `rotation`.
inline std::complex<float> slice_2_sectors(std::complex<float> point, float rotation)
{
    return slice_sector<1>(point, rotation, { 1.57079637f }, 3.14159274f);
}

/// Points on both axes, turned by `rotation`.
inline std::complex<float> slice_4_sectors(std::complex<float> point, float rotation)
{
    return slice_sector<2>(point, rotation, { 0.7853982f, 2.3561945f }, 1.57079637f);
}

/// Points at the multiples of 45 degrees, turned by `rotation`.
inline std::complex<float> slice_8_sectors(std::complex<float> point, float rotation)
{
    return slice_sector<4>(point, rotation, { 0.3926991f, 1.1780972f, 1.9634954f, 2.7488935f }, 0.7853982f);
}

/// Points at the multiples of 22.5 degrees, turned by `rotation`.
inline std::complex<float> slice_16_sectors(std::complex<float> point, float rotation)
{
    return slice_sector<8>(point, rotation,
                           { 0.19634955f, 0.58904862f, 0.98174769f, 1.3744468f, 1.7671459f, 2.1598449f, 2.552544f, 2.9452431f },
                           0.3926991f);
}
} // namespace vrim::dma_demod_lib::demod_stage
