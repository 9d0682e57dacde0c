#include "lib_dma_phy.h"

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
constexpr const char* report_empty = "lib_constellation_base_t::normalize Report: An EMPTY data map is to normalize!\n";
constexpr const char* report_illegal = "lib_dma_phy_t::generate_apsk_constellation Report: Illegal Constellation Point!\n";

void expect_angle(std::complex<float> point, double radius, double degrees, std::uint32_t key)
{
    const std::complex<double> expected = std::polar(radius, degrees * std::numbers::pi / 180.0);
    EXPECT_LT(std::abs(std::complex<double>(point) - expected), 3.0e-7) << "key " << key;
}

double get_rms(const constellation_map& map)
{
    double power = 0.0;
    for (const auto& [key, point] : map)
        power += std::norm(std::complex<double>(point));
    return std::sqrt(power / static_cast<double>(map.size()));
}

double get_largest(const constellation_map& map)
{
    double largest = 0.0;
    for (const auto& [key, point] : map)
        largest = std::max(largest, std::abs(std::complex<double>(point)));
    return largest;
}

constellation_map make_old_map()
{
    return { { 987654, { 1.0f, 1.0f } } };
}
} // namespace

TEST(DriverConstellation, GivesTheThreePiQuarterFormatTheFourPointsOfQpsk)
{
    lib_dma_phy_t driver;
    constellation_map qpsk = make_old_map();
    constellation_map turned = make_old_map();
    EXPECT_TRUE(driver.generate_psk_constellation(LIB_DMA_MODULATION_PSK_QPSK, 0, qpsk, 0));
    EXPECT_TRUE(driver.generate_psk_constellation(LIB_DMA_MODULATION_PSK_3PI_4_QPSK, 0, turned, 0));
    ASSERT_EQ(qpsk.size(), 4u);
    EXPECT_EQ(qpsk, turned);
    const std::pair<std::uint32_t, double> angles[] = { { 1, 45.0 }, { 0, 135.0 }, { 2, 225.0 }, { 3, 315.0 } };
    for (const auto& [key, degrees] : angles)
        expect_angle(qpsk.at(key), 1.0, degrees, key);
}

TEST(DriverConstellation, GivesEightPskFromAngleZeroForBothFormats)
{
    lib_dma_phy_t driver;
    for (const auto format : { LIB_DMA_MODULATION_PSK_8_PSK, LIB_DMA_MODULATION_PSK_3PI_8_PSK })
    {
        constellation_map map;
        EXPECT_TRUE(driver.generate_psk_constellation(format, 0, map, 0));
        ASSERT_EQ(map.size(), 8u);
        for (const auto& [key, point] : map)
            expect_angle(point, 1.0, 45.0 * key, key);
    }
}

TEST(DriverConstellation, LeavesPskPointsAtTheGeneratedScaleForTypeOne)
{
    lib_dma_phy_t driver;
    constellation_map plain;
    constellation_map generated;
    EXPECT_TRUE(driver.generate_psk_constellation(LIB_DMA_MODULATION_PSK_8_PSK, 0, plain, 1));
    common_lib::lib_constellation_psk_t::generate_default_psk_constellation(8, generated, false);
    EXPECT_EQ(plain, generated);
}

TEST(DriverConstellation, ReportsAnIllegalPskFormatTwiceAndIsStillTrue)
{
    const log_capture_t log;
    const trace_capture_t trace;
    lib_dma_phy_t driver;
    constellation_map map = make_old_map();
    EXPECT_TRUE(driver.generate_psk_constellation(static_cast<lib_dma_psk_modulation_type_t>(3), 0, map, 0));
    EXPECT_TRUE(map.empty());
    EXPECT_EQ(log.count(3, "lib_dma_phy_t::generate_psk_constellation error!\n"), 1);
    EXPECT_EQ(trace.get_text(), report_empty);
}

