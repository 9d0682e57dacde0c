#include "plain_array/filter.h"

#include "message_capture.h"
#include "plain_signal.h"
#include "support/lib_filter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using common_lib::lib_filter_t;

namespace
{
/// The sum that defines the filter, in double.
complex_double_array sum_filter(const float_array& taps, const complex_array& data)
{
    complex_double_array out(data.size());
    for (std::size_t n = 0; n < data.size(); ++n)
    {
        for (std::size_t k = 0; k < taps.size() && k <= n; ++k)
            out[n] += static_cast<double>(taps[k]) * std::complex<double>(data[n - k]);
    }
    return out;
}
} // namespace

TEST(PlainFilter, IsTheCausalSumOfItsTaps)
{
    for (const std::size_t tap_count : { 1u, 2u, 9u, 80u, 81u, 150u })
    {
        const float_array taps = split_signal_t(make_noise(tap_count, 4)).i;
        const complex_array data = make_noise(120, 5);
        const split_signal_t in(data);
        split_signal_t out(120);
        float_array real_out(120);
        EXPECT_TRUE(filter(taps.data(), static_cast<std::uint32_t>(tap_count), in.i.data(), in.q.data(), 120, out.i.data(),
                           out.q.data()));
        EXPECT_TRUE(filter(taps.data(), static_cast<std::uint32_t>(tap_count), in.i.data(), 120, real_out.data()));
        const complex_double_array wanted = sum_filter(taps, data);
        double power = 0.0;
        double error = 0.0;
        double real_error = 0.0;
        for (std::size_t n = 0; n < 120; ++n)
        {
            power += std::norm(wanted[n]);
            error += std::norm(wanted[n] - std::complex<double>(out.join()[n]));
            real_error += std::pow(wanted[n].real() - static_cast<double>(real_out[n]), 2.0);
        }
        EXPECT_LT(std::sqrt(error / power), 1e-6) << tap_count;
        EXPECT_LT(std::sqrt(real_error / power), 1e-6) << tap_count;
    }
}

TEST(PlainFilter, OfAnImpulseGivesTheTaps)
{
    const float_array taps = { 1.0f, -2.0f, 4.0f };
    float_array data = { 0.0f, 1.0f, 0.0f, 0.0f, 0.0f };
    EXPECT_TRUE(filter(taps.data(), 3, data.data(), 5, data.data())); // in place
    EXPECT_EQ(data, (float_array{ 0.0f, 1.0f, -2.0f, 4.0f, 0.0f }));
}

TEST(PlainFilter, HasTheBitsOfTheClass)
{
    const float_array taps = split_signal_t(make_noise(21, 6)).i;
    complex_array wide(taps.begin(), taps.end());
    complex_array data = make_noise(64, 7);
    const split_signal_t in(data);
    split_signal_t out(64);
    EXPECT_TRUE(filter(taps.data(), 21, in.i.data(), in.q.data(), 64, out.i.data(), out.q.data()));
    lib_filter_t::deal_filter(wide, data, common_lib::filter_delay_kept);
    EXPECT_EQ(out.join(), data);
}

TEST(PlainFilter, LinesUpWithZerosBehindTheData)
{
    const float_array taps = { 1.0f, 2.0f, 5.0f, 2.0f, 1.0f };
    complex_array data = make_noise(40, 8);
    complex_array longer = data;
    longer.resize(42);
    split_signal_t work(longer);
    EXPECT_TRUE(filter(taps.data(), 5, work.i.data(), work.q.data(), 42, work.i.data(), work.q.data()));
    lib_filter_t::deal_filter(complex_array(taps.begin(), taps.end()), data, common_lib::filter_delay_compensated);
    const complex_array lined_up = work.join();
    for (std::size_t k = 0; k < 40; ++k)
        EXPECT_LT(std::abs(lined_up[k + 2] - data[k]), 1e-5f) << k;
}

