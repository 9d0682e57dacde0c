#include "lib_dma_demod/lib_dma_dpsk_demod.h"

#include "lib_dma_common/lib_dma_phy_common.h"
#include "lib_dma_demod/demod_run.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <random>
#include <string>

using namespace vrim;
using namespace vrim::dma_demod_lib;
using namespace demod_test;
using demod_t = lib_dma_dpsk_demod_t;
using common_log::log_level_error;
using common_log::log_level_info;

namespace
{
using run_t = process_run_t<demod_t>;

constexpr float quarter_pi = 0.7853982f;
constexpr float eighth_pi = 0.3926991f;
constexpr const char* no_lock = "dpsk_lock_phase_detect:error!\n";
constexpr const char* sixteen = "dpsk_judge::dpsk_judge default 16!\n";

/// A format: its alphabet of steps, the angle of its first point, and its turn.
struct format_t
{
    std::uint32_t value;
    std::uint32_t order;
    double first;
    double turn;
};

const format_t formats[] = {
    { 2, 2, 0.0, 0.0 }, { 4, 4, pi / 4.0, 0.0 }, { 5, 4, 0.0, pi / 4.0 }, { 6, 8, 0.0, pi / 8.0 }, { 8, 8, 0.0, 0.0 },
};

lib_dma_dpsk_modulation_type_t to_format(std::uint32_t value)
{
    return static_cast<lib_dma_dpsk_modulation_type_t>(value);
}

/// Symbols of phase places, the i-th turned by slope * i + phase besides.
point_array make_symbols(const format_t& format, const index_array& places, double slope = 0.0, double phase = 0.0)
{
    point_array symbols;
    for (std::size_t i = 0; i < places.size(); ++i)
        symbols.push_back(std::polar(1.0, format.first + 2.0 * pi * places[i] / format.order +
                                              (format.turn + slope) * static_cast<double>(i) + phase));
    return symbols;
}

/// Key of a step in places: two points have key 1 at angle 0, the others rise from there.
std::uint32_t get_key(std::uint32_t step, std::uint32_t order)
{
    return order == 2 ? 1 - step % 2 : step % order;
}

/// Keys of the steps; the first symbol stands for the step from phase 0, `first_place` in places.
index_array get_keys(const index_array& places, std::uint32_t order, std::uint32_t first_place)
{
    index_array keys = { get_key(first_place, order) };
    for (std::size_t i = 1; i < places.size(); ++i)
        keys.push_back(get_key(places[i] + order - places[i - 1], order));
    return keys;
}

/// A demodulator before its decoding. Its symbols stand at multiples of the alphabet's step, turned by `phase`.
decode_run_t<demod_t> make_decode_run(std::uint32_t order, const index_array& places, double phase = 0.0)
{
    decode_run_t<demod_t> run(make_symbols({ order, order, 0.0, 0.0 }, places, 0.0, phase), 1);
    run.demod.dpsk_format = to_format(order);
    return run;
}

run_t make_process_run(std::uint32_t value)
{
    run_t run(
        [value](lib_dma_format_configure_manager_t& manager)
        {
            manager.set_format_group(LIB_DMA_GROUP_DPSK);
            manager.set_dpsk_format(to_format(value));
        });
    return run;
}

/// A demodulator before its carrier loop, 8 samples a symbol and no run-in.
struct sync_run_t
{
    sync_run_t(std::uint32_t value, const point_array& symbols)
    {
        demod.dpsk_format = to_format(value);
        demod.setting.pre_num = 0;
        demod.setting.sps = 8;
        demod.setting.symbol_rate = 1000000;
        demod.work.timing_data = hold(symbols, 8);
        demod.cal_dpsk_carrier_sync_params();
    }

    bool run()
    {
        const trace_capture_t trace;
        const bool result = demod.dpsk_carrier_sync(line, frequency, fit, track);
        text = trace.get_text();
        return result;
    }

