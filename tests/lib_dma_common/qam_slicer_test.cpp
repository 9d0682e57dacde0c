#include "lib_dma_common/qam_slicer.h"

#include "support/lib_constellation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <map>
#include <random>
#include <tuple>
#include <utility>
#include <vector>

using namespace vrim;
using vrim::dma_demod_lib::qam_slicer_t;

namespace
{
constexpr float infinity = std::numeric_limits<float>::infinity();
const float nan_value = std::numeric_limits<float>::quiet_NaN();
const std::uint32_t small_sets[] = { 16, 32, 64, 128, 256, 512, 1024 };
const std::uint32_t all_sets[] = { 16, 32, 64, 128, 256, 512, 1024, 2048, 4096 };

/// A set at unit rms, the slicer of it, and the plain walk over the map in key order.
class qam_set_t
{
public:
    explicit qam_set_t(std::uint32_t points) : count_(points)
    {
        common_lib::lib_constellation_qam_t::generate_default_qam_constellation(points, map, false,
                                                                                common_lib::constellation_normalize_rms);
        slicer.load(points, map);
        for (const auto& [key, point] : map)
        {
            re_.push_back(point.real());
            im_.push_back(point.imag());
        }
        while ((1u << bits_) < points)
            ++bits_;
        const double n = points;
        if (is_cross())
        {
            arm = 1 << ((bits_ - 1) / 2); // columns that reach all the way up
            side = 3 * arm / 2;
            unit = 1.0 / std::sqrt(2.0 / 3.0 * (31.0 / 32.0 * n - 1.0));
        }
        else
        {
            side = 1 << (bits_ / 2);
            arm = side;
            unit = 1.0 / std::sqrt(2.0 / 3.0 * (n - 1.0));
        }
        for (const auto& [key, point] : map)
            place_[{ get_place(point.real()), get_place(point.imag()) }] = point;
    }

    bool is_cross() const { return bits_ % 2 == 1; }
    /// Half the width of the set.
    float get_edge() const { return static_cast<float>(side * unit); }
    /// Point at odd coordinates; null where there is none.
    const std::complex<float>* find(int x, int y) const
    {
        const auto found = place_.find({ x, y });
        return found == place_.end() ? nullptr : &found->second;
    }

    template <typename number_t>
    std::uint32_t walk(std::complex<float> value) const
    {
        std::vector<number_t>& distance = std::get<std::vector<number_t>>(scratch_);
        distance.resize(re_.size());
        const number_t re = static_cast<number_t>(value.real());
        const number_t im = static_cast<number_t>(value.imag());
        for (std::size_t i = 0; i < re_.size(); ++i)
        {
            const number_t dr = static_cast<number_t>(re_[i]) - re;
            const number_t di = static_cast<number_t>(im_[i]) - im;
            distance[i] = dr * dr + di * di;
        }
        std::uint32_t best = 0;
        number_t least = std::numeric_limits<number_t>::max();
        for (std::size_t i = 0; i < distance.size(); ++i)
        {
            if (distance[i] < least)
            {
                least = distance[i];
                best = static_cast<std::uint32_t>(i);
            }
        }
        return best;
    }

    /// Asks for a value in every way. @return whether all were right
    bool check(std::complex<float> value) const
    {
        const std::uint32_t in_double = walk<double>(value);
        const std::uint32_t in_single = walk<float>(value);
        const bool right = slicer.decide_number(value) == in_double && slicer.decide_index(value) == in_single &&
                           slicer.decide_point(value) == map.at(in_double);
        EXPECT_TRUE(right) << count_ << " points, value " << value << ": number " << slicer.decide_number(value) << " for "
                           << in_double << ", index " << slicer.decide_index(value) << " for " << in_single;
        return right;
    }

    /// A value, and what lies one step of single precision from it on either rail.
    bool check_around(std::complex<float> value) const
    {
        bool right = true;
        for (const float side_re : { -infinity, value.real(), infinity })
        {
            for (const float side_im : { -infinity, value.imag(), infinity })
                right = right && check({ std::nextafter(value.real(), side_re), std::nextafter(value.imag(), side_im) });
        }
        return right;
    }

    /// The same on one rail at a time.
    bool check_across(std::complex<float> value) const
    {
        bool right = check(value);
        for (const float towards : { -infinity, infinity })
        {
            right = right && check({ std::nextafter(value.real(), towards), value.imag() });
            right = right && check({ value.real(), std::nextafter(value.imag(), towards) });
        }
        return right;
    }

