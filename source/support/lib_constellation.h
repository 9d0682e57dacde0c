#pragma once

#include "dma_export.h"
#include "dma_types.h"

#include <cstdint>

namespace vrim::common_lib
{
/// How a generated constellation is scaled: 0 to unit rms, 2 to a largest amplitude of 1, any other value not at all.
using lib_constellation_normalize_type_t = std::uint32_t;
constexpr lib_constellation_normalize_type_t constellation_normalize_rms = 0;
constexpr lib_constellation_normalize_type_t constellation_normalize_none = 1;
constexpr lib_constellation_normalize_type_t constellation_normalize_max = 2;

/// What the generators share: checks on a map of points. Every generator empties the map first, makes the keys 0 to points - 1
/// and leaves the map empty for a count of points that it does not know. `flag` is not used by any of them.
class DMA_DEMOD_EXPORT lib_constellation_base_t
{
public:
    /// @return -4 when two keys of `map` have the same point, 0 otherwise
    static std::int32_t check_constellation_map_validity(const constellation_map& map);
};

/// QAM: square formats with Gray labels on each rail, cross formats for odd powers of two.
class DMA_DEMOD_EXPORT lib_constellation_qam_t
{
public:
    /// Fills `map` with `points` states, scaled by `normalize_type`; unscaled points have odd integers as parts.
    ///
    /// The high half of a key's bits (the larger half of an odd count) is the Gray code of the column, rising with the in-phase
    /// part, the low half that of the row, rising with the quadrature part. Cross formats fold the outer columns of a rectangle
    /// twice as wide as high onto its top and bottom.
    /// Source: J. G. Smith, "Odd-bit quadrature amplitude-shift keying", IEEE Trans. Commun. 23(3), 1975.
    /// @param points  4, 16, 64, 256, 1024, 4096 (square), or 32, 128, 512, 2048 (cross: a square of 6, 12, 24, 48 points a
    ///                side without corners of 1, 2, 4, 8 points a side)
    static void generate_default_qam_constellation(std::uint32_t points, constellation_map& map, bool flag,
                                                   lib_constellation_normalize_type_t normalize_type);
};

/// ASK: equally spaced levels on the real axis.
class DMA_DEMOD_EXPORT lib_constellation_ask_t
{
public:
    /// Fills `map` with the levels 0, 1 for two points and 1 ... points otherwise, times `spacing`, rising with the key, and
    /// scales them by `normalize_type`.
    static void generate_default_ask_constellation(std::uint32_t points, constellation_map& map, float spacing, bool flag,
                                                   lib_constellation_normalize_type_t normalize_type);
};

/// PSK on the unit circle.
class DMA_DEMOD_EXPORT lib_constellation_psk_t
{
public:
    /// BPSK +1 (key 1) and -1 (key 0); QPSK on the diagonals (45 degrees key 1, 135: 0, 225: 2, 315: 3); 8PSK, 16PSK and
    /// higher powers of two rising from key 0 at angle 0.
    static void generate_default_psk_constellation(std::uint32_t points, constellation_map& map, bool flag);
};

/// FSK: the normalised deviations of the tones, -1 to 1, as real points.
class DMA_DEMOD_EXPORT lib_constellation_fsk_t
{
public:
    /// Keys in the order in which `fsk_demod_bit` gives them: the lower half of the tones rising from -1, the upper half
    /// falling from +1. Any even count of points.
    static void generate_default_fsk_constellation(std::uint32_t points, constellation_map& map, bool flag);
};

/// Differential PSK: the phase steps on the unit circle.
class DMA_DEMOD_EXPORT lib_constellation_dpsk_t
{
public:
    /// Keys in the order in which `dpsk_demod_bit` gives them: for two points 1 at angle 0 and 0 at half a turn, for 4, 8, 16 and
    /// higher powers of two rising from key 0 at angle 0.
    static void generate_default_dpsk_constellation(std::uint32_t points, constellation_map& map, bool flag);
};
} // namespace vrim::common_lib
