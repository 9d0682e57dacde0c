#include "lib_dma_demod/stage/reference.h"

#include "lib_dma_common/lib_dma_phy_common.h"
#include "lib_dma_common/lib_resample.h"
#include "lib_dma_demod/stage/meas_filter.h"
#include "support/internal/complex_ops.h"
#include "support/lib_common_math.h"
#include "support/lib_convolution.h"

#include <algorithm>

namespace vrim::dma_demod_lib::demod_stage
{
using common_lib::lib_common_math_t;

namespace
{
// Reference filters by number; 6 has no enumerator of its own.
constexpr std::uint32_t ref_edge_filter = 6;
constexpr float no_signal = 1e-12f;
} // namespace

void deal_pulse_upsampling(lib_dma_ref_filter_type_t type, const complex_array& symbols, std::uint32_t sps, complex_array& ref)
{
    const float ratio = static_cast<float>(sps);
    if (type == LIB_DMA_REF_GAUSSIAN_FILTER)
        lib_dma_phy_common_t::upsample1(symbols, upsample_hold, ratio, 1.0f, ref);
    else
        lib_dma_phy_common_t::upsample1(symbols, upsample_zeros, ratio, ratio, ref);
}

std::uint32_t cal_reference_delay(lib_dma_ref_filter_type_t type, std::uint32_t filter_length, std::uint32_t sps)
{
    switch (type)
    {
    case LIB_DMA_REF_HALF_SINE_FILTER:
        return sps / 2;
    case LIB_DMA_REF_NONE_FILTER:
        return sps * filter_length / 2; // where the unit tap stands
    default:
        return (filter_length * sps + 1) / 2;
    }
}

bool generate_pulse_taps(lib_dma_ref_filter_type_t type, std::uint32_t filter_length, float alpha, std::uint32_t sps,
                         common_lib::lib_filter_t& filter, complex_array& taps)
{
    filter.set_filter_length(filter_length);
    filter.set_filter_alpha(static_cast<double>(alpha));
    filter.set_oversampling_ratio(sps);
    taps.clear();
    switch (static_cast<std::uint32_t>(type))
    {
    case LIB_DMA_REF_NONE_FILTER:
        // A unit impulse, so that every filter takes the same way.
        filter.set_filter_type(common_lib::filter_identity);
        taps.assign(static_cast<std::size_t>(sps) * filter_length, { 0.0f, 0.0f });
        if (!taps.empty())
            taps[taps.size() / 2] = { 1.0f, 0.0f };
        break;
    case LIB_DMA_REF_RAISED_COSINE_FILTER:
    case LIB_DMA_REF_ROOT_RAISED_COSINE_FILTER:
        filter.set_filter_type(type == LIB_DMA_REF_RAISED_COSINE_FILTER ? common_lib::filter_raised_cosine
                                                                        : common_lib::filter_root_raised_cosine);
        if (!filter.generate_filter_data(taps))
            return false;
        scale_to_unit_gain(sps, taps);
        break;
    case LIB_DMA_REF_RECTANGULAR_FILTER:
        lib_dma_phy_common_t::gen_rectangular_filter(filter_length, sps, taps);
        break;
    case ref_edge_filter:
        lib_dma_phy_common_t::deal_edge_filter(sps, taps);
        break;
    case LIB_DMA_REF_GAUSSIAN_FILTER:
    case LIB_DMA_REF_HALF_SINE_FILTER:
    default:
        filter.set_filter_type(type == LIB_DMA_REF_GAUSSIAN_FILTER    ? common_lib::filter_gaussian
                               : type == LIB_DMA_REF_HALF_SINE_FILTER ? common_lib::filter_half_sine
                                                                      : common_lib::filter_identity);
        if (!filter.generate_filter_data(taps))
            return false;
        break;
    }
    return !taps.empty();
}

void deal_pulse_shaping(const complex_array& taps, complex_array& ref)
{
    common_lib::lib_convolution_t::deal_fft_convolution(taps, ref);
}

void deal_hold_shift(std::uint32_t sps, complex_array& ref)
{
    complex_array doubled;
    lib_resample<std::complex<float>>(2, 1, ref, doubled);
    const std::size_t shift = std::min<std::size_t>(sps == 0 ? 0 : sps - 1, doubled.size());
    doubled.erase(doubled.begin(), doubled.begin() + static_cast<std::ptrdiff_t>(shift));
    lib_dma_phy_common_t::downsample(doubled, 2.0f, ref);
}

void deal_reference_align(std::uint32_t delay, std::size_t count, complex_array& ref)
{
    const std::size_t first = std::min<std::size_t>(delay, ref.size());
    ref.erase(ref.begin(), ref.begin() + static_cast<std::ptrdiff_t>(first));
    ref.resize(std::min(count, ref.size()));
}

void deal_sample_ramp(double step, std::uint32_t sps, complex_array& ref)
{
    const double ratio = static_cast<double>(sps);
    for (std::size_t k = 0; k < ref.size(); ++k)
    {
        const common_lib::sine_cosine_t turn = common_lib::sine_cosine(-(static_cast<double>(k) * step / ratio));
        ref[k] = common_lib::complex_product(ref[k], { static_cast<float>(turn.cosine), static_cast<float>(turn.sine) });
    }
}

bool deal_level_match(const complex_array& ref, complex_array& meas)
{
    const float wanted = lib_common_math_t::get_complex_array_rms(ref);
    const float present = lib_common_math_t::get_complex_array_rms(meas);
    if (!(present >= no_signal))
        return false;
    const float gain = wanted / present;
    for (std::complex<float>& sample : meas)
        sample = common_lib::finite_or_zero(sample) * gain;
    return true;
}

void deal_head_cut(std::uint32_t head_len, std::uint32_t sps, complex_array& meas, complex_array& ref)
{
    meas.resize(std::min(meas.size(), ref.size()));
    const std::size_t head = head_len < sps ? head_len : head_len - sps;
    const auto drop = [head](complex_array& data) {
        data.erase(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(std::min(head, data.size())));
    };
    drop(meas);
    drop(ref);
}

void deal_result_rate(std::uint32_t sps, std::uint32_t points_per_symbol, complex_array& data)
{
    const std::uint32_t ratio = points_per_symbol == 0 ? sps : sps / points_per_symbol;
    lib_dma_phy_common_t::downsample(data, static_cast<float>(ratio), data);
}

void take_result_symbols(const complex_array& data, std::uint32_t points_per_symbol, std::uint32_t tail_symbols, complex_array& symbols)
{
    const std::size_t tail = static_cast<std::size_t>(points_per_symbol) * tail_symbols;
    const std::size_t kept = data.size() > tail ? data.size() - tail : 0;
    symbols.clear();
    lib_dma_phy_common_t::downsample(complex_array(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(kept)),
                                     static_cast<float>(points_per_symbol), symbols);
}
} // namespace vrim::dma_demod_lib::demod_stage
