#include "lib_dma_common/symbol_sync.h"

#include "message_capture.h"
#include "noise.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <numbers>
#include <random>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using plan_t = symbol_timing_recovery_plan;
using common_log::log_level_error;
using common_log::log_level_info;

namespace
{
constexpr double pi = std::numbers::pi;
constexpr const char* too_short = "error: symbol_timing_recovery1: input data too less!\n";
constexpr const char* too_short_new = "error: symbol_timing_recovery_plan::symbol_timing_recovery: input data too less!\n";

/// Alternating symbols through an ideal band limit: their squared magnitude is a pure line at the symbol rate, so that the
/// timing of the record is known without error. Symbols stand at tau + k * sps.
complex_array make_alternation(std::size_t count, double tau, std::uint32_t sps)
{
    complex_array data(count);
    for (std::size_t n = 0; n < count; ++n)
        data[n] = std::complex<float>(std::cos(pi * (static_cast<double>(n) - tau) / sps) * std::polar(1.0, 0.6));
    return data;
}

double raised_cosine(double t, double alpha)
{
    if (std::abs(t) < 1e-9)
        return 1.0;
    const double x = 2.0 * alpha * t;
    if (std::abs(std::abs(x) - 1.0) < 1e-9)
        return pi / 4.0 * std::sin(pi / (2.0 * alpha)) / (pi / (2.0 * alpha));
    return std::sin(pi * t) / (pi * t) * std::cos(pi * alpha * t) / (1.0 - x * x);
}

plan_t make_plan(std::uint32_t sps, std::uint32_t block_symbols, std::uint32_t pre_num = 0, float clock_adjust = 0.0f)
{
    plan_t plan;
    plan.set_interp_factor(262144);
    plan.set_interp_order(16);
    plan.set_sps(sps);
    plan.set_syn_sym_num(block_symbols);
    plan.set_pre_num(pre_num);
    plan.set_clock_adjust(clock_adjust);
    plan.init();
    return plan;
}

/// One impulse a block, at the places given.
complex_array make_impulses(const std::vector<std::size_t>& places, std::size_t block)
{
    complex_array data(places.size() * block, { 0.0f, 0.0f });
    for (std::size_t i = 0; i < places.size(); ++i)
        data[i * block + places[i]] = { 1.0f, 0.0f };
    return data;
}
} // namespace

TEST(SymbolTiming, PutsTheSymbolsAtMultiplesOfTheirSpacing)
{
    trace_capture_t trace;
    log_capture_t log;
    for (const std::uint32_t sps : { 8u, 10u, 12u, 16u })
    {
        for (int sixteenth = 0; sixteenth <= 16; ++sixteenth)
        {
            for (const double whole : { 0.0, 1.0, sps / 2.0 - 1.0, sps / 2.0, sps - 1.0 })
            {
                const double tau = whole + sixteenth / 16.0;
                complex_array input = make_alternation(70 * sps, tau, sps);
                complex_array output;
                std::uint32_t int_delay = 12345;
                EXPECT_TRUE(make_plan(sps, 64).symbol_timing_recovery_old(input, output, int_delay));
                ASSERT_EQ(output.size(), 70u * sps);
                ASSERT_LE(int_delay, sps);
                // Half way between symbols the signal crosses zero: what is left there tells the timing error.
                for (std::size_t k = 2; k < 66; ++k)
                {
                    const std::size_t place = int_delay + k * sps;
                    EXPECT_NEAR(std::abs(output[place]), 1.0f, 1e-3f) << "sps " << sps << " tau " << tau << " symbol " << k;
                    EXPECT_LT(std::abs(std::complex<double>(output[place + sps / 2])) / pi, 2e-4)
                        << "sps " << sps << " tau " << tau << " symbol " << k;
                }
            }
        }
    }
}

