#pragma once

#include "dma_types.h"
#include "support/internal/complex_ops.h"

#include <complex>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace vrim::dma_demod_lib::demod_stage
{
/// What a detector says of one derotated symbol.
struct carrier_error_t
{
    float phase;     ///< radians
    float magnitude; ///< distance to the decided point
};

struct carrier_track_t
{
    float_array phase;                   ///< loop phase after each symbol in radians, never wrapped
    std::vector<std::uint8_t> lock_flag; ///< 1 from the first lock on
    bool locked = false;
    std::uint32_t lock_index = 0; ///< symbol of the first lock
};

/// What the PSK detectors say: the phase and the distance between a derotated symbol and its decided point.
inline carrier_error_t cal_point_error(std::complex<float> symbol, std::complex<float> decided)
{
    const float power = decided.real() * decided.real() + decided.imag() * decided.imag();
    const std::complex<float> product = common_lib::complex_product(symbol, std::conj(decided));
    return { common_lib::phase_of({ product.real() / power, product.imag() / power }), common_lib::amplitude_of(symbol - decided) };
}

/// Symbols over which the lock decision averages; the present one is not among them.
constexpr std::size_t lock_window_symbols = 19;

/// Symbols of the timed signal without its run-in, at unit rms, so that lock levels are absolute.
/// @param pre_num  samples left out at either end
void deal_carrier_symbols(const complex_array& timing_data, std::uint32_t pre_num, std::uint32_t sps, complex_array& symbols);

/// Runs the second-order carrier loop over symbols of unit rms, one sample each.
/// @param step        fixed turn of the format, radians per symbol; added in double and narrowed
/// @param lock_level  mean distance to the decided points at which the loop counts as locked
/// @param detect      detect(r, before) -> carrier_error_t of the derotated symbol r; `before` is the previous error
/// Source: F. M. Gardner, Phaselock Techniques, 3rd ed., Wiley, 2005.
template <typename detector_t>
carrier_track_t cal_carrier_track(const complex_array& symbols, double step, float lock_level, detector_t&& detect)
{
    // Proportional and integral gain in one; their difference is the integral gain.
    constexpr float gain_now = 0.12504195f;
    constexpr float gain_before = 0.125f;
    constexpr double lock_tolerance = 1e-12;

    carrier_track_t track;
    track.phase.reserve(symbols.size());
    track.lock_flag.reserve(symbols.size());
    float_array magnitudes;
    magnitudes.reserve(symbols.size());

    float phase = 0.0f;
    float loop_value = 0.0f;
    carrier_error_t before = { 0.0f, 0.0f };
    for (std::size_t i = 0; i < symbols.size(); ++i)
    {
        if (step != 0.0)
            phase = static_cast<float>(static_cast<double>(phase) + step);
        const std::complex<float> r = common_lib::complex_product(common_lib::unit_phasor(-phase), symbols[i]);
        const carrier_error_t error = detect(r, before);
        magnitudes.push_back(error.magnitude);

        if (!track.locked && i >= lock_window_symbols)
        {
            float sum = 0.0f;
            for (std::size_t k = i - lock_window_symbols; k < i; ++k)
                sum += magnitudes[k];
            const float mean = sum / static_cast<float>(lock_window_symbols);
            if (static_cast<double>(mean) - static_cast<double>(lock_level) < lock_tolerance)
            {
                track.locked = true;
                track.lock_index = static_cast<std::uint32_t>(i);
            }
        }

        float value = error.phase * gain_now + loop_value - before.phase * gain_before;
        if (value >= 1.0f)
            value -= 1.0f;
        else if (value <= -1.0f)
            value += 1.0f;
        loop_value = value;
        before = error;

        phase += value;
        track.phase.push_back(phase);
        track.lock_flag.push_back(track.locked ? 1 : 0);
    }
    return track;
}

/// First symbol of the range to be fitted: the lock, the window, and a quarter of what follows for the loop to settle.
std::uint32_t cal_locked_point(const carrier_track_t& track);

/// Least-squares line through a phase track from `locked_point` on, or through all of it when nothing lies behind that point.
/// @param[out] fit  radians per symbol, radians at symbol 0
/// @return false when the fit fails
bool cal_carrier_line(const float_array& phase_track, std::uint32_t locked_point, float_array& fit);

/// Takes the line out of the symbols. @param[out] phase_line  phase of the line at each symbol, radians
void deal_phase_line(const float_array& fit, complex_array& symbols, float_array& phase_line);

/// Frequency of a phase line without the format's fixed turn.
/// @param step  radians per symbol, subtracted in double
/// @return Hz; not-a-number for fewer than two symbols
double cal_residual_frequency(const float_array& phase_line, double step, std::uint64_t symbol_rate);
} // namespace vrim::dma_demod_lib::demod_stage
