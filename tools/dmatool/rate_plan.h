#pragma once

#include <cstdint>
#include <optional>

namespace dmatool
{
/// How a capture comes to the working rate of the analysis: up by `up`, then down by `down`.
struct rate_plan_t
{
    std::uint64_t sample_rate = 0; ///< Hz, as the analysis keeps it: a multiple of 100
    std::uint64_t working_samples_per_symbol = 0;
    std::uint64_t up = 1;
    std::uint64_t down = 1;
};

/// The sample rate that the analysis works with: multiples of 100 Hz, downwards, at least 100.
std::uint64_t cal_kept_sample_rate(double sample_rate);

/// @param points_per_symbol  of the results, at least 1
rate_plan_t cal_rate_plan(std::uint64_t sample_rate, std::uint64_t symbol_rate, std::uint32_t points_per_symbol);

/// Above this the filter of the rate conversion, 20 times the larger factor long, takes more time than the analysis.
constexpr std::uint64_t large_rate_factor = 10000;

/// The whole symbol rate next to the plan's that needs factors of at most 1000; if none lies within 1 percent, at most 10000.
/// @return nothing when there is none either
std::optional<std::uint64_t> propose_symbol_rate(const rate_plan_t& plan, std::uint64_t symbol_rate);
} // namespace dmatool
