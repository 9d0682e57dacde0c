#include "signal_maker.h"
#include "signal_random.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstdint>
#include <numbers>
#include <stdexcept>
#include <vector>

using namespace dma_test;

namespace
{
constexpr double pi = std::numbers::pi;
using points_t = std::vector<std::complex<double>>;

/// Root raised cosine written apart from the maker's: the inverse transform of the root of the raised cosine spectrum, by
/// Simpson's rule over the band.
double cal_root_raised_cosine_by_transform(double t, double alpha)
{
    const auto spectrum = [alpha](double f)
    {
        const double low = 0.5 * (1.0 - alpha);
        if (f <= low)
        {
            return 1.0;
        }
        return std::sqrt(0.5 * (1.0 + std::cos(pi / alpha * (f - low))));
    };
    const double high = 0.5 * (1.0 + alpha);
    constexpr int steps = 4000;
    const double step = high / steps;
    double sum = 0.0;
    for (int i = 0; i <= steps; ++i)
    {
        const double weight = i == 0 || i == steps ? 1.0 : (i % 2 == 1 ? 4.0 : 2.0);
        sum += weight * spectrum(i * step) * std::cos(2.0 * pi * i * step * t);
    }
    return 2.0 * sum * step / 3.0;
}

/// Symbols behind the matched filter, at their true times. The first and last `skip` are left out: their tails lie outside.
points_t cal_matched_symbols(const signal_setting_t& setting, const signal_t& signal, std::size_t skip)
{
    const double ratio = setting.symbol_rate / setting.sample_rate;
    constexpr double reach = 90.0;
    points_t symbols;
    for (std::size_t k = skip; k + skip < signal.symbols.size(); ++k)
    {
        const double centre = static_cast<double>(k) + setting.timing_symbols;
        std::complex<double> sum = 0.0;
        const auto first = static_cast<std::size_t>(std::ceil((centre - reach) / ratio));
        const auto last = static_cast<std::size_t>(std::floor((centre + reach) / ratio));
        for (std::size_t n = first; n <= last; ++n)
        {
            const std::complex<double> sample(static_cast<double>(signal.samples.at(n).real()),
                                              static_cast<double>(signal.samples.at(n).imag()));
            sum += sample * cal_pulse(setting.pulse, static_cast<double>(n) * ratio - centre, setting.shape);
        }
        symbols.push_back(sum * ratio);
    }
    return symbols;
}

/// I and Q at the same instants, one point a symbol.
bool is_linear(const signal_format_info_t& format)
{
    return format.coding == signal_coding_t::point || format.coding == signal_coding_t::phase_step;
}

points_t cut(const points_t& points, std::size_t skip)
{
    return { points.begin() + static_cast<std::ptrdiff_t>(skip), points.end() - static_cast<std::ptrdiff_t>(skip) };
}

/// Error power over reference power.
double cal_error_ratio(const points_t& measured, const points_t& reference)
{
    double error = 0.0;
    double power = 0.0;
    for (std::size_t i = 0; i < measured.size(); ++i)
    {
        error += std::norm(measured[i] - reference[i]);
        power += std::norm(reference[i]);
    }
    return error / power;
}

constexpr std::size_t skip = 95;
} // namespace

TEST(SignalPulse, RootRaisedCosineIsTheTransformOfItsSpectrum)
{
    for (const double alpha : { 0.22, 0.35, 0.5, 1.0 })
    {
        // 1 / (4 alpha) is the pulse's removable singularity; the rest are ordinary times, on and between symbols.
        for (const double t : { 0.0, 1.0e-9, 1.0 / (4.0 * alpha), 1.0 / (4.0 * alpha) + 1.0e-5, 0.37, 1.0, -2.5, 7.25, 20.0 })
        {
            EXPECT_NEAR(cal_pulse(signal_pulse_t::root_raised_cosine, t, alpha), cal_root_raised_cosine_by_transform(t, alpha),
                        1.0e-7)
                << "alpha " << alpha << " t " << t;
        }
    }
}

TEST(SignalPulse, RaisedCosineIsOneAtZeroAndZeroAtEveryOtherSymbol)
{
    for (const double alpha : { 0.22, 0.35, 0.5, 1.0 })
    {
        EXPECT_NEAR(cal_pulse(signal_pulse_t::raised_cosine, 0.0, alpha), 1.0, 1.0e-12);
        for (int k = 1; k < 50; ++k)
        {
            EXPECT_NEAR(cal_pulse(signal_pulse_t::raised_cosine, k, alpha), 0.0, 1.0e-12) << "alpha " << alpha << " k " << k;
        }
    }
}