    constellation_map map;
    qam_slicer_t slicer;
    int side = 0; ///< points a side of the square around the set
    int arm = 0;  ///< points a side of the square within the missing corners
    double unit = 0.0;

private:
    int get_place(float rail) const { return static_cast<int>(std::lround(static_cast<double>(rail) / unit)); }

    std::uint32_t count_;
    unsigned bits_ = 0;
    float_array re_;
    float_array im_;
    std::map<std::pair<int, int>, std::complex<float>> place_;
    mutable std::pair<std::vector<double>, std::vector<float>> scratch_;
};

/// Halfway between two neighbours, and between four.
template <typename check_t>
void check_midpoints(const qam_set_t& set, check_t&& check)
{
    for (int x = 1 - set.side; x < set.side; x += 2)
    {
        for (int y = 1 - set.side; y < set.side; y += 2)
        {
            const std::complex<float>* here = set.find(x, y);
            if (here == nullptr)
                continue;
            const std::complex<float>* right = set.find(x + 2, y);
            const std::complex<float>* above = set.find(x, y + 2);
            const std::complex<float>* across = set.find(x + 2, y + 2);
            ASSERT_TRUE(right == nullptr || check((*here + *right) * 0.5f));
            ASSERT_TRUE(above == nullptr || check((*here + *above) * 0.5f));
            const bool four = right != nullptr && above != nullptr && across != nullptr;
            ASSERT_TRUE(!four || check((*here + *right + *above + *across) * 0.25f));
        }
    }
}

/// 100,000 values in all: over the set, up to three times as far out, and far out.
void check_random_values(std::uint32_t points)
{
    const qam_set_t set(points);
    std::mt19937 generator(points);
    const std::pair<float, int> ranges[] = { { 1.0f, 60000 }, { 1.1f, 15000 }, { 3.0f, 16000 },
                                             { 1e3f, 3000 },  { 1e6f, 3000 },  { 1e30f, 3000 } };
    for (const auto& [range, count] : ranges)
    {
        std::uniform_real_distribution<float> part(-range * set.get_edge(), range * set.get_edge());
        for (int i = 0; i < count; ++i)
        {
            const float re = part(generator);
            ASSERT_TRUE(set.check({ re, part(generator) })) << "range " << range << ", value " << i;
        }
    }
}
} // namespace

TEST(QamSlicer, KnowsTheSetAsItIs)
{
    // The helper above is right about the grids: every place of square or cross has its point.
    for (const std::uint32_t points : all_sets)
    {
        const qam_set_t set(points);
        std::uint32_t count = 0;
        for (int x = 1 - set.side; x < set.side; x += 2)
        {
            for (int y = 1 - set.side; y < set.side; y += 2)
            {
                const bool expected = std::abs(x) < set.arm || std::abs(y) < set.arm;
                ASSERT_EQ(set.find(x, y) != nullptr, expected) << points << " points at " << x << ", " << y;
                count += expected;
            }
        }
        EXPECT_EQ(count, points);
        EXPECT_FALSE(set.slicer.empty());
    }
}

TEST(QamSlicer, EqualsTheWalkForRandomValues)
{
    for (const std::uint32_t points : small_sets)
        check_random_values(points);
}

TEST(QamSlicer, EqualsTheWalkForRandomValuesOf2048Points)
{
    check_random_values(2048);
}

TEST(QamSlicer, EqualsTheWalkForRandomValuesOf4096Points)
{
    check_random_values(4096);
}

TEST(QamSlicer, DecidesEveryPointAsItself)
{
    for (const std::uint32_t points : all_sets)
    {
        const qam_set_t set(points);
        for (const auto& [key, point] : set.map)
        {
            ASSERT_EQ(set.slicer.decide_number(point), key) << points;
            ASSERT_EQ(set.slicer.decide_index(point), key) << points;
            ASSERT_EQ(set.slicer.decide_point(point), point) << points;
        }
    }
}

TEST(QamSlicer, EqualsTheWalkHalfwayBetweenNeighbours)
{
    for (const std::uint32_t points : small_sets)
    {
        const qam_set_t set(points);
        check_midpoints(set, [&set](std::complex<float> value) { return set.check_around(value); });
    }
}

TEST(QamSlicer, EqualsTheWalkHalfwayBetweenNeighboursOf2048Points)
{
    const qam_set_t set(2048);
    check_midpoints(set, [&set](std::complex<float> value) { return set.check_across(value); });
}

