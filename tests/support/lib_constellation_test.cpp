#include "support/lib_constellation.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <numbers>
#include <set>
#include <utility>

using namespace vrim;
using namespace vrim::common_lib;

namespace
{
constexpr double narrowing_bound = 1.0e-7; // half a step of single precision at 1

constellation_map make_qam(std::uint32_t points, lib_constellation_normalize_type_t type)
{
    constellation_map map;
    lib_constellation_qam_t::generate_default_qam_constellation(points, map, false, type);
    return map;
}

constellation_map make_ask(std::uint32_t points, float spacing, lib_constellation_normalize_type_t type)
{
    constellation_map map;
    lib_constellation_ask_t::generate_default_ask_constellation(points, map, spacing, false, type);
    return map;
}

void expect_angle(std::complex<float> point, double degrees, std::uint32_t key)
{
    const double angle = degrees * std::numbers::pi / 180.0;
    EXPECT_NEAR(static_cast<double>(point.real()), std::cos(angle), narrowing_bound) << "key " << key;
    EXPECT_NEAR(static_cast<double>(point.imag()), std::sin(angle), narrowing_bound) << "key " << key;
}

void expect_keys(const constellation_map& map, std::uint32_t points)
{
    ASSERT_EQ(map.size(), points);
    std::uint32_t expected = 0;
    for (const auto& [key, point] : map)
        EXPECT_EQ(key, expected++);
}

std::pair<int, int> get_odd_parts(std::complex<float> point)
{
    return { static_cast<int>(point.real()), static_cast<int>(point.imag()) };
}

double get_rms(const constellation_map& map)
{
    double power = 0.0;
    for (const auto& [key, point] : map)
        power += std::norm(std::complex<double>(point));
    return std::sqrt(power / static_cast<double>(map.size()));
}
} // namespace

TEST(PskConstellation, HasBpskOnTheRealAxisWithKeyOneAtPlusOne)
{
    constellation_map map;
    lib_constellation_psk_t::generate_default_psk_constellation(2, map, false);
    expect_keys(map, 2);
    EXPECT_EQ(map.at(0), std::complex<float>(-1.0f, 0.0f));
    EXPECT_EQ(map.at(1), std::complex<float>(1.0f, 0.0f));
}

TEST(PskConstellation, HasQpskOnTheDiagonals)
{
    constellation_map map;
    lib_constellation_psk_t::generate_default_psk_constellation(4, map, false);
    expect_keys(map, 4);
    expect_angle(map.at(1), 45.0, 1);
    expect_angle(map.at(0), 135.0, 0);
    expect_angle(map.at(2), 225.0, 2);
    expect_angle(map.at(3), 315.0, 3);
    for (const auto& [key, point] : map)
        EXPECT_EQ(std::abs(point.real()), std::abs(point.imag())) << "key " << key;
}

TEST(PskConstellation, RisesFromAngleZeroForEightPointsAndMore)
{
    for (const std::uint32_t points : { 8u, 16u, 64u })
    {
        constellation_map map;
        lib_constellation_psk_t::generate_default_psk_constellation(points, map, false);
        expect_keys(map, points);
        for (const auto& [key, point] : map)
            expect_angle(point, 360.0 * key / points, key);
    }
}

TEST(PskConstellation, HasExactPointsOnTheAxes)
{
    constellation_map map;
    lib_constellation_psk_t::generate_default_psk_constellation(8, map, false);
    EXPECT_EQ(map.at(0), std::complex<float>(1.0f, 0.0f));
    EXPECT_EQ(map.at(2), std::complex<float>(0.0f, 1.0f));
    EXPECT_EQ(map.at(4), std::complex<float>(-1.0f, 0.0f));
    EXPECT_EQ(map.at(6), std::complex<float>(0.0f, -1.0f));
}

TEST(PskConstellation, LeavesTheMapEmptyForACountThatIsNoPowerOfTwo)
{
    for (const std::uint32_t points : { 0u, 1u, 3u, 12u })
    {
        constellation_map map = { { 5, { 1.0f, 1.0f } } };
        lib_constellation_psk_t::generate_default_psk_constellation(points, map, false);
        EXPECT_TRUE(map.empty()) << points;
        map = { { 5, { 1.0f, 1.0f } } };
        lib_constellation_dpsk_t::generate_default_dpsk_constellation(points, map, false);
        EXPECT_TRUE(map.empty()) << points;
    }
}

