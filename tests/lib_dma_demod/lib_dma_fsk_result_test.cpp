#include "lib_dma_demod/lib_dma_fsk_demod.h"

#include "message_capture.h"
#include "signal_maker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <limits>
#include <numbers>
#include <string>
#include <vector>

using namespace vrim;
using namespace vrim::dma_demod_lib;

namespace
{
using index_array = std::vector<std::uint32_t>;
using common_log::log_level_error;
using common_log::log_level_info;

constexpr const char* no_modulation_text = "There is no modulation: the symbols have no tones that differ.\n";

const lib_dma_fsk_modulation_type_t all_formats[] = { LIB_DMA_FSK_2,  LIB_DMA_FSK_4,  LIB_DMA_FSK_8,
                                                      LIB_DMA_FSK_16, LIB_DMA_FSK_32, LIB_DMA_FSK_64 };

bool contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

/// A demodulator before the decoding: waveforms of levels given by index, one point a symbol and a second one far off.
struct fsk_decode_run_t
{
    fsk_decode_run_t(lib_dma_fsk_modulation_type_t format, const index_array& sent, float meas_gain = 1.0f)
    {
        lib_dma_frame_configure_manager_t frame;
        store.init();
        store.set_config(frame);
        demod.fsk_format = format;
        demod.fsk_judge(format, { 0.0f, 0.0f });
        demod.setting.points_per_symbol = 2;
        demod.setting.sps = 8;
        demod.setting.sync_pattern_bitarr.clear();
        for (const std::uint32_t index : sent)
        {
            const float level = get_level(format, index);
            demod.work.meas_data.emplace_back(meas_gain * level, 0.0f);
            demod.work.meas_data.emplace_back(0.05f, 0.0f);
            demod.work.ref_data.emplace_back(0.5f * level, 0.0f);
            demod.work.ref_data.emplace_back(0.05f, 0.0f);
        }
        demod.setting.meas_interval = static_cast<std::uint32_t>(demod.work.meas_data.size());
    }

    /// The lower half of the indices rises from the lowest tone, the upper half falls from the highest.
    static float get_level(lib_dma_fsk_modulation_type_t format, std::uint32_t index)
    {
        const std::uint32_t tones = static_cast<std::uint32_t>(format);
        const double place = index < tones / 2 ? index : tones - 1 - (index - tones / 2);
        return static_cast<float>(2.0 * place / (tones - 1.0) - 1.0);
    }

    void search(const bit_array& pattern)
    {
        demod.setting.sync_search = true;
        demod.setting.sync_pattern_bitarr = pattern;
    }

    bool run() { return demod.fsk_decode_bit(0, store); }

    lib_dma_fsk_demod_t demod;
    lib_dma_phy_data_manager_t store;
};

index_array make_indices(std::size_t count, std::uint32_t tones)
{
    index_array indices;
    std::uint32_t state = 12345;
    for (std::size_t i = 0; i < count; ++i)
    {
        state = state * 1664525u + 1013904223u;
        indices.push_back((state >> 16) % tones);
    }
    return indices;
}
} // namespace

TEST(FskDecodeBit, GivesTheIndicesOfTheTones)
{
    const log_capture_t log;
    for (const lib_dma_fsk_modulation_type_t format : all_formats)
    {
        const index_array sent = make_indices(300, static_cast<std::uint32_t>(format));
        fsk_decode_run_t decode(format, sent);
        EXPECT_TRUE(decode.run());
        EXPECT_EQ(decode.store.get_decode_bit(0), sent) << format;
    }
    EXPECT_EQ(log.count(log_level_info, "lib_dma_fsk_demod_t::fsk_decode_bit start.\n"), 6);
}

