#include "signal_format.h"
#include "signal_maker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <dma_demod.h>
#include <limits>
#include <numbers>
#include <stdexcept>
#include <string>
#include <vector>

using namespace dma_test;

namespace
{
constexpr double pi = std::numbers::pi;

const std::vector<signal_format_t> fsk_formats = { signal_format_t::fsk2,  signal_format_t::fsk4,  signal_format_t::fsk8,
                                                   signal_format_t::fsk16, signal_format_t::fsk32, signal_format_t::fsk64 };

signal_setting_t make_setting(signal_format_t format, signal_pulse_t pulse, double shape, double sample_rate)
{
    signal_setting_t setting;
    setting.format = format;
    setting.pulse = pulse;
    setting.shape = shape;
    setting.sample_rate = sample_rate;
    setting.seed = 21;
    return setting;
}

std::complex<double> widen(std::complex<float> sample)
{
    return { static_cast<double>(sample.real()), static_cast<double>(sample.imag()) };
}

/// Turn from one sample to a later one, cycles; it must be less than half of one.
double cal_turn(const signal_t& signal, std::size_t from, std::size_t to)
{
    return std::arg(widen(signal.samples.at(to)) * std::conj(widen(signal.samples.at(from)))) / (2.0 * pi);
}

/// Spectrum of a frequency pulse, frequency in units of the symbol rate: the Gaussian one is 3 dB down at the bandwidth, times the
/// spectrum of the rectangle.
double cal_spectrum(signal_pulse_t pulse, double f, double shape)
{
    if (pulse == signal_pulse_t::gaussian)
    {
        const double rectangle = f == 0.0 ? 1.0 : std::sin(pi * f) / (pi * f);
        return rectangle * std::pow(0.5, 0.5 * (f / shape) * (f / shape));
    }
    const double low = 0.5 * (1.0 - shape);
    const double raised = f <= low ? 1.0 : 0.5 * (1.0 + std::cos(pi / shape * (f - low)));
    return pulse == signal_pulse_t::raised_cosine ? raised : std::sqrt(std::max(raised, 0.0));
}

/// The pulse as the inverse transform of its spectrum, by Simpson's rule over the band.
double cal_pulse_by_transform(signal_pulse_t pulse, double t, double shape)
{
    const double high = pulse == signal_pulse_t::gaussian ? 8.0 * shape : 0.5 * (1.0 + shape);
    constexpr int steps = 4000;
    const double step = high / steps;
    double sum = 0.0;
    for (int i = 0; i <= steps; ++i)
    {
        const double weight = i == 0 || i == steps ? 1.0 : (i % 2 == 1 ? 4.0 : 2.0);
        sum += weight * cal_spectrum(pulse, i * step, shape) * std::cos(2.0 * pi * i * step * t);
    }
    return 2.0 * sum * step / 3.0;
}
} // namespace

TEST(SignalTones, LowerHalfRisesAndUpperHalfFalls)
{
    const auto expect_levels = [](signal_format_t format, const std::vector<double>& levels)
    {
        const signal_format_info_t& info = get_signal_format(format);
        ASSERT_EQ(info.points.size(), levels.size()) << info.name;
        for (std::size_t i = 0; i < levels.size(); ++i)
            EXPECT_NEAR(std::abs(info.points[i] - levels[i]), 0.0, 1.0e-15) << info.name << " index " << i;
    };
    expect_levels(signal_format_t::fsk2, { -1.0, 1.0 });
    expect_levels(signal_format_t::msk, { -1.0, 1.0 });
    expect_levels(signal_format_t::gmsk, { -1.0, 1.0 });
    expect_levels(signal_format_t::fsk4, { -1.0, -1.0 / 3.0, 1.0, 1.0 / 3.0 });
    expect_levels(signal_format_t::fsk8,
                  { -1.0, -5.0 / 7.0, -3.0 / 7.0, -1.0 / 7.0, 1.0, 5.0 / 7.0, 3.0 / 7.0, 1.0 / 7.0 });
}

