#pragma once

#include "lib_dma_cfg_manager/lib_dma_frame_configure_manager.h"

#include <cstdint>
#include <string>

/// Frames and their segments, in few words.
namespace vrim::dma_demod_lib
{
using manager_t = lib_dma_frame_configure_manager_t;

inline constexpr const char* callback_report = "lib_dma_segment_configure_manager_t::update_syn_pattern_by_ber callback error!\n";

inline manager_t make_frame(std::uint32_t segments)
{
    manager_t frame;
    while (frame.get_segment_number() < segments)
        frame.add_segment();
    return frame;
}

/// Marks each segment by its interval, so that moves of data can be seen.
inline void mark_segments(manager_t& frame)
{
    for (std::uint32_t i = 0; i < frame.get_segment_number(); ++i)
        frame.get_segment(i).get_time_configure().set_meas_interval(LIB_DMA_GROUP_PSK, 100 + i);
}

inline std::uint32_t get_mark(const manager_t& frame, std::uint32_t index)
{
    return frame.get_segment(index).get_time_configure().get_meas_interval();
}

inline bool set_ber_state(manager_t& frame, std::uint32_t index, bool value)
{
    return frame.get_segment(index).get_recall_demod_info_configure().set_ber_state(value);
}

inline void set_psk(manager_t& frame, std::uint32_t index, lib_dma_psk_modulation_type_t format)
{
    frame.get_segment(index).get_format_configure().set_psk_format(format);
}

inline bit_array to_bits(const std::string& text)
{
    bit_array bits;
    for (const char c : text)
        bits.push_back(static_cast<std::uint8_t>(c - '0'));
    return bits;
}
} // namespace vrim::dma_demod_lib
