#include "support/internal/strided_copy.h"

#include "dma_types.h"

#include <gtest/gtest.h>

using namespace vrim;
using namespace vrim::common_lib;

TEST(StridedCopy, PicksAlsoInPlace)
{
    complex_array data = { { 0.0f, 10.0f }, { 1.0f, 11.0f }, { 2.0f, 12.0f }, { 3.0f, 13.0f }, { 4.0f, 14.0f }, { 5.0f, 15.0f } };
    const complex_array expected = { { 0.0f, 10.0f }, { 2.0f, 12.0f }, { 4.0f, 14.0f } };
    complex_array out(3);
    pick_strided(data.data(), 2, 3, out.data());
    EXPECT_EQ(out, expected);
    pick_strided(data.data(), 2, 3, data.data());
    data.resize(3);
    EXPECT_EQ(data, expected);
}

TEST(StridedCopy, SpreadsBetweenWhatStandsThere)
{
    float_array data(7, -1.0f);
    const float_array values = { 1.0f, 2.0f, 3.0f };
    spread_strided(values.data(), 3, 3, data.data());
    EXPECT_EQ(data, (float_array{ 1.0f, -1.0f, -1.0f, 2.0f, -1.0f, -1.0f, 3.0f }));
}
