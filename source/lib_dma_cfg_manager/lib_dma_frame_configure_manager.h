#pragma once

#include "dma_export.h"
#include "dma_types.h"
#include "lib_dma_cfg_manager/lib_dma_enum.h"
#include "lib_dma_cfg_manager/lib_dma_segment_configure_manager.h"
#include "lib_dma_cfg_manager/lib_segment_level_info.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vrim::dma_demod_lib
{
/// The root of the configuration: what holds for a whole capture, and its one to six segments.
///
/// Segments are linked to the address of the frame that holds them, so the list never relocates and never grows past six.
/// A copy gets segments of its own, all linked to itself; an assignment copies the data into the slots that are there, which
/// keep their links, and links the slots it has to make to the target. Equality leaves the links out. A move copies.
///
/// Setters clamp silently and return true unless said otherwise.
class DMA_DEMOD_EXPORT lib_dma_frame_configure_manager_t
{
public:
    static constexpr std::uint32_t max_segment_number = 6;

    /// One segment, everything at its default.
    lib_dma_frame_configure_manager_t();
    lib_dma_frame_configure_manager_t(const lib_dma_frame_configure_manager_t& other);
    lib_dma_frame_configure_manager_t& operator=(const lib_dma_frame_configure_manager_t& other);
    ~lib_dma_frame_configure_manager_t() = default;
    bool operator==(const lib_dma_frame_configure_manager_t& other) const;

    /// Restores the defaults with one new segment.
    void init();
    /// The same as `init()`.
    void reset();

    /// Appends a default segment that is linked to the frame; does nothing with six segments.
    void add_segment();
    /// Moves the data of the segments behind `index` one slot forward and drops the last slot.
    /// @return false when the segment does not exist or is the only one
    bool remove_segment(std::uint32_t index);
    /// Drops segments at the end or appends default ones without a link to the frame. The cursor stays.
    /// @param value  1 to 6
    bool set_segment_number(std::uint32_t value);
    /// Counts the segments, and refreshes the stored number, which `check_sync_pattern_bit` may have left behind.
    std::uint32_t get_segment_number();
    /// Counts the segments.
    std::uint32_t get_segment_number() const;
    /// An index past the end gives the last segment.
    lib_dma_segment_configure_manager_t& get_segment(std::uint32_t index);
    const lib_dma_segment_configure_manager_t& get_segment(std::uint32_t index) const;
    /// @param value  at most the stored number of segments, which stands for one past the last
    bool set_current_segment_index(std::uint32_t value);
    std::uint32_t get_current_segment_index() const;

    /// Seconds, at least 1e-7.
    bool set_search_length(double value);
    bool set_burst_search(bool value);
    /// dB, -200 to 200.
    bool set_burst_search_threshold(float value);
    /// Symbols, -32768 to 32767.
    bool set_sync_offset(float value);
    bool set_sync_pattern_type(lib_dma_sync_pattern_t value);
    /// Turning it on sets the measurement offset of the first segment to 0. It cannot be turned off while the first segment
    /// counts bit errors and is the only or the current one.
    bool set_sync_search(bool value);
    bool set_enable_mannual_data_sample_rate(bool value);
    /// Hz, 1e6 to 1e10.
    void set_mannual_data_sample_rate(double value);
    /// Hz, at most 1e10. @return false, nothing stored, for 0
    bool set_bandwidth(std::uint64_t value);

    double get_search_length() const;
    bool get_burst_search() const;
    float get_burst_search_threshold() const;
    float get_sync_offset() const;
    lib_dma_sync_pattern_t get_sync_pattern_type() const;
    bool get_sync_search() const;
    bool get_enable_mannual_data_sample_rate() const;
    double get_mannual_data_sample_rate() const;
    std::uint64_t get_bandwidth() const;

    /// The three setters of the sync word. Each empties the pattern bits; the one of the present pattern type then fills them,
    /// in the shape that `check_sync_pattern_bit` gives, and the others return true and leave it at that.
    /// @param text  digits 0 and 1; rewritten in the stored text as the checked bits
    /// @return false, the text as it was and the bits as parsed, for a text without bits or a group without bits per symbol
    bool set_sync_pattern_bit(const std::string& text);
    /// @param text  hexadecimal digits, first the most significant; rewritten in the stored text as the checked bits
    bool set_sync_pattern_hex(const std::string& text);
    /// @param value  at most 262144; gives one more bit than its logarithm, rounded up to whole hexadecimal digits, most
    ///               significant first, and no bits for 0. The stored text stays.
    bool set_sync_pattern_int(std::uint32_t value);
    /// Both give the stored text as it stands, in the notation of the setter that wrote it.
    const std::string& get_sync_pattern_bit() const;
    const std::string& get_sync_pattern_hex() const;
    std::uint32_t get_sync_pattern_int() const;
    bit_array get_sync_pattern_bitarr() const;

    /// Cuts bits to whole symbols of the current segment's format, or fills them with zeros up to one symbol. On the way the
    /// list of segments is cut, or filled, to end with the current one; the stored number of segments stays as it was.
    /// @return false for no bits, when nothing else happens, and, logged, for a group without bits per symbol
    bool check_sync_pattern_bit(bit_array& bits);

    /// Turns the sync search on when the first segment counts bit errors and is the only or the current one. This is what the
    /// links of the segments call.
    void update_syn_pattern_by_ber();

private:
    struct parameter_t
    {
        double search_length = 0.0001; // s
        std::uint32_t segment_number = 1;
        std::uint32_t current_segment_index = 0;
        bool burst_search = false;
        std::string sync_pattern_text = "0";
        std::uint32_t sync_pattern_int = 0;
        bool sync_search = false;
        float burst_search_threshold = -30.0f;
        float sync_offset = 0.0f;
        lib_dma_sync_pattern_t sync_pattern_type = LIB_DMA_SYNC_BIT_PATTERN;
        bit_array sync_pattern_bits = bit_array(1, 0);
        bool enable_mannual_data_sample_rate = false;
        double mannual_data_sample_rate = 20'000'000.0; // Hz
        std::uint64_t bandwidth = 20'000'000;           // Hz

        bool operator==(const parameter_t&) const = default;
    };

    lib_segment_level_info_t _generate_required_info_for_segment_layers();
    std::uint32_t _count_segments() const;
    void _resize_segments(std::uint32_t count);

    parameter_t parameter_;
    std::vector<lib_dma_segment_configure_manager_t> segments_;
};
} // namespace vrim::dma_demod_lib
