#pragma once

#include "dma_export.h"
#include "dma_types.h"

#include <cstdint>

namespace vrim::common_lib
{
/// Kind of a filter prototype.
using lib_filter_type_t = std::uint32_t;
constexpr lib_filter_type_t filter_identity = 0;
constexpr lib_filter_type_t filter_raised_cosine = 1;
constexpr lib_filter_type_t filter_root_raised_cosine = 2;
constexpr lib_filter_type_t filter_gaussian = 3;
constexpr lib_filter_type_t filter_half_sine = 4;

/// What `deal_filter` does about the delay of the filter.
using lib_filter_delay_type_t = std::uint32_t;
constexpr lib_filter_delay_type_t filter_delay_kept = 0;        ///< as long as the input, output late by the filter's delay
constexpr lib_filter_delay_type_t filter_delay_full = 1;        ///< the full convolution
constexpr lib_filter_delay_type_t filter_delay_compensated = 2; ///< as long as the input and lined up with it

/// Pulse-shaping prototypes and filtering with them. An object serves one thread at a time; a kind once set stays.
class DMA_DEMOD_EXPORT lib_filter_t
{
public:
    /// @param symbols  span of the filter
    void set_filter_length(std::uint32_t symbols);
    /// @param alpha  roll-off, or the time-bandwidth product of the Gaussian kind
    void set_filter_alpha(double alpha);
    /// @param sps  samples per symbol
    void set_oversampling_ratio(std::uint32_t sps);
    void set_filter_type(lib_filter_type_t type);

    /// Impulse response of the kind that is set, real values in the real parts, centred in span * sps + 1 taps.
    ///
    /// Identity: a unit tap. Raised cosine: centre tap 1 / sqrt(sps), sum sqrt(sps). Root raised cosine: unit energy.
    /// Gaussian: sum 1. Half sine: sps taps sin(pi i / sps), sum 1.
    /// @return false, and no taps, for an unknown kind, a ratio of 0, or a span that is too long to hold
    /// Source: J. G. Proakis, M. Salehi, Digital Communications, 5th ed., McGraw-Hill, 2008, chapter 9.
    bool generate_filter_data(complex_array& taps) const;

    /// Filters in place. Samples before and behind the data count as zero; without taps the data stay as they are.
    static void deal_filter(const complex_array& taps, complex_array& data, lib_filter_delay_type_t delay_type);

private:
    std::uint32_t filter_length_ = 16;
    double filter_alpha_ = 0.5;
    std::uint32_t oversampling_ratio_ = 4;
    lib_filter_type_t filter_type_ = filter_identity;
};
} // namespace vrim::common_lib
