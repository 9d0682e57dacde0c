#include "fsk_accuracy.h"

#include "accuracy_run.h"
#include "fsk_run.h"

#include <cmath>
#include <cstddef>
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

/// Of two tones (n1 - n2) / (n1 + n2) of the symbols that count.
double cal_level_mean(const signal_t& signal)
{
    double sum = 0.0;
    for (std::size_t k = fsk_first_counted; k < fsk_first_counted + fsk_counted; ++k)
        sum += signal.levels[k];
    return sum / fsk_counted;
}

/// What a set of runs of one format gives.
struct fsk_runs_t
{
    figure_t evm;
    figure_t deviation;        ///< percent off that of the signal
    figure_t deviation_excess; ///< percent of that of the signal over what its data make of it
    figure_t carrier;          ///< Hz off the mean of the outer tones
    figure_t surplus_carrier;  ///< of two tones, Hz off deviation * (n1 - n2) / (n1 + n2)
    double wrong = 0.0;        ///< runs that failed or have a wrong symbol

    /// @return EVM, percent
    double add(const signal_setting_t& setting, std::uint32_t filter_length = 16)
    {
        analysis_setting_t analysis = make_fsk_analysis(setting);
        analysis.filter_length = filter_length;
        const fsk_run_t run(setting, analysis);
        const bool done = run.result.code == vrim::dma_demod_lib::LIB_DMA_RESULT_OK;
        const fsk_truth_t truth = cal_fsk_truth(setting, run.signal);
        evm.add(done ? run.get_evm() : std::numeric_limits<double>::quiet_NaN());
        const double carrier_hz = static_cast<double>(run.result.table.frequency_error) - setting.carrier_offset_hz;
        deviation.add(run.get_deviation_error());
        deviation_excess.add(run.get_deviation_error() - 100.0 * (truth.deviation - 1.0));
        carrier.add(carrier_hz - truth.carrier * run.signal.deviation_hz);
        surplus_carrier.add(carrier_hz - cal_level_mean(run.signal) * run.signal.deviation_hz);
        wrong += done && run.count_wrong() == 0 ? 0.0 : 1.0;
        return done ? run.get_evm() : std::numeric_limits<double>::quiet_NaN();
    }
};

signal_setting_t make_seeded(signal_format_t format, signal_pulse_t pulse, double shape, std::uint64_t seed)
{
    signal_setting_t setting = make_fsk_signal(format, pulse, shape);
    setting.seed = seed;
    return setting;
}

std::string print_seeds(std::uint64_t count)
{
    return "seeds 1 to " + std::to_string(count);
}

void add_range(accuracy_section_t& section, const std::string& what, signal_format_t format, double bar_low, double bar_high,
               const figure_t& figure, int digits)
{
    section.rows.push_back(make_row(what, format, "%", bar_low, bar_high, figure.get_low(), figure.get_high(), digits));
}

void add_count(accuracy_section_t& section, const std::string& what, signal_format_t format, std::uint64_t runs, double bar,
               double value)
{
    section.rows.push_back(make_row("runs of " + std::to_string(runs) + " with " + what, format, "", 0.0, bar, value, value, 0));
}

void add_wrong(accuracy_section_t& section, signal_format_t format, std::uint64_t runs, double wrong)
{
    add_count(section, "a wrong symbol", format, runs, 0.0, wrong);
}

constexpr double noisy_snr_db = 30.0;
constexpr double noisy_evm_low = 2.5;

double get_noisy_evm_high(signal_format_t format)
{
    return format == signal_format_t::fsk8 ? 3.8 : 3.1;
}

/// EVM in percent that the noise alone makes.
double cal_noise_evm(double alpha)
{
    double integral = 0.0; // frequency in symbol rates, |H|^2 the raised cosine
    constexpr double step = 1e-4;
    for (double f = step / 2.0; f < (1.0 + alpha) / 2.0; f += step)
    {
        const double flank = std::numbers::pi / alpha * (f - (1.0 - alpha) / 2.0);
        integral += 2.0 * step * f * f * (flank < 0.0 ? 1.0 : 0.5 * (1.0 + std::cos(flank)));
    }
    return std::sqrt(0.5 * std::pow(10.0, -noisy_snr_db / 10.0) * integral) / 0.25 * 100.0;
}

