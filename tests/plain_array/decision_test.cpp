#include "plain_array/plain_array.h"

#include "lib_dma_demod/lib_dma_dpsk_demod.h"
#include "lib_dma_demod/lib_dma_psk_demod.h"
#include "lib_dma_demod/lib_dma_qam_common.h"
#include "message_capture.h"
#include "plain_signal.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <string>
#include <vector>

using namespace vrim;
using namespace vrim::dma_demod_lib;

namespace
{
constexpr double pi = std::numbers::pi;

using judge_t = bool (*)(float re, float im, float* out_re, float* out_im);
using detect_t = bool (*)(const float* in_i, const float* in_q, std::uint32_t length, float* out_i, float* out_q,
                          std::uint32_t* symbols);
using symbol_array = std::vector<std::uint32_t>;

struct psk_case_t
{
    const char* name;
    judge_t judge;
    int order;
    double first; ///< degrees
};

const psk_case_t psk_cases[] = {
    { "psk_judge_bpsk", psk_judge_bpsk, 2, 0.0 },
    { "psk_judge_qpsk", psk_judge_qpsk, 4, 0.0 },
    { "psk_judge_qpsk_pi_4", psk_judge_qpsk_pi_4, 4, 45.0 },
    { "psk_judge_8psk", psk_judge_8psk, 8, 0.0 },
    { "psk_judge_16psk", psk_judge_16psk, 16, 0.0 },
};

std::complex<double> judge_at(judge_t judge, std::complex<double> point)
{
    float re = 77.0f;
    float im = 77.0f;
    EXPECT_TRUE(judge(static_cast<float>(point.real()), static_cast<float>(point.imag()), &re, &im));
    return { static_cast<double>(re), static_cast<double>(im) };
}

std::complex<double> degrees(double angle)
{
    return std::polar(1.0, angle * pi / 180.0);
}

/// A rail cut to the nearest level in double, for a value that is on no border.
double nearest_level(double value, double unit, int side)
{
    double best = 0.0;
    for (int k = 0; k < side; ++k)
    {
        const double level = unit * (2 * k - side + 1);
        if (k == 0 || std::abs(level - value) < std::abs(best - value))
            best = level;
    }
    return best;
}

struct qam_case_t
{
    std::uint32_t order;
    judge_t judge;
    std::complex<float> (*counterpart)(std::complex<float>, float);
    int side;
    double power; ///< of the set, in squared units of half the distance of its points
};

const qam_case_t qam_cases[] = {
    { 16, qam_judge_16, lib_dma_qam_common_t::qam_judge_16, 4, 10.0 },
    { 32, qam_judge_32, lib_dma_qam_common_t::qam_judge_32, 6, 20.0 },
    { 64, qam_judge_64, lib_dma_qam_common_t::qam_judge_64, 8, 42.0 },
    { 128, qam_judge_128, lib_dma_qam_common_t::qam_judge_128, 12, 82.0 },
    { 256, qam_judge_256, lib_dma_qam_common_t::qam_judge_256, 16, 170.0 },
    { 512, qam_judge_512, lib_dma_qam_common_t::qam_judge_512, 24, 330.0 },
    { 1024, qam_judge_1024, lib_dma_qam_common_t::qam_judge_1024, 32, 682.0 },
};
} // namespace

TEST(PlainPskJudges, TakeTheNearestPoint)
{
    for (const psk_case_t& item : psk_cases)
    {
        const double step = 360.0 / item.order;
        for (double angle = -179.9; angle < 180.0; angle += 0.7)
        {
            const double sector = std::round((angle - item.first) / step);
            if (std::abs(std::abs((angle - item.first) / step - sector) - 0.5) < 1e-4)
                continue;
            for (const double radius : { 1e-3, 1.0, 40.0 })
                EXPECT_LT(std::abs(judge_at(item.judge, radius * degrees(angle)) - degrees(item.first + sector * step)), 2e-7)
                    << item.name << ' ' << angle;
        }
    }
}

