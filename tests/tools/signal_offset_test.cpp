#include "signal_format.h"
#include "signal_maker.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstdint>
#include <numbers>
#include <vector>

using namespace dma_test;

namespace
{
constexpr double pi = std::numbers::pi;
const double rail = std::sqrt(0.5);

signal_setting_t make_setting(signal_pulse_t pulse, double shape, double sample_rate)
{
    signal_setting_t setting;
    setting.format = signal_format_t::oqpsk;
    setting.pulse = pulse;
    setting.shape = shape;
    setting.sample_rate = sample_rate;
    setting.seed = 31;
    return setting;
}

std::complex<double> widen(std::complex<float> sample)
{
    return { static_cast<double>(sample.real()), static_cast<double>(sample.imag()) };
}

/// The signal behind its matched filter at a time in symbols. @param half_span  where the sum is cut, symbols
std::complex<double> cal_matched(const signal_setting_t& setting, const signal_t& signal, double time, double half_span)
{
    const double ratio = setting.symbol_rate / setting.sample_rate;
    std::complex<double> sum = 0.0;
    const auto last = static_cast<std::size_t>(std::floor((time + half_span) / ratio));
    for (auto n = static_cast<std::size_t>(std::ceil((time - half_span) / ratio)); n <= last; ++n)
        sum += widen(signal.samples.at(n)) * cal_pulse(setting.pulse, static_cast<double>(n) * ratio - time, setting.shape);
    return sum * ratio;
}

/// I at the centres of the symbols and Q half a symbol later, both behind the matched filter.
std::complex<double> cal_symbol(const signal_setting_t& setting, const signal_t& signal, std::size_t k, double half_span)
{
    const double time = static_cast<double>(k) + setting.timing_symbols;
    return { cal_matched(setting, signal, time, half_span).real(), cal_matched(setting, signal, time + 0.5, half_span).imag() };
}
} // namespace

TEST(SignalOffset, PointsAreThoseOfQpsk)
{
    const std::vector<std::complex<double>> drawn = { { -rail, rail }, { rail, rail }, { -rail, -rail }, { rail, -rail } };
    signal_setting_t setting = make_setting(signal_pulse_t::raised_cosine, 0.35, 4.0e6);
    const signal_t signal = make_signal(setting);
    ASSERT_EQ(signal.points.size(), 1000u);
    EXPECT_TRUE(signal.levels.empty());
    for (std::size_t k = 0; k < signal.points.size(); ++k)
        ASSERT_NEAR(std::abs(signal.points[k] - drawn.at(signal.symbols.at(k))), 0.0, 1.0e-12) << "symbol " << k;
}

TEST(SignalOffset, QStandsHalfASymbolBehindI)
{
    const signal_setting_t setting = make_setting(signal_pulse_t::raised_cosine, 0.35, 4.0e6);
    const signal_t signal = make_signal(setting);
    for (std::size_t k = 0; k < signal.points.size(); ++k)
    {
        ASSERT_NEAR(widen(signal.samples.at(4 * k)).real(), signal.points[k].real(), 1.0e-6) << "symbol " << k;
        ASSERT_NEAR(widen(signal.samples.at(4 * k + 2)).imag(), signal.points[k].imag(), 1.0e-6) << "symbol " << k;
    }
}

TEST(SignalOffset, RailsAreThoseOfQpskWithQDelayed)
{
    // A delay by half a symbol is two samples of four.
    for (const signal_pulse_t pulse :
         { signal_pulse_t::root_raised_cosine, signal_pulse_t::raised_cosine, signal_pulse_t::rectangular, signal_pulse_t::half_sine })
    {
        signal_setting_t setting = make_setting(pulse, 0.35, 4.0e6);
        setting.timing_symbols = 0.17;
        const signal_t offset = make_signal(setting);
        setting.format = signal_format_t::qpsk;
        const signal_t plain = make_signal(setting);
        ASSERT_EQ(offset.symbols, plain.symbols);
        for (std::size_t n = 2; n < plain.samples.size(); ++n)
        {
            ASSERT_NEAR(widen(offset.samples[n]).real(), widen(plain.samples[n]).real(), 1.0e-6) << "sample " << n;
            ASSERT_NEAR(widen(offset.samples[n]).imag(), widen(plain.samples[n - 2]).imag(), 1.0e-6) << "sample " << n;
        }
    }
}

