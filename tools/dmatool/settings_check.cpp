#include "settings_check.h"

#include "settings_field.h"
#include "support/lib_common_list_parse.h"
#include "tool_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <set>
#include <utility>
#include <variant>

namespace dmatool
{
using namespace vrim::dma_demod_lib;
using vrim::common_lib::lib_common_list_parse_t;

namespace
{
// Nobody reads more, and a file may hold millions.
constexpr std::size_t most_changes = 1000;
constexpr std::size_t longest_name = 64;
constexpr const char* nothing = "nothing";

/// What one comparison is about.
struct place_t
{
    const lib_dma_frame_configure_manager_t& frame;
    const lib_dma_segment_configure_manager_t& segment;
    pugi::xml_node record;
    std::string path;        ///< of the record
    std::string overwritten; ///< by what, if a later segment element takes this one's room
};

/// Collects the changes of one file.
class checker_t
{
public:
    settings_check_t check;

    void add(std::string path, std::string file, std::string kept, std::string why, bool made_good = false)
    {
        if (check.changes.size() >= most_changes)
        {
            ++check.passed_over;
            return;
        }
        check.changes.push_back({ std::move(path), std::move(file), std::move(kept), std::move(why), made_good });
    }

    void check_names(const pugi::xml_node& node, const std::string& path, const std::set<std::string>& known);
    void check_field(const settings_field_t& field, const place_t& place);

private:
    void check_number(const settings_field_t& field, const place_t& place, const std::string& path, const std::string& text);
    void check_sync_text(const settings_field_t& field, const place_t& place, const std::string& path, const std::string& text);
    void check_points(const settings_field_t& field, const place_t& place, const std::string& path);
    void check_bits(const place_t& place, const std::string& path, const std::string& text);
};

void checker_t::check_names(const pugi::xml_node& node, const std::string& path, const std::set<std::string>& known)
{
    std::set<std::string> seen;
    for (const pugi::xml_node& child : node.children())
    {
        const std::string name = child.name();
        if (child.type() != pugi::node_element)
        {
            const bool text = child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata;
            if (text)
            {
                add(path, quote_short(child.value()), nothing, "text between elements is passed over");
            }
        }
        else if (!known.contains(name))
        {
            add(path + "/" + get_one_line(name.substr(0, longest_name)), quote_short(child.text().get()), nothing,
                "the element is unknown and passed over");
        }
        else if (!seen.insert(name).second)
        {
            add(path + "/" + name, quote_short(child.text().get()), nothing,
                "the element stands there more than once and the first one counts");
        }
    }
}

std::string get_limits_text(const settings_field_t& field)
{
    const std::string& unit = field.unit;
    if (std::isinf(field.limits.high))
    {
        return fmt::format("{}{} is the least", field.limits.low, unit);
    }
    return fmt::format("{} to {}{} are the limits", field.limits.low, field.limits.high, unit);
}

/// Why a value that was read came out different.
std::string get_reason(const settings_field_t& field, const settings_value_t& read, const settings_value_t& kept)
{
    const double value = get_value_number(read);
    const bool outside = value < field.limits.low || value > field.limits.high;
    const double limit = std::clamp(value, field.limits.low, field.limits.high);
    // Limits that single precision rounds are still the limits.
    const bool at_limit = std::abs(get_value_number(kept) - limit) <= 1.0e-6 * std::abs(limit);
    if (outside && (at_limit || field.rule.empty()))
    {
        return get_limits_text(field);
    }
    return field.rule.empty() ? "the setter takes it otherwise" : field.rule;
}

void checker_t::check_number(const settings_field_t& field, const place_t& place, const std::string& path,
                             const std::string& text)
{
    const settings_value_t kept = field.get(place.frame, place.segment);
    const settings_value_t read = read_settings_value(field.form, place.record.child(field.name.c_str()));
    const written_value_t written = parse_settings_value(field.form, text);
    const std::string kept_text = get_value_text(kept);
    std::string why;
    if (!written.is_known)
    {
        why = is_same_value(read, kept) ? written.fault
                                        : fmt::format("{}; it is read as {}, and {}", written.fault, get_value_text(read),
                                                      get_reason(field, read, kept));
    }
    else if (!is_same_value(written.value, read))
    {
        const bool flag = field.form.kind == settings_kind_t::number_flag;
        why = flag ? "the words true and false are read as the number 0; write 1 for true"
                   : fmt::format("it is read as {}: blanks in front count, and numbers stand in plain digits",
                                 get_value_text(read));
        if (flag && is_same_value(written.value, kept))
        {
            return; // another rule turned it on all the same
        }
    }
    else if (!is_same_value(read, kept))
    {
        why = get_reason(field, read, kept);
    }
    else
    {
        return;
    }
    const bool made_good = field.name == "meas_offset" && find_searched_offset(place.record, place.frame).has_value();
    add(path, quote_short(text), kept_text, place.overwritten.empty() ? why : place.overwritten, made_good);
}

/// A list or a word without what separates, in small letters.
std::string get_plain_word(const std::string& text)
{
    std::string word;
    for (const char c : get_name_key(text))
    {
        if (c != ',' && c != '\t' && c != '\r' && c != '\n')
        {
            word.push_back(c);
        }
    }
    return word;
}

void checker_t::check_sync_text(const settings_field_t& field, const place_t& place, const std::string& path,
                                const std::string& text)
{
    const std::string kept = place.frame.get_sync_pattern_bit();
    const bool of_bits = field.name == "sync_pattern_bit";
    const lib_dma_sync_pattern_t type = place.frame.get_sync_pattern_type();
    const bool in_use = type == (of_bits ? LIB_DMA_SYNC_BIT_PATTERN : LIB_DMA_SYNC_HEX_PATTERN);
    if (get_plain_word(text) != get_plain_word(kept))
    {
        const std::string own = of_bits ? "LIB_DMA_SYNC_BIT_PATTERN" : "LIB_DMA_SYNC_HEX_PATTERN";
        const std::string why =
            in_use ? "the word is taken as whole bits or whole bytes, and one of other characters or none leaves the default"
                   : fmt::format("it is read for {} only", own);
        add(path, quote_short(text), quote_short(kept), why);
    }
    else if (in_use && place.frame.get_sync_search())
    {
        add(path, quote_short(text), "no bits",
            "the elements behind it empty the bits of this notation and the text alone is left; dmatool analyze makes them of it",
            true);
    }
}

void checker_t::check_points(const settings_field_t& field, const place_t& place, const std::string& path)
{
    const auto map = place.segment.get_format_configure().get_const_iq_map_data();
    vrim::complex_array points;
    std::vector<std::int32_t> indices;
    std::string reason;
    const std::string points_text = place.record.child("const_iq_map_data").text().get();
    const std::string indices_text = place.record.child("const_iq_map_data_symbol").text().get();
    const bool points_good = lib_common_list_parse_t::string_to_complex_list(points_text, points);
    const bool indices_good = lib_common_list_parse_t::string_to_index_list(indices_text, indices, reason);
    const bool of_points = field.name == "const_iq_map_data";
    const std::string& text = of_points ? points_text : indices_text;
    std::string why;
    if (of_points ? !points_good : !indices_good)
    {
        why = of_points ? "it is no list of points such as 1,0;-1,0 and is read as empty"
                        : fmt::format("it is read as empty: {}", get_one_line(reason.substr(0, 100)));
    }
    else if (of_points ? points.size() > indices.size() : indices.size() > points.size())
    {
        why =
            fmt::format("there are {} points and {} symbols, and what has no partner is dropped", points.size(), indices.size());
    }
    else if (!of_points && std::set<std::int32_t>(indices.begin(), indices.end()).size() < indices.size())
    {
        why = "a symbol that stands there again takes the later point";
    }
    else if (!of_points && std::any_of(indices.begin(), indices.end(), [](std::int32_t index) { return index < 0; }))
    {
        why = "symbols count from 0; one below 0 becomes a large number";
    }
    else if (of_points && std::any_of(points.begin(), points.end(),
                                      [](const std::complex<float>& point)
                                      { return !std::isfinite(point.real()) || !std::isfinite(point.imag()); }))
    {
        why = "a point is no finite number";
    }
    else if (!place.overwritten.empty())
    {
        vrim::dma_demod_lib::constellation_map own;
        for (std::size_t i = 0; i < std::min(points.size(), indices.size()); ++i)
        {
            own[static_cast<std::uint32_t>(indices[i])] = points[i];
        }
        why = own == map ? "" : place.overwritten;
    }
    if (!why.empty())
    {
        add(path, quote_short(text), fmt::format("{} points", map.size()), why);
    }
}

void checker_t::check_bits(const place_t& place, const std::string& path, const std::string& text)
{
    const vrim::bit_array& kept = place.segment.get_recall_demod_info_configure().get_tx_pattern();
    vrim::bit_array bits;
    const bool good = lib_common_list_parse_t::string_to_bit_list(text, bits);
    // An empty list says nothing that could be lost.
    if (good && (bits.empty() || bits == kept))
    {
        return;
    }
    add(path, quote_short(text), fmt::format("{} bits", kept.size()),
        place.overwritten.empty() ? "payload_data_type makes the pattern anew" : place.overwritten);
}

void checker_t::check_field(const settings_field_t& field, const place_t& place)
{
    const pugi::xml_node node = place.record.child(field.name.c_str());
    const std::string path = place.path + "/" + field.name;
    const bool of_points = field.form.kind == settings_kind_t::points || field.form.kind == settings_kind_t::indices;
    if (!node)
    {
        const settings_value_t kept = field.get(place.frame, place.segment);
        const std::string text = get_value_text(kept);
        const std::string shown =
            std::holds_alternative<std::string>(kept) && field.form.names.empty() ? quote_short(text) : text;
        add(path, nothing, shown,
            place.overwritten.empty() ? "the element is missing; that reads as 0, false, no text or the first name"
                                      : place.overwritten);
        return;
    }
    if (node.first_child() && (node.first_child().next_sibling() || node.first_child().type() == pugi::node_element))
    {
        add(path, quote_short(node.text().get()), get_value_text(field.get(place.frame, place.segment)).substr(0, 48),
            "there is more in the element than one text; the first text counts");
    }
    const std::string text = node.text().get();
    if (field.form.kind == settings_kind_t::text)
    {
        check_sync_text(field, place, path, text);
    }
    else if (of_points)
    {
        check_points(field, place, path);
    }
    else if (field.form.kind == settings_kind_t::bits)
    {
        check_bits(place, path, text);
    }
    else
    {
        check_number(field, place, path, text);
    }
}

std::set<std::string> get_names(const std::string& section)
{
    std::set<std::string> names;
    for (const settings_field_t& field : get_settings_fields())
    {
        if (field.section == section)
        {
            names.insert(field.name);
        }
    }
    return names;
}

void check_segment(checker_t& checker, const pugi::xml_node& item, place_t place)
{
    std::set<std::string> sections;
    const std::string item_path = place.path;
    for (const settings_section_t& section : get_settings_sections())
    {
        sections.insert(section.name);
    }
    checker.check_names(item, item_path, sections);
    for (const settings_section_t& section : get_settings_sections())
    {
        place.record = item.child(section.name.c_str());
        place.path = item_path + "/" + section.name;
        checker.check_names(place.record, place.path, get_names(section.name));
        for (const settings_field_t& field : get_settings_fields())
        {
            if (field.section == section.name)
            {
                checker.check_field(field, place);
            }
        }
    }
}

/// What no file keeps, whatever it says.
std::vector<std::string> get_format_losses()
{
    return {
        "a file holds the first segment only; further ones come out at their defaults, or are cut where a sync pattern is read",
        "sync_search and enable_mannual_data_sample_rate are saved as words and read as numbers: true comes back as false, 1 as "
        "true",
        "the bits of a sync pattern in bits or hexadecimal digits come back empty, its text stays",
        "payload_data_type makes the pattern anew, so the bits element has no lasting effect",
        "iq_offset_compensation follows the format: off for MSK type 1, on otherwise",
        "the flag of a user-defined constellation is not in the file and comes back off",
        "constellation_sym_index is read and not kept",
    };
}
} // namespace

settings_check_t check_settings(const settings_tree_t& tree, const lib_dma_frame_configure_manager_t& kept)
{
    checker_t checker;
    const std::string frame_path = settings_frame;
    if (!tree.frame)
    {
        checker.add(frame_path, nothing, "the values below", "the element is missing");
    }
    for (pugi::xml_node again = tree.frame.next_sibling(settings_frame); again; again = again.next_sibling(settings_frame))
    {
        checker.add(frame_path, "another frame", nothing, "the element stands there more than once and the first one counts");
    }
    std::set<std::string> frame_names = get_names("");
    frame_names.insert(settings_segments);
    checker.check_names(tree.frame, frame_path, frame_names);
    for (const settings_field_t& field : get_settings_fields())
    {
        if (field.section.empty())
        {
            checker.check_field(field, { kept, kept.get_segment(0), tree.frame, frame_path, "" });
        }
    }

    const std::string list_path = frame_path + "/" + settings_segments;
    const std::size_t room = lib_dma_frame_configure_manager_t::max_segment_number;
    const std::size_t count = tree.items.size();
    if (count == 0)
    {
        checker.add(list_path, nothing, "1 segment at its defaults", "there are no segment elements");
    }
    for (std::size_t i = 0; i < std::min(count, room); ++i)
    {
        const bool overwritten = i == 0 && count > room;
        const std::string why =
            overwritten ? fmt::format("the list holds {}, and element {} takes the place of the first", room, count) : "";
        const std::string path = fmt::format("{}/{}[{}]", list_path, get_one_line(tree.items[i].name()), i + 1);
        check_segment(checker, tree.items[i], { kept, kept.get_segment(static_cast<std::uint32_t>(i)), {}, path, why });
    }
    if (count > room)
    {
        checker.add(list_path, fmt::format("{} segment elements", count), fmt::format("{} segments", room),
                    fmt::format("the list holds {}; of the further ones the last stands in place of the first", room));
    }
    checker.check.notes = get_format_losses();
    return checker.check;
}

std::optional<std::int32_t> find_searched_offset(const pugi::xml_node& time, const lib_dma_frame_configure_manager_t& kept)
{
    const settings_field_t& field = get_settings_field("meas_offset");
    const pugi::xml_node node = time.child(field.name.c_str());
    const written_value_t written = parse_settings_value(field.form, node.text().get());
    if (!kept.get_sync_search() || !written.is_known || !is_same_value(written.value, read_settings_value(field.form, node)))
    {
        return {};
    }
    const std::int64_t offset = std::get<std::int64_t>(written.value);
    const std::int64_t interval = kept.get_segment(0).get_time_configure().get_meas_interval();
    const bool cut = kept.get_segment(0).get_time_configure().get_meas_offset() == 0;
    return cut && offset > 0 && offset <= interval ? std::optional(static_cast<std::int32_t>(offset)) : std::nullopt;
}

std::string get_change_text(const settings_change_t& change)
{
    return fmt::format("{}: {} becomes {}: {}", change.path, change.file, change.kept, change.why);
}
} // namespace dmatool