TEST(DpskConstellation, HasKeyOneOfTwoPointsAtAngleZero)
{
    constellation_map map;
    lib_constellation_dpsk_t::generate_default_dpsk_constellation(2, map, false);
    expect_keys(map, 2);
    EXPECT_EQ(map.at(1), std::complex<float>(1.0f, 0.0f));
    EXPECT_EQ(map.at(0), std::complex<float>(-1.0f, 0.0f));
}

TEST(DpskConstellation, RisesFromAngleZeroForFourPointsAndMore)
{
    for (const std::uint32_t points : { 4u, 8u, 16u })
    {
        constellation_map map;
        lib_constellation_dpsk_t::generate_default_dpsk_constellation(points, map, false);
        expect_keys(map, points);
        for (const auto& [key, point] : map)
            expect_angle(point, 360.0 * key / points, key);
    }
}

TEST(FskConstellation, RisesFromTheLowestToneAndFallsFromTheHighest)
{
    const std::vector<std::vector<double>> expected = {
        { -1.0, 1.0 },
        { -1.0, -1.0 / 3.0, 1.0, 1.0 / 3.0 },
        { -1.0, -5.0 / 7.0, -3.0 / 7.0, -1.0 / 7.0, 1.0, 5.0 / 7.0, 3.0 / 7.0, 1.0 / 7.0 },
    };
    for (const auto& tones : expected)
    {
        constellation_map map;
        lib_constellation_fsk_t::generate_default_fsk_constellation(static_cast<std::uint32_t>(tones.size()), map, false);
        expect_keys(map, static_cast<std::uint32_t>(tones.size()));
        for (const auto& [key, point] : map)
        {
            EXPECT_NEAR(static_cast<double>(point.real()), tones[key], narrowing_bound) << tones.size() << " tones, key " << key;
            EXPECT_EQ(point.imag(), 0.0f);
        }
    }
}

TEST(FskConstellation, HasEquallySpacedTonesForSixtyFour)
{
    constellation_map map;
    lib_constellation_fsk_t::generate_default_fsk_constellation(64, map, false);
    std::set<float> tones;
    for (const auto& [key, point] : map)
        tones.insert(point.real());
    ASSERT_EQ(tones.size(), 64u);
    int k = 0;
    for (const float tone : tones)
        EXPECT_NEAR(static_cast<double>(tone), -1.0 + 2.0 * k++ / 63.0, narrowing_bound);
}

TEST(FskConstellation, LeavesTheMapEmptyForAnOddCount)
{
    for (const std::uint32_t points : { 0u, 1u, 5u })
    {
        constellation_map map = { { 0, { 1.0f, 0.0f } } };
        lib_constellation_fsk_t::generate_default_fsk_constellation(points, map, false);
        EXPECT_TRUE(map.empty()) << points;
    }
}

TEST(AskConstellation, HasLevelsZeroAndOneForTwoPoints)
{
    const constellation_map map = make_ask(2, 1.0f, constellation_normalize_none);
    expect_keys(map, 2);
    EXPECT_EQ(map.at(0), std::complex<float>(0.0f, 0.0f));
    EXPECT_EQ(map.at(1), std::complex<float>(1.0f, 0.0f));
    EXPECT_NEAR(static_cast<double>(make_ask(2, 1.0f, constellation_normalize_rms).at(1).real()), std::sqrt(2.0), 2.0e-7);
}

TEST(AskConstellation, HasLevelsFromOneUpwardsOverTheirRms)
{
    for (const std::uint32_t points : { 4u, 8u, 16u })
    {
        // Sum of the squares 1 ... M is M (M + 1) (2 M + 1) / 6.
        const double rms = std::sqrt((points + 1.0) * (2.0 * points + 1.0) / 6.0);
        const constellation_map plain = make_ask(points, 1.0f, constellation_normalize_none);
        const constellation_map scaled = make_ask(points, 1.0f, constellation_normalize_rms);
        const constellation_map peak = make_ask(points, 1.0f, constellation_normalize_max);
        expect_keys(scaled, points);
        for (std::uint32_t key = 0; key < points; ++key)
        {
            EXPECT_EQ(plain.at(key), std::complex<float>(static_cast<float>(key + 1), 0.0f));
            EXPECT_NEAR(static_cast<double>(scaled.at(key).real()), (key + 1) / rms, 2.0e-7) << points << " levels, key " << key;
            EXPECT_NEAR(static_cast<double>(peak.at(key).real()), (key + 1.0) / points, narrowing_bound);
        }
    }
}

TEST(AskConstellation, TakesTheSpacingIntoUnscaledLevelsOnly)
{
    EXPECT_EQ(make_ask(4, 2.5f, constellation_normalize_none).at(3).real(), 10.0f);
    EXPECT_NEAR(static_cast<double>(make_ask(4, 2.5f, constellation_normalize_rms).at(3).real()), 4.0 / std::sqrt(7.5), 2.0e-7);
}

