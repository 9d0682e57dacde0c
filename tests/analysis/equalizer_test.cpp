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

[[maybe_unused]]
void expect_finite(const equalized_run_t& run)
{
    const error_summary_t& summary = run.result.summary;
    for (const float value : { summary.evm_rms, summary.evm_max, summary.mag_err_rms, summary.phase_err_rms, run.result.table.rho,
                               run.result.table.gain_imbalance, run.result.table.quad_error, run.result.table.frequency_error })
        EXPECT_TRUE(std::isfinite(value));
    EXPECT_TRUE(all_finite(summary.meas_data));
    EXPECT_TRUE(all_finite(summary.ref_data));
}

// One symbol late and one early.
const std::vector<echo_t> symbol_echoes = { { { 0.2, 0.15 }, 4 }, { { -0.1, 0.1 }, -4 } };
} // namespace

TEST(Explore, Figures)
{
    const signal_t signal = make_format(signal_format_t::qpsk);
    const complex_array capture = send_through(signal.samples, symbol_echoes);
    const analysis_setting_t setting = make_analysis(signal_format_t::qpsk);
    std::printf("plain %g\n", static_cast<double>(analyse(capture, setting).summary.evm_rms));
    for (const double step : { 0.01, 0.003, 0.001 })
    {
        equalized_run_t run(capture, setting, { step, 21 });
        std::printf("step %g code %d:", step, run.result.code);
        for (double e : run.pass_evms)
            std::printf(" %.3f", e);
        std::printf("\n");
    }
    struct ch_t { const char* n; std::vector<echo_t> e; };
    const ch_t channels[] = { { "2tap.3@1", { { { 0.3, 0.0 }, 1 } } },   { "2tap.5@1", { { { 0.0, 0.5 }, 1 } } },
                              { "2tap-.33@2", { { { -0.33, 0.0 }, 2 } } },   { "2tap.5@2", { { { 0.5, 0.0 }, 2 } } },
                              { "2tap.5@4", { { { 0.5, 0.0 }, 4 } } },{ "2tap-.3@4", { { { -0.3, 0.1 }, 4 } } },
                              { "3tap", symbol_echoes },
                              { "3tap half", { { { 0.1, 0.08 }, 2 }, { { -0.06, 0.05 }, -2 } } },
                              { "3tap small", { { { 0.1, 0.08 }, 4 }, { { -0.06, 0.05 }, -4 } } },
                              { "3tap 1", { { { 0.2, 0.2 }, 1 }, { { -0.15, 0.15 }, -1 } } } };
    for (const signal_format_t format : { signal_format_t::qpsk, signal_format_t::psk8, signal_format_t::qam16 })
    {
        const signal_t s = make_format(format);
        const analysis_setting_t a = make_analysis(format);
        for (const ch_t& ch : channels)
        {
            const complex_array c = send_through(s.samples, ch.e);
            const analysis_result_t plain = analyse(c, a);
            equalized_run_t run(c, a, {});
            std::printf("%s %s: plain %.2f wrong %zu:", get_signal_format(format).name.c_str(), ch.n, static_cast<double>(plain.summary.evm_rms), match_decoded(format, plain.decoded, s.symbols, 85, 95).differing);
            for (double e : run.pass_evms)
                std::printf(" %.3f", e);
            const decode_match_t m = match_decoded(format, run.result.decoded, s.symbols, 90, 110);
            std::printf("  wrong %zu lag %d\n", m.differing, m.lag);
        }
    }
}

TEST(Explore, Long)
{
    const signal_t signal = make_format(signal_format_t::qpsk);
    const complex_array capture = send_through(signal.samples, { { { 0.5, 0.0 }, 4 } });
    const analysis_setting_t setting = make_analysis(signal_format_t::qpsk);
    for (const equalizer_setting_t e : { equalizer_setting_t{ 0.01, 21 }, { 0.005, 41 }, { 0.01, 41 }, { 0.005, 21 }, { 0.01, 11 } })
    {
        equalized_run_t run(capture, setting, e);
        std::printf("long %g %u code %d w%d:", e.step, e.length, run.result.code, run.warned);
        for (double v : run.pass_evms)
            std::printf(" %.3f", v);
        std::printf("\n");
    }
    for (const signal_format_t format : { signal_format_t::ask4, signal_format_t::apsk16, signal_format_t::qam16, signal_format_t::oqpsk, signal_format_t::qpsk, signal_format_t::fsk2, signal_format_t::msk })
        for (const std::uint32_t points : { 1u, 4u, 8u, 10u })
        {
            const signal_t s = make_format(format, 0.5);
            analysis_setting_t a = make_analysis(format);
            a.alpha = 0.5;
            a.points_per_symbol = points;
            const analysis_result_t plain = analyse(s.samples, a);
            equalized_run_t run(s.samples, a, {});
            std::printf("%s %u w%d d%d code %d evm %g plain sizes %zu %zu eq %zu %zu\n", get_signal_format(format).name.c_str(), points, run.warned, run.diverged, run.result.code, static_cast<double>(run.result.summary.evm_rms), plain.summary.meas_data.size(), plain.meas_symbols.size(), run.result.summary.meas_data.size(), run.result.meas_symbols.size());
        }
}

TEST(Explore, Divergence)
{
    const signal_t signal = make_format(signal_format_t::qpsk);
    const complex_array capture = send_through(signal.samples, symbol_echoes);
    for (const std::uint32_t points : { 1u, 2u, 4u, 8u, 10u, 16u, 20u })
    {
        analysis_setting_t setting = make_analysis(signal_format_t::qpsk);
        setting.points_per_symbol = points;
        const double bound = 2.0 / (20.0 * points + 1.0);
        std::printf("points %u bound %g:", points, bound);
        for (const double share : { 0.02, 0.1, 0.25, 0.5, 0.75, 0.9, 1.0, 1.1, 1.25, 1.5, 2.0, 4.0 })
        {
            equalized_run_t run(capture, setting, { share * bound, 21 });
            std::printf(" %.2f:(%d %zu d%d %.2f)", share, run.result.code, run.pass_evms.size(), run.diverged, run.pass_evms.empty() ? -1.0 : run.pass_evms.back());
        }
        equalized_run_t run(capture, setting, {});
        std::printf(" default:(%d d%d w%d %.2f)\n", run.result.code, run.diverged, run.warned, run.pass_evms.empty() ? -1.0 : run.pass_evms.back());
    }
}
