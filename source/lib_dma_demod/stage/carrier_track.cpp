#include "lib_dma_demod/stage/carrier_track.h"

#include "lib_dma_common/lib_dma_phy_common.h"
#include "support/internal/phasor_kernel.h"
#include "support/lib_common_math.h"
#include "support/lib_common_polyfit.h"
#include "support/lib_normalization.h"

#include <cmath>

namespace vrim::dma_demod_lib::demod_stage
{
namespace
{
bool is_reducible(float angle)
{
    return std::abs(static_cast<double>(angle)) <= common_lib::largest_reduced_angle;
}
} // namespace

void deal_carrier_symbols(const complex_array& timing_data, std::uint32_t pre_num, std::uint32_t sps, complex_array& symbols)
{
    lib_dma_phy_common_t::take_inner_symbols(timing_data, pre_num, sps, symbols);
    common_lib::lib_normalization_t::rms_normalize(symbols);
}

std::uint32_t cal_locked_point(const carrier_track_t& track)
{
    constexpr std::int64_t window = static_cast<std::int64_t>(lock_window_symbols) + 1;
    const std::int64_t settled = static_cast<std::int64_t>(track.lock_index) + window;
    const std::int64_t behind = static_cast<std::int64_t>(track.phase.size()) - settled;
    return static_cast<std::uint32_t>(settled + static_cast<std::int64_t>(std::round(0.25 * static_cast<double>(behind))));
}

bool cal_carrier_line(const float_array& phase_track, std::uint32_t locked_point, float_array& fit)
{
    const std::size_t first = locked_point < phase_track.size() ? locked_point : 0;
    float_array positions;
    float_array phases;
    positions.reserve(phase_track.size() - first);
    phases.reserve(phase_track.size() - first);
    for (std::size_t i = first; i < phase_track.size(); ++i)
    {
        positions.push_back(static_cast<float>(i));
        phases.push_back(phase_track[i]);
    }
    return common_lib::lib_dma_common_polyfit_t::deal_polyfit(std::move(positions), std::move(phases), 1, fit);
}

void deal_phase_line(const float_array& fit, complex_array& symbols, float_array& phase_line)
{
    phase_line.resize(symbols.size());
    for (std::size_t i = 0; i < symbols.size(); ++i)
        phase_line[i] = static_cast<float>(i) * fit.at(0) + fit.at(1);
    if (symbols.empty())
        return;
    if (is_reducible(phase_line.front()) && is_reducible(phase_line.back()))
    {
        common_lib::turn_back_reduced(phase_line.data(), symbols.size(), symbols.data());
        return;
    }
    for (std::size_t i = 0; i < symbols.size(); ++i)
        symbols[i] = common_lib::complex_product(symbols[i], common_lib::unit_phasor(-phase_line[i]));
}

double cal_residual_frequency(const float_array& phase_line, double step, std::uint64_t symbol_rate)
{
    float_array steps;
    steps.reserve(phase_line.size());
    for (std::size_t k = 0; k + 1 < phase_line.size(); ++k)
    {
        const float difference = phase_line[k + 1] - phase_line[k];
        steps.push_back(step == 0.0 ? difference : static_cast<float>(static_cast<double>(difference) - step));
    }
    const float mean = common_lib::lib_common_math_t::get_average_value(steps);
    return static_cast<double>(static_cast<float>(symbol_rate) * mean) / common_lib::two_pi;
}
} // namespace vrim::dma_demod_lib::demod_stage
