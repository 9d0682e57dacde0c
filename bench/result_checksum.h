#pragma once

#include <dma_demod.h>

#include <bit>
#include <cstdint>
#include <cstdio>
#include <string>

/// Checksums of results (FNV-1a over the bits), so that a change of speed can show that it changed no result.
namespace dma_bench
{
class checksum_t
{
public:
    void add(std::uint32_t word)
    {
        for (int byte = 0; byte < 4; ++byte)
        {
            value_ ^= (word >> (8 * byte)) & 0xffu;
            value_ *= 1099511628211ull;
        }
    }
    void add(float value) { add(std::bit_cast<std::uint32_t>(value)); }
    void add(const vrim::dma_demod_lib::complex_array& values)
    {
        for (const std::complex<float>& value : values)
        {
            add(value.real());
            add(value.imag());
        }
    }
    std::string text() const
    {
        char buffer[24];
        std::snprintf(buffer, sizeof buffer, "%016llx", static_cast<unsigned long long>(value_));
        return buffer;
    }

private:
    std::uint64_t value_ = 14695981039346656037ull;
};
} // namespace dma_bench
