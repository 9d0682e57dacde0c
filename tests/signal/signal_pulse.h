#pragma once

#include <string>

namespace dma_test
{
enum class signal_pulse_t
{
    root_raised_cosine,
    raised_cosine,
    gaussian,
    rectangular,
    half_sine,
};

/// Transmit pulse as a function of time in symbols, centred on 0.
///
/// - root raised cosine: unit energy (integral of p^2 is 1); behind its matched filter a symbol comes out as it went in
/// - raised cosine: p(0) = 1, zero at all other whole symbols
/// - Gaussian: bandwidth-time product `shape`, integral 1 (the pulse that smooths the frequency of GFSK and GMSK)
/// - rectangular: 1 within half a symbol, one half at the edges, else 0
/// - half sine: cos(pi t) within half a symbol, else 0
/// @param shape  roll-off 0 to 1 of the cosine pulses, bandwidth-time product of the Gaussian one; not read otherwise
/// Source: J. G. Proakis, M. Salehi, Digital Communications, 5th ed., McGraw-Hill, 2008, section 9.2.
double cal_pulse(signal_pulse_t pulse, double time_symbols, double shape);

/// The pulse's energy, the integral of p^2 over time in symbols.
double cal_pulse_energy(signal_pulse_t pulse, double shape);

/// The pulse of frequency formats and of the rails of offset formats: `cal_pulse`, except that the Gaussian one smooths a symbol
/// which is held for its length, a rectangle convolved with the Gaussian of integral 1. Equal symbols in a row then come to
/// their level, and not to a ripple about it. Behind the filter that matches the root raised cosine pulse the values at the
/// centres are the levels; the raised cosine pulse has them there itself.
double cal_held_pulse(signal_pulse_t pulse, double time_symbols, double shape);

/// Energy of `cal_held_pulse`.
double cal_held_pulse_energy(signal_pulse_t pulse, double shape);

/// The factor a in exp(-(a t)^2) of the Gaussian pulse, 1 / symbols: pi sqrt(2 / ln 2) times the bandwidth-time product.
double cal_gaussian_steepness(double bandwidth_time);

/// Short name: rrc, rc, gaussian, rectangular, half-sine.
std::string get_pulse_name(signal_pulse_t pulse);
/// @return false when the name is none of those that `get_pulse_name` gives
bool find_pulse(const std::string& name, signal_pulse_t& pulse);
} // namespace dma_test
