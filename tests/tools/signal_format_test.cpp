#include "signal_format.h"
#include "signal_maker.h"
#include "signal_points.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <cstdlib>
#include <dma_demod.h>
#include <gtest/gtest.h>
#include <limits>
#include <numbers>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

using namespace dma_test;

namespace
{
constexpr double pi = std::numbers::pi;

const point_set_t& get_points(signal_format_t format)
{
    return get_signal_format(format).points;
}

double get_degrees(std::complex<double> point)
{
    return std::fmod(std::arg(point) * 180.0 / pi + 360.0, 360.0);
}

double cal_rms(const point_set_t& points)
{
    double power = 0.0;
    for (const std::complex<double>& point : points)
        power += std::norm(point);
    return std::sqrt(power / static_cast<double>(points.size()));
}

double cal_least_distance(const point_set_t& points)
{
    double least = std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        for (std::size_t k = 0; k < i; ++k)
            least = std::min(least, std::norm(points[i] - points[k]));
    }
    return std::sqrt(least);
}

/// Half the distance of neighbouring points at unit rms, from the sums of squares of odd numbers over square and cross.
double cal_qam_unit(double count, bool cross)
{
    return 1.0 / std::sqrt(2.0 / 3.0 * ((cross ? 31.0 / 32.0 * count : count) - 1.0));
}

void expect_point(std::complex<double> actual, std::complex<double> expected, const std::string& what)
{
    EXPECT_NEAR(std::abs(actual - expected), 0.0, 1.0e-12) << what << ": " << actual << " instead of " << expected;
}

/// The set against a map of the library. Its points are single floats, those of rings from angles up to 2 pi in single floats,
/// which are off by up to 2.4e-7 for each of three roundings.
void expect_map(signal_format_t format, const vrim::constellation_map& map)
{
    const signal_format_info_t& info = get_signal_format(format);
    ASSERT_EQ(map.size(), info.points.size()) << info.name;
    for (const auto& [key, point] : map)
    {
        const std::complex<double> wide(static_cast<double>(point.real()), static_cast<double>(point.imag()));
        EXPECT_NEAR(std::abs(wide - info.points.at(key)), 0.0, 1.0e-6) << info.name << " key " << key;
    }
}

struct qam_case_t
{
    signal_format_t format;
    std::uint32_t count;
    std::int32_t corner; // points a side of the missing corners; 0: square
};

const std::vector<qam_case_t> qam_cases = {
    { signal_format_t::qam16, 16, 0 },     { signal_format_t::qam32, 32, 1 },
    { signal_format_t::qam64, 64, 0 },     { signal_format_t::qam128, 128, 2 },
    { signal_format_t::qam256, 256, 0 },   { signal_format_t::qam512, 512, 4 },
    { signal_format_t::qam1024, 1024, 0 }, { signal_format_t::qam2048, 2048, 8 },
    { signal_format_t::qam4096, 4096, 0 }, { signal_format_t::qam16_pi_4, 16, 0 },
    { signal_format_t::qam32_minus_pi_4, 32, 1 },
};
} // namespace

TEST(SignalFormatTable, HasAPointForEachGroupOfBitsApartAndAtUnitRms)
{
    for (const signal_format_info_t& info : get_signal_formats())
    {
        EXPECT_EQ(info.points.size(), std::size_t{ 1 } << info.bits_per_symbol) << info.name;
        if (info.coding == signal_coding_t::frequency)
            continue;
        EXPECT_NEAR(cal_rms(info.points), 1.0, 1.0e-12) << info.name;
        // The closest neighbours of all are those of 4096QAM.
        EXPECT_GT(cal_least_distance(info.points), 1.99 * cal_qam_unit(4096, false)) << info.name;
    }
}

