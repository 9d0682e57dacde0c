// What the program says when the library cannot measure, or measures something else than was asked for.

#include "exit_status.h"
#include "log_meaning.h"
#include "sigmf_writer.h"
#include "signal_maker.h"
#include "tool_runner.h"

#include <gtest/gtest.h>

#include <complex>
#include <cstdint>
#include <string>
#include <vector>

using namespace dmatool;
using dma_test::expect_failure;
using dma_test::run_analyze;
using dma_test::scratch_folder_t;
using dma_test::tool_result_t;

namespace
{
/// QPSK of 1 MHz at 4 MHz with a word at symbol 300.
std::string write_capture(const scratch_folder_t& folder)
{
    dma_test::signal_setting_t setting;
    setting.symbol_count = 800;
    setting.half_span_symbols = 60;
    setting.timing_symbols = 0.3;
    setting.snr_db = 32.0;
    setting.sync_symbols = { 0, 3, 1, 2, 2, 0, 1, 3, 3, 0, 2, 1 };
    setting.sync_position = 300;
    dma_test::write_sigmf(folder.get_path("signal"), dma_test::make_signal(setting).samples, setting.sample_rate, "test");
    return folder.get_path("signal");
}

const std::string sync_word = "001101101000011111001001";

std::vector<std::string> with_signal(const std::string& capture, const std::vector<std::string>& more)
{
    std::vector<std::string> words = { capture, "--format", "QPSK", "--symbol-rate", "1e6", "--alpha", "0.35" };
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

void expect_note(const tool_result_t& result, const std::string& part)
{
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_NE(result.errors.find(part), std::string::npos) << part << ": " << result.errors;
}
} // namespace

TEST(AnalysisFailure, OfRatesIsSaidBeforeTheRun)
{
    const scratch_folder_t folder;
    const std::string file = folder.write("raw", std::string(8 * 5000, '\1'));
    const auto analyze_at = [&](const std::string& sample_rate, const std::string& symbol_rate)
    {
        return run_analyze(
            { file, "--datatype", "cf32_le", "--format", "QPSK", "--sample-rate", sample_rate, "--symbol-rate", symbol_rate });
    };
    // Result codes 2 and 3 of the library, and a conversion that it refuses.
    expect_failure(analyze_at("4e6", "1.1e9"), exit_usage, "above the sample rate of 4000000 Hz");
    expect_failure(analyze_at("168e6", "10000"), exit_usage, "decimate the capture first");
    // 80,000,008 : 100,000,100 reduce by 4.
    const tool_result_t refused = analyze_at("100000100", "10000001");
    expect_failure(refused, exit_usage, "20000002 : 25000025");
    EXPECT_NE(refused.errors.find("--symbol-rate 1000001"), std::string::npos) << refused.errors;
}

TEST(AnalysisFailure, OfTheDemodulatorNamesTheCodeAndTheLog)
{
    const scratch_folder_t folder;
    const std::vector<std::complex<float>> carrier(12000, { 0.5f, 0.25f });
    dma_test::write_sigmf(folder.get_path("carrier"), carrier, 8.0e6, "test");
    const tool_result_t result = run_analyze({ folder.get_path("carrier"), "--format", "2FSK", "--symbol-rate", "1e6" });
    expect_failure(result, exit_analysis_failed, "result code 5");
    EXPECT_NE(result.errors.find("There is no modulation"), std::string::npos) << result.errors;
}

TEST(AnalysisFailure, ToFitTheIntervalBehindTheWordIsNoted)
{
    const scratch_folder_t folder;
    const std::string stem = write_capture(folder);
    const tool_result_t fits = run_analyze(with_signal(stem, { "--sync", sync_word, "--interval", "400" }));
    EXPECT_EQ(fits.status, 0);
    EXPECT_EQ(fits.errors, "");
    const tool_result_t result = run_analyze(with_signal(stem, { "--sync", sync_word, "--interval", "550" }));
    expect_note(result, "the interval does not fit behind the sync word");
    EXPECT_EQ(result.errors.find("not found"), std::string::npos) << result.errors;
}

TEST(AnalysisFailure, ToFindTheWordIsNoted)
{
    const scratch_folder_t folder;
    const tool_result_t result =
        run_analyze(with_signal(write_capture(folder), { "--sync", "0xFFFFFFFF0000", "--interval", "400" }));
    expect_note(result, "the sync word was not found");
    expect_note(result, "Pattern Not Found!");
}

TEST(AnalysisFailure, MessagesOfTheLogAreExplained)
{
    for (const auto& [message, meaning] : { std::pair("psk_lock_phase_detect:error!", "no lock"),
                                            std::pair("qam_lock_phase_detect:error!", "no lock"),
                                            std::pair("lib_dma_qam_demod_t::qam_carrier_coarse_syn lock len error!", "no stretch in lock"),
                                            std::pair("qam_decode_bit:data is too short!", "behind the sync word"),
                                            std::pair("Pattern Not Found!", "sync word"),
                                            std::pair("cal_first_segment_demod_info:Burst Not Found!", "--offset"),
                                            std::pair("cal_demod_param:Data Out Of Acq Rang!", "do not depend on it"),
                                            std::pair("warning lib_dma_common_polyfit_t::deal_polyfit:error!", "phase"),
                                            std::pair("error: msk_timing_recovery(): too less data", "too short"),
                                            std::pair("warning!,dma_phy_process demod data less than pre_num.", "100 symbols") })
    {
        const std::string text = explain_message(message);
        EXPECT_EQ(text.rfind(message, 0), 0U) << text;
        EXPECT_NE(text.find(meaning), std::string::npos) << text;
        EXPECT_EQ(text.back(), ')') << text;
    }
    EXPECT_EQ(explain_message("something new"), "something new");
}
