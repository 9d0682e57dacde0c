#include "cfg/cfg_dma_frame.h"

#include "lib_dma_common/run_in.h"
#include "support/internal/narrow.h"
#include "support/trace_output.h"

#include <cmath>
#include <fmt/format.h>

namespace vrim::dma_demod_lib
{
namespace
{
constexpr double time_tolerance = 1e-12; // s
} // namespace

cfg_dma_frame_t::cfg_dma_frame_t() : segment_(frame_)
{
    init();
}

// Here and in the assignment the cursor comes first: placing it refreshes the stored number of segments, which would make a
// copy of a frame whose number is out of date differ from its source.
cfg_dma_frame_t::cfg_dma_frame_t(const cfg_dma_frame_t& other) : segment_(frame_)
{
    frame_ = other.frame_;
}

cfg_dma_frame_t& cfg_dma_frame_t::operator=(const cfg_dma_frame_t& other)
{
    segment_.init(); // stays bound to this object's manager
    frame_ = other.frame_;
    return *this;
}

cfg_dma_frame_t::~cfg_dma_frame_t() = default;

bool cfg_dma_frame_t::operator==(const cfg_dma_frame_t& other) const
{
    return frame_ == other.frame_;
}

bool cfg_dma_frame_t::operator!=(const cfg_dma_frame_t& other) const
{
    return !(*this == other);
}

void cfg_dma_frame_t::init()
{
    frame_.init();
    segment_.init();
}

void cfg_dma_frame_t::reset()
{
    frame_.reset();
}

const lib_dma_frame_configure_manager_t& cfg_dma_frame_t::get_frame_manager() const
{
    return frame_;
}

cfg_dma_segment_t& cfg_dma_frame_t::get_segment(std::uint32_t index)
{
    const std::uint32_t number = frame_.get_segment_number();
    if (index < number)
    {
        segment_.set_current_segment_index(index);
        return segment_;
    }
    common_log::print_trace_line(
        fmt::format("warning!cfg_dma_frame_t::get_segment Report: current segment_index({})Out of Range({} !)", index, number));
    segment_.set_current_segment_index(0);
    return segment_;
}

void cfg_dma_frame_t::add_segment()
{
    frame_.add_segment();
}

bool cfg_dma_frame_t::remove_segment(std::uint32_t index)
{
    if (!frame_.remove_segment(index))
        return false;
    segment_.set_current_segment_index(0);
    return true;
}

bool cfg_dma_frame_t::set_segment_number(std::uint32_t value)
{
    if (!frame_.set_segment_number(value))
        return false;
    segment_.set_current_segment_index(0);
    const std::uint32_t current = frame_.get_current_segment_index();
    // The number as asked for, not as clamped: no index lies below 0.
    if (value > current)
    {
        frame_.set_current_segment_index(current);
        return true;
    }
    common_log::print_trace_line(
        fmt::format("warning!set_segment_number:: current segment_index({})Out of Range({} !)", current, value));
    frame_.set_current_segment_index(0);
    return true;
}

bool cfg_dma_frame_t::set_current_segment_index(std::uint32_t value)
{
    return frame_.set_current_segment_index(value);
}

bool cfg_dma_frame_t::set_search_length(double value)
{
    return frame_.set_search_length(value);
}

bool cfg_dma_frame_t::set_burst_search(bool value)
{
    return frame_.set_burst_search(value);
}

bool cfg_dma_frame_t::set_burst_search_threshold(float value)
{
    return frame_.set_burst_search_threshold(value);
}

bool cfg_dma_frame_t::set_sync_offset(float value)
{
    return frame_.set_sync_offset(value);
}

bool cfg_dma_frame_t::set_sync_pattern_type(lib_dma_sync_pattern_t value)
{
    return frame_.set_sync_pattern_type(value);
}

bool cfg_dma_frame_t::set_sync_pattern_bit(std::string text)
{
    return frame_.set_sync_pattern_bit(text);
}

bool cfg_dma_frame_t::set_sync_pattern_hex(std::string text)
{
    return frame_.set_sync_pattern_hex(text);
}

bool cfg_dma_frame_t::set_sync_pattern_int(std::uint32_t value)
{
    return frame_.set_sync_pattern_int(value);
}

bool cfg_dma_frame_t::set_sync_search(bool value)
{
    return frame_.set_sync_search(value);
}

bool cfg_dma_frame_t::set_enable_mannual_data_sample_rate(bool value)
{
    return frame_.set_enable_mannual_data_sample_rate(value);
}

void cfg_dma_frame_t::set_mannual_data_sample_rate(double value)
{
    frame_.set_mannual_data_sample_rate(value);
}

bool cfg_dma_frame_t::set_bandwidth(std::uint64_t value)
{
    return frame_.set_bandwidth(value);
}

std::uint32_t cfg_dma_frame_t::get_segment_number()
{
    return frame_.get_segment_number();
}

std::uint32_t cfg_dma_frame_t::get_segment_number() const
{
    return frame_.get_segment_number();
}

std::uint32_t cfg_dma_frame_t::get_current_segment_index() const
{
    return frame_.get_current_segment_index();
}

double cfg_dma_frame_t::get_search_length() const
{
    return frame_.get_search_length();
}

bool cfg_dma_frame_t::get_burst_search() const
{
    return frame_.get_burst_search();
}

float cfg_dma_frame_t::get_burst_search_threshold() const
{
    return frame_.get_burst_search_threshold();
}

float cfg_dma_frame_t::get_sync_offset() const
{
    return frame_.get_sync_offset();
}

lib_dma_sync_pattern_t cfg_dma_frame_t::get_sync_pattern_type() const
{
    return frame_.get_sync_pattern_type();
}

const std::string& cfg_dma_frame_t::get_sync_pattern_bit() const
{
    return frame_.get_sync_pattern_bit();
}

const std::string& cfg_dma_frame_t::get_sync_pattern_hex() const
{
    return frame_.get_sync_pattern_hex();
}

std::uint32_t cfg_dma_frame_t::get_sync_pattern_int() const
{
    return frame_.get_sync_pattern_int();
}

bit_array cfg_dma_frame_t::get_sync_pattern_bitarr() const
{
    return frame_.get_sync_pattern_bitarr();
}

bool cfg_dma_frame_t::get_sync_search() const
{
    return frame_.get_sync_search();
}

bool cfg_dma_frame_t::get_enable_mannual_data_sample_rate() const
{
    return frame_.get_enable_mannual_data_sample_rate();
}

double cfg_dma_frame_t::get_mannual_data_sample_rate() const
{
    return frame_.get_mannual_data_sample_rate();
}

std::uint64_t cfg_dma_frame_t::get_bandwidth() const
{
    return frame_.get_bandwidth();
}

bool cfg_dma_frame_t::cal_preprocess_param(std::uint32_t segment_index, lib_dma_demod_config_mgr& config) const
{
    update_run_in(frame_.get_segment(segment_index), config);
    return true;
}

bool cfg_dma_frame_t::cal_demod_data_len(std::uint64_t sample_rate, double& search_length, std::uint64_t& data_len) const
{
    lib_dma_demod_config_mgr config;
    for (std::uint32_t index = 0; index < get_segment_number(); ++index)
    {
        if (!cal_preprocess_param(index, config))
            return false;
    }
    if (config.minseglen - search_length > time_tolerance)
        search_length = config.minseglen;
    const double length = config.pre_time + config.equalizer_time + search_length;
    data_len = common_lib::saturate<std::uint64_t>(std::ceil(length * static_cast<double>(sample_rate)));
    // Printed every time; hosts take the figure from this line.
    common_log::print_trace_line(fmt::format("search_length can not less than search_len({})!", data_len));
    return true;
}
} // namespace vrim::dma_demod_lib
