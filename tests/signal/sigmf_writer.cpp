#include "sigmf_writer.h"

#include <nlohmann/json.hpp>

#include <bit>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <stdexcept>

namespace dma_test
{
namespace
{
void append_le(std::string& bytes, float value)
{
    const auto pattern = std::bit_cast<std::uint32_t>(value);
    for (unsigned shift = 0; shift < 32; shift += 8)
    {
        bytes.push_back(static_cast<char>((pattern >> shift) & 0xFFU));
    }
}
} // namespace

void write_text_file(const std::string& path, const std::string& text)
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(text.data(), static_cast<std::streamsize>(text.size()));
    file.close();
    if (!file)
    {
        throw std::runtime_error("cannot write " + path);
    }
}

void write_sigmf(const std::string& stem, const std::vector<std::complex<float>>& samples, double sample_rate,
                 const std::string& description)
{
    std::string bytes;
    bytes.reserve(samples.size() * 8);
    for (const std::complex<float>& sample : samples)
    {
        append_le(bytes, sample.real());
        append_le(bytes, sample.imag());
    }
    write_text_file(stem + ".sigmf-data", bytes);

    nlohmann::ordered_json meta;
    meta["global"]["core:datatype"] = "cf32_le";
    if (sample_rate == std::floor(sample_rate) && sample_rate < 1.0e15)
    {
        meta["global"]["core:sample_rate"] = static_cast<std::uint64_t>(sample_rate);
    }
    else
    {
        meta["global"]["core:sample_rate"] = sample_rate;
    }
    meta["global"]["core:version"] = "1.2.5";
    meta["global"]["core:num_channels"] = 1;
    meta["global"]["core:description"] = description;
    meta["captures"] = nlohmann::ordered_json::array({ { { "core:sample_start", 0 } } });
    meta["annotations"] = nlohmann::ordered_json::array();
    write_text_file(stem + ".sigmf-meta", meta.dump(2) + "\n");
}
} // namespace dma_test