TEST(SignalFormatTable, FollowsTheEnumerationAndFindsEveryNameInEitherCase)
{
    std::set<std::string> names;
    std::uint32_t number = 0;
    for (const signal_format_info_t& info : get_signal_formats())
    {
        EXPECT_EQ(static_cast<std::uint32_t>(info.format), number++) << info.name;
        EXPECT_TRUE(names.insert(info.name).second) << info.name;
        std::string lower = info.name;
        std::transform(lower.begin(), lower.end(), lower.begin(),
                       [](char letter) { return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 32) : letter; });
        for (const std::string& name : { info.name, lower })
        {
            ASSERT_NE(find_signal_format(name), nullptr) << name;
            EXPECT_EQ(find_signal_format(name)->format, info.format) << name;
        }
    }
    EXPECT_EQ(number, 36u);
    EXPECT_EQ(find_signal_format("24QAM"), nullptr);
}

TEST(SignalFormatTable, SymmetryCountsTheTurnsThatCarryTheSetOntoItself)
{
    for (const signal_format_info_t& info : get_signal_formats())
    {
        if (info.coding != signal_coding_t::point || info.points.size() > 64)
            continue;
        for (std::uint32_t turns = 2; turns <= 24; ++turns)
        {
            const std::complex<double> turn = std::polar(1.0, 2.0 * pi / turns);
            const bool onto = std::all_of(info.points.begin(), info.points.end(),
                                          [&](std::complex<double> point)
                                          {
                                              return std::any_of(info.points.begin(), info.points.end(),
                                                                 [&](std::complex<double> other)
                                                                 { return std::abs(point * turn - other) < 1.0e-9; });
                                          });
            EXPECT_EQ(onto, info.symmetry % turns == 0) << info.name << " turned by 1/" << turns;
        }
    }
}

TEST(SignalFormatTable, FixedTurnsAreThoseOfTheNames)
{
    const auto turn = [](signal_format_t format) { return get_signal_format(format).turn * 180.0 / pi; };
    EXPECT_NEAR(turn(signal_format_t::qpsk_3pi_4), 135.0, 1.0e-12);
    EXPECT_NEAR(turn(signal_format_t::psk8_3pi_8), 67.5, 1.0e-12);
    EXPECT_NEAR(turn(signal_format_t::qam16_pi_4), 45.0, 1.0e-12);
    EXPECT_NEAR(turn(signal_format_t::qam32_minus_pi_4), -45.0, 1.0e-12);
    EXPECT_NEAR(turn(signal_format_t::dqpsk_pi_4), 45.0, 1.0e-12);
    EXPECT_NEAR(turn(signal_format_t::d8psk_pi_8), 22.5, 1.0e-12);
    const std::vector<signal_format_info_t>& all = get_signal_formats();
    EXPECT_EQ(std::count_if(all.begin(), all.end(), [](const signal_format_info_t& info) { return info.turn != 0.0; }), 6);
}

TEST(SignalFormatQam, PointsStandOnAllOddPlacesOfTheSquareOrTheCross)
{
    for (const qam_case_t& one : qam_cases)
    {
        const signal_format_info_t& info = get_signal_format(one.format);
        ASSERT_EQ(info.points.size(), one.count);
        const double unit = cal_qam_unit(one.count, one.corner != 0);
        const auto side = one.corner == 0 ? static_cast<std::int32_t>(std::lround(std::sqrt(one.count))) : 6 * one.corner;
        std::set<std::pair<std::int32_t, std::int32_t>> places;
        for (const std::complex<double>& point : info.points)
        {
            const auto x = static_cast<std::int32_t>(std::lround(point.real() / unit));
            const auto y = static_cast<std::int32_t>(std::lround(point.imag() / unit));
            expect_point(point, { x * unit, y * unit }, info.name);
            EXPECT_TRUE(x % 2 != 0 && y % 2 != 0) << info.name;
            EXPECT_TRUE(std::abs(x) < side && std::abs(y) < side) << info.name << " " << x << " " << y;
            if (one.corner != 0)
            {
                EXPECT_TRUE(std::abs(x) < 4 * one.corner || std::abs(y) < 4 * one.corner) << info.name << " " << x << " " << y;
            }
            places.emplace(x, y);
        }
        EXPECT_EQ(places.size(), one.count) << info.name;
    }
}

