#include "lib_dma_demod/lib_dma_msk_demod.h"

#include "lib_dma_msk_signal.h"
#include "message_capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <string>
#include <vector>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using namespace msk_test;

namespace
{
using common_log::log_level_error;
using common_log::log_level_info;

constexpr const char* not_found_text = "Pattern Not Found!\n";

std::vector<std::uint32_t> slice(const float_array& bits, std::size_t first, std::size_t stop)
{
    return std::vector<std::uint32_t>(bits.begin() + static_cast<std::ptrdiff_t>(first),
                                      bits.begin() + static_cast<std::ptrdiff_t>(stop));
}

bit_array make_pattern(const float_array& bits, std::size_t first, std::size_t stop)
{
    bit_array pattern;
    for (std::size_t i = first; i < stop; ++i)
        pattern.push_back(static_cast<bit_array::value_type>(bits[i]));
    return pattern;
}

/// A demodulator before the decoding: an MSK waveform measured at half the amplitude of its reference.
struct decode_run_t
{
    decode_run_t(const float_array& bits, std::uint32_t points, double phase = pi / 4.0, std::uint32_t segments = 1)
    {
        lib_dma_frame_configure_manager_t frame;
        frame.set_segment_number(segments);
        store.init();
        store.set_config(frame);
        demod.setting.points_per_symbol = points;
        demod.setting.sps = 8;
        demod.setting.sync_pattern_bitarr.clear();
        demod.work.ref_data = make_msk(bits, points, phase);
        demod.work.meas_data = demod.work.ref_data;
        for (std::complex<float>& sample : demod.work.meas_data)
            sample *= 0.5f;
        demod.setting.meas_interval = static_cast<std::uint32_t>(demod.work.meas_data.size());
    }

    void search(const bit_array& pattern)
    {
        demod.setting.sync_search = true;
        demod.setting.sync_pattern_bitarr = pattern;
    }

    bool run(std::uint32_t segment = 0)
    {
        const trace_capture_t trace;
        const bool result = demod.msk_decode_bit(segment, store);
        text = trace.get_text();
        return result;
    }

    const std::vector<std::uint32_t>& get_decoded(std::uint32_t segment = 0) { return store.get_decode_bit(segment); }

    lib_dma_msk_demod_t demod;
    lib_dma_phy_data_manager_t store;
    std::string text;
};

/// A whole run on a block at 8 samples a bit and 1 MHz: 300 bits measured at 2 points, run-in and head of 32 bits.
struct process_run_t
{
    process_run_t()
    {
        lib_dma_segment_configure_manager_t& segment = frame.get_segment(0);
        segment.get_format_configure().set_format_group(LIB_DMA_GROUP_MSK);
        segment.get_format_configure().set_symbol_rate(1000000);
        segment.get_format_configure().set_points_per_symbol(LIB_DMA_POINT2);
        segment.get_filter_configure().set_meas_filter_type(LIB_DMA_MEAS_NONE_FILTER);
        segment.get_filter_configure().set_ref_filter_type(LIB_DMA_REF_NONE_FILTER);
        segment.get_filter_configure().set_filter_length(16);
        segment.get_time_configure().set_meas_interval(LIB_DMA_GROUP_MSK, 300);
        segment.get_time_configure().set_meas_offset(0);
        store.init();
        store.set_config(frame);
        config.pre_num = 32 * 8;
        config.head_len = 32 * 8;
        config.sample_rate = 8000000;
        config.data_len = 100000;
        demod.init();
        demod.set_frame_configure(frame, 0, config);
    }

    bool run(const complex_array& block)
    {
        const trace_capture_t trace;
        const bool result = demod.lib_dma_msk_demod_process(0, {}, block, store, config);
        text = trace.get_text();
        return result;
    }

    double get_frequency() { return static_cast<double>(store.get_err_table(0).frequency_error); }
    float get_evm() { return store.get_error_summary(0).evm_rms; }

    lib_dma_frame_configure_manager_t frame;
    lib_dma_phy_data_manager_t store;
    lib_dma_demod_config_mgr config;
    lib_dma_msk_demod_t demod;
    std::string text;
};

/// Where the decoded bits stand in those that were sent; -1 for nowhere.
std::ptrdiff_t find_bits(const std::vector<std::uint32_t>& decoded, const float_array& bits)
{
    const std::vector<std::uint32_t> sent = slice(bits, 0, bits.size());
    const auto found = std::search(sent.begin(), sent.end(), decoded.begin(), decoded.end());
    return found == sent.end() ? -1 : found - sent.begin();
}
} // namespace

