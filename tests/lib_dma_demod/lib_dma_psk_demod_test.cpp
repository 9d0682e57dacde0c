#include "lib_dma_demod/lib_dma_psk_demod.h"

#include "lib_dma_common/lib_dma_phy_common.h"
#include "message_capture.h"
#include "signal_maker.h"
#include "support/internal/complex_ops.h"
#include "support/lib_common_math.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <numbers>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

using namespace vrim;
using namespace vrim::dma_demod_lib;

namespace
{
using index_array = std::vector<std::uint32_t>;

constexpr double pi = std::numbers::pi;
constexpr float eighth_turn = 0.7853982f;
constexpr float sixteenth_turn = 0.3926991f;
constexpr lib_dma_psk_modulation_type_t unknown_format = static_cast<lib_dma_psk_modulation_type_t>(77);

const lib_dma_psk_modulation_type_t all_formats[] = { LIB_DMA_MODULATION_PSK_BPSK, LIB_DMA_MODULATION_PSK_QPSK,
                                                      LIB_DMA_MODULATION_PSK_8_PSK, LIB_DMA_MODULATION_PSK_3PI_4_QPSK,
                                                      LIB_DMA_MODULATION_PSK_3PI_8_PSK };

/// The points of a format: BPSK on the real axis, QPSK on the diagonals, 8PSK from angle 0.
std::vector<std::complex<double>> make_points(lib_dma_psk_modulation_type_t format)
{
    const bool two = format == LIB_DMA_MODULATION_PSK_BPSK;
    const bool four = format == LIB_DMA_MODULATION_PSK_QPSK || format == LIB_DMA_MODULATION_PSK_3PI_4_QPSK;
    const int count = two ? 2 : four ? 4 : 8;
    std::vector<std::complex<double>> points;
    for (int k = 0; k < count; ++k)
        points.push_back(std::polar(1.0, 2.0 * pi * k / count + (four ? pi / 4.0 : 0.0)));
    return points;
}

bool is_near(std::complex<float> a, std::complex<double> b, double tolerance = 1e-6)
{
    return std::abs(std::complex<double>(a) - b) <= tolerance;
}

bool contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

bit_array expand(const index_array& indices, std::uint32_t bits_per_symbol)
{
    bit_array bits;
    for (const std::uint32_t index : indices)
    {
        for (std::uint32_t bit = bits_per_symbol; bit-- > 0;)
            bits.push_back(static_cast<bit_array::value_type>((index >> bit) & 1u));
    }
    return bits;
}

/// A demodulator that stands before the decoding of symbols, given as whole steps of the format's circle.
struct decode_run_t
{
    decode_run_t(lib_dma_psk_modulation_type_t format, index_array places, std::uint32_t points_per_symbol = 1,
                 std::uint32_t segments = 1)
        : steps(std::move(places))
    {
        lib_dma_frame_configure_manager_t frame;
        frame.set_segment_number(segments);
        store.init();
        store.set_config(frame);
        demod.psk_format = format;
        bits = format == LIB_DMA_MODULATION_PSK_BPSK ? 1 : order() == 4 ? 2 : 3;
        rotation = order() == 4 ? eighth_turn : format == LIB_DMA_MODULATION_PSK_8_PSK ? sixteenth_turn : 0.0f;
        store.get_psk_modulation_param().rotation_angle = rotation;
        demod.setting.points_per_symbol = points_per_symbol;
        demod.setting.sps = 8;
        demod.setting.sync_pattern_bitarr.clear();
        const std::vector<std::complex<double>> points = make_points(format);
        for (const std::uint32_t step : steps)
        {
            demod.work.meas_data.emplace_back(std::complex<float>(points[step] * 3.0));
            demod.work.ref_data.emplace_back(std::complex<float>(points[step] * 0.5));
            for (std::uint32_t k = 1; k < points_per_symbol; ++k)
            {
                demod.work.meas_data.emplace_back(0.1f, 0.1f);
                demod.work.ref_data.emplace_back(0.1f, 0.1f);
            }
        }
        demod.setting.meas_interval = static_cast<std::uint32_t>(demod.work.meas_data.size());
        demod.psk_judge(format, { 1.0f, 0.0f }, rotation);
    }

    std::uint32_t order() const { return static_cast<std::uint32_t>(make_points(demod.psk_format).size()); }

    /// Index of a step of the circle: BPSK +1 is 1, QPSK goes 1, 0, 2, 3 from 45 degrees on, 8PSK rises from angle 0.
    std::uint32_t get_index(std::uint32_t step) const
    {
        constexpr std::uint32_t qpsk[] = { 1, 0, 2, 3 };
        const std::uint32_t place = step % order();
        return order() == 2 ? 1 - place : order() == 4 ? qpsk[place] : place;
    }

    index_array get_indices(std::size_t first, std::size_t stop, std::uint32_t turned = 0) const
    {
        index_array indices;
        for (std::size_t i = first; i < stop; ++i)
            indices.push_back(get_index(steps[i] + turned));
        return indices;
    }

    void search(const bit_array& pattern)
    {
        demod.setting.sync_search = true;
        demod.setting.sync_pattern_bitarr = pattern;
    }

    bool get_sync_flag(std::uint32_t segment = 0) { return store.get_sync_search_flag_vec().at(segment); }
    bool get_decode_flag(std::uint32_t segment = 0) { return store.get_decode_bit_flag_vec().at(segment); }

    lib_dma_psk_demod_t demod;
    lib_dma_phy_data_manager_t store;
    index_array steps;
    std::uint32_t bits = 1;
    float rotation = 0.0f;
};

index_array make_steps(std::size_t count, std::uint32_t order)
{
    std::mt19937 generator(4711);
    index_array steps(count);
    for (std::uint32_t& step : steps)
        step = static_cast<std::uint32_t>(generator() >> 8) % order;
    return steps;
}
} // namespace

