#include "lib_dma_common/lib_dma_phy_common.h"

#include "lib_dma_phy_result.h"
#include "message_capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using common_log::log_level_error;
using common_log::log_level_info;

namespace
{
constexpr float nan_value = std::numeric_limits<float>::quiet_NaN();
constexpr const char* start_text = "lib_dma_phy_common_t::apply_equailizer.\n";
constexpr const char* diverged_text =
    "lib_dma_phy_common_t::apply_equailizer:the taps have diverged; a smaller step size may hold them.\n";

/// Gaussian samples of unit power.
complex_array make_noise(std::size_t count, unsigned seed)
{
    std::mt19937 generator(seed);
    std::normal_distribution<float> normal(0.0f, 0.70710678f);
    complex_array samples(count);
    for (std::complex<float>& sample : samples)
    {
        const float re = normal(generator);
        sample = { re, normal(generator) };
    }
    return samples;
}

/// QPSK points, one a sample.
complex_array make_points(std::size_t count, unsigned seed)
{
    std::mt19937 generator(seed);
    complex_array points(count);
    for (std::complex<float>& point : points)
    {
        const auto bits = generator();
        point = { (bits & 16u) != 0 ? 0.70710678f : -0.70710678f, (bits & 32u) != 0 ? 0.70710678f : -0.70710678f };
    }
    return points;
}

/// (a + jb)(c + jd) = (ac - bd) + j (ad + bc), each product rounded.
std::complex<float> multiply(std::complex<float> x, std::complex<float> y)
{
    const float ac = x.real() * y.real();
    const float bd = x.imag() * y.imag();
    const float ad = x.real() * y.imag();
    const float bc = x.imag() * y.real();
    return { ac - bd, ad + bc };
}

struct sweep_result_t
{
    complex_array out;
    complex_array filter;
    complex_array error;
};

/// The sweep step by step, one operation after the other.
sweep_result_t sweep_plainly(const complex_array& meas, const complex_array& ref, double coef, complex_array filter)
{
    const std::size_t n = meas.size();
    const std::size_t l = filter.size();
    const float step = static_cast<float>(coef);
    sweep_result_t result = { complex_array(n), filter, complex_array(n) };
    for (std::size_t k = 0; n > l && k < n - l; ++k)
    {
        complex_array x(meas.begin() + static_cast<std::ptrdiff_t>(k), meas.begin() + static_cast<std::ptrdiff_t>(k + l));
        std::reverse(x.begin(), x.end());
        std::complex<float> y = { 0.0f, 0.0f };
        for (std::size_t j = 0; j < l; ++j)
            y += multiply(x[j], std::conj(result.filter[j]));
        const std::size_t d = k + l - l / 2 - 1;
        const std::complex<float> e = ref[d] - y;
        for (std::size_t j = 0; j < l; ++j)
            result.filter[j] += multiply({ x[j].real() * step, x[j].imag() * step }, std::conj(e));
        result.error[k] = e;
        result.out[d] = y;
    }
    return result;
}

/// Modified Bessel function of order 0 by its power series.
double bessel_0(double x)
{
    double term = 1.0;
    double sum = 1.0;
    for (int m = 1; m < 60; ++m)
    {
        term *= x * x / (4.0 * m * m);
        sum += term;
    }
    return sum;
}

/// Symmetric Kaiser window of beta 12.
double taper_at(std::size_t i, std::size_t length)
{
    const double place = 2.0 * static_cast<double>(i) / static_cast<double>(length - 1) - 1.0;
    return bessel_0(12.0 * std::sqrt(1.0 - place * place)) / bessel_0(12.0);
}

complex_array make_delay(std::size_t length)
{
    complex_array filter(length);
    filter[length / 2] = { 1.0f, 0.0f };
    return filter;
}

bool is_finite(const complex_array& values)
{
    return std::all_of(values.begin(), values.end(), [](std::complex<float> value)
                       { return std::isfinite(value.real()) && std::isfinite(value.imag()); });
}

/// One pass, counted as the driver counts it.
bool pass(complex_array& meas, const complex_array& ref, double coef, std::uint32_t filter_len, lib_dma_demod_config_mgr& config)
{
    const bool result = lib_dma_phy_common_t::apply_equailizer(meas, ref, coef, filter_len, config);
    ++config.equalizer_loop_number;
    return result;
}
} // namespace

