#include "lib_dma_common/lib_dma_phy_common.h"

#include "message_capture.h"
#include "noise.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <stdexcept>
#include <vector>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using common_t = lib_dma_phy_common_t;
using common_log::log_level_error;

namespace
{
constexpr double pi = std::numbers::pi;
constexpr float infinity = std::numeric_limits<float>::infinity();
const float nan_value = std::numeric_limits<float>::quiet_NaN();
constexpr const char* no_rule = "lib_dma_phy_common_t::deal_fixed_phase error!\n";

/// Unit-level QPSK symbols held for sps samples each.
complex_array make_held_symbols(std::size_t symbols, std::uint32_t sps, unsigned seed)
{
    std::mt19937 generator(seed);
    complex_array data;
    for (std::size_t k = 0; k < symbols; ++k)
    {
        const auto value = std::complex<float>(std::polar(1.0, pi / 4.0 + pi / 2.0 * static_cast<double>(generator() % 4)));
        data.insert(data.end(), sps, value);
    }
    return data;
}

/// `data` turned by slope * i / sps + intercept, i from symbol 0 on.
complex_array turn(const complex_array& data, double slope, double intercept, std::uint32_t pre_num, std::uint32_t sps)
{
    complex_array out(data.size());
    for (std::size_t n = 0; n < data.size(); ++n)
    {
        const double i = static_cast<double>(n) - static_cast<double>(pre_num);
        out[n] = std::complex<float>(std::complex<double>(data[n]) * std::polar(1.0, slope * i / sps + intercept));
    }
    return out;
}

double largest_difference(const complex_array& a, const complex_array& b)
{
    EXPECT_EQ(a.size(), b.size());
    double largest = 0.0;
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i)
        largest = std::max(largest, std::abs(std::complex<double>(a[i]) - std::complex<double>(b[i])));
    return largest;
}
} // namespace

TEST(FixedPhase, TakesTheLineOutAcrossTheRunIn)
{
    const complex_array clean = make_noise(4000, 1);
    for (const auto group : { LIB_DMA_GROUP_PSK, LIB_DMA_GROUP_QAM, LIB_DMA_GROUP_ASK, LIB_DMA_GROUP_APSK, LIB_DMA_GROUP_DPSK,
                              LIB_DMA_GROUP_VSB, LIB_DMA_GROUP_CUSTOM_IQ, LIB_DMA_GROUP_OTHER })
    {
        complex_array data = turn(clean, 0.05, -1.3, 400, 8);
        double shift = 77.0;
        common_t::deal_fixed_phase(group, { 0.05f, -1.3f }, 400, 8, data, shift);
        EXPECT_EQ(shift, 0.0);
        EXPECT_LT(largest_difference(data, clean), 2e-5) << group; // the angles reach 22 radians in single precision
    }
}

TEST(FixedPhase, FormsTheAngleAsSingleProductDoubleQuotientAndSum)
{
    complex_array data = make_noise(3001, 2);
    const complex_array before = data;
    const float slope = 0.731f;
    const float intercept = 2.9f;
    double shift = 0.0;
    common_t::deal_fixed_phase(LIB_DMA_GROUP_PSK, { slope, intercept }, 1000, 10, data, shift);
    for (std::size_t n = 0; n < data.size(); ++n)
    {
        const float i = static_cast<float>(static_cast<std::int64_t>(n) - 1000);
        const float product = i * slope;
        const float theta = static_cast<float>(static_cast<double>(product) / 10.0 + static_cast<double>(intercept));
        // The product is plain single precision on every processor, to the last bit.
        const float c = static_cast<float>(std::cos(-static_cast<double>(theta)));
        const float s = static_cast<float>(std::sin(-static_cast<double>(theta)));
        const float re = before[n].real() * c - before[n].imag() * s;
        const float im = before[n].real() * s + before[n].imag() * c;
        EXPECT_EQ(data[n], (std::complex<float>(re, im))) << n;
    }
}

TEST(FixedPhase, SwitchesToTheGeneralAngleForSteepLines)
{
    complex_array data(5000, { 1.0f, 0.0f });
    double shift = 0.0;
    common_t::deal_fixed_phase(LIB_DMA_GROUP_PSK, { 1e5f, 0.0f }, 100, 8, data, shift);
    for (std::size_t n = 0; n < data.size(); n += 7)
    {
        const float product = static_cast<float>(static_cast<std::int64_t>(n) - 100) * 1e5f;
        const float theta = static_cast<float>(static_cast<double>(product) / 8.0);
        EXPECT_LT(std::abs(std::complex<double>(data[n]) - std::polar(1.0, -static_cast<double>(theta))), 1e-6) << n;
    }
}

