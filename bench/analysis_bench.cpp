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
/// The same for MSK and OQPSK, 228, with some to spare for rounding.
constexpr std::uint32_t offset_run_in_symbols = 240;

/// What is analysed: the format as the library and as the signal maker name it.
struct subject_t
{
    lib_dma_modulation_type_t group;
    std::uint32_t format;
    dma_test::signal_format_t signal;
    double snr_db;
};

void set_format(const subject_t& subject, lib_dma_format_configure_manager_t& format)
{
    format.set_format_group(subject.group);
    switch (subject.group)
    {
    case LIB_DMA_GROUP_QAM:
        format.set_qam_format(static_cast<lib_dma_qam_modulation_type_t>(subject.format));
        break;
    case LIB_DMA_GROUP_ASK:
        format.set_ask_format(static_cast<lib_dma_ask_modulation_type_t>(subject.format));
        break;
    case LIB_DMA_GROUP_APSK:
        format.set_apsk_format(static_cast<lib_dma_apsk_modulation_type_t>(subject.format));
        break;
    case LIB_DMA_GROUP_DPSK:
        format.set_dpsk_format(static_cast<lib_dma_dpsk_modulation_type_t>(subject.format));
        break;
    case LIB_DMA_GROUP_FSK:
        format.set_fsk_format(static_cast<lib_dma_fsk_modulation_type_t>(subject.format));
        break;
    case LIB_DMA_GROUP_OQPSK:
        format.set_oqpsk_format(static_cast<lib_dma_oqpsk_modulation_type_t>(subject.format));
        break;
    case LIB_DMA_GROUP_MSK:
        format.set_msk_format(static_cast<lib_dma_msk_modulation_type_t>(subject.format));
        break;
    default:
        format.set_psk_format(static_cast<lib_dma_psk_modulation_type_t>(subject.format));
        break;
    }
}

lib_dma_frame_configure_manager_t make_frame(const subject_t& subject, std::uint32_t symbols, std::uint32_t filter_length)
{
    lib_dma_frame_configure_manager_t frame;
    lib_dma_segment_configure_manager_t& segment = frame.get_segment(0);
    set_format(subject, segment.get_format_configure());
    segment.get_format_configure().set_symbol_rate(1000000);
    segment.get_format_configure().set_points_per_symbol(LIB_DMA_POINT4);
    segment.get_filter_configure().set_filter_alpha(0.35f);
    segment.get_filter_configure().set_filter_length(filter_length);
    if (subject.group == LIB_DMA_GROUP_MSK)
    {
        const bool shaped = subject.signal == dma_test::signal_format_t::gmsk;
        segment.get_filter_configure().set_meas_filter_type(LIB_DMA_MEAS_NONE_FILTER);
        segment.get_filter_configure().set_ref_filter_type(shaped ? LIB_DMA_REF_GAUSSIAN_FILTER : LIB_DMA_REF_NONE_FILTER);
        segment.get_filter_configure().set_filter_beta(0.3f);
    }
    segment.get_time_configure().set_meas_interval(subject.group, symbols);
    segment.get_time_configure().set_meas_offset(0);
    return frame;
}

complex_array make_capture(const subject_t& subject, std::uint32_t symbols)
{
    dma_test::signal_setting_t setting;
    setting.format = subject.signal;
    const bool offset = subject.group == LIB_DMA_GROUP_OQPSK || subject.group == LIB_DMA_GROUP_MSK;
    setting.symbol_count = symbols + (offset ? offset_run_in_symbols : run_in_symbols);
    setting.half_span_symbols = 40;
    if (subject.signal == dma_test::signal_format_t::gmsk)
        setting.shape = 0.3;
    setting.seed = 7;
    setting.carrier_offset_hz = 1234.5;
    setting.carrier_phase = 0.77;
    setting.timing_symbols = 0.34;
    setting.snr_db = subject.snr_db;
    return dma_test::make_signal(setting).samples;
}

