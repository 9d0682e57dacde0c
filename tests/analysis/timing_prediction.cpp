#include "timing_prediction.h"

#include "signal_pulse.h"

#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

namespace dma_test
{
namespace
{
constexpr std::int64_t half_span_symbols = 48; // the raised cosine has decayed to 1e-6 there at roll-off 0.22

/// Pulse values half_span_symbols to either side, `shift` symbols behind a symbol instant.
std::vector<double> make_taps(double shift, double alpha)
{
    std::vector<double> taps;
    for (std::int64_t i = -half_span_symbols; i <= half_span_symbols; ++i)
        taps.push_back(cal_pulse(signal_pulse_t::raised_cosine, shift - static_cast<double>(i), alpha));
    return taps;
}

/// The matched filter's output `shift` symbols behind symbol k, from the taps for that shift.
std::complex<double> cal_output(const std::vector<std::complex<double>>& points, std::int64_t k, const std::vector<double>& taps)
{
    std::complex<double> sum = 0.0;
    for (std::int64_t i = -half_span_symbols; i <= half_span_symbols; ++i)
    {
        const std::int64_t symbol = k + i;
        if (symbol >= 0 && symbol < static_cast<std::int64_t>(points.size()))
            sum += points[static_cast<std::size_t>(symbol)] * taps[static_cast<std::size_t>(i + half_span_symbols)];
    }
    return sum;
}

/// Symbols of one estimate: the dense QAM sets have longer ones, and with them the turning ones.
std::int64_t get_block_symbols(signal_format_t format)
{
    const bool dense = get_signal_format(format).bits_per_symbol >= 9;
    const bool turning_qam = format == signal_format_t::qam16_pi_4 || format == signal_format_t::qam32_minus_pi_4;
    return dense || turning_qam ? 80 : 64;
}
} // namespace

timing_prediction_t predict_timing(const signal_setting_t& setting, std::uint32_t sps, std::uint32_t interval)
{
    const std::int64_t block_symbols = get_block_symbols(setting.format);
    constexpr std::int64_t margin = 50;
    constexpr std::int64_t run_in = 90;
    constexpr double two_pi = 2.0 * std::numbers::pi;

    // Only the points are wanted; a short record costs no samples.
    signal_setting_t points_setting = setting;
    points_setting.sample_rate = setting.symbol_rate;
    const std::vector<std::complex<double>> points = make_signal(points_setting).points;

    // The filter in front of an analysis has an even count of taps and comes half a sample of the capture late.
    const double timing = setting.timing_symbols + 0.5 * setting.symbol_rate / setting.sample_rate;

    std::vector<std::vector<double>> taps;
    for (std::uint32_t i = 0; i < sps; ++i)
        taps.push_back(make_taps(static_cast<double>(i) / static_cast<double>(sps) - timing, setting.shape));

    const std::int64_t blocks = (static_cast<std::int64_t>(interval) + 2 * run_in - 2 * margin) / block_symbols;
    double sum = 0.0;
    double previous = 0.0;
    for (std::int64_t block = 0; block < blocks; ++block)
    {
        std::complex<double> line = 0.0;
        for (std::int64_t k = 0; k < block_symbols; ++k)
        {
            for (std::uint32_t i = 0; i < sps; ++i)
                line += std::norm(cal_output(points, margin + block * block_symbols + k, taps[i])) *
                        std::polar(1.0, -two_pi * static_cast<double>(i) / static_cast<double>(sps));
        }
        double phase = -std::arg(line) / two_pi;
        if (block > 0)
            phase -= std::round(phase - previous);
        previous = phase;
        sum += phase;
    }
    timing_prediction_t prediction;
    prediction.timing_error = sum / static_cast<double>(blocks) - timing;
    prediction.timing_error -= std::round(prediction.timing_error);

    const std::vector<double> error_taps = make_taps(prediction.timing_error, setting.shape);
    double error = 0.0;
    for (std::int64_t k = run_in; k < run_in + static_cast<std::int64_t>(interval); ++k)
        error += std::norm(cal_output(points, k, error_taps) - points[static_cast<std::size_t>(k)]);
    prediction.evm = 100.0 * std::sqrt(error / static_cast<double>(interval));
    return prediction;
}
} // namespace dma_test
