#include <dma_demod.h>

int main()
{
    common_log::trace_output_t::get_instance().silence();
    vrim::dma_demod_lib::lib_dma_phy_t analyser;
    analyser.set_sample_rate(4.0e6);
    // No capture: the analysis says so.
    return analyser.dma_phy_process() == vrim::dma_demod_lib::LIB_DMA_RESULT_CAPTURE_TOO_SHORT ? 0 : 1;
}
