#include "lib_dma_common/lib_dma_phy_common.h"

#include "lib_dma_common/channel_power.h"
#include "support/internal/transform.h"
#include "support/internal/window_shape.h"

#include <cmath>
#include <cstddef>
#include <limits>

namespace vrim::dma_demod_lib
{
namespace
{
constexpr double gauss_width = 4.8;

/// The Gaussian window as its first half: the other one mirrors it, and half the memory is a lot for a long capture.
class gauss_weights_t
{
public:
    explicit gauss_weights_t(std::size_t count) : last_(count - 1), half_((count + 1) / 2)
    {
        for (std::size_t i = 0; i < half_.size(); ++i)
            half_[i] = static_cast<float>(common_lib::gauss_value(common_lib::window_position(i, last_), gauss_width));
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

/// The sum over all bins is that over the samples (Parseval), which needs no transform.
band_power_t cal_whole_power(std::span<const std::complex<float>> data, const gauss_weights_t& window)
{
    double sum = 0.0;
    for (std::size_t i = 0; i < data.size(); ++i)
    {
        const double weight = static_cast<double>(window[i]);
        const double re = weight * static_cast<double>(data[i].real());
        const double im = weight * static_cast<double>(data[i].imag());
        sum += re * re + im * im;
    }
    return { sum / static_cast<double>(data.size()), data.size() };
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
    float sum = 0.0f;
    float sum_of_squares = 0.0f;
    for (std::size_t i = 0; i < size; ++i)
    {
        sum += window[i];
        sum_of_squares += window[i] * window[i];
    }
    const float count = static_cast<float>(size);
    const float coherent_gain = sum / count;
    const float noise_bandwidth = (sum_of_squares / count) / (coherent_gain * coherent_gain) * (sample_rate / count);

    const band_power_t band =
        bandwidth >= sample_rate ? cal_whole_power(data, window) : cal_band_power(data, window, sample_rate, bandwidth);
    const double amplitude_scale =
        static_cast<double>(coherent_gain) * static_cast<double>(coherent_gain) * (half_power ? 2.0 : 1.0);
    const double density = band.power / amplitude_scale / static_cast<double>(load) / static_cast<double>(noise_bandwidth);
    const double power = static_cast<double>(bandwidth) / static_cast<double>(band.bins) * density;
    if (power < no_power)
        return static_cast<float>(10.0 * std::log10(static_cast<double>(1e-9f)));
    return static_cast<float>(10.0 * std::log10(power * 1000.0));
}
} // namespace vrim::dma_demod_lib
