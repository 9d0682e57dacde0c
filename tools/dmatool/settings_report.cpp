#include "settings_command.h"

#include "json_number.h"
#include "settings_field.h"
#include "tool_text.h"

#include <fmt/format.h>

#include <cstdint>

namespace dmatool
{
using namespace vrim::dma_demod_lib;

namespace
{
std::string get_shown_value(const settings_field_t& field, const settings_value_t& value)
{
    const bool list = field.form.kind == settings_kind_t::points || field.form.kind == settings_kind_t::indices;
    const bool flag = std::holds_alternative<bool>(value);
    const std::string text = get_value_text(value);
    if (flag)
    {
        return std::get<bool>(value) ? "on" : "off";
    }
    return list && text.empty() ? "none" : text + field.unit;
}

/// The fields of one record, each in a line.
std::string make_rows(const std::string& section, const std::string& indent, const lib_dma_frame_configure_manager_t& frame,
                      const lib_dma_segment_configure_manager_t& segment)
{
    std::string text;
    for (const settings_field_t& field : get_settings_fields())
    {
        if (field.section == section)
        {
            text += fmt::format("{}{:<34}{}\n", indent, field.label, get_shown_value(field, field.get(frame, segment)));
        }
    }
    return text;
}

json_t make_record(const std::string& section, const lib_dma_frame_configure_manager_t& frame,
                   const lib_dma_segment_configure_manager_t& segment)
{
    json_t record;
    for (const settings_field_t& field : get_settings_fields())
    {
        if (field.section == section)
        {
            record[field.name] = get_value_json(field.get(frame, segment));
        }
    }
    return record;
}

std::string dump(const json_t& document)
{
    // Names and texts need not be UTF-8; a report with a replacement character is better than none.
    return document.dump(2, ' ', false, json_t::error_handler_t::replace) + "\n";
}
} // namespace

std::string make_settings_text_report(const std::string& path, const lib_dma_frame_configure_manager_t& frame)
{
    std::string text = fmt::format("Settings            {}\n\nFrame\n", get_one_line(path));
    text += make_rows("", "  ", frame, frame.get_segment(0));
    for (std::uint32_t i = 0; i < frame.get_segment_number(); ++i)
    {
        text += fmt::format("\nSegment {}\n", i + 1);
        for (const settings_section_t& section : get_settings_sections())
        {
            text += fmt::format("  {}\n", section.label);
            text += make_rows(section.name, "    ", frame, frame.get_segment(i));
        }
    }
    return text;
}

std::string make_settings_json_report(const std::string& path, const lib_dma_frame_configure_manager_t& frame)
{
    json_t out;
    out["file"] = path;
    out["frame"] = make_record("", frame, frame.get_segment(0));
    out["segments"] = json_t::array();
    for (std::uint32_t i = 0; i < frame.get_segment_number(); ++i)
    {
        json_t segment;
        for (const settings_section_t& section : get_settings_sections())
        {
            segment[section.name] = make_record(section.name, frame, frame.get_segment(i));
        }
        out["segments"].push_back(segment);
    }
    return dump(out);
}

std::string make_check_text_report(const std::string& path, const settings_check_t& check)
{
    std::string text;
    for (const settings_change_t& change : check.changes)
    {
        text += get_change_text(change) + "\n";
    }
    const std::size_t count = check.changes.size() + check.passed_over;
    if (check.passed_over > 0)
    {
        text += fmt::format("and {} more\n", check.passed_over);
    }
    text += count == 0 ? fmt::format("{}: a recall changes nothing\n", get_one_line(path))
                       : fmt::format("{}: a recall changes {} {}\n", get_one_line(path), count, count == 1 ? "value" : "values");
    for (const std::string& note : check.notes)
    {
        text += fmt::format("note: {}\n", note);
    }
    return text;
}

std::string make_check_json_report(const std::string& path, const settings_check_t& check)
{
    json_t out;
    out["file"] = path;
    out["changed"] = check.changes.size() + check.passed_over;
    out["changes"] = json_t::array();
    for (const settings_change_t& change : check.changes)
    {
        out["changes"].push_back(
            { { "path", change.path }, { "file", change.file }, { "kept", change.kept }, { "why", change.why } });
    }
    out["notes"] = check.notes;
    return dump(out);
}
} // namespace dmatool