TEST(FixedPhase, LeavesFskAsItIs)
{
    log_capture_t log;
    complex_array data = make_noise(50, 3);
    const complex_array before = data;
    double shift = 5.0;
    common_t::deal_fixed_phase(LIB_DMA_GROUP_FSK, {}, 10, 8, data, shift);
    EXPECT_EQ(data, before);
    EXPECT_EQ(shift, 0.0);
    EXPECT_TRUE(log.get_records().empty());
}

TEST(FixedPhase, LogsGroupsWithoutARule)
{
    for (const std::uint32_t group : { 6u, 11u, 200u })
    {
        log_capture_t log;
        complex_array data = make_noise(50, 4);
        const complex_array before = data;
        double shift = 5.0;
        common_t::deal_fixed_phase(static_cast<lib_dma_modulation_type_t>(group), { 1.0f, 1.0f }, 10, 8, data, shift);
        EXPECT_EQ(data, before) << group;
        EXPECT_EQ(shift, 0.0);
        EXPECT_EQ(log.count(log_level_error, no_rule), 1) << group;
    }
}

TEST(FixedPhase, RaisesOutOfRangeForAFitOfFewerThanTwoEntries)
{
    complex_array data = make_noise(50, 5);
    const complex_array before = data;
    double shift = 0.0;
    EXPECT_THROW(common_t::deal_fixed_phase(LIB_DMA_GROUP_PSK, {}, 10, 8, data, shift), std::out_of_range);
    try
    {
        common_t::deal_fixed_phase(LIB_DMA_GROUP_QAM, { 1.0f }, 10, 8, data, shift);
        ADD_FAILURE();
    }
    catch (const std::out_of_range& error)
    {
        EXPECT_STREQ(error.what(), "vector::_M_range_check: __n (which is 1) >= this->size() (which is 1)");
    }
    EXPECT_EQ(data, before);
}

TEST(FixedPhase, KeepsTheSamplesWhenTheInterceptIsNotFinite)
{
    for (const float intercept : { nan_value, infinity, -infinity })
    {
        complex_array data = make_noise(50, 6);
        const complex_array before = data;
        double shift = 0.0;
        common_t::deal_fixed_phase(LIB_DMA_GROUP_PSK, { 0.1f, intercept }, 10, 8, data, shift);
        EXPECT_EQ(data, before);
    }
}

TEST(FixedPhase, SpreadsASlopeThatIsNotANumber)
{
    complex_array data = make_noise(50, 7);
    double shift = 0.0;
    common_t::deal_fixed_phase(LIB_DMA_GROUP_PSK, { nan_value, 0.5f }, 10, 8, data, shift);
    for (const auto& value : data)
        EXPECT_TRUE(std::isnan(value.real()));
}

TEST(FixedPhase, MovesMskToItsSymbolPair)
{
    const std::uint32_t sps = 8;
    const std::uint32_t pre_num = 5;
    const struct
    {
        double first;
        double second;
        bool moved;
    } cases[] = {
        { 1.0, 0.5, true },  { 1.0, 1.2, false },  { 2.0, 2.5, true },   { 2.0, 1.5, false },
        { -1.0, 0.5, true }, { 1.0, -1.2, false }, { -2.0, -2.5, true }, { 1.0, -0.9, true },
    };
    for (const auto& [first, second, moved] : cases)
    {
        complex_array data = make_noise(60, 8);
        data[pre_num] = std::complex<float>(std::polar(1.0, first));
        data[pre_num + 1] = std::complex<float>(std::polar(1.0, second));
        const complex_array before = data;
        double shift = 3.0;
        common_t::deal_fixed_phase(LIB_DMA_GROUP_MSK, { 0.0f, 0.0f }, pre_num, sps, data, shift);
        EXPECT_EQ(shift, moved ? 16.0 : 0.0) << first << ' ' << second;
        EXPECT_EQ(data, complex_array(before.begin() + (moved ? 8 : 0), before.end())) << first << ' ' << second;
    }
}

