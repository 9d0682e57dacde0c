// The three forms of the report of `dmatool filter`.

#include "exit_status.h"
#include "filter_runner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

using namespace dmatool;
using namespace dma_test;
using nlohmann::json;

namespace
{
const std::string lowpass = "--method equiripple --edges 9600 12000 --sample-rate 48000 --order 24 --weights 1 5";

/// Lines of index and tap; stops at what is none.
std::vector<double> parse_taps(std::istream& lines, char between)
{
    std::vector<double> taps;
    std::string line;
    while (std::getline(lines, line))
    {
        const std::size_t split = line.find(between);
        if (split == std::string::npos || line.substr(0, split) != std::to_string(taps.size()))
        {
            ADD_FAILURE() << "no line of a tap: " << line;
            break;
        }
        taps.push_back(static_cast<double>(std::strtof(line.c_str() + split + 1, nullptr)));
    }
    return taps;
}
} // namespace

TEST(FilterReport, TextJsonAndCsvHoldTheSameTapsToTheLastBit)
{
    const std::vector<double> taps = get_taps(get_filter_report(lowpass));
    ASSERT_EQ(taps.size(), 25U);

    const tool_result_t csv = run_filter(lowpass + " --csv");
    EXPECT_EQ(csv.status, 0);
    EXPECT_EQ(csv.output.rfind("index,tap\n", 0), 0U);
    std::istringstream csv_lines(csv.output.substr(10));
    EXPECT_EQ(parse_taps(csv_lines, ','), taps);

    const tool_result_t text = run_filter(lowpass);
    EXPECT_EQ(text.status, 0);
    const std::size_t start = text.output.find("\nTaps\n");
    ASSERT_NE(start, std::string::npos);
    std::istringstream text_lines(text.output.substr(start + 6));
    EXPECT_EQ(parse_taps(text_lines, ' '), taps);
}

TEST(FilterReport, TextNamesTheDesignAndItsBandsInTheUsersUnit)
{
    const std::string text = run_filter(lowpass).output;
    for (const char* part :
         { "equiripple, 20 grid points", "lowpass", "24, 25 taps", "sample rate 48000 Hz", "as the edges say", "0 to 9600 ",
           "12000 to 24000 ", "ripple ", "deviation ", "attenuation ", "weight 5", "group delay 12 samples", "Sum of taps" })
    {
        EXPECT_NE(text.find(part), std::string::npos) << part << " in\n" << text;
    }
    EXPECT_EQ(text.find("Window"), std::string::npos);

    const std::string kaiser = run_filter("--cutoff 0.3 --beta 6.5 --order 21 --no-normalize").output;
    for (const char* part : { "window", "kaiser, beta 6.5, gain as it comes out", "relative to the Nyquist frequency",
                              "where the ripples are", "Cutoff              0.3\n", "group delay 10.5 samples", "21, 22 taps" })
    {
        EXPECT_NE(kaiser.find(part), std::string::npos) << part << " in\n" << kaiser;
    }
    EXPECT_NE(run_filter("--cutoff 0.3 --window chebyshev --sidelobe 45").output.find("chebyshev, sidelobes 45 dB"),
              std::string::npos);
    EXPECT_NE(run_filter("--cutoff 0.3 --window taylor --n-bar 5").output.find("taylor, n bar 5, sidelobes 30 dB"),
              std::string::npos);
    EXPECT_NE(run_filter("--cutoff 0.3 --window gaussian --width-factor 3").output.find("gaussian, width factor 3"),
              std::string::npos);
    EXPECT_NE(run_filter("--cutoff 0.3 --window tukey --fraction 0.25").output.find("tukey, fraction 0.25"), std::string::npos);
}