TEST(EqualizerSweep, HasEveryBitOfTheStepByStepSweep)
{
    for (const std::size_t length : { 1u, 2u, 3u, 5u, 15u, 16u, 17u, 32u, 33u, 41u, 161u })
    {
        for (const std::size_t count : { length + 1, length + 2, 2 * length + 7, std::size_t(700) })
        {
            SCOPED_TRACE(testing::Message() << length << " taps, " << count << " samples");
            const complex_array meas = make_noise(count, 1);
            const complex_array ref = make_noise(count, 2);
            complex_array filter = make_noise(length, 3);
            const sweep_result_t expected = sweep_plainly(meas, ref, 0.003, filter);
            complex_array out;
            complex_array err;
            EXPECT_TRUE(lib_dma_phy_common_t::deal_equailizer(meas, ref, 0.003, out, filter, err));
            EXPECT_EQ(out, expected.out);
            EXPECT_EQ(filter, expected.filter);
            ASSERT_EQ(err.size(), count);
            for (std::size_t k = 0; k < count; ++k)
            {
                const std::complex<double> error(expected.error[k]);
                const std::complex<double> square = error * error;
                EXPECT_LE(std::abs(std::complex<double>(err[k]) - square), 2e-7 * std::abs(square)) << k;
            }
        }
    }
}

TEST(EqualizerSweep, WritesTheSamplesUnderTheCentreTapAndNoOthers)
{
    for (const std::size_t length : { 1u, 2u, 3u, 4u, 5u, 8u, 21u })
    {
        const std::size_t count = 50;
        const complex_array meas = make_noise(count, 11);
        complex_array filter(length, { 1.0f, 0.5f });
        complex_array out;
        complex_array err;
        lib_dma_phy_common_t::deal_equailizer(meas, complex_array(count), 0.0, out, filter, err);
        ASSERT_EQ(out.size(), count);
        const std::size_t head = length - length / 2 - 1;
        for (std::size_t d = 0; d < count; ++d)
        {
            const bool written = d >= head && d < count - length / 2 - 1;
            EXPECT_EQ(out[d] != std::complex<float>(0.0f, 0.0f), written) << length << " taps, " << d;
            EXPECT_EQ(err[d] != std::complex<float>(0.0f, 0.0f), d < count - length) << length << " taps, " << d;
        }
    }
}

TEST(EqualizerSweep, WithoutAStepIsADelayTakenBack)
{
    const complex_array meas = make_noise(100, 12);
    complex_array filter = make_delay(21);
    complex_array out;
    complex_array err;
    lib_dma_phy_common_t::deal_equailizer(meas, make_noise(100, 13), 0.0, out, filter, err);
    for (std::size_t d = 10; d < 100 - 11; ++d)
        EXPECT_EQ(out[d], meas[d]) << d;
    EXPECT_EQ(filter, make_delay(21));
}

TEST(EqualizerSweep, IsAllZerosWhenTheSamplesAreNoMoreThanTheTaps)
{
    for (const std::size_t count : { 0u, 1u, 6u, 7u })
    {
        complex_array filter = make_noise(7, 14);
        const complex_array before = filter;
        complex_array out(3, { 9.0f, 9.0f });
        complex_array err(30, { 9.0f, 9.0f });
        EXPECT_TRUE(lib_dma_phy_common_t::deal_equailizer(make_noise(count, 15), {}, 0.1, out, filter, err));
        EXPECT_EQ(out, complex_array(count));
        EXPECT_EQ(err, complex_array(count));
        EXPECT_EQ(filter, before);
    }
    complex_array none;
    complex_array out;
    complex_array err;
    EXPECT_TRUE(lib_dma_phy_common_t::deal_equailizer(make_noise(9, 15), make_noise(9, 16), 0.1, out, none, err));
    EXPECT_EQ(out, complex_array(9));
    EXPECT_TRUE(none.empty());
}

TEST(EqualizerSweep, SquaresTheErrorAsAComplexPower)
{
    // A tap of 0 that does not move: the error is the reference.
    const complex_array ref = { { 3.0f, 0.0f }, { 0.1f, 0.0f },  { 0.0f, 0.0f },  { -2.0f, 0.0f },
                                { 0.0f, 2.0f }, { 3.0f, 4.0f }, { 1e30f, 0.0f }, { 1.0f, 1.0f } };
    complex_array filter(1);
    complex_array out;
    complex_array err;
    lib_dma_phy_common_t::deal_equailizer(complex_array(8, { 1.0f, 0.0f }), ref, 0.0, out, filter, err);
    EXPECT_EQ(err[0], std::complex<float>(9.0f, 0.0f));
    EXPECT_EQ(err[1], std::complex<float>(0.1f * 0.1f, 0.0f));
    EXPECT_EQ(err[2], std::complex<float>(0.0f, 0.0f));
    const std::complex<double> squares[] = { { 4.0, 0.0 }, { -4.0, 0.0 }, { -7.0, 24.0 } };
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_LE(std::abs(std::complex<double>(err[3 + i]) - squares[i]), 1e-6 * std::abs(squares[i])) << i;
    EXPECT_TRUE(std::isinf(err[6].real()));
    EXPECT_EQ(err[7], std::complex<float>(0.0f, 0.0f)); // the last position has no step
}

