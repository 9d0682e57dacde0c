#pragma once

#include "dma_export.h"
#include "dma_types.h"
#include "lib_dma_cfg_manager/lib_dma_enum.h"

#include <complex>
#include <cstdint>

namespace vrim::dma_demod_lib
{
/// Facts of the QAM point sets and slicers on their grids. A format without an entry of its own gets that of 16 points unless
/// told otherwise. Amplitudes are in units of half the distance of neighbouring points where nothing else is said.
class DMA_DEMOD_EXPORT lib_dma_qam_common_t
{
public:
    /// Root mean square, halved, as the quadrature figure takes it.
    static float qam_get_rms(lib_dma_qam_modulation_type_t format);
    /// Largest amplitude.
    static float qam_get_max_mag(lib_dma_qam_modulation_type_t format);
    /// Points a side of the square around the set.
    static std::uint32_t qam_get_square_len(lib_dma_qam_modulation_type_t format);
    /// Bits of a symbol.
    static std::uint32_t qam_get_bit_num(lib_dma_qam_modulation_type_t format);
    /// Mean amplitude of the outer points; relative to the largest one up to 256 points.
    static float qam_get_mean_outer_mag(lib_dma_qam_modulation_type_t format);
    /// Largest amplitude of the set at unit rms.
    static float qam_get_max_outer_mag(lib_dma_qam_modulation_type_t format);
    /// Scales symbols so that their largest amplitude is that of the set at unit rms. Symbols without amplitude stay.
    static void qam_outer_mag_norm(lib_dma_qam_modulation_type_t format, complex_array& symbols);
    /// Fills `map` with the full square of `side` times `side` points at odd integers, keys 0 upward, column by column.
    /// @param side  at most 64; more gives an empty map
    static void generate_square_constellation(std::uint32_t side, constellation_map& map);
    /// @return 1, -1 or 0; 0 for what is not a number
    static float sign(float x);
    /// Mean power of a set of 2^`bits` points, in squared units; 1 when `enable` is false.
    static double get_average_power(std::uint32_t bits, bool enable);

    // Slicers: each rail on its own to the nearest odd multiple of the set's unit, a border belonging to the inner level and a
    // rail of exactly 0 staying 0. Cross sets are sliced on the square around them.

    /// @param scale  rms of the symbols
    static std::complex<float> qam_judge_16(std::complex<float> point, float scale);
    static std::complex<float> qam_judge_32(std::complex<float> point, float scale);
    static std::complex<float> qam_judge_64(std::complex<float> point, float scale);
    static std::complex<float> qam_judge_128(std::complex<float> point, float scale);
    static std::complex<float> qam_judge_256(std::complex<float> point, float scale);
    static std::complex<float> qam_judge_512(std::complex<float> point, float scale);
    static std::complex<float> qam_judge_1024(std::complex<float> point, float scale);
    static std::complex<float> qam_judge_4096(std::complex<float> point, float scale);
};
} // namespace vrim::dma_demod_lib
