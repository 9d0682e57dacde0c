#pragma once

#include "support/internal/trigonometry.h"

#include <cmath>
#include <complex>
#include <numbers>

/// Small idioms on complex numbers, each written once.
namespace vrim::common_lib
{
/// The plain four-product form. The operator of std::complex repairs not-a-number results by a call, which costs time in
/// loops and hides infinities.
inline std::complex<float> complex_product(std::complex<float> a, std::complex<float> b)
{
    return { a.real() * b.real() - a.imag() * b.imag(), a.real() * b.imag() + a.imag() * b.real() };
}

inline std::complex<double> complex_product(std::complex<double> a, std::complex<double> b)
{
    return { a.real() * b.real() - a.imag() * b.imag(), a.real() * b.imag() + a.imag() * b.real() };
}

/// e^(j angle), angle in radians: sine and cosine in double, narrowed.
inline std::complex<float> unit_phasor(float angle)
{
    const sine_cosine_t turn = sine_cosine(static_cast<double>(angle));
    return { static_cast<float>(turn.cosine), static_cast<float>(turn.sine) };
}

/// sqrt(re^2 + im^2), formed in double and narrowed.
inline float amplitude_of(std::complex<float> value)
{
    const double re = static_cast<double>(value.real());
    const double im = static_cast<double>(value.imag());
    return static_cast<float>(std::sqrt(re * re + im * im));
}

/// Angle in radians, -pi to pi.
inline float phase_of(std::complex<float> value)
{
    return static_cast<float>(angle_of(static_cast<double>(value.imag()), static_cast<double>(value.real())));
}

inline bool is_finite(std::complex<float> value)
{
    return std::isfinite(value.real()) && std::isfinite(value.imag());
}

/// The value, or 0 when a part is not finite.
inline std::complex<float> finite_or_zero(std::complex<float> value)
{
    return is_finite(value) ? value : std::complex<float>(0.0f, 0.0f);
}

constexpr double pi = std::numbers::pi;
constexpr double two_pi = 2.0 * std::numbers::pi;
} // namespace vrim::common_lib
