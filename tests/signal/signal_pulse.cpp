#include "signal_pulse.h"

#include <array>
#include <cmath>
#include <numbers>
#include <utility>

namespace dma_test
{
namespace
{
constexpr double pi = std::numbers::pi;
// Nearer than this to a removable singularity the limit is exact to about 1e-12 and the quotient is not.
constexpr double singular_distance = 1.0e-6;

const std::array<std::pair<signal_pulse_t, const char*>, 5> pulse_names = { {
    { signal_pulse_t::root_raised_cosine, "rrc" },
    { signal_pulse_t::raised_cosine, "rc" },
    { signal_pulse_t::gaussian, "gaussian" },
    { signal_pulse_t::rectangular, "rectangular" },
    { signal_pulse_t::half_sine, "half-sine" },
} };

double cal_sinc(double x)
{
    const double y = pi * x;
    return std::abs(y) < 1.0e-4 ? 1.0 - y * y / 6.0 : std::sin(y) / y;
}

double cal_raised_cosine(double t, double alpha)
{
    const double u = 2.0 * alpha * t;
    if (std::abs(std::abs(u) - 1.0) < singular_distance)
    {
        // cos(pi u / 2) / (1 - u^2) to first order about u = 1: pi / 4 * (1 - (u - 1) / 2)
        return cal_sinc(t) * pi / 4.0 * (1.0 - 0.5 * (std::abs(u) - 1.0));
    }
    return cal_sinc(t) * std::cos(pi * u / 2.0) / (1.0 - u * u);
}

double cal_root_raised_cosine(double t, double alpha)
{
    if (alpha <= 0.0)
    {
        return cal_sinc(t);
    }
    const auto quotient = [alpha](double x)
    {
        const double u = 4.0 * alpha * x;
        return (std::sin(pi * x * (1.0 - alpha)) + u * std::cos(pi * x * (1.0 + alpha))) / (pi * x * (1.0 - u * u));
    };
    const double x = std::abs(t);
    if (x < singular_distance)
    {
        return 1.0 - alpha + 4.0 * alpha / pi;
    }
    const double edge = 1.0 / (4.0 * alpha);
    if (std::abs(x - edge) < singular_distance)
    {
        // The pulse is smooth here: the mean of two neighbours, off by the second derivative times 1e-8 / 2.
        constexpr double side = 1.0e-4;
        return 0.5 * (quotient(edge - side) + quotient(edge + side));
    }
    return quotient(x);
}

double cal_gaussian(double t, double bandwidth_time)
{
    const double a = cal_gaussian_steepness(bandwidth_time);
    return a / std::sqrt(pi) * std::exp(-a * a * t * t);
}
} // namespace

double cal_pulse(signal_pulse_t pulse, double time_symbols, double shape)
{
    switch (pulse)
    {
    case signal_pulse_t::root_raised_cosine:
        return cal_root_raised_cosine(time_symbols, shape);
    case signal_pulse_t::raised_cosine:
        return cal_raised_cosine(time_symbols, shape);
    case signal_pulse_t::gaussian:
        return cal_gaussian(time_symbols, shape);
    case signal_pulse_t::half_sine:
        return std::abs(time_symbols) < 0.5 ? std::cos(pi * time_symbols) : 0.0;
    case signal_pulse_t::rectangular:
        break;
    }
    const double distance = std::abs(time_symbols) - 0.5;
    if (std::abs(distance) < 1.0e-12)
    {
        return 0.5;
    }
    return distance < 0.0 ? 1.0 : 0.0;
}

double cal_pulse_energy(signal_pulse_t pulse, double shape)
{
    switch (pulse)
    {
    case signal_pulse_t::raised_cosine:
        return 1.0 - shape / 4.0;
    case signal_pulse_t::gaussian:
        return std::sqrt(pi / std::log(2.0)) * shape;
    case signal_pulse_t::half_sine:
        return 0.5;
    case signal_pulse_t::root_raised_cosine:
    case signal_pulse_t::rectangular:
        break;
    }
    return 1.0;
}

double cal_held_pulse(signal_pulse_t pulse, double time_symbols, double shape)
{
    if (pulse != signal_pulse_t::gaussian)
    {
        return cal_pulse(pulse, time_symbols, shape);
    }
    const double a = cal_gaussian_steepness(shape);
    return 0.5 * (std::erf(a * (time_symbols + 0.5)) - std::erf(a * (time_symbols - 0.5)));
}

double cal_held_pulse_energy(signal_pulse_t pulse, double shape)
{
    if (pulse != signal_pulse_t::gaussian)
    {
        return cal_pulse_energy(pulse, shape);
    }
    // The triangle that the rectangle makes with itself, weighed by the Gaussian of standard deviation 1 / a that the Gaussian
    // pulse makes with itself.
    const double a = cal_gaussian_steepness(shape);
    return std::erf(a / std::sqrt(2.0)) - std::sqrt(2.0 / pi) / a * (1.0 - std::exp(-0.5 * a * a));
}

double cal_gaussian_steepness(double bandwidth_time)
{
    return pi * std::sqrt(2.0 / std::log(2.0)) * bandwidth_time;
}

std::string get_pulse_name(signal_pulse_t pulse)
{
    for (const auto& [value, name] : pulse_names)
    {
        if (value == pulse)
        {
            return name;
        }
    }
    return {};
}

bool find_pulse(const std::string& name, signal_pulse_t& pulse)
{
    for (const auto& [value, text] : pulse_names)
    {
        if (name == text)
        {
            pulse = value;
            return true;
        }
    }
    return false;
}
} // namespace dma_test
