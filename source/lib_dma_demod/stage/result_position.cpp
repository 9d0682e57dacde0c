#include "lib_dma_demod/stage/result_position.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>

namespace vrim::dma_demod_lib::demod_stage
{
void take_raw_time(const complex_array& block, std::size_t count, complex_array& raw_time)
{
    const std::size_t kept = std::min(count, block.size());
    raw_time.assign(block.begin(), block.begin() + static_cast<std::ptrdiff_t>(kept));
    raw_time.resize(count, { 0.0f, 0.0f });
}

bool cal_result_position(demod_setting_t& setting, lib_dma_demod_config_mgr& config)
{
    const std::uint64_t divisor = std::gcd(setting.symbol_rate, setting.sample_rate);
    const double numerator = setting.symbol_rate == 0 ? 1.0 : static_cast<double>(setting.sample_rate / divisor);
    const double denominator = divisor == 0 ? 0.0 : static_cast<double>(setting.symbol_rate / divisor);
    const double offset = std::round(numerator / denominator * static_cast<double>(setting.meas_offset));
    // The ratio is bounded by the driver, but the product need not fit its 32 bits.
    setting.meas_offset =
        std::isfinite(offset) ? static_cast<std::int32_t>(std::clamp(offset, -2147483648.0, 2147483647.0)) : setting.meas_offset;

    const std::uint32_t unsigned_offset = static_cast<std::uint32_t>(setting.meas_offset);
    const std::uint32_t available = config.pre_num_max + config.data_len;
    const bool fits = setting.data_start + setting.meas_interval + unsigned_offset <= available;
    if (!fits)
        setting.meas_interval = available - setting.data_start - unsigned_offset;
    config.result_start = static_cast<std::int32_t>(setting.data_start + unsigned_offset);
    config.result_stop = static_cast<std::int32_t>(setting.data_start + unsigned_offset + setting.meas_interval);
    return fits;
}
} // namespace vrim::dma_demod_lib::demod_stage
