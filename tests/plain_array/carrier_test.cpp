#include "plain_array/carrier.h"

#include "lib_dma_demod/lib_dma_ask_demod.h"
#include "lib_dma_demod/lib_dma_psk_demod.h"
#include "message_capture.h"
#include "plain_signal.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>
#include <vector>

using namespace vrim;
using namespace vrim::dma_demod_lib;

namespace
{
constexpr double pi = std::numbers::pi;
constexpr std::uint64_t symbol_rate = 1000000;

/// What a recovery writes, and how it ended.
struct recovery_t
{
    explicit recovery_t(std::size_t length) : out(length), phase_line(length, 77.0f), phase_track(length, 77.0f) {}

    split_signal_t out;
    float_array phase_line;
    double frequency = 77.0;
    float_array fit = { 77.0f, 77.0f };
    float_array phase_track;
    bool succeeded = false;
};

recovery_t recover_psk(lib_dma_psk_modulation_type_t format, const complex_array& symbols)
{
    const split_signal_t in(symbols);
    recovery_t result(symbols.size());
    const trace_capture_t trace;
    result.succeeded = psk_carrier_recovery(format, in.i.data(), in.q.data(), in.length(), symbol_rate, result.out.i.data(),
                                            result.out.q.data(), result.phase_line.data(), &result.frequency, result.fit.data(),
                                            result.phase_track.data());
    return result;
}

recovery_t recover_ask(lib_dma_ask_modulation_type_t format, const complex_array& symbols)
{
    const split_signal_t in(symbols);
    recovery_t result(symbols.size());
    const trace_capture_t trace;
    result.succeeded = ask_carrier_recovery(format, in.i.data(), in.q.data(), in.length(), symbol_rate, result.out.i.data(),
                                            result.out.q.data(), result.phase_line.data(), &result.frequency, result.fit.data(),
                                            result.phase_track.data());
    return result;
}

/// Equal steps of a turn from `first` on, picked at random, on a carrier of `frequency` Hz and a fixed turn per symbol.
complex_array make_psk(std::size_t count, int order, double first, double frequency, double turn)
{
    std::mt19937 generator(20);
    std::uniform_int_distribution<int> pick(0, order - 1);
    complex_array symbols;
    for (std::size_t k = 0; k < count; ++k)
    {
        const double carrier = (turn + 2.0 * pi * frequency / static_cast<double>(symbol_rate)) * static_cast<double>(k);
        symbols.emplace_back(std::polar(0.7, first + 2.0 * pi * pick(generator) / order + carrier + 0.1));
    }
    return symbols;
}

struct psk_case_t
{
    lib_dma_psk_modulation_type_t format;
    int order;
    double first; ///< radians
    double turn;  ///< radians per symbol
};

const psk_case_t psk_cases[] = {
    { LIB_DMA_MODULATION_PSK_BPSK, 2, 0.0, 0.0 },
    { LIB_DMA_MODULATION_PSK_QPSK, 4, pi / 4.0, 0.0 },
    { LIB_DMA_MODULATION_PSK_8_PSK, 8, 0.0, 0.0 },
    { LIB_DMA_MODULATION_PSK_3PI_4_QPSK, 4, pi / 4.0, 3.0 * pi / 4.0 },
    { LIB_DMA_MODULATION_PSK_3PI_8_PSK, 8, 0.0, 3.0 * pi / 8.0 },
};
} // namespace

TEST(PlainPskCarrier, BringsTheSymbolsToTheirPoints)
{
    for (const psk_case_t& item : psk_cases)
    {
        const recovery_t result = recover_psk(item.format, make_psk(600, item.order, item.first, 150.0, item.turn));
        ASSERT_TRUE(result.succeeded);
        EXPECT_NEAR(result.frequency, 150.0, 25.0) << item.format; // the track counts 1,400 radians in single precision
        const double slope = item.turn + 2.0 * pi * 150.0 / static_cast<double>(symbol_rate);
        EXPECT_NEAR(static_cast<double>(result.fit[0]), slope, 2e-4) << item.format;
        for (std::size_t k = 0; k < 600; ++k)
        {
            const std::complex<double> symbol(result.out.join()[k]);
            const double steps = (std::arg(symbol) - item.first) * item.order / (2.0 * pi);
            ASSERT_NEAR(std::abs(symbol), 1.0, 1e-5) << item.format << ' ' << k;
            ASSERT_NEAR(steps, std::round(steps), 0.08) << item.format << ' ' << k;
            ASSERT_NEAR(static_cast<double>(result.phase_line[k]),
                        static_cast<double>(result.fit[0]) * static_cast<double>(k) + static_cast<double>(result.fit[1]), 1e-3);
        }
        EXPECT_NEAR(static_cast<double>(result.phase_track[599] - result.phase_line[599]), 0.0, 0.1) << item.format;
    }
}

