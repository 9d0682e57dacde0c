#include "analysis_runner.h"
#include "message_capture.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <vector>

using namespace dma_test;
using namespace vrim::dma_demod_lib;
using vrim::complex_array;

namespace
{
struct echo_t
{
    std::complex<double> gain;
    std::int32_t delay; ///< samples; negative ones come early
};

/// Adds echoes to a capture, its ends zero beyond.
complex_array send_through(const complex_array& samples, const std::vector<echo_t>& echoes)
{
    complex_array out = samples;
    const auto count = static_cast<std::int64_t>(samples.size());
    for (const echo_t& echo : echoes)
    {
        for (std::int64_t n = 0; n < count; ++n)
        {
            const std::int64_t from = n - echo.delay;
            if (from >= 0 && from < count)
                out[static_cast<std::size_t>(n)] += std::complex<float>(
                    echo.gain * std::complex<double>(samples[static_cast<std::size_t>(from)]));
        }
    }
    return out;
}

struct equalizer_setting_t
{
    double step = 0.01;
    std::uint32_t length = 21; ///< symbols
};

#if defined(__SANITIZE_ADDRESS__)
constexpr bool sanitized = true;
#else
constexpr bool sanitized = false;
#endif

/// EVM of each pass from what the analysis prints.
std::vector<double> read_pass_evms(const std::string& text)
{
    const std::string label = "EVM(rms) = ";
    std::vector<double> evms;
    for (std::size_t at = text.find(label); at != std::string::npos; at = text.find(label, at + 1))
        evms.push_back(std::strtod(text.c_str() + at + label.size(), nullptr));
    return evms;
}

struct equalized_run_t
{
    equalized_run_t(const complex_array& capture, const analysis_setting_t& setting, const equalizer_setting_t& equalizer)
    {
        lib_dma_frame_configure_manager_t frame = make_frame(setting);
        lib_dma_advance_configure_manager_t& advance = frame.get_segment(0).get_advance_configure();
        advance.set_equalizer(true);
        advance.set_equalizer_coef(equalizer.step);
        advance.set_equalizer_filter_len(equalizer.length);
        const trace_capture_t traces;
        const log_capture_t log;
        analyser.set_frame_configure(frame);
        analyser.set_sample_rate(setting.sample_rate);
        analyser.set_demod_data(capture);
        const std::int32_t code = analyser.dma_phy_process();
        result = take_result(analyser, 0, code);
        pass_evms = read_pass_evms(traces.get_text());
        for (const common_log::log_record_t& record : log.get_records())
        {
            diverged += record.message.find("the taps have diverged") != std::string::npos ? 1 : 0;
            warned += record.message.find("the taps may diverge") != std::string::npos ? 1 : 0;
        }
    }

    lib_dma_phy_data_manager_t& store() { return analyser.get_data_manager(); }
    const lib_dma_demod_config_mgr& record() { return store().get_dma_demod_config_mgr(0); }

    lib_dma_phy_t analyser;
    analysis_result_t result;
    std::vector<double> pass_evms;
    int diverged = 0;
    int warned = 0;
};

signal_t make_format(signal_format_t format, double alpha = 0.35, std::uint32_t symbols = 1400)
{
    signal_setting_t setting;
    setting.format = format;
    setting.shape = alpha;
    setting.symbol_count = symbols;
    setting.half_span_symbols = 80;
    setting.seed = 7;
    setting.carrier_phase = 0.4;
    return make_signal(setting);
}

analysis_setting_t make_analysis(signal_format_t format)
{
    analysis_setting_t setting;
    setting.format = format;
    setting.meas_interval = 1024;
    return setting;
}

bool all_finite(const complex_array& values)
{
    return std::all_of(values.begin(), values.end(), [](std::complex<float> value)
                       { return std::isfinite(value.real()) && std::isfinite(value.imag()); });
}

void expect_finite(const equalized_run_t& run)
{
    const error_summary_t& summary = run.result.summary;
    // Not the gain imbalance: it is taken before the equalizer, and FSK has no Q to compare with.
    for (const float value : { summary.evm_rms, summary.evm_max, summary.mag_err_rms, summary.phase_err_rms, run.result.table.rho,
                               run.result.table.quad_error, run.result.table.frequency_error })
        EXPECT_TRUE(std::isfinite(value));
    EXPECT_TRUE(all_finite(summary.meas_data));
    EXPECT_TRUE(all_finite(summary.ref_data));
}

// One symbol late and one early.
const std::vector<echo_t> symbol_echoes = { { { 0.2, 0.15 }, 4 }, { { -0.1, 0.1 }, -4 } };
} // namespace


