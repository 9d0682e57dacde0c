// Descriptions of filters in files.

#include "exit_status.h"
#include "filter_description.h"
#include "library_output.h"
#include "tool_file.h"
#include "tool_text.h"

#include <fmt/format.h>
#include <pugixml.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <optional>
#include <string_view>

namespace dmatool
{
using namespace vrim::fir_filter_lib;

namespace
{
constexpr std::uintmax_t largest_file = 1U << 20U; // bytes; a description takes two thousand
constexpr const char* root_name = "fir_filter";
// Files are written with 17 digits; this much is left to other writers.
constexpr double same_number = 1.0e-9;

std::optional<double> find_number(const std::string& text)
{
    const std::size_t first = text.find_first_not_of(" \t\r\n");
    const std::size_t last = text.find_last_not_of(" \t\r\n");
    if (first == std::string::npos)
    {
        return {};
    }
    const std::string word = text.substr(first, last - first + 1);
    char* end = nullptr;
    const double value = std::strtod(word.c_str(), &end);
    return end == word.c_str() + word.size() && std::isfinite(value) ? std::optional(value) : std::nullopt;
}

/// Elements that are read only where they are there.
bool is_optional(std::string_view name)
{
    return name == "FrequencyUnit" || name == "Fs" || name.ends_with("NoNormalize");
}

/// Compares one value of the file with what was made of it.
void check_value(const std::string& path, const pugi::xml_node& given, const pugi::xml_node& kept,
                 std::vector<std::string>& notes)
{
    const std::string name = kept.name();
    const std::string text = given.child_value();
    const std::string kept_text = kept.child_value();
    if (name == "Type" || name == "WindowType" || name == "DesignMethod")
    {
        if (text != kept_text)
        {
            fail_file(exit_bad_capture, path, fmt::format("has the {} {}, which is not known", name, quote(text)));
        }
        return;
    }
    if (kept_text == "true" || kept_text == "false")
    {
        if (given.text().as_bool() != kept.text().as_bool())
        {
            notes.push_back(fmt::format("{} {} of the file is taken as {}", name, get_one_line(text), kept_text));
        }
        return;
    }
    const std::optional<double> number = find_number(text);
    if (!number)
    {
        fail_file(exit_bad_capture, path, fmt::format("has the {} {}, which is no finite number", name, quote(text)));
    }
    const double value = kept.text().as_double();
    if (!(std::abs(*number - value) <= same_number * std::max(std::abs(*number), std::abs(value))))
    {
        notes.push_back(fmt::format("{} {} of the file is taken as {}", name, *number, value));
    }
}

/// Walks what was kept and looks for it in the file.
void check_values(const std::string& path, const pugi::xml_node& given, const pugi::xml_node& kept,
                  std::vector<std::string>& notes)
{
    for (const pugi::xml_node& child : kept.children())
    {
        const pugi::xml_node found = given.child(child.name());
        if (child.type() != pugi::node_element || (!found && is_optional(child.name())))
        {
            continue;
        }
        if (!found)
        {
            fail_file(exit_bad_capture, path,
                      fmt::format("has no element {}; give an XML file as --save writes it", child.name()));
        }
        if (child.first_child().type() == pugi::node_element)
        {
            check_values(path, found, child, notes);
        }
        else
        {
            check_value(path, found, child, notes);
        }
    }
}

/// The checks of the command line, for what the design looks at.
void check_parameter(const std::string& path, const lib_fir_design_parameter_t& parameter)
{
    const std::vector<bool> bands = get_passing_bands(parameter.get_fir_response_type());
    if (bands.empty())
    {
        fail_file(exit_bad_capture, path,
                  "describes a shaping filter, which has no bands; expected Lowpass, Highpass, Bandpass "
                  "or Bandstop");
    }
    if (!(parameter.get_fs() > 0.0 && std::isfinite(parameter.get_fs())))
    {
        fail_file(exit_bad_capture, path, fmt::format("has the Fs {}; expected a sample rate above 0 Hz", parameter.get_fs()));
    }
    const bool by_cutoff = is_design_by_cutoff(parameter);
    const std::string fault = find_frequency_fault(by_cutoff ? get_cutoffs(parameter) : get_edges(parameter), 1.0);
    if (!fault.empty())
    {
        fail_file(exit_bad_capture, path,
                  fmt::format("has the {} {}: {}, the Nyquist frequency", by_cutoff ? "cutoffs" : "edges",
                              fmt::join(by_cutoff ? get_cutoffs(parameter) : get_edges(parameter), " "), fault));
    }
    if (!parameter.is_fir_mimimum_order_enable())
    {
        return;
    }
    if (parameter.get_fir_design_method() == LIB_FIR_METHOD_LEAST_SQUARE ||
        (parameter.get_fir_design_method() == LIB_FIR_METHOD_WINDOW && parameter.get_window_type() != LIB_WINDOW_KAISER))
    {
        fail_file(exit_bad_capture, path,
                  "asks for the least order, which goes with the equiripple method and the Kaiser window");
    }
    const std::vector<double> decibels = get_decibels(parameter);
    for (std::size_t i = 0; i < bands.size(); ++i)
    {
        const double highest = bands[i] ? highest_ripple : highest_attenuation;
        if (!(decibels[i] > 0.0 && decibels[i] <= highest))
        {
            fail_file(exit_bad_capture, path,
                      fmt::format("asks for {} dB of {} in band {}; expected a value above 0 and up to {} dB", decibels[i],
                                  bands[i] ? "ripple" : "attenuation", i + 1, highest));
        }
    }
}
} // namespace

lib_fir_design_parameter_t read_filter_parameter(const std::string& path, std::vector<std::string>& notes)
{
    const pugi::xml_document document =
        read_xml_file(path, largest_file, "a description", "give an XML file as --save writes it");
    // Hosts put descriptions into documents of their own.
    const pugi::xml_node node =
        document.find_node([](const pugi::xml_node& candidate) { return candidate.child("ResponseParameters"); });
    if (!node)
    {
        fail_file(exit_bad_capture, path, "describes no filter; give an XML file as --save writes it");
    }

    lib_fir_design_parameter_t parameter;
    const library_output_t output(library_output_t::keep_all_texts, false, {});
    if (!parameter.recall_setting(node))
    {
        fail_file(exit_bad_capture, path, "cannot be taken; log: " + join_messages(output.get_messages()));
    }
    pugi::xml_document kept;
    pugi::xml_node kept_node = kept.append_child(root_name);
    parameter.save_setting(kept_node);
    check_values(path, node, kept_node, notes);
    check_parameter(path, parameter);
    return parameter;
}

void write_filter_parameter(const std::string& path, lib_fir_design_parameter_t parameter)
{
    pugi::xml_document document;
    pugi::xml_node node = document.append_child(root_name);
    parameter.save_setting(node);
    if (!document.save_file(path.c_str(), "  "))
    {
        fail_file(exit_output, path, "could not be written; check the folder and the disk");
    }
}
} // namespace dmatool
