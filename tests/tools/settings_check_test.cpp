// What a recall of a settings file changes, and what is no settings file.

#include "settings_runner.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

using namespace dmatool;
using namespace dma_test;
using nlohmann::json;

namespace
{
constexpr const char* item_start = "      <cfg_dma_segement>\n";
constexpr const char* item_end = "      </cfg_dma_segement>\n";

/// One changed element and the line that is expected of it.
struct change_case_t
{
    std::string element;
    std::string content;
    std::string path;
    std::string kept;
    std::string why;
};

std::string frame_path(const std::string& name)
{
    return "cfg_dma_frame/" + name;
}

/// A file with the one segment element that many times.
std::string repeat_item(std::size_t count)
{
    const std::string text = get_default_settings();
    const std::size_t start = text.find(item_start);
    const std::size_t end = text.find(item_end) + std::string(item_end).size();
    std::string items;
    for (std::size_t i = 0; i < count; ++i)
    {
        items += text.substr(start, end - start);
    }
    return text.substr(0, start) + items + text.substr(end);
}

tool_result_t check_text(const scratch_folder_t& folder, const std::string& text, const std::string& more = "")
{
    return run_settings("check " + folder.write("settings.xml", text) + more);
}
} // namespace

TEST(SettingsCheck, FindsNothingInAFileOfDefaultsAndListsTheLossesOfTheFormat)
{
    const scratch_folder_t folder;
    const tool_result_t result = check_text(folder, get_default_settings());
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_EQ(result.errors, "");
    EXPECT_NE(result.output.find("a recall changes nothing"), std::string::npos);
    for (const char* part : { "first segment only", "sync_search and enable_mannual_data_sample_rate", "come back empty",
                              "makes the pattern anew", "follows the format", "comes back off" })
    {
        EXPECT_NE(result.output.find(part), std::string::npos) << part;
    }
}

