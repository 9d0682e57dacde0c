#include "settings_file.h"

#include "library_output.h"
#include "settings_check.h"
#include "settings_field.h"
#include "support/lib_xml_common.h"
#include "tool_file.h"
#include "tool_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <sstream>
#include <utility>
#include <variant>

namespace dmatool
{
using namespace vrim::dma_demod_lib;

namespace
{
constexpr std::uintmax_t largest_file = 64U << 20U; // bytes; one with the pattern of PN23 takes eight million
// The list holds six; far more are no settings and would be looked at one by one.
constexpr std::size_t most_items = 100000;
constexpr const char* advice = "give an XML file as dmatool settings write makes it";
constexpr const char* large_payload = "LIB_DMA_PN31";
constexpr std::size_t longest_written_pattern = 1U << 24U; // bits; the pattern is made anew anyway

bool asks_large_payload(const pugi::xml_node& item)
{
    return large_payload == std::string_view(item.child("cfg_dma_recall_demod_info").child("payload_data_type").text().get());
}

pugi::xml_node find_settings(const std::string& path, const pugi::xml_document& document)
{
    const std::string wanted = vrim::common_lib::lib_xml_common_t::get_protocol_name(vrim::common_lib::protocol_dma_frame);
    // Hosts put settings into documents of their own.
    const pugi::xml_node node = document.find_node([&wanted](const pugi::xml_node& candidate)
                                                   { return wanted == candidate.attribute(settings_protocol).value(); });
    if (node)
    {
        return node;
    }
    const pugi::xml_node other =
        document.find_node([](const pugi::xml_node& candidate) { return !candidate.attribute(settings_protocol).empty(); });
    if (!other)
    {
        fail_file(exit_bad_capture, path, fmt::format("has no element with {}=\"{}\"; {}", settings_protocol, wanted, advice));
    }
    fail_file(exit_bad_capture, path,
              fmt::format("has settings of the {} {}; expected '{}', analysis settings", settings_protocol,
                          quote_short(other.attribute(settings_protocol).value()), wanted));
}

void find_items(settings_tree_t& tree)
{
    for (const pugi::xml_node& item : tree.frame.child(settings_segments).children())
    {
        if (item.type() == pugi::node_element)
        {
            tree.items.push_back(item);
        }
    }
    if (tree.items.size() > most_items)
    {
        fail_file(
            exit_bad_capture, tree.path,
            fmt::format("has {} segment elements, of which 6 have room; expected {} or less", tree.items.size(), most_items));
    }
}

void set_text(pugi::xml_node node, const settings_field_t& field, const settings_value_t& value)
{
    pugi::xml_text text = node.text();
    if (field.form.kind == settings_kind_t::number_flag && std::get<bool>(value))
    {
        text.set(1U);
        return;
    }
    std::visit(
        [&text](const auto& held)
        {
            if constexpr (std::is_same_v<std::decay_t<decltype(held)>, std::string>)
            {
                text.set(held.c_str());
            }
            else if constexpr (std::is_same_v<std::decay_t<decltype(held)>, std::uint64_t> ||
                               std::is_same_v<std::decay_t<decltype(held)>, std::int64_t>)
            {
                text.set(fmt::format("{}", held).c_str());
            }
            else
            {
                text.set(held);
            }
        },
        value);
}

/// The library's own tree of default settings with the values of the frame in it.
void fill_tree(settings_tree_t& tree, const lib_dma_frame_configure_manager_t& frame)
{
    tree.node = tree.document.append_child("dma_setting");
    cfg_dma_frame_t defaults;
    defaults.save_dma_setting(tree.node);
    tree.frame = tree.node.child(settings_frame);
    find_items(tree);
    const lib_dma_segment_configure_manager_t& segment = frame.get_segment(0);
    for (const settings_field_t& field : get_settings_fields())
    {
        if (field.form.kind == settings_kind_t::bits)
        {
            continue;
        }
        const settings_value_t value = field.get(frame, segment);
        const bool nameless =
            field.form.kind == settings_kind_t::enumerator &&
            std::find(field.form.names.begin(), field.form.names.end(), std::get<std::string>(value)) == field.form.names.end();
        if (nameless)
        {
            throw tool_error_t(exit_usage,
                               fmt::format("a settings file cannot hold the {} {}: it has no enumerator; choose another one",
                                           field.label, get_value_text(value)));
        }
        const pugi::xml_node record = field.section.empty() ? tree.frame : tree.items.front().child(field.section.c_str());
        set_text(record.child(field.name.c_str()), field, value);
    }
}
} // namespace

settings_tree_t read_settings_tree(const std::string& path)
{
    settings_tree_t tree;
    tree.path = path;
    tree.document = read_xml_file(path, largest_file, "a settings file", advice);
    tree.node = find_settings(path, tree.document);
    tree.frame = tree.node.child(settings_frame);
    find_items(tree);
    return tree;
}

std::vector<std::string> recall_settings(const settings_tree_t& tree, bool allow_large, cfg_dma_frame_t& settings)
{
    const auto large = static_cast<std::size_t>(std::count_if(tree.items.begin(), tree.items.end(), asks_large_payload));
    if (large > 0 && !allow_large)
    {
        throw tool_error_t(exit_usage,
                           fmt::format("{} asks for the payload {} in {} of its segments: each builds a pattern of 2147483647 "
                                       "bits, 2 GiB of memory and seconds of time; give --allow-large if you want that",
                                       quote(tree.path), large_payload, large));
    }
    const library_output_t output(library_output_t::keep_all_texts, false, {});
    if (!settings.recall_dma_setting(tree.node))
    {
        fail_file(exit_bad_capture, tree.path, "cannot be recalled; log: " + join_messages(output.get_messages()));
    }
    return output.get_messages();
}

settings_text_t make_settings_text(const lib_dma_frame_configure_manager_t& frame)
{
    settings_tree_t tree;
    settings_text_t written;
    {
        // The facade's defaults print where a format has no points.
        const library_output_t output(library_output_t::keep_all_texts, false, {});
        fill_tree(tree, frame);
    }
    pugi::xml_text bits = tree.items.front().child("cfg_dma_recall_demod_info").child("bits").text();
    bits.set("");
    if (!asks_large_payload(tree.items.front()))
    {
        cfg_dma_frame_t recalled;
        recall_settings(tree, false, recalled);
        const vrim::bit_array& pattern =
            recalled.get_frame_manager().get_segment(0).get_recall_demod_info_configure().get_tx_pattern();
        if (pattern.size() <= longest_written_pattern)
        {
            bits.set(get_bits_text(pattern).c_str());
        }
        for (const settings_change_t& change : check_settings(tree, recalled.get_frame_manager()).changes)
        {
            written.notes.push_back(get_change_text(change));
        }
    }
    std::ostringstream text;
    tree.document.save(text, "  ");
    written.text = text.str();
    return written;
}
} // namespace dmatool