TEST(SignalFormatQam, NeighboursInRowsAndColumnsOfASquareDifferByOneBit)
{
    for (const qam_case_t& one : qam_cases)
    {
        if (one.corner != 0 || one.count > 1024)
            continue;
        const point_set_t& points = get_points(one.format);
        const double distance = 2.0 * cal_qam_unit(one.count, false);
        std::size_t pairs = 0;
        for (std::uint32_t i = 0; i < one.count; ++i)
        {
            for (std::uint32_t k = 0; k < i; ++k)
            {
                if (std::abs(points[i] - points[k]) > 1.01 * distance)
                    continue;
                ++pairs;
                const std::uint32_t differing = i ^ k;
                EXPECT_EQ(differing & (differing - 1), 0u) << get_signal_format(one.format).name << " " << i << " " << k;
            }
        }
        const auto side = static_cast<std::size_t>(std::lround(std::sqrt(one.count)));
        EXPECT_EQ(pairs, 2 * side * (side - 1));
    }
}

TEST(SignalFormatQam, IndicesOfSixteenAndThirtyTwoPointsStandAsDrawn)
{
    // Rows from the top, columns from the left; -1 for a missing corner.
    struct drawing_t
    {
        signal_format_t format;
        double unit;
        std::vector<std::vector<int>> rows;
    };
    const std::vector<drawing_t> drawings = {
        { signal_format_t::qam16,
          1.0 / std::sqrt(10.0),
          { { 2, 6, 14, 10 }, { 3, 7, 15, 11 }, { 1, 5, 13, 9 }, { 0, 4, 12, 8 } } },
        { signal_format_t::qam32,
          1.0 / std::sqrt(20.0),
          { { -1, 2, 3, 19, 18, -1 },
            { 6, 14, 10, 26, 30, 22 },
            { 7, 15, 11, 27, 31, 23 },
            { 5, 13, 9, 25, 29, 21 },
            { 4, 12, 8, 24, 28, 20 },
            { -1, 0, 1, 17, 16, -1 } } },
    };
    for (const drawing_t& drawing : drawings)
    {
        const double last = static_cast<double>(drawing.rows.size()) - 1.0;
        for (std::size_t row = 0; row < drawing.rows.size(); ++row)
        {
            for (std::size_t column = 0; column < drawing.rows[row].size(); ++column)
            {
                const int index = drawing.rows[row][column];
                if (index < 0)
                    continue;
                const std::complex<double> place(2.0 * static_cast<double>(column) - last, last - 2.0 * static_cast<double>(row));
                expect_point(get_points(drawing.format).at(static_cast<std::size_t>(index)), place * drawing.unit,
                             "index " + std::to_string(index));
            }
        }
    }
    EXPECT_EQ(get_points(signal_format_t::qam16_pi_4), get_points(signal_format_t::qam16));
    EXPECT_EQ(get_points(signal_format_t::qam32_minus_pi_4), get_points(signal_format_t::qam32));
}

TEST(SignalFormatAsk, LevelsRiseInEqualStepsFromZeroForTwoAndFromOneStepElse)
{
    expect_point(get_points(signal_format_t::ask2).at(0), 0.0, "2ASK 0");
    expect_point(get_points(signal_format_t::ask2).at(1), std::sqrt(2.0), "2ASK 1");
    for (const signal_format_t format : { signal_format_t::ask4, signal_format_t::ask8, signal_format_t::ask16 })
    {
        const point_set_t& points = get_points(format);
        const double count = static_cast<double>(points.size());
        // Mean of the squares of 1 to count.
        const double rms = std::sqrt((count + 1.0) * (2.0 * count + 1.0) / 6.0);
        for (std::size_t k = 0; k < points.size(); ++k)
            expect_point(points[k], static_cast<double>(k + 1) / rms, "ASK level " + std::to_string(k));
    }
}