TEST(SettingsCheck, NamesEveryValueThatARecallChanges)
{
    const std::vector<change_case_t> cases = {
        { "segment_number", "9", frame_path("segment_number"), "1", "sync pattern cuts" },
        { "frame_current_segment_index", "7", frame_path("frame_current_segment_index"), "1", "below segment_number" },
        { "search_length", "0", frame_path("search_length"), "1e-07", "1e-07 s is the least" },
        { "search_length", "nan", frame_path("search_length"), "nan", "no finite number" },
        { "burst_search", "on", frame_path("burst_search"), "false", "neither true nor false" },
        { "burst_search_threshold", "-300", frame_path("burst_search_threshold"), "-200", "-200 to 200 dB" },
        { "sync_offset", "1e99", frame_path("sync_offset"), "32767", "single precision" },
        { "sync_pattern_type", "BITS", frame_path("sync_pattern_type"), "LIB_DMA_SYNC_BIT_PATTERN", "no name" },
        { "sync_pattern_bit", "012", frame_path("sync_pattern_bit"), "'0'", "leaves the default" },
        { "sync_pattern_hex", "ff", frame_path("sync_pattern_hex"), "'0'", "LIB_DMA_SYNC_HEX_PATTERN only" },
        { "sync_pattern_int", "5", frame_path("sync_pattern_int"), "0", "LIB_DMA_SYNC_INT_PATTERN only" },
        { "enable_mannual_data_sample_rate", "true", frame_path("enable_mannual_data_sample_rate"), "false", "write 1" },
        { "mannual_data_sample_rate", "5", frame_path("mannual_data_sample_rate"), "1000000", "are the limits" },
        { "bandwidth", "0", frame_path("bandwidth"), "20000000", "refused" },
        { "sync_search", "true", frame_path("sync_search"), "false", "write 1" },
        { "meas_interval", "1e6", get_segment_path("cfg_dma_time/meas_interval"), "10", "read as 1" },
        { "meas_interval", "-3", get_segment_path("cfg_dma_time/meas_interval"), "10", "below 0" },
        { "meas_offset", "-5000", get_segment_path("cfg_dma_time/meas_offset"), "-1024", "within the interval" },
        { "filter_alpha", "0,3", get_segment_path("cfg_dma_filter/filter_alpha"), "0.05", "no finite number" },
        { "filter_length", "600", get_segment_path("cfg_dma_filter/filter_length"), "512", "2 to 512 symbols" },
        { "format_group", " LIB_DMA_GROUP_QAM", get_segment_path("cfg_dma_format/format_group"), "LIB_DMA_GROUP_PSK", "blanks" },
        { "ask_format", "LIB_DMA_ASK_3", get_segment_path("cfg_dma_format/ask_format"), "LIB_DMA_ASK_2", "no name" },
        { "symbol_rate", "99999999999999999999", get_segment_path("cfg_dma_format/symbol_rate"), "8000000000", "64 bits" },
        { "apsk_r2_r1", "", get_segment_path("cfg_dma_format/apsk_r2_r1"), "1.25", "read as 0" },
        { "constellation_sym_index", "3", get_segment_path("cfg_dma_format/constellation_sym_index"), "0", "never keeps" },
        { "const_iq_map_data", "1,0", get_segment_path("cfg_dma_format/const_iq_map_data_symbol"), "1 points", "no partner" },
        { "const_iq_map_data", "one", get_segment_path("cfg_dma_format/const_iq_map_data"), "0 points", "no list of points" },
        { "const_iq_map_data_symbol", "1,1", get_segment_path("cfg_dma_format/const_iq_map_data_symbol"), "1 points", "later" },
        { "equalizer_filter_len", "22", get_segment_path("cfg_dma_advance/equalizer_filter_len"), "23", "odd" },
        { "iq_offset_compensation", "false", get_segment_path("cfg_dma_advance/iq_offset_compensation"), "true", "format" },
        { "total_bits_len", "4294967296", get_segment_path("cfg_dma_recall_demod_info/total_bits_len"), "4294967295", "32 bits" },
        { "bits", "0101", get_segment_path("cfg_dma_recall_demod_info/bits"), "127 bits", "anew" },
    };
    const std::string defaults = get_default_settings();
    const scratch_folder_t folder;
    for (const change_case_t& one : cases)
    {
        const tool_result_t result = check_text(folder, change_element(defaults, one.element, one.content));
        EXPECT_EQ(result.status, exit_changed) << one.element;
        const std::string line = find_line(result.output, one.path);
        EXPECT_NE(line.find(" becomes " + one.kept + ": "), std::string::npos) << one.element << ": " << line;
        if (one.path.ends_with("/" + one.element))
        {
            EXPECT_NE(line.find(": '" + one.content + "' becomes "), std::string::npos) << one.element << ": " << line;
        }
        EXPECT_NE(line.find(one.why), std::string::npos) << one.element << ": " << line;
    }
}

TEST(SettingsCheck, TakesOtherFormsOfTheSameValueForUnchanged)
{
    const scratch_folder_t folder;
    const std::string defaults = get_default_settings();
    for (const auto& [element, content] :
         std::vector<std::pair<std::string, std::string>>{ { "filter_beta", "0.6" },
                                                           { "filter_beta", "6e-1" },
                                                           { "meas_interval", " 1024 " },
                                                           { "meas_interval", "0x400" },
                                                           { "equalizer", "0" },
                                                           { "msk_dfas", "1" },
                                                           { "sync_search", "0" },
                                                           { "bits", "" },
                                                           { "bandwidth", "+20000000" },
                                                           { "enable_mannual_data_sample_rate", "1" },
                                                           { "sync_offset", "-0" } })
    {
        const tool_result_t result = check_text(folder, change_element(defaults, element, content));
        EXPECT_EQ(result.status, 0) << element << " " << content << ": " << result.output;
    }
}