TEST(PskJudge, EqualsTheWalkOverItsMap)
{
    std::mt19937 generator(3);
    std::normal_distribution<float> part;
    std::uniform_real_distribution<float> angle(-3.2f, 3.2f);
    lib_dma_psk_demod_t demod;
    for (const lib_dma_psk_modulation_type_t format : all_formats)
    {
        const std::vector<std::complex<double>> points = make_points(format);
        for (const float rotation : { 0.0f, eighth_turn, sixteenth_turn, angle(generator), angle(generator) })
        {
            complex_array values(300);
            for (std::complex<float>& value : values)
            {
                const float re = part(generator);
                value = { re, part(generator) };
            }
            for (std::size_t k = 0; k < points.size(); ++k)
                values.emplace_back((points[k] + points[(k + 1) % points.size()]) / 2.0);
            values.emplace_back(0.0f, 0.0f);
            const std::complex<float> turn = common_lib::unit_phasor(rotation);
            for (const std::complex<float>& value : values)
            {
                const std::complex<float> decided = demod.psk_judge(format, value, rotation);
                const std::complex<float> turned = common_lib::complex_product(value, std::conj(turn));
                const std::complex<float> walked =
                    common_lib::complex_product(lib_dma_phy_common_t::get_symbol_decision_result(demod.judge_map, turned), turn);
                ASSERT_EQ(decided, walked) << "format " << format << ", rotation " << rotation << ", " << value;
            }
        }
    }
}

TEST(PskJudge, DecidesTheNearestPointOfTheFormat)
{
    std::mt19937 generator(8);
    std::normal_distribution<float> part;
    lib_dma_psk_demod_t demod;
    for (const lib_dma_psk_modulation_type_t format : all_formats)
    {
        for (const float rotation : { 0.0f, eighth_turn, sixteenth_turn, 1.0f })
        {
            // Maps that are turned are turned back; those of BPSK and 3pi/8-8PSK are not, and come out turned.
            const bool kept = format == LIB_DMA_MODULATION_PSK_BPSK || format == LIB_DMA_MODULATION_PSK_3PI_8_PSK;
            const std::complex<double> turn = std::polar(1.0, kept ? static_cast<double>(rotation) : 0.0);
            for (int i = 0; i < 300; ++i)
            {
                const float re = part(generator);
                const std::complex<float> value(re, part(generator));
                const std::complex<double> decided(demod.psk_judge(format, value, rotation));
                double nearest = 1e9;
                double off = 1e9;
                for (const std::complex<double>& point : make_points(format))
                {
                    nearest = std::min(nearest, std::abs(point * turn - std::complex<double>(value)));
                    off = std::min(off, std::abs(point * turn - decided));
                }
                ASSERT_LT(off, 1e-6) << "format " << format;
                ASSERT_NEAR(std::abs(decided - std::complex<double>(value)), nearest, 1e-6) << "format " << format;
            }
        }
    }
}

TEST(PskJudge, SaysThatAFormatHasNoPoints)
{
    lib_dma_psk_demod_t demod;
    const log_capture_t log;
    const trace_capture_t trace;
    EXPECT_EQ(demod.psk_judge(unknown_format, { 1.0f, 1.0f }, 0.5f), std::complex<float>(0.0f, 0.0f));
    EXPECT_EQ(log.count(common_log::log_level_end, "psk_judge::psk_judge default!\n"), 1);
    EXPECT_TRUE(demod.judge_map.empty());
    EXPECT_EQ(demod.psk_judge(unknown_format, { 1.0f, 1.0f }, 0.5f), std::complex<float>(0.0f, 0.0f));
    EXPECT_EQ(log.count(common_log::log_level_end, "psk_judge::psk_judge default!\n"), 2);
}

TEST(PskJudge, KeepsItsMapWhileFormatAndRotationStay)
{
    lib_dma_psk_demod_t demod;
    demod.psk_judge(LIB_DMA_MODULATION_PSK_QPSK, { 1.0f, 1.0f }, eighth_turn);
    EXPECT_EQ(demod.judge_map.size(), 4u);
    demod.judge_map[99] = { 5.0f, 5.0f }; // stays in a map that stays
    demod.psk_judge(LIB_DMA_MODULATION_PSK_QPSK, { -1.0f, 1.0f }, eighth_turn);
    EXPECT_EQ(demod.judge_map.count(99), 1u);
    demod.psk_judge(LIB_DMA_MODULATION_PSK_QPSK, { -1.0f, 1.0f }, 0.0f);
    EXPECT_EQ(demod.judge_map.count(99), 0u);
    EXPECT_EQ(demod.judge_map.size(), 4u);
    demod.psk_judge(LIB_DMA_MODULATION_PSK_8_PSK, { -1.0f, 1.0f }, 0.0f);
    EXPECT_EQ(demod.judge_map.size(), 8u);
    demod.init();
    EXPECT_TRUE(demod.judge_map.empty());
    EXPECT_TRUE(is_near(demod.psk_judge(LIB_DMA_MODULATION_PSK_8_PSK, { -1.0f, 0.1f }, 0.0f), -1.0));
    EXPECT_EQ(demod.judge_map.size(), 8u);
}