signal_setting_t make_noisy(signal_format_t format, double alpha, std::uint64_t seed)
{
    signal_setting_t setting = make_balanced_fsk_signal(format, signal_pulse_t::root_raised_cosine, alpha, seed);
    setting.snr_db = noisy_snr_db;
    return setting;
}
} // namespace

accuracy_section_t measure_fsk_clean_runs(std::uint64_t count)
{
    accuracy_section_t section = {
        "FSK: clean signals",
        "1,024 symbols at 8 samples each, pulses of 160 symbols, deviation 0.25 of the symbol rate, root raised cosine pair of "
        "16 symbols at roll-off 0.5, " +
            print_seeds(count) +
            ". The data are balanced: tones are equally frequent in every run of 8 symbols, and the symbols that count for "
            "carrier and deviation are whole runs; of two tones they are all the 70 such runs, one after the other in an order "
            "by the seed. EVM in percent of the deviation",
        {}
    };
    for (const signal_format_t format : shaped_formats)
    {
        fsk_runs_t runs;
        for (std::uint64_t seed = 1; seed <= count; ++seed)
            runs.add(make_balanced_fsk_signal(format, signal_pulse_t::root_raised_cosine, 0.5, seed));
        add_range(section, "EVM, each run", format, 0.0, format == signal_format_t::fsk8 ? 1.5 : 0.6, runs.evm, 3);
        add_range(section, "deviation, off that of the signal, each run", format, -1.0, 0.5, runs.deviation, 2);
        add_wrong(section, format, count, runs.wrong);
    }
    return section;
}

accuracy_section_t measure_fsk_clean_spread()
{
    constexpr std::uint64_t count = 100;
    struct trial_t
    {
        const char* data;
        std::uint32_t balanced_run; ///< from the first symbol of the record on
        bool whole_runs;            ///< where symbols count
        std::uint32_t length;       ///< of the filters
    };
    const trial_t trials[] = { { "balanced data", 0, true, 16 },
                               { "balanced data, filters of 64 symbols", 0, true, 64 },
                               { "runs of 8 that are cut", 8, false, 16 },
                               { "symbols drawn one by one", 0, false, 16 } };
    accuracy_section_t section = {
        "FSK: clean signals, spread over the data",
        "As in the section before, " + print_seeds(count) +
            ", from the median to the worst run. Runs of 8 are cut when they begin at the first symbol of the record: the first "
            "and the last of those that count lack symbols. Symbols that are drawn one by one leave a surplus of one outer tone "
            "of some 3 (2FSK), 4 (4FSK) and 6 % (8FSK). As much as it comes back as EVM. The noise that the data make in the "
            "clock estimate falls with the roll-off; longer filters change it little",
        {}
    };
    for (const signal_format_t format : shaped_formats)
    {
        for (const double alpha : { 0.35, 0.5 })
        {
            for (const trial_t& trial : trials)
            {
                fsk_runs_t runs;
                for (std::uint64_t seed = 1; seed <= count; ++seed)
                {
                    signal_setting_t setting = make_seeded(format, signal_pulse_t::root_raised_cosine, alpha, seed);
                    setting.balanced_run = trial.balanced_run;
                    runs.add(trial.whole_runs ? make_balanced_fsk_signal(format, setting.pulse, alpha, seed) : setting,
                             trial.length);
                }
                section.rows.push_back(make_row("EVM, roll-off " + print("%g", alpha) + ", " + trial.data, format, "%",
                                                -unbounded, unbounded, runs.evm.get_median(), runs.evm.get_high(), 2));
            }
        }
    }
    return section;
}

