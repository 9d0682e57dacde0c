#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

/// Sine, cosine and arc tangent in double precision, as plain arithmetic: they give the same bits with any C library and
/// processor, and loops over arrays of them become vector code. Error below 1e-15.
namespace vrim::common_lib
{
struct sine_cosine_t
{
    double sine;
    double cosine;
};

/// Largest angle in radians that `sine_cosine_reduced` takes.
constexpr double largest_reduced_angle = 1.0e6;

/// @param angle  radians, at most `largest_reduced_angle` in magnitude
/// Sources: W. J. Cody, W. Waite, Software Manual for the Elementary Functions, Prentice-Hall, 1980 (reduction in parts);
/// the minimax coefficients of the freely distributable mathematical library, Sun Microsystems, 1993.
inline sine_cosine_t sine_cosine_reduced(double angle)
{
    // Adding 1.5 * 2^52 rounds to an integer and leaves it in the low bits of the word.
    constexpr double rounding = 6755399441055744.0;
    constexpr double quarters_per_radian = 6.36619772367581382433e-01;
    // A quarter turn in three parts; the first two have 33 bits, so that their products with the count are exact.
    constexpr double quarter_a = 1.57079632673412561417e+00;
    constexpr double quarter_b = 6.07710050630396597660e-11;
    constexpr double quarter_c = 2.02226624879595063154e-21;

    const double shifted = angle * quarters_per_radian + rounding;
    const double quarters = shifted - rounding;
    const std::int64_t quadrant = std::bit_cast<std::int64_t>(shifted);
    const double x = ((angle - quarters * quarter_a) - quarters * quarter_b) - quarters * quarter_c;

    const double z = x * x;
    const double sine =
        x + (x * z) * (-1.66666666666666324348e-01 +
                       z * (8.33333333332248946124e-03 +
                            z * (-1.98412698298579493134e-04 +
                                 z * (2.75573137070700676789e-06 + z * (-2.50507602534068634195e-08 + z * 1.58969099521155010221e-10)))));
    const double cosine =
        (1.0 - 0.5 * z) +
        (z * z) * (4.16666666666666019037e-02 +
                   z * (-1.38888888888741095749e-03 +
                        z * (2.48015872894767294178e-05 +
                             z * (-2.75573143513906633035e-07 + z * (2.08757232129817482790e-09 + z * -1.13596475577881948265e-11)))));

    const bool swapped = (quadrant & 1) != 0;
    const double s = swapped ? cosine : sine;
    const double c = swapped ? sine : cosine;
    return { (quadrant & 2) != 0 ? -s : s, ((quadrant + 1) & 2) != 0 ? -c : c };
}

/// Sine and cosine of any angle in radians; not-a-number for what is not finite.
inline sine_cosine_t sine_cosine(double angle)
{
    if (std::abs(angle) <= largest_reduced_angle)
        return sine_cosine_reduced(angle);
    return { std::sin(angle), std::cos(angle) };
}

/// Angle of the point (x, y) in radians, -pi to pi, for finite parts that are not both 0.
/// Source: S. L. Moshier, Methods and Programs for Mathematical Functions, Ellis Horwood, 1989 (rational approximation).
inline double angle_of_finite(double y, double x)
{
    constexpr double tangent_of_eighth = 0.41421356237309504880;
    constexpr double quarter_pi = 0.78539816339744830962;
    constexpr double half_pi = 1.57079632679489661923;
    constexpr double whole_pi = 3.14159265358979323846;

    const double ax = std::abs(x);
    const double ay = std::abs(y);
    const double larger = ax > ay ? ax : ay;
    const double smaller = ax > ay ? ay : ax;
    const bool far = smaller > tangent_of_eighth * larger;
    const double numerator = far ? smaller - larger : smaller;
    const double denominator = far ? smaller + larger : larger;
    const double t = numerator / denominator;
    const double z = t * t;
    const double p = (((-8.750608600031904122785e-1 * z - 1.615753718733365076637e1) * z - 7.500855792314704667340e1) * z -
                      1.228866684490136173410e2) *
                         z -
                     6.485021904942025371773e1;
    const double q = ((((z + 2.485846490142306297962e1) * z + 1.650270098316988542046e2) * z + 4.328810604912902668951e2) * z +
                      4.853903996359136964868e2) *
                         z +
                     1.945506571482613964425e2;
    const double base = t + t * (z * (p / q));
    const double octant = far ? base + quarter_pi : base;
    const double quadrant = ay > ax ? half_pi - octant : octant;
    const double half = std::signbit(x) ? whole_pi - quadrant : quadrant;
    return std::copysign(half, y);
}

/// Angle of any point, with the values of atan2 at 0, infinity and not-a-number.
inline double angle_of(double y, double x)
{
    const bool plain = std::isfinite(x) && std::isfinite(y) && (x != 0.0 || y != 0.0);
    return plain ? angle_of_finite(y, x) : std::atan2(y, x);
}
} // namespace vrim::common_lib
