#include "support/internal/transform.h"

// Plans are small beside the data and costly to make; a host analyses capture after capture of the same shape.
#define POCKETFFT_CACHE_SIZE 16
#define POCKETFFT_NO_MULTITHREADING
// aligned_alloc wants sizes that are multiples of the alignment, which the header does not ask for; this makes it align by
// itself.
#define _LIBCPP_HAS_NO_ALIGNED_ALLOCATION
#include <pocketfft_hdronly.h>

namespace vrim::common_lib
{
namespace
{
template <typename value_t>
void transform(std::complex<value_t>* data, std::size_t count, std::size_t length, bool inverse, value_t scale)
{
    if (count == 0 || length == 0)
        return;
    constexpr std::ptrdiff_t element = static_cast<std::ptrdiff_t>(sizeof(std::complex<value_t>));
    const pocketfft::shape_t shape = { count, length };
    const pocketfft::stride_t stride = { element * static_cast<std::ptrdiff_t>(length), element };
    pocketfft::c2c(shape, stride, stride, { 1 }, inverse ? pocketfft::BACKWARD : pocketfft::FORWARD, data, data, scale, 1);
}
} // namespace

void transform_rows(std::complex<float>* data, std::size_t count, std::size_t length, bool inverse, float scale)
{
    transform(data, count, length, inverse, scale);
}

void transform_rows(std::complex<double>* data, std::size_t count, std::size_t length, bool inverse, double scale)
{
    transform(data, count, length, inverse, scale);
}
} // namespace vrim::common_lib
