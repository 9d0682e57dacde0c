#include "lib_dma_common/lib_dma_phy_common.h"

#include "message_capture.h"
#include "noise.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <stdexcept>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using common_t = lib_dma_phy_common_t;

namespace
{
constexpr double pi = std::numbers::pi;
constexpr float infinity = std::numeric_limits<float>::infinity();
const float nan_value = std::numeric_limits<float>::quiet_NaN();

std::complex<float> polar(double radius, double degrees)
{
    return std::complex<float>(std::polar(radius, degrees * pi / 180.0));
}
} // namespace

TEST(ErrorVector, PointsFromTheMeasurementToTheReference)
{
    complex_array out(5);
    common_t::error_vector_cal({ { 1.0f, 2.0f }, { 0.0f, 0.0f } }, { { 1.5f, 1.0f }, { 0.0f, -3.0f } }, out);
    EXPECT_EQ(out, (complex_array{ { 0.5f, -1.0f }, { 0.0f, -3.0f } }));
}

TEST(ErrorVector, RunsOverTheLengthOfTheMeasurement)
{
    complex_array out;
    common_t::error_vector_cal({ { 1.0f, 0.0f } }, { { 3.0f, 0.0f }, { 9.0f, 9.0f } }, out);
    EXPECT_EQ(out, (complex_array{ { 2.0f, 0.0f } }));
    common_t::error_vector_cal({}, { { 3.0f, 0.0f } }, out);
    EXPECT_TRUE(out.empty());
}

TEST(ErrorVector, MayReplaceOneOfItsOperands)
{
    complex_array meas = make_noise(100, 1);
    const complex_array before = meas;
    const complex_array ref = make_noise(100, 2);
    common_t::error_vector_cal(meas, ref, meas);
    for (std::size_t i = 0; i < 100; ++i)
        EXPECT_EQ(meas[i], ref[i] - before[i]);
}

TEST(ErrorOperations, RaiseOutOfRangeForAShorterReference)
{
    const complex_array three = make_noise(3, 3);
    const complex_array two = make_noise(2, 3);
    complex_array vector;
    float_array values;
    EXPECT_THROW(common_t::error_vector_cal(three, two, vector), std::out_of_range);
    EXPECT_THROW(common_t::mag_error_cal(three, two, values), std::out_of_range);
    EXPECT_THROW(common_t::phase_error_cal(three, two, values), std::out_of_range);
    EXPECT_THROW(common_t::snr_cal(three, two), std::out_of_range);
    try
    {
        common_t::error_vector_cal(three, two, vector);
    }
    catch (const std::out_of_range& error)
    {
        EXPECT_STREQ(error.what(), "vector::_M_range_check: __n (which is 2) >= this->size() (which is 2)");
    }
}

TEST(MagError, IsReferenceLessMeasurement)
{
    float_array out;
    common_t::mag_error_cal({ { 3.0f, 4.0f }, { 0.0f, -2.0f } }, { { 0.0f, 6.0f }, { 1.0f, 0.0f }, { 7.0f, 7.0f } }, out);
    EXPECT_EQ(out, (float_array{ 1.0f, -1.0f }));
}

TEST(PhaseError, IsInDegreesFromMeasurementToReference)
{
    float_array out;
    common_t::phase_error_cal({ polar(2.0, 10.0), polar(1.0, -90.0) }, { polar(1.0, 25.0), polar(1.0, -100.0) }, out);
    ASSERT_EQ(out.size(), 2u);
    EXPECT_NEAR(out[0], 15.0f, 1e-5f);
    EXPECT_NEAR(out[1], -10.0f, 2e-5f);
}

TEST(PhaseError, StaysSmallAcrossTheNegativeRealAxis)
{
    float_array out;
    common_t::phase_error_cal({ polar(1.0, 179.0), polar(1.0, -178.0) }, { polar(1.0, -179.0), polar(1.0, 179.0) }, out);
    EXPECT_NEAR(out[0], 2.0f, 3e-5f);
    EXPECT_NEAR(out[1], -3.0f, 3e-5f);
}

