#include "accuracy_run.h"
#include "analysis_runner.h"
#include "linear_accuracy.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <numbers>
#include <string>

namespace dma_test
{
namespace
{
constexpr double pi = std::numbers::pi;

std::string print_ratio(double ratio)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", ratio);
    return text;
}

/// Deviations of the reported ratios from those of the signal.
struct ring_runs_t
{
    figure_t second;
    figure_t third;

    void add(const signal_setting_t& signal)
    {
        add(signal, analyse(make_signal(signal).samples, make_accuracy_analysis(signal)));
    }

    void add(const signal_setting_t& signal, const analysis_result_t& result)
    {
        const ring_ratios_t sent = get_ring_ratios(signal.format, signal.rings);
        const double lost = result.locked() ? 0.0 : std::numeric_limits<double>::quiet_NaN();
        second.add(result.summary.apsk_r2_ratio - sent.r2_r1 + lost);
        third.add(result.summary.apsk_r3_ratio - sent.r3_r1 + lost);
    }
};

/// Analyses with the clock where the EVM of a clean signal is least: its square is a parabola over the clock.
analysis_result_t analyse_at_best_clock(const signal_setting_t& signal)
{
    constexpr double step = 0.004; // symbols, several times the error of the estimate
    const vrim::complex_array capture = make_signal(signal).samples;
    analysis_setting_t setting = make_accuracy_analysis(signal);
    const auto cal_squared_evm = [&](double adjust)
    {
        setting.clock_adjust = static_cast<float>(adjust);
        const double evm = get_evm(analyse(capture, setting));
        return evm * evm;
    };
    const double before = cal_squared_evm(-step);
    const double here = cal_squared_evm(0.0);
    const double behind = cal_squared_evm(step);
    setting.clock_adjust = static_cast<float>(0.5 * step * (before - behind) / (before - 2.0 * here + behind));
    return analyse(capture, setting);
}
} // namespace

accuracy_section_t measure_ring_ratios()
{
    constexpr std::uint64_t count = 4;
    constexpr std::uint64_t first_seed = 1;
    accuracy_section_t section = {
        "Ring ratios",
        "1,000 symbols, clean, roll-off 0.5, carrier 1234.5 Hz high, seeds 1 to 4. The ratio to the outer ring of 32APSK has a "
        "bar of 1 %. The next section has the spread",
        {}
    };
    for (const double ratio : { 3.15, 2.85, 2.75, 2.70, 2.60, 2.57 })
    {
        ring_runs_t runs;
        for (std::uint64_t seed = first_seed; seed < first_seed + count; ++seed)
        {
            signal_setting_t signal = make_accuracy_run(signal_format_t::apsk16, 0.5, 1000, seed);
            signal.rings = { ratio, 0.0 };
            runs.add(signal);
        }
        section.rows.push_back(make_row("r2/r1 of " + print_ratio(ratio) + ", deviation", signal_format_t::apsk16, "", -0.02,
                                        0.02, runs.second.get_low(), runs.second.get_high(), 4));
    }
    constexpr std::array<ring_ratios_t, 5> pairs = {
        { { 2.84, 5.27 }, { 2.72, 4.87 }, { 2.64, 4.64 }, { 2.54, 4.33 }, { 2.53, 4.30 } }
    };
    for (const ring_ratios_t& pair : pairs)
    {
        ring_runs_t runs;
        for (std::uint64_t seed = first_seed; seed < first_seed + count; ++seed)
        {
            signal_setting_t signal = make_accuracy_run(signal_format_t::apsk32, 0.5, 1000, seed);
            signal.rings = pair;
            runs.add(signal);
        }
        const std::string what =
            "r2/r1 of " + print_ratio(pair.r2_r1) + " and r3/r1 of " + print_ratio(pair.r3_r1) + ", deviation";
        section.rows.push_back(make_row(what + " of r2/r1", signal_format_t::apsk32, "", -0.02, 0.02, runs.second.get_low(),
                                        runs.second.get_high(), 4));
        section.rows.push_back(make_row(what + " of r3/r1", signal_format_t::apsk32, "", -0.01 * pair.r3_r1, 0.01 * pair.r3_r1,
                                        runs.third.get_low(), runs.third.get_high(), 4));
    }
    return section;
}

