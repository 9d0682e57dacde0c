#pragma once

#include "dma_types.h"

#include <cmath>
#include <complex>
#include <cstddef>
#include <numbers>

/// Zero-phase response of a symmetric filter in long double, straight from its definition.
/// @param frequency  1 is the Nyquist frequency
inline double zero_phase_of(const vrim::complex_array& taps, double frequency)
{
    const long double angle = std::numbers::pi_v<long double> * static_cast<long double>(frequency);
    const long double centre = static_cast<long double>(taps.size() - 1) / 2.0L;
    long double sum = 0.0L;
    for (std::size_t n = 0; n < taps.size(); ++n)
        sum += static_cast<long double>(taps[n].real()) * std::cos(angle * (static_cast<long double>(n) - centre));
    return static_cast<double>(sum);
}

/// Largest distance of the response from `wanted` at evenly spaced frequencies, ends included.
inline double largest_error(const vrim::complex_array& taps, double from, double to, double wanted, int steps = 400)
{
    double largest = 0.0;
    for (int i = 0; i <= steps; ++i)
    {
        const double frequency = from + (to - from) * i / steps;
        const double error = std::abs(zero_phase_of(taps, frequency) - wanted);
        if (!(error <= largest))
            largest = error;
    }
    return largest;
}
