#include "lib_dma_common/lib_dma_phy_common.h"

#include "lib_dma_common/channel_power.h"
#include "support/internal/bin_energy.h"
#include "support/internal/vector_clones.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace vrim::dma_demod_lib
{
namespace
{
constexpr double gauss_width = 4.8;

/// e^-x for x from 0 to 700, with an error below 1e-15 of it, as plain arithmetic: the same bits with any C library, and vector
/// code in loops. Source: W. J. Cody, W. Waite, Software Manual for the Elementary Functions, Prentice-Hall, 1980.
inline double exp_of_minus(double x)
{
    // Adding 1.5 * 2^52 rounds to an integer and leaves it in the low bits of the word.
    constexpr double rounding = 6755399441055744.0;
    constexpr double halvings_per_unit = 1.44269504088896338700;
    // ln 2 in two parts; the first has 33 bits, so that its product with the count is exact.
    constexpr double log_a = 6.93147180369123816490e-01;
    constexpr double log_b = 1.90821492927058770002e-10;
    constexpr std::int64_t exponent_bias = 1023;

    const double shifted = x * halvings_per_unit + rounding;
    const double halvings = shifted - rounding;
    const double r = (halvings * log_a - x) + halvings * log_b;
    double sum = 1.0 + r / 13.0;
    for (int term = 12; term > 0; --term)
        sum = 1.0 + r * sum * (1.0 / static_cast<double>(term));
    const std::int64_t count = std::bit_cast<std::int64_t>(shifted) - std::bit_cast<std::int64_t>(rounding);
    return sum * std::bit_cast<double>((exponent_bias - count) << 52);
}

/// Weights begin to begin + count - 1 of a window of last + 1.
DMA_VECTOR_CLONES
void generate_gauss_weights(double begin, double last, int count, float* weights)
{
    for (int i = 0; i < count; ++i)
    {
        const double x = gauss_width * ((2.0 * (begin + static_cast<double>(i)) - last) / last);
        weights[i] = static_cast<float>(exp_of_minus(0.5 * x * x));
    }
}

/// The Gaussian window as its first half: the other one mirrors it, and half the memory is a lot for a long capture.
class gauss_weights_t
{
public:
    explicit gauss_weights_t(std::size_t count) : last_(count - 1), half_((count + 1) / 2, 1.0f)
    {
        constexpr std::size_t run = 4096;
        for (std::size_t begin = 0; last_ > 0 && begin < half_.size(); begin += run)
            generate_gauss_weights(static_cast<double>(begin), static_cast<double>(last_),
                                   static_cast<int>(std::min(run, half_.size() - begin)), half_.data() + begin);
    }

    float operator[](std::size_t i) const { return half_[i < half_.size() ? i : last_ - i]; }
    const float_array& get_half() const { return half_; }

private:
    std::size_t last_;
    float_array half_;
};

/// Power of the windowed spectrum, scaled by 1 / N, and the count of bins it was taken over.
struct band_power_t
{
    double power = 0.0;
    std::size_t bins = 0;
};

/// Sums of the window and of what it leaves of the samples, each in order.
struct window_sums_t
{
    float weight = 0.0f;
    float squared_weight = 0.0f;
    double energy = 0.0; ///< by Parseval also that of all bins, without a transform
};

/// One walk for all sums: each waits for its own additions, and side by side they wait together.
window_sums_t cal_window_sums(std::span<const std::complex<float>> data, const gauss_weights_t& window)
{
    window_sums_t sums;
    for (std::size_t i = 0; i < data.size(); ++i)
    {
        const float weight = window[i];
        const double re = static_cast<double>(weight) * static_cast<double>(data[i].real());
        const double im = static_cast<double>(weight) * static_cast<double>(data[i].imag());
        sums.weight += weight;
        sums.squared_weight += weight * weight;
        sums.energy += re * re + im * im;
    }
    return sums;
}

/// Least place in [0, count) of which `holds` is true, or `count`. Once true, `holds` stays so for the places above.
template <typename holds_t>
std::size_t find_first(std::size_t count, holds_t&& holds)
{
    std::size_t below = 0;
    while (count > below)
    {
        const std::size_t middle = below + (count - below) / 2;
        if (holds(middle))
            count = middle;
        else
            below = middle + 1;
    }
    return below;
}

/// In double, so that a weak band stands beside a carrier that is 100 dB stronger and more.
band_power_t cal_band_power(std::span<const std::complex<float>> data, const gauss_weights_t& window, float sample_rate,
                            float bandwidth)
{
    const std::size_t size = data.size();
    const double half_band = static_cast<double>(bandwidth) / 2.0;
    const double middle = static_cast<double>(size / 2);
    const auto frequency = [&](std::size_t i)
    { return (static_cast<double>(i) - middle) / static_cast<double>(size) * static_cast<double>(sample_rate); };
    const std::size_t lowest = find_first(size, [&](std::size_t i) { return !(frequency(i) < -half_band); });
    const std::size_t end = find_first(size, [&](std::size_t i) { return frequency(i) > half_band; });
    if (end <= lowest)
        return {};

    const std::ptrdiff_t first = static_cast<std::ptrdiff_t>(lowest) - static_cast<std::ptrdiff_t>(size / 2);
    const double energy = common_lib::cal_bin_energy(data, window.get_half(), first, end - lowest);
    return { energy / (static_cast<double>(size) * static_cast<double>(size)), end - lowest };
}
} // namespace

float lib_dma_phy_common_t::channel_power(const complex_array& data, std::uint32_t load, float sample_rate, float bandwidth,
                                          bool half_power)
{
    return cal_channel_power(data, load, sample_rate, bandwidth, half_power);
}

float cal_channel_power(std::span<const std::complex<float>> data, std::uint32_t load, float sample_rate, float bandwidth,
                        bool half_power)
{
    constexpr double no_power = 1e-12;
    const std::size_t size = data.size();
    if (size == 0)
        return std::numeric_limits<float>::quiet_NaN();
    const gauss_weights_t window(size);
    const window_sums_t sums = cal_window_sums(data, window);
    const float count = static_cast<float>(size);
    const float coherent_gain = sums.weight / count;
    const float noise_bandwidth = (sums.squared_weight / count) / (coherent_gain * coherent_gain) * (sample_rate / count);

    const band_power_t band = bandwidth >= sample_rate ? band_power_t{ sums.energy / static_cast<double>(size), size }
                                                       : cal_band_power(data, window, sample_rate, bandwidth);
    const double amplitude_scale =
        static_cast<double>(coherent_gain) * static_cast<double>(coherent_gain) * (half_power ? 2.0 : 1.0);
    const double density = band.power / amplitude_scale / static_cast<double>(load) / static_cast<double>(noise_bandwidth);
    const double power = static_cast<double>(bandwidth) / static_cast<double>(band.bins) * density;
    if (power < no_power)
        return static_cast<float>(10.0 * std::log10(static_cast<double>(1e-9f)));
    return static_cast<float>(10.0 * std::log10(power * 1000.0));
}
} // namespace vrim::dma_demod_lib
