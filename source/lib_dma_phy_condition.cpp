#include "lib_dma_phy.h"

#include "fir_filter/lib_fir_designer.h"
#include "lib_dma_common/channel_power.h"
#include "support/lib_filter.h"
#include "support/lib_fir_filter_design.h"
#include "support/lib_fourier_transform.h"
#include "support/log_macro.h"

#include <algorithm>
#include <cmath>

namespace vrim::dma_demod_lib
{
using common_lib::lib_filter_t;
using fir_filter_lib::lib_fir_design_parameter_t;
using fir_filter_lib::lib_fir_designer_t;

namespace
{
// Edges relative to the Nyquist frequency where the bandwidth leaves no room for a transition.
constexpr double widest_pass_edge = 0.9;
constexpr double widest_stop_edge = 1.0;
constexpr double transition_width = 0.1;
constexpr double passband_ripple = 0.1;       // dB
constexpr double stopband_attenuation = 100.0; // dB
constexpr std::uint32_t grid_density = 20;
// The stop edge cannot pass the Nyquist frequency, so the transition narrows without end as the bandwidth nears the rate.
constexpr double longest_order = 2000.0;

lib_fir_design_parameter_t make_limit_parameter(double pass_edge, double stop_edge)
{
    lib_fir_design_parameter_t parameter;
    parameter.set_fir_design_method(fir_filter_lib::LIB_FIR_METHOD_EQUIRIPPLE);
    parameter.set_fir_minimum_order_enable(true);
    parameter.set_passband_gain_normalize_enable(false);
    parameter.set_density_factor(grid_density);
    parameter.set_first_Amplitude(passband_ripple);
    parameter.set_second_Amplitude(stopband_attenuation);
    parameter.set_first_edge_start_frequency(pass_edge);
    parameter.set_first_edge_stop_frequency(stop_edge);
    return parameter;
}

/// The order that the designer will estimate; not a number or infinite where there is none.
double estimate_order(const lib_fir_design_parameter_t& parameter)
{
    double_array edges;
    double_array amplitudes;
    double_array deviations;
    lib_fir_designer_t::_get_freq_amplitude_vector(parameter, edges, amplitudes, deviations);
    // The designer's edges count from half the sample rate, the estimate's from the whole of it.
    return std::ceil(lib_fir_designer_t::remlpord(edges[0] / 2.0, edges[1] / 2.0, deviations[0], deviations[1])) - 1.0;
}

/// Whether the group's demodulator works on the samples as they stand. A frequency discriminator, a differential clock and a
/// fourth power take all that reaches up to the Nyquist frequency; where a matched filter is to follow, none of it is left.
bool takes_bare_samples(lib_dma_modulation_type_t group)
{
    return group == LIB_DMA_GROUP_FSK || group == LIB_DMA_GROUP_MSK || group == LIB_DMA_GROUP_OQPSK;
}

/// Makes an odd order the even one above it: an odd count of taps delays by whole samples, and nothing between the samples has
/// to be interpolated afterwards. The weights are those of the estimate.
void align_with_samples(lib_fir_design_parameter_t& parameter)
{
    const std::uint32_t order = lib_fir_designer_t::calculate_minimum_order(parameter);
    if (order % 2 == 0)
        return;
    double_array edges;
    double_array amplitudes;
    double_array deviations;
    lib_fir_designer_t::_get_freq_amplitude_vector(parameter, edges, amplitudes, deviations);
    parameter.set_first_band_weight(1.0);
    parameter.set_second_band_weight(deviations[0] / deviations[1]);
    // Straight into the order block: the rule of even orders keeps flags that all threads share.
    parameter.get_order_parameter().set_minimum_order_enable(false);
    parameter.get_order_parameter().set_filter_order(order + 1);
}
} // namespace

bool lib_dma_phy_t::deal_filterpm_process(std::uint32_t segment_index, const lib_dma_demod_config_mgr& config,
                                          complex_array& data)
{
    const bool aligned = segment_index < frame_.get_segment_number() &&
                         takes_bare_samples(frame_.get_segment(segment_index).get_format_configure().get_format_group());
    double pass_edge = static_cast<double>(frame_.get_bandwidth()) / static_cast<double>(config.sample_rate);
    double stop_edge = pass_edge + transition_width;
    if (!(pass_edge < 1.0))
    {
        pass_edge = widest_pass_edge;
        stop_edge = widest_stop_edge;
    }
    if (limit_filter_.pass_edge != pass_edge || limit_filter_.stop_edge != stop_edge || limit_filter_.aligned != aligned)
    {
        lib_fir_design_parameter_t parameter = make_limit_parameter(pass_edge, stop_edge);
        const double order = estimate_order(parameter);
        if (!(order <= longest_order))
        {
            DMA_LOG_INFO("deal_filterpm_process: a bandwidth of {} of the sample rate asks for order {}, above {}: the pass band "
                         "ends at 0.9 of the Nyquist frequency\n",
                         pass_edge, order, longest_order);
            parameter = make_limit_parameter(widest_pass_edge, widest_stop_edge);
        }
        if (aligned)
            align_with_samples(parameter);
        limit_filter_ = {};
        if (!lib_fir_designer_t::design_fir_filter(parameter, limit_filter_.taps))
        {
            DMA_LOG_ERROR("deal_filterpm_process: no filter for the bandwidth, the capture stays as it is\n");
            return false;
        }
        limit_filter_.pass_edge = pass_edge;
        limit_filter_.stop_edge = stop_edge;
        limit_filter_.aligned = aligned;
    }
    lib_filter_t::deal_filter(limit_filter_.taps, data, common_lib::filter_delay_compensated);
    return true;
}

bool lib_dma_phy_t::deal_filter_process(std::uint32_t /*segment_index*/, const lib_dma_demod_config_mgr& /*config*/,
                                        complex_array& data)
{
    common_lib::lib_fir_filter_design_t design;
    design.set_filter_order(512);
    design.set_cutoff_freq(0.8f);
    design.set_window_type(fir_filter_lib::LIB_WINDOW_HANN);
    if (!design.generate_fir_filter())
        return false;
    lib_filter_t::deal_filter(design.get_filter_data(), data, common_lib::filter_delay_compensated);
    return true;
}

bool lib_dma_phy_t::deal_spectrum_invert(complex_array& data)
{
    using common_lib::lib_fourier_transform_t;
    lib_fourier_transform_t::deal_fft(data, 0);
    std::reverse(data.begin(), data.end());
    for (std::complex<float>& bin : data)
        bin = std::conj(bin);
    lib_fourier_transform_t::deal_ifft(data, 0);
    return true;
}

bool lib_dma_phy_t::cal_carrier_power(complex_array data, lib_dma_phy_data_manager_t& data_manager,
                                      const lib_dma_demod_config_mgr& config, std::uint64_t bandwidth)
{
    _update_carrier_power(data, data_manager, config, bandwidth);
    return true;
}

void lib_dma_phy_t::_update_carrier_power(std::span<const std::complex<float>> window, lib_dma_phy_data_manager_t& data_manager,
                                          const lib_dma_demod_config_mgr& config, std::uint64_t bandwidth)
{
    constexpr std::uint32_t load = 100; // ohms
    // Always the first entry: of several segments the last one's window stays.
    data_manager.get_error_summary(0).carrier_power =
        cal_channel_power(window, load, static_cast<float>(config.sample_rate), static_cast<float>(bandwidth), false);
}
} // namespace vrim::dma_demod_lib
