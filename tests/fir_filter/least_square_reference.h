#pragma once

#include "dma_types.h"
#include "fir_filter/lib_fir_enum.h"

#include <array>
#include <cmath>
#include <complex>
#include <cstdint>
#include <numbers>
#include <vector>

/// Least-squares filters worked out on their own, in extended precision.
namespace least_square_reference
{
using vrim::complex_array;
using namespace vrim::fir_filter_lib;

using real_t = long double;
using real_array = std::vector<real_t>;
constexpr real_t pi = std::numbers::pi_v<real_t>;

/// Wanted response, edges relative to half the sample rate.
struct design_t
{
    lib_fir_response_type_t type;
    std::array<double, 4> edges; // first start and stop, second start and stop
    std::array<double, 3> weights = { 1.0, 1.0, 1.0 };
};

struct reference_band_t
{
    real_t f1, f2, amplitude, weight;
};

/// Bands of a design, relative to the sample rate.
inline std::vector<reference_band_t> make_reference_bands(const design_t& design)
{
    const auto [s1, e1, s2, e2] = design.edges;
    const auto [w1, w2, w3] = design.weights;
    switch (design.type)
    {
    case LIB_FIR_RESPONSE_LOWPASS:
        return { { 0.0L, s1 / 2.0L, 1.0L, w1 }, { e1 / 2.0L, 0.5L, 0.0L, w2 } };
    case LIB_FIR_RESPONSE_HIGHPASS:
        return { { 0.0L, s1 / 2.0L, 0.0L, w1 }, { e1 / 2.0L, 0.5L, 1.0L, w2 } };
    case LIB_FIR_RESPONSE_BANDPASS:
        return { { 0.0L, s1 / 2.0L, 0.0L, w1 }, { e1 / 2.0L, s2 / 2.0L, 1.0L, w2 }, { e2 / 2.0L, 0.5L, 0.0L, w3 } };
    default:
        return { { 0.0L, s1 / 2.0L, 1.0L, w1 }, { e1 / 2.0L, s2 / 2.0L, 0.0L, w2 }, { e2 / 2.0L, 0.5L, 1.0L, w3 } };
    }
}

/// The weighted squared error as a quadratic form, in extended precision, with its own solver.
class reference_t
{
public:
    reference_t(const design_t& design, std::uint32_t order)
        : even_order_(order % 2 == 0), count_(order / 2 + 1), form_(count_, real_array(count_)), linear_(count_)
    {
        for (const reference_band_t& band : make_reference_bands(design))
        {
            energy_ += band.weight * band.amplitude * band.amplitude * (band.f2 - band.f1);
            for (std::size_t i = 0; i < count_; ++i)
            {
                linear_[i] += band.weight * band.amplitude * integral(band, frequency(i));
                for (std::size_t j = 0; j < count_; ++j)
                    form_[i][j] += band.weight *
                                   (integral(band, frequency(i) - frequency(j)) + integral(band, frequency(i) + frequency(j))) /
                                   2.0L;
            }
        }
    }

    real_t get_energy() const { return energy_; }

    /// Amplitudes of the cosines with the least error; the ridge is added to the diagonal.
    real_array solve(real_t ridge) const
    {
        auto rows = form_;
        real_array right = linear_;
        for (std::size_t i = 0; i < count_; ++i)
            rows[i][i] += ridge;
        for (std::size_t k = 0; k < count_; ++k)
            for (std::size_t i = k + 1; i < count_; ++i)
            {
                const real_t factor = rows[i][k] / rows[k][k];
                for (std::size_t j = k; j < count_; ++j)
                    rows[i][j] -= factor * rows[k][j];
                right[i] -= factor * right[k];
            }
        for (std::size_t i = count_; i-- > 0;)
        {
            for (std::size_t j = i + 1; j < count_; ++j)
                right[i] -= rows[i][j] * right[j];
            right[i] /= rows[i][i];
        }
        return right;
    }

    real_t cal_error(const real_array& a) const
    {
        real_t error = energy_;
        for (std::size_t i = 0; i < count_; ++i)
        {
            real_t product = 0.0L;
            for (std::size_t j = 0; j < count_; ++j)
                product += form_[i][j] * a[j];
            error += a[i] * (product - 2.0L * linear_[i]);
        }
        return error;
    }

    /// Amplitudes of the cosines of a symmetric filter, from the middle outwards.
    real_array get_amplitudes(const complex_array& taps) const
    {
        real_array a(count_);
        for (std::size_t i = 0; i < count_; ++i)
            a[i] = 2.0L * static_cast<real_t>(taps[taps.size() / 2 + i].real());
        if (even_order_)
            a[0] /= 2.0L;
        return a;
    }

private:
    real_t frequency(std::size_t i) const { return static_cast<real_t>(i) + (even_order_ ? 0.0L : 0.5L); }

    static real_t integral(const reference_band_t& band, real_t k)
    {
        if (k == 0.0L)
            return band.f2 - band.f1;
        return (std::sin(2.0L * pi * k * band.f2) - std::sin(2.0L * pi * k * band.f1)) / (2.0L * pi * k);
    }

    bool even_order_;
    std::size_t count_;
    std::vector<real_array> form_;
    real_array linear_;
    real_t energy_ = 0.0L;
};
} // namespace least_square_reference
