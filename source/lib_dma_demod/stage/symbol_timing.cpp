#include "lib_dma_demod/stage/symbol_timing.h"

#include "lib_dma_common/symbol_sync.h"

namespace vrim::dma_demod_lib::demod_stage
{
void deal_symbol_timing(const complex_array& data, complex_array& timing_data, std::uint32_t& timing_start, std::uint32_t sps,
                        std::uint32_t pre_num, float clock_adjust, std::uint32_t symbols_per_block)
{
    constexpr std::uint32_t interpolation_factor = 262144;
    constexpr std::uint32_t interpolation_order = 16;
    symbol_timing_recovery_plan plan;
    plan.set_interp_factor(interpolation_factor);
    plan.set_interp_order(interpolation_order);
    plan.set_sps(sps);
    plan.set_syn_sym_num(symbols_per_block);
    plan.set_pre_num(pre_num);
    plan.set_clock_adjust(clock_adjust);
    plan.init();
    plan.time_record(data, timing_data, timing_start);
}
} // namespace vrim::dma_demod_lib::demod_stage
