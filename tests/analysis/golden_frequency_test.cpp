// FSK, MSK, GMSK and offset QPSK. The model behind these figures has no filter that limits the band, and the one of the driver
// takes noise away however wide the band is. So the block goes to the demodulator as it stands in the capture.

#include "golden_capture.h"
#include "message_capture.h"

#include <cmath>
#include <cstddef>
#include <gtest/gtest.h>
#include <string>

using namespace dma_test;
using namespace vrim::dma_demod_lib;

namespace
{
/// The block that the driver takes out of a capture at the working rate.
vrim::complex_array cut_block(const vrim::complex_array& capture, const analysis_setting_t& setting,
                              const lib_dma_demod_config_mgr& config)
{
    const std::size_t sps = static_cast<std::size_t>(setting.sample_rate) / setting.symbol_rate;
    const auto first = capture.begin() + static_cast<std::ptrdiff_t>(config.data_start - config.pre_num_max);
    return { first, first + static_cast<std::ptrdiff_t>(setting.meas_interval * sps + 2 * config.pre_num_max) };
}

/// An analysis without the filter in front: one through the driver, which works out the lengths, then the demodulator once more
/// on the capture itself. Only for captures at the working rate.
analysis_result_t analyse_unfiltered(const vrim::complex_array& capture, const analysis_setting_t& setting)
{
    lib_dma_phy_t analyser;
    analysis_result_t filtered = analyse(analyser, capture, setting);
    if (filtered.code != LIB_DMA_RESULT_OK)
        return filtered;
    lib_dma_phy_data_manager_t& store = analyser.get_data_manager();
    lib_dma_demod_config_mgr& config = store.get_dma_demod_config_mgr(0);
    const trace_capture_t traces;
    const bool processed = analyser.deal_demo_process(0, {}, cut_block(capture, setting, config),
                                                      store.get_psk_modulation_param(), config);
    return take_result(analyser, 0, processed ? LIB_DMA_RESULT_OK : LIB_DMA_RESULT_DEMODULATOR_FAILED);
}

/// Of FSK the carrier is the mean of the outer tones, each of which may be off by as much as the tolerance of the EVM allows.
double get_frequency_tolerance(const golden_capture_t& golden)
{
    constexpr double tolerance_hz = 0.3;
    constexpr double counted_symbols = 1104.0;
    if (!golden.expected.contains("fsk_deviation"))
        return tolerance_hz;
    const double outer_symbols = counted_symbols * 2.0 / get_order(golden.setting.format);
    return tolerance_hz + 0.03 / 100.0 * golden.expected.at("fsk_deviation").get<double>() / std::sqrt(outer_symbols);
}

class GoldenFrequency : public testing::TestWithParam<std::string>
{
};

TEST_P(GoldenFrequency, ReadsTheFiguresOfAnIndependentModel)
{
    const golden_capture_t golden = read_golden_capture(GetParam());
    const analysis_result_t result = analyse_unfiltered(golden.capture.samples, golden.setting);
    ASSERT_EQ(result.code, LIB_DMA_RESULT_OK);

    // Without a measurement filter noise reaches up to the Nyquist frequency, where two timing filters differ.
    const bool open_band = golden.setting.meas_filter == LIB_DMA_MEAS_NONE_FILTER;
    const double evm = golden.expected.at("evm_rms").get<double>();
    golden.expect_common(result, open_band ? 0.1 + 0.1 * evm : 0.1);
    golden.expect("frequency_error", static_cast<double>(result.table.frequency_error), get_frequency_tolerance(golden));
    golden.expect("snr", static_cast<double>(result.summary.snr), 0.25);
    golden.expect("phase_err_rms", static_cast<double>(result.summary.phase_err_rms), 0.03, 0.02);
    golden.expect("phase_err_max", static_cast<double>(result.summary.phase_err_max), 0.1, 0.05);
    if (golden.expected.contains("fsk_deviation"))
    {
        golden.expect("fsk_deviation", result.summary.fsk_deviation, 0.0, 0.001);
        golden.expect("fsk_deviation_max", result.summary.fsk_deviation_max, 0.0, 0.001);
        golden.expect("fsk_deviation_min", result.summary.fsk_deviation_min, 0.0, 0.001);
    }
}

const auto print_name = [](const auto& name) { return "Of_" + name.param; };

INSTANTIATE_TEST_SUITE_P(Fsk, GoldenFrequency, testing::Values("2fsk", "4fsk", "8fsk", "2gfsk_bt05"), print_name);
INSTANTIATE_TEST_SUITE_P(Msk, GoldenFrequency, testing::Values("msk", "gmsk_bt05", "gmsk_bt03"), print_name);
INSTANTIATE_TEST_SUITE_P(Oqpsk, GoldenFrequency, testing::Values("oqpsk", "oqpsk_aligned"), print_name);
} // namespace
