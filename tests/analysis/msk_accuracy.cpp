#include "msk_accuracy.h"

#include "accuracy_run.h"
#include "frame_run.h"
#include "msk_run.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>

namespace dma_test
{
namespace
{
constexpr std::uint32_t interval = 1024;
constexpr std::uint64_t quick_runs = small_grids ? 2 : 8; // what the tests repeat
constexpr std::uint64_t spread_runs = 200;
constexpr std::uint32_t point_counts[] = { 2, 4, 5, 8, 10 };
// The line of the carrier loop is steeper than the carrier while the loop closes in.
constexpr double steepness = 0.003;

std::string print(const char* form, double value)
{
    char text[32];
    std::snprintf(text, sizeof text, form, value);
    return text;
}

/// Lead of the rows of one shape.
std::string print_shape(const msk_shape_t& shape)
{
    return shape.format == signal_format_t::gmsk ? "BT " + print("%g", shape.bandwidth_time) + ", " : "";
}

std::string print_seeds(std::uint64_t count)
{
    return "seeds 1 to " + std::to_string(count);
}

/// A run whose carrier phase and timing differ from seed to seed. The timing falls everywhere between the samples.
signal_setting_t make_run(const msk_shape_t& shape, std::uint64_t seed)
{
    signal_setting_t setting = make_msk_setting(shape, interval, seed);
    setting.timing_symbols = std::fmod(0.618034 * static_cast<double>(seed), 1.0);
    setting.carrier_phase = 0.8 * static_cast<double>(seed);
    setting.carrier_offset_hz = 1234.5;
    return setting;
}

/// What a set of runs of one shape gives.
struct msk_runs_t
{
    figure_t bare_evm; ///< of the demodulator alone
    figure_t evm;
    figure_t frequency;       ///< Hz off the offset
    std::uint64_t lost = 0;   ///< runs without a measurement, or with a tenth of the bits wrong
    std::uint64_t turned = 0; ///< runs that were not lost with an EVM above 100 %
    std::uint64_t failed = 0; ///< runs with a wrong bit
    std::uint64_t wrong = 0;  ///< bits of the runs that were not lost

    void add(const signal_setting_t& setting, const analysis_setting_t& analysis)
    {
        const msk_run_t run(setting, analysis);
        evm.add(dma_test::get_evm(run.result));
        frequency.add(get_frequency_deviation(run.result, setting.carrier_offset_hz));
        const bool is_lost = !run.result.locked() || 10 * run.match.differing > analysis.meas_interval;
        lost += is_lost ? 1 : 0;
        turned += !is_lost && run.get_evm() > 100.0 ? 1 : 0;
        failed += is_lost || run.match.differing > 0 ? 1 : 0;
        wrong += is_lost ? 0 : run.match.differing;
    }

    void add(const signal_setting_t& setting) { add(setting, make_msk_analysis(setting, interval, 8)); }