TEST(PhaseError, FoldsInDoubleTheDifferenceOfSinglePhases)
{
    const complex_array meas = make_noise(2000, 4);
    const complex_array ref = make_noise(2000, 5);
    float_array out;
    common_t::phase_error_cal(meas, ref, out);
    for (std::size_t i = 0; i < meas.size(); ++i)
    {
        const auto angle = [](std::complex<float> v)
        { return static_cast<float>(std::atan2(static_cast<double>(v.imag()), static_cast<double>(v.real()))); };
        double d = static_cast<double>(angle(ref[i]) - angle(meas[i]));
        if (d > pi)
            d -= 2.0 * pi;
        else if (d < -pi)
            d += 2.0 * pi;
        EXPECT_NEAR(out[i], static_cast<float>(d * 57.29577951308232), 6e-5f) << i; // two units in the last place of a phase
        EXPECT_LE(std::abs(out[i]), 180.0f);
    }
}

TEST(Snr, IsThePowerOfTheReferenceOverThatOfTheError)
{
    const complex_array ref(100, { 0.6f, 0.8f });
    complex_array meas = ref;
    for (auto& value : meas)
        value += std::complex<float>(0.0f, 0.1f);
    EXPECT_NEAR(common_t::snr_cal(meas, ref), 20.0, 1e-5);
    // A reference that goes on does not count.
    complex_array longer = ref;
    longer.resize(200, { 5.0f, 5.0f });
    EXPECT_NEAR(common_t::snr_cal(meas, longer), 20.0, 1e-5);
}

TEST(Snr, OfNothingIsNotANumberAndOfNoErrorInfinite)
{
    EXPECT_TRUE(std::isnan(common_t::snr_cal({}, {})));
    const complex_array same = make_noise(10, 6);
    EXPECT_EQ(common_t::snr_cal(same, same), std::numeric_limits<double>::infinity());
}

TEST(GainImbalance, IsTheMeanRatioOfTheRails)
{
    // I is 1 dB above Q in every symbol.
    const double gain = std::pow(10.0, 1.0 / 20.0);
    complex_array symbols;
    for (const double i : { 0.7, -0.7 })
    {
        for (const double q : { 0.7, -0.7 })
            symbols.emplace_back(static_cast<float>(i * gain), static_cast<float>(q));
    }
    EXPECT_NEAR(common_t::gain_imbalance_cal(symbols), 1.0f, 1e-5f);
}

TEST(GainImbalance, CountsOnlySymbolsWithCloseRails)
{
    EXPECT_EQ(common_t::gain_imbalance_cal({}), 0.0f);
    EXPECT_EQ(common_t::gain_imbalance_cal({ { 1.5f, 0.5f }, { 0.25f, -3.0f } }), 0.0f); // 1.0 apart does not count
    EXPECT_NEAR(common_t::gain_imbalance_cal({ { 1.5f, 0.5f }, { 1.0f, 0.5f } }), 6.0206f, 1e-4f);
}

TEST(GainImbalance, OfASymbolOnAnAxisIsInfinite)
{
    EXPECT_EQ(common_t::gain_imbalance_cal({ { 0.5f, 0.0f }, { 0.7f, 0.7f } }), infinity);
    EXPECT_EQ(common_t::gain_imbalance_cal({ { 0.0f, 0.5f }, { 0.7f, 0.7f } }), -infinity);
    EXPECT_TRUE(std::isnan(common_t::gain_imbalance_cal({ { 0.0f, 0.0f } })));
}

TEST(QuadError, IsTheMeanAngleFromTheImaginaryAxis)
{
    // 3 and 5 degrees off the axis, on either side and end of it: the measure is unsigned.
    EXPECT_NEAR(
        common_t::quad_error_cal({ polar(1.0, 93.0), polar(1.0, -85.0), polar(0.9, 85.0), polar(1.1, -93.0) }, 0.5f, 0.0f), 4.0f,
        1e-4f);
}

