// Payload patterns: bits are kept one a byte, so that the longest one takes 2 GiB.

#include <benchmark/benchmark.h>
#include <dma_demod.h>

#include <cstdint>

namespace
{
using namespace vrim::dma_demod_lib;

void payload(benchmark::State& state)
{
    lib_dma_recall_demod_info_configure_manager_t record;
    std::int64_t bits = 0;
    for (auto _ : state)
    {
        record.set_payload_data_type(static_cast<lib_dma_payload_data_type_t>(state.range(0)));
        bits += static_cast<std::int64_t>(record.get_tx_pattern().size());
        benchmark::DoNotOptimize(record.get_tx_pattern().data());
    }
    state.SetItemsProcessed(bits);
}

BENCHMARK(payload)->Arg(LIB_DMA_PN15)->Arg(LIB_DMA_PN23)->Unit(benchmark::kMillisecond);
BENCHMARK(payload)->Arg(LIB_DMA_PN31)->Iterations(1)->Unit(benchmark::kMillisecond);
} // namespace
