#include "demod_container.h"

#include "message_capture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <utility>

using namespace vrim;
using namespace vrim::dma_demod_lib;

namespace
{
constexpr const char* stride_message = "demod_container: a stride of 0 takes no sample!\n";

demod_container make_container(const float_array& i, const float_array& q)
{
    demod_container container;
    container.set_data(i, q);
    return container;
}

/// Both arrays have the count that the container tells, and these values.
void expect_data(const demod_container& container, const float_array& i, const float_array& q)
{
    EXPECT_EQ(container.get_num(), i.size());
    EXPECT_EQ(container.get_i_data(), i);
    EXPECT_EQ(container.get_q_data(), q);
}

struct peaks_t
{
    std::uint32_t min_index = 99;
    float min_value = 99.0f;
    std::uint32_t max_index = 99;
    float max_value = 99.0f;
    bool operator==(const peaks_t&) const = default;
};

peaks_t find_peak_mag(const demod_container& container, std::uint32_t stride)
{
    peaks_t peaks;
    container.find_peak_mag(&peaks.min_index, &peaks.min_value, &peaks.max_index, &peaks.max_value, stride);
    return peaks;
}

peaks_t find_i_peak(const demod_container& container, std::uint32_t stride)
{
    peaks_t peaks;
    container.find_i_peak(&peaks.min_index, &peaks.min_value, &peaks.max_index, &peaks.max_value, stride);
    return peaks;
}

/// Magnitudes 5, 10, 13, 17.
demod_container make_four()
{
    return make_container({ 3.0f, -6.0f, 5.0f, 8.0f }, { 4.0f, 8.0f, -12.0f, 15.0f });
}
} // namespace

TEST(DemodContainer, StartsEmpty)
{
    const demod_container container;
    expect_data(container, {}, {});
}

TEST(DemodContainer, FreesItsMemoryWhenCleared)
{
    demod_container container = make_four();
    container.clear();
    expect_data(container, {}, {});
    EXPECT_EQ(container.get_i_data().capacity(), 0u);
    EXPECT_EQ(container.get_q_data().capacity(), 0u);
}

TEST(DemodContainer, GrowsWithZerosOrAValueAndKeepsWhatItHas)
{
    demod_container container = make_container({ 1.0f, 2.0f }, { 3.0f, 4.0f });
    container.resize(3);
    expect_data(container, { 1.0f, 2.0f, 0.0f }, { 3.0f, 4.0f, 0.0f });
    container.resize(5, 7.0f);
    expect_data(container, { 1.0f, 2.0f, 0.0f, 7.0f, 7.0f }, { 3.0f, 4.0f, 0.0f, 7.0f, 7.0f });
    container.resize(1, 9.0f);
    expect_data(container, { 1.0f }, { 3.0f });
    container.resize(0);
    expect_data(container, {}, {});
}

TEST(DemodContainer, DropsItsFirstSamples)
{
    demod_container container = make_four();
    container.remove_begin(0);
    EXPECT_EQ(container.get_num(), 4u);
    container.remove_begin(3);
    expect_data(container, { 8.0f }, { 15.0f });
}

TEST(DemodContainer, DropsAllWhenThereAreFewer)
{
    for (const std::uint32_t n : { 4u, 5u, 0xFFFFFFFFu })
    {
        demod_container container = make_four();
        container.remove_begin(n);
        expect_data(container, {}, {});
        container.remove_begin(n);
        expect_data(container, {}, {});
    }
}

TEST(DemodContainer, GivesItsArraysAndPointers)
{
    demod_container container = make_four();
    container.get_i_data()[1] = 100.0f;
    container.get_q_data()[2] = 200.0f;
    container.i_ptr()[0] = 300.0f;
    container.q_ptr()[3] = 400.0f;
    expect_data(container, { 300.0f, 100.0f, 5.0f, 8.0f }, { 4.0f, 8.0f, 200.0f, 400.0f });
    EXPECT_EQ(std::as_const(container).i_ptr(), container.get_i_data().data());
    EXPECT_EQ(std::as_const(container).q_ptr(), container.get_q_data().data());
}

TEST(DemodContainer, ScalesBothArrays)
{
    demod_container container = make_container({ 1.0f, -2.0f }, { 0.5f, 3.0f });
    container.mulitply(-2.0f);
    expect_data(container, { -2.0f, 4.0f }, { -1.0f, -6.0f });
}

TEST(DemodContainer, FillsQAlone)
{
    demod_container container = make_container({ 1.0f, -2.0f }, { 0.5f, 3.0f });
    container.fill_q_data(6.0f);
    expect_data(container, { 1.0f, -2.0f }, { 6.0f, 6.0f });
}

