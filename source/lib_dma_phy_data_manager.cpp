#include "lib_dma_phy_data_manager.h"

#include <utility>

namespace vrim::dma_demod_lib
{
namespace
{
template <typename array_t>
void release(array_t& array)
{
    array_t().swap(array);
}
} // namespace

lib_dma_phy_data_manager_t::lib_dma_phy_data_manager_t()
{
    init();
}

void lib_dma_phy_data_manager_t::init()
{
    clear_data();
    _resize(1);
    psk_modulation_param_ = {};
}

bool lib_dma_phy_data_manager_t::set_config(const lib_dma_frame_configure_manager_t& frame)
{
    return init_dma_demod_config(frame);
}

bool lib_dma_phy_data_manager_t::init_dma_demod_config(const lib_dma_frame_configure_manager_t& frame)
{
    _resize(frame.get_segment_number());
    return true;
}

void lib_dma_phy_data_manager_t::restart(const lib_dma_frame_configure_manager_t& frame)
{
    _resize(frame.get_segment_number());
    const auto empty_all = [](auto& arrays)
    {
        for (auto& array : arrays)
            array.clear();
    };
    empty_all(iq_raw_time_);
    empty_all(iq_meas_time_constellation_);
    empty_all(iq_ref_time_constellation_);
    empty_all(error_vector_);
    empty_all(mag_error_vector_);
    empty_all(phase_error_vector_);
    empty_all(decode_bit_);
    for (error_summary_t& summary : error_summary_)
    {
        error_summary_t fresh;
        fresh.meas_data.swap(summary.meas_data);
        fresh.ref_data.swap(summary.ref_data);
        fresh.meas_data.clear();
        fresh.ref_data.clear();
        summary = std::move(fresh);
    }
    dma_demod_config_mgr_.assign(segment_number_, {});
    err_table_.assign(segment_number_, {});
    decode_bit_flag_.assign(segment_number_, false);
    sync_search_flag_.assign(segment_number_, false);
    brust_search_flag_.assign(segment_number_, false);
    psk_modulation_param_ = {};
}

void lib_dma_phy_data_manager_t::clear_data()
{
    release(dma_demod_config_mgr_);
    release(iq_raw_time_);
    release(iq_meas_time_constellation_);
    release(iq_ref_time_constellation_);
    release(error_vector_);
    release(mag_error_vector_);
    release(phase_error_vector_);
    release(decode_bit_);
    release(error_summary_);
    release(err_table_);
    decode_bit_flag_.clear();
    sync_search_flag_.clear();
    brust_search_flag_.clear();
}

lib_dma_demod_config_mgr& lib_dma_phy_data_manager_t::get_dma_demod_config_mgr(std::uint32_t segment_index)
{
    return dma_demod_config_mgr_.at(segment_index);
}

const lib_dma_demod_config_mgr& lib_dma_phy_data_manager_t::get_dma_demod_config_mgr(std::uint32_t segment_index) const
{
    return dma_demod_config_mgr_.at(segment_index);
}

error_summary_t& lib_dma_phy_data_manager_t::get_error_summary(std::uint32_t segment_index)
{
    return error_summary_.at(segment_index);
}

const error_summary_t& lib_dma_phy_data_manager_t::get_error_summary(std::uint32_t segment_index) const
{
    return error_summary_.at(segment_index);
}

err_table_t& lib_dma_phy_data_manager_t::get_err_table(std::uint32_t segment_index)
{
    return err_table_.at(segment_index);
}

const err_table_t& lib_dma_phy_data_manager_t::get_err_table(std::uint32_t segment_index) const
{
    return err_table_.at(segment_index);
}

std::vector<std::uint32_t>& lib_dma_phy_data_manager_t::get_decode_bit(std::uint32_t segment_index)
{
    return decode_bit_.at(segment_index);
}

const std::vector<std::uint32_t>& lib_dma_phy_data_manager_t::get_decode_bit(std::uint32_t segment_index) const
{
    return decode_bit_.at(segment_index);
}

complex_array& lib_dma_phy_data_manager_t::get_iq_meas_time_constellation(std::uint32_t segment_index)
{
    return iq_meas_time_constellation_.at(segment_index);
}

const complex_array& lib_dma_phy_data_manager_t::get_iq_meas_time_constellation(std::uint32_t segment_index) const
{
    return iq_meas_time_constellation_.at(segment_index);
}

complex_array& lib_dma_phy_data_manager_t::get_iq_ref_time_constellation(std::uint32_t segment_index)
{
    return iq_ref_time_constellation_.at(segment_index);
}

const complex_array& lib_dma_phy_data_manager_t::get_iq_ref_time_constellation(std::uint32_t segment_index) const
{
    return iq_ref_time_constellation_.at(segment_index);
}

complex_array& lib_dma_phy_data_manager_t::get_iq_raw_time(std::uint32_t segment_index)
{
    return iq_raw_time_.at(segment_index);
}

const complex_array& lib_dma_phy_data_manager_t::get_iq_raw_time(std::uint32_t segment_index) const
{
    return iq_raw_time_.at(segment_index);
}

complex_array& lib_dma_phy_data_manager_t::get_error_vector(std::uint32_t segment_index)
{
    return error_vector_.at(_get_clamped_index(segment_index));
}

const complex_array& lib_dma_phy_data_manager_t::get_error_vector(std::uint32_t segment_index) const
{
    return error_vector_.at(_get_clamped_index(segment_index));
}

complex_array& lib_dma_phy_data_manager_t::get_mag_error_vector(std::uint32_t segment_index)
{
    return mag_error_vector_.at(_get_clamped_index(segment_index));
}

const complex_array& lib_dma_phy_data_manager_t::get_mag_error_vector(std::uint32_t segment_index) const
{
    return mag_error_vector_.at(_get_clamped_index(segment_index));
}

complex_array& lib_dma_phy_data_manager_t::get_phase_error_vector(std::uint32_t segment_index)
{
    return phase_error_vector_.at(_get_clamped_index(segment_index));
}

const complex_array& lib_dma_phy_data_manager_t::get_phase_error_vector(std::uint32_t segment_index) const
{
    return phase_error_vector_.at(_get_clamped_index(segment_index));
}

bool lib_dma_phy_data_manager_t::get_decode_bit_flag(std::uint32_t segment_index) const
{
    // Past the last segment the burst flag answers, not the decode flag: hosts rely on it.
    if (segment_index >= segment_number_)
        return get_brust_search_flag(segment_index);
    return decode_bit_flag_.at(segment_index);
}

bool lib_dma_phy_data_manager_t::get_sync_search_flag(std::uint32_t segment_index) const
{
    // As with the decode flag.
    if (segment_index >= segment_number_)
        return get_brust_search_flag(segment_index);
    return sync_search_flag_.at(segment_index);
}

bool lib_dma_phy_data_manager_t::get_brust_search_flag(std::uint32_t segment_index) const
{
    return brust_search_flag_.at(_get_clamped_index(segment_index));
}

complex_array& lib_dma_phy_data_manager_t::get_eq_impulse_i()
{
    return eq_impulse_i_;
}

const complex_array& lib_dma_phy_data_manager_t::get_eq_impulse_i() const
{
    return eq_impulse_i_;
}

complex_array& lib_dma_phy_data_manager_t::get_eq_impulse_q()
{
    return eq_impulse_q_;
}

const complex_array& lib_dma_phy_data_manager_t::get_eq_impulse_q() const
{
    return eq_impulse_q_;
}

complex_array& lib_dma_phy_data_manager_t::get_eq_frequency_response()
{
    return eq_frequency_response_;
}

const complex_array& lib_dma_phy_data_manager_t::get_eq_frequency_response() const
{
    return eq_frequency_response_;
}

lib_dma_psk_modulation_param& lib_dma_phy_data_manager_t::get_psk_modulation_param()
{
    return psk_modulation_param_;
}

const lib_dma_psk_modulation_param& lib_dma_phy_data_manager_t::get_psk_modulation_param() const
{
    return psk_modulation_param_;
}

std::vector<bool>& lib_dma_phy_data_manager_t::get_decode_bit_flag_vec()
{
    return decode_bit_flag_;
}

const std::vector<bool>& lib_dma_phy_data_manager_t::get_decode_bit_flag_vec() const
{
    return decode_bit_flag_;
}

std::vector<bool>& lib_dma_phy_data_manager_t::get_sync_search_flag_vec()
{
    return sync_search_flag_;
}

const std::vector<bool>& lib_dma_phy_data_manager_t::get_sync_search_flag_vec() const
{
    return sync_search_flag_;
}

std::vector<bool>& lib_dma_phy_data_manager_t::get_brust_search_flag_vec()
{
    return brust_search_flag_;
}

const std::vector<bool>& lib_dma_phy_data_manager_t::get_brust_search_flag_vec() const
{
    return brust_search_flag_;
}

void lib_dma_phy_data_manager_t::_resize(std::uint32_t count)
{
    segment_number_ = count;
    dma_demod_config_mgr_.resize(count);
    iq_raw_time_.resize(count);
    iq_meas_time_constellation_.resize(count);
    iq_ref_time_constellation_.resize(count);
    error_vector_.resize(count);
    mag_error_vector_.resize(count);
    phase_error_vector_.resize(count);
    decode_bit_.resize(count);
    error_summary_.resize(count);
    err_table_.resize(count);
    decode_bit_flag_.resize(count);
    sync_search_flag_.resize(count);
    brust_search_flag_.resize(count);
}

std::uint32_t lib_dma_phy_data_manager_t::_get_clamped_index(std::uint32_t segment_index) const
{
    return segment_index >= segment_number_ ? segment_number_ - 1 : segment_index;
}
} // namespace vrim::dma_demod_lib
