#include "capture_resample.h"

#include "exit_status.h"
#include "sigmf_writer.h"
#include "signal_maker.h"
#include "tool_runner.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <array>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <numbers>
#include <numeric>
#include <string>
#include <vector>

using namespace dmatool;
using dma_test::expect_failure;
using dma_test::run_analyze;
using dma_test::scratch_folder_t;
using dma_test::tool_result_t;

namespace
{
constexpr double pi = std::numbers::pi;

std::string get_refusal(double sample_rate)
{
    try
    {
        plan_resampling(sample_rate);
    }
    catch (const tool_error_t& error)
    {
        EXPECT_EQ(error.get_status(), exit_usage);
        return error.what();
    }
    return "";
}

/// QPSK of 72 kHz in a capture of the rate.
std::string write_capture(const scratch_folder_t& folder, double sample_rate)
{
    dma_test::signal_setting_t setting;
    setting.symbol_rate = 72000.0;
    setting.sample_rate = sample_rate;
    setting.symbol_count = 1700;
    setting.half_span_symbols = 60;
    setting.seed = 22;
    setting.snr_db = 40.0;
    setting.carrier_offset_hz = 130.0;
    setting.timing_symbols = 0.4;
    dma_test::write_sigmf(folder.get_path("signal"), dma_test::make_signal(setting).samples, sample_rate, "test");
    return folder.get_path("signal");
}

std::vector<std::string> with_signal(const std::string& capture, const std::vector<std::string>& more = {})
{
    std::vector<std::string> words = { capture,      "--format", "QPSK",       "--symbol-rate", "72000", "--alpha", "0.35",
                                       "--interval", "1500",     "--evm-ref", "rms",           "--json" };
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

nlohmann::json parse(const tool_result_t& result)
{
    EXPECT_EQ(result.status, 0) << result.errors;
    return nlohmann::json::parse(result.output, nullptr, false);
}
} // namespace

TEST(CaptureResample, GoesToTheNearestMultipleOfAHundredHertz)
{
    for (const auto& [rate, nearest] : { std::pair(222222.0, 222200U), std::pair(222249.0, 222200U), std::pair(222250.0, 222300U),
                                         std::pair(288050.5, 288100U), std::pair(4.0e6, 4000000U), std::pair(3999999.999, 4000000U),
                                         std::pair(149.9, 100U), std::pair(3.0, 100U) })
    {
        EXPECT_EQ(cal_nearest_rate(rate), nearest) << rate;
    }
}

TEST(CaptureResample, TakesTheSmallestFactorsWithinAThousandthOfAPpm)
{
    for (const double rate : { 222222.0, 288050.0, 222222.0 + 2.0 / 9.0, 12345.678, 1.0e6 / 3.0, 44117.647, 2.0833333e6, 10000040.0 })
    {
        const resample_plan_t plan = plan_resampling(rate);
        const double reached = rate * static_cast<double>(plan.up) / static_cast<double>(plan.down);
        EXPECT_NEAR(reached / static_cast<double>(plan.to), 1.0, 1.01e-9) << rate;
        EXPECT_EQ(std::gcd(plan.up, plan.down), 1U) << rate;
        EXPECT_LE(std::max(plan.up, plan.down), 262144U) << rate;
    }
    // 288,050 : 288,100 = 5,761 : 5,762.
    EXPECT_EQ(plan_resampling(288050.0).up, 5762U);
    EXPECT_EQ(plan_resampling(288050.0).down, 5761U);
    // A third of a MHz is 333,333.3 Hz: 333,300 * 3 / 1,000,000.
    EXPECT_EQ(plan_resampling(1.0e6 / 3.0).up, 9999U);
    EXPECT_EQ(plan_resampling(1.0e6 / 3.0).down, 10000U);
}

TEST(CaptureResample, LeavesMultiplesAlone)
{
    for (const double rate : { 100.0, 4.0e6, 3999999.999, 4000000.001, 1.0e12 })
    {
        const resample_plan_t plan = plan_resampling(rate);
        EXPECT_EQ(plan.up, 1U) << rate;
        EXPECT_EQ(plan.down, 1U) << rate;
        capture_t capture;
        capture.samples = { { 1.0f, 2.0f }, { 3.0f, 4.0f } };
        capture.sample_rate = rate;
        const vrim::complex_array before = capture.samples;
        resample_capture(plan, capture);
        EXPECT_EQ(capture.samples, before);
        EXPECT_EQ(capture.sample_rate, static_cast<double>(cal_nearest_rate(rate))) << "the analysis rounds down";
        EXPECT_TRUE(capture.notes.empty());
    }
}

TEST(CaptureResample, RefusesRatesThatAreNextToNothingOff)
{
    // 10 Hz of 61.44 MHz, 0.163 ppm: 1 / 0.163e-6 is 6.1 million.
    const std::string text = get_refusal(61440010.0);
    for (const char* word : { "--resample", "61440010", "61440000", "0.16 ppm", "262144" })
        EXPECT_NE(text.find(word), std::string::npos) << word << ": " << text;
    EXPECT_NE(get_refusal(1.0e9 + 10.0), "");
    EXPECT_EQ(get_refusal(10000040.0), "");
}

TEST(CaptureResample, KeepsATonesFrequencyPhaseAndLevel)
{
    for (const double rate : { 222222.0, 288050.0, 12345.678 })
    {
        for (const double cycles : { -0.41, -0.1, 0.003, 0.25, 0.42 }) // per sample of the capture; 0.44 is the edge
        {
            capture_t capture;
            capture.sample_rate = rate;
            for (std::size_t n = 0; n < 3000; ++n)
                capture.samples.push_back(
                    std::complex<float>(std::polar(0.5, 2.0 * pi * cycles * static_cast<double>(n) + 0.3)));
            resample_capture(plan_resampling(rate), capture);
            EXPECT_EQ(capture.sample_rate, static_cast<double>(cal_nearest_rate(rate)));
            ASSERT_EQ(capture.notes.size(), 1U);
            ASSERT_NEAR(static_cast<double>(capture.samples.size()), 3000.0 * capture.sample_rate / rate, 1.0);
            double worst = 0.0;
            for (std::size_t n = 100; n + 100 < capture.samples.size(); ++n)
            {
                const double time = static_cast<double>(n) / capture.sample_rate;
                const std::complex<double> expected = std::polar(0.5, 2.0 * pi * cycles * rate * time + 0.3);
                worst = std::max(worst, std::abs(std::complex<double>(capture.samples[n]) - expected));
            }
            // 90 dB of the filter, and its ripple.
            EXPECT_LT(worst, 1e-4) << rate << " Hz, " << cycles << " cycles a sample";
        }
    }
}

TEST(CaptureResample, TakesTheSlipOutOfALongInterval)
{
    const scratch_folder_t folder;
    const std::string stem = write_capture(folder, 288050.0);
    const tool_result_t plain = run_analyze(with_signal(stem));
    // 50 Hz of 288,050: 174 ppm, a quarter of a symbol in 1,500.
    for (const char* word : { "kept as 288000 Hz", "174 ppm", "0.26 symbols", "--resample" })
        EXPECT_NE(plain.errors.find(word), std::string::npos) << word << ": " << plain.errors;
    const nlohmann::json slipped = parse(plain);
    EXPECT_EQ(slipped["settings"]["sample_rate"], 288000);
    EXPECT_GT(slipped["segments"][0]["error_summary"]["evm_rms"].get<double>(), 5.0);

    const tool_result_t converted = run_analyze(with_signal(stem, { "--resample" }));
    EXPECT_EQ(converted.errors.find("ppm"), std::string::npos) << converted.errors;
    EXPECT_NE(converted.errors.find("from 288050 Hz to 288100 Hz (5762 : 5761)"), std::string::npos) << converted.errors;
    const nlohmann::json report = parse(converted);
    EXPECT_EQ(report["settings"]["sample_rate"], 288100);
    EXPECT_EQ(report["capture"]["sample_rate"], 288100.0);
    const nlohmann::json& segment = report["segments"][0];
    // 40 dB are 1 %; the clock estimate adds a little.
    EXPECT_NEAR(segment["error_summary"]["evm_rms"].get<double>(), 1.0, 0.15);
    EXPECT_NEAR(segment["err_table"]["frequency_error"].get<double>(), 130.0, 0.1);
    EXPECT_EQ(segment["decode_bit"].size(), 1500U);
}

TEST(CaptureResample, DoesNothingToARateThatIsKept)
{
    const scratch_folder_t folder;
    const std::string stem = write_capture(folder, 288000.0);
    const tool_result_t plain = run_analyze(with_signal(stem));
    const tool_result_t asked = run_analyze(with_signal(stem, { "--resample" }));
    EXPECT_EQ(asked.status, 0);
    EXPECT_EQ(asked.output, plain.output);
    EXPECT_EQ(asked.errors, "");
}

TEST(CaptureResample, SaysWhenTheRatesDoNotAllowIt)
{
    const scratch_folder_t folder;
    const std::string samples(8 * 1000, '\1');
    const std::string file = folder.write("raw", samples);
    const auto analyze_at = [&](const std::string& sample_rate, const std::string& symbol_rate)
    {
        return run_analyze({ file, "--datatype", "cf32_le", "--format", "QPSK", "--sample-rate", sample_rate, "--symbol-rate",
                             symbol_rate, "--resample" });
    };
    expect_failure(analyze_at("61440010", "1e6"), exit_usage, "leave --resample out");
    expect_failure(analyze_at("9950", "10000"), exit_too_short, "samples"); // 10,000 Hz is the nearest, and one sample a symbol
    expect_failure(analyze_at("9949", "10000"), exit_usage, "above the sample rate of 9900 Hz");
}
