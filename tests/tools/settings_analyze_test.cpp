// Settings files as they are written and shown, and analyses that take them.

#include "cfg/cfg_dma_frame.h"
#include "library_output.h"
#include "settings_runner.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <pugixml.hpp>

#include <sstream>
#include <string>
#include <vector>

using namespace dmatool;
using namespace dma_test;
using namespace vrim::dma_demod_lib;
using nlohmann::json;

namespace
{
const std::string signal_words = "--format QPSK --symbol-rate 1000000 --alpha 0.35 --interval 600 ";

std::vector<std::string> split(const std::string& words)
{
    std::istringstream stream(words);
    std::vector<std::string> list;
    for (std::string word; stream >> word;)
    {
        list.push_back(word);
    }
    return list;
}

tool_result_t analyze(const std::string& words)
{
    std::vector<std::string> arguments = { DMATOOL_CAPTURE };
    const std::vector<std::string> more = split(words);
    arguments.insert(arguments.end(), more.begin(), more.end());
    return run_analyze(arguments);
}

json get_report(const std::string& words)
{
    const tool_result_t result = analyze(words + " --json");
    EXPECT_EQ(result.status, 0) << words << ": " << result.errors;
    json report = json::parse(result.output, nullptr, false);
    EXPECT_FALSE(report.is_discarded()) << result.output.substr(0, 200);
    return report;
}

/// A settings file of the options.
std::string write_settings(const scratch_folder_t& folder, const std::string& words)
{
    const std::string path = folder.get_path("settings.xml");
    const tool_result_t result = run_settings("write " + path + " " + words);
    EXPECT_EQ(result.status, 0) << words << ": " << result.errors;
    EXPECT_EQ(result.output, "");
    return path;
}

/// Names of all elements below a node, in order.
void list_names(const pugi::xml_node& node, std::vector<std::string>& names)
{
    for (const pugi::xml_node& child : node.children())
    {
        if (child.type() == pugi::node_element)
        {
            names.push_back(child.name());
            list_names(child, names);
        }
    }
}
} // namespace

TEST(SettingsWrite, HasTheElementsThatTheLibrarySavesWithItsDefaults)
{
    pugi::xml_document written;
    ASSERT_TRUE(written.load_string(get_default_settings().c_str()));
    cfg_dma_frame_t settings;
    pugi::xml_document saved;
    pugi::xml_node node = saved.append_child("dma_setting");
    ASSERT_TRUE(settings.save_dma_setting(node));
    std::vector<std::string> written_names;
    std::vector<std::string> saved_names;
    list_names(written, written_names);
    list_names(saved, saved_names);
    EXPECT_EQ(written_names, saved_names);
    // A recall makes bits of their own and leaves the rest as it is.
    const library_output_t quiet(library_output_t::keep_errors, false, {});
    cfg_dma_frame_t recalled;
    ASSERT_TRUE(recalled.recall_dma_setting(written.child("dma_setting")));
    settings.get_segment(0).get_recall_demod_info_cfg().set_payload_data_type(LIB_DMA_PN7);
    recalled.set_sync_pattern_bit("0");
    EXPECT_TRUE(recalled == settings);
}

TEST(SettingsWrite, IsRecalledByTheLibraryWithTheValuesOfTheOptions)
{
    const scratch_folder_t folder;
    const std::string path = write_settings(
        folder, "--format 16QAM --symbol-rate 2.5e6 --meas-filter rc --ref-filter none --beta 0.7 --filter-length 32 "
                "--points-per-symbol 8 --interval 777 --offset 5 --search-length 0.01 --bandwidth 3e6 --evm-ref rms "
                "--clock-adjust 0.25 --iq-rotation -30");
    EXPECT_EQ(run_settings("check " + path).status, 0);
    pugi::xml_document document;
    ASSERT_TRUE(document.load_file(path.c_str()));
    const library_output_t quiet(library_output_t::keep_errors, false, {});
    cfg_dma_frame_t settings;
    ASSERT_TRUE(settings.recall_dma_setting(document.first_child()));
    const lib_dma_segment_configure_manager_t& segment = settings.get_frame_manager().get_segment(0);
    EXPECT_EQ(settings.get_search_length(), 0.01);
    EXPECT_EQ(settings.get_bandwidth(), 3000000U);
    EXPECT_EQ(segment.get_format_configure().get_format_group(), LIB_DMA_GROUP_QAM);
    EXPECT_EQ(segment.get_format_configure().get_qam_format(), LIB_DMA_QAM_16);
    EXPECT_EQ(segment.get_format_configure().get_symbol_rate(), 2500000U);
    EXPECT_EQ(segment.get_format_configure().get_points_per_symbol(), LIB_DMA_POINT8);
    EXPECT_EQ(segment.get_format_configure().get_const_iq_map_data().size(), 16U);
    EXPECT_EQ(segment.get_filter_configure().get_meas_filter_type(), LIB_DMA_MEAS_RAISED_COSINE_FILTER);
    EXPECT_EQ(segment.get_filter_configure().get_ref_filter_type(), LIB_DMA_REF_NONE_FILTER);
    EXPECT_EQ(segment.get_filter_configure().get_filter_beta(), 0.7f);
    EXPECT_EQ(segment.get_filter_configure().get_filter_length(), 32U);
    EXPECT_EQ(segment.get_time_configure().get_meas_interval(), 777U);
    EXPECT_EQ(segment.get_time_configure().get_meas_offset(), 5);
    EXPECT_EQ(segment.get_advance_configure().get_evm_normalization_ref(), LIB_DMA_EVM_NORMALIZE_RMS);
    EXPECT_EQ(segment.get_advance_configure().get_clock_adjust(), 0.25f);
    EXPECT_EQ(segment.get_advance_configure().get_iq_rotation(), -30.0f);
}

