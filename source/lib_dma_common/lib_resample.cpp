#include "lib_dma_common/lib_resample.h"

#include "support/internal/bessel.h"
#include "support/log_macro.h"
#include "support/trace_output.h"

#include <fmt/format.h>

namespace vrim::dma_demod_lib::resample_report
{
void print_line(const char* text)
{
    common_log::print_trace_line(text);
}

void announce_long_filter(std::uint64_t up, std::uint64_t down, std::uint64_t tap_count)
{
    DMA_LOG_INFO(fmt::format("lib_resample: factors {} : {} need a filter of {} taps; a rate with a smaller ratio is faster.\n",
                             up, down, tap_count));
}

void refuse_long_filter(std::uint64_t up, std::uint64_t down, std::uint64_t tap_count)
{
    DMA_LOG_ERROR(fmt::format("lib_resample: factors {} : {} need a filter of {} taps, more than the {} that fit; choose a rate "
                              "with a smaller ratio.\n",
                              up, down, tap_count, largest_taps));
}

double cal_bessel_i0(double x)
{
    return common_lib::bessel_i0_of(x);
}
} // namespace vrim::dma_demod_lib::resample_report
