#include "settings_options.h"

#include "exit_status.h"
#include "settings_check.h"
#include "settings_field.h"
#include "settings_file.h"
#include "tool_file.h"
#include "tool_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <string_view>
#include <utility>

namespace dmatool
{
using namespace vrim::dma_demod_lib;

namespace
{
constexpr double longest_search = 1.0e6; // s, as for --search-length
constexpr std::size_t most_sync_bits = 4096;
constexpr std::size_t most_change_notes = 10;

/// Elements that the report tells, or that an analysis does not look at.
constexpr std::array<std::string_view, 45> told_elements = { "segment_number",
                                                             "frame_current_segment_index",
                                                             "search_length",
                                                             "sync_offset",
                                                             "sync_pattern_type",
                                                             "sync_pattern_bit",
                                                             "sync_pattern_hex",
                                                             "sync_pattern_int",
                                                             "enable_mannual_data_sample_rate",
                                                             "mannual_data_sample_rate",
                                                             "bandwidth",
                                                             "sync_search",
                                                             "meas_interval",
                                                             "meas_offset",
                                                             "meas_filter_type",
                                                             "ref_filter_type",
                                                             "filter_alpha",
                                                             "filter_beta",
                                                             "filter_length",
                                                             "format_group",
                                                             "psk_format",
                                                             "qam_format",
                                                             "fsk_format",
                                                             "msk_format",
                                                             "ask_format",
                                                             "apsk_format",
                                                             "dpsk_format",
                                                             "oqpsk_format",
                                                             "vsb_format",
                                                             "custom_iq_format",
                                                             "other_format",
                                                             "symbol_rate",
                                                             "points_per_symbol",
                                                             "constellation_sym_index",
                                                             "const_iq_map_data",
                                                             "const_iq_map_data_symbol",
                                                             "iq_rotation",
                                                             "equalizer",
                                                             "equalizer_filter_len",
                                                             "equalizer_coef",
                                                             "clock_adjust",
                                                             "evm_normalization_ref",
                                                             "total_bits_len",
                                                             "bits",
                                                             "payload_data_type" };

struct option_element_t
{
    const char* option;
    const std::optional<std::string>* text;
    const char* element;
};

std::vector<option_element_t> get_option_elements(const analyze_arguments_t& arguments)
{
    return {
        { "--symbol-rate", &arguments.symbol_rate, "symbol_rate" },
        { "--points-per-symbol", &arguments.points_per_symbol, "points_per_symbol" },
        { "--meas-filter", &arguments.meas_filter, "meas_filter_type" },
        { "--ref-filter", &arguments.ref_filter, "ref_filter_type" },
        { "--alpha", &arguments.alpha, "filter_alpha" },
        { "--beta", &arguments.beta, "filter_beta" },
        { "--filter-length", &arguments.filter_length, "filter_length" },
        { "--interval", &arguments.interval, "meas_interval" },
        { "--offset", &arguments.offset, "meas_offset" },
        { "--search-length", &arguments.search_length, "search_length" },
        { "--bandwidth", &arguments.bandwidth, "bandwidth" },
        { "--sync", &arguments.sync, "sync_pattern_bit" },
        { "--sync-offset", &arguments.sync_offset, "sync_offset" },
        { "--evm-ref", &arguments.evm_ref, "evm_normalization_ref" },
        { "--clock-adjust", &arguments.clock_adjust, "clock_adjust" },
        { "--iq-rotation", &arguments.iq_rotation, "iq_rotation" },
        { "--equalizer", &arguments.equalizer, "equalizer" },
        { "--equalizer-length", &arguments.equalizer_length, "equalizer_filter_len" },
        { "--equalizer-step", &arguments.equalizer_step, "equalizer_coef" },
    };
}

bool is_given(const std::vector<option_element_t>& given, const std::string& element)
{
    return std::any_of(given.begin(), given.end(),
                       [&element](const option_element_t& row) { return *row.text && element == row.element; });
}

settings_value_t get_value(const lib_dma_frame_configure_manager_t& frame, const std::string& element)
{
    return get_settings_field(element).get(frame, frame.get_segment(0));
}

/// The group's own record says the format.
const std::string& get_format_element(lib_dma_modulation_type_t group)
{
    return get_group_row(group).key;
}

void note_overrides(const analyze_arguments_t& arguments, const std::vector<option_element_t>& rows, analyze_options_t& options)
{
    const lib_dma_frame_configure_manager_t& frame = *options.settings;
    const lib_dma_modulation_type_t group = frame.get_segment(0).get_format_configure().get_format_group();
    const auto note = [&](const std::string& option, const std::string& text, const std::string& element)
    {
        options.overrides.push_back(fmt::format("{} {} stands in place of {} {} of the settings file", option, quote(text),
                                                element, quote_short(get_value_text(get_value(frame, element)))));
    };
    if (arguments.group)
    {
        note("--group", *arguments.group, "format_group");
    }
    if (arguments.format)
    {
        note("--format", *arguments.format, get_format_element(group));
    }
    for (const option_element_t& row : rows)
    {
        if (*row.text)
        {
            note(row.option, **row.text, row.element);
        }
    }
}

/// Numbers that are none would be measured with.
void check_numbers(const std::string& path, const lib_dma_frame_configure_manager_t& frame,
                   const std::vector<option_element_t>& rows)
{
    for (const settings_field_t& field : get_settings_fields())
    {
        const settings_value_t value = field.get(frame, frame.get_segment(0));
        if (!std::isfinite(get_value_number(value)) && !is_given(rows, field.name))
        {
            fail_file(exit_bad_capture, path,
                      fmt::format("has the {} {}, which is no finite number", field.name, get_value_text(value)));
        }
    }
    if (!is_given(rows, "search_length") && frame.get_search_length() > longest_search)
    {
        fail_file(exit_bad_capture, path,
                  fmt::format("has the search_length {} s, expected {} s or less; give --search-length",
                              frame.get_search_length(), longest_search));
    }
    const std::int32_t offset = frame.get_segment(0).get_time_configure().get_meas_offset();
    if (!is_given(rows, "meas_offset") && offset < -1)
    {
        fail_file(exit_bad_capture, path,
                  fmt::format("has the meas_offset {}; expected symbols from 0 on, or -1 for automatic; give --offset", offset));
    }
}

/// Makes the bits of the file's sync word anew: a recall keeps those of a number only.
std::string make_sync_bits(const std::string& path, const lib_dma_frame_configure_manager_t& frame)
{
    vrim::bit_array bits = frame.get_sync_pattern_bitarr();
    const lib_dma_sync_pattern_t type = frame.get_sync_pattern_type();
    if (type != LIB_DMA_SYNC_INT_PATTERN)
    {
        lib_dma_frame_configure_manager_t maker;
        maker.set_sync_pattern_type(type);
        const std::string& text = frame.get_sync_pattern_bit();
        type == LIB_DMA_SYNC_BIT_PATTERN ? maker.set_sync_pattern_bit(text) : maker.set_sync_pattern_hex(text);
        bits = maker.get_sync_pattern_bitarr();
    }
    if (bits.size() > most_sync_bits)
    {
        fail_file(exit_bad_capture, path,
                  fmt::format("has a sync word of {} bits, expected {} or less; give --sync", bits.size(), most_sync_bits));
    }
    return get_bits_text(bits);
}

void take_filters(const std::string& path, const lib_dma_filter_configure_manager_t& filter, const analyze_arguments_t& arguments,
                  analyze_options_t& options)
{
    const auto find = [&](const std::vector<filter_row_t>& table, std::uint32_t value, bool given,
                          const char* option) -> const filter_row_t*
    {
        const auto row =
            std::find_if(table.begin(), table.end(), [value](const filter_row_t& entry) { return entry.value == value; });
        if (row == table.end() && !given)
        {
            fail_file(exit_bad_capture, path,
                      fmt::format("asks for a user-defined filter, whose taps no settings file holds; give {}", option));
        }
        return row == table.end() ? nullptr : &*row;
    };
    options.meas_filter =
        find(get_meas_filter_table(), filter.get_meas_filter_type(), arguments.meas_filter.has_value(), "--meas-filter");
    options.ref_filter =
        find(get_ref_filter_table(), filter.get_ref_filter_type(), arguments.ref_filter.has_value(), "--ref-filter");
    options.alpha = filter.get_filter_alpha();
    options.beta = filter.get_filter_beta();
    options.filter_length = filter.get_filter_length();
}

void take_values(const std::string& path, const analyze_arguments_t& arguments, analyze_options_t& options)
{
    const lib_dma_frame_configure_manager_t& frame = *options.settings;
    const lib_dma_segment_configure_manager_t& segment = frame.get_segment(0);
    const lib_dma_format_configure_manager_t& format = segment.get_format_configure();
    const lib_dma_advance_configure_manager_t& advance = segment.get_advance_configure();
    options.symbol_rate = format.get_symbol_rate();
    options.points_per_symbol = format.get_points_per_symbol();
    take_filters(path, segment.get_filter_configure(), arguments, options);
    options.interval = segment.get_time_configure().get_meas_interval();
    options.offset = segment.get_time_configure().get_meas_offset();
    options.search_length = frame.get_search_length();
    options.bandwidth = frame.get_bandwidth();
    options.bandwidth_of_file = !arguments.bandwidth;
    options.sync_offset = frame.get_sync_offset();
    options.evm_ref = advance.get_evm_normalization_ref();
    options.clock_adjust = advance.get_clock_adjust();
    options.iq_rotation = advance.get_iq_rotation();
    options.equalizer = advance.get_equalizer();
    options.equalizer_length = advance.get_equalizer_filter_len();
    options.equalizer_step = advance.get_equalizer_coef();
    if (frame.get_sync_search() && !arguments.sync)
    {
        options.sync_bits = make_sync_bits(path, frame);
    }
}

void note_settings(const std::string& path, const settings_check_t& check, std::size_t segments, analyze_options_t& options)
{
    std::size_t changed = 0;
    for (const settings_change_t& change : check.changes)
    {
        if (!change.made_good && ++changed <= most_change_notes)
        {
            options.settings_notes.push_back("the settings file is not taken as it stands: " + get_change_text(change));
        }
    }
    if (changed + check.passed_over > most_change_notes)
    {
        options.settings_notes.push_back(
            fmt::format("{} more values of the settings file are not taken as they stand; see dmatool "
                        "settings check {}",
                        changed + check.passed_over - most_change_notes, quote(path)));
    }
    if (segments > 1)
    {
        options.settings_notes.push_back(fmt::format("the settings file has {} segments; the first one is measured", segments));
    }
    const lib_dma_frame_configure_manager_t defaults;
    for (const settings_field_t& field : get_settings_fields())
    {
        const settings_value_t value = field.get(*options.settings, options.settings->get_segment(0));
        const bool told = std::find(told_elements.begin(), told_elements.end(), field.name) != told_elements.end();
        if (!told && !is_same_value(value, field.get(defaults, defaults.get_segment(0))))
        {
            options.settings_notes.push_back(
                fmt::format("the settings file sets {} to {}{}", field.name, get_value_text(value), field.unit));
        }
    }
}
} // namespace

void take_settings_file(const analyze_arguments_t& arguments, analyze_options_t& options)
{
    const std::string& path = *arguments.settings;
    const settings_tree_t tree = read_settings_tree(path);
    cfg_dma_frame_t recalled;
    const std::vector<std::string> messages = recall_settings(tree, arguments.allow_large, recalled);
    if (arguments.verbose)
    {
        for (const std::string& message : messages)
        {
            options.overrides.push_back("recall of the settings file: " + message);
        }
    }
    const settings_check_t check = check_settings(tree, recalled.get_frame_manager());

    // Bits of a payload are no part of the analysis; of PN31 every copy would take 2 GiB.
    for (std::uint32_t i = 0; i < recalled.get_segment_number(); ++i)
    {
        recalled.get_segment(i).get_recall_demod_info_cfg().set_tx_pattern({});
    }
    const std::uint32_t segments = recalled.get_segment_number();
    const auto frame = std::make_shared<lib_dma_frame_configure_manager_t>(recalled.get_frame_manager());
    // One segment is measured.
    frame->set_current_segment_index(0);
    frame->set_segment_number(1);
    options.settings = frame;

    const std::vector<option_element_t> rows = get_option_elements(arguments);
    check_numbers(path, *frame, rows);
    take_values(path, arguments, options);
    if (frame->get_sync_search() && options.sync_bits.empty() && !arguments.sync)
    {
        // A search for nothing would be reported as a word that was found.
        frame->get_segment(0).get_recall_demod_info_configure().set_ber_state(false);
        frame->set_sync_search(false);
        options.settings_notes.push_back(
            "the settings file turns the sync search on and has no sync word, so nothing is searched");
    }
    if (!tree.items.empty() && tree.items.size() <= lib_dma_frame_configure_manager_t::max_segment_number)
    {
        options.offset = find_searched_offset(tree.items.front().child("cfg_dma_time"), *frame).value_or(options.offset);
    }
    note_settings(path, check, segments, options);
    note_overrides(arguments, rows, options);
}

format_choice_t find_settings_format(const analyze_arguments_t& arguments, const lib_dma_frame_configure_manager_t& settings)
{
    const lib_dma_format_configure_manager_t& record = settings.get_segment(0).get_format_configure();
    const group_row_t* group = &get_group_row(record.get_format_group());
    if (arguments.group)
    {
        for (const group_row_t& row : get_group_table())
        {
            const std::string key = get_name_key(*arguments.group);
            const bool named = key == get_name_key(row.name) || key == get_name_key(row.enumerator);
            group = named || *arguments.group == std::to_string(static_cast<std::uint32_t>(row.value)) ? &row : group;
        }
    }
    if (!arguments.format)
    {
        const std::string name = get_value_text(get_value(settings, get_format_element(group->value)));
        return find_format(arguments.group ? arguments.group : group->enumerator, name);
    }
    // A name tells its group. A number does not, so that of the file counts.
    const bool number = arguments.format->find_first_not_of("0123456789") == std::string::npos;
    return find_format(number && !arguments.group ? group->enumerator : arguments.group, arguments.format);
}
} // namespace dmatool
