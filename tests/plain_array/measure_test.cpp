#include "plain_array/measure.h"

#include "lib_dma_common/lib_dma_phy_common.h"
#include "message_capture.h"
#include "plain_signal.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using common_t = lib_dma_phy_common_t;

namespace
{
constexpr double pi = std::numbers::pi;

complex_array make_tone(const complex_array& symbols, double cycles_per_sample, double phase)
{
    complex_array turned;
    for (std::size_t k = 0; k < symbols.size(); ++k)
    {
        const double turns = cycles_per_sample * static_cast<double>(k);
        turned.emplace_back(std::complex<double>(symbols[k]) * std::polar(1.0, 2.0 * pi * (turns - std::floor(turns)) + phase));
    }
    return turned;
}

/// Symbols on the diagonals, at unit rms.
complex_array make_diagonals(std::size_t count)
{
    complex_array symbols = make_noise(count, 9);
    for (std::complex<float>& symbol : symbols)
        symbol = { std::copysign(std::sqrt(0.5f), symbol.real()), std::copysign(std::sqrt(0.5f), symbol.imag()) };
    return symbols;
}
} // namespace

TEST(PlainRms, IsTheRootOfTheMeanSquare)
{
    const float i[] = { 9.0f, 3.0f, 0.0f, -1.0f };
    const float q[] = { 9.0f, -4.0f, 5.0f, 7.0f };
    EXPECT_EQ(rms(i + 1, q + 1, 2), 5.0f);
    EXPECT_EQ(rms(i, q, 1, 2), 5.0f);
    EXPECT_EQ(rms(i, q, 0, 4), rms(i, q, 4));
    EXPECT_FLOAT_EQ(rms(i, q, 4), static_cast<float>(std::sqrt((162.0 + 25.0 + 25.0 + 50.0) / 4.0)));
    EXPECT_FLOAT_EQ(rms(i, 4), static_cast<float>(std::sqrt((81.0 + 9.0 + 0.0 + 1.0) / 4.0)));
    EXPECT_EQ(rms(i, 0), 0.0f);
    EXPECT_EQ(rms(i, q, 2, 0), 0.0f);

    const complex_array data = make_noise(10000, 10);
    const split_signal_t in(data);
    double power = 0.0;
    for (const std::complex<float> value : data)
        power += std::norm(std::complex<double>(value));
    EXPECT_FLOAT_EQ(rms(in.i.data(), in.q.data(), in.length()), static_cast<float>(std::sqrt(power / 10000.0)));
}

TEST(PlainErrors, PointFromTheMeasurementToTheReference)
{
    const float meas_i[] = { 3.0f, 0.0f, -1.0f };
    const float meas_q[] = { 4.0f, -2.0f, 0.1f };
    const float ref_i[] = { 0.0f, 1.0f, -1.0f };
    const float ref_q[] = { 6.0f, 0.0f, -0.1f };
    float out_i[3];
    float out_q[3];
    EXPECT_TRUE(error_vector_cal(meas_i, meas_q, ref_i, ref_q, 3, out_i, out_q));
    EXPECT_EQ(out_i[0], -3.0f);
    EXPECT_EQ(out_q[0], 2.0f);
    EXPECT_EQ(out_i[1], 1.0f);
    EXPECT_EQ(out_q[1], 2.0f);
    EXPECT_EQ(out_q[2], -0.2f);
    EXPECT_TRUE(mag_error_cal(meas_i, meas_q, ref_i, ref_q, 3, out_i));
    EXPECT_EQ(out_i[0], 1.0f);
    EXPECT_EQ(out_i[1], -1.0f);
    EXPECT_EQ(out_i[2], 0.0f);
    EXPECT_TRUE(phase_error_cal(meas_i, meas_q, ref_i, ref_q, 3, out_i));
    EXPECT_NEAR(static_cast<double>(out_i[0]), 90.0 - std::atan2(4.0, 3.0) * 180.0 / pi, 1e-5);
    EXPECT_NEAR(static_cast<double>(out_i[1]), 90.0, 1e-5);
    EXPECT_NEAR(static_cast<double>(out_i[2]), 2.0 * std::atan2(0.1, 1.0) * 180.0 / pi, 2e-5); // across the half turn
}

