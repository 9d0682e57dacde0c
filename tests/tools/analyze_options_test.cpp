#include "analyze_options.h"

#include "analyze_command.h"
#include "exit_status.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

using namespace dmatool;
using namespace vrim::dma_demod_lib;

namespace
{
/// Options as the command line gives them, format and symbol rate in front.
analyze_options_t parse(const std::vector<std::string>& words, bool defaults = true)
{
    CLI::App app;
    analyze_arguments_t arguments;
    add_analyze_options(app, arguments);
    std::vector<std::string> all = { "capture" };
    if (defaults)
    {
        all.insert(all.end(), { "--format", "QPSK", "--symbol-rate", "1e6" });
    }
    all.insert(all.end(), words.begin(), words.end());
    // CLI11 takes the words from the back.
    app.parse(std::vector<std::string>(all.rbegin(), all.rend()));
    return parse_analyze_options(arguments);
}

void expect_error(const std::vector<std::string>& words, exit_status_t status, const std::string& part, bool defaults = true)
{
    try
    {
        parse(words, defaults);
        ADD_FAILURE() << "taken without an error; expected: " << part;
    }
    catch (const tool_error_t& error)
    {
        EXPECT_EQ(error.get_status(), status) << error.what();
        EXPECT_NE(std::string(error.what()).find(part), std::string::npos) << error.what();
    }
}
} // namespace

TEST(AnalyzeOptions, HaveTheDefaultsThatTheHelpNames)
{
    const analyze_options_t options = parse({});
    EXPECT_EQ(options.capture.path, "capture");
    EXPECT_EQ(options.capture.start, 0U);
    EXPECT_FALSE(options.capture.count.has_value());
    EXPECT_EQ(options.format.group->value, LIB_DMA_GROUP_PSK);
    EXPECT_EQ(options.format.format->value, static_cast<std::uint32_t>(LIB_DMA_MODULATION_PSK_QPSK));
    EXPECT_EQ(options.symbol_rate, 1000000U);
    EXPECT_EQ(options.points_per_symbol, 4U);
    EXPECT_EQ(options.meas_filter->value, static_cast<std::uint32_t>(LIB_DMA_MEAS_ROOT_RAISED_COSINE_FILTER));
    EXPECT_EQ(options.ref_filter->value, static_cast<std::uint32_t>(LIB_DMA_REF_RAISED_COSINE_FILTER));
    EXPECT_EQ(options.alpha, 0.5f);
    EXPECT_EQ(options.beta, 0.6f);
    EXPECT_EQ(options.filter_length, 64U);
    EXPECT_EQ(options.interval, 1024U);
    EXPECT_EQ(options.offset, 0);
    EXPECT_EQ(options.evm_ref, LIB_DMA_EVM_NORMALIZE_CONSTELLATION_MAX);
    EXPECT_TRUE(options.sync_bits.empty());
    EXPECT_FALSE(options.json);
}

TEST(AnalyzeOptions, FindFormatsByNameEnumeratorAndNumber)
{
    const std::vector<std::pair<std::string, std::uint32_t>> words = {
        { "BPSK", 2 },        { "qpsk", 4 },       { "8PSK", 8 },
        { "8-psk", 8 },       { "3PI/4-QPSK", 9 }, { "3pi4_qpsk", 9 },
        { "3PI/8-8PSK", 10 }, { "3pi/8-psk", 10 }, { "LIB_DMA_MODULATION_PSK_3PI_4_QPSK", 9 },
        { "2", 2 },           { "10", 10 },        { "lib_dma_modulation_psk_8_psk", 8 },
    };
    for (const auto& [word, value] : words)
    {
        EXPECT_EQ(parse({ "--format", word, "--symbol-rate", "1000000" }, false).format.format->value, value) << word;
        EXPECT_EQ(parse({ "--group", "PSK", "--format", word, "--symbol-rate", "1e6" }, false).format.format->value, value)
            << word;
    }
    EXPECT_EQ(parse({ "--group", "0" }).format.group->value, LIB_DMA_GROUP_PSK);
    EXPECT_EQ(parse({ "--group", "LIB_DMA_GROUP_PSK" }).format.group->value, LIB_DMA_GROUP_PSK);
}

