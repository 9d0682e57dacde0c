#include "lib_dma_demod/stage/meas_filter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using namespace vrim::dma_demod_lib::demod_stage;
using vrim::common_lib::lib_filter_t;

namespace
{
constexpr std::size_t centre = 200;

complex_array make_impulse()
{
    complex_array data(401, { 0.0f, 0.0f });
    data[centre] = { 1.0f, -2.0f };
    return data;
}

complex_array run_filter(lib_dma_meas_filter_type_t type, lib_filter_t& filter, std::uint32_t sps = 8)
{
    complex_array data = make_impulse();
    const meas_filter_result_t result = deal_meas_filter(type, 16, 0.35f, sps, filter, data);
    EXPECT_TRUE(result.succeeded);
    return data;
}

double cal_distance(const complex_array& a, const complex_array& b)
{
    if (a.size() != b.size())
        return 1e9;
    double largest = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i)
        largest = std::max(largest, std::abs(std::complex<double>(a[i]) - std::complex<double>(b[i])));
    return largest;
}

double sum_of(const complex_array& data)
{
    double sum = 0.0;
    for (const std::complex<float>& value : data)
        sum += static_cast<double>(value.real());
    return sum;
}
} // namespace

TEST(MeasFilter, FiltersFromOneArrayToAnotherAsInPlace)
{
    for (const lib_dma_meas_filter_type_t type :
         { LIB_DMA_MEAS_NONE_FILTER, LIB_DMA_MEAS_ROOT_RAISED_COSINE_FILTER, LIB_DMA_MEAS_RECTANGULAR_FILTER,
           LIB_DMA_MEAS_EDGE_FILTER, LIB_DMA_MEAS_GAUSSIAN_FILTER })
    {
        lib_filter_t filter;
        const complex_array in_place = run_filter(type, filter);
        const complex_array data = make_impulse();
        complex_array out(7);
        lib_filter_t fresh;
        EXPECT_TRUE(deal_meas_filter(type, 16, 0.35f, 8, fresh, data, out).succeeded);
        EXPECT_EQ(out, in_place) << type;
        EXPECT_EQ(data, make_impulse());
    }
}

TEST(MeasFilter, CopiesWhatHasNoTaps)
{
    lib_filter_t filter;
    complex_array out(7);
    EXPECT_FALSE(deal_meas_filter(LIB_DMA_MEAS_ROOT_RAISED_COSINE_FILTER, 16, 0.35f, 0, filter, make_impulse(), out).succeeded);
    EXPECT_EQ(out, make_impulse());
}

TEST(MeasFilter, NoneLeavesTheDataAsTheyAre)
{
    lib_filter_t filter;
    complex_array data = make_impulse();
    const meas_filter_result_t result = deal_meas_filter(LIB_DMA_MEAS_NONE_FILTER, 16, 0.35f, 8, filter, data);
    EXPECT_TRUE(result.succeeded);
    EXPECT_TRUE(result.known);
    EXPECT_EQ(data, make_impulse());
}

TEST(MeasFilter, HasUnitGainAtZeroFrequencyAndNoDelay)
{
    for (const std::uint32_t sps : { 8u, 10u, 12u })
    {
        for (const lib_dma_meas_filter_type_t type :
             { LIB_DMA_MEAS_RAISED_COSINE_FILTER, LIB_DMA_MEAS_ROOT_RAISED_COSINE_FILTER, LIB_DMA_MEAS_GAUSSIAN_FILTER })
        {
            lib_filter_t filter;
            const complex_array data = run_filter(type, filter, sps);
            ASSERT_EQ(data.size(), 401u);
            EXPECT_NEAR(sum_of(data), 1.0, 5e-3) << "type " << type << ", sps " << sps;
            for (std::size_t d = 1; d < 100; ++d)
            {
                EXPECT_NEAR(static_cast<double>(data[centre + d].real()), static_cast<double>(data[centre - d].real()), 1e-6);
                EXPECT_LT(std::abs(data[centre + d]), std::abs(data[centre]));
            }
            EXPECT_FLOAT_EQ(data[centre].imag(), -2.0f * data[centre].real());
        }
    }
}

TEST(MeasFilter, OfRaisedCosineMeetsNyquist)
{
    lib_filter_t filter;
    const complex_array data = run_filter(LIB_DMA_MEAS_RAISED_COSINE_FILTER, filter);
    EXPECT_NEAR(static_cast<double>(data[centre].real()), 1.0 / 8.0, 1e-6);
    for (std::size_t symbol = 1; symbol < 8; ++symbol)
        EXPECT_NEAR(static_cast<double>(data[centre + 8 * symbol].real()), 0.0, 1e-6) << symbol;
}

TEST(MeasFilter, OfRootRaisedCosineHasItsPeak)
{
    lib_filter_t filter;
    const complex_array data = run_filter(LIB_DMA_MEAS_ROOT_RAISED_COSINE_FILTER, filter);
    // 1 - a + 4 a / pi at the centre, an eighth of it at 8 samples a symbol; the cut span costs a little energy.
    const double a = static_cast<double>(0.35f);
    EXPECT_NEAR(static_cast<double>(data[centre].real()), (1.0 - a + 4.0 * a / 3.14159265358979) / 8.0, 1e-4);
}