accuracy_section_t measure_fsk_noisy_runs(std::uint64_t count)
{
    accuracy_section_t section = {
        "FSK: signals with noise",
        "Balanced data as with clean signals, SNR 30 dB, " + print_seeds(count) +
            ". Theory: behind the filter phase noise has the frequency variance N0 / 2 * integral of f^2 |H|^2 df, which the "
            "deviation divides",
        {}
    };
    for (const double alpha : { 0.35, 0.5 })
    {
        const double theory = cal_noise_evm(alpha);
        for (const signal_format_t format : shaped_formats)
        {
            fsk_runs_t runs;
            for (std::uint64_t seed = 1; seed <= count; ++seed)
                runs.add(make_noisy(format, alpha, seed));
            const std::string shape = ", roll-off " + print("%g", alpha);
            add_range(section, "EVM" + shape + ", each run", format, noisy_evm_low, get_noisy_evm_high(format), runs.evm, 3);
            // The clock's part and the carrier's come on top of the scatter of thousands of symbols, 1 %.
            const double ratio = runs.evm.get_rms() / theory;
            section.rows.push_back(
                make_row("EVM" + shape + ", rms over that of theory", format, "", 0.95, 1.08, ratio, ratio, 3));
            add_range(section, "deviation" + shape + ", off that of the signal, each run", format, -1.0, 0.5, runs.deviation, 2);
            add_wrong(section, format, count, runs.wrong);
        }
    }
    return section;
}

accuracy_section_t measure_fsk_noisy_spread(std::uint64_t count)
{
    const double few = std::ceil(static_cast<double>(count) / 50.0);
    accuracy_section_t section = {
        "FSK: signals with noise, spread",
        "As in the section before, " + print_seeds(count) +
            "; the bounds are those of that section. The lower one stands 2.2 standard deviations of single runs below their "
            "mean at roll-off 0.35 and 3.2 at 0.5. Of 8FSK the highest and the lowest symbol alone set the borders of the outer "
            "tones: where noise puts one far out, few symbols of its tone are left for the carrier",
        {}
    };
    for (const double alpha : { 0.35, 0.5 })
    {
        for (const signal_format_t format : shaped_formats)
        {
            double outside = 0.0;
            fsk_runs_t runs;
            for (std::uint64_t seed = 1; seed <= count; ++seed)
            {
                const double evm = runs.add(make_noisy(format, alpha, seed));
                outside += evm >= noisy_evm_low && evm <= get_noisy_evm_high(format) ? 0.0 : 1.0;
            }
            const bool certain = format != signal_format_t::fsk8;
            const std::string high = print("%g", get_noisy_evm_high(format));
            add_count(section, "an EVM outside 2.5 to " + high + " %, roll-off " + print("%g", alpha), format, count,
                      certain && alpha == 0.5 ? 0.0 : few, outside);
            add_count(section, "a wrong symbol, roll-off " + print("%g", alpha), format, count, certain ? 0.0 : few, runs.wrong);
        }
    }
    return section;
}

accuracy_section_t measure_fsk_gaussian_runs(std::uint64_t count)
{
    constexpr signal_format_t format = signal_format_t::fsk2;
    accuracy_section_t section = {
        "FSK: Gaussian tones",
        "1,024 symbols at 8 samples each, clean, deviation 0.25 of the symbol rate, no measurement filter, " +
            print_seeds(count) +
            ", data balanced as with clean signals: all the 70 runs of 8 symbols with equally frequent tones, one after the "
            "other. Each deviation is what the overlapping pulses of its data make of it, computed apart from the analytic pulse",
        {}
    };
    for (const double bandwidth_time : { 0.5, 0.3 })
    {
        fsk_runs_t runs;
        for (std::uint64_t seed = 1; seed <= count; ++seed)
            runs.add(make_balanced_fsk_signal(format, signal_pulse_t::gaussian, bandwidth_time, seed));
        const bool wide = bandwidth_time == 0.5;
        const std::string what = "BT " + print("%g", bandwidth_time) + ", ";
        add_range(section, what + "EVM, each run", format, 0.0, 0.6, runs.evm, 3);
        add_range(section, what + "deviation, off that of the signal, each run", format, wide ? -7.5 : -29.0,
                  wide ? -6.5 : -26.0, runs.deviation, 2);
        add_range(section, what + "deviation, off what the data make of it, each run", format, -0.02, 0.02,
                  runs.deviation_excess, 3);
        add_wrong(section, format, count, runs.wrong);
    }
    return section;
}

