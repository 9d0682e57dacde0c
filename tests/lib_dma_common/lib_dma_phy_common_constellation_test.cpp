#include "lib_dma_common/lib_dma_phy_common.h"

#include "message_capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>
#include <utility>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using common_t = lib_dma_phy_common_t;

namespace
{
using key_list = std::vector<std::uint32_t>;

constexpr const char* report_16 = "lib_constellation_apsk_t::generate_16apsk_constellation Report: R2/R1 value out of range!\n";
constexpr const char* report_32 =
    "lib_constellation_apsk_t::generate_32apsk_constellation Report: R2/R1 or R3/R1 value out of range!\n";
constexpr const char* report_empty = "lib_constellation_base_t::normalize Report: An EMPTY data map is to normalize!\n";

void expect_ring(const constellation_map& map, const key_list& keys, double radius, double first_degrees)
{
    for (std::size_t i = 0; i < keys.size(); ++i)
    {
        const double degrees = first_degrees + 360.0 * static_cast<double>(i) / static_cast<double>(keys.size());
        const std::complex<double> expected = std::polar(radius, degrees * std::numbers::pi / 180.0);
        // The angle is kept in single precision, up to 7 radians.
        EXPECT_LT(std::abs(std::complex<double>(map.at(keys[i])) - expected), radius * 6.0e-7) << "key " << keys[i];
    }
}

std::string trace_of_16(float r2)
{
    const trace_capture_t trace;
    constellation_map map;
    common_t::generate_16apsk_constellation(map, false, r2, 0.0f, 0.0f);
    EXPECT_EQ(map.size(), 16u);
    return trace.get_text();
}

std::string trace_of_32(float r2, float r3)
{
    const trace_capture_t trace;
    constellation_map map;
    common_t::generate_32apsk_constellation(map, false, r2, r3, 0.0f, 0.0f, 0.0f);
    EXPECT_EQ(map.size(), 32u);
    return trace.get_text();
}
} // namespace

TEST(RingTables, ListTheKeysInRingOrder)
{
    key_list ring1 = { 99 };
    key_list ring2;
    key_list ring3;
    common_t::get_16apsk_symbol_arr(ring1, ring2, false);
    EXPECT_EQ(ring1, (key_list{ 12, 13, 14, 15 }));
    EXPECT_EQ(ring2, (key_list{ 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11 }));
    common_t::get_16apsk_symbol_arr(ring1, ring2, true);
    EXPECT_EQ(ring1, (key_list{ 12, 14, 15, 13 }));
    EXPECT_EQ(ring2, (key_list{ 0, 8, 10, 2, 6, 7, 3, 11, 9, 1, 5, 4 }));
    common_t::get_32apsk_symbol_arr(ring1, ring2, ring3, false);
    EXPECT_EQ(ring1, (key_list{ 28, 29, 30, 31 }));
    EXPECT_EQ(ring2, (key_list{ 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27 }));
    EXPECT_EQ(ring3, (key_list{ 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15 }));
    common_t::get_32apsk_symbol_arr(ring1, ring2, ring3, true);
    EXPECT_EQ(ring1, (key_list{ 17, 21, 23, 19 }));
    EXPECT_EQ(ring2, (key_list{ 0, 1, 5, 4, 20, 22, 6, 7, 3, 2, 18, 16 }));
    EXPECT_EQ(ring3, (key_list{ 8, 25, 9, 13, 29, 12, 28, 30, 14, 31, 15, 11, 27, 10, 26, 24 }));
}

TEST(RingTables, HoldEveryKeyOnce)
{
    for (const bool dvb_order : { false, true })
    {
        key_list ring1;
        key_list ring2;
        key_list ring3;
        common_t::get_32apsk_symbol_arr(ring1, ring2, ring3, dvb_order);
        ring1.insert(ring1.end(), ring2.begin(), ring2.end());
        ring1.insert(ring1.end(), ring3.begin(), ring3.end());
        std::sort(ring1.begin(), ring1.end());
        key_list expected(32);
        std::iota(expected.begin(), expected.end(), 0u);
        EXPECT_EQ(ring1, expected);
    }
}

