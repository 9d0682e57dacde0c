#include "lib_dma_demod/lib_dma_qam_common.h"

#include "support/internal/complex_ops.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace vrim::dma_demod_lib
{
namespace
{
struct qam_facts_t
{
    float max_mag;
    std::uint32_t square_len;
    std::uint32_t bit_num;
    float mean_outer_mag;
};

constexpr qam_facts_t facts[] = {
    { 4.2426405f, 4, 4, 0.872678f },    { 7.071068f, 6, 5, 0.7728657f },    { 9.899495f, 8, 6, 0.93448305f },
    { 15.556349f, 12, 7, 0.807434f },   { 21.213203f, 16, 8, 0.96785563f }, { 32.526913f, 24, 9, 26.939375f },
    { 43.840622f, 32, 10, 43.145294f },
};

const qam_facts_t& get_facts(lib_dma_qam_modulation_type_t format)
{
    const std::uint32_t number = static_cast<std::uint32_t>(format);
    if (format == LIB_DMA_QAM_NEGATIVE_PI_32)
        return facts[LIB_DMA_QAM_32];
    return facts[number < std::size(facts) ? number : 0];
}

/// @param unit  half the distance of neighbouring levels at scale 1
/// @param side  count of levels
float slice_rail(float value, float unit, float side, float scale)
{
    const float level = value / scale;
    const float amplitude = std::abs(level);
    if (!(amplitude > 0.0f))
        return 0.0f;
    const float odd = 2.0f * std::ceil(amplitude / (2.0f * unit)) - 1.0f;
    return std::copysign(std::min(odd, side - 1.0f) * unit, level) * scale;
}

std::complex<float> slice_point(std::complex<float> point, float unit, float side, float scale)
{
    return { slice_rail(point.real(), unit, side, scale), slice_rail(point.imag(), unit, side, scale) };
}
} // namespace

float lib_dma_qam_common_t::qam_get_rms(lib_dma_qam_modulation_type_t format)
{
    constexpr float rms[] = { 1.5811388f, 2.236068f, 3.24037f,   4.527693f, 6.519202f, 9.082951f,
                              13.057565f, 1.581139f, 26.124701f, 1.581139f, 2.236068f };
    const std::uint32_t number = static_cast<std::uint32_t>(format);
    return number < std::size(rms) ? rms[number] : 1.5811388f;
}

float lib_dma_qam_common_t::qam_get_max_mag(lib_dma_qam_modulation_type_t format)
{
    return get_facts(format).max_mag;
}

std::uint32_t lib_dma_qam_common_t::qam_get_square_len(lib_dma_qam_modulation_type_t format)
{
    return get_facts(format).square_len;
}

std::uint32_t lib_dma_qam_common_t::qam_get_bit_num(lib_dma_qam_modulation_type_t format)
{
    const std::uint32_t number = static_cast<std::uint32_t>(format);
    if (number == 7 || number == LIB_DMA_QAM_4096)
        return number + 4; // the formats rise by one bit each from 16 points on
    return get_facts(format).bit_num;
}

float lib_dma_qam_common_t::qam_get_mean_outer_mag(lib_dma_qam_modulation_type_t format)
{
    return get_facts(format).mean_outer_mag;
}

float lib_dma_qam_common_t::qam_get_max_outer_mag(lib_dma_qam_modulation_type_t format)
{
    return static_cast<float>(static_cast<double>(qam_get_max_mag(format)) /
                              std::sqrt(get_average_power(qam_get_bit_num(format), true)));
}

void lib_dma_qam_common_t::qam_outer_mag_norm(lib_dma_qam_modulation_type_t format, complex_array& symbols)
{
    float largest = 0.0f;
    for (const std::complex<float>& symbol : symbols)
        largest = std::max(largest, common_lib::amplitude_of(symbol));
    if (!(largest > 0.0f) || !std::isfinite(largest))
        return;
    const float factor = qam_get_max_outer_mag(format) / largest;
    for (std::complex<float>& symbol : symbols)
        symbol *= factor;
}

void lib_dma_qam_common_t::generate_square_constellation(std::uint32_t side, constellation_map& map)
{
    constexpr std::uint32_t largest_side = 64;
    map.clear();
    if (side > largest_side)
        return;
    const float last = static_cast<float>(side) - 1.0f;
    for (std::uint32_t key = 0; key < side * side; ++key)
        map[key] = { 2.0f * static_cast<float>(key / side) - last, 2.0f * static_cast<float>(key % side) - last };
}

float lib_dma_qam_common_t::sign(float x)
{
    return x > 0.0f ? 1.0f : (x < 0.0f ? -1.0f : 0.0f);
}

double lib_dma_qam_common_t::get_average_power(std::uint32_t bits, bool enable)
{
    if (!enable)
        return 1.0;
    const double points = std::ldexp(1.0, static_cast<int>(std::min(bits, 1000u)));
    if (bits == 1 || bits == 3)
        return (points * 5.0 * 0.25 - 1.0) * 2.0 / 3.0;
    if (bits % 2 == 1)
        return (points * 31.0 * 0.03125 - 1.0) * 2.0 / 3.0;
    return 2.0 * (points - 1.0) / 3.0;
}

std::complex<float> lib_dma_qam_common_t::qam_judge_16(std::complex<float> point, float scale)
{
    return slice_point(point, 0.31622776f, 4.0f, scale);
}

std::complex<float> lib_dma_qam_common_t::qam_judge_32(std::complex<float> point, float scale)
{
    return slice_point(point, 0.2236068f, 6.0f, scale);
}

std::complex<float> lib_dma_qam_common_t::qam_judge_64(std::complex<float> point, float scale)
{
    return slice_point(point, 0.15430336f, 8.0f, scale);
}

std::complex<float> lib_dma_qam_common_t::qam_judge_128(std::complex<float> point, float scale)
{
    return slice_point(point, 0.11043153f, 12.0f, scale);
}

std::complex<float> lib_dma_qam_common_t::qam_judge_256(std::complex<float> point, float scale)
{
    return slice_point(point, 0.0766965f, 16.0f, scale);
}

std::complex<float> lib_dma_qam_common_t::qam_judge_512(std::complex<float> point, float scale)
{
    return slice_point(point, 0.05504819f, 24.0f, scale);
}

std::complex<float> lib_dma_qam_common_t::qam_judge_1024(std::complex<float> point, float scale)
{
    return slice_point(point, 0.03829198f, 32.0f, scale);
}

std::complex<float> lib_dma_qam_common_t::qam_judge_4096(std::complex<float> point, float scale)
{
    return slice_point(point, 0.019138975f, 64.0f, scale);
}
} // namespace vrim::dma_demod_lib
