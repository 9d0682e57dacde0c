#pragma once

#include "dma_types.h"
#include "fir_filter/internal/remez_exchange.h"

#include <cstddef>
#include <cstdint>

namespace vrim::fir_filter_lib
{
/// Approximation problem of a cosine polynomial, with what leads back from it to taps.
struct exchange_problem_t
{
    const double_array& grid;        ///< relative to the sample rate
    const double_array& frequencies; ///< band edges, relative to the sample rate
    const double_array& desired;
    const double_array& weight;
    bool negative; ///< antisymmetric impulse response
    bool odd;      ///< odd count of taps
};

struct sound_exchange_t
{
    remez_result_t last;      ///< may have fewer cosines than asked for
    bool is_useful = false;   ///< whether its taps are better than none
    remez_end_t end;          ///< of the first exchange, over all cosines
    std::uint32_t passes = 0; ///< likewise
};

/// Runs the exchange, and looks whether taps in single precision can do what it found. Where they cannot, it works up from a
/// shorter filter: to the whole one, or to the longest sound one, to about a sixteenth. The smaller error wins.
/// Source of the working up: S.-I. Filip, "A robust and scalable implementation of the Parks-McClellan algorithm for designing
/// FIR filters", ACM Trans. Math. Softw. 43(1), 2016.
sound_exchange_t run_sound_exchange(const exchange_problem_t& problem, std::size_t cosines, const remez_limits_t& limits = {});
} // namespace vrim::fir_filter_lib
