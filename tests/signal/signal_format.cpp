#include "signal_format.h"

#include "signal_points.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <numbers>
#include <stdexcept>
#include <utility>

namespace dma_test
{
namespace
{
constexpr double pi = std::numbers::pi;

/// @param bits  of the points; those of a symbol for all formats here
signal_format_info_t make_qam(signal_format_t format, const std::string& name, std::uint32_t bits, double turn = 0.0)
{
    return { format, name, bits, make_qam_points(bits), turn, 4 };
}

signal_format_info_t make_ask(signal_format_t format, const std::string& name, std::uint32_t bits)
{
    // The carrier stands still in the signal, so that no turn is unseen.
    return { format, name, bits, make_ask_points(1U << bits), 0.0, 1 };
}

signal_format_info_t make_dpsk(signal_format_t format, const std::string& name, std::uint32_t bits, point_set_t steps,
                               double turn = 0.0)
{
    return { format, name, bits, std::move(steps), turn, 1, signal_coding_t::phase_step };
}

signal_format_info_t make_frequency(signal_format_t format, const std::string& name, std::uint32_t bits)
{
    return { format, name, bits, make_tone_levels(1U << bits), 0.0, 1, signal_coding_t::frequency };
}

std::vector<signal_format_info_t> make_formats()
{
    const point_set_t two = { { -1.0, 0.0 }, { 1.0, 0.0 } };
    const point_set_t diagonal = make_circle_points({ 135.0, 45.0, 225.0, 315.0 });
    const point_set_t quarters = make_circle_points({ 0.0, 90.0, 180.0, 270.0 });
    const point_set_t eighths = make_circle_points({ 0.0, 45.0, 90.0, 135.0, 180.0, 225.0, 270.0, 315.0 });
    return {
        { signal_format_t::bpsk, "BPSK", 1, two, 0.0, 2 },
        { signal_format_t::qpsk, "QPSK", 2, diagonal, 0.0, 4 },
        { signal_format_t::psk8, "8PSK", 3, eighths, 0.0, 8 },
        { signal_format_t::qpsk_3pi_4, "3PI/4-QPSK", 2, diagonal, 3.0 * pi / 4.0, 4 },
        { signal_format_t::psk8_3pi_8, "3PI/8-8PSK", 3, eighths, 3.0 * pi / 8.0, 8 },
        make_qam(signal_format_t::qam16, "16QAM", 4),
        make_qam(signal_format_t::qam32, "32QAM", 5),
        make_qam(signal_format_t::qam64, "64QAM", 6),
        make_qam(signal_format_t::qam128, "128QAM", 7),
        make_qam(signal_format_t::qam256, "256QAM", 8),
        make_qam(signal_format_t::qam512, "512QAM", 9),
        make_qam(signal_format_t::qam1024, "1024QAM", 10),
        make_qam(signal_format_t::qam2048, "2048QAM", 11),
        make_qam(signal_format_t::qam4096, "4096QAM", 12),
        make_qam(signal_format_t::qam16_pi_4, "PI/4-16QAM", 4, pi / 4.0),
        make_qam(signal_format_t::qam32_minus_pi_4, "MINUS-PI/4-32QAM", 5, -pi / 4.0),
        make_ask(signal_format_t::ask2, "2ASK", 1),
        make_ask(signal_format_t::ask4, "4ASK", 2),
        make_ask(signal_format_t::ask8, "8ASK", 3),
        make_ask(signal_format_t::ask16, "16ASK", 4),
        { signal_format_t::apsk16, "16APSK", 4, make_16apsk_points(apsk16_r2_r1), 0.0, 4 },
        { signal_format_t::apsk32, "32APSK", 5, make_32apsk_points(apsk32_r2_r1, apsk32_r3_r1), 0.0, 4 },
        make_dpsk(signal_format_t::dbpsk, "DBPSK", 1, two),
        make_dpsk(signal_format_t::dqpsk, "DQPSK", 2, quarters),
        make_dpsk(signal_format_t::dqpsk_pi_4, "PI/4-DQPSK", 2, quarters, pi / 4.0),
        make_dpsk(signal_format_t::d8psk_pi_8, "PI/8-D8PSK", 3, eighths, pi / 8.0),
        make_dpsk(signal_format_t::d8psk, "D8PSK", 3, eighths),
        make_frequency(signal_format_t::fsk2, "2FSK", 1),
        make_frequency(signal_format_t::fsk4, "4FSK", 2),
        make_frequency(signal_format_t::fsk8, "8FSK", 3),
        make_frequency(signal_format_t::fsk16, "16FSK", 4),
        make_frequency(signal_format_t::fsk32, "32FSK", 5),
        make_frequency(signal_format_t::fsk64, "64FSK", 6),
        make_frequency(signal_format_t::msk, "MSK", 1),
        make_frequency(signal_format_t::gmsk, "GMSK", 1),
        { signal_format_t::oqpsk, "OQPSK", 2, diagonal, 0.0, 2, signal_coding_t::offset_point },
    };
}

/// 0 means the usual ratio. @param inner  the next ring inwards
double check_ring(double ratio, double usual, double inner)
{
    const double radius = ratio == 0.0 ? usual : ratio;
    if (!std::isfinite(radius) || radius <= inner)
    {
        throw std::invalid_argument("the rings must rise: 1 < r2/r1 < r3/r1");
    }
    return radius;
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

ring_ratios_t get_ring_ratios(signal_format_t format, const ring_ratios_t& wanted)
{
    if (format == signal_format_t::apsk16)
    {
        return { check_ring(wanted.r2_r1, apsk16_r2_r1, 1.0), 0.0 };
    }
    if (format == signal_format_t::apsk32)
    {
        const double middle = check_ring(wanted.r2_r1, apsk32_r2_r1, 1.0);
        return { middle, check_ring(wanted.r3_r1, apsk32_r3_r1, middle) };
    }
    return {};
}

std::vector<std::complex<double>> make_format_points(signal_format_t format, const ring_ratios_t& wanted)
{
    const ring_ratios_t rings = get_ring_ratios(format, wanted);
    if (format == signal_format_t::apsk16)
    {
        return make_16apsk_points(rings.r2_r1);
    }
    if (format == signal_format_t::apsk32)
    {
        return make_32apsk_points(rings.r2_r1, rings.r3_r1);
    }
    return get_signal_format(format).points;
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
