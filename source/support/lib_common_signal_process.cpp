#include "support/lib_common_signal_process.h"

#include "support/internal/complex_ops.h"

#include <cmath>
#include <cstddef>

namespace vrim::common_lib
{
void lib_common_signal_process_t::deal_mixer(complex_array& array, double frequency, double phase)
{
    for (std::size_t n = 0; n < array.size(); ++n)
    {
        // Whole turns are dropped before the angle is formed, so that late samples keep their digits.
        const double turns = frequency * static_cast<double>(n);
        const sine_cosine_t turn = sine_cosine(two_pi * (turns - std::floor(turns)) + phase);
        array[n] = complex_product(array[n], { static_cast<float>(turn.cosine), static_cast<float>(turn.sine) });
    }
}
} // namespace vrim::common_lib