TEST(SettingsWrite, RefusesWhatNoFileHoldsOrWhatIsNotSaid)
{
    const scratch_folder_t folder;
    expect_failure(run_settings("write --format 2048QAM --symbol-rate 1e6 --bandwidth 1e6"), exit_usage, "has no enumerator");
    expect_failure(run_settings("write --format QPSK"), exit_usage, "--symbol-rate is missing");
    expect_failure(run_settings("write --alpha 0.3"), exit_usage, "--format is missing");
    expect_failure(run_settings("write --bandwidth 1e6 --sync 0110 " + signal_words), exit_usage, "--search-length");
    expect_failure(run_settings("write a.xml --output b.xml"), exit_usage, "give one of them");
    expect_failure(run_settings("write " + folder.get_path("absent/a.xml")), exit_output, "could not be written");
    EXPECT_EQ(run_settings("write a.xml --json").status, exit_usage);
}

TEST(SettingsShow, TellsEveryElementInWordsAndAsJson)
{
    const scratch_folder_t folder;
    std::string text = change_element(get_default_settings(), "filter_alpha", "0.22");
    text = change_element(change_element(text, "search_length", "0.002"), "fft_window", "LIB_DMA_WINDOW_HANN");
    const std::string path = folder.write("settings.xml", text);
    const tool_result_t shown = run_settings("show " + path);
    EXPECT_EQ(shown.status, 0) << shown.errors;
    EXPECT_EQ(shown.errors, "");
    for (const char* part :
         { "\nFrame\n", "\nSegment 1\n", "  Time\n", "  Filter\n", "  Format\n", "  Advanced\n", "  Bit errors\n", "0.002 s\n",
           "10000000 Hz\n", "0.22\n", "LIB_DMA_WINDOW_HANN\n", "1024 symbols\n", "127 bits\n" })
    {
        EXPECT_NE(shown.output.find(part), std::string::npos) << part;
    }
    const json report = json::parse(run_settings("show --json " + path).output);
    EXPECT_EQ(report.at("frame").size(), 14U);
    const json& segment = report.at("segments").at(0);
    EXPECT_EQ(segment.at("cfg_dma_time").size(), 3U);
    EXPECT_EQ(segment.at("cfg_dma_filter").size(), 7U);
    EXPECT_EQ(segment.at("cfg_dma_format").size(), 30U);
    EXPECT_EQ(segment.at("cfg_dma_advance").size(), 15U);
    EXPECT_EQ(segment.at("cfg_dma_recall_demod_info").size(), 4U);
    EXPECT_EQ(segment.at("cfg_dma_filter").at("filter_alpha"), 0.22);
    EXPECT_EQ(segment.at("cfg_dma_advance").at("fft_window"), "LIB_DMA_WINDOW_HANN");
    EXPECT_EQ(report.at("frame").at("burst_search"), false);
}