TEST(MeasFilter, WithoutAPrototypeUsesTheKindThatWasLeft)
{
    for (const lib_dma_meas_filter_type_t type :
         { LIB_DMA_MEAS_COSINE_FILTER, LIB_DMA_MEAS_LOW_PASS_FILTER, LIB_DMA_MEAS_USER_DEFINE_FILTER })
    {
        lib_filter_t fresh;
        EXPECT_LT(cal_distance(run_filter(type, fresh), make_impulse()), 1e-6) << type; // identity to begin with

        lib_filter_t used;
        const complex_array gaussian = run_filter(LIB_DMA_MEAS_GAUSSIAN_FILTER, used);
        EXPECT_EQ(run_filter(type, used), gaussian) << type;

        // The kind none sets identity, and that stands too.
        run_filter(LIB_DMA_MEAS_NONE_FILTER, used);
        EXPECT_LT(cal_distance(run_filter(type, used), make_impulse()), 1e-6) << type;
    }
    // The root raised cosine keeps its kind but not the division: unit energy, eight times the sum.
    lib_filter_t used;
    const complex_array scaled = run_filter(LIB_DMA_MEAS_ROOT_RAISED_COSINE_FILTER, used);
    const complex_array plain = run_filter(LIB_DMA_MEAS_LOW_PASS_FILTER, used);
    EXPECT_NEAR(static_cast<double>(plain[centre].real() / scaled[centre].real()), std::sqrt(8.0), 1e-5);
}

TEST(MeasFilter, SaysOfATypeThatItHasNoRule)
{
    lib_filter_t filter;
    filter.set_filter_type(common_lib::filter_gaussian);
    complex_array data = make_impulse();
    const meas_filter_result_t result = deal_meas_filter(LIB_DMA_MEAS_HALF_SINE_FILTER, 16, 0.35f, 8, filter, data);
    EXPECT_TRUE(result.succeeded);
    EXPECT_FALSE(result.known);
    lib_filter_t other;
    EXPECT_EQ(data, run_filter(LIB_DMA_MEAS_GAUSSIAN_FILTER, other));
}

TEST(MeasFilter, FailsWithoutTaps)
{
    lib_filter_t filter;
    filter.set_filter_type(17); // no such kind
    complex_array data = make_impulse();
    EXPECT_FALSE(deal_meas_filter(LIB_DMA_MEAS_COSINE_FILTER, 16, 0.35f, 8, filter, data).succeeded);
    EXPECT_EQ(data, make_impulse());
}

TEST(MeasFilter, OfRectangularTypeAveragesOneSymbol)
{
    lib_filter_t filter;
    const complex_array data = run_filter(LIB_DMA_MEAS_RECTANGULAR_FILTER, filter);
    EXPECT_NEAR(sum_of(data), 1.0, 1e-6);
    std::size_t count = 0;
    for (std::size_t i = 0; i < data.size(); ++i)
    {
        if (std::abs(data[i].real()) < 1e-6f)
            continue;
        ++count;
        EXPECT_NEAR(static_cast<double>(data[i].real()), 0.125, 1e-6);
        EXPECT_LE(i, centre + 4);
        EXPECT_GE(i + 4, centre);
    }
    EXPECT_EQ(count, 8u);
}

TEST(MeasFilter, OfEdgeTypeIsAShortSmoothPulse)
{
    lib_filter_t filter;
    filter.set_filter_type(common_lib::filter_gaussian);
    const complex_array data = run_filter(LIB_DMA_MEAS_EDGE_FILTER, filter);
    double outside = 0.0;
    float peak = 0.0f;
    for (std::size_t i = 0; i < data.size(); ++i)
    {
        peak = std::max(peak, std::abs(data[i].real()));
        if (i + 24 < centre || i > centre + 24)
            outside = std::max(outside, static_cast<double>(std::abs(data[i])));
    }
    EXPECT_GT(peak, 0.01f);
    EXPECT_LT(outside, 1e-4);
    // The kind of the filter is none of its business.
    lib_filter_t other;
    EXPECT_EQ(run_filter(LIB_DMA_MEAS_LOW_PASS_FILTER, filter), run_filter(LIB_DMA_MEAS_GAUSSIAN_FILTER, other));
}

TEST(UnitGain, DividesByTheRootOfTheRate)
{
    complex_array taps = { { 3.0f, -6.0f }, { 0.0f, 12.0f } };
    scale_to_unit_gain(9, taps);
    EXPECT_EQ(taps, (complex_array{ { 1.0f, -2.0f }, { 0.0f, 4.0f } }));
    taps = { { 1.0f, 2.0f } };
    scale_to_unit_gain(8, taps);
    EXPECT_EQ(taps[0], std::complex<float>(1.0f / 2.8284271f, 2.0f / 2.8284271f));
}
