#include "analysis_runner.h"
#include "timing_prediction.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <gtest/gtest.h>
#include <initializer_list>
#include <limits>
#include <string>
#include <utility>
#include <vector>

using namespace dma_test;

namespace
{
constexpr double clean = std::numeric_limits<double>::infinity();

/// One whole analysis: a covering subset of formats, points per symbol, roll-offs, SNRs, offsets, phases and timings.
struct grid_point_t
{
    signal_format_t format;
    ring_ratios_t rings;
    std::uint32_t points_per_symbol;
    double alpha;
    double snr_db;
    double offset_hz;
    double phase;
    double timing;
    std::uint32_t symbols;
};

std::string print_name(const grid_point_t& point)
{
    std::string name;
    for (const char letter : get_signal_format(point.format).name)
    {
        if (std::isalnum(static_cast<unsigned char>(letter)) != 0)
            name += letter;
    }
    const auto add = [&name](const char* what, double value) { name.append(what).append(std::to_string(std::lround(value))); };
    if (point.rings.r2_r1 > 0.0)
        add("_rings", 100.0 * point.rings.r2_r1);
    add("_points", point.points_per_symbol);
    add("_alpha", 100.0 * point.alpha);
    if (std::isfinite(point.snr_db))
        add("_db", point.snr_db);
    return name;
}

/// Samples per symbol at which the analysis works.
std::uint32_t get_working_sps(std::uint32_t points_per_symbol)
{
    switch (points_per_symbol)
    {
    case 5:
    case 10:
        return 10;
    case 16:
        return 16;
    default:
        return 8;
    }
}

bool is_among(signal_format_t format, std::initializer_list<signal_format_t> list)
{
    return std::find(list.begin(), list.end(), format) != list.end();
}

/// SNR at which every decision is right.
double get_noisy_snr_db(signal_format_t format)
{
    if (is_among(format, { signal_format_t::qam4096 }))
        return 60.0;
    if (is_among(format, { signal_format_t::qam1024, signal_format_t::qam2048, signal_format_t::ask16 }))
        return 50.0;
    if (is_among(format, { signal_format_t::qam128, signal_format_t::qam256, signal_format_t::qam512, signal_format_t::ask8 }))
        return 40.0;
    return 32.0;
}

bool is_ask(signal_format_t format)
{
    return is_among(format, { signal_format_t::ask2, signal_format_t::ask4, signal_format_t::ask8, signal_format_t::ask16 });
}

std::vector<grid_point_t> make_grid()
{
    std::vector<std::pair<signal_format_t, ring_ratios_t>> formats;
    for (const signal_format_info_t& info : get_signal_formats())
    {
        const bool linear = info.coding == signal_coding_t::point || info.coding == signal_coding_t::phase_step;
        if (linear && get_library_format(info.format).group != vrim::dma_demod_lib::LIB_DMA_GROUP_PSK)
            formats.emplace_back(info.format, ring_ratios_t{});
    }
    for (const double ratio : { 3.15, 2.75, 2.70, 2.60, 2.57 })
        formats.emplace_back(signal_format_t::apsk16, ring_ratios_t{ ratio, 0.0 });
    for (const ring_ratios_t rings :
         { ring_ratios_t{ 2.72, 4.87 }, ring_ratios_t{ 2.64, 4.64 }, ring_ratios_t{ 2.54, 4.33 }, ring_ratios_t{ 2.53, 4.30 } })
        formats.emplace_back(signal_format_t::apsk32, rings);

    // Strides without a common factor: over the formats every value meets every other one.
    constexpr std::uint32_t points[] = { 1, 2, 4, 5, 8, 10, 16 };
    constexpr double alphas[] = { 0.35, 0.5, 0.22 };
    constexpr double offsets[] = { 0.0, 1234.5, -2876.5, 7300.0, -611.0 };
    std::vector<grid_point_t> grid;
    for (std::size_t i = 0; i < formats.size(); ++i)
    {
        const auto& [format, rings] = formats[i];
        // The square-law clock takes ASK to wrong decisions at low roll-off.
        const std::size_t alpha_count = is_ask(format) ? 1 : 3;
        for (std::size_t k = 0; k < 6; ++k)
        {
            const std::size_t j = 6 * i + k;
            const double alpha = alpha_count == 1 ? 0.5 : alphas[j % 3];
            const bool dense = is_among(format, { signal_format_t::qam2048, signal_format_t::qam4096, signal_format_t::ask16 });
            grid.push_back({ format, rings, points[(j + i) % 7], alpha, k % 2 == 0 ? clean : get_noisy_snr_db(format),
                             offsets[j % 5], 0.3 + 0.71 * static_cast<double>(j), std::fmod(0.17 * static_cast<double>(j), 1.0),
                             dense ? 3000U : 1000U });
        }
    }
    return grid;
}

class LinearGrid : public testing::TestWithParam<grid_point_t>
{
};

TEST_P(LinearGrid, DecodesAndMeasures)
{
    const grid_point_t& point = GetParam();
    signal_setting_t signal_setting;
    signal_setting.format = point.format;
    signal_setting.rings = point.rings;
    signal_setting.shape = point.alpha;
    signal_setting.symbol_count = point.symbols + 200;
    signal_setting.half_span_symbols = 80;
    signal_setting.seed = 31;
    signal_setting.carrier_offset_hz = point.offset_hz;
    signal_setting.carrier_phase = point.phase;
    signal_setting.timing_symbols = point.timing;
    signal_setting.snr_db = point.snr_db;
    signal_setting.gain = 0.3;
    analysis_setting_t setting;
    setting.format = point.format;
    setting.rings = point.rings;
    setting.alpha = point.alpha;
    setting.points_per_symbol = point.points_per_symbol;
    setting.meas_interval = point.symbols;
    const signal_t signal = make_signal(signal_setting);
    const analysis_result_t result = analyse(signal.samples, setting);

    ASSERT_TRUE(result.locked());
    ASSERT_EQ(result.meas_symbols.size(), setting.meas_interval);
    EXPECT_EQ(result.summary.meas_data.size(), std::size_t{ setting.meas_interval } * point.points_per_symbol);
    ASSERT_EQ(result.decoded.size(), setting.meas_interval);
    const decode_match_t match = match_decoded(point.format, result.decoded, signal.symbols, 85, 95);
    EXPECT_TRUE(match.found) << match.differing << " symbols differ";
    // A window that starts between two symbols takes the earlier one; the filter in front comes half a sample late.
    const double late = 0.5 * signal_setting.symbol_rate / signal_setting.sample_rate;
    EXPECT_NEAR(static_cast<double>(match.lag) + point.timing + late, 90.0, 1.0);

    const double noise = std::isfinite(point.snr_db) ? 100.0 * std::pow(10.0, -point.snr_db / 20.0) : 0.0;
    const double predicted = predict_timing(signal_setting, get_working_sps(point.points_per_symbol), point.symbols).evm;
    // As with PSK: filters of 64 symbols, a rate conversion and a carrier off the centre leave up to 0.13, of ASK, whose
    // carrier adds to what each of them leaves, up to 0.25. Noise: four standard deviations of its rms.
    const double bound = (is_ask(point.format) ? 0.25 : 0.13) + 4.0 * noise / std::sqrt(2.0 * point.symbols);
    EXPECT_NEAR(static_cast<double>(result.summary.evm_rms), std::hypot(noise, predicted), bound);
    EXPECT_NEAR(static_cast<double>(result.table.frequency_error), point.offset_hz, std::isfinite(point.snr_db) ? 2.0 : 0.5);
    if (std::isfinite(point.snr_db))
        return;

    // A scatter of 0.13 % at most, next to an inner ring of a fifth of the rms at least.
    const ring_ratios_t rings = get_ring_ratios(point.format, point.rings);
    EXPECT_NEAR(result.summary.apsk_r2_ratio, rings.r2_r1, 0.03 * rings.r2_r1);
    EXPECT_NEAR(result.summary.apsk_r3_ratio, rings.r3_r1, 0.03 * rings.r3_r1);
    if (!is_ask(point.format))
        return;
    // Depth by the library's definition, of the levels that were sent: one less the sum of those under the mean over the sum of
    // the others.
    double mean = 0.0;
    for (std::size_t i = 0; i < point.symbols; ++i)
        mean += std::abs(signal.points[static_cast<std::size_t>(match.lag) + i]) / static_cast<double>(point.symbols);
    double low = 0.0;
    double high = 0.0;
    for (std::size_t i = 0; i < point.symbols; ++i)
    {
        const double level = std::abs(signal.points[static_cast<std::size_t>(match.lag) + i]);
        (level >= mean ? high : low) += level;
    }
    EXPECT_NEAR(static_cast<double>(result.summary.depth), 1.0 - low / high, 0.005);
}

INSTANTIATE_TEST_SUITE_P(All, LinearGrid, testing::ValuesIn(make_grid()),
                         [](const auto& point)
                         { return print_name(point.param).append("_").append(std::to_string(point.index)); });
} // namespace
