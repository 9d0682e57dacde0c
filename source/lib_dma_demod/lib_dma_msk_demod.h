#pragma once

#include "dma_export.h"
#include "dma_types.h"
#include "lib_dma_cfg_manager/lib_dma_frame_configure_manager.h"
#include "lib_dma_demod/lib_dma_demod_record.h"
#include "lib_dma_phy_data_manager.h"
#include "lib_dma_phy_result.h"
#include "support/lib_filter.h"

#include <complex>
#include <cstdint>
#include <vector>

namespace vrim::dma_demod_lib
{
/// Turns a block of MSK or GMSK samples into measured symbols, an ideal reference, decoded bits and an error table.
///
/// A bit is a quarter turn, up for 1 and down for 0. Sample 0 of the timed signal and every `setting.sps`-th after it stand
/// in the middle of a bit, where MSK is a QPSK on the diagonals.
///
/// The object is itself a full copy of the frame configuration. It holds no state between segments: `init` and
/// `set_frame_configure` precede each run. One object serves one thread at a time.
class DMA_DEMOD_EXPORT lib_dma_msk_demod_t : public lib_dma_frame_configure_manager_t
{
public:
    lib_dma_msk_demod_t();

    /// Frees the working arrays and restores the defaults. The kind of the pulse filter stays.
    void init();
    /// Takes the frame and the settings of one segment, with the lengths that the driver computed. @return true
    bool set_frame_configure(const lib_dma_frame_configure_manager_t& frame, std::uint32_t segment_index,
                             const lib_dma_demod_config_mgr& config);
    /// Runs the whole pipeline on one segment.
    /// @param raw_window   block at the capture's rate; not read
    /// @param demod_block  block at `setting.sps` samples a bit
    /// @param data_manager receives the results of `segment_index`
    /// @param config       carrier offset and result positions are written
    /// @return false, logged, when a stage fails; the arrays stay filled until the next `init` then
    bool lib_dma_msk_demod_process(std::uint32_t segment_index, const complex_array& raw_window, const complex_array& demod_block,
                                   lib_dma_phy_data_manager_t& data_manager, lib_dma_demod_config_mgr& config);
    /// Frees the working arrays and empties the user's map.
    void clear();

    /// Filters `work.iq_data` with the measurement filter, delay taken out. @return false when no taps came out
    bool meas_filter_process();
    /// Times `work.iq_data` into `work.timing_data` by one feed-forward estimate over the whole record: squared products of
    /// samples one, two and three bits apart stand still at the borders of the bits and average out between them. Blocks whose
    /// data hide that are left out; where noise hides it, means over a bit take the place of the samples. The input comes back at
    /// unit rms and padded. (lib_dma_msk_timing.cpp)
    /// @return false, logged, when the run-in takes the whole record or less than one block is left
    /// Source: U. Mengali, A. N. D'Andrea, Synchronization Techniques for Digital Receivers, Plenum, 1997.
    bool timing_recovery();
    /// Measures the carrier on the timed signal by a decision-directed loop and a line through its phase. Where the signal does
    /// not stand still along that line, for noise or a carrier beyond the loop's reach, the line of the squared pulses takes its
    /// place: up to 0.1 turns per bit. (lib_dma_msk_carrier.cpp)
    /// @param[out] phase_line          radians, the line at each bit
    /// @param[out] residual_frequency  Hz
    /// @param[out] fit_coefficients    radians per bit, radians at bit 0
    /// @param[out] phase_track         radians, the loop after each bit, not wrapped
    /// @return false, logged, when the fit fails; a missing lock is logged and does not fail
    bool msk_carrier_sync(float_array& phase_line, double& residual_frequency, float_array& fit_coefficients,
                          float_array& phase_track);
    /// Decides the bits of the timed signal and rebuilds the waveform from them (lib_dma_msk_reference.cpp).
    /// @return as `ref_filter_generate`
    bool ref_data_generate(lib_dma_demod_config_mgr& config);
    /// Ideal waveform of a row of bits, `setting.sps` samples each, into `work.ref_data`. Aligns `work.meas_data` with it in
    /// level and phase and takes the run-in off both. With the filters "none" and "Gaussian" the waveform stands exactly on the
    /// signal; the others shift it, by half a sample (rectangular) to half the filter length (half sine).
    /// @param bits  0 and 1
    /// @return false, reported, when the measurement has no signal or a bit no samples
    bool ref_filter_generate(const float_array& bits, lib_dma_demod_config_mgr& config);
    /// Turns the measured waveform by the quarter turns that it stands off the reference at its first sample, or as a whole where
    /// noise hides those of the first sample. Brings both to the result rate. @return true
    bool phase_ambiguity_cal();
    /// Takes the bits that the reference was made of, or those of the waveform behind an equalizer, searches the sync word, cuts
    /// both waveforms to the window and scales them.
    /// @return false, reported, when reference or measurement have no level
    bool msk_decode_bit(std::uint32_t segment_index, lib_dma_phy_data_manager_t& data_manager);
    /// Compares the waveforms and fills the results of the segment. @return true
    bool error_cal(std::uint32_t segment_index, lib_dma_phy_data_manager_t& data_manager);
    /// Converts the measurement window into sample positions of the capture. @return true
    bool cal_demod_param(lib_dma_demod_config_mgr& config);

    /// Decided point of a symbol, one of the four on the diagonals. A border belongs to the sector below it.
    static std::complex<float> msk_judge(std::complex<float> point, float spare);
    /// Bits by matched integration with half-sine weights: I and Q change in turn, each over two bits (lib_dma_msk_bit.cpp).
    /// Quarter turns of the waveform do not change them.
    /// @param samples  bit k in the middle of sample k * `sps`, bit borders near the axes; a last part of a bit is left out
    /// @param sps      samples per bit
    /// @return 0 and 1, one a bit
    /// Source: S. Pasupathy, "Minimum shift keying: a spectrally efficient modulation", IEEE Commun. Mag. 17(4), 1979.
    static float_array msk_bit_demod(const complex_array& samples, std::uint32_t sps);

    static constexpr lib_dma_msk_modulation_type_t msk_format_default = LIB_DMA_MSK_TYPE1;

    demod_setting_t setting;
    demod_work_t work;
    lib_dma_msk_modulation_type_t msk_format = msk_format_default; ///< both types are measured alike
    std::uint32_t interp_order = 16;                               ///< taps of the fractional delay
    std::uint32_t syn_sym_num = 64;                                ///< bits of a timing block
    std::uint32_t max_cycles = 64;                                 ///< most timing blocks that are used
    float_array block_frequency;                                   ///< turns per bit, one for each timing block; to look at

private:
    /// Replaces a carrier line along which the pulses do not add up by that of their squares, where it serves better.
    void _try_square_line(float_array& fit_coefficients) const;

    /// Whether the bits of the reference are those of the measured waveform: no equalizer has changed it since.
    bool _has_decided_bits() const;

    std::vector<std::uint32_t> decided_bits_; ///< those of the reference, behind the run-in
    common_lib::lib_filter_t filter_;         ///< measurement and reference filter in turn
};
} // namespace vrim::dma_demod_lib