TEST(Equalizer, TakesAChannelOutInTwoPasses)
{
    const complex_array capture = send_through(make_format(signal_format_t::qpsk).samples, symbol_echoes);
    const analysis_setting_t setting = make_analysis(signal_format_t::qpsk);
    EXPECT_NEAR(analyse(capture, setting).summary.evm_rms, 28.0f, 1.0f);

    const equalized_run_t run(capture, setting, {});
    EXPECT_EQ(run.result.code, 0);
    ASSERT_EQ(run.pass_evms.size(), 11u);
    EXPECT_LT(run.pass_evms[0], 4.0);
    EXPECT_LT(run.pass_evms[1], 0.6);
    EXPECT_LT(run.pass_evms[10], 0.5);
    EXPECT_TRUE(std::is_sorted(run.pass_evms.rbegin(), run.pass_evms.rend()));
    EXPECT_EQ(run.warned, 0);

    const equalized_run_t slow(capture, setting, { 0.001, 21 });
    ASSERT_EQ(slow.pass_evms.size(), 11u);
    EXPECT_GT(slow.pass_evms[0], run.pass_evms[0]);
    EXPECT_LT(slow.pass_evms[10], 1.1);
}

TEST(Equalizer, OpensStaticChannels)
{
    struct channel_t
    {
        const char* name;
        std::vector<echo_t> echoes;
        bool dense; ///< leaves the decisions of 16 points right
    };
    // Samples are quarters of a symbol. An echo of half the amplitude notches by 6 dB.
    const std::vector<channel_t> channels = {
        { "0.3, a quarter late", { { { 0.3, 0.0 }, 1 } }, true },
        { "0.5 half a symbol late", { { { 0.5, 0.0 }, 2 } }, true },
        { "0.5j, a quarter late", { { { 0.0, 0.5 }, 1 } }, false },
        { "-0.33 half a symbol late", { { { -0.33, 0.0 }, 2 } }, false },
        { "a quarter to either side", { { { 0.2, 0.2 }, 1 }, { { -0.15, 0.15 }, -1 } }, true },
        { "half a symbol to either side", { { { 0.1, 0.08 }, 2 }, { { -0.06, 0.05 }, -2 } }, true },
        { "a symbol to either side", { { { 0.1, 0.08 }, 4 }, { { -0.06, 0.05 }, -4 } }, false },
    };
    for (const signal_format_t format : { signal_format_t::qpsk, signal_format_t::psk8, signal_format_t::qam16 })
    {
        const signal_t signal = make_format(format);
        const analysis_setting_t setting = make_analysis(format);
        for (const channel_t& channel : channels)
        {
            if (format == signal_format_t::qam16 && !channel.dense)
                continue;
            SCOPED_TRACE(get_signal_format(format).name + ", " + channel.name);
            const complex_array capture = send_through(signal.samples, channel.echoes);
            const float before = analyse(capture, setting).summary.evm_rms;
            equalized_run_t run(capture, setting, {});
            EXPECT_TRUE(run.result.locked());
            EXPECT_GT(before, 1.5f);
            EXPECT_LT(run.result.summary.evm_rms, 0.3f);
            EXPECT_TRUE(match_decoded(format, run.result.decoded, signal.symbols, 95, 105).found);
            expect_finite(run);
        }
    }
}