TEST(SettingsShow, KeepsTheLibrarysTextsOffStandardOutput)
{
    const scratch_folder_t folder;
    // The setter of the filter length prints when it clamps, and a group without points logs.
    std::string text = change_element(get_default_settings(), "filter_length", "1");
    text = change_element(text, "format_group", "LIB_DMA_GROUP_VSB");
    const tool_result_t shown = run_settings("show --json " + folder.write("settings.xml", text));
    EXPECT_EQ(shown.status, 0);
    EXPECT_EQ(json::parse(shown.output).at("segments").at(0).at("cfg_dma_filter").at("filter_length"), 2);
    EXPECT_EQ(shown.errors.find("set_filter_length"), std::string::npos);
    EXPECT_NE(shown.errors.find("changes the file"), std::string::npos) << shown.errors;
}

TEST(SettingsAnalyze, AFileOfTheOptionsGivesTheSameReportAsTheOptions)
{
    const scratch_folder_t folder;
    for (const char* more :
         { "", "--evm-ref rms --points-per-symbol 8", "--filter-length 32 --offset 7", "--beta 0.8 --iq-rotation 45",
           "--search-length 0.0009 --clock-adjust 0.1 --bandwidth 2e6", "--offset -1 --ref-filter rrc",
           "--equalizer on --equalizer-length 11 --equalizer-step 0.002" })
    {
        const std::string words = signal_words + more;
        const std::string path = write_settings(folder, words + " --sample-rate 4e6");
        EXPECT_EQ(run_settings("check " + path).status, 0) << words;
        EXPECT_EQ(get_report("--settings " + path), get_report(words)) << words;
        EXPECT_EQ(analyze("--settings " + path).output, analyze(words).output) << words;
    }
}

TEST(SettingsAnalyze, WithoutTheSampleRateTheFiguresAreTheSameToo)
{
    const scratch_folder_t folder;
    const std::string path = write_settings(folder, signal_words);
    const json report = get_report("--settings " + path);
    const json direct = get_report(signal_words);
    EXPECT_EQ(report.at("segments"), direct.at("segments"));
    EXPECT_NE(report.at("notes").dump().find("20000000 Hz in the settings file"), std::string::npos);
}

TEST(SettingsAnalyze, ASyncWordOfAFileIsSearchedAsTheOptionIs)
{
    const scratch_folder_t folder;
    const json plain = get_report(signal_words);
    // Eight symbols of two bits from the middle of the interval.
    std::string word;
    for (std::size_t i = 100; i < 108; ++i)
    {
        const unsigned symbol = plain.at("segments").at(0).at("decode_bit").at(i);
        word += symbol >= 2 ? "1" : "0";
        word += symbol % 2 != 0 ? "1" : "0";
    }
    const std::string words =
        "--format QPSK --symbol-rate 1e6 --alpha 0.35 --interval 300 --search-length 0.001 --offset 2 --sync " + word;
    const std::string path = write_settings(folder, words + " --sample-rate 4e6");
    const json direct = get_report(words);
    EXPECT_EQ(direct.at("segments").at(0).at("sync_search_flag"), true);
    EXPECT_EQ(get_report("--settings " + path), direct);
    // In hexadecimal digits it is the same word.
    std::string digits;
    for (std::size_t i = 0; i < word.size(); i += 4)
    {
        digits += "0123456789ABCDEF"[std::stoi(word.substr(i, 4), nullptr, 2)];
    }
    pugi::xml_document document;
    ASSERT_TRUE(document.load_file(path.c_str()));
    pugi::xml_node frame = document.first_child().child("cfg_dma_frame");
    frame.child("sync_pattern_type").text().set("LIB_DMA_SYNC_HEX_PATTERN");
    frame.child("sync_pattern_bit").text().set(digits.c_str());
    frame.child("sync_pattern_hex").text().set(digits.c_str());
    const std::string hex = folder.get_path("hex.xml");
    ASSERT_TRUE(document.save_file(hex.c_str()));
    EXPECT_EQ(get_report("--settings " + hex).at("segments"), direct.at("segments"));
}

TEST(SettingsAnalyze, ASearchWithoutAWordIsLeftOut)
{
    const scratch_folder_t folder;
    std::string text = run_settings("write --sample-rate 4e6 " + signal_words).output;
    // A number of 0 makes no bits.
    text = change_element(change_element(text, "sync_search", "1"), "sync_pattern_type", "LIB_DMA_SYNC_INT_PATTERN");
    for (const char* state : { "false", "true" })
    {
        const json report = get_report("--settings " + folder.write("word.xml", change_element(text, "ber_state", state)));
        EXPECT_EQ(report.at("settings").at("sync_search"), false);
        EXPECT_EQ(report.at("segments"), get_report(signal_words).at("segments"));
        EXPECT_NE(report.at("notes").dump().find("has no sync word"), std::string::npos);
    }
}

