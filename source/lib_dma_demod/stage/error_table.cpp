#include "lib_dma_demod/stage/error_table.h"

#include "lib_dma_common/lib_dma_phy_common.h"
#include "support/log_macro.h"

#include <utility>

namespace vrim::dma_demod_lib::demod_stage
{
void deal_error_table(std::uint32_t segment_index, const demod_setting_t& setting, demod_work_t& work,
                      lib_dma_phy_data_manager_t& data_manager)
{
    // Room for the long results first: what is only passing by then lies behind them and goes back to the system.
    data_manager.get_mag_error_vector(segment_index).reserve(work.meas_data.size());
    data_manager.get_phase_error_vector(segment_index).reserve(work.meas_data.size());
    store_error_figures(
        cal_error_figures(work.meas_data, work.ref_data, setting.points_per_symbol, setting.evm_normalization_ref), segment_index,
        setting, work, data_manager);
}

void store_error_figures(error_figures_t figures, std::uint32_t segment_index, const demod_setting_t& setting, demod_work_t& work,
                         lib_dma_phy_data_manager_t& data_manager)
{
    err_table_t& err_table = data_manager.get_err_table(segment_index);
    error_summary_t& summary = data_manager.get_error_summary(segment_index);
    if (setting.iq_offset_flag)
        err_table.iq_offset = lib_dma_phy_common_t::iq_offset_cal(figures.error_vector);

    take_error_summary(std::move(figures.summary), summary);
    print_error_figures(summary);
    // The waveforms have no later reader in the run.
    summary.ref_data = std::move(work.ref_data);
    summary.meas_data = std::move(work.meas_data);
    complex_array& ref_constellation = data_manager.get_iq_ref_time_constellation(segment_index);
    complex_array& meas_constellation = data_manager.get_iq_meas_time_constellation(segment_index);
    ref_constellation = std::move(figures.ref_points);
    meas_constellation = std::move(figures.meas_points);
    lib_dma_phy_common_t::filter_invalid(ref_constellation, 0.2f);
    lib_dma_phy_common_t::filter_invalid(meas_constellation, 0.2f);

    err_table.gain_imbalance = lib_dma_phy_common_t::gain_imbalance_cal(work.meas_symbol);
    err_table.rho = lib_dma_phy_common_t::deal_corr(ref_constellation, meas_constellation, 0,
                                                    static_cast<std::uint32_t>(meas_constellation.size()));
    DMA_LOG_INFO("IQoffset = %.5f dB, QuadErr = %.5f deg, GainImb = %.5fdB \n", err_table.iq_offset, err_table.quad_error,
                 err_table.gain_imbalance);
    DMA_LOG_INFO("data_manager:brust_search_flag = %u\n", data_manager.get_brust_search_flag(segment_index));

    data_manager.get_error_vector(segment_index) = std::move(figures.error_vector);
    lib_dma_phy_common_t::float_to_complex_arr(std::move(figures.mag_error), data_manager.get_mag_error_vector(segment_index));
    lib_dma_phy_common_t::float_to_complex_arr(std::move(figures.phase_error),
                                               data_manager.get_phase_error_vector(segment_index));
}
} // namespace vrim::dma_demod_lib::demod_stage
