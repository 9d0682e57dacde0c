#pragma once

#include "dma_types.h"

/// Whole arrays in which a value that has a part which is not finite counts as 0.
namespace vrim::common_lib
{
void replace_infinite(complex_array& data);
void scale_finite(float gain, complex_array& data);
/// Divides both parts.
void divide_finite(float divisor, complex_array& data);
} // namespace vrim::common_lib