TEST(PskSlicer, GivesTheListedPoints)
{
    using demod_t = lib_dma_psk_demod_t;
    const std::complex<float> one(1.0f, 0.0f);
    const std::complex<float> minus_one(-1.0f, -8.742278e-08f);
    const std::complex<float> up(-4.371139e-08f, 1.0f);
    const std::complex<float> down(-4.371139e-08f, -1.0f);
    EXPECT_EQ(demod_t::psk_judge_bpsk({ 3.0f, 0.5f }, 0.0f, 0.0f), one);
    EXPECT_EQ(demod_t::psk_judge_bpsk({ -3.0f, 0.5f }, 0.0f, 0.0f), minus_one);
    EXPECT_EQ(demod_t::psk_judge_qpsk({ 3.0f, 0.5f }, 0.0f, 0.0f), one);
    EXPECT_EQ(demod_t::psk_judge_qpsk({ 0.5f, 3.0f }, 0.0f, 0.0f), up);
    EXPECT_EQ(demod_t::psk_judge_qpsk({ 0.5f, -3.0f }, 0.0f, 0.0f), down);
    EXPECT_EQ(demod_t::psk_judge_qpsk({ -3.0f, 0.5f }, 0.0f, 0.0f), minus_one);
    EXPECT_EQ(demod_t::psk_judge_8psk({ 3.0f, 0.5f }, 0.0f, 0.0f), one);
    EXPECT_EQ(demod_t::psk_judge_8psk({ 0.1f, 3.0f }, 0.0f, 0.0f), up);
    EXPECT_EQ(demod_t::psk_judge_8psk({ 0.1f, -3.0f }, 0.0f, 0.0f), down);
    EXPECT_EQ(demod_t::psk_judge_8psk({ -3.0f, -0.1f }, 0.0f, 0.0f), minus_one);
    EXPECT_EQ(demod_t::psk_judge_8psk({ -3.0f, 0.1f }, 0.0f, 0.0f), minus_one);
    for (int k = -3; k <= 3; ++k)
    {
        for (const double off : { -0.39, 0.0, 0.39 })
        {
            const std::complex<float> point(std::polar(2.0, k * pi / 4.0 + off));
            EXPECT_TRUE(is_near(demod_t::psk_judge_8psk(point, 0.0f, 0.0f), std::polar(1.0, k * pi / 4.0))) << k << ", " << off;
        }
    }
}

TEST(PskSlicer, TurnsThePointAndNotTheSectors)
{
    using demod_t = lib_dma_psk_demod_t;
    EXPECT_TRUE(is_near(demod_t::psk_judge_bpsk({ -3.0f, 0.5f }, 0.7f, 9.0f), std::polar(1.0, pi + static_cast<double>(0.7f))));
    EXPECT_TRUE(
        is_near(demod_t::psk_judge_qpsk({ 0.5f, 3.0f }, 0.7f, 9.0f), std::polar(1.0, pi / 2.0 + static_cast<double>(0.7f))));
    EXPECT_TRUE(
        is_near(demod_t::psk_judge_8psk({ 2.0f, -2.0f }, 0.7f, 9.0f), std::polar(1.0, -pi / 4.0 + static_cast<double>(0.7f))));
}

TEST(PskSlicer, GivesABorderToTheLowerSide)
{
    using demod_t = lib_dma_psk_demod_t;
    EXPECT_TRUE(is_near(demod_t::psk_judge_bpsk({ 0.0f, 1.0f }, 0.0f, 0.0f), 1.0));
    EXPECT_TRUE(is_near(demod_t::psk_judge_bpsk({ 0.0f, -1.0f }, 0.0f, 0.0f), -1.0));
    EXPECT_TRUE(is_near(demod_t::psk_judge_qpsk({ 1.0f, 1.0f }, 0.0f, 0.0f), 1.0));
    EXPECT_TRUE(is_near(demod_t::psk_judge_qpsk({ -1.0f, 1.0f }, 0.0f, 0.0f), { 0.0, 1.0 }));
    EXPECT_TRUE(is_near(demod_t::psk_judge_qpsk({ 1.0f, -1.0f }, 0.0f, 0.0f), { 0.0, -1.0 }));
    EXPECT_TRUE(is_near(demod_t::psk_judge_qpsk({ -1.0f, -1.0f }, 0.0f, 0.0f), -1.0));
    // A point whose angle is the border of 8PSK to the last bit.
    float im = 0.41421356f - 1e-5f;
    while (common_lib::lib_common_math_t::get_complex_phase({ 1.0f, im }) < 0.3926991f)
        im = std::nextafter(im, 1.0f);
    ASSERT_EQ(common_lib::lib_common_math_t::get_complex_phase({ 1.0f, im }), 0.3926991f);
    EXPECT_TRUE(is_near(demod_t::psk_judge_8psk({ 1.0f, im }, 0.0f, 0.0f), 1.0));
    EXPECT_TRUE(is_near(demod_t::psk_judge_8psk({ 1.0f, -im }, 0.0f, 0.0f), std::polar(1.0, -pi / 4.0)));
}

TEST(PskErrorCal, FollowsTheRuleOfTheFormat)
{
    std::mt19937 generator(21);
    std::normal_distribution<float> part(0.0f, 0.1f);
    complex_array symbols;
    for (std::size_t i = 0; i < 400; ++i)
    {
        const std::complex<double> point = std::polar(1.0, pi / 4.0 * static_cast<double>(i % 8));
        symbols.emplace_back(static_cast<float>(point.real()) * 1.2f + part(generator),
                             static_cast<float>(point.imag() + 0.1 * point.real()));
    }
    lib_dma_psk_demod_t demod;
    err_table_t table;
    table.quad_error = 5.0f;
    demod.psk_format = LIB_DMA_MODULATION_PSK_BPSK;
    EXPECT_TRUE(demod.psk_error_cal(symbols, table));
    EXPECT_EQ(table.quad_error, 0.0f);

    const float diagonal = lib_dma_phy_common_t::quad_error_cal(symbols, 0.38268343f, 0.7853982f);
    const float straight = lib_dma_phy_common_t::quad_error_cal(symbols, 0.38268343f, 0.0f);
    ASSERT_NE(diagonal, straight);
    ASSERT_NE(straight, 0.0f);
    for (const lib_dma_psk_modulation_type_t format : all_formats)
    {
        if (format == LIB_DMA_MODULATION_PSK_BPSK)
            continue;
        demod.psk_format = format;
        EXPECT_TRUE(demod.psk_error_cal(symbols, table));
        const bool four = make_points(format).size() == 4;
        EXPECT_EQ(table.quad_error, four ? diagonal : straight) << format;
    }
}

