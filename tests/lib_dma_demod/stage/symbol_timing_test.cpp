#include "lib_dma_demod/stage/symbol_timing.h"

#include "message_capture.h"
#include "signal_maker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>

using namespace vrim;
using namespace vrim::dma_demod_lib::demod_stage;

namespace
{
constexpr std::uint32_t sps = 8;
constexpr std::uint32_t margin = 32;

dma_test::signal_t make_timed(double timing_symbols)
{
    dma_test::signal_setting_t setting;
    setting.pulse = dma_test::signal_pulse_t::raised_cosine;
    setting.sample_rate = 8.0e6;
    setting.symbol_count = 600;
    setting.timing_symbols = timing_symbols;
    return dma_test::make_signal(setting);
}

/// Spread of the symbols' amplitudes; 0 for a PSK signal sampled amid its symbols.
double cal_spread(const complex_array& data)
{
    double sum = 0.0;
    double squares = 0.0;
    double count = 0.0;
    for (std::size_t i = 20 * sps; i + 20 * sps < data.size(); i += sps)
    {
        const double amplitude = std::abs(std::complex<double>(data[i]));
        sum += amplitude;
        squares += amplitude * amplitude;
        count += 1.0;
    }
    return std::sqrt(std::max(0.0, squares / count - sum / count * (sum / count))) / (sum / count);
}
} // namespace

TEST(SymbolTiming, PutsTheSymbolsOnTheMultiples)
{
    for (const double timing : { 0.0, 0.1, 0.26, 0.5, 0.77, 0.99 })
    {
        complex_array data = make_timed(timing).samples;
        complex_array timed;
        std::uint32_t start = 0;
        deal_symbol_timing(data, timed, start, sps, margin, 0.0f, 64);
        EXPECT_LE(start, sps) << timing;
        EXPECT_LT(cal_spread(timed), 0.02) << timing;
    }
}

TEST(SymbolTiming, MovesByTheClockAdjustment)
{
    // Half a symbol off the symbols the amplitudes are all over the place.
    complex_array data = make_timed(0.26).samples;
    complex_array timed;
    std::uint32_t start = 0;
    deal_symbol_timing(data, timed, start, sps, margin, 0.5f, 64);
    EXPECT_GT(cal_spread(timed), 0.1);
}

TEST(SymbolTiming, DropsTheStartFromTheHead)
{
    const std::size_t length = make_timed(0.26).samples.size();
    complex_array data = make_timed(0.26).samples;
    complex_array timed;
    std::uint32_t start = 0;
    deal_symbol_timing(data, timed, start, sps, margin, 0.0f, 64);
    EXPECT_GT(start, 0u);
    EXPECT_EQ(timed.size(), length - start);
}

TEST(SymbolTiming, OfARecordNoLongerThanItsStartDropsNothing)
{
    // A tone burst of a few samples; whatever start comes out, a record that is not longer keeps its length.
    const log_capture_t log;
    const trace_capture_t trace;
    for (std::size_t length = 0; length <= 8; ++length)
    {
        for (const float adjust : { 0.0f, 0.3f, 0.6f, 0.9f })
        {
            complex_array data(length, { 1.0f, 0.0f });
            if (length > 1)
                data[1] = { 3.0f, 0.0f };
            complex_array timed;
            std::uint32_t start = 0;
            deal_symbol_timing(data, timed, start, sps, 0, adjust, 64);
            EXPECT_EQ(timed.size(), start < length ? length - start : length) << length << ", start " << start;
        }
    }
}
