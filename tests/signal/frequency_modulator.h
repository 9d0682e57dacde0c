#pragma once

#include "signal_maker.h"
#include "signal_pulse.h"

#include <complex>
#include <cstddef>
#include <vector>

namespace dma_test
{
/// Integral of a frequency pulse over time in symbols, the pulse cut at `half_span` symbols to either side of its centre.
///
/// Closed for the rectangular and the Gaussian pulse. The cosine pulses, whose integral is not elementary, are integrated once
/// by Gauss's rule of three points between knots of 1/256 symbol, and read by cubic Hermite interpolation: off by less than
/// 1e-9 symbols.
class pulse_integral_t
{
public:
    /// @throws std::invalid_argument for a pulse that is none of the four, a bandwidth-time product that is not positive, or a
    ///         roll-off outside 0 to 1
    pulse_integral_t(signal_pulse_t pulse, double shape, double half_span);

    /// From -half span to `time`, which lies between the half spans.
    double cal(double time) const;
    /// Over the whole pulse.
    double get_total() const { return total_; }

private:
    double cal_from_centre(double time) const;
    void fill_knots(double half_span);

    signal_pulse_t pulse_;
    double shape_;
    double total_ = 0.0;
    std::vector<double> pulses_;    ///< at the knots
    std::vector<double> integrals_; ///< from the centre to the knots
};

/// Samples of unit amplitude whose frequency is deviation * sum of levels * pulse; their phase is 0 at the first sample.
/// @param pulse      `cal_held_pulse` at the distance to the centre of each symbol
/// @param deviation  Hz at a level of 1
/// @param levels     with `lead` of them in front of that of symbol 0
std::vector<std::complex<double>> modulate_frequency(const signal_setting_t& setting, signal_pulse_t pulse, double deviation,
                                                     const std::vector<double>& levels, std::size_t lead, std::size_t count);
} // namespace dma_test