TEST(SignalTones, SortedTheyStandInEqualSteps)
{
    for (const signal_format_t format : fsk_formats)
    {
        const signal_format_info_t& info = get_signal_format(format);
        std::vector<double> levels;
        for (const std::complex<double>& point : info.points)
            levels.push_back(point.real());
        std::sort(levels.begin(), levels.end());
        const double step = 2.0 / (static_cast<double>(levels.size()) - 1.0);
        for (std::size_t i = 0; i < levels.size(); ++i)
            EXPECT_NEAR(levels[i], -1.0 + step * static_cast<double>(i), 1.0e-14) << info.name << " tone " << i;
    }
}

TEST(SignalTones, AgreeWithTheDecisionAndTheSetOfTheLibrary)
{
    using namespace vrim::dma_demod_lib;
    for (const signal_format_t format : fsk_formats)
    {
        const signal_format_info_t& info = get_signal_format(format);
        const auto tones = static_cast<std::uint32_t>(info.points.size());
        vrim::constellation_map map;
        vrim::common_lib::lib_constellation_fsk_t::generate_default_fsk_constellation(tones, map, false);
        ASSERT_EQ(map.size(), tones);
        for (std::uint32_t index = 0; index < tones; ++index)
        {
            const double level = info.points[index].real();
            EXPECT_NEAR(static_cast<double>(map.at(index).real()), level, 1.0e-7) << info.name << " index " << index;
            if (tones <= 16)
            {
                const auto number = static_cast<lib_dma_fsk_modulation_type_t>(tones);
                EXPECT_EQ(lib_dma_phy_common_t::fsk_demod_bit(static_cast<float>(level), number), index) << info.name;
            }
        }
    }
}

TEST(SignalHeldPulse, GaussianIsTheTransformOfItsSpectrumAndHoldsConstantData)
{
    for (const double bandwidth_time : { 0.2, 0.3, 0.5, 1.0 })
    {
        for (const double t : { 0.0, 0.2, 0.5, 0.77, 1.0, 2.3 })
        {
            EXPECT_NEAR(cal_held_pulse(signal_pulse_t::gaussian, t, bandwidth_time),
                        cal_pulse_by_transform(signal_pulse_t::gaussian, t, bandwidth_time), 1.0e-9)
                << "BT " << bandwidth_time << " t " << t;
            double sum = 0.0;
            for (int k = -20; k <= 20; ++k)
                sum += cal_held_pulse(signal_pulse_t::gaussian, t - k, bandwidth_time);
            EXPECT_NEAR(sum, 1.0, 1.0e-12) << "BT " << bandwidth_time << " t " << t;
        }
    }
    for (const signal_pulse_t pulse : { signal_pulse_t::root_raised_cosine, signal_pulse_t::raised_cosine,
                                        signal_pulse_t::rectangular, signal_pulse_t::half_sine })
        EXPECT_EQ(cal_held_pulse(pulse, 0.3, 0.4), cal_pulse(pulse, 0.3, 0.4));
}

TEST(SignalHeldPulse, EnergyIsTheIntegralOfTheSquare)
{
    const auto expect_energy = [](signal_pulse_t pulse, double shape)
    {
        constexpr int steps_per_symbol = 256;
        double sum = 0.0;
        for (int i = -20 * steps_per_symbol; i <= 20 * steps_per_symbol; ++i)
        {
            const double value = cal_held_pulse(pulse, static_cast<double>(i) / steps_per_symbol, shape);
            sum += value * value / steps_per_symbol;
        }
        EXPECT_NEAR(sum, cal_held_pulse_energy(pulse, shape), 1.0e-6) << get_pulse_name(pulse) << " " << shape;
    };
    expect_energy(signal_pulse_t::half_sine, 0.0);
    expect_energy(signal_pulse_t::raised_cosine, 0.4);
    for (const double bandwidth_time : { 0.2, 0.3, 0.5, 1.0 })
        expect_energy(signal_pulse_t::gaussian, bandwidth_time);
}