TEST(QamSlicer, EqualsTheWalkHalfwayBetweenNeighboursOf4096Points)
{
    const qam_set_t set(4096);
    check_midpoints(set, [&set](std::complex<float> value) { return set.check_across(value); });
}

TEST(QamSlicer, EqualsTheWalkAtTheBordersOfTheGrid)
{
    // Multiples of twice the unit as single precision has them, inside and beyond the set.
    for (const std::uint32_t points : all_sets)
    {
        const qam_set_t set(points);
        std::mt19937 generator(points + 1);
        std::uniform_int_distribution<int> border(-set.side - 4, set.side + 4);
        std::uniform_real_distribution<double> place(-set.side - 4.0, set.side + 4.0);
        for (int i = 0; i < 300; ++i)
        {
            const float even = static_cast<float>(2 * (border(generator) / 2) * set.unit);
            const float other = static_cast<float>(place(generator) * set.unit);
            ASSERT_TRUE(set.check_around({ even, other }));
            ASSERT_TRUE(set.check_around({ other, even }));
            ASSERT_TRUE(set.check_around({ even, -even }));
        }
        ASSERT_TRUE(set.check_around({ 0.0f, 0.0f }));
    }
}

TEST(QamSlicer, EqualsTheWalkInTheMissingCorners)
{
    for (const std::uint32_t points : { 32u, 128u, 512u, 2048u })
    {
        const qam_set_t set(points);
        std::mt19937 generator(points + 2);
        std::uniform_real_distribution<double> place(static_cast<double>(set.arm), 2.0 * set.side);
        std::uniform_int_distribution<int> quadrant(0, 3);
        for (int i = 0; i < 8000; ++i)
        {
            const int turn = quadrant(generator);
            const float sign_re = turn & 1 ? 1.0f : -1.0f;
            const float sign_im = turn & 2 ? 1.0f : -1.0f;
            const float re = static_cast<float>(place(generator) * set.unit);
            const float im = static_cast<float>(place(generator) * set.unit);
            ASSERT_TRUE(set.check({ sign_re * re, sign_im * im }));
            // The diagonal, where both bars are equally near.
            ASSERT_TRUE(i % 16 != 0 || set.check_around({ sign_re * re, sign_im * re }));
        }
        // The inner edges of the corners, and their tip.
        const float tip = static_cast<float>(set.arm * set.unit);
        for (const float edge : { tip, -tip })
        {
            ASSERT_TRUE(set.check_around({ edge, edge }));
            ASSERT_TRUE(set.check_around({ edge, -edge }));
            for (int i = 0; i < 50; ++i)
            {
                const float along = static_cast<float>(place(generator) * set.unit);
                ASSERT_TRUE(set.check_around({ edge, along }));
                ASSERT_TRUE(set.check_around({ along, edge }));
            }
        }
    }
}

TEST(QamSlicer, EqualsTheWalkAcrossTheDistanceWhereRoundingDecides)
{
    // Borders carried outwards: here single-precision distances tie long before double ones do.
    for (const std::uint32_t points : all_sets)
    {
        const qam_set_t set(points);
        std::mt19937 generator(points + 3);
        std::uniform_int_distribution<int> border(-set.side, set.side);
        std::uniform_real_distribution<double> exponent(0.0, 5.0);
        for (int i = 0; i < 400; ++i)
        {
            const float even = static_cast<float>(2 * (border(generator) / 2) * set.unit);
            const float far = static_cast<float>(std::pow(10.0, exponent(generator))) * set.get_edge();
            ASSERT_TRUE(set.check_around({ even, far }));
            ASSERT_TRUE(set.check_around({ -far, even }));
        }
    }
}

TEST(QamSlicer, EqualsTheWalkForWhatIsNoNumber)
{
    const float largest = std::numeric_limits<float>::max();
    const float least = std::numeric_limits<float>::denorm_min();
    for (const std::uint32_t points : all_sets)
    {
        const qam_set_t set(points);
        for (const float re : { nan_value, infinity, -infinity, largest, -largest, least, -least, 0.0f, -0.0f, 0.3f })
        {
            for (const float im : { nan_value, infinity, -infinity, largest, -largest, least, -least, 0.0f, -0.0f, -0.7f })
                ASSERT_TRUE(set.check({ re, im }));
        }
        EXPECT_EQ(set.slicer.decide_number({ nan_value, 0.1f }), 0u);
        EXPECT_EQ(set.slicer.decide_index({ 0.1f, infinity }), 0u);
    }
}

