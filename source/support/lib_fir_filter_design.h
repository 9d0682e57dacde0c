#pragma once

#include "dma_export.h"
#include "dma_types.h"

#include <cstdint>

namespace vrim::common_lib
{
/// Low-pass design by a windowed sinc. An object serves one thread at a time.
class DMA_DEMOD_EXPORT lib_fir_filter_design_t
{
public:
    /// @param order  count of taps less one
    void set_filter_order(std::uint32_t order);
    /// @param relative  cutoff relative to half the sample rate, 0 to 1
    void set_cutoff_freq(float relative);
    /// @param type  3 rectangle, 4 Hamming, 5 Hann, 7 Blackman, 8 Blackman-Harris
    void set_window_type(std::uint32_t type);
    /// Makes the taps, unit gain at zero frequency.
    /// @return false, and no taps, for another window or a cutoff that is not a number
    /// Source: A. V. Oppenheim, R. W. Schafer, Discrete-Time Signal Processing, Prentice-Hall, 1989, section 7.4.
    bool generate_fir_filter();
    const complex_array& get_filter_data() const;

private:
    std::uint32_t filter_order_ = 64;
    float cutoff_freq_ = 0.5f;
    std::uint32_t window_type_ = 5;
    complex_array taps_;
};
} // namespace vrim::common_lib
