#pragma once

#include "analysis_runner.h"

#include <cmath>
#include <cstddef>
#include <cstdint>

/// OQPSK captures and their analyses.
namespace dma_test
{
constexpr double oqpsk_symbol_rate = 1.0e6;
constexpr std::uint32_t oqpsk_interval = 1024;
/// Symbols that the analysis wants beside the interval, half of them in front.
constexpr std::uint32_t oqpsk_run_in = 228;

/// Offset QPSK of 8 samples a symbol; phase, timing and data differ from seed to seed.
inline signal_setting_t make_oqpsk_setting(signal_pulse_t pulse, double shape, std::uint64_t seed)
{
    signal_setting_t setting;
    setting.format = signal_format_t::oqpsk;
    setting.pulse = pulse;
    setting.shape = shape;
    setting.half_span_symbols = 64;
    setting.symbol_rate = oqpsk_symbol_rate;
    setting.sample_rate = 8.0 * oqpsk_symbol_rate;
    setting.symbol_count = oqpsk_interval + oqpsk_run_in + 20;
    setting.seed = seed;
    setting.carrier_offset_hz = 1234.5;
    setting.carrier_phase = 0.4 + 0.77 * static_cast<double>(seed);
    setting.timing_symbols = std::fmod(0.13 + 0.21 * static_cast<double>(seed), 1.0);
    return setting;
}

/// The matched pair for root raised cosines, EVM over the constellation's maximum; no measurement filter and the reference of
/// the pulse for Gaussian ones; the same over the rms for half sines.
inline analysis_setting_t make_oqpsk_analysis(const signal_setting_t& signal)
{
    using namespace vrim::dma_demod_lib;
    analysis_setting_t setting;
    setting.format = signal.format;
    setting.sample_rate = signal.sample_rate;
    setting.meas_interval = oqpsk_interval;
    setting.normalization = LIB_DMA_EVM_NORMALIZE_CONSTELLATION_MAX;
    if (signal.pulse == signal_pulse_t::root_raised_cosine)
    {
        setting.alpha = signal.shape;
        return setting;
    }
    setting.meas_filter = LIB_DMA_MEAS_NONE_FILTER;
    if (signal.pulse == signal_pulse_t::gaussian)
    {
        setting.alpha = 0.5;
        setting.beta = signal.shape;
        setting.ref_filter = LIB_DMA_REF_GAUSSIAN_FILTER;
        return setting;
    }
    setting.ref_filter = LIB_DMA_REF_HALF_SINE_FILTER;
    setting.normalization = LIB_DMA_EVM_NORMALIZE_RMS;
    return setting;
}

/// A capture and what its analysis found.
struct oqpsk_run_t
{
    oqpsk_run_t(const signal_setting_t& setting, const analysis_setting_t& analysis)
        : signal(make_signal(setting)), result(analyse(signal.samples, analysis))
    {
    }
    explicit oqpsk_run_t(const signal_setting_t& setting) : oqpsk_run_t(setting, make_oqpsk_analysis(setting)) {}

    std::size_t count_wrong() const
    {
        return match_decoded(signal_format_t::oqpsk, result.decoded, signal.symbols, 100, 130).differing;
    }

    signal_t signal;
    analysis_result_t result;
};
} // namespace dma_test
