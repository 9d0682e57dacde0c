#include "lib_dma_common/lib_dma_phy_common.h"

#include "lib_dma_phy_result.h"
#include "support/internal/complex_ops.h"
#include "support/internal/vector_clones.h"
#include "support/lib_window_function.h"
#include "support/log_macro.h"
#include "support/trace_output.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <utility>

namespace vrim::dma_demod_lib
{
namespace
{
constexpr double taper_beta = 12.0;
// The longest filter of the configuration has 98 symbols at 20 points and one tap.
constexpr std::uint32_t most_taps = 65536;
// Products that are formed side by side before the running sum takes them one by one.
constexpr std::size_t block = 16;

/// Complex numbers with their parts apart, filled up with zeros to whole blocks and one more.
struct split_array_t
{
    float_array re;
    float_array im;

    explicit split_array_t(std::size_t size) : re(size / block * block + 2 * block), im(re.size()) {}

    void set(std::size_t i, std::complex<float> value)
    {
        re[i] = value.real();
        im[i] = value.imag();
    }
};

/// Where a slice of a split array begins.
template <typename value_t>
struct split_slice_t
{
    value_t* re;
    value_t* im;
};

/// Sum of x[j] * conj(filter[j]), a running sum in the order of j. The sums of the two parts wait for each addition in turn;
/// the products do not, and are ready ahead of them.
DMA_COMPLEX_CLONES
std::complex<float> sum_products(split_slice_t<const float> x, split_slice_t<const float> filter, std::size_t taps)
{
    float sum_re = 0.0f;
    float sum_im = 0.0f;
    for (std::size_t first = 0; first < taps; first += block)
    {
        std::array<float, block> re;
        std::array<float, block> im;
        for (std::size_t b = 0; b < block; ++b)
        {
            const std::size_t j = first + b;
            re[b] = x.re[j] * filter.re[j] + x.im[j] * filter.im[j];
            im[b] = x.im[j] * filter.re[j] - x.re[j] * filter.im[j];
        }
        const std::size_t count = std::min(block, taps - first);
        for (std::size_t b = 0; b < count; ++b)
        {
            sum_re += re[b];
            sum_im += im[b];
        }
    }
    return { sum_re, sum_im };
}

/// filter[j] += step_x[j] * conj(error). What stands behind the last tap changes too; nothing reads it.
DMA_COMPLEX_CLONES
void update_taps(split_slice_t<const float> step_x, std::complex<float> error, std::size_t taps, split_slice_t<float> filter)
{
    const float error_re = error.real();
    const float error_im = error.imag();
    for (std::size_t first = 0; first < taps; first += block)
    {
        for (std::size_t b = 0; b < block; ++b)
        {
            const std::size_t j = first + b;
            filter.re[j] += step_x.re[j] * error_re + step_x.im[j] * error_im;
            filter.im[j] += step_x.im[j] * error_re - step_x.re[j] * error_im;
        }
    }
}

/// The square as a complex power.
std::complex<float> square_of(std::complex<float> error)
{
    if (error.imag() == 0.0f && error.real() > 0.0f)
        return { error.real() * error.real(), 0.0f };
    return std::complex<float>(std::exp(2.0 * std::log(std::complex<double>(error))));
}

std::size_t count_before_centre(std::size_t taps)
{
    return taps - taps / 2 - 1;
}

/// Positions that the filter reaches with all its taps, less one.
std::size_t count_positions(std::size_t samples, std::size_t taps)
{
    return taps > 0 && samples > taps ? samples - taps : 0;
}

/// Raises std::out_of_range where the reference ends before `needed` samples.
void check_reference(const complex_array& ref, std::size_t needed)
{
    if (needed > ref.size())
        static_cast<void>(ref.at(ref.size()));
}

/// One sweep of the least-mean-squares rule.
/// @param take_error  called with position and error of each step
template <typename take_error_t>
complex_array sweep(const complex_array& meas, const complex_array& ref, float step, complex_array& filter,
                    take_error_t&& take_error)
{
    const std::size_t taps = filter.size();
    complex_array out(meas.size(), { 0.0f, 0.0f });
    const std::size_t positions = count_positions(meas.size(), taps);
    if (positions == 0)
        return out;
    const std::size_t head = count_before_centre(taps);
    check_reference(ref, positions + head);

    // The newest sample stands first, so that slices run the way of the taps.
    split_array_t x(meas.size());
    split_array_t step_x(meas.size());
    for (std::size_t i = 0; i < meas.size(); ++i)
    {
        const std::complex<float> sample = meas[meas.size() - 1 - i];
        x.set(i, sample);
        step_x.set(i, sample * step);
    }
    split_array_t split_filter(taps);
    for (std::size_t j = 0; j < taps; ++j)
        split_filter.set(j, filter[j]);

    const split_slice_t<float> weights = { split_filter.re.data(), split_filter.im.data() };
    for (std::size_t k = 0; k < positions; ++k)
    {
        const std::size_t newest = meas.size() - k - taps;
        const std::complex<float> y =
            sum_products({ x.re.data() + newest, x.im.data() + newest }, { weights.re, weights.im }, taps);
        const std::complex<float> error = ref[k + head] - y;
        update_taps({ step_x.re.data() + newest, step_x.im.data() + newest }, error, taps, weights);
        take_error(k, error);
        out[k + head] = y;
    }
    for (std::size_t j = 0; j < taps; ++j)
        filter[j] = { split_filter.re[j], split_filter.im[j] };
    return out;
}

/// A pure delay of half the length; only the centre tap is set.
/// @throws std::out_of_range when there is none
void set_delay(std::uint32_t filter_len, complex_array& filter)
{
    filter.resize(filter_len, { 0.0f, 0.0f });
    filter.at(filter_len / 2) = { 1.0f, 0.0f };
}

/// Weighs the taps with the window.
/// @return sum of the weighed taps
std::complex<float> taper_taps(const complex_array& window, complex_array& filter)
{
    std::complex<float> sum = { 0.0f, 0.0f };
    for (std::size_t j = 0; j < filter.size(); ++j)
    {
        filter[j] = common_lib::complex_product(filter[j], window.at(j));
        sum += filter[j];
    }
    return sum;
}

/// Largest energy of the samples that stand within the taps at a time.
double cal_largest_energy(const complex_array& meas, std::size_t taps)
{
    const auto energy_of = [&meas](std::size_t n)
    {
        const double re = static_cast<double>(meas[n].real());
        const double im = static_cast<double>(meas[n].imag());
        return re * re + im * im;
    };
    double energy = 0.0;
    double largest = 0.0;
    for (std::size_t n = 0; n < meas.size(); ++n)
    {
        energy += energy_of(n);
        if (n >= taps)
            energy -= energy_of(n - taps);
        largest = std::max(largest, energy);
    }
    return largest;
}

/// A step below 2 over the energy leaves the taps' error no larger than it was, at every position.
void warn_of_large_step(const complex_array& meas, double coef, std::uint32_t filter_len)
{
    const double bound = 2.0 / cal_largest_energy(meas, filter_len);
    if (coef >= bound)
        DMA_LOG_INFO("lib_dma_phy_common_t::apply_equailizer:step size {:g} is not below {:g}: the taps may diverge.\n", coef,
                     bound);
}
} // namespace

bool lib_dma_phy_common_t::deal_equailizer(const complex_array& meas, const complex_array& ref, double coef, complex_array& out,
                                           complex_array& filter, complex_array& err)
{
    complex_array squares(meas.size(), { 0.0f, 0.0f });
    complex_array equalized = sweep(meas, ref, static_cast<float>(coef), filter,
                                    [&squares](std::size_t k, std::complex<float> error) { squares[k] = square_of(error); });
    // Last, as either may be one of the inputs.
    out = std::move(equalized);
    err = std::move(squares);
    return true;
}

bool lib_dma_phy_common_t::apply_equailizer(complex_array& meas, const complex_array& ref, double coef, std::uint32_t filter_len,
                                            lib_dma_demod_config_mgr& config)
{
    DMA_LOG_INFO("lib_dma_phy_common_t::apply_equailizer.\n");
    check_reference(ref, meas.size());
    if (filter_len > most_taps)
    {
        DMA_LOG_ERROR("lib_dma_phy_common_t::apply_equailizer:{} taps are too many!\n", filter_len);
        return false;
    }
    complex_array& filter = config.equalizer_filter;
    if (config.equalizer_loop_number == 0)
    {
        set_delay(filter_len, filter);
        warn_of_large_step(meas, coef, filter_len);
    }
    // One tap that is not a number would make all of this pass not a number.
    for (std::complex<float>& tap : filter)
        tap = common_lib::finite_or_zero(tap);

    complex_array out = sweep(meas, ref, static_cast<float>(coef), filter, [](std::size_t, std::complex<float>) {});
    if (filter.size() < 2)
    {
        common_log::print_trace_line("apply_equailizer::apply_window_functon Report: Input Data Array is Too Short!");
        return false;
    }
    // Taps far from the centre have more noise of the adaptation than channel in them. The centre keeps its weight.
    complex_array window;
    common_lib::lib_window_function_t::generate_kaiser_window(window, filter_len, false, taper_beta);
    if (!common_lib::is_finite(taper_taps(window, filter)))
    {
        DMA_LOG_INFO("lib_dma_phy_common_t::apply_equailizer:the taps have diverged; a smaller step size may hold them.\n");
        set_delay(filter_len, filter);
    }
    meas = std::move(out);
    return true;
}
} // namespace vrim::dma_demod_lib