accuracy_section_t measure_ring_ratio_bias()
{
    constexpr std::uint64_t count = 100;
    accuracy_section_t section = {
        "Ring ratios, spread and bias",
        "1,000 symbols, roll-off 0.5, seeds 1 to 100, usual rings. Each ring is reported by its innermost symbol, and the "
        "ratios are to the innermost of all: what scatters the symbols, noise or the clock estimate on a clean signal, draws "
        "the inner ring in the most, for its size, and raises the ratios",
        {}
    };
    for (const signal_format_t format : { signal_format_t::apsk16, signal_format_t::apsk32 })
    {
        for (const double snr_db : { unbounded, 50.0, 40.0, 30.0 })
        {
            ring_runs_t runs;
            for (std::uint64_t seed = 1; seed <= count; ++seed)
            {
                signal_setting_t signal = make_accuracy_run(format, 0.5, 1000, seed);
                signal.snr_db = snr_db;
                runs.add(signal);
            }
            const std::string snr = std::isfinite(snr_db) ? std::to_string(static_cast<int>(snr_db)) + " dB" : "clean";
            const std::string what = snr + ", deviation of ";
            section.rows.push_back(
                make_row(what + "r2/r1", format, "", -unbounded, unbounded, runs.second.get_low(), runs.second.get_high(), 3));
            if (format == signal_format_t::apsk32)
                section.rows.push_back(
                    make_row(what + "r3/r1", format, "", -unbounded, unbounded, runs.third.get_low(), runs.third.get_high(), 3));
        }
    }
    return section;
}

accuracy_section_t measure_ring_ratios_at_best_clock(std::uint64_t count)
{
    accuracy_section_t section = {
        "Ring ratios where the clock is right",
        "1,000 symbols, clean, roll-off 0.5, seeds 1 to 20, usual rings, the clock adjusted to the least EVM. What the sections "
        "before read is the pattern noise of the clock estimate: 0.0006 of a symbol (rms) over 1,024 symbols",
        {}
    };
    for (const signal_format_t format : { signal_format_t::apsk16, signal_format_t::apsk32 })
    {
        ring_runs_t runs;
        for (std::uint64_t seed = 1; seed <= count; ++seed)
        {
            const signal_setting_t signal = make_accuracy_run(format, 0.5, 1000, seed);
            runs.add(signal, analyse_at_best_clock(signal));
        }
        section.rows.push_back(
            make_row("deviation of r2/r1", format, "", -0.005, 0.005, runs.second.get_low(), runs.second.get_high(), 4));
        if (format == signal_format_t::apsk32)
            section.rows.push_back(
                make_row("deviation of r3/r1", format, "", -0.005, 0.005, runs.third.get_low(), runs.third.get_high(), 4));
    }
    return section;
}

accuracy_section_t measure_linear_iq_offset()
{
    accuracy_section_t section = {
        "QAM, APSK, DPSK: IQ offset",
        "1,000 symbols, clean, roll-off 0.5, DC 30 dB under the signal at 8 angles, 8 seeds. The figure is relative to the "
        "largest point, so that the peak of the points over their rms is added back here. Formats with a fixed turn do not show "
        "an offset, ASK takes most of it for its carrier, and from 256QAM on an offset of -30 dB can lead to wrong decisions",
        {}
    };
    for (const signal_format_t format :
         { signal_format_t::qam16, signal_format_t::qam32, signal_format_t::qam64, signal_format_t::apsk16,
           signal_format_t::apsk32, signal_format_t::dbpsk, signal_format_t::dqpsk, signal_format_t::d8psk })
    {
        double peak = 0.0; // of points at unit rms
        for (const std::complex<double>& point : get_signal_format(format).points)
            peak = std::max(peak, std::abs(point));
        figure_t offset;
        for (std::uint64_t seed = 401; seed < 409; ++seed)
        {
            signal_setting_t signal = make_accuracy_run(format, 0.5, 1000, seed);
            signal.iq_offset_db = -30.0;
            signal.iq_offset_angle = 0.1 + pi / 4.0 * static_cast<double>(seed - 401);
            const analysis_result_t result = analyse(make_signal(signal).samples, make_accuracy_analysis(signal));
            offset.add(static_cast<double>(result.table.iq_offset) + 30.0 + 20.0 * std::log10(peak));
        }
        section.rows.push_back(
            make_row("IQ offset of -30 dB, deviation", format, "dB", -0.15, 0.15, offset.get_low(), offset.get_high(), 3));
    }
    return section;
}
} // namespace dma_test
