#include "lib_dma_common/lib_dma_phy_common.h"

#include "message_capture.h"
#include "noise.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using common_t = lib_dma_phy_common_t;
using double_sample_t = std::complex<double>;

namespace
{
const float nan_value = std::numeric_limits<float>::quiet_NaN();

struct figures_t
{
    float iq_offset = 77.0f;
    float quad_error = 78.0f;
    float gain_imbalance = 79.0f;
};

bool model(const complex_array& meas, const complex_array& ref, figures_t& figures)
{
    return common_t::deal_iqoffset(meas, ref, figures.iq_offset, figures.quad_error, figures.gain_imbalance);
}

/// A modulator whose rail Q has the gain `gain_db` over the rail I and leads its right angle by `degrees`, with a carrier
/// leak; turned so that the wanted signal keeps its phase.
struct modulator_t
{
    double_sample_t direct;
    double_sample_t image;
    double_sample_t leak;

    modulator_t(double gain_db, double degrees, double_sample_t leakage) : leak(leakage)
    {
        const double_sample_t rail_q = std::polar(std::pow(10.0, gain_db / 20.0), degrees * std::numbers::pi / 180.0);
        // I + rail_q j Q, with I = (z + z*) / 2 and j Q = (z - z*) / 2
        direct = (1.0 + rail_q) / 2.0;
        image = (1.0 - rail_q) / 2.0;
        const double_sample_t turn = direct / std::abs(direct);
        direct /= turn;
        image /= turn;
    }

    complex_array modulate(const complex_array& ref) const
    {
        complex_array meas;
        for (const std::complex<float>& z : ref)
            meas.emplace_back(direct * double_sample_t(z) + image * std::conj(double_sample_t(z)) + leak);
        return meas;
    }

    /// Leak that is left when the image is taken out of a measurement m as m - c m*.
    double get_offset_db() const { return 20.0 * std::log10(std::abs(leak - image / std::conj(direct) * std::conj(leak))); }
};

/// Constant amplitude in time and in frequency.
complex_array make_chirp(std::size_t count)
{
    complex_array chirp;
    for (std::size_t i = 0; i < count; ++i)
        chirp.emplace_back(std::polar(1.0, std::numbers::pi * static_cast<double>(i * i) / static_cast<double>(count) + 0.4));
    return chirp;
}

void expect_failure(const complex_array& meas, const complex_array& ref, const char* message)
{
    log_capture_t log;
    trace_capture_t trace;
    figures_t figures;
    EXPECT_FALSE(model(meas, ref, figures));
    EXPECT_EQ(log.count(common_log::log_level_error, message), 1);
    EXPECT_EQ(log.get_records().size(), 1u);
    EXPECT_EQ(figures.iq_offset, 77.0f);
    EXPECT_EQ(figures.quad_error, 78.0f);
    EXPECT_EQ(figures.gain_imbalance, 79.0f);
}

constexpr const char* inverse_error = "lib_dma_phy_common_t::deal_iqoffset:inverse error!\n";
} // namespace

TEST(IqModel, MeasuresTheImpairmentsOfAModulator)
{
    unsigned seed = 1;
    for (const std::size_t count : { 66u, 100u, 201u })
    {
        for (const modulator_t& modulator : { modulator_t(0.5, 0.0, { 0.03, 0.0 }), modulator_t(0.0, 2.0, { 0.0, -0.01 }),
                                              modulator_t(-1.2, -3.5, { 0.02, 0.05 }), modulator_t(3.0, 8.0, { -0.1, 0.1 }) })
        {
            const complex_array ref = make_noise(count, seed++);
            figures_t figures;
            ASSERT_TRUE(model(modulator.modulate(ref), ref, figures)) << count;
            // The rails again, from the two gains: I is the answer to 1, Q that to j.
            const double_sample_t rail_i = modulator.direct + modulator.image;
            const double_sample_t rail_q = modulator.direct - modulator.image;
            EXPECT_NEAR(figures.gain_imbalance, 20.0 * std::log10(std::abs(rail_q / rail_i)), 3e-4) << count;
            EXPECT_NEAR(figures.quad_error, std::arg(rail_q / rail_i) * 180.0 / std::numbers::pi, 3e-3) << count;
            EXPECT_NEAR(figures.iq_offset, modulator.get_offset_db(), 3e-3) << count;
        }
    }
}

