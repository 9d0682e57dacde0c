#include "plain_array/filter.h"

#include "plain_array/internal/split_array.h"
#include "support/lib_filter.h"
#include "support/trace_output.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace vrim::dma_demod_lib
{
using common_lib::lib_filter_t;

bool filter(const float* taps, std::uint32_t tap_count, const float* data, std::uint32_t length, float* out)
{
    constexpr std::string_view report = "error: filter(): null pointer\n";
    if (!split_array::has_arrays(report, tap_count, taps) || !split_array::has_arrays(report, length, data, out))
        return false;
    complex_array samples = split_array::join(data, length);
    lib_filter_t::deal_filter(split_array::join(taps, tap_count), samples, common_lib::filter_delay_kept);
    split_array::split_real(samples, out);
    return true;
}

bool filter(const float* taps, std::uint32_t tap_count, const float* in_i, const float* in_q, std::uint32_t length, float* out_i,
            float* out_q)
{
    constexpr std::string_view report = "error: filter(): null pointer\n";
    if (!split_array::has_arrays(report, tap_count, taps) ||
        !split_array::has_arrays(report, length, in_i, in_q, out_i, out_q))
        return false;
    complex_array samples = split_array::join(in_i, in_q, length);
    lib_filter_t::deal_filter(split_array::join(taps, tap_count), samples, common_lib::filter_delay_kept);
    split_array::split(samples, out_i, out_q);
    return true;
}

bool upsample(int type, std::uint32_t factor, std::uint32_t length, const float* in_i, const float* in_q, float* out_i,
              float* out_q)
{
    if (factor == 0)
    {
        common_log::trace_output_t::get_instance().write("error: upsample(): factor must be greater than 0\n");
        return false;
    }
    if (!split_array::has_arrays("error: upsample(): null pointer\n", length, in_i, in_q, out_i, out_q))
        return false;
    const std::size_t count = static_cast<std::size_t>(length) * factor;
    std::fill_n(out_i, count, 0.0f);
    std::fill_n(out_q, count, 0.0f);
    if (type == 0)
        return true;
    for (std::size_t i = 0; i < length; ++i)
    {
        out_i[i * factor] = in_i[i];
        out_q[i * factor] = in_q[i];
    }
    return true;
}
} // namespace vrim::dma_demod_lib
