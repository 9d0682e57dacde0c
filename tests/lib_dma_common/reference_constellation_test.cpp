#include "lib_dma_common/reference_constellation.h"

#include "message_capture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <numbers>
#include <utility>

using namespace vrim;
using namespace vrim::dma_demod_lib;

namespace
{
using counts_t = std::vector<std::pair<std::uint32_t, std::size_t>>;

/// Calls a builder for each format; a count of 0 stands for an unknown format.
template <typename format_t, typename make_t>
void expect_counts(const counts_t& counts, make_t make)
{
    const log_capture_t log;
    const trace_capture_t trace;
    for (const auto& [format, count] : counts)
    {
        constellation_map map = { { 1234567, { 1.0f, 0.0f } } };
        EXPECT_EQ(make(static_cast<format_t>(format), map), count != 0) << format;
        EXPECT_EQ(map.size(), count) << format;
    }
    EXPECT_TRUE(log.get_records().empty());
    EXPECT_EQ(trace.get_text(), "");
}
} // namespace

TEST(ReferencePoints, HaveTheCountOfTheFormatAndNoneForAnUnknownOne)
{
    expect_counts<lib_dma_psk_modulation_type_t>({ { 2, 2 }, { 4, 4 }, { 9, 4 }, { 8, 8 }, { 10, 8 }, { 0, 0 }, { 16, 0 } },
                                                 make_psk_points);
    expect_counts<lib_dma_dpsk_modulation_type_t>({ { 2, 2 }, { 4, 4 }, { 5, 8 }, { 6, 16 }, { 8, 8 }, { 0, 0 }, { 7, 0 } },
                                                  make_dpsk_points);
    expect_counts<lib_dma_fsk_modulation_type_t>(
        { { 2, 2 }, { 4, 4 }, { 8, 8 }, { 16, 16 }, { 32, 32 }, { 64, 64 }, { 0, 0 }, { 128, 0 } }, make_fsk_points);
    expect_counts<lib_dma_oqpsk_modulation_type_t>({ { 0, 4 }, { 1, 4 }, { 2, 0 } }, make_oqpsk_points);
    for (const std::uint32_t type : { 0u, 1u, 2u })
    {
        expect_counts<lib_dma_qam_modulation_type_t>({ { 0, 16 },
                                                       { 1, 32 },
                                                       { 2, 64 },
                                                       { 3, 128 },
                                                       { 4, 256 },
                                                       { 5, 512 },
                                                       { 6, 1024 },
                                                       { 7, 2048 },
                                                       { 8, 4096 },
                                                       { 9, 16 },
                                                       { 10, 32 },
                                                       { 11, 0 },
                                                       { 15, 0 },
                                                       { 16, 0 } },
                                                     [type](lib_dma_qam_modulation_type_t format, constellation_map& map)
                                                     { return make_qam_points(format, map, type); });
        expect_counts<lib_dma_ask_modulation_type_t>({ { 2, 2 }, { 4, 4 }, { 8, 8 }, { 16, 16 }, { 0, 0 }, { 32, 0 } },
                                                     [type](lib_dma_ask_modulation_type_t format, constellation_map& map)
                                                     { return make_ask_points(format, map, type); });
    }
}

TEST(ReferencePoints, TurnDqpskOntoTheDiagonals)
{
    constellation_map map;
    ASSERT_TRUE(make_dpsk_points(LIB_DMA_MODULATION_PSK_DQPSK, map));
    for (const auto& [key, point] : map)
    {
        const double angle = (key * 90.0 - 45.0) * std::numbers::pi / 180.0;
        EXPECT_NEAR(static_cast<double>(point.real()), std::cos(angle), 1.0e-7) << key;
        EXPECT_NEAR(static_cast<double>(point.imag()), std::sin(angle), 1.0e-7) << key;
    }
}

TEST(ReferencePoints, AreScaledByTypesZeroAndTwoOnly)
{
    const constellation_map points = { { 0, { 3.0f, 4.0f } }, { 1, { 0.0f, 0.0f } } };
    constellation_map map = points;
    EXPECT_TRUE(normalize_points(map, 0));
    EXPECT_NEAR(static_cast<double>(map.at(0).imag()), 4.0 / std::sqrt(12.5), 2.0e-7);
    map = points;
    EXPECT_TRUE(normalize_points(map, 2));
    EXPECT_NEAR(static_cast<double>(map.at(0).imag()), 0.8, 1.0e-7);
    for (const std::uint32_t type : { 1u, 3u, 77u })
    {
        map = points;
        EXPECT_TRUE(normalize_points(map, type));
        EXPECT_EQ(map, points) << type;
    }
}

TEST(ReferencePoints, ReportAnEmptyMapOnlyWhenItWasToBeScaled)
{
    for (const auto& [type, result] : { std::pair{ 0u, false }, { 1u, true }, { 2u, false } })
    {
        const trace_capture_t trace;
        constellation_map map;
        EXPECT_EQ(normalize_points(map, type), result) << type;
        EXPECT_EQ(trace.get_text().empty(), result) << type;
    }
}
