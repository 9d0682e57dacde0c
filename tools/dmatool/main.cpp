// dmatool: measures digitally modulated signals in recorded samples and designs the filters for them.

#include "command.h"
#include "exit_status.h"
#include "tool_text.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <exception>
#include <new>
#include <sstream>
#include <string>
#include <vector>

namespace
{
void print_error_line(const std::string& text) noexcept
{
    // Nothing can be done for a standard error that cannot be written.
    std::fprintf(stderr, "dmatool: %s\n", text.c_str());
}

/// Writes a finished text to standard output and makes sure that it went out.
void write_output(const std::string& text)
{
    const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
    if (!written || std::fflush(stdout) != 0)
    {
        throw dmatool::tool_error_t(dmatool::exit_output, "the report could not be written to standard output; check the disk or "
                                                          "the program that reads it");
    }
}

dmatool::command_result_t run_command(const dmatool::command_t& command)
{
    try
    {
        return command.run(print_error_line);
    }
    catch (const std::bad_alloc&)
    {
        throw dmatool::tool_error_t(dmatool::exit_internal, "there is not enough memory; " + command.memory_advice);
    }
}

int run(int argc, char** argv)
{
    CLI::App program{ "Measures digitally modulated signals in recorded samples and designs FIR filters.", "dmatool" };
    program.require_subcommand(1);
    program.set_version_flag("--version", DMATOOL_VERSION);
    program.footer(dmatool::exit_status_help);
    const std::vector<dmatool::command_t> commands = {
        dmatool::add_analyze_command(program),
        dmatool::add_filter_command(program),
        dmatool::add_settings_command(program),
    };

    try
    {
        program.parse(argc, argv);
    }
    catch (const CLI::ParseError& error)
    {
        if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success))
        {
            std::ostringstream text;
            program.exit(error, text, text);
            write_output(text.str());
            return dmatool::exit_ok;
        }
        const auto asked = program.get_subcommands();
        const std::string help = asked.empty() ? "dmatool --help" : "dmatool " + asked.front()->get_name() + " --help";
        throw dmatool::tool_error_t(dmatool::exit_usage, dmatool::get_one_line(error.what()) + "; see " + help);
    }

    const auto asked =
        std::find_if(commands.begin(), commands.end(), [](const dmatool::command_t& command) { return command.words->parsed(); });
    // One command at least is required, so there is one.
    const dmatool::command_result_t result = run_command(*asked);
    write_output(result.output);
    return result.status;
}
} // namespace

int main(int argc, char** argv)
{
    // A reader that goes away is a write error like any other.
    std::signal(SIGPIPE, SIG_IGN);
    try
    {
        return run(argc, argv);
    }
    catch (const dmatool::tool_error_t& error)
    {
        print_error_line(error.what());
        return error.get_status();
    }
    catch (const std::exception& error)
    {
        print_error_line("internal fault: " + dmatool::get_one_line(error.what()));
    }
    catch (...)
    {
        print_error_line("internal fault of an unknown kind");
    }
    return dmatool::exit_internal;
}
