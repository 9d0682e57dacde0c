#include "lib_dma_common/lib_dma_phy_common.h"

#include "support/internal/complex_ops.h"
#include "support/lib_normalization.h"
#include "support/log_macro.h"
#include "support/trace_output.h"

#include <algorithm>
#include <cstddef>

namespace vrim::dma_demod_lib
{
namespace
{
constexpr float least_r2_r1 = 1.25f;
constexpr float largest_r2_r1 = 8.0f;
constexpr float least_r3_r1 = 1.5625f;
constexpr float largest_r3_r1 = 10.0f;

constexpr float pi_single = static_cast<float>(common_lib::pi);
constexpr float two_pi_single = static_cast<float>(common_lib::two_pi);

/// Adds one ring, its first point at angle `first`, in single precision.
void add_ring(constellation_map& map, const std::vector<std::uint32_t>& keys, float radius, float first)
{
    const float count = static_cast<float>(keys.size());
    for (std::size_t i = 0; i < keys.size(); ++i)
    {
        const float angle = first + static_cast<float>(i) * two_pi_single / count;
        const std::complex<float> turn = common_lib::unit_phasor(angle);
        map[keys[i]] = { radius * turn.real(), radius * turn.imag() };
    }
}

bool is_outside(float value, float least, float largest)
{
    return value < least || value > largest;
}

template <typename normalize_t>
bool normalize_map(constellation_map& map, normalize_t normalize)
{
    if (map.empty())
    {
        common_log::print_trace_line("lib_constellation_base_t::normalize Report: An EMPTY data map is to normalize!");
        return false;
    }
    complex_array points;
    points.reserve(map.size());
    for (const auto& [key, point] : map)
        points.push_back(point);
    normalize(points);
    auto next = points.cbegin();
    for (auto& [key, point] : map)
        point = *next++;
    return true;
}
} // namespace

void lib_dma_phy_common_t::generate_16apsk_constellation(constellation_map& map, bool dvb_order, float r2_r1, float phase1,
                                                         float phase2)
{
    map.clear();
    if (is_outside(r2_r1, least_r2_r1, largest_r2_r1))
    {
        common_log::print_trace_line("lib_constellation_apsk_t::generate_16apsk_constellation Report: R2/R1 value out of range!");
    }
    std::vector<std::uint32_t> ring1;
    std::vector<std::uint32_t> ring2;
    get_16apsk_symbol_arr(ring1, ring2, dvb_order);
    add_ring(map, ring1, 1.0f, phase1 + pi_single / 4.0f);
    add_ring(map, ring2, r2_r1, phase2 + pi_single / 4.0f);
}

void lib_dma_phy_common_t::generate_32apsk_constellation(constellation_map& map, bool dvb_order, float r2_r1, float r3_r1,
                                                         float phase1, float phase2, float phase3)
{
    map.clear();
    const float r3_min = std::max(r2_r1, least_r3_r1);
    if (is_outside(r2_r1, least_r2_r1, largest_r2_r1) || is_outside(r3_r1, r3_min, largest_r3_r1))
    {
        common_log::print_trace_line(
            "lib_constellation_apsk_t::generate_32apsk_constellation Report: R2/R1 or R3/R1 value out of range!");
    }
    std::vector<std::uint32_t> ring1;
    std::vector<std::uint32_t> ring2;
    std::vector<std::uint32_t> ring3;
    get_32apsk_symbol_arr(ring1, ring2, ring3, dvb_order);
    add_ring(map, ring1, 1.0f, phase1 + pi_single / 4.0f);
    add_ring(map, ring2, r2_r1, phase2 + pi_single / 4.0f);
    add_ring(map, ring3, r3_r1, phase3 + pi_single / 8.0f);
}

void lib_dma_phy_common_t::get_16apsk_symbol_arr(std::vector<std::uint32_t>& ring1, std::vector<std::uint32_t>& ring2,
                                                 bool dvb_order)
{
    if (dvb_order)
    {
        ring1 = { 12, 14, 15, 13 };
        ring2 = { 0, 8, 10, 2, 6, 7, 3, 11, 9, 1, 5, 4 };
        return;
    }
    ring1 = { 12, 13, 14, 15 };
    ring2 = { 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11 };
}

void lib_dma_phy_common_t::get_32apsk_symbol_arr(std::vector<std::uint32_t>& ring1, std::vector<std::uint32_t>& ring2,
                                                 std::vector<std::uint32_t>& ring3, bool dvb_order)
{
    if (dvb_order)
    {
        ring1 = { 17, 21, 23, 19 };
        ring2 = { 0, 1, 5, 4, 20, 22, 6, 7, 3, 2, 18, 16 };
        ring3 = { 8, 25, 9, 13, 29, 12, 28, 30, 14, 31, 15, 11, 27, 10, 26, 24 };
        return;
    }
    ring1 = { 28, 29, 30, 31 };
    ring2 = { 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27 };
    ring3 = { 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15 };
}

bool lib_dma_phy_common_t::rms_normalize(constellation_map& map)
{
    return normalize_map(map, [](complex_array& points) { common_lib::lib_normalization_t::rms_normalize(points); });
}

bool lib_dma_phy_common_t::amplitude_max_normalize(constellation_map& map)
{
    return normalize_map(map, [](complex_array& points) { common_lib::lib_normalization_t::amplitude_max_normalize(points); });
}

qam_norm_t lib_dma_phy_common_t::qam_get_norm_param(lib_dma_qam_modulation_type_t format)
{
    constexpr qam_norm_t qam_16 = { 0.31622776f, 0, 0.22135943f, 0.08f };
    switch (static_cast<std::uint32_t>(format))
    {
    case LIB_DMA_QAM_16:
    case LIB_DMA_QAM_PI_16:
        return qam_16;
    case LIB_DMA_QAM_32:
    case LIB_DMA_QAM_NEGATIVE_PI_32:
        return { 0.2236068f, 1, 0.15652476f, 0.06f };
    case LIB_DMA_QAM_64:
        return { 0.15430336f, 0, 0.10801235f, 0.03f };
    case LIB_DMA_QAM_128:
        return { 0.11043153f, 2, 0.055215765f, 0.03f };
    case LIB_DMA_QAM_256:
        return { 0.0766965f, 0, 0.05368755f, 0.02f };
    case LIB_DMA_QAM_512:
        return { 0.05504819f, 4, 0.038533732f, 0.1f };
    case LIB_DMA_QAM_1024:
        return { 0.03829198f, 0, 0.026804386f, 0.0052f };
    case 7: // unassigned: 2048 points
        return { 0.027503267f, 8, 0.019252287f, 0.0052f };
    case LIB_DMA_QAM_4096:
        // A tuned value: the point set at rms 1 has 1 / sqrt(2730).
        return { 0.0205412f, 0, 0.01437884f, 0.008f };
    default:
        DMA_LOG_ERROR("lib_dma_phy_common_t::qam_get_norm_param error!\n");
        return qam_16;
    }
}

apsk_norm_t lib_dma_phy_common_t::apsk_get_norm_param(lib_dma_apsk_modulation_type_t format, float radius_ratio)
{
    const float mag_threshold = 0.7f / radius_ratio;
    switch (format)
    {
    case LIB_DMA_APSK_16:
        return { mag_threshold, 0.08f };
    case LIB_DMA_APSK_32:
        return { mag_threshold, 0.06f };
    }
    DMA_LOG_ERROR("lib_dma_phy_common_t::apsk_get_norm_param error!\n");
    return {};
}
} // namespace vrim::dma_demod_lib