TEST(SymbolTiming, FindsRandomSymbolsThroughAPulseWithoutCrosstalk)
{
    trace_capture_t trace;
    log_capture_t log;
    constexpr std::size_t symbols = 300;
    constexpr double alpha = 0.5;
    for (const std::uint32_t sps : { 8u, 10u, 12u, 16u })
    {
        for (int sixteenth = 0; sixteenth <= 16; ++sixteenth)
        {
            std::mt19937 generator(900u + sps);
            std::vector<std::complex<double>> sent(symbols);
            for (auto& symbol : sent)
                symbol = std::polar(1.0, pi / 4.0 + pi / 2.0 * static_cast<double>(generator() % 4));
            const double tau = 2.0 + sixteenth / 16.0;
            complex_array input(symbols * sps);
            for (std::size_t n = 0; n < input.size(); ++n)
            {
                const double t = (static_cast<double>(n) - tau) / sps;
                const int nearest = static_cast<int>(std::lround(t));
                std::complex<double> sum = 0.0;
                for (int k = std::max(0, nearest - 12); k <= std::min(static_cast<int>(symbols) - 1, nearest + 12); ++k)
                    sum += sent[static_cast<std::size_t>(k)] * raised_cosine(t - k, alpha);
                input[n] = std::complex<float>(sum);
            }
            complex_array output;
            std::uint32_t int_delay = 0;
            EXPECT_TRUE(make_plan(sps, 64, 10 * sps).symbol_timing_recovery_old(input, output, int_delay));
            // tau lies from 2 to 3 samples, and so the first symbol is the first kept sample whichever side the jitter takes.
            ASSERT_GE(int_delay, 1u) << "sps " << sps << " tau " << tau;
            ASSERT_LE(int_delay, 3u) << "sps " << sps << " tau " << tau;
            double error = 0.0;
            for (std::size_t k = 12; k < symbols - 14; ++k)
                error += std::norm(std::complex<double>(output[int_delay + k * sps]) - sent[k]);
            // The estimate jitters by the pattern; 0.03 symbols of it leave about this much between neighbours.
            EXPECT_LT(std::sqrt(error / static_cast<double>(symbols - 26)), 0.05) << "sps " << sps << " tau " << tau;
        }
    }
}

TEST(SymbolTiming, OfAnInputThatStaysIsTheOtherLessItsDrop)
{
    trace_capture_t trace;
    log_capture_t log;
    for (const std::size_t length : { 0u, 3u, 7u, 8u, 20u, 511u, 512u, 700u, 5 * 512u })
    {
        for (const double tau : { 0.3, 2.5, 7.9 })
        {
            const complex_array record = make_alternation(length, tau, 8);
            complex_array cut = record;
            complex_array expected;
            std::uint32_t expected_delay = 0;
            make_plan(8, 64, 16).symbol_timing_recovery_old(cut, expected, expected_delay);
            if (expected_delay < expected.size())
                expected.erase(expected.begin(), expected.begin() + static_cast<std::ptrdiff_t>(expected_delay));
            complex_array output;
            std::uint32_t delay = 0;
            const complex_array input = record;
            make_plan(8, 64, 16).time_record(input, output, delay);
            EXPECT_EQ(delay, expected_delay) << length << ", " << tau;
            EXPECT_EQ(output, expected) << length << ", " << tau;
        }
    }
}

TEST(SymbolTiming, GivesAWholeSymbolForOffsetsFromZeroToOne)
{
    trace_capture_t trace;
    log_capture_t log;
    complex_array output;
    std::uint32_t int_delay = 0;
    complex_array input = make_impulses({ 0 }, 8 * 64);
    make_plan(8, 64).symbol_timing_recovery_old(input, output, int_delay);
    EXPECT_EQ(int_delay, 8u); // x is exactly 0
    EXPECT_NEAR(output[0].real(), 1.0f, 1e-6f);

    input = make_alternation(8 * 64, 0.5, 8);
    make_plan(8, 64).symbol_timing_recovery_old(input, output, int_delay);
    EXPECT_EQ(int_delay, 8u);

    input = make_alternation(8 * 64, 1.5, 8);
    make_plan(8, 64).symbol_timing_recovery_old(input, output, int_delay);
    EXPECT_EQ(int_delay, 1u);

    input = make_alternation(8 * 64, -0.5, 8);
    make_plan(8, 64).symbol_timing_recovery_old(input, output, int_delay);
    EXPECT_EQ(int_delay, 7u);
}

