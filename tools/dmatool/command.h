#pragma once

#include "exit_status.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <string>
#include <utility>

namespace dmatool
{
/// Receives a note or a log line as soon as there is one.
using line_sink_t = std::function<void(const std::string&)>;

/// What a command leaves when nothing failed. Most end with a text only, which makes one by itself.
struct command_result_t
{
    command_result_t(std::string text, exit_status_t end_status = exit_ok) : output(std::move(text)), status(end_status) {}
    std::string output;   ///< for standard output
    exit_status_t status; ///< how the program ends once the text is out
};

/// One command of the program.
struct command_t
{
    CLI::App* words; ///< its options; says whether the user asked for this command
    /// Does the work once the options are parsed. @throws tool_error_t
    std::function<command_result_t(const line_sink_t& notes)> run;
    std::string memory_advice; ///< what to ask less of when there is not enough memory
};

// Each adds its options to the program and gives back what runs it.

command_t add_analyze_command(CLI::App& program);
command_t add_filter_command(CLI::App& program);
command_t add_settings_command(CLI::App& program);
} // namespace dmatool