TEST(PlainPskJudges, GiveABorderToTheSectorBelow)
{
    const float axis_re[] = { 1.0f, 0.0f, -1.0f, 0.0f };
    const float axis_im[] = { 0.0f, 1.0f, 0.0f, -1.0f };
    for (int k = 0; k < 4; ++k)
    {
        const std::complex<double> axis(static_cast<double>(axis_re[k]), static_cast<double>(axis_im[k]));
        EXPECT_LT(std::abs(judge_at(psk_judge_qpsk_pi_4, axis) - degrees(90.0 * k - 45.0)), 2e-7) << k;
        const std::complex<double> diagonal = degrees(45.0 + 90.0 * k);
        const std::complex<double> corner(std::copysign(1.0, diagonal.real()), std::copysign(1.0, diagonal.imag()));
        EXPECT_LT(std::abs(judge_at(psk_judge_qpsk, corner) - degrees(90.0 * k)), 2e-7) << k;
    }
    EXPECT_LT(std::abs(judge_at(psk_judge_bpsk, { 0.0, 1.0 }) - 1.0), 2e-7);
    EXPECT_LT(std::abs(judge_at(psk_judge_bpsk, { 0.0, -1.0 }) + 1.0), 2e-7);
}

TEST(PlainPskJudges, HaveTheBitsOfTheClasses)
{
    const auto same = [](judge_t judge, auto&& counterpart, std::complex<float> point)
    {
        float re = 0.0f;
        float im = 0.0f;
        EXPECT_TRUE(judge(point.real(), point.imag(), &re, &im));
        EXPECT_EQ(std::complex<float>(re, im), counterpart(point, 0.0f, 0.0f)) << point;
    };
    for (const std::complex<float> point : make_noise(500, 30))
    {
        same(psk_judge_bpsk, lib_dma_psk_demod_t::psk_judge_bpsk, point);
        same(psk_judge_qpsk, lib_dma_psk_demod_t::psk_judge_qpsk, point);
        same(psk_judge_8psk, lib_dma_psk_demod_t::psk_judge_8psk, point);
        same(psk_judge_16psk, lib_dma_dpsk_demod_t::psk_judge_16psk, point);
    }
}

TEST(PlainPskJudges, DecideWhatIsNoNumberAndReportAMissingPlace)
{
    const float nan_value = std::numeric_limits<float>::quiet_NaN();
    for (const psk_case_t& item : psk_cases)
    {
        float re = 77.0f;
        float im = 77.0f;
        EXPECT_TRUE(item.judge(nan_value, 1.0f, &re, &im));
        EXPECT_NEAR(std::hypot(re, im), 1.0f, 1e-6f);
        re = 77.0f;
        const trace_capture_t trace;
        EXPECT_FALSE(item.judge(1.0f, 1.0f, &re, nullptr));
        EXPECT_FALSE(item.judge(1.0f, 1.0f, nullptr, &im));
        const std::string text = "error: " + std::string(item.name) + "(): null pointer\n";
        EXPECT_EQ(trace.get_text(), text + text);
        EXPECT_EQ(re, 77.0f);
    }
}

TEST(PlainPskDetect, GivesPointsAndNumbersOfStates)
{
    struct detect_case_t
    {
        detect_t detect;
        std::uint32_t order;
        double first; ///< degrees
    };
    std::mt19937 generator(31);
    std::uniform_real_distribution<double> off(-0.4, 0.4);
    const detect_case_t cases[] = {
        { bpsk_symbol_detect, 2, 0.0 },
        { qpsk_symbol_detect, 4, 45.0 },
        { psk8_symbol_detect, 8, 0.0 },
        { psk16_symbol_detect, 16, 0.0 },
    };
    for (const detect_case_t& item : cases)
    {
        complex_array data;
        symbol_array sent;
        const double step = 360.0 / item.order;
        for (std::uint32_t k = 0; k < 200; ++k)
        {
            sent.push_back(k % item.order);
            data.emplace_back((1.0 + off(generator)) * degrees(item.first + (sent.back() + off(generator)) * step));
        }
        split_signal_t work(data);
        split_signal_t out(200);
        symbol_array symbols(200, 77);
        EXPECT_TRUE(item.detect(work.i.data(), work.q.data(), 200, out.i.data(), out.q.data(), symbols.data()));
        EXPECT_EQ(symbols, sent);
        for (std::size_t k = 0; k < 200; ++k)
            EXPECT_LT(std::abs(std::complex<double>(out.join()[k]) - degrees(item.first + sent[k] * step)), 2e-7);

        // In place, without numbers, by its order.
        EXPECT_TRUE(psk_symbol_detect(item.order, work.i.data(), work.q.data(), 200, work.i.data(), work.q.data(), nullptr));
        EXPECT_EQ(work.join(), out.join());
    }
}

