#include "lib_dma_demod/stage/error_figures.h"

#include "lib_dma_common/lib_dma_phy_common.h"
#include "support/lib_common_math.h"
#include "support/trace_output.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <fmt/printf.h>
#include <utility>

namespace vrim::dma_demod_lib::demod_stage
{
using common_lib::lib_common_math_t;

namespace
{
template <typename value_t>
std::vector<value_t> pick_symbols(const std::vector<value_t>& data, std::uint32_t points_per_symbol)
{
    std::vector<value_t> symbols;
    lib_dma_phy_common_t::downsample(data, static_cast<float>(points_per_symbol), symbols);
    return symbols;
}

/// Index of the first extreme value; 0 for an empty array.
template <typename better_t>
std::uint32_t find_extreme(const float_array& values, better_t&& better)
{
    std::size_t best = 0;
    for (std::size_t i = 1; i < values.size(); ++i)
    {
        if (better(values[i], values[best]))
            best = i;
    }
    return static_cast<std::uint32_t>(best);
}

constexpr auto is_larger = [](float a, float b) { return a > b; };
constexpr auto is_smaller = [](float a, float b) { return a < b; };

float get_value(const float_array& values, std::uint32_t index)
{
    return index < values.size() ? values[index] : 0.0f;
}

void scale(float_array& values, double factor)
{
    for (float& value : values)
        value = static_cast<float>(static_cast<double>(value) * factor);
}

float to_percent(float value, double norm)
{
    return static_cast<float>(static_cast<double>(value) / norm * 100.0);
}

double cal_norm(const complex_array& ref_points, lib_dma_evm_normalize_type_t normalization)
{
    return static_cast<double>(normalization == LIB_DMA_EVM_NORMALIZE_RMS ? lib_common_math_t::get_complex_array_rms(ref_points)
                                                                          : lib_common_math_t::get_data_max_amplitude(ref_points));
}

/// What does not depend on a normalisation.
error_figures_t compare_waveforms(const complex_array& meas, const complex_array& ref, std::uint32_t points_per_symbol)
{
    error_figures_t figures;
    lib_dma_phy_common_t::error_vector_cal(meas, ref, figures.error_vector);
    lib_dma_phy_common_t::phase_error_cal(meas, ref, figures.phase_error);
    figures.meas_points = pick_symbols(meas, points_per_symbol);
    figures.ref_points = pick_symbols(ref, points_per_symbol);
    figures.summary.snr = static_cast<float>(lib_dma_phy_common_t::snr_cal(figures.meas_points, figures.ref_points));
    return figures;
}

/// Figures and trace of `mag_error`, which comes back in percent of `norm`.
void fill_mag_figures(double norm, std::uint32_t points_per_symbol, error_figures_t& figures)
{
    error_summary_t& summary = figures.summary;
    float_array mag_points = pick_symbols(figures.mag_error, points_per_symbol);
    float_array mag_amplitude;
    lib_dma_phy_common_t::get_float_array_amplitude(mag_points, mag_amplitude);
    summary.mag_err_rms = to_percent(lib_dma_phy_common_t::get_float_array_rms(mag_points), norm);
    summary.mag_err_max_idx = find_extreme(mag_amplitude, is_larger);
    summary.mag_err_max = to_percent(get_value(mag_points, summary.mag_err_max_idx), norm);
    summary.mag_err_min_idx = find_extreme(mag_amplitude, is_smaller);
    summary.mag_err_min = to_percent(get_value(mag_points, summary.mag_err_min_idx), norm);
    scale(mag_points, 100.0 / norm);
    scale(figures.mag_error, 100.0 / norm);
    summary.mag_err_trace = std::move(mag_points);
}

/// Figures and trace of `phase_error`.
void fill_phase_figures(double norm, std::uint32_t points_per_symbol, error_figures_t& figures)
{
    error_summary_t& summary = figures.summary;
    float_array phase_points = pick_symbols(figures.phase_error, points_per_symbol);
    summary.phase_err_rms =
        static_cast<float>(static_cast<double>(lib_dma_phy_common_t::get_float_array_rms(phase_points)) / norm);
    summary.phase_err_max_idx = find_extreme(phase_points, is_larger);
    summary.phase_err_max = get_value(phase_points, summary.phase_err_max_idx);
    summary.phase_err_min_idx = find_extreme(phase_points, is_smaller);
    summary.phase_err_min = get_value(phase_points, summary.phase_err_min_idx);
    summary.phase_err_trace = std::move(phase_points);
}
} // namespace

error_figures_t cal_error_figures(const complex_array& meas, const complex_array& ref, std::uint32_t points_per_symbol,
                                  lib_dma_evm_normalize_type_t normalization)
{
    error_figures_t figures = compare_waveforms(meas, ref, points_per_symbol);
    lib_dma_phy_common_t::mag_error_cal(meas, ref, figures.mag_error);
    error_summary_t& summary = figures.summary;

    const double norm = cal_norm(figures.ref_points, normalization);
    const complex_array error_points = pick_symbols(figures.error_vector, points_per_symbol);
    float_array error_amplitude;
    lib_common_math_t::get_complex_array_amplitude(error_points, error_amplitude);
    summary.evm_rms = to_percent(lib_common_math_t::get_complex_array_rms(error_points), norm);
    summary.evm_max_idx = find_extreme(error_amplitude, is_larger);
    summary.evm_max = to_percent(get_value(error_amplitude, summary.evm_max_idx), norm);
    summary.evm_min_idx = find_extreme(error_amplitude, is_smaller);
    summary.evm_min = to_percent(get_value(error_amplitude, summary.evm_min_idx), norm);
    scale(error_amplitude, 100.0 / norm);
    summary.evm_trace = std::move(error_amplitude);

    fill_mag_figures(norm, points_per_symbol, figures);
    fill_phase_figures(norm, points_per_symbol, figures);
    return figures;
}

error_figures_t cal_frequency_figures(const complex_array& meas, const complex_array& ref, std::uint32_t points_per_symbol,
                                      lib_dma_evm_normalize_type_t normalization)
{
    error_figures_t figures = compare_waveforms(meas, ref, points_per_symbol);
    lib_dma_phy_common_t::complex_to_float_arr(figures.error_vector, figures.mag_error);
    error_summary_t& summary = figures.summary;

    constexpr double peak_deviation = 1.0; // the trajectories are in units of it
    const complex_array error_points = pick_symbols(figures.error_vector, points_per_symbol);
    const float_array signed_error = pick_symbols(figures.mag_error, points_per_symbol);
    float_array error_amplitude;
    lib_common_math_t::get_complex_array_amplitude(error_points, error_amplitude);
    summary.evm_rms = to_percent(lib_common_math_t::get_complex_array_rms(error_points), peak_deviation);
    summary.evm_max_idx = find_extreme(error_amplitude, is_larger);
    summary.evm_max = to_percent(get_value(signed_error, summary.evm_max_idx), peak_deviation);
    summary.evm_min_idx = find_extreme(error_amplitude, is_smaller);
    summary.evm_min = to_percent(get_value(signed_error, summary.evm_min_idx), peak_deviation);
    scale(error_amplitude, 100.0 / peak_deviation);
    summary.evm_trace = std::move(error_amplitude);

    fill_mag_figures(static_cast<double>(lib_common_math_t::get_complex_array_rms(figures.meas_points)), points_per_symbol,
                     figures);
    fill_phase_figures(cal_norm(figures.ref_points, normalization), points_per_symbol, figures);
    return figures;
}

void take_error_summary(error_summary_t figures, error_summary_t& summary)
{
    figures.carrier_power = summary.carrier_power;
    figures.meas_data.swap(summary.meas_data);
    figures.ref_data.swap(summary.ref_data);
    summary = std::move(figures);
}

void print_error_figures(const error_summary_t& summary)
{
    const auto print = [](const std::string& text) { common_log::trace_output_t::get_instance().write(text); };
    print(fmt::sprintf("EVM(rms) = %.4f\n", summary.evm_rms));
    print(fmt::sprintf("EVM(max)  = %.4f ,idx = %d \n", summary.evm_max, summary.evm_max_idx));
    print(fmt::sprintf("EVM(min)  = %.4f ,idx = %d \n", summary.evm_min, summary.evm_min_idx));
    print(fmt::sprintf("MagErr(rms) = %.4f\n", summary.mag_err_rms));
    print(fmt::sprintf("MagErr(max)  = %.4f ,idx = %d \n", summary.mag_err_max, summary.mag_err_max_idx));
    print(fmt::sprintf("MagErr(min)  = %.4f ,idx = %d \n", summary.mag_err_min, summary.mag_err_min_idx));
    print(fmt::sprintf("PhaseErr(rms) = %.4f\n", summary.phase_err_rms));
    print(fmt::sprintf("PhaseErr(max)  = %.4f , idx = %d \n", summary.phase_err_max, summary.phase_err_max_idx));
    print(fmt::sprintf("PhaseErr(min)  = %.4f , idx = %d \n", summary.phase_err_min, summary.phase_err_min_idx));
    print(fmt::sprintf("SNR_n(dB) = %.4f\n", summary.snr));
}
} // namespace vrim::dma_demod_lib::demod_stage
