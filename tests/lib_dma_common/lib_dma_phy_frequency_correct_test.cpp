#include "lib_dma_common/lib_dma_phy_frequency_correct.h"

#include "message_capture.h"
#include "noise.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>
#include <stdexcept>
#include <tuple>

using namespace vrim;
using namespace vrim::dma_demod_lib;

namespace
{
constexpr double pi = std::numbers::pi;
constexpr double rate = 1e6; // symbols per second
constexpr double bin = rate / 8192.0;

/// Unit tone. @param offset  Hz, @param sample_rate  Hz
complex_array make_tone(std::size_t count, double offset, double sample_rate = rate)
{
    complex_array data(count);
    for (std::size_t n = 0; n < count; ++n)
        data[n] = std::complex<float>(std::polar(1.0, 2.0 * pi * offset / sample_rate * static_cast<double>(n) + 0.4));
    return data;
}

complex_array modulate_psk(const complex_array& carrier, unsigned order, unsigned seed)
{
    std::mt19937 generator(seed);
    complex_array data(carrier.size());
    for (std::size_t n = 0; n < data.size(); ++n)
        data[n] = std::complex<float>(std::complex<double>(carrier[n]) *
                                      std::polar(1.0, 2.0 * pi * static_cast<double>(generator() % order) / order));
    return data;
}

/// 128 points: 12 x 12 without corners of 2 x 2, unit rms.
complex_array modulate_cross(const complex_array& carrier, unsigned seed)
{
    std::vector<std::complex<double>> points;
    double power = 0.0;
    for (int x = -11; x <= 11; x += 2)
    {
        for (int y = -11; y <= 11; y += 2)
        {
            if (std::abs(x) > 8 && std::abs(y) > 8)
                continue;
            points.emplace_back(x, y);
            power += x * x + y * y;
        }
    }
    EXPECT_EQ(points.size(), 128u);
    const double scale = 1.0 / std::sqrt(power / 128.0);
    std::mt19937 generator(seed);
    complex_array data(carrier.size());
    for (std::size_t n = 0; n < data.size(); ++n)
        data[n] = std::complex<float>(std::complex<double>(carrier[n]) * points[generator() % 128] * scale);
    return data;
}

lib_dma_frame_configure_manager_t make_frame(lib_dma_modulation_type_t group)
{
    lib_dma_frame_configure_manager_t frame;
    auto& format = frame.get_segment(0).get_format_configure();
    format.set_format_group(group);
    format.set_symbol_rate(static_cast<std::uint64_t>(rate));
    return frame;
}

double estimate(const lib_dma_frame_configure_manager_t& frame, complex_array data, std::uint32_t order = 2)
{
    lib_dma_phy_frequency_correct_t estimator;
    lib_dma_demod_config_mgr record;
    lib_dma_psk_modulation_param param;
    param.modulation_order = order;
    EXPECT_TRUE(estimator.frequency_error_correct(frame, 0, data, record, param));
    return record.carrier_frequency_offset;
}

double estimate_psk(const complex_array& data, std::uint32_t order)
{
    return estimate(make_frame(LIB_DMA_GROUP_PSK), data, order);
}

/// What silence gives: the bin below the search window of 0.8 symbol rates, over the power.
double silence_result(double power)
{
    const double reach = 3277.0; // round(8192 * 0.8 / 2)
    return (bin * (-reach - 1.0)) / power;
}
} // namespace

TEST(DftEstimator, RecoversAToneToAHundredThousandthOfABin)
{
    for (const std::uint32_t power : { 2u, 4u, 8u })
    {
        for (const double share : { 0.0, 1e-4, 0.123456, -0.3333, 0.8, -0.95 })
        {
            const double offset = share * 0.4 * rate / power;
            for (const std::size_t count : { 100u, 1000u, 8192u })
                EXPECT_NEAR(estimate_psk(make_tone(count, offset), power), offset, 1e-5 * bin)
                    << power << ' ' << share << ' ' << count;
        }
    }
}

TEST(DftEstimator, StripsTheModulation)
{
    for (const std::uint32_t order : { 2u, 4u, 8u })
    {
        for (const double offset : { 1234.5, -17000.0 })
        {
            const complex_array data = modulate_psk(make_tone(1000, offset), order, order);
            EXPECT_NEAR(estimate_psk(data, order), offset, 2e-5 * bin) << order; // the data round to single precision
        }
    }
}

