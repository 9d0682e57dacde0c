#include "settings_command.h"

#include "analyze_command.h"
#include "analyze_options.h"
#include "command.h"
#include "exit_status.h"
#include "library_output.h"
#include "option_value.h"
#include "rate_plan.h"
#include "settings_file.h"
#include "tool_file.h"
#include "tool_text.h"

#include <fmt/format.h>

#include <memory>
#include <optional>

namespace dmatool
{
using namespace vrim::dma_demod_lib;

namespace
{
/// The words behind `settings` and one of its commands.
struct settings_arguments_t
{
    std::optional<std::string> file, output;
    analyze_arguments_t signal; ///< of write, with the sample rate of captures to come
    bool allow_large = false;
    bool json = false;
};

/// Whether the user described a signal; without a description the library's defaults are written.
bool has_description(const analyze_arguments_t& a)
{
    for (const std::optional<std::string>* text :
         { &a.settings,     &a.sample_rate,   &a.group,     &a.format, &a.symbol_rate,   &a.points_per_symbol,
           &a.meas_filter,  &a.ref_filter,    &a.alpha,     &a.beta,   &a.filter_length, &a.interval,
           &a.offset,       &a.search_length, &a.bandwidth, &a.sync,   &a.sync_offset,   &a.evm_ref,
           &a.clock_adjust, &a.iq_rotation,   &a.equalizer, &a.equalizer_length,
           &a.equalizer_step })
    {
        if (text->has_value())
        {
            return true;
        }
    }
    return false;
}

lib_dma_frame_configure_manager_t make_written_frame(const analyze_arguments_t& arguments, const line_sink_t& notes)
{
    if (!has_description(arguments))
    {
        return {};
    }
    analyze_options_t options;
    parse_signal_options(arguments, options);
    for (const std::string& note : options.settings_notes)
    {
        notes("note: " + note);
    }
    if (arguments.sync && !options.search_length)
    {
        throw tool_error_t(exit_usage,
                           "--sync needs --search-length here: how far to search depends on the capture, which is not "
                           "at hand; give the seconds to search");
    }
    options.bandwidth_of_file = false; // no capture to be too narrow
    double sample_rate = 0.0;
    if (arguments.sample_rate)
    {
        sample_rate = parse_real("--sample-rate", *arguments.sample_rate, { 100.0, 1.0e12, " Hz" });
        if (!arguments.bandwidth)
        {
            options.bandwidth.reset();
        }
    }
    else if (!options.bandwidth)
    {
        options.bandwidth = lib_dma_frame_configure_manager_t().get_bandwidth();
        notes(fmt::format("note: the bandwidth stays at {} Hz; --sample-rate of the captures or --bandwidth would set it",
                          *options.bandwidth));
    }
    return make_frame(options, 0, cal_kept_sample_rate(sample_rate));
}

std::string run_write(const settings_arguments_t& arguments, const line_sink_t& notes)
{
    if (arguments.file && arguments.output)
    {
        throw tool_error_t(exit_usage, "FILE and --output both say where to write; give one of them");
    }
    const std::optional<std::string>& path = arguments.file ? arguments.file : arguments.output;
    const settings_text_t written = make_settings_text(make_written_frame(arguments.signal, notes));
    for (const std::string& note : written.notes)
    {
        notes("note: a recall changes the file: " + note);
    }
    if (!path)
    {
        return written.text;
    }
    write_file(*path, written.text);
    return {};
}

std::string run_show(const settings_arguments_t& arguments, const line_sink_t& notes)
{
    const settings_tree_t tree = read_settings_tree(*arguments.file);
    cfg_dma_frame_t settings;
    recall_settings(tree, arguments.allow_large, settings);
    const lib_dma_frame_configure_manager_t& frame = settings.get_frame_manager();
    const settings_check_t check = check_settings(tree, frame);
    const std::size_t changed = check.changes.size() + check.passed_over;
    if (changed > 0)
    {
        notes(fmt::format("note: these are the settings after a recall, which changes the file in {} {}; dmatool settings check "
                          "names them",
                          changed, changed == 1 ? "place" : "places"));
    }
    return arguments.json ? make_settings_json_report(tree.path, frame) : make_settings_text_report(tree.path, frame);
}

command_result_t run_check(const settings_arguments_t& arguments)
{
    const settings_tree_t tree = read_settings_tree(*arguments.file);
    cfg_dma_frame_t settings;
    recall_settings(tree, arguments.allow_large, settings);
    const settings_check_t check = check_settings(tree, settings.get_frame_manager());
    const std::string report =
        arguments.json ? make_check_json_report(tree.path, check) : make_check_text_report(tree.path, check);
    return { report, check.changes.empty() ? exit_ok : exit_changed };
}

CLI::App* add_file_command(CLI::App& settings, const char* name, const char* text, settings_arguments_t& arguments)
{
    CLI::App* command = settings.add_subcommand(name, text);
    command->add_option("FILE", arguments.file, "settings file, XML")->required();
    command->add_flag("--json", arguments.json, "one JSON document");
    command->add_flag("--allow-large", arguments.allow_large, "build payload patterns of 2 GiB if the file asks for them");
    command->footer(exit_status_help);
    return command;
}

CLI::App* add_write_command(CLI::App& settings, settings_arguments_t& arguments)
{
    CLI::App* command =
        settings.add_subcommand("write", "Writes a settings file: the library's defaults, or what the options say");
    command->add_option("FILE", arguments.file, "file to write [standard output]");
    command->add_option("--output", arguments.output, "the same")->type_name("");
    command->add_option("--sample-rate", arguments.signal.sample_rate, "Hz; of the captures, for the bandwidth")->type_name("");
    add_signal_options(*command, arguments.signal);
    command->footer(exit_status_help);
    return command;
}
} // namespace

command_t add_settings_command(CLI::App& program)
{
    CLI::App* words = program.add_subcommand("settings", "Writes, shows and checks files of settings");
    words->require_subcommand(1);
    words->footer(exit_status_help);
    const auto arguments = std::make_shared<settings_arguments_t>();
    const CLI::App* write = add_write_command(*words, *arguments);
    const CLI::App* show =
        add_file_command(*words, "show", "Shows the settings of a file in words, as a recall gives them", *arguments);
    add_file_command(*words, "check", "Names every value of a file that a recall changes; exit status 9 if there is one",
                     *arguments);
    const auto run = [arguments, write, show](const line_sink_t& notes) -> command_result_t
    {
        if (write->parsed())
        {
            return run_write(*arguments, notes);
        }
        return show->parsed() ? command_result_t(run_show(*arguments, notes)) : run_check(*arguments);
    };
    return { words, run, "do without payload patterns of 2 GiB" };
}
} // namespace dmatool
