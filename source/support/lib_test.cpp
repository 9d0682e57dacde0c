#include "support/lib_test.h"

#include <chrono>

namespace vrim::common_lib
{
std::int64_t lib_test_t::get_current_time()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::microseconds>(now).count();
}
} // namespace vrim::common_lib