TEST(QuadError, TurnsTheSymbolsAndSkipsThoseBeyondTheThreshold)
{
    const float quarter = static_cast<float>(pi / 4.0);
    // Turned by 45 degrees: 45 comes to 90 and counts, 135 to 180 and does not.
    EXPECT_NEAR(common_t::quad_error_cal({ polar(1.0, 47.0), polar(1.0, 135.0), polar(1.0, -130.0) }, 0.38268343f, quarter), 3.5f,
                1e-4f);
    EXPECT_EQ(common_t::quad_error_cal({ polar(1.0, 135.0) }, 0.38268343f, quarter), 0.0f);
    EXPECT_EQ(common_t::quad_error_cal({}, 0.38268343f, quarter), 0.0f);
    // 22.5 degrees is the bound of the threshold: just inside and just outside.
    EXPECT_NEAR(common_t::quad_error_cal({ polar(1.0, 45.0 + 22.4) }, 0.38268343f, quarter), 22.4f, 1e-3f);
    EXPECT_EQ(common_t::quad_error_cal({ polar(1.0, 45.0 + 22.6) }, 0.38268343f, quarter), 0.0f);
}

TEST(QuadError, OfWeakSymbolsOnTheOtherAxisIsNinetyDegrees)
{
    // In single precision the quotient comes out above 1 for some of these; the figure stays a number.
    const double quarter = static_cast<double>(static_cast<float>(pi / 4.0));
    complex_array symbols;
    for (int k = 1; k <= 20000; ++k)
        symbols.push_back(std::complex<float>(std::polar(0.38 * k / 20001.0, -quarter)));
    EXPECT_NEAR(common_t::quad_error_cal(symbols, 0.38268343f, static_cast<float>(quarter)), 90.0f, 0.1f);
    EXPECT_TRUE(std::isnan(common_t::quad_error_cal({ { 0.0f, 0.0f } }, 0.38268343f, 0.0f)));
}

TEST(QamQuadError, IsTwiceTheAngleByWhichTheMeanAmplitudesDiffer)
{
    // Quadrant 1: (0.2 + 0.4) / 2 = 0.3. Quadrant 2: 0.6. 2 * (45 - atan(0.5)) degrees.
    const complex_array symbols = { polar(0.2, 30.0), polar(0.4, 60.0), polar(0.6, 135.0), polar(0.1, 200.0), polar(0.1, 300.0) };
    const float figure = common_t::qam_quad_error_cal(LIB_DMA_QAM_16, symbols);
    EXPECT_NEAR(figure, static_cast<float>(90.0 - 2.0 * std::atan(0.5) * 180.0 / pi), 1e-4f);
    EXPECT_NEAR(figure, 36.8699f, 1e-3f);
    // The other way round the sign turns.
    const complex_array mirrored = { polar(0.6, 45.0), polar(0.3, 135.0) };
    EXPECT_NEAR(common_t::qam_quad_error_cal(LIB_DMA_QAM_16, mirrored), -36.8699f, 1e-3f);
    EXPECT_NEAR(common_t::qam_quad_error_cal(LIB_DMA_QAM_64, { polar(0.2, 20.0), polar(0.2, 170.0) }), 0.0f, 1e-5f);
}

TEST(QamQuadError, CountsAmplitudesBelowTheLimitOfTheFormatOnly)
{
    struct limit_t
    {
        int format;
        double rms;
    };
    const limit_t limits[] = { { 0, 1.5811388 }, { 1, 2.236068 }, { 2, 3.24037 },   { 3, 4.527693 },
                               { 4, 6.519202 },  { 5, 9.082951 }, { 6, 13.057565 }, { 7, 1.581139 },
                               { 8, 26.124701 }, { 9, 1.581139 }, { 10, 2.236068 }, { 11, 1.5811388 } };
    for (const limit_t& item : limits)
    {
        const auto format = static_cast<lib_dma_qam_modulation_type_t>(item.format);
        const double limit = 2.121320343559642 / item.rms;
        const double inside = 0.9999 * limit;
        const double outside = 1.0001 * limit;
        const std::complex<float> first = polar(0.5 * limit, 45.0);
        const float counted = static_cast<float>(90.0 - 2.0 * std::atan(0.5 * limit / inside) * 180.0 / pi);
        EXPECT_NEAR(common_t::qam_quad_error_cal(format, { first, polar(inside, 135.0) }), counted, 1e-3f) << item.format;
        EXPECT_EQ(common_t::qam_quad_error_cal(format, { first, polar(outside, 135.0) }), 0.0f) << item.format;
    }
}