TEST(AskConstellation, IsEmptyForNoPoints)
{
    for (const lib_constellation_normalize_type_t type : { 0u, 1u, 2u })
        EXPECT_TRUE(make_ask(0, 1.0f, type).empty());
}

TEST(QamConstellation, HasUnitRmsAndTheDistanceOfItsGrid)
{
    // 1 / unit^2 is the mean of the squared odd coordinates.
    const std::pair<std::uint32_t, double> power[] = { { 4, 2.0 },       { 16, 10.0 },    { 32, 20.0 },   { 64, 42.0 },
                                                       { 128, 82.0 },    { 256, 170.0 },  { 512, 330.0 }, { 1024, 682.0 },
                                                       { 2048, 1322.0 }, { 4096, 2730.0 } };
    for (const auto& [points, mean_square] : power)
    {
        const constellation_map map = make_qam(points, constellation_normalize_rms);
        expect_keys(map, points);
        EXPECT_NEAR(get_rms(map), 1.0, 1.0e-7) << points;
        const double unit = 1.0 / std::sqrt(mean_square);
        for (const auto& [key, point] : map)
        {
            const double x = static_cast<double>(point.real()) / unit;
            const double y = static_cast<double>(point.imag()) / unit;
            const double odd_x = 2.0 * std::floor(x / 2.0) + 1.0;
            const double odd_y = 2.0 * std::floor(y / 2.0) + 1.0;
            ASSERT_NEAR(x, odd_x, 1.0e-5) << points << " points, key " << key;
            ASSERT_NEAR(y, odd_y, 1.0e-5) << points << " points, key " << key;
        }
    }
}

TEST(QamConstellation, FillsTheSquareOrTheCrossAndNothingElse)
{
    struct shape_t
    {
        std::uint32_t points;
        int side;
        int corner;
    };
    for (const shape_t shape : { shape_t{ 4, 2, 0 },
                                 { 16, 4, 0 },
                                 { 64, 8, 0 },
                                 { 256, 16, 0 },
                                 { 1024, 32, 0 },
                                 { 4096, 64, 0 },
                                 { 32, 6, 1 },
                                 { 128, 12, 2 },
                                 { 512, 24, 4 },
                                 { 2048, 48, 8 } })
    {
        std::set<std::pair<int, int>> expected;
        for (int column = 0; column < shape.side; ++column)
        {
            for (int row = 0; row < shape.side; ++row)
            {
                const bool outer_column = column < shape.corner || column >= shape.side - shape.corner;
                const bool outer_row = row < shape.corner || row >= shape.side - shape.corner;
                if (!(outer_column && outer_row))
                    expected.insert({ 2 * column - shape.side + 1, 2 * row - shape.side + 1 });
            }
        }
        std::set<std::pair<int, int>> places;
        for (const auto& [key, point] : make_qam(shape.points, constellation_normalize_none))
            places.insert(get_odd_parts(point));
        EXPECT_EQ(expected.size(), shape.points);
        EXPECT_EQ(places, expected) << shape.points;
    }
}

TEST(QamConstellation, LabelsSquareSetsWithGrayCodesOfColumnAndRow)
{
    const constellation_map map = make_qam(16, constellation_normalize_none);
    // Columns and rows of -3, -1, 1, 3 have the codes 00, 01, 11, 10.
    EXPECT_EQ(get_odd_parts(map.at(0b0000)), std::make_pair(-3, -3));
    EXPECT_EQ(get_odd_parts(map.at(0b0001)), std::make_pair(-3, -1));
    EXPECT_EQ(get_odd_parts(map.at(0b0010)), std::make_pair(-3, 3));
    EXPECT_EQ(get_odd_parts(map.at(0b1000)), std::make_pair(3, -3));
    EXPECT_EQ(get_odd_parts(map.at(0b1101)), std::make_pair(1, -1));
    EXPECT_EQ(get_odd_parts(map.at(0b0111)), std::make_pair(-1, 1));
}

