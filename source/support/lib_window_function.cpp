#include "support/lib_window_function.h"

#include "support/internal/window_shape.h"

namespace vrim::common_lib
{
void lib_window_function_t::generate_gauss_window(complex_array& out, std::uint32_t length, bool periodic, double alpha)
{
    fill_window(out, length, periodic, [alpha](double position) { return gauss_value(position, alpha); });
}

void lib_window_function_t::generate_kaiser_window(complex_array& out, std::uint32_t length, bool periodic, double beta)
{
    fill_window(out, length, periodic, kaiser_shape_t(beta));
}
} // namespace vrim::common_lib