TEST(FskDecodeBit, DecidesBeforeItScales)
{
    // A measurement at twice its level: inner tones of four become outer ones. Two tones do not care.
    const index_array sent = { 0, 1, 2, 3, 1, 0, 3, 2 };
    fsk_decode_run_t four(LIB_DMA_FSK_4, sent, 2.2f);
    EXPECT_TRUE(four.run());
    EXPECT_EQ(four.store.get_decode_bit(0), (index_array{ 0, 0, 2, 2, 0, 0, 2, 2 }));
    fsk_decode_run_t two(LIB_DMA_FSK_2, { 0, 1, 1, 0 }, 2.2f);
    EXPECT_TRUE(two.run());
    EXPECT_EQ(two.store.get_decode_bit(0), (index_array{ 0, 1, 1, 0 }));
}

TEST(FskDecodeBit, BringsTheOuterTonesToOne)
{
    fsk_decode_run_t decode(LIB_DMA_FSK_2, { 0, 1, 1, 0 }, 3.0f);
    EXPECT_TRUE(decode.run());
    EXPECT_NEAR(decode.demod.work.ref_data[0].real(), -1.0f, 1e-6f);
    EXPECT_NEAR(decode.demod.work.meas_data[2].real(), 1.0f, 1e-6f);
}

TEST(FskDecodeBit, FindsAWordAndDoesNotTouchTheTones)
{
    const index_array sent = { 3, 3, 1, 0, 2, 1, 3, 0, 0, 2 };
    fsk_decode_run_t decode(LIB_DMA_FSK_4, sent);
    decode.search({ 1, 0, 0, 1, 1, 1 }); // 2, 1, 3
    decode.demod.setting.meas_interval = 8;
    EXPECT_TRUE(decode.run());
    EXPECT_TRUE(decode.store.get_sync_search_flag_vec().at(0));
    EXPECT_EQ(decode.store.get_decode_bit(0), (index_array{ 2, 1, 3, 0 }));
    EXPECT_FLOAT_EQ(decode.demod.work.ref_data[0].real(), 1.0f);
    EXPECT_EQ(decode.demod.work.ref_data.size(), 8u);
}

TEST(FskDecodeBit, DoesNotTakeAnInvertedWordForTheWord)
{
    const index_array sent = { 0, 0, 1, 0, 1, 1, 0, 1, 0, 0, 0, 0 };
    fsk_decode_run_t decode(LIB_DMA_FSK_2, sent);
    decode.search({ 0, 1, 0, 0, 1, 0, 1, 1 }); // the complement of 1, 0, 1, 1, 0, 1, 0, 0
    const log_capture_t log;
    EXPECT_TRUE(decode.run());
    EXPECT_FALSE(decode.store.get_sync_search_flag_vec().at(0));
    EXPECT_EQ(log.count(log_level_error, "Pattern Not Found!\n"), 1);
    EXPECT_EQ(decode.store.get_decode_bit(0), sent);
}

TEST(FskDecodeBit, DecidesOnAUsersMap)
{
    fsk_decode_run_t decode(LIB_DMA_FSK_2, { 0, 1, 0 });
    decode.demod.setting.constellation_setting_flag = true;
    decode.demod.setting.const_iq_map = { { 0, { 0.9f, 0.0f } }, { 7, { -0.9f, 0.0f } } };
    EXPECT_TRUE(decode.run());
    EXPECT_EQ(decode.store.get_decode_bit(0), (index_array{ 7, 0, 7 }));
}

TEST(FskDecodeBit, SaysThatTheDataAreTooShort)
{
    fsk_decode_run_t decode(LIB_DMA_FSK_2, { 0, 1, 0, 1 });
    decode.demod.setting.meas_interval = 9;
    const log_capture_t log;
    EXPECT_TRUE(decode.run());
    EXPECT_EQ(log.count(log_level_error, "fsk_decode_bit:data is too short!\n"), 1);
}

TEST(FskDecodeBit, FailsWithoutLevels)
{
    fsk_decode_run_t no_reference(LIB_DMA_FSK_2, { 0, 1, 0, 1 });
    no_reference.demod.work.ref_data.assign(8, { 0.0f, 0.0f });
    fsk_decode_run_t no_measurement(LIB_DMA_FSK_2, { 0, 1, 0, 1 });
    no_measurement.demod.work.meas_data.assign(8, { 0.0f, 0.0f });
    const trace_capture_t trace;
    EXPECT_FALSE(no_reference.run());
    EXPECT_TRUE(contains(trace.get_text(), "fsk_decode_bit::rms_normalize Report: Data array has a too small rms0: "));
    EXPECT_FALSE(no_measurement.run());
    EXPECT_TRUE(contains(trace.get_text(), "fsk_decode_bit::rms_normalize Report: Data array has a too small rms2: "));
}

