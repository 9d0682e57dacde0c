#pragma once

#include "dma_export.h"
#include "dma_types.h"
#include "lib_dma_cfg_manager/lib_dma_frame_configure_manager.h"
#include "lib_dma_common/decision_table.h"
#include "lib_dma_demod/lib_dma_demod_record.h"
#include "lib_dma_phy_data_manager.h"
#include "lib_dma_phy_result.h"
#include "support/lib_filter.h"

#include <complex>
#include <cstdint>

namespace vrim::dma_demod_lib
{
/// Turns a block of differential PSK samples into measured symbols, an ideal reference, decoded symbols and an error table.
///
/// The object is itself a full copy of the frame configuration. It holds no state between segments: `init` and
/// `set_frame_configure` precede each run. One object serves one thread at a time.
class DMA_DEMOD_EXPORT lib_dma_dpsk_demod_t : public lib_dma_frame_configure_manager_t
{
public:
    lib_dma_dpsk_demod_t();

    /// Frees the working arrays and maps and restores the defaults. The kind of the pulse filter stays.
    void init();
    /// Takes the frame and the settings of one segment, with the lengths that the driver computed. @return true
    bool set_frame_configure(const lib_dma_frame_configure_manager_t& frame, std::uint32_t segment_index,
                             const lib_dma_demod_config_mgr& config);
    /// Runs the whole pipeline on one segment.
    /// @param raw_window   block at the capture's rate; not read
    /// @param demod_block  block at `setting.sps` samples a symbol
    /// @param data_manager receives the results of `segment_index`
    /// @param config       carrier offset and result positions are written
    /// @return false, logged, when a stage fails; the arrays stay filled until the next `init` then
    bool lib_dma_dpsk_demod_process(std::uint32_t segment_index, const complex_array& raw_window, const complex_array& demod_block,
                                   lib_dma_phy_data_manager_t& data_manager, lib_dma_demod_config_mgr& config);
    /// Frees the working arrays and empties both maps.
    void clear();

    /// Filters `work.iq_data` with the measurement filter, delay taken out. @return false when no taps came out
    bool meas_filter_process();
    /// Times `work.iq_data` into `work.timing_data`. @return true
    bool timing_recovery();
    /// Sets `carrier_rotation` and `carrier_step` by the format, and `dpsk_format` to the alphabet under it: the formats that
    /// turn from symbol to symbol become those that stand still. An unknown one is logged and becomes DBPSK. @return true
    bool cal_dpsk_carrier_sync_params();
    /// Measures the carrier on the timed signal by a decision-directed loop and a line through its phase. Formats with a turn
    /// are decided on twice as many points, for the loop may settle on either of the two sets.
    /// @param[out] phase_line          radians, the line at each symbol
    /// @param[out] residual_frequency  Hz, fixed turn of the format taken out
    /// @param[out] fit_coefficients    radians per symbol, radians at symbol 0
    /// @param[out] phase_track         radians, the loop after each symbol, not wrapped
    /// @return false, logged, when the fit fails; a missing lock is logged and does not fail
    bool dpsk_carrier_sync(float_array& phase_line, double& residual_frequency, float_array& fit_coefficients,
                           float_array& phase_track);
    /// Decides every symbol of the timed signal. @return true
    bool symbol_detect();
    /// Rebuilds the ideal waveform and aligns it with the measured one in time, level and phase.
    /// @return false, reported, when the measurement has no signal
    bool ref_data_generate(lib_dma_demod_config_mgr& config);
    /// Decodes the phase steps from symbol to symbol, the first symbol standing for the step from phase 0, searches the sync
    /// word, cuts both waveforms to the window and scales them.
    /// @return false, reported, when reference or measurement have no level
    bool dpsk_decode_bit(std::uint32_t segment_index, lib_dma_phy_data_manager_t& data_manager);
    /// Turns both waveforms by the configured IQ rotation. @return true
    bool deal_phase_rotation();
    /// Compares the waveforms and fills the results of the segment. @return true
    bool error_cal(std::uint32_t segment_index, lib_dma_phy_data_manager_t& data_manager);
    /// Quadrature error of the symbols by the format's rule. @param[out] err_table  `quad_error`, degrees
    bool dpsk_quad_error_cal(const complex_array& symbols, err_table_t& err_table);
    /// Converts the measurement window into sample positions of the capture. @return true
    bool cal_demod_param(lib_dma_demod_config_mgr& config);

    /// Decided ideal point of a symbol at unit rms: the nearest one of the points of the order that `format` names, in the frame
    /// turned by `rotation`. An order other than 2, 4, 8 and 16 is logged and taken as 16.
    std::complex<float> dpsk_judge(lib_dma_psk_modulation_type_t format, std::complex<float> point, float rotation);
    /// Sector slicers, turned by `rotation`. Borders belong to the sector on their lower side.
    static std::complex<float> psk_judge_bpsk(std::complex<float> point, float rotation, float spare);
    static std::complex<float> psk_judge_qpsk(std::complex<float> point, float rotation, float spare);
    static std::complex<float> psk_judge_8psk(std::complex<float> point, float rotation, float spare);
    static std::complex<float> psk_judge_16psk(std::complex<float> point, float rotation, float spare);

    static constexpr lib_dma_dpsk_modulation_type_t dpsk_format_default = LIB_DMA_MODULATION_PSK_DBPSK;

    demod_setting_t setting;
    demod_work_t work;
    lib_dma_dpsk_modulation_type_t dpsk_format = dpsk_format_default;
    float carrier_rotation = 0.0f; ///< radians, fixed turn of the points
    float carrier_step = 0.0f;     ///< radians per symbol
    constellation_map judge_map;   ///< the points as `dpsk_judge` left them

private:
    /// The measurement filter, from a block into `work.iq_data`. @return false when no taps came out
    bool _filter_block(const complex_array& block);
    /// Points of the carrier loop and of the decisions: those of the format, doubled where it turns.
    std::uint32_t _get_decision_order() const;
    /// Makes the map of an order and rotation unless it stands already.
    void _update_judge_map(std::uint32_t order, float rotation);
    /// Decision on the map that stands.
    std::complex<float> _judge(std::complex<float> point) const;

    common_lib::lib_filter_t filter_; ///< measurement and reference filter in turn
    decision_table_t judge_table_;    ///< `judge_map`, laid out for walking
    std::uint32_t judge_order_ = 0;   ///< what `judge_map` was made for
    float judge_rotation_ = 0.0f;
    std::complex<float> judge_turn_ = { 1.0f, 0.0f }; ///< e^(j judge_rotation_)
    bool judge_map_made_ = false;
};
} // namespace vrim::dma_demod_lib
