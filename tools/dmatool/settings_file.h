#pragma once

#include "cfg/cfg_dma_frame.h"
#include "lib_dma_cfg_manager/lib_dma_frame_configure_manager.h"

#include <cstddef>
#include <pugixml.hpp>
#include <string>
#include <vector>

namespace dmatool
{
/// A file of settings, well formed and of the right kind, not yet recalled.
struct settings_tree_t
{
    std::string path;
    pugi::xml_document document;
    pugi::xml_node node;               ///< the one with the settings' protocol
    pugi::xml_node frame;              ///< its frame; may be absent
    std::vector<pugi::xml_node> items; ///< the segment elements
};

/// Reads a file and finds the settings in it. @throws tool_error_t
settings_tree_t read_settings_tree(const std::string& path);

/// Recalls the settings, with the library's texts kept off standard output.
/// @param allow_large  whether payload patterns of gigabytes may be built
/// @return what the library printed and logged
/// @throws tool_error_t for patterns that were not allowed
std::vector<std::string> recall_settings(const settings_tree_t& tree, bool allow_large,
                                         vrim::dma_demod_lib::cfg_dma_frame_t& settings);

/// A settings file as text.
struct settings_text_t
{
    std::string text;
    std::vector<std::string> notes; ///< what a recall of it would make of the settings
};

/// Makes the file of a frame's first segment. Flags that are read as numbers are written as numbers, and the payload's bits are
/// those that a recall makes.
/// @throws tool_error_t for values that no file can hold
settings_text_t make_settings_text(const vrim::dma_demod_lib::lib_dma_frame_configure_manager_t& frame);
} // namespace dmatool
