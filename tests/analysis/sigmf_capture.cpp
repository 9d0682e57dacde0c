#include "sigmf_capture.h"

#include <bit>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <vector>

namespace dma_test
{
namespace
{
template <typename value_t>
std::vector<value_t> read_values(const std::vector<char>& bytes)
{
    static_assert(std::endian::native == std::endian::little, "the files are little-endian");
    std::vector<value_t> values(bytes.size() / sizeof(value_t));
    std::memcpy(values.data(), bytes.data(), values.size() * sizeof(value_t));
    return values;
}
} // namespace

sigmf_capture_t read_sigmf_capture(const std::string& base)
{
    std::ifstream meta_file(base + ".sigmf-meta");
    std::ifstream data_file(base + ".sigmf-data", std::ios::binary);
    if (!meta_file || !data_file)
        throw std::runtime_error("cannot open the recording " + base);
    const nlohmann::json global = nlohmann::json::parse(meta_file).at("global");
    const std::vector<char> bytes((std::istreambuf_iterator<char>(data_file)), std::istreambuf_iterator<char>());

    sigmf_capture_t capture;
    capture.sample_rate = global.at("core:sample_rate").get<double>();
    const std::string datatype = global.at("core:datatype").get<std::string>();
    if (datatype == "cf32_le")
    {
        const std::vector<float> values = read_values<float>(bytes);
        for (std::size_t i = 0; i + 1 < values.size(); i += 2)
            capture.samples.emplace_back(values[i], values[i + 1]);
    }
    else if (datatype == "ci16_le")
    {
        constexpr float full_scale = 32768.0f;
        const std::vector<std::int16_t> values = read_values<std::int16_t>(bytes);
        for (std::size_t i = 0; i + 1 < values.size(); i += 2)
            capture.samples.emplace_back(static_cast<float>(values[i]) / full_scale,
                                         static_cast<float>(values[i + 1]) / full_scale);
    }
    else
    {
        throw std::runtime_error("datatype " + datatype + " in " + base);
    }
    return capture;
}
} // namespace dma_test
