#include "lib_dma_demod/lib_dma_msk_demod.h"

#include "lib_dma_demod/lib_dma_qam_common.h"
#include "support/internal/complex_ops.h"
#include "support/log_macro.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

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

/// Decisions of both branches and the first of each, on the pulse that the record cuts.
struct branch_decisions_t
{
    float_array in_phase;
    float_array quadrature;
    float first_in_phase = 0.0f;
    float first_quadrature = 0.0f;
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

/// Weighted mean over the pulse length that ends before `stop`; what lies outside the samples counts as 0.
template <typename part_t>
float integrate_pulse(const complex_array& samples, const float_array& weights, std::size_t stop, std::uint32_t sps,
                      part_t&& part)
{
    const std::size_t length = 2 * static_cast<std::size_t>(sps);
    const std::size_t last = std::min(stop, samples.size());
    const std::size_t first = stop > length ? stop - length : 0;
    std::size_t place = first % weights.size();
    float sum = 0.0f;
    for (std::size_t n = first; n < last; ++n)
    {
        sum += part(samples[n]) * weights[place];
        place = place + 1 == weights.size() ? 0 : place + 1;
    }
    return sum / static_cast<float>(length);
}

branch_decisions_t decide_branches(const complex_array& samples, std::size_t bit_count, std::uint32_t sps, pulse_order_t order)
{
    const pulse_weights_t weights = make_weights(order, sps);
    const std::size_t ratio = sps;
    // One sample a bit has no room for windows that start half a bit early: half of each would see the pulse before.
    const std::size_t lag = sps == 1 && order == pulse_order_t::i_first ? 1 : 0;
    const std::size_t cut_pulse = (ratio + 1) / 2; // what the record has of the pulse that ends first

    branch_decisions_t decisions;
    const auto decide = [&](std::size_t stop, const float_array& branch, auto&& part)
    {
        const float value = integrate_pulse(samples, branch, stop, sps, part);
        decisions.strength += std::abs(static_cast<double>(value));
        return lib_dma_qam_common_t::sign(value);
    };
    const auto in_phase = [&](std::size_t stop)
    { return decide(stop, weights.in_phase, [](std::complex<float> sample) { return sample.real(); }); };
    const auto quadrature = [&](std::size_t stop)
    { return decide(stop, weights.quadrature, [](std::complex<float> sample) { return sample.imag(); }); };

    if (order == pulse_order_t::i_first)
        decisions.first_in_phase = in_phase(cut_pulse);
    decisions.first_quadrature = quadrature(order == pulse_order_t::i_first ? ratio + lag : cut_pulse);
    // The last pulse may run over the end; it is decided on what there is of it.
    for (std::size_t stop = 2 * ratio + lag; decisions.in_phase.size() < bit_count / 2 + 1; stop += 2 * ratio)
        decisions.in_phase.push_back(in_phase(stop));
    for (std::size_t stop = 3 * ratio + lag; decisions.quadrature.size() < bit_count / 2 + 1; stop += 2 * ratio)
        decisions.quadrature.push_back(quadrature(stop));
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
    branch_decisions_t decisions = decide_branches(samples, bit_count, sps, pulse_order_t::i_first);
    const branch_decisions_t other = decide_branches(samples, bit_count, sps, pulse_order_t::q_first);
    const bool q_first = other.strength > decisions.strength;
    if (q_first)
        decisions = other;

    bits.reserve(bit_count);
    for (std::size_t j = 0; j < bit_count; ++j)
    {
        const std::size_t i_number = q_first ? j / 2 + 1 : (j + 1) / 2;
        const std::size_t q_number = q_first ? (j + 1) / 2 : j / 2;
        const float i = i_number == 0 ? decisions.first_in_phase : decisions.in_phase[i_number - 1];
        const float q = q_number == 0 ? decisions.first_quadrature : decisions.quadrature[q_number - 1];
        bits.push_back(static_cast<float>(std::floor((-static_cast<double>(i) * static_cast<double>(q) + 1.0) * 0.5)));
    }
    return bits;
}
} // namespace vrim::dma_demod_lib
