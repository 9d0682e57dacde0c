#pragma once

#include "lib_dma_demod/lib_dma_msk_demod.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <numbers>
#include <random>
#include <utility>
#include <vector>

/// MSK in double precision and what the tests of its demodulator share.
namespace msk_test
{
using vrim::complex_array;
using vrim::float_array;
using vrim::dma_demod_lib::lib_dma_msk_demod_t;

constexpr double pi = std::numbers::pi;

inline float_array make_bits(std::size_t count, unsigned seed)
{
    std::mt19937 random(seed);
    float_array bits(count);
    for (float& bit : bits)
        bit = static_cast<float>(random() & 1u);
    return bits;
}

inline double get_level(float bit)
{
    return 2.0 * static_cast<double>(bit) - 1.0;
}

/// A quarter turn a bit, bit k in the middle of time k, `phase` there for bit 0. Sample n stands at time n / sps + shift; times
/// before the first and behind the last bit go on with the bit at that end.
inline complex_array make_msk(const float_array& bits, std::uint32_t sps, double phase, double shift = 0.0,
                              double turns_per_bit = 0.0)
{
    std::vector<double> borders = { phase - get_level(bits[0]) * pi / 4.0 };
    for (const float bit : bits)
        borders.push_back(borders.back() + get_level(bit) * pi / 2.0);
    complex_array samples;
    for (std::size_t n = 0; n < bits.size() * sps; ++n)
    {
        const double time = static_cast<double>(n) / sps + shift;
        const double place = std::clamp(std::floor(time + 0.5), 0.0, static_cast<double>(bits.size() - 1));
        const std::size_t k = static_cast<std::size_t>(place);
        const double angle = borders[k] + get_level(bits[k]) * (time + 0.5 - place) * pi / 2.0;
        samples.push_back(std::complex<float>(std::polar(1.0, angle + 2.0 * pi * turns_per_bit * time)));
    }
    return samples;
}

/// White noise of `variance` per complex sample.
inline void add_noise(double variance, unsigned seed, complex_array& samples)
{
    std::mt19937 random(seed);
    std::normal_distribution<double> noise(0.0, std::sqrt(0.5 * variance));
    for (std::complex<float>& sample : samples)
    {
        const double real = noise(random);
        const double imag = noise(random);
        sample += std::complex<float>(static_cast<float>(real), static_cast<float>(imag));
    }
}

/// Error of a waveform against another in percent, without `margin` samples at either end.
inline double cal_evm(const complex_array& meas, const complex_array& ref, std::size_t margin)
{
    double error = 0.0;
    double power = 0.0;
    for (std::size_t n = margin; n + margin < ref.size(); ++n)
    {
        error += std::norm(std::complex<double>(meas[n]) - std::complex<double>(ref[n]));
        power += std::norm(std::complex<double>(ref[n]));
    }
    return 100.0 * std::sqrt(error / power);
}

/// A demodulator at 8 samples a bit with `samples` as its block, filters of 16 bits.
inline lib_dma_msk_demod_t make_demod(complex_array samples, std::uint32_t pre_num)
{
    lib_dma_msk_demod_t demod;
    demod.setting.sps = 8;
    demod.setting.points_per_symbol = 4;
    demod.setting.pre_num = pre_num;
    demod.work.iq_data = std::move(samples);
    return demod;
}
} // namespace msk_test