TEST(QamQuadError, IsZeroWhereAQuadrantIsEmpty)
{
    EXPECT_EQ(common_t::qam_quad_error_cal(LIB_DMA_QAM_16, {}), 0.0f);
    EXPECT_EQ(common_t::qam_quad_error_cal(LIB_DMA_QAM_16, { polar(0.3, 45.0) }), 0.0f);
    EXPECT_EQ(common_t::qam_quad_error_cal(LIB_DMA_QAM_16, { polar(0.3, 135.0) }), 0.0f);
    // The axes belong to neither, the lower half plane has none.
    EXPECT_EQ(
        common_t::qam_quad_error_cal(LIB_DMA_QAM_16, { polar(0.3, 45.0), { 0.0f, 0.3f }, { -0.3f, 0.0f }, polar(0.3, 225.0) }),
        0.0f);
    EXPECT_EQ(common_t::qam_quad_error_cal(LIB_DMA_QAM_16, { polar(0.3, 45.0), { nan_value, 0.3f }, { -0.3f, nan_value } }),
              0.0f);
}

TEST(QamQuadError, TakesTheInnermostPointsOfASkewedSet)
{
    // 64QAM with the Q axis leaning by 3 degrees. The place (3, 3) of quadrant 1 falls below the limit, that of quadrant 2 above.
    const double unit = 1.0 / std::sqrt(42.0);
    const double skew = 3.0 * pi / 180.0;
    complex_array symbols;
    for (int i = -7; i <= 7; i += 2)
    {
        for (int q = -7; q <= 7; q += 2)
            symbols.emplace_back(static_cast<float>(unit * (i - q * std::sin(skew))),
                                 static_cast<float>(unit * q * std::cos(skew)));
    }
    const auto amplitude = [skew](double i, double q) { return std::sqrt(i * i + q * q - 2.0 * i * q * std::sin(skew)); };
    const double first = (amplitude(1, 1) + amplitude(1, 3) + amplitude(3, 1) + amplitude(3, 3)) / 4.0;
    const double second = (amplitude(-1, 1) + amplitude(-1, 3) + amplitude(-3, 1)) / 3.0;
    EXPECT_NEAR(common_t::qam_quad_error_cal(LIB_DMA_QAM_64, symbols),
                static_cast<float>(90.0 - 2.0 * std::atan(first / second) * 180.0 / pi), 1e-3f);
}

TEST(ApskQuadError, ComparesTheMeanPowersOfTwoClasses)
{
    // Amplitudes 0.3 and 0.5: x = 2 / (25 / 9 + 1) - 1 = -8 / 17.
    const complex_array symbols = { polar(0.3, 10.0), polar(0.5, 80.0), polar(0.3, -30.0), polar(0.5, 200.0), polar(1.0, 5.0) };
    EXPECT_NEAR(common_t::apsk_quad_error_cal(LIB_DMA_APSK_16, symbols), static_cast<float>(std::asin(-8.0 / 17.0) * 180.0 / pi),
                1e-4f);
}

TEST(ApskQuadError, PutsAmplitudesAtABoundIntoTheUpperClass)
{
    // Exactly the inner bound counts as outer, exactly the outer bound not at all.
    const float inner_bound = 0.35211268f;
    const float outer_bound = 0.6760563f;
    const double ratio = std::pow(static_cast<double>(inner_bound) / 0.25, 2.0);
    EXPECT_NEAR(common_t::apsk_quad_error_cal(LIB_DMA_APSK_16, { { 0.25f, 0.0f }, { inner_bound, 0.0f }, { outer_bound, 0.0f } }),
                static_cast<float>(std::asin(2.0 / (ratio + 1.0) - 1.0) * 180.0 / pi), 1e-4f);
}

