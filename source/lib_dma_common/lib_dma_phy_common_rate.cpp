#include "lib_dma_common/lib_dma_phy_common.h"

#include "support/internal/complex_ops.h"
#include "support/internal/strided_copy.h"
#include "support/internal/vector_clones.h"
#include "support/trace_output.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace vrim::dma_demod_lib
{
using common_lib::complex_product;

namespace
{
constexpr std::size_t block_size = 8;
constexpr std::size_t exact_in_single = std::size_t(1) << 24;

DMA_COMPLEX_CLONES
void multiply_all(std::complex<float>* data, std::size_t count, std::complex<float> factor)
{
    for (std::size_t i = 0; i < count; ++i)
        data[i] = complex_product(data[i], factor);
}

/// The oscillator of both mixers: a phasor that is turned by one step a sample and never renormalised.
class phasor_recurrence_t
{
public:
    phasor_recurrence_t(double freq, float phase)
        : step_(common_lib::unit_phasor(static_cast<float>(2.0 * common_lib::pi * freq))), phasor_(common_lib::unit_phasor(phase))
    {
    }

    void mix(std::complex<float>* data, std::size_t count)
    {
        const std::size_t whole = count - count % block_size;
        if (step_ == std::complex<float>(1.0f, 0.0f))
        {
            // A step of exactly 1 leaves the phasor as it is, so the products are those of the loop below.
            multiply_all(data, whole, phasor_);
        }
        else
        {
            for (std::size_t i = 0; i < whole; i += block_size)
                mix_block(data + i);
        }
        // The tail runs one step ahead of the blocks and stops before the last sample. Results depend on both.
        for (std::size_t i = whole; i + 1 < count; ++i)
        {
            phasor_ = complex_product(step_, phasor_);
            data[i] = complex_product(data[i], phasor_);
        }
    }

private:
    void mix_block(std::complex<float>* data)
    {
        std::array<std::complex<float>, block_size> turns;
        turns[0] = phasor_;
        for (std::size_t m = 1; m < block_size; ++m)
            turns[m] = complex_product(turns[m - 1], step_);
        phasor_ = complex_product(turns[block_size - 1], step_);
        for (std::size_t m = 0; m < block_size; ++m)
            data[m] = complex_product(data[m], turns[m]);
    }

    std::complex<float> step_;
    std::complex<float> phasor_;
};

template <typename value_t>
void pick_samples(const std::vector<value_t>& data, float factor, std::uint32_t offset, std::vector<value_t>& out)
{
    if (data.empty())
    {
        common_log::print_trace_line("lib_dma_phy_common_t::downsample: Empty input data array!");
        return;
    }
    const float step = std::floor(factor);
    // A step below 1 would pick the same sample for ever.
    if (!(step >= 1.0f))
    {
        common_log::print_trace_line("lib_dma_phy_common_t::downsample: Error decimation paramter!");
        return;
    }
    const float size = static_cast<float>(data.size());
    if (data.size() <= exact_in_single)
    {
        // Every position is a whole number that single precision holds exactly.
        const std::size_t stride = step < size ? static_cast<std::size_t>(step) : data.size();
        const std::size_t count = offset < data.size() ? (data.size() - offset + stride - 1) / stride : 0;
        // Picking in place never overtakes itself.
        if (&out != &data)
            out.resize(count);
        common_lib::pick_strided(data.data() + offset, stride, count, out.data());
        out.resize(count);
        return;
    }
    std::vector<value_t> picked;
    picked.reserve(static_cast<std::size_t>(size / step) + 1);
    for (std::size_t i = 0;; ++i)
    {
        const float position = static_cast<float>(i) * step + static_cast<float>(offset);
        if (!(size > position))
            break;
        const std::size_t index = static_cast<std::size_t>(position);
        // Beyond 2^24 samples the size itself is rounded in single precision, perhaps upwards.
        if (index >= data.size())
            break;
        picked.push_back(data[index]);
    }
    out = std::move(picked);
}

/// @param stuff  0 for zeros, otherwise copies
template <typename value_t, typename gain_t>
void spread_samples(const std::vector<value_t>& data, upsample_type_t type, float factor, gain_t&& gain,
                    std::vector<value_t>& out)
{
    const float step = std::floor(factor);
    if (!(step > 1.0f))
    {
        out = data;
        return;
    }
    const std::size_t copies = static_cast<std::size_t>(step);
    std::vector<value_t> spread(data.size() * copies, value_t(0));
    for (std::size_t i = 0; i < data.size(); ++i)
    {
        const value_t value = gain(data[i]);
        const std::size_t filled = type == upsample_zeros ? 1 : copies;
        for (std::size_t k = 0; k < filled; ++k)
            spread[i * copies + k] = value;
    }
    out = std::move(spread);
}
} // namespace

void lib_dma_phy_common_t::deal_mixer1(complex_array& data, double freq, float phase)
{
    phasor_recurrence_t(freq, phase).mix(data.data(), data.size());
}

void lib_dma_phy_common_t::deal_mixer(const complex_array& data, double freq, complex_array& out, std::uint32_t start,
                                      std::uint32_t length, float phase)
{
    complex_array mixed(length);
    for (std::size_t i = 0; i < length && start + i < data.size(); ++i)
        mixed[i] = data[start + i];
    phasor_recurrence_t(freq, phase).mix(mixed.data(), mixed.size());
    out = std::move(mixed);
}

void lib_dma_phy_common_t::downsample(const complex_array& data, float factor, complex_array& out)
{
    pick_samples(data, factor, 0, out);
}

void lib_dma_phy_common_t::downsample(const float_array& data, float factor, float_array& out)
{
    pick_samples(data, factor, 0, out);
}

void lib_dma_phy_common_t::downsample1(const complex_array& data, float factor, std::uint32_t offset, complex_array& out)
{
    pick_samples(data, factor, offset, out);
}

void lib_dma_phy_common_t::downsample1(const float_array& data, float factor, std::uint32_t offset, float_array& out)
{
    pick_samples(data, factor, offset, out);
}

void lib_dma_phy_common_t::upsample(const complex_array& data, upsample_type_t type, float factor, complex_array& out)
{
    spread_samples(
        data, type, factor, [](std::complex<float> value) { return value; }, out);
}

void lib_dma_phy_common_t::upsample(const float_array& data, upsample_type_t type, float factor, float_array& out)
{
    spread_samples(
        data, type, factor, [](float value) { return value; }, out);
}

void lib_dma_phy_common_t::upsample1(const complex_array& data, upsample_type_t type, float factor, std::complex<float> gain,
                                     complex_array& out)
{
    spread_samples(
        data, type, factor, [gain](std::complex<float> value) { return complex_product(gain, value); }, out);
}

void lib_dma_phy_common_t::upsample1(const complex_array& data, upsample_type_t type, float factor, float gain,
                                     complex_array& out)
{
    spread_samples(
        data, type, factor, [gain](std::complex<float> value) { return gain * value; }, out);
}

void lib_dma_phy_common_t::upsample1(const float_array& data, upsample_type_t type, float factor, float gain, float_array& out)
{
    spread_samples(
        data, type, factor, [gain](float value) { return gain * value; }, out);
}

void lib_dma_phy_common_t::take_inner_symbols(const complex_array& data, std::uint32_t pre_num, std::uint32_t sps,
                                              complex_array& out)
{
    out.clear();
    const std::uint32_t size = static_cast<std::uint32_t>(data.size());
    const std::uint32_t length = size - 2 * pre_num; // wraps when the ends overlap, as the slice does
    const std::uint32_t stop = pre_num + length;
    const std::size_t first = pre_num >= size ? 0 : pre_num;
    const std::size_t last = pre_num >= size || stop > size || length > size ? size : stop;
    if (sps == 0)
        return;
    out.resize(last > first ? (last - first + sps - 1) / sps : 0);
    common_lib::pick_strided(data.data() + first, sps, out.size(), out.data());
}

void lib_dma_phy_common_t::gen_rectangular_filter(std::uint32_t span, std::uint32_t sps, complex_array& out)
{
    const std::size_t taps = static_cast<std::size_t>(span) * sps + 1;
    out.assign(taps, { 0.0f, 0.0f });
    const std::size_t before = (static_cast<std::size_t>(sps) + 1) / 2;
    const std::size_t first = taps / 2 - before;
    const float value = 1.0f / static_cast<float>(sps);
    for (std::size_t i = 0; i < sps; ++i)
        out.at(first + i) = { value, 0.0f };
}

void lib_dma_phy_common_t::deal_edge_filter(std::uint32_t sps, complex_array& filter)
{
    // The pulse is the product of four shifted copies of sin of the phase pulse of GMSK, length 4 symbols, index 0.5.
    constexpr double pulse_symbols = 4.0;
    constexpr double scale = 1.8849555921538759 / 0.8325546111576977; // 2 pi 0.3 over sqrt(ln 2), with BT 0.3
    // Tails at the start of the pulse, where erf is all but -1.
    constexpr double erf_far_start = -0.9999999848764346;
    constexpr double erf_near_start = -0.999316450212528;

    filter.clear();
    if (sps == 0)
        return;
    const double step = 1.0 / static_cast<double>(sps);
    const auto tail = [](double erf_value) { return static_cast<float>(0.5 * (1.0 - erf_value)); };
    const auto erf_at = [](double x) { return std::erf(x / std::sqrt(2.0)); };

    float_array phase;
    float accumulated = 0.0f;
    for (float t = 0.0f; static_cast<double>(t) < pulse_symbols + step; t = static_cast<float>(static_cast<double>(t) + step))
    {
        const bool start = t == 0.0f;
        const double time = static_cast<double>(t);
        const float far = tail(start ? erf_far_start : erf_at(scale * (time - 2.5)));
        const float near = tail(start ? erf_near_start : erf_at(scale * (time - 1.5)));
        accumulated = static_cast<float>(static_cast<double>(accumulated) +
                                         (static_cast<double>(far) - static_cast<double>(near)) * step / 2.0);
        phase.push_back(accumulated);
    }
    const auto phase_at = [&](double position)
    {
        const double index = std::floor(position);
        const std::size_t last = phase.size() - 1;
        return static_cast<double>(phase[index < 0.0 ? 0 : std::min(last, static_cast<std::size_t>(index))]);
    };

    const std::size_t needed = 8 * static_cast<std::size_t>(sps) + 1;
    float_array shaped;
    float t = 0.0f;
    while (static_cast<double>(t) < 2.0 * pulse_symbols + step || shaped.size() < needed)
    {
        const double time = static_cast<double>(t);
        const double position = static_cast<double>(sps) * time;
        if (time - pulse_symbols <= 1e-12)
            shaped.push_back(static_cast<float>(std::sin(common_lib::pi * phase_at(position))));
        else
            shaped.push_back(static_cast<float>(
                std::sin(common_lib::pi / 2.0 - common_lib::pi * phase_at(position - pulse_symbols * static_cast<double>(sps)))));
        t = static_cast<float>(time + step);
    }
    for (std::size_t i = 0; i <= 5 * static_cast<std::size_t>(sps); ++i)
        filter.emplace_back(shaped[i] * shaped[i + sps] * shaped[i + 2 * sps] * shaped[i + 3 * sps], 0.0f);
}

template <typename value_t>
std::vector<std::complex<value_t>> lib_dma_phy_common_t::deal_cyclic_shift(const std::vector<std::complex<value_t>>& data,
                                                                           std::int32_t shift)
{
    if (data.empty())
    {
        common_log::print_trace_line("lib_dma_phy_common_t::deal_cyclic_shift Report : Empty Vector!");
        return {};
    }
    const std::int64_t size = static_cast<std::int64_t>(data.size());
    if (std::abs(static_cast<std::int64_t>(shift)) > size)
        common_log::print_trace_line("lib_dma_phy_common_t::deal_cyclic_shift Report : Shift Offset Out of Range!");
    const std::int64_t right = ((static_cast<std::int64_t>(shift) % size) + size) % size;
    std::vector<std::complex<value_t>> turned(data.end() - right, data.end());
    turned.insert(turned.end(), data.begin(), data.end() - right);
    return turned;
}

template complex_array lib_dma_phy_common_t::deal_cyclic_shift<float>(const complex_array& data, std::int32_t shift);
} // namespace vrim::dma_demod_lib
