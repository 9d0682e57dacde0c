#include "analysis_runner.h"
#include "sigmf_capture.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <utility>

using namespace dma_test;

namespace
{
const std::string golden_folder = std::string(DMA_TEST_DATA_DIR) + "/golden/";

vrim::dma_demod_lib::lib_dma_modulation_type_t get_group(const std::string& name)
{
    using namespace vrim::dma_demod_lib;
    for (const auto& [known, group] : { std::pair{ "PSK", LIB_DMA_GROUP_PSK }, std::pair{ "QAM", LIB_DMA_GROUP_QAM },
                                        std::pair{ "APSK", LIB_DMA_GROUP_APSK }, std::pair{ "ASK", LIB_DMA_GROUP_ASK },
                                        std::pair{ "DPSK", LIB_DMA_GROUP_DPSK } })
    {
        if (name == known)
            return group;
    }
    throw std::runtime_error("golden capture of an unknown group");
}

signal_format_t get_format(const std::string& group, std::uint32_t number)
{
    for (const signal_format_info_t& info : get_signal_formats())
    {
        const library_format_t found = get_library_format(info.format);
        if (found.group == get_group(group) && found.number == number)
            return info.format;
    }
    throw std::runtime_error("golden capture of an unknown format");
}

/// Amplitude of the innermost point in units of the rms; 0 for a carrier that is off.
double get_innermost(signal_format_t format)
{
    double innermost = 1.0;
    for (const std::complex<double>& point : get_signal_format(format).points)
        innermost = std::min(innermost, std::abs(point));
    return innermost;
}

class GoldenCapture : public testing::TestWithParam<std::string>
{
};

TEST_P(GoldenCapture, ReadsTheFiguresOfAnIndependentModel)
{
    const std::string base = golden_folder + GetParam();
    std::ifstream file(base + ".json");
    ASSERT_TRUE(file) << base;
    const nlohmann::json golden = nlohmann::json::parse(file);
    const nlohmann::json& told = golden.at("settings");
    const nlohmann::json& expected = golden.at("expected");

    analysis_setting_t setting;
    setting.format = get_format(told.at("group").get<std::string>(), told.at("format").get<std::uint32_t>());
    setting.symbol_rate = told.at("symbol_rate").get<std::uint64_t>();
    setting.sample_rate = told.at("sample_rate").get<double>();
    setting.bandwidth = told.at("bandwidth").get<std::uint64_t>();
    setting.points_per_symbol = told.at("points_per_symbol").get<std::uint32_t>();
    setting.meas_filter =
        static_cast<vrim::dma_demod_lib::lib_dma_meas_filter_type_t>(told.at("meas_filter").get<std::uint32_t>());
    setting.ref_filter = static_cast<vrim::dma_demod_lib::lib_dma_ref_filter_type_t>(told.at("ref_filter").get<std::uint32_t>());
    setting.alpha = told.at("filter_alpha").get<double>();
    setting.filter_length = told.at("filter_length").get<std::uint32_t>();
    setting.meas_interval = told.at("meas_interval").get<std::uint32_t>();
    setting.meas_offset = told.at("meas_offset").get<std::int32_t>();
    setting.search_length = told.at("search_length").get<double>();
    setting.normalization =
        static_cast<vrim::dma_demod_lib::lib_dma_evm_normalize_type_t>(told.at("evm_normalize").get<std::uint32_t>());

    const sigmf_capture_t capture = read_sigmf_capture(base);
    ASSERT_EQ(capture.sample_rate, setting.sample_rate);
    const analysis_result_t result = analyse(capture.samples, setting);
    ASSERT_TRUE(result.locked());
    ASSERT_EQ(result.meas_symbols.size(), setting.meas_interval);

    const auto compare = [&](const char* name, float measured, double tolerance, double share)
    {
        const double value = expected.at(name).get<double>();
        EXPECT_NEAR(static_cast<double>(measured), value, tolerance + share * std::abs(value)) << name;
    };
    compare("evm_rms", result.summary.evm_rms, 0.03, 0.02);
    compare("mag_err_rms", result.summary.mag_err_rms, 0.03, 0.02);
    // Symbols of a carrier that is off have no phase, and what stands for it differs from model to model.
    const double innermost = get_innermost(setting.format);
    if (innermost > 0.0)
        compare("phase_err_rms", result.summary.phase_err_rms, 0.03, 0.02);
    compare("evm_max", result.summary.evm_max, 0.1, 0.05);
    compare("evm_min", result.summary.evm_min, 0.1, 0.05);
    compare("mag_err_max", result.summary.mag_err_max, 0.1, 0.05);
    if (innermost > 0.0)
        compare("phase_err_max", result.summary.phase_err_max, 0.1, 0.05);
    compare("snr", result.summary.snr, 0.25, 0.0);
    compare("frequency_error", result.table.frequency_error, 0.3, 0.0);
    if (expected.contains("depth"))
        compare("depth", result.summary.depth, 0.005, 0.0);
    if (expected.contains("apsk_r2_ratio"))
    {
        compare("apsk_r2_ratio", static_cast<float>(result.summary.apsk_r2_ratio), 0.0, 0.01);
        compare("apsk_r3_ratio", static_cast<float>(result.summary.apsk_r3_ratio), 0.0, 0.01);
    }
    compare("carrier_power", result.summary.carrier_power, 0.1, 0.0);
    compare("rho", result.table.rho, 0.001, 0.0);
    if (expected.at("iq_offset").get<double>() > -45.0)
        compare("iq_offset", result.table.iq_offset, 0.15, 0.0);
    else
        EXPECT_LT(result.table.iq_offset, -45.0f);
    if (setting.format == signal_format_t::qpsk)
    {
        compare("gain_imbalance", result.table.gain_imbalance, 0.02, 0.0);
        compare("quad_error", result.table.quad_error, 0.02, 0.0);
    }
}

INSTANTIATE_TEST_SUITE_P(Psk, GoldenCapture, testing::Values("bpsk", "qpsk", "8psk", "3pi4_qpsk", "3pi8_8psk"),
                         [](const auto& name) { return "Of_" + name.param; });
INSTANTIATE_TEST_SUITE_P(Qam, GoldenCapture,
                         testing::Values("16qam", "32qam", "64qam", "128qam", "256qam", "512qam", "1024qam", "4096qam",
                                         "pi4_16qam", "minus_pi4_32qam"),
                         [](const auto& name) { return "Of_" + name.param; });
INSTANTIATE_TEST_SUITE_P(Apsk, GoldenCapture, testing::Values("16apsk", "32apsk"),
                         [](const auto& name) { return "Of_" + name.param; });
INSTANTIATE_TEST_SUITE_P(Ask, GoldenCapture, testing::Values("2ask", "4ask", "8ask", "16ask"),
                         [](const auto& name) { return "Of_" + name.param; });
INSTANTIATE_TEST_SUITE_P(Dpsk, GoldenCapture, testing::Values("dbpsk", "dqpsk", "d8psk", "pi4_dqpsk", "pi8_d8psk"),
                         [](const auto& name) { return "Of_" + name.param; });
} // namespace
