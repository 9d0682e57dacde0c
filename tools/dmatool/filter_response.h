#pragma once

#include "dma_types.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace dmatool
{
/// Magnitude of a frequency response at one frequency, relative to the Nyquist frequency.
struct response_point_t
{
    double frequency = 0.0;
    double gain = 0.0;
};

/// Frequency response of real taps, in double precision.
///
/// A grid of at least 16 points per tap between 0 and the Nyquist frequency finds lobes; what is given out is computed from
/// the taps at the very frequency. Memory: 8 to 16 doubles per tap.
class filter_response_t
{
public:
    /// @param taps  real parts count; at least one
    explicit filter_response_t(const vrim::complex_array& taps);

    double cal_gain(double frequency) const;
    /// The largest gain between two frequencies, both included.
    response_point_t find_highest(double start, double stop) const;
    /// The least gain between two frequencies, both included.
    response_point_t find_lowest(double start, double stop) const;
    /// Frequencies at which the gain passes through `level`, rising; the first `most` of them.
    std::vector<double> find_crossings(double level, std::size_t most) const;

    /// A stretch of the frequency axis between two cutoffs, or a cutoff and an end.
    struct stretch_t
    {
        double start;
        double stop;
        bool start_is_cutoff;
        bool stop_is_cutoff;
    };
    /// The part of a stretch without its slopes: from each cutoff inwards, the slope ends where the gain first reaches what
    /// it never leaves again - in a pass band the least, in a stop band the highest level of the ripples behind the slope.
    /// @return empty where there are no ripples, one slope meeting the other or the end
    std::optional<stretch_t> find_flat_part(const stretch_t& stretch, bool passes) const;

private:
    response_point_t find_extreme(double start, double stop, double sign) const;
    double cal_crossing(double inside, double outside, double level) const;

    std::vector<double> taps_;
    std::vector<double> grid_; ///< gain at multiples of step_
    double step_ = 1.0;
};
} // namespace dmatool
