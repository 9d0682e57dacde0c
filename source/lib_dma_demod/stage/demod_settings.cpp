#include "lib_dma_demod/stage/demod_settings.h"

#include "lib_dma_common/working_rate.h"

namespace vrim::dma_demod_lib::demod_stage
{
void update_demod_setting(const lib_dma_frame_configure_manager_t& frame, std::uint32_t segment_index,
                          const lib_dma_demod_config_mgr& config, demod_setting_t& setting)
{
    const lib_dma_segment_configure_manager_t& segment = frame.get_segment(segment_index);
    const lib_dma_filter_configure_manager_t& filter = segment.get_filter_configure();
    const lib_dma_time_configure_manager_t& time = segment.get_time_configure();
    const lib_dma_advance_configure_manager_t& advance = segment.get_advance_configure();
    const lib_dma_format_configure_manager_t& format = segment.get_format_configure();

    setting.meas_filter_type = filter.get_meas_filter_type();
    setting.ref_filter_type = filter.get_ref_filter_type();
    setting.filter_length = filter.get_filter_length();
    setting.filter_beta = filter.get_filter_beta();
    // A Gaussian reference takes its time-bandwidth product where the others take their roll-off.
    setting.filter_alpha =
        setting.ref_filter_type == LIB_DMA_REF_GAUSSIAN_FILTER ? setting.filter_beta : filter.get_filter_alpha();

    setting.symbol_rate = format.get_symbol_rate();
    setting.format_group = format.get_format_group();
    setting.points_per_symbol = format.get_points_per_symbol();
    setting.constellation_setting_flag = format.get_constellation_setting_flag();
    setting.const_iq_map = format.get_const_iq_map_data();
    setting.sps = cal_working_sps(setting.points_per_symbol);

    setting.sync_pattern_bitarr = frame.get_sync_pattern_bitarr();
    setting.sync_search = frame.get_sync_search();
    setting.sync_pattern_type = frame.get_sync_pattern_type();
    setting.sync_offset = frame.get_sync_offset();

    setting.meas_interval = time.get_meas_interval();
    setting.meas_offset = time.get_meas_offset();

    setting.iq_rotation = advance.get_iq_rotation();
    setting.evm_normalization_ref = advance.get_evm_normalization_ref();
    setting.clock_adjust = advance.get_clock_adjust();
    setting.equalizer = advance.get_equalizer();
    setting.equalizer_coef = advance.get_equalizer_coef();
    // Taps at the spacing of the results, odd in number so that one stands in the middle.
    setting.equalizer_filter_len = (advance.get_equalizer_filter_len() & ~1u) * setting.points_per_symbol + 1;

    setting.pre_num = config.pre_num;
    setting.sample_rate = config.sample_rate;
    setting.data_start = config.data_start;
    setting.head_len = config.head_len;
    setting.equalizer_head_len = config.equalizer_head_len;
    setting.iq_offset_flag = true;
}
} // namespace vrim::dma_demod_lib::demod_stage