TEST(SignalFrequency, EveryToneOfRectangularPulsesHasItsFrequencyOverTheWholeSymbol)
{
    for (const signal_format_t format : fsk_formats)
    {
        for (const double deviation : { 30.0e3, 400.0e3, 3.0e6 })
        {
            signal_setting_t setting = make_setting(format, signal_pulse_t::rectangular, 0.0, 10.0e6);
            setting.deviation_hz = deviation;
            setting.timing_symbols = 0.5; // symbol k from sample 10 k to 10 (k + 1)
            setting.symbol_count = 200;
            const signal_t signal = make_signal(setting);
            const signal_format_info_t& info = get_signal_format(format);
            EXPECT_EQ(signal.deviation_hz, deviation);
            ASSERT_EQ(signal.levels.size(), 200u);
            EXPECT_TRUE(signal.points.empty());
            for (std::size_t k = 0; k < 199; ++k)
            {
                ASSERT_EQ(signal.levels[k], info.points.at(signal.symbols.at(k)).real());
                for (std::size_t n = 10 * k; n < 10 * (k + 1); ++n)
                    ASSERT_NEAR(10.0e6 * cal_turn(signal, n, n + 1), signal.levels[k] * deviation, 0.5)
                        << info.name << " symbol " << k << " sample " << n;
            }
        }
    }
}

TEST(SignalFrequency, TurnFromSampleToSampleIsTheIntegralOfThePulses)
{
    struct case_t
    {
        signal_format_t format;
        signal_pulse_t pulse;
        double shape;
    };
    for (const case_t& one : { case_t{ signal_format_t::fsk2, signal_pulse_t::gaussian, 0.5 },
                               case_t{ signal_format_t::fsk4, signal_pulse_t::gaussian, 0.3 },
                               case_t{ signal_format_t::gmsk, signal_pulse_t::gaussian, 0.3 },
                               case_t{ signal_format_t::fsk4, signal_pulse_t::raised_cosine, 0.5 },
                               case_t{ signal_format_t::fsk16, signal_pulse_t::root_raised_cosine, 0.35 } })
    {
        signal_setting_t setting = make_setting(one.format, one.pulse, one.shape, 16.0e6);
        setting.timing_symbols = 0.3;
        setting.symbol_count = 400;
        setting.deviation_hz = one.format == signal_format_t::gmsk ? 0.0 : 700.0e3;
        const double deviation = one.format == signal_format_t::gmsk ? 250.0e3 : 700.0e3;
        const signal_t signal = make_signal(setting);

        // The pulse every half sample, as far as the maker's reaches.
        constexpr int reach = 160;
        constexpr int steps = 32;
        std::vector<double> pulse;
        for (int i = -reach * steps; i <= reach * steps; ++i)
            pulse.push_back(cal_pulse_by_transform(one.pulse, static_cast<double>(i) / steps - setting.timing_symbols, one.shape));
        const auto cal_level = [&](int half_sample)
        {
            double sum = 0.0;
            for (int k = half_sample / steps - reach + 1; k < half_sample / steps + reach; ++k)
                sum += signal.levels.at(static_cast<std::size_t>(k)) *
                       pulse.at(static_cast<std::size_t>(half_sample - k * steps + reach * steps));
            return sum;
        };
        for (int n = 16 * 170; n < 16 * 230; ++n)
        {
            // Simpson's rule leaves 1.5e-7 of a cycle, the float samples 3e-8.
            const double mean = (cal_level(2 * n) + 4.0 * cal_level(2 * n + 1) + cal_level(2 * n + 2)) / 6.0;
            ASSERT_NEAR(cal_turn(signal, static_cast<std::size_t>(n), static_cast<std::size_t>(n) + 1), mean * deviation / 16.0e6,
                        5.0e-7)
                << get_signal_format(one.format).name << " " << get_pulse_name(one.pulse) << " sample " << n;
        }
    }
}

TEST(SignalFrequency, RaisedCosineIsAtTheLevelAtTheCentres)
{
    signal_setting_t setting = make_setting(signal_format_t::fsk8, signal_pulse_t::raised_cosine, 0.5, 64.0e6);
    setting.deviation_hz = 1.0e6;
    setting.symbol_count = 300;
    const signal_t signal = make_signal(setting);
    for (std::size_t k = 1; k < 300; ++k)
    {
        // The difference over two samples leaves the second derivative times 1 / 64^2 / 6.
        EXPECT_NEAR(cal_turn(signal, 64 * k - 1, 64 * k + 1) * 32.0, signal.levels[k], 1.0e-3) << "symbol " << k;
    }
}