TEST(ApskQuadError, IsZeroWhereAClassIsEmptyAndAlwaysForThirtyTwoPoints)
{
    EXPECT_EQ(common_t::apsk_quad_error_cal(LIB_DMA_APSK_16, {}), 0.0f);
    EXPECT_EQ(common_t::apsk_quad_error_cal(LIB_DMA_APSK_16, { { 0.2f, 0.0f } }), 0.0f);
    EXPECT_EQ(common_t::apsk_quad_error_cal(LIB_DMA_APSK_16, { { 0.5f, 0.0f } }), 0.0f);
    EXPECT_EQ(common_t::apsk_quad_error_cal(LIB_DMA_APSK_16, { { 0.0f, 0.0f }, { 0.5f, 0.0f } }), 0.0f); // |x| is 1
    EXPECT_EQ(common_t::apsk_quad_error_cal(LIB_DMA_APSK_32, {}), 0.0f);
    EXPECT_EQ(common_t::apsk_quad_error_cal(LIB_DMA_APSK_32, make_noise(1000, 7)), 0.0f);
}

TEST(ApskQuadErrorDeathTest, EndsTheProcessForAnotherFormat)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    for (const int format : { 0, 8, 64 })
    {
        EXPECT_EXIT(common_t::apsk_quad_error_cal(static_cast<lib_dma_apsk_modulation_type_t>(format), {}),
                    testing::ExitedWithCode(1), "error: apsk_quad_error_cal: unsupported apsk type");
    }
}

TEST(IqOffset, IsTheMeanErrorAgainstUnitLevel)
{
    complex_array error;
    for (int i = 0; i < 100; ++i)
        error.emplace_back(0.03f + (i % 2 == 0 ? 0.2f : -0.2f), -0.04f);
    EXPECT_NEAR(common_t::iq_offset_cal(error), static_cast<float>(20.0 * std::log10(0.05)), 1e-3f);
}

TEST(IqOffset, OfAnExactZeroIsASentinel)
{
    EXPECT_EQ(common_t::iq_offset_cal({}), -1e10f);
    EXPECT_EQ(common_t::iq_offset_cal(complex_array(10, { 0.0f, 0.0f })), -1e10f);
    EXPECT_EQ(common_t::iq_offset_cal({ { 0.5f, -0.25f }, { -0.5f, 0.25f } }), -1e10f);
    EXPECT_NEAR(common_t::iq_offset_cal({ { 0.0f, 0.1f } }), -20.0f, 1e-5f); // one sum alone may be 0
}

TEST(Correlation, IsOneForACopyWhateverItsLevelAndPhase)
{
    const complex_array a = make_noise(64, 8);
    complex_array b(100, { 0.1f, 0.1f });
    for (std::size_t i = 0; i < a.size(); ++i)
        b[20 + i] = std::complex<float>(std::complex<double>(a[i]) * std::polar(3.0, 2.1));
    EXPECT_NEAR(common_t::deal_corr(a, b, 20, 64), 1.0f, 1e-6f);
    EXPECT_LT(common_t::deal_corr(a, b, 25, 64), 0.6f);
}

TEST(Correlation, FollowsItsFormula)
{
    const complex_array a = { { 1.0f, 0.0f }, { 0.0f, 1.0f } };
    const complex_array b = { { 9.0f, 9.0f }, { 1.0f, 0.0f }, { 1.0f, 0.0f } };
    // sum of conj(x) y = 1 - j, powers 2 and 2.
    EXPECT_NEAR(common_t::deal_corr(a, b, 1, 2), static_cast<float>(std::numbers::sqrt2 / 2.0), 1e-6f);
    EXPECT_EQ(common_t::deal_corr(a, b, 1, 0), 0.0f);
    EXPECT_EQ(common_t::deal_corr({}, {}, 99, 0), 0.0f);
    EXPECT_EQ(common_t::deal_corr(complex_array(2, { 0.0f, 0.0f }), b, 0, 2), 0.0f);
    EXPECT_EQ(common_t::deal_corr(complex_array(2, { 1e-7f, 0.0f }), complex_array(2, { 1e-7f, 0.0f }), 0, 2), 0.0f);
}

