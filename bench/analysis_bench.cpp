// Whole analyses: one capture, analysed again and again by the same driver. The label of a row is a checksum of the results,
// which must not change when only the speed does.

#include "result_checksum.h"

#include <benchmark/benchmark.h>
#include <dma_demod.h>
#include <signal_maker.h>

#include <cstdint>

namespace
{
using namespace vrim::dma_demod_lib;

/// Symbols of run-in that the driver wants beside the interval, half of it at either end.
constexpr std::uint32_t run_in_symbols = 180;


lib_dma_frame_configure_manager_t make_frame(lib_dma_psk_modulation_type_t format, std::uint32_t symbols, std::uint32_t filter_length)
{
    lib_dma_frame_configure_manager_t frame;
    lib_dma_segment_configure_manager_t& segment = frame.get_segment(0);
    segment.get_format_configure().set_format_group(LIB_DMA_GROUP_PSK);
    segment.get_format_configure().set_psk_format(format);
    segment.get_format_configure().set_symbol_rate(1000000);
    segment.get_format_configure().set_points_per_symbol(LIB_DMA_POINT4);
    segment.get_filter_configure().set_filter_alpha(0.35f);
    segment.get_filter_configure().set_filter_length(filter_length);
    segment.get_time_configure().set_meas_interval(LIB_DMA_GROUP_PSK, symbols);
    segment.get_time_configure().set_meas_offset(0);
    return frame;
}

complex_array make_capture(dma_test::signal_format_t format, std::uint32_t symbols)
{
    dma_test::signal_setting_t setting;
    setting.format = format;
    setting.symbol_count = symbols + run_in_symbols;
    setting.half_span_symbols = 40;
    setting.seed = 7;
    setting.carrier_offset_hz = 1234.5;
    setting.carrier_phase = 0.77;
    setting.timing_symbols = 0.34;
    setting.snr_db = 30.0;
    return dma_test::make_signal(setting).samples;
}

void analyse(benchmark::State& state, lib_dma_psk_modulation_type_t format, dma_test::signal_format_t signal)
{
    const std::uint32_t symbols = static_cast<std::uint32_t>(state.range(0));
    const complex_array capture = make_capture(signal, symbols);
    common_log::trace_output_t::get_instance().silence();
    lib_dma_phy_t analyser;
    analyser.set_frame_configure(make_frame(format, symbols, static_cast<std::uint32_t>(state.range(1))));
    analyser.set_sample_rate(4.0e6);
    for (auto _ : state)
    {
        analyser.set_demod_data(capture);
        const std::int32_t code = analyser.dma_phy_process();
        if (code != 0)
            state.SkipWithError("the analysis failed");
        benchmark::DoNotOptimize(analyser.get_data_manager().get_error_summary(0).evm_rms);
    }
    const error_summary_t& summary = analyser.get_data_manager().get_error_summary(0);
    dma_bench::checksum_t checksum;
    checksum.add(summary.meas_data);
    checksum.add(summary.ref_data);
    checksum.add(summary.evm_rms);
    checksum.add(analyser.get_data_manager().get_err_table(0).frequency_error);
    state.SetLabel(checksum.text());
    state.counters["samples/s"] =
        benchmark::Counter(static_cast<double>(capture.size()), benchmark::Counter::kIsIterationInvariantRate);
    state.counters["ns/symbol"] = benchmark::Counter(static_cast<double>(symbols) * 1e-9,
                                                     benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    state.counters["evm"] = static_cast<double>(summary.evm_rms);
}

void analyse_qpsk(benchmark::State& state)
{
    analyse(state, LIB_DMA_MODULATION_PSK_QPSK, dma_test::signal_format_t::qpsk);
}

void analyse_3pi8_8psk(benchmark::State& state)
{
    analyse(state, LIB_DMA_MODULATION_PSK_3PI_8_PSK, dma_test::signal_format_t::psk8_3pi_8);
}

// Symbols, then span of the filters in symbols.
BENCHMARK(analyse_qpsk)->Args({ 1024, 16 })->Args({ 10000, 16 })->Args({ 100000, 16 })->Unit(benchmark::kMillisecond);
BENCHMARK(analyse_qpsk)->Args({ 1024, 64 })->Args({ 10000, 64 })->Args({ 100000, 64 })->Unit(benchmark::kMillisecond);
BENCHMARK(analyse_3pi8_8psk)->Args({ 1024, 16 })->Args({ 100000, 16 })->Unit(benchmark::kMillisecond);
} // namespace