TEST(QamSlicer, GivesTheLowestKeyInTheMiddle)
{
    // Four points are equally near to 0, to the last bit.
    for (const std::uint32_t points : all_sets)
    {
        const qam_set_t set(points);
        std::uint32_t lowest = points;
        for (const auto& [key, point] : set.map)
        {
            const float reach = static_cast<float>(1.5 * set.unit);
            if (std::abs(point.real()) < reach && std::abs(point.imag()) < reach)
                lowest = std::min(lowest, key);
        }
        EXPECT_EQ(set.slicer.decide_number({ 0.0f, 0.0f }), lowest) << points;
        EXPECT_EQ(set.slicer.decide_index({ 0.0f, -0.0f }), lowest) << points;
    }
}

TEST(QamSlicer, AnswersZeroWhenEmpty)
{
    qam_slicer_t slicer;
    EXPECT_TRUE(slicer.empty());
    EXPECT_EQ(slicer.decide_point({ 1.0f, 1.0f }), std::complex<float>(0.0f, 0.0f));
    EXPECT_EQ(slicer.decide_index({ 1.0f, 1.0f }), 0u);
    slicer.load(16, qam_set_t(16).map);
    EXPECT_FALSE(slicer.empty());
    slicer.load(0, {});
    EXPECT_TRUE(slicer.empty());
    EXPECT_EQ(slicer.decide_point({ 1.0f, 1.0f }), std::complex<float>(0.0f, 0.0f));
    slicer.load(64, qam_set_t(64).map);
    slicer.clear();
    EXPECT_TRUE(slicer.empty());
    EXPECT_EQ(slicer.decide_index({ 1.0f, 1.0f }), 0u);
}

TEST(QamSlicer, ServesTheSetThatWasLoadedLast)
{
    qam_slicer_t slicer;
    for (const std::uint32_t points : { 4096u, 32u, 16u, 128u })
    {
        const qam_set_t set(points);
        slicer.load(points, set.map);
        for (const auto& [key, point] : set.map)
            ASSERT_EQ(slicer.decide_number(point), key) << points;
    }
}

TEST(QamSlicer, WalksOverSetsWithoutAGrid)
{
    const constellation_map triangle = { { 0, { 1.0f, 0.0f } }, { 1, { -0.5f, 0.8f } }, { 2, { -0.5f, -0.8f } } };
    qam_slicer_t slicer;
    slicer.load(3, triangle);
    for (const auto& [key, point] : triangle)
    {
        EXPECT_EQ(slicer.decide_number(point), key);
        EXPECT_EQ(slicer.decide_index(point * 5.0f), key);
        EXPECT_EQ(slicer.decide_point(point * 0.1f), point);
    }
    // A map that is not the one the count names.
    slicer.load(16, triangle);
    EXPECT_EQ(slicer.decide_number({ -1.0f, 1.0f }), 1u);
    EXPECT_EQ(slicer.decide_index({ -1.0f, -1.0f }), 2u);
}

TEST(QamSlicer, DecidesManyAtOnceAsOneByOne)
{
    std::mt19937 generator(12);
    std::normal_distribution<float> part;
    for (const std::uint32_t points : all_sets)
    {
        const qam_set_t set(points);
        // Not a whole count of blocks; borders, far values and what is no number among the others.
        complex_array values(333);
        for (std::complex<float>& value : values)
            value = { part(generator), part(generator) };
        values[3] = { 0.0f, 0.0f };
        values[70] = { 30.0f, -0.1f };
        values[200] = { nan_value, 0.3f };
        values[332] = { -0.2f, infinity };
        std::vector<std::uint32_t> indices;
        set.slicer.decide_indices(values, indices);
        complex_array decided = values;
        set.slicer.decide_points(decided);
        ASSERT_EQ(indices.size(), values.size());
        for (std::size_t i = 0; i < values.size(); ++i)
        {
            EXPECT_EQ(indices[i], set.walk<float>(values[i])) << points << " points, value " << values[i];
            EXPECT_EQ(decided[i], set.map.at(set.walk<double>(values[i]))) << points << " points, value " << values[i];
        }
    }
}