TEST(PskDemod, TurnsTheWaveformsAndNotTheSymbols)
{
    lib_dma_psk_demod_t demod;
    const complex_array row(20, { 1.0f, 0.0f });
    demod.work.meas_data = row;
    demod.work.ref_data = row;
    demod.work.meas_symbol = row;
    demod.work.ref_symbol = row;
    demod.work.decided_symbol = row;
    demod.setting.iq_rotation = 30.0f;
    EXPECT_TRUE(demod.deal_phase_rotation());
    for (std::size_t i = 0; i + 1 < row.size(); ++i)
    {
        EXPECT_TRUE(is_near(demod.work.meas_data[i], std::polar(1.0, pi / 6.0))) << i;
        EXPECT_TRUE(is_near(demod.work.ref_data[i], std::polar(1.0, pi / 6.0))) << i;
    }
    // The mixer leaves the last sample of a row whose length is no multiple of 8; both rows alike.
    EXPECT_EQ(demod.work.meas_data.back(), row.back());
    EXPECT_EQ(demod.work.ref_data.back(), row.back());
    EXPECT_EQ(demod.work.meas_symbol, row);
    EXPECT_EQ(demod.work.ref_symbol, row);
    EXPECT_EQ(demod.work.decided_symbol, row);
}

TEST(PskDemod, KeepsTheKindOfItsFilterThroughInit)
{
    complex_array impulse(301, { 0.0f, 0.0f });
    impulse[150] = { 1.0f, 0.0f };
    lib_dma_psk_demod_t demod;
    demod.setting.meas_filter_type = LIB_DMA_MEAS_GAUSSIAN_FILTER;
    demod.work.iq_data = impulse;
    ASSERT_TRUE(demod.meas_filter_process());
    const complex_array gaussian = demod.work.iq_data;
    ASSERT_LT(gaussian[150].real(), 0.9f);
    demod.init();
    demod.setting.meas_filter_type = LIB_DMA_MEAS_LOW_PASS_FILTER;
    demod.work.iq_data = impulse;
    ASSERT_TRUE(demod.meas_filter_process());
    EXPECT_EQ(demod.work.iq_data, gaussian);
}

TEST(PskDemod, NamesAnUnknownMeasurementFilter)
{
    lib_dma_psk_demod_t demod;
    demod.setting.meas_filter_type = LIB_DMA_MEAS_HALF_SINE_FILTER;
    demod.work.iq_data.assign(100, { 1.0f, 0.0f });
    const log_capture_t log;
    EXPECT_TRUE(demod.meas_filter_process());
    EXPECT_EQ(log.count(common_log::log_level_error, "error!undefined filter type\n"), 1);
}

TEST(PskDemod, IsEmptyAfterClear)
{
    lib_dma_psk_demod_t demod;
    const complex_array row(20, { 1.0f, 0.0f });
    demod_work_t& work = demod.work;
    for (complex_array* array : { &work.iq_data, &work.symbol_data, &work.timing_data, &work.sync_symbol, &work.decided_symbol,
                                  &work.ref_data, &work.meas_data, &work.meas_symbol, &work.ref_symbol })
        *array = row;
    demod.setting.const_iq_map[1] = { 1.0f, 0.0f };
    demod.psk_judge(LIB_DMA_MODULATION_PSK_QPSK, { 1.0f, 1.0f }, 0.0f);
    demod.clear();
    for (const complex_array* array :
         { &work.iq_data, &work.symbol_data, &work.timing_data, &work.sync_symbol, &work.decided_symbol, &work.ref_data,
           &work.meas_data, &work.meas_symbol, &work.ref_symbol })
        EXPECT_TRUE(array->empty());
    EXPECT_TRUE(demod.setting.const_iq_map.empty());
    EXPECT_TRUE(demod.judge_map.empty());
    EXPECT_TRUE(is_near(demod.psk_judge(LIB_DMA_MODULATION_PSK_QPSK, { 1.0f, 1.0f }, 0.0f), std::polar(1.0, pi / 4.0)));
}

TEST(PskDemod, RestoresItsDefaults)
{
    lib_dma_psk_demod_t demod;
    demod.psk_format = LIB_DMA_MODULATION_PSK_8_PSK;
    demod.setting.meas_interval = 3;
    demod.setting.sync_offset = 4.0f;
    demod.setting.iq_offset_flag = false;
    demod.init();
    EXPECT_EQ(demod.psk_format, LIB_DMA_MODULATION_PSK_BPSK);
    EXPECT_EQ(demod.setting.meas_interval, 1024u);
    EXPECT_EQ(demod.setting.sync_offset, 0.0f);
    EXPECT_TRUE(demod.setting.iq_offset_flag);
    EXPECT_EQ(demod.setting.sync_pattern_bitarr,
              (bit_array{ 1, 1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 1, 1, 1, 1, 0, 1, 1, 1, 1, 1 }));
}

TEST(PskDecodeBit, DecidesInTheTurnedFrame)
{
    for (const lib_dma_psk_modulation_type_t format : all_formats)
    {
        const std::uint32_t order = static_cast<std::uint32_t>(make_points(format).size());
        decode_run_t run(format, make_steps(60, order), 2);
        run.store.get_decode_bit(0) = { 9, 9, 9 };
        EXPECT_TRUE(run.demod.psk_decode_bit(0, run.store));
        EXPECT_EQ(run.store.get_decode_bit(0), run.get_indices(0, 60)) << format;
        EXPECT_FALSE(run.get_sync_flag());
        EXPECT_FALSE(run.get_decode_flag());
        // Peak 1 at the reference's symbols, the measurement at their rms.
        for (std::size_t i = 0; i < run.demod.work.ref_data.size(); i += 2)
        {
            ASSERT_NEAR(static_cast<double>(std::abs(run.demod.work.ref_data[i])), 1.0, 1e-5);
            ASSERT_NEAR(static_cast<double>(std::abs(run.demod.work.meas_data[i])), 1.0, 1e-5);
        }
    }
}

