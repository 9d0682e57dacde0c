#include "lib_dma_phy.h"
#include "fir_filter/lib_fir_design_parameter.h"
#include "message_capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <numbers>
#include <random>
#include <thread>
#include <vector>

using namespace vrim;
using namespace vrim::dma_demod_lib;

namespace
{
constexpr std::uint64_t rate = 1'000'000'000;

/// An analyser that is told a bandwidth.
lib_dma_phy_t make_analyser(std::uint64_t bandwidth, lib_dma_modulation_type_t group = LIB_DMA_GROUP_PSK)
{
    lib_dma_frame_configure_manager_t frame;
    frame.init();
    EXPECT_TRUE(frame.set_bandwidth(bandwidth));
    frame.get_segment(0).get_format_configure().set_format_group(group);
    lib_dma_phy_t analyser;
    analyser.set_frame_configure(frame);
    return analyser;
}

lib_dma_demod_config_mgr make_config()
{
    lib_dma_demod_config_mgr config;
    config.sample_rate = rate;
    return config;
}

complex_array make_noise(std::size_t count, unsigned seed)
{
    std::mt19937 generator(seed);
    std::normal_distribution<float> level;
    complex_array data(count);
    for (std::complex<float>& value : data)
    {
        const float real = level(generator);
        value = { real, level(generator) };
    }
    return data;
}

/// @param frequency  relative to the Nyquist frequency
complex_array make_tone(double frequency, std::size_t count)
{
    complex_array data(count);
    for (std::size_t n = 0; n < count; ++n)
        data[n] = std::complex<float>(std::polar(1.0, std::numbers::pi * frequency * static_cast<double>(n)));
    return data;
}

/// Gain for a tone, away from the ends of the record; its phase is that of a delay behind the input.
std::complex<double> measure_gain(lib_dma_phy_t& analyser, double frequency)
{
    constexpr std::size_t count = 6000;
    constexpr std::size_t margin = 2500;
    const complex_array input = make_tone(frequency, count);
    complex_array output = input;
    EXPECT_TRUE(analyser.deal_filterpm_process(0, make_config(), output));
    EXPECT_EQ(output.size(), count);
    std::complex<double> sum;
    for (std::size_t n = margin; n < count - margin; ++n)
        sum += std::complex<double>(output[n]) * std::conj(std::complex<double>(input[n]));
    return sum / static_cast<double>(count - 2 * margin);
}

/// What the designer makes of 0.1 dB in the pass band, linear, and of 100 dB. The least order is an estimate: with narrow pass
/// bands both ripples come out up to half as large again.
constexpr double asked_ripple = 0.00576;
constexpr double asked_stop = 1e-5;
} // namespace

TEST(ConditioningFilter, KeepsThePassBandAndRemovesTheStopBand)
{
    for (const double pass_edge : { 0.001, 0.05, 0.25, 0.5, 0.8, 0.89 })
    {
        lib_dma_phy_t analyser = make_analyser(static_cast<std::uint64_t>(pass_edge * rate));
        for (double share = -1.0; share <= 1.0; share += 0.1)
            EXPECT_NEAR(std::abs(measure_gain(analyser, share * pass_edge)), 1.0, 1.5 * asked_ripple) << pass_edge << " " << share;
        for (double f = pass_edge + 0.1; f <= 1.0; f += 0.03)
            EXPECT_LT(std::abs(measure_gain(analyser, f)), 1.5 * asked_stop + 2e-7) << pass_edge << " " << f;
    }
}

TEST(ConditioningFilter, StaysWithinHalfASampleOfTheInput)
{
    for (const double pass_edge : { 0.05, 0.25, 0.5, 0.8, 1.0 })
    {
        lib_dma_phy_t analyser = make_analyser(static_cast<std::uint64_t>(pass_edge * rate));
        // A delay of d samples turns a tone by pi f d.
        const double low = 0.2 * pass_edge;
        const double high = 0.8 * pass_edge;
        const double delay_low = -std::arg(measure_gain(analyser, low)) / (std::numbers::pi * low);
        const double delay_high = -std::arg(measure_gain(analyser, high)) / (std::numbers::pi * high);
        EXPECT_NEAR(delay_low, delay_high, 1e-4);
        EXPECT_NEAR(delay_low, std::round(2.0 * delay_low) / 2.0, 1e-4);
        EXPECT_LE(std::abs(delay_low), 0.5001);
    }
}

TEST(ConditioningFilter, KeepsEverySampleOnItsPlaceForGroupsWithoutAMatchedFilter)
{
    for (const lib_dma_modulation_type_t group : { LIB_DMA_GROUP_FSK, LIB_DMA_GROUP_MSK, LIB_DMA_GROUP_OQPSK })
    {
        for (const double pass_edge : { 0.05, 0.25, 0.5, 0.8, 1.0 })
        {
            lib_dma_phy_t analyser = make_analyser(static_cast<std::uint64_t>(pass_edge * rate), group);
            const double last = std::min(pass_edge, 0.9);
            for (const double share : { -1.0, -0.6, 0.1, 0.5, 0.9, 1.0 })
                EXPECT_NEAR(std::abs(measure_gain(analyser, share * last) - 1.0), 0.0, 1.5 * asked_ripple) << pass_edge;
            for (double f = pass_edge + 0.1; f <= 1.0; f += 0.06)
                EXPECT_LT(std::abs(measure_gain(analyser, f)), 1.5 * asked_stop + 2e-7) << pass_edge << " " << f;
        }
    }
}

