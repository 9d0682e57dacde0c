#include "lib_dma_common/lib_dma_phy_common.h"

#include "support/internal/complex_ops.h"
#include "support/internal/qam_grid.h"
#include "support/lib_common_math.h"
#include "support/log_macro.h"
#include "support/trace_output.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <limits>
#include <utility>

namespace vrim::dma_demod_lib
{
namespace
{
constexpr std::size_t bits_per_byte = 8;

std::uint8_t get_hex_digit(char c)
{
    if (c >= '0' && c <= '9')
        return static_cast<std::uint8_t>(c - '0');
    if (c >= 'a' && c <= 'f')
        return static_cast<std::uint8_t>(c - 'a' + 10);
    if (c >= 'A' && c <= 'F')
        return static_cast<std::uint8_t>(c - 'A' + 10);
    common_log::trace_output_t::get_instance().write(std::string(1, c) + " is not hexadecimal character!\n");
    return 0;
}

/// Index of one of `sectors` equal sectors, counted upwards from the one around 0. A bound belongs to the sector below it;
/// what lies past the outermost bounds is the sector around half a turn.
std::uint32_t get_sector(float phase, std::int32_t sectors)
{
    const auto bound = [sectors](std::int32_t halves) { return static_cast<float>(halves * common_lib::pi / sectors); };
    const std::int32_t half = sectors / 2;
    for (std::int32_t k = 1 - half; k < half; ++k)
    {
        if (phase > bound(2 * k - 1) && phase <= bound(2 * k + 1))
            return static_cast<std::uint32_t>((k + sectors) % sectors);
    }
    return static_cast<std::uint32_t>(half);
}

std::uint32_t decide_half_turn(float phase)
{
    return get_sector(phase, 2) == 0 ? 1 : 0;
}

std::uint32_t decide_tone(float value, std::uint32_t tones)
{
    const std::uint32_t half = tones / 2;
    const auto bound = [tones](std::uint32_t k) { return static_cast<float>((tones - 2.0 - 2.0 * k) / (tones - 1.0)); };
    std::uint32_t k = 0;
    if (value <= 0.0f)
    {
        while (k + 1 < half && !(value <= -bound(k)))
            ++k;
        return k;
    }
    while (k + 1 < half && !(value >= bound(k)))
        ++k;
    return half + k;
}

/// Number of the nearest of `count` points on a ring, the first at angle `first`; a bound belongs to the point below it.
std::size_t get_ring_position(std::complex<float> point, std::size_t count, double first)
{
    const double phase = static_cast<double>(common_lib::lib_common_math_t::get_complex_phase(point));
    const double steps = (phase - first) * static_cast<double>(count) / common_lib::two_pi;
    if (!std::isfinite(steps))
        return 0;
    const std::int64_t size = static_cast<std::int64_t>(count);
    const std::int64_t nearest = static_cast<std::int64_t>(std::ceil(steps - 0.5));
    return static_cast<std::size_t>(((nearest % size) + size) % size);
}

/// The grid of a format, and the place of the point at rms 1 that is nearest to `point`.
common_lib::qam_place_t find_qam_place(std::complex<float> point, lib_dma_qam_modulation_type_t format,
                                       common_lib::qam_grid_t& grid)
{
    // The broadcast formats carry larger names but have no sets of their own here.
    if (static_cast<std::uint32_t>(format) >= LIB_DMA_DVB_QAM_16)
        DMA_LOG_ERROR("lib_dma_phy_common_t::qam_idx error!\n");
    common_lib::make_qam_grid(1u << lib_dma_phy_common_t::get_qm_from_modulation(format), grid);
    return common_lib::get_nearest_qam_place(grid, static_cast<double>(point.real()) / grid.unit,
                                             static_cast<double>(point.imag()) / grid.unit);
}
} // namespace

byte_array lib_dma_phy_common_t::int2array(std::uint32_t value, std::uint32_t length, std::uint8_t base, bool reverse)
{
    byte_array digits(length, 0);
    if (base <= 1)
    {
        const std::uint32_t divisor = base == 0 ? 2 : 10;
        for (std::uint8_t& digit : digits)
        {
            digit = static_cast<std::uint8_t>(value % divisor);
            value /= divisor;
        }
    }
    if (base != 0 || reverse)
        std::reverse(digits.begin(), digits.end());
    return digits;
}

float_array lib_dma_phy_common_t::bit_array2int(float_array& bits, std::uint32_t group, bool keep_order)
{
    if (!keep_order)
        std::reverse(bits.begin(), bits.end());
    float_array numbers;
    if (group == 0)
        return numbers;
    const std::size_t count = bits.size() / group;
    numbers.reserve(count);
    for (std::size_t k = 0; k < count; ++k)
    {
        double value = 0.0;
        for (std::size_t i = 0; i < group; ++i)
            value = std::trunc(2.0 * value + static_cast<double>(bits[k * group + i]));
        numbers.push_back(static_cast<float>(value));
    }
    return numbers;
}

std::uint32_t lib_dma_phy_common_t::hecstr2dec(const char* text, std::uint8_t* bytes)
{
    if (text == nullptr || bytes == nullptr)
        return 0;
    const std::size_t length = std::strlen(text);
    std::uint32_t count = 0;
    for (std::size_t i = 0; i < length; i += 2)
    {
        std::uint8_t value = get_hex_digit(text[i]);
        if (i + 1 < length)
            value = static_cast<std::uint8_t>(value << 4 | get_hex_digit(text[i + 1]));
        bytes[count++] = value;
    }
    return count;
}

void lib_dma_phy_common_t::dec2hexstr(const byte_array& bytes, std::string& text)
{
    constexpr char digits[] = "0123456789abcdef";
    text.reserve(text.size() + 2 * bytes.size());
    for (const std::uint8_t value : bytes)
    {
        text += digits[value >> 4];
        text += digits[value & 15];
    }
}

void lib_dma_phy_common_t::convertbytes2bitarr(const std::uint8_t* bytes, std::uint32_t count, bool msb_first, byte_array& bits)
{
    if (bytes == nullptr || count == 0)
        return;
    for (std::size_t i = 0; i < count; ++i)
    {
        for (std::size_t k = 0; k < bits_per_byte; ++k)
        {
            const std::size_t shift = msb_first ? bits_per_byte - 1 - k : k;
            bits.at(i * bits_per_byte + k) = static_cast<std::uint8_t>((bytes[i] >> shift) & 1);
        }
    }
}

void lib_dma_phy_common_t::convertbits2bytearr(byte_array& bits, std::uint32_t count, bool msb_first, byte_array& bytes)
{
    if (bits.empty())
        return;
    bits.resize(bits_per_byte * count, 0);
    bytes.assign(count, 0);
    for (std::size_t i = 0; i < count; ++i)
    {
        for (std::size_t k = 0; k < bits_per_byte; ++k)
        {
            const std::size_t shift = msb_first ? bits_per_byte - 1 - k : k;
            const std::uint32_t bit = bits[i * bits_per_byte + k] != 0 ? 1 : 0;
            bytes[i] = static_cast<std::uint8_t>(bytes[i] | bit << shift);
        }
    }
}

void lib_dma_phy_common_t::hexstr2bitarr(std::string text, bool msb_first, byte_array& bits)
{
    const std::size_t even_length = text.size() + text.size() % 2;
    bits.assign(4 * even_length, 0);
    byte_array bytes(even_length / 2, 0);
    const std::uint32_t count = hecstr2dec(text.c_str(), bytes.data());
    convertbytes2bitarr(bytes.data(), count, msb_first, bits);
}

void lib_dma_phy_common_t::bitarr2hexstr(byte_array& bits, bool msb_first, std::string& text)
{
    text.clear();
    if (bits.empty())
        return;
    const std::size_t count = (bits.size() + bits_per_byte - 1) / bits_per_byte;
    byte_array bytes;
    convertbits2bytearr(bits, static_cast<std::uint32_t>(count), msb_first, bytes);
    dec2hexstr(bytes, text);
}

std::uint32_t lib_dma_phy_common_t::get_qm_from_modulation(lib_dma_qam_modulation_type_t format)
{
    constexpr std::uint32_t bits[] = { 4, 5, 6, 7, 8, 9, 10, 11, 12, 4, 5 };
    const std::uint32_t value = static_cast<std::uint32_t>(format);
    return value < std::size(bits) ? bits[value] : 4;
}

std::uint32_t lib_dma_phy_common_t::get_ask_order_from_modulation(lib_dma_ask_modulation_type_t format)
{
    switch (format)
    {
    case LIB_DMA_ASK_4:
        return 2;
    case LIB_DMA_ASK_8:
        return 3;
    case LIB_DMA_ASK_16:
        return 4;
    default:
        return 1;
    }
}

std::uint32_t lib_dma_phy_common_t::get_fsk_order_from_modulation(lib_dma_fsk_modulation_type_t format)
{
    switch (format)
    {
    case LIB_DMA_FSK_4:
        return 2;
    case LIB_DMA_FSK_8:
        return 3;
    case LIB_DMA_FSK_16:
        return 4;
    default: // with 32 and 64 tones
        return 1;
    }
}

std::uint32_t lib_dma_phy_common_t::get_psk_order_from_modulation(lib_dma_psk_modulation_type_t format)
{
    switch (format)
    {
    case LIB_DMA_MODULATION_PSK_QPSK:
    case LIB_DMA_MODULATION_PSK_3PI_4_QPSK:
        return 2;
    case LIB_DMA_MODULATION_PSK_8_PSK:
    case LIB_DMA_MODULATION_PSK_3PI_8_PSK:
        return 3;
    default:
        return 1;
    }
}

std::uint32_t lib_dma_phy_common_t::get_apsk_order_from_modulation(lib_dma_apsk_modulation_type_t format)
{
    return format == LIB_DMA_APSK_32 ? 5 : 4;
}

std::uint32_t lib_dma_phy_common_t::get_dpsk_order_from_modulation(lib_dma_dpsk_modulation_type_t format)
{
    switch (format)
    {
    case LIB_DMA_MODULATION_PSK_DQPSK:
    case LIB_DMA_MODULATION_PSK_PI_4_DQPSK:
        return 2;
    case LIB_DMA_MODULATION_PSK_PI_8_D8PSK:
    case LIB_DMA_MODULATION_PSK_D8PSK:
        return 3;
    default:
        return 1;
    }
}

std::complex<float> lib_dma_phy_common_t::get_symbol_decision_result(const constellation_map& map, std::complex<float> point)
{
    if (map.empty())
        return { 0.0f, 0.0f };
    std::complex<float> decision = map.at(0);
    double smallest = std::numeric_limits<double>::max();
    for (const auto& [key, candidate] : map)
    {
        const double dr = static_cast<double>(candidate.real()) - static_cast<double>(point.real());
        const double di = static_cast<double>(candidate.imag()) - static_cast<double>(point.imag());
        const double distance = dr * dr + di * di;
        if (distance < smallest)
        {
            smallest = distance;
            decision = candidate;
        }
    }
    return decision;
}

std::uint32_t lib_dma_phy_common_t::get_symbol_index_decision_result(const constellation_map& map, std::complex<float> point)
{
    std::uint32_t decision = 0;
    float smallest = std::numeric_limits<float>::max();
    for (const auto& [key, candidate] : map)
    {
        const float dr = candidate.real() - point.real();
        const float di = candidate.imag() - point.imag();
        const float distance = dr * dr + di * di;
        if (distance < smallest)
        {
            smallest = distance;
            decision = key;
        }
    }
    return decision;
}

std::uint32_t lib_dma_phy_common_t::psk_demod_bit(std::complex<float> point, lib_dma_psk_modulation_type_t format, float rotation)
{
    constexpr std::uint32_t quadrant_index[] = { 1, 0, 2, 3 };
    const std::complex<float> turned = common_lib::complex_product(point, common_lib::unit_phasor(-rotation));
    const float phase = common_lib::lib_common_math_t::get_complex_phase(turned);
    switch (format)
    {
    case LIB_DMA_MODULATION_PSK_BPSK:
        break;
    case LIB_DMA_MODULATION_PSK_QPSK:
    case LIB_DMA_MODULATION_PSK_3PI_4_QPSK:
        return quadrant_index[get_sector(phase, 4)];
    case LIB_DMA_MODULATION_PSK_8_PSK:
    case LIB_DMA_MODULATION_PSK_3PI_8_PSK:
        return get_sector(phase, 8);
    default:
        DMA_LOG_ERROR("psk_demod_bit: modulation_type is not psk!,will reset psk_bpsk.\n");
        break;
    }
    return decide_half_turn(phase);
}

std::uint32_t lib_dma_phy_common_t::dpsk_demod_bit(float phase, lib_dma_dpsk_modulation_type_t format)
{
    switch (format)
    {
    case LIB_DMA_MODULATION_PSK_DBPSK:
        break;
    case LIB_DMA_MODULATION_PSK_DQPSK:
        return get_sector(phase, 4);
    case LIB_DMA_MODULATION_PSK_D8PSK:
        return get_sector(phase, 8);
    default:
        // The shifted formats have no sectors of their own here.
        DMA_LOG_ERROR("dpsk_demod_bit: modulation_type is not dpsk!,will reset dpsk_dbpsk.\n");
        break;
    }
    return decide_half_turn(phase);
}

std::uint32_t lib_dma_phy_common_t::fsk_demod_bit(float value, lib_dma_fsk_modulation_type_t format)
{
    switch (format)
    {
    case LIB_DMA_FSK_2:
        break;
    case LIB_DMA_FSK_4:
    case LIB_DMA_FSK_8:
    case LIB_DMA_FSK_16:
        return decide_tone(value, static_cast<std::uint32_t>(format));
    default: // with 32 and 64 tones
        DMA_LOG_ERROR("fsk_demod_bit: modulation_type is not fsk!,will reset fsk_2.\n");
        break;
    }
    return decide_tone(value, 2);
}

std::uint32_t lib_dma_phy_common_t::ask_demod_bit(std::complex<float> point, lib_dma_ask_modulation_type_t format)
{
    // 1 over the rms of the levels 0, 1 and of 1 ... M.
    constexpr float scale_2 = 1.4142135f;
    constexpr float scale_4 = 0.36514837f;
    constexpr float scale_8 = 0.19802951f;
    constexpr float scale_16 = 0.10341754f;

    float_array levels;
    switch (format)
    {
    case LIB_DMA_ASK_4:
        levels = gen_target_array(1.0f, 1.0f, 4.0f, scale_4);
        break;
    case LIB_DMA_ASK_8:
        levels = gen_target_array(1.0f, 1.0f, 8.0f, scale_8);
        break;
    case LIB_DMA_ASK_16:
        levels = gen_target_array(1.0f, 1.0f, 16.0f, scale_16);
        break;
    default:
        if (format != LIB_DMA_ASK_2)
            DMA_LOG_ERROR("ask_demod_bit: modulation_type is not ask!,will reset ask_2.\n");
        levels = gen_target_array(0.0f, 1.0f, 1.0f, scale_2);
        break;
    }

    const float amplitude = common_lib::lib_common_math_t::get_complex_amplitude(point);
    std::uint32_t nearest = 0;
    float smallest = std::numeric_limits<float>::max();
    for (std::size_t i = 0; i < levels.size(); ++i)
    {
        const float difference = std::abs(levels[i] - amplitude);
        if (difference < smallest)
        {
            smallest = difference;
            nearest = static_cast<std::uint32_t>(i);
        }
    }
    return nearest;
}

std::uint32_t lib_dma_phy_common_t::qam_demod_bit(std::complex<float> point, lib_dma_qam_modulation_type_t format)
{
    common_lib::qam_grid_t grid;
    const common_lib::qam_place_t place = find_qam_place(point, format, grid);
    return common_lib::get_qam_key(grid, place);
}

std::uint32_t lib_dma_phy_common_t::qam_idx(std::complex<float> point, lib_dma_qam_modulation_type_t format)
{
    common_lib::qam_grid_t grid;
    const common_lib::qam_place_t place = find_qam_place(point, format, grid);
    const std::int32_t column = (place.x + grid.side - 1) / 2;
    const std::int32_t row = (place.y + grid.side - 1) / 2;
    return static_cast<std::uint32_t>(row * grid.side + column);
}

std::uint32_t lib_dma_phy_common_t::apsk_demod_bit(std::complex<float> point, lib_dma_apsk_modulation_type_t format, float r2,
                                                   float r3)
{
    std::vector<std::uint32_t> ring1;
    std::vector<std::uint32_t> ring2;
    std::vector<std::uint32_t> ring3;
    if (format == LIB_DMA_APSK_16)
        get_16apsk_symbol_arr(ring1, ring2, false);
    else if (format == LIB_DMA_APSK_32)
        get_32apsk_symbol_arr(ring1, ring2, ring3, false);
    else
    {
        DMA_LOG_ERROR("apsk_demod_bit: modulation_type is not apsk!!!\n");
        return 0;
    }

    const float radius = common_lib::lib_common_math_t::get_complex_amplitude(point);
    if (!ring3.empty() && radius > 0.5f * (r2 + r3))
        return ring3[get_ring_position(point, ring3.size(), common_lib::pi / 8.0)];
    if (radius > 0.5f * (1.0f + r2))
        return ring2[get_ring_position(point, ring2.size(), common_lib::pi / 4.0)];
    return ring1[get_ring_position(point, ring1.size(), common_lib::pi / 4.0)];
}

float lib_dma_phy_common_t::qam_get_max_mag(lib_dma_qam_modulation_type_t format)
{
    const float grid_unit = qam_get_norm_param(format).grid_unit;
    // Corner of the square around the set, in grid units; the set of 4096 points has the constant of 1024 points.
    switch (format)
    {
    case LIB_DMA_QAM_32:
        return grid_unit * 7.071068f;
    case LIB_DMA_QAM_64:
        return grid_unit * 9.899495f;
    case LIB_DMA_QAM_128:
        return grid_unit * 15.556349f;
    case LIB_DMA_QAM_256:
        return grid_unit * 21.213203f;
    case LIB_DMA_QAM_512:
        return grid_unit * 32.526913f;
    case LIB_DMA_QAM_1024:
    case LIB_DMA_QAM_4096:
        return grid_unit * 43.840622f;
    default:
        return grid_unit * 4.2426405f;
    }
}

void lib_dma_phy_common_t::get_iq_data(const complex_array& data, float_array& i_part, float_array& q_part)
{
    i_part.clear();
    q_part.clear();
    i_part.reserve(data.size());
    q_part.reserve(data.size());
    for (const std::complex<float>& sample : data)
    {
        i_part.push_back(sample.real());
        q_part.push_back(sample.imag());
    }
}

void lib_dma_phy_common_t::complex_to_float_arr(const complex_array& data, float_array& out)
{
    out.clear();
    out.reserve(data.size());
    for (const std::complex<float>& sample : data)
        out.push_back(sample.real());
}

void lib_dma_phy_common_t::float_to_complex_arr(float_array values, complex_array& out)
{
    out.resize(values.size());
    for (std::size_t i = 0; i < values.size(); ++i)
        out[i] = { values[i], 0.0f };
}

float lib_dma_phy_common_t::get_float_array_rms(const float_array& values)
{
    if (values.empty())
    {
        common_log::print_trace_line("lib_common_math_t::get_float_array_rms Report: Empty data array to rms calculation!");
        return 0.0f;
    }
    float sum = 0.0f;
    for (const float value : values)
        sum += value * value;
    const float mean = sum / static_cast<float>(values.size());
    return static_cast<float>(std::sqrt(static_cast<double>(mean)));
}

void lib_dma_phy_common_t::get_float_array_amplitude(const float_array& values, float_array& out)
{
    float_array amplitudes(values.size());
    std::transform(values.begin(), values.end(), amplitudes.begin(), [](float value) { return std::abs(value); });
    out = std::move(amplitudes);
}
} // namespace vrim::dma_demod_lib
