#pragma once

#include "cfg/cfg_dma_frame.h"
#include "message_capture.h"

#include <cstddef>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <pugixml.hpp>
#include <sstream>
#include <string>

/// Settings trees as texts, for tests that write and read them.
namespace vrim::dma_demod_lib
{
/// Keeps what is logged and printed; every recall of a preset with a symbol 0 logs a line.
class setting_test_t : public testing::Test
{
protected:
    log_capture_t log;
    trace_capture_t trace;
};

inline std::string make_element(const std::string& name, const std::string& content)
{
    return fmt::format("<{0}>{1}</{0}>", name, content);
}

/// A tree of frame elements; `content` may hold segments too.
inline std::string make_tree(const std::string& content)
{
    return "<setup ProtocolType=\"cfg_dma_frame\">" + make_element("cfg_dma_frame", content) + "</setup>";
}

inline std::string make_segment(const std::string& records)
{
    return make_element("cfg_dma_segement", records);
}

/// The list around segments.
inline std::string make_list(const std::string& segments)
{
    return make_element("cfg_dma_segement", segments);
}

inline std::string repeat(const std::string& text, std::size_t count)
{
    std::string all;
    all.reserve(text.size() * count);
    for (std::size_t i = 0; i < count; ++i)
        all += text;
    return all;
}

/// Recalls from the first element of a text.
inline bool recall_text(cfg_dma_frame_t& frame, const std::string& text)
{
    pugi::xml_document document;
    document.load_buffer(text.data(), text.size());
    return frame.recall_dma_setting(document.document_element());
}

/// What a save writes below an empty element, without blanks between the elements.
inline std::string save_text(cfg_dma_frame_t& frame)
{
    pugi::xml_document document;
    pugi::xml_node node = document.append_child("setup");
    frame.save_dma_setting(node);
    std::ostringstream out;
    document.save(out, "", pugi::format_raw | pugi::format_no_declaration);
    return out.str();
}

// The records of the first segment; the cursor goes there.

inline cfg_dma_time_t& time_of(cfg_dma_frame_t& frame)
{
    return frame.get_segment(0).get_time_cfg();
}

inline cfg_dma_filter_t& filter_of(cfg_dma_frame_t& frame)
{
    return frame.get_segment(0).get_filter_cfg();
}

inline cfg_dma_format_t& format_of(cfg_dma_frame_t& frame)
{
    return frame.get_segment(0).get_format_cfg();
}

inline cfg_dma_advance_t& advance_of(cfg_dma_frame_t& frame)
{
    return frame.get_segment(0).get_advance_cfg();
}

inline cfg_dma_recall_demod_info_t& info_of(cfg_dma_frame_t& frame)
{
    return frame.get_segment(0).get_recall_demod_info_cfg();
}
} // namespace vrim::dma_demod_lib
