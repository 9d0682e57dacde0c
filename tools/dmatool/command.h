#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <string>

namespace dmatool
{
/// Receives a note or a log line as soon as there is one.
using line_sink_t = std::function<void(const std::string&)>;

/// One command of the program.
struct command_t
{
    CLI::App* words; ///< its options; says whether the user asked for this command
    /// Does the work once the options are parsed. @return the text for standard output; @throws tool_error_t
    std::function<std::string(const line_sink_t& notes)> run;
    std::string memory_advice; ///< what to ask less of when there is not enough memory
};

// Each adds its options to the program and gives back what runs it.

command_t add_analyze_command(CLI::App& program);
command_t add_filter_command(CLI::App& program);
} // namespace dmatool
