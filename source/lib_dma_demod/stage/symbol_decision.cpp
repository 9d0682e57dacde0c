#include "lib_dma_demod/stage/symbol_decision.h"

#include "support/internal/complex_ops.h"

namespace vrim::dma_demod_lib::demod_stage
{
void deal_symbol_ramp(float step, complex_array& symbols)
{
    if (symbols.empty())
        return;
    float_array ramp = lib_dma_phy_common_t::gen_target_array(0.0f, 1.0f, static_cast<float>(symbols.size() - 1), step);
    ramp.resize(symbols.size(), 0.0f);
    for (std::size_t i = 0; i < symbols.size(); ++i)
        symbols[i] = common_lib::complex_product(symbols[i], common_lib::unit_phasor(ramp[i]));
}
} // namespace vrim::dma_demod_lib::demod_stage