TEST(PskDecodeBit, DecidesOnAUsersMapAsTheSymbolsAre)
{
    decode_run_t run(LIB_DMA_MODULATION_PSK_BPSK, { 0, 1, 1, 0, 1 });
    run.store.get_psk_modulation_param().rotation_angle = 3.1415927f; // would swap the two
    run.demod.setting.constellation_setting_flag = true;
    run.demod.setting.const_iq_map = { { 5, { 3.0f, 0.0f } }, { 9, { -3.0f, 0.0f } } };
    EXPECT_TRUE(run.demod.psk_decode_bit(0, run.store));
    EXPECT_EQ(run.store.get_decode_bit(0), (index_array{ 5, 9, 9, 5, 9 }));
}

TEST(PskDecodeBit, FindsAWordAtBitZero)
{
    decode_run_t run(LIB_DMA_MODULATION_PSK_QPSK, make_steps(60, 4));
    run.search(expand(run.get_indices(0, 10), 2));
    run.demod.setting.meas_interval = 40;
    run.demod.setting.data_start = 17;
    const log_capture_t log;
    EXPECT_TRUE(run.demod.psk_decode_bit(0, run.store));
    EXPECT_TRUE(run.get_sync_flag());
    EXPECT_TRUE(run.get_decode_flag());
    EXPECT_EQ(run.demod.setting.data_start, 17u);
    EXPECT_EQ(run.store.get_decode_bit(0), run.get_indices(0, 40));
    EXPECT_EQ(run.demod.work.meas_data.size(), 40u);
    EXPECT_TRUE(log.get_records().empty());
}

TEST(PskDecodeBit, FindsAWordAtEveryTurnAndTurnsBothByTheLast)
{
    struct turn_case_t
    {
        lib_dma_psk_modulation_type_t format;
        std::vector<std::uint32_t> copy_turns; // where the search copy stands at each try, in steps of the circle
    };
    const turn_case_t cases[] = { { LIB_DMA_MODULATION_PSK_BPSK, { 0, 1 } },
                                  { LIB_DMA_MODULATION_PSK_QPSK, { 0, 1, 3, 2 } },
                                  { LIB_DMA_MODULATION_PSK_8_PSK, { 0, 1, 3, 6, 2, 7, 5, 4 } },
                                  { LIB_DMA_MODULATION_PSK_3PI_4_QPSK, { 0, 2 } },
                                  { LIB_DMA_MODULATION_PSK_3PI_8_PSK, { 0, 4 } } };
    for (const turn_case_t& item : cases)
    {
        const std::uint32_t order = static_cast<std::uint32_t>(make_points(item.format).size());
        for (std::size_t attempt = 0; attempt < item.copy_turns.size(); ++attempt)
        {
            decode_run_t run(item.format, make_steps(200, order));
            const std::uint32_t turned = item.copy_turns[attempt];
            run.search(expand(run.get_indices(50, 80, turned), run.bits));
            run.demod.setting.meas_interval = 100;
            run.demod.setting.sample_rate = 4 * run.demod.setting.symbol_rate;
            const complex_array ref_before = run.demod.work.ref_data;
            const log_capture_t log;
            ASSERT_TRUE(run.demod.psk_decode_bit(0, run.store));
            EXPECT_TRUE(run.get_sync_flag()) << item.format << ", try " << attempt;
            EXPECT_TRUE(run.get_decode_flag());
            EXPECT_EQ(log.count(common_log::log_level_error, "Pattern Not Found!\n"), 0);
            EXPECT_EQ(run.store.get_decode_bit(0), run.get_indices(50, 150, turned)) << item.format << ", try " << attempt;
            EXPECT_EQ(run.demod.setting.data_start, 25u); // 50 points, 4 samples a symbol over 8

            const double step = item.copy_turns.size() == 2 ? pi : 2.0 * pi / order;
            const std::complex<double> turn = std::polar(1.0, step * static_cast<double>(attempt));
            ASSERT_EQ(run.demod.work.ref_data.size(), 100u);
            for (std::size_t i = 0; i < 100; ++i)
            {
                const std::complex<double> wanted = 2.0 * std::complex<double>(ref_before[50 + i]) * turn;
                ASSERT_TRUE(is_near(run.demod.work.ref_data[i], wanted, 1e-5)) << item.format << ", try " << attempt;
                ASSERT_TRUE(is_near(run.demod.work.meas_data[i], wanted, 1e-5));
            }
        }
    }
}

TEST(PskDecodeBit, TriesFormatsWithAFixedTurnAtZeroAndPiOnly)
{
    for (const lib_dma_psk_modulation_type_t format : { LIB_DMA_MODULATION_PSK_3PI_4_QPSK, LIB_DMA_MODULATION_PSK_3PI_8_PSK })
    {
        const std::uint32_t order = static_cast<std::uint32_t>(make_points(format).size());
        decode_run_t run(format, make_steps(200, order));
        run.search(expand(run.get_indices(50, 80, 1), run.bits));
        const log_capture_t log;
        EXPECT_TRUE(run.demod.psk_decode_bit(0, run.store));
        EXPECT_FALSE(run.get_sync_flag());
        EXPECT_EQ(log.count(common_log::log_level_error, "Pattern Not Found!\n"), 1);
    }
}

TEST(PskDecodeBit, GoesOnWithoutTheWord)
{
    decode_run_t run(LIB_DMA_MODULATION_PSK_QPSK, make_steps(60, 4), 2);
    run.search(expand(index_array(30, 2), 2));
    run.demod.setting.meas_interval = 80;
    run.demod.setting.data_start = 1000;
    run.store.get_dma_demod_config_mgr(0).pulse_center_sym = 7;
    const log_capture_t log;
    EXPECT_TRUE(run.demod.psk_decode_bit(0, run.store));
    EXPECT_EQ(log.count(common_log::log_level_error, "Pattern Not Found!\n"), 1);
    EXPECT_FALSE(run.get_sync_flag());
    EXPECT_FALSE(run.get_decode_flag());
    EXPECT_EQ(run.demod.setting.data_start, 1014u);
    EXPECT_EQ(run.store.get_decode_bit(0), run.get_indices(0, 40, 2)); // as the last try left them
}

