#include "fsk_accuracy.h"

#include "accuracy_run.h"
#include "fsk_run.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <numbers>
#include <string>

namespace dma_test
{
namespace
{
constexpr signal_format_t shaped_formats[] = { signal_format_t::fsk2, signal_format_t::fsk4, signal_format_t::fsk8 };

std::string print(const char* form, double value)
{
    char text[32];
    std::snprintf(text, sizeof text, form, value);
    return text;
}

/// What a set of runs of one format gives.
struct fsk_runs_t
{
    figure_t evm;
    figure_t deviation;        ///< percent off that of the signal
    figure_t deviation_excess; ///< percent of that of the signal over what its data make of it
    figure_t carrier;          ///< Hz off the mean of the outer tones
    double wrong = 0.0;        ///< runs that failed or have a wrong symbol

    void add(const signal_setting_t& setting, std::uint32_t filter_length = 16)
    {
        analysis_setting_t analysis = make_fsk_analysis(setting);
        analysis.filter_length = filter_length;
        const fsk_run_t run(setting, analysis);
        const bool done = run.result.code == vrim::dma_demod_lib::LIB_DMA_RESULT_OK;
        const fsk_truth_t truth = cal_fsk_truth(setting, run.signal);
        evm.add(done ? run.get_evm() : std::numeric_limits<double>::quiet_NaN());
        deviation.add(run.get_deviation_error());
        deviation_excess.add(run.get_deviation_error() - 100.0 * (truth.deviation - 1.0));
        carrier.add(static_cast<double>(run.result.table.frequency_error) - setting.carrier_offset_hz -
                    truth.carrier * run.signal.deviation_hz);
        wrong += done && run.count_wrong() == 0 ? 0.0 : 1.0;
    }
};

signal_setting_t make_seeded(signal_format_t format, signal_pulse_t pulse, double shape, std::uint64_t seed)
{
    signal_setting_t setting = make_fsk_signal(format, pulse, shape);
    setting.seed = seed;
    return setting;
}

void add_count(accuracy_section_t& section, signal_format_t format, std::uint64_t runs, double wrong)
{
    section.rows.push_back(
        make_row("runs of " + std::to_string(runs) + " with a wrong symbol", format, "", 0.0, 0.0, wrong, wrong, 0));
}
} // namespace

accuracy_section_t measure_fsk_clean_runs()
{
    constexpr std::uint64_t count = 8;
    accuracy_section_t section = {
        "FSK: clean signals",
        "1,024 symbols at 8 samples each, pulses of 160 symbols, deviation 0.25 of the symbol rate, root raised cosine pair of "
        "16 symbols at roll-off 0.5, tones equally frequent in every run of 8 symbols, seeds 1 to 8. EVM in percent of the "
        "deviation",
        {}
    };
    for (const signal_format_t format : shaped_formats)
    {
        fsk_runs_t runs;
        for (std::uint64_t seed = 1; seed <= count; ++seed)
            runs.add(make_seeded(format, signal_pulse_t::root_raised_cosine, 0.5, seed));
        section.rows.push_back(make_row("EVM, each run", format, "%", 0.0, format == signal_format_t::fsk8 ? 1.5 : 0.6,
                                        runs.evm.get_low(), runs.evm.get_high(), 3));
        section.rows.push_back(make_row("deviation, off that of the signal", format, "%", -1.0, 0.5, runs.deviation.get_low(),
                                        runs.deviation.get_high(), 2));
        add_count(section, format, count, runs.wrong);
    }
    return section;
}

accuracy_section_t measure_fsk_clean_spread()
{
    constexpr std::uint64_t count = 50;
    accuracy_section_t section = {
        "FSK: clean signals, spread over the data",
        "As in the section before, seeds 1 to 50. The noise that the data make in the clock estimate falls with the roll-off; "
        "longer filters change it little",
        {}
    };
    for (const signal_format_t format : shaped_formats)
    {
        for (const double alpha : { 0.35, 0.5 })
        {
            for (const std::uint32_t length : { 16u, 64u })
            {
                fsk_runs_t runs;
                for (std::uint64_t seed = 1; seed <= count; ++seed)
                    runs.add(make_seeded(format, signal_pulse_t::root_raised_cosine, alpha, seed), length);
                const std::string what =
                    "EVM, roll-off " + print("%g", alpha) + ", filters of " + std::to_string(length) + " symbols, ";
                section.rows.push_back(make_row(what + "median", format, "%", -unbounded, unbounded, runs.evm.get_median(),
                                                runs.evm.get_median(), 2));
                section.rows.push_back(make_row(what + "all runs at most", format, "%", -unbounded, unbounded,
                                                runs.evm.get_high(), runs.evm.get_high(), 2));
            }
        }
    }
    return section;
}

accuracy_section_t measure_fsk_noisy_runs()
{
    constexpr std::uint64_t count = 5;
    constexpr double snr_db = 30.0;
    accuracy_section_t section = {
        "FSK: signals with noise",
        "As in the section before, SNR 30 dB, seeds 1 to 5. Theory: behind the filter phase noise has the frequency variance "
        "N0 / 2 * integral of f^2 |H|^2 df, which the deviation divides",
        {}
    };
    for (const double alpha : { 0.35, 0.5 })
    {
        double integral = 0.0; // frequency in symbol rates, |H|^2 the raised cosine
        constexpr double step = 1e-4;
        for (double f = step / 2.0; f < (1.0 + alpha) / 2.0; f += step)
        {
            const double flank = std::numbers::pi / alpha * (f - (1.0 - alpha) / 2.0);
            integral += 2.0 * step * f * f * (flank < 0.0 ? 1.0 : 0.5 * (1.0 + std::cos(flank)));
        }
        const double theory = std::sqrt(0.5 * std::pow(10.0, -snr_db / 10.0) * integral) / 0.25 * 100.0;
        for (const signal_format_t format : shaped_formats)
        {
            fsk_runs_t runs;
            for (std::uint64_t seed = 1; seed <= count; ++seed)
            {
                signal_setting_t setting = make_seeded(format, signal_pulse_t::root_raised_cosine, alpha, seed);
                setting.snr_db = snr_db;
                runs.add(setting);
            }
            const std::string what = "EVM, roll-off " + print("%g", alpha);
            section.rows.push_back(make_row(what + ", each run", format, "%", 2.5,
                                            format == signal_format_t::fsk8 ? 3.8 : 3.1, runs.evm.get_low(),
                                            runs.evm.get_high(), 3));
            // The clock's part and the carrier's come on top of the scatter of 5 times 1,024 symbols, 1 %.
            const double ratio = runs.evm.get_rms() / theory;
            section.rows.push_back(make_row(what + ", rms over that of theory", format, "", 0.95, 1.08, ratio, ratio, 3));
            add_count(section, format, count, runs.wrong);
        }
    }
    return section;
}

accuracy_section_t measure_fsk_gaussian_runs()
{
    constexpr std::uint64_t count = 8;
    constexpr signal_format_t format = signal_format_t::fsk2;
    accuracy_section_t section = {
        "FSK: Gaussian tones",
        "1,024 symbols at 8 samples each, clean, deviation 0.25 of the symbol rate, no measurement filter, tones equally "
        "frequent in every run of 8 symbols, seeds 1 to 8. Each deviation is what the overlapping pulses of its data "
        "make of it, computed "
        "apart from the analytic pulse; the bar is for their mean",
        {}
    };
    for (const double bandwidth_time : { 0.5, 0.3 })
    {
        fsk_runs_t runs;
        for (std::uint64_t seed = 1; seed <= count; ++seed)
            runs.add(make_seeded(format, signal_pulse_t::gaussian, bandwidth_time, seed));
        const bool wide = bandwidth_time == 0.5;
        const std::string what = "BT " + print("%g", bandwidth_time) + ", ";
        section.rows.push_back(
            make_row(what + "EVM, each run", format, "%", 0.0, 0.6, runs.evm.get_low(), runs.evm.get_high(), 3));
        section.rows.push_back(make_row(what + "deviation, off that of the signal, mean", format, "%", wide ? -7.5 : -29.0,
                                        wide ? -6.5 : -26.0, runs.deviation.get_mean(), runs.deviation.get_mean(), 2));
        section.rows.push_back(make_row(what + "deviation, off that of the signal, each run", format, "%", -unbounded, unbounded,
                                        runs.deviation.get_low(), runs.deviation.get_high(), 2));
        section.rows.push_back(make_row(what + "deviation, off what the data make of it", format, "%", -0.02, 0.02,
                                        runs.deviation_excess.get_low(), runs.deviation_excess.get_high(), 3));
        add_count(section, format, count, runs.wrong);
    }
    return section;
}

accuracy_section_t measure_fsk_gaussian_spread()
{
    constexpr std::uint64_t count = 20;
    constexpr signal_format_t format = signal_format_t::fsk2;
    accuracy_section_t section = {
        "FSK: Gaussian tones, over how the data are balanced",
        "As in the section before, seeds 1 to 20: the more often the tones take turns, the less deviation single symbols reach",
        {}
    };
    for (const double bandwidth_time : { 0.5, 0.3 })
    {
        for (const std::uint32_t run : { 4u, 8u, 16u, 0u })
        {
            fsk_runs_t runs;
            for (std::uint64_t seed = 1; seed <= count; ++seed)
            {
                signal_setting_t setting = make_seeded(format, signal_pulse_t::gaussian, bandwidth_time, seed);
                setting.balanced_run = run;
                setting.symbol_count = 1232; // whole runs
                runs.add(setting);
            }
            const std::string data =
                run == 0 ? "symbols drawn one by one" : "tones equally frequent in runs of " + std::to_string(run);
            section.rows.push_back(make_row("BT " + print("%g", bandwidth_time) + ", " + data + ", deviation", format, "%",
                                            -unbounded, unbounded, runs.deviation.get_low(), runs.deviation.get_high(), 1));
        }
    }
    return section;
}

accuracy_section_t measure_fsk_carrier()
{
    constexpr signal_format_t format = signal_format_t::fsk2;
    accuracy_section_t section = {
        "FSK: carrier",
        "As with clean signals, 4 seeds each. The truth is the offset and what a surplus of one tone adds, deviation * (n1 - n2) "
        "/ (n1 + n2)",
        {}
    };
    for (const double offset : { 0.0, 1234.5, -0.1e6, 0.5e6, -1.0e6, 1.0e6 })
    {
        fsk_runs_t runs;
        for (std::uint64_t seed = 11; seed < 15; ++seed)
        {
            signal_setting_t setting = make_seeded(format, signal_pulse_t::root_raised_cosine, 0.5, seed);
            setting.carrier_offset_hz = offset;
            runs.add(setting);
        }
        const double bar = 1e-4 * std::abs(offset) + 20.0;
        section.rows.push_back(make_row("offset " + print("%.1f", offset) + " Hz, frequency error off the truth", format, "Hz",
                                        -bar, bar, runs.carrier.get_low(), runs.carrier.get_high(), 1));
        add_count(section, format, 4, runs.wrong);
    }
    return section;
}
} // namespace dma_test