TEST(AnalyzeOptions, ListTheFormatsWhenOneIsUnknown)
{
    expect_error({ "--format", "QPSQ", "--symbol-rate", "1e6" }, exit_usage, "BPSK, QPSK, 8PSK, 3PI/4-QPSK, 3PI/8-8PSK", false);
    expect_error({ "--format", "3", "--symbol-rate", "1e6" }, exit_usage, "is no format", false);
    expect_error({ "--format", "", "--symbol-rate", "1e6" }, exit_usage, "is no format", false);
    expect_error({ "--group", "PSQ" }, exit_usage, "PSK, QAM, FSK, MSK, ASK, APSK, OQPSK, DPSK");
    // 16QAM is a format, but none of PSK's.
    expect_error({ "--group", "PSK", "--format", "16QAM", "--symbol-rate", "1e6" }, exit_usage, "of group PSK", false);
}

TEST(AnalyzeOptions, SayThatAGroupIsNotBuiltYetBeforeAnythingElseIsAsked)
{
    for (const char* group : { "VSB", "CUSTOM_IQ", "OTHER", "8" })
    {
        expect_error({ "--group", group }, exit_not_built, "not built yet", false);
    }
    for (const char* format : { "8VSB", "EDGE" })
    {
        expect_error({ "--format", format }, exit_not_built, "not built yet", false);
    }
}

TEST(AnalyzeOptions, AskForFormatAndSymbolRate)
{
    expect_error({ "--symbol-rate", "1e6" }, exit_usage, "--format is missing", false);
    expect_error({ "--format", "QPSK" }, exit_usage, "--symbol-rate is missing", false);
}

TEST(AnalyzeOptions, RefuseValuesThatTheConfigurationWouldClamp)
{
    const std::vector<std::pair<std::string, std::vector<std::string>>> bad = {
        { "--symbol-rate", { "9999", "8000000001", "1000.5e3x", "1234567.5", "-1e6", "nan", "inf", "", "0x10000", " 1e6" } },
        { "--points-per-symbol", { "0", "3", "7", "9", "21", "4.5" } },
        { "--alpha", { "0.049", "1.01", "half" } },
        { "--beta", { "0.01", "100.5" } },
        { "--filter-length", { "1", "513" } },
        { "--interval", { "9", "10000001", "1000.5" } },
        { "--offset", { "-2", "1025", "0.5" } },
        { "--search-length", { "0", "-1", "1e-8" } },
        { "--bandwidth", { "0", "1e11" } },
        { "--evm-ref", { "mean", "2" } },
        { "--clock-adjust", { "0.6", "-0.6" } },
        { "--iq-rotation", { "361", "-361" } },
        { "--equalizer", { "yes", "2", "21" } },
        { "--sample-rate", { "0", "99", "1e13", "fast" } },
        { "--start", { "-1", "0.5" } },
        { "--count", { "0", "-3" } },
        { "--sync", { "", "012", "0x", "0xG1", "abc" } },
        { "--meas-filter", { "brick", "9", "10" } },
        { "--ref-filter", { "edge", "6", "7" } },
    };
    for (const auto& [option, values] : bad)
    {
        for (const std::string& value : values)
        {
            const bool rate = option == "--symbol-rate";
            std::vector<std::string> words = { option + "=" + value };
            if (rate)
            {
                words.insert(words.end(), { "--format", "QPSK" });
            }
            SCOPED_TRACE(option + " " + value);
            if (value.empty())
            {
                words[0] = option;
                words.insert(words.begin() + 1, value);
            }
            expect_error(words, exit_usage, option, !rate);
        }
    }
}

