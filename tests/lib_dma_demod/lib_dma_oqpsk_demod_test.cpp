#include "lib_dma_demod/lib_dma_oqpsk_demod.h"

#include "message_capture.h"
#include "signal_maker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <numbers>
#include <string>
#include <vector>

using namespace vrim;
using namespace vrim::dma_demod_lib;

namespace
{
constexpr double pi = std::numbers::pi;
constexpr std::uint32_t sps = 8;
constexpr std::uint32_t run_in = 114; // symbols, what the driver gives to either end
constexpr double rate = 1.0e6;

/// A signal of eight samples a symbol, as the driver delivers it.
dma_test::signal_setting_t make_setting()
{
    dma_test::signal_setting_t setting;
    setting.format = dma_test::signal_format_t::oqpsk;
    setting.half_span_symbols = 64;
    setting.symbol_rate = rate;
    setting.sample_rate = sps * rate;
    setting.symbol_count = 600;
    return setting;
}

/// A demodulator with its store, set up for the root raised cosine of `make_setting`.
struct bench_t
{
    bench_t()
    {
        lib_dma_format_configure_manager_t& format = segment().get_format_configure();
        format.set_format_group(LIB_DMA_GROUP_OQPSK);
        format.set_symbol_rate(static_cast<std::uint64_t>(rate));
        format.set_points_per_symbol(static_cast<lib_dma_point_per_symbol_type_t>(4));
        lib_dma_filter_configure_manager_t& filter = segment().get_filter_configure();
        filter.set_meas_filter_type(LIB_DMA_MEAS_ROOT_RAISED_COSINE_FILTER);
        filter.set_ref_filter_type(LIB_DMA_REF_RAISED_COSINE_FILTER);
        filter.set_filter_alpha(0.35f);
        filter.set_filter_length(32);
        segment().get_time_configure().set_meas_interval(LIB_DMA_GROUP_OQPSK, 300);
        config.pre_num = run_in * sps;
        config.head_len = run_in * sps;
        config.sample_rate = static_cast<std::uint64_t>(sps * rate);
    }

    lib_dma_segment_configure_manager_t& segment() { return frame.get_segment(0); }
    lib_dma_format_configure_manager_t& format() { return segment().get_format_configure(); }
    lib_dma_filter_configure_manager_t& filter() { return segment().get_filter_configure(); }

    bool run(const complex_array& block)
    {
        store.init();
        store.set_config(frame);
        store.get_psk_modulation_param().modulation_order = 4;
        store.get_psk_modulation_param().rotation_angle = 0.7853982f;
        const trace_capture_t quiet;
        demod.init();
        demod.set_frame_configure(frame, 0, config);
        return demod.lib_dma_oqpsk_demod_process(0, {}, block, store, config);
    }

    float evm() { return store.get_error_summary(0).evm_rms; }
    double frequency() { return static_cast<double>(store.get_err_table(0).frequency_error); }

    lib_dma_frame_configure_manager_t frame;
    lib_dma_demod_config_mgr config;
    lib_dma_phy_data_manager_t store;
    lib_dma_oqpsk_demod_t demod;
};

complex_array make_tone(double cycles, std::size_t count)
{
    complex_array tone(count);
    for (std::size_t n = 0; n < count; ++n)
        tone[n] = std::complex<float>(std::polar(1.0, 2.0 * pi * cycles * static_cast<double>(n)));
    return tone;
}
} // namespace

TEST(OqpskJudge, DecidesByQuadrantAndNamesAnUnknownFormat)
{
    lib_dma_oqpsk_demod_t demod;
    for (const std::uint32_t format : { 0u, 1u })
    {
        for (int k = 0; k < 4; ++k)
        {
            const std::complex<double> point = std::polar(1.0, pi / 4.0 + k * pi / 2.0);
            const std::complex<float> near(point + std::complex<double>(0.2, -0.15));
            const std::complex<float> decided =
                demod.oqpsk_judge(static_cast<lib_dma_psk_modulation_type_t>(format), near, 0.7853982f);
            EXPECT_LT(std::abs(std::complex<double>(decided) - point), 1e-6) << format << " " << k;
        }
    }
    const log_capture_t log;
    EXPECT_EQ(demod.oqpsk_judge(static_cast<lib_dma_psk_modulation_type_t>(2), { 1.0f, 1.0f }, 0.0f), std::complex<float>());
    EXPECT_EQ(log.count(common_log::log_level_end, "oqpsk_judge::oqpsk_judge default!\n"), 1);
}