namespace
{
/// Compares levels at one point a symbol; the deviation figures stand in the store already.
struct error_run_t
{
    error_run_t(const float_array& ref, const float_array& meas,
                lib_dma_evm_normalize_type_t normalization = LIB_DMA_EVM_NORMALIZE_RMS)
    {
        lib_dma_frame_configure_manager_t frame;
        store.init();
        store.set_config(frame);
        demod.setting.points_per_symbol = 1;
        demod.setting.evm_normalization_ref = normalization;
        for (const float value : ref)
            demod.work.ref_data.emplace_back(value, 0.0f);
        for (const float value : meas)
            demod.work.meas_data.emplace_back(value, 0.0f);
        demod.work.meas_symbol = demod.work.meas_data;
        store.get_error_summary(0).fsk_deviation = 1.0;
        store.get_error_summary(0).fsk_deviation_max = 2.0;
        store.get_error_summary(0).fsk_deviation_min = 3.0;
        store.get_error_summary(0).carrier_power = 4.0f;
        store.get_err_table(0).quad_error = 5.0f;
        const trace_capture_t trace;
        result = demod.error_cal(0, store);
        text = trace.get_text();
    }

    const error_summary_t& summary() { return store.get_error_summary(0); }

    lib_dma_fsk_demod_t demod;
    lib_dma_phy_data_manager_t store;
    std::string text;
    bool result = false;
};

const float_array error_ref = { 1.0f, -1.0f, 1.0f / 3.0f, -1.0f / 3.0f };
const float_array error_meas = { 0.9f, -0.8f, 0.30f, -0.35f }; // errors 0.1, -0.2, 0.0333, 0.0167
} // namespace

TEST(FskErrorCal, IsInPercentOfTheDeviationWhateverTheNormalisation)
{
    for (const lib_dma_evm_normalize_type_t normalization :
         { LIB_DMA_EVM_NORMALIZE_RMS, LIB_DMA_EVM_NORMALIZE_CONSTELLATION_MAX })
    {
        const log_capture_t log;
        error_run_t run(error_ref, error_meas, normalization);
        EXPECT_TRUE(run.result);
        const double squares = 0.01 + 0.04 + 1.0 / 900.0 + 1.0 / 3600.0;
        EXPECT_NEAR(static_cast<double>(run.summary().evm_rms), std::sqrt(squares / 4.0) * 100.0, 1e-4);
        // Signed, at the largest and at the smallest size.
        EXPECT_NEAR(run.summary().evm_max, -20.0f, 1e-4f);
        EXPECT_EQ(run.summary().evm_max_idx, 1u);
        EXPECT_NEAR(run.summary().evm_min, 100.0f / 60.0f, 1e-4f);
        EXPECT_EQ(run.summary().evm_min_idx, 3u);
        ASSERT_EQ(run.summary().evm_trace.size(), 4u);
        EXPECT_NEAR(run.summary().evm_trace[1], 20.0f, 1e-4f);
        EXPECT_EQ(log.count(log_level_info, "lib_dma_fsk_demod_t::error_cal start.\n"), 1);
        EXPECT_TRUE(contains(run.text, "EVM(max)  = -20.0000 ,idx = 1 \n"));
    }
}