TEST(EqualizerSweep, TakesItsOutputsForInputsToo)
{
    const complex_array meas = make_noise(60, 17);
    const complex_array ref = make_noise(60, 18);
    const sweep_result_t expected = sweep_plainly(meas, ref, 0.01, make_delay(9));
    complex_array both = meas;
    complex_array filter = make_delay(9);
    complex_array other = ref;
    lib_dma_phy_common_t::deal_equailizer(both, other, 0.01, both, filter, other);
    EXPECT_EQ(both, expected.out);
    EXPECT_EQ(filter, expected.filter);
}

TEST(EqualizerSweep, RaisesWhereTheReferenceEnds)
{
    complex_array filter = make_delay(5);
    complex_array out;
    complex_array err;
    const complex_array meas = make_noise(20, 19);
    EXPECT_THROW(lib_dma_phy_common_t::deal_equailizer(meas, make_noise(16, 20), 0.01, out, filter, err), std::out_of_range);
    EXPECT_EQ(filter, make_delay(5));
    EXPECT_TRUE(lib_dma_phy_common_t::deal_equailizer(meas, make_noise(17, 20), 0.01, out, filter, err));
}

TEST(EqualizerPass, StartsFromADelayOfHalfTheLength)
{
    const log_capture_t log;
    lib_dma_demod_config_mgr config;
    complex_array meas = make_noise(40, 21);
    const complex_array before = meas;
    EXPECT_TRUE(pass(meas, make_noise(40, 22), 0.0, 5, config));
    // Nothing adapts, and the taper is 1 at the centre of an odd length.
    EXPECT_EQ(config.equalizer_filter, make_delay(5));
    ASSERT_EQ(meas.size(), 40u);
    for (std::size_t d = 0; d < 40; ++d)
        EXPECT_EQ(meas[d], d >= 2 && d < 37 ? before[d] : std::complex<float>(0.0f, 0.0f)) << d;
    EXPECT_EQ(log.count(log_level_info, start_text), 1);
    // So the gain stays 1 from pass to pass.
    for (int i = 0; i < 10; ++i)
        pass(meas, make_noise(40, 22), 0.0, 5, config);
    EXPECT_EQ(config.equalizer_filter, make_delay(5));
}

TEST(EqualizerPass, TapersAnEvenLengthBesideItsCentreTap)
{
    lib_dma_demod_config_mgr config;
    complex_array meas = make_noise(40, 23);
    const complex_array before = meas;
    pass(meas, make_noise(40, 24), 0.0, 6, config);
    EXPECT_EQ(meas[20], before[20]);
    EXPECT_NEAR(static_cast<double>(config.equalizer_filter[3].real()), taper_at(3, 6), 1e-6);
    EXPECT_LT(config.equalizer_filter[3].real(), 0.99f);
    meas = before;
    pass(meas, make_noise(40, 24), 0.0, 6, config);
    EXPECT_NEAR(std::abs(std::complex<double>(meas[20])), taper_at(3, 6) * std::abs(std::complex<double>(before[20])), 1e-6);
}

TEST(EqualizerPass, IsASweepAndATaperFromWhereTheLastPassEnded)
{
    const complex_array signal = make_noise(300, 25);
    const complex_array ref = make_noise(300, 26);
    lib_dma_demod_config_mgr config;
    complex_array taps = make_delay(33);
    for (int i = 0; i < 3; ++i)
    {
        const sweep_result_t expected = sweep_plainly(signal, ref, 0.01, taps);
        complex_array meas = signal;
        ASSERT_TRUE(pass(meas, ref, 0.01, 33, config));
        EXPECT_EQ(meas, expected.out) << i;
        for (std::size_t j = 0; j < taps.size(); ++j)
        {
            const std::complex<double> wanted = std::complex<double>(expected.filter[j]) * taper_at(j, 33);
            EXPECT_LE(std::abs(std::complex<double>(config.equalizer_filter[j]) - wanted), 1e-6) << i << ", " << j;
        }
        taps = config.equalizer_filter;
    }
}