TEST(Correlation, RaisesOutOfRangePastEitherArray)
{
    const complex_array four = make_noise(4, 9);
    EXPECT_THROW(common_t::deal_corr({}, four, 0, 1), std::out_of_range);
    EXPECT_THROW(common_t::deal_corr(four, four, 1, 4), std::out_of_range);
    EXPECT_THROW(common_t::deal_corr(four, four, 4, 1), std::out_of_range);
    EXPECT_THROW(common_t::deal_corr(four, make_noise(9, 1), 0, 5), std::out_of_range);
    EXPECT_THROW(common_t::deal_corr(four, four, 0xffffffffu, 1), std::out_of_range);
    EXPECT_NO_THROW(common_t::deal_corr(four, four, 1, 3));
}

TEST(FilterInvalid, ZeroesWhatIsNotFiniteAndKeepsTheRest)
{
    complex_array data = { { 1.0f, 2.0f }, { nan_value, 1.0f }, { 0.1f, 0.0f }, { 1.0f, infinity }, { -infinity, nan_value } };
    for (const float level : { 0.2f, 0.0f, 100.0f })
    {
        complex_array mended = data;
        common_t::filter_invalid(mended, level);
        EXPECT_EQ(mended, (complex_array{ { 1.0f, 2.0f }, { 0.0f, 0.0f }, { 0.1f, 0.0f }, { 0.0f, 0.0f }, { 0.0f, 0.0f } }))
            << level;
    }
    complex_array nothing;
    common_t::filter_invalid(nothing, 1.0f);
    EXPECT_TRUE(nothing.empty());
}

TEST(TargetArray, AccumulatesInSinglePrecision)
{
    const float_array quarters = common_t::gen_target_array(0.0f, static_cast<float>(pi / 2.0), 4.712389f, 1.0f);
    ASSERT_EQ(quarters.size(), 4u);
    EXPECT_EQ(quarters.back(), 4.712389f);

    const float_array tenths = common_t::gen_target_array(0.0f, 0.1f, 100.0f, 2.0f);
    float v = 0.0f;
    std::size_t count = 0;
    for (; v <= 100.0f; v += 0.1f, ++count)
    {
        ASSERT_LT(count, tenths.size());
        EXPECT_EQ(tenths[count], 2.0f * v);
    }
    EXPECT_EQ(tenths.size(), count);
}

TEST(TargetArray, TakesAComplexScale)
{
    EXPECT_EQ(common_t::gen_target_array(1.0f, 1.0f, 2.0f, std::complex<float>(0.0f, 2.0f)),
              (complex_array{ { 0.0f, 2.0f }, { 0.0f, 4.0f } }));
    EXPECT_EQ(common_t::gen_target_array(1.0f, 1.0f, 0.0f, std::complex<float>(0.0f, 2.0f)), (complex_array{ { 0.0f, 0.0f } }));
}

TEST(TargetArray, OfARangeThatCannotBeWalkedIsOneZero)
{
    const float_array zero = { 0.0f };
    EXPECT_EQ(common_t::gen_target_array(2.0f, 1.0f, 1.0f, 5.0f), zero);
    EXPECT_EQ(common_t::gen_target_array(1.0f, 0.0f, 2.0f, 5.0f), zero);
    EXPECT_EQ(common_t::gen_target_array(0.0f, 1.0f, 0.0f, 5.0f), zero);
    EXPECT_EQ(common_t::gen_target_array(1.0f, -1.0f, 2.0f, 5.0f), zero);
    EXPECT_EQ(common_t::gen_target_array(nan_value, 1.0f, 2.0f, 5.0f), zero);
    EXPECT_EQ(common_t::gen_target_array(0.0f, nan_value, 2.0f, 5.0f), zero);
    EXPECT_EQ(common_t::gen_target_array(0.0f, 1.0f, nan_value, 5.0f), zero);
}

TEST(TargetArray, WalksDownWithANegativeStep)
{
    EXPECT_EQ(common_t::gen_target_array(2.0f, -1.0f, 0.0f, 1.0f), (float_array{ 2.0f, 1.0f, 0.0f }));
}

