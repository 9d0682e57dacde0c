#pragma once

#include "dma_export.h"

#include <cstdint>

namespace vrim::common_lib
{
/// The clock of the time traces.
class DMA_DEMOD_EXPORT lib_test_t
{
public:
    /// @return microseconds of a steady clock; only differences mean something
    static std::int64_t get_current_time();
};
} // namespace vrim::common_lib
