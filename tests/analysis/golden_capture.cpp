#include "golden_capture.h"

#include <cmath>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <stdexcept>

namespace dma_test
{
namespace
{
using namespace vrim::dma_demod_lib;

lib_dma_modulation_type_t get_group(const std::string& name)
{
    const std::map<std::string, lib_dma_modulation_type_t> groups = {
        { "PSK", LIB_DMA_GROUP_PSK },   { "QAM", LIB_DMA_GROUP_QAM }, { "APSK", LIB_DMA_GROUP_APSK },
        { "ASK", LIB_DMA_GROUP_ASK },   { "DPSK", LIB_DMA_GROUP_DPSK }, { "FSK", LIB_DMA_GROUP_FSK },
        { "MSK", LIB_DMA_GROUP_MSK },   { "OQPSK", LIB_DMA_GROUP_OQPSK },
    };
    return groups.at(name);
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

/// Filters stand there by their number or by a short name.
std::uint32_t get_filter(const nlohmann::json& told, const std::map<std::string, std::uint32_t>& names)
{
    return told.is_string() ? names.at(told.get<std::string>()) : told.get<std::uint32_t>();
}

analysis_setting_t read_setting(const nlohmann::json& told)
{
    analysis_setting_t setting;
    setting.format = get_format(told.at("group").get<std::string>(), told.at("format").get<std::uint32_t>());
    setting.symbol_rate = told.at("symbol_rate").get<std::uint64_t>();
    setting.sample_rate = told.at("sample_rate").get<double>();
    setting.bandwidth = told.at("bandwidth").get<std::uint64_t>();
    setting.points_per_symbol = told.at("points_per_symbol").get<std::uint32_t>();
    setting.meas_filter = static_cast<lib_dma_meas_filter_type_t>(
        get_filter(told.at("meas_filter"),
                   { { "none", LIB_DMA_MEAS_NONE_FILTER }, { "rrc", LIB_DMA_MEAS_ROOT_RAISED_COSINE_FILTER } }));
    setting.ref_filter = static_cast<lib_dma_ref_filter_type_t>(
        get_filter(told.at("ref_filter"), { { "none", LIB_DMA_REF_NONE_FILTER },
                                            { "rc", LIB_DMA_REF_RAISED_COSINE_FILTER },
                                            { "gauss", LIB_DMA_REF_GAUSSIAN_FILTER } }));
    setting.alpha = told.value("filter_alpha", setting.alpha);
    setting.beta = told.value("filter_beta", setting.beta);
    setting.filter_length = told.at("filter_length").get<std::uint32_t>();
    setting.meas_interval = told.at("meas_interval").get<std::uint32_t>();
    setting.meas_offset = told.value("meas_offset", 0);
    setting.search_length = told.value("search_length", setting.search_length);
    setting.normalization = static_cast<lib_dma_evm_normalize_type_t>(told.value("evm_normalize", 0U));
    if (setting.format == signal_format_t::apsk32)
        setting.rings = { 2.85, 5.27 }; // those of a segment whose format was not set
    setting.aligned_iq = told.value("oqpsk_alig_iq", false);
    return setting;
}
} // namespace

golden_capture_t read_golden_capture(const std::string& name)
{
    const std::string base = std::string(DMA_TEST_DATA_DIR) + "/golden/" + name;
    std::ifstream file(base + ".json");
    if (!file)
        throw std::runtime_error("no golden capture " + base);
    const nlohmann::json golden = nlohmann::json::parse(file);
    const golden_capture_t read = { read_setting(golden.at("settings")), golden.at("expected"), read_sigmf_capture(base) };
    if (read.capture.sample_rate != read.setting.sample_rate)
        throw std::runtime_error("golden capture with two sample rates " + base);
    return read;
}

void golden_capture_t::expect(const char* figure, double measured, double tolerance, double share) const
{
    const double value = expected.at(figure).get<double>();
    EXPECT_NEAR(measured, value, tolerance + share * std::abs(value)) << figure;
}

void golden_capture_t::expect_common(const analysis_result_t& result) const
{
    const auto compare = [this](const char* figure, float measured, double tolerance, double share = 0.0)
    { expect(figure, static_cast<double>(measured), tolerance, share); };
    compare("evm_rms", result.summary.evm_rms, 2e-4);
    compare("mag_err_rms", result.summary.mag_err_rms, 2e-4);
    compare("evm_max", result.summary.evm_max, 0.01);
    compare("evm_min", result.summary.evm_min, 0.01);
    compare("mag_err_max", result.summary.mag_err_max, 0.01);
    compare("snr", result.summary.snr, 0.001);
    compare("carrier_power", result.summary.carrier_power, 5e-4);
    compare("rho", result.table.rho, 1e-5);
    compare("frequency_error", result.table.frequency_error, 0.1, 4e-6); // six digits stand in the file
    compare("iq_offset", result.table.iq_offset, 0.15);
}
} // namespace dma_test