TEST(TargetArray, EndsWhenTheStepNoLongerChangesTheValue)
{
    EXPECT_EQ(common_t::gen_target_array(1e8f, 1.0f, 2e8f, 1.0f), float_array{ 1e8f });
    EXPECT_EQ(common_t::gen_target_array(16777214.0f, 1.0f, 3e7f, 1.0f), (float_array{ 16777214.0f, 16777215.0f, 16777216.0f }));
    EXPECT_EQ(common_t::gen_target_array(-1e8f, -1.0f, -2e8f, 1.0f), float_array{ -1e8f });
    EXPECT_EQ(common_t::gen_target_array(-infinity, 1.0f, 0.0f, 1.0f), float_array{ -infinity });
}

namespace
{
/// The average as it is told: in double, each window in full.
float_array average_in_double(std::uint32_t window, const float_array& data)
{
    const int n = static_cast<int>(data.size());
    const int h = static_cast<int>(window / 2);
    const auto mean = [&](int first, int last)
    {
        double sum = 0.0;
        for (int i = first; i <= last; ++i)
            sum += static_cast<double>(data[static_cast<std::size_t>(i)]);
        return static_cast<float>(sum / (last - first + 1));
    };
    float_array out;
    if (h >= n)
        return float_array(data.size(), n == 0 ? 0.0f : mean(0, n - 1));
    const int c = static_cast<int>(std::min((n - 1) * 0.5, (2 * h + 1) * 0.5));
    for (int i = 0; i <= c; ++i)
        out.push_back(mean(0, std::min(h + i, n - 1)));
    for (int i = c + 1; i < n - c; ++i)
        out.push_back(mean(i - c, i + c));
    for (int i = n - c; i < n; ++i)
        out.push_back(mean(std::max(i - h, 0), n - 1));
    return out;
}
} // namespace

TEST(CenterMovingAverage, ShrinksItsWindowTowardsBothEnds)
{
    std::mt19937 generator(10);
    std::uniform_real_distribution<float> level(0.5f, 1.5f);
    for (const std::uint32_t window : { 0u, 1u, 2u, 3u, 8u, 9u, 61u })
    {
        for (std::size_t n = 0; n <= 130; ++n)
        {
            float_array data(n);
            for (float& value : data)
                value = level(generator);
            const float_array averaged = common_t::center_moving_average(window, data);
            const float_array expected = average_in_double(window, data);
            ASSERT_EQ(averaged.size(), n) << window;
            for (std::size_t i = 0; i < n; ++i)
                EXPECT_NEAR(averaged[i], expected[i], 2e-6f) << "window " << window << " length " << n << " at " << i;
        }
    }
}

TEST(CenterMovingAverage, OfFewSamplesIsTheirMean)
{
    const float_array averaged = common_t::center_moving_average(61, { 1, 2, 3, 4, 5, 6, 7, 8, 9, 10 });
    EXPECT_EQ(averaged, float_array(10, 5.5f));
}

TEST(CenterMovingAverage, HasHeadMiddleAndTailOfAHundredSamples)
{
    float_array data(100);
    for (std::size_t i = 0; i < 100; ++i)
        data[i] = static_cast<float>(i);
    const float_array averaged = common_t::center_moving_average(61, data);
    EXPECT_EQ(averaged[0], 15.0f);  // of 31 samples
    EXPECT_EQ(averaged[30], 30.0f); // of 61
    EXPECT_EQ(averaged[50], 50.0f);
    EXPECT_EQ(averaged[99], 84.0f); // of 31
}

TEST(CenterMovingAverage, ClampsItsHeadBetweenHalfAndWholeWindow)
{
    // 31 to 60 samples under a window of 61: the last window of the head would reach past the end.
    for (std::size_t n = 31; n <= 60; ++n)
    {
        const float_array averaged = common_t::center_moving_average(61, float_array(n, 2.0f));
        EXPECT_EQ(averaged, float_array(n, 2.0f)) << n;
    }
}
