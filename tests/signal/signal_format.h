#pragma once

#include <complex>
#include <cstdint>
#include <string>
#include <vector>

namespace dma_test
{
enum class signal_format_t
{
    bpsk,
    qpsk,
    psk8,
    qpsk_3pi_4, ///< QPSK that turns by 3 pi / 4 from symbol to symbol
    psk8_3pi_8, ///< 8PSK that turns by 3 pi / 8 from symbol to symbol
};

/// What a linear format is: a point for each index, at unit rms, and a fixed turn.
struct signal_format_info_t
{
    signal_format_t format;
    std::string name;
    std::uint32_t bits_per_symbol;
    std::vector<std::complex<double>> points; ///< by symbol index
    double turn;                              ///< radians per symbol, counter-clockwise; symbol 0 is not turned
};

/// Formats, in the order of the enumeration.
/// Points: BPSK 1 at +1 and 0 at -1; QPSK 1, 0, 2, 3 at 45, 135, 225, 315 degrees; 8PSK index k at k * 45 degrees.
const std::vector<signal_format_info_t>& get_signal_formats();
const signal_format_info_t& get_signal_format(signal_format_t format);
/// @return null when no format has the name; case does not count
const signal_format_info_t* find_signal_format(const std::string& name);

/// Groups bits into symbol indices, the first bit the highest; a last incomplete group is dropped.
std::vector<std::uint32_t> bits_to_symbols(const std::vector<std::uint8_t>& bits, std::uint32_t bits_per_symbol);
/// Spreads symbol indices into bits, the highest first.
std::vector<std::uint8_t> symbols_to_bits(const std::vector<std::uint32_t>& symbols, std::uint32_t bits_per_symbol);
} // namespace dma_test
