// Measures what the library reaches on generated PSK signals and prints the table as Markdown on standard output.
// The exit status is 1 when a figure misses its bar.

#include <cmath>
#include <cstdio>
#include <psk_accuracy.h>
#include <string>
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
        "Figures of whole analyses of generated PSK signals, through the public interface. The signals are made in double\n"
        "precision from analytic pulses of 320 symbols by a generator that shares nothing with the library. Unless a\n"
        "section says otherwise: symbol rate 1 MHz, capture of 4 MHz, root raised cosine measurement filter and raised\n"
        "cosine reference of 64 symbols, 4 points per symbol, EVM in percent of the rms of the reference, no band-limiting\n"
        "filter. SNR is Es/N0 behind the matched filter. What each figure means stands in [figures.md](figures.md).\n\n"
        "This file is written by `scripts/accuracy-table`; `analysis_test` holds the same figures to the same bars. Seeds\n"
        "are fixed, so that another machine gives the same numbers but for the last digits of its mathematical library.\n");
    bool all_hold = true;
    const std::vector<dma_test::accuracy_section_t> sections = {
        dma_test::measure_clean_runs(),     dma_test::measure_clean_spread(), dma_test::measure_noisy_runs(),
        dma_test::measure_against_theory(), dma_test::measure_pull_in(),      dma_test::measure_iq_offset(),
        dma_test::measure_gain_imbalance(), dma_test::measure_sync_search(),  dma_test::measure_offset_cost(),
        dma_test::measure_long_captures(),
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