TEST(SignalPulse, RaisedCosineIsSmoothAcrossItsSingularTime)
{
    for (const double alpha : { 0.22, 0.35, 0.5 })
    {
        const double edge = 1.0 / (2.0 * alpha);
        // Limit by l'Hospital: pi / 4 * sinc(1 / (2 alpha)).
        const double limit = pi / 4.0 * std::sin(pi * edge) / (pi * edge);
        for (const double distance : { 0.0, 1.0e-8, -1.0e-7, 2.0e-6 })
        {
            EXPECT_NEAR(cal_pulse(signal_pulse_t::raised_cosine, edge + distance, alpha), limit, 1.0e-5) << "alpha " << alpha;
        }
    }
}

TEST(SignalPulse, EnergyIsTheIntegralOfTheSquare)
{
    struct case_t
    {
        signal_pulse_t pulse;
        double shape;
        double bound; // tails beyond the summed stretch, and steps at the edges of the rectangle
    };
    for (const case_t& one :
         { case_t{ signal_pulse_t::root_raised_cosine, 0.35, 1.0e-6 }, case_t{ signal_pulse_t::raised_cosine, 0.35, 1.0e-6 },
           case_t{ signal_pulse_t::gaussian, 0.5, 1.0e-9 }, case_t{ signal_pulse_t::rectangular, 0.0, 1.0e-2 } })
    {
        constexpr int steps_per_symbol = 64;
        double sum = 0.0;
        for (int i = -100 * steps_per_symbol; i <= 100 * steps_per_symbol; ++i)
        {
            const double value = cal_pulse(one.pulse, static_cast<double>(i) / steps_per_symbol, one.shape);
            sum += value * value / steps_per_symbol;
        }
        EXPECT_NEAR(sum, cal_pulse_energy(one.pulse, one.shape), one.bound) << get_pulse_name(one.pulse);
    }
}

TEST(SignalPulse, NamesLeadBackToThePulse)
{
    for (const signal_pulse_t pulse : { signal_pulse_t::root_raised_cosine, signal_pulse_t::raised_cosine,
                                        signal_pulse_t::gaussian, signal_pulse_t::rectangular,
                                        signal_pulse_t::half_sine })
    {
        signal_pulse_t found{};
        ASSERT_TRUE(find_pulse(get_pulse_name(pulse), found));
        EXPECT_EQ(found, pulse);
    }
    signal_pulse_t found{};
    EXPECT_FALSE(find_pulse("sawtooth", found));
}

TEST(SignalFormat, PointsStandWhereTheIndexSays)
{
    const auto angle = [](signal_format_t format, std::uint32_t index)
    { return std::fmod(std::arg(get_signal_format(format).points.at(index)) * 180.0 / pi + 360.0, 360.0); };
    EXPECT_NEAR(angle(signal_format_t::bpsk, 1), 0.0, 1.0e-9);
    EXPECT_NEAR(angle(signal_format_t::bpsk, 0), 180.0, 1.0e-9);
    EXPECT_NEAR(angle(signal_format_t::qpsk, 1), 45.0, 1.0e-9);
    EXPECT_NEAR(angle(signal_format_t::qpsk, 0), 135.0, 1.0e-9);
    EXPECT_NEAR(angle(signal_format_t::qpsk, 2), 225.0, 1.0e-9);
    EXPECT_NEAR(angle(signal_format_t::qpsk, 3), 315.0, 1.0e-9);
    for (std::uint32_t k = 1; k < 8; ++k)
    {
        EXPECT_NEAR(angle(signal_format_t::psk8, k), 45.0 * k, 1.0e-9);
    }
}

TEST(SignalFormat, BitsAndSymbolsTurnIntoEachOther)
{
    const std::vector<std::uint8_t> bits = { 1, 1, 0, 0, 1, 1, 1 };
    EXPECT_EQ(bits_to_symbols(bits, 3), (std::vector<std::uint32_t>{ 6, 3 }));
    EXPECT_EQ(bits_to_symbols(bits, 1), (std::vector<std::uint32_t>{ 1, 1, 0, 0, 1, 1, 1 }));
    EXPECT_EQ(symbols_to_bits({ 6, 3 }, 3), (std::vector<std::uint8_t>{ 1, 1, 0, 0, 1, 1 }));
}

