// Runs the program on signals of the generator, from the file to the report.

#include "exit_status.h"
#include "sigmf_writer.h"
#include "signal_maker.h"
#include "tool_runner.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <complex>
#include <cstdint>
#include <string>
#include <vector>

using namespace dmatool;
using dma_test::run_analyze;
using dma_test::scratch_folder_t;
using dma_test::signal_setting_t;
using dma_test::signal_t;
using dma_test::tool_result_t;

namespace
{
signal_setting_t make_setting()
{
    signal_setting_t setting;
    setting.symbol_count = 1300;
    setting.seed = 21;
    setting.snr_db = 30.0;
    setting.carrier_offset_hz = 1234.5;
    setting.carrier_phase = 0.4;
    setting.timing_symbols = 0.3;
    return setting;
}

std::string write_capture(const scratch_folder_t& folder, const signal_setting_t& setting)
{
    dma_test::write_sigmf(folder.get_path("signal"), dma_test::make_signal(setting).samples, setting.sample_rate, "test");
    return folder.get_path("signal");
}

std::vector<std::string> with_signal(const std::string& capture, const std::vector<std::string>& more = {})
{
    std::vector<std::string> words = { capture, "--format", "QPSK", "--symbol-rate", "1e6", "--alpha", "0.35" };
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

nlohmann::json analyze_json(const std::vector<std::string>& words)
{
    std::vector<std::string> all = words;
    all.push_back("--json");
    const tool_result_t result = run_analyze(all);
    EXPECT_EQ(result.status, 0) << result.errors;
    return nlohmann::json::parse(result.output, nullptr, false);
}
} // namespace

TEST(CommandLineAnalysis, JsonHoldsWhatWentIntoTheSignal)
{
    const scratch_folder_t folder;
    const nlohmann::json report = analyze_json(with_signal(write_capture(folder, make_setting())));
    ASSERT_FALSE(report.is_discarded());
    EXPECT_EQ(report["result_code"], 0);
    ASSERT_EQ(report["segments"].size(), 1U);
    const nlohmann::json& segment = report["segments"][0];
    // 30 dB are 3.16 percent; 1,024 symbols spread by 1.6 percent of that, and the loops take a little out.
    EXPECT_NEAR(segment["error_summary"]["evm_rms"].get<double>(), 3.15, 0.25);
    EXPECT_NEAR(segment["error_summary"]["snr"].get<double>(), 30.0, 0.7);
    EXPECT_NEAR(segment["err_table"]["frequency_error"].get<double>(), 1234.5, 1.5);
    EXPECT_NEAR(segment["err_table"]["rho"].get<double>(), 0.9995, 0.0005);
    EXPECT_EQ(segment["decode_bit"].size(), 1024U);
    EXPECT_FALSE(segment["sync_search_flag"].get<bool>());
    EXPECT_EQ(report["settings"]["symbol_rate"], 1000000);
    EXPECT_EQ(report["settings"]["psk_format"], "LIB_DMA_MODULATION_PSK_QPSK");
    EXPECT_EQ(report["capture"]["samples"], 5200);
    EXPECT_FALSE(segment.contains("error_vector"));
}

TEST(CommandLineAnalysis, DecodedSymbolsAreThoseSentUpToAQuarterTurn)
{
    const scratch_folder_t folder;
    const signal_setting_t setting = make_setting();
    const nlohmann::json report = analyze_json(with_signal(write_capture(folder, setting)));
    const auto decoded = report["segments"][0]["decode_bit"].get<std::vector<std::uint32_t>>();
    const signal_t signal = dma_test::make_signal(setting);
    // The interval starts behind some run-in; a turn by 90 degrees takes index 1 to 0 to 2 to 3 to 1.
    const std::vector<std::uint32_t> turn = { 2, 0, 3, 1 };
    bool found = false;
    for (int quarter = 0; quarter < 4 && !found; ++quarter)
    {
        for (std::size_t start = 0; start + decoded.size() <= signal.symbols.size() && !found; ++start)
        {
            std::size_t same = 0;
            for (std::size_t i = 0; i < decoded.size(); ++i)
            {
                std::uint32_t symbol = signal.symbols[start + i];
                for (int step = 0; step < quarter; ++step)
                {
                    symbol = turn[symbol];
                }
                same += symbol == decoded[i] ? 1U : 0U;
            }
            found = same == decoded.size();
        }
    }
    EXPECT_TRUE(found);
}

TEST(CommandLineAnalysis, TableOfFskHasItsFrequencies)
{
    const scratch_folder_t folder;
    signal_setting_t setting = make_setting();
    setting.format = dma_test::signal_format_t::fsk4;
    setting.sample_rate = 8.0e6;
    setting.deviation_hz = 300e3;
    setting.balanced_run = 20;
    const std::vector<std::string> words = { write_capture(folder, setting), "--format", "4FSK", "--symbol-rate", "1e6",
                                             "--alpha", "0.35" };
    const tool_result_t result = run_analyze(words);
    EXPECT_EQ(result.status, 0) << result.errors;
    for (const char* word : { "FSK 4FSK", "Deviation", "Highest frequency", "Lowest frequency" })
    {
        EXPECT_NE(result.output.find(word), std::string::npos) << word;
    }
    const nlohmann::json report = analyze_json(words);
    EXPECT_EQ(report["settings"]["fsk_format"], "LIB_DMA_FSK_4");
    EXPECT_NEAR(report["segments"][0]["error_summary"]["fsk_deviation"].get<double>(), 300e3, 3e3);
    // Other groups have no deviation to speak of.
    const tool_result_t other = run_analyze(with_signal(write_capture(folder, make_setting())));
    EXPECT_EQ(other.output.find("Deviation"), std::string::npos);
}

TEST(CommandLineAnalysis, SaysThatACarrierHasNoModulation)
{
    const scratch_folder_t folder;
    const std::vector<std::complex<float>> carrier(12000, { 0.5f, 0.25f });
    dma_test::write_sigmf(folder.get_path("carrier"), carrier, 8.0e6, "test");
    const tool_result_t result = run_analyze({ folder.get_path("carrier"), "--format", "2FSK", "--symbol-rate", "1e6" });
    EXPECT_EQ(result.status, exit_analysis_failed);
    EXPECT_NE(result.errors.find("There is no modulation"), std::string::npos) << result.errors;
}

TEST(CommandLineAnalysis, TableNamesFiguresAndUnits)
{
    const scratch_folder_t folder;
    const tool_result_t result = run_analyze(with_signal(write_capture(folder, make_setting())));
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.errors, "");
    for (const char* word : { "EVM", "Magnitude error", "Phase error", "SNR", "IQ offset", "Quadrature error", "Gain imbalance",
                              "Frequency error", "Rho", "Decoded symbols", "dB", "deg", "Hz", "%" })
    {
        EXPECT_NE(result.output.find(word), std::string::npos) << word;
    }
    EXPECT_EQ(result.output.rfind("Capture", 0), 0U) << "nothing may stand in front of the table: " << result.output;
}