TEST(SymbolTiming, TurnsATinyNegativeOffsetIntoAWholeSample)
{
    trace_capture_t trace;
    log_capture_t log;
    // x = -8e-9: in single precision the fraction is exactly 1, and one sample less is dropped.
    complex_array input(24 + 8 * 64 + 24, { 0.0f, 0.0f });
    input[24] = { 1.0f, 0.0f };
    complex_array output;
    std::uint32_t int_delay = 0;
    make_plan(8, 64, 24, 1e-9f).symbol_timing_recovery_old(input, output, int_delay);
    EXPECT_EQ(int_delay, 7u);
    EXPECT_NEAR(output[23].real(), 1.0f, 1e-6f);
    EXPECT_EQ((23u - int_delay) % 8u, 0u);
}

TEST(SymbolTiming, GivesAFractionNearOneJustBelowAWholeSample)
{
    trace_capture_t trace;
    log_capture_t log;
    const double tau = 2.999;
    complex_array input = make_alternation(8 * 70, tau, 8);
    complex_array output;
    std::uint32_t int_delay = 0;
    make_plan(8, 64).symbol_timing_recovery_old(input, output, int_delay);
    EXPECT_EQ(int_delay, 2u);
    // output[k] stands at time k + 0.999.
    for (std::size_t k = 20; k < 500; ++k)
    {
        const double expected = std::cos(pi * (static_cast<double>(k) + 0.999 - tau) / 8.0);
        EXPECT_LT(std::abs(std::complex<double>(output[k]) - std::polar(1.0, 0.6) * expected), 1e-3) << k;
    }
}

TEST(SymbolTiming, SubtractsTheClockAdjustment)
{
    trace_capture_t trace;
    log_capture_t log;
    const complex_array record = make_alternation(8 * 70, 3.25, 8);
    complex_array plain_input = record, adjusted_input = record, plain, adjusted;
    std::uint32_t plain_delay = 0, adjusted_delay = 0;
    make_plan(8, 64).symbol_timing_recovery_old(plain_input, plain, plain_delay);
    make_plan(8, 64, 0, 0.25f).symbol_timing_recovery_old(adjusted_input, adjusted, adjusted_delay);
    EXPECT_EQ(plain_delay, 3u);
    EXPECT_EQ(adjusted_delay, 1u); // two samples earlier
    for (std::size_t k = 0; k < plain.size(); ++k)
        EXPECT_LT(std::abs(plain[k] - adjusted[k]), 1e-5f) << k;
}

TEST(SymbolTiming, UnwrapsTheBlocksBeforeItAverages)
{
    trace_capture_t trace;
    log_capture_t log;
    // 3.9 and 4.1 of 8 samples are phases of +0.4875 and -0.4875; their plain mean would be 0.
    complex_array input = make_alternation(8 * 64, 3.9, 8);
    const complex_array second = make_alternation(8 * 64, 4.3, 8);
    input.insert(input.end(), second.begin(), second.end());
    complex_array output;
    std::uint32_t int_delay = 0;
    make_plan(8, 64).symbol_timing_recovery_old(input, output, int_delay);
    EXPECT_EQ(int_delay, 4u); // x is 4.1
}