TEST(SettingsAnalyze, OptionsOverrideTheFileAndVerboseSaysWhich)
{
    const scratch_folder_t folder;
    const std::string path =
        write_settings(folder, "--format BPSK --symbol-rate 2e6 --alpha 0.2 --interval 900 --sample-rate 4e6");
    const std::string words = "--format QPSK --symbol-rate 1000000 --alpha 0.35 --interval 600 --search-length 0.0006";
    const json report = get_report("--settings " + path + " " + words);
    EXPECT_EQ(report, get_report(words));
    const tool_result_t result = analyze("--settings " + path + " --verbose " + words);
    EXPECT_EQ(result.status, 0);
    for (const char* part :
         { "--format 'QPSK' stands in place of psk_format 'LIB_DMA_MODULATION_PSK_BPSK'",
           "--alpha '0.35' stands in place of filter_alpha '0.2'", "--interval '600' stands in place of meas_interval '900'",
           "--symbol-rate '1000000' stands in place of symbol_rate '2000000'" })
    {
        EXPECT_NE(result.errors.find(part), std::string::npos) << part << " in " << result.errors.substr(0, 2000);
    }
    EXPECT_EQ(result.errors.find("--beta"), std::string::npos);
    // The group of the file counts for a number, and its record for a group alone.
    EXPECT_EQ(
        get_report("--settings " + path + " --format 4 --symbol-rate 1000000 --alpha 0.35 --interval 600 --search-length 0.0006"),
        report);
    const json group = get_report("--settings " + path + " --group QAM --symbol-rate 1000000 --interval 600");
    EXPECT_EQ(group.at("settings").at("qam_format"), "LIB_DMA_QAM_16");
}

TEST(SettingsAnalyze, RefusesWhatNoAnalysisCanUse)
{
    const scratch_folder_t folder;
    const std::string good = get_default_settings();
    const auto expect = [&](const std::string& element, const std::string& content, exit_status_t status, const char* part)
    {
        const std::string path = folder.write("bad.xml", change_element(good, element, content));
        expect_failure(analyze("--settings " + path), status, part);
    };
    for (const char* element : { "search_length", "mannual_data_sample_rate", "filter_alpha", "equalizer_coef", "apsk_r3_r1" })
    {
        expect(element, "nan", exit_bad_capture, "no finite number");
    }
    expect("search_length", "1e300", exit_bad_capture, "--search-length");
    expect("meas_offset", "-2", exit_bad_capture, "--offset");
    expect("meas_filter_type", "LIB_DMA_MEAS_USER_DEFINE_FILTER", exit_bad_capture, "--meas-filter");
    expect("ref_filter_type", "LIB_DMA_REF_USER_DEFINE_FILTER", exit_bad_capture, "--ref-filter");
    expect("format_group", "LIB_DMA_GROUP_VSB", exit_not_built, "VSB is not built");
    expect_failure(analyze("--settings " + folder.get_path("absent.xml")), exit_unreadable, "is no file");
    const std::string offset = folder.write("offset.xml", change_element(good, "meas_offset", "700"));
    expect_failure(analyze("--settings " + offset + " --interval 600"), exit_usage, "--offset");
    expect_failure(analyze("--settings " + offset + " --sync-offset 3"), exit_usage, "--sync");
}

TEST(SettingsAnalyze, SaysWhatOfTheFileTheReportDoesNotShow)
{
    const scratch_folder_t folder;
    const std::string path = write_settings(folder, signal_words + "--sample-rate 4e6");
    pugi::xml_document document;
    ASSERT_TRUE(document.load_file(path.c_str()));
    pugi::xml_node frame = document.first_child().child("cfg_dma_frame");
    const pugi::xml_node item = frame.child("cfg_dma_segement").first_child();
    frame.child("cfg_dma_segement").append_copy(item);
    item.child("cfg_dma_advance").child("low_snr_enhancement").text().set(true);
    item.child("cfg_dma_filter").child("filter_beta").text().set("much");
    ASSERT_TRUE(document.save_file(path.c_str()));
    const std::string notes = get_report("--settings " + path).at("notes").dump();
    EXPECT_NE(notes.find("sets low_snr_enhancement to true"), std::string::npos) << notes;
    EXPECT_NE(notes.find("has 2 segments; the first one is measured"), std::string::npos) << notes;
    EXPECT_NE(notes.find("filter_beta: 'much' becomes 0.05"), std::string::npos) << notes;
}
