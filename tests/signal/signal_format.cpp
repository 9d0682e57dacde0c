#include "signal_format.h"

#include <algorithm>
#include <cctype>
#include <numbers>
#include <stdexcept>

namespace dma_test
{
namespace
{
constexpr double pi = std::numbers::pi;

std::vector<std::complex<double>> make_points(const std::vector<double>& degrees)
{
    std::vector<std::complex<double>> points;
    for (const double angle : degrees)
    {
        points.push_back(std::polar(1.0, angle * pi / 180.0));
    }
    return points;
}

std::vector<signal_format_info_t> make_formats()
{
    const auto diagonal = make_points({ 135.0, 45.0, 225.0, 315.0 });
    const auto eighths = make_points({ 0.0, 45.0, 90.0, 135.0, 180.0, 225.0, 270.0, 315.0 });
    return {
        { signal_format_t::bpsk, "BPSK", 1, { { -1.0, 0.0 }, { 1.0, 0.0 } }, 0.0 },
        { signal_format_t::qpsk, "QPSK", 2, diagonal, 0.0 },
        { signal_format_t::psk8, "8PSK", 3, eighths, 0.0 },
        { signal_format_t::qpsk_3pi_4, "3PI/4-QPSK", 2, diagonal, 3.0 * pi / 4.0 },
        { signal_format_t::psk8_3pi_8, "3PI/8-8PSK", 3, eighths, 3.0 * pi / 8.0 },
    };
}
} // namespace

const std::vector<signal_format_info_t>& get_signal_formats()
{
    static const std::vector<signal_format_info_t> formats = make_formats();
    return formats;
}

const signal_format_info_t& get_signal_format(signal_format_t format)
{
    for (const signal_format_info_t& info : get_signal_formats())
    {
        if (info.format == format)
        {
            return info;
        }
    }
    throw std::invalid_argument("signal format without a row in the table");
}

const signal_format_info_t* find_signal_format(const std::string& name)
{
    std::string upper = name;
    std::transform(upper.begin(), upper.end(), upper.begin(), [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    for (const signal_format_info_t& info : get_signal_formats())
    {
        if (info.name == upper)
        {
            return &info;
        }
    }
    return nullptr;
}

std::vector<std::uint32_t> bits_to_symbols(const std::vector<std::uint8_t>& bits, std::uint32_t bits_per_symbol)
{
    std::vector<std::uint32_t> symbols(bits.size() / bits_per_symbol, 0);
    for (std::size_t i = 0; i < symbols.size() * bits_per_symbol; ++i)
    {
        std::uint32_t& symbol = symbols[i / bits_per_symbol];
        symbol = 2 * symbol + bits[i];
    }
    return symbols;
}

std::vector<std::uint8_t> symbols_to_bits(const std::vector<std::uint32_t>& symbols, std::uint32_t bits_per_symbol)
{
    std::vector<std::uint8_t> bits;
    bits.reserve(symbols.size() * bits_per_symbol);
    for (const std::uint32_t symbol : symbols)
    {
        for (std::uint32_t bit = bits_per_symbol; bit > 0; --bit)
        {
            bits.push_back(static_cast<std::uint8_t>((symbol >> (bit - 1)) & 1U));
        }
    }
    return bits;
}
} // namespace dma_test