TEST(DemodContainer, GivesSingleValues)
{
    const demod_container container = make_four();
    EXPECT_EQ(container.get_i_value(2), 5.0f);
    EXPECT_EQ(container.get_q_value(2), -12.0f);
    EXPECT_EQ(container.get_mag_value(2), 13.0f);
}

TEST(DemodContainer, CopiesFromPointers)
{
    const float i[] = { 1.0f, 2.0f, 3.0f };
    const float q[] = { 4.0f, 5.0f, 6.0f };
    demod_container container = make_four();
    container.set_data(i, q, 2);
    expect_data(container, { 1.0f, 2.0f }, { 4.0f, 5.0f });
    container.set_data(i, q, 0);
    expect_data(container, {}, {});
}

TEST(DemodContainer, CopiesFromPointersIntoItself)
{
    demod_container container = make_four();
    container.set_data(container.q_ptr() + 1, container.i_ptr() + 1, 3);
    expect_data(container, { 8.0f, -12.0f, 15.0f }, { -6.0f, 5.0f, 8.0f });
}

TEST(DemodContainer, KeepsItsDataWhenAPointerIsNull)
{
    const float value[] = { 1.0f };
    demod_container container = make_container({ 2.0f }, { 3.0f });
    log_capture_t log;
    container.set_data(nullptr, value, 1);
    container.set_data(value, nullptr, 1);
    EXPECT_EQ(log.count(common_log::log_level_error, "demod_container: a null pointer holds no data!\n"), 2);
    expect_data(container, { 2.0f }, { 3.0f });
    container.set_data(nullptr, nullptr, 0);
    expect_data(container, {}, {});
}

TEST(DemodContainer, TakesTheLengthOfI)
{
    expect_data(make_container({ 1.0f, 2.0f, 3.0f }, { 4.0f }), { 1.0f, 2.0f, 3.0f }, { 4.0f, 0.0f, 0.0f });
    expect_data(make_container({ 1.0f }, { 4.0f, 5.0f }), { 1.0f }, { 4.0f });
    demod_container container = make_container({ 1.0f, 2.0f }, { 3.0f, 4.0f });
    container.set_data(container.get_q_data(), container.get_i_data());
    expect_data(container, { 3.0f, 4.0f }, { 1.0f, 2.0f });
}

TEST(DemodContainer, KeepsItsCountInStepWhenItsDataMoveOn)
{
    demod_container container = make_four();
    const demod_container copy = std::move(container);
    expect_data(copy, { 3.0f, -6.0f, 5.0f, 8.0f }, { 4.0f, 8.0f, -12.0f, 15.0f });
    EXPECT_EQ(container.get_i_data().size(), container.get_num());
}

TEST(DemodContainerRms, DividesByTheSamplesThatAStrideTakes)
{
    const demod_container container = make_four();
    EXPECT_FLOAT_EQ(container.cal_rms(1), static_cast<float>(std::sqrt((25.0 + 100.0 + 169.0 + 289.0) / 4.0)));
    EXPECT_FLOAT_EQ(container.cal_rms(2), static_cast<float>(std::sqrt((25.0 + 169.0) / 2.0)));
    // Samples 0 and 3 are taken, and 4 / 3 is one.
    EXPECT_FLOAT_EQ(container.cal_rms(3), static_cast<float>(std::sqrt(25.0 + 289.0)));
}

TEST(DemodContainerRms, DividesByNothingWhenTheStrideIsLongerThanTheData)
{
    EXPECT_EQ(make_four().cal_rms(5), 5.0f);
    EXPECT_EQ(make_four().cal_rms(0xFFFFFFFFu), 5.0f);
}

TEST(DemodContainerMean, DividesByAllSamplesWhateverTheStride)
{
    const demod_container container = make_four();
    EXPECT_FLOAT_EQ(container.cal_mean(1), (5.0f + 10.0f + 13.0f + 17.0f) / 4.0f);
    EXPECT_FLOAT_EQ(container.cal_mean(2), (5.0f + 13.0f) / 4.0f);
    EXPECT_FLOAT_EQ(container.cal_mean(9), 5.0f / 4.0f);
    EXPECT_FLOAT_EQ(container.cal_i_mean(1), 10.0f / 4.0f);
    EXPECT_FLOAT_EQ(container.cal_i_mean(2), 8.0f / 4.0f);
}

TEST(DemodContainerStatistics, OfNothing)
{
    const demod_container container;
    EXPECT_EQ(container.cal_rms(1), 0.0f);
    EXPECT_TRUE(std::isnan(container.cal_mean(1)));
    EXPECT_TRUE(std::isnan(container.cal_i_mean(1)));
    EXPECT_EQ(find_peak_mag(container, 1), (peaks_t{ 0, 0.0f, 0, 0.0f }));
    EXPECT_EQ(find_i_peak(container, 1), (peaks_t{ 0, 0.0f, 0, 0.0f }));
}

