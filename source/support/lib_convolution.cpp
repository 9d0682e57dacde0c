#include "support/lib_convolution.h"

#include "support/internal/convolution.h"

namespace vrim::common_lib
{
namespace
{
using convolution_t = void(const complex_array&, const complex_array&, std::size_t, std::size_t, complex_array&);

void convolve_whole(convolution_t* convolution, const complex_array& kernel, complex_array& data)
{
    if (kernel.empty() || data.empty())
    {
        data.clear();
        return;
    }
    complex_array out;
    convolution(kernel, data, 0, kernel.size() + data.size() - 1, out);
    data = std::move(out);
}
} // namespace

void lib_convolution_t::deal_convolution(const complex_array& kernel, complex_array& data)
{
    convolve_whole(convolve_directly, kernel, data);
}

void lib_convolution_t::deal_fft_convolution(const complex_array& kernel, complex_array& data)
{
    convolve_whole(convolve, kernel, data);
}
} // namespace vrim::common_lib