TEST(Equalizer, NeedsALongerFilterForADeepNotchInTheBand)
{
    // A whole symbol late: 6 dB below the main path and 9.5 dB below the top, at half the symbol rate. What is left is the
    // end of the inverse, which the taper holds down.
    const complex_array capture = send_through(make_format(signal_format_t::qpsk).samples, { { { 0.5, 0.0 }, 4 } });
    const analysis_setting_t setting = make_analysis(signal_format_t::qpsk);
    EXPECT_GT(analyse(capture, setting).summary.evm_rms, 40.0f);
    const float usual = equalized_run_t(capture, setting, {}).result.summary.evm_rms;
    EXPECT_LT(usual, 1.3f);
    EXPECT_GT(usual, 1.0f);
    EXPECT_LT(equalized_run_t(capture, setting, { 0.01, 41 }).result.summary.evm_rms, 0.6f);
}

TEST(Equalizer, LearnsFromTheDecisionsBeforeIt)
{
    // The echo closes the eye of 16 points; wrong decisions are no reference, and every pass meets the same ones.
    const signal_t signal = make_format(signal_format_t::qam16);
    equalized_run_t run(send_through(signal.samples, symbol_echoes), make_analysis(signal_format_t::qam16), {});
    EXPECT_EQ(run.result.code, 0);
    EXPECT_GT(run.result.summary.evm_rms, 10.0f);
    expect_finite(run);
}

TEST(Equalizer, MeasuresACleanSignalOfEveryGroupBehindItsRunIn)
{
    struct clean_t
    {
        signal_format_t format;
        double largest_evm; ///< percent
    };
    // The straight-line filter cannot mend what is left of frequency formats; it costs them a little.
    const clean_t list[] = { { signal_format_t::bpsk, 0.05 },      { signal_format_t::qpsk, 0.05 },
                             { signal_format_t::qpsk_3pi_4, 0.05 }, { signal_format_t::dqpsk, 0.05 },
                             { signal_format_t::dqpsk_pi_4, 0.05 }, { signal_format_t::qam16, 0.05 },
                             { signal_format_t::apsk16, 0.05 },     { signal_format_t::ask4, 0.1 },
                             { signal_format_t::fsk2, 5.0 },        { signal_format_t::fsk4, 8.0 },
                             { signal_format_t::msk, 6.0 },         { signal_format_t::oqpsk, 0.05 } };
    for (const clean_t& clean : list)
    {
        for (const std::uint32_t points : { 1u, 4u })
        {
            if (sanitized && points == 4)
                continue;
            SCOPED_TRACE(get_signal_format(clean.format).name + ", points " + std::to_string(points));
            const signal_t signal = make_format(clean.format, 0.5);
            analysis_setting_t setting = make_analysis(clean.format);
            setting.alpha = 0.5;
            setting.points_per_symbol = points;
            if (clean.format == signal_format_t::msk)
            {
                setting.meas_filter = LIB_DMA_MEAS_NONE_FILTER;
                setting.ref_filter = LIB_DMA_REF_RECTANGULAR_FILTER;
            }
            const analysis_result_t plain = analyse(signal.samples, setting);
            equalized_run_t run(signal.samples, setting, {});
            ASSERT_EQ(run.result.code, 0);
            EXPECT_EQ(run.record().equalizer_loop_number, 11u);
            EXPECT_LT(run.result.summary.evm_rms, static_cast<float>(clean.largest_evm));
            expect_finite(run);

            // The head is gone: the window begins as many symbols later.
            const decode_match_t before = match_decoded(clean.format, plain.decoded, signal.symbols, 80, 130);
            const decode_match_t after = match_decoded(clean.format, run.result.decoded, signal.symbols, 80, 140);
            ASSERT_TRUE(before.found);
            ASSERT_TRUE(after.found) << after.differing;
            const auto head = static_cast<std::int32_t>(run.record().equalizer_head_len);
            EXPECT_EQ(head, clean.format == signal_format_t::msk ? 10 : 11);
            EXPECT_NEAR(after.lag - before.lag, head, 1); // the clock may take the neighbour for the first symbol

            const error_summary_t& summary = run.result.summary;
            EXPECT_EQ(run.result.decoded.size(), plain.decoded.size());
            EXPECT_EQ(run.result.meas_symbols.size(), plain.meas_symbols.size());
            EXPECT_EQ(run.result.ref_symbols.size(), plain.ref_symbols.size());
            EXPECT_EQ(summary.meas_data.size(), plain.summary.meas_data.size());
            EXPECT_EQ(summary.ref_data.size(), summary.meas_data.size());
            EXPECT_EQ(run.store().get_error_vector(0).size(), summary.meas_data.size());
            EXPECT_EQ(summary.evm_trace.size(), plain.summary.evm_trace.size());
            // OQPSK has its second rail between the symbols and takes no single points.
            const std::uint32_t taps = 20 * (clean.format == signal_format_t::oqpsk ? std::max(points, 2u) : points) + 1;
            EXPECT_EQ(run.record().equalizer_filter.size(), taps);
            EXPECT_EQ(run.store().get_eq_impulse_i().size(), taps);
            EXPECT_TRUE(all_finite(run.store().get_eq_frequency_response()));
        }
    }
}