TEST(SymbolTiming, ClampsItsDelayAtZeroWhenTheBlocksDriftFar)
{
    trace_capture_t trace;
    log_capture_t log;
    // Phases -0.3, 0.4, 0, -0.4, -0.4 ... of a symbol. Each step up of more than a half loses one whole: -0.3, -0.6, -1.0,
    // -1.4 and so on, in the mean -11.7 of 10 samples a symbol.
    complex_array input = make_impulses({ 7, 4, 0, 6, 6, 6, 6, 6, 6, 6 }, 640);
    complex_array same = input;
    complex_array output;
    std::uint32_t int_delay = 99;
    make_plan(10, 64).symbol_timing_recovery_old(input, output, int_delay);
    EXPECT_EQ(int_delay, 0u);
    // The other variant does not clamp: 10 - 12, in unsigned arithmetic.
    make_plan(10, 64).symbol_timing_recovery_new(same, output, int_delay);
    EXPECT_EQ(int_delay, 0xfffffffeu);
}

TEST(SymbolTiming, EstimatesWithoutTheMarginsAndFiltersThemToo)
{
    trace_capture_t trace;
    log_capture_t log;
    const std::uint32_t pre_num = 100;
    complex_array record = make_alternation(8 * 64 + 2 * pre_num, 2.5, 8);
    for (std::size_t n = 0; n < pre_num; ++n)
    {
        record[n] = { 50.0f, 0.0f };
        record[record.size() - 1 - n] = { 0.0f, -50.0f };
    }
    complex_array input = record;
    complex_array output;
    std::uint32_t int_delay = 0;
    make_plan(8, 64, pre_num).symbol_timing_recovery_old(input, output, int_delay);
    EXPECT_EQ(input, complex_array(record.begin() + pre_num, record.end() - pre_num));
    EXPECT_EQ(output.size(), record.size());
    EXPECT_GT(std::abs(output[50]), 10.0f);
    EXPECT_TRUE(log.count(log_level_error, too_short) == 0);
    // The estimate counts from the first sample behind the margin: 2.5 - 100 is -97.5, and -1.5 within a symbol.
    EXPECT_EQ(int_delay, 6u);
}

TEST(SymbolTiming, IgnoresTheSamplesBehindTheLastWholeBlockButKeepsThem)
{
    trace_capture_t trace;
    log_capture_t log;
    complex_array a = make_alternation(8 * 64 + 300, 2.5, 8);
    complex_array b = a;
    for (std::size_t n = 8 * 64; n < b.size(); ++n)
        b[n] = { 9.0f, 9.0f };
    complex_array out_a, out_b;
    std::uint32_t delay_a = 0, delay_b = 1;
    make_plan(8, 64).symbol_timing_recovery_old(a, out_a, delay_a);
    make_plan(8, 64).symbol_timing_recovery_old(b, out_b, delay_b);
    EXPECT_EQ(delay_a, delay_b);
    ASSERT_EQ(out_b.size(), b.size());
    for (std::size_t k = 0; k < 8 * 64 - 10; ++k)
        EXPECT_EQ(out_a[k], out_b[k]) << k;
    EXPECT_NEAR(out_b[8 * 64 + 150].real(), 9.0f, 1e-2f);
}

TEST(SymbolTiming, PadsAndReportsShortRecords)
{
    for (const bool newer : { false, true })
    {
        trace_capture_t trace;
        log_capture_t log;
        complex_array input = make_alternation(100, 2.5, 8);
        const complex_array before = input;
        complex_array output;
        std::uint32_t int_delay = 0;
        plan_t plan = make_plan(8, 64);
        EXPECT_TRUE(newer ? plan.symbol_timing_recovery_new(input, output, int_delay)
                          : plan.symbol_timing_recovery_old(input, output, int_delay));
        EXPECT_EQ(log.count(log_level_error, newer ? too_short_new : too_short), 1);
        ASSERT_EQ(input.size(), 8u * 64u);
        for (std::size_t n = 0; n < input.size(); ++n)
            EXPECT_EQ(input[n], n < 100 ? before[n] : std::complex<float>(1e-11f, 1e-11f));
        EXPECT_EQ(output.size(), 100u);
        EXPECT_EQ(int_delay, 2u); // the record's own samples settle it
    }
}

