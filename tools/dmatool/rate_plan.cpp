#include "rate_plan.h"

#include "lib_dma_common/working_rate.h"

#include <cmath>
#include <numeric>

namespace dmatool
{
namespace
{
std::optional<std::uint64_t> find_near_rate(const rate_plan_t& plan, std::uint64_t symbol_rate, std::uint64_t largest_factor)
{
    const double wanted = static_cast<double>(symbol_rate);
    const double sample_rate = static_cast<double>(plan.sample_rate);
    const double sps = static_cast<double>(plan.working_samples_per_symbol);
    std::optional<std::uint64_t> best;
    double best_distance = 0.01 * wanted;
    for (std::uint64_t down = 1; down <= largest_factor; ++down)
    {
        const double up = std::round(wanted * sps / sample_rate * static_cast<double>(down));
        if (up < 1.0 || up > static_cast<double>(largest_factor))
        {
            continue;
        }
        const double rate = sample_rate * up / (static_cast<double>(down) * sps);
        const double distance = std::abs(rate - wanted);
        if (rate == std::floor(rate) && distance < best_distance)
        {
            best = static_cast<std::uint64_t>(rate);
            best_distance = distance;
        }
    }
    return best;
}
} // namespace

std::uint64_t cal_kept_sample_rate(double sample_rate)
{
    const double kept = std::floor(sample_rate / 100.0) * 100.0;
    return kept < 100.0 ? 100U : static_cast<std::uint64_t>(kept);
}

rate_plan_t cal_rate_plan(std::uint64_t sample_rate, std::uint64_t symbol_rate, std::uint32_t points_per_symbol)
{
    rate_plan_t plan;
    plan.sample_rate = sample_rate;
    plan.working_samples_per_symbol = vrim::dma_demod_lib::cal_working_sps(points_per_symbol);
    const std::uint64_t working_rate = symbol_rate * plan.working_samples_per_symbol;
    const std::uint64_t divisor = std::gcd(working_rate, sample_rate);
    plan.up = working_rate / divisor;
    plan.down = sample_rate / divisor;
    return plan;
}

std::optional<std::uint64_t> propose_symbol_rate(const rate_plan_t& plan, std::uint64_t symbol_rate)
{
    const std::optional<std::uint64_t> near_rate = find_near_rate(plan, symbol_rate, 1000);
    return near_rate ? near_rate : find_near_rate(plan, symbol_rate, large_rate_factor);
}
} // namespace dmatool