TEST(DriverConstellation, LogsAnUnknownFormatOfEachGroup)
{
    const log_capture_t log;
    const trace_capture_t trace;
    lib_dma_phy_t driver;
    constellation_map map = make_old_map();
    EXPECT_TRUE(driver.generate_dpsk_constellation(static_cast<lib_dma_dpsk_modulation_type_t>(7), 0, map, 2));
    EXPECT_TRUE(map.empty());
    EXPECT_EQ(log.count(3, "lib_dma_phy_t::generate_dpsk_constellation error!\n"), 1);
    map = make_old_map();
    EXPECT_TRUE(driver.generate_fsk_constellation(static_cast<lib_dma_fsk_modulation_type_t>(3), 0, map, 0));
    EXPECT_TRUE(map.empty());
    EXPECT_EQ(log.count(3, "lib_dma_phy_t::generate_fsk_constellation error!\n"), 1);
    map = make_old_map();
    EXPECT_TRUE(driver.generate_oqpsk_constellation(static_cast<lib_dma_oqpsk_modulation_type_t>(2), 0, map, 0));
    EXPECT_TRUE(map.empty());
    EXPECT_EQ(log.count(3, "lib_dma_phy_t::generate_oqpsk_constellation error!"), 1);
    // Each of the three went on into the scaling.
    EXPECT_EQ(trace.get_text(), std::string(report_empty) + report_empty + report_empty);
}

TEST(DriverConstellation, LogsAnUnknownQamOrAskFormatAndScalesNothing)
{
    const log_capture_t log;
    const trace_capture_t trace;
    lib_dma_phy_t driver;
    constellation_map map = make_old_map();
    EXPECT_TRUE(driver.generate_qam_constellation(LIB_DMA_DVB_QAM_16, 0, map, 0));
    EXPECT_TRUE(map.empty());
    EXPECT_EQ(log.count(3, "lib_dma_phy_t::generate_qam_constellation error!\n"), 1);
    map = make_old_map();
    EXPECT_TRUE(driver.generate_ask_constellation(static_cast<lib_dma_ask_modulation_type_t>(3), 0, map, 0));
    EXPECT_TRUE(map.empty());
    EXPECT_EQ(log.count(3, "lib_dma_phy_t::generate_sk_constellation error!\n"), 1);
    EXPECT_EQ(trace.get_text(), "");
}

TEST(DriverConstellation, MakesQamOfEveryFormatAtTheScaleAskedFor)
{
    const log_capture_t log;
    lib_dma_phy_t driver;
    const std::pair<std::uint32_t, std::size_t> counts[] = { { 0, 16 },   { 1, 32 },  { 2, 64 },   { 3, 128 },
                                                             { 4, 256 },  { 5, 512 }, { 6, 1024 }, { 7, 2048 },
                                                             { 8, 4096 }, { 9, 16 },  { 10, 32 } };
    for (const auto& [format, count] : counts)
    {
        constellation_map map = make_old_map();
        EXPECT_TRUE(driver.generate_qam_constellation(static_cast<lib_dma_qam_modulation_type_t>(format), 0, map, 0));
        EXPECT_EQ(map.size(), count);
        EXPECT_NEAR(get_rms(map), 1.0, 1.0e-7) << format;
        EXPECT_TRUE(driver.generate_qam_constellation(static_cast<lib_dma_qam_modulation_type_t>(format), 0, map, 2));
        EXPECT_NEAR(get_largest(map), 1.0, 1.0e-7) << format;
    }
    EXPECT_TRUE(log.get_records().empty());
}

TEST(DriverConstellation, MakesAskAtTheScaleAskedFor)
{
    lib_dma_phy_t driver;
    for (const auto format : { LIB_DMA_ASK_2, LIB_DMA_ASK_4, LIB_DMA_ASK_8, LIB_DMA_ASK_16 })
    {
        constellation_map map = make_old_map();
        EXPECT_TRUE(driver.generate_ask_constellation(format, 0, map, 0));
        EXPECT_EQ(map.size(), static_cast<std::size_t>(format));
        EXPECT_NEAR(get_rms(map), 1.0, 1.0e-7);
        EXPECT_TRUE(driver.generate_ask_constellation(format, 0, map, 1));
        EXPECT_EQ(map.at(1).real() - map.at(0).real(), 1.0f);
    }
}

TEST(DriverConstellation, MakesTheDpskSets)
{
    lib_dma_phy_t driver;
    constellation_map map = make_old_map();
    EXPECT_TRUE(driver.generate_dpsk_constellation(LIB_DMA_MODULATION_PSK_DBPSK, 0, map, 0));
    ASSERT_EQ(map.size(), 2u);
    EXPECT_EQ(map.at(1), std::complex<float>(1.0f, 0.0f));
    EXPECT_TRUE(driver.generate_dpsk_constellation(LIB_DMA_MODULATION_PSK_DQPSK, 0, map, 0));
    ASSERT_EQ(map.size(), 4u);
    for (const auto& [key, point] : map)
        expect_angle(point, 1.0, 90.0 * key - 45.0, key);
    // The shifted formats have the points of both sets.
    const std::pair<lib_dma_dpsk_modulation_type_t, std::uint32_t> formats[] = { { LIB_DMA_MODULATION_PSK_PI_4_DQPSK, 8 },
                                                                                 { LIB_DMA_MODULATION_PSK_PI_8_D8PSK, 16 },
                                                                                 { LIB_DMA_MODULATION_PSK_D8PSK, 8 } };
    for (const auto& [format, count] : formats)
    {
        EXPECT_TRUE(driver.generate_dpsk_constellation(format, 0, map, 0));
        ASSERT_EQ(map.size(), count);
        for (const auto& [key, point] : map)
            expect_angle(point, 1.0, 360.0 * key / count, key);
    }
}

