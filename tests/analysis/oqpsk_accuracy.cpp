#include "oqpsk_accuracy.h"

#include "accuracy_run.h"
#include "frame_run.h"
#include "oqpsk_run.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>

namespace dma_test
{
namespace
{
constexpr signal_format_t format = signal_format_t::oqpsk;
constexpr double roll_offs[] = { 0.2, 0.35, 0.5 };
constexpr std::uint64_t quick_runs = small_grids ? 2 : 8; // what the tests repeat
constexpr std::uint64_t spread_runs = 200;
constexpr double frequency_bar = 2e-5 * oqpsk_symbol_rate; // Hz

std::string print(const char* form, double value)
{
    char text[32];
    std::snprintf(text, sizeof text, form, value);
    return text;
}

std::string print_seeds(std::uint64_t count)
{
    return "seeds 1 to " + std::to_string(count);
}

signal_setting_t make_rounded(double roll_off, std::uint64_t seed, double snr_db = unbounded)
{
    signal_setting_t setting = make_oqpsk_setting(signal_pulse_t::root_raised_cosine, roll_off, seed);
    setting.snr_db = snr_db;
    return setting;
}

signal_setting_t make_gaussian(std::uint64_t seed, double snr_db = unbounded)
{
    signal_setting_t setting = make_oqpsk_setting(signal_pulse_t::gaussian, 0.5, seed);
    setting.snr_db = snr_db;
    return setting;
}

/// What a set of runs gives.
struct oqpsk_runs_t
{
    figure_t evm;
    figure_t frequency;      ///< Hz off the offset
    figure_t wrong_symbols;  ///< of each run
    std::uint64_t wrong = 0; ///< runs that failed or have a wrong symbol

    void add(const signal_setting_t& setting, const analysis_setting_t& analysis)
    {
        const oqpsk_run_t run(setting, analysis);
        const std::size_t differing = run.count_wrong();
        evm.add(get_evm(run.result));
        frequency.add(get_frequency_deviation(run.result, setting.carrier_offset_hz));
        wrong_symbols.add(static_cast<double>(differing));
        wrong += run.result.locked() && differing == 0 ? 0 : 1;
    }

