#pragma once

#include "analysis_runner.h"
#include "message_capture.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

/// MSK and GMSK captures and their analyses.
namespace dma_test
{
/// What a capture of MSK is shaped with.
struct msk_shape_t
{
    signal_format_t format;
    double bandwidth_time; ///< of GMSK
    const char* name;
};

constexpr msk_shape_t msk_shapes[] = { { signal_format_t::msk, 0.5, "Msk" },
                                       { signal_format_t::gmsk, 0.5, "Gmsk05" },
                                       { signal_format_t::gmsk, 0.3, "Gmsk03" } };

/// Symbols of run-in in front of the interval. The first symbol that is measured is one of the next three: the first whole one
/// of the block, and one more where the signal stands one symbol out of its pair.
constexpr std::int32_t msk_run_in = 114;

/// A clean capture of 8 samples a symbol at 1 MHz, with all of the run-in beside `interval` symbols and some to spare.
inline signal_setting_t make_msk_setting(const msk_shape_t& shape, std::uint32_t interval, std::uint64_t seed)
{
    signal_setting_t setting;
    setting.format = shape.format;
    setting.shape = shape.bandwidth_time;
    setting.half_span_symbols = 40;
    setting.sample_rate = 8.0 * setting.symbol_rate;
    setting.symbol_count = interval + 240;
    setting.seed = seed;
    return setting;
}

/// No filter in the measurement, the pulses of the capture in the reference, and a bandwidth above the sample rate.
inline analysis_setting_t make_msk_analysis(const signal_setting_t& signal, std::uint32_t interval,
                                            std::uint32_t points_per_symbol)
{
    analysis_setting_t setting;
    setting.format = signal.format;
    setting.symbol_rate = static_cast<std::uint64_t>(std::llround(signal.symbol_rate));
    setting.sample_rate = signal.sample_rate;
    setting.points_per_symbol = points_per_symbol;
    setting.meas_filter = vrim::dma_demod_lib::LIB_DMA_MEAS_NONE_FILTER;
    setting.ref_filter = signal.format == signal_format_t::gmsk ? vrim::dma_demod_lib::LIB_DMA_REF_GAUSSIAN_FILTER
                                                                : vrim::dma_demod_lib::LIB_DMA_REF_NONE_FILTER;
    setting.beta = signal.shape;
    setting.filter_length = 16;
    setting.meas_interval = interval;
    setting.bandwidth = static_cast<std::uint64_t>(signal.sample_rate);
    return setting;
}

/// A capture and what its analysis found.
struct msk_run_t
{
    msk_run_t(const signal_setting_t& setting, const analysis_setting_t& analysis)
        : signal(make_signal(setting)), result(analyse(signal.samples, analysis)),
          match(match_decoded(setting.format, result.decoded, signal.symbols, msk_run_in - 2, msk_run_in + 4))
    {
    }

    double get_evm() const { return static_cast<double>(result.summary.evm_rms); }
    double get_frequency() const { return static_cast<double>(result.table.frequency_error); }

    signal_t signal;
    analysis_result_t result;
    decode_match_t match;
};

/// The demodulator alone: the capture is its block, no filter in front.
struct msk_bare_run_t
{
    msk_bare_run_t(const signal_setting_t& setting, const analysis_setting_t& analysis)
    {
        using namespace vrim::dma_demod_lib;
        const signal_t signal = make_signal(setting);
        const lib_dma_frame_configure_manager_t frame = make_frame(analysis);
        lib_dma_phy_data_manager_t store;
        store.init();
        store.set_config(frame);
        lib_dma_demod_config_mgr config;
        config.sample_rate = static_cast<std::uint64_t>(setting.sample_rate);
        config.data_len = static_cast<std::uint32_t>(signal.samples.size());
        config.pre_num = analysis.points_per_symbol * static_cast<std::uint32_t>(msk_run_in);
        config.head_len = config.pre_num;
        lib_dma_msk_demod_t demod;
        demod.set_frame_configure(frame, 0, config);
        const trace_capture_t traces;
        if (!demod.lib_dma_msk_demod_process(0, {}, signal.samples, store, config))
            return;
        evm = static_cast<double>(store.get_error_summary(0).evm_rms);
        match = match_decoded(setting.format, store.get_decode_bit(0), signal.symbols, msk_run_in - 2, msk_run_in + 4);
    }

    double evm = std::numeric_limits<double>::quiet_NaN(); ///< that of a failed run
    decode_match_t match;
};
} // namespace dma_test
