#pragma once

#include "analyze_options.h"

namespace dmatool
{
/// Reads the settings file of the arguments and makes its first segment what the options say until an option says otherwise.
/// Values that no analysis can use are refused unless an option stands in their place.
/// @throws tool_error_t
void take_settings_file(const analyze_arguments_t& arguments, analyze_options_t& options);

/// Group and format: what the options leave open comes from the file.
/// @throws tool_error_t
format_choice_t find_settings_format(const analyze_arguments_t& arguments,
                                     const vrim::dma_demod_lib::lib_dma_frame_configure_manager_t& settings);
} // namespace dmatool