TEST(PlainPskDetect, DecidesWhatTheCarrierRecoveryGives)
{
    complex_array data;
    symbol_array sent;
    for (std::uint32_t k = 0; k < 400; ++k)
    {
        sent.push_back((k * k + k / 7) % 4);
        data.emplace_back(2.0 * degrees(45.0 + 90.0 * sent.back() + 0.05 * k + 10.0));
    }
    const split_signal_t in(data);
    split_signal_t out(400);
    float_array line(400);
    float_array track(400);
    float fit[2];
    double frequency = 0.0;
    {
        const trace_capture_t trace;
        ASSERT_TRUE(psk_carrier_recovery(LIB_DMA_MODULATION_PSK_QPSK, in.i.data(), in.q.data(), 400, 1000, out.i.data(),
                                         out.q.data(), line.data(), &frequency, fit, track.data()));
    }
    symbol_array symbols(400);
    EXPECT_TRUE(psk_symbol_detect(4, out.i.data(), out.q.data(), 400, out.i.data(), out.q.data(), symbols.data()));
    EXPECT_EQ(symbols, sent);
}

TEST(PlainPskDetect, TakesNoSymbolsWithoutArraysAndReportsAMissingOne)
{
    const float in[] = { 1.0f };
    float out[] = { 77.0f };
    {
        const trace_capture_t trace;
        for (const std::uint32_t order : { 2u, 4u, 8u, 16u })
            EXPECT_TRUE(psk_symbol_detect(order, nullptr, nullptr, 0, nullptr, nullptr, nullptr));
        EXPECT_EQ(trace.get_text(), "");
    }
    const trace_capture_t trace;
    EXPECT_FALSE(bpsk_symbol_detect(nullptr, in, 1, out, out, nullptr));
    EXPECT_FALSE(qpsk_symbol_detect(in, nullptr, 1, out, out, nullptr));
    EXPECT_FALSE(psk8_symbol_detect(in, in, 1, nullptr, out, nullptr));
    EXPECT_FALSE(psk16_symbol_detect(in, in, 1, out, nullptr, nullptr));
    for (const std::uint32_t order : { 0u, 1u, 3u, 32u, 0xFFFFFFFFu })
        EXPECT_FALSE(psk_symbol_detect(order, in, in, 1, out, out, nullptr));
    const std::string unknown = "error: psk_symbol_detect(): order must be 2, 4, 8 or 16\n";
    EXPECT_EQ(trace.get_text(), "error: bpsk_symbol_detect(): null pointer\nerror: qpsk_symbol_detect(): null pointer\n"
                                "error: psk8_symbol_detect(): null pointer\nerror: psk16_symbol_detect(): null pointer\n" +
                                    unknown + unknown + unknown + unknown + unknown);
    EXPECT_EQ(out[0], 77.0f);
}

TEST(PlainQamJudges, CutEachRailToTheNearestLevel)
{
    for (const qam_case_t& item : qam_cases)
    {
        const double unit = 1.0 / std::sqrt(item.power);
        EXPECT_EQ(qam_get_judge_func(item.order), item.judge);
        for (const std::complex<float> point : make_noise(400, 40))
        {
            const double re = static_cast<double>(point.real());
            const double im = static_cast<double>(point.imag());
            const double border = 2.0 * unit;
            if (std::abs(re / border - std::round(re / border)) < 1e-4 || std::abs(im / border - std::round(im / border)) < 1e-4)
                continue;
            const std::complex<double> wanted(nearest_level(re, unit, item.side), nearest_level(im, unit, item.side));
            EXPECT_LT(std::abs(judge_at(item.judge, { re, im }) - wanted), 1e-6) << item.order << point;
            const std::complex<float> same = item.counterpart(point, 1.0f);
            float out_re = 77.0f;
            float out_im = 77.0f;
            EXPECT_TRUE(qam_judge(item.order, point.real(), point.imag(), &out_re, &out_im));
            EXPECT_EQ(out_re, same.real());
            EXPECT_EQ(out_im, same.imag());
        }
    }
}

