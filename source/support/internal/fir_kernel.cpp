#include "support/internal/fir_kernel.h"

#include "support/internal/vector_clones.h"

#include <cstring>

namespace vrim::common_lib
{
namespace
{
using lane_t = float __attribute__((vector_size(32)));
constexpr std::size_t lane_floats = 8;
constexpr std::size_t lanes = 8;
constexpr std::size_t block_floats = lane_floats * lanes; // 32 samples

/// One block of 64 sums held in registers while all taps pass over it.
DMA_VECTOR_CLONES
void correlate_blocks(const float* in, const float* taps, std::size_t tap_count, float* out, std::size_t blocks)
{
    for (std::size_t block = 0; block < blocks; ++block)
    {
        const float* first = in + block * block_floats;
        lane_t s0 = {}, s1 = {}, s2 = {}, s3 = {}, s4 = {}, s5 = {}, s6 = {}, s7 = {};
        for (std::size_t k = 0; k < tap_count; ++k)
        {
            const float* x = first + 2 * k;
            const float tap = taps[k];
            lane_t v0, v1, v2, v3, v4, v5, v6, v7;
            std::memcpy(&v0, x, sizeof v0);
            std::memcpy(&v1, x + lane_floats, sizeof v1);
            std::memcpy(&v2, x + 2 * lane_floats, sizeof v2);
            std::memcpy(&v3, x + 3 * lane_floats, sizeof v3);
            std::memcpy(&v4, x + 4 * lane_floats, sizeof v4);
            std::memcpy(&v5, x + 5 * lane_floats, sizeof v5);
            std::memcpy(&v6, x + 6 * lane_floats, sizeof v6);
            std::memcpy(&v7, x + 7 * lane_floats, sizeof v7);
            s0 += v0 * tap;
            s1 += v1 * tap;
            s2 += v2 * tap;
            s3 += v3 * tap;
            s4 += v4 * tap;
            s5 += v5 * tap;
            s6 += v6 * tap;
            s7 += v7 * tap;
        }
        float* y = out + block * block_floats;
        std::memcpy(y, &s0, sizeof s0);
        std::memcpy(y + lane_floats, &s1, sizeof s1);
        std::memcpy(y + 2 * lane_floats, &s2, sizeof s2);
        std::memcpy(y + 3 * lane_floats, &s3, sizeof s3);
        std::memcpy(y + 4 * lane_floats, &s4, sizeof s4);
        std::memcpy(y + 5 * lane_floats, &s5, sizeof s5);
        std::memcpy(y + 6 * lane_floats, &s6, sizeof s6);
        std::memcpy(y + 7 * lane_floats, &s7, sizeof s7);
    }
}
} // namespace

void correlate_real_taps(const std::complex<float>* in, const float* taps, std::size_t tap_count, std::complex<float>* out,
                         std::size_t count)
{
    // A complex array may be read as twice as many floats, real and imaginary parts in turn.
    const float* in_floats = reinterpret_cast<const float*>(in);
    float* out_floats = reinterpret_cast<float*>(out);
    const std::size_t blocks = (2 * count) / block_floats;
    correlate_blocks(in_floats, taps, tap_count, out_floats, blocks);
    for (std::size_t i = blocks * block_floats; i < 2 * count; ++i)
    {
        float sum = 0.0f;
        for (std::size_t k = 0; k < tap_count; ++k)
            sum += in_floats[i + 2 * k] * taps[k];
        out_floats[i] = sum;
    }
}
} // namespace vrim::common_lib