TEST(PlainFilter, WithoutTapsCopies)
{
    const float in[] = { 3.0f, -1.0f };
    float out[] = { 77.0f, 77.0f };
    EXPECT_TRUE(filter(nullptr, 0, in, 2, out));
    EXPECT_EQ(out[0], 3.0f);
    EXPECT_EQ(out[1], -1.0f);
}

TEST(PlainFilter, TakesNoDataWithoutArraysAndReportsAMissingOne)
{
    const float some[] = { 1.0f, 2.0f };
    float out[] = { 77.0f, 77.0f };
    {
        const trace_capture_t trace;
        EXPECT_TRUE(filter(some, 2, nullptr, 0, nullptr));
        EXPECT_TRUE(filter(nullptr, 0, nullptr, nullptr, 0, nullptr, nullptr));
        EXPECT_EQ(trace.get_text(), "");
    }
    const trace_capture_t trace;
    EXPECT_FALSE(filter(nullptr, 2, some, 2, out));
    EXPECT_FALSE(filter(some, 2, nullptr, 2, out));
    EXPECT_FALSE(filter(some, 2, some, nullptr, 2, out, out));
    EXPECT_EQ(trace.get_text(), "error: filter(): null pointer\nerror: filter(): null pointer\nerror: filter(): null pointer\n");
    EXPECT_EQ(out[0], 77.0f);
}

TEST(SplitUpsample, PlacesTheInputsForANonZeroType)
{
    const float in_i[] = { 1.0f, 2.0f };
    const float in_q[] = { -1.0f, -2.0f };
    for (const int type : { 1, 2, -1 })
    {
        float out_i[7] = { 9, 9, 9, 9, 9, 9, 9 };
        float out_q[7] = { 9, 9, 9, 9, 9, 9, 9 };
        EXPECT_TRUE(upsample(type, 3, 2, in_i, in_q, out_i, out_q));
        const float wanted_i[] = { 1, 0, 0, 2, 0, 0, 9 };
        const float wanted_q[] = { -1, 0, 0, -2, 0, 0, 9 };
        for (int i = 0; i < 7; ++i)
        {
            EXPECT_EQ(out_i[i], wanted_i[i]) << type << ' ' << i;
            EXPECT_EQ(out_q[i], wanted_q[i]) << type << ' ' << i;
        }
    }
}

TEST(SplitUpsample, OnlyZeroesForTypeZero)
{
    const float in[] = { 1.0f, 2.0f };
    float out_i[4] = { 9, 9, 9, 9 };
    float out_q[4] = { 9, 9, 9, 9 };
    EXPECT_TRUE(upsample(0, 2, 2, in, in, out_i, out_q));
    for (int i = 0; i < 4; ++i)
    {
        EXPECT_EQ(out_i[i], 0.0f);
        EXPECT_EQ(out_q[i], 0.0f);
    }
}

TEST(SplitUpsample, TouchesNothingWithoutArraysOrFactor)
{
    const float in[] = { 1.0f };
    float out[1] = { 9.0f };
    {
        const trace_capture_t trace;
        EXPECT_FALSE(upsample(1, 0, 1, in, in, out, out));
        EXPECT_EQ(trace.get_text(), "error: upsample(): factor must be greater than 0\n");
    }
    const trace_capture_t trace;
    EXPECT_TRUE(upsample(1, 5, 0, in, in, out, out));
    EXPECT_TRUE(upsample(1, 5, 0, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(trace.get_text(), "");
    EXPECT_FALSE(upsample(1, 1, 1, nullptr, in, out, out));
    EXPECT_EQ(trace.get_text(), "error: upsample(): null pointer\n");
    EXPECT_FALSE(upsample(1, 1, 1, in, nullptr, out, out));
    EXPECT_FALSE(upsample(1, 1, 1, in, in, nullptr, out));
    EXPECT_FALSE(upsample(1, 1, 1, in, in, out, nullptr));
    EXPECT_EQ(out[0], 9.0f);
}