TEST(DriverConstellation, ScalesFskTonesByTheirRms)
{
    lib_dma_phy_t driver;
    constellation_map map;
    EXPECT_TRUE(driver.generate_fsk_constellation(LIB_DMA_FSK_4, 0, map, 0));
    ASSERT_EQ(map.size(), 4u);
    const double rms = std::sqrt((1.0 + 1.0 / 9.0) / 2.0);
    const double tones[] = { -1.0, -1.0 / 3.0, 1.0, 1.0 / 3.0 };
    for (const auto& [key, point] : map)
        EXPECT_NEAR(static_cast<double>(point.real()), tones[key] / rms, 2.0e-7);
    EXPECT_TRUE(driver.generate_fsk_constellation(LIB_DMA_FSK_64, 0, map, 2));
    EXPECT_EQ(map.size(), 64u);
    EXPECT_NEAR(get_largest(map), 1.0, 1.0e-7);
}

TEST(DriverConstellation, GivesOffsetFormatsTheFourPointsOfQpsk)
{
    lib_dma_phy_t driver;
    constellation_map qpsk;
    driver.generate_psk_constellation(LIB_DMA_MODULATION_PSK_QPSK, 0, qpsk, 0);
    for (const auto format : { LIB_DMA_MODULATION_PSK_OFFSET_QPSK, LIB_DMA_MODULATION_PSK_OFFSET_SHAPED_QPSK })
    {
        constellation_map map = make_old_map();
        EXPECT_TRUE(driver.generate_oqpsk_constellation(format, 0, map, 0));
        EXPECT_EQ(map, qpsk);
    }
}

TEST(DriverConstellation, TakesTheRingRatiosOfApskFromTheSegment)
{
    lib_dma_frame_configure_manager_t frame;
    frame.set_segment_number(2);
    auto& second = frame.get_segment(1).get_format_configure();
    second.set_apsk_format(LIB_DMA_APSK_32);
    second.set_apsk_r2_r1(3.0f);
    second.set_apsk_r3_r1(6.0f);
    lib_dma_phy_t driver;
    driver.set_frame_configure(frame);

    constellation_map map = make_old_map();
    EXPECT_TRUE(driver.generate_apsk_constellation(LIB_DMA_APSK_16, 0, map, 1));
    ASSERT_EQ(map.size(), 16u);
    EXPECT_NEAR(std::abs(std::complex<double>(map.at(0))), static_cast<double>(2.85f), 1.0e-6);
    EXPECT_TRUE(driver.generate_apsk_constellation(LIB_DMA_APSK_32, 1, map, 1));
    ASSERT_EQ(map.size(), 32u);
    expect_angle(map.at(28), 1.0, 45.0, 28);
    EXPECT_NEAR(std::abs(std::complex<double>(map.at(16))), 3.0, 1.0e-6);
    EXPECT_NEAR(std::abs(std::complex<double>(map.at(0))), 6.0, 2.0e-6);
    EXPECT_TRUE(driver.generate_apsk_constellation(LIB_DMA_APSK_32, 1, map, 0));
    EXPECT_NEAR(get_rms(map), 1.0, 3.0e-7);
    EXPECT_TRUE(driver.generate_apsk_constellation(LIB_DMA_APSK_32, 1, map, 2));
    EXPECT_NEAR(get_largest(map), 1.0, 3.0e-7);
}

TEST(DriverConstellation, FailsForAnIllegalApskFormat)
{
    const log_capture_t log;
    const trace_capture_t trace;
    lib_dma_phy_t driver;
    constellation_map map = make_old_map();
    EXPECT_FALSE(driver.generate_apsk_constellation(static_cast<lib_dma_apsk_modulation_type_t>(64), 0, map, 0));
    EXPECT_TRUE(map.empty());
    EXPECT_EQ(trace.get_text(), report_illegal);
    EXPECT_TRUE(log.get_records().empty());
}
