#pragma once

#include "dma_export.h"
#include "dma_types.h"
#include "lib_dma_cfg_manager/lib_dma_frame_configure_manager.h"
#include "lib_dma_common/qam_slicer.h"
#include "lib_dma_demod/lib_dma_demod_record.h"
#include "lib_dma_phy_data_manager.h"
#include "lib_dma_phy_result.h"
#include "support/lib_filter.h"

#include <complex>
#include <cstdint>

namespace vrim::dma_demod_lib
{
/// Turns a block of QAM samples into measured symbols, an ideal reference, decoded symbols and an error table.
///
/// The object is itself a full copy of the frame configuration. It holds no state between segments: `init` and
/// `set_frame_configure` precede each run. One object serves one thread at a time.
class DMA_DEMOD_EXPORT lib_dma_qam_demod_t : public lib_dma_frame_configure_manager_t
{
public:
    lib_dma_qam_demod_t();

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
    bool lib_dma_qam_demod_process(std::uint32_t segment_index, const complex_array& raw_window, const complex_array& demod_block,
                                   lib_dma_phy_data_manager_t& data_manager, lib_dma_demod_config_mgr& config);
    /// Frees the working arrays and empties both maps.
    void clear();

    /// Filters `work.iq_data` with the measurement filter, delay taken out. @return false when no taps came out
    bool meas_filter_process();
    /// Times `work.iq_data` into `work.timing_data`. @return true
    bool timing_recovery();

    // Carrier (lib_dma_qam_carrier.cpp)

    /// Measures the carrier on the timed signal: up to four passes of the loop with gains by format, a line through the phase
    /// of the one that held lock over the largest part.
    /// @param[out] phase_line          radians, the line at each symbol
    /// @param[out] residual_frequency  Hz, fixed turn of the format taken out
    /// @param[out] fit_coefficients    radians per symbol, radians at symbol 0
    /// @return false, logged, when the fit fails; a missing lock does not fail
    bool qam_carrier_recovery_new(float_array& phase_line, double& residual_frequency, float_array& fit_coefficients);
    /// One pass of the decision-directed phase, frequency and gain loop over `work.sync_symbol`: backward to settle, then
    /// forward.
    /// @param phase        radians, at the last symbol; 0 takes the phase that the last symbol's decision gives
    /// @param frequency    radians per symbol
    /// @param ki, kp       frequency and phase gain
    /// @param gain_memory, gain_update  weights of the old gain and of the new ratio of amplitudes
    /// @param lock_level   mean phase error in radians, over 18 symbols, below which a symbol counts as locked
    /// Source: F. M. Gardner, Phaselock Techniques, 3rd ed., Wiley, 2005.
    carrier_syn_info_t qam_carrier_coarse_syn(float phase, float frequency, float ki, float kp, float gain_memory,
                                              float gain_update, float lock_level);
    /// An earlier design that the run does not use: one decision-directed loop that listens to the outermost points alone.
    /// Arguments and result as `qam_carrier_recovery_new`.
    bool qam_carrier_recovery_old(float_array& phase_line, double& residual_frequency, float_array& fit_coefficients);
    /// Amplitudes of the symbols. Serves the earlier design, as the two below.
    static float_array qam_mag(const complex_array& symbols);
    /// Amplitude above which a symbol at unit rms is one of the outermost points: halfway between the two largest amplitudes.
    float qam_cal_mag_th(lib_dma_qam_modulation_type_t format);
    /// The loop of the earlier design. @param[out] locked_point  first symbol to be fitted; @return whether it locked
    bool qam_lock_phase_detect(float_array& phase_track, std::uint32_t& locked_point);

    /// Decides every symbol of the timed signal. @return true
    bool symbol_detect();
    /// Rebuilds the ideal waveform and aligns it with the measured one in time, level and phase.
    /// @return false, reported, when the measurement has no signal
    bool ref_data_generate(lib_dma_demod_config_mgr& config);
    /// Decodes the symbols, searches the sync word, cuts both waveforms to the window and scales them.
    /// @return false, reported, when reference or measurement have no level
    bool qam_decode_bit(std::uint32_t segment_index, lib_dma_phy_data_manager_t& data_manager);
    /// Turns both waveforms by the configured IQ rotation. @return true
    bool deal_phase_rotation();
    /// Compares the waveforms and fills the results of the segment. @return true
    bool error_cal(std::uint32_t segment_index, lib_dma_phy_data_manager_t& data_manager);
    /// Converts the measurement window into sample positions of the capture. @return true
    bool cal_demod_param(lib_dma_demod_config_mgr& config);

    /// Decided ideal point of a symbol at unit rms. A format without points is logged and decided as 0. The map is kept
    /// while the format stays.
    std::complex<float> qam_judge(lib_dma_qam_modulation_type_t format, std::complex<float> point);

    static constexpr lib_dma_qam_modulation_type_t qam_format_default = LIB_DMA_QAM_16;

    demod_setting_t setting;
    demod_work_t work;
    lib_dma_qam_modulation_type_t qam_format = qam_format_default;
    constellation_map judge_map; ///< the format's points as `qam_judge` left them

private:
    /// The measurement filter, from a block into `work.iq_data`. @return false when no taps came out
    bool _filter_block(const complex_array& block);
    /// Fixed turn of the format, radians per symbol; 0 for the formats that stand still. The carrier loop takes it in single
    /// precision, the reference in double.
    double _get_turn() const;
    /// Makes the map of a format unless it stands already.
    void _update_judge_map(lib_dma_qam_modulation_type_t format);
    /// The pass that held lock over the largest part of the symbols.
    carrier_syn_info_t _find_best_pass();
    /// Fits a line to a phase track and takes it out of the symbols.
    bool _fit_carrier(const float_array& phase_track, std::uint32_t locked_point, float_array& phase_line,
                      double& residual_frequency, float_array& fit_coefficients);
    /// `_fit_carrier` for the carrier that a pass corrects; negates its phase track.
    bool _fit_pass(carrier_syn_info_t& pass, float_array& phase_line, double& residual_frequency,
                   float_array& fit_coefficients);
    /// Replaces a line that leaves the symbols off their points by that of a slower pass, if one does better.
    /// @param[in,out] distance  `_cal_point_distance` of the line that stands
    void _try_slow_passes(double& distance, float_array& phase_line, double& residual_frequency, float_array& fit_coefficients);
    /// The same by a search that needs no loop, and that finds the level to decide at too.
    void _try_line_search(double& distance, float_array& phase_line, double& residual_frequency, float_array& fit_coefficients);
    /// Mean squared distance of `work.sync_symbol`, times `level`, to the nearest points, 1 when there is no carrier phase; 0
    /// without points.
    double _cal_point_distance(float level);
    /// Rms of all symbols of the timed signal over that of those without the run-in.
    float _cal_level_ratio() const;

    common_lib::lib_filter_t filter_; ///< measurement and reference filter in turn
    qam_slicer_t judge_slicer_;       ///< `judge_map`, laid out for decisions in constant time
    lib_dma_qam_modulation_type_t judge_format_ = qam_format_default; ///< what `judge_map` was made for
    bool judge_map_made_ = false;
    float decision_level_ = 1.0f; ///< factor on symbols at unit rms before they are decided
};
} // namespace vrim::dma_demod_lib
