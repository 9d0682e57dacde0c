#include "lib_dma_demod/lib_dma_qam_line.h"

#include "lib_dma_demod/demod_run.h"
#include "lib_dma_demod/lib_dma_qam_carrier_signal.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <random>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using namespace demod_test;
using namespace qam_test;

namespace
{
/// Half the distance of neighbouring points: that of any two points is this or more.
double get_half_step(const point_array& points)
{
    double least = 4.0;
    for (const std::complex<double>& point : points)
    {
        if (std::abs(point - points.front()) > 0.0)
            least = std::min(least, std::abs(point - points.front()));
    }
    return 0.5 * least;
}

qam_slicer_t make_slicer(std::uint32_t format)
{
    constellation_map map;
    make_qam_points(to_format(format), map, common_lib::constellation_normalize_rms);
    qam_slicer_t slicer;
    slicer.load(static_cast<std::uint32_t>(map.size()), map);
    return slicer;
}

/// Symbols on a line, divided by `level`, with noise of `noise` half distances in each part.
complex_array make_symbols(std::uint32_t format, std::size_t count, double slope, double phase, double level, double noise,
                           unsigned seed)
{
    const point_array points = make_set(format);
    point_array symbols = map_points(make_indices(count, static_cast<std::uint32_t>(points.size()), seed), points, slope, phase);
    std::mt19937 generator(seed);
    std::normal_distribution<double> part(0.0, noise * get_half_step(points));
    for (std::complex<double>& symbol : symbols)
    {
        const double re = part(generator);
        symbol = (symbol + std::complex<double>(re, part(generator))) / level;
    }
    return narrow(symbols);
}

/// How far a line is off the true one at a symbol, quarter turns aside, radians.
double get_miss(const qam_line_t& line, double slope, double phase, double symbol)
{
    return std::remainder(line.phase + line.slope * symbol - phase - slope * symbol, 0.5 * pi);
}

TEST(QamLine, IsFoundWithItsLevelThroughNoise)
{
    constexpr std::size_t count = 1100;
    // Its standard deviation is 0.3 half distances over the root of the symbols for the phase; at the ends twice that.
    const double bound = 5.0 * 2.0 * 0.3 / std::sqrt(static_cast<double>(count));
    unsigned seed = 1;
    for (const std::uint32_t format : { 0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u })
    {
        const qam_slicer_t slicer = make_slicer(format);
        const double half_step = get_half_step(make_set(format));
        for (const double slope : { -4e-4, 0.0, 6e-5, 1e-3 })
        {
            for (const double level : { 0.97, 1.0, 1.035 })
            {
                SCOPED_TRACE(testing::Message() << "format " << format << ", slope " << slope << ", level " << level);
                const double phase = 0.7 * static_cast<double>(++seed);
                const qam_line_t line = find_qam_line(make_symbols(format, count, slope, phase, level, 0.3, seed), slicer);
                EXPECT_NEAR(line.level, level, bound * half_step);
                for (const double symbol : { 0.0, 0.5 * count, 1.0 * count })
                    EXPECT_NEAR(get_miss(line, slope, phase, symbol), 0.0, bound * half_step);
            }
        }
    }
}

TEST(QamLine, OfALongRecordIsAsStraight)
{
    constexpr std::size_t count = 20000;
    const qam_slicer_t slicer = make_slicer(5);
    const double slope = 3e-5;
    const qam_line_t line = find_qam_line(make_symbols(5, count, slope, 0.4, 1.001, 0.25, 9), slicer);
    EXPECT_NEAR(line.level, 1.001, 2e-4);
    for (const double symbol : { 0.0, 20000.0 })
        EXPECT_NEAR(get_miss(line, slope, 0.4, symbol), 0.0, 1e-3);
}

TEST(QamLine, IsNotLookedForInFewSymbolsOrWithoutAGrid)
{
    const auto is_untouched = [](const qam_line_t& line) { return line.slope == 0.0 && line.phase == 0.0 && line.level == 1.0; };
    const qam_slicer_t slicer = make_slicer(2);
    for (const std::size_t count : { 0u, 1u, 255u })
        EXPECT_TRUE(is_untouched(find_qam_line(make_symbols(2, count, 0.0, 0.3, 1.0, 0.1, 5), slicer))) << count;
    EXPECT_FALSE(is_untouched(find_qam_line(make_symbols(2, 256, 0.0, 0.3, 1.0, 0.1, 5), slicer)));
    EXPECT_TRUE(is_untouched(find_qam_line(make_symbols(2, 256, 0.0, 0.3, 1.0, 0.1, 5), qam_slicer_t())));
}

TEST(QamLine, OfWhatIsNoSignalIsANumber)
{
    const qam_slicer_t slicer = make_slicer(4);
    constexpr float huge = 3e38f;
    constexpr float none = std::numeric_limits<float>::quiet_NaN();
    for (const std::complex<float> value : { std::complex<float>(0.0f, 0.0f), std::complex<float>(huge, -huge) })
    {
        const qam_line_t line = find_qam_line(complex_array(300, value), slicer);
        EXPECT_TRUE(std::isfinite(line.slope) && std::isfinite(line.phase) && std::isfinite(line.level)) << value;
    }
    find_qam_line(complex_array(300, { none, none }), slicer); // comes back
}
} // namespace