TEST(PlainPskCarrier, HasTheFiguresOfTheDemodulatorsStage)
{
    for (const psk_case_t& item : psk_cases)
    {
        const complex_array symbols = make_psk(400, item.order, item.first, 120.0, item.turn);
        lib_dma_psk_demod_t demod;
        demod.psk_format = item.format;
        demod.setting.symbol_rate = symbol_rate;
        demod.setting.sps = 2;
        demod.setting.pre_num = 4;
        demod.work.timing_data.assign(4, { 9.0f, 9.0f });
        for (const std::complex<float> symbol : symbols)
            demod.work.timing_data.insert(demod.work.timing_data.end(), { symbol, { 9.0f, 9.0f } });
        demod.work.timing_data.insert(demod.work.timing_data.end(), 4, { 9.0f, 9.0f });
        float_array line;
        double frequency = 0.0;
        float_array fit;
        float_array track;
        {
            const trace_capture_t trace;
            ASSERT_TRUE(demod.psk_carrier_sync(lib_dma_psk_modulation_param{}, line, frequency, fit, track));
        }
        const recovery_t result = recover_psk(item.format, symbols);
        EXPECT_EQ(result.frequency, frequency) << item.format;
        EXPECT_EQ(result.phase_line, line);
        EXPECT_EQ(result.fit, fit);
        EXPECT_EQ(result.phase_track, track);
        EXPECT_EQ(result.out.join(), demod.work.sync_symbol);
    }
}

TEST(PlainPskCarrier, LogsAMissingLockAndGoesOn)
{
    const log_capture_t log;
    const recovery_t result = recover_psk(LIB_DMA_MODULATION_PSK_QPSK, make_psk(12, 4, pi / 4.0, 0.0, 0.0));
    EXPECT_TRUE(result.succeeded);
    EXPECT_EQ(log.count(common_log::log_level_error, "psk_lock_phase_detect:error!\n"), 1);
    const recovery_t single = recover_psk(LIB_DMA_MODULATION_PSK_QPSK, make_psk(1, 4, pi / 4.0, 0.0, 0.0));
    EXPECT_TRUE(single.succeeded);
    EXPECT_TRUE(std::isnan(single.frequency));
}

TEST(PlainAskCarrier, BringsTheLevelsToTheRealAxis)
{
    struct ask_case_t
    {
        lib_dma_ask_modulation_type_t format;
        int lowest;
        int levels;
    };
    for (const ask_case_t& item : { ask_case_t{ LIB_DMA_ASK_2, 0, 2 }, ask_case_t{ LIB_DMA_ASK_4, 1, 4 },
                                    ask_case_t{ LIB_DMA_ASK_8, 1, 8 }, ask_case_t{ LIB_DMA_ASK_16, 1, 16 } })
    {
        std::mt19937 generator(21);
        std::uniform_int_distribution<int> pick(item.lowest, item.lowest + item.levels - 1);
        complex_array symbols;
        double power = 0.0;
        std::vector<int> sent;
        for (std::size_t k = 0; k < 600; ++k)
        {
            sent.push_back(pick(generator));
            power += sent.back() * sent.back() / 600.0;
            symbols.emplace_back(std::polar(3.0 * sent.back(), 2.0 * pi * 1.5e-4 * static_cast<double>(k) + 0.2));
        }
        const recovery_t result = recover_ask(item.format, symbols);
        ASSERT_TRUE(result.succeeded);
        EXPECT_NEAR(result.frequency, 150.0, 5.0) << item.levels;
        for (std::size_t k = 0; k < 600; ++k)
        {
            ASSERT_NEAR(static_cast<double>(result.out.i[k]), sent[k] / std::sqrt(power), 0.01) << item.levels << ' ' << k;
            ASSERT_NEAR(static_cast<double>(result.out.q[k]), 0.0, 0.04) << item.levels << ' ' << k;
        }

        lib_dma_ask_demod_t demod;
        demod.ask_format = item.format;
        demod.setting.symbol_rate = symbol_rate;
        demod.setting.sps = 1;
        demod.setting.pre_num = 3;
        demod.work.timing_data.assign(3, { 9.0f, 9.0f });
        demod.work.timing_data.insert(demod.work.timing_data.end(), symbols.begin(), symbols.end());
        demod.work.timing_data.insert(demod.work.timing_data.end(), 3, { 9.0f, 9.0f });
        float_array line;
        double frequency = 0.0;
        float_array fit;
        float_array track;
        const trace_capture_t trace;
        ASSERT_TRUE(demod.ask_carrier_sync(line, frequency, fit, track));
        EXPECT_EQ(result.frequency, frequency);
        EXPECT_EQ(result.phase_line, line);
        EXPECT_EQ(result.fit, fit);
        EXPECT_EQ(result.phase_track, track);
        EXPECT_EQ(result.out.join(), demod.work.sync_symbol);
    }
}

