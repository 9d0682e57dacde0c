#pragma once

#include "lib_dma_cfg_manager/lib_dma_frame_configure_manager.h"
#include "settings_file.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <pugixml.hpp>
#include <string>
#include <vector>

namespace dmatool
{
/// One value of a settings file that does not come out of a recall as it stands.
struct settings_change_t
{
    std::string path; ///< elements from the frame on, segment elements counted from 1
    std::string file; ///< what the file says, in quotes, or that it says nothing
    std::string kept; ///< what the settings hold after the recall
    std::string why;
    bool made_good = false; ///< by the commands of this program, which know what the file means
};

struct settings_check_t
{
    std::vector<settings_change_t> changes;
    std::size_t passed_over = 0;    ///< changes beyond the ones that are listed
    std::vector<std::string> notes; ///< what the format loses in any case
};

/// Compares a file with what a recall made of it.
settings_check_t check_settings(const settings_tree_t& tree, const vrim::dma_demod_lib::lib_dma_frame_configure_manager_t& kept);

/// The offset that the first segment's time record asks for and that the sync search of the file took to 0.
std::optional<std::int32_t> find_searched_offset(const pugi::xml_node& time,
                                                 const vrim::dma_demod_lib::lib_dma_frame_configure_manager_t& kept);

/// The change in one line.
std::string get_change_text(const settings_change_t& change);
} // namespace dmatool