TEST(PskDecodeBit, NeverSearchesInALaterSegment)
{
    for (const bool flag : { false, true })
    {
        decode_run_t run(LIB_DMA_MODULATION_PSK_QPSK, make_steps(60, 4), 1, 2);
        run.search(expand(run.get_indices(20, 30), 2));
        run.demod.setting.data_start = 31;
        run.store.get_sync_search_flag_vec().at(1) = flag;
        EXPECT_TRUE(run.demod.psk_decode_bit(1, run.store));
        EXPECT_EQ(run.get_sync_flag(1), flag);
        EXPECT_FALSE(run.get_sync_flag(0));
        EXPECT_EQ(run.get_decode_flag(1), flag);
        EXPECT_EQ(run.store.get_decode_bit(1), run.get_indices(0, 60));
        EXPECT_EQ(run.demod.setting.data_start, 31u);
    }
}

TEST(PskDecodeBit, RejectsAnOffsetThatPointsOutside)
{
    // Before the first symbol, and, with the word near the start, past the last one.
    for (const float offset : { 5.0f, -5.0f })
    {
        decode_run_t run(LIB_DMA_MODULATION_PSK_QPSK, make_steps(60, 4));
        run.search(expand(run.get_indices(2, 22), 2));
        run.demod.setting.meas_interval = offset > 0.0f ? 30 : 58;
        run.demod.setting.sync_offset = offset;
        EXPECT_TRUE(run.demod.psk_decode_bit(0, run.store));
        EXPECT_TRUE(run.get_sync_flag());
        EXPECT_FALSE(run.get_decode_flag());
        EXPECT_EQ(run.demod.setting.sync_offset, 0.0f);
        // From the word to the end of the window: 7 + 30 symbols, or 58 from the clamped start.
        EXPECT_EQ(run.store.get_decode_bit(0), run.get_indices(2, offset > 0.0f ? 37 : 58));
    }
}

TEST(PskDecodeBit, SaysThatTheDataAreTooShort)
{
    decode_run_t run(LIB_DMA_MODULATION_PSK_QPSK, make_steps(60, 4));
    run.search(expand(run.get_indices(20, 40), 2));
    run.demod.setting.meas_interval = 41;
    const log_capture_t log;
    EXPECT_TRUE(run.demod.psk_decode_bit(0, run.store));
    EXPECT_EQ(log.count(common_log::log_level_error, "oqpsk_decode_bit:data is too short!\n"), 1);
    EXPECT_TRUE(run.get_decode_flag());
    EXPECT_EQ(run.store.get_decode_bit(0), run.get_indices(20, 60));
    EXPECT_EQ(run.demod.work.meas_data.size(), 41u);
}

TEST(PskDecodeBit, FailsWithoutAReference)
{
    decode_run_t run(LIB_DMA_MODULATION_PSK_QPSK, make_steps(30, 4));
    run.demod.work.ref_data.assign(30, { 0.0f, 0.0f });
    const trace_capture_t trace;
    EXPECT_FALSE(run.demod.psk_decode_bit(0, run.store));
    EXPECT_TRUE(contains(trace.get_text(), "psk_decode_bit::rms_normalize Report: Data array has a too small rms0: "));
}

TEST(PskDecodeBit, FailsWithoutAMeasurement)
{
    decode_run_t run(LIB_DMA_MODULATION_PSK_QPSK, make_steps(30, 4));
    run.demod.work.meas_data.assign(30, { 0.0f, 0.0f });
    const trace_capture_t trace;
    EXPECT_FALSE(run.demod.psk_decode_bit(0, run.store));
    EXPECT_TRUE(contains(trace.get_text(), "psk_decode_bit::rms_normalize Report: Data array has a too small rms2: "));
}

TEST(PskDecodeBit, NeedsTheFlagsOfTheSegment)
{
    decode_run_t run(LIB_DMA_MODULATION_PSK_QPSK, make_steps(30, 4));
    run.store.get_sync_search_flag_vec().clear();
    EXPECT_THROW(run.demod.psk_decode_bit(0, run.store), std::out_of_range);
}

TEST(PskCarrierSync, GoesOnWithoutALock)
{
    for (const std::size_t symbols : { 0u, 1u, 15u, 19u })
    {
        lib_dma_psk_demod_t demod;
        demod.psk_format = LIB_DMA_MODULATION_PSK_QPSK;
        demod.setting.pre_num = 0;
        demod.setting.sps = 8;
        demod.work.timing_data.assign(symbols * 8, std::complex<float>(std::polar(1.0, pi / 4.0 + 0.1)));
        lib_dma_psk_modulation_param param;
        param.rotation_angle = eighth_turn;
        float_array line;
        float_array fit;
        float_array track;
        double frequency = 7.0;
        const log_capture_t log;
        const trace_capture_t trace;
        EXPECT_TRUE(demod.psk_carrier_sync(param, line, frequency, fit, track));
        EXPECT_EQ(log.count(common_log::log_level_error, "psk_lock_phase_detect:error!\n"), 1);
        EXPECT_TRUE(
            contains(trace.get_text(), "psk_carrier_sync:phase_out size = " + std::to_string(symbols) + "   locked_point = "));
        EXPECT_EQ(track.size(), symbols);
        EXPECT_EQ(std::isnan(frequency), symbols < 2) << symbols;
    }
}