TEST(DftEstimator, HoldsUpUnderNoise)
{
    const complex_array noise = make_noise(1000, 3);
    complex_array data = modulate_psk(make_tone(1000, -4321.0), 4, 9);
    for (std::size_t n = 0; n < data.size(); ++n)
        data[n] += 0.022f * noise[n]; // 30 dB
    // The bound of Rife and Boorstyn for 1000 symbols at 30 dB is 0.11 Hz.
    EXPECT_NEAR(estimate_psk(data, 4), -4321.0, 1.0);
}

TEST(DftEstimator, TakesTheFirst8192SamplesOnly)
{
    complex_array data = make_tone(8192, 3210.0);
    const double expected = estimate_psk(data, 4);
    const complex_array noise = make_noise(5000, 4);
    data.insert(data.end(), noise.begin(), noise.end());
    EXPECT_EQ(estimate_psk(data, 4), expected);
}

TEST(DftEstimator, CountsMissingSamplesAsZeros)
{
    complex_array data = modulate_psk(make_tone(700, 3210.0), 4, 5);
    const double expected = estimate_psk(data, 4);
    data.resize(8192, { 0.0f, 0.0f });
    EXPECT_EQ(estimate_psk(data, 4), expected);
}

TEST(DftEstimator, EndsBelowItsBandForSilence)
{
    for (const std::uint32_t power : { 2u, 4u, 8u })
    {
        EXPECT_DOUBLE_EQ(estimate_psk(complex_array(1000, { 0.0f, 0.0f }), power), silence_result(power));
        EXPECT_DOUBLE_EQ(estimate_psk({}, power), silence_result(power));
    }
}

TEST(DftEstimator, SearchesItsBandOnly)
{
    // A strong line of the squares beyond the band and a weak one inside it. Any root serves: the squares are what counts.
    complex_array data(2000);
    for (std::size_t n = 0; n < data.size(); ++n)
    {
        const double t = static_cast<double>(n);
        data[n] = std::complex<float>(std::sqrt(std::polar(1.0, 2.0 * pi * 0.42 * t) + std::polar(0.3, 2.0 * pi * 0.1 * t)));
    }
    EXPECT_NEAR(estimate_psk(data, 2), 0.05 * rate, bin);
}

TEST(DftEstimator, TakesTheLowerOfTwoEqualPeaks)
{
    // A real line: its two halves have equal magnitudes at bins -512 and 512 exactly.
    complex_array data(8192);
    for (std::size_t n = 0; n < data.size(); ++n)
    {
        const std::complex<double> squared = std::cos(2.0 * pi * 512.0 / 8192.0 * static_cast<double>(n));
        data[n] = std::complex<float>(std::sqrt(squared));
    }
    EXPECT_LT(estimate_psk(data, 2), 0.0);
    EXPECT_NEAR(estimate_psk(data, 2), -512.0 * bin / 2.0, 0.01 * bin);
}

TEST(DftEstimator, RefusesSizesAndRatesOfZero)
{
    lib_dma_phy_frequency_correct_t estimator;
    lib_dma_demod_config_mgr record;
    record.carrier_frequency_offset = 5.0;
    complex_array data = make_tone(10, 0.0);
    EXPECT_FALSE(estimator._deal_dma_freqency_error_estimate_dft(data, record, 1000, 800, 0));
    EXPECT_FALSE(estimator._deal_dma_freqency_error_estimate_dft(data, record, 0, 800, 8192));
    EXPECT_EQ(record.carrier_frequency_offset, 5.0);
}

