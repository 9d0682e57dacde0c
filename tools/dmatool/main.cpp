// dmatool: measures digitally modulated signals in recorded samples.

#include "analyze_command.h"
#include "analyze_options.h"
#include "exit_status.h"
#include "tool_text.h"

#include <CLI/CLI.hpp>

#include <csignal>
#include <cstdio>
#include <exception>
#include <new>
#include <sstream>
#include <string>

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

int run(int argc, char** argv)
{
    CLI::App app{ "Measures digitally modulated signals in recorded samples.", "dmatool" };
    app.require_subcommand(1);
    app.set_version_flag("--version", DMATOOL_VERSION);
    app.footer(dmatool::exit_status_help);
    CLI::App* analyze = app.add_subcommand("analyze", "Measures one stretch of a capture and prints its error table");
    analyze->footer(dmatool::exit_status_help);
    dmatool::analyze_arguments_t arguments;
    dmatool::add_analyze_options(*analyze, arguments);

    try
    {
        app.parse(argc, argv);
    }
    catch (const CLI::ParseError& error)
    {
        if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success))
        {
            std::ostringstream text;
            app.exit(error, text, text);
            write_output(text.str());
            return dmatool::exit_ok;
        }
        throw dmatool::tool_error_t(dmatool::exit_usage, dmatool::get_one_line(error.what()) + "; see dmatool analyze --help");
    }

    const dmatool::analyze_options_t options = dmatool::parse_analyze_options(arguments);
    const dmatool::analysis_t analysis = dmatool::run_analysis(options, print_error_line);
    write_output(options.json ? dmatool::make_json_report(analysis, options.traces) : dmatool::make_text_report(analysis));
    return dmatool::exit_ok;
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
    catch (const std::bad_alloc&)
    {
        print_error_line("there is not enough memory for this capture; take fewer samples with --count");
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