TEST(Equalizer, AnswersWithTheInverseOfTheChannel)
{
    const complex_array capture = send_through(make_format(signal_format_t::qpsk).samples, symbol_echoes);
    equalized_run_t run(capture, make_analysis(signal_format_t::qpsk), {});
    const complex_array& response = run.store().get_eq_frequency_response();
    ASSERT_EQ(response.size(), 512u);
    // Gain and phase are those of the reference, so that the product with the channel is a constant; the carrier's loop
    // takes the phase and the level match the gain.
    std::vector<std::complex<double>> products;
    for (std::size_t i = 0; i < response.size(); ++i)
    {
        const double frequency = (static_cast<double>(i) / 512.0 - 0.5) * 4.0; // of the symbol rate
        std::complex<double> channel = 1.0;
        for (const echo_t& echo : symbol_echoes)
            channel += echo.gain * std::polar(1.0, -2.0 * 3.14159265358979 * frequency * echo.delay / 4.0);
        if (std::abs(frequency) < 0.45)
            products.push_back(channel * std::complex<double>(response[i]));
    }
    ASSERT_FALSE(products.empty());
    std::complex<double> mean = 0.0;
    for (const std::complex<double>& product : products)
        mean += product / static_cast<double>(products.size());
    for (const std::complex<double>& product : products)
        EXPECT_LT(std::abs(product / mean - 1.0), 0.05);
}

TEST(Equalizer, FailsWithAWordWhenTheStepIsTooLarge)
{
    const signal_t signal = make_format(signal_format_t::qpsk);
    const complex_array capture = send_through(signal.samples, symbol_echoes);
    for (const std::uint32_t points : { 1u, 4u, 8u, 20u })
    {
        SCOPED_TRACE(points);
        analysis_setting_t setting = make_analysis(signal_format_t::qpsk);
        setting.points_per_symbol = points;
        const double bound = 2.0 / (20.0 * points + 1.0);
        equalized_run_t stable(capture, setting, { 0.5 * bound, 21 });
        EXPECT_EQ(stable.result.code, 0);
        EXPECT_EQ(stable.warned, 0);
        EXPECT_EQ(stable.diverged, 0);
        EXPECT_LT(stable.result.summary.evm_rms, 0.5f);

        equalized_run_t diverged(capture, setting, { 2.0 * bound, 21 });
        EXPECT_EQ(diverged.result.code, 5);
        EXPECT_EQ(diverged.warned, 1);
        EXPECT_EQ(diverged.diverged, 1);
        expect_finite(diverged);
        EXPECT_TRUE(all_finite(diverged.store().get_eq_frequency_response()));
    }
    // The default of both is past the bound from 16 points on.
    analysis_setting_t setting = make_analysis(signal_format_t::qpsk);
    setting.points_per_symbol = 16;
    EXPECT_EQ(equalized_run_t(capture, setting, {}).result.code, 5);
}