TEST(FskErrorCal, TakesMagnitudesInPercentOfTheMeasuredSymbols)
{
    error_run_t run(error_ref, error_meas, LIB_DMA_EVM_NORMALIZE_CONSTELLATION_MAX);
    const double norm = std::sqrt((0.81 + 0.64 + 0.09 + 0.1225) / 4.0);
    const double squares = 0.01 + 0.04 + 1.0 / 900.0 + 1.0 / 3600.0;
    EXPECT_NEAR(static_cast<double>(run.summary().mag_err_rms), std::sqrt(squares / 4.0) / norm * 100.0, 1e-4);
    EXPECT_NEAR(static_cast<double>(run.summary().mag_err_max), -20.0 / norm, 1e-4);
    EXPECT_EQ(run.summary().mag_err_max_idx, 1u);
    EXPECT_NEAR(static_cast<double>(run.summary().mag_err_min), 100.0 / 60.0 / norm, 1e-4);
    EXPECT_EQ(run.summary().mag_err_min_idx, 3u);
    EXPECT_NEAR(static_cast<double>(run.summary().mag_err_trace.at(0)), 10.0 / norm, 1e-4);
    EXPECT_NEAR(static_cast<double>(run.store.get_mag_error_vector(0).at(1).real()), -20.0 / norm, 1e-4);
    EXPECT_NEAR(run.store.get_error_vector(0).at(1).real(), -0.2f, 1e-6f);
}

TEST(FskErrorCal, TakesTheFiguresAtTheSymbolsOnly)
{
    lib_dma_fsk_demod_t demod;
    lib_dma_phy_data_manager_t store;
    store.init();
    store.set_config(lib_dma_frame_configure_manager_t());
    demod.setting.points_per_symbol = 2;
    demod.work.ref_data = { { 1.0f, 0.0f }, { 0.0f, 0.0f }, { -1.0f, 0.0f }, { 0.0f, 0.0f } };
    demod.work.meas_data = { { 1.1f, 0.0f }, { 9.0f, 0.0f }, { -1.1f, 0.0f }, { 9.0f, 0.0f } };
    const trace_capture_t trace;
    EXPECT_TRUE(demod.error_cal(0, store));
    EXPECT_NEAR(store.get_error_summary(0).evm_rms, 10.0f, 1e-4f);
    EXPECT_EQ(store.get_error_vector(0).size(), 4u);
}

TEST(FskErrorCal, KeepsWhatWasMeasuredBefore)
{
    error_run_t run(error_ref, error_meas);
    EXPECT_EQ(run.summary().fsk_deviation, 1.0);
    EXPECT_EQ(run.summary().fsk_deviation_max, 2.0);
    EXPECT_EQ(run.summary().fsk_deviation_min, 3.0);
    EXPECT_EQ(run.summary().carrier_power, 4.0f);
}

TEST(FskErrorCal, FillsTheErrorTable)
{
    error_run_t run(error_ref, error_meas);
    const err_table_t& table = run.store.get_err_table(0);
    EXPECT_EQ(table.quad_error, 0.0f);
    EXPECT_EQ(table.gain_imbalance, std::numeric_limits<float>::infinity());
    EXPECT_NEAR(static_cast<double>(table.iq_offset), 20.0 * std::log10(0.05 / 4.0), 1e-3); // mean error 0.0125
    EXPECT_GT(table.rho, 0.99f);
    EXPECT_EQ(run.summary().phase_err_rms, 0.0f);
    const double signal = 2.0 + 2.0 / 9.0;
    const double error = 0.01 + 0.04 + 1.0 / 900.0 + 1.0 / 3600.0;
    EXPECT_NEAR(static_cast<double>(run.summary().snr), 10.0 * std::log10(signal / error), 1e-3);
    EXPECT_EQ(run.store.get_iq_ref_time_constellation(0).size(), 4u);
    EXPECT_EQ(run.summary().meas_data.size(), 4u);
}

