#include "support/lib_resampler.h"

#include "support/internal/bessel.h"
#include "support/internal/complex_ops.h"
#include "support/internal/fir_kernel.h"
#include "support/internal/main_tap.h"
#include "support/internal/strided_copy.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>
#include <utility>
#include <vector>

namespace vrim::common_lib
{
namespace
{
constexpr std::uint64_t half_length = 24; // samples of the lower rate
constexpr double kaiser_beta = 9.0;
constexpr std::size_t block_outputs = 1024; // of one class, dealt with at once
constexpr std::uint64_t largest_factor = std::uint64_t(1) << 20;

/// Low pass at the common rate with the cutoff at half the lower rate; gain `up`, since each input sample stands for itself
/// and up - 1 zeros.
float_array design_prototype(std::uint64_t up, std::uint64_t down)
{
    const double ratio = static_cast<double>(std::max(up, down));
    const std::size_t half = static_cast<std::size_t>(half_length * std::max(up, down));
    double_array taps(2 * half + 1);
    const double peak = bessel_i0_of(kaiser_beta);
    double sum = 0.0;
    for (std::size_t i = 0; i < taps.size(); ++i)
    {
        const double n = static_cast<double>(i) - static_cast<double>(half);
        const double t = n / ratio;
        const double sinc = n == 0.0 ? 1.0 : std::sin(pi * t) / (pi * t);
        const double x = n / static_cast<double>(half);
        taps[i] = sinc * bessel_i0_of(kaiser_beta * std::sqrt(1.0 - x * x)) / peak;
        sum += taps[i];
    }
    float_array narrow(taps.size());
    std::transform(taps.begin(), taps.end(), narrow.begin(),
                   [&](double tap) { return static_cast<float>(tap * static_cast<double>(up) / sum); });
    return narrow;
}

/// stream[i] = in[begin + i * step], zero outside; `begin` may lie before the data.
void take_stream(const complex_array& in, std::ptrdiff_t begin, std::ptrdiff_t step, complex_array& stream)
{
    const std::ptrdiff_t size = static_cast<std::ptrdiff_t>(in.size());
    const std::ptrdiff_t count = static_cast<std::ptrdiff_t>(stream.size());
    const std::ptrdiff_t from = std::clamp<std::ptrdiff_t>((step - 1 - begin) / step, 0, count);
    const std::ptrdiff_t to = std::clamp<std::ptrdiff_t>((size - begin + step - 1) / step, from, count);
    std::fill(stream.begin(), stream.begin() + from, std::complex<float>(0.0f, 0.0f));
    if (to > from)
        pick_strided(in.data() + (begin + from * step), static_cast<std::size_t>(step), static_cast<std::size_t>(to - from),
                     stream.data() + from);
    std::fill(stream.begin() + to, stream.end(), std::complex<float>(0.0f, 0.0f));
}
/// Taps that reach from every `down`-th input sample to every `up`-th output.
struct stream_t
{
    std::size_t output;   ///< the first one
    std::ptrdiff_t first; ///< oldest input sample that it sees; may lie before the input
    bool is_first;        ///< of those that make up an output
    float_array taps;
    main_tap_t main_tap;
};

/// @param outputs  first outputs of the classes that there are
std::vector<stream_t> make_streams(const float_array& taps, std::uint64_t up, std::uint64_t down, std::uint64_t phase,
                                   std::uint64_t outputs)
{
    const std::ptrdiff_t half = static_cast<std::ptrdiff_t>(taps.size() / 2);
    const std::ptrdiff_t signed_up = static_cast<std::ptrdiff_t>(up);
    const std::ptrdiff_t signed_down = static_cast<std::ptrdiff_t>(down);
    std::vector<stream_t> streams;
    for (std::size_t k = 0; k < outputs; ++k)
    {
        const std::ptrdiff_t position = static_cast<std::ptrdiff_t>(k) * signed_down + static_cast<std::ptrdiff_t>(phase);
        // Input samples s with 0 <= position + half - s * up < taps: the oldest one, and how many.
        const std::ptrdiff_t newest = (position + half) / signed_up;
        const std::ptrdiff_t reach = (position + half) % signed_up;
        const std::ptrdiff_t members = (static_cast<std::ptrdiff_t>(taps.size()) - 1 - reach) / signed_up + 1;
        const std::ptrdiff_t oldest = newest - members + 1;
        for (std::ptrdiff_t residue = 0; residue < std::min(signed_down, members); ++residue)
        {
            const std::ptrdiff_t first = oldest + residue;
            float_array stream_taps;
            for (std::ptrdiff_t s = first; s <= newest; s += signed_down)
                stream_taps.push_back(taps[static_cast<std::size_t>(position + half - s * signed_up)]);
            const main_tap_t main_tap(stream_taps);
            streams.push_back({ k, first, residue == 0, std::move(stream_taps), main_tap });
        }
    }
    return streams;
}
} // namespace

bool lib_resampler_t::deal_polyphase_resampling(const complex_array& in, complex_array& out, std::uint64_t up, std::uint64_t down,
                                                std::uint64_t phase)
{
    if (up == 0 || down == 0)
    {
        out.clear();
        return false;
    }
    const std::uint64_t divisor = std::gcd(up, down);
    up /= divisor;
    down /= divisor;
    if (up > largest_factor || down > largest_factor)
    {
        out.clear();
        return false;
    }
    const float_array taps = design_prototype(up, down);
    const std::size_t count = static_cast<std::size_t>((in.size() * up + down - 1) / down);
    out.resize(count);

    // Outputs k, k + up, k + 2 up, ... share their taps and stand `down` input samples apart. Split by input index modulo
    // `down`, each class is a few plain correlations over adjacent samples. All classes of a block of outputs are dealt with
    // before the next block, so that they meet in the nearest cache.
    const std::vector<stream_t> streams = make_streams(taps, up, down, phase, std::min<std::uint64_t>(count, up));
    complex_array samples;
    complex_array part(block_outputs);
    const std::size_t stride = static_cast<std::size_t>(up);
    for (std::size_t begin = 0; begin * stride < count; begin += block_outputs)
    {
        for (const stream_t& stream : streams)
        {
            const std::size_t outputs = (count - stream.output + stride - 1) / stride;
            if (outputs <= begin)
                continue;
            const std::size_t length = std::min(block_outputs, outputs - begin);
            samples.resize(length + stream.taps.size() - 1);
            take_stream(in, stream.first + static_cast<std::ptrdiff_t>(begin * down), static_cast<std::ptrdiff_t>(down), samples);
            if (!stream.main_tap.stands_out() || !stream.main_tap.correlate(samples.data(), part.data(), length))
                correlate_real_taps(samples.data(), stream.taps.data(), stream.taps.size(), part.data(), length);
            std::complex<float>* place = out.data() + begin * stride + stream.output;
            if (stream.is_first)
            {
                spread_strided(part.data(), length, stride, place);
                continue;
            }
            for (std::size_t i = 0; i < length; ++i)
                place[i * stride] += part[i];
        }
    }
    return true;
}
} // namespace vrim::common_lib
