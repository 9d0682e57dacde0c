#include "lib_dma_demod/lib_dma_msk_demod.h"

#include "lib_dma_demod/lib_dma_qam_common.h"
#include "support/internal/complex_ops.h"
#include "support/log_macro.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace vrim::dma_demod_lib
{
namespace
{
/// The two places that the pulses of I and Q can have against the bits.
enum class pulse_order_t
{
    i_first, ///< an I pulse ends half a bit behind the middle of bit 0: ramp from -45 degrees
    q_first, ///< a Q pulse does: ramp from 45 degrees
};

/// Weights of both branches over one period of the half sines, four bits.
struct pulse_weights_t
{
    float_array in_phase;
    float_array quadrature;
};

/// Decisions of both branches, one a pulse.
struct branch_decisions_t
{
    float_array in_phase;
    float_array quadrature;
    double strength = 0.0; ///< sum of the magnitudes behind the decisions
};

pulse_weights_t make_weights(pulse_order_t order, std::uint32_t sps)
{
    const double start = order == pulse_order_t::i_first ? -common_lib::pi / 4.0 : common_lib::pi / 4.0;
    const double step = common_lib::pi / (2.0 * static_cast<double>(sps));
    pulse_weights_t weights;
    for (std::size_t n = 0; n < 4 * static_cast<std::size_t>(sps); ++n)
    {
        const double theta = start + static_cast<double>(n) * step;
        weights.in_phase.push_back(static_cast<float>(std::cos(theta + common_lib::pi / 2.0)));
        weights.quadrature.push_back(static_cast<float>(std::sin(theta - common_lib::pi / 2.0)));
    }
    return weights;
}

/// Weighted means over one pulse after the other, two bits each. Of those that the record cuts what there is.
/// @param first_end  samples, end of the pulse that is running at the first sample
template <typename part_t>
float_array integrate_pulses(const complex_array& samples, const float_array& weights, std::size_t first_end, std::uint32_t sps,
                             part_t&& part)
{
    const std::size_t length = 2 * static_cast<std::size_t>(sps);
    float_array means;
    std::size_t place = 0;
    for (std::size_t first = 0, stop = first_end; first < samples.size(); first = stop, stop += length)
    {
        float sum = 0.0f;
        for (std::size_t n = first; n < std::min(stop, samples.size()); ++n)
        {
            sum += part(samples[n]) * weights[place];
            place = place + 1 == weights.size() ? 0 : place + 1;
        }
        means.push_back(sum / static_cast<float>(length));
    }
    return means;
}

/// Replaces the means by their signs. @return the sum of their magnitudes
double decide_pulses(float_array& means)
{
    double strength = 0.0;
    for (float& mean : means)
    {
        strength += std::abs(static_cast<double>(mean));
        mean = lib_dma_qam_common_t::sign(mean);
    }
    return strength;
}

branch_decisions_t decide_branches(const complex_array& samples, std::uint32_t sps, pulse_order_t order)
{
    // Pulses end between two bits. Windows from middle to middle would take a quarter of their samples from the pulse beside;
    // of 2 samples a bit that is a quarter of the amplitude and turns one bit in 2,000 at 20 dB.
    const std::size_t early_end = (static_cast<std::size_t>(sps) + 1) / 2;
    const std::size_t late_end = (3 * static_cast<std::size_t>(sps) + 1) / 2;
    const bool i_first = order == pulse_order_t::i_first;
    const pulse_weights_t weights = make_weights(order, sps);

    branch_decisions_t decisions;
    decisions.in_phase = integrate_pulses(samples, weights.in_phase, i_first ? early_end : late_end, sps,
                                          [](std::complex<float> sample) { return sample.real(); });
    decisions.quadrature = integrate_pulses(samples, weights.quadrature, i_first ? late_end : early_end, sps,
                                            [](std::complex<float> sample) { return sample.imag(); });
    decisions.strength = decide_pulses(decisions.in_phase) + decide_pulses(decisions.quadrature);
    return decisions;
}
} // namespace

float_array lib_dma_msk_demod_t::msk_bit_demod(const complex_array& samples, std::uint32_t sps)
{
    DMA_LOG_INFO("lib_dma_msk_demod_t::msk_bit_demod start.\n");
    const std::size_t bit_count = sps == 0 ? 0 : samples.size() / sps;
    float_array bits;
    if (bit_count == 0)
        return bits;
    // Which branch changes first depends on where the carrier loop came to stand. The wrong weights find next to nothing, so
    // the whole record tells; a single pair of symbols would not, in noise.
    branch_decisions_t decisions = decide_branches(samples, sps, pulse_order_t::i_first);
    branch_decisions_t other = decide_branches(samples, sps, pulse_order_t::q_first);
    const bool q_first = other.strength > decisions.strength;
    if (q_first)
        std::swap(decisions, other);

    bits.reserve(bit_count);
    for (std::size_t j = 0; j < bit_count; ++j)
    {
        const std::size_t early = (j + 1) / 2; // pulse of the branch that changes first
        const std::size_t late = j / 2;
        const double i = static_cast<double>(decisions.in_phase[q_first ? late : early]);
        const double q = static_cast<double>(decisions.quadrature[q_first ? early : late]);
        bits.push_back(static_cast<float>(std::floor((-i * q + 1.0) * 0.5)));
    }
    return bits;
}
} // namespace vrim::dma_demod_lib