TEST(SignalFrequency, RootRaisedCosineIsAtTheLevelBehindItsMatchedFilter)
{
    signal_setting_t setting = make_setting(signal_format_t::fsk4, signal_pulse_t::root_raised_cosine, 0.35, 64.0e6);
    setting.deviation_hz = 1.0e6;
    setting.timing_symbols = 0.2;
    setting.symbol_count = 260;
    const signal_t signal = make_signal(setting);
    constexpr int reach = 100;
    for (int k = reach; k < 260 - reach - 1; ++k)
    {
        double sum = 0.0;
        for (int n = 64 * (k - reach + 1); n < 64 * (k + reach); ++n)
        {
            // The turn between two samples is the frequency halfway.
            const double t = (n + 0.5) / 64.0 - k - 0.2;
            sum += cal_turn(signal, static_cast<std::size_t>(n), static_cast<std::size_t>(n) + 1) *
                   cal_pulse(signal_pulse_t::root_raised_cosine, t, 0.35);
        }
        EXPECT_NEAR(sum, signal.levels[static_cast<std::size_t>(k)], 1.0e-3) << "symbol " << k;
    }
}

TEST(SignalFrequency, GaussianSettlesToTheDeviationInRunsOfEqualSymbols)
{
    for (const double bandwidth_time : { 0.3, 0.5 })
    {
        signal_setting_t setting = make_setting(signal_format_t::fsk4, signal_pulse_t::gaussian, bandwidth_time, 8.0e6);
        setting.deviation_hz = 600.0e3;
        setting.sync_symbols.assign(40, 2);
        setting.sync_position = 100;
        const signal_t signal = make_signal(setting);
        for (std::size_t n = 8 * 110; n < 8 * 130; ++n)
            EXPECT_NEAR(cal_turn(signal, n, n + 1) * 8.0e6, 600.0e3, 1.0) << "sample " << n;
    }
}

TEST(SignalFrequency, PhaseGoesOnWithoutStepsFromTheOneThatIsSetAtUnitAmplitude)
{
    for (const signal_format_info_t& info : get_signal_formats())
    {
        if (info.coding != signal_coding_t::frequency)
            continue;
        for (const signal_pulse_t pulse : { signal_pulse_t::rectangular, signal_pulse_t::gaussian })
        {
            signal_setting_t setting = make_setting(info.format, pulse, 0.3, 123.4e6);
            setting.symbol_count = 100;
            setting.carrier_phase = 0.7;
            setting.timing_symbols = -1.23;
            const signal_t signal = make_signal(setting);
            EXPECT_NEAR(std::arg(widen(signal.samples.front())), 0.7, 1.0e-6) << info.name;
            // These pulses never leave the outermost tones.
            const double most = signal.deviation_hz / setting.sample_rate + 1.0e-7;
            double largest = 0.0;
            for (std::size_t n = 1; n < signal.samples.size(); ++n)
            {
                ASSERT_LE(std::abs(cal_turn(signal, n - 1, n)), most) << info.name << " sample " << n;
                ASSERT_NEAR(std::abs(widen(signal.samples[n])), 1.0, 2.0e-7);
                largest = std::max(largest, std::abs(cal_turn(signal, n - 1, n)));
            }
            EXPECT_GT(largest, 0.8 * most) << info.name;
        }
    }
}

TEST(SignalFrequency, MskTurnsByAQuarterASymbolAndGmskIsGaussian2FskOfThatDeviation)
{
    signal_setting_t setting = make_setting(signal_format_t::msk, signal_pulse_t::root_raised_cosine, 0.35, 8.0e6);
    setting.timing_symbols = 0.5;
    const signal_t msk = make_signal(setting);
    EXPECT_EQ(msk.deviation_hz, 250.0e3);
    for (std::size_t k = 0; k + 1 < msk.symbols.size(); ++k)
        EXPECT_NEAR(cal_turn(msk, 8 * k, 8 * (k + 1)), msk.symbols[k] == 1 ? 0.25 : -0.25, 1.0e-6) << "symbol " << k;

    setting = make_setting(signal_format_t::gmsk, signal_pulse_t::rectangular, 0.3, 5.0e6);
    signal_setting_t other = make_setting(signal_format_t::fsk2, signal_pulse_t::gaussian, 0.3, 5.0e6);
    other.deviation_hz = 250.0e3;
    const signal_t gmsk = make_signal(setting);
    EXPECT_EQ(gmsk.samples, make_signal(other).samples);
    other.shape = 0.5;
    EXPECT_NE(gmsk.samples, make_signal(other).samples);
}

