#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

/// Sine, cosine and arc tangent in double precision, as plain arithmetic: they give the same bits with any C library and
/// processor, and loops over arrays of them become vector code. Errors below 1e-15 and, for the angle, 1e-13.
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
    const double sine = x + (x * z) * (-1.66666666666666324348e-01 +
                                       z * (8.33333333332248946124e-03 +
                                            z * (-1.98412698298579493134e-04 +
                                                 z * (2.75573137070700676789e-06 +
                                                      z * (-2.50507602534068634195e-08 + z * 1.58969099521155010221e-10)))));
    const double cosine =
        (1.0 - 0.5 * z) +
        (z * z) *
            (4.16666666666666019037e-02 +
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
/// Error below 1e-13: the reduction to an eighth of a turn and the power series.
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
    // The series, folded by pairs so that the products do not wait for each other. At the edge of the range the first term
    // left out is 3e-14 of the angle.
    const double z2 = z * z;
    const double z4 = z2 * z2;
    const double z8 = z4 * z4;
    const double low = ((1.0 - z * (1.0 / 3.0)) + z2 * (1.0 / 5.0 - z * (1.0 / 7.0))) +
                       z4 * ((1.0 / 9.0 - z * (1.0 / 11.0)) + z2 * (1.0 / 13.0 - z * (1.0 / 15.0)));
    const double high = ((1.0 / 17.0 - z * (1.0 / 19.0)) + z2 * (1.0 / 21.0 - z * (1.0 / 23.0))) +
                        z4 * ((1.0 / 25.0 - z * (1.0 / 27.0)) + z2 * (1.0 / 29.0 - z * (1.0 / 31.0)));
    const double base = t * (low + z8 * high);
    const double octant = far ? base + quarter_pi : base;
    const double quadrant = ay > ax ? half_pi - octant : octant;
    const double half = x < 0.0 ? whole_pi - quadrant : quadrant;
    return std::copysign(half, y);
}

/// Angle of any point, with the values of atan2 at 0, infinity and not-a-number.
inline double angle_of(double y, double x)
{
    const bool plain = std::isfinite(x) && std::isfinite(y) && (x != 0.0 || y != 0.0);
    return plain ? angle_of_finite(y, x) : std::atan2(y, x);
}

/// Angle in radians.
inline double cosine_of(double angle)
{
    return sine_cosine(angle).cosine;
}

inline double sine_of(double angle)
{
    return sine_cosine(angle).sine;
}
} // namespace vrim::common_lib
