#include "filter_response.h"

#include "support/internal/transform.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <numbers>

namespace dmatool
{
namespace
{
constexpr std::size_t points_per_tap = 16;

/// The grid point as its neighbours see it: the vertex of the parabola through three points. At 16 points per tap it is within
/// 2e-5 of the ripple.
double cal_vertex(double before, double here, double after)
{
    const double bend = before - 2.0 * here + after;
    return bend < 0.0 ? here - (after - before) * (after - before) / (8.0 * bend) : here;
}
} // namespace

filter_response_t::filter_response_t(const vrim::complex_array& taps)
{
    for (const std::complex<float>& tap : taps)
    {
        taps_.push_back(static_cast<double>(tap.real()));
    }
    std::size_t length = 4;
    while (length < taps_.size())
    {
        length *= 2;
    }
    const std::size_t half = length / 2;
    grid_.resize(points_per_tap * half + 1);
    step_ = 2.0 / static_cast<double>(points_per_tap * length);

    // Sixteen short transforms, each turned by a fraction of a bin, take a sixteenth of the memory of a long one.
    std::vector<std::complex<double>> bins(length);
    for (std::size_t shift = 0; shift < points_per_tap; ++shift)
    {
        std::fill(bins.begin(), bins.end(), 0.0);
        for (std::size_t n = 0; n < taps_.size(); ++n)
        {
            // Whole turns are left out before anything is rounded.
            const std::uint64_t period = static_cast<std::uint64_t>(points_per_tap) * length;
            const std::uint64_t turn = static_cast<std::uint64_t>(shift) * n % period;
            const double phase = -2.0 * std::numbers::pi * static_cast<double>(turn) / static_cast<double>(period);
            bins[n] = { taps_[n] * std::cos(phase), taps_[n] * std::sin(phase) };
        }
        vrim::common_lib::transform_rows(bins.data(), 1, length, false, 1.0);
        for (std::size_t bin = 0; bin < half; ++bin)
        {
            grid_[bin * points_per_tap + shift] = std::abs(bins[bin]);
        }
        if (shift == 0)
        {
            grid_.back() = std::abs(bins[half]);
        }
    }
}

double filter_response_t::cal_gain(double frequency) const
{
    // The phasor turns by recurrence; a fresh one every block keeps its error at a few roundings.
    constexpr std::size_t block = 64;
    const double turn_real = std::cos(std::numbers::pi * frequency);
    const double turn_imag = -std::sin(std::numbers::pi * frequency);
    double sum_real = 0.0;
    double sum_imag = 0.0;
    for (std::size_t start = 0; start < taps_.size(); start += block)
    {
        const double phase = -std::numbers::pi * std::fmod(frequency * static_cast<double>(start), 2.0);
        double real = std::cos(phase);
        double imag = std::sin(phase);
        const std::size_t stop = std::min(start + block, taps_.size());
        for (std::size_t n = start; n < stop; ++n)
        {
            sum_real += taps_[n] * real;
            sum_imag += taps_[n] * imag;
            const double next = real * turn_real - imag * turn_imag;
            imag = real * turn_imag + imag * turn_real;
            real = next;
        }
    }
    return std::hypot(sum_real, sum_imag);
}

response_point_t filter_response_t::find_highest(double start, double stop) const
{
    return find_extreme(start, stop, 1.0);
}

response_point_t filter_response_t::find_lowest(double start, double stop) const
{
    return find_extreme(start, stop, -1.0);
}

response_point_t filter_response_t::find_extreme(double start, double stop, double sign) const
{
    response_point_t best = { start, cal_gain(start) };
    const auto take = [&](double frequency)
    {
        const double gain = cal_gain(frequency);
        if (sign * gain > sign * best.gain)
        {
            best = { frequency, gain };
        }
    };
    take(stop);

    const std::size_t first = static_cast<std::size_t>(std::ceil(start / step_));
    const std::size_t last = std::min(static_cast<std::size_t>(std::floor(stop / step_)), grid_.size() - 1);
    std::size_t highest = grid_.size();
    double highest_value = 0.0;
    for (std::size_t i = first; i <= last; ++i)
    {
        const bool inner = i > first && i < last;
        const double value = inner ? cal_vertex(sign * grid_[i - 1], sign * grid_[i], sign * grid_[i + 1]) : sign * grid_[i];
        const bool peak = !inner || (sign * grid_[i] >= sign * grid_[i - 1] && sign * grid_[i] >= sign * grid_[i + 1]);
        if (peak && (highest == grid_.size() || value > highest_value))
        {
            highest = i;
            highest_value = value;
        }
    }
    if (highest == grid_.size())
    {
        return best;
    }

    // Golden section around the best lobe. The gain is flat at its top: a few thousandths of a grid step are enough.
    const double ratio = (std::sqrt(5.0) - 1.0) / 2.0;
    const double centre = static_cast<double>(highest) * step_;
    double low = std::max(start, centre - step_);
    double high = std::min(stop, centre + step_);
    for (int i = 0; i < 24; ++i)
    {
        const double left = high - ratio * (high - low);
        const double right = low + ratio * (high - low);
        if (sign * cal_gain(left) > sign * cal_gain(right))
        {
            high = right;
        }
        else
        {
            low = left;
        }
    }
    take(std::clamp(centre, start, stop));
    take((low + high) / 2.0);
    return best;
}

double filter_response_t::cal_crossing(double inside, double outside, double level) const
{
    const bool above = cal_gain(inside) > level;
    for (int i = 0; i < 48; ++i)
    {
        const double middle = (inside + outside) / 2.0;
        ((cal_gain(middle) > level) == above ? inside : outside) = middle;
    }
    return (inside + outside) / 2.0;
}

std::vector<double> filter_response_t::find_crossings(double level, std::size_t most) const
{
    std::vector<double> crossings;
    for (std::size_t i = 1; i < grid_.size() && crossings.size() < most; ++i)
    {
        if ((grid_[i - 1] > level) != (grid_[i] > level))
        {
            crossings.push_back(cal_crossing(static_cast<double>(i - 1) * step_, static_cast<double>(i) * step_, level));
        }
    }
    return crossings;
}

std::optional<filter_response_t::stretch_t> filter_response_t::find_flat_part(const stretch_t& stretch, bool passes) const
{
    const double sign = passes ? 1.0 : -1.0;
    const std::size_t first = static_cast<std::size_t>(std::ceil(stretch.start / step_));
    const std::size_t last = std::min(static_cast<std::size_t>(std::floor(stretch.stop / step_)), grid_.size() - 1);
    std::size_t left = first;
    std::size_t right = last;
    while (stretch.start_is_cutoff && left < last && sign * grid_[left + 1] > sign * grid_[left])
    {
        ++left;
    }
    while (stretch.stop_is_cutoff && right > first && sign * grid_[right - 1] > sign * grid_[right])
    {
        --right;
    }
    if (left >= right)
    {
        return {};
    }

    stretch_t flat = stretch;
    const double from = stretch.start_is_cutoff ? static_cast<double>(left) * step_ : stretch.start;
    const double to = stretch.stop_is_cutoff ? static_cast<double>(right) * step_ : stretch.stop;
    const double level = passes ? find_lowest(from, to).gain : find_highest(from, to).gain;
    if (stretch.start_is_cutoff)
    {
        while (left > first && sign * grid_[left] >= sign * level)
        {
            --left;
        }
        flat.start = cal_crossing(static_cast<double>(left + 1) * step_, static_cast<double>(left) * step_, level);
    }
    if (stretch.stop_is_cutoff)
    {
        while (right < last && sign * grid_[right] >= sign * level)
        {
            ++right;
        }
        flat.stop = cal_crossing(static_cast<double>(right - 1) * step_, static_cast<double>(right) * step_, level);
    }
    return flat;
}
} // namespace dmatool
