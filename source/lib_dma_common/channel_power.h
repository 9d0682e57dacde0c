#pragma once

#include <complex>
#include <cstdint>
#include <span>

namespace vrim::dma_demod_lib
{
/// What `lib_dma_phy_common_t::channel_power` does, over a stretch of a longer array.
float cal_channel_power(std::span<const std::complex<float>> data, std::uint32_t load, float sample_rate, float bandwidth,
                        bool half_power);
} // namespace vrim::dma_demod_lib
