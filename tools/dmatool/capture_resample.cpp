#include "capture_resample.h"

#include "exit_status.h"
#include "support/lib_resampler.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace dmatool
{
namespace
{
// 0.01 symbols of slip over the longest interval there is.
constexpr double ratio_tolerance = 1.0e-9;
// The filter has 48 times as many taps.
constexpr std::uint64_t largest_factor = 1U << 18U;

struct fraction_t
{
    double up;
    double down;
};

/// The fraction of the smallest denominator in an interval of positive numbers, by continued fractions.
/// Source: R. L. Graham, D. E. Knuth, O. Patashnik, Concrete Mathematics, 2nd ed., Addison-Wesley, 1994, section 4.5.
fraction_t find_simplest(double low, double high)
{
    const double whole = std::ceil(low);
    if (whole <= high)
    {
        return { whole, 1.0 };
    }
    const double floor = whole - 1.0;
    const fraction_t rest = find_simplest(1.0 / (high - floor), 1.0 / (low - floor));
    return { floor * rest.up + rest.down, rest.up };
}
} // namespace

std::uint64_t cal_nearest_rate(double sample_rate)
{
    return std::max<std::uint64_t>(100U, static_cast<std::uint64_t>(std::round(sample_rate / 100.0)) * 100U);
}

resample_plan_t plan_resampling(double sample_rate)
{
    resample_plan_t plan;
    plan.from = sample_rate;
    plan.to = cal_nearest_rate(sample_rate);
    const double ratio = static_cast<double>(plan.to) / sample_rate;
    const fraction_t fraction = find_simplest(ratio * (1.0 - ratio_tolerance), ratio * (1.0 + ratio_tolerance));
    if (std::max(fraction.up, fraction.down) > static_cast<double>(largest_factor))
    {
        throw tool_error_t(exit_usage,
                           fmt::format("--resample: the way from {} Hz to {} Hz takes factors of {:.0f} : {:.0f}, expected {} or "
                                       "less: the filter would not fit. The rate is only {:.2g} ppm off; leave --resample out",
                                       sample_rate, plan.to, fraction.up, fraction.down, largest_factor,
                                       std::abs(ratio - 1.0) * 1.0e6));
    }
    plan.up = static_cast<std::uint64_t>(fraction.up);
    plan.down = static_cast<std::uint64_t>(fraction.down);
    return plan;
}

void resample_capture(const resample_plan_t& plan, capture_t& capture)
{
    if (plan.up == plan.down)
    {
        capture.sample_rate = static_cast<double>(plan.to); // within the tolerance, and not below it
        return;
    }
    vrim::complex_array converted;
    if (!vrim::common_lib::lib_resampler_t::deal_polyphase_resampling(capture.samples, converted, plan.up, plan.down, 0))
    {
        throw tool_error_t(exit_usage,
                           fmt::format("--resample: the conversion by {} : {} was refused; leave --resample out, or resample the "
                                       "capture beforehand",
                                       plan.up, plan.down));
    }
    capture.samples.swap(converted);
    capture.sample_rate = static_cast<double>(plan.to);
    capture.notes.push_back(fmt::format("the capture was resampled from {} Hz to {} Hz ({} : {}); positions count samples of the "
                                        "new rate",
                                        plan.from, plan.to, plan.up, plan.down));
}
} // namespace dmatool