    demod_t demod;
    float_array line;
    float_array fit;
    float_array track;
    double frequency = 7.0;
    std::string text;
};
} // namespace

TEST(DpskCarrierParams, AreThoseOfTheTable)
{
    struct row_t
    {
        std::uint32_t before;
        std::uint32_t after;
        float rotation;
        float step;
    };
    for (const row_t& row : { row_t{ 2, 2, 0.0f, 0.0f }, row_t{ 4, 4, quarter_pi, 0.0f }, row_t{ 5, 4, 0.0f, quarter_pi },
                              row_t{ 6, 8, 0.0f, eighth_pi }, row_t{ 8, 8, eighth_pi, 0.0f } })
    {
        demod_t demod;
        demod.dpsk_format = to_format(row.before);
        demod.carrier_rotation = 9.0f;
        demod.carrier_step = 9.0f;
        const log_capture_t log;
        EXPECT_TRUE(demod.cal_dpsk_carrier_sync_params());
        EXPECT_EQ(static_cast<std::uint32_t>(demod.dpsk_format), row.after);
        EXPECT_EQ(demod.carrier_rotation, row.rotation) << row.before;
        EXPECT_EQ(demod.carrier_step, row.step) << row.before;
        EXPECT_TRUE(log.get_records().empty());
    }
}

TEST(DpskCarrierParams, MakeAnUnknownFormatDbpsk)
{
    for (const std::uint32_t value : { 0u, 3u, 7u, 16u, 99u })
    {
        demod_t demod;
        demod.dpsk_format = to_format(value);
        demod.carrier_rotation = 9.0f;
        const log_capture_t log;
        EXPECT_TRUE(demod.cal_dpsk_carrier_sync_params());
        EXPECT_EQ(demod.dpsk_format, LIB_DMA_MODULATION_PSK_DBPSK);
        EXPECT_EQ(demod.carrier_rotation, 0.0f);
        EXPECT_EQ(demod.carrier_step, 0.0f);
        EXPECT_EQ(log.count(log_level_error, "lib_dma_dpsk_demod_t::cal_dpsk_carrier_sync_params error!\n"), 1) << value;
    }
}

TEST(DpskJudge, DecidesTheNearestPointOfTheOrder)
{
    std::mt19937 generator(8);
    std::normal_distribution<double> part;
    const log_capture_t log;
    for (const std::uint32_t order : { 2u, 4u, 8u, 16u })
    {
        // QPSK has its points on the diagonals, the others from angle 0 on. A rotation turns map and symbol alike.
        const double first = order == 4 ? pi / 4.0 : 0.0;
        const double sector = 2.0 * pi / order;
        for (const float rotation : { 0.0f, quarter_pi, eighth_pi, 1.0f })
        {
            demod_t demod;
            for (int i = 0; i < 300; ++i)
            {
                const double re = part(generator);
                const std::complex<double> value(re, part(generator));
                const double place = (std::arg(value) - first) / sector;
                if (std::abs(std::abs(place - std::round(place)) - 0.5) < 1e-4)
                    continue;
                const std::complex<float> decided =
                    demod.dpsk_judge(static_cast<lib_dma_psk_modulation_type_t>(order), std::complex<float>(value), rotation);
                ASSERT_TRUE(is_near(decided, std::polar(1.0, first + sector * std::round(place)))) << order << ", " << rotation;
            }
            EXPECT_EQ(demod.judge_map.size(), order);
        }
    }
    EXPECT_TRUE(log.get_records().empty()); // order 16 is known
}

TEST(DpskJudge, TakesAnUnknownOrderForSixteenAndSaysSo)
{
    demod_t demod;
    const log_capture_t log;
    long said = 0;
    for (const std::uint32_t order : { 0u, 3u, 5u, 32u, 32u })
    {
        EXPECT_TRUE(is_near(
            demod.dpsk_judge(static_cast<lib_dma_psk_modulation_type_t>(order), std::complex<float>(std::polar(2.0, 0.5)), 0.0f),
            std::polar(1.0, pi / 8.0)));
        EXPECT_EQ(demod.judge_map.size(), 16u);
        EXPECT_EQ(log.count(log_level_error, sixteen), ++said);
    }
}