TEST(SymbolTiming, TrimsNothingWhenTheMarginsMeet)
{
    trace_capture_t trace;
    const complex_array record = make_alternation(8 * 70, 2.5, 8);
    const std::uint32_t size = 8 * 70;
    for (const std::uint32_t pre_num : { size / 2 + 1, size - 1, size, size + 1, 4000000000u })
    {
        log_capture_t log;
        complex_array input = record;
        complex_array output;
        std::uint32_t int_delay = 0;
        make_plan(8, 64, pre_num).symbol_timing_recovery_old(input, output, int_delay);
        EXPECT_EQ(input, record) << pre_num;
        EXPECT_EQ(int_delay, 2u) << pre_num;
        EXPECT_EQ(log.count(log_level_error, too_short), 0) << pre_num;
    }
}

TEST(SymbolTiming, PadsTheEmptyRecordThatEqualMarginsLeave)
{
    trace_capture_t trace;
    log_capture_t log;
    complex_array input = make_alternation(8 * 70, 2.5, 8);
    complex_array output;
    std::uint32_t int_delay = 0;
    make_plan(8, 64, 8 * 35).symbol_timing_recovery_old(input, output, int_delay);
    EXPECT_EQ(input, complex_array(8 * 64, { 1e-11f, 1e-11f }));
    EXPECT_EQ(output.size(), 8u * 70u);
    EXPECT_EQ(log.count(log_level_error, too_short), 1);
    EXPECT_LE(int_delay, 12u);
}

TEST(SymbolTiming, TakesAnEmptyRecord)
{
    trace_capture_t trace;
    log_capture_t log;
    complex_array input;
    complex_array output(3);
    std::uint32_t int_delay = 0;
    EXPECT_TRUE(make_plan(8, 64).symbol_timing_recovery_old(input, output, int_delay));
    EXPECT_TRUE(output.empty());
    EXPECT_TRUE(make_plan(0, 64).symbol_timing_recovery_old(input, output, int_delay));
}

TEST(SymbolTiming, LogsItsEstimateAndTracesItsTimes)
{
    {
        trace_capture_t trace;
        log_capture_t log;
        complex_array input = make_alternation(8 * 64, 2.5, 8);
        complex_array output;
        std::uint32_t int_delay = 0;
        make_plan(8, 64).symbol_timing_recovery_old(input, output, int_delay);
        EXPECT_EQ(log.count(log_level_info, "phase average:%.6f,bin_delay:%.6f.\n"), 1);
        EXPECT_EQ(trace.get_text().rfind("symbol_timing_recovery1 cal pm time: ", 0), 0u);
        EXPECT_NE(trace.get_text().find(" s\nsymbol_timing_recovery1 sinc_fractional_delay time: "), std::string::npos);
    }
    {
        trace_capture_t trace;
        log_capture_t log;
        complex_array input = make_alternation(8 * 64, 2.5, 8);
        complex_array output;
        std::uint32_t int_delay = 0;
        make_plan(8, 64).symbol_timing_recovery_new(input, output, int_delay);
        EXPECT_EQ(log.count(log_level_info, "phase average:%.6f,delay:%.6f.\n"), 1);
        EXPECT_EQ(trace.get_text().rfind("symbol_timing_recovery cal pm time: ", 0), 0u);
        EXPECT_NE(trace.get_text().find(" s\nsymbol_timing_recovery sinc_fractional_delay time: "), std::string::npos);
    }
}

