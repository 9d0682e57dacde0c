#pragma once

#include "signal_format.h"
#include "signal_pulse.h"

#include <complex>
#include <cstdint>
#include <limits>
#include <vector>

namespace dma_test
{
/// What a test signal is. The defaults give 1,000 clean QPSK symbols at 1 MHz in a capture of 4 MHz.
///
/// The impairments act in the order of the members: first those of the modulator (gain imbalance, quadrature skew,
/// IQ offset), then the carrier, then the level, then noise.
struct signal_setting_t
{
    signal_format_t format = signal_format_t::qpsk;
    ring_ratios_t rings = {}; ///< of APSK; 0 for the usual ratio
    signal_pulse_t pulse = signal_pulse_t::root_raised_cosine;
    double shape = 0.35;                   ///< roll-off, or bandwidth-time product of a Gaussian pulse
    double deviation_hz = 0.0;             ///< of FSK, to its outermost tones; 0 for the usual one
    std::uint32_t half_span_symbols = 160; ///< the pulse is cut this far from its centre; at least 40
    double symbol_rate = 1.0e6;            ///< Hz
    double sample_rate = 4.0e6;            ///< Hz; any ratio to the symbol rate
    std::uint32_t symbol_count = 1000;     ///< length of the record in symbols
    std::uint64_t seed = 1;                ///< of the data; the noise has a stream of its own made from it

    /// Each run of so many symbols, counted from symbol 0, has every symbol equally often; 0 for symbols drawn one by one.
    std::uint32_t balanced_run = 0;

    std::vector<std::uint32_t> sync_symbols; ///< symbol indices that stand in the data from `sync_position` on
    std::uint32_t sync_position = 0;         ///< symbol of the record

    double timing_symbols = 0.0;      ///< the centre of symbol 0 lies this far behind the first sample
    double gain_imbalance_db = 0.0;   ///< I over Q; half of it on either rail
    double quadrature_skew_deg = 0.0; ///< the Q axis stands at 90 degrees and this from the I axis
    /// DC relative to the rms of the points, of frequency formats to their amplitude, dB; -infinity for none.
    double iq_offset_db = -std::numeric_limits<double>::infinity();
    double iq_offset_angle = 0.6; ///< radians, direction of the DC
    double carrier_offset_hz = 0.0;
    double carrier_phase = 0.0; ///< radians at the first sample
    double gain = 1.0;          ///< factor on the signal, noise included
    /// Es/N0 in dB: the SNR of the symbols behind the matched filter of the pulse; infinity for none. Es of frequency formats is
    /// the power of the signal times the symbol period.
    double snr_db = std::numeric_limits<double>::infinity();
};

/// A test signal and what went into it.
struct signal_t
{
    std::vector<std::complex<float>> samples;
    double sample_rate = 0.0;
    double symbol_rate = 0.0;
    std::vector<std::uint32_t> symbols;       ///< indices of the symbols centred within the record, symbol 0 first
    /// Their points with the format's steps and turn, without any impairment; none of frequency formats.
    std::vector<std::complex<double>> points;
    std::vector<double> levels; ///< of frequency formats: their shares of the peak deviation, -1 to 1
    double deviation_hz = 0.0;  ///< of frequency formats
    double noise_variance = 0.0;              ///< per complex sample, before `gain`
};

/// The pulse of the signal: rectangular for MSK, Gaussian for GMSK, else the one that is set.
signal_pulse_t get_pulse(const signal_setting_t& setting);

/// Peak deviation of a frequency format, Hz. The usual one puts neighbouring tones half the symbol rate apart: MSK of more tones.
/// @throws std::invalid_argument unless it is positive, below half the sample rate, and for MSK and GMSK the usual one; for a
///         deviation set for a format that is none of frequency
double get_deviation(const signal_setting_t& setting);

/// Makes a record that is filled with signal from its first to its last sample.
///
/// Sample n stands at time n / sample_rate; symbol k is centred at (k + timing_symbols) / symbol_rate. The record is the
/// first floor(symbol_count * sample_rate / symbol_rate) samples from time 0. Random symbols before and behind it fill the
/// tails of the pulses. With the root raised cosine pulse the mean power is gain^2.
///
/// Differential formats start from phase 0: the point of symbol 0 is its own step, that of symbol k the product of the steps 0
/// to k, turned by k times the format's turn.
///
/// Frequency formats have the amplitude 1 and the frequency deviation * sum of level * pulse, the pulse being `cal_held_pulse`
/// at the distances to the centres of the symbols. Their phase is the integral of it from the first sample on, where it is 0.
///
/// OQPSK sums I parts * pulse at the centres of the symbols and Q parts * pulse half a symbol later, the pulse being
/// `cal_held_pulse`. At the half sine pulse this is MSK of twice the symbol rate at the amplitude sqrt(1 / 2).
///
/// The noise is white over the whole sample rate. Its variance per complex sample is
/// energy * (sample_rate / symbol_rate) / snr, `energy` being that of the pulse, so that behind the matched filter with unit
/// energy the symbols have the SNR that was set.
/// @throws std::invalid_argument for rates that are not positive and finite, a pulse shorter than 40 symbols each side, a
///         sync word that does not fit, rings that do not rise, a frequency pulse or deviation that cannot be, or runs that
///         cannot be balanced
signal_t make_signal(const signal_setting_t& setting);
} // namespace dma_test