TEST(DpskSlicer, HasEqualSectors)
{
    std::mt19937 generator(9);
    std::uniform_real_distribution<double> angle(-pi, pi);
    struct slicer_t
    {
        std::complex<float> (*judge)(std::complex<float>, float, float);
        int order;
    };
    for (const slicer_t& slicer : { slicer_t{ demod_t::psk_judge_bpsk, 2 }, slicer_t{ demod_t::psk_judge_qpsk, 4 },
                                    slicer_t{ demod_t::psk_judge_8psk, 8 }, slicer_t{ demod_t::psk_judge_16psk, 16 } })
    {
        const double sector = 2.0 * pi / slicer.order;
        for (int i = 0; i < 500; ++i)
        {
            const double a = angle(generator);
            if (std::abs(fold_angle(a - sector / 2.0, sector)) < 1e-5)
                continue;
            const std::complex<double> wanted = std::polar(1.0, sector * std::round(a / sector) + static_cast<double>(0.3f));
            ASSERT_TRUE(is_near(slicer.judge(std::complex<float>(std::polar(3.0, a)), 0.3f, 77.0f), wanted)) << slicer.order;
        }
    }
    EXPECT_EQ(demod_t::psk_judge_qpsk({ 1.0f, 1.0f }, 0.0f, 0.0f), std::complex<float>(1.0f, 0.0f)); // the lower side
    EXPECT_EQ(demod_t::psk_judge_bpsk({ 0.0f, -1.0f }, 0.0f, 0.0f), std::complex<float>(-1.0f, -8.742278e-08f));
}

TEST(DpskCarrierSync, FindsPhaseAndFrequency)
{
    for (const format_t& format : formats)
    {
        for (const double hertz : { 100.0, -100.0 })
        {
            const double step = 2.0 * pi * hertz / 1e6;
            sync_run_t run(format.value, make_symbols(format, make_indices(1000, format.order), step, 0.05));
            const log_capture_t log;
            ASSERT_TRUE(run.run());
            EXPECT_EQ(log.count(log_level_info, "lib_dma_dpsk_demod_t::dpsk_carrier_sync.\n"), 1);
            EXPECT_EQ(log.count(log_level_error, no_lock), 0) << format.value;
            EXPECT_EQ(log.count(log_level_error, sixteen), 0) << format.value;
            EXPECT_NEAR(run.frequency, hertz, 10.0) << format.value;
            EXPECT_NEAR(static_cast<double>(run.fit.at(0)), format.turn + step, 1e-4) << format.value;
            ASSERT_EQ(run.track.size(), 1000u);
            ASSERT_EQ(run.line.size(), 1000u);
            // A turning format may settle on either of its two sets.
            const double period = 2.0 * pi / (format.turn == 0.0 ? format.order : 2 * format.order);
            EXPECT_NEAR(fold_angle(static_cast<double>(run.fit.at(1)) - 0.05, period), 0.0, 0.02) << format.value;
            // Twice the points for a turning format, while the format itself is that of its steps.
            EXPECT_EQ(run.demod.judge_map.size(), format.turn == 0.0 ? format.order : 2 * format.order);
            EXPECT_EQ(static_cast<std::uint32_t>(run.demod.dpsk_format), format.order);
            EXPECT_TRUE(contains(run.text, "dpsk_carrier_sync:phase_out size = 1000   locked_point = "));
            EXPECT_TRUE(contains(run.text, "dpsk_carrier_sync dpsk_lock_phase_detect time: "));
            EXPECT_TRUE(contains(run.text, "dpsk_carrier_sync deal_polyfit time: time: "));
            EXPECT_TRUE(contains(run.text, "dpsk_carrier_sync adjacent_difference time: "));
        }
    }
}

