// Operations on a whole capture: the band-limiting filter and the channel power. The label is a checksum of the filtered
// samples, or the power itself.

#include "result_checksum.h"

#include <benchmark/benchmark.h>
#include <dma_demod.h>

#include <cstdint>
#include <cstdio>
#include <random>

namespace
{
using namespace vrim::dma_demod_lib;
using vrim::common_lib::lib_filter_t;

constexpr float sample_rate = 4.0e6f;
constexpr std::uint32_t load_ohms = 100;

complex_array make_noise(std::size_t count, bool real)
{
    std::mt19937 generator(5);
    std::uniform_real_distribution<float> part(-1.0f, 1.0f);
    complex_array noise(count);
    for (auto& value : noise)
    {
        const float re = part(generator);
        value = { re, real ? 0.0f : part(generator) };
    }
    return noise;
}

/// In place on a fresh copy of the capture; the copy is not timed.
void capture_filter(benchmark::State& state)
{
    const std::size_t count = static_cast<std::size_t>(state.range(0));
    const complex_array taps = make_noise(static_cast<std::size_t>(state.range(1)), true);
    const complex_array capture = make_noise(count, false);
    complex_array data = capture;
    for (auto _ : state)
    {
        state.PauseTiming();
        data = capture;
        state.ResumeTiming();
        lib_filter_t::deal_filter(taps, data, vrim::common_lib::filter_delay_compensated);
        benchmark::DoNotOptimize(data.data());
    }
    dma_bench::checksum_t checksum;
    checksum.add(data);
    state.SetLabel(checksum.text());
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(count));
}

/// @param range(1)  bandwidth in percent of the sample rate
void channel_power(benchmark::State& state)
{
    const std::size_t count = static_cast<std::size_t>(state.range(0));
    const float bandwidth = sample_rate * static_cast<float>(state.range(1)) / 100.0f;
    const complex_array capture = make_noise(count, false);
    float power = 0.0f;
    for (auto _ : state)
    {
        power = lib_dma_phy_common_t::channel_power(capture, load_ohms, sample_rate, bandwidth, false);
        benchmark::DoNotOptimize(power);
    }
    char text[32];
    std::snprintf(text, sizeof text, "%.6f dBm", static_cast<double>(power));
    state.SetLabel(text);
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(count));
}

// 400,720 = 16 * 5 * 5009, 524,288 is a power of 2, 400,723 a prime of about the first length.
BENCHMARK(capture_filter)
    ->ArgsProduct({ { 400720 }, { 2, 32, 64, 80, 96, 128, 160, 192, 256, 513 } })
    ->Unit(benchmark::kMillisecond);
BENCHMARK(channel_power)
    ->Args({ 400720, 50 })
    ->Args({ 400720, 5 })
    ->Args({ 400720, 95 })
    ->Args({ 400720, 100 })
    ->Args({ 524288, 50 })
    ->Args({ 400723, 50 })
    ->Args({ 1001, 50 })
    ->Unit(benchmark::kMillisecond);
} // namespace
