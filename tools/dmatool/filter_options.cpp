#include "filter_options.h"

#include "exit_status.h"
#include "option_value.h"
#include "tool_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <string_view>
#include <utility>

namespace dmatool
{
using namespace vrim::fir_filter_lib;

namespace
{
constexpr double highest_sample_rate = 1.0e12;

using names_t = std::vector<std::pair<std::string, std::uint32_t>>;

template <typename enum_t>
names_t make_names()
{
    names_t names;
    for (const enum_entry_t<enum_t>& entry : get_enum_entries<enum_t>())
    {
        std::string name(entry.text);
        std::transform(name.begin(), name.end(), name.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        names.emplace_back(std::move(name), static_cast<std::uint32_t>(entry.value));
    }
    return names;
}

names_t get_method_names()
{
    return { { "window", LIB_FIR_METHOD_WINDOW },
             { "equiripple", LIB_FIR_METHOD_EQUIRIPPLE },
             { "least-squares", LIB_FIR_METHOD_LEAST_SQUARE } };
}

/// Without the shaping filters, which have no bands.
names_t get_response_names()
{
    names_t names = make_names<lib_fir_response_type_t>();
    std::erase_if(names, [](const auto& name) { return name.second == LIB_FIR_RESPONSE_SHAPING; });
    return names;
}

std::string list_names(const names_t& names)
{
    std::string list;
    for (const auto& name : names)
    {
        list += (list.empty() ? "" : " ") + name.first;
    }
    return list;
}

template <typename enum_t>
void take_name(const char* option, const std::optional<std::string>& text, const names_t& names, enum_t& value)
{
    if (!text)
    {
        return;
    }
    const std::string key = get_name_key(*text);
    const auto found =
        std::find_if(names.begin(), names.end(), [&key](const auto& name) { return get_name_key(name.first) == key; });
    if (found == names.end())
    {
        fail_value(option, *text, "one of " + list_names(names));
    }
    value = static_cast<enum_t>(found->second);
}

std::string find_name(const names_t& names, std::uint32_t value)
{
    const auto found = std::find_if(names.begin(), names.end(), [value](const auto& name) { return name.second == value; });
    return found == names.end() ? std::to_string(value) : found->first;
}

[[noreturn]] void fail(const std::string& text)
{
    throw tool_error_t(exit_usage, text);
}

/// An option and whether it was given.
struct given_t
{
    const char* option;
    bool given;
};

/// Refuses options that have no say. @param reason  stands behind the name of the option
void refuse(const std::vector<given_t>& options, const std::string& reason)
{
    for (const given_t& option : options)
    {
        if (option.given)
        {
            fail(option.option + std::string(" ") + reason);
        }
    }
}

void refuse_description(const filter_arguments_t& arguments)
{
    refuse({ { "--method", arguments.method.has_value() },
             { "--response", arguments.response.has_value() },
             { "--sample-rate", arguments.sample_rate.has_value() },
             { "--order", arguments.order.has_value() },
             { "--minimum-order", arguments.minimum_order },
             { "--cutoff", !arguments.cutoff.empty() },
             { "--edges", !arguments.edges.empty() },
             { "--weights", !arguments.weights.empty() },
             { "--ripple", !arguments.ripple.empty() },
             { "--attenuation", !arguments.attenuation.empty() },
             { "--window", arguments.window.has_value() },
             { "--beta", arguments.beta.has_value() },
             { "--sidelobe", arguments.sidelobe.has_value() },
             { "--width-factor", arguments.width_factor.has_value() },
             { "--n-bar", arguments.n_bar.has_value() },
             { "--fraction", arguments.fraction.has_value() },
             { "--no-normalize", arguments.no_normalize },
             { "--density", arguments.density.has_value() } },
           "contradicts --parameters, whose file describes the whole filter; give one or the other");
}

/// Refuses what the method and the window do not look at.
void check_combination(const filter_arguments_t& arguments, const filter_description_t& filter)
{
    const bool window = filter.method == LIB_FIR_METHOD_WINDOW;
    const std::string method = get_method_name(filter.method);
    if (filter.minimum_order && filter.method == LIB_FIR_METHOD_LEAST_SQUARE)
    {
        fail("--minimum-order goes with the equiripple method and the Kaiser window; give --order for least-squares");
    }
    if (!window)
    {
        refuse({ { "--window", arguments.window.has_value() },
                 { "--beta", arguments.beta.has_value() },
                 { "--sidelobe", arguments.sidelobe.has_value() },
                 { "--width-factor", arguments.width_factor.has_value() },
                 { "--n-bar", arguments.n_bar.has_value() },
                 { "--fraction", arguments.fraction.has_value() },
                 { "--no-normalize", arguments.no_normalize } },
               "goes with --method window; the method is " + method);
        refuse({ { "--cutoff", !arguments.cutoff.empty() } },
               "goes with --method window; the " + method + " method takes band edges: give --edges");
    }
    if (window && filter.minimum_order && filter.window != LIB_WINDOW_KAISER)
    {
        fail(fmt::format("--minimum-order goes with the equiripple method and the Kaiser window; give --order for the {} window",
                         get_window_name(filter.window)));
    }
    const auto is_window = [&](std::initializer_list<lib_window_type_t> types)
    { return std::find(types.begin(), types.end(), filter.window) != types.end(); };
    const std::string other = "; the window is " + get_window_name(filter.window);
    refuse({ { "--beta", arguments.beta && !is_window({ LIB_WINDOW_KAISER }) } }, "goes with --window kaiser" + other);
    refuse({ { "--sidelobe", arguments.sidelobe && !is_window({ LIB_WINDOW_CHEBYSHEV, LIB_WINDOW_TAYLOR }) } },
           "goes with --window chebyshev or taylor" + other);
    refuse({ { "--width-factor", arguments.width_factor && !is_window({ LIB_WINDOW_GAUSSIAN }) } },
           "goes with --window gaussian" + other);
    refuse({ { "--n-bar", arguments.n_bar && !is_window({ LIB_WINDOW_TAYLOR }) } }, "goes with --window taylor" + other);
    refuse({ { "--fraction", arguments.fraction && !is_window({ LIB_WINDOW_TUKEY }) } }, "goes with --window tukey" + other);
    refuse({ { "--weights", window && !arguments.weights.empty() } },
           "goes with the equiripple and least-squares methods; the window method weighs no bands");
    refuse({ { "--density", arguments.density && filter.method != LIB_FIR_METHOD_EQUIRIPPLE } },
           "goes with --method equiripple; the method is " + method);
    if (filter.minimum_order)
    {
        refuse({ { "--order", arguments.order.has_value() } },
               "contradicts --minimum-order, which finds the order; give one of them");
        refuse({ { "--weights", !arguments.weights.empty() } }, "contradicts --minimum-order, which finds the weights");
        refuse({ { "--beta", arguments.beta.has_value() } }, "contradicts --minimum-order, which finds the shaping factor");
        refuse({ { "--cutoff", !arguments.cutoff.empty() } },
               "contradicts --minimum-order, which finds the cutoffs: give --edges");
    }
    else
    {
        refuse({ { "--ripple", !arguments.ripple.empty() }, { "--attenuation", !arguments.attenuation.empty() } },
               "is what --minimum-order aims at; with --order, weights or a window decide");
    }
}

void check_count(const char* option, const char* what, std::size_t count, std::size_t low, std::size_t high,
                 lib_fir_response_type_t response)
{
    if (count < low || count > high)
    {
        const std::string expected = low == high ? std::to_string(low) : fmt::format("{} or {}", low, high);
        fail(fmt::format("{} needs {} {} for a {} filter; {} given", option, expected, what, get_response_name(response),
                         count == 0 ? "none" : std::to_string(count)));
    }
}

std::vector<double> parse_list(const char* option, const std::vector<std::string>& words, const range_t& range)
{
    std::vector<double> values;
    for (const std::string& word : words)
    {
        values.push_back(parse_real(option, word, range));
    }
    return values;
}

std::vector<double> parse_frequencies(const char* option, const std::vector<std::string>& words,
                                      const filter_description_t& filter)
{
    const double nyquist = filter.sample_rate ? *filter.sample_rate / 2.0 : 1.0;
    const char* const unit =
        filter.sample_rate ? " Hz, half the sample rate" : ", the Nyquist frequency; give --sample-rate for Hz";
    const std::vector<double> frequencies = parse_list(option, words, { 0.0, nyquist, unit, true });
    const std::string fault = find_frequency_fault(frequencies, nyquist);
    if (!fault.empty())
    {
        fail(fmt::format("{} {}: {}{}", option, fmt::join(words, " "), fault, unit));
    }
    return frequencies;
}

void parse_transitions(const filter_arguments_t& arguments, filter_description_t& filter)
{
    const std::size_t transitions = get_passing_bands(filter.response).size() - 1;
    const bool by_cutoff = filter.method == LIB_FIR_METHOD_WINDOW && !filter.minimum_order;
    if (by_cutoff)
    {
        check_count("--cutoff", "frequencies", arguments.cutoff.size(), transitions, transitions, filter.response);
        filter.cutoffs = parse_frequencies("--cutoff", arguments.cutoff, filter);
    }
    if (!by_cutoff || !arguments.edges.empty())
    {
        check_count("--edges", "frequencies", arguments.edges.size(), 2 * transitions, 2 * transitions, filter.response);
        filter.edges = parse_frequencies("--edges", arguments.edges, filter);
    }
    for (std::size_t i = 0; i < filter.cutoffs.size() && !filter.edges.empty(); ++i)
    {
        if (filter.cutoffs[i] <= filter.edges[2 * i] || filter.cutoffs[i] >= filter.edges[2 * i + 1])
        {
            fail(fmt::format("--cutoff {} lies outside its transition from {} to {}; with a window, --edges say where the bands "
                             "are measured and each cutoff lies between two of them",
                             arguments.cutoff[i], arguments.edges[2 * i], arguments.edges[2 * i + 1]));
        }
    }
}

/// Ripple and attenuation, one per band. A single value serves both bands of its kind.
void parse_targets(const filter_arguments_t& arguments, filter_description_t& filter)
{
    const std::vector<bool> bands = get_passing_bands(filter.response);
    const std::size_t pass = static_cast<std::size_t>(std::count(bands.begin(), bands.end(), true));
    check_count("--minimum-order with --ripple", "values in dB", arguments.ripple.size(), 1, pass, filter.response);
    check_count("--minimum-order with --attenuation", "values in dB", arguments.attenuation.size(), 1, bands.size() - pass,
                filter.response);
    const auto ripple = parse_list("--ripple", arguments.ripple, { 0.0, highest_ripple, " dB", true });
    const auto attenuation = parse_list("--attenuation", arguments.attenuation, { 0.0, highest_attenuation, " dB", true });
    std::size_t pass_at = 0;
    std::size_t stop_at = 0;
    for (const bool passes : bands)
    {
        filter.decibels.push_back(passes ? ripple[std::min(pass_at++, ripple.size() - 1)]
                                         : attenuation[std::min(stop_at++, attenuation.size() - 1)]);
    }
}

void parse_order(const filter_arguments_t& arguments, filter_description_t& filter)
{
    take_whole("--order", arguments.order, { 2.0, 19999999.0, "" }, filter.order);
    const bool passes_nyquist = get_passing_bands(filter.response).back();
    if (passes_nyquist && filter.order % 2 != 0)
    {
        fail(fmt::format("--order {} cannot be taken for a {} filter: a symmetric filter of odd order has a zero at the Nyquist "
                         "frequency; give an even one, such as {}",
                         filter.order, get_response_name(filter.response), filter.order + 1));
    }
}

void parse_window(const filter_arguments_t& arguments, filter_description_t& filter)
{
    take_real("--beta", arguments.beta, { 0.0, 700.0, "" }, filter.beta);
    if (arguments.sidelobe)
    {
        filter.sidelobe = parse_real("--sidelobe", *arguments.sidelobe, { 0.0, 2000.0, " dB" });
    }
    take_real("--width-factor", arguments.width_factor, { 0.0, 1000.0, "" }, filter.width_factor);
    take_whole("--n-bar", arguments.n_bar, { 1.0, 400.0, "" }, filter.n_bar);
    take_real("--fraction", arguments.fraction, { 0.0, 1.0, "" }, filter.fraction);
    filter.normalize = !arguments.no_normalize;
}

filter_description_t parse_description(const filter_arguments_t& arguments)
{
    filter_description_t filter;
    take_name("--method", arguments.method, get_method_names(), filter.method);
    take_name("--response", arguments.response, get_response_names(), filter.response);
    take_name("--window", arguments.window, make_names<lib_window_type_t>(), filter.window);
    filter.minimum_order = arguments.minimum_order;
    check_combination(arguments, filter);

    if (arguments.sample_rate)
    {
        filter.sample_rate = parse_real("--sample-rate", *arguments.sample_rate, { 0.0, highest_sample_rate, " Hz", true });
    }
    parse_transitions(arguments, filter);
    parse_window(arguments, filter);
    take_whole("--density", arguments.density, { 16.0, 200000.0, "" }, filter.density);
    if (filter.minimum_order)
    {
        parse_targets(arguments, filter);
        return filter;
    }
    parse_order(arguments, filter);
    const std::size_t bands = get_passing_bands(filter.response).size();
    if (!arguments.weights.empty())
    {
        check_count("--weights", "values", arguments.weights.size(), bands, bands, filter.response);
        filter.weights = parse_list("--weights", arguments.weights, { 0.0, 2000.0, "", true });
    }
    return filter;
}
} // namespace

void add_filter_options(CLI::App& command, filter_arguments_t& arguments)
{
    const auto add = [&command](const char* name, std::optional<std::string>& value, const std::string& text, const char* group)
    { command.add_option(name, value, text)->type_name("")->group(group); };
    const auto add_list = [&command](const char* name, std::vector<std::string>& values, int most, const char* names,
                                     const std::string& text, const char* group)
    { command.add_option(name, values, text)->expected(1, most)->type_name(names)->group(group); };

    const char* const filter = "Filter";
    add("--method", arguments.method, "window equiripple least-squares [window]", filter);
    add("--response", arguments.response, "lowpass highpass bandpass bandstop [lowpass]", filter);
    add("--sample-rate", arguments.sample_rate, "Hz; without it frequencies are relative to the Nyquist frequency, 0 to 1",
        filter);
    add("--order", arguments.order,
        "taps less one, 2 to 19999999, even for highpass and bandstop; what a method cannot do it refuses [20]", filter);
    command
        .add_flag("--minimum-order", arguments.minimum_order,
                  "estimates the least order that meets --ripple and --attenuation; equiripple, or window with Kaiser")
        ->group(filter);

    const char* const bands = "Bands (frequencies in Hz with --sample-rate)";
    add_list("--cutoff", arguments.cutoff, 2, "F1 [F2]", "window method: where the gain is one half", bands);
    add_list("--edges", arguments.edges, 4, "F1 F2 [F3 F4]",
             "where bands end and begin, rising, two per transition; a window design with --cutoff is only measured by them",
             bands);
    add_list("--weights", arguments.weights, 3, "W1 W2 [W3]", "of the errors of the bands, above 0 and up to 2000 [1 each]",
             bands);
    add_list("--ripple", arguments.ripple, 2, "DB [DB]",
             "with --minimum-order: pass band, dB peak to peak, above 0 and up to 9; bandstop takes one per pass band", bands);
    add_list("--attenuation", arguments.attenuation, 2, "DB [DB]",
             "with --minimum-order: stop band, dB, above 0 and up to 200; bandpass takes one per stop band", bands);
    add("--density", arguments.density, "equiripple: grid points per extremal frequency, 16 to 200000 [20]", bands);

    const char* const window = "Window";
    add("--window", arguments.window, list_names(make_names<lib_window_type_t>()) + " [kaiser]", window);
    add("--beta", arguments.beta, "shaping factor of Kaiser, 0 to 700 [7.83]", window);
    add("--sidelobe", arguments.sidelobe, "attenuation of sidelobes, dB, 0 to 2000: Chebyshev [100], Taylor [30]", window);
    add("--width-factor", arguments.width_factor, "of Gaussian: half lengths per standard deviation, 0 to 1000 [2.5]", window);
    add("--n-bar", arguments.n_bar, "of Taylor: count of nearly constant sidelobes plus one, 1 to 400 [4]", window);
    add("--fraction", arguments.fraction, "of Tukey: tapered share of the length, 0 to 1 [0.5]", window);
    command.add_flag("--no-normalize", arguments.no_normalize, "leaves the gain of the pass band as it comes out")->group(window);

    const char* const files = "Files";
    add("--parameters", arguments.parameters, "XML file with the whole description, in place of all options above", files);
    add("--save", arguments.save, "XML file to save the description to, once there is a filter", files);
    add("--output", arguments.output, "file for the report [standard output]", files);

    const char* const report = "Report";
    command.add_flag("--json", arguments.json, "one JSON document instead of the text")->group(report);
    command.add_flag("--csv", arguments.csv, "taps only, as lines of index and tap under a header")->group(report);
    command.add_flag("--verbose", arguments.verbose, "the library's log on standard error")->group(report);
}

filter_options_t parse_filter_options(const filter_arguments_t& arguments)
{
    if (arguments.json && arguments.csv)
    {
        fail("--json contradicts --csv; give one of them");
    }
    filter_options_t options;
    options.json = arguments.json;
    options.csv = arguments.csv;
    options.verbose = arguments.verbose;
    options.output = arguments.output;
    options.save = arguments.save;
    options.parameters = arguments.parameters;
    if (options.parameters)
    {
        refuse_description(arguments);
    }
    else
    {
        options.description = parse_description(arguments);
    }
    return options;
}

std::string get_method_name(lib_fir_design_method_t method)
{
    return find_name(get_method_names(), method);
}

std::string get_response_name(lib_fir_response_type_t response)
{
    return find_name(make_names<lib_fir_response_type_t>(), response);
}

std::string get_window_name(lib_window_type_t window)
{
    return find_name(make_names<lib_window_type_t>(), window);
}

std::vector<bool> get_passing_bands(lib_fir_response_type_t response)
{
    switch (response)
    {
    case LIB_FIR_RESPONSE_LOWPASS:
        return { true, false };
    case LIB_FIR_RESPONSE_HIGHPASS:
        return { false, true };
    case LIB_FIR_RESPONSE_BANDPASS:
        return { false, true, false };
    case LIB_FIR_RESPONSE_BANDSTOP:
        return { true, false, true };
    default:
        return {};
    }
}

std::string find_frequency_fault(const std::vector<double>& frequencies, double nyquist)
{
    double last = 0.0;
    bool rising = true;
    for (const double frequency : frequencies)
    {
        // Comparisons with not-a-number are false.
        rising = rising && frequency > last && frequency < nyquist;
        last = frequency;
    }
    return rising ? "" : fmt::format("expected frequencies that rise, each above the one before, between 0 and {}", nyquist);
}
} // namespace dmatool