TEST(MskDecodeBit, GivesTheBitsAtEveryTurnAndRate)
{
    const log_capture_t log;
    for (const std::uint32_t points : { 1u, 2u, 4u, 5u, 8u, 10u })
    {
        for (int quarter = 0; quarter < 4; ++quarter)
        {
            const float_array bits = make_bits(300, 50 + points);
            decode_run_t decode(bits, points, pi / 4.0 + quarter * pi / 2.0);
            EXPECT_TRUE(decode.run());
            EXPECT_EQ(decode.get_decoded(), slice(bits, 0, 300)) << "points " << points << " quarter " << quarter;
        }
    }
    EXPECT_EQ(log.count(log_level_info, "lib_dma_msk_demod_t::msk_decode_bit start.\n"), 24);
}

TEST(MskProcess, DecodesWhatTheReferenceIsMadeOf)
{
    // At 10 dB of Es/N0 two of eight samples a bit would turn one bit in 100; all eight turn none.
    for (unsigned seed = 1; seed <= 6; ++seed)
    {
        const float_array bits = make_bits(400, 80 + seed);
        complex_array block = make_msk(bits, 8, 0.7 * seed, 0.1 * seed, 0.001);
        add_noise(0.8, seed, block);
        process_run_t process;
        ASSERT_TRUE(process.run(block)) << seed;
        EXPECT_EQ(process.store.get_decode_bit(0).size(), 300u);
        EXPECT_GE(find_bits(process.store.get_decode_bit(0), bits), 30) << seed;
    }
}

TEST(MskDecodeBit, BringsTheMeasurementToTheLevelOfTheReference)
{
    decode_run_t decode(make_bits(100, 51), 4);
    EXPECT_TRUE(decode.run());
    EXPECT_NEAR(std::abs(decode.demod.work.ref_data[4]), 1.0f, 1e-6f);
    EXPECT_NEAR(std::abs(decode.demod.work.meas_data[4]), 1.0f, 1e-6f);
}

TEST(MskDecodeBit, FindsAWordAtEveryTurn)
{
    const float_array bits = make_bits(300, 52);
    for (int quarter = 0; quarter < 4; ++quarter)
    {
        decode_run_t decode(bits, 4, pi / 4.0 + quarter * pi / 2.0);
        decode.search(make_pattern(bits, 37, 37 + 31));
        decode.demod.setting.meas_interval = 200 * 4;
        EXPECT_TRUE(decode.run());
        EXPECT_TRUE(decode.store.get_sync_search_flag_vec().at(0));
        EXPECT_TRUE(decode.store.get_decode_bit_flag_vec().at(0));
        EXPECT_EQ(decode.get_decoded(), slice(bits, 37, 237)) << "quarter " << quarter;
        EXPECT_EQ(decode.demod.work.meas_data.size(), 800u);
        const complex_array sent = make_msk(bits, 4, pi / 4.0 + quarter * pi / 2.0);
        EXPECT_LE(std::abs(decode.demod.work.ref_data[0] - sent[37 * 4]), 1e-5f);
    }
}

TEST(MskDecodeBit, StartsBesideTheWordByTheOffset)
{
    const float_array bits = make_bits(300, 53);
    for (const int offset : { -20, 0, 25 })
    {
        decode_run_t decode(bits, 2);
        decode.search(make_pattern(bits, 40, 80));
        decode.demod.setting.sync_offset = static_cast<float>(offset);
        decode.demod.setting.meas_interval = 100 * 2;
        EXPECT_TRUE(decode.run());
        const complex_array sent = make_msk(bits, 2, pi / 4.0);
        EXPECT_LE(std::abs(decode.demod.work.ref_data[0] - sent[2 * static_cast<std::size_t>(40 + offset)]), 1e-5f) << offset;
    }
}

TEST(MskDecodeBit, GoesOnWithoutTheWord)
{
    const log_capture_t log;
    const float_array bits = make_bits(200, 54);
    decode_run_t decode(bits, 4);
    decode.search(bit_array(40, 1));
    decode.store.get_dma_demod_config_mgr(0).pulse_center_sym = 7;
    decode.demod.setting.data_start = 100;
    EXPECT_TRUE(decode.run());
    EXPECT_EQ(log.count(log_level_error, not_found_text), 1);
    EXPECT_FALSE(decode.store.get_sync_search_flag_vec().at(0));
    EXPECT_EQ(decode.get_decoded(), slice(bits, 0, 200));
    EXPECT_EQ(decode.demod.setting.data_start, 100u + 4u * 7u);
}

