#include "lib_dma_common/run_in.h"

#include <cmath>

namespace vrim::dma_demod_lib
{
namespace
{
constexpr double run_in_symbols = 180.0;
constexpr double run_in_symbols_offset_formats = 228.0; // MSK and OQPSK
constexpr double equalizer_margin_symbols = 2.0;
constexpr double time_tolerance = 1e-12; // s
} // namespace

void update_run_in(const lib_dma_segment_configure_manager_t& segment, lib_dma_demod_config_mgr& config)
{
    const lib_dma_format_configure_manager_t& format = segment.get_format_configure();
    const lib_dma_advance_configure_manager_t& advance = segment.get_advance_configure();
    const lib_dma_time_configure_manager_t& time = segment.get_time_configure();
    const double symbol_rate = static_cast<double>(format.get_symbol_rate());
    const lib_dma_modulation_type_t group = format.get_format_group();

    const bool offset_format = group == LIB_DMA_GROUP_MSK || group == LIB_DMA_GROUP_OQPSK;
    const double pre_time = (offset_format ? run_in_symbols_offset_formats : run_in_symbols) / symbol_rate;
    if (std::abs(pre_time - config.pre_time) > time_tolerance)
        config.pre_time = pre_time;

    if (advance.get_equalizer())
    {
        const double equalizer_time =
            (static_cast<double>(advance.get_equalizer_filter_len()) + equalizer_margin_symbols) / symbol_rate;
        if (std::abs(equalizer_time - config.equalizer_time) > time_tolerance)
            config.equalizer_time = equalizer_time;
    }

    const double offset = time.get_meas_offset() == -1 ? 0.0 : static_cast<double>(time.get_meas_offset());
    const double length = (static_cast<double>(time.get_meas_interval()) + offset) / symbol_rate;
    if (length - config.minseglen > time_tolerance)
        config.minseglen = length;
}
} // namespace vrim::dma_demod_lib
