#include "analysis_runner.h"
#include "sigmf_capture.h"

#include <cmath>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace dma_test;

namespace
{
const std::string golden_folder = std::string(DMA_TEST_DATA_DIR) + "/golden/";

signal_format_t get_format(std::uint32_t number)
{
    for (const signal_format_info_t& info : get_signal_formats())
    {
        if (get_psk_format(info.format) == number)
            return info.format;
    }
    throw std::runtime_error("golden capture of an unknown format");
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
    ASSERT_EQ(told.at("group").get<std::string>(), "PSK");

    analysis_setting_t setting;
    setting.format = get_format(told.at("format").get<std::uint32_t>());
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
    compare("phase_err_rms", result.summary.phase_err_rms, 0.03, 0.02);
    compare("evm_max", result.summary.evm_max, 0.1, 0.05);
    compare("evm_min", result.summary.evm_min, 0.1, 0.05);
    compare("mag_err_max", result.summary.mag_err_max, 0.1, 0.05);
    compare("phase_err_max", result.summary.phase_err_max, 0.1, 0.05);
    compare("snr", result.summary.snr, 0.25, 0.0);
    compare("frequency_error", result.table.frequency_error, 0.3, 0.0);
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
} // namespace
