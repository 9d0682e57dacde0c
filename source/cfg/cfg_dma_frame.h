#pragma once

#include "cfg/cfg_dma_segment.h"
#include "dma_export.h"
#include "dma_types.h"
#include "lib_dma_cfg_manager/lib_dma_enum.h"
#include "lib_dma_cfg_manager/lib_dma_frame_configure_manager.h"
#include "lib_dma_phy_result.h"

#include <cstdint>
#include <string>

namespace pugi
{
class xml_node;
}

namespace vrim::dma_demod_lib
{
/// The configuration as the host sees it: what holds for a whole capture, and a segment cursor for the rest.
///
/// There is one cursor: a reference that `get_segment` gave follows every later call of it. The manager's current segment
/// index is a setting of its own and moves no cursor.
///
/// A copy has settings of its own and its cursor on the first segment; so has the target of an assignment. A move copies.
/// Setters without a comment go to the operation of the same name of `lib_dma_frame_configure_manager_t`, with its limits and
/// results.
class DMA_DEMOD_EXPORT cfg_dma_frame_t
{
public:
    /// One segment, everything at its default.
    cfg_dma_frame_t();
    cfg_dma_frame_t(const cfg_dma_frame_t& other);
    cfg_dma_frame_t& operator=(const cfg_dma_frame_t& other);
    ~cfg_dma_frame_t();
    /// Compares the settings; the cursors take no part.
    bool operator==(const cfg_dma_frame_t& other) const;
    bool operator!=(const cfg_dma_frame_t& other) const;

    /// Restores the defaults with one segment, the cursor on it.
    void init();
    /// Restores the defaults with one segment and leaves the cursor; past the end it stands for the last segment.
    void reset();

    /// The settings, as the driver takes them.
    const lib_dma_frame_configure_manager_t& get_frame_manager() const;
    /// Moves the cursor. An index past the end is reported and gives the first segment.
    cfg_dma_segment_t& get_segment(std::uint32_t index);

    void add_segment();
    /// Puts the cursor on the first segment when a segment was removed; the current segment index stays.
    /// @return false when the segment does not exist or is the only one
    bool remove_segment(std::uint32_t index);
    /// Puts the cursor on the first segment. A current segment index of `value` or more is reported and becomes 0; so is any
    /// index for a `value` of 0, which leaves one segment.
    /// @param value  1 to 6
    bool set_segment_number(std::uint32_t value);
    bool set_current_segment_index(std::uint32_t value);
    bool set_search_length(double value);
    bool set_burst_search(bool value);
    bool set_burst_search_threshold(float value);
    bool set_sync_offset(float value);
    bool set_sync_pattern_type(lib_dma_sync_pattern_t value);
    bool set_sync_pattern_bit(std::string text);
    bool set_sync_pattern_hex(std::string text);
    bool set_sync_pattern_int(std::uint32_t value);
    bool set_sync_search(bool value);
    bool set_enable_mannual_data_sample_rate(bool value);
    void set_mannual_data_sample_rate(double value);
    bool set_bandwidth(std::uint64_t value);

    /// Counts the segments, and refreshes the stored number.
    std::uint32_t get_segment_number();
    /// Counts the segments.
    std::uint32_t get_segment_number() const;
    std::uint32_t get_current_segment_index() const;
    double get_search_length() const;
    bool get_burst_search() const;
    float get_burst_search_threshold() const;
    float get_sync_offset() const;
    lib_dma_sync_pattern_t get_sync_pattern_type() const;
    const std::string& get_sync_pattern_bit() const;
    const std::string& get_sync_pattern_hex() const;
    std::uint32_t get_sync_pattern_int() const;
    bit_array get_sync_pattern_bitarr() const;
    bool get_sync_search() const;
    bool get_enable_mannual_data_sample_rate() const;
    double get_mannual_data_sample_rate() const;
    std::uint64_t get_bandwidth() const;

    /// Gathers the run-in of one segment as an analysis does: `pre_time` and `equalizer_time` (of a segment with the equalizer
    /// on) become those of this segment, `minseglen` only grows.
    /// @param segment_index  an index past the end takes the last segment
    /// @return true
    bool cal_preprocess_param(std::uint32_t segment_index, lib_dma_demod_config_mgr& config) const;
    /// How long a capture has to be for one analysis.
    /// @param         sample_rate    Hz
    /// @param[in,out] search_length  seconds; raised to what the longest segment needs
    /// @param[out]    data_len       samples, run-in included; also printed. The largest number for a length that does not fit,
    ///                               0 for one that is not a number
    /// @return true
    bool cal_demod_data_len(std::uint64_t sample_rate, double& search_length, std::uint64_t& data_len) const;

    /// Writes the settings below `node`, of the segments the first only, and leaves the cursor there.
    bool save_dma_setting(pugi::xml_node& node);
    /// Reads settings that `save_dma_setting` wrote.
    /// @return false, the settings as they were, for a node of another protocol
    bool recall_dma_setting(const pugi::xml_node& node);

private:
    lib_dma_frame_configure_manager_t frame_;
    cfg_dma_segment_t segment_;
};
} // namespace vrim::dma_demod_lib
