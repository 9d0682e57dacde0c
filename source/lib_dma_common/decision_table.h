#pragma once

#include "dma_export.h"
#include "dma_types.h"

#include <complex>
#include <cstdint>
#include <vector>

namespace vrim::dma_demod_lib
{
/// A decision map laid out for walking: the points in key order, side by side. Decisions are those of the walk over the map
/// itself, the first of equally near points winning.
class DMA_DEMOD_EXPORT decision_table_t
{
public:
    void load(const constellation_map& map);
    void clear();
    bool empty() const { return points_.empty(); }
    /// Nearest point, distances squared in double; 0 for an empty table.
    std::complex<float> decide_point(std::complex<float> value) const;
    /// Key of the nearest point, distances squared in single precision; 0 for an empty table.
    std::uint32_t decide_index(std::complex<float> value) const;

private:
    std::vector<std::uint32_t> keys_;
    complex_array points_;
};

} // namespace vrim::dma_demod_lib
