#pragma once

#include "dma_types.h"

#include <cstddef>
#include <random>

/// Complex Gaussian noise, unit variance in either part; the same on every machine with one standard library.
inline vrim::complex_array make_noise(std::size_t count, unsigned seed)
{
    std::mt19937 generator(seed);
    std::normal_distribution<float> part;
    vrim::complex_array data(count);
    for (auto& value : data)
    {
        const float re = part(generator);
        value = { re, part(generator) };
    }
    return data;
}