    void add_bare(const signal_setting_t& setting)
    {
        const msk_bare_run_t run(setting, make_msk_analysis(setting, interval, 8));
        bare_evm.add(run.evm);
        failed += run.match.found ? 0 : 1;
    }
};

accuracy_row_t make_figure_row(const std::string& what, const msk_shape_t& shape, const char* unit, double bar_low,
                               double bar_high, const figure_t& figure, int digits)
{
    return make_row(print_shape(shape) + what, shape.format, unit, bar_low, bar_high, figure.get_low(), figure.get_high(),
                    digits);
}

accuracy_row_t make_free_row(const std::string& what, const msk_shape_t& shape, const char* unit, double low, double high,
                             int digits)
{
    return make_row(print_shape(shape) + what, shape.format, unit, -unbounded, unbounded, low, high, digits);
}

accuracy_row_t make_count_row(const std::string& what, const msk_shape_t& shape, std::uint64_t count)
{
    return make_row(print_shape(shape) + what, shape.format, "", 0.0, 0.0, static_cast<double>(count), static_cast<double>(count),
                    0);
}

void add_spread(accuracy_section_t& section, const std::string& what, const msk_shape_t& shape, const figure_t& figure)
{
    section.rows.push_back(make_free_row(what + ", median", shape, "%", figure.get_median(), figure.get_median(), 2));
    const double most = figure.get_quantile(0.95);
    section.rows.push_back(make_free_row(what + ", 95 % of the runs at most", shape, "%", most, most, 2));
    section.rows.push_back(make_free_row(what + ", all runs", shape, "%", figure.get_low(), figure.get_high(), 3));
}
} // namespace

accuracy_section_t measure_msk_clean_runs()
{
    accuracy_section_t section = {
        "MSK and GMSK: clean signals",
        "1,024 symbols at 8 samples each, 8 points per symbol, pulses of 80 symbols, no measurement filter, reference filter "
        "none with MSK and Gaussian with GMSK, offset 1,234.5 Hz, " +
            print_seeds(quick_runs) +
            ". MSK has no band limit: the filter in front, which ends at 0.45 of the sample rate, cuts off most where the bits "
            "begin on samples, and that is in the figure of the whole analysis",
        {}
    };
    for (const msk_shape_t& shape : msk_shapes)
    {
        const bool bandless = shape.format == signal_format_t::msk;
        msk_runs_t runs;
        for (std::uint64_t seed = 1; seed <= quick_runs; ++seed)
        {
            runs.add_bare(make_run(shape, seed));
            runs.add(make_run(shape, seed));
        }
        section.rows.push_back(
            make_figure_row("EVM, the demodulator alone", shape, "%", 0.0, bandless ? 0.3 : 0.4, runs.bare_evm, 3));
        section.rows.push_back(make_figure_row("EVM, whole analysis", shape, "%", 0.0, bandless ? 0.34 : 0.4, runs.evm, 3));
        const double bar = steepness * 1234.5 + 1.0;
        section.rows.push_back(make_figure_row("frequency error off the offset", shape, "Hz", -bar, bar, runs.frequency, 2));
        section.rows.push_back(make_count_row("runs with a wrong bit", shape, runs.failed));
    }
    return section;
}

accuracy_section_t measure_msk_clean_spread()
{
    accuracy_section_t section = { "MSK and GMSK: clean signals, spread over data and timing",
                                   "As in the section before, " + print_seeds(spread_runs),
                                   {} };
    for (const msk_shape_t& shape : msk_shapes)
    {
        msk_runs_t runs;
        for (std::uint64_t seed = 1; seed <= spread_runs; ++seed)
        {
            runs.add_bare(make_run(shape, seed));
            runs.add(make_run(shape, seed));
        }
        add_spread(section, "EVM, the demodulator alone", shape, runs.bare_evm);
        add_spread(section, "EVM, whole analysis", shape, runs.evm);
        section.rows.push_back(
            make_free_row("frequency error off the offset", shape, "Hz", runs.frequency.get_low(), runs.frequency.get_high(), 2));
    }
    return section;
}

accuracy_section_t measure_msk_sample_rates()
{
    constexpr int steps = 32;
    accuracy_section_t section = {
        "MSK and GMSK: clean signals, over samples per symbol",
        "As with clean signals, whole analyses; the bits begin in steps of 1/32 sample between the samples, each with a seed of "
        "its own",
        {}
    };
    for (const msk_shape_t& shape : msk_shapes)
    {
        for (const double samples : { 2.0, 3.0, 4.0, 5.0, 6.0, 8.0, 10.0, 16.0 })
        {
            msk_runs_t runs;
            for (int step = 0; step < steps; ++step)
            {
                signal_setting_t setting = make_run(shape, 1 + static_cast<std::uint64_t>(step));
                setting.sample_rate = samples * setting.symbol_rate;
                setting.timing_symbols = step / (steps * samples);
                runs.add(setting);
            }
            section.rows.push_back(make_free_row("EVM, " + print("%g", samples) + " samples per symbol", shape, "%",
                                                 runs.evm.get_low(), runs.evm.get_high(), 2));
        }
    }
    return section;
}

accuracy_section_t measure_msk_noisy_runs()
{
    accuracy_section_t section = {
        "MSK and GMSK: signals with noise",
        "As with clean signals, Es/N0 30 dB, " + print_seeds(quick_runs) +
            ". The noise of the capture is 100 % * sqrt(8 / 1000) = 8.9 %; the filter in front keeps a tenth of it off",
        {}
    };
    for (const msk_shape_t& shape : msk_shapes)
    {
        msk_runs_t runs;
        for (std::uint64_t seed = 1; seed <= quick_runs; ++seed)
        {
            signal_setting_t setting = make_run(shape, seed);
            setting.snr_db = 30.0;
            runs.add(setting);
        }
        section.rows.push_back(make_figure_row("EVM, each run", shape, "%", 7.5, 9.5, runs.evm, 2));
        section.rows.push_back(make_figure_row("frequency error off the offset", shape, "Hz", -10.0, 10.0, runs.frequency, 2));
        section.rows.push_back(make_count_row("runs with a wrong bit", shape, runs.failed));
    }
    return section;
}

accuracy_section_t measure_msk_noisy_spread()
{
    accuracy_section_t section = { "MSK and GMSK: signals with noise, spread",
                                   "As in the section before, " + print_seeds(spread_runs),
                                   {} };
    for (const msk_shape_t& shape : msk_shapes)
    {
        msk_runs_t runs;
        for (std::uint64_t seed = 1; seed <= spread_runs; ++seed)
        {
            signal_setting_t setting = make_run(shape, seed);
            setting.snr_db = 30.0;
            runs.add(setting);
        }
        add_spread(section, "EVM", shape, runs.evm);
        section.rows.push_back(
            make_free_row("frequency error off the offset", shape, "Hz", runs.frequency.get_low(), runs.frequency.get_high(), 2));
    }
    return section;
}

accuracy_section_t measure_msk_bits()
{
    accuracy_section_t section = { "MSK and GMSK: bits",
                                   "As with clean signals, Es/N0 20 dB, runs of 1,024 bits, " + print_seeds(quick_runs),
                                   {} };
    for (const msk_shape_t& shape : msk_shapes)
    {
        for (const std::uint32_t points : point_counts)
        {
            msk_runs_t runs;
            for (std::uint64_t seed = 1; seed <= quick_runs; ++seed)
            {
                signal_setting_t setting = make_run(shape, seed);
                setting.snr_db = 20.0;
                runs.add(setting, make_msk_analysis(setting, interval, points));
            }
            section.rows.push_back(
                make_count_row(std::to_string(points) + " points per symbol, runs with a wrong bit", shape, runs.failed));
        }
    }
    return section;
}

accuracy_section_t measure_msk_bits_in_strong_noise()
{
    constexpr std::uint64_t count = 100;
    struct
    {
        bool filtered;
        double snr_db;
    } const cases[] = { { false, 15.0 }, { false, 12.0 }, { false, 10.0 }, { true, 10.0 } };
    accuracy_section_t section = {
        "MSK and GMSK: bits in strong noise",
        "Runs of 1,024 bits at each of 2, 4, 5, 8 and 10 points per symbol, " + print_seeds(count) +
            ", from the best count of points to the worst. A run is lost when a tenth of its bits is wrong",
        {}
    };
    const std::string share = " of " + std::to_string(count);
    for (const msk_shape_t& shape : msk_shapes)
    {
        for (const auto& noise : cases)
        {
            figure_t lost;
            figure_t turned;
            figure_t wrong;
            for (const std::uint32_t points : point_counts)
            {
                msk_runs_t runs;
                for (std::uint64_t seed = 1; seed <= count; ++seed)
                {
                    signal_setting_t setting = make_run(shape, seed);
                    setting.snr_db = noise.snr_db;
                    analysis_setting_t analysis = make_msk_analysis(setting, interval, points);
                    if (noise.filtered)
                        analysis.meas_filter = vrim::dma_demod_lib::LIB_DMA_MEAS_RECTANGULAR_FILTER;
                    runs.add(setting, analysis);
                }
                lost.add(static_cast<double>(runs.lost));
                turned.add(static_cast<double>(runs.turned));
                wrong.add(static_cast<double>(runs.wrong));
            }
            const std::string what =
                print("%g", noise.snr_db) + " dB, " + (noise.filtered ? "rectangular" : "no") + " measurement filter, ";
            section.rows.push_back(make_row(print_shape(shape) + what + "lost runs" + share, shape.format, "", 0.0, 0.0,
                                            lost.get_low(), lost.get_high(), 0));
            section.rows.push_back(make_row(print_shape(shape) + what + "others with an EVM above 100 %", shape.format, "", 0.0,
                                            0.0, turned.get_low(), turned.get_high(), 0));
            section.rows.push_back(
                make_free_row(what + "wrong bits of the others", shape, "", wrong.get_low(), wrong.get_high(), 0));
        }
    }
    return section;
}

accuracy_section_t measure_msk_carrier()
{
    constexpr std::uint64_t count = small_grids ? 1 : 4;
    accuracy_section_t section = { "MSK and GMSK: carrier",
                                   "As with clean signals, " + print_seeds(count) +
                                       " each. The bar is 0.3 % of the offset and 1 Hz",
                                   {} };
    for (const msk_shape_t& shape : msk_shapes)
    {
        std::uint64_t failed = 0;
        for (const double offset : { 0.0, 250.0, -1000.0, 3000.0, -6000.0, 10000.0, -10000.0 })
        {
            msk_runs_t runs;
            for (std::uint64_t seed = 1; seed <= count; ++seed)
            {
                signal_setting_t setting = make_run(shape, seed);
                setting.carrier_offset_hz = offset;
                runs.add(setting);
            }
            const double bar = steepness * std::abs(offset) + 1.0;
            section.rows.push_back(make_figure_row("offset " + print("%g", offset) + " Hz, frequency error off it", shape, "Hz",
                                                   -bar, bar, runs.frequency, 2));
            failed += runs.failed;
        }
        section.rows.push_back(make_count_row("runs with a wrong bit", shape, failed));
    }
    return section;
}

accuracy_section_t measure_msk_carrier_range()
{
    constexpr std::uint64_t count = 20;
    constexpr double step_hz = 5000.0;
    accuracy_section_t section = {
        "MSK and GMSK: range of the carrier",
        "As with clean signals, offsets to either side in steps of 0.005 of the symbol rate, " + print_seeds(count) +
            ". The largest offset up to which every run has its bits right, and the one up to which any has",
        {}
    };
    for (const msk_shape_t& shape : msk_shapes)
    {
        for (const double snr_db : { unbounded, 30.0 })
        {
            figure_t reach; // one value a seed
            for (std::uint64_t seed = 1; seed <= count; ++seed)
            {
                double offset = 10000.0;
                for (bool right = true; right && offset < 200000.0;)
                {
                    for (const double side : { 1.0, -1.0 })
                    {
                        signal_setting_t setting = make_run(shape, seed);
                        setting.snr_db = snr_db;
                        setting.carrier_offset_hz = side * (offset + step_hz);
                        msk_runs_t runs;
                        runs.add(setting);
                        right = right && runs.failed == 0;
                    }
                    offset += right ? step_hz : 0.0;
                }
                reach.add(offset / 1e6);
            }
            const std::string noise = std::isfinite(snr_db) ? print("Es/N0 %g dB", snr_db) : "clean";
            section.rows.push_back(make_free_row(noise + ", reach", shape, "symbol rates", reach.get_low(), reach.get_high(), 4));
        }
    }
    return section;
}
} // namespace dma_test