TEST(AnalyzeOptions, TakeTheEndsOfEveryRange)
{
    EXPECT_EQ(parse({ "--format", "QPSK", "--symbol-rate", "10000" }, false).symbol_rate, 10000U);
    EXPECT_EQ(parse({ "--format", "QPSK", "--symbol-rate", "8e9" }, false).symbol_rate, 8000000000U);
    EXPECT_EQ(parse({ "--alpha", "0.05" }).alpha, 0.05f);
    EXPECT_EQ(parse({ "--alpha", "1" }).alpha, 1.0f);
    EXPECT_EQ(parse({ "--filter-length", "512" }).filter_length, 512U);
    EXPECT_EQ(parse({ "--interval", "10" }).interval, 10U);
    EXPECT_EQ(parse({ "--offset", "-1" }).offset, -1);
    EXPECT_EQ(parse({ "--interval", "100", "--offset", "100" }).offset, 100);
    EXPECT_EQ(parse({ "--clock-adjust", "-0.5" }).clock_adjust, -0.5f);
    EXPECT_EQ(parse({ "--evm-ref", "rms" }).evm_ref, LIB_DMA_EVM_NORMALIZE_RMS);
    EXPECT_EQ(parse({ "--sync", "1", "--sync-offset", "-32768" }).sync_offset, -32768.0f);
}

TEST(AnalyzeOptions, ReadSyncWordsInBothNotations)
{
    EXPECT_EQ(parse({ "--sync", "0110" }).sync_bits, "0110");
    EXPECT_EQ(parse({ "--sync", "0x1aC" }).sync_bits, "000110101100");
    expect_error({ "--sync-offset", "3" }, exit_usage, "--sync");
}

TEST(AnalyzeOptions, TurnTheEqualizerOnAndCheckItsValues)
{
    EXPECT_FALSE(parse({}).equalizer);
    EXPECT_FALSE(parse({ "--equalizer", "off" }).equalizer);
    const analyze_options_t plain = parse({ "--equalizer", "on" });
    EXPECT_TRUE(plain.equalizer);
    EXPECT_EQ(plain.equalizer_length, 21U);
    EXPECT_EQ(plain.equalizer_step, 0.01);
    const analyze_options_t told = parse({ "--equalizer", "on", "--equalizer-length", "99", "--equalizer-step", "1e-14" });
    EXPECT_EQ(told.equalizer_length, 99U);
    EXPECT_EQ(told.equalizer_step, 1.0e-14);
    for (const char* length : { "1", "2", "20", "101", "21.5" })
    {
        expect_error({ "--equalizer", "on", "--equalizer-length", length }, exit_usage, "--equalizer-length");
    }
    for (const char* step : { "0", "1.01", "-0.1", "nan", "fast" })
    {
        expect_error({ "--equalizer", "on", std::string("--equalizer-step=") + step }, exit_usage, "--equalizer-step");
    }
    expect_error({ "--equalizer-step", "0.001" }, exit_usage, "--equalizer on");
    expect_error({ "--equalizer", "off", "--equalizer-length", "11" }, exit_usage, "--equalizer on");
    const lib_dma_frame_configure_manager_t frame = make_frame(told, 10000, 4000000);
    const lib_dma_advance_configure_manager_t& advance = frame.get_segment(0).get_advance_configure();
    EXPECT_TRUE(advance.get_equalizer());
    EXPECT_EQ(advance.get_equalizer_filter_len(), 99U);
    EXPECT_EQ(advance.get_equalizer_coef(), 1.0e-14);
    EXPECT_FALSE(make_frame(parse({}), 10000, 4000000).get_segment(0).get_advance_configure().get_equalizer());
}

TEST(AnalyzeOptions, KeepTracesForJson)
{
    EXPECT_TRUE(parse({ "--json", "--traces" }).traces);
    expect_error({ "--traces" }, exit_usage, "--json");
}

