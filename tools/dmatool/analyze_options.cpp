#include "analyze_options.h"

#include "exit_status.h"
#include "option_value.h"
#include "settings_options.h"
#include "tool_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <utility>

namespace dmatool
{
using namespace vrim::dma_demod_lib;

namespace
{
constexpr std::array<std::uint32_t, 11> points_per_symbol_values = { 1, 2, 4, 5, 6, 8, 10, 12, 14, 16, 20 };
// Larger whole numbers are not all doubles.
constexpr double largest_whole = 9007199254740992.0;
// Above any radio; keeps the rate arithmetic far from the end of 64 bits.
constexpr double highest_sample_rate = 1.0e12;

/// Bits as they are, or hexadecimal digits behind 0x, four bits each, the highest first.
std::string parse_sync(const std::string& text)
{
    const std::string expected = "bits such as 0110, or hexadecimal digits behind 0x, up to 4096 bits";
    constexpr std::size_t most_bits = 4096;
    std::string bits;
    if (text.starts_with("0x") || text.starts_with("0X"))
    {
        for (const char c : text.substr(2))
        {
            const std::string digits = "0123456789abcdef";
            const char lower = c >= 'A' && c <= 'F' ? static_cast<char>(c + 32) : c;
            const std::size_t value = digits.find(lower);
            if (value == std::string::npos)
            {
                fail_value("--sync", text, expected);
            }
            for (unsigned bit = 4; bit > 0; --bit)
            {
                bits.push_back(((value >> (bit - 1)) & 1U) != 0 ? '1' : '0');
            }
        }
    }
    else if (text.find_first_not_of("01") == std::string::npos)
    {
        bits = text;
    }
    if (bits.empty() || bits.size() > most_bits)
    {
        fail_value("--sync", text, expected);
    }
    return bits;
}

lib_dma_evm_normalize_type_t parse_evm_ref(const std::string& text)
{
    if (text == "rms" || text == "RMS" || text == "0" || text == "LIB_DMA_EVM_NORMALIZE_RMS")
    {
        return LIB_DMA_EVM_NORMALIZE_RMS;
    }
    if (text != "max" && text != "MAX" && text != "1" && text != "LIB_DMA_EVM_NORMALIZE_CONSTELLATION_MAX")
    {
        fail_value("--evm-ref", text, "rms (of the symbols) or max (the outermost point)");
    }
    return LIB_DMA_EVM_NORMALIZE_CONSTELLATION_MAX;
}

bool parse_switch(const char* option, const std::string& text)
{
    if (text == "on" || text == "true" || text == "1")
    {
        return true;
    }
    if (text != "off" && text != "false" && text != "0")
    {
        fail_value(option, text, "on or off");
    }
    return false;
}

void parse_equalizer(const analyze_arguments_t& arguments, analyze_options_t& options)
{
    if (arguments.equalizer)
    {
        options.equalizer = parse_switch("--equalizer", *arguments.equalizer);
    }
    for (const auto& [option, text] : { std::pair("--equalizer-length", &arguments.equalizer_length),
                                        std::pair("--equalizer-step", &arguments.equalizer_step) })
    {
        if (*text && !options.equalizer)
        {
            throw tool_error_t(exit_usage,
                               fmt::format("{} is of no use while the equalizer is off; give --equalizer on too", option));
        }
    }
    take_whole("--equalizer-length", arguments.equalizer_length, { 3.0, 99.0, " symbols" }, options.equalizer_length);
    if (options.equalizer_length % 2 == 0)
    {
        fail_value("--equalizer-length", *arguments.equalizer_length, "an odd number, 3 to 99 symbols");
    }
    take_real("--equalizer-step", arguments.equalizer_step, { 1.0e-14, 1.0, "" }, options.equalizer_step);
}

void add_words(CLI::App& command, const char* name, std::optional<std::string>& value, const char* text, const char* group)
{
    command.add_option(name, value, text)->type_name("")->group(group);
}
} // namespace

void add_signal_options(CLI::App& command, analyze_arguments_t& arguments)
{
    const auto add = [&command](const char* name, std::optional<std::string>& value, const char* text, const char* group)
    { add_words(command, name, value, text, group); };

    const char* const file = "Settings file";
    add("--settings", arguments.settings, "XML file whose settings hold where no option says otherwise", file);
    command.add_flag("--allow-large", arguments.allow_large, "build payload patterns of 2 GiB if the file asks for them")
        ->group(file);

    const char* const signal = "Signal";
    add("--group", arguments.group, "modulation group [the format's]", signal);
    add("--format", arguments.format,
        "BPSK QPSK 8PSK 3PI/4-QPSK 3PI/8-8PSK, an enumerator or its number (required without --settings)", signal);
    add("--symbol-rate", arguments.symbol_rate, "Hz (required without --settings)", signal);
    add("--meas-filter", arguments.meas_filter, "rrc rc gaussian rectangular half-sine low-pass edge cosine none [rrc]", signal);
    add("--ref-filter", arguments.ref_filter, "rc rrc gaussian rectangular half-sine none [rc]", signal);
    add("--alpha", arguments.alpha, "roll-off, 0.05 to 1 [0.5]", signal);
    add("--beta", arguments.beta, "bandwidth-time product of a Gaussian filter, 0.05 to 100 [0.6]", signal);
    add("--filter-length", arguments.filter_length, "symbols, 2 to 512 [64]", signal);
    add("--sync", arguments.sync, "sync word to search: bits 0110, or hexadecimal 0x6", signal);
    add("--sync-offset", arguments.sync_offset, "symbols from the sync word to the interval [0]", signal);

    const char* const measurement = "Measurement";
    add("--interval", arguments.interval, "symbols to measure, 10 to 10000000 [1024]", measurement);
    add("--offset", arguments.offset, "symbols from the start of the capture, or -1 for automatic [0]", measurement);
    add("--search-length", arguments.search_length, "s [what the interval needs; with --sync the whole capture]", measurement);
    add("--points-per-symbol", arguments.points_per_symbol, "of the results: 1 2 4 5 6 8 10 12 14 16 20 [4]", measurement);
    add("--bandwidth", arguments.bandwidth, "Hz, 1 to 10000000000 [nine tenths of the sample rate]", measurement);
    add("--evm-ref", arguments.evm_ref, "what EVM is percent of: rms or max of the constellation [max]", measurement);
    add("--clock-adjust", arguments.clock_adjust, "symbols, -0.5 to 0.5 [0]", measurement);
    add("--iq-rotation", arguments.iq_rotation, "degrees, -360 to 360 [0]", measurement);

    const char* const equalizer = "Equalizer";
    add("--equalizer", arguments.equalizer, "on or off [off]", equalizer);
    add("--equalizer-length", arguments.equalizer_length, "symbols, odd, 3 to 99 [21]", equalizer);
    add("--equalizer-step", arguments.equalizer_step, "of the adaptation, 1e-14 to 1 [0.01]; stable below 2 / taps", equalizer);
}

void add_analyze_options(CLI::App& command, analyze_arguments_t& arguments)
{
    command
        .add_option("CAPTURE", arguments.capture, "SigMF pair (either file or the stem), raw file, or .txt/.csv/.dat text file")
        ->required();
    const auto add = [&command](const char* name, std::optional<std::string>& value, const char* text, const char* group)
    { add_words(command, name, value, text, group); };

    const char* const file = "Capture";
    add("--datatype", arguments.datatype, "of a raw file: cf32 cf64 ci8 ci16 ci32 cu8 cu16 cu32, with _le or _be; or text", file);
    add("--sample-rate", arguments.sample_rate, "Hz; stands above the SigMF metadata", file);
    add("--start", arguments.start, "samples of the file to pass over [0]", file);
    add("--count", arguments.count, "samples of the file to take [all]", file);
    command
        .add_flag("--resample", arguments.resample,
                  "first to the nearest multiple of 100 Hz; else the sample rate is taken as the one below")
        ->group(file);

    add_signal_options(command, arguments);

    command.add_flag("--align-iq", arguments.align_iq, "of OQPSK: results at whole symbols only, not at half ones too")
        ->group("Measurement");

    const char* const report = "Report";
    command.add_flag("--json", arguments.json, "one JSON document instead of the table")->group(report);
    command.add_flag("--traces", arguments.traces, "with --json: traces, constellations and waveforms too")->group(report);
    command.add_flag("--verbose", arguments.verbose, "the library's log on standard error")->group(report);
}

void parse_signal_options(const analyze_arguments_t& arguments, analyze_options_t& options)
{
    if (arguments.settings)
    {
        take_settings_file(arguments, options);
    }
    options.format =
        options.settings ? find_settings_format(arguments, *options.settings) : find_format(arguments.group, arguments.format);
    if (!arguments.symbol_rate && !options.settings)
    {
        throw tool_error_t(exit_usage, "--symbol-rate is missing; give the symbols per second in Hz, 10000 to 8e9");
    }
    take_whole("--symbol-rate", arguments.symbol_rate, { 10000.0, 8.0e9, " Hz" }, options.symbol_rate);
    take_whole("--points-per-symbol", arguments.points_per_symbol, { 1.0, 20.0, "" }, options.points_per_symbol);
    if (std::find(points_per_symbol_values.begin(), points_per_symbol_values.end(), options.points_per_symbol) ==
        points_per_symbol_values.end())
    {
        fail_value("--points-per-symbol", *arguments.points_per_symbol, "one of 1, 2, 4, 5, 6, 8, 10, 12, 14, 16, 20");
    }

    if (arguments.meas_filter || !options.settings)
    {
        options.meas_filter = &find_filter(get_meas_filter_table(), "--meas-filter", arguments.meas_filter.value_or("rrc"));
    }
    if (arguments.ref_filter || !options.settings)
    {
        options.ref_filter = &find_filter(get_ref_filter_table(), "--ref-filter", arguments.ref_filter.value_or("rc"));
    }
    take_real("--alpha", arguments.alpha, { 0.05, 1.0, "" }, options.alpha);
    take_real("--beta", arguments.beta, { 0.05, 100.0, "" }, options.beta);
    take_whole("--filter-length", arguments.filter_length, { 2.0, 512.0, " symbols" }, options.filter_length);

    take_whole("--interval", arguments.interval, { 10.0, 1.0e7, " symbols" }, options.interval);
    if (arguments.offset)
    {
        take_whole("--offset", arguments.offset, { -1.0, static_cast<double>(options.interval), " symbols (the interval)" },
                   options.offset);
    }
    else if (options.offset > static_cast<std::int32_t>(options.interval))
    {
        throw tool_error_t(exit_usage,
                           fmt::format("--interval {} is less than the offset of {} symbols in the settings file; give "
                                       "--offset too",
                                       options.interval, options.offset));
    }
    if (arguments.search_length)
    {
        options.search_length = parse_real("--search-length", *arguments.search_length, { 1.0e-7, 1.0e6, " s" });
    }
    if (arguments.bandwidth)
    {
        options.bandwidth = static_cast<std::uint64_t>(parse_whole("--bandwidth", *arguments.bandwidth, { 1.0, 1.0e10, " Hz" }));
    }
    if (arguments.sync)
    {
        options.sync_bits = parse_sync(*arguments.sync);
    }
    else if (arguments.sync_offset && options.sync_bits.empty())
    {
        throw tool_error_t(exit_usage, "--sync-offset counts from a sync word; give the word with --sync");
    }
    take_real("--sync-offset", arguments.sync_offset, { -32768.0, 32767.0, " symbols" }, options.sync_offset);
    if (arguments.evm_ref)
    {
        options.evm_ref = parse_evm_ref(*arguments.evm_ref);
    }
    take_real("--clock-adjust", arguments.clock_adjust, { -0.5, 0.5, " symbols" }, options.clock_adjust);
    take_real("--iq-rotation", arguments.iq_rotation, { -360.0, 360.0, " degrees" }, options.iq_rotation);
    parse_equalizer(arguments, options);
}

analyze_options_t parse_analyze_options(const analyze_arguments_t& arguments)
{
    analyze_options_t options;
    options.capture.path = arguments.capture;
    options.capture.datatype = arguments.datatype;
    if (arguments.sample_rate)
    {
        options.capture.sample_rate = parse_real("--sample-rate", *arguments.sample_rate, { 100.0, highest_sample_rate, " Hz" });
    }
    take_whole("--start", arguments.start, { 0.0, largest_whole, " samples" }, options.capture.start);
    if (arguments.count)
    {
        options.capture.count =
            static_cast<std::uint64_t>(parse_whole("--count", *arguments.count, { 1.0, largest_whole, " samples" }));
    }

    parse_signal_options(arguments, options);

    options.resample = arguments.resample;
    options.align_iq = arguments.align_iq;
    options.json = arguments.json;
    options.traces = arguments.traces;
    options.verbose = arguments.verbose;
    if (options.traces && !options.json)
    {
        throw tool_error_t(exit_usage, "--traces goes with --json; the table has no room for them");
    }
    return options;
}
} // namespace dmatool
