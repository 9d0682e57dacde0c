#pragma once

#include <complex>
#include <cstddef>
#include <span>

namespace vrim::common_lib
{
/// Sum of the squared magnitudes of neighbouring bins of the forward transform of the windowed data, in double and without a
/// factor. It costs n log n whatever the factors of the length, and less where the bins are few. Beside one complex double
/// copy of the data it takes little memory, but for lengths with hardly a small factor: for a prime one, three copies and
/// what the bins asked for add to two of them.
/// @param half_window  weights of the first half, with the middle one; the other half mirrors it
/// @param first        index of the first bin; negative ones count from the end
/// @param count        bins, at most as many as data
/// Sources: J. W. Cooley, J. W. Tukey, "An algorithm for the machine calculation of complex Fourier series", Math. Comp. 19,
/// 1965; L. R. Rabiner, R. W. Schafer, C. M. Rader, "The chirp z-transform algorithm", IEEE Trans. Audio 17(2), 1969.
double cal_bin_energy(std::span<const std::complex<float>> data, std::span<const float> half_window, std::ptrdiff_t first,
                      std::size_t count);
} // namespace vrim::common_lib
