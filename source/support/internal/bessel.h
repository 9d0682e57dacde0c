#pragma once

#include <cmath>
#include <numbers>

namespace vrim::common_lib
{
/// Modified Bessel function of the first kind, order 0, to double precision.
/// Source: M. Abramowitz, I. A. Stegun, Handbook of Mathematical Functions, 1964, 9.6.12 and 9.7.1.
inline double bessel_i0_of(double x)
{
    // The series has positive terms only and loses no digits; the asymptotic form needs fewer terms from here on.
    constexpr double asymptotic_from = 40.0;
    // Beyond this exp(x) alone comes close to the largest double; the halves multiply safely.
    constexpr double halves_from = 500.0;
    constexpr double negligible = 1e-17;

    x = std::abs(x);
    if (x < asymptotic_from)
    {
        const double quarter = 0.25 * x * x;
        double term = 1.0;
        double sum = 1.0;
        for (double k = 1.0; term > negligible * sum; k += 1.0)
        {
            term *= quarter / (k * k);
            sum += term;
        }
        return sum;
    }
    double term = 1.0;
    double sum = 1.0;
    for (double k = 1.0; k < 40.0 && term > negligible * sum; k += 1.0)
    {
        const double odd = 2.0 * k - 1.0;
        term *= odd * odd / (8.0 * k * x);
        sum += term;
    }
    const double slope = sum / std::sqrt(2.0 * std::numbers::pi * x);
    if (x < halves_from)
        return std::exp(x) * slope;
    const double half = std::exp(0.5 * x);
    return half * slope * half;
}
} // namespace vrim::common_lib