void analyse(benchmark::State& state, const subject_t& subject)
{
    const std::uint32_t symbols = static_cast<std::uint32_t>(state.range(0));
    const complex_array capture = make_capture(subject, symbols);
    common_log::trace_output_t::get_instance().silence();
    lib_dma_phy_t analyser;
    analyser.set_frame_configure(make_frame(subject, symbols, static_cast<std::uint32_t>(state.range(1))));
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

constexpr subject_t qpsk = { LIB_DMA_GROUP_PSK, LIB_DMA_MODULATION_PSK_QPSK, dma_test::signal_format_t::qpsk, 30.0 };
constexpr subject_t psk8_3pi8 = { LIB_DMA_GROUP_PSK, LIB_DMA_MODULATION_PSK_3PI_8_PSK, dma_test::signal_format_t::psk8_3pi_8, 30.0 };
constexpr subject_t dqpsk = { LIB_DMA_GROUP_DPSK, LIB_DMA_MODULATION_PSK_DQPSK, dma_test::signal_format_t::dqpsk, 30.0 };
constexpr subject_t fsk2 = { LIB_DMA_GROUP_FSK, LIB_DMA_FSK_2, dma_test::signal_format_t::fsk2, 30.0 };
constexpr subject_t qam64 = { LIB_DMA_GROUP_QAM, LIB_DMA_QAM_64, dma_test::signal_format_t::qam64, 35.0 };
constexpr subject_t qam4096 = { LIB_DMA_GROUP_QAM, LIB_DMA_QAM_4096, dma_test::signal_format_t::qam4096, 60.0 };
constexpr subject_t ask8 = { LIB_DMA_GROUP_ASK, LIB_DMA_ASK_8, dma_test::signal_format_t::ask8, 35.0 };
constexpr subject_t apsk32 = { LIB_DMA_GROUP_APSK, LIB_DMA_APSK_32, dma_test::signal_format_t::apsk32, 35.0 };
constexpr subject_t oqpsk = { LIB_DMA_GROUP_OQPSK, LIB_DMA_MODULATION_PSK_OFFSET_QPSK, dma_test::signal_format_t::oqpsk, 30.0 };
constexpr subject_t msk = { LIB_DMA_GROUP_MSK, LIB_DMA_MSK_TYPE1, dma_test::signal_format_t::msk, 30.0 };
constexpr subject_t gmsk = { LIB_DMA_GROUP_MSK, LIB_DMA_MSK_TYPE1, dma_test::signal_format_t::gmsk, 30.0 };

// Symbols, then span of the filters in symbols.
BENCHMARK_CAPTURE(analyse, qpsk, qpsk)->Args({ 1024, 16 })->Args({ 10000, 16 })->Args({ 100000, 16 })->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(analyse, qpsk, qpsk)->Args({ 1024, 64 })->Args({ 10000, 64 })->Args({ 100000, 64 })->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(analyse, 3pi8_8psk, psk8_3pi8)->Args({ 1024, 16 })->Args({ 100000, 16 })->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(analyse, dqpsk, dqpsk)->Args({ 10000, 16 })->Args({ 100000, 16 })->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(analyse, 2fsk, fsk2)->Args({ 10000, 16 })->Args({ 100000, 16 })->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(analyse, 64qam, qam64)->Args({ 1024, 16 })->Args({ 10000, 16 })->Args({ 100000, 16 })->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(analyse, 4096qam, qam4096)->Args({ 4096, 16 })->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(analyse, 8ask, ask8)->Args({ 10000, 16 })->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(analyse, 32apsk, apsk32)->Args({ 10000, 16 })->Args({ 100000, 16 })->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(analyse, oqpsk, oqpsk)
    ->Args({ 1024, 16 })
    ->Args({ 10000, 16 })
    ->Args({ 100000, 16 })
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(analyse, msk, msk)->Args({ 1024, 16 })->Args({ 10000, 16 })->Args({ 100000, 16 })->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(analyse, gmsk, gmsk)->Args({ 1024, 16 })->Args({ 10000, 16 })->Args({ 100000, 16 })->Unit(benchmark::kMillisecond);
} // namespace