TEST(SignalRandom, DrawsAreThoseOfTheStandardsEngine)
{
    // The standard fixes the 10000th draw of this engine with its default seed: 9981545732273789042.
    signal_random_t random(5489);
    double last = 0.0;
    for (int i = 0; i < 10000; ++i)
    {
        last = random.get_uniform();
    }
    EXPECT_EQ(last, static_cast<double>(9981545732273789042ULL >> 11U) / 9007199254740992.0);
}

TEST(SignalRandom, NormalDrawsHaveZeroMeanAndUnitVariance)
{
    signal_random_t random(3);
    constexpr int count = 200000;
    double sum = 0.0;
    double square = 0.0;
    double fourth = 0.0;
    for (int i = 0; i < count; ++i)
    {
        const double value = random.get_normal();
        sum += value;
        square += value * value;
        fourth += value * value * value * value;
    }
    // Four standard deviations of each mean: 1, sqrt(2), sqrt(96) over sqrt(count).
    EXPECT_NEAR(sum / count, 0.0, 0.009);
    EXPECT_NEAR(square / count, 1.0, 0.0127);
    EXPECT_NEAR(fourth / count, 3.0, 0.088);
}

TEST(SignalMaker, CleanSymbolsComeOutOfTheMatchedFilterAsTheyWentIn)
{
    for (const signal_format_info_t& format : get_signal_formats())
    {
        if (!is_linear(format))
        {
            continue;
        }
        for (const double sample_rate : { 2.0e6, 4.0e6, 3.3e6, 10.0e6 })
        {
            signal_setting_t setting;
            setting.format = format.format;
            setting.sample_rate = sample_rate;
            setting.symbol_count = 300;
            setting.timing_symbols = 0.34;
            setting.seed = 11;
            const signal_t signal = make_signal(setting);
            ASSERT_EQ(signal.samples.size(), static_cast<std::size_t>(std::floor(300.0 * sample_rate / 1.0e6)));
            const points_t symbols = cal_matched_symbols(setting, signal, skip);
            // The filter of the test is cut at 90 symbols: some 0.03 percent, the maker's share is less.
            EXPECT_LT(100.0 * std::sqrt(cal_error_ratio(symbols, cut(signal.points, skip))), 0.05)
                << format.name << " at " << sample_rate;
        }
    }
}

TEST(SignalMaker, RaisedCosineSignalsHaveTheirSymbolsAtWholeSamples)
{
    signal_setting_t setting;
    setting.pulse = signal_pulse_t::raised_cosine;
    setting.format = signal_format_t::psk8_3pi_8;
    setting.symbol_count = 400;
    const signal_t signal = make_signal(setting);
    for (std::size_t k = 0; k < signal.points.size(); ++k)
    {
        const std::complex<float> sample = signal.samples.at(4 * k);
        EXPECT_NEAR(static_cast<double>(sample.real()), signal.points[k].real(), 1.0e-6) << "symbol " << k;
        EXPECT_NEAR(static_cast<double>(sample.imag()), signal.points[k].imag(), 1.0e-6) << "symbol " << k;
    }
}

TEST(SignalMaker, FormatsWithAFixedTurnTurnCounterClockwise)
{
    signal_setting_t setting;
    setting.format = signal_format_t::qpsk_3pi_4;
    setting.symbol_count = 100;
    const signal_t signal = make_signal(setting);
    for (std::size_t k = 0; k < signal.points.size(); ++k)
    {
        const std::complex<double> expected = get_signal_format(signal_format_t::qpsk).points.at(signal.symbols[k]) *
                                              std::polar(1.0, 3.0 * pi / 4.0 * static_cast<double>(k));
        EXPECT_NEAR(std::abs(signal.points[k] - expected), 0.0, 1.0e-9) << "symbol " << k;
    }
}

TEST(SignalMaker, TheRecordIsFilledFromItsFirstToItsLastSample)
{
    signal_setting_t setting;
    setting.symbol_count = 4000;
    const signal_t signal = make_signal(setting);
    const auto cal_power = [&signal](std::size_t from, std::size_t to)
    {
        double sum = 0.0;
        for (std::size_t n = from; n < to; ++n)
        {
            sum += static_cast<double>(std::norm(signal.samples[n]));
        }
        return sum / static_cast<double>(to - from);
    };
    const std::size_t count = signal.samples.size();
    EXPECT_NEAR(cal_power(0, count), 1.0, 0.01);
    // 100 symbols: the power varies by some percent with the data.
    EXPECT_NEAR(cal_power(0, 400), 1.0, 0.1);
    EXPECT_NEAR(cal_power(count - 400, count), 1.0, 0.1);
}

