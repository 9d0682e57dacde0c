#include "lib_dma_phy.h"
#include "support/lib_fourier_transform.h"

#include <algorithm>

namespace vrim::dma_demod_lib
{
bool lib_dma_phy_t::deal_spectrum_invert(complex_array& data)
{
    using common_lib::lib_fourier_transform_t;
    lib_fourier_transform_t::deal_fft(data, 0);
    std::reverse(data.begin(), data.end());
    for (std::complex<float>& bin : data)
        bin = std::conj(bin);
    lib_fourier_transform_t::deal_ifft(data, 0);
    return true;
}
} // namespace vrim::dma_demod_lib
