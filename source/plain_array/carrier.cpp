#include "plain_array/carrier.h"

#include "plain_array/internal/split_array.h"
#include "lib_dma_common/reference_constellation.h"
#include "lib_dma_demod/lib_dma_ask_demod.h"
#include "lib_dma_demod/lib_dma_psk_demod.h"
#include "support/internal/complex_ops.h"
#include "support/trace_output.h"

#include <algorithm>
#include <complex>
#include <string_view>

namespace vrim::dma_demod_lib
{
namespace
{
/// Where a recovery writes.
struct carrier_output_t
{
    float* out_i;
    float* out_q;
    float* phase_line;
    double* residual_frequency;
    float* fit_coefficients;
    float* phase_track;
};

bool report(std::string_view text)
{
    common_log::trace_output_t::get_instance().write(text);
    return false;
}

bool has_output(const carrier_output_t& output)
{
    return output.out_i != nullptr && output.out_q != nullptr && output.phase_line != nullptr &&
           output.residual_frequency != nullptr && output.fit_coefficients != nullptr && output.phase_track != nullptr;
}

/// Runs a demodulator's carrier stage on symbols alone: one sample each and no run-in.
/// @param sync  sync(phase_line, residual_frequency, fit_coefficients, phase_track), the stage
template <typename demod_t, typename sync_t>
bool recover_carrier(demod_t& demod, complex_array symbols, std::uint64_t symbol_rate, const carrier_output_t& output,
                     sync_t&& sync)
{
    demod.setting.pre_num = 0;
    demod.setting.sps = 1;
    demod.setting.symbol_rate = symbol_rate;
    demod.work.timing_data.swap(symbols);
    float_array phase_line;
    float_array fit_coefficients;
    float_array phase_track;
    if (!sync(phase_line, *output.residual_frequency, fit_coefficients, phase_track))
        return false;
    split_array::split(demod.work.sync_symbol, output.out_i, output.out_q);
    std::copy(phase_line.begin(), phase_line.end(), output.phase_line);
    std::copy(fit_coefficients.begin(), fit_coefficients.end(), output.fit_coefficients);
    std::copy(phase_track.begin(), phase_track.end(), output.phase_track);
    return true;
}
} // namespace

bool psk_carrier_recovery(lib_dma_psk_modulation_type_t format, const float* in_i, const float* in_q, std::uint32_t length,
                          std::uint64_t symbol_rate, float* out_i, float* out_q, float* phase_line, double* residual_frequency,
                          float* fit_coefficients, float* phase_track)
{
    if (constellation_map map; !make_psk_points(format, map))
        return report("error: psk_carrier_recovery(): unknown format\n");
    if (length == 0)
        return false;
    const carrier_output_t output = { out_i, out_q, phase_line, residual_frequency, fit_coefficients, phase_track };
    if (in_i == nullptr || in_q == nullptr || !has_output(output))
        return report("error: psk_carrier_recovery(): null pointer\n");

    lib_dma_psk_demod_t demod;
    demod.psk_format = format;
    // Decisions are those of the default points whatever the rotation in which the stage compares them.
    const lib_dma_psk_modulation_param param;
    return recover_carrier(demod, split_array::join(in_i, in_q, length), symbol_rate, output,
                           [&](float_array& line, double& frequency, float_array& fit, float_array& track)
                           { return demod.psk_carrier_sync(param, line, frequency, fit, track); });
}

bool ask_carrier_recovery(lib_dma_ask_modulation_type_t format, const float* in_i, const float* in_q, std::uint32_t length,
                          std::uint64_t symbol_rate, float* out_i, float* out_q, float* phase_line, double* residual_frequency,
                          float* fit_coefficients, float* phase_track)
{
    if (constellation_map map; !make_ask_points(format, map, common_lib::constellation_normalize_none))
        return report("error: ask_carrier_recovery(): unknown format\n");
    if (length == 0)
        return false;
    const carrier_output_t output = { out_i, out_q, phase_line, residual_frequency, fit_coefficients, phase_track };
    if (in_i == nullptr || in_q == nullptr || !has_output(output))
        return report("error: ask_carrier_recovery(): null pointer\n");

    lib_dma_ask_demod_t demod;
    demod.ask_format = format;
    return recover_carrier(demod, split_array::join(in_i, in_q, length), symbol_rate, output,
                           [&](float_array& line, double& frequency, float_array& fit, float_array& track)
                           { return demod.ask_carrier_sync(line, frequency, fit, track); });
}

bool sym_phase_rotation(float in_i, float in_q, float* out_i, float* out_q, int sign)
{
    constexpr float quarter_pi = 0.7853982f;
    if (out_i == nullptr || out_q == nullptr)
        return report("error: sym_phase_rotation(): null pointer\n");
    std::complex<float> symbol(in_i, in_q);
    if (sign != 0)
        symbol = common_lib::complex_product(symbol, common_lib::unit_phasor(sign > 0 ? quarter_pi : -quarter_pi));
    *out_i = symbol.real();
    *out_q = symbol.imag();
    return true;
}
} // namespace vrim::dma_demod_lib
