#pragma once

#include "lib_dma_demod/lib_dma_demod_record.h"
#include "lib_dma_phy_data_manager.h"
#include "lib_dma_phy_result.h"

#include <cstdint>

namespace vrim::dma_demod_lib::demod_stage
{
/// One pass of the equalizer: equalizes the measured waveform against the ideal one, drops the head that the taps do not reach
/// from both, and stores the filter's responses. Symbols taken before (`meas_symbol`, `ref_symbol`) stay as they are.
void deal_equalizer(const demod_setting_t& setting, demod_work_t& work, lib_dma_demod_config_mgr& config,
                    lib_dma_phy_data_manager_t& data_manager);

/// Symbols that the waveforms have lost at their head to the equalizer; 0 when it is off.
std::uint32_t get_equalizer_head(const demod_setting_t& setting);

/// Fills the store's responses with those of the taps, whose output is the sum of x[j] conj(filter[j]), x[0] the newest sample.
/// The impulse response is conj(filter), its I and Q part each as real parts. The frequency response has a power of two of
/// points, at least 4 times the taps and 256: point i of n stands at (i - n / 2) / n of the taps' rate. The delay to the centre
/// tap is taken out of it. A tap that is not finite counts as 0.
void store_equalizer_response(const complex_array& filter, lib_dma_phy_data_manager_t& data_manager);
} // namespace vrim::dma_demod_lib::demod_stage