TEST(PskCarrierSync, ReportsTheFrequencyWithoutTheFixedTurn)
{
    struct sync_case_t
    {
        lib_dma_psk_modulation_type_t format;
        double turn;
    };
    for (const sync_case_t& item :
         { sync_case_t{ LIB_DMA_MODULATION_PSK_QPSK, 0.0 }, sync_case_t{ LIB_DMA_MODULATION_PSK_3PI_4_QPSK, 3.0 * pi / 4.0 },
           sync_case_t{ LIB_DMA_MODULATION_PSK_3PI_8_PSK, 3.0 * pi / 8.0 } })
    {
        lib_dma_psk_demod_t demod;
        demod.psk_format = item.format;
        demod.setting.pre_num = 16;
        demod.setting.sps = 8;
        demod.setting.symbol_rate = 1000000;
        const std::vector<std::complex<double>> points = make_points(item.format);
        const index_array steps = make_steps(800, static_cast<std::uint32_t>(points.size()));
        for (std::size_t i = 0; i < steps.size(); ++i)
        {
            // 100 Hz of 1 MHz, and the turn of the format.
            const double phase = (item.turn + 2.0 * pi * 1e-4) * static_cast<double>(i);
            for (int k = 0; k < 8; ++k)
                demod.work.timing_data.emplace_back(points[steps[i]] * std::polar(1.0, phase));
        }
        lib_dma_psk_modulation_param param;
        param.rotation_angle = points.size() == 4 ? eighth_turn : 0.0f;
        float_array line;
        float_array fit;
        float_array track;
        double frequency = 0.0;
        const log_capture_t log;
        const trace_capture_t trace;
        EXPECT_TRUE(demod.psk_carrier_sync(param, line, frequency, fit, track));
        EXPECT_EQ(log.count(common_log::log_level_error, "psk_lock_phase_detect:error!\n"), 0);
        EXPECT_NEAR(frequency, 100.0, 20.0) << item.format; // the track counts 1,900 radians in single precision
        ASSERT_EQ(line.size(), 796u);
        EXPECT_NEAR(static_cast<double>(fit.at(0)), item.turn + 2.0 * pi * 1e-4, 1.5e-4);
    }
}

TEST(PskErrorTable, OfAnExactSignalHasNoOffset)
{
    decode_run_t run(LIB_DMA_MODULATION_PSK_BPSK, make_steps(40, 2), 2);
    run.demod.work.meas_data = run.demod.work.ref_data;
    run.demod.work.meas_symbol.assign(40, { 1.0f, 0.3f });
    run.store.get_err_table(0).quad_error = 3.0f;
    run.store.get_error_summary(0).carrier_power = -7.0f;
    const trace_capture_t trace;
    EXPECT_TRUE(run.demod.error_cal(0, run.store));
    EXPECT_EQ(run.store.get_err_table(0).iq_offset, -1e10f);
    EXPECT_EQ(run.store.get_err_table(0).quad_error, 0.0f);
    EXPECT_NEAR(static_cast<double>(run.store.get_err_table(0).rho), 1.0, 1e-5);
    EXPECT_EQ(run.store.get_error_summary(0).carrier_power, -7.0f);

    run.store.get_err_table(0).iq_offset = 5.0f;
    run.demod.setting.iq_offset_flag = false;
    EXPECT_TRUE(run.demod.error_cal(0, run.store));
    EXPECT_EQ(run.store.get_err_table(0).iq_offset, 5.0f);
}

TEST(PskErrorTable, StoresTheVectorsOfAllPoints)
{
    decode_run_t run(LIB_DMA_MODULATION_PSK_QPSK, make_steps(40, 4), 2);
    const complex_array ref = run.demod.work.ref_data; // 0.5 at the symbols, a trace between them
    complex_array meas = ref;
    for (std::complex<float>& point : meas)
        point *= 0.9f;
    meas[6] = { std::numeric_limits<float>::infinity(), 0.0f }; // symbol 3
    run.demod.work.meas_data = meas;
    run.demod.work.meas_symbol.assign(40, { 0.5f, 0.5f });
    const trace_capture_t trace;
    EXPECT_TRUE(run.demod.error_cal(0, run.store));
    EXPECT_EQ(run.store.get_error_summary(0).ref_data, ref);
    EXPECT_EQ(run.store.get_error_summary(0).meas_data.size(), 80u);
    ASSERT_EQ(run.store.get_iq_meas_time_constellation(0).size(), 40u); // mended, not shortened
    EXPECT_EQ(run.store.get_iq_meas_time_constellation(0)[3], std::complex<float>(0.0f, 0.0f));
    EXPECT_EQ(run.store.get_iq_meas_time_constellation(0)[4], meas[8]);
    EXPECT_EQ(run.store.get_iq_ref_time_constellation(0)[3], ref[6]);
    ASSERT_EQ(run.store.get_error_vector(0).size(), 80u);
    ASSERT_EQ(run.store.get_mag_error_vector(0).size(), 80u);
    ASSERT_EQ(run.store.get_phase_error_vector(0).size(), 80u);
    // Percent of the symbols' rms of 0.5, real; the vector itself is not scaled.
    EXPECT_TRUE(is_near(run.store.get_mag_error_vector(0)[0], 10.0, 1e-4));
    EXPECT_TRUE(is_near(run.store.get_mag_error_vector(0)[1], std::sqrt(0.02) * 0.1 / 0.5 * 100.0, 1e-4));
    EXPECT_TRUE(is_near(run.store.get_error_vector(0)[0], 0.1 * std::complex<double>(ref[0]), 1e-6));
    EXPECT_TRUE(is_near(run.store.get_phase_error_vector(0)[0], 0.0, 1e-4));
}

TEST(PskReference, FailsOnASilentMeasurement)
{
    lib_dma_psk_demod_t demod;
    demod.setting.sps = 8;
    demod.setting.ref_filter_type = LIB_DMA_REF_RAISED_COSINE_FILTER;
    demod.work.decided_symbol.assign(40, { 1.0f, 0.0f });
    demod.work.meas_data.assign(320, { 0.0f, 0.0f });
    lib_dma_demod_config_mgr config;
    const trace_capture_t trace;
    EXPECT_FALSE(demod.ref_data_generate(config));
    EXPECT_TRUE(contains(trace.get_text(), "ref_data_generate::rms_normalize Report: Data array has a too small rms: "));
}

