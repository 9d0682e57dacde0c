#include "lib_dma_phy.h"

#include "lib_dma_common/lib_dma_phy_common.h"
#include "lib_dma_common/reference_constellation.h"
#include "support/log_macro.h"
#include "support/trace_output.h"

namespace vrim::dma_demod_lib
{
bool lib_dma_phy_t::generate_qam_constellation(lib_dma_qam_modulation_type_t format, std::uint32_t, constellation_map& map,
                                               common_lib::lib_constellation_normalize_type_t normalize_type)
{
    if (!make_qam_points(format, map, normalize_type))
        DMA_LOG_ERROR("lib_dma_phy_t::generate_qam_constellation error!\n");
    return true;
}

bool lib_dma_phy_t::generate_psk_constellation(lib_dma_psk_modulation_type_t format, std::uint32_t, constellation_map& map,
                                               common_lib::lib_constellation_normalize_type_t normalize_type)
{
    if (!make_psk_points(format, map))
        DMA_LOG_ERROR("lib_dma_phy_t::generate_psk_constellation error!\n");
    // An empty map goes on into the scaling, whose report tells that there is nothing to scale.
    normalize_points(map, normalize_type);
    return true;
}

bool lib_dma_phy_t::generate_ask_constellation(lib_dma_ask_modulation_type_t format, std::uint32_t, constellation_map& map,
                                               common_lib::lib_constellation_normalize_type_t normalize_type)
{
    if (!make_ask_points(format, map, normalize_type))
        DMA_LOG_ERROR("lib_dma_phy_t::generate_sk_constellation error!\n");
    return true;
}

bool lib_dma_phy_t::generate_dpsk_constellation(lib_dma_dpsk_modulation_type_t format, std::uint32_t, constellation_map& map,
                                                common_lib::lib_constellation_normalize_type_t normalize_type)
{
    if (!make_dpsk_points(format, map))
        DMA_LOG_ERROR("lib_dma_phy_t::generate_dpsk_constellation error!\n");
    normalize_points(map, normalize_type);
    return true;
}

bool lib_dma_phy_t::generate_fsk_constellation(lib_dma_fsk_modulation_type_t format, std::uint32_t, constellation_map& map,
                                               common_lib::lib_constellation_normalize_type_t normalize_type)
{
    if (!make_fsk_points(format, map))
        DMA_LOG_ERROR("lib_dma_phy_t::generate_fsk_constellation error!\n");
    normalize_points(map, normalize_type);
    return true;
}

bool lib_dma_phy_t::generate_oqpsk_constellation(lib_dma_oqpsk_modulation_type_t format, std::uint32_t, constellation_map& map,
                                                 common_lib::lib_constellation_normalize_type_t normalize_type)
{
    if (!make_oqpsk_points(format, map))
        DMA_LOG_ERROR("lib_dma_phy_t::generate_oqpsk_constellation error!");
    normalize_points(map, normalize_type);
    return true;
}

bool lib_dma_phy_t::generate_apsk_constellation(lib_dma_apsk_modulation_type_t format, std::uint32_t segment_index,
                                                constellation_map& map,
                                                common_lib::lib_constellation_normalize_type_t normalize_type)
{
    map.clear();
    const auto& format_configure = frame_.get_segment(segment_index).get_format_configure();
    const float r2_r1 = format_configure.get_apsk_r2_r1();
    const float r3_r1 = format_configure.get_apsk_r3_r1();
    if (format == LIB_DMA_APSK_16)
        lib_dma_phy_common_t::generate_16apsk_constellation(map, false, r2_r1, 0.0f, 0.0f);
    else if (format == LIB_DMA_APSK_32)
        lib_dma_phy_common_t::generate_32apsk_constellation(map, false, r2_r1, r3_r1, 0.0f, 0.0f, 0.0f);
    else
    {
        common_log::print_trace_line("lib_dma_phy_t::generate_apsk_constellation Report: Illegal Constellation Point!");
        return false;
    }
    normalize_points(map, normalize_type);
    return true;
}
} // namespace vrim::dma_demod_lib
