#include "lib_dma_common/lib_dma_phy_common.h"

#include "lib_dma_common/sample_line.h"
#include "support/internal/complex_ops.h"
#include "support/internal/phasor_kernel.h"
#include "support/internal/vector_clones.h"
#include "support/lib_common_math.h"
#include "support/lib_common_polyfit.h"
#include "support/log_macro.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <utility>

namespace vrim::dma_demod_lib
{
using common_lib::lib_common_math_t;

namespace
{
constexpr float single_two_pi = 6.2831855f;
constexpr double tolerance = 1e-12;

/// The product of index and slope is a single-precision one; quotient and sum are formed in double and narrowed.
inline float cal_line_value(const sample_line_t& line, double index)
{
    const float position = static_cast<float>(index - line.pre_num);
    return static_cast<float>(static_cast<double>(position * line.slope) / line.sps + static_cast<double>(line.intercept));
}

DMA_VECTOR_CLONES
void fill_line(sample_line_t line, double first, double stride, std::size_t count, float* angles)
{
    for (std::size_t i = 0; i < count; ++i)
        angles[i] = cal_line_value(line, first + static_cast<double>(static_cast<std::int32_t>(i)) * stride);
}

/// True when the first two symbols of MSK show that the signal stands one symbol out of its pair.
bool is_out_of_pair(const complex_array& data, std::uint32_t pre_num)
{
    const double first = std::abs(static_cast<double>(lib_common_math_t::get_complex_phase(data.at(pre_num))));
    const double second = std::abs(static_cast<double>(lib_common_math_t::get_complex_phase(data.at(std::size_t(pre_num) + 1))));
    constexpr double quarter = common_lib::pi / 2.0;
    return (first < quarter && second < first) || (first > quarter && second > first);
}

/// Offset modulation with its half symbol taken out: Q moved forward against I.
complex_array align_rails(const complex_array& data, std::uint32_t half_symbol)
{
    const std::size_t count = data.size() > half_symbol ? data.size() - half_symbol : 0;
    complex_array aligned(count);
    for (std::size_t i = 0; i < count; ++i)
        aligned[i] = { data[i].real(), data[i + half_symbol].imag() };
    return aligned;
}

/// Phases between measurement and reference, folded against a half turn. The fold is lopsided: a large positive phase is
/// mirrored, a large negative one moved.
float_array cal_folded_phases(const complex_array& meas, const complex_array& ref)
{
    const std::size_t count = std::min(meas.size(), ref.size());
    complex_array products(count);
    for (std::size_t i = 0; i < count; ++i)
        products[i] = common_lib::complex_product(meas[i], std::conj(ref[i]));
    float_array phases;
    lib_common_math_t::get_complex_array_phase(products, phases);
    for (float& phase : phases)
    {
        const double a = static_cast<double>(phase);
        if (a - common_lib::pi / 2.0 > tolerance)
            phase = static_cast<float>(common_lib::pi - a);
        else if (a + common_lib::pi / 2.0 < tolerance)
            phase = static_cast<float>(a + common_lib::pi);
    }
    return phases;
}

/// Takes out the symbols at level 0, whose phase is that of the noise. The others keep their positions.
void drop_empty_symbols(const complex_array& ref, float_array& positions, float_array& phases)
{
    constexpr float empty_share = 1e-3f; // of the rms
    const float limit = empty_share * lib_common_math_t::get_complex_array_rms(ref);
    std::size_t kept = 0;
    for (std::size_t i = 0; i < phases.size(); ++i)
    {
        if (lib_common_math_t::get_complex_amplitude(ref[i]) < limit)
            continue;
        positions[kept] = positions[i];
        phases[kept] = phases[i];
        ++kept;
    }
    positions.resize(kept);
    phases.resize(kept);
}
} // namespace

void turn_back(const sample_line_t& line, std::size_t first, std::size_t stride, complex_array& data)
{
    const double begin = static_cast<double>(first);
    const double step = static_cast<double>(stride);
    const float first_angle = cal_line_value(line, begin);
    const float last_angle = cal_line_value(line, begin + static_cast<double>(data.size()) * step);
    const bool reducible = std::abs(static_cast<double>(first_angle)) <= common_lib::largest_reduced_angle &&
                           std::abs(static_cast<double>(last_angle)) <= common_lib::largest_reduced_angle;
    constexpr std::size_t block_samples = 1024;
    std::array<float, block_samples> angles;
    for (std::size_t start = 0; start < data.size(); start += block_samples)
    {
        const std::size_t length = std::min(block_samples, data.size() - start);
        fill_line(line, begin + static_cast<double>(start) * step, step, length, angles.data());
        if (reducible)
        {
            common_lib::turn_back_reduced(angles.data(), length, data.data() + start);
            continue;
        }
        for (std::size_t i = 0; i < length; ++i)
            data[start + i] = common_lib::complex_product(data[start + i], common_lib::unit_phasor(-angles[i]));
    }
}

bool fit_fine_phase(lib_dma_modulation_type_t format_group, const complex_array& meas_symbols, const complex_array& ref_symbols,
                    std::uint64_t symbol_rate, float_array& fit, double& fine_frequency)
{
    float_array phases = cal_folded_phases(meas_symbols, ref_symbols);
    float_array positions(phases.size());
    for (std::size_t i = 0; i < positions.size(); ++i)
        positions[i] = static_cast<float>(i);
    float_array fitted_positions = positions;
    if (format_group == LIB_DMA_GROUP_ASK)
        drop_empty_symbols(ref_symbols, fitted_positions, phases);
    float_array line;
    if (!common_lib::lib_dma_common_polyfit_t::deal_polyfit(std::move(fitted_positions), std::move(phases), 1, line))
    {
        DMA_LOG_ERROR("warning deal_fine_phase_fit::deal_polyfit:error!\n");
        return false;
    }
    float_array steps(positions.empty() ? 0 : positions.size() - 1);
    for (std::size_t i = 0; i < steps.size(); ++i)
        steps[i] = (positions[i + 1] * line[0] + line[1]) - (positions[i] * line[0] + line[1]);
    const float mean_step = lib_common_math_t::get_average_value(steps);
    fine_frequency = static_cast<double>(static_cast<float>(symbol_rate) * mean_step) / common_lib::two_pi;
    fit = std::move(line);
    return true;
}

void lib_dma_phy_common_t::deal_fixed_phase(lib_dma_modulation_type_t format_group, const float_array& fit, std::uint32_t pre_num,
                                            std::uint32_t sps, complex_array& data, double& phase_shift)
{
    phase_shift = 0.0;
    switch (format_group)
    {
    case LIB_DMA_GROUP_PSK:
    case LIB_DMA_GROUP_QAM:
    case LIB_DMA_GROUP_MSK:
    case LIB_DMA_GROUP_ASK:
    case LIB_DMA_GROUP_APSK:
    case LIB_DMA_GROUP_DPSK:
    case LIB_DMA_GROUP_VSB:
    case LIB_DMA_GROUP_CUSTOM_IQ:
    case LIB_DMA_GROUP_OTHER:
        break;
    case LIB_DMA_GROUP_FSK:
        return;
    case LIB_DMA_GROUP_OQPSK:
    default:
        DMA_LOG_ERROR("lib_dma_phy_common_t::deal_fixed_phase error!\n");
        return;
    }

    const sample_line_t line = { fit.at(0), fit.at(1), static_cast<double>(sps), static_cast<double>(pre_num) };
    if (std::isfinite(line.sps + static_cast<double>(line.intercept)))
        turn_back(line, 0, 1, data);

    if (format_group == LIB_DMA_GROUP_MSK && is_out_of_pair(data, pre_num))
    {
        phase_shift = 2.0 * static_cast<double>(sps);
        data.erase(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(sps, data.size())));
    }
}

