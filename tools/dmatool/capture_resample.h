#pragma once

#include "capture_reader.h"

#include <cstdint>

namespace dmatool
{
/// How a capture comes to a sample rate that the analysis takes as it is: up by `up`, then down by `down`.
struct resample_plan_t
{
    double from = 0.0;    ///< Hz
    std::uint64_t to = 0; ///< Hz, a multiple of 100
    std::uint64_t up = 1;
    std::uint64_t down = 1;
};

/// The multiple of 100 Hz next to a rate, at least 100.
std::uint64_t cal_nearest_rate(double sample_rate);

/// Plans the way to the nearest multiple of 100 Hz, by the smallest factors that come to it within a thousandth of a ppm.
/// @param sample_rate  Hz, 100 to 1e12
/// @throws tool_error_t when the factors ask for a filter that would take gigabytes: for rates a few ppm off their multiple
resample_plan_t plan_resampling(double sample_rate);

/// Converts the capture and says so in its notes. A plan of 1 : 1 leaves the samples as they are.
/// @throws tool_error_t
void resample_capture(const resample_plan_t& plan, capture_t& capture);
} // namespace dmatool
