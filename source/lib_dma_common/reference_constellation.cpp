#include "lib_dma_common/reference_constellation.h"

#include "lib_dma_common/lib_dma_phy_common.h"
#include "support/internal/complex_ops.h"

#include <complex>
#include <cstdint>

namespace vrim::dma_demod_lib
{
namespace
{
/// Turn by -pi/4.
constexpr std::complex<float> eighth_turn_back = { 0.70710677f, -0.70710677f };

void zero_non_finite_points(constellation_map& map)
{
    for (auto& [key, point] : map)
        point = common_lib::finite_or_zero(point);
}

std::uint32_t get_qam_point_count(lib_dma_qam_modulation_type_t format)
{
    switch (static_cast<std::uint32_t>(format))
    {
    case LIB_DMA_QAM_16:
    case LIB_DMA_QAM_PI_16:
        return 16;
    case LIB_DMA_QAM_32:
    case LIB_DMA_QAM_NEGATIVE_PI_32:
        return 32;
    case LIB_DMA_QAM_64:
        return 64;
    case LIB_DMA_QAM_128:
        return 128;
    case LIB_DMA_QAM_256:
        return 256;
    case LIB_DMA_QAM_512:
        return 512;
    case LIB_DMA_QAM_1024:
        return 1024;
    case 7: // unassigned
        return 2048;
    case LIB_DMA_QAM_4096:
        return 4096;
    default:
        return 0;
    }
}
} // namespace

bool make_psk_points(lib_dma_psk_modulation_type_t format, constellation_map& map)
{
    map.clear();
    switch (format)
    {
    case LIB_DMA_MODULATION_PSK_BPSK:
        common_lib::lib_constellation_psk_t::generate_default_psk_constellation(2, map, false);
        return true;
    case LIB_DMA_MODULATION_PSK_QPSK:
    case LIB_DMA_MODULATION_PSK_3PI_4_QPSK:
        common_lib::lib_constellation_psk_t::generate_default_psk_constellation(4, map, false);
        return true;
    case LIB_DMA_MODULATION_PSK_8_PSK:
    case LIB_DMA_MODULATION_PSK_3PI_8_PSK:
        common_lib::lib_constellation_psk_t::generate_default_psk_constellation(8, map, false);
        zero_non_finite_points(map);
        return true;
    }
    return false;
}

bool make_dpsk_points(lib_dma_dpsk_modulation_type_t format, constellation_map& map)
{
    map.clear();
    switch (format)
    {
    case LIB_DMA_MODULATION_PSK_DBPSK:
        common_lib::lib_constellation_dpsk_t::generate_default_dpsk_constellation(2, map, false);
        return true;
    case LIB_DMA_MODULATION_PSK_DQPSK:
        common_lib::lib_constellation_dpsk_t::generate_default_dpsk_constellation(4, map, false);
        zero_non_finite_points(map);
        for (auto& [key, point] : map)
            point = common_lib::complex_product(point, eighth_turn_back);
        return true;
    case LIB_DMA_MODULATION_PSK_PI_4_DQPSK:
        common_lib::lib_constellation_dpsk_t::generate_default_dpsk_constellation(8, map, false);
        return true;
    case LIB_DMA_MODULATION_PSK_PI_8_D8PSK:
        common_lib::lib_constellation_dpsk_t::generate_default_dpsk_constellation(16, map, false);
        return true;
    case LIB_DMA_MODULATION_PSK_D8PSK:
        common_lib::lib_constellation_dpsk_t::generate_default_dpsk_constellation(8, map, false);
        zero_non_finite_points(map);
        return true;
    }
    return false;
}

bool make_fsk_points(lib_dma_fsk_modulation_type_t format, constellation_map& map)
{
    map.clear();
    switch (format)
    {
    case LIB_DMA_FSK_2:
    case LIB_DMA_FSK_4:
    case LIB_DMA_FSK_8:
    case LIB_DMA_FSK_16:
    case LIB_DMA_FSK_32:
    case LIB_DMA_FSK_64:
        common_lib::lib_constellation_fsk_t::generate_default_fsk_constellation(static_cast<std::uint32_t>(format), map, false);
        return true;
    }
    return false;
}

bool make_oqpsk_points(lib_dma_oqpsk_modulation_type_t format, constellation_map& map)
{
    map.clear();
    switch (format)
    {
    case LIB_DMA_MODULATION_PSK_OFFSET_QPSK:
    case LIB_DMA_MODULATION_PSK_OFFSET_SHAPED_QPSK:
        common_lib::lib_constellation_psk_t::generate_default_psk_constellation(4, map, false);
        return true;
    }
    return false;
}

bool make_qam_points(lib_dma_qam_modulation_type_t format, constellation_map& map,
                     common_lib::lib_constellation_normalize_type_t normalize_type)
{
    map.clear();
    const std::uint32_t points = get_qam_point_count(format);
    if (points == 0)
        return false;
    common_lib::lib_constellation_qam_t::generate_default_qam_constellation(points, map, false, normalize_type);
    return true;
}

bool make_ask_points(lib_dma_ask_modulation_type_t format, constellation_map& map,
                     common_lib::lib_constellation_normalize_type_t normalize_type)
{
    map.clear();
    switch (format)
    {
    case LIB_DMA_ASK_2:
    case LIB_DMA_ASK_4:
    case LIB_DMA_ASK_8:
    case LIB_DMA_ASK_16:
        common_lib::lib_constellation_ask_t::generate_default_ask_constellation(static_cast<std::uint32_t>(format), map, 1.0f,
                                                                                false, normalize_type);
        return true;
    }
    return false;
}

bool normalize_points(constellation_map& map, common_lib::lib_constellation_normalize_type_t normalize_type)
{
    if (normalize_type == common_lib::constellation_normalize_rms)
        return lib_dma_phy_common_t::rms_normalize(map);
    if (normalize_type == common_lib::constellation_normalize_max)
        return lib_dma_phy_common_t::amplitude_max_normalize(map);
    return true;
}
} // namespace vrim::dma_demod_lib
