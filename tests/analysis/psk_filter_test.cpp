#include "analysis_runner.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace dma_test;
using namespace vrim::dma_demod_lib;

namespace
{
signal_t make_pulses(signal_pulse_t pulse, double sample_rate)
{
    signal_setting_t setting;
    setting.pulse = pulse;
    setting.symbol_count = 700;
    setting.half_span_symbols = 60;
    setting.seed = 61;
    setting.carrier_phase = 0.5;
    setting.carrier_offset_hz = 300.0;
    setting.sample_rate = sample_rate;
    return make_signal(setting);
}

analysis_setting_t make_analysis(lib_dma_meas_filter_type_t meas, lib_dma_ref_filter_type_t ref, double sample_rate)
{
    analysis_setting_t setting;
    setting.meas_filter = meas;
    setting.ref_filter = ref;
    setting.meas_interval = 500;
    setting.sample_rate = sample_rate;
    setting.filter_length = 32;
    return setting;
}

struct filter_pair_t
{
    const char* name;
    signal_pulse_t pulse;
    lib_dma_meas_filter_type_t meas;
    lib_dma_ref_filter_type_t ref;
    double largest_evm; ///< percent, of a clean signal
};

class PskFilters : public testing::TestWithParam<filter_pair_t>
{
};

TEST_P(PskFilters, GiveFiguresAndTheSentSymbols)
{
    const filter_pair_t& pair = GetParam();
    for (const double sample_rate : { 4.0e6, 8.0e6 })
    {
        const signal_t signal = make_pulses(pair.pulse, sample_rate);
        const analysis_result_t result = analyse(signal.samples, make_analysis(pair.meas, pair.ref, sample_rate));
        ASSERT_TRUE(result.locked()) << sample_rate;
        EXPECT_LE(result.summary.evm_rms, static_cast<float>(pair.largest_evm)) << sample_rate;
        EXPECT_GE(result.summary.evm_rms, 0.0f);
        EXPECT_TRUE(std::isfinite(result.summary.snr));
        EXPECT_TRUE(std::isfinite(result.table.rho));
        EXPECT_NEAR(static_cast<double>(result.table.frequency_error), 300.0, 20.0) << sample_rate;
        EXPECT_TRUE(match_decoded(signal_format_t::qpsk, result.decoded, signal.symbols, 85, 95).found) << sample_rate;
    }
}

// Where pulse and filters fit, little is left; elsewhere the symbols see their neighbours and the bound only says that the
// figure is one.
INSTANTIATE_TEST_SUITE_P(
    All, PskFilters,
    testing::Values(filter_pair_t{ "RootRaisedCosineWithRaisedCosine", signal_pulse_t::root_raised_cosine,
                                   LIB_DMA_MEAS_ROOT_RAISED_COSINE_FILTER, LIB_DMA_REF_RAISED_COSINE_FILTER, 0.6 },
                    filter_pair_t{ "NoneWithRaisedCosine", signal_pulse_t::raised_cosine, LIB_DMA_MEAS_NONE_FILTER,
                                   LIB_DMA_REF_RAISED_COSINE_FILTER, 0.6 },
                    filter_pair_t{ "NoneWithRootRaisedCosine", signal_pulse_t::root_raised_cosine, LIB_DMA_MEAS_NONE_FILTER,
                                   LIB_DMA_REF_ROOT_RAISED_COSINE_FILTER, 3.0 },
                    filter_pair_t{ "NoneWithRectangular", signal_pulse_t::rectangular, LIB_DMA_MEAS_NONE_FILTER,
                                   LIB_DMA_REF_RECTANGULAR_FILTER, 60.0 },
                    filter_pair_t{ "RectangularWithRectangular", signal_pulse_t::rectangular, LIB_DMA_MEAS_RECTANGULAR_FILTER,
                                   LIB_DMA_REF_RECTANGULAR_FILTER, 60.0 },
                    filter_pair_t{ "RectangularWithNone", signal_pulse_t::rectangular, LIB_DMA_MEAS_RECTANGULAR_FILTER,
                                   LIB_DMA_REF_NONE_FILTER, 60.0 },
                    filter_pair_t{ "RaisedCosineWithRaisedCosine", signal_pulse_t::raised_cosine,
                                   LIB_DMA_MEAS_RAISED_COSINE_FILTER, LIB_DMA_REF_RAISED_COSINE_FILTER, 40.0 },
                    filter_pair_t{ "GaussianWithGaussian", signal_pulse_t::rectangular, LIB_DMA_MEAS_GAUSSIAN_FILTER,
                                   LIB_DMA_REF_GAUSSIAN_FILTER, 60.0 },
                    filter_pair_t{ "NoneWithGaussian", signal_pulse_t::rectangular, LIB_DMA_MEAS_NONE_FILTER,
                                   LIB_DMA_REF_GAUSSIAN_FILTER, 60.0 },
                    filter_pair_t{ "NoneWithHalfSine", signal_pulse_t::rectangular, LIB_DMA_MEAS_NONE_FILTER,
                                   LIB_DMA_REF_HALF_SINE_FILTER, 60.0 },
                    filter_pair_t{ "NoneWithNone", signal_pulse_t::raised_cosine, LIB_DMA_MEAS_NONE_FILTER,
                                   LIB_DMA_REF_NONE_FILTER, 60.0 },
                    filter_pair_t{ "RootRaisedCosineWithNone", signal_pulse_t::root_raised_cosine,
                                   LIB_DMA_MEAS_ROOT_RAISED_COSINE_FILTER, LIB_DMA_REF_NONE_FILTER, 60.0 }),
    [](const auto& pair) { return pair.param.name; });

TEST(PskUserMap, DecidesTheSymbolsAsTheyAre)
{
    const signal_t signal = make_pulses(signal_pulse_t::root_raised_cosine, 4.0e6);
    analysis_setting_t setting = make_analysis(LIB_DMA_MEAS_ROOT_RAISED_COSINE_FILTER, LIB_DMA_REF_RAISED_COSINE_FILTER, 4.0e6);
    // Keys of its own on points 20 degrees off the diagonals, so that no tie can arise.
    const auto make_point = [](double degrees)
    {
        const std::complex<double> point = std::polar(1.0, degrees * 3.14159265358979323846 / 180.0);
        return std::complex<float>(static_cast<float>(point.real()), static_cast<float>(point.imag()));
    };
    setting.map = {
        { 3u, make_point(65.0) }, { 10u, make_point(155.0) }, { 11u, make_point(-115.0) }, { 40u, make_point(-25.0) }
    };
    const analysis_result_t result = analyse(signal.samples, setting);
    ASSERT_TRUE(result.locked());
    ASSERT_EQ(result.decoded.size(), 500u);
    ASSERT_EQ(result.meas_symbols.size(), 500u);
    for (std::size_t i = 0; i < result.decoded.size(); ++i)
    {
        const std::complex<float> symbol = result.meas_symbols[i];
        const std::uint32_t expected =
            symbol.imag() > 0.0f ? (symbol.real() > 0.0f ? 3u : 10u) : (symbol.real() > 0.0f ? 40u : 11u);
        ASSERT_EQ(result.decoded[i], expected) << "symbol " << i << " at " << symbol;
    }
}
} // namespace