namespace
{
/// A whole run on a block at 8 samples a symbol.
struct process_run_t
{
    explicit process_run_t(lib_dma_psk_modulation_type_t format)
    {
        lib_dma_segment_configure_manager_t& segment = frame.get_segment(0);
        segment.get_format_configure().set_psk_format(format);
        segment.get_format_configure().set_symbol_rate(1000000);
        segment.get_format_configure().set_points_per_symbol(LIB_DMA_POINT2);
        segment.get_filter_configure().set_meas_filter_type(LIB_DMA_MEAS_NONE_FILTER);
        segment.get_filter_configure().set_ref_filter_type(LIB_DMA_REF_RAISED_COSINE_FILTER);
        segment.get_filter_configure().set_filter_alpha(0.35f);
        segment.get_filter_configure().set_filter_length(32);
        segment.get_time_configure().set_meas_interval(LIB_DMA_GROUP_PSK, 300);
        segment.get_time_configure().set_meas_offset(0);
        store.init();
        store.set_config(frame);
        const std::size_t order = make_points(format).size();
        store.get_psk_modulation_param().rotation_angle = order == 4 ? eighth_turn : 0.0f;
        config.pre_num = 32 * 8;
        config.head_len = 32 * 8;
        config.sample_rate = 8000000;
        config.data_len = 100000;
        demod.init();
        demod.set_frame_configure(frame, 0, config);
    }

    bool run(const complex_array& block)
    {
        const trace_capture_t trace;
        const bool result = demod.lib_dma_psk_demod_process(0, {}, block, store, config);
        text = trace.get_text();
        return result;
    }

    lib_dma_frame_configure_manager_t frame;
    lib_dma_phy_data_manager_t store;
    lib_dma_demod_config_mgr config;
    lib_dma_psk_demod_t demod;
    std::string text;
};

complex_array make_block(dma_test::signal_format_t format, double carrier_offset)
{
    dma_test::signal_setting_t setting;
    setting.format = format;
    setting.pulse = dma_test::signal_pulse_t::raised_cosine;
    setting.sample_rate = 8.0e6;
    setting.symbol_count = 500;
    setting.timing_symbols = 0.3;
    setting.carrier_offset_hz = carrier_offset;
    setting.carrier_phase = 0.7;
    return dma_test::make_signal(setting).samples;
}
} // namespace

TEST(PskProcess, MeasuresASignal)
{
    const complex_array block = make_block(dma_test::signal_format_t::qpsk, 3000.0);
    process_run_t run(LIB_DMA_MODULATION_PSK_QPSK);
    ASSERT_EQ(run.demod.setting.sps, 8u);
    ASSERT_TRUE(run.run(block));
    const error_summary_t& summary = run.store.get_error_summary(0);
    EXPECT_LT(summary.evm_rms, 1.0f);
    EXPECT_NEAR(static_cast<double>(run.store.get_err_table(0).frequency_error), 3000.0, 5.0);
    // The waveforms leave at 2 points a symbol, the raw record is cut to as many samples.
    EXPECT_EQ(summary.meas_data.size(), 600u);
    EXPECT_EQ(summary.ref_data.size(), 600u);
    EXPECT_EQ(run.store.get_iq_ref_time_constellation(0).size(), 300u);
    EXPECT_EQ(run.store.get_iq_raw_time(0), complex_array(block.begin(), block.begin() + 600));
    EXPECT_TRUE(contains(run.text, "raw time data len is 600"));
    EXPECT_TRUE(contains(run.text, "EVM(rms) = "));
    EXPECT_TRUE(run.demod.work.meas_data.empty());
    EXPECT_EQ(run.config.result_stop - run.config.result_start, 600);
}

TEST(PskProcess, TakesTheOffsetOfATurningFormatFromTheCarrierLoop)
{
    process_run_t run(LIB_DMA_MODULATION_PSK_3PI_4_QPSK);
    ASSERT_TRUE(run.run(make_block(dma_test::signal_format_t::qpsk_3pi_4, 500.0)));
    EXPECT_LT(run.store.get_error_summary(0).evm_rms, 1.5f);
    EXPECT_NEAR(static_cast<double>(run.store.get_err_table(0).frequency_error), 500.0, 20.0);
}

TEST(PskProcess, FailsOnSilenceAndLeavesTheBlock)
{
    const complex_array silence(4000, { 0.0f, 0.0f });
    process_run_t run(LIB_DMA_MODULATION_PSK_QPSK);
    const log_capture_t log;
    EXPECT_FALSE(run.run(silence));
    EXPECT_TRUE(contains(run.text, "ref_data_generate::rms_normalize Report: Data array has a too small rms: "));
    EXPECT_EQ(run.store.get_iq_raw_time(0), complex_array(600, { 0.0f, 0.0f }));
    EXPECT_FALSE(run.demod.work.meas_data.empty()); // to look at, until the next init
}

TEST(PskProcess, LeavesTheWholeBlockWhenItFailsBeforeTheCarrierStands)
{
    const complex_array block = make_block(dma_test::signal_format_t::qpsk, 0.0);
    process_run_t run(LIB_DMA_MODULATION_PSK_QPSK);
    run.demod.setting.meas_filter_type = LIB_DMA_MEAS_GAUSSIAN_FILTER;
    run.demod.setting.sps = 0; // no taps
    EXPECT_FALSE(run.run(block));
    EXPECT_EQ(run.store.get_iq_raw_time(0), block);
}

TEST(PskPosition, SaysThatTheWindowRunsPastTheData)
{
    lib_dma_psk_demod_t demod;
    demod.setting.data_start = 100;
    demod.setting.meas_interval = 400;
    lib_dma_demod_config_mgr config;
    config.data_len = 450;
    const log_capture_t log;
    EXPECT_TRUE(demod.cal_demod_param(config));
    EXPECT_EQ(log.count(common_log::log_level_error, "cal_demod_param:Data Out Of Acq Rang!\n"), 1);
    EXPECT_EQ(config.result_start, 100);
    EXPECT_EQ(config.result_stop, 450);
}