TEST(FixedPhase, LooksAtMskAfterTheLineIsOut)
{
    // As received 1.0 then 0.5; with pi / 2 taken out the amounts rise from 0.57 to 1.07, so nothing moves.
    complex_array data(40, std::complex<float>(std::polar(1.0, 0.5)));
    data[4] = std::complex<float>(std::polar(1.0, 1.0));
    double shift = 3.0;
    common_t::deal_fixed_phase(LIB_DMA_GROUP_MSK, { 0.0f, static_cast<float>(pi / 2.0) }, 4, 8, data, shift);
    EXPECT_EQ(shift, 0.0);
    EXPECT_EQ(data.size(), 40u);
}

TEST(FixedPhase, RaisesOutOfRangeForMskWithoutTwoSamplesBehindTheRunIn)
{
    complex_array data = make_noise(6, 9);
    double shift = 0.0;
    EXPECT_THROW(common_t::deal_fixed_phase(LIB_DMA_GROUP_MSK, { 0.0f, 0.0f }, 5, 8, data, shift), std::out_of_range);
    EXPECT_NO_THROW(common_t::deal_fixed_phase(LIB_DMA_GROUP_MSK, { 0.0f, 0.0f }, 4, 8, data, shift));
}

TEST(FinePhaseFit, RecoversALineAndTakesItOut)
{
    for (const std::uint32_t sps : { 8u, 10u, 12u })
    {
        const std::uint32_t pre_num = 20 * sps;
        const complex_array ref = make_held_symbols(240, sps, sps);
        for (const double slope : { 0.002, -0.003 })
        {
            // Symbols stand at the samples that are multiples of sps: i / sps is the symbol index there.
            complex_array meas = turn(ref, slope, 0.4, pre_num, sps);
            double frequency = 77.0;
            common_t::deal_fine_phase_fit(LIB_DMA_GROUP_PSK, meas, ref, frequency, 1'000'000, pre_num, sps);
            EXPECT_NEAR(frequency, slope * 1e6 / (2.0 * pi), 0.05) << sps;
            EXPECT_LT(largest_difference(meas, ref), 2e-5) << sps;
        }
    }
}