TEST(QamConstellation, FoldsTheOuterColumnsOfThirtyTwoPoints)
{
    const constellation_map map = make_qam(32, constellation_normalize_none);
    // Column codes 000 ... stand for -7, -5 ...; -7 is folded to the bottom and the top.
    EXPECT_EQ(get_odd_parts(map.at(0b00000)), std::make_pair(-3, -5));
    EXPECT_EQ(get_odd_parts(map.at(0b00001)), std::make_pair(-1, -5));
    EXPECT_EQ(get_odd_parts(map.at(0b00011)), std::make_pair(-1, 5));
    EXPECT_EQ(get_odd_parts(map.at(0b00010)), std::make_pair(-3, 5));
    EXPECT_EQ(get_odd_parts(map.at(0b00100)), std::make_pair(-5, -3));
    EXPECT_EQ(get_odd_parts(map.at(0b10000)), std::make_pair(3, -5));
}

TEST(QamConstellation, DiffersByOneBitBetweenNeighboursOfTheRectangle)
{
    for (const std::uint32_t points : { 16u, 32u, 64u, 128u, 256u, 512u, 1024u, 2048u, 4096u })
    {
        const bool cross = std::bit_width(points) % 2 == 0;
        // The unfolded rows of a cross of side 6 c are the 4 c in the middle.
        const int side = cross ? 6 << ((std::bit_width(points) - 6) / 2) : 1 << ((std::bit_width(points) - 1) / 2);
        const int rows = cross ? side * 2 / 3 : side;
        std::map<std::pair<int, int>, std::uint32_t> keys;
        for (const auto& [key, point] : make_qam(points, constellation_normalize_none))
            keys[get_odd_parts(point)] = key;
        std::size_t checked = 0;
        for (const auto& [place, key] : keys)
        {
            if (std::abs(place.second) >= rows)
                continue;
            const auto right = keys.find({ place.first + 2, place.second });
            const auto above = keys.find({ place.first, place.second + 2 });
            if (right != keys.end())
            {
                EXPECT_EQ(std::popcount(key ^ right->second), 1) << points << " points, key " << key;
                ++checked;
            }
            if (above != keys.end() && above->first.second < rows)
            {
                EXPECT_EQ(std::popcount(key ^ above->second), 1) << points << " points, key " << key;
                ++checked;
            }
        }
        EXPECT_EQ(checked, static_cast<std::size_t>((side - 1) * rows + side * (rows - 1))) << points;
    }
}

TEST(QamConstellation, ScalesTheLargestAmplitudeToOne)
{
    for (const std::uint32_t points : { 16u, 32u, 128u, 4096u })
    {
        double largest = 0.0;
        for (const auto& [key, point] : make_qam(points, constellation_normalize_max))
            largest = std::max(largest, std::abs(std::complex<double>(point)));
        EXPECT_NEAR(largest, 1.0, 1.0e-7) << points;
    }
}

TEST(QamConstellation, LeavesTheMapEmptyForOtherCounts)
{
    for (const std::uint32_t points : { 0u, 1u, 2u, 8u, 15u, 17u, 100u, 8192u, 16384u, 0x80000000u, 0xffffffffu })
    {
        constellation_map map = { { 0, { 1.0f, 0.0f } } };
        lib_constellation_qam_t::generate_default_qam_constellation(points, map, false, constellation_normalize_rms);
        EXPECT_TRUE(map.empty()) << points;
    }
}

TEST(ConstellationValidity, IsMinusFourForTwoKeysWithTheSamePoint)
{
    EXPECT_EQ(lib_constellation_base_t::check_constellation_map_validity(
                  { { 0, { 1.0f, 0.0f } }, { 1, { 0.0f, 1.0f } }, { 2, { 1.0f, 0.0f } } }),
              -4);
    EXPECT_EQ(lib_constellation_base_t::check_constellation_map_validity({ { 0, { 0.0f, 1.0f } }, { 1, { -0.0f, 1.0f } } }), -4);
}

TEST(ConstellationValidity, IsZeroForDistinctPointsAndForNone)
{
    EXPECT_EQ(lib_constellation_base_t::check_constellation_map_validity({}), 0);
    EXPECT_EQ(lib_constellation_base_t::check_constellation_map_validity({ { 0, { 1.0f, 0.0f } }, { 1, { 1.0f, 1.0f } } }), 0);
    EXPECT_EQ(lib_constellation_base_t::check_constellation_map_validity(make_qam(1024, constellation_normalize_rms)), 0);
}

TEST(ConstellationValidity, TakesPointsThatAreNotANumberAsDistinct)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(lib_constellation_base_t::check_constellation_map_validity({ { 0, { nan, 0.0f } }, { 1, { nan, 0.0f } } }), 0);
    EXPECT_EQ(lib_constellation_base_t::check_constellation_map_validity(
                  { { 0, { 2.0f, 0.0f } }, { 1, { nan, 0.0f } }, { 2, { 2.0f, 0.0f } } }),
              -4);
}