TEST(ConditioningFilter, DesignsAnewForAnotherGroup)
{
    const complex_array input = make_noise(2000, 8);
    const auto limit = [&input](lib_dma_phy_t& analyser, std::uint32_t segment)
    {
        complex_array data = input;
        EXPECT_TRUE(analyser.deal_filterpm_process(segment, make_config(), data));
        return data;
    };
    lib_dma_phy_t analyser = make_analyser(rate / 2, LIB_DMA_GROUP_MSK);
    const complex_array aligned = limit(analyser, 0);
    lib_dma_phy_t other = make_analyser(rate / 2, LIB_DMA_GROUP_QAM);
    const complex_array late = limit(other, 0);
    EXPECT_NE(aligned, late);
    // A segment that the frame does not have has no group.
    EXPECT_EQ(limit(analyser, 7), late);
    EXPECT_EQ(limit(analyser, 0), aligned);
    EXPECT_EQ(limit(other, 4294967295u), late);
}

TEST(ConditioningFilter, EndsThePassBandBelowNyquistWhenTheBandwidthTakesAll)
{
    for (const std::uint64_t bandwidth : { rate, rate + 1, 2 * rate, std::uint64_t(8'000'000'000) })
    {
        lib_dma_phy_t analyser = make_analyser(bandwidth);
        const log_capture_t log;
        for (double f = -0.9; f <= 0.9; f += 0.1)
            EXPECT_NEAR(std::abs(measure_gain(analyser, f)), 1.0, 1.5 * asked_ripple) << bandwidth << " " << f;
        EXPECT_LT(std::abs(measure_gain(analyser, 1.0)), 1e-3);
        EXPECT_TRUE(log.get_records().empty());
    }
}

TEST(ConditioningFilter, NarrowsItsTransitionAsTheBandwidthNearsTheRate)
{
    // The stop edge stands at the Nyquist frequency from a ratio of 0.9 on.
    for (const double pass_edge : { 0.91, 0.95, 0.98 })
    {
        lib_dma_phy_t analyser = make_analyser(static_cast<std::uint64_t>(pass_edge * rate));
        const log_capture_t log;
        for (const double share : { 0.0, 0.5, 0.9, 0.999 })
            EXPECT_NEAR(std::abs(measure_gain(analyser, share * pass_edge)), 1.0, 1.5 * asked_ripple) << pass_edge << " " << share;
        EXPECT_LT(std::abs(measure_gain(analyser, 1.0)), 1e-3);
        EXPECT_TRUE(log.get_records().empty());
    }
}

TEST(ConditioningFilter, TakesTheWideEdgesWhereTheOrderWouldRunAway)
{
    const complex_array input = make_noise(3000, 5);
    complex_array wide = input;
    EXPECT_TRUE(make_analyser(rate).deal_filterpm_process(0, make_config(), wide));
    for (const std::uint64_t bandwidth : { std::uint64_t(997'000'000), std::uint64_t(999'999'000), rate - 1 })
    {
        lib_dma_phy_t analyser = make_analyser(bandwidth);
        const log_capture_t log;
        complex_array data = input;
        EXPECT_TRUE(analyser.deal_filterpm_process(0, make_config(), data));
        EXPECT_EQ(data, wide) << bandwidth;
        ASSERT_EQ(log.get_records().size(), 1u);
        EXPECT_EQ(log.get_records()[0].level, common_log::log_level_info);
        EXPECT_NE(log.get_records()[0].message.find("above 2000"), std::string::npos);
    }
}

TEST(ConditioningFilter, DesignsOnceForOnePairOfEdges)
{
    // The line of a bandwidth next to the rate comes with the design, so that it tells whether one was made.
    const complex_array input = make_noise(2000, 6);
    lib_dma_phy_t analyser = make_analyser(rate - 1);
    const log_capture_t log;
    complex_array first = input;
    analyser.deal_filterpm_process(0, make_config(), first);
    complex_array second = input;
    analyser.deal_filterpm_process(0, make_config(), second);
    EXPECT_EQ(log.get_records().size(), 1u);
    EXPECT_EQ(first, second);

    // Another bandwidth makes another filter, and the first one comes back as it was.
    lib_dma_frame_configure_manager_t frame;
    frame.init();
    frame.set_bandwidth(rate / 2);
    analyser.set_frame_configure(frame);
    complex_array other = input;
    analyser.deal_filterpm_process(0, make_config(), other);
    EXPECT_NE(other, first);
    complex_array fresh = input;
    make_analyser(rate / 2).deal_filterpm_process(0, make_config(), fresh);
    EXPECT_EQ(other, fresh);
    frame.set_bandwidth(rate - 1);
    analyser.set_frame_configure(frame);
    complex_array third = input;
    analyser.deal_filterpm_process(0, make_config(), third);
    EXPECT_EQ(third, first);
}

TEST(ConditioningFilter, KeepsAnEmptyAndATinyCapture)
{
    lib_dma_phy_t analyser = make_analyser(rate / 2);
    for (const std::size_t count : { 0u, 1u, 2u, 40u, 81u })
    {
        complex_array data = make_noise(count, 3);
        EXPECT_TRUE(analyser.deal_filterpm_process(0, make_config(), data));
        EXPECT_EQ(data.size(), count);
    }
}

TEST(ConditioningFilter, TakesARateOfZeroAsABandwidthAboveIt)
{
    lib_dma_phy_t analyser = make_analyser(rate / 2);
    const complex_array input = make_noise(500, 4);
    complex_array data = input;
    lib_dma_demod_config_mgr config;
    EXPECT_TRUE(analyser.deal_filterpm_process(0, config, data));
    complex_array wide = input;
    make_analyser(rate).deal_filterpm_process(0, make_config(), wide);
    EXPECT_EQ(data, wide);
}

TEST(ConditioningFilter, IsTheSameInSeveralThreads)
{
    const complex_array input = make_noise(20000, 8);
    const auto condition = [&](std::uint64_t bandwidth)
    {
        complex_array data = input;
        make_analyser(bandwidth).deal_filterpm_process(0, make_config(), data);
        return data;
    };
    const std::vector<std::uint64_t> bandwidths = { rate / 10, rate / 3, rate / 2, rate };
    std::vector<complex_array> alone;
    for (const std::uint64_t bandwidth : bandwidths)
        alone.push_back(condition(bandwidth));
    std::vector<complex_array> together(bandwidths.size());
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < bandwidths.size(); ++i)
    {
        threads.emplace_back(
            [&, i]
            {
                // What a host does meanwhile with a description of its own must not reach the analyses.
                fir_filter_lib::lib_fir_design_parameter_t parameter;
                parameter.set_fir_response_type(fir_filter_lib::LIB_FIR_RESPONSE_HIGHPASS);
                parameter.set_fir_filter_order(21);
                together[i] = condition(bandwidths[i]);
                parameter.set_fir_response_type(fir_filter_lib::LIB_FIR_RESPONSE_LOWPASS);
            });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (std::size_t i = 0; i < bandwidths.size(); ++i)
        EXPECT_EQ(together[i], alone[i]) << bandwidths[i];
}

TEST(OlderConditioningFilter, IsAWindowedSinc)
{
    constexpr std::size_t order = 512;
    constexpr double cutoff = static_cast<double>(0.8f);
    std::vector<double> taps(order + 1);
    double sum = 0.0;
    for (std::size_t n = 0; n <= order; ++n)
    {
        const double t = static_cast<double>(n) - 256.0;
        const double ideal = t == 0.0 ? cutoff : std::sin(std::numbers::pi * cutoff * t) / (std::numbers::pi * t);
        taps[n] = ideal * (0.5 - 0.5 * std::cos(2.0 * std::numbers::pi * static_cast<double>(n) / 512.0));
        sum += taps[n];
    }
    const complex_array input = make_noise(1500, 9);
    complex_array data = input;
    lib_dma_phy_t analyser;
    EXPECT_TRUE(analyser.deal_filter_process(0, make_config(), data));
    ASSERT_EQ(data.size(), input.size());
    for (std::size_t n = 0; n < input.size(); ++n)
    {
        std::complex<double> expected;
        for (std::size_t k = 0; k <= order; ++k)
        {
            const std::size_t place = n + 256;
            if (place >= k && place - k < input.size())
                expected += taps[k] / sum * std::complex<double>(input[place - k]);
        }
        EXPECT_NEAR(std::abs(std::complex<double>(data[n]) - expected), 0.0, 3e-6) << n;
    }
}

TEST(CarrierPower, GoesToTheFirstSummary)
{
    lib_dma_frame_configure_manager_t frame;
    frame.init();
    lib_dma_phy_data_manager_t store;
    store.init();
    store.set_config(frame);
    // A tone of amplitude 2 at 100 ohms: 40 mW. Of 4,000 bins 2,001 lie in half the rate, both ends counted.
    const complex_array tone = [] {
        complex_array data = make_tone(0.1, 4000);
        for (std::complex<float>& value : data)
            value *= 2.0f;
        return data;
    }();
    lib_dma_phy_t analyser;
    EXPECT_TRUE(analyser.cal_carrier_power(tone, store, make_config(), rate / 2));
    EXPECT_NEAR(store.get_error_summary(0).carrier_power, 10.0 * std::log10(40.0 * 2000.0 / 2001.0), 1e-3);
    EXPECT_TRUE(analyser.cal_carrier_power(complex_array(100), store, make_config(), rate / 2));
    EXPECT_NEAR(store.get_error_summary(0).carrier_power, -90.0, 1e-3);
}