TEST(FinePhaseFit, ScalesItsFrequencyWithTheSymbolRate)
{
    const complex_array ref = make_held_symbols(100, 8, 1);
    double slow = 0.0;
    double fast = 0.0;
    complex_array meas = turn(ref, 0.004, 0.1, 0, 8);
    common_t::deal_fine_phase_fit(LIB_DMA_GROUP_QAM, meas, ref, slow, 10'000, 0, 8);
    meas = turn(ref, 0.004, 0.1, 0, 8);
    common_t::deal_fine_phase_fit(LIB_DMA_GROUP_QAM, meas, ref, fast, 8'000'000'000, 0, 8);
    EXPECT_NEAR(slow, 0.004 * 1e4 / (2.0 * pi), 1e-3);
    EXPECT_NEAR(fast, 0.004 * 8e9 / (2.0 * pi), 800.0);
}

TEST(FinePhaseFit, FoldsPhasesBeyondAQuarterTurnLopsidedly)
{
    // 3 radians becomes pi - 3, and so does -3: the corrected signal keeps the rest.
    for (const double phase : { 3.0, -3.0, 2.0, -2.0, 1.5, -1.5, 1.6, -1.6 })
    {
        const complex_array ref = make_held_symbols(60, 8, 2);
        complex_array meas = turn(ref, 0.0, phase, 0, 8);
        double frequency = 0.0;
        common_t::deal_fine_phase_fit(LIB_DMA_GROUP_PSK, meas, ref, frequency, 1000, 0, 8);
        const double folded = phase > pi / 2.0 ? pi - phase : (phase < -pi / 2.0 ? phase + pi : phase);
        EXPECT_LT(largest_difference(meas, turn(ref, 0.0, phase - folded, 0, 8)), 1e-5) << phase;
        EXPECT_NEAR(frequency, 0.0, 1e-4) << phase;
    }
}

TEST(FinePhaseFit, IgnoresTheRunInAndTakesTheShorterSymbolList)
{
    const std::uint32_t sps = 8;
    const std::uint32_t pre_num = 40;
    complex_array ref = make_held_symbols(100, sps, 3);
    complex_array meas = turn(ref, 0.001, 0.2, pre_num, sps);
    const complex_array turned = meas;
    for (std::size_t n = 0; n < pre_num; ++n)
    {
        meas[n] = { 0.3f, 5.0f };
        meas[meas.size() - 1 - n] = { -7.0f, 1.0f };
    }
    ref.resize(ref.size() - 80); // ten symbols fewer
    double frequency = 0.0;
    common_t::deal_fine_phase_fit(LIB_DMA_GROUP_PSK, meas, ref, frequency, 1'000'000, pre_num, sps);
    EXPECT_NEAR(frequency, 0.001 * 1e6 / (2.0 * pi), 0.05);
    const complex_array straight = turn(turned, -0.001, -0.2, pre_num, sps);
    for (std::size_t n = pre_num; n < meas.size() - pre_num; ++n)
        EXPECT_LT(std::abs(meas[n] - straight[n]), 2e-5f) << n;
}

TEST(FinePhaseFit, UndoesTheOffsetOfOqpskBeforeItCompares)
{
    // The reference has its rails in step; the measurement has Q half a symbol late.
    const std::uint32_t sps = 8;
    const std::uint32_t half = sps / 2;
    const std::uint32_t pre_num = 2 * sps;
    const complex_array ref = make_held_symbols(120, sps, 4);
    complex_array late(ref.size());
    for (std::size_t n = 0; n < ref.size(); ++n)
        late[n] = { ref[n].real(), n >= half ? ref[n - half].imag() : 0.0f };
    const complex_array before = late;
    double frequency = 7.0;
    common_t::deal_fine_phase_fit(LIB_DMA_GROUP_OQPSK, late, ref, frequency, 1'000'000, pre_num, sps);
    EXPECT_NEAR(frequency, 0.0, 1e-3);
    EXPECT_LT(largest_difference(late, before), 1e-5);

    // Without that step the rails are compared across symbols and the fit finds a turn that is not there.
    complex_array misread = before;
    common_t::deal_fine_phase_fit(LIB_DMA_GROUP_PSK, misread, ref, frequency, 1'000'000, pre_num, sps);
    EXPECT_GT(largest_difference(misread, before), 1e-2);
}

TEST(FinePhaseFit, OfOneSymbolGivesNoNumber)
{
    complex_array meas(8, { 1.0f, 0.0f });
    const complex_array ref(8, { 1.0f, 0.0f });
    double frequency = 1.0;
    common_t::deal_fine_phase_fit(LIB_DMA_GROUP_PSK, meas, ref, frequency, 1000, 0, 8);
    EXPECT_TRUE(std::isnan(frequency));
    ASSERT_EQ(meas.size(), 8u);
    EXPECT_TRUE(std::isnan(meas[3].real()));
}

namespace
{
/// Symbols at one sample each: levels 0 and 1 as the bits say, turned by slope * i + intercept.
complex_array make_keyed_symbols(const std::vector<int>& bits, double slope, double intercept)
{
    complex_array symbols;
    for (std::size_t i = 0; i < bits.size(); ++i)
        symbols.emplace_back(static_cast<double>(bits[i]) * std::polar(1.0, slope * static_cast<double>(i) + intercept));
    return symbols;
}
} // namespace

TEST(FinePhaseFit, OfAskLeavesSymbolsAtLevelZeroOut)
{
    std::mt19937 generator(12);
    std::vector<int> bits(300);
    for (int& bit : bits)
        bit = static_cast<int>(generator() >> 31);
    const complex_array ref = make_keyed_symbols(bits, 0.0, 0.0);
    const complex_array clean = make_keyed_symbols(bits, 0.001, 0.2);
    complex_array meas = clean;
    for (std::size_t i = 0; i < meas.size(); ++i)
    {
        if (bits[i] == 0)
            meas[i] = std::complex<float>(std::polar(1e-4, 1.0)); // of another phase than the line
    }
    // Turned by the line that went in, not by one that the empty symbols pull at.
    double frequency = 0.0;
    complex_array ask = meas;
    common_t::deal_fine_phase_fit(LIB_DMA_GROUP_ASK, ask, ref, frequency, 1'000'000, 0, 1);
    EXPECT_NEAR(frequency, 0.001 * 1e6 / (2.0 * pi), 0.05);
    for (std::size_t i = 0; i < ask.size(); ++i)
        EXPECT_NEAR(std::abs(std::complex<double>(ask[i]) - static_cast<double>(bits[i])), 0.0, 2e-4) << i;
    // Another group takes them: the phase of meas times 0 is 0.
    double pulled = 0.0;
    common_t::deal_fine_phase_fit(LIB_DMA_GROUP_PSK, meas, ref, pulled, 1'000'000, 0, 1);
    EXPECT_GT(std::abs(pulled - frequency), 5.0);
}

TEST(FinePhaseFit, OfAskKeepsSymbolsFromAThousandthOfTheRmsOn)
{
    // Rms of the reference: sqrt((1 + level^2) / 2). A level just above the limit counts as much as any other.
    for (const bool counts : { false, true })
    {
        const double level = (counts ? 1.001e-3 : 0.999e-3) * std::sqrt(0.5);
        complex_array ref;
        complex_array meas;
        for (std::size_t i = 0; i < 200; ++i)
        {
            const bool low = i % 2 == 1;
            ref.emplace_back(static_cast<float>(low ? level : 1.0), 0.0f);
            meas.emplace_back(low ? std::polar(level, 0.6) : std::polar(1.0, 0.2));
        }
        double frequency = 0.0;
        common_t::deal_fine_phase_fit(LIB_DMA_GROUP_ASK, meas, ref, frequency, 1'000'000, 0, 1);
        // Taken out of the high symbols: their own 0.2, or the mean of both, 0.4.
        EXPECT_NEAR(std::arg(std::complex<double>(meas[100])), counts ? -0.2 : 0.0, 2e-3);
    }
}

TEST(FinePhaseFit, OfAskOnLevelsAboveZeroIsTheLineThroughAll)
{
    std::vector<int> bits(200, 1);
    const complex_array ref = make_keyed_symbols(bits, 0.0, 0.0);
    complex_array meas = make_keyed_symbols(bits, -0.002, 0.3);
    complex_array other = meas;
    double frequency = 0.0;
    double other_frequency = 0.0;
    common_t::deal_fine_phase_fit(LIB_DMA_GROUP_ASK, meas, ref, frequency, 500'000, 0, 1);
    common_t::deal_fine_phase_fit(LIB_DMA_GROUP_QAM, other, ref, other_frequency, 500'000, 0, 1);
    EXPECT_EQ(meas, other);
    EXPECT_EQ(frequency, other_frequency);
    EXPECT_NEAR(frequency, -0.002 * 5e5 / (2.0 * pi), 0.05);
}

TEST(WrapToPi, BringsAnglesIntoOneTurn)
{
    for (int i = -500; i <= 500; ++i)
    {
        const float angle = static_cast<float>(i) * 0.1f;
        const double exact = static_cast<double>(angle);
        const double expected = exact - 2.0 * pi * std::ceil((exact - pi) / (2.0 * pi));
        EXPECT_NEAR(static_cast<double>(common_t::wrap_to_pi(angle)), expected, 3e-7) << angle;
    }
    EXPECT_EQ(common_t::wrap_to_pi(0.0f), 0.0f);
    EXPECT_EQ(common_t::wrap_to_pi(1.0f), 1.0f);
    EXPECT_EQ(common_t::wrap_to_pi(-3.0f), -3.0f);
}

TEST(WrapToPi, TakesSinglePrecisionPiForMoreThanPi)
{
    const float single_pi = static_cast<float>(pi);
    const double above = static_cast<double>(single_pi) - pi; // 8.7e-8
    EXPECT_EQ(common_t::wrap_to_pi(single_pi), static_cast<float>(-pi + above));
    EXPECT_LT(common_t::wrap_to_pi(single_pi), 0.0f);
    EXPECT_EQ(common_t::wrap_to_pi(-single_pi), static_cast<float>(pi - above));
    EXPECT_GT(common_t::wrap_to_pi(-single_pi), 0.0f);
}

TEST(WrapToPi, IsZeroForWhatIsNotFinite)
{
    EXPECT_EQ(common_t::wrap_to_pi(nan_value), 0.0f);
    EXPECT_EQ(common_t::wrap_to_pi(infinity), 0.0f);
    EXPECT_EQ(common_t::wrap_to_pi(-infinity), 0.0f);
}

TEST(PhaseUnwrap, FollowsAWrappedLine)
{
    for (const double slope : { 0.5, -0.5, 2.9, -2.9, 0.01 })
    {
        float_array phases;
        for (int k = 0; k < 300; ++k)
            phases.push_back(static_cast<float>(std::remainder(0.3 + slope * k, 2.0 * pi)));
        common_t::phase_unwrap(phases);
        for (int k = 0; k < 300; ++k)
            EXPECT_NEAR(static_cast<double>(phases[static_cast<std::size_t>(k)]), 0.3 + slope * k, 2e-4) << slope << " at " << k;
    }
}

TEST(PhaseUnwrap, CorrectsAnEntryByItsOwnJumpToo)
{
    // Were the sum one entry late, the entry behind the jump would stand a turn off.
    float_array phases = { 3.0f, -3.0f, -2.9f, 3.1f };
    common_t::phase_unwrap(phases);
    EXPECT_EQ(phases[0], 3.0f);
    EXPECT_NEAR(phases[1], -3.0f + static_cast<float>(2.0 * pi), 1e-6f);
    EXPECT_NEAR(phases[2], -2.9f + static_cast<float>(2.0 * pi), 1e-6f);
    EXPECT_NEAR(phases[3], 3.1f, 1e-6f);
}

TEST(PhaseUnwrap, KeepsTheFirstEntryWhateverItsSize)
{
    float_array phases = { 10.0f, 10.5f, 9.0f };
    common_t::phase_unwrap(phases);
    EXPECT_EQ(phases, (float_array{ 10.0f, 10.5f, 9.0f }));
}

TEST(PhaseUnwrap, CountsSeveralTurnsInOneStep)
{
    float_array phases = { 0.0f, 20.0f, -15.0f };
    common_t::phase_unwrap(phases);
    // 20 is 3.18 turns, so three go; -35 is -5.57 turns, so six come back.
    EXPECT_NEAR(phases[1], static_cast<float>(20.0 - 6.0 * pi), 1e-5f);
    EXPECT_NEAR(phases[2], static_cast<float>(-15.0 + 6.0 * pi), 1e-5f);
}

TEST(PhaseUnwrap, LeavesStepsOfHalfATurnAlone)
{
    const float below = std::nextafter(static_cast<float>(pi), 0.0f); // the largest single value below pi
    float_array phases = { 0.0f, below, 0.0f, -below };
    const float_array before = phases;
    common_t::phase_unwrap(phases);
    EXPECT_EQ(phases, before);
    // Single-precision pi lies above pi, yet its quotient is half a turn, which stays on the side it came from.
    phases = { 0.0f, static_cast<float>(pi), 0.0f, -static_cast<float>(pi) };
    const float_array halves = phases;
    common_t::phase_unwrap(phases);
    EXPECT_EQ(phases, halves);
}

TEST(PhaseUnwrap, TakesShortArrays)
{
    float_array nothing;
    common_t::phase_unwrap(nothing);
    EXPECT_TRUE(nothing.empty());
    float_array one = { -9.0f };
    common_t::phase_unwrap(one);
    EXPECT_EQ(one, float_array{ -9.0f });
}

TEST(SymbolPhaseUnwrap, GivesThePlainPhasesWithoutRefining)
{
    const complex_array symbols = make_noise(100, 10);
    const float_array phases = common_t::phase_unwrap(symbols, false, 1.0f);
    ASSERT_EQ(phases.size(), symbols.size());
    for (std::size_t i = 0; i < symbols.size(); ++i)
        EXPECT_NEAR(static_cast<double>(phases[i]), std::arg(std::complex<double>(symbols[i])), 3e-7);
    EXPECT_TRUE(common_t::phase_unwrap(complex_array{}, true, 1.0f).empty());
}

TEST(SymbolPhaseUnwrap, FollowsATurningTrack)
{
    for (const double slope : { 0.4, -0.4 })
    {
        complex_array symbols;
        for (int k = 0; k < 40; ++k)
            symbols.push_back(std::complex<float>(std::polar(1.0, slope * k)));
        const float_array phases = common_t::phase_unwrap(symbols, true, static_cast<float>(pi));
        // Each pass moves an entry by one turn at most; the track makes two and a half.
        for (int k = 0; k < 40; ++k)
        {
            const double reached = std::abs(slope * k) < 5.0 * pi ? slope * k : 0.0;
            if (reached != 0.0)
            {
                EXPECT_NEAR(static_cast<double>(phases[static_cast<std::size_t>(k)]), reached, 1e-5) << slope << " at " << k;
            }
        }
    }
}

TEST(SymbolPhaseUnwrap, MovesAnEntryByOneTurnAPass)
{
    // With a tolerance of 0 every rise is a jump: 0 -> 1 goes down a turn in the first pass, then it is a fall and comes back.
    const complex_array symbols = { { 1.0f, 0.0f }, std::complex<float>(std::polar(1.0, 1.0)) };
    EXPECT_NEAR(common_t::phase_unwrap(symbols, true, 0.0f)[1], 1.0f, 1e-6f);
    // Within the tolerance nothing moves.
    EXPECT_NEAR(common_t::phase_unwrap(symbols, true, 1.5f)[1], 1.0f, 1e-7f);
}
