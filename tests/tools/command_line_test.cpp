// Runs the program itself, as far as it comes without an analysis.

#include "exit_status.h"
#include "tool_runner.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace dmatool;
using dma_test::expect_failure;
using dma_test::run_analyze;
using dma_test::run_tool;
using dma_test::scratch_folder_t;
using dma_test::tool_result_t;

namespace
{
std::vector<std::string> with_signal(const std::string& capture, const std::vector<std::string>& more = {})
{
    std::vector<std::string> words = { capture, "--format", "QPSK", "--symbol-rate", "100000" };
    words.insert(words.end(), more.begin(), more.end());
    return words;
}
} // namespace

TEST(CommandLine, HelpNamesEveryOptionAndExitStatus)
{
    const tool_result_t result = run_tool({ "analyze", "--help" });
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    for (const char* word : { "--group",
                              "--format",
                              "--symbol-rate",
                              "--sample-rate",
                              "--points-per-symbol",
                              "--meas-filter",
                              "--ref-filter",
                              "--alpha",
                              "--beta",
                              "--filter-length",
                              "--interval",
                              "--offset",
                              "--search-length",
                              "--sync",
                              "--sync-offset",
                              "--bandwidth",
                              "--evm-ref",
                              "--clock-adjust",
                              "--iq-rotation",
                              "--equalizer",
                              "--equalizer-length",
                              "--equalizer-step",
                              "--start",
                              "--count",
                              "--resample",
                              "--datatype",
                              "--json",
                              "--verbose",
                              "Exit status",
                              "70" })
    {
        EXPECT_NE(result.output.find(word), std::string::npos) << word;
    }
    EXPECT_EQ(run_tool({ "--help" }).status, 0);
    EXPECT_EQ(run_tool({ "--version" }).status, 0);
}

TEST(CommandLine, RefusesWordsThatItDoesNotKnow)
{
    expect_failure(run_tool({}), exit_usage, "subcommand");
    expect_failure(run_tool({ "measure" }), exit_usage, "--help");
    expect_failure(run_analyze({}), exit_usage, "CAPTURE");
    expect_failure(run_analyze(with_signal("c", { "--colour", "red" })), exit_usage, "--colour");
    expect_failure(run_analyze({ "c", "--format", "QPSK", "--symbol-rate" }), exit_usage, "--symbol-rate");
    expect_failure(run_analyze(with_signal("c", { "--alpha", "0.3", "--alpha", "0.4" })), exit_usage, "--alpha");
    expect_failure(run_analyze(with_signal("c", { "--alpha", "2" })), exit_usage, "0.05 to 1");
}

TEST(CommandLine, EachKindOfFaultHasAStatusOfItsOwn)
{
    const scratch_folder_t folder;
    expect_failure(run_analyze(with_signal(folder.get_path("absent"))), exit_unreadable, "there is no");
    expect_failure(run_analyze(with_signal(folder.write_sigmf("cut", "cf32_le", std::string(9, '\0')))), exit_bad_capture,
                   "9 bytes");
    expect_failure(run_analyze(with_signal(folder.write_sigmf("real", "ri16_le", std::string(8, '\0')))), exit_bad_capture,
                   "real-valued");
    expect_failure(run_analyze({ folder.get_path("absent"), "--group", "VSB", "--format", "8VSB", "--symbol-rate", "1e5" }),
                   exit_not_built, "not built yet");
    const std::string zeros = folder.write_sigmf("zeros", "cf32_le", std::string(8000, '\0'));
    // 1,000 samples at 1 MHz; 1,204 symbols of 10 samples are needed.
    expect_failure(run_analyze(with_signal(zeros)), exit_too_short, "12040");
    expect_failure(run_analyze({ zeros, "--format", "QPSK", "--symbol-rate", "2e6" }), exit_usage, "above the sample rate");
    expect_failure(run_analyze(with_signal(zeros, { "--start", "1000" })), exit_usage, "past the end");
}

TEST(CommandLine, SaysHowManySymbolsAShortCaptureHasRoomFor)
{
    const scratch_folder_t folder;
    // 5,000 samples are 500 symbols, 180 of them run-in.
    const std::string zeros = folder.write_sigmf("zeros", "cf32_le", std::string(40000, '\0'));
    expect_failure(run_analyze(with_signal(zeros)), exit_too_short, "--interval 320");
    expect_failure(run_analyze(with_signal(zeros, { "--json" })), exit_too_short, "--interval 320");
    expect_failure(run_analyze(with_signal(zeros, { "--interval", "10", "--search-length", "1" })), exit_too_short,
                   "--search-length");
}

TEST(CommandLine, RefusesACaptureWithoutSignal)
{
    const scratch_folder_t folder;
    // The analysis adds a trace of DC to what it gets: zeros would come out as a perfect signal.
    const std::string zeros = folder.write_sigmf("zeros", "cf32_le", std::string(8 * 20000, '\0'));
    expect_failure(run_analyze(with_signal(zeros)), exit_bad_capture, "there is no signal");
    expect_failure(run_analyze(with_signal(zeros, { "--json" })), exit_bad_capture, "there is no signal");

    std::string text;
    for (int i = 0; i < 20000; ++i)
    {
        text += i % 2 == 0 ? "2e15 0\n" : "0 1\n";
    }
    expect_failure(run_analyze(with_signal(folder.write("loud.txt", text), { "--sample-rate", "1e6" })), exit_bad_capture,
                   "scale it down");
}

TEST(CommandLine, ReadsNoMoreOfALargeFileThanItMust)
{
    const scratch_folder_t folder;
    // A file with a hole of 8 GiB: reading it whole would not fit into memory.
    folder.write_sigmf("huge", "cf32_le", "");
    ASSERT_EQ(std::system(("truncate -s 8G '" + folder.get_path("huge.sigmf-data") + "'").c_str()), 0);
    expect_failure(run_analyze(with_signal(folder.get_path("huge"), { "--count", "1000" })), exit_too_short, "1000 samples");
    expect_failure(run_analyze(with_signal(folder.get_path("huge"), { "--start", "1073741823" })), exit_too_short, "1 samples");
}

TEST(CommandLine, NoticesThatTheReportDidNotGoOut)
{
    const tool_result_t result = run_tool({ "--help" }, ">/dev/full");
    EXPECT_EQ(result.status, exit_output);
    EXPECT_NE(result.errors.find("could not be written"), std::string::npos) << result.errors;
}