TEST(Apsk16Points, StandOnTwoRings)
{
    constellation_map map = { { 77, { 1.0f, 0.0f } } };
    common_t::generate_16apsk_constellation(map, false, 2.85f, 0.0f, 0.0f);
    ASSERT_EQ(map.size(), 16u);
    expect_ring(map, { 12, 13, 14, 15 }, 1.0, 45.0);
    expect_ring(map, { 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11 }, static_cast<double>(2.85f), 45.0);
}

TEST(Apsk16Points, TurnEachRingByItsOwnPhase)
{
    constellation_map map;
    common_t::generate_16apsk_constellation(map, true, 3.0f, 0.5f, -0.25f);
    expect_ring(map, { 12, 14, 15, 13 }, 1.0, 45.0 + 0.5 * 180.0 / std::numbers::pi);
    expect_ring(map, { 0, 8, 10, 2, 6, 7, 3, 11, 9, 1, 5, 4 }, 3.0, 45.0 - 0.25 * 180.0 / std::numbers::pi);
}

TEST(Apsk16Points, AreMadeAfterAReportWhenTheRatioIsOutOfRange)
{
    EXPECT_EQ(trace_of_16(1.0f), report_16);
    EXPECT_EQ(trace_of_16(1.2499f), report_16);
    EXPECT_EQ(trace_of_16(1.25f), "");
    EXPECT_EQ(trace_of_16(8.0f), "");
    EXPECT_EQ(trace_of_16(8.001f), report_16);

    const trace_capture_t trace;
    constellation_map map;
    common_t::generate_16apsk_constellation(map, false, 1.0f, 0.0f, 0.0f);
    ASSERT_EQ(map.size(), 16u);
    for (const auto& [key, point] : map)
        EXPECT_NEAR(std::abs(std::complex<double>(point)), 1.0, 2.0e-7) << "key " << key;
}

TEST(Apsk32Points, StandOnThreeRings)
{
    constellation_map map = { { 77, { 1.0f, 0.0f } } };
    common_t::generate_32apsk_constellation(map, false, 2.84f, 5.27f, 0.0f, 0.1f, 0.2f);
    ASSERT_EQ(map.size(), 32u);
    constexpr double degree = 180.0 / std::numbers::pi;
    expect_ring(map, { 28, 29, 30, 31 }, 1.0, 45.0);
    expect_ring(map, { 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27 }, static_cast<double>(2.84f), 45.0 + 0.1 * degree);
    expect_ring(map, { 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15 }, static_cast<double>(5.27f), 22.5 + 0.2 * degree);
}

TEST(Apsk32Points, AreMadeAfterAReportWhenARatioIsOutOfRange)
{
    EXPECT_EQ(trace_of_32(2.0f, 1.8f), report_32); // ring 3 inside ring 2
    EXPECT_EQ(trace_of_32(2.0f, 2.0f), "");
    EXPECT_EQ(trace_of_32(1.25f, 1.5625f), "");
    EXPECT_EQ(trace_of_32(1.25f, 1.56f), report_32);
    EXPECT_EQ(trace_of_32(1.2f, 3.0f), report_32);
    EXPECT_EQ(trace_of_32(8.1f, 9.0f), report_32);
    EXPECT_EQ(trace_of_32(8.0f, 10.0f), "");
    EXPECT_EQ(trace_of_32(2.0f, 10.01f), report_32);
}

TEST(MapNormalization, ScalesToUnitRms)
{
    constellation_map map = { { 1, { 3.0f, 4.0f } }, { 4, { 0.0f, 0.0f } } };
    ASSERT_TRUE(common_t::rms_normalize(map));
    const double rms = std::sqrt(12.5);
    EXPECT_NEAR(static_cast<double>(map.at(1).real()), 3.0 / rms, 1.0e-7);
    EXPECT_NEAR(static_cast<double>(map.at(1).imag()), 4.0 / rms, 1.0e-7);
    EXPECT_EQ(map.at(4), std::complex<float>(0.0f, 0.0f));
    EXPECT_EQ(map.size(), 2u);
}

