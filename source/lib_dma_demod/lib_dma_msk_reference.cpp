#include "lib_dma_demod/lib_dma_msk_demod.h"

#include "lib_dma_common/lib_dma_phy_common.h"
#include "lib_dma_demod/stage/reference.h"
#include "support/internal/complex_ops.h"
#include "support/internal/trigonometry.h"
#include "support/internal/vector_clones.h"
#include "support/lib_common_math.h"
#include "support/log_macro.h"
#include "support/trace_output.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <fmt/format.h>

namespace vrim::dma_demod_lib
{
using common_lib::lib_common_math_t;

namespace
{
/// Frequency pulses of these filters are those of held levels; all others see single samples between zeros.
bool is_level_held(lib_dma_ref_filter_type_t type)
{
    return type == LIB_DMA_REF_NONE_FILTER || type == LIB_DMA_REF_GAUSSIAN_FILTER || type == LIB_DMA_REF_RECTANGULAR_FILTER;
}

/// Samples from the start of the frequency pulses to the middle of bit 0.
std::uint32_t cal_phase_delay(lib_dma_ref_filter_type_t type, std::uint32_t filter_length, std::uint32_t sps)
{
    const std::uint32_t filter_delay = type == LIB_DMA_REF_NONE_FILTER ? sps * filter_length / 2 // where the unit tap stands
                                                                       : (sps * filter_length + 1) / 2;
    return std::max(sps / 2 + filter_delay, 1u) - 1;
}

/// Taps that do to single samples, at gain `sps`, what `taps` do to held ones.
complex_array hold_taps(const complex_array& taps, std::uint32_t sps)
{
    complex_array held(taps.size() + sps - 1);
    const double share = 1.0 / static_cast<double>(sps);
    for (std::size_t n = 0; n < held.size(); ++n)
    {
        double sum = 0.0;
        for (std::size_t k = n < sps ? 0 : n - sps + 1; k <= n && k < taps.size(); ++k)
            sum += static_cast<double>(taps[k].real());
        held[n] = { static_cast<float>(sum * share), 0.0f };
    }
    return held;
}

/// Running sum of frequency pulses as a phase in radians, into the real parts; sample 0 of the result is sample `delay`.
/// The sum is kept within a turn: that of a long run would lose its fractions.
void integrate_pulses(std::uint32_t delay, std::uint32_t sps, complex_array& data)
{
    const double radians = 1.5707963267948966 / static_cast<double>(sps);
    const double turn = 4.0 * static_cast<double>(sps);
    double sum = 0.0;
    for (std::size_t n = 0; n < data.size(); ++n)
    {
        sum += static_cast<double>(data[n].real());
        if (sum > 0.5 * turn)
            sum -= turn;
        else if (sum < -0.5 * turn)
            sum += turn;
        if (n >= delay)
            data[n - delay] = { static_cast<float>(sum * radians), 0.0f };
    }
}

DMA_VECTOR_CLONES
void turn_phases(std::complex<float>* data, std::size_t count)
{
    for (std::size_t n = 0; n < count; ++n)
    {
        const common_lib::sine_cosine_t turn = common_lib::sine_cosine_reduced(static_cast<double>(data[n].real()));
        data[n] = { static_cast<float>(turn.cosine), static_cast<float>(turn.sine) };
    }
}
constexpr double quarter_turn = common_lib::pi / 2.0;
constexpr double fold_margin = common_lib::pi / 8.0; // of the quarter turn from which on phases are folded
constexpr double missed_turn = common_lib::pi / 3.0; // beyond what the last fit leaves, short of a quarter

/// Angle by which the measurement as a whole stands ahead of the reference.
double cal_mean_turn(const complex_array& measured, const complex_array& reference)
{
    std::complex<double> sum;
    for (std::size_t i = 0; i < std::min(measured.size(), reference.size()); ++i)
        sum += std::complex<double>(common_lib::complex_product(measured[i], std::conj(reference[i])));
    return std::arg(sum);
}
} // namespace

bool lib_dma_msk_demod_t::ref_data_generate(lib_dma_demod_config_mgr& config)
{
    DMA_LOG_INFO("lib_dma_msk_demod_t::ref_data_generate start.\n");
    work.meas_data.swap(work.timing_data); // the timed signal has no later reader
    work.timing_data.clear();
    work.meas_data.resize(setting.sps == 0 ? 0 : work.meas_data.size() / setting.sps * setting.sps);
    const float_array bits = msk_bit_demod(work.meas_data, setting.sps);
    const std::size_t run_in = setting.sps == 0 ? 0 : std::min<std::size_t>(setting.head_len / setting.sps, bits.size());
    decided_bits_.assign(bits.begin() + static_cast<std::ptrdiff_t>(run_in), bits.end());
    return ref_filter_generate(bits, config);
}

bool lib_dma_msk_demod_t::ref_filter_generate(const float_array& bits, lib_dma_demod_config_mgr& config)
{
    DMA_LOG_INFO("lib_dma_msk_demod_t::ref_filter_generate start.\n");
    const std::uint32_t sps = setting.sps;
    if (sps == 0)
    {
        DMA_LOG_ERROR("lib_dma_msk_demod_t::ref_filter_generate: no samples per symbol.\n");
        return false;
    }
    complex_array taps;
    // Without taps the pulses go on as they are.
    if (!demod_stage::generate_pulse_taps(setting.ref_filter_type, setting.filter_length, setting.filter_alpha, sps, filter_,
                                          taps))
        taps.assign(1, { 1.0f, 0.0f });
    if (is_level_held(setting.ref_filter_type))
        taps = hold_taps(taps, sps);

    const std::uint32_t delay = cal_phase_delay(setting.ref_filter_type, setting.filter_length, sps);
    complex_array& levels = work.decided_symbol;
    levels.clear();
    for (const float bit : bits)
        levels.emplace_back(2.0f * bit - 1.0f, 0.0f);
    levels.resize(levels.size() + delay / sps + 1, { 0.0f, 0.0f }); // the last pulses run out
    complex_array& ref = work.ref_data;
    ref.swap(work.iq_data); // the block has served; its memory is as long as the reference
    work.iq_data.clear();
    demod_stage::generate_reference_waveform(LIB_DMA_REF_NONE_FILTER, taps, levels, sps, 0, ref);
    integrate_pulses(delay, sps, ref);
    ref.resize(bits.size() * sps);
    turn_phases(ref.data(), ref.size());

    if (!ref.empty() && !work.meas_data.empty())
    {
        const std::complex<float> first = common_lib::complex_product(work.meas_data.front(), std::conj(ref.front()));
        lib_dma_phy_common_t::deal_mixer1(work.meas_data, 0.0, -common_lib::phase_of(first));
        // Noise of that one sample must not leave the others where the fit below folds their phases.
        const double rest = cal_mean_turn(work.meas_data, ref);
        if (std::abs(rest) > fold_margin)
            lib_dma_phy_common_t::deal_mixer1(work.meas_data, 0.0, static_cast<float>(-rest));
    }
    if (!demod_stage::deal_level_match(ref, work.meas_data))
    {
        common_log::print_trace_line(fmt::format("ref_data_generate::rms_normalize Report: Data array has a too small rms: {}",
                                                 lib_common_math_t::get_complex_array_rms(work.meas_data)));
        return false;
    }
    double fine_frequency = 0.0;
    lib_dma_phy_common_t::deal_fine_phase_fit(setting.format_group, work.meas_data, ref, fine_frequency, setting.symbol_rate,
                                              setting.pre_num, sps);
    config.carrier_frequency_offset += fine_frequency;

    work.meas_data.resize(std::min(work.meas_data.size(), ref.size()));
    for (complex_array* data : { &work.meas_data, &ref })
        data->erase(data->begin(),
                    data->begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(setting.head_len, data->size())));
    return true;
}

