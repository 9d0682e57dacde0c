#pragma once

#include "dma_export.h"
#include "lib_dma_cfg_manager/lib_dma_frame_configure_manager.h"
#include "lib_dma_phy_result.h"

#include <cstdint>
#include <vector>

namespace vrim::dma_demod_lib
{
/// The one place where an analysis leaves what it found: a row of arrays with one entry a segment.
///
/// Accessors return references that are good until the next `init`, `clear_data` or `set_config`. Unless said otherwise an
/// index past the last segment raises std::out_of_range. There is no synchronisation: read it after the run.
class DMA_DEMOD_EXPORT lib_dma_phy_data_manager_t
{
public:
    lib_dma_phy_data_manager_t();

    /// Empties the store and makes one default entry.
    void init();
    /// Sizes every array to the frame's segments; entries that are there stay. @return true
    bool set_config(const lib_dma_frame_configure_manager_t& frame);
    bool init_dma_demod_config(const lib_dma_frame_configure_manager_t& frame);
    /// What `init` and `set_config` do together, but the memory of the long arrays serves the next run.
    void restart(const lib_dma_frame_configure_manager_t& frame);
    /// Frees all per-segment arrays. The segment count, the rotation record and the equalizer arrays stay.
    void clear_data();

    lib_dma_demod_config_mgr& get_dma_demod_config_mgr(std::uint32_t segment_index);
    const lib_dma_demod_config_mgr& get_dma_demod_config_mgr(std::uint32_t segment_index) const;
    error_summary_t& get_error_summary(std::uint32_t segment_index);
    const error_summary_t& get_error_summary(std::uint32_t segment_index) const;
    err_table_t& get_err_table(std::uint32_t segment_index);
    const err_table_t& get_err_table(std::uint32_t segment_index) const;
    /// Constellation index of each symbol.
    std::vector<std::uint32_t>& get_decode_bit(std::uint32_t segment_index);
    const std::vector<std::uint32_t>& get_decode_bit(std::uint32_t segment_index) const;
    /// Measured symbols, one sample a symbol.
    complex_array& get_iq_meas_time_constellation(std::uint32_t segment_index);
    const complex_array& get_iq_meas_time_constellation(std::uint32_t segment_index) const;
    /// Ideal symbols, one sample a symbol.
    complex_array& get_iq_ref_time_constellation(std::uint32_t segment_index);
    const complex_array& get_iq_ref_time_constellation(std::uint32_t segment_index) const;
    /// The block at the working rate, cut or extended with zeros to interval * points per symbol samples.
    complex_array& get_iq_raw_time(std::uint32_t segment_index);
    const complex_array& get_iq_raw_time(std::uint32_t segment_index) const;

    /// The next three take an index past the last segment as the last one.
    complex_array& get_error_vector(std::uint32_t segment_index);
    const complex_array& get_error_vector(std::uint32_t segment_index) const;
    /// Magnitude error in percent, as real parts.
    complex_array& get_mag_error_vector(std::uint32_t segment_index);
    const complex_array& get_mag_error_vector(std::uint32_t segment_index) const;
    /// Phase error in degrees, as real parts.
    complex_array& get_phase_error_vector(std::uint32_t segment_index);
    const complex_array& get_phase_error_vector(std::uint32_t segment_index) const;

    /// True when bits were decoded. For an index past the last segment the last burst flag is read instead.
    bool get_decode_bit_flag(std::uint32_t segment_index) const;
    /// True when the sync pattern was found. For an index past the last segment the last burst flag is read instead.
    bool get_sync_search_flag(std::uint32_t segment_index) const;
    /// An index past the last segment is taken as the last one.
    bool get_brust_search_flag(std::uint32_t segment_index) const;

    /// What the equalizer of the last equalized segment of the run came to; empty when no segment had it on. I and Q parts of the
    /// impulse response at points_per_symbol per symbol, as real parts; the tap at half the length is the centre.
    complex_array& get_eq_impulse_i();
    const complex_array& get_eq_impulse_i() const;
    complex_array& get_eq_impulse_q();
    const complex_array& get_eq_impulse_q() const;
    /// Its frequency response from -half to just below half of points_per_symbol * symbol rate, zero frequency at half the
    /// length, without the delay to the centre tap.
    complex_array& get_eq_frequency_response();
    const complex_array& get_eq_frequency_response() const;
    lib_dma_psk_modulation_param& get_psk_modulation_param();
    const lib_dma_psk_modulation_param& get_psk_modulation_param() const;

    /// The flags of all segments; this is how the stages set them.
    std::vector<bool>& get_decode_bit_flag_vec();
    const std::vector<bool>& get_decode_bit_flag_vec() const;
    std::vector<bool>& get_sync_search_flag_vec();
    const std::vector<bool>& get_sync_search_flag_vec() const;
    std::vector<bool>& get_brust_search_flag_vec();
    const std::vector<bool>& get_brust_search_flag_vec() const;

private:
    void _resize(std::uint32_t count);
    std::uint32_t _get_clamped_index(std::uint32_t segment_index) const;

    std::uint32_t segment_number_ = 1;
    std::vector<lib_dma_demod_config_mgr> dma_demod_config_mgr_;
    std::vector<complex_array> iq_raw_time_;
    std::vector<complex_array> iq_meas_time_constellation_;
    std::vector<complex_array> iq_ref_time_constellation_;
    std::vector<complex_array> error_vector_;
    std::vector<complex_array> mag_error_vector_;
    std::vector<complex_array> phase_error_vector_;
    std::vector<std::vector<std::uint32_t>> decode_bit_;
    std::vector<error_summary_t> error_summary_;
    std::vector<err_table_t> err_table_;
    lib_dma_psk_modulation_param psk_modulation_param_;
    complex_array eq_frequency_response_;
    complex_array eq_impulse_q_;
    complex_array eq_impulse_i_;
    std::vector<bool> decode_bit_flag_;
    std::vector<bool> sync_search_flag_;
    std::vector<bool> brust_search_flag_;
};
} // namespace vrim::dma_demod_lib
