#pragma once

#include "tool_runner.h"

#include <string>
#include <utility>
#include <vector>

namespace dma_test
{
/// Runs `dmatool settings` with words that blanks separate.
tool_result_t run_settings(const std::string& words);

/// The text of a settings file with the library's defaults, as `settings write` makes it.
std::string get_default_settings();

/// The text with the content of one element replaced wherever the element stands.
std::string change_element(std::string text, const std::string& element, const std::string& content);

/// The line of a report that begins with a path; empty without one.
std::string find_line(const std::string& report, const std::string& path);

/// Paths of the first segment's records.
std::string get_segment_path(const std::string& rest, int item = 1);
} // namespace dma_test