TEST(PlainQamJudges, KnowTheSquareSets)
{
    for (const std::uint32_t order : { 16u, 64u, 256u, 1024u, 4096u })
    {
        const int side = static_cast<int>(std::lround(std::sqrt(order)));
        const double unit = 1.0 / std::sqrt(2.0 * (order - 1.0) / 3.0);
        const double bound = 1e-3 * unit; // the units of the slicers have seven digits at best, the outermost level is 63 of them
        for (int k = 0; k < side; ++k)
        {
            const double level = unit * (2 * k - side + 1);
            float re = 77.0f;
            float im = 77.0f;
            EXPECT_TRUE(qam_judge_square(order, static_cast<float>(level + 0.4 * unit), static_cast<float>(-level - 0.4 * unit),
                                         &re, &im));
            EXPECT_NEAR(static_cast<double>(re), level, bound) << order;
            EXPECT_NEAR(static_cast<double>(im), -level, bound) << order;
        }
    }
}

TEST(PlainQamJudges, KeepARailOfZeroAndComeToTheSquaresCornerInCrossSets)
{
    float re = 77.0f;
    float im = 77.0f;
    EXPECT_TRUE(qam_judge_16(0.0f, std::numeric_limits<float>::quiet_NaN(), &re, &im));
    EXPECT_EQ(re, 0.0f);
    EXPECT_EQ(im, 0.0f);
    EXPECT_TRUE(qam_judge_32(9.0f, -9.0f, &re, &im));
    EXPECT_NEAR(static_cast<double>(re), 5.0 / std::sqrt(20.0), 1e-6);
    EXPECT_NEAR(static_cast<double>(im), -5.0 / std::sqrt(20.0), 1e-6);
}

TEST(PlainQamJudges, ReportAnUnknownOrderAndAMissingPlace)
{
    float re = 77.0f;
    float im = 77.0f;
    for (const std::uint32_t order : { 0u, 4u, 8u, 2048u, 4096u, 0xFFFFFFFFu })
    {
        const trace_capture_t trace;
        EXPECT_FALSE(qam_judge(order, 1.0f, 1.0f, &re, &im));
        EXPECT_EQ(qam_get_judge_func(order), nullptr);
        const std::string text = "error: qam_get_judge_func(): order must be 16, 32, 64, 128, 256, 512 or 1024\n";
        EXPECT_EQ(trace.get_text(), text + text);
    }
    for (const std::uint32_t order : { 0u, 4u, 32u, 128u, 512u, 2048u })
    {
        const trace_capture_t trace;
        EXPECT_FALSE(qam_judge_square(order, 1.0f, 1.0f, &re, &im));
        EXPECT_EQ(trace.get_text(), "error: qam_judge_square(): order must be 16, 64, 256, 1024 or 4096\n");
    }
    for (const qam_case_t& item : qam_cases)
    {
        const trace_capture_t trace;
        EXPECT_FALSE(item.judge(1.0f, 1.0f, &re, nullptr));
        EXPECT_EQ(trace.get_text(), "error: qam_judge_" + std::to_string(item.order) + "(): null pointer\n");
    }
    const trace_capture_t trace;
    EXPECT_FALSE(qam_judge_square(4096, 1.0f, 1.0f, nullptr, &im));
    EXPECT_EQ(trace.get_text(), "error: qam_judge_square(): null pointer\n");
    EXPECT_EQ(re, 77.0f);
    EXPECT_EQ(im, 77.0f);
}
