#pragma once

#include "dma_types.h"
#include "noise.h"

#include <complex>
#include <cstddef>
#include <cstdint>

/// A complex signal as the plain-array operations take it.
struct split_signal_t
{
    explicit split_signal_t(const vrim::complex_array& data)
    {
        for (const std::complex<float> value : data)
        {
            i.push_back(value.real());
            q.push_back(value.imag());
        }
    }
    /// `length` values that no operation gives by chance.
    explicit split_signal_t(std::size_t length) : i(length, 77.0f), q(length, 77.0f) {}

    std::uint32_t length() const { return static_cast<std::uint32_t>(i.size()); }
    vrim::complex_array join() const
    {
        vrim::complex_array data(i.size());
        for (std::size_t k = 0; k < data.size(); ++k)
            data[k] = { i[k], q[k] };
        return data;
    }

    vrim::float_array i;
    vrim::float_array q;
};