accuracy_section_t measure_fsk_gaussian_spread()
{
    constexpr std::uint64_t count = 100;
    constexpr signal_format_t format = signal_format_t::fsk2;
    accuracy_section_t section = {
        "FSK: Gaussian tones, over how the data are balanced",
        "As in the section before, " + print_seeds(count) +
            ": the more often the tones take turns, the less deviation single symbols reach. Balanced data are those of the "
            "section before, all the 70 runs of 8; the other runs are drawn each by itself and begin at the first symbol of the "
            "record",
        {}
    };
    const auto add_rows = [&](double bandwidth_time, const std::string& data, const auto& make)
    {
        fsk_runs_t runs;
        for (std::uint64_t seed = 1; seed <= count; ++seed)
            runs.add(make(seed));
        const std::string what = "BT " + print("%g", bandwidth_time) + ", " + data;
        add_range(section, what + ", deviation", format, -unbounded, unbounded, runs.deviation, 1);
        add_range(section, what + ", EVM", format, -unbounded, unbounded, runs.evm, 2);
    };
    for (const double bandwidth_time : { 0.5, 0.3 })
    {
        add_rows(bandwidth_time, "balanced data",
                 [&](std::uint64_t seed)
                 { return make_balanced_fsk_signal(format, signal_pulse_t::gaussian, bandwidth_time, seed); });
        for (const std::uint32_t run : { 4u, 8u, 16u, 0u })
        {
            const std::string data =
                run == 0 ? "symbols drawn one by one" : "tones equally frequent in runs of " + std::to_string(run);
            add_rows(bandwidth_time, data,
                     [&](std::uint64_t seed)
                     {
                         signal_setting_t setting = make_seeded(format, signal_pulse_t::gaussian, bandwidth_time, seed);
                         setting.balanced_run = run;
                         setting.symbol_count = 1232; // whole runs
                         return setting;
                     });
        }
    }
    return section;
}

accuracy_section_t measure_fsk_carrier(std::uint64_t count)
{
    constexpr signal_format_t format = signal_format_t::fsk2;
    accuracy_section_t section = {
        "FSK: carrier",
        "As with clean signals, " + print_seeds(count) +
            " each. Runs of 8 symbols with equally frequent tones begin at the first symbol of the record, so that a few symbols "
            "of one tone are too many among those that count. The truth is the offset and what this surplus adds, deviation * "
            "(n1 - n2) / (n1 + n2). Of symbols that are drawn one by one it is some 3 %, and the deviation in its truth is the "
            "one that means over a sample leave. The EVM of balanced data shows what an offset costs: the clock is estimated "
            "before the offset is gone, and takes more of the data for noise",
        {}
    };
    for (const double offset : { 0.0, 1234.5, -0.1e6, 0.5e6, -1.0e6, 1.0e6 })
    {
        fsk_runs_t cut;
        fsk_runs_t drawn;
        fsk_runs_t balanced;
        for (std::uint64_t seed = 1; seed <= count; ++seed)
        {
            signal_setting_t setting = make_seeded(format, signal_pulse_t::root_raised_cosine, 0.5, seed);
            setting.carrier_offset_hz = offset;
            cut.add(setting);
            setting.balanced_run = 0;
            drawn.add(setting);
            setting = make_balanced_fsk_signal(format, setting.pulse, 0.5, seed);
            setting.carrier_offset_hz = offset;
            balanced.add(setting);
        }
        const double bar = 1e-4 * std::abs(offset) + 20.0;
        const std::string what = "offset " + print("%.1f", offset) + " Hz, ";
        section.rows.push_back(make_row(what + "frequency error off the truth", format, "Hz", -bar, bar,
                                        cut.surplus_carrier.get_low(), cut.surplus_carrier.get_high(), 1));
        section.rows.push_back(make_row(what + "frequency error off the truth, symbols drawn one by one", format, "Hz", -bar, bar,
                                        drawn.carrier.get_low(), drawn.carrier.get_high(), 1));
        add_range(section, what + "EVM, balanced data", format, -unbounded, unbounded, balanced.evm, 2);
        add_wrong(section, format, 3 * count, cut.wrong + drawn.wrong + balanced.wrong);
    }
    return section;
}
} // namespace dma_test
