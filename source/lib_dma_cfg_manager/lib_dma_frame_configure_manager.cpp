#include "lib_dma_cfg_manager/lib_dma_frame_configure_manager.h"

#include "lib_dma_cfg_manager/clamp_value.h"
#include "lib_dma_common/lib_dma_phy_common.h"
#include "support/lib_common_list_parse.h"
#include "support/log_macro.h"

#include <algorithm>
#include <bit>

namespace vrim::dma_demod_lib
{
namespace
{
constexpr double tolerance = 1e-12;
constexpr double min_search_length_seconds = 1e-7;
constexpr double min_data_sample_rate_hz = 1e6;
constexpr double max_data_sample_rate_hz = 1e10;
constexpr std::uint64_t max_bandwidth_hz = 10'000'000'000;
constexpr float max_burst_threshold_db = 200.0f;
constexpr float min_sync_offset_symbols = -32768.0f;
constexpr float max_sync_offset_symbols = 32767.0f;
constexpr std::uint32_t max_sync_pattern_int = 262144;

// 0 for a group that has no bits per symbol.
std::uint32_t get_bits_per_symbol(const lib_dma_format_configure_manager_t& format)
{
    switch (format.get_format_group())
    {
    case LIB_DMA_GROUP_PSK:
        return lib_dma_phy_common_t::get_psk_order_from_modulation(format.get_psk_format());
    case LIB_DMA_GROUP_QAM:
        return lib_dma_phy_common_t::get_qm_from_modulation(format.get_qam_format());
    case LIB_DMA_GROUP_FSK:
        return lib_dma_phy_common_t::get_fsk_order_from_modulation(format.get_fsk_format());
    case LIB_DMA_GROUP_ASK:
        return lib_dma_phy_common_t::get_ask_order_from_modulation(format.get_ask_format());
    case LIB_DMA_GROUP_APSK:
        return lib_dma_phy_common_t::get_apsk_order_from_modulation(format.get_apsk_format());
    case LIB_DMA_GROUP_DPSK:
        return lib_dma_phy_common_t::get_dpsk_order_from_modulation(format.get_dpsk_format());
    case LIB_DMA_GROUP_OQPSK:
        return lib_dma_phy_common_t::get_psk_order_from_modulation(LIB_DMA_MODULATION_PSK_QPSK);
    case LIB_DMA_GROUP_MSK:
        return 1;
    default:
        return 0;
    }
}
} // namespace

lib_dma_frame_configure_manager_t::lib_dma_frame_configure_manager_t()
{
    init();
}

lib_dma_frame_configure_manager_t::lib_dma_frame_configure_manager_t(const lib_dma_frame_configure_manager_t& other)
{
    segments_.reserve(max_segment_number);
    *this = other;
}

lib_dma_frame_configure_manager_t& lib_dma_frame_configure_manager_t::operator=(const lib_dma_frame_configure_manager_t& other)
{
    if (this == &other)
        return *this;
    parameter_ = other.parameter_;
    // Slot by slot: the list's own assignment would copy-construct the missing ones, and those would be without a link.
    while (segments_.size() > other.segments_.size())
        segments_.pop_back();
    while (segments_.size() < other.segments_.size())
        segments_.emplace_back(_generate_required_info_for_segment_layers());
    std::copy(other.segments_.begin(), other.segments_.end(), segments_.begin());
    return *this;
}

bool lib_dma_frame_configure_manager_t::operator==(const lib_dma_frame_configure_manager_t& other) const
{
    return parameter_ == other.parameter_ && segments_ == other.segments_;
}

void lib_dma_frame_configure_manager_t::init()
{
    parameter_ = {};
    segments_.clear();
    segments_.reserve(max_segment_number);
    segments_.emplace_back(_generate_required_info_for_segment_layers());
}

void lib_dma_frame_configure_manager_t::reset()
{
    init();
}

void lib_dma_frame_configure_manager_t::add_segment()
{
    if (_count_segments() >= max_segment_number)
        return;
    segments_.emplace_back(_generate_required_info_for_segment_layers());
    parameter_.segment_number = _count_segments();
}

bool lib_dma_frame_configure_manager_t::remove_segment(std::uint32_t index)
{
    parameter_.segment_number = _count_segments();
    if (parameter_.segment_number <= std::max(index, 1u))
        return false;
    // Data move forward and slots stay, so that every link stays where it was bound.
    for (std::size_t slot = index; slot + 1 < segments_.size(); ++slot)
        segments_[slot] = segments_[slot + 1];
    segments_.pop_back();
    parameter_.segment_number = _count_segments();
    return true;
}

bool lib_dma_frame_configure_manager_t::set_segment_number(std::uint32_t value)
{
    parameter_.segment_number = clamp_value(value, 1u, max_segment_number);
    _resize_segments(parameter_.segment_number);
    return true;
}

std::uint32_t lib_dma_frame_configure_manager_t::get_segment_number()
{
    parameter_.segment_number = _count_segments();
    return parameter_.segment_number;
}

std::uint32_t lib_dma_frame_configure_manager_t::get_segment_number() const
{
    return _count_segments();
}

lib_dma_segment_configure_manager_t& lib_dma_frame_configure_manager_t::get_segment(std::uint32_t index)
{
    return index < segments_.size() ? segments_[index] : segments_.back();
}

const lib_dma_segment_configure_manager_t& lib_dma_frame_configure_manager_t::get_segment(std::uint32_t index) const
{
    return index < segments_.size() ? segments_[index] : segments_.back();
}

bool lib_dma_frame_configure_manager_t::set_current_segment_index(std::uint32_t value)
{
    parameter_.current_segment_index = std::min(value, parameter_.segment_number);
    return true;
}

std::uint32_t lib_dma_frame_configure_manager_t::get_current_segment_index() const
{
    return parameter_.current_segment_index;
}

bool lib_dma_frame_configure_manager_t::set_search_length(double value)
{
    parameter_.search_length = value - min_search_length_seconds <= tolerance ? min_search_length_seconds : value;
    return true;
}

bool lib_dma_frame_configure_manager_t::set_burst_search(bool value)
{
    parameter_.burst_search = value;
    return true;
}

bool lib_dma_frame_configure_manager_t::set_burst_search_threshold(float value)
{
    parameter_.burst_search_threshold = clamp_value(value, -max_burst_threshold_db, max_burst_threshold_db);
    return true;
}

bool lib_dma_frame_configure_manager_t::set_sync_offset(float value)
{
    parameter_.sync_offset = clamp_value(value, min_sync_offset_symbols, max_sync_offset_symbols);
    return true;
}

bool lib_dma_frame_configure_manager_t::set_sync_pattern_type(lib_dma_sync_pattern_t value)
{
    parameter_.sync_pattern_type = value;
    return true;
}

bool lib_dma_frame_configure_manager_t::set_sync_search(bool value)
{
    parameter_.sync_search = value;
    if (value)
        segments_.at(0).get_time_configure().set_meas_offset(0);
    update_syn_pattern_by_ber();
    return true;
}

bool lib_dma_frame_configure_manager_t::set_enable_mannual_data_sample_rate(bool value)
{
    parameter_.enable_mannual_data_sample_rate = value;
    return true;
}

void lib_dma_frame_configure_manager_t::set_mannual_data_sample_rate(double value)
{
    if (tolerance > value - min_data_sample_rate_hz)
        parameter_.mannual_data_sample_rate = min_data_sample_rate_hz;
    else if (value - max_data_sample_rate_hz > tolerance)
        parameter_.mannual_data_sample_rate = max_data_sample_rate_hz;
    else
        parameter_.mannual_data_sample_rate = value;
}

bool lib_dma_frame_configure_manager_t::set_bandwidth(std::uint64_t value)
{
    if (value == 0)
        return false;
    parameter_.bandwidth = std::min(value, max_bandwidth_hz);
    return true;
}

double lib_dma_frame_configure_manager_t::get_search_length() const
{
    return parameter_.search_length;
}

bool lib_dma_frame_configure_manager_t::get_burst_search() const
{
    return parameter_.burst_search;
}

float lib_dma_frame_configure_manager_t::get_burst_search_threshold() const
{
    return parameter_.burst_search_threshold;
}

float lib_dma_frame_configure_manager_t::get_sync_offset() const
{
    return parameter_.sync_offset;
}

lib_dma_sync_pattern_t lib_dma_frame_configure_manager_t::get_sync_pattern_type() const
{
    return parameter_.sync_pattern_type;
}

bool lib_dma_frame_configure_manager_t::get_sync_search() const
{
    return parameter_.sync_search;
}

bool lib_dma_frame_configure_manager_t::get_enable_mannual_data_sample_rate() const
{
    return parameter_.enable_mannual_data_sample_rate;
}

double lib_dma_frame_configure_manager_t::get_mannual_data_sample_rate() const
{
    return parameter_.mannual_data_sample_rate;
}

std::uint64_t lib_dma_frame_configure_manager_t::get_bandwidth() const
{
    return parameter_.bandwidth;
}

bool lib_dma_frame_configure_manager_t::set_sync_pattern_bit(const std::string& text)
{
    bit_array& bits = parameter_.sync_pattern_bits;
    bits.clear();
    if (parameter_.sync_pattern_type != LIB_DMA_SYNC_BIT_PATTERN)
        return true;
    common_lib::lib_common_list_parse_t::string_to_bit_list(text, bits); // a bad text gives no bits, and the check says no
    if (!check_sync_pattern_bit(bits))
        return false;
    common_lib::lib_common_list_parse_t::bit_list_to_string(bits, parameter_.sync_pattern_text);
    return true;
}

bool lib_dma_frame_configure_manager_t::set_sync_pattern_hex(const std::string& text)
{
    bit_array& bits = parameter_.sync_pattern_bits;
    bits.clear();
    if (parameter_.sync_pattern_type != LIB_DMA_SYNC_HEX_PATTERN)
        return true;
    lib_dma_phy_common_t::hexstr2bitarr(text, true, bits);
    if (!check_sync_pattern_bit(bits))
        return false;
    bit_array whole_bytes = bits; // comes back filled up to whole bytes
    lib_dma_phy_common_t::bitarr2hexstr(whole_bytes, true, parameter_.sync_pattern_text);
    return true;
}

bool lib_dma_frame_configure_manager_t::set_sync_pattern_int(std::uint32_t value)
{
    bit_array& bits = parameter_.sync_pattern_bits;
    bits.clear();
    if (parameter_.sync_pattern_type != LIB_DMA_SYNC_INT_PATTERN)
        return true;
    parameter_.sync_pattern_int = std::min(value, max_sync_pattern_int);
    if (parameter_.sync_pattern_int == 0)
        return false;
    // ceil(log2(value)) + 1 bits in whole hexadecimal digits. This counts a bit more than 9 to 15 and their like need, which
    // gives those a leading digit of 0.
    const std::uint32_t log2_ceil = static_cast<std::uint32_t>(std::bit_width(parameter_.sync_pattern_int - 1));
    const std::uint32_t length = (log2_ceil + 1 + 3) / 4 * 4;
    bits = lib_dma_phy_common_t::int2array(parameter_.sync_pattern_int, length, 0, true);
    return check_sync_pattern_bit(bits);
}

const std::string& lib_dma_frame_configure_manager_t::get_sync_pattern_bit() const
{
    return parameter_.sync_pattern_text;
}

const std::string& lib_dma_frame_configure_manager_t::get_sync_pattern_hex() const
{
    return parameter_.sync_pattern_text;
}

std::uint32_t lib_dma_frame_configure_manager_t::get_sync_pattern_int() const
{
    return parameter_.sync_pattern_int;
}

bit_array lib_dma_frame_configure_manager_t::get_sync_pattern_bitarr() const
{
    return parameter_.sync_pattern_bits;
}

bool lib_dma_frame_configure_manager_t::check_sync_pattern_bit(bit_array& bits)
{
    if (bits.empty())
        return false;
    // The cursor may stand one past the last of six; the list has no room for a seventh.
    _resize_segments(std::min(parameter_.current_segment_index + 1, max_segment_number));
    const std::uint32_t bits_per_symbol =
        get_bits_per_symbol(get_segment(parameter_.current_segment_index).get_format_configure());
    if (bits_per_symbol == 0)
    {
        DMA_LOG_ERROR("lib_dma_frame_configure_manager_t::check_sync_pattern_bit default error!\n");
        return false;
    }
    const std::size_t whole_symbols = bits.size() / bits_per_symbol;
    bits.resize(std::max<std::size_t>(whole_symbols, 1) * bits_per_symbol, 0);
    return true;
}

void lib_dma_frame_configure_manager_t::update_syn_pattern_by_ber()
{
    const bool first_counts = parameter_.segment_number == 1 || parameter_.current_segment_index == 0;
    if (first_counts && segments_.at(0).get_recall_demod_info_configure().get_ber_state())
        parameter_.sync_search = true;
}

lib_segment_level_info_t lib_dma_frame_configure_manager_t::_generate_required_info_for_segment_layers()
{
    return { [this] { update_syn_pattern_by_ber(); } };
}

std::uint32_t lib_dma_frame_configure_manager_t::_count_segments() const
{
    return static_cast<std::uint32_t>(segments_.size());
}

void lib_dma_frame_configure_manager_t::_resize_segments(std::uint32_t count)
{
    while (segments_.size() > count)
        segments_.pop_back();
    while (segments_.size() < count)
        segments_.emplace_back(); // without a link: only add_segment and copies of a frame give one
}
} // namespace vrim::dma_demod_lib