namespace
{
/// A demodulator at 8 working samples a symbol, 1 MHz, 2 points a symbol, and what it takes for a run.
struct process_run_t
{
    explicit process_run_t(lib_dma_fsk_modulation_type_t format = LIB_DMA_FSK_2)
    {
        lib_dma_segment_configure_manager_t& segment = frame.get_segment(0);
        segment.get_format_configure().set_format_group(LIB_DMA_GROUP_FSK);
        segment.get_format_configure().set_fsk_format(format);
        segment.get_format_configure().set_symbol_rate(1000000);
        segment.get_format_configure().set_points_per_symbol(LIB_DMA_POINT2);
        segment.get_filter_configure().set_meas_filter_type(LIB_DMA_MEAS_NONE_FILTER);
        segment.get_filter_configure().set_ref_filter_type(LIB_DMA_REF_RAISED_COSINE_FILTER);
        segment.get_filter_configure().set_filter_alpha(0.5f);
        segment.get_filter_configure().set_filter_length(32);
        segment.get_time_configure().set_meas_interval(LIB_DMA_GROUP_FSK, 300);
        segment.get_time_configure().set_meas_offset(0);
        store.init();
        store.set_config(frame);
        config.pre_num = 32 * 8;
        config.head_len = 32 * 8;
        config.sample_rate = 8000000;
        config.data_len = 100000;
        config.carrier_frequency_offset = 1e9; // of another pass
    }

    bool run(const complex_array& block)
    {
        const trace_capture_t trace;
        demod.init();
        demod.set_frame_configure(frame, 0, config);
        const bool result = demod.lib_dma_fsk_demod_process(0, {}, block, store, config);
        text = trace.get_text();
        return result;
    }

    lib_dma_segment_configure_manager_t& segment() { return frame.get_segment(0); }
    const error_summary_t& summary() { return store.get_error_summary(0); }

    lib_dma_frame_configure_manager_t frame;
    lib_dma_phy_data_manager_t store;
    lib_dma_demod_config_mgr config;
    lib_dma_fsk_demod_t demod;
    std::string text;
};

/// 500 symbols of raised cosine tones 250 kHz off the carrier, which is 20 kHz off.
dma_test::signal_t make_fsk(dma_test::signal_format_t format)
{
    dma_test::signal_setting_t setting;
    setting.format = format;
    setting.pulse = dma_test::signal_pulse_t::raised_cosine;
    setting.shape = 0.5;
    setting.sample_rate = 8.0e6;
    setting.symbol_count = 500;
    setting.balanced_run = 20;
    setting.deviation_hz = 250e3;
    setting.timing_symbols = 0.3;
    setting.carrier_offset_hz = 20e3;
    return dma_test::make_signal(setting);
}
} // namespace

TEST(FskProcess, MeasuresASignal)
{
    const struct
    {
        lib_dma_fsk_modulation_type_t format;
        dma_test::signal_format_t signal;
    } formats[] = { { LIB_DMA_FSK_2, dma_test::signal_format_t::fsk2 }, { LIB_DMA_FSK_4, dma_test::signal_format_t::fsk4 } };
    for (const auto& entry : formats)
    {
        const dma_test::signal_t signal = make_fsk(entry.signal);
        process_run_t run(entry.format);
        const log_capture_t log;
        ASSERT_TRUE(run.run(signal.samples));
        EXPECT_LT(run.summary().evm_rms, 1.5f);
        // The carrier counts 436 symbols; a surplus of two of them moves it by 1.1 kHz.
        EXPECT_NEAR(run.config.carrier_frequency_offset, 20e3, 2.5e3);
        EXPECT_EQ(run.store.get_err_table(0).frequency_error, static_cast<float>(run.config.carrier_frequency_offset));
        EXPECT_NEAR(run.summary().fsk_deviation, 250e3, 2.5e3);
        // Single symbols, carrier included.
        EXPECT_NEAR(run.summary().fsk_deviation_max, 270e3, 15e3);
        EXPECT_NEAR(run.summary().fsk_deviation_min, -230e3, 15e3);
        // The head keeps one symbol of its 32: decoding starts at symbol 31.
        ASSERT_EQ(run.store.get_decode_bit(0).size(), 300u);
        const auto first = signal.symbols.begin() + 31;
        EXPECT_EQ(run.store.get_decode_bit(0), index_array(first, first + 300));
        EXPECT_EQ(run.store.get_iq_raw_time(0).size(), 600u);
        EXPECT_TRUE(contains(run.text, "raw time data len is 600"));
        EXPECT_TRUE(contains(run.text, "lib_dma_fsk_demod_t timing_recovery time: "));
        EXPECT_EQ(log.count(log_level_error, no_modulation_text), 0);
        std::size_t lines = 0;
        for (const common_log::log_record_t& record : log.get_records())
        {
            if (record.level == log_level_info && record.message.find("Carrier Frequency Offset(Hz) = ") == 0)
                ++lines;
        }
        EXPECT_EQ(lines, 2u);
    }
}