TEST(IqModel, TakesNoNoticeOfAChannelBeforeTheImpairment)
{
    const std::size_t count = 200;
    const complex_array ref = make_noise(count, 3);
    complex_array channel = make_noise(64, 4);
    for (std::size_t tap = 1; tap < channel.size(); ++tap)
        channel[tap] *= 0.05f;
    complex_array received(count);
    for (std::size_t k = 0; k < count; ++k)
    {
        double_sample_t sum(0.0, 0.0);
        for (std::size_t tap = 0; tap < channel.size(); ++tap)
            sum += double_sample_t(channel[tap]) * double_sample_t(ref[(k + tap) % count]);
        received[k] = std::complex<float>(sum);
    }
    const modulator_t modulator(1.0, -4.0, { 0.05, 0.0 });
    figures_t figures;
    ASSERT_TRUE(model(modulator.modulate(received), ref, figures));
    EXPECT_NEAR(figures.gain_imbalance, 1.0, 3e-4);
    EXPECT_NEAR(figures.quad_error, -4.0, 3e-3);
    EXPECT_NEAR(figures.iq_offset, modulator.get_offset_db(), 3e-3);
}

TEST(IqModel, AveragesNoise)
{
    // Noise of -40 dB under a reference that is equally strong at all frequencies: of the image, the mean of 236 taps.
    const complex_array ref = make_chirp(300);
    const modulator_t modulator(0.4, 1.5, { 0.1, 0.0 });
    complex_array meas = modulator.modulate(ref);
    const complex_array noise = make_noise(meas.size(), 9);
    for (std::size_t i = 0; i < meas.size(); ++i)
        meas[i] += noise[i] * 0.00707f;
    figures_t figures;
    ASSERT_TRUE(model(meas, ref, figures));
    EXPECT_NEAR(figures.gain_imbalance, 0.4, 0.05);
    EXPECT_NEAR(figures.quad_error, 1.5, 0.3);
    EXPECT_NEAR(figures.iq_offset, modulator.get_offset_db(), 0.3);
}

TEST(IqModel, RefusesRecordsWithoutAnEquationForEachUnknown)
{
    for (const std::size_t count : { 0u, 1u, 64u, 65u })
    {
        const complex_array ref = make_noise(count, 1);
        expect_failure(ref, ref, "lib_dma_phy_common_t::deal_iqoffset:data is too short!\n");
    }
}

TEST(IqModel, RefusesRecordsOfMoreThanItsLimit)
{
    const complex_array ref = make_noise(common_t::iq_model_longest_record + 1, 1);
    expect_failure(ref, ref, "lib_dma_phy_common_t::deal_iqoffset:data is too long!\n");
}

TEST(IqModel, WantsAReferenceOfTheSameLength)
{
    const complex_array meas = make_noise(80, 1);
    for (const std::size_t count : { 0u, 79u, 81u })
        expect_failure(meas, make_noise(count, 2), inverse_error);
}

TEST(IqModel, RefusesAReferenceWithoutPowerAtSomeFrequency)
{
    const complex_array meas = make_noise(80, 1);
    expect_failure(meas, complex_array(80), inverse_error);
    expect_failure(meas, complex_array(80, { 1.0f, 1.0f }), inverse_error);

    // Every second sample is the mean of its neighbours: half the band all but empty.
    complex_array smooth = make_noise(80, 2);
    for (std::size_t i = 1; i < smooth.size(); i += 2)
        smooth[i] = 0.5f * (smooth[i - 1] + smooth[(i + 1) % smooth.size()]);
    for (int pass = 0; pass < 4; ++pass)
    {
        const complex_array before = smooth;
        for (std::size_t i = 0; i < smooth.size(); ++i)
            smooth[i] = 0.25f * before[i] + 0.5f * before[(i + 1) % 80] + 0.25f * before[(i + 2) % 80];
    }
    expect_failure(modulator_t(0.5, 1.0, { 0.01, 0.0 }).modulate(smooth), smooth, inverse_error);
}

TEST(IqModel, RefusesAReferenceThatIsItsOwnConjugate)
{
    complex_array ref = make_noise(100, 5);
    for (std::complex<float>& value : ref)
        value = value.real();
    expect_failure(modulator_t(0.5, 1.0, { 0.0, 0.0 }).modulate(ref), ref, inverse_error);
    expect_failure(modulator_t(0.5, 1.0, { 0.02, 0.0 }).modulate(ref), ref, inverse_error);
}

TEST(IqModel, RefusesValuesThatAreNotFinite)
{
    const complex_array good = make_noise(90, 6);
    complex_array bad = good;
    bad[40] = { nan_value, 0.0f };
    expect_failure(good, bad, inverse_error);
    expect_failure(bad, good, inverse_error);
    bad[40] = { 0.0f, std::numeric_limits<float>::infinity() };
    expect_failure(good, bad, inverse_error);
    expect_failure(bad, good, inverse_error);
}