TEST(SignalFormatApsk, RingsHaveTheirRadiiAndAnglesAtUsualAndOwnRatios)
{
    for (const double r2 : { 0.0, 2.3, 4.0 })
    {
        const double outer = r2 == 0.0 ? 2.85 : r2;
        const double inner = std::sqrt(16.0 / (4.0 + 12.0 * outer * outer));
        const point_set_t points = make_format_points(signal_format_t::apsk16, { r2, 0.0 });
        ASSERT_EQ(points.size(), 16u);
        for (std::uint32_t k = 0; k < 12; ++k)
            expect_point(points[k], std::polar(inner * outer, (45.0 + 30.0 * k) * pi / 180.0), "outer " + std::to_string(k));
        for (std::uint32_t k = 0; k < 4; ++k)
            expect_point(points[12 + k], std::polar(inner, (45.0 + 90.0 * k) * pi / 180.0), "inner " + std::to_string(k));
    }
    for (const ring_ratios_t& wanted : { ring_ratios_t{}, ring_ratios_t{ 2.54, 4.33 }, ring_ratios_t{ 2.0, 0.0 } })
    {
        const double r2 = wanted.r2_r1 == 0.0 ? 2.84 : wanted.r2_r1;
        const double r3 = wanted.r3_r1 == 0.0 ? 5.27 : wanted.r3_r1;
        const double inner = std::sqrt(32.0 / (4.0 + 12.0 * r2 * r2 + 16.0 * r3 * r3));
        const point_set_t points = make_format_points(signal_format_t::apsk32, wanted);
        ASSERT_EQ(points.size(), 32u);
        for (std::uint32_t k = 0; k < 16; ++k)
            expect_point(points[k], std::polar(inner * r3, (22.5 + 22.5 * k) * pi / 180.0), "outer " + std::to_string(k));
        for (std::uint32_t k = 0; k < 12; ++k)
            expect_point(points[16 + k], std::polar(inner * r2, (45.0 + 30.0 * k) * pi / 180.0), "middle " + std::to_string(k));
        for (std::uint32_t k = 0; k < 4; ++k)
            expect_point(points[28 + k], std::polar(inner, (45.0 + 90.0 * k) * pi / 180.0), "inner " + std::to_string(k));
    }
    EXPECT_EQ(get_points(signal_format_t::apsk16), make_format_points(signal_format_t::apsk16, {}));
    EXPECT_EQ(get_points(signal_format_t::apsk32), make_format_points(signal_format_t::apsk32, {}));
}

TEST(SignalFormatApsk, RefusesRingsThatDoNotRiseAndReadsNoneElsewhere)
{
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double ratio : { 1.0, -2.0, infinity, std::nan("") })
    {
        EXPECT_THROW(make_format_points(signal_format_t::apsk16, { ratio, 0.0 }), std::invalid_argument) << ratio;
        EXPECT_THROW(make_format_points(signal_format_t::apsk32, { ratio, 0.0 }), std::invalid_argument) << ratio;
        EXPECT_THROW(make_format_points(signal_format_t::apsk32, { 0.0, ratio }), std::invalid_argument) << ratio;
        EXPECT_EQ(make_format_points(signal_format_t::qam16, { ratio, ratio }), get_points(signal_format_t::qam16));
    }
    EXPECT_THROW(make_format_points(signal_format_t::apsk32, { 3.0, 3.0 }), std::invalid_argument);
    EXPECT_THROW(make_format_points(signal_format_t::apsk32, { 6.0, 0.0 }), std::invalid_argument); // above the usual 5.27
}

