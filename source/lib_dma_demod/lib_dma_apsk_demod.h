#pragma once

#include "dma_export.h"
#include "dma_types.h"
#include "lib_dma_cfg_manager/lib_dma_frame_configure_manager.h"
#include "lib_dma_common/decision_table.h"
#include "lib_dma_common/lib_dma_phy_common.h"
#include "lib_dma_demod/lib_dma_demod_record.h"
#include "lib_dma_phy_data_manager.h"
#include "lib_dma_phy_result.h"
#include "support/lib_filter.h"

#include <complex>
#include <cstdint>

namespace vrim::dma_demod_lib
{
/// Turns a block of APSK samples into measured symbols, an ideal reference, decoded symbols and an error table.
///
/// The object is itself a full copy of the frame configuration. It holds no state between segments: `init` and
/// `set_frame_configure` precede each run. One object serves one thread at a time.
class DMA_DEMOD_EXPORT lib_dma_apsk_demod_t : public lib_dma_frame_configure_manager_t
{
public:
    lib_dma_apsk_demod_t();

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
    bool lib_dma_apsk_demod_process(std::uint32_t segment_index, const complex_array& raw_window, const complex_array& demod_block,
                                   lib_dma_phy_data_manager_t& data_manager, lib_dma_demod_config_mgr& config);
    /// Frees the working arrays and empties both maps.
    void clear();

    /// Filters `work.iq_data` with the measurement filter, delay taken out. @return false when no taps came out
    bool meas_filter_process();
    /// Times `work.iq_data` into `work.timing_data`. @return true
    bool timing_recovery();
    /// Measures the carrier on the timed signal: a loop that listens to the outer ring alone, the turn of the rings that it
    /// leaves open, and a line through its phase.
    /// @param[out] residual_frequency  Hz
    /// @param[out] fit_coefficients    radians per symbol, radians at symbol 0
    /// @return false, logged, when the fit fails; a missing lock is logged and does not fail
    bool apsk_first_lock_phase_detect(double& residual_frequency, float_array& fit_coefficients);
    /// Finds the turn of the rings that leaves the least distance to the decided points, and takes it out of the track.
    /// @param locked_point        first symbol to be fitted
    /// @param[in,out] phase_track radians; as it was after a false
    /// @return false when nothing lies behind `locked_point` or the fit fails
    bool apsk_second_lock_phase_detect(std::uint32_t locked_point, float_array& phase_track);
    /// Ring templates and amplitude borders of the format.
    /// @param[out] norm  constants of the carrier loop; empty for an unknown format, which is logged
    void cal_apsk_carrier_sync_params(apsk_norm_t& norm);
    /// Decides every symbol of the timed signal. @return true
    bool symbol_detect();
    /// Rebuilds the ideal waveform and aligns it with the measured one in time, level and phase.
    /// @return false, reported, when the measurement has no signal
    bool ref_data_generate(lib_dma_demod_config_mgr& config);
    /// Decodes the symbols, searches the sync word, cuts both waveforms to the window and scales them.
    /// @return false, reported, when reference or measurement have no level
    bool apsk_decode_bit(std::uint32_t segment_index, lib_dma_phy_data_manager_t& data_manager);
    /// Turns both waveforms by the configured IQ rotation. @return true
    bool deal_phase_rotation();
    /// Compares the waveforms and fills the results of the segment. @return true
    bool error_cal(std::uint32_t segment_index, lib_dma_phy_data_manager_t& data_manager);
    /// Ratios of the rings' radii, from the measured constellation in rising order of amplitude: a gap of 0.3 above the
    /// last ring's first amplitude starts a new ring. Exact on a clean signal; noise biases them upward, for the first
    /// amplitude of a ring is its least. Without a ring the stored ratios stay. @return true
    bool cal_apsk_r_ratio(std::uint32_t segment_index, lib_dma_phy_data_manager_t& data_manager);
    /// Converts the measurement window into sample positions of the capture. @return true
    bool cal_demod_param(lib_dma_demod_config_mgr& config);

    /// Decided ideal point of a symbol at unit rms. A format without points is logged and decided as 0. The map is kept
    /// while the format stays.
    std::complex<float> apsk_judge(lib_dma_apsk_modulation_type_t format, std::complex<float> point);

    /// Sector slicers: the ring by the amplitude borders, then the sector of the ring's points. Points stand as `apsk_judge`
    /// has them.
    std::complex<float> apsk_judge_16apsk(std::complex<float> point);
    std::complex<float> apsk_judge_32apsk(std::complex<float> point);

    static constexpr lib_dma_apsk_modulation_type_t apsk_format_default = LIB_DMA_APSK_16;

    demod_setting_t setting;
    demod_work_t work;
    lib_dma_apsk_modulation_type_t apsk_format = apsk_format_default;
    float apsk_r2_r1 = 0.0f; ///< ring ratios of the point set
    float apsk_r3_r1 = 0.0f;
    float ring_threshold_1 = 0.0f; ///< amplitude borders of the rings at unit rms
    float ring_threshold_2 = 0.0f;
    complex_array ring_1; ///< points of the rings at unit rms of the set
    complex_array ring_2;
    complex_array ring_3;
    constellation_map judge_map; ///< the format's points as `apsk_judge` left them

private:
    /// The measurement filter, from a block into `work.iq_data`. @return false when no taps came out
    bool _filter_block(const complex_array& block);
    /// Makes the map of a format and the ring ratios unless it stands already.
    void _update_judge_map(lib_dma_apsk_modulation_type_t format);
    /// Mean distance of symbols, turned by `turn` radians, to the decided points.
    float _cal_mean_distance(const complex_array& symbols, float turn) const;

    common_lib::lib_filter_t filter_; ///< measurement and reference filter in turn
    decision_table_t judge_table_;    ///< `judge_map`, laid out for walking
    lib_dma_apsk_modulation_type_t judge_format_ = apsk_format_default; ///< what `judge_map` was made for
    float judge_r2_r1_ = 0.0f;
    float judge_r3_r1_ = 0.0f;
    bool judge_map_made_ = false;
};
} // namespace vrim::dma_demod_lib
