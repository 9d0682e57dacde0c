// Equiripple designs, from the description to the taps. Labels are the count of taps and a checksum of them.

#include "result_checksum.h"

#include <benchmark/benchmark.h>
#include <dma_demod.h>

#include <cstdint>
#include <string>

namespace
{
using namespace vrim::fir_filter_lib;

lib_fir_design_parameter_t make_low_pass(double pass_edge, double stop_edge)
{
    lib_fir_design_parameter_t parameters;
    parameters.set_fir_design_method(LIB_FIR_METHOD_EQUIRIPPLE);
    parameters.set_first_edge_start_frequency(pass_edge);
    parameters.set_first_edge_stop_frequency(stop_edge);
    return parameters;
}

/// The filter that limits a capture to its analysis bandwidth.
lib_fir_design_parameter_t make_analysis_filter(double pass_edge, double stop_edge)
{
    lib_fir_design_parameter_t parameters = make_low_pass(pass_edge, stop_edge);
    parameters.set_fir_minimum_order_enable(true);
    parameters.set_first_Amplitude(0.1);
    parameters.set_second_Amplitude(100.0);
    return parameters;
}

void run(benchmark::State& state, const lib_fir_design_parameter_t& parameters)
{
    common_log::trace_output_t::get_instance().silence();
    vrim::complex_array taps;
    for (auto _ : state)
    {
        lib_fir_designer_t::design_fir_filter(parameters, taps);
        benchmark::DoNotOptimize(taps.data());
    }
    dma_bench::checksum_t checksum;
    checksum.add(taps);
    state.SetLabel(std::to_string(taps.size()) + " taps " + checksum.text());
}

/// Edges in thousandths of the Nyquist frequency.
void analysis_filter(benchmark::State& state)
{
    run(state, make_analysis_filter(static_cast<double>(state.range(0)) / 1000.0, static_cast<double>(state.range(1)) / 1000.0));
}

/// Fixed order, with a transition that gives a deviation near 1e-4.
void equiripple(benchmark::State& state)
{
    const auto order = static_cast<std::uint32_t>(state.range(0));
    lib_fir_design_parameter_t parameters = make_low_pass(0.5, 0.5 + 10.0 / order);
    parameters.set_fir_filter_order(order);
    run(state, parameters);
}

void equiripple_band_pass(benchmark::State& state)
{
    const auto order = static_cast<std::uint32_t>(state.range(0));
    lib_fir_design_parameter_t parameters = make_low_pass(0.2, 0.2 + 10.0 / order);
    parameters.set_fir_response_type(LIB_FIR_RESPONSE_BANDPASS);
    parameters.set_second_edge_start_frequency(0.6);
    parameters.set_second_edge_stop_frequency(0.6 + 10.0 / order);
    parameters.set_fir_filter_order(order);
    run(state, parameters);
}

BENCHMARK(analysis_filter)
    ->Args({ 500, 600 })
    ->Args({ 900, 1000 })
    ->Args({ 500, 510 })
    ->Args({ 990, 1000 })
    ->Args({ 999, 1000 })
    ->Unit(benchmark::kMillisecond);
BENCHMARK(equiripple)->Arg(80)->Arg(199)->Arg(999)->Arg(5000)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(equiripple_band_pass)->Arg(80)->Arg(198)->Arg(998)->Unit(benchmark::kMillisecond);
} // namespace
