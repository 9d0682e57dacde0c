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
    qam16,
    qam32,
    qam64,
    qam128,
    qam256,
    qam512,
    qam1024,
    qam2048,
    qam4096,
    qam16_pi_4,       ///< 16QAM that turns by pi / 4 from symbol to symbol
    qam32_minus_pi_4, ///< 32QAM that turns by -pi / 4 from symbol to symbol
    ask2,
    ask4,
    ask8,
    ask16,
    apsk16,
    apsk32,
    dbpsk,
    dqpsk,
    dqpsk_pi_4, ///< DQPSK with pi / 4 more at each step
    d8psk_pi_8, ///< D8PSK with pi / 8 more at each step
    d8psk,
    fsk2,
    fsk4,
    fsk8,
    fsk16,
    fsk32,
    fsk64,
    msk,   ///< 2FSK of rectangular pulses, a quarter of the symbol rate to either side
    gmsk,  ///< MSK of Gaussian pulses
    oqpsk, ///< QPSK whose Q rail comes half a symbol later
};

/// What a symbol index stands for.
enum class signal_coding_t
{
    point,        ///< a point of the set
    phase_step,   ///< a turn from the symbol before, given as a point on the unit circle
    frequency,    ///< a share of the peak deviation, given as a real point
    offset_point, ///< a point whose Q part comes half a symbol behind its I part
};

/// What a format is: what each index stands for, points and steps at unit rms, and a fixed turn.
struct signal_format_info_t
{
    signal_format_t format;
    std::string name;
    std::uint32_t bits_per_symbol;
    std::vector<std::complex<double>> points; ///< by symbol index
    double turn;                              ///< radians per symbol, counter-clockwise; symbol 0 is not turned
    /// Turns that carry the transmitted points onto each other and stay unseen. Those of OQPSK keep its rails apart.
    std::uint32_t symmetry;
    signal_coding_t coding = signal_coding_t::point;
};

/// Usual ring ratios of APSK, to the radius of the inner ring.
constexpr double apsk16_r2_r1 = 2.85;
constexpr double apsk32_r2_r1 = 2.84;
constexpr double apsk32_r3_r1 = 5.27;

/// Formats, in the order of the enumeration.
/// Points: BPSK 1 at +1 and 0 at -1; QPSK 1, 0, 2, 3 at 45, 135, 225, 315 degrees; 8PSK index k at k * 45 degrees; QAM, ASK and
/// APSK (at its usual ring ratios) as in signal_points.h. Steps: DBPSK 1 none and 0 half a turn; DQPSK index k k * 90 degrees,
/// D8PSK k * 45 degrees. FSK: the lower half of the indices rises from the level -1, the upper half falls from 1, all in equal
/// steps. MSK and GMSK: 0 at -1, 1 at 1. OQPSK as QPSK.
const std::vector<signal_format_info_t>& get_signal_formats();
const signal_format_info_t& get_signal_format(signal_format_t format);
/// @return null when no format has the name; case does not count
const signal_format_info_t* find_signal_format(const std::string& name);

/// Radii of the outer rings over that of the inner one; 0 for a ring that a format does not have.
struct ring_ratios_t
{
    double r2_r1 = 0.0;
    double r3_r1 = 0.0;
};

/// The ratios that the format has when `wanted` is asked for: a wanted 0 stands for the usual ratio.
/// @throws std::invalid_argument unless the rings of the format are finite and rise
ring_ratios_t get_ring_ratios(signal_format_t format, const ring_ratios_t& wanted);
/// The format's points with ring ratios of one's own, as `get_ring_ratios` takes them.
std::vector<std::complex<double>> make_format_points(signal_format_t format, const ring_ratios_t& wanted);

/// Groups bits into symbol indices, the first bit the highest; a last incomplete group is dropped.
std::vector<std::uint32_t> bits_to_symbols(const std::vector<std::uint8_t>& bits, std::uint32_t bits_per_symbol);
/// Spreads symbol indices into bits, the highest first.
std::vector<std::uint8_t> symbols_to_bits(const std::vector<std::uint32_t>& symbols, std::uint32_t bits_per_symbol);
} // namespace dma_test