TEST(DftEstimator, WorksAtOtherEvenSizes)
{
    for (const std::uint32_t size : { 256u, 1000u, 16384u })
    {
        lib_dma_phy_frequency_correct_t estimator; // power 2
        lib_dma_demod_config_mgr record;
        complex_array data = make_tone(200, 1500.0);
        EXPECT_TRUE(estimator._deal_dma_freqency_error_estimate_dft(data, record, 1'000'000, 800'000, size));
        EXPECT_NEAR(record.carrier_frequency_offset, 1500.0, 1e-4 * rate / size) << size;
        EXPECT_EQ(data.size(), 200u);
    }
}

TEST(FrequencySetting, TakesThePowerOfEachFormat)
{
    trace_capture_t trace;
    log_capture_t log; // value 7 of the QAM formats has no point set
    const complex_array silence(100, { 0.0f, 0.0f });
    const auto expect_power = [&](const lib_dma_frame_configure_manager_t& frame, double power, std::uint32_t order = 2)
    { EXPECT_DOUBLE_EQ(estimate(frame, silence, order), silence_result(power)) << "power " << power; };

    for (const std::uint32_t order : { 2u, 4u, 8u })
        expect_power(make_frame(LIB_DMA_GROUP_PSK), order, order);
    expect_power(make_frame(LIB_DMA_GROUP_ASK), 2);

    lib_dma_frame_configure_manager_t frame = make_frame(LIB_DMA_GROUP_QAM);
    auto& qam = frame.get_segment(0).get_format_configure();
    for (const std::uint32_t value : { 0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u, 10u, 11u, 12u, 13u, 15u })
    {
        qam.set_qam_format(static_cast<lib_dma_qam_modulation_type_t>(value));
        expect_power(frame, value < 8 && value % 2 == 1 ? 12 : 4);
    }

    frame = make_frame(LIB_DMA_GROUP_APSK);
    auto& apsk = frame.get_segment(0).get_format_configure();
    apsk.set_apsk_format(LIB_DMA_APSK_16);
    expect_power(frame, 12);
    apsk.set_apsk_format(LIB_DMA_APSK_32);
    expect_power(frame, 16);

    frame = make_frame(LIB_DMA_GROUP_DPSK);
    auto& dpsk = frame.get_segment(0).get_format_configure();
    const std::pair<lib_dma_dpsk_modulation_type_t, double> formats[] = { { LIB_DMA_MODULATION_PSK_DBPSK, 2 },
                                                                          { LIB_DMA_MODULATION_PSK_DQPSK, 4 },
                                                                          { LIB_DMA_MODULATION_PSK_PI_4_DQPSK, 8 },
                                                                          { LIB_DMA_MODULATION_PSK_D8PSK, 8 },
                                                                          { LIB_DMA_MODULATION_PSK_PI_8_D8PSK, 16 } };
    for (const auto& [format, power] : formats)
    {
        dpsk.set_dpsk_format(format);
        expect_power(frame, power);
    }
}

TEST(FrequencySetting, KeepsItsPowerForGroupsThatItDoesNotList)
{
    const complex_array silence(100, { 0.0f, 0.0f });
    lib_dma_phy_frequency_correct_t estimator;
    lib_dma_demod_config_mgr record;
    lib_dma_psk_modulation_param param;
    param.modulation_order = 8;
    complex_array data = silence;
    EXPECT_TRUE(estimator.frequency_error_correct(make_frame(LIB_DMA_GROUP_FSK), 0, data, record, param));
    EXPECT_DOUBLE_EQ(record.carrier_frequency_offset, silence_result(2));
    EXPECT_TRUE(estimator.set_config(make_frame(LIB_DMA_GROUP_PSK), 0, param));
    data = silence;
    EXPECT_TRUE(estimator.frequency_error_correct(make_frame(LIB_DMA_GROUP_MSK), 0, data, record, param));
    EXPECT_DOUBLE_EQ(record.carrier_frequency_offset, silence_result(8));
}

TEST(FrequencySetting, ReadsTheSegmentAskedFor)
{
    lib_dma_frame_configure_manager_t frame = make_frame(LIB_DMA_GROUP_PSK);
    frame.add_segment();
    auto& format = frame.get_segment(1).get_format_configure();
    format.set_format_group(LIB_DMA_GROUP_ASK);
    format.set_symbol_rate(4'000'000);
    lib_dma_phy_frequency_correct_t estimator;
    lib_dma_demod_config_mgr record;
    lib_dma_psk_modulation_param param;
    complex_array data = make_tone(1000, 250'000.0, 4e6);
    EXPECT_TRUE(estimator.frequency_error_correct(frame, 1, data, record, param));
    EXPECT_NEAR(record.carrier_frequency_offset, 250'000.0, 1e-2);
}

TEST(OqpskEstimator, SearchesTheWholeBandAtTheWorkingRate)
{
    const std::tuple<lib_dma_point_per_symbol_type_t, double> rates[] = {
        { LIB_DMA_POINT2, 8.0 }, { LIB_DMA_POINT4, 8.0 }, { LIB_DMA_POINT10, 10.0 }, { LIB_DMA_POINT20, 20.0 }
    };
    for (const auto& [points, sps] : rates)
    {
        lib_dma_frame_configure_manager_t frame = make_frame(LIB_DMA_GROUP_OQPSK);
        frame.get_segment(0).get_format_configure().set_points_per_symbol(points);
        const double sample_rate = rate * sps;
        for (const double share : { 0.9, -0.9, 0.01 })
        {
            const double offset = share * 0.125 * sample_rate;
            EXPECT_NEAR(estimate(frame, make_tone(8000, offset, sample_rate)), offset, 1e-4 * sample_rate / 8192.0)
                << sps << ' ' << share;
        }
    }
}

TEST(OqpskEstimator, RaisesOutOfRangeWhenThePeakStandsAtAnEndOfTheSpectrum)
{
    const lib_dma_frame_configure_manager_t frame = make_frame(LIB_DMA_GROUP_OQPSK);
    EXPECT_THROW(estimate(frame, complex_array(100, { 0.0f, 0.0f })), std::out_of_range);
    // Exactly half the sample rate after the fourth power is the first bin; one bin below it the last.
    EXPECT_THROW(estimate(frame, make_tone(8192, 1.0 / 8.0, 1.0)), std::out_of_range);
    EXPECT_THROW(estimate(frame, make_tone(8192, (4095.0 / 8192.0) / 4.0, 1.0)), std::out_of_range);
}

TEST(PhaseHistogram, MarksOneBinASample)
{
    lib_dma_phy_frequency_correct_t estimator;
    const complex_array data = make_noise(500, 6);
    for (const std::uint64_t bins : { 1u, 2u, 64u, 128u })
    {
        const std::vector<float_array> histogram = estimator.dkl1(data, bins);
        ASSERT_EQ(histogram.size(), data.size());
        for (std::size_t n = 0; n < data.size(); ++n)
        {
            const double turned = std::arg(std::complex<double>(data[n])) + pi;
            const auto expected = static_cast<std::size_t>(turned / (2.0 * pi) * static_cast<double>(bins));
            ASSERT_EQ(histogram[n].size(), bins);
            for (std::size_t j = 0; j < bins; ++j)
                EXPECT_EQ(histogram[n][j], j == expected ? 1.0f : 0.0f) << bins << " bins, sample " << n << ", bin " << j;
        }
    }
}

TEST(PhaseHistogram, CountsJustBelowAnEdgeAsAboveItAndTheEndNowhere)
{
    lib_dma_phy_frequency_correct_t estimator;
    const auto bin_of = [&](double phase)
    {
        const float_array row = estimator.dkl1({ std::complex<float>(std::polar(1.0, phase)) }, 4).at(0);
        int found = -1;
        for (int j = 0; j < 4; ++j)
        {
            if (row[static_cast<std::size_t>(j)] == 1.0f)
            {
                EXPECT_EQ(found, -1) << "two bins at " << phase;
                found = j;
            }
        }
        return found;
    };
    EXPECT_EQ(bin_of(-pi + 1e-3), 0);
    EXPECT_EQ(bin_of(-pi / 2.0 - 2e-5), 0);
    EXPECT_EQ(bin_of(-pi / 2.0 - 5e-6), 1);
    EXPECT_EQ(bin_of(-pi / 2.0), 1);
    EXPECT_EQ(bin_of(-5e-6), 2);
    EXPECT_EQ(bin_of(0.0), 2);
    EXPECT_EQ(bin_of(pi / 2.0 - 2e-5), 2);
    EXPECT_EQ(bin_of(pi / 2.0 - 5e-6), 3);
    EXPECT_EQ(bin_of(pi - 2e-5), 3);
    EXPECT_EQ(bin_of(pi - 5e-6), -1);
    EXPECT_EQ(bin_of(pi), -1);
    // The cut itself: +0 and -0 as the imaginary part.
    EXPECT_EQ(estimator.dkl1({ { -1.0f, 0.0f } }, 4).at(0), float_array(4, 0.0f));
    EXPECT_EQ(estimator.dkl1({ { -1.0f, -0.0f } }, 4).at(0), (float_array{ 1.0f, 0.0f, 0.0f, 0.0f }));
}

TEST(PhaseHistogram, KeepsItsRuleForBinsNarrowerThanTheTolerance)
{
    constexpr std::uint64_t bins = 1'000'000;
    lib_dma_phy_frequency_correct_t estimator;
    const float w = static_cast<float>(2.0 * pi / static_cast<double>(bins));
    for (const double phase : { -3.0, -2.0, -1.3, -0.4, 0.3, 1.0, 1.7, 2.2, 2.6, 3.1 })
    {
        const std::complex<float> point(std::polar(1.0, phase));
        const float_array row = estimator.dkl1({ point }, bins).at(0);
        const float angle = static_cast<float>(std::atan2(static_cast<double>(point.imag()), static_cast<double>(point.real())));
        const float turned = static_cast<float>(static_cast<double>(angle) + pi);
        for (std::uint64_t j = 0; j < bins; ++j)
        {
            const float lower = w * static_cast<float>(j);
            const float upper = w * static_cast<float>(j + 1);
            const bool inside = !(static_cast<double>(turned - lower) < -1e-5) && static_cast<double>(turned - upper) < -1e-5;
            ASSERT_EQ(row[j], inside ? 1.0f : 0.0f) << phase << " bin " << j;
        }
    }
}

TEST(PhaseHistogram, MayHaveNoRowsOrNoColumns)
{
    lib_dma_phy_frequency_correct_t estimator;
    EXPECT_TRUE(estimator.dkl1({}, 16).empty());
    const std::vector<float_array> rows = estimator.dkl1({ { 1.0f, 0.0f } }, 0);
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_TRUE(rows[0].empty());
}

namespace
{
/// The scan as it is told, one step after the other.
class plain_scan_t
{
public:
    plain_scan_t(complex_array data, std::uint32_t power, float symbol_rate) : power_(power), symbol_rate_(symbol_rate)
    {
        if (data.size() > 1000)
            data.resize(1000);
        double sum = 0.0;
        for (const auto& value : data)
            sum += std::norm(std::complex<double>(value));
        const float rms = static_cast<float>(std::sqrt(sum / static_cast<double>(data.size())));
        for (auto& value : data)
        {
            const std::complex<double> raised = std::pow(
                std::complex<double>(std::complex<float>(value.real() / rms, value.imag() / rms)), static_cast<double>(power));
            raised_.push_back(std::complex<float>(raised));
        }
    }

    float run(float step_ratio) const
    {
        const float step = symbol_rate_ * step_ratio;
        float best = 0.0f;
        float best_score = -1.0f;
        for (float f = -symbol_rate_ * 0.125f; f <= symbol_rate_ * 0.125f; f += step)
            keep(f, cal_score(f, 128), best, best_score);
        const float fine_step = static_cast<float>(static_cast<double>(step) * 2.0 * 0.03125);
        float fine = 0.0f;
        best_score = -1.0f;
        for (float k = -15.0f; k <= 15.0f; k += 1.0f)
            keep(best + k * fine_step, cal_score(best + k * fine_step, 64), fine, best_score);
        return fine;
    }

private:
    static void keep(float candidate, float score, float& best, float& best_score)
    {
        if (score > best_score)
        {
            best = candidate;
            best_score = score;
        }
    }

    float cal_score(float f, int bins) const
    {
        const float turns = static_cast<float>(power_) * f / symbol_rate_;
        const float w = static_cast<float>(2.0 * pi * static_cast<double>(-turns));
        const std::complex<float> step(static_cast<float>(std::cos(static_cast<double>(w))),
                                       static_cast<float>(std::sin(static_cast<double>(w))));
        std::complex<float> p(1.0f, 0.0f);
        std::vector<float> weight(static_cast<std::size_t>(bins), 0.0f);
        const std::size_t n = raised_.size();
        for (std::size_t i = 0; i < n; ++i)
        {
            const bool tail = i >= n / 8 * 8;
            if (tail)
                p = multiply(step, p);
            const std::complex<float> y = tail && i + 1 == n ? raised_[i] : multiply(raised_[i], p);
            if (!tail)
                p = multiply(p, step);
            const float amplitude = static_cast<float>(std::abs(std::complex<double>(y)));
            const float turned =
                static_cast<float>(static_cast<double>(static_cast<float>(std::arg(std::complex<double>(y)))) + pi);
            const float width = static_cast<float>(2.0 * pi / bins);
            for (int j = 0; j < bins; ++j)
            {
                if (!(static_cast<double>(turned - width * static_cast<float>(j)) < -1e-5) &&
                    static_cast<double>(turned - width * static_cast<float>(j + 1)) < -1e-5)
                    weight[static_cast<std::size_t>(j)] += amplitude / static_cast<float>(n);
            }
        }
        float score = 0.0f;
        for (const float value : weight)
            score += static_cast<float>(std::pow(static_cast<double>(value), 4.0));
        return score;
    }

    static std::complex<float> multiply(std::complex<float> a, std::complex<float> b)
    {
        const float re = a.real() * b.real() - a.imag() * b.imag();
        const float im = a.real() * b.imag() + a.imag() * b.real();
        return { re, im };
    }

    std::uint32_t power_;
    float symbol_rate_;
    complex_array raised_;
};
} // namespace

TEST(ScanEstimator, AgreesWithThePlainScan)
{
    trace_capture_t trace;
    const complex_array noise = make_noise(1000, 7);
    for (const double offset : { 0.0, 5'000.0, -21'250.0, 33'437.5 })
    {
        for (const std::size_t count : { 1000u, 403u })
        {
            complex_array data = modulate_psk(make_tone(count, offset), 4, 8);
            for (std::size_t n = 0; n < count; ++n)
                data[n] += 0.05f * noise[n];
            const float expected = plain_scan_t(data, 4, static_cast<float>(rate)).run(0.001f);
            lib_dma_phy_frequency_correct_t estimator;
            lib_dma_demod_config_mgr record;
            EXPECT_TRUE(estimator._deal_dma_freqency_error_estimate_cps(4, data, record, 1'000'000, 0.001f));
            EXPECT_NEAR(record.carrier_frequency_offset, static_cast<double>(expected), 1e-3) << offset << ' ' << count;
        }
    }
}

TEST(ScanEstimator, FindsOffsetsAtItsCoarseSteps)
{
    trace_capture_t trace;
    for (const double offset : { 0.0, 5'000.0, -21'000.0, 60'000.0 })
    {
        complex_array data = modulate_psk(make_tone(1000, offset), 4, 8);
        lib_dma_phy_frequency_correct_t estimator;
        lib_dma_demod_config_mgr record;
        EXPECT_TRUE(estimator._deal_dma_freqency_error_estimate_cps(4, data, record, 1'000'000, 0.001f));
        EXPECT_NEAR(record.carrier_frequency_offset, offset, 62.5) << offset; // one fine step
    }
}

TEST(ScanEstimator, CutsToAThousandSamplesAndNormalisesInPlace)
{
    trace_capture_t trace;
    double results[2] = {};
    for (const std::size_t count : { 1000u, 1001u })
    {
        complex_array data = modulate_psk(make_tone(1001, 7000.0), 4, 10);
        for (auto& value : data)
            value *= 3.0f;
        data.back() = { 1e6f, 0.0f };
        data.resize(count);
        lib_dma_phy_frequency_correct_t estimator;
        lib_dma_demod_config_mgr record;
        estimator._deal_dma_freqency_error_estimate_cps(4, data, record, 1'000'000, 0.001f);
        results[count - 1000] = record.carrier_frequency_offset;
        ASSERT_EQ(data.size(), 1000u);
        EXPECT_NEAR(std::abs(data[0]), 1.0f, 1e-6f);
        EXPECT_NEAR(std::abs(data[999]), 1.0f, 1e-6f);
    }
    EXPECT_EQ(results[0], results[1]);

    complex_array data = make_tone(999, 0.0);
    lib_dma_phy_frequency_correct_t estimator;
    lib_dma_demod_config_mgr record;
    estimator._deal_dma_freqency_error_estimate_cps(4, data, record, 1'000'000, 0.001f);
    EXPECT_EQ(data.size(), 999u);
}

TEST(ScanEstimator, TakesTheLowerFrequencyOfEqualScores)
{
    trace_capture_t trace;
    complex_array silence(100, { 0.0f, 0.0f });
    lib_dma_phy_frequency_correct_t estimator;
    lib_dma_demod_config_mgr record;
    estimator._deal_dma_freqency_error_estimate_cps(4, silence, record, 1'000'000, 0.001f);
    // The lowest coarse candidate and the lowest fine one: -Rs / 8 - 15 / 16 of a step.
    EXPECT_NEAR(record.carrier_frequency_offset, -125'000.0 - 15.0 / 16.0 * 1000.0, 0.1);
}

TEST(ScanEstimator, RaisesOutOfRangeForEmptyDataBeforeAnythingElse)
{
    trace_capture_t trace;
    complex_array nothing;
    lib_dma_phy_frequency_correct_t estimator;
    lib_dma_demod_config_mgr record;
    record.carrier_frequency_offset = 5.0;
    EXPECT_THROW(estimator._deal_dma_freqency_error_estimate_cps(4, nothing, record, 1'000'000, 0.001f), std::out_of_range);
    EXPECT_EQ(trace.get_text(), "");
    EXPECT_EQ(record.carrier_frequency_offset, 5.0);
    lib_dma_frame_configure_manager_t frame = make_frame(LIB_DMA_GROUP_QAM);
    frame.get_segment(0).get_format_configure().set_qam_format(LIB_DMA_QAM_128);
    EXPECT_THROW(estimate(frame, {}), std::out_of_range);
}

TEST(ScanEstimator, TracesTheTimeOfBothSteps)
{
    trace_capture_t trace;
    complex_array data = make_tone(50, 0.0);
    lib_dma_phy_frequency_correct_t estimator;
    lib_dma_demod_config_mgr record;
    estimator._deal_dma_freqency_error_estimate_cps(4, data, record, 1'000'000, 0.001f);
    const std::string name = "lib_dma_phy_frequency_correct_t::_deal_dma_freqency_error_estimate_cps time ";
    EXPECT_EQ(trace.get_text().rfind(name + "first step: ", 0), 0u);
    EXPECT_NE(trace.get_text().find(" s\n" + name + "second step: "), std::string::npos);
}

TEST(CrossEstimator, FindsTheOffsetOfACrossOnAndOffTheGridOfTheScan)
{
    trace_capture_t trace;
    lib_dma_frame_configure_manager_t frame = make_frame(LIB_DMA_GROUP_QAM);
    frame.get_segment(0).get_format_configure().set_qam_format(LIB_DMA_QAM_128);
    for (const double offset : { 0.0, 5'000.0, -12'000.0, 4'567.0, -10'370.0 })
    {
        const complex_array data = modulate_cross(make_tone(4000, offset), 11);
        EXPECT_NEAR(estimate(frame, data), offset, 65.0) << offset; // a fine step of the scan is 62.5 Hz
    }
}

TEST(CrossEstimator, TakesTheTwelfthPowersLineWhereTheScanDiffersByMoreThanAFineStep)
{
    trace_capture_t trace;
    lib_dma_frame_configure_manager_t frame = make_frame(LIB_DMA_GROUP_QAM);
    auto& format = frame.get_segment(0).get_format_configure();
    for (const double offset : { 5'000.0, 4'567.0, 30'400.0 })
    {
        const complex_array data = modulate_cross(make_tone(4000, offset), 12);
        lib_dma_phy_frequency_correct_t estimator;
        lib_dma_demod_config_mgr record;
        complex_array copy = data;
        estimator._deal_dma_freqency_error_estimate_cps(4, copy, record, 1'000'000, 0.001f);
        const double scanned = record.carrier_frequency_offset;
        format.set_qam_format(LIB_DMA_QAM_32); // power 12, DFT alone
        const double line = estimate(frame, data);
        format.set_qam_format(LIB_DMA_QAM_128);
        EXPECT_EQ(estimate(frame, data), std::abs(scanned - line) > 62.5 + 1e-3 ? line : scanned) << offset;
    }
}

TEST(OnePointDft, IsTheMagnitudeAtABinOfTheShiftedAxis)
{
    lib_dma_phy_frequency_correct_t estimator;
    complex_double_array data;
    for (const auto& value : make_noise(600, 13))
        data.emplace_back(value);
    for (const std::uint32_t length : { 1u, 2u, 7u, 256u, 600u })
    {
        for (const double position : { 0.0, length / 2.0, 0.3 * length, static_cast<double>(length) + 2.5, -3.25 })
        {
            std::complex<double> sum = 0.0;
            for (std::uint32_t n = 0; n < length; ++n)
                sum += data[n] * std::polar(1.0, -2.0 * pi * (position - length / 2.0) / length * n);
            EXPECT_NEAR(estimator.one_point_dft_mag(data, position, length), std::abs(sum), 1e-9) << length << " at " << position;
        }
    }
    EXPECT_EQ(estimator.one_point_dft_mag(data, 3.0, 0), 0.0);
}

TEST(OnePointDft, HandlesAnglesBeyondAMillionRadians)
{
    lib_dma_phy_frequency_correct_t estimator;
    complex_double_array data(1000, { 1.0, 0.0 });
    // Whole turns a sample are none at all.
    EXPECT_NEAR(estimator.one_point_dft_mag(data, 500.0 + 1000.0 * 1000.0, 1000), 1000.0, 1e-4);
}

TEST(OnePointDft, ReportsAnArrayThatIsTooShort)
{
    trace_capture_t trace;
    lib_dma_phy_frequency_correct_t estimator;
    EXPECT_NEAR(estimator.one_point_dft_mag(complex_double_array(3, { 2.0, 0.0 }), 4.0, 8), 6.0, 1e-12);
    EXPECT_EQ(trace.get_text(), "one_point_dft_mag : Input data length NOT match!\n");
}

TEST(Segmentation, FindsTheSmallestDivisorInItsRange)
{
    lib_dma_phy_frequency_correct_t estimator;
    const auto find = [&](std::uint32_t length)
    {
        std::uint32_t segments = 777;
        return estimator.deal_data_segmentation(length, segments) ? segments : 0u;
    };
    EXPECT_EQ(find(0), 1u);
    EXPECT_EQ(find(8192), 1u);
    EXPECT_EQ(find(43515904), 1u);
    EXPECT_EQ(find(43515906), 2u);
    EXPECT_EQ(find(2 * 43515904), 2u);
    EXPECT_EQ(find(3 * 14505303), 3u);  // 2 does not divide it
    EXPECT_EQ(find(4294967295u), 255u); // 3 * 5 * 17 * 257 * 65537, at least 99 segments
    EXPECT_EQ(find(4294967291u), 0u);   // a prime
    std::uint32_t segments = 777;
    EXPECT_FALSE(estimator.deal_data_segmentation(4294967291u, segments));
    EXPECT_EQ(segments, 777u);
}

TEST(DoubleFft, TakesTheLargerOfArrayAndSize)
{
    lib_dma_phy_frequency_correct_t estimator;
    complex_double_array data;
    for (const auto& value : make_noise(24, 14))
        data.emplace_back(value);
    for (const std::uint32_t size : { 0u, 10u, 24u, 40u })
    {
        complex_double_array bins = data;
        EXPECT_TRUE(estimator.deal_fft(bins, size, false));
        const std::size_t length = size == 40 ? 40 : 24;
        ASSERT_EQ(bins.size(), length) << size;
        for (std::size_t k = 0; k < length; ++k)
        {
            std::complex<double> sum = 0.0;
            for (std::size_t n = 0; n < data.size(); ++n)
                sum += data[n] * std::polar(1.0, -2.0 * pi * static_cast<double>(k * n % length) / static_cast<double>(length));
            EXPECT_LT(std::abs(bins[k] - sum), 1e-12) << size << " bin " << k;
        }
        EXPECT_TRUE(estimator.deal_fft(bins, 0, true));
        // The inverse scales by the single-precision reciprocal of the length.
        for (std::size_t n = 0; n < length; ++n)
            EXPECT_LT(std::abs(bins[n] - (n < data.size() ? data[n] : std::complex<double>(0.0))), 3e-7) << n;
    }
}

TEST(DoubleFft, ScalesItsInverseByTheSinglePrecisionReciprocal)
{
    lib_dma_phy_frequency_correct_t estimator;
    complex_double_array data(3, { 1.0, 0.0 });
    EXPECT_TRUE(estimator.deal_transform(3, data, true, 1));
    EXPECT_EQ(data[0].real(), 3.0 * static_cast<double>(static_cast<float>(1.0 / 3.0)));
}

TEST(DoubleFft, ReportsAnArrayLongerThanTheTransform)
{
    trace_capture_t trace;
    lib_dma_phy_frequency_correct_t estimator;
    complex_double_array data(5, { 1.0, 2.0 });
    EXPECT_FALSE(estimator.deal_transform(4, data, false, 1));
    EXPECT_EQ(data, complex_double_array(5, { 1.0, 2.0 }));
    EXPECT_EQ(trace.get_text(), "lib_fft_plan_manager_t::deal_transform Report : Input data length NOT match!\n");
}

TEST(DoubleFft, TakesAnEmptyArray)
{
    lib_dma_phy_frequency_correct_t estimator;
    complex_double_array data;
    EXPECT_TRUE(estimator.deal_fft(data, 0, false));
    EXPECT_TRUE(data.empty());
    EXPECT_TRUE(estimator.deal_fft(data, 3, true));
    EXPECT_EQ(data, complex_double_array(3, { 0.0, 0.0 }));
}

TEST(ArrayFftShift, SplitsAtTheLargerHalf)
{
    lib_dma_phy_frequency_correct_t estimator;
    std::vector<int> even = { 0, 1, 2, 3 };
    estimator.fft_shift(even);
    EXPECT_EQ(even, (std::vector<int>{ 2, 3, 0, 1 }));
    std::vector<int> odd = { 0, 1, 2, 3, 4 };
    estimator.fft_shift(odd);
    EXPECT_EQ(odd, (std::vector<int>{ 3, 4, 0, 1, 2 }));
    std::vector<int> one = { 7 };
    estimator.fft_shift(one);
    EXPECT_EQ(one, std::vector<int>{ 7 });
    std::vector<int> none;
    estimator.fft_shift(none);
    EXPECT_TRUE(none.empty());
}