TEST(MapNormalization, ScalesToALargestAmplitudeOfOne)
{
    constellation_map map = { { 0, { 3.0f, -4.0f } }, { 9, { 0.0f, 1.0f } } };
    ASSERT_TRUE(common_t::amplitude_max_normalize(map));
    EXPECT_NEAR(static_cast<double>(map.at(0).real()), 0.6, 1.0e-7);
    EXPECT_NEAR(static_cast<double>(map.at(0).imag()), -0.8, 1.0e-7);
    EXPECT_NEAR(static_cast<double>(map.at(9).imag()), 0.2, 1.0e-7);
}

TEST(MapNormalization, ReportsAnEmptyMapAndFails)
{
    constellation_map map;
    {
        const trace_capture_t trace;
        EXPECT_FALSE(common_t::rms_normalize(map));
        EXPECT_EQ(trace.get_text(), report_empty);
    }
    const trace_capture_t trace;
    EXPECT_FALSE(common_t::amplitude_max_normalize(map));
    EXPECT_EQ(trace.get_text(), report_empty);
}

TEST(QamNorm, IsTheTableOfTheFormats)
{
    const log_capture_t log;
    const std::pair<std::uint32_t, qam_norm_t> table[] = {
        { 0, { 0.31622776f, 0, 0.22135943f, 0.08f } },    { 9, { 0.31622776f, 0, 0.22135943f, 0.08f } },
        { 1, { 0.2236068f, 1, 0.15652476f, 0.06f } },     { 10, { 0.2236068f, 1, 0.15652476f, 0.06f } },
        { 2, { 0.15430336f, 0, 0.10801235f, 0.03f } },    { 3, { 0.11043153f, 2, 0.055215765f, 0.03f } },
        { 4, { 0.0766965f, 0, 0.05368755f, 0.02f } },     { 5, { 0.05504819f, 4, 0.038533732f, 0.1f } },
        { 6, { 0.03829198f, 0, 0.026804386f, 0.0052f } }, { 7, { 0.027503267f, 8, 0.019252287f, 0.0052f } },
        { 8, { 0.0205412f, 0, 0.01437884f, 0.008f } },
    };
    for (const auto& [format, expected] : table)
    {
        const qam_norm_t norm = common_t::qam_get_norm_param(static_cast<lib_dma_qam_modulation_type_t>(format));
        EXPECT_EQ(norm.grid_unit, expected.grid_unit) << format;
        EXPECT_EQ(norm.cross_shift, expected.cross_shift) << format;
        EXPECT_EQ(norm.mag_threshold, expected.mag_threshold) << format;
        EXPECT_EQ(norm.mag_margin, expected.mag_margin) << format;
    }
    EXPECT_TRUE(log.get_records().empty());
}

TEST(QamNorm, LogsOtherFormatsAndGivesTheFirstRow)
{
    const log_capture_t log;
    for (const std::uint32_t format : { 11u, 13u, 15u, 1000u })
    {
        const qam_norm_t norm = common_t::qam_get_norm_param(static_cast<lib_dma_qam_modulation_type_t>(format));
        EXPECT_EQ(norm.grid_unit, 0.31622776f);
        EXPECT_EQ(norm.mag_margin, 0.08f);
    }
    EXPECT_EQ(log.count(3, "lib_dma_phy_common_t::qam_get_norm_param error!\n"), 4);
}

TEST(ApskNorm, DividesTheThresholdByTheRatio)
{
    const apsk_norm_t norm_16 = common_t::apsk_get_norm_param(LIB_DMA_APSK_16, 2.5f);
    EXPECT_EQ(norm_16.mag_threshold, 0.7f / 2.5f);
    EXPECT_EQ(norm_16.mag_margin, 0.08f);
    const apsk_norm_t norm_32 = common_t::apsk_get_norm_param(LIB_DMA_APSK_32, 0.5f);
    EXPECT_EQ(norm_32.mag_threshold, 1.4f);
    EXPECT_EQ(norm_32.mag_margin, 0.06f);
}

TEST(ApskNorm, LogsAnUnknownFormat)
{
    const log_capture_t log;
    const apsk_norm_t norm = common_t::apsk_get_norm_param(static_cast<lib_dma_apsk_modulation_type_t>(64), 2.0f);
    EXPECT_EQ(norm.mag_threshold, 0.0f);
    EXPECT_EQ(norm.mag_margin, 0.0f);
    EXPECT_EQ(log.count(3, "lib_dma_phy_common_t::apsk_get_norm_param error!\n"), 1);
}
