#include "lib_dma_demod/stage/sync_window.h"

#include "support/internal/finite_values.h"
#include "support/lib_common_math.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace vrim::dma_demod_lib::demod_stage
{
using common_lib::lib_common_math_t;

namespace
{
constexpr float no_level = 1e-12f;

/// The slice, in place. @param start, length  32-bit; what runs over is cut, a start past the end keeps everything
template <typename value_t>
void keep_slice(std::vector<value_t>& data, std::uint32_t start, std::uint32_t length)
{
    const std::uint32_t size = static_cast<std::uint32_t>(data.size());
    if (start >= size)
        return;
    const std::uint32_t stop = start + length; // wraps like the slice of `check_valid_data_size`
    if (stop <= size && length <= size)
        data.resize(stop);
    data.erase(data.begin(), data.begin() + start);
}

template <typename value_t>
void keep_first(std::vector<value_t>& data, std::size_t length)
{
    data.resize(std::min(length, data.size()));
}

/// Patterns as numbers, one a symbol.
std::vector<std::uint32_t> join_bits(const bit_array& pattern, std::uint32_t bits_per_symbol)
{
    std::vector<std::uint32_t> symbols(pattern.size() / bits_per_symbol, 0);
    for (std::size_t i = 0; i < symbols.size() * bits_per_symbol; ++i)
    {
        std::uint32_t& symbol = symbols[i / bits_per_symbol];
        symbol = symbol * 2 + pattern[i];
    }
    return symbols;
}

/// Decoded symbols of a window that a sync word has placed. @param stop  one past the window's last symbol
void cut_decoded(const window_t& window, std::int64_t offset, std::int64_t stop, window_cut_t& cut,
                 std::vector<std::uint32_t>& decoded)
{
    const std::int64_t size = static_cast<std::int64_t>(decoded.size());
    const std::int64_t index = static_cast<std::int64_t>(window.sync_symbol_index);
    const std::int64_t first = index - offset;
    const bool starts_in_front = index + offset < 0; // of the data: the window has been held at their start
    cut.decoded_cut = false;
    cut.offset_rejected = true;
    if (starts_in_front || first < 0 || stop - offset < 0 || stop - offset > size)
    {
        keep_slice(decoded, window.sync_symbol_index, static_cast<std::uint32_t>(stop - index));
    }
    else if (first >= size)
    {
        keep_slice(decoded, 0, static_cast<std::uint32_t>(stop));
    }
    else
    {
        cut.decoded_cut = true;
        cut.offset_rejected = false;
        keep_slice(decoded, static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(stop - first));
    }
}

/// The same when the data end before the window: everything from the word on.
void cut_decoded_tail(const window_t& window, std::int64_t offset, window_cut_t& cut, std::vector<std::uint32_t>& decoded)
{
    const std::int64_t first = static_cast<std::int64_t>(window.sync_symbol_index) - offset;
    const auto keep_from = [&decoded](std::int64_t position)
    { keep_slice(decoded, static_cast<std::uint32_t>(position), static_cast<std::uint32_t>(decoded.size())); };
    const bool starts_in_front = static_cast<std::int64_t>(window.sync_symbol_index) + offset < 0;
    cut.decoded_cut = false;
    cut.offset_rejected = true;
    if (starts_in_front || first < 0)
    {
        keep_from(window.sync_symbol_index);
    }
    else if (first < static_cast<std::int64_t>(decoded.size()))
    {
        cut.decoded_cut = true;
        cut.offset_rejected = false;
        keep_from(first);
    }
}

/// An offset that is no number, which a host can set, counts as none.
float mend_offset(float sync_offset)
{
    return std::isfinite(sync_offset) ? sync_offset : 0.0f;
}

complex_array take_symbols(const complex_array& data, std::uint32_t points_per_symbol)
{
    complex_array symbols;
    lib_dma_phy_common_t::downsample(data, static_cast<float>(points_per_symbol), symbols);
    return symbols;
}
} // namespace

void fit_sync_pattern(std::uint32_t bits_per_symbol, bit_array& pattern)
{
    if (!pattern.empty() && pattern.size() < bits_per_symbol)
        pattern.resize(bits_per_symbol, 0);
    else
        pattern.resize(pattern.size() / bits_per_symbol * bits_per_symbol);
}

std::int64_t find_sync_pattern(const std::vector<std::uint32_t>& indices, const bit_array& pattern, std::uint32_t bits_per_symbol)
{
    const std::vector<std::uint32_t> word = join_bits(pattern, bits_per_symbol);
    if (word.empty())
        return 0;
    if (word.size() > indices.size())
        return -1;
    const std::uint32_t mask = bits_per_symbol >= 32 ? ~0u : (1u << bits_per_symbol) - 1u;

    // Knuth, Morris, Pratt: a pattern of equal symbols in data of equal symbols costs no more than any other.
    std::vector<std::size_t> fallback(word.size(), 0);
    for (std::size_t i = 1, matched = 0; i < word.size(); ++i)
    {
        while (matched > 0 && word[i] != word[matched])
            matched = fallback[matched - 1];
        if (word[i] == word[matched])
            ++matched;
        fallback[i] = matched;
    }
    std::size_t matched = 0;
    for (std::size_t i = 0; i < indices.size(); ++i)
    {
        const std::uint32_t symbol = indices[i] & mask;
        while (matched > 0 && symbol != word[matched])
            matched = fallback[matched - 1];
        if (symbol == word[matched])
            ++matched;
        if (matched == word.size())
            return static_cast<std::int64_t>(i + 1 - word.size()) * static_cast<std::int64_t>(bits_per_symbol);
    }
    return -1;
}

std::uint32_t cal_window_start(std::uint32_t bit_position, std::uint32_t bits_per_symbol, float sync_offset,
                               std::uint32_t points_per_symbol)
{
    // Positions are whole; beyond 2^24 bits single precision would miss them.
    const double moved = static_cast<double>(std::floor(static_cast<float>(bits_per_symbol) * mend_offset(sync_offset)));
    const double bits = std::max(0.0, moved + static_cast<double>(bit_position));
    const float symbols = std::round(static_cast<float>(bits / static_cast<double>(bits_per_symbol)));
    return static_cast<std::uint32_t>(static_cast<double>(points_per_symbol) * static_cast<double>(symbols));
}

std::uint32_t cal_window_data_start(std::uint32_t data_start, std::uint32_t window_start, std::uint64_t symbol_rate,
                                    std::uint64_t sample_rate, std::uint32_t sps)
{
    const std::uint64_t divisor = std::gcd(symbol_rate, sample_rate);
    const double numerator = symbol_rate == 0 ? 1.0 : static_cast<double>(sample_rate / divisor);
    const double denominator = divisor == 0 ? 0.0 : static_cast<double>(symbol_rate / divisor) * static_cast<double>(sps);
    const double position =
        static_cast<double>(data_start) + std::round(numerator * static_cast<double>(window_start) / denominator);
    constexpr double largest = 4294967295.0;
    return position >= 0.0 && position <= largest ? static_cast<std::uint32_t>(position) : data_start;
}

window_cut_t deal_window_cut(const window_t& window, float sync_offset, complex_array& meas, complex_array& ref,
                             std::vector<std::uint32_t>& decoded)
{
    window_cut_t cut;
    const std::uint32_t window_end = window.interval + window.start;
    const std::int64_t stop = window_end / window.points_per_symbol;
    const std::int64_t offset = static_cast<std::int64_t>(std::floor(mend_offset(sync_offset)));
    cut.too_short = window_end > ref.size();
    if (!cut.too_short)
    {
        if (window.sync_found)
            cut_decoded(window, offset, stop, cut, decoded);
        else
            keep_slice(decoded, window.sync_symbol_index,
                       static_cast<std::uint32_t>(stop - static_cast<std::int64_t>(window.sync_symbol_index)));
        keep_slice(ref, window.start, window.interval);
        keep_slice(meas, window.start, window.interval);
        return cut;
    }
    keep_first(ref, window.interval);
    keep_first(meas, window.interval);
    if (window.sync_found)
        cut_decoded_tail(window, offset, cut, decoded);
    else
        keep_slice(decoded, window.sync_symbol_index, static_cast<std::uint32_t>(decoded.size()));
    return cut;
}

window_scale_t deal_window_scale(std::uint32_t points_per_symbol, complex_array& meas, complex_array& ref, float& level)
{
    complex_array ref_symbols = take_symbols(ref, points_per_symbol);
    level = lib_common_math_t::get_data_max_amplitude(ref_symbols);
    if (!(level >= no_level))
        return window_scale_t::no_reference;
    common_lib::divide_finite(level, ref);
    common_lib::divide_finite(level, ref_symbols);
    const float wanted = lib_common_math_t::get_complex_array_rms(ref_symbols);
    level = lib_common_math_t::get_complex_array_rms(take_symbols(meas, points_per_symbol));
    if (!(level >= no_level) || !std::isfinite(level)) // an equalizer that has diverged
        return window_scale_t::no_measurement;
    common_lib::scale_finite(wanted / level, meas);
    return window_scale_t::done;
}
} // namespace vrim::dma_demod_lib::demod_stage
