#include "frequency_modulator.h"

#include "symbol_window.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <stdexcept>

namespace dma_test
{
namespace
{
constexpr double pi = std::numbers::pi;
constexpr double knots_per_symbol = 256.0;

/// Integral of erf(a x) from a lower limit that drops out of differences.
double cal_error_function_integral(double x, double a)
{
    return x * std::erf(a * x) + std::exp(-a * a * x * x) / (a * std::sqrt(pi));
}

void check_pulse(signal_pulse_t pulse, double shape)
{
    switch (pulse)
    {
    case signal_pulse_t::rectangular:
        return;
    case signal_pulse_t::gaussian:
        if (!std::isfinite(shape) || shape <= 0.0)
        {
            throw std::invalid_argument("the bandwidth-time product must be positive");
        }
        return;
    case signal_pulse_t::root_raised_cosine:
    case signal_pulse_t::raised_cosine:
        if (!(shape >= 0.0 && shape <= 1.0))
        {
            throw std::invalid_argument("the roll-off must lie within 0 and 1");
        }
        return;
    case signal_pulse_t::half_sine:
        break;
    }
    throw std::invalid_argument("frequency pulses are rectangular, Gaussian, raised cosine or root raised cosine");
}
} // namespace

pulse_integral_t::pulse_integral_t(signal_pulse_t pulse, double shape, double half_span) : pulse_(pulse), shape_(shape)
{
    check_pulse(pulse, shape);
    if (pulse == signal_pulse_t::root_raised_cosine || pulse == signal_pulse_t::raised_cosine)
    {
        fill_knots(half_span);
    }
    total_ = 2.0 * cal_from_centre(half_span);
}

void pulse_integral_t::fill_knots(double half_span)
{
    const auto intervals = static_cast<std::size_t>(std::ceil(half_span * knots_per_symbol)) + 1;
    const double half_width = 0.5 / knots_per_symbol;
    const double offset = std::sqrt(0.6) * half_width;
    pulses_.push_back(cal_held_pulse(pulse_, 0.0, shape_));
    integrals_.push_back(0.0);
    for (std::size_t i = 0; i < intervals; ++i)
    {
        const double middle = (static_cast<double>(i) + 0.5) / knots_per_symbol;
        const double sides = cal_held_pulse(pulse_, middle - offset, shape_) + cal_held_pulse(pulse_, middle + offset, shape_);
        const double mean = (5.0 * sides + 8.0 * cal_held_pulse(pulse_, middle, shape_)) / 18.0;
        integrals_.push_back(integrals_.back() + mean / knots_per_symbol);
        pulses_.push_back(cal_held_pulse(pulse_, static_cast<double>(i + 1) / knots_per_symbol, shape_));
    }
}

double pulse_integral_t::cal_from_centre(double time) const
{
    if (pulse_ == signal_pulse_t::rectangular)
    {
        return std::min(time, 0.5);
    }
    if (pulse_ == signal_pulse_t::gaussian)
    {
        const double a = cal_gaussian_steepness(shape_);
        return 0.5 * (cal_error_function_integral(time + 0.5, a) - cal_error_function_integral(time - 0.5, a));
    }
    const double place = time * knots_per_symbol;
    const auto knot = std::min(static_cast<std::size_t>(place), integrals_.size() - 2);
    const double s = place - static_cast<double>(knot);
    const double r = 1.0 - s;
    return integrals_[knot] * (1.0 + 2.0 * s) * r * r + integrals_[knot + 1] * s * s * (3.0 - 2.0 * s) +
           (pulses_[knot] * r - pulses_[knot + 1] * s) * s * r / knots_per_symbol;
}

double pulse_integral_t::cal(double time) const
{
    const double half = cal_from_centre(std::abs(time));
    return 0.5 * total_ + (time < 0.0 ? -half : half);
}

std::vector<std::complex<double>> modulate_frequency(const signal_setting_t& setting, signal_pulse_t pulse, double deviation,
                                                     const std::vector<double>& levels, std::size_t lead, std::size_t count)
{
    const pulse_integral_t integral(pulse, setting.shape, static_cast<double>(setting.half_span_symbols));
    symbol_window_t window(setting, setting.timing_symbols, lead, [&](double time) { return integral.cal(time); });

    // Symbols that have passed count whole.
    std::vector<double> passed(1, 0.0);
    for (const double level : levels)
    {
        passed.push_back(passed.back() + level);
    }
    const auto cal_cycles = [&](std::size_t sample)
    {
        const symbol_window_t::view_t view = window.get_view(sample);
        double sum = integral.get_total() * passed[view.first];
        for (std::size_t i = 0; i < view.taps.size(); ++i)
        {
            sum += levels[view.first + i] * view.taps[i];
        }
        return sum * deviation / setting.symbol_rate;
    };

    std::vector<std::complex<double>> samples(count);
    const double start = count > 0 ? cal_cycles(0) : 0.0;
    for (std::size_t n = 0; n < count; ++n)
    {
        const double cycles = cal_cycles(n) - start;
        samples[n] = std::polar(1.0, 2.0 * pi * (cycles - std::floor(cycles)));
    }
    return samples;
}
} // namespace dma_test