    /// With the results on the grid of whole symbols in every second run.
    void add(const signal_setting_t& setting)
    {
        analysis_setting_t analysis = make_oqpsk_analysis(setting);
        analysis.aligned_iq = setting.seed % 2 == 0;
        add(setting, analysis);
    }
};

void add_figure(accuracy_section_t& section, const std::string& what, const char* unit, double bar_low, double bar_high,
                const figure_t& figure, int digits)
{
    section.rows.push_back(make_row(what, format, unit, bar_low, bar_high, figure.get_low(), figure.get_high(), digits));
}

void add_value(accuracy_section_t& section, const std::string& what, const char* unit, double value, int digits)
{
    section.rows.push_back(make_row(what, format, unit, -unbounded, unbounded, value, value, digits));
}

void add_wrong(accuracy_section_t& section, const std::string& what, std::uint64_t wrong)
{
    const auto value = static_cast<double>(wrong);
    section.rows.push_back(make_row(what + "runs with a wrong symbol", format, "", 0.0, 0.0, value, value, 0));
}

/// EVM and frequency without bars.
void add_spread(accuracy_section_t& section, const std::string& what, const oqpsk_runs_t& runs)
{
    add_value(section, what + "EVM, median", "%", runs.evm.get_median(), 3);
    add_figure(section, what + "EVM, all runs", "%", -unbounded, unbounded, runs.evm, 3);
    add_value(section, what + "frequency error off the offset, rms", "Hz", runs.frequency.get_rms(), 1);
    add_figure(section, what + "frequency error off the offset, all runs", "Hz", -unbounded, unbounded, runs.frequency, 1);
}
} // namespace

accuracy_section_t measure_oqpsk_clean_runs()
{
    accuracy_section_t section = { "OQPSK: clean signals",
                                   "1,024 symbols at 8 samples each, pulses of 128 symbols, offset 1,234.5 Hz, EVM in percent of "
                                   "the constellation's maximum, every second run on the grid of whole symbols, " +
                                       print_seeds(quick_runs),
                                   {} };
    for (const double roll_off : roll_offs)
    {
        oqpsk_runs_t runs;
        for (std::uint64_t seed = 1; seed <= quick_runs; ++seed)
            runs.add(make_rounded(roll_off, seed));
        const std::string what = "roll-off " + print("%g", roll_off) + ", ";
        add_figure(section, what + "EVM, each run", "%", 0.0, 0.4, runs.evm, 3);
        add_figure(section, what + "frequency error off the offset", "Hz", -frequency_bar, frequency_bar, runs.frequency, 1);
        add_wrong(section, what, runs.wrong);
    }
    return section;
}

accuracy_section_t measure_oqpsk_clean_spread()
{
    accuracy_section_t section = { "OQPSK: clean signals, spread over the data",
                                   "As in the section before, " + print_seeds(spread_runs),
                                   {} };
    for (const double roll_off : roll_offs)
    {
        oqpsk_runs_t runs;
        for (std::uint64_t seed = 1; seed <= spread_runs; ++seed)
            runs.add(make_rounded(roll_off, seed));
        add_spread(section, "roll-off " + print("%g", roll_off) + ", ", runs);
    }
    return section;
}

accuracy_section_t measure_oqpsk_noisy_runs()
{
    constexpr double snr_db = 30.0;
    accuracy_section_t section = {
        "OQPSK: signals with noise",
        "As with clean signals, SNR 30 dB, " + print_seeds(quick_runs) +
            ". Theory for the EVM over the rms: 10^(-SNR / 20) / sqrt(1 - roll-off / 4), since between the symbols of a rail its "
            "power is less by half the roll-off",
        {}
    };
    for (const double roll_off : roll_offs)
    {
        const double theory = 100.0 * std::pow(10.0, -snr_db / 20.0) / std::sqrt(1.0 - roll_off / 4.0);
        oqpsk_runs_t runs;
        figure_t over_theory;
        for (std::uint64_t seed = 1; seed <= quick_runs; ++seed)
        {
            const signal_setting_t setting = make_rounded(roll_off, seed, snr_db);
            runs.add(setting);
            analysis_setting_t analysis = make_oqpsk_analysis(setting);
            analysis.aligned_iq = seed % 2 == 0;
            analysis.normalization = vrim::dma_demod_lib::LIB_DMA_EVM_NORMALIZE_RMS;
            over_theory.add(get_evm(oqpsk_run_t(setting, analysis).result) / theory);
        }
        const std::string what = "roll-off " + print("%g", roll_off) + ", ";
        add_figure(section, what + "EVM, each run", "%", 1.8, 2.8, runs.evm, 2);
        // Four standard deviations of the rms of 1,024 errors are 9 %.
        add_figure(section, what + "EVM over the rms, over that of theory", "", 0.91, 1.09, over_theory, 3);
        add_figure(section, what + "frequency error off the offset", "Hz", -frequency_bar, frequency_bar, runs.frequency, 1);
        add_wrong(section, what, runs.wrong);
    }
    return section;
}

accuracy_section_t measure_oqpsk_noisy_spread()
{
    accuracy_section_t section = { "OQPSK: signals with noise, spread",
                                   "As in the section before, " + print_seeds(spread_runs),
                                   {} };
    for (const double roll_off : roll_offs)
    {
        oqpsk_runs_t runs;
        for (std::uint64_t seed = 1; seed <= spread_runs; ++seed)
            runs.add(make_rounded(roll_off, seed, 30.0));
        add_spread(section, "roll-off " + print("%g", roll_off) + ", ", runs);
    }
    return section;
}

accuracy_section_t measure_oqpsk_decisions()
{
    accuracy_section_t section = { "OQPSK: decisions", "As with clean signals, SNR 20 dB, " + print_seeds(quick_runs), {} };
    for (const double roll_off : roll_offs)
    {
        oqpsk_runs_t runs;
        for (std::uint64_t seed = 1; seed <= quick_runs; ++seed)
            runs.add(make_rounded(roll_off, seed, 20.0));
        add_wrong(section, "roll-off " + print("%g", roll_off) + ", ", runs.wrong);
    }
    return section;
}

accuracy_section_t measure_oqpsk_strong_noise()
{
    constexpr std::uint64_t count = 100;
    constexpr double snr_db = 10.0;
    const double error_share = std::erfc(std::sqrt(0.5 * std::pow(10.0, snr_db / 10.0))); // of symbols, two rails
    accuracy_section_t section = { "OQPSK: decisions in strong noise",
                                   "As with clean signals, SNR 10 dB, " + print_seeds(count) + ". Noise alone takes " +
                                       print("%.1f", error_share * oqpsk_interval) + " wrong decisions in 1,024 symbols and " +
                                       print("%.1f", error_share * 400.0) + " in 400",
                                   {} };
    for (const double roll_off : roll_offs)
    {
        for (const std::uint32_t interval : { oqpsk_interval, 400u })
        {
            oqpsk_runs_t runs;
            std::uint64_t lost = 0;
            figure_t sound;
            figure_t frequency;
            for (std::uint64_t seed = 1; seed <= count; ++seed)
            {
                const signal_setting_t setting = make_rounded(roll_off, seed, snr_db);
                analysis_setting_t analysis = make_oqpsk_analysis(setting);
                analysis.meas_interval = interval;
                const oqpsk_run_t run(setting, analysis);
                const std::size_t differing = run.count_wrong();
                const bool is_lost = !run.result.locked() || 10 * differing > interval;
                lost += is_lost ? 1 : 0;
                if (is_lost)
                    continue;
                sound.add(static_cast<double>(differing));
                frequency.add(get_frequency_deviation(run.result, setting.carrier_offset_hz));
            }
            const std::string what = "roll-off " + print("%g", roll_off) + ", " + std::to_string(interval) + " symbols, ";
            add_value(section, what + "runs of " + std::to_string(count) + " with a tenth of the symbols wrong", "",
                      static_cast<double>(lost), 0);
            add_value(section, what + "wrong symbols in the others, mean", "", sound.get_mean(), 2);
            add_value(section, what + "wrong symbols in the others, at most", "", sound.get_high(), 0);
            add_figure(section, what + "frequency error of the others off the offset", "Hz", -unbounded, unbounded, frequency, 0);
        }
    }
    return section;
}

accuracy_section_t measure_oqpsk_gaussian_runs()
{
    accuracy_section_t section = { "OQPSK: Gaussian pulses",
                                   "As with clean signals, BT 0.5, no measurement filter, " + print_seeds(quick_runs) +
                                       ". Without a filter the noise of the whole capture counts",
                                   {} };
    oqpsk_runs_t clean;
    oqpsk_runs_t noisy;
    for (std::uint64_t seed = 1; seed <= quick_runs; ++seed)
    {
        clean.add(make_gaussian(seed));
        noisy.add(make_gaussian(seed, 30.0));
    }
    add_figure(section, "clean, EVM, each run", "%", 0.0, 0.4, clean.evm, 3);
    add_figure(section, "clean, frequency error off the offset", "Hz", -frequency_bar, frequency_bar, clean.frequency, 1);
    add_wrong(section, "clean, ", clean.wrong);
    add_figure(section, "30 dB, EVM, each run", "%", 6.5, 8.0, noisy.evm, 2);
    add_wrong(section, "30 dB, ", noisy.wrong);
    return section;
}

accuracy_section_t measure_oqpsk_gaussian_spread()
{
    accuracy_section_t section = { "OQPSK: Gaussian pulses, spread over the data",
                                   "As in the section before, " + print_seeds(spread_runs),
                                   {} };
    oqpsk_runs_t clean;
    oqpsk_runs_t noisy;
    for (std::uint64_t seed = 1; seed <= spread_runs; ++seed)
    {
        clean.add(make_gaussian(seed));
        noisy.add(make_gaussian(seed, 30.0));
    }
    add_spread(section, "clean, ", clean);
    add_spread(section, "30 dB, ", noisy);
    return section;
}

accuracy_section_t measure_oqpsk_carrier()
{
    constexpr std::uint64_t count = small_grids ? 1 : 4;
    accuracy_section_t section = { "OQPSK: carrier", "As with clean signals, " + print_seeds(count) + " each", {} };
    for (const double roll_off : roll_offs)
    {
        std::uint64_t wrong = 0;
        figure_t evm;
        for (const double offset : { -0.95, -0.5, 0.11, 0.95 })
        {
            oqpsk_runs_t runs;
            for (std::uint64_t seed = 1; seed <= count; ++seed)
            {
                signal_setting_t setting = make_rounded(roll_off, seed);
                setting.carrier_offset_hz = offset * oqpsk_symbol_rate;
                runs.add(setting);
            }
            const std::string what = "roll-off " + print("%g", roll_off) + ", offset " + print("%g", offset) + " symbol rates, ";
            add_figure(section, what + "EVM, each run", "%", 0.0, 0.4, runs.evm, 3);
            add_figure(section, what + "frequency error off it", "Hz", -frequency_bar, frequency_bar, runs.frequency, 1);
            wrong += runs.wrong;
        }
        add_wrong(section, "roll-off " + print("%g", roll_off) + ", ", wrong);
    }
    return section;
}

accuracy_section_t measure_oqpsk_half_sines()
{
    constexpr std::uint64_t count = small_grids ? 1 : 4;
    accuracy_section_t section = {
        "OQPSK: half sines",
        "1,024 clean symbols, no measurement filter, half sine reference, EVM in percent of the rms, over how far the centres of "
        "the pulses lie beside the samples, " +
            print_seeds(count) +
            ". The kinks of the pulses reach beyond the Nyquist frequency; the filter in front cuts off what lies beyond 0.45 of "
            "the sample rate, and between the samples the rest has folded back",
        {}
    };
    struct
    {
        double samples;
        std::uint32_t points;
        double share;   ///< of a sample, the pulses beside it
        double highest; ///< EVM, %
    } const cases[] = {
        { 8.0, 4, 0.0, 1.6 },   { 8.0, 4, 0.125, 4.5 },  { 8.0, 4, 0.25, 7.2 },  { 8.0, 4, 0.375, 9.2 }, { 8.0, 4, 0.5, 9.8 },
        { 20.0, 20, 0.0, 0.6 }, { 20.0, 20, 0.25, 3.0 }, { 20.0, 20, 0.5, 4.0 },
    };
    for (const auto& grid : cases)
    {
        oqpsk_runs_t runs;
        for (std::uint64_t seed = 1; seed <= count; ++seed)
        {
            signal_setting_t setting = make_oqpsk_setting(signal_pulse_t::half_sine, 0.5, seed);
            setting.sample_rate = grid.samples * oqpsk_symbol_rate;
            setting.timing_symbols = std::floor(0.25 * grid.samples) / grid.samples + grid.share / grid.samples;
            analysis_setting_t analysis = make_oqpsk_analysis(setting);
            analysis.points_per_symbol = grid.points;
            analysis.aligned_iq = seed % 2 == 0;
            runs.add(setting, analysis);
        }
        const std::string what = print("%g", grid.samples) + " samples and " + std::to_string(grid.points) +
                                 " points per symbol, " + print("%g", grid.share) + " samples beside, ";
        add_figure(section, what + "EVM", "%", 0.0, grid.highest, runs.evm, 2);
        add_figure(section, what + "frequency error off the offset", "Hz", -0.5 * frequency_bar, 0.5 * frequency_bar,
                   runs.frequency, 1);
        add_wrong(section, what, runs.wrong);
    }
    return section;
}
} // namespace dma_test