TEST(PlainErrors, HaveTheBitsOfTheClass)
{
    const complex_array meas = make_noise(257, 11);
    const complex_array ref = make_noise(257, 12);
    const split_signal_t m(meas);
    const split_signal_t r(ref);
    split_signal_t out(257);
    EXPECT_TRUE(error_vector_cal(m.i.data(), m.q.data(), r.i.data(), r.q.data(), 257, out.i.data(), out.q.data()));
    complex_array vector;
    common_t::error_vector_cal(meas, ref, vector);
    EXPECT_EQ(out.join(), vector);

    float_array wanted;
    EXPECT_TRUE(mag_error_cal(m.i.data(), m.q.data(), r.i.data(), r.q.data(), 257, out.i.data()));
    common_t::mag_error_cal(meas, ref, wanted);
    EXPECT_EQ(out.i, wanted);
    EXPECT_TRUE(phase_error_cal(m.i.data(), m.q.data(), r.i.data(), r.q.data(), 257, out.i.data()));
    common_t::phase_error_cal(meas, ref, wanted);
    EXPECT_EQ(out.i, wanted);

    EXPECT_EQ(snr_cal(m.i.data(), m.q.data(), r.i.data(), r.q.data(), 257), common_t::snr_cal(meas, ref));
    EXPECT_EQ(gain_imbalance_cal(m.i.data(), m.q.data(), 257), common_t::gain_imbalance_cal(meas));
    EXPECT_EQ(iq_offset_cal(m.i.data(), m.q.data(), 257), common_t::iq_offset_cal(meas));
    EXPECT_EQ(quad_error_cal(m.i.data(), m.q.data(), 257, 0.4f, 0.3f), common_t::quad_error_cal(meas, 0.4f, 0.3f));
    EXPECT_EQ(qam_quad_error_cal(LIB_DMA_QAM_64, m.i.data(), m.q.data(), 257),
              common_t::qam_quad_error_cal(LIB_DMA_QAM_64, meas));
}

TEST(PlainFigures, FollowTheirFormulas)
{
    // An error a tenth as large as the reference.
    const float one[] = { 1.0f, 1.0f };
    const float zero[] = { 0.0f, 0.0f };
    const float nine_tenths[] = { 0.9f, 0.9f };
    EXPECT_NEAR(snr_cal(nine_tenths, zero, one, zero, 2), 20.0, 1e-5);
    EXPECT_EQ(snr_cal(one, zero, one, zero, 2), std::numeric_limits<double>::infinity());

    const float rail_i[] = { 0.8f, -0.8f };
    const float rail_q[] = { 0.4f, 0.4f };
    EXPECT_NEAR(static_cast<double>(gain_imbalance_cal(rail_i, rail_q, 2)), 20.0 * std::log10(2.0), 1e-5);
    const float dc_i[] = { 0.04f, 0.02f };
    const float dc_q[] = { 0.03f, 0.05f };
    EXPECT_NEAR(static_cast<double>(iq_offset_cal(dc_i, dc_q, 2)), 20.0 * std::log10(std::hypot(0.03, 0.04)), 1e-5);

    // 5 degrees off the imaginary axis once, on it once, the third out of reach.
    const double off = 5.0 * pi / 180.0;
    const float quad_i[] = { static_cast<float>(std::sin(off)), 0.0f, 1.0f };
    const float quad_q[] = { static_cast<float>(std::cos(off)), -1.0f, 0.0f };
    EXPECT_NEAR(static_cast<double>(quad_error_cal(quad_i, quad_q, 3, 0.38268343f, 0.0f)), 2.5, 1e-5);

    // Innermost points of 16QAM with a skew: the two diagonals differ in length.
    const float inner_i[] = { 0.32f, -0.30f };
    const float inner_q[] = { 0.32f, 0.30f };
    EXPECT_NEAR(static_cast<double>(qam_quad_error_cal(LIB_DMA_QAM_16, inner_i, inner_q, 2)),
                2.0 * (45.0 - std::atan(0.32 / 0.30) * 180.0 / pi), 1e-4);
}

TEST(PlainFreqError, IsTheFrequencyBetweenTheSignals)
{
    const complex_array ref = make_diagonals(1000);
    const split_signal_t r(ref);
    for (const double share : { 0.0, 1e-5, 0.01, -0.01, 0.2, -0.37, 0.49 })
    {
        const split_signal_t m(make_tone(ref, share, 2.5));
        // Phases of up to 3,000 radians are single-precision numbers.
        EXPECT_NEAR(freq_error_cal(m.i.data(), m.q.data(), r.i.data(), r.q.data(), 1000, 2e6), share * 2e6, 0.05) << share;
    }
}

TEST(PlainFreqError, NeedsTwoEntries)
{
    const float one[] = { 1.0f, 0.0f };
    const float other[] = { 0.0f, 1.0f };
    EXPECT_TRUE(std::isnan(freq_error_cal(nullptr, nullptr, nullptr, nullptr, 0, 1.0)));
    EXPECT_TRUE(std::isnan(freq_error_cal(one, other, one, other, 1, 1.0)));
    // A quarter turn against a standing reference.
    const float standing[] = { 1.0f, 1.0f };
    const float zero[] = { 0.0f, 0.0f };
    EXPECT_NEAR(freq_error_cal(one, other, standing, zero, 2, 100.0), 25.0, 1e-4);
}

