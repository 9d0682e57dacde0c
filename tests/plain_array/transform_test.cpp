#include "plain_array/transform.h"

#include "message_capture.h"
#include "plain_signal.h"
#include "support/lib_fourier_transform.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using common_lib::lib_fourier_transform_t;

namespace
{
/// The sum that defines the transform. @param sign  -1 forward, 1 back
complex_double_array sum_transform(const complex_array& data, double sign)
{
    const std::size_t count = data.size();
    complex_double_array out(count);
    for (std::size_t bin = 0; bin < count; ++bin)
    {
        for (std::size_t k = 0; k < count; ++k)
        {
            const double turns = static_cast<double>(bin * k % count) / static_cast<double>(count);
            out[bin] += std::complex<double>(data[k]) * std::polar(1.0, sign * 2.0 * std::numbers::pi * turns);
        }
    }
    return out;
}
} // namespace

TEST(PlainFft, IsTheSumThatDefinesIt)
{
    for (const std::size_t count : { 1u, 2u, 3u, 16u, 45u, 101u })
    {
        const complex_array data = make_noise(count, 1);
        const split_signal_t in(data);
        split_signal_t out(count);
        EXPECT_TRUE(fft(in.i.data(), in.q.data(), in.length(), out.i.data(), out.q.data()));
        const complex_double_array wanted = sum_transform(data, -1.0);
        for (std::size_t k = 0; k < count; ++k)
            EXPECT_LT(std::abs(std::complex<double>(out.join()[k]) - wanted[k]), 1e-5) << count << ' ' << k; // bins near 20
    }
}

TEST(PlainFft, InverseIsScaledAndUndoesIt)
{
    for (const std::size_t count : { 1u, 8u, 45u })
    {
        const complex_array data = make_noise(count, 2);
        split_signal_t work(data);
        EXPECT_TRUE(ifft(work.i.data(), work.q.data(), work.length(), work.i.data(), work.q.data()));
        const complex_double_array wanted = sum_transform(data, 1.0);
        for (std::size_t k = 0; k < count; ++k)
            EXPECT_LT(std::abs(std::complex<double>(work.join()[k]) - wanted[k] / static_cast<double>(count)), 1e-6) << k;

        EXPECT_TRUE(fft(work.i.data(), work.q.data(), work.length(), work.i.data(), work.q.data()));
        for (std::size_t k = 0; k < count; ++k)
            EXPECT_LT(std::abs(work.join()[k] - data[k]), 2e-6f) << k;
    }
}

TEST(PlainFft, HasTheBitsOfTheClass)
{
    complex_array data = make_noise(300, 3);
    const split_signal_t in(data);
    split_signal_t out(300);
    EXPECT_TRUE(fft(in.i.data(), in.q.data(), 300, out.i.data(), out.q.data()));
    lib_fourier_transform_t::deal_fft(data, 0);
    EXPECT_EQ(out.join(), data);
    EXPECT_TRUE(ifft(out.i.data(), out.q.data(), 300, out.i.data(), out.q.data()));
    lib_fourier_transform_t::deal_ifft(data, 0);
    EXPECT_EQ(out.join(), data);
}

TEST(PlainFftShift, BringsZeroFrequencyToTheMiddle)
{
    const float_array even = { 0, 1, 2, 3 };
    float_array out(4);
    EXPECT_TRUE(fft_shift(even.data(), 4, out.data()));
    EXPECT_EQ(out, (float_array{ 2, 3, 0, 1 }));

    const float_array odd = { 0, 1, 2, 3, 4 };
    out.resize(5);
    EXPECT_TRUE(fft_shift(odd.data(), 5, out.data()));
    EXPECT_EQ(out, (float_array{ 3, 4, 0, 1, 2 }));

    float_array in_place = odd;
    float_array quadrature = { 10, 11, 12, 13, 14 };
    EXPECT_TRUE(fft_shift(in_place.data(), quadrature.data(), 5, in_place.data(), quadrature.data()));
    EXPECT_EQ(in_place, out);
    EXPECT_EQ(quadrature, (float_array{ 13, 14, 10, 11, 12 }));
}

TEST(PlainTransforms, TakeNoEntriesWithoutArrays)
{
    const trace_capture_t trace;
    EXPECT_TRUE(fft(nullptr, nullptr, 0, nullptr, nullptr));
    EXPECT_TRUE(ifft(nullptr, nullptr, 0, nullptr, nullptr));
    EXPECT_TRUE(fft_shift(nullptr, 0, nullptr));
    EXPECT_TRUE(fft_shift(nullptr, nullptr, 0, nullptr, nullptr));
    EXPECT_EQ(trace.get_text(), "");
}

TEST(PlainTransforms, ReportAMissingArrayAndTouchNothing)
{
    const float in[] = { 1.0f, 2.0f };
    float out[] = { 77.0f, 77.0f };
    const trace_capture_t trace;
    EXPECT_FALSE(fft(nullptr, in, 2, out, out));
    EXPECT_FALSE(fft(in, in, 2, out, nullptr));
    EXPECT_FALSE(ifft(in, nullptr, 2, out, out));
    EXPECT_FALSE(fft_shift(nullptr, 2, out));
    EXPECT_FALSE(fft_shift(in, in, 2, nullptr, out));
    EXPECT_EQ(trace.get_text(), "error: fft(): null pointer\nerror: fft(): null pointer\nerror: ifft(): null pointer\n"
                                "error: fft_shift(): null pointer\nerror: fft_shift(): null pointer\n");
    EXPECT_EQ(out[0], 77.0f);
    EXPECT_EQ(out[1], 77.0f);
}