TEST(DpskCarrierSync, GoesOnWithoutALock)
{
    for (const std::size_t symbols : { 0u, 1u, 19u })
    {
        sync_run_t run(4, point_array(symbols, std::polar(1.0, pi / 4.0)));
        const log_capture_t log;
        EXPECT_TRUE(run.run());
        EXPECT_EQ(log.count(log_level_error, no_lock), 1) << symbols;
        EXPECT_EQ(std::isnan(run.frequency), symbols < 2) << symbols;
    }
}

TEST(DpskSymbolDetect, PutsTheTurnOfTheFormatBack)
{
    for (const format_t& format : formats)
    {
        const index_array places = make_indices(120, format.order);
        demod_t demod;
        demod.dpsk_format = to_format(format.value);
        demod.cal_dpsk_carrier_sync_params();
        demod.setting.sps = 8;
        // Standing, as the carrier line leaves them; for a turning format on the other one of its sets.
        const double offset = format.turn == 0.0 ? 0.0 : pi / format.order;
        demod.work.timing_data = hold(make_symbols({ 0, format.order, format.first, 0.0 }, places, 0.0, offset), 8);
        const log_capture_t log;
        ASSERT_TRUE(demod.symbol_detect());
        EXPECT_EQ(log.count(log_level_info, "lib_dma_dpsk_demod_t::symbol_detect.\n"), 1);
        const point_array wanted = make_symbols(format, places, 0.0, offset);
        ASSERT_EQ(demod.work.decided_symbol.size(), 120u);
        for (std::size_t i = 0; i < 120; ++i)
            ASSERT_TRUE(is_near(demod.work.decided_symbol[i], wanted[i], 2e-5)) << format.value << ", " << i;
    }
}

TEST(DpskDecodeBit, DecidesTheStepsFromSymbolToSymbol)
{
    for (const std::uint32_t order : { 2u, 4u, 8u })
    {
        for (const double phase : { 0.0, 0.3 / order, 2.0 * pi / order })
        {
            const index_array places = make_indices(64, order);
            auto run = make_decode_run(order, places, phase);
            run.store.get_decode_bit(0) = { 9 };
            const log_capture_t log;
            ASSERT_TRUE(run.demod.dpsk_decode_bit(0, run.store));
            EXPECT_EQ(log.count(log_level_info, "lib_dma_dpsk_demod_t::dpsk_decode_bit.\n"), 1);
            const std::uint32_t first = places[0] + static_cast<std::uint32_t>(std::lround(phase / (2.0 * pi / order)));
            EXPECT_EQ(run.get_decoded(), get_keys(places, order, first)) << order << ", " << phase;
            EXPECT_FALSE(run.get_decode_flag());
        }
    }
}

TEST(DpskDecodeBit, KeepsItsKeysAsTheDecisionOfAPhaseDoes)
{
    // The keys of the operation that decides one phase difference.
    for (const std::uint32_t order : { 2u, 4u, 8u })
    {
        for (std::uint32_t step = 0; step < order; ++step)
        {
            const float phase = static_cast<float>(fold_angle(2.0 * pi * step / order, 2.0 * pi));
            auto run = make_decode_run(order, { 0, step });
            ASSERT_TRUE(run.demod.dpsk_decode_bit(0, run.store));
            EXPECT_EQ(run.get_decoded().at(1), get_key(step, order)) << order << ", " << step;
            EXPECT_EQ(static_cast<std::uint32_t>(lib_dma_phy_common_t::dpsk_demod_bit(phase, to_format(order))),
                      get_key(step, order))
                << order << ", " << step;
        }
    }
}

