#pragma once

#include "lib_dma_cfg_manager/lib_dma_frame_configure_manager.h"
#include "settings_check.h"

#include <string>

namespace dmatool
{
/// Every setting in words, or as one JSON document whose keys are the elements' names (settings_report.cpp).
std::string make_settings_text_report(const std::string& path,
                                      const vrim::dma_demod_lib::lib_dma_frame_configure_manager_t& frame);
std::string make_settings_json_report(const std::string& path,
                                      const vrim::dma_demod_lib::lib_dma_frame_configure_manager_t& frame);

/// What a recall changes, one line each, and what the format loses anyway.
std::string make_check_text_report(const std::string& path, const settings_check_t& check);
std::string make_check_json_report(const std::string& path, const settings_check_t& check);
} // namespace dmatool
