#pragma once

#include "dma_types.h"
#include "lib_dma_cfg_manager/lib_dma_enum.h"
#include "lib_dma_demod/lib_dma_demod_record.h"
#include "lib_dma_phy_result.h"
#include "support/lib_filter.h"

#include <cstddef>
#include <cstdint>

namespace vrim::dma_demod_lib::demod_stage
{
/// Symbols at one sample each to samples at `sps`, as the reference filter wants them: held for the Gaussian filter, between
/// zeros and with gain `sps` for all others.
void deal_pulse_upsampling(lib_dma_ref_filter_type_t type, const complex_array& symbols, std::uint32_t sps, complex_array& ref);

/// Samples by which the reference comes late through its filter.
std::uint32_t cal_reference_delay(lib_dma_ref_filter_type_t type, std::uint32_t filter_length, std::uint32_t sps);

/// Taps of the reference filter, gain 1 at zero frequency.
/// @param filter  keeps the kind that is set
/// @return false when no taps came out
bool generate_pulse_taps(lib_dma_ref_filter_type_t type, std::uint32_t filter_length, float alpha, std::uint32_t sps,
                         common_lib::lib_filter_t& filter, complex_array& taps);

/// Ideal waveform of a row of symbols through the reference filter, `sps` samples a symbol, symbol 0 at sample 0.
/// @param delay  of the filter, samples
/// @param taps   real taps; without any the symbols stand unfiltered and undelayed
void generate_reference_waveform(lib_dma_ref_filter_type_t type, const complex_array& taps, const complex_array& symbols,
                                 std::uint32_t sps, std::uint32_t delay, complex_array& ref);

/// Turns sample k back by k * `step` / `sps` radians: the continuous form of a fixed turn per symbol, formed in double.
/// @param step  radians per symbol
void deal_sample_ramp(double step, std::uint32_t sps, complex_array& ref);

/// Brings the measurement to the reference's rms.
/// @return false when the measurement has no signal; it stays as it was then
bool deal_level_match(const complex_array& ref, complex_array& meas);

/// Cuts the measurement to the reference's length and drops the filter's run-in from both.
/// @param head_len  samples; one symbol of it stays
void deal_head_cut(std::uint32_t head_len, std::uint32_t sps, complex_array& meas, complex_array& ref);

/// Brings waveforms to the result rate. @param sps, points_per_symbol  samples per symbol before and after
void deal_result_rate(std::uint32_t sps, std::uint32_t points_per_symbol, complex_array& data);

/// Symbols of a waveform at the result rate without its last `tail_symbols`.
void take_result_symbols(const complex_array& data, std::uint32_t points_per_symbol, std::uint32_t tail_symbols,
                         complex_array& symbols);

/// The whole stage: rebuilds the ideal waveform of `work.decided_symbol`, aligns the measurement with it in time, level and
/// phase, and brings both to the result rate.
/// @param step  fixed turn of the format, radians per symbol; 0 where there is none
/// @return false, said on standard output, when the measurement has no signal
bool deal_reference(double step, demod_setting_t& setting, common_lib::lib_filter_t& filter, demod_work_t& work,
                    lib_dma_demod_config_mgr& config);
} // namespace vrim::dma_demod_lib::demod_stage