TEST(DpskDecodeBit, FindsAWordWhateverTheCommonTurn)
{
    for (const std::uint32_t order : { 2u, 4u, 8u })
    {
        const std::uint32_t bits = order == 2 ? 1 : order == 4 ? 2 : 3;
        const index_array places = make_indices(200, order);
        const index_array keys = get_keys(places, order, places[0]);
        for (const double phase : { 0.0, 1.0, -2.5 })
        {
            auto run = make_decode_run(order, places, phase);
            run.search(expand(slice(keys, 50, 80), bits));
            run.demod.setting.meas_interval = 104;
            const log_capture_t log;
            ASSERT_TRUE(run.demod.dpsk_decode_bit(0, run.store));
            EXPECT_TRUE(run.get_sync_flag()) << order << ", " << phase;
            EXPECT_TRUE(run.get_decode_flag());
            EXPECT_EQ(log.count(log_level_error, "Pattern Not Found!\n"), 0);
            EXPECT_EQ(run.get_decoded(), slice(keys, 50, 154)) << order << ", " << phase;
        }
    }
}

TEST(DpskDecodeBit, DecidesStepsOnAUsersMap)
{
    auto run = make_decode_run(4, { 0, 1, 1, 0, 2 });
    run.demod.setting.constellation_setting_flag = true;
    // The unit phasors of the steps 0, +90, 0, -90, 180 degrees.
    run.demod.setting.const_iq_map = {
        { 11, { 1.0f, 0.0f } }, { 12, { 0.0f, 1.0f } }, { 13, { -1.0f, 0.0f } }, { 14, { 0.0f, -1.0f } }
    };
    ASSERT_TRUE(run.demod.dpsk_decode_bit(0, run.store));
    EXPECT_EQ(run.get_decoded(), (index_array{ 11, 12, 11, 14, 13 }));
}

TEST(DpskDecodeBit, SpeaksInItsWords)
{
    auto run = make_decode_run(4, index_array(32, 1));
    run.search(expand({ 3, 3, 3 }, 2));
    run.demod.setting.meas_interval = 33;
    const log_capture_t log;
    const trace_capture_t trace;
    EXPECT_TRUE(run.demod.dpsk_decode_bit(0, run.store));
    EXPECT_EQ(log.count(log_level_error, "Pattern Not Found!\n"), 1);
    EXPECT_EQ(log.count(log_level_error, "dpsk_decode_bit:data is too short!\n"), 1);
    auto reference = make_decode_run(4, make_indices(32, 4));
    reference.demod.work.ref_data.assign(32, {});
    EXPECT_FALSE(reference.demod.dpsk_decode_bit(0, reference.store));
    EXPECT_TRUE(contains(trace.get_text(), "dpsk_decode_bit::rms_normalize Report: Data array has a too small rms0: "));
    auto measurement = make_decode_run(4, make_indices(32, 4));
    measurement.demod.work.meas_data.assign(32, {});
    EXPECT_FALSE(measurement.demod.dpsk_decode_bit(0, measurement.store));
    EXPECT_TRUE(contains(trace.get_text(), "dpsk_decode_bit::rms_normalize Report: Data array has a too small rms2: "));
}