TEST(EqualizerPass, AddsTapsBehindThoseOfTheRecordInTheFirstPass)
{
    lib_dma_demod_config_mgr config;
    config.equalizer_filter = { { 0.25f, 0.0f } };
    complex_array meas = make_noise(40, 27);
    const sweep_result_t expected = sweep_plainly(meas, complex_array(40), 0.0, { { 0.25f, 0.0f }, {}, { 1.0f, 0.0f }, {}, {} });
    pass(meas, complex_array(40), 0.0, 5, config);
    EXPECT_EQ(meas, expected.out);
}

TEST(EqualizerPass, InvertsAChannel)
{
    // White points through three taps; the inverse is short.
    const complex_array ref = make_points(1500, 28);
    complex_array signal(ref.size());
    for (std::size_t n = 1; n + 1 < ref.size(); ++n)
        signal[n] = ref[n] + ref[n - 1] * std::complex<float>(0.2f, 0.15f) + ref[n + 1] * std::complex<float>(-0.1f, 0.1f);
    lib_dma_demod_config_mgr config;
    double first = 0.0;
    double last = 0.0;
    for (int i = 0; i < 11; ++i)
    {
        complex_array meas = signal;
        pass(meas, ref, 0.005, 21, config);
        last = 0.0;
        for (std::size_t d = 1000; d < 1400; ++d)
            last = std::max(last, std::abs(std::complex<double>(meas[d] - ref[d])));
        first = i == 0 ? last : first;
    }
    EXPECT_LT(last, 0.01);
    EXPECT_GT(first, last);
    // The taps are the inverse: channel * conj(taps) is a delay.
    for (int shift = -4; shift <= 4; ++shift)
    {
        const auto tap = [&](int j) { return std::conj(config.equalizer_filter[static_cast<std::size_t>(10 + j)]); };
        const std::complex<float> value =
            tap(shift) + tap(shift - 1) * std::complex<float>(0.2f, 0.15f) + tap(shift + 1) * std::complex<float>(-0.1f, 0.1f);
        EXPECT_NEAR(std::abs(value - std::complex<float>(shift == 0 ? 1.0f : 0.0f, 0.0f)), 0.0f, 0.03f) << shift;
    }
}

TEST(EqualizerPass, ZeroesAMeasurementThatIsNoLongerThanTheTaps)
{
    lib_dma_demod_config_mgr config;
    complex_array meas = make_noise(7, 29);
    EXPECT_TRUE(pass(meas, make_noise(7, 30), 0.01, 7, config));
    EXPECT_EQ(meas, complex_array(7));
    complex_array none;
    EXPECT_TRUE(pass(none, {}, 0.01, 7, config));
    EXPECT_TRUE(none.empty());
}

TEST(EqualizerPass, StartsAgainFromAUsableFilterAfterADivergence)
{
    const log_capture_t log;
    lib_dma_demod_config_mgr config;
    const complex_array ref = make_points(200, 31);
    complex_array meas = ref;
    meas[60] = { nan_value, 0.0f };
    EXPECT_TRUE(pass(meas, ref, 0.01, 9, config));
    EXPECT_EQ(log.count(log_level_info, diverged_text), 1);
    // The output is used as it came, the centre tap is 1 and the others are left.
    EXPECT_TRUE(std::isfinite(meas[30].real()));
    EXPECT_TRUE(std::isnan(meas[100].real()));
    for (std::size_t j = 0; j < 9; ++j)
        EXPECT_EQ(std::isfinite(config.equalizer_filter[j].real()), j == 4) << j;
    EXPECT_EQ(config.equalizer_filter[4], std::complex<float>(1.0f, 0.0f));

    meas = ref;
    EXPECT_TRUE(pass(meas, ref, 0.01, 9, config));
    EXPECT_EQ(log.count(log_level_info, diverged_text), 1);
    EXPECT_TRUE(is_finite(config.equalizer_filter));
    for (std::size_t d = 4; d < 195; ++d)
        EXPECT_LE(std::abs(meas[d] - ref[d]), 1e-6f) << d;
}

