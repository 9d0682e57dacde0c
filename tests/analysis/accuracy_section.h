#pragma once

#include <string>
#include <vector>

/// What analyses reach, measured. The tests hold the bars, `accuracy_table` prints the same figures.
namespace dma_test
{
/// One figure over a set of runs. A bar that is infinite on both sides is none.
struct accuracy_row_t
{
    std::string what;
    std::string format;
    std::string unit;
    double bar_low = 0.0;
    double bar_high = 0.0;
    double low = 0.0; ///< smallest and largest value that was measured
    double high = 0.0;
    int digits = 2; ///< behind the point

    /// Not-a-number does not hold.
    bool holds() const;
    bool has_bar() const;
};

/// Figures that were measured under the same conditions.
struct accuracy_section_t
{
    std::string title;
    std::string conditions;
    std::vector<accuracy_row_t> rows;
};
} // namespace dma_test