TEST(MskDecodeBit, SearchesInTheFirstSegmentOnly)
{
    const log_capture_t log;
    const float_array bits = make_bits(200, 55);
    decode_run_t decode(bits, 4, pi / 4.0, 2);
    decode.search(bit_array(40, 1));
    EXPECT_TRUE(decode.run(1));
    EXPECT_EQ(log.count(log_level_error, not_found_text), 0);
    EXPECT_EQ(decode.get_decoded(1), slice(bits, 0, 200));
}

TEST(MskDecodeBit, ShortensAWindowBehindTheData)
{
    const log_capture_t log;
    const float_array bits = make_bits(100, 56);
    decode_run_t decode(bits, 4);
    decode.demod.setting.meas_interval = 101 * 4;
    EXPECT_TRUE(decode.run());
    EXPECT_EQ(log.count(log_level_error, "msk_decode_bit:data is too short!\n"), 1);
    EXPECT_EQ(decode.demod.work.meas_data.size(), 400u);
}

TEST(MskDecodeBit, ReportsWaveformsWithoutLevel)
{
    decode_run_t empty_reference(make_bits(100, 57), 4);
    empty_reference.demod.work.ref_data.assign(400, { 0.0f, 0.0f });
    EXPECT_FALSE(empty_reference.run());
    EXPECT_NE(empty_reference.text.find("msk_decode_bit::rms_normalize Report: Data array has a too small rms0: "),
              std::string::npos);
    decode_run_t empty_measurement(make_bits(100, 57), 4);
    empty_measurement.demod.work.meas_data.assign(400, { 0.0f, 0.0f });
    EXPECT_FALSE(empty_measurement.run());
    EXPECT_NE(empty_measurement.text.find("msk_decode_bit::rms_normalize Report: Data array has a too small rms2: "),
              std::string::npos);
}

TEST(MskErrorCal, ComparesTheWaveforms)
{
    // Every symbol 2 % too large and 3 degrees ahead.
    decode_run_t decode(make_bits(200, 58), 4);
    complex_array& meas = decode.demod.work.meas_data;
    meas = decode.demod.work.ref_data;
    for (std::complex<float>& sample : meas)
        sample *= std::complex<float>(std::polar(1.02, 3.0 * pi / 180.0));
    for (std::size_t n = 0; n < meas.size(); n += 4)
        decode.demod.work.meas_symbol.push_back(meas[n]);
    const trace_capture_t trace;
    EXPECT_TRUE(decode.demod.error_cal(0, decode.store));
    const error_summary_t& summary = decode.store.get_error_summary(0);
    EXPECT_NEAR(static_cast<double>(summary.evm_rms), 100.0 * std::abs(std::polar(1.02, 3.0 * pi / 180.0) - 1.0), 1e-3);
    EXPECT_NEAR(static_cast<double>(summary.mag_err_rms), 2.0, 1e-3);
    EXPECT_NEAR(static_cast<double>(summary.phase_err_rms), 3.0, 1e-3);
    // The symbols stand 3 degrees beside the diagonals.
    EXPECT_NEAR(static_cast<double>(decode.store.get_err_table(0).quad_error), 3.0, 0.01);
    EXPECT_EQ(summary.evm_trace.size(), 200u);
    EXPECT_EQ(summary.meas_data.size(), 800u);
}

TEST(MskProcess, MeasuresABlock)
{
    for (const double turns : { 0.0, 0.0021, -0.004 })
    {
        process_run_t run;
        const float_array bits = make_bits(500, 60);
        const log_capture_t log;
        ASSERT_TRUE(run.run(make_msk(bits, 8, 0.4, 0.37, turns)));
        EXPECT_LT(run.get_evm(), 0.3f);
        // What the loop measured; the fine fit comes later. A block of 436 bits leaves it 0.6 % high.
        EXPECT_NEAR(run.get_frequency(), turns * 1e6, 0.01 * std::abs(turns) * 1e6 + 1.0);
        EXPECT_NEAR(run.config.carrier_frequency_offset, turns * 1e6, 0.5);
        const std::vector<std::uint32_t>& decoded = run.store.get_decode_bit(0);
        ASSERT_EQ(decoded.size(), 300u);
        // 32 bits of head behind the first whole bit; a signal that stands one bit out of its pair loses one more.
        const std::ptrdiff_t place = find_bits(decoded, bits);
        EXPECT_GE(place, 32);
        EXPECT_LE(place, 35);
        EXPECT_EQ(run.store.get_error_summary(0).meas_data.size(), 600u);
        EXPECT_EQ(run.store.get_iq_raw_time(0).size(), 600u);
        EXPECT_NE(run.text.find("raw time data len is 600\n"), std::string::npos);
        EXPECT_EQ(log.count(log_level_info, "Carrier Frequency Offset(Hz) = %.3f\n"), 1);
        EXPECT_TRUE(run.demod.work.meas_data.empty());
    }
}

