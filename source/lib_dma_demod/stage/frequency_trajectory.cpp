#include "lib_dma_demod/stage/frequency_trajectory.h"

#include "support/internal/vector_clones.h"
#include "support/lib_common_math.h"

#include <algorithm>
#include <complex>
#include <cstddef>

namespace vrim::dma_demod_lib::demod_stage
{
namespace
{
constexpr float single_two_pi = 6.2831855f;

/// out[i] = step of the phase to entry i. Formed from the wrapped phases: an unwrapped phase grows with the record and the
/// carrier offset, and a long one would leave the step no digits.
DMA_VECTOR_CLONES
void take_phase_steps(const float* phases, std::size_t count, std::complex<float>* out)
{
    for (std::size_t i = 1; i < count; ++i)
    {
        const float cycles = (phases[i] - phases[i - 1]) / single_two_pi;
        const float lowered = cycles > 0.5f ? cycles - 1.0f : cycles;
        out[i] = { cycles < -0.5f ? cycles + 1.0f : lowered, 0.0f };
    }
}

DMA_VECTOR_CLONES
void scale_trajectory(double carrier, double gain, std::size_t count, float* values)
{
    for (std::size_t i = 0; i < count; ++i)
    {
        const float centred = static_cast<float>(static_cast<double>(values[i]) - carrier);
        values[i] = static_cast<float>(static_cast<double>(centred) * gain);
    }
}
} // namespace

void deal_frequency_trajectory(complex_array& data)
{
    float_array phases;
    common_lib::lib_common_math_t::get_complex_array_phase(data, phases);
    data.resize(data.size() - std::min<std::size_t>(data.size(), 1));
    if (data.empty())
        return;
    take_phase_steps(phases.data(), data.size(), data.data());
    data[0] = { phases[0] / single_two_pi, 0.0f };
}

void deal_trajectory_scale(double carrier, double gain, float_array& trajectory)
{
    scale_trajectory(carrier, gain, trajectory.size(), trajectory.data());
}
} // namespace vrim::dma_demod_lib::demod_stage