TEST(CommandLineAnalysis, RawAndTextFilesGiveTheFiguresOfTheSigmfPair)
{
    const scratch_folder_t folder;
    const signal_setting_t setting = make_setting();
    const std::string stem = write_capture(folder, setting);
    const nlohmann::json pair = analyze_json(with_signal(stem));
    const nlohmann::json raw =
        analyze_json(with_signal(stem + ".sigmf-data", { "--datatype", "cf32_le", "--sample-rate", "4e6" }));
    EXPECT_EQ(raw["segments"], pair["segments"]);

    std::string text;
    for (const std::complex<float>& sample : dma_test::make_signal(setting).samples)
    {
        char line[64];
        std::snprintf(line, sizeof(line), "%.9g,%.9g\n", static_cast<double>(sample.real()), static_cast<double>(sample.imag()));
        text += line;
    }
    const nlohmann::json columns = analyze_json(with_signal(folder.write("signal.csv", text), { "--sample-rate", "4e6" }));
    EXPECT_EQ(columns["segments"], pair["segments"]);
}

TEST(CommandLineAnalysis, TracesComeOnRequest)
{
    const scratch_folder_t folder;
    const nlohmann::json report =
        analyze_json(with_signal(write_capture(folder, make_setting()), { "--traces", "--interval", "200" }));
    const nlohmann::json& segment = report["segments"][0];
    EXPECT_EQ(segment["error_summary"]["evm_trace"].size(), 200U);
    EXPECT_EQ(segment["iq_meas_time_constellation"].size(), 200U);
    EXPECT_EQ(segment["iq_meas_time_constellation"][0].size(), 2U);
    EXPECT_TRUE(segment["config"].contains("equalizer_filter"));
}

TEST(CommandLineAnalysis, ReportsWhatTheEqualizerCameTo)
{
    const scratch_folder_t folder;
    const std::string stem = write_capture(folder, make_setting());
    const std::vector<std::string> words = with_signal(stem, { "--interval", "400", "--equalizer", "on", "--equalizer-length",
                                                               "11", "--points-per-symbol", "2" });
    const nlohmann::json report = analyze_json(words);
    EXPECT_EQ(report["settings"]["equalizer"], true);
    EXPECT_EQ(report["settings"]["equalizer_filter_len"], 11);
    EXPECT_EQ(report["settings"]["equalizer_coef"], 0.01);
    const nlohmann::json& segment = report["segments"][0];
    EXPECT_EQ(segment["config"]["equalizer_loop_number"], 11);
    const nlohmann::json& taps = segment["config"]["equalizer_filter"];
    ASSERT_EQ(taps.size(), 21U);
    ASSERT_EQ(segment["eq_impulse_i"].size(), 21U);
    ASSERT_EQ(segment["eq_impulse_q"].size(), 21U);
    EXPECT_EQ(segment["eq_frequency_response"].size(), 256U);
    for (std::size_t j = 0; j < taps.size(); ++j)
    {
        EXPECT_EQ(segment["eq_impulse_i"][j].get<double>(), taps[j][0].get<double>());
        EXPECT_EQ(segment["eq_impulse_q"][j].get<double>(), -taps[j][1].get<double>());
    }
    EXPECT_LT(segment["error_summary"]["evm_rms"].get<double>(), 3.5);
    EXPECT_EQ(segment["decode_bit"].size(), 400U);

    const tool_result_t table = run_analyze(words);
    EXPECT_NE(table.output.find("Equalizer           11 symbols, 21 taps, step 0.01, 11 passes\n"), std::string::npos)
        << table.output;
    const nlohmann::json plain = analyze_json(with_signal(stem));
    EXPECT_EQ(plain["settings"]["equalizer"], false);
    EXPECT_FALSE(plain["segments"][0].contains("eq_impulse_i"));
    EXPECT_FALSE(plain["segments"][0]["config"].contains("equalizer_filter"));
}