TEST(PlainCarriers, RefuseUnknownFormats)
{
    const float in[] = { 1.0f };
    float out[] = { 77.0f, 77.0f };
    double frequency = 77.0;
    const trace_capture_t trace;
    for (const std::uint32_t format : { 0u, 3u, 16u })
        EXPECT_FALSE(psk_carrier_recovery(static_cast<lib_dma_psk_modulation_type_t>(format), in, in, 1, 1, out, out, out,
                                          &frequency, out, out));
    EXPECT_FALSE(ask_carrier_recovery(static_cast<lib_dma_ask_modulation_type_t>(3), in, in, 1, 1, out, out, out, &frequency, out,
                                      out));
    EXPECT_EQ(trace.get_text(), "error: psk_carrier_recovery(): unknown format\nerror: psk_carrier_recovery(): unknown format\n"
                                "error: psk_carrier_recovery(): unknown format\nerror: ask_carrier_recovery(): unknown format\n");
    EXPECT_EQ(out[0], 77.0f);
    EXPECT_EQ(frequency, 77.0);
}

TEST(PlainCarriers, HaveNothingToFitWithoutSymbols)
{
    const trace_capture_t trace;
    EXPECT_FALSE(psk_carrier_recovery(LIB_DMA_MODULATION_PSK_QPSK, nullptr, nullptr, 0, 1, nullptr, nullptr, nullptr, nullptr,
                                      nullptr, nullptr));
    EXPECT_FALSE(
        ask_carrier_recovery(LIB_DMA_ASK_4, nullptr, nullptr, 0, 1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(trace.get_text(), "");
}

TEST(PlainCarriers, ReportAMissingArray)
{
    const float in[] = { 1.0f };
    double frequency = 77.0;
    for (int missing = 0; missing < 8; ++missing)
    {
        float out[] = { 77.0f, 77.0f };
        const float* i = missing == 0 ? nullptr : in;
        const float* q = missing == 1 ? nullptr : in;
        float* places[4];
        for (int k = 0; k < 4; ++k)
            places[k] = missing == k + 2 ? nullptr : out;
        float* track = missing == 6 ? nullptr : out;
        double* hertz = missing == 7 ? nullptr : &frequency;
        const trace_capture_t trace;
        EXPECT_FALSE(psk_carrier_recovery(LIB_DMA_MODULATION_PSK_BPSK, i, q, 1, 1, places[0], places[1], places[2], hertz,
                                          places[3], track));
        EXPECT_FALSE(
            ask_carrier_recovery(LIB_DMA_ASK_2, i, q, 1, 1, places[0], places[1], places[2], hertz, places[3], track));
        EXPECT_EQ(trace.get_text(), "error: psk_carrier_recovery(): null pointer\nerror: ask_carrier_recovery(): null pointer\n")
            << missing;
        EXPECT_EQ(out[0], 77.0f);
    }
}

TEST(SymPhaseRotation, TurnsByAnEighthOfATurn)
{
    float re = 0.0f;
    float im = 0.0f;
    EXPECT_TRUE(sym_phase_rotation(2.0f, 0.0f, &re, &im, 1));
    EXPECT_FLOAT_EQ(re, std::sqrt(2.0f));
    EXPECT_FLOAT_EQ(im, std::sqrt(2.0f));
    EXPECT_TRUE(sym_phase_rotation(0.0f, 2.0f, &re, &im, -7));
    EXPECT_FLOAT_EQ(re, std::sqrt(2.0f));
    EXPECT_FLOAT_EQ(im, std::sqrt(2.0f));
    EXPECT_TRUE(sym_phase_rotation(0.3f, -0.1f, &re, &im, 0));
    EXPECT_EQ(re, 0.3f);
    EXPECT_EQ(im, -0.1f);
    EXPECT_TRUE(sym_phase_rotation(re, im, &re, &im, 3));
    const std::complex<double> wanted = std::complex<double>(0.3, -0.1) * std::polar(1.0, pi / 4.0);
    EXPECT_NEAR(static_cast<double>(re), wanted.real(), 1e-7);
    EXPECT_NEAR(static_cast<double>(im), wanted.imag(), 1e-7);

    const trace_capture_t trace;
    EXPECT_FALSE(sym_phase_rotation(1.0f, 1.0f, nullptr, &im, 1));
    EXPECT_FALSE(sym_phase_rotation(1.0f, 1.0f, &re, nullptr, 1));
    EXPECT_EQ(trace.get_text(), "error: sym_phase_rotation(): null pointer\nerror: sym_phase_rotation(): null pointer\n");
}