TEST(OqpskProcess, MeasuresACleanSignalAtEveryTimingAndPhase)
{
    for (const double timing : { 0.0, 0.2, 0.45, 0.5, 0.8 })
    {
        for (const double phase : { 0.1, 1.7, 3.3, 4.9 })
        {
            dma_test::signal_setting_t setting = make_setting();
            setting.timing_symbols = timing;
            setting.carrier_phase = phase;
            setting.carrier_offset_hz = 12345.0;
            bench_t bench;
            ASSERT_TRUE(bench.run(dma_test::make_signal(setting).samples));
            EXPECT_LT(bench.evm(), 0.4f) << timing << " " << phase;
            EXPECT_NEAR(bench.frequency(), 12345.0, 2e-5 * rate) << timing << " " << phase;
        }
    }
}

TEST(OqpskProcess, TakesOffsetsUpToTheReachOfTheEstimator)
{
    for (const double offset : { -0.95, -0.4, 0.3, 0.95 })
    {
        dma_test::signal_setting_t setting = make_setting();
        setting.carrier_offset_hz = offset * rate;
        setting.gain = 1e-5; // the fourth power of it is 1e-20
        bench_t bench;
        ASSERT_TRUE(bench.run(dma_test::make_signal(setting).samples));
        EXPECT_LT(bench.evm(), 0.4f) << offset;
        EXPECT_NEAR(bench.frequency(), offset * rate, 2e-5 * rate);
    }
}

TEST(OqpskProcess, AddsTheSlopeOfThePhaseToTheEstimatedCarrier)
{
    // The estimate sees the first 8,192 samples of a record whose carrier climbs, the slope all of it: 29 Hz more.
    constexpr double climb_hz = 120.0;
    dma_test::signal_setting_t setting = make_setting();
    setting.symbol_count = 2400;
    complex_array block = dma_test::make_signal(setting).samples;
    const double duration = static_cast<double>(block.size()) / (sps * rate);
    for (std::size_t n = 0; n < block.size(); ++n)
    {
        const double time = static_cast<double>(n) / (sps * rate);
        block[n] *= std::complex<float>(std::polar(1.0, 2.0 * pi * time * (5000.0 + 0.5 * climb_hz * time / duration)));
    }
    bench_t bench;
    bench.segment().get_time_configure().set_meas_interval(LIB_DMA_GROUP_OQPSK, 2000);
    ASSERT_TRUE(bench.run(block));
    EXPECT_NEAR(bench.frequency(), 5000.0 + 0.5 * climb_hz, 10.0);
}

TEST(OqpskProcess, MeasuresHalfSinePulsesOnTheSampleGrid)
{
    for (const double offset : { 0.0, 0.31, -0.9 })
    {
        for (const bool aligned : { false, true })
        {
            for (const double samples_late : { 0.0, 0.5 })
            {
                dma_test::signal_setting_t setting = make_setting();
                setting.pulse = dma_test::signal_pulse_t::half_sine;
                setting.carrier_offset_hz = offset * rate;
                setting.timing_symbols = 0.25 + samples_late / sps;
                setting.carrier_phase = 0.7;
                bench_t bench;
                bench.format().set_oqpsk_alig_iq(aligned);
                bench.filter().set_meas_filter_type(LIB_DMA_MEAS_NONE_FILTER);
                bench.filter().set_ref_filter_type(LIB_DMA_REF_HALF_SINE_FILTER);
                ASSERT_TRUE(bench.run(dma_test::make_signal(setting).samples));
                // Between the samples the kinks of the pulses fold back: no delay brings them to the grid.
                EXPECT_LT(bench.evm(), samples_late == 0.0 ? 0.1f : 9.5f) << offset << " " << aligned;
                EXPECT_NEAR(bench.frequency(), offset * rate, 2e-5 * rate) << offset << " " << aligned;
            }
        }
    }
}

TEST(OqpskProcess, FindsASyncWordAtEveryPhaseWithExactSymbols)
{
    const std::string word = "0111001011010001101110000101";
    std::vector<std::uint32_t> word_symbols;
    for (std::size_t i = 0; i < word.size(); i += 2)
        word_symbols.push_back(static_cast<std::uint32_t>((word[i] - '0') * 2 + (word[i + 1] - '0')));
    for (int quarter = 0; quarter < 4; ++quarter)
    {
        for (const double timing : { 0.1, 0.6 })
        {
            dma_test::signal_setting_t setting = make_setting();
            setting.carrier_phase = 0.3 + quarter * pi / 2.0;
            setting.timing_symbols = timing;
            setting.sync_symbols = word_symbols;
            setting.sync_position = 200;
            setting.snr_db = 20.0;
            const dma_test::signal_t signal = dma_test::make_signal(setting);
            bench_t bench;
            bench.frame.set_sync_search(true);
            bench.frame.set_sync_pattern_type(LIB_DMA_SYNC_BIT_PATTERN);
            bench.frame.set_sync_pattern_bit(word);
            bench.segment().get_time_configure().set_meas_interval(LIB_DMA_GROUP_OQPSK, 200);
            ASSERT_TRUE(bench.run(signal.samples));
            EXPECT_TRUE(bench.store.get_sync_search_flag_vec().at(0)) << quarter << " " << timing;
            const std::vector<std::uint32_t>& decoded = bench.store.get_decode_bit(0);
            const std::vector<std::uint32_t> sent(signal.symbols.begin() + 200, signal.symbols.begin() + 400);
            EXPECT_EQ(decoded, sent) << quarter << " " << timing;
        }
    }
}

