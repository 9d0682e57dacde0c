#pragma once

// Free functions on separate I and Q arrays, passed by pointer and length. The analysis itself works on complex arrays and
// calls only `sinc`; the others serve hosts that keep their data apart.

#include "lib_dma_common/plain_array/bit_map.h"
#include "lib_dma_common/plain_array/carrier.h"
#include "lib_dma_common/plain_array/decision.h"
#include "lib_dma_common/plain_array/filter.h"
#include "lib_dma_common/plain_array/measure.h"
#include "lib_dma_common/plain_array/pulse_design.h"
#include "lib_dma_common/plain_array/transform.h"