TEST(CommandLineAnalysis, WarnsOfAnEqualizerThatMayDiverge)
{
    const scratch_folder_t folder;
    const std::string stem = write_capture(folder, make_setting());
    const tool_result_t result =
        run_analyze(with_signal(stem, { "--interval", "200", "--equalizer", "on", "--points-per-symbol", "10" }));
    EXPECT_NE(result.errors.find("the equalizer of 201 taps may diverge with a step of 0.01; give --equalizer-step 0.002"),
              std::string::npos)
        << result.errors;
    const tool_result_t smaller = run_analyze(with_signal(
        stem, { "--interval", "200", "--equalizer", "on", "--points-per-symbol", "10", "--equalizer-step", "0.002" }));
    EXPECT_EQ(smaller.status, 0) << smaller.errors;
    EXPECT_EQ(smaller.errors.find("may diverge"), std::string::npos) << smaller.errors;
}

TEST(CommandLineAnalysis, VerboseKeepsStandardOutputClean)
{
    const scratch_folder_t folder;
    const std::vector<std::string> words = with_signal(write_capture(folder, make_setting()), { "--json", "--verbose" });
    const tool_result_t result = run_analyze(words);
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(nlohmann::json::accept(result.output)) << result.output.substr(0, 200);
    EXPECT_NE(result.errors.find("deal_demo_process start!"), std::string::npos);
}

TEST(CommandLineAnalysis, FindsASyncWordAndSaysWhenThereIsNone)
{
    const scratch_folder_t folder;
    signal_setting_t setting = make_setting();
    // 24 bits of QPSK; symbol 300 is far behind the run-in.
    setting.sync_symbols = { 0, 3, 1, 2, 2, 0, 1, 3, 3, 0, 2, 1 };
    setting.sync_position = 300;
    const std::string stem = write_capture(folder, setting);
    const std::string word = "001101101000011111001001";
    const nlohmann::json report = analyze_json(with_signal(stem, { "--sync", word, "--interval", "400" }));
    EXPECT_TRUE(report["segments"][0]["sync_search_flag"].get<bool>());
    const auto decoded = report["segments"][0]["decode_bit"].get<std::vector<std::uint32_t>>();
    ASSERT_GE(decoded.size(), 100U);
    const signal_t signal = dma_test::make_signal(setting);
    for (std::size_t i = 0; i < 100; ++i)
    {
        EXPECT_EQ(decoded[i], signal.symbols[300 + i]) << "symbol " << i;
    }

    const tool_result_t absent = run_analyze(with_signal(stem, { "--sync", "0xFFFFFF000000", "--interval", "400" }));
    EXPECT_EQ(absent.status, 0) << absent.errors;
    EXPECT_NE(absent.errors.find("sync word was not found"), std::string::npos) << absent.errors;
}

TEST(CommandLineAnalysis, ACaptureWithoutModulationIsNotPassedOnInSilence)
{
    const scratch_folder_t folder;
    std::string text;
    for (int i = 0; i < 6000; ++i)
    {
        text += "0.5 0.25\n";
    }
    const tool_result_t result =
        run_analyze(with_signal(folder.write("constant.txt", text), { "--sample-rate", "4e6", "--json" }));
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_NE(result.errors.find("all decoded symbols are the same"), std::string::npos) << result.errors;
}

TEST(CommandLineAnalysis, WhatWasNotMeasuredIsNull)
{
    const scratch_folder_t folder;
    const nlohmann::json report = analyze_json(with_signal(write_capture(folder, make_setting())));
    const nlohmann::json& power = report["segments"][0]["error_summary"]["carrier_power"];
    // 0 dBm to the last digit is no measurement.
    EXPECT_TRUE(power.is_null() || (power.is_number() && power != 0.0)) << power;
}

TEST(CommandLineAnalysis, TheSampleRateThatTheAnalysisKeepsIsAnnounced)
{
    const scratch_folder_t folder;
    signal_setting_t setting = make_setting();
    setting.symbol_rate = 72000.0;
    setting.sample_rate = 288050.0;
    setting.carrier_offset_hz = 100.0;
    const std::string stem = write_capture(folder, setting);
    const tool_result_t result =
        run_analyze({ stem, "--format", "QPSK", "--symbol-rate", "72000", "--alpha", "0.35", "--interval", "200" });
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_NE(result.errors.find("288000 Hz"), std::string::npos) << result.errors;
    EXPECT_NE(result.errors.find("ppm"), std::string::npos) << result.errors;
}