TEST(SettingsCheck, NamesMissingRepeatedUnknownAndMixedElements)
{
    const scratch_folder_t folder;
    std::string text = get_default_settings();
    text.replace(text.find("<filter_length>16</filter_length>"), 33, "<filter_size>16</filter_size>");
    text.insert(text.find("<bandwidth>"), "<bandwidth>5000000</bandwidth>");
    text.replace(text.find("<hold>false"), 11, "<hold>false<!-- no --><b/>");
    const tool_result_t result = check_text(folder, text);
    EXPECT_EQ(result.status, exit_changed);
    const std::string missing = find_line(result.output, get_segment_path("cfg_dma_filter/filter_length"));
    EXPECT_NE(missing.find("nothing becomes 2: the element is missing"), std::string::npos) << missing;
    const std::string unknown = find_line(result.output, get_segment_path("cfg_dma_filter/filter_size"));
    EXPECT_NE(unknown.find("'16' becomes nothing: the element is unknown"), std::string::npos) << unknown;
    const std::string again = find_line(result.output, frame_path("bandwidth"));
    EXPECT_NE(again.find("'20000000' becomes nothing: the element stands there more than once"), std::string::npos) << again;
    EXPECT_NE(find_line(result.output, get_segment_path("cfg_dma_advance/hold")).find("more in the element"), std::string::npos);
    EXPECT_NE(result.output.find("a recall changes 4 values"), std::string::npos) << result.output;
}

TEST(SettingsCheck, ASyncSearchLosesItsWordAndTheOffset)
{
    const scratch_folder_t folder;
    std::string text = change_element(get_default_settings(), "sync_search", "1");
    text = change_element(change_element(text, "sync_pattern_bit", "0110"), "sync_pattern_hex", "0110");
    const tool_result_t result = check_text(folder, change_element(text, "meas_offset", "5"));
    EXPECT_EQ(result.status, exit_changed);
    EXPECT_NE(find_line(result.output, frame_path("sync_pattern_bit")).find("becomes no bits"), std::string::npos);
    EXPECT_NE(find_line(result.output, get_segment_path("cfg_dma_time/meas_offset")).find("becomes 0"), std::string::npos);
    // With a bit-error measurement on, the search comes on whatever its element says.
    const tool_result_t on = check_text(folder, change_element(get_default_settings(), "ber_state", "true"));
    EXPECT_NE(find_line(on.output, frame_path("sync_search")).find("'false' becomes true: ber_state"), std::string::npos);
}

TEST(SettingsCheck, RingRatiosOf32ApskAndPointsOfOffsetQpskFollowTheirRules)
{
    const scratch_folder_t folder;
    std::string text = change_element(get_default_settings(), "apsk_format", "LIB_DMA_APSK_32");
    text = change_element(change_element(text, "apsk_r2_r1", "3"), "apsk_r3_r1", "4.64");
    const tool_result_t rings = check_text(folder, text);
    // 4.64 is the outer ratio of code rate 5/6, and 2.64 the inner one.
    EXPECT_NE(find_line(rings.output, get_segment_path("cfg_dma_format/apsk_r2_r1")).find("'3' becomes 2.64: "),
              std::string::npos)
        << rings.output;
    text = change_element(get_default_settings(), "format_group", "LIB_DMA_GROUP_OQPSK");
    const tool_result_t points = check_text(folder, change_element(text, "points_per_symbol", "LIB_DMA_POINT6"));
    EXPECT_NE(find_line(points.output, get_segment_path("cfg_dma_format/points_per_symbol")).find("becomes LIB_DMA_POINT4: "),
              std::string::npos)
        << points.output;
}

TEST(SettingsCheck, SegmentsBeyondTheSixthAreNamed)
{
    const scratch_folder_t folder;
    EXPECT_EQ(check_text(folder, change_element(repeat_item(3), "segment_number", "3")).status, 0);
    const tool_result_t seven = check_text(folder, change_element(repeat_item(7), "segment_number", "7"));
    EXPECT_EQ(seven.status, exit_changed);
    EXPECT_NE(find_line(seven.output, "cfg_dma_frame/cfg_dma_segement").find("7 segment elements becomes 6 segments"),
              std::string::npos);
    const tool_result_t none = check_text(folder, repeat_item(0));
    EXPECT_NE(find_line(none.output, "cfg_dma_frame/cfg_dma_segement").find("1 segment at its defaults"), std::string::npos);
    std::string thousands = get_default_settings();
    std::string empty;
    for (int i = 0; i < 10000; ++i)
    {
        empty += "<s/>";
    }
    thousands.insert(thousands.find(item_end) + std::string(item_end).size(), empty);
    const tool_result_t many = check_text(folder, thousands);
    EXPECT_EQ(many.status, exit_changed);
    EXPECT_NE(many.output.find("10001 segment elements becomes 6 segments"), std::string::npos);
    EXPECT_NE(find_line(many.output, get_segment_path("cfg_dma_time/meas_interval")).find("'1024' becomes 10: the list holds 6"),
              std::string::npos);
}

