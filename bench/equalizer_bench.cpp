// The eleven passes of the adaptive equalizer over 1,024 symbols, without the demodulator around them and as a whole analysis.
// The label is a checksum of the last pass's output.

#include "result_checksum.h"

#include <benchmark/benchmark.h>
#include <dma_demod.h>
#include <signal_maker.h>

#include <complex>
#include <cstddef>
#include <cstdint>

namespace
{
using namespace vrim::dma_demod_lib;
using vrim::complex_array;

constexpr std::uint32_t symbols = 1024;
constexpr std::uint32_t filter_symbols = 21;
constexpr std::uint32_t passes = 11;

/// QPSK at the rate of the results.
complex_array make_signal(std::uint32_t points_per_symbol)
{
    dma_test::signal_setting_t setting;
    setting.symbol_count = symbols;
    setting.half_span_symbols = 40;
    setting.sample_rate = 1.0e6 * points_per_symbol;
    setting.seed = 7;
    return dma_test::make_signal(setting).samples;
}

/// The signal with an echo a symbol late.
complex_array add_echo(const complex_array& signal, std::size_t delay)
{
    complex_array out = signal;
    for (std::size_t n = delay; n < out.size(); ++n)
        out[n] += std::complex<float>(0.2f * signal[n - delay].real() - 0.15f * signal[n - delay].imag(),
                                      0.2f * signal[n - delay].imag() + 0.15f * signal[n - delay].real());
    return out;
}

void equalizer_passes(benchmark::State& state)
{
    common_log::trace_output_t::get_instance().silence();
    const auto points_per_symbol = static_cast<std::uint32_t>(state.range(0));
    const complex_array ref = make_signal(points_per_symbol);
    const complex_array received = add_echo(ref, points_per_symbol);
    const std::uint32_t taps = (filter_symbols & ~1u) * points_per_symbol + 1;
    complex_array meas;
    for (auto _ : state)
    {
        lib_dma_demod_config_mgr config;
        for (; config.equalizer_loop_number < passes; ++config.equalizer_loop_number)
        {
            meas = received;
            lib_dma_phy_common_t::apply_equailizer(meas, ref, 1.0e-3, taps, config);
        }
        benchmark::DoNotOptimize(meas.data());
    }
    dma_bench::checksum_t checksum;
    checksum.add(meas);
    state.SetLabel(checksum.text());
    state.SetItemsProcessed(state.iterations() * passes * static_cast<std::int64_t>(received.size()));
}

void analyse_equalized(benchmark::State& state)
{
    common_log::trace_output_t::get_instance().silence();
    dma_test::signal_setting_t signal;
    signal.symbol_count = symbols + 220; // and the run-in
    signal.half_span_symbols = 40;
    signal.seed = 7;
    const complex_array capture = add_echo(dma_test::make_signal(signal).samples, 4);

    lib_dma_frame_configure_manager_t frame;
    lib_dma_segment_configure_manager_t& segment = frame.get_segment(0);
    segment.get_format_configure().set_format_group(LIB_DMA_GROUP_PSK);
    segment.get_format_configure().set_psk_format(LIB_DMA_MODULATION_PSK_QPSK);
    segment.get_format_configure().set_symbol_rate(1000000);
    segment.get_format_configure().set_points_per_symbol(static_cast<lib_dma_point_per_symbol_type_t>(state.range(0)));
    segment.get_filter_configure().set_filter_alpha(0.35f);
    segment.get_filter_configure().set_filter_length(16);
    segment.get_time_configure().set_meas_interval(LIB_DMA_GROUP_PSK, symbols);
    segment.get_time_configure().set_meas_offset(0);
    segment.get_advance_configure().set_equalizer(true);
    segment.get_advance_configure().set_equalizer_filter_len(filter_symbols);
    segment.get_advance_configure().set_equalizer_coef(1.0e-3);
    lib_dma_phy_t analyser;
    analyser.set_frame_configure(frame);
    analyser.set_sample_rate(4.0e6);
    for (auto _ : state)
    {
        analyser.set_demod_data(capture);
        if (analyser.dma_phy_process() != 0)
            state.SkipWithError("the analysis failed");
        benchmark::DoNotOptimize(analyser.get_data_manager().get_error_summary(0).evm_rms);
    }
    const error_summary_t& summary = analyser.get_data_manager().get_error_summary(0);
    dma_bench::checksum_t checksum;
    checksum.add(summary.meas_data);
    checksum.add(summary.evm_rms);
    state.SetLabel(checksum.text());
    state.counters["evm"] = static_cast<double>(summary.evm_rms);
}

BENCHMARK(equalizer_passes)->Arg(1)->Arg(2)->Arg(4)->Arg(8)->Arg(20)->Unit(benchmark::kMillisecond);
BENCHMARK(analyse_equalized)->Arg(1)->Arg(2)->Arg(4)->Arg(8)->Unit(benchmark::kMillisecond);
} // namespace