TEST(EqualizerPass, DivergesAboveTheStableStepAndEndsWithTheCentreTapBack)
{
    const log_capture_t log;
    // Of unit power: the bound of 21 taps is 2 / 21.
    const complex_array ref = make_noise(4000, 32);
    lib_dma_demod_config_mgr config;
    complex_array meas = ref;
    meas[0] = { 2.0f, 0.0f }; // an error to begin with
    for (std::size_t n = 1; n < meas.size(); ++n)
        meas[n] += ref[n - 1] * 0.5f;
    const complex_array signal = meas;
    EXPECT_TRUE(pass(meas, ref, 0.5, 21, config));
    EXPECT_EQ(log.count(log_level_info, diverged_text), 1);
    EXPECT_EQ(config.equalizer_filter[10], std::complex<float>(1.0f, 0.0f));
    EXPECT_FALSE(is_finite(meas));
    meas = signal;
    EXPECT_TRUE(pass(meas, ref, 1e-3, 21, config));
    EXPECT_TRUE(is_finite(meas));
    EXPECT_TRUE(is_finite(config.equalizer_filter));
}

TEST(EqualizerPass, SaysInTheFirstPassThatAStepIsNotStable)
{
    const auto count_warnings = [](double power, double coef, std::uint32_t loop)
    {
        const log_capture_t log;
        lib_dma_demod_config_mgr config;
        config.equalizer_loop_number = loop;
        config.equalizer_filter = make_delay(21);
        complex_array meas(100, { static_cast<float>(std::sqrt(power)), 0.0f });
        const complex_array ref = meas;
        lib_dma_phy_common_t::apply_equailizer(meas, ref, coef, 21, config);
        return std::count_if(log.get_records().begin(), log.get_records().end(),
                             [](const common_log::log_record_t& record)
                             {
                                 return record.level == log_level_info &&
                                        record.message.find("the taps may diverge.") != std::string::npos;
                             });
    };
    EXPECT_EQ(count_warnings(1.0, 0.095, 0), 0); // 2 / 21 is 0.0952
    EXPECT_EQ(count_warnings(1.0, 0.096, 0), 1);
    EXPECT_EQ(count_warnings(1.0, 0.096, 1), 0);
    EXPECT_EQ(count_warnings(4.0, 0.095, 0), 1);
    EXPECT_EQ(count_warnings(0.0, 1.0, 0), 0);
    EXPECT_EQ(count_warnings(std::numeric_limits<double>::quiet_NaN(), 1.0, 0), 0);
}

TEST(EqualizerPass, ReportsFewerThanTwoTapsAndLeavesTheMeasurement)
{
    const std::string text = "apply_equailizer::apply_window_functon Report: Input Data Array is Too Short!";
    const complex_array ref = make_noise(30, 33);
    const complex_array before = make_noise(30, 34);
    const auto expect_report = [&](lib_dma_demod_config_mgr& config, std::uint32_t filter_len)
    {
        const trace_capture_t trace;
        complex_array meas = before;
        EXPECT_FALSE(pass(meas, ref, 0.01, filter_len, config));
        EXPECT_EQ(meas, before);
        EXPECT_NE(trace.get_text().find(text), std::string::npos);
    };
    lib_dma_demod_config_mgr one;
    expect_report(one, 1);
    lib_dma_demod_config_mgr untouched;
    untouched.equalizer_loop_number = 3;
    expect_report(untouched, 21);
    lib_dma_demod_config_mgr empty;
    empty.equalizer_loop_number = 3;
    empty.equalizer_filter.clear();
    expect_report(empty, 21);
}

TEST(EqualizerPass, RaisesOnLengthsThatDoNotFit)
{
    complex_array meas = make_noise(30, 35);
    const complex_array ref = meas;
    lib_dma_demod_config_mgr config;
    EXPECT_THROW(pass(meas, ref, 0.01, 0, config), std::out_of_range);
    EXPECT_THROW(pass(meas, make_noise(29, 36), 0.01, 5, config), std::out_of_range);
    EXPECT_EQ(meas, ref);
    config.equalizer_loop_number = 1;
    config.equalizer_filter = make_delay(7);
    EXPECT_THROW(pass(meas, ref, 0.01, 5, config), std::out_of_range);
}

TEST(EqualizerPass, RefusesMoreTapsThanAnyConfigurationHas)
{
    const log_capture_t log;
    complex_array meas = make_noise(30, 37);
    const complex_array before = meas;
    lib_dma_demod_config_mgr config;
    EXPECT_FALSE(pass(meas, before, 0.01, 4'000'000'000u, config));
    EXPECT_EQ(meas, before);
    EXPECT_EQ(config.equalizer_filter.size(), 1u);
    EXPECT_EQ(log.count(log_level_error, "lib_dma_phy_common_t::apply_equailizer:4000000000 taps are too many!\n"), 1);
}