TEST(FilterReport, JsonHasEveryKeyAndNullsForWhatDoesNotApply)
{
    const json report = get_filter_report(lowpass);
    EXPECT_EQ(report["method"], "equiripple");
    EXPECT_EQ(report["response"], "lowpass");
    EXPECT_EQ(report["order"], 24);
    EXPECT_EQ(report["tap_count"], 25);
    EXPECT_EQ(report["minimum_order"], false);
    EXPECT_EQ(report["frequency_unit"], "Hz");
    EXPECT_EQ(report["sample_rate"], 48000.0);
    EXPECT_TRUE(report["window"].is_null());
    EXPECT_TRUE(report["cutoff"].is_null());
    EXPECT_EQ(report["density"], 20);
    EXPECT_EQ(report["bands_from"], "edges");
    ASSERT_EQ(report["bands"].size(), 2U);
    EXPECT_EQ(report["bands"][0]["kind"], "pass");
    EXPECT_EQ(report["bands"][0]["start"], 0.0);
    EXPECT_EQ(report["bands"][0]["stop"], 9600.0);
    EXPECT_EQ(report["bands"][0]["weight"], 1.0);
    EXPECT_TRUE(report["bands"][0]["asked_db"].is_null());
    EXPECT_EQ(report["bands"][1]["kind"], "stop");
    EXPECT_EQ(report["bands"][1]["start"], 12000.0);
    EXPECT_EQ(report["bands"][1]["stop"], 24000.0);
    EXPECT_EQ(report["bands"][1]["weight"], 5.0);
    EXPECT_EQ(report["symmetric"], true);
    EXPECT_EQ(report["asymmetry"], 0.0);
    EXPECT_EQ(report["group_delay"], 12.0);
    EXPECT_TRUE(report["notes"].empty());

    const json window = get_filter_report("--cutoff 0.3 --window taylor --sidelobe 40");
    EXPECT_EQ(window["frequency_unit"], "nyquist");
    EXPECT_TRUE(window["sample_rate"].is_null());
    EXPECT_EQ(window["window"], json({ { "type", "taylor" }, { "n_bar", 4 }, { "sidelobe_db", 40.0 }, { "normalize", true } }));
    EXPECT_TRUE(window["density"].is_null());
    EXPECT_TRUE(window["bands"][0]["weight"].is_null());
}

TEST(FilterReport, WhatTheLibraryPrintsStaysOutOfTheReportAndBecomesANote)
{
    // More than single-precision ripples can be told apart: the exchange ends early and says so.
    const std::string words = "--method equiripple --edges 0.1 0.9 --order 80";
    const tool_result_t result = run_filter(words + " --json");
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.output.front(), '{');
    const json report = json::parse(result.output);
    const bool noted =
        std::any_of(report["notes"].begin(), report["notes"].end(),
                    [](const json& note) { return note.get<std::string>().rfind("log: 2 次迭代后未能收敛", 0) == 0; });
    EXPECT_TRUE(noted) << report["notes"];
    EXPECT_NE(result.errors.find("dmatool: note: log: 2 次迭代后未能收敛"), std::string::npos) << result.errors;
    EXPECT_EQ(run_filter(words + " --csv").output.rfind("index,tap\n0,", 0), 0U);
}

TEST(FilterReport, GoesToAFileOnRequest)
{
    const scratch_folder_t folder;
    const std::string path = folder.get_path("taps.csv");
    const tool_result_t result = run_filter(lowpass + " --csv --output " + path);
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.output, "");
    std::ifstream file(path);
    const std::string text{ std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>() };
    EXPECT_EQ(text, run_filter(lowpass + " --csv").output);
}

TEST(FilterReport, AnOutputThatCannotBeWrittenHasAStatusOfItsOwn)
{
    const scratch_folder_t folder;
    expect_failure(run_filter(lowpass + " --output " + folder.get_path("absent/taps")), exit_output, "could not be written");
    expect_failure(run_filter(lowpass + " --output /dev/full"), exit_output, "could not be written");
    expect_failure(run_filter(lowpass + " --save " + folder.get_path("absent/filter.xml")), exit_output, "could not be written");
    EXPECT_EQ(run_filter(lowpass, ">/dev/full").status, exit_output);
}
