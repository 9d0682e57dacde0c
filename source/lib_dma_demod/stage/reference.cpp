#include "lib_dma_demod/stage/reference.h"

#include "lib_dma_common/lib_dma_phy_common.h"
#include "lib_dma_common/lib_resample.h"
#include "lib_dma_common/sample_line.h"
#include "lib_dma_demod/stage/meas_filter.h"
#include "support/internal/complex_ops.h"
#include "support/internal/finite_values.h"
#include "support/internal/fir_kernel.h"
#include "support/internal/strided_copy.h"
#include "support/lib_common_math.h"
#include "support/lib_convolution.h"
#include "support/trace_output.h"

#include <algorithm>
#include <fmt/format.h>

namespace vrim::dma_demod_lib::demod_stage
{
using common_lib::lib_common_math_t;

namespace
{
// Reference filters by number; 6 has no enumerator of its own.
constexpr std::uint32_t ref_edge_filter = 6;
constexpr float no_signal = 1e-12f;

/// Symbols between zeros through the filter, without the products with zeros: each of the `sps` phases of the output is a
/// correlation of the symbols with every sps-th tap.
void generate_pulse_train(const complex_array& taps, const complex_array& symbols, std::uint32_t sps, std::uint32_t delay,
                          complex_array& ref)
{
    const std::size_t ratio = sps;
    const std::size_t reach = (taps.size() + ratio - 1) / ratio; // symbols that one output sees
    const std::size_t filtered = symbols.size() * ratio + taps.size() - 1;
    const std::size_t count = filtered > delay ? std::min(symbols.size() * ratio, filtered - delay) : 0;
    ref.resize(count);

    complex_array padded(symbols.size() + 2 * reach + delay / ratio + 1, { 0.0f, 0.0f });
    const float gain = static_cast<float>(sps);
    for (std::size_t i = 0; i < symbols.size(); ++i)
        padded[reach - 1 + i] = gain * symbols[i];

    // Block by block, so that the phases meet in the nearest cache and not in memory.
    constexpr std::size_t block_symbols = 512;
    float_array phase_taps(ratio * reach, 0.0f);
    for (std::size_t i = 0; i < ratio; ++i)
    {
        for (std::size_t k = 0; k < reach; ++k)
        {
            const std::size_t tap = (delay + i) % ratio + (reach - 1 - k) * ratio;
            phase_taps[i * reach + k] = tap < taps.size() ? taps[tap].real() : 0.0f;
        }
    }
    complex_array part(block_symbols);
    for (std::size_t begin = 0; begin < symbols.size(); begin += block_symbols)
    {
        for (std::size_t i = 0; i < ratio; ++i)
        {
            const std::size_t outputs = count > i ? (count - i + ratio - 1) / ratio : 0;
            const std::size_t length = outputs > begin ? std::min(block_symbols, outputs - begin) : 0;
            const std::size_t first = (delay + i) / ratio + begin; // the first place in the whole convolution, in symbols
            common_lib::correlate_real_taps(padded.data() + first, phase_taps.data() + i * reach, reach, part.data(), length);
            std::complex<float>* out = ref.data() + begin * ratio + i;
            common_lib::spread_strided(part.data(), length, ratio, out);
        }
    }
}

/// Held symbols through the filter. Holding moves the symbols' centres by (sps - 1) / 2 samples, perhaps a half sample;
/// at twice the rate that is a whole number and is taken back.
void generate_held_pulses(const complex_array& taps, const complex_array& symbols, std::uint32_t sps, std::uint32_t delay,
                          complex_array& ref)
{
    const std::size_t count = symbols.size() * sps;
    deal_pulse_upsampling(LIB_DMA_REF_GAUSSIAN_FILTER, symbols, sps, ref);
    common_lib::lib_convolution_t::deal_fft_convolution(taps, ref);
    complex_array doubled;
    lib_resample<std::complex<float>>(2, 1, ref, doubled);
    const auto drop_first = [](complex_array& data, std::size_t samples)
    { data.erase(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(std::min(samples, data.size()))); };
    drop_first(doubled, sps == 0 ? 0 : sps - 1);
    lib_dma_phy_common_t::downsample(doubled, 2.0f, ref);
    drop_first(ref, delay);
    ref.resize(std::min(count, ref.size()));
}
/// Gain that brings the measurement to the reference's rms. @return false when the measurement has no signal
bool cal_level_gain(const complex_array& ref, const complex_array& meas, float& gain)
{
    const float wanted = lib_common_math_t::get_complex_array_rms(ref);
    const float present = lib_common_math_t::get_complex_array_rms(meas);
    if (!(present >= no_signal))
        return false;
    gain = wanted / present;
    return true;
}

/// Samples that the filter's run-in is cut by; one symbol of it stays.
std::size_t cal_head_cut(std::uint32_t head_len, std::uint32_t sps)
{
    return head_len < sps ? head_len : head_len - sps;
}

/// Working samples for one of the results.
std::uint32_t cal_result_ratio(std::uint32_t sps, std::uint32_t points_per_symbol)
{
    return points_per_symbol == 0 ? sps : sps / points_per_symbol;
}
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

void generate_reference_waveform(lib_dma_ref_filter_type_t type, const complex_array& taps, const complex_array& symbols,
                                 std::uint32_t sps, std::uint32_t delay, complex_array& ref)
{
    if (taps.empty())
        deal_pulse_upsampling(type, symbols, sps, ref);
    else if (type == LIB_DMA_REF_GAUSSIAN_FILTER)
        generate_held_pulses(taps, symbols, sps, delay, ref);
    else
        generate_pulse_train(taps, symbols, sps, delay, ref);
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
    float gain = 0.0f;
    if (!cal_level_gain(ref, meas, gain))
        return false;
    common_lib::scale_finite(gain, meas);
    return true;
}

void deal_head_cut(std::uint32_t head_len, std::uint32_t sps, complex_array& meas, complex_array& ref)
{
    meas.resize(std::min(meas.size(), ref.size()));
    const std::size_t head = cal_head_cut(head_len, sps);
    const auto drop = [head](complex_array& data)
    { data.erase(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(std::min(head, data.size()))); };
    drop(meas);
    drop(ref);
}

void deal_result_rate(std::uint32_t sps, std::uint32_t points_per_symbol, complex_array& data)
{
    lib_dma_phy_common_t::downsample(data, static_cast<float>(cal_result_ratio(sps, points_per_symbol)), data);
}

void take_result_symbols(const complex_array& data, std::uint32_t points_per_symbol, std::uint32_t tail_symbols,
                         complex_array& symbols)
{
    const std::size_t tail = static_cast<std::size_t>(points_per_symbol) * tail_symbols;
    const std::size_t kept = data.size() > tail ? data.size() - tail : 0;
    symbols.resize(points_per_symbol == 0 ? 0 : (kept + points_per_symbol - 1) / points_per_symbol);
    common_lib::pick_strided(data.data(), points_per_symbol, symbols.size(), symbols.data());
}

namespace
{
/// Drops the first `head` samples and keeps every `ratio`-th of the others.
void pick_result_samples(std::size_t head, std::uint32_t ratio, complex_array& data)
{
    constexpr std::size_t exact_in_single = std::size_t(1) << 24; // positions of longer waveforms are rounded
    if (head < data.size() && data.size() <= exact_in_single && ratio != 0)
    {
        lib_dma_phy_common_t::downsample1(data, static_cast<float>(ratio), static_cast<std::uint32_t>(head), data);
        return;
    }
    data.erase(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(std::min(head, data.size())));
    lib_dma_phy_common_t::downsample(data, static_cast<float>(ratio), data);
}

/// Level, phase and length of the measurement to those of the reference, and both to the result rate. What the result rate
/// leaves out is neither scaled nor turned.
/// @return false when the measurement has no signal
bool align_waveforms(const demod_setting_t& setting, complex_array& meas, complex_array& ref, lib_dma_demod_config_mgr& config)
{
    float gain = 0.0f;
    if (!cal_level_gain(ref, meas, gain))
        return false;
    complex_array meas_symbols;
    complex_array ref_symbols;
    lib_dma_phy_common_t::take_inner_symbols(meas, setting.pre_num, setting.sps, meas_symbols);
    lib_dma_phy_common_t::take_inner_symbols(ref, setting.pre_num, setting.sps, ref_symbols);
    common_lib::scale_finite(gain, meas_symbols);
    float_array fit;
    double fine_frequency = 0.0;
    const bool fitted = fit_fine_phase(setting.format_group, meas_symbols, ref_symbols, setting.symbol_rate, fit, fine_frequency);
    config.carrier_frequency_offset += fine_frequency;

    const std::size_t head = cal_head_cut(setting.head_len, setting.sps);
    const std::uint32_t ratio = cal_result_ratio(setting.sps, setting.points_per_symbol);
    meas.resize(std::min(meas.size(), ref.size()));
    pick_result_samples(head, ratio, meas);
    pick_result_samples(head, ratio, ref);
    common_lib::scale_finite(gain, meas);
    if (fitted)
        turn_back({ fit[0], fit[1], static_cast<double>(setting.sps), static_cast<double>(setting.pre_num) }, head,
                  std::max(ratio, 1u), meas);
    return true;
}
} // namespace

bool deal_reference(double step, demod_setting_t& setting, common_lib::lib_filter_t& filter, demod_work_t& work,
                    lib_dma_demod_config_mgr& config)
{
    complex_array& ref = work.ref_data;
    ref.swap(work.iq_data); // the block has served; its memory is as long as the reference
    work.iq_data.clear();
    complex_array taps;
    const std::uint32_t delay = cal_reference_delay(setting.ref_filter_type, setting.filter_length, setting.sps);
    // Without taps the reference goes on unfiltered.
    if (!generate_pulse_taps(setting.ref_filter_type, setting.filter_length, setting.filter_alpha, setting.sps, filter, taps))
        taps.clear();
    generate_reference_waveform(setting.ref_filter_type, taps, work.decided_symbol, setting.sps, delay, ref);
    // The measurement lost its turn by a continuous line, so the reference loses it continuously too.
    if (step != 0.0)
        deal_sample_ramp(step, setting.sps, ref);

    if (!align_waveforms(setting, work.meas_data, ref, config))
    {
        common_log::print_trace_line(fmt::format("ref_data_generate::rms_normalize Report: Data array has a too small rms: {}",
                                                 lib_common_math_t::get_complex_array_rms(work.meas_data)));
        return false;
    }
    setting.meas_interval *= setting.points_per_symbol;
    const std::uint32_t tail_symbols = setting.head_len / setting.sps;
    take_result_symbols(work.meas_data, setting.points_per_symbol, tail_symbols, work.meas_symbol);
    take_result_symbols(work.ref_data, setting.points_per_symbol, tail_symbols, work.ref_symbol);
    return true;
}
} // namespace vrim::dma_demod_lib::demod_stage