TEST(DpskQuadError, FollowsTheRuleOfTheFormat)
{
    std::mt19937 generator(21);
    std::normal_distribution<float> part(0.0f, 0.1f);
    complex_array symbols;
    for (std::size_t i = 0; i < 400; ++i)
    {
        const std::complex<double> point = std::polar(1.0, pi / 8.0 * static_cast<double>(i % 16));
        symbols.emplace_back(static_cast<float>(point.real()) * 1.2f + part(generator),
                             static_cast<float>(point.imag() + 0.1 * point.real()));
    }
    // The rule told once more: mean arc sine of |turned real part| over the amplitude, where the former stays in the threshold.
    const auto figure = [&symbols](double threshold, double rotation)
    {
        double sum = 0.0, count = 0.0;
        for (const std::complex<float>& symbol : symbols)
        {
            const std::complex<double> value = std::complex<double>(symbol) * std::polar(1.0, rotation);
            if (std::abs(value.real()) <= threshold)
            {
                sum += std::asin(std::abs(value.real()) / std::abs(value));
                count += 1.0;
            }
        }
        return sum / count / pi * 180.0;
    };
    const double wanted[] = { 0.0,
                              figure(0.38268343, pi / 4.0),
                              figure(0.38268343, 0.0),
                              figure(0.38268343, 0.0),
                              figure(0.19509032, 0.0),
                              figure(0.19509032, 0.0) };
    const std::uint32_t values[] = { 2, 4, 5, 8, 6, 16 };
    for (std::size_t i = 0; i < 6; ++i)
    {
        demod_t demod;
        demod.dpsk_format = to_format(values[i]);
        err_table_t table;
        table.quad_error = 77.0f;
        EXPECT_TRUE(demod.dpsk_quad_error_cal(symbols, table));
        EXPECT_NEAR(static_cast<double>(table.quad_error), wanted[i], 1e-3) << values[i];
    }
    EXPECT_GT(std::abs(wanted[1] - wanted[2]), 0.1);
    EXPECT_GT(std::abs(wanted[2] - wanted[4]), 0.1);

    auto run = make_decode_run(4, make_indices(32, 4));
    run.demod.work.meas_symbol = symbols;
    const trace_capture_t trace;
    EXPECT_TRUE(run.demod.error_cal(0, run.store));
    EXPECT_NEAR(static_cast<double>(run.store.get_err_table(0).quad_error), wanted[1], 1e-3);
}

TEST(DpskDemod, HasItsDefaultsAndItsWords)
{
    demod_t demod;
    demod.carrier_step = 1.0f;
    demod.init();
    EXPECT_EQ(demod.setting.format_group, LIB_DMA_GROUP_DPSK);
    EXPECT_EQ(demod.dpsk_format, LIB_DMA_MODULATION_PSK_DBPSK);
    EXPECT_EQ(demod.carrier_step, 0.0f);
    demod.setting.meas_interval = 400;
    lib_dma_demod_config_mgr config;
    config.data_len = 350;
    const log_capture_t log;
    EXPECT_TRUE(demod.cal_demod_param(config));
    EXPECT_EQ(log.count(log_level_error, "cal_demod_param:Data Out Of Acq Rang!\n"), 1);
}

TEST(DpskProcess, MeasuresEveryFormat)
{
    for (const format_t& format : formats)
    {
        const index_array places = make_indices(700, format.order);
        run_t run = make_process_run(format.value);
        ASSERT_TRUE(run.run(&demod_t::lib_dma_dpsk_demod_process, make_block(make_symbols(format, places), 500.0)))
            << format.value;
        EXPECT_LT(run.get_evm(), 1.5f) << format.value;
        EXPECT_NEAR(run.get_frequency(), 500.0, 20.0) << format.value;
        // The steps do not ask where the carrier loop settled.
        const index_array keys = get_keys(places, format.order, 0);
        const index_array& decoded = run.store.get_decode_bit(0);
        ASSERT_GT(decoded.size(), 200u);
        bool found = false;
        for (std::size_t start = 0; start < 40 && !found; ++start)
            found = std::equal(decoded.begin() + 1, decoded.begin() + 200, keys.begin() + static_cast<std::ptrdiff_t>(start) + 1);
        EXPECT_TRUE(found) << format.value;
        EXPECT_TRUE(contains(run.text, "lib_dma_dpsk_demod_t timing_recovery time: "));
    }
}

TEST(DpskProcess, FailsOnSilence)
{
    run_t run = make_process_run(4);
    EXPECT_FALSE(run.run(&demod_t::lib_dma_dpsk_demod_process, complex_array(4000, { 0.0f, 0.0f })));
    EXPECT_TRUE(contains(run.text, "ref_data_generate::rms_normalize Report: Data array has a too small rms: "));
}
