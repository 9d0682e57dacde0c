#pragma once

#include <cmath>
#include <limits>
#include <numbers>

/// Modified Bessel function of the first kind, order 0, to double precision.
/// Source: M. Abramowitz, I. A. Stegun, Handbook of Mathematical Functions, 1964, 9.6.12 and 9.7.1.
namespace vrim::common_lib
{
// The series has positive terms only and loses no digits; the asymptotic form needs fewer terms from here on.
constexpr double bessel_asymptotic_from = 40.0;
constexpr double bessel_negligible = 1e-17;

/// I0(x) by its power series. @param x  from 0 to `bessel_asymptotic_from`
inline double bessel_i0_series(double x)
{
    const double quarter = 0.25 * x * x;
    double term = 1.0;
    double sum = 1.0;
    for (double k = 1.0; term > bessel_negligible * sum; k += 1.0)
    {
        term *= quarter / (k * k);
        sum += term;
    }
    return sum;
}

/// exp(-x) I0(x) by its asymptotic form. @param x  `bessel_asymptotic_from` and more
inline double bessel_i0_slope(double x)
{
    double term = 1.0;
    double sum = 1.0;
    for (double k = 1.0; k < 40.0 && term > bessel_negligible * sum; k += 1.0)
    {
        const double odd = 2.0 * k - 1.0;
        term *= odd * odd / (8.0 * k * x);
        sum += term;
    }
    return sum / std::sqrt(2.0 * std::numbers::pi * x);
}

/// I0(x)
inline double bessel_i0_of(double x)
{
    // Beyond this exp(x) alone comes close to the largest double; the halves multiply safely.
    constexpr double halves_from = 500.0;

    x = std::abs(x);
    if (x < bessel_asymptotic_from)
        return bessel_i0_series(x);
    if (x == std::numeric_limits<double>::infinity())
        return x;
    const double slope = bessel_i0_slope(x);
    if (x < halves_from)
        return std::exp(x) * slope;
    const double half = std::exp(0.5 * x);
    return half * slope * half;
}

/// exp(-|x|) I0(x), which fits into a double for every x.
inline double bessel_i0_scaled(double x)
{
    x = std::abs(x);
    return x < bessel_asymptotic_from ? std::exp(-x) * bessel_i0_series(x) : bessel_i0_slope(x);
}
} // namespace vrim::common_lib
