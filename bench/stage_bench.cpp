// Single stages on records of the size that 100,000 symbols give, 8 samples a symbol. Labels are checksums of the output.

#include "result_checksum.h"

#include <benchmark/benchmark.h>
#include <dma_demod.h>
#include <signal_maker.h>

#include <cstdint>

namespace
{
using namespace vrim::dma_demod_lib;
using vrim::common_lib::lib_filter_t;

constexpr std::uint32_t sps = 8;

/// QPSK at the working rate.
const complex_array& get_record(std::uint32_t symbols)
{
    static std::uint32_t made_for = 0;
    static complex_array record;
    if (made_for != symbols)
    {
        dma_test::signal_setting_t setting;
        setting.symbol_count = symbols;
        setting.half_span_symbols = 40;
        setting.sample_rate = 8.0e6;
        setting.seed = 7;
        setting.snr_db = 30.0;
        setting.timing_symbols = 0.3;
        record = dma_test::make_signal(setting).samples;
        made_for = symbols;
    }
    return record;
}

/// Runs `stage` on a fresh copy of the record; the copy is not timed.
template <typename stage_t>
void run(benchmark::State& state, const complex_array& record, stage_t&& stage)
{
    common_log::trace_output_t::get_instance().silence();
    complex_array out;
    for (auto _ : state)
    {
        state.PauseTiming();
        complex_array data = record;
        state.ResumeTiming();
        stage(data, out);
        benchmark::DoNotOptimize(out.data());
    }
    dma_bench::checksum_t checksum;
    checksum.add(out);
    state.SetLabel(checksum.text());
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(record.size()));
}

void measurement_filter(benchmark::State& state)
{
    lib_filter_t filter;
    filter.set_filter_type(vrim::common_lib::filter_root_raised_cosine);
    filter.set_filter_alpha(0.35);
    filter.set_filter_length(static_cast<std::uint32_t>(state.range(1)));
    filter.set_oversampling_ratio(sps);
    complex_array taps;
    filter.generate_filter_data(taps);
    run(state, get_record(static_cast<std::uint32_t>(state.range(0))), [&](complex_array& data, complex_array& out) {
        lib_filter_t::deal_filter(taps, data, vrim::common_lib::filter_delay_compensated);
        out = std::move(data);
    });
}

void symbol_timing(benchmark::State& state)
{
    run(state, get_record(static_cast<std::uint32_t>(state.range(0))), [&](complex_array& data, complex_array& out) {
        symbol_timing_recovery_plan plan;
        plan.set_sps(sps);
        plan.set_syn_sym_num(64);
        plan.set_pre_num(400);
        plan.init();
        std::uint32_t delay = 0;
        plan.symbol_timing_recovery_old(data, out, delay);
    });
}

void frequency_estimate(benchmark::State& state)
{
    complex_array symbols;
    lib_dma_phy_common_t::downsample(get_record(static_cast<std::uint32_t>(state.range(0))), static_cast<float>(sps), symbols);
    lib_dma_frame_configure_manager_t frame;
    frame.get_segment(0).get_format_configure().set_psk_format(LIB_DMA_MODULATION_PSK_QPSK);
    lib_dma_psk_modulation_param param;
    param.modulation_order = 4;
    run(state, symbols, [&](complex_array& data, complex_array& out) {
        lib_dma_phy_frequency_correct_t estimator;
        lib_dma_demod_config_mgr config;
        estimator.frequency_error_correct(frame, 0, data, config, param);
        out = { { static_cast<float>(config.carrier_frequency_offset), 0.0f } };
    });
}

void mixer(benchmark::State& state)
{
    run(state, get_record(static_cast<std::uint32_t>(state.range(0))), [](complex_array& data, complex_array& out) {
        lib_dma_phy_common_t::deal_mixer1(data, -0.000123, 0.0f);
        out = std::move(data);
    });
}

void fixed_phase(benchmark::State& state)
{
    run(state, get_record(static_cast<std::uint32_t>(state.range(0))), [](complex_array& data, complex_array& out) {
        double shift = 0.0;
        lib_dma_phy_common_t::deal_fixed_phase(LIB_DMA_GROUP_PSK, { 0.0007f, 0.4f }, 400, sps, data, shift);
        out = std::move(data);
    });
}

void doubling_of_the_rate(benchmark::State& state)
{
    run(state, get_record(static_cast<std::uint32_t>(state.range(0))), [](complex_array& data, complex_array& out) {
        vrim::common_lib::lib_resampler_t::deal_polyphase_resampling(data, out, 2, 1, 0);
    });
}

void rational_rate(benchmark::State& state)
{
    run(state, get_record(static_cast<std::uint32_t>(state.range(0))), [](complex_array& data, complex_array& out) {
        lib_resample<std::complex<float>>(8, 5, data, out);
    });
}

BENCHMARK(measurement_filter)->Args({ 100000, 16 })->Args({ 100000, 64 })->Unit(benchmark::kMillisecond);
BENCHMARK(symbol_timing)->Arg(1024)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(frequency_estimate)->Arg(1024)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(mixer)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(fixed_phase)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(doubling_of_the_rate)->Arg(50000)->Unit(benchmark::kMillisecond);
BENCHMARK(rational_rate)->Arg(50000)->Unit(benchmark::kMillisecond);
} // namespace
