#pragma once

#include <complex>
#include <cstdint>
#include <vector>

/// Point sets by symbol index. All but the tones have unit rms over their points.
namespace dma_test
{
using point_set_t = std::vector<std::complex<double>>;

/// Points on the unit circle at the given angles.
point_set_t make_circle_points(const std::vector<double>& degrees);

/// QAM of 2^bits points, bits 4 to 12. The points are odd multiples of half their distance.
///
/// The high bits of an index (half of them, rounded up) are the Gray code of the column, counted along I; the low bits that of
/// the row, counted along Q. Odd counts of bits start from a rectangle twice as wide as high, whose outer columns are folded onto
/// its top and bottom, which gives the cross.
/// Source: J. G. Smith, "Odd-bit quadrature amplitude-shift keying", IEEE Trans. Commun. 23(3), 1975.
point_set_t make_qam_points(std::uint32_t bits);

/// Levels on the positive real axis, rising with the index: 0 and 1 for two of them, else 1 to `levels`, to one scale.
point_set_t make_ask_points(std::uint32_t levels);

/// Deviations of tones over the largest, on the real axis: the lower half of the indices rises from -1, the upper half falls
/// from 1, in steps of 2 / (tones - 1).
point_set_t make_tone_levels(std::uint32_t tones);

/// Indices 12 to 15 on the inner ring from 45 degrees on, 0 to 11 on the outer one from 45 degrees on, both counter-clockwise.
/// @param r2_r1  radius of the outer ring over that of the inner one
point_set_t make_16apsk_points(double r2_r1);

/// Indices 28 to 31 on the inner ring from 45 degrees on, 16 to 27 on the middle one from 45 degrees on, 0 to 15 on the outer
/// one from 22.5 degrees on, all counter-clockwise. The ratios are those to the radius of the inner ring.
point_set_t make_32apsk_points(double r2_r1, double r3_r1);
} // namespace dma_test
