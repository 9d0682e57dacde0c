#include "lib_dma_demod/lib_dma_fsk_demod.h"

#include "lib_dma_common/lib_dma_phy_common.h"
#include "support/log_macro.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <utility>
#include <vector>

namespace vrim::dma_demod_lib
{
namespace
{
/// The trajectory without its margins; overlapping margins give all of it, or all behind the first one.
float_array take_inner_part(const float_array& trajectory, std::uint32_t pre_num)
{
    float_array inner;
    lib_dma_phy_common_t::check_valid_data_size(trajectory, pre_num,
                                                static_cast<std::uint32_t>(trajectory.size()) - 2 * pre_num, inner);
    return inner;
}

/// Finite values in rising order, in a time that grows with their count alone: by eleven bits at a time from the lowest ones on.
void sort_rising(float_array& values)
{
    constexpr std::uint32_t sign = 0x80000000u;
    constexpr std::uint32_t digit_bits = 11;
    constexpr std::uint32_t digits = 1u << digit_bits;
    constexpr std::uint32_t passes = 3;
    // Words that rise with the values: a negative value's bits rise with its size.
    std::vector<std::uint32_t> words(values.size());
    std::vector<std::uint32_t> other(values.size());
    std::array<std::array<std::uint32_t, digits>, passes> places = {};
    for (std::size_t i = 0; i < values.size(); ++i)
    {
        const std::uint32_t bits = std::bit_cast<std::uint32_t>(values[i]);
        words[i] = (bits & sign) != 0 ? ~bits : bits | sign;
        for (std::uint32_t pass = 0; pass < passes; ++pass)
            ++places[pass][(words[i] >> (pass * digit_bits)) % digits];
    }
    for (std::uint32_t pass = 0; pass < passes; ++pass)
    {
        std::uint32_t before = 0;
        for (std::uint32_t& place : places[pass])
            before += std::exchange(place, before);
        for (const std::uint32_t word : words)
            other[places[pass][(word >> (pass * digit_bits)) % digits]++] = word;
        words.swap(other);
    }
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = std::bit_cast<float>((words[i] & sign) != 0 ? words[i] & ~sign : ~words[i]);
}

float sum_of(const float_array& values)
{
    float sum = 0.0f;
    for (const float value : values)
        sum += value;
    return sum;
}
} // namespace

bool lib_dma_fsk_demod_t::fsk_carrier_sync(float_array& freq_scratch, double& carrier, double& deviation, double& max_freq,
                                           double& min_freq, float_array& out_a, float_array& out_b)
{
    DMA_LOG_INFO("lib_dma_fsk_demod_t::fsk_carrier_sync start.\n");
    freq_scratch.clear();
    if (!freq_data.empty())
        lib_dma_phy_common_t::downsample(take_inner_part(freq_data, setting.pre_num), static_cast<float>(setting.sps),
                                         freq_scratch);
    out_a.clear();
    out_b.clear();
    float_array sorted = freq_scratch;
    // What is not a number has no place in an order.
    if (std::all_of(sorted.begin(), sorted.end(), [](float value) { return std::isfinite(value); }))
        sort_rising(sorted);
    else
        sorted.clear();
    if (!sorted.empty())
    {
        const std::int64_t tones = static_cast<std::int32_t>(fsk_format);
        const float step = (sorted.back() - sorted.front()) / static_cast<float>(tones - 1);
        const double high = static_cast<double>(sorted.back()) - static_cast<double>(step) * 0.5;
        const double low = static_cast<double>(sorted.front()) + static_cast<double>(step) * 0.5;
        for (const float value : sorted)
        {
            if (static_cast<double>(value) > high)
                out_a.push_back(value);
            else if (static_cast<double>(value) < low)
                out_b.push_back(value);
        }
    }
    const bool more_high = out_b.size() < out_a.size();
    float_array& joined = more_high ? out_a : out_b;
    const float_array& appended = more_high ? out_b : out_a;
    joined.insert(joined.end(), appended.begin(), appended.end());
    if (joined.empty())
        throw std::out_of_range("lib_dma_fsk_demod_t::fsk_carrier_sync: no symbol stands out");

    const float rate = static_cast<float>(setting.symbol_rate);
    const float sps = static_cast<float>(setting.sps);
    carrier = static_cast<double>(rate * (sum_of(joined) / static_cast<float>(joined.size())) * sps);
    deviation = static_cast<double>(setting.symbol_rate) * get_fsk_std(joined) * static_cast<double>(setting.sps);
    const auto [smallest, largest] = std::minmax_element(joined.begin(), joined.end());
    max_freq = static_cast<double>(rate * *largest * sps);
    min_freq = static_cast<double>(rate * *smallest * sps);
    return true;
}

double lib_dma_fsk_demod_t::get_fsk_std(const float_array& values)
{
    if (values.empty())
        throw std::out_of_range("lib_dma_fsk_demod_t::get_fsk_std: no values");
    const double count = static_cast<double>(values.size());
    double sum = 0.0;
    for (const float value : values)
        sum += static_cast<double>(value);
    const double mean = sum / count;
    double squares = 0.0;
    for (const float value : values)
        squares += (static_cast<double>(value) - mean) * (static_cast<double>(value) - mean);
    return std::sqrt(squares / count);
}
} // namespace vrim::dma_demod_lib