TEST(FskProcess, LogsCarrierAndDeviation)
{
    process_run_t run;
    const log_capture_t log;
    ASSERT_TRUE(run.run(make_fsk(dma_test::signal_format_t::fsk2).samples));
    // Placeholders stand in a record as they are.
    EXPECT_EQ(log.count(log_level_info, "Carrier Frequency Offset(Hz) = %.3f,Deviation(Hz) = %.3f\n"), 1);
    EXPECT_EQ(log.count(log_level_info, "Carrier Frequency Offset(Hz) = %.3f\n"), 1);
}

TEST(FskProcess, MeasuresTheDeviationWhateverIsSet)
{
    const dma_test::signal_t signal = make_fsk(dma_test::signal_format_t::fsk2);
    process_run_t normal;
    process_run_t manual;
    manual.segment().get_format_configure().set_fsk_deviation_ref(LIB_DMA_FSK_DEVIATION_MANUAL);
    ASSERT_TRUE(normal.run(signal.samples) && manual.run(signal.samples));
    EXPECT_EQ(normal.summary().fsk_deviation, manual.summary().fsk_deviation);
    EXPECT_EQ(normal.summary().evm_rms, manual.summary().evm_rms);
    EXPECT_EQ(normal.summary().meas_data, manual.summary().meas_data);
}

TEST(FskProcess, StartsEachPassWithoutACarrier)
{
    const dma_test::signal_t signal = make_fsk(dma_test::signal_format_t::fsk2);
    process_run_t run;
    ASSERT_TRUE(run.run(signal.samples));
    const double first = run.config.carrier_frequency_offset;
    ASSERT_TRUE(run.run(signal.samples));
    EXPECT_EQ(run.config.carrier_frequency_offset, first);
}

TEST(FskProcess, DropsTheHeadOfTheEqualizer)
{
    const complex_array block = make_fsk(dma_test::signal_format_t::fsk2).samples;
    process_run_t plain;
    ASSERT_TRUE(plain.run(block));
    process_run_t run;
    run.segment().get_advance_configure().set_equalizer(true);
    run.segment().get_advance_configure().set_equalizer_coef(1e-14); // the filter stays a delay
    run.config.equalizer_head_len = 11;
    ASSERT_TRUE(run.run(block));
    const std::vector<std::uint32_t>& sent = plain.store.get_decode_bit(0);
    const std::vector<std::uint32_t>& decoded = run.store.get_decode_bit(0);
    ASSERT_EQ(decoded.size(), sent.size());
    EXPECT_TRUE(std::equal(sent.begin() + 11, sent.end(), decoded.begin()));
    EXPECT_EQ(run.summary().meas_data.size(), plain.summary().meas_data.size());
    EXPECT_EQ(run.summary().ref_data.size(), plain.summary().meas_data.size());
    EXPECT_LT(run.summary().evm_rms, 2.0f * plain.summary().evm_rms + 0.01f);
}