TEST(SignalFormatDpsk, IndicesArePhaseSteps)
{
    expect_point(get_points(signal_format_t::dbpsk).at(1), 1.0, "DBPSK 1");
    expect_point(get_points(signal_format_t::dbpsk).at(0), -1.0, "DBPSK 0");
    for (std::uint32_t k = 1; k < 4; ++k)
    {
        EXPECT_NEAR(get_degrees(get_points(signal_format_t::dqpsk).at(k)), 90.0 * k, 1.0e-9);
        EXPECT_NEAR(get_degrees(get_points(signal_format_t::dqpsk_pi_4).at(k)), 90.0 * k, 1.0e-9);
    }
    for (std::uint32_t k = 1; k < 8; ++k)
    {
        EXPECT_NEAR(get_degrees(get_points(signal_format_t::d8psk).at(k)), 45.0 * k, 1.0e-9);
        EXPECT_NEAR(get_degrees(get_points(signal_format_t::d8psk_pi_8).at(k)), 45.0 * k, 1.0e-9);
    }
    for (const signal_format_t format : { signal_format_t::dqpsk, signal_format_t::dqpsk_pi_4, signal_format_t::d8psk,
                                          signal_format_t::d8psk_pi_8 })
        expect_point(get_points(format).at(0), 1.0, get_signal_format(format).name + " 0");
    for (const signal_format_info_t& info : get_signal_formats())
        EXPECT_EQ(info.coding == signal_coding_t::phase_step,
                  info.format >= signal_format_t::dbpsk && info.format <= signal_format_t::d8psk)
            << info.name;
}

TEST(SignalFormatTable, AgreesWithTheKeysOfTheLibrary)
{
    using namespace vrim::common_lib;
    vrim::constellation_map map;
    for (const qam_case_t& one : qam_cases)
    {
        lib_constellation_qam_t::generate_default_qam_constellation(one.count, map, false, constellation_normalize_rms);
        expect_map(one.format, map);
    }
    for (const signal_format_t format :
         { signal_format_t::ask2, signal_format_t::ask4, signal_format_t::ask8, signal_format_t::ask16 })
    {
        const auto levels = static_cast<std::uint32_t>(get_points(format).size());
        lib_constellation_ask_t::generate_default_ask_constellation(levels, map, 1.0f, false, constellation_normalize_rms);
        expect_map(format, map);
    }
    for (const signal_format_t format : { signal_format_t::bpsk, signal_format_t::qpsk, signal_format_t::psk8,
                                          signal_format_t::qpsk_3pi_4, signal_format_t::psk8_3pi_8 })
    {
        const auto order = static_cast<std::uint32_t>(get_points(format).size());
        lib_constellation_psk_t::generate_default_psk_constellation(order, map, false);
        expect_map(format, map);
    }
    for (const signal_format_t format : { signal_format_t::dbpsk, signal_format_t::dqpsk, signal_format_t::dqpsk_pi_4,
                                          signal_format_t::d8psk_pi_8, signal_format_t::d8psk })
    {
        const auto order = static_cast<std::uint32_t>(get_points(format).size());
        lib_constellation_dpsk_t::generate_default_dpsk_constellation(order, map, false);
        expect_map(format, map);
    }
    using common = vrim::dma_demod_lib::lib_dma_phy_common_t;
    common::generate_16apsk_constellation(map, false, 2.85f, 0.0f, 0.0f);
    common::rms_normalize(map);
    expect_map(signal_format_t::apsk16, map);
    common::generate_32apsk_constellation(map, false, 2.84f, 5.27f, 0.0f, 0.0f, 0.0f);
    common::rms_normalize(map);
    expect_map(signal_format_t::apsk32, map);
}

TEST(SignalMakerFormats, QamWithAFixedTurnTurnsInItsOwnSense)
{
    for (const signal_format_t format : { signal_format_t::qam16_pi_4, signal_format_t::qam32_minus_pi_4 })
    {
        const bool forward = format == signal_format_t::qam16_pi_4;
        const point_set_t& set = get_signal_format(forward ? signal_format_t::qam16 : signal_format_t::qam32).points;
        const double step = forward ? pi / 4.0 : -pi / 4.0;
        signal_setting_t setting;
        setting.format = format;
        setting.symbol_count = 100;
        const signal_t signal = make_signal(setting);
        for (std::size_t k = 0; k < signal.points.size(); ++k)
        {
            const std::complex<double> expected = set.at(signal.symbols[k]) * std::polar(1.0, step * static_cast<double>(k));
            EXPECT_NEAR(std::abs(signal.points[k] - expected), 0.0, 1.0e-9) << "symbol " << k;
        }
    }
}