TEST(SignalMaker, EveryFormatHasThePowerOfItsSymbols)
{
    for (const signal_format_info_t& format : get_signal_formats())
    {
        if (!is_linear(format))
        {
            continue;
        }
        signal_setting_t setting;
        setting.format = format.format;
        setting.symbol_count = 2000;
        const signal_t signal = make_signal(setting);
        double samples = 0.0;
        for (const std::complex<float>& sample : signal.samples)
        {
            samples += static_cast<double>(std::norm(sample)) / static_cast<double>(signal.samples.size());
        }
        double symbols = 0.0;
        for (const std::complex<double>& point : signal.points)
        {
            symbols += std::norm(point) / static_cast<double>(signal.points.size());
        }
        // The pulses are orthonormal over the samples; only tails at the ends of the record differ, a symbol's worth at most.
        EXPECT_NEAR(samples / symbols, 1.0, 1.0e-3) << format.name;
        // Four standard deviations of the mean square of 2000 symbols of 2ASK, the widest of all.
        EXPECT_NEAR(symbols, 1.0, 4.0 / std::sqrt(2000.0)) << format.name;
    }
}

TEST(SignalMaker, NoiseGivesTheSnrBehindTheMatchedFilter)
{
    for (const signal_format_t format : { signal_format_t::qpsk, signal_format_t::qam64, signal_format_t::qam32_minus_pi_4,
                                          signal_format_t::ask4, signal_format_t::apsk32, signal_format_t::dqpsk_pi_4 })
    {
        for (const double sample_rate : { 2.0e6, 5.0e6 })
        {
            signal_setting_t setting;
            setting.format = format;
            setting.sample_rate = sample_rate;
            setting.symbol_count = 5000;
            setting.snr_db = 15.0;
            setting.seed = 5;
            const signal_t signal = make_signal(setting);
            const points_t symbols = cal_matched_symbols(setting, signal, skip);
            const double snr = -10.0 * std::log10(cal_error_ratio(symbols, cut(signal.points, skip)));
            // Four standard deviations: 0.25 dB of the mean of 4810 exponential values, up to 0.2 dB of the symbols' own power.
            const double bound = format == signal_format_t::qpsk ? 0.25 : 0.33;
            EXPECT_NEAR(snr, 15.0, bound) << get_signal_format(format).name << " at " << sample_rate;
        }
    }
}

TEST(SignalMaker, TheCarrierTurnsTheSymbolsByItsOffsetAndPhase)
{
    signal_setting_t setting;
    setting.symbol_count = 400;
    setting.carrier_offset_hz = 1234.5;
    setting.carrier_phase = 0.7;
    const signal_t signal = make_signal(setting);
    points_t symbols = cal_matched_symbols(setting, signal, skip);
    for (std::size_t i = 0; i < symbols.size(); ++i)
    {
        const double time = static_cast<double>(i + skip) / setting.symbol_rate;
        symbols[i] *= std::polar(1.0, -(2.0 * pi * 1234.5 * time + 0.7));
    }
    // The turn within a pulse leaves some intersymbol interference: 1234.5 Hz is 0.1 percent of the symbol rate.
    EXPECT_LT(std::sqrt(cal_error_ratio(symbols, cut(signal.points, skip))), 0.005);
}