TEST(FskProcess, FailsWithoutModulation)
{
    complex_array tone;
    complex_array quantised; // to 16 bits
    for (int n = 0; n < 4000; ++n)
    {
        const std::complex<double> value = std::polar(1.0, 2.0 * std::numbers::pi * 0.0123 * n);
        tone.emplace_back(value);
        quantised.emplace_back(static_cast<float>(std::round(value.real() * 32767.0) / 32768.0),
                               static_cast<float>(std::round(value.imag() * 32767.0) / 32768.0));
    }
    complex_array broken = make_fsk(dma_test::signal_format_t::fsk2).samples;
    broken[2000] = { std::numeric_limits<float>::quiet_NaN(), 0.0f };
    const std::vector<complex_array> blocks = {
        complex_array(4000, { 1.0f, 0.0f }),
        complex_array(4000, { 1e-11f, 1e-11f }),
        tone,
        quantised,
        broken,
        complex_array(4000, { std::numeric_limits<float>::quiet_NaN(), 0.0f }),
        complex_array(tone.begin(), tone.begin() + 8), // one symbol
        complex_array(1, { 1.0f, 0.0f }),
        complex_array(),
    };
    for (std::size_t i = 0; i < blocks.size(); ++i)
    {
        process_run_t run;
        const log_capture_t log;
        EXPECT_FALSE(run.run(blocks[i])) << "block " << i;
        EXPECT_EQ(log.count(log_level_error, no_modulation_text), 1) << "block " << i;
        EXPECT_EQ(run.store.get_iq_raw_time(0).size(), blocks[i].size()) << "the whole block to look at, block " << i;
        EXPECT_EQ(run.config.carrier_frequency_offset, 0.0) << "block " << i;
    }
}

TEST(FskProcess, FailsForAFormatWithoutTones)
{
    process_run_t run(static_cast<lib_dma_fsk_modulation_type_t>(3));
    const log_capture_t log;
    EXPECT_FALSE(run.run(make_fsk(dma_test::signal_format_t::fsk2).samples));
    EXPECT_GE(log.count(log_level_error, "lib_dma_phy_t::generate_fsk_constellation error!\n"), 1);
    EXPECT_TRUE(contains(run.text, "fsk_decode_bit::rms_normalize Report: Data array has a too small rms0: "));
}

TEST(FskProcess, IsEmptyAfterwards)
{
    process_run_t run;
    ASSERT_TRUE(run.run(make_fsk(dma_test::signal_format_t::fsk2).samples));
    EXPECT_TRUE(run.demod.freq_data.empty());
    EXPECT_TRUE(run.demod.decided_level.empty());
    EXPECT_TRUE(run.demod.judge_map.empty());
    EXPECT_TRUE(run.demod.work.iq_data.empty());
    EXPECT_TRUE(run.demod.work.meas_data.empty());
}

TEST(FskDemod, RestoresItsDefaults)
{
    lib_dma_fsk_demod_t demod;
    demod.fsk_format = LIB_DMA_FSK_16;
    demod.setting.filter_length = 77;
    demod.freq_data = { 1.0f };
    demod.decided_level = { 1.0f };
    demod.init();
    EXPECT_EQ(demod.fsk_format, LIB_DMA_FSK_2);
    EXPECT_EQ(demod.setting.filter_length, 16u);
    EXPECT_EQ(demod.setting.format_group, LIB_DMA_GROUP_FSK);
    EXPECT_TRUE(demod.freq_data.empty());
    EXPECT_TRUE(demod.decided_level.empty());
}

TEST(FskDemod, TurnsTheTrajectories)
{
    lib_dma_fsk_demod_t demod;
    demod.setting.iq_rotation = 90.0f;
    demod.work.meas_data.assign(9, { 1.0f, 0.0f });
    demod.work.ref_data.assign(9, { -1.0f, 0.0f });
    EXPECT_TRUE(demod.deal_phase_rotation());
    EXPECT_NEAR(demod.work.meas_data[3].imag(), 1.0f, 1e-6f);
    EXPECT_NEAR(demod.work.ref_data[3].imag(), -1.0f, 1e-6f);
}

TEST(FskDemod, SaysThatTheWindowRunsPastTheData)
{
    lib_dma_fsk_demod_t demod;
    lib_dma_demod_config_mgr config;
    config.data_len = 100;
    demod.setting.meas_interval = 101;
    const log_capture_t log;
    EXPECT_TRUE(demod.cal_demod_param(config));
    EXPECT_EQ(log.count(log_level_error, "cal_demod_param:Data Out Of Acq Rang!\n"), 1);
    EXPECT_EQ(config.result_stop, 100);
}