TEST(AnalyzeFrame, HoldsWhatTheOptionsSay)
{
    const analyze_options_t options = parse({ "--points-per-symbol",
                                              "10",
                                              "--meas-filter",
                                              "none",
                                              "--ref-filter",
                                              "rrc",
                                              "--alpha",
                                              "0.22",
                                              "--beta",
                                              "0.3",
                                              "--filter-length",
                                              "32",
                                              "--interval",
                                              "500",
                                              "--offset",
                                              "20",
                                              "--evm-ref",
                                              "rms",
                                              "--clock-adjust",
                                              "0.25",
                                              "--iq-rotation",
                                              "-90",
                                              "--bandwidth",
                                              "2000000" });
    const lib_dma_frame_configure_manager_t frame = make_frame(options, 10000, 4000000);
    const lib_dma_segment_configure_manager_t& segment = frame.get_segment(0);
    EXPECT_EQ(segment.get_format_configure().get_format_group(), LIB_DMA_GROUP_PSK);
    EXPECT_EQ(segment.get_format_configure().get_psk_format(), LIB_DMA_MODULATION_PSK_QPSK);
    EXPECT_EQ(segment.get_format_configure().get_symbol_rate(), 1000000U);
    EXPECT_EQ(segment.get_format_configure().get_points_per_symbol(), LIB_DMA_POINT10);
    EXPECT_EQ(segment.get_filter_configure().get_meas_filter_type(), LIB_DMA_MEAS_NONE_FILTER);
    EXPECT_EQ(segment.get_filter_configure().get_ref_filter_type(), LIB_DMA_REF_ROOT_RAISED_COSINE_FILTER);
    EXPECT_EQ(segment.get_filter_configure().get_filter_alpha(), 0.22f);
    EXPECT_EQ(segment.get_filter_configure().get_filter_beta(), 0.3f);
    EXPECT_EQ(segment.get_filter_configure().get_filter_length(), 32U);
    EXPECT_EQ(segment.get_time_configure().get_meas_interval(), 500U);
    EXPECT_EQ(segment.get_time_configure().get_meas_offset(), 20);
    EXPECT_EQ(segment.get_advance_configure().get_evm_normalization_ref(), LIB_DMA_EVM_NORMALIZE_RMS);
    EXPECT_EQ(segment.get_advance_configure().get_clock_adjust(), 0.25f);
    EXPECT_EQ(segment.get_advance_configure().get_iq_rotation(), -90.0f);
    EXPECT_EQ(frame.get_bandwidth(), 2000000U);
    EXPECT_FALSE(frame.get_sync_search());
    EXPECT_DOUBLE_EQ(frame.get_search_length(), 520.0e-6);
}

TEST(AnalyzeFrame, SearchesTheWholeCaptureForASyncWord)
{
    const analyze_options_t options = parse({ "--sync", "001011", "--sync-offset", "2.5", "--offset", "7", "--interval", "100" });
    const lib_dma_frame_configure_manager_t frame = make_frame(options, 10000, 4000000);
    EXPECT_TRUE(frame.get_sync_search());
    EXPECT_EQ(frame.get_sync_pattern_bit(), "001011");
    EXPECT_EQ(frame.get_sync_offset(), 2.5f);
    // Switching the search on takes the offset back to 0; the one asked for is set behind it.
    EXPECT_EQ(frame.get_segment(0).get_time_configure().get_meas_offset(), 7);
    EXPECT_NEAR(frame.get_search_length(), 9999.0 / 4.0e6 - 180.0e-6, 1.0e-12);
    EXPECT_LE(cal_needed_samples(frame, 4000000), 10000U);
}

TEST(AnalyzeFrame, NeedsRunInAndSearchLength)
{
    // (1024 + 180) symbols of 4 samples.
    EXPECT_EQ(cal_needed_samples(make_frame(parse({}), 5000, 4000000), 4000000), 4816U);
    // (1000 + 24 + 180) symbols, the same.
    EXPECT_EQ(cal_needed_samples(make_frame(parse({ "--interval", "1000", "--offset", "24" }), 5000, 4000000), 4000000), 4816U);
    // A search length above the interval's: 2 ms and 180 us at 4 MHz.
    EXPECT_EQ(cal_needed_samples(make_frame(parse({ "--search-length", "0.002" }), 5000, 4000000), 4000000), 8720U);
    // One below it is raised.
    EXPECT_EQ(cal_needed_samples(make_frame(parse({ "--search-length", "0.0001" }), 5000, 4000000), 4000000), 4816U);
}