void lib_dma_phy_common_t::deal_fine_phase_fit(lib_dma_modulation_type_t format_group, complex_array& meas,
                                               const complex_array& ref, double& fine_frequency, std::uint64_t symbol_rate,
                                               std::uint32_t pre_num, std::uint32_t sps)
{
    complex_array meas_symbols;
    complex_array ref_symbols;
    if (format_group == LIB_DMA_GROUP_OQPSK)
    {
        const std::uint32_t half_symbol = sps / 2;
        take_inner_symbols(align_rails(meas, half_symbol), pre_num, sps, meas_symbols);
        const std::size_t kept = ref.size() > half_symbol ? ref.size() - half_symbol : 0;
        take_inner_symbols(complex_array(ref.begin(), ref.begin() + static_cast<std::ptrdiff_t>(kept)), pre_num, sps,
                           ref_symbols);
    }
    else
    {
        take_inner_symbols(meas, pre_num, sps, meas_symbols);
        take_inner_symbols(ref, pre_num, sps, ref_symbols);
    }

    float_array fit;
    if (fit_fine_phase(format_group, meas_symbols, ref_symbols, symbol_rate, fit, fine_frequency))
        turn_back({ fit[0], fit[1], static_cast<double>(sps), static_cast<double>(pre_num) }, 0, 1, meas);
}

float lib_dma_phy_common_t::wrap_to_pi(float angle)
{
    if (!std::isfinite(angle))
        return 0.0f;
    double wrapped = std::fmod(static_cast<double>(angle), common_lib::two_pi);
    if (wrapped > common_lib::pi)
        wrapped -= common_lib::two_pi;
    else if (wrapped <= -common_lib::pi)
        wrapped += common_lib::two_pi;
    return static_cast<float>(wrapped);
}

void lib_dma_phy_common_t::phase_unwrap(float_array& phases)
{
    double turns = 0.0;
    float previous = phases.empty() ? 0.0f : phases.front();
    for (std::size_t k = 1; k < phases.size(); ++k)
    {
        const float difference = phases[k] - previous;
        previous = phases[k];
        if (!(std::abs(static_cast<double>(difference)) - common_lib::pi < tolerance))
        {
            double v = static_cast<double>(difference / single_two_pi);
            // Halves go to the neighbour on the side they came from, so that an exact half turn adds none.
            if (v < tolerance)
            {
                if (std::abs(v - std::ceil(v)) - 0.5 < tolerance)
                    v = std::ceil(v);
            }
            else if (std::abs(v - std::floor(v)) - 0.5 < tolerance)
            {
                v = std::floor(v);
            }
            if (std::isfinite(v))
                turns += std::round(v);
        }
        phases[k] = static_cast<float>(static_cast<double>(phases[k]) - turns * common_lib::two_pi);
    }
}

float_array lib_dma_phy_common_t::phase_unwrap(const complex_array& symbols, bool refine, float step_tolerance)
{
    float_array phases;
    lib_common_math_t::get_complex_array_phase(symbols, phases);
    if (!refine)
        return phases;
    for (int pass = 0; pass < 2; ++pass)
    {
        for (std::size_t k = 1; k < phases.size(); ++k)
        {
            const float difference = phases[k] - phases[k - 1];
            if (difference > step_tolerance)
                phases[k] -= single_two_pi;
            else if (difference < -step_tolerance)
                phases[k] += single_two_pi;
        }
    }
    return phases;
}
} // namespace vrim::dma_demod_lib
