#include "lib_dma_demod/stage/equalizer.h"

#include "lib_dma_common/lib_dma_phy_common.h"
#include "support/internal/complex_ops.h"
#include "support/internal/transform.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace vrim::dma_demod_lib::demod_stage
{
namespace
{
complex_array cal_frequency_response(const complex_array& impulse)
{
    constexpr std::size_t fewest_points = 256;
    const std::size_t points = std::bit_ceil(std::max(fewest_points, 4 * impulse.size()));
    complex_array response(points, { 0.0f, 0.0f });
    const std::size_t centre = impulse.size() / 2;
    for (std::size_t j = 0; j < impulse.size(); ++j)
        response[(j + points - centre) % points] = impulse[j];
    common_lib::transform_rows(response.data(), 1, points, false, 1.0f);
    std::rotate(response.begin(), response.begin() + static_cast<std::ptrdiff_t>(points / 2), response.end());
    return response;
}
} // namespace

void deal_equalizer(const demod_setting_t& setting, demod_work_t& work, lib_dma_demod_config_mgr& config,
                    lib_dma_phy_data_manager_t& data_manager)
{
    work.meas_data.resize(std::min(work.meas_data.size(), work.ref_data.size()));
    // Without a filter the pass goes on with the measurement as it is.
    lib_dma_phy_common_t::apply_equailizer(work.meas_data, work.ref_data, setting.equalizer_coef, setting.equalizer_filter_len,
                                           config);
    const std::size_t head = static_cast<std::size_t>(setting.equalizer_head_len) * setting.points_per_symbol;
    for (complex_array* data : { &work.meas_data, &work.ref_data })
        data->erase(data->begin(), data->begin() + static_cast<std::ptrdiff_t>(std::min(head, data->size())));
    store_equalizer_response(config.equalizer_filter, data_manager);
}

std::uint32_t get_equalizer_head(const demod_setting_t& setting)
{
    return setting.equalizer ? setting.equalizer_head_len : 0;
}

void store_equalizer_response(const complex_array& filter, lib_dma_phy_data_manager_t& data_manager)
{
    complex_array impulse(filter.size());
    complex_array impulse_i(filter.size());
    complex_array impulse_q(filter.size());
    for (std::size_t j = 0; j < filter.size(); ++j)
    {
        impulse[j] = std::conj(common_lib::finite_or_zero(filter[j]));
        impulse_i[j] = { impulse[j].real(), 0.0f };
        impulse_q[j] = { impulse[j].imag(), 0.0f };
    }
    data_manager.get_eq_frequency_response() = cal_frequency_response(impulse);
    data_manager.get_eq_impulse_i() = std::move(impulse_i);
    data_manager.get_eq_impulse_q() = std::move(impulse_q);
}
} // namespace vrim::dma_demod_lib::demod_stage