TEST(SignalFrequency, TheUsualDeviationPutsNeighboursHalfTheSymbolRateApart)
{
    const std::vector<double> usual = { 0.25e6, 0.75e6, 1.75e6, 3.75e6, 7.75e6, 15.75e6 };
    for (std::size_t i = 0; i < fsk_formats.size(); ++i)
        EXPECT_EQ(get_deviation(make_setting(fsk_formats[i], signal_pulse_t::rectangular, 0.0, 40.0e6)), usual[i]);
}

TEST(SignalFrequency, OtherRatesGiveTheSamePhaseAtTheSameTimes)
{
    for (const signal_pulse_t pulse : { signal_pulse_t::rectangular, signal_pulse_t::gaussian, signal_pulse_t::raised_cosine,
                                        signal_pulse_t::root_raised_cosine })
    {
        signal_setting_t setting = make_setting(signal_format_t::fsk4, pulse, 0.4, 4.0e6);
        setting.timing_symbols = 0.41;
        const signal_t signal = make_signal(setting);

        setting.sample_rate = 20.0e6;
        const signal_t dense = make_signal(setting);
        // The same ratio in rates that are no whole numbers.
        setting.symbol_rate = 1.0e6 + 0.125;
        setting.sample_rate = 4.0e6 + 0.5;
        const signal_t direct = make_signal(setting);
        ASSERT_EQ(dense.samples.size(), 5 * signal.samples.size());
        ASSERT_EQ(direct.samples.size(), signal.samples.size());
        for (std::size_t n = 0; n < signal.samples.size(); ++n)
        {
            ASSERT_NEAR(std::abs(widen(signal.samples[n]) - widen(dense.samples[5 * n])), 0.0, 3.0e-7) << "sample " << n;
            ASSERT_NEAR(std::abs(widen(signal.samples[n]) - widen(direct.samples[n])), 0.0, 3.0e-7) << "sample " << n;
        }
    }
}

TEST(SignalFrequency, NoiseHasTheEnergyOfASymbolOverTheSnr)
{
    for (const double sample_rate : { 2.0e6, 5.0e6 })
    {
        signal_setting_t setting = make_setting(signal_format_t::msk, signal_pulse_t::rectangular, 0.0, sample_rate);
        setting.symbol_count = 20000;
        const signal_t clean = make_signal(setting);
        setting.snr_db = 10.0;
        const signal_t noisy = make_signal(setting);
        // Es / N0 = A^2 T / N0 at A = 1, the variance being N0 times the sample rate.
        const double variance = sample_rate / 1.0e6 / 10.0;
        EXPECT_NEAR(noisy.noise_variance, variance, 1.0e-12);
        double power = 0.0;
        for (std::size_t n = 0; n < clean.samples.size(); ++n)
            power += std::norm(widen(noisy.samples[n]) - widen(clean.samples[n]));
        const auto count = static_cast<double>(clean.samples.size());
        EXPECT_NEAR(power / count / variance, 1.0, 4.0 / std::sqrt(count));
    }
}

TEST(SignalFrequency, ImpairmentsActAsOnLinearFormats)
{
    signal_setting_t setting = make_setting(signal_format_t::fsk4, signal_pulse_t::gaussian, 0.5, 4.0e6);
    const signal_t clean = make_signal(setting);
    setting.carrier_offset_hz = 12345.0;
    setting.carrier_phase = 1.1;
    setting.gain = 0.3;
    setting.iq_offset_db = -20.0;
    setting.iq_offset_angle = 0.9;
    const signal_t changed = make_signal(setting);
    for (std::size_t n = 0; n < clean.samples.size(); ++n)
    {
        const std::complex<double> shifted = widen(clean.samples[n]) + std::polar(0.1, 0.9);
        const double phase = 2.0 * pi * static_cast<double>(n) * 12345.0 / 4.0e6 + 1.1;
        ASSERT_NEAR(std::abs(widen(changed.samples[n]) - 0.3 * shifted * std::polar(1.0, phase)), 0.0, 2.0e-7) << "sample " << n;
    }
}