TEST(MskProcess, MeasuresTheCarrierAnewInEveryPass)
{
    process_run_t run;
    const complex_array block = make_msk(make_bits(500, 61), 8, 0.4, 0.2, 0.003);
    ASSERT_TRUE(run.run(block));
    const double first = run.get_frequency();
    for (int pass = 0; pass < 3; ++pass)
    {
        run.demod.init();
        run.demod.set_frame_configure(run.frame, 0, run.config);
        ASSERT_TRUE(run.run(block));
        EXPECT_EQ(run.get_frequency(), first);
    }
}

TEST(MskProcess, TimesABlockThatTheFilterRefused)
{
    process_run_t run;
    run.demod.setting.meas_filter_type = LIB_DMA_MEAS_ROOT_RAISED_COSINE_FILTER;
    run.demod.setting.filter_length = 1u << 24; // longer than any filter that is made
    const log_capture_t log;
    EXPECT_FALSE(run.run(make_msk(make_bits(500, 62), 8, 0.4)));
    EXPECT_EQ(log.count(log_level_info, "lib_dma_msk_demod_t::timing_recovery start.\n"), 1);
    EXPECT_EQ(log.count(log_level_info, "phase average:%.6f,bin_delay:%.6f.\n"), 1);
    EXPECT_EQ(log.count(log_level_info, "lib_dma_msk_demod_t::msk_carrier_sync start.\n"), 0);
    EXPECT_EQ(run.store.get_iq_raw_time(0).size(), 4000u); // the whole block, to look at
}

TEST(MskProcess, EndsWithoutASignal)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    for (const std::complex<float> value : { std::complex<float>(0.0f, 0.0f), std::complex<float>(nan, 0.0f),
                                             std::complex<float>(infinity, -infinity), std::complex<float>(1.0f, 0.0f) })
    {
        for (const std::size_t size : { 0u, 1u, 511u, 512u, 513u, 1023u, 1024u, 1100u, 4000u })
        {
            process_run_t run;
            run.run(complex_array(size, value)); // any result; no end of the program
        }
    }
}

TEST(MskProcess, NeedsABlockOfTimingBesideItsRunIn)
{
    const complex_array samples = make_msk(make_bits(200, 63), 8, 0.4);
    const auto measure = [&](std::size_t bits)
    {
        process_run_t run;
        return run.run(complex_array(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(bits * 8)));
    };
    EXPECT_FALSE(measure(64));  // the margins take it all
    EXPECT_FALSE(measure(127)); // 63 bits are left
    EXPECT_TRUE(measure(128));
}

TEST(MskProcess, MeasuresBothTypesAlike)
{
    const complex_array block = make_msk(make_bits(500, 64), 8, 0.4, 0.3, 0.001);
    float evm[2] = {};
    int k = 0;
    for (const lib_dma_msk_modulation_type_t type : { LIB_DMA_MSK_TYPE1, LIB_DMA_MSK_TYPE2 })
    {
        process_run_t run;
        run.frame.get_segment(0).get_format_configure().set_msk_format(type);
        run.demod.set_frame_configure(run.frame, 0, run.config);
        EXPECT_EQ(run.demod.msk_format, type);
        ASSERT_TRUE(run.run(block));
        evm[k++] = run.get_evm();
    }
    EXPECT_EQ(evm[0], evm[1]);
}

TEST(MskProcess, StartsFromItsDefaults)
{
    lib_dma_msk_demod_t demod;
    demod.setting.sps = 20;
    demod.syn_sym_num = 3;
    demod.max_cycles = 1;
    demod.interp_order = 4;
    demod.init();
    EXPECT_EQ(demod.setting.sps, 4u);
    EXPECT_EQ(demod.syn_sym_num, 64u);
    EXPECT_EQ(demod.max_cycles, 64u);
    EXPECT_EQ(demod.interp_order, 16u);
    EXPECT_EQ(demod.setting.timing_start, 0u);
    EXPECT_EQ(demod.msk_format, LIB_DMA_MSK_TYPE1);
}
