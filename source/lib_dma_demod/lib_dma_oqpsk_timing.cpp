#include "lib_dma_demod/lib_dma_oqpsk_demod.h"

#include "lib_dma_common/lib_dma_phy_common.h"
#include "lib_dma_common/symbol_sync.h"
#include "support/internal/complex_ops.h"
#include "support/internal/fir_kernel.h"
#include "support/internal/phasor_kernel.h"
#include "support/internal/vector_clones.h"
#include "support/lib_common_math.h"
#include "support/lib_common_polyfit.h"
#include "support/log_macro.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace vrim::dma_demod_lib
{
using common_lib::complex_product;
using common_lib::finite_or_zero;
using common_lib::lib_common_math_t;
using common_lib::pi;
using common_lib::unit_phasor;

namespace
{
constexpr std::size_t window_symbols = 64;
constexpr std::size_t guide_symbols = 256;
constexpr std::size_t guide_step_symbols = 8;
constexpr float single_two_pi = 6.2831855f;

/// Angles of sums over 256 symbols about the middle of every 8 symbols, unwrapped from one to the next. Near the ends the sums
/// move in, and a shorter record is one sum.
/// @param totals  entry k is the sum of all symbols before the k-th; at least one entry
/// @param first   middle of the first sum, symbols
double_array cal_guide(const complex_double_array& totals, std::size_t first, std::size_t count)
{
    const std::size_t symbols = totals.size() - 1;
    const std::size_t length = std::min(guide_symbols, symbols);
    double_array guide(count);
    std::complex<double> before = 1.0;
    for (std::size_t j = 0; j < count; ++j)
    {
        const std::size_t middle = first + j * guide_step_symbols;
        const std::size_t start = std::min(middle - std::min(middle, length / 2), symbols - length);
        const std::complex<double> sum = totals[start + length] - totals[start];
        guide[j] = (j == 0 ? 0.0 : guide[j - 1]) + std::arg(sum * std::conj(before));
        before = sum;
    }
    return guide;
}

/// Puts every angle within half a turn of the guide; the first one stays. A window whose line drowns in noise is lost by
/// itself: taken from angle to angle, it would leave a turn to all that follow.
/// @param step  phases to one entry of the guide
void unwrap_along(const double_array& guide, std::size_t step, float_array& phases)
{
    const double turn = static_cast<double>(single_two_pi);
    if (phases.empty())
        return;
    const double first_turns = std::round((guide.front() - static_cast<double>(phases.front())) / turn);
    double turns = first_turns;
    for (std::size_t j = 0; j < guide.size(); ++j)
    {
        const std::size_t stop = std::min((j + 1) * step, phases.size());
        for (std::size_t i = j * step; i < stop; ++i)
        {
            const double angle = static_cast<double>(phases[i]);
            if (std::abs(guide[j] - angle - turns * turn) > 0.5 * turn)
                turns = std::round((guide[j] - angle) / turn);
            phases[i] = static_cast<float>(angle + (turns - first_turns) * turn);
        }
    }
}

/// out[n] = data[n] * mixer[n]. What is not finite becomes 0.
DMA_COMPLEX_CLONES
void mix_finite(const std::complex<float>* data, const std::complex<float>* mixer, std::complex<float>* out, std::size_t count)
{
    for (std::size_t n = 0; n < count; ++n)
        out[n] = complex_product(finite_or_zero(data[n]), mixer[n]);
}

/// out[n] *= data[n]. What is not finite becomes 0, so that it leaves the running sums alone.
DMA_COMPLEX_CLONES
void multiply_finite(const std::complex<float>* data, std::complex<float>* out, std::size_t count)
{
    for (std::size_t n = 0; n < count; ++n)
        out[n] = finite_or_zero(complex_product(out[n], data[n]));
}

/// Angle of the sum over every window of samples, one window a sample, and sums over symbols, of a record that comes in blocks.
/// A window is the difference of two running sums in double, so its length costs nothing.
class window_sums_t
{
public:
    /// @param block  most samples that `add` gets
    /// @param count  windows in the record
    window_sums_t(std::size_t sps, std::size_t block, std::size_t count)
        : sps_(sps), carried_(window_symbols * sps - 1), samples_(carried_ + block), totals_(1)
    {
        phases_.reserve(count);
    }

    /// Where the next block is to be put.
    std::complex<float>* get_block() { return samples_.data() + carried_; }

    /// Takes the block. All but the last have whole symbols.
    void add(std::size_t length)
    {
        const float* entering = reinterpret_cast<const float*>(get_block());
        const float* leaving = reinterpret_cast<const float*>(samples_.data());
        const std::size_t open = std::min(carried_ - std::min(carried_, seen_), length); // samples of the first window
        for (std::size_t n = 0; n < open; ++n)
        {
            lead_re_ += static_cast<double>(entering[2 * n]);
            lead_im_ += static_cast<double>(entering[2 * n + 1]);
        }
        // As rows of parts: complex values go through memory one by one.
        sums_.resize(length - open);
        float* parts = reinterpret_cast<float*>(sums_.data());
        for (std::size_t n = open; n < length; ++n)
        {
            lead_re_ += static_cast<double>(entering[2 * n]);
            lead_im_ += static_cast<double>(entering[2 * n + 1]);
            parts[2 * (n - open)] = static_cast<float>(lead_re_ - tail_re_);
            parts[2 * (n - open) + 1] = static_cast<float>(lead_im_ - tail_im_);
            tail_re_ += static_cast<double>(leaving[2 * n]);
            tail_im_ += static_cast<double>(leaving[2 * n + 1]);
        }
        lib_common_math_t::get_complex_array_phase(sums_, block_phases_);
        phases_.insert(phases_.end(), block_phases_.begin(), block_phases_.end());

        for (std::size_t n = 0; n + sps_ <= length; n += sps_)
        {
            std::complex<double> sum = 0.0;
            for (std::size_t k = n; k < n + sps_; ++k)
                sum += std::complex<double>(samples_[carried_ + k]);
            totals_.push_back(totals_.back() + sum);
        }
        seen_ += length;
        std::copy_n(samples_.begin() + static_cast<std::ptrdiff_t>(length), carried_, samples_.begin());
    }

    /// The angles, unwrapped.
    float_array take_phases()
    {
        const std::size_t step = guide_step_symbols * sps_;
        unwrap_along(cal_guide(totals_, window_symbols / 2, (phases_.size() + step - 1) / step), step, phases_);
        return std::move(phases_);
    }

private:
    std::size_t sps_;
    std::size_t carried_; ///< samples of a window that belong to the blocks before
    std::size_t seen_ = 0;
    complex_array samples_;
    complex_array sums_;
    float_array block_phases_;
    float_array phases_;
    complex_double_array totals_; ///< of all symbols before
    double lead_re_ = 0.0;
    double lead_im_ = 0.0;
    double tail_re_ = 0.0;
    double tail_im_ = 0.0;
};

/// Phase of sample n, in single precision throughout; the term of the origin takes part with its zero.
inline float cal_line_phase(float slope, float intercept, std::size_t n)
{
    return slope * 0.0f + intercept + slope * static_cast<float>(n);
}

/// data[n] *= e^(-j (intercept + slope * n)).
void turn_back(float slope, float intercept, complex_array& data)
{
    const double first = std::abs(static_cast<double>(intercept));
    const double last = std::abs(static_cast<double>(cal_line_phase(slope, intercept, data.size())));
    const bool reducible = std::max(first, last) <= common_lib::largest_reduced_angle;
    constexpr std::size_t block = 1024;
    std::array<float, block> angles;
    for (std::size_t start = 0; start < data.size(); start += block)
    {
        const std::size_t length = std::min(block, data.size() - start);
        for (std::size_t n = 0; n < length; ++n)
            angles[n] = cal_line_phase(slope, intercept, start + n);
        if (reducible)
        {
            common_lib::turn_back_reduced(angles.data(), length, data.data() + start);
            continue;
        }
        for (std::size_t n = 0; n < length; ++n)
            data[start + n] = complex_product(data[start + n], unit_phasor(-angles[n]));
    }
}

float get_mean_step(const float_array& track)
{
    float_array steps(track.empty() ? 0 : track.size() - 1);
    for (std::size_t i = 0; i < steps.size(); ++i)
        steps[i] = track[i + 1] - track[i];
    return steps.empty() ? 0.0f : lib_common_math_t::get_average_value(steps);
}

/// Samples to drop so that a symbol stands first whose time is `offset` samples; where that lies before the data, the symbol
/// one period later.
/// @return `size` for an offset behind the data or none at all
std::size_t cal_whole_delay(float offset, std::uint32_t sps, std::size_t size)
{
    const double period = static_cast<double>(sps);
    double whole = std::floor(static_cast<double>(offset));
    if (!(whole > 0.0))
        whole += period;
    if (whole < 0.0)
        whole -= std::floor(whole / period) * period;
    return whole >= 0.0 && whole < static_cast<double>(size) ? static_cast<std::size_t>(whole) : size;
}
} // namespace

bool lib_dma_oqpsk_demod_t::oqpsk_phase_timing_est_prepare()
{
    constexpr double singular_width = 1.4901e-08; // samples
    const float single_alpha = setting.filter_beta;
    const double alpha = static_cast<double>(single_alpha);
    const double s = static_cast<double>(setting.sps);
    const std::int64_t reach = 4 * static_cast<std::int64_t>(setting.sps);
    est_template.clear();
    for (std::int64_t k = -reach; k < reach; ++k)
    {
        const double t = static_cast<double>(k);
        float tap = single_alpha * 0.25f; // limit at the zero of the denominator
        if (!(std::abs(std::abs(t) - 0.5 * s / alpha) < singular_width))
        {
            const double numerator = alpha * s * s * std::cos(pi * alpha * t / s);
            tap = static_cast<float>(numerator / (pi * s * s - 4.0 * pi * alpha * alpha * t * t));
        }
        est_template.emplace_back(tap, 0.0f);
    }
    return true;
}

float_array lib_dma_oqpsk_demod_t::_cal_line_phase(const complex_array& data, float direction, std::size_t count) const
{
    // The mixer stands at half the symbol rate, so it comes back to its start after two symbols.
    const std::size_t period = 2 * static_cast<std::size_t>(setting.sps);
    complex_array mixer(16 * period);
    for (std::size_t n = 0; n < mixer.size(); ++n)
        mixer[n] = unit_phasor(static_cast<float>(static_cast<double>(direction) * pi * static_cast<double>(n % period) /
                                                  static_cast<double>(setting.sps)));
    const std::size_t taps = est_template.size();
    float_array kernel(taps);
    for (std::size_t k = 0; k < taps; ++k)
        kernel[k] = est_template[taps - 1 - k].real();

    // Block by block, so that nothing but the angles is as long as the record. The tap in the middle of the template sees the
    // sample itself.
    const std::size_t behind = taps / 2;
    const std::size_t front = taps == 0 ? 0 : taps - 1 - behind;
    const std::size_t block = 16 * mixer.size();
    complex_array mixed(front + behind + block, { 0.0f, 0.0f });
    const auto mix = [&](std::size_t first, std::size_t length, std::complex<float>* out)
    {
        for (std::size_t n = 0; n < length;)
        {
            const std::size_t sample = first + n;
            if (sample >= data.size())
            {
                std::fill_n(out + n, length - n, std::complex<float>(0.0f, 0.0f));
                return;
            }
            const std::size_t phase = sample % mixer.size();
            const std::size_t part = std::min({ length - n, mixer.size() - phase, data.size() - sample });
            mix_finite(data.data() + sample, mixer.data() + phase, out + n, part);
            n += part;
        }
    };
    mix(0, behind, mixed.data() + front);

    window_sums_t windows(setting.sps, block, count);
    for (std::size_t start = 0; start < data.size(); start += block)
    {
        const std::size_t length = std::min(block, data.size() - start);
        mix(start + behind, length, mixed.data() + front + behind);
        common_lib::correlate_real_taps(mixed.data(), kernel.data(), taps, windows.get_block(), length);
        multiply_finite(mixed.data() + front, windows.get_block(), length);
        windows.add(length);
        std::copy_n(mixed.begin() + static_cast<std::ptrdiff_t>(length), front + behind, mixed.begin());
    }
    return windows.take_phases();
}

bool lib_dma_oqpsk_demod_t::phase_timing_estimate(const complex_array& data, float_array& phase, float_array& timing,
                                                  std::uint32_t& count)
{
    const std::size_t window = window_symbols * setting.sps;
    phase.clear();
    timing.clear();
    count = 0;
    if (window == 0 || data.size() < window)
        return false;
    count = static_cast<std::uint32_t>(data.size() - window + 1);
    phase = _cal_line_phase(data, -1.0f, count);
    timing = _cal_line_phase(data, 1.0f, count);
    for (std::size_t i = 0; i < count; ++i)
    {
        const float above = phase[i];
        const float below = timing[i];
        phase[i] = (above + below) * 0.25f;
        timing[i] = static_cast<float>(static_cast<double>(above - below) / (4.0 * pi));
    }
    return true;
}

bool lib_dma_oqpsk_demod_t::timing_recovery(float& residual_hz)
{
    DMA_LOG_INFO("lib_dma_oqpsk_demod_t::timing_recovery start.\n");
    if (setting.meas_filter_type != LIB_DMA_MEAS_GAUSSIAN_FILTER)
        setting.filter_beta = setting.filter_alpha;
    const std::uint32_t inner_size = static_cast<std::uint32_t>(work.iq_data.size()) - 2 * setting.pre_num;
    lib_dma_phy_common_t::check_valid_data_size(work.iq_data, setting.pre_num, inner_size, work.timing_data);

    float_array phase;
    float_array timing;
    std::uint32_t count = 0;
    oqpsk_phase_timing_est_prepare();
    if (!phase_timing_estimate(work.timing_data, phase, timing, count))
    {
        DMA_LOG_ERROR("lib_dma_oqpsk_demod_t::timing_recovery: the record is shorter than 64 symbols.\n");
        return false;
    }
    float_array positions(count);
    for (std::uint32_t i = 0; i < count; ++i)
        positions[i] = static_cast<float>(setting.pre_num + i);
    const float mean_step = get_mean_step(phase);
    float_array line;
    if (!common_lib::lib_dma_common_polyfit_t::deal_polyfit(std::move(positions), std::move(phase), 1, line) ||
        line.size() < 2 || !std::isfinite(line[0]) || !std::isfinite(line[1]))
    {
        DMA_LOG_ERROR("lib_dma_common_polyfit_t::deal_polyfit:error!\n");
        return false;
    }
    turn_back(line[0], line[1], work.iq_data);
    residual_hz = static_cast<float>(setting.symbol_rate) * mean_step * static_cast<float>(setting.sps) / single_two_pi;

    const float mean_timing = lib_common_math_t::get_average_value(timing);
    // The estimate rises as the symbols come earlier.
    const float offset = static_cast<float>((-static_cast<double>(mean_timing) - static_cast<double>(setting.clock_adjust)) *
                                            static_cast<double>(setting.sps));
    float fraction = static_cast<double>(offset) <= 1e-12 ? offset - std::ceil(offset) : offset - std::floor(offset);
    if (fraction < 0.0f)
        fraction += 1.0f;
    DMA_LOG_INFO("phase average:%.6f,bin_delay:%.6f.\n", mean_timing, fraction);

    double_array taps;
    symbol_timing_recovery_plan::sinc_fractional_delay_filter_design(static_cast<double>(fraction), interp_order, taps);
    symbol_timing_recovery_plan::sinc_fractional_delay(interp_order, taps, work.iq_data, work.timing_data);
    const std::size_t head = cal_whole_delay(offset, setting.sps, work.timing_data.size());
    work.timing_data.erase(work.timing_data.begin(), work.timing_data.begin() + static_cast<std::ptrdiff_t>(head));
    return true;
}
} // namespace vrim::dma_demod_lib