TEST(DemodContainerPeaks, FindTheExtremesOfTheMagnitude)
{
    EXPECT_EQ(find_peak_mag(make_four(), 1), (peaks_t{ 0, 5.0f, 3, 17.0f }));
    EXPECT_EQ(find_peak_mag(make_four(), 2), (peaks_t{ 0, 5.0f, 1, 13.0f })); // samples 0 and 2
    EXPECT_EQ(find_peak_mag(make_four(), 4), (peaks_t{ 0, 5.0f, 0, 5.0f }));
}

TEST(DemodContainerPeaks, FindTheExtremesOfI)
{
    EXPECT_EQ(find_i_peak(make_four(), 1), (peaks_t{ 1, -6.0f, 3, 8.0f }));
    EXPECT_EQ(find_i_peak(make_four(), 3), (peaks_t{ 0, 3.0f, 1, 8.0f })); // samples 0 and 3
}

TEST(DemodContainerPeaks, AreTheFirstOfEqualOnes)
{
    const demod_container container = make_container({ 1.0f, 5.0f, -2.0f, 5.0f, -2.0f }, { 0.0f, 0.0f, 0.0f, 0.0f, 0.0f });
    EXPECT_EQ(find_i_peak(container, 1), (peaks_t{ 2, -2.0f, 1, 5.0f }));
    EXPECT_EQ(find_peak_mag(container, 1), (peaks_t{ 0, 1.0f, 1, 5.0f }));
}

TEST(DemodContainerPeaks, SkipNullPointers)
{
    float largest = 0.0f;
    make_four().find_peak_mag(nullptr, nullptr, nullptr, &largest, 1);
    EXPECT_EQ(largest, 17.0f);
    make_four().find_i_peak(nullptr, nullptr, nullptr, &largest, 1);
    EXPECT_EQ(largest, 8.0f);
}

TEST(DemodContainerSample, TakesEveryNth)
{
    float_array i(9);
    float_array q;
    make_four().get_sample(2, i, q);
    EXPECT_EQ(i, (float_array{ 3.0f, 5.0f }));
    EXPECT_EQ(q, (float_array{ 4.0f, -12.0f }));
    demod_container taken = make_container({ 1.0f }, { 2.0f });
    make_four().get_sample(2, taken);
    expect_data(taken, { 3.0f, 5.0f }, { 4.0f, -12.0f });
}

TEST(DemodContainerSample, LeavesOutTheLastWhenTheStrideDoesNotDivideTheCount)
{
    const demod_container five = make_container({ 0.0f, 1.0f, 2.0f, 3.0f, 4.0f }, { 5.0f, 6.0f, 7.0f, 8.0f, 9.0f });
    demod_container taken;
    five.get_sample(2, taken);
    expect_data(taken, { 0.0f, 2.0f }, { 5.0f, 7.0f });
    five.get_sample(6, taken);
    expect_data(taken, {}, {});
}

TEST(DemodContainerSample, MayBeTakenIntoItself)
{
    demod_container container = make_four();
    container.get_sample(2, container);
    expect_data(container, { 3.0f, 5.0f }, { 4.0f, -12.0f });
}

TEST(DemodContainerStride, OfZeroIsLoggedAndTakesNothing)
{
    const demod_container container = make_four();
    log_capture_t log;
    EXPECT_EQ(container.cal_rms(0), 0.0f);
    EXPECT_EQ(container.cal_mean(0), 0.0f);
    EXPECT_EQ(container.cal_i_mean(0), 0.0f);
    EXPECT_EQ(find_peak_mag(container, 0), (peaks_t{ 0, 0.0f, 0, 0.0f }));
    EXPECT_EQ(find_i_peak(container, 0), (peaks_t{ 0, 0.0f, 0, 0.0f }));
    float_array i(3);
    float_array q(3);
    container.get_sample(0, i, q);
    EXPECT_TRUE(i.empty());
    EXPECT_TRUE(q.empty());
    demod_container taken = container;
    container.get_sample(0, taken);
    expect_data(taken, {}, {});
    EXPECT_EQ(log.count(common_log::log_level_error, stride_message), 7);
}

TEST(DemodContainer, GoesAsFarAsTheShorterArrayAfterAHostPartedThem)
{
    demod_container container = make_four();
    container.get_q_data().resize(2);
    EXPECT_FLOAT_EQ(container.cal_mean(1), (5.0f + 10.0f) / 4.0f);
    EXPECT_EQ(find_i_peak(container, 1), (peaks_t{ 1, -6.0f, 0, 3.0f }));
    demod_container taken;
    container.get_sample(1, taken);
    expect_data(taken, { 3.0f, -6.0f }, { 4.0f, 8.0f });
    container.remove_begin(3);
    EXPECT_EQ(container.get_num(), 1u);
    EXPECT_TRUE(container.get_q_data().empty());
}
