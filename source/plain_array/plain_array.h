#pragma once

// Free functions on separate I and Q arrays, passed by pointer and length. The analysis itself works on complex arrays and
// does not call them; they serve hosts that keep their data apart.

#include "plain_array/bit_map.h"
#include "plain_array/carrier.h"
#include "plain_array/decision.h"
#include "plain_array/filter.h"
#include "plain_array/measure.h"
#include "plain_array/pulse_design.h"
#include "plain_array/transform.h"
