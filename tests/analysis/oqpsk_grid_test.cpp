#include "analysis_runner.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

using namespace dma_test;
using namespace vrim::dma_demod_lib;

namespace
{
constexpr double clean = std::numeric_limits<double>::infinity();
constexpr std::uint32_t run_in_symbols = 228;
constexpr std::uint32_t filter_length = 64;

/// One whole analysis: values that meet over the grid, timing in steps of 1/16 symbol.
struct grid_point_t
{
    signal_pulse_t pulse;
    double alpha;
    std::uint32_t points_per_symbol;
    double snr_db;
    double offset_hz;
    double phase;
    double timing;
    bool aligned;
    std::uint32_t interval; ///< symbols
};

std::vector<grid_point_t> make_grid()
{
    // Strides without a common factor: over the timings every value meets every other one.
    constexpr std::uint32_t points[] = { 2, 4, 4, 10, 2, 4, 20 };
    constexpr double snrs[] = { clean, 10.0, 20.0, 30.0, 40.0, 50.0, 15.0, 25.0, 35.0, 45.0, 12.0 };
    constexpr double offsets[] = { 0.0, 1234.5, -28765.0, 310000.0, -650000.0 };
    constexpr double alphas[] = { 0.22, 0.35, 0.5 };
    std::vector<grid_point_t> grid;
    for (std::size_t j = 0; j < 64; ++j)
    {
        const bool half_sine = j % 4 == 3;
        // Half sines are measured without a filter: the noise of the whole band is in them.
        const double snr_db = snrs[(j + j / 16) % 11] + (half_sine ? 15.0 : 0.0);
        grid.push_back({ half_sine ? signal_pulse_t::half_sine : signal_pulse_t::root_raised_cosine,
                         half_sine ? 0.5 : alphas[j % 4], points[j % 7], snr_db, offsets[j % 5],
                         0.3 + 0.71 * static_cast<double>(j), static_cast<double>(j / 4) / 16.0, (j / 3) % 2 == 0,
                         snr_db < 13.0 ? 1024u : 400u }); // below, the fourth power of a short record drowns
    }
    return grid;
}

std::string print_name(const grid_point_t& point)
{
    std::string name = point.pulse == signal_pulse_t::half_sine ? "half_sine" : "rrc";
    const auto add = [&name](const char* what, double value) { name.append(what).append(std::to_string(std::lround(value))); };
    add("_points", point.points_per_symbol);
    add("_alpha", 100.0 * point.alpha);
    if (std::isfinite(point.snr_db))
        add("_db", point.snr_db);
    add("_sixteenths", 16.0 * point.timing);
    return name.append(point.aligned ? "_aligned" : "_offset");
}

/// The pulse that the measurement compares: behind both filters, or the half sine as it is.
double cal_seen_pulse(const grid_point_t& point, double time)
{
    return point.pulse == signal_pulse_t::half_sine ? cal_pulse(signal_pulse_t::half_sine, time, 0.0)
                                                    : cal_pulse(signal_pulse_t::raised_cosine, time, point.alpha);
}

/// Ideal offset waveform of the symbols from `lag` on, Q half a symbol behind I, at `points_per_symbol`.
std::vector<std::complex<double>> make_offset_waveform(const grid_point_t& point, const std::vector<std::complex<double>>& sent,
                                                       std::int32_t lag, std::size_t count)
{
    constexpr std::int32_t reach = 32; // symbols, as the filter's
    std::vector<std::complex<double>> waveform(count);
    for (std::size_t n = 0; n < count; ++n)
    {
        const double time = static_cast<double>(n) / point.points_per_symbol;
        const auto middle = static_cast<std::int32_t>(std::floor(time));
        for (std::int32_t k = middle - reach; k <= middle + reach; ++k)
        {
            const std::int32_t index = std::clamp(lag + k, 0, static_cast<std::int32_t>(sent.size()) - 1);
            const std::complex<double> symbol = sent[static_cast<std::size_t>(index)];
            waveform[n] += std::complex<double>(symbol.real() * cal_seen_pulse(point, time - k),
                                                symbol.imag() * cal_seen_pulse(point, time - k - 0.5));
        }
    }
    return waveform;
}

/// The sent points as the analysis paired them: a quarter turn on the rails change places.
std::vector<std::complex<double>> pair_points(const signal_t& signal, std::uint32_t rotation)
{
    const std::vector<std::uint32_t> symbols = rotation % 2 == 0 ? signal.symbols : turn_offset_symbols(signal.symbols);
    const std::vector<std::complex<double>>& points = get_signal_format(signal_format_t::oqpsk).points;
    std::vector<std::complex<double>> paired;
    for (const std::uint32_t symbol : symbols)
        paired.push_back(rotation / 2 == 0 ? points[symbol] : -points[symbol]);
    return paired;
}

/// Distance of `data` to `wanted`, relative, at the gain that fits best.
double cal_distance(const vrim::complex_array& data, const std::vector<std::complex<double>>& wanted)
{
    double cross = 0.0;
    double power = 0.0;
    for (std::size_t n = 0; n < wanted.size(); ++n)
    {
        cross += (std::complex<double>(data.at(n)) * std::conj(wanted[n])).real();
        power += std::norm(wanted[n]);
    }
    const double gain = cross / power;
    double error = 0.0;
    for (std::size_t n = 0; n < wanted.size(); ++n)
        error += std::norm(std::complex<double>(data[n]) - gain * wanted[n]);
    return std::sqrt(error / power) / gain;
}

class OqpskGrid : public testing::TestWithParam<grid_point_t>
{
};

TEST_P(OqpskGrid, DecodesAndMeasuresTheOffsetWaveform)
{
    const grid_point_t& point = GetParam();
    const bool half_sine = point.pulse == signal_pulse_t::half_sine;
    signal_setting_t signal_setting;
    signal_setting.format = signal_format_t::oqpsk;
    signal_setting.pulse = point.pulse;
    signal_setting.shape = point.alpha;
    signal_setting.sample_rate = 8.0e6;
    signal_setting.symbol_count = point.interval + run_in_symbols + 60;
    signal_setting.half_span_symbols = 40;
    signal_setting.seed = 77;
    signal_setting.carrier_offset_hz = point.offset_hz;
    signal_setting.carrier_phase = point.phase;
    signal_setting.timing_symbols = point.timing;
    signal_setting.snr_db = point.snr_db;
    signal_setting.gain = 0.3;
    const signal_t signal = make_signal(signal_setting);
    analysis_setting_t setting;
    setting.format = signal_format_t::oqpsk;
    setting.sample_rate = signal_setting.sample_rate;
    setting.alpha = point.alpha;
    setting.points_per_symbol = point.points_per_symbol;
    setting.meas_interval = point.interval;
    setting.filter_length = filter_length;
    setting.aligned_iq = point.aligned;
    if (half_sine)
    {
        setting.meas_filter = LIB_DMA_MEAS_NONE_FILTER;
        setting.ref_filter = LIB_DMA_REF_HALF_SINE_FILTER;
    }
    const analysis_result_t result = analyse(signal.samples, setting);

    ASSERT_EQ(result.code, LIB_DMA_RESULT_OK);
    EXPECT_TRUE(result.messages.empty()) << result.messages.front();
    ASSERT_EQ(result.decoded.size(), point.interval);
    ASSERT_EQ(result.summary.ref_data.size(), std::size_t{ point.interval } * point.points_per_symbol);
    const std::uint32_t figure_step = point.aligned ? point.points_per_symbol : std::max(1u, point.points_per_symbol / 2);
    EXPECT_EQ(result.meas_symbols.size(), point.interval * point.points_per_symbol / figure_step);

    const decode_match_t match = match_decoded(signal_format_t::oqpsk, result.decoded, signal.symbols, 110, 116);
    // Decisions of a rail go wrong with the probability Q(sqrt(SNR)): 1.6e-3 a symbol at 10 dB, 7e-5 at 12 dB.
    EXPECT_LE(match.differing, point.snr_db < 11.0 ? 5u : 0u);
    const std::vector<std::complex<double>> wanted = make_offset_waveform(
        point, pair_points(signal, match.rotation), match.lag, std::size_t{ point.interval } * point.points_per_symbol);
    // A wrong decision takes its pulse with it.
    if (match.differing == 0)
    {
        EXPECT_LT(cal_distance(result.summary.ref_data, wanted), 1e-3);
    }

    if (half_sine)
        return;
    // Noise of the matched filter over the rms of the points, of which one rail stands between its symbols: its power there is
    // less by alpha / 2. At 10 dB wrong decisions take from it. A clean signal: what the clock leaves.
    const double noise = std::isfinite(point.snr_db) ? 100.0 * std::pow(10.0, -point.snr_db / 20.0) : 0.0;
    const double predicted = noise / std::sqrt(1.0 - point.alpha / 4.0);
    const double scatter = 4.0 * predicted / std::sqrt(2.0 * point.interval);
    const double decided_away = point.snr_db < 11.0 ? 0.02 * noise : 0.0;
    EXPECT_NEAR(static_cast<double>(result.summary.evm_rms), predicted, 0.2 + scatter + decided_away);
    // The ends of the phase track scatter with the data and the noise.
    EXPECT_NEAR(static_cast<double>(result.table.frequency_error), point.offset_hz, 30.0 + 5.0 * noise);
}

INSTANTIATE_TEST_SUITE_P(All, OqpskGrid, testing::ValuesIn(make_grid()),
                         [](const auto& point)
                         { return print_name(point.param).append("_").append(std::to_string(point.index)); });
} // namespace