TEST(SignalMaker, ModulatorImpairmentsComeOutAsTheyWereSet)
{
    signal_setting_t setting;
    setting.symbol_count = 1500;
    setting.gain_imbalance_db = 0.5;
    setting.quadrature_skew_deg = 2.0;
    setting.iq_offset_db = -30.0;
    setting.iq_offset_angle = 1.1;
    const signal_t signal = make_signal(setting);
    const points_t measured = cal_matched_symbols(setting, signal, skip);
    const points_t ideal = cut(signal.points, skip);

    // Least squares of measured = a * I + b * Q + c over the four points, by the means of each point.
    points_t means(4, 0.0);
    std::vector<double> counts(4, 0.0);
    for (std::size_t i = 0; i < measured.size(); ++i)
    {
        means[signal.symbols[i + skip]] += measured[i];
        counts[signal.symbols[i + skip]] += 1.0;
    }
    for (std::size_t i = 0; i < 4; ++i)
    {
        means[i] /= counts[i];
    }
    // Index 1, 0, 2, 3 at 45, 135, 225, 315 degrees.
    const std::complex<double> i_axis = (means[1] + means[3] - means[0] - means[2]) / (4.0 * std::sqrt(0.5));
    const std::complex<double> q_axis = (means[1] + means[0] - means[2] - means[3]) / (4.0 * std::sqrt(0.5));
    const std::complex<double> offset = (means[0] + means[1] + means[2] + means[3]) / 4.0;
    EXPECT_NEAR(20.0 * std::log10(std::abs(i_axis) / std::abs(q_axis)), 0.5, 0.002);
    EXPECT_NEAR(std::arg(q_axis / i_axis) * 180.0 / pi, 92.0, 0.02);
    EXPECT_NEAR(20.0 * std::log10(std::abs(offset)), -30.0, 0.05);
    EXPECT_NEAR(std::arg(offset), 1.1, 0.01);
    ASSERT_EQ(ideal.size(), measured.size());
}

TEST(SignalMaker, GainScalesSignalAndNoise)
{
    signal_setting_t setting;
    setting.symbol_count = 100;
    setting.snr_db = 20.0;
    const signal_t plain = make_signal(setting);
    setting.gain = 0.25;
    const signal_t scaled = make_signal(setting);
    for (std::size_t n = 0; n < plain.samples.size(); ++n)
    {
        EXPECT_EQ(scaled.samples[n], plain.samples[n] * 0.25f) << "sample " << n;
    }
}

TEST(SignalMaker, SyncWordStandsWhereItWasPut)
{
    signal_setting_t setting;
    setting.symbol_count = 200;
    setting.sync_symbols = { 3, 0, 1, 2, 3 };
    setting.sync_position = 195;
    const signal_t signal = make_signal(setting);
    for (std::size_t i = 0; i < 5; ++i)
    {
        EXPECT_EQ(signal.symbols.at(195 + i), setting.sync_symbols[i]);
    }
    setting.sync_position = 196;
    EXPECT_THROW(make_signal(setting), std::invalid_argument);
    setting.sync_position = 0;
    setting.sync_symbols = { 4 };
    EXPECT_THROW(make_signal(setting), std::invalid_argument);
}

TEST(SignalMaker, DataDependOnTheSeedAloneAndNoiseHasAStreamOfItsOwn)
{
    signal_setting_t setting;
    setting.symbol_count = 500;
    setting.seed = 42;
    const signal_t first = make_signal(setting);
    setting.snr_db = 10.0;
    setting.half_span_symbols = 50;
    setting.sample_rate = 3.0e6;
    const signal_t second = make_signal(setting);
    EXPECT_EQ(first.symbols, second.symbols);
    EXPECT_EQ(second.samples, make_signal(setting).samples);
    setting.seed = 43;
    EXPECT_NE(make_signal(setting).symbols, second.symbols);
}

TEST(SignalMaker, RatesThatAreNoWholeNumbersGiveTheSameSignal)
{
    signal_setting_t setting;
    setting.symbol_count = 120;
    setting.timing_symbols = -0.37;
    setting.symbol_rate = 2.0;
    setting.sample_rate = 5.0;
    const signal_t whole = make_signal(setting);
    // Half the rates: no whole numbers, so that every tap is evaluated at its place.
    setting.symbol_rate = 0.5;
    setting.sample_rate = 1.25;
    const signal_t direct = make_signal(setting);
    ASSERT_EQ(whole.samples.size(), direct.samples.size());
    for (std::size_t n = 0; n < whole.samples.size(); ++n)
    {
        EXPECT_NEAR(static_cast<double>(std::abs(whole.samples[n] - direct.samples[n])), 0.0, 1.0e-6) << "sample " << n;
    }
}

TEST(SignalMaker, RefusesWhatItCannotMake)
{
    const auto refuses = [](auto change)
    {
        signal_setting_t setting;
        change(setting);
        EXPECT_THROW(make_signal(setting), std::invalid_argument);
    };
    refuses([](signal_setting_t& s) { s.symbol_rate = 0.0; });
    refuses([](signal_setting_t& s) { s.sample_rate = -1.0; });
    refuses([](signal_setting_t& s) { s.sample_rate = std::nan(""); });
    refuses([](signal_setting_t& s) { s.half_span_symbols = 39; });
}