TEST(SignalMakerFormats, DifferentialSymbolsAddUpTheirStepsFromPhaseZero)
{
    struct case_t
    {
        signal_format_t format;
        double step_degrees;  // of index 1 over index 0
        double first_degrees; // of index 0
        double turn_degrees;
    };
    for (const case_t& one :
         { case_t{ signal_format_t::dbpsk, -180.0, 180.0, 0.0 }, case_t{ signal_format_t::dqpsk, 90.0, 0.0, 0.0 },
           case_t{ signal_format_t::dqpsk_pi_4, 90.0, 0.0, 45.0 }, case_t{ signal_format_t::d8psk, 45.0, 0.0, 0.0 },
           case_t{ signal_format_t::d8psk_pi_8, 45.0, 0.0, 22.5 } })
    {
        signal_setting_t setting;
        setting.format = one.format;
        setting.symbol_count = 400;
        setting.seed = 17;
        const signal_t signal = make_signal(setting);
        double degrees = -one.turn_degrees; // the turn begins behind symbol 0
        for (std::size_t k = 0; k < signal.points.size(); ++k)
        {
            degrees += one.first_degrees + one.step_degrees * signal.symbols[k] + one.turn_degrees;
            EXPECT_NEAR(std::abs(signal.points[k] - std::polar(1.0, degrees * pi / 180.0)), 0.0, 1.0e-9)
                << get_signal_format(one.format).name << " symbol " << k;
        }
        // The symbols in front of the record lead up to it; they do not move it.
        setting.half_span_symbols = 47;
        EXPECT_EQ(make_signal(setting).points, signal.points) << get_signal_format(one.format).name;
    }
}

TEST(SignalMakerFormats, DifferentialStepsGoOnIntoTheRecordFromBeforeIt)
{
    // Timed 3 symbols late, the first raised cosine samples show the symbols -3 to -1; their common steps are whole quarters.
    signal_setting_t setting;
    setting.format = signal_format_t::dqpsk_pi_4;
    setting.pulse = signal_pulse_t::raised_cosine;
    setting.symbol_count = 60;
    setting.timing_symbols = 3.0;
    const signal_t signal = make_signal(setting);
    for (std::size_t k = 0; k + 1 < 60; ++k)
    {
        const std::complex<double> before(signal.samples.at(4 * k));
        const std::complex<double> after(signal.samples.at(4 * k + 4));
        const double quarters = std::arg(after / before * std::polar(1.0, -pi / 4.0)) / (pi / 2.0);
        EXPECT_NEAR(quarters, std::round(quarters), 1.0e-5) << "sample " << 4 * k;
        if (k >= 2)
        {
            const long step = (std::lround(quarters) + 4) % 4;
            EXPECT_EQ(step, static_cast<long>(signal.symbols.at(k - 2))) << "sample " << 4 * k;
        }
    }
}

TEST(SignalMakerFormats, RingRatiosOfTheSettingMoveTheRings)
{
    signal_setting_t setting;
    setting.format = signal_format_t::apsk32;
    setting.rings = { 2.54, 4.33 };
    setting.symbol_count = 300;
    const signal_t signal = make_signal(setting);
    const double inner = std::sqrt(32.0 / (4.0 + 12.0 * 2.54 * 2.54 + 16.0 * 4.33 * 4.33));
    for (std::size_t k = 0; k < signal.points.size(); ++k)
    {
        const double ratio = signal.symbols[k] < 16 ? 4.33 : (signal.symbols[k] < 28 ? 2.54 : 1.0);
        EXPECT_NEAR(std::abs(signal.points[k]), inner * ratio, 1.0e-12) << "symbol " << k;
    }
    setting.rings = { 3.0, 2.0 };
    EXPECT_THROW(make_signal(setting), std::invalid_argument);
}
