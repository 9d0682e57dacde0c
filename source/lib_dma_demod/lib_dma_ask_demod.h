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
/// Turns a block of ASK samples into measured symbols, an ideal reference, decoded symbols and an error table.
///
/// The object is itself a full copy of the frame configuration. It holds no state between segments: `init` and
/// `set_frame_configure` precede each run. One object serves one thread at a time.
class DMA_DEMOD_EXPORT lib_dma_ask_demod_t : public lib_dma_frame_configure_manager_t
{
public:
    lib_dma_ask_demod_t();

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
    bool lib_dma_ask_demod_process(std::uint32_t segment_index, const complex_array& raw_window, const complex_array& demod_block,
                                   lib_dma_phy_data_manager_t& data_manager, lib_dma_demod_config_mgr& config);
    /// Frees the working arrays and empties both maps.
    void clear();

    /// Filters `work.iq_data` with the measurement filter, delay taken out. @return false when no taps came out
    bool meas_filter_process();
    /// Times `work.iq_data` into `work.timing_data`. @return true
    bool timing_recovery();
    /// Measures the carrier on the timed signal by a decision-directed loop and a line through its phase.
    /// @param[out] phase_line          radians, the line at each symbol
    /// @param[out] residual_frequency  Hz
    /// @param[out] fit_coefficients    radians per symbol, radians at symbol 0
    /// @param[out] phase_track         radians, the loop after each symbol, not wrapped
    /// @return false, logged, when the fit fails; a missing lock is logged and does not fail
    bool ask_carrier_sync(float_array& phase_line, double& residual_frequency, float_array& fit_coefficients,
                          float_array& phase_track);
    /// Decides every symbol of the timed signal. @return true
    bool symbol_detect();
    /// Rebuilds the ideal waveform and aligns it with the measured one in time, level and phase.
    /// @return false, reported, when the measurement has no signal
    bool ref_data_generate(lib_dma_demod_config_mgr& config);
    /// Decodes the symbols, searches the sync word, cuts both waveforms to the window and scales them.
    /// @return false, reported, when reference or measurement have no level
    bool ask_decode_bit(std::uint32_t segment_index, lib_dma_phy_data_manager_t& data_manager);
    /// Turns both waveforms by the configured IQ rotation. @return true
    bool deal_phase_rotation();
    /// Compares the waveforms and fills the results of the segment. @return true
    bool error_cal(std::uint32_t segment_index, lib_dma_phy_data_manager_t& data_manager);
    /// Modulation depth: 1 less the sum of the amplitudes below their mean over the sum of those at or above it. It is the
    /// depth where both classes have as many symbols. Without symbols, or without level, the stored depth stays.
    /// @return true
    bool depth_cal(std::uint32_t segment_index, lib_dma_phy_data_manager_t& data_manager);
    /// Converts the measurement window into sample positions of the capture. @return true
    bool cal_demod_param(lib_dma_demod_config_mgr& config);

    /// Decided ideal point of a symbol at unit rms. A format without points is logged and decided as 0. The map is kept
    /// while the format stays.
    std::complex<float> ask_judge(lib_dma_ask_modulation_type_t format, std::complex<float> point);

    /// Slicers on the real part: the levels of a format at an rms of `scale`, borders belonging to the lower level.
    static std::complex<float> ask_judge_2(std::complex<float> point, float scale);
    static std::complex<float> ask_judge_4(std::complex<float> point, float scale);
    static std::complex<float> ask_judge_8(std::complex<float> point, float scale);
    static std::complex<float> ask_judge_16(std::complex<float> point, float scale);

    static constexpr lib_dma_ask_modulation_type_t ask_format_default = LIB_DMA_ASK_2;

    demod_setting_t setting;
    demod_work_t work;
    lib_dma_ask_modulation_type_t ask_format = ask_format_default;
    constellation_map judge_map; ///< the format's points as `ask_judge` left them

private:
    /// The measurement filter, from a block into `work.iq_data`. @return false when no taps came out
    bool _filter_block(const complex_array& block);
    /// Makes the map of a format unless it stands already.
    void _update_judge_map(lib_dma_ask_modulation_type_t format);

    common_lib::lib_filter_t filter_; ///< measurement and reference filter in turn
    decision_table_t judge_table_;    ///< `judge_map`, laid out for walking
    lib_dma_ask_modulation_type_t judge_format_ = ask_format_default; ///< what `judge_map` was made for
    bool judge_map_made_ = false;
};
} // namespace vrim::dma_demod_lib