TEST(SymbolTimingNew, AgreesWithTheOtherVariantButForTheClockAdjustment)
{
    trace_capture_t trace;
    log_capture_t log;
    for (const double tau : { 0.25, 1.5, 3.75, -0.5, -2.25 })
    {
        complex_array input = make_alternation(8 * 70, tau, 8);
        complex_array same = input;
        complex_array older, newer;
        std::uint32_t older_delay = 0, newer_delay = 1;
        make_plan(8, 64).symbol_timing_recovery_old(input, older, older_delay);
        make_plan(8, 64, 0, 0.3f).symbol_timing_recovery_new(same, newer, newer_delay);
        EXPECT_EQ(older_delay, newer_delay) << tau;
        ASSERT_EQ(newer.size(), older.size());
        for (std::size_t k = 0; k < older.size(); ++k)
            EXPECT_LT(std::abs(older[k] - newer[k]), 2e-6f) << tau << " at " << k;
    }
}

TEST(SymbolTimingPlan, CanBeClearedAndBuiltAnew)
{
    trace_capture_t trace;
    log_capture_t log;
    plan_t plan = make_plan(8, 64);
    plan.clear();
    plan.update();
    plan.set_sps(10);
    plan.init();
    complex_array input = make_alternation(10 * 64, 3.5, 10);
    complex_array output;
    std::uint32_t int_delay = 0;
    EXPECT_TRUE(plan.symbol_timing_recovery_old(input, output, int_delay));
    EXPECT_EQ(int_delay, 3u);
}

TEST(SymbolTimingPlan, RefusesSettingsThatNoMemoryHolds)
{
    constexpr std::uint32_t huge = 4'000'000'000u;
    const complex_array record = make_alternation(400, 1.3, 4);
    for (const auto& [sps, symbols, order] : { std::array{ huge, huge, 16u }, std::array{ huge, 64u, 16u },
                                              std::array{ 4u, huge, 16u }, std::array{ 4u, 64u, huge } })
    {
        const log_capture_t log;
        plan_t plan;
        plan.set_sps(sps);
        plan.set_syn_sym_num(symbols);
        plan.set_interp_order(order);
        plan.init();
        complex_array input = record;
        complex_array output;
        std::uint32_t delay = 77;
        EXPECT_FALSE(plan.symbol_timing_recovery_old(input, output, delay));
        EXPECT_FALSE(plan.symbol_timing_recovery_new(input, output, delay));
        EXPECT_FALSE(plan.time_record(input, output, delay));
        EXPECT_EQ(input, record);
        EXPECT_TRUE(output.empty());
        EXPECT_EQ(delay, 77u);
    }

    const log_capture_t log;
    double_array taps(3, 1.0);
    plan_t::sinc_fractional_delay_filter_design(0.5, huge, taps);
    EXPECT_TRUE(taps.empty());
    complex_array input = record;
    complex_array output(3);
    plan_t::sinc_fractional_delay(huge, { 1.0 }, input, output);
    EXPECT_TRUE(output.empty());
    plan_t::sinc_fractional_delay(huge, 262144, 32, 0, input, output);
    EXPECT_TRUE(output.empty());
    EXPECT_EQ(input, record);
    EXPECT_EQ(log.count(log_level_error,
                        "symbol_timing_recovery_plan: a fractional delay filter of 4000000000 taps is too long, 65536 are the "
                        "most\n"),
              3);
}

TEST(SymbolTimingPlan, KeepsItsWholeDelayWithinItsType)
{
    const complex_array record = make_alternation(400, 1.3, 4);
    for (const float adjustment : { -1e30f, 1e30f, -3e9f, 3e9f, std::numeric_limits<float>::infinity(),
                                    std::numeric_limits<float>::quiet_NaN() })
    {
        const log_capture_t log;
        plan_t plan;
        plan.set_syn_sym_num(64);
        plan.set_clock_adjust(adjustment);
        plan.init();
        complex_array input = record;
        complex_array output;
        std::uint32_t delay = 77;
        EXPECT_TRUE(plan.symbol_timing_recovery_old(input, output, delay));
        EXPECT_EQ(output.size(), record.size());
        EXPECT_TRUE(delay == 0 || delay == 4 || delay > 4'000'000'000u) << delay;
    }
}
