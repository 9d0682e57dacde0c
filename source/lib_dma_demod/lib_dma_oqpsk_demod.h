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
#include <cstddef>
#include <cstdint>

namespace vrim::dma_demod_lib
{
/// Turns a block of offset QPSK samples into measured symbols, an ideal reference, decoded symbols and an error table.
///
/// Q stands half a symbol behind I. The waveforms keep that offset; symbols are decided with Q moved forward. Carrier phase
/// and clock come from one joint estimate, so there is no carrier loop.
///
/// The object is itself a full copy of the frame configuration. It holds no state between segments: `init` and
/// `set_frame_configure` precede each run. One object serves one thread at a time.
class DMA_DEMOD_EXPORT lib_dma_oqpsk_demod_t : public lib_dma_frame_configure_manager_t
{
public:
    lib_dma_oqpsk_demod_t();

    /// Frees the working arrays and maps and restores the defaults. The kind of the pulse filter stays.
    void init();
    /// Takes the frame and the settings of one segment, with the lengths that the driver computed. @return true
    bool set_frame_configure(const lib_dma_frame_configure_manager_t& frame, std::uint32_t segment_index,
                             const lib_dma_demod_config_mgr& config);
    /// Runs the whole pipeline on one segment.
    /// @param raw_window   block at the capture's rate; not read
    /// @param demod_block  block at `setting.sps` samples a symbol
    /// @param data_manager receives the results of `segment_index`
    /// @param config       carrier offset is written; the result positions stay as they were
    /// @return false, logged, when a stage fails; the arrays stay filled until the next `init` then
    bool lib_dma_oqpsk_demod_process(std::uint32_t segment_index, const complex_array& raw_window,
                                     const complex_array& demod_block, lib_dma_phy_data_manager_t& data_manager,
                                     lib_dma_demod_config_mgr& config);
    /// Frees the working arrays and empties both maps.
    void clear();

    // Phase and timing (lib_dma_oqpsk_timing.cpp)

    /// Makes `est_template` for `setting.sps` and the roll-off `setting.filter_beta`: 8 * sps taps, tap 4 * sps at time 0.
    /// @return true
    bool oqpsk_phase_timing_est_prepare();
    /// Estimates phase and timing of `data` over every window of 64 symbols, from the lines that the square of the signal has
    /// one symbol rate above and below twice the carrier.
    /// @param data         samples at sps per symbol, carrier within a small part of 1 / 256 symbol rate
    /// @param[out] phase   radians modulo a quarter turn, unwrapped along sums over 256 symbols
    /// @param[out] timing  symbols, negated: the symbols of I stand at (k - timing) * sps samples
    /// @param[out] count   windows, one a sample
    /// @return false, without windows, when `data` is shorter than one
    bool phase_timing_estimate(const complex_array& data, float_array& phase, float_array& timing, std::uint32_t& count);
    /// Takes the line of the estimated phase out of `work.iq_data` and times it into `work.timing_data`.
    /// @param[out] residual_hz  Hz, mean slope of the estimated phase; not written when there is no estimate
    /// @return false, logged, when there is no estimate or no line through it
    bool timing_recovery(float& residual_hz);

    /// Filters `work.timing_data` with the measurement filter, delay taken out. @return false when no taps came out
    bool meas_filter_process();
    /// Decides every symbol of the timed signal, Q taken half a symbol later than I. @return true
    bool symbol_detect(const lib_dma_psk_modulation_param& psk_param);
    /// Rebuilds the ideal waveform and aligns the measured one with it in level and phase.
    /// @return false, reported, when the measurement has no signal
    bool ref_data_generate(lib_dma_demod_config_mgr& config);
    /// Decodes the decided symbols, searches the sync word, cuts both waveforms to the window and scales them.
    /// @return false, reported, when reference or measurement have no level
    bool oqpsk_decode_bit(std::uint32_t segment_index, lib_dma_phy_data_manager_t& data_manager);
    /// Turns both waveforms by the configured IQ rotation. @return true
    bool deal_phase_rotation();
    /// Compares the waveforms and fills the results of the segment: at the symbols of I with `oqpsk_alig_iq`, otherwise at
    /// every half symbol. @return true
    bool error_cal(std::uint32_t segment_index, lib_dma_phy_data_manager_t& data_manager);
    /// Converts the measurement window into sample positions of the capture. The process does not call it. @return true
    bool cal_demod_param(lib_dma_demod_config_mgr& config);

    /// Decided ideal point of a symbol at unit rms, Q moved forward: the nearest one of the map in the frame turned by
    /// `rotation`. An unknown format is logged and decided as 0. The map is kept while format and rotation stay.
    /// @param format  value of a `lib_dma_oqpsk_modulation_type_t`
    std::complex<float> oqpsk_judge(lib_dma_psk_modulation_type_t format, std::complex<float> point, float rotation);

    static constexpr lib_dma_oqpsk_modulation_type_t oqpsk_format_default = LIB_DMA_MODULATION_PSK_OFFSET_QPSK;
    static constexpr std::uint32_t interp_order_default = 16;

    demod_setting_t setting;
    demod_work_t work;
    lib_dma_oqpsk_modulation_type_t oqpsk_format = oqpsk_format_default;
    bool oqpsk_alig_iq = false;                        ///< results on the grid of whole symbols
    complex_array est_template;                        ///< real taps, filter of the phase and timing estimate
    std::uint32_t interp_order = interp_order_default; ///< taps of the fractional delay
    constellation_map judge_map;                       ///< the format's points as `oqpsk_judge` left them

private:
    /// Carrier offset of the block without its margins, Hz, to `carrier_frequency_offset`. @return false when there is none
    bool _measure_frequency(std::uint32_t segment_index, lib_dma_demod_config_mgr& config,
                            lib_dma_psk_modulation_param& psk_param);
    /// Phase of one line of the squared signal over every window, unwrapped, radians.
    /// @param direction  of the mixer by half the symbol rate: -1 for the line above the carrier, 1 for the one below
    float_array _cal_line_phase(const complex_array& data, float direction, std::size_t count) const;
    /// Makes the map of a format and rotation unless it stands already.
    void _update_judge_map(lib_dma_psk_modulation_type_t format, float rotation);
    /// Decision on the map that stands.
    std::complex<float> _judge(std::complex<float> point) const;
    lib_dma_psk_modulation_type_t _get_judge_format() const;

    common_lib::lib_filter_t filter_; ///< measurement and reference filter in turn
    decision_table_t judge_table_;    ///< `judge_map`, laid out for walking
    lib_dma_psk_modulation_type_t judge_format_ = {};
    float judge_rotation_ = 0.0f;
    std::complex<float> judge_turn_ = { 1.0f, 0.0f }; ///< e^(j judge_rotation_)
    bool judge_map_made_ = false;
};
} // namespace vrim::dma_demod_lib