TEST(SettingsCheck, ReportsAsJson)
{
    const scratch_folder_t folder;
    const tool_result_t result = check_text(folder, change_element(get_default_settings(), "bandwidth", "0"), " --json");
    EXPECT_EQ(result.status, exit_changed);
    const json report = json::parse(result.output);
    EXPECT_EQ(report.at("changed"), 1);
    EXPECT_EQ(report.at("changes").at(0).at("path"), "cfg_dma_frame/bandwidth");
    EXPECT_EQ(report.at("changes").at(0).at("file"), "'0'");
    EXPECT_EQ(report.at("changes").at(0).at("kept"), "20000000");
    EXPECT_GE(report.at("notes").size(), 5U);
}

TEST(SettingsCheck, SaysWhatIsNoSettingsFile)
{
    const scratch_folder_t folder;
    const std::string defaults = get_default_settings();
    const auto expect = [&folder](const std::string& name, const std::string& text, const char* part)
    {
        for (const char* command : { "check ", "show " })
        {
            expect_failure(run_settings(command + folder.write(name, text)), exit_bad_capture, part);
        }
    };
    expect("empty.xml", "", "is no XML");
    expect("cut.xml", "<a>\n<b>\n</a>", "at byte 10, line 3");
    expect("other.xml", "<a/>", "has no element with ProtocolType");
    expect("fir.xml", "<a ProtocolType=\"lib_fir_design_parameter\"/>", "'lib_fir_design_parameter'; expected 'cfg_dma_frame'");
    std::string items;
    for (int i = 0; i < 100001; ++i)
    {
        items += "<s/>";
    }
    expect("items.xml", std::string(defaults).insert(defaults.find(item_start), items), "100002 segment elements");
    expect_failure(run_settings("check " + folder.get_path("absent.xml")), exit_unreadable, "is no file");
    expect_failure(run_settings("show /dev/zero"), exit_unreadable, "is no file");
    std::filesystem::resize_file(folder.write("huge.xml", "<a/>"), 64U * 1024U * 1024U + 1U);
    expect_failure(run_settings("check " + folder.get_path("huge.xml")), exit_bad_capture, "67108865 bytes");
    EXPECT_EQ(run_settings("check").status, exit_usage);
    EXPECT_EQ(run_settings("").status, exit_usage);
}

TEST(SettingsCheck, EntitiesStayTextsAndDeepTreesAreWalked)
{
    const scratch_folder_t folder;
    std::string text = change_element(get_default_settings(), "search_length", "&x;");
    text.insert(text.find("<dma_setting"), "<!DOCTYPE a [<!ENTITY x SYSTEM \"file:///etc/hostname\">]>");
    const tool_result_t entity = check_text(folder, text);
    EXPECT_NE(find_line(entity.output, frame_path("search_length")).find("'&x;'"), std::string::npos) << entity.output;
    std::string open;
    std::string close;
    for (int i = 0; i < 200000; ++i)
    {
        open += "<a>";
        close += "</a>";
    }
    expect_failure(check_text(folder, open + close), exit_bad_capture, "has no element with ProtocolType");
}

TEST(SettingsCheck, APatternOfTwoGibibytesNeedsAWord)
{
    const scratch_folder_t folder;
    const std::string path =
        folder.write("large.xml", change_element(get_default_settings(), "payload_data_type", "LIB_DMA_PN31"));
    for (const std::string& command : { "check " + path, "show " + path, "write --settings " + path })
    {
        expect_failure(run_settings(command), exit_usage, "2 GiB");
    }
    expect_failure(run_analyze({ DMATOOL_CAPTURE, "--settings", path }), exit_usage, "--allow-large");
}