bool lib_dma_msk_demod_t::phase_ambiguity_cal()
{
    DMA_LOG_INFO("lib_dma_msk_demod_t::phase_ambiguity_cal start.\n");
    if (!work.meas_data.empty() && !work.ref_data.empty())
    {
        const double measured = static_cast<double>(common_lib::phase_of(work.meas_data.front()));
        const double ideal = static_cast<double>(common_lib::phase_of(work.ref_data.front()));
        double quarters = std::round((measured - ideal) / quarter_turn);
        // Noise can hide the turn of one sample, as it does in one record of 25 of 8 samples a bit at 15 dB. All of them know it.
        const double rest =
            std::remainder(cal_mean_turn(work.meas_data, work.ref_data) - quarters * quarter_turn, 4.0 * quarter_turn);
        if (std::abs(rest) > missed_turn)
            quarters += std::round(rest / quarter_turn);
        lib_dma_phy_common_t::deal_mixer1(work.meas_data, 0.0, static_cast<float>(-quarters * quarter_turn));
    }
    setting.meas_interval *= setting.points_per_symbol;
    demod_stage::deal_result_rate(setting.sps, setting.points_per_symbol, work.meas_data);
    demod_stage::deal_result_rate(setting.sps, setting.points_per_symbol, work.ref_data);
    const std::uint32_t tail_symbols = setting.sps == 0 ? 0 : setting.head_len / setting.sps;
    demod_stage::take_result_symbols(work.meas_data, setting.points_per_symbol, tail_symbols, work.meas_symbol);
    demod_stage::take_result_symbols(work.ref_data, setting.points_per_symbol, tail_symbols, work.ref_symbol);
    return true;
}
} // namespace vrim::dma_demod_lib
