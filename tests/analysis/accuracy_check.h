#pragma once

#include "accuracy_section.h"

#include <cstddef>
#include <gtest/gtest.h>

namespace dma_test
{
/// Every row within its bar. @param rows  their count, so that none goes missing
inline void expect_bars(const accuracy_section_t& section, std::size_t rows)
{
    EXPECT_EQ(section.rows.size(), rows);
    for (const accuracy_row_t& row : section.rows)
    {
        EXPECT_TRUE(row.holds()) << section.title << " (" << section.conditions << "): " << row.what << ", " << row.format
                                 << ": measured " << row.low << " to " << row.high << " " << row.unit << ", bar " << row.bar_low
                                 << " to " << row.bar_high;
    }
}
} // namespace dma_test
