#pragma once

#include "dma_types.h"
#include "lib_dma_cfg_manager/lib_dma_enum.h"

#include <cstddef>
#include <cstdint>

namespace vrim::dma_demod_lib
{
/// A fitted line as it stands over samples: theta(i) = (i * slope) / sps + intercept, i counted from symbol 0.
struct sample_line_t
{
    float slope;     ///< radians per symbol
    float intercept; ///< radians
    double sps;
    double pre_num; ///< samples before symbol 0
};

/// data[k] *= e^(-j theta(i)) with i = first + k * stride: for a waveform, or for some of its samples.
void turn_back(const sample_line_t& line, std::size_t first, std::size_t stride, complex_array& data);

/// Line through the phases between measurement and reference, one sample a symbol. ASK's symbols at level 0 take no part.
/// @param[out] fit             radians per symbol, radians at symbol 0
/// @param[out] fine_frequency  Hz
/// @return false, logged, when the fit fails; nothing is written then
bool fit_fine_phase(lib_dma_modulation_type_t format_group, const complex_array& meas_symbols, const complex_array& ref_symbols,
                    std::uint64_t symbol_rate, float_array& fit, double& fine_frequency);
} // namespace vrim::dma_demod_lib