TEST(Equalizer, GoesOnFromAUsableFilterWhenOnlyTheEndDiverged)
{
    // Here the taps overflow behind the window, so that each pass has an output of its own.
    const complex_array capture = send_through(make_format(signal_format_t::qpsk).samples, symbol_echoes);
    analysis_setting_t setting = make_analysis(signal_format_t::qpsk);
    setting.points_per_symbol = 8;
    equalized_run_t run(capture, setting, { 1.1 * 2.0 / 161.0, 21 });
    EXPECT_EQ(run.result.code, 0);
    EXPECT_EQ(run.pass_evms.size(), 11u);
    EXPECT_GT(run.diverged, 1);
    EXPECT_EQ(run.warned, 1);
    expect_finite(run);
}

TEST(Equalizer, NeverGivesAFigureThatIsNone)
{
    for (const signal_format_t format :
         { signal_format_t::bpsk, signal_format_t::psk8, signal_format_t::psk8_3pi_8, signal_format_t::d8psk,
           signal_format_t::qam64, signal_format_t::apsk32, signal_format_t::ask4, signal_format_t::fsk4, signal_format_t::msk,
           signal_format_t::oqpsk })
    {
        const signal_t signal = make_format(format, 0.35, 500);
        analysis_setting_t setting = make_analysis(format);
        setting.meas_interval = 200;
        setting.sync_bits = "011010011";
        for (const double step : { 0.02, 0.1, 1.0 })
        {
            for (const std::uint32_t points : { 2u, 10u })
            {
                if (sanitized && (step == 1.0) == (points == 10))
                    continue;
                SCOPED_TRACE(get_signal_format(format).name + ", step " + std::to_string(step) + ", points " +
                             std::to_string(points));
                setting.points_per_symbol = points;
                equalized_run_t run(signal.samples, setting, { step, 21 });
                EXPECT_TRUE(run.result.code == 0 || run.result.code == 5) << run.result.code;
                EXPECT_GE(run.warned + (step < 0.1 ? 1 : 0), 1);
                expect_finite(run);
                EXPECT_TRUE(all_finite(run.store().get_eq_frequency_response()));
            }
        }
    }
}

TEST(Equalizer, TakesTheLongestFilterOfTheConfiguration)
{
    const signal_t signal = make_format(signal_format_t::qpsk, 0.35, 520);
    analysis_setting_t setting = make_analysis(signal_format_t::qpsk);
    setting.meas_interval = 200;
    for (const std::uint32_t points : { 1u, sanitized ? 4u : 20u })
    {
        setting.points_per_symbol = points;
        equalized_run_t run(signal.samples, setting, { 1e-4, 99 });
        EXPECT_EQ(run.result.code, 0);
        EXPECT_EQ(run.record().equalizer_head_len, 50u);
        EXPECT_EQ(run.record().equalizer_filter.size(), 98u * points + 1u);
        EXPECT_LT(run.result.summary.evm_rms, 0.2f);
        EXPECT_TRUE(match_decoded(signal_format_t::qpsk, run.result.decoded, signal.symbols, 135, 145).found);
    }
}

TEST(Equalizer, GivesTheSameBitsAgain)
{
    const complex_array capture = send_through(make_format(signal_format_t::psk8).samples, { { { 0.3, 0.0 }, 1 } });
    const analysis_setting_t setting = make_analysis(signal_format_t::psk8);
    equalized_run_t first(capture, setting, {});
    equalized_run_t second(capture, setting, {});
    EXPECT_EQ(first.result.summary.meas_data, second.result.summary.meas_data);
    EXPECT_EQ(first.record().equalizer_filter, second.record().equalizer_filter);
}