TEST(QamSlicer, DecidesManyWithoutAGridToo)
{
    qam_slicer_t slicer;
    complex_array values(100, { 0.9f, 0.2f });
    std::vector<std::uint32_t> indices(3, 7);
    slicer.decide_indices(values, indices);
    EXPECT_EQ(indices, std::vector<std::uint32_t>(100, 0));
    slicer.decide_points(values);
    EXPECT_EQ(values, complex_array(100, { 0.0f, 0.0f }));

    slicer.load(3, { { 0, { -1.0f, 0.0f } }, { 1, { 1.0f, 0.0f } }, { 2, { 0.0f, 1.0f } } });
    values.assign(100, { 0.9f, 0.2f });
    slicer.decide_indices(values, indices);
    EXPECT_EQ(indices, std::vector<std::uint32_t>(100, 1));
    slicer.decide_points(values);
    EXPECT_EQ(values, complex_array(100, { 1.0f, 0.0f }));
}

TEST(QamSlicer, DecidesAlikeWithinTheClearanceOfACell)
{
    std::mt19937 generator(11);
    for (const std::uint32_t points : all_sets)
    {
        const qam_set_t set(points);
        EXPECT_NEAR(set.slicer.get_scale() * set.unit, 1.0, 1e-12);
        std::uniform_real_distribution<double> place(-set.side - 1.5, set.side + 1.5);
        std::uniform_real_distribution<double> angle(-3.2, 3.2);
        int clear = 0;
        for (int i = 0; i < 400; ++i)
        {
            const double x = place(generator);
            const double y = place(generator);
            const qam_slicer_t::cell_t cell = set.slicer.find_cell(x, y);
            EXPECT_LE(cell.clearance, 1.0f);
            if (!(cell.clearance > 0.0f))
                continue;
            ++clear;
            for (const double share : { 0.0, 0.5, 1.0 })
            {
                const double direction = angle(generator);
                const double step = share * static_cast<double>(cell.clearance);
                const std::complex<float> value(static_cast<float>((x + step * std::cos(direction)) * set.unit),
                                                static_cast<float>((y + step * std::sin(direction)) * set.unit));
                EXPECT_EQ(set.slicer.decide_number(value), cell.key) << points << ", " << x << ", " << y;
                EXPECT_EQ(set.walk<double>(value), cell.key) << points << ", " << x << ", " << y;
            }
        }
        EXPECT_GT(clear, 200) << points; // the missing corners, the borders and what lies too far out are not
    }
}

TEST(QamSlicer, TellsHowFarTheMiddleOfACellIsFromItsBorders)
{
    const qam_set_t set(16);
    // Inner cells are two units wide; outer ones have no outer border, and more than a unit is not told.
    EXPECT_NEAR(set.slicer.find_cell(1.0, 1.0).clearance, 1.0f, 1e-3f);
    EXPECT_NEAR(set.slicer.find_cell(1.5, 1.0).clearance, 0.5f, 1e-3f);
    EXPECT_NEAR(set.slicer.find_cell(1.0, 0.25).clearance, 0.25f, 1e-3f);
    EXPECT_NEAR(set.slicer.find_cell(4.5, 3.5).clearance, 1.0f, 1e-3f);
    EXPECT_NEAR(set.slicer.find_cell(4.5, 2.1).clearance, 0.1f, 1e-3f);
}

TEST(QamSlicer, ClearsNothingWhereTheGridDoesNotTell)
{
    const qam_set_t square(64);
    const double far = static_cast<double>(square.side) + 1.1;
    EXPECT_FALSE(square.slicer.find_cell(far, 0.5).clearance > 0.0f);
    EXPECT_FALSE(square.slicer.find_cell(0.5, -far).clearance > 0.0f);
    EXPECT_FALSE(square.slicer.find_cell(1e300, 0.5).clearance > 0.0f);
    EXPECT_FALSE(square.slicer.find_cell(static_cast<double>(nan_value), 0.5).clearance > 0.0f);
    EXPECT_FALSE(square.slicer.find_cell(0.5, static_cast<double>(nan_value)).clearance > 0.0f);
    const qam_set_t cross(32);
    EXPECT_FALSE(cross.slicer.find_cell(5.0, 5.0).clearance > 0.0f); // a missing corner
    qam_slicer_t gridless;
    EXPECT_EQ(gridless.get_scale(), 0.0);
    EXPECT_FALSE(gridless.find_cell(0.0, 0.0).clearance > 0.0f);
    gridless.load(3, { { 0, { 1.0f, 0.0f } }, { 1, { -1.0f, 0.0f } }, { 2, { 0.0f, 1.0f } } });
    EXPECT_FALSE(gridless.find_cell(0.5, 0.0).clearance > 0.0f);
}