TEST(OqpskProcess, ReportsEveryHalfSymbolUnlessTheRailsAreAligned)
{
    const complex_array block = dma_test::make_signal(make_setting()).samples;
    for (const bool aligned : { false, true })
    {
        bench_t bench;
        bench.format().set_oqpsk_alig_iq(aligned);
        ASSERT_TRUE(bench.run(block));
        EXPECT_EQ(bench.store.get_error_summary(0).evm_trace.size(), aligned ? 300u : 600u);
        EXPECT_EQ(bench.store.get_iq_meas_time_constellation(0).size(), aligned ? 300u : 600u);
        EXPECT_EQ(bench.store.get_error_summary(0).meas_data.size(), 1200u);
        EXPECT_EQ(bench.store.get_decode_bit(0).size(), 300u);
        EXPECT_EQ(bench.store.get_iq_raw_time(0).size(), 1200u);
    }
}

TEST(OqpskProcess, LogsItsStagesInTheirOrder)
{
    bench_t bench;
    const complex_array block = dma_test::make_signal(make_setting()).samples;
    const log_capture_t log;
    ASSERT_TRUE(bench.run(block));
    const char* const stages[] = {
        "lib_dma_oqpsk_demod_t::timing_recovery start.\n", "lib_dma_oqpsk_demod_t::meas_filter_process start.\n",
        "lib_dma_oqpsk_demod_t::symbol_detect.\n",         "lib_dma_oqpsk_demod_t::ref_data_generate.\n",
        "lib_dma_oqpsk_demod_t::oqpsk_decode_bit.\n",      "lib_dma_oqpsk_demod_t::error_cal.\n",
    };
    std::size_t next = 0;
    for (const common_log::log_record_t& record : log.get_records())
    {
        if (next < std::size(stages) && record.message == stages[next])
            ++next;
    }
    EXPECT_EQ(next, std::size(stages));
}

TEST(OqpskProcess, EndsWithItsTextWhenTheLineStandsAtTheEndOfTheSpectrum)
{
    // Four times this tone is exactly half the working rate, the first bin.
    bench_t bench;
    const log_capture_t log;
    const complex_array block = make_tone(-1.0 / 8.0, 8192 + 2 * run_in * sps);
    EXPECT_FALSE(bench.run(block));
    EXPECT_EQ(log.count(common_log::log_level_error, "lib_dma_qam_demod_t::frequency_error_correct error!\n"), 1);
    EXPECT_EQ(bench.store.get_iq_raw_time(0), block);
}

TEST(OqpskProcess, EndsWellOrBadlyButAlwaysEndsOnDegenerateBlocks)
{
    for (const std::size_t size : { 0u, 1u, 100u, 2u * run_in * sps, 4000u })
    {
        for (const float level : { 0.0f, 1e-11f, 1e30f, std::numeric_limits<float>::quiet_NaN() })
        {
            bench_t bench;
            EXPECT_NO_THROW(bench.run(complex_array(size, { level, level }))) << size << " " << level;
        }
    }
}

TEST(OqpskProcess, DropsTheHeadOfTheEqualizerFromTheSymbolsToo)
{
    const complex_array block = dma_test::make_signal(make_setting()).samples;
    bench_t plain;
    ASSERT_TRUE(plain.run(block));
    bench_t bench;
    bench.segment().get_advance_configure().set_equalizer(true);
    bench.segment().get_advance_configure().set_equalizer_coef(1e-14); // the filter stays a delay
    bench.config.equalizer_head_len = 11;
    ASSERT_TRUE(bench.run(block));
    const std::vector<std::uint32_t>& sent = plain.store.get_decode_bit(0);
    const std::vector<std::uint32_t>& decoded = bench.store.get_decode_bit(0);
    ASSERT_EQ(decoded.size(), sent.size());
    EXPECT_TRUE(std::equal(sent.begin() + 11, sent.end(), decoded.begin()));
    const complex_array& waveform = plain.store.get_error_summary(0).ref_data;
    const complex_array& later = bench.store.get_error_summary(0).ref_data;
    ASSERT_EQ(later.size(), waveform.size());
    // Both are scaled to the largest symbol of their own window.
    EXPECT_LT(std::abs(later[0] - waveform[44]), 0.02f);
    EXPECT_EQ(bench.store.get_error_summary(0).meas_data.size(), waveform.size());
    EXPECT_LT(bench.evm(), 0.4f);
}
