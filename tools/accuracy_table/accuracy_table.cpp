// Measures what the library reaches on generated signals and prints the table as Markdown on standard output.
// The exit status is 1 when a figure misses its bar.

#include <cmath>
#include <cstdio>
#include <dpsk_accuracy.h>
#include <fsk_accuracy.h>
#include <linear_accuracy.h>
#include <msk_accuracy.h>
#include <oqpsk_accuracy.h>
#include <psk_accuracy.h>
#include <string>
#include <sync_accuracy.h>
#include <vector>

namespace
{
std::string print_number(double value, int digits)
{
    if (!std::isfinite(value))
        return "none";
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", digits, value);
    // A small negative number must not come out as -0.00.
    std::string result = text;
    if (result.find_first_not_of("-0.") == std::string::npos && result.front() == '-')
        result.erase(0, 1);
    return result;
}

/// A number of the bars, without the zeros behind it.
std::string print_bar_number(double value)
{
    char text[64];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

std::string print_bar(const dma_test::accuracy_row_t& row)
{
    if (!row.has_bar())
        return "none";
    if (row.bar_low == row.bar_high)
        return print_bar_number(row.bar_low);
    if (row.bar_low == -row.bar_high)
        return "within " + print_bar_number(row.bar_high);
    if (row.bar_low == 0.0)
        return "at most " + print_bar_number(row.bar_high);
    return print_bar_number(row.bar_low) + " to " + print_bar_number(row.bar_high);
}

std::string print_measured(const dma_test::accuracy_row_t& row)
{
    const std::string low = print_number(row.low, row.digits);
    const std::string high = print_number(row.high, row.digits);
    return low == high ? low : low + " to " + high;
}
} // namespace

int main()
{
    std::printf(
        "# Accuracy\n\n"
        "Figures of whole analyses of generated signals, through the public interface. The signals are made in double\n"
        "precision from analytic pulses of 320 symbols by a generator that shares nothing with the library. Unless a\n"
        "section says otherwise: symbol rate 1 MHz, capture of 4 MHz, root raised cosine measurement filter and raised\n"
        "cosine reference of 64 symbols, 4 points per symbol, EVM in percent of the rms of the reference, a bandwidth\n"
        "above the sample rate. SNR is Es/N0 behind the matched filter. What each figure means stands in\n"
        "[figures.md](figures.md).\n\n"
        "This file is written by `scripts/accuracy-table`; `analysis_test` holds the same figures to the same bars. Seeds\n"
        "are fixed, so that another machine gives the same numbers but for the last digits of its mathematical library.\n"
        "Where seeds were chosen after a miss the section says so, and what the others read.\n\n"
        "## Limits\n\n"
        "- A QAM analysis does not say when its carrier is lost. The sign is an EVM near 100 / sqrt(M - 1) percent: 26 for\n"
        "  16QAM, 13 for 64QAM, 6 for 256QAM, 1.6 for 4096QAM. Such a figure is no measurement, however small it looks.\n"
        "- Decisions of QAM want an SNR: 200 runs of 1,000 symbols held no wrong symbol at 22 dB with 16QAM, 25 dB with 32QAM,\n"
        "  28 dB with 64QAM, 32 dB with 128QAM, 35 dB with 256QAM, 37 dB with 512QAM and 40 dB with 1024QAM. 128QAM at 30 dB\n"
        "  has single wrong symbols, as noise makes them, and 512QAM at 35 dB has them too. 2048QAM wants 45 dB and 4096QAM 50 dB.\n"
        "- The level of the symbols is the rms of the data at hand, not of the format. In short records the two differ. QAM\n"
        "  and ASK look for a better level where the symbols do not fit their points.\n"
        "- The clock of ASK is estimated from a signal with a strong carrier, whose data make more noise in the estimate than\n"
        "  those of any other format. Use a roll-off of 0.5 or more; at 0.22 clean signals read up to 12 %% and some\n"
        "  records take wrong decisions.\n"
        "- The ring ratios of APSK are those of the innermost symbol of each ring: exact but for the clock's part on a clean\n"
        "  signal, and too large with noise (up to 0.85 for 16APSK and 2.2 for the outer ring of 32APSK at 30 dB).\n"
        "- The quadrature error of QAM compares the innermost symbols of two quadrants up to an amplitude on which points of\n"
        "  the format lie. Rounding decides whether they count, and the figure scatters by several degrees on sound signals.\n");
    bool all_hold = true;
    const std::vector<dma_test::accuracy_section_t> sections = {
        dma_test::measure_clean_runs(),     dma_test::measure_clean_spread(), dma_test::measure_noisy_runs(),
        dma_test::measure_against_theory(), dma_test::measure_pull_in(),      dma_test::measure_iq_offset(),
        dma_test::measure_gain_imbalance(), dma_test::measure_sync_search(),  dma_test::measure_offset_cost(),
        dma_test::measure_long_captures(),
        dma_test::measure_linear_clean_runs(),
        dma_test::measure_linear_clean_spread(),
        dma_test::measure_linear_noisy_runs(),
        dma_test::measure_linear_noisy_spread(),
        dma_test::measure_dense_noisy_runs(),
        dma_test::measure_dense_lock(),
        dma_test::measure_needed_snr(),
        dma_test::measure_linear_pull_in(),
        dma_test::measure_ring_ratios(),
        dma_test::measure_ring_ratio_bias(),
        dma_test::measure_ring_ratios_at_best_clock(),
        dma_test::measure_linear_iq_offset(),
        dma_test::measure_linear_sync_search(),
        dma_test::measure_dpsk_sync_search(),
        dma_test::measure_dpsk_steps(),
        dma_test::measure_dpsk_clean_runs(),
        dma_test::measure_dpsk_noisy_runs(),
        dma_test::measure_fsk_clean_runs(),
        dma_test::measure_fsk_clean_spread(),
        dma_test::measure_fsk_noisy_runs(),
        dma_test::measure_fsk_noisy_spread(),
        dma_test::measure_fsk_gaussian_runs(),
        dma_test::measure_fsk_gaussian_spread(),
        dma_test::measure_fsk_carrier(),
        dma_test::measure_msk_clean_runs(),
        dma_test::measure_msk_clean_spread(),
        dma_test::measure_msk_sample_rates(),
        dma_test::measure_msk_noisy_runs(),
        dma_test::measure_msk_noisy_spread(),
        dma_test::measure_msk_bits(),
        dma_test::measure_msk_bits_in_strong_noise(),
        dma_test::measure_msk_carrier(),
        dma_test::measure_msk_carrier_range(),
        dma_test::measure_oqpsk_clean_runs(),
        dma_test::measure_oqpsk_clean_spread(),
        dma_test::measure_oqpsk_noisy_runs(),
        dma_test::measure_oqpsk_noisy_spread(),
        dma_test::measure_oqpsk_decisions(),
        dma_test::measure_oqpsk_strong_noise(),
        dma_test::measure_oqpsk_gaussian_runs(),
        dma_test::measure_oqpsk_gaussian_spread(),
        dma_test::measure_oqpsk_carrier(),
        dma_test::measure_oqpsk_half_sines(),
    };
    for (const dma_test::accuracy_section_t& section : sections)
    {
        std::printf("\n## %s\n\n%s.\n\n| What | Format | Bar | Measured | Unit |\n|---|---|---|---|---|\n", section.title.c_str(),
                    section.conditions.c_str());
        for (const dma_test::accuracy_row_t& row : section.rows)
        {
            const bool holds = row.holds();
            all_hold = all_hold && holds;
            std::printf("| %s | %s | %s | %s%s | %s |\n", row.what.c_str(), row.format.c_str(), print_bar(row).c_str(),
                        print_measured(row).c_str(), holds ? "" : " **missed**", row.unit.c_str());
        }
    }
    return all_hold ? 0 : 1;
}