TEST(SignalBalance, EveryRunHasEverySymbolEquallyOftenTheSyncWordCountedIn)
{
    for (const signal_format_t format : { signal_format_t::fsk2, signal_format_t::fsk8, signal_format_t::qam16 })
    {
        const auto order = static_cast<std::uint32_t>(get_signal_format(format).points.size());
        signal_setting_t setting = make_setting(format, signal_pulse_t::raised_cosine, 0.5, 4.0e6);
        setting.balanced_run = 5 * order;
        setting.symbol_count = 50 * order;
        setting.sync_symbols = { 1, 1, 0, 1, 1 };
        setting.sync_position = 7 * order - 2;
        const signal_t signal = make_signal(setting);
        for (std::size_t first = 0; first < signal.symbols.size(); first += setting.balanced_run)
        {
            const auto run = signal.symbols.begin() + static_cast<std::ptrdiff_t>(first);
            for (std::uint32_t symbol = 0; symbol < order; ++symbol)
                EXPECT_EQ(std::count(run, run + setting.balanced_run, symbol), 5) << "run at " << first << " symbol " << symbol;
        }
        for (std::size_t i = 0; i < setting.sync_symbols.size(); ++i)
            EXPECT_EQ(signal.symbols.at(setting.sync_position + i), setting.sync_symbols[i]);
        // The order within the runs is drawn.
        const auto second = signal.symbols.begin() + static_cast<std::ptrdiff_t>(setting.balanced_run);
        EXPECT_FALSE(std::equal(signal.symbols.begin(), second, second));
        setting.seed = 22;
        EXPECT_NE(make_signal(setting).symbols, signal.symbols);
    }
}

TEST(SignalBalance, RefusesRunsThatCannotBeBalanced)
{
    signal_setting_t setting = make_setting(signal_format_t::fsk4, signal_pulse_t::rectangular, 0.0, 4.0e6);
    setting.balanced_run = 50; // no multiple of 4
    EXPECT_THROW(make_signal(setting), std::invalid_argument);
    setting.balanced_run = 12; // 1000 is no multiple of it
    EXPECT_THROW(make_signal(setting), std::invalid_argument);
    setting.balanced_run = 8;
    EXPECT_NO_THROW(make_signal(setting));
    setting.sync_symbols = { 1, 1, 1 };
    EXPECT_THROW(make_signal(setting), std::invalid_argument);
    setting.sync_position = 6; // two in the first run, one in the second
    EXPECT_NO_THROW(make_signal(setting));
}

TEST(SignalFrequency, RefusesWhatItCannotMake)
{
    const auto refuses = [](signal_format_t format, auto change)
    {
        signal_setting_t setting = make_setting(format, signal_pulse_t::rectangular, 0.3, 4.0e6);
        change(setting);
        EXPECT_THROW(make_signal(setting), std::invalid_argument);
    };
    refuses(signal_format_t::fsk2, [](signal_setting_t& s) { s.deviation_hz = -1.0; });
    refuses(signal_format_t::fsk2, [](signal_setting_t& s) { s.deviation_hz = 2.0e6; });
    refuses(signal_format_t::fsk2, [](signal_setting_t& s) { s.deviation_hz = std::nan(""); });
    refuses(signal_format_t::fsk64, [](signal_setting_t&) {}); // the usual deviation needs a wider capture
    refuses(signal_format_t::msk, [](signal_setting_t& s) { s.deviation_hz = 200.0e3; });
    refuses(signal_format_t::oqpsk, [](signal_setting_t& s) { s.deviation_hz = 250.0e3; });
    refuses(signal_format_t::fsk2, [](signal_setting_t& s) { s.pulse = signal_pulse_t::half_sine; });
    refuses(signal_format_t::gmsk, [](signal_setting_t& s) { s.shape = 0.0; });
    for (const double roll_off : { -0.1, 1.1, std::numeric_limits<double>::quiet_NaN() })
    {
        refuses(signal_format_t::fsk2,
                [roll_off](signal_setting_t& s)
                {
                    s.pulse = signal_pulse_t::raised_cosine;
                    s.shape = roll_off;
                });
    }
}