TEST(PlainMeasures, TakeNoEntriesWithoutArrays)
{
    const trace_capture_t trace;
    EXPECT_EQ(rms(nullptr, nullptr, 0), 0.0f);
    EXPECT_EQ(rms(nullptr, nullptr, 5, 0), 0.0f);
    EXPECT_EQ(rms(nullptr, 0), 0.0f);
    EXPECT_TRUE(error_vector_cal(nullptr, nullptr, nullptr, nullptr, 0, nullptr, nullptr));
    EXPECT_TRUE(mag_error_cal(nullptr, nullptr, nullptr, nullptr, 0, nullptr));
    EXPECT_TRUE(phase_error_cal(nullptr, nullptr, nullptr, nullptr, 0, nullptr));
    EXPECT_TRUE(std::isnan(snr_cal(nullptr, nullptr, nullptr, nullptr, 0)));
    EXPECT_EQ(gain_imbalance_cal(nullptr, nullptr, 0), 0.0f);
    EXPECT_EQ(iq_offset_cal(nullptr, nullptr, 0), -1e10f);
    EXPECT_EQ(quad_error_cal(nullptr, nullptr, 0, 1.0f, 0.0f), 0.0f);
    EXPECT_EQ(qam_quad_error_cal(LIB_DMA_QAM_16, nullptr, nullptr, 0), 0.0f);
    EXPECT_EQ(trace.get_text(), "");
}

TEST(PlainMeasures, ReportAMissingArrayAndGiveNoFigure)
{
    const float some[] = { 1.0f };
    float out[] = { 77.0f };
    const trace_capture_t trace;
    EXPECT_TRUE(std::isnan(rms(some, nullptr, 1)));
    EXPECT_TRUE(std::isnan(rms(nullptr, some, 0, 1)));
    EXPECT_TRUE(std::isnan(rms(nullptr, 1)));
    EXPECT_FALSE(error_vector_cal(some, some, some, some, 1, out, nullptr));
    EXPECT_FALSE(mag_error_cal(some, some, some, nullptr, 1, out));
    EXPECT_FALSE(phase_error_cal(nullptr, some, some, some, 1, out));
    EXPECT_TRUE(std::isnan(snr_cal(some, some, nullptr, some, 1)));
    EXPECT_TRUE(std::isnan(gain_imbalance_cal(nullptr, some, 1)));
    EXPECT_TRUE(std::isnan(iq_offset_cal(some, nullptr, 1)));
    EXPECT_TRUE(std::isnan(freq_error_cal(some, some, some, nullptr, 1, 1.0)));
    EXPECT_TRUE(std::isnan(quad_error_cal(some, nullptr, 1, 1.0f, 0.0f)));
    EXPECT_TRUE(std::isnan(qam_quad_error_cal(LIB_DMA_QAM_16, nullptr, some, 1)));
    EXPECT_EQ(trace.get_text(), "error: rms(): null pointer\nerror: rms(): null pointer\nerror: rms(): null pointer\n"
                                "error: error_vector_cal(): null pointer\nerror: mag_error_cal(): null pointer\n"
                                "error: phase_error_cal(): null pointer\nerror: snr_cal(): null pointer\n"
                                "error: gain_imbalance_cal(): null pointer\nerror: iq_offset_cal(): null pointer\n"
                                "error: freq_error_cal(): null pointer\nerror: quad_error_cal(): null pointer\n"
                                "error: qam_quad_error_cal(): null pointer\n");
    EXPECT_EQ(out[0], 77.0f);
}

TEST(PlainQamQuadError, KnowsTheFormatsWithPoints)
{
    const float i[] = { 0.3f, -0.3f };
    const float q[] = { 0.3f, 0.3f };
    {
        const trace_capture_t trace;
        for (const std::uint32_t format : { 0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u, 10u })
            EXPECT_FALSE(std::isnan(qam_quad_error_cal(static_cast<lib_dma_qam_modulation_type_t>(format), i, q, 2)));
        EXPECT_EQ(trace.get_text(), "");
    }
    for (const std::uint32_t format : { 11u, 15u, 16u, 4000000000u })
    {
        const trace_capture_t trace;
        EXPECT_TRUE(std::isnan(qam_quad_error_cal(static_cast<lib_dma_qam_modulation_type_t>(format), i, q, 2)));
        EXPECT_EQ(trace.get_text(), "error: qam_quad_error_cal(): unknown format\n");
    }
}