TEST(SignalOffset, CleanSymbolsComeOutOfTheMatchedFilterAsTheyWentIn)
{
    for (const double sample_rate : { 2.0e6, 3.3e6, 10.0e6 })
    {
        signal_setting_t setting = make_setting(signal_pulse_t::root_raised_cosine, 0.35, sample_rate);
        setting.symbol_count = 300;
        setting.timing_symbols = 0.34;
        const signal_t signal = make_signal(setting);
        for (std::size_t k = 95; k < 205; ++k)
            EXPECT_NEAR(std::abs(cal_symbol(setting, signal, k, 90.0) - signal.points[k]), 0.0, 1.0e-3)
                << "symbol " << k << " at " << sample_rate;
    }
}

TEST(SignalOffset, HalfSineIsMskOfTwiceTheSymbolRate)
{
    for (const double timing : { 0.0, 0.3 })
    {
        signal_setting_t setting = make_setting(signal_pulse_t::half_sine, 0.0, 8.0e6);
        setting.timing_symbols = timing;
        const signal_t offset = make_signal(setting);

        // Both rails as one row of signs, in the order of their centres. Between two of them the phase turns by a quarter:
        // forwards from I to Q when the signs are equal, from Q to I when they differ.
        std::vector<double> signs;
        for (const std::complex<double>& point : offset.points)
        {
            signs.push_back(point.real() / rail);
            signs.push_back(point.imag() / rail);
        }
        signal_setting_t other;
        other.format = signal_format_t::msk;
        other.symbol_rate = 2.0e6;
        other.sample_rate = 8.0e6;
        other.symbol_count = static_cast<std::uint32_t>(signs.size());
        other.timing_symbols = 2.0 * timing + 0.5;
        for (std::size_t i = 0; i + 1 < signs.size(); ++i)
        {
            const double turn = (i % 2 == 0 ? 1.0 : -1.0) * signs[i] * signs[i + 1];
            other.sync_symbols.push_back(turn > 0.0 ? 1 : 0);
        }
        const signal_t msk = make_signal(other);
        ASSERT_EQ(msk.samples.size(), offset.samples.size());

        // Neither shows the symbol before the first nor behind the last. One common turn is left, that of the first sample.
        const auto first = static_cast<std::size_t>(std::ceil(8.0 * timing));
        const std::complex<double> turn = widen(offset.samples[first]) / widen(msk.samples[first]);
        EXPECT_NEAR(std::abs(turn), rail, 1.0e-6);
        for (std::size_t n = first; n + 4 < offset.samples.size(); ++n)
            ASSERT_NEAR(std::abs(widen(offset.samples[n]) - turn * widen(msk.samples[n])), 0.0, 1.0e-6) << "sample " << n;
    }
}

TEST(SignalOffset, GaussianSettlesToThePointInRunsOfEqualSymbols)
{
    signal_setting_t setting = make_setting(signal_pulse_t::gaussian, 0.3, 5.0e6);
    setting.sync_symbols.assign(40, 3);
    setting.sync_position = 100;
    const signal_t signal = make_signal(setting);
    for (std::size_t n = 5 * 110; n < 5 * 130; ++n)
        EXPECT_NEAR(std::abs(widen(signal.samples[n]) - std::polar(1.0, -pi / 4.0)), 0.0, 1.0e-6) << "sample " << n;
}

TEST(SignalOffset, NoiseGivesTheSnrBehindTheMatchedFilter)
{
    struct case_t
    {
        signal_pulse_t pulse;
        double half_span;
        double energy;
    };
    for (const case_t& one :
         { case_t{ signal_pulse_t::root_raised_cosine, 90.0, 1.0 }, case_t{ signal_pulse_t::half_sine, 0.5, 0.5 } })
    {
        signal_setting_t setting = make_setting(one.pulse, 0.35, 8.0e6);
        setting.symbol_count = 5000;
        setting.snr_db = 15.0;
        const signal_t signal = make_signal(setting);
        double error = 0.0;
        for (std::size_t k = 95; k < 4905; ++k)
            error += std::norm(cal_symbol(setting, signal, k, one.half_span) / one.energy - signal.points[k]) / 4810.0;
        // Matched, the noise of a symbol is N0 / energy; Es is the energy of the pulse. Four standard deviations of the mean.
        EXPECT_NEAR(-10.0 * std::log10(error), 15.0, 0.25) << get_pulse_name(one.pulse);
    }
}
